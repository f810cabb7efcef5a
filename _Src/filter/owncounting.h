// Medians that are found by counting values instead of comparing them: of bits, and in large windows.
#pragma once

#include "../core/ownborder.h"

// The window reaches as far as `reach`. The mask may be NULL. All depths but 32F. False if there is no memory.
bool ownMedianByCounting(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
