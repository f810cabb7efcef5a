// Kernels of the two-image arithmetic and logic.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

struct OwnArithKernels {
    OwnRowKernel add[OWN_DEPTHS];
    OwnRowKernel subtract[OWN_DEPTHS];
    OwnRowKernel multiply[OWN_DEPTHS];
    OwnRowKernel bitAnd[OWN_DEPTHS];
    OwnRowKernel bitOr[OWN_DEPTHS];
    OwnRowKernel bitXor[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnArithKernels, ownArithKernels)
