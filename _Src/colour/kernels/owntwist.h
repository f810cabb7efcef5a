// Steps of the colour twist.
#pragma once

#include "owntriple.h"

// result[r] = cut(cut((m[4 r] x + m[4 r + 1] y + m[4 r + 2] z + m[4 r + 3]) / 2^shift) + offset), toward zero, cut to
// the range of the depth.
struct OwnTwist {
    int32_t matrix[16];
    int32_t shift;
    int32_t offset;  // the range's length at most, either way
};

// By 8U and 16U as index 0 and 1.
struct OwnTwistKernels {
    OwnTripleStep words[2];  // for factors of 16 bits and sums of 32
    OwnTripleStep whole[2];  // for sums of 32 bits
    OwnTripleStep any[2];
    OwnTripleStep real;  // 32F; the scalar is a matrix of 16 floats
};

OWN_KERNEL_TABLE(OwnTwistKernels, ownTwistKernels)
