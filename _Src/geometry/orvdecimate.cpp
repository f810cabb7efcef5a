// Scaling down.
//
//   orvDecimate       by samples, or by the means of areas
//   orvDecimateBlur   by samples of the means of boxes
#include <cmath>

#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/core.h"
#include "orv/geometry.h"
#include "ownarea.h"
#include "ownscale.h"

namespace {

constexpr const char* source = "orvdecimate";

// Whole pixels of the destination for a length of the source.
int64_t wholePixels(const OwnScaleRatio& ratio, int32_t length)
{
    return int64_t{length} * ratio.dst / ratio.src;
}

// The sources' regions as an axis sees them.
OwnScaleLine lineX(const OrvImage& image)
{
    OwnRect rect = ownRoiRect(image);
    return {rect.width, rect.x, image.width};
}

OwnScaleLine lineY(const OrvImage& image)
{
    OwnRect rect = ownRoiRect(image);
    return {rect.height, rect.y, image.height};
}

bool isSupported(uint32_t depth)
{
    return depth == ORV_DEPTH_1U || depth == ORV_DEPTH_8U || depth == ORV_DEPTH_16U || depth == ORV_DEPTH_32F;
}

int32_t coiOf(const OrvImage& image)
{
    return image.roi ? image.roi->coi : 0;
}

bool hasNothing(const OrvImage& src, const OrvImage& dst)
{
    OwnSize size;
    return !ownCommonSize(src, dst, nullptr, false, size) || ownChannels(src).count < 1;
}

void tell(const OwnReport& report, OwnBlockResult result, const char* noMemory = "Out of memory")
{
    switch (result) {
    case OwnBlockResult::noMemory: report(ORV_STATUS_NO_MEMORY, noMemory); break;
    case OwnBlockResult::noSourceTile: report(ORV_STATUS_INTERNAL, "srcImage->tileInfo->callBack crash"); break;
    case OwnBlockResult::noTile: report(ORV_STATUS_INTERNAL, "dstImage->tileInfo->callBack crash"); break;
    case OwnBlockResult::done: break;
    }
}

// ---- orvDecimate --------------------------------------------------------------------------------------------------

enum class Method { nearest, linear, cubic, area };

// Every fault is told. False if there is one, or an earlier one of the thread.
bool passesChecks(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y,
                  int32_t interpolate)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    const int32_t srcCoi = coiOf(*src), dstCoi = coiOf(*dst);
    bool bad = report.when(src == dst, ORV_STATUS_BAD_ARG, "srcImage == dstImage");
    bad |= report.when(src->depth != dst->depth, ORV_STATUS_BAD_DEPTH, "srcImage->depth != dstImage->depth");
    bad |= report.when(!isSupported(src->depth), ORV_STATUS_BAD_DEPTH, "depth != 1U, 8U, 16U or 32F");
    bad |= report.when(src->origin != dst->origin, ORV_STATUS_BAD_ORIGIN, "srcImage->origin != dstImage->origin");
    bad |= report.when(src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_DATA_ORDER,
                       "srcImage->dataOrder != dstImage->dataOrder");
    bad |=
        report.when(srcCoi > 0 && dstCoi == 0, ORV_STATUS_BAD_COI, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    bad |=
        report.when(dstCoi > 0 && srcCoi == 0, ORV_STATUS_BAD_COI, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    bad |= report.when(srcCoi == 0 && dstCoi == 0 &&
                           (src->nChannels != dst->nChannels || ownChannels(*src).count != ownChannels(*dst).count),
                       ORV_STATUS_BAD_CHANNELS, "srcImage->nChannels != dstImage->nChannels");
    bad |= report.when(interpolate < ORV_INTER_NN || interpolate > ORV_INTER_SUPER, ORV_STATUS_BAD_ARG,
                       "interpolate != ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC or ORV_INTER_SUPER");
    bad |= report.when(x.dst <= 0, ORV_STATUS_BAD_ARG, "xDst <= 0");
    bad |= report.when(x.src <= 0, ORV_STATUS_BAD_ARG, "xSrc <= 0");
    bad |= report.when(y.dst <= 0, ORV_STATUS_BAD_ARG, "yDst <= 0");
    bad |= report.when(y.src <= 0, ORV_STATUS_BAD_ARG, "ySrc <= 0");
    bad |= report.when(x.dst > x.src, ORV_STATUS_BAD_ARG, "xDst > xSrc");
    bad |= report.when(y.dst > y.src, ORV_STATUS_BAD_ARG, "yDst > ySrc");
    return !bad && orvGetErrStatus() >= 0;
}

// The method that the image and its region are large enough for. Where all samples fall on pixels, nothing is
// interpolated.
Method methodFor(const OrvImage& src, const OwnScaleRatio& x, const OwnScaleRatio& y, int32_t interpolate)
{
    const bool area = interpolate == ORV_INTER_SUPER;
    if (src.width < 4 || src.height < 4)
        return Method::nearest;
    if (!area && x.exact() && y.exact())
        return Method::nearest;
    if (wholePixels(x, lineX(src).length) < 1 || wholePixels(y, lineY(src).length) < 1)
        return Method::nearest;
    if (!area && src.depth == ORV_DEPTH_1U)
        return Method::nearest;
    return Method(interpolate);
}

OwnBlockResult decimateAreas(OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y)
{
    const OwnScaleLine across = lineX(*src), down = lineY(*src);
    const OwnRect to = ownRoiRect(*dst);
    // Cells that the source covers in part are left out.
    auto count = [](const OwnScaleRatio& ratio, int32_t length, int32_t most) {
        int64_t whole = wholePixels(ratio, length);
        return whole < most ? int32_t(whole) : most;
    };
    const double stepX = float(x.factor()), stepY = float(y.factor());
    OwnAreaAxis axisX, axisY;
    if (!ownAreaAxis(axisX, across, x.exact(), stepX, count(x, across.length, to.width)) ||
        !ownAreaAxis(axisY, down, y.exact(), stepY, count(y, down.length, to.height)))
        return OwnBlockResult::noMemory;
    return ownRunArea({src, dst, &axisX, &axisY, 1 / (stepX * stepY)});
}

OwnBlockResult decimateSamples(OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y,
                               Method method)
{
    const OwnScaleKernels& kernels = ownScaleKernels();
    const OwnDepthIndex depth = ownDepthIndex(src->depth);
    const OwnScaleKernel* kernel = method == Method::linear  ? &kernels.decimateLinear[depth]
                                   : method == Method::cubic ? &kernels.decimateCubic[depth]
                                                             : nullptr;
    const auto sampling = OwnScaleMethod(method);
    const OwnRect to = ownRoiRect(*dst);
    OwnScaleAxis axisX, axisY;
    if (!ownDecimateAxis(axisX, sampling, lineX(*src), x.exact(), float(x.factor()), to.width) ||
        !ownDecimateAxis(axisY, sampling, lineY(*src), y.exact(), float(y.factor()), to.height))
        return OwnBlockResult::noMemory;
    return ownRunScale({src, dst, nullptr, kernel, &axisX, &axisY});
}

// ---- orvDecimateBlur ----------------------------------------------------------------------------------------------

// Every other fault ends the call; a bad method ends it after the other checks.
bool passesBlurChecks(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnScaleRatio& x,
                      const OwnScaleRatio& y, int32_t interpolate, OwnSize mask)
{
    const bool badMethod =
        report.when(interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC,
                    ORV_STATUS_BAD_ARG,
                    "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC");
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth!=dstImage->depth)"))
        return false;
    if (report.when(src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG, "(srcImage->dataOrder!=dstImage->dataOrder)"))
        return false;
    if (report.when(src->alphaChannel != dst->alphaChannel, ORV_STATUS_BAD_ARG,
                    "(srcImage->alphaChannel!=dstImage->alphaChannel)"))
        return false;
    if (report.when(src->depth & ORV_DEPTH_SIGN, ORV_STATUS_BAD_ARG, "(srcImage->depth & ORV_DEPTH_SIGN)"))
        return false;
    if (report.when(x.dst > x.src || y.dst > y.src, ORV_STATUS_BAD_ARG, "(xDst>xSrc||yDst>ySrc)"))
        return false;
    if (report.when(x.dst <= 0 || y.dst <= 0, ORV_STATUS_BAD_ARG, "((xDst <= 0)||(yDst<=0))"))
        return false;
    if (report.when(x.src <= 0 || y.src <= 0, ORV_STATUS_BAD_ARG, "((xSrc <= 0)||(ySrc<=0))"))
        return false;
    if (report.when(mask.width < 0 || mask.height < 0, ORV_STATUS_BAD_ARG, "(xMaskSize<0||yMaskSize<0)"))
        return false;
    if (report.when(src == dst, ORV_STATUS_BAD_ARG, "This function isn`t in-plase function"))
        return false;
    const OrvROI *from = src->roi, *to = dst->roi;
    const int32_t srcCoi = coiOf(*src), dstCoi = coiOf(*dst);
    if (report.when(srcCoi > 0 && to && dstCoi == 0, ORV_STATUS_BAD_ARG,
                    "srcImage->roi->coi > 0 && dstImage->roi->coi == 0"))
        return false;
    if (report.when(dstCoi > 0 && from && srcCoi == 0, ORV_STATUS_BAD_ARG,
                    "dstImage->roi->coi > 0 && srcImage->roi->coi == 0"))
        return false;
    if (report.when(srcCoi > 0 && !to, ORV_STATUS_BAD_ARG, "srcImage->roi->coi > 0 && dstImage->roi == NULL"))
        return false;
    if (report.when(dstCoi > 0 && !from, ORV_STATUS_BAD_ARG, "dstImage->roi->coi > 0 && srcImage->roi == NULL"))
        return false;
    if (report.when(from && from->xOffset >= src->width, ORV_STATUS_BAD_ARG,
                    "srcImage->roi->xOffset >= srcImage->width"))
        return false;
    if (report.when(from && from->yOffset >= src->height, ORV_STATUS_BAD_ARG,
                    "srcImage->roi->yOffset >= srcImage->height"))
        return false;
    if (report.when(to && to->xOffset >= dst->width, ORV_STATUS_BAD_ARG, "dstImage->roi->xOffset >= dstImage->width"))
        return false;
    if (report.when(to && to->yOffset >= dst->height, ORV_STATUS_BAD_ARG, "dstImage->roi->yOffset >= dstImage->height"))
        return false;
    if (report.when(ownChannels(*src).count != ownChannels(*dst).count, ORV_STATUS_BAD_CHANNELS,
                    "srcImage->nChannels != dstImage->nChannels"))
        return false;
    return !badMethod;
}

double stepOf(const OwnScaleRatio& ratio, int32_t length)
{
    return ratio.src == ratio.dst ? 1 : ownZoomStep(ratio, length);
}

OwnBoxAxis boxAxis(const OwnScaleRatio& ratio, int32_t size, const OwnScaleLine& line)
{
    if (size == 0)
        size = int32_t(std::rint(ratio.factor() + 0.00001));
    return {size, size / 2, -line.offset, line.imageLength - 1 - line.offset};
}

OwnScaleMethod blurMethodFor(const OrvImage& src, const OwnScaleRatio& x, const OwnScaleRatio& y, int32_t interpolate)
{
    const bool unscaled = x.src == x.dst && y.src == y.dst;
    if (unscaled || src.depth == ORV_DEPTH_1U || interpolate == ORV_INTER_NN || src.width < 2 || src.height < 2)
        return OwnScaleMethod::nearest;
    if (interpolate == ORV_INTER_LINEAR || src.width < 4 || src.height < 4)
        return OwnScaleMethod::linear;
    return OwnScaleMethod::cubic;
}

OwnBlockResult decimateBoxes(OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y,
                             OwnScaleMethod method, OwnSize mask)
{
    const OwnScaleLine across = lineX(*src), down = lineY(*src);
    const OwnRect to = ownRoiRect(*dst);
    const double stepX = stepOf(x, across.length), stepY = stepOf(y, down.length);
    if (stepX == 0 || stepY == 0)
        return OwnBlockResult::done;
    const OwnScaleKernels& kernels = ownScaleKernels();
    const OwnDepthIndex depth = ownDepthIndex(src->depth);
    const OwnScaleKernel* kernel = method == OwnScaleMethod::linear  ? &kernels.zoomLinear[depth]
                                   : method == OwnScaleMethod::cubic ? &kernels.zoomCubic[depth]
                                                                     : nullptr;
    OwnScaleAxis axisX, axisY;
    if (!ownZoomAxis(axisX, method, across, 0, stepX, ownFilledPixels(x, across.length, to.width)) ||
        !ownZoomAxis(axisY, method, down, 0, stepY, ownFilledPixels(y, down.length, to.height)))
        return OwnBlockResult::noMemory;
    const OwnBox box = {boxAxis(x, mask.width, across), boxAxis(y, mask.height, down)};
    const bool blurs = box.x.size > 1 || box.y.size > 1;
    return ownRunScale({src, dst, nullptr, kernel, &axisX, &axisY, blurs ? &box : nullptr});
}

}  // namespace

void ORV_CALL orvDecimate(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst,
                          int32_t ySrc, int32_t interpolate)
{
    constexpr OwnReport report{"orvDecimate", source};
    const OwnScaleRatio x = {xDst, xSrc}, y = {yDst, ySrc};
    if (!passesChecks(report, srcImage, dstImage, x, y, interpolate) || hasNothing(*srcImage, *dstImage))
        return;
    const Method method = methodFor(*srcImage, x, y, interpolate);
    if (method == Method::area)
        tell(report, decimateAreas(srcImage, dstImage, x, y),
             "Can't create temporary buffer for interpolate = ORV_INTER_SUPER");
    else
        tell(report, decimateSamples(srcImage, dstImage, x, y, method));
}

void ORV_CALL orvDecimateBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst,
                              int32_t ySrc, int32_t interpolate, int32_t xMaskSize, int32_t yMaskSize)
{
    constexpr OwnReport report{"orvDecimateBlur", source};
    const OwnScaleRatio x = {xDst, xSrc}, y = {yDst, ySrc};
    const OwnSize mask = {xMaskSize, yMaskSize};
    if (!passesBlurChecks(report, srcImage, dstImage, x, y, interpolate, mask) || hasNothing(*srcImage, *dstImage))
        return;
    const OwnScaleMethod method = blurMethodFor(*srcImage, x, y, interpolate);
    tell(report, decimateBoxes(srcImage, dstImage, x, y, method, mask));
}
