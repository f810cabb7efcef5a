// Kernels of the positions along an axis that orvZoom and its kin sample at.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../../core/ownisa.h"

struct OwnAxisKernels {
    // n positions by running addition of a step, neither of them below 0. Answers the one that comes next.
    double (*positions)(double start, double step, double* positions, ptrdiff_t n);
    // The pixel at or before each position or, by a hair, after it; `last` for those beyond it.
    void (*indices)(const double* positions, int32_t last, int32_t* index, ptrdiff_t n);
    // The first of the two pixels around each position and the position from it on; behind the last pixel, which is
    // not pixel 0, there is none.
    void (*lines)(const double* positions, int32_t last, int32_t* index, double* fraction, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnAxisKernels, ownAxisKernels)
