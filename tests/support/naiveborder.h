// What a sample at any position reads, looked up by itself.
#pragma once

#include <algorithm>
#include <bit>

#include "picture.h"

// The position that one outside 0 .. n - 1 reads under a mode other than constant.
inline int naivePosition(int p, int n, int mode)
{
    if (mode == ORV_BORDER_REPLICATE)
        return std::clamp(p, 0, n - 1);
    while (p < 0 || p >= n) {
        if (mode == ORV_BORDER_WRAP)
            p += p < 0 ? n : -n;
        else
            p = p < 0 ? -1 - p : 2 * n - 1 - p;
    }
    return p;
}

inline uint32_t naiveConstant(uint32_t depth, int32_t value)
{
    switch (depth) {
    case ORV_DEPTH_1U: return uint32_t(std::clamp(value, 0, 1));
    case ORV_DEPTH_8U: return uint32_t(std::clamp(value, 0, 255));
    case ORV_DEPTH_8S: return uint8_t(std::clamp(value, -128, 127));
    case ORV_DEPTH_16U: return uint32_t(std::clamp(value, 0, 65535));
    case ORV_DEPTH_16S: return uint16_t(std::clamp(value, -32768, 32767));
    case ORV_DEPTH_32F: return std::bit_cast<uint32_t>(float(value));
    default: return uint32_t(value);
    }
}

// The bit pattern of channel c at (x, y), which may lie outside the picture.
inline uint32_t naiveRaw(Picture& picture, int x, int y, int c)
{
    const OrvImage& image = picture.image;
    int side = y < 0 ? 0 : y >= image.height ? 1 : x < 0 ? 2 : x >= image.width ? 3 : -1;
    if (side < 0)
        return picture.raw(x, y, c);
    int mode = image.borderMode[side] & 3;
    if (mode == ORV_BORDER_CONSTANT)
        return naiveConstant(image.depth, image.borderConst[side]);
    return picture.raw(naivePosition(x, image.width, mode), naivePosition(y, image.height, mode), c);
}
