// The gallery's entries for colour models and colour twists.
#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "families.h"

namespace gallery {

namespace {

// ---- Models -------------------------------------------------------------------------------------------------------

using Conversion = void(ORV_CALL*)(OrvImage* src, OrvImage* dst);

Image colours(const Image& like)
{
    return Image(3, like->depth, like->width, like->height);
}

void setModel(const Image& image, const char* model)
{
    memcpy(image->colorModel, model, 4);
    memcpy(image->channelSeq, model, 4);
}

Image inModel(const Image& image, Conversion conversion)
{
    Image result = colours(image);
    conversion(image, result);
    return result;
}

// A channel of a model, and what the other channels are while it is shown.
struct Shown {
    const char* name;
    int others[3];
};

// Shows the channels of an image one by one as colours.
void showChannels(Stage& stage, const Image& image, Conversion back, const Shown (&channels)[3])
{
    for (int shown = 0; shown < 3; ++shown) {
        Image alone = image.clone();
        for (int y = 0; y < alone->height; ++y)
            for (int i = 0; i < alone->width * 3; ++i)
                if (i % 3 != shown)
                    alone.row<uint8_t>(y)[i] = uint8_t(channels[shown].others[i % 3]);
        stage.showAfter(channels[shown].name, inModel(alone, back));
    }
}

void toGray(Stage& stage)
{
    Image& src = stage.source("src", photo("coffee"));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 600, 400));
    CALL(orvColorToGray(src, dst));
}

void toBits(Stage& stage)
{
    Image& src = stage.source("src", photo("coffee"));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_1U, 600, 400));
    CALL(orvColorToGray(src, dst));
}

void toColour(Stage& stage)
{
    Image& src = stage.source("src", photo("camera"));
    Image& dst = stage.target("dst", Image(3, ORV_DEPTH_8U, 512, 512));
    CALL(orvGrayToColor(src, dst, 1.0f, 0.78f, 0.5f));
}

void toHsv(Stage& stage)
{
    Image& src = stage.source("src", photo("chelsea"));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvRGB2HSV(src, dst));
    showChannels(stage, dst, orvHSV2RGB,
                 {{"hue, saturated", {0, 255, 255}}, {"saturation of a red", {0, 0, 255}}, {"value", {0, 0, 0}}});
}

void fromHsv(Stage& stage)
{
    Image& rgb = stage.source("rgb", photo("chelsea"));
    Image& hsv = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb));
    CODE(orvRGB2HSV(rgb, hsv));
    CODE(hsv->roi = orvCreateROI(1, 0, 0, 451, 300));
    CODE(orvSet(hsv, 140));
    CODE(orvDeallocate(hsv, ORV_IMAGE_ROI));
    CALL(orvHSV2RGB(hsv, dst));
}

void toHls(Stage& stage)
{
    Image& src = stage.source("src", photo("chelsea"));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvRGB2HLS(src, dst));
    showChannels(stage, dst, orvHLS2RGB,
                 {{"hue, saturated", {0, 128, 255}}, {"lightness", {0, 0, 0}}, {"saturation of a red", {0, 128, 0}}});
}

void fromHls(Stage& stage)
{
    Image& rgb = stage.source("rgb", photo("coffee"));
    Image& hls = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb));
    CODE(orvRGB2HLS(rgb, hls));
    CODE(hls->roi = orvCreateROI(2, 0, 0, 600, 400));
    CODE(orvNot(hls, hls));
    CODE(orvDeallocate(hls, ORV_IMAGE_ROI));
    CALL(orvHLS2RGB(hls, dst));
}

void toXyz(Stage& stage)
{
    Image& src = stage.source("src", photo("chelsea"));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvRGB2XYZ(src, dst));
    const char* const names[] = {"X", "Y", "Z"};
    for (int i = 0; i < 3; ++i)
        stage.showAfter(names[i], channelOf(dst, i));
}

void fromXyz(Stage& stage)
{
    Image& rgb = stage.source("rgb", photo("chelsea"));
    Image& xyz = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb));
    CODE(orvRGB2XYZ(rgb, xyz));
    CODE(xyz->roi = orvCreateROI(3, 0, 0, 451, 300));
    CODE(orvRShiftS(xyz, xyz, 1));
    CODE(orvDeallocate(xyz, ORV_IMAGE_ROI));
    CALL(orvXYZ2RGB(xyz, dst));
}

void toLuv(Stage& stage)
{
    Image& src = stage.source("src", converted(photo("chelsea"), ORV_DEPTH_32F, 1 / 255.0), scaled(255));
    Image& dst = stage.watched("dst", colours(src));
    CALL(orvRGB2LUV(src, dst));
    stage.showAfter("L", channelOf(dst, 0), scaled(2.55));
    stage.showAfter("U", channelOf(dst, 1), scaled(1.5, 128));
    stage.showAfter("V", channelOf(dst, 2), scaled(1.5, 128));
}

void fromLuv(Stage& stage)
{
    Image& rgb = stage.source("rgb", converted(photo("coffee"), ORV_DEPTH_32F, 1 / 255.0), scaled(255));
    Image& luv = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb), scaled(255));
    CODE(orvRGB2LUV(rgb, luv));
    CODE(luv->roi = orvCreateROI(1, 0, 0, 600, 400));
    CODE(orvSetFP(luv, 70.0f));
    CODE(orvDeallocate(luv, ORV_IMAGE_ROI));
    CALL(orvLUV2RGB(luv, dst));
}

const Shown differences[3] = {
    {"Y", {0, 127, 127}}, {"blue difference", {128, 0, 127}}, {"red difference", {128, 127, 0}}};

void toYuv(Stage& stage)
{
    Image& src = stage.source("src", photo("coffee"));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvRGB2YUV(src, dst));
    showChannels(stage, dst, orvYUV2RGB, differences);
}

void toYuvPlanes(Stage& stage)
{
    Image& src = stage.source("src", photo("coffee"));
    Image& dst = stage.target("dst", Image(3, ORV_DEPTH_8U, 600, 400, ORV_DATA_ORDER_PLANE));
    CALL(orvRGB2YUV(src, dst));
}

void fromYuv(Stage& stage)
{
    Image& rgb = stage.source("rgb", photo("coffee"));
    Image& yuv = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb));
    CODE(orvRGB2YUV(rgb, yuv));
    CODE(yuv->roi = orvCreateROI(2, 0, 0, 600, 400));
    CODE(orvBlur(yuv, yuv, 9, 9, 4, 4));
    CODE(yuv->roi->coi = 3);
    CODE(orvBlur(yuv, yuv, 9, 9, 4, 4));
    CODE(orvDeallocate(yuv, ORV_IMAGE_ROI));
    CALL(orvYUV2RGB(yuv, dst));
}

void toYCrCb(Stage& stage)
{
    Image& src = stage.source("src", photo("astronaut"));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvRGB2YCrCb(src, dst));
    showChannels(stage, dst, orvYCrCb2RGB, differences);
}

void fromYCrCb(Stage& stage)
{
    Image& rgb = stage.source("rgb", photo("astronaut"));
    Image& ycrcb = stage.hidden(colours(rgb));
    Image& dst = stage.target("dst", colours(rgb));
    CODE(orvRGB2YCrCb(rgb, ycrcb));
    CODE(ycrcb->roi = orvCreateROI(1, 0, 0, 512, 512));
    CODE(orvBlur(ycrcb, ycrcb, 9, 9, 4, 4));
    CODE(orvDeallocate(ycrcb, ORV_IMAGE_ROI));
    CALL(orvYCrCb2RGB(ycrcb, dst));
}

// A photograph as such a disc holds it.
Image onDisc(const Image& rgb)
{
    Image image = colours(rgb);
    for (int y = 0; y < rgb->height; ++y)
        for (int x = 0; x < rgb->width; ++x) {
            const uint8_t* from = rgb.row<uint8_t>(y) + 3 * x;
            const double luma = (0.299 * from[0] + 0.587 * from[1] + 0.114 * from[2]) / 255;
            const double values[] = {luma * 255 / 1.402, 111.4 * (from[2] / 255.0 - luma) + 156,
                                     135.64 * (from[0] / 255.0 - luma) + 137};
            for (int c = 0; c < 3; ++c)
                image.row<uint8_t>(y)[3 * x + c] = uint8_t(std::clamp(std::nearbyint(values[c]), 0.0, 255.0));
        }
    setModel(image, "YCC");
    return image;
}

void fromYcc(Stage& stage)
{
    Image& src = stage.source("src", onDisc(photo("astronaut")));
    Image& dst = stage.target("dst", colours(src));
    CALL(orvYCC2RGB(src, dst));
}

// ---- Twists -------------------------------------------------------------------------------------------------------

// The numbers of a matrix, row by row, in 4096ths.
std::vector<int32_t> in4096ths(const double (&matrix)[3][3])
{
    std::vector<int32_t> data(16);
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            data[size_t(4 * row + column)] = int32_t(std::lround(matrix[row][column] * 4096));
    return data;
}

void sepia(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", colours(srcImage));
    const int32_t data[16] = {1610, 3150, 774, 0, 1430, 2810, 688, 0, 1114, 2187, 537, 0};
    OrvColorTwist* twist = nullptr;
    CODE(twist = orvCreateColorTwist(data, 12));
    CALL(orvApplyColorTwist(srcImage, dstImage, twist, 0));
    CODE(orvDeleteColorTwist(twist));
}

// Colours, `times` as far from their luminance.
void saturate(Stage& stage, double times)
{
    const double luminance[3] = {0.2126, 0.7152, 0.0722};
    double matrix[3][3];
    for (int row = 0; row < 3; ++row)
        for (int column = 0; column < 3; ++column)
            matrix[row][column] = (1 - times) * luminance[column] + (row == column ? times : 0);
    const std::vector<int32_t> numbers = in4096ths(matrix);
    const int32_t* data = numbers.data();
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", colours(srcImage));
    OrvColorTwist* twist = nullptr;
    CODE(twist = orvCreateColorTwist(data, 12));
    CALL(orvApplyColorTwist(srcImage, dstImage, twist, 0));
    CODE(orvDeleteColorTwist(twist));
}

void moreColour(Stage& stage)
{
    saturate(stage, 2.2);
}

void lessColour(Stage& stage)
{
    saturate(stage, 0.35);
}

// A turn about the axis of greys.
void turnHue(Stage& stage)
{
    const double angle = 2 * 3.14159265358979 / 3.6, c = std::cos(angle), s = std::sin(angle) / std::sqrt(3.0);
    const double same = c + (1 - c) / 3, next = (1 - c) / 3 - s, last = (1 - c) / 3 + s;
    const std::vector<int32_t> numbers = in4096ths({{same, next, last}, {last, same, next}, {next, last, same}});
    const int32_t* data = numbers.data();
    Image& mask = stage.source("mask", ellipse(451, 300, 225, 130, 190, 130));
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", photo("chelsea"));
    OrvColorTwist* twist = nullptr;
    CODE(dstImage->maskROI = mask);
    CODE(twist = orvCreateColorTwist(data, 12));
    CALL(orvApplyColorTwist(srcImage, dstImage, twist, 0));
    CODE(orvDeleteColorTwist(twist));
}

void raise(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("chelsea"));
    const int32_t data[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0};
    OrvColorTwist* half = nullptr;
    CODE(half = orvCreateColorTwist(data, 0));
    CODE(orvSetColorTwist(half, data, 1));
    CALL(orvApplyColorTwist(image, image, half, 128));
    CODE(orvDeleteColorTwist(half));
}

void twistFloats(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("coffee"), ORV_DEPTH_32F, 1 / 255.0), scaled(255));
    Image& dstImage = stage.target("dstImage", colours(srcImage), scaled(255));
    const float matrix[16] = {0, 0, 1, 0, 0, 1, 0, 0, -1, 0, 0, 1};
    CALL(orvColorTwistFP(srcImage, dstImage, matrix));
}

}  // namespace

const Family colourModels = {
    "Colour",
    "Colour models",
    "Pictures from one model into another and back. A picture in another model is shown as if its three channels were "
    "red, "
    "green and blue, and its channels one by one, each with fixed values for the two others.",
    {
        {"orvColorToGray", "Grey, of which green is the larger part.", toGray},
        {"orvColorToGray, to bits", "White where that is above the middle.", toBits},
        {"orvGrayToColor", "Each colour is the grey times a weight of its own.", toColour},
        {"orvRGB2HSV", "Hue, saturation and value.", toHsv},
        {"orvHSV2RGB", "All pixels with one hue, with their own saturation and value.", fromHsv},
        {"orvRGB2HLS", "Hue, lightness and saturation.", toHls},
        {"orvHLS2RGB", "Dark and light exchanged, hues as they were.", fromHls},
        {"orvRGB2XYZ", "The three sums from which the human eye tells colours.", toXyz},
        {"orvXYZ2RGB", "Half of Z taken away.", fromXyz},
        {"orvRGB2LUV", "Lightness, and two coordinates of colour in which distances are as large as they look.", toLuv},
        {"orvLUV2RGB", "All pixels with one lightness.", fromLuv},
        {"orvRGB2YUV", "Luminance and two differences from it.", toYuv},
        {"orvRGB2YUV, into planes", "The same into three planes.", toYuvPlanes},
        {"orvYUV2RGB", "The differences blurred: the eye hardly sees it.", fromYuv},
        {"orvRGB2YCrCb", "The same in the digital form.", toYCrCb},
        {"orvYCrCb2RGB", "The luminance blurred: the eye sees it at once.", fromYCrCb},
        {"orvYCC2RGB", "From the model of photographs on disc, which goes beyond white.", fromYcc},
    }};

const Family colourTwists = {
    "Colour",
    "Colour twists",
    "Every pixel times a matrix.",
    {
        {"orvApplyColorTwist", "Sepia: a weighted sum in three shades.", sepia},
        {"orvApplyColorTwist, more saturation", "Colours 2.2 times as far from grey.", moreColour},
        {"orvApplyColorTwist, less saturation", "Colours 0.35 times as far from grey.", lessColour},
        {"orvApplyColorTwist, under a mask", "Hues turned by 100 degrees about the axis of greys.", turnHue},
        {"orvApplyColorTwist, an offset", "Half of each value, and 128 added: a pale background, in place.", raise},
        {"orvColorTwistFP", "Red and blue exchanged, and what was red inverted.", twistFloats},
    }};

}  // namespace gallery
