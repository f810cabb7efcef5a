// For kernel sources only: lines between two floats of a row. Where the samples of four values lie within eight floats,
// one load and one permutation bring them all.
#pragma once

#include "ownpack.h"
#include "ownpick.h"

#if defined(OWN_ISA)
namespace OWN_ISA {

struct FloatWindows {
    ptrdiff_t count = 0;  // of groups of four values, of which the last may overlap the one before it; 0 for none
    int32_t* starts;      // where eight floats begin in the row
    int32_t* order;       // [group][8]: of the four first samples and of the four second ones

    static int64_t bytes([[maybe_unused]] int64_t values)
    {
#if defined(__AVX2__)
        const int64_t groups = (values + 3) / 4;
        return roomFor(values, sizeof(int32_t)) + roomFor(groups, sizeof(int32_t)) +
               roomFor(groups * 8, sizeof(int32_t));
#else
        return 0;
#endif
    }
};

#if defined(__AVX2__)

inline ptrdiff_t firstOfFour(ptrdiff_t group, ptrdiff_t values)
{
    return group * 4 < values - 4 ? group * 4 : values - 4;
}

inline void makeFloatWindows(FloatWindows& windows, Memory& memory, const OwnScaleColumns& columns)
{
    const ptrdiff_t n = columns.values(), lanes = columns.lanes, groups = (n + 3) / 4;
    const ptrdiff_t lastStart = columns.sourceCount * lanes - 8;
    if (n < 4 || lastStart < 0)
        return;
    auto* from = memory.take<int32_t>(n);
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        for (ptrdiff_t lane = 0; lane < lanes; ++lane)
            from[i * lanes + lane] = int32_t((columns.index[i] - columns.base) * lanes + lane);
    windows.starts = memory.take<int32_t>(groups);
    windows.order = memory.take<int32_t>(groups * 8);
    for (ptrdiff_t group = 0; group < groups; ++group) {
        const int32_t* first = from + firstOfFour(group, n);
        int32_t low = first[0], high = first[0];
        for (int i = 1; i < 4; ++i) {
            low = first[i] < low ? first[i] : low;
            high = first[i] > high ? first[i] : high;
        }
        const auto start = int32_t(low < lastStart ? low : lastStart);
        if (high + lanes - start >= 8)
            return;
        windows.starts[group] = start;
        for (int i = 0; i < 4; ++i) {
            windows.order[group * 8 + i] = first[i] - start;
            windows.order[group * 8 + 4 + i] = int32_t(first[i] + lanes - start);
        }
    }
    windows.count = groups;
}

// Rows of n values of method M.
template <class M, int rows>
void acrossWindows(const FloatWindows& windows, typename M::Weight* const (&givenWeights)[M::weights],
                   const void* const* givenSrc, void* const* givenRing, ptrdiff_t n)
{
    using Ring = typename M::Ring;
    const typename M::Weight* weights[M::weights];
    for (int k = 0; k < M::weights; ++k)
        weights[k] = givenWeights[k];
    const ByteRows<rows> src(givenSrc);
    Ring* ring[rows];
    for (int row = 0; row < rows; ++row)
        ring[row] = static_cast<Ring*>(givenRing[row]);
    const int32_t *starts = windows.starts, *orders = windows.order;
    auto run = [=](ptrdiff_t group, ptrdiff_t at) {
        const __m256i order = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(orders + group * 8));
        const ptrdiff_t start = starts[group] * ptrdiff_t{sizeof(float)};
        __m256d w[M::weights];
        for (int k = 0; k < M::weights; ++k)
            w[k] = realsAt(weights[k], at);
        for (int row = 0; row < rows; ++row) {
            const __m256i window = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(src.row[row] + start));
            const __m256 samples = _mm256_castsi256_ps(_mm256_permutevar8x32_epi32(window, order));
            const __m256d a = _mm256_cvtps_pd(_mm256_castps256_ps128(samples));
            const __m256d b = _mm256_cvtps_pd(_mm256_extractf128_ps(samples, 1));
            storeReals(ring[row], at, M::between(a, b, w));
        }
    };
    const ptrdiff_t last = windows.count - 1;
    for (ptrdiff_t group = 0; group < last; ++group)
        run(group, group * 4);
    run(last, n - 4);
}

#endif

}  // namespace OWN_ISA
#endif
