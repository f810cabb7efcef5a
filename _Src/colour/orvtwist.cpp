// The colour twist: the first three channels times a matrix.
//
//   orvCreateColorTwist, orvSetColorTwist, orvDeleteColorTwist   the matrix of whole numbers
//   orvApplyColorTwist                                           for 8U and 16U
//   orvColorTwistFP                                              for 32F, by a matrix of floats
#include <cstring>

#include "../core/ownmask.h"
#include "../core/ownpairwalk.h"
#include "kernels/owntwist.h"
#include "orv/colour.h"
#include "ownthree.h"

namespace {

constexpr const char* source = "orvtwist";

void setTwist(OrvColorTwist& twist, const int32_t* data, int32_t scalingValue)
{
    memmove(twist.data, data, sizeof twist.data);
    twist.scalingValue = scalingValue;
}

// Three channels besides alpha, which header checks know to be the last.
bool hasColours(const OrvImage& image)
{
    return image.alphaChannel == 0 || image.nChannels >= 4;
}

bool checkChannels(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    if (report.when(src.nChannels < 3, ORV_STATUS_BAD_ARG, "(srcImage->nChannels < 3)"))
        return false;
    if (report.when(!hasColours(src), ORV_STATUS_BAD_ARG,
                    "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))"))
        return false;
    if (report.when(dst.nChannels < 3, ORV_STATUS_BAD_ARG, "(dstImage->nChannels < 3)"))
        return false;
    return !report.when(!hasColours(dst), ORV_STATUS_BAD_ARG,
                        "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))");
}

bool checkLayouts(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    if (report.when(src.dataOrder != dst.dataOrder, ORV_STATUS_BAD_ARG, "(srcImage->dataOrder != dstImage->dataOrder)"))
        return false;
    return !report.when(src.origin != dst.origin, ORV_STATUS_BAD_ARG, "(srcImage->origin != dstImage->origin)");
}

void twistPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    OwnGeometry from, to, under;
    ownPlaneGeometry(src, from);
    ownPlaneGeometry(dst, to);
    if (mask)
        under = ownMaskStart(*mask);
    ownRunTriples(*static_cast<const OwnTripleOp*>(task), from, to, mask ? &under : nullptr);
}

// The run of both forms, after their checks.
void twist(const OwnReport& report, OrvImage* src, OrvImage* dst, OwnTripleStep step, const void* scalar)
{
    OwnTempImage both;
    OrvImage* mask = src->maskROI ? src->maskROI : dst->maskROI;
    if (src->maskROI && dst->maskROI) {
        if (!ownAndMasks(report, src->maskROI, dst->maskROI, both))
            return;
        mask = both.image;
    }
    const OwnTripleSide side = {3, ownValueBytes(src->depth)};
    OwnTripleOp op = {step, side, side, scalar};
    ownPairWalk(
        report, {.src = src, .dst = dst, .mask = mask},
        {ORV_STATUS_BAD_ARG, "(srcImage->tileInfo->tileData == NULL)", "(dstImage->tileInfo->tileData == NULL)"},
        twistPiece, &op);
}

// The narrowest step in which no sum of a row of the matrix can be wrong.
OwnTripleStep stepFor(const OwnTwist& twist, uint32_t depth)
{
    const OwnTwistKernels& kernels = ownTwistKernels();
    const int index = depth == ORV_DEPTH_16U;
    bool words = true;
    for (int row = 0; row < 3; ++row) {
        // The extremes lie in corners of the colour cube.
        const int32_t* m = twist.matrix + 4 * row;
        int64_t least = m[3], most = m[3];
        for (int i = 0; i < 3; ++i) {
            (m[i] < 0 ? least : most) += m[i] * ownHighest(depth);
            words = words && m[i] == int16_t(m[i]);
        }
        if (least < INT32_MIN || most > INT32_MAX)
            return kernels.any[index];
    }
    return words ? kernels.words[index] : kernels.whole[index];
}

}  // namespace

OrvColorTwist* ORV_CALL orvCreateColorTwist(const int32_t* data, int32_t scalingValue)
{
    constexpr OwnReport report{"orvCreateColorTwist", source};
    if (report.when(!data || scalingValue < 0 || scalingValue > 31, ORV_STATUS_BAD_ARG, "bad_argument"))
        return nullptr;
    auto* twist = static_cast<OrvColorTwist*>(orvMalloc(int32_t{sizeof(OrvColorTwist)}));
    if (report.when(!twist, ORV_STATUS_NO_MEMORY, "matrix_is_not_allocated"))
        return nullptr;
    setTwist(*twist, data, scalingValue);
    return twist;
}

void ORV_CALL orvSetColorTwist(OrvColorTwist* cTwist, const int32_t* data, int32_t scalingValue)
{
    constexpr OwnReport report{"orvSetColorTwist", source};
    if (report.when(!cTwist, ORV_STATUS_BAD_ARG, "cTwist==0"))
        return;
    if (report.when(!data, ORV_STATUS_BAD_ARG, "(data == 0)"))
        return;
    if (report.when(scalingValue < 0, ORV_STATUS_BAD_ARG, "(scalingValue < 0)"))
        return;
    if (report.when(scalingValue > 31, ORV_STATUS_BAD_ARG, "(scalingValue > 31)"))
        return;
    setTwist(*cTwist, data, scalingValue);
}

void ORV_CALL orvDeleteColorTwist(OrvColorTwist* cTwist)
{
    orvFree(cTwist);
}

void ORV_CALL orvApplyColorTwist(OrvImage* srcImage, OrvImage* dstImage, const OrvColorTwist* cTwist, int32_t offset)
{
    constexpr OwnReport report{"orvApplyColorTwist", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(!cTwist, ORV_STATUS_BAD_ARG, "cTwist==0"))
        return;
    if (!checkChannels(report, *srcImage, *dstImage))
        return;
    if (report.when(srcImage->depth != dstImage->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth != dstImage->depth)"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_8U && srcImage->depth != ORV_DEPTH_16U, ORV_STATUS_BAD_ARG,
                    "((srcImage->depth != 8) && (srcImage->depth != 16))"))
        return;
    if (!checkLayouts(report, *srcImage, *dstImage))
        return;
    if (report.when(srcImage->maskROI && srcImage->origin != srcImage->maskROI->origin, ORV_STATUS_BAD_ARG,
                    "(srcImage->origin != srcImage->maskROI->origin)"))
        return;
    if (report.when(dstImage->maskROI && dstImage->origin != dstImage->maskROI->origin, ORV_STATUS_BAD_ARG,
                    "(dstImage->origin != dstImage->maskROI->origin)"))
        return;
    // Offsets of the whole range make everything white or black.
    const auto top = int32_t(ownHighest(srcImage->depth));
    OwnTwist matrix;
    memcpy(matrix.matrix, cTwist->data, sizeof matrix.matrix);
    matrix.shift = cTwist->scalingValue & 31;
    matrix.offset = ownMax(-top, ownMin(offset, top));
    twist(report, srcImage, dstImage, stepFor(matrix, srcImage->depth), &matrix);
}

void ORV_CALL orvColorTwistFP(OrvImage* srcImage, OrvImage* dstImage, const float* TwistFP)
{
    constexpr OwnReport report{"orvColorTwistFP", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(!TwistFP, ORV_STATUS_BAD_ARG, "(TwistFP == 0)"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_32F || dstImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "((srcImage->depth != 32)|| (dstImage->depth != 32))"))
        return;
    if (!checkLayouts(report, *srcImage, *dstImage))
        return;
    if (!checkChannels(report, *srcImage, *dstImage))
        return;
    twist(report, srcImage, dstImage, ownTwistKernels().real, TwistFP);
}
