#include <gtest/gtest.h>

#include "example.h"

TEST(Examples, FirstAddsARegion)
{
    std::string result = RESULTS "first.png";
    remove(result.c_str());
    ExampleEnd end = runExample("first", PHOTOS "coffee.png " PHOTOS "astronaut.png " + result);
    ASSERT_EQ(end.exitCode, 0) << end.output;
    Loaded coffee = load(PHOTOS "coffee.png"), astronaut = load(PHOTOS "astronaut.png");
    expectPixels(*load(result), 600, 400, 3, [&](int x, int y, int c) {
        bool inRegion = x >= 380 && x < 580 && y >= 20 && y < 170;
        return std::min(255, valueAt(*coffee, x, y, c) + (inRegion ? valueAt(*astronaut, x - 250, y, c) : 0));
    });
}

TEST(Examples, TellWhatTheyLack)
{
    for (std::string name : {"first", "masks", "channels", "errors", "threads"}) {
        EXPECT_EQ(runExample(name, "").exitCode, 2) << name;
        std::string inputs = name == "first" || name == "errors" ? PHOTOS "coffee.png " : "";
        EXPECT_EQ(runExample(name, inputs + RESULTS "none.png " RESULTS "none-either.png").exitCode, 1) << name;
    }
    EXPECT_EQ(runExample("masks", PHOTOS "coffee.png " RESULTS "no/such/folder.png").exitCode, 1);
    // A photograph without colours, where the channels do not agree.
    ExampleEnd end = runExample("first", PHOTOS "camera.png " PHOTOS "coffee.png " RESULTS "none.png");
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_NE(end.output.find(":orvAdd(): (nChSrcB != nChDst)\nnot added, status -5: Bad argument\n"), std::string::npos)
        << end.output;
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
