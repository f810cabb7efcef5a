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
