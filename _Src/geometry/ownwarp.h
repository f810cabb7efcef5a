// The two drivers of warps: a region of the source onto a quadrangle of the destination, and a quadrangle of the source
// onto a region of the destination.
//
// Both run the same rows: a map is two or three linear functions of the destination's pixels, from which a kernel makes
// positions (ownposition.h); rows end where the quadrangle or the region does. Images with tiles go tile by tile of the
// destination, with as much of the source as the positions of a tile need.
#pragma once

#include "../core/ownreport.h"
#include "orv/core.h"

enum class OwnWarpKind { affine, bilinear, perspective };

struct OwnWarp {
    const OwnReport& report;
    OrvImage* src;
    OrvImage* dst;
    const double* quad;  // convex
    OwnWarpKind kind;
    int32_t method;  // one that the source can bear
    bool blendEdge;
};

void ownWarpOntoQuad(const OwnWarp& warp);
// `blendEdge` has no effect.
void ownWarpFromQuad(const OwnWarp& warp);
