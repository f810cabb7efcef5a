// Vectors of the Fourier kernels, and what moves values between their lanes. For kernel sources only: everything here
// is in the unnamed namespace of the level.
#pragma once

#include "../../core/kernels/owncomplex.h"
#include "ownfft.h"

namespace OWN_ISA {
namespace {

// The fixed-point core wraps around, so that it counts without sign.
using IntVector = uint32_t __attribute__((vector_size(vectorBytes)));
using SignedVector = int32_t __attribute__((vector_size(vectorBytes)));

constexpr int vectorLanes = vectorBytes / 4;

// A lane group V is one of FloatVector, float, IntVector, uint32_t; all have lanes of 4 bytes.
template <class V>
constexpr int lanesOf = sizeof(V) / 4;

// The memory of the fixed-point core's lane groups is declared as signed values.
template <>
struct ValueOf<IntVector> {
    using Type = int32_t;
};
template <>
struct ValueOf<uint32_t> {
    using Type = int32_t;
};

template <class V>
constexpr bool isFloat = false;
template <>
constexpr bool isFloat<float> = true;
template <>
constexpr bool isFloat<FloatVector> = true;

// One lane group from any address, and to it.
template <class V>
inline V take(const void* from)
{
    V v;
    __builtin_memcpy(&v, from, sizeof(V));
    return v;
}

template <class V>
inline void put(void* to, V v)
{
    __builtin_memcpy(to, &v, sizeof(V));
}

// The block of lane groups that `block` is the memory of.
template <class V>
inline V* groups(Value<V>* block)
{
    return reinterpret_cast<V*>(block);
}

template <class V>
inline const V* groups(const Value<V>* block)
{
    return reinterpret_cast<const V*>(block);
}

// Shifts of signed values to the right.
inline IntVector shiftRight(IntVector x, int bits)
{
    return IntVector(SignedVector(x) >> bits);
}

inline uint32_t shiftRight(uint32_t x, int bits)
{
    return uint32_t(int32_t(x) >> bits);
}

// A value times a factor in Q14, from the products of its upper half and of the 15 bits below that.
template <class V>
inline V fixedProduct(V x, int32_t factor)
{
    V high = shiftRight(x, 16);
    V low = (x >> 1) & 0x7FFFu;
    return high * uint32_t(factor) * 4u + shiftRight(low * uint32_t(factor), 13);
}

// Two lane groups whose lanes follow one another by turns: even[0], odd[0], even[1], odd[1] and so on.
template <class V>
struct Pair {
    V first, second;
};

template <class V>
inline Pair<V> interleave(V even, V odd)
{
    if constexpr (lanesOf<V> == 8) {
        V low = __builtin_shufflevector(even, odd, 0, 8, 1, 9, 4, 12, 5, 13);
        V high = __builtin_shufflevector(even, odd, 2, 10, 3, 11, 6, 14, 7, 15);
        return {__builtin_shufflevector(low, high, 0, 1, 2, 3, 8, 9, 10, 11),
                __builtin_shufflevector(low, high, 4, 5, 6, 7, 12, 13, 14, 15)};
    } else if constexpr (lanesOf<V> == 4) {
        return {__builtin_shufflevector(even, odd, 0, 4, 1, 5), __builtin_shufflevector(even, odd, 2, 6, 3, 7)};
    } else {
        return {even, odd};
    }
}

// The way back.
template <class V>
inline Pair<V> separate(V first, V second)
{
    if constexpr (lanesOf<V> == 8) {
        V low = __builtin_shufflevector(first, second, 0, 1, 2, 3, 8, 9, 10, 11);
        V high = __builtin_shufflevector(first, second, 4, 5, 6, 7, 12, 13, 14, 15);
        return {__builtin_shufflevector(low, high, 0, 2, 8, 10, 4, 6, 12, 14),
                __builtin_shufflevector(low, high, 1, 3, 9, 11, 5, 7, 13, 15)};
    } else if constexpr (lanesOf<V> == 4) {
        return {__builtin_shufflevector(first, second, 0, 2, 4, 6), __builtin_shufflevector(first, second, 1, 3, 5, 7)};
    } else {
        return {first, second};
    }
}

// The values of an interleaved pair moved up by one: `carry` enters at the start and becomes what leaves at the end.
template <class V, class T>
inline Pair<V> shiftIn(Pair<V> pair, T& carry)
{
    V entering = take<V>(&pair.first);
    entering[0] = carry;
    if constexpr (lanesOf<V> == 8) {
        carry = T(pair.second[7]);
        return {__builtin_shufflevector(pair.first, entering, 8, 0, 1, 2, 3, 4, 5, 6),
                __builtin_shufflevector(pair.second, pair.first, 15, 0, 1, 2, 3, 4, 5, 6)};
    } else {
        carry = T(pair.second[3]);
        return {__builtin_shufflevector(pair.first, entering, 4, 0, 1, 2),
                __builtin_shufflevector(pair.second, pair.first, 7, 0, 1, 2)};
    }
}

// Swaps rows and columns of a square of lanes.
template <class V>
inline void transposeSquare(V (&v)[lanesOf<V>])
{
    if constexpr (lanesOf<V> == 8) {
        V pairs[8];  // of 32-bit values
        for (int i = 0; i < 4; ++i) {
            pairs[2 * i] = __builtin_shufflevector(v[2 * i], v[2 * i + 1], 0, 8, 1, 9, 4, 12, 5, 13);
            pairs[2 * i + 1] = __builtin_shufflevector(v[2 * i], v[2 * i + 1], 2, 10, 3, 11, 6, 14, 7, 15);
        }
        V quads[8];
        for (int i = 0; i < 2; ++i)
            for (int j = 0; j < 2; ++j) {
                V a = pairs[4 * i + j];
                V b = pairs[4 * i + j + 2];
                quads[4 * i + 2 * j] = __builtin_shufflevector(a, b, 0, 1, 8, 9, 4, 5, 12, 13);
                quads[4 * i + 2 * j + 1] = __builtin_shufflevector(a, b, 2, 3, 10, 11, 6, 7, 14, 15);
            }
        for (int i = 0; i < 4; ++i) {
            v[i] = __builtin_shufflevector(quads[i], quads[i + 4], 0, 1, 2, 3, 8, 9, 10, 11);
            v[i + 4] = __builtin_shufflevector(quads[i], quads[i + 4], 4, 5, 6, 7, 12, 13, 14, 15);
        }
    } else if constexpr (lanesOf<V> == 4) {
        Pair<V> low = interleave(v[0], v[2]);
        Pair<V> high = interleave(v[1], v[3]);
        Pair<V> first = interleave(low.first, high.first);
        Pair<V> second = interleave(low.second, high.second);
        v[0] = first.first;
        v[1] = first.second;
        v[2] = second.first;
        v[3] = second.second;
    }
}

}  // namespace
}  // namespace OWN_ISA
