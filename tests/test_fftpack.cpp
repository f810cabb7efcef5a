// The fixed-point core of the Fourier transforms, and products of packed spectra.
#include <gtest/gtest.h>

#include "checks.h"
#include "fourier.h"

namespace {

using namespace fourier;

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

int32_t stored(int32_t value)
{
    return value < 0 && value > -64 ? 0 : value >> 6;
}

}  // namespace

TEST_F(FftFixed, StaysNearTheTruth)
{
    for (int height : {1, 2, 4, 7, 8, 16, 30, 64, 512})
        for (int width : {1, 2, 4, 8, 9, 21, 32, 128, 256})
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

// An impulse goes through a single multiplication: in a row where its spectrum is split from its neighbours', in a
// column where it leaves the first butterfly, and in lengths that are summed directly. So it shows the factors, and
// every bit that is cut.
TEST_F(FftFixed, ImpulsesShowTheFactors)
{
    for (int32_t height : {1, 1234, 25000000})
        for (int n : {3, 5, 7, 8, 12, 16, 21, 32, 64, 256}) {
            bool isDirect = (n & (n - 1)) != 0;
            int32_t value = height * 64;
            auto expectValue = [&](Picture& picture, int x, int y, int k) {
                double t = 2 * 3.14159265358979323846 * k / n;
                int32_t re = product(value, fixedFactor(cos(t)));
                int32_t im = isDirect ? product(value, fixedFactor(-sin(t))) : -product(value, fixedFactor(sin(t)));
                if (8 * k == n && y != 0)
                    re = product(value, 11585), im = product(-value, 11585);
                EXPECT_EQ(picture.getInt(x, y), stored(re)) << height << ' ' << n << ' ' << x << ' ' << y;
                EXPECT_EQ(picture.getInt(x + 1, y), stored(im)) << height << ' ' << n << ' ' << x << ' ' << y;
            };
            PictureSpec across{.depth = ORV_DEPTH_32S, .width = n}, down = across;
            down.width = 4;
            down.height = n;
            Picture row(across), ofRow(across), column(down), ofColumn(down);
            row.fill([=](int x, int, int) { return x == 1 ? height : 0; });
            column.fill([=](int x, int y, int) { return x == 0 && y == 1 ? height : 0; });
            orvRealFft2D(row, ofRow, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
            orvRealFft2D(column, ofColumn, ORV_FFT_FORWARD | ORV_FFT_USE_INT);
            for (int k = 1; k <= (isDirect ? (n - 1) / 2 : n / 4); ++k)
                expectValue(ofRow, 2 * k - 1, 0, k);
            for (int k = 1; k <= (isDirect ? (n - 1) / 2 : n <= 16 ? n / 8 : 0); ++k)
                expectValue(ofColumn, 1, k, k);
        }
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
                    PictureSpec spec{.depth = depth, .width = width, .height = height, .extraStep = 1, .offset = 3},
                        other = spec;
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
    const FaultOf fault{"orvMpyRCPack2D"};
    std::vector<Fault> faults;
    auto add = [&](int32_t status, const std::string& text, const FaultMaker& make) {
        faults.push_back(fault(status, text, make));
    };
    for (int i = 0; i < 3; ++i)
        add(-20, "Incorrect Image", setField(i, &OrvImage::origin, 2));
    for (auto [image, name] : {std::pair{0, "srcA"}, {1, "srcB"}, {2, "dst"}})
        add(-5, std::string(name) + "->imageData == 0", [image = image](auto images) {
            images[image]->imageData = nullptr;
            images[image]->tileInfo = &tiles;
        });
    for (auto [image, depth] :
         {std::pair{0, ORV_DEPTH_8U}, {0, ORV_DEPTH_1U}, {1, ORV_DEPTH_8U}, {1, ORV_DEPTH_16U}, {1, ORV_DEPTH_1U}})
        add(-17, "srcA->depth || srcB->depth == 8U||16U||1U", [image = image, depth = depth](auto images) {
            setChannels(image, 1, 0)(images);
            images[image]->depth = depth;
        });
    // A source of 16U is told apart from the other source only.
    add(-5, "(srcA->depth != srcB->depth)", setField(0, &OrvImage::depth, ORV_DEPTH_16U));
    add(-5, "(srcA->depth != dst->depth)", setField(2, &OrvImage::depth, ORV_DEPTH_8U));
    add(-5, "(width_srcA != width_srcB)", setField(1, &OrvImage::roi, &narrow));
    add(-5, "(height_srcA != height_srcB)", setField(1, &OrvImage::roi, &low));
    add(-5, "(width_srcA != width_dst)", setField(2, &OrvImage::roi, &narrow));
    add(-5, "(height_srcA != height_dst)", setField(2, &OrvImage::roi, &low));
    for (int i : {0, 2})
        add(-15, "", setField(i, &OrvImage::alphaChannel, 0));
    PictureSpec spec{.depth = ORV_DEPTH_16S, .channels = 3, .alpha = 3, .width = 8, .height = 8};
    expectFaultsInOrder({spec, spec, spec}, call, faults);
    EXPECT_EQ(reportsOf([] { orvMpyRCPack2D(nullptr, nullptr, nullptr); }), "-9 orvMpyRCPack2D Incorrect Image\n");
}
