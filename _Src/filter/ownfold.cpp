#include "ownfold.h"

#include "kernels/ownfold.h"
#include "ownbitlines.h"

namespace {

// Results that are made together: as many as a window has rows, or a multiple of that.
int32_t bandRows(int32_t nRows, int32_t height)
{
    constexpr int32_t least = 16;
    return ownMin(height, nRows >= least ? nRows : (least + nRows - 1) / nRows * nRows);
}

// Rows, whose lines may be of values or of bits, one pass after the other.
template <class Lines, class Begin>
bool foldLines(const OwnFold& fold, Lines& lines, OwnRowWindow& window, int32_t most, OwnFoldBand band, uint32_t depth,
               int32_t passes, Begin begin)
{
    const OwnFoldKernels& kernels = ownFoldKernels();
    const OwnFoldKernel& kernel = (fold.greatest ? kernels.greatest : kernels.least)[ownDepthIndex(depth)];
    OwnScratch<void*> results(most);
    band.count = most;
    band.nRows = fold.reach.top + 1 + fold.reach.bottom;
    band.nCols = ptrdiff_t{fold.reach.left} + 1 + fold.reach.right;
    OwnScratch<uint8_t> scratch(kernel.scratchBytes(band));
    if (!window || !lines || !results || !scratch)
        return false;
    band.results = results.data;
    band.scratch = scratch.data;
    for (int32_t pass = 0; pass < passes; ++pass) {
        begin(pass);
        window.begin();
        int32_t count;
        for (int32_t y = 0; y < lines.height(); y += count) {
            count = ownMin(most, lines.height() - y);
            for (int32_t i = 0; i < count; ++i)
                results[i] = lines.target(y + i, i);
            band.count = count;
            band.rows = window.rows(lines, y, count);
            kernel.band(band);
            lines.store(y, count);
        }
    }
    return true;
}

}  // namespace

bool ownFoldWindows(const OwnFold& fold, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnReach& reach = fold.reach;
    const int32_t nRows = reach.top + 1 + reach.bottom;
    const int32_t most = bandRows(nRows, ownRoiRect(src).height);
    OwnRowWindow window(nRows, reach.top, most);
    OwnFoldBand band = {};
    if (src.depth == ORV_DEPTH_1U) {
        OwnBitLines lines(src, dst, mask, reach, window.slots(), most, fold.frame);
        band.step = 1;
        band.values = lines.width();
        band.bit = lines.bit();
        return foldLines(fold, lines, window, most, band, src.depth, 1, [](int32_t) {});
    }
    OwnLines lines(src, dst, mask, reach, window.slots(), most, fold.frame);
    band.step = lines.step();
    band.values = lines.values(lines.width());
    return foldLines(fold, lines, window, most, band, src.depth, lines.passes(),
                     [&](int32_t pass) { lines.begin(pass); });
}
