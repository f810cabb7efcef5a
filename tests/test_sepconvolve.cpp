// Separable convolution against sums over the whole window.
#include <gtest/gtest.h>

#include <bit>

#include "checks.h"
#include "filter/ownconvkernel.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

// One direction of the filter, without values for none.
struct Taps {
    std::vector<double> values;
    int anchor = 0, shift = 0;

    int size() const { return int(values.size()); }
    int count() const { return values.empty() ? 1 : size(); }
    double at(int i) const { return values.empty() ? 1 : values[size_t(i)]; }
};

struct Kernels {
    OrvConvKernel *x = nullptr, *y = nullptr;
    OrvConvKernelFP *realX = nullptr, *realY = nullptr;

    Kernels(const Taps& row, const Taps& column, bool areReal)
    {
        auto create = [&](const Taps& taps, bool isRow, OrvConvKernel*& kernel, OrvConvKernelFP*& real) {
            if (taps.values.empty())
                return;
            int cols = isRow ? taps.size() : 1, rows = isRow ? 1 : taps.size();
            int anchorX = isRow ? taps.anchor : 0, anchorY = isRow ? 0 : taps.anchor;
            std::vector<int32_t> whole(taps.values.begin(), taps.values.end());
            std::vector<float> floats(taps.values.begin(), taps.values.end());
            if (areReal)
                real = orvCreateConvKernelFP(cols, rows, anchorX, anchorY, floats.data());
            else
                kernel = orvCreateConvKernel(cols, rows, anchorX, anchorY, whole.data(), taps.shift);
        };
        create(row, true, x, realX);
        create(column, false, y, realY);
    }
    Kernels(const Kernels&) = delete;
    ~Kernels()
    {
        Reports quiet;  // of kernels that are none
        orvDeleteConvKernel(x);
        orvDeleteConvKernel(y);
        orvDeleteConvKernelFP(realX);
        orvDeleteConvKernelFP(realY);
    }

    int32_t convolve(OrvImage* const* images) const
    {
        return realX || realY ? orvConvolveSep2DFP(images[0], images[1], realX, realY)
                              : orvConvolveSep2D(images[0], images[1], x, y);
    }
};

uint32_t naiveResult(const Taps& row, const Taps& column, Picture& src, int x, int y, int c)
{
    uint32_t depth = src->depth;
    auto sample = [&](int i, int j) {
        return numberOf(depth, naiveRaw(src, x + i - row.anchor, y + j - column.anchor, c));
    };
    if (depth == ORV_DEPTH_32F) {
        double sum = 0;
        for (int i = 0; i < row.count(); ++i) {
            double columnSum = 0;
            for (int j = 0; j < column.count(); ++j)
                columnSum += sample(i, j) * float(column.at(j));
            sum += double(float(columnSum)) * float(row.at(i));
        }
        return std::bit_cast<uint32_t>(float(sum));
    }
    uint64_t sum = 0;
    for (int i = 0; i < row.count(); ++i)
        for (int j = 0; j < column.count(); ++j)
            sum += uint64_t(int64_t(sample(i, j))) * uint64_t(int64_t(row.at(i))) * uint64_t(int64_t(column.at(j)));
    return bitsOf(depth, int32_t(uint32_t(sum)) >> ((row.shift + column.shift) & 31));
}

void expectConvolved(const Scene& scene, const Taps& row, const Taps& column)
{
    Kernels kernels(row, column, scene.destination()->depth == ORV_DEPTH_32F);
    expectFiltered(
        scene, [&](Picture& src, int x, int y, int c) { return naiveResult(row, column, src, x, y, c); },
        [&](OrvImage* const* images) { EXPECT_EQ(kernels.convolve(images), 0); });
}

Taps randomTaps(Random& random, uint32_t depth)
{
    const int reaches[] = {1, 8, 40, 40, 900, 32767, 1000000, INT32_MAX / 2};
    int reach = reaches[random.below(8)], size = random.between(2, random.below(4) ? 7 : 30);
    Taps taps;
    for (int i = 0; i < size; ++i)
        taps.values.push_back(depth == ORV_DEPTH_32F ? random.between(-900, 900) / 64.0
                                                     : random.between(-reach, reach));
    taps.anchor = random.below(size);
    taps.shift = random.below(3) ? random.between(0, 9) : random.between(-40, 40);
    return taps;
}

std::string textOf(const Taps& taps)
{
    std::string text = "\n" + std::to_string(taps.anchor) + " >> " + std::to_string(taps.shift) + ":";
    for (double value : taps.values)
        text += " " + std::to_string(value);
    return text;
}

const Taps smooth = {{1, 2, 1}, 1, 2};

}  // namespace

TEST(SepConvolve, IsTheSumOfTheWholeWindowInEveryLayout)
{
    Random random(13);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = allDepths[size_t(round) % allDepths.size()];
        int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, count);
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        bool coi = src.roi && src.roi->coi > 0;
        layout.images[1].same = 1;
        dst.order = src.order;
        dst.origin = src.origin;
        dst.channels = src.channels;
        dst.alpha = src.alpha;
        dst.roi = OrvROI{coi ? random.between(1, src.channels) : 0, random.below(9), random.below(9), 60, 60};
        Scene scene(layout);
        setRandomBorders(scene.pointers()[0], random);
        if (depth == ORV_DEPTH_32F)
            scene.images[0]->fill([&](int, int, int) { return random.between(-5000, 5000) / 16.0; });
        else if (depth == ORV_DEPTH_8U && random.below(2))
            scene.images[0]->fill([&](int, int, int) { return 255 * random.below(2); });
        Taps row = randomTaps(random, depth), column = randomTaps(random, depth);
        int which = random.below(4);
        if (which == 1)
            row = {};
        else if (which == 2)
            column = {};
        SCOPED_TRACE(testing::Message() << round << ": " << textOf(row) << textOf(column) << layout.text());
        expectConvolved(scene, row, column);
    }
    const PictureSpec onlyAlpha = {.depth = ORV_DEPTH_1U, .alpha = 1, .width = 30, .height = 9};
    expectConvolved(Scene({{{onlyAlpha, 0, {}, 0}, {onlyAlpha, 1, {}, 1}}}), smooth, smooth);
}

// Sums of columns at both ends of what fits 16 bits, and just beyond.
TEST(SepConvolve, AtTheEndsOfItsNumbers)
{
    PictureSpec spec = {.width = 40, .height = 9};
    for (std::vector<double> columns : std::vector<std::vector<double>>{
             {127, 1, 1, 128, 0}, {-127, -1, -1, -128, 0}, {128, -1, -128, 0}, {255, 2}, {129, 128}, {-129, 0, -129}})
        for (double row : {1.0, -3.0, 32767.0, -32768.0, 32768.0}) {
            Scene scene({{{spec, 0, {}, 0}, {spec, 1, {}, 1}}});
            scene.images[0]->fill([](int x, int y, int) { return (x ^ y) & 2 ? 255 : 0; });
            Taps column = {columns, 1, 4};
            SCOPED_TRACE(textOf(column) + " " + std::to_string(row));
            expectConvolved(scene, {{row, 1, row}, 0, 2}, column);
        }
}

TEST(SepConvolve, ChecksInTheirOrder)
{
    const Taps wide = {{1, 2}, 0, 0};
    Kernels good(smooth, smooth, false), turned(wide, wide, false);
    OrvConvKernel* one = orvCreateConvKernel(1, 1, 0, 0, std::vector<int32_t>{1}.data(), 0);
    OrvConvKernel empty = *good.x, beyond = *good.y;
    empty.values = nullptr;
    beyond.anchorY = beyond.nRows;
    struct Arguments {
        OrvConvKernel *x, *y;
    };
    Arguments now = {good.x, good.y};
    auto with = [&](Arguments bad) { return [&now, bad](auto) { now = bad; }; };
    auto call = [&](OrvImage* const* images) {
        int32_t result = orvConvolveSep2D(images[0], images[1], now.x, now.y);
        now = {good.x, good.y};
        return result;
    };
    static OrvROI coi;
    coi = {2, 0, 0, 9, 9};
    PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    auto fault = [](int32_t status, const std::string& context, FaultMaker make) {
        int32_t returned = status == -1 ? ORV_STATUS_NO_MEMORY : ORV_STATUS_BAD_ARG;
        return FaultOf{"orvConvolveSep2D"}(status, context, std::move(make), returned);
    };
    expectFaultsInOrder(
        {spec, spec}, call,
        {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            fault(-5, "Kernel pointers are NULL", with({nullptr, nullptr})),
            fault(-5, "SRC and DST depth are different", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
            fault(-5, "SRC and DST order are different", setField(1, &OrvImage::dataOrder, 1)),
            fault(-5, "SRC and DST orign are different", setField(1, &OrvImage::origin, 1)),
            fault(-5, "SRC: too many channels per plane (limit 32)", setChannels(0, 33, 0)),
            fault(-5, "SRC and DST number of channels are different", setChannels(0, 4, 4)),
            fault(-5, "SRC and DST Alpha channels are different", setChannels(0, 3, 3)),
            fault(-5, "SRC and DST number of processing channels are different",
                  [](OrvImage* const* images) { images[0]->roi = &coi; }),
            fault(-5, "NULL kernel values", with({&empty, one})),
            fault(-5, "Invalid kernal size", with({turned.y, one})),
            fault(-5, "Invalid kernal size", with({good.x, turned.x})),
            fault(-5, "Invalid kernal size", with({one, nullptr})),
            fault(-5, "Invalid kernal size", with({nullptr, one})),
            fault(-5, "Invalid kernrl anchor", with({good.x, &beyond})),
            fault(-5, "orvConvolveSep2D does not support ORV_DEPTH_32F.\nCall orvConvolveSep2DFP instead",
                  [](auto images) { images[0]->depth = images[1]->depth = ORV_DEPTH_32F; }),
            fault(-1, "Not enough memory", refuseMemory(1, true)),
        });
    orvDeleteConvKernel(one);
    Picture picture(spec), planes({.channels = 33, .order = 1, .width = 9, .height = 9}), result(planes.layout());
    EXPECT_EQ(reportsOf([&] { orvConvolveSep2D(picture, picture, nullptr, nullptr); }),
              "-5 orvConvolveSep2D Unsupported in-place mode\n");
    EXPECT_EQ(reportsOf([&] { orvConvolveSep2D(planes, result, good.x, nullptr); }), "");
    Picture most({.channels = 32, .width = 9, .height = 9}), ofMost(most.layout());
    EXPECT_EQ(reportsOf([&] { orvConvolveSep2D(most, ofMost, good.x, nullptr); }), "");
    Kernels reals(smooth, {}, true);
    EXPECT_EQ(reportsOf([&] { orvConvolveSep2DFP(planes, result, reals.realX, nullptr); }),
              "-5 orvConvolveSep2DFP orvConvolveSep2DFP does support ORV_DEPTH_32F only.\n"
              "Call orvConvolveSep2D instead\n");
    // Regions without a common pixel, after a failure before: the status is cleared.
    OrvROI outside = {0, 9, 9, 1, 1};
    result->roi = &outside;
    EXPECT_EQ(reportsOf([&] {
                  orvSetErrStatus(-7);
                  EXPECT_EQ(orvConvolveSep2D(planes, result, good.x, nullptr), 0);
              }),
              "");
}

TEST(SepConvolve, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (double scale : {1.0, 70000.0}) {
        Kernels kernels({{scale, 2, scale}, 1, 2}, smooth, false);
        const Operation operation = {.name = "orvConvolveSep2D",
                                     .call = [&](OrvImage* const* images) { kernels.convolve(images); },
                                     .inPlace = false};
        forRefusalLayouts(operation, [&](Layout layout) {
            layout.images[1].spec.channels = layout.images[0].spec.channels;
            layout.images[1].spec.alpha = 0;
            EXPECT_TRUE(expectNothingLost(operation, layout, {.report = "-1 orvConvolveSep2D Not enough memory\n"}));
        });
    }
}
