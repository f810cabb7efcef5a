#include "neighbours.h"

#include <gtest/gtest.h>

#include "checks.h"
#include "testheap.h"

Layout randomNeighbours(Random& random, uint32_t depth, int count)
{
    bool inPlace = random.below(4) == 0, sameMask = random.below(8) == 0;
    int width = random.below(8) ? random.between(1, 40) : random.between(60, 200), height = random.between(1, 40);
    auto image = [&] { return randomPictureSpec(random, depth, count, width, height); };
    auto mask = [&] { return random.below(3) ? std::optional(randomMaskSpec(random, width, height)) : std::nullopt; };
    return {{{image(), 0, mask(), 0}, {image(), inPlace ? 0 : 1, mask(), sameMask ? 0 : 1}}};
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

void forAlikeLayouts(const std::function<void(const Layout& layout)>& visit)
{
    for (int kind = 0; kind < 4; ++kind) {
        const bool tiled = kind & 1, masked = kind & 2;
        Layout layout;
        for (int i = 0; i < 2; ++i) {
            const PictureSpec spec = {.channels = 3,
                                      .width = 30,
                                      .height = 20,
                                      .roi = OrvROI{0, 3 + 4 * i, 1 + 2 * i, 17, 13},
                                      .tileWidth = tiled ? 8 + 8 * i : 0,
                                      .tileHeight = tiled ? 8 : 0,
                                      .seed = uint64_t(i + 1)};
            const PictureSpec mask = {.depth = ORV_DEPTH_1U, .width = 24, .height = 16, .seed = uint64_t(i + 7)};
            layout.images.push_back({spec, i, masked ? std::optional(mask) : std::nullopt, i});
        }
        SCOPED_TRACE(testing::Message() << kind);
        visit(layout);
    }
}

FilterCall tellingRefusals(const FilterCall& call, int32_t status)
{
    return [=](OrvImage* const* images) {
        call(images);
        if (status ? orvGetErrStatus() == status : testheap::refused())
            orvError(ORV_STATUS_NO_MEMORY, "filter", "refused", "", 0);
    };
}
