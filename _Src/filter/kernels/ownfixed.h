// Kernels of the filters with built-in coefficients.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// The filters that differ: the ids of orvFixedFilter without ORV_FIXED_HIGHPASS3, which is ORV_FIXED_LAPLACE3.
enum OwnFixedFilter {
    OWN_PREWITT_X,
    OWN_PREWITT_Y,
    OWN_SOBEL_X,
    OWN_SOBEL_Y,
    OWN_LAPLACE3,
    OWN_LAPLACE5,
    OWN_GAUSS3,
    OWN_GAUSS5,
    OWN_HIGHPASS5,
    OWN_SHARPEN3,
    OWN_FIXED_FILTERS
};

// A few rows of results, each made of `size` rows of the source.
struct OwnFixedBand {
    const void* const* rows;  // count + size - 1, of values + (size - 1) * step values each
    void* const* results;     // count
    ptrdiff_t count;
    ptrdiff_t step;    // values from pixel to pixel
    ptrdiff_t values;  // in a row of the result
};

using OwnFixedKernel = void (*)(const OwnFixedBand& band);

// By filter and depth. At 1U the values are bytes, 0 or 1 in the source and 0 or 255 in the result; OWN_SHARPEN3 has
// none.
struct OwnFixedKernels {
    OwnFixedKernel band[OWN_FIXED_FILTERS][OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnFixedKernels, ownFixedKernels)
