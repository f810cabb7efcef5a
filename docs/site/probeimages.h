// Images of any kind that stand in for those of a call.
#pragma once

#include <orv.h>

#include <cstddef>
#include <vector>

namespace probe {

struct Kind {
    uint32_t depth;
    int channels, order = ORV_DATA_ORDER_PIXEL;
    bool tiled = false, masked = false;
    int coi = 0;
};

// An image as large as the given one, with its region, and values that are the same for the same kind and seed.
OrvImage* makeLike(const OrvImage& given, const Kind& kind, size_t seed);

// The same image in tiles, which keep the pixels.
OrvImage* tiledCopy(OrvImage* plain);

// An image's values, without what pads its rows; those of tiles one by one.
std::vector<uint8_t> pixelsOf(const OrvImage* image);

}  // namespace probe
