// Normalised cross-correlation against sums over every window.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

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
        for (auto field : {&PictureSpec::order, &PictureSpec::origin, &PictureSpec::channels, &PictureSpec::alpha})
            (random.below(2) ? &spec : &layout.images[1].spec)->*field = layout.images[0].spec.*field;
        auto settle = [&](PictureSpec& one) {
            one.alpha = one.alpha ? one.channels : 0;
            int processed = one.channels - (one.alpha != 0);
            OrvROI roi = one.roi.value_or(OrvROI{0, 0, 0, one.width, one.height});
            roi.coi = processed == count ? 0 : random.between(1, one.channels);
            one.roi = roi;
            return processed == count || count == 1;
        };
        if (!settle(spec) || !settle(layout.images[1].spec) || !settle(layout.images[0].spec))
            continue;
        if (depth == ORV_DEPTH_8U && random.below(2))
            layout.images[1].spec.depth = ORV_DEPTH_32F;
        SCOPED_TRACE(testing::Message() << round << ": " << spec.width << " x " << spec.height << " order " << spec.order << layout.text());
        Scene scene(layout);
        Picture tpl(spec);
        Picture& src = *scene.images[0];
        setRandomBorders(src, random);
        for (Picture* picture : {&src, &tpl})
            if (depth == ORV_DEPTH_32F)
                picture->fill([&](int, int, int) { return std::ldexp(random.between(-5000, 5000), -random.below(9)); });
        uint32_t result = scene.destination()->depth;
        expectFiltered(
            scene, [&](Picture& from, int x, int y, int c) { return naiveResult(tpl, from, result, x, y, c); },
            [&](OrvImage* const* images) { EXPECT_EQ(orvNormCrossCorr(tpl, images[0], images[1]), 0); });
    }
}
