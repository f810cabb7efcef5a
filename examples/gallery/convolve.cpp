// The gallery's entries for convolution and correlation.
#include "families.h"

namespace gallery {

namespace {

constexpr int32_t allSides = ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT;

void sharpen(Stage& stage)
{
    static const int32_t values[] = {0, -1, 0, -1, 5, -1, 0, -1, 0};
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 451, 300));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    OrvConvKernel* kernel = nullptr;
    CODE(kernel = orvCreateConvKernel(3, 3, 1, 1, values, 0));
    CALL(orvConvolve2D(srcImage, dstImage, &kernel, 1, ORV_COMBINE_SUM));
    CODE(orvDeleteConvKernel(kernel));
}

void edges(Stage& stage)
{
    static const char across[] = {1, 0, -1, 2, 0, -2, 1, 0, -1}, down[] = {1, 2, 1, 0, 0, 0, -1, -2, -1};
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    OrvConvKernel* kernels[2] = {};
    CODE(kernels[0] = orvCreateConvKernelChar(3, 3, 1, 1, across, 0));
    CODE(kernels[1] = orvCreateConvKernelChar(3, 3, 1, 1, down, 0));
    CALL(orvConvolve2D(srcImage, dstImage, kernels, 2, ORV_COMBINE_SUMSQROOT));
    CODE(orvDeleteConvKernel(kernels[0]));
    CODE(orvDeleteConvKernel(kernels[1]));
    stage.note("The length of the gradient, by the two kernels of Sobel.");
}

void readBack(Stage& stage)
{
    static const int32_t values[] = {2, 1, 0, 1, 0, -1, 0, -1, -2};
    Image& srcImage = stage.source("srcImage", photo("coffee"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 600, 400));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    OrvConvKernel* kernel = orvCreateConvKernel(3, 3, 1, 1, values, 0);
    int32_t nCols = 0, nRows = 0, anchorX = 0, anchorY = 0, nShiftR = 0, whole[9] = {};
    int32_t* wholeOut = whole;
    int8_t bytes[9] = {};
    int8_t* bytesOut = bytes;
    CODE(orvGetConvKernel(kernel, &nCols, &nRows, &anchorX, &anchorY, &wholeOut, &nShiftR));
    CODE(orvGetConvKernelChar(kernel, &nCols, &nRows, &anchorX, &anchorY, &bytesOut, &nShiftR));
    CODE(whole[4] += 1);
    OrvConvKernel* changed = orvCreateConvKernel(nCols, nRows, anchorX, anchorY, whole, nShiftR);
    CALL(orvConvolve2D(srcImage, dstImage, &changed, 1, ORV_COMBINE_SUM));
    if (bytes[8] != values[8])
        stage.fail("a kernel came back changed");
    orvDeleteConvKernel(kernel);
    orvDeleteConvKernel(changed);
}

void reals(Stage& stage)
{
    // A hat: the surroundings taken from what lies in their middle.
    float values[49];
    for (int i = 0; i < 49; ++i) {
        int x = i % 7 - 3, y = i / 7 - 3;
        values[i] = x * x + y * y <= 2 ? 1.0f / 9 : -1.0f / 40;
    }
    Image& srcImage = stage.source("srcImage", converted(photo("camera"), ORV_DEPTH_32F));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_32F, 512, 512), scaled(3, 128));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REFLECT, allSides, 0));
    OrvConvKernelFP* kernel = nullptr;
    CODE(kernel = orvCreateConvKernelFP(7, 7, 3, 3, values));
    CALL(orvConvolve2DFP(srcImage, dstImage, &kernel, 1, ORV_COMBINE_SUM));
    int32_t nCols = 0, nRows = 0, anchorX = 0, anchorY = 0;
    float* out = values;
    CODE(orvGetConvKernelFP(kernel, &nCols, &nRows, &anchorX, &anchorY, &out));
    CODE(orvDeleteConvKernelFP(kernel));
}

void separable(Stage& stage)
{
    static const int32_t binomial[] = {1, 8, 28, 56, 70, 56, 28, 8, 1};
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_8U, 512, 512));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    OrvConvKernel *xKernel = nullptr, *yKernel = nullptr;
    CODE(xKernel = orvCreateConvKernel(9, 1, 4, 0, binomial, 8));
    CODE(yKernel = orvCreateConvKernel(1, 9, 0, 4, binomial, 8));
    CALL(orvConvolveSep2D(srcImage, dstImage, xKernel, yKernel));
    CODE(orvDeleteConvKernel(xKernel));
    CODE(orvDeleteConvKernel(yKernel));
}

void separableReals(Stage& stage)
{
    static const float difference[] = {-0.5f, 0, 0.5f};
    Image& srcImage = stage.source("srcImage", converted(photo("coffee"), ORV_DEPTH_32F));
    Image& dstImage = stage.target("dstImage", Image(3, ORV_DEPTH_32F, 600, 400), scaled(2, 128));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    OrvConvKernelFP* xKernel = nullptr;
    CODE(xKernel = orvCreateConvKernelFP(3, 1, 1, 0, difference));
    CALL(orvConvolveSep2DFP(srcImage, dstImage, xKernel, nullptr));
    CODE(orvDeleteConvKernelFP(xKernel));
}

void correlation(Stage& stage)
{
    Image& tplImage = stage.source("tplImage", photo("camera"));
    Image& srcImage = stage.source("srcImage", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_32F, 512, 512), scaled(2550, -2295));
    CODE(tplImage->roi = orvCreateROI(0, 200, 80, 70, 70));
    CODE(orvSetBorderMode(srcImage, ORV_BORDER_REPLICATE, allSides, 0));
    CALL(orvNormCrossCorr(tplImage, srcImage, dstImage));
    if (valueAt(*dstImage, 235, 115, 0) != 1)
        stage.fail("the template was not found in its place");
    stage.note("The template is the square around the head; black is 0.9, and white, where the template lies, 1.");
}

}  // namespace

const Family convolutions = {
    "Neighbourhood filters",
    "Convolution",
    "Every pixel a weighted sum of those around it, by one kernel or by several whose results are combined.",
    {
        {"orvConvolve2D", "What a pixel has more than its four neighbours, once more.", sharpen},
        {"orvConvolve2D, two kernels", "Where brightness changes, in whatever direction.", edges},
        {"orvGetConvKernel", "A relief, whose kernel is read back and given a middle.", readBack},
        {"orvConvolve2DFP", "Small things stand out; grey is 0.", reals},
        {"orvConvolveSep2D", "A row kernel and a column kernel: 18 products for a window of 81.", separable},
        {"orvConvolveSep2DFP", "A row kernel alone: the slope to the right; grey is 0.", separableReals},
        {"orvNormCrossCorr", "How like a part of the picture every place is.", correlation},
    }};

}  // namespace gallery
