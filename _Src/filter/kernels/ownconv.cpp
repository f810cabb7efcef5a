// Kernels of convolution.
#include "ownconv.h"

#include "../../core/ownvalue.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

// ---- Rows of samples ----------------------------------------------------------------------------------------------

template <class T>
OWN_INLINE int16_t halfOf(T sample)
{
    return int16_t(__is_same(T, uint16_t) ? sample - 32768 : sample);
}

template <class T>
void pairRows(const void* upper, const void* lower, int16_t* pairs, ptrdiff_t n)
{
    const OwnValues<T> a = {upper}, b = {lower};
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        pairs[2 * i] = halfOf(a[i]);
        pairs[2 * i + 1] = halfOf(b[i]);
    }
}

template <class T>
void realRow(const void* row, double* reals, ptrdiff_t n)
{
    const OwnValues<T> samples = {row};
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        reals[i] = double(samples[i]);
}

// ---- From integers and floats to results --------------------------------------------------------------------------

// A depth's results; those of bits are bytes, 0 or 255.
struct Bits {};

template <class T>
struct ResultOf {
    using type = T;
    static T from(int32_t sum) { return ownSaturated<T>(sum); }
    static T from(float sum) { return ownRounded<T>(sum); }
};
template <>
struct ResultOf<Bits> {
    using type = uint8_t;
    static uint8_t from(int32_t sum) { return sum > 0 ? 255 : 0; }
    static uint8_t from(float sum) { return sum > 0.5f ? 255 : 0; }
};
template <>
struct ResultOf<float> {
    using type = float;
    static float from(float sum) { return sum; }
};

template <class Sum, class T>
void storeRow(const void* totals, void* results, ptrdiff_t n)
{
    auto* total = static_cast<const Sum*>(totals);
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        ownStore(results, i, ResultOf<T>::from(total[i]));
}

// ---- Sums of pairs ------------------------------------------------------------------------------------------------

constexpr ptrdiff_t blockValues = 32;

#if defined(__AVX2__)

// Eight sums in each of four vectors.
struct PairBlock {
    __m256i v[4];
};

inline void addPairs(const OwnPairSums& sums, ptrdiff_t at, PairBlock& first, PairBlock& second)
{
    for (int i = 0; i < 4; ++i)
        first.v[i] = second.v[i] = _mm256_set1_epi32(sums.start);
    const OwnPairTap* end = sums.taps + sums.count;
    for (const OwnPairTap* tap = sums.taps; tap < end; ++tap) {
        const int16_t* pairs = sums.rows[tap->row] + 2 * (tap->column * sums.step + sums.first + at);
        const __m256i a = _mm256_set1_epi32(ownLoad<int32_t>(tap->weights[0]));
        const __m256i b = _mm256_set1_epi32(ownLoad<int32_t>(tap->weights[1]));
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            const __m256i pair = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(pairs + 16 * i));
            first.v[i] = _mm256_add_epi32(first.v[i], _mm256_madd_epi16(pair, a));
            second.v[i] = _mm256_add_epi32(second.v[i], _mm256_madd_epi16(pair, b));
        }
    }
}

inline void storeVector(void* to, int i, __m256i v)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to) + i, v);
}

template <class T>
inline void storeBlock(const PairBlock& block, int shift, void* to)
{
    const __m128i count = _mm_cvtsi32_si128(shift);
    const __m256i a = _mm256_sra_epi32(block.v[0], count), b = _mm256_sra_epi32(block.v[1], count);
    const __m256i c = _mm256_sra_epi32(block.v[2], count), d = _mm256_sra_epi32(block.v[3], count);
    // Packing goes by halves of vectors, whose parts are put in order afterwards.
    const __m256i bytesInOrder = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    constexpr int halvesInOrder = 0xD8;
    if constexpr (__is_same(T, uint16_t)) {
        storeVector(to, 0, _mm256_permute4x64_epi64(_mm256_packus_epi32(a, b), halvesInOrder));
        storeVector(to, 1, _mm256_permute4x64_epi64(_mm256_packus_epi32(c, d), halvesInOrder));
    } else if constexpr (__is_same(T, int16_t)) {
        storeVector(to, 0, _mm256_permute4x64_epi64(_mm256_packs_epi32(a, b), halvesInOrder));
        storeVector(to, 1, _mm256_permute4x64_epi64(_mm256_packs_epi32(c, d), halvesInOrder));
    } else {
        const __m256i low = _mm256_packs_epi32(a, b), high = _mm256_packs_epi32(c, d);
        __m256i bytes;
        if constexpr (__is_same(T, uint8_t))
            bytes = _mm256_packus_epi16(low, high);
        else if constexpr (__is_same(T, int8_t))
            bytes = _mm256_packs_epi16(low, high);
        else
            bytes = _mm256_cmpgt_epi8(_mm256_packs_epi16(low, high), _mm256_setzero_si256());
        storeVector(to, 0, _mm256_permutevar8x32_epi32(bytes, bytesInOrder));
    }
}
template <>
inline void storeBlock<int32_t>(const PairBlock& block, int, void* to)
{
    for (int i = 0; i < 4; ++i)
        storeVector(to, i, block.v[i]);
}

#else

struct PairBlock {
    uint32_t v[blockValues];
};

inline void addPairs(const OwnPairSums& sums, ptrdiff_t at, PairBlock& first, PairBlock& second)
{
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        first.v[i] = second.v[i] = uint32_t(sums.start);
    for (const OwnPairTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
        const int16_t* pairs = sums.rows[tap->row] + 2 * (tap->column * sums.step + sums.first + at);
        const int32_t a0 = tap->weights[0][0], a1 = tap->weights[0][1];
        const int32_t b0 = tap->weights[1][0], b1 = tap->weights[1][1];
        for (ptrdiff_t i = 0; i < blockValues; ++i) {
            const int32_t upper = pairs[2 * i], lower = pairs[2 * i + 1];
            first.v[i] += uint32_t(upper * a0) + uint32_t(lower * a1);
            second.v[i] += uint32_t(upper * b0) + uint32_t(lower * b1);
        }
    }
}

template <class T>
inline void storeBlock(const PairBlock& block, int shift, void* to)
{
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        ownStore(to, i, ResultOf<T>::from(int32_t(block.v[i]) >> shift));
}
template <>
inline void storeBlock<int32_t>(const PairBlock& block, int, void* to)
{
    __builtin_memcpy(to, block.v, sizeof block.v);
}

#endif

// Rows of pairs may be read for a block more than there are results.
template <class T>
void sumPairs(const OwnPairSums& sums)
{
    using Result = typename ResultOf<T>::type;
    auto* first = static_cast<char*>(sums.results[0]);
    auto* second = static_cast<char*>(sums.results[1]);
    PairBlock a, b;
    ptrdiff_t at = 0;
    for (; at + blockValues <= sums.n; at += blockValues) {
        addPairs(sums, at, a, b);
        storeBlock<T>(a, sums.shift, first + at * ptrdiff_t(sizeof(Result)));
        storeBlock<T>(b, sums.shift, second + at * ptrdiff_t(sizeof(Result)));
    }
    if (at == sums.n)
        return;
    Result rest[blockValues];
    addPairs(sums, at, a, b);
    const size_t bytes = size_t(sums.n - at) * sizeof(Result);
    storeBlock<T>(a, sums.shift, rest);
    __builtin_memcpy(first + at * ptrdiff_t(sizeof(Result)), rest, bytes);
    storeBlock<T>(b, sums.shift, rest);
    __builtin_memcpy(second + at * ptrdiff_t(sizeof(Result)), rest, bytes);
}

// ---- Sums in double precision -------------------------------------------------------------------------------------

#if defined(__AVX2__)

template <bool exact>
inline void addReals(const OwnRealSums& sums, ptrdiff_t at, float* to)
{
    __m256d sum[8] = {};
    const OwnRealTap* end = sums.taps + sums.count;
    for (const OwnRealTap* tap = sums.taps; tap < end; ++tap) {
        const double* row = sums.rows[tap->row] + (tap->column * sums.step + sums.first + at);
        const __m256d weight = _mm256_set1_pd(tap->weight);
#pragma GCC unroll 8
        for (int i = 0; i < 8; ++i) {
            const __m256d samples = _mm256_loadu_pd(row + 4 * i);
            // The product is exact, so that a fused step gives the same bits as two.
            sum[i] = exact ? _mm256_fmadd_pd(samples, weight, sum[i])
                           : _mm256_add_pd(_mm256_mul_pd(samples, weight), sum[i]);
        }
        if (tap->rounds)
#pragma GCC unroll 8
            for (int i = 0; i < 8; ++i)
                sum[i] = _mm256_cvtps_pd(_mm256_cvtpd_ps(sum[i]));
    }
#pragma GCC unroll 8
    for (int i = 0; i < 8; ++i)
        _mm_storeu_ps(to + 4 * i, _mm256_cvtpd_ps(sum[i]));
}

#else

template <bool>
inline void addReals(const OwnRealSums& sums, ptrdiff_t at, float* to)
{
    double sum[blockValues] = {};
    for (const OwnRealTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
        const double* row = sums.rows[tap->row] + (tap->column * sums.step + sums.first + at);
        for (ptrdiff_t i = 0; i < blockValues; ++i)
            sum[i] += row[i] * tap->weight;
        if (tap->rounds)
            for (double& one : sum)
                one = double(float(one));
    }
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        to[i] = float(sum[i]);
}

#endif

// Rows may be read for a block more than there are results.
template <bool exact>
void sumReals(const OwnRealSums& sums)
{
    float block[blockValues];
    for (ptrdiff_t at = 0; at < sums.n; at += blockValues) {
        addReals<exact>(sums, at, block);
        const ptrdiff_t count = sums.n - at < blockValues ? sums.n - at : blockValues;
        __builtin_memcpy(static_cast<char*>(sums.results) + at * 4, block, size_t(count) * 4);
    }
}

// ---- Totals -------------------------------------------------------------------------------------------------------

void addHigh(const int32_t* high, int32_t* sums, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        sums[i] = int32_t(uint32_t(sums[i]) + (uint32_t(high[i]) << 16));
}

// A float that is an integer has no more than 24 digits and keeps no more of them when it is shifted, however large it is.
void shiftReals(float* sums, int shift, ptrdiff_t n)
{
    const float scale = 1.0f / float(uint32_t{1} << shift);
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const float sum = sums[i] == sums[i] ? sums[i] : 0.0f;
        sums[i] = __builtin_floorf(__builtin_nearbyintf(sum) * scale);
    }
}

// Integers wrap.
OWN_INLINE int32_t productOf(int32_t a, int32_t b)
{
    return int32_t(uint32_t(a) * uint32_t(b));
}
OWN_INLINE int32_t sumOf(int32_t a, int32_t b)
{
    return int32_t(uint32_t(a) + uint32_t(b));
}

// Totals are rounded to single precision once for every kernel.
template <OwnFold fold, class Sum>
OWN_INLINE float foldOne(Sum sum, float total)
{
    const double value = double(sum);
    switch (fold) {
    case OWN_FOLD_SQUARE: return float(value * value);
    case OWN_FOLD_ABSOLUTE: return float(__builtin_fabs(value));
    case OWN_FOLD_ADD: return float(double(total) + value);
    case OWN_FOLD_ADD_SQUARE: return float(double(total) + value * value);
    case OWN_FOLD_LARGER: return float(value) > total ? float(value) : total;
    case OWN_FOLD_SMALLER: return float(value) < total ? float(value) : total;
    default: return float(value);
    }
}
template <OwnFold fold>
OWN_INLINE int32_t foldOne(int32_t sum, int32_t total)
{
    switch (fold) {
    case OWN_FOLD_SQUARE: return productOf(sum, sum);
    case OWN_FOLD_ABSOLUTE: return sum < 0 ? productOf(sum, -1) : sum;
    case OWN_FOLD_ADD: return sumOf(total, sum);
    case OWN_FOLD_ADD_SQUARE: return sumOf(total, productOf(sum, sum));
    case OWN_FOLD_LARGER: return sum > total ? sum : total;
    case OWN_FOLD_SMALLER: return sum < total ? sum : total;
    default: return sum;
    }
}

template <class Sum, class Total, OwnFold fold>
void foldRow(const void* sums, int shift, void* totals, ptrdiff_t n)
{
    auto* sum = static_cast<const Sum*>(sums);
    auto* total = static_cast<Total*>(totals);
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        if constexpr (__is_same(Sum, int32_t))
            total[i] = foldOne<fold>(sum[i] >> shift, total[i]);
        else
            total[i] = foldOne<fold>(sum[i], total[i]);
    }
}

void rootIntegers(int32_t* totals, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        totals[i] = ownRounded<int32_t>(__builtin_sqrt(double(totals[i])));
}

void rootReals(float* totals, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        totals[i] = __builtin_sqrtf(totals[i]);
}

template <class Sum, class Total>
constexpr OwnFoldRows foldRows = {{foldRow<Sum, Total, OWN_FOLD_COPY>, foldRow<Sum, Total, OWN_FOLD_SQUARE>,
                                   foldRow<Sum, Total, OWN_FOLD_ABSOLUTE>, foldRow<Sum, Total, OWN_FOLD_ADD>,
                                   foldRow<Sum, Total, OWN_FOLD_ADD_SQUARE>, foldRow<Sum, Total, OWN_FOLD_LARGER>,
                                   foldRow<Sum, Total, OWN_FOLD_SMALLER>}};

}  // namespace

extern const OwnConvKernels ownConvKernels;
const OwnConvKernels ownConvKernels = {
    {pairRows<uint8_t>, pairRows<uint8_t>, pairRows<int8_t>, pairRows<uint16_t>, pairRows<int16_t>},
    {realRow<uint8_t>, realRow<uint8_t>, realRow<int8_t>, realRow<uint16_t>, realRow<int16_t>, realRow<int32_t>,
     realRow<float>},
    sumPairs<int32_t>,
    {sumPairs<Bits>, sumPairs<uint8_t>, sumPairs<int8_t>, sumPairs<uint16_t>, sumPairs<int16_t>},
    sumReals<true>,
    sumReals<false>,
    addHigh,
    shiftReals,
    foldRows<int32_t, int32_t>,
    foldRows<float, float>,
    foldRows<int32_t, float>,
    rootIntegers,
    rootReals,
    {storeRow<int32_t, Bits>, storeRow<int32_t, uint8_t>, storeRow<int32_t, int8_t>, storeRow<int32_t, uint16_t>,
     storeRow<int32_t, int16_t>},
    {storeRow<float, Bits>, storeRow<float, uint8_t>, storeRow<float, int8_t>, storeRow<float, uint16_t>,
     storeRow<float, int16_t>, storeRow<float, int32_t>, storeRow<float, float>},
};

}  // namespace OWN_ISA
