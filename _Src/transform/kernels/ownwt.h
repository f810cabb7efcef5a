// Kernels of the wavelet transforms.
//
// All four filterings, along rows and along columns, apart and together again, are the same work once a line is split
// into its even and its odd samples: two outputs at a time, each the sum of a few rows times a tap each. A filter along
// a row takes the same row at several shifts.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "../../core/ownisa.h"

// Output i of the pair is the sum over k below `count` of rows[k][i] * taps[2 * k], and * taps[2 * k + 1] for the
// second, for i below n. Sums run in double precision, in this order, and are rounded to single precision. Taps and
// samples have single precision whatever their type.
struct OwnWtKernels {
    // Along rows, split to even and odd samples, which are doubles.
    void (*filterSamples)(const void* const* rows, const double* taps, ptrdiff_t count, float* first, float* second,
                          ptrdiff_t n);

    // Along columns, columns from `start` on of rows of floats, into two outputs of floats, all at any address.
    void (*filterRows)(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                       void* const* outputs, ptrdiff_t n);

    // Two steps of filterRows at once, into four outputs: the first step begins two rows later than the second.
    void (*filterRowsTwice)(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                            void* const* outputs, ptrdiff_t n);

    // Splits pixels into even and odd samples, `pairs` of each.
    void (*split)(const uint8_t* pixels, ptrdiff_t pairs, double* even, double* odd);

    // Joins even and odd samples to n pixels, clamped to 0 and 255 and rounded to nearest, ties to even.
    void (*join)(const float* even, const float* odd, uint8_t* pixels, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnWtKernels, ownWtKernels)
