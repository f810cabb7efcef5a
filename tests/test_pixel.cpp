// Single pixels.
#include <gtest/gtest.h>

#include "picture.h"
#include "reports.h"

namespace {

uint32_t valueAt(const std::vector<uint8_t>& pixel, uint32_t depth, int c)
{
    int bytes = depth == ORV_DEPTH_1U ? 1 : int(depth & ORV_DEPTH_MASK) / 8;
    uint32_t value = 0;
    for (int i = 0; i < bytes; ++i)
        value |= uint32_t{pixel[size_t(c) * size_t(bytes) + size_t(i)]} << (8 * i);
    return value;
}

// Every layout of a small image: tiles of 8 x 16 cut it in the middle and at its edges.
std::vector<PictureSpec> layouts()
{
    std::vector<PictureSpec> all;
    for (uint32_t depth :
         {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F})
        for (int channels : {1, 3, 4})
            for (int order : {ORV_DATA_ORDER_PIXEL, ORV_DATA_ORDER_PLANE})
                for (int origin : {ORV_ORIGIN_TL, ORV_ORIGIN_BL})
                    for (int tile : {0, 8})
                        if (depth != ORV_DEPTH_1U || channels == 1)
                            all.push_back({.depth = depth,
                                           .channels = channels,
                                           .alpha = channels == 4 ? 4 : 0,
                                           .order = order,
                                           .origin = origin,
                                           .align = tile ? 32 : 4,
                                           .width = 19,
                                           .height = 21,
                                           .roi = OrvROI{1, 3, 3, 2, 2},
                                           .tileWidth = tile,
                                           .tileHeight = 2 * tile,
                                           .extraStep = origin * 8});
    return all;
}

}  // namespace

TEST(Pixel, ReadsAndWritesEveryLayout)
{
    Reports reports;
    for (const PictureSpec& spec : layouts()) {
        SCOPED_TRACE(testing::Message() << std::hex << spec.depth << ' ' << spec.channels << ' ' << spec.order
                                        << spec.origin << ' ' << spec.tileWidth);
        Picture picture(spec);
        PictureSpec other = spec;
        other.seed = 2;
        Picture target(other);
        std::vector<uint8_t> pixel(size_t(spec.channels) * 4, 0xEE);
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x) {
                orvGetPixel(picture, x, y, pixel.data());
                int row = spec.origin == ORV_ORIGIN_BL ? spec.height - 1 - y : y;
                for (int c = 0; c < spec.channels; ++c)
                    ASSERT_EQ(valueAt(pixel, spec.depth, c), picture.raw(x, row, c)) << x << ' ' << y << ' ' << c;
                if ((x + y) % 2 == 0)
                    orvPutPixel(target, x, y, pixel.data());
            }
        Picture before(other);
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x) {
                bool written = (x + (spec.origin == ORV_ORIGIN_BL ? spec.height - 1 - y : y)) % 2 == 0;
                for (int c = 0; c < spec.channels; ++c)
                    ASSERT_EQ(target.raw(x, y, c), (written ? picture : before).raw(x, y, c))
                        << x << ' ' << y << ' ' << c;
            }
        EXPECT_EQ(picture.faults() + target.faults(), "");
        EXPECT_EQ(picture.openTiles() + target.openTiles(), 0);
    }
    EXPECT_EQ(reports.take(), "");
}

TEST(Pixel, TilesAreOpenedAndReleased)
{
    Reports reports;
    Picture picture({.channels = 3,
                     .order = ORV_DATA_ORDER_PLANE,
                     .origin = ORV_ORIGIN_BL,
                     .width = 20,
                     .height = 20,
                     .tileWidth = 16,
                     .tileHeight = 16});
    uint8_t pixel[3] = {1, 2, 3};
    orvPutPixel(picture, 17, 2, pixel);  // the stored row 17, which is row 1 of the second tiles
    orvGetPixel(picture, 0, 19, pixel);
    EXPECT_EQ(picture.log().text(), "A write 1 1\nA release 1 1\nA read 0 0\nA release 0 0\n");
    EXPECT_EQ(picture.raw(17, 17, 2), 3u);

    // A tile that does not come is reported and was never open.
    std::vector<uint32_t> before = picture.values();
    uint8_t untouched[3] = {7, 8, 9};
    picture.log().calls.clear();
    picture.log().refuse = 1;
    orvGetPixel(picture, 3, 3, untouched);
    picture.log().refuse = 1;
    orvPutPixel(picture, 3, 3, untouched);
    EXPECT_EQ(reports.take(), "-2 orvGetPixel Error get tile to read\n-2 orvPutPixel Error get tile to write\n");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);
    EXPECT_EQ(picture.log().text(), "A read 0 1\nA write 0 1\n");
    EXPECT_TRUE(untouched[0] == 7 && untouched[1] == 8 && untouched[2] == 9);
    EXPECT_EQ(picture.values(), before);
    EXPECT_EQ(picture.faults(), "");
}

TEST(Pixel, ChecksInTheirOrder)
{
    Reports reports;
    uint8_t pixel = 42;
    Picture picture({.width = 5, .height = 7});
    Picture broken({.width = 5, .height = 7});
    broken->align = 1;
    const std::string x = "((x>img->width-1) || (x<0))";
    const std::string y = "((y>img->height-1) || (y<0))";
    struct {
        OrvImage* image;
        int x, y;
        void* pixel;
        std::string report;
    } cases[] = {
        {nullptr, 9, 9, nullptr, "-9 * Incorrect Image\n"},  {broken, 9, 9, nullptr, "-21 * Incorrect Image\n"},
        {picture, 5, 7, nullptr, "-5 * " + x + '\n'},        {picture, -1, 7, nullptr, "-5 * " + x + '\n'},
        {picture, INT32_MIN, 0, &pixel, "-5 * " + x + '\n'}, {picture, 4, 7, nullptr, "-5 * " + y + '\n'},
        {picture, 0, INT32_MAX, &pixel, "-5 * " + y + '\n'}, {picture, 0, -1, &pixel, "-5 * " + y + '\n'},
        {picture, 4, 6, nullptr, "-5 * pixel==0\n"},
    };
    std::vector<uint8_t> before = picture.bytes();
    for (const auto& c : cases) {
        orvGetPixel(c.image, c.x, c.y, c.pixel);
        std::string expected = c.report;
        EXPECT_EQ(reports.entries.empty() ? "" : reports.entries[0].file, "orvpixel");
        EXPECT_EQ(reports.take(), expected.replace(expected.find('*'), 1, "orvGetPixel"));
        orvPutPixel(c.image, c.x, c.y, c.pixel);
        expected = c.report;
        EXPECT_EQ(reports.take(), expected.replace(expected.find('*'), 1, "orvPutPixel"));
    }
    EXPECT_EQ(pixel, 42);
    EXPECT_EQ(picture.bytes(), before);
}

TEST(Pixel, OneBitTakesTheLowestBit)
{
    Picture picture({.depth = ORV_DEPTH_1U, .width = 11, .height = 1});
    for (int value : {1, 2, 255, 254}) {
        uint8_t byte = uint8_t(value);
        orvPutPixel(picture, 9, 0, &byte);
        EXPECT_EQ(picture->imageData[1] >> 6 & 1, value & 1);
        byte = 99;
        orvGetPixel(picture, 9, 0, &byte);
        EXPECT_EQ(byte, value & 1);
    }
}
