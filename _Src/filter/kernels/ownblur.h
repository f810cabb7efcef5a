// Kernels of the box filter.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// The most rows that a kernel makes at a time.
constexpr int ownBlurRows = 8;

// A few rows of results. `sums` are the column sums of the row before the first of them. Each row's are made of those
// of the row before by adding enter[i] and subtracting leave[i], in this order; and each window sum along a row is made
// of that of the pixel before by adding the column sum that enters and subtracting the one that leaves. In the first
// row of all nothing leaves: leave[0] is NULL, and the column sums lack the row that enters.
struct OwnBlurBand {
    const void* enter[ownBlurRows];
    const void* leave[ownBlurRows];
    void* result[ownBlurRows];
    int rows;
    ptrdiff_t values;  // in a row of the result
    ptrdiff_t step;    // values from pixel to pixel, at most 8
    ptrdiff_t nCols;
    float scale;
    void* sums;     // of values + (nCols - 1) * step columns
    void* scratch;  // of scratchBytes
};

struct OwnBlurKernel {
    int sumBytes;  // of a column sum
    void (*add)(const void* row, void* sums, ptrdiff_t n);
    void (*band)(const OwnBlurBand& band);
};

struct OwnBlurKernels {
    OwnBlurKernel narrow[OWN_DEPTHS];  // sums that fit 32 bits, and the float sums of 32S and 32F
    OwnBlurKernel wide[OWN_DEPTHS];    // sums of up to 64 bits, none for 32S and 32F
    int64_t (*scratchBytes)(int64_t step, int64_t nCols);
};

OWN_KERNEL_TABLE(OwnBlurKernels, ownBlurKernels)
