// For kernel sources only: four pixels of up to four bytes as four numbers of 32 bits.
#pragma once

#include "../../core/kernels/ownrow.h"

#if defined(OWN_ISA) && defined(__AVX2__)
namespace OWN_ISA {

// The channels of four pixels that have four, side by side.
template <int channels>
inline __m128i closedUp(__m128i pixels)
{
    if constexpr (channels == 1)
        return _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 4, 8, 12, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1));
    else if constexpr (channels == 2)
        return _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 1, 4, 5, 8, 9, 12, 13, -1, -1, -1, -1, -1, -1, -1, -1));
    else if constexpr (channels == 3)
        return _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1));
    else
        return pixels;
}

// Four pixels of three or four bytes side by side in memory.
template <int bytes>
struct FourPixels {
    static_assert(bytes == 3 || bytes == 4);

    static __m128i load(const uint8_t* p)
    {
        if constexpr (bytes == 4)
            return _mm_loadu_si128(reinterpret_cast<const __m128i*>(p));
        const __m128i pixels =
            _mm_setr_epi32(ownLoad<int32_t>(p, 0), ownLoad<int32_t>(p, 1), ownLoad<int32_t>(p, 2), 0);
        return _mm_shuffle_epi8(pixels, _mm_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1));
    }
    static void store(uint8_t* p, __m128i pixels)
    {
        if constexpr (bytes == 4) {
            _mm_storeu_si128(reinterpret_cast<__m128i*>(p), pixels);
        } else {
            const __m128i closed = closedUp<3>(pixels);
            _mm_storel_epi64(reinterpret_cast<__m128i*>(p), closed);
            ownStore(p, 2, _mm_extract_epi32(closed, 2));
        }
    }

    struct Sources {
        const uint8_t *a, *b, *c, *d;
    };
    struct Targets {
        uint8_t *a, *b, *c, *d;
    };
    // Brings columns to rows.
    static void turn(const Sources& from, const Targets& to)
    {
        const __m128i a = load(from.a), b = load(from.b), c = load(from.c), d = load(from.d);
        const __m128i upper = _mm_unpacklo_epi32(a, b), upper2 = _mm_unpacklo_epi32(c, d);
        const __m128i lower = _mm_unpackhi_epi32(a, b), lower2 = _mm_unpackhi_epi32(c, d);
        store(to.a, _mm_unpacklo_epi64(upper, upper2));
        store(to.b, _mm_unpackhi_epi64(upper, upper2));
        store(to.c, _mm_unpacklo_epi64(lower, lower2));
        store(to.d, _mm_unpackhi_epi64(lower, lower2));
    }
};

}  // namespace OWN_ISA
#endif
