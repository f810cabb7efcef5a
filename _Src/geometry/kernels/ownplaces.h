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
    const Reals last = everyLane(source.height - 1 + integers);
    decltype(Reals() < Reals()) inLast = {};
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        const Reals column = vectorAt<double>(x, i) + integers, row = vectorAt<double>(y, i) + integers;
        store(places.offset + i, (Vector<int64_t>)addresses(bitsOf(column), bitsOf(row)));
        inLast |= row == last;
    }
    places.lastRow = false;
    for (int i = 0; i < lanes; ++i)
        places.lastRow |= inLast[i] != 0;
}

void prepareBits(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        places.offset[i] = int64_t{ownNearest(y[i])} * source.rowBytes * 8 + ownNearest(x[i]) - source.origin;
}

class NearestPlaces;
class FixedPlaces;

// Fixed point with 16 bits after the point. All weight of the last pixel stands in the one before.

#if defined(__AVX2__)
// For vectors a weight is a word with a sign. Where that is too little by one, so that the product with a difference
// is too little by the difference, along rows the right pixel stands for the left one: these are the factors, in 6 bits
// after the point, that choose one byte of two.
constexpr int16_t leftSide = 0x0040, rightSide = 0x4000;

// Integers that have been rounded to by adding `integers`, in the order 0, 1, 4, 5, 2, 3, 6, 7 of the
// halves' quarters, which unpacking brings back.
inline __m256i wholeNumbers(__m256d low, __m256d high)
{
    return _mm256_castps_si256(_mm256_shuffle_ps(_mm256_castpd_ps(low), _mm256_castpd_ps(high), 0x88));
}

// Eight positions in 32 bits, in that order, with so many parts to a pixel, a power of two: products are exact, so that
// the fused sum is rounded as two steps would be.
template <int parts>
__attribute__((target("fma"))) inline __m256i fixedPositions(__m256d low, __m256d high)
{
    const __m256d scale = _mm256_set1_pd(parts), whole = _mm256_set1_pd(integers);
    return wholeNumbers(_mm256_fmadd_pd(low, scale, whole), _mm256_fmadd_pd(high, scale, whole));
}
template <int parts>
__attribute__((target("fma"))) inline __m256i fixedPositions(const double* values)
{
    return fixedPositions<parts>(_mm256_loadu_pd(values), _mm256_loadu_pd(values + 4));
}

// Words of sixteen positions, of which each half has those of both vectors of eight.
inline __m256i inOrder(__m256i words)
{
    return _mm256_permutevar8x32_epi32(words, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

// The low words of two vectors of eight.
inline __m256i lowWords(__m256i first, __m256i second)
{
    const __m256i zero = _mm256_setzero_si256();
    return inOrder(_mm256_packus_epi32(_mm256_blend_epi16(first, zero, 0xAA), _mm256_blend_epi16(second, zero, 0xAA)));
}

inline void saveVector(void* to, __m256i vector)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), vector);
}

// Of eight positions.
inline void saveOffsets(int64_t* to, __m256i offsets)
{
    const __m256i zero = _mm256_setzero_si256();
    saveVector(to, _mm256_unpacklo_epi32(offsets, zero));
    saveVector(to + 4, _mm256_unpackhi_epi32(offsets, zero));
}

// Of sixteen positions; the carries have all bits set where a weight is one or, as a word with a sign, below zero.
inline void saveWeights(OwnSamplePlaces& places, ptrdiff_t i, __m256i x, __m256i xCarry, __m256i y, __m256i yCarry)
{
    const __m256i left = _mm256_set1_epi16(leftSide), either = _mm256_set1_epi16(leftSide ^ rightSide);
    saveVector(places.words.x + i, x);
    saveVector(places.words.xSides + i, _mm256_xor_si256(left, _mm256_and_si256(xCarry, either)));
    saveVector(places.words.y + i, y);
    saveVector(places.words.yCarry + i, yCarry);
}

// Eight positions, each in 32 bits and in that order.
struct FixedEight {
    __m256i x, y;
};

// Where positions stand and what they weigh, as long as none lies in the last column or row.
class FixedPlaces {
public:
    static constexpr int parts = 65536;

    FixedPlaces(const OwnSampleSource& source, OwnSamplePlaces& places)
        : places(places),
          bytes(_mm256_set1_epi32(int(source.rowBytes << 16 | source.pixelBytes))),
          before(_mm256_set1_epi32((source.height - 2) << 16 | (source.width - 2))),
          origin(_mm256_set1_epi32(int(source.origin)))
    {
    }

    // Whether a source has rows short enough for this.
    static bool suits(const OwnSampleSource& source)
    {
        return source.compact && source.rowBytes <= INT16_MAX && source.pixelBytes <= INT16_MAX;
    }

    // Takes sixteen positions.
    OWN_ALWAYS void take(ptrdiff_t i, FixedEight first, FixedEight second)
    {
        placeEight(i, first);
        placeEight(i + 8, second);
        const __m256i x = lowWords(first.x, second.x), y = lowWords(first.y, second.y);
        saveWeights(places, i, x, _mm256_srai_epi16(x, 15), y, _mm256_srai_epi16(y, 15));
    }

    // False if there were some in the last column or row; all places are worth nothing then.
    bool areRight() const { return _mm256_movemask_epi8(_mm256_cmpgt_epi16(most, before)) == 0; }

private:
    OwnSamplePlaces& places;
    // Columns stand in the low words and rows in the high ones.
    __m256i bytes, before, origin, most = _mm256_setzero_si256();

    OWN_ALWAYS void placeEight(ptrdiff_t i, FixedEight fixed)
    {
        const __m256i pixels = _mm256_blend_epi16(_mm256_srli_epi32(fixed.x, 16), fixed.y, 0xAA);
        most = _mm256_max_epi16(most, pixels);
        saveOffsets(places.offset + i, _mm256_sub_epi32(_mm256_madd_epi16(pixels, bytes), origin));
    }
};

// Where the pixels nearest to positions stand.
class NearestPlaces {
public:
    static constexpr int parts = 1;

    NearestPlaces(const OwnSampleSource& source, OwnSamplePlaces& places)
        : places(places),
          bytes(_mm256_set1_epi32(int(source.rowBytes << 16 | source.pixelBytes))),
          origin(_mm256_set1_epi32(int(source.origin))),
          last(_mm256_set1_epi32(source.height - 1))
    {
    }
    ~NearestPlaces() { places.lastRow = !_mm256_testz_si256(inLast, inLast); }
    static bool suits(const OwnSampleSource& source) { return FixedPlaces::suits(source); }

    OWN_ALWAYS void take(ptrdiff_t i, FixedEight first, FixedEight second)
    {
        placeEight(i, first);
        placeEight(i + 8, second);
    }
    static bool areRight() { return true; }

private:
    OwnSamplePlaces& places;
    __m256i bytes, origin, last, inLast = _mm256_setzero_si256();

    OWN_ALWAYS void placeEight(ptrdiff_t i, FixedEight fixed)
    {
        inLast = _mm256_or_si256(inLast, _mm256_cmpeq_epi32(fixed.y, last));
        const __m256i pixels = _mm256_blend_epi16(fixed.x, _mm256_slli_epi32(fixed.y, 16), 0xAA);
        saveOffsets(places.offset + i, _mm256_sub_epi32(_mm256_madd_epi16(pixels, bytes), origin));
    }
};

__attribute__((target("fma"))) bool prepareFixedInside(const OwnSampleSource& source, const double* x, const double* y,
                                                       ptrdiff_t n, OwnSamplePlaces& places)
{
    FixedPlaces fixed(source, places);
    constexpr int parts = FixedPlaces::parts;
    for (ptrdiff_t i = 0; i < n; i += 16)
        fixed.take(i, {fixedPositions<parts>(x + i), fixedPositions<parts>(y + i)},
                   {fixedPositions<parts>(x + i + 8), fixedPositions<parts>(y + i + 8)});
    return fixed.areRight();
}

// The same wherever they lie.
__attribute__((target("fma"))) void prepareFixedCompact(const OwnSampleSource& source, const double* x, const double* y,
                                                        ptrdiff_t n, OwnSamplePlaces& places)
{
    struct Eight {
        __m256i pixel, weight;
    };
    auto split = [](__m256i positions, int32_t size) {
        const __m256i pixel = _mm256_min_epi32(_mm256_srli_epi32(positions, 16), _mm256_set1_epi32(size - 2));
        return Eight{pixel, _mm256_sub_epi32(positions, _mm256_slli_epi32(pixel, 16))};
    };
    auto carries = [](__m256i first, __m256i second) {
        const __m256i most = _mm256_set1_epi32(INT16_MAX);
        return inOrder(_mm256_packs_epi32(_mm256_cmpgt_epi32(first, most), _mm256_cmpgt_epi32(second, most)));
    };
    const __m256i pixelBytes = _mm256_set1_epi32(source.pixelBytes), rowBytes = _mm256_set1_epi32(int(source.rowBytes)),
                  origin = _mm256_set1_epi32(int(source.origin));
    auto offsets = [=](__m256i column, __m256i row) {
        return _mm256_sub_epi32(
            _mm256_add_epi32(_mm256_mullo_epi32(row, rowBytes), _mm256_mullo_epi32(column, pixelBytes)), origin);
    };
    for (ptrdiff_t i = 0; i < n; i += 16) {
        const Eight x0 = split(fixedPositions<65536>(x + i), source.width),
                    x1 = split(fixedPositions<65536>(x + i + 8), source.width);
        const Eight y0 = split(fixedPositions<65536>(y + i), source.height),
                    y1 = split(fixedPositions<65536>(y + i + 8), source.height);
        saveOffsets(places.offset + i, offsets(x0.pixel, y0.pixel));
        saveOffsets(places.offset + i + 8, offsets(x1.pixel, y1.pixel));
        saveWeights(places, i, lowWords(x0.weight, x1.weight), carries(x0.weight, x1.weight),
                    lowWords(y0.weight, y1.weight), carries(y0.weight, y1.weight));
    }
}
#endif

// The weights of a position, 0 to 65536.
inline void setWeights(OwnSamplePlaces& places, ptrdiff_t i, int32_t x, int32_t y)
{
#if defined(__AVX2__)
    places.words.x[i] = uint16_t(x);
    places.words.xSides[i] = uint16_t(x > INT16_MAX ? rightSide : leftSide);
    places.words.y[i] = uint16_t(y);
    places.words.yCarry[i] = y > INT16_MAX ? UINT16_MAX : 0;
#else
    places.whole.x[i] = x;
    places.whole.y[i] = y;
#endif
}

void prepareFixed(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
#if defined(__AVX2__)
    if (source.compact) {
        if (!FixedPlaces::suits(source) || !prepareFixedInside(source, x, y, n, places))
            prepareFixedCompact(source, x, y, n, places);
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
        int32_t xWeight, yWeight;
        const int64_t column = split(x[i], source.width, xWeight), row = split(y[i], source.height, yWeight);
        setWeights(places, i, xWeight, yWeight);
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

#if defined(__AVX2__)
// What prepareCubic does in fixed point, for eight positions at a time, each in 32 bits. Whole pixels may be taken away
// after rounding.
__attribute__((target("fma"))) void prepareCubicCompact(const OwnSampleSource& source, const double* x, const double* y,
                                                        ptrdiff_t n, OwnSamplePlaces& places)
{
    const __m256i pixelBytes = _mm256_set1_epi32(source.pixelBytes), rowBytes = _mm256_set1_epi32(int(source.rowBytes)),
                  origin = _mm256_set1_epi32(int(source.origin));
    auto firstOf = [](const double* at, int32_t size) {
        auto before = [at](ptrdiff_t i) { return vectorAt<double>(at, i) - justBelowHalf + integers; };
        const __m256i second = wholeNumbers(before(0), before(4)), one = _mm256_set1_epi32(1);
        return _mm256_max_epi32(_mm256_min_epi32(_mm256_sub_epi32(second, one), _mm256_set1_epi32(size - 4)),
                                _mm256_setzero_si256());
    };
    auto saveSteps = [](int32_t* to, __m256i steps, __m256i first) {
        saveVector(to, _mm256_permutevar8x32_epi32(_mm256_sub_epi32(steps, _mm256_slli_epi32(first, 9)),
                                                   _mm256_setr_epi32(0, 1, 4, 5, 2, 3, 6, 7)));
    };
    for (ptrdiff_t i = 0; i < n; i += 8) {
        const __m256i column = firstOf(x + i, source.width), row = firstOf(y + i, source.height);
        const __m256i offsets =
            _mm256_add_epi32(_mm256_mullo_epi32(row, rowBytes), _mm256_mullo_epi32(column, pixelBytes));
        saveOffsets(places.offset + i, _mm256_sub_epi32(offsets, origin));
        saveSteps(places.whole.x + i, fixedPositions<512>(x + i), column);
        saveSteps(places.whole.y + i, fixedPositions<512>(y + i), row);
    }
}
#endif

// The block of four by four pixels around a position, moved inwards where it would leave the image.
template <bool fixed>
void prepareCubic(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
#if defined(__AVX2__)
    if (fixed && source.compact)
        return prepareCubicCompact(source, x, y, n, places);
#endif
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
