// The drivers of the Fourier transforms: from the plan in the context to the destination's pixels.
#pragma once

#include "ownfft.h"

// Chooses a core's drivers and moves for the plan, all else of which is filled; the indices are those of the depths in
// the kernels' tables. False if the core does not take the depths.
template <class T>
bool ownFftChoose(OwnFftPlan& plan, int32_t srcDepthIndex, int32_t dstDepthIndex);

// The place of a depth in the kernels' tables; -1 for one that is not there.
constexpr int32_t ownFftDepthIndex(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return 0;
    case ORV_DEPTH_8S: return 1;
    case ORV_DEPTH_16U: return 2;
    case ORV_DEPTH_16S: return 3;
    case ORV_DEPTH_32S: return 4;
    case ORV_DEPTH_32F: return 5;
    default: return -1;
    }
}

// The part of an image that a transform works on: its region within the image, and its channels.
struct OwnFftRegion {
    int32_t x, y;
    int32_t width, height;  // may be 0
    int32_t firstChannel;
    int32_t channelCount;
};
OwnFftRegion ownFftRegion(const OrvImage& image);

OwnFftLayout ownFftLayout(const OrvImage& image);
