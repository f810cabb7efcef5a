// Kernels of compositing for pixels of four values that end with their alpha.
#include "ownpixcompos.h"

#include "owncomposmath.h"

namespace OWN_ISA {
namespace {

// A pixel as a word, and values with room for a product. `bits` are those of a value.
template <class T>
struct Word;
template <>
struct Word<uint8_t> {
    using Pixel = uint32_t;
    using Wide = uint16_t;
    using Signed = int16_t;
};
template <>
struct Word<uint16_t> {
    using Pixel = uint64_t;
    using Wide = uint32_t;
    using Signed = int32_t;
};

template <class T>
using Pixels = Vector<typename Word<T>::Pixel>;
template <class T>
using Wide = Vector<typename Word<T>::Wide>;

template <class T>
constexpr int bits = 8 * int(sizeof(T));
template <class T>
constexpr int pixelsPerVector = int(vectorBytes) / int(4 * sizeof(T));

template <class T>
inline Wide<T> all(typename Word<T>::Wide value)
{
    return Wide<T>{} + value;
}

// The product of values as parts of 1, rounded down.
template <class T>
inline Wide<T> mul(Wide<T> x, Wide<T> y)
{
    const Wide<T> t = x * y;
    return (t + (t >> bits<T>)+1) >> bits<T>;
}

template <class T>
inline Wide<T> complementOf(Wide<T> x)
{
    return Scale<T>::one - x;
}

template <class T>
inline Wide<T> sumOf(Wide<T> x, Wide<T> y)
{
    using Sums = Vector<typename Word<T>::Signed>;
    const Sums sum = Sums(x + y), most = Sums(all<T>(Scale<T>::one));
    return Wide<T>(sum < most ? sum : most);
}

template <class T, int type>
inline Wide<T> colourOf(Wide<T> A, Wide<T> B, Wide<T> a, Wide<T> b)
{
    switch (type) {
    case 0: return sumOf<T>(A, mul<T>(complementOf<T>(a), B));
    case 1: return mul<T>(A, b);
    case 2: return mul<T>(A, complementOf<T>(b));
    case 3: return sumOf<T>(mul<T>(B, complementOf<T>(a)), mul<T>(A, b));
    case 4: return sumOf<T>(mul<T>(B, complementOf<T>(a)), mul<T>(A, complementOf<T>(b)));
    default: return sumOf<T>(A, B);
    }
}

template <class T>
constexpr auto alphaBits = typename Word<T>::Pixel(Scale<T>::one) << (3 * bits<T>);

// Every second value: the first, third, or the second, fourth.
template <class T>
inline Wide<T> firstOf(Pixels<T> pixels)
{
    return Wide<T>(pixels) & Scale<T>::one;
}

template <class T>
inline Wide<T> secondOf(Pixels<T> pixels)
{
    return Wide<T>(pixels) >> bits<T>;
}

template <class T>
inline Pixels<T> joined(Wide<T> first, Wide<T> second)
{
    return Pixels<T>(first | second << bits<T>);
}

template <class T>
inline Pixels<T> withAlpha(Pixels<T> colours, Pixels<T> alpha)
{
    return (colours & ~alphaBits<T>) | (alpha & alphaBits<T>);
}

// The alphas of pixels in every value, as told by a row.
template <class T>
struct Alphas {
    using Values = Wide<T>;
    Values keepA, constantA, keepB, takeA, constantB;

    explicit Alphas(const OwnPixelRow& row)
    {
        using W = typename Word<T>::Wide;
        auto when = [](bool condition) { return all<T>(condition ? W(~W(0)) : W(0)); };
        keepA = when(row.alphaA.own);
        constantA = all<T>(row.alphaA.own ? W(0) : W(row.alphaA.constant));
        keepB = when(row.alphaB.own);
        takeA = when(row.alphaB.complement);
        constantB = all<T>(row.alphaB.own ? W(0) : row.alphaB.complement ? W(Scale<T>::one) : W(row.alphaB.constant));
    }

    static Values own(Pixels<T> pixels)
    {
        const Pixels<T> alpha = pixels >> (3 * bits<T>);
        return Values(alpha | alpha << (2 * bits<T>));
    }
    Values ofA(Pixels<T> pixels) const { return (own(pixels) & keepA) | constantA; }
    Values ofB(Pixels<T> pixels, Values a) const { return ((own(pixels) & keepB) | (a & takeA)) ^ constantB; }
};

// Runs compute(a, b, d) for all vectors of a row, the last of which may reach beyond it.
template <class T, class Compute>
inline __attribute__((always_inline)) void forPixels(const OwnPixelRow& row, Compute compute)
{
    constexpr ptrdiff_t step = pixelsPerVector<T>, pixelBytes = 4 * sizeof(T);
    const auto *a = static_cast<const char*>(row.a), *b = static_cast<const char*>(row.b);
    auto* d = static_cast<char*>(row.d);
    ptrdiff_t i = 0;
    for (; i + step <= row.pixels; i += step) {
        const ptrdiff_t at = i * pixelBytes;
        const Pixels<T> result =
            compute(vectorAt<typename Word<T>::Pixel>(a + at), vectorAt<typename Word<T>::Pixel>(b + at), d + at);
        __builtin_memcpy(d + at, &result, sizeof result);
    }
    const auto rest = size_t((row.pixels - i) * pixelBytes);
    if (rest == 0)
        return;
    Pixels<T> lastA{}, lastB{}, lastD{};
    __builtin_memcpy(&lastA, a + i * pixelBytes, rest);
    __builtin_memcpy(&lastB, b + i * pixelBytes, rest);
    __builtin_memcpy(&lastD, d + i * pixelBytes, rest);
    lastD = compute(lastA, lastB, reinterpret_cast<const char*>(&lastD));
    __builtin_memcpy(d + i * pixelBytes, &lastD, rest);
}

template <class T, int type, bool premultiplied, bool keeps>
void composite(const OwnPixelRow& row)
{
    const Alphas<T> alphas(row);
    forPixels<T>(row, [&](Pixels<T> A, Pixels<T> B, const char* d) {
        const Wide<T> a = alphas.ofA(A), b = alphas.ofB(B, a);
        Wide<T> firstA = firstOf<T>(A), firstB = firstOf<T>(B), secondA = secondOf<T>(A), secondB = secondOf<T>(B);
        if (!premultiplied) {
            firstA = mul<T>(firstA, a);
            firstB = mul<T>(firstB, b);
            secondA = mul<T>(secondA, a);
            secondB = mul<T>(secondB, b);
        }
        // What a type makes of colours it makes of alphas too, but for "atop", whose alpha is that of B.
        const Pixels<T> alphaA = joined<T>(a, a), alphaB = joined<T>(b, b);
        const Pixels<T> withA = withAlpha<T>(joined<T>(firstA, secondA), alphaA);
        const Pixels<T> withB = withAlpha<T>(joined<T>(firstB, secondB), alphaB);
        const Pixels<T> result = joined<T>(colourOf<T, type>(firstA, firstB, a, b),
                                           colourOf<T, type>(secondOf<T>(withA), secondOf<T>(withB), a, b));
        if (keeps)
            return withAlpha<T>(result, vectorAt<typename Word<T>::Pixel>(d));
        return type == 3 ? withAlpha<T>(result, alphaB) : result;
    });
}

template <class T>
void weighted(const OwnPixelRow& row)
{
    const Alphas<T> alphas(row);
    forPixels<T>({row.a, row.a, row.d, row.pixels, {}, {}}, [&](Pixels<T> A, Pixels<T>, const char*) {
        const Wide<T> a = alphas.ofA(A);
        return withAlpha<T>(joined<T>(mul<T>(firstOf<T>(A), a), mul<T>(secondOf<T>(A), a)), joined<T>(a, a));
    });
}

#if defined(__AVX2__)

// ---- Division -----------------------------------------------------------------------------------------------------

// Four pixels, whose values become doubles, channel by channel.
template <class T>
struct Four;
template <>
struct Four<uint8_t> {
    __m128i words;
    static Four at(const char* p) { return {_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))}; }
    void store(char* p) const { _mm_storeu_si128(reinterpret_cast<__m128i*>(p), words); }
    __m256d channel(int c) const
    {
        return _mm256_cvtepi32_pd(_mm_and_si128(_mm_srli_epi32(words, 8 * c), _mm_set1_epi32(255)));
    }
    void add(int c, __m128i values) { words = _mm_or_si128(words, _mm_slli_epi32(values, 8 * c)); }
    void takeAlpha(const Four& other) { words = _mm_blendv_epi8(words, other.words, _mm_set1_epi32(int(0xFF000000))); }
};
template <>
struct Four<uint16_t> {
    __m256i words;
    static Four at(const char* p) { return {_mm256_loadu_si256(reinterpret_cast<const __m256i*>(p))}; }
    void store(char* p) const { _mm256_storeu_si256(reinterpret_cast<__m256i*>(p), words); }
    __m256d channel(int c) const
    {
        const __m256i low =
            _mm256_permutevar8x32_epi32(_mm256_srli_epi64(words, 16 * c), _mm256_setr_epi32(0, 2, 4, 6, 0, 2, 4, 6));
        return _mm256_cvtepi32_pd(_mm_and_si128(_mm256_castsi256_si128(low), _mm_set1_epi32(65535)));
    }
    void add(int c, __m128i values)
    {
        words = _mm256_or_si256(words, _mm256_slli_epi64(_mm256_cvtepu32_epi64(values), 16 * c));
    }
    void takeAlpha(const Four& other) { words = _mm256_blend_epi16(words, other.words, 0x88); }
};

template <class T>
inline __m128i rounded(__m256d value)
{
    return _mm256_cvtpd_epi32(_mm256_min_pd(value, _mm256_set1_pd(Scale<T>::one)));
}

template <class T, int type, bool premultiplied, bool keeps>
inline __attribute__((always_inline)) Four<T> dividedFour(const OwnPixelRow& row, Four<T> A, Four<T> B, Four<T> D)
{
    const __m256d unit = _mm256_set1_pd(double(Scale<T>::unit));
    const __m256d alphaA = row.alphaA.own ? A.channel(3) : _mm256_set1_pd(row.alphaA.constant);
    const __m256d alphaB = row.alphaB.own          ? B.channel(3)
                           : row.alphaB.complement ? Scale<T>::one - alphaA
                                                   : _mm256_set1_pd(row.alphaB.constant);
    const __m256d a = alphaA * unit, b = alphaB * unit, part = realAlpha<type>(a, b);
    const __m256d divides = _mm256_cmp_pd(part, _mm256_set1_pd(Scale<T>::leastAlpha), _CMP_GT_OQ);
    Four<T> result = {};
    for (int c = 0; c < 3; ++c) {
        __m256d fromA = A.channel(c), fromB = B.channel(c);
        if (!premultiplied) {
            fromA = fromA * a;
            fromB = fromB * b;
        }
        const __m256d sum = realColour<type>(fromA, fromB, a, b);
        result.add(c, rounded<T>(_mm256_blendv_pd(sum, sum / part, divides)));
    }
    if (keeps)
        result.takeAlpha(D);
    else
        result.add(3, rounded<T>(part * Scale<T>::one));
    return result;
}

template <class T, int type, bool premultiplied, bool keeps>
void divided(const OwnPixelRow& row)
{
    constexpr ptrdiff_t bytes = 16 * sizeof(T);
    const auto *a = static_cast<const char*>(row.a), *b = static_cast<const char*>(row.b);
    auto* d = static_cast<char*>(row.d);
    auto make = [&](const char* fromA, const char* fromB, char* to) {
        dividedFour<T, type, premultiplied, keeps>(row, Four<T>::at(fromA), Four<T>::at(fromB), Four<T>::at(to))
            .store(to);
    };
    ptrdiff_t fours = row.pixels / 4;
    for (ptrdiff_t i = 0; i < fours; ++i)
        make(a + i * bytes, b + i * bytes, d + i * bytes);
    const auto rest = size_t(row.pixels % 4) * 4 * sizeof(T);
    if (rest == 0)
        return;
    char last[3][bytes] = {};
    __builtin_memcpy(last[0], a + fours * bytes, rest);
    __builtin_memcpy(last[1], b + fours * bytes, rest);
    __builtin_memcpy(last[2], d + fours * bytes, rest);
    make(last[0], last[1], last[2]);
    __builtin_memcpy(d + fours * bytes, last[2], rest);
}

#define OWN_DIVIDED(T, type)                                               \
    {                                                                      \
        {divided<T, type, false, false>, divided<T, type, false, true>},   \
            {divided<T, type, true, false>, divided<T, type, true, true>}, \
    }
#else
#define OWN_DIVIDED(T, type) \
    {                        \
    }
#endif

#define OWN_COMPOSITE(T, type)                                                 \
    {                                                                          \
        {composite<T, type, false, false>, composite<T, type, false, true>},   \
            {composite<T, type, true, false>, composite<T, type, true, true>}, \
    }
#define OWN_TYPES(T, kernel)                                                               \
    {                                                                                      \
        kernel(T, 0), kernel(T, 1), kernel(T, 2), kernel(T, 3), kernel(T, 4), kernel(T, 5) \
    }

template <class T>
constexpr OwnPixelKernels kernelsOf = {
    OWN_TYPES(T, OWN_COMPOSITE), OWN_TYPES(T, OWN_DIVIDED), {weighted<T>, weighted<T>}};

}  // namespace

extern const OwnPixelTable ownPixelTable;
const OwnPixelTable ownPixelTable = {{kernelsOf<uint8_t>, kernelsOf<uint16_t>}};

}  // namespace OWN_ISA
