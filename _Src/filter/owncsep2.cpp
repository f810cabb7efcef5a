#include "owncsep2.h"

#include "../core/ownlines.h"
#include "kernels/ownsides.h"

namespace {

// ---- The plan -----------------------------------------------------------------------------------------------------

int64_t valueCount(const OwnConvWindow* window)
{
    return window ? window->valueCount() : 0;
}

// The kernel with its values, and its anchor, turned back to the order of the caller.
OwnConvWindow turned(const OwnConvWindow& window, int32_t* values)
{
    int64_t count = window.valueCount();
    for (int64_t i = 0; i < count; ++i)
        if (window.integers)
            values[i] = window.integers[count - 1 - i];
        else
            memcpy(values + i, window.reals + (count - 1 - i), sizeof *values);
    OwnConvWindow result = window;
    result.anchorX = window.nCols - 1 - window.anchorX;
    result.anchorY = window.nRows - 1 - window.anchorY;
    result.integers = window.integers ? values : nullptr;
    result.reals = window.reals ? reinterpret_cast<const float*>(values) : nullptr;
    return result;
}

bool weightsAreHalves(const OwnConvWindow& window)
{
    for (int64_t i = 0; i < window.valueCount(); ++i)
        if (window.integers[i] < INT16_MIN || window.integers[i] > INT16_MAX)
            return false;
    return true;
}

uint32_t sumOfWeights(const OwnConvWindow& window)
{
    uint32_t sum = 0;
    for (int64_t i = 0; i < window.valueCount(); ++i)
        sum += uint32_t(window.integers[i]);
    return sum;
}

// Writes the places of a row kernel's pairs of pixels, and answers where they end.
OwnPairPlace* writeSidePairs(const OwnConvWindow& window, OwnPairPlace* to)
{
    for (int32_t column = 0; column < window.nCols; column += 2) {
        bool last = column + 1 == window.nCols;
        int32_t first = window.integers[column], second = last ? 0 : window.integers[column + 1];
        *to++ = {0, column, {{int16_t(first), int16_t(second)}, {0, 0}}};
    }
    return to;
}

// The sums of a kernel are told apart by 16 bits.
bool sumsFit(const OwnConvWindow& window, uint32_t depth)
{
    const OwnSumRange range = ownSumRange(window, depth);
    return range.greatest - range.least <= UINT16_MAX;
}

// The kernel with other weights, that weightOf(weight) answers.
template <class WeightOf>
OwnConvWindow changed(const OwnConvWindow& window, int32_t* values, WeightOf weightOf)
{
    for (int64_t i = 0; i < window.valueCount(); ++i)
        values[i] = weightOf(window.integers[i]);
    OwnConvWindow result = window;
    result.integers = values;
    return result;
}

bool isZero(const OwnConvWindow& window)
{
    for (int64_t i = 0; i < window.valueCount(); ++i)
        if (window.integers[i])
            return false;
    return true;
}

constexpr int32_t mostParts = 2;

int64_t mostPlaces(const OwnConvWindow* x, const OwnConvWindow* y)
{
    return (x ? x->nCols / 2 + 1 : 0) + (y ? ownMostPairs(*y) : 0);
}

}  // namespace

OwnSepPlan::OwnSepPlan(const OwnConvWindow* xWindow, const OwnConvWindow* yWindow, uint32_t imageDepth)
    : depth(imageDepth),
      usesPairs(imageDepth != ORV_DEPTH_32S && imageDepth != ORV_DEPTH_32F),
      values(mostParts * (2 * valueCount(xWindow) + valueCount(yWindow))),
      places(mostParts * mostPlaces(xWindow, yWindow))
{
    if (!*this)
        return;
    if (xWindow) {
        x = turned(*xWindow, values.data);
        reach.left = x.anchorX;
        reach.right = x.nCols - 1 - x.anchorX;
    }
    if (yWindow) {
        y = turned(*yWindow, values.data + valueCount(xWindow));
        reach.top = y.anchorY;
        reach.bottom = y.nRows - 1 - y.anchorY;
    }
    shift = int((uint32_t(x.nShiftR) + uint32_t(y.nShiftR)) & 31);
    if (usesPairs)
        planPairs();
}

// Parts the row kernel; false if no two parts have sums of 16 bits. Weights that have their lower bits all clear need
// but the upper part.
bool OwnSepPlan::planParts()
{
    int32_t* const upper = values.data + x.valueCount() + y.valueCount();
    int32_t *const lower = upper + x.valueCount(), *const scaled = lower + x.valueCount();
    for (int bits = 1; bits < 16; ++bits) {
        parts[0].x = changed(x, upper, [=](int32_t weight) { return weight >> bits; });
        parts[1].x = changed(x, lower, [=](int32_t weight) { return weight & ((1 << bits) - 1); });
        parts[0].y = changed(y, scaled, [=](int32_t weight) { return weight * (1 << bits); });
        if (!weightsAreHalves(parts[0].y) || !sumsFit(parts[1].x, depth))
            return false;
        if (sumsFit(parts[0].x, depth)) {
            partCount = isZero(parts[1].x) ? 1 : 2;
            return true;
        }
    }
    return false;
}

void OwnSepPlan::planPairs()
{
    const bool isBoth = x.nCols && y.nRows;
    parts[0].x = x;
    parts[0].y = parts[1].y = y;
    usesPairs = weightsAreHalves(x) && weightsAreHalves(y);
    if (usesPairs && isBoth && !sumsFit(x, depth))
        usesPairs = planParts();
    if (!usesPairs)
        return;
    const bool is16U = depth == ORV_DEPTH_16U;
    usesBytes = isBoth;
    yStart = is16U && !isBoth ? ownStartOf16U(y) : 0;
    OwnPairPlace* to = places.data;
    for (OwnSepPart* part = parts; part < parts + partCount; ++part) {
        part->xPlaces = to;
        part->yPlaces = part->x.nCols ? writeSidePairs(part->x, to) : to;
        to = part->y.nRows ? ownWritePairs(part->y, {0, 0}, ownLowHalf, part->yPlaces) : part->yPlaces;
        part->xPairs = part->yPlaces - part->xPlaces;
        part->yPairs = to - part->yPlaces;
        part->xStart = is16U ? ownStartOf16U(part->x) : 0;
        usesBytes = usesBytes && ownPairsFitBytes(part->xPlaces, part->xPairs, depth);
        if (isBoth) {
            // Sums of rows are kept as what they are above the middle of their range.
            const int32_t middle = int32_t(ownSumRange(part->x, depth).least) + 32768;
            part->xStart -= middle;
            yStart = int32_t(uint32_t(yStart) + uint32_t(middle) * sumOfWeights(part->y));
        }
    }
}

namespace {

// ---- A rectangle --------------------------------------------------------------------------------------------------

class Pass {
public:
    Pass(const OwnSepPlan& sepPlan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
        : plan(sepPlan),
          depth(ownDepthIndex(sepPlan.depth)),
          lines(src, dst, mask, plan.reach, 2, rowsTogether),
          values(lines.values(lines.width())),
          sourceValues(lines.values(int64_t{lines.width()} + plan.reach.left + plan.reach.right)),
          rowValues(sourceValues + ownReadAhead),
          partBytes(rowValues * pairBytes),
          isReal(plan.depth == ORV_DEPTH_32F),
          windowRows(ownMax(plan.y.nRows, 1)),
          pairs(plan.yPairs() ? ownPairRows(windowRows) : 0, partBytes * plan.partCount),
          sidePairs(plan.xPairs() && !plan.usesBytes ? 1 : 0, rowValues * pairBytes),
          words(plan.usesPairs || isReal ? 0 : windowRows, rowValues),
          reals(isReal ? windowRows : 0, rowValues),
          columnReals(isReal && plan.x.nCols ? 1 : 0, rowValues),
          sums(rowsTogether * plan.partCount, rowValues),
          pairTaps(int64_t{plan.xPairs()} + plan.yPairs() + 1),
          sideTaps(plan.usesBytes ? plan.parts[0].xPairs : 1),
          wordTaps(isReal ? 1 : ownMax(plan.x.nCols, plan.y.nRows)),
          realTaps(isReal ? ownMax(plan.x.nCols, plan.y.nRows) : 1)
    {
    }

    bool run()
    {
        if (!lines || !pairs || !sidePairs || !words || !reals || !columnReals || !sums || !pairTaps || !sideTaps ||
            !wordTaps || !realTaps)
            return false;
        if (plan.usesBytes)
            setByteTaps();
        else
            setSideTaps();
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            rowsDone = 0;
            int32_t rows = 0;
            for (int32_t y = 0; y < lines.height(); y += rows) {
                rows = ownMin(plan.yPairs() ? rowsTogether : 1, lines.height() - y);
                if (isReal)
                    convolveReals(y);
                else if (!plan.usesPairs)
                    convolveWords(y);
                else if (plan.yPairs())
                    convolvePairs(y, rows);
                else
                    convolveSidePairs(y);
                lines.store(y, rows);
            }
        }
        return true;
    }

private:
    static constexpr int rowsTogether = 2;  // since sums of pairs of rows are
    static constexpr int pairBytes = 4;

    const OwnConvKernels& kernels = ownConvKernels();
    const OwnSepPlan& plan;
    OwnDepthIndex depth;
    OwnLines lines;
    ptrdiff_t values, sourceValues, rowValues;
    ptrdiff_t partBytes;  // of a row of pairs
    bool isReal;
    int64_t windowRows;
    OwnRing<uint8_t> pairs;      // of rows
    OwnRing<uint8_t> sidePairs;  // of neighbouring pixels, a row
    OwnRing<int32_t> words;
    OwnRing<double> reals;
    OwnRing<double> columnReals;      // the sums of the column kernel
    OwnRing<int32_t> sums;            // of the kernel that comes first, of 16 or 32 bits or floats
    OwnScratch<OwnPairTap> pairTaps;  // of the row kernel, then of the column kernel
    OwnScratch<OwnSideTap> sideTaps;
    OwnScratch<OwnWordTap> wordTaps;
    OwnScratch<OwnRealTap> realTaps;
    int64_t rowsDone = 0;  // in the ring, from the first of the rectangle's first window on

    // A row of samples, counted as the ring's. Behind the last, which is asked for only to fill a pair, it is the last.
    const void* sampleRow(int64_t index, int slot)
    {
        int64_t last = windowRows + lines.height() - 2;
        return lines.source((index < last ? index : last) - plan.reach.top, slot);
    }

    // The last column of an odd number of them has no neighbour.
    void setByteTaps()
    {
        for (ptrdiff_t i = 0; i < plan.parts[0].xPairs; ++i) {
            const int32_t column = plan.parts[0].xPlaces[i].column, next = ownMin(column + 1, plan.x.nCols - 1);
            sideTaps[i] = {{ptrdiff_t{column} * lines.step(), ptrdiff_t{next} * lines.step()}, {}};
            for (int32_t k = 0; k < plan.partCount; ++k)
                for (int half = 0; half < 2; ++half)
                    sideTaps[i].weights[k][half] = int8_t(plan.parts[k].xPlaces[i].weights[0][half]);
        }
    }

    void setSideTaps()
    {
        OwnPairTap* tap = pairTaps.data;
        for (const OwnSepPart& part : plan.parts)
            for (ptrdiff_t i = 0; i < part.xPairs; ++i) {
                const OwnPairPlace& place = part.xPlaces[i];
                *tap++ = {sidePairs.row(0) + ptrdiff_t{place.column} * lines.step() * pairBytes,
                          {ownPackedWeights(place.weights[0], pairBytes), 0}};
            }
    }

    void pairSides(const void* row)
    {
        auto* pair = kernels.pairs[depth];
        auto* from = static_cast<const uint8_t*>(row);
        // The last pixel has no neighbour.
        const ptrdiff_t step = lines.step(), paired = sourceValues - step, bytes = depth <= OWN_8S ? 1 : 2;
        pair(from, from + step * bytes, sidePairs.row(0), paired);
        pair(from + paired * bytes, from + paired * bytes, sidePairs.row(0) + paired * pairBytes, step);
    }

    // A row kernel alone.
    void convolveSidePairs(int32_t y)
    {
        const OwnSepPart& part = plan.parts[0];
        pairSides(lines.source(y, 0));
        kernels.pairRow[depth](
            {pairTaps.data, part.xPairs, part.xStart, plan.shift, 0, values, {lines.target(y, 0), nullptr}});
    }

    // The rows of each part's sums follow one another, two by two.
    int32_t* sumRow(ptrdiff_t part, int slot) { return sums.row(part * rowsTogether + slot); }

    // A row for the column kernel: of samples, or of what the row kernel makes of them, in its slot.
    const void* columnRow(int64_t index, int slot)
    {
        const void* row = sampleRow(index, slot);
        if (!plan.xPairs())
            return row;
        pairSides(row);
        const OwnPairTap* tap = pairTaps.data;
        for (int32_t i = 0; i < plan.partCount; ++i) {
            const OwnSepPart& part = plan.parts[i];
            kernels.pairRow[OWN_16S]({tap, part.xPairs, part.xStart, 0, 0, values, {sumRow(i, slot), nullptr}});
            tap += part.xPairs;
        }
        return sumRow(0, slot);
    }

    // Fills the next row of pairs for the column kernel; the parts follow one another.
    void nextPairs()
    {
        uint8_t* const first = pairs.row(rowsDone);
        uint8_t* const second = first + partBytes;
        if (plan.usesBytes) {
            auto* sum = ownSideKernels().sums[plan.partCount - 1];
            return sum({{sampleRow(2 * rowsDone, 0), sampleRow(2 * rowsDone + 1, 1)},
                        sideTaps.data,
                        plan.parts[0].xPairs,
                        {int16_t(plan.parts[0].xStart), int16_t(plan.parts[1].xStart)},
                        values,
                        {first, second}});
        }
        const void* upper = columnRow(2 * rowsDone, 0);
        const void* lower = columnRow(2 * rowsDone + 1, 1);
        auto* pair = kernels.pairs[plan.xPairs() ? OWN_16S : depth];
        pair(upper, lower, first, values);
        if (plan.partCount > 1)
            pair(sumRow(1, 0), sumRow(1, 1), second, values);
    }

    void convolvePairs(int32_t y, int32_t rows)
    {
        for (; rowsDone < y / 2 + pairs.rows; ++rowsDone)
            nextPairs();
        const auto window = pairs.window(y / 2);
        OwnPairTap* const taps = pairTaps.data + plan.xPairs();
        OwnPairTap* tap = taps;
        for (int32_t k = 0; k < plan.partCount; ++k)
            for (ptrdiff_t i = 0; i < plan.parts[k].yPairs; ++i) {
                const OwnPairPlace& place = plan.parts[k].yPlaces[i];
                *tap++ = {
                    window.row(place.row) + k * partBytes,
                    {ownPackedWeights(place.weights[0], pairBytes), ownPackedWeights(place.weights[1], pairBytes)}};
            }
        void* second = rows == 2 ? lines.target(y + 1, 1) : sums.row(1);
        kernels.pairResults[depth](
            {taps, tap - taps, plan.yStart, plan.shift, 0, values, {lines.target(y, 0), second}});
    }

    void convolveWords(int32_t y)
    {
        for (; rowsDone < y + words.rows; ++rowsDone)
            kernels.words[depth](sampleRow(rowsDone, 0), words.row(rowsDone), sourceValues);
        const auto window = words.window(y);
        OwnWordTap* tap = wordTaps.data;
        const int32_t* row = window.row(0);
        int32_t* result = sums.row(0);
        if (plan.y.nRows) {
            for (int32_t i = 0; i < plan.y.nRows; ++i)
                tap[i] = {window.row(i), plan.y.integers[i]};
            kernels.wordSums({tap, plan.y.nRows, sourceValues, result});
            row = result;
        }
        if (plan.x.nCols) {
            result = sums.row(1);
            for (int32_t i = 0; i < plan.x.nCols; ++i)
                tap[i] = {row + ptrdiff_t{i} * lines.step(), plan.x.integers[i]};
            kernels.wordSums({tap, plan.x.nCols, values, result});
        }
        kernels.foldIntegers.by[OWN_FOLD_COPY](result, plan.shift, result, values);
        kernels.storeIntegers[depth](result, lines.target(y, 0), values);
    }

    void convolveReals(int32_t y)
    {
        for (; rowsDone < y + reals.rows; ++rowsDone)
            kernels.reals[depth](sampleRow(rowsDone, 0), reals.row(rowsDone), sourceValues);
        const auto window = reals.window(y);
        OwnRealTap* tap = realTaps.data;
        const double* row = window.row(0);
        void* target = lines.target(y, 0);
        if (plan.y.nRows) {
            for (int32_t i = 0; i < plan.y.nRows; ++i)
                tap[i] = {window.row(i), double(plan.y.reals[i]), false};
            if (!plan.x.nCols)
                return kernels.exactSums({tap, plan.y.nRows, values, target});
            kernels.exactSums({tap, plan.y.nRows, sourceValues, sums.row(0)});
            kernels.reals[OWN_32F](sums.row(0), columnReals.row(0), sourceValues);
            row = columnReals.row(0);
        }
        for (int32_t i = 0; i < plan.x.nCols; ++i)
            tap[i] = {row + ptrdiff_t{i} * lines.step(), double(plan.x.reals[i]), false};
        kernels.exactSums({tap, plan.x.nCols, values, target});
    }
};

}  // namespace

bool ownConvolveSeparably(void* plan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return Pass(*static_cast<const OwnSepPlan*>(plan), src, dst, mask).run();
}
