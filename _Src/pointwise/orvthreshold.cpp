// Threshold.
//
//   orvThreshold   makes a two-valued image
#include "../core/ownframe.h"
#include "../core/ownmask.h"
#include "kernels/ownthreshold.h"
#include "orv/pointwise.h"

namespace {

constexpr const char* source = "orvthreshold";

bool checkLayouts(const OwnReport& report, const OrvImage* src, const OrvImage* dst)
{
    if (report.when(src->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(srcImage->depth == 32)"))
        return false;
    if (report.when(dst->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(dstImage->depth == 32)"))
        return false;
    if (report.when(src->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(srcImage->depth == 1)"))
        return false;
    if (report.when(src->dataOrder != dst->dataOrder && src->nChannels != 1 && dst->nChannels != 1, ORV_STATUS_BAD_ARG,
                    "((srcImage->dataOrder != dstImage->dataOrder)&& "
                    "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"))
        return false;
    if (report.when(src->origin != dst->origin, ORV_STATUS_BAD_ARG, "(srcImage->origin != dstImage->origin)"))
        return false;
    if (report.when(src->maskROI && src->origin != src->maskROI->origin, ORV_STATUS_BAD_ARG,
                    "(srcImage->origin != srcImage->maskROI->origin)"))
        return false;
    if (report.when(dst->maskROI && dst->origin != dst->maskROI->origin, ORV_STATUS_BAD_ARG,
                    "(dstImage->origin != dstImage->maskROI->origin)"))
        return false;
    return true;
}

// NULL if `threshold` is in the range of the depth, otherwise the failed condition.
const char* rangeFault(uint32_t depth, int32_t threshold)
{
    if (depth == ORV_DEPTH_8S && threshold > 127)
        return "((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))";
    if (depth == ORV_DEPTH_8S && threshold < -128)
        return "((srcImage->depth == (0x80000000| 8)) && (Threshold < -128))";
    if (depth == ORV_DEPTH_8U && threshold > 255)
        return "((srcImage->depth == 8) && (Threshold > 255))";
    if (depth == ORV_DEPTH_8U && threshold < 0)
        return "((srcImage->depth == 8) && (Threshold < 0))";
    if (depth == ORV_DEPTH_16S && threshold > 32767)
        return "((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))";
    if (depth == ORV_DEPTH_16S && threshold < -32768)
        return "((srcImage->depth == (0x80000000|16)) && (Threshold < -32768))";
    if (depth == ORV_DEPTH_16U && threshold > 65535)
        return "((srcImage->depth == 16) && (Threshold > 65535))";
    if (depth == ORV_DEPTH_16U && threshold < 0)
        return "((srcImage->depth == 16) && (Threshold < 0))";
    return nullptr;
}

}  // namespace

void ORV_CALL orvThreshold(OrvImage* srcImage, OrvImage* dstImage, int32_t Threshold)
{
    constexpr OwnReport report{"orvThreshold", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage) || !checkLayouts(report, srcImage, dstImage))
        return;
    const char* fault = rangeFault(srcImage->depth, Threshold);
    if (report.when(fault, ORV_STATUS_BAD_ARG, fault))
        return;
    if (!ownHasChannels(*srcImage) || !ownHasChannels(*dstImage))
        return;
    if (report.when(ownChannelCount(srcImage) != ownChannelCount(dstImage), ORV_STATUS_BAD_ARG,
                    "(srcChannels != dstChannels)"))
        return;

    OwnTempImage both;
    OrvImage* mask = srcImage->maskROI ? srcImage->maskROI : dstImage->maskROI;
    if (srcImage->maskROI && dstImage->maskROI) {
        if (!ownAndMasks(report, srcImage->maskROI, dstImage->maskROI, both))
            return;
        // A failure of the past is told here too, and stops nothing.
        report.when(orvGetErrStatus() < 0, ORV_STATUS_BACKTRACE, "error_orvAnd");
        mask = both.image;
    }

    const OwnThresholdKernels& kernels = ownThresholdKernels();
    OwnDepthIndex from = ownDepthIndex(srcImage->depth);
    int sourceBytes = ownValueBytes(srcImage->depth);
    int resultBytes = ownValueBytes(dstImage->depth);
    OwnCut cut = {Threshold, uint32_t(ownLowest(dstImage->depth))};
    OwnTestOp test = {kernels.bits[from], sourceBytes, &cut};
    OwnPointwise call = {
        .report = report,
        .images = {{srcImage, "(srcImage->tileInfo->tileData == NULL)"},
                   {dstImage, "(dstImage->tileInfo->tileData == NULL)"}},
        .count = 2,
        .op = {},
        .padding = OwnPadding::stays,
        .test = &test,
    };
    if (resultBytes) {
        call.op = {kernels.values[from][ownSizeIndex(resultBytes)], sourceBytes, resultBytes, &cut};
        call.test = nullptr;
    }
    ownRunPointwise(call, mask);
}
