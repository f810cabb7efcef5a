// The records of convolution kernels.
//
// A kernel is held turned by half a turn, so that the samples of a window meet its values in the order in which they
// lie in memory: values reversed, anchors counted from the other side.
#pragma once

#include "orv/filter.h"

struct OrvConvKernel {
    int32_t nCols, nRows;
    int32_t anchorX, anchorY;
    int32_t* values;
    int32_t nShiftR;
};

struct OrvConvKernelFP {
    int32_t nCols, nRows;
    int32_t anchorX, anchorY;
    float* values;
};

template <class Kernel>
bool ownBadKernel(const Kernel& kernel)
{
    return kernel.nRows < 1 || kernel.nCols < 1 || kernel.anchorX < 0 || kernel.anchorY < 0 ||
           kernel.nRows <= kernel.anchorY || kernel.nCols <= kernel.anchorX;
}
