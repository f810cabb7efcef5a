// Kernels of the means of areas.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// The cells along a row. All pixels of a cell but the first and the last weigh 1.
struct OwnAreaColumns {
    ptrdiff_t count;        // cells
    ptrdiff_t sourceCount;  // pixels of a source row; no more are read
    int lanes;              // values of a pixel, at most 8
    const int32_t* index;   // of a cell's first pixel, plus `base`
    int32_t base;
    const int32_t* pixels;
    int most;  // the largest of these
    const float *firstWeight, *lastWeight;
    void* table;  // of tableBytes, filled by prepare

    ptrdiff_t values() const { return count * lanes; }
};

struct OwnAreaKernel {
    int64_t (*tableBytes)(const OwnAreaColumns& columns);
    void (*prepare)(const OwnAreaColumns& columns);
    // The sums of the cells in one row, added up from left to right.
    void (*across)(const OwnAreaColumns& columns, const void* src, float* sums);
    // Means of n sums: integers are rounded to nearest, halves upward; bits are 0 or 255.
    void (*store)(const float* sums, double scale, void* dst, ptrdiff_t n);
    // Means of whole pixels, whose sums over rows are given in 16 or 32 bits: of `pixels` pixels side by side.
    void (*store16)(const uint16_t* sums, ptrdiff_t pixels, ptrdiff_t lanes, double scale, void* dst, ptrdiff_t count);
    void (*store32)(const uint32_t* sums, ptrdiff_t pixels, ptrdiff_t lanes, double scale, void* dst, ptrdiff_t count);
};

struct OwnAreaKernels {
    // sums[i] += row[i] * weight, for n values.
    void (*add)(const float* row, float weight, float* sums, ptrdiff_t n);
    OwnAreaKernel depths[OWN_DEPTHS];  // 1U, whose values are bytes of 0 and 1, 8U, 16U and 32F
};

OWN_KERNEL_TABLE(OwnAreaKernels, ownAreaKernels)
