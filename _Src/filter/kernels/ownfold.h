// Kernels that fold windows to their least or their greatest value.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// A few rows of results, each the fold of nRows rows by nCols pixels.
struct OwnFoldBand {
    const void* const* rows;  // count + nRows - 1, of which values + (nCols - 1) * step values each are read
    ptrdiff_t first;          // where in the rows these begin, in bytes
    void* const* results;     // count
    ptrdiff_t count;
    ptrdiff_t nRows, nCols;
    ptrdiff_t step;    // values from pixel to pixel
    ptrdiff_t values;  // in a row of the result
    int bit;           // at 1U: of the first value, in that byte
    void* scratch;     // of scratchBytes of a band with as many results
};

struct OwnFoldKernel {
    void (*band)(const OwnFoldBand& band);
    int64_t (*scratchBytes)(const OwnFoldBand& band);
};

// By depth; none for 32F. At 1U the values are packed bits, those of a result from bit 0 of its first byte on.
struct OwnFoldKernels {
    OwnFoldKernel least[OWN_DEPTHS];
    OwnFoldKernel greatest[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnFoldKernels, ownFoldKernels)
