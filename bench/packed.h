// The bare loop of a test: compares values and packs a bit for each, without layouts, offsets or masks.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace packed {

inline uint32_t bitsOf(const uint8_t* lanes)
{
#if defined(__AVX2__)
    const __m256i reverse =
        _mm256_setr_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F);
    auto* vector = reinterpret_cast<const __m256i*>(lanes);
    return uint32_t(_mm256_movemask_epi8(_mm256_shuffle_epi8(_mm256_loadu_si256(vector), reverse)));
#else
    uint32_t bits = 0;
    for (int i = 0; i < 32; ++i)
        bits |= uint32_t(lanes[i] >> 7) << (i ^ 7);
    return bits;
#endif
}

// d takes test(a[i], b[i]) of n values, a multiple of 32.
template <class T, class Test>
void loop(const uint8_t* a, const uint8_t* b, uint8_t* d, size_t n, Test test)
{
    auto* x = reinterpret_cast<const T*>(a);
    auto* y = reinterpret_cast<const T*>(b);
    for (size_t i = 0; i < n; i += 32) {
        uint8_t lanes[32];
        for (size_t k = 0; k < 32; ++k)
            lanes[k] = test(x[i + k], y[i + k]) ? 0xFF : 0;
        uint32_t bits = bitsOf(lanes);
        memcpy(d + i / 8, &bits, sizeof bits);
    }
}

}  // namespace packed
