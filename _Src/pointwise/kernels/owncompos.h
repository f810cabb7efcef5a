// Kernels of products of normalised values and of compositing, at 8U and 16U: 255 or 65535 stands for 1.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// n values side by side of the images, with the alpha of each value's pixel. The destination may be a source.
struct OwnCompositeRow {
    const void* a;
    const void* b;
    const void* alphaA;
    const void* alphaB;
    void* d;
    ptrdiff_t n;
};

constexpr int ownCompositeTypes = 6;

struct OwnCompositeKernels {
    using Kernel = void (*)(const OwnCompositeRow& row);

    // Products of two images' values, and of an image's with a scalar of the depth.
    OwnRowKernel multiply, multiplyBy;

    // d[i] = alpha i / step: alpha values of pixels become those of their channels.
    void (*spread)(const void* alpha, ptrdiff_t step, void* d, ptrdiff_t pixels);
    // d[i] = 1 - alpha[i]
    void (*complement)(const void* alpha, void* d, ptrdiff_t n);

    Kernel weighted;                       // d = a * alphaA
    Kernel colour[ownCompositeTypes];      // of premultiplied colours
    Kernel alpha[ownCompositeTypes];       // d is the alpha of the result; a and b are not read
    Kernel alphaOfOne[ownCompositeTypes];  // the same where the second alpha is 1 - the first

    // Divided by the alpha of the result, in floating point: of premultiplied colours, and of others.
    Kernel divided[2][ownCompositeTypes];
    Kernel dividedAlpha[ownCompositeTypes];
};

// Both depths of a level.
struct OwnCompositeTable {
    OwnCompositeKernels of[2];  // 8U, 16U
};

OWN_KERNEL_TABLE(OwnCompositeTable, ownCompositeTable)
