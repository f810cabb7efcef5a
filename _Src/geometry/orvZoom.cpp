// Scaling by rational factors.
//
//   orvZoom     makes an image larger
//   orvResize   makes an image larger or smaller
#include <cmath>

#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/core.h"
#include "orv/geometry.h"
#include "orv/pointwise.h"
#include "ownscale.h"

namespace {

constexpr const char* source = "orvZoom";

// Both entries run one driver, which reports in the name of the first.
constexpr OwnReport report{"orvZoom", source};

struct Zoom {
    OrvImage* src;
    OrvImage* dst;
    OwnScaleRatio x, y;
    OwnScaleMethod method;
};

bool passesChecks(OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y, int32_t interpolate)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    if (report.when(interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC,
                    ORV_STATUS_BAD_ARG,
                    "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC"))
        return false;
    const uint32_t depth = src->depth;
    bool bad = report.when(depth != dst->depth, ORV_STATUS_BAD_ARG, "srcImage->depth != dstImage->depth");
    bad |=
        report.when(depth != ORV_DEPTH_1U && depth != ORV_DEPTH_8U && depth != ORV_DEPTH_16U && depth != ORV_DEPTH_32F,
                    ORV_STATUS_BAD_ARG,
                    "srcImage->depth != ORV_DEPTH_1U && srcImage->depth != ORV_DEPTH_8U && "
                    "srcImage->depth != ORV_DEPTH_16U && srcImage->depth != ORV_DEPTH_32F");
    bad |=
        report.when(src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG, "srcImage->dataOrder != dstImage->dataOrder");
    bad |= report.when(x.dst <= 0 || x.src <= 0, ORV_STATUS_BAD_ARG, "xDst <= 0 || xSrc <= 0");
    bad |= report.when(y.dst <= 0 || y.src <= 0, ORV_STATUS_BAD_ARG, "yDst <= 0 || ySrc <= 0");
    // A report handler may clear the status; what does not fit cannot be scaled all the same.
    if (bad || orvGetErrStatus() < 0)
        return false;
    return !report.when(src == dst, ORV_STATUS_BAD_ARG, "This function isn`t in-plase function");
}

// The method that the image is large enough for.
OwnScaleMethod methodFor(const OrvImage& src, int32_t interpolate)
{
    if (interpolate == ORV_INTER_NN || src.depth == ORV_DEPTH_1U || src.width < 2 || src.height < 2)
        return OwnScaleMethod::nearest;
    if (interpolate == ORV_INTER_LINEAR || src.width < 4 || src.height < 4)
        return OwnScaleMethod::linear;
    return OwnScaleMethod::cubic;
}

// The region as far as the image and the fields of the mask's size reach; empty where it lies outside.
OwnSize limitedSize(const OrvImage& image)
{
    OwnRect rect = ownRoiRect(image);
    if (const OrvImage* mask = image.maskROI)
        return {ownMin(rect.width, mask->width), ownMin(rect.height, mask->height)};
    return {rect.width, rect.height};
}

// ---- Masks --------------------------------------------------------------------------------------------------------

// A length of the source in whole pixels for one of the destination.
int32_t roundedSource(const OwnScaleRatio& ratio, int32_t length)
{
    double source = std::rint(ratio.factor() * length + ownIndexBias);
    if (source < 1)
        source = std::rint(length / ratio.factor() + ownIndexBias);
    return source < INT32_MAX ? int32_t(source) : INT32_MAX;
}

// A mask as far as its image reaches from its region's start on, without a mask of its own.
void showWhole(OwnWork& work, const OrvImage& mask)
{
    OwnRect rect = ownRoiRect(mask);
    work.take(mask);
    work.setRegion(rect.x, rect.y, mask.width - rect.x, mask.height - rect.y);
    work.image.maskROI = nullptr;
}

// The source's mask as it lies on the destination, in both masks. False after a report.
bool scaleMask(const Zoom& zoom, OwnSize size, OwnTempImage& made)
{
    OrvImage* mask = zoom.src->maskROI;
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "GRAY", mask->dataOrder, mask->origin, 8, size.width,
                                      size.height, nullptr, nullptr, nullptr, nullptr);
    if (report.when(!made.image, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return false;
    orvAllocateImage(made.image, 1, 0);
    if (made.image->imageData)
        orvResize(mask, made.image, size.width, roundedSource(zoom.x, size.width), size.height,
                  roundedSource(zoom.y, size.height), ORV_INTER_NN);
    if (report.when(orvGetErrStatus() < 0 || !made.image->imageData, ORV_STATUS_BACKTRACE, ""))
        return false;
    if (!zoom.dst->maskROI)
        return true;
    OwnWork other;
    showWhole(other, *zoom.dst->maskROI);
    if (other.roi.width < 1 || other.roi.height < 1)
        return true;
    orvAnd(made.image, &other.image, made.image);
    return !report.when(orvGetErrStatus() < 0, ORV_STATUS_BACKTRACE, "");
}

// ---- The scaler ---------------------------------------------------------------------------------------------------

// The first pixel's centre meets the first pixel's, and the last the last's; without interpolation a whole ratio
// repeats or leaves out pixels instead. Both lengths are those of the regions before they are cut.
bool makeAxis(OwnScaleAxis& axis, OwnScaleMethod method, const OwnScaleRatio& ratio, int32_t wanted,
              const OwnScaleLine& line, int32_t count)
{
    const bool nearest = method == OwnScaleMethod::nearest;
    if (nearest && ratio.exact()) {
        const double ideal = double(ratio.dst) * wanted / ratio.src;
        return ownZoomAxis(axis, method, line, 0, wanted / ideal, count);
    }
    return ownZoomAxis(axis, method, line, nearest ? 0.5 : 0, ownZoomStep(ratio, wanted), count);
}

const OwnScaleKernel* kernelFor(OwnScaleMethod method, uint32_t depth)
{
    const OwnScaleKernels& kernels = ownScaleKernels();
    switch (method) {
    case OwnScaleMethod::linear: return &kernels.zoomLinear[ownDepthIndex(depth)];
    case OwnScaleMethod::cubic: return &kernels.zoomCubic[ownDepthIndex(depth)];
    default: return nullptr;
    }
}

OwnBlockResult scaleRegion(const Zoom& zoom, OwnSize from, OwnSize to, const OrvImage* mask)
{
    const OrvImage& src = *zoom.src;
    const OwnRect rect = ownRoiRect(src);
    const OrvROI wanted = src.roi ? *src.roi : OrvROI{0, 0, 0, src.width, src.height};
    OwnScaleAxis x, y;
    if (!makeAxis(x, zoom.method, zoom.x, wanted.width, {from.width, rect.x, src.width}, to.width) ||
        !makeAxis(y, zoom.method, zoom.y, wanted.height, {from.height, rect.y, src.height}, to.height))
        return OwnBlockResult::noMemory;
    return ownRunScale({zoom.src, zoom.dst, mask, kernelFor(zoom.method, src.depth), &x, &y});
}

void scale(const Zoom& zoom)
{
    const OwnSize from = limitedSize(*zoom.src);
    OwnSize to = limitedSize(*zoom.dst);
    if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1)
        return;
    to = {ownFilledPixels(zoom.x, from.width, to.width), ownFilledPixels(zoom.y, from.height, to.height)};
    OwnTempImage made;
    if (zoom.src->maskROI && !scaleMask(zoom, to, made))
        return;
    if (report.when(ownChannels(*zoom.src).count != ownChannels(*zoom.dst).count, ORV_STATUS_ERROR,
                    "srcImage COI != dstImage COI"))
        return;
    // Pixels for which the destination's mask has no bit are left alone.
    if (const OrvImage* mask = zoom.dst->maskROI) {
        OwnWork whole;
        showWhole(whole, *mask);
        to = {ownMin(to.width, whole.roi.width), ownMin(to.height, whole.roi.height)};
    }
    if (to.width < 1 || to.height < 1)
        return;
    switch (scaleRegion(zoom, from, to, made.image ? made.image : zoom.dst->maskROI)) {
    case OwnBlockResult::noMemory: report(ORV_STATUS_NO_MEMORY, "Out of memory"); break;
    case OwnBlockResult::noSourceTile: report(ORV_STATUS_BACKTRACE, ""); break;
    case OwnBlockResult::noTile: report(ORV_STATUS_ERROR, "Error get tile to write"); break;
    case OwnBlockResult::done: break;
    }
}

bool isAlphaAlone(const OrvImage& image)
{
    return image.alphaChannel != 0 && image.nChannels == 1;
}

void zoomImage(OrvImage* src, OrvImage* dst, const OwnScaleRatio& x, const OwnScaleRatio& y, int32_t interpolate)
{
    if (passesChecks(src, dst, x, y, interpolate) && !isAlphaAlone(*src) && !isAlphaAlone(*dst))
        scale({src, dst, x, y, methodFor(*src, interpolate)});
}

}  // namespace

void ORV_CALL orvZoom(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                      int32_t interpolate)
{
    if (report.when(xDst < xSrc || yDst < ySrc, ORV_STATUS_BAD_ARG, "xDst < xSrc || yDst < ySrc"))
        return;
    zoomImage(srcImage, dstImage, {xDst, xSrc}, {yDst, ySrc}, interpolate);
}

void ORV_CALL orvResize(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                        int32_t interpolate)
{
    constexpr OwnReport report{"orvResize", source};
    const bool area = interpolate == ORV_INTER_SUPER;
    if (report.when(area && (xDst > xSrc || yDst > ySrc), ORV_STATUS_BAD_ARG, "(xDst > xSrc || yDst > ySrc)"))
        return;
    if (area)
        orvDecimate(srcImage, dstImage, xDst, xSrc, yDst, ySrc, interpolate);
    else
        zoomImage(srcImage, dstImage, {xDst, xSrc}, {yDst, ySrc}, interpolate);
    if (orvGetErrStatus() < 0)
        report(ORV_STATUS_BACKTRACE, "");
}
