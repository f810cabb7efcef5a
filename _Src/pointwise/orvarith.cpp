// Two-image arithmetic and logic.
//
//   orvAdd, orvSubtract, orvMultiply   saturating arithmetic
//   orvAnd, orvOr, orvXor              bit by bit
#include "../core/ownframe.h"
#include "kernels/ownarith.h"
#include "orv/pointwise.h"

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
    if (report.when(a->depth != d->depth, ORV_STATUS_BAD_ARG, "(srcImageA->depth != dstImage->depth)"))
        return;
    if (report.when(b->depth != d->depth, ORV_STATUS_BAD_ARG, "(srcImageB->depth != dstImage->depth)"))
        return;
    bool ordered = !(bitsHaveNoOrder && d->depth == ORV_DEPTH_1U);
    if (report.when(ordered && a->dataOrder != d->dataOrder, ORV_STATUS_BAD_ARG,
                    "(srcImageA->dataOrder != dstImage->dataOrder)"))
        return;
    if (report.when(ordered && b->dataOrder != d->dataOrder, ORV_STATUS_BAD_ARG,
                    "(srcImageB->dataOrder != dstImage->dataOrder)"))
        return;
    if (report.when(ownChannelCount(a) != ownChannelCount(d), ORV_STATUS_BAD_ARG, "(nChSrcA != nChDst)"))
        return;
    if (report.when(ownChannelCount(b) != ownChannelCount(d), ORV_STATUS_BAD_ARG, "(nChSrcB != nChDst)"))
        return;
    const OwnWalkImage images[3] = {{a, noTileA}, {b, noTileB}, {d, noTileDst}};
    ownRunMasked(report, images, 3, kernels, nullptr, "This function does not support depth 32F");
}

}  // namespace

void ORV_CALL orvAdd(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvAdd", source};
    if (report.when(!srcImageA, ORV_STATUS_BAD_ARG, "srcImageA==0"))
        return;
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
    if (report.when(!srcImageA, ORV_STATUS_BAD_ARG, "srcImageA==0"))
        return;
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
