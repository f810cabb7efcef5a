#include "ownconvrows.h"

#include "../core/ownlayout.h"

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

int16_t ownLowHalf(int32_t weight)
{
    return int16_t(weight);
}

int16_t ownHighHalf(int32_t weight)
{
    return int16_t((uint32_t(weight) - uint32_t(int32_t{ownLowHalf(weight)})) >> 16);
}

OwnPairPlace* ownWritePairs(const OwnConvWindow& window, const OwnCorner& corner, int16_t (*half)(int32_t),
                            OwnPairPlace* to)
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

int64_t ownMostPairs(const OwnConvWindow& window)
{
    return (ownPairRows(window.nRows) + 1) * window.nCols + 1;
}

int32_t ownStartOf16U(const OwnConvWindow& window)
{
    uint32_t sum = 0;
    for (int64_t i = 0; i < window.valueCount(); ++i)
        sum += uint32_t(window.integers[i]);
    return int32_t(sum * 32768);
}

OwnSumRange ownSumRange(const OwnConvWindow& window, uint32_t depth)
{
    double least = double(ownLowest(depth)), greatest = double(ownHighest(depth));
    OwnSumRange range = {0, 0};
    for (int64_t i = 0; i < window.valueCount(); ++i) {
        double a = window.integers[i] * least, b = window.integers[i] * greatest;
        range.least += a < b ? a : b;
        range.greatest += a < b ? b : a;
    }
    return range;
}

bool ownPairsFitBytes(const OwnPairPlace* places, ptrdiff_t count, uint32_t depth)
{
    if (depth != ORV_DEPTH_1U && depth != ORV_DEPTH_8U)
        return false;
    const double largest = double(ownHighest(depth));
    for (const OwnPairPlace* place = places; place < places + count; ++place)
        for (const auto& weights : place->weights) {
            int32_t above = 0, below = 0;
            for (int32_t weight : weights) {
                if (weight < INT8_MIN || weight > INT8_MAX)
                    return false;
                (weight > 0 ? above : below) += weight;
            }
            if (above * largest > INT16_MAX || below * largest < INT16_MIN)
                return false;
        }
    return true;
}
