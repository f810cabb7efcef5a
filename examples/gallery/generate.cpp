// The gallery's entries for generators and pixel functions.
#include <algorithm>
#include <cmath>

#include "families.h"

namespace gallery {

namespace {

void uniform(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("camera"));
    OrvNoiseParam noise = {};
    CODE(orvNoiseUniformInit(&noise, 1, -60, 60));
    CALL(orvNoiseImage(image, &noise));
}

void gaussian(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("chelsea"));
    OrvNoiseParam noise = {};
    CODE(orvNoiseGaussianInit(&noise, 1, 0, 40));
    CALL(orvNoiseImage(image, &noise));
}

void floatNoise(Stage& stage)
{
    Image& image = stage.target("image", Image(1, ORV_DEPTH_32F, 300, 300), scaled(255));
    OrvNoiseParam noise = {};
    CODE(orvNoiseUniformInitFP(&noise, 5, 0.0f, 1.0f));
    CALL(orvNoiseImage(image, &noise));
}

void floatGaussian(Stage& stage)
{
    Image& image = stage.target("image", Image(1, ORV_DEPTH_32F, 300, 300), scaled(255));
    OrvNoiseParam noise = {};
    CODE(orvNoiseGaussianInitFP(&noise, 5, 0.5f, 0.15f));
    CALL(orvNoiseImage(image, &noise));
}

void chirp(Stage& stage)
{
    Image& image = stage.watched("image", Image(1, ORV_DEPTH_8U, 400, 400));
    CALL(image = Image(orvCreateImageJaehne(ORV_DEPTH_8U, 400, 400)));
    stage.showAfter("image", image);
}

int32_t ORV_CALL toneCurve(int32_t value)
{
    double x = value / 255.0;
    return int32_t(lround(255 * (x * x * (3 - 2 * x))));
}

void tones(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    stage.note(
        "int32_t toneCurve(int32_t value) { double x = value / 255.0; return int32_t(255 * (x * x * (3 - 2 * x)) + "
        "0.5); }");
    CALL(orvUserProcess(srcImage, dstImage, toneCurve));
}

float ORV_CALL squareRoot(float value)
{
    return std::sqrt(value / 255) * 255;
}

void roots(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    stage.note("float squareRoot(float value) { return std::sqrt(value / 255) * 255; }");
    CALL(orvUserProcessFP(srcImage, dstImage, squareRoot));
}

void ORV_CALL channelSpread(OrvImage*, void* srcPixel, OrvImage*, void* dstPixel)
{
    auto* rgb = static_cast<const uint8_t*>(srcPixel);
    *static_cast<uint8_t*>(dstPixel) = uint8_t(std::max({rgb[0], rgb[1], rgb[2]}) - std::min({rgb[0], rgb[1], rgb[2]}));
}

void spread(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    stage.note("channelSpread stores the greatest of a pixel's three channels less the least.");
    CALL(orvUserProcessPixel(srcImage, dstImage, channelSpread));
}

}  // namespace

const Family generators = {
    "Generators",
    "Noise and a test image",
    "Noise is the same for the same seed, on every system.",
    {
        {"orvNoiseUniformInit", "Every value gets up to 60 more or less.", uniform},
        {"orvNoiseGaussianInit", "Noise as of a weak signal.", gaussian},
        {"orvNoiseUniformInitFP", "Noise alone, in floating point.", floatNoise},
        {"orvNoiseGaussianInitFP", "Gaussian noise alone.", floatGaussian},
        {"orvCreateImageJaehne", "Rings whose frequency grows with the distance from the centre.", chirp},
    }};

const Family userFunctions = {
    "Generators",
    "Functions of the application",
    "A function of one's own over regions, channels, masks and tiles.",
    {
        {"orvUserProcess", "A tone curve.", tones},
        {"orvUserProcessFP", "The square root, of floats.", roots},
        {"orvUserProcessPixel", "From three channels to one: how colourful a pixel is.", spread},
    }};

}  // namespace gallery
