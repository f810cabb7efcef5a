// The box filter against one that adds up every window by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <utility>

#include "checks.h"
#include "filter/kernels/ownblurbytes.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Window {
    int nCols, nRows, anchorX, anchorY;
};

uint32_t meanOf(uint32_t depth, double sum, const Window& window)
{
    float mean = float(sum) * (1.0f / float(window.nCols * window.nRows));
    if (depth == ORV_DEPTH_1U)
        return mean >= 0.5f;
    return bitsOf(depth, depth == ORV_DEPTH_32F ? mean : std::nearbyint(double(mean)));
}

// The sum of a pixel's window must be exact, also as a float.
uint32_t naiveMean(Picture& src, const Window& window, int x, int y, int c)
{
    uint32_t depth = src->depth;
    double sum = 0;
    for (int row = y - window.anchorY; row < y - window.anchorY + window.nRows; ++row)
        for (int column = x - window.anchorX; column < x - window.anchorX + window.nCols; ++column)
            sum += numberOf(depth, naiveRaw(src, column, row, c));
    return meanOf(depth, sum, window);
}

void call(OrvImage* const* images, const Window& window)
{
    orvBlur(images[0], images[1], window.nCols, window.nRows, window.anchorX, window.anchorY);
}

void expectBlurred(const Scene& scene, const Window& window)
{
    expectFiltered(
        scene, [&](Picture& src, int x, int y, int c) { return naiveMean(src, window, x, y, c); },
        [&](OrvImage* const* images) { call(images, window); });
}

// Values whose sums are exact as floats, too.
void fillSmall(Picture& picture, Random& random)
{
    if (picture->depth == ORV_DEPTH_32S)
        picture.fill([&](int, int, int) { return random.between(-500, 500); });
    else if (picture->depth == ORV_DEPTH_32F)
        picture.fill([&](int, int, int) { return random.between(-500, 500) / 4.0; });
}

}  // namespace

TEST(Blur, IsTheMeanOfEveryWindowInEveryLayout)
{
    Random random(7);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = allDepths[size_t(round) % allDepths.size()];
        int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, count);
        Scene scene(layout);
        Picture& src = *scene.images[0];
        fillSmall(src, random);
        setRandomBorders(src, random);
        int most = random.below(8) ? 12 : 60;
        Window window = {random.between(1, most), random.between(1, most / 2), 0, 0};
        if (window.nCols == 1 && window.nRows == 1)
            continue;
        window.anchorX = random.below(window.nCols);
        window.anchorY = random.below(window.nRows);
        SCOPED_TRACE(testing::Message() << round << ": window " << window.nCols << ' ' << window.nRows << " at "
                                        << window.anchorX << ' ' << window.anchorY << layout.text());
        expectBlurred(scene, window);
    }
}

// Bands of tiles must not read what bands before them have written, however far the window and the border reach.
TEST(Blur, OfTilesInPlaceReadsTheOldPixels)
{
    Random random(8);
    for (int round = 0; round < 200; ++round) {
        PictureSpec spec = {.channels = 1 + round % 2, .width = 17, .height = 45, .tileWidth = 8, .tileHeight = 8};
        spec.roi = OrvROI{0, random.below(9), random.below(12), 17, random.between(20, 45)};
        Scene scene({{{spec, 0, {}, 0}, {spec, 0, {}, 0}}});
        int mode = random.below(4);
        orvSetBorderMode(scene.destination(), mode, 15, 99);
        Window window = {3, random.between(1, round % 4 ? 24 : 60), 1, 0};
        window.anchorY = random.below(window.nRows);
        SCOPED_TRACE(testing::Message() << round << ": rows " << window.nRows << ' ' << window.anchorY << ", mode "
                                        << mode << ", region from " << spec.roi->yOffset << ' ' << spec.roi->height);
        expectBlurred(scene, window);
    }
}

// Sums beyond 32 bits, and means that as floats are beyond the depth.
TEST(Blur, OfTheLargestValuesGivesThemBack)
{
    struct Case {
        uint32_t depth;
        double value;
        int n;
    };
    for (Case test : {Case{ORV_DEPTH_8U, 255, 2999},
                      {ORV_DEPTH_16U, 65535, 300},
                      {ORV_DEPTH_16S, -32768, 300},
                      {ORV_DEPTH_32S, 2147483647, 2},
                      {ORV_DEPTH_32S, -2147483648.0, 2}}) {
        PictureSpec spec = {.depth = test.depth, .channels = 2, .width = 20, .height = 9};
        Picture src(spec), dst(spec);
        src.fill([&](int, int, int) { return test.value; });
        orvSetBorderMode(src, ORV_BORDER_WRAP, 15, 0);
        orvBlur(src, dst, test.n, test.n, test.n / 2, test.n / 2);
        EXPECT_EQ(dst.values(), src.values()) << depthName(test.depth);
    }
}

// The order of the float additions, over a region whose windows stay inside the image: in the columns and along the
// rows what enters is added before what leaves is subtracted. The longest rows have more columns than are kept at a
// time.
TEST(Blur, KeepsTheOrderOfRunningSums)
{
    const Window window = {7, 5, 3, 2};
    const int width = 300, nCols = window.nCols, nRows = window.nRows;
    for (uint32_t depth : {ORV_DEPTH_32S, ORV_DEPTH_32F})
        for (int channels : {1, 2, 3, 4})
            for (int height : {8, 21}) {
                PictureSpec spec = {.depth = depth, .channels = channels, .width = width, .height = height};
                Picture dst(spec);
                spec.roi = OrvROI{0, window.anchorX, window.anchorY, width, height};
                spec.width += nCols;
                spec.height += nRows;
                Picture src(spec);
                orvBlur(src, dst, nCols, nRows, window.anchorX, window.anchorY);
                for (int c = 0; c < channels; ++c) {
                    std::vector<float> columns(size_t(width + nCols - 1));
                    for (int row = 0; row < height + nRows - 1; ++row) {
                        float sum = 0;
                        for (int x = 0; x < width + nCols - 1; ++x) {
                            columns[size_t(x)] += float(src.get(x, row, c));
                            if (row >= nRows)
                                columns[size_t(x)] -= float(src.get(x, row - nRows, c));
                            sum += columns[size_t(x)];
                            if (x >= nCols)
                                sum -= columns[size_t(x - nCols)];
                            if (x < nCols - 1 || row < nRows - 1)
                                continue;
                            ASSERT_EQ(dst.raw(x - nCols + 1, row - nRows + 1, c), meanOf(depth, sum, window))
                                << x << ' ' << row << ' ' << c;
                        }
                    }
                }
            }
}

// A multiplication gives the rounded mean of every sum of every window for which it is used; these are nearly all of
// those with an odd number of pixels whose sums fit 16 bits.
TEST(Blur, MultipliersGiveTheMeanOfEverySum)
{
    int exact = 0;
    for (uint32_t samples = 2; samples <= 300; ++samples) {
        OwnBlurMean mean = ownBlurMean(samples);
        exact += mean.exact;
        for (uint32_t sum = 0; mean.exact && sum <= 255 * samples; ++sum) {
            ASSERT_LE(sum + mean.bias, UINT16_MAX);
            uint32_t quotient = (sum + mean.bias) * mean.multiplier >> 16 >> mean.shift;
            ASSERT_EQ(quotient, uint32_t(std::nearbyint(float(sum) * (1.0f / float(samples)))))
                << samples << ' ' << sum;
            float ofSigned = float(int32_t(sum) - 128 * int32_t(samples));
            ASSERT_EQ(int32_t(quotient) - 128, int32_t(std::nearbyint(ofSigned * (1.0f / float(samples)))))
                << samples << ' ' << sum;
        }
    }
    EXPECT_GE(exact, 110);
    for (uint32_t side : {3u, 5u, 7u, 9u, 11u, 13u, 15u})
        EXPECT_TRUE(ownBlurMean(side * side).exact) << side;
}

// Windows of every size at which another way is taken, also such as are wider than the image.
TEST(Blur, OfWindowsOfAllWays)
{
    Random random(9);
    PictureSpec spec = {.width = 75, .height = 3};
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_1U})
        for (int nCols : {1, 3, 5, 7, 9, 12, 13, 15, 31, 63, 126, 127, 129})
            for (int nRows : {1, 2, 3, 5, 17, 128, 129}) {
                spec.depth = depth;
                Scene scene({{{spec, 0, {}, 0}, {spec, 1, {}, 1}}});
                scene.images[0]->fillRaw([&](int, int, int) { return random.below(4) ? 255 : random.below(256); });
                setRandomBorders(scene.pointers()[0], random);
                SCOPED_TRACE(testing::Message() << depthName(depth) << ' ' << nCols << ' ' << nRows);
                expectBlurred(scene, {nCols, nRows, random.below(nCols), random.below(nRows)});
            }
}

TEST(Blur, OfOnePixelIsACopyWithItsRules)
{
    Picture src({.width = 9, .height = 9, .roi = OrvROI{0, 2, 2, 9, 3}});
    Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9, .seed = 9});
    PictureSpec spec = {.width = 9, .height = 9, .mask = mask, .seed = 2};
    Picture blurred(spec), copied(spec);
    auto blur = [&] { orvBlur(src, blurred, 1, 1, 0, 0); };
    EXPECT_EQ(reportsOf(blur), "");
    orvCopy(src, copied);
    EXPECT_EQ(blurred.values(), copied.values());
    EXPECT_NE(blurred.values(), Picture(spec).values());
    src->origin = ORV_ORIGIN_BL;
    EXPECT_EQ(reportsOf(blur), "-5 orvCopy srcImage->origin != dstImage->origin\n");
}

TEST(Blur, OpensTiles)
{
    TileLog log;
    Reports reports;
    PictureSpec spec = {.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec);
    spec.name = "D";
    spec.roi = OrvROI{0, 4, 8, 8, 8};
    Picture dst(spec);
    orvBlur(src, dst, 3, 3, 1, 1);
    EXPECT_EQ(log.text(),
              "D write 0 1\nS read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD release 0 1\n"
              "D write 1 1\nS read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n"
              "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\nD release 1 1\n");

    log.calls.clear();
    spec = {.width = 8, .height = 24, .roi = OrvROI{0, 0, 6, 8, 18}, .tileWidth = 8, .tileHeight = 8, .log = &log};
    Picture both(spec);
    orvBlur(both, both, 3, 3, 1, 1);
    EXPECT_EQ(log.text(),
              "A read 0 0\nA release 0 0\nA read 0 1\nA release 0 1\n"  // rows 6 to 7, and around
              "A read 0 0\nA release 0 0\nA read 0 1\nA release 0 1\nA read 0 2\nA release 0 2\n"  // rows 8 to 15
              "A write 0 0\nA release 0 0\n"
              "A read 0 1\nA release 0 1\nA read 0 2\nA release 0 2\n"
              "A write 0 1\nA release 0 1\nA write 0 2\nA release 0 2\n");
    EXPECT_EQ(reports.take(), "");
}

TEST(Blur, ChecksInTheirOrder)
{
    const Window good = {3, 3, 1, 1};
    Window window = good;
    auto setWindow = [&](Window bad) { return [&window, bad](auto) { window = bad; }; };
    auto blur = [&](OrvImage* const* images) { call(images, std::exchange(window, good)); };
    PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    const FaultOf fault{"orvBlur"};
    expectFaultsInOrder(
        {spec, spec}, blur,
        {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            fault(-5, "(srcImage->depth!=dstImage->depth)", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
            fault(-5, "(nRows<0||nCols<0)", setWindow({-1, 3, -1, 1})),
            fault(-5, "(nRows<0||nCols<0)", setWindow({3, -1, 1, -1})),
            fault(-5, "(anchorX<0||anchorY<0)", setWindow({3, 3, -1, 3})),
            fault(-5, "(anchorX<0||anchorY<0)", setWindow({3, 3, 3, -1})),
            fault(-5, "(anchorX>=nCols||anchorY>=nRows)", setWindow({3, 3, 3, 1})),
            fault(-5, "(anchorX>=nCols||anchorY>=nRows)", setWindow({3, 0, 0, 0})),
            fault(-18, "bad alpha channel's number", setChannels(1, 1, 1)),
            fault(-18, "bad alpha channel's number", setChannels(0, 1, 1)),
            fault(-15, "bad channel's number", setChannels(0, 2, 0)),
            fault(-4, "Allocation failure", refuseMemory(1, true)),
        });
    Picture picture(spec);
    EXPECT_EQ(reportsOf([&] { orvBlur(nullptr, picture, 3, 3, 1, 1); }), "-9 orvBlur Incorrect Image\n");
    EXPECT_EQ(reportsOf([&] { orvBlur(picture, picture, INT32_MAX, INT32_MAX, 5, INT32_MAX - 1); }),
              "-4 orvBlur Allocation failure\n");
    // What cannot be had is known before anything is fetched.
    Picture bits({.depth = ORV_DEPTH_1U, .width = 7}), bitsToo({.depth = ORV_DEPTH_1U, .width = 7});
    testheap::refuse(0);
    EXPECT_EQ(reportsOf([&] { orvBlur(bits, bitsToo, INT32_MAX, 1, 1, 0); }), "-4 orvBlur Allocation failure\n");
    EXPECT_EQ(testheap::asked(), 0u);
}

TEST(Blur, LosesNothingWhereMemoryOrATileIsRefused)
{
    const Operation operation = {.name = "orvBlur", .call = [](OrvImage* const* images) {
                                     call(images, {5, 5, 2, 2});
                                 }};
    expectNothingLost(operation, {.report = "-4 orvBlur Allocation failure\n"});
}

TEST(Blur, SetsBordersSideBySide)
{
    Picture bytes({.depth = ORV_DEPTH_8U}), words({.depth = ORV_DEPTH_32S});
    orvSetBorderMode(bytes, ORV_BORDER_WRAP, ORV_SIDE_TOP | ORV_SIDE_LEFT, 300);
    orvSetBorderMode(words, 7, ORV_SIDE_BOTTOM | ORV_SIDE_RIGHT, 300);
    orvSetBorderMode(nullptr, 0, 15, 0);
    EXPECT_TRUE(std::ranges::equal(bytes->borderMode, std::array{3, 0, 3, 0}));
    EXPECT_TRUE(std::ranges::equal(bytes->borderConst, std::array{255, 0, 255, 0}));
    EXPECT_TRUE(std::ranges::equal(words->borderMode, std::array{0, 7, 0, 7}));
    EXPECT_TRUE(std::ranges::equal(words->borderConst, std::array{0, 300, 0, 300}));
    words->depth = 0x10001;  // none, which has no range
    orvSetBorderMode(words, 2, ORV_SIDE_TOP, 70000);
    EXPECT_EQ(words->borderConst[0], 70000);
}
