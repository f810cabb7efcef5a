// Kernels of the wavelet transforms: sums of rows times taps, and the way between pixels and even and odd samples.
#include "ownwt.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

namespace OWN_ISA {

namespace {

// Column i of a pair of sums.
template <class T>
inline void sumColumn(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, void* first,
                      void* second, ptrdiff_t i)
{
    double a = 0;
    double b = 0;
    for (ptrdiff_t k = 0; k < count; ++k) {
        double value = ownLoad<T>(rows[k], start + i);
        a += value * taps[2 * k];
        b += value * taps[2 * k + 1];
    }
    ownStore(first, i, float(a));
    ownStore(second, i, float(b));
}

#if defined(__AVX2__)

// Values from index i on.
template <class T>
inline __m256d load4(const void* row, ptrdiff_t i)
{
    auto* from = static_cast<const char*>(row) + i * ptrdiff_t(sizeof(T));
    if constexpr (sizeof(T) == sizeof(double))
        return _mm256_loadu_pd(reinterpret_cast<const double*>(from));
    else
        return _mm256_cvtps_pd(_mm_castsi128_ps(_mm_loadu_si128(reinterpret_cast<const __m128i*>(from))));
}

inline void store4(void* row, ptrdiff_t i, __m256d values)
{
    auto* to = static_cast<char*>(row) + i * ptrdiff_t(sizeof(float));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(to), _mm_castps_si128(_mm256_cvtpd_ps(values)));
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

    // Taps and samples come from single precision, so that their products are exact in double precision and a fused
    // step gives the same bits as two.
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

    void store(void* first, void* second, ptrdiff_t i) const
    {
#pragma GCC unroll 4
        for (int v = 0; v < vectors; ++v) {
            store4(first, i + 4 * v, a[v]);
            store4(second, i + 4 * v, b[v]);
        }
    }
};

template <class T, int vectors>
inline void load(const void* row, ptrdiff_t i, __m256d (&x)[vectors])
{
#pragma GCC unroll 4
    for (int v = 0; v < vectors; ++v) {
        x[v] = load4<T>(row, i + 4 * v);
        __asm__("" : "+x"(x[v]));  // or else it is loaded again for each use
    }
}

template <class T, int vectors>
inline void sumBlock(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, void* first,
                     void* second, ptrdiff_t i)
{
    Sums<vectors> sums;
    sums.clear();
    for (ptrdiff_t k = 0; k < count; ++k) {
        __m256d x[vectors];
        load<T>(rows[k], start + i, x);
        sums.add(x, taps + 2 * k);
    }
    sums.store(first, second, i);
}

// Columns i to n of a pair of sums.
template <class T>
void sumRows(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, void* first, void* second,
             ptrdiff_t i, ptrdiff_t n)
{
    for (; i + 16 <= n; i += 16)
        sumBlock<T, 4>(rows, taps, count, start, first, second, i);
    for (; i + 4 <= n; i += 4)
        sumBlock<T, 1>(rows, taps, count, start, first, second, i);
    for (; i < n; ++i)
        sumColumn<T>(rows, taps, count, start, first, second, i);
}

// The rows that two steps have in common are loaded once.
void filterRowsTwice(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                     void* const* outputs, ptrdiff_t n)
{
    ptrdiff_t i = 0;
    for (; i + 8 <= n; i += 8) {
        Sums<2> early;
        Sums<2> late;
        early.clear();
        late.clear();
        __m256d x[2];
        for (ptrdiff_t k = 0; k < 2; ++k) {
            load<float>(rows[k], start + i, x);
            late.add(x, taps + 2 * k);
        }
        for (ptrdiff_t k = 2; k < count; ++k) {
            load<float>(rows[k], start + i, x);
            late.add(x, taps + 2 * k);
            early.add(x, taps + 2 * k - 4);
        }
        for (ptrdiff_t k = count; k < count + 2; ++k) {
            load<float>(rows[k], start + i, x);
            early.add(x, taps + 2 * k - 4);
        }
        early.store(outputs[0], outputs[1], i);
        late.store(outputs[2], outputs[3], i);
    }
    sumRows<float>(rows + 2, taps, count, start, outputs[0], outputs[1], i, n);
    sumRows<float>(rows, taps, count, start, outputs[2], outputs[3], i, n);
}

#else

// Blocks of columns are the inner loop, so that the compiler makes vectors of them.
template <class T>
void sumRows(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, void* first, void* second,
             ptrdiff_t i, ptrdiff_t n)
{
    constexpr ptrdiff_t block = 4;
    for (; i + block <= n; i += block) {
        double a[block] = {};
        double b[block] = {};
        for (ptrdiff_t k = 0; k < count; ++k) {
            const OwnValues<T> row = {static_cast<const char*>(rows[k]) + (start + i) * ptrdiff_t(sizeof(T))};
            double tapA = taps[2 * k];
            double tapB = taps[2 * k + 1];
            for (ptrdiff_t c = 0; c < block; ++c) {
                a[c] += row[c] * tapA;
                b[c] += row[c] * tapB;
            }
        }
        for (ptrdiff_t c = 0; c < block; ++c) {
            ownStore(first, i + c, float(a[c]));
            ownStore(second, i + c, float(b[c]));
        }
    }
    for (; i < n; ++i)
        sumColumn<T>(rows, taps, count, start, first, second, i);
}

void filterRowsTwice(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start,
                     void* const* outputs, ptrdiff_t n)
{
    sumRows<float>(rows + 2, taps, count, start, outputs[0], outputs[1], 0, n);
    sumRows<float>(rows, taps, count, start, outputs[2], outputs[3], 0, n);
}

#endif

void filterSamples(const void* const* rows, const double* taps, ptrdiff_t count, float* first, float* second,
                   ptrdiff_t n)
{
    sumRows<double>(rows, taps, count, 0, first, second, 0, n);
}

void filterRows(const void* const* rows, const double* taps, ptrdiff_t count, ptrdiff_t start, void* const* outputs,
                ptrdiff_t n)
{
    sumRows<float>(rows, taps, count, start, outputs[0], outputs[1], 0, n);
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

void join(const float* __restrict even, const float* __restrict odd, uint8_t* __restrict pixels, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    auto load8 = [](const float* from) {
        // Of a value that is no number and another one these take the other.
        __m256 value = _mm256_max_ps(_mm256_loadu_ps(from), _mm256_setzero_ps());
        return _mm256_cvtps_epi32(_mm256_min_ps(value, _mm256_set1_ps(255.0f)));
    };
    auto join8 = [&](ptrdiff_t at) { return _mm256_or_si256(load8(even + at), _mm256_slli_epi32(load8(odd + at), 8)); };
    for (; i + 16 <= n / 2; i += 16) {
        __m256i pairs = _mm256_permute4x64_epi64(_mm256_packus_epi32(join8(i), join8(i + 8)), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(pixels + 2 * i), pairs);
    }
#endif
    for (; i < n / 2; ++i) {
        pixels[2 * i] = ownRounded<uint8_t>(even[i]);
        pixels[2 * i + 1] = ownRounded<uint8_t>(odd[i]);
    }
    if (n % 2)
        pixels[n - 1] = ownRounded<uint8_t>(even[n / 2]);
}

}  // namespace

extern const OwnWtKernels ownWtKernels = {filterSamples, filterRows, filterRowsTwice, split, join};

}  // namespace OWN_ISA
