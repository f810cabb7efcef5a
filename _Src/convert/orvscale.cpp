// Conversions between depths that map one range onto another.
//
//   orvScale     the whole ranges of integer depths
//   orvScaleFP   the range of an integer depth and a range of floats
#include "../core/ownframe.h"
#include "kernels/ownconvert.h"
#include "orv/convert.h"

namespace {

constexpr const char* source = "orvscale";

// False after a report. Data orders differ where one of the images has one channel.
bool checkLayouts(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    if (report.when(src.dataOrder != dst.dataOrder && src.nChannels != 1 && dst.nChannels != 1, ORV_STATUS_BAD_ARG,
                    "((srcImage->dataOrder != dstImage->dataOrder)&& "
                    "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"))
        return false;
    if (report.when(src.origin != dst.origin, ORV_STATUS_BAD_ARG, "(srcImage->origin != dstImage->origin)"))
        return false;
    return !report.when(ownChannelCount(&src) != ownChannelCount(&dst), ORV_STATUS_BAD_ARG,
                        "srcImage->nChannels != dstImage->nChannels");
}

void scale(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnRowKernel& kernel, const void* scalar)
{
    const OwnPointwise call = {
        .report = report,
        .images = {{src, "(srcImage->tileInfo->tileData == NULL)"}, {dst, "(dstImage->tileInfo->tileData == NULL)"}},
        .count = 2,
        .op = {kernel, ownValueBytes(src->depth), ownValueBytes(dst->depth), scalar},
        .padding = OwnPadding::stays,
    };
    ownRunPointwise(call, nullptr);
}

}  // namespace

void ORV_CALL orvScale(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvScale", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(srcImage->depth == dstImage->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth == dstImage->depth)"))
        return;
    if (report.when(srcImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(srcImage->depth == 1)"))
        return;
    if (report.when(srcImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(srcImage->depth == 32)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(dstImage->depth == 1)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(dstImage->depth == 32)"))
        return;
    if (!checkLayouts(report, *srcImage, *dstImage))
        return;
    scale(report, srcImage, dstImage,
          ownRangeKernels().scale[ownDepthIndex(srcImage->depth)][ownDepthIndex(dstImage->depth)], nullptr);
}

void ORV_CALL orvScaleFP(OrvImage* srcImage, OrvImage* dstImage, float minVal, float maxVal)
{
    constexpr OwnReport report{"orvScaleFP", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    const bool ofFloat = srcImage->depth == ORV_DEPTH_32F, toFloat = dstImage->depth == ORV_DEPTH_32F;
    if (report.when(srcImage->depth == ORV_DEPTH_1U || dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG,
                    "((srcImage->depth == 1)|| (dstImage->depth == 1))"))
        return;
    if (report.when(maxVal - minVal <= 0.0f, ORV_STATUS_BAD_ARG, "((maxVal - minVal) <= 0.0f)"))
        return;
    if (report.when(!ofFloat && !toFloat, ORV_STATUS_BAD_ARG, "((srcImage->depth != 32)&& (dstImage->depth != 32))"))
        return;
    if (report.when(ofFloat && toFloat, ORV_STATUS_BAD_ARG, "((srcImage->depth == 32)&& (dstImage->depth == 32))"))
        return;
    if (!checkLayouts(report, *srcImage, *dstImage))
        return;
    const OwnFloatRange range = {minVal, maxVal};
    const OwnRangeKernels& kernels = ownRangeKernels();
    scale(report, srcImage, dstImage,
          ofFloat ? kernels.ofFloat[ownDepthIndex(dstImage->depth)] : kernels.toFloat[ownDepthIndex(srcImage->depth)],
          &range);
}
