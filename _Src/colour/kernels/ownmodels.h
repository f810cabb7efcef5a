// Steps of the conversions between colour models. Colours are R, G, B in this order, Y, Cb, Cr likewise.
#pragma once

#include "owntriple.h"

// Those of one depth; NULL where it has none.
struct OwnModels {
    OwnTripleStep rgb2hsv = nullptr, hsv2rgb = nullptr;
    OwnTripleStep rgb2hls = nullptr, hls2rgb = nullptr;
    OwnTripleStep rgb2xyz = nullptr, xyz2rgb = nullptr;
    OwnTripleStep rgb2luv = nullptr, luv2rgb = nullptr;
    OwnTripleStep rgb2yuv = nullptr, yuv2rgb = nullptr;
    OwnTripleStep rgb2ycrcb = nullptr, ycrcb2rgb = nullptr;
    OwnTripleStep ycc2rgb = nullptr;
    // Between pixels in R, G, B and planes in Y, U, V, which have an arithmetic of their own.
    OwnTripleStep rgb2yuvPlanes = nullptr, yuvPlanes2rgb = nullptr;
};

OWN_KERNEL_TABLE(OwnModels, ownModels8U)
OWN_KERNEL_TABLE(OwnModels, ownModels16U)
OWN_WIDE_KERNEL_TABLE(OwnModels, ownModels32S)
OWN_KERNEL_TABLE(OwnModels, ownModels32F)
