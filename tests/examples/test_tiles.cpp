#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <vector>

#include "example.h"

namespace {

// A file that is gone at the end of the test, as it is large.
struct TemporaryFile {
    explicit TemporaryFile(const std::string& name) : path(RESULTS + name) { remove(path.c_str()); }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() { remove(path.c_str()); }
    std::string path;
};

Loaded makeImage(const OrvImage& like, int height)
{
    Loaded image(orvCreateImageHeader(like.nChannels, 0, ORV_DEPTH_8U, "", "", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4,
                                      like.width, height, nullptr, nullptr, nullptr, nullptr));
    orvAllocateImage(image.get(), 0, 0);
    return image;
}

// A TIFF file of 256 x 256 tiles.
class TiffTiles {
public:
    explicit TiffTiles(const std::string& path) : tiff(TIFFOpen(path.c_str(), "r"), TIFFClose)
    {
        if (!tiff)
            throw std::runtime_error("no picture in " + path);
        uint16_t samples = 0;
        TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &size.width);
        TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &size.height);
        TIFFGetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
        size.nChannels = samples;
    }

    // The rows from `top`, where tiles begin, to before `bottom`, as a plain image.
    Loaded rows(int top, int bottom) const
    {
        Loaded image = makeImage(size, bottom - top);
        int pixel = size.nChannels;
        std::vector<uint8_t> tile(size_t(256 * 256 * pixel));
        for (int y = top; y < bottom; y += 256)
            for (int x = 0; x < size.width; x += 256) {
                TIFFReadTile(tiff.get(), tile.data(), uint32_t(x), uint32_t(y), 0, 0);
                for (int j = 0; j < std::min(256, bottom - y); ++j)
                    std::copy_n(&tile[size_t(j * 256 * pixel)], std::min(256, size.width - x) * pixel,
                                image->imageData + ptrdiff_t(y - top + j) * image->widthStep + x * pixel);
            }
        return image;
    }

    OrvImage size = {};

private:
    std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff;
};

// Rows of a plain image, sharpened: what the 15 x 15 mean lies below a value is added to it, what it lies above is
// taken away.
Loaded sharpened(OrvImage* source, int first, int count)
{
    OrvROI rows = {0, 0, first, source->width, count};
    Loaded blurred = makeImage(*source, count), above = makeImage(*source, count), below = makeImage(*source, count);
    source->roi = &rows;
    orvSetBorderMode(source, ORV_BORDER_REPLICATE, 15, 0);
    orvBlur(source, blurred.get(), 15, 15, 7, 7);
    orvSubtract(source, blurred.get(), above.get());
    orvSubtract(blurred.get(), source, below.get());
    orvAdd(source, above.get(), blurred.get());
    orvSubtract(blurred.get(), below.get(), blurred.get());
    source->roi = nullptr;
    return blurred;
}

// True if a row of an image holds these bytes.
bool isRow(const OrvImage& image, int y, const uint8_t* bytes)
{
    return memcmp(image.imageData + ptrdiff_t(y) * image.widthStep, bytes, size_t(image.width * image.nChannels)) == 0;
}

// The photograph laid out in brightnesses that differ from copy to copy.
void layOut(const OrvImage& photo, int y, int width, std::vector<uint8_t>& row)
{
    for (int x = 0; x < width; ++x) {
        int brighter = (x / photo.width * 5 + y / photo.height * 7) % 13 * 12 - 72;
        for (int c = 0; c < photo.nChannels; ++c)
            row[size_t(x * photo.nChannels + c)] =
                uint8_t(std::clamp(valueAt(photo, x % photo.width, y % photo.height, c) + brighter, 0, 255));
    }
}

void expectPeakBelow(const std::string& output, [[maybe_unused]] double limit)
{
    double peak = 0;
    size_t place = output.find("peak memory ");
    ASSERT_NE(place, std::string::npos) << output;
    ASSERT_EQ(sscanf(output.c_str() + place, "peak memory %lf MiB", &peak), 1) << output;
    EXPECT_GT(peak, 1);
#if !defined(__SANITIZE_ADDRESS__)
    EXPECT_LT(peak, limit);
#endif
    printf("peak memory %.1f MiB\n", peak);
}

void checkTiles(const std::string& photoName, int width, int height)
{
    std::string size = ' ' + std::to_string(width) + ' ' + std::to_string(height);
    TemporaryFile big("tiles-big.tif"), sharp("tiles-sharp.tif");
    for (const std::string& arguments :
         {"make " PHOTOS + photoName + ' ' + big.path + size, "sharpen " + big.path + ' ' + sharp.path}) {
        ExampleEnd end = runExample("tiles", arguments);
        ASSERT_EQ(end.exitCode, 0) << end.output;
        expectPeakBelow(end.output, 20);
    }

    Loaded photo = load(PHOTOS + photoName);
    TiffTiles source(big.path), result(sharp.path);
    ASSERT_TRUE(result.size.width == width && result.size.height == height &&
                result.size.nChannels == photo->nChannels);
    std::vector<uint8_t> row(size_t(width * photo->nChannels));
    for (int y = 0; y < height; y += 256) {
        int top = std::max(y - 256, 0), count = std::min(256, height - y);
        Loaded around = source.rows(top, std::min(y + 512, height)), got = result.rows(y, y + count);
        Loaded expected = sharpened(around.get(), y - top, count);
        for (int j = 0; j < count; ++j) {
            layOut(*photo, y + j, width, row);
            ASSERT_TRUE(isRow(*around, y - top + j, row.data())) << "source row " << y + j;
            ASSERT_TRUE(isRow(*expected, j, got->imageData + ptrdiff_t(j) * got->widthStep)) << "row " << y + j;
        }
    }
}

}  // namespace

// Every pixel of a picture that is many times as large as the memory.
TEST(Tiles, SharpenABigPicture)
{
#if defined(__SANITIZE_ADDRESS__)
    checkTiles("camera.png", 2600, 1500);
#else
    checkTiles("camera.png", 20480, 20480);
#endif
}

// Colours, tiles that are cut at the edges, photographs that do not fit the tiles.
TEST(Tiles, SharpenInColour)
{
    checkTiles("chelsea.png", 1999, 1203);
    checkTiles("coffee.png", 100, 90);
}

TEST(Tiles, TellWhatTheyLack)
{
    EXPECT_EQ(runExample("tiles", "").exitCode, 2);
    EXPECT_EQ(runExample("tiles", "sharpen " RESULTS "none.tif " RESULTS "none-either.tif").exitCode, 1);
    EXPECT_EQ(runExample("tiles", "make " RESULTS "none.png " RESULTS "none.tif 512 512").exitCode, 1);
    remove(RESULTS "none.tif");
    EXPECT_EQ(runExample("tiles", "make " PHOTOS "camera.png " RESULTS "no/such.tif 512 512").exitCode, 1);
}
