#include "ownmedian.h"

#include "../core/ownlines.h"
#include "kernels/ownmedian.h"
#include "owncounting.h"
#include "ownfold.h"
#include "ownnetwork.h"

namespace {

struct Window {
    int32_t nCols, nRows;

    int64_t pixels() const { return int64_t{nCols} * nRows; }
};

Window windowOf(const OwnReach& reach)
{
    return {reach.left + 1 + reach.right, reach.top + 1 + reach.bottom};
}

// Rows are made a few at a time by kernel(band).
template <class Kernel>
void medianBands(OwnLines& lines, OwnRowWindow& window, int32_t most, OwnMedianBand band, void** results, Kernel kernel)
{
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        window.begin();
        int32_t count;
        for (int32_t y = 0; y < lines.height(); y += count) {
            count = ownMin(most, lines.height() - y);
            for (int32_t i = 0; i < count; ++i)
                results[i] = lines.target(y + i, i);
            band.rows = window.rows(lines, y, count);
            band.results = results;
            band.count = count;
            kernel(band);
            lines.store(y, count);
        }
    }
}

using BandKernel = void (*)(const OwnMedianBand& band);

// The kernel that a window has for itself, or NULL.
BandKernel squareKernel(const Window& window, OwnDepthIndex depth)
{
    if (window.nCols != window.nRows)
        return nullptr;
    switch (window.nCols) {
    case 3: return ownMedianKernels().threeByThree[depth];
    case 5: return ownSquareKernels().fiveByFive[depth];
    case 7: return ownSquareKernels().sevenBySeven[depth];
    default: return nullptr;
    }
}

// Windows whose samples are compared with one another.
bool medianByComparing(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    constexpr int32_t most = 16;
    const Window window = windowOf(reach);
    const OwnDepthIndex depth = ownDepthIndex(src.depth);
    OwnRowWindow rows(window.nRows, reach.top, most);
    OwnLines lines(src, dst, mask, reach, rows.slots(), most, ownNoFrame, OWN_MEDIAN_SLACK);
    if (!rows || !lines)
        return false;
    void* results[most];
    OwnMedianBand band = {nullptr, results, 0, window.nRows, window.nCols, lines.step(), lines.values(lines.width()),
                          nullptr};
    if (const BandKernel kernel = squareKernel(window, depth)) {
        medianBands(lines, rows, most, band, results, kernel);
        return true;
    }
    OwnMedianNetwork network(window.nCols, window.nRows);
    if (!network)
        return false;
    const OwnMedianKernels& kernels = ownMedianKernels();
    OwnScratch<uint8_t> scratch(
        kernels.networkBytes(network.network, ptrdiff_t{lines.step()} * ownValueBytes(src.depth)));
    if (!scratch)
        return false;
    band.scratch = scratch.data;
    medianBands(lines, rows, most, band, results,
                [&](const OwnMedianBand& some) { kernels.network[depth](some, network.network); });
    return true;
}

}  // namespace

bool ownMedianWindows(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const Window window = windowOf(reach);
    if (window.pixels() == 1)
        return ownFoldWindows({false, reach}, src, dst, mask);
    // Of a larger window, the samples of one pixel alone are more than there is memory for.
    if (window.pixels() > INT32_MAX / 8)
        return false;
    return src.depth != ORV_DEPTH_1U && window.pixels() <= ownNetworkMost ? medianByComparing(reach, src, dst, mask)
                                                                          : ownMedianByCounting(reach, src, dst, mask);
}
