// Kernels of the wavelet transforms: sums of rows times taps, and the way between pixels and even and odd samples.
#include "ownwt.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

namespace OWN_ISA {

namespace {

// Column i of a pair of sums.
template <class T>
inline void sumColumn(const T* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, float* first,
                      float* second, ptrdiff_t i)
{
    double a = 0;
    double b = 0;
    for (ptrdiff_t k = 0; k < count; ++k) {
        a += rows[k][start + i] * taps[2 * k];
        b += rows[k][start + i] * taps[2 * k + 1];
    }
    first[i] = float(a);
    second[i] = float(b);
}

#if defined(__AVX2__)

inline __m256d load4(const double* from)
{
    return _mm256_loadu_pd(from);
}

inline __m256d load4(const float* from)
{
    return _mm256_cvtps_pd(_mm_loadu_ps(from));
}

// Pairs of sums of 4 * vectors columns, which stay in registers.
template <int vectors>
struct Sums {
    __m256d a[vectors];
    __m256d b[vectors];

    void clear()
    {
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v)
            a[v] = b[v] = _mm256_setzero_pd();
    }

    // Taps and samples come from single precision, so that their products are exact in double precision and a fused step
    // gives the same bits as two.
    void add(const __m256d (&x)[vectors], const double* taps)
    {
        __m256d tapA = _mm256_broadcast_sd(taps);
        __m256d tapB = _mm256_broadcast_sd(taps + 1);
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) {
            a[v] = _mm256_fmadd_pd(x[v], tapA, a[v]);
            b[v] = _mm256_fmadd_pd(x[v], tapB, b[v]);
        }
    }

    void store(float* first, float* second) const
    {
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) {
            _mm_storeu_ps(first + 4 * v, _mm256_cvtpd_ps(a[v]));
            _mm_storeu_ps(second + 4 * v, _mm256_cvtpd_ps(b[v]));
        }
    }
};

template <int vectors, class T>
inline void load(const T* row, __m256d (&x)[vectors])
{
#pragma GCC unroll 4
    for (int v = 0; v < vectors; ++v) {
        x[v] = load4(row + 4 * v);
        __asm__("" : "+x"(x[v]));  // or else it is loaded again for each use
    }
}

template <int vectors, class T>
inline void sumBlock(const T* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t column, float* first,
                     float* second)
{
    Sums<vectors> sums;
    sums.clear();
    for (ptrdiff_t k = 0; k < count; ++k) {
        __m256d x[vectors];
        load(rows[k] + column, x);
        sums.add(x, taps + 2 * k);
    }
    sums.store(first, second);
}

template <class T>
void sumRows(const T* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, float* first, float* second,
             ptrdiff_t n)
{
    ptrdiff_t i = 0;
    for (; i + 16 <= n; i += 16)
        sumBlock<4>(rows, taps, count, start + i, first + i, second + i);
    for (; i + 4 <= n; i += 4)
        sumBlock<1>(rows, taps, count, start + i, first + i, second + i);
    for (; i < n; ++i)
        sumColumn(rows, taps, count, start, first, second, i);
}

// The rows that two steps have in common are loaded once.
void filterRowsTwice(const float* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                     float* const* outputs, ptrdiff_t n)
{
    ptrdiff_t i = 0;
    for (; i + 8 <= n; i += 8) {
        Sums<2> early;
        Sums<2> late;
        early.clear();
        late.clear();
        __m256d x[2];
        for (ptrdiff_t k = 0; k < 2; ++k) {
            load(rows[k] + start + i, x);
            late.add(x, taps + 2 * k);
        }
        for (ptrdiff_t k = 2; k < count; ++k) {
            load(rows[k] + start + i, x);
            late.add(x, taps + 2 * k);
            early.add(x, taps + 2 * k - 4);
        }
        for (ptrdiff_t k = count; k < count + 2; ++k) {
            load(rows[k] + start + i, x);
            early.add(x, taps + 2 * k - 4);
        }
        early.store(outputs[0] + i, outputs[1] + i);
        late.store(outputs[2] + i, outputs[3] + i);
    }
    sumRows(rows + 2, taps, count, start + i, outputs[0] + i, outputs[1] + i, n - i);
    sumRows(rows, taps, count, start + i, outputs[2] + i, outputs[3] + i, n - i);
}

#else

// Blocks of columns are the inner loop, so that the compiler makes vectors of them.
template <class T>
void sumRows(const T* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, float* first, float* second,
             ptrdiff_t n)
{
    constexpr ptrdiff_t block = 4;
    ptrdiff_t i = 0;
    for (; i + block <= n; i += block) {
        double a[block] = {};
        double b[block] = {};
        for (ptrdiff_t k = 0; k < count; ++k) {
            const T* row = rows[k] + start + i;
            double tapA = taps[2 * k];
            double tapB = taps[2 * k + 1];
            for (ptrdiff_t c = 0; c < block; ++c) {
                a[c] += row[c] * tapA;
                b[c] += row[c] * tapB;
            }
        }
        for (ptrdiff_t c = 0; c < block; ++c) {
            first[i + c] = float(a[c]);
            second[i + c] = float(b[c]);
        }
    }
    for (; i < n; ++i)
        sumColumn(rows, taps, count, start, first, second, i);
}

void filterRowsTwice(const float* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                     float* const* outputs, ptrdiff_t n)
{
    sumRows(rows + 2, taps, count, start, outputs[0], outputs[1], n);
    sumRows(rows, taps, count, start, outputs[2], outputs[3], n);
}

#endif

void filterSamples(const double* const* rows, const double* taps, ptrdiff_t count, float* first, float* second,
                   ptrdiff_t n)
{
    sumRows(rows, taps, count, 0, first, second, n);
}

void filterRows(const float* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, float* const* outputs,
                ptrdiff_t n)
{
    sumRows(rows, taps, count, start, outputs[0], outputs[1], n);
}

void split(const uint8_t* __restrict pixels, ptrdiff_t pairs, double* __restrict even, double* __restrict odd)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    // Bytes become the low bits of 2^52, which is then taken away.
    const __m256d base = _mm256_set1_pd(0x1p52);
    const __m256i pick = _mm256_setr_epi64x(-256 + 0, -256 + 2, -256 + 4, -256 + 6);
    for (; i + 8 <= pairs; i += 8) {
        __m256i both = _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(pixels + 2 * i)));
        auto convert = [&](int first, double* to) {
            __m256i bytes = _mm256_shuffle_epi8(both, _mm256_add_epi64(pick, _mm256_set1_epi64x(first)));
            __m256d biased = _mm256_or_pd(_mm256_castsi256_pd(bytes), base);
            _mm256_storeu_pd(to, _mm256_sub_pd(biased, base));
        };
        convert(0, even + i);
        convert(8, even + i + 4);
        convert(1, odd + i);
        convert(9, odd + i + 4);
    }
#endif
    for (; i < pairs; ++i) {
        even[i] = pixels[2 * i];
        odd[i] = pixels[2 * i + 1];
    }
}

// The sum with the large constant has no room for a fraction, which rounds as the processor does.
inline uint8_t pixelOf(float value)
{
    constexpr float round = 0x1.8p23f;
    value = value < 255.0f ? value : 255.0f;
    value = value > 0.0f ? value : 0.0f;
    return uint8_t(int32_t(value + round - round));
}

void join(const float* __restrict even, const float* __restrict odd, uint8_t* __restrict pixels, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    auto load8 = [](const float* from) {
        __m256 value = _mm256_min_ps(_mm256_loadu_ps(from), _mm256_set1_ps(255.0f));
        return _mm256_cvtps_epi32(_mm256_max_ps(value, _mm256_setzero_ps()));
    };
    auto join8 = [&](ptrdiff_t at) { return _mm256_or_si256(load8(even + at), _mm256_slli_epi32(load8(odd + at), 8)); };
    for (; i + 16 <= n / 2; i += 16) {
        __m256i pairs = _mm256_permute4x64_epi64(_mm256_packus_epi32(join8(i), join8(i + 8)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + 2 * i), pairs);
    }
#endif
    for (; i < n / 2; ++i) {
        pixels[2 * i] = pixelOf(even[i]);
        pixels[2 * i + 1] = pixelOf(odd[i]);
    }
    if (n % 2)
        pixels[n - 1] = pixelOf(even[n / 2]);
}

}  // namespace

extern const OwnWtKernels ownWtKernels = {filterSamples, filterRows, filterRowsTwice, split, join};

}  // namespace OWN_ISA
