// Normalised cross-correlation.
//
//   orvNormCrossCorr   how like a template the surroundings of each pixel are
#include "../core/ownmask.h"
#include "../core/ownreport.h"
#include "orv/filter.h"
#include "ownxcorr.h"

namespace {

constexpr const char* source = "orvxcorr";

bool goodDepths(const OwnReport& report, const OrvImage& tpl, const OrvImage& src, const OrvImage& dst)
{
    if (report.when(tpl.depth != src.depth, ORV_STATUS_BAD_ARG, "SRC and TPL depth are different"))
        return false;
    bool fits = src.depth == dst.depth || (src.depth == ORV_DEPTH_8U && dst.depth == ORV_DEPTH_32F);
    if (report.when(!fits || src.depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "SRC and DST depth are incompatible"))
        return false;
    return true;
}

bool goodLayouts(const OwnReport& report, const OrvImage& tpl, const OrvImage& src, const OrvImage& dst)
{
    // The source has to agree with one of the others; all are walked by their own layouts.
    auto differs = [&](auto OrvImage::*field) { return src.*field != tpl.*field && src.*field != dst.*field; };
    if (report.when(differs(&OrvImage::dataOrder), ORV_STATUS_BAD_ARG, "SRC, TPL or DST order are different"))
        return false;
    if (report.when(differs(&OrvImage::origin), ORV_STATUS_BAD_ARG, "SRC, TPL or DST orign are different"))
        return false;
    if (report.when(differs(&OrvImage::alphaChannel), ORV_STATUS_BAD_ARG,
                    "SRC, TPL or DST Alpha channels are different"))
        return false;
    if (report.when(differs(&OrvImage::nChannels), ORV_STATUS_BAD_ARG,
                    "SRC, TPL or DST number of channels are different"))
        return false;
    int32_t channels = ownChannels(src).count;
    if (report.when(channels != ownChannels(tpl).count || channels != ownChannels(dst).count, ORV_STATUS_BAD_ARG,
                    "SRC, TPL or DST number of processing channels are different"))
        return false;
    if (report.when(tpl.tileInfo, ORV_STATUS_BAD_ARG, "TPL tiling is not supported"))
        return false;
    return true;
}

// The size of the largest rectangle of plain memory that is correlated at once.
OwnSize largestPiece(const OrvImage& dst, OwnSize size)
{
    return dst.tileInfo ? ownMin(size, {dst.tileInfo->width, dst.tileInfo->height}) : size;
}

// 0, or ORV_STATUS_NO_MEMORY where there is no memory or a tile does not come.
int32_t correlate(OrvImage* tpl, OrvImage* src, OrvImage* dst)
{
    OwnMask mask;
    OrvImage* second = src->maskROI == dst->maskROI ? nullptr : dst->maskROI;
    OwnMaskResult combined = ownCombineMasks(src->maskROI, second, nullptr, mask);
    if (combined == OwnMaskResult::noMemory)
        return ORV_STATUS_NO_MEMORY;
    OwnSize size, tplSize;
    if (combined == OwnMaskResult::empty || !ownCommonSize(*src, *dst, mask.image, false, size) ||
        !ownRoiSize(*tpl, false, tplSize) || ownChannels(*src).count < 1)
        return 0;
    auto run = [&](auto& task, OwnNeighbourPiece piece) {
        const OwnReach reach = task.correlation.reach;
        return task && ownRunNeighbours({src, dst, mask.image, reach, piece, &task}) == OwnNeighbourResult::done;
    };
    OwnCorrelation correlation(*tpl);
    if (!correlation)
        return ORV_STATUS_NO_MEMORY;
    OwnSize plane = ownCorrelationPlane(correlation, largestPiece(*dst, size));
    bool done;
    if (plane.width) {
        OwnProductSpectra spectra(correlation, plane);
        done = run(spectra, ownCorrelateBySpectra);
    } else {
        OwnProductSums sums(correlation);
        done = run(sums, ownCorrelateBySums);
    }
    return done ? 0 : ORV_STATUS_NO_MEMORY;
}

}  // namespace

int32_t ORV_CALL orvNormCrossCorr(OrvImage* tplImage, OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvNormCrossCorr", source};
    if (!report.goodImage(srcImage) || !report.goodImage(tplImage) || !report.goodImage(dstImage))
        return ORV_STATUS_BAD_ARG;
    if (report.when(srcImage == dstImage, ORV_STATUS_BAD_ARG, "Unsupported in-place mode"))
        return ORV_STATUS_BAD_ARG;
    if (!goodDepths(report, *tplImage, *srcImage, *dstImage) || !goodLayouts(report, *tplImage, *srcImage, *dstImage))
        return ORV_STATUS_BAD_ARG;
    // What a tile provider runs into is not told.
    int32_t mode = orvGetErrMode();
    orvSetErrMode(ORV_ErrModeSilent);
    int32_t result = correlate(tplImage, srcImage, dstImage);
    orvSetErrMode(mode);
    report.when(result != 0, ORV_STATUS_NO_MEMORY, "Not enough memory");
    return result;
}
