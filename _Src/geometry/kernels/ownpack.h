// For kernel sources only: rows of integers of 8 or 16 bits, made of numbers in double precision, four at a time.
#pragma once

#include "../../core/kernels/ownrow.h"

#if defined(OWN_ISA) && defined(__AVX2__)
namespace OWN_ISA {

inline __m256d realsAt(const float* p, ptrdiff_t i)
{
    return _mm256_cvtps_pd(_mm_loadu_ps(p + i));
}
inline __m256d realsAt(const double* p, ptrdiff_t i)
{
    return _mm256_loadu_pd(p + i);
}

// Integers as numbers.
inline __m256d realsAt(const uint8_t* p, ptrdiff_t i)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_loadu_si32(p + i)));
}
inline __m256d realsAt(const uint16_t* p, ptrdiff_t i)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + i))));
}

inline void storeReals(float* p, ptrdiff_t i, __m256d values)
{
    _mm_storeu_ps(p + i, _mm256_cvtpd_ps(values));
}
inline void storeReals(double* p, ptrdiff_t i, __m256d values)
{
    _mm256_storeu_pd(p + i, values);
}

// Stores n values; words(i) answers values i to i + 7 as words, which are cut to the type's range. The last vector
// overlaps the one before it. False if there are fewer values than a vector has.
template <class T, class Words>
inline __attribute__((always_inline)) bool storeEights(void* dst, ptrdiff_t n, Words words)
{
    constexpr ptrdiff_t inVector = 16 / sizeof(T);
    auto store = [=](ptrdiff_t i) {
        __m128i vector = words(i);
        if constexpr (sizeof(T) == 1)
            vector = _mm_packus_epi16(vector, words(i + 8));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(static_cast<uint8_t*>(dst) + i * ptrdiff_t(sizeof(T))), vector);
    };
    if (n < inVector)
        return false;
    for (ptrdiff_t i = 0; i < n - inVector; i += inVector)
        store(i);
    store(n - inVector);
    return true;
}

// The same where four(i) answers values i to i + 3 as integers.
template <class T, class Four>
inline __attribute__((always_inline)) bool storeFours(void* dst, ptrdiff_t n, Four four)
{
    return storeEights<T>(dst, n, [=](ptrdiff_t i) { return _mm_packus_epi32(four(i), four(i + 4)); });
}

}  // namespace OWN_ISA
#endif
