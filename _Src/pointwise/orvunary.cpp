// Operations of one image.
//
//   orvNot      inverts all bits
//   orvAbs      absolute values
//   orvSquare   squares
#include "../core/ownframe.h"
#include "orv/pointwise.h"
#include "ownscalar.h"

namespace {

constexpr const char* source = "orvunary";

constexpr const char* noTileSrc = "(srcImage->tileInfo->tileData == 0)";
constexpr const char* noTileDst = "(dstImage->tileInfo->tileData == 0)";

// Here an image of one channel has no channel of interest, whatever its region says.
bool hasChosenChannel(const OrvImage* image)
{
    return image->roi && image->roi->coi > 0 && image->nChannels > 1;
}

int32_t colourChannels(const OrvImage* image)
{
    return image->nChannels - (image->alphaChannel != 0);
}

}  // namespace

void ORV_CALL orvNot(OrvImage* srcImage, OrvImage* dstImage)
{
    orvXorS(srcImage, dstImage, -1);
}

void ORV_CALL orvSquare(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvSquare", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (srcImage->depth != dstImage->depth)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImage->depth != dstImage->depth)");
    if (srcImage->depth != ORV_DEPTH_1U && srcImage->dataOrder != dstImage->dataOrder)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImage->dataOrder != dstImage->dataOrder)");
    if (ownChannelCount(srcImage) != ownChannelCount(dstImage))
        return (void)report(ORV_STATUS_BAD_ARG, "(nChSrc != nChDst)");
    const OwnWalkImage images[2] = {{srcImage, noTileSrc}, {dstImage, noTileDst}};
    ownRunMasked(report, images, 2, ownScalarKernels().square, nullptr);
}

void ORV_CALL orvAbs(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvAbs", source};
    if (!srcImage)
        report(ORV_STATUS_BAD_ARG, "srcImage==0");
    if (!dstImage)
        report(ORV_STATUS_BAD_ARG, "dstImage==0");
    // A report handler may have cleared the status of a NULL; there is still nothing to work on.
    if (orvGetErrStatus() < 0 || !srcImage || !dstImage)
        return;
    if (dstImage->depth == ORV_DEPTH_1U || dstImage->depth == ORV_DEPTH_8U || dstImage->depth == ORV_DEPTH_16U) {
        orvCopy(srcImage, dstImage);
        if (orvGetErrStatus() < 0)
            report(ORV_STATUS_BACKTRACE, "orvCopy is failed");
        return;
    }
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (srcImage->depth != dstImage->depth)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImage->depth != dstImage->depth)");
    if (srcImage->dataOrder != dstImage->dataOrder)
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImage->dataOrder != dstImage->dataOrder)");
    bool chosen = hasChosenChannel(srcImage);
    if (chosen != hasChosenChannel(dstImage))
        return (void)report(ORV_STATUS_BAD_ARG, "(nChSrcCoi != nChDstCoi)");
    if (!chosen && colourChannels(srcImage) != colourChannels(dstImage))
        return (void)report(ORV_STATUS_BAD_ARG, "(srcImage->nChannels != dstImage->nChannels)");
    const OwnWalkImage images[2] = {{srcImage, noTileSrc}, {dstImage, noTileDst}};
    ownRunMasked(report, images, 2, ownScalarKernels().absolute, nullptr, nullptr, OwnPadding::stays);
}
