// Kernels of the box filter for bytes and bits whose sums are short.
#include "ownblurbytes.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

void moveColumns(const OwnBlurBytes& row)
{
    const OwnValues<uint8_t> enter = {row.enter}, leave = {row.leave};
    uint16_t* columns = row.columns;
    const ptrdiff_t n = row.columnValues;
    if (row.leave) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            columns[i] = uint16_t(columns[i] + enter[i] - leave[i]);
    } else {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            columns[i] = uint16_t(columns[i] + enter[i]);
    }
}

constexpr ptrdiff_t blockValues = 64;

#if defined(__AVX2__)

inline __m256i load(const void* from, int i = 0)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from) + i);
}

inline void store(void* to, int i, __m256i v)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to) + i, v);
}

// Sixteen sums to nearest, ties to even, as words.
inline __m256i rounded(__m256i low, __m256i high, __m256 scale)
{
    const __m256i a = _mm256_cvtps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(low), scale));
    const __m256i b = _mm256_cvtps_epi32(_mm256_mul_ps(_mm256_cvtepi32_ps(high), scale));
    return _mm256_packs_epi32(a, b);
}

// The finish of sixteen sums, as words that are packed to bytes.
struct ByMultiplier {
    __m256i multiplier, bias;
    __m128i shift;
    explicit ByMultiplier(const OwnBlurBytes& row)
        : multiplier(_mm256_set1_epi16(int16_t(row.mean.multiplier))),
          bias(_mm256_set1_epi16(int16_t(row.mean.bias))),
          shift(_mm_cvtsi32_si128(row.mean.shift))
    {
    }
    __m256i operator()(__m256i sums) const
    {
        return _mm256_srl_epi16(_mm256_mulhi_epu16(_mm256_add_epi16(sums, bias), multiplier), shift);
    }
};
struct ByScale {
    __m256 scale;
    explicit ByScale(const OwnBlurBytes& row) : scale(_mm256_set1_ps(row.scale)) {}
    __m256i operator()(__m256i sums) const
    {
        const __m256i zero = _mm256_setzero_si256();
        return rounded(_mm256_unpacklo_epi16(sums, zero), _mm256_unpackhi_epi16(sums, zero), scale);
    }
};
struct ToBits {
    __m256i below;  // the largest sum that gives 0
    explicit ToBits(const OwnBlurBytes& row) : below(_mm256_set1_epi16(int16_t(row.half - 1))) {}
    __m256i operator()(__m256i sums) const { return _mm256_srli_epi16(_mm256_cmpgt_epi16(sums, below), 8); }
};

template <class Finish>
inline void finishBlock(const OwnBlurBytes& row, const Finish& finish, ptrdiff_t at, void* to)
{
    const uint16_t* columns = row.columns + at;
    __m256i a = load(columns, 0), b = load(columns, 1), c = load(columns, 2), d = load(columns, 3);
    for (ptrdiff_t k = 1; k < row.nCols; ++k) {
        columns += row.step;
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

struct ByMultiplier {
    OwnBlurMean mean;
    explicit ByMultiplier(const OwnBlurBytes& row) : mean(row.mean) {}
    uint8_t operator()(uint16_t sum) const
    {
        return uint8_t(((uint32_t(sum) + mean.bias) * mean.multiplier) >> 16 >> mean.shift);
    }
};
struct ByScale {
    float scale;
    explicit ByScale(const OwnBlurBytes& row) : scale(row.scale) {}
    uint8_t operator()(uint16_t sum) const { return ownRounded<uint8_t>(float(sum) * scale); }
};
struct ToBits {
    int32_t half;
    explicit ToBits(const OwnBlurBytes& row) : half(row.half) {}
    uint8_t operator()(uint16_t sum) const { return sum >= half ? 255 : 0; }
};

template <class Finish>
inline void finishBlock(const OwnBlurBytes& row, const Finish& finish, ptrdiff_t at, uint8_t* to)
{
    uint16_t sums[blockValues] = {};
    for (ptrdiff_t k = 0; k < row.nCols; ++k)
        for (ptrdiff_t i = 0; i < blockValues; ++i)
            sums[i] = uint16_t(sums[i] + row.columns[at + k * row.step + i]);
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        to[i] = finish(sums[i]);
}

#endif

template <class Finish>
void meanRow(const OwnBlurBytes& row)
{
    moveColumns(row);
    const Finish finish(row);
    ptrdiff_t at = 0;
    for (; at + blockValues <= row.values; at += blockValues)
        finishBlock(row, finish, at, row.result + at);
    if (at == row.values)
        return;
    uint8_t rest[blockValues];
    finishBlock(row, finish, at, rest);
    __builtin_memcpy(row.result + at, rest, size_t(row.values - at));
}

// ---- Wide windows -------------------------------------------------------------------------------------------------

// prefixes[i] = the sum of what stands before sample i.
void sumPrefixes(const OwnBlurWide& row)
{
    const OwnValues<uint8_t> samples = {row.enter};
    ptrdiff_t i = 0;
    uint16_t sum = 0;
    row.prefixes[0] = 0;
#if defined(__AVX2__)
    const __m256i last = _mm256_set1_epi16(0x0F0E);
    __m256i carry = _mm256_setzero_si256();
    for (; i + 16 <= row.columnValues; i += 16) {
        __m256i x = _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(row.enter + i)));
        x = _mm256_add_epi16(x, _mm256_slli_si256(x, 2));
        x = _mm256_add_epi16(x, _mm256_slli_si256(x, 4));
        x = _mm256_add_epi16(x, _mm256_slli_si256(x, 8));
        // The sum of the lower half goes to the upper one, that of both to what follows.
        const __m256i lower = _mm256_permute2x128_si256(x, x, 0x08);
        x = _mm256_add_epi16(x, _mm256_shuffle_epi8(lower, last));
        store(row.prefixes + i + 1, 0, _mm256_add_epi16(x, carry));
        carry = _mm256_add_epi16(carry, _mm256_shuffle_epi8(_mm256_permute4x64_epi64(x, 0xEE), last));
    }
    sum = row.prefixes[i];
#endif
    for (; i < row.columnValues; ++i)
        row.prefixes[i + 1] = sum = uint16_t(sum + samples[i]);
}

// Moves the sums of pixel i and the totals on by a row.
inline int32_t moveTotal(const OwnBlurWide& row, ptrdiff_t i)
{
    const uint16_t sum = uint16_t(row.prefixes[i + row.nCols] - row.prefixes[i]);
    row.totals[i] += int32_t(sum) - int32_t(row.sums[i]);
    row.sums[i] = sum;
    return row.totals[i];
}

void wideMeans(const OwnBlurWide& row)
{
    sumPrefixes(row);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    const __m256 scale = _mm256_set1_ps(row.scale);
    // Sums have at most 15 bits, so that their differences have a sign.
    auto sixteen = [&](ptrdiff_t at) {
        const __m256i sums = _mm256_sub_epi16(load(row.prefixes + at + row.nCols), load(row.prefixes + at));
        const __m256i moved = _mm256_sub_epi16(sums, load(row.sums + at));
        const __m256i low =
            _mm256_add_epi32(load(row.totals + at), _mm256_cvtepi16_epi32(_mm256_castsi256_si128(moved)));
        const __m256i high =
            _mm256_add_epi32(load(row.totals + at, 1), _mm256_cvtepi16_epi32(_mm256_extracti128_si256(moved, 1)));
        store(row.sums + at, 0, sums);
        store(row.totals + at, 0, low);
        store(row.totals + at, 1, high);
        return rounded(low, high, scale);
    };
    for (; i + 32 <= row.values; i += 32) {
        const __m256i first = sixteen(i), second = sixteen(i + 16);
        const __m256i bytes = _mm256_packus_epi16(first, second);
        const __m256i inOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        if (row.result)
            store(row.result + i, 0, _mm256_permutevar8x32_epi32(bytes, inOrder));
    }
#endif
    for (; i < row.values; ++i) {
        const int32_t total = moveTotal(row, i);
        if (row.result)
            row.result[i] = ownRounded<uint8_t>(float(total) * row.scale);
    }
}

}  // namespace

extern const OwnBlurByteKernels ownBlurByteKernels;
const OwnBlurByteKernels ownBlurByteKernels = {meanRow<ByMultiplier>, meanRow<ByScale>, meanRow<ToBits>, wideMeans};

}  // namespace OWN_ISA
