// Kernels of medians that are found by counting: in windows so large that to compare all samples would take longer.
#pragma once

#include "../../core/ownisa.h"
#include "../../core/ownvalue.h"

// ---- Bytes --------------------------------------------------------------------------------------------------------

// Counts of the values of each column of a window, and how a row of medians is made of them.
struct OwnColumnCounts {
    ptrdiff_t columns;  // in a row of the source, in values
    ptrdiff_t values;   // in a row of the result
    ptrdiff_t step;     // values from pixel to pixel
    ptrdiff_t nCols;
    int32_t rank;  // of the median, counted from 1
    uint8_t flip;  // what makes the values of a signed depth unsigned ones in the same order
    void* counts;  // of as many bytes as the kernel asks for, at first 0
};

struct OwnColumnKernel {
    int64_t (*bytes)(int64_t columns);
    void (*add)(const OwnColumnCounts& counts, const void* row);
    void (*replace)(const OwnColumnCounts& counts, const void* leaving, const void* entering);
    void (*medians)(const OwnColumnCounts& counts, void* result);
};

// ---- Bits ---------------------------------------------------------------------------------------------------------

struct OwnBitCounts {
    ptrdiff_t columns, values, nCols;
    int32_t least;  // ones in a window that make its median a one
    int32_t* sums;  // of the ones in each column
};

// ---- Larger values ------------------------------------------------------------------------------------------------

// Two rows of windows, one below the other, through which one histogram slides.
struct OwnSlide {
    const void* const* rows;  // nRows, of the upper windows
    const void* below;        // the row after them, which the lower windows have in place of the first
    ptrdiff_t nRows, nCols;
    ptrdiff_t values;  // in a row of the result
    ptrdiff_t step;    // values from pixel to pixel
    int32_t rank;      // of the median, counted from 1
    int32_t bins;      // all values are less
    uint32_t flip;     // what makes the values of a signed depth unsigned ones in the same order
    void* counts;      // of as many bytes as the kernel asks for
    void* results[2];
};

struct OwnSlideKernel {
    int64_t (*bytes)(int64_t bins);
    void (*words)(const OwnSlide& slide);    // of 16 bits
    void (*numbers)(const OwnSlide& slide);  // of 32 bits
};

// Counts of 16 bits are good for windows of up to so many pixels, those of 8 for columns of up to so many.
enum { OWN_NARROW_COUNT = 32767, OWN_SMALL_COUNT = 255 };

struct OwnCountingKernels {
    OwnColumnKernel smallColumns;  // in narrow windows
    OwnColumnKernel narrowColumns, wideColumns;
    OwnSlideKernel narrowSlide, wideSlide;
    // Takes a row into the sums, and another out if there is one.
    void (*sumBits)(const OwnBitCounts& counts, const void* entering, const void* leaving);
    void (*medianBits)(const OwnBitCounts& counts, void* result);
};

OWN_KERNEL_TABLE(OwnCountingKernels, ownCountingKernels)
