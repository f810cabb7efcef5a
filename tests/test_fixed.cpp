// Filters with built-in coefficients against sums over every window.
#include <gtest/gtest.h>

#include <cfenv>
#include <cmath>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
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
    for (int round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
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

TEST(Fixed, GaussOfFloatsIsWithinTheirPrecision)
{
    Random random(36);
    Picture src({.depth = ORV_DEPTH_32F, .width = 70, .height = 9}), dst(src.layout());
    src.fill([&](int, int, int) { return random.between(-100000, 100000) / 7.0; });
    EXPECT_EQ(orvFixedFilter(src, dst, ORV_FIXED_GAUSS5), 0);
    for (int y = 0; y < src->height; ++y)
        for (int x = 0; x < src->width; ++x)
            ASSERT_NEAR(numberOf(ORV_DEPTH_32F, dst.raw(x, y)), naiveSum(src, filters[ORV_FIXED_GAUSS5], x, y, 0) / 571,
                        0.02);
}

TEST(Fixed, OfBitsSharpeningIsACopy)
{
    const PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 21, .height = 6};
    Picture src(spec), dst(spec);
    dst.fill([](int, int, int) { return 0; });
    orvSetBorderMode(src, ORV_BORDER_CONSTANT, 15, 1);
    EXPECT_EQ(orvFixedFilter(src, dst, ORV_FIXED_SHARPEN3), 0);
    EXPECT_EQ(dst.values(), src.values());
}

TEST(Fixed, LeavesNoFloatingPointException)
{
    const PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = 9, .height = 3};
    Picture src(spec), dst(spec);
    src.fill([](int x, int, int) { return x % 2 ? 3e38 : 1e-40; });
    std::feraiseexcept(FE_DIVBYZERO);
    orvFixedFilter(src, dst, ORV_FIXED_GAUSS5);
    EXPECT_EQ(std::fetestexcept(FE_ALL_EXCEPT), 0);
}

TEST(Fixed, ChecksInTheirOrder)
{
    int id = 0;
    auto call = [&](OrvImage* const* images) { return orvFixedFilter(images[0], images[1], std::exchange(id, 0)); };
    const PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    const FaultOf fault{"orvFixedFilter"};
    expectFaultsInOrder(
        {spec, spec}, call,
        {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0), -15),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0), -10),
            fault(-5, "srcImage->depth!=dstImage->depth", setField(0, &OrvImage::depth, ORV_DEPTH_8S),
                  ORV_STATUS_BAD_DEPTH),
            fault(-5, "srcImage->nChannels!=dstImage->nChannels", setChannels(1, 2, 0), ORV_STATUS_BAD_CHANNELS),
            fault(-5, "srcImage->alphaChannel!=dstImage->alphaChannel", setField(1, &OrvImage::alphaChannel, 3),
                  ORV_STATUS_BAD_ALPHA_CHANNEL),
            fault(-5, "srcImage->dataOrder!=dstImage->dataOrder",
                  setField(1, &OrvImage::dataOrder, ORV_DATA_ORDER_PLANE), -1),
            fault(
                -5, "Unknow filter.", [&](auto) { id = 11; }, -5),
        });
    Picture src(spec), dst(spec);
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvFixedFilter(src, dst, -1), -5); }), "-5 orvFixedFilter Unknow filter.\n");
    {  // What is returned does not depend on what the handler leaves stored.
        Reports reports;
        orvRedirectError([](int32_t, const char*, const char*, const char*, int32_t) {
            orvSetErrStatus(ORV_STATUS_OK);
            return 0;
        });
        EXPECT_EQ(orvFixedFilter(nullptr, dst, 0), ORV_STATUS_NULL_IMAGE);
    }
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvFixedFilter(src, src, 11), -5); }),
              "-5 orvFixedFilter (srcImage==dstImage)\n");
    OrvROI first = {1, 0, 0, 9, 9};
    src->roi = &first;
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvFixedFilter(src, dst, 11), ORV_STATUS_BAD_COI); }),
              std::to_string(ORV_STATUS_BAD_COI) +
                  " orvFixedFilter Number of interset channel input and output Image is not equal.\n");
    src->roi = nullptr;
}

TEST(Fixed, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (int id : {ORV_FIXED_SOBEL_X, ORV_FIXED_GAUSS5})
        forAlikeLayouts([&](const Layout& layout) {
            const FilterCall call = [&](OrvImage* const* images) { orvFixedFilter(images[0], images[1], id); };
            expectNothingLost({.name = "orvFixedFilter", .call = tellingRefusals(call, 0)}, layout);
        });
}
