// Kernels of positions along an axis.
#include "ownaxis.h"

#include <string.h>

#include "ownscale.h"
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

// The power of two after a number that is not below 0.
double nextPower(double number)
{
    constexpr int mantissaBits = 52;
    uint64_t bits;
    memcpy(&bits, &number, sizeof bits);
    bits = ((bits >> mantissaBits) + 1) << mantissaBits;
    memcpy(&number, &bits, sizeof bits);
    return number;
}

// Numbers up to a power of two are multiples of one unit. Additions that stay below it round the step to the same
// number of units, unless the step lies halfway between two: the sums are products then and need not wait for each
// other.
double positions(double start, double step, double* positions, ptrdiff_t n)
{
    constexpr double unitOfPower = 0x1p-53;
    double position = start;
    for (ptrdiff_t i = 0; i < n;) {
        positions[i++] = position;
        const double next = position + step, power = nextPower(position), move = next - position;
        const double error = __builtin_fabs(move - step);
        ptrdiff_t run = 0;
        if (next < power && error + error != power * unitOfPower) {
            // One less than there are, whatever the quotient's rounding.
            const double room = (power - position) / move - 1;
            run = room < double(n - i) ? (room < 0 ? 0 : ptrdiff_t(room)) : n - i;
        }
        for (ptrdiff_t k = 0; k < run; ++k)
            positions[i + k] = position + move * double(int32_t(k + 1));
        i += run;
        position = run ? positions[i - 1] + step : next;
    }
    return position;
}

int32_t indexAt(double position, int32_t last)
{
    const double place = position + ownIndexBias;
    return place < last ? int32_t(__builtin_lrint(place)) : last;
}

#if defined(__AVX2__)
// Of four positions.
inline __m128i indicesAt(__m256d positions, int32_t last)
{
    return _mm256_cvtpd_epi32(_mm256_min_pd(positions + ownIndexBias, _mm256_set1_pd(last)));
}
#endif

void indices(const double* positions, int32_t last, int32_t* index, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    for (; i + 4 <= n; i += 4)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(index + i), indicesAt(_mm256_loadu_pd(positions + i), last));
#endif
    for (; i < n; ++i)
        index[i] = indexAt(positions[i], last);
}

void lines(const double* positions, int32_t last, int32_t* index, double* fraction, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    for (; i + 4 <= n; i += 4) {
        const __m256d position = _mm256_loadu_pd(positions + i);
        const __m128i place = indicesAt(position, last), isLast = _mm_cmpeq_epi32(place, _mm_set1_epi32(last));
        const __m256d from = _mm256_cvtepi32_pd(place), ends = _mm256_castsi256_pd(_mm256_cvtepi32_epi64(isLast));
        _mm256_storeu_pd(fraction + i, _mm256_blendv_pd(position - from, _mm256_set1_pd(1), ends));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(index + i), _mm_add_epi32(place, isLast));
    }
#endif
    for (; i < n; ++i) {
        const int32_t place = indexAt(positions[i], last);
        const bool isLast = place == last;
        index[i] = place - isLast;
        fraction[i] = isLast ? 1.0 : positions[i] - place;
    }
}

}  // namespace

extern const OwnAxisKernels ownAxisKernels;
const OwnAxisKernels ownAxisKernels = {positions, indices, lines};

}  // namespace OWN_ISA
