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
            out[i * channels + c] = clampedByte(sum >> 20);
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
    // False if a row has fewer bytes than that, or two pixels more.
    static bool canHold(ptrdiff_t pixelBytes, int channels)
    {
        return pixelBytes + channels <= 8 && 3 * pixelBytes + channels >= 8;
    }

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
    if (CubicRows::canHold(source.pixelBytes, channels)) {
        const CubicRows rows(source, channels);
        auto mix = [&](ptrdiff_t i) { return rows.mix(data + places.offset[i], places.whole.x[i], places.whole.y[i]); };
        for (ptrdiff_t i = 0; i < n; i += 4)
            storeFour<channels>(out + i * channels, _mm_packus_epi16(_mm_packs_epi32(mix(i), mix(i + 1)),
                                                                     _mm_packs_epi32(mix(i + 2), mix(i + 3))));
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

}  // namespace
}  // namespace OWN_ISA
#endif
