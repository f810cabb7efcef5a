#include "neighbours.h"

#include <gtest/gtest.h>

#include "checks.h"
#include "testheap.h"

PictureSpec randomSpec(Random& random, uint32_t depth, int count)
{
    PictureSpec spec;
    spec.depth = depth;
    bool coi = count == 1 && random.below(3) == 0;
    bool alpha = depth != ORV_DEPTH_1U && random.below(3) == 0;
    spec.channels = depth == ORV_DEPTH_1U ? 1 : coi ? random.between(1, 10) : count + alpha;
    spec.alpha = alpha ? spec.channels : 0;
    spec.order = random.below(2);
    spec.origin = random.below(2);
    spec.align = 4 << random.below(4);
    spec.width = random.below(8) ? random.between(1, 40) : random.between(60, 200);
    spec.height = random.between(1, 40);
    spec.tileWidth = random.below(3) == 0 ? 8 * random.between(1, 3) : 0;
    spec.tileHeight = 8 * random.between(1, 2);
    if (coi || random.below(2))
        spec.roi = OrvROI{coi ? random.between(1, spec.channels) : 0, random.between(0, spec.width - 1),
                          random.between(0, spec.height - 1), random.between(1, spec.width + 5),
                          random.between(1, spec.height + 5)};
    spec.seed = random.bits();
    return spec;
}

std::optional<PictureSpec> randomMask(Random& random)
{
    if (random.below(3) == 0)
        return {};
    PictureSpec spec = randomSpec(random, ORV_DEPTH_1U, 1);
    spec.tileWidth = 0;
    return spec;
}

Layout randomNeighbours(Random& random, uint32_t depth, int count)
{
    bool inPlace = random.below(4) == 0, sameMask = random.below(8) == 0;
    Layout layout;
    layout.images.push_back({randomSpec(random, depth, count), 0, randomMask(random), 0});
    layout.images.push_back({randomSpec(random, depth, count), inPlace ? 0 : 1, randomMask(random), sameMask ? 0 : 1});
    return layout;
}

void setRandomBorders(OrvImage* image, Random& random)
{
    for (int side = 0; side < 4; ++side)
        orvSetBorderMode(image, random.below(4), 1 << side, random.between(-300, 300));
}

void expectFiltered(const Scene& scene, const NaiveFilter& naive, const FilterCall& call)
{
    Picture &src = *scene.images[0], &dst = scene.destination();
    Area common = commonArea(scene), from = areaOf(src), to = areaOf(dst);
    std::vector<int> read = channelsOf(src.layout()), write = channelsOf(dst.layout());
    std::vector<uint32_t> before = src.values(), expected = dst.values();
    for (int y = 0; y < common.height; ++y)
        for (int x = 0; x < common.width; ++x) {
            auto isSet = [=](const Picture* mask) {
                return !mask || mask->raw(areaOf(*mask).x + x, areaOf(*mask).y + y) != 0;
            };
            if (!isSet(scene.masks[0]) || !isSet(scene.masks[1]))
                continue;
            for (size_t i = 0; i < read.size(); ++i) {
                int at = ((to.y + y) * dst->width + to.x + x) * dst->nChannels + write[i];
                expected[size_t(at)] = naive(src, from.x + x, from.y + y, read[i]);
            }
        }
    EXPECT_EQ(reportsOf([&] { call(scene.pointers().data()); }), "");
    std::vector<uint32_t> got = dst.values();
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(sameValue(dst->depth, got[i], expected[i]))
            << "value " << i << ": " << numberOf(dst->depth, got[i]) << ", not " << numberOf(dst->depth, expected[i]);
    EXPECT_TRUE(&src == &dst || src.values() == before);
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(scene.openTiles(), 0);
}

void expectNoLoss(const FilterCall& call, const std::string& report, bool ordersDiffer, bool inPlace)
{
    PictureSpec mask = {.depth = ORV_DEPTH_1U, .width = 30, .height = 30}, otherMask = mask;
    otherMask.seed = 2;
    for (int kind = 0; kind < (inPlace ? 12 : 8); ++kind) {
        bool refusesTiles = kind & 1, same = kind >= 8;
        PictureSpec src = {.channels = 3, .width = 20, .height = 20, .tileWidth = kind & 2 ? 8 : 0, .tileHeight = 8};
        PictureSpec dst = src;
        dst.order = ordersDiffer ? ORV_DATA_ORDER_PLANE : ORV_DATA_ORDER_PIXEL;
        dst.tileWidth = kind & 4 ? 8 : 0;
        bool refused = true;
        for (int n = 1; refused; ++n) {
            SCOPED_TRACE(testing::Message() << kind << ' ' << n);
            Scene scene({{{src, 0, mask, 0}, {dst, same ? 0 : 1, otherMask, 1}}});
            int blocks = testheap::blocks();
            scene.log.refuse = refusesTiles ? n : 0;
            testheap::refuse(refusesTiles ? 0 : n);
            std::string told = reportsOf([&] { call(scene.pointers().data()); });
            refused = testheap::refused() || scene.log.refused;
            testheap::refuse(0);
            EXPECT_EQ(scene.faults(), "");
            EXPECT_EQ(testheap::blocks(), blocks);
            EXPECT_TRUE(refused || scene.openTiles() == 0);
            EXPECT_TRUE(refused ? told.ends_with(report) : told.empty()) << told;
            ASSERT_LT(n, 1000);
        }
    }
}

void makeAlike(Layout& layout, Random& random)
{
    const PictureSpec& src = layout.images[0].spec;
    PictureSpec& dst = layout.images[1].spec;
    layout.images[1].same = 1;
    dst.channels = src.channels;
    dst.alpha = src.alpha;
    dst.order = src.order;
    bool coi = src.roi && src.roi->coi;
    if (coi && !dst.roi)
        dst.roi = OrvROI{0, 0, 0, dst.width, dst.height};
    if (dst.roi)
        dst.roi->coi = coi ? random.between(1, dst.channels) : 0;
}
