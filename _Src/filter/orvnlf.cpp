// Filters of ranks and of fixed kernels.
//
//   orvMaxFilter, orvMinFilter   the greatest and the least value of a window
#include "../core/ownmask.h"
#include "../core/ownneighbour.h"
#include "../core/ownreport.h"
#include "orv/filter.h"
#include "ownfold.h"

namespace {

constexpr const char* source = "orvnlf";

// The window of a pixel at (0, 0) begins at (-anchorX, -anchorY).
struct Window {
    int32_t nCols, nRows;
    int32_t anchorX, anchorY;

    OwnReach reach() const { return {anchorX, anchorY, nCols - 1 - anchorX, nRows - 1 - anchorY}; }
};

// ---- Checks -------------------------------------------------------------------------------------------------------

bool goodAnchors(const OwnReport& report, const Window& window)
{
    if (report.when(window.anchorX >= window.nCols || window.anchorX < 0, ORV_STATUS_BAD_ARG,
                    "(anchorX>=nCols)||(anchorX<0)"))
        return false;
    return !report.when(window.anchorY >= window.nRows || window.anchorY < 0, ORV_STATUS_BAD_ARG,
                        "(anchorY>=nRows)||(anchorY<0)");
}

// These are all made before a status that is negative then ends the call, whoever stored it.
bool goodChannels(const OwnReport& report, const OrvImage* src, const OrvImage* dst, int32_t status)
{
    auto tooHigh = [](const OrvImage* image) { return image->roi && image->roi->coi > image->nChannels; };
    report.when(tooHigh(src), status, "Interst Channel of input Image more number of channels.");
    report.when(tooHigh(dst), status, "Interst Channel of output Image more number of channels.");
    report.when(ownChannels(*src).count != ownChannels(*dst).count, status,
                "Number of interset channel input and output Image is not equal.");
    return orvGetErrStatus() >= 0;
}

bool goodImages(const OwnReport& report, OrvImage* src, OrvImage* dst, const Window& window)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !goodAnchors(report, window))
        return false;
    if (report.when(src == dst, ORV_STATUS_BAD_ARG, "(srcImage==dstImage)"))
        return false;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "srcImage->depth!=dstImage->depth"))
        return false;
    if (report.when(src->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "srcImage->depth==32"))
        return false;
    if (report.when(src->nChannels != dst->nChannels, ORV_STATUS_BAD_ARG, "srcImage->nChannels!=dstImage->nChannels"))
        return false;
    if (report.when(src->alphaChannel != dst->alphaChannel, ORV_STATUS_BAD_ARG,
                    "srcImage->alphaChannel!=dstImage->alphaChannel"))
        return false;
    if (report.when(src->alphaChannel != 0 && src->alphaChannel != src->nChannels, ORV_STATUS_BAD_ARG,
                    "(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)"))
        return false;
    if (report.when(src->depth != ORV_DEPTH_1U && src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG,
                    "srcImage->dataOrder!=dstImage->dataOrder"))
        return false;
    return goodChannels(report, src, dst, ORV_STATUS_BAD_ARG);
}

// ---- The walk -----------------------------------------------------------------------------------------------------

// Filters the regions of two images of plain memory; the mask may be NULL.
using Filter = bool (*)(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

struct Walk {
    Filter filter;
    const void* task;
    bool allChannels;  // of the source, even if it has a channel of interest
};

bool walkPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const Walk& walk = *static_cast<const Walk*>(task);
    OwnWork from(src);
    if (walk.allChannels)
        from.roi.coi = 0;
    return walk.filter(walk.task, from.image, dst, mask);
}

// Memory that cannot be had ends the work without a word.
void run(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnReach& reach, Filter filter, const void* task)
{
    OwnMask mask;
    OwnMaskResult combined =
        ownCombineMasks(src->maskROI, src->maskROI == dst->maskROI ? nullptr : dst->maskROI, nullptr, mask);
    if (combined == OwnMaskResult::empty || combined == OwnMaskResult::noMemory)
        return;
    Walk walk = {filter, task, !ownChannels(*dst).coi};
    OwnNeighbourResult result = ownRunNeighbours({.src = src,
                                                  .dst = dst,
                                                  .mask = mask.image,
                                                  .reach = reach,
                                                  .piece = walkPiece,
                                                  .task = &walk,
                                                  .throughLines = true,
                                                  .bySourceTiles = true});
    report.when(result == OwnNeighbourResult::noSourceTile, ORV_STATUS_ERROR, "Error get tile to read");
    report.when(result == OwnNeighbourResult::noTile, ORV_STATUS_ERROR, "Error get tile to write");
}

// ---- The filters --------------------------------------------------------------------------------------------------

bool foldPiece(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownFoldWindows(*static_cast<const OwnFold*>(task), src, dst, mask);
}

void runExtreme(const OwnReport& report, OrvImage* src, OrvImage* dst, const Window& window, bool greatest)
{
    if (!goodImages(report, src, dst, window))
        return;
    const OwnFold fold = {greatest, window.reach()};
    run(report, src, dst, fold.reach, foldPiece, &fold);
}

}  // namespace

void ORV_CALL orvMaxFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                           int32_t anchorY)
{
    runExtreme({"orvMaxFilter", source}, srcImage, dstImage, {nCols, nRows, anchorX, anchorY}, true);
}

void ORV_CALL orvMinFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                           int32_t anchorY)
{
    runExtreme({"orvMinFilter", source}, srcImage, dstImage, {nCols, nRows, anchorX, anchorY}, false);
}
