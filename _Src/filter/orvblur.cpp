// What lies beyond the edges of an image, and the box filter.
//
//   orvSetBorderMode   sets the border modes and constants of an image's sides
//   orvBlur            the mean of a window
#include <cstring>

#include "../core/ownlines.h"
#include "../core/ownmask.h"
#include "../core/ownneighbour.h"
#include "../core/ownpixels.h"
#include "../core/ownreport.h"
#include "kernels/ownblur.h"
#include "orv/core.h"
#include "orv/filter.h"
#include "ownblurshort.h"

namespace {

constexpr const char* source = "orvblur";

int64_t largestMagnitude(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U: return 1;
    case ORV_DEPTH_8U: return 255;
    case ORV_DEPTH_8S: return 128;
    case ORV_DEPTH_16U: return 65535;
    default: return 32768;
    }
}

const OwnBlurKernel& kernelFor(uint32_t depth, const OwnBlurWindow& window)
{
    const OwnBlurKernels& kernels = ownBlurKernels();
    OwnDepthIndex index = ownDepthIndex(depth);
    bool wide = kernels.wide[index].band && window.samples() > INT32_MAX / largestMagnitude(depth);
    return wide ? kernels.wide[index] : kernels.narrow[index];
}

// One pass over a rectangle of plain memory, from the top down.
void blurPass(OwnLines& lines, const OwnBlurWindow& window, const OwnBlurKernel& kernel, OwnBlurBand& band)
{
    ptrdiff_t columns = lines.values(int64_t{lines.width()} + window.nCols - 1);
    memset(band.sums, 0, size_t(columns) * size_t(kernel.sumBytes));
    for (int32_t row = 0; row < window.nRows - 1; ++row)
        kernel.add(lines.source(row - window.anchorY, 0), band.sums, columns);
    for (int32_t y = 0; y < lines.height(); y += band.rows) {
        band.rows = ownMin(ownBlurRows, lines.height() - y);
        for (int i = 0; i < band.rows; ++i) {
            const int64_t first = int64_t{y} + i - window.anchorY;
            band.enter[i] = lines.source(first + window.nRows - 1, i);
            band.leave[i] = y + i > 0 ? lines.source(first - 1, ownBlurRows + i) : nullptr;
            band.result[i] = lines.target(y + i, i);
        }
        kernel.band(band);
        lines.store(y, band.rows);
    }
}

// Sums of columns for one pass over a piece.
int64_t sumsBytes(const OwnBlurKernel& kernel, const OwnBlurWindow& window, int32_t step, int32_t width)
{
    return (int64_t{width} + window.nCols - 1) * step * kernel.sumBytes;
}

// False if the narrowest piece would need more memory than there can be, which is better known before pixels are
// fetched.
bool fits(const OrvImage& src, const OrvImage& dst, const OwnBlurWindow& window)
{
    int32_t step = ownLineStep(src, dst);
    return sumsBytes(kernelFor(dst.depth, window), window, step, 1) <= INT32_MAX &&
           ownBlurKernels().scratchBytes(step, window.nCols) <= INT32_MAX;
}

bool blurPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnBlurWindow& window = *static_cast<const OwnBlurWindow*>(task);
    if (ownBlurIsShort(window, src, dst))
        return ownBlurShort(window, src, dst, mask);
    const OwnBlurKernel& kernel = kernelFor(dst.depth, window);
    OwnLines lines(src, dst, mask, window.reach(), 2 * ownBlurRows, ownBlurRows);
    OwnScratch<uint8_t> sums(sumsBytes(kernel, window, lines.step(), lines.width()));
    OwnScratch<uint8_t> scratch(ownBlurKernels().scratchBytes(lines.step(), window.nCols));
    if (!lines || !sums || !scratch)
        return false;
    OwnBlurBand band;
    band.values = lines.values(lines.width());
    band.step = lines.step();
    band.nCols = window.nCols;
    band.scale = window.scale();
    band.sums = sums.data;
    band.scratch = scratch.data;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        blurPass(lines, window, kernel, band);
    }
    return true;
}

void blur(const OwnReport& report, OrvImage* src, OrvImage* dst, OwnBlurWindow window)
{
    OwnMask mask;
    OwnMaskResult combined =
        ownCombineMasks(src->maskROI, src->maskROI == dst->maskROI ? nullptr : dst->maskROI, nullptr, mask);
    if (combined == OwnMaskResult::empty)
        return;
    bool done =
        combined != OwnMaskResult::noMemory && fits(*src, *dst, window) &&
        ownRunNeighbours({src, dst, mask.image, window.reach(), blurPiece, &window}) == OwnNeighbourResult::done;
    report.when(!done, ORV_STATUS_NO_MEMORY, "Allocation failure");
}

}  // namespace

void ORV_CALL orvSetBorderMode(OrvImage* image, int32_t mode, int32_t border, int32_t constVal)
{
    if (!image)
        return;
    int32_t value = ownClampToDepth(image->depth, constVal);
    for (int side = 0; side < 4; ++side)
        if (border & 1 << side) {
            image->borderMode[side] = mode;
            image->borderConst[side] = value;
        }
}

void ORV_CALL orvBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                      int32_t anchorY)
{
    constexpr OwnReport report{"orvBlur", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(srcImage->depth != dstImage->depth, ORV_STATUS_BAD_ARG, "(srcImage->depth!=dstImage->depth)"))
        return;
    if (report.when(nRows < 0 || nCols < 0, ORV_STATUS_BAD_ARG, "(nRows<0||nCols<0)"))
        return;
    if (report.when(anchorX < 0 || anchorY < 0, ORV_STATUS_BAD_ARG, "(anchorX<0||anchorY<0)"))
        return;
    if (report.when(anchorX >= nCols || anchorY >= nRows, ORV_STATUS_BAD_ARG, "(anchorX>=nCols||anchorY>=nRows)"))
        return;
    if (report.when(!ownHasChannels(*dstImage), ORV_STATUS_BAD_ALPHA_CHANNEL, "bad alpha channel's number"))
        return;
    if (report.when(!ownHasChannels(*srcImage), ORV_STATUS_BAD_ALPHA_CHANNEL, "bad alpha channel's number"))
        return;
    if (report.when(ownChannels(*srcImage).count != ownChannels(*dstImage).count, ORV_STATUS_BAD_CHANNELS,
                    "bad channel's number"))
        return;
    if (nCols == 1 && nRows == 1)
        orvCopy(srcImage, dstImage);
    else
        blur(report, srcImage, dstImage, {nCols, nRows, anchorX, anchorY});
}
