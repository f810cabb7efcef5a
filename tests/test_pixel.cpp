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
        value |= uint32_t{pixel[size_t(c * bytes + i)]} << (8 * i);
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
