// The gallery's entries for arithmetic and logic: two images, an image and a scalar, one image.
#include <cmath>
#include <random>

#include "families.h"

namespace gallery {

namespace {

// ---- Two images ----------------------------------------------------------------------------------------------------

// The coffee, as large as the cat.
Image smallCoffee()
{
    return part(photo("coffee"), 75, 20, 451, 300);
}

void add(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", photo("chelsea"));
    Image& srcImageB = stage.source("srcImageB", smallCoffee());
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CALL(orvAdd(srcImageA, srcImageB, dstImage));
}

void addAverage(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", photo("chelsea"));
    Image& srcImageB = stage.source("srcImageB", smallCoffee());
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CALL(orvRShiftS(srcImageA, srcImageA, 1));
    CALL(orvRShiftS(srcImageB, srcImageB, 1));
    CALL(orvAdd(srcImageA, srcImageB, dstImage));
}

void subtract(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", photo("camera"));
    Image& srcImageB = stage.source("srcImageB", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 509, 509), scaled(4));
    CODE(srcImageB->roi = orvCreateROI(0, 3, 3, 509, 509));
    CALL(orvSubtract(srcImageA, srcImageB, dstImage));
    stage.note("Differences below 0 are 0.");
}

void subtractSigned(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", converted(photo("camera"), ORV_DEPTH_16S));
    Image& srcImageB = stage.source("srcImageB", converted(photo("camera"), ORV_DEPTH_16S));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_16S, 510, 510), scaled(2, 128));
    CODE(srcImageB->roi = orvCreateROI(0, 2, 2, 510, 510));
    CALL(orvSubtract(srcImageA, srcImageB, dstImage));
}

// Falls from 1 in the middle to 0 in the corners.
Image vignette(int width, int height)
{
    Image image(3, ORV_DEPTH_32F, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < 3 * width; ++x) {
            int column = x / 3 - width / 2, row = y - height / 2;
            double r = std::hypot(column / (width / 2.0), row / (height / 2.0)) / std::sqrt(2.0);
            image.row<float>(y)[x] = float(1 - r * r);
        }
    return image;
}

void multiply(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", converted(photo("chelsea"), ORV_DEPTH_32F));
    Image& srcImageB = stage.source("srcImageB", vignette(451, 300), scaled(255));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_32F, 451, 300));
    CALL(orvMultiply(srcImageA, srcImageB, dstImage));
}

void andImages(Stage& stage)
{
    Image frame(3, ORV_DEPTH_8U, 512, 512);
    Image disc = ellipse(512, 512, 225, 150, 150, 150);
    frame->maskROI = disc;
    orvSet(frame, 255);
    frame->maskROI = nullptr;
    Image& srcImageA = stage.source("srcImageA", photo("astronaut"));
    Image& srcImageB = stage.source("srcImageB", std::move(frame));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    CALL(orvAnd(srcImageA, srcImageB, dstImage));
}

void orMasks(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", ellipse(360, 240, 180, 120, 110, 100));
    Image& srcImageB = stage.source("srcImageB", stripes(360, 240, 30));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_1U, 360, 240));
    CALL(orvOr(srcImageA, srcImageB, dstImage));
}

void xorTwice(Stage& stage)
{
    Image noise(3, ORV_DEPTH_8U, 451, 300);
    std::mt19937 random(1);
    for (int i = 0; i < noise->imageSize; ++i)
        noise->imageData[i] = uint8_t(random());
    Image& photograph = stage.source("photograph", photo("chelsea"));
    Image& key = stage.source("key", std::move(noise));
    Image& hiddenImage = stage.target("secret", Image(3, ORV_DEPTH_8U, 451, 300));
    Image& again = stage.target("again", Image(3, ORV_DEPTH_8U, 451, 300));
    Image& secret = hiddenImage;
    CALL(orvXor(photograph, key, secret));
    CALL(orvXor(secret, key, again));
}

// ---- An image and a scalar -----------------------------------------------------------------------------------------

// The common frame of these entries: one photograph and one call on it.
#define PHOTO_CALL(name, photograph, ...)                                                                             \
    void name(Stage& stage)                                                                                           \
    {                                                                                                                 \
        Image& srcImage = stage.source("srcImage", photograph);                                                       \
        Image& dstImage =                                                                                             \
            stage.target("dstImage", Image(srcImage->nChannels, srcImage->depth, srcImage->width, srcImage->height)); \
        CALL(__VA_ARGS__);                                                                                            \
    }

// The same at 8U and at 32F.
#define BOTH_CALLS(name, call, callFP)                                                \
    void name(Stage& stage)                                                           \
    {                                                                                 \
        Image& srcImage = stage.source("srcImage", photo("camera"));                  \
        Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512)); \
        Image& srcFP = stage.hidden(converted(photo("camera"), ORV_DEPTH_32F));       \
        Image& dstFP = stage.target("dstFP", Image(1, ORV_DEPTH_32F, 512, 512));      \
        CALL(call);                                                                   \
        CALL(callFP);                                                                 \
    }

BOTH_CALLS(addS, orvAddS(srcImage, dstImage, 70), orvAddSFP(srcFP, dstFP, 70.5f))
BOTH_CALLS(subtractS, orvSubtractS(srcImage, dstImage, 70, 0), orvSubtractSFP(srcFP, dstFP, 255.0f, 1))
BOTH_CALLS(multiplyS, orvMultiplyS(srcImage, dstImage, 2), orvMultiplySFP(srcFP, dstFP, 0.4f))
PHOTO_CALL(andS, photo("chelsea"), orvAndS(srcImage, dstImage, 0xC0))
PHOTO_CALL(orS, photo("chelsea"), orvOrS(srcImage, dstImage, 0x7F))
PHOTO_CALL(xorS, photo("chelsea"), orvXorS(srcImage, dstImage, 0x80))
PHOTO_CALL(lShiftS, photo("coffee"), orvLShiftS(srcImage, dstImage, 2))

void addChannel(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("coffee"));
    CODE(image->roi = orvCreateROI(3, 300, 0, 300, 400));
    CALL(orvAddS(image, image, 90));
}

void negativeRegion(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(360, 280, 180, 140, 180, 140));
    Image& image = stage.inPlace("image", photo("coffee"));
    CODE(image->roi = orvCreateROI(0, 100, 30, 360, 280));
    CODE(image->maskROI = mask);
    CALL(orvSubtractS(image, image, 255, 1));
}

void rShiftS(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512), scaled(32));
    CALL(orvRShiftS(srcImage, dstImage, 5));
    stage.note("Three bits are left of eight: values from 0 to 7.");
}

// ---- One image -----------------------------------------------------------------------------------------------------

PHOTO_CALL(notImage, photo("astronaut"), orvNot(srcImage, dstImage))

void notMask(Stage& stage)
{
    Image& mask = stage.inPlace("mask", ellipse(360, 240, 180, 120, 110, 100));
    CALL(orvNot(mask, mask));
}

// Values around 0: what is brighter than the mean of the picture and what is darker.
void absolute(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16S, 1, -128), scaled(1, 128));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_16S, 512, 512), scaled(2));
    CALL(orvAbs(srcImage, dstImage));
}

void square(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("chelsea"), ORV_DEPTH_32F, 1 / 255.0), scaled(255));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_32F, 451, 300), scaled(255));
    CALL(orvSquare(srcImage, dstImage));
    stage.note("Values from 0 to 1, so that squares darken the shades and leave white white.");
}

void squareInteger(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16U));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_16U, 512, 512), scaled(1 / 255.0));
    CALL(orvSquare(srcImage, dstImage));
}

}  // namespace

const Family twoImages = {
    "Pointwise operations",
    "Two images",
    "Arithmetic and logic, value by value. Integer results are cut to the range of the depth.",
    {
        {"orvAdd", "Sums above 255 stay at 255.", add},
        {"orvAdd, an average", "Each picture at half its brightness first.", addAverage},
        {"orvSubtract", "A picture less itself, moved by three pixels to the left and up: edges.", subtract},
        {"orvSubtract, signed", "A depth with a sign keeps both sides of the difference: a relief.", subtractSigned},
        {"orvMultiply", "A floating-point photograph times a falloff from the middle to the corners.", multiply},
        {"orvAnd", "The bits of the photograph where the other picture is white.", andImages},
        {"orvOr", "Two masks together: pictures of one bit a pixel.", orMasks},
        {"orvXor", "With a random key, and once more with the same key.", xorTwice},
    }};

const Family scalars = {
    "Pointwise operations",
    "An image and a scalar",
    "Every value with the same number. Names that end in FP are for floating-point pictures.",
    {
        {"orvAddS and orvAddSFP",
         "Brighter; white stays white. At 32F values above 255 remain what they are, and are shown white.", addS},
        {"orvAddS, a channel of interest", "More blue in the right half, in place.", addChannel},
        {"orvSubtractS and orvSubtractSFP", "Darker, and black stays black; flipped, a negative.", subtractS},
        {"orvSubtractS, flipped", "255 less the value: a negative, in a region and under a mask.", negativeRegion},
        {"orvMultiplyS and orvMultiplySFP", "Twice as bright, and darker at 32F.", multiplyS},
        {"orvAndS", "The two highest bits of each value: four steps a channel.", andS},
        {"orvOrS", "All bits but the highest set.", orS},
        {"orvXorS", "The highest bit inverted.", xorS},
        {"orvLShiftS", "Bits shifted out are lost, so that brightness runs through its range four times.", lShiftS},
        {"orvRShiftS", "The high bits alone.", rShiftS},
    }};

const Family unary = {"Pointwise operations",
                      "One image",
                      "Inversion, absolute values, squares.",
                      {
                          {"orvNot", "Every bit inverted: a negative.", notImage},
                          {"orvNot, a mask", "What was left out is taken, and the reverse; in place.", notMask},
                          {"orvAbs", "Distances from the middle grey, at a depth with a sign.", absolute},
                          {"orvSquare", "A steeper tone curve, at 32F.", square},
                          {"orvSquare, 16U", "Squares of integers, cut at 65535.", squareInteger},
                      }};

}  // namespace gallery
