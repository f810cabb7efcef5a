#include "ownsample.h"

namespace OWN_ISA {
namespace {

// ---- Rounding -----------------------------------------------------------------------------------------------------

using Reals = Vector<double>;
using Words = Vector<uint64_t>;
constexpr int lanes = int(vectorBytes / 8);

// A sum with it has no room for a fraction, so that it is rounded to nearest, ties to even; its low bits are the integer.
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
        places.offset[i] = int64_t{__builtin_irint(y[i])} * source.rowBytes * 8 + __builtin_irint(x[i]) - source.origin;
}

// Fixed point with 16 bits after the point. All weight of the last pixel stands in the one before.
void prepareFixed(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n, OwnSamplePlaces& places)
{
    const Addresses addresses(source);
    auto split = [](Reals position, int32_t size, Words& pixel, Words& weight) {
        const Words fixed = bitsOf(position * 65536 + integers);
        const Words whole = fixed >> 16 & UINT32_MAX;
        pixel = whole + (Words)(whole == Words{} + uint64_t(size - 1));
        weight = fixed - (pixel << 16);
    };
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        Words column, row, xWeight, yWeight;
        split(vectorAt<double>(x, i), source.width, column, xWeight);
        split(vectorAt<double>(y, i), source.height, row, yWeight);
        store(places.offset + i, (Vector<int64_t>)addresses(column, row));
        storeLow(places.whole.x + i, xWeight);
        storeLow(places.whole.y + i, yWeight);
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
        store(places.part.x + i, xWeight);
        store(places.part.y + i, yWeight);
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
            store(places.part.x + i, inSingle(px - column - 1));
            store(places.part.y + i, inSingle(py - row - 1));
        }
    }
}

// ---- Nearest ------------------------------------------------------------------------------------------------------

template <int bytes>
void sampleNearest(const OwnSampleSource&, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                   uint8_t* out)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        __builtin_memcpy(out + i * bytes, data + places.offset[i], bytes);
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

template <int channels>
void sampleFixed(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                 uint8_t* out)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint8_t* const p = data + places.offset[i];
        for (int c = 0; c < channels; ++c)
            out[i * channels + c] =
                mixFixed(p[c], p[right + c], p[below + c], p[below + right + c], places.whole.x[i], places.whole.y[i]);
    }
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
        const double xWeight = places.part.x[i], yWeight = places.part.y[i];
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
        const RealWeights w(places.part.x[i]), g(places.part.y[i]);
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
        _mm_storeh_pd(reinterpret_cast<double*>(to[2 * r + 1] + at), _mm_castsi128_pd(rows[r]));
    }
}
#endif

// The columns that every row has; what is done with them is told by the caller.
inline int32_t commonCount(const OwnDelivery& delivery)
{
    int32_t common = delivery.count[0];
    for (int r = 1; r < delivery.rows; ++r)
        common = delivery.count[r] < common ? delivery.count[r] : common;
    return common < 0 ? 0 : common;
}

template <int bytes>
void deliverRow(const OwnDelivery& delivery, int row, int32_t from)
{
    const ptrdiff_t rows = delivery.rows, step = delivery.step;
    uint8_t* const to = delivery.to[row];
    for (ptrdiff_t i = from; i < delivery.count[row]; ++i)
        if (!delivery.marks || delivery.marks[i * rows + row])
            __builtin_memcpy(to + i * step, delivery.pixels + (i * rows + row) * bytes, bytes);
}

template <int bytes>
void deliver(const OwnDelivery& delivery)
{
    int32_t done = 0;
#if defined(__SSE2__)
    if (bytes == 1 && delivery.rows == ownPositionRows && delivery.step == 1 && !delivery.marks)
        for (const int32_t common = commonCount(delivery); done + 8 <= common; done += 8)
            turnBytes(delivery.pixels + done * ownPositionRows, delivery.to, done);
#endif
    for (int row = 0; row < delivery.rows; ++row)
        deliverRow<bytes>(delivery, row, done);
}

void deliverBits(const OwnDelivery& delivery)
{
    for (int row = 0; row < delivery.rows; ++row)
        for (ptrdiff_t i = 0; i < delivery.count[row]; ++i) {
            const ptrdiff_t at = i * delivery.rows + row, place = i + delivery.bit[row];
            if (delivery.marks && !delivery.marks[at])
                continue;
            uint8_t& byte = delivery.to[row][place >> 3];
            const int bit = 128 >> (place & 7);
            byte = uint8_t(delivery.pixels[at] ? byte | bit : byte & ~bit);
        }
}

constexpr OwnSampler bits = {prepareBits, {sampleBits, nullptr, nullptr, nullptr}};

template <int bytes>
constexpr OwnSampler nearest = {
    prepareNearest,
    {sampleNearest<bytes>, sampleNearest<2 * bytes>, sampleNearest<3 * bytes>, sampleNearest<4 * bytes>}};
constexpr OwnSampler linear8 = {prepareFixed, {sampleFixed<1>, sampleFixed<2>, sampleFixed<3>, sampleFixed<4>}};
template <class T>
constexpr OwnSampler linear = {prepareLinear,
                               {sampleLinear<T, 1>, sampleLinear<T, 2>, sampleLinear<T, 3>, sampleLinear<T, 4>}};
constexpr OwnSampler cubic8 = {prepareCubic<true>,
                               {sampleCubicFixed<1>, sampleCubicFixed<2>, sampleCubicFixed<3>, sampleCubicFixed<4>}};
template <class T>
constexpr OwnSampler cubic = {prepareCubic<false>,
                              {sampleCubic<T, 1>, sampleCubic<T, 2>, sampleCubic<T, 3>, sampleCubic<T, 4>}};

}  // namespace

extern const OwnSampleKernels ownSampleKernels = {
    {{bits, bits, bits},
     {nearest<1>, linear8, cubic8},
     {nearest<2>, linear<uint16_t>, cubic<uint16_t>},
     {nearest<4>, linear<float>, cubic<float>}},
    {deliverBits, deliver<1>, deliver<2>, deliver<3>, deliver<4>, nullptr, deliver<6>, nullptr, deliver<8>, nullptr,
     nullptr, nullptr, deliver<12>, nullptr, nullptr, nullptr, deliver<16>},
};

}  // namespace OWN_ISA
