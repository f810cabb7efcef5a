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

// ---- Places -------------------------------------------------------------------------------------------------------

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

// Where a window begins among the rows and columns that the whole call reads.
struct Corner {
    int32_t row, column;
};

// Writes the places of a kernel with halves of its weights, without those of which nothing comes, and answers where they end.
OwnPairPlace* writePairs(const OwnConvWindow& window, const Corner& corner, int16_t (*half)(int32_t), OwnPairPlace* to)
{
    auto weight = [&](int64_t row, int32_t column) {
        bool inside = row >= 0 && row < window.nRows;
        return inside ? half(window.integers[row * window.nCols + column]) : int16_t{0};
    };
    OwnPairPlace* first = to;
    int64_t end = (int64_t{corner.row} + window.nRows + 2) / 2;
    for (int64_t pair = corner.row / 2; pair < end; ++pair)
        for (int32_t column = 0; column < window.nCols; ++column) {
            int64_t row = 2 * pair - corner.row;
            *to = {int32_t(pair),
                   corner.column + column,
                   {{weight(row, column), weight(row + 1, column)}, {weight(row - 1, column), weight(row, column)}}};
            to += to->weights[0][0] || to->weights[0][1] || to->weights[1][0] || to->weights[1][1];
        }
    return to > first ? to : first + 1;
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

OwnRealPlace* writeReals(const OwnConvWindow& window, const Corner& corner, Rounding rounding, OwnRealPlace* to)
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
        if (windows[i].integers)
            sum += 2 * (pairRows(windows[i].nRows) + 1) * windows[i].nCols + 1;
    return sum;
}

int64_t mostRealPlaces(const OwnConvWindow* windows, int32_t count)
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

// True if the sums of a kernel can be formed of pairs of bytes, modulo 2^16, and `stage` tells how: the products of no pair pass
// 16 bits, and all sums lie in a range of 65536 values from a multiple of the shift on.
bool fitsBytes(const OwnConvWindow& window, uint32_t depth, OwnConvStage& stage)
{
    if (depth != ORV_DEPTH_1U && depth != ORV_DEPTH_8U)
        return false;
    const int64_t largest = depth == ORV_DEPTH_1U ? 1 : 255;
    int64_t above = 0, below = 0;
    for (const OwnPairPlace* place = stage.pairs; place < stage.pairs + stage.pairCount; ++place)
        for (const auto& weights : place->weights) {
            int32_t sum = 0, least = 0;
            for (int32_t weight : weights) {
                if (weight < INT8_MIN || weight > INT8_MAX)
                    return false;
                (weight > 0 ? sum : least) += weight;
            }
            if (sum * largest > INT16_MAX || least * largest < INT16_MIN)
                return false;
        }
    for (int64_t i = 0; i < valueCount(window); ++i)
        (window.integers[i] > 0 ? above : below) += window.integers[i] * largest;
    int64_t under = -(below >> stage.shift), start = under << stage.shift;
    if (above + start > UINT16_MAX)
        return false;
    stage.start = int32_t(start);
    stage.under = int32_t(under);
    return true;
}

// Plans a kernel's sums; the places of its values are written to `pair` and `real`, which move on.
void planSums(const OwnConvWindow& window, const Corner& corner, const OrvImage& src, OwnPairPlace*& pair,
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
    stage.start = depth == ORV_DEPTH_16U ? startOf16U(window) : 0;
    pair = writePairs(window, corner, lowHalf, pair);
    stage.pairCount = pair - stage.pairs;
    stage.highPairs = pair;
    if (wrapped)
        pair = writePairs(window, corner, highHalf, pair);
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
        usesPairs = usesPairs || integer || stage.sums == OwnConvSums::wrapped;
        usesReals = usesReals || stage.realCount > 0;
        mostPairs = larger(mostPairs, larger(stage.pairCount, stage.highCount));
        mostReals = larger(mostReals, stage.realCount);
        // Several kernels share integer totals only if the sums of all are short.
        realTotals = realTotals || !integer || (count > 1 && widthOf(window, depth) != Width::half);
        if (count == 1 && integer && stage.fold == OWN_FOLD_COPY && fitsBytes(window, depth, stage))
            stage.sums = OwnConvSums::bytes;
    }
}
