// Scaling down by the means of areas.
#pragma once

#include "ownblocks.h"
#include "ownscaleaxis.h"

struct OwnArea {
    OrvImage* src;
    OrvImage* dst;
    const OwnAreaAxis* x;
    const OwnAreaAxis* y;
    double scale;  // of the sum of a cell
};

// Makes all cells of the axes. The regions are cut at the images' edges and hold them; images have one depth and
// process the same number of channels.
OwnBlockResult ownRunArea(const OwnArea& call);
