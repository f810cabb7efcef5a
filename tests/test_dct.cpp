// The cosine transform against its definition in double precision.
#include <gtest/gtest.h>

#include <bit>
#include <cstring>
#include <thread>

#include "checks.h"
#include "core/owncontext.h"
#include "model.h"
#include "picture.h"
#include "reports.h"
#include "testheap.h"

namespace {

constexpr double pi = 3.14159265358979323846;

// The orthonormal transform of n samples that are `step` apart.
void naiveLine(double* x, int n, int step, bool inverse)
{
    std::vector<double> y(size_t(n), 0.0);
    for (int k = 0; k < n; ++k)
        for (int i = 0; i < n; ++i) {
            double basis = std::sqrt((k ? 2.0 : 1.0) / n) * std::cos((2 * i + 1) * k * pi / (2 * n));
            (inverse ? y[size_t(i)] : y[size_t(k)]) += x[(inverse ? k : i) * step] * basis;
        }
    for (int i = 0; i < n; ++i)
        x[i * step] = y[size_t(i)];
}

// The transform of a region of one channel, row by row.
std::vector<double> naive(Picture& src, const Area& area, int channel, bool inverse)
{
    std::vector<double> block;
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            block.push_back(src.get(area.x + x, area.y + y, channel));
    for (int y = 0; y < area.height; ++y)
        naiveLine(&block[size_t(y) * area.width], area.width, 1, inverse);
    for (int x = 0; x < area.width; ++x)
        naiveLine(&block[size_t(x)], area.height, area.width, inverse);
    return block;
}

double relativeError(int width, int height, int flags)
{
    PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = width, .height = height};
    Picture src(spec);
    Picture dst(spec);
    Random random(uint64_t(width) * 1000 + height);
    src.fill([&](int, int, int) { return random.between(-128, 127); });
    orvDCT2D(src, dst, flags);
    std::vector<double> expected = naive(src, {0, 0, width, height}, 0, flags == ORV_DCT_INVERSE);
    double error = 0;
    double power = 0;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            double value = expected[size_t(y) * width + x];
            double difference = dst.get(x, y) - value;
            error += difference * difference;
            power += value * value;
        }
    EXPECT_EQ(dst.faults(), "");
    return std::sqrt(error / power);
}

struct Cached {
    int32_t levels;
    int32_t cosines;
    bool operator==(const Cached&) const = default;
};

Cached cached()
{
    return {ownContext().dctLevelCount, ownContext().dctCosineLength};
}

void transform(int width, int height)
{
    PictureSpec spec = {.width = width, .height = height};
    Picture src(spec);
    Picture dst(spec);
    orvDCT2D(src, dst, ORV_DCT_FORWARD);
}

}  // namespace

TEST(Dct, IsTheDefinedTransform)
{
    struct {
        int width, height;
    } sizes[] = {{1, 1},   {8, 8},   {1, 8},   {8, 1},   {2, 2},    {4, 4},   {2, 4},  {4, 16},
                 {16, 8},  {16, 16}, {64, 32}, {8, 33},  {3, 1},    {1, 5},   {3, 3},  {5, 7},
                 {9, 6},   {10, 12}, {15, 8},  {31, 64}, {100, 30}, {17, 19}, {24, 9}, {13, 77},
                 {128, 4}, {512, 3}, {6, 11},  {256, 9}, {1024, 8}, {1, 31},  {20, 1}, {127, 2}};
    for (auto size : sizes) {
        SCOPED_TRACE(std::to_string(size.width) + " x " + std::to_string(size.height));
        EXPECT_LT(relativeError(size.width, size.height, ORV_DCT_FORWARD), 2e-7);
        EXPECT_LT(relativeError(size.width, size.height, ORV_DCT_INVERSE), 2e-7);
    }
}

// 1024 x 1024 by single coefficients, since the definition takes too long for all of them.
TEST(Dct, LargeSizes)
{
    constexpr int n = 1024;
    PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = n, .height = n};
    Picture src(spec);
    Picture spectrum(spec);
    src.fill([](int x, int y, int) { return (x * 7 + y * 13 + x * y % 251) % 256; });
    orvDCT2D(src, spectrum, ORV_DCT_FORWARD);
    for (auto [u, v] :
         {std::pair(0, 0), std::pair(0, 3), std::pair(511, 0), std::pair(700, 123), std::pair(1023, 1023)}) {
        double sum = 0;
        for (int y = 0; y < n; ++y)
            for (int x = 0; x < n; ++x)
                sum +=
                    src.get(x, y) * std::cos((2 * x + 1) * v * pi / (2 * n)) * std::cos((2 * y + 1) * u * pi / (2 * n));
        sum *= std::sqrt((u ? 2.0 : 1.0) * (v ? 2.0 : 1.0)) / n;
        EXPECT_NEAR(spectrum.get(v, u), sum, 2e-4 + 1e-7 * std::abs(sum)) << u << ' ' << v;
    }
    Picture back({.width = n, .height = n});
    orvDCT2D(spectrum, back, ORV_DCT_INVERSE);
    int wrong = 0;
    for (int y = 0; y < n; ++y)
        for (int x = 0; x < n; ++x)
            wrong += back.get(x, y) != src.get(x, y);
    EXPECT_EQ(wrong, 0);
}

// Regions, channels, orders and depths, with what lies beside them untouched.
TEST(Dct, EveryLayout)
{
    Random random(7);
    constexpr uint32_t depths[] = {ORV_DEPTH_8U,  ORV_DEPTH_8S,  ORV_DEPTH_16U,
                                   ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};
    for (int round = 0; round < 400; ++round) {
        int channels = random.between(1, 4);
        PictureSpec spec = {.depth = depths[random.below(6)],
                            .channels = channels,
                            .alpha = random.below(2) * channels,
                            .order = random.below(2),
                            .width = random.between(1, 30),
                            .height = random.between(1, 30),
                            .extraStep = 4 * random.below(3)};
        PictureSpec into = spec;
        into.depth = depths[random.below(6)];
        into.extraStep = 4 * random.below(3);
        if (random.below(3)) {
            bool single = random.below(2) || spec.alpha == 1;
            bool block = spec.width >= 8 && spec.height >= 8 && random.below(2);
            int width = block ? 8 : random.between(1, spec.width);
            int height = block ? 8 : random.between(1, spec.height);
            auto region = [&](int w, int h) {
                return OrvROI{single ? random.between(1, channels) : 0, random.between(0, spec.width - width),
                              random.between(0, spec.height - height), w, h};
            };
            spec.roi = region(width, height);
            into.roi = region(1, 1);
        }
        Picture src(spec);
        Picture dst(into);
        src.fill([&](int, int, int) {
            return spec.depth & ORV_DEPTH_SIGN || spec.depth == ORV_DEPTH_32F ? random.between(-100, 100)
                                                                              : random.between(0, 200);
        });
        dst.fill([&](int, int, int) { return random.between(0, 100); });
        Picture before(into);
        before.fill([&](int x, int y, int c) { return dst.get(x, y, c); });
        bool inverse = random.below(2);
        EXPECT_EQ(reportsOf([&] { orvDCT2D(src, dst, inverse ? ORV_DCT_INVERSE : ORV_DCT_FORWARD); }), "");

        SCOPED_TRACE("round " + std::to_string(round));
        Area from = areaOf(src);
        std::vector<int> inputs = channelsOf(spec);
        std::vector<int> outputs = channelsOf(into);
        int left = into.roi ? into.roi->xOffset : 0;
        int top = into.roi ? into.roi->yOffset : 0;
        double low = -2147483648.0, high = 2147483647.0;
        if (into.depth != ORV_DEPTH_32F) {
            low = numberOf(into.depth, bitsOf(into.depth, -1e12));
            high = numberOf(into.depth, bitsOf(into.depth, 1e12));
        }
        double slack = (into.depth == ORV_DEPTH_32F ? 0 : 0.5) + 0.002;
        for (size_t i = 0; i < outputs.size(); ++i) {
            std::vector<double> expected = naive(src, from, inputs[i], inverse);
            for (int y = 0; y < from.height; ++y)
                for (int x = 0; x < from.width; ++x) {
                    double value = std::clamp(expected[size_t(y) * from.width + x], low, high);
                    ASSERT_NEAR(dst.get(left + x, top + y, outputs[i]), value, slack)
                        << x << ' ' << y << ' ' << outputs[i];
                    before.setRaw(left + x, top + y, outputs[i], dst.raw(left + x, top + y, outputs[i]));
                }
        }
        ASSERT_TRUE(dst.values() == before.values()) << "something else was written";
        ASSERT_EQ(src.faults() + dst.faults(), "");
    }
}

// A single pixel is converted and nothing else, which shows every rounding.
TEST(Dct, RoundsAndSaturates)
{
    float infinity = INFINITY;
    struct {
        uint32_t depth;
        float from;
        double to;
    } cases[] = {
        {ORV_DEPTH_8U, 0.5f, 0},
        {ORV_DEPTH_8U, 1.5f, 2},
        {ORV_DEPTH_8U, 2.5f, 2},
        {ORV_DEPTH_8U, 254.5f, 254},
        {ORV_DEPTH_8U, 255.5f, 255},
        {ORV_DEPTH_8U, -0.75f, 0},
        {ORV_DEPTH_8U, 1e30f, 255},
        {ORV_DEPTH_8U, -infinity, 0},
        {ORV_DEPTH_8S, -128.75f, -128},
        {ORV_DEPTH_8S, -2.5f, -2},
        {ORV_DEPTH_8S, 127.5f, 127},
        {ORV_DEPTH_16U, 65534.5f, 65534},
        {ORV_DEPTH_16U, 70000, 65535},
        {ORV_DEPTH_16U, -1, 0},
        {ORV_DEPTH_16S, -32768.5f, -32768},
        {ORV_DEPTH_16S, 32766.5f, 32766},
        {ORV_DEPTH_16S, 1e9f, 32767},
        {ORV_DEPTH_32S, 8388607.5f, 8388608},
        {ORV_DEPTH_32S, -16777217.0f, -16777216},
        {ORV_DEPTH_32S, 2147483520.0f, 2147483520},
        {ORV_DEPTH_32S, 2147483648.0f, 2147483647},
        {ORV_DEPTH_32S, -infinity, -2147483648.0},
    };
    for (auto& one : cases) {
        Picture src({.depth = ORV_DEPTH_32F});
        Picture dst({.depth = one.depth});
        src.set(0, 0, 0, one.from);
        orvDCT2D(src, dst, ORV_DCT_FORWARD);
        EXPECT_EQ(dst.get(0, 0), one.to) << one.from << " to depth " << one.depth;
    }
    for (uint32_t depth : {ORV_DEPTH_8S, ORV_DEPTH_16S, ORV_DEPTH_32S}) {
        Picture src({.depth = depth});
        Picture dst({.depth = ORV_DEPTH_32F});
        src.set(0, 0, 0, -5);
        orvDCT2D(src, dst, ORV_DCT_INVERSE);
        EXPECT_EQ(dst.get(0, 0), -5);
    }
}

TEST(Dct, ForwardIntoBytesLosesTheSigns)
{
    Picture src({.width = 8, .height = 8});
    Picture dst({.width = 8, .height = 8});
    src.fill([](int x, int, int) { return 30 * x; });
    orvDCT2D(src, dst, ORV_DCT_FORWARD);
    EXPECT_EQ(dst.get(0, 0), 255);
    EXPECT_EQ(dst.get(1, 0), 0);
}

TEST(Dct, ChecksInOrder)
{
    PictureSpec spec = {.channels = 3, .alpha = 3, .width = 16, .height = 12, .roi = OrvROI{0, 1, 2, 8, 8}};
    Picture other({.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8});
    std::string clash = "-5 orvDCT2D Images are not compatible\n";
    auto call = [](OrvImage* const* images) { orvDCT2D(images[0], images[1], ORV_DCT_FORWARD); };
    expectFaultsInOrder(
        {spec, spec}, call,
        {{"-5 orvDCT2D \nImages with 1u depth are not processed\n",
          [](OrvImage* const* images) { images[1]->depth = ORV_DEPTH_1U; }},
         {"-5 orvDCT2D \nAlpha channel may be 0 or number of channels\n",
          [](OrvImage* const* images) { images[0]->alphaChannel = 2; }},
         {clash, [](OrvImage* const* images) { images[0]->nChannels = 4, images[0]->alphaChannel = 4; }}});
    // Each of these makes the images incompatible by itself.
    std::vector<std::function<void(OrvImage*, OrvImage*)>> clashes = {
        [](OrvImage* src, OrvImage*) { src->nChannels = 2, src->alphaChannel = 0; },
        [](OrvImage* src, OrvImage*) { src->roi = nullptr; },
        [](OrvImage*, OrvImage* dst) { dst->roi = nullptr; },
        [](OrvImage* src, OrvImage*) { src->width = 15; },
        [](OrvImage*, OrvImage* dst) { dst->height = 11; },
        [](OrvImage* src, OrvImage*) { src->roi->xOffset = 9; },
        [](OrvImage* src, OrvImage*) { src->roi->height = INT32_MAX; },
        [](OrvImage*, OrvImage* dst) { dst->roi->yOffset = 5; },
        [](OrvImage*, OrvImage* dst) { dst->roi->width = 16; },
        [](OrvImage*, OrvImage* dst) { dst->roi->xOffset = 9, dst->roi->width = 1; },
        [](OrvImage* src, OrvImage*) { src->roi->xOffset = -1; },
        [](OrvImage*, OrvImage* dst) { dst->roi->yOffset = INT32_MIN; },
        [](OrvImage* src, OrvImage*) { src->roi->width = 0; },
        [](OrvImage* src, OrvImage*) { src->dataOrder = ORV_DATA_ORDER_PLANE; },
        [](OrvImage* src, OrvImage* dst) { src->dataOrder = dst->dataOrder = 2; },
        [](OrvImage* src, OrvImage*) { src->roi->coi = 1, src->alphaChannel = 0; },
        [](OrvImage* src, OrvImage* dst) { src->roi->coi = dst->roi->coi = 4; },
        [](OrvImage* src, OrvImage* dst) { src->roi->coi = 1, dst->roi->coi = -1; },
        [](OrvImage*, OrvImage* dst) { dst->alphaChannel = 0; },
        [&](OrvImage* src, OrvImage*) { src->tileInfo = other->tileInfo, src->imageData = nullptr; },
        [](OrvImage*, OrvImage* dst) { dst->imageData = nullptr; },
        [](OrvImage*, OrvImage* dst) { dst->depth = 24; },
    };
    for (size_t i = 0; i < clashes.size(); ++i) {
        SCOPED_TRACE(i);
        expectFaultsInOrder({spec, spec}, call,
                            {{clash, [&](OrvImage* const* images) { clashes[i](images[0], images[1]); }}});
    }
}

TEST(Dct, ArgumentsThatAreNoImages)
{
    Picture src({});
    Picture dst({});
    std::string flag = "-5 orvDCT2D \n Bad value of the transform flag\n";
    for (int32_t flags : {0, 3, 4, 7})
        EXPECT_EQ(reportsOf([&] { orvDCT2D(nullptr, nullptr, flags); }), flag) << flags;
    EXPECT_EQ(reportsOf([] { orvDCT2D(nullptr, nullptr, 1); }), "-5 orvDCT2D src==0\n-5 orvDCT2D dst==0\n");
    EXPECT_EQ(reportsOf([&] { orvDCT2D(nullptr, dst, 2); }), "-5 orvDCT2D src==0\n");
    EXPECT_EQ(reportsOf([&] { orvDCT2D(src, nullptr, 2); }), "-5 orvDCT2D dst==0\n");
    src->depth = ORV_DEPTH_1U;
    EXPECT_EQ(reportsOf([&] { orvDCT2D(src, src, 1); }), "-5 orvDCT2D \nFunction does not support inplace operation\n");
    for (int32_t flags : {8, 9, 11, -1})
        EXPECT_EQ(reportsOf([&] { orvDCT2D(nullptr, nullptr, flags); }), "") << flags;
}

TEST(Dct, AnOldStatusDoesNotStopIt)
{
    Picture src({});
    Picture dst({});
    src.set(0, 0, 0, 9);
    dst.set(0, 0, 0, 0);
    orvSetErrStatus(-5);
    orvDCT2D(src, dst, ORV_DCT_FORWARD | 4);
    EXPECT_EQ(dst.get(0, 0), 9);
    EXPECT_EQ(orvGetErrStatus(), -5);
    orvSetErrStatus(0);
}

TEST(Dct, KeepsItsTables)
{
    std::thread([] {
        EXPECT_EQ(cached(), (Cached{0, -1}));
        transform(8, 8);
        EXPECT_EQ(cached(), (Cached{0, -1}));
        transform(32, 32);
        EXPECT_EQ(cached(), (Cached{2, -1}));
        double** tables = ownContext().dctLevelTable;
        for (int j = 0; j < 16; ++j)
            EXPECT_NEAR(tables[1][j], 0.5 / std::cos((2 * j + 1) * pi / 64), 1e-13 * tables[1][j]);
        transform(4, 2);
        EXPECT_EQ(cached(), (Cached{2, -1}));
        transform(4, 32);
        EXPECT_EQ(ownContext().dctLevelTable, tables);
        transform(5, 5);
        EXPECT_EQ(cached(), (Cached{2, 20}));
        const float* cosines = ownContext().dctCosineTable;
        for (int k = 0; k < 20; ++k)
            EXPECT_FLOAT_EQ(cosines[k] + 2, float(std::cos(k * pi / 10)) + 2);
        transform(16, 5);
        EXPECT_EQ(cached(), (Cached{1, 20}));
        EXPECT_EQ(ownContext().dctCosineTable, cosines);
        transform(7, 8);
        EXPECT_EQ(cached(), (Cached{0, 28}));
        transform(1, 64);
        EXPECT_EQ(cached(), (Cached{3, 4}));
        orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE);
        EXPECT_EQ(cached(), (Cached{0, 0}));
        EXPECT_EQ(ownContext().dctLevelTable, nullptr);
        transform(16, 9);
    }).join();
}

// On Windows a program is not told of its threads' ends, only a DLL is.
#if !defined(_WIN32)
TEST(Dct, TablesGoWithTheThread)
{
    std::thread([] { orvGetErrStatus(); }).join();
    int blocks = testheap::blocks();
    std::thread([] { transform(64, 9); }).join();
    EXPECT_EQ(testheap::blocks(), blocks);
}
#endif

TEST(Dct, WithoutMemoryNothingHappens)
{
    for (auto [width, height] : {std::pair(8, 8), std::pair(64, 7), std::pair(32, 16)}) {
        PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = width, .height = height};
        Picture src(spec);
        Picture dst(spec);
        src.fill([](int x, int y, int) { return x ^ y; });
        dst.fill([](int, int, int) { return 77; });
        std::vector<uint32_t> before = dst.values();
        orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE);
        int blocks = testheap::blocks();
        for (int n = 1;; ++n) {
            ASSERT_LT(n, 20);
            orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE);
            testheap::refuse(n);
            EXPECT_EQ(reportsOf([&] { orvDCT2D(src, dst, ORV_DCT_FORWARD); }), "");
            bool refused = testheap::refused();
            testheap::refuse(0);
            if (!refused)
                break;
            EXPECT_TRUE(dst.values() == before) << n;
        }
        EXPECT_NEAR(dst.get(0, 0), naive(src, {0, 0, width, height}, 0, false)[0], 1e-3);
        orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE);
        EXPECT_EQ(testheap::blocks(), blocks);
    }
}
