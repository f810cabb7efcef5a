// Kernels of convolution: rows of samples become sums, sums become results.
//
// Integer sums are formed of pairs of samples: value i of one row and value i of the row below stand side by side as 16-bit
// integers, and one instruction multiplies both and adds the products. Two rows of results are made of the same pairs. All
// other sums are formed in double precision.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// A place of the window whose pair is multiplied.
struct OwnPairTap {
    int32_t row;            // of pairs, from the first of the window
    int32_t column;         // in pixels, from the first of the window
    int16_t weights[2][2];  // for the first and the second row of results: of the pair's upper and lower sample
};

// Two rows of n sums, modulo 2^32.
struct OwnPairSums {
    const int16_t* const* rows;
    ptrdiff_t step;  // values from pixel to pixel
    const OwnPairTap* taps;
    ptrdiff_t count;
    int32_t start;    // of every sum
    int shift;        // of results to the right
    ptrdiff_t first;  // value of the rows
    ptrdiff_t n;
    void* results[2];
};

struct OwnRealTap {
    int32_t row, column;
    bool rounds;  // the sum is rounded to single precision after it
    double weight;
};

// A row of n sums in double precision, stored in single.
struct OwnRealSums {
    const double* const* rows;
    ptrdiff_t step;
    const OwnRealTap* taps;
    ptrdiff_t count;
    ptrdiff_t first;  // value of the rows
    ptrdiff_t n;
    void* results;
};

// How sums come into a row of totals: they, their squares or absolute values are the totals of the first kernel; those of
// others are added to them, or the larger or smaller one remains.
enum OwnFold {
    OWN_FOLD_COPY,
    OWN_FOLD_SQUARE,
    OWN_FOLD_ABSOLUTE,
    OWN_FOLD_ADD,
    OWN_FOLD_ADD_SQUARE,
    OWN_FOLD_LARGER,
    OWN_FOLD_SMALLER,
    OWN_FOLDS
};
// Integer sums are shifted to the right before.
using OwnFoldRow = void (*)(const void* sums, int shift, void* totals, ptrdiff_t n);
struct OwnFoldRows {
    OwnFoldRow by[OWN_FOLDS];
};

struct OwnConvKernels {
    // A row of pairs. Samples of 16U are less 32768.
    void (*pairs[OWN_DEPTHS])(const void* upper, const void* lower, int16_t* pairs, ptrdiff_t n);
    void (*reals[OWN_DEPTHS])(const void* row, double* reals, ptrdiff_t n);

    void (*pairSums)(const OwnPairSums& sums);                 // of int32_t
    void (*pairResults[OWN_DEPTHS])(const OwnPairSums& sums);  // shifted and saturated
    void (*exactSums)(const OwnRealSums& sums);                // where every product is exact in double precision
    void (*realSums)(const OwnRealSums& sums);

    // sums[i] += high[i] * 2^16
    void (*addHigh)(const int32_t* high, int32_t* sums, ptrdiff_t n);
    // Rounds to integers, which are shifted to the right.
    void (*shiftReals)(float* sums, int shift, ptrdiff_t n);
    OwnFoldRows foldIntegers, foldReals, foldIntegersToReals;
    void (*rootIntegers)(int32_t* totals, ptrdiff_t n);
    void (*rootReals)(float* totals, ptrdiff_t n);
    void (*storeIntegers[OWN_DEPTHS])(const void* totals, void* results, ptrdiff_t n);
    void (*storeReals[OWN_DEPTHS])(const void* totals, void* results, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnConvKernels, ownConvKernels)
