// The cosine transform of one channel after another.
#pragma once

#include "../core/owngeometry.h"
#include "owndctcache.h"

// What a call is about to do, of two different images.
struct OwnDctPlan {
    OwnGeometry src, dst;  // the source's size is that of the transform
    OwnDepthIndex srcDepth, dstDepth;
    bool inverse;
};

// Regions of 8 x 8, which need no memory.
void ownDctBlocks(const OwnDctPlan& plan);

// Regions of any size, with the tables of their width and height. False if there is no memory; then nothing has been
// stored.
bool ownDctLines(const OwnDctPlan& plan, const OwnDctLength& rowTable, const OwnDctLength& columnTable);
