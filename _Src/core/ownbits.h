// Row kernels of tests: values in, a yes or no for each out, as a byte lane or as a bit.
#pragma once

#include "ownrow.h"

// d[i] = 255 where the test of a[i] and b[i], or of a[i] alone, holds, otherwise 0.
using OwnTestLanes = void (*)(const void* a, const void* b, const void* scalar, uint8_t* d, ptrdiff_t n);

// The same as bits, the first being bit 7 - bit of *d. Bits around them stay.
using OwnTestBits = void (*)(const void* a, const void* b, const void* scalar, uint8_t* d, int bit, ptrdiff_t n);

struct OwnTestKernel {
    OwnTestLanes lanes;
    OwnTestBits bits;
};

// For kernel sources only: the templates.
#ifdef OWN_ISA
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {

// The bits of 64 lanes, bytes of 0 or 255: eight bytes in the order of memory.
inline uint64_t packedLanes(const uint8_t* lanes)
{
#if defined(__AVX2__)
    const __m256i reverse =
        _mm256_setr_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F);
    auto* vectors = reinterpret_cast<const __m256i*>(lanes);
    auto low = uint32_t(_mm256_movemask_epi8(_mm256_shuffle_epi8(_mm256_loadu_si256(vectors), reverse)));
    auto high = uint32_t(_mm256_movemask_epi8(_mm256_shuffle_epi8(_mm256_loadu_si256(vectors + 1), reverse)));
    return low | uint64_t{high} << 32;
#else
    uint64_t bits = 0;
    for (int j = 0; j < 8; ++j) {
        uint64_t eight;
        __builtin_memcpy(&eight, lanes + j * 8, 8);
        bits |= ((eight & 0x0102040810204080u) * 0x0101010101010101u) >> 56 << (8 * j);
    }
    return bits;
#endif
}

// Stores the first `count` bits, fewer than 64, of a word whose first bit is the top one; the rest of the last byte stays.
inline void putBits(uint8_t* d, uint64_t bits, int count)
{
    for (; count >= 8; count -= 8, bits <<= 8)
        *d++ = uint8_t(bits >> 56);
    if (count > 0) {
        int mask = 0xFF << (8 - count);
        *d = uint8_t((*d & ~mask) | (int(bits >> 56) & mask));
    }
}

constexpr ptrdiff_t bitBlock = 64;

// Stores value(i), 255 or 0, of n values as bits from bit `bit` of *d on, and leaves the bits around them. edge(start, count)
// answers the bits of up to 64 values, the first in the top bit: of a row that is no longer, and else of the blocks that
// fill up the first byte and that end with the row, so that all others are whole.
template <class Value, class Edge>
inline __attribute__((always_inline)) void storeBits(uint8_t* d, int bit, ptrdiff_t n, Value value, Edge edge)
{
    if (n <= 0)
        return;
    bool isShort = n < bitBlock;
    uint64_t first = isShort || bit ? edge(0, isShort ? n : bitBlock) : 0;
    ptrdiff_t i = 0;
    if (bit) {
        i = n < 8 - bit ? n : 8 - bit;
        int mask = (0xFF >> bit) & (0xFF << (8 - bit - i));
        *d = uint8_t((*d & ~mask) | (int(first >> 56 >> bit) & mask));
        ++d;
    }
    for (; n - i >= bitBlock; i += bitBlock, d += bitBlock / 8) {
        uint8_t lanes[bitBlock];
        for (ptrdiff_t k = 0; k < bitBlock; ++k)
            lanes[k] = value(i + k);
        uint64_t bits = packedLanes(lanes);
        __builtin_memcpy(d, &bits, sizeof bits);
    }
    if (int rest = int(n - i))
        putBits(d, isShort ? first << i : edge(n - bitBlock, bitBlock) << (bitBlock - rest), rest);
}

// Kernels of a test. Op is made from the scalar's address and has the type Source and operator()(a, b) or operator()(a).
template <class Op>
struct TestRows {
    using S = typename Op::Source;

    static auto test(const void* a, const void* b, const void* scalar)
    {
        auto* x = static_cast<const S*>(a);
        auto* y = static_cast<const S*>(b);
        const Op op(scalar);
        if constexpr (requires(S value) { op(value, value); })
            return [=](ptrdiff_t i) { return uint8_t(op(x[i], y[i]) ? 0xFF : 0); };
        else
            return [=](ptrdiff_t i) { return uint8_t(op(x[i]) ? 0xFF : 0); };
    }
    static __attribute__((noinline)) void lanes(const void* a, const void* b, const void* scalar, uint8_t* d,
                                                ptrdiff_t n)
    {
        storeRow(d, n, false, test(a, b, scalar));
    }
    static void bits(const void* a, const void* b, const void* scalar, uint8_t* d, int bit, ptrdiff_t n)
    {
        storeBits(d, bit, n, test(a, b, scalar),
                  [=](ptrdiff_t start, ptrdiff_t count) { return edge(a, b, scalar, start, count); });
    }
    static constexpr OwnTestKernel kernel = {lanes, bits};

private:
    static __attribute__((noinline)) uint64_t edge(const void* a, const void* b, const void* scalar, ptrdiff_t start,
                                                   ptrdiff_t count)
    {
        uint8_t block[bitBlock] = {};
        if (count < bitBlock) {
            lanes(a, b, scalar, block, count);  // a short row has no other block, so that start is 0
        } else {
            auto value = test(a, b, scalar);
            for (ptrdiff_t k = 0; k < bitBlock; ++k)
                block[k] = value(start + k);
        }
        return __builtin_bswap64(packedLanes(block));
    }
};

}  // namespace OWN_ISA
#endif
