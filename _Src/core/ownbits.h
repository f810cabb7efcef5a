// Row kernels of tests: values in, a yes or no for each out, as a byte lane or as a bit.
#pragma once

#include "ownrow.h"

// d[i] = 255 where the test of a[i] and b[i], or of a[i] alone, holds, otherwise 0.
using OwnTestLanes = void (*)(const void* a, const void* b, const void* scalar, uint8_t* d, ptrdiff_t n);

// Where bits go: from bit 7 - bit of *data on and, if there is a mask, only where its bit is set; the mask's first bit is bit
// 7 - maskBit of *mask. Bits around them stay.
struct OwnBitPlace {
    uint8_t* data;
    int bit;
    const uint8_t* mask = nullptr;
    int maskBit = 0;
};

// The same as bits.
using OwnTestBits = void (*)(const void* a, const void* b, const void* scalar, const OwnBitPlace& to, ptrdiff_t n);

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

constexpr ptrdiff_t bitBlock = 64;

// The mask bits of up to 64 pixels from `start` on, the first on top; clear behind the last.
inline uint64_t maskOf(const OwnBitPlace& to, ptrdiff_t start, ptrdiff_t count)
{
    uint64_t all = ~uint64_t{0} << (bitBlock - count);
    if (!to.mask)
        return all;
    if (count == bitBlock)
        return maskWord(to.mask, to.maskBit + start);
    ptrdiff_t position = to.maskBit + start;
    const uint8_t* bytes = to.mask + (position >> 3);
    int shift = int(position & 7);
    uint64_t word = 0;
    for (ptrdiff_t k = 0; k * 8 < shift + count; ++k)
        word |= k < 8 ? uint64_t(bytes[k]) << (56 - 8 * k) << shift : bytes[k] >> (8 - shift);
    return word & all;
}

inline void mergeByte(uint8_t* d, uint64_t bits, uint64_t mask)
{
    *d = uint8_t(*d ^ ((*d ^ bits) & mask));
}

// Stores those bits of a word that the mask has into the eight bytes at d.
inline void mergeWord(uint8_t* d, uint64_t bits, uint64_t mask)
{
    uint64_t word;
    __builtin_memcpy(&word, d, sizeof word);
    word = __builtin_bswap64(word);
    word = __builtin_bswap64(word ^ ((word ^ bits) & mask));
    __builtin_memcpy(d, &word, sizeof word);
}

// The same for n bits, fewer than 64, from bit `bit` of *d on, in no more bytes than they have.
inline void mergeFew(uint8_t* d, int bit, uint64_t bits, uint64_t mask, ptrdiff_t n)
{
    mergeByte(d, bits >> bit >> 56, mask >> bit >> 56);
    for (ptrdiff_t done = 8 - bit; done < n; done += 8)
        mergeByte(++d, bits << done >> 56, mask << done >> 56);
}

// Stores the bits of n pixels. word(start) answers those of 64 pixels, as eight bytes in the order of memory; edge(start,
// count) those of up to 64, the first on top: of a row that is no longer, and else of the blocks at both ends, which
// overlap others so that all are whole.
template <class Word, class Edge>
inline __attribute__((always_inline)) void storeBits(const OwnBitPlace& to, ptrdiff_t n, Word word, Edge edge)
{
    if (n <= 0)
        return;
    if (n < bitBlock)
        return mergeFew(to.data, to.bit, edge(0, n), maskOf(to, 0, n), n);
    uint8_t* d = to.data;
    ptrdiff_t i = 0;
    if (to.bit) {
        mergeWord(d, edge(0, bitBlock) >> to.bit, maskOf(to, 0, bitBlock) >> to.bit);
        i = bitBlock - to.bit;
        d += 8;
    }
    if (to.mask) {
        for (; n - i >= bitBlock; i += bitBlock, d += 8)
            mergeWord(d, __builtin_bswap64(word(i)), maskWord(to.mask, to.maskBit + i));
    } else {
        for (; n - i >= bitBlock; i += bitBlock, d += 8) {
            uint64_t bits = word(i);
            __builtin_memcpy(d, &bits, sizeof bits);
        }
    }
    if (i < n) {
        ptrdiff_t bytes = (n - i + 7) >> 3;
        ptrdiff_t behind = bytes * 8 - (n - i);  // bits of the last byte that are not the row's
        mergeWord(d + bytes - 8, edge(n - bitBlock, bitBlock) << behind, maskOf(to, n - bitBlock, bitBlock) << behind);
    }
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
    static void bits(const void* a, const void* b, const void* scalar, const OwnBitPlace& to, ptrdiff_t n)
    {
        auto value = test(a, b, scalar);
        storeBits(
            to, n,
            [=](ptrdiff_t start) {
                uint8_t block[bitBlock];
                for (ptrdiff_t k = 0; k < bitBlock; ++k)
                    block[k] = value(start + k);
                return packedLanes(block);
            },
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
