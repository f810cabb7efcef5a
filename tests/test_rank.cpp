// Filters of ranks against sorting every window by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <array>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Window {
    int nCols, nRows, anchorX, anchorY;
};

using RankFilter = void(ORV_CALL*)(OrvImage*, OrvImage*, int32_t, int32_t, int32_t, int32_t);

FilterCall callOf(RankFilter filter, const Window& window)
{
    return [=](OrvImage* const* images) {
        filter(images[0], images[1], window.nCols, window.nRows, window.anchorX, window.anchorY);
    };
}

// The value of a window's rank, counted from 0.
uint32_t naiveRank(Picture& src, const Window& window, int rank, int x, int y, int c)
{
    std::vector<double> values;
    for (int row = y - window.anchorY; row < y - window.anchorY + window.nRows; ++row)
        for (int column = x - window.anchorX; column < x - window.anchorX + window.nCols; ++column)
            values.push_back(numberOf(src->depth, naiveRaw(src, column, row, c)));
    std::ranges::nth_element(values, values.begin() + rank);
    return bitsOf(src->depth, values[size_t(rank)]);
}

struct RankCase {
    const char* name;
    RankFilter filter;
    std::function<int(int count)> rank;
};

const RankCase rankCases[] = {
    {"orvMaxFilter", orvMaxFilter, [](int count) { return count - 1; }},
    {"orvMinFilter", orvMinFilter, [](int) { return 0; }},
    {"orvMedianFilter", orvMedianFilter, [](int count) { return count / 2; }},
};

Window randomWindow(Random& random, int most)
{
    Window window = {random.between(1, most), random.between(1, most), 0, 0};
    window.anchorX = random.below(window.nCols);
    window.anchorY = random.below(window.nRows);
    return window;
}

// The pixel of a window, in values of channel c, that has the least sum of distances; floats are summed as such.
uint32_t naiveColourMedian(Picture& src, const Window& window, int x, int y, int c)
{
    using Pixel = std::array<uint32_t, 3>;
    std::vector<Pixel> pixels;
    for (int row = y - window.anchorY; row < y - window.anchorY + window.nRows; ++row)
        for (int column = x - window.anchorX; column < x - window.anchorX + window.nCols; ++column)
            pixels.push_back(
                {naiveRaw(src, column, row, 0), naiveRaw(src, column, row, 1), naiveRaw(src, column, row, 2)});
    auto distance = [&](const Pixel& a, const Pixel& b) {
        float sum = 0;
        for (size_t i = 0; i < 3; ++i)
            sum += std::abs(float(numberOf(src->depth, a[i])) - float(numberOf(src->depth, b[i])));
        return sum;
    };
    std::vector<float> sums(pixels.size());
    for (size_t i = 0; i < pixels.size(); ++i)
        for (size_t j = i + 1; j < pixels.size(); ++j) {
            sums[i] += distance(pixels[i], pixels[j]);
            sums[j] += distance(pixels[i], pixels[j]);
        }
    return pixels[size_t(std::ranges::min_element(sums) - sums.begin())][size_t(c)];
}

}  // namespace

TEST(Rank, IsTheValueOfThatRankInEveryLayout)
{
    Random random(31);
    for (int round = 0; round < 900 && !testing::Test::HasFailure(); ++round) {
        const RankCase& one = rankCases[size_t(round) % std::size(rankCases)];
        uint32_t depth = allDepths[size_t(random.below(int(allDepths.size()) - 1))];
        ASSERT_NE(depth, ORV_DEPTH_32F);
        int channels = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, channels);
        makeAlike(layout, random);
        Scene scene(layout);
        setRandomBorders(*scene.images[0], random);
        Window window = randomWindow(random, random.below(6) ? 6 : 40);
        int rank = one.rank(window.nCols * window.nRows);
        SCOPED_TRACE(testing::Message() << round << ": " << one.name << ", window " << window.nCols << ' '
                                        << window.nRows << " at " << window.anchorX << ' ' << window.anchorY
                                        << layout.text());
        expectFiltered(
            scene, [&](Picture& src, int x, int y, int c) { return naiveRank(src, window, rank, x, y, c); },
            callOf(one.filter, window));
    }
}

// Every way to a median, at every size: against sorting, over values that are often the same and over the whole range.
TEST(Rank, MediansOfEveryWindowAreThoseOfSorting)
{
    Random random(32);
    std::vector<Window> windows;
    for (int nRows = 1; nRows <= 12; ++nRows)
        for (int nCols = 1; nCols <= 12; ++nCols)
            windows.push_back({nCols, nRows, nCols / 2, nRows / 2});
    for (Window large : {Window{15, 15, 7, 7},
                         {1, 40, 0, 39},
                         {40, 1, 0, 0},
                         {31, 31, 15, 15},
                         {101, 3, 50, 1},
                         {20, 60, 3, 9},
                         {144, 1, 3, 0},
                         {1, 144, 0, 99},
                         {72, 2, 0, 1},
                         {2, 72, 1, 0},
                         {3, 48, 0, 0},
                         {48, 3, 1, 1},
                         {190, 190, 95, 95}})
        windows.push_back(large);
    for (const Window& window : windows)
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_1U}) {
            const int channels = depth == ORV_DEPTH_1U ? 1 : random.between(1, 4);
            const int area = window.nCols * window.nRows, widest = area > 900 ? 12 : area > 9 ? 90 : 900;
            const PictureSpec spec = {.depth = depth,
                                      .channels = channels,
                                      .width = random.between(1, widest),
                                      .height = random.between(1, 7),
                                      .seed = random.bits()};
            Scene scene({{{spec, 0, {}, 0}, {spec, 1, {}, 1}}});
            if (random.below(2) && depth != ORV_DEPTH_1U)
                scene.images[0]->fill([&](int, int, int) { return random.between(3, 6); });
            setRandomBorders(*scene.images[0], random);
            const int rank = area / 2;
            SCOPED_TRACE(testing::Message() << depthName(depth) << " x " << channels << ' ' << spec.width << ' '
                                            << spec.height << ", window " << window.nCols << ' ' << window.nRows);
            expectFiltered(
                scene, [&](Picture& src, int x, int y, int c) { return naiveRank(src, window, rank, x, y, c); },
                callOf(orvMedianFilter, window));
            ASSERT_FALSE(testing::Test::HasFailure());
        }
}

TEST(Rank, ColourMedianIsThePixelNearestToTheOthersInEveryLayout)
{
    Random random(33);
    const uint32_t depths[] = {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32F};
    for (int round = 0; round < 600 && !testing::Test::HasFailure(); ++round) {
        const uint32_t depth = depths[round % 5];
        Layout layout = randomNeighbours(random, depth, 3);
        layout.images[1].same = 1;
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        dst.channels = src.channels;
        if (src.channels == 3)
            dst.alpha = 0;
        src.height = std::min(src.height, 12);
        Scene scene(layout);
        // Ties are frequent, and sums exact as floats in the larger windows.
        if (random.below(2) || depth == ORV_DEPTH_16U || depth == ORV_DEPTH_16S)
            scene.images[0]->fill([&](int, int, int) { return random.between(3, 9); });
        setRandomBorders(*scene.images[0], random);
        const Window window = randomWindow(random, random.below(4) ? 4 : 8);
        SCOPED_TRACE(testing::Message() << round << ": window " << window.nCols << ' ' << window.nRows << " at "
                                        << window.anchorX << ' ' << window.anchorY << layout.text());
        // Alpha of the destination, of which it may not know, is not written.
        scene.destination()->alphaChannel = src.channels == 4 ? 4 : 0;
        expectFiltered(
            scene, [&](Picture& picture, int x, int y, int c) { return naiveColourMedian(picture, window, x, y, c); },
            callOf(orvColorMedianFilter, window));
    }
    // A window whose sums may pass 32 bits.
    Picture stripes({.depth = ORV_DEPTH_16U, .channels = 3, .width = 219, .height = 51}),
        median({.depth = ORV_DEPTH_16U, .channels = 3});
    stripes.fill([](int x, int, int) { return x % 2 ? 65535 : x ? 0 : 7; });
    orvColorMedianFilter(stripes, median, 219, 51, 0, 0);
    EXPECT_EQ(median.raw(0, 0, 1), 7u);
}

TEST(Rank, ChecksInTheirOrder)
{
    for (const RankCase& one : rankCases) {
        const Window good = {3, 3, 1, 1};
        Window window = good;
        auto setWindow = [&](Window bad) { return [&window, bad](auto) { window = bad; }; };
        auto call = [&](OrvImage* const* images) {
            const Window now = std::exchange(window, good);
            one.filter(images[0], images[1], now.nCols, now.nRows, now.anchorX, now.anchorY);
        };
        PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
        const FaultOf fault{one.name};
        expectFaultsInOrder(
            {spec, spec}, call,
            {
                fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
                fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
                fault(-5, "(anchorX>=nCols)||(anchorX<0)", setWindow({3, 3, 3, 3})),
                fault(-5, "(anchorX>=nCols)||(anchorX<0)", setWindow({3, 3, -1, -1})),
                fault(-5, "(anchorY>=nRows)||(anchorY<0)", setWindow({3, 3, 2, 3})),
                fault(-5, "(anchorY>=nRows)||(anchorY<0)", setWindow({3, 0, 0, -1})),
                fault(-5, "srcImage->depth!=dstImage->depth", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
                fault(-5, "srcImage->nChannels!=dstImage->nChannels", setChannels(1, 2, 0)),
                fault(-5, "srcImage->alphaChannel!=dstImage->alphaChannel", setField(1, &OrvImage::alphaChannel, 3)),
                fault(-5, "srcImage->dataOrder!=dstImage->dataOrder",
                      setField(1, &OrvImage::dataOrder, ORV_DATA_ORDER_PLANE)),
            });
        auto told = [&](OrvImage* src, OrvImage* dst) { return reportsOf([&] { one.filter(src, dst, 3, 3, 1, 1); }); };
        const std::string name = one.name;
        Picture real({.depth = ORV_DEPTH_32F}), reals({.depth = ORV_DEPTH_32F, .channels = 3});
        EXPECT_EQ(told(real, reals), "-5 " + name + " srcImage->depth==32\n");
        Picture src(spec), dst(spec);
        EXPECT_EQ(told(src, src), "-5 " + name + " (srcImage==dstImage)\n");
        OrvROI first = {1, 0, 0, 9, 9};
        const std::vector<uint32_t> before = dst.values();
        src->roi = &first;
        EXPECT_EQ(told(src, dst), "-5 " + name + " Number of interset channel input and output Image is not equal.\n");
        src->roi = nullptr;
        // A status that was left before counts there.
        orvSetErrStatus(ORV_STATUS_NO_MEMORY);
        one.filter(src, dst, 3, 3, 1, 1);
        orvSetErrStatus(ORV_STATUS_OK);
        EXPECT_EQ(dst.values(), before);
        // Windows beyond all memory change nothing, and say nothing.
        EXPECT_EQ(reportsOf([&] { one.filter(src, dst, INT32_MAX, INT32_MAX, 5, INT32_MAX - 1); }), "");
        EXPECT_EQ(dst.values(), before);
    }
}

TEST(Rank, ColourMedianChecksInItsOrder)
{
    auto told = [](const PictureSpec& src, const PictureSpec& dst, const Window& window = {1, 1, 0, 0}) {
        Picture a(src), b(dst);
        const std::string reports = reportsOf([&] {
            callOf(orvColorMedianFilter, window)(std::array{&*a, &*b}.data());
        });
        return reports.substr(0, reports.find('\n'));
    };
    const std::string fault = "-5 orvColorMedianFilter ";
    auto channels = [](int count, int alpha, uint32_t depth = ORV_DEPTH_8U) {
        return PictureSpec{.depth = depth, .channels = count, .alpha = alpha};
    };
    auto interest = [](int coi) { return PictureSpec{.channels = 3, .roi = OrvROI{coi, 0, 0, 5, 5}}; };
    EXPECT_EQ(told(channels(1, 0), channels(2, 0), {2, 2, 2, 2}), fault + "(anchorX>=nCols)||(anchorX<0)");
    EXPECT_EQ(told(channels(1, 0), channels(2, 0), {2, 2, 1, 2}), fault + "(anchorY>=nRows)||(anchorY<0)");
    EXPECT_EQ(told(channels(1, 0, ORV_DEPTH_1U), channels(2, 0)), fault + "srcImage->depth!=dstImage->depth");
    EXPECT_EQ(told(channels(1, 0, ORV_DEPTH_1U), channels(1, 0, ORV_DEPTH_1U)), fault + "srcImage->depth==1");
    EXPECT_EQ(told(channels(1, 0, ORV_DEPTH_32S), channels(2, 0, ORV_DEPTH_32S)),
              fault + "srcImage->depth==(0x80000000|32)");
    EXPECT_EQ(told(channels(1, 0), channels(2, 0)), fault + "srcImage->nChannels!=dstImage->nChannels");
    EXPECT_EQ(told(channels(2, 0), channels(2, 0)), fault + "srcImage->nChannels<3");
    EXPECT_EQ(told(channels(5, 0), channels(5, 0)), fault + "srcImage->nChannels>4");
    EXPECT_EQ(told(channels(3, 3), interest(1)), fault + "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)");
    EXPECT_EQ(told(channels(4, 0), channels(4, 4)), fault + "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)");
    EXPECT_EQ(told(interest(1), interest(1)), fault + "srcImage->roi->coi!=0");
    EXPECT_EQ(told(interest(0), interest(1)), fault + "dstImage->roi->coi!=0");
    Picture one(interest(0));
    EXPECT_EQ(reportsOf([&] { orvColorMedianFilter(one, one, 1, 1, 0, 0); }), fault + "(srcImage==dstImage)\n");
}

TEST(Rank, LosesNothingWhereMemoryOrATileIsRefused)
{
    const Window small = {5, 4, 2, 1}, large = {17, 9, 2, 1};
    auto expect = [](uint32_t depth, const FilterCall& call) {
        forAlikeLayouts([&](Layout layout) {
            for (auto& image : layout.images) {
                image.spec.depth = depth;
                image.spec.channels = depth == ORV_DEPTH_1U ? 1 : 3;
            }
            expectNothingLost({.name = "rank", .call = tellingRefusals(call, 0)}, layout);
        });
    };
    expect(ORV_DEPTH_1U, callOf(orvMaxFilter, small));
    for (uint32_t depth : {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32S})
        expect(depth, callOf(orvMedianFilter, large));
    for (RankFilter filter : {orvMinFilter, orvMedianFilter, orvColorMedianFilter})
        expect(ORV_DEPTH_8U, callOf(filter, small));
}
