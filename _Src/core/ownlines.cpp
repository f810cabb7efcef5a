#include "ownlines.h"

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
           ownChannels(src).first == 0 && ownChannels(src).count + 1 >= src.nChannels;
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
    : src(geometryOf(source)),
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
      gathers(!srcBytes || src.pixelStep != rowStep),
      scatters(!dstBytes || masked || processed != rowStep || dst.pixelStep != rowStep),
      sourceBytes(slotBytes((int64_t{src.width} + reach.left + reach.right) * rowStep, srcBytes)),
      lanesBytes(slotBytes(int64_t{dst.width} * rowStep, dstBytes)),
      targetBytes(lanesBytes + (dstBytes ? 0 : slotBytes((int64_t{dst.width} + 7) / 8, 1))),
      sourceRows(gathers ? sourceBytes * sourceSlots : 0),
      targetRows(scatters ? targetBytes * targetSlots : 0)
{
}

void OwnLines::begin(int32_t pass)
{
    sourceStart = ownChannelStart(src, pass, srcBytes);
    targetStart = ownChannelStart(dst, pass, dstBytes);
}

const void* OwnLines::source(int32_t y, int slot)
{
    const uint8_t* row = sourceStart + y * src.rowStep;
    uint8_t* gathered = sourceRows.data + slot * sourceBytes;
    int64_t pixels = int64_t{src.width} + reach.left + reach.right;
    if (!srcBytes) {
        int64_t position = int64_t{src.bit} - reach.left;
        ownRowKernels().unpackBits(row + (position >> 3), int(position & 7), gathered, ptrdiff_t(pixels));
        return gathered;
    }
    row -= ptrdiff_t(reach.left) * src.pixelStep * srcBytes;
    if (!gathers)
        return row;
    ownRowKernels().gather[ownSizeIndex(srcBytes)](row, src.pixelStep, 1, gathered, ptrdiff_t(pixels));
    return gathered;
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
