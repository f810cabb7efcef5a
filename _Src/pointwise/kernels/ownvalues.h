// Saturating arithmetic on values, in forms that stay at the width of the value, so that a vector holds as many of them
// as it can. For kernel sources only.
#pragma once

#include <stdint.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {

template <class T>
T least(T a, T b)
{
    return a < b ? a : b;
}

template <class T>
T most(T a, T b)
{
    return a > b ? a : b;
}

// Unsigned sums: what fits above b is added to it. Unsigned differences: the larger less b.
inline uint8_t addSat(uint8_t a, uint8_t b)
{
    return uint8_t(least(a, uint8_t(~b)) + b);
}
inline uint16_t addSat(uint16_t a, uint16_t b)
{
    return uint16_t(least(a, uint16_t(~b)) + b);
}
inline uint8_t subtractSat(uint8_t a, uint8_t b)
{
    return uint8_t(most(a, b) - b);
}
inline uint16_t subtractSat(uint16_t a, uint16_t b)
{
    return uint16_t(most(a, b) - b);
}

// Signed sums and differences: a is cut to what leaves the result in range.
template <class T, T lowest, T highest>
T addSigned(T a, T b)
{
    T top = T(highest - most(b, T(0)));
    T bottom = T(lowest - least(b, T(0)));
    return T(least(most(a, bottom), top) + b);
}

template <class T, T lowest, T highest>
T subtractSigned(T a, T b)
{
    T top = T(highest + least(b, T(0)));
    T bottom = T(lowest + most(b, T(0)));
    return T(least(most(a, bottom), top) - b);
}

inline int8_t addSat(int8_t a, int8_t b)
{
    return addSigned<int8_t, -128, 127>(a, b);
}
inline int16_t addSat(int16_t a, int16_t b)
{
    return addSigned<int16_t, -32768, 32767>(a, b);
}
inline int8_t subtractSat(int8_t a, int8_t b)
{
    return subtractSigned<int8_t, -128, 127>(a, b);
}
inline int16_t subtractSat(int16_t a, int16_t b)
{
    return subtractSigned<int16_t, -32768, 32767>(a, b);
}

// 32 bits: the wrapped result, and the limit on the side of the overflow where there was one.
inline int32_t addSat(int32_t a, int32_t b)
{
    int32_t sum = int32_t(uint32_t(a) + uint32_t(b));
    int32_t limit = (b >> 31) ^ INT32_MAX;
    return ((a ^ sum) & (b ^ sum)) < 0 ? limit : sum;
}

inline int32_t subtractSat(int32_t a, int32_t b)
{
    int32_t difference = int32_t(uint32_t(a) - uint32_t(b));
    int32_t limit = (a >> 31) ^ INT32_MAX;
    return ((a ^ b) & (a ^ difference)) < 0 ? limit : difference;
}

// Vectors below 32 bits, for which there are instructions that the compiler does not make of the above.
#if defined(__AVX2__)
#define OWN_SATURATE(T, name, operation)                                           \
    inline __attribute__((always_inline)) Vector<T> name(Vector<T> a, Vector<T> b) \
    {                                                                              \
        return Vector<T>(_mm256_##operation((__m256i)a, (__m256i)b));              \
    }
#elif defined(__SSE2__)
#define OWN_SATURATE(T, name, operation)                                           \
    inline __attribute__((always_inline)) Vector<T> name(Vector<T> a, Vector<T> b) \
    {                                                                              \
        return Vector<T>(_mm_##operation((__m128i)a, (__m128i)b));                 \
    }
#endif
#ifdef OWN_SATURATE
OWN_SATURATE(uint8_t, addSat, adds_epu8)
OWN_SATURATE(int8_t, addSat, adds_epi8)
OWN_SATURATE(uint16_t, addSat, adds_epu16)
OWN_SATURATE(int16_t, addSat, adds_epi16)
OWN_SATURATE(uint8_t, subtractSat, subs_epu8)
OWN_SATURATE(int8_t, subtractSat, subs_epi8)
OWN_SATURATE(uint16_t, subtractSat, subs_epu16)
OWN_SATURATE(int16_t, subtractSat, subs_epi16)
#undef OWN_SATURATE
#endif

inline float addSat(float a, float b)
{
    return a + b;
}
inline float subtractSat(float a, float b)
{
    return a - b;
}

// Products: 8-bit ones fit 16 bits; of 16-bit ones the upper half tells whether the lower is the result.
inline uint8_t multiplySat(uint8_t a, uint8_t b)
{
    uint16_t product = uint16_t(a * b);
    return uint8_t(least(product, uint16_t(255)));
}

inline int8_t multiplySat(int8_t a, int8_t b)
{
    int16_t product = int16_t(a * b);
    return int8_t(least(most(product, int16_t(-128)), int16_t(127)));
}

inline uint16_t multiplySat(uint16_t a, uint16_t b)
{
    uint32_t product = uint32_t(a) * b;
    uint16_t high = uint16_t(product >> 16);
    return uint16_t(uint16_t(product) | (high ? 0xFFFF : 0));
}

inline int16_t multiplySat(int16_t a, int16_t b)
{
    int32_t product = int32_t(a) * b;
    int16_t low = int16_t(product);
    int16_t high = int16_t(product >> 16);
    int16_t limit = int16_t(int16_t((a ^ b) >> 15) ^ INT16_MAX);
    return high == int16_t(low >> 15) ? low : limit;
}

// Every 32-bit product inside the range is exact in double.
inline int32_t multiplySat(int32_t a, int32_t b)
{
    double product = double(a) * double(b);
    return int32_t(least(most(product, -2147483648.0), 2147483647.0));
}

inline float multiplySat(float a, float b)
{
    return a * b;
}

}  // namespace OWN_ISA
