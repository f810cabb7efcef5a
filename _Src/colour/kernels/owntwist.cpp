// The colour twist: three values times a matrix.
#include "owntwist.h"

#if defined(__AVX2__)
// Products of two values of single precision are exact in double precision, so that a fused step gives the same bits as
// two; the sums of whole numbers are exact altogether.
#pragma GCC target("fma")
#define OWN_FUSES
#include <immintrin.h>
#endif

#include "ownforms.h"

namespace OWN_ISA {
namespace {

// The last steps, on numbers of 32 bits.
template <class T>
struct Cut {
    int32_t offset;
    T operator()(int32_t t) const { return ownSaturated<T>(int32_t{ownSaturated<T>(t)} + offset); }
};

// Rounding toward zero and down differ below 0 alone, where nothing is left of it.
template <class T>
struct WholeTwist {
    using Source = T;
    using Result = T;
    uint32_t m[12];
    int32_t shift;
    Cut<T> cut;

    explicit WholeTwist(const void* scalar)
    {
        const auto& twist = *static_cast<const OwnTwist*>(scalar);
        for (int i = 0; i < 12; ++i)
            m[i] = uint32_t(twist.matrix[i]);
        shift = twist.shift;
        cut = {twist.offset};
    }
    template <int row>
    T result(const Triple<T>& v) const
    {
        constexpr int i = 4 * row;
        return cut(int32_t(m[i] * v.x + m[i + 1] * v.y + m[i + 2] * v.z + m[i + 3]) >> shift);
    }
    Triple<T> operator()(const Triple<T>& v) const { return {result<0>(v), result<1>(v), result<2>(v)}; }
};

template <class T>
struct AnyTwist {
    using Source = T;
    using Result = T;
    double m[12];
    Cut<T> cut;

    explicit AnyTwist(const void* scalar)
    {
        const auto& twist = *static_cast<const OwnTwist*>(scalar);
        const double scale = 1.0 / double(uint32_t{1} << twist.shift);
        for (int i = 0; i < 12; ++i)
            m[i] = twist.matrix[i] * scale;
        cut = {twist.offset};
    }
    template <int row>
    T result(const Triple<T>& v) const
    {
        constexpr int i = 4 * row;
        return cut(ownTruncated<T>(m[i] * v.x + m[i + 1] * v.y + m[i + 2] * v.z + m[i + 3]));
    }
    Triple<T> operator()(const Triple<T>& v) const { return {result<0>(v), result<1>(v), result<2>(v)}; }
};

struct RealTwist {
    using Source = float;
    using Result = float;
    double m[12];

    explicit RealTwist(const void* scalar)
    {
        for (int i = 0; i < 12; ++i)
            m[i] = double(ownLoad<float>(scalar, i));
    }
    static double plus(double sum, double factor, float value)
    {
#if defined(OWN_FUSES)
        return __builtin_fma(factor, double(value), sum);
#else
        return sum + factor * double(value);
#endif
    }
    template <int row>
    float result(const Triple<float>& v) const
    {
        constexpr int i = 4 * row;
        return float(plus(plus(plus(m[i + 3], m[i], v.x), m[i + 1], v.y), m[i + 2], v.z));
    }
    Triple<float> operator()(const Triple<float>& v) const
    {
        return {result<0>(v), result<1>(v), result<2>(v)};
    }
};

#if defined(__AVX2__)
// The offset, for results in one piece: part of it is 0.
template <class T>
struct Offset {
    __m256i more, less;

    explicit Offset(int32_t offset)
    {
        const int32_t plus = offset > 0 ? offset : 0, minus = offset < 0 ? -offset : 0;
        more = sizeof(T) == 1 ? _mm256_set1_epi8(int8_t(plus)) : _mm256_set1_epi16(int16_t(plus));
        less = sizeof(T) == 1 ? _mm256_set1_epi8(int8_t(minus)) : _mm256_set1_epi16(int16_t(minus));
    }
    __m256i operator()(__m256i values) const
    {
        if constexpr (sizeof(T) == 1)
            return _mm256_subs_epu8(_mm256_adds_epu8(values, more), less);
        else
            return _mm256_subs_epu16(_mm256_adds_epu16(values, more), less);
    }
};

// One row of the matrix, for sums of 32 bits of pairs of words, of which the last is z and, if factors are wide, a 1.
// Wide factors are split in two of words, and so is the constant.
template <bool isWide>
struct WordRow {
    static constexpr int split = 16;
    __m256i xy, z, xyHigh, zHigh, constant;

    // What the products lack where words are values less 32768 is in `bias`.
    WordRow(const int32_t* m, uint32_t bias)
    {
        auto low = [](int32_t factor) { return int32_t{int16_t(factor)}; };
        auto high = [=](int32_t factor) { return int32_t((int64_t{factor} - low(factor)) >> split); };
        const auto last =
            int32_t(uint32_t(m[3]) + bias * uint32_t(m[0]) + bias * uint32_t(m[1]) + bias * uint32_t(m[2]));
        xy = factors(low(m[0]), low(m[1]));
        z = factors(low(m[2]), isWide ? low(last) : 0);
        xyHigh = factors(high(m[0]), high(m[1]));
        zHigh = factors(high(m[2]), high(last));
        constant = _mm256_set1_epi32(last);
    }
    __m256i of(__m256i xyWords, __m256i zWords, __m128i shift) const
    {
        const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(xyWords, xy), _mm256_madd_epi16(zWords, z));
        __m256i more = constant;
        if constexpr (isWide)
            more = _mm256_slli_epi32(
                _mm256_add_epi32(_mm256_madd_epi16(xyWords, xyHigh), _mm256_madd_epi16(zWords, zHigh)), split);
        return _mm256_sra_epi32(_mm256_add_epi32(sum, more), shift);
    }
};

template <bool isWide>
void sumBytes(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    const auto& twist = *static_cast<const OwnTwist*>(scalar);
    const int32_t* m = twist.matrix;
    const WordRow<isWide> rows[3] = {{m, 0}, {m + 4, 0}, {m + 8, 0}};
    const __m128i shift = _mm_cvtsi32_si128(twist.shift);
    const Offset<uint8_t> offset(twist.offset);
    const __m256i zero = _mm256_setzero_si256(), last = _mm256_set1_epi16(isWide ? 1 : 0);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i x = vectorOf(from[0], i), y = vectorOf(from[1], i), z = vectorOf(from[2], i);
        // Words of x and y in turn, and of z and what goes with it, in the order in which packing takes them back.
        const __m256i xy[2] = {_mm256_unpacklo_epi8(x, y), _mm256_unpackhi_epi8(x, y)};
        const __m256i z0[2] = {_mm256_unpacklo_epi8(z, zero), _mm256_unpackhi_epi8(z, zero)};
        __m256i pairs[4], singles[4];
        for (int k = 0; k < 2; ++k) {
            pairs[2 * k] = _mm256_unpacklo_epi8(xy[k], zero);
            pairs[2 * k + 1] = _mm256_unpackhi_epi8(xy[k], zero);
            singles[2 * k] = LowHalf::pairs(z0[k], last);
            singles[2 * k + 1] = HighHalf::pairs(z0[k], last);
        }
        for (int row = 0; row < 3; ++row) {
            __m256i sums[4];
            for (int k = 0; k < 4; ++k)
                sums[k] = rows[row].of(pairs[k], singles[k], shift);
            storeVector(to[row], i,
                        offset(_mm256_packus_epi16(_mm256_packs_epi32(sums[0], sums[1]),
                                                   _mm256_packs_epi32(sums[2], sums[3]))));
        }
    }
}

void sumHalves(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    const auto& twist = *static_cast<const OwnTwist*>(scalar);
    const int32_t* m = twist.matrix;
    constexpr uint32_t bias = 32768;
    const WordRow<false> rows[3] = {{m, bias}, {m + 4, bias}, {m + 8, bias}};
    const __m128i shift = _mm_cvtsi32_si128(twist.shift);
    const Offset<uint16_t> offset(twist.offset);
    const __m256i zero = _mm256_setzero_si256(), middle = _mm256_set1_epi16(-32768);
    for (ptrdiff_t i = 0; i < 2 * n; i += 32) {
        __m256i words[3];
        for (int k = 0; k < 3; ++k)
            words[k] = _mm256_xor_si256(vectorOf(from[k], i), middle);
        for (int row = 0; row < 3; ++row) {
            const __m256i low = rows[row].of(LowHalf::pairs(words[0], words[1]), LowHalf::pairs(words[2], zero), shift);
            const __m256i high =
                rows[row].of(HighHalf::pairs(words[0], words[1]), HighHalf::pairs(words[2], zero), shift);
            storeVector(to[row], i, offset(_mm256_packus_epi32(low, high)));
        }
    }
}

// Four values as numbers.
template <class T>
OWN_INLINE __m256d numbersAt(const void* row, ptrdiff_t i)
{
    auto* first = static_cast<const uint8_t*>(row) + i * ptrdiff_t(sizeof(T));
    if constexpr (sizeof(T) == 1)
        return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(first)));
    else
        return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(_mm_loadu_si64(first)));
}

template <class T>
void sumNumbers(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    const AnyTwist<T> twist(scalar);
    const Offset<T> offset(twist.cut.offset);
    const __m256d zero = _mm256_setzero_pd(), top = _mm256_set1_pd(double(OwnRange<T>::highest));
    for (ptrdiff_t i = 0; i < n; i += 8) {
        __m128i sums[3][2];
        for (int k = 0; k < 2; ++k) {
            const __m256d x = numbersAt<T>(from[0], i + 4 * k), y = numbersAt<T>(from[1], i + 4 * k),
                          z = numbersAt<T>(from[2], i + 4 * k);
            for (int row = 0; row < 3; ++row) {
                const double* m = twist.m + 4 * row;
                __m256d sum = _mm256_fmadd_pd(x, _mm256_set1_pd(m[0]), _mm256_set1_pd(m[3]));
                sum = _mm256_fmadd_pd(y, _mm256_set1_pd(m[1]), sum);
                sum = _mm256_fmadd_pd(z, _mm256_set1_pd(m[2]), sum);
                sums[row][k] = _mm256_cvttpd_epi32(_mm256_min_pd(_mm256_max_pd(sum, zero), top));
            }
        }
        for (int row = 0; row < 3; ++row) {
            const __m128i words = _mm_packus_epi32(sums[row][0], sums[row][1]);
            const __m256i values = _mm256_castsi128_si256(sizeof(T) == 1 ? _mm_packus_epi16(words, words) : words);
            const __m128i result = _mm256_castsi256_si128(offset(values));
            auto* place = static_cast<uint8_t*>(to[row]) + i * ptrdiff_t(sizeof(T));
            if constexpr (sizeof(T) == 1)
                _mm_storeu_si64(place, result);
            else
                _mm_storeu_si128(reinterpret_cast<__m128i*>(place), result);
        }
    }
}
#else
template <bool>
constexpr OwnTripleStep sumBytes = stepThree<WholeTwist<uint8_t>>;
constexpr OwnTripleStep sumHalves = stepThree<WholeTwist<uint16_t>>;
template <class T>
constexpr OwnTripleStep sumNumbers = stepThree<AnyTwist<T>>;
#endif

}  // namespace

extern const OwnTwistKernels ownTwistKernels;
const OwnTwistKernels ownTwistKernels = {
    {sumBytes<false>, sumHalves},
    {sumBytes<true>, sumNumbers<uint16_t>},
    {sumNumbers<uint8_t>, sumNumbers<uint16_t>},
    stepThree<RealTwist>,
};

}  // namespace OWN_ISA
