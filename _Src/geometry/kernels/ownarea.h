// Kernels of the means of areas.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// The most rows that a kernel takes at a time.
constexpr int ownAreaRows = 4;

// The most rows whose sums are made at a time.
constexpr int ownAreaLines = 2;

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

    __attribute__((always_inline)) ptrdiff_t values() const { return count * lanes; }
};

// Cells that may cut pixels: sums are floats.
struct OwnAreaKernel {
    int64_t (*tableBytes)(const OwnAreaColumns& columns);
    void (*prepare)(const OwnAreaColumns& columns);
    // The sums of the cells in one row or in ownAreaLines rows, added up from left to right.
    void (*across)(const OwnAreaColumns& columns, const void* const* src, int rows, float* const* sums);
    // Means of n sums of `count` rows with their weights: integers are rounded to nearest, halves upward; bits are 0 or
    // 255.
    void (*store)(const float* const* rows, const float* weights, int count, double scale, void* dst, ptrdiff_t n);
};

// Cells of whole pixels, `most` by as many rows, whose sums are integers that a float holds: rows come first.
struct OwnWholeKernel {
    int sumBytes;
    int64_t (*tableBytes)(const OwnAreaColumns& columns);
    void (*prepare)(const OwnAreaColumns& columns);
    // Adds `count` rows of n values to sums, or, if they are the first, stores their sums.
    void (*sum)(const void* const* rows, int count, bool first, void* sums, ptrdiff_t n);
    void (*store)(const OwnAreaColumns& columns, const void* sums, double scale, void* dst);
};

// Makes n pixels of two rows.
using OwnHalve = void (*)(const void* upper, const void* lower, void* dst, ptrdiff_t n);

struct OwnAreaKernels {
    // sums[i] += row[i] * weight, for n values, or, if the row is the first, row[i] * weight.
    void (*add)(const float* row, float weight, bool first, float* sums, ptrdiff_t n);
    OwnAreaKernel cut[OWN_DEPTHS];                            // 1U, whose values are bytes of 0 and 1, 8U, 16U and 32F
    OwnWholeKernel whole16[OWN_DEPTHS], whole32[OWN_DEPTHS];  // by the bits of the sums; none for 32F
    // Means of two by two pixels, by their values, from 1 to 4: of 8U and 16U; NULL where there is no quicker way.
    OwnHalve halve8[5], halve16[5];
};

OWN_KERNEL_TABLE(OwnAreaKernels, ownAreaKernels)
