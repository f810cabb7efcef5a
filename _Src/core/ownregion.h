// What an operation processes: which pixels of an image and which of their channels.
//
//   ownRoiRect        the region as a rectangle
//   ownRoiSize        its size, false if nothing is left
//   ownCommonSize     the smallest size of several images
//   ownChannels       the processed channels
//   ownHasChannels    true if there are any
//   ownRoiStart       where the region begins in a channel
//   ownPlaneGeometry  all that a traversal must know of an image in plain memory
//   ownMaskStart      the same for a mask
//   ownMaskSelects    true if a mask selects a pixel
//   ownChannelStart   where one of its channels begins
//   ownIsWholeBuffer  true if one run over the buffers serves
//   ownTileWidthStep  row length of a tiled image's tiles
//   ownTileGrid       the tiles that a region meets
#pragma once

#include "orv/core.h"
#include "owngeometry.h"
#include "ownlayout.h"

struct OwnRect {
    int32_t x, xEnd;
    int32_t y, yEnd;
    int32_t width, height;  // zero or negative for a region outside its image
};

struct OwnSize {
    int32_t width, height;
};

struct OwnChannels {
    int32_t first;  // counted from 0
    int32_t count;
    bool coi;  // one channel was asked for
};

struct OwnRoiStart {
    uint8_t* data;
    int32_t width, height;  // never negative
    int32_t bit;            // of the first pixel in *data, for 1U
};

struct OwnTileGrid {
    int32_t column, row;       // of the first tile
    int32_t columns, rows;     // of tiles that the region meets
    int32_t xOffset, yOffset;  // of the region in the first tile
    int32_t tileWidth, tileHeight;
};

inline int32_t ownMin(int32_t a, int32_t b)
{
    return a < b ? a : b;
}

inline int32_t ownMax(int32_t a, int32_t b)
{
    return a > b ? a : b;
}

// What both of two sizes have.
inline OwnSize ownMin(OwnSize a, OwnSize b)
{
    return {ownMin(a.width, b.width), ownMin(a.height, b.height)};
}

OwnRect ownRoiRect(const OrvImage& image);

// Here, so that no caller stores the record only to load it, which every call of an entry would wait for.
inline OwnChannels ownChannels(const OrvImage& image)
{
    if (image.roi && image.roi->coi > 0)
        return {image.roi->coi - 1, 1, true};
    return {0, image.nChannels - (image.alphaChannel != 0), false};
}

// True for an image with something to process besides its alpha channel.
inline bool ownHasChannels(const OrvImage& image)
{
    return ownChannels(image).count > 0;
}

OwnRoiStart ownRoiStart(const OrvImage& image, int32_t channel);

// The region's size; with `clip` also cut where the region begins before the image.
bool ownRoiSize(const OrvImage& image, bool clip, OwnSize& size);

// The smallest size of `a`, `b` and `c`, of which the last may be NULL.
bool ownCommonSize(const OrvImage& a, const OrvImage& b, const OrvImage* c, bool clip, OwnSize& size);

// False for an image without a region whose only channel is alpha.
bool ownPlaneGeometry(const OrvImage& image, OwnGeometry& geometry);

OwnGeometry ownMaskStart(const OrvImage& mask);

// True if a mask selects the pixel at (x, y), from the start of its region.
inline bool ownMaskSelects(const OwnGeometry& mask, int32_t x, int32_t y)
{
    const int64_t bit = int64_t{mask.bit} + x;
    return mask.start[y * mask.rowStep + (bit >> 3)] & 128 >> (bit & 7);
}

// Where a processed channel, counted from 0, begins; its values have `bytes` bytes, 0 for 1U.
inline uint8_t* ownChannelStart(const OwnGeometry& image, int32_t channel, int bytes)
{
    return image.start + channel * (image.planeStep ? image.planeStep : ptrdiff_t{bytes});
}

// True if one run over imageSize bytes of all `count` images, 2 or 3, gives what their rows would.
bool ownIsWholeBuffer(const OrvImage* const* images, int count, bool alpha);

// 0 for an untiled or a bad image.
int32_t ownTileWidthStep(OrvImage* image);

// `region` is the size to be processed, from the image's own region start on.
OwnTileGrid ownTileGrid(const OrvImage& image, OwnSize region);

// A copy of a header with a region of its own, so that the application's header stays as it is.
struct OwnWork {
    OrvImage image;
    OrvROI roi;

    OwnWork() = default;
    explicit OwnWork(const OrvImage& original) { take(original); }
    OwnWork(const OwnWork&) = delete;
    OwnWork& operator=(const OwnWork&) = delete;

    void take(const OrvImage& original);
    // Makes the header one of plain memory: the tile that tileInfo->tileData holds.
    void showTile(const OrvImage& original, uint8_t* tileData);
    // Makes the header one of plain memory: a block of the given size whose rows lie `step` bytes apart, all of it the
    // region.
    void showBlock(uint8_t* data, int32_t step, int32_t width, int32_t height);
    // Moves the region.
    void setRegion(int32_t x, int32_t y, int32_t width, int32_t height);
    // Cuts the region to a part of it.
    void narrow(int32_t x, int32_t y, int32_t width, int32_t height);
};
