// The colour median: of the pixels of a window the one with the least sum of distances to the others.
#include "owncolourmedian.h"

#include <string.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

constexpr ptrdiff_t blockPixels = 64;  // of a row at a time

// Memory for a block of pixels as numbers N and for the sums of a vector of them.
template <class N>
struct Scratch {
    static constexpr ptrdiff_t lanes = vectorBytes / ptrdiff_t(sizeof(N));

    ptrdiff_t pitch, planeValues, pixels;
    N* planes;         // of the channels
    N* sums;           // a vector for each pixel of the window
    int32_t* offsets;  // of each pixel of the window in a plane

    Scratch(ptrdiff_t nRows, ptrdiff_t nCols, void* memory)
        : pitch((blockPixels + nCols - 1 + lanes - 1) & -lanes),
          planeValues(pitch * nRows),
          pixels(nRows * nCols),
          planes(static_cast<N*>(memory)),
          sums(planes + 3 * planeValues),
          offsets(reinterpret_cast<int32_t*>(sums + pixels * lanes))
    {
    }

    static int64_t bytes(int64_t nRows, int64_t nCols)
    {
        const int64_t pitch = (blockPixels + nCols - 1 + lanes - 1) & -lanes, pixels = nRows * nCols;
        return (3 * pitch * nRows + pixels * lanes) * int64_t{sizeof(N)} + pixels * int64_t{sizeof(int32_t)};
    }
};

template <class N>
constexpr bool isReal = N(0.5) != N(0);

template <class N>
inline __attribute__((always_inline)) Vector<N> distance(Vector<N> a, Vector<N> b)
{
    // A difference with what is no number is none either.
    if constexpr (isReal<N>) {
        const Vector<N> difference = a - b;
        return difference < 0 ? -difference : difference;
    } else {
        return (a > b ? a : b) - (a < b ? a : b);
    }
}

template <class N>
void sumDistances(const Scratch<N>& scratch, ptrdiff_t x)
{
    auto channel = [&](int c, ptrdiff_t pixel) {
        return vectorAt<N>(scratch.planes + c * scratch.planeValues + scratch.offsets[pixel] + x);
    };
    constexpr ptrdiff_t lanes = Scratch<N>::lanes;
    memset(scratch.sums, 0, size_t(scratch.pixels * vectorBytes));
    for (ptrdiff_t i = 0; i < scratch.pixels; ++i) {
        const Vector<N> first = channel(0, i), second = channel(1, i), third = channel(2, i);
        Vector<N> sum = vectorAt<N>(scratch.sums, i * lanes);
        for (ptrdiff_t j = i + 1; j < scratch.pixels; ++j) {
            const Vector<N> both = distance<N>(first, channel(0, j)) + distance<N>(second, channel(1, j)) +
                                   distance<N>(third, channel(2, j));
            sum += both;
            const Vector<N> other = vectorAt<N>(scratch.sums, j * lanes) + both;
            memcpy(scratch.sums + j * lanes, &other, sizeof other);
        }
        memcpy(scratch.sums + i * lanes, &sum, sizeof sum);
    }
}

// Of as many windows as there are lanes: the first pixel with the least sum.
template <class N, class Index>
void findLeast(const Scratch<N>& scratch, Index* indices)
{
    constexpr ptrdiff_t lanes = Scratch<N>::lanes;
    Vector<N> least = vectorAt<N>(scratch.sums);
    Vector<Index> found = {};
    for (ptrdiff_t i = 1; i < scratch.pixels; ++i) {
        const Vector<N> sum = vectorAt<N>(scratch.sums, i * lanes);
        const Vector<Index> pixel = Vector<Index>{} + Index(i);
        found = sum < least ? pixel : found;
        least = sum < least ? sum : least;
    }
    memcpy(indices, &found, sizeof found);
}

template <class T, class N, class Index>
void medianRow(const OwnColourRow& row)
{
    const Scratch<N> scratch(row.nRows, row.nCols, row.scratch);
    constexpr ptrdiff_t lanes = Scratch<N>::lanes;
    for (ptrdiff_t i = 0; i < scratch.pixels; ++i)
        scratch.offsets[i] = int32_t(i / row.nCols * scratch.pitch + i % row.nCols);
    for (ptrdiff_t start = 0; start < row.width; start += blockPixels) {
        const ptrdiff_t pixels = row.width - start < blockPixels ? row.width - start : blockPixels;
        for (int c = 0; c < 3; ++c)
            for (ptrdiff_t y = 0; y < row.nRows; ++y) {
                N* const to = scratch.planes + c * scratch.planeValues + y * scratch.pitch;
                for (ptrdiff_t i = 0; i < pixels + row.nCols - 1; ++i)
                    to[i] = N(ownLoad<T>(row.rows[c][y], start + i));
            }
        for (ptrdiff_t x = 0; x < pixels; x += lanes) {
            sumDistances(scratch, x);
            Index indices[lanes];
            findLeast(scratch, indices);
            for (ptrdiff_t lane = 0; lane < lanes && x + lane < pixels; ++lane) {
                const ptrdiff_t place = scratch.offsets[indices[lane]] + x + lane;
                for (int c = 0; c < 3; ++c)
                    ownStore(row.result[c], start + x + lane, T(scratch.planes[c * scratch.planeValues + place]));
            }
        }
    }
}

template <class T, class N, class Index>
constexpr OwnColourMedian kernel = {Scratch<N>::bytes, medianRow<T, N, Index>};

constexpr OwnColourMedian none = {nullptr, nullptr};

}  // namespace

extern const OwnColourMedianKernels ownColourMedianKernels;
const OwnColourMedianKernels ownColourMedianKernels = {
    {none, kernel<uint8_t, int16_t, int16_t>, kernel<int8_t, int16_t, int16_t>, none, none, none, none},
    {none, kernel<uint8_t, int32_t, int32_t>, kernel<int8_t, int32_t, int32_t>, kernel<uint16_t, int32_t, int32_t>,
     kernel<int16_t, int32_t, int32_t>, none, kernel<float, float, int32_t>},
    {none, none, none, kernel<uint16_t, double, int64_t>, kernel<int16_t, double, int64_t>, none, none},
};

}  // namespace OWN_ISA
