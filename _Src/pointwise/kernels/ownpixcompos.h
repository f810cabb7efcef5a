// Kernels of compositing for the usual pixels: four values side by side, of which the last is the alpha, so that a
// pixel is one word and nothing has to be brought together from elsewhere.
#pragma once

#include "../../core/ownisa.h"
#include "owncompos.h"

// The alpha of a source's pixels: its own, 1 - that of the first source, or a constant.
struct OwnPixelAlpha {
    bool own = false;
    bool complement = false;
    uint32_t constant = 0;
};

// Pixels of two sources and the destination, which may be a source.
struct OwnPixelRow {
    const void* a;
    const void* b;
    void* d;
    ptrdiff_t pixels;
    OwnPixelAlpha alphaA, alphaB;
};

struct OwnPixelKernels {
    using Kernel = void (*)(const OwnPixelRow& row);

    // By type, premultiplied or not, and whether the destination's alpha is kept or becomes the result's. A level may
    // lack those that divide.
    Kernel composite[ownCompositeTypes][2][2];
    Kernel divided[ownCompositeTypes][2][2];
    // d = a times its alpha, which becomes that of the destination; b is not read. There is nothing to keep.
    Kernel weighted[2];
};

// Both depths of a level.
struct OwnPixelTable {
    OwnPixelKernels of[2];  // 8U, 16U
};

OWN_KERNEL_TABLE(OwnPixelTable, ownPixelTable)
