// Filters with built-in coefficients against sums over every window.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>

#include "checks.h"
#include "neighbours.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Coefficients {
    int side;
    int divisor;
    std::vector<int> values;
};

const Coefficients laplace3 = {3, 1, {-1, -1, -1, -1, 8, -1, -1, -1, -1}};

const Coefficients filters[] = {
    {3, 1, {1, 0, -1, 1, 0, -1, 1, 0, -1}},
    {3, 1, {-1, -1, -1, 0, 0, 0, 1, 1, 1}},
    {3, 1, {1, 0, -1, 2, 0, -2, 1, 0, -1}},
    {3, 1, {-1, -2, -1, 0, 0, 0, 1, 2, 1}},
    laplace3,
    {5, 1, {-1, -3, -4, -3, -1, -3, 0, 6, 0, -3, -4, 6, 20, 6, -4, -3, 0, 6, 0, -3, -1, -3, -4, -3, -1}},
    {3, 16, {1, 2, 1, 2, 4, 2, 1, 2, 1}},
    {5, 571, {2, 7, 12, 7, 2, 7, 31, 52, 31, 7, 12, 52, 127, 52, 12, 7, 31, 52, 31, 7, 2, 7, 12, 7, 2}},
    laplace3,
    {5, 1, {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, 24, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1}},
    {3, 8, {-1, -1, -1, -1, 16, -1, -1, -1, -1}},
};

// The samples of a window times its coefficients; exact for the samples that are used here.
double naiveSum(Picture& src, const Coefficients& filter, int x, int y, int c)
{
    const int half = filter.side / 2;
    double sum = 0;
    for (int row = 0; row < filter.side; ++row)
        for (int column = 0; column < filter.side; ++column)
            sum += filter.values[size_t(row * filter.side + column)] *
                   numberOf(src->depth, naiveRaw(src, x + column - half, y + row - half, c));
    return sum;
}

uint32_t naiveFixed(Picture& src, int id, int x, int y, int c)
{
    const Coefficients& filter = filters[id];
    const double sum = naiveSum(src, filter, x, y, c);
    if (src->depth == ORV_DEPTH_1U)
        return sum > (id == ORV_FIXED_GAUSS3 ? 7 : id == ORV_FIXED_GAUSS5 ? 285 : 0);
    const double result = sum / filter.divisor;
    return bitsOf(src->depth, src->depth == ORV_DEPTH_32F ? result : std::nearbyint(result));
}

// Values whose sums are exact as floats, and whose 571st part is far from a tie.
void fillSmall(Picture& picture, int id, Random& random)
{
    const bool divides = id == ORV_FIXED_GAUSS5;
    auto fill = [&](int low, int high, double unit) {
        picture.fill([&](int, int, int) { return random.between(low, high) * unit; });
    };
    switch (picture->depth) {
    case ORV_DEPTH_16U: return divides ? fill(0, 571, 1) : void();
    case ORV_DEPTH_16S: return divides ? fill(-300, 300, 1) : void();
    case ORV_DEPTH_32S: return fill(-500, 500, 1);
    case ORV_DEPTH_32F: return fill(-500, 500, 0.25);
    default: return;
    }
}

}  // namespace

TEST(Fixed, SumsItsCoefficientsInEveryLayout)
{
    Random random(35);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        const int id = round % 11;
        uint32_t depth = allDepths[size_t(random.below(int(allDepths.size())))];
        if ((id == ORV_FIXED_SHARPEN3 && depth == ORV_DEPTH_1U) || (id == ORV_FIXED_GAUSS5 && depth == ORV_DEPTH_32F))
            continue;
        int channels = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, channels);
        makeAlike(layout, random);
        Scene scene(layout);
        fillSmall(*scene.images[0], id, random);
        setRandomBorders(*scene.images[0], random);
        SCOPED_TRACE(testing::Message() << round << ": filter " << id << layout.text());
        expectFiltered(
            scene, [&](Picture& src, int x, int y, int c) { return naiveFixed(src, id, x, y, c); },
            [&](OrvImage* const* images) { EXPECT_EQ(orvFixedFilter(images[0], images[1], id), 0); });
    }
}
