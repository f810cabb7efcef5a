// Kernels of products of normalised values and of compositing.
#include "owncompos.h"

#include "owncomposmath.h"

namespace OWN_ISA {
namespace {

// The product of two values as parts of 1, rounded down.
template <class T>
inline T mul(T x, T y)
{
    using Wide = typename Scale<T>::Wide;
    return T(Scale<T>::divided(Wide(Wide(x) * Wide(y))));
}

template <class T>
inline T complementOf(T x)
{
    return T(Scale<T>::one - x);
}

template <class T>
inline T sumOf(T x, T y)
{
    const T room = complementOf(x);
    return T(x + (y < room ? y : room));
}

#if defined(__SSE2__)
// The same for bytes: those at even places and those at odd ones are products of 16 bits each.
inline __attribute__((always_inline)) Vector<uint8_t> mulBytes(Vector<uint8_t> a, Vector<uint8_t> b)
{
    using Wide = Vector<uint16_t>;
    auto divided = [](Wide t) OWN_ALWAYS {
#if defined(__AVX2__)
        return (Wide)_mm256_mulhi_epu16((__m256i)t, _mm256_set1_epi16(int16_t(0x8081))) >> 7;
#else
        return (Wide)_mm_mulhi_epu16((__m128i)t, _mm_set1_epi16(int16_t(0x8081))) >> 7;
#endif
    };
    const Wide x = (Wide)a, y = (Wide)b;
    return (Vector<uint8_t>)(divided((x & 0xFF) * (y & 0xFF)) | divided((x >> 8) * (y >> 8)) << 8);
}
#endif

template <class T>
struct Multiply {
    using Source = T;
    using Result = T;
    static T of(T a, T b) { return mul(a, b); }
#if defined(__SSE2__)
    static Vector<T> of(Vector<T> a, Vector<T> b) requires(sizeof(T) == 1)
    {
        return mulBytes(a, b);
    }
#endif
};

template <class T>
struct MultiplyBy {
    using Source = T;
    using Result = T;
    T factor;
    explicit MultiplyBy(const void* scalar) : factor(ownLoad<T>(scalar)) {}
    T operator()(T a) const { return mul(a, factor); }
};

// ---- Types --------------------------------------------------------------------------------------------------------

// Composites after T. Porter and T. Duff, "Compositing digital images", SIGGRAPH 1984: over, in, out, atop, xor, plus.
template <class T, int type>
inline T colourOf(T A, T B, T a, T b)
{
    switch (type) {
    case 0: return sumOf(A, mul(complementOf(a), B));
    case 1: return mul(A, b);
    case 2: return mul(A, complementOf(b));
    case 3: return sumOf(mul(B, complementOf(a)), mul(A, b));
    case 4: return sumOf(mul(B, complementOf(a)), mul(A, complementOf(b)));
    default: return sumOf(A, B);
    }
}

template <class T, int type>
inline T alphaOf(T a, T b)
{
    switch (type) {
    case 0: return sumOf(a, mul(complementOf(a), b));
    case 1: return mul(a, b);
    case 2: return mul(a, complementOf(b));
    case 3: return b;
    case 4: return sumOf(mul(complementOf(b), a), mul(complementOf(a), b));
    default: return sumOf(a, b);
    }
}

template <class T, int type>
inline T alphaOfOneOf(T a)
{
    const T rest = complementOf(a);
    switch (type) {
    case 0: return sumOf(a, mul(rest, rest));
    case 1: return mul(a, rest);
    case 2: return mul(a, a);
    case 3: return rest;
    case 4: return sumOf(mul(rest, rest), mul(a, a));
    default: return Scale<T>::one;
    }
}

// ---- Rows ---------------------------------------------------------------------------------------------------------

// Stores value(i) of the row's values.
template <class T, class Value>
inline __attribute__((always_inline)) void storeValues(const OwnCompositeRow& row, Value value)
{
    storeRow<T>(row.d, row.n, row.d == row.a || row.d == row.b, value);
}

template <class T>
void weighted(const OwnCompositeRow& row)
{
    const OwnValues<T> A = {row.a}, a = {row.alphaA};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS { return mul(A[i], a[i]); });
}

template <class T, int type>
void colour(const OwnCompositeRow& row)
{
    const OwnValues<T> A = {row.a}, B = {row.b}, a = {row.alphaA}, b = {row.alphaB};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS { return colourOf<T, type>(A[i], B[i], a[i], b[i]); });
}

template <class T, int type>
void alpha(const OwnCompositeRow& row)
{
    const OwnValues<T> a = {row.alphaA}, b = {row.alphaB};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS { return alphaOf<T, type>(a[i], b[i]); });
}

template <class T, int type>
void alphaOfOne(const OwnCompositeRow& row)
{
    const OwnValues<T> a = {row.alphaA};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS { return alphaOfOneOf<T, type>(a[i]); });
}

template <class T, int type, bool premultiplied>
void divided(const OwnCompositeRow& row)
{
    const OwnValues<T> A = {row.a}, B = {row.b}, a = {row.alphaA}, b = {row.alphaB};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS {
        const double unit = double(Scale<T>::unit), one = Scale<T>::one;
        const double partA = a[i] * unit, partB = b[i] * unit;
        const double fromA = premultiplied ? A[i] : A[i] * partA, fromB = premultiplied ? B[i] : B[i] * partB;
        const double sum = realColour<type>(fromA, fromB, partA, partB), part = realAlpha<type>(partA, partB);
        const double quotient = sum / part;
        const double cut = quotient < one ? quotient : one;
        return ownRounded<T>(part > Scale<T>::leastAlpha ? cut : sum);
    });
}

template <class T, int type>
void dividedAlpha(const OwnCompositeRow& row)
{
    const OwnValues<T> a = {row.alphaA}, b = {row.alphaB};
    storeValues<T>(row, [=](ptrdiff_t i) OWN_ALWAYS {
        const double unit = double(Scale<T>::unit);
        return ownRounded<T>(realAlpha<type>(a[i] * unit, b[i] * unit) * Scale<T>::one);
    });
}

template <class T, int knownStep>
void spreadAs(OwnValues<T> alpha, ptrdiff_t step, void* d, ptrdiff_t pixels)
{
    step = knownStep ? knownStep : step;
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < pixels; ++i)
        for (ptrdiff_t k = 0; k < step; ++k)
            ownStore<T>(d, i * step + k, alpha[i]);
}

template <class T>
void spread(const void* alpha, ptrdiff_t step, void* d, ptrdiff_t pixels)
{
    switch (step) {
    case 1: return spreadAs<T, 1>({alpha}, step, d, pixels);
    case 3: return spreadAs<T, 3>({alpha}, step, d, pixels);
    case 4: return spreadAs<T, 4>({alpha}, step, d, pixels);
    default: return spreadAs<T, 0>({alpha}, step, d, pixels);
    }
}

template <class T>
void complement(const void* alpha, void* d, ptrdiff_t n)
{
    const OwnValues<T> a = {alpha};
    storeRow<T>(d, n, alpha == d, [=](ptrdiff_t i) OWN_ALWAYS { return complementOf(a[i]); });
}

#define OWN_TYPES(T, kernel, ...)                                                                               \
    {                                                                                                           \
        kernel<T, 0 __VA_ARGS__>, kernel<T, 1 __VA_ARGS__>, kernel<T, 2 __VA_ARGS__>, kernel<T, 3 __VA_ARGS__>, \
            kernel<T, 4 __VA_ARGS__>, kernel<T, 5 __VA_ARGS__>                                                  \
    }
#define OWN_COMMA ,

template <class T>
constexpr OwnCompositeKernels kernelsOf = {
    TwoSourceRows<Multiply<T>>::kernel,
    OneSourceRows<MultiplyBy<T>>::kernel,
    spread<T>,
    complement<T>,
    weighted<T>,
    OWN_TYPES(T, colour),
    OWN_TYPES(T, alpha),
    OWN_TYPES(T, alphaOfOne),
    {OWN_TYPES(T, divided, OWN_COMMA true), OWN_TYPES(T, divided, OWN_COMMA false)},
    OWN_TYPES(T, dividedAlpha),
};

}  // namespace

extern const OwnCompositeTable ownCompositeTable;
const OwnCompositeTable ownCompositeTable = {{kernelsOf<uint8_t>, kernelsOf<uint16_t>}};

}  // namespace OWN_ISA
