#if defined(_WIN32)
#include <windows.h>
#endif

#include "bmpio.h"

#include <stdio.h>
#include <stdlib.h>
#include <string.h>

enum { fileHeaderBytes = 14, headerBytes = 40 };

static uint32_t wordAt(const uint8_t* p)
{
    return p[0] | (uint32_t)p[1] << 8 | (uint32_t)p[2] << 16 | (uint32_t)p[3] << 24;
}

static void putWord(uint8_t* p, uint32_t word)
{
    int i;
    for (i = 0; i < 4; ++i)
        p[i] = (uint8_t)(word >> 8 * i);
}

static uint8_t* readFile(const char* path, size_t* size)
{
    FILE* file = fopen(path, "rb");
    uint8_t* bytes = NULL;
    long length;

    if (!file || fseek(file, 0, SEEK_END) || (length = ftell(file)) < 0 || fseek(file, 0, SEEK_SET)) {
        perror(path);
    } else if (!(bytes = malloc((size_t)length + 1)) || fread(bytes, 1, (size_t)length, file) != (size_t)length) {
        fprintf(stderr, "%s: cannot be read\n", path);
        free(bytes);
        bytes = NULL;
    } else {
        *size = (size_t)length;
    }
    if (file)
        fclose(file);
    return bytes;
}

static uint64_t rowBytes(const BITMAPINFOHEADER* header)
{
    return ((uint64_t)header->biWidth * header->biBitCount + 31) / 32 * 4;
}

/* Entries of the palette, or masks. */
static uint32_t tableEntries(const BITMAPINFOHEADER* header)
{
    int indexed = header->biBitCount == 1 || header->biBitCount == 4 || header->biBitCount == 8;
    if (indexed)
        return header->biClrUsed ? header->biClrUsed : 1u << header->biBitCount;
    return header->biBitCount != 24 && header->biCompression == BI_BITFIELDS ? 3 : 0;
}

/* The bitmap of a file in one block, as the library wants it: a header of 40 bytes, palette or masks, pixels. The
 * library reads what a header promises; whether a file holds that much is for the program to see. Returns NULL if it
 * does not. */
static BITMAPINFOHEADER* packedBitmap(const uint8_t* file, size_t size)
{
    BITMAPINFOHEADER header;
    uint64_t fullHeader, table, first, pixels, left;
    uint8_t* block;

    if (size < fileHeaderBytes + headerBytes || memcmp(file, "BM", 2) != 0)
        return NULL;
    memcpy(&header, file + fileHeaderBytes, headerBytes);
    fullHeader = header.biSize; /* later formats add fields, of which the masks stand first */
    if (fullHeader < headerBytes || header.biWidth <= 0 || header.biHeight == 0 || header.biClrUsed > 0x8000)
        return NULL;
    if (header.biBitCount > 8)
        header.biClrUsed = 0;
    header.biSize = headerBytes;
    table = fileHeaderBytes + (header.biCompression == BI_BITFIELDS ? headerBytes : fullHeader);
    first = wordAt(file + 10);
    left = first < size ? size - first : 0;
    if (header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4) {
        pixels = header.biSizeImage && header.biSizeImage < left ? header.biSizeImage : left;
        header.biSizeImage = (uint32_t)pixels;
    } else {
        uint64_t rows = header.biHeight < 0 ? -(uint64_t)header.biHeight : (uint64_t)header.biHeight;
        pixels = rows <= left / rowBytes(&header) ? rows * rowBytes(&header) : left + 1;
    }
    if (pixels == 0 || pixels > left || table + 4 * (uint64_t)tableEntries(&header) > size)
        return NULL;
    block = malloc(headerBytes + 4 * (size_t)tableEntries(&header) + (size_t)pixels);
    if (block) {
        memcpy(block, &header, headerBytes);
        memcpy(block + headerBytes, file + table, 4 * (size_t)tableEntries(&header));
        memcpy(block + headerBytes + 4 * (size_t)tableEntries(&header), file + first, (size_t)pixels);
    }
    return (BITMAPINFOHEADER*)block;
}

OrvImage* bmpLoad(const char* path)
{
    size_t size = 0;
    uint8_t* file = readFile(path, &size);
    BITMAPINFOHEADER* bitmap = file ? packedBitmap(file, size) : NULL;
    OrvImage* image = NULL;
    int copied = 0;

    if (bitmap)
        image = orvTranslateDIB(bitmap, &copied);
    else if (file)
        fprintf(stderr, "%s: not a bitmap that is known here, or not all of it\n", path);
    if (image && !copied) { /* its pixels are the block's, which is about to go */
        OrvImage* shared = image;
        image = orvCloneImage(shared);
        orvDeallocateHeader(shared);
    }
    free(bitmap);
    free(file);
    return image;
}

int bmpSave(const char* path, OrvImage* image, int bits, int coded, int dither, int palette)
{
    BITMAPINFOHEADER header;
    uint8_t fileHeader[fileHeaderBytes] = {'B', 'M'};
    uint32_t entries, first;
    uint64_t pixelBytes;
    uint8_t *block, *pixels;
    FILE* file;
    int saved;

    memset(&header, 0, sizeof header);
    header.biSize = headerBytes;
    header.biWidth = image->width;
    header.biHeight = image->height;
    header.biPlanes = 1;
    header.biBitCount = (uint16_t)bits;
    header.biCompression = !coded ? BI_RGB : bits == 8 ? BI_RLE8 : bits == 4 ? BI_RLE4 : BI_RGB;
    entries = tableEntries(&header);
    pixelBytes = rowBytes(&header) * (uint64_t)image->height;
    block = pixelBytes < 0x7FFFFFFF ? calloc(1, headerBytes + 4 * (size_t)entries) : NULL;
    pixels = block ? calloc(1, (size_t)pixelBytes) : NULL;
    if (!pixels) {
        fprintf(stderr, "%s: no memory for the bitmap\n", path);
        free(block);
        return 0;
    }
    memcpy(block, &header, headerBytes);
    orvConvertToDIBSep(image, (BITMAPINFOHEADER*)block, (char*)pixels, dither, palette);
    saved = orvGetErrStatus() >= 0;

    /* The palette may be shorter now, and the pixels coded. */
    memcpy(&header, block, headerBytes);
    if (header.biCompression != BI_RGB)
        pixelBytes = header.biSizeImage;
    first = fileHeaderBytes + headerBytes + 4 * tableEntries(&header);
    putWord(fileHeader + 2, first + (uint32_t)pixelBytes);
    putWord(fileHeader + 10, first);
    file = saved ? fopen(path, "wb") : NULL;
    if (saved && !file)
        perror(path);
    saved = file && fwrite(fileHeader, 1, fileHeaderBytes, file) == fileHeaderBytes &&
            fwrite(block, 1, first - fileHeaderBytes, file) == first - fileHeaderBytes &&
            fwrite(pixels, 1, (size_t)pixelBytes, file) == (size_t)pixelBytes;
    if (file && fclose(file))
        saved = 0;
    free(pixels);
    free(block);
    return saved;
}
