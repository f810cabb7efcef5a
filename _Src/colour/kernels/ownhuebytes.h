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
void rgbToHueBytes(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const __m256i one = _mm256_set1_epi8(1), all = _mm256_set1_epi8(-1);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i r = vectorOf(from[0], i), g = vectorOf(from[1], i), b = vectorOf(from[2], i);
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
        storeVector(to[0], i, hue);
        storeVector(to[isHls ? 1 : 2], i, lightness);
        storeVector(to[isHls ? 2 : 1], i, quotients.saturation);
    }
}

// ---- Back ---------------------------------------------------------------------------------------------------------

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
            if (place.sector > sectors && sectors < 5)
                begins[++sectors] = uint8_t(hue);
        }
    }
};

template <class Sector>
constexpr SectorTable<Sector> sectorTable = {};

// Sectors of 32 hues.
struct Sectors {
    __m256i isFrom[6];  // at or beyond the beginning of sector 1 to 5
    __m256i position;   // 2 hue - 85 sector: 85 are a sector
    __m256i isOdd;

    template <class Sector>
    static Sectors of(__m256i hue)
    {
        Sectors sectors;
        sectors.position = _mm256_add_epi8(hue, hue);
        sectors.isOdd = _mm256_setzero_si256();
        for (int k = 1; k < 6; ++k) {
            const __m256i begin = _mm256_set1_epi8(int8_t(sectorTable<Sector>.begins[k]));
            const __m256i isFrom = _mm256_cmpeq_epi8(_mm256_max_epu8(hue, begin), hue);
            sectors.position = _mm256_sub_epi8(sectors.position, _mm256_and_si256(isFrom, _mm256_set1_epi8(85)));
            sectors.isOdd = _mm256_xor_si256(sectors.isOdd, isFrom);
            sectors.isFrom[k] = isFrom;
        }
        return sectors;
    }
};

// The values of 32 colours.
struct ColourBytes {
    __m256i least, between, most;
};

// From sector to sector each channel falls or rises in turn.
OWN_INLINE void storeColours(const Sectors& sectors, const ColourBytes& v, void* const* to, ptrdiff_t i)
{
    const __m256i* isFrom = sectors.isFrom;
    __m256i red = chosen(isFrom[1], v.between, v.most), green = chosen(isFrom[1], v.most, v.between);
    __m256i blue = chosen(isFrom[2], v.between, v.least);
    red = chosen(isFrom[2], v.least, red);
    red = chosen(isFrom[4], v.between, red);
    red = chosen(isFrom[5], v.most, red);
    green = chosen(isFrom[3], v.between, green);
    green = chosen(isFrom[4], v.least, green);
    blue = chosen(isFrom[3], v.most, blue);
    blue = chosen(isFrom[5], v.between, blue);
    storeVector(to[0], i, red);
    storeVector(to[1], i, green);
    storeVector(to[2], i, blue);
}

// ---- In double precision ------------------------------------------------------------------------------------------

OWN_INLINE __m256d fourNumbers(const uint8_t* bytes)
{
    // The bits of 2^52 and a whole number below it are those of their sum.
    const __m256d large = _mm256_set1_pd(0x1p52);
    const __m256i number = _mm256_cvtepu8_epi64(_mm_loadu_si32(bytes));
    return _mm256_sub_pd(_mm256_or_pd(_mm256_castsi256_pd(number), large), large);
}

// Numbers of a table, by four bytes.
OWN_INLINE __m256d fourOf(const double* table, const uint8_t* places)
{
    const __m256d all = _mm256_castsi256_pd(_mm256_set1_epi8(-1));
    return _mm256_mask_i32gather_pd(_mm256_setzero_pd(), table, _mm_cvtepu8_epi32(_mm_loadu_si32(places)), all, 8);
}

// The low bytes of 32 numbers toward zero.
OWN_INLINE __m256i lowBytes(const __m128i (&numbers)[8])
{
    const __m128i low = _mm_set1_epi16(0xFF);
    __m128i words[4];
    for (int k = 0; k < 4; ++k)
        words[k] = _mm_and_si128(_mm_packs_epi32(numbers[2 * k], numbers[2 * k + 1]), low);
    return _mm256_setr_m128i(_mm_packus_epi16(words[0], words[1]), _mm_packus_epi16(words[2], words[3]));
}

struct HsvColours {
    static constexpr int base = 2, saturation = 1;  // rows
    using Sector = HsvSector<double>;

    // Least and between of four colours; the most is V itself.
    static void numbers(const uint8_t* values, const uint8_t* saturations, __m256d weight, __m256d (&result)[3])
    {
        const __m256d one = _mm256_set1_pd(1), value = fourNumbers(values);
        const __m256d saturation = dividedBy<255>(fourNumbers(saturations));
        result[0] = _mm256_mul_pd(value, _mm256_sub_pd(one, saturation));
        result[1] = _mm256_mul_pd(value, _mm256_sub_pd(one, _mm256_mul_pd(saturation, weight)));
    }
};

struct HlsColours {
    static constexpr int base = 1, saturation = 2;
    using Sector = HlsSector<double>;

    // Least, between and most of four colours.
    static void numbers(const uint8_t* lightnesses, const uint8_t* saturations, __m256d weight, __m256d (&result)[3])
    {
        const __m256d one = _mm256_set1_pd(1), full = _mm256_set1_pd(255);
        const __m256d lightness = dividedBy<255>(fourNumbers(lightnesses));
        const __m256d saturation = dividedBy<255>(fourNumbers(saturations));
        // Of the two forms, for dark and for light colours, the right one is the lesser by far.
        const __m256d dark = _mm256_mul_pd(_mm256_add_pd(one, saturation), lightness);
        const __m256d light = _mm256_sub_pd(_mm256_add_pd(lightness, saturation), _mm256_mul_pd(lightness, saturation));
        const __m256d most = _mm256_min_pd(dark, light);
        const __m256d least = _mm256_sub_pd(_mm256_add_pd(lightness, lightness), most);
        const __m256d part = dividedBy<60>(_mm256_mul_pd(_mm256_sub_pd(most, least), weight));
        result[0] = _mm256_mul_pd(full, least);
        result[1] = _mm256_mul_pd(full, _mm256_add_pd(least, part));
        result[2] = _mm256_mul_pd(full, most);
    }
};

template <class Colours>
OWN_INLINE ColourBytes bytesByNumbers(const void* const* from, ptrdiff_t i)
{
    auto row = [=](int k) { return static_cast<const uint8_t*>(from[k]) + i; };
    __m128i numbers[3][8];
    for (int k = 0; k < 8; ++k) {
        __m256d result[3] = {};
        Colours::numbers(row(Colours::base) + 4 * k, row(Colours::saturation) + 4 * k,
                         fourOf(sectorTable<typename Colours::Sector>.weights, row(0) + 4 * k), result);
        for (int j = 0; j < 3; ++j)
            numbers[j][k] = _mm256_cvttpd_epi32(result[j]);
    }
    return {lowBytes(numbers[0]), lowBytes(numbers[1]), lowBytes(numbers[2])};
}

void hsvToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    for (ptrdiff_t i = 0; i < n; i += 32) {
        ColourBytes bytes = bytesByNumbers<HsvColours>(from, i);
        bytes.most = vectorOf(from[HsvColours::base], i);
        const __m256i hue = vectorOf(from[0], i);
        // 360 degrees are 0.
        const __m256i turned = _mm256_andnot_si256(_mm256_cmpeq_epi8(hue, _mm256_set1_epi8(-1)), hue);
        storeColours(Sectors::of<HsvSector<double>>(turned), bytes, to, i);
    }
}

// ---- HLS in whole numbers -----------------------------------------------------------------------------------------
//
// With the lightness l and the saturation s in 255ths, e = s min(l, 255 - l), and a factor k in 85ths that the hue gives, from
// -85 to 85, the least value is l - e / 255, the most l + e / 255, and the one between l + e k / 21675. Quotients in double
// precision give the same, but where one is a whole number they may fall short of it. These few colours are computed so.

// Sixteen colours as words.
struct ColourWords {
    __m256i least, between, most, isWhole, isNearWhole;
};

OWN_INLINE ColourWords hlsWords(__m256i lightness, __m256i saturation, __m256i height, __m256i factor)
{
    const __m256i zero = _mm256_setzero_si256(), one = _mm256_set1_epi16(1);
    const __m256i e = _mm256_mullo_epi16(saturation, height);
    const __m256i quotient = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(e, one), _mm256_srli_epi16(e, 8)), 8);
    const __m256i rest = _mm256_sub_epi16(e, _mm256_mullo_epi16(quotient, _mm256_set1_epi16(255)));
    ColourWords words;
    words.isWhole = _mm256_cmpeq_epi16(rest, zero);
    words.most = _mm256_add_epi16(lightness, quotient);
    words.least = _mm256_sub_epi16(_mm256_sub_epi16(lightness, one), _mm256_add_epi16(quotient, words.isWhole));
    const __m256i low = _mm256_mullo_epi16(e, factor), high = _mm256_mulhi_epi16(e, factor);
    const __m256i products[2] = {_mm256_unpacklo_epi16(low, high), _mm256_unpackhi_epi16(low, high)};
    const __m256i bases[2] = {_mm256_unpacklo_epi16(lightness, zero), _mm256_unpackhi_epi16(lightness, zero)};
    __m256i between[2], isNear[2];
    for (int k = 0; k < 2; ++k) {
        // Other quotients are 4.6e-5 away from a whole number, and single precision loses less than 2e-5.
        const __m256 value = _mm256_fmadd_ps(_mm256_cvtepi32_ps(products[k]), _mm256_set1_ps(1.0f / 21675),
                                             _mm256_cvtepi32_ps(bases[k]));
        const __m256 off = _mm256_sub_ps(value, _mm256_round_ps(value, _MM_FROUND_TO_NEAREST_INT | _MM_FROUND_NO_EXC));
        const __m256 distance = _mm256_andnot_ps(_mm256_set1_ps(-0.0f), off);
        between[k] = _mm256_cvttps_epi32(value);
        isNear[k] = _mm256_castps_si256(_mm256_cmp_ps(distance, _mm256_set1_ps(2.3e-5f), _CMP_LT_OQ));
    }
    words.between = _mm256_packs_epi32(between[0], between[1]);
    words.isNearWhole = _mm256_packs_epi32(isNear[0], isNear[1]);
    return words;
}

// 32 colours; `open` gets a bit for each with a whole quotient.
OWN_INLINE ColourBytes hlsBytes(const void* const* from, ptrdiff_t i, const Sectors& sectors, uint32_t& open)
{
    const __m256i zero = _mm256_setzero_si256(), all = _mm256_set1_epi8(-1), sector = _mm256_set1_epi8(85);
    const __m256i lightness = vectorOf(from[1], i), saturation = vectorOf(from[2], i);
    const __m256i height = _mm256_min_epu8(lightness, _mm256_xor_si256(lightness, all));
    const __m256i twice = _mm256_add_epi8(sectors.position, sectors.position);
    const __m256i factor = chosen(sectors.isOdd, _mm256_sub_epi8(sector, twice), _mm256_sub_epi8(twice, sector));
    const __m256i sign = _mm256_cmpgt_epi8(zero, factor);
    const ColourWords low = hlsWords(_mm256_unpacklo_epi8(lightness, zero), _mm256_unpacklo_epi8(saturation, zero),
                                     _mm256_unpacklo_epi8(height, zero), _mm256_unpacklo_epi8(factor, sign));
    const ColourWords high = hlsWords(_mm256_unpackhi_epi8(lightness, zero), _mm256_unpackhi_epi8(saturation, zero),
                                      _mm256_unpackhi_epi8(height, zero), _mm256_unpackhi_epi8(factor, sign));
    const ColourBytes bytes = {_mm256_packus_epi16(low.least, high.least),
                               _mm256_packus_epi16(low.between, high.between),
                               _mm256_packus_epi16(low.most, high.most)};
    // Nothing falls short of 0, and neither black nor grey is a quotient.
    const __m256i isWhole =
        _mm256_andnot_si256(_mm256_cmpeq_epi8(bytes.least, zero), _mm256_packs_epi16(low.isWhole, high.isWhole));
    const __m256i isNear = _mm256_packs_epi16(low.isNearWhole, high.isNearWhole);
    const __m256i isPlain = _mm256_or_si256(_mm256_cmpeq_epi8(saturation, zero), _mm256_cmpeq_epi8(lightness, zero));
    open = uint32_t(_mm256_movemask_epi8(_mm256_andnot_si256(isPlain, _mm256_or_si256(isWhole, isNear))));
    return bytes;
}

// Computes the colours of a strip once more whose bits are set.
template <size_t words>
OWN_INLINE void recompute(const uint64_t (&open)[words], const void* const* from, void* const* to, ptrdiff_t start)
{
    for (size_t k = 0; k < words; ++k)
        for (uint64_t left = open[k]; left; left &= left - 1) {
            const ptrdiff_t i = start + ptrdiff_t(k) * 64 + __builtin_ctzll(left);
            auto number = [=](int row) { return double(ownLoad<uint8_t>(from[row], i)); };
            const HueValues<double> values = hlsValues<uint8_t>(number(0), number(1), number(2));
            const int32_t most = int32_t(values.most), between = int32_t(values.between), least = int32_t(values.least);
            const Triple<int32_t> colour = inSector(int32_t(values.sector), most, between, least);
            ownStore(to[0], i, uint8_t(colour.x));
            ownStore(to[1], i, uint8_t(colour.y));
            ownStore(to[2], i, uint8_t(colour.z));
        }
}

void hlsToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    constexpr int few = 6;
    constexpr ptrdiff_t strip = 256;
    for (ptrdiff_t start = 0; start < n; start += strip) {
        uint64_t open[strip / 64] = {};
        const ptrdiff_t end = n - start < strip ? n : start + strip;
        for (ptrdiff_t i = start; i < end; i += 32) {
            const Sectors sectors = Sectors::of<HlsSector<double>>(vectorOf(from[0], i));
            uint32_t mask;
            ColourBytes bytes = hlsBytes(from, i, sectors, mask);
            if (__builtin_popcount(mask) > few) {
                bytes = bytesByNumbers<HlsColours>(from, i);
                mask = 0;
            }
            open[(i - start) / 64] |= uint64_t{mask} << (i & 32);
            storeColours(sectors, bytes, to, i);
        }
        recompute(open, from, to, start);
    }
}

}  // namespace OWN_ISA
#endif
