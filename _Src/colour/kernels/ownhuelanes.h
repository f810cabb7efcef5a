// For kernel sources: what conversions from and to hues do alike on vectors of bytes and of words.
#pragma once

#include "ownhue.h"

#if defined(__AVX2__)
#include "ownforms.h"

namespace OWN_ISA {

// Lanes of 8 or 16 bits.
template <class T>
struct Lanes;
template <>
struct Lanes<uint8_t> {
    static __m256i all(int value) { return _mm256_set1_epi8(int8_t(value)); }
    static __m256i sum(__m256i a, __m256i b) { return _mm256_add_epi8(a, b); }
    static __m256i cutSum(__m256i a, __m256i b) { return _mm256_adds_epu8(a, b); }
    static __m256i difference(__m256i a, __m256i b) { return _mm256_sub_epi8(a, b); }
    static __m256i average(__m256i a, __m256i b) { return _mm256_avg_epu8(a, b); }
    static __m256i larger(__m256i a, __m256i b) { return _mm256_max_epu8(a, b); }
    static __m256i lesser(__m256i a, __m256i b) { return _mm256_min_epu8(a, b); }
    static __m256i equal(__m256i a, __m256i b) { return _mm256_cmpeq_epi8(a, b); }
};
template <>
struct Lanes<uint16_t> {
    static __m256i all(int value) { return _mm256_set1_epi16(int16_t(value)); }
    static __m256i sum(__m256i a, __m256i b) { return _mm256_add_epi16(a, b); }
    static __m256i cutSum(__m256i a, __m256i b) { return _mm256_adds_epu16(a, b); }
    static __m256i difference(__m256i a, __m256i b) { return _mm256_sub_epi16(a, b); }
    static __m256i average(__m256i a, __m256i b) { return _mm256_avg_epu16(a, b); }
    static __m256i larger(__m256i a, __m256i b) { return _mm256_max_epu16(a, b); }
    static __m256i lesser(__m256i a, __m256i b) { return _mm256_min_epu16(a, b); }
    static __m256i equal(__m256i a, __m256i b) { return _mm256_cmpeq_epi16(a, b); }
};

// A quarter of a vector; what stands behind its eight bytes has no meaning.
OWN_INLINE __m128i quarterOf(__m256i v, int quarter)
{
    const __m128i half = quarter < 2 ? _mm256_castsi256_si128(v) : _mm256_extracti128_si256(v, 1);
    return quarter & 1 ? _mm_srli_si128(half, 8) : half;
}

OWN_INLINE __m256i chosen(__m256i mask, __m256i yes, __m256i no)
{
    return _mm256_blendv_epi8(no, yes, mask);
}

// ---- There --------------------------------------------------------------------------------------------------------

// What a colour's hue, lightness and saturation are made of; a third is what 120 degrees are.
template <class T, int third>
struct HueParts {
    __m256i most, least, chroma;
    __m256i first, second;  // the hue lies by their difference, in parts of the chroma, beside the base
    __m256i base;

    OWN_INLINE HueParts of(__m256i r, __m256i g, __m256i b)
    {
        using L = Lanes<T>;
        HueParts parts;
        parts.most = L::larger(L::larger(r, g), b);
        parts.least = L::lesser(L::lesser(r, g), b);
        parts.chroma = L::difference(parts.most, parts.least);
        const __m256i isRed = L::equal(r, parts.most), isGreen = L::equal(g, parts.most);
        parts.first = chosen(isRed, g, chosen(isGreen, b, r));
        parts.second = chosen(isRed, b, chosen(isGreen, r, g));
        // 0, 120 and 240 degrees, and 360 for what would be negative.
        const __m256i isPositive = L::equal(L::larger(parts.first, parts.second), parts.first);
        parts.base = chosen(isRed, _mm256_andnot_si256(isPositive, L::all(3 * third)),
                            chosen(isGreen, L::all(third), L::all(2 * third)));
        return parts;
    }
    // The average of the extremes, rounded down.
    __m256i lightness() const
    {
        using L = Lanes<T>;
        return L::difference(L::average(most, least), _mm256_and_si256(_mm256_xor_si256(most, least), L::all(1)));
    }
    // What the chroma is divided by for HLS: the sum of the extremes, or twice the full value less the sum.
    __m256i hlsDivisor() const
    {
        using L = Lanes<T>;
        return L::lesser(L::cutSum(most, least), L::cutSum(~most, ~least));
    }
};

// ---- Back ---------------------------------------------------------------------------------------------------------
//
// With the saturation s and a height h, which is V or how far the lightness is from black or white, whichever is
// nearer, e = s h, and a factor k that the hue gives, in thirds of the full value, the least value is base - e / full,
// HLS's most base + e / full, and the one between base + e k / (full third). Quotients in double precision give the
// same, but where one is a whole number they may fall short of it, and such colours are to be computed so.

template <class T>
constexpr int fullOf = int(HueRange<T>::full);

// The first hue of each sector.
template <class T, class Sector>
struct SectorBegins {
    int hues[6];

    constexpr SectorBegins() : hues()
    {
        for (int sector = 1; sector < 6; ++sector) {
            int below = hues[sector - 1], at = fullOf<T> - 1;
            while (below + 1 < at) {
                const int middle = (below + at) / 2;
                (Sector(double(middle) * 360 / fullOf<T>).sector < sector ? below : at) = middle;
            }
            hues[sector] = at;
        }
    }
};

template <class T, class Sector>
constexpr SectorBegins<T, Sector> sectorBegins = {};

// Sectors of a vector of hues.
template <class T>
struct Sectors {
    static constexpr int third = fullOf<T> / 3;
    __m256i isFrom[6];  // at or beyond the beginning of sector 1 to 5
    __m256i position;   // 2 hue - third sector, a third being a sector
    __m256i isOdd;

    template <class Sector>
    static Sectors of(__m256i hue)
    {
        using L = Lanes<T>;
        Sectors sectors;
        sectors.position = L::sum(hue, hue);
        sectors.isOdd = _mm256_setzero_si256();
        for (int k = 1; k < 6; ++k) {
            const __m256i begin = L::all(sectorBegins<T, Sector>.hues[k]);
            const __m256i isFrom = L::equal(L::larger(hue, begin), hue);
            sectors.position = L::difference(sectors.position, _mm256_and_si256(isFrom, L::all(third)));
            sectors.isOdd = _mm256_xor_si256(sectors.isOdd, isFrom);
            sectors.isFrom[k] = isFrom;
        }
        return sectors;
    }
};

struct HsvColours {
    static constexpr bool isHls = false;
    static constexpr int base = 2, saturation = 1;  // rows
    using Sector = HsvSector<double>;

    template <class T>
    static Sectors<T> sectors(__m256i hue)
    {
        // 360 degrees are 0.
        return Sectors<T>::template of<Sector>(_mm256_andnot_si256(Lanes<T>::equal(hue, Lanes<T>::all(-1)), hue));
    }
    template <class T>
    static __m256i height(__m256i value)
    {
        return value;
    }
    template <class T>
    static __m256i factor(const Sectors<T>& sectors)
    {
        using L = Lanes<T>;
        const __m256i even = L::difference(sectors.position, L::all(Sectors<T>::third));
        return chosen(sectors.isOdd, L::difference(_mm256_setzero_si256(), sectors.position), even);
    }
};

struct HlsColours {
    static constexpr bool isHls = true;
    static constexpr int base = 1, saturation = 2;
    using Sector = HlsSector<double>;

    template <class T>
    static Sectors<T> sectors(__m256i hue)
    {
        return Sectors<T>::template of<Sector>(hue);
    }
    template <class T>
    static __m256i height(__m256i lightness)
    {
        return Lanes<T>::lesser(lightness, ~lightness);
    }
    template <class T>
    static __m256i factor(const Sectors<T>& sectors)
    {
        using L = Lanes<T>;
        const __m256i twice = L::sum(sectors.position, sectors.position), third = L::all(Sectors<T>::third);
        return chosen(sectors.isOdd, L::difference(third, twice), L::difference(twice, third));
    }
};

// A vector of each of the values that colours have.
struct ColourLanes {
    __m256i least, between, most;
};

// From sector to sector each channel falls or rises in turn.
template <class T>
OWN_INLINE void storeColours(const Sectors<T>& sectors, const ColourLanes& v, void* const* to, ptrdiff_t bytes)
{
    const __m256i* isFrom = sectors.isFrom;
    const __m256i upper = v.most ^ v.between, lower = v.between ^ v.least;
    storeVector(to[0], bytes, v.most ^ ((isFrom[1] ^ isFrom[5]) & upper) ^ ((isFrom[2] ^ isFrom[4]) & lower));
    storeVector(to[1], bytes, v.between ^ ((isFrom[1] ^ isFrom[3]) & upper) ^ (isFrom[4] & lower));
    storeVector(to[2], bytes, v.least ^ (isFrom[2] & lower) ^ ((isFrom[3] ^ isFrom[5]) & upper));
}

}  // namespace OWN_ISA
#endif
