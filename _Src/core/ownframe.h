// The road of a pointwise operation on images: checks that are the same words everywhere, masks, kernel, walk.
//
// An entry states its checks in their order with the helpers below, one line each, and ends with ownRunPointwise.
#pragma once

#include "ownpixels.h"
#include "ownreport.h"
#include "ownwalk.h"

// The number of processed channels that an image brings.
inline int32_t ownChannelCount(const OrvImage* image)
{
    return ownChannels(*image).count;
}

// A family's kernels by depth. One without anything to run is a depth that the family refuses.
using OwnDepthKernels = OwnRowKernel[OWN_DEPTHS];

// What lies behind the rows of untiled images: where it may change, images alike are processed in one run.
enum class OwnPadding { mayChange, stays };

// One pointwise call, after its checks.
struct OwnPointwise {
    const OwnReport& report;
    OwnWalkImage images[3];  // none, one or two sources, then the destination
    int count;
    OwnPixelOp op;
    OwnPadding padding = OwnPadding::mayChange;
    const OwnTestOp* test = nullptr;  // what is done instead of `op` where the destination gets the bits of a test
};

// Runs the call under a mask, which may be NULL: directly, or piece by piece if an image is tiled.
void ownRunPointwise(const OwnPointwise& call, OrvImage* mask);

// Combines the masks of the call's images, reports "Out of memory", and runs it with the kernel of the destination's
// depth. With a depth that the family refuses reports `refusal`.
void ownRunMasked(const OwnReport& report, const OwnWalkImage* images, int count, const OwnDepthKernels& kernels,
                  const void* scalar, const char* refusal = nullptr, OwnPadding padding = OwnPadding::mayChange);
