#include "owncnv2d.h"

namespace {

// ---- Which sums a kernel has --------------------------------------------------------------------------------------

// The range of numbers that sums of a kernel stay in.
enum class Width { half, word, more };

Width widthOf(const OwnConvWindow& window, uint32_t depth)
{
    if (depth == ORV_DEPTH_32S || depth == ORV_DEPTH_32F)
        return Width::more;
    for (int64_t i = 0; i < window.valueCount(); ++i)
        if (window.integers[i] < INT16_MIN || window.integers[i] > INT16_MAX)
            return Width::more;
    OwnSumRange range = ownSumRange(window, depth);
    bool bytes = depth != ORV_DEPTH_16U && depth != ORV_DEPTH_16S;
    if (bytes && range.least > -32768 && range.greatest < 32767)
        return Width::half;
    return range.least > -2147483648.0 && range.greatest < 2147483647.0 ? Width::word : Width::more;
}

// True for the windows that have sums of their own. Of integers they are so only if few of the values are 0.
bool isDense(const OwnConvWindow& window, int32_t rowChannels)
{
    bool three = window.nCols == 3 && window.nRows == 3;
    bool five = window.nCols == 5 && window.nRows == 5;
    if ((!three && !five) || (rowChannels != 1 && rowChannels != 3))
        return false;
    int zeros = 0;
    for (int64_t i = 0; window.integers && i < window.valueCount(); ++i)
        zeros += window.integers[i] == 0;
    return zeros <= (three ? 2 : 4);
}

// Products of samples of 32 bits are exact in double precision if the weights are not too long.
bool productsAreExact(const OwnConvWindow& window, uint32_t depth)
{
    constexpr int32_t most = 1 << 21;
    for (int64_t i = 0; depth == ORV_DEPTH_32S && i < window.valueCount(); ++i)
        if (window.integers[i] < -most || window.integers[i] > most)
            return false;
    return true;
}

// ---- How the results of kernels are combined ----------------------------------------------------------------------

OwnFold foldOfOne(int32_t method, bool shifts)
{
    if (shifts)
        return OWN_FOLD_COPY;
    return method == ORV_COMBINE_SUMSQ       ? OWN_FOLD_SQUARE
           : method == ORV_COMBINE_SUMSQROOT ? OWN_FOLD_ABSOLUTE
                                             : OWN_FOLD_COPY;
}

OwnFold foldOfMany(int32_t method, bool first)
{
    switch (method) {
    case ORV_COMBINE_SUM: return first ? OWN_FOLD_COPY : OWN_FOLD_ADD;
    case ORV_COMBINE_MAX: return first ? OWN_FOLD_COPY : OWN_FOLD_LARGER;
    case ORV_COMBINE_MIN: return first ? OWN_FOLD_COPY : OWN_FOLD_SMALLER;
    default: return first ? OWN_FOLD_SQUARE : OWN_FOLD_ADD_SQUARE;
    }
}

// ---- Places -------------------------------------------------------------------------------------------------------

// When the running sum of a kernel is rounded.
enum class Rounding {
    everyProduct,
    everyPair,  // of rows, column by column; the last of an odd number of rows goes alone
    once
};

OwnRealPlace* writeReals(const OwnConvWindow& window, const OwnCorner& corner, Rounding rounding, OwnRealPlace* to)
{
    auto write = [&](int32_t row, int32_t column, bool rounds) {
        int64_t i = int64_t{row} * window.nCols + column;
        double weight = window.reals ? double(window.reals[i]) : double(float(window.integers[i]));
        *to = {corner.row + row, corner.column + column, rounds, weight};
        to += window.reals || weight != 0;
    };
    int32_t together = rounding == Rounding::everyPair ? 2 : 1;
    for (int32_t row = 0; row < window.nRows; row += ownMin(together, window.nRows - row))
        for (int32_t column = 0; column < window.nCols; ++column) {
            bool pair = together == 2 && window.nRows - row >= 2;
            write(row, column, rounding != Rounding::once && !pair);
            if (pair)
                write(row + 1, column, true);
        }
    return to;
}

int64_t mostPairPlaces(const OwnConvWindow* windows, int32_t count)
{
    int64_t sum = 1;
    for (int32_t i = 0; i < count; ++i)
        sum += windows[i].integers ? 2 * ownMostPairs(windows[i]) : 0;
    return sum;
}

int64_t mostRealPlaces(const OwnConvWindow* windows, int32_t count)
{
    int64_t sum = 1;
    for (int32_t i = 0; i < count; ++i)
        sum += windows[i].valueCount() + 1;
    return sum;
}

// True if pairs of bytes can give the results of a kernel, and `stage` tells how: modulo 2^16, which is enough for sums
// that lie in a range of 65536 values from a multiple of the shift on.
bool planBytes(const OwnConvWindow& window, uint32_t depth, OwnConvStage& stage)
{
    if (!ownPairsFitBytes(stage.pairs, stage.pairCount, depth))
        return false;
    OwnSumRange range = ownSumRange(window, depth);
    int64_t under = -(int64_t(range.least) >> stage.shift), start = under << stage.shift;
    if (range.greatest + double(start) > UINT16_MAX)
        return false;
    stage.start = int32_t(start);
    stage.under = int32_t(under);
    return true;
}

// Plans a kernel's sums; the places of its values are written to `pair` and `real`, which move on.
void planSums(const OwnConvWindow& window, const OwnCorner& corner, const OrvImage& src, OwnPairPlace*& pair,
              OwnRealPlace*& real, OwnConvStage& stage)
{
    uint32_t depth = src.depth;
    bool sideBySide = src.dataOrder == ORV_DATA_ORDER_PIXEL && !ownChannels(src).coi;
    bool dense = isDense(window, sideBySide ? src.nChannels : 1);
    bool isWide = widthOf(window, depth) == Width::more;
    bool wrapped = isWide && dense && depth != ORV_DEPTH_32S && depth != ORV_DEPTH_32F;
    stage.pairs = pair;
    stage.reals = real;
    if (isWide && !wrapped) {
        stage.sums = productsAreExact(window, depth) ? OwnConvSums::exact : OwnConvSums::real;
        Rounding rounding = dense ? Rounding::once : window.reals ? Rounding::everyPair : Rounding::everyProduct;
        real = writeReals(window, corner, rounding, real);
        stage.realCount = real - stage.reals;
        return;
    }
    stage.sums = wrapped ? OwnConvSums::wrapped : OwnConvSums::integer;
    stage.start = depth == ORV_DEPTH_16U ? ownStartOf16U(window) : 0;
    pair = ownWritePairs(window, corner, ownLowHalf, pair);
    stage.pairCount = pair - stage.pairs;
    stage.highPairs = pair;
    if (wrapped)
        pair = ownWritePairs(window, corner, ownHighHalf, pair);
    stage.highCount = pair - stage.highPairs;
}

ptrdiff_t larger(ptrdiff_t a, ptrdiff_t b)
{
    return a > b ? a : b;
}

}  // namespace

OwnConvPlan::OwnConvPlan(const OwnConvWindow* windows, int32_t kernels, int32_t method, const OrvImage& src)
    : count(kernels),
      depth(src.depth),
      roots(kernels > 1 && method == ORV_COMBINE_SUMSQROOT),
      stages{},
      pairs(mostPairPlaces(windows, kernels)),
      reals(mostRealPlaces(windows, kernels))
{
    if (!*this)
        return;
    for (int32_t i = 0; i < count; ++i) {
        reach.left = ownMax(reach.left, windows[i].anchorX);
        reach.top = ownMax(reach.top, windows[i].anchorY);
        reach.right = ownMax(reach.right, windows[i].nCols - 1 - windows[i].anchorX);
        reach.bottom = ownMax(reach.bottom, windows[i].nRows - 1 - windows[i].anchorY);
    }
    OwnPairPlace* pair = pairs.data;
    OwnRealPlace* real = reals.data;
    for (int32_t i = 0; i < count; ++i) {
        const OwnConvWindow& window = windows[i];
        OwnConvStage& stage = stages[i];
        stage.shift = window.nShiftR & 31;
        stage.shifts = window.nShiftR != 0;
        stage.fold = count == 1 ? foldOfOne(method, stage.shifts) : foldOfMany(method, i == 0);
        planSums(window, {reach.top - window.anchorY, reach.left - window.anchorX}, src, pair, real, stage);
        bool integer = stage.sums == OwnConvSums::integer;
        bool pairs = integer || stage.sums == OwnConvSums::wrapped;
        usesPairs = usesPairs || pairs;
        usesReals = usesReals || !pairs;
        mostPairs = larger(mostPairs, larger(stage.pairCount, stage.highCount));
        mostReals = larger(mostReals, stage.realCount);
        // Several kernels share integer totals only if the sums of all are short.
        realTotals = realTotals || !integer || (count > 1 && widthOf(window, depth) != Width::half);
        if (count == 1 && integer && stage.fold == OWN_FOLD_COPY && planBytes(window, depth, stage))
            stage.sums = OwnConvSums::bytes;
    }
}
