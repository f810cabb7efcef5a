// Fourier transforms: values, layouts, checks, caches.
#include <gtest/gtest.h>

#include <array>
#include <thread>

#include "checks.h"
#include "core/owncontext.h"
#include "core/ownisa.h"
#include "fourier.h"
#include "reports.h"
#include "testheap.h"

namespace {

using fourier::Real;

constexpr std::array depths = {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

int32_t directionOf(int sign)
{
    return sign < 0 ? ORV_FFT_FORWARD : ORV_FFT_INVERSE;
}

// The values of a channel's rectangle.
Real valuesOf(const Picture& picture, int x0, int y0, int width, int height, int c = 0)
{
    Real values;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            values.push_back(picture.get(x0 + x, y0 + y, c));
    return values;
}

// A one-channel image of small whole numbers, which all depths but 8S and 8U hold with their spectra.
PictureSpec floats(int width, int height, uint64_t seed = 1)
{
    return {.depth = ORV_DEPTH_32F, .width = width, .height = height, .seed = seed};
}

void fillWhole(Picture& picture, uint64_t seed, int low, int high)
{
    Random random(seed);
    picture.fill([&](int, int, int) { return random.between(low, high); });
}

double log2Of(double samples)
{
    return std::max(1.0, std::log2(samples));
}

// Both transforms in both directions, from the same random values, which are an image as well as a packed spectrum.
void expectAccurate(int width, int height, double bound)
{
    SCOPED_TRACE(std::to_string(width) + " x " + std::to_string(height));
    Picture src(floats(width, height));
    Random random(uint64_t(width) * 1000 + uint64_t(height));
    src.fill([&](int, int, int) { return float(random.between(-100000, 100000)) / 1024; });
    Real values = valuesOf(src, 0, 0, width, height);
    double samples = double(width) * height;
    for (int sign : {-1, 1}) {
        Picture packed(floats(width, height, 2)), real(floats(width, height, 3));
        orvRealFft2D(src, packed, directionOf(sign));
        orvCcsFft2D(src, real, directionOf(sign));
        Real expectedPacked = fourier::realToPacked(values, width, height, sign);
        Real expectedReal = fourier::packedToReal(values, width, height, sign);
        if (sign > 0)
            for (size_t i = 0; i < values.size(); ++i)
                expectedPacked[i] /= samples, expectedReal[i] /= samples;
        EXPECT_LT(fourier::relativeError(valuesOf(packed, 0, 0, width, height), expectedPacked), bound) << sign;
        EXPECT_LT(fourier::relativeError(valuesOf(real, 0, 0, width, height), expectedReal), bound) << sign;
        EXPECT_EQ(packed.faults() + real.faults(), "");
    }
}

class Fft : public testing::Test {
protected:
    ~Fft() override { orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE); }
};

}  // namespace

// ---- Values ----

TEST_F(Fft, EverySmallSizeIsPackedByPosition)
{
    Reports reports;
    for (int height = 1; height <= 40; ++height)
        for (int width = 1; width <= 40; ++width)
            expectAccurate(width, height, 3e-7);
    EXPECT_EQ(reports.take(), "");
}

TEST_F(Fft, LargeSizesKeepTheirAccuracy)
{
    Reports reports;
    struct Size {
        int width, height;
    };
    // The last ones go above the in-cache length, above a block, and around both as real lines.
    for (Size size : {Size{64, 64},
                      {128, 512},
                      {1024, 32},
                      {32, 1024},
                      {2048, 16},
                      {16, 2048},
                      {4096, 8},
                      {3, 4096},
                      {8, 8192},
                      {16384, 4},
                      {4, 16384},
                      {32768, 4},
                      {4, 32768},
                      {65536, 2},
                      {5, 65536},
                      {131072, 1},
                      {1, 131072}})
        expectAccurate(size.width, size.height, 3e-7 * log2Of(double(size.width) * size.height));
    for (Size size : {Size{2, 1023}, {1023, 9}, {100, 130}, {1, 999}, {3001, 1}, {257, 64}})
        expectAccurate(size.width, size.height, 1e-6);
    EXPECT_EQ(reports.take(), "");
}

TEST_F(Fft, FewLongLinesPassOneByOne)
{
    expectAccurate(1 << 18, 2, 3e-7 * 19);
    expectAccurate(3, 1 << 18, 3e-7 * 19);
}

TEST_F(Fft, TheUsualRoundTripGivesTheImageBack)
{
    for (auto [width, height] : {std::pair{5, 7}, {16, 8}, {1, 1}, {33, 64}}) {
        Picture image({.width = width, .height = height}), back({.width = width, .height = height, .seed = 2});
        Picture packed(floats(width, height));
        orvRealFft2D(image, packed, ORV_FFT_FORWARD);
        orvCcsFft2D(packed, back, ORV_FFT_INVERSE);
        EXPECT_EQ(image.values(), back.values());
        // Without the division it comes back as often as it has pixels, within the limits of the depth.
        orvCcsFft2D(packed, back, ORV_FFT_INVERSE | ORV_FFT_NO_SCALE);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                EXPECT_NEAR(back.get(x, y), std::min(255.0, image.get(x, y) * width * height), 0.5);
        // Forward never divides.
        Picture same(floats(width, height, 3));
        orvRealFft2D(image, same, ORV_FFT_FORWARD | ORV_FFT_NO_SCALE);
        EXPECT_EQ(same.values(), packed.values());
    }
}

TEST_F(Fft, BothLevelsGiveTheSameBits)
{
    OwnLevel level = ownLevel();
    if (!ownForceLevel(OwnLevel::v3))
        GTEST_SKIP();
    for (auto [width, height] : {std::pair{64, 32}, {39, 31}, {4096, 9}, {18, 2048}, {1, 77}, {512, 1}, {2, 2}})
        for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_INT, ORV_FFT_INVERSE | ORV_FFT_USE_INT,
                              int(ORV_FFT_FORWARD), int(ORV_FFT_INVERSE)}) {
            Picture src({.depth = ORV_DEPTH_16S, .channels = 2, .width = width, .height = height});
            PictureSpec spec{.depth = flags & ORV_FFT_USE_INT ? ORV_DEPTH_32S : ORV_DEPTH_32F,
                             .channels = 2,
                             .order = ORV_DATA_ORDER_PLANE,
                             .width = width,
                             .height = height};
            std::vector<std::vector<uint32_t>> results;
            for (OwnLevel forced : {OwnLevel::base, OwnLevel::v3}) {
                ownForceLevel(forced);
                Picture packed(spec), real(spec);
                orvRealFft2D(src, packed, flags);
                orvCcsFft2D(src, real, flags);
                results.push_back(packed.values());
                results.push_back(real.values());
            }
            EXPECT_TRUE(results[0] == results[2] && results[1] == results[3]) << width << ' ' << height << ' ' << flags;
        }
    ownForceLevel(level);
}

// ---- Depths and layouts ----

namespace {

struct Limits {
    double low, high;
};

Limits limitsOf(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return {0, 255};
    case ORV_DEPTH_8S: return {-128, 127};
    case ORV_DEPTH_16U: return {0, 65535};
    case ORV_DEPTH_16S: return {-32768, 32767};
    case ORV_DEPTH_32S: return {-2147483648.0, 2147483647.0};
    default: return {-1e30, 1e30};
    }
}

// One transform between images of any layout: region, channels, all that must not change.
void expectLayouts(const PictureSpec& srcSpec, const PictureSpec& dstSpec, int32_t flags)
{
    SCOPED_TRACE(testing::Message() << std::hex << srcSpec.depth << ' ' << dstSpec.depth << ' ' << srcSpec.order
                                    << dstSpec.order << ' ' << flags);
    Picture src(srcSpec), dst(dstSpec);
    Limits range = limitsOf(srcSpec.depth);
    fillWhole(src, 5, int(std::max(range.low, -90.0)), int(std::min(range.high, 90.0)));
    Picture before(dstSpec);
    OrvROI a = srcSpec.roi.value_or(OrvROI{0, 0, 0, srcSpec.width, srcSpec.height});
    OrvROI b = dstSpec.roi.value_or(OrvROI{0, 0, 0, dstSpec.width, dstSpec.height});
    int width = std::min({a.width, srcSpec.width - a.xOffset, b.width, dstSpec.width - b.xOffset});
    int height = std::min({a.height, srcSpec.height - a.yOffset, b.height, dstSpec.height - b.yOffset});
    orvRealFft2D(src, dst, flags);
    bool isInt = dstSpec.depth != ORV_DEPTH_32F;
    // The fixed-point core rounds down at each multiplication, and loses the fraction in the end.
    double tolerance = flags & ORV_FFT_USE_INT && isInt ? 3.0 : isInt ? 0.51 : 0.01;
    Limits limits = limitsOf(dstSpec.depth);
    int channels = dstSpec.channels - (dstSpec.alpha != 0);
    for (int c = 0; c < dstSpec.channels; ++c) {
        bool processed = b.coi ? c == b.coi - 1 : c < channels;
        Real expected = processed ? fourier::realToPacked(valuesOf(src, a.xOffset, a.yOffset, width, height,
                                                                   a.coi   ? a.coi - 1
                                                                   : b.coi ? 0
                                                                           : c),
                                                          width, height, -1)
                                  : Real();
        for (int y = 0; y < dstSpec.height; ++y)
            for (int x = 0; x < dstSpec.width; ++x) {
                int rx = x - b.xOffset, ry = y - b.yOffset;
                if (!processed || rx < 0 || ry < 0 || rx >= width || ry >= height) {
                    ASSERT_EQ(dst.raw(x, y, c), before.raw(x, y, c)) << x << ' ' << y << ' ' << c;
                    continue;
                }
                double value = expected[size_t(ry) * size_t(width) + size_t(rx)];
                ASSERT_NEAR(dst.get(x, y, c), std::clamp(value, limits.low, limits.high), tolerance)
                    << x << ' ' << y << ' ' << c;
            }
    }
    EXPECT_EQ(src.faults() + dst.faults(), "");
}

}  // namespace

TEST_F(Fft, EveryPairOfDepthsAndOrders)
{
    Reports reports;
    for (uint32_t from : depths)
        for (uint32_t to : depths)
            for (int orders = 0; orders < 4; ++orders)
                for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_FLOAT, ORV_FFT_FORWARD | ORV_FFT_USE_INT}) {
                    PictureSpec src{.depth = from, .channels = 3, .order = orders & 1, .width = 21, .height = 11};
                    PictureSpec dst{.depth = to, .channels = 3, .order = orders >> 1, .width = 21, .height = 11};
                    expectLayouts(src, dst, flags);
                    // Alpha on one side, regions that are cut at the images' edges, a channel of its own.
                    src.channels = src.alpha = 4;
                    src.roi = OrvROI{0, 2, 1, 17, 100};
                    dst.roi = OrvROI{0, 5, 3, 100, 8};
                    expectLayouts(src, dst, flags);
                    src.roi->coi = 4;
                    dst.roi->coi = 2;
                    expectLayouts(src, dst, flags);
                    dst.channels = 1;
                    dst.roi->coi = 0;
                    dst.height = 4;
                    expectLayouts(src, dst, flags);
                }
    EXPECT_EQ(reports.take(), "");
}

TEST_F(Fft, RowsAndColumnsOfEveryDepth)
{
    for (uint32_t from : depths)
        for (uint32_t to : depths)
            for (int order : {0, 1})
                for (auto [width, height] : {std::pair{64, 1}, {1, 64}, {13, 1}, {1, 13}, {2, 1}, {1, 2}})
                    for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_FLOAT, ORV_FFT_FORWARD | ORV_FFT_USE_INT})
                        expectLayouts({.depth = from,
                                       .channels = 2,
                                       .order = order,
                                       .width = 70,
                                       .height = 70,
                                       .roi = OrvROI{2, 3, 4, width, height}},
                                      {.depth = to,
                                       .channels = 3,
                                       .order = 1 - order,
                                       .width = 66,
                                       .height = 66,
                                       .roi = OrvROI{1, 1, 2, 65, 64}},
                                      flags);
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
            Limits limits = limitsOf(depth);
            orvRealFft2D(src, dst, ORV_FFT_FORWARD);
            double expected =
                depth == ORV_DEPTH_32F ? single : std::nearbyint(std::clamp(single, limits.low, limits.high));
            EXPECT_EQ(dst.get(0, 0), expected) << std::hex << depth << ' ' << value;
        }
}

TEST_F(Fft, InPlace)
{
    for (auto [width, height] : {std::pair{32, 16}, {21, 9}, {64, 1}, {1, 9}})
        for (uint32_t depth : {ORV_DEPTH_16S, ORV_DEPTH_32F})
            for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_INT, ORV_FFT_INVERSE | ORV_FFT_USE_FLOAT}) {
                PictureSpec spec{.depth = depth, .channels = 3, .width = width, .height = height};
                Picture image(spec), other(spec);
                fillWhole(image, 3, -100, 100);
                Picture same(spec);
                fillWhole(same, 3, -100, 100);
                orvRealFft2D(image, other, flags);
                orvRealFft2D(same, same, flags);
                EXPECT_EQ(same.values(), other.values());
                orvCcsFft2D(image, other, flags);
                orvCcsFft2D(image, image, flags);
                EXPECT_EQ(image.values(), other.values());
            }
}

TEST_F(Fft, RegionsOutsideTheImageAreLeftAlone)
{
    Reports reports;
    Picture src({.width = 8, .height = 8, .roi = OrvROI{0, 8, 0, 4, 4}}), dst({.width = 8, .height = 8, .seed = 2});
    auto before = dst.bytes();
    orvRealFft2D(src, dst, ORV_FFT_FORWARD);
    orvCcsFft2D(dst, src, ORV_FFT_FORWARD);
    src.roi = {0, 0, INT32_MAX, INT32_MAX, INT32_MAX};
    orvRealFft2D(src, dst, ORV_FFT_FORWARD);
    EXPECT_EQ(dst.bytes(), before);
    EXPECT_EQ(reports.take(), "");
}

// ---- Checks ----

TEST_F(Fft, ChecksInTheirOrder)
{
    orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
    static int32_t flags;
    static OrvImage *src, *dst;
    static OrvTileInfo tiles{[](OrvImage*, int32_t, int32_t, int32_t) { return 0; }, nullptr, nullptr, 8, 8};
    for (bool ccs : {false, true}) {
        const char* name = ccs ? "orvCcsFft2D" : "orvRealFft2D";
        auto call = [=](OrvImage* const* images) {
            src = src ? nullptr : images[0];
            dst = dst ? nullptr : images[1];
            (ccs ? orvCcsFft2D : orvRealFft2D)(src, dst, flags);
            orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
            src = dst = nullptr;
            flags = ORV_FFT_FORWARD;
        };
        auto line = [=](int status, const char* text) {
            return std::to_string(status) + ' ' + name + ' ' + text + '\n';
        };
        std::vector<Fault> faults = {
            {line(-5, "(flags & 1) == 0 && (flags & 2 ) == 0"), [](auto) { flags = 48; }},
            {line(-5, "(flags & 1) != 0 && (flags & 2 ) != 0"), [](auto) { flags = 51; }},
            {line(-5, "(flags & 32) != 0 && (flags & 16 ) != 0"), [](auto) { flags = 49; }},
        };
        for (int side : {0, 1}) {
            std::string image = side ? "dstImage" : "srcImage";
            auto text = [=](const std::string& condition) {
                std::string all = condition;
                for (size_t at; (at = all.find('@')) != std::string::npos;)
                    all.replace(at, 1, image);
                return line(-5, all.c_str());
            };
            faults.push_back({text("@==0"), [=](auto) { (side ? dst : src) = reinterpret_cast<OrvImage*>(1); }});
            faults.push_back({line(-20, "Incorrect Image"), [=](auto images) { images[side]->origin = 2; }});
            // Only alpha, with a region that does not say so, or none.
            faults.push_back({text("@->alphaChannel == 1 && @->roi == 0"), [=](auto images) {
                                  images[side]->nChannels = images[side]->alphaChannel = 1;
                                  images[side]->roi = nullptr;
                              }});
            faults.push_back({text("@->alphaChannel == 1 && @->roi->coi != 1"), [=](auto images) {
                                  images[side]->nChannels = images[side]->alphaChannel = 1;
                                  images[side]->roi->coi = 0;
                              }});
            faults.push_back({text("@->depth == 1"), [=](auto images) {
                                  images[side]->nChannels = 1;
                                  images[side]->alphaChannel = 0;
                                  images[side]->depth = ORV_DEPTH_1U;
                              }});
            faults.push_back({text("@->imageData == 0"), [=](auto images) {
                                  images[side]->imageData = nullptr;
                                  images[side]->tileInfo = &tiles;
                              }});
        }
        src = dst = nullptr;
        flags = ORV_FFT_FORWARD;
        faults.push_back({line(-5,
                               "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != "
                               "(dstImage->nChannels - (dstImage->alphaChannel != 0))"),
                          [](auto images) { images[0]->roi->coi = images[1]->roi->coi = 0; }});
        faults.push_back({line(-5, "(dstImage->nChannels - (dstImage->alphaChannel != 0)) != (srcImage->roi->coi > 0)"),
                          [](auto images) { images[0]->roi->coi = 2, images[1]->roi->coi = 0; }});
        faults.push_back({line(-5, "(srcImage->nChannels - (srcImage->alphaChannel != 0)) != (dstImage->roi->coi > 0)"),
                          [](auto images) { images[0]->roi->coi = 0, images[1]->roi->coi = 2; }});
        faults.push_back({line(-4, "No working memory"), [](auto) { testheap::refuse(1, true); }});
        OrvROI roi{1, 0, 0, 8, 8};
        expectFaultsInOrder({{.channels = 4, .alpha = 4, .width = 8, .height = 8, .roi = roi},
                             {.channels = 2, .width = 8, .height = 8, .roi = roi}},
                            call, faults);
    }
}

TEST_F(Fft, FlagsAreTestedBeforeTheImagesAndReleaseBeforeAll)
{
    EXPECT_EQ(reportsOf([] { orvRealFft2D(nullptr, nullptr, 3); }),
              "-5 orvRealFft2D (flags & 1) != 0 && (flags & 2 ) != 0\n");
    EXPECT_EQ(reportsOf([] { orvCcsFft2D(nullptr, nullptr, 0); }),
              "-5 orvCcsFft2D (flags & 1) == 0 && (flags & 2 ) == 0\n");
    EXPECT_EQ(reportsOf([] { orvCcsFft2D(nullptr, nullptr, 49); }),
              "-5 orvCcsFft2D (flags & 32) != 0 && (flags & 16 ) != 0\n");
    EXPECT_EQ(reportsOf([] { orvRealFft2D(nullptr, nullptr, 128); }), "");
    EXPECT_EQ(reportsOf([] { orvCcsFft2D(nullptr, nullptr, 128 + 3); }), "");
}

TEST_F(Fft, AnAlphaChannelAloneIsTransformedAsAChannelOfInterest)
{
    Reports reports;
    Picture src({.alpha = 1, .width = 6, .height = 4, .roi = OrvROI{1, 0, 0, 6, 4}}), dst(floats(6, 4));
    orvRealFft2D(src, dst, ORV_FFT_FORWARD);
    EXPECT_EQ(reports.take(), "");
    EXPECT_LT(
        fourier::relativeError(valuesOf(dst, 0, 0, 6, 4), fourier::realToPacked(valuesOf(src, 0, 0, 6, 4), 6, 4, -1)),
        1e-6);
}

// ---- Caches ----

namespace {

struct CacheCase {
    int width, height;
    int32_t flags;
};

// Tables and buffers of all kinds.
constexpr CacheCase cacheCases[] = {{4096, 2, ORV_FFT_FORWARD},
                                    {64, 1, ORV_FFT_FORWARD},
                                    {1, 15, ORV_FFT_FORWARD},
                                    {21, 64, ORV_FFT_FORWARD},
                                    {32, 64, 17},
                                    {1, 32, 18},
                                    {15, 33, 17},
                                    {2, 2048, ORV_FFT_INVERSE}};

}  // namespace

TEST_F(Fft, RefusedMemoryIsTriedAgainAndThenReported)
{
    for (const CacheCase& test : cacheCases)
        for (bool ccs : {false, true}) {
            auto call = ccs ? orvCcsFft2D : orvRealFft2D;
            Picture src({.depth = ORV_DEPTH_16S, .channels = 2, .width = test.width, .height = test.height});
            PictureSpec spec{.depth = ORV_DEPTH_32S, .channels = 2, .width = test.width, .height = test.height};
            Picture expected(spec);
            call(src, expected, test.flags);
            orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
            int blocks = testheap::blocks();
            std::string name = ccs ? "orvCcsFft2D" : "orvRealFft2D";
            for (int n = 1;; ++n) {
                // Refused once, the second try succeeds.
                Picture dst(spec);
                testheap::refuse(n);
                std::string reports = reportsOf([&] { call(src, dst, test.flags); });
                bool refused = testheap::refused();
                testheap::refuse(0);
                EXPECT_EQ(reports, "");
                EXPECT_EQ(dst.values(), expected.values());
                orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
                EXPECT_EQ(testheap::blocks(), blocks);
                if (!refused)
                    break;
                // Refused for good, nothing is stored, and the next call finds its way.
                Picture untouched(spec);
                testheap::refuse(n, true);
                reports = reportsOf([&] { call(src, untouched, test.flags); });
                testheap::refuse(0);
                EXPECT_EQ(reports, "-4 " + name + " No working memory\n");
                EXPECT_EQ(untouched.values(), Picture(spec).values());
                call(src, untouched, test.flags);
                EXPECT_EQ(untouched.values(), expected.values());
                orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
            }
            EXPECT_EQ(testheap::blocks(), blocks);
        }
}

TEST_F(Fft, ARepeatedTransformAllocatesNothing)
{
    for (const CacheCase& test : cacheCases) {
        Picture src({.depth = ORV_DEPTH_16S, .width = test.width, .height = test.height});
        Picture dst({.depth = ORV_DEPTH_32S, .width = test.width, .height = test.height});
        for (int round = 0; round < 2; ++round) {
            testheap::refuse(round, true);
            orvRealFft2D(src, dst, test.flags);
            orvCcsFft2D(src, dst, test.flags);
        }
        EXPECT_FALSE(testheap::refused()) << test.width << " x " << test.height;
        testheap::refuse(0);
    }
}

TEST_F(Fft, ReleaseLeavesTheCachesEmpty)
{
    int blocks = testheap::blocks();
    for (const CacheCase& test : cacheCases) {
        Picture src({.width = test.width, .height = test.height}), dst({.width = test.width, .height = test.height});
        orvRealFft2D(src, dst, test.flags);
    }
    EXPECT_GT(testheap::blocks(), blocks + 20);
    orvCcsFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
    const auto* caches = reinterpret_cast<const unsigned char*>(&ownContext().fft);
    EXPECT_TRUE(std::all_of(caches, caches + sizeof(OwnFftCaches), [](unsigned char byte) { return byte == 0; }));
    EXPECT_EQ(testheap::blocks(), blocks);
}

TEST_F(Fft, ManyLengthsTakeTurnsInTheCaches)
{
    for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_FLOAT, ORV_FFT_FORWARD | ORV_FFT_USE_INT}) {
        orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
        for (int n = 3; n < 3 + 2 * 70; n += 2) {
            Picture src({.width = n, .height = 1}), dst({.depth = ORV_DEPTH_32S, .width = n, .height = 1});
            EXPECT_EQ(reportsOf([&] { orvRealFft2D(src, dst, flags); }), "");
            EXPECT_NEAR(dst.get(0, 0), fourier::realToPacked(valuesOf(src, 0, 0, n, 1), n, 1, -1)[0], 1) << n;
        }
    }
}

TEST_F(Fft, CachesBelongToTheThreadAndEndWithIt)
{
    Picture src(floats(64, 48)), expected(floats(64, 48));
    orvRealFft2D(src, expected, ORV_FFT_FORWARD);
    orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
    [[maybe_unused]] int blocks = testheap::blocks();
    std::vector<std::thread> threads;
    std::array<bool, 3> same{};
    for (bool& mine : same)
        threads.emplace_back([&] {
            bool all = true;
            for (int i = 0; i < 20; ++i) {
                Picture dst(floats(64, 48, 7));
                orvRealFft2D(src, dst, ORV_FFT_FORWARD);
                all = all && dst.values() == expected.values();
                if (i % 5 == 0)
                    orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
            }
            mine = all;
        });
    for (std::thread& thread : threads)
        thread.join();
    EXPECT_TRUE(same[0] && same[1] && same[2]);
#if !defined(_WIN32)  // where a program is not told of its threads' ends, only a DLL is
    EXPECT_EQ(testheap::blocks(), blocks);
#endif
}
