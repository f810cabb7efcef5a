#include "ownwalk.h"

#include <cstring>

#include "ownborder.h"

namespace {

constexpr int mostImages = 3;

// Where one image stands in a band walk.
struct Walker {
    OrvImage* image;
    OwnWork work;
    OwnRect rect;
    int32_t x, y;
    int32_t mode;
    const char* noTile;
    bool shared;  // the destination's walker stands for this one
    // The tile that is open, and the column where each band begins.
    int32_t column, row;
    int32_t firstColumn;

    bool tiled() const { return image->tileInfo != nullptr; }
    int32_t xStart() const { return column * image->tileInfo->width; }
    int32_t yStart() const { return row * image->tileInfo->height; }
    // Edges of the last tiles may lie beyond the range of the fields.
    int64_t xEnd() const { return int64_t{column + 1} * image->tileInfo->width; }
    int64_t yEnd() const { return int64_t{row + 1} * image->tileInfo->height; }
};

void begin(Walker& walker, const OwnWalkImage& image, int32_t mode)
{
    walker.image = image.image;
    walker.noTile = image.noTile;
    walker.mode = mode;
    walker.shared = false;
    walker.work.take(*image.image);
    walker.rect = ownRoiRect(*image.image);
    walker.x = walker.rect.x;
    walker.y = walker.rect.y;
    if (walker.tiled()) {
        walker.firstColumn = walker.rect.x / image.image->tileInfo->width;
        walker.column = walker.firstColumn;
        walker.row = walker.rect.y / image.image->tileInfo->height;
    }
}

bool open(const OwnReport& report, Walker& walker)
{
    uint8_t* data = ownOpenTile(walker.image, walker.column, walker.row, walker.mode);
    if (report.when(!data, ORV_STATUS_BAD_ARG, walker.noTile))
        return false;
    walker.work.showTile(*walker.image, data);
    return true;
}

// Brings the walker's first tile of the band; `height` becomes what the tile leaves of the band.
bool openBand(const OwnReport& report, Walker& walker, int32_t yEnd, int32_t& height)
{
    int32_t left = yEnd - walker.y;
    walker.work.roi.yOffset = walker.y;
    if (walker.tiled()) {
        if (walker.y >= walker.yEnd())
            ++walker.row;
        walker.column = walker.firstColumn;
        if (!open(report, walker))
            return false;
        walker.work.roi.yOffset = walker.y - walker.yStart();
        int64_t inTile = walker.yEnd() - walker.y;
        left = inTile < left ? int32_t(inTile) : left;
    }
    height = ownMin(height, left);
    return true;
}

// Brings the walker's tile at x; `width` becomes what the tile leaves of the piece.
bool openPiece(const OwnReport& report, Walker& walker, int32_t xEnd, int32_t& width)
{
    int32_t left = xEnd - walker.x;
    walker.work.roi.xOffset = walker.x;
    if (walker.tiled()) {
        if (walker.x >= walker.xEnd()) {
            ownReleaseTile(walker.image, walker.column, walker.row);
            ++walker.column;
            if (!open(report, walker))
                return false;
        }
        walker.work.roi.xOffset = walker.x - walker.xStart();
        int64_t inTile = walker.xEnd() - walker.x;
        left = inTile < left ? int32_t(inTile) : left;
    }
    width = ownMin(width, left);
    return true;
}

}  // namespace

bool ownBandWalk(const OwnReport& report, const OwnWalkImage* images, int count, OrvImage* mask, OwnPiece piece,
                 void* task)
{
    Walker walkers[mostImages + 1];
    OrvImage* works[mostImages];
    OrvImage* destination = images[count - 1].image;
    for (int i = 0; i < count; ++i) {
        begin(walkers[i], images[i], i == count - 1 ? ORV_TILE_WRITE : ORV_TILE_READ);
        walkers[i].shared = i < count - 1 && images[i].image == destination;
        works[i] = walkers[i].shared ? &walkers[count - 1].work.image : &walkers[i].work.image;
    }
    int all = count;
    if (mask)
        begin(walkers[all++], {mask, nullptr}, ORV_TILE_READ);

    OwnSize size = {INT32_MAX, INT32_MAX};
    for (int i = 0; i < all; ++i)
        size = ownMin(size, {walkers[i].rect.width, walkers[i].rect.height});

    if (size.width <= 0)
        return true;
    for (int32_t y = 0; y < size.height;) {
        int32_t height = size.height - y;
        for (int i = 0; i < all; ++i)
            if (!walkers[i].shared && !openBand(report, walkers[i], walkers[i].rect.y + size.height, height))
                return false;
        for (int i = 0; i < all; ++i)
            walkers[i].x = walkers[i].rect.x;
        for (int32_t x = 0; x < size.width;) {
            int32_t width = size.width - x;
            for (int i = 0; i < all; ++i)
                if (!walkers[i].shared && !openPiece(report, walkers[i], walkers[i].rect.x + size.width, width))
                    return false;
            for (int i = 0; i < all; ++i) {
                walkers[i].work.roi.width = width;
                walkers[i].work.roi.height = height;
                walkers[i].x += width;
            }
            piece(task, works, mask ? &walkers[count].work.image : nullptr);
            x += width;
        }
        for (int i = 0; i < count; ++i) {
            if (!walkers[i].shared && walkers[i].tiled())
                ownReleaseTile(walkers[i].image, walkers[i].column, walkers[i].row);
        }
        for (int i = 0; i < all; ++i)
            walkers[i].y += height;
        y += height;
    }
    return true;
}

void ownShowLeadingCell(OwnWork& work, const OrvImage& image, const OwnCell& cell, uint8_t* tile)
{
    work.take(image);
    work.showTile(image, tile);
    work.setRegion(cell.xInTile, cell.yInTile, cell.width, cell.height);
}

void ownShowCell(OwnWork& work, const OrvImage& image, const OwnCell& cell)
{
    work.take(image);
    OwnRect rect = ownRoiRect(image);
    work.setRegion(rect.x + cell.x, rect.y + cell.y, cell.width, cell.height);
}

bool OwnFetchedCell::fetch(OrvImage* image, const OwnCell& cell, bool mayStayOpen)
{
    const OrvTileInfo& tiles = *image->tileInfo;
    OwnRect rect = ownRoiRect(*image);
    int32_t x = rect.x + cell.x;
    int32_t y = rect.y + cell.y;
    work.take(*image);
    column = x / tiles.width;
    row = y / tiles.height;
    if ((x + cell.width - 1) / tiles.width != column || (y + cell.height - 1) / tiles.height != row) {
        int32_t step;
        block.data = ownBorderedRect(image, x, y, cell.width, cell.height, &step);
        if (block)
            work.showBlock(block.data, step, cell.width, cell.height);
        return bool(block);
    }
    work.setRegion(x - column * tiles.width, y - row * tiles.height, cell.width, cell.height);
    return mayStayOpen ? open(image) : copyFromTile(image);
}

bool OwnFetchedCell::open(OrvImage* image)
{
    tile = ownOpenTile(image, column, row, ORV_TILE_READ);
    if (!tile)
        return false;
    tiled = image;
    work.showTile(*image, tile);
    return true;
}

bool OwnFetchedCell::copyFromTile(OrvImage* image)
{
    // Of rows of bits whole bytes, so that the region keeps its place in the first one.
    const OrvROI cell = work.roi;
    bool arePlanes = image->dataOrder == ORV_DATA_ORDER_PLANE;
    int32_t planes = arePlanes ? image->nChannels : 1;
    int64_t pixelBits = int64_t{ownDepthBits(image->depth)} * (arePlanes ? 1 : image->nChannels);
    int64_t firstByte = cell.xOffset * pixelBits >> 3;
    int64_t rowBytes = (((cell.xOffset + cell.width) * pixelBits + 7) >> 3) - firstByte;
    int32_t lead = image->depth == ORV_DEPTH_1U ? cell.xOffset & 7 : 0;
    int64_t rows = int64_t{cell.height} * planes;
    if (rows > INT32_MAX / rowBytes)
        return false;
    block.data = static_cast<uint8_t*>(orvMalloc(int32_t(rows * rowBytes)));
    if (!block || !open(image))
        return false;
    uint8_t* to = block.data;
    for (int32_t plane = 0; plane < planes; ++plane) {
        const uint8_t* from =
            tile + (int64_t{plane} * work.image.height + cell.yOffset) * work.image.widthStep + firstByte;
        for (int32_t y = 0; y < cell.height; ++y, to += rowBytes, from += work.image.widthStep)
            memcpy(to, from, size_t(rowBytes));
    }
    release();
    work.showBlock(block.data, int32_t(rowBytes), lead + cell.width, cell.height);
    work.setRegion(lead, 0, cell.width, cell.height);
    return true;
}

void OwnFetchedCell::release()
{
    if (!tiled)
        return;
    tiled->tileInfo->tileData = tile;
    ownReleaseTile(tiled, column, row);
    tiled = nullptr;
}
