// Dithering. The unit is a copy of an image of as many values of 8U.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

struct Case {
    const char* name;
    int kind;
    double mostCopies;  // to bits; more levels may take twice as long
};

constexpr Case cases[] = {
    {"none", ORV_DITHER_NONE, 2},    {"ordered", ORV_DITHER_BAYER, 8},    {"Floyd-Steinberg", ORV_DITHER_FS, 100},
    {"Jarvis", ORV_DITHER_JJH, 160}, {"Stucki", ORV_DITHER_STUCKEY, 160},
};

void addRow(const Case& one, uint32_t from, uint32_t to, int channels, int size, int noise, double bound)
{
    Layout src = {.depth = from, .channels = channels, .width = size};
    Layout dst = {.depth = to, .channels = channels, .width = size};
    std::string name = "orvReduceBits " + depthName(from) + " to " + depthName(to);
    if (channels > 1)
        name += " x " + std::to_string(channels);
    name += ", " + std::string(one.name) + (noise ? ", noise, " : ", ") + std::to_string(size);
    add({name,
         [=, kind = one.kind] {
             Image a(src, slotA), d(dst, slotD);
             orvReduceBits(a, d, noise, kind, to == ORV_DEPTH_1U ? 2 : 8);
         },
         copyRow(size), double(channels), bound});
}

const bool added = [] {
    for (int size : {512, 2048})
        for (const Case& one : cases) {
            addRow(one, ORV_DEPTH_8U, ORV_DEPTH_1U, 1, size, 0, copies(one.mostCopies));
            addRow(one, ORV_DEPTH_8U, ORV_DEPTH_8U, 1, size, 0, 0);
            if (size == 512) {
                addRow(one, ORV_DEPTH_8U, ORV_DEPTH_8U, 3, size, 0, 0);
                addRow(one, ORV_DEPTH_16U, ORV_DEPTH_8U, 1, size, 0, 0);
                addRow(one, ORV_DEPTH_32S, ORV_DEPTH_16U, 1, size, 0, 0);
                addRow(one, ORV_DEPTH_8U, ORV_DEPTH_1U, 1, size, 20, 0);
            }
        }
    return true;
}();

}  // namespace
