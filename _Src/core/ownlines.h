// Rows of a rectangle of plain memory in the form in which filters compute on them: the values side by side, whatever
// the layouts. Rows of bits are bytes, 0 or 1 on the way in and 0 or 255 on the way out.
//
//   OwnLines lines(src, dst, mask, reach, 2, 1);
//   for (int32_t pass = 0; pass < lines.passes(); ++pass) {
//       lines.begin(pass);
//       for (int32_t y = 0; y < lines.height(); ++y) {
//           filter(lines.source(y, 0), lines.source(y + 1, 1), lines.target(y, 0), lines.values(lines.width()));
//           lines.store(y, 1);
//       }
//   }
#pragma once

#include <cstring>

#include "ownborder.h"
#include "ownregion.h"

// Values from pixel to pixel in the rows that OwnLines gives.
int32_t ownLineStep(const OrvImage& src, const OrvImage& dst);

// The bytes of so many slots; where the product is more than there can be, more than that.
int64_t ownSlotBytes(int64_t bytes, int64_t slots);

// Pixels are read however far away they lie.
constexpr OwnReach ownNoFrame = {INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX};

class OwnLines {
public:
    // The regions of the destination and of the mask, which may be NULL, have one size, and that of the source has it
    // too unless the operation changes sizes. Around the source's, `reach` is read; what lies beyond the edges of the
    // image comes from its border modes, and farther out than `frame` the last pixel is repeated. `sourceSlots` and
    // `targetSlots` are how many rows are in use at a time; after each row of the source `slack` bytes may be read.
    OwnLines(const OrvImage& src, const OrvImage& dst, const OrvImage* mask, const OwnReach& reach, int64_t sourceSlots,
             int64_t targetSlots, const OwnReach& frame = ownNoFrame, int32_t slack = 0);

    // False if there is no memory.
    explicit operator bool() const
    {
        return ends && (!usesSlots() || sourceRows) && (srcBytes || bits) && (!scatters || targetRows);
    }

    int32_t width() const { return dst.width; }  // of the destination, in pixels
    int32_t height() const { return dst.height; }

    // A pass processes all channels where they stand side by side, otherwise, and always for a channel of interest,
    // one.
    int32_t passes() const { return together ? 1 : dst.channels; }
    void begin(int32_t pass);

    // Values from pixel to pixel in the rows; the last of them may be one that is not processed, and can be read also
    // in the last pixel.
    int32_t step() const { return rowStep; }

    // Values of a row of `pixels` pixels, as far as the last processed one.
    ptrdiff_t values(int64_t pixels) const { return ptrdiff_t((pixels - 1) * rowStep + processed); }

    // Row y of the source from `reach.left` pixels before the region on. Valid until the slot is used again.
    const void* source(int64_t y, int64_t slot);

    // The same for n rows, in slots that follow one another.
    void sources(int64_t y, int64_t n, int64_t slot, const void** rows);

    // Where to write row y of the result.
    void* target(int32_t y, int64_t slot);

    // Brings the results in slots 0 to rows - 1 to row y and those that follow, under the mask.
    void store(int32_t y, int32_t rows);

private:
    bool usesSlots() const { return gathers || readsBeyondRows; }
    void copyRow(int64_t y, uint8_t* line) const;
    void copyRowBeyond(int64_t y, uint8_t* line);
    void copyRows(int64_t y, int64_t n, uint8_t* lines) const;
    void repeatFrame(uint8_t* line) const;

    OrvImage image;  // the source
    OwnRect region;
    OwnGeometry src, dst, mask;
    bool masked;
    OwnReach reach, frame;
    uint32_t dstDepth;
    int srcBytes, dstBytes;      // of a value; 0 for bits
    bool together;               // all channels in one pass
    int32_t rowStep, processed;  // values of a pixel in the rows
    OwnRowEnds ends;
    bool gathers, scatters;  // rows pass through memory of their own
    bool readsBeyondRows;    // above or below the image
    int64_t lead;            // bytes of a slot before the row, so that what is copied begins where vectors like to
    int64_t sourceBytes;     // of a slot
    int64_t lanesBytes, targetBytes;  // of a slot's results, and of all, which ends with a row of bits for 1U
    OwnScratch<uint8_t> sourceRows, targetRows;
    OwnScratch<uint8_t> bits;              // a row of them, from beyond the image
    int32_t channel = 0;                   // of the pass; -1 for all
    const uint8_t* sourceStart = nullptr;  // of the pass
    uint8_t* targetStart = nullptr;
};

// The rows of a source that results are made of, band after band from the top down.
//
//   OwnRowWindow window(nRows, anchorY, 16);
//   OwnLines lines(src, dst, mask, reach, window.slots(), 16);
//   ...
//   window.begin();
//   filter(window.rows(lines, 0, 16), ...);  // rows -anchorY and those that follow
//   filter(window.rows(lines, 16, 16), ...);
class OwnRowWindow {
public:
    // A result is made of nRows rows, from `above` rows above it on. Bands have up to `most` results.
    OwnRowWindow(int32_t nRows, int32_t above, int32_t most);

    // False if there is no memory.
    explicit operator bool() const { return bool(pointers); }

    int64_t slots() const { return size; }

    void begin();
    // The nRows - 1 + count rows of `count` results from row y on, which is where the band before ended. Lines may be
    // anything that has a source(y, slot), or sources(y, n, slot, pointers) for n rows in slots that follow one
    // another.
    template <class Lines>
    const void* const* rows(Lines& lines, int32_t y, int32_t count)
    {
        held -= last;
        memmove(pointers.data, pointers.data + last, size_t(held) * sizeof *pointers.data);
        last = count;
        int64_t end = int64_t{nRows} - 1 + count;
        while (held < end) {
            int64_t n = 1;
            if constexpr (requires { lines.sources(y, n, slot, pointers.data); })
                lines.sources(int64_t{y} - above + held, n = end - held < size - slot ? end - held : size - slot, slot,
                              pointers.data + held);
            else
                pointers[held] = lines.source(int64_t{y} - above + held, slot);
            held += n;
            slot = slot + n == size ? 0 : slot + n;
        }
        return pointers.data;
    }

private:
    int32_t nRows, above;
    int64_t size, held, slot;
    int32_t last;  // results of the band before
    OwnScratch<const void*> pointers;
};

// How many rows are worth storing at a time.
constexpr int32_t ownLinesBand = 8;

// Makes all rows of a pass of lines that have so many slots for results: make(y, row) is to fill row y.
template <class Make>
void ownMakeLines(OwnLines& lines, Make make)
{
    for (int32_t y = 0; y < lines.height();) {
        const int32_t rows = ownMin(ownLinesBand, lines.height() - y);
        for (int32_t i = 0; i < rows; ++i)
            make(y + i, lines.target(y + i, i));
        lines.store(y, rows);
        y += rows;
    }
}
