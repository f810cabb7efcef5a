// Row kernels of the conversions between depths.
#pragma once

#include "../../core/kernels/ownbits.h"
#include "../../core/ownisa.h"

// Kernels of pairs of depths: by the index of the source's depth, then the destination's.
using OwnDepthPairs = const OwnRowKernel* [OWN_DEPTHS];

// The range of floats that stands for the range of a depth.
struct OwnFloatRange {
    float least, most;
};

struct OwnConvertKernels {
    OwnDepthPairs saturate;          // of integers of 8 bits and more
    OwnTestKernel bits[OWN_DEPTHS];  // values above 0

    // Stores one of two values for each of n bits, of which the first is bit 7 - bit of *bits; by a value's bytes, 1, 2
    // or 4, as index 0, 1, 2.
    void (*values[3])(const uint8_t* bits, int bit, const void* zero, const void* one, void* d, ptrdiff_t n);
};

struct OwnRangeKernels {
    OwnDepthPairs scale;               // the ranges of integers of 8 bits and more, onto each other
    OwnRowKernel toFloat[OWN_DEPTHS];  // the scalar is an OwnFloatRange
    OwnRowKernel ofFloat[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnConvertKernels, ownConvertKernels)
OWN_WIDE_KERNEL_TABLE(OwnRangeKernels, ownRangeKernels)
