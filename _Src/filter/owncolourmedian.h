// The colour median of every window of a rectangle of plain memory.
#pragma once

#include "../core/ownborder.h"

// Of the first three channels; the mask may be NULL. All depths but 1U and 32S. False if there is no memory.
bool ownColourMedianWindows(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
