// The gallery's entries for the cosine and wavelet transforms.
#include <algorithm>
#include <random>

#include "families.h"

namespace gallery {

namespace {

// ---- Cosine --------------------------------------------------------------------------------------------------------

void cosine(Stage& stage)
{
    Image& src = stage.source("src", photo("camera"));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_32F, 512, 512), logarithm());
    CALL(orvDCT2D(src, dst, ORV_DCT_FORWARD));
}

void cosineInverse(Stage& stage)
{
    Image transformed(1, ORV_DEPTH_32F, 512, 512);
    orvDCT2D(photo("camera"), transformed, ORV_DCT_FORWARD);
    Image& all = stage.source("all", std::move(transformed), logarithm());
    Image& some = stage.target("some", Image(1, ORV_DEPTH_32F, 512, 512), logarithm());
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(all->roi = orvCreateROI(0, 0, 0, 96, 96));
    CALL(orvCopy(all, some));
    CALL(orvDCT2D(some, dst, ORV_DCT_INVERSE));
    stage.note("96 × 96 of 512 × 512 coefficients: 3.5 %.");
}

// 1 for the first of the 64 coefficients of a block, by the sum of their two frequencies.
Image firstCoefficients(int size, int sums)
{
    Image image(1, ORV_DEPTH_32F, size, size);
    for (int y = 0; y < size; ++y)
        for (int x = 0; x < size; ++x)
            image.row<float>(y)[x] = x % 8 + y % 8 < sums ? 1 : 0;
    return image;
}

void cosineBlocks(Stage& stage)
{
    Image& src = stage.source("src", part(photo("camera"), 100, 20, 256, 256));
    Image& keep = stage.hidden(firstCoefficients(256, 3));
    Image& blocks = stage.target("blocks", Image(1, ORV_DEPTH_32F, 256, 256), logarithm());
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 256, 256));
    OrvROI *from = src->roi = orvCreateROI(0, 0, 0, 256, 256), *to = blocks->roi = orvCreateROI(0, 0, 0, 256, 256);
    dst->roi = orvCreateROI(0, 0, 0, 256, 256);
    CALL(for (int32_t i = 0; i < 32 * 32; ++i) {
        orvSetROI(from, 0, i % 32 * 8, i / 32 * 8, 8, 8);
        orvSetROI(to, 0, i % 32 * 8, i / 32 * 8, 8, 8);
        orvDCT2D(src, blocks, ORV_DCT_FORWARD);
    });
    CODE(orvSetROI(to, 0, 0, 0, 256, 256));
    CALL(orvMultiply(blocks, keep, blocks));
    CALL(for (int32_t i = 0; i < 32 * 32; ++i) {
        orvSetROI(to, 0, i % 32 * 8, i / 32 * 8, 8, 8);
        orvSetROI(dst->roi, 0, i % 32 * 8, i / 32 * 8, 8, 8);
        orvDCT2D(blocks, dst, ORV_DCT_INVERSE);
    });
    orvSetROI(to, 0, 0, 0, 256, 256);
    orvSetROI(dst->roi, 0, 0, 0, 256, 256);
    stage.note("6 of the 64 coefficients of each block are kept.");
}

// ---- Wavelets ------------------------------------------------------------------------------------------------------

// The four subbands of one level, for a picture of one channel.
struct Subbands {
    Subbands(Stage& stage, int width, int height)
        : a(stage.watched("approx", Image(1, ORV_DEPTH_32F, width / 2, height / 2))),
          x(stage.watched("xDetail", Image(1, ORV_DEPTH_32F, width / 2, height / 2))),
          y(stage.watched("yDetail", Image(1, ORV_DEPTH_32F, width / 2, height / 2))),
          d(stage.watched("dDetail", Image(1, ORV_DEPTH_32F, width / 2, height / 2)))
    {
    }
    Image &a, &x, &y, &d;
};

void lay(const Image& tile, const Image& sheet, int x, int y)
{
    OrvROI roi = {0, x, y, tile->width, tile->height};
    OrvImage place = *sheet;
    place.roi = &roi;
    orvCopy(tile, &place);
}

// The four as tiles: the approximation as it is, details around the middle grey.
Image tiled(const Subbands& bands, double gain)
{
    Image sheet(1, ORV_DEPTH_8U, 2 * bands.a->width, 2 * bands.a->height);
    lay(converted(bands.a, ORV_DEPTH_8U), sheet, 0, 0);
    lay(converted(bands.y, ORV_DEPTH_8U, gain, 128), sheet, bands.a->width, 0);
    lay(converted(bands.x, ORV_DEPTH_8U, gain, 128), sheet, 0, bands.a->height);
    lay(converted(bands.d, ORV_DEPTH_8U, gain, 128), sheet, bands.a->width, bands.a->height);
    return sheet;
}

void showTiles(Stage& stage, const Subbands& bands)
{
    stage.showAfter("approx, yDetail / xDetail, dDetail", tiled(bands, 4), {});
    stage.note("Four tiles: approx as it is, the details as 128 + 4 × value.");
}

void decompose(Stage& stage)
{
    Image& src = stage.source("src", photo("camera"));
    Subbands bands(stage, 512, 512);
    Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
    OrvWtKernel kernel;
    CODE(orvWtInit(ORV_WT_DAUBECHIES, 4, 0, &kernel));
    CALL(orvWtDecompose(&kernel, src, approx, xDetail, yDetail, dDetail));
    CODE(orvWtFree(&kernel));
    showTiles(stage, bands);
}

// Three levels, each of the approximation before.
void pyramid(Stage& stage)
{
    Image& src = stage.source("src", channelOf(photo("astronaut"), 1));
    Image& level = stage.hidden(src.clone());
    Image sheet(1, ORV_DEPTH_8U, 512, 512);
    OrvWtKernel kernel;
    CODE(orvWtInit(ORV_WT_BSPLINE, 2, 2, &kernel));
    for (int size = 512; size > 64; size /= 2) {
        Subbands bands(stage, size, size);
        Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
        CALL(orvWtDecompose(&kernel, level, approx, xDetail, yDetail, dDetail));
        lay(tiled(bands, 4), sheet, 0, 0);
        level = converted(approx, ORV_DEPTH_8U);
    }
    CODE(orvWtFree(&kernel));
    stage.showAfter("three levels", sheet, {});
    stage.note("The approximation is made 8U again for each next level. Details as 128 + 4 × value.");
}

void denoise(Stage& stage)
{
    Image noisy = part(photo("camera"), 60, 0, 380, 380);
    std::mt19937 random(3);
    std::normal_distribution<double> normal(0, 14);
    for (int y = 0; y < 380; ++y)
        for (int x = 0; x < 380; ++x) {
            uint8_t& pixel = noisy.row<uint8_t>(y)[x];
            pixel = uint8_t(std::clamp(pixel + normal(random), 0.0, 255.0));
        }
    Image& src = stage.source("src", std::move(noisy));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 380, 380));
    Subbands bands(stage, 380, 380);
    Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
    Image& small = stage.hidden(Image(1, ORV_DEPTH_1U, 190, 190));
    OrvWtKernel kernel;
    CODE(orvWtInit(ORV_WT_SYMLET, 5, 0, &kernel));
    CALL(orvWtDecompose(&kernel, src, approx, xDetail, yDetail, dDetail));
    OrvImage* details[] = {xDetail, yDetail, dDetail};
    CALL(for (int32_t i = 0; i < 3; ++i) {
        orvEqualSFPEps(details[i], 0.0f, small, 20.0f);
        details[i]->maskROI = small;
        orvSetFP(details[i], 0.0f);
        details[i]->maskROI = nullptr;
    });
    CALL(orvWtReconstruct(&kernel, approx, xDetail, yDetail, dDetail, dst));
    CODE(orvWtFree(&kernel));
    stage.showAfter("approx, yDetail / xDetail, dDetail", tiled(bands, 4), {});
    stage.note("The noise was added to the photograph. Of the details only those of 20 and above are left.");
}

// Taps that sum and difference neighbours, of a published kind: 5 and 3 of them.
float decLow[] = {-0.125f, 0.25f, 0.75f, 0.25f, -0.125f}, decHigh[] = {0.25f, -0.5f, 0.25f};
float recLow[] = {0.5f, 1.0f, 0.5f}, recHigh[] = {0.25f, 0.5f, -1.5f, 0.5f, 0.25f};

void userTaps(Stage& stage)
{
    Image& src = stage.source("src", part(photo("coffee"), 100, 10, 400, 340));
    src = channelOf(src, 1);
    Subbands bands(stage, 400, 340);
    Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
    float* const taps[] = {decLow, decHigh, recLow, recHigh};
    const int32_t lengths[] = {5, 3, 3, 5}, offsets[] = {1, 1, 2, 2};
    OrvWtKernel kernel;
    CODE(orvWtInitUserTaps(taps, lengths, offsets, &kernel));
    CALL(orvWtDecompose(&kernel, src, approx, xDetail, yDetail, dDetail));
    CODE(orvWtFree(&kernel));
    showTiles(stage, bands);
    stage.note("Taps: -1/8, 1/4, 3/4, 1/4, -1/8 and 1/4, -1/2, 1/4 for the two filters of the decomposition.");
}

// A catalogue kernel whose reconstruction exaggerates what the high-pass filters have found.
void userFilters(Stage& stage)
{
    Image& src = stage.source("src", part(photo("camera"), 60, 0, 380, 380));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 380, 380));
    Subbands bands(stage, 380, 380);
    Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
    OrvWtKernel kernel, haar;
    orvWtInit(ORV_WT_HAAR, 0, 0, &haar);
    float strong[] = {-3, 3};
    OrvWtFilter strongHigh = haar.filtRecHigh;
    strongHigh.taps = strong;
    CODE(orvWtInitUserFilter(&haar.filtDecLow, &haar.filtDecHigh, &haar.filtRecLow, &strongHigh, &kernel));
    CALL(orvWtDecompose(&kernel, src, approx, xDetail, yDetail, dDetail));
    CALL(orvWtReconstruct(&kernel, approx, xDetail, yDetail, dDetail, dst));
    CODE(orvWtFree(&kernel));
    stage.note("The taps of the high-pass filter for reconstruction, -1 and 1, have become -3 and 3.");
}

// The low-pass filters alone: what one level leaves out.
void userFilter4(Stage& stage)
{
    Image& src = stage.source("src", channelOf(photo("chelsea"), 1));
    Image& dst = stage.target("dst", Image(1, ORV_DEPTH_8U, 451, 300));
    Subbands bands(stage, 452, 300);
    Image &approx = bands.a, &xDetail = bands.x, &yDetail = bands.y, &dDetail = bands.d;
    OrvWtKernel kernel, spline;
    orvWtInit(ORV_WT_BSPLINE, 3, 3, &spline);
    float none[] = {0, 0};
    OrvWtFilter filters[] = {spline.filtDecLow, spline.filtDecHigh, spline.filtRecLow, {none, 2, 0, ORV_WT_UNKNOWN}};
    CODE(orvWtInitUserFilter4(filters, &kernel));
    CALL(orvWtDecompose(&kernel, src, approx, xDetail, yDetail, dDetail));
    CALL(orvWtReconstruct(&kernel, approx, xDetail, yDetail, dDetail, dst));
    CODE(orvWtFree(&kernel));
    stage.note("The high-pass filter for reconstruction has two taps of 0: the picture at half its resolution.");
}

}  // namespace

const Family cosines = {"Frequency transforms",
                        "Cosine",
                        "Real coefficients, low frequencies in the upper left corner.",
                        {
                            {"orvDCT2D", "The whole picture at once.", cosine},
                            {"orvDCT2D, inverse", "From the lowest frequencies alone.", cosineInverse},
                            {"orvDCT2D, blocks of 8 × 8", "The start of many compressed formats.", cosineBlocks},
                        }};

const Family wavelets = {
    "Frequency transforms",
    "Wavelets",
    "One level of a separable transform: an approximation of half the size, and details along x, along y and along "
    "both.",
    {
        {"orvWtDecompose", "With a filter bank of the catalogue, Daubechies of order 4.", decompose},
        {"orvWtDecompose, three levels", "The approximation decomposed again, with B-splines.", pyramid},
        {"orvWtReconstruct", "Noise removed: small details are set to 0 before the picture is put together.", denoise},
        {"orvWtInitUserTaps", "Filters of one's own, as arrays of taps.", userTaps},
        {"orvWtInitUserFilter", "Details made three times as strong by a filter of one's own.", userFilters},
        {"orvWtInitUserFilter4", "Details left out by a filter of one's own.", userFilter4},
    }};

}  // namespace gallery
