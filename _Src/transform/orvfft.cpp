// Fourier transforms.
//
//   orvRealFft2D   a real image to its packed spectrum
//   orvCcsFft2D    a packed spectrum to the real image
#include "../core/owncontext.h"
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/transform.h"
#include "owncaches.h"
#include "ownfftdrive.h"

namespace {

constexpr const char* source = "orvfft";

// ---- Checks ----

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

bool goodSource(const OwnReport& report, OrvImage* image)
{
    if (report.when(!image, ORV_STATUS_BAD_ARG, "srcImage==0"))
        return false;
    if (!report.goodImage(image))
        return false;
    if (image->alphaChannel > 0 && image->alphaChannel != image->nChannels)
        return report(ORV_STATUS_BAD_ARG,
                      "srcImage->alphaChannel > 0 && srcImage->alphaChannel != srcImage->nChannels"),
               false;
    bool onlyAlpha = image->nChannels == 1 && image->alphaChannel == 1;
    if (report.when(onlyAlpha && !image->roi, ORV_STATUS_BAD_ARG, "srcImage->alphaChannel == 1 && srcImage->roi == 0"))
        return false;
    if (report.when(onlyAlpha && image->roi->coi != 1, ORV_STATUS_BAD_ARG,
                    "srcImage->alphaChannel == 1 && srcImage->roi->coi != 1"))
        return false;
    if (report.when(image->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "srcImage->depth == 1"))
        return false;
    if (report.when(!image->imageData, ORV_STATUS_BAD_ARG, "srcImage->imageData == 0"))
        return false;
    return true;
}

bool goodDestination(const OwnReport& report, OrvImage* image)
{
    if (report.when(!image, ORV_STATUS_BAD_ARG, "dstImage==0"))
        return false;
    if (!report.goodImage(image))
        return false;
    if (image->alphaChannel > 0 && image->alphaChannel != image->nChannels)
        return report(ORV_STATUS_BAD_ARG,
                      "dstImage->alphaChannel > 0 && dstImage->alphaChannel != dstImage->nChannels"),
               false;
    bool onlyAlpha = image->nChannels == 1 && image->alphaChannel == 1;
    if (report.when(onlyAlpha && !image->roi, ORV_STATUS_BAD_ARG, "dstImage->alphaChannel == 1 && dstImage->roi == 0"))
        return false;
    if (report.when(onlyAlpha && image->roi->coi != 1, ORV_STATUS_BAD_ARG,
                    "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1"))
        return false;
    if (report.when(image->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "dstImage->depth == 1"))
        return false;
    if (report.when(!image->imageData, ORV_STATUS_BAD_ARG, "dstImage->imageData == 0"))
        return false;
    return true;
}

bool goodChannels(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    bool srcCoi = src.roi && src.roi->coi > 0, dstCoi = dst.roi && dst.roi->coi > 0;
    int32_t srcChannels = src.nChannels - (src.alphaChannel != 0),
            dstChannels = dst.nChannels - (dst.alphaChannel != 0);
    if (!srcCoi && !dstCoi && srcChannels != dstChannels)
        return report(ORV_STATUS_BAD_ARG,
                      "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                      "(dstImage->nChannels - (dstImage->alphaChannel != 0))"),
               false;
    if (srcCoi && !dstCoi && dstChannels != 1)
        return report(ORV_STATUS_BAD_ARG,
                      "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != "
                      "(srcImage->roi->coi > 0)"),
               false;
    if (!srcCoi && dstCoi && srcChannels != 1)
        return report(ORV_STATUS_BAD_ARG,
                      "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                      "(dstImage->roi->coi > 0)"),
               false;
    return true;
}

// ---- The plan ----

// The logarithm of a power of two above 1, otherwise 0.
int32_t exactLog2(int32_t length)
{
    return length > 1 && (length & (length - 1)) == 0 ? __builtin_ctz(uint32_t(length)) : 0;
}

// False if the images do not go together.
bool fillPlan(OwnFftPlan& plan, const OrvImage& src, const OrvImage& dst, int32_t flags)
{
    OwnRect srcRect = ownRoiRect(src), dstRect = ownRoiRect(dst);
    OwnChannels srcChannels = ownChannels(src), dstChannels = ownChannels(dst);
    if (srcChannels.count != dstChannels.count)
        return false;
    plan = {};
    plan.srcWidth = src.width;
    plan.srcHeight = src.height;
    plan.srcStep = src.widthStep;
    plan.srcChannels = src.nChannels;
    plan.dstWidth = dst.width;
    plan.dstHeight = dst.height;
    plan.dstStep = dst.widthStep;
    plan.dstChannels = dst.nChannels;
    plan.srcData = src.imageData;
    plan.dstData = dst.imageData;
    plan.srcX = srcRect.x;
    plan.srcY = srcRect.y;
    plan.dstX = dstRect.x;
    plan.dstY = dstRect.y;
    plan.srcFirstChannel = srcChannels.first;
    plan.dstFirstChannel = dstChannels.first;
    plan.channelCount = srcChannels.count;
    plan.width = ownMin(srcRect.width, dstRect.width);
    plan.widthEven = plan.width % 2 == 0;
    plan.widthLog2 = exactLog2(plan.width);
    plan.height = ownMin(srcRect.height, dstRect.height);
    plan.heightEven = plan.height % 2 == 0;
    plan.heightLog2 = exactLog2(plan.height);
    plan.direction = flags & ORV_FFT_INVERSE ? -1 : 1;
    plan.scale = (flags & ORV_FFT_INVERSE) && !(flags & ORV_FFT_NO_SCALE);
    plan.srcLayout = ownFftLayout(src);
    plan.dstLayout = ownFftLayout(dst);
    bool useInt = (flags & ORV_FFT_USE_INT) && src.depth != ORV_DEPTH_32F && dst.depth != ORV_DEPTH_32F;
    return useInt ? ownFftChoose<int32_t>(plan, src.depth, dst.depth) : ownFftChoose<float>(plan, src.depth, dst.depth);
}

// ---- The transform ----

// A driver that gets no memory, or finds no place for its tables, has another try with empty caches.
bool runDriver(OrvContext& context, OwnFftPlan::Driver driver)
{
    if (driver(context))
        return true;
    ownReleaseFftCaches(context);
    context.fftPlan.intSlot = 0;
    context.fftPlan.floatSlot = 0;
    return driver(context);
}

void transform(const OwnReport& report, OrvImage* srcImage, OrvImage* dstImage, int32_t flags,
               OwnFftPlan::Driver OwnFftPlan::*driver)
{
    OrvContext& context = ownContext();
    if (flags & ORV_FFT_RELEASE) {
        ownReleaseFftCaches(context);
        return;
    }
    if (!goodFlags(report, flags) || !goodSource(report, srcImage) || !goodDestination(report, dstImage) ||
        !goodChannels(report, *srcImage, *dstImage))
        return;
    OwnFftPlan& plan = context.fftPlan;
    if (report.when(!fillPlan(plan, *srcImage, *dstImage, flags), ORV_STATUS_BAD_ARG, "Error in input data"))
        return;
    if (plan.width < 1 || plan.height < 1)
        return;
    if (!runDriver(context, plan.*driver))
        report(ORV_STATUS_NO_MEMORY, "No working memory");
}

}  // namespace

OwnFftLayout ownFftLayout(const OrvImage& image)
{
    ptrdiff_t bytes = ownValueBytes(image.depth);
    bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    ptrdiff_t pixelStep = planes ? bytes : bytes * image.nChannels;
    ptrdiff_t channelStep = planes ? ptrdiff_t{image.height} * image.widthStep : bytes;
    return {pixelStep, channelStep, pixelStep == bytes, image.depth == ORV_DEPTH_32F};
}

void ORV_CALL orvRealFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags)
{
    transform({"orvRealFft2D", source}, srcImage, dstImage, flags, &OwnFftPlan::realDriver);
}

void ORV_CALL orvCcsFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags)
{
    transform({"orvCcsFft2D", source}, srcImage, dstImage, flags, &OwnFftPlan::ccsDriver);
}
