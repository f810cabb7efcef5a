#include "owncolourmedian.h"

#include <cstring>

#include "../core/ownlines.h"
#include "kernels/owncolourmedian.h"

namespace {

// A sum of distances, of three channels each, to all the other pixels of a window.
const OwnColourMedian& kernelFor(uint32_t depth, int64_t pixels)
{
    const OwnColourMedianKernels& kernels = ownColourMedianKernels();
    const OwnDepthIndex index = ownDepthIndex(depth);
    if (depth == ORV_DEPTH_32F)
        return kernels.usual[index];
    const int64_t greatest = 3 * ((int64_t{1} << ownDepthBits(depth)) - 1) * (pixels - 1);
    if (kernels.narrow[index].row && greatest <= INT16_MAX)
        return kernels.narrow[index];
    return greatest > INT32_MAX && kernels.wide[index].row ? kernels.wide[index] : kernels.usual[index];
}

// One channel of the images, row by row: then the data orders do not matter.
struct Channel {
    OwnWork src, dst;
    OwnRowWindow window;
    OwnLines lines;

    Channel(int32_t channel, const OwnReach& reach, const OrvImage& from, const OrvImage& to, const OrvImage* mask)
        : src(from),
          dst(to),
          window(reach.top + 1 + reach.bottom, reach.top, ownLinesBand),
          lines(select(src, channel), select(dst, channel), mask, reach, window.slots(), ownLinesBand)
    {
    }

    explicit operator bool() const { return lines && window; }

private:
    static const OrvImage& select(OwnWork& work, int32_t channel)
    {
        work.roi.coi = channel + 1;
        return work.image;
    }
};

}  // namespace

bool ownColourMedianWindows(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const int64_t nRows = int64_t{reach.top} + 1 + reach.bottom, nCols = int64_t{reach.left} + 1 + reach.right;
    // Of a larger window, the pixels and sums alone are more than there is memory for.
    if (nRows * nCols > INT32_MAX / 16)
        return false;
    const OwnColourMedian& kernel = kernelFor(src.depth, nRows * nCols);
    const int64_t bytes = kernel.bytes(nRows, nCols);
    OwnScratch<uint8_t> scratch(bytes);
    Channel channels[3] = {{0, reach, src, dst, mask}, {1, reach, src, dst, mask}, {2, reach, src, dst, mask}};
    if (!scratch || !channels[0] || !channels[1] || !channels[2])
        return false;
    memset(scratch.data, 0, size_t(bytes));
    OwnColourRow row = {.rows = {},
                        .result = {},
                        .nRows = ptrdiff_t(nRows),
                        .nCols = ptrdiff_t(nCols),
                        .width = channels[0].lines.width(),
                        .scratch = scratch.data};
    for (Channel& channel : channels)
        channel.lines.begin(0);
    int32_t count;
    for (int32_t y = 0; y < channels[0].lines.height(); y += count) {
        count = ownMin(ownLinesBand, channels[0].lines.height() - y);
        for (int c = 0; c < 3; ++c)
            row.rows[c] = channels[c].window.rows(channels[c].lines, y, count);
        for (int32_t i = 0; i < count; ++i) {
            for (int c = 0; c < 3; ++c)
                row.result[c] = channels[c].lines.target(y + i, i);
            kernel.row(row);
            for (auto& rows : row.rows)
                ++rows;
        }
        for (Channel& channel : channels)
            channel.lines.store(y, count);
    }
    return true;
}
