// The gallery's entries for morphology, filters of ranks and fixed filters.
#include <random>

#include "families.h"

namespace gallery {

namespace {

constexpr int32_t allSides = ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT;

// One pixel of `share` becomes black or white.
Image withSpecks(Image image, unsigned share)
{
    std::mt19937 random(7);
    for (int32_t y = 0; y < image->height; ++y)
        for (int32_t x = 0; x < image->width; ++x)
            if (random() % share == 0)
                for (int32_t c = 0; c < image->nChannels; ++c)
                    image.row<uint8_t>(y)[x * image->nChannels + c] = random() % 2 ? 255 : 0;
    return image;
}

// ---- Morphology ---------------------------------------------------------------------------------------------------

void dilate(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvDilate(srcImage, dstImage, 3));
}

void erode(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvErode(srcImage, dstImage, 3));
}

void open(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(512, 512, 256, 256, 200, 200));
    Image& image = stage.inPlace("image", photo("camera"));
    CODE(orvSetBorderMode(image, ORV_BORDER_REPLICATE, allSides, 0));
    CODE(image->maskROI = mask);
    CALL(orvOpen(image, image, 4));
}

void close(Stage& stage)
{
    Image bits(1, ORV_DEPTH_1U, 512, 512);
    orvThreshold(withSpecks(photo("camera"), 12), bits, 100);
    Image& srcImage = stage.source("srcImage", std::move(bits));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_1U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvClose(srcImage, dstImage, 1));
}

// ---- Ranks --------------------------------------------------------------------------------------------------------

void greatest(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvMaxFilter(srcImage, dstImage, 25, 3, 12, 1));
}

void least(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvMinFilter(srcImage, dstImage, 3, 25, 1, 12));
}

void median(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", withSpecks(photo("camera"), 6));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvMedianFilter(srcImage, dstImage, 3, 3, 1, 1));
}

void largeMedian(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REFLECT, allSides, 0));
    CALL(orvMedianFilter(srcImage, dstImage, 25, 25, 12, 12));
}

void colourMedian(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", withSpecks(photo("astronaut"), 10));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvColorMedianFilter(srcImage, dstImage, 3, 3, 1, 1));
}

// ---- Fixed filters ------------------------------------------------------------------------------------------------

void edges(Stage& stage)
{
    const View view = scaled(0.25, 128);
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16S));
    Image& across = stage.target("across", Image(1, ORV_DEPTH_16S, 512, 512), view);
    Image& down = stage.target("down", Image(1, ORV_DEPTH_16S, 512, 512), view);
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvFixedFilter(srcImage, across, ORV_FIXED_SOBEL_X));
    CALL(orvFixedFilter(srcImage, down, ORV_FIXED_SOBEL_Y));
}

void sharpen(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& smooth = stage.target("smooth", Image(3, ORV_DEPTH_8U, 451, 300));
    Image& sharp = stage.target("sharp", Image(3, ORV_DEPTH_8U, 451, 300));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvFixedFilter(srcImage, smooth, ORV_FIXED_GAUSS5));
    CALL(orvFixedFilter(srcImage, sharp, ORV_FIXED_SHARPEN3));
}

}  // namespace

const Family morphology = {"Neighbourhood filters",
                           "Morphology",
                           "The greatest or the least value of a square, and both one after the other.",
                           {
                               {"orvDilate", "What is bright grows by three pixels on every side.", dilate},
                               {"orvErode", "What is dark grows.", erode},
                               {"orvOpen", "In place, in a disc: bright details smaller than nine pixels go.", open},
                               {"orvClose", "Holes of single bits are closed.", close},
                           }};

const Family ranks = {"Neighbourhood filters",
                      "Ranks",
                      "Values of a window that stand at a place of their order.",
                      {
                          {"orvMaxFilter", "The greatest values of a wide window.", greatest},
                          {"orvMinFilter", "The least values of a high window.", least},
                          {"orvMedianFilter", "Single black and white pixels go, edges stay.", median},
                          {"orvMedianFilter, a large window", "Flat areas with sharp edges.", largeMedian},
                          {"orvColorMedianFilter",
                           "The pixel of the window that is nearest to the others: no new colours.", colourMedian},
                      }};

const Family fixedFilters = {
    "Neighbourhood filters",
    "Fixed filters",
    "Windows with built-in coefficients.",
    {
        {"orvFixedFilter, edges", "The gradients of Sobel, with signs: middle grey is 0.", edges},
        {"orvFixedFilter", "Smoothed and sharpened.", sharpen},
    }};

}  // namespace gallery
