// Row kernels: what an operation does to rows of values in plain memory, which may lie at any address.
//
// Every pointwise operation is a small record with a function on values; the templates here make row kernels of it. The
// traversals (ownpixels.h) bring rows of every layout into this form.
#pragma once

#include <type_traits>

#include "../owngeometry.h"
#include "../ownvalue.h"

// Rows of n values: where the first one begins and how many bytes lie from row to row.
struct OwnRows {
    const void* a;
    const void* b;  // a kernel with one source reads its scalar here, one without reads it too
    void* d;
    ptrdiff_t n;
    ptrdiff_t count = 1;
    ptrdiff_t aStep = 0;
    ptrdiff_t bStep = 0;
    ptrdiff_t dStep = 0;
};

// d[i] = f(a[i], b[i]) for the values of all rows.
using OwnRun = void (*)(const OwnRows& rows);

// The same for n values, but only where lanes[i], a value of d's size, has all bits set; where it has none, d[i] is
// stored as it is.
using OwnSelect = void (*)(const void* a, const void* b, void* d, const void* lanes, ptrdiff_t n);

// The same for n values, at least OWN_MASKED_LEAST, under mask bits of which the first is bit 7 - bit of *bits.
using OwnMasked = void (*)(const void* a, const void* b, void* d, const uint8_t* bits, int bit, ptrdiff_t n);

enum { OWN_MASKED_LEAST = 64 };

// Where bits go: from bit 7 - bit of *data on and, if there is a mask, only where its bit is set; the mask's first bit
// is bit 7 - maskBit of *mask. Bits around them stay.
struct OwnBitPlace {
    uint8_t* data;
    int bit;
    const uint8_t* mask = nullptr;
    int maskBit = 0;
};

// Rows of n bits: where the first one begins and how many bytes lie from row to row.
struct OwnBitRows {
    const uint8_t* a;
    int aBit;
    const uint8_t* b;
    int bBit;
    const void* scalar;
    OwnBitPlace to;
    ptrdiff_t n;
    ptrdiff_t count = 1;
    ptrdiff_t aStep = 0;
    ptrdiff_t bStep = 0;
    ptrdiff_t bitStep = 0;
    ptrdiff_t maskStep = 0;
};

// The same as OwnRun for bits, under the mask if there is one.
using OwnBitRun = void (*)(const OwnBitRows& rows);

// A kernel of values has the first two, one of bits the last alone.
struct OwnRowKernel {
    OwnRun run;
    OwnSelect select;
    OwnMasked masked = nullptr;  // a quicker way for values under a mask; may be missing
    OwnBitRun bits = nullptr;
};

// For kernel sources only: the templates.
#ifdef OWN_ISA
#if defined(__AVX2__)
#include <immintrin.h>
#elif defined(__SSE2__)
#include <emmintrin.h>
#endif

// For what computes a value: left to itself the compiler calls it in large sources, and a loop with a call is no vector
// loop.
#define OWN_ALWAYS __attribute__((always_inline))

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

// Vectors of values, for operations of which the compiler does not find the best form by itself.
#if defined(__AVX2__)
constexpr ptrdiff_t vectorBytes = 32;
#else
constexpr ptrdiff_t vectorBytes = 16;
#endif
template <class T>
struct VectorOf {
    typedef T type __attribute__((vector_size(vectorBytes)));
};
template <class T>
using Vector = typename VectorOf<T>::type;

// The vector that begins with value i of those at p.
template <class T>
inline __attribute__((always_inline)) Vector<T> vectorAt(const void* p, ptrdiff_t i = 0)
{
    Vector<T> vector;
    __builtin_memcpy(&vector, static_cast<const char*>(p) + i * ptrdiff_t(sizeof(T)), sizeof vector);
    return vector;
}

// A value in every lane. Compilers want it as a value of its own: some refuse a vector and a member of an object.
template <class T>
inline __attribute__((always_inline)) Vector<T> everyLane(T value)
{
    return Vector<T>{} + value;
}

// A lane of a byte selects bit by bit, which is the same.
template <class T>
inline T select(Lane<T> lane, T yes, T no)
{
    if constexpr (std::is_integral_v<T>)
        return T(no ^ ((yes ^ no) & T(lane)));
    else
        return lane < 0 ? yes : no;
}

// Stores value(start + i) as value i of those at `to`, n times; a count that the compiler knows becomes a few vectors.
// A value may know how to make a vector itself.
template <class D, int n, class Value>
inline __attribute__((always_inline)) void computeBlock(void* to, ptrdiff_t start, Value value)
{
    constexpr ptrdiff_t lanes = vectorBytes / ptrdiff_t(sizeof(D));
    if constexpr (n % lanes == 0 && requires { value.vector(start); }) {
        for (ptrdiff_t i = 0; i < n; i += lanes) {
            auto vector = value.vector(start + i);
            __builtin_memcpy(static_cast<char*>(to) + i * ptrdiff_t(sizeof(D)), &vector, sizeof vector);
        }
    } else {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore<D>(to, i, value(start + i));
    }
}

constexpr ptrdiff_t cacheLine = 64;

// Stores value(i) for n values. Rows are short as often as long, so there are no loops over what is left at the ends:
// blocks overlap there, and those between lie on cache lines. In place a value must not be computed twice; there the
// last block is computed before anything is stored.
template <class D, int block = 64, class Value>
inline __attribute__((always_inline)) void storeRow(void* d, ptrdiff_t n, bool inPlace, Value value)
{
    if (n < block) {
        if constexpr (block > 16) {
            storeRow<D, block / 2>(d, n, inPlace, value);
        } else {
            for (ptrdiff_t i = 0; i < n; ++i)
                ownStore<D>(d, i, value(i));
        }
        return;
    }
    auto at = [d](ptrdiff_t i) { return static_cast<char*>(d) + i * ptrdiff_t(sizeof(D)); };
    if (inPlace) {
        D last[block];
        computeBlock<D, block>(last, n - block, value);
        for (ptrdiff_t i = 0; i < n - block; i += block)
            computeBlock<D, block>(at(i), i, value);
        __builtin_memcpy(at(n - block), last, sizeof last);
        return;
    }
    computeBlock<D, block>(d, 0, value);
    ptrdiff_t aligned = cacheLine - ptrdiff_t(reinterpret_cast<uintptr_t>(d) & uintptr_t(cacheLine - 1));
    for (ptrdiff_t i = aligned / ptrdiff_t(sizeof(D)); i < n - block; i += block)
        computeBlock<D, block>(at(i), i, value);
    computeBlock<D, block>(at(n - block), n - block, value);
}

// Calls row(a, b, d) for every row and, if it fetches, brings those that come soon into the cache. The processor
// foresees what follows in a row but not where the next one begins, which of short rows is all there is. Where nothing
// is read, stores wait for nothing. The bits are those of a value, powers of two.
template <uintptr_t sourceBits, uintptr_t resultBits, int sources, class Row>
inline __attribute__((always_inline)) void forRows(const OwnRows& rows, Row row)
{
    constexpr uintptr_t distance = 512;  // bytes ahead
    constexpr uintptr_t longest = 1024;  // what is fetched of a row
    auto* a = static_cast<const uint8_t*>(rows.a);
    auto* b = static_cast<const uint8_t*>(rows.b);
    auto* d = static_cast<uint8_t*>(rows.d);
    const ptrdiff_t count = rows.count, aStep = rows.aStep, bStep = rows.bStep, dStep = rows.dStep;
    constexpr uintptr_t bitsOfBoth[] = {sourceBits, resultBits};
    uintptr_t bytes = uintptr_t(rows.n) * bitsOfBoth[sourceBits < resultBits] / 8;
    const ptrdiff_t ahead = bytes && bytes < distance ? ptrdiff_t(distance / bytes) : 1;
    bytes = bytes < longest ? bytes : longest;
    for (ptrdiff_t y = 0; y < count; ++y) {
        if (sources > 0 && y + 1 < count) {
            // The addresses may lie behind the image, where nothing comes of it.
            auto nextA = reinterpret_cast<uintptr_t>(a) + uintptr_t(ahead * aStep);
            auto nextB = reinterpret_cast<uintptr_t>(b) + uintptr_t(ahead * bStep);
            auto nextD = reinterpret_cast<uintptr_t>(d) + uintptr_t(ahead * dStep);
            uintptr_t i = 0;
            do {
                __builtin_prefetch(reinterpret_cast<const void*>(nextA + i));
                if constexpr (sources > 1)
                    __builtin_prefetch(reinterpret_cast<const void*>(nextB + i));
                __builtin_prefetch(reinterpret_cast<const void*>(nextD + i));
                i += uintptr_t(cacheLine);
            } while (resultBits > 1 && i < bytes);
        }
        row(a, b, d);
        a += aStep;
        b += bStep;
        d += dStep;
    }
}

// A word of mask bits from bit `position` of *bits on, the first one on top. Reads the bytes that hold them and no
// other.
template <class Word = uint64_t>
inline Word maskWord(const uint8_t* bits, ptrdiff_t position)
{
    const uint8_t* first = bits + (position >> 3);
    int shift = int(position & 7);
    Word word = ownFirstOnTop(ownLoad<Word>(first));
    return shift ? word << shift | Word(first[sizeof(Word)] >> (8 - shift)) : word;
}

#if defined(__AVX2__)
// For lanes of 64 bits that begin at bit `bit` of a byte: the byte and the bit that each lane takes. The bytes are
// counted from the first one, and for the second half from the one after it if there are nine.
struct LaneSource {
    alignas(32) uint8_t byte[8][64];
    alignas(32) uint8_t mask[8][64];
};

constexpr LaneSource makeLaneSource()
{
    LaneSource source = {};
    for (int bit = 0; bit < 8; ++bit)
        for (int i = 0; i < 64; ++i) {
            source.byte[bit][i] = uint8_t(((bit + i) >> 3) - (i >= 32 && bit ? 1 : 0));
            source.mask[bit][i] = uint8_t(128 >> ((bit + i) & 7));
        }
    return source;
}

constexpr LaneSource laneSource = makeLaneSource();
#endif

// Byte lanes of mask bits, of which the first is bit 7 - bit of *bits: 64 at a time, reading the bytes that hold them
// and no other.
class MaskLanes {
public:
#if defined(__AVX2__)
    MaskLanes(const uint8_t* bits, ptrdiff_t bit) : first(bits + (bit >> 3)), second((bit & 7) != 0)
    {
        for (ptrdiff_t half = 0; half < 2; ++half) {
            spread[half] = vectorAt<uint8_t>(laneSource.byte[bit & 7], half * 32);
            wanted[half] = vectorAt<uint8_t>(laneSource.mask[bit & 7], half * 32);
        }
    }
    // From a bit on that is a multiple of eight.
    void get(ptrdiff_t start, int8_t* lanes) const
    {
        for (ptrdiff_t half = 0; half < 2; ++half) {
            int64_t bytes;
            __builtin_memcpy(&bytes, first + (start >> 3) + (half ? second : 0), sizeof bytes);
            __m256i mine = _mm256_shuffle_epi8(_mm256_set1_epi64x(bytes), (__m256i)spread[half]);
            mine = _mm256_and_si256(mine, (__m256i)wanted[half]);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes + half * 32),
                                _mm256_cmpeq_epi8(mine, (__m256i)wanted[half]));
        }
    }

private:
    const uint8_t* first;
    ptrdiff_t second;  // where the second half begins
    Vector<uint8_t> spread[2], wanted[2];
#else
    MaskLanes(const uint8_t* bits, ptrdiff_t bit) : bits(bits), bit(bit) {}
    void get(ptrdiff_t start, int8_t* lanes) const
    {
        uint64_t word = __builtin_bswap64(maskWord(bits, bit + start));
#if defined(__SSE2__)
        // Each byte eight times.
        const __m128i wanted = _mm_set1_epi64x(0x0102040810204080);
        __m128i bytes = _mm_set_epi64x(0, int64_t(word));
        __m128i twice = _mm_unpacklo_epi8(bytes, bytes);
        __m128i often[2] = {_mm_unpacklo_epi16(twice, twice), _mm_unpackhi_epi16(twice, twice)};
        for (ptrdiff_t half = 0; half < 2; ++half) {
            __m128i pair[2] = {_mm_unpacklo_epi32(often[half], often[half]),
                               _mm_unpackhi_epi32(often[half], often[half])};
            for (ptrdiff_t k = 0; k < 2; ++k)
                _mm_storeu_si128(reinterpret_cast<__m128i*>(lanes) + half * 2 + k,
                                 _mm_cmpeq_epi8(_mm_and_si128(pair[k], wanted), wanted));
        }
#else
        for (int i = 0; i < 64; ++i)
            lanes[i] = word >> ((i & ~7) + (~i & 7)) & 1 ? -1 : 0;
#endif
    }

private:
    const uint8_t* bits;
    ptrdiff_t bit;
#endif
};

// A value where its lane is set, and what is stored there otherwise; the first lane is that of value `start`.
template <class D, class Value>
struct SelectedValue {
    Value value;
    const void* lanes;
    OwnValues<D> stored;
    ptrdiff_t start = 0;

    OWN_ALWAYS D operator()(ptrdiff_t i) const
    {
        return select<D>(ownLoad<Lane<D>>(lanes, i - start), value(i), stored[i]);
    }
    auto vector(ptrdiff_t i) const requires requires(const Value& v, ptrdiff_t k) { v.vector(k); }
    {
        Vector<D> no = vectorAt<D>(stored.first, i);
        return no ^ ((value.vector(i) ^ no) & vectorAt<D>(lanes, i - start));
    }
};

// A value where its lane, of a byte whatever the value's size, is set, and what is stored there otherwise.
template <class D, class Value>
struct MaskedValue {
    Value value;
    const int8_t* lanes;
    OwnValues<D> stored;
    ptrdiff_t start;

    OWN_ALWAYS D operator()(ptrdiff_t i) const { return select<D>(Lane<D>(lanes[i - start]), value(i), stored[i]); }
};

// Stores value(i) where the mask bit is set. As in storeRow the last block is computed first and overlaps.
template <class D, class Value>
inline __attribute__((always_inline)) void maskRow(void* d, ptrdiff_t n, const uint8_t* bits, int bit, Value value)
{
    using Chosen = std::conditional_t<sizeof(D) == 1, SelectedValue<D, Value>, MaskedValue<D, Value>>;
    constexpr int block = OWN_MASKED_LEAST;
    alignas(32) int8_t lanes[block];
    D last[block];
    auto at = [d](ptrdiff_t i) { return static_cast<char*>(d) + i * ptrdiff_t(sizeof(D)); };
    MaskLanes(bits, bit + n - block).get(0, lanes);
    computeBlock<D, block>(last, n - block, Chosen{value, lanes, {d}, n - block});
    const MaskLanes mask(bits, bit);
    for (ptrdiff_t start = 0; start < n - block; start += block) {
        mask.get(start, lanes);
        computeBlock<D, block>(at(start), start, Chosen{value, lanes, {d}, start});
    }
    __builtin_memcpy(at(n - block), last, sizeof last);
}

// Values of f(x[i], y[i]) and, with an Op for one source, of f(x[i]); as vectors where Op knows them.
template <class Op>
struct TwoSourceValue {
    using S = typename Op::Source;
    OwnValues<S> x, y;

    OWN_ALWAYS auto operator()(ptrdiff_t i) const { return Op::of(x[i], y[i]); }
    auto vector(ptrdiff_t i) const requires requires(Vector<S> v) { Op::of(v, v); }
    {
        return Op::of(vectorAt<S>(x.first, i), vectorAt<S>(y.first, i));
    }
};

template <class Op>
struct OneSourceValue {
    using S = typename Op::Source;
    Op op;
    OwnValues<S> x;

    OWN_ALWAYS auto operator()(ptrdiff_t i) const { return op(x[i]); }
    auto vector(ptrdiff_t i) const requires requires(const Op& f, Vector<S> v) { f(v); }
    {
        return op(vectorAt<S>(x.first, i));
    }
};

// Rows of f(a[i], b[i]); Op has the types Source and Result and the function of(a, b), perhaps also for vectors.
template <class Op>
struct TwoSourceRows {
    using S = typename Op::Source;
    using D = typename Op::Result;
    using Value = TwoSourceValue<Op>;

    static Value value(const void* a, const void* b) { return {{a}, {b}}; }
    static __attribute__((flatten)) void run(const OwnRows& rows)
    {
        const ptrdiff_t n = rows.n;
        forRows<sizeof(S) * 8, sizeof(D) * 8, 2>(rows, [n](const uint8_t* a, const uint8_t* b, uint8_t* d) {
            storeRow<D>(d, n, a == d || b == d, value(a, b));
        });
    }
    static void select(const void* a, const void* b, void* d, const void* lanes, ptrdiff_t n)
    {
        storeRow<D>(d, n, a == d || b == d, SelectedValue<D, Value>{value(a, b), lanes, {d}});
    }
    static void masked(const void* a, const void* b, void* d, const uint8_t* bits, int bit, ptrdiff_t n)
    {
        maskRow<D>(d, n, bits, bit, value(a, b));
    }
    static constexpr OwnRowKernel kernel = {run, select, masked};
};

// Rows of f(a[i]) with a scalar; Op is made from the scalar's address and has the types Source and Result and
// operator()(a), perhaps also for vectors.
template <class Op>
struct OneSourceRows {
    using S = typename Op::Source;
    using D = typename Op::Result;
    using Value = OneSourceValue<Op>;

    static __attribute__((flatten)) void run(const OwnRows& rows)
    {
        const Op op(rows.b);
        const ptrdiff_t n = rows.n;
        forRows<sizeof(S) * 8, sizeof(D) * 8, 1>(rows, [n, op](const uint8_t* a, const uint8_t*, uint8_t* d) {
            storeRow<D>(d, n, a == d, Value{op, {a}});
        });
    }
    static void select(const void* a, const void* scalar, void* d, const void* lanes, ptrdiff_t n)
    {
        storeRow<D>(d, n, a == d, SelectedValue<D, Value>{{Op(scalar), {a}}, lanes, {d}});
    }
    static void masked(const void* a, const void* scalar, void* d, const uint8_t* bits, int bit, ptrdiff_t n)
    {
        maskRow<D>(d, n, bits, bit, Value{Op(scalar), {a}});
    }
    static constexpr OwnRowKernel kernel = {run, select, masked};
};

}  // namespace OWN_ISA
#endif
