// The box filter: the size of the window should not matter, and a sample of any depth should cost about the same.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

struct Case {
    uint32_t depth;
    int channels;
};

constexpr Case cases[] = {
    {ORV_DEPTH_8U, 1},  {ORV_DEPTH_8S, 1},  {ORV_DEPTH_16U, 1}, {ORV_DEPTH_16S, 1},
    {ORV_DEPTH_32S, 1}, {ORV_DEPTH_32F, 1}, {ORV_DEPTH_8U, 3},  {ORV_DEPTH_1U, 1},
};

// A row, held against a copy of an image of as many values of 8U: a sample of any depth may take twice as long per
// byte.
void addWindow(const Case& one, int size, int window, double mostCopies)
{
    Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    int bytes = one.depth == ORV_DEPTH_1U ? 1 : int(one.depth & ORV_DEPTH_MASK) / 8;
    double share = one.channels * bytes;
    double allowed = mostCopies * (one.depth == ORV_DEPTH_8U && one.channels == 1 ? 1 : 2);
    std::string side = std::to_string(window);
    add({"orvBlur " + depthName(one.depth) + " x " + std::to_string(one.channels) + ", " + std::to_string(size) + ", " +
             side + " x " + side,
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             orvBlur(src, dst, window, window, window / 2, window / 2);
         },
         copyRow(size), share, copies(allowed)});
}

const bool added = [] {
    for (int size : {512, 4096})
        for (const Case& one : cases) {
            double half = size > 1024 ? 0.5 : 1;  // a copy of a large image waits for memory
            addWindow(one, size, 3, 5 * half);
            addWindow(one, size, 5, 5 * half);
            addWindow(one, size, 31, 12 * half);
        }
    return true;
}();

}  // namespace
