// Conversions between integer depths that keep the value.
//
//   orvConvert         cuts values to the range, also to one bit; changes data order and origin
//   orvBitonalToGray   gives bits two values
#include "../core/kernels/ownrows.h"
#include "../core/ownpairwalk.h"
#include "../core/ownpixels.h"
#include "kernels/ownconvert.h"
#include "orv/convert.h"

namespace {

constexpr const char* source = "orvconvert";

// One call, after its checks.
struct Conversion {
    bool flips = false;                 // the images' origins differ
    bool wholeBytes = false;            // rows of bits take along what follows the last pixel
    int32_t channel = 0;                // of the source, to 1U
    OwnDepthValue zero = {}, one = {};  // of bits
};

// All channels, alpha too.
OwnGeometry geometryOf(const OrvImage& image)
{
    OwnGeometry geometry;
    ownPlaneGeometry(image, geometry);
    geometry.channels = image.nChannels;
    return geometry;
}

// The rows from the last one up.
OwnGeometry flipped(OwnGeometry image)
{
    image.start += (image.height - 1) * image.rowStep;
    image.rowStep = -image.rowStep;
    return image;
}

void convertPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage*)
{
    const auto& conversion = *static_cast<const Conversion*>(task);
    const OwnDepthIndex from = ownDepthIndex(src.depth), to = ownDepthIndex(dst.depth);
    OwnGeometry images[2] = {geometryOf(src), geometryOf(dst)};
    if (conversion.flips)
        images[1] = flipped(images[1]);
    if (to == OWN_1U && from != OWN_1U) {
        const int bytes = ownValueBytes(src.depth);
        images[0].start = ownChannelStart(images[0], conversion.channel, bytes);
        images[0].channels = 1;
        ownProcessToBits({ownConvertKernels().bits[from], bytes, nullptr}, images, 2, nullptr);
        return;
    }
    OwnPixelOp op = {ownRowKernels().copy[from], ownValueBytes(src.depth), ownValueBytes(dst.depth), nullptr};
    if (from != to) {
        op.kernel = ownConvertKernels().saturate[from][to];
    } else if (from == OWN_1U && conversion.wholeBytes) {
        op = {ownRowKernels().copy[OWN_8U], 1, 1, nullptr};
        for (OwnGeometry& image : images)
            image.width = int32_t((int64_t{image.width} + 7) / 8);
    }
    ownProcessPixels(op, images, 2, nullptr);
}

void grayPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage*)
{
    constexpr int32_t most = 1024;  // pixels that pass through scratch at a time
    alignas(32) uint8_t scratch[most * 4];
    const auto& conversion = *static_cast<const Conversion*>(task);
    const OwnGeometry from = geometryOf(src), to = conversion.flips ? flipped(geometryOf(dst)) : geometryOf(dst);
    const int bytes = ownValueBytes(dst.depth), size = ownSizeIndex(bytes);
    const auto values = ownConvertKernels().values[size];
    for (int32_t y = 0; y < from.height; ++y) {
        const uint8_t* bits = from.start + y * from.rowStep;
        auto rowOf = [&](int32_t channel) { return ownChannelStart(to, channel, bytes) + y * to.rowStep; };
        if (to.pixelStep == 1) {
            for (int32_t channel = 0; channel < to.channels; ++channel)
                values(bits, from.bit, &conversion.zero, &conversion.one, rowOf(channel), from.width);
            continue;
        }
        for (int32_t x = 0, n; x < from.width; x += n) {
            n = ownMin(most, from.width - x);
            values(bits + (x >> 3), from.bit, &conversion.zero, &conversion.one, scratch, n);
            for (int32_t channel = 0; channel < to.channels; ++channel)
                ownRowKernels().scatter[size](scratch, rowOf(channel) + ptrdiff_t(x) * to.pixelStep * bytes,
                                              to.pixelStep, 1, n);
        }
    }
}

constexpr OwnPairFaults noTile = {ORV_STATUS_BAD_ARG, "(srcImage->tileInfo->tileData == NULL)",
                                  "(dstImage->tileInfo->tileData == NULL)"};

// The whole images.
void run(const OwnReport& report, OrvImage* src, OrvImage* dst, OwnPairPiece piece, Conversion conversion)
{
    conversion.flips = src->origin != dst->origin;
    conversion.wholeBytes = !dst->tileInfo;  // in tiles this is not the image's
    ownPairWalk(report, {.src = src, .dst = dst, .whole = true, .flips = conversion.flips}, noTile, piece, &conversion);
}

bool checkSizes(const OwnReport& report, const OrvImage& src, const OrvImage& dst)
{
    if (report.when(src.height != dst.height, ORV_STATUS_BAD_ARG, "(srcImage->height != dstImage->height)"))
        return false;
    return !report.when(src.width != dst.width, ORV_STATUS_BAD_ARG, "(srcImage->width != dstImage->width)");
}

// NULL if both values are in the range of the depth, otherwise the failed condition.
const char* rangeFault(uint32_t depth, int32_t ZeroScale, int32_t OneScale)
{
    switch (depth) {
    case ORV_DEPTH_8S:
        return ZeroScale > 127    ? "((dstImage->depth == (0x80000000| 8)) && (ZeroScale > 127))"
               : ZeroScale < -128 ? "((dstImage->depth == (0x80000000| 8)) && (ZeroScale < -128))"
               : OneScale > 127   ? "((dstImage->depth == (0x80000000| 8)) && (OneScale > 127))"
               : OneScale < -128  ? "((dstImage->depth == (0x80000000| 8)) && (OneScale < -128))"
                                  : nullptr;
    case ORV_DEPTH_8U:
        return ZeroScale > 255  ? "((dstImage->depth == 8) && (ZeroScale > 255))"
               : ZeroScale < 0  ? "((dstImage->depth == 8) && (ZeroScale < 0))"
               : OneScale > 255 ? "((dstImage->depth == 8) && (OneScale > 255))"
               : OneScale < 0   ? "((dstImage->depth == 8) && (OneScale < 0))"
                                : nullptr;
    case ORV_DEPTH_16S:
        return ZeroScale > 32767    ? "((dstImage->depth == (0x80000000|16)) && (ZeroScale > 32767))"
               : ZeroScale < -32768 ? "((dstImage->depth == (0x80000000|16)) && (ZeroScale < -32768))"
               : OneScale > 32767   ? "((dstImage->depth == (0x80000000|16)) && (OneScale > 32767))"
               : OneScale < -32768  ? "((dstImage->depth == (0x80000000|16)) && (OneScale < -32768))"
                                    : nullptr;
    case ORV_DEPTH_16U:
        return ZeroScale > 65535  ? "((dstImage->depth == 16) && (ZeroScale > 65535))"
               : ZeroScale < 0    ? "((dstImage->depth == 16) && (ZeroScale < 0))"
               : OneScale > 65535 ? "((dstImage->depth == 16) && (OneScale > 65535))"
               : OneScale < 0     ? "((dstImage->depth == 16) && (OneScale < 0))"
                                  : nullptr;
    default: return nullptr;
    }
}

}  // namespace

void ORV_CALL orvConvert(OrvImage* srcImage, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvConvert", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (srcImage == dstImage)
        return;
    if (report.when(srcImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(srcImage->depth == 32)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(dstImage->depth == 32)"))
        return;
    if (!checkSizes(report, *srcImage, *dstImage))
        return;
    Conversion conversion = {};
    if (dstImage->depth == ORV_DEPTH_1U && srcImage->depth != ORV_DEPTH_1U) {
        if (srcImage->nChannels > 1) {
            if (report.when(!srcImage->roi, ORV_STATUS_BAD_ARG, "(srcImage->roi == 0)"))
                return;
            if (report.when(srcImage->roi->coi == 0, ORV_STATUS_BAD_ARG, "(srcImage->roi->coi == 0)"))
                return;
            conversion.channel = srcImage->roi->coi - 1;
        }
    } else {
        if (report.when(srcImage->nChannels != dstImage->nChannels, ORV_STATUS_BAD_ARG,
                        "srcImage->nChannels != dstImage->nChannels"))
            return;
        if (report.when(srcImage->depth == ORV_DEPTH_1U && srcImage->depth != dstImage->depth, ORV_STATUS_BAD_ARG,
                        "((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))"))
            return;
    }
    run(report, srcImage, dstImage, convertPiece, conversion);
}

void ORV_CALL orvBitonalToGray(OrvImage* srcImage, OrvImage* dstImage, int32_t ZeroScale, int32_t OneScale)
{
    constexpr OwnReport report{"orvBitonalToGray", source};
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage) || !checkSizes(report, *srcImage, *dstImage))
        return;
    if (report.when(srcImage->nChannels != 1, ORV_STATUS_BAD_ARG, "(srcImage->nChannels != 1)"))
        return;
    if (report.when(srcImage->depth != ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(srcImage->depth != 1)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(dstImage->depth == 32)"))
        return;
    if (report.when(dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(dstImage->depth == 1)"))
        return;
    const char* fault = rangeFault(dstImage->depth, ZeroScale, OneScale);
    if (report.when(fault, ORV_STATUS_BAD_ARG, fault))
        return;
    run(report, srcImage, dstImage, grayPiece,
        {.zero = ownDepthValue(dstImage->depth, ZeroScale), .one = ownDepthValue(dstImage->depth, OneScale)});
}
