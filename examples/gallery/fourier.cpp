// The gallery's entries for the Fourier transforms.
#include <algorithm>
#include <cmath>

#include "families.h"

namespace gallery {

namespace {

void realFft(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.watched("dstImage", Image(1, ORV_DEPTH_32F, 512, 512));
    CALL(orvRealFft2D(srcImage, dstImage, ORV_FFT_FORWARD));
    stage.showAfter("dstImage", dstImage, spectrum());
    stage.showAfter("dstImage as it is stored", dstImage, logarithm());
}

void realFftColour(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_32F, 451, 300), spectrum());
    CALL(orvRealFft2D(srcImage, dstImage, ORV_FFT_FORWARD));
}

void realFftFixed(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_32S, 512, 512), spectrum());
    CALL(orvRealFft2D(srcImage, dstImage, ORV_FFT_FORWARD | ORV_FFT_USE_INT));
}

void ccsFft(Stage& stage)
{
    Image transformed(1, ORV_DEPTH_32F, 512, 512);
    orvRealFft2D(photo("camera"), transformed, ORV_FFT_FORWARD);
    Image& srcImage = stage.source("srcImage", std::move(transformed), spectrum());
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CALL(orvCcsFft2D(srcImage, dstImage, ORV_FFT_INVERSE));
}

// A disc of values that add up to 1, its centre at the origin and its other three quarters in the other corners, so
// that nothing moves.
Image lens(int size, double radius)
{
    Image image(1, ORV_DEPTH_32F, size, size);
    double sum = 0;
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x) {
            double distance = std::hypot(std::min(x, size - x), std::min(y, size - y));
            double value = std::clamp(radius + 0.5 - distance, 0.0, 1.0);
            image.row<float>(y)[x] = float(value);
            sum += value;
        }
    orvMultiplySFP(image, image, float(1 / sum));
    return image;
}

// What lies around the origin of such an image.
Image middle(const Image& image, int size)
{
    Image result(1, ORV_DEPTH_32F, size, size);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            result.row<float>(y)[x] = image.row<float>((y - size / 2 + image->height) %
                                                       image->height)[(x - size / 2 + image->width) % image->width];
    return result;
}

void multiplySpectra(Stage& stage)
{
    Image& picture = stage.source("picture", converted(photo("camera"), ORV_DEPTH_32F));
    Image& disc = stage.hidden(lens(512, 9));
    Image& result = stage.target("result", Image(1, ORV_DEPTH_8U, 512, 512));
    stage.showBefore("disc", middle(disc, 64), scaled(60000));
    CALL(orvRealFft2D(picture, picture, ORV_FFT_FORWARD));
    CALL(orvRealFft2D(disc, disc, ORV_FFT_FORWARD));
    stage.showAfter("disc, transformed", disc, spectrum());
    CALL(orvMpyRCPack2D(picture, disc, picture));
    stage.showAfter("picture, the product", picture, spectrum());
    CALL(orvCcsFft2D(picture, result, ORV_FFT_INVERSE));
    stage.note("The disc has the size of the picture and its centre at the origin; shown is what lies around that.");
    stage.note(
        "A product of spectra is a convolution of pictures: each point becomes a disc, as with a lens out of focus.");
}

}  // namespace

const Family fourier = {
    "Frequency transforms",
    "Fourier",
    "Transforms of any size between a picture and its packed spectrum, and products of spectra.",
    {
        {"orvRealFft2D", "The spectrum of a photograph: as magnitudes, and in the packed layout in which it is stored.",
         realFft},
        {"orvRealFft2D, in colour", "Each channel by itself, at a size that is no power of two.", realFftColour},
        {"orvRealFft2D, fixed point", "With integer arithmetic into an integer picture.", realFftFixed},
        {"orvCcsFft2D", "And back.", ccsFft},
        {"orvMpyRCPack2D", "The spectrum of a photograph times that of a disc.", multiplySpectra},
    }};

}  // namespace gallery
