// For kernel sources only: bringing the pixels of a list to their rows.
#pragma once

#include "ownfour.h"
#include "ownsample.h"

#if defined(OWN_ISA)
namespace OWN_ISA {
namespace {

#if defined(__SSE2__)
// Eight columns of eight rows of bytes.
inline void turnBytes(const uint8_t* from, uint8_t* const* to, ptrdiff_t at)
{
    auto load = [from](ptrdiff_t i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + i); };
    const __m128i a = load(0), b = load(1), c = load(2), d = load(3);  // columns 0 and 1, 2 and 3, ...
    const __m128i a2 = _mm_unpacklo_epi8(a, _mm_unpackhi_epi64(a, a)),
                  b2 = _mm_unpacklo_epi8(b, _mm_unpackhi_epi64(b, b)),
                  c2 = _mm_unpacklo_epi8(c, _mm_unpackhi_epi64(c, c)),
                  d2 = _mm_unpacklo_epi8(d, _mm_unpackhi_epi64(d, d));
    const __m128i low = _mm_unpacklo_epi16(a2, b2), high = _mm_unpackhi_epi16(a2, b2),
                  low2 = _mm_unpacklo_epi16(c2, d2), high2 = _mm_unpackhi_epi16(c2, d2);
    const __m128i rows[4] = {_mm_unpacklo_epi32(low, low2), _mm_unpackhi_epi32(low, low2),
                             _mm_unpacklo_epi32(high, high2), _mm_unpackhi_epi32(high, high2)};
    for (int r = 0; r < 4; ++r) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r] + at), rows[r]);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r + 1] + at), _mm_unpackhi_epi64(rows[r], rows[r]));
    }
}
#endif

#if defined(__AVX2__)
// Four columns of four rows of pixels.
template <int bytes>
inline void turnPixels(const uint8_t* from, uint8_t* const* to, ptrdiff_t at)
{
    const ptrdiff_t column = ownPositionRows * bytes;
    FourPixels<bytes>::turn({from, from + column, from + 2 * column, from + 3 * column},
                            {to[0] + at * bytes, to[1] + at * bytes, to[2] + at * bytes, to[3] + at * bytes});
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

// The pixels of a row from `first` on.
template <int bytes>
OWN_INLINE void deliverRow(const OwnDelivery& delivery, int row, ptrdiff_t first, ptrdiff_t columnStep)
{
    const ptrdiff_t step = delivery.step, count = delivery.count[row];
    const uint8_t* const pixels = delivery.pixels + row * delivery.rowStep * bytes;
    uint8_t* const to = delivery.to[row];
    if (delivery.marks) {
        const uint8_t* const marks = delivery.marks + row * delivery.rowStep;
        for (ptrdiff_t i = first; i < count; ++i)
            if (marks[i * columnStep])
                __builtin_memcpy(to + i * step, pixels + i * columnStep * bytes, bytes);
    } else if (step == bytes) {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * bytes, pixels + i * columnStep * bytes, bytes);
    } else {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * step, pixels + i * columnStep * bytes, bytes);
    }
}

template <int bytes>
void deliver(const OwnDelivery& delivery)
{
    if (delivery.columnStep == 1) {
        for (int row = 0; row < ownPositionRows; ++row)
            if (delivery.step == bytes && !delivery.marks && delivery.count[row] > 0)
                __builtin_memcpy(delivery.to[row], delivery.pixels + row * delivery.rowStep * bytes,
                                 size_t(delivery.count[row]) * bytes);
            else
                deliverRow<bytes>(delivery, row, 0, 1);
        return;
    }
    int32_t done = 0;
#if defined(__SSE2__)
    if (bytes == 1 && delivery.step == 1 && !delivery.marks)
        for (const int32_t common = commonCount(delivery); done + 8 <= common; done += 8)
            turnBytes(delivery.pixels + done * ownPositionRows, delivery.to, done);
#endif
#if defined(__AVX2__)
    if constexpr (bytes == 3 || bytes == 4)
        if (delivery.step == bytes && !delivery.marks)
            for (const int32_t common = commonCount(delivery); done + 4 <= common; done += 4)
                for (int row = 0; row < ownPositionRows; row += 4)
                    turnPixels<bytes>(delivery.pixels + (done * ownPositionRows + row) * bytes, delivery.to + row,
                                      done);
#endif
    for (int row = 0; row < ownPositionRows; ++row)
        deliverRow<bytes>(delivery, row, done, ownPositionRows);
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
