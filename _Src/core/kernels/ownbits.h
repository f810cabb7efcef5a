// Row kernels of tests: values in, a yes or no for each out, as a byte lane or as a bit.
#pragma once

#include "ownrow.h"

// d[i] = 255 where the test of a[i] and b[i], or of a[i] alone, holds, otherwise 0.
using OwnTestLanes = void (*)(const void* a, const void* b, const void* scalar, uint8_t* d, ptrdiff_t n);

// Rows of n values: where the first one begins, where its bits go, and how many bytes lie from row to row.
struct OwnTestRows {
    const void* a;
    const void* b;
    const void* scalar;
    OwnBitPlace to;
    ptrdiff_t n;
    ptrdiff_t count = 1;
    ptrdiff_t aStep = 0;
    ptrdiff_t bStep = 0;
    ptrdiff_t bitStep = 0;
    ptrdiff_t maskStep = 0;
};

// The same as bits, for all rows.
using OwnTestBits = void (*)(const OwnTestRows& rows);

struct OwnTestKernel {
    OwnTestLanes lanes;
    OwnTestBits bits;
};

// For kernel sources only: the templates.
#ifdef OWN_ISA
#include <string.h>

namespace OWN_ISA {

// The bits of 64 lanes, of which each is 0 or has all bits set: eight bytes in the order of memory.
#if defined(__AVX2__)
inline __m256i lanesAt(const void* lanes, int vector)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(lanes) + vector);
}

// Two vectors of words, or four of double words, become one of bytes.
inline __m256i narrowed(const int8_t* lanes, int half)
{
    return lanesAt(lanes, half);
}
inline __m256i narrowed(const int16_t* lanes, int half)
{
    __m256i bytes = _mm256_packs_epi16(lanesAt(lanes, half * 2), lanesAt(lanes, half * 2 + 1));
    return _mm256_permute4x64_epi64(bytes, 0xD8);
}
inline __m256i narrowed(const int32_t* lanes, int half)
{
    __m256i low = _mm256_packs_epi32(lanesAt(lanes, half * 4), lanesAt(lanes, half * 4 + 1));
    __m256i high = _mm256_packs_epi32(lanesAt(lanes, half * 4 + 2), lanesAt(lanes, half * 4 + 3));
    return _mm256_permutevar8x32_epi32(_mm256_packs_epi16(low, high), _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template <class L>
inline uint64_t packedLanes(const L* lanes)
{
    const __m256i reverse =
        _mm256_setr_epi64x(0x0001020304050607, 0x08090A0B0C0D0E0F, 0x0001020304050607, 0x08090A0B0C0D0E0F);
    auto low = uint32_t(_mm256_movemask_epi8(_mm256_shuffle_epi8(narrowed(lanes, 0), reverse)));
    auto high = uint32_t(_mm256_movemask_epi8(_mm256_shuffle_epi8(narrowed(lanes, 1), reverse)));
    return low | uint64_t{high} << 32;
}
#elif defined(__SSE2__)
inline uint64_t packedLanes(const int8_t* lanes)
{
    uint64_t bits = 0;
    for (int j = 0; j < 4; ++j) {
        __m128i lane = _mm_loadu_si128(reinterpret_cast<const __m128i*>(lanes) + j);
        lane = _mm_or_si128(_mm_slli_epi16(lane, 8), _mm_srli_epi16(lane, 8));
        lane = _mm_shufflehi_epi16(_mm_shufflelo_epi16(lane, 0x1B), 0x1B);
        bits |= uint64_t(uint32_t(_mm_movemask_epi8(lane))) << (16 * j);
    }
    return bits;
}
#else
inline uint64_t packedLanes(const int8_t* lanes)
{
    uint64_t bits = 0;
    for (int j = 0; j < 8; ++j) {
        uint64_t eight;
        __builtin_memcpy(&eight, lanes + j * 8, 8);
        bits |= ((ownFirstBelow(eight) & 0x0102040810204080u) * 0x0101010101010101u) >> 56 << (8 * j);
    }
    return ownFirstBelow(bits);
}
#endif

constexpr ptrdiff_t bitBlock = 64;

// The bits of 64 values from `start` on; test(i) tells of each. The values have as many bytes as T.
template <class T, class Test>
inline __attribute__((always_inline)) uint64_t bitsOfBlock(ptrdiff_t start, Test test)
{
#if defined(__AVX2__)
    using L = Lane<T>;  // a comparison yields lanes of the size of what it compares
#else
    using L = int8_t;
#endif
    L lanes[bitBlock];
    for (ptrdiff_t k = 0; k < bitBlock; ++k)
        lanes[k] = L(test(start + k) ? -1 : 0);
    return packedLanes(lanes);
}

// The eight bytes at d, the first on top, with those bits of a word that the mask has.
inline uint64_t mergedWord(const uint8_t* d, uint64_t bits, uint64_t mask)
{
    uint64_t word;
    __builtin_memcpy(&word, d, sizeof word);
    word = ownFirstOnTop(word);
    return word ^ ((word ^ bits) & mask);
}

inline void storeWord(uint8_t* d, uint64_t word)
{
    word = ownFirstOnTop(word);
    __builtin_memcpy(d, &word, sizeof word);
}

// Stores the first n bits of a word, fewer than 64, and touches no more bytes than hold them.
inline __attribute__((noinline)) void mergeFew(const OwnBitPlace& to, uint64_t bits, ptrdiff_t n)
{
    uint64_t mask = ~uint64_t{0};
    if (to.mask) {
        uint8_t bytes[16] = {};
        memcpy(bytes, to.mask, size_t((to.maskBit + n + 7) >> 3));
        mask = maskWord(bytes, to.maskBit);
    }
    mask &= ~(~uint64_t{0} >> n);
    uint8_t window[16] = {};
    size_t size = size_t((to.bit + n + 7) >> 3);
    memcpy(window, to.data, size);
    storeWord(window, mergedWord(window, bits >> to.bit, mask >> to.bit));
    if (size > 8)
        storeWord(window + 8, mergedWord(window + 8, bits << (64 - to.bit), mask << (64 - to.bit)));
    memcpy(to.data, window, size);
}

// Where the blocks of a row of n bits, at least one block, lie: the first one, of whose eight bytes a part may lie
// before the row, whole ones, and the last one, of whose bytes a part may lie behind it. It overlaps the others.
struct BitBlocks {
    ptrdiff_t head;   // pixels in the first one's bytes
    ptrdiff_t whole;  // the pixel where the whole ones end
    ptrdiff_t last;   // the last one's bytes, from the row's first byte on
    int bit;
    int behind;  // bits behind the row in the last one's bytes

    BitBlocks(int bit, ptrdiff_t n) : head(bitBlock - bit), bit(bit)
    {
        const ptrdiff_t bytes = (bit + n + 7) >> 3;
        whole = n > head ? n - 1 - ((n - 1 - head) & (bitBlock - 1)) : head;
        last = bytes - 8;
        behind = int(bytes * 8 - bit - n);
    }
};

// Stores the bits of n pixels, at least one block. block(start) answers those of 64 as eight bytes in the order of
// memory. The last block is read and computed first: a load of bytes that were stored in parts has to wait for them,
// and the bits may take the place of what they are made of.
template <class Block>
inline __attribute__((always_inline)) void storeBlocks(const BitBlocks& blocks, const OwnBitPlace& to, ptrdiff_t n,
                                                       Block block)
{
    auto wordAt = [=](ptrdiff_t start) { return ownFirstOnTop(block(start)); };
    auto maskAt = [&](ptrdiff_t start) { return to.mask ? maskWord(to.mask, to.maskBit + start) : ~uint64_t{0}; };
    uint8_t* d = to.data;
    const uint64_t last =
        mergedWord(d + blocks.last, wordAt(n - bitBlock) << blocks.behind, maskAt(n - bitBlock) << blocks.behind);
    storeWord(d, mergedWord(d, wordAt(0) >> blocks.bit, maskAt(0) >> blocks.bit));
    d += 8;
    if (to.mask) {
        for (ptrdiff_t i = blocks.head; i < blocks.whole; i += bitBlock, d += 8)
            storeWord(d, mergedWord(d, wordAt(i), maskAt(i)));
    } else {
        for (ptrdiff_t i = blocks.head; i < blocks.whole; i += bitBlock, d += 8) {
            uint64_t bits = block(i);
            __builtin_memcpy(d, &bits, sizeof bits);
        }
    }
    storeWord(to.data + blocks.last, last);
}

// The same for any n; few(n) answers the bits of a row that is shorter than a block, the first on top.
template <class Block, class Few>
inline __attribute__((always_inline)) void storeBits(const OwnBitPlace& to, ptrdiff_t n, Block block, Few few)
{
    if (n >= bitBlock)
        storeBlocks(BitBlocks(to.bit, n), to, n, block);
    else if (n > 0)
        mergeFew(to, few(n), n);
}

// Kernels of a test. Op is made from the scalar's address and has the type Source and operator()(a, b) or
// operator()(a).
template <class Op>
struct TestRows {
    using S = typename Op::Source;

    static constexpr bool two = requires(const Op& op, S value) { op(value, value); };

    static auto test(const void* a, const void* b, const Op& op)
    {
        const OwnValues<S> x = {a}, y = {b};
        if constexpr (two)
            return [=](ptrdiff_t i) { return op(x[i], y[i]); };
        else
            return [=](ptrdiff_t i) { return op(x[i]); };
    }
    static __attribute__((noinline)) void lanes(const void* a, const void* b, const void* scalar, uint8_t* d,
                                                ptrdiff_t n)
    {
        auto holds = test(a, b, Op(scalar));
        storeRow<uint8_t>(d, n, false, [=](ptrdiff_t i) { return uint8_t(holds(i) ? 0xFF : 0); });
    }
    // The bits of a row that is shorter than a block.
    static uint64_t few(const void* a, const void* b, const void* scalar, ptrdiff_t n)
    {
        int8_t row[bitBlock] = {};
        lanes(a, b, scalar, reinterpret_cast<uint8_t*>(row), n);
        return ownFirstOnTop(bitsOfBlock<int8_t>(0, [&](ptrdiff_t k) { return row[k] < 0; }));
    }
    static void bits(const OwnTestRows& rows) { rows.to.mask ? bitRows<true>(rows) : bitRows<false>(rows); }
    template <bool masked>
    static __attribute__((flatten)) void bitRows(const OwnTestRows& rows)
    {
        const Op op(rows.scalar);
        const void* scalar = rows.scalar;
        const ptrdiff_t n = rows.n, maskStep = rows.maskStep;
        const OwnBitPlace place = rows.to;
        const BitBlocks blocks(place.bit, n);
        const uint8_t* mask = masked ? place.mask : nullptr;
        const OwnRows all = {rows.a, rows.b, place.data, n, rows.count, rows.aStep, rows.bStep, rows.bitStep};
        auto placeAt = [=, &mask](uint8_t* d) {
            const OwnBitPlace to = {d, place.bit, masked ? mask : nullptr, place.maskBit};
            if (masked)
                mask += maskStep;
            return to;
        };
        constexpr int sources = two ? 2 : 1;
        if (n >= bitBlock)
            forRows<sizeof(S) * 8, 1, sources>(all, [=](const uint8_t* a, const uint8_t* b, uint8_t* d) {
                auto holds = test(a, b, op);
                storeBlocks(blocks, placeAt(d), n, [=](ptrdiff_t start) { return bitsOfBlock<S>(start, holds); });
            });
        else if (n > 0)
            forRows<sizeof(S) * 8, 1, sources>(all, [=](const uint8_t* a, const uint8_t* b, uint8_t* d) {
                mergeFew(placeAt(d), few(a, b, scalar, n), n);
            });
    }
    static constexpr OwnTestKernel kernel = {lanes, bits};
};

}  // namespace OWN_ISA
#endif
