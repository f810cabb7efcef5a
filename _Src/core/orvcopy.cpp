// Operations that move pixels without computing on them.
//
//   orvCopy             copies a region
//   orvSet, orvSetFP    fill a region
//   orvExchange         swaps two regions
#include <bit>

#include "kernels/ownrows.h"
#include "orv/core.h"
#include "orv/pointwise.h"
#include "ownpixels.h"
#include "ownreport.h"
#include "ownscratch.h"
#include "ownwalk.h"

namespace {

constexpr const char* source = "orvcopy";

constexpr const char* noTileToRead = "Error get tile to read";
constexpr const char* noTileToWrite = "Error get tile to write";

bool failedBefore()
{
    return orvGetErrStatus() < 0;
}

// ---- What orvCopy and orvExchange share ---------------------------------------------------------------------------

// The checks; false if the call ends here. Faults of compatibility are reported one after the other.
bool enter(const OwnReport& report, OrvImage* src, OrvImage* dst)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    if (src->depth != dst->depth)
        report(ORV_STATUS_BAD_ARG, "srcImage->depth != dstImage->depth");
    if (src->origin != dst->origin)
        report(ORV_STATUS_BAD_ARG, "srcImage->origin != dstImage->origin");
    bool ordered = src->depth != ORV_DEPTH_1U && !(src->nChannels == 1 && dst->nChannels == 1);
    if (ordered && src->dataOrder != dst->dataOrder)
        report(ORV_STATUS_BAD_ARG, "srcImage->dataOrder != dstImage->dataOrder");
    // A report handler that clears the status lets the work go on, but between two depths it would leave the memory.
    return src->depth == dst->depth && !failedBefore() && src != dst;
}

// Makes `made` the common part of two masks; false if the call ends here.
bool combineMasks(const OwnReport& report, OrvImage* a, OrvImage* b, OwnTempImage& made)
{
    OwnSize size;
    if (!ownCommonSize(*a, *b, nullptr, true, size))
        return false;
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G   ", ORV_DATA_ORDER_PLANE, a->origin, 4,
                                      size.width, size.height, nullptr, nullptr, nullptr, nullptr);
    orvAllocateImage(made.image, 1, 0);
    if (failedBefore() && report(ORV_STATUS_BACKTRACE, "") != 0)
        return false;
    if (!made.image || !made.image->imageData)
        return false;
    orvAnd(a, b, made.image);
    return !failedBefore() || report(ORV_STATUS_BACKTRACE, "") == 0;
}

// The mask of two images, NULL for none; false if the call ends here.
bool findMask(const OwnReport& report, const OrvImage* src, const OrvImage* dst, OwnTempImage& made, OrvImage*& mask)
{
    mask = dst->maskROI ? dst->maskROI : src->maskROI;
    if (!src->maskROI || !dst->maskROI || src->maskROI == dst->maskROI)
        return true;
    if (!combineMasks(report, src->maskROI, dst->maskROI, made))
        return false;
    mask = made.image;
    return true;
}

// What is done with two images in plain memory; false after a report.
using PlainMove = void (*)(uint32_t depth, const OwnGeometry& src, const OwnGeometry& dst, const OwnGeometry* mask);

void copyPlain(uint32_t depth, const OwnGeometry& src, const OwnGeometry& dst, const OwnGeometry* mask)
{
    const OwnGeometry images[2] = {src, dst};
    ownProcessPixels(ownPixelOp(ownRowKernels().copy[ownDepthIndex(depth)], depth, nullptr), images, 2, mask);
}

bool movePlain(const OwnReport& report, PlainMove move, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    OwnGeometry from, to, under;
    if (!ownPlaneGeometry(src, from) || !ownPlaneGeometry(dst, to))
        return true;
    if (mask)
        under = ownMaskStart(*mask);
    if (report.when(from.channels != to.channels, ORV_STATUS_BAD_ARG,
                    "Number of processed channels of srcImage != Number of processed channels of dstImage"))
        return false;
    move(dst.depth, from, to, mask ? &under : nullptr);
    return true;
}

// Fetches a cell of an image that is tiled; false after a report.
bool fetchCell(const OwnReport& report, OwnFetchedCell& fetched, OrvImage* image, const OwnCell& cell)
{
    bool good = fetched.fetch(image, cell) && !failedBefore();
    if (!good)
        fetched.release();
    return !report.when(!good, ORV_STATUS_BACKTRACE, "");
}

// Moves pixels between two images of which one is tiled, or copies where both are: over the destination's tiles, or the
// source's if the destination has none.
bool moveTiled(const OwnReport& report, PlainMove move, int32_t sourceMode, OrvImage* src, OrvImage* dst,
               OrvImage* mask, OwnSize size)
{
    OrvImage* leading = dst->tileInfo ? dst : src;
    int32_t mode = leading == dst ? int32_t(ORV_TILE_WRITE) : sourceMode;
    return ownGridWalk(*leading, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(leading, cell.column, cell.row, mode);
        if (report.when(!tile, ORV_STATUS_ERROR, mode == ORV_TILE_WRITE ? noTileToWrite : noTileToRead))
            return false;
        OwnWork leadingWork, otherWork, maskWork;
        ownShowLeadingCell(leadingWork, *leading, cell, tile);
        OrvImage* other = leading == dst ? src : dst;
        OwnFetchedCell fetched;
        if (other->tileInfo && !fetchCell(report, fetched, other, cell))
            return false;
        ownShowCell(otherWork, *other, cell);
        if (mask)
            ownShowCell(maskWork, *mask, cell);
        const OrvImage& otherImage = other->tileInfo ? fetched.work.image : otherWork.image;
        const OrvImage& from = leading == dst ? otherImage : leadingWork.image;
        const OrvImage& to = leading == dst ? leadingWork.image : otherImage;
        // A cell is an operation of its own, which a failure inside the tile provider stops.
        bool moved = failedBefore() || movePlain(report, move, from, to, mask ? &maskWork.image : nullptr);
        fetched.release();
        ownReleaseTile(leading, cell.column, cell.row);
        return moved;
    });
}

// ---- orvCopy ------------------------------------------------------------------------------------------------------

// Copies bits under a mask with the logic operations: what is under the mask is cleared and the source's part merged
// in.
void copyMaskedBits(const OwnReport& report, OrvImage* src, OrvImage* dst, OrvImage* mask, OwnSize size)
{
    OwnTempImage part(orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G\0\0", mask->dataOrder, mask->origin,
                                           mask->align, size.width, size.height, nullptr, nullptr, nullptr, nullptr));
    orvAllocateImage(part.image, 1, 0);
    if (failedBefore() || !part.image || !part.image->imageData)
        return;
    OrvImage* maskOfMask = mask->maskROI;
    mask->maskROI = nullptr;
    orvCopy(mask, part.image);
    mask->maskROI = maskOfMask;

    OrvImage* maskOfSrc = src->maskROI;
    OrvImage* maskOfDst = dst->maskROI;
    dst->maskROI = part.image;
    src->maskROI = nullptr;
    orvSet(dst, 0);
    orvAnd(src, part.image, part.image);
    // The part has no bit outside the mask. Without one the merge takes no memory, which could fail and leave the
    // cleared bits.
    dst->maskROI = nullptr;
    orvOr(dst, part.image, dst);
    src->maskROI = maskOfSrc;
    dst->maskROI = maskOfDst;
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

// The copy after its checks.
void copyPixels(const OwnReport& report, OrvImage* src, OrvImage* dst)
{
    OwnTempImage made;
    OrvImage* mask;
    OwnSize size;
    if (!findMask(report, src, dst, made, mask) || !ownCommonSize(*src, *dst, mask, true, size))
        return;
    if (mask && dst->depth == ORV_DEPTH_1U)
        copyMaskedBits(report, src, dst, mask, size);
    else if (src->tileInfo || dst->tileInfo)
        moveTiled(report, copyPlain, ORV_TILE_READ, src, dst, mask, size);
    else
        movePlain(report, copyPlain, *src, *dst, mask);
}

// ---- orvExchange --------------------------------------------------------------------------------------------------

// The steps of an exchange between two tiled images are copies, and their failures are reported as such.
constexpr OwnReport copyReport{"orvCopy", source};

// Copies a cell that was kept in `kept` into the source, through its own tiles. The tile provider sees the cell as the
// image's region.
void writeBack(const OrvImage& kept, OrvImage* src, OrvImage* mask, const OwnCell& cell)
{
    OwnRect rect = ownRoiRect(*src);
    OrvROI region = {src->roi ? src->roi->coi : 0, rect.x + cell.x, rect.y + cell.y, cell.width, cell.height};
    OrvROI* original = src->roi;
    OwnWork keptWork(kept);
    OwnWork maskWork;
    if (mask)
        ownShowCell(maskWork, *mask, cell);
    src->roi = &region;
    moveTiled(copyReport, copyPlain, ORV_TILE_READ, &keptWork.image, src, mask ? &maskWork.image : nullptr,
              {cell.width, cell.height});
    src->roi = original;
}

// Swaps the regions of two tiled images. The source's tiles are written when the destination's are closed, so the
// destination's pixels wait in an image of a tile's shape.
void exchangeTiles(const OwnReport& report, OrvImage* src, OrvImage* dst, OrvImage* mask, OwnSize size)
{
    OwnTempImage kept(orvCreateImageHeader(
        dst->nChannels, dst->alphaChannel, dst->depth, dst->colorModel, dst->channelSeq, dst->dataOrder, dst->origin,
        dst->align, dst->tileInfo->width, dst->tileInfo->height, nullptr, nullptr, nullptr, nullptr));
    if (dst->depth == ORV_DEPTH_32F)
        orvAllocateImageFP(kept.image, 0, 0);
    else
        orvAllocateImage(kept.image, 0, 0);
    if (report.when(failedBefore() || !kept.image || !kept.image->imageData, ORV_STATUS_BACKTRACE, ""))
        return;
    ownGridWalk(*dst, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(dst, cell.column, cell.row, ORV_TILE_WRITE);
        if (report.when(!tile, ORV_STATUS_ERROR, noTileToWrite))
            return false;
        OwnWork dstWork, keptWork(*kept.image), maskWork;
        ownShowLeadingCell(dstWork, *dst, cell, tile);
        keptWork.roi = {dstWork.roi.coi, 0, 0, cell.width, cell.height};
        if (mask)
            ownShowCell(maskWork, *mask, cell);
        OwnFetchedCell fetched;
        if (!fetchCell(report, fetched, src, cell))
            return false;
        movePlain(copyReport, copyPlain, dstWork.image, keptWork.image, nullptr);
        bool moved =
            movePlain(copyReport, copyPlain, fetched.work.image, dstWork.image, mask ? &maskWork.image : nullptr);
        fetched.release();
        ownReleaseTile(dst, cell.column, cell.row);
        if (moved)
            writeBack(keptWork.image, src, mask, cell);
        return true;
    });
}

// ---- orvSet -------------------------------------------------------------------------------------------------------

void fillPlain(const OrvImage& image, int32_t value, const OrvImage* mask)
{
    OwnGeometry geometry, under;
    if (!ownPlaneGeometry(image, geometry))
        return;
    if (mask)
        under = ownMaskStart(*mask);
    OwnDepthValue scalar = ownDepthValue(image.depth, value);
    ownProcessPixels(ownPixelOp(ownRowKernels().fill[ownDepthIndex(image.depth)], image.depth, &scalar), &geometry, 1,
                     mask ? &under : nullptr);
}

void fillTiles(const OwnReport& report, OrvImage* image, int32_t value, OrvImage* mask, OwnSize size)
{
    ownGridWalk(*image, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, ORV_TILE_WRITE);
        if (report.when(!tile, ORV_STATUS_ERROR, noTileToWrite))
            return false;
        OwnWork work, maskWork;
        ownShowLeadingCell(work, *image, cell, tile);
        if (mask)
            ownShowCell(maskWork, *mask, cell);
        fillPlain(work.image, value, mask ? &maskWork.image : nullptr);
        ownReleaseTile(image, cell.column, cell.row);
        return true;
    });
}

// Fills bits under a mask with the logic operations. For zeros the mask itself is inverted for the moment.
void fillMaskedBits(const OwnReport& report, OrvImage* image, bool ones)
{
    OrvImage* mask = image->maskROI;
    image->maskROI = nullptr;
    if (ones) {
        orvOr(image, mask, image);
    } else {
        // A source without the mask's own mask, which would be combined with itself: what takes no memory cannot fail
        // between the inversions.
        OrvImage bare = *mask;
        bare.maskROI = nullptr;
        orvXorS(&bare, mask, 1);
        orvAnd(image, mask, image);
        orvXorS(&bare, mask, 1);
    }
    image->maskROI = mask;
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

}  // namespace

void ORV_CALL orvCopy(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvCopy", source};
    if (enter(report, srcImage, dstImage))
        copyPixels(report, srcImage, dstImage);
}

void ORV_CALL orvExchange(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvExchange", source};
    if (!enter(report, srcImage, dstImage))
        return;
    OwnTempImage made;
    OrvImage* mask;
    OwnSize size;
    if (!findMask(report, srcImage, dstImage, made, mask) || !ownCommonSize(*srcImage, *dstImage, mask, true, size))
        return;
    if (srcImage->tileInfo && dstImage->tileInfo)
        exchangeTiles(report, srcImage, dstImage, mask, size);
    else if (srcImage->tileInfo || dstImage->tileInfo)
        moveTiled(report, ownSwapPixels, ORV_TILE_WRITE, srcImage, dstImage, mask, size);
    else
        movePlain(report, ownSwapPixels, *srcImage, *dstImage, mask);
}

void ORV_CALL orvSet(OrvImage* dstImage, int32_t fillValue)
{
    constexpr OwnReport report{"orvSet", source};
    if (!report.goodImage(dstImage))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_DEPTH, "You should use orvSetFP for this image"))
        return;
    int32_t value = ownClampToDepth(dstImage->depth, fillValue);
    OrvImage* mask = dstImage->maskROI;
    OwnSize size;
    if (!ownCommonSize(*dstImage, *dstImage, mask, true, size))
        return;
    if (mask && dstImage->depth == ORV_DEPTH_1U)
        fillMaskedBits(report, dstImage, value == 1);
    else if (dstImage->tileInfo)
        fillTiles(report, dstImage, value, mask, size);
    else
        fillPlain(*dstImage, value, mask);
}

void ORV_CALL orvSetFP(OrvImage* dstImage, float fillValue)
{
    constexpr OwnReport report{"orvSetFP", source};
    if (report.when(!dstImage, ORV_STATUS_BAD_ARG, "dstImage==0"))
        return;
    if (report.when(dstImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_DEPTH, "You should use orvSet for this image"))
        return;
    dstImage->depth = ORV_DEPTH_32S;
    orvSet(dstImage, std::bit_cast<int32_t>(fillValue));
    dstImage->depth = ORV_DEPTH_32F;
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}
