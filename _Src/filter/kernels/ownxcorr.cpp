// Kernels of normalised cross-correlation.
#include "ownxcorr.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

// ---- Products -----------------------------------------------------------------------------------------------------

template <class T>
void halfRow(const void* row, int16_t* halves, ptrdiff_t n)
{
    const OwnValues<T> samples = {row};
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        halves[i] = samples[i];
}

#if defined(__AVX2__)

// Two samples and two weights make one product in each lane: vectors from an even sample on give the sums of even
// places, and those one sample further on the sums of odd places, which stand behind the even ones of 16 sums.
void addHalves(const OwnProducts<int16_t, int32_t>& products)
{
    constexpr int pairs = int(ownProductBlock) / 16;
    for (ptrdiff_t at = 0; at < products.n; at += ownProductBlock) {
        auto* to = reinterpret_cast<__m256i*>(products.sums + at);
        __m256i sums[2 * pairs];
#pragma GCC unroll 8
        for (int i = 0; i < 2 * pairs; ++i)
            sums[i] = _mm256_loadu_si256(to + i);
        const int16_t* samples = products.samples + at;
        for (ptrdiff_t k = 0; k < products.count; k += 2) {
            const __m256i weights = _mm256_set1_epi32(ownLoad<int32_t>(products.weights + k));
#pragma GCC unroll 8
            for (int i = 0; i < 2 * pairs; ++i) {
                auto* from = reinterpret_cast<const __m256i*>(samples + k + i / 2 * 16 + i % 2);
                sums[i] = _mm256_add_epi32(sums[i], _mm256_madd_epi16(_mm256_loadu_si256(from), weights));
            }
        }
#pragma GCC unroll 8
        for (int i = 0; i < 2 * pairs; ++i)
            _mm256_storeu_si256(to + i, sums[i]);
    }
}

void carryWords(int32_t* sums, int64_t* totals, ptrdiff_t n)
{
    auto add = [](int64_t* total, __m128i words) {
        auto* to = reinterpret_cast<__m256i*>(total);
        _mm256_storeu_si256(to, _mm256_add_epi64(_mm256_loadu_si256(to), _mm256_cvtepi32_epi64(words)));
    };
    for (ptrdiff_t at = 0; at < n; at += 16) {
        auto* from = reinterpret_cast<__m256i*>(sums + at);
        const __m256i even = _mm256_loadu_si256(from), odd = _mm256_loadu_si256(from + 1);
        const __m256i low = _mm256_unpacklo_epi32(even, odd), high = _mm256_unpackhi_epi32(even, odd);
        add(totals + at, _mm256_castsi256_si128(low));
        add(totals + at + 4, _mm256_castsi256_si128(high));
        add(totals + at + 8, _mm256_extracti128_si256(low, 1));
        add(totals + at + 12, _mm256_extracti128_si256(high, 1));
        _mm256_storeu_si256(from, _mm256_setzero_si256());
        _mm256_storeu_si256(from + 1, _mm256_setzero_si256());
    }
}

#else

void addHalves(const OwnProducts<int16_t, int32_t>& products)
{
    for (ptrdiff_t at = 0; at < products.n; at += ownProductBlock) {
        int32_t* sums = products.sums + at;
        for (ptrdiff_t k = 0; k < products.count; ++k) {
            const int16_t* samples = products.samples + at + k;
            const int32_t weight = products.weights[k];
#pragma GCC ivdep
            for (ptrdiff_t i = 0; i < ownProductBlock; ++i)
                sums[i] += samples[i] * weight;
        }
    }
}

void carryWords(int32_t* sums, int64_t* totals, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        totals[i] += sums[i];
        sums[i] = 0;
    }
}

#endif

#if defined(__AVX2__)

template <bool exact>
void addReals(const OwnProducts<double, double>& products)
{
    constexpr ptrdiff_t block = 32;
    constexpr int vectors = int(block) / 4;
    for (ptrdiff_t at = 0; at < products.n; at += block) {
        __m256d sums[vectors];
#pragma GCC unroll 8
        for (int i = 0; i < vectors; ++i)
            sums[i] = _mm256_loadu_pd(products.sums + at + 4 * i);
        for (ptrdiff_t k = 0; k < products.count; ++k) {
            const double* samples = products.samples + at + k;
            const __m256d weight = _mm256_set1_pd(products.weights[k]);
#pragma GCC unroll 8
            for (int i = 0; i < vectors; ++i) {
                const __m256d some = _mm256_loadu_pd(samples + 4 * i);
                // Where the product is exact, a fused step gives the same bits as two.
                sums[i] = exact ? _mm256_fmadd_pd(some, weight, sums[i])
                                : _mm256_add_pd(sums[i], _mm256_mul_pd(some, weight));
            }
        }
#pragma GCC unroll 8
        for (int i = 0; i < vectors; ++i)
            _mm256_storeu_pd(products.sums + at + 4 * i, sums[i]);
    }
}

#else

template <bool>
void addReals(const OwnProducts<double, double>& products)
{
    for (ptrdiff_t at = 0; at < products.n; at += ownProductBlock)
        for (ptrdiff_t k = 0; k < products.count; ++k)
#pragma GCC ivdep
            for (ptrdiff_t i = at; i < at + ownProductBlock; ++i)
                products.sums[i] += products.samples[i + k] * products.weights[k];
}

#endif

// A whole number below 2^53 as an integer.
OWN_INLINE int64_t wholeOf(double real)
{
    return int64_t(real);
}

void carryReals(double* sums, int64_t* totals, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i) {
        totals[i] += wholeOf(sums[i]);
        sums[i] = 0;
    }
}

void asReals(const int64_t* totals, double* reals, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        reals[i] = double(totals[i]);
}

// ---- Squares ------------------------------------------------------------------------------------------------------

template <class T>
void addSquares(const void* row, int sign, int64_t* columns, ptrdiff_t n)
{
    const OwnValues<T> samples = {row};
    // Of 16 bits the square may need all 32.
    auto square = [=](ptrdiff_t i) {
        const int32_t sample = samples[i];
        return int64_t{uint32_t(sample) * uint32_t(sample)};
    };
    if (sign < 0)
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            columns[i] -= square(i);
    else
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            columns[i] += square(i);
}

void addRealSquares(const double* row, double* columns, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        columns[i] += row[i] * row[i];
}

void windows(const int64_t* columns, ptrdiff_t width, double* sums, ptrdiff_t n)
{
    int64_t sum = 0;
    for (ptrdiff_t k = 0; k < width - 1; ++k)
        sum += columns[k];
    for (ptrdiff_t i = 0; i < n; ++i) {
        sum += columns[i + width - 1];
        sums[i] = double(sum);
        sum -= columns[i];
    }
}

void realWindows(const double* columns, ptrdiff_t width, double* sums, ptrdiff_t n)
{
    constexpr ptrdiff_t block = 32;
    for (ptrdiff_t at = 0; at < n; at += block) {
        const ptrdiff_t some = n - at < block ? n - at : block;
        double sum[block] = {};
        for (ptrdiff_t k = 0; k < width; ++k)
            for (ptrdiff_t i = 0; i < some; ++i)
                sum[i] += columns[at + k + i];
        __builtin_memcpy(sums + at, sum, size_t(some) * sizeof *sum);
    }
}

// ---- Quotients ----------------------------------------------------------------------------------------------------

template <class T>
struct Scale {
    static constexpr double value = double(OwnRange<T>::highest);
};
template <>
struct Scale<int32_t> {
    static constexpr double value = 2147483520.0;  // the greatest float that is an int32_t
};
template <>
struct Scale<float> {
    static constexpr double value = 1;
};

template <class T>
void quotients(const double* products, const double* squares, double energy, void* results, ptrdiff_t n)
{
    constexpr double least = 1.1754943508222875e-38;
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const double root = __builtin_sqrt(squares[i] * energy);
        const double quotient = products[i] / (root > least ? root : 1.0) * Scale<T>::value;
        if constexpr (__is_same(T, float))
            ownStore(results, i, float(quotient));
        else
            ownStore(results, i, ownRounded<T>(quotient));
    }
}

// ---- Spectra ------------------------------------------------------------------------------------------------------

template <class T>
void splitRow(const void* row, double* upper, [[maybe_unused]] double* lower, ptrdiff_t n)
{
    const OwnValues<T> samples = {row};
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const int32_t sample = samples[i];
        if constexpr (sizeof(T) == 1) {
            upper[i] = sample;
        } else {
            upper[i] = sample >> 8;
            lower[i] = sample & 255;
        }
    }
}

// By the conjugates of the others.
void multiplySpectra(double* re, double* im, const double* otherRe, const double* otherIm, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const double a = re[i], b = im[i], c = otherRe[i], d = otherIm[i];
        re[i] = a * c + b * d;
        im[i] = b * c - a * d;
    }
}

// Adding and taking off 1.5 * 2^52 leaves a number of at most 51 bits rounded to the nearest integer.
OWN_INLINE double nearestOf(double value)
{
    constexpr double shift = 0x1.8p52;
    return value + shift - shift;
}

void nearest(const double* values, double scale, double* integers, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        integers[i] = nearestOf(values[i] * scale);
}

void nearestOfTwo(const double* upper, const double* lower, double scale, double* integers, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        integers[i] = 256 * nearestOf(upper[i] * scale) + nearestOf(lower[i] * scale);
}

}  // namespace

extern const OwnCorrelationKernels ownCorrelationKernels;
const OwnCorrelationKernels ownCorrelationKernels = {
    {nullptr, halfRow<uint8_t>, halfRow<int8_t>},
    addHalves,
    addReals<true>,
    addReals<false>,
    carryWords,
    carryReals,
    asReals,
    {nullptr, addSquares<uint8_t>, addSquares<int8_t>, addSquares<uint16_t>, addSquares<int16_t>},
    addRealSquares,
    windows,
    realWindows,
    {nullptr, quotients<uint8_t>, quotients<int8_t>, quotients<uint16_t>, quotients<int16_t>, quotients<int32_t>,
     quotients<float>},
    {nullptr, splitRow<uint8_t>, splitRow<int8_t>, splitRow<uint16_t>, splitRow<int16_t>},
    multiplySpectra,
    nearest,
    nearestOfTwo,
};

}  // namespace OWN_ISA
