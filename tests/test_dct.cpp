// The cosine transform against its definition in double precision.
#include <gtest/gtest.h>

#include <cmath>
#include <thread>

#include "checks.h"
#include "core/ownisa.h"
#include "fourier.h"
#include "model.h"
#include "picture.h"
#include "testheap.h"

namespace {

constexpr double pi = 3.14159265358979323846;

// The orthonormal transform of n samples that are `step` apart.
void naiveLine(double* x, int n, int step, bool inverse)
{
    std::vector<double> y(size_t(n), 0.0), cosines;
    for (int k = 0; k < 4 * n; ++k)
        cosines.push_back(std::cos(k * pi / (2 * n)));
    for (int k = 0; k < n; ++k) {
        double scale = std::sqrt((k ? 2.0 : 1.0) / n);
        for (int i = 0; i < n; ++i) {
            double basis = scale * cosines[size_t((2 * i + 1) * k % (4 * n))];
            (inverse ? y[size_t(i)] : y[size_t(k)]) += x[(inverse ? k : i) * step] * basis;
        }
    }
    for (int i = 0; i < n; ++i)
        x[i * step] = y[size_t(i)];
}

using Values = std::vector<double>;

// The region of one channel, row by row.
Values valuesOf(const Picture& picture, int channel = 0)
{
    return fourier::valuesOf(picture, areaOf(picture), channel);
}

Values naive(Values block, int width, int height, bool inverse)
{
    for (int y = 0; y < height; ++y)
        naiveLine(&block[size_t(y * width)], width, 1, inverse);
    for (int x = 0; x < width; ++x)
        naiveLine(&block[size_t(x)], height, width, inverse);
    return block;
}

void transform(int width, int height)
{
    Picture src({.width = width, .height = height});
    Picture dst({.width = width, .height = height});
    orvDCT2D(src, dst, ORV_DCT_FORWARD);
}

void release()
{
    orvDCT2D(nullptr, nullptr, ORV_DCT_RELEASE);
}

}  // namespace

// Lengths of every kind, in rows and in columns, whole groups of lines and the rest.
TEST(Dct, IsTheDefinedTransform)
{
    for (int n :
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 12, 13, 15, 16, 17, 20, 31, 64, 67, 77, 100, 134, 512, 640, 1021, 1024})
        for (auto [width, height] : {std::pair(n, 9), {16, n}, {1, n}, {n, 1}, {n, 8}}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height);
            PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = width, .height = height};
            Picture src(spec);
            Picture dst(spec);
            for (int flag : {ORV_DCT_FORWARD, ORV_DCT_INVERSE}) {
                orvDCT2D(src, dst, flag);
                Values expected = naive(valuesOf(src), width, height, flag == ORV_DCT_INVERSE);
                EXPECT_LT(fourier::relativeError(valuesOf(dst), expected), 1e-7 * (2 + std::log2(width * height)));
                EXPECT_EQ(dst.faults(), "");
            }
        }
}

// Regions, channels, orders and depths, with what lies beside them untouched.
TEST(Dct, EveryLayout)
{
    Random random(7);
    const std::vector<uint32_t> depths(allDepths.begin() + 1, allDepths.end());
    for (int round = 0; round < 400; ++round) {
        SCOPED_TRACE(round);
        int channels = random.between(1, 4);
        PictureSpec spec = {.depth = depths[size_t(random.below(6))],
                            .channels = channels,
                            .alpha = random.below(2) * channels,
                            .order = random.below(2),
                            .width = random.between(1, 30),
                            .height = random.between(1, 30),
                            .extraStep = random.below(6),
                            .offset = random.below(4)};
        PictureSpec into = spec;
        into.depth = depths[size_t(random.below(6))];
        into.extraStep = random.below(6);
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
            into.roi = region(1, 1);  // its size does not count
        }
        Picture src(spec);
        Picture dst(into);
        bool positive = spec.depth != ORV_DEPTH_32F && !(spec.depth & ORV_DEPTH_SIGN);
        src.fill([&](int, int, int) { return positive ? random.between(0, 200) : random.between(-100, 100); });
        bool inverse = random.below(2);
        EXPECT_EQ(reportsOf([&] { orvDCT2D(src, dst, inverse ? ORV_DCT_INVERSE : ORV_DCT_FORWARD); }), "");

        Area from = areaOf(src);
        std::vector<Values> expected;
        for (int c : channelsOf(spec))
            expected.push_back(naive(valuesOf(src, c), from.width, from.height, inverse));
        fourier::expectStored(dst, from.width, from.height, expected, (into.depth == ORV_DEPTH_32F ? 0 : 0.5) + 0.002);
        ASSERT_EQ(src.faults() + dst.faults(), "");
    }
}

// Two long rows pass one by one.
TEST(Dct, BothLevelsGiveTheSameBits)
{
    OwnLevel level = ownLevel();
    if (!ownForceLevel(OwnLevel::v3))
        GTEST_SKIP();
    for (auto [width, height] : {std::pair(64, 33), {39, 31}, {67, 5}, {8, 8}, {1 << 16, 2}})
        for (int flag : {ORV_DCT_FORWARD, ORV_DCT_INVERSE}) {
            PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = width, .height = height};
            Picture src(spec), base(spec), v3(spec);
            ownForceLevel(OwnLevel::base);
            orvDCT2D(src, base, flag);
            ownForceLevel(OwnLevel::v3);
            orvDCT2D(src, v3, flag);
            EXPECT_TRUE(base.values() == v3.values()) << width << " x " << height;
        }
    ownForceLevel(level);
}

// A single pixel is converted and nothing else, which shows every rounding.
TEST(Dct, RoundsAndSaturates)
{
    const std::pair<uint32_t, std::vector<std::pair<double, double>>> depths[] = {
        {ORV_DEPTH_8U, {{0.5, 0}, {1.5, 2}, {254.5, 254}, {255.5, 255}, {-0.75, 0}, {1e30, 255}, {NAN, 0}}},
        {ORV_DEPTH_8S, {{-128.75, -128}, {-2.5, -2}, {127.5, 127}, {-INFINITY, -128}, {NAN, 0}}},
        {ORV_DEPTH_32S, {{8388607.5, 8388608}, {2147483648, 2147483647}, {-INFINITY, -2147483648.0}, {NAN, 0}}},
    };
    for (auto& [depth, cases] : depths)
        for (auto [from, to] : cases) {
            Picture src({.depth = ORV_DEPTH_32F});
            Picture dst({.depth = depth});
            src.set(0, 0, 0, from);
            orvDCT2D(src, dst, ORV_DCT_FORWARD);
            EXPECT_EQ(dst.get(0, 0), to) << from << " to depth " << depthName(depth);
        }
}

TEST(Dct, ChecksInOrder)
{
    PictureSpec spec = {.channels = 3, .alpha = 3, .width = 16, .height = 12, .roi = OrvROI{0, 1, 2, 8, 8}};
    Picture other({.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8});
    const FaultOf fault{"orvDCT2D"};
    std::string clash = "Images are not compatible";
    auto call = [](OrvImage* const* images) { orvDCT2D(images[0], images[1], ORV_DCT_FORWARD); };
    expectFaultsInOrder(
        {spec, spec}, call,
        {fault(-5, "\nImages with 1u depth are not processed", setField(1, &OrvImage::depth, ORV_DEPTH_1U)),
         fault(-5, "\nAlpha channel may be 0 or number of channels", setField(0, &OrvImage::alphaChannel, 2)),
         fault(-5, clash, setChannels(0, 4, 4))});
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
                            {fault(-5, clash, [&](OrvImage* const* images) { clashes[i](images[0], images[1]); })});
    }
    // The size of the destination's region does not count.
    Picture src(spec), dst(spec);
    dst->roi->width = 0, dst->roi->height = INT32_MIN;
    EXPECT_EQ(reportsOf([&] { orvDCT2D(src, dst, ORV_DCT_FORWARD); }), "");
}

TEST(Dct, Arguments)
{
    Picture src({});
    Picture dst({});
    struct {
        OrvImage *src, *dst;
        std::vector<int32_t> flags;
        std::string report;
    } cases[] = {
        {nullptr, nullptr, {0, 3, 4, 7}, "-5 orvDCT2D \n Bad value of the transform flag\n"},
        {nullptr, nullptr, {1}, "-5 orvDCT2D src==0\n-5 orvDCT2D dst==0\n"},
        {nullptr, dst, {2}, "-5 orvDCT2D src==0\n"},
        {src, nullptr, {2}, "-5 orvDCT2D dst==0\n"},
        {src, src, {1}, "-5 orvDCT2D \nFunction does not support inplace operation\n"},
        {nullptr, nullptr, {8, 9, 11, -1}, ""},
    };
    src->depth = ORV_DEPTH_1U;  // a later fault
    for (auto& one : cases)
        for (int32_t flags : one.flags)
            EXPECT_EQ(reportsOf([&] { orvDCT2D(one.src, one.dst, flags); }), one.report) << flags;

    // Neither an old status nor an unknown flag stops it.
    src->depth = ORV_DEPTH_8U;
    dst.set(0, 0, 0, src.get(0, 0) + 1);
    orvSetErrStatus(-5);
    orvDCT2D(src, dst, ORV_DCT_FORWARD | 4);
    EXPECT_EQ(dst.get(0, 0), src.get(0, 0));
    EXPECT_EQ(orvGetErrStatus(), -5);
    orvSetErrStatus(0);
}

// A second transform of one size needs the block to work in, and no more; tables of many lengths are there at once.
TEST(Dct, KeepsItsTables)
{
    for (int n = 3; n < 60; ++n)
        transform(n, 60);
    release();
    int blocks = testheap::blocks();
    for (auto [width, height] : {std::pair(32, 32), {4, 32}, {67, 5}, {7, 8}, {1, 64}}) {
        transform(width, height);
        EXPECT_GT(testheap::blocks(), blocks);
        testheap::refuse(2);
        transform(width, height);
        EXPECT_FALSE(testheap::refused()) << width << " x " << height;
        testheap::refuse(0);
    }
    release();
    EXPECT_EQ(testheap::blocks(), blocks);
}

// On Windows a program is not told of its threads' ends, only a DLL is.
#if !defined(_WIN32)
TEST(Dct, TablesGoWithTheThread)
{
    int before = testheap::blocks(), within = 0;
    std::thread([&] {
        orvGetErrStatus();
        int record = testheap::blocks();
        transform(67, 9);
        within = testheap::blocks() - record;
    }).join();
    EXPECT_EQ(within, 5) << "the cache, and the tables of two lengths";
    EXPECT_EQ(testheap::blocks(), before);
}
#endif

// Blocks of 8 x 8 need none.
TEST(Dct, WithoutMemoryNothingHappens)
{
    const std::string report = "-4 orvDCT2D No working memory\n";
    for (auto [width, height] : {std::pair(8, 8), {64, 7}, {67, 16}})
        for (int32_t flags : {ORV_DCT_FORWARD, ORV_DCT_INVERSE}) {
            PictureSpec spec = {.channels = 2, .width = width, .height = height};
            Picture src(spec);
            spec.depth = ORV_DEPTH_32F;
            Picture expected(spec), untouched(spec);
            orvDCT2D(src, expected, flags);
            release();
            int blocks = testheap::blocks();
            for (bool all : {false, true})
                for (bool refused = true; int n : {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13}) {
                    Picture dst(spec);
                    testheap::refuse(n, all);
                    std::string reports = reportsOf([&] { orvDCT2D(src, dst, flags); });
                    refused = testheap::refused();
                    testheap::refuse(0);
                    // Tables are asked for once more. The block to work in comes last, and its want is not told.
                    bool done = dst.values() == expected.values();
                    EXPECT_TRUE(done || dst.values() == untouched.values()) << n;
                    EXPECT_TRUE(refused || done) << n;
                    EXPECT_TRUE(reports.empty() || (reports == report && all && !done)) << n << reports;
                    EXPECT_TRUE(!all || done != refused) << n;
                    release();
                    EXPECT_EQ(testheap::blocks(), blocks);
                }
        }
}
