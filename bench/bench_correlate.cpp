// Normalised cross-correlation, held against the Fourier transform of an image of that size.
#include "image.h"
#include "peers.h"
#include "table.h"

namespace {

using namespace table;

constexpr peers::Size size = {1024, 1024, 0};

void addTemplate(uint32_t depth, int side, double mostTransforms)
{
    uint32_t result = depth == ORV_DEPTH_8U ? ORV_DEPTH_32F : depth;
    Layout srcLayout = {.depth = depth, .width = size.width};
    Layout dstLayout = {.depth = result, .width = size.width};
    std::string name = "orvNormCrossCorr " + depthName(depth) + " to " + depthName(result) + ", 1024, " +
                       std::to_string(side) + " x " + std::to_string(side);
    add({name,
         [=] {
             Layout tplLayout = srcLayout;
             tplLayout.roi = {0, 300, 300, side, side};
             Image tpl(tplLayout, slotA), src(srcLayout, slotA), dst(dstLayout, slotD);
             orvNormCrossCorr(tpl, src, dst);
         },
         peers::nameOf("orvRealFft2D 32F", size), 1, mostTransforms ? 1 / mostTransforms : 0});
}

const bool added = [] {
    for (int side : {4, 16, 32, 64, 128, 256})
        addTemplate(ORV_DEPTH_8U, side, side < 16 ? 0 : 25);
    for (int side : {16, 64, 256})
        addTemplate(ORV_DEPTH_16U, side, 100);
    addTemplate(ORV_DEPTH_32F, 16, 0);
    return true;
}();

}  // namespace
