#include "ownmap.h"

#include "../core/kernels/ownrows.h"
#include "../core/ownmask.h"
#include "../core/ownpixels.h"
#include "../core/ownreport.h"
#include "../core/ownwalk.h"
#include "kernels/ownhist.h"

namespace {

constexpr OwnReport report{"orvMap", "orvhist"};

// Pixels side by side, under a mask: a part of a row is mapped apart, and what the mask selects is stored.
struct MaskedMap {
    static constexpr int32_t mostBytes = 4096;

    const OwnGeometry &from, &to, &mask;
    const void* tables;
    uint32_t depth;

    int32_t pixelBytes() const { return to.channels * ownValueBytes(depth); }
    // A part begins where a byte of the mask does.
    int32_t partPixels() const { return mostBytes / pixelBytes() & ~7; }

    void run() const
    {
        const OwnSize size = {ownMin(ownMin(from.width, to.width), mask.width),
                              ownMin(ownMin(from.height, to.height), mask.height)};
        for (int32_t y = 0; y < size.height; ++y)
            for (int32_t x = 0, pixels; x < size.width; x += pixels) {
                pixels = ownMin(partPixels(), size.width - x);
                mapPart(x, y, pixels);
            }
    }

private:
    void mapPart(int32_t x, int32_t y, int32_t pixels) const
    {
        alignas(64) uint8_t mapped[mostBytes], lanes[mostBytes];
        const ptrdiff_t at = ptrdiff_t{x} * pixelBytes();
        const OwnRowKernels& move = ownRowKernels();
        const auto map = depth == ORV_DEPTH_8U ? ownHistKernels().mapPixels8 : ownHistKernels().mapPixels16;
        map({from.start + y * from.rowStep + at, tables, mapped, pixels}, to.channels, to.channels);
        move.lanes[ownSizeIndex(ownValueBytes(depth))](mask.start + y * mask.rowStep + (x >> 3), mask.bit, to.channels,
                                                       to.channels, lanes, pixels);
        move.copy[ownDepthIndex(depth)].select(mapped, nullptr, to.start + y * to.rowStep + at, lanes,
                                               ptrdiff_t{pixels} * to.channels);
    }
};

// Channel by channel, each through its table.
void mapPlain(const OrvImage& src, const OrvImage& dst, const OrvImage* mask, const void* tables)
{
    OwnGeometry from, to, under;
    ownPlaneGeometry(src, from);
    ownPlaneGeometry(dst, to);
    if (mask)
        under = ownMaskStart(*mask);
    bool isByte = dst.depth == ORV_DEPTH_8U;
    const OwnRowKernel& kernel = isByte ? ownHistKernels().map8 : ownHistKernels().map16;
    int bytes = ownValueBytes(dst.depth);
    const bool alike = to.channels > 1 && !from.planeStep && !to.planeStep && from.pixelStep == to.pixelStep;
    if (mask && alike && to.pixelStep == to.channels) {
        const MaskedMap masked = {from, to, under, tables, dst.depth};
        if (masked.partPixels() > 0)
            return masked.run();
    }
    if (!mask && alike) {
        const OwnRows rows = {
            from.start,   tables, to.start,  ownMin(from.width, to.width), ownMin(from.height, to.height),
            from.rowStep, 0,      to.rowStep};
        (isByte ? ownHistKernels().mapPixels8 : ownHistKernels().mapPixels16)(rows, to.pixelStep, to.channels);
        return;
    }
    ptrdiff_t tableBytes = isByte ? 256 : ptrdiff_t{65536} * 2;
    for (int32_t channel = 0; channel < to.channels; ++channel) {
        OwnGeometry images[2] = {from, to};
        for (OwnGeometry& image : images) {
            image.start = ownChannelStart(image, channel, bytes);
            image.channels = 1;
        }
        const void* table = static_cast<const uint8_t*>(tables) + channel * tableBytes;
        ownProcessPixels(ownPixelOp(kernel, dst.depth, table), images, 2, mask ? &under : nullptr);
    }
}

// One cell of the tiles of the destination, or of the source if the destination has none.
bool mapCell(OrvImage* src, OrvImage* dst, OrvImage* mask, const void* tables, const OwnCell& cell)
{
    OwnFetchedCell fetched;
    OwnWork from, to, under;
    if (report.when(src->tileInfo && !fetched.fetch(src, cell, false), ORV_STATUS_ERROR, "Error get tile to read"))
        return false;
    ownShowCell(from, *src, cell);
    ownShowCell(to, *dst, cell);
    if (mask)
        ownShowCell(under, *mask, cell);
    if (dst->tileInfo) {
        uint8_t* tile = ownOpenTile(dst, cell.column, cell.row, ORV_TILE_WRITE);
        if (report.when(!tile, ORV_STATUS_ERROR, "Error get tile to write"))
            return false;
        ownShowLeadingCell(to, *dst, cell, tile);
    }
    mapPlain(src->tileInfo ? fetched.work.image : from.image, to.image, mask ? &under.image : nullptr, tables);
    if (dst->tileInfo)
        ownReleaseTile(dst, cell.column, cell.row);
    return true;
}

// The mask of both images, NULL for none; false if two masks leave no common area, and after a report.
bool findMask(const OrvImage& src, const OrvImage& dst, OwnTempImage& made, OrvImage*& mask)
{
    mask = src.maskROI ? src.maskROI : dst.maskROI;
    if (!dst.maskROI || dst.maskROI == mask)
        return true;
    OwnSize size;
    if (!ownCommonSize(*mask, *dst.maskROI, nullptr, true, size))
        return false;
    bool isMade = ownMakeMask(*mask, size, made) && ownAndInto(mask, dst.maskROI, made.image);
    mask = made.image;
    return !report.when(!isMade, ORV_STATUS_BACKTRACE, "");
}

}  // namespace

void ownMap(OrvImage* srcImage, OrvImage* dstImage, const void* tables)
{
    OwnTempImage made;
    OrvImage* mask = nullptr;
    OwnSize size;
    if (!findMask(*srcImage, *dstImage, made, mask) || !ownCommonSize(*srcImage, *dstImage, mask, true, size))
        return;
    if (!srcImage->tileInfo && !dstImage->tileInfo)
        return mapPlain(*srcImage, *dstImage, mask, tables);
    ownGridWalk(dstImage->tileInfo ? *dstImage : *srcImage, size,
                [&](const OwnCell& cell) { return mapCell(srcImage, dstImage, mask, tables, cell); });
}
