// For kernel sources: hue, saturation and value or lightness at 8U in vectors. The results are those of ownhue.h for
// all colours, which a test compares one by one.
#pragma once

#include "ownhuelanes.h"

#if defined(__AVX2__)

namespace OWN_ISA {

// Whole hues at which a quotient in double precision falls short, so that the number below is stored.
constexpr uint8_t shortHues[] = {47, 53, 64, 111, 128, 145};

// A quarter of 32 bytes.
OWN_INLINE __m256 eightFloats(__m256i bytes, int quarter)
{
    return _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(quarterOf(bytes, quarter)));
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

// a is `first` less `second`. No quotient but a whole one is nearer to a whole number than 1 / 510, which is far more
// than what single precision loses.
OWN_INLINE HueQuotients hueQuotients(__m256i first, __m256i second, __m256i b, __m256i c, __m256i d)
{
    __m256i hue[4], whole[4], saturation[4];
    for (int i = 0; i < 4; ++i) {
        const __m256 a = _mm256_sub_ps(eightFloats(first, i), eightFloats(second, i));
        const __m256 ratio = _mm256_div_ps(a, eightFloats(b, i));
        const __m256 sixths = _mm256_fmadd_ps(ratio, _mm256_set1_ps(42.5f), _mm256_set1_ps(64.001f));
        hue[i] = _mm256_cvttps_epi32(sixths);
        const __m256 rest = _mm256_sub_ps(sixths, _mm256_cvtepi32_ps(hue[i]));
        whole[i] = _mm256_castps_si256(_mm256_cmp_ps(rest, _mm256_set1_ps(0.0015f), _CMP_LT_OQ));
        const __m256 part = _mm256_mul_ps(eightFloats(c, i), _mm256_set1_ps(255));
        saturation[i] =
            _mm256_sub_epi32(_mm256_cvttps_epi32(_mm256_div_ps(part, eightFloats(d, i))), _mm256_set1_epi32(128));
    }
    return {_mm256_sub_epi8(packedBytes(hue), _mm256_set1_epi8(64)), packedBytes(whole),
            _mm256_add_epi8(packedBytes(saturation), _mm256_set1_epi8(-128))};
}

// `isHls`: HLS, otherwise HSV.
template <bool isHls>
void rgbToHueBytes(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const __m256i one = _mm256_set1_epi8(1);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const auto parts = HueParts<uint8_t, 85>::of(vectorOf(from[0], i), vectorOf(from[1], i), vectorOf(from[2], i));
        const __m256i divisor = isHls ? parts.hlsDivisor() : parts.most;
        const HueQuotients quotients = hueQuotients(parts.first, parts.second, _mm256_max_epu8(parts.chroma, one),
                                                    parts.chroma, _mm256_max_epu8(divisor, one));
        __m256i hue = _mm256_add_epi8(parts.base, quotients.hue);
        __m256i isShort = _mm256_setzero_si256();
        for (uint8_t value : shortHues)
            isShort = _mm256_or_si256(isShort, _mm256_cmpeq_epi8(hue, _mm256_set1_epi8(int8_t(value))));
        hue = _mm256_add_epi8(hue, _mm256_and_si256(isShort, quotients.wholeHue));
        storeVector(to[0], i, hue);
        storeVector(to[isHls ? 1 : 2], i, isHls ? parts.lightness() : parts.most);
        storeVector(to[isHls ? 2 : 1], i, quotients.saturation);
    }
}

// ---- In double precision ------------------------------------------------------------------------------------------

// The weight and the sector of every hue.
template <class Colours>
struct HueTable {
    double weights[256];
    uint8_t sectors[256];

    constexpr HueTable() : weights(), sectors()
    {
        for (int hue = 0; hue < 256; ++hue) {
            const typename Colours::Sector place(double(hue) * 360 / 255);
            weights[hue] = place.weight;
            sectors[hue] = uint8_t(place.sector);
        }
    }
};

template <class Colours>
constexpr HueTable<Colours> hueTable = {};

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

// Least, between and most of four colours, toward zero.
template <class Colours>
OWN_INLINE void fourColours(const uint8_t* const (&rows)[3], ptrdiff_t i, __m128i (&result)[3])
{
    const __m256d one = _mm256_set1_pd(1), full = _mm256_set1_pd(255);
    const __m256d weight = fourOf(hueTable<Colours>.weights, rows[0] + i);
    const __m256d saturation = dividedBy<255>(fourNumbers(rows[Colours::saturation] + i));
    __m256d least, between, most;
    if constexpr (Colours::isHls) {
        const __m256d lightness = dividedBy<255>(fourNumbers(rows[Colours::base] + i));
        // Of the two forms, for dark and for light colours, the right one is the lesser by far.
        const __m256d dark = _mm256_mul_pd(_mm256_add_pd(one, saturation), lightness);
        const __m256d light = _mm256_sub_pd(_mm256_add_pd(lightness, saturation), _mm256_mul_pd(lightness, saturation));
        most = _mm256_min_pd(dark, light);
        least = _mm256_sub_pd(_mm256_add_pd(lightness, lightness), most);
        const __m256d part = dividedBy<60>(_mm256_mul_pd(_mm256_sub_pd(most, least), weight));
        between = _mm256_mul_pd(full, _mm256_add_pd(least, part));
        most = _mm256_mul_pd(full, most);
        least = _mm256_mul_pd(full, least);
    } else {
        most = fourNumbers(rows[Colours::base] + i);
        least = _mm256_mul_pd(most, _mm256_sub_pd(one, saturation));
        between = _mm256_mul_pd(most, _mm256_sub_pd(one, _mm256_mul_pd(saturation, weight)));
    }
    result[0] = _mm256_cvttpd_epi32(least);
    result[1] = _mm256_cvttpd_epi32(between);
    result[2] = _mm256_cvttpd_epi32(most);
}

template <class Colours>
OWN_INLINE ColourLanes colours32(const uint8_t* const (&rows)[3], ptrdiff_t i)
{
    __m128i numbers[3][8];
    for (int k = 0; k < 8; ++k) {
        __m128i four[3];
        fourColours<Colours>(rows, i + 4 * k, four);
        for (int j = 0; j < 3; ++j)
            numbers[j][k] = four[j];
    }
    return {lowBytes(numbers[0]), lowBytes(numbers[1]), lowBytes(numbers[2])};
}

// The few colours of a strip that are to be computed in double precision: their values, which results may replace, and
// places.
template <class Colours>
class OpenColours {
public:
    static constexpr int most = 48;

    // Takes those of 32 colours whose bits are set. There are seldom more than two, and how many cannot be foreseen: so
    // two are taken without a question, and count if they are there.
    void add(uint32_t bits, const uint8_t* const (&rows)[3], ptrdiff_t start)
    {
        for (int k = 0; k < 2 || bits; ++k) {
            const ptrdiff_t place = start + __builtin_ctz(bits | 0x80000000u);
            places[count] = place;
            for (int j = 0; j < 3; ++j)
                values[j][count] = rows[j][place];
            count += bits != 0;
            bits &= bits - 1;
        }
    }
    void compute(void* const* to)
    {
        // The rows of least, between and most in each sector.
        constexpr uint8_t order[6][3] = {{2, 1, 0}, {2, 0, 1}, {0, 2, 1}, {0, 1, 2}, {1, 0, 2}, {1, 2, 0}};
        const uint8_t* const rows[3] = {values[0], values[1], values[2]};
        for (int i = 0; i < count; i += lanes) {
            if (i + lanes > count)
                fill();
            __m128i four[3];
            fourColours<Colours>(rows, i, four);
            alignas(16) int32_t numbers[3][lanes];
            for (int j = 0; j < 3; ++j)
                _mm_store_si128(reinterpret_cast<__m128i*>(numbers[j]), four[j]);
            for (int k = 0; k < lanes; ++k)
                for (int j = 0; j < 3; ++j)
                    ownStore(to[order[hueTable<Colours>.sectors[values[0][i + k]]][j]], places[i + k],
                             uint8_t(numbers[j][k]));
        }
        count = 0;
    }

private:
    static constexpr int lanes = 4;
    int count = 0;
    uint8_t values[3][most + lanes];
    ptrdiff_t places[most + lanes];

    // Repeats the last colour as often as vectors may ask for more.
    void fill()
    {
        for (int i = count; i < count + lanes - 1; ++i) {
            places[i] = places[count - 1];
            for (uint8_t(&row)[most + lanes] : values)
                row[i] = row[count - 1];
        }
    }
};

// ---- In whole numbers ---------------------------------------------------------------------------------------------

// Sixteen colours as words.
struct ColourWords {
    __m256i least, between, most, isWhole, isNearWhole;
};

OWN_INLINE ColourWords colourWords(__m256i base, __m256i saturation, __m256i height, __m256i factor)
{
    const __m256i zero = _mm256_setzero_si256(), one = _mm256_set1_epi16(1);
    const __m256i e = _mm256_mullo_epi16(saturation, height);
    const __m256i quotient = _mm256_srli_epi16(_mm256_add_epi16(_mm256_add_epi16(e, one), _mm256_srli_epi16(e, 8)), 8);
    const __m256i rest = _mm256_sub_epi16(e, _mm256_mullo_epi16(quotient, _mm256_set1_epi16(255)));
    ColourWords words;
    words.isWhole = _mm256_cmpeq_epi16(rest, zero);
    words.most = _mm256_add_epi16(base, quotient);
    words.least = _mm256_sub_epi16(_mm256_sub_epi16(base, one), _mm256_add_epi16(quotient, words.isWhole));
    const __m256i times = _mm256_mullo_epi16(height, factor);
    const __m256i low = _mm256_mullo_epi16(saturation, times), high = _mm256_mulhi_epi16(saturation, times);
    const __m256i products[2] = {_mm256_unpacklo_epi16(low, high), _mm256_unpackhi_epi16(low, high)};
    const __m256i bases[2] = {_mm256_unpacklo_epi16(base, zero), _mm256_unpackhi_epi16(base, zero)};
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
    // Of what leaves the range the low byte remains.
    words.between = _mm256_and_si256(_mm256_packs_epi32(between[0], between[1]), _mm256_set1_epi16(255));
    words.isNearWhole = _mm256_packs_epi32(isNear[0], isNear[1]);
    return words;
}

// 32 colours; `open` gets a bit for each with a whole quotient.
template <class Colours>
OWN_INLINE ColourLanes wholeColours(const uint8_t* const (&rows)[3], ptrdiff_t i, const Sectors<uint8_t>& sectors,
                                    uint32_t& open)
{
    const __m256i zero = _mm256_setzero_si256();
    const __m256i base = vectorOf(rows[Colours::base], i), saturation = vectorOf(rows[Colours::saturation], i);
    const __m256i height = Colours::template height<uint8_t>(base), factor = Colours::factor(sectors);
    const __m256i sign = _mm256_cmpgt_epi8(zero, factor);
    const ColourWords low = colourWords(_mm256_unpacklo_epi8(base, zero), _mm256_unpacklo_epi8(saturation, zero),
                                        _mm256_unpacklo_epi8(height, zero), _mm256_unpacklo_epi8(factor, sign));
    const ColourWords high = colourWords(_mm256_unpackhi_epi8(base, zero), _mm256_unpackhi_epi8(saturation, zero),
                                         _mm256_unpackhi_epi8(height, zero), _mm256_unpackhi_epi8(factor, sign));
    const ColourLanes colours = {_mm256_packus_epi16(low.least, high.least),
                                 _mm256_packus_epi16(low.between, high.between),
                                 Colours::isHls ? _mm256_packus_epi16(low.most, high.most) : base};
    // Nothing falls short of 0, and neither black nor grey is a quotient.
    const __m256i isWhole =
        _mm256_andnot_si256(_mm256_cmpeq_epi8(colours.least, zero), _mm256_packs_epi16(low.isWhole, high.isWhole));
    const __m256i isNear = _mm256_packs_epi16(low.isNearWhole, high.isNearWhole);
    const __m256i isPlain = _mm256_or_si256(_mm256_cmpeq_epi8(saturation, zero), _mm256_cmpeq_epi8(base, zero));
    open = uint32_t(_mm256_movemask_epi8(_mm256_andnot_si256(isPlain, _mm256_or_si256(isWhole, isNear))));
    return colours;
}

template <class Colours>
void hueBytesToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    constexpr int few = 6;
    constexpr ptrdiff_t strip = 256;
    static_assert(strip / 32 * few <= OpenColours<Colours>::most);
    auto row = [=](int k) { return static_cast<const uint8_t*>(from[k]); };
    const uint8_t* const rows[3] = {row(0), row(1), row(2)};
    OpenColours<Colours> openColours;
    for (ptrdiff_t start = 0; start < n; start += strip) {
        const ptrdiff_t end = n - start < strip ? n : start + strip;
        for (ptrdiff_t i = start; i < end; i += 32) {
            const Sectors<uint8_t> sectors = Colours::template sectors<uint8_t>(vectorOf(from[0], i));
            uint32_t open;
            ColourLanes colours = wholeColours<Colours>(rows, i, sectors, open);
            if (__builtin_popcount(open) > few)
                colours = colours32<Colours>(rows, i);
            else
                openColours.add(open, rows, i);
            storeColours(sectors, colours, to, i);
        }
        openColours.compute(to);
    }
}

}  // namespace OWN_ISA
#endif
