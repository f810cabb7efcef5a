#include "ownblurshort.h"

#include <cstring>

#include "../core/ownlines.h"
#include "kernels/ownblurbytes.h"
#include "ownfixed.h"

namespace {

// The highest window, since something is kept of each of its rows.
constexpr int32_t mostRows = 128;
// The widest: its sums of rows fit 15 bits.
constexpr int32_t mostColumns = 127;
// The most columns that are added up for every window afresh.
constexpr int32_t mostAfresh = 12;
// What kernels may read and write behind the last value of a row.
constexpr ptrdiff_t block = 64;

// True if the sums of windows fit 16 bits, with a sign for bits.
bool sumsAreShort(const OwnBlurWindow& window, uint32_t depth)
{
    return window.samples() <= (depth == ORV_DEPTH_1U ? INT16_MAX : UINT16_MAX / 255);
}

bool goesByRows(const OwnBlurWindow& window, uint32_t depth, int32_t step)
{
    return step == 1 && window.nCols % 2 == 1 && window.nCols <= mostColumns &&
           (depth == ORV_DEPTH_8U || sumsAreShort(window, depth));
}

// Signed bytes go as unsigned ones, all larger by 128, and so do their means if none lies in the middle between two
// integers.
bool goesFlipped(const OwnBlurWindow& window, int32_t step)
{
    return goesByRows(window, ORV_DEPTH_8S, step) && ownBlurMean(uint32_t(window.samples())).exact;
}

bool goesByColumns(const OwnBlurWindow& window, uint32_t depth)
{
    return window.nCols <= mostAfresh && sumsAreShort(window, depth);
}

// The kernel of a small square, if there is one for these images.
OwnFixedKernel squareKernel(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst)
{
    const OwnBlurByteKernels& kernels = ownBlurByteKernels();
    const bool fits = src.depth == ORV_DEPTH_8U && window.nCols == window.nRows && ownLineStep(src, dst) == 1 &&
                      ownRoiRect(src).width >= OWN_SQUARE_LEAST;
    return !fits ? nullptr : window.nCols == 3 ? kernels.means3 : window.nCols == 5 ? kernels.means5 : nullptr;
}

// The least sum of bits whose mean is a half or more.
int32_t leastHalf(const OwnBlurWindow& window)
{
    int32_t sum = int32_t(window.samples() / 2);
    while (float(sum) * window.scale() >= 0.5f)
        --sum;
    while (float(sum) * window.scale() < 0.5f)
        ++sum;
    return sum;
}

class Pass {
public:
    Pass(const OwnBlurWindow& blurWindow, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
        : window(blurWindow),
          byRows(goesByRows(window, src.depth, ownLineStep(src, dst))),
          isWide(!sumsAreShort(window, src.depth)),
          lines(src, dst, mask, window.reach(), byRows ? 1 : window.nRows + 1, 1),
          values(lines.values(lines.width())),
          columnValues(lines.values(int64_t{lines.width()} + window.nCols - 1)),
          step(((byRows ? values : columnValues) + 2 * block) & ~(block - 1)),
          sums(byRows ? step * window.nRows : step),
          totals(byRows ? step : 1),
          scratch(byRows ? kernels.scratchValues(values, window.nCols) : 1),
          rows(window.nRows + 1),
          isSigned(src.depth == ORV_DEPTH_8S),
          flipped(isSigned ? columnValues + 2 * block : 1),
          finish{window.scale(), ownBlurMean(uint32_t(window.samples())), 0, leastHalf(window)},
          kind(src.depth == ORV_DEPTH_1U ? OWN_BLUR_BITS
               : finish.mean.exact       ? OWN_BLUR_MULTIPLIER
                                         : OWN_BLUR_SCALE)
    {
        finish.bias = kind == OWN_BLUR_MULTIPLIER && !isWide ? int32_t(finish.mean.bias) : 0;
    }

    bool run()
    {
        if (!lines || !sums || !totals || !scratch || !rows || !flipped)
            return false;
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            memset(sums.data, 0, size_t(byRows ? step * window.nRows : step) * sizeof *sums.data);
            memset(totals.data, 0, size_t(byRows ? step : 1) * sizeof *totals.data);
            for (ptrdiff_t i = 0; finish.bias && byRows && i < step; ++i)
                reinterpret_cast<uint16_t*>(totals.data)[i] = uint16_t(finish.bias);
            // Before row 0 the first windows fill.
            for (int32_t y = 1 - window.nRows; y < lines.height(); ++y) {
                auto* result = y < 0 ? nullptr : static_cast<uint8_t*>(lines.target(y, 0));
                byRows ? sumRows(y, result) : sumColumns(y, result);
                if (isSigned && result)
                    kernels.flip(result, result, values);
                if (y >= 0)
                    lines.store(y, 1);
            }
        }
        return true;
    }

private:
    const OwnBlurByteKernels& kernels = ownBlurByteKernels();
    const OwnBlurWindow& window;
    bool byRows, isWide;
    OwnLines lines;
    ptrdiff_t values, columnValues;
    ptrdiff_t step;             // from row to row of sums
    OwnScratch<uint16_t> sums;  // of columns, or of parts of the window's rows
    OwnScratch<float> totals;   // of windows, floats or shorter
    OwnScratch<uint16_t> scratch;
    OwnScratch<const uint8_t*> rows;
    bool isSigned;
    OwnScratch<uint8_t> flipped;  // a row
    OwnBlurFinish finish;
    OwnBlurFinishKind kind;

    // The last row of the windows of row y, counted from the first row of those that are filled first.
    int64_t windowEnd(int32_t y) const { return int64_t{y} + window.nRows - 1; }

    // The row that enters the windows of row y.
    const uint8_t* entering(int32_t y, int slot)
    {
        auto* row = static_cast<const uint8_t*>(lines.source(int64_t{y} - window.anchorY + window.nRows - 1, slot));
        if (!isSigned)
            return row;
        kernels.flip(row, flipped.data, columnValues);
        return flipped.data;
    }

    void sumRows(int32_t y, uint8_t* result)
    {
        uint16_t* leaving = sums.data + ptrdiff_t(windowEnd(y) % window.nRows) * step;
        auto* kernel = isWide ? kernels.byRowsWide : kernels.byRows[kind];
        kernel({entering(y, 0), leaving, totals.data, scratch.data, values, window.nCols, finish, result});
    }

    void sumColumns(int32_t y, uint8_t* result)
    {
        const int64_t index = windowEnd(y);
        const int slot = int(index % (window.nRows + 1));
        rows[slot] = entering(y, slot);
        const uint8_t* leaving = index < window.nRows ? nullptr : rows[slot == window.nRows ? 0 : slot + 1];
        kernels.byColumns[kind](
            {rows[slot], leaving, sums.data, columnValues, values, lines.step(), window.nCols, finish, result});
    }
};

}  // namespace

bool ownBlurIsShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst)
{
    if (window.nRows > mostRows)
        return false;
    if (src.depth == ORV_DEPTH_8S)
        return goesFlipped(window, ownLineStep(src, dst));
    if (src.depth != ORV_DEPTH_8U && src.depth != ORV_DEPTH_1U)
        return false;
    return goesByRows(window, src.depth, ownLineStep(src, dst)) || goesByColumns(window, src.depth);
}

bool ownBlurShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    if (OwnFixedKernel kernel = squareKernel(window, src, dst))
        return ownFilterBands(kernel, window.reach(), src, dst, mask);
    return Pass(window, src, dst, mask).run();
}
