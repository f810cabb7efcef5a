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

}  // namespace

int32_t ownLineStep(const OrvImage& src, const OrvImage& dst)
{
    return fitTogether(src, dst) ? src.nChannels : 1;
}

OwnLines::OwnLines(const OrvImage& source, const OrvImage& target, const OrvImage* under, const OwnReach& around,
                   int sourceSlots, int targetSlots)
    : image(source),
      region(ownRoiRect(source)),
      src(geometryOf(source)),
      dst(geometryOf(target)),
      mask(under ? ownMaskStart(*under) : OwnGeometry{}),
      masked(under),
      reach(around),
      dstDepth(target.depth),
      srcBytes(ownValueBytes(source.depth)),
      dstBytes(ownValueBytes(target.depth)),
      together(fitTogether(source, target)),
      rowStep(ownLineStep(source, target)),
      processed(together ? src.channels : 1),
      ends(source, int64_t{region.x} - around.left, int64_t{src.width} + around.left + around.right, rowStep),
      gathers(!srcBytes || src.pixelStep != rowStep || ends.any()),
      scatters(!dstBytes || masked || processed != rowStep || dst.pixelStep != rowStep),
      readsBeyondRows(region.y < around.top || source.height - region.yEnd < around.bottom),
      sourceBytes(slotBytes((int64_t{src.width} + reach.left + reach.right) * rowStep, srcBytes)),
      lanesBytes(slotBytes(int64_t{dst.width} * rowStep, dstBytes)),
      targetBytes(lanesBytes + (dstBytes ? 0 : slotBytes((int64_t{dst.width} + 7) / 8, 1))),
      sourceRows(usesSlots() ? sourceBytes * sourceSlots : 0),
      targetRows(scatters ? targetBytes * targetSlots : 0),
      bits(srcBytes ? 0 : slotBytes(sourceBytes / 8 + 1, 1))
{
}

void OwnLines::begin(int32_t pass)
{
    channel = together ? -1 : ownChannels(image).first + pass;
    sourceStart = ownChannelStart(src, pass, srcBytes);
    targetStart = ownChannelStart(dst, pass, dstBytes);
}

const void* OwnLines::source(int32_t y, int slot)
{
    uint8_t* line = sourceRows.data + slot * sourceBytes;
    int64_t at = int64_t{region.y} + y;
    if (at < 0 || at >= image.height)
        return sourceBeyond(int32_t(at), line);
    const uint8_t* row = sourceStart + y * src.rowStep;
    const ptrdiff_t pixelBytes = ptrdiff_t(src.pixelStep) * srcBytes;
    if (!gathers)
        return row - reach.left * pixelBytes;
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
    return line;
}

// A row above or below the image: these are few.
const void* OwnLines::sourceBeyond(int32_t y, uint8_t* line)
{
    int32_t pixels = src.width + reach.left + reach.right;
    ownBorderedRow(&image, channel, region.x - reach.left, y, pixels, srcBytes ? line : bits.data);
    if (!srcBytes)
        ownRowKernels().unpackBits(bits.data, 0, line, pixels);
    return line;
}

void* OwnLines::target(int32_t y, int slot)
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
