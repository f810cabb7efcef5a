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

// The product of values as parts of 1, rounded down.
template <class T>
inline Wide<T> mul(Wide<T> x, Wide<T> y)
{
    const Wide<T> t = x * y;
#if defined(__AVX2__)
    if constexpr (sizeof(T) == 1)
        return Wide<T>(_mm256_mulhi_epu16(__m256i(t), _mm256_set1_epi16(int16_t(0x8081)))) >> 7;
#elif defined(__SSE2__)
    if constexpr (sizeof(T) == 1)
        return Wide<T>(_mm_mulhi_epu16(__m128i(t), _mm_set1_epi16(int16_t(0x8081)))) >> 7;
#endif
    return (t + (t >> bits<T>)+1) >> bits<T>;
}

template <class T>
inline Wide<T> complementOf(Wide<T> x)
{
    return x ^ Scale<T>::one;
}

template <class T>
inline Pixels<T> sumOf(Pixels<T> x, Pixels<T> y)
{
    using Values = Vector<T>;
    const Values a = Values(x), b = Values(y), room = ~a;
    return Pixels<T>(a + (b < room ? b : room));
}

// The last value in memory is a word's highest one, or the lowest.
template <class T>
constexpr int alphaShift = ownIsBigEndian ? 0 : 3 * bits<T>;
template <class T>
constexpr auto alphaBits = typename Word<T>::Pixel(Scale<T>::one) << alphaShift<T>;

template <class T>
inline Pixels<T> withAlpha(Pixels<T> colours, Pixels<T> alpha)
{
    return (colours & ~alphaBits<T>) | (alpha & alphaBits<T>);
}

// Alphas that stand in all places, where those of pixels are.
template <class T>
inline Pixels<T> inPixels(Wide<T> alphas)
{
    return Pixels<T>(ownIsBigEndian ? alphas : alphas << bits<T>);
}

// Pixels times a value each, which stands in all places of `by`. Every second value is computed at a time.
template <class T>
inline Pixels<T> scaled(Pixels<T> pixels, Wide<T> lowBy, Wide<T> highBy)
{
    const Wide<T> values = Wide<T>(pixels);
    return Pixels<T>(mul<T>(values & Scale<T>::one, lowBy) | mul<T>(values >> bits<T>, highBy) << bits<T>);
}

template <class T>
inline Pixels<T> scaled(Pixels<T> pixels, Wide<T> by)
{
    return scaled<T>(pixels, by, by);
}

// The colours times a value, and the alpha as it is.
template <class T>
inline Pixels<T> weightedBy(Pixels<T> pixels, Wide<T> by)
{
    constexpr int alphaPair = ownIsBigEndian ? 0 : 2 * bits<T>;
    const Pixels<T> inAlpha = Pixels<T>{} + (typename Word<T>::Pixel(Scale<T>::one) << alphaPair);
    const Wide<T> alphaBy = by | Wide<T>(inAlpha);
    return ownIsBigEndian ? scaled<T>(pixels, alphaBy, by) : scaled<T>(pixels, by, alphaBy);
}

template <class T, int type>
inline Pixels<T> resultOf(Pixels<T> A, Pixels<T> B, Wide<T> a, Wide<T> b)
{
    switch (type) {
    case 0: return sumOf<T>(A, scaled<T>(B, complementOf<T>(a)));
    case 1: return scaled<T>(A, b);
    case 2: return scaled<T>(A, complementOf<T>(b));
    case 3: return sumOf<T>(scaled<T>(B, complementOf<T>(a)), scaled<T>(A, b));
    case 4: return sumOf<T>(scaled<T>(B, complementOf<T>(a)), scaled<T>(A, complementOf<T>(b)));
    default: return sumOf<T>(A, B);
    }
}

// The alphas of pixels in every place, which a row points to; `own`: both are in the pixels.
template <class T, bool own>
struct Alphas {
    using Values = Wide<T>;
    OwnPixelAlpha kindA, kindB;
    Values constantA, constantB;

    explicit Alphas(const OwnPixelRow& row)
        : kindA(row.alphaA),
          kindB(row.alphaB),
          constantA(everyLane(typename Word<T>::Wide(row.alphaA.constant))),
          constantB(everyLane(typename Word<T>::Wide(row.alphaB.constant)))
    {
    }

    static Values ownOf(Pixels<T> pixels)
    {
#if defined(__AVX2__)
        if constexpr (sizeof(T) == 1) {
            const __m256i places = _mm256_set1_epi64x(int64_t(0x8007800780038003));
            const __m256i upper = _mm256_set_epi64x(0x0808080808080808, 0, 0x0808080808080808, 0);
            return Values(_mm256_shuffle_epi8(__m256i(pixels), _mm256_add_epi8(places, upper)));
        }
#endif
        const Pixels<T> alpha = pixels >> alphaShift<T> & Scale<T>::one;
        return Values(alpha | alpha << (2 * bits<T>));
    }
    Values ofA(Pixels<T> pixels) const
    {
        return own || kindA.own ? ownOf(pixels) : constantA;
    }
    Values ofB(Pixels<T> pixels, Values a) const
    {
        if (own || kindB.own)
            return ownOf(pixels);
        return kindB.complement ? complementOf<T>(a) : constantB;
    }
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

template <class T, int type, bool premultiplied, bool keeps, bool own>
void compositeAs(const OwnPixelRow& row)
{
    const Alphas<T, own> alphas(row);
    forPixels<T>(row, [&](Pixels<T> A, Pixels<T> B, const char* d) {
        const Wide<T> a = alphas.ofA(A), b = alphas.ofB(B, a);
        if (!premultiplied) {
            A = weightedBy<T>(A, a);
            B = weightedBy<T>(B, b);
        }
        if (!own && !keeps)
            B = withAlpha<T>(B, inPixels<T>(b));
        // What a type makes of colours it makes of alphas too, but for "atop", whose alpha is that of B.
        const Pixels<T> result = resultOf<T, type>(A, B, a, b);
        if (keeps)
            return withAlpha<T>(result, vectorAt<typename Word<T>::Pixel>(d));
        return type == 3 ? withAlpha<T>(result, B) : result;
    });
}

template <class T, int type, bool premultiplied, bool keeps>
void composite(const OwnPixelRow& row)
{
    if (row.alphaA.own && row.alphaB.own)
        compositeAs<T, type, premultiplied, keeps, true>(row);
    else
        compositeAs<T, type, premultiplied, keeps, false>(row);
}

template <class T>
void weighted(const OwnPixelRow& row)
{
    const OwnPixelRow one = {row.a, row.a, row.d, row.pixels, row.alphaA, row.alphaA};
    const Alphas<T, false> alphas(one);
    if (row.alphaA.own)
        forPixels<T>(one,
                     [](Pixels<T> A, Pixels<T>, const char*) { return weightedBy<T>(A, Alphas<T, true>::ownOf(A)); });
    else
        forPixels<T>(one, [&](Pixels<T> A, Pixels<T>, const char*) {
            return withAlpha<T>(scaled<T>(A, alphas.constantA), inPixels<T>(alphas.constantA));
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
