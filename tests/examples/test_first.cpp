#include <gtest/gtest.h>

#include "example.h"

TEST(Examples, FirstAddsARegion)
{
    Loaded made = make("first", PHOTOS "coffee.png " PHOTOS "astronaut.png");
    Loaded coffee = load(PHOTOS "coffee.png"), astronaut = load(PHOTOS "astronaut.png");
    expectPixels(*made, 600, 400, 3, [&](int x, int y, int c) {
        bool inRegion = x >= 380 && x < 580 && y >= 20 && y < 170;
        return std::min(255, valueAt(*coffee, x, y, c) + (inRegion ? valueAt(*astronaut, x - 250, y, c) : 0));
    });
}

TEST(Examples, TellWhatTheyLack)
{
    for (std::string name : {"first", "masks", "channels", "errors", "threads", "moments"}) {
        EXPECT_EQ(runExample(name, "").exitCode, 2) << name;
        std::string inputs = name == "first" || name == "errors" ? PHOTOS "coffee.png " : "";
        EXPECT_EQ(runExample(name, inputs + RESULTS "none.png " RESULTS "none-either.png").exitCode, 1) << name;
    }
    EXPECT_EQ(runExample("straighten", PHOTOS "brick.png " RESULTS "none.png 0 0 9 0 9 9 0 nan").exitCode, 2);
    EXPECT_EQ(runExample("straighten", PHOTOS "brick.png " RESULTS "none.png 0 0 9 0 9 9 0 0").exitCode, 1);
    EXPECT_EQ(runExample("masks", PHOTOS "coffee.png " RESULTS "no/such/folder.png").exitCode, 1);
    // A photograph without colours, where the channels do not agree.
    ExampleEnd end = runExample("first", PHOTOS "camera.png " PHOTOS "coffee.png " RESULTS "none.png");
    EXPECT_EQ(end.exitCode, 1);
    EXPECT_NE(end.output.find(":orvAdd(): (nChSrcB != nChDst)\nnot added, status -5: Bad argument\n"),
              std::string::npos)
        << end.output;
}

// The helper saves what is not plain through single pixels.
TEST(Examples, PngFilesOfEveryLayout)
{
    orvSetErrMode(ORV_ErrModeSilent);
    auto check = [](uint32_t depth, int channels, int order, int origin) {
        bool bits = depth == ORV_DEPTH_1U;
        auto value = [&](int x, int y, int c) { return bits ? (x ^ y) & 1 : x * 16 + y * 3 + c * 50; };
        Loaded image(orvCreateImageHeader(channels, channels % 2 ? 0 : channels, depth, "RGB", "BGRA", order, origin, 4,
                                          13, 7, nullptr, nullptr, nullptr, nullptr));
        orvAllocateImage(image.get(), 1, 0);
        for (int y = 0; y < 7; ++y)
            for (int x = 0; x < 13; ++x) {
                uint8_t pixel[4];
                for (int c = 0; c < channels; ++c)
                    pixel[c] = uint8_t(value(x, y, c));
                orvPutPixel(image.get(), x, y, pixel);
            }
        ASSERT_TRUE(pngSave(RESULTS "layout.png", image.get()));
        expectPixels(*load(RESULTS "layout.png"), 13, 7, channels, [&](int x, int y, int c) {
            int from = channels >= 3 && c < 3 ? 2 - c : c;  // the file is RGB
            return int(uint8_t(value(x, y, from) * (bits ? 255 : 1)));
        });
    };
    for (int order : {0, 1})
        for (int origin : {0, 1}) {
            SCOPED_TRACE(testing::Message() << "order " << order << " origin " << origin);
            check(ORV_DEPTH_1U, 1, order, origin);
            for (int channels = 1; channels <= 4; ++channels)
                check(ORV_DEPTH_8U, channels, order, origin);
        }
}
