// The colour twist: three values times a matrix.
#include "owntwist.h"

#if defined(__AVX2__)
// Products of two values of single precision are exact in double precision, so that a fused step gives the same bits as two;
// the sums of whole numbers are exact altogether.
#pragma GCC target("fma")
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
#if defined(__FMA__)
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
// One row of the matrix, for sixteen values.
struct WordRow {
    __m256i xy, z, constant;

    explicit WordRow(const int32_t* m) : xy(factors(m[0], m[1])), z(factors(m[2], 0)), constant(_mm256_set1_epi32(m[3]))
    {
    }
    __m256i of(__m256i xyWords, __m256i zWords, __m128i shift) const
    {
        const __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(xyWords, xy), _mm256_madd_epi16(zWords, z));
        return _mm256_sra_epi32(_mm256_add_epi32(sum, constant), shift);
    }
};

void words(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    const auto& twist = *static_cast<const OwnTwist*>(scalar);
    const WordRow rows[3] = {WordRow(twist.matrix), WordRow(twist.matrix + 4), WordRow(twist.matrix + 8)};
    const __m128i shift = _mm_cvtsi32_si128(twist.shift);
    const __m256i more = _mm256_set1_epi8(int8_t(twist.offset > 0 ? twist.offset : 0));
    const __m256i less = _mm256_set1_epi8(int8_t(twist.offset < 0 ? -twist.offset : 0));
    const __m256i zero = _mm256_setzero_si256();
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i x = bytesAt(from[0], i), y = bytesAt(from[1], i), z = bytesAt(from[2], i);
        // Bytes in pairs of words: x with y, and z with nothing, in the order in which packing takes them back.
        const __m256i xy[2] = {_mm256_unpacklo_epi8(x, y), _mm256_unpackhi_epi8(x, y)};
        const __m256i z0[2] = {_mm256_unpacklo_epi8(z, zero), _mm256_unpackhi_epi8(z, zero)};
        __m256i pairs[4], singles[4];
        for (int k = 0; k < 2; ++k) {
            pairs[2 * k] = _mm256_unpacklo_epi8(xy[k], zero);
            pairs[2 * k + 1] = _mm256_unpackhi_epi8(xy[k], zero);
            singles[2 * k] = _mm256_unpacklo_epi16(z0[k], zero);
            singles[2 * k + 1] = _mm256_unpackhi_epi16(z0[k], zero);
        }
        for (int row = 0; row < 3; ++row) {
            __m256i sums[4];
            for (int k = 0; k < 4; ++k)
                sums[k] = rows[row].of(pairs[k], singles[k], shift);
            const __m256i bytes =
                _mm256_packus_epi16(_mm256_packs_epi32(sums[0], sums[1]), _mm256_packs_epi32(sums[2], sums[3]));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(to[row]) + i),
                                _mm256_subs_epu8(_mm256_adds_epu8(bytes, more), less));
        }
    }
}
#else
constexpr OwnTripleStep words = stepThree<WholeTwist<uint8_t>>;
#endif

}  // namespace

extern const OwnTwistKernels ownTwistKernels;
const OwnTwistKernels ownTwistKernels = {
    words,
    {stepThree<WholeTwist<uint8_t>>, stepThree<WholeTwist<uint16_t>>},
    {stepThree<AnyTwist<uint8_t>>, stepThree<AnyTwist<uint16_t>>},
    stepThree<RealTwist>,
};

}  // namespace OWN_ISA
