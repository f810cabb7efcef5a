// The fixed-point core of the Fourier transforms, and products of packed spectra.
#include <gtest/gtest.h>

#include <bit>

#include "checks.h"
#include "fourier.h"
#include "transform/ownfftcache.h"

namespace {

using namespace fourier;
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

// A cosine in Q14, cut toward zero; what is a half or a whole number is that, though the double may lie beside it.
int32_t fixedFactor(double cosine)
{
    double half = std::rint(2 * cosine) / 2;
    return int32_t(16384 * (std::abs(cosine - half) < 1e-12 ? half : cosine));
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
        re += k == 0 ? sum : product(sum, fixedFactor(cos(t)));
        im += k == 0 ? 0 : product(difference, fixedFactor(-sin(t)));
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

double stored(int32_t value, float scale)
{
    int32_t whole = value < 0 && value > -64 ? 0 : value >> 6;
    return scale == 0 ? double(whole) : double(std::rint(float(whole) * scale));
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
            Place place = placeOf(x, y, width, height);
            bool real = place.u == 0 || 2 * place.u == width;
            size_t u = size_t(place.u);
            Parts value = real ? directValue(re[u], place.v, sign) : directValue(re[u], im[u], place.v, sign);
            packed.push_back(place.part ? value.im : value.re);
        }
    return packed;
}

}  // namespace

TEST_F(FftFixed, OtherLengthsAreDirectSums)
{
    for (auto [width, height] :
         {std::pair{5, 1}, {1, 7}, {2, 1}, {1, 1}, {12, 1}, {1, 30}, {5, 7}, {9, 15}, {6, 10}, {12, 21}, {21, 12}})
        for (int32_t flags : {int(ORV_FFT_FORWARD), int(ORV_FFT_INVERSE), ORV_FFT_INVERSE | ORV_FFT_NO_SCALE}) {
            SCOPED_TRACE(testing::Message() << width << " x " << height << ' ' << flags);
            Picture src({.depth = ORV_DEPTH_16S, .width = width, .height = height});
            Ints values;
            for (double value : valuesOf(src))
                values.push_back(int32_t(value) * 64);
            Ints packed = directPacked(values, width, height, flags & ORV_FFT_FORWARD ? -1 : 1);
            float scale = flags == ORV_FFT_INVERSE ? 1 / float(width * height) : 0;
            Real expected;
            for (int32_t value : packed)
                expected.push_back(stored(value, scale));
            for (uint32_t depth : {ORV_DEPTH_32S, ORV_DEPTH_8S}) {
                Picture dst({.depth = depth, .width = width, .height = height});
                orvRealFft2D(src, dst, flags | ORV_FFT_USE_INT);
                expectStored(dst, width, height, {expected}, 0);
            }
        }
}

TEST_F(FftFixed, PowersOfTwoStayNearTheTruth)
{
    for (int height : {1, 2, 4, 8, 16, 64, 512})
        for (int width : {1, 2, 4, 8, 32, 128, 256})
            for (int32_t flags : {int(ORV_FFT_FORWARD), ORV_FFT_INVERSE | ORV_FFT_NO_SCALE}) {
                Picture src({.width = width, .height = height, .seed = uint64_t(width + height)});
                expectAccurate(src, ORV_DEPTH_32S, flags | ORV_FFT_USE_INT, 2e-3);
            }
}

TEST_F(FftFixed, FlatImagesAreExact)
{
    for (auto size : {std::pair{64, 32}, {8, 128}, {16, 1}, {1, 4096}, {3, 1}, {6, 3}, {12, 5}}) {
        const int width = size.first, height = size.second;
        SCOPED_TRACE(testing::Message() << width << " x " << height);
        PictureSpec spec{.depth = ORV_DEPTH_32S, .width = width, .height = height};
        Picture flat(spec), dst(spec), expected(spec);
        flat.fill([](int, int, int) { return -77; });
        orvRealFft2D(flat, dst, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
        expected.fill([=](int x, int y, int) { return x == 0 && y == 0 ? -77 * width * height : 0; });
        EXPECT_EQ(dst.values(), expected.values());
    }
}

// An impulse goes through a single multiplication: in a row where it splits the spectra of even and odd values, in a
// column where it leaves the first butterfly. So it shows the factors, and every bit that is cut.
TEST_F(FftFixed, ImpulsesShowTheFactors)
{
    for (int32_t height : {1, 1234, 25000000})
        for (int n : {8, 16, 32, 64, 256}) {
            int32_t value = height * 64;
            auto expectParts = [&](Picture& dst, int x, int y, int64_t re, int64_t im) {
                EXPECT_EQ(dst.getInt(x, y), stored(wrap(re), 0)) << height << ' ' << n << ' ' << x << ' ' << y;
                EXPECT_EQ(dst.getInt(x + 1, y), stored(wrap(im), 0)) << height << ' ' << n << ' ' << x << ' ' << y;
            };
            Picture row({.depth = ORV_DEPTH_32S, .width = n}), ofRow({.depth = ORV_DEPTH_32S, .width = n});
            row.fill([=](int x, int, int) { return x == 1 ? height : 0; });
            orvRealFft2D(row, ofRow, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
            for (int k = 1; k <= n / 4; ++k) {
                double t = 2 * 3.14159265358979323846 * k / n;
                expectParts(ofRow, 2 * k - 1, 0, product(value, fixedFactor(cos(t))),
                            -product(value, fixedFactor(sin(t))));
            }
            PictureSpec spec{.depth = ORV_DEPTH_32S, .width = 4, .height = n};
            Picture column(spec), ofColumn(spec);
            column.fill([=](int x, int y, int) { return x == 0 && y == 1 ? height : 0; });
            orvRealFft2D(column, ofColumn, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
            for (int k = 1; k <= (n == 8 || n == 16 ? 3 : 0); ++k) {
                double t = 2 * 3.14159265358979323846 * k / n;
                if (8 * k == n)
                    expectParts(ofColumn, 1, k, product(value, 11585), product(-value, 11585));
                else if (8 * k < n)
                    expectParts(ofColumn, 1, k, product(value, fixedFactor(cos(t))),
                                -product(value, fixedFactor(sin(t))));
            }
        }
}

// ---- Lanes ----

namespace {

// A transform of lines of one length: a block's lanes against the same lines one by one, bit by bit.
void expectLanesAlike(OwnFftCaches& caches, int32_t length,
                      OwnFftFixedTransforms::Transform OwnFftFixedTransforms::*transform)
{
    bool isComplex = transform == &OwnFftFixedTransforms::complex;
    auto lanes = size_t(ownFftKernels().fixed.blocks[1].complexLanes), room = size_t(2 * length + 2);
    OwnFftFixedLength tables{};
    ASSERT_TRUE(ownFftRealTables(caches, length, tables) && ownFftComplexTables(caches, length, tables));
    std::vector<int64_t> scratch(size_t(ownFftDirectScratch(length, int64_t(lanes))) / 8 + 8);
    tables.directScratch = ownLineStart(scratch.data());
    bool isDirect = ownFftLog2(length) < (isComplex ? 1 : ownFftRealCoreLog2);
    const OwnFftFixedTransforms* sets = isDirect ? ownFftKernels().direct : ownFftKernels().core;
    int32_t* block = ownFftWork<int32_t>(caches, OWN_FFT_BLOCK, int64_t(room * lanes));
    int32_t* line = ownFftWork<int32_t>(caches, OWN_FFT_LINES, int64_t(room));
    for (int direction : {1, -1}) {
        Random random{uint64_t(length)};
        Ints values(room * lanes);
        for (int32_t& value : values)
            value = random.between(-1000000, 1000000);
        std::ranges::copy(values, block);
        (sets[1].*transform)(block, tables, direction);
        for (size_t l = 0; l < lanes; ++l) {
            for (size_t e = 0; e < room; ++e)
                line[e] = values[e * lanes + l];
            (sets[0].*transform)(line, tables, direction);
            for (size_t e = 0; e < size_t(isComplex ? 2 * length : length); ++e)
                ASSERT_EQ(line[e], block[e * lanes + l]) << length << ' ' << direction << ' ' << l << ' ' << e;
        }
    }
}

}  // namespace

TEST_F(FftFixed, LanesGoLikeSingleLines)
{
    using Transforms = OwnFftFixedTransforms;
    auto* caches = ownCacheRecord<OwnFftCaches>(OWN_FOURIER_CACHE);
    // Lengths that are not powers of two have their tables at the same time.
    for (int32_t length = 2; length <= 65536; length = length < 32 ? length + 1 : 2 * length)
        for (auto transform : {&Transforms::realToPairs, &Transforms::pairsToReal, &Transforms::complex})
            expectLanesAlike(*caches, length, transform);
}

// ---- Products ----

namespace {

enum class Values { random, small, lowest };

void fillOperand(Picture& picture, Values values)
{
    uint32_t depth = picture->depth;
    if (depth == ORV_DEPTH_32F)
        fillSmall(picture, 1000000);
    else if (values == Values::small)
        // Products on either side of the depth's limits.
        fillSmall(picture, int(std::exp2((depth & ORV_DEPTH_MASK) / 2.0)));
    else if (values == Values::lowest)
        picture.fillRaw([=](int, int, int) { return bitsOf(depth, -1e30); });
}

// A product by the definition, as the depth holds it.
void expectProduct(const PictureSpec& aSpec, const PictureSpec& bSpec, const PictureSpec& dstSpec, Values values)
{
    Picture a(aSpec), b(bSpec), dst(dstSpec);
    fillOperand(a, values);
    fillOperand(b, values);
    int width = areaOf(a).width, height = areaOf(a).height;
    auto spectrum = [&](const Picture& picture, size_t i) {
        return unpack(valuesOf(picture, areaOf(picture), channelsOf(picture.layout())[i]), width, height);
    };
    std::vector<Real> expected;
    for (size_t i = 0; i < channelsOf(dstSpec).size(); ++i) {
        Spectrum product = spectrum(a, i), factor = spectrum(b, i);
        for (size_t at = 0; at < product.size(); ++at)
            product[at] *= factor[at];
        expected.push_back(pack(product, width, height));
        for (double& value : expected.back())
            value = numberOf(dstSpec.depth, bitsOf(dstSpec.depth, value));
    }
    EXPECT_EQ(reportsOf([&] { orvMpyRCPack2D(a, b, dst); }), "");
    expectStored(dst, width, height, expected, 0);
    EXPECT_EQ(a.faults() + b.faults() + dst.faults(), "");
}

}  // namespace

TEST(FftPack, ProductsOfEveryDepthAndLayout)
{
    for (uint32_t depth : {ORV_DEPTH_8S, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F}) {
        SCOPED_TRACE(depthName(depth));
        for (int height = 1; height <= 5; ++height)
            for (int width = 1; width <= 6; ++width)
                for (Values values : {Values::random, Values::small, Values::lowest}) {
                    PictureSpec spec{.depth = depth, .width = width, .height = height}, other = spec;
                    other.seed = 2;
                    expectProduct(spec, other, spec, values);
                }
        for (int orders = 0; orders < 8; ++orders) {
            PictureSpec a{.depth = depth, .channels = 4, .alpha = 4, .order = orders & 1, .width = 40, .height = 12};
            PictureSpec b{.depth = depth, .channels = 3, .order = orders >> 1 & 1, .width = 40, .height = 15};
            PictureSpec dst{.depth = depth, .channels = 3, .order = orders >> 2, .width = 41, .height = 20};
            a.roi = OrvROI{0, 3, 1, 100, 100};
            b.roi = OrvROI{0, 1, 4, 37, 100};
            dst.roi = OrvROI{0, 0, 9, 37, 11};
            b.seed = 2;
            expectProduct(a, b, dst, orders % 2 ? Values::random : Values::small);
            a.roi->coi = 4;
            b.roi->coi = 1;
            dst.roi->coi = 2;
            expectProduct(a, b, dst, Values::random);
        }
    }
}

TEST(FftPack, InPlace)
{
    PictureSpec spec{.depth = ORV_DEPTH_32F, .channels = 2, .width = 18, .height = 8};
    Picture a(spec), b(spec), dst(spec);
    fillSmall(a, 1000);
    fillSmall(b, 999);
    orvMpyRCPack2D(a, b, dst);
    orvMpyRCPack2D(a, b, b);
    EXPECT_EQ(b.values(), dst.values());
    orvMpyRCPack2D(a, a, dst);
    orvMpyRCPack2D(a, a, a);
    EXPECT_EQ(a.values(), dst.values());
}

TEST(FftPack, ChecksInTheirOrder)
{
    static OrvTileInfo tiles{[](OrvImage*, int32_t, int32_t, int32_t) { return 0; }, nullptr, nullptr, 8, 8};
    OrvROI narrow{0, 0, 0, 7, 8}, low{0, 0, 0, 8, 7};
    auto call = [](OrvImage* const* images) { orvMpyRCPack2D(images[0], images[1], images[2]); };
    std::vector<Fault> faults;
    auto add = [&](const std::string& text, const std::function<void(OrvImage* const*)>& make) {
        size_t status = text.find(' ');
        faults.push_back({text.substr(0, status) + " orvMpyRCPack2D" + text.substr(status) + '\n', make});
    };
    for (int i = 0; i < 3; ++i)
        add("-20 Incorrect Image", [=](auto images) { images[i]->origin = 2; });
    for (auto [image, name] : {std::pair{0, "srcA"}, {1, "srcB"}, {2, "dst"}})
        add(std::string("-5 ") + name + "->imageData == 0", [image = image](auto images) {
            images[image]->imageData = nullptr;
            images[image]->tileInfo = &tiles;
        });
    for (auto [image, depth] :
         {std::pair{0, ORV_DEPTH_8U}, {0, ORV_DEPTH_1U}, {1, ORV_DEPTH_8U}, {1, ORV_DEPTH_16U}, {1, ORV_DEPTH_1U}})
        add("-17 srcA->depth || srcB->depth == 8U||16U||1U", [image = image, depth = depth](auto images) {
            images[image]->depth = depth;
            images[image]->nChannels = 1;
            images[image]->alphaChannel = 0;
        });
    // A source of 16U is told apart from the other source only.
    add("-5 (srcA->depth != srcB->depth)", [](auto images) { images[0]->depth = ORV_DEPTH_16U; });
    add("-5 (srcA->depth != dst->depth)", [](auto images) { images[2]->depth = ORV_DEPTH_8U; });
    add("-5 (width_srcA != width_srcB)", [&](auto images) { images[1]->roi = &narrow; });
    add("-5 (height_srcA != height_srcB)", [&](auto images) { images[1]->roi = &low; });
    add("-5 (width_srcA != width_dst)", [&](auto images) { images[2]->roi = &narrow; });
    add("-5 (height_srcA != height_dst)", [&](auto images) { images[2]->roi = &low; });
    for (int i : {0, 2})
        add("-15 ", [=](auto images) { images[i]->alphaChannel = 0; });
    PictureSpec spec{.depth = ORV_DEPTH_16S, .channels = 3, .alpha = 3, .width = 8, .height = 8};
    expectFaultsInOrder({spec, spec, spec}, call, faults);
    EXPECT_EQ(reportsOf([] { orvMpyRCPack2D(nullptr, nullptr, nullptr); }), "-9 orvMpyRCPack2D Incorrect Image\n");
}
