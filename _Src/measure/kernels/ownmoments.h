// Kernels of the moments.
#pragma once

#include "../../core/kernels/ownreadrows.h"
#include "../../core/ownisa.h"

// Moments as they are summed: M00, M10, M01, M20, M11, M02, M30, M21, M12, M03.
constexpr int ownMomentCount = 10;

struct OwnMomentSums {
    double moments[ownMomentCount];
    double row[4];  // of the running row: the sums of p, p * x, p * x * x and p * x * x * x
    int32_t x, y;   // where the region begins in the image
    // A row's sums are whole numbers that double precision holds, whatever the order of the additions.
    bool exact;
    void (*take)(OwnMomentSums& sums, const OwnReadRows& rows);  // the kernel
};

struct OwnMomentKernels {
    // By depth; bits come as bytes of 0 and 1.
    void (*take[OWN_DEPTHS])(OwnMomentSums& sums, const OwnReadRows& rows);
};

OWN_KERNEL_TABLE(OwnMomentKernels, ownMomentKernels)
