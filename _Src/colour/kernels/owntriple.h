// Kernels that compute on the three values of a pixel, and that bring these from pixels to rows of their own and back.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// Makes each of n results of the values at the same place in the rows `from`, one row for each source and each result.
// The rows are whole blocks: n is a multiple of OWN_TRIPLE_BLOCK. A row of results may be a row of sources.
using OwnTripleStep = void (*)(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar);

enum { OWN_TRIPLE_BLOCK = 64 };

// A step for each depth, NULL where there is none. 1U has its values as bytes: 0 or 1 on the way in, 0 or 255 on the
// way out.
using OwnTripleSteps = OwnTripleStep[OWN_DEPTHS];

// By a value's bytes, 1, 2 or 4, as index 0, 1, 2.
struct OwnTripleMoves {
    // Brings the first three values of n pixels that are `step` values apart into three rows; and back.
    void (*split[3])(const void* pixels, ptrdiff_t step, void* const* rows, ptrdiff_t n);
    void (*join[3])(const void* const* rows, void* pixels, ptrdiff_t step, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnTripleMoves, ownTripleMoves)
