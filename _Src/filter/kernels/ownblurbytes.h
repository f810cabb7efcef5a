// Kernels of the box filter for bytes and bits whose sums are short.
//
// Sums of columns have 16 bits. Windows whose sums fit 16 bits as well add up the few columns of every window afresh, which
// vectors do faster than they follow a running sum. The means of wider windows come from running sums along the rows, formed as
// differences of prefix sums modulo 2^16, and down the columns, with 32 bits.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// How a sum of bytes becomes its mean, rounded to nearest: (sum + bias) * multiplier / 2^(16 + shift), rounded down. Only odd
// numbers of samples have one, since a mean of theirs never lies in the middle between two integers.
struct OwnBlurMean {
    uint32_t multiplier, bias;
    int shift;
    bool exact;  // for every sum that there can be
};
constexpr OwnBlurMean ownBlurMean(uint32_t samples)
{
    int shift = 0;
    while (samples >> (shift + 1))
        ++shift;
    const uint64_t one = uint64_t{1} << (16 + shift);
    const uint64_t multiplier = (one + samples - 1) / samples, bias = samples / 2,
                   most = 255 * uint64_t{samples} + bias;
    // The multiplier is too large by so little that no sum comes to the next integer, which is at least 1 / samples away.
    const bool exact =
        samples % 2 == 1 && samples > 1 && most <= UINT16_MAX && (multiplier * samples - one) * most < one;
    return {uint32_t(multiplier), uint32_t(bias), shift, exact};
}

// A row of means. Columns may be read and written for a block more.
struct OwnBlurBytes {
    const uint8_t* enter;
    const uint8_t* leave;  // NULL where nothing leaves
    uint16_t* columns;     // the sums of the row before, without what enters
    ptrdiff_t columnValues;
    ptrdiff_t values, step, nCols;
    float scale;
    OwnBlurMean mean;
    int32_t half;  // the least sum of bits whose mean is a half or more
    uint8_t* result;
};

// A row of means of a wide window, whose pixels lie side by side. Prefixes have room for a block more, and a block of zeros before
// them.
struct OwnBlurWide {
    const uint8_t* enter;
    uint16_t* prefixes;
    uint16_t* sums;  // of the row that leaves, which those of the row that enters replace; no more than 32767
    int32_t* totals;
    ptrdiff_t columnValues;
    ptrdiff_t values, nCols;
    float scale;
    uint8_t* result;  // NULL for no means yet
};

struct OwnBlurByteKernels {
    void (*means)(const OwnBlurBytes& row);      // by an exact multiplier
    void (*realMeans)(const OwnBlurBytes& row);  // by the scale
    void (*bits)(const OwnBlurBytes& row);       // of bytes 0 and 1: 255 for a mean of a half and more
    void (*wideMeans)(const OwnBlurWide& row);
};

OWN_KERNEL_TABLE(OwnBlurByteKernels, ownBlurByteKernels)
