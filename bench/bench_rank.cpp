// Filters of ranks, morphology and fixed filters beside copies, and beside Leptonica where it is installed.
#include "image.h"
#include "table.h"

#if defined(ORV_BENCH_LEPTONICA)
#include <leptonica/allheaders.h>

#include <memory>
#endif

namespace {

using namespace table;

struct Case {
    uint32_t depth;
    int channels;
};

constexpr Case bytes = {ORV_DEPTH_8U, 1}, words = {ORV_DEPTH_16U, 1}, bits = {ORV_DEPTH_1U, 1};
constexpr Case others[] = {{ORV_DEPTH_16S, 1}, {ORV_DEPTH_32S, 1}, {ORV_DEPTH_8U, 3}};

using Run = void (*)(OrvImage* src, OrvImage* dst);

std::string nameOf(const std::string& name, const Case& one, int size)
{
    return name + " " + depthName(one.depth) + " x " + std::to_string(one.channels) + ", " + std::to_string(size);
}

// A row that may take as long as so many copies of an 8U image of one channel, which waits for memory if it is large.
void addRow(const std::string& name, const Case& one, int size, double mostCopies, Run run)
{
    Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    add({nameOf(name, one, size),
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             run(src, dst);
         },
         copyRow(size), 1, copies(mostCopies * (size > 1024 ? 0.5 : 1))});
}

// Other depths and channels may take twice as long per byte.
void addOthers(const std::string& name, int size, double mostCopies, Run run)
{
    for (const Case& one : others)
        addRow(name, one, size, 2 * mostCopies * one.channels * int(one.depth & ORV_DEPTH_MASK) / 8, run);
}

template <int side>
void greatest(OrvImage* src, OrvImage* dst)
{
    orvMaxFilter(src, dst, side, side, side / 2, side / 2);
}
template <int side>
void median(OrvImage* src, OrvImage* dst)
{
    orvMedianFilter(src, dst, side, side, side / 2, side / 2);
}
template <int side>
void colourMedian(OrvImage* src, OrvImage* dst)
{
    orvColorMedianFilter(src, dst, side, side, side / 2, side / 2);
}
template <int iterations>
void erode(OrvImage* src, OrvImage* dst)
{
    orvErode(src, dst, iterations);
}
template <int id>
void fixed(OrvImage* src, OrvImage* dst)
{
    orvFixedFilter(src, dst, id);
}

void addExtremes(int size)
{
    addRow("orvErode 3 x 3", bytes, size, 4, erode<1>);
    addRow("orvErode 31 x 31", bytes, size, 10, erode<15>);
    addRow("orvErode 3 x 3", bits, size, 1, erode<1>);
    addRow("orvErode 31 x 31", bits, size, 4, erode<15>);
    addRow("orvMaxFilter 3 x 3", bytes, size, 4, greatest<3>);
    addRow("orvMaxFilter 31 x 31", bytes, size, 10, greatest<31>);
    addRow("orvMaxFilter 3 x 3", bits, size, 1, greatest<3>);
    addRow("orvMaxFilter 31 x 31", bits, size, 4, greatest<31>);
    addOthers("orvMaxFilter 3 x 3", size, 4, greatest<3>);
    addOthers("orvMaxFilter 31 x 31", size, 10, greatest<31>);
}

void addMedians(int size)
{
    addRow("orvMedianFilter 3 x 3", bytes, size, 6, median<3>);
    addRow("orvMedianFilter 5 x 5", bytes, size, 20, median<5>);
    addRow("orvMedianFilter 7 x 7", bytes, size, 90, median<7>);
    addRow("orvMedianFilter 9 x 9", bytes, size, 400, median<9>);
    addRow("orvMedianFilter 15 x 15", bytes, size, 400, median<15>);
    addRow("orvMedianFilter 31 x 31", bytes, size, 400, median<31>);
    addRow("orvMedianFilter 101 x 101", bytes, size, 400, median<101>);
    addRow("orvMedianFilter 3 x 3", words, size, 15, median<3>);
    addRow("orvMedianFilter 5 x 5", words, size, 50, median<5>);
    addRow("orvMedianFilter 31 x 31", words, size, 4000, median<31>);
    addRow("orvMedianFilter 31 x 31", bits, size, 400, median<31>);
    addOthers("orvMedianFilter 3 x 3", size, 6, median<3>);
    addOthers("orvMedianFilter 5 x 5", size, 20, median<5>);
    addRow("orvColorMedianFilter 3 x 3", {ORV_DEPTH_8U, 3}, size, 900, colourMedian<3>);
    addRow("orvColorMedianFilter 5 x 5", {ORV_DEPTH_8U, 3}, size, 7000, colourMedian<5>);
}

void addFixed(int size)
{
    addRow("orvFixedFilter Gauss 3", bytes, size, 3.5, fixed<ORV_FIXED_GAUSS3>);
    addRow("orvFixedFilter Sobel", bytes, size, 5, fixed<ORV_FIXED_SOBEL_X>);
    addRow("orvFixedFilter Prewitt", bytes, size, 5, fixed<ORV_FIXED_PREWITT_Y>);
    addRow("orvFixedFilter Laplace 3", bytes, size, 6.5, fixed<ORV_FIXED_LAPLACE3>);
    addRow("orvFixedFilter Laplace 5", bytes, size, 20, fixed<ORV_FIXED_LAPLACE5>);
    addRow("orvFixedFilter Gauss 5", bytes, size, 20, fixed<ORV_FIXED_GAUSS5>);
    addRow("orvFixedFilter high pass 5", bytes, size, 20, fixed<ORV_FIXED_HIGHPASS5>);
    addOthers("orvFixedFilter Gauss 3", size, 3.5, fixed<ORV_FIXED_GAUSS3>);
    addOthers("orvFixedFilter Laplace 5", size, 20, fixed<ORV_FIXED_LAPLACE5>);
}

#if defined(ORV_BENCH_LEPTONICA)
using Pixels = std::shared_ptr<PIX>;

Pixels randomPixels(int size, int depth)
{
    Pixels pixels(pixCreate(size, size, depth), [](PIX* pix) { pixDestroy(&pix); });
    uint32_t state = 1;
    for (int i = 0; i < pixGetWpl(pixels.get()) * size; ++i)
        pixGetData(pixels.get())[i] = state = state * 1664525 + 1013904223;
    return pixels;
}

// A filter that makes a new image, against a copy of ours.
void addPeer(const std::string& name, int size, int depth, PIX* (*filter)(PIX*))
{
    add({"Leptonica " + name + ", " + std::to_string(size),
         [=, pixels = Pixels()]() mutable {
             if (!pixels)
                 pixels = randomPixels(size, depth);
             PIX* result = filter(pixels.get());
             pixDestroy(&result);
         },
         copyRow(size)});
}

void addPeers(int size)
{
    addPeer("pixErodeGray 3 x 3", size, 8, [](PIX* pix) { return pixErodeGray(pix, 3, 3); });
    addPeer("pixErodeGray 31 x 31", size, 8, [](PIX* pix) { return pixErodeGray(pix, 31, 31); });
    addPeer("pixErodeBrickDwa 3 x 3", size, 1, [](PIX* pix) { return pixErodeBrickDwa(nullptr, pix, 3, 3); });
    addPeer("pixErodeBrickDwa 31 x 31", size, 1, [](PIX* pix) { return pixErodeBrickDwa(nullptr, pix, 31, 31); });
    addPeer("pixMedianFilter 31 x 31", size, 8, [](PIX* pix) { return pixMedianFilter(pix, 15, 15); });
    addPeer("pixBlockconv 31 x 31", size, 8, [](PIX* pix) { return pixBlockconv(pix, 15, 15); });
}
#else
void addPeers(int) {}
#endif

const bool added = [] {
    for (int size : {512, 4096}) {
        addExtremes(size);
        addMedians(size);
        addFixed(size);
        addPeers(size);
    }
    return true;
}();

}  // namespace
