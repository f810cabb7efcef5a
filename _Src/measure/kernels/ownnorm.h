// Kernels of the norms.
#pragma once

#include "../../core/kernels/ownreadrows.h"
#include "../../core/ownisa.h"

// The totals of integers are whole numbers; those of other values run in lanes, by the value's place in its row, so
// that they do not depend on how rows come. Both are added to the sum at the end of each row.
struct OwnNormSum {
    double sum = 0;  // or the greatest value
    uint64_t row = 0;
    double lanes[ownReadLanes] = {};
};

enum OwnNormKind { OWN_NORM_C, OWN_NORM_L1, OWN_NORM_L2, OWN_NORMS };

struct OwnNormKernels {
    using Kernel = void (*)(OwnNormSum& sum, const OwnReadRows& rows);

    Kernel one[OWN_NORMS][OWN_DEPTHS];  // of the values of a
    Kernel two[OWN_NORMS][OWN_DEPTHS];  // of their differences from those of b
    bool bytesTakeMask;                 // those of 8U take rows with a mask
};

OWN_KERNEL_TABLE(OwnNormKernels, ownNormKernels)
