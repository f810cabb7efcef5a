// Filters of ranks and of fixed kernels.
//
//   orvMaxFilter, orvMinFilter   the greatest and the least value of a window
//   orvMedianFilter              the median of a window
//   orvColorMedianFilter         the pixel of a window that is nearest to the others
//   orvFixedFilter               edges, smoothing and sharpening with built-in coefficients
#include <cfenv>

#include "../core/ownmask.h"
#include "../core/ownneighbour.h"
#include "../core/ownreport.h"
#include "orv/core.h"
#include "orv/filter.h"
#include "owncolourmedian.h"
#include "ownfixed.h"
#include "ownfold.h"
#include "ownmedian.h"

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

// These answer what orvFixedFilter returns for a fault, 0 for none: it is not always what is reported, and does not
// depend on what a report handler leaves stored.
int32_t faultOfImage(const OwnReport& report, OrvImage* image)
{
    const int32_t fault = orvCheckImageHeader(image);
    report.when(fault != ORV_STATUS_OK, fault, "Incorrect Image");
    return fault;
}

int32_t faultOfPair(const OwnReport& report, const OrvImage* src, const OrvImage* dst)
{
    if (report.when(src == dst, ORV_STATUS_BAD_ARG, "(srcImage==dstImage)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "srcImage->depth!=dstImage->depth"))
        return ORV_STATUS_BAD_DEPTH;
    return ORV_STATUS_OK;
}

int32_t faultOfLayouts(const OwnReport& report, const OrvImage* src, const OrvImage* dst)
{
    if (report.when(src->nChannels != dst->nChannels, ORV_STATUS_BAD_ARG, "srcImage->nChannels!=dstImage->nChannels"))
        return ORV_STATUS_BAD_CHANNELS;
    if (report.when(src->alphaChannel != dst->alphaChannel, ORV_STATUS_BAD_ARG,
                    "srcImage->alphaChannel!=dstImage->alphaChannel"))
        return ORV_STATUS_BAD_ALPHA_CHANNEL;
    if (report.when(src->alphaChannel != 0 && src->alphaChannel != src->nChannels, ORV_STATUS_BAD_ARG,
                    "(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(src->depth != ORV_DEPTH_1U && src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG,
                    "srcImage->dataOrder!=dstImage->dataOrder"))
        return -1;
    return ORV_STATUS_OK;
}

bool goodForRanks(const OwnReport& report, OrvImage* src, OrvImage* dst, const Window& window)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !goodAnchors(report, window))
        return false;
    if (faultOfPair(report, src, dst))
        return false;
    if (report.when(src->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "srcImage->depth==32"))
        return false;
    return !faultOfLayouts(report, src, dst) && goodChannels(report, src, dst, ORV_STATUS_BAD_ARG);
}

// The channels are those of three colours, with or without alpha behind them.
bool goodColours(const OwnReport& report, const OrvImage* src, const OrvImage* dst)
{
    if (report.when(src->nChannels != dst->nChannels, ORV_STATUS_BAD_ARG, "srcImage->nChannels!=dstImage->nChannels"))
        return false;
    if (report.when(src->nChannels < 3, ORV_STATUS_BAD_ARG, "srcImage->nChannels<3"))
        return false;
    if (report.when(src->nChannels > 4, ORV_STATUS_BAD_ARG, "srcImage->nChannels>4"))
        return false;
    if (report.when(src->nChannels == 3 && src->alphaChannel != 0, ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)"))
        return false;
    if (report.when(src->nChannels == 4 && src->alphaChannel == 0, ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)"))
        return false;
    if (report.when(src->roi && src->roi->coi != 0, ORV_STATUS_BAD_ARG, "srcImage->roi->coi!=0"))
        return false;
    return !report.when(dst->roi && dst->roi->coi != 0, ORV_STATUS_BAD_ARG, "dstImage->roi->coi!=0");
}

bool goodForColours(const OwnReport& report, OrvImage* src, OrvImage* dst, const Window& window)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !goodAnchors(report, window))
        return false;
    if (faultOfPair(report, src, dst))
        return false;
    if (report.when(src->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "srcImage->depth==1"))
        return false;
    if (report.when(src->depth == ORV_DEPTH_32S, ORV_STATUS_BAD_ARG, "srcImage->depth==(0x80000000|32)"))
        return false;
    return goodColours(report, src, dst);
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
    if (combined == OwnMaskResult::empty || combined == OwnMaskResult::noMemory || ownChannels(*dst).count == 0)
        return;
    Walk walk = {filter, task, !ownChannels(*dst).coi};
    OwnNeighbourResult result = ownRunNeighbours({.src = src,
                                                  .dst = dst,
                                                  .mask = mask.image,
                                                  .reach = reach,
                                                  .piece = walkPiece,
                                                  .task = &walk,
                                                  .bySourceTiles = true});
    report.when(result == OwnNeighbourResult::noSourceTile, ORV_STATUS_ERROR, "Error get tile to read");
    report.when(result == OwnNeighbourResult::noTile, ORV_STATUS_ERROR, "Error get tile to write");
}

// ---- The filters --------------------------------------------------------------------------------------------------

bool foldPiece(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownFoldWindows(*static_cast<const OwnFold*>(task), src, dst, mask);
}

bool medianPiece(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownMedianWindows(static_cast<const Window*>(task)->reach(), src, dst, mask);
}

bool colourMedianPiece(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownColourMedianWindows(static_cast<const Window*>(task)->reach(), src, dst, mask);
}

// The filter of an id; ORV_FIXED_HIGHPASS3 is ORV_FIXED_LAPLACE3 by another name.
OwnFixedFilter fixedFilter(int32_t id)
{
    switch (id) {
    case ORV_FIXED_PREWITT_X: return OWN_PREWITT_X;
    case ORV_FIXED_PREWITT_Y: return OWN_PREWITT_Y;
    case ORV_FIXED_SOBEL_X: return OWN_SOBEL_X;
    case ORV_FIXED_SOBEL_Y: return OWN_SOBEL_Y;
    case ORV_FIXED_LAPLACE5: return OWN_LAPLACE5;
    case ORV_FIXED_GAUSS3: return OWN_GAUSS3;
    case ORV_FIXED_GAUSS5: return OWN_GAUSS5;
    case ORV_FIXED_HIGHPASS5: return OWN_HIGHPASS5;
    case ORV_FIXED_SHARPEN3: return OWN_SHARPEN3;
    default: return OWN_LAPLACE3;
    }
}

bool fixedPiece(const void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownFilterFixed(*static_cast<const OwnFixedFilter*>(task), src, dst, mask);
}

// No floating-point exception of what is done meanwhile is seen or felt, and none that was raised before stays.
class QuietFloats {
public:
    QuietFloats() { feholdexcept(&before); }
    QuietFloats(const QuietFloats&) = delete;
    QuietFloats& operator=(const QuietFloats&) = delete;
    ~QuietFloats()
    {
        fesetenv(&before);
        feclearexcept(FE_ALL_EXCEPT);
    }

private:
    fenv_t before;
};

void runExtreme(const OwnReport& report, OrvImage* src, OrvImage* dst, const Window& window, bool greatest)
{
    if (!goodForRanks(report, src, dst, window))
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

void ORV_CALL orvMedianFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                              int32_t anchorY)
{
    constexpr OwnReport report{"orvMedianFilter", source};
    const Window window = {nCols, nRows, anchorX, anchorY};
    if (goodForRanks(report, srcImage, dstImage, window))
        run(report, srcImage, dstImage, window.reach(), medianPiece, &window);
}

void ORV_CALL orvColorMedianFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows,
                                   int32_t anchorX, int32_t anchorY)
{
    constexpr OwnReport report{"orvColorMedianFilter", source};
    const Window window = {nCols, nRows, anchorX, anchorY};
    if (goodForColours(report, srcImage, dstImage, window))
        run(report, srcImage, dstImage, window.reach(), colourMedianPiece, &window);
}

int32_t ORV_CALL orvFixedFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t filter)
{
    constexpr OwnReport report{"orvFixedFilter", source};
    if (int32_t fault = faultOfImage(report, srcImage))
        return fault;
    if (int32_t fault = faultOfImage(report, dstImage))
        return fault;
    if (int32_t fault = faultOfPair(report, srcImage, dstImage))
        return fault;
    if (int32_t fault = faultOfLayouts(report, srcImage, dstImage))
        return fault;
    if (!goodChannels(report, srcImage, dstImage, ORV_STATUS_BAD_COI))
        return orvGetErrStatus();
    if (report.when(filter < ORV_FIXED_PREWITT_X || filter > ORV_FIXED_SHARPEN3, ORV_STATUS_BAD_ARG, "Unknow filter."))
        return ORV_STATUS_BAD_ARG;
    const QuietFloats quiet;
    const OwnFixedFilter kind = fixedFilter(filter);
    if (kind == OWN_SHARPEN3 && srcImage->depth == ORV_DEPTH_1U)
        orvCopy(srcImage, dstImage);
    else
        run(report, srcImage, dstImage, ownFixedReach(kind), fixedPiece, &kind);
    return orvGetErrStatus() < 0 ? orvGetErrStatus() : ORV_STATUS_OK;
}
