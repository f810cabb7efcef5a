#include "ownbitlines.h"

#include <cstring>

#include "../core/kernels/ownrows.h"
#include "../core/ownpixels.h"

namespace {

OwnGeometry geometryOf(const OrvImage& image)
{
    OwnGeometry geometry;
    ownPlaneGeometry(image, geometry);
    return geometry;
}

bool bitAt(const uint8_t* row, int64_t x)
{
    return row[x >> 3] & (128 >> (x & 7));
}

// Sets n bits of a row to `value`.
void fillBits(uint8_t* row, int64_t from, int64_t n, bool value)
{
    if (n <= 0)
        return;
    uint8_t* first = row + (from >> 3);
    uint8_t* last = row + ((from + n - 1) >> 3);
    auto head = uint8_t(0xFF >> (from & 7));
    const auto tail = uint8_t(0xFF << (~(from + n - 1) & 7));
    auto fill = [=](uint8_t* byte, uint8_t bits) { *byte = uint8_t(value ? *byte | bits : *byte & ~bits); };
    if (first == last)
        head &= tail;
    fill(first, head);
    if (first == last)
        return;
    memset(first + 1, value ? 0xFF : 0, size_t(last - first - 1));
    fill(last, tail);
}

// The same to bits that lie at places of another row.
void gatherBits(const uint8_t* from, const int32_t* places, int64_t n, uint8_t* row, int64_t to)
{
    for (int64_t i = 0; i < n; ++i)
        fillBits(row, to + i, 1, bitAt(from, places[i]));
}

}  // namespace

OwnBitLines::OwnBitLines(const OrvImage& src, const OrvImage& dst, const OrvImage* under, const OwnReach& around,
                         int64_t sourceSlots, int64_t targetSlots, const OwnReach& limit)
    : image(src),
      region(ownRoiRect(src)),
      from(geometryOf(src)),
      to(geometryOf(dst)),
      mask(under ? ownMaskStart(*under) : OwnGeometry{}),
      scatters(under || to.bit),
      reach(around),
      frame(limit),
      pixels(int64_t{region.width} + around.left + around.right),
      ends(src, int64_t{region.x} - around.left, pixels, 1),
      firstBit(int((int64_t{region.x} - around.left) & 7)),
      sourceBytes((pixels + firstBit + 7) / 8),
      targetBytes((int64_t{region.width} + 7) / 8),
      sourceRows(ownSlotBytes(sourceBytes, sourceSlots)),
      targetRows(scatters ? ownSlotBytes(targetBytes, targetSlots) : 0),
      beyond((pixels + 7) / 8)
{
}

const void* OwnBitLines::source(int64_t y, int64_t slot)
{
    const int64_t last = int64_t{region.height} - 1 + frame.bottom;
    y = region.y + (y < -int64_t{frame.top} ? -int64_t{frame.top} : y < last ? y : last);
    uint8_t* line = sourceRows.data + slot * sourceBytes;
    if (y >= 0 && y < image.height) {
        copyRow(image.imageData + ptrdiff_t(y) * image.widthStep, line);
    } else {
        ownBorderedRow(&image, 0, region.x - reach.left, int32_t(y), int32_t(pixels), beyond.data);
        ownRowKernels().alignBits(beyond.data, 0, line, firstBit, ptrdiff_t(pixels));
    }
    // What lies farther out than the frame.
    if (int64_t before = int64_t{reach.left} - frame.left; before > 0)
        fillBits(line, firstBit, before, bitAt(line, firstBit + before));
    if (int64_t after = int64_t{reach.right} - frame.right; after > 0)
        fillBits(line, firstBit + pixels - after, after, bitAt(line, firstBit + pixels - after - 1));
    return line;
}

// Copies a row of the image and what lies beyond its ends as far as the frame.
void OwnBitLines::copyRow(const uint8_t* row, uint8_t* line) const
{
    const int64_t first = firstBit + ends.before;
    const int64_t own = pixels - ends.before - ends.after;
    const int64_t column = region.x - reach.left + ends.before;
    ownRowKernels().alignBits(row + (column >> 3), int(column & 7), line + (first >> 3), int(first & 7),
                              ptrdiff_t(own));
    auto fillEnd = [&](int side, const int32_t* places, int32_t constant, int64_t n, int64_t to) {
        const int32_t mode = image.borderMode[side] & 3;
        if (n <= 0)
            return;
        if (mode == ORV_BORDER_CONSTANT)
            fillBits(line, to, n, constant != 0);
        else if (mode == ORV_BORDER_REPLICATE)
            fillBits(line, to, n, bitAt(row, places[0]));
        else
            gatherBits(row, places, n, line, to);
    };
    const int64_t skipped = reach.left > frame.left ? int64_t{reach.left} - frame.left : 0;
    fillEnd(2, ends.placesBefore() + skipped, ends.constantBefore(), ends.before - skipped, firstBit + skipped);
    const int64_t rest = reach.right > frame.right ? int64_t{reach.right} - frame.right : 0;
    fillEnd(3, ends.placesAfter(), ends.constantAfter(), ends.after - rest, first + own);
}

void* OwnBitLines::target(int32_t y, int64_t slot) const
{
    return scatters ? targetRows.data + slot * targetBytes : to.start + y * to.rowStep;
}

void OwnBitLines::store(int32_t y, int32_t rows) const
{
    if (!scatters)
        return;
    const OwnGeometry made = {targetRows.data, ptrdiff_t(targetBytes), 0, 1, 1, 0, from.width, rows};
    OwnGeometry under = mask, target = to;
    target.start += y * to.rowStep;
    under.start += y * mask.rowStep;
    target.height = under.height = rows;
    const OwnGeometry images[2] = {made, target};
    ownProcessPixels(ownPixelOp(ownRowKernels().copy[OWN_1U], ORV_DEPTH_1U, nullptr), images, 2,
                     mask.start ? &under : nullptr);
}
