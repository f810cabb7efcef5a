// Reading pixels beyond the edges: the fast reader against one that looks up every sample by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <functional>

#include "core/ownborder.h"
#include "model.h"
#include "naiveborder.h"
#include "picture.h"
#include "testheap.h"

namespace {

void randomBorders(Random& random, OrvImage* image)
{
    for (int side = 0; side < 4; ++side) {
        image->borderMode[side] = int32_t(random.below(4) | random.below(2) << 7);
        image->borderConst[side] = int32_t(random.bits() >> random.between(32, 62)) - random.below(3);
    }
}

// The block of ownBorderedRect, whose rows are *step bytes apart.
OwnScratch<uint8_t> rectOf(Picture& picture, int x, int y, int width, int height, int32_t* step = nullptr)
{
    int32_t unused;
    return OwnScratch<uint8_t>(ownBorderedRect(picture, x, y, width, height, step ? step : &unused));
}

// A sample of a block as it comes from ownBorderedRect for a picture of this kind.
uint32_t sampleOf(const PictureSpec& spec, const uint8_t* block, int step, int height, int x, int y, int c)
{
    bool planes = spec.order == ORV_DATA_ORDER_PLANE;
    const uint8_t* row = block + size_t(planes ? c * height + y : y) * size_t(step);
    size_t bits = spec.depth & ORV_DEPTH_MASK;
    if (bits == 1)
        return row[x / 8] >> (7 - x % 8) & 1;
    size_t at = size_t(planes ? x : x * spec.channels + c) * bits / 8;
    uint32_t value = 0;
    std::copy_n(row + at, bits / 8, reinterpret_cast<uint8_t*>(&value));
    return value;
}

}  // namespace

TEST(Border, ReadsWhatTheNaiveReaderReads)
{
    Random random(5);
    int blocks = testheap::blocks();
    for (int round = 0; round < 4000; ++round) {
        uint32_t depth = allDepths[size_t(random.below(int(allDepths.size())))];
        int channels = depth == ORV_DEPTH_1U ? 1 : random.between(1, 5);
        PictureSpec spec = randomPictureSpec(random, depth, channels, random.between(1, 40), random.between(1, 30));
        Picture picture(spec);
        randomBorders(random, picture);
        int reach = random.below(4) ? 4 : 100;
        int x = random.between(-reach, spec.width + reach);
        int y = random.between(-reach, spec.height + reach);
        int width = random.between(1, spec.width + reach);
        int height = random.between(1, spec.height + reach / 2);
        SCOPED_TRACE(testing::Message() << round << ": " << std::hex << spec.depth << std::dec << " order "
                                        << spec.order << ", " << spec.width << " x " << spec.height << " at " << x
                                        << ' ' << y << ' ' << width << ' ' << height << ", tiles " << spec.tileWidth);
        int32_t step = 0;
        OwnScratch<uint8_t> block = rectOf(picture, x, y, width, height, &step);
        ASSERT_TRUE(block);
        ASSERT_EQ(size_t(step), rowBytes(spec, width));
        for (int i = 0; i < height; ++i)
            for (int j = 0; j < width; ++j)
                for (int c = 0; c < spec.channels; ++c)
                    ASSERT_EQ(sampleOf(spec, block.data, step, height, j, i, c), naiveRaw(picture, x + j, y + i, c))
                        << j << ' ' << i << ' ' << c;
        int channel = random.below(spec.channels);
        PictureSpec one = spec;
        one.channels = 1;
        std::vector<uint8_t> row(rowBytes(one, width) + 1, 0xEE);
        ASSERT_TRUE(ownBorderedRow(picture, channel, x, y, width, row.data()));
        for (int j = 0; j < width; ++j)
            ASSERT_EQ(sampleOf(one, row.data(), 0, 1, j, 0, 0), naiveRaw(picture, x + j, y, channel)) << j;
        if (spec.depth == ORV_DEPTH_1U && width % 8) {
            ASSERT_EQ(block[(width - 1) / 8] & 0xFF >> width % 8, 0);
            ASSERT_EQ(row[size_t(width - 1) / 8] & 0xFF >> width % 8, 0);
        }
        ASSERT_EQ(row.back(), 0xEE);
        ASSERT_EQ(picture.faults(), "");
        ASSERT_EQ(picture.openTiles(), 0);
    }
    EXPECT_EQ(testheap::blocks(), blocks);
}

TEST(Border, SurroundsARectangle)
{
    Picture picture({.channels = 3, .width = 9, .height = 7, .roi = OrvROI{2, 1, 1, 4, 4}});
    OwnBorderedImage bordered;
    ASSERT_TRUE(bordered.fetch(picture, {1, 5, 2, 4, 4, 2}, {3, 4, 1, 2}));
    const OrvImage& image = bordered.work.image;
    const OrvROI region = {2, 3, 4, 4, 2};
    EXPECT_TRUE(image.width == 8 && image.height == 8);
    EXPECT_TRUE(memcmp(&bordered.work.roi, &region, sizeof region) == 0);
    EXPECT_EQ(image.imageData[4 * image.widthStep + 3 * 3 + 1], picture.raw(1, 2, 1));
    EXPECT_FALSE(bordered.fetch(picture, {1, 5, 2, 4, 4, 2}, {INT32_MAX, 0, 0, 0}));
}

// Of an image as tall as there can be only the last rows exist, which is all that these filters read.
TEST(Border, LiesBelowTheTallestImageToo)
{
    if (sizeof(void*) < 8)
        GTEST_SKIP() << "no image is as tall";
    const int32_t values[] = {3, 1, 4, 1, 5, 9, 2};
    OrvConvKernel *turned = orvCreateConvKernel(1, 7, 0, 6, values, 3),
                  *kernel = orvCreateConvKernel(1, 7, 0, 0, values, 4);
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32S}) {
        Picture templ({.depth = depth, .height = 7});
        const std::function<void(OrvImage*, OrvImage*)> filters[] = {
            [](OrvImage* src, OrvImage* dst) { orvBlur(src, dst, 1, 7, 0, 0); },
            [](OrvImage* src, OrvImage* dst) { orvBlur(src, dst, 2, 150, 0, 0); },
            [](OrvImage* src, OrvImage* dst) { orvMedianFilter(src, dst, 1, 7, 0, 0); },
            [](OrvImage* src, OrvImage* dst) { orvFixedFilter(src, dst, ORV_FIXED_GAUSS5); },
            [&](OrvImage* src, OrvImage* dst) { orvConvolve2D(src, dst, &turned, 1, ORV_COMBINE_SUM); },
            [&](OrvImage* src, OrvImage* dst) { orvConvolveSep2D(src, dst, nullptr, kernel); },
            [&](OrvImage* src, OrvImage* dst) { orvNormCrossCorr(templ, src, dst); },
        };
        for (const auto& filter : filters) {
            const PictureSpec spec = {.depth = depth, .height = 20, .roi = OrvROI{0, 0, 15, 1, 5}};
            Picture src(spec), low(spec), high(spec);
            orvSetBorderMode(src, ORV_BORDER_CONSTANT, ORV_SIDE_BOTTOM, 77);
            filter(src, low);
            for (Picture* picture : {&src, &high}) {
                OrvImage& image = picture->image;
                const int32_t more = INT32_MAX - image.height;
                image.imageData = reinterpret_cast<uint8_t*>(uintptr_t(image.imageData) -
                                                             uintptr_t(more) * uintptr_t(image.widthStep));
                image.height += more;
                image.roi->yOffset += more;
            }
            filter(src, high);
            EXPECT_EQ(high.values(), low.values()) << depth << ", filter " << &filter - filters;
        }
    }
    orvDeleteConvKernel(turned);
    orvDeleteConvKernel(kernel);
}

TEST(Border, OpensTheTilesOfOneRowAtATime)
{
    Picture picture({.width = 20, .height = 20, .tileWidth = 8, .tileHeight = 8});
    auto calls = [&](int x, int y, int width, int height) {
        picture.log().calls.clear();
        rectOf(picture, x, y, width, height);
        return picture.log().text();
    };
    EXPECT_EQ(calls(5, 5, 10, 4),
              "A read 0 0\nA read 1 0\nA release 1 0\nA release 0 0\n"
              "A read 0 1\nA read 1 1\nA release 1 1\nA release 0 1\n");
    EXPECT_EQ(calls(-10, -10, 40, 10), "");  // constants alone
    EXPECT_EQ(calls(-3, 2, 3, 3), "");
    for (int32_t& mode : picture->borderMode)
        mode = ORV_BORDER_WRAP;
    EXPECT_EQ(calls(-2, -1, 5, 2),
              "A read 0 2\nA read 2 2\nA release 2 2\nA release 0 2\n"
              "A read 0 0\nA read 2 0\nA release 2 0\nA release 0 0\n");
    picture->borderMode[0] = ORV_BORDER_REFLECT;
    picture->borderMode[2] = ORV_BORDER_CONSTANT;
    EXPECT_EQ(calls(-2, -3, 5, 5), "A read 0 0\nA release 0 0\n");
}

namespace {

uint8_t twoTiles[2][64];
int wrongReleases;

int32_t ORV_CALL provideTwoTiles(OrvImage* image, int32_t x, int32_t, int32_t mode)
{
    if (mode != ORV_TILE_RELEASE)
        image->tileInfo->tileData = twoTiles[x];
    else
        wrongReleases += image->tileInfo->tileData != twoTiles[x];
    return 0;
}

}  // namespace

TEST(Border, ShowsEveryTileAgainWhenItIsReleased)
{
    Picture picture({.width = 16, .height = 8, .tileWidth = 8, .tileHeight = 8});
    picture->tileInfo->callBack = provideTwoTiles;
    rectOf(picture, 0, 0, 16, 8);
    EXPECT_EQ(wrongReleases, 0);
}

TEST(Border, EndsWithoutLossWhereMemoryOrATileDoesNotCome)
{
    // Refuses the n-th tile or allocation; false if there are fewer. A refused tile leaves open those before it in its
    // row of three.
    auto endsEarly = [](bool tile, int n) {
        Picture picture({.channels = 3, .width = 20, .height = 20, .tileWidth = 8, .tileHeight = 8});
        picture.log().refuse = tile ? n : 0;
        testheap::refuse(tile ? 0 : n);
        OwnScratch<uint8_t> block = rectOf(picture, 3, 3, 15, 15);
        bool refused = tile ? picture.log().refused : testheap::refused();
        testheap::refuse(0);
        EXPECT_NE(bool(block), refused);
        EXPECT_EQ(picture.openTiles(), refused && tile ? (n - 1) % 3 : 0);
        return refused;
    };
    int blocks = testheap::blocks();
    for (bool tile : {true, false}) {
        int refusals = 0;
        while (endsEarly(tile, refusals + 1))
            ++refusals;
        EXPECT_EQ(refusals, tile ? 9 : 4);
    }
    EXPECT_EQ(testheap::blocks(), blocks);
}

TEST(Border, RefusesRectanglesThatNoBlockHolds)
{
    Picture picture({.width = 8, .height = 8});
    EXPECT_FALSE(rectOf(picture, 0, 0, 0, 5));
    EXPECT_FALSE(rectOf(picture, 0, 0, 5, -1));
    EXPECT_FALSE(rectOf(picture, 0, 0, INT32_MAX, INT32_MAX));
    picture->align = 64;
    EXPECT_FALSE(rectOf(picture, 0, 0, 5, 5));
    picture->align = 4;
    picture->depth = 24;
    EXPECT_FALSE(rectOf(picture, 0, 0, 5, 5));
}
