// Operations of one image.
//
//   orvNot      inverts all bits
//   orvAbs      absolute values
//   orvSquare   squares
#include "../core/ownframe.h"
#include "kernels/ownscalar.h"
#include "orv/pointwise.h"
#include "ownpair.h"

namespace {

constexpr const char* source = "orvunary";

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
    if (ownGoodPair(report, srcImage, dstImage, true))
        ownRunPair(report, srcImage, dstImage, ownScalarKernels().square, nullptr);
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
        report.when(orvGetErrStatus() < 0, ORV_STATUS_BACKTRACE, "orvCopy is failed");
        return;
    }
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(srcImage->depth != dstImage->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth != dstImage->depth)"))
        return;
    if (report.when(srcImage->dataOrder != dstImage->dataOrder, ORV_STATUS_BAD_ARG,
                    "(srcImage->dataOrder != dstImage->dataOrder)"))
        return;
    bool chosen = hasChosenChannel(srcImage);
    if (report.when(chosen != hasChosenChannel(dstImage), ORV_STATUS_BAD_ARG, "(nChSrcCoi != nChDstCoi)"))
        return;
    if (report.when(!chosen && colourChannels(srcImage) != colourChannels(dstImage), ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels != dstImage->nChannels)"))
        return;
    ownRunPair(report, srcImage, dstImage, ownScalarKernels().absolute, nullptr, nullptr, OwnPadding::stays);
}
