// Kernels of the threshold.
#pragma once

#include "../../core/kernels/ownbits.h"
#include "../../core/ownisa.h"

struct OwnCut {
    int32_t threshold;  // in the range of the source's depth
    uint32_t lowest;    // of the destination's values, in the low bits; the highest has all other bits
};

// The scalar is an OwnCut.
struct OwnThresholdKernels {
    OwnRowKernel values[OWN_DEPTHS][3];  // by the source's depth and the size of the destination's values
    OwnTestKernel bits[OWN_DEPTHS];      // to 1U
};

OWN_KERNEL_TABLE(OwnThresholdKernels, ownThresholdKernels)
