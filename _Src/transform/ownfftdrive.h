// The driver of the Fourier transforms: from one image's pixels to the other's.
#pragma once

#include "../core/owngeometry.h"

struct OwnFftCaches;

// What a call is about to do.
struct OwnFftPlan {
    OwnGeometry src, dst;  // with the processed channels; their sizes are not looked at
    OwnDepthIndex srcDepth, dstDepth;
    int32_t width, height;  // of the transform, 1 or more
    int32_t direction;      // +1 forward, -1 inverse
    bool divides;           // by the number of elements
    bool toPacked;          // from a real image to a packed spectrum, or back
    bool fixedPoint;
};

// Carries the plan out. False if there is no memory, or no place for a table; then nothing has been stored.
bool ownFftRun(const OwnFftPlan& plan, OwnFftCaches& caches);
