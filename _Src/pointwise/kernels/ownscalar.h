// Kernels of the image-and-scalar and unary operations.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// The scalar of the unsigned forms of addition and subtraction: each value is flipped by `before`, moved by `amount`
// with saturation, and flipped by `after`. A flip of the top bit makes a signed value an unsigned one and back; a flip
// of all bits turns source minus value into value minus source.
struct OwnSlide {
    uint16_t amount;
    uint16_t before;
    uint16_t after;
};

struct OwnScalarKernels {
    OwnRowKernel slideUp[2];  // 8 and 16 bits; scalar OwnSlide
    OwnRowKernel slideDown[2];

    // The scalar is a value of the depth.
    OwnRowKernel add[OWN_DEPTHS];       // 32S, 32F
    OwnRowKernel subtract[OWN_DEPTHS];  // 32S, 32F: source minus value
    OwnRowKernel reverse[OWN_DEPTHS];   // 32S, 32F: value minus source
    OwnRowKernel multiply[OWN_DEPTHS];  // all but 1U
    OwnRowKernel bitAnd[OWN_DEPTHS];    // all but 32F
    OwnRowKernel bitOr[OWN_DEPTHS];
    OwnRowKernel bitXor[OWN_DEPTHS];

    OwnRowKernel signLimit[OWN_DEPTHS];  // 8S, 16S: the lowest, zero or the highest value by the source's sign

    // The scalar is an int, the count of bits.
    OwnRowKernel shiftLeft[OWN_DEPTHS];
    OwnRowKernel shiftRight[OWN_DEPTHS];

    // No scalar.
    OwnRowKernel square[OWN_DEPTHS];
    OwnRowKernel absolute[OWN_DEPTHS];  // 8S, 16S, 32S, 32F
};

OWN_KERNEL_TABLE(OwnScalarKernels, ownScalarKernels)
