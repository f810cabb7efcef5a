// Kernels of the box filter for bytes and bits whose sums are short.
//
// Where pixels lie side by side, and windows have an odd number of columns, a row is summed by pairs: two neighbouring
// windows have all but their ends in common, and what they have in common is a number of pairs of neighbouring samples,
// which vectors add up by doubling. Sums of rows run down the columns, for small squares in registers. Otherwise sums
// of columns run down, and the few columns of every window are added up afresh.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"
#include "ownfixed.h"

// How a sum of bytes becomes its mean, rounded to nearest: (sum + bias) * multiplier / 2^(16 + shift), rounded down.
// Only odd numbers of samples have one, since a mean of theirs never lies in the middle between two integers.
struct OwnBlurMean {
    uint32_t multiplier, bias;
    int shift;   // at least 1
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
    // The multiplier is too large by so little that no sum comes to the next integer, which is at least 1 / samples
    // away.
    const bool exact =
        samples % 2 == 1 && samples > 1 && most <= UINT16_MAX && (multiplier * samples - one) * most < one;
    return {uint32_t(multiplier), uint32_t(bias), shift, exact};
}

// How sums of windows become results.
struct OwnBlurFinish {
    float scale;
    OwnBlurMean mean;
    int32_t bias;  // of all sums: the mean's where it is used, otherwise 0
    int32_t half;  // the least sum of bits whose mean is a half or more
};

// A row of means by sums of columns. Columns may be read and written for a block more.
struct OwnBlurColumns {
    const uint8_t* enter;
    const uint8_t* leave;  // NULL where nothing leaves
    uint16_t* columns;     // the sums of the row before
    ptrdiff_t columnValues;
    ptrdiff_t values, step, nCols;
    OwnBlurFinish finish;
    uint8_t* result;  // NULL for no means yet
};

// A row of means by sums of rows. Sums and totals, in an order of the kernel's own, have room for a block more; before
// the first row sums are 0, and totals the bias.
struct OwnBlurRows {
    const uint8_t* enter;
    uint16_t* sums;  // of the row that leaves, which those of the row that enters replace; no more than 32767
    void* totals;    // the sums of windows: uint16_t, or floats where those are not enough
    uint16_t* scratch;
    ptrdiff_t values, nCols;
    OwnBlurFinish finish;
    uint8_t* result;
};

enum OwnBlurFinishKind {
    OWN_BLUR_MULTIPLIER,  // the mean's, if it is exact
    OWN_BLUR_SCALE,
    OWN_BLUR_BITS,  // of bytes 0 and 1: 255 for a mean of a half and more
    OWN_BLUR_FINISHES
};

enum { OWN_SQUARE_LEAST = 32 };

struct OwnBlurByteKernels {
    void (*byColumns[OWN_BLUR_FINISHES])(const OwnBlurColumns& row);
    void (*byRows[OWN_BLUR_FINISHES])(const OwnBlurRows& row);
    void (*byRowsWide)(const OwnBlurRows& row);  // totals are floats
    ptrdiff_t (*scratchValues)(ptrdiff_t values, ptrdiff_t nCols);
    // Makes n signed bytes unsigned ones in the same order, or back; perhaps in place.
    void (*flip)(const uint8_t* from, uint8_t* to, ptrdiff_t n);
    // The means of squares of 3 x 3 and 5 x 5 bytes side by side, at least OWN_SQUARE_LEAST in a row; NULL at a level
    // where sums of rows are as quick.
    OwnFixedKernel means3, means5;
};

OWN_KERNEL_TABLE(OwnBlurByteKernels, ownBlurByteKernels)
