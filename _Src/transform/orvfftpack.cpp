// Packed spectra.
//
//   orvMpyRCPack2D   the product of two packed spectra, element by element
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "kernels/ownfft.h"
#include "orv/transform.h"

namespace {

constexpr const char* source = "orvfftpack";

bool goodDepths(const OwnReport& report, const OrvImage& srcA, const OrvImage& srcB, const OrvImage& dst)
{
    if (report.when(srcA.depth == ORV_DEPTH_8U || srcA.depth == ORV_DEPTH_1U || srcB.depth == ORV_DEPTH_8U ||
                        srcB.depth == ORV_DEPTH_16U || srcB.depth == ORV_DEPTH_1U,
                    ORV_STATUS_BAD_DEPTH, "srcA->depth || srcB->depth == 8U||16U||1U"))
        return false;
    if (report.when(srcA.depth != srcB.depth, ORV_STATUS_BAD_ARG, "(srcA->depth != srcB->depth)"))
        return false;
    if (report.when(srcA.depth != dst.depth, ORV_STATUS_BAD_ARG, "(srcA->depth != dst->depth)"))
        return false;
    return true;
}

bool goodSizes(const OwnReport& report, const OwnGeometry& srcA, const OwnGeometry& srcB, const OwnGeometry& dst)
{
    if (report.when(srcA.width != srcB.width, ORV_STATUS_BAD_ARG, "(width_srcA != width_srcB)"))
        return false;
    if (report.when(srcA.height != srcB.height, ORV_STATUS_BAD_ARG, "(height_srcA != height_srcB)"))
        return false;
    if (report.when(srcA.width != dst.width, ORV_STATUS_BAD_ARG, "(width_srcA != width_dst)"))
        return false;
    if (report.when(srcA.height != dst.height, ORV_STATUS_BAD_ARG, "(height_srcA != height_dst)"))
        return false;
    return true;
}

// One channel of an image, whose values have `bytes` bytes.
struct Channel {
    OwnGeometry image;
    ptrdiff_t bytes;

    // The spectrum's values from row r and column x on: pairs along the row, or along the column.
    OwnFftOperand alongRow(ptrdiff_t r, ptrdiff_t x) const { return operand(r, x, image.pixelStep * bytes); }
    OwnFftOperand alongColumn(ptrdiff_t r, ptrdiff_t x) const { return operand(r, x, image.rowStep); }

private:
    OwnFftOperand operand(ptrdiff_t r, ptrdiff_t x, ptrdiff_t step) const
    {
        return {image.start + r * image.rowStep + x * image.pixelStep * bytes, step, 2 * step};
    }
};

Channel channelOf(const OwnGeometry& image, int bytes, int32_t channel)
{
    Channel one = {image, bytes};
    one.image.start = ownChannelStart(image, channel, bytes);
    return one;
}

// A packed column: a real value, pairs, and for even heights another real value.
void multiplyColumn(const OwnFftProducts& products, const Channel (&channels)[3], ptrdiff_t x, int32_t height)
{
    auto run = [&](OwnFftProducts::Product product, ptrdiff_t r, ptrdiff_t count) {
        product(channels[0].alongColumn(r, x), channels[1].alongColumn(r, x), channels[2].alongColumn(r, x), count);
    };
    run(products.real, 0, 1);
    run(products.complex, 1, (height - 1) / 2);
    if (height % 2 == 0)
        run(products.real, ptrdiff_t{height} - 1, 1);
}

void multiplyChannel(const OwnFftProducts& products, const Channel (&channels)[3], int32_t width, int32_t height)
{
    multiplyColumn(products, channels, 0, height);
    for (ptrdiff_t r = 0; r < height; ++r)
        products.complex(channels[0].alongRow(r, 1), channels[1].alongRow(r, 1), channels[2].alongRow(r, 1),
                         (width - 1) / 2);
    if (width % 2 == 0)
        multiplyColumn(products, channels, ptrdiff_t{width} - 1, height);
}

}  // namespace

void ORV_CALL orvMpyRCPack2D(OrvImage* srcA, OrvImage* srcB, OrvImage* dst)
{
    constexpr OwnReport report{"orvMpyRCPack2D", source};
    if (!report.goodImage(srcA) || !report.goodImage(srcB) || !report.goodImage(dst))
        return;
    if (report.when(!srcA->imageData, ORV_STATUS_BAD_ARG, "srcA->imageData == 0"))
        return;
    if (report.when(!srcB->imageData, ORV_STATUS_BAD_ARG, "srcB->imageData == 0"))
        return;
    if (report.when(!dst->imageData, ORV_STATUS_BAD_ARG, "dst->imageData == 0"))
        return;
    if (!goodDepths(report, *srcA, *srcB, *dst))
        return;
    OwnGeometry a, b, d;
    ownPlaneGeometry(*srcA, a);
    ownPlaneGeometry(*srcB, b);
    ownPlaneGeometry(*dst, d);
    if (!goodSizes(report, a, b, d))
        return;
    // A good header's COI and alpha channel are channels of the image.
    if (report.when(a.channels != b.channels || a.channels != d.channels, ORV_STATUS_BAD_CHANNELS, ""))
        return;
    if (a.width < 1 || a.height < 1)
        return;
    const OwnFftProducts& products = ownFftKernels().products[ownDepthIndex(srcA->depth)];
    int bytes = ownValueBytes(srcA->depth);
    for (int32_t channel = 0; channel < a.channels; ++channel)
        multiplyChannel(products,
                        {channelOf(a, bytes, channel), channelOf(b, bytes, channel), channelOf(d, bytes, channel)},
                        a.width, a.height);
}
