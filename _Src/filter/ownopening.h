// Openings and closings: the extreme values of windows of the extreme values of windows.
#pragma once

#include "../core/ownlines.h"

struct OwnOpening {
    bool closing;     // the greatest values are taken first, not the least
    int32_t columns;  // of the window on either side of its middle
    int32_t rows;
    OwnSize region;  // of the whole call
};

// Makes the part `place` of the whole region from images of plain memory; the mask may be NULL. 1U, 8U and 16U. The
// first stage is computed for pixels of the region alone. Around them lie the source's pixels, a frame of one of which
// the last is repeated farther out. Where the first stage would have to go on below the region to make a row, the last
// window that stays inside stands for all that follow. False if there is no memory.
bool ownOpenWindows(const OwnOpening& opening, const OwnRect& place, const OrvImage& src, const OrvImage& dst,
                    const OrvImage* mask);
