// Filters of ranks against sorting every window by itself.
#include <gtest/gtest.h>

#include <algorithm>

#include "checks.h"
#include "neighbours.h"
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

}  // namespace

TEST(Rank, IsTheValueOfThatRankInEveryLayout)
{
    Random random(31);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const RankCase& one = rankCases[size_t(round) % std::size(rankCases)];
        uint32_t depth = allDepths[size_t(random.below(int(allDepths.size()) - 1))];
        ASSERT_NE(depth, ORV_DEPTH_32F);
        int channels = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, channels);
        makeAlike(layout, random);
        Scene scene(layout);
        setRandomBorders(*scene.images[0], random);
        Window window = randomWindow(random, random.below(4) ? 6 : 40);
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
    for (Window large :
         {Window{15, 15, 7, 7}, {1, 40, 0, 39}, {40, 1, 0, 0}, {31, 31, 15, 15}, {101, 3, 50, 1}, {20, 60, 3, 9},
          {144, 1, 3, 0}, {1, 144, 0, 99}, {72, 2, 0, 1}, {2, 72, 1, 0}, {3, 48, 0, 0}, {48, 3, 1, 1}, {190, 190, 95, 95}})
        windows.push_back(large);
    for (const Window& window : windows)
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_1U}) {
            const int channels = depth == ORV_DEPTH_1U ? 1 : random.between(1, 4);
            const PictureSpec spec = {.depth = depth,
                                      .channels = channels,
                                      .width = random.between(1, 90),
                                      .height = random.between(1, 7),
                                      .seed = random.bits()};
            Scene scene({{{spec, 0, {}, 0}, {spec, 1, {}, 1}}});
            if (random.below(2) && depth != ORV_DEPTH_1U)
                scene.images[0]->fill([&](int, int, int) { return random.between(3, 6); });
            setRandomBorders(*scene.images[0], random);
            const int rank = window.nCols * window.nRows / 2;
            SCOPED_TRACE(testing::Message() << depthName(depth) << " x " << channels << ' ' << spec.width << ' '
                                            << spec.height << ", window " << window.nCols << ' ' << window.nRows);
            expectFiltered(
                scene, [&](Picture& src, int x, int y, int c) { return naiveRank(src, window, rank, x, y, c); },
                callOf(orvMedianFilter, window));
            ASSERT_FALSE(testing::Test::HasFailure());
        }
}
