// For kernel sources: hue, saturation and value or lightness at 16U in vectors, with the results of ownhue.h. What is whole
// is computed on words, sixteen colours at a time, and only quotients and what follows them in double precision.
#pragma once

#include "ownhue.h"

#if defined(__AVX2__)
#include "ownforms.h"

namespace OWN_ISA {

OWN_INLINE __m256i chosenWords(__m256i mask, __m256i yes, __m256i no)
{
    return _mm256_blendv_epi8(no, yes, mask);
}

OWN_INLINE __m128i fourWords(const uint16_t* words)
{
    return _mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(words)));
}

OWN_INLINE Doubles fourNumbers(const uint16_t* words)
{
    return _mm256_cvtepi32_pd(fourWords(words));
}

// The low words of sixteen numbers toward zero.
OWN_INLINE __m256i lowWords(const Doubles (&numbers)[4])
{
    const __m128i low = _mm_set1_epi32(0xFFFF);
    __m128i whole[4];
    for (int k = 0; k < 4; ++k)
        whole[k] = _mm_and_si128(_mm256_cvttpd_epi32(numbers[k]), low);
    return _mm256_setr_m128i(_mm_packus_epi32(whole[0], whole[1]), _mm_packus_epi32(whole[2], whole[3]));
}

// `isHls`: HLS, otherwise HSV.
template <bool isHls>
void rgbToHueWords(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    constexpr double full = double(HueRange<uint16_t>::full);
    const __m256i one = _mm256_set1_epi16(1), all = _mm256_set1_epi16(-1);
    for (ptrdiff_t i = 0; i < 2 * n; i += 32) {
        const __m256i r = vectorOf(from[0], i), g = vectorOf(from[1], i), b = vectorOf(from[2], i);
        const __m256i most = _mm256_max_epu16(_mm256_max_epu16(r, g), b);
        const __m256i least = _mm256_min_epu16(_mm256_min_epu16(r, g), b);
        const __m256i chroma = _mm256_sub_epi16(most, least);
        const __m256i isRed = _mm256_cmpeq_epi16(r, most), isGreen = _mm256_cmpeq_epi16(g, most);
        const __m256i first = chosenWords(isRed, g, chosenWords(isGreen, b, r));
        const __m256i second = chosenWords(isRed, b, chosenWords(isGreen, r, g));
        // 0, 120 and 240 degrees, and 360 for what would be negative.
        const __m256i isPositive = _mm256_cmpeq_epi16(_mm256_max_epu16(first, second), first);
        const __m256i base = chosenWords(isRed, _mm256_andnot_si256(isPositive, _mm256_set1_epi16(360)),
                                         chosenWords(isGreen, _mm256_set1_epi16(120), _mm256_set1_epi16(240)));
        __m256i divisor = most, lightness = most;
        if constexpr (isHls) {  // the sum of both, or twice the full value less the sum; and the average, rounded down
            divisor = _mm256_min_epu16(_mm256_adds_epu16(most, least),
                                       _mm256_adds_epu16(_mm256_xor_si256(most, all), _mm256_xor_si256(least, all)));
            lightness =
                _mm256_sub_epi16(_mm256_avg_epu16(most, least), _mm256_and_si256(_mm256_xor_si256(most, least), one));
        }
        alignas(32) uint16_t words[6][16];
        const __m256i whole[6] = {first, second, _mm256_max_epu16(chroma, one),
                                  base,  chroma, _mm256_max_epu16(divisor, one)};
        for (int k = 0; k < 6; ++k)
            _mm256_store_si256(reinterpret_cast<__m256i*>(words[k]), whole[k]);
        Doubles hue[4], saturation[4];
        for (int k = 0; k < 4; ++k) {
            auto numbers = [&](int row) { return fourNumbers(words[row] + 4 * k); };
            const Doubles difference =
                _mm256_cvtepi32_pd(_mm_sub_epi32(fourWords(words[0] + 4 * k), fourWords(words[1] + 4 * k)));
            hue[k] = dividedBy<360>((60 * difference / numbers(2) + numbers(3)) * full);
            saturation[k] = numbers(4) / numbers(5) * full;
        }
        storeVector(to[0], i, lowWords(hue));
        storeVector(to[isHls ? 1 : 2], i, lightness);
        storeVector(to[isHls ? 2 : 1], i, lowWords(saturation));
    }
}

// The channels of sixteen colours.
OWN_INLINE Triple<Halves> inSectorWords(__m256i sector, __m256i most, __m256i between, __m256i least)
{
    __m256i is[6];
    for (int k = 0; k < 6; ++k)
        is[k] = _mm256_cmpeq_epi16(sector, _mm256_set1_epi16(int16_t(k)));
    auto channel = [&](int most1, int most2, int between1, int between2) {
        return Halves{chosenWords(_mm256_or_si256(is[most1], is[most2]), most,
                                  chosenWords(_mm256_or_si256(is[between1], is[between2]), between, least))};
    };
    return {channel(0, 5, 1, 4), channel(1, 2, 0, 3), channel(3, 4, 2, 5)};
}

template <bool isHls>
void hueWordsToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    for (ptrdiff_t i = 0; i < n; i += 16) {
        auto numbers = [&](int row, ptrdiff_t k) {
            return fourNumbers(static_cast<const uint16_t*>(from[row]) + i + 4 * k);
        };
        Doubles sector[4], most[4], between[4], least[4];
        for (int k = 0; k < 4; ++k) {
            const Doubles hue = numbers(0, k), second = numbers(1, k), third = numbers(2, k);
            const HueValues<Doubles> values =
                isHls ? hlsValues<uint16_t>(hue, second, third) : hsvValues<uint16_t>(hue, second, third);
            sector[k] = values.sector;
            most[k] = values.most;
            between[k] = values.between;
            least[k] = values.least;
        }
        // V is not computed on.
        const __m256i mosts = isHls ? lowWords(most) : vectorOf(from[2], 2 * i);
        const auto colours = inSectorWords(lowWords(sector), mosts, lowWords(between), lowWords(least));
        storeVector(to[0], 2 * i, colours.x.lanes);
        storeVector(to[1], 2 * i, colours.y.lanes);
        storeVector(to[2], 2 * i, colours.z.lanes);
    }
}

}  // namespace OWN_ISA
#endif
