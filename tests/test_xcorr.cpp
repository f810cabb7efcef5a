// Normalised cross-correlation against sums over every window.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"

namespace {

// Products are added row by row, squares by columns: integers have exact sums, those of 32 bits round in this order.
template <class Sum>
double naiveQuotient(Picture& tpl, Picture& src, int x, int y, int c, int tplChannel)
{
    Area area = areaOf(tpl);
    auto t = [&](int i, int j) { return Sum(numberOf(tpl->depth, tpl.raw(area.x + i, area.y + j, tplChannel))); };
    auto s = [&](int i, int j) {
        int left = x - (area.width >> 1), top = y - (area.height >> 1);
        return Sum(numberOf(tpl->depth, naiveRaw(src, left + i, top + j, c)));
    };
    Sum products = 0, squares = 0, energy = 0;
    for (int j = 0; j < area.height; ++j)
        for (int i = 0; i < area.width; ++i)
            products += s(i, j) * t(i, j);
    for (int i = 0; i < area.width; ++i) {
        Sum ofWindow = 0, ofTemplate = 0;
        for (int j = 0; j < area.height; ++j) {
            ofWindow += s(i, j) * s(i, j);
            ofTemplate += t(i, j) * t(i, j);
        }
        squares += ofWindow;
        energy += ofTemplate;
    }
    double root = std::sqrt(double(squares) * double(energy));
    return double(products) / (root > 1.1754943508222875e-38 ? root : 1.0);
}

double scaleOf(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return 255;
    case ORV_DEPTH_8S: return 127;
    case ORV_DEPTH_16U: return 65535;
    case ORV_DEPTH_16S: return 32767;
    case ORV_DEPTH_32S: return 2147483520;
    default: return 1;
    }
}

uint32_t naiveResult(Picture& tpl, Picture& src, uint32_t depth, int x, int y, int c)
{
    int channel = c - channelsOf(src.layout())[0];
    int tplChannel = channelsOf(tpl.layout())[size_t(channel)];
    bool exact = src->depth != ORV_DEPTH_32F && src->depth != ORV_DEPTH_32S;
    double quotient = exact ? naiveQuotient<int64_t>(tpl, src, x, y, c, tplChannel)
                            : naiveQuotient<double>(tpl, src, x, y, c, tplChannel);
    double scaled = quotient * scaleOf(depth);
    return bitsOf(depth, depth == ORV_DEPTH_32F ? scaled : std::nearbyint(scaled));
}

const std::vector<uint32_t> depths(allDepths.begin() + 1, allDepths.end());

}  // namespace

TEST(Correlate, IsTheCosineOfEveryWindowInEveryLayout)
{
    Random random(21);
    for (int round = 0; round < 1200 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = depths[size_t(round) % depths.size()];
        int count = random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, count);
        layout.images[1].same = 1;
        PictureSpec spec = randomPictureSpec(random, depth, count, random.between(1, 9), random.between(1, 9));
        spec.tileWidth = spec.tileHeight = 0;
        // The source agrees with either of the others.
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        auto other = [&]() -> PictureSpec& { return random.below(2) ? spec : dst; };
        other().order = src.order;
        other().origin = src.origin;
        PictureSpec& alike = other();
        alike.channels = src.channels;
        alike.alpha = src.alpha;
        for (PictureSpec* one : {&spec, &src, &dst}) {
            bool all = one->channels - (one->alpha != 0) == count;
            one->roi = one->roi.value_or(OrvROI{0, 0, 0, one->width, one->height});
            one->roi->coi = all ? 0 : random.between(1, one->channels);
        }
        if (depth == ORV_DEPTH_8U && random.below(2))
            dst.depth = ORV_DEPTH_32F;
        SCOPED_TRACE(testing::Message() << round << ": " << spec.width << " x " << spec.height << layout.text());
        Scene scene(layout);
        Picture tpl(spec);
        if (areaOf(tpl).width < 1 || areaOf(tpl).height < 1)
            continue;
        setRandomBorders(scene.pointers()[0], random);
        for (Picture* picture : {scene.images[0], &tpl})
            if (depth == ORV_DEPTH_32F)
                picture->fill([&](int, int, int) { return std::ldexp(random.between(-5000, 5000), -random.below(9)); });
        uint32_t result = scene.destination()->depth;
        expectFiltered(
            scene, [&](Picture& from, int x, int y, int c) { return naiveResult(tpl, from, result, x, y, c); },
            [&](OrvImage* const* images) { EXPECT_EQ(orvNormCrossCorr(tpl, images[0], images[1]), 0); });
    }
}

// Templates that are large enough for Fourier transforms, in several blocks, at the ends of the ranges and in between.
TEST(Correlate, OfLargeTemplatesIsExact)
{
    Random random(22);
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S})
        for (int kind = 0; kind < 4; ++kind) {
            int side = kind == 3 ? 170 : random.between(58, 75);
            PictureSpec spec = {.depth = depth, .channels = 3, .alpha = 3, .width = 230, .height = 131};
            PictureSpec tplSpec = {.depth = depth, .channels = 2, .width = side, .height = side + 1};
            Picture src(spec), dst(spec), tpl(tplSpec);
            setRandomBorders(src, random);
            for (Picture* picture : {&src, &tpl})
                if (kind == 1)
                    picture->fillRaw([&](int, int, int) { return bitsOf(depth, -1e9); });
                else if (kind == 2)
                    picture->fillRaw([&](int, int, int) { return bitsOf(depth, random.below(2) ? 1e9 : -1e9); });
            SCOPED_TRACE(testing::Message() << depthName(depth) << ' ' << kind << ' ' << side);
            EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNormCrossCorr(tpl, src, dst), 0); }), "");
            for (int i = 0; i < 60; ++i) {
                int x = random.below(230), y = random.below(131), c = random.below(2);
                ASSERT_EQ(dst.raw(x, y, c), naiveResult(tpl, src, depth, x, y, c)) << x << ' ' << y << ' ' << c;
            }
            EXPECT_EQ(dst.faults(), "");
        }
}
