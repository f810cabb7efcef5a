// For kernel sources only: bringing the pixels of a list to their rows.
#pragma once

#include "ownfour.h"
#include "ownsample.h"

#if defined(OWN_ISA)
namespace OWN_ISA {
namespace {

#if defined(__SSE2__)
// Eight columns of eight rows of bytes, turned: two rows in each vector.
struct TurnedBytes {
    __m128i rows[4];

    explicit TurnedBytes(const uint8_t* from)
    {
        auto load = [from](ptrdiff_t i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + i); };
        const __m128i a = load(0), b = load(1), c = load(2), d = load(3);  // columns 0 and 1, 2 and 3, ...
        const __m128i a2 = _mm_unpacklo_epi8(a, _mm_unpackhi_epi64(a, a)),
                      b2 = _mm_unpacklo_epi8(b, _mm_unpackhi_epi64(b, b)),
                      c2 = _mm_unpacklo_epi8(c, _mm_unpackhi_epi64(c, c)),
                      d2 = _mm_unpacklo_epi8(d, _mm_unpackhi_epi64(d, d));
        const __m128i low = _mm_unpacklo_epi16(a2, b2), high = _mm_unpackhi_epi16(a2, b2),
                      low2 = _mm_unpacklo_epi16(c2, d2), high2 = _mm_unpackhi_epi16(c2, d2);
        rows[0] = _mm_unpacklo_epi32(low, low2);
        rows[1] = _mm_unpackhi_epi32(low, low2);
        rows[2] = _mm_unpacklo_epi32(high, high2);
        rows[3] = _mm_unpackhi_epi32(high, high2);
    }
};

inline void turnBytes(const uint8_t* from, uint8_t* const* to, ptrdiff_t at)
{
    const TurnedBytes turned(from);
    for (int r = 0; r < 4; ++r) {
        const __m128i pair = turned.rows[r];
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r] + at), pair);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r + 1] + at), _mm_unpackhi_epi64(pair, pair));
    }
}

// The same under marks.
inline void turnMarkedBytes(const uint8_t* from, const uint8_t* marks, uint8_t* const* to, ptrdiff_t at)
{
    const TurnedBytes turned(from), turnedMarks(marks);
    for (int r = 0; r < 4; ++r) {
        auto* const first = reinterpret_cast<__m128i*>(to[2 * r] + at);
        auto* const second = reinterpret_cast<__m128i*>(to[2 * r + 1] + at);
        const __m128i old = _mm_unpacklo_epi64(_mm_loadl_epi64(first), _mm_loadl_epi64(second));
        const __m128i kept = _mm_cmpeq_epi8(turnedMarks.rows[r], _mm_setzero_si128());
        const __m128i pair = _mm_or_si128(_mm_and_si128(kept, old), _mm_andnot_si128(kept, turned.rows[r]));
        _mm_storel_epi64(first, pair);
        _mm_storel_epi64(second, _mm_unpackhi_epi64(pair, pair));
    }
}
#endif

#if defined(__AVX2__)
// The first bytes of four pixels of 32 bits each; with `wide` 16 bytes are stored anyway.
template <int bytes>
inline void storeClosed(uint8_t* to, __m128i pixels, bool wide)
{
    if (wide)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to), closedUp<bytes>(pixels));
    else
        FourPixels<bytes>::store(to, pixels);
}

// Four columns of all rows of pixels, two rows in each vector. What `wide` stores behind them belongs to
// pixels that are stored later.
template <int bytes>
inline void turnPixels(const uint8_t* from, uint8_t* const* to, ptrdiff_t at, bool wide)
{
    auto column = [from](ptrdiff_t i) { return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from) + i); };
    const __m256i a = column(0), b = column(1), c = column(2), d = column(3);
    const __m256i upper = _mm256_unpacklo_epi32(a, b), upper2 = _mm256_unpacklo_epi32(c, d);
    const __m256i lower = _mm256_unpackhi_epi32(a, b), lower2 = _mm256_unpackhi_epi32(c, d);
    const __m256i rows[4] = {_mm256_unpacklo_epi64(upper, upper2), _mm256_unpackhi_epi64(upper, upper2),
                             _mm256_unpacklo_epi64(lower, lower2), _mm256_unpackhi_epi64(lower, lower2)};
    for (int r = 0; r < 4; ++r) {
        storeClosed<bytes>(to[r] + at * bytes, _mm256_castsi256_si128(rows[r]), wide);
        storeClosed<bytes>(to[r + 4] + at * bytes, _mm256_extracti128_si256(rows[r], 1), wide);
    }
}
#endif

// The columns that every row has.
inline int32_t commonCount(const OwnDelivery& delivery)
{
    int32_t common = delivery.count[0];
    for (int r = 1; r < ownPositionRows; ++r)
        common = delivery.count[r] < common ? delivery.count[r] : common;
    return common < 0 ? 0 : common;
}

// Stores pixels `first` to count - 1 of a row; pixelAt(number) tells where in the list or in the source each one is.
template <int bytes, class PixelAt>
OWN_INLINE void deliverRow(const OwnDelivery& delivery, int row, ptrdiff_t first, ptrdiff_t columnStep, PixelAt pixelAt)
{
    const ptrdiff_t step = delivery.step, count = delivery.count[row], start = row * delivery.rowStep;
    uint8_t* const to = delivery.to[row];
    if (delivery.marks) {
        const uint8_t* const marks = delivery.marks + start;
        for (ptrdiff_t i = first; i < count; ++i)
            if (marks[i * columnStep])
                __builtin_memcpy(to + i * step, pixelAt(start + i * columnStep), bytes);
    } else if (step == bytes) {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * bytes, pixelAt(start + i * columnStep), bytes);
    } else {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * step, pixelAt(start + i * columnStep), bytes);
    }
}

// Copies as many pixels as it can of a row whose pixels lie side by side on both sides; answers how many.
template <int bytes>
OWN_INLINE ptrdiff_t copyRow(const uint8_t* pixels, uint8_t* to, ptrdiff_t count)
{
    if constexpr (ownListedBytes(bytes) == bytes) {
        if (count > 0)
            __builtin_memcpy(to, pixels, size_t(count) * bytes);
        return count;
    }
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (bytes == 3)
        for (; i + 4 <= count; i += 4)
            FourPixels<3>::store(to + i * 3, FourPixels<4>::load(pixels + i * 4));
#endif
    return i;
}

template <int bytes>
void deliver(const OwnDelivery& delivery)
{
    constexpr int listed = ownListedBytes(bytes);
    const uint8_t* const pixels = delivery.pixels;
    auto pixelAt = [pixels](ptrdiff_t number) { return pixels + number * listed; };
    if (delivery.columnStep == 1) {
        for (int row = 0; row < ownPositionRows; ++row) {
            ptrdiff_t done = 0;
            if (delivery.step == bytes && !delivery.marks)
                done = copyRow<bytes>(delivery.pixels + row * delivery.rowStep * listed, delivery.to[row],
                                      delivery.count[row]);
            deliverRow<bytes>(delivery, row, done, 1, pixelAt);
        }
        return;
    }
    int32_t done = 0;
#if defined(__SSE2__)
    if (bytes == 1 && delivery.step == 1)
        for (const int32_t common = commonCount(delivery); done + 8 <= common; done += 8) {
            const ptrdiff_t number = ptrdiff_t{done} * ownPositionRows;
            if (delivery.marks)
                turnMarkedBytes(delivery.pixels + number, delivery.marks + number, delivery.to, done);
            else
                turnBytes(delivery.pixels + number, delivery.to, done);
        }
#endif
#if defined(__AVX2__)
    if constexpr (bytes == 3 || bytes == 4)
        if (delivery.step == bytes && !delivery.marks)
            for (const int32_t common = commonCount(delivery); done + 4 <= common; done += 4)
                turnPixels<bytes>(delivery.pixels + ptrdiff_t{done} * ownPositionRows * 4, delivery.to, done,
                                  (common - done) * bytes >= 16);
#endif
    for (int row = 0; row < ownPositionRows; ++row)
        deliverRow<bytes>(delivery, row, done, ownPositionRows, pixelAt);
}

void deliverBits(const OwnDelivery& delivery)
{
    for (int row = 0; row < ownPositionRows; ++row)
        for (ptrdiff_t i = 0; i < delivery.count[row]; ++i) {
            const ptrdiff_t number = i * delivery.columnStep + row * delivery.rowStep, place = i + delivery.bit[row];
            if (delivery.marks && !delivery.marks[number])
                continue;
            uint8_t& byte = delivery.to[row][place >> 3];
            const int bit = 128 >> (place & 7);
            byte = uint8_t(delivery.pixels[number] ? byte | bit : byte & ~bit);
        }
}

}  // namespace
}  // namespace OWN_ISA
#endif
