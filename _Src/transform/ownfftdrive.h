// The drivers of the Fourier transforms: from the plan in the context to the destination's pixels.
#pragma once

#include "kernels/ownfft.h"

// Chooses a core's drivers and moves for the plan, all else of which is filled. False if the core does not take the depths.
template <class T>
bool ownFftChoose(OwnFftPlan& plan, uint32_t srcDepth, uint32_t dstDepth);

// How an image's pixels follow one another.
OwnFftLayout ownFftLayout(const OrvImage& image);
