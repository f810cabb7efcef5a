// The gallery's entries for fewer levels.
#include "families.h"

namespace gallery {

namespace {

// A part of a picture with every pixel as large as a square.
Image magnified(const Image& image, int x, int y, int size, int factor)
{
    Image result(image->nChannels, ORV_DEPTH_8U, size * factor, size * factor);
    double gain = image->depth == ORV_DEPTH_1U ? 255 : 1;
    for (int j = 0; j < size * factor; ++j)
        for (int i = 0; i < size * factor; ++i)
            for (int c = 0; c < image->nChannels; ++c)
                result.row<uint8_t>(j)[i * image->nChannels + c] =
                    uint8_t(gain * valueAt(*image, x + i / factor, y + j / factor, c));
    return result;
}

void showEye(Stage& stage, const char* name, const Image& image)
{
    stage.showAfter(name, magnified(image, 190, 70, 90, 4));
}

// One kind of dithering at 2, 4 and 16 levels, magnified.
template <int kind>
void atThreeLevels(Stage& stage)
{
    Image& srcImage = stage.hidden(photo("camera"));
    Image& two = stage.watched("two", Image(1, ORV_DEPTH_1U, 512, 512));
    Image& four = stage.watched("four", Image(1, ORV_DEPTH_8U, 512, 512));
    Image& sixteen = stage.watched("sixteen", Image(1, ORV_DEPTH_8U, 512, 512));
    constexpr int ditherType = kind;
    stage.showBefore("srcImage", magnified(srcImage, 190, 70, 90, 4));
    CALL(orvReduceBits(srcImage, two, 0, ditherType, 2));
    CALL(orvReduceBits(srcImage, four, 0, ditherType, 4));
    CALL(orvReduceBits(srcImage, sixteen, 0, ditherType, 16));
    showEye(stage, "two", two);
    showEye(stage, "four", four);
    showEye(stage, "sixteen", sixteen);
}

void highBits(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16U, 257), scaled(1 / 257.0));
    Image& bytes = stage.target("bytes", Image(1, ORV_DEPTH_8U, 512, 512));
    Image& bits = stage.target("bits", Image(1, ORV_DEPTH_1U, 512, 512));
    CALL(orvReduceBits(srcImage, bytes, 0, ORV_DITHER_NONE, 0));
    CALL(orvReduceBits(srcImage, bits, 0, ORV_DITHER_NONE, 0));
}

void noise(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& plain = stage.target("plain", Image(1, ORV_DEPTH_1U, 512, 512));
    Image& noisy = stage.target("noisy", Image(1, ORV_DEPTH_1U, 512, 512));
    CALL(orvReduceBits(srcImage, plain, 0, ORV_DITHER_FS, 2));
    CALL(orvReduceBits(srcImage, noisy, 40, ORV_DITHER_FS, 2));
}

void colours(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CALL(orvReduceBits(srcImage, dstImage, 0, ORV_DITHER_JJH, 3));
}

}  // namespace

const Family dithers = {
    "Colour",
    "Fewer levels",
    "Two levels, or a few, that look like many from a distance.",
    {
        {"orvReduceBits, Floyd and Steinberg", "Error diffusion to 2, 4 and 16 levels; each pixel shown as 4 × 4.",
         atThreeLevels<ORV_DITHER_FS>},
        {"orvReduceBits, Jarvis, Judice and Ninke", "The error is handed on to twelve pixels.",
         atThreeLevels<ORV_DITHER_JJH>},
        {"orvReduceBits, Stucki", "The same twelve, with sharper weights.", atThreeLevels<ORV_DITHER_STUCKEY>},
        {"orvReduceBits, ordered", "A matrix of 16 thresholds: no pixel depends on another.",
         atThreeLevels<ORV_DITHER_BAYER>},
        {"orvReduceBits, noise", "Random thresholds break up the worms of a plain error diffusion.", noise},
        {"orvReduceBits, none", "The high bits of each value alone.", highBits},
        {"orvReduceBits, in colour", "27 colours: three levels in each channel.", colours},
    }};

}  // namespace gallery
