#include "ownsample.h"

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

// ---- Nearest ------------------------------------------------------------------------------------------------------

template <int bytes>
void sampleNearest(const OwnSampleSource&, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                   uint8_t* out)
{
    forEach(places.offset, n, out, bytes,
            [data](uint8_t* to, ptrdiff_t offset) { __builtin_memcpy(to, data + offset, bytes); });
}

void sampleBits(const OwnSampleSource&, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n, uint8_t* out)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        out[i] = data[places.offset[i] >> 3] >> (~places.offset[i] & 7) & 1;
}

// ---- Linear -------------------------------------------------------------------------------------------------------

// Values have 6 bits after the point, weights 16.
inline uint8_t mixFixed(int32_t a, int32_t b, int32_t c, int32_t d, int32_t xWeight, int32_t yWeight)
{
    const int32_t top = a * 64 + ((b - a) * 64 * xWeight >> 16), bottom = c * 64 + ((d - c) * 64 * xWeight >> 16);
    return uint8_t((top + ((bottom - top) * yWeight >> 16) + 32) >> 6);
}

#if defined(__AVX2__)
// Lanes of 16 bits: a plus the part of b - a that a weight tells, of which `half` are the low 16 bits. The product
// takes them as a signed number; `carry` has all bits set where that is too little by one, or where the weight is one.
inline __m256i mixLanes(__m256i a, __m256i b, __m256i half, __m256i carry)
{
    const __m256i difference = _mm256_sub_epi16(b, a);
    return _mm256_add_epi16(_mm256_add_epi16(a, _mm256_mulhi_epi16(difference, half)),
                            _mm256_and_si256(difference, carry));
}

// Lanes of 32 bits for weights above the largest signed number of 16 bits.
inline __m256i carryOf(__m256i weights)
{
    return _mm256_cmpgt_epi32(weights, _mm256_set1_epi32(INT16_MAX));
}

inline __m256i roundedLanes(__m256i mixed)
{
    return _mm256_srli_epi16(_mm256_add_epi16(mixed, _mm256_set1_epi16(32)), 6);
}

inline __m256i load(const void* from)
{
    return _mm256_loadu_si256(static_cast<const __m256i*>(from));
}

inline void save(void* to, __m256i words)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to), words);
}
#endif

// Pixels of one channel.
void sampleFixedOne(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                    uint8_t* __restrict out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
#if defined(__AVX2__)
    // The four values of each pixel side by side, the upper pair first; then eight pixels at a time.
    alignas(64) uint16_t pairs[2 * ownPositions];
    const uint8_t* const dataBelow = data + below;
    if (right == 1)
        forEach(places.offset, n, pairs, 2, [data, dataBelow](uint16_t* to, ptrdiff_t offset) {
            storeAlone(to[0], ownLoad<uint16_t>(data + offset));
            storeAlone(to[1], ownLoad<uint16_t>(dataBelow + offset));
        });
    else
        forEach(places.offset, n, pairs, 2, [data, dataBelow, right](uint16_t* to, ptrdiff_t offset) {
            auto pairAt = [right](const uint8_t* p) { return uint16_t(p[0] | p[right] << 8); };
            storeAlone(to[0], pairAt(data + offset));
            storeAlone(to[1], pairAt(dataBelow + offset));
        });
    const __m256i low = _mm256_set1_epi16(255);
    auto mixEight = [&](ptrdiff_t i) {
        const __m256i values = load(pairs + 2 * i), x = load(places.whole.x + i), y = load(places.whole.y + i);
        const __m256i a = _mm256_slli_epi16(_mm256_and_si256(values, low), 6),
                      b = _mm256_slli_epi16(_mm256_srli_epi16(values, 8), 6);
        const __m256i twice = _mm256_blend_epi16(x, _mm256_slli_epi32(x, 16), 0xAA);
        const __m256i rows = mixLanes(a, b, twice, carryOf(x));
        const __m256i mixed = mixLanes(rows, _mm256_srli_epi32(rows, 16), y, carryOf(y));
        return _mm256_and_si256(roundedLanes(mixed), _mm256_set1_epi32(255));
    };
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i first = _mm256_packus_epi32(mixEight(i), mixEight(i + 8)),
                      second = _mm256_packus_epi32(mixEight(i + 16), mixEight(i + 24));
        save(out + i, _mm256_permutevar8x32_epi32(_mm256_packus_epi16(first, second), order));
    }
#else
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        out[i] = mixFixed(p[0], p[right], p[below], p[below + right], places.whole.x[i], places.whole.y[i]);
    }
#endif
}

#if defined(__AVX2__)
// A pixel of up to four channels; what is read beyond them lies in its neighbour, before or behind.
template <int channels>
inline uint32_t leftPixel(const uint8_t* p)
{
    if constexpr (channels == 2)
        return ownLoad<uint16_t>(p);
    else
        return ownLoad<uint32_t>(p);
}
template <int channels>
inline uint32_t rightPixel(const uint8_t* p)
{
    if constexpr (channels == 3)
        return ownLoad<uint32_t>(p - 1) >> 8;
    else
        return leftPixel<channels>(p);
}
#endif

template <int channels>
void sampleFixed(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                 uint8_t* __restrict out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
#if defined(__AVX2__)
    // Pixels as four channels, the four of each position by kinds; then four positions at a time.
    alignas(64) uint32_t pixels[4 * ownPositions];
    const uint8_t* const dataBelow = data + below;
    forEach(places.offset, n, pixels, 1, [data, dataBelow, right](uint32_t* to, ptrdiff_t offset) {
        storeAlone(to[0], leftPixel<channels>(data + offset));
        storeAlone(to[ownPositions], rightPixel<channels>(data + offset + right));
        storeAlone(to[2 * ownPositions], leftPixel<channels>(dataBelow + offset));
        storeAlone(to[3 * ownPositions], rightPixel<channels>(dataBelow + offset + right));
    });
    const __m256i spread = _mm256_setr_epi8(0, 1, 0, 1, 0, 1, 0, 1, 4, 5, 4, 5, 4, 5, 4, 5,  //
                                            8, 9, 8, 9, 8, 9, 8, 9, 12, 13, 12, 13, 12, 13, 12, 13);
    auto valuesAt = [&](ptrdiff_t which, ptrdiff_t i) {
        return _mm256_slli_epi16(
            _mm256_cvtepu8_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + which * ownPositions + i))),
            6);
    };
    auto weightsAt = [](const int32_t* weights) {
        return _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(weights)));
    };
    auto mixFour = [&](ptrdiff_t i) {
        const __m256i x = weightsAt(places.whole.x + i), y = weightsAt(places.whole.y + i);
        const __m256i xs = _mm256_shuffle_epi8(x, spread), xCarries = _mm256_shuffle_epi8(carryOf(x), spread);
        const __m256i ys = _mm256_shuffle_epi8(y, spread), yCarries = _mm256_shuffle_epi8(carryOf(y), spread);
        const __m256i top = mixLanes(valuesAt(0, i), valuesAt(1, i), xs, xCarries),
                      bottom = mixLanes(valuesAt(2, i), valuesAt(3, i), xs, xCarries);
        return roundedLanes(mixLanes(top, bottom, ys, yCarries));
    };
    alignas(64) uint8_t mixed[4 * ownPositions];
    uint8_t* const to = channels == 4 ? out : mixed;
    for (ptrdiff_t i = 0; i < n; i += 8)
        save(to + 4 * i, _mm256_permute4x64_epi64(_mm256_packus_epi16(mixFour(i), mixFour(i + 4)), 0xD8));
    if constexpr (channels < 4)
        for (ptrdiff_t i = 0; i < n; ++i)
            __builtin_memcpy(out + i * channels, mixed + 4 * i, channels);
#else
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        for (int c = 0; c < channels; ++c)
            out[i * channels + c] =
                mixFixed(p[c], p[right + c], p[below + c], p[below + right + c], places.whole.x[i], places.whole.y[i]);
    }
#endif
}

inline double mix(double a, double b, double weight)
{
    return a + (b - a) * weight;
}

template <class T>
inline void storeReal(uint8_t* out, ptrdiff_t i, double value)
{
    if constexpr (sizeof(T) == 2)
        ownStore<T>(out, i, ownRounded<T>(value));
    else
        ownStore<T>(out, i, T(value));
}

template <class T, int channels>
void sampleLinear(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                  uint8_t* out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        const double xWeight = places.real.x[i], yWeight = places.real.y[i];
        for (int c = 0; c < channels; ++c) {
            const double top = mix(ownLoad<T>(p, c), ownLoad<T>(p + right, c), xWeight),
                         bottom = mix(ownLoad<T>(p + below, c), ownLoad<T>(p + below + right, c), xWeight);
            storeReal<T>(out, i * channels + c, mix(top, bottom, yWeight));
        }
    }
}

// ---- Cubic --------------------------------------------------------------------------------------------------------

// The Lagrange polynomials on the nodes 0, 1, 2, 3 at n / 512, in 14 bits after the point.
struct CubicWeights {
    static constexpr int steps = 512, count = 3 * steps + 1;

    int16_t of[count][4];
};

constexpr int64_t roundedQuotient(int64_t a, int64_t b)
{
    const int64_t floor = (a >= 0 ? a : a - b + 1) / b, twice = 2 * (a - floor * b);
    return floor + (twice > b || (twice == b && floor % 2 != 0));
}

constexpr CubicWeights makeCubicWeights()
{
    CubicWeights weights = {};
    constexpr int64_t one = CubicWeights::steps;
    for (int64_t n = 0; n < CubicWeights::count; ++n) {
        // -(t - 1)(t - 2)(t - 3) / 6 and t (t - 2)(t - 3) / 2
        const int64_t first = roundedQuotient(-(n - one) * (n - 2 * one) * (n - 3 * one) * 16384, one * one * one * 6);
        const int64_t second = roundedQuotient(n * (n - 2 * one) * (n - 3 * one) * 16384, one * one * one * 2);
        weights.of[n][0] = int16_t(first);
        weights.of[n][1] = int16_t(second);
        weights.of[3 * one - n][2] = int16_t(second);
        weights.of[3 * one - n][3] = int16_t(first);
    }
    return weights;
}

constexpr CubicWeights cubicWeights = makeCubicWeights();
static_assert(cubicWeights.of[0][0] == 16384 && cubicWeights.of[512][1] == 16384 && cubicWeights.of[1536][3] == 16384);

inline uint8_t clampedByte(int32_t value)
{
    return uint8_t(value < 0 ? 0 : value > 255 ? 255 : value);
}

template <int channels>
void sampleCubicFixed(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                      uint8_t* out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const int16_t* const w = cubicWeights.of[places.whole.x[i]];
        const int16_t* const g = cubicWeights.of[places.whole.y[i]];
        for (int c = 0; c < channels; ++c) {
            const uint8_t* p = data + places.offset[i] + c;
            int32_t sum = 0x80000;
            for (int k = 0; k < 4; ++k, p += below)
                sum += ((p[0] * w[0] + p[right] * w[1] + p[2 * right] * w[2] + p[3 * right] * w[3]) >> 8) * g[k];
            out[i * channels + c] = clampedByte(sum >> 20);
        }
    }
}

#if defined(__AVX2__)
// Pixels whose four by four values stand side by side, row by row, four at a time: a product of pairs sums up half a
// row.
void mixCubic(const uint32_t* blocks, const int32_t* xs, const int32_t* ys, ptrdiff_t n, uint8_t* out)
{
    auto weightsAt = [](int32_t index) { return ownLoad<int64_t>(cubicWeights.of[index]); };
    // Of one pixel, whose rows are summed up in halves.
    auto halves = [&](ptrdiff_t i) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(blocks + 4 * i));
        return _mm256_madd_epi16(_mm256_cvtepu8_epi16(block), _mm256_set1_epi64x(weightsAt(xs[i])));
    };
    auto rowsOf = [&](ptrdiff_t i) { return _mm256_srai_epi32(_mm256_hadd_epi32(halves(i), halves(i + 1)), 8); };
    auto mixFour = [&](ptrdiff_t i) {
        // Rows 0 and 1 of four pixels in the lower half, rows 2 and 3 in the upper one; and so their weights.
        const __m256i rows = _mm256_packs_epi32(rowsOf(i), rowsOf(i + 2));
        auto pair = [&](ptrdiff_t k) { return _mm_set_epi64x(weightsAt(ys[i + k + 1]), weightsAt(ys[i + k])); };
        const __m128 first = _mm_castsi128_ps(pair(0)), second = _mm_castsi128_ps(pair(2));
        const __m256i weights = _mm256_set_m128i(_mm_castps_si128(_mm_shuffle_ps(first, second, 0xDD)),
                                                 _mm_castps_si128(_mm_shuffle_ps(first, second, 0x88)));
        const __m256i sums = _mm256_madd_epi16(rows, weights);
        const __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(0x80000)), 20);
    };
    for (ptrdiff_t i = 0; i < n; i += 16) {
        const __m128i low = _mm_packs_epi32(mixFour(i), mixFour(i + 4)),
                      high = _mm_packs_epi32(mixFour(i + 8), mixFour(i + 12));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(out + i), _mm_packus_epi16(low, high));
    }
}
#endif

void sampleCubicFixedOne(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                         uint8_t* out)
{
#if defined(__AVX2__)
    const ptrdiff_t below = ptrdiff_t(source.rowBytes);
    if (source.pixelBytes == 1) {
        alignas(64) uint32_t blocks[4 * ownPositions];
        forEach(places.offset, n, blocks, 4, [data, below](uint32_t* to, ptrdiff_t offset) {
            const uint8_t* const p = data + offset;
            storeAlone(to[0], ownLoad<uint32_t>(p));
            storeAlone(to[1], ownLoad<uint32_t>(p + below));
            storeAlone(to[2], ownLoad<uint32_t>(p + 2 * below));
            storeAlone(to[3], ownLoad<uint32_t>(p + 3 * below));
        });
        mixCubic(blocks, places.whole.x, places.whole.y, n, out);
        return;
    }
#endif
    sampleCubicFixed<1>(source, data, places, n, out);
}

// The same polynomials at t + 1.
struct RealWeights {
    double of[4];

    explicit RealWeights(double t)
        : of{-t * t * t / 6 + t * t / 2 - t / 3, t * t * t / 2 - t * t - t / 2 + 1, -t * t * t / 2 + t * t / 2 + t,
             t * t * t / 6 - t / 6}
    {
    }
    double sum(double a, double b, double c, double d) const { return a * of[0] + b * of[1] + c * of[2] + d * of[3]; }
};

template <class T, int channels>
void sampleCubic(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                 uint8_t* out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const RealWeights w(places.real.x[i]), g(places.real.y[i]);
        for (int c = 0; c < channels; ++c) {
            const uint8_t* p = data + places.offset[i] + c * ptrdiff_t(sizeof(T));
            double rows[4];
            for (int k = 0; k < 4; ++k, p += below)
                rows[k] =
                    w.sum(ownLoad<T>(p), ownLoad<T>(p + right), ownLoad<T>(p + 2 * right), ownLoad<T>(p + 3 * right));
            storeReal<T>(out, i * channels + c, g.sum(rows[0], rows[1], rows[2], rows[3]));
        }
    }
}

// ---- Delivery -----------------------------------------------------------------------------------------------------

#if defined(__SSE2__)
// Eight columns of eight rows of bytes.
inline void turnBytes(const uint8_t* from, uint8_t* const* to, ptrdiff_t at)
{
    auto load = [from](ptrdiff_t i) { return _mm_loadu_si128(reinterpret_cast<const __m128i*>(from) + i); };
    const __m128i a = load(0), b = load(1), c = load(2), d = load(3);  // columns 0 and 1, 2 and 3, ...
    const __m128i a2 = _mm_unpacklo_epi8(a, _mm_unpackhi_epi64(a, a)),
                  b2 = _mm_unpacklo_epi8(b, _mm_unpackhi_epi64(b, b)),
                  c2 = _mm_unpacklo_epi8(c, _mm_unpackhi_epi64(c, c)),
                  d2 = _mm_unpacklo_epi8(d, _mm_unpackhi_epi64(d, d));
    const __m128i low = _mm_unpacklo_epi16(a2, b2), high = _mm_unpackhi_epi16(a2, b2),
                  low2 = _mm_unpacklo_epi16(c2, d2), high2 = _mm_unpackhi_epi16(c2, d2);
    const __m128i rows[4] = {_mm_unpacklo_epi32(low, low2), _mm_unpackhi_epi32(low, low2),
                             _mm_unpacklo_epi32(high, high2), _mm_unpackhi_epi32(high, high2)};
    for (int r = 0; r < 4; ++r) {
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r] + at), rows[r]);
        _mm_storel_epi64(reinterpret_cast<__m128i*>(to[2 * r + 1] + at), _mm_unpackhi_epi64(rows[r], rows[r]));
    }
}
#endif

// The columns that every row has.
inline int32_t commonCount(const OwnDelivery& delivery)
{
    int32_t common = delivery.count[0];
    for (int r = 1; r < ownPositionRows; ++r)
        common = delivery.count[r] < common ? delivery.count[r] : common;
    return common < 0 ? 0 : common;
}

// The pixels of a row from `first` on.
template <int bytes>
OWN_INLINE void deliverRow(const OwnDelivery& delivery, int row, ptrdiff_t first, ptrdiff_t columnStep)
{
    const ptrdiff_t step = delivery.step, count = delivery.count[row];
    const uint8_t* const pixels = delivery.pixels + row * delivery.rowStep * bytes;
    uint8_t* const to = delivery.to[row];
    if (delivery.marks) {
        const uint8_t* const marks = delivery.marks + row * delivery.rowStep;
        for (ptrdiff_t i = first; i < count; ++i)
            if (marks[i * columnStep])
                __builtin_memcpy(to + i * step, pixels + i * columnStep * bytes, bytes);
    } else if (step == bytes) {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * bytes, pixels + i * columnStep * bytes, bytes);
    } else {
        for (ptrdiff_t i = first; i < count; ++i)
            __builtin_memcpy(to + i * step, pixels + i * columnStep * bytes, bytes);
    }
}

template <int bytes>
void deliver(const OwnDelivery& delivery)
{
    if (delivery.columnStep == 1) {
        for (int row = 0; row < ownPositionRows; ++row)
            if (delivery.step == bytes && !delivery.marks && delivery.count[row] > 0)
                __builtin_memcpy(delivery.to[row], delivery.pixels + row * delivery.rowStep * bytes,
                                 size_t(delivery.count[row]) * bytes);
            else
                deliverRow<bytes>(delivery, row, 0, 1);
        return;
    }
    int32_t done = 0;
#if defined(__SSE2__)
    if (bytes == 1 && delivery.step == 1 && !delivery.marks)
        for (const int32_t common = commonCount(delivery); done + 8 <= common; done += 8)
            turnBytes(delivery.pixels + done * ownPositionRows, delivery.to, done);
#endif
    for (int row = 0; row < ownPositionRows; ++row)
        deliverRow<bytes>(delivery, row, done, ownPositionRows);
}

void deliverBits(const OwnDelivery& delivery)
{
    for (int row = 0; row < ownPositionRows; ++row)
        for (ptrdiff_t i = 0; i < delivery.count[row]; ++i) {
            const ptrdiff_t number = i * delivery.columnStep + row * delivery.rowStep, place = i + delivery.bit[row];
            if (delivery.marks && !delivery.marks[number])
                continue;
            uint8_t& byte = delivery.to[row][place >> 3];
            const int bit = 128 >> (place & 7);
            byte = uint8_t(delivery.pixels[number] ? byte | bit : byte & ~bit);
        }
}

// ---- Fetching -----------------------------------------------------------------------------------------------------

// All columns of the first row, and all rows of each fourth column: whichever way they run through the source, few
// lines of the cache are missed.
void fetch(const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t columnStep, ptrdiff_t rowStep, ptrdiff_t n)
{
    const ptrdiff_t columns = n / ownPositionRows;
    for (ptrdiff_t i = 0; i < columns; ++i)
        __builtin_prefetch(data + places.offset[i * columnStep]);
    for (ptrdiff_t i = 0; i < columns; i += 4)
        for (ptrdiff_t row = 1; row < ownPositionRows; ++row)
            __builtin_prefetch(data + places.offset[i * columnStep + row * rowStep]);
}

constexpr OwnSampler bits = {prepareBits, {sampleBits, nullptr, nullptr, nullptr}};

template <int bytes>
constexpr OwnSampler nearest = {
    prepareNearest,
    {sampleNearest<bytes>, sampleNearest<2 * bytes>, sampleNearest<3 * bytes>, sampleNearest<4 * bytes>}};
constexpr OwnSampler linear8 = {prepareFixed, {sampleFixedOne, sampleFixed<2>, sampleFixed<3>, sampleFixed<4>}};
template <class T>
constexpr OwnSampler linear = {prepareLinear,
                               {sampleLinear<T, 1>, sampleLinear<T, 2>, sampleLinear<T, 3>, sampleLinear<T, 4>}};
constexpr OwnSampler cubic8 = {prepareCubic<true>,
                               {sampleCubicFixedOne, sampleCubicFixed<2>, sampleCubicFixed<3>, sampleCubicFixed<4>}};
template <class T>
constexpr OwnSampler cubic = {prepareCubic<false>,
                              {sampleCubic<T, 1>, sampleCubic<T, 2>, sampleCubic<T, 3>, sampleCubic<T, 4>}};

}  // namespace

extern const OwnSampleKernels ownSampleKernels = {
    {{bits, bits, bits},
     {nearest<1>, linear8, cubic8},
     {nearest<2>, linear<uint16_t>, cubic<uint16_t>},
     {nearest<4>, linear<float>, cubic<float>}},
    fetch,
    {deliverBits, deliver<1>, deliver<2>, deliver<3>, deliver<4>, nullptr, deliver<6>, nullptr, deliver<8>, nullptr,
     nullptr, nullptr, deliver<12>, nullptr, nullptr, nullptr, deliver<16>},
};

}  // namespace OWN_ISA
