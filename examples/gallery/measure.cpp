// The gallery's entries for measures, and for contrast by histograms.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <vector>

#include "families.h"

namespace gallery {

namespace {

// A table of `intervals` intervals of equal width over the values of 8 bits.
struct Table {
    std::vector<int32_t> keys, values, factors;
    OrvLUT record;
    OrvLUT* lut[3] = {&record, &record, &record};

    explicit Table(int intervals)
        : keys(size_t(intervals) + 1),
          values(keys.size()),
          factors(keys.size()),
          record{intervals + 1, keys.data(), values.data(), factors.data(), 0}
    {
        for (int i = 0; i <= intervals; ++i)
            keys[size_t(i)] = i * 256 / intervals;
    }
};

// The same as a program without the gallery writes it.
std::string tableOf(int intervals)
{
    std::string keys = std::to_string(intervals + 1), width = std::to_string(256 / intervals);
    return "int32_t keys[" + keys + "], values[" + keys + "], factors[" + keys +
           "];\n"
           "    for (int32_t i = 0; i < " +
           keys + "; ++i)\n        keys[i] = i * " + width +
           ";\n"
           "    OrvLUT table = {" +
           keys +
           ", keys, values, factors, 0};\n"
           "    OrvLUT* lut[] = {&table, &table, &table};";
}

// The counts of a table as bars.
Image chart(const Table& table)
{
    constexpr int height = 160, barWidth = 2;
    int bars = table.record.num - 1;
    Image image(1, ORV_DEPTH_8U, bars * barWidth, height);
    orvSet(image, 255);
    int32_t most = *std::max_element(table.values.begin(), table.values.end() - 1);
    for (int i = 0; i < bars; ++i) {
        int top = height - int(int64_t{table.values[size_t(i)]} * (height - 8) / std::max(most, 1));
        for (int y = top; y < height; ++y)
            std::fill_n(image.row<uint8_t>(y) + i * barWidth, barWidth, uint8_t(60));
    }
    return image;
}

Image histogramOf(const Image& image)
{
    Table table(256);
    orvComputeHisto(image, table.lut);
    return chart(table);
}

// A photograph that uses but a part of the range.
Image faded()
{
    return converted(photo("camera"), ORV_DEPTH_8U, 0.4, 80);
}

void computeHisto(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coins"));
    Image& drawn = stage.watched("histogram", Image(1, ORV_DEPTH_8U, 512, 160));
    Table table(256);
    OrvLUT** lut = table.lut;
    stage.given(tableOf(256));
    CALL(orvComputeHisto(srcImage, lut));
    drawn = chart(table);
    stage.showAfter("lut->value as bars", drawn);
}

void computeHistoChannel(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& drawn = stage.watched("histogram", Image(1, ORV_DEPTH_8U, 64, 160));
    Image& mask = stage.source("mask", ellipse(600, 400, 310, 200, 120, 110));
    Table table(32);
    OrvLUT** lut = table.lut;
    stage.given(tableOf(32));
    CODE(srcImage->maskROI = mask);
    CODE(srcImage->roi = orvCreateROI(1, 0, 0, 600, 400));
    CALL(orvComputeHisto(srcImage, lut));
    drawn = chart(table);
    stage.showAfter("lut->value as bars", drawn);
}

void contrastStretch(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", faded());
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    int32_t key[] = {80, 183}, value[] = {0, 0}, factor[] = {2, 0};
    OrvLUT table = {2, key, value, factor, 1};
    OrvLUT* lut[] = {&table};
    CALL(orvContrastStretch(srcImage, dstImage, lut));
    stage.showBefore("histogram of srcImage", histogramOf(srcImage));
    stage.showAfter("histogram of dstImage", histogramOf(dstImage));
}

void posterise(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    int32_t key[] = {0, 64, 128, 192, 256}, value[] = {0, 85, 170, 255, 0};
    OrvLUT table = {5, key, value, nullptr, 0};
    OrvLUT* lut[] = {&table, &table, &table};
    CALL(orvContrastStretch(srcImage, dstImage, lut));
}

void histoEqualize(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", faded());
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    Table table(256);
    OrvLUT** lut = table.lut;
    stage.given(tableOf(256));
    CODE(orvComputeHisto(srcImage, lut));
    CALL(orvHistoEqualize(srcImage, dstImage, lut));
    stage.showBefore("histogram of srcImage", histogramOf(srcImage));
    stage.showAfter("histogram of dstImage", histogramOf(dstImage));
}

void note(Stage& stage, const char* what, double value)
{
    char text[96];
    snprintf(text, sizeof text, "%s: %.6g", what, value);
    stage.note(text);
}

void norm(Stage& stage)
{
    Image blurred(1, ORV_DEPTH_8U, 512, 512), difference(1, ORV_DEPTH_8U, 512, 512);
    orvBlur(photo("camera"), blurred, 9, 9, 4, 4);
    Image& srcImageA = stage.source("srcImageA", photo("camera"));
    Image& srcImageB = stage.source("srcImageB", std::move(blurred));
    double greatest = 0, mean = 0, relative = 0;
    CALL(greatest = orvNorm(srcImageA, srcImageB, ORV_NORM_C));
    CALL(mean = orvNorm(srcImageA, srcImageB, ORV_NORM_L1) / (512 * 512));
    CALL(relative = orvNorm(srcImageA, srcImageB, ORV_NORM_RELATIVE_L2));
    note(stage, "the greatest difference", greatest);
    note(stage, "the mean difference", mean);
    note(stage, "the energy of the difference by that of srcImageB", relative);
    orvSubtract(srcImageA, srcImageB, difference);
    stage.showAfter("what is measured: the difference, brighter", difference, scaled(4));
}

void minMax(Stage& stage)
{
    Image& srcImage =
        stage.source("srcImage", converted(photo("clock_motion"), ORV_DEPTH_32F, 0.004, -0.3), scaled(128, 128));
    float min = 0, max = 0;
    CALL(orvMinMaxFP(srcImage, &min, &max));
    note(stage, "min", min);
    note(stage, "max", max);
    stage.showAfter("stretched from min to max", srcImage, scaled(255 / (max - min), -255 * min / (max - min)));
}

// The bits of a silhouette.
Image horse()
{
    Image bits(1, ORV_DEPTH_1U, 400, 328), inverse(1, ORV_DEPTH_1U, 400, 328);
    orvThreshold(channelOf(photo("horse"), 0), bits, 128);
    orvNot(bits, inverse);
    return inverse;
}

// An outline with the centre, axes and orientation of the moments.
Image axes(const Image& bits, double x, double y, double angle, double longer, double shorter)
{
    Image drawn(1, ORV_DEPTH_8U, bits->width, bits->height);
    for (int row = 0; row < bits->height; ++row)
        for (int column = 0; column < bits->width; ++column) {
            double u = (column - x) * std::cos(angle) + (row - y) * std::sin(angle);
            double v = (row - y) * std::cos(angle) - (column - x) * std::sin(angle);
            double radius = std::hypot(u / longer, v / shorter);
            bool line = std::abs(radius - 1) < 0.02 || (radius < 1 && (std::abs(u) < 1 || std::abs(v) < 1));
            drawn.row<uint8_t>(row)[column] = line                                                          ? 255
                                              : valueAt(*static_cast<OrvImage*>(bits), column, row, 0) != 0 ? 110
                                                                                                            : 0;
        }
    return drawn;
}

void moments(Stage& stage)
{
    Image& image = stage.source("image", horse());
    OrvMomentState state = {};
    double mass = 0, x = 0, y = 0, xx = 0, xy = 0, yy = 0;
    CALL(orvMoments(image, &state));
    CODE(mass = orvGetSpatialMoment(&state, 0, 0));
    CODE(x = orvGetSpatialMoment(&state, 1, 0) / mass);
    CODE(y = orvGetSpatialMoment(&state, 0, 1) / mass);
    CODE(xx = orvGetCentralMoment(&state, 2, 0) / mass);
    CODE(xy = orvGetCentralMoment(&state, 1, 1) / mass);
    CODE(yy = orvGetCentralMoment(&state, 0, 2) / mass);
    double root = std::hypot(xx - yy, 2 * xy);
    note(stage, "pixels", mass);
    double values[6] = {};
    CALL(values[0] = orvGetNormalizedSpatialMoment(&state, 1, 0));
    CALL(values[1] = orvGetNormalizedCentralMoment(&state, 2, 0));
    CALL(values[2] = orvSpatialMoment(image, 1, 0));
    CALL(values[3] = orvNormalizedSpatialMoment(image, 1, 0));
    CALL(values[4] = orvCentralMoment(image, 2, 0));
    CALL(values[5] = orvNormalizedCentralMoment(image, 2, 0));
    for (int i = 0; i < 6; ++i)
        note(stage, ("values[" + std::to_string(i) + "]").c_str(), values[i]);
    stage.showAfter("centre of gravity and axes of inertia",
                    axes(image, x, y, 0.5 * std::atan2(2 * xy, xx - yy), std::sqrt(2 * (xx + yy + root)),
                         std::sqrt(2 * (xx + yy - root))));
}

}  // namespace

const Family contrast = {
    "Measures",
    "Histogram and contrast",
    "How often values occur, and what can be made of it: tables that map every value to another.",
    {
        {"orvComputeHisto", "The pixels of each value, drawn as bars.", computeHisto},
        {"orvComputeHisto, a channel", "Of one channel under a mask, in 32 intervals.", computeHistoChannel},
        {"orvContrastStretch", "The range that the picture uses, spread over all there is.", contrastStretch},
        {"orvContrastStretch, steps", "Four intervals of one value each.", posterise},
        {"orvHistoEqualize", "Every value becomes as frequent as the others, as far as that is possible.",
         histoEqualize},
    }};

const Family measures = {
    "Measures",
    "Norms, extremes and moments",
    "Numbers of a picture, or of the difference of two.",
    {
        {"orvNorm", "How far a blurred picture is from the sharp one.", norm},
        {"orvMinMaxFP", "The extremes of a picture in floating point, which then fills the range.", minMax},
        {"orvMoments", "Where a shape is, how it lies, and how far it reaches.", moments},
    }};

}  // namespace gallery
