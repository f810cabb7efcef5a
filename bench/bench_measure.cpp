// Measures and contrast, in copies of a one-channel image of bytes, or, for floats, of its own bytes.
#include <vector>

#include "image.h"
#include "table.h"

namespace {

using namespace table;

struct Tables {
    int32_t keys[17], values[17], factors[17] = {};
    OrvLUT lut = {17, keys, values, factors, 1};
    OrvLUT* all[4] = {&lut, &lut, &lut, &lut};

    Tables()
    {
        for (int i = 0; i < 17; ++i) {
            keys[i] = values[i] = i * 16;
            factors[i] = 1;
        }
    }
};

// A row over one or two images of a layout, with and without a mask, and in tiles.
template <class Run>
void addForms(const std::string& name, const Layout& layout, double share, double mostCopies, Run run)
{
    std::string side = ", " + std::to_string(layout.width);
    std::string plain = name + side;
    add({plain,
         [=] {
             Image a(layout, slotA), b(layout, slotB), d(layout, slotD);
             run(a, b, d);
         },
         copyRow(layout.width), share, copies(mostCopies)});
    add({name + ", masked" + side,
         [=] {
             Image mask({.depth = ORV_DEPTH_1U, .width = layout.width}, slotMask);
             Layout masked = layout;
             masked.mask = mask;
             Image a(masked, slotA), b(masked, slotB), d(masked, slotD);
             run(a, b, d);
         },
         plain, 1, 1 / 2.0});
    if (layout.width <= 1024)
        return;
    add({name + ", tiled" + side,
         [=] {
             Layout tiled = layout;
             tiled.tile = 256;
             Image a(tiled, slotA), b(tiled, slotB), d(tiled, slotD);
             run(a, b, d);
         },
         plain, 1, 1 / 1.3});
}

void addConstantHistogram(int size)
{
    add({"orvComputeHisto of one value, " + std::to_string(size),
         [size] {
             static std::vector<uint8_t> grey(size_t(2048) * 2048, 77);
             Image a({.width = size}, slotA);
             a->imageData = grey.data();
             Tables tables;
             orvComputeHisto(a, tables.all);
         },
         copyRow(size), 1, copies(12)});
}

const bool added = [] {
    for (int size : {512, 2048}) {
        Layout bytes = {.width = size}, words = {.depth = ORV_DEPTH_16U, .width = size};
        Layout floats = {.depth = ORV_DEPTH_32F, .width = size}, colour = {.channels = 3, .width = size};
        auto norm = [](int32_t type) { return [type](Image& a, Image& b, Image&) { orvNorm(a, b, type); }; };
        auto normOfOne = [](Image& a, Image&, Image&) { orvNorm(a, nullptr, ORV_NORM_L2); };
        auto histo = [](Image& a, Image&, Image&) {
            Tables tables;
            orvComputeHisto(a, tables.all);
        };
        auto stretch = [](Image& a, Image&, Image& d) {
            Tables tables;
            orvContrastStretch(a, d, tables.all);
        };
        auto moments = [](Image& a, Image&, Image&) {
            OrvMomentState state;
            orvMoments(a, &state);
        };
        auto extremes = [](Image& a, Image&, Image&) {
            float least, greatest;
            orvMinMaxFP(a, &least, &greatest);
        };
        addForms("orvComputeHisto 8U", bytes, 1, 12, histo);
        addForms("orvComputeHisto 16U", words, 2, 24, histo);
        addConstantHistogram(size);
        addForms("orvContrastStretch 8U", bytes, 1, 12, stretch);
        addForms("orvContrastStretch 8U x 3", colour, 3, 24, stretch);
        addForms("orvNorm 8U difference C", bytes, 1, 1.2, norm(ORV_NORM_C));
        addForms("orvNorm 8U difference L1", bytes, 1, 1.2, norm(ORV_NORM_L1));
        addForms("orvNorm 8U difference L2", bytes, 1, 2.4, norm(ORV_NORM_L2));
        addForms("orvNorm 16U difference L2", words, 2, 4.8, norm(ORV_NORM_L2));
        addForms("orvNorm 32F L2", floats, 4, 1, normOfOne);
        addForms("orvMinMaxFP", floats, 4, 0.7, extremes);
        addForms("orvMoments 8U", bytes, 1, 10, moments);
        addForms("orvMoments 16U", words, 2, 20, moments);
        addForms("orvMoments 32F", floats, 4, 20, moments);
    }
    return true;
}();

}  // namespace
