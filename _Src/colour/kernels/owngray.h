// Steps between colour and grey.
#pragma once

#include "owntriple.h"

// Weights of red, green and blue, of which 1 is 1 << shift.
struct OwnGrayWeights {
    uint32_t weights[3];
    int shift;
};

// Makes grey of n pixels of 8U as they lie, `step` values apart, 3 or 4, without bringing their values apart first.
// `isBgr`: the first value is blue.
using OwnGrayPixels = void (*)(const void* pixels, ptrdiff_t step, bool isBgr, void* gray, ptrdiff_t n);

struct OwnGraySteps {
    OwnTripleStep toGray[OWN_DEPTHS][OWN_DEPTHS];  // [source][destination]; NULL where there is none
    OwnTripleSteps toColour;                       // by the source's depth; the scalar is OwnGrayWeights
    OwnGrayPixels pixelsToGray;                    // NULL where it is not quicker
};

OWN_KERNEL_TABLE(OwnGraySteps, ownGraySteps)
