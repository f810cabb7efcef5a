// Fourier transforms of complex lines of any length.
//
// Several lines go through the same steps side by side, one a lane of a vector: the parts of value e of line l stand at
// block[2 * e * lanes + l] and block[(2 * e + 1) * lanes + l]. Two real lines make one complex line.
#pragma once

#include <stddef.h>
#include <stdint.h>

#include "../ownisa.h"

// A line is put together from stage to stage: each makes one line of several shorter ones.
constexpr int32_t ownFourierStages = 31;

// The longest odd prime that stages are made for; lines of others go through a convolution.
constexpr int32_t ownFourierLargestPrime = 61;

// What lines of one length need. T is float or double.
template <class T>
struct OwnFourierTable {
    int32_t length;
    int32_t room;     // complex values of a line that a block must have room for: at least the length
    int32_t scratch;  // complex values of a line that the transform needs beside the block
    int32_t stages;
    const int32_t* order;  // value e of a line is laid at place order[e]; results come in their natural order
    int32_t radix[ownFourierStages];  // lines that a stage makes one of, the last stage last
    const T* twiddles;  // for each stage but the first, value by value of the shorter line, the turns of all
                        // lines but the first
    const T* roots[ownFourierStages];  // of stages of primes without a butterfly of their own: cos, -sin

    // Of lines that go through a convolution:
    const OwnFourierTable* inner;  // the convolution's length; NULL for other lines
    const T* chirp;                // exp(-pi i n^2 / length)
    const T* response;             // the spectrum of the conjugate chirp, divided by the inner length
};

template <class T>
struct OwnFourierLines {
    int32_t lanes;

    // Transforms the lines of a block, with exp(-2 pi i k n / N) or, for a negative direction, exp(2 pi i k n / N).
    // Neither divides. Block and scratch are aligned to 32 bytes.
    void (*transform)(T* block, T* scratch, const OwnFourierTable<T>& table, int32_t direction);
};

// Lines of floats one by one, and as many of floats or doubles as a vector has lanes.
struct OwnFourierKernels {
    OwnFourierLines<float> floats[2];
    OwnFourierLines<double> doubles;
};

// As many rows, or columns, of a plane of complex values as a vector has lanes, to a block and back. The parts are two
// arrays whose rows are `step` values apart; lines have the table's length, of rows a multiple of the lanes.
struct OwnFourierPlaneKernels {
    int32_t lanes;
    void (*rowsIn)(const double* re, const double* im, ptrdiff_t step, const OwnFourierTable<double>& table,
                   double* block);
    void (*rowsOut)(const double* block, const OwnFourierTable<double>& table, double* re, double* im, ptrdiff_t step);
    void (*columnsIn)(const double* re, const double* im, ptrdiff_t step, const OwnFourierTable<double>& table,
                      double* block);
    void (*columnsOut)(const double* block, const OwnFourierTable<double>& table, double* re, double* im,
                       ptrdiff_t step);
};

OWN_KERNEL_TABLE(OwnFourierKernels, ownFourierKernels)
OWN_KERNEL_TABLE(OwnFourierPlaneKernels, ownFourierPlaneKernels)
