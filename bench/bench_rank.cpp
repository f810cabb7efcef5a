// Filters of ranks and of fixed kernels beside copies.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

struct Case {
    uint32_t depth;
    int channels;
};

// A row that may take as long as so many copies of an 8U image of one channel, and twice as long per byte at other depths. A
// copy of a large image waits for memory.
void addRow(const std::string& name, const Case& one, int size, double mostCopies, void (*run)(OrvImage*, OrvImage*))
{
    Layout layout = {.depth = one.depth, .channels = one.channels, .width = size};
    int bytes = one.depth == ORV_DEPTH_1U ? 1 : int(one.depth & ORV_DEPTH_MASK) / 8;
    bool plain = one.depth == ORV_DEPTH_1U || (one.depth == ORV_DEPTH_8U && one.channels == 1);
    double allowed = mostCopies * (plain ? 1 : 2) * (size > 1024 ? 0.5 : 1);
    add({name + " " + depthName(one.depth) + " x " + std::to_string(one.channels) + ", " + std::to_string(size),
         [=] {
             Image src(layout, slotA), dst(layout, slotD);
             run(src, dst);
         },
         copyRow(size), double(one.channels * bytes), copies(allowed)});
}

template <int nCols, int nRows = nCols>
void greatest(OrvImage* src, OrvImage* dst)
{
    orvMaxFilter(src, dst, nCols, nRows, nCols / 2, nRows / 2);
}

const bool added = [] {
    for (int size : {512, 4096}) {
        for (Case one :
             {Case{ORV_DEPTH_8U, 1}, {ORV_DEPTH_16U, 1}, {ORV_DEPTH_16S, 1}, {ORV_DEPTH_32S, 1}, {ORV_DEPTH_8U, 3}, {ORV_DEPTH_1U, 1}}) {
            const bool bits = one.depth == ORV_DEPTH_1U;
            addRow("orvMaxFilter 3 x 3", one, size, bits ? 1 : 4, greatest<3>);
            addRow("orvMaxFilter 31 x 31", one, size, bits ? 4 : 10, greatest<31>);
        }
    }
    return true;
}();

}  // namespace
