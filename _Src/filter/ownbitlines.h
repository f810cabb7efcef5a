// Rows of a rectangle of 1U in plain memory as packed bits with what lies around them: OwnLines for filters that
// compute on whole words of bits. The rows begin at bit bit() of a byte, so that most of them are whole bytes of the
// image.
#pragma once

#include "../core/ownlines.h"
#include "kernels/ownfold.h"

class OwnBitLines {
public:
    // As those of OwnLines.
    OwnBitLines(const OrvImage& src, const OrvImage& dst, const OrvImage* mask, const OwnReach& reach,
                int64_t sourceSlots, int64_t targetSlots, const OwnReach& frame);

    // False if there is no memory.
    explicit operator bool() const { return ends && leftPlaces && sourceRows && beyond && (!scatters || targetRows); }

    int32_t width() const { return from.width; }
    int32_t height() const { return from.height; }

    // Of the first pixel of a source's row, `reach.left` before the region.
    int bit() const { return int(start & 7); }

    // Row y of the source, valid until the slot is used again; or n rows.
    const void* source(int64_t y, int64_t slot)
    {
        const void* row;
        sources(y, 1, slot, &row);
        return row;
    }
    void sources(int64_t y, int64_t n, int64_t slot, const void** rows);

    // Where to write row y of the result, from bit 0 on; bits after the last must stay.
    void* target(int32_t y, int64_t slot) const
    {
        return scatters ? targetRows.data + slot * targetBytes : to.start + y * to.rowStep;
    }

    // Brings the results in slots 0 to rows - 1 to row y and those that follow, under the mask.
    void store(int32_t y, int32_t rows) const;

private:
    void findEnds();
    void copyBeyond(int64_t y, uint8_t* line);

    OrvImage image;  // the source
    OwnRect region;
    OwnGeometry from, to, mask;
    bool scatters;
    OwnReach reach, frame;
    int64_t pixels;                   // of a source's row
    int32_t firstColumn, lastColumn;  // of the image that are neighbours of the region and read as they are
    OwnRowEnds ends;
    OwnScratch<int32_t> leftPlaces;
    OwnBitCopies copies;
    int64_t before;                    // bytes of a slot before the row's copy
    int64_t start;                     // of the first pixel in a slot, in bits
    int64_t sourceBytes, targetBytes;  // of a slot
    OwnScratch<uint8_t> sourceRows, targetRows, beyond;
};
