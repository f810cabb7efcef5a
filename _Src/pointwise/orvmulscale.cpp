// Products of normalised values.
//
//   orvMultiplySScale     by a scalar
//   orvMultiplyScale      of two images
//   orvPreMultiplyAlpha   colours by alpha, in place
#include "orv/pointwise.h"
#include "owncompos.h"

namespace {

constexpr const char* source = "orvmulscale";

constexpr OwnCompositeTexts textsDst = OWN_COMPOSITE_TEXTS("dstImage");
constexpr OwnCompositeTexts textsImage = OWN_COMPOSITE_TEXTS("image");

// The texts about one source, by its name.
struct SourceTexts {
    OwnCompositeTexts image;
    const char* depth;
    const char* counts;     // neither image has a channel of interest
    const char* sourceCoi;  // only the source has
    const char* dstCoi;     // only the destination has
};

#define OWN_COUNT(name) "(" name "->nChannels - (" name "->alphaChannel != 0))"
#define OWN_SOURCE_TEXTS(name)                                                                                      \
    {                                                                                                               \
        OWN_COMPOSITE_TEXTS(name), name "->depth != dstImage->depth", OWN_COUNT(name) " != " OWN_COUNT("dstImage"), \
            OWN_COUNT("dstImage") " != (" name "->roi->coi > 0)", OWN_COUNT(name) " != (dstImage->roi->coi > 0)"    \
    }

constexpr SourceTexts textsOfOne = OWN_SOURCE_TEXTS("srcImage");
constexpr SourceTexts textsOfTwo[2] = {OWN_SOURCE_TEXTS("srcImageA"), OWN_SOURCE_TEXTS("srcImageB")};

int32_t fullScale(uint32_t depth)
{
    return depth == ORV_DEPTH_8U ? 255 : 65535;
}

bool isScaledDepth(uint32_t depth)
{
    return depth == ORV_DEPTH_8U || depth == ORV_DEPTH_16U;
}

// True if an image has more than an alpha channel, or that channel is asked for.
bool checkAlphaAlone(const OwnReport& report, const OrvImage& image, const OwnCompositeTexts& texts)
{
    bool isAlone = image.alphaChannel == 1;
    if (report.when(isAlone && !image.roi, ORV_STATUS_BAD_ARG, texts.alphaAlone))
        return false;
    return !report.when(isAlone && image.roi->coi != 1, ORV_STATUS_BAD_ARG, texts.alphaNotAsked);
}

bool checkCounts(const OwnReport& report, const OrvImage& src, const OrvImage& dst, const SourceTexts& texts)
{
    bool srcCoi = ownCoiOf(src) > 0, dstCoi = ownCoiOf(dst) > 0;
    if (report.when(!srcCoi && !dstCoi && ownColourCount(src) != ownColourCount(dst), ORV_STATUS_BAD_ARG, texts.counts))
        return false;
    if (report.when(srcCoi && !dstCoi && ownColourCount(dst) != 1, ORV_STATUS_BAD_ARG, texts.sourceCoi))
        return false;
    return !report.when(dstCoi && !srcCoi && ownColourCount(src) != 1, ORV_STATUS_BAD_ARG, texts.dstCoi);
}

// The checks of products: the destination's first, each source's after it.
bool checkProduct(const OwnReport& report, OrvImage* dst, OrvImage* const* sources, const SourceTexts* texts, int count,
                  OwnSize& size)
{
    size = {INT32_MAX, INT32_MAX};
    if (!ownCompositeImage(report, dst, textsDst, size))
        return false;
    for (int i = 0; i < count; ++i)
        if (!ownCompositeImage(report, sources[i], texts[i].image, size))
            return false;
    if (!checkAlphaAlone(report, *dst, textsDst))
        return false;
    for (int i = 0; i < count; ++i)
        if (!checkAlphaAlone(report, *sources[i], texts[i].image))
            return false;
    if (report.when(!isScaledDepth(dst->depth), ORV_STATUS_BAD_ARG, "dstImage->depth != 8 && dstImage->depth != 16"))
        return false;
    for (int i = 0; i < count; ++i)
        if (report.when(sources[i]->depth != dst->depth, ORV_STATUS_BAD_ARG, texts[i].depth))
            return false;
    for (int i = 0; i < count; ++i)
        if (!checkCounts(report, *sources[i], *dst, texts[i]))
            return false;
    return true;
}

}  // namespace

void ORV_CALL orvMultiplySScale(OrvImage* srcImage, OrvImage* dstImage, int32_t value)
{
    constexpr OwnReport report{"orvMultiplySScale", source};
    OwnSize size;
    if (!checkProduct(report, dstImage, &srcImage, &textsOfOne, 1, size))
        return;
    const uint32_t depth = dstImage->depth;
    const int32_t most = fullScale(depth), cut = ownMax(ownMin(value, most), 0);
    const uint8_t byte = uint8_t(cut);
    const uint16_t half = uint16_t(cut);
    OwnComposite call = {report, {dstImage, srcImage}, {}, {}};
    call.pixels = &ownCompositeTable().of[depth == ORV_DEPTH_16U].multiplyBy;
    call.scalar = depth == ORV_DEPTH_8U ? static_cast<const void*>(&byte) : &half;
    ownRunComposite(call, size, 2);
}

void ORV_CALL orvMultiplyScale(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage)
{
    constexpr OwnReport report{"orvMultiplyScale", source};
    OrvImage* const sources[2] = {srcImageA, srcImageB};
    OwnSize size;
    if (!checkProduct(report, dstImage, sources, textsOfTwo, 2, size))
        return;
    OwnComposite call = {report, {dstImage, srcImageA, srcImageB}, {}, {}};
    call.pixels = &ownCompositeTable().of[dstImage->depth == ORV_DEPTH_16U].multiply;
    ownRunComposite(call, size, 3);
}

void ORV_CALL orvPreMultiplyAlpha(OrvImage* image, int32_t alpha)
{
    constexpr OwnReport report{"orvPreMultiplyAlpha", source};
    using Kind = OwnCompositeAlpha::Kind;
    OwnSize size = {INT32_MAX, INT32_MAX};
    if (!ownCompositeImage(report, image, textsImage, size))
        return;
    if (report.when(!isScaledDepth(image->depth), ORV_STATUS_BAD_ARG, "image->depth != 8 && image->depth != 16"))
        return;
    if (report.when(image->alphaChannel > 0 && ownCoiOf(*image) == image->alphaChannel, ORV_STATUS_BAD_ARG,
                    textsImage.alphaAsked))
        return;
    // A constant beyond the range stands for the channel too.
    const bool byChannel = alpha < 0 || alpha > fullScale(image->depth);
    if (report.when(byChannel && image->alphaChannel < 1, ORV_STATUS_BAD_ARG, textsImage.noAlpha))
        return;
    OwnComposite call = {report, {image, image}, {}, {}};
    const int32_t channel = image->alphaChannel - 1;
    call.a = {byChannel ? Kind::channel : Kind::constant, OWN_A, channel, alpha};
    call.colour = ownCompositeTable().of[image->depth == ORV_DEPTH_16U].weighted;
    call.whole = ownPixelTable().of[image->depth == ORV_DEPTH_16U].weighted;
    if (!byChannel && image->alphaChannel)
        call.to = {Kind::constant, OWN_DST, channel, alpha};
    ownRunComposite(call, size, 1);
}
