// Separable convolution.
//
//   orvConvolveSep2D, ...FP   convolves an image with a row kernel, a column kernel, or both
#include <type_traits>

#include "../core/ownlines.h"
#include "../core/ownmask.h"
#include "../core/ownreport.h"
#include "owncsep2.h"

namespace {

constexpr const char* source = "orvCSep2";

bool goodImages(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    constexpr int32_t mostChannels = 32;
    if (report.when(src.depth != dst.depth, ORV_STATUS_BAD_ARG, "SRC and DST depth are different"))
        return false;
    if (report.when(src.dataOrder != dst.dataOrder, ORV_STATUS_BAD_ARG, "SRC and DST order are different"))
        return false;
    if (report.when(src.origin != dst.origin, ORV_STATUS_BAD_ARG, "SRC and DST orign are different"))
        return false;
    if (report.when(src.dataOrder == ORV_DATA_ORDER_PIXEL && src.nChannels > mostChannels, ORV_STATUS_BAD_ARG,
                    "SRC: too many channels per plane (limit 32)"))
        return false;
    if (report.when(src.nChannels != dst.nChannels, ORV_STATUS_BAD_ARG, "SRC and DST number of channels are different"))
        return false;
    if (report.when(src.alphaChannel != dst.alphaChannel, ORV_STATUS_BAD_ARG,
                    "SRC and DST Alpha channels are different"))
        return false;
    if (report.when(ownChannels(src).count != ownChannels(dst).count, ORV_STATUS_BAD_ARG,
                    "SRC and DST number of processing channels are different"))
        return false;
    return true;
}

// True if a kernel is none, or has its values along one direction and its anchor inside.
template <class Kernel>
bool goodKernel(const OwnReport& report, const Kernel* kernel, bool isRow)
{
    if (!kernel)
        return true;
    int32_t along = isRow ? kernel->nCols : kernel->nRows, across = isRow ? kernel->nRows : kernel->nCols;
    if (report.when(!kernel->values, ORV_STATUS_BAD_ARG, "NULL kernel values"))
        return false;
    if (report.when(along < 2 || across != 1, ORV_STATUS_BAD_ARG, "Invalid kernal size"))
        return false;
    if (report.when(ownBadKernel(*kernel), ORV_STATUS_BAD_ARG, "Invalid kernrl anchor"))
        return false;
    return true;
}

// True if everything was done; what was not lacked memory or a tile.
template <class Kernel>
bool convolve(OrvImage* src, OrvImage* dst, const Kernel* xKernel, const Kernel* yKernel)
{
    OwnMask mask;
    OrvImage* second = src->maskROI == dst->maskROI ? nullptr : dst->maskROI;
    OwnMaskResult combined = ownCombineMasks(src->maskROI, second, nullptr, mask);
    if (combined == OwnMaskResult::empty || !ownHasChannels(*src))
        return true;
    if (combined == OwnMaskResult::noMemory)
        return false;
    OwnConvWindow x = {}, y = {};
    if (xKernel)
        x = OwnConvWindow(*xKernel);
    if (yKernel)
        y = OwnConvWindow(*yKernel);
    OwnSepPlan plan(xKernel ? &x : nullptr, yKernel ? &y : nullptr, src->depth);
    return plan && ownRunNeighbours({src, dst, mask.image, plan.reach, ownConvolveSeparably, &plan}) ==
                       OwnNeighbourResult::done;
}

template <class Kernel>
int32_t checkAndConvolve(const OwnReport& report, OrvImage* src, OrvImage* dst, const Kernel* xKernel,
                         const Kernel* yKernel, const char* refusal)
{
    orvSetErrStatus(ORV_STATUS_OK);
    if (!report.goodImage(src) || !report.goodImage(dst))
        return ORV_STATUS_BAD_ARG;
    if (report.when(src == dst, ORV_STATUS_BAD_ARG, "Unsupported in-place mode"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(!xKernel && !yKernel, ORV_STATUS_BAD_ARG, "Kernel pointers are NULL"))
        return ORV_STATUS_BAD_ARG;
    if (!goodImages(report, *src, *dst))
        return ORV_STATUS_BAD_ARG;
    if (!goodKernel(report, xKernel, true) || !goodKernel(report, yKernel, false))
        return ORV_STATUS_BAD_ARG;
    constexpr bool takesFloats = std::is_same_v<Kernel, OrvConvKernelFP>;
    if (report.when((src->depth == ORV_DEPTH_32F) != takesFloats, ORV_STATUS_BAD_ARG, refusal))
        return ORV_STATUS_BAD_ARG;
    if (!convolve(src, dst, xKernel, yKernel))
        orvSetErrStatus(ORV_STATUS_NO_MEMORY);
    // A tile provider may have stored a status, too; a report handler may clear it.
    const int32_t status = orvGetErrStatus();
    report.when(status < 0, ORV_STATUS_BACKTRACE, "Not enough memory");
    return status;
}

}  // namespace

int32_t ORV_CALL orvConvolveSep2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel* xKernel,
                                  OrvConvKernel* yKernel)
{
    return checkAndConvolve({"orvConvolveSep2D", source}, srcImage, dstImage, xKernel, yKernel,
                            "orvConvolveSep2D does not support ORV_DEPTH_32F.\nCall orvConvolveSep2DFP instead");
}

int32_t ORV_CALL orvConvolveSep2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP* xKernel,
                                    OrvConvKernelFP* yKernel)
{
    return checkAndConvolve({"orvConvolveSep2DFP", source}, srcImage, dstImage, xKernel, yKernel,
                            "orvConvolveSep2DFP does support ORV_DEPTH_32F only.\nCall orvConvolveSep2D instead");
}
