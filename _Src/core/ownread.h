// Measurements: brings the pixels of one or two images in plain memory, whatever their layouts, as rows of values side
// by side to a function that only reads them.
#pragma once

#include "kernels/ownreadrows.h"
#include "ownregion.h"

using OwnReader = void (*)(void* state, const OwnReadRows& rows);

struct OwnReading {
    OwnReader read;
    void* state;
    bool packsBits = true;  // 1U comes as bytes of eight pixels
    // What stands in the place of values that the mask leaves out; NULL for 0. Its size is that of a value.
    const void* unselected = nullptr;
    bool takesMask = false;  // rows of one value a pixel come with the mask and all of their values
};

// Reads the smallest size of the images, of one depth and one number of processed channels, and of the mask, which may
// be NULL. Rows come from the top down, channels that are planes one after the other.
void ownReadPixels(const OwnReading& reading, uint32_t depth, const OwnGeometry* images, int count,
                   const OwnGeometry* mask);
