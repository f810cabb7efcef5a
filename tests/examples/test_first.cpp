#include <gtest/gtest.h>

#include "example.h"

TEST(Examples, FirstDrawsAFrame)
{
    for (std::string name : {"astronaut.png", "camera.png", "chelsea.png"}) {
        std::string result = RESULTS "first-" + name;
        remove(result.c_str());
        ExampleEnd end = runExample("first", PHOTOS + name + ' ' + result);
        ASSERT_EQ(end.exitCode, 0) << end.output;
        EXPECT_NE(end.output.find("orvGetPixel says: Bad argument, because of ((x>img->width-1) || (x<0))\n"
                                  "  the stored status is -5\n"),
                  std::string::npos)
            << end.output;

        Loaded before = load(PHOTOS + name);
        Loaded after = load(result);
        ASSERT_TRUE(before && after);
        ASSERT_TRUE(before->width == after->width && before->height == after->height);
        ASSERT_EQ(before->nChannels, after->nChannels);
        const int amber[] = {255, 176, 0};
        for (int y = 0; y < before->height; ++y)
            for (int x = 0; x < before->width; ++x)
                for (int c = 0; c < before->nChannels; ++c) {
                    ptrdiff_t place = ptrdiff_t{y} * before->widthStep + ptrdiff_t{x} * before->nChannels + c;
                    int value = before->imageData[place];
                    bool inFrame = x < 12 || y < 12 || x >= before->width - 12 || y >= before->height - 12;
                    if (inFrame)
                        value = (value + amber[before->nChannels == 1 ? 1 : c]) / 2;
                    ASSERT_EQ(after->imageData[place], value) << x << ' ' << y << ' ' << c;
                }
    }
}

TEST(Examples, FirstNeedsAPhotograph)
{
    EXPECT_EQ(runExample("first", "").exitCode, 2);
    EXPECT_EQ(runExample("first", RESULTS "none.png " RESULTS "none-either.png").exitCode, 1);
    EXPECT_EQ(runExample("first", PHOTOS "coffee.png " RESULTS "no/such/folder.png").exitCode, 1);
}

// The helper saves what is not plain through single pixels.
TEST(Examples, PngFilesOfEveryLayout)
{
    orvSetErrMode(ORV_ErrModeSilent);
    for (uint32_t depth : {ORV_DEPTH_1U, ORV_DEPTH_8U})
        for (int channels = 1; channels <= 4; ++channels)
            for (int order : {0, 1})
                for (int origin : {0, 1}) {
                    if (depth == ORV_DEPTH_1U && channels > 1)
                        continue;
                    Loaded image(orvCreateImageHeader(channels, channels % 2 ? 0 : channels, depth, "RGB", "BGRA",
                                                      order, origin, 4, 13, 7, nullptr, nullptr, nullptr, nullptr));
                    orvAllocateImage(image.get(), 1, 0);
                    uint8_t pixel[4];
                    for (int y = 0; y < 7; ++y)
                        for (int x = 0; x < 13; ++x) {
                            for (int c = 0; c < channels; ++c)
                                pixel[c] = uint8_t(depth == ORV_DEPTH_1U ? (x ^ y) & 1 : x * 16 + y * 3 + c * 50);
                            orvPutPixel(image.get(), x, y, pixel);
                        }
                    ASSERT_TRUE(pngSave(RESULTS "layout.png", image.get()));
                    Loaded back = load(RESULTS "layout.png");
                    ASSERT_TRUE(back);
                    for (int y = 0; y < 7; ++y)
                        for (int x = 0; x < 13; ++x) {
                            uint8_t got[4] = {};
                            orvGetPixel(back.get(), x, y, got);
                            for (int c = 0; c < channels; ++c) {
                                int from = channels >= 3 && c < 3 ? 2 - c : c;  // the file is RGB
                                int value = depth == ORV_DEPTH_1U ? ((x ^ y) & 1) * 255 : x * 16 + y * 3 + from * 50;
                                ASSERT_EQ(got[c], uint8_t(value)) << channels << ' ' << order << origin;
                            }
                        }
                }
}
