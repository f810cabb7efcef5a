// Kernels of the comparisons.
#pragma once

#include "../../core/kernels/ownbits.h"
#include "../../core/ownisa.h"

// One comparison at all depths: as a test of values, and at 1U on bits.
struct OwnComparison {
    OwnTestKernel values[OWN_DEPTHS];  // the depths that the comparison has, never 1U
    OwnRowKernel bits;
};

// The scalar of the tests for nearness.
struct OwnNearness {
    float value;  // with one source
    float eps;
};

struct OwnCompareKernels {
    // Two sources; a NaN on either side fails.
    OwnComparison less;
    OwnComparison greater;
    OwnComparison equal;

    // One source. The scalar is an int32_t in the depth's range, at 32F a float; there a NaN passes.
    OwnComparison lessScalar;
    OwnComparison greaterScalar;
    OwnComparison equalScalar;

    // 32F; a NaN passes.
    OwnComparison near;
    OwnComparison nearScalar;
};

OWN_KERNEL_TABLE(OwnCompareKernels, ownCompareKernels)
