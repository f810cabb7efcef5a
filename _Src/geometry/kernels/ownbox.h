// Kernels of the means of boxes.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// A row of means. The sums over the rows of the boxes are given for `columns` pixels, between two edges that are the
// kernel's own; pixels of boxes before the first or after the last of them are like it.
struct OwnBoxMeans {
    ptrdiff_t columns;
    int lanes;        // values of a pixel
    ptrdiff_t first;  // the pixel where the first box begins, perhaps before the columns
    int64_t size;     // of a box along the row
    ptrdiff_t count;  // of means
    uint64_t area;    // of a box
    uint32_t factor;  // a mean of integers is sum * factor >> shift
    int shift;
    uint16_t upperFactor;  // of sums of 16 bits, whose means are the upper halves of products
    void* running;         // scratch: the sums of so many pixels, of one more, and of an edge on both sides
};

// Pixels on both sides of the columns for which there is room with the sums and in `running`.
constexpr int ownBoxEdge = 64;

// The most rows that a kernel takes at a time.
constexpr int ownBoxRows = 3;

struct OwnBoxKernel {
    int sumBytes;
    // sums[i] += row[i] * times, for n values.
    void (*add)(const void* row, void* sums, ptrdiff_t n, int64_t times);
    // sums[i] += enter[i] - leave[i], for `count` rows of both.
    void (*move)(const void* const* enter, const void* const* leave, int count, void* sums, ptrdiff_t n);
    void (*means)(const OwnBoxMeans& task, void* sums, void* means);
};

// By the bits of the sums; of 1U, whose values are bytes of 0 and 1, 8U, 16U and 32F, where all are of double
// precision.
struct OwnBoxKernels {
    OwnBoxKernel bits16[OWN_DEPTHS], bits32[OWN_DEPTHS], bits64[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnBoxKernels, ownBoxKernels)
