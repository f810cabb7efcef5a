#include <tiffio.h>

#include <algorithm>
#include <cmath>
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

// Rows of a tiled TIFF file of 256 x 256 tiles, as many tile rows at once as a window of rows meets.
class TiffRows {
public:
    explicit TiffRows(const std::string& path) : tiff(TIFFOpen(path.c_str(), "r"), TIFFClose)
    {
        if (!tiff)
            throw std::runtime_error("no picture in " + path);
        uint16_t samples = 0;
        TIFFGetField(tiff.get(), TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff.get(), TIFFTAG_IMAGELENGTH, &height);
        TIFFGetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, &samples);
        channels = samples;
        tile.resize(size_t(256) * 256 * samples);
    }

    const uint8_t* row(int y)
    {
        Band& band = bands[y / 256 % 3];
        if (band.index != y / 256)
            read(band, y / 256);
        return band.pixels.data() + size_t(y % 256) * rowBytes();
    }
    size_t rowBytes() const { return size_t(width) * size_t(channels); }

    int width = 0, height = 0, channels = 0;

private:
    struct Band {
        int index = -1;
        std::vector<uint8_t> pixels;
    };

    void read(Band& band, int index)
    {
        band.index = index;
        band.pixels.resize(256 * rowBytes());
        for (int x = 0; x < width; x += 256) {
            TIFFReadTile(tiff.get(), tile.data(), uint32_t(x), uint32_t(index * 256), 0, 0);
            size_t bytes = size_t(std::min(256, width - x) * channels), step = size_t(256 * channels);
            for (size_t j = 0; j < 256; ++j)
                std::copy_n(&tile[j * step], bytes, &band.pixels[j * rowBytes() + size_t(x * channels)]);
        }
    }

    std::unique_ptr<TIFF, decltype(&TIFFClose)> tiff;
    Band bands[3];
    std::vector<uint8_t> tile;
};

// Sums over 15 rows, of which those beyond the edges are the edge rows.
class ColumnSums {
public:
    explicit ColumnSums(TiffRows& rows) : rows(rows), sums(rows.rowBytes())
    {
        for (int y = -8; y < 7; ++y)
            add(y, 1);
    }
    // Moves on to the next row; the first time, to row 0.
    void next()
    {
        add(y + 7, 1);
        add(y - 8, -1);
        ++y;
    }

    // The sharpened row: what the 15 x 15 mean lies below a value is added to it, what it lies above is taken away.
    void sharpen(const uint8_t* source, std::vector<uint8_t>& result) const
    {
        int width = rows.width, channels = rows.channels;
        for (int c = 0; c < channels; ++c) {
            auto sumAt = [&](int x) { return sums[size_t(std::clamp(x, 0, width - 1) * channels + c)]; };
            int sum = 0;
            for (int x = -8; x < 7; ++x)
                sum += sumAt(x);
            for (int x = 0; x < width; ++x) {
                sum += sumAt(x + 7) - sumAt(x - 8);
                int mean = (2 * sum + 225) / 450;
                size_t place = size_t(x * channels + c);
                result[place] = uint8_t(std::clamp(2 * source[place] - mean, 0, 255));
            }
        }
    }

private:
    void add(int y, int sign)
    {
        const uint8_t* row = rows.row(std::clamp(y, 0, rows.height - 1));
        for (size_t i = 0; i < sums.size(); ++i)
            sums[i] += sign * row[i];
    }

    TiffRows& rows;
    std::vector<int> sums;
    int y = 0;
};

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
        expectPeakBelow(end.output, 64);
    }

    Loaded photo = load(PHOTOS + photoName);
    TiffRows source(big.path), result(sharp.path);
    ASSERT_TRUE(result.width == width && result.height == height && result.channels == photo->nChannels);
    std::vector<uint8_t> row(source.rowBytes());
    ColumnSums sums(source);
    for (int y = 0; y < height; ++y) {
        layOut(*photo, y, width, row);
        ASSERT_TRUE(std::equal(row.begin(), row.end(), source.row(y))) << "source row " << y;
        sums.next();
        sums.sharpen(source.row(y), row);
        ASSERT_TRUE(std::equal(row.begin(), row.end(), result.row(y))) << "row " << y;
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
