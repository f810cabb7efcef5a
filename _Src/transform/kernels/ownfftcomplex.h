// Complex values in blocks of lane groups, and their permutation. For kernel sources only, as ownfftlanes.h.
#pragma once

#include "ownfftlanes.h"

namespace OWN_ISA {
namespace {

template <class V>
struct Complex {
    V re, im;
};

template <class V>
inline Complex<V> operator+(Complex<V> a, Complex<V> b)
{
    return {a.re + b.re, a.im + b.im};
}

template <class V>
inline Complex<V> operator-(Complex<V> a, Complex<V> b)
{
    return {a.re - b.re, a.im - b.im};
}

template <class V>
inline Complex<V> get(const V* x)
{
    return {x[0], x[1]};
}

template <class V>
inline void set(V* x, Complex<V> value)
{
    x[0] = value.re;
    x[1] = value.im;
}

template <class V>
inline void exchange(V* a, V* b)
{
    Complex<V> kept = get(a);
    set(a, get(b));
    set(b, kept);
}

// Brings values into bit-reversed order, or back. The table, which serves lengths above 8, holds byte offsets in a single
// line: of values whose indices' middle bits trade places, with the first and the last bit clear. The four settings of these
// two bits make four exchanges of each pair, and one of each offset that stays, which are read from the table's end.
template <class V>
void reverseBits(V* x, int log2, const int32_t* table)
{
    if (log2 == 2) {
        exchange(x + 2, x + 4);
    } else if (log2 == 3) {
        exchange(x + 2, x + 8);
        exchange(x + 6, x + 12);
    }
    if (log2 <= 3)
        return;
    constexpr int bytesToGroups = 2;  // a value of 8 bytes is two lane groups of 4 a lane
    ptrdiff_t quarter = ptrdiff_t{1} << (log2 - 2);
    ptrdiff_t half = 4 * quarter;
    const int32_t* pair = table;
    for (; pair[0] != 0; pair += 2) {
        V* a = x + (pair[0] >> bytesToGroups);
        V* b = x + (pair[1] >> bytesToGroups);
        exchange(a, b);
        exchange(a + 2, b + half);
        exchange(a + half, b + 2);
        exchange(a + half + 2, b + half + 2);
    }
    const int32_t* own = table + quarter;
    do {
        V* a = x + (*own >> bytesToGroups);
        exchange(a + 2, a + half);
    } while (*own-- != 0);
}

}  // namespace
}  // namespace OWN_ISA
