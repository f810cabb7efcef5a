// Conversions between depths.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

constexpr uint32_t bit = ORV_DEPTH_1U, u8 = ORV_DEPTH_8U, s8 = ORV_DEPTH_8S, u16 = ORV_DEPTH_16U, s16 = ORV_DEPTH_16S,
                   s32 = ORV_DEPTH_32S, f32 = ORV_DEPTH_32F;
const std::vector<uint32_t> integers = {u8, s8, u16, s16, s32};

// Calls test(from, to) with pairs of different integer depths.
template <class Test>
void forEveryPair(Test test)
{
    for (uint32_t from : integers)
        for (uint32_t to : integers)
            if (from != to && !testing::Test::HasFailure())
                test(from, to);
}

// ---- The formulas -------------------------------------------------------------------------------------------------

struct Pair {
    uint32_t from, to;
    int64_t (*scaled)(int64_t v);
};

const Pair pairs[] = {
    {u8, u16, [](int64_t v) { return (v << 8) + v; }},
    {u8, s16, [](int64_t v) { return (v << 8) + v - 32768; }},
    {u8, s32, [](int64_t v) { return v * 0x1010101 - 0x80000000; }},
    {s8, u16, [](int64_t v) { return (v << 8) + v + 32896; }},
    {s8, s16, [](int64_t v) { return (v << 8) + v + 128; }},
    {s8, s32, [](int64_t v) { return v * 0x1010101 + 0x808080; }},
    {u16, s32, [](int64_t v) { return (v << 16) + v - 2147483648; }},
    {s16, s32, [](int64_t v) { return (v << 16) + v + 32768; }},
    {u16, u8, [](int64_t v) { return ((v - 32768 - ((v - 32768) >> 8)) >> 8) + 128; }},
    {u16, s8, [](int64_t v) { return (v - 32768 - ((v - 32768) >> 8)) >> 8; }},
    {s16, u8, [](int64_t v) { return ((v - (v >> 8)) >> 8) + 128; }},
    {s16, s8, [](int64_t v) { return (v - (v >> 8)) >> 8; }},
    {s32, u16, [](int64_t v) { return ((v - (v >> 16)) >> 16) + 32768; }},
    {s32, s16, [](int64_t v) { return (v - (v >> 16)) >> 16; }},
    {s32, u8, [](int64_t v) { return ((v - (v >> 8)) >> 24) + 128; }},
    {s32, s8, [](int64_t v) { return (v - (v >> 8)) >> 24; }},
    {u8, s8, [](int64_t v) { return v - 128; }},
    {s8, u8, [](int64_t v) { return v + 128; }},
    {u16, s16, [](int64_t v) { return v - 32768; }},
    {s16, u16, [](int64_t v) { return v + 32768; }},
};

Rule scaleRule(uint32_t from, uint32_t to)
{
    auto pair = std::ranges::find_if(pairs, [=](const Pair& one) { return one.from == from && one.to == to; });
    return onNumbers(from, to, [pair](double v, double) { return pair->scaled(int64_t(v)); });
}

double lowest(uint32_t depth)
{
    return numberOf(depth, bitsOf(depth, -1e12));
}

double rangeOf(uint32_t depth)
{
    return numberOf(depth, bitsOf(depth, 1e12)) - lowest(depth);
}

Rule toFloatRule(uint32_t from, float least, float most)
{
    double f = (double(most) - double(least)) * (1 / rangeOf(from)), b = least + f * -lowest(from);
    return onNumbers(from, f32, [=](double v, double) { return v * f + b; });
}

Rule ofFloatRule(uint32_t to, float least, float most)
{
    double f = rangeOf(to) / (double(most) - double(least)), b = -double(least) * f + lowest(to);
    return onNumbers(f32, to, [=](double v, double) {
        return v < least ? -1e12 : v > most ? 1e12 : std::isnan(v) ? 0 : std::nearbyint(v * f + b);
    });
}

// ---- The frame ----------------------------------------------------------------------------------------------------

// Scaling looks at no mask; data orders may differ where one image has one channel.
bool scaleFits(const Layout& layout)
{
    const Layout::Image &src = layout.images[0], &dst = layout.images[1];
    bool oneChannel = src.spec.channels == 1 || dst.spec.channels == 1;
    return !src.mask && !dst.mask && (oneChannel || ordersAgree(layout)) && originsAgree(layout);
}

Operation scaling(const char* name, uint32_t from, uint32_t to, const Rule& rule)
{
    Operation operation = {.name = name, .sourceDepth = from, .resultDepth = to, .rule = rule};
    operation.call = [name = std::string(name)](OrvImage* const* images) {
        if (name == "orvScale")
            orvScale(images[0], images[1]);
        else
            orvScaleFP(images[0], images[1], -1.25f, 700);
    };
    operation.fits = scaleFits;
    operation.inPlace = operation.padding = false;
    operation.walk = [=](const Scene& scene) {
        Walk walk = bandWalk(scene, name, {"srcImage", "dstImage"});
        for (WalkStep& step : walk)
            if (size_t end = step.refusal.find("== 0)"); end != std::string::npos)
                step.refusal.replace(end, 5, "== NULL)");
        return walk;
    };
    operation.cases = 30;
    operation.seed = from * 7 + to;
    return operation;
}

// Images for conversions of whole images: regions and masks have no effect, rows go down or up.
PictureSpec randomImage(Random& random, uint32_t depth, int channels, int width, int height, const char* name,
                        TileLog* log)
{
    PictureSpec spec = {.depth = depth, .channels = channels, .order = random.below(2), .origin = random.below(2)};
    spec.alpha = random.below(3) || depth == bit ? 0 : channels;
    spec.width = width;
    spec.height = height;
    if (random.below(2))
        spec.roi = OrvROI{random.below(channels + 1), random.below(9), random.below(9), 5, 4};
    if (random.below(3) == 0) {
        spec.tileWidth = 8 * random.between(1, 4);
        spec.tileHeight = 8 * random.between(1, 2);
    }
    spec.extraStep = random.below(2) ? random.below(9) : 0;
    spec.offset = random.below(2) ? random.below(9) : 0;
    spec.seed = random.bits();
    spec.name = name;
    spec.log = log;
    return spec;
}

// The value of a result from those of a source's pixel; `channel` is the result's.
using PixelRule = std::function<uint32_t(const Picture& src, int x, int y, int channel)>;

void expectConverted(const PictureSpec& from, const PictureSpec& to,
                     const std::function<void(OrvImage*, OrvImage*)>& call, const PixelRule& rule)
{
    const Layout layout = {{{from, 0, {}, 0}, {to, 1, {}, 1}}};
    SCOPED_TRACE(layout.text());
    Picture mask({.depth = bit, .width = 3, .height = 3});
    Picture src(from), dst(to);
    src->maskROI = dst->maskROI = mask;
    std::vector<uint8_t> before = src.bytes();
    EXPECT_EQ(reportsOf([&] { call(src, dst); }), "");
    for (int y = 0; y < to.height; ++y)
        for (int x = 0; x < to.width; ++x)
            for (int c = 0; c < to.channels; ++c)
                ASSERT_EQ(dst.raw(x, y, c), rule(src, x, from.origin == to.origin ? y : to.height - 1 - y, c))
                    << x << ' ' << y << ' ' << c;
    EXPECT_TRUE(src.bytes() == before);
    EXPECT_EQ(src.faults() + dst.faults(), "");
    EXPECT_EQ(src.openTiles() + dst.openTiles(), 0);
}

}  // namespace

TEST(Scale, IsAsTheModelInEveryLayout)
{
    forEveryPair([](uint32_t from, uint32_t to) { runMatrix(scaling("orvScale", from, to, scaleRule(from, to))); });
    for (uint32_t depth : integers) {
        runMatrix(scaling("orvScaleFP", depth, f32, toFloatRule(depth, -1.25f, 700)));
        runMatrix(scaling("orvScaleFP", f32, depth, ofFloatRule(depth, -1.25f, 700)));
    }
}

TEST(Scale, ComputesExactly)
{
    auto expectRow = [](uint32_t from, uint32_t to, const std::vector<uint32_t>& values, const Rule& rule, auto call) {
        int n = int(values.size());
        Picture src({.depth = from, .width = n}), dst({.depth = to, .width = n});
        src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
        call(src, dst);
        for (int x = 0; x < n; ++x)
            ASSERT_TRUE(sameValue(to, dst.raw(x, 0), rule(values[size_t(x)], 0)))
                << depthName(from) << ' ' << depthName(to) << ' ' << src.get(x, 0) << " is " << dst.get(x, 0);
    };
    auto everyValue = [](uint32_t depth) {
        std::vector<uint32_t> values = telling(depth);
        for (uint32_t i = 0; i < 65536; ++i)
            values.push_back(depth == u16 || depth == s16 ? i : i * 65537 + 77);
        return depth == u8 || depth == s8 ? telling(depth) : values;
    };
    forEveryPair(
        [&](uint32_t from, uint32_t to) { expectRow(from, to, everyValue(from), scaleRule(from, to), orvScale); });
    // Ranges about 0, within it, wide and narrow; floats at the steps of the result, between them and outside.
    for (auto [least, most] : {std::pair(0.0f, 1.0f),
                               {-1.0f, 1.0f},
                               {-3e38f, 3e38f},
                               {7.0f, 7.0000005f},
                               {-1e-30f, 0.0f},
                               {-1e-45f, 3e-45f}})
        for (uint32_t depth : integers) {
            auto call = [least = least, most = most](OrvImage* src, OrvImage* dst) {
                orvScaleFP(src, dst, least, most);
            };
            expectRow(depth, f32, everyValue(depth), toFloatRule(depth, least, most), call);
            std::vector<uint32_t> values = telling(f32);
            for (int i = -40; i < 1100; ++i)
                values.push_back(bitsOf(f32, least + (double(most) - least) * i / 1020));
            expectRow(f32, depth, values, ofFloatRule(depth, least, most), call);
        }
}

TEST(Convert, ChangesDepthOrderAndOriginOfWholeImages)
{
    Random random(3);
    TileLog log;
    for (int round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        uint32_t from = allDepths[size_t(random.below(6))], to = from == bit ? bit : allDepths[size_t(random.below(6))];
        int channels = from == bit ? 1 : random.between(1, 5);
        int width = random.below(4) ? random.between(1, 40) : random.between(60, 1100), height = random.between(1, 20);
        PictureSpec src = randomImage(random, from, channels, width, height, "S", &log);
        PictureSpec dst = randomImage(random, to, to == bit ? 1 : channels, width, height, "D", &log);
        int channel = 0;
        if (to == bit && channels > 1) {
            channel = random.below(channels);
            src.roi = OrvROI{channel + 1, 2, 3, 1, 1};
        }
        expectConverted(src, dst, orvConvert, [=](const Picture& picture, int x, int y, int c) {
            if (from == bit)
                return picture.raw(x, y);
            double value = picture.get(x, y, to == bit ? channel : c);
            return to == bit ? uint32_t(value > 0) : bitsOf(to, value);
        });
    }
}

TEST(Convert, GivesBitsTwoValues)
{
    Random random(4);
    TileLog log;
    for (int round = 0; round < 600 && !testing::Test::HasFailure(); ++round) {
        uint32_t to = integers[size_t(round) % integers.size()];
        int width = random.below(4) ? random.between(1, 140) : random.between(900, 2200),
            height = random.between(1, 20);
        PictureSpec src = randomImage(random, bit, 1, width, height, "S", &log);
        PictureSpec dst = randomImage(random, to, random.between(1, 5), width, height, "D", &log);
        std::vector<uint32_t> values = telling(to);
        uint32_t zero = values[size_t(random.below(256))], one = values[size_t(random.below(256))];
        auto call = [&](OrvImage* from, OrvImage* result) {
            orvBitonalToGray(from, result, int32_t(numberOf(to, zero)), int32_t(numberOf(to, one)));
        };
        uint32_t mask = to == s32 ? ~0u : (1u << (to & ORV_DEPTH_MASK)) - 1;
        expectConverted(src, dst, call, [=](const Picture& picture, int x, int y, int) {
            return (picture.raw(x, y) ? one : zero) & mask;
        });
    }
}

// Rows of bits are copied as whole bytes; elsewhere bits beyond the last pixel stay.
TEST(Convert, CopiesBitsByBytes)
{
    Picture src({.depth = bit, .width = 13, .height = 2, .seed = 5}), dst({.depth = bit, .width = 13, .height = 2});
    src->imageData[1] = 0x5A;
    dst->imageData[1] = 0xA5;
    orvConvert(src, dst);
    EXPECT_EQ(dst->imageData[1], 0x5A);
    Picture ones({.width = 13, .height = 2});
    ones.fill([](int, int, int) { return 1; });
    orvConvert(ones, dst);
    EXPECT_EQ(dst->imageData[1], 0xFA);
}

TEST(Convert, OpensTiles)
{
    TileLog log;
    PictureSpec spec = {
        .depth = u8, .width = 16, .height = 16, .tileWidth = 16, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec);
    spec = {.depth = u16,
            .origin = 1,
            .width = 16,
            .height = 16,
            .tileWidth = 8,
            .tileHeight = 16,
            .name = "D",
            .log = &log};
    Picture dst(spec);
    EXPECT_EQ(reportsOf([&] { orvConvert(src, dst); }), "");
    EXPECT_EQ(log.text(),
              "D write 0 0\nS read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD release 0 0\n"
              "D write 1 0\nS read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD release 1 0\n");
}

TEST(Convert, LosesNothingWhereMemoryOrATileIsRefused)
{
    PictureSpec src = {.depth = u8, .width = 30, .height = 20, .tileWidth = 8, .tileHeight = 8}, dst = src;
    dst.depth = s32;
    dst.origin = 1;
    dst.tileWidth = 16;
    const Operation convert = {.name = "orvConvert",
                               .call = [](OrvImage* const* images) { orvConvert(images[0], images[1]); }};
    EXPECT_TRUE(expectNothingLost(convert, {{{src, 0, {}, 0}, {dst, 1, {}, 1}}}, {.report = "tileData == NULL)\n"}));
    dst.tileWidth = 0;
    EXPECT_TRUE(expectNothingLost(convert, {{{src, 0, {}, 0}, {dst, 1, {}, 1}}}, {.report = "tileData == NULL)\n"}));
}

TEST(Convert, ChecksInOrder)
{
    const FaultOf fault{"orvConvert"};
    auto call = [](OrvImage* const* images) { orvConvert(images[0], images[1]); };
    PictureSpec spec = {.channels = 3, .width = 8, .height = 8};
    const std::vector<Fault> layout = {
        fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
        fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
        fault(-5, "(srcImage->depth == 32)", setField(0, &OrvImage::depth, f32)),
        fault(-5, "(dstImage->depth == 32)", setField(1, &OrvImage::depth, f32)),
        fault(-5, "(srcImage->height != dstImage->height)", setField(0, &OrvImage::height, 7)),
        fault(-5, "(srcImage->width != dstImage->width)", setField(1, &OrvImage::width, 7)),
        fault(-5, "srcImage->nChannels != dstImage->nChannels", setField(1, &OrvImage::nChannels, 2)),
    };
    expectFaultsInOrder({spec, spec}, call, layout);
    PictureSpec bits = {.depth = bit, .width = 8, .height = 8};
    OrvROI noChannel = {0, 0, 0, 8, 8};
    expectFaultsInOrder({spec, bits}, call,
                        {fault(-5, "(srcImage->roi == 0)", setField(0, &OrvImage::roi, nullptr)),
                         fault(-5, "(srcImage->roi->coi == 0)", setField(0, &OrvImage::roi, &noChannel))});
    Picture gray({.width = 8, .height = 8}), oneBit(bits), real({.depth = f32, .width = 8, .height = 8});
    EXPECT_EQ(reportsOf([&] { orvConvert(oneBit, gray); }),
              "-5 orvConvert ((srcImage->depth == 1) && (srcImage->depth != dstImage->depth))\n");
    EXPECT_EQ(reportsOf([&] { orvConvert(real, real); }), "");
}

TEST(Convert, ChecksBitsInOrder)
{
    struct Range {
        uint32_t depth;
        const char* name;
        int32_t least, most;
    };
    const FaultOf fault{"orvBitonalToGray"};
    int32_t zero = 0, one = 0;
    auto call = [&](OrvImage* const* images) {
        orvBitonalToGray(images[0], images[1], std::exchange(zero, 0), std::exchange(one, 0));
    };
    PictureSpec bits = {.depth = bit, .width = 8, .height = 8}, gray = {.width = 8, .height = 8};
    std::vector<Fault> faults = {
        fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
        fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
        fault(-5, "(srcImage->height != dstImage->height)", setField(1, &OrvImage::height, 7)),
        fault(-5, "(srcImage->width != dstImage->width)", setField(1, &OrvImage::width, 7)),
        fault(-5, "(srcImage->nChannels != 1)",
              [](OrvImage* const* images) { images[0]->depth = u8, images[0]->nChannels = 2; }),
        fault(-5, "(srcImage->depth != 1)", setField(0, &OrvImage::depth, u8)),
        fault(-5, "(dstImage->depth == 32)", setField(1, &OrvImage::depth, f32)),
        fault(-5, "(dstImage->depth == 1)", setField(1, &OrvImage::depth, bit)),
    };
    for (const Range& range : {Range{s8, "(0x80000000| 8)", -128, 127},
                               {u8, "8", 0, 255},
                               {s16, "(0x80000000|16)", -32768, 32767},
                               {u16, "16", 0, 65535}}) {
        std::vector<Fault> all = faults;
        for (int32_t* value : {&zero, &one}) {
            std::string is = "((dstImage->depth == " + std::string(range.name) + ") && (" +
                             (value == &zero ? "ZeroScale" : "OneScale");
            all.push_back(fault(-5, is + " > " + std::to_string(range.most) + "))",
                                [=](OrvImage* const*) { *value = range.most + 1; }));
            all.push_back(fault(-5, is + " < " + std::to_string(range.least) + "))",
                                [=](OrvImage* const*) { *value = range.least - 1; }));
        }
        gray.depth = range.depth;
        expectFaultsInOrder({bits, gray}, call, all);
    }
}

TEST(Scale, ChecksInOrder)
{
    const char* const orders =
        "((srcImage->dataOrder != dstImage->dataOrder)&& "
        "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))";
    float most = 1;
    auto call = [&](OrvImage* const* images) { orvScale(images[0], images[1]); };
    auto callFP = [&](OrvImage* const* images) { orvScaleFP(images[0], images[1], 0, std::exchange(most, 1.0f)); };
    auto check = [&](const FaultOf& fault, const auto& function, uint32_t from, const Fault& first) {
        PictureSpec src = {.depth = from, .channels = 3, .width = 8, .height = 8}, dst = src;
        dst.depth = s16;
        expectFaultsInOrder(
            {src, dst}, function,
            {
                fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
                fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
                first,
                fault(-5, orders, setField(0, &OrvImage::dataOrder, 1)),
                fault(-5, "(srcImage->origin != dstImage->origin)", setField(1, &OrvImage::origin, 1)),
                fault(-5, "srcImage->nChannels != dstImage->nChannels", setField(1, &OrvImage::alphaChannel, 3)),
            });
    };
    const FaultOf scale{"orvScale"}, scaleFP{"orvScaleFP"};
    check(scale, call, u8, scale(-5, "(srcImage->depth == dstImage->depth)", setField(1, &OrvImage::depth, u8)));
    check(scale, call, u8, scale(-5, "(srcImage->depth == 32)", setField(0, &OrvImage::depth, f32)));
    check(scale, call, u8, scale(-5, "(dstImage->depth == 32)", setField(1, &OrvImage::depth, f32)));
    check(scaleFP, callFP, f32, scaleFP(-5, "((maxVal - minVal) <= 0.0f)", [&](OrvImage* const*) { most = 0; }));

    Picture bits({.depth = bit}), gray({}), real({.depth = f32}), other({.depth = f32});
    auto reports = [](auto function, auto... arguments) { return reportsOf([=] { function(arguments...); }); };
    EXPECT_EQ(reports(orvScale, &bits.image, &gray.image), "-5 orvScale (srcImage->depth == 1)\n");
    EXPECT_EQ(reports(orvScale, &gray.image, &bits.image), "-5 orvScale (dstImage->depth == 1)\n");
    const char* const bitReport = "-5 orvScaleFP ((srcImage->depth == 1)|| (dstImage->depth == 1))\n";
    EXPECT_EQ(reports(orvScaleFP, &bits.image, &real.image, 1.0f, 0.0f), bitReport);
    EXPECT_EQ(reports(orvScaleFP, &real.image, &bits.image, 1.0f, 0.0f), bitReport);
    EXPECT_EQ(reports(orvScaleFP, &gray.image, &gray.image, 0.0f, 1.0f),
              "-5 orvScaleFP ((srcImage->depth != 32)&& (dstImage->depth != 32))\n");
    EXPECT_EQ(reports(orvScaleFP, &real.image, &other.image, 0.0f, 1.0f),
              "-5 orvScaleFP ((srcImage->depth == 32)&& (dstImage->depth == 32))\n");
}
