// The frame: which pixels are processed, under which mask, and in which order tiles are asked for.
#include <gtest/gtest.h>

#include "checks.h"
#include "core/ownmask.h"
#include "core/ownregion.h"
#include "model.h"

namespace {

PictureSpec tiled(const char* name, TileLog& log, int width, int height, int tile, OrvROI roi)
{
    return {
        .width = width, .height = height, .roi = roi, .tileWidth = tile, .tileHeight = tile, .name = name, .log = &log};
}

// The tile calls that a call makes.
std::string tileCalls(TileLog& log, const std::function<void()>& call)
{
    log.calls.clear();
    call();
    return log.text();
}

}  // namespace

// A region may end outside its image, and no sum of its fields may overflow.
TEST(Regions, AreCutAtTheirImages)
{
    const struct {
        OrvROI roi;
        int width, height;  // of what is processed
    } cases[] = {{{0, 10, 0, 4, 4}, 0, 0},
                 {{0, 0, 10, 4, 4}, 0, 0},
                 {{0, 7, 8, 9, 9}, 3, 2},
                 {{0, 1, 2, INT32_MAX, INT32_MAX}, 9, 8},
                 {{0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, 0, 0}};
    for (const auto& one : cases)
        for (bool tiles : {false, true}) {
            TileLog log;
            PictureSpec spec = tiled("D", log, 10, 10, tiles ? 8 : 0, one.roi);
            Picture dst(spec), before(spec);
            EXPECT_EQ(reportsOf([&] { orvNot(dst, dst), orvXor(dst, dst, dst), orvSet(dst, 7); }), "");
            EXPECT_EQ(log.calls.empty(), !tiles || one.width == 0);
            for (int y = 0; y < 10; ++y)
                for (int x = 0; x < 10; ++x) {
                    int i = x - one.roi.xOffset, j = y - one.roi.yOffset;
                    bool inside = i >= 0 && j >= 0 && i < one.width && j < one.height;
                    ASSERT_EQ(dst.raw(x, y), inside ? 7u : before.raw(x, y)) << x << ' ' << y;
                }
            EXPECT_EQ(dst.faults(), "");
        }
}

TEST(Masks, CountFromTheirOwnRegion)
{
    Picture mask({.depth = ORV_DEPTH_1U, .width = 16, .height = 4, .roi = OrvROI{0, 3, 2, 9, 2}});
    mask.fill([](int x, int y, int) { return x == 3 && y == 2; });
    Picture dst({.width = 6, .height = 2, .mask = mask}), before({.width = 6, .height = 2});
    orvNot(dst, dst);
    before.set(0, 0, 0, 255 - before.get(0, 0));
    EXPECT_EQ(dst.values(), before.values());
}

// Three masks or fewer, in any order.
TEST(Masks, CombineByTheirCommonBits)
{
    Random random(11);
    for (int i = 0; i < 160; ++i) {
        int count = i / 40;
        std::vector<std::unique_ptr<Picture>> masks;
        OrvImage* given[3] = {};
        int width = INT32_MAX, height = INT32_MAX;
        for (int k = 0; k < count; ++k) {
            PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 45, .height = 7};
            spec.roi = {random.below(2), random.below(20), random.below(4), random.between(1, 40),
                        random.between(1, 5)};
            spec.origin = random.below(2);
            spec.seed = random.bits();
            masks.push_back(std::make_unique<Picture>(spec));
            given[(k + i) % 3] = *masks.back();
            Area area = areaOf(*masks.back());
            width = std::min(width, area.width);
            height = std::min(height, area.height);
        }
        OwnMask result;
        OwnMaskResult state = ownCombineMasks(given[0], given[1], given[2], result);
        if (count < 2) {
            EXPECT_EQ(state, OwnMaskResult::ready);
            EXPECT_EQ(result.image, count ? &masks[0]->image : nullptr);
            continue;
        }
        ASSERT_EQ(state, OwnMaskResult::combined);
        ASSERT_EQ(result.image->width, width);
        ASSERT_EQ(result.image->height, height);
        EXPECT_EQ(result.image->roi, nullptr);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                bool all = true;
                for (const auto& mask : masks)
                    all = all && mask->raw(mask->roi.xOffset + x, mask->roi.yOffset + y);
                uint8_t byte = result.image->imageData[y * result.image->widthStep + x / 8];
                ASSERT_EQ((byte & (128 >> x % 8)) != 0, all) << x << ' ' << y;
            }
    }
}

TEST(Masks, TakeNoMemoryWhereARegionIsOutside)
{
    PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(spec);
    spec.roi = OrvROI{0, 9, 0, 1, 1};
    Picture empty(spec);
    OwnMask result;
    EXPECT_EQ(ownCombineMasks(mask, nullptr, empty, result), OwnMaskResult::empty);
    EXPECT_EQ(result.image, nullptr);
}

// ---- Orders of tile calls ------------------------------------------------------------------------------------------

TEST(BandWalk, BringsTilesPieceByPiece)
{
    TileLog log;
    Picture src(tiled("S", log, 40, 20, 16, {0, 12, 3, 8, 5})), dst({.width = 8, .height = 5});
    EXPECT_EQ(tileCalls(log, [&] { orvNot(src, dst); }), "S read 0 0\nS release 0 0\nS read 1 0\nS release 1 0\n");

    // Three images whose tiles cut each other's, in two bands.
    Picture a(tiled("A", log, 32, 32, 16, {0, 4, 12, 20, 10})), b(tiled("B", log, 24, 16, 8, {0, 0, 0, 20, 10})),
        d(tiled("D", log, 48, 48, 24, {0, 20, 2, 20, 10}));
    EXPECT_EQ(tileCalls(log, [&] { orvAdd(a, b, d); }),
              // rows 12 to 15 of A, 0 to 3 of B and 2 to 5 of D; D turns at 4, B at 8, A at 12, B at 16
              "A read 0 0\nB read 0 0\nD write 0 0\n"
              "D release 0 0\nD write 1 0\n"
              "B release 0 0\nB read 1 0\n"
              "A release 0 0\nA read 1 0\n"
              "B release 1 0\nB read 2 0\n"
              "A release 1 0\nB release 2 0\nD release 1 0\n"
              // rows 16 to 19 of A, 4 to 7 of B
              "A read 0 1\nB read 0 0\nD write 0 0\n"
              "D release 0 0\nD write 1 0\n"
              "B release 0 0\nB read 1 0\n"
              "A release 0 1\nA read 1 1\n"
              "B release 1 0\nB read 2 0\n"
              "A release 1 1\nB release 2 0\nD release 1 0\n"
              // rows 20 and 21 of A, 8 and 9 of B
              "A read 0 1\nB read 0 1\nD write 0 0\n"
              "D release 0 0\nD write 1 0\n"
              "B release 0 1\nB read 1 1\n"
              "A release 0 1\nA read 1 1\n"
              "B release 1 1\nB read 2 1\n"
              "A release 1 1\nB release 2 1\nD release 1 0\n");
}

TEST(BandWalk, OpensAnImageOnceInPlaceAndTwiceAsTwoSources)
{
    TileLog log;
    Picture a(tiled("A", log, 16, 8, 8, {0, 0, 0, 16, 8})), d(tiled("D", log, 16, 8, 16, {0, 0, 0, 16, 8}));
    EXPECT_EQ(tileCalls(log, [&] { orvAdd(a, a, d); }),
              "A read 0 0\nA read 0 0\nD write 0 0\n"
              "A release 0 0\nA read 1 0\nA release 0 0\nA read 1 0\n"
              "A release 1 0\nA release 1 0\nD release 0 0\n");
    EXPECT_EQ(tileCalls(log, [&] { orvSubtract(d, a, d); }),
              "A read 0 0\nD write 0 0\nA release 0 0\nA read 1 0\nA release 1 0\nD release 0 0\n");
    EXPECT_EQ(tileCalls(log, [&] { orvSquare(a, a); }), "A write 0 0\nA release 0 0\nA write 1 0\nA release 1 0\n");
}

TEST(GridWalk, BringsTilesCellByCell)
{
    TileLog log;
    Picture src(tiled("S", log, 40, 20, 8, {0, 5, 6, 12, 6})), dst(tiled("D", log, 40, 20, 16, {0, 10, 1, 12, 6}));
    Picture flat({.width = 12, .height = 6});
    EXPECT_EQ(tileCalls(log, [&] { orvCopy(src, dst); }),
              "D write 0 0\n"
              "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n"
              "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\n"
              "D release 0 0\n"
              "D write 1 0\n"
              "S read 1 0\nS read 2 0\nS release 2 0\nS release 1 0\n"
              "S read 1 1\nS read 2 1\nS release 2 1\nS release 1 1\n"
              "D release 1 0\n");
    EXPECT_EQ(tileCalls(log, [&] { orvCopy(dst, flat); }), "D read 0 0\nD release 0 0\nD read 1 0\nD release 1 0\n");
    const std::string writes = "D write 0 0\nD release 0 0\nD write 1 0\nD release 1 0\n";
    EXPECT_EQ(tileCalls(log, [&] { orvExchange(dst, flat), orvSet(dst, 1); }), writes + writes);
}

// Every n-th tile of an exchange, which goes on where a cell cannot be written back: what is reported and what stays
// open.
TEST(GridWalk, EndsWhereATileOfAnExchangeIsRefused)
{
    const std::string traced = "-1 orvExchange \n";
    const struct {
        int refuse;
        std::string reports;
        int openInSource, openInDestination;
    } cases[] = {
        {1, "-2 orvExchange Error get tile to write\n", 0, 0},
        {3, traced, 1, 1},
        // A cell that cannot be written back is the copy's fault; the next cell ends the walk.
        {4, "-2 orvCopy Error get tile to write\n" + traced, 0, 1},
        {5, "-2 orvCopy Error get tile to write\n" + traced, 0, 1},
        {6, "-2 orvExchange Error get tile to write\n", 0, 0},
    };
    for (const auto& one : cases) {
        SCOPED_TRACE(one.refuse);
        TileLog log;
        log.refuse = one.refuse;
        Picture src(tiled("S", log, 24, 8, 8, {0, 4, 0, 16, 8})), dst(tiled("D", log, 16, 8, 8, {0, 0, 0, 16, 8}));
        EXPECT_EQ(reportsOf([&] { orvExchange(src, dst); }), one.reports);
        EXPECT_EQ(src.openTiles(), one.openInSource);
        EXPECT_EQ(dst.openTiles(), one.openInDestination);
        EXPECT_EQ(src.faults() + dst.faults(), "");
    }
}

TEST(Tiles, HaveTheRowsOfAnImageOfTheirSize)
{
    TileLog log;
    Picture picture(
        {.depth = ORV_DEPTH_16U, .channels = 3, .align = 16, .width = 70, .tileWidth = 24, .tileHeight = 8});
    EXPECT_EQ(ownTileWidthStep(picture), 144);
    picture->tileInfo->width = 12;
    EXPECT_EQ(ownTileWidthStep(picture), 0);
    orvSetErrStatus(ORV_STATUS_OK);
    Picture flat({.width = 70});
    EXPECT_EQ(ownTileWidthStep(flat), 0);
}
