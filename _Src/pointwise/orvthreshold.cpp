// Threshold.
//
//   orvThreshold   makes a two-valued image
#include "../core/ownframe.h"
#include "../core/ownscratch.h"
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

// The masks of both images become one.
struct CombinedMask {
    OrvROI roi = {};
    OwnTempImage made;
};

// False if the call ends here.
bool combineMasks(const OwnReport& report, OrvImage* a, OrvImage* b, CombinedMask& mask)
{
    OrvImage* made = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GREY", "GREY", ORV_DATA_ORDER_PLANE, ORV_ORIGIN_TL, 8, 1,
                                          1, &mask.roi, nullptr, nullptr, nullptr);
    mask.made.image = made;
    if (report.when(!made, ORV_STATUS_BAD_ARG, "(msk == NULL)"))
        return false;
    OwnSize size;
    if (!ownCommonSize(*a, *b, nullptr, false, size))
        return false;
    made->width = mask.roi.width = size.width;
    made->height = mask.roi.height = size.height;
    orvAllocateImage(made, 1, 0);
    if (report.when(!made->imageData, ORV_STATUS_BAD_ARG, "(msk->imageData == NULL)"))
        return false;
    // Where this fails the mask is still empty, so that nothing is written; an old failure is told and stops nothing.
    orvAnd(a, b, made);
    report.when(orvGetErrStatus() < 0, ORV_STATUS_BACKTRACE, "error_orvAnd");
    return true;
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

    CombinedMask combined;
    OrvImage* mask = srcImage->maskROI ? srcImage->maskROI : dstImage->maskROI;
    if (srcImage->maskROI && dstImage->maskROI) {
        if (!combineMasks(report, srcImage->maskROI, dstImage->maskROI, combined))
            return;
        mask = combined.made.image;
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
