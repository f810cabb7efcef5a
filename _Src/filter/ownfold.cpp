#include "ownfold.h"

#include <cstring>

#include "ownbitlines.h"

namespace {

const OwnFoldKernel& kernelFor(bool greatest, uint32_t depth)
{
    const OwnFoldKernels& kernels = ownFoldKernels();
    return (greatest ? kernels.greatest : kernels.least)[ownDepthIndex(depth)];
}

OwnFoldBand withCount(OwnFoldBand band, int32_t count)
{
    band.count = count;
    return band;
}

// One pass over lines of values or of bits.
template <class Lines>
void foldPass(Lines& lines, OwnRowWindow& window, OwnFoldRows& rows, int32_t most)
{
    window.begin();
    int32_t count;
    for (int32_t y = 0; y < lines.height(); y += count) {
        count = ownMin(most, lines.height() - y);
        rows.run(window.rows(lines, y, count), count, [&](int32_t i) { return lines.target(y + i, i); });
        lines.store(y, count);
    }
}

}  // namespace

OwnFoldRows::OwnFoldRows(bool greatest, uint32_t depth, const OwnFoldBand& rows, int32_t most)
    : kernel(kernelFor(greatest, depth)), band(withCount(rows, most)), results(most), scratch(kernel.scratchBytes(band))
{
    band.results = results.data;
    band.scratch = scratch.data;
    // Rows of bits are shifted by whole vectors, which read what lies behind them.
    if (depth == ORV_DEPTH_1U && scratch)
        memset(scratch.data, 0, size_t(kernel.scratchBytes(band)));
}

int32_t ownFoldRows(int32_t nRows, int32_t height)
{
    constexpr int32_t least = 16;
    return ownMin(height, nRows >= least ? nRows : (least + nRows - 1) / nRows * nRows);
}

bool ownFoldWindows(const OwnFold& fold, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnReach& reach = fold.reach;
    OwnFoldBand band = {};
    band.nRows = reach.top + 1 + reach.bottom;
    band.nCols = ptrdiff_t{reach.left} + 1 + reach.right;
    const int32_t most = ownFoldRows(int32_t(band.nRows), ownRoiRect(src).height);
    OwnRowWindow window(int32_t(band.nRows), reach.top, most);
    if (src.depth == ORV_DEPTH_1U) {
        OwnBitLines lines(src, dst, mask, reach, window.slots(), most, fold.frame);
        band.values = lines.width();
        band.bit = lines.bit();
        OwnFoldRows rows(fold.greatest, src.depth, band, most);
        if (!window || !lines || !rows)
            return false;
        foldPass(lines, window, rows, most);
        return true;
    }
    OwnLines lines(src, dst, mask, reach, window.slots(), most, fold.frame);
    band.step = lines.step();
    band.values = lines.values(lines.width());
    OwnFoldRows rows(fold.greatest, src.depth, band, most);
    if (!window || !lines || !rows)
        return false;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        foldPass(lines, window, rows, most);
    }
    return true;
}
