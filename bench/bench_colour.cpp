// Colour: what a pixel costs in each model and depth.
#include <cstring>

#include "image.h"
#include "table.h"

namespace {

using namespace table;

constexpr int pixels = ORV_DATA_ORDER_PIXEL, planes = ORV_DATA_ORDER_PLANE;

// An image of a colour model. Without a name for it the image is grey.
struct ColourImage : Image {
    ColourImage(const Layout& layout, Slot slot, const char* model) : Image(layout, slot)
    {
        memcpy(header.colorModel, model, 4);
        memcpy(header.channelSeq, strcmp(model, "GRAY") == 0 ? "G\0\0" : model, 4);
    }
};

using Convert = void(ORV_CALL*)(OrvImage* src, OrvImage* dst);

struct Conversion {
    const char* name;
    Convert run;
    const char *from, *to;
    double copies;  // at 8U
    bool bytes, words, ints, floats;
};

constexpr Conversion conversions[] = {
    {"orvRGB2YUV", orvRGB2YUV, "RGB", "YUV", 22, true, true, true, true},
    {"orvYUV2RGB", orvYUV2RGB, "YUV", "RGB", 22, true, true, true, true},
    {"orvRGB2YCrCb", orvRGB2YCrCb, "RGB", "YCr", 22, true, true, true, true},
    {"orvYCrCb2RGB", orvYCrCb2RGB, "YCr", "RGB", 22, true, true, true, true},
    {"orvRGB2XYZ", orvRGB2XYZ, "RGB", "XYZ", 22, true, true, true, true},
    {"orvXYZ2RGB", orvXYZ2RGB, "XYZ", "RGB", 22, true, true, true, true},
    {"orvRGB2HSV", orvRGB2HSV, "RGB", "HSV", 45, true, true, true, false},
    {"orvHSV2RGB", orvHSV2RGB, "HSV", "RGB", 45, true, true, true, false},
    {"orvRGB2HLS", orvRGB2HLS, "RGB", "HLS", 45, true, true, true, false},
    {"orvHLS2RGB", orvHLS2RGB, "HLS", "RGB", 45, true, true, true, false},
    {"orvYCC2RGB", orvYCC2RGB, "YCC", "RGB", 40, true, false, false, false},
    {"orvRGB2LUV", orvRGB2LUV, "RGB", "LUV", 0, false, false, false, true},
    {"orvLUV2RGB", orvLUV2RGB, "LUV", "RGB", 0, false, false, false, true},
};

// A row with so many copies as its bound, 0 for none.
void addRow(const std::string& name, const Layout& from, const char* fromModel, const Layout& to, const char* toModel,
            double most, std::function<void(OrvImage* src, OrvImage* dst)> run)
{
    add({name + ", " + std::to_string(from.width),
         [=] {
             ColourImage src(from, slotA, fromModel), dst(to, slotD, toModel);
             run(src, dst);
         },
         copyRow(from.width), 1, most > 0 ? copies(most) : 0});
}

void addConversion(const Conversion& one, uint32_t depth, double times, int size)
{
    for (int order : {pixels, planes}) {
        if (order == planes && depth != ORV_DEPTH_8U)
            continue;
        Layout layout = {.depth = depth, .channels = 3, .order = order, .width = size};
        addRow(std::string(one.name) + ' ' + depthName(depth) + (order == planes ? " planes" : ""), layout, one.from,
               layout, one.to, one.copies * times, one.run);
    }
}

void addGray(int size)
{
    const Layout colour = {.channels = 3, .width = size}, gray = {.width = size};
    Layout bits = gray, alpha = colour;
    bits.depth = ORV_DEPTH_1U;
    alpha.channels = 4;
    addRow("orvColorToGray 8U", colour, "RGB", gray, "GRAY", 7, orvColorToGray);
    addRow("orvColorToGray 8U of 4 channels", alpha, "RGB", gray, "GRAY", 0, orvColorToGray);
    addRow("orvColorToGray 8U to 1U", colour, "RGB", bits, "GRAY", 0, orvColorToGray);
    addRow("orvGrayToColor 8U", gray, "GRAY", colour, "RGB", 0,
           [](OrvImage* src, OrvImage* dst) { orvGrayToColor(src, dst, 0.2f, 0.5f, 0.9f); });
}

// Matrices of sepia, with factors of 14 bits and of 20.
constexpr int32_t sepia[16] = {6439, 12599, 3097, 0, 5718, 11239, 2753, 0, 4456, 8749, 2146, 0, 0, 0, 0, 0};

void addTwists(int size)
{
    auto row = [=](const char* name, const Layout& layout, int bits, double most) {
        OrvColorTwist twist = {};
        for (int i = 0; i < 16; ++i)
            twist.data[i] = sepia[i] << (bits - 14);
        twist.scalingValue = bits;
        addRow(name, layout, "RGB", layout, "RGB", most,
               [=](OrvImage* src, OrvImage* dst) { orvApplyColorTwist(src, dst, &twist, 5); });
    };
    const Layout layout = {.channels = 3, .width = size};
    Layout four = layout, inPlanes = layout, words = layout, reals = inPlanes;
    four.channels = 4;
    inPlanes.order = reals.order = planes;
    words.depth = ORV_DEPTH_16U;
    reals.depth = ORV_DEPTH_32F;
    row("orvApplyColorTwist 8U", layout, 14, 30);
    row("orvApplyColorTwist 8U, wide factors", layout, 20, 30);
    row("orvApplyColorTwist 8U planes", inPlanes, 14, 30);
    row("orvApplyColorTwist 8U of 4 channels", four, 14, 0);
    row("orvApplyColorTwist 16U", words, 12, 0);
    row("orvApplyColorTwist 16U, wide factors", words, 20, 0);
    add({"orvColorTwistFP 32F planes, " + std::to_string(size),
         [=] {
             static float matrix[16];
             for (int i = 0; i < 16; ++i)
                 matrix[i] = float(sepia[i]) / 16384;
             Image src(reals, slotA), dst(reals, slotD);
             orvColorTwistFP(src, dst, matrix);
         },
         copyRow(size, ORV_DEPTH_32F, 3), 1, copies(1.5)});
}

const bool added = [] {
    for (int size : {512, 2048}) {
        addGray(size);
        addTwists(size);
        for (const Conversion& one : conversions) {
            if (one.bytes)
                addConversion(one, ORV_DEPTH_8U, 1, size);
            if (one.words)
                addConversion(one, ORV_DEPTH_16U, 2, size);
            if (one.floats)
                addConversion(one, ORV_DEPTH_32F, 4, size);
            if (one.ints)
                addConversion(one, ORV_DEPTH_32S, 0, size);
        }
        const Layout inPixels = {.channels = 3, .width = size};
        Layout inPlanes = inPixels;
        inPlanes.order = planes;
        addRow("orvRGB2YUV 8U to planes", inPixels, "RGB", inPlanes, "YUV", 22, orvRGB2YUV);
        addRow("orvYUV2RGB 8U from planes", inPlanes, "YUV", inPixels, "RGB", 22, orvYUV2RGB);
    }
    return true;
}();

}  // namespace
