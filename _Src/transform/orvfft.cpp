// Fourier transforms.
//
//   orvRealFft2D   a real image to its packed spectrum
//   orvCcsFft2D    a packed spectrum to the real image
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/transform.h"
#include "ownfftcache.h"
#include "ownfftdrive.h"

namespace {

constexpr const char* source = "orvfft";

// ---- Checks ---------------------------------------------------------------------------------------------------------

bool goodFlags(const OwnReport& report, int32_t flags)
{
    bool forward = (flags & ORV_FFT_FORWARD) != 0, inverse = (flags & ORV_FFT_INVERSE) != 0;
    if (report.when(!forward && !inverse, ORV_STATUS_BAD_ARG, "(flags & 1) == 0 && (flags & 2 ) == 0"))
        return false;
    if (report.when(forward && inverse, ORV_STATUS_BAD_ARG, "(flags & 1) != 0 && (flags & 2 ) != 0"))
        return false;
    if (report.when((flags & ORV_FFT_USE_FLOAT) && (flags & ORV_FFT_USE_INT), ORV_STATUS_BAD_ARG,
                    "(flags & 32) != 0 && (flags & 16 ) != 0"))
        return false;
    return true;
}

// The texts for an image's faults.
struct ImageTexts {
    const char *null, *alphaWithoutRoi, *alphaWithoutCoi, *depth, *noData;
};

constexpr ImageTexts srcTexts = {"srcImage==0", "srcImage->alphaChannel == 1 && srcImage->roi == 0",
                                 "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1", "srcImage->depth == 1",
                                 "srcImage->imageData == 0"};
constexpr ImageTexts dstTexts = {"dstImage==0", "dstImage->alphaChannel == 1 && dstImage->roi == 0",
                                 "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", "dstImage->depth == 1",
                                 "dstImage->imageData == 0"};

// That an alpha channel is the last one is a good header's business.
bool goodImage(const OwnReport& report, OrvImage* image, const ImageTexts& texts)
{
    if (report.when(!image, ORV_STATUS_BAD_ARG, texts.null))
        return false;
    if (!report.goodImage(image))
        return false;
    bool onlyAlpha = image->nChannels == 1 && image->alphaChannel == 1;
    if (report.when(onlyAlpha && !image->roi, ORV_STATUS_BAD_ARG, texts.alphaWithoutRoi))
        return false;
    if (report.when(onlyAlpha && image->roi->coi != 1, ORV_STATUS_BAD_ARG, texts.alphaWithoutCoi))
        return false;
    if (report.when(image->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, texts.depth))
        return false;
    if (report.when(!image->imageData, ORV_STATUS_BAD_ARG, texts.noData))
        return false;
    return true;
}

bool goodChannels(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    bool srcCoi = src.roi && src.roi->coi > 0, dstCoi = dst.roi && dst.roi->coi > 0;
    int32_t srcChannels = src.nChannels - (src.alphaChannel != 0);
    int32_t dstChannels = dst.nChannels - (dst.alphaChannel != 0);
    if (report.when(!srcCoi && !dstCoi && srcChannels != dstChannels, ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                    "(dstImage->nChannels - (dstImage->alphaChannel != 0))"))
        return false;
    if (report.when(srcCoi && !dstCoi && dstChannels != 1, ORV_STATUS_BAD_ARG,
                    "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != "
                    "(srcImage->roi->coi > 0)"))
        return false;
    if (report.when(!srcCoi && dstCoi && srcChannels != 1, ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                    "(dstImage->roi->coi > 0)"))
        return false;
    return true;
}

// ---- The transform --------------------------------------------------------------------------------------------------

OwnFftPlan planOf(const OrvImage& src, const OrvImage& dst, int32_t flags, bool toPacked)
{
    OwnFftPlan plan;
    ownPlaneGeometry(src, plan.src);
    ownPlaneGeometry(dst, plan.dst);
    plan.srcDepth = ownDepthIndex(src.depth);
    plan.dstDepth = ownDepthIndex(dst.depth);
    plan.width = ownMin(plan.src.width, plan.dst.width);
    plan.height = ownMin(plan.src.height, plan.dst.height);
    plan.direction = flags & ORV_FFT_INVERSE ? -1 : 1;
    plan.divides = (flags & ORV_FFT_INVERSE) && !(flags & ORV_FFT_NO_SCALE);
    plan.toPacked = toPacked;
    plan.fixedPoint = (flags & ORV_FFT_USE_INT) && src.depth != ORV_DEPTH_32F && dst.depth != ORV_DEPTH_32F;
    return plan;
}

void transform(const OwnReport& report, OrvImage* srcImage, OrvImage* dstImage, int32_t flags, bool toPacked)
{
    if (flags & ORV_FFT_RELEASE) {
        ownReleaseCache(ownContext().caches[OWN_FOURIER_CACHE]);
        return;
    }
    if (!goodFlags(report, flags) || !goodImage(report, srcImage, srcTexts) || !goodImage(report, dstImage, dstTexts) ||
        !goodChannels(report, *srcImage, *dstImage))
        return;
    OwnFftPlan plan = planOf(*srcImage, *dstImage, flags, toPacked);
    if (plan.width < 1 || plan.height < 1)
        return;
    bool done = ownTryTwice(OWN_FOURIER_CACHE, [&] {
        auto* caches = ownCacheRecord<OwnFftCaches>(OWN_FOURIER_CACHE);
        return caches && ownFftRun(plan, *caches);
    });
    if (!done)
        report(ORV_STATUS_NO_MEMORY, "No working memory");
}

}  // namespace

void ORV_CALL orvRealFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags)
{
    transform({"orvRealFft2D", source}, srcImage, dstImage, flags, true);
}

void ORV_CALL orvCcsFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags)
{
    transform({"orvCcsFft2D", source}, srcImage, dstImage, flags, false);
}
