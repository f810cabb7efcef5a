// Single pixels by their absolute position.
//
//   orvGetPixel   reads a pixel
//   orvPutPixel   writes a pixel
#include <cstring>

#include "orv/core.h"
#include "ownlayout.h"
#include "ownreport.h"
#include "owntile.h"

namespace {

constexpr const char* source = "orvpixel";

// The memory that holds a pixel: a buffer or a tile, and where in it.
struct PixelPlace {
    uint8_t* row;         // start of the pixel's row in the first plane
    int32_t x;            // its column
    ptrdiff_t planeStep;  // bytes from plane to plane
};

// True if the position is one of the image's.
bool checkPosition(const OwnReport& report, OrvImage* image, int32_t x, int32_t y, const void* pixel)
{
    if (!report.goodImage(image))
        return false;
    if (report.when(x > image->width - 1 || x < 0, ORV_STATUS_BAD_ARG, "((x>img->width-1) || (x<0))"))
        return false;
    if (report.when(y > image->height - 1 || y < 0, ORV_STATUS_BAD_ARG, "((y>img->height-1) || (y<0))"))
        return false;
    if (report.when(!pixel, ORV_STATUS_BAD_ARG, "pixel==0"))
        return false;
    return true;
}

PixelPlace placeInBuffer(const OrvImage& image, int32_t x, int32_t y)
{
    ptrdiff_t step = image.widthStep;
    return {image.imageData + y * step, x, image.height * step};
}

PixelPlace placeInTile(const OrvImage& image, uint8_t* tile, int32_t x, int32_t y)
{
    const OrvTileInfo& tiles = *image.tileInfo;
    ptrdiff_t step = ptrdiff_t(ownLineBytes(image.dataOrder, image.depth, image.align, image.nChannels, tiles.width));
    return {tile + (y % tiles.height) * step, x % tiles.width, tiles.height * step};
}

void readPixel(const OrvImage& image, const PixelPlace& place, uint8_t* pixel)
{
    if (image.depth == ORV_DEPTH_1U) {
        *pixel = (place.row[place.x >> 3] & (128 >> (place.x & 7))) != 0;
        return;
    }
    size_t bytes = size_t(ownValueBytes(image.depth));
    if (image.dataOrder == ORV_DATA_ORDER_PIXEL) {
        memcpy(pixel, place.row + ptrdiff_t(place.x) * image.nChannels * bytes, image.nChannels * bytes);
        return;
    }
    for (int32_t plane = 0; plane < image.nChannels; ++plane)
        memcpy(pixel + plane * bytes, place.row + plane * place.planeStep + ptrdiff_t(place.x) * bytes, bytes);
}

void writePixel(const OrvImage& image, const PixelPlace& place, const uint8_t* pixel)
{
    if (image.depth == ORV_DEPTH_1U) {
        int bit = 128 >> (place.x & 7);
        uint8_t& byte = place.row[place.x >> 3];
        byte = uint8_t(*pixel & 1 ? byte | bit : byte & ~bit);
        return;
    }
    size_t bytes = size_t(ownValueBytes(image.depth));
    if (image.dataOrder == ORV_DATA_ORDER_PIXEL) {
        memcpy(place.row + ptrdiff_t(place.x) * image.nChannels * bytes, pixel, image.nChannels * bytes);
        return;
    }
    for (int32_t plane = 0; plane < image.nChannels; ++plane)
        memcpy(place.row + plane * place.planeStep + ptrdiff_t(place.x) * bytes, pixel + plane * bytes, bytes);
}

// Finds the pixel's memory, hands it to `move`, and closes the tile again.
template <class Move>
void atPixel(const OwnReport& report, OrvImage* image, int32_t x, int32_t y, int32_t tileMode, const char* noTile,
             Move move)
{
    if (image->origin == ORV_ORIGIN_BL)
        y = image->height - y - 1;
    OrvTileInfo* tiles = image->tileInfo;
    if (!tiles) {
        move(placeInBuffer(*image, x, y));
        return;
    }
    int32_t column = x / tiles->width;
    int32_t row = y / tiles->height;
    uint8_t* tile = ownOpenTile(image, column, row, tileMode);
    if (report.when(!tile, ORV_STATUS_ERROR, noTile))
        return;
    move(placeInTile(*image, tile, x, y));
    ownReleaseTile(image, column, row);
}

}  // namespace

void ORV_CALL orvGetPixel(OrvImage* image, int32_t x, int32_t y, void* pixel)
{
    constexpr OwnReport report{"orvGetPixel", source};
    if (!checkPosition(report, image, x, y, pixel))
        return;
    atPixel(report, image, x, y, ORV_TILE_READ, "Error get tile to read",
            [&](const PixelPlace& place) { readPixel(*image, place, static_cast<uint8_t*>(pixel)); });
}

void ORV_CALL orvPutPixel(OrvImage* image, int32_t x, int32_t y, const void* pixel)
{
    constexpr OwnReport report{"orvPutPixel", source};
    if (!checkPosition(report, image, x, y, pixel))
        return;
    atPixel(report, image, x, y, ORV_TILE_WRITE, "Error get tile to write",
            [&](const PixelPlace& place) { writePixel(*image, place, static_cast<const uint8_t*>(pixel)); });
}
