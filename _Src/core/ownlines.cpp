#include "ownlines.h"

#include <cstring>

#include "kernels/ownrows.h"
#include "ownpixels.h"

namespace {

OwnGeometry geometryOf(const OrvImage& image)
{
    OwnGeometry geometry;
    ownPlaneGeometry(image, geometry);
    return geometry;
}

// Up to some channels are processed together, also with one after them that is not: that costs less than to bring
// the others together.
bool fitTogether(const OrvImage& src, const OrvImage& dst)
{
    constexpr int32_t most = 8;
    return src.dataOrder == ORV_DATA_ORDER_PIXEL && dst.dataOrder == ORV_DATA_ORDER_PIXEL && src.nChannels <= most &&
           (src.nChannels == 1 || !ownChannels(src).coi);
}

// The processor foresees what follows in a row, but not where the next one begins.
void prefetch(const uint8_t* row, int64_t bytes)
{
    constexpr int64_t line = 64, most = 8192;
    for (int64_t at = 0; at < bytes && at < most; at += line)
        __builtin_prefetch(row + at);
}

// Slots begin where vectors like to.
int64_t slotBytes(int64_t values, int bytes)
{
    return (values * ownMax(bytes, 1) + 31) & ~int64_t{31};
}

// A few bytes, as most are, are set quicker in place than by a call.
void repeatByte(uint8_t byte, int64_t n, uint8_t* to)
{
    constexpr int64_t wordBytes = 8, few = 64;
    if (n < wordBytes || n > few) {
        memset(to, byte, size_t(n));
        return;
    }
    const uint64_t word = byte * uint64_t{0x0101010101010101};
    for (int64_t i = 0; i < n - wordBytes; i += wordBytes)
        memcpy(to + i, &word, wordBytes);
    memcpy(to + n - wordBytes, &word, wordBytes);
}

// Sets n pixels to the one at `from`.
void repeatPixel(const uint8_t* from, int64_t pixelBytes, int64_t n, uint8_t* to)
{
    if (pixelBytes == 1)
        repeatByte(*from, n, to);
    else
        for (; n > 0; --n, to += pixelBytes)
            memcpy(to, from, size_t(pixelBytes));
}

}  // namespace

int64_t ownSlotBytes(int64_t bytes, int64_t slots)
{
    return slots > INT32_MAX / bytes ? INT32_MAX + int64_t{1} : bytes * slots;
}

int32_t ownLineStep(const OrvImage& src, const OrvImage& dst)
{
    return fitTogether(src, dst) ? src.nChannels : 1;
}

OwnLines::OwnLines(const OrvImage& source, const OrvImage& target, const OrvImage* under, const OwnReach& around,
                   int64_t sourceSlots, int64_t targetSlots, const OwnReach& limit, int32_t slack)
    : image(source),
      region(ownRoiRect(source)),
      src(geometryOf(source)),
      dst(geometryOf(target)),
      mask(under ? ownMaskStart(*under) : OwnGeometry{}),
      masked(under),
      reach(around),
      frame(limit),
      dstDepth(target.depth),
      srcBytes(ownValueBytes(source.depth)),
      dstBytes(ownValueBytes(target.depth)),
      together(fitTogether(source, target)),
      rowStep(ownLineStep(source, target)),
      processed(together ? src.channels : 1),
      ends(source, int64_t{region.x} - around.left, int64_t{src.width} + around.left + around.right, rowStep),
      gathers(slack || !srcBytes || src.pixelStep != rowStep || ends.any() || around.left > limit.left ||
              around.right > limit.right),
      scatters(!dstBytes || masked || processed != rowStep || dst.pixelStep != rowStep),
      readsBeyondRows(region.y < ownMin(around.top, limit.top) ||
                      source.height - region.yEnd < ownMin(around.bottom, limit.bottom)),
      lead(-(ends.before * rowStep * ownMax(srcBytes, 1)) & 31),
      sourceBytes(slotBytes((int64_t{src.width} + reach.left + reach.right) * rowStep, srcBytes) + 32),
      lanesBytes(slotBytes(int64_t{dst.width} * rowStep, dstBytes)),
      targetBytes(lanesBytes + (dstBytes ? 0 : slotBytes((int64_t{dst.width} + 7) / 8, 1))),
      sourceRows(usesSlots() ? ownSlotBytes(sourceBytes, sourceSlots) + slack : 0),
      targetRows(scatters ? ownSlotBytes(targetBytes, targetSlots) : 0),
      bits(srcBytes ? 0 : slotBytes(sourceBytes / 8 + 1, 1))
{
    // Bits are stored among those that are there.
    if (!dstBytes && targetRows)
        memset(targetRows.data, 0, size_t(ownSlotBytes(targetBytes, targetSlots)));
}

void OwnLines::begin(int32_t pass)
{
    channel = together ? -1 : ownChannels(image).first + pass;
    sourceStart = ownChannelStart(src, pass, srcBytes);
    targetStart = ownChannelStart(dst, pass, dstBytes);
}

const void* OwnLines::source(int64_t y, int64_t slot)
{
    int64_t last = int64_t{src.height} - 1 + frame.bottom;
    y = y < -int64_t{frame.top} ? -int64_t{frame.top} : y < last ? y : last;
    int64_t row = region.y + y;
    bool beyond = row < 0 || row >= image.height;
    if (!beyond && !gathers)
        return sourceStart + ptrdiff_t(y) * src.rowStep - ptrdiff_t(reach.left) * src.pixelStep * srcBytes;
    uint8_t* line = sourceRows.data + slot * sourceBytes + lead;
    if (beyond)
        copyRowBeyond(row, line);
    else
        copyRow(y, line);
    repeatFrame(line);
    return line;
}

void OwnLines::sources(int64_t y, int64_t n, int64_t slot, const void** rows)
{
    if (!gathers && y >= 0 && y + n <= src.height) {
        const uint8_t* row = static_cast<const uint8_t*>(source(y, slot));
        for (int64_t i = 0; i < n; ++i)
            rows[i] = row + ptrdiff_t(i) * src.rowStep;
        return;
    }
    const bool sideBySide = gathers && srcBytes && src.pixelStep == rowStep;
    for (int64_t i = 0, count; i < n; i += count) {
        count = 1;
        // Rows of the image within the frame, from this one on.
        const int64_t row = region.y + y + i, toFrame = src.height + int64_t{frame.bottom} - (y + i);
        const int64_t own = toFrame < image.height - row ? toFrame : image.height - row;
        if (!sideBySide || row < 0 || y + i < -int64_t{frame.top} || own < 1) {
            rows[i] = source(y + i, slot + i);
            continue;
        }
        count = n - i < own ? n - i : own;
        uint8_t* lines = sourceRows.data + (slot + i) * sourceBytes + lead;
        copyRows(y + i, count, lines);
        for (int64_t k = 0; k < count; ++k)
            rows[i + k] = lines + k * sourceBytes;
    }
}

// Copies rows of the image whose values lie side by side.
void OwnLines::copyRows(int64_t y, int64_t n, uint8_t* lines) const
{
    const int64_t first = region.x - reach.left + ends.before;
    const int64_t own = int64_t{src.width} + reach.left + reach.right - ends.before - ends.after;
    ownRowKernels().copyEnded[ownSizeIndex(srcBytes)](
        {.row = sourceStart + ptrdiff_t(y) * src.rowStep - ptrdiff_t(region.x) * src.pixelStep * srcBytes,
         .rowStep = src.rowStep,
         .copy = lines,
         .copyStep = ptrdiff_t(sourceBytes),
         .count = ptrdiff_t(n),
         .first = ptrdiff_t(first) * rowStep,
         .values = ptrdiff_t(own) * rowStep,
         .before = ptrdiff_t(ends.before) * rowStep,
         .after = ptrdiff_t(ends.after) * rowStep,
         .placesBefore = ends.placesBefore(),
         .placesAfter = ends.placesAfter(),
         .constantBefore = ends.constantBefore(),
         .constantAfter = ends.constantAfter()});
    if (reach.left > frame.left || reach.right > frame.right)
        for (int64_t i = 0; i < n; ++i)
            repeatFrame(lines + i * sourceBytes);
}

void OwnLines::copyRow(int64_t y, uint8_t* line) const
{
    const uint8_t* row = sourceStart + ptrdiff_t(y) * src.rowStep;
    const ptrdiff_t pixelBytes = ptrdiff_t(src.pixelStep) * srcBytes;
    int64_t first = ends.before - reach.left;  // that is the image's own, from the region on
    int64_t own = int64_t{src.width} + reach.left + reach.right - ends.before - ends.after;
    uint8_t* inside = line + ends.before * rowStep * ownMax(srcBytes, 1);
    if (!srcBytes)
        ownRowKernels().unpackBits(row + ((src.bit + first) >> 3), int((src.bit + first) & 7), inside, ptrdiff_t(own));
    else if (src.pixelStep == rowStep)
        memcpy(inside, row + first * pixelBytes, size_t(own * pixelBytes));
    else
        ownRowKernels().gather[ownSizeIndex(srcBytes)](row + first * pixelBytes, src.pixelStep, 1, inside,
                                                       ptrdiff_t(own));
    prefetch(row + src.rowStep + first * pixelBytes, own * pixelBytes);
    if (ends.any())
        ends.fill(srcBytes ? row - region.x * pixelBytes : row - (region.x >> 3), line);
}

// A row above or below the image: these are few.
void OwnLines::copyRowBeyond(int64_t y, uint8_t* line)
{
    int32_t pixels = src.width + reach.left + reach.right;
    ownBorderedRow(&image, channel, region.x - reach.left, y, pixels, srcBytes ? line : bits.data);
    if (!srcBytes)
        ownRowKernels().unpackBits(bits.data, 0, line, pixels);
}

void OwnLines::repeatFrame(uint8_t* line) const
{
    const int64_t pixelBytes = int64_t{rowStep} * ownMax(srcBytes, 1);
    if (int64_t before = int64_t{reach.left} - frame.left; before > 0)
        repeatPixel(line + before * pixelBytes, pixelBytes, before, line);
    if (int64_t after = int64_t{reach.right} - frame.right; after > 0) {
        uint8_t* end = line + (int64_t{src.width} + reach.left + reach.right - after) * pixelBytes;
        repeatPixel(end - pixelBytes, pixelBytes, after, end);
    }
}

void* OwnLines::target(int32_t y, int64_t slot)
{
    if (scatters)
        return targetRows.data + slot * targetBytes;
    return targetStart + y * dst.rowStep;
}

void OwnLines::store(int32_t y, int32_t rows)
{
    if (!scatters)
        return;
    const OwnRowKernels& move = ownRowKernels();
    OwnGeometry from = {targetRows.data, ptrdiff_t(targetBytes), 0, rowStep, processed, 0, dst.width, rows};
    OwnGeometry to = dst;
    to.start = targetStart + y * dst.rowStep;
    to.channels = processed;
    to.height = rows;
    OwnGeometry under = mask;
    under.start += y * mask.rowStep;
    if (!dstBytes) {
        if (masked)
            from.start += lanesBytes;
        for (int32_t i = 0; i < rows; ++i) {
            uint8_t* bits = masked ? from.start + i * from.rowStep : to.start + i * to.rowStep;
            move.allBits(targetRows.data + i * targetBytes, 1, 1, {bits, masked ? 0 : to.bit}, dst.width);
        }
        if (!masked)
            return;
    }
    const OwnGeometry images[2] = {from, to};
    ownProcessPixels(ownPixelOp(move.copy[ownDepthIndex(dstDepth)], dstDepth, nullptr), images, 2,
                     masked ? &under : nullptr);
}

OwnRowWindow::OwnRowWindow(int32_t nRows, int32_t above, int32_t most)
    : nRows(nRows), above(above), size(int64_t{nRows} - 1 + most), pointers(size)
{
    begin();
}

void OwnRowWindow::begin()
{
    held = slot = 0;
    last = 0;
}
