// For kernel sources only: samples between two by two pixels.
#pragma once

#include "ownfour.h"
#include "ownpack.h"
#include "ownplaces.h"

#if defined(OWN_ISA)
namespace OWN_ISA {
namespace {

// Values have 6 bits after the point, weights 16.
inline uint8_t mixFixed(int32_t a, int32_t b, int32_t c, int32_t d, int32_t xWeight, int32_t yWeight)
{
    const int32_t top = a * 64 + ((b - a) * 64 * xWeight >> 16), bottom = c * 64 + ((d - c) * 64 * xWeight >> 16);
    return uint8_t((top + ((bottom - top) * yWeight >> 16) + 32) >> 6);
}

#if defined(__AVX2__)
inline __m256i load(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

inline void save(void* to, __m256i words)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), words);
}

// The weights of samples, in the words of their lanes.
struct LaneWeights {
    __m256i x, xSides, y, yCarry;
};

// Between the two bytes of each lane, with 6 bits more after the point.
inline __m256i mixPairs(__m256i pairs, const LaneWeights& weights)
{
    const __m256i side = _mm256_maddubs_epi16(pairs, weights.xSides),
                  difference = _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(0x40C0));
    return _mm256_add_epi16(side, _mm256_mulhi_epi16(difference, weights.x));
}

// Between two rows of pairs, rounded.
inline __m256i mixRows(__m256i upper, __m256i lower, const LaneWeights& weights)
{
    const __m256i top = mixPairs(upper, weights), difference = _mm256_sub_epi16(mixPairs(lower, weights), top);
    const __m256i mixed = _mm256_add_epi16(_mm256_add_epi16(top, _mm256_mulhi_epi16(difference, weights.y)),
                                           _mm256_and_si256(difference, weights.yCarry));
    return _mm256_mulhrs_epi16(mixed, _mm256_set1_epi16(1 << (15 - 6)));
}

// The words of two vectors, side by side, as bytes.
inline __m256i bytesOf(__m256i first, __m256i second)
{
    return _mm256_permute4x64_epi64(_mm256_packus_epi16(first, second), 0xD8);
}

// Rows of two pixels of one channel, the upper and the lower one of eight positions. They are put into vectors one by
// one: it takes as long to store them first, and longer to fetch them by a gather where that is slow.
struct EightPairs {
    __m128i upper = _mm_setzero_si128(), lower = _mm_setzero_si128();

    template <class PairAt>
    OWN_ALWAYS EightPairs(const uint8_t* data, ptrdiff_t below, const int64_t* offsets, PairAt pairAt)
    {
        take<0>(data + offsets[0], below, pairAt);
        take<1>(data + offsets[1], below, pairAt);
        take<2>(data + offsets[2], below, pairAt);
        take<3>(data + offsets[3], below, pairAt);
        take<4>(data + offsets[4], below, pairAt);
        take<5>(data + offsets[5], below, pairAt);
        take<6>(data + offsets[6], below, pairAt);
        take<7>(data + offsets[7], below, pairAt);
    }

private:
    template <int place, class PairAt>
    OWN_ALWAYS void take(const uint8_t* p, ptrdiff_t below, PairAt pairAt)
    {
        upper = _mm_insert_epi16(upper, pairAt(p), place);
        lower = _mm_insert_epi16(lower, pairAt(p + below), place);
    }
};
#endif

// Pixels of one channel.
void sampleFixedOne(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                    uint8_t* __restrict out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
#if defined(__AVX2__)
    const auto& words = places.words;
    auto mixBy = [&](auto pairAt) OWN_ALWAYS {
        auto mixSixteen = [&](ptrdiff_t i) OWN_ALWAYS {
            const LaneWeights weights = {load(words.x + i), load(words.xSides + i), load(words.y + i),
                                         load(words.yCarry + i)};
            const EightPairs first(data, below, places.offset + i, pairAt),
                second(data, below, places.offset + i + 8, pairAt);
            return mixRows(_mm256_set_m128i(second.upper, first.upper), _mm256_set_m128i(second.lower, first.lower),
                           weights);
        };
        for (ptrdiff_t i = 0; i < n; i += 32)
            save(out + i, bytesOf(mixSixteen(i), mixSixteen(i + 16)));
    };
    if (right == 1)
        mixBy([](const uint8_t* p) { return ownLoad<uint16_t>(p); });
    else
        mixBy([right](const uint8_t* p) { return uint16_t(p[0] | p[right] << 8); });
#else
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        out[i] = mixFixed(p[0], p[right], p[below], p[below + right], places.whole.x[i], places.whole.y[i]);
    }
#endif
}

#if defined(__AVX2__)
// Whether rows of four pixels have 8 bytes at least and rows of two no more. Two rows of two then lie in memory that
// has so many bytes from the start of the upper one on, and before the end of the lower one.
inline bool eightHold(const OwnSampleSource& source, int channels)
{
    return source.pixelBytes + channels <= 8 && 3 * source.pixelBytes + channels >= 8;
}

// A pixel of up to four channels; what is read beyond them lies in its neighbour, before or behind.
template <int channels>
inline uint32_t leftPixel(const uint8_t* p)
{
    if constexpr (channels == 2)
        return ownLoad<uint16_t>(p);
    else
        return ownLoad<uint32_t>(p);
}
template <int channels>
inline uint32_t rightPixel(const uint8_t* p)
{
    if constexpr (channels == 3)
        return ownLoad<uint32_t>(p - 1) >> 8;
    else
        return leftPixel<channels>(p);
}

inline __m128i eightBytes(const uint8_t* p)
{
    return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p));
}

// Brings the bytes of rows of two pixels, two rows in each half, side by side by channels; the first pixel begins
// `before` bytes after the row.
inline __m256i pairOrder(ptrdiff_t right, ptrdiff_t before)
{
    alignas(16) int8_t from[16];
    for (int i = 0; i < 16; ++i) {
        const ptrdiff_t byte = before + (i & 7) / 2 + (i & 1) * right;
        from[i] = int8_t(byte < 8 ? (i & 8) + byte : -1);
    }
    return _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(from)));
}

// Each of four words in four lanes.
inline __m256i inFourLanes(const uint16_t* words)
{
    constexpr int first = 0x0100, second = 0x0302, third = 0x0504, fourth = 0x0706;
    const __m256i order = _mm256_setr_epi16(first, first, first, first, second, second, second, second, third, third,
                                            third, third, fourth, fourth, fourth, fourth);
    return _mm256_shuffle_epi8(_mm256_set1_epi64x(ownLoad<int64_t>(words)), order);
}

// Stores the channels of four pixels that have four. What it stores behind them, up to 16 bytes, belongs to the next
// four or is no part of a list.
template <int channels>
inline void storeFour(uint8_t* to, __m128i pixels)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), closedUp<ownListedBytes(channels)>(pixels));
}
#endif

template <int channels>
void sampleFixed(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                 uint8_t* __restrict out)
{
#if defined(__AVX2__)
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    const bool eight = eightHold(source, channels);
    const ptrdiff_t before = eight ? 8 - right - channels : 0;
    const __m256i upperOrder = pairOrder(eight ? right : 4, 0), lowerOrder = pairOrder(eight ? right : 4, before);
    const auto& words = places.words;
    auto mixFour = [&](ptrdiff_t i, auto upperAt, auto lowerAt) OWN_ALWAYS {
        const LaneWeights weights = {inFourLanes(words.x + i), inFourLanes(words.xSides + i), inFourLanes(words.y + i),
                                     inFourLanes(words.yCarry + i)};
        const uint8_t *const a = data + places.offset[i], *const b = data + places.offset[i + 1],
                             *const c = data + places.offset[i + 2], *const d = data + places.offset[i + 3];
        const __m256i upper =
            _mm256_set_m128i(_mm_unpacklo_epi64(upperAt(c), upperAt(d)), _mm_unpacklo_epi64(upperAt(a), upperAt(b)));
        const __m256i lower = _mm256_set_m128i(_mm_unpacklo_epi64(lowerAt(c + below), lowerAt(d + below)),
                                               _mm_unpacklo_epi64(lowerAt(a + below), lowerAt(b + below)));
        return mixRows(_mm256_shuffle_epi8(upper, upperOrder), _mm256_shuffle_epi8(lower, lowerOrder), weights);
    };
    auto mixBy = [&](auto upperAt, auto lowerAt) OWN_ALWAYS {
        for (ptrdiff_t i = 0; i < n; i += 8) {
            const __m256i mixed = bytesOf(mixFour(i, upperAt, lowerAt), mixFour(i + 4, upperAt, lowerAt));
            uint8_t* const to = out + i * ownListedBytes(channels);
            storeFour<channels>(to, _mm256_castsi256_si128(mixed));
            storeFour<channels>(to + 4 * ownListedBytes(channels), _mm256_extracti128_si256(mixed, 1));
        }
    };
    if (eight) {
        mixBy([](const uint8_t* p) { return eightBytes(p); },
              [before](const uint8_t* p) { return eightBytes(p - before); });
    } else {
        auto pairAt = [right](const uint8_t* p) {
            return _mm_unpacklo_epi32(_mm_cvtsi32_si128(int(leftPixel<channels>(p))),
                                      _mm_cvtsi32_si128(int(rightPixel<channels>(p + right))));
        };
        mixBy(pairAt, pairAt);
    }
#else
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        for (int c = 0; c < channels; ++c)
            out[i * ownListedBytes(channels) + c] =
                mixFixed(p[c], p[right + c], p[below + c], p[below + right + c], places.whole.x[i], places.whole.y[i]);
    }
#endif
}

// Of numbers, or of vectors of them.
template <class Number>
inline Number mix(Number a, Number b, Number weight)
{
    return a + (b - a) * weight;
}

#if defined(__AVX2__)
inline void storeFour(float* to, __m256d values)
{
    storeReals(to, 0, values);
}
inline void storeFour(uint16_t* to, __m256d values)
{
    const __m128i whole = _mm256_cvtpd_epi32(values);
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_packus_epi32(whole, whole));
}

// Calls run(first, mixed) for each channel, and stores what it mixes with the other channels.
template <class T, int channels, class Run>
inline void forChannels(const uint8_t* data, ptrdiff_t n, uint8_t* out, Run run)
{
    alignas(64) T mixed[ownPositions];
    for (int c = 0; c < channels; ++c) {
        run(data + c * ptrdiff_t(sizeof(T)), mixed);
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(out, i * channels + c, mixed[i]);
    }
}

// One channel: the four values of each position by kinds, then four positions at a time.
template <class T>
void mixLinear(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n, T* mixed)
{
    alignas(64) T values[4 * ownPositions];
    for (int which = 0; which < 4; ++which) {
        const uint8_t* const first =
            data + (which & 1 ? source.pixelBytes : 0) + (which & 2 ? ptrdiff_t(source.rowBytes) : 0);
        forEach(places.offset, n, values + which * ownPositions, 1,
                [first](T* to, ptrdiff_t offset) { storeAlone(*to, ownLoad<T>(first + offset)); });
    }
    for (ptrdiff_t i = 0; i < n; i += 4) {
        auto valuesAt = [&](ptrdiff_t which) { return realsAt(values + which * ownPositions, i); };
        const __m256d x = realsAt(places.real.x, i), y = realsAt(places.real.y, i);
        const __m256d top = mix(valuesAt(0), valuesAt(1), x), bottom = mix(valuesAt(2), valuesAt(3), x);
        storeFour(mixed + i, mix(top, bottom, y));
    }
}
#else
template <class T>
inline void storeReal(uint8_t* out, ptrdiff_t i, double value)
{
    if constexpr (sizeof(T) == 2)
        ownStore<T>(out, i, ownRounded<T>(value));
    else
        ownStore<T>(out, i, T(value));
}
#endif

template <class T, int channels>
void sampleLinear(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                  uint8_t* out)
{
#if defined(__AVX2__)
    forChannels<T, channels>(data, n, out,
                             [&](const uint8_t* first, T* mixed) { mixLinear(source, first, places, n, mixed); });
#else
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        const double xWeight = places.real.x[i], yWeight = places.real.y[i];
        for (int c = 0; c < channels; ++c) {
            const double top = mix<double>(ownLoad<T>(p, c), ownLoad<T>(p + right, c), xWeight),
                         bottom = mix<double>(ownLoad<T>(p + below, c), ownLoad<T>(p + below + right, c), xWeight);
            storeReal<T>(out, i * channels + c, mix(top, bottom, yWeight));
        }
    }
#endif
}

}  // namespace
}  // namespace OWN_ISA
#endif
