// For kernel sources: hue, saturation and value or lightness at 16U in vectors, with the results of ownhue.h. What is
// whole is computed on words, sixteen colours at a time, and only quotients and what follows them in double precision.
#pragma once

#include "ownhuelanes.h"

#if defined(__AVX2__)

namespace OWN_ISA {

OWN_INLINE Doubles fourNumbers(__m128i words)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(words));
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
    const __m256i one = _mm256_set1_epi16(1);
    for (ptrdiff_t i = 0; i < 2 * n; i += 32) {
        const auto parts =
            HueParts<uint16_t, 120>::of(vectorOf(from[0], i), vectorOf(from[1], i), vectorOf(from[2], i));
        const __m256i divisor = isHls ? parts.hlsDivisor() : parts.most;
        const __m256i hueDivisor = _mm256_max_epu16(parts.chroma, one), rangeDivisor = _mm256_max_epu16(divisor, one);
        Doubles hue[4], saturation[4];
        for (int k = 0; k < 4; ++k) {
            auto numbers = [&](__m256i words) { return fourNumbers(quarterOf(words, k)); };
            const Doubles difference = numbers(parts.first) - numbers(parts.second);
            hue[k] = dividedBy<360>((60 * difference / numbers(hueDivisor) + numbers(parts.base)) * full);
            saturation[k] = numbers(parts.chroma) / numbers(rangeDivisor) * full;
        }
        storeVector(to[0], i, lowWords(hue));
        storeVector(to[isHls ? 1 : 2], i, isHls ? parts.lightness() : parts.most);
        storeVector(to[isHls ? 2 : 1], i, lowWords(saturation));
    }
}

// ---- Back ---------------------------------------------------------------------------------------------------------

// Sixteen colours from pixel i on by their formula.
template <class Colours>
OWN_INLINE ColourLanes colours16(const void* const* from, ptrdiff_t i)
{
    auto numbers = [&](int row, ptrdiff_t k) {
        const auto* words = static_cast<const uint16_t*>(from[row]) + i + 4 * k;
        return fourNumbers(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(words)));
    };
    Doubles most[4], between[4], least[4];
    for (int k = 0; k < 4; ++k) {
        const Doubles hue = numbers(0, k), second = numbers(1, k), third = numbers(2, k);
        const HueValues<Doubles> values =
            Colours::isHls ? hlsValues<uint16_t>(hue, second, third) : hsvValues<uint16_t>(hue, second, third);
        most[k] = values.most;
        between[k] = values.between;
        least[k] = values.least;
    }
    return {lowWords(least), lowWords(between), lowWords(most)};
}

// Sixteen numbers of 32 bits of which the words are the halves.
OWN_INLINE void widen(__m256i low, __m256i high, Doubles (&numbers)[4])
{
    const __m256i even = _mm256_unpacklo_epi16(low, high), odd = _mm256_unpackhi_epi16(low, high);
    numbers[0] = _mm256_cvtepi32_pd(_mm256_castsi256_si128(even));
    numbers[1] = _mm256_cvtepi32_pd(_mm256_castsi256_si128(odd));
    numbers[2] = _mm256_cvtepi32_pd(_mm256_extracti128_si256(even, 1));
    numbers[3] = _mm256_cvtepi32_pd(_mm256_extracti128_si256(odd, 1));
}

// base + saturation height factor / (65535 21845) toward zero; `isNear` tells which of these are next to a whole
// number.
OWN_INLINE __m256i betweenWords(__m256i base, __m256i saturation, __m256i height, __m256i factor, __m256i& isNear)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i low = _mm256_mullo_epi16(height, factor);
    const __m256i high =
        _mm256_sub_epi16(_mm256_mulhi_epu16(height, factor), _mm256_and_si256(height, _mm256_srai_epi16(factor, 15)));
    Doubles bases[4], saturations[4], products[4], values[4], near[4];
    widen(base, zero, bases);
    widen(saturation, zero, saturations);
    widen(low, high, products);
    for (int k = 0; k < 4; ++k) {
        // Other quotients are 6.9e-10 away from a whole number, and these numbers lose less than 1e-10.
        const Doubles inverse = Doubles{} + 1.0 / (65535.0 * 21845.0);
        values[k] = _mm256_fmadd_pd(saturations[k] * products[k], inverse, bases[k]);
        const Doubles off = values[k] - _mm256_round_pd(values[k], _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC);
        near[k] = _mm256_cmp_pd(_mm256_andnot_pd(_mm256_set1_pd(-0.0), off), _mm256_set1_pd(3e-10), _CMP_LT_OQ);
    }
    isNear = zero;
    const Doubles any = _mm256_or_pd(_mm256_or_pd(near[0], near[1]), _mm256_or_pd(near[2], near[3]));
    if (_mm256_movemask_pd(any)) {
        Doubles ones[4];
        for (int k = 0; k < 4; ++k)
            ones[k] = _mm256_and_pd(near[k], _mm256_set1_pd(1));
        isNear = _mm256_cmpgt_epi16(lowWords(ones), zero);
    }
    return lowWords(values);
}

// Sixteen colours; `isOpen` tells if one has a whole quotient.
template <class Colours>
OWN_INLINE ColourLanes wholeColours16(const void* const* from, ptrdiff_t bytes, const Sectors<uint16_t>& sectors,
                                      bool& isOpen)
{
    const __m256i zero = _mm256_setzero_si256(), all = _mm256_set1_epi16(-1);
    const __m256i base = vectorOf(from[Colours::base], bytes), saturation = vectorOf(from[Colours::saturation], bytes);
    const __m256i height = Colours::template height<uint16_t>(base);
    // 65536 a + b are a 65535ths, and one more if a + b reach them; a whole number of them if that is all, or if
    // nothing is.
    const __m256i high = _mm256_mulhi_epu16(saturation, height), low = _mm256_mullo_epi16(saturation, height);
    const __m256i quotient = _mm256_sub_epi16(high, _mm256_cmpeq_epi16(_mm256_adds_epu16(high, low), all));
    const __m256i isWhole = _mm256_or_si256(_mm256_cmpeq_epi16(_mm256_add_epi16(high, low), all),
                                            _mm256_cmpeq_epi16(_mm256_or_si256(high, low), zero));
    __m256i isNear;
    ColourLanes colours;
    colours.between = betweenWords(base, saturation, height, Colours::factor(sectors), isNear);
    colours.most = Colours::isHls ? _mm256_add_epi16(base, quotient) : base;
    colours.least = _mm256_sub_epi16(_mm256_add_epi16(base, all), _mm256_add_epi16(quotient, isWhole));
    // Nothing falls short of 0, and neither black nor grey is a quotient.
    const __m256i isPlain = _mm256_or_si256(_mm256_cmpeq_epi16(saturation, zero), _mm256_cmpeq_epi16(base, zero));
    const __m256i isShort = _mm256_andnot_si256(_mm256_cmpeq_epi16(colours.least, zero), isWhole);
    isOpen = _mm256_movemask_epi8(_mm256_andnot_si256(isPlain, _mm256_or_si256(isShort, isNear))) != 0;
    return colours;
}

template <class Colours>
void hueWordsToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    for (ptrdiff_t i = 0; i < n; i += 16) {
        const auto sectors = Colours::template sectors<uint16_t>(vectorOf(from[0], 2 * i));
        bool isOpen;
        ColourLanes colours = wholeColours16<Colours>(from, 2 * i, sectors, isOpen);
        if (isOpen)
            colours = colours16<Colours>(from, i);
        storeColours(sectors, colours, to, 2 * i);
    }
}

}  // namespace OWN_ISA
#endif
