// For kernel sources only: samples between four by four pixels.
#pragma once

#include "ownlinear.h"

#if defined(OWN_ISA)
namespace OWN_ISA {
namespace {

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
void sampleCubicPlain(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
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
            out[i * ownListedBytes(channels) + c] = clampedByte(sum >> 20);
        }
    }
}

#if defined(__AVX2__)
inline int64_t weightsAt(int32_t index)
{
    return ownLoad<int64_t>(cubicWeights.of[index]);
}

// Pixels whose four by four values stand side by side, row by row, four at a time: a product of pairs sums up half a
// row.
void mixCubic(const uint32_t* blocks, const int32_t* xs, const int32_t* ys, ptrdiff_t n, uint8_t* out)
{
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

// Rows of four pixels of up to four channels, in the first and the last 8 of their bytes. Words of pixels 0 and 1, and
// of pixels 2 and 3, are brought side by side, channel by channel.
class CubicRows {
public:
    CubicRows(const OwnSampleSource& source, int channels)
        : below(ptrdiff_t(source.rowBytes)), last(3 * ptrdiff_t(source.pixelBytes) + channels - 8)
    {
        alignas(16) int8_t orders[2][16];
        for (int pixel = 0; pixel < 4; ++pixel)
            for (int channel = 0; channel < 4; ++channel) {
                int8_t* const word = orders[pixel / 2] + 4 * channel + 2 * (pixel % 2);
                const ptrdiff_t byte = pixel * source.pixelBytes + channel - (pixel < 2 ? 0 : last - 8);
                word[0] = int8_t(channel < channels ? byte : -1);
                word[1] = -1;
            }
        for (int half = 0; half < 2; ++half)
            order[half] = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(orders[half])));
    }

    // The pixel made of four rows.
    __m128i mix(const uint8_t* first, int32_t x, int32_t y) const
    {
        const int16_t* const w = cubicWeights.of[x];
        const __m256i left = _mm256_set1_epi32(ownLoad<int32_t>(w)), right = _mm256_set1_epi32(ownLoad<int32_t>(w, 1));
        auto two = [&](const uint8_t* upper) {
            const __m256i bytes = _mm256_set_m128i(row(upper + below), row(upper));
            const __m256i sums = _mm256_add_epi32(_mm256_madd_epi16(_mm256_shuffle_epi8(bytes, order[0]), left),
                                                  _mm256_madd_epi16(_mm256_shuffle_epi8(bytes, order[1]), right));
            return _mm256_srai_epi32(sums, 8);
        };
        // Words of rows 0 and 2 in the lower half, of rows 1 and 3 in the upper one; and so their weights.
        const __m256i rows = _mm256_blend_epi16(two(first), _mm256_slli_epi32(two(first + 2 * below), 16), 0xAA);
        const __m256i pairs = _mm256_setr_epi8(0, 1, 4, 5, 0, 1, 4, 5, 0, 1, 4, 5, 0, 1, 4, 5,  //
                                               2, 3, 6, 7, 2, 3, 6, 7, 2, 3, 6, 7, 2, 3, 6, 7);
        const __m256i weights = _mm256_shuffle_epi8(_mm256_set1_epi64x(weightsAt(y)), pairs);
        const __m256i sums = _mm256_madd_epi16(rows, weights);
        const __m128i sum = _mm_add_epi32(_mm256_castsi256_si128(sums), _mm256_extracti128_si256(sums, 1));
        return _mm_srai_epi32(_mm_add_epi32(sum, _mm_set1_epi32(0x80000)), 20);
    }

private:
    ptrdiff_t below, last;
    __m256i order[2];

    __m128i row(const uint8_t* p) const { return _mm_set_epi64x(ownLoad<int64_t>(p + last), ownLoad<int64_t>(p)); }
};
#endif

template <int channels>
void sampleCubicFixed(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                      uint8_t* out)
{
#if defined(__AVX2__)
    if (eightHold(source, channels)) {
        const CubicRows rows(source, channels);
        auto mix = [&](ptrdiff_t i) { return rows.mix(data + places.offset[i], places.whole.x[i], places.whole.y[i]); };
        for (ptrdiff_t i = 0; i < n; i += 4)
            storeFour<channels>(
                out + i * ownListedBytes(channels),
                _mm_packus_epi16(_mm_packs_epi32(mix(i), mix(i + 1)), _mm_packs_epi32(mix(i + 2), mix(i + 3))));
        return;
    }
#endif
    sampleCubicPlain<channels>(source, data, places, n, out);
}

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

// The same polynomials at t + 1, for one number or a vector of them.
template <class Number>
struct RealWeights {
    Number of[4];

    explicit RealWeights(Number t)
        : of{-t * t * t / 6 + t * t / 2 - t / 3, t * t * t / 2 - t * t - t / 2 + 1, -t * t * t / 2 + t * t / 2 + t,
             t * t * t / 6 - t / 6}
    {
    }
    Number sum(Number a, Number b, Number c, Number d) const { return a * of[0] + b * of[1] + c * of[2] + d * of[3]; }
};

#if defined(__AVX2__)
// The columns of four by four values, from the top down.
struct NumberColumns {
    __m256d a, b, c, d;
};

inline NumberColumns columnsAt(const uint8_t* p, ptrdiff_t below, float)
{
    auto row = [=](ptrdiff_t k) { return _mm_castsi128_ps(ownLoad<__m128i_u>(p + k * below)); };
    __m128 a = row(0), b = row(1), c = row(2), d = row(3);
    _MM_TRANSPOSE4_PS(a, b, c, d);
    return {_mm256_cvtps_pd(a), _mm256_cvtps_pd(b), _mm256_cvtps_pd(c), _mm256_cvtps_pd(d)};
}

inline NumberColumns columnsAt(const uint8_t* p, ptrdiff_t below, uint16_t)
{
    auto row = [=](ptrdiff_t k) { return _mm_loadl_epi64(reinterpret_cast<const __m128i*>(p + k * below)); };
    auto numbers = [](__m128i words) { return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(words)); };
    const __m128i upper = _mm_unpacklo_epi16(row(0), row(1)), lower = _mm_unpacklo_epi16(row(2), row(3));
    const __m128i left = _mm_unpacklo_epi32(upper, lower), right = _mm_unpackhi_epi32(upper, lower);
    return {numbers(left), numbers(_mm_unpackhi_epi64(left, left)), numbers(right),
            numbers(_mm_unpackhi_epi64(right, right))};
}

// The same for values that do not stand side by side.
template <class T>
inline NumberColumns columnsAt(const uint8_t* p, ptrdiff_t below, ptrdiff_t right)
{
    auto column = [=](ptrdiff_t k) {
        const uint8_t* const top = p + k * right;
        return _mm256_setr_pd(ownLoad<T>(top), ownLoad<T>(top + below), ownLoad<T>(top + 2 * below),
                              ownLoad<T>(top + 3 * below));
    };
    return {column(0), column(1), column(2), column(3)};
}

// Sums of four rows of four pixels, which become those of four pixels, row by row.
inline void transpose(__m256d (&sums)[4])
{
    const __m256d a = _mm256_unpacklo_pd(sums[0], sums[1]), b = _mm256_unpackhi_pd(sums[0], sums[1]);
    const __m256d c = _mm256_unpacklo_pd(sums[2], sums[3]), d = _mm256_unpackhi_pd(sums[2], sums[3]);
    sums[0] = _mm256_permute2f128_pd(a, c, 0x20);
    sums[1] = _mm256_permute2f128_pd(b, d, 0x20);
    sums[2] = _mm256_permute2f128_pd(a, c, 0x31);
    sums[3] = _mm256_permute2f128_pd(b, d, 0x31);
}

// One channel: rows of a pixel side by side, and then pixels.
template <class T, bool sideBySide>
void mixCubic(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n, T* mixed)
{
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    auto rowsOf = [=](const uint8_t* p, const double* w) {
        NumberColumns columns;
        if constexpr (sideBySide)
            columns = columnsAt(p, below, T());
        else
            columns = columnsAt<T>(p, below, right);
        return columns.a * w[0] + columns.b * w[4] + columns.c * w[8] + columns.d * w[12];
    };
    for (ptrdiff_t i = 0; i < n; i += 4) {
        const RealWeights<Reals> x(realsAt(places.real.x, i)), y(realsAt(places.real.y, i));
        alignas(32) double weights[4][4];
        for (int k = 0; k < 4; ++k)
            _mm256_store_pd(weights[k], x.of[k]);
        __m256d sums[4];
        for (int k = 0; k < 4; ++k)
            sums[k] = rowsOf(data + places.offset[i + k], weights[0] + k);
        transpose(sums);
        storeFour(mixed + i, y.sum(sums[0], sums[1], sums[2], sums[3]));
    }
}
#endif

template <class T, int channels>
void sampleCubic(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                 uint8_t* out)
{
#if defined(__AVX2__)
    const bool sideBySide = source.pixelBytes == int(sizeof(T));
    forChannels<T, channels>(data, n, out, [&](const uint8_t* first, T* mixed) {
        (sideBySide ? mixCubic<T, true> : mixCubic<T, false>)(source, first, places, n, mixed);
    });
#else
    const ptrdiff_t right = source.pixelBytes, below = ptrdiff_t(source.rowBytes);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const RealWeights<double> w(places.real.x[i]), g(places.real.y[i]);
        for (int c = 0; c < channels; ++c) {
            const uint8_t* p = data + places.offset[i] + c * ptrdiff_t(sizeof(T));
            double rows[4];
            for (int k = 0; k < 4; ++k, p += below)
                rows[k] =
                    w.sum(ownLoad<T>(p), ownLoad<T>(p + right), ownLoad<T>(p + 2 * right), ownLoad<T>(p + 3 * right));
            storeReal<T>(out, i * channels + c, g.sum(rows[0], rows[1], rows[2], rows[3]));
        }
    }
#endif
}

}  // namespace
}  // namespace OWN_ISA
#endif
