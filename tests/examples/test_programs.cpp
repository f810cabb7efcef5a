#include <algorithm>
#include <cmath>

#include "example.h"

TEST(Examples, MasksKeepOneColour)
{
    Loaded photo = load(PHOTOS "astronaut.png"), made = make("masks", PHOTOS "astronaut.png");
    long kept = 0;
    expectPixels(*made, 512, 512, 3, [&](int x, int y, int c) {
        bool orange = x >= 25 && y >= 204 && valueAt(*photo, x, y, 0) - valueAt(*photo, x, y, 2) >= 70;
        kept += orange;
        return valueAt(*photo, x, y, orange ? c : 1);
    });
    EXPECT_TRUE(kept > 50000 && kept < 500000) << kept;
}

TEST(Examples, ChannelsOnASheet)
{
    for (std::string name : {"chelsea", "coffee"}) {
        std::string path = PHOTOS + name + ".png";
        Loaded photo = load(path), made = make("channels", path);
        int w = photo->width, h = photo->height;
        expectPixels(*made, 2 * w, 2 * h, 3, [&](int x, int y, int c) {
            int column = x % w, row = y % h, value = valueAt(*photo, column, row, c);
            if (y < h)
                return x < w ? value : valueAt(*photo, column, row, 2 - c);
            if (x < w)
                return std::clamp(value + (c == 0 ? 35 : c == 2 ? -35 : 0), 0, 255);
            return valueAt(*photo, column, row, column >= 2 * w / 3 ? 2 : column >= w / 3 ? 1 : 0);
        });
    }
}

TEST(Examples, ErrorsAreToldAndOvercome)
{
    std::string output;
    Loaded photo = load(PHOTOS "astronaut.png"), shade = load(PHOTOS "camera.png"),
           made = make("errors", PHOTOS "astronaut.png " PHOTOS "camera.png", "", &output);
    EXPECT_EQ(output,
              "broken copy: Incorrect data alignment value in the image header\n"
              "fits as it is: no\n"
              "orvSubtract: Bad argument (nChSrcB != nChDst)\n"
              "    called from darken (the shade does not fit the picture)\n"
              "    called from darkenAnyway \n"
              "status -5: Bad argument\n"
              "trace: darkenAnyway (one channel)\n"
              "trace: darkenAnyway (one channel)\n"
              "trace: darkenAnyway (one channel)\n");
    expectPixels(*made, 512, 512, 3,
                 [&](int x, int y, int c) { return std::max(0, valueAt(*photo, x, y, c) - valueAt(*shade, x, y, 0)); });
}

namespace {

// The mean of a window with the nearest edge pixel beyond the edges, rounded. Windows have odd numbers of pixels: no
// ties.
int meanAt(const OrvImage& image, int x, int y, int channel, int size)
{
    int sum = 0;
    for (int j = -size / 2; j <= size / 2; ++j)
        for (int i = -size / 2; i <= size / 2; ++i)
            sum +=
                valueAt(image, std::clamp(x + i, 0, image.width - 1), std::clamp(y + j, 0, image.height - 1), channel);
    return int(std::lround(double(sum) / (size * size)));
}

}  // namespace

// Whatever the number of threads, the strips fit together.
TEST(Examples, ThreadsFindTheSameEdges)
{
    Loaded photo = load(PHOTOS "coffee.png");
    std::vector<uint8_t> edges;
    for (int y = 0; y < 400; ++y)
        for (int x = 0; x < 600; ++x)
            for (int c = 0; c < 3; ++c)
                edges.push_back(
                    uint8_t(std::min(255, 4 * std::abs(valueAt(*photo, x, y, c) - meanAt(*photo, x, y, c, 9)))));
    for (std::string threads : {"1", "2", "7", "400"}) {
        expectPixels(*make("threads", PHOTOS "coffee.png", threads), 600, 400, 3,
                     [&](int x, int y, int c) { return int(edges[size_t((y * 600 + x) * 3 + c)]); });
    }
}

// The joints of a wall run together towards its far end; straightened, they stand upright, a brick's breadth apart.
TEST(Examples, StraightenAWall)
{
    Loaded made = make("straighten", PHOTOS "brick.png", "100 0 395 0 467 511 48 511");
    const int width = 358, height = 516;  // as the edges' mean lengths tell
    ASSERT_TRUE(made->width == width && made->height == height && made->nChannels == 1);
    auto meanOfColumn = [&](int x) {
        int sum = 0;
        for (int y = 0; y < height; ++y)
            sum += valueAt(*made, x, y, 0);
        return sum / height;
    };
    for (int joint = 1; joint < 10; ++joint) {
        int brightest = 0;
        for (int x = joint * width / 10 - 3; x <= joint * width / 10 + 3; ++x)
            brightest = std::max(brightest, meanOfColumn(x));
        EXPECT_GT(brightest, meanOfColumn((2 * joint + 1) * width / 20) + 50) << joint;
    }
    // A rectangle is cut out as it is; what lies beyond the photograph is white.
    Loaded photo = load(PHOTOS "coffee.png"),
           cut = make("straighten", PHOTOS "coffee.png", "-20 30 79 30 79 89 -20 89 100 60");
    expectPixels(*cut, 100, 60, 3,
                 [&](int x, int y, int c) { return x < 20 ? 255 : valueAt(*photo, x - 20, y + 30, c); });
}

namespace {

// What is dark in a picture of any number of channels: its weight, and the direction of its longest extent in degrees.
struct Extent {
    double weight = 0, direction;

    explicit Extent(const OrvImage& image)
    {
        double x1 = 0, y1 = 0, xx = 0, xy = 0, yy = 0;
        for (int y = 0; y < image.height; ++y)
            for (int x = 0; x < image.width; ++x) {
                const double p =
                    (255 - valueAt(image, x, y, 0)) * (image.nChannels == 4 ? valueAt(image, x, y, 3) : 255);
                weight += p / 65025;
                x1 += p * x, y1 += p * y, xx += p * x * x, xy += p * x * y, yy += p * y * y;
            }
        const double sum = weight * 65025;
        direction = 90 / M_PI * atan2(2 * (xy - x1 * y1 / sum), (xx - x1 * x1 / sum) - (yy - y1 * y1 / sum));
    }
};

}  // namespace

TEST(Examples, MomentsTurnAHorse)
{
    const Extent upright(*load(PHOTOS "horse.png"));
    Loaded level = make("moments", PHOTOS "horse.png");
    EXPECT_NEAR(Extent(*level).direction, 0, 0.05);
    EXPECT_NEAR(Extent(*level).weight, upright.weight, 0.001 * upright.weight);
    std::string levelled = RESULTS "level.png";
    ASSERT_TRUE(pngSave(levelled.c_str(), level.get()));
    Loaded back = make("moments", levelled, PHOTOS "horse.png");
    EXPECT_NEAR(Extent(*back).direction, upright.direction, 0.05);
    EXPECT_NEAR(Extent(*back).weight, upright.weight, 0.001 * upright.weight);
}
