// The median of every window of a rectangle of plain memory.
#pragma once

#include "../core/ownborder.h"

// Of an even number of values the upper one of the two in the middle; of bits 1 where half of them are, or one more
// than half of an odd number. The mask may be NULL. All depths but 32F. False if there is no memory.
bool ownMedianWindows(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
