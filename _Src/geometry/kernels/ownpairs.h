// For kernel sources only: what lies between two samples, in integers, by weights of 14 bits after the point.
//
// With byte shuffles, the two samples of a value come side by side; what the weights make of them is a product of
// vectors then. Bytes take the nearer sample and a part of its difference from the other: as the lesser weight is used,
// products fit words.
#pragma once

#include "ownpick.h"

#if defined(OWN_ISA)
namespace OWN_ISA {

constexpr int32_t one = 16384;

inline int16_t fixedWeight(double fraction)
{
    return int16_t(__builtin_rint(fraction * one + ownIndexBias));
}

// Results are stored as they come, cut to the type's bits: a weight may lie a hair below 0.
template <class T, int acrossShift, int downShift>
struct FixedLinear {
    using Value = T;
    using Ring = uint16_t;
    using Wide = int32_t;
    using Weight = int16_t;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = fixedWeight(fraction); }
    static int32_t between(int32_t a, int32_t b, const Weight* w) { return a * (one - w[0]) + b * w[0]; }
    static int32_t whole(int32_t a) { return a * one; }
    static Ring kept(int32_t sum) { return Ring(sum >> acrossShift); }
    static T result(int32_t sum) { return T(sum >> downShift); }
};
using ZoomLinear8 = FixedLinear<uint8_t, 8, 20>;
using ZoomLinear16 = FixedLinear<uint16_t, 14, 14>;

inline bool anyBelow(const int16_t* weights, ptrdiff_t n)
{
    int16_t least = 0;
    for (ptrdiff_t i = 0; i < n; ++i)
        least = weights[i] < least ? weights[i] : least;
    return least < 0;
}

// Four times the lesser weight, negative, which fits 16 bits.
inline int16_t lesserFactor(int32_t w)
{
    return int16_t(w > one / 2 ? 4 * (w - one) : -4 * w);
}

// ---- Along rows ---------------------------------------------------------------------------------------------------

struct Pairs {
    Shuffle shuffle;
    int16_t* factors;
};

template <class M>
int64_t pairsBytes(const OwnScaleColumns& columns)
{
    const int64_t n = columns.values();
    return Shuffle::bytes(n * 2 * int64_t{sizeof(typename M::Value)}) + 2 * roomFor(n, sizeof(int32_t));
}

#if defined(__AVX2__)

inline __m256i wordsAt(const void* words, ptrdiff_t i)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const uint16_t*>(words) + i));
}

// Where the bytes of both samples of each value stand; the nearer of two bytes comes first.
template <int bytes>
inline __attribute__((always_inline)) void placePairs(const OwnScaleColumns& columns, ptrdiff_t lanes,
                                                      const int16_t* __restrict weights, int32_t* __restrict from)
{
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        for (ptrdiff_t lane = 0; lane < lanes; ++lane, from += 2 * bytes) {
            const auto first = int32_t((columns.index[i] - columns.base) * lanes + lane);
            const auto second = int32_t(first + lanes);
            const bool swapped = bytes == 1 && weights[i * lanes + lane] > one / 2;
            for (int byte = 0; byte < bytes; ++byte) {
                from[byte] = (swapped ? second : first) * bytes + byte;
                from[bytes + byte] = (swapped ? first : second) * bytes + byte;
            }
        }
}

// Of bytes the parts of differences, of words the two weights.
inline void makeFactors(const uint8_t*, const int16_t* weights, ptrdiff_t n, int16_t* factors)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        factors[i] = lesserFactor(weights[i]);
}
inline void makeFactors(const uint16_t*, const int16_t* weights, ptrdiff_t n, int16_t* factors)
{
    for (ptrdiff_t i = 0; i < n; ++i) {
        factors[i * 2] = int16_t(one - weights[i]);
        factors[i * 2 + 1] = weights[i];
    }
}

template <class T>
void makePairs(Pairs& pairs, Memory& memory, const OwnScaleColumns& columns, const int16_t* weights)
{
    constexpr int bytes = sizeof(T);
    const ptrdiff_t n = columns.values();
    pairs.factors = memory.take<int16_t>(n * bytes);
    makeFactors(static_cast<const T*>(nullptr), weights, n, pairs.factors);
    auto* from = memory.take<int32_t>(n * 2 * bytes);
    if (columns.lanes == 1)
        placePairs<bytes>(columns, 1, weights, from);
    else
        placePairs<bytes>(columns, columns.lanes, weights, from);
    makeShuffle(pairs.shuffle, memory, from, n * 2 * bytes, columns.sourceCount * columns.lanes * bytes);
}

template <int rows>
struct RingRows {
    uint16_t* row[rows];
    explicit RingRows(void* const* given)
    {
        for (int k = 0; k < rows; ++k)
            row[k] = static_cast<uint16_t*>(given[k]);
    }
};

// Sixteen values at a time. With a the nearer sample and b the other, 64 a + (64 (a - b) f >> 16) is what the weights
// make of them, f being the factor.
template <int rows>
void acrossPairs(const OwnScaleColumns& columns, const Pairs& pairs, const uint8_t*, const void* const* src,
                 void* const* to)
{
    const __m256i slope = _mm256_set1_epi16(int16_t(0xC040)), nearer = _mm256_set1_epi16(0x0040);
    const int16_t* factors = pairs.factors;
    const ByteRows<rows> from(src);
    const RingRows<rows> ring(to);
    runShuffle<uint16_t>(pairs.shuffle, from, columns.values(),
                         [slope, nearer, factors, ring](const __m256i(&samples)[rows], ptrdiff_t i) {
                             const __m256i factor = wordsAt(factors, i);
                             for (int k = 0; k < rows; ++k) {
                                 __m256i part = _mm256_mulhi_epi16(_mm256_maddubs_epi16(samples[k], slope), factor);
                                 __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(samples[k], nearer), part);
                                 _mm256_storeu_si256(reinterpret_cast<__m256i*>(ring.row[k] + i), sum);
                             }
                         });
}

// Eight values at a time, as signed words, which makes the sum less by 32768 times the weights.
template <int rows>
void acrossPairs(const OwnScaleColumns& columns, const Pairs& pairs, const uint16_t*, const void* const* src,
                 void* const* to)
{
    const __m256i sign = _mm256_set1_epi16(INT16_MIN), back = _mm256_set1_epi32(32768 * one);
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    const int16_t* factors = pairs.factors;
    const ByteRows<rows> from(src);
    const RingRows<rows> ring(to);
    runShuffle<uint32_t>(pairs.shuffle, from, columns.values(),
                         [sign, back, low, factors, ring](const __m256i(&samples)[rows], ptrdiff_t i) {
                             const __m256i factor = wordsAt(factors, i * 2);
                             for (int k = 0; k < rows; ++k) {
                                 __m256i sum = _mm256_madd_epi16(_mm256_xor_si256(samples[k], sign), factor);
                                 sum = _mm256_and_si256(_mm256_srai_epi32(_mm256_add_epi32(sum, back), 14), low);
                                 __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
                                 _mm_storeu_si128(reinterpret_cast<__m128i*>(ring.row[k] + i),
                                                  _mm256_castsi256_si128(words));
                             }
                         });
}

// Up to ownScaleRows rows. T is the type of the samples.
template <class T>
void acrossPairs(const OwnScaleColumns& columns, const Pairs& pairs, const void* const* src, int rows, void* const* to)
{
    constexpr const T* type = nullptr;
    switch (rows) {
    case 1: return acrossPairs<1>(columns, pairs, type, src, to);
    case 2: return acrossPairs<2>(columns, pairs, type, src, to);
    case 3: return acrossPairs<3>(columns, pairs, type, src, to);
    default: return acrossPairs<ownScaleRows>(columns, pairs, type, src, to);
    }
}

#endif

// ---- Across rows --------------------------------------------------------------------------------------------------

// `count` rows of bytes, made of the same two rows, whose difference they have a part of; w are their weights. Sums
// along rows are at most 64 times the largest byte.
template <int count>
void downTogether(const OwnScaleRow* made, const int16_t* w, ptrdiff_t n)
{
    const auto* a = static_cast<const uint16_t*>(made->rows[0]);
    const auto* b = static_cast<const uint16_t*>(made->rows[1]);
    const uint16_t* nearer[count];
    int16_t factors[count];  // of a - b
    uint8_t* dst[count];
    for (int k = 0; k < count; ++k) {
        const bool swapped = w[k] > one / 2;
        nearer[k] = swapped ? b : a;
        factors[k] = int16_t(swapped ? -lesserFactor(w[k]) : lesserFactor(w[k]));
        dst[k] = static_cast<uint8_t*>(made[k].dst);
    }
#if defined(__AVX2__)
    __m256i factor[count];
    for (int k = 0; k < count; ++k)
        factor[k] = _mm256_set1_epi16(factors[k]);
    auto words = [=](__m256i difference, ptrdiff_t i, int k) {
        const __m256i part = _mm256_mulhi_epi16(difference, factor[k]);
        return _mm256_srli_epi16(_mm256_add_epi16(wordsAt(nearer[k], i), part), 6);
    };
    auto store = [words, a, b, dst](ptrdiff_t i) {
        const __m256i low = _mm256_sub_epi16(wordsAt(a, i), wordsAt(b, i));
        const __m256i high = _mm256_sub_epi16(wordsAt(a, i + 16), wordsAt(b, i + 16));
        for (int k = 0; k < count; ++k) {
            const __m256i bytes = _mm256_packus_epi16(words(low, i, k), words(high, i + 16, k));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst[k] + i), _mm256_permute4x64_epi64(bytes, 0xD8));
        }
    };
    if (n >= 32) {
        for (ptrdiff_t i = 0; i < n - 32; i += 32)
            store(i);
        return store(n - 32);
    }
#endif
    for (int k = 0; k < count; ++k) {
        const uint16_t* from = nearer[k];
        const int16_t own = factors[k];
        uint8_t* to = dst[k];
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            to[i] = uint8_t(uint16_t(from[i] + (int16_t(a[i] - b[i]) * own >> 16)) >> 6);
    }
}

// False if a row is not made of two by weights that are not below 0.
inline bool downBytes(const OwnScaleRow* rows, int count, ptrdiff_t n)
{
    int16_t w[ownScaleBand];
    for (int i = 0; i < count; ++i) {
        w[i] = fixedWeight(rows[i].fraction);
        if (rows[i].samples != 2 || w[i] < 0)
            return false;
    }
    for (int i = 0; i < count;) {
        const bool two = i + 1 < count && rows[i].rows[0] == rows[i + 1].rows[0];
        two ? downTogether<2>(rows + i, w + i, n) : downTogether<1>(rows + i, w + i, n);
        i += two ? 2 : 1;
    }
    return true;
}

}  // namespace OWN_ISA
#endif
