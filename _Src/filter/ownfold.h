// The least or the greatest value of every window of a rectangle: what the extreme filters and morphology share.
#pragma once

#include "../core/ownlines.h"

struct OwnFold {
    bool greatest;  // or the least
    OwnReach reach;
    OwnReach frame = ownNoFrame;  // farther out the last pixel is repeated
};

// Folds the windows around the pixels of the source's region, in plain memory. The mask may be NULL. All depths but 32F.
// False if there is no memory.
bool ownFoldWindows(const OwnFold& fold, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
