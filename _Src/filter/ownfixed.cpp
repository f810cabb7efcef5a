#include "ownfixed.h"

#include "../core/ownlines.h"

OwnReach ownFixedReach(OwnFixedFilter filter)
{
    const bool five = filter == OWN_LAPLACE5 || filter == OWN_GAUSS5 || filter == OWN_HIGHPASS5;
    return five ? OwnReach{2, 2, 2, 2} : OwnReach{1, 1, 1, 1};
}

namespace {

// Rows that a kernel makes at a time: many, since the first ones cost more, the higher windows are the more so, but so
// few that they stay in the nearest cache together with what they are made of, and that those of one column of long
// rows do not drive each other out of it.
constexpr int32_t mostRows = 24, leastRows = 8;

int32_t bandRows(int64_t rowBytes, int32_t windowRows)
{
    constexpr int64_t longRow = 2048, cacheBytes = 12288;
    if (rowBytes >= longRow)
        return leastRows;
    if (windowRows > 3)
        return mostRows;
    const int64_t fitting = cacheBytes / rowBytes;
    return int32_t(fitting < leastRows ? leastRows : fitting < mostRows ? fitting : mostRows);
}

}  // namespace

bool ownFilterFixed(OwnFixedFilter filter, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return ownFilterBands(ownFixedKernels().band[filter][ownDepthIndex(src.depth)], ownFixedReach(filter), src, dst,
                          mask);
}

bool ownFilterBands(OwnFixedKernel kernel, const OwnReach& reach, const OrvImage& src, const OrvImage& dst,
                    const OrvImage* mask)
{
    const int32_t windowRows = reach.top + 1 + reach.bottom;
    const int32_t most = bandRows(
        int64_t{ownRoiRect(src).width} * ownLineStep(src, dst) * ownMax(ownValueBytes(src.depth), 1), windowRows);
    OwnRowWindow window(windowRows, reach.top, most);
    OwnLines lines(src, dst, mask, reach, window.slots(), most);
    if (!window || !lines)
        return false;
    void* results[mostRows];
    OwnFixedBand band = {nullptr, results, 0, lines.step(), lines.values(lines.width())};
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        window.begin();
        int32_t count;
        for (int32_t y = 0; y < lines.height(); y += count) {
            count = ownMin(most, lines.height() - y);
            for (int32_t i = 0; i < count; ++i)
                results[i] = lines.target(y + i, i);
            band.rows = window.rows(lines, y, count);
            band.count = count;
            kernel(band);
            lines.store(y, count);
        }
    }
    return true;
}
