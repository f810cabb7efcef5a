// Kernels of the box filter for bytes and bits whose sums are short.
#include "ownblurbytes.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

#if defined(__AVX2__)

inline __m256i load(const void* from, int i = 0)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from) + i);
}

inline void store(void* to, int i, __m256i v)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to) + i, v);
}

inline __m256i words(const uint8_t* bytes, int i)
{
    return _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(bytes) + i));
}

// Sixteen sums times a scale to nearest, ties to even, as words: four of `low`, four of `high`, and again.
inline __m256i rounded(__m256 low, __m256 high, __m256 scale)
{
    return _mm256_packs_epi32(_mm256_cvtps_epi32(_mm256_mul_ps(low, scale)),
                              _mm256_cvtps_epi32(_mm256_mul_ps(high, scale)));
}

// The finish of sixteen sums, which begin with a bias: words from 0 to 255.
struct ByMultiplier {
    __m256i multiplier, power;  // the latter shifts to the right, which costs less than a shift by a variable
    explicit ByMultiplier(const OwnBlurFinish& finish)
        : multiplier(_mm256_set1_epi16(int16_t(finish.mean.multiplier))),
          power(_mm256_set1_epi16(int16_t(65536 >> finish.mean.shift)))
    {
    }
    __m256i operator()(__m256i sums) const { return _mm256_mulhi_epu16(_mm256_mulhi_epu16(sums, multiplier), power); }
};
struct ByScale {
    __m256 scale;
    explicit ByScale(const OwnBlurFinish& finish) : scale(_mm256_set1_ps(finish.scale)) {}
    __m256i operator()(__m256i sums) const
    {
        const __m256i zero = _mm256_setzero_si256();
        return rounded(_mm256_cvtepi32_ps(_mm256_unpacklo_epi16(sums, zero)),
                       _mm256_cvtepi32_ps(_mm256_unpackhi_epi16(sums, zero)), scale);
    }
};
struct ToBits {
    __m256i below;  // the largest sum that gives 0
    explicit ToBits(const OwnBlurFinish& finish) : below(_mm256_set1_epi16(int16_t(finish.half - 1))) {}
    __m256i operator()(__m256i sums) const { return _mm256_srli_epi16(_mm256_cmpgt_epi16(sums, below), 8); }
};

#else

struct ByMultiplier {
    OwnBlurMean mean;
    explicit ByMultiplier(const OwnBlurFinish& finish) : mean(finish.mean) {}
    uint8_t operator()(uint16_t sum) const { return uint8_t(uint32_t(sum) * mean.multiplier >> 16 >> mean.shift); }
};
struct ByScale {
    float scale;
    explicit ByScale(const OwnBlurFinish& finish) : scale(finish.scale) {}
    uint8_t operator()(uint16_t sum) const { return ownRounded<uint8_t>(float(sum) * scale); }
};
struct ToBits {
    int32_t half;
    explicit ToBits(const OwnBlurFinish& finish) : half(finish.half) {}
    uint8_t operator()(uint16_t sum) const { return sum >= half ? 255 : 0; }
};

#endif

// ---- By sums of columns -------------------------------------------------------------------------------------------

constexpr ptrdiff_t blockValues = 64;

void moveColumns(const OwnBlurColumns& row)
{
    const OwnValues<uint8_t> enter = {row.enter}, leave = {row.leave};
    uint16_t* columns = row.columns;
    ptrdiff_t i = 0;
    if (!row.leave) {
#pragma GCC ivdep
        for (; i < row.columnValues; ++i)
            columns[i] = uint16_t(columns[i] + enter[i]);
        return;
    }
#if defined(__AVX2__)
    for (; i + 16 <= row.columnValues; i += 16) {
        const __m256i moved = _mm256_sub_epi16(words(row.enter + i, 0), words(row.leave + i, 0));
        store(columns + i, 0, _mm256_add_epi16(load(columns + i), moved));
    }
#endif
#pragma GCC ivdep
    for (; i < row.columnValues; ++i)
        columns[i] = uint16_t(columns[i] + enter[i] - leave[i]);
}

#if defined(__AVX2__)

template <class Finish>
inline void finishBlock(const OwnBlurColumns& row, const Finish& finish, ptrdiff_t at, void* to)
{
    const uint16_t* columns = row.columns + at;
    __m256i a = _mm256_set1_epi16(int16_t(row.finish.bias)), b = a, c = a, d = a;
    for (ptrdiff_t k = 0; k < row.nCols; ++k, columns += row.step) {
        a = _mm256_add_epi16(a, load(columns, 0));
        b = _mm256_add_epi16(b, load(columns, 1));
        c = _mm256_add_epi16(c, load(columns, 2));
        d = _mm256_add_epi16(d, load(columns, 3));
    }
    constexpr int inOrder = 0xD8;
    store(to, 0, _mm256_permute4x64_epi64(_mm256_packus_epi16(finish(a), finish(b)), inOrder));
    store(to, 1, _mm256_permute4x64_epi64(_mm256_packus_epi16(finish(c), finish(d)), inOrder));
}

#else

template <class Finish>
inline void finishBlock(const OwnBlurColumns& row, const Finish& finish, ptrdiff_t at, uint8_t* to)
{
    uint16_t sums[blockValues];
    for (uint16_t& sum : sums)
        sum = uint16_t(row.finish.bias);
    for (ptrdiff_t k = 0; k < row.nCols; ++k)
        for (ptrdiff_t i = 0; i < blockValues; ++i)
            sums[i] = uint16_t(sums[i] + row.columns[at + k * row.step + i]);
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        to[i] = finish(sums[i]);
}

#endif

template <class Finish>
void byColumns(const OwnBlurColumns& row)
{
    moveColumns(row);
    if (!row.result)
        return;
    const Finish finish(row.finish);
    ptrdiff_t at = 0;
    for (; at + blockValues <= row.values; at += blockValues)
        finishBlock(row, finish, at, row.result + at);
    if (at == row.values)
        return;
    uint8_t rest[blockValues];
    finishBlock(row, finish, at, rest);
    __builtin_memcpy(row.result + at, rest, size_t(row.values - at));
}

// ---- By sums of rows ----------------------------------------------------------------------------------------------

#if defined(__AVX2__)

// Two vectors of results: of the pixels at even places, and of those that follow them.
struct EvenOdd {
    __m256i even, odd;
};

constexpr ptrdiff_t rowBlock = 32;  // pixels

// Room for the sums of 1, 2, 4 and more pairs, which are made of the row that enters.
constexpr int mostLevels = 6;
inline ptrdiff_t levelValues(ptrdiff_t values, ptrdiff_t nCols)
{
    return (values + nCols + 2 * rowBlock) / 2;
}

// The pairs that the windows of an even pixel and the next have in common are this many.
inline ptrdiff_t pairsOf(const OwnBlurRows& row)
{
    return row.nCols / 2;
}

inline __m256i sumOfPairs(const uint8_t* samples)
{
    return _mm256_maddubs_epi16(load(samples), _mm256_set1_epi8(1));
}

template <int pairs>
inline __m256i sumOfFewPairs(const uint8_t* samples)
{
    __m256i sum = _mm256_setzero_si256();
    for (int i = 0; i < pairs; ++i)
        sum = _mm256_add_epi16(sum, sumOfPairs(samples + 2 * i));
    return sum;
}

// Few pairs are added up where they are needed.
template <int pairs>
struct FewPairs {
    explicit FewPairs(const OwnBlurRows&) {}

    // For the sixteen even pixels from `at` on, whose samples begin at `samples`.
    __m256i operator()(const uint8_t* samples, ptrdiff_t) const { return sumOfFewPairs<pairs>(samples + 1); }
};

// Of many pairs the sums of 1, 2, 4 and so on are made first, from each odd sample on; some of these are the sum of
// all.
struct ManyPairs {
    const uint16_t* terms[mostLevels + 1] = {};
    int count = 0;

    explicit ManyPairs(const OwnBlurRows& row)
    {
        const ptrdiff_t step = levelValues(row.values, row.nCols), pairs = pairsOf(row);
        const ptrdiff_t n = (row.values + 1) / 2 + pairs - 1;
        const OwnValues<uint8_t> samples = {row.enter + 1};
        uint16_t* level = row.scratch;
        ptrdiff_t i = 0, done = 0;
        for (; i + 16 <= n; i += 16)
            store(level + i, 0, sumOfPairs(row.enter + 1 + 2 * i));
        if (n >= 16)
            store(level + n - 16, 0, sumOfPairs(row.enter + 1 + 2 * (n - 16)));
        for (; n < 16 && i < n; ++i)
            level[i] = uint16_t(samples[2 * i] + samples[2 * i + 1]);
        for (ptrdiff_t reach = 1; reach <= pairs; reach *= 2, level += step) {
            if (pairs & reach) {
                terms[count++] = level + done;
                done += reach;
            }
            for (i = 0; 2 * reach <= pairs && i < n; i += 16)
                store(level + step + i, 0, _mm256_add_epi16(load(level + i), load(level + i + reach)));
        }
    }
    __m256i operator()(const uint8_t*, ptrdiff_t at) const
    {
        __m256i sum = load(terms[0] + at / 2);
        for (int i = 1; i < count; ++i)
            sum = _mm256_add_epi16(sum, load(terms[i] + at / 2));
        return sum;
    }
};

struct ShortTotals {
    using Total = uint16_t;

    template <class Finish>
    static __m256i move(void* totals, __m256i moved, const Finish& finish)
    {
        const __m256i sums = _mm256_add_epi16(load(totals), moved);
        store(totals, 0, sums);
        return finish(sums);
    }
};

// Totals are 65536 times as large, since words become the upper halves of the integers that are made floats.
struct FloatTotals {
    using Total = float;

    static __m256i move(void* totals, __m256i moved, const ByScale& finish)
    {
        auto* total = static_cast<float*>(totals);
        const __m256i zero = _mm256_setzero_si256();
        const __m256 low =
            _mm256_add_ps(_mm256_loadu_ps(total), _mm256_cvtepi32_ps(_mm256_unpacklo_epi16(zero, moved)));
        const __m256 high =
            _mm256_add_ps(_mm256_loadu_ps(total + 8), _mm256_cvtepi32_ps(_mm256_unpackhi_epi16(zero, moved)));
        _mm256_storeu_ps(total, low);
        _mm256_storeu_ps(total + 8, high);
        return rounded(low, high, finish.scale);
    }
};

// The results of 32 pixels, whose samples begin at `samples`.
template <class Totals, class Common, class Finish>
inline __m256i moveBlock(const OwnBlurRows& row, const Common& commonOf, const Finish& finish, const uint8_t* samples,
                         ptrdiff_t at)
{
    const __m256i common = commonOf(samples, at);
    const __m256i even = _mm256_add_epi16(common, _mm256_and_si256(load(samples), _mm256_set1_epi16(255)));
    const __m256i odd = _mm256_add_epi16(common, _mm256_srli_epi16(load(samples + row.nCols - 1), 8));
    uint16_t* sums = row.sums + at;
    auto* totals = static_cast<typename Totals::Total*>(row.totals) + at;
    const __m256i first = Totals::move(totals, _mm256_sub_epi16(even, load(sums, 0)), finish);
    const __m256i second = Totals::move(totals + 16, _mm256_sub_epi16(odd, load(sums, 1)), finish);
    store(sums, 0, even);
    store(sums, 1, odd);
    return _mm256_or_si256(first, _mm256_slli_epi16(second, 8));
}

template <class Totals, class Common, class Finish>
void moveRow(const OwnBlurRows& callersRow)
{
    OwnBlurRows row = callersRow;  // that nothing which is stored can change
    if constexpr (__is_same(Totals, FloatTotals))
        row.finish.scale /= 65536;
    const Finish finish(row.finish);
    const Common commonOf(row);
    ptrdiff_t at = 0;
    for (; at + rowBlock <= row.values; at += rowBlock) {
        const __m256i bytes = moveBlock<Totals>(row, commonOf, finish, row.enter + at, at);
        if (row.result)
            store(row.result + at, 0, bytes);
    }
    if (at == row.values)
        return;
    uint8_t samples[rowBlock + 2 * 128] = {}, rest[rowBlock];
    const ptrdiff_t left = row.values - at;
    __builtin_memcpy(samples, row.enter + at, size_t(left + row.nCols - 1));
    store(rest, 0, moveBlock<Totals>(row, commonOf, finish, samples, at));
    if (row.result)
        __builtin_memcpy(row.result + at, rest, size_t(left));
}

template <class Totals, class Finish>
void byRowsOf(const OwnBlurRows& row)
{
    switch (pairsOf(row)) {
    case 0: return moveRow<Totals, FewPairs<0>, Finish>(row);
    case 1: return moveRow<Totals, FewPairs<1>, Finish>(row);
    case 2: return moveRow<Totals, FewPairs<2>, Finish>(row);
    case 3: return moveRow<Totals, FewPairs<3>, Finish>(row);
    default: return moveRow<Totals, ManyPairs, Finish>(row);
    }
}

template <class Finish>
void byRows(const OwnBlurRows& row)
{
    byRowsOf<ShortTotals, Finish>(row);
}
void byRowsWide(const OwnBlurRows& row)
{
    byRowsOf<FloatTotals, ByScale>(row);
}

ptrdiff_t scratchValues(ptrdiff_t values, ptrdiff_t nCols)
{
    return (mostLevels + 1) * levelValues(values, nCols) + 128;
}

// ---- By squares ---------------------------------------------------------------------------------------------------

// The sums of windows. A row goes at once into all that have it.
template <int size>
struct RunningSums {
    __m256i open[size - 1] = {};  // of as many rows as the place tells, and one more

    __m256i next(__m256i row)
    {
        const __m256i sum = _mm256_add_epi16(open[size - 2], row);
        for (int i = size - 2; i > 0; --i)
            open[i] = _mm256_add_epi16(open[i - 1], row);
        open[0] = row;
        return sum;
    }
};

// The quotient in parts of 2^-shift is cut, which does not take it below a half, and then rounded: so no sum needs a
// bias.
constexpr bool cutsToSameMean(uint32_t samples)
{
    const OwnBlurMean mean = ownBlurMean(samples);
    for (uint32_t sum = 0; sum <= 255 * samples; ++sum) {
        const uint32_t parts = sum * mean.multiplier >> 16;
        if ((parts + (1u << mean.shift) / 2) >> mean.shift != (2 * sum + samples) / (2 * samples))
            return false;
    }
    return true;
}

// Of sixteen sums, as words.
template <int size>
inline __m256i meansOf(__m256i sums)
{
    constexpr OwnBlurMean mean = ownBlurMean(size * size);
    static_assert(cutsToSameMean(size * size));
    const __m256i parts = _mm256_mulhi_epu16(sums, _mm256_set1_epi16(int16_t(mean.multiplier)));
    return _mm256_mulhrs_epi16(parts, _mm256_set1_epi16(1 << (15 - mean.shift)));
}

// Goes down 32 columns from value i of the rows on.
template <int size>
inline void meansOfBlock(const OwnFixedBand& band, ptrdiff_t i)
{
    const void* const* const rows = band.rows;
    void* const* const results = band.results;
    const ptrdiff_t count = band.count;
    RunningSums<size> even, odd;
    EvenOdd sums;
    auto take = [&](ptrdiff_t row) __attribute__((always_inline))
    {
        const auto* samples = static_cast<const uint8_t*>(rows[row]) + i;
        const __m256i common = sumOfFewPairs<size / 2>(samples + 1);
        const __m256i first = _mm256_and_si256(load(samples), _mm256_set1_epi16(255));
        const __m256i last = _mm256_srli_epi16(load(samples + size - 1), 8);
        sums = {even.next(_mm256_add_epi16(common, first)), odd.next(_mm256_add_epi16(common, last))};
    };
    for (ptrdiff_t row = 0; row < size - 1; ++row)
        take(row);
    for (ptrdiff_t y = 0; y < count; ++y) {
        take(y + size - 1);
        const __m256i both = _mm256_or_si256(meansOf<size>(sums.even), _mm256_slli_epi16(meansOf<size>(sums.odd), 8));
        store(static_cast<uint8_t*>(results[y]) + i, 0, both);
    }
}

template <int size>
void meansOfSquares(const OwnFixedBand& band)
{
    for (ptrdiff_t i = 0; i < band.values - rowBlock; i += rowBlock)
        meansOfBlock<size>(band, i);
    meansOfBlock<size>(band, band.values - rowBlock);
}

constexpr OwnFixedKernel means3 = meansOfSquares<3>, means5 = meansOfSquares<5>;

#else

// Moves the sums of a pixel's part of the row and of its window on by a row.
template <class Total>
inline Total moveTotal(const OwnBlurRows& row, ptrdiff_t i, uint16_t sum)
{
    Total& total = static_cast<Total*>(row.totals)[i];
    total = Total(total + Total(sum) - Total(row.sums[i]));
    row.sums[i] = sum;
    return total;
}

template <class Total, class Finish>
void byRowsOf(const OwnBlurRows& row, const Finish& finish)
{
    uint16_t sum = 0;
    for (ptrdiff_t i = 0; i < row.nCols - 1; ++i)
        sum = uint16_t(sum + row.enter[i]);
    for (ptrdiff_t i = 0; i < row.values; ++i) {
        sum = uint16_t(sum + row.enter[i + row.nCols - 1]);
        const Total total = moveTotal<Total>(row, i, sum);
        if (row.result)
            row.result[i] = finish(total);
        sum = uint16_t(sum - row.enter[i]);
    }
}

template <class Finish>
void byRows(const OwnBlurRows& row)
{
    byRowsOf<uint16_t>(row, Finish(row.finish));
}
void byRowsWide(const OwnBlurRows& row)
{
    const float scale = row.finish.scale;
    byRowsOf<float>(row, [=](float sum) { return ownRounded<uint8_t>(sum * scale); });
}

ptrdiff_t scratchValues(ptrdiff_t, ptrdiff_t)
{
    return 1;
}

constexpr OwnFixedKernel means3 = nullptr, means5 = nullptr;

#endif

void flip(const uint8_t* from, uint8_t* to, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        to[i] = from[i] ^ 128;
}

}  // namespace

extern const OwnBlurByteKernels ownBlurByteKernels;
const OwnBlurByteKernels ownBlurByteKernels = {
    {byColumns<ByMultiplier>, byColumns<ByScale>, byColumns<ToBits>},
    {byRows<ByMultiplier>, byRows<ByScale>, byRows<ToBits>},
    byRowsWide,
    scratchValues,
    flip,
    means3,
    means5,
};

}  // namespace OWN_ISA
