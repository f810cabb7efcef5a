// The fixed-point core of the Fourier transforms, lanes of both cores, and products of packed spectra.
#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <limits>

#include "checks.h"
#include "fourier.h"
#include "reports.h"
#include "transform/ownfftcache.h"

namespace {

using Ints = std::vector<int32_t>;

// Whole numbers up to the limit on either side.
void fillSmall(Picture& picture, int limit)
{
    Random random(picture.layout().seed + 100);
    picture.fill([&](int, int, int) { return random.between(-limit, limit); });
}

class FftFixed : public testing::Test {
protected:
    ~FftFixed() override { orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE); }
};

int32_t wrap(int64_t value)
{
    return int32_t(uint32_t(uint64_t(value)));
}

// ---- The direct transform, number by number ----

int32_t product(int32_t x, int32_t factor)
{
    int32_t low = int32_t((uint32_t(x) & 0xFFFF) >> 1);
    return wrap(int64_t{x >> 16} * factor * 4 + ((int64_t{low} * factor) >> 13));
}

struct Parts {
    int32_t re, im;
};

// Value k of the transform of a real line.
Parts directValue(const Ints& x, int k, int sign)
{
    int n = int(x.size());
    int64_t re = x[0], im = 0;
    if (n % 2 == 0)
        re += k % 2 == 0 ? x[size_t(n / 2)] : -int64_t{x[size_t(n / 2)]};
    for (int i = 1; i <= (n - 1) / 2; ++i) {
        double t = 2 * 3.14159265358979323846 * (i * k % n) / n;
        int32_t sum = wrap(int64_t{x[size_t(i)]} + x[size_t(n - i)]);
        int32_t difference = wrap(int64_t{x[size_t(i)]} - x[size_t(n - i)]);
        re += k == 0 ? sum : product(sum, int32_t(16384 * cos(t)));
        im += k == 0 ? 0 : product(difference, int32_t(-16384 * sin(t)));
    }
    return {wrap(re), wrap(sign < 0 ? im : -im)};
}

// Of a complex line, whose parts are transformed like two real ones; the upper half comes by symmetry.
Parts directValue(const Ints& re, const Ints& im, int k, int sign)
{
    bool mirrored = 2 * k > int(re.size());
    int near = mirrored ? int(re.size()) - k : k;
    Parts a = directValue(re, near, sign), b = directValue(im, near, sign);
    int64_t turned = mirrored ? -1 : 1;
    return {wrap(a.re - turned * b.im), wrap(b.re + turned * a.im)};
}

int32_t stored(int32_t value, float scale, int32_t low, int32_t high)
{
    int32_t whole = value < 0 && value > -64 ? 0 : value >> 6;
    if (scale != 0)
        whole = int32_t(std::rint(float(whole) * scale));
    return std::clamp(whole, low, high);
}

// The packed spectrum before the store, for sizes that all go the direct way.
Ints directPacked(const Ints& image, int width, int height, int sign)
{
    std::vector<Ints> re(static_cast<size_t>(width / 2 + 1), Ints(size_t(height))), im = re;
    for (int y = 0; y < height; ++y) {
        Ints row(image.begin() + y * width, image.begin() + (y + 1) * width);
        for (int u = 0; u <= width / 2; ++u) {
            Parts value = directValue(row, u, sign);
            re[size_t(u)][size_t(y)] = value.re;
            im[size_t(u)][size_t(y)] = value.im;
        }
    }
    Ints packed;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            fourier::Place place = fourier::placeOf(x, y, width, height);
            bool real = place.u == 0 || 2 * place.u == width;
            size_t u = size_t(place.u);
            Parts value = real ? directValue(re[u], place.v, sign) : directValue(re[u], im[u], place.v, sign);
            packed.push_back(place.part ? value.im : value.re);
        }
    return packed;
}

}  // namespace

TEST_F(FftFixed, TheDirectWayCountsAsTold)
{
    for (auto [width, height] :
         {std::pair{5, 1}, {1, 7}, {2, 1}, {1, 1}, {12, 1}, {1, 30}, {5, 7}, {9, 15}, {6, 10}, {12, 21}, {21, 12}})
        for (int32_t flags : {ORV_FFT_FORWARD | ORV_FFT_USE_INT, ORV_FFT_INVERSE | ORV_FFT_USE_INT,
                              ORV_FFT_INVERSE | ORV_FFT_NO_SCALE | ORV_FFT_USE_INT}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << flags);
            Picture src({.depth = ORV_DEPTH_16S, .width = width, .height = height});
            Picture wide({.depth = ORV_DEPTH_32S, .width = width, .height = height});
            Picture narrow({.depth = ORV_DEPTH_8S, .width = width, .height = height});
            Ints values;
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    values.push_back(int32_t(src.get(x, y)) * 64);
            Ints packed = directPacked(values, width, height, flags & ORV_FFT_FORWARD ? -1 : 1);
            float scale = flags & (ORV_FFT_FORWARD | ORV_FFT_NO_SCALE) ? 0 : 1 / float(width * height);
            orvRealFft2D(src, wide, flags);
            orvRealFft2D(src, narrow, flags);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    int32_t value = packed[size_t(y) * size_t(width) + size_t(x)];
                    ASSERT_EQ(wide.get(x, y), stored(value, scale, INT32_MIN, INT32_MAX)) << x << ' ' << y;
                    ASSERT_EQ(narrow.get(x, y), stored(value, scale, -128, 127)) << x << ' ' << y;
                }
        }
}

TEST_F(FftFixed, PowersOfTwoStayNearTheTruth)
{
    for (int height : {1, 2, 4, 8, 16, 64, 512})
        for (int width : {1, 2, 4, 8, 32, 128, 256})
            for (int sign : {-1, 1}) {
                SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << sign);
                Picture src({.width = width, .height = height, .seed = uint64_t(width + height)});
                Picture packed({.depth = ORV_DEPTH_32S, .width = width, .height = height}), real(packed.layout());
                int32_t flags = ORV_FFT_USE_INT | (sign < 0 ? ORV_FFT_FORWARD : ORV_FFT_INVERSE | ORV_FFT_NO_SCALE);
                orvRealFft2D(src, packed, flags);
                orvCcsFft2D(src, real, flags);
                fourier::Real values, gotPacked, gotReal;
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x) {
                        values.push_back(src.get(x, y));
                        gotPacked.push_back(packed.get(x, y));
                        gotReal.push_back(real.get(x, y));
                    }
                EXPECT_LT(fourier::relativeError(gotPacked, fourier::realToPacked(values, width, height, sign)), 2e-3);
                EXPECT_LT(fourier::relativeError(gotReal, fourier::packedToReal(values, width, height, sign)), 2e-3);
            }
}

TEST_F(FftFixed, FlatImagesAndImpulsesAreExact)
{
    for (auto [width, height] : {std::pair{64, 32}, {8, 128}, {16, 1}, {1, 4096}}) {
        PictureSpec spec{.depth = ORV_DEPTH_32S, .width = width, .height = height};
        Picture flat(spec), impulse(spec), dst(spec);
        flat.fill([](int, int, int) { return -77; });
        impulse.fill([](int x, int y, int) { return x == 0 && y == 0 ? 1234 : 0; });
        orvRealFft2D(flat, dst, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(dst.get(x, y), x == 0 && y == 0 ? -77 * width * height : 0) << x << ' ' << y;
        orvRealFft2D(impulse, dst, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_EQ(dst.get(x, y), fourier::placeOf(x, y, width, height).part ? 0 : 1234) << x << ' ' << y;
    }
}

TEST_F(FftFixed, TheInverseOfTheSpectrumIsTheImage)
{
    for (auto [width, height] : {std::pair{32, 32}, {128, 16}, {15, 8}, {1, 64}, {64, 1}}) {
        Picture image({.width = width, .height = height}), back({.width = width, .height = height, .seed = 2});
        Picture packed({.depth = ORV_DEPTH_32S, .width = width, .height = height});
        orvRealFft2D(image, packed, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
        orvCcsFft2D(packed, back, ORV_FFT_INVERSE | ORV_FFT_USE_INT);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                ASSERT_NEAR(back.get(x, y), image.get(x, y), 1);
    }
}

TEST_F(FftFixed, FloatImagesAreNeverCountedInFixedPoint)
{
    Picture src({.depth = ORV_DEPTH_32F}), dst({.depth = ORV_DEPTH_8U});
    src.set(0, 0, 0, 0.75);
    orvRealFft2D(src, dst, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
    EXPECT_EQ(dst.get(0, 0), 1);
    dst.set(0, 0, 0, 3);
    orvCcsFft2D(dst, src, ORV_FFT_INVERSE | ORV_FFT_USE_INT);
    EXPECT_EQ(src.get(0, 0), 3);
}

// ---- Lanes ----

namespace {

// All transforms of lines of one length: a block's lanes against the same lines one by one, bit by bit.
template <class T>
void expectLanesAlike(const OwnFftCoreKernels<T>& kernels, int32_t length)
{
    OrvContext& context = ownContext();
    context.fftPlan = {};
    int32_t log2 = length > 1 && (length & (length - 1)) == 0 ? __builtin_ctz(unsigned(length)) : 0;
    int lanes = kernels.blocks[1].lanes;
    OwnFftLength<T> tables{};
    ASSERT_TRUE(ownFftRealTables(context, length, log2, tables));
    ASSERT_TRUE(ownFftComplexTables(context, length, log2, tables));
    T* space = ownFftWork<T>(context, ownFftDirectScratch<T>(length, lanes));
    T* block = ownFftWork<T>(context, int64_t{2} * length * lanes + 2 * lanes);
    T* line = ownFftWork<T>(context, int64_t{2} * length + 2);
    tables.directScratch = space;
    bool realDirect = log2 < ownFftRealCoreLog2;
    for (int which = 0; which < 3; ++which)
        for (int direction : {1, -1}) {
            bool direct = which == 2 ? log2 == 0 : realDirect;
            const OwnFftTransforms<T>* sets = direct ? kernels.direct : kernels.core;
            auto run = [&](const OwnFftTransforms<T>& set, T* values) {
                (which == 0 ? set.realToPairs : which == 1 ? set.pairsToReal : set.complex)(values, tables, direction);
            };
            Random random(uint64_t(length) * 8 + uint64_t(which));
            std::vector<T> values(size_t(2 * length + 2) * size_t(lanes));
            for (T& value : values)
                value = T(random.between(-1000000, 1000000)) / (ownFftIsFixed<T> ? 1 : 1024);
            memcpy(block, values.data(), values.size() * sizeof(T));
            run(sets[1], block);
            int results = which == 2 ? 2 * length : length;
            for (int l = 0; l < lanes; ++l) {
                for (int e = 0; e < 2 * length + 2; ++e)
                    line[e] = values[size_t(e) * size_t(lanes) + size_t(l)];
                run(sets[0], line);
                for (int e = 0; e < results; ++e)
                    ASSERT_EQ(memcmp(&line[e], &block[e * lanes + l], sizeof(T)), 0)
                        << length << ' ' << which << ' ' << direction << ' ' << l << ' ' << e;
            }
        }
}

}  // namespace

TEST_F(FftFixed, LanesGoLikeSingleLines)
{
    // 31 lengths that are not powers of two have their tables at the same time.
    for (int32_t length = 2; length <= 32; ++length) {
        expectLanesAlike(ownFftKernels().floating, length);
        expectLanesAlike(ownFftKernels().fixed, length);
    }
    for (int32_t length = 64; length <= 65536; length *= 2) {
        expectLanesAlike(ownFftKernels().floating, length);
        expectLanesAlike(ownFftKernels().fixed, length);
    }
}

// ---- Products ----

namespace {

template <class T>
T narrowed(long double value)
{
    if constexpr (std::is_same_v<T, float>)
        return float(double(value));
    value = std::clamp(value, (long double)std::numeric_limits<T>::min(), (long double)std::numeric_limits<T>::max());
    return T(std::rint(value));
}

// A product by the definition: what belongs together is found by the places of the packed layout.
template <class T>
void expectProduct(const PictureSpec& aSpec, const PictureSpec& bSpec, const PictureSpec& dstSpec, bool small)
{
    Picture a(aSpec), b(bSpec), dst(dstSpec), before(dstSpec);
    if (aSpec.depth == ORV_DEPTH_32F) {
        fillSmall(a, 1000000);
        fillSmall(b, 1000000);
    } else if (small) {
        // Products on either side of the depth's limits.
        int limit = int(std::exp2((aSpec.depth & ORV_DEPTH_MASK) / 2.0));
        fillSmall(a, limit);
        fillSmall(b, limit);
    }
    auto part = [](const PictureSpec& spec) { return spec.roi.value_or(OrvROI{0, 0, 0, spec.width, spec.height}); };
    OrvROI ra = part(aSpec), rb = part(bSpec), rd = part(dstSpec);
    int width = std::min(ra.width, aSpec.width - ra.xOffset), height = std::min(ra.height, aSpec.height - ra.yOffset);
    orvMpyRCPack2D(a, b, dst);
    int channels = dstSpec.channels - (dstSpec.alpha != 0);
    for (int c = 0; c < dstSpec.channels; ++c) {
        bool processed = rd.coi ? c == rd.coi - 1 : c < channels;
        int first = rd.coi ? 0 : c;
        // Re and im of the value that each pixel belongs to.
        std::vector<std::array<double, 4>> values(static_cast<size_t>(width * (height + 1)));
        auto valueAt = [&](int x, int y) -> std::array<double, 4>& {
            fourier::Place place = fourier::placeOf(x, y, width, height);
            return values[size_t(place.v) * size_t(width) + size_t(place.u)];
        };
        for (int y = 0; y < height && processed; ++y)
            for (int x = 0; x < width; ++x) {
                int at = fourier::placeOf(x, y, width, height).part;
                valueAt(x, y)[size_t(at)] = a.get(ra.xOffset + x, ra.yOffset + y, ra.coi ? ra.coi - 1 : first);
                valueAt(x, y)[size_t(2 + at)] = b.get(rb.xOffset + x, rb.yOffset + y, rb.coi ? rb.coi - 1 : first);
            }
        for (int y = 0; y < dstSpec.height; ++y)
            for (int x = 0; x < dstSpec.width; ++x) {
                int rx = x - rd.xOffset, ry = y - rd.yOffset;
                if (!processed || rx < 0 || ry < 0 || rx >= width || ry >= height) {
                    ASSERT_EQ(dst.raw(x, y, c), before.raw(x, y, c));
                    continue;
                }
                auto [aRe, aIm, bRe, bIm] = valueAt(rx, ry);
                double expected =
                    fourier::placeOf(rx, ry, width, height).part ? aRe * bIm + aIm * bRe : aRe * bRe - aIm * bIm;
                ASSERT_EQ(dst.get(x, y, c), double(narrowed<T>(expected))) << rx << ' ' << ry << ' ' << c;
            }
    }
    EXPECT_EQ(a.faults() + b.faults() + dst.faults(), "");
}

template <class T>
void expectProducts(uint32_t depth)
{
    SCOPED_TRACE(testing::Message() << std::hex << depth);
    for (int height = 1; height <= 5; ++height)
        for (int width = 1; width <= 6; ++width)
            expectProduct<T>({.depth = depth, .width = width, .height = height},
                             {.depth = depth, .width = width, .height = height, .seed = 2},
                             {.depth = depth, .width = width, .height = height, .seed = 3}, width % 2 == 0);
    for (int orders = 0; orders < 8; ++orders) {
        PictureSpec a{.depth = depth, .channels = 4, .alpha = 4, .order = orders & 1, .width = 40, .height = 12};
        PictureSpec b{.depth = depth, .channels = 3, .order = orders >> 1 & 1, .width = 40, .height = 15, .seed = 2};
        PictureSpec dst{.depth = depth, .channels = 3, .order = orders >> 2, .width = 41, .height = 20, .seed = 3};
        a.roi = OrvROI{0, 3, 1, 100, 100};
        b.roi = OrvROI{0, 1, 4, 37, 100};
        dst.roi = OrvROI{0, 0, 9, 37, 11};
        expectProduct<T>(a, b, dst, orders % 2 == 0);
        a.roi->coi = 4;
        b.roi->coi = 1;
        dst.roi->coi = 2;
        expectProduct<T>(a, b, dst, false);
    }
}

}  // namespace

TEST(FftPack, ProductsOfEveryDepthAndLayout)
{
    Reports reports;
    expectProducts<int8_t>(ORV_DEPTH_8S);
    expectProducts<int16_t>(ORV_DEPTH_16S);
    expectProducts<int32_t>(ORV_DEPTH_32S);
    expectProducts<float>(ORV_DEPTH_32F);
    EXPECT_EQ(reports.take(), "");
}

TEST(FftPack, TheLargestProductsAreSaturatedNotWrapped)
{
    for (uint32_t depth : {ORV_DEPTH_8S, ORV_DEPTH_16S, ORV_DEPTH_32S}) {
        double high = std::exp2(double(depth & ORV_DEPTH_MASK) - 1) - 1;
        PictureSpec spec{.depth = depth, .width = 3, .height = 1};
        Picture low(spec), dst(spec);
        low.fill([=](int, int, int) { return -high - 1; });
        orvMpyRCPack2D(low, low, dst);
        EXPECT_EQ(dst.get(0, 0), high);
        EXPECT_EQ(dst.get(1, 0), 0);
        EXPECT_EQ(dst.get(2, 0), high);
    }
}

TEST(FftPack, InPlace)
{
    PictureSpec spec{.depth = ORV_DEPTH_32F, .channels = 2, .width = 18, .height = 8};
    Picture a(spec), b(spec), dst(spec), square(spec);
    fillSmall(a, 1000);
    fillSmall(b, 999);
    fillSmall(square, 1000);
    orvMpyRCPack2D(a, b, dst);
    orvMpyRCPack2D(a, b, b);
    EXPECT_EQ(b.values(), dst.values());
    orvMpyRCPack2D(a, a, dst);
    orvMpyRCPack2D(square, square, square);
    EXPECT_EQ(square.values(), dst.values());
}

TEST(FftPack, ChecksInTheirOrder)
{
    static OrvTileInfo tiles{[](OrvImage*, int32_t, int32_t, int32_t) { return 0; }, nullptr, nullptr, 8, 8};
    static OrvROI cut{0, 0, 0, 8, 8};
    auto call = [](OrvImage* const* images) {
        orvMpyRCPack2D(images[0], images[1], images[2]);
        cut = {0, 0, 0, 8, 8};
    };
    std::vector<Fault> faults;
    const char* names[] = {"srcA", "srcB", "dst"};
    for (int i = 0; i < 3; ++i)
        faults.push_back({"-20 orvMpyRCPack2D Incorrect Image\n", [=](auto images) { images[i]->origin = 2; }});
    for (int i = 0; i < 3; ++i)
        faults.push_back({std::string("-5 orvMpyRCPack2D ") + names[i] + "->imageData == 0\n", [=](auto images) {
                              images[i]->imageData = nullptr;
                              images[i]->tileInfo = &tiles;
                          }});
    for (auto [image, depth] :
         {std::pair{0, ORV_DEPTH_8U}, {0, ORV_DEPTH_1U}, {1, ORV_DEPTH_8U}, {1, ORV_DEPTH_16U}, {1, ORV_DEPTH_1U}})
        faults.push_back({"-17 orvMpyRCPack2D srcA->depth || srcB->depth == 8U||16U||1U\n",
                          [image = image, depth = depth](auto images) {
                              images[image]->depth = depth;
                              images[image]->nChannels = 1;
                              images[image]->alphaChannel = 0;
                          }});
    // A source of 16U is told apart from the other source only.
    faults.push_back({"-5 orvMpyRCPack2D (srcA->depth != srcB->depth)\n", [](auto images) { images[0]->depth = 16; }});
    faults.push_back({"-5 orvMpyRCPack2D (srcA->depth != dst->depth)\n", [](auto images) { images[2]->depth = 8; }});
    const char* sizes[] = {"(width_srcA != width_srcB)", "(height_srcA != height_srcB)", "(width_srcA != width_dst)",
                           "(height_srcA != height_dst)"};
    for (int i = 0; i < 4; ++i)
        faults.push_back({std::string("-5 orvMpyRCPack2D ") + sizes[i] + '\n', [=](auto images) {
                              images[1 + i / 2]->roi = &cut;
                              cut.width = i % 2 ? 8 : 7;
                              cut.height = i % 2 ? 7 : 8;
                          }});
    faults.push_back({"-15 orvMpyRCPack2D \n", [](auto images) { images[0]->alphaChannel = 0; }});
    PictureSpec spec{.depth = ORV_DEPTH_16S, .channels = 3, .alpha = 3, .width = 8, .height = 8};
    expectFaultsInOrder({spec, spec, spec}, call, faults);
    EXPECT_EQ(reportsOf([] { orvMpyRCPack2D(nullptr, nullptr, nullptr); }), "-9 orvMpyRCPack2D Incorrect Image\n");
}

TEST(FftPack, TheProductOfSpectraConvolves)
{
    constexpr int width = 24, height = 15;
    PictureSpec spec{.depth = ORV_DEPTH_32F, .width = width, .height = height};
    Picture image(spec), kernel(spec), a(spec), b(spec);
    fillSmall(image, 1000);
    kernel.fill([](int x, int y, int) { return x == 23 && y == 2 ? 2 : 0; });
    orvRealFft2D(image, a, ORV_FFT_FORWARD);
    orvRealFft2D(kernel, b, ORV_FFT_FORWARD);
    orvMpyRCPack2D(a, b, a);
    orvCcsFft2D(a, b, ORV_FFT_INVERSE);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            EXPECT_NEAR(b.get(x, y), 2 * image.get((x + 1) % width, (y + height - 2) % height), 2e-3);
    orvRealFft2D(nullptr, nullptr, ORV_FFT_RELEASE);
}
