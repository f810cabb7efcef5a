// Kernels of turns by quarters.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

constexpr int ownTurnBytes = 16;  // of a pixel at most

// A piece of the destination, and how its pixels lie in the source.
struct OwnTurnPiece {
    const uint8_t* from;    // of the first pixel; of bits the start of memory
    ptrdiff_t along, down;  // in the source for a step along a row of the destination, and to the next row
    uint8_t* to;
    ptrdiff_t step, rowStep;  // in the destination
    int32_t width, height;
    int64_t fromBit, toBit;  // of the first pixel, for bits, whose steps but rowStep are counted in bits too
};

struct OwnTurnKernels {
    void (*turn[ownTurnBytes + 1])(const OwnTurnPiece& piece);  // by the bytes of a pixel; 0 for bits
};

OWN_KERNEL_TABLE(OwnTurnKernels, ownTurnKernels)
