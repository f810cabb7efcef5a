// The gallery's entries for neighbourhood filters.
#include <random>

#include "families.h"

namespace gallery {

namespace {

constexpr int32_t allSides = ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT;

void blur(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvBlur(srcImage, dstImage, 15, 15, 7, 7));
}

void blurMotion(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REFLECT, ORV_SIDE_LEFT | ORV_SIDE_RIGHT, 0));
    CALL(orvBlur(srcImage, dstImage, 61, 1, 0, 0));
}

void blurRegion(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(160, 180, 80, 90, 80, 90));
    Image& image = stage.inPlace("image", photo("astronaut"));
    CODE(image->roi = orvCreateROI(0, 145, 20, 160, 180));
    CODE(image->maskROI = mask);
    CALL(orvBlur(image, image, 25, 25, 12, 12));
}

void blurMask(Stage& stage)
{
    Image noisy = photo("camera");
    std::mt19937 random(7);
    for (int i = 0; i < noisy->imageSize; ++i)
        if (random() % 6 == 0)
            noisy->imageData[i] = random() % 2 ? 255 : 0;
    Image bits(1, ORV_DEPTH_1U, 512, 512);
    orvThreshold(noisy, bits, 100);
    Image& srcImage = stage.source("srcImage", std::move(bits));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_1U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvBlur(srcImage, dstImage, 5, 5, 2, 2));
}

void borders(Stage& stage)
{
    static const char* const names[] = {"constant", "replicate", "reflect", "wrap"};
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image* dst[4];
    for (int i = 0; i < 4; ++i)
        dst[i] = &stage.target(names[i], Image(3, ORV_DEPTH_8U, 600, 400));
    Image &constant = *dst[0], &replicate = *dst[1], &reflect = *dst[2], &wrap = *dst[3];
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_CONSTANT, allSides, 255));
    CALL(orvBlur(srcImage, constant, 151, 151, 75, 75));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvBlur(srcImage, replicate, 151, 151, 75, 75));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REFLECT, allSides, 0));
    CALL(orvBlur(srcImage, reflect, 151, 151, 75, 75));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_WRAP, allSides, 0));
    CALL(orvBlur(srcImage, wrap, 151, 151, 75, 75));
}

}  // namespace

const Family blurs = {
    "Neighbourhood filters",
    "Blur and borders",
    "Every pixel the mean of a window. What the window meets outside the picture comes from the picture's border "
    "modes.",
    {
        {"orvBlur", "A window of 15 × 15 pixels.", blur},
        {"orvBlur, to one side", "One row of 61 pixels that begins at the pixel itself: a movement.", blurMotion},
        {"orvBlur, in place", "A face made unknown: in a region and under a mask.", blurRegion},
        {"orvBlur, a mask", "At one bit a pixel the mean is what most of the window is: specks go.", blurMask},
        {"orvSetBorderMode",
         "A very large window with each of the four modes, the constant being white: watch the edges.", borders},
    }};

}  // namespace gallery
