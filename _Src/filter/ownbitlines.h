// Rows of a rectangle of 1U in plain memory as packed bits with what lies around them: OwnLines for filters that compute on
// whole words of bits. The rows begin at bit bit() of a byte, so that most of them are whole bytes of the image.
#pragma once

#include "../core/ownlines.h"

class OwnBitLines {
public:
    // As those of OwnLines.
    OwnBitLines(const OrvImage& src, const OrvImage& dst, const OrvImage* mask, const OwnReach& reach,
                int64_t sourceSlots, int64_t targetSlots, const OwnReach& frame);

    // False if there is no memory.
    explicit operator bool() const { return ends && sourceRows && beyond && (!scatters || targetRows); }

    int32_t width() const { return from.width; }
    int32_t height() const { return from.height; }

    // Of the first pixel of a source's row, `reach.left` before the region.
    int bit() const { return firstBit; }

    // Row y of the source, valid until the slot is used again.
    const void* source(int64_t y, int64_t slot);

    // Where to write row y of the result, from bit 0 on; bits after the last must stay.
    void* target(int32_t y, int64_t slot) const;

    // Brings the results in slots 0 to rows - 1 to row y and those that follow, under the mask.
    void store(int32_t y, int32_t rows) const;

private:
    void copyRow(const uint8_t* row, uint8_t* line) const;

    OrvImage image;  // the source
    OwnRect region;
    OwnGeometry from, to, mask;
    bool scatters;
    OwnReach reach, frame;
    int64_t pixels;  // of a source's row
    OwnRowEnds ends;
    int firstBit;
    int64_t sourceBytes, targetBytes;  // of a slot
    OwnScratch<uint8_t> sourceRows, targetRows, beyond;
};
