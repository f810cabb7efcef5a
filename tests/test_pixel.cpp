// Single pixels.
#include <gtest/gtest.h>

#include <cstring>

#include "model.h"
#include "picture.h"
#include "reports.h"

TEST(Pixel, ReadsAndWritesEveryLayout)
{
    Reports reports;
    Random random(1);
    for (int round = 0; round < 300; ++round) {
        uint32_t depth = allDepths[size_t(random.below(7))];
        PictureSpec spec = randomPictureSpec(random, depth, depth == ORV_DEPTH_1U ? 1 : random.between(1, 4), 17, 19);
        int channels = spec.channels;
        SCOPED_TRACE(round);
        Picture picture(spec);
        spec.seed = 2;
        Picture target(spec);
        Picture expected(spec);
        size_t bytes = depth == ORV_DEPTH_1U ? 1 : (depth & ORV_DEPTH_MASK) / 8;
        std::vector<uint8_t> pixel(size_t(channels) * bytes + 1, 0xEE);
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x) {
                int row = spec.origin == ORV_ORIGIN_BL ? spec.height - 1 - y : y;
                bool written = random.below(2);
                orvGetPixel(picture, x, y, pixel.data());
                for (int c = 0; c < channels; ++c) {
                    uint32_t value = 0;
                    memcpy(&value, &pixel[size_t(c) * bytes], bytes);
                    ASSERT_EQ(value, picture.raw(x, row, c)) << x << ' ' << y << ' ' << c;
                    if (written)
                        expected.setRaw(x, row, c, value);
                }
                if (depth == ORV_DEPTH_1U)
                    pixel[0] ^= 0xFE;  // only the lowest bit is written
                if (written)
                    orvPutPixel(target, x, y, pixel.data());
            }
        EXPECT_EQ(pixel.back(), 0xEE);
        EXPECT_TRUE(target.bytes() == expected.bytes());
        EXPECT_EQ(picture.faults() + target.faults(), "");
        EXPECT_EQ(picture.openTiles() + target.openTiles(), 0);
    }
    EXPECT_EQ(reports.take(), "");
}

TEST(Pixel, TilesAreOpenedAndReleased)
{
    Reports reports;
    Picture picture({.origin = ORV_ORIGIN_BL, .width = 20, .height = 20, .tileWidth = 16, .tileHeight = 16});
    uint8_t pixel = 3;
    orvPutPixel(picture, 17, 2, &pixel);  // the stored row 17, which is row 1 of the second tiles
    orvGetPixel(picture, 0, 19, &pixel);
    EXPECT_EQ(picture.log().text(), "A write 1 1\nA release 1 1\nA read 0 0\nA release 0 0\n");
    EXPECT_EQ(picture.raw(17, 17), 3u);

    // A tile that does not come is reported and was never open.
    std::vector<uint32_t> before = picture.values();
    pixel = 7;
    picture.log().calls.clear();
    picture.log().refuse = 1;
    orvGetPixel(picture, 3, 3, &pixel);
    picture.log().refuse = 1;
    orvPutPixel(picture, 3, 3, &pixel);
    EXPECT_EQ(reports.take(), "-2 orvGetPixel Error get tile to read\n-2 orvPutPixel Error get tile to write\n");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);
    EXPECT_EQ(picture.log().text(), "A read 0 1\nA write 0 1\n");
    EXPECT_EQ(pixel, 7);
    EXPECT_EQ(picture.values(), before);
    EXPECT_EQ(picture.faults(), "");
}

TEST(Pixel, ChecksInTheirOrder)
{
    uint8_t pixel = 42;
    Picture picture({.width = 5, .height = 7});
    Picture broken({.width = 5, .height = 7});
    broken->align = 1;
    const std::string x = "((x>img->width-1) || (x<0))\n";
    const std::string y = "((y>img->height-1) || (y<0))\n";
    struct {
        OrvImage* image;
        int x, y;
        void* pixel;
        int status;
        std::string text;
    } cases[] = {
        {nullptr, 9, 9, nullptr, -9, "Incorrect Image\n"},
        {broken, 9, 9, nullptr, -21, "Incorrect Image\n"},
        {picture, 5, 7, nullptr, -5, x},
        {picture, -1, 7, nullptr, -5, x},
        {picture, INT32_MIN, 0, &pixel, -5, x},
        {picture, 4, 7, nullptr, -5, y},
        {picture, 0, INT32_MAX, &pixel, -5, y},
        {picture, 0, -1, &pixel, -5, y},
        {picture, 4, 6, nullptr, -5, "pixel==0\n"},
    };
    Reports reports;
    std::vector<uint8_t> before = picture.bytes();
    for (const auto& c : cases) {
        orvGetPixel(c.image, c.x, c.y, c.pixel);
        orvPutPixel(c.image, c.x, c.y, c.pixel);
        for (const Reports::Entry& entry : reports.entries)
            EXPECT_EQ(entry.file, "orvpixel");
        std::string status = std::to_string(c.status);
        EXPECT_EQ(reports.take(), status + " orvGetPixel " + c.text + status + " orvPutPixel " + c.text);
    }
    EXPECT_EQ(pixel, 42);
    EXPECT_EQ(picture.bytes(), before);
}
