// Scaling in two steps: along the rows of the source into a ring of rows, and across those into the rows of the
// destination. What is interpolated and how is in the tables of both axes and in the kernel.
#pragma once

#include "kernels/ownscale.h"
#include "ownblocks.h"
#include "ownbox.h"
#include "ownscaleaxis.h"

struct OwnScale {
    OrvImage* src;
    OrvImage* dst;
    const OrvImage* mask;          // may be NULL; aligned with the start of the destination's region
    const OwnScaleKernel* kernel;  // NULL copies pixels, at one sample on each axis
    const OwnScaleAxis* x;
    const OwnScaleAxis* y;
    const OwnBox* box = nullptr;  // what is interpolated is not pixels, but the means of boxes around them
};

// Makes all pixels of the axes. The regions are cut at the images' edges and hold them; images have one depth and
// process the same number of channels.
OwnBlockResult ownRunScale(const OwnScale& call);
