// Row kernels: what an operation does to one row of values in plain memory.
//
// Every pointwise operation is a small record with a function on values; the templates here make row kernels of it. The
// traversals (ownpixels.h) bring rows of every layout into this form.
#pragma once

#include <stddef.h>
#include <stdint.h>

// d[i] = f(a[i], b[i]) for n values. A kernel with one source reads its scalar from b, one without reads it too.
using OwnRun = void (*)(const void* a, const void* b, void* d, ptrdiff_t n);

// The same, but only where lanes[i], a value of d's size, has all bits set; where it has none, d[i] is stored as it is.
using OwnSelect = void (*)(const void* a, const void* b, void* d, const void* lanes, ptrdiff_t n);

// The same for n values, at least OWN_MASKED_LEAST, under mask bits of which the first is bit 7 - bit of *bits.
using OwnMasked = void (*)(const void* a, const void* b, void* d, const uint8_t* bits, int bit, ptrdiff_t n);

enum { OWN_MASKED_LEAST = 64 };

struct OwnRowKernel {
    OwnRun run;
    OwnSelect select;
    OwnMasked masked = nullptr;  // a quicker way for values under a mask; may be missing
};

// The index of a depth in a family's table of kernels; 1U works on bytes of eight pixels.
enum OwnDepthIndex { OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F, OWN_DEPTHS };

// For kernel sources only: the templates.
#ifdef OWN_ISA
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {

template <int bytes>
struct LaneOf;
template <>
struct LaneOf<1> {
    using type = int8_t;
};
template <>
struct LaneOf<2> {
    using type = int16_t;
};
template <>
struct LaneOf<4> {
    using type = int32_t;
};
template <class T>
using Lane = typename LaneOf<sizeof(T)>::type;

// A lane of a byte selects bit by bit, since bytes may be eight pixels of 1U.
template <class T>
inline T select(Lane<T> lane, T yes, T no)
{
    if constexpr (sizeof(T) == 1)
        return T(no ^ ((yes ^ no) & lane));
    else
        return lane < 0 ? yes : no;
}

// Of the lanes of values the sign tells.
template <class T>
inline T blend(Lane<T> lane, T yes, T no)
{
    return lane < 0 ? yes : no;
}

// d[i] = value(i) for n values from `start` on; a count that the compiler knows becomes a few vectors.
template <int n, class D, class Value>
inline __attribute__((always_inline)) void storeBlock(D* d, ptrdiff_t start, Value value)
{
#pragma GCC ivdep
    for (ptrdiff_t i = start; i < start + n; ++i)
        d[i] = value(i);
}

// Stores value(i) for n values. Rows are short as often as long, so there are no loops over what is left at the ends:
// blocks overlap there, and those between lie on cache lines. In place a value must not be computed twice; there the last
// block is computed before anything is stored.
template <int block = 64, class D, class Value>
inline __attribute__((always_inline)) void storeRow(D* d, ptrdiff_t n, bool inPlace, Value value)
{
    if (n < block) {
        if constexpr (block > 16) {
            storeRow<block / 2>(d, n, inPlace, value);
        } else {
            for (ptrdiff_t i = 0; i < n; ++i)
                d[i] = value(i);
        }
        return;
    }
    if (inPlace) {
        D last[block];
        for (int i = 0; i < block; ++i)
            last[i] = value(n - block + i);
        for (ptrdiff_t i = 0; i < n - block; i += block)
            storeBlock<block>(d, i, value);
        __builtin_memcpy(d + n - block, last, sizeof last);
        return;
    }
    storeBlock<block>(d, 0, value);
    constexpr ptrdiff_t cacheLine = 64;
    ptrdiff_t aligned = cacheLine - ptrdiff_t(reinterpret_cast<uintptr_t>(d) & (cacheLine - 1));
    for (ptrdiff_t i = aligned / ptrdiff_t(sizeof(D)); i < n - block; i += block)
        storeBlock<block>(d, i, value);
    storeBlock<block>(d, n - block, value);
}

// 64 mask bits from bit `position` of *bits on, the first one on top. Reads the bytes that hold them and no other.
inline uint64_t maskWord(const uint8_t* bits, ptrdiff_t position)
{
    const uint8_t* first = bits + (position >> 3);
    int shift = int(position & 7);
    uint64_t word;
    __builtin_memcpy(&word, first, 8);
    word = __builtin_bswap64(word);
    return shift ? word << shift | uint64_t(first[8] >> (8 - shift)) : word;
}

// Byte lanes of 64 mask bits.
inline void lanesOf64(uint64_t word, int8_t* lanes)
{
    word = __builtin_bswap64(word);
#if defined(__AVX2__)
    const __m256i all = _mm256_set1_epi64x(int64_t(word));
    const __m256i wanted = _mm256_set1_epi64x(0x0102040810204080);
    for (int half = 0; half < 2; ++half) {
        const int64_t base = half * 0x0404040404040404;
        const __m256i spread =
            _mm256_setr_epi64x(base, base + 0x0101010101010101, base + 0x0202020202020202, base + 0x0303030303030303);
        __m256i mine = _mm256_and_si256(_mm256_shuffle_epi8(all, spread), wanted);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes + half * 32), _mm256_cmpeq_epi8(mine, wanted));
    }
#else
    for (int j = 0; j < 8; ++j) {
        uint64_t spread = ((word >> (8 * j) & 0xFF) * 0x0101010101010101u) & 0x0102040810204080u;
        uint64_t tops = (spread + 0x7F7F7F7F7F7F7F7Fu) & 0x8080808080808080u;
        uint64_t eight = tops | (tops - (tops >> 7));
        __builtin_memcpy(lanes + j * 8, &eight, 8);
    }
#endif
}

// Stores value(i) where the mask bit is set. As in storeRow the last block is computed first and overlaps.
template <class D, class Value>
inline __attribute__((always_inline)) void maskRow(D* d, ptrdiff_t n, const uint8_t* bits, int bit, Value value)
{
    constexpr int block = OWN_MASKED_LEAST;
    alignas(32) int8_t lanes[block];
    D last[block];
    lanesOf64(maskWord(bits, bit + n - block), lanes);
    for (int i = 0; i < block; ++i)
        last[i] = blend<D>(Lane<D>(lanes[i]), value(n - block + i), d[n - block + i]);
    for (ptrdiff_t start = 0; start < n - block; start += block) {
        lanesOf64(maskWord(bits, bit + start), lanes);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < block; ++i)
            d[start + i] = blend<D>(Lane<D>(lanes[i]), value(start + i), d[start + i]);
    }
    __builtin_memcpy(d + n - block, last, sizeof last);
}

// Rows of f(a[i], b[i]); Op has the types Source and Result and the function of(a, b).
template <class Op>
struct TwoSourceRows {
    using S = typename Op::Source;
    using D = typename Op::Result;

    static void run(const void* a, const void* b, void* d, ptrdiff_t n)
    {
        auto* x = static_cast<const S*>(a);
        auto* y = static_cast<const S*>(b);
        storeRow(static_cast<D*>(d), n, a == d || b == d, [=](ptrdiff_t i) { return Op::of(x[i], y[i]); });
    }
    static void select(const void* a, const void* b, void* d, const void* lanes, ptrdiff_t n)
    {
        auto* x = static_cast<const S*>(a);
        auto* y = static_cast<const S*>(b);
        auto* z = static_cast<D*>(d);
        auto* lane = static_cast<const Lane<D>*>(lanes);
        storeRow(z, n, a == d || b == d,
                 [=](ptrdiff_t i) { return OWN_ISA::select<D>(lane[i], Op::of(x[i], y[i]), z[i]); });
    }
    static void masked(const void* a, const void* b, void* d, const uint8_t* bits, int bit, ptrdiff_t n)
    {
        auto* x = static_cast<const S*>(a);
        auto* y = static_cast<const S*>(b);
        maskRow(static_cast<D*>(d), n, bits, bit, [=](ptrdiff_t i) { return Op::of(x[i], y[i]); });
    }
    static constexpr OwnRowKernel kernel = {run, select, masked};
};

// Rows of f(a[i]) with a scalar; Op is made from the scalar's address and has the types Source and Result and
// operator()(a).
template <class Op>
struct OneSourceRows {
    using S = typename Op::Source;
    using D = typename Op::Result;

    static void run(const void* a, const void* scalar, void* d, ptrdiff_t n)
    {
        const Op op(scalar);
        auto* x = static_cast<const S*>(a);
        storeRow(static_cast<D*>(d), n, a == d, [=](ptrdiff_t i) { return op(x[i]); });
    }
    static void select(const void* a, const void* scalar, void* d, const void* lanes, ptrdiff_t n)
    {
        const Op op(scalar);
        auto* x = static_cast<const S*>(a);
        auto* z = static_cast<D*>(d);
        auto* lane = static_cast<const Lane<D>*>(lanes);
        storeRow(z, n, a == d, [=](ptrdiff_t i) { return OWN_ISA::select<D>(lane[i], op(x[i]), z[i]); });
    }
    static void masked(const void* a, const void* scalar, void* d, const uint8_t* bits, int bit, ptrdiff_t n)
    {
        const Op op(scalar);
        auto* x = static_cast<const S*>(a);
        maskRow(static_cast<D*>(d), n, bits, bit, [=](ptrdiff_t i) { return op(x[i]); });
    }
    static constexpr OwnRowKernel kernel = {run, select, masked};
};

}  // namespace OWN_ISA
#endif
