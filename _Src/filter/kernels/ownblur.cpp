// Kernels of the box filter.
//
// Running sums make the cost independent of the window: column sums move down with the rows, and a window sum moves
// along each row. Column sums are independent of each other and vectorise as they stand. The window sum is a chain,
// each link of which needs the one before, and for float sums the order of the additions is fixed. So the fast form
// follows the chains of eight rows at once: it brings the column sums of eight rows into the form of vectors that each
// hold one column, moves eight window sums on by one addition and one subtraction, and brings the means back into rows.
#include "ownblur.h"

#include <string.h>

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

// ---- Depths -------------------------------------------------------------------------------------------------------

// Integer sums are modular: what does not fit on the way cancels out.
inline float realOf(uint32_t sum)
{
    return float(int32_t(sum));
}
inline float realOf(uint64_t sum)
{
    return float(int64_t(sum));
}
inline float realOf(float sum)
{
    return sum;
}

// A depth's samples as they are read and results as they are written.
template <class T>
struct Integers {
    using Sample = T;
    using Result = T;
    static Result resultOf(float mean) { return ownRounded<T>(mean); }
};
using Depth8U = Integers<uint8_t>;
using Depth8S = Integers<int8_t>;
using Depth16U = Integers<uint16_t>;
using Depth16S = Integers<int16_t>;
using Depth32S = Integers<int32_t>;

struct Depth1U {
    using Sample = uint8_t;  // 0 or 1
    using Result = uint8_t;  // 0 or 255
    static Result resultOf(float mean) { return mean >= 0.5f ? 255 : 0; }
};

struct Depth32F {
    using Sample = float;
    using Result = float;
    static Result resultOf(float mean) { return mean; }
};

// ---- Column sums --------------------------------------------------------------------------------------------------

template <class Depth, class Sum>
void addRow(const void* from, void* to, ptrdiff_t n)
{
    const OwnValues<typename Depth::Sample> row = {from};
    auto* sums = static_cast<Sum*>(to);
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        sums[i] += Sum(row[i]);
}

// next[i] = the column sums of the row after that of sums[i].
template <class Depth, class Sum>
inline __attribute__((always_inline)) void moveColumns(const OwnBlurBand& band, int row, ptrdiff_t first,
                                                       const Sum* sums, Sum* next, ptrdiff_t n)
{
    const OwnValues<typename Depth::Sample> enter = {band.enter[row]}, leave = {band.leave[row]};
    if (!leave.first) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            next[i] = sums[i] + Sum(enter[first + i]);
        return;
    }
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        next[i] = sums[i] + Sum(enter[first + i]) - Sum(leave[first + i]);
}

// ---- Window sums, a row at a time ---------------------------------------------------------------------------------

template <class Depth, class Sum>
void plainBand(const OwnBlurBand& band)
{
    auto* sums = static_cast<Sum*>(band.sums);
    ptrdiff_t window = band.nCols * band.step;
    ptrdiff_t columns = band.values + window - band.step;
    ptrdiff_t channels = band.step < band.values ? band.step : band.values;
    for (int row = 0; row < band.rows; ++row) {
        moveColumns<Depth, Sum>(band, row, 0, sums, sums, columns);
        auto store = [&](ptrdiff_t i, Sum sum) {
            ownStore(band.result[row], i, Depth::resultOf(realOf(sum) * band.scale));
        };
        for (ptrdiff_t channel = 0; channel < channels; ++channel) {
            Sum sum = 0;
            for (ptrdiff_t i = channel; i < channel + window; i += band.step)
                sum += sums[i];
            store(channel, sum);
            for (ptrdiff_t i = channel + band.step; i < band.values; i += band.step) {
                sum = sum + sums[i + window - band.step] - sums[i - band.step];
                store(i, sum);
            }
        }
    }
}

#if defined(__AVX2__)

// ---- Window sums, eight rows at a time ----------------------------------------------------------------------------

constexpr int blockColumns = 64;

// Eight sums.
struct IntLanes {
    using Sum = uint32_t;
    __m256i v;
    IntLanes operator+(IntLanes o) const { return {_mm256_add_epi32(v, o.v)}; }
    IntLanes operator-(IntLanes o) const { return {_mm256_sub_epi32(v, o.v)}; }
    static IntLanes of(__m256 bits) { return {_mm256_castps_si256(bits)}; }
    __m256 bits() const { return _mm256_castsi256_ps(v); }
    __m256 real() const { return _mm256_cvtepi32_ps(v); }
};
struct FloatLanes {
    using Sum = float;
    __m256 v;
    FloatLanes operator+(FloatLanes o) const { return {_mm256_add_ps(v, o.v)}; }
    FloatLanes operator-(FloatLanes o) const { return {_mm256_sub_ps(v, o.v)}; }
    static FloatLanes of(__m256 bits) { return {bits}; }
    __m256 bits() const { return v; }
    __m256 real() const { return v; }
};

// What eight samples from sample `at` on add to sums.
inline IntLanes sumsOf(OwnValues<uint8_t> samples, ptrdiff_t at)
{
    return {_mm256_cvtepu8_epi32(_mm_loadu_si64(static_cast<const uint8_t*>(samples.first) + at))};
}
inline IntLanes sumsOf(OwnValues<int8_t> samples, ptrdiff_t at)
{
    return {_mm256_cvtepi8_epi32(_mm_loadu_si64(static_cast<const uint8_t*>(samples.first) + at))};
}
inline __m128i eightHalves(const void* samples, ptrdiff_t at)
{
    return _mm_loadu_si128(reinterpret_cast<const __m128i*>(static_cast<const uint8_t*>(samples) + at * 2));
}
inline IntLanes sumsOf(OwnValues<uint16_t> samples, ptrdiff_t at)
{
    return {_mm256_cvtepu16_epi32(eightHalves(samples.first, at))};
}
inline IntLanes sumsOf(OwnValues<int16_t> samples, ptrdiff_t at)
{
    return {_mm256_cvtepi16_epi32(eightHalves(samples.first, at))};
}
inline __m256i eightWords(const void* samples, ptrdiff_t at)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const uint8_t*>(samples) + at * 4));
}
inline FloatLanes sumsOf(OwnValues<int32_t> samples, ptrdiff_t at)
{
    return {_mm256_cvtepi32_ps(eightWords(samples.first, at))};
}
inline FloatLanes sumsOf(OwnValues<float> samples, ptrdiff_t at)
{
    return {_mm256_castsi256_ps(eightWords(samples.first, at))};
}

template <class Sum>
struct LanesFor {
    using type = IntLanes;
};
template <>
struct LanesFor<float> {
    using type = FloatLanes;
};
template <class Sum>
using LanesOf = typename LanesFor<Sum>::type;

// Four columns of rows r and r + 4 in one vector become four vectors of a column each; and back.
inline void transpose(__m256& a, __m256& b, __m256& c, __m256& d)
{
    __m256 ab = _mm256_unpacklo_ps(a, b), ba = _mm256_unpackhi_ps(a, b);
    __m256 cd = _mm256_unpacklo_ps(c, d), dc = _mm256_unpackhi_ps(c, d);
    a = _mm256_shuffle_ps(ab, cd, 0x44);
    b = _mm256_shuffle_ps(ab, cd, 0xEE);
    c = _mm256_shuffle_ps(ba, dc, 0x44);
    d = _mm256_shuffle_ps(ba, dc, 0xEE);
}

// Eight columns of the eight rows of `stage`.
template <class Lanes>
inline void loadColumns(const typename Lanes::Sum (*stage)[blockColumns], int column, Lanes* lanes)
{
    for (int half = 0; half < 8; half += 4) {
        __m256 rows[4];
        for (int i = 0; i < 4; ++i) {
            auto* low = reinterpret_cast<const float*>(stage[i] + column + half);
            auto* high = reinterpret_cast<const float*>(stage[i + 4] + column + half);
            rows[i] = _mm256_insertf128_ps(_mm256_castps128_ps256(_mm_load_ps(low)), _mm_load_ps(high), 1);
        }
        transpose(rows[0], rows[1], rows[2], rows[3]);
        for (int i = 0; i < 4; ++i)
            lanes[half + i] = Lanes::of(rows[i]);
    }
}

// ---- Results, eight columns of eight rows at a time ----------------------------------------------------------------

inline void storeWords(const __m256i* columns, int32_t (*out)[blockColumns], int column)
{
    for (int half = 0; half < 8; half += 4) {
        __m256 rows[4];
        for (int i = 0; i < 4; ++i)
            rows[i] = _mm256_castsi256_ps(columns[half + i]);
        transpose(rows[0], rows[1], rows[2], rows[3]);
        for (int i = 0; i < 4; ++i) {
            __m256i row = _mm256_castps_si256(rows[i]);
            _mm_store_si128(reinterpret_cast<__m128i*>(out[i] + column + half), _mm256_castsi256_si128(row));
            _mm_store_si128(reinterpret_cast<__m128i*>(out[i + 4] + column + half), _mm256_extracti128_si256(row, 1));
        }
    }
}

// pairs[i] holds columns 2 i and 2 i + 1: rows 0 to 3 of one and of the other in the low half, rows 4 to 7 in the high.
inline void storeHalves(const __m256i* pairs, uint16_t (*out)[blockColumns], int column)
{
    const __m256i byRow =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
    __m256i p[4];
    for (int i = 0; i < 4; ++i)
        p[i] = _mm256_shuffle_epi8(pairs[i], byRow);
    __m256i a = _mm256_unpacklo_epi32(p[0], p[1]), b = _mm256_unpacklo_epi32(p[2], p[3]);
    __m256i c = _mm256_unpackhi_epi32(p[0], p[1]), d = _mm256_unpackhi_epi32(p[2], p[3]);
    const __m256i rows[4] = {_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b), _mm256_unpacklo_epi64(c, d),
                             _mm256_unpackhi_epi64(c, d)};
    for (int i = 0; i < 4; ++i) {
        _mm_store_si128(reinterpret_cast<__m128i*>(out[i] + column), _mm256_castsi256_si128(rows[i]));
        _mm_store_si128(reinterpret_cast<__m128i*>(out[i + 4] + column), _mm256_extracti128_si256(rows[i], 1));
    }
}

// fours[i] holds columns 4 i to 4 i + 3, each with its rows as above.
inline void storeBytes(const __m256i* fours, uint8_t (*out)[blockColumns], int column)
{
    const __m256i byRow =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
    __m256i left = _mm256_shuffle_epi8(fours[0], byRow);
    __m256i right = _mm256_shuffle_epi8(fours[1], byRow);
    const __m256i rows[2] = {_mm256_unpacklo_epi32(left, right), _mm256_unpackhi_epi32(left, right)};
    for (int i = 0; i < 2; ++i) {
        __m128i low = _mm256_castsi256_si128(rows[i]);
        __m128i high = _mm256_extracti128_si256(rows[i], 1);
        const __m128i pairs[2] = {low, high};
        for (int k = 0; k < 2; ++k) {
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out[2 * i + 4 * k] + column), pairs[k]);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(out[2 * i + 4 * k + 1] + column),
                             _mm_unpackhi_epi64(pairs[k], pairs[k]));
        }
    }
}

// Rounding is to nearest, ties to even; packing saturates.
template <class Depth>
inline void storeMeans(const __m256* means, typename Depth::Result (*out)[blockColumns], int column)
{
    constexpr bool bits = __is_same(Depth, Depth1U);
    __m256i m[8];
    for (int i = 0; i < 8; ++i) {
        if constexpr (bits)
            m[i] = _mm256_castps_si256(_mm256_cmp_ps(means[i], _mm256_set1_ps(0.5f), _CMP_GE_OQ));
        else if constexpr (__is_same(Depth, Depth32F))
            m[i] = _mm256_castps_si256(means[i]);
        else
            m[i] = _mm256_cvtps_epi32(means[i]);
        // What is too large for a conversion becomes the lowest value.
        if constexpr (__is_same(Depth, Depth32S))
            m[i] = _mm256_xor_si256(
                m[i], _mm256_castps_si256(_mm256_cmp_ps(means[i], _mm256_set1_ps(2147483648.0f), _CMP_GE_OQ)));
    }
    if constexpr (sizeof(typename Depth::Result) == 4) {
        storeWords(m, reinterpret_cast<int32_t(*)[blockColumns]>(out), column);
        return;
    }
    __m256i pairs[4];
    for (int i = 0; i < 4; ++i)
        pairs[i] = __is_same(Depth, Depth16U) ? _mm256_packus_epi32(m[2 * i], m[2 * i + 1])
                                              : _mm256_packs_epi32(m[2 * i], m[2 * i + 1]);
    if constexpr (sizeof(typename Depth::Result) == 2) {
        storeHalves(pairs, reinterpret_cast<uint16_t(*)[blockColumns]>(out), column);
        return;
    }
    __m256i fours[2];
    for (int i = 0; i < 2; ++i)
        fours[i] = __is_same(Depth, Depth8U) ? _mm256_packus_epi16(pairs[2 * i], pairs[2 * i + 1])
                                             : _mm256_packs_epi16(pairs[2 * i], pairs[2 * i + 1]);
    storeBytes(fours, reinterpret_cast<uint8_t(*)[blockColumns]>(out), column);
}

// ---- The band -----------------------------------------------------------------------------------------------------

// The columns that have entered the windows wait in memory of this size until they leave.
inline ptrdiff_t historyColumns(ptrdiff_t window)
{
    constexpr ptrdiff_t least = 1024;
    ptrdiff_t room = window > least ? window : least;
    return window + (room + blockColumns - 1) / blockColumns * blockColumns;
}

// Copies up to a block in pieces of known sizes. Of a memcpy or a loop that it knows to be short the compiler makes a
// string instruction, which is slow.
template <int bytes>
inline void copyPiece(char* d, const char* s)
{
    constexpr int most = 32;
    __builtin_memcpy(d, s, bytes < most ? bytes : most);
    if constexpr (bytes > most)
        copyPiece<bytes - most>(d + most, s + most);
}
template <int piece>
inline void copyPieces(char* d, const char* s, ptrdiff_t bytes)
{
    bool taken = bytes & piece;
    if (taken)
        copyPiece<piece>(d, s);
    if constexpr (piece > 1)
        copyPieces<piece / 2>(d + taken * piece, s + taken * piece, bytes);
}
template <class T>
inline void copyValues(void* to, const T* from, ptrdiff_t n)
{
    constexpr int size = int(sizeof(T));
    copyPieces<blockColumns * size>(static_cast<char*>(to), reinterpret_cast<const char*>(from), n * size);
}

// The column sums of a block in the row after that of `above`. Eights overlap at the end.
template <class Depth, class Lanes>
inline void stageRow(const OwnBlurBand& band, int row, ptrdiff_t first, ptrdiff_t count,
                     const typename Lanes::Sum* above, typename Lanes::Sum* stage)
{
    if (count < 8)
        return moveColumns<Depth>(band, row, first, above, stage, count);
    const OwnValues<typename Depth::Sample> enter = {band.enter[row]}, leave = {band.leave[row]};
    auto eights = [=](auto sums) {
        for (ptrdiff_t at = 0; at < count - 8; at += 8)
            _mm256_storeu_ps(reinterpret_cast<float*>(stage + at), sums(at).bits());
        _mm256_storeu_ps(reinterpret_cast<float*>(stage + count - 8), sums(count - 8).bits());
    };
    auto entered = [=](ptrdiff_t at) {
        return Lanes::of(_mm256_loadu_ps(reinterpret_cast<const float*>(above + at))) + sumsOf(enter, first + at);
    };
    if (leave.first)
        eights([=](ptrdiff_t at) { return entered(at) - sumsOf(leave, first + at); });
    else
        eights(entered);
}

template <class Depth, class Lanes>
inline void stageColumns(const OwnBlurBand& band, ptrdiff_t first, ptrdiff_t count,
                         typename Lanes::Sum (*stage)[blockColumns])
{
    auto* sums = static_cast<typename Lanes::Sum*>(band.sums) + first;
    const auto* above = sums;
    for (int row = 0; row < band.rows; ++row) {
        stageRow<Depth, Lanes>(band, row, first, count, above, stage[row]);
        above = stage[row];
    }
    copyValues(sums, above, count);
}

// Moves eight windows on by eight columns, from the window sums of the eight columns before. `entering` receives the
// columns; those that leave lie `window` before them.
template <class Lanes>
inline __attribute__((always_inline)) void moveWindows(const typename Lanes::Sum (*stage)[blockColumns], int column,
                                                       ptrdiff_t step, ptrdiff_t window, Lanes* entering,
                                                       Lanes (&sums)[16])
{
    Lanes columns[8];
    loadColumns<Lanes>(stage, column, columns);
    for (int i = 0; i < 8; ++i)
        entering[i] = columns[i];
    for (int i = 0; i < 8; ++i)
        sums[8 + i] = sums[8 + i - step] + columns[i] - entering[i - window];
}

// Stores a block's results, the first of them at value `at` of the rows; those before value 0 are none.
template <class Result>
inline void storeBlock(const OwnBlurBand& band, const Result (*results)[blockColumns], ptrdiff_t at, ptrdiff_t count)
{
    ptrdiff_t skip = at < 0 ? -at : 0;
    for (int row = 0; row < band.rows && skip < count; ++row) {
        auto* to = static_cast<char*>(band.result[row]) + (at + skip) * ptrdiff_t(sizeof(Result));
        copyValues(to, results[row] + skip, count - skip);
    }
}

template <class Depth, class Lanes, int fixedStep>
void vectorBand(const OwnBlurBand& band)
{
    using Sum = typename Lanes::Sum;
    alignas(64) Sum stage[ownBlurRows][blockColumns] = {};
    alignas(64) typename Depth::Result results[ownBlurRows][blockColumns];
    Lanes sums[16] = {};  // the window sums of eight columns, and before them those of the last eight
    const ptrdiff_t step = fixedStep ? fixedStep : band.step;
    const ptrdiff_t window = band.nCols * step;
    const ptrdiff_t columns = band.values + window - step;
    const ptrdiff_t room = historyColumns(window);
    const __m256 scale = _mm256_set1_ps(band.scale);
    // Before the first whole window nothing but zeros leaves, and what it makes is not stored.
    auto* history = static_cast<Lanes*>(band.scratch);
    memset(history, 0, size_t(window) * sizeof(Lanes));
    ptrdiff_t position = window;
    for (ptrdiff_t first = 0; first < columns; first += blockColumns, position += blockColumns) {
        ptrdiff_t count = columns - first < blockColumns ? columns - first : blockColumns;
        stageColumns<Depth, Lanes>(band, first, count, stage);
        if (position + blockColumns > room) {
            memcpy(history, history + position - window, size_t(window) * sizeof(Lanes));
            position = window;
        }
        for (int column = 0; column < count; column += 8) {
            moveWindows(stage, column, step, window, history + position + column, sums);
            __m256 means[8];
            for (int i = 0; i < 8; ++i) {
                means[i] = _mm256_mul_ps(sums[8 + i].real(), scale);
                sums[i] = sums[8 + i];
            }
            storeMeans<Depth>(means, results, column);
        }
        storeBlock(band, results, first - (window - step), count);
    }
}

#endif

int64_t scratchBytes([[maybe_unused]] int64_t step, [[maybe_unused]] int64_t nCols)
{
#if defined(__AVX2__)
    return historyColumns(ptrdiff_t(step * nCols)) * int64_t{sizeof(__m256)};
#else
    return 1;
#endif
}

// The band of sums that fit 32 bits.
template <class Depth, class Sum>
void narrowBand(const OwnBlurBand& band)
{
#if defined(__AVX2__)
    using Lanes = LanesOf<Sum>;
    switch (band.step) {
    case 1: return vectorBand<Depth, Lanes, 1>(band);
    case 3: return vectorBand<Depth, Lanes, 3>(band);
    case 4: return vectorBand<Depth, Lanes, 4>(band);
    default: return vectorBand<Depth, Lanes, 0>(band);
    }
#else
    plainBand<Depth, Sum>(band);
#endif
}

template <class Depth, class Sum>
constexpr OwnBlurKernel narrowOf = {sizeof(Sum), addRow<Depth, Sum>, narrowBand<Depth, Sum>};
template <class Depth>
constexpr OwnBlurKernel wideOf = {sizeof(uint64_t), addRow<Depth, uint64_t>, plainBand<Depth, uint64_t>};
constexpr OwnBlurKernel none = {0, nullptr, nullptr};

}  // namespace

extern const OwnBlurKernels ownBlurKernels;
const OwnBlurKernels ownBlurKernels = {
    {narrowOf<Depth1U, uint32_t>, narrowOf<Depth8U, uint32_t>, narrowOf<Depth8S, uint32_t>,
     narrowOf<Depth16U, uint32_t>, narrowOf<Depth16S, uint32_t>, narrowOf<Depth32S, float>, narrowOf<Depth32F, float>},
    {wideOf<Depth1U>, wideOf<Depth8U>, wideOf<Depth8S>, wideOf<Depth16U>, wideOf<Depth16S>, none, none},
    scratchBytes,
};

}  // namespace OWN_ISA
