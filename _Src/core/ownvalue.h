// Values in memory, and the ranges of their types.
//
//   ownLoad, ownStore   a value at any address: pixels need not lie where their type would like to
//   OwnValues           values side by side at any address
//   ownSaturated        an integer, cut to the range of a type
//   ownRounded          a number to nearest, ties to even, and cut
//   ownTruncated        a number toward zero, and cut
//   ownAsValue          a float rounded to an integer type, or as it is
//   ownFirstOnTop       a word whose first byte of memory is its highest one, and back
//   ownFirstBelow       the same for the lowest one
//
// A number that is none, NaN, becomes 0 in integers. Kernels use these too: everything is inlined, so that no two
// levels share a function, and loops over them are vectorised.
#pragma once

#include <stddef.h>
#include <stdint.h>

#define OWN_INLINE static inline __attribute__((always_inline))

// Value i of those at p.
template <class T>
OWN_INLINE T ownLoad(const void* p, ptrdiff_t i = 0)
{
    T value;
    __builtin_memcpy(&value, static_cast<const char*>(p) + i * ptrdiff_t(sizeof(T)), sizeof value);
    return value;
}

template <class T>
OWN_INLINE void ownStore(void* p, ptrdiff_t i, T value)
{
    __builtin_memcpy(static_cast<char*>(p) + i * ptrdiff_t(sizeof(T)), &value, sizeof value);
}

constexpr bool ownIsBigEndian = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

template <class Word>
OWN_INLINE Word ownFirstOnTop(Word word)
{
    if constexpr (ownIsBigEndian)
        return word;
    else if constexpr (sizeof(Word) == 4)
        return __builtin_bswap32(word);
    else
        return __builtin_bswap64(word);
}

template <class Word>
OWN_INLINE Word ownFirstBelow(Word word)
{
    if constexpr (!ownIsBigEndian || sizeof(Word) == 1)
        return word;
    else if constexpr (sizeof(Word) == 2)
        return __builtin_bswap16(word);
    else if constexpr (sizeof(Word) == 4)
        return __builtin_bswap32(word);
    else
        return __builtin_bswap64(word);
}

template <class T>
struct OwnValues {
    const void* first;

    __attribute__((always_inline)) T operator[](ptrdiff_t i) const { return ownLoad<T>(first, i); }
};

// The least and the greatest value of an integer type.
template <class T>
struct OwnRange {
    static constexpr bool isSigned = T(-1) < T(0);
    static constexpr int64_t highest = (int64_t{1} << (sizeof(T) * 8 - isSigned)) - 1;
    static constexpr int64_t lowest = isSigned ? -highest - 1 : 0;
};

template <class T, class Wide>
OWN_INLINE T ownSaturated(Wide value)
{
    constexpr Wide lowest = Wide(OwnRange<T>::lowest), highest = Wide(OwnRange<T>::highest);
    static_assert(lowest == OwnRange<T>::lowest && highest == OwnRange<T>::highest);
    value = value < lowest ? lowest : value;
    return T(value > highest ? highest : value);
}

// A float or double, cut to what T and a conversion to 32 bits can take. 2147483647 is no float: there the greatest
// float below it stands for it, and the caller sees to what lies above.
template <class T, class Real>
OWN_INLINE Real ownCut(Real value)
{
    constexpr bool exact = sizeof(Real) == 8 || sizeof(T) < 4;
    constexpr Real lowest = Real(OwnRange<T>::lowest), highest = exact ? Real(OwnRange<T>::highest) : Real(2147483520);
    value = value == value ? value : Real(0);  // NOLINT(misc-redundant-expression): NaN is not
    value = value < lowest ? lowest : value;
    return value > highest ? highest : value;
}

// True where a float lies above every int32_t.
template <class T, class Real>
OWN_INLINE bool ownIsAbove([[maybe_unused]] Real value)
{
    if constexpr (sizeof(Real) == 4 && sizeof(T) == 4)
        return value >= Real(2147483648);
    else
        return false;
}

// The whole number next to a value within the range of 32 bits.
template <class Real>
OWN_INLINE int32_t ownNearest(Real value)
{
#if defined(__clang__)  // which makes the same instruction of it, and has no irint
    return int32_t(__builtin_lrint(double(value)));
#else
    if constexpr (sizeof(Real) == 8)
        return __builtin_irint(value);
    else
        return __builtin_irintf(value);
#endif
}

template <class T, class Real>
OWN_INLINE T ownRounded(Real value)
{
    const int32_t nearest = ownNearest(ownCut<T>(value));
    return ownIsAbove<T>(value) ? T(OwnRange<T>::highest) : T(nearest);
}

template <class T, class Real>
OWN_INLINE T ownTruncated(Real value)
{
    const auto toward = int32_t(ownCut<T>(value));
    return ownIsAbove<T>(value) ? T(OwnRange<T>::highest) : T(toward);
}

// A number as a value of T: integers rounded and cut, floats as they are.
template <class T>
OWN_INLINE T ownAsValue(float value)
{
    if constexpr (T(0.5f) == T(0))
        return ownRounded<T>(value);
    else
        return value;
}
