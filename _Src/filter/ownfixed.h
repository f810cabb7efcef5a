// Filters with built-in coefficients over rectangles of plain memory.
#pragma once

#include "../core/ownborder.h"
#include "kernels/ownfixed.h"

// How far a filter reads.
OwnReach ownFixedReach(OwnFixedFilter filter);

// Filters the source's region. The mask may be NULL. All depths, but OWN_SHARPEN3 not 1U. False if there is no memory.
bool ownFilterFixed(OwnFixedFilter filter, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

// The same by any kernel that makes bands of rows.
bool ownFilterBands(OwnFixedKernel kernel, const OwnReach& reach, const OrvImage& src, const OrvImage& dst,
                    const OrvImage* mask);
