// Kernels of separable convolution of bytes: what a row kernel makes of rows, ready for the column kernel.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// Two neighbouring samples of a row, and what they are multiplied by in each part of the row kernel.
struct OwnSideTap {
    ptrdiff_t places[2];  // of the samples, from that of the sum on
    int8_t weights[2][2];
};

// The sums of n places of two rows, modulo 2^16, for each part of a row kernel.
struct OwnSideSums {
    const void* rows[2];
    const OwnSideTap* taps;
    ptrdiff_t count;
    int16_t starts[2];  // of the sums of a part
    ptrdiff_t n;
    void* pairs[2];  // of a part: pairs of int16_t, the sum of the upper row before that of the lower one
};

struct OwnSideKernels {
    // By the number of parts, less 1. The products of no tap pass 16 bits.
    void (*sums[2])(const OwnSideSums& sums);
};

OWN_KERNEL_TABLE(OwnSideKernels, ownSideKernels)
