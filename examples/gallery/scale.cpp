// The gallery's entries for scaling and mirrors.
#include "families.h"

namespace gallery {

namespace {

void zoom(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", part(photo("chelsea"), 120, 75, 150, 110));
    Image& nearest = stage.target("nearest", Image(3, ORV_DEPTH_8U, 300, 220));
    Image& linear = stage.target("linear", Image(3, ORV_DEPTH_8U, 300, 220));
    Image& cubic = stage.target("cubic", Image(3, ORV_DEPTH_8U, 300, 220));
    CALL(orvZoom(srcImage, nearest, 2, 1, 2, 1, ORV_INTER_NN));
    CALL(orvZoom(srcImage, linear, 2, 1, 2, 1, ORV_INTER_LINEAR));
    CALL(orvZoom(srcImage, cubic, 2, 1, 2, 1, ORV_INTER_CUBIC));
}

void zoomFar(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", part(photo("astronaut"), 205, 100, 40, 30));
    Image& nearest = stage.target("nearest", Image(3, ORV_DEPTH_8U, 400, 300));
    Image& linear = stage.target("linear", Image(3, ORV_DEPTH_8U, 400, 300));
    Image& cubic = stage.target("cubic", Image(3, ORV_DEPTH_8U, 400, 300));
    CALL(orvZoom(srcImage, nearest, 10, 1, 10, 1, ORV_INTER_NN));
    CALL(orvZoom(srcImage, linear, 10, 1, 10, 1, ORV_INTER_LINEAR));
    CALL(orvZoom(srcImage, cubic, 10, 1, 10, 1, ORV_INTER_CUBIC));
}

void resizeThird(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    static const char* const names[] = {"nearest", "linear", "cubic", "area", "boxes"};
    Image* dst[5];
    for (int i = 0; i < 5; ++i)
        dst[i] = &stage.target(names[i], Image(3, ORV_DEPTH_8U, 200, 133));
    Image &nearest = *dst[0], &linear = *dst[1], &cubic = *dst[2], &area = *dst[3], &boxes = *dst[4];
    CALL(orvResize(srcImage, nearest, 1, 3, 1, 3, ORV_INTER_NN));
    CALL(orvResize(srcImage, linear, 1, 3, 1, 3, ORV_INTER_LINEAR));
    CALL(orvResize(srcImage, cubic, 1, 3, 1, 3, ORV_INTER_CUBIC));
    CALL(orvResize(srcImage, area, 1, 3, 1, 3, ORV_INTER_SUPER));
    CALL(orvDecimateBlur(srcImage, boxes, 1, 3, 1, 3, ORV_INTER_LINEAR, 3, 3));
}

void decimate(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", Image(orvCreateImageJaehne(ORV_DEPTH_8U, 512, 512)));
    static const char* const names[] = {"nearest", "linear", "cubic", "area"};
    Image* dst[4];
    for (int i = 0; i < 4; ++i)
        dst[i] = &stage.target(names[i], Image(1, ORV_DEPTH_8U, 204, 204));
    Image &nearest = *dst[0], &linear = *dst[1], &cubic = *dst[2], &area = *dst[3];
    CALL(orvDecimate(srcImage, nearest, 2, 5, 2, 5, ORV_INTER_NN));
    CALL(orvDecimate(srcImage, linear, 2, 5, 2, 5, ORV_INTER_LINEAR));
    CALL(orvDecimate(srcImage, cubic, 2, 5, 2, 5, ORV_INTER_CUBIC));
    CALL(orvDecimate(srcImage, area, 2, 5, 2, 5, ORV_INTER_SUPER));
}

void decimateBlur(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& small = stage.target("small", Image(1, ORV_DEPTH_8U, 170, 170));
    Image& large = stage.target("large", Image(1, ORV_DEPTH_8U, 170, 170));
    CALL(orvDecimateBlur(srcImage, small, 1, 3, 1, 3, ORV_INTER_CUBIC, 0, 0));
    CALL(orvDecimateBlur(srcImage, large, 1, 3, 1, 3, ORV_INTER_CUBIC, 15, 1));
}

void resizeMasked(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(180, 180, 90, 85, 60, 80));
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.inPlace("dstImage", photo("coffee"));
    CODE(srcImage->roi = orvCreateROI(0, 135, 20, 180, 180));
    CODE(srcImage->maskROI = mask);
    CODE(dstImage->roi = orvCreateROI(0, 345, 95, 200, 200));
    CALL(orvResize(srcImage, dstImage, 4, 5, 4, 5, ORV_INTER_CUBIC));
}

void mirror(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& rows = stage.target("rows", Image(3, ORV_DEPTH_8U, 451, 300));
    Image& columns = stage.target("columns", Image(3, ORV_DEPTH_8U, 451, 300));
    Image& both = stage.target("both", Image(3, ORV_DEPTH_8U, 451, 300));
    CALL(orvMirror(srcImage, rows, 0));
    CALL(orvMirror(srcImage, columns, 1));
    CALL(orvMirror(srcImage, both, -1));
}

void mirrorHalf(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.inPlace("dstImage", photo("astronaut"));
    CODE(srcImage->roi = orvCreateROI(0, 0, 0, 226, 512));
    CODE(dstImage->roi = orvCreateROI(0, 226, 0, 226, 512));
    CALL(orvMirror(srcImage, dstImage, 1));
}

}  // namespace

const Family scaling = {
    "Geometry",
    "Scaling",
    "Larger and smaller by ratios of whole numbers. Enlarged, the methods differ in how they fill the gaps; made "
    "smaller, in what they leave out: what is finer than the new pixels must be averaged, or it comes back as patterns "
    "that were never there.",
    {
        {"orvZoom", "Twice as large by each method.", zoom},
        {"orvZoom, from close", "Ten times as large: the nearest pixel, lines and cubics between pixels.", zoomFar},
        {"orvResize", "A third by each method, and by boxes of three by three: watch the rim of the cup and the table.",
         resizeThird},
        {"orvResize, under a mask", "Four fifths of a face, its mask scaled with it, in a region of another picture.",
         resizeMasked},
        {"orvDecimate", "Two fifths of waves that become finer outwards: without averaging they come back as others.",
         decimate},
        {"orvDecimateBlur", "A third from boxes as large as the ratio, and from boxes of 15 columns.", decimateBlur},
    }};

const Family mirrors = {
    "Geometry",
    "Mirrors",
    "Rows, columns or both in the other direction.",
    {
        {"orvMirror", "About the horizontal axis, the vertical one, and both.", mirror},
        {"orvMirror, half a picture", "The left half of a region, mirrored into the right.", mirrorHalf},
    }};

}  // namespace gallery
