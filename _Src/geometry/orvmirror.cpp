// The mirror.
//
//   orvMirror   turns rows, columns or both around
#include <cstring>

#include "../core/kernels/ownrows.h"
#include "../core/ownborder.h"
#include "../core/ownlines.h"
#include "../core/ownmask.h"
#include "../core/ownpixels.h"
#include "../core/ownreport.h"
#include "../core/ownwalk.h"
#include "kernels/ownmirror.h"
#include "orv/core.h"
#include "orv/geometry.h"
#include "ownblocks.h"

namespace {

constexpr const char* source = "orvmirror";

struct Mirror {
    bool columns, rows;  // whether they are reversed
    OwnSize size;        // of the region, about whose centre they are

    explicit Mirror(int32_t flipAxis, OwnSize region = {0, 0})
        : columns(flipAxis != 0), rows(flipAxis != 1), size(region)
    {
    }

    // The part of a region that a part of the mirrored one comes from.
    OwnBlock origin(const OwnBlock& block) const
    {
        return {columns ? size.width - block.x - block.width : block.x,
                rows ? size.height - block.y - block.height : block.y, block.width, block.height};
    }
};

// ---- Plain memory -------------------------------------------------------------------------------------------------

// Turns the rows around and leaves the columns: a copy that begins with the last row.
void copyUpwards(const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    OwnGeometry images[2], under;
    if (!ownPlaneGeometry(src, images[0]) || !ownPlaneGeometry(dst, images[1]))
        return;
    if (mask)
        under = ownMaskStart(*mask);
    images[0].start += (images[0].height - 1) * images[0].rowStep;
    images[0].rowStep = -images[0].rowStep;
    ownProcessPixels(ownPixelOp(ownRowKernels().copy[ownDepthIndex(dst.depth)], dst.depth, nullptr), images, 2,
                     mask ? &under : nullptr);
}

// Turns a row of OwnLines around.
void reverseRow(const OwnLines& lines, int valueBytes, const void* from, void* to)
{
    const auto* src = static_cast<const uint8_t*>(from);
    auto* dst = static_cast<uint8_t*>(to);
    if (valueBytes)
        ownMirrorKernels().reverse(src, dst, lines.width(), ptrdiff_t(lines.step()) * valueBytes);
    else
        ownMirrorKernels().reverseLanes(src, dst, lines.width());
}

// Turns rows of bits around, some at a time: their bytes first, and then what they begin with is brought to where the
// destination's bits begin.
bool mirrorBits(const Mirror& mirror, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnGeometry under = mask ? ownMaskStart(*mask) : OwnGeometry{};
    OwnGeometry from, to;
    if (!ownPlaneGeometry(src, from) || !ownPlaneGeometry(dst, to))
        return true;
    const int64_t bits = int64_t{from.bit} + to.width, bytes = (bits + 7) / 8;
    OwnScratch<uint8_t> rows(bytes * ownLinesBand);
    if (!rows)
        return false;
    const int32_t bit = int32_t(bytes * 8 - bits);
    for (int32_t y = 0, count; y < to.height; y += count) {
        count = ownMin(ownLinesBand, to.height - y);
        for (int32_t i = 0; i < count; ++i) {
            const int32_t row = mirror.rows ? to.height - 1 - y - i : y + i;
            ownMirrorKernels().reverseBits(from.start + row * from.rowStep, rows.data + i * bytes, ptrdiff_t(bytes));
        }
        ownStoreBits({rows.data, ptrdiff_t(bytes), 0, 1, 1, bit, to.width, count}, to, under, y);
    }
    return true;
}

// Mirrors a region into another image's, of the same size.
bool mirrorPlain(const Mirror& mirror, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    if (!mirror.columns) {
        copyUpwards(src, dst, mask);
        return true;
    }
    if (dst.depth == ORV_DEPTH_1U)
        return mirrorBits(mirror, src, dst, mask);
    OwnLines lines(src, dst, mask, {0, 0, 0, 0}, 1, ownLinesBand);
    if (!lines)
        return false;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        ownMakeLines(lines, [&](int32_t y, void* to) {
            const void* from = lines.source(mirror.rows ? lines.height() - 1 - y : y, 0);
            reverseRow(lines, ownValueBytes(dst.depth), from, to);
        });
    }
    return true;
}

// Swaps the rows of the upper half with those of the lower, from the outside inward.
void swapRows(const OrvImage& image)
{
    OwnGeometry upper;
    if (!ownPlaneGeometry(image, upper))
        return;
    OwnGeometry lower = upper;
    lower.start += (lower.height - 1) * lower.rowStep;
    lower.rowStep = -lower.rowStep;
    upper.height /= 2;
    ownSwapPixels(image.depth, upper, lower, nullptr);
}

bool mirrorInPlace(const Mirror& mirror, const OrvImage& image)
{
    if (!mirror.columns) {
        swapRows(image);
        return true;
    }
    OwnLines lines(image, image, nullptr, {0, 0, 0, 0}, 1, 1);
    int valueBytes = ownValueBytes(image.depth);
    int64_t rowBytes = int64_t{lines.width()} * lines.step() * ownMax(valueBytes, 1);
    OwnScratch<uint8_t> kept(rowBytes * 2);
    if (!lines || !kept)
        return false;
    uint8_t* rows[2] = {kept.data, kept.data + rowBytes};
    int32_t last = lines.height() - 1;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        for (int32_t y = 0; y <= (mirror.rows ? last / 2 : last); ++y) {
            const int32_t places[2] = {y, mirror.rows ? last - y : y};
            for (int i = 0; i < 2; ++i)
                memcpy(rows[i], lines.source(places[i], 0), size_t(rowBytes));
            for (int i = 0; i < 2; ++i) {
                reverseRow(lines, valueBytes, rows[1 - i], lines.target(places[i], 0));
                lines.store(places[i], 1);
            }
        }
    }
    return true;
}

// ---- Tiles --------------------------------------------------------------------------------------------------------

// A part of the mirrored region, and the rows of the source where it is found.
struct Task {
    Mirror mirror;
    int32_t firstRow;
};

OwnBlock originOf(const void* task, const OwnBlock& block)
{
    const Task& call = *static_cast<const Task*>(task);
    OwnBlock origin = call.mirror.origin(block);
    origin.y -= call.firstRow;
    return origin;
}

bool mirrorBlock(const void* task, const OwnBlock&, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return mirrorPlain(static_cast<const Task*>(task)->mirror, src, dst, mask);
}

// Mirrors tiles in place: rows that change places are copied before any of them is written.
OwnBlockResult mirrorTilesInPlace(const Mirror& mirror, OrvImage* image)
{
    struct Band {
        OwnBlock block;
        OwnBorderedImage copy;
    };
    auto write = [&](Band& from, const OwnBlock& to) {
        const Task task = {mirror, from.block.y};
        return ownRunBlocks({&from.copy.work.image, image, nullptr, to, {}, originOf, mirrorBlock, &task});
    };
    const int32_t tileHeight = image->tileInfo->height, top = ownRoiRect(*image).y;
    OwnBlock rest = {0, 0, mirror.size.width, mirror.size.height};
    while (rest.height > 0) {
        Band bands[2];
        bands[0].block = rest;
        bands[0].block.height = ownMin(rest.height, tileHeight - (top + rest.y) % tileHeight);
        // A band changes places with that at the other end, unless they meet.
        bool pair = mirror.rows && bands[0].block.height <= rest.height / 2;
        if (mirror.rows && !pair)
            bands[0].block = rest;
        bands[1].block = mirror.origin(bands[0].block);
        OwnBlockResult result = ownFetchBlock(bands[0].copy, image, bands[0].block);
        if (pair && result == OwnBlockResult::done)
            result = ownFetchBlock(bands[1].copy, image, bands[1].block);
        if (result == OwnBlockResult::done)
            result = write(bands[pair], bands[0].block);
        if (pair && result == OwnBlockResult::done)
            result = write(bands[0], bands[1].block);
        if (result != OwnBlockResult::done)
            return result;
        rest.y += bands[0].block.height;
        rest.height -= bands[0].block.height * (pair ? 2 : 1);
    }
    return OwnBlockResult::done;
}

// ---- The road from images to blocks ---------------------------------------------------------------------------------

OwnSize smaller(OwnSize a, OwnSize b)
{
    return {ownMin(a.width, b.width), ownMin(a.height, b.height)};
}

// The region's size, which the masks cut; false if nothing is left.
bool findSize(const OrvImage& src, const OrvImage& dst, OwnSize& size)
{
    if (!ownCommonSize(src, dst, nullptr, false, size))
        return false;
    const OrvImage* const masks[2] = {src.maskROI, dst.maskROI};
    for (const OrvImage* mask : masks) {
        OwnSize covered;
        if (mask && !ownRoiSize(*mask, false, covered))
            return false;
        if (mask)
            size = smaller(size, covered);
    }
    return true;
}

// The source's mask as it lies on the destination.
bool mirrorMask(const Mirror& mirror, OrvImage& mask, OwnTempImage& made)
{
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G\0\0", ORV_DATA_ORDER_PLANE, mask.origin, 8,
                                      mirror.size.width, mirror.size.height, nullptr, nullptr, nullptr, nullptr);
    if (!made.image)
        return false;
    orvAllocateImage(made.image, 1, 0);  // filled, since bits are put among what is there
    if (!made.image->imageData)
        return false;
    OwnWork from, to;
    const OwnBlock whole = {0, 0, mirror.size.width, mirror.size.height};
    ownShowBlock(from, mask, whole);
    ownShowBlock(to, *made.image, whole);
    return mirrorPlain(mirror, from.image, to.image, nullptr);
}

OwnBlockResult run(const Mirror& mirror, OrvImage* src, OrvImage* dst)
{
    const OwnBlock whole = {0, 0, mirror.size.width, mirror.size.height};
    if (src == dst && dst->tileInfo)
        return mirrorTilesInPlace(mirror, dst);
    if (src == dst) {
        OwnWork image;
        ownShowBlock(image, *dst, whole);
        return mirrorInPlace(mirror, image.image) ? OwnBlockResult::done : OwnBlockResult::noMemory;
    }
    OwnTempImage mirrored;
    if (src->maskROI && !mirrorMask(mirror, *src->maskROI, mirrored))
        return OwnBlockResult::noMemory;
    OwnMask mask;
    switch (ownCombineMasks(mirrored.image, dst->maskROI, nullptr, mask)) {
    case OwnMaskResult::empty: return OwnBlockResult::done;
    case OwnMaskResult::noMemory: return OwnBlockResult::noMemory;
    default: break;
    }
    const Task task = {mirror, 0};
    return ownRunBlocks({src, dst, mask.image, whole, {INT32_MAX, INT32_MAX}, originOf, mirrorBlock, &task});
}

}  // namespace

void ORV_CALL orvMirror(OrvImage* srcImage, OrvImage* dstImage, int32_t flipAxis)
{
    constexpr OwnReport report{"orvMirror", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(srcImage->depth != dstImage->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth!=dstImage->depth)"))
        return;
    if (report.when(srcImage->dataOrder != dstImage->dataOrder && srcImage->nChannels != 1 && dstImage->nChannels != 1,
                    ORV_STATUS_BAD_ARG,
                    "((srcImage->dataOrder != dstImage->dataOrder)&& "
                    "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"))
        return;
    if (report.when(srcImage == dstImage && srcImage->maskROI, ORV_STATUS_BAD_ARG,
                    "(srcImage==dstImage && srcImage->maskROI != ((void *)0))"))
        return;
    if (report.when(flipAxis > 1 || flipAxis < -1, ORV_STATUS_BAD_ARG, "((flipAxis>1)||(flipAxis<-1))"))
        return;
    if (report.when(srcImage->depth == ORV_DEPTH_1U && srcImage->alphaChannel != 0, ORV_STATUS_BAD_ARG,
                    "(srcImage->depth==1 && srcImage->alphaChannel!=0)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_1U && dstImage->alphaChannel != 0, ORV_STATUS_BAD_ARG,
                    "(dstImage->depth==1 && dstImage->alphaChannel!=0)"))
        return;
    if (report.when(ownChannels(*srcImage).count != ownChannels(*dstImage).count, ORV_STATUS_BAD_ARG,
                    "(nChannelsSrc != nChannelsDst)"))
        return;
    OwnSize size;
    if (ownChannels(*srcImage).count == 0 || !findSize(*srcImage, *dstImage, size))
        return;
    switch (run(Mirror(flipAxis, size), srcImage, dstImage)) {
    case OwnBlockResult::noMemory: report(ORV_STATUS_NO_MEMORY, "Out of memory"); break;
    case OwnBlockResult::noSourceTile: report(ORV_STATUS_BACKTRACE, ""); break;
    case OwnBlockResult::noTile: report(ORV_STATUS_ERROR, "Error get tile to write"); break;
    case OwnBlockResult::done: break;
    }
}
