// Convolution: against copies, as every filter, and the larger windows by the products that they form in a second.
#include <algorithm>
#include <chrono>
#include <memory>
#include <vector>

#include "image.h"
#include "table.h"

namespace {

using namespace table;

// Weights between -15 and 15 times a scale, none of them 0.
std::vector<int32_t> denseWeights(int count, int scale)
{
    std::vector<int32_t> weights;
    for (int i = 0; i < count; ++i)
        weights.push_back((i * 7 % 15 + 1) * (i % 3 ? scale : -scale));
    return weights;
}

struct Kernels {
    OrvConvKernel* integers;
    OrvConvKernelFP* reals;

    Kernels(int nCols, int nRows, const std::vector<int32_t>& weights)
    {
        std::vector<float> floats(weights.begin(), weights.end());
        integers = orvCreateConvKernel(nCols, nRows, nCols / 2, nRows / 2, weights.data(), 8);
        reals = orvCreateConvKernelFP(nCols, nRows, nCols / 2, nRows / 2, floats.data());
    }
    Kernels(const Kernels&) = delete;
    ~Kernels()
    {
        orvDeleteConvKernel(integers);
        orvDeleteConvKernelFP(reals);
    }
};

// A row's unit: a copy of as many values of 8U.
struct Case {
    uint32_t depth;
    int channels;
    int scale;  // of the weights: with 1 the sums of small windows fit 16 bits, with 41 they do not
};
constexpr Case cases[] = {
    {ORV_DEPTH_8U, 1, 1},  {ORV_DEPTH_8U, 1, 41}, {ORV_DEPTH_8U, 3, 1},  {ORV_DEPTH_1U, 1, 1},
    {ORV_DEPTH_16U, 1, 1}, {ORV_DEPTH_16S, 1, 1}, {ORV_DEPTH_32F, 1, 1},
};

void convolve(Image& src, Image& dst, Kernels& kernels, uint32_t depth)
{
    if (depth == ORV_DEPTH_32F)
        orvConvolve2DFP(src, dst, &kernels.reals, 1, ORV_COMBINE_SUM);
    else
        orvConvolve2D(src, dst, &kernels.integers, 1, ORV_COMBINE_SUM);
}

std::string nameOf(const std::string& function, const Case& one, int size, const std::string& window)
{
    return function + " " + depthName(one.depth) + " x " + std::to_string(one.channels) +
           (one.scale > 1 ? " large" : "") + ", " + std::to_string(size) + ", " + window;
}

double bytesOf(const Case& one)
{
    return one.channels * (one.depth == ORV_DEPTH_1U ? 1 : int(one.depth & ORV_DEPTH_MASK) / 8);
}

void addWindow(const Case& one, int size, int window, double mostCopies)
{
    bool unit = one.depth == ORV_DEPTH_8U && one.channels == 1;
    std::string side = std::to_string(window);
    Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    auto kernels = std::make_shared<Kernels>(window, window, denseWeights(window * window, one.scale));
    add({nameOf("orvConvolve2D", one, size, side + " x " + side),
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             convolve(src, dst, *kernels, one.depth);
         },
         copyRow(size), bytesOf(one), copies(mostCopies * (unit ? 1 : 2))});
}

// The row that larger windows are held against: what a billion products a second take for a million of them. So the
// ratio is the billions that a row forms in a second.
std::string unitRow()
{
    static const bool added = [] {
        add({"a million products", [] {
                 auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(1);
                 while (std::chrono::steady_clock::now() < end) {
                 }
             }});
        return true;
    }();
    (void)added;
    return "a million products";
}

void addLarge(const Case& one, int size, int window)
{
    double most = one.depth == ORV_DEPTH_32F ? 3 : one.depth == ORV_DEPTH_16U || one.depth == ORV_DEPTH_16S ? 5 : 10;
    double products = double(size) * size * window * window;
    std::string side = std::to_string(window);
    Layout layout = {.depth = one.depth, .width = size};
    auto kernels = std::make_shared<Kernels>(window, window, denseWeights(window * window, one.scale));
    add({nameOf("orvConvolve2D", one, size, side + " x " + side),
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             convolve(src, dst, *kernels, one.depth);
         },
         unitRow(), products / 1e6, most});
}

// Row and column kernels of one size.
void addSeparable(const Case& one, int size, int length, double mostCopies)
{
    bool unit = one.depth == ORV_DEPTH_8U && one.channels == 1;
    std::vector<int32_t> weights;
    for (int i = 0; i < length; ++i)
        weights.push_back((std::min(i, length - 1 - i) + 1) * one.scale);
    auto x = std::make_shared<Kernels>(length, 1, weights), y = std::make_shared<Kernels>(1, length, weights);
    Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    std::string side = std::to_string(length);
    add({nameOf("orvConvolveSep2D", one, size, side + " + " + side),
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             if (one.depth == ORV_DEPTH_32F)
                 orvConvolveSep2DFP(src, dst, x->reals, y->reals);
             else
                 orvConvolveSep2D(src, dst, x->integers, y->integers);
         },
         copyRow(size), bytesOf(one), copies(mostCopies * (unit ? 1 : 2))});
}

const bool added = [] {
    for (int size : {512, 4096})
        for (const Case& one : cases) {
            double half = size > 1024 ? 0.5 : 1;  // a copy of a large image waits for memory
            addWindow(one, size, 3, 12 * half);
            addWindow(one, size, 5, 30 * half);
            addSeparable(one, size, 7, 18 * half);
        }
    for (const Case& one : cases)
        if (one.channels == 1)
            for (int window : {7, 15, 31})
                addLarge(one, 512, window);
    return true;
}();

}  // namespace
