#include "ownpair.h"

bool ownGoodPair(const OwnReport& report, OrvImage* src, OrvImage* dst, bool bitsHaveNoOrder, int32_t line)
{
    if (!report.goodImage(src, line) || !report.goodImage(dst, line))
        return false;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth != dstImage->depth)", line))
        return false;
    bool ordered = !(bitsHaveNoOrder && src->depth == ORV_DEPTH_1U);
    if (report.when(ordered && src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG,
                    "(srcImage->dataOrder != dstImage->dataOrder)", line))
        return false;
    if (report.when(ownChannelCount(src) != ownChannelCount(dst), ORV_STATUS_BAD_ARG, "(nChSrc != nChDst)", line))
        return false;
    return true;
}

void ownRunPair(const OwnReport& report, OrvImage* src, OrvImage* dst, const OwnDepthKernels& kernels,
                const void* scalar, const char* refusal, OwnPadding padding)
{
    const OwnWalkImage images[2] = {{src, "(srcImage->tileInfo->tileData == 0)"},
                                    {dst, "(dstImage->tileInfo->tileData == 0)"}};
    ownRunMasked(report, images, 2, kernels, scalar, refusal, padding);
}
