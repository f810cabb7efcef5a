/* tiles.c - a picture that is larger than the memory: a chain of operations over a tiled TIFF file.
 *
 *     tiles make photo.png big.tif width height      lays a photograph out over a big picture
 *     tiles sharpen big.tif sharp.tif                sharpens it by an unsharp mask of 15 x 15 pixels
 *
 * An image without pixel data and with a tile provider stands for each file. Operations ask the provider for the tiles
 * that they need, so a file serves as source or destination like any other image. The provider keeps the tiles used
 * last.
 *
 * The chain runs over the picture in cells: a region a few tiles wide, for which it needs three small images in memory.
 * The blur looks beyond the cell, into the neighbouring tiles; the library fetches them as well.
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <tiffio.h>
#include <unistd.h>

#include "support/pngio.h"

enum { tileSize = 256, cellTiles = 4, window = 15 };
enum { allSides = ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT };

/* ---- A TIFF file as an image ------------------------------------------------------------------------------------ */

typedef struct Slot {
    int32_t tile; /* the tile that it holds, or -1 */
    int32_t users;
    int dirty;
    uint64_t lastUse;
    uint8_t* data;
} Slot;

typedef struct TiledFile {
    TIFF* tiff;
    OrvImage* image;
    Slot* slots;
    int32_t slotCount;
    int32_t columns;
    tmsize_t tileBytes;
    uint64_t clock;
    int failed;
} TiledFile;

static int store(TiledFile* file, Slot* slot)
{
    if (slot->dirty && TIFFWriteEncodedTile(file->tiff, (uint32_t)slot->tile, slot->data, file->tileBytes) < 0)
        return 0;
    slot->dirty = 0;
    return 1;
}

/* A tile that has not been written yet is black. */
static int load(TiledFile* file, Slot* slot, int32_t tile)
{
    slot->tile = tile;
    if (TIFFGetStrileByteCount(file->tiff, (uint32_t)tile))
        return TIFFReadEncodedTile(file->tiff, (uint32_t)tile, slot->data, file->tileBytes) == file->tileBytes;
    memset(slot->data, 0, (size_t)file->tileBytes);
    return 1;
}

/* The slot that holds the tile, or else the one that nobody has used for longest; NULL if all are in use. */
static Slot* findSlot(TiledFile* file, int32_t tile)
{
    Slot* oldest = NULL;
    for (Slot* slot = file->slots; slot < file->slots + file->slotCount; ++slot) {
        if (slot->tile == tile)
            return slot;
        if (slot->users == 0 && (!oldest || slot->lastUse < oldest->lastUse))
            oldest = slot;
    }
    return oldest;
}

/* The tile provider. The library asks for a tile, reads tileInfo->tileData, and tells when it has done with it. */
static int32_t ORV_CALL provideTile(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    TiledFile* file = image->tileInfo->tileTag;
    int32_t tile = y * file->columns + x;
    Slot* slot = findSlot(file, tile);
    if (mode == ORV_TILE_RELEASE) {
        if (slot && slot->tile == tile)
            --slot->users;
        return 0;
    }
    image->tileInfo->tileData = NULL; /* which tells the library that the tile does not come */
    if (slot && slot->tile != tile && (!store(file, slot) || !load(file, slot, tile))) {
        slot->tile = -1;
        slot->dirty = 0;
        slot = NULL;
    }
    if (!slot) {
        file->failed = 1;
        return -1;
    }
    ++slot->users;
    slot->lastUse = ++file->clock;
    slot->dirty |= mode == ORV_TILE_WRITE;
    image->tileInfo->tileData = slot->data;
    return 0;
}

/* Puts an image before an open TIFF file, with room for so many tiles. */
static int attach(TiledFile* file, int32_t width, int32_t height, int32_t channels, int32_t slotCount)
{
    file->columns = (width + tileSize - 1) / tileSize;
    file->tileBytes = (tmsize_t)tileSize * tileSize * channels;
    file->slots = calloc((size_t)slotCount, sizeof(Slot));
    if (!file->slots)
        return 0;
    for (file->slotCount = 0; file->slotCount < slotCount; ++file->slotCount) {
        Slot* slot = &file->slots[file->slotCount];
        slot->tile = -1;
        slot->data = orvMalloc((int32_t)file->tileBytes);
        if (!slot->data)
            return 0;
    }
    file->image = orvCreateImageHeader(channels, 0, ORV_DEPTH_8U, channels == 1 ? "GRAY" : "RGB",
                                       channels == 1 ? "G" : "RGB", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4, width,
                                       height, orvCreateROI(0, 0, 0, width, height), NULL, NULL,
                                       orvCreateTileInfo(provideTile, file, tileSize, tileSize));
    return file->image != NULL;
}

/* Two rows of tiles and a little: what the blur's window meets below one row of cells serves the next row too. */
static int openSource(TiledFile* file, const char* path)
{
    uint32_t width = 0, height = 0, tileWidth = 0, tileHeight = 0;
    uint16_t channels = 1, bits = 1;
    file->tiff = TIFFOpen(path, "rm"); /* m: not mapped, as the mapped file would count as memory */
    if (!file->tiff)
        return 0;
    TIFFGetField(file->tiff, TIFFTAG_IMAGEWIDTH, &width);
    TIFFGetField(file->tiff, TIFFTAG_IMAGELENGTH, &height);
    TIFFGetField(file->tiff, TIFFTAG_TILEWIDTH, &tileWidth);
    TIFFGetField(file->tiff, TIFFTAG_TILELENGTH, &tileHeight);
    TIFFGetFieldDefaulted(file->tiff, TIFFTAG_SAMPLESPERPIXEL, &channels);
    TIFFGetFieldDefaulted(file->tiff, TIFFTAG_BITSPERSAMPLE, &bits);
    if (tileWidth != tileSize || tileHeight != tileSize || bits != 8 || (channels != 1 && channels != 3)) {
        fprintf(stderr, "%s: only 8-bit grey and RGB in tiles of %d x %d are read\n", path, tileSize, tileSize);
        return 0;
    }
    int32_t columns = (int32_t)(width + tileSize - 1) / tileSize;
    return attach(file, (int32_t)width, (int32_t)height, channels, 2 * columns + 3 * (cellTiles + 2));
}

static int createResult(TiledFile* file, const char* path, int32_t width, int32_t height, int32_t channels,
                        int32_t slots)
{
    file->tiff = TIFFOpen(path, (double)width * height * channels > 4e9 ? "w8" : "w");
    if (!file->tiff)
        return 0;
    TIFFSetField(file->tiff, TIFFTAG_IMAGEWIDTH, width);
    TIFFSetField(file->tiff, TIFFTAG_IMAGELENGTH, height);
    TIFFSetField(file->tiff, TIFFTAG_TILEWIDTH, tileSize);
    TIFFSetField(file->tiff, TIFFTAG_TILELENGTH, tileSize);
    TIFFSetField(file->tiff, TIFFTAG_SAMPLESPERPIXEL, channels);
    TIFFSetField(file->tiff, TIFFTAG_BITSPERSAMPLE, 8);
    TIFFSetField(file->tiff, TIFFTAG_PHOTOMETRIC, channels == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
    TIFFSetField(file->tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
    TIFFSetField(file->tiff, TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(file->tiff, TIFFTAG_ZIPQUALITY, 1);
    return attach(file, width, height, channels, slots);
}

/* Writes what is left, and releases everything. Returns 0 if anything has failed since the file was opened. */
static int closeFile(TiledFile* file)
{
    int good = file->image && !file->failed;
    for (int32_t i = 0; i < file->slotCount; ++i) {
        good = store(file, &file->slots[i]) && good;
        orvFree(file->slots[i].data);
    }
    free(file->slots);
    orvDeallocate(file->image, ORV_IMAGE_HEADER | ORV_IMAGE_ROI | ORV_IMAGE_TILE);
    if (file->tiff) {
        good = TIFFFlush(file->tiff) && good;
        TIFFClose(file->tiff);
    }
    return good;
}

/* ---- Progress and memory ---------------------------------------------------------------------------------------- */

static void showProgress(int64_t done, int64_t all)
{
    static const char bar[] = "########################################";
    if (!isatty(2))
        return;
    fprintf(stderr, "\r[%-40.*s] %3d %%%s", (int)(40 * done / all), bar, (int)(100 * done / all),
            done == all ? "\n" : "");
    fflush(stderr);
}

/* The most memory that the process has held so far, in KiB; 0 where the system does not tell. */
static long peakMemory(void)
{
    long peak = 0;
    char line[128];
    FILE* status = fopen("/proc/self/status", "r");
    while (status && fgets(line, sizeof line, status))
        if (sscanf(line, "VmHWM: %ld", &peak) == 1)
            break;
    if (status)
        fclose(status);
    return peak;
}

/* ---- The two programs ------------------------------------------------------------------------------------------- */

/* Lays the photograph out over the picture, in brightnesses that differ from copy to copy. */
static int makePicture(const char* photoPath, const char* path, int32_t width, int32_t height)
{
    TiledFile big = {0};
    OrvImage* photo = pngLoad(photoPath);
    int good = photo && width > 0 && height > 0 && createResult(&big, path, width, height, photo->nChannels, 64);
    for (int32_t y = 0; good && y < height; y += photo->height) {
        for (int32_t x = 0; x < width; x += photo->width) {
            orvSetROI(big.image->roi, 0, x, y, photo->width, photo->height);
            orvAddS(photo, big.image, (x / photo->width * 5 + y / photo->height * 7) % 13 * 12 - 72);
        }
        good = orvGetErrStatus() >= 0;
        showProgress(y + photo->height < height ? y + photo->height : height, height);
    }
    orvDeallocate(photo, ORV_IMAGE_ALL);
    return closeFile(&big) && good;
}

/* An image in memory for one cell. */
static OrvImage* makeCell(const OrvImage* like)
{
    OrvImage* cell = orvCreateImageHeader(like->nChannels, 0, like->depth, "", "", like->dataOrder, like->origin,
                                          like->align, cellTiles * tileSize, tileSize, NULL, NULL, NULL, NULL);
    orvAllocateImage(cell, 0, 0);
    return cell;
}

/* result = source + (source - blurred source), over one cell. Negative differences do not fit 8U, so each sign of the
 * difference has an image of its own. At the picture's edges the cells are smaller; the smallest region counts. */
static void sharpenCell(OrvImage* source, OrvImage* result, OrvImage* cells[3])
{
    orvBlur(source, cells[0], window, window, window / 2, window / 2);
    orvSubtract(source, cells[0], cells[1]);
    orvSubtract(cells[0], source, cells[2]);
    orvAdd(source, cells[1], cells[0]);
    orvSubtract(cells[0], cells[2], result);
}

static int sharpenPicture(const char* sourcePath, const char* resultPath)
{
    TiledFile source = {0}, result = {0};
    int good =
        openSource(&source, sourcePath) && createResult(&result, resultPath, source.image->width, source.image->height,
                                                        source.image->nChannels, cellTiles);
    if (good) {
        int32_t width = source.image->width, height = source.image->height;
        OrvImage* cells[3] = {makeCell(source.image), makeCell(source.image), makeCell(source.image)};
        orvSetBorderMode(source.image, ORV_BORDER_REPLICATE, allSides, 0);
        for (int32_t y = 0; good && y < height; y += tileSize) {
            for (int32_t x = 0; x < width; x += cellTiles * tileSize) {
                orvSetROI(source.image->roi, 0, x, y, cellTiles * tileSize, tileSize);
                orvSetROI(result.image->roi, 0, x, y, cellTiles * tileSize, tileSize);
                sharpenCell(source.image, result.image, cells);
            }
            good = orvGetErrStatus() >= 0;
            showProgress(y + tileSize < height ? y + tileSize : height, height);
        }
        for (int i = 0; i < 3; ++i)
            orvDeallocate(cells[i], ORV_IMAGE_ALL);
    }
    good = closeFile(&result) && good;
    return closeFile(&source) && good;
}

int main(int argc, char** argv)
{
    int good;
    orvSetErrMode(ORV_ErrorModeParent); /* report an error and go on, so that the files are closed */
    orvRedirectError(orvStdErrReport);
    if (argc == 6 && strcmp(argv[1], "make") == 0) {
        good = makePicture(argv[2], argv[3], atoi(argv[4]), atoi(argv[5]));
    } else if (argc == 4 && strcmp(argv[1], "sharpen") == 0) {
        good = sharpenPicture(argv[2], argv[3]);
    } else {
        fprintf(stderr, "usage: tiles make photo.png big.tif width height\n       tiles sharpen big.tif sharp.tif\n");
        return 2;
    }
    if (good)
        printf("%s: done, peak memory %.1f MiB\n", argv[1], (double)peakMemory() / 1024);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
