// The least or the greatest value of every window of a rectangle: what the extreme filters and morphology share.
#pragma once

#include "../core/ownlines.h"
#include "kernels/ownfold.h"

struct OwnFold {
    bool greatest;  // or the least
    OwnReach reach;
    OwnReach frame = ownNoFrame;  // farther out the last pixel is repeated
};

// Folds the windows around the pixels of the source's region, in plain memory. The mask may be NULL. All depths but
// 32F. False if there is no memory.
bool ownFoldWindows(const OwnFold& fold, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

// How many rows of results are made together: as many as a window has rows, or a multiple of that.
int32_t ownFoldRows(int32_t nRows, int32_t height);

// A fold of windows of rows that are at hand, with all that its kernel needs.
class OwnFoldRows {
public:
    // `rows` tells of the rows and the windows; of results up to `most` are made together.
    OwnFoldRows(bool greatest, uint32_t depth, const OwnFoldBand& rows, int32_t most);

    // False if there is no memory.
    explicit operator bool() const { return results && scratch; }

    // Folds nRows - 1 + count rows to results whose places resultAt(i) answers.
    template <class ResultAt>
    void run(const void* const* rows, int32_t count, ResultAt resultAt)
    {
        for (int32_t i = 0; i < count; ++i)
            results[i] = resultAt(i);
        band.rows = rows;
        band.count = count;
        kernel.band(band);
    }

private:
    const OwnFoldKernel& kernel;
    OwnFoldBand band;
    OwnScratch<void*> results;
    OwnScratch<uint8_t> scratch;
};
