// The means of boxes around pixels, as rows that stand for those of an image.
#pragma once

#include "../core/ownlines.h"
#include "kernels/ownbox.h"
#include "ownscaleaxis.h"

// The boxes along an axis: that of a pixel begins `before` pixels before it. A box that passes the image's edge meets
// the edge's pixel again and again.
struct OwnBoxAxis {
    int32_t size, before;
    int32_t low, high;  // the first and the last pixel of the image, from the region's start
};

struct OwnBox {
    OwnBoxAxis x, y;
};

// The pixels of the image that the boxes of a span of pixels meet.
OwnSpan ownBoxSpan(const OwnBoxAxis& axis, const OwnSpan& span);

class OwnBoxRows {
public:
    static constexpr int slots = 2 * ownBoxRows;  // rows of the source that are in use at a time

    // The source's region is what the boxes of the pixels `across` and `down` need. Nothing is made without a box.
    OwnBoxRows(const OwnBox* box, OwnLines& lines, uint32_t depth, const OwnSpan& across, const OwnSpan& down);

    // False if there is no memory.
    explicit operator bool() const { return !box || (sums && running && means); }

    // Begins a pass of the lines.
    void begin() { top = noTop; }

    // The means around the pixels of a row. Rows are asked for downwards.
    const void* row(int32_t y);

private:
    static constexpr int64_t noTop = INT64_MIN;

    const OwnBox* box;
    OwnLines& lines;
    OwnSpan columns, rows;  // of the source's region
    const OwnBoxKernel& kernel;
    ptrdiff_t values;     // in a row of it
    int64_t top = noTop;  // of the boxes whose sums there are
    int64_t edgeBytes;    // beside the sums
    OwnScratch<uint8_t> sums, running, means;
    OwnBoxMeans task;

    uint8_t* sumsOfRow() const { return sums.data + edgeBytes; }
    const void* source(int64_t y, int slot);
    void restart(int64_t first);
    void move(int64_t first);
};
