// Turns by quarters, which copy every pixel.
#pragma once

#include "orv/core.h"

// Turns the source's region by `quarters` times 90 degrees counter-clockwise, as rows are stored from the top down,
// moves it by whole numbers of pixels, and copies what meets the destination's region. The images are not tiled and
// process the same number of channels.
void ownTurnPixels(const OrvImage& src, const OrvImage& dst, int quarters, double xShift, double yShift);
