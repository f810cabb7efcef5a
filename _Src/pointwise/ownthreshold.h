// Kernels of the threshold.
#pragma once

#include "../core/ownbits.h"
#include "../core/ownisa.h"

// The scalar is an int32_t in the range of the source's depth.
struct OwnThresholdKernels {
    OwnRowKernel values[OWN_DEPTHS][OWN_DEPTHS];  // by the source's depth, then the destination's
    OwnTestKernel bits[OWN_DEPTHS];               // to 1U
};

OWN_KERNEL_TABLE(OwnThresholdKernels, ownThresholdKernels)
