// Kernel of the extremes.
#pragma once

#include "../../core/kernels/ownreadrows.h"
#include "../../core/ownisa.h"

struct OwnExtremes {
    float least, greatest;
};

struct OwnExtremesKernels {
    // Takes floats into extremes that some value has seeded.
    void (*take)(OwnExtremes& extremes, const OwnReadRows& rows);
};

OWN_KERNEL_TABLE(OwnExtremesKernels, ownExtremesKernels)
