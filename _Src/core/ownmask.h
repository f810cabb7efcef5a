// Masks of several images become one.
#pragma once

#include "orv/core.h"
#include "ownscratch.h"

enum class OwnMaskResult {
    ready = 0,     // the mask to use is one of the images', or none
    combined = 1,  // it is a temporary image
    noMemory = 2,
    empty = 3  // the masks leave no common area
};

struct OwnMask {
    OrvImage* image = nullptr;  // the mask to use, or NULL
    OwnTempImage temporary;
};

// Combines up to three masks, each of which may be NULL: a bit of the result is set where it is in all of them, each
// counted from its own region's start.
OwnMaskResult ownCombineMasks(OrvImage* a, OrvImage* b, OrvImage* c, OwnMask& result);
