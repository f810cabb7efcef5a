// The box filter against one that adds up every window by itself.
#include <gtest/gtest.h>

#include <cmath>
#include <functional>

#include "core/ownregion.h"
#include "naiveborder.h"
#include "picture.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Window {
    int nCols, nRows, anchorX, anchorY;
};

double valueOf(uint32_t depth, uint32_t bits)
{
    switch (depth) {
    case ORV_DEPTH_8S: return int8_t(bits);
    case ORV_DEPTH_16S: return int16_t(bits);
    case ORV_DEPTH_32S: return int32_t(bits);
    case ORV_DEPTH_32F: return std::bit_cast<float>(bits);
    default: return bits;
    }
}

double resultOf(uint32_t depth, double sum, float scale)
{
    float mean = float(sum) * scale;
    switch (depth) {
    case ORV_DEPTH_1U: return mean >= 0.5f;
    case ORV_DEPTH_8U: return std::clamp(std::nearbyint(mean), 0.f, 255.f);
    case ORV_DEPTH_8S: return std::clamp(std::nearbyint(mean), -128.f, 127.f);
    case ORV_DEPTH_16U: return std::clamp(std::nearbyint(mean), 0.f, 65535.f);
    case ORV_DEPTH_16S: return std::clamp(std::nearbyint(mean), -32768.f, 32767.f);
    case ORV_DEPTH_32S: return std::clamp(std::nearbyint(double(mean)), -2147483648.0, 2147483647.0);
    default: return mean;
    }
}

double naiveMean(Picture& src, const Window& window, int x, int y, int c)
{
    uint32_t depth = src->depth;
    double sum = 0;
    for (int row = y - window.anchorY; row < y - window.anchorY + window.nRows; ++row)
        for (int column = x - window.anchorX; column < x - window.anchorX + window.nCols; ++column)
            sum += valueOf(depth, naiveRaw(src, column, row, c));
    return resultOf(depth, sum, 1.0f / float(window.nCols * window.nRows));
}

// What the destination holds after a blur. Sums must be exact, also as floats.
std::vector<double> naiveBlur(Picture& src, Picture& dst, const Window& window)
{
    std::vector<double> values;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c)
                values.push_back(dst.get(x, y, c));
    OwnRect from = ownRoiRect(src.image);
    OwnRect to = ownRoiRect(dst.image);
    int width = std::min(from.width, to.width);
    int height = std::min(from.height, to.height);
    for (OrvImage* mask : {src->maskROI, dst->maskROI})
        if (mask) {
            width = std::min(width, ownRoiRect(*mask).width);
            height = std::min(height, ownRoiRect(*mask).height);
        }
    auto masked = [&](OrvImage* mask, int x, int y) {
        if (!mask)
            return true;
        OwnRect rect = ownRoiRect(*mask);
        const uint8_t* row = mask->imageData + (rect.y + y) * mask->widthStep;
        return (row[(rect.x + x) / 8] & 128 >> (rect.x + x) % 8) != 0;
    };
    OwnChannels read = ownChannels(src.image);
    OwnChannels write = ownChannels(dst.image);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int c = 0; c < write.count; ++c)
                if (masked(src->maskROI, x, y) && masked(dst->maskROI, x, y))
                    values[size_t(((to.y + y) * dst->width + to.x + x) * dst->nChannels + write.first + c)] =
                        naiveMean(src, window, from.x + x, from.y + y, read.first + c);
    return values;
}

void expectBlurred(Picture& src, Picture& dst, const Window& window)
{
    Reports reports;
    std::vector<uint32_t> before = src.values();
    std::vector<double> expected = naiveBlur(src, dst, window);
    orvBlur(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
    size_t i = 0;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x)
            for (int c = 0; c < dst->nChannels; ++c)
                ASSERT_EQ(dst.get(x, y, c), expected[i++]) << x << ' ' << y << ' ' << c;
    if (&src != &dst) {
        ASSERT_EQ(src.values(), before);
    }
    ASSERT_EQ(src.faults() + dst.faults(), "");
    ASSERT_EQ(src.openTiles() + dst.openTiles(), 0);
    ASSERT_EQ(reports.take(), "");
}

constexpr uint32_t depths[] = {ORV_DEPTH_1U,  ORV_DEPTH_8U,  ORV_DEPTH_8S, ORV_DEPTH_16U,
                               ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

// An image that processes `count` channels, in one of the ways that there are.
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

// Values whose sums are exact as floats, too.
void fillSmall(Picture& picture, Random& random)
{
    if (picture->depth == ORV_DEPTH_32S)
        picture.fill([&](int, int, int) { return random.between(-500, 500); });
    else if (picture->depth == ORV_DEPTH_32F)
        picture.fill([&](int, int, int) { return random.between(-500, 500) / 4.0; });
}

}  // namespace

TEST(Blur, IsTheMeanOfEveryWindowInEveryLayout)
{
    Random random(7);
    for (int round = 0; round < 3000; ++round) {
        uint32_t depth = depths[round % 7];
        int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        PictureSpec srcSpec = randomSpec(random, depth, count);
        PictureSpec dstSpec = randomSpec(random, depth, count);
        auto maskSpec = [&] {
            PictureSpec spec = randomSpec(random, ORV_DEPTH_1U, 1);
            spec.tileWidth = 0;
            return spec;
        };
        const PictureSpec maskSpecs[2] = {maskSpec(), maskSpec()};
        Picture masks[2] = {Picture(maskSpecs[0]), Picture(maskSpecs[1])};
        srcSpec.mask = random.below(3) ? nullptr : &masks[0].image;
        dstSpec.mask = random.below(3) ? nullptr : &masks[1].image;
        Picture src(srcSpec), other(dstSpec);
        bool inPlace = random.below(4) == 0;
        Picture& dst = inPlace ? src : other;
        fillSmall(src, random);
        for (int side = 0; side < 4; ++side)
            orvSetBorderMode(src, random.below(4), 1 << side, random.between(-300, 300));
        int most = random.below(8) ? 12 : 60;
        Window window = {random.between(1, most), random.between(1, most / 2), 0, 0};
        if (window.nCols == 1 && window.nRows == 1)
            continue;
        window.anchorX = random.below(window.nCols);
        window.anchorY = random.below(window.nRows);
        SCOPED_TRACE(testing::Message() << round << ": " << std::hex << depth << std::dec << " window " << window.nCols
                                        << ' ' << window.nRows << " at " << window.anchorX << ' ' << window.anchorY
                                        << ", tiles " << srcSpec.tileWidth << ' ' << dstSpec.tileWidth << ", in place "
                                        << inPlace << ", masks " << !!srcSpec.mask << !!dstSpec.mask);
        expectBlurred(src, dst, window);
        if (HasFatalFailure())
            return;
    }
}

// Bands of tiles must not read what bands before them have written, however far the window and the border reach.
TEST(Blur, OfTilesInPlaceReadsTheOldPixels)
{
    Random random(8);
    for (int round = 0; round < 200; ++round) {
        PictureSpec spec = {.channels = 1 + round % 2, .width = 17, .height = 45, .tileWidth = 8, .tileHeight = 8};
        spec.roi = OrvROI{0, random.below(9), random.below(12), 17, random.between(20, 45)};
        Picture picture(spec);
        orvSetBorderMode(picture, random.below(4), 15, 99);
        Window window = {3, random.between(1, round % 4 ? 24 : 60), 1, 0};
        window.anchorY = random.below(window.nRows);
        SCOPED_TRACE(testing::Message() << round << ": rows " << window.nRows << ' ' << window.anchorY << ", mode "
                                        << picture->borderMode[0] << ", region from " << spec.roi->yOffset << ' '
                                        << spec.roi->height);
        expectBlurred(picture, picture, window);
    }
}

TEST(Blur, TakesSumsBeyond32Bits)
{
    for (uint32_t depth : {ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_8U}) {
        Picture src({.depth = depth, .channels = 2, .width = 6, .height = 3, .seed = 3});
        Picture dst({.depth = depth, .channels = 2, .order = ORV_DATA_ORDER_PLANE, .width = 6, .height = 3});
        orvSetBorderMode(src, ORV_BORDER_REPLICATE, 15, 0);
        src.fill([&](int, int, int c) {
            return depth == ORV_DEPTH_16S ? -32768 : depth == ORV_DEPTH_8U ? 255 : 65535 - c;
        });
        int n = depth == ORV_DEPTH_8U ? 2999 : 300;
        orvBlur(src, dst, n, n, n / 2, n / 2);
        EXPECT_EQ(dst.values(), src.values());
    }
}

// The order of the float additions, over a region whose windows stay inside the image: in the columns and along the rows
// what enters is added before what leaves is subtracted.
TEST(Blur, KeepsTheOrderOfRunningSums)
{
    for (uint32_t depth : {ORV_DEPTH_32S, ORV_DEPTH_32F})
        for (int channels : {1, 2, 3, 4})
            for (int height : {8, 21}) {
                const int nCols = 7, nRows = 5, width = 100;
                Picture src({.depth = depth,
                             .channels = channels,
                             .width = width + nCols,
                             .height = height + nRows,
                             .roi = OrvROI{0, 3, 2, width, height}});
                Picture dst({.depth = depth, .channels = channels, .width = width, .height = height});
                orvBlur(src, dst, nCols, nRows, 3, 2);
                std::vector<float> columns(size_t(width + nCols - 1));
                for (int c = 0; c < channels; ++c)
                    for (int y = 0; y < height; ++y) {
                        for (int x = 0; x < width + nCols - 1; ++x) {
                            float& sum = columns[size_t(x)];
                            if (y == 0)
                                sum = 0;
                            for (int row = y == 0 ? 0 : y + nRows - 1; row < y + nRows; ++row)
                                sum += float(src.get(x, row, c));
                            if (y > 0)
                                sum -= float(src.get(x, y - 1, c));
                        }
                        float sum = 0;
                        for (int x = 0; x < nCols - 1; ++x)
                            sum += columns[size_t(x)];
                        for (int x = 0; x < width; ++x) {
                            sum += columns[size_t(x + nCols - 1)];
                            if (x > 0)
                                sum -= columns[size_t(x - 1)];
                            ASSERT_EQ(dst.get(x, y, c), resultOf(depth, sum, 1.0f / float(nCols * nRows)))
                                << x << ' ' << y << ' ' << c;
                        }
                    }
            }
}

TEST(Blur, SaturatesAt32S)
{
    for (double value : {2147483647.0, -2147483648.0}) {
        Picture src({.depth = ORV_DEPTH_32S, .width = 20, .height = 9});
        Picture dst({.depth = ORV_DEPTH_32S, .width = 20, .height = 9});
        src.fill([&](int, int, int) { return value; });
        orvSetBorderMode(src, ORV_BORDER_WRAP, 15, 0);
        orvBlur(src, dst, 2, 2, 0, 0);
        EXPECT_EQ(dst.values(), src.values());
    }
}

TEST(Blur, OfOnePixelIsACopyWithItsRules)
{
    Reports reports;
    Picture src({.width = 9, .height = 9, .roi = OrvROI{0, 2, 2, 9, 3}});
    Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9, .seed = 9});
    PictureSpec spec = {.width = 9, .height = 9, .mask = mask, .seed = 2};
    Picture blurred(spec), copied(spec);
    orvBlur(src, blurred, 1, 1, 0, 0);
    orvCopy(src, copied);
    EXPECT_EQ(blurred.values(), copied.values());
    EXPECT_NE(blurred.values(), Picture(spec).values());
    src->origin = ORV_ORIGIN_BL;
    orvBlur(src, blurred, 1, 1, 0, 0);
    EXPECT_EQ(reports.take(), "-5 orvCopy srcImage->origin != dstImage->origin\n");
}

TEST(Blur, OpensTiles)
{
    TileLog log;
    Reports reports;
    PictureSpec spec = {.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec);
    spec.name = "D";
    spec.roi = OrvROI{0, 4, 8, 8, 8};
    Picture dst(spec);
    orvBlur(src, dst, 3, 3, 1, 1);
    EXPECT_EQ(log.text(),
              "D write 0 1\nS read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD release 0 1\n"
              "D write 1 1\nS read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n"
              "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\nD release 1 1\n");

    log.calls.clear();
    spec = {.width = 8, .height = 24, .roi = OrvROI{0, 0, 6, 8, 18}, .tileWidth = 8, .tileHeight = 8, .log = &log};
    Picture both(spec);
    orvBlur(both, both, 3, 3, 1, 1);
    EXPECT_EQ(log.text(),
              "A read 0 0\nA release 0 0\nA read 0 1\nA release 0 1\n"  // rows 6 to 7, and around
              "A read 0 0\nA release 0 0\nA read 0 1\nA release 0 1\nA read 0 2\nA release 0 2\n"  // rows 8 to 15
              "A write 0 0\nA release 0 0\n"
              "A read 0 1\nA release 0 1\nA read 0 2\nA release 0 2\n"
              "A write 0 1\nA release 0 1\nA write 0 2\nA release 0 2\n");
    EXPECT_EQ(reports.take(), "");
}

TEST(Blur, ReportsWhatIsWrongInOrder)
{
    struct Case {
        const char* report;
        std::function<void(Picture&, Picture&, Window&)> spoil;
    };
    // Each spoils what the next would, too: the last of the list that was applied decides.
    const Case cases[] = {
        {"", [](Picture&, Picture&, Window&) {}},
        {"-15 orvBlur bad channel's number\n", [](Picture& src, Picture&, Window&) { src->nChannels = 2; }},
        {"-18 orvBlur bad alpha channel's number\n",
         [](Picture& src, Picture&, Window&) { src->nChannels = src->alphaChannel = 1; }},
        {"-18 orvBlur bad alpha channel's number\n",
         [](Picture&, Picture& dst, Window&) { dst->nChannels = dst->alphaChannel = 1; }},
        {"-5 orvBlur (anchorX>=nCols||anchorY>=nRows)\n",
         [](Picture&, Picture&, Window& window) { window.anchorX = 3; }},
        {"-5 orvBlur (anchorX>=nCols||anchorY>=nRows)\n",
         [](Picture&, Picture&, Window& window) {
             window = {3, 0, 0, 0};
         }},
        {"-5 orvBlur (anchorX<0||anchorY<0)\n", [](Picture&, Picture&, Window& window) { window.anchorY = -1; }},
        {"-5 orvBlur (nRows<0||nCols<0)\n", [](Picture&, Picture&, Window& window) { window.nCols = -1; }},
        {"-5 orvBlur (srcImage->depth!=dstImage->depth)\n",
         [](Picture& src, Picture&, Window&) { src->depth = ORV_DEPTH_8S; }},
        {"-10 orvBlur Incorrect Image\n", [](Picture&, Picture& dst, Window&) { dst->width = 0; }},
        {"-15 orvBlur Incorrect Image\n", [](Picture& src, Picture&, Window&) { src->nChannels = 0; }},
    };
    Reports reports;
    Picture src({.channels = 3, .width = 9, .height = 9});
    Picture dst({.channels = 3, .width = 9, .height = 9});
    Window window = {3, 3, 1, 1};
    for (const Case& one : cases) {
        one.spoil(src, dst, window);
        std::vector<uint8_t> before = dst.bytes();
        orvBlur(src, dst, window.nCols, window.nRows, window.anchorX, window.anchorY);
        EXPECT_EQ(reports.take(), one.report);
        EXPECT_EQ(dst.bytes() == before, *one.report != 0);
    }
    orvBlur(nullptr, dst, 3, 3, 1, 1);
    EXPECT_EQ(reports.take(), "-9 orvBlur Incorrect Image\n");
    Picture huge({.width = 9, .height = 9});
    orvBlur(huge, huge, INT32_MAX, INT32_MAX, 5, INT32_MAX - 1);
    EXPECT_EQ(reports.take(), "-4 orvBlur Allocation failure\n");
}

TEST(Blur, EndsWithoutLossWhereMemoryOrATileDoesNotCome)
{
    Reports reports;
    Picture masks[2] = {Picture({.depth = ORV_DEPTH_1U, .width = 30, .height = 30}),
                        Picture({.depth = ORV_DEPTH_1U, .width = 30, .height = 30, .seed = 2})};
    int blocks = testheap::blocks();
    for (int kind = 0; kind < 5; ++kind) {
        auto run = [&](int allocation, int tile, int& open) {
            PictureSpec spec = {.channels = 3, .width = 20, .height = 20, .mask = masks[0]};
            spec.tileHeight = 8;
            spec.tileWidth = kind & 1 ? 8 : 0;
            Picture src(spec);
            spec.tileWidth = kind & 2 ? 8 : 0;
            spec.mask = masks[1];
            spec.order = ORV_DATA_ORDER_PLANE;
            Picture other(spec);
            Picture& dst = kind == 4 ? src : other;
            src.log().refuse = dst.log().refuse = tile;
            testheap::refuse(allocation);
            orvBlur(src, dst, 5, 5, 2, 2);
            bool refused = testheap::refused() || src.log().refused || dst.log().refused;
            testheap::refuse(0);
            open = src.openTiles() + dst.openTiles();
            EXPECT_EQ(src.faults() + dst.faults(), "");
            return refused;
        };
        for (bool tiles : {false, true})
            for (int n = 1;; ++n) {
                int open;
                bool refused = run(tiles ? 0 : n, tiles ? n : 0, open);
                std::string told = reports.take();
                if (!refused) {
                    EXPECT_EQ(told, "");
                    EXPECT_EQ(open, 0);
                    break;
                }
                EXPECT_TRUE(told.ends_with("-4 orvBlur Allocation failure\n")) << kind << ' ' << n << ' ' << told;
                EXPECT_EQ(testheap::blocks(), blocks) << kind << ' ' << n;
                ASSERT_LT(n, 1000);
            }
    }
}

TEST(Blur, SetsBordersSideBySide)
{
    Picture bytes({.width = 4, .height = 4});
    orvSetBorderMode(bytes, ORV_BORDER_WRAP, ORV_SIDE_TOP | ORV_SIDE_LEFT, 300);
    EXPECT_EQ(std::vector<int32_t>(bytes->borderMode, bytes->borderMode + 4), (std::vector<int32_t>{3, 0, 3, 0}));
    EXPECT_EQ(std::vector<int32_t>(bytes->borderConst, bytes->borderConst + 4), (std::vector<int32_t>{255, 0, 255, 0}));
    Picture words({.depth = ORV_DEPTH_32S, .width = 4, .height = 4});
    orvSetBorderMode(words, 7, ORV_SIDE_BOTTOM | ORV_SIDE_RIGHT, 300);
    EXPECT_EQ(std::vector<int32_t>(words->borderMode, words->borderMode + 4), (std::vector<int32_t>{0, 7, 0, 7}));
    EXPECT_EQ(words->borderConst[3], 300);
    orvSetBorderMode(nullptr, 0, 15, 0);
}
