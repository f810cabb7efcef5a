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

struct OwnRowKernel {
    OwnRun run;
    OwnSelect select;
};

// The index of a depth in a family's table of kernels; 1U works on bytes of eight pixels.
enum OwnDepthIndex { OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F, OWN_DEPTHS };

// For kernel sources only: the templates.
#ifdef OWN_ISA
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

// The sign of a lane is all that a blend looks at.
template <class T>
inline T select(Lane<T> lane, T yes, T no)
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
    static constexpr OwnRowKernel kernel = {run, select};
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
    static constexpr OwnRowKernel kernel = {run, select};
};

}  // namespace OWN_ISA
#endif
