// Compositing.
//
//   orvAlphaCompositeC   with constant alphas, or those of the sources' alpha channels
//   orvAlphaComposite    with alphas of the sources or of images of their own
#include "orv/pointwise.h"
#include "owncompos.h"

namespace {

constexpr const char* source = "orvcompos";

constexpr OwnCompositeTexts texts[3] = {OWN_COMPOSITE_TEXTS("dstImage"), OWN_COMPOSITE_TEXTS("srcImageA"),
                                        OWN_COMPOSITE_TEXTS("srcImageB")};
constexpr OwnCompositeTexts textsAlphaDst = OWN_COMPOSITE_TEXTS("alphaImageDst");

// The texts about a source beside the destination.
struct PairTexts {
    const char* depth;
    const char* dstNoRegion;  // the destination has a channel of interest, the source has no region
    const char* dstNoCoi;
    const char* sourceNoRegion;  // the other way round
    const char* sourceNoCoi;
    const char* counts;
};

#define OWN_PAIR_TEXTS(name)                                                                                  \
    {                                                                                                         \
        name "->depth != dstImage->depth", "dstImage->roi->coi > 0 && " name "->roi == 0",                    \
            "dstImage->roi->coi > 0 && " name "->roi->coi == 0", name "->roi->coi > 0 && dstImage->roi == 0", \
            name "->roi->coi > 0 && dstImage->roi->coi == 0",                                                 \
            "(" name "->nChannels - (" name                                                                   \
            "->alphaChannel != 0)) != (dstImage->nChannels - (dstImage->alphaChannel != 0))"                  \
    }

constexpr PairTexts pairs[3] = {{}, OWN_PAIR_TEXTS("srcImageA"), OWN_PAIR_TEXTS("srcImageB")};

bool checkCoi(const OwnReport& report, const OrvImage& src, const OrvImage& dst, const PairTexts& pair)
{
    const bool srcCoi = ownCoiOf(src) > 0, dstCoi = ownCoiOf(dst) > 0;
    if (report.when(dstCoi && !src.roi, ORV_STATUS_BAD_ARG, pair.dstNoRegion))
        return false;
    if (report.when(dstCoi && !srcCoi, ORV_STATUS_BAD_ARG, pair.dstNoCoi))
        return false;
    if (report.when(srcCoi && !dst.roi, ORV_STATUS_BAD_ARG, pair.sourceNoRegion))
        return false;
    return !report.when(srcCoi && !dstCoi, ORV_STATUS_BAD_ARG, pair.sourceNoCoi);
}

// The checks of both up to the alphas, on the destination and the two sources.
bool checkImages(const OwnReport& report, OrvImage* const* images, OwnSize& size)
{
    size = {INT32_MAX, INT32_MAX};
    for (int i = 0; i < 3; ++i)
        if (!ownCompositeImage(report, images[i], texts[i], size))
            return false;
    for (int i = 0; i < 3; ++i) {
        const int32_t alpha = images[i]->alphaChannel;
        if (report.when(alpha > 0 && ownCoiOf(*images[i]) == alpha, ORV_STATUS_BAD_ARG, texts[i].alphaAsked))
            return false;
    }
    const OrvImage& dst = *images[0];
    if (report.when(dst.depth != ORV_DEPTH_8U && dst.depth != ORV_DEPTH_16U, ORV_STATUS_BAD_ARG,
                    "dstImage->depth != 8 && dstImage->depth != 16"))
        return false;
    for (int i = 1; i < 3; ++i)
        if (report.when(images[i]->depth != dst.depth, ORV_STATUS_BAD_ARG, pairs[i].depth))
            return false;
    for (int i = 1; i < 3; ++i)
        if (!checkCoi(report, *images[i], dst, pairs[i]))
            return false;
    for (int i = 1; ownCoiOf(dst) == 0 && i < 3; ++i)
        if (report.when(ownColourCount(*images[i]) != ownColourCount(dst), ORV_STATUS_BAD_ARG, pairs[i].counts))
            return false;
    return true;
}

bool checkModes(const OwnReport& report, int32_t compositeType, int32_t premulAlpha, int32_t divideMode)
{
    if (report.when(compositeType < 0 || compositeType >= ownCompositeTypes, ORV_STATUS_BAD_ARG,
                    "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
                    "compositeType != 4 && compositeType != 5"))
        return false;
    if (report.when(premulAlpha != 0 && premulAlpha != 1, ORV_STATUS_BAD_ARG, "premulAlpha != 0 && premulAlpha != 1"))
        return false;
    return !report.when(divideMode != 0 && divideMode != 1, ORV_STATUS_BAD_ARG, "divideMode != 0 && divideMode != 1");
}

// A source's alpha: its constant, or its channel where that is negative or beyond the range; false if there is none.
bool chooseConstant(const OwnReport& report, OrvImage* const* images, int role, int32_t constant,
                    OwnCompositeAlpha& alpha)
{
    using Kind = OwnCompositeAlpha::Kind;
    const int32_t most = images[OWN_DST]->depth == ORV_DEPTH_8U ? 255 : 65535;
    const bool byChannel = constant < 0 || constant > most;
    const int32_t channel = images[role]->alphaChannel;
    if (report.when(byChannel && channel < 1, ORV_STATUS_BAD_ARG, texts[role].noAlpha))
        return false;
    alpha = {byChannel ? Kind::channel : Kind::constant, role, channel - 1, constant};
    return true;
}

bool checkAlphaImage(const OwnReport& report, OrvImage* image, const OrvImage& dst, const char* depthText,
                     OwnSize& size)
{
    return ownCompositeImage(report, image, {}, size) &&
           !report.when(image->depth != dst.depth, ORV_STATUS_BAD_ARG, depthText);
}

// An image's alpha channel, or its first if it has none.
OwnCompositeAlpha channelOf(const OrvImage& image, int role)
{
    return {OwnCompositeAlpha::Kind::channel, role, image.alphaChannel ? image.alphaChannel - 1 : 0, 0};
}

// The kernels of a type; `second`: there is a second alpha.
void chooseKernels(OwnComposite& call, int32_t type, bool premultiplied, bool divides, bool second)
{
    const bool is16 = call.images[OWN_DST]->depth == ORV_DEPTH_16U;
    const OwnCompositeKernels& kernels = ownCompositeTable().of[is16];
    const OwnPixelKernels& pixels = ownPixelTable().of[is16];
    call.whole = (divides ? pixels.divided : pixels.composite)[type][premultiplied];
    call.multiplies = !divides && !premultiplied;
    call.colour = divides ? kernels.divided[premultiplied ? 0 : 1][type] : kernels.colour[type];
    if (call.to.kind != OwnCompositeAlpha::Kind::none)
        call.alpha = (divides ? kernels.dividedAlpha : second ? kernels.alpha : kernels.alphaOfOne)[type];
}

}  // namespace

void ORV_CALL orvAlphaCompositeC(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage, int32_t compositeType,
                                 int32_t aA, int32_t aB, int32_t premulAlpha, int32_t divideMode)
{
    constexpr OwnReport report{"orvAlphaCompositeC", source};
    OwnComposite call = {report, {dstImage, srcImageA, srcImageB}, {}, {}};
    OwnSize size;
    if (!checkImages(report, call.images, size))
        return;
    if (!chooseConstant(report, call.images, OWN_A, aA, call.a) ||
        !chooseConstant(report, call.images, OWN_B, aB, call.b))
        return;
    if (!checkModes(report, compositeType, premulAlpha, divideMode))
        return;
    chooseKernels(call, compositeType, premulAlpha, divideMode, true);
    ownRunComposite(call, size, 3);
}

void ORV_CALL orvAlphaComposite(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage, int32_t compositeType,
                                OrvImage* alphaImageA, OrvImage* alphaImageB, OrvImage* alphaImageDst,
                                int32_t premulAlpha, int32_t divideMode)
{
    constexpr OwnReport report{"orvAlphaComposite", source};
    using Kind = OwnCompositeAlpha::Kind;
    OwnComposite call = {report, {dstImage, srcImageA, srcImageB, alphaImageA, alphaImageB, alphaImageDst}, {}, {}};
    OwnSize size;
    if (!checkImages(report, call.images, size))
        return;
    if (alphaImageA && !checkAlphaImage(report, alphaImageA, *dstImage, "alphaImageA->depth != dstImage->depth", size))
        return;
    if (report.when(!alphaImageA && srcImageA->alphaChannel < 1, ORV_STATUS_BAD_ARG, texts[OWN_A].noAlpha))
        return;
    if (alphaImageB && !checkAlphaImage(report, alphaImageB, *dstImage, "alphaImageB->depth != dstImage->depth", size))
        return;
    if (alphaImageDst &&
        !checkAlphaImage(report, alphaImageDst, *dstImage, "alphaImageDst->depth != dstImage->depth", size))
        return;
    if (report.when(alphaImageDst && alphaImageDst->alphaChannel < 1, ORV_STATUS_BAD_ARG, textsAlphaDst.noAlpha))
        return;
    if (!checkModes(report, compositeType, premulAlpha, divideMode))
        return;

    call.a = alphaImageA ? channelOf(*alphaImageA, OWN_ALPHA_A) : channelOf(*srcImageA, OWN_A);
    const bool ofB = !alphaImageA && srcImageB->alphaChannel > 0;
    call.b = alphaImageB ? channelOf(*alphaImageB, OWN_ALPHA_B)
             : ofB       ? channelOf(*srcImageB, OWN_B)
                         : OwnCompositeAlpha{Kind::complement};
    if (alphaImageDst)
        call.to = channelOf(*alphaImageDst, OWN_ALPHA_DST);
    else if (dstImage->alphaChannel > 0)
        call.to = channelOf(*dstImage, OWN_DST);
    chooseKernels(call, compositeType, premulAlpha, divideMode, call.b.kind != Kind::complement);
    ownRunComposite(call, size, 3);
}
