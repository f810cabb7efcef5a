// The gallery's entries for conversions between depths.
#include "families.h"

namespace gallery {

namespace {

void convert(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_16S, 2, -120), scaled(0.5, 60));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CALL(orvConvert(srcImage, dstImage));
}

void convertPlanes(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_16U, 451, 300, ORV_DATA_ORDER_PLANE));
    CODE(dstImage->origin = ORV_ORIGIN_BL);
    CALL(orvConvert(srcImage, dstImage));
}

void convertToBits(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("coins"), ORV_DEPTH_16S, 1, -128), scaled(1, 128));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_1U, 384, 303));
    CALL(orvConvert(srcImage, dstImage));
}

void bits(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", ellipse(300, 200, 150, 100, 130, 80));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 300, 200));
    CALL(orvBitonalToGray(srcImage, dstImage, 60, 190));
}

void scale(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_16S, 512, 512), scaled(1 / 257.0, 127.5));
    CALL(orvScale(srcImage, dstImage));
}

void scaleRegion(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("coins"), ORV_DEPTH_32S, 16843009, -2147483648.0),
                                   scaled(1 / 16843009.0, 127.5));
    Image& dstImage = stage.inPlace("dstImage", converted(photo("brick"), ORV_DEPTH_8U));
    CODE(srcImage->roi = orvCreateROI(0, 20, 20, 340, 260));
    CODE(dstImage->roi = orvCreateROI(0, 80, 120, 512, 512));
    CALL(orvScale(srcImage, dstImage));
}

void scaleToFloats(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_32F, 451, 300), scaled(127.5, 127.5));
    CALL(orvScaleFP(srcImage, dstImage, -1.0f, 1.0f));
}

void scaleOfFloats(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", converted(photo("chelsea"), ORV_DEPTH_32F, 1 / 255.0), scaled(255));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CALL(orvScaleFP(srcImage, dstImage, 0.3f, 0.7f));
}

}  // namespace

const Family depths = {
    "Format conversion",
    "Depths",
    "Values as they are, cut to the new range, or one range mapped onto another.",
    {
        {"orvConvert", "Values stay, and are cut to what 8 bits have room for.", convert},
        {"orvConvert, into planes from the bottom up",
         "The rows of the result lie in the opposite order, as its origin says. As 16 bits these values are dark; they "
         "are "
         "shown as they are.",
         convertPlanes},
        {"orvConvert, to bits", "White where the value is above 0.", convertToBits},
        {"orvBitonalToGray", "Two greys for two values.", bits},
        {"orvScale", "Black stays the lowest value, white the highest.", scale},
        {"orvScale, a region", "From 32 bits to 8, region by region.", scaleRegion},
        {"orvScaleFP", "8 bits onto -1 to 1.", scaleToFloats},
        {"orvScaleFP, to integers", "What lies between 0.3 and 0.7 onto 0 to 255: more contrast.", scaleOfFloats},
    }};

}  // namespace gallery
