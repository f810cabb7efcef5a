#include "ownbitlines.h"

#include <cstring>

#include "../core/ownpixels.h"
#include "kernels/ownfold.h"

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

}  // namespace

OwnBitLines::OwnBitLines(const OrvImage& source, const OrvImage& target, const OrvImage* under, const OwnReach& around,
                         int64_t sourceSlots, int64_t targetSlots, const OwnReach& limit)
    : image(source),
      region(ownRoiRect(source)),
      from(geometryOf(source)),
      to(geometryOf(target)),
      mask(under ? ownMaskStart(*under) : OwnGeometry{}),
      scatters(under || to.bit),
      reach(around),
      frame(limit),
      pixels(int64_t{region.width} + around.left + around.right),
      firstColumn(region.x - ownMin(ownMin(around.left, limit.left), region.x)),
      lastColumn(region.xEnd - 1 + ownMin(ownMin(around.right, limit.right), source.width - region.xEnd)),
      ends(source, int64_t{region.x} - around.left, pixels, 1),
      leftPlaces(ends.before + 1),
      copies{.row = source.imageData,
             .rowStep = source.widthStep,
             .copy = nullptr,
             .copyStep = 0,
             .count = 0,
             .first = firstColumn >> 3,
             .last = lastColumn >> 3,
             .skip = firstColumn & 7,
             .keep = (lastColumn & 7) + 1,
             .left = {firstColumn - (int64_t{region.x} - around.left), 0, nullptr, false},
             .right = {int64_t{region.xEnd} - 1 + around.right - lastColumn, 0, nullptr, false}},
      before(ownBitEndBytes(copies.left.pixels)),
      start(before * 8 + copies.skip - copies.left.pixels),
      sourceBytes(before + copies.last - copies.first + 1 + ownBitEndBytes(copies.right.pixels)),
      targetBytes((int64_t{region.width} + 7) / 8),
      sourceRows(ownSlotBytes(sourceBytes, sourceSlots) + OWN_FOLD_SLACK),
      targetRows(scatters ? ownSlotBytes(targetBytes, targetSlots) : 0),
      beyond((pixels + 7) / 8)
{
    // Bits are stored among those that are there, and whole vectors are read of rows.
    if (sourceRows)
        memset(sourceRows.data, 0, size_t(ownSlotBytes(sourceBytes, sourceSlots) + OWN_FOLD_SLACK));
    if (targetRows)
        memset(targetRows.data, 0, size_t(ownSlotBytes(targetBytes, targetSlots)));
    copies.copyStep = ptrdiff_t(sourceBytes);
    if (ends && leftPlaces)
        findEnds();
}

// Where the pixels beyond the ends are read: within the frame a border mode leads to a place in the row, or to a
// constant; a frame that ends within the row repeats a pixel of it.
void OwnBitLines::findEnds()
{
    for (int64_t i = 0; i < ends.before; ++i)
        leftPlaces[ptrdiff_t(i)] = ends.placesBefore()[ends.before - 1 - i];
    auto find = [](OwnBitEnd& end, int64_t beyondImage, int64_t framed, const int32_t* place, int32_t constant,
                   const int32_t* edge) {
        const int64_t places = beyondImage < framed ? beyondImage : framed;
        end.place = places > 0 ? place : edge;
        end.constant = places > 0 && *place < 0 && constant != 0;
        end.places = places > 0 ? (*place < 0 ? 0 : places) : 1;
        while (end.places > 1 && end.place[end.places - 1] == end.place[end.places - 2])
            --end.places;
    };
    find(copies.left, ends.before, int64_t{frame.left} - region.x, leftPlaces.data, ends.constantBefore(),
         &firstColumn);
    find(copies.right, ends.after, int64_t{frame.right} - (image.width - region.xEnd), ends.placesAfter(),
         ends.constantAfter(), &lastColumn);
}

void OwnBitLines::sources(int64_t y, int64_t n, int64_t slot, const void** rows)
{
    const int64_t top = -int64_t{frame.top}, bottom = int64_t{region.height} - 1 + frame.bottom;
    uint8_t* line = sourceRows.data + slot * sourceBytes;
    for (int64_t i = 0; i < n; ++i)
        rows[i] = line + i * sourceBytes + (start >> 3);
    for (int64_t i = 0, count; i < n; i += count, line += count * sourceBytes) {
        const int64_t framed = y + i < top ? top : y + i < bottom ? y + i : bottom;
        const int64_t row = region.y + framed;
        count = 1;
        if (row < 0 || row >= image.height) {
            copyBeyond(row, line);
            continue;
        }
        // Rows of the image that follow one another are copied at once.
        if (framed == y + i) {
            const int64_t room = image.height - row, inFrame = bottom - framed + 1;
            count = n - i < room ? n - i : room;
            count = count < inFrame ? count : inFrame;
        }
        copies.row = image.imageData + ptrdiff_t(row) * image.widthStep;
        copies.copy = line + before;
        copies.count = ptrdiff_t(count);
        ownFoldKernels().copyBits(copies);
    }
}

// A row above or below the image: these are few.
void OwnBitLines::copyBeyond(int64_t y, uint8_t* line)
{
    // The pixels of the widest rows are more than can be read at once.
    constexpr int32_t most = 1 << 30;
    for (int64_t done = 0; done < pixels; done += most)
        ownBorderedRow(&image, 0, int64_t{region.x} - reach.left + done, y,
                       pixels - done < most ? int32_t(pixels - done) : most, beyond.data + done / 8);
    line[start >> 3] = line[(start + pixels - 1) >> 3] = 0;
    ownCopyBits(beyond.data, 0, line, start, pixels);
    if (int64_t far = int64_t{reach.left} - frame.left; far > 0)
        fillBits(line, start, far, bitAt(line, start + far));
    if (int64_t far = int64_t{reach.right} - frame.right; far > 0)
        fillBits(line, start + pixels - far, far, bitAt(line, start + pixels - far - 1));
}

void OwnBitLines::store(int32_t y, int32_t rows) const
{
    if (scatters)
        ownStoreBits({targetRows.data, ptrdiff_t(targetBytes), 0, 1, 1, 0, from.width, rows}, to, mask, y);
}
