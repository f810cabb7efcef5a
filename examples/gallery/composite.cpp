// The gallery's entries for products of normalised values and for compositing.
#include "families.h"

namespace gallery {

namespace {

// A checkerboard of two greys.
Image board(int channels, int width, int height)
{
    Image image(channels, ORV_DEPTH_8U, width, height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width * channels; ++x)
            image.row<uint8_t>(y)[x] = (x / channels / 16 + y / 16) % 2 ? 150 : 100;
    return image;
}

// A grey picture of bits: white where they are set.
Image greyOf(const Image& bits)
{
    Image grey(1, ORV_DEPTH_8U, bits->width, bits->height);
    grey->maskROI = bits;
    orvSet(grey, 255);
    grey->maskROI = nullptr;
    return grey;
}

// A soft disc.
Image disc(int width, int height, double x, double y, double radius)
{
    Image soft(1, ORV_DEPTH_8U, width, height);
    orvBlur(greyOf(ellipse(width, height, x, y, radius, radius)), soft, 41, 41, 20, 20);
    return soft;
}

void multiplyScalar(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CALL(orvMultiplySScale(srcImage, dstImage, 140));
}

void multiply(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", photo("camera"));
    Image& srcImageB = stage.source("srcImageB", disc(512, 512, 230, 150, 170));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CALL(orvMultiplyScale(srcImageA, srcImageB, dstImage));
}

// A photograph with a soft disc as its alpha channel.
Image cutOut(const Image& colours, const Image& alpha)
{
    Image image(4, ORV_DEPTH_8U, colours->width, colours->height);
    for (int y = 0; y < image->height; ++y)
        for (int x = 0; x < image->width; ++x)
            for (int c = 0; c < 4; ++c)
                image.row<uint8_t>(y)[4 * x + c] =
                    c < 3 ? colours.row<uint8_t>(y)[3 * x + c] : alpha.row<uint8_t>(y)[x];
    image->alphaChannel = 4;
    return image;
}

void preMultiply(Stage& stage)
{
    Image& image = stage.inPlace("image", cutOut(photo("astronaut"), disc(512, 512, 225, 120, 110)));
    CALL(orvPreMultiplyAlpha(image, -1));
}

void compositeConstant(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", part(photo("coffee"), 0, 0, 451, 300));
    Image& srcImageB = stage.source("srcImageB", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CALL(orvAlphaCompositeC(srcImageA, srcImageB, dstImage, 0, 128, 255, 0, 0));
}

void overBoard(Stage& stage)
{
    Image& srcImageA = stage.source("srcImageA", photo("astronaut"));
    Image& alphaImageA = stage.source("alphaImageA", disc(512, 512, 225, 120, 110));
    Image& srcImageB = stage.source("srcImageB", board(3, 512, 512));
    Image& alphaImageB = stage.source("alphaImageB", greyOf(ellipse(512, 512, 256, 256, 600, 600)));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    CALL(orvAlphaComposite(srcImageA, srcImageB, dstImage, 0, alphaImageA, alphaImageB, nullptr, 0, 0));
}

// Two discs, composited in all six ways and laid over a checkerboard.
void types(Stage& stage)
{
    Image red(3, ORV_DEPTH_8U, 200, 150), blue(3, ORV_DEPTH_8U, 200, 150);
    for (int y = 0; y < 150; ++y)
        for (int x = 0; x < 200; ++x) {
            red.row<uint8_t>(y)[3 * x] = 230;
            blue.row<uint8_t>(y)[3 * x + 2] = 230;
        }
    Image& srcImageA = stage.source("srcImageA", std::move(red));
    Image& srcImageB = stage.source("srcImageB", std::move(blue));
    Image& alphaImageA = stage.source("alphaImageA", disc(200, 150, 75, 75, 55));
    Image& alphaImageB = stage.source("alphaImageB", disc(200, 150, 125, 75, 55));
    static const char* const names[] = {"0 over", "1 in", "2 out", "3 atop", "4 xor", "5 plus"};
    Image results[6];
    for (int type = 0; type < 6; ++type) {
        results[type] = Image(4, ORV_DEPTH_8U, 200, 150);
        results[type]->alphaChannel = 4;
    }
    Image& dstImage = stage.watched("dstImage", Image(4, ORV_DEPTH_8U, 200, 150));
    dstImage->alphaChannel = 4;
    for (int type = 0; type < 6; ++type) {
        CALL(orvAlphaComposite(srcImageA, srcImageB, dstImage, type, alphaImageA, alphaImageB, nullptr, 0, 0));
        Image shown(3, ORV_DEPTH_8U, 200, 150), ground = board(3, 200, 150);
        orvAlphaCompositeC(dstImage, ground, shown, 0, -1, 255, 1, 0);
        stage.showAfter(names[type], shown);
    }
}

}  // namespace

const Family compositing = {
    "Pointwise operations",
    "Products and compositing",
    "The greatest value stands for 1: products of pictures, and pictures laid over each other by their alphas.",
    {
        {"orvMultiplySScale", "By 140 of 255.", multiplyScalar},
        {"orvMultiplyScale", "By a soft disc.", multiply},
        {"orvPreMultiplyAlpha", "By its own alpha channel.", preMultiply},
        {"orvAlphaCompositeC", "Half of one picture over another.", compositeConstant},
        {"orvAlphaComposite", "A cut-out over a checkerboard.", overBoard},
        {"orvAlphaComposite, types", "Red and blue in the six ways, over a checkerboard.", types},
    }};

}  // namespace gallery
