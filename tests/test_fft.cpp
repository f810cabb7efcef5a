// Fourier transforms: values, layouts, checks, caches.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <thread>

#include "checks.h"
#include "core/ownisa.h"
#include "fourier.h"
#include "reports.h"
#include "testheap.h"

namespace {

using namespace fourier;

constexpr std::array depths = {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

PictureSpec floats(int width, int height)
{
    return {.depth = ORV_DEPTH_32F, .width = width, .height = height};
}

// Whatever else is asked for.
void release()
{
    for (const Function& function : functions)
        EXPECT_EQ(reportsOf([&] { function.call(nullptr, nullptr, ORV_FFT_RELEASE | 3); }), "");
}

class Fft : public testing::Test {
protected:
    ~Fft() override { release(); }
};

// ---- Values ----

// Random values, which are an image as well as a packed spectrum.
void expectSize(int width, int height, int32_t flags, double bound)
{
    Picture src(floats(width, height));
    Random random(uint64_t(width) * 1000 + uint64_t(height));
    src.fill([&](int, int, int) { return float(random.between(-100000, 100000)) / 1024; });
    expectAccurate(src, ORV_DEPTH_32F, flags, bound);
}

}  // namespace

TEST_F(Fft, EverySmallSizeIsPackedByPosition)
{
    for (int height = 1; height <= 40; ++height)
        for (int width = 1; width <= 40; ++width)
            for (int32_t flags : {ORV_FFT_FORWARD, ORV_FFT_INVERSE})
                expectSize(width, height, flags, 3e-7);
}

// Lengths of every kind: products of small primes, of larger ones, and with primes that go through a convolution; and
// longer ones than the caches hold.
TEST_F(Fft, EveryLengthIsAccurate)
{
    auto expectLength = [](int length, int lines) {
        double bound = 3e-7 * std::log2(std::max(2.0, double(length) * lines));
        int32_t flags = length % 3 ? ORV_FFT_FORWARD : ORV_FFT_INVERSE;
        length % 2 ? expectSize(length, lines, flags, bound) : expectSize(lines, length, flags, bound);
    };
    for (int length = 1; length <= 600; ++length)
        expectLength(length, 1);
    for (int length : {1021, 1023, 1080, 1920, 4000, 4093})
        expectLength(length, 1 + length % 4);
    for (int log2 = 10; log2 <= 17; ++log2)
        expectLength((1 << log2) + log2 % 2 * (2 << log2), 3);
}

// What it takes does not grow with lines that are not there.
TEST_F(Fft, FewLongLinesPassOneByOne)
{
    for (auto [width, height] : {std::pair{1 << 17, 2}, {3, 1 << 17}})
        for (int32_t core : {ORV_FFT_USE_FLOAT, ORV_FFT_USE_INT}) {
            Picture src({.depth = ORV_DEPTH_8S, .width = width, .height = height});
            Random random(4);
            src.fill([&](int, int, int) { return random.between(-20, 20); });
            testheap::refuse(0);
            expectAccurate(src, ORV_DEPTH_32S, ORV_FFT_FORWARD | core, core == ORV_FFT_USE_INT ? 1e-2 : 1e-4);
            EXPECT_LT(testheap::asked(), size_t(width) * size_t(height) * 2 * 30);
            release();
        }
}

TEST_F(Fft, BothLevelsGiveTheSameBits)
{
    OwnLevel level = ownLevel();
    if (!ownForceLevel(OwnLevel::v3))
        GTEST_SKIP();
    for (auto [width, height] : {std::pair{64, 32}, {39, 31}, {4096, 9}, {18, 2048}, {1, 77}, {67, 34}, {2, 2}})
        for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_INT, ORV_FFT_INVERSE | ORV_FFT_USE_INT,
                              int(ORV_FFT_FORWARD), int(ORV_FFT_INVERSE)})
            for (const Function& function : functions) {
                PictureSpec spec{.depth = ORV_DEPTH_16S, .channels = 2, .width = width, .height = height};
                Picture src(spec);
                spec.depth = flags & ORV_FFT_USE_INT ? ORV_DEPTH_32S : ORV_DEPTH_32F;
                spec.order = ORV_DATA_ORDER_PLANE;
                Picture base(spec), v3(spec);
                ownForceLevel(OwnLevel::base);
                function.call(src, base, flags);
                ownForceLevel(OwnLevel::v3);
                function.call(src, v3, flags);
                EXPECT_TRUE(base.values() == v3.values())
                    << function.name << ' ' << width << " x " << height << ' ' << flags;
            }
    ownForceLevel(level);
}

// ---- Depths and layouts ----

namespace {

void fillSmall(Picture& picture)
{
    Random random(5);
    bool isUnsigned = picture->depth == ORV_DEPTH_8U || picture->depth == ORV_DEPTH_16U;
    picture.fill([&](int, int, int) { return random.between(isUnsigned ? 0 : -90, 90); });
}

// Both transforms between images of any layout, and all that must not change.
void expectLayouts(const PictureSpec& srcSpec, const PictureSpec& dstSpec, int32_t flags, bool inPlace = false)
{
    for (const Function& function : functions) {
        SCOPED_TRACE(testing::Message() << function.name << ' ' << depthName(srcSpec.depth) << ' '
                                        << depthName(dstSpec.depth) << ' ' << srcSpec.order << dstSpec.order << ' '
                                        << srcSpec.width << 'x' << srcSpec.height << ' ' << flags << ' ' << inPlace);
        Picture src(srcSpec), other(dstSpec);
        Picture& dst = inPlace ? src : other;
        fillSmall(src);
        Area from = areaOf(src), to = areaOf(dst);
        from.width = std::min(from.width, to.width);
        from.height = std::min(from.height, to.height);
        std::vector<Real> expected;
        for (int c : channelsOf(srcSpec))
            expected.push_back(function.model(valuesOf(src, from, c), from.width, from.height, flags));
        EXPECT_EQ(reportsOf([&] { function.call(src, dst, flags); }), "");
        // The fixed-point core rounds down at each multiplication, and loses the fraction before it divides.
        bool toInt = dstSpec.depth != ORV_DEPTH_32F;
        bool divides = !(flags & (ORV_FFT_FORWARD | ORV_FFT_NO_SCALE));
        double tolerance = !toInt ? 0.01 : !(flags & ORV_FFT_USE_INT) ? 0.51 : divides ? 1.01 : 3;
        expectStored(dst, from.width, from.height, expected, tolerance);
        EXPECT_EQ(src.faults() + dst.faults(), "");
    }
}

}  // namespace

TEST_F(Fft, EveryPairOfDepthsInEveryLayout)
{
    struct Case {
        PictureSpec src, dst;
        bool mayBeOne = false;  // where depths and orders are the same
    };
    PictureSpec three{.channels = 3, .width = 21, .height = 11};
    PictureSpec alpha{.channels = 4, .alpha = 4, .width = 21, .height = 11, .roi = OrvROI{0, 2, 1, 17, 100}};
    PictureSpec cut{.channels = 3, .width = 21, .height = 11, .roi = OrvROI{0, 5, 3, 100, 8}};
    PictureSpec coi = cut, coiOfAlpha = alpha;
    coi.roi->coi = 2;
    coiOfAlpha.roi->coi = 4;
    PictureSpec one{.width = 21, .height = 4, .roi = OrvROI{0, 5, 3, 100, 8}};
    PictureSpec onlyAlpha{.alpha = 1, .width = 9, .height = 6, .roi = OrvROI{1, 2, 1, 6, 4}};
    PictureSpec outside{.width = 8, .height = 8, .roi = OrvROI{0, 8, 0, 4, 4}};
    PictureSpec farOutside{.width = 8, .height = 8, .roi = OrvROI{0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}};
    std::vector<Case> cases = {{three, three},    {three, three, true}, {alpha, cut},
                               {coiOfAlpha, coi}, {coiOfAlpha, one},    {onlyAlpha, onlyAlpha},
                               {outside, one},    {one, outside},       {farOutside, one}};
    for (auto [width, height] : {std::pair{64, 1}, {1, 64}, {13, 1}, {1, 13}, {2, 1}, {1, 2}}) {
        PictureSpec line{.channels = 2, .width = width, .height = height};
        cases.push_back({line, line, true});
        cases.push_back(
            {{.channels = 2, .width = width + 5, .height = height + 6, .roi = OrvROI{2, 3, 4, width, height}},
             {.channels = 3, .width = width + 1, .height = height + 2, .roi = OrvROI{1, 1, 2, 65, 64}}});
    }
    int odd = 0;
    for (uint32_t from : depths)
        for (uint32_t to : depths)
            for (int orders = 0; orders < 4; ++orders)
                for (auto [src, dst, mayBeOne] : cases) {
                    src.extraStep = dst.extraStep = ++odd % 6;
                    src.offset = odd % 3;
                    dst.offset = odd % 4;
                    src.depth = from;
                    src.order = orders & 1;
                    dst.depth = to;
                    dst.order = orders >> 1;
                    bool inPlace = mayBeOne && from == to && src.order == dst.order;
                    for (int32_t core : {ORV_FFT_USE_FLOAT, ORV_FFT_USE_INT})
                        for (int32_t way : {ORV_FFT_FORWARD | ORV_FFT_NO_SCALE, int(ORV_FFT_INVERSE)})
                            expectLayouts(src, dst, core | way, inPlace);
                }
}

TEST_F(Fft, StoredFloatsAreRoundedToEvenAndSaturated)
{
    // A single pixel is its own spectrum.
    const double values[] = {-3e9,    -2147483648.0, -65536,    -32768.5, -129,         -128.5,       -127.5,
                             -1.5,    -0.5,          0.5,       1.5,      2.5,          126.5,        127.4,
                             127.5,   254.5,         254.51,    255,      255.5,        32766.5,      32767.5,
                             65534.5, 65535.5,       8388607.5, 16777217, 2147483520.0, 2147483648.0, 3e9};
    for (uint32_t depth : depths)
        for (double value : values) {
            Picture src(floats(1, 1)), dst({.depth = depth});
            src.set(0, 0, 0, value);
            double single = src.get(0, 0);
            orvRealFft2D(src, dst, ORV_FFT_FORWARD);
            EXPECT_EQ(dst.raw(0, 0), bitsOf(depth, depth == ORV_DEPTH_32F ? single : std::nearbyint(single)))
                << depthName(depth) << ' ' << value;
            if (depth == ORV_DEPTH_32F)
                continue;
            src.set(0, 0, 0, NAN);
            orvRealFft2D(src, dst, ORV_FFT_FORWARD);
            EXPECT_EQ(dst.raw(0, 0), 0u) << "what is no number";
        }
}

// ---- Checks ----

TEST_F(Fft, ChecksInTheirOrder)
{
    static OrvTileInfo tiles{[](OrvImage*, int32_t, int32_t, int32_t) { return 0; }, nullptr, nullptr, 8, 8};
    for (const Function& function : functions) {
        int32_t flags = ORV_FFT_FORWARD;
        bool missing[2] = {};
        auto call = [&](OrvImage* const* images) {
            function.call(missing[0] ? nullptr : images[0], missing[1] ? nullptr : images[1], flags);
            missing[0] = missing[1] = false;
            flags = ORV_FFT_FORWARD;
        };
        const FaultOf fault{function.name};
        std::vector<Fault> faults = {fault(-5, "(flags & 1) == 0 && (flags & 2 ) == 0", [&](auto) { flags = 48; }),
                                     fault(-5, "(flags & 1) != 0 && (flags & 2 ) != 0", [&](auto) { flags = 51; }),
                                     fault(-5, "(flags & 32) != 0 && (flags & 16 ) != 0", [&](auto) { flags = 49; })};
        auto all = [](std::vector<FaultMaker> makers) {
            return [=](OrvImage* const* images) {
                for (const FaultMaker& make : makers)
                    make(images);
            };
        };
        for (int side : {0, 1}) {
            std::string image = side ? "dstImage" : "srcImage";
            FaultMaker onlyAlpha = setChannels(side, 1, 1);
            faults.insert(faults.end(),
                          {fault(-5, image + "==0", [&, side](auto) { missing[side] = true; }),
                           fault(-20, "Incorrect Image", setField(side, &OrvImage::origin, 2)),
                           fault(-5, image + "->alphaChannel == 1 && " + image + "->roi == 0",
                                 all({onlyAlpha, setField(side, &OrvImage::roi, nullptr)})),
                           fault(-5, image + "->alphaChannel == 1 && " + image + "->roi->coi != 1",
                                 all({onlyAlpha, [=](auto images) { images[side]->roi->coi = 0; }})),
                           fault(-5, image + "->depth == 1",
                                 all({setChannels(side, 1, 0), setField(side, &OrvImage::depth, ORV_DEPTH_1U)})),
                           fault(-5, image + "->imageData == 0",
                                 all({setField(side, &OrvImage::imageData, nullptr),
                                      setField(side, &OrvImage::tileInfo, &tiles)}))});
        }
        auto setCoi = [](int src, int dst) {
            return [=](OrvImage* const* images) { images[0]->roi->coi = src, images[1]->roi->coi = dst; };
        };
        const std::string srcCount = "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != ";
        const std::string dstCount = "(dstImage->nChannels - (dstImage->alphaChannel != 0))";
        faults.insert(faults.end(), {fault(-5, srcCount + dstCount, setCoi(0, 0)),
                                     fault(-5, dstCount + " != (srcImage->roi->coi > 0)", setCoi(2, 0)),
                                     fault(-5, srcCount + "(dstImage->roi->coi > 0)", setCoi(0, 2)),
                                     fault(-4, "No working memory", refuseMemory(1, true))});
        OrvROI roi{1, 0, 0, 8, 8};
        expectFaultsInOrder({{.channels = 4, .alpha = 4, .width = 8, .height = 8, .roi = roi},
                             {.channels = 2, .width = 8, .height = 8, .roi = roi}},
                            call, faults);
    }
}

// ---- Caches ----

TEST_F(Fft, RefusedMemoryIsTriedAgainAndThenReported)
{
    struct Case {
        int width, height;
        int32_t flags;
    };
    // Tables and buffers of all kinds.
    for (Case test : {Case{4096, 2, ORV_FFT_FORWARD},
                      {67, 1, ORV_FFT_INVERSE},
                      {64, 1, ORV_FFT_FORWARD},
                      {1, 15, ORV_FFT_FORWARD},
                      {21, 64, ORV_FFT_FORWARD},
                      {32, 64, ORV_FFT_FORWARD | ORV_FFT_USE_INT},
                      {1, 32, ORV_FFT_INVERSE | ORV_FFT_USE_INT},
                      {15, 33, ORV_FFT_FORWARD | ORV_FFT_USE_INT},
                      {2, 2048, ORV_FFT_INVERSE}})
        for (const Function& function : functions) {
            PictureSpec spec{.depth = ORV_DEPTH_32S, .channels = 2, .width = test.width, .height = test.height};
            Picture untouched(spec), expected(spec), src(spec);
            fillSmall(src);
            function.call(src, expected, test.flags);
            release();
            int blocks = testheap::blocks();
            // True if an allocation was refused.
            auto run = [&](int refuse, bool all, const std::string& report, const Picture& result) {
                Picture dst(spec);
                testheap::refuse(refuse, all);
                EXPECT_EQ(reportsOf([&] { function.call(src, dst, test.flags); }), report);
                bool refused = testheap::refused();
                testheap::refuse(0);
                EXPECT_EQ(dst.values(), result.values());
                return refused;
            };
            // Refused once, the second try succeeds.
            for (int n = 1; run(n, false, "", expected); ++n) {
                release();
                EXPECT_EQ(testheap::blocks(), blocks);
                // Refused for good, nothing is stored. The next call finds its way, and then all is there.
                run(n, true, std::string("-4 ") + function.name + " No working memory\n", untouched);
                run(0, false, "", expected);
                EXPECT_FALSE(run(1, true, "", expected));
                release();
                EXPECT_EQ(testheap::blocks(), blocks);
            }
            release();
        }
}

// More of them than there are places, and each with larger buffers than the last one.
TEST_F(Fft, ManyLengthsTakeTurnsInTheCaches)
{
    int blocks = testheap::blocks();
    for (int32_t core : {ORV_FFT_USE_FLOAT, ORV_FFT_USE_INT}) {
        for (int n = 3; n < 3 + 2 * 70; n += 2)
            expectLayouts({.width = n}, {.depth = ORV_DEPTH_32S, .width = n}, ORV_FFT_FORWARD | core);
        release();
        EXPECT_EQ(testheap::blocks(), blocks);
    }
}

TEST_F(Fft, CachesBelongToTheThreadAndEndWithIt)
{
    Picture src(floats(64, 48)), expected(floats(64, 48));
    orvRealFft2D(src, expected, ORV_FFT_FORWARD);
    release();
    [[maybe_unused]] int blocks = testheap::blocks();
    std::vector<std::thread> threads;
    std::array<bool, 3> same = {true, true, true};
    for (bool& mine : same)
        threads.emplace_back([&] {
            for (int i = 0; i < 20; ++i) {
                Picture dst(floats(64, 48));
                orvRealFft2D(src, dst, ORV_FFT_FORWARD);
                mine = mine && dst.values() == expected.values();
                if (i % 5 == 0)
                    orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
            }
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(same[0] && same[1] && same[2]);
#if !defined(_WIN32)  // where a program is not told of its threads' ends, only a DLL is
    EXPECT_EQ(testheap::blocks(), blocks);
#endif
}
