// Kernels of the median.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// ---- Small windows ------------------------------------------------------------------------------------------------

// A step of a network: the lesser and the greater of two values, each for all places of a row. Values are known by
// their numbers; the first ones are the rows of the source.
struct OwnNetworkStep {
    uint16_t a, b;            // of what is compared
    uint16_t aShift, bShift;  // in pixels: value x of the result is made of values x + shift
    uint16_t lesser, greater;
};

// A network that makes the median of a window for two neighbouring rows at once, or for one.
struct OwnNetwork {
    const OwnNetworkStep* steps;
    int32_t count;
    int32_t rows;        // of results, 1 or 2
    int32_t inputs;      // rows of the source; their numbers are the first ones
    int32_t slots;       // of memory for other values, and one more for those that are not needed, the last number
    int32_t extent;      // how many pixels more than those of a result are needed of a row
    int32_t results[2];  // numbers of the medians of the upper and the lower row
};

// Behind the rows so much may be read.
enum { OWN_MEDIAN_SLACK = 1024 };

// A few rows of results.
struct OwnMedianBand {
    const void* const*
        rows;              // count + nRows - 1, of values + (nCols - 1) * step values and OWN_MEDIAN_SLACK bytes each
    void* const* results;  // count
    ptrdiff_t count;
    ptrdiff_t nRows, nCols;
    ptrdiff_t step;    // values from pixel to pixel
    ptrdiff_t values;  // in a row of the result
    void* scratch;     // of as many bytes as the kernel asks for
};

using OwnNetworkKernel = void (*)(const OwnMedianBand& band, const OwnNetwork& network);

struct OwnMedianKernels {
    // By depth; none for 1U and 32F.
    OwnNetworkKernel network[OWN_DEPTHS];
    void (*threeByThree[OWN_DEPTHS])(const OwnMedianBand& band);
    // Bytes of scratch.
    int64_t (*networkBytes)(const OwnNetwork& network, ptrdiff_t pixelBytes);
};

OWN_KERNEL_TABLE(OwnMedianKernels, ownMedianKernels)

// By depth; none for 1U and 32F. No scratch is needed.
struct OwnSquareKernels {
    void (*fiveByFive[OWN_DEPTHS])(const OwnMedianBand& band);
    void (*sevenBySeven[OWN_DEPTHS])(const OwnMedianBand& band);
};

OWN_KERNEL_TABLE(OwnSquareKernels, ownSquareKernels)
