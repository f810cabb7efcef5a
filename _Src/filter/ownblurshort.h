// The box filter of bytes and bits whose sums are short.
#pragma once

#include "../core/ownneighbour.h"

// The window of a pixel at (0, 0) begins at (-anchorX, -anchorY).
struct OwnBlurWindow {
    int32_t nCols, nRows;
    int32_t anchorX, anchorY;

    int64_t samples() const { return int64_t{nCols} * nRows; }
    float scale() const { return 1.0f / float(samples()); }
    OwnReach reach() const { return {anchorX, anchorY, nCols - 1 - anchorX, nRows - 1 - anchorY}; }
};

// True if there is a short way for these images.
bool ownBlurIsShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst);

// Takes it for a rectangle of plain memory, which is read through OwnLines. False if there is no memory.
bool ownBlurShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
