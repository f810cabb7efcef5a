// Vectors of the level, and complex values whose parts are single values or vectors. For kernel sources only:
// everything here is in the unnamed namespace of the level.
#pragma once

#include <stddef.h>
#include <stdint.h>

namespace OWN_ISA {
namespace {

#if defined(__AVX2__)
constexpr int vectorBytes = 32;
#else
constexpr int vectorBytes = 16;
#endif

using FloatVector = float __attribute__((vector_size(vectorBytes)));
using DoubleVector = double __attribute__((vector_size(vectorBytes)));

// The type of a vector's values; single values are vectors of one.
template <class V>
struct ValueOf {
    using Type = V;
};
template <>
struct ValueOf<FloatVector> {
    using Type = float;
};
template <>
struct ValueOf<DoubleVector> {
    using Type = double;
};
template <class V>
using Value = typename ValueOf<V>::Type;

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

// Times -i.
template <class V>
inline Complex<V> quarterTurn(Complex<V> a)
{
    return {a.im, -a.re};
}

// Times a complex number of single values.
template <class V, class T>
inline Complex<V> product(Complex<V> a, const T* w)
{
    return {a.re * w[0] - a.im * w[1], a.re * w[1] + a.im * w[0]};
}

// Complex values in the memory of a block, real and imaginary parts by turns. Exchanging the parts on the way in and
// out makes a transform its inverse.
template <class V>
struct ComplexLine {
    V* re;
    V* im;

    Complex<V> get(ptrdiff_t i) const { return {re[2 * i], im[2 * i]}; }
    void set(ptrdiff_t i, Complex<V> value) const
    {
        re[2 * i] = value.re;
        im[2 * i] = value.im;
    }
    ComplexLine from(ptrdiff_t i) const { return {re + 2 * i, im + 2 * i}; }
};

template <class V>
inline ComplexLine<V> lineAt(V* block, bool exchanged)
{
    return {block + exchanged, block + !exchanged};
}

}  // namespace
}  // namespace OWN_ISA
