// Kernels of normalised cross-correlation: products of samples with a template, squares of samples, and their
// quotients.
//
// Sums over a window are built up row by row of the template. Where the samples are integers, they are exact: of bytes
// as 32-bit sums that are carried into 64 bits before they can pass their range, of 16 bits as doubles that are carried
// likewise. Samples of 32 bits have sums in double precision, from the template's first value to its last.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// sums[i] += the sum of samples[i + k] * weights[k], for i below n rounded up to whole blocks; so many sums are there,
// and so many samples more, on top of one for an odd count, may be read.
constexpr ptrdiff_t ownProductBlock = 64;
template <class Value, class Sum>
struct OwnProducts {
    const Value* samples;
    const Value* weights;  // of halves an even number, of which the last may be a 0
    ptrdiff_t count;       // of weights
    Sum* sums;             // of halves in the order that carryWords knows
    ptrdiff_t n;
};

struct OwnCorrelationKernels {
    void (*halves[OWN_DEPTHS])(const void* row, int16_t* halves, ptrdiff_t n);  // of bytes
    void (*addHalves)(const OwnProducts<int16_t, int32_t>& products);
    void (*addExact)(const OwnProducts<double, double>& products);  // where every product is exact
    void (*addReals)(const OwnProducts<double, double>& products);
    // Adds sums to totals and starts them again; n is rounded up to whole blocks.
    void (*carryWords)(int32_t* sums, int64_t* totals, ptrdiff_t n);
    void (*carryReals)(double* sums, int64_t* totals, ptrdiff_t n);
    void (*asReals)(const int64_t* totals, double* reals, ptrdiff_t n);

    // Adds the squares of a row to the sums of columns, or takes them off for a negative sign.
    void (*addSquares[OWN_DEPTHS])(const void* row, int sign, int64_t* columns, ptrdiff_t n);
    void (*addRealSquares)(const double* row, double* columns, ptrdiff_t n);
    // sums[i] = the sum of `width` columns from i on.
    void (*windows)(const int64_t* columns, ptrdiff_t width, double* sums, ptrdiff_t n);
    void (*realWindows)(const double* columns, ptrdiff_t width, double* sums, ptrdiff_t n);

    // results[i] = products[i] / sqrt(squares[i] * energy), scaled to the depth's range.
    void (*quotients[OWN_DEPTHS])(const double* products, const double* squares, double energy, void* results,
                                  ptrdiff_t n);

    // For products that come from spectra. Rows of samples as doubles, whole or, of 16 bits, as their upper and lower
    // bytes.
    void (*split[OWN_DEPTHS])(const void* row, double* upper, double* lower, ptrdiff_t n);
    void (*multiplySpectra)(double* re, double* im, const double* otherRe, const double* otherIm, ptrdiff_t n);
    // Nearest integers of scaled values; the second form of 256 times the upper ones and the lower ones.
    void (*nearest)(const double* values, double scale, double* integers, ptrdiff_t n);
    void (*nearestOfTwo)(const double* upper, const double* lower, double scale, double* integers, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnCorrelationKernels, ownCorrelationKernels)
