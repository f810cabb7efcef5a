// The gallery's entries for comparisons and the threshold.
#include "families.h"

namespace gallery {

namespace {

Image floating(const char* name)
{
    return converted(photo(name), ORV_DEPTH_32F);
}

void greener(Stage& stage)
{
    Image& img1 = stage.source("img1", photo("chelsea"));
    Image& img2 = stage.source("img2", photo("chelsea"));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 451, 300));
    CODE(img1->roi = orvCreateROI(1, 0, 0, 451, 300));
    CODE(img2->roi = orvCreateROI(2, 0, 0, 451, 300));
    CALL(orvLess(img1, img2, res));
}

void changed(Stage& stage)
{
    Image& img1 = stage.source("img1", photo("camera"));
    Image later = photo("camera");
    later->roi = orvCreateROI(0, 90, 250, 60, 60);
    orvAddS(later, later, 20);
    orvDeallocate(later, ORV_IMAGE_ROI);
    Image& img2 = stage.source("img2", std::move(later));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 512, 512));
    CALL(orvGreater(img2, img1, res));
    stage.note("Somebody has made a square in the coat brighter.");
}

void equal(Stage& stage)
{
    Image& img1 = stage.source("img1", photo("camera"));
    Image& img2 = stage.source("img2", photo("camera"));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 511, 512));
    CODE(img2->roi = orvCreateROI(0, 1, 0, 511, 512));
    CALL(orvEqual(img1, img2, res));
}

void equalFPEps(Stage& stage)
{
    Image& img1 = stage.source("img1", floating("camera"));
    Image& img2 = stage.source("img2", floating("camera"));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 511, 512));
    CODE(img2->roi = orvCreateROI(0, 1, 0, 511, 512));
    CALL(orvEqualFPEps(img1, img2, res, 6.5f));
}

// The common frame of these entries: one photograph and one call that makes a mask of it.
#define MASK_CALL(name, photograph, ...)                                                   \
    void name(Stage& stage)                                                                \
    {                                                                                      \
        Image& img = stage.source("img", photograph);                                      \
        Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, img->width, img->height)); \
        CALL(__VA_ARGS__);                                                                 \
    }

// The same with a colour picture and with one at 32F.
#define BOTH_MASKS(name, call, callFP)                                          \
    void name(Stage& stage)                                                     \
    {                                                                           \
        Image& img = stage.source("img", photo("coffee"));                      \
        Image& imgFP = stage.source("imgFP", floating("camera"));               \
        Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 600, 400));     \
        Image& resFP = stage.target("resFP", Image(1, ORV_DEPTH_1U, 512, 512)); \
        CALL(call);                                                             \
        CALL(callFP);                                                           \
    }

BOTH_MASKS(lessS, orvLessS(img, 60, res), orvLessSFP(imgFP, 40.5f, resFP))
BOTH_MASKS(greaterS, orvGreaterS(img, 170, res), orvGreaterSFP(imgFP, 200.5f, resFP))
MASK_CALL(equalSFPEps, floating("camera"), orvEqualSFPEps(img, 128.0f, res, 24.0f))

void equalS(Stage& stage)
{
    Image stepped = photo("camera");
    orvAndS(stepped, stepped, 0xE0);
    Image& img = stage.source("img", photo("camera"));
    Image& imgFP = stage.source("imgFP", converted(stepped, ORV_DEPTH_32F));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 512, 512));
    Image& resFP = stage.target("resFP", Image(1, ORV_DEPTH_1U, 512, 512));
    CALL(orvAndS(img, img, 0xC0));
    CALL(orvEqualS(img, 0x80, res));
    CALL(orvEqualSFP(imgFP, 160.0f, resFP));
}

void underMask(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(320, 320, 160, 160, 155, 155));
    Image& img = stage.source("img", photo("astronaut"));
    Image& res = stage.target("res", Image(1, ORV_DEPTH_1U, 320, 320));
    CODE(img->roi = orvCreateROI(1, 60, 0, 320, 320));
    CODE(img->maskROI = mask);
    CALL(orvGreaterS(img, 150, res));
}

void threshold(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_1U, 512, 512));
    CALL(orvThreshold(srcImage, dstImage, 100));
}

void thresholdColour(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("chelsea"));
    CALL(orvThreshold(image, image, 128));
}

void thresholdSigned(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(300, 260, 150, 130, 150, 130));
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16S, 1, -128), scaled(1, 128));
    Image& dstImage = stage.inPlace("dstImage", photo("camera"));
    CODE(srcImage->roi = orvCreateROI(0, 100, 30, 300, 260));
    CODE(dstImage->roi = orvCreateROI(0, 100, 30, 300, 260));
    CODE(dstImage->maskROI = mask);
    CALL(orvThreshold(srcImage, dstImage, -40));
}

}  // namespace

const Family comparisons = {
    "Pointwise operations",
    "Comparisons",
    "Each makes a mask, a picture of one bit a pixel: white where the test holds in every channel.",
    {
        {"orvLess", "Less red than green: two channels of one photograph. The cat's eyes are green.", greener},
        {"orvGreater", "What has become brighter between two pictures.", changed},
        {"orvEqual", "A picture against itself, moved by one pixel to the left: where neighbours are equal.", equal},
        {"orvEqualFPEps", "The same with a tolerance, at 32F.", equalFPEps},
        {"orvLessS and orvLessSFP", "Dark in all three channels; the coat and the hair, at 32F.", lessS},
        {"orvGreaterS and orvGreaterSFP", "Bright in all three channels: the cup; the brightest, at 32F.", greaterS},
        {"orvGreaterS, a region, a channel and a mask", "Much red in a disc.", underMask},
        {"orvEqualS and orvEqualSFP", "One of four steps of brightness; one of eight, at 32F.", equalS},
        {"orvEqualSFPEps", "What is near to the middle grey, at 32F.", equalSFPEps},
    }};

const Family thresholds = {
    "Pointwise operations",
    "Threshold",
    "At and above the threshold a value becomes the highest of its depth, below it the lowest.",
    {
        {"orvThreshold", "A grey picture into a mask.", threshold},
        {"orvThreshold, in colour", "Each channel by itself, in place: eight colours.", thresholdColour},
        {"orvThreshold, signed into unsigned", "From 16S to 8U, in a region and under a mask.", thresholdSigned},
    }};

}  // namespace gallery
