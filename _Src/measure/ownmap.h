// Values replaced by those of a table.
#pragma once

#include "orv/core.h"

// Maps the processed channels of one image to another: each value of 8 or 16 bits to that of its channel's table, of
// 256 or 65536 entries. The tables follow one another. What fails is reported as "orvMap".
void ownMap(OrvImage* srcImage, OrvImage* dstImage, const void* tables);
