// Pixels of an image that may be tiled, also beyond its edges.
//
//   ownBorderedRect    a rectangle, in a block
//   ownBorderedRow     values of one channel or of all in a row
//   OwnRowEnds         what lies beyond the ends of rows in plain memory
//   OwnBorderedImage   a rectangle with its surroundings, as an image
//
// A position outside the image reads what the border modes of its side give. Above and below the image the top and the
// bottom side count, corners included; beside it the left and the right side. Tiles are opened for reading, of each row
// of tiles those that are needed, from left to right, and released from right to left before the next row of tiles. A
// tile that does not come ends the reading at once: what was opened stays open. Nothing is reported.
#pragma once

#include "ownregion.h"
#include "ownscratch.h"

// Copies the rectangle at (x, y) of an image, all channels, into a new block of orvMalloc, which the caller frees: rows
// of `width` pixels, rounded up to the image's align, `*step` bytes apart; with planes, one plane of `height` rows
// follows another. In rows of bits what follows the last pixel is 0. NULL if there is no memory or a tile does not
// come, of which *tileRefused tells if it is not NULL.
uint8_t* ownBorderedRect(OrvImage* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* step,
                         bool* tileRefused = nullptr);

// Copies n values of one channel, counted from 0, from (x, y) on; bits are packed from the top bit of *values on, and
// those after the last are 0. With channel -1 copies n pixels of an image in pixel order. False if there is no memory
// or a tile does not come.
bool ownBorderedRow(OrvImage* image, int32_t channel, int64_t x, int64_t y, int32_t n, void* values);

// Reads what lies beyond both ends of rows of an image in plain memory, of many rows at little cost each: where every
// value comes from is worked out once.
class OwnRowEnds {
public:
    // For rows of `count` pixels from column x on, of which `values` values each are read side by side; those of bits
    // become bytes, 0 or 1.
    OwnRowEnds(const OrvImage& image, int64_t x, int64_t count, int32_t values);

    // False if there is no memory.
    explicit operator bool() const { return !any() || places; }
    bool any() const { return before > 0 || after > 0; }

    // Pixels beyond the left and the right end.
    int64_t before, after;

    // `row` is a row of the image, at column 0 of the first value that is read; `line` receives what lies beyond its
    // ends.
    void fill(const uint8_t* row, uint8_t* line) const;

    // Where in a row the values beyond one of the ends lie; -1 for the side's constant.
    const int32_t* placesBefore() const { return places.data; }
    const int32_t* placesAfter() const { return places.data + beforeValues; }
    int32_t constantBefore() const { return constants[0]; }
    int32_t constantAfter() const { return constants[1]; }

private:
    int bytes;                         // of a value; 0 for bits
    int64_t beforeValues, lineValues;  // beyond the left end, and of the whole line
    int64_t afterValues;
    int32_t constants[2];        // of the left and the right side, as they are stored
    OwnScratch<int32_t> places;  // in the row, of all values beyond the ends; -1 for the side's constant
};

// How far an operation reads around a pixel, in pixels, none of them negative.
struct OwnReach {
    int32_t left, top, right, bottom;
};

// A plain copy of a rectangle and its surroundings.
struct OwnBorderedImage {
    OwnWork work;  // its region is the rectangle; the region's coi is the source's, and there is no mask
    OwnScratch<uint8_t> block{static_cast<uint8_t*>(nullptr)};
    bool tileRefused = false;  // why the last fetch failed

    // False if there is no memory or a tile does not come.
    bool fetch(OrvImage* image, const OwnRect& rect, const OwnReach& reach);
};
