// The traversal of colour operations: brings the values of pixels, whatever their layout, to steps on rows and takes
// the results back.
#pragma once

#include "../core/ownpixels.h"
#include "kernels/owntriple.h"

// One side of an operation: its values are those of the channels `order`, counted from 0. Where pixels lie side by
// side, three values are the first three channels in either direction.
struct OwnTripleSide {
    int values;  // 1 or 3
    int bytes;   // of a value, 0 for 1U
    int32_t order[3] = {0, 1, 2};
};

struct OwnTripleOp {
    OwnTripleStep step;
    OwnTripleSide from, to;
    const void* scalar = nullptr;
};

// Runs the step over images of one size; `mask` may be NULL. The images may be one. With a mask there are three
// results.
void ownRunTriples(const OwnTripleOp& op, const OwnGeometry& src, const OwnGeometry& dst, const OwnGeometry* mask);
