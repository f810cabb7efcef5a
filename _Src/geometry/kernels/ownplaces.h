// For kernel sources only: where the samples of positions stand in memory, and what they weigh.
#pragma once

#include "ownsample.h"

#if defined(OWN_ISA)
namespace OWN_ISA {
namespace {

// ---- Rounding -----------------------------------------------------------------------------------------------------

using Reals = Vector<double>;
using Words = Vector<uint64_t>;
constexpr int lanes = int(vectorBytes / 8);

// A sum with it has no room for a fraction, so that it is rounded to nearest, ties to even; its low bits are the
// integer.
constexpr double integers = 0x1.8p52;

inline Words bitsOf(Reals values)
{
    return (Words)values;
}

// The products of the low halves.
inline Words lowProduct(Words a, Words b)
{
#if defined(__AVX2__)
    return (Words)_mm256_mul_epu32((__m256i)a, (__m256i)b);
#elif defined(__SSE2__)
    return (Words)_mm_mul_epu32((__m128i)a, (__m128i)b);
#else
    return (a & UINT32_MAX) * (b & UINT32_MAX);
#endif
}

// Stores the low halves.
inline void storeLow(int32_t* to, Words words)
{
#if defined(__AVX2__)
    const __m256i order = _mm256_setr_epi32(0, 2, 4, 6, 0, 0, 0, 0);
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to),
                     _mm256_castsi256_si128(_mm256_permutevar8x32_epi32((__m256i)words, order)));
#elif defined(__SSE2__)
    _mm_storel_epi64(reinterpret_cast<__m128i*>(to), _mm_shuffle_epi32((__m128i)words, 0x08));
#else
    for (int i = 0; i < lanes; ++i)
        to[i] = int32_t(words[i]);
#endif
}

template <class T>
inline void store(T* to, Vector<T> values)
{
    __builtin_memcpy(to, &values, sizeof values);
}

// ---- Places -------------------------------------------------------------------------------------------------------

// The least integer that is not below a position by half a pixel; a hair less, so that a position just below an integer
// counts as on it.
constexpr double justBelowHalf = __builtin_bit_cast(double, uint64_t{0x3FDFFFFF94A03595});
inline Reals pixelBefore(Reals position)
{
    return (position - justBelowHalf) + integers - integers;
}

// Where an image's pixels stand in memory; columns and rows are the low halves of words.
struct Addresses {
    Words pixelBytes, rowBytes, origin;

    explicit Addresses(const OwnSampleSource& source)
        : pixelBytes(Words{} + uint64_t(source.pixelBytes)),
          rowBytes(Words{} + uint64_t(source.rowBytes)),
          origin(Words{} + uint64_t(source.origin))
    {
    }
    Words operator()(Words column, Words row) const
    {
        return lowProduct(row, rowBytes) + lowProduct(column, pixelBytes) - origin;
    }
};

void prepareNearest(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n,
                    OwnSamplePlaces& places)
{
    const Addresses addresses(source);
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        const Words column = bitsOf(vectorAt<double>(x, i) + integers), row = bitsOf(vectorAt<double>(y, i) + integers);
        store(places.offset + i, (Vector<int64_t>)addresses(column, row));
    }
}

void prepareBits(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        places.offset[i] = int64_t{ownNearest(y[i])} * source.rowBytes * 8 + ownNearest(x[i]) - source.origin;
}

// Fixed point with 16 bits after the point. All weight of the last pixel stands in the one before.

#if defined(__AVX2__)
// Positions in 32 bits, in the order 0, 1, 4, 5, 2, 3, 6, 7 of the halves' quarters, which unpacking brings back. The
// product is exact, so that the fused sum is rounded as two steps would be.
__attribute__((target("fma"))) inline __m256i fixedPositions(const double* values)
{
    const __m256d scale = _mm256_set1_pd(65536), whole = _mm256_set1_pd(integers);
    const __m256d low = _mm256_fmadd_pd(_mm256_loadu_pd(values), scale, whole),
                  high = _mm256_fmadd_pd(_mm256_loadu_pd(values + 4), scale, whole);
    return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castpd_ps(low), _mm256_castpd_ps(high), 0x88));
}

// Eight positions at a time, each in 32 bits.
template <bool shortRows>
__attribute__((target("fma"))) void prepareFixedCompact(const OwnSampleSource& source, const double* x, const double* y,
                                                        ptrdiff_t n, OwnSamplePlaces& places)
{
    const __m256i lastColumn = _mm256_set1_epi32(source.width - 2), lastRow = _mm256_set1_epi32(source.height - 2);
    const __m256i pixelBytes = _mm256_set1_epi32(source.pixelBytes), rowBytes = _mm256_set1_epi32(int(source.rowBytes));
    const __m256i both = _mm256_blend_epi16(pixelBytes, _mm256_slli_epi32(rowBytes, 16), 0xAA);
    const __m256i origin = _mm256_set1_epi32(int(source.origin)), zero = _mm256_setzero_si256();
    auto save = [](void* to, __m256i words) { _mm256_storeu_si256(static_cast<__m256i*>(to), words); };
    const __m256i order = _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7);
    for (ptrdiff_t i = 0; i < n; i += 8) {
        const __m256i fixedX = fixedPositions(x + i), fixedY = fixedPositions(y + i);
        const __m256i column = _mm256_min_epi32(_mm256_srli_epi32(fixedX, 16), lastColumn),
                      row = _mm256_min_epi32(_mm256_srli_epi32(fixedY, 16), lastRow);
        const __m256i wholeX = _mm256_slli_epi32(column, 16), wholeY = _mm256_slli_epi32(row, 16);
        __m256i offset;
        if constexpr (shortRows)
            offset = _mm256_madd_epi16(_mm256_blend_epi16(column, wholeY, 0xAA), both);
        else
            offset = _mm256_add_epi32(_mm256_mullo_epi32(row, rowBytes), _mm256_mullo_epi32(column, pixelBytes));
        offset = _mm256_sub_epi32(offset, origin);
        save(places.offset + i, _mm256_unpacklo_epi32(offset, zero));
        save(places.offset + i + 4, _mm256_unpackhi_epi32(offset, zero));
        save(places.whole.x + i, _mm256_permutevar8x32_epi32(_mm256_sub_epi32(fixedX, wholeX), order));
        save(places.whole.y + i, _mm256_permutevar8x32_epi32(_mm256_sub_epi32(fixedY, wholeY), order));
    }
}
#endif

void prepareFixed(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
#if defined(__AVX2__)
    if (source.compact) {
        const bool shortRows = source.rowBytes <= INT16_MAX && source.pixelBytes <= INT16_MAX;
        (shortRows ? prepareFixedCompact<true> : prepareFixedCompact<false>)(source, x, y, n, places);
        return;
    }
#endif
    auto split = [](double position, int32_t size, int32_t& weight) {
        const auto fixed = int64_t(__builtin_bit_cast(uint64_t, position * 65536 + integers) & (UINT64_MAX >> 13));
        const int64_t pixel = (fixed >> 16) - ((fixed >> 16) == size - 1);
        weight = int32_t(fixed - (pixel << 16));
        return pixel;
    };
    for (ptrdiff_t i = 0; i < n; ++i) {
        const int64_t column = split(x[i], source.width, places.whole.x[i]);
        const int64_t row = split(y[i], source.height, places.whole.y[i]);
        places.offset[i] = row * source.rowBytes + column * source.pixelBytes - source.origin;
    }
}

void prepareLinear(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n,
                   OwnSamplePlaces& places)
{
    const Addresses addresses(source);
    auto split = [](Reals position, int32_t size, Reals& pixel, Reals& weight) {
        const Reals before = pixelBefore(position), one = Reals{} + 1;
        const auto isLast = before >= Reals{} + (size - 1.0);
        pixel = isLast ? Reals{} + (size - 2.0) : before;
        weight = isLast ? one : position - pixel;
    };
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        Reals column, row, xWeight, yWeight;
        split(vectorAt<double>(x, i), source.width, column, xWeight);
        split(vectorAt<double>(y, i), source.height, row, yWeight);
        store(places.offset + i, (Vector<int64_t>)addresses(bitsOf(column + integers), bitsOf(row + integers)));
        store(places.real.x + i, xWeight);
        store(places.real.y + i, yWeight);
    }
}

// The block of four by four pixels around a position, moved inwards where it would leave the image.
template <bool fixed>
void prepareCubic(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
    const Addresses addresses(source);
    auto firstOf = [](Reals position, int32_t size) {
        const Reals before = pixelBefore(position), zero = {};
        const Reals first = before < 1 ? zero : before - 1;
        return before >= Reals{} + (size - 2.0) ? Reals{} + (size - 4.0) : first;
    };
    typedef float Floats __attribute__((vector_size(lanes * 4)));
    auto inSingle = [](Reals values) {
        return __builtin_convertvector(__builtin_convertvector(values, Floats), Reals);
    };
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        const Reals px = vectorAt<double>(x, i), py = vectorAt<double>(y, i);
        const Reals column = firstOf(px, source.width), row = firstOf(py, source.height);
        store(places.offset + i, (Vector<int64_t>)addresses(bitsOf(column + integers), bitsOf(row + integers)));
        if constexpr (fixed) {
            storeLow(places.whole.x + i, bitsOf((px - column) * 512 + integers));
            storeLow(places.whole.y + i, bitsOf((py - row) * 512 + integers));
        } else {
            store(places.real.x + i, inSingle(px - column - 1));
            store(places.real.y + i, inSingle(py - row - 1));
        }
    }
}

// Calls fetch(to, offset) for the positions of a list, with `step` values for each; a few at a time, which costs less
// than one by one.
template <class T, class Fetch>
OWN_INLINE void forEach(const int64_t* offsets, ptrdiff_t n, T* to, ptrdiff_t step, Fetch fetch)
{
    constexpr ptrdiff_t few = 8;
    static_assert(ownPositionGroup % few == 0);
    for (; n > 0; n -= few, offsets += few, to += few * step)
#pragma GCC unroll 8
        for (ptrdiff_t k = 0; k < few; ++k)
            fetch(to + k * step, ptrdiff_t(offsets[k]));
}

// Stores a value by itself. Compilers would rather bring several together in a vector first, one by one, which takes
// longer.
template <class T>
OWN_INLINE void storeAlone(T& to, T value)
{
    const_cast<volatile T&>(to) = value;
}

}  // namespace
}  // namespace OWN_ISA
#endif
