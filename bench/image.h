// Images for the rows of benchmarks, and the copy that rows are held against.
#pragma once

#include <string>

#include "orv.h"

namespace table {

struct Layout {
    uint32_t depth = ORV_DEPTH_8U;
    int channels = 1;
    int alpha = 0;
    int order = ORV_DATA_ORDER_PIXEL;
    int width = 256;
    int height = 0;  // 0 for a square
    int tile = 0;
    OrvROI roi = {0, 0, 0, 0, 0};  // none without a width
    OrvImage* mask = nullptr;
};

// The memory of all first sources, all second ones and so on: only one row runs at a time.
enum Slot { slotA, slotB, slotC, slotD, slotMask };

// An image with random pixels, at 32F from 0 to 16777, whose tiles, if any, lie one after the other in memory. Memory
// is taken when it is first asked for, so that filtered runs stay small: make images inside of what a row runs.
struct Image {
    OrvImage header;
    OrvROI roi;
    OrvTileInfo tiles = {};
    size_t tileBytes = 0;

    Image(const Layout& layout, Slot slot);
    Image(const Image&) = delete;
    operator OrvImage*() { return &header; }
    OrvImage* operator&() { return &header; }
    OrvImage* operator->() { return &header; }
    uint8_t* data() { return header.imageData; }
    size_t bytes() const { return size_t(header.imageSize); }

private:
    static int32_t ORV_CALL provide(OrvImage* image, int32_t x, int32_t y, int32_t);
};

// The name of the row that times orvCopy of a square image, which is added when it is first asked for: the unit of most
// bounds.
std::string copyRow(int size, uint32_t depth = ORV_DEPTH_8U, int channels = 1);

// The bound of a row that may take as long as so many copies.
inline double copies(double count)
{
    return 1 / count;
}

std::string depthName(uint32_t depth);

}  // namespace table
