#include "ownblurshort.h"

#include <cstring>

#include "../core/ownlines.h"
#include "kernels/ownblurbytes.h"

namespace {

// Rows of a window that are kept, so that the greatest height of windows that go the short way.
constexpr int32_t mostRows = 128;
// Columns whose sums are added up for every window afresh, and of windows with running sums.
constexpr int32_t mostAfresh = 12, mostColumns = 128;
// What kernels may read and write behind the last value of a row.
constexpr ptrdiff_t block = 64;

// True if the sums of windows fit 16 bits, with a sign for bits.
bool sumsAreHalves(const OwnBlurWindow& window, uint32_t depth)
{
    return window.samples() <= (depth == ORV_DEPTH_1U ? INT16_MAX : UINT16_MAX / 255);
}

class Pass {
public:
    Pass(const OwnBlurWindow& blurWindow, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
        : window(blurWindow),
          depth(src.depth),
          isWide(window.nCols > mostAfresh || !sumsAreHalves(window, depth)),
          lines(src, dst, mask, window.reach(), isWide ? 1 : window.nRows + 1, 1),
          values(lines.values(lines.width())),
          columnValues(lines.values(int64_t{lines.width()} + window.nCols - 1)),
          columns(columnValues + 3 * block),
          rows(window.nRows + 1),
          sums(isWide ? (values + block) * window.nRows : 1),
          totals(isWide ? values + block : 1)
    {
    }

    bool run()
    {
        if (!lines || !columns || !rows || !sums || !totals)
            return false;
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            clear(columns, columnValues + 3 * block);
            clear(sums, isWide ? (values + block) * window.nRows : 1);
            clear(totals, isWide ? values + block : 1);
            for (int32_t y = 1 - window.nRows; y < lines.height(); ++y) {
                isWide ? moveWide(y) : moveColumns(y);
                if (y >= 0)
                    lines.store(y, 1);
            }
        }
        return true;
    }

private:
    const OwnBlurWindow& window;
    uint32_t depth;
    bool isWide;
    OwnLines lines;
    ptrdiff_t values, columnValues;
    OwnScratch<uint16_t> columns;  // sums of them, or prefixes of a row
    OwnScratch<const uint8_t*> rows;
    OwnScratch<uint16_t> sums;  // of parts of rows, of all rows of the window
    OwnScratch<int32_t> totals;

    template <class T>
    static void clear(OwnScratch<T>& block, int64_t count)
    {
        memset(block.data, 0, size_t(count) * sizeof(T));
    }

    // The row that enters the windows of row y; before row 0 the first windows fill.
    const uint8_t* entering(int32_t y, int slot)
    {
        return static_cast<const uint8_t*>(lines.source(y - window.anchorY + window.nRows - 1, slot));
    }
    uint8_t* target(int32_t y) { return y < 0 ? nullptr : static_cast<uint8_t*>(lines.target(y, 0)); }

    void moveColumns(int32_t y)
    {
        const OwnBlurByteKernels& kernels = ownBlurByteKernels();
        const int32_t count = window.nRows + 1, index = y + window.nRows - 1;
        const int slot = int(index % count);
        rows[slot] = entering(y, slot);
        OwnBlurBytes row = {rows[slot],
                            index >= window.nRows ? rows[(index + 1) % count] : nullptr,
                            columns.data,
                            columnValues,
                            y < 0 ? 0 : values,
                            lines.step(),
                            window.nCols,
                            window.scale(),
                            ownBlurMean(uint32_t(window.samples())),
                            half(),
                            target(y)};
        if (depth == ORV_DEPTH_1U)
            kernels.bits(row);
        else if (row.mean.exact)
            kernels.means(row);
        else
            kernels.realMeans(row);
    }

    int32_t half() const
    {
        int32_t sum = int32_t(window.samples() / 2);
        while (float(sum) * window.scale() >= 0.5f)
            --sum;
        while (float(sum) * window.scale() < 0.5f)
            ++sum;
        return sum;
    }

    void moveWide(int32_t y)
    {
        uint16_t* leaving = sums.data + (y + window.nRows - 1) % window.nRows * (values + block);
        ownBlurByteKernels().wideMeans({entering(y, 0), columns.data, leaving, totals.data, columnValues, values,
                                        window.nCols, window.scale(), target(y)});
    }
};

}  // namespace

bool ownBlurIsShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst)
{
    if (window.nRows > mostRows || (src.depth != ORV_DEPTH_8U && src.depth != ORV_DEPTH_1U))
        return false;
    if (window.nCols <= mostAfresh && sumsAreHalves(window, src.depth))
        return true;
    return src.depth == ORV_DEPTH_8U && window.nCols <= mostColumns && ownLineStep(src, dst) == 1;
}

bool ownBlurShort(const OwnBlurWindow& window, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return Pass(window, src, dst, mask).run();
}
