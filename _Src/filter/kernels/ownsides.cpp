// Kernels of separable convolution of bytes.
#include "ownsides.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

constexpr ptrdiff_t blockValues = 32;

#if defined(__AVX2__)

// Stores a vector whose halves lie `half` bytes apart.
inline void storeHalves(char* to, ptrdiff_t half, __m256i v)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm256_castsi256_si128(v));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to + half), _mm256_extracti128_si256(v, 1));
}

template <int parts>
inline void sumBlock(const OwnSideSums& sums, ptrdiff_t at)
{
    // Of eights of places of the upper row, first the even ones and then the odd ones, and of the lower row.
    __m256i sum[parts][4];
    for (int part = 0; part < parts; ++part)
        for (__m256i& one : sum[part])
            one = _mm256_set1_epi16(sums.starts[part]);
    // The compiler is kept from moving sums between registers, and from computing so much at a time that these do not
    // suffice.
    auto add = [](__m256i& to, __m256i samples, __m256i weights) {
        to = _mm256_add_epi16(to, _mm256_maddubs_epi16(samples, weights));
        __asm__("" : "+x"(to));
    };
    const OwnSideTap* tap = sums.taps;
    const OwnSideTap* const end = tap + sums.count;
    do {
#pragma GCC unroll 2
        for (int row = 0; row < 2; ++row) {
            auto samples = [=, &sums](int i) {
                const char* from = static_cast<const char*>(sums.rows[row]) + at + tap->places[i];
                return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
            };
            const __m256i first = samples(0), second = samples(1);
            const __m256i even = _mm256_unpacklo_epi8(first, second), odd = _mm256_unpackhi_epi8(first, second);
#pragma GCC unroll 2
            for (int part = 0; part < parts; ++part) {
                const __m256i weights = _mm256_set1_epi16(ownLoad<int16_t>(tap->weights[part]));
                __m256i* const to = sum[part] + 2 * row;
                add(to[0], even, weights);
                add(to[1], odd, weights);
            }
        }
    } while (++tap < end);
    for (int part = 0; part < parts; ++part) {
        const __m256i* const from = sum[part];
        char* const to = static_cast<char*>(sums.pairs[part]) + 4 * at;
        storeHalves(to, 64, _mm256_unpacklo_epi16(from[0], from[2]));
        storeHalves(to + 16, 64, _mm256_unpackhi_epi16(from[0], from[2]));
        storeHalves(to + 32, 64, _mm256_unpacklo_epi16(from[1], from[3]));
        storeHalves(to + 48, 64, _mm256_unpackhi_epi16(from[1], from[3]));
    }
}

#else

template <int parts>
inline void sumBlock(const OwnSideSums& sums, ptrdiff_t at)
{
    for (int part = 0; part < parts; ++part)
        for (int row = 0; row < 2; ++row) {
            uint16_t sum[blockValues];
            for (uint16_t& one : sum)
                one = uint16_t(sums.starts[part]);
            for (const OwnSideTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
                auto* from = static_cast<const uint8_t*>(sums.rows[row]) + at;
                auto *first = from + tap->places[0], *second = from + tap->places[1];
                const auto& weights = tap->weights[part];
                for (ptrdiff_t i = 0; i < blockValues; ++i)
                    sum[i] = uint16_t(sum[i] + uint16_t(first[i] * weights[0]) + uint16_t(second[i] * weights[1]));
            }
            auto* to = static_cast<uint16_t*>(sums.pairs[part]) + 2 * at + row;
            for (ptrdiff_t i = 0; i < blockValues; ++i)
                to[2 * i] = sum[i];
        }
}

#endif

template <int parts>
void sumOne(const OwnSideSums& sums, ptrdiff_t at)
{
    for (int part = 0; part < parts; ++part)
        for (int row = 0; row < 2; ++row) {
            auto* from = static_cast<const uint8_t*>(sums.rows[row]) + at;
            auto sum = uint16_t(sums.starts[part]);
            for (const OwnSideTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap)
                for (int i = 0; i < 2; ++i)
                    sum = uint16_t(sum + uint16_t(from[tap->places[i]] * tap->weights[part][i]));
            static_cast<uint16_t*>(sums.pairs[part])[2 * at + row] = sum;
        }
}

// The last block overlaps, unless there is less than one.
template <int parts>
void sumSides(const OwnSideSums& sums)
{
    const OwnSideSums own = sums;  // which the compiler can keep in registers, whatever is stored
    ptrdiff_t at = 0;
    for (; at + blockValues <= own.n; at += blockValues)
        sumBlock<parts>(own, at);
    if (at < own.n && own.n >= blockValues)
        return sumBlock<parts>(own, own.n - blockValues);
    for (; at < own.n; ++at)
        sumOne<parts>(own, at);
}

}  // namespace

extern const OwnSideKernels ownSideKernels;
const OwnSideKernels ownSideKernels = {{sumSides<1>, sumSides<2>}};

}  // namespace OWN_ISA
