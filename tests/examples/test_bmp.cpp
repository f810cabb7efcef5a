// BMP files of the example against those of another program, netpbm, both ways.
#include <array>
#include <cstdlib>

#include "example.h"

namespace {

bool hasNetpbm()
{
    return system("bmptopnm --version > /dev/null 2>&1 && ppmtobmp --version > /dev/null 2>&1") == 0;
}

bool run(const std::string& command)
{
    return system(("(" + command + ") 2> /dev/null").c_str()) == 0;
}

// The pixels of a PNM file of 1 or 8 bits, as R, G, B.
struct Pnm {
    int width = 0, height = 0;
    std::vector<std::array<int, 3>> pixels;

    explicit Pnm(const std::string& path)
    {
        FILE* file = fopen(path.c_str(), "rb");
        char kind = 0;
        int most = 1;
        if (!file || fscanf(file, "P%c %d %d", &kind, &width, &height) != 3)
            throw std::runtime_error("no picture in " + path);
        if (kind != '4' && fscanf(file, "%d", &most) != 1)
            throw std::runtime_error("no picture in " + path);
        fgetc(file);
        for (int y = 0; y < height; ++y)
            for (int x = 0, byte = 0; x < width; ++x) {
                if (kind == '4') {
                    byte = x % 8 ? byte << 1 : fgetc(file);
                    int value = byte & 128 ? 0 : 255;
                    pixels.push_back({value, value, value});
                    continue;
                }
                int first = fgetc(file);
                pixels.push_back({first, kind == '6' ? fgetc(file) : first, kind == '6' ? fgetc(file) : first});
            }
        fclose(file);
    }
};

// A picture of our own reader and one of the other's are the same.
void expectSame(const OrvImage& image, const Pnm& pnm)
{
    ASSERT_TRUE(image.width == pnm.width && image.height == pnm.height);
    for (int y = 0; y < image.height; ++y)
        for (int x = 0; x < image.width; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(valueAt(image, x, y, image.nChannels < 3 ? 0 : c),
                          pnm.pixels[size_t(y * image.width + x)][size_t(c)])
                    << x << ' ' << y << ' ' << c;
}

}  // namespace

TEST(Bmp, FilesAreReadByOthers)
{
    if (!hasNetpbm())
        GTEST_SKIP() << "netpbm is not installed";
    const std::string bmp = RESULTS "written.bmp", pnm = RESULTS "written.pnm", png = RESULTS "written.png";
    for (std::string photo : {"coffee", "camera"})
        for (std::string options : {"1", "1 fs", "4", "4 median", "4 rle", "8", "8 median stucki", "8 rle",
                                    "8 median rle", "16", "24", "32"}) {
            SCOPED_TRACE(photo + ' ' + options);
            if (photo == "coffee" && options == "1 fs")
                continue;  // bits are for pictures of one channel
            ExampleEnd end = runExample("bmp", PHOTOS + photo + ".png " + bmp + ' ' + options);
            ASSERT_EQ(end.exitCode, 0) << end.output;
            ASSERT_TRUE(run("bmptopnm " + bmp + " > " + pnm));
            end = runExample("bmp", bmp + ' ' + png);
            ASSERT_EQ(end.exitCode, 0) << end.output;
            // White of five bits is 248 for us, and 255 for others.
            if (options != "16")
                expectSame(*load(png), Pnm(pnm));
        }
    // A picture without colours to be lost.
    ASSERT_EQ(runExample("bmp", PHOTOS "coffee.png " + bmp + " 24").exitCode, 0);
    ASSERT_TRUE(run("bmptopnm " + bmp + " > " + pnm));
    expectSame(*load(PHOTOS "coffee.png"), Pnm(pnm));
}

TEST(Bmp, FilesOfOthersAreRead)
{
    if (!hasNetpbm())
        GTEST_SKIP() << "netpbm is not installed";
    const std::string bmp = RESULTS "foreign.bmp", pnm = RESULTS "foreign.pnm", png = RESULTS "foreign.png";
    const std::string source = "pngtopnm " PHOTOS "coffee.png";
    for (const std::string& make :
         {source + " | ppmtobmp -bpp 24", source + " | pnmquant 256 | ppmtobmp -bpp 8",
          source + " | pnmquant 16 | ppmtobmp -bpp 4", source + " | ppmtopgm | pgmtopbm | ppmtobmp -bpp 1",
          source + " | ppmtopgm | ppmtobmp -bpp 8"}) {
        SCOPED_TRACE(make);
        ASSERT_TRUE(run(make + " > " + bmp));
        ASSERT_TRUE(run("bmptopnm " + bmp + " > " + pnm));
        ExampleEnd end = runExample("bmp", bmp + ' ' + png);
        ASSERT_EQ(end.exitCode, 0) << end.output;
        expectSame(*load(png), Pnm(pnm));
    }
}

TEST(Bmp, FilesThatAreNotWholeAreRefused)
{
    const std::string bmp = RESULTS "cut.bmp", cut = RESULTS "cut-off.bmp", png = RESULTS "cut.png";
    ASSERT_EQ(runExample("bmp", PHOTOS "camera.png " + bmp + " 8 rle").exitCode, 0);
    for (std::string bytes : {"0", "1", "53", "54", "1000", "100000", "-1"}) {
        ASSERT_TRUE(run("head -c " + bytes + ' ' + bmp + " > " + cut));
        EXPECT_EQ(runExample("bmp", cut + ' ' + png).exitCode, 1) << bytes;
    }
    EXPECT_EQ(runExample("bmp", "").exitCode, 2);
    EXPECT_EQ(runExample("bmp", RESULTS "none.bmp " + png).exitCode, 1);
    EXPECT_EQ(runExample("bmp", PHOTOS "camera.png " + bmp + " 5").exitCode, 2);
    EXPECT_EQ(runExample("bmp", PHOTOS "camera.png " RESULTS "no/such.bmp").exitCode, 1);
}
