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
// Lanes of 16 bits: a plus the part of b - a that a weight tells, of which `half` are the low 16 bits. The product
// takes them as a signed number; `carry` has all bits set where that is too little by one, or where the weight is one.
inline __m256i mixLanes(__m256i a, __m256i b, __m256i half, __m256i carry)
{
    const __m256i difference = _mm256_sub_epi16(b, a);
    return _mm256_add_epi16(_mm256_add_epi16(a, _mm256_mulhi_epi16(difference, half)),
                            _mm256_and_si256(difference, carry));
}

// The same for the two bytes of each lane, of which 6 bits more come after the point.
inline __m256i mixPairs(__m256i pairs, __m256i half, __m256i carry)
{
    const __m256i first = _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(0x0040)),
                  difference = _mm256_maddubs_epi16(pairs, _mm256_set1_epi16(0x40C0));
    return _mm256_add_epi16(_mm256_add_epi16(first, _mm256_mulhi_epi16(difference, half)),
                            _mm256_and_si256(difference, carry));
}

// Lanes of 32 bits for weights above the largest signed number of 16 bits.
inline __m256i carryOf(__m256i weights)
{
    return _mm256_cmpgt_epi32(weights, _mm256_set1_epi32(INT16_MAX));
}

inline __m256i roundedLanes(__m256i mixed)
{
    return _mm256_srli_epi16(_mm256_add_epi16(mixed, _mm256_set1_epi16(32)), 6);
}

inline __m256i load(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

inline void save(void* to, __m256i words)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), words);
}
#endif

// Pixels of one channel.
void sampleFixedOne(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                    uint8_t* __restrict out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
#if defined(__AVX2__)
    // The four values of each pixel side by side, the upper pair first; then eight pixels at a time.
    alignas(64) uint16_t pairs[2 * ownPositions];
    const uint8_t* const dataBelow = data + below;
    if (right == 1)
        forEach(places.offset, n, pairs, 2, [data, dataBelow](uint16_t* to, ptrdiff_t offset) {
            storeAlone(to[0], ownLoad<uint16_t>(data + offset));
            storeAlone(to[1], ownLoad<uint16_t>(dataBelow + offset));
        });
    else
        forEach(places.offset, n, pairs, 2, [data, dataBelow, right](uint16_t* to, ptrdiff_t offset) {
            auto pairAt = [right](const uint8_t* p) { return uint16_t(p[0] | p[right] << 8); };
            storeAlone(to[0], pairAt(data + offset));
            storeAlone(to[1], pairAt(dataBelow + offset));
        });
    auto mixEight = [&](ptrdiff_t i) {
        const __m256i x = load(places.whole.x + i), y = load(places.whole.y + i);
        const __m256i twice = _mm256_blend_epi16(x, _mm256_slli_epi32(x, 16), 0xAA);
        const __m256i rows = mixPairs(load(pairs + 2 * i), twice, carryOf(x));
        const __m256i mixed = mixLanes(rows, _mm256_srli_epi32(rows, 16), y, carryOf(y));
        return _mm256_and_si256(roundedLanes(mixed), _mm256_set1_epi32(255));
    };
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i first = _mm256_packus_epi32(mixEight(i), mixEight(i + 8)),
                      second = _mm256_packus_epi32(mixEight(i + 16), mixEight(i + 24));
        save(out + i, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), order));
    }
#else
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        out[i] = mixFixed(p[0], p[right], p[below], p[below + right], places.whole.x[i], places.whole.y[i]);
    }
#endif
}

#if defined(__AVX2__)
// Whether rows of four pixels have 8 bytes at least and rows of two no more. Two rows of two then lie in memory that has
// so many bytes from the start of the upper one on, and before the end of the lower one.
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

// Rows of two pixels, the upper and the lower one of each position, and what brings their channels side by side.
struct PixelPairs {
    alignas(64) uint64_t rows[2 * ownPositions];
    __m256i order;

    template <int channels>
    void collect(const OwnSampleSource& source, const uint8_t* data, const int64_t* offsets, ptrdiff_t n)
    {
        const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
        if (eightHold(source, channels)) {
            const ptrdiff_t before = 8 - right - channels;
            const uint8_t* const dataBelow = data + below - before;
            forEach(offsets, n, rows, 2, [data, dataBelow](uint64_t* to, ptrdiff_t offset) {
                storeAlone(to[0], ownLoad<uint64_t>(data + offset));
                storeAlone(to[1], ownLoad<uint64_t>(dataBelow + offset));
            });
            setOrder(right, before);
            return;
        }
        auto pairAt = [right](const uint8_t* p) {
            return leftPixel<channels>(p) | uint64_t{rightPixel<channels>(p + right)} << 32;
        };
        forEach(offsets, n, rows, 2, [=](uint64_t* to, ptrdiff_t offset) {
            to[0] = pairAt(data + offset);
            to[1] = pairAt(data + below + offset);
        });
        setOrder(4, 0);
    }

private:
    void setOrder(ptrdiff_t right, ptrdiff_t before)
    {
        alignas(16) int8_t from[16];
        for (int i = 0; i < 8; ++i)
            for (int row = 0; row < 2; ++row) {
                const ptrdiff_t byte = row * (8 + before) + i / 2 + (i & 1) * right;
                from[8 * row + i] = int8_t(byte < 16 ? byte : -1);
            }
        order = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(from)));
    }
};

// An order of bytes that brings the low words of four weights, which both halves have, to four words each: two of them in
// the lower half and two in the upper one.
inline __m256i repeatedWords(int low, int low2, int high, int high2)
{
    auto word = [](int number) { return int16_t(4 * number | (4 * number + 1) << 8); };
    return _mm256_setr_epi16(word(low), word(low), word(low), word(low), word(low2), word(low2), word(low2), word(low2),
                             word(high), word(high), word(high), word(high), word(high2), word(high2), word(high2),
                             word(high2));
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
    PixelPairs pairs;
    pairs.collect<channels>(source, data, places.offset, n);
    // Of two positions, one in each half: the words of the upper row's channels, then those of the lower row's.
    const __m256i order = pairs.order;
    auto rowsAt = [&](ptrdiff_t i, __m256i half, __m256i carry) {
        return mixPairs(_mm256_shuffle_epi8(load(pairs.rows + 2 * i), order), half, carry);
    };
    auto weightsAt = [](const int32_t* weights) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
    };
    const __m256i first = repeatedWords(0, 0, 1, 1), second = repeatedWords(2, 2, 3, 3),
                  across = repeatedWords(0, 2, 1, 3);
    // Four positions, in the order 0, 2, 1, 3.
    auto mixFour = [&](ptrdiff_t i) {
        const __m256i x = weightsAt(places.whole.x + i), y = weightsAt(places.whole.y + i);
        const __m256i xCarry = carryOf(x), yCarry = carryOf(y);
        const __m256i a = rowsAt(i, _mm256_shuffle_epi8(x, first), _mm256_shuffle_epi8(xCarry, first)),
                      b = rowsAt(i + 2, _mm256_shuffle_epi8(x, second), _mm256_shuffle_epi8(xCarry, second));
        return roundedLanes(mixLanes(_mm256_unpacklo_epi64(a, b), _mm256_unpackhi_epi64(a, b),
                                     _mm256_shuffle_epi8(y, across), _mm256_shuffle_epi8(yCarry, across)));
    };
    const __m256i back = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (ptrdiff_t i = 0; i < n; i += 8) {
        const __m256i mixed = _mm256_permutevar8x32_epi32(_mm256_packus_epi16(mixFour(i), mixFour(i + 4)), back);
        storeFour<channels>(out + i * ownListedBytes(channels), _mm256_castsi256_si128(mixed));
        storeFour<channels>(out + (i + 4) * ownListedBytes(channels), _mm256_extracti128_si256(mixed, 1));
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
    const ptrdiff_t right = source.pixelBytes;
    const uint8_t* const dataBelow = data + ptrdiff_t(source.rowBytes);
    alignas(64) T values[4 * ownPositions];
    forEach(places.offset, n, values, 1, [=](T* to, ptrdiff_t offset) {
        storeAlone(to[0], ownLoad<T>(data + offset));
        storeAlone(to[ownPositions], ownLoad<T>(data + offset + right));
        storeAlone(to[2 * ownPositions], ownLoad<T>(dataBelow + offset));
        storeAlone(to[3 * ownPositions], ownLoad<T>(dataBelow + offset + right));
    });
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
