// Steps between colour and grey.
#pragma once

#include "owntriple.h"

// Weights of red, green and blue, of which 1 is 1 << shift.
struct OwnGrayWeights {
    uint32_t weights[3];
    int shift;
};

struct OwnGraySteps {
    OwnTripleStep toGray[OWN_DEPTHS][OWN_DEPTHS];  // [source][destination]; NULL where there is none
    OwnTripleSteps toColour;                       // by the source's depth; the scalar is OwnGrayWeights
};

OWN_KERNEL_TABLE(OwnGraySteps, ownGraySteps)
