// Kernels of convolution: rows of samples become sums, sums become results.
//
// Integer sums are formed of pairs of samples: value i of one row and value i of the row below stand side by side, and
// one instruction multiplies both and adds the products. Two rows of results are made of the same pairs. Pairs are of
// 16 bits and have sums of 32; where the sums of a window have no more than 65536 values, pairs of bytes have sums of
// 16. All other sums are formed in double precision.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// A place of the window whose pairs are multiplied.
struct OwnPairTap {
    const void* pairs;
    // For the first and the second row of results: in the lower half of the bits of a pair that of the upper sample,
    // above it that of the lower one.
    int32_t weights[2];
};

// Two rows of n results, or one. Pairs may be read for two blocks more.
struct OwnPairSums {
    const OwnPairTap* taps;
    ptrdiff_t count;  // at least 1
    int32_t start;    // of every sum
    int shift;        // of sums to the right
    int32_t under;    // what sums of bytes, that are never below 0, are too large by when they have been shifted
    ptrdiff_t n;
    void* results[2];
};

// A row of n sums of samples of 32 bits, modulo 2^32.
struct OwnWordTap {
    const int32_t* samples;
    int32_t weight;
};
struct OwnWordSums {
    const OwnWordTap* taps;
    ptrdiff_t count;
    ptrdiff_t n;
    int32_t* results;
};

struct OwnRealTap {
    const double* samples;
    double weight;
    bool rounds;  // the sum is rounded to single precision after it
};

// A row of n sums in double precision, stored in single. Samples may be read for a block more.
struct OwnRealSums {
    const OwnRealTap* taps;
    ptrdiff_t count;
    ptrdiff_t n;
    void* results;
};

// How sums come into a row of totals: they, their squares or absolute values are the totals of the first kernel; those
// of others are added to them, or the larger or smaller one remains.
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
    void (*pairs[OWN_DEPTHS])(const void* upper, const void* lower, void* pairs, ptrdiff_t n);
    void (*bytePairs)(const void* upper, const void* lower, void* pairs, ptrdiff_t n);
    void (*words[OWN_DEPTHS])(const void* row, int32_t* words, ptrdiff_t n);
    void (*reals[OWN_DEPTHS])(const void* row, double* reals, ptrdiff_t n);

    void (*pairSums)(const OwnPairSums& sums);                 // of int32_t
    void (*pairResults[OWN_DEPTHS])(const OwnPairSums& sums);  // shifted and saturated
    void (*pairRow[OWN_DEPTHS])(const OwnPairSums& sums);      // the first row of them alone
    void (*byteResults[OWN_DEPTHS])(const OwnPairSums& sums);  // of pairs of bytes; of 1U and 8U alone
    void (*wordSums)(const OwnWordSums& sums);
    void (*exactSums)(const OwnRealSums& sums);  // where every product is exact in double precision
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
