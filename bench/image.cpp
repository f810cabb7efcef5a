#include "image.h"

#include <cstring>
#include <map>
#include <random>
#include <set>
#include <vector>

#include "table.h"

namespace table {

namespace {

uint8_t* store(Slot slot, uint32_t depth, size_t bytes)
{
    static std::map<std::pair<Slot, bool>, std::vector<uint8_t>> stores;
    bool real = depth == ORV_DEPTH_32F;
    std::vector<uint8_t>& all = stores[{slot, real}];
    if (all.empty()) {
        // The largest image at all: a store that moved would leave its images behind.
        all.resize(size_t(4096) * 4096 * 12 + 64);
        std::mt19937 random(7 + slot);
        for (size_t i = 0; i + 4 <= all.size(); i += 4) {
            uint32_t bits = random();
            float value = float(bits >> 8) / 1000;
            memcpy(&all[i], real ? static_cast<const void*>(&value) : &bits, 4);
        }
    }
    if (bytes + 64 > all.size())
        throw std::bad_alloc();
    return all.data() + (-reinterpret_cast<uintptr_t>(all.data()) & 63);
}

}  // namespace

Image::Image(const Layout& layout, Slot slot)
{
    int height = layout.height ? layout.height : layout.width;
    OrvImage* made = orvCreateImageHeader(layout.channels, layout.alpha, layout.depth, "RGB", "RGB", layout.order, 0,
                                          32, layout.width, height, nullptr, layout.mask, nullptr, nullptr);
    header = *made;
    orvDeallocate(made, ORV_IMAGE_HEADER);
    uint8_t* data = store(slot, layout.depth, size_t(header.imageSize));
    if (layout.tile) {
        tileBytes = size_t(header.imageSize) * layout.tile / layout.width * layout.tile / height;
        tiles = {provide, data, nullptr, layout.tile, layout.tile};
        header.tileInfo = &tiles;
        header.imageTag = this;
    } else {
        header.imageData = data;
    }
    if (layout.roi.width) {
        roi = layout.roi;
        header.roi = &roi;
    }
}

int32_t ORV_CALL Image::provide(OrvImage* image, int32_t x, int32_t y, int32_t)
{
    auto* self = static_cast<Image*>(image->imageTag);
    int columns = image->width / image->tileInfo->width;
    image->tileInfo->tileData = static_cast<uint8_t*>(image->tileInfo->tileTag) + (y * columns + x) * self->tileBytes;
    return 0;
}

std::string copyRow(int size, uint32_t depth, int channels)
{
    static std::set<std::string> names;
    Layout layout = {.depth = depth, .channels = channels, .width = size};
    std::string name = "orvCopy " + depthName(depth) + " x " + std::to_string(channels) + ", " + std::to_string(size);
    if (names.insert(name).second)
        add({name, [layout] {
                 Image from(layout, slotA), to(layout, slotD);
                 orvCopy(from, to);
             }});
    return name;
}

std::string depthName(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U: return "1U";
    case ORV_DEPTH_8U: return "8U";
    case ORV_DEPTH_8S: return "8S";
    case ORV_DEPTH_16U: return "16U";
    case ORV_DEPTH_16S: return "16S";
    case ORV_DEPTH_32S: return "32S";
    default: return "32F";
    }
}

}  // namespace table
