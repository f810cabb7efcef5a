// For kernel sources: hue, saturation and value or lightness at 8U in vectors. The results are those of ownhue.h for all
// colours, which a test compares one by one.
#pragma once

#include "ownhue.h"

#if defined(__AVX2__)
#include "ownforms.h"

namespace OWN_ISA {

// Whole hues at which a quotient in double precision falls short, so that the number below is stored.
constexpr uint8_t shortHues[] = {47, 53, 64, 111, 128, 145};

OWN_INLINE __m256i chosen(__m256i mask, __m256i yes, __m256i no)
{
    return _mm256_blendv_epi8(no, yes, mask);
}

OWN_INLINE __m256 eightFloats(const uint8_t* bytes)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(bytes))));
}

// 32 bytes of as many whole numbers from -128 to 127.
OWN_INLINE __m256i packedBytes(const __m256i (&numbers)[4])
{
    __m256i bytes =
        _mm256_packs_epi16(_mm256_packs_epi32(numbers[0], numbers[1]), _mm256_packs_epi32(numbers[2], numbers[3]));
    return _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// Quotients of 32 pairs of bytes.
struct HueQuotients {
    __m256i hue;         // floor(42.5 a / b) for a from -b to b
    __m256i wholeHue;    // set where that is no fraction
    __m256i saturation;  // floor(255 c / d) for c from 0 to d
};

// a is `first` less `second`. No quotient but a whole one is nearer to a whole number than 1 / 510, which is far more than
// what single precision loses.
OWN_INLINE HueQuotients hueQuotients(__m256i first, __m256i second, __m256i b, __m256i c, __m256i d)
{
    alignas(32) uint8_t bytes[5][32];
    const __m256i all[5] = {first, second, b, c, d};
    for (int i = 0; i < 5; ++i)
        _mm256_store_si256(reinterpret_cast<__m256i*>(bytes[i]), all[i]);
    __m256i hue[4], whole[4], saturation[4];
    for (int i = 0; i < 4; ++i) {
        const __m256 a = _mm256_sub_ps(eightFloats(bytes[0] + 8 * i), eightFloats(bytes[1] + 8 * i));
        const __m256 ratio = _mm256_div_ps(a, eightFloats(bytes[2] + 8 * i));
        const __m256 sixths = _mm256_fmadd_ps(ratio, _mm256_set1_ps(42.5f), _mm256_set1_ps(64.001f));
        hue[i] = _mm256_cvttps_epi32(sixths);
        const __m256 rest = _mm256_sub_ps(sixths, _mm256_cvtepi32_ps(hue[i]));
        whole[i] = _mm256_castps_si256(_mm256_cmp_ps(rest, _mm256_set1_ps(0.0015f), _CMP_LT_OQ));
        const __m256 part = _mm256_mul_ps(eightFloats(bytes[3] + 8 * i), _mm256_set1_ps(255));
        saturation[i] = _mm256_sub_epi32(_mm256_cvttps_epi32(_mm256_div_ps(part, eightFloats(bytes[4] + 8 * i))),
                                         _mm256_set1_epi32(128));
    }
    return {_mm256_sub_epi8(packedBytes(hue), _mm256_set1_epi8(64)), packedBytes(whole),
            _mm256_add_epi8(packedBytes(saturation), _mm256_set1_epi8(-128))};
}

// `isHls`: HLS, otherwise HSV.
template <bool isHls>
void rgbToHue(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const __m256i one = _mm256_set1_epi8(1), all = _mm256_set1_epi8(-1);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i r = bytesAt(from[0], i), g = bytesAt(from[1], i), b = bytesAt(from[2], i);
        const __m256i most = _mm256_max_epu8(_mm256_max_epu8(r, g), b);
        const __m256i least = _mm256_min_epu8(_mm256_min_epu8(r, g), b);
        const __m256i chroma = _mm256_sub_epi8(most, least);
        const __m256i isRed = _mm256_cmpeq_epi8(r, most), isGreen = _mm256_cmpeq_epi8(g, most);
        const __m256i first = chosen(isRed, g, chosen(isGreen, b, r));
        const __m256i second = chosen(isRed, b, chosen(isGreen, r, g));
        // 0, 120 and 240 degrees, and 360 for what would be negative.
        const __m256i isNegative = _mm256_xor_si256(_mm256_cmpeq_epi8(_mm256_max_epu8(first, second), first), all);
        const __m256i base =
            chosen(isRed, isNegative, chosen(isGreen, _mm256_set1_epi8(85), _mm256_set1_epi8(int8_t(170))));
        __m256i divisor = most;
        if constexpr (isHls)  // the sum of both, or 510 less the sum
            divisor = _mm256_min_epu8(_mm256_adds_epu8(most, least),
                                      _mm256_adds_epu8(_mm256_xor_si256(most, all), _mm256_xor_si256(least, all)));
        const HueQuotients quotients =
            hueQuotients(first, second, _mm256_max_epu8(chroma, one), chroma, _mm256_max_epu8(divisor, one));
        __m256i hue = _mm256_add_epi8(base, quotients.hue);
        __m256i isShort = _mm256_setzero_si256();
        for (uint8_t value : shortHues)
            isShort = _mm256_or_si256(isShort, _mm256_cmpeq_epi8(hue, _mm256_set1_epi8(int8_t(value))));
        hue = _mm256_add_epi8(hue, _mm256_and_si256(isShort, quotients.wholeHue));
        __m256i lightness = most;
        if constexpr (isHls)  // the average, rounded down
            lightness =
                _mm256_sub_epi8(_mm256_avg_epu8(most, least), _mm256_and_si256(_mm256_xor_si256(most, least), one));
        auto store = [=](void* row, __m256i bytes) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(row) + i), bytes);
        };
        store(to[0], hue);
        store(to[isHls ? 1 : 2], lightness);
        store(to[isHls ? 2 : 1], quotients.saturation);
    }
}

// Sector and weight of every hue.
template <class Sector>
struct SectorTable {
    double weights[256];
    uint8_t begins[6];  // the first hue of each sector

    constexpr SectorTable() : weights(), begins()
    {
        int32_t sectors = 0;
        for (int hue = 0; hue < 256; ++hue) {
            const Sector place(double(hue) * 360 / 255);
            weights[hue] = place.weight;
            if (place.sector == sectors + 1 && place.sector < 6)
                begins[++sectors] = uint8_t(hue);
        }
    }
};

template <class Sector>
constexpr SectorTable<Sector> sectorTable = {};

OWN_INLINE __m256d fourNumbers(const uint8_t* bytes)
{
    // The bits of 2^52 and a whole number below it are those of their sum.
    const __m256d large = _mm256_set1_pd(0x1p52);
    const __m256i number = _mm256_cvtepu8_epi64(_mm_loadu_si32(bytes));
    return _mm256_sub_pd(_mm256_or_pd(_mm256_castsi256_pd(number), large), large);
}

template <int64_t divisor>
OWN_INLINE __m256d dividedBy(__m256d x)
{
    constexpr double inverse = 1 / double(divisor), high = double(float(inverse)), low = inverse - high;
    constexpr double rest = ((1 - high * divisor) - low * divisor) / divisor;
    return _mm256_fmadd_pd(x, _mm256_set1_pd(inverse), _mm256_mul_pd(x, _mm256_set1_pd(rest)));
}

// The values of four colours but the largest at HSV, which is V itself.
struct HsvColours {
    static constexpr int results = 2;
    static constexpr bool lastIsFirst = true;  // 360 degrees are 0
    using Sector = HsvSector;
    static void of(const uint8_t* saturations, const uint8_t* values, __m256d weight, __m256d (&result)[3])
    {
        const __m256d one = _mm256_set1_pd(1), value = fourNumbers(values);
        const __m256d saturation = dividedBy<255>(fourNumbers(saturations));
        result[0] = _mm256_mul_pd(value, _mm256_sub_pd(one, saturation));
        result[1] = _mm256_mul_pd(value, _mm256_sub_pd(one, _mm256_mul_pd(saturation, weight)));
    }
};

struct HlsColours {
    static constexpr int results = 3;
    static constexpr bool lastIsFirst = false;
    using Sector = HlsSector;
    static void of(const uint8_t* lightnesses, const uint8_t* saturations, __m256d weight, __m256d (&result)[3])
    {
        const __m256d one = _mm256_set1_pd(1), full = _mm256_set1_pd(255);
        const __m256d lightness = dividedBy<255>(fourNumbers(lightnesses));
        const __m256d saturation = dividedBy<255>(fourNumbers(saturations));
        const __m256d isDark = _mm256_cmp_pd(lightness, _mm256_set1_pd(0.5), _CMP_LE_OQ);
        const __m256d dark = _mm256_mul_pd(_mm256_add_pd(one, saturation), lightness);
        const __m256d light = _mm256_sub_pd(_mm256_add_pd(lightness, saturation), _mm256_mul_pd(lightness, saturation));
        const __m256d most = _mm256_blendv_pd(light, dark, isDark);
        const __m256d least = _mm256_sub_pd(_mm256_add_pd(lightness, lightness), most);
        const __m256d part = dividedBy<60>(_mm256_mul_pd(_mm256_sub_pd(most, least), weight));
        result[0] = _mm256_mul_pd(full, least);
        result[1] = _mm256_mul_pd(full, _mm256_add_pd(least, part));
        result[2] = _mm256_mul_pd(full, most);
    }
};

// Numbers of a table, by four bytes.
OWN_INLINE __m256d fourOf(const double* table, const uint8_t* places)
{
    const __m256d all = _mm256_castsi256_pd(_mm256_set1_epi8(-1));
    return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), table, _mm_cvtepu8_epi32(_mm_loadu_si32(places)), all, 8);
}

template <class Colours>
void hueToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    using Table = SectorTable<typename Colours::Sector>;
    static constexpr const Table& table = sectorTable<typename Colours::Sector>;
    auto* hues = static_cast<const uint8_t*>(from[0]);
    auto *second = static_cast<const uint8_t*>(from[1]), *third = static_cast<const uint8_t*>(from[2]);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        __m128i numbers[3][8];
        for (int k = 0; k < 8; ++k) {
            const ptrdiff_t at = i + 4 * k;
            __m256d result[3];
            Colours::of(second + at, third + at, fourOf(table.weights, hues + at), result);
            for (int j = 0; j < Colours::results; ++j)
                numbers[j][k] = _mm256_cvttpd_epi32(result[j]);
        }
        // The low bytes.
        __m256i bytes[3];
        for (int j = 0; j < Colours::results; ++j) {
            const __m128i low = _mm_set1_epi16(0xFF);
            __m128i words[4];
            for (int k = 0; k < 4; ++k)
                words[k] = _mm_and_si128(_mm_packs_epi32(numbers[j][2 * k], numbers[j][2 * k + 1]), low);
            bytes[j] = _mm256_setr_m128i(_mm_packus_epi16(words[0], words[1]), _mm_packus_epi16(words[2], words[3]));
        }
        if constexpr (Colours::results < 3)
            bytes[2] = bytesAt(third, i);
        const __m256i least = bytes[0], between = bytes[1], most = bytes[2];
        __m256i hue = bytesAt(hues, i);
        if constexpr (Colours::lastIsFirst)
            hue = _mm256_andnot_si256(_mm256_cmpeq_epi8(hue, _mm256_set1_epi8(-1)), hue);
        __m256i isFrom[6];  // at or beyond the beginning of a sector
        for (int k = 1; k < 6; ++k) {
            const __m256i begin = _mm256_set1_epi8(int8_t(table.begins[k]));
            isFrom[k] = _mm256_cmpeq_epi8(_mm256_max_epu8(hue, begin), hue);
        }
        auto store = [=](void* row, __m256i result) {
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(row) + i), result);
        };
        // From sector to sector each channel falls or rises in turn.
        __m256i red = chosen(isFrom[1], between, most), green = chosen(isFrom[1], most, between);
        __m256i blue = chosen(isFrom[2], between, least);
        red = chosen(isFrom[2], least, red);
        red = chosen(isFrom[4], between, red);
        red = chosen(isFrom[5], most, red);
        green = chosen(isFrom[3], between, green);
        green = chosen(isFrom[4], least, green);
        blue = chosen(isFrom[3], most, blue);
        blue = chosen(isFrom[5], between, blue);
        store(to[0], red);
        store(to[1], green);
        store(to[2], blue);
    }
}

}  // namespace OWN_ISA
#endif
