#include "owncnv2d.h"

namespace {

int64_t valueCount(const OwnConvWindow& window)
{
    return int64_t{window.nCols} * window.nRows;
}

// ---- Which sums a kernel has --------------------------------------------------------------------------------------

struct SampleRange {
    double lowest, highest;
};

SampleRange samplesOf(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U: return {0, 1};
    case ORV_DEPTH_8U: return {0, 255};
    case ORV_DEPTH_8S: return {-128, 127};
    case ORV_DEPTH_16U: return {0, 65535};
    default: return {-32768, 32767};
    }
}

// The range of numbers that sums of a kernel stay in.
enum class Width { half, word, more };

Width widthOf(const OwnConvWindow& window, uint32_t depth)
{
    if (depth == ORV_DEPTH_32S || depth == ORV_DEPTH_32F)
        return Width::more;
    SampleRange range = samplesOf(depth);
    double low = 0, high = 0;
    for (int64_t i = 0; i < valueCount(window); ++i) {
        double weight = window.integers[i];
        if (weight < -32768 || weight > 32767)
            return Width::more;
        double a = weight * range.lowest, b = weight * range.highest;
        low += a < b ? a : b;
        high += a < b ? b : a;
    }
    bool bytes = depth != ORV_DEPTH_16U && depth != ORV_DEPTH_16S;
    if (bytes && low > -32768 && high < 32767)
        return Width::half;
    return low > -2147483648.0 && high < 2147483647.0 ? Width::word : Width::more;
}

// True for the windows that have sums of their own. Of integers they are so only if few of the values are 0.
bool isDense(const OwnConvWindow& window, int32_t rowChannels)
{
    bool three = window.nCols == 3 && window.nRows == 3;
    bool five = window.nCols == 5 && window.nRows == 5;
    if ((!three && !five) || (rowChannels != 1 && rowChannels != 3))
        return false;
    int zeros = 0;
    for (int64_t i = 0; window.integers && i < valueCount(window); ++i)
        zeros += window.integers[i] == 0;
    return zeros <= (three ? 2 : 4);
}

// Products of samples of 32 bits are exact in double precision if the weights are not too long.
bool productsAreExact(const OwnConvWindow& window, uint32_t depth)
{
    constexpr int32_t most = 1 << 21;
    for (int64_t i = 0; depth == ORV_DEPTH_32S && i < valueCount(window); ++i)
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

// ---- Taps ---------------------------------------------------------------------------------------------------------

// Rows of pairs that two neighbouring windows of so many rows meet, wherever the pairs begin.
int64_t pairRows(int64_t rows)
{
    return rows / 2 + 1;
}

int16_t lowHalf(int32_t weight)
{
    return int16_t(weight);
}
int16_t highHalf(int32_t weight)
{
    return int16_t((uint32_t(weight) - uint32_t(int32_t{lowHalf(weight)})) >> 16);
}

// A window's place among the rows and columns that the whole call reads.
struct Place {
    int32_t row, column;
};

// Writes the taps of a kernel's halves of weights, without those of which nothing comes, and answers where they end.
OwnPairTap* writePairs(const OwnConvWindow& window, const Place& place, int16_t (*half)(int32_t), OwnPairTap* tap)
{
    auto weight = [&](int64_t row, int32_t column) {
        bool inside = row >= 0 && row < window.nRows;
        return inside ? half(window.integers[row * window.nCols + column]) : int16_t{0};
    };
    int64_t end = (int64_t{place.row} + window.nRows + 2) / 2;
    for (int64_t pair = place.row / 2; pair < end; ++pair)
        for (int32_t column = 0; column < window.nCols; ++column) {
            int64_t row = 2 * pair - place.row;
            *tap = {int32_t(pair),
                    place.column + column,
                    {{weight(row, column), weight(row + 1, column)}, {weight(row - 1, column), weight(row, column)}}};
            tap += tap->weights[0][0] || tap->weights[0][1] || tap->weights[1][0] || tap->weights[1][1];
        }
    return tap;
}

// Samples of 16U are less 32768 in pairs; so much is missing from their sums.
int32_t startOf16U(const OwnConvWindow& window)
{
    uint32_t sum = 0;
    for (int64_t i = 0; i < valueCount(window); ++i)
        sum += uint32_t(window.integers[i]);
    return int32_t(sum * 32768);
}

// When the running sum of a kernel is rounded.
enum class Rounding {
    everyProduct,
    everyPair,  // of rows, column by column; the last of an odd number of rows goes alone
    once
};

OwnRealTap* writeReals(const OwnConvWindow& window, const Place& place, Rounding rounding, OwnRealTap* tap)
{
    auto write = [&](int32_t row, int32_t column, bool rounds) {
        int64_t i = int64_t{row} * window.nCols + column;
        double weight = window.reals ? double(window.reals[i]) : double(float(window.integers[i]));
        *tap = {place.row + row, place.column + column, rounds, weight};
        tap += window.reals || weight != 0;
    };
    int32_t together = rounding == Rounding::everyPair ? 2 : 1;
    for (int32_t row = 0; row < window.nRows; row += ownMin(together, window.nRows - row))
        for (int32_t column = 0; column < window.nCols; ++column) {
            bool pair = together == 2 && window.nRows - row >= 2;
            write(row, column, rounding != Rounding::once && !pair);
            if (pair)
                write(row + 1, column, true);
        }
    return tap;
}

int64_t mostPairTaps(const OwnConvWindow* windows, int32_t count)
{
    int64_t sum = 1;
    for (int32_t i = 0; i < count; ++i)
        if (windows[i].integers)
            sum += 2 * (pairRows(windows[i].nRows) + 1) * windows[i].nCols + 1;
    return sum;
}

int64_t mostRealTaps(const OwnConvWindow* windows, int32_t count)
{
    int64_t sum = 1;
    for (int32_t i = 0; i < count; ++i)
        sum += valueCount(windows[i]) + 1;
    return sum;
}

}  // namespace

OwnConvWindow::OwnConvWindow(const OrvConvKernel& kernel)
    : nCols(kernel.nCols),
      nRows(kernel.nRows),
      anchorX(kernel.anchorX),
      anchorY(kernel.anchorY),
      integers(kernel.values),
      reals(nullptr),
      nShiftR(kernel.nShiftR)
{
}

OwnConvWindow::OwnConvWindow(const OrvConvKernelFP& kernel)
    : nCols(kernel.nCols),
      nRows(kernel.nRows),
      anchorX(kernel.anchorX),
      anchorY(kernel.anchorY),
      integers(nullptr),
      reals(kernel.values),
      nShiftR(0)
{
}

namespace {

// Plans a kernel's sums; its taps are written to `pair` and `real`, which move on.
void planSums(const OwnConvWindow& window, const Place& place, const OrvImage& src, OwnPairTap*& pair,
              OwnRealTap*& real, OwnConvStage& stage)
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
        real = writeReals(window, place, rounding, real);
        stage.realCount = real - stage.reals;
        return;
    }
    stage.sums = wrapped ? OwnConvSums::wrapped : OwnConvSums::integer;
    stage.start = depth == ORV_DEPTH_16U ? startOf16U(window) : 0;
    pair = writePairs(window, place, lowHalf, pair);
    stage.pairCount = pair - stage.pairs;
    stage.highPairs = pair;
    if (wrapped)
        pair = writePairs(window, place, highHalf, pair);
    stage.highCount = pair - stage.highPairs;
}

}  // namespace

OwnConvPlan::OwnConvPlan(const OwnConvWindow* windows, int32_t kernels, int32_t method, const OrvImage& src)
    : count(kernels),
      depth(src.depth),
      roots(kernels > 1 && method == ORV_COMBINE_SUMSQROOT),
      stages{},
      pairTaps(mostPairTaps(windows, kernels)),
      realTaps(mostRealTaps(windows, kernels))
{
    if (!*this)
        return;
    for (int32_t i = 0; i < count; ++i) {
        reach.left = ownMax(reach.left, windows[i].anchorX);
        reach.top = ownMax(reach.top, windows[i].anchorY);
        reach.right = ownMax(reach.right, windows[i].nCols - 1 - windows[i].anchorX);
        reach.bottom = ownMax(reach.bottom, windows[i].nRows - 1 - windows[i].anchorY);
    }
    OwnPairTap* pair = pairTaps.data;
    OwnRealTap* real = realTaps.data;
    for (int32_t i = 0; i < count; ++i) {
        const OwnConvWindow& window = windows[i];
        OwnConvStage& stage = stages[i];
        stage.shift = window.nShiftR & 31;
        stage.shifts = window.nShiftR != 0;
        stage.fold = count == 1 ? foldOfOne(method, stage.shifts) : foldOfMany(method, i == 0);
        planSums(window, {reach.top - window.anchorY, reach.left - window.anchorX}, src, pair, real, stage);
        bool integer = stage.sums == OwnConvSums::integer;
        usesPairs = usesPairs || integer || stage.sums == OwnConvSums::wrapped;
        usesReals = usesReals || stage.realCount > 0;
        // Several kernels share integer totals only if the sums of all are short.
        realTotals = realTotals || !integer || (count > 1 && widthOf(window, depth) != Width::half);
    }
}
