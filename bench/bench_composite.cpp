// Products of normalised values and compositing, in copies of a one-channel image of bytes.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

template <class Run>
void addForms(const std::string& name, const Layout& layout, double mostCopies, Run run)
{
    std::string side = ", " + std::to_string(layout.width);
    double share = layout.depth == ORV_DEPTH_16U ? 4 : 1;  // twice as long a byte
    add({name + side,
         [=] {
             Image a(layout, slotA), b(layout, slotB), d(layout, slotD);
             run(a, b, d);
         },
         copyRow(layout.width), share, copies(mostCopies)});
    add({name + ", masked" + side,
         [=] {
             Image mask({.depth = ORV_DEPTH_1U, .width = layout.width}, slotMask);
             Image a(layout, slotA), b(layout, slotB), d(layout, slotD);
             d->maskROI = mask;
             run(a, b, d);
         },
         name + side, 1, 1 / 2.0});
    if (layout.width <= 1024)
        return;
    add({name + ", tiled" + side,
         [=] {
             Layout tiled = layout;
             tiled.tile = 256;
             Image a(tiled, slotA), b(tiled, slotB), d(tiled, slotD);
             run(a, b, d);
         },
         name + side, 1, 1 / 1.3});
}

const bool added = [] {
    for (int size : {512, 2048})
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U}) {
            Layout one = {.depth = depth, .width = size},
                   four = {.depth = depth, .channels = 4, .alpha = 4, .width = size};
            std::string kind = ' ' + depthName(depth);
            addForms("orvMultiplyScale" + kind, one, 2.5,
                     [](Image& a, Image& b, Image& d) { orvMultiplyScale(a, b, d); });
            addForms("orvMultiplySScale" + kind, one, 2.5,
                     [](Image& a, Image&, Image& d) { orvMultiplySScale(a, d, 100); });
            addForms("orvPreMultiplyAlpha x 4" + kind, four, 9,
                     [](Image&, Image&, Image& d) { orvPreMultiplyAlpha(d, -1); });
            auto over = [](int premultiplied, int divide) {
                return [=](Image& a, Image& b, Image& d) {
                    orvAlphaComposite(a, b, d, 0, nullptr, nullptr, nullptr, premultiplied, divide);
                };
            };
            addForms("orvAlphaComposite over x 4" + kind, four, 16, over(1, 0));
            addForms("orvAlphaComposite over, not premultiplied, x 4" + kind, four, 30, over(0, 0));
            addForms("orvAlphaComposite over, divided, x 4" + kind, four, 120, over(1, 1));
        }
    return true;
}();

}  // namespace
