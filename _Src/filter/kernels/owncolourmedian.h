// Kernels of the colour median.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// A row of results; channels have rows of their own.
struct OwnColourRow {
    const void* const* rows[3];  // nRows of each channel, of width + nCols - 1 values
    void* result[3];
    ptrdiff_t nRows, nCols;
    ptrdiff_t width;
    void* scratch;  // of as many bytes as `bytes` asks for, at first 0
};

struct OwnColourMedian {
    int64_t (*bytes)(int64_t nRows, int64_t nCols);
    void (*row)(const OwnColourRow& row);
};

struct OwnColourMedianKernels {
    // By depth, for windows of so many pixels that the sums of distances fit 16 bits, 32 bits, and for all others; none
    // where there is no need.
    OwnColourMedian narrow[OWN_DEPTHS], usual[OWN_DEPTHS], wide[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnColourMedianKernels, ownColourMedianKernels)
