// Generators and pixel functions, in copies of a one-channel image of bytes.
#include "image.h"
#include "table.h"

namespace {

using namespace table;

int32_t ORV_CALL same(int32_t value)
{
    return value;
}

void addSize(int size)
{
    std::string side = ", " + std::to_string(size);
    auto noise = [size](int32_t kind) {
        return [size, kind] {
            Image image({.width = size}, slotD);
            OrvNoiseParam parameters = {kind, 7, kind == ORV_NOISE_UNIFORM ? -20 : 0, 20, 0, 0};
            orvNoiseImage(image, &parameters);
        };
    };
    add({"orvNoiseImage 8U uniform" + side, noise(ORV_NOISE_UNIFORM), copyRow(size), 1, copies(120)});
    add({"orvNoiseImage 8U Gaussian" + side, noise(ORV_NOISE_GAUSSIAN), copyRow(size), 1, copies(600)});
    add({"orvCreateImageJaehne 8U" + side,
         [size] { orvDeallocate(orvCreateImageJaehne(ORV_DEPTH_8U, size, size), ORV_IMAGE_ALL); }, copyRow(size), 1,
         copies(600)});
    // The loop that makes the same calls.
    add({"bare calls" + side, [size] {
             Image a({.width = size}, slotA), d({.width = size}, slotD);
             OrvUserFunc volatile hidden = same;
             OrvUserFunc function = hidden;
             for (size_t i = 0; i < a.bytes(); ++i) {
                 int32_t value = function(a.data()[i]);
                 d.data()[i] = uint8_t(value < 0 ? 0 : value > 255 ? 255 : value);
             }
         }});
    add({"orvUserProcess 8U" + side,
         [size] {
             Image a({.width = size}, slotA), d({.width = size}, slotD);
             orvUserProcess(a, d, same);
         },
         "bare calls" + side, 1, 1 / 1.2});
}

const bool added = [] {
    addSize(512);
    addSize(2048);
    return true;
}();

}  // namespace
