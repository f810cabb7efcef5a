// The mirror against one that turns every pixel by itself.
#include <gtest/gtest.h>

#include <utility>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

// All values of the destination after a mirror.
std::vector<uint32_t> naiveMirror(const Scene& scene, int flipAxis)
{
    Picture &src = *scene.images[0], &dst = scene.destination();
    const Area common = commonArea(scene), from = areaOf(src), to = areaOf(dst);
    const std::vector<int> read = channelsOf(src.layout()), write = channelsOf(dst.layout());
    std::vector<uint32_t> values = dst.values();
    for (int y = 0; y < common.height; ++y)
        for (int x = 0; x < common.width; ++x) {
            int fromX = flipAxis == 0 ? x : common.width - 1 - x, fromY = flipAxis == 1 ? y : common.height - 1 - y;
            auto isSet = [](const Picture* mask, int column, int row) {
                return !mask || mask->raw(areaOf(*mask).x + column, areaOf(*mask).y + row) != 0;
            };
            if (!isSet(scene.masks[0], fromX, fromY) || !isSet(scene.masks[1], x, y))
                continue;
            for (size_t i = 0; i < read.size(); ++i) {
                int at = ((to.y + y) * dst->width + to.x + x) * dst->nChannels + write[i];
                values[size_t(at)] = src.raw(from.x + fromX, from.y + fromY, read[i]);
            }
        }
    return values;
}

void expectMirrored(const Scene& scene, int flipAxis)
{
    Picture &src = *scene.images[0], &dst = scene.destination();
    const std::vector<uint32_t> before = src.values(), expected = naiveMirror(scene, flipAxis);
    EXPECT_EQ(reportsOf([&] { orvMirror(src, dst, flipAxis); }), "");
    EXPECT_TRUE(dst.values() == expected);
    EXPECT_TRUE(&src == &dst || src.values() == before);
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(scene.openTiles(), 0);
}

}  // namespace

TEST(Mirror, TurnsEveryPixelInEveryLayout)
{
    Random random(3);
    for (int round = 0; round < 3000 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = allDepths[size_t(round) % allDepths.size()];
        int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        int width = random.below(4) ? random.between(1, 40) : random.between(60, 200), height = random.between(1, 40);
        auto image = [&] { return randomPictureSpec(random, depth, count, width, height); };
        bool inPlace = random.below(3) == 0, masked = !inPlace && random.below(2);
        auto mask = [&] {
            return masked && random.below(3) ? std::optional(randomMaskSpec(random, width, height)) : std::nullopt;
        };
        Layout layout = {{{image(), 0, mask(), 0}, {image(), inPlace ? 0 : 1, mask(), 1}}};
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        if (src.channels > 1 && dst.channels > 1)
            dst.order = src.order;
        if (depth == ORV_DEPTH_1U)
            src.alpha = dst.alpha = 0;
        SCOPED_TRACE(testing::Message() << round << layout.text());
        expectMirrored(Scene(layout), random.between(-1, 1));
    }
}

// Bands of tiles that change places, and those that meet in the middle, wherever the region begins.
TEST(Mirror, OfTilesInPlaceReadsTheOldPixels)
{
    for (int height = 1; height <= 44; ++height)
        for (int top = 0; top < 8; top += 3)
            for (int flipAxis = -1; flipAxis <= 1; ++flipAxis) {
                SCOPED_TRACE(testing::Message() << height << " rows from " << top << " by " << flipAxis);
                PictureSpec spec = {.channels = 2, .width = 27, .height = 55, .tileWidth = 8, .tileHeight = 8};
                spec.roi = OrvROI{0, 5, top, 20, height};
                expectMirrored(Scene({{{spec, 0, {}, 0}, {spec, 0, {}, 0}}}), flipAxis);
            }
}

TEST(Mirror, OpensTiles)
{
    TileLog log;
    Reports reports;
    PictureSpec spec = {.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec), plain({.width = 16, .height = 16});
    spec.name = "D";
    spec.roi = OrvROI{0, 4, 8, 8, 8};
    Picture dst(spec);
    orvMirror(src, dst, -1);
    EXPECT_EQ(log.text(),
              "D write 0 1\nS read 0 0\nS release 0 0\nD release 0 1\n"
              "D write 1 1\nS read 0 0\nS release 0 0\nD release 1 1\n");
    log.calls.clear();
    orvMirror(src, plain, 1);
    EXPECT_EQ(log.text(),
              "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n"
              "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\n");
    EXPECT_EQ(reports.take(), "");
}

TEST(Mirror, ChecksInTheirOrder)
{
    PictureSpec spec = {.depth = ORV_DEPTH_16S, .channels = 3, .width = 9, .height = 9};
    Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9});
    int flipAxis = 1;
    auto mirror = [&](OrvImage* const* images) { orvMirror(images[0], images[1], std::exchange(flipAxis, 1)); };
    auto mirrorInPlace = [&](OrvImage* const* images) { orvMirror(images[0], images[0], std::exchange(flipAxis, 1)); };
    const FaultOf fault{"orvMirror"};
    expectFaultsInOrder(
        {spec, spec}, mirror,
        {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            fault(-5, "(srcImage->depth!=dstImage->depth)", setField(0, &OrvImage::depth, ORV_DEPTH_16U)),
            fault(-5,
                  "((srcImage->dataOrder != dstImage->dataOrder)&& "
                  "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))",
                  setField(0, &OrvImage::dataOrder, ORV_DATA_ORDER_PLANE)),
            fault(-5, "((flipAxis>1)||(flipAxis<-1))", [&](auto) { flipAxis = 2; }),
            fault(-5, "((flipAxis>1)||(flipAxis<-1))", [&](auto) { flipAxis = -2; }),
            fault(-5, "(nChannelsSrc != nChannelsDst)", setChannels(0, 2, 0)),
        });
    expectFaultsInOrder({spec}, mirrorInPlace,
                        {
                            fault(-5, "(srcImage==dstImage && srcImage->maskROI != ((void *)0))",
                                  setField(0, &OrvImage::maskROI, &mask.image)),
                            fault(-5, "((flipAxis>1)||(flipAxis<-1))", [&](auto) { flipAxis = 3; }),
                        });
    spec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    expectFaultsInOrder(
        {spec, spec}, mirror,
        {
            fault(-5, "(srcImage->depth==1 && srcImage->alphaChannel!=0)", setField(0, &OrvImage::alphaChannel, 1)),
            fault(-5, "(dstImage->depth==1 && dstImage->alphaChannel!=0)", setField(1, &OrvImage::alphaChannel, 1)),
        });
}

TEST(Mirror, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (int flipAxis : {0, 1, -1}) {
        Operation operation = {.name = "orvMirror", .call = [=](OrvImage* const* images) {
                                   if (images[0] != images[1] || !images[0]->maskROI)
                                       orvMirror(images[0], images[1], flipAxis);
                               }};
        expectNothingLost(operation);
    }
}
