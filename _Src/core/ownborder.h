// Rectangles of an image that may be tiled and may reach outside it.
#pragma once

#include "orv/core.h"

// Copies the rectangle at (x, y) of an image, all channels, into a new block of orvMalloc, which the caller frees: rows of
// `width` pixels, rounded up to the image's align, `*step` bytes apart; with planes, one plane of `height` rows follows
// another. Pixels outside the image come from its border modes. Tiles are opened for reading, a tile row at a time. NULL if
// there is no memory or a tile does not come, without a report.
uint8_t* ownBorderedRect(OrvImage* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* step);
