// What the forms of convolution share: where samples are multiplied.
#pragma once

#include "kernels/ownconv.h"
#include "ownconvkernel.h"
#include "ownring.h"

// A kernel of either type; one of the pointers is NULL.
struct OwnConvWindow {
    int32_t nCols, nRows;
    int32_t anchorX, anchorY;
    const int32_t* integers;
    const float* reals;
    int32_t nShiftR;

    OwnConvWindow() = default;
    explicit OwnConvWindow(const OrvConvKernel& kernel);
    explicit OwnConvWindow(const OrvConvKernelFP& kernel);

    int64_t valueCount() const { return int64_t{nCols} * nRows; }
};

// The places of a window where samples are multiplied: rows, or rows of pairs, and pixels from the first that any
// window of the call meets.
struct OwnPairPlace {
    int32_t row, column;
    int16_t weights[2][2];  // for the first and the second row of results: of the upper and the lower sample
};

// Where a window begins among the rows and columns that the whole call reads.
struct OwnCorner {
    int32_t row, column;
};

// A weight is low + 2^16 * high.
int16_t ownLowHalf(int32_t weight);
int16_t ownHighHalf(int32_t weight);

// Writes the places of a kernel with halves of its weights, without those of which nothing comes, and answers where
// they end. There is at least one, and no more than ownMostPairs.
OwnPairPlace* ownWritePairs(const OwnConvWindow& window, const OwnCorner& corner, int16_t (*half)(int32_t),
                            OwnPairPlace* to);
int64_t ownMostPairs(const OwnConvWindow& window);

// Rows of pairs that two neighbouring windows of so many rows meet.
inline int64_t ownPairRows(int64_t rows)
{
    return rows / 2 + 1;
}

// Samples of 16U are less 32768 in pairs; so much is missing from their sums.
int32_t ownStartOf16U(const OwnConvWindow& window);

// The least and the greatest sum of a kernel over the samples of an integer depth of at most 16 bits.
struct OwnSumRange {
    double least, greatest;
};
OwnSumRange ownSumRange(const OwnConvWindow& window, uint32_t depth);

// True if pairs of bytes give the sums of these places at an integer depth: the samples are not negative, the weights
// are bytes, and the products of no pair pass 16 bits.
bool ownPairsFitBytes(const OwnPairPlace* places, ptrdiff_t count, uint32_t depth);

// The bits of the weights of a pair in a word.
inline int32_t ownPackedWeights(const int16_t (&weights)[2], int pairBytes)
{
    int bits = 4 * pairBytes;
    return int32_t((uint32_t(weights[0]) & (0xFFFFu >> (16 - bits))) | uint32_t(weights[1]) << bits);
}
