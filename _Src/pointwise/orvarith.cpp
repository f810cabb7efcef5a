// Two-image arithmetic and logic.
//
//   orvAdd, orvSubtract, orvMultiply   saturating arithmetic
//   orvAnd, orvOr, orvXor              bit by bit
#include "../core/ownframe.h"
#include "orv/pointwise.h"
#include "ownarith.h"

namespace {

constexpr const char* source = "orvarith";

constexpr const char* noTileA = "(srcImageA->tileInfo->tileData == 0)";
constexpr const char* noTileB = "(srcImageB->tileInfo->tileData == 0)";
constexpr const char* noTileDst = "(dstImage->tileInfo->tileData == 0)";

// The checks and the run of all six. `bitsHaveNoOrder`: the data order of 1U images is not looked at.
void runTwoImages(const OwnReport& report, OrvImage* a, OrvImage* b, OrvImage* d, const OwnDepthKernels& kernels,
                  bool bitsHaveNoOrder)
{
    if (!report.goodImage(a) || !report.goodImage(b) || !report.goodImage(d))
        return;
    if (a->depth != d->depth)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImageA->depth != dstImage->depth)");
    if (b->depth != d->depth)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImageB->depth != dstImage->depth)");
    bool ordered = !(bitsHaveNoOrder && d->depth == ORV_DEPTH_1U);
    if (ordered && a->dataOrder != d->dataOrder)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImageA->dataOrder != dstImage->dataOrder)");
    if (ordered && b->dataOrder != d->dataOrder)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImageB->dataOrder != dstImage->dataOrder)");
    if (ownChannelCount(a) != ownChannelCount(d))
        return (void)report(ORV_STATUS_BAD_ARG, "(nChSrcA != nChDst)");
    if (ownChannelCount(b) != ownChannelCount(d))
        return (void)report(ORV_STATUS_BAD_ARG, "(nChSrcB != nChDst)");
    const OwnWalkImage images[3] = {{a, noTileA}, {b, noTileB}, {d, noTileDst}};
    ownRunMasked(report, images, 3, kernels, nullptr, "This function does not support depth 32F");
}

}  // namespace

void ORV_CALL orvAdd(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvAdd", source};
    if (!srcImageA)
        return (void)report(ORV_STATUS_BAD_ARG, "srcImageA==0");
    if (srcImageA->depth == ORV_DEPTH_1U)
        return orvOr(srcImageA, srcImageB, dstImage);
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().add, false);
}

void ORV_CALL orvSubtract(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvSubtract", source};
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().subtract, true);
}

void ORV_CALL orvMultiply(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvMultiply", source};
    if (!srcImageA)
        return (void)report(ORV_STATUS_BAD_ARG, "srcImageA==0");
    if (srcImageA->depth == ORV_DEPTH_1U)
        return orvAnd(srcImageA, srcImageB, dstImage);
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().multiply, false);
}

void ORV_CALL orvAnd(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvAnd", source};
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().bitAnd, true);
}

void ORV_CALL orvOr(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvOr", source};
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().bitOr, true);
}

void ORV_CALL orvXor(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvXor", source};
    runTwoImages(report, srcImageA, srcImageB, dstImage, ownArithKernels().bitXor, true);
}
