// Conversions between colour models.
//
//   orvColorToGray, orvGrayToColor   grey
//   orvRGB2HSV, orvHSV2RGB           hue, saturation, value
//   orvRGB2HLS, orvHLS2RGB           hue, lightness, saturation
//   orvRGB2XYZ, orvXYZ2RGB           CIE X, Y, Z
//   orvRGB2LUV, orvLUV2RGB           CIE L, u, v
//   orvRGB2YUV, orvYUV2RGB           luminance and colour differences
//   orvRGB2YCrCb, orvYCrCb2RGB       the same in digital form
//   orvYCC2RGB                       the model of photographs on disc
#include <cstdio>
#include <cstring>

#include "../core/ownlayout.h"
#include "../core/ownpairwalk.h"
#include "kernels/owngray.h"
#include "kernels/ownmodels.h"
#include "orv/colour.h"
#include "ownthree.h"

namespace {

constexpr const char* source = "orvcolor";

constexpr const char* pairMessage =
    "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || (src->dataOrder != "
    "dst->dataOrder) || (src->origin != dst->origin)";
constexpr const char* noRegions = "src & dst roi must be NULL";

constexpr const char* depthsToFloat = "Error input depth. 32F, 32S ,16U,8U are valid now";
constexpr const char* depthsTo32S = "Error input depth. 32S,16U,8U are valid now";
constexpr const char* depth32F = "Error input depth. 32F is valid now";
constexpr const char* depth8U = "Error input depth. 8U is valid now";

// ---- Models and sequences -----------------------------------------------------------------------------------------

// A text that quotes four characters of a header, and before them what is expected there; made only where it is needed.
struct Text {
    char text[64];

    Text(bool isNeeded, const char* format, const char* field, const char* other = "")
    {
        if (isNeeded)
            snprintf(text, sizeof text, format, field, other);
    }
};

bool begins(const char (&field)[4], const char* name)
{
    return memcmp(field, name, 3) == 0;
}

bool isRgb(const OwnReport& report, const OrvImage& image, int32_t line = __builtin_LINE())
{
    const bool otherModel = !begins(image.colorModel, "RGB");
    if (report.when(otherModel, ORV_STATUS_BAD_ARG,
                    Text(otherModel, "colorModel must be RGB instead of %.4s ", image.colorModel).text, line))
        return false;
    const bool otherSequence = !begins(image.channelSeq, "RGB") && !begins(image.channelSeq, "BGR");
    return !report.when(otherSequence, ORV_STATUS_BAD_ARG,
                        Text(otherSequence, "channelSeq must be RGB or BGR instead of %.4s ", image.channelSeq).text,
                        line);
}

bool isGray(const OwnReport& report, const OrvImage& image, int32_t line = __builtin_LINE())
{
    const bool otherModel = !begins(image.colorModel, "Gray") && !begins(image.colorModel, "GRAY");
    if (report.when(otherModel, ORV_STATUS_BAD_ARG,
                    Text(otherModel, "colorModel must be GRAY instead of %.4s ", image.colorModel).text, line))
        return false;
    const bool otherSequence = image.channelSeq[0] != 'G';
    return !report.when(otherSequence, ORV_STATUS_BAD_ARG,
                        Text(otherSequence, "channelSeq must be G instead of %.4s ", image.channelSeq).text, line);
}

bool isModel(const OwnReport& report, const OrvImage& image, const char* name, int32_t line = __builtin_LINE())
{
    const bool otherModel = !begins(image.colorModel, name);
    if (report.when(otherModel, ORV_STATUS_BAD_ARG,
                    Text(otherModel, "src-> colorModel must be %.4s instead of %.4s", name, image.colorModel).text,
                    line))
        return false;
    const bool otherSequence = !begins(image.channelSeq, name);
    return !report.when(
        otherSequence, ORV_STATUS_BAD_ARG,
        Text(otherSequence, "src-> channelSeq must be %.4s instead of %.4s", name, image.channelSeq).text, line);
}

bool areAlike(const OrvImage& src, const OrvImage& dst)
{
    return src.nChannels >= 3 && dst.nChannels == 3 && src.depth == dst.depth && src.dataOrder == dst.dataOrder &&
           src.origin == dst.origin;
}

// From pixels into planes or from planes into pixels, of 8U.
bool changesLayout(const OrvImage& pixels, const OrvImage& planes)
{
    return pixels.dataOrder == ORV_DATA_ORDER_PIXEL && pixels.nChannels == 3 &&
           planes.dataOrder == ORV_DATA_ORDER_PLANE && planes.nChannels >= 3 && pixels.depth == ORV_DEPTH_8U;
}

void setModel(OrvImage& image, const char* name)
{
    memcpy(image.colorModel, name, 4);
    memcpy(image.channelSeq, name, 4);
}

OwnTripleSide oneValue(const OrvImage& image)
{
    return {1, ownValueBytes(image.depth)};
}

// Three channels in the order of their model.
OwnTripleSide threeValues(const OrvImage& image)
{
    return {3, ownValueBytes(image.depth)};
}

OwnTripleSide reversed(OwnTripleSide side)
{
    side.order[0] = 2;
    side.order[2] = 0;
    return side;
}

// R, G and B. Planes are found by their letters; a plane whose letter is missing stands where it stands in "RGB".
OwnTripleSide rgbValues(const OrvImage& image)
{
    OwnTripleSide side = threeValues(image);
    if (image.dataOrder == ORV_DATA_ORDER_PIXEL)
        return image.channelSeq[0] == 'R' ? side : reversed(side);
    for (int i = 0; i < 3; ++i)
        if (auto* place = static_cast<const char*>(memchr(image.channelSeq, "RGB"[i], 3)))
            side.order[i] = int32_t(place - image.channelSeq);
    return side;
}

// ---- The run ------------------------------------------------------------------------------------------------------

void convertPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage*)
{
    OwnGeometry from, to;
    ownPlaneGeometry(src, from);
    ownPlaneGeometry(dst, to);
    ownRunTriples(*static_cast<const OwnTripleOp*>(task), from, to, nullptr);
}

// The whole images, as far as both reach.
void walk(const OwnReport& report, OrvImage* src, OrvImage* dst, OwnPairPiece piece, void* task)
{
    ownPairWalk(report, {.src = src, .dst = dst, .whole = true},
                {ORV_STATUS_ERROR, "Error get tile to read", "Error get tile to write"}, piece, task);
}

void convert(const OwnReport& report, OrvImage* src, OrvImage* dst, OwnTripleOp op)
{
    walk(report, src, dst, convertPiece, &op);
}

// Pixels of 8U that need not be brought apart.
struct GrayPixels {
    OwnGrayPixels run;
    bool isBgr;
};

void grayPiece(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage*)
{
    const auto& gray = *static_cast<const GrayPixels*>(task);
    OwnGeometry from, to;
    ownPlaneGeometry(src, from);
    ownPlaneGeometry(dst, to);
    for (int32_t y = 0; y < from.height; ++y)
        gray.run(from.start + y * from.rowStep, from.pixelStep, gray.isBgr, to.start + y * to.rowStep, from.width);
}

// A conversion between RGB and another model: its name in headers, the name under which it refuses a depth, and its
// steps.
struct Conversion {
    const char* model;
    const char* dispatcher;
    OwnTripleStep OwnModels::*steps;
    const char* depths;  // the text of the refusal

    // NULL after a report.
    OwnTripleStep step(uint32_t depth, int32_t line = __builtin_LINE()) const
    {
        OwnTripleStep step = nullptr;
        switch (depth) {
        case ORV_DEPTH_8U: step = ownModels8U().*steps; break;
        case ORV_DEPTH_16U: step = ownModels16U().*steps; break;
        case ORV_DEPTH_32S: step = ownModels32S().*steps; break;
        case ORV_DEPTH_32F: step = ownModels32F().*steps; break;
        default: break;
        }
        OwnReport{dispatcher, source}.when(!step, ORV_STATUS_BAD_ARG, depths, line);
        return step;
    }
};

void fromRgb(const OwnReport& report, OrvImage* src, OrvImage* dst, const Conversion& conversion)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !isRgb(report, *src))
        return;
    if (report.when(src->roi || dst->roi, ORV_STATUS_BAD_ARG, noRegions))
        return;
    if (report.when(!areAlike(*src, *dst), ORV_STATUS_BAD_ARG, pairMessage))
        return;
    setModel(*dst, conversion.model);
    if (OwnTripleStep step = conversion.step(src->depth))
        convert(report, src, dst, {step, rgbValues(*src), threeValues(*dst)});
}

void toRgb(const OwnReport& report, OrvImage* src, OrvImage* dst, const Conversion& conversion)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !isRgb(report, *dst) ||
        !isModel(report, *src, conversion.model))
        return;
    if (report.when(src->roi || dst->roi, ORV_STATUS_BAD_ARG, noRegions))
        return;
    if (report.when(!areAlike(*src, *dst), ORV_STATUS_BAD_ARG, pairMessage))
        return;
    if (OwnTripleStep step = conversion.step(src->depth))
        convert(report, src, dst, {step, threeValues(*src), rgbValues(*dst)});
}

// ---- Grey ---------------------------------------------------------------------------------------------------------

// The low bits of a number toward zero; those of what is no number, or has none so low, are 0.
uint32_t lowBits(double number)
{
    return __builtin_fabs(number) < 0x1p63 ? uint32_t(int64_t(number)) : 0;
}

bool areZero(const OwnGrayWeights& w)
{
    return ((w.weights[0] | w.weights[1] | w.weights[2]) & 0xFFFF) == 0;
}

// Weights in fixed point; all three 0 stand for those of the eye.
OwnGrayWeights grayWeights(uint32_t depth, float r, float g, float b)
{
    auto scaled = [=](double one, int shift) {
        return OwnGrayWeights{{lowBits(one * r), lowBits(one * g), lowBits(one * b)}, shift};
    };
    if (depth == ORV_DEPTH_32S) {
        const OwnGrayWeights weights = scaled(32768, 15);
        return areZero(weights) ? OwnGrayWeights{{6968, 23434, 2364}, 15} : weights;
    }
    OwnGrayWeights weights = depth == ORV_DEPTH_16U ? scaled(32768, 15) : scaled(256, 8);
    if (areZero(weights))
        return depth == ORV_DEPTH_16U ? OwnGrayWeights{{109, 366, 37}, 9} : OwnGrayWeights{{54, 183, 18}, 8};
    for (uint32_t& weight : weights.weights)
        weight &= 0xFFFF;
    return weights;
}

}  // namespace

void ORV_CALL orvColorToGray(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvColorToGray", source}, dispatcher{"ownColorToGray", source};
    if (!report.goodImage(src) || !report.goodImage(dst) || !isRgb(report, *src) || !isGray(report, *dst))
        return;
    if (report.when(dst->dataOrder == ORV_DATA_ORDER_PIXEL && dst->nChannels != 1, ORV_STATUS_BAD_ARG,
                    "(dst-> dataOrder == ORV_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)"))
        return;
    if (report.when(src->origin != dst->origin, ORV_STATUS_BAD_ARG, "src->origin != dst->origin"))
        return;
    OwnTripleStep step = ownGraySteps().toGray[ownDepthIndex(src->depth)][ownDepthIndex(dst->depth)];
    if (dispatcher.when(!step, ORV_STATUS_BAD_ARG, "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now"))
        return;
    if (report.when(src->nChannels < 3, ORV_STATUS_BAD_ARG, pairMessage))
        return;
    GrayPixels gray = {ownGraySteps().pixelsToGray, src->channelSeq[0] == 'B'};
    const bool areBytes = src->depth == ORV_DEPTH_8U && dst->depth == ORV_DEPTH_8U;
    if (gray.run && areBytes && src->dataOrder == ORV_DATA_ORDER_PIXEL && src->nChannels <= 4)
        walk(report, src, dst, grayPiece, &gray);
    else
        convert(report, src, dst, {step, rgbValues(*src), oneValue(*dst)});
}

void ORV_CALL orvGrayToColor(OrvImage* src, OrvImage* dst, float weightR, float weightG, float weightB)
{
    constexpr OwnReport report{"orvGrayToColor", source}, dispatcher{"ownGrayToColor", source};
    if (!report.goodImage(src) || !report.goodImage(dst) || !isRgb(report, *dst) || !isGray(report, *src))
        return;
    if (report.when(src->depth != dst->depth && src->depth != ORV_DEPTH_1U, ORV_STATUS_BAD_ARG,
                    "src-> depth != dst-> depth && src-> depth != 1U"))
        return;
    if (report.when(src->depth != dst->depth && dst->depth != ORV_DEPTH_8U, ORV_STATUS_BAD_ARG,
                    "src-> depth == dst-> depth && dst-> depth != 8U"))
        return;
    if (report.when(src->dataOrder == ORV_DATA_ORDER_PIXEL && dst->dataOrder == ORV_DATA_ORDER_PLANE,
                    ORV_STATUS_BAD_ARG,
                    "(src->dataOrder==ORV_DATA_ORDER_PIXEL) && (dst->dataOrder == ORV_DATA_ORDER_PLANE) is not "
                    "supported"))
        return;
    if (report.when(src->dataOrder == ORV_DATA_ORDER_PIXEL && src->nChannels != 1, ORV_STATUS_BAD_ARG,
                    "(src-> dataOrder == ORV_DATA_ORDER_PIXEL) && (src-> nChannels != 1)"))
        return;
    if (report.when(src->origin != dst->origin, ORV_STATUS_BAD_ARG, "(src->origin != dst->origin)"))
        return;
    OwnTripleStep step = dst->depth == ORV_DEPTH_1U ? nullptr : ownGraySteps().toColour[ownDepthIndex(src->depth)];
    if (dispatcher.when(!step, ORV_STATUS_BAD_ARG, depthsTo32S))
        return;
    if (report.when(dst->nChannels < 3, ORV_STATUS_BAD_ARG, pairMessage))
        return;
    const OwnGrayWeights weights = grayWeights(dst->depth, weightR, weightG, weightB);
    convert(report, src, dst, {step, oneValue(*src), rgbValues(*dst), &weights});
}

void ORV_CALL orvRGB2HSV(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2HSV", source};
    fromRgb(report, src, dst, {"HSV", "ownRGB2HSV", &OwnModels::rgb2hsv, depthsTo32S});
}

void ORV_CALL orvHSV2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvHSV2RGB", source};
    toRgb(report, src, dst, {"HSV", "ownHSV2RGB", &OwnModels::hsv2rgb, depthsTo32S});
}

void ORV_CALL orvRGB2HLS(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2HLS", source};
    fromRgb(report, src, dst, {"HLS", "ownRGB2HLS", &OwnModels::rgb2hls, depthsTo32S});
}

void ORV_CALL orvHLS2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvHLS2RGB", source};
    toRgb(report, src, dst, {"HLS", "ownHLS2RGB", &OwnModels::hls2rgb, depthsTo32S});
}

void ORV_CALL orvRGB2XYZ(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2XYZ", source};
    fromRgb(report, src, dst, {"XYZ", "ownRGB2XYZ", &OwnModels::rgb2xyz, depthsToFloat});
}

void ORV_CALL orvXYZ2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvXYZ2RGB", source};
    toRgb(report, src, dst, {"XYZ", "ownXYZ2RGB", &OwnModels::xyz2rgb, depthsToFloat});
}

void ORV_CALL orvRGB2LUV(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2LUV", source};
    fromRgb(report, src, dst, {"LUV", "ownRGB2LUV", &OwnModels::rgb2luv, depth32F});
}

void ORV_CALL orvLUV2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvLUV2RGB", source};
    toRgb(report, src, dst, {"LUV", "ownLUV2RGB", &OwnModels::luv2rgb, depth32F});
}

void ORV_CALL orvRGB2YUV(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2YUV", source};
    if (!report.goodImage(src) || !report.goodImage(dst) || !isRgb(report, *src))
        return;
    if (report.when(src->roi || dst->roi, ORV_STATUS_BAD_ARG, noRegions))
        return;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "src1->depth != src2->depth"))
        return;
    const bool intoPlanes = changesLayout(*src, *dst);
    if (report.when(!areAlike(*src, *dst) && !intoPlanes, ORV_STATUS_BAD_ARG, pairMessage))
        return;
    setModel(*dst, "YUV");
    constexpr Conversion alike = {"YUV", "ownRGB2YUV", &OwnModels::rgb2yuv, depthsToFloat};
    constexpr Conversion toPlanes = {"YUV", "ownRGB2YUV", &OwnModels::rgb2yuvPlanes, depthsToFloat};
    if (OwnTripleStep step = (intoPlanes ? toPlanes : alike).step(src->depth))
        convert(report, src, dst, {step, rgbValues(*src), threeValues(*dst)});
}

void ORV_CALL orvYUV2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvYUV2RGB", source};
    if (!report.goodImage(src) || !report.goodImage(dst) || !isModel(report, *src, "YUV"))
        return;
    if (report.when(src->roi || dst->roi, ORV_STATUS_BAD_ARG, noRegions))
        return;
    if (report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "src1->depth != src2->depth"))
        return;
    const bool fromPlanes = changesLayout(*dst, *src);
    if (report.when(!areAlike(*src, *dst) && !fromPlanes, ORV_STATUS_BAD_ARG, pairMessage))
        return;
    constexpr Conversion alike = {"YUV", "ownYUV2RGB", &OwnModels::yuv2rgb, depthsToFloat};
    constexpr Conversion ofPlanes = {"YUV", "ownYUV2RGB", &OwnModels::yuvPlanes2rgb, depthsToFloat};
    OwnTripleStep step = (fromPlanes ? ofPlanes : alike).step(src->depth);
    if (!step)
        return;
    // The destination may have any sequence: between planes and pixels it is R, G, B unless it begins with B.
    OwnTripleSide to = rgbValues(*dst);
    if (fromPlanes)
        to = dst->channelSeq[0] == 'B' ? reversed(threeValues(*dst)) : threeValues(*dst);
    convert(report, src, dst, {step, threeValues(*src), to});
}

void ORV_CALL orvRGB2YCrCb(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvRGB2YCrCb", source};
    fromRgb(report, src, dst, {"YCr", "ownRGB2YCrCb", &OwnModels::rgb2ycrcb, depthsToFloat});
}

void ORV_CALL orvYCrCb2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvYCrCb2RGB", source};
    toRgb(report, src, dst, {"YCr", "ownYCrCb2RGB", &OwnModels::ycrcb2rgb, depthsToFloat});
}

void ORV_CALL orvYCC2RGB(OrvImage* src, OrvImage* dst)
{
    constexpr OwnReport report{"orvYCC2RGB", source};
    toRgb(report, src, dst, {"YCC", "ownYCC2RGB", &OwnModels::ycc2rgb, depth8U});
}
