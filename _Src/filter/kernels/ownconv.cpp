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

#if defined(__AVX2__)

// Hands the pairs of 16 bytes at a time to store(at, low, high), and answers where fewer are left.
template <class Store>
inline ptrdiff_t pairBytes(const void* upper, const void* lower, ptrdiff_t n, Store store)
{
    ptrdiff_t at = 0;
    for (; at + 16 <= n; at += 16) {
        const __m128i a = _mm_loadu_si128(reinterpret_cast<const __m128i*>(static_cast<const char*>(upper) + at));
        const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(static_cast<const char*>(lower) + at));
        store(at, _mm_unpacklo_epi8(a, b), _mm_unpackhi_epi8(a, b));
    }
    return at;
}

#endif

template <class T>
void pairRows(const void* upper, const void* lower, void* to, ptrdiff_t n)
{
    const OwnValues<T> a = {upper}, b = {lower};
    auto* pairs = static_cast<int16_t*>(to);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (sizeof(T) == 1)
        i = pairBytes(upper, lower, n, [=](ptrdiff_t at, __m128i low, __m128i high) {
            auto* vectors = reinterpret_cast<__m256i*>(pairs + 2 * at);
            if constexpr (__is_same(T, uint8_t)) {
                _mm256_storeu_si256(vectors, _mm256_cvtepu8_epi16(low));
                _mm256_storeu_si256(vectors + 1, _mm256_cvtepu8_epi16(high));
            } else {
                _mm256_storeu_si256(vectors, _mm256_cvtepi8_epi16(low));
                _mm256_storeu_si256(vectors + 1, _mm256_cvtepi8_epi16(high));
            }
        });
#endif
#pragma GCC ivdep
    for (; i < n; ++i) {
        pairs[2 * i] = halfOf(a[i]);
        pairs[2 * i + 1] = halfOf(b[i]);
    }
}

void bytePairRow(const void* upper, const void* lower, void* to, ptrdiff_t n)
{
    const OwnValues<uint8_t> a = {upper}, b = {lower};
    auto* pairs = static_cast<uint8_t*>(to);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    i = pairBytes(upper, lower, n, [=](ptrdiff_t at, __m128i low, __m128i high) {
        auto* vectors = reinterpret_cast<__m128i*>(pairs + 2 * at);
        _mm_storeu_si128(vectors, low);
        _mm_storeu_si128(vectors + 1, high);
    });
#endif
#pragma GCC ivdep
    for (; i < n; ++i) {
        pairs[2 * i] = a[i];
        pairs[2 * i + 1] = b[i];
    }
}

template <class T>
void wordRow(const void* row, int32_t* words, ptrdiff_t n)
{
    const OwnValues<T> samples = {row};
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        words[i] = int32_t(samples[i]);
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

// Pairs of 16 bits, whose sums have 32.
struct Halves {
    static constexpr ptrdiff_t blockValues = 32;
#if defined(__AVX2__)
    static constexpr int pairBytes = 4;
    static __m256i all(int32_t value)
    {
        return _mm256_set1_epi32(value);
    }
    static __m256i add(__m256i sum, __m256i pairs, __m256i weights)
    {
        return _mm256_add_epi32(sum, _mm256_madd_epi16(pairs, weights));
    }
#else
    using Sample = int16_t;
    using Weight = int16_t;
    using Sum = uint32_t;
#endif
};

// Pairs of bytes, whose sums have 16 bits.
struct Bytes {
    static constexpr ptrdiff_t blockValues = 64;
#if defined(__AVX2__)
    static constexpr int pairBytes = 2;
    static __m256i all(int32_t value)
    {
        return _mm256_set1_epi16(int16_t(value));
    }
    static __m256i add(__m256i sum, __m256i pairs, __m256i weights)
    {
        return _mm256_add_epi16(sum, _mm256_maddubs_epi16(pairs, weights));
    }
#else
    using Sample = uint8_t;
    using Weight = int8_t;
    using Sum = uint16_t;
#endif
};

#if defined(__AVX2__)

struct PairBlock {
    __m256i v[4];
};

// A block of two rows of sums, or two blocks of one.
template <class Pairs, int rows>
inline void addPairs(const OwnPairSums& sums, ptrdiff_t at, PairBlock& first, PairBlock& second)
{
    const __m256i start = Pairs::all(sums.start);
    __m256i a0 = start, a1 = start, a2 = start, a3 = start, b0 = start, b1 = start, b2 = start, b3 = start;
    const OwnPairTap* tap = sums.taps;
    const OwnPairTap* end = tap + sums.count;
    do {
        auto* pairs = reinterpret_cast<const __m256i*>(static_cast<const char*>(tap->pairs) + at * Pairs::pairBytes);
        const __m256i a = Pairs::all(tap->weights[0]), b = Pairs::all(tap->weights[1]);
        // The compiler is kept from loading pairs again for each use, and from moving sums between registers.
        auto add = [=](int i, __m256i& sumA, __m256i& sumB) {
            __m256i pair = _mm256_loadu_si256(pairs + i);
            __asm__("" : "+x"(pair));
            sumA = Pairs::add(sumA, pair, a);
            __asm__("" : "+x"(sumA));
            if constexpr (rows == 1) {
                pair = _mm256_loadu_si256(pairs + 4 + i);
                sumB = Pairs::add(sumB, pair, a);
            } else {
                sumB = Pairs::add(sumB, pair, b);
            }
            __asm__("" : "+x"(sumB));
        };
        add(0, a0, b0);
        add(1, a1, b1);
        add(2, a2, b2);
        add(3, a3, b3);
    } while (++tap < end);
    first = {{a0, a1, a2, a3}};
    second = {{b0, b1, b2, b3}};
}

inline void storeVector(void* to, int i, __m256i v)
{
    _mm256_storeu_si256(static_cast<__m256i*>(to) + i, v);
}

// Packing goes by halves of vectors, whose parts are put in order afterwards.
inline __m256i quartersInOrder(__m256i v)
{
    return _mm256_permute4x64_epi64(v, 0xD8);
}
inline __m256i eighthsInOrder(__m256i v)
{
    return _mm256_permutevar8x32_epi32(v, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
}

template <class T>
inline void storeBlock(Halves, const OwnPairSums& sums, const PairBlock& block, void* to)
{
    const __m128i shift = _mm_cvtsi32_si128(sums.shift);
    const __m256i a = _mm256_sra_epi32(block.v[0], shift), b = _mm256_sra_epi32(block.v[1], shift);
    const __m256i c = _mm256_sra_epi32(block.v[2], shift), d = _mm256_sra_epi32(block.v[3], shift);
    if constexpr (__is_same(T, int32_t)) {
        for (int i = 0; i < 4; ++i)
            storeVector(to, i, block.v[i]);
    } else if constexpr (__is_same(T, uint16_t)) {
        storeVector(to, 0, quartersInOrder(_mm256_packus_epi32(a, b)));
        storeVector(to, 1, quartersInOrder(_mm256_packus_epi32(c, d)));
    } else if constexpr (__is_same(T, int16_t)) {
        storeVector(to, 0, quartersInOrder(_mm256_packs_epi32(a, b)));
        storeVector(to, 1, quartersInOrder(_mm256_packs_epi32(c, d)));
    } else {
        const __m256i low = _mm256_packs_epi32(a, b), high = _mm256_packs_epi32(c, d);
        __m256i bytes;
        if constexpr (__is_same(T, uint8_t))
            bytes = _mm256_packus_epi16(low, high);
        else if constexpr (__is_same(T, int8_t))
            bytes = _mm256_packs_epi16(low, high);
        else
            bytes = _mm256_cmpgt_epi8(_mm256_packs_epi16(low, high), _mm256_setzero_si256());
        storeVector(to, 0, eighthsInOrder(bytes));
    }
}

template <class T>
inline void storeBlock(Bytes, const OwnPairSums& sums, const PairBlock& block, void* to)
{
    const __m128i shift = _mm_cvtsi32_si128(sums.shift);
    const __m256i under = _mm256_set1_epi16(int16_t(sums.under)), most = _mm256_set1_epi16(255);
    auto result = [=](__m256i sum) {
        return _mm256_min_epu16(_mm256_subs_epu16(_mm256_srl_epi16(sum, shift), under), most);
    };
    for (int i = 0; i < 2; ++i) {
        __m256i bytes = _mm256_packus_epi16(result(block.v[2 * i]), result(block.v[2 * i + 1]));
        if constexpr (__is_same(T, Bits))
            bytes = _mm256_xor_si256(_mm256_cmpeq_epi8(bytes, _mm256_setzero_si256()), _mm256_set1_epi8(-1));
        storeVector(to, i, quartersInOrder(bytes));
    }
}

#else

struct PairBlock {
    uint32_t v[Bytes::blockValues];
};

template <class Pairs, int rows>
inline void addPairs(const OwnPairSums& sums, ptrdiff_t at, PairBlock& first, PairBlock& second)
{
    using Weight = typename Pairs::Weight;
    using Sum = typename Pairs::Sum;
    constexpr ptrdiff_t n = Pairs::blockValues;
    Sum a[n], b[n];
    for (ptrdiff_t i = 0; i < n; ++i)
        a[i] = b[i] = Sum(sums.start);
    for (const OwnPairTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
        auto* pairs = static_cast<const typename Pairs::Sample*>(tap->pairs) + 2 * at;
        constexpr int lower = 8 * int(sizeof(Weight));
        const int32_t a0 = Weight(tap->weights[0]), a1 = Weight(tap->weights[0] >> lower);
        const int32_t b0 = Weight(tap->weights[1]), b1 = Weight(tap->weights[1] >> lower);
        for (ptrdiff_t i = 0; i < n; ++i) {
            const int32_t x = pairs[2 * i], y = pairs[2 * i + 1];
            a[i] = Sum(a[i] + Sum(x * a0) + Sum(y * a1));
            if constexpr (rows == 2) {
                b[i] = Sum(b[i] + Sum(x * b0) + Sum(y * b1));
            } else {
                const int32_t u = pairs[2 * (n + i)], v = pairs[2 * (n + i) + 1];
                b[i] = Sum(b[i] + Sum(u * a0) + Sum(v * a1));
            }
        }
    }
    for (ptrdiff_t i = 0; i < n; ++i) {
        first.v[i] = a[i];
        second.v[i] = b[i];
    }
}

template <class T>
inline void storeBlock(Halves, const OwnPairSums& sums, const PairBlock& block, void* to)
{
    for (ptrdiff_t i = 0; i < Halves::blockValues; ++i)
        if constexpr (__is_same(T, int32_t))
            ownStore(to, i, int32_t(block.v[i]));
        else
            ownStore(to, i, ResultOf<T>::from(int32_t(block.v[i]) >> sums.shift));
}

template <class T>
inline void storeBlock(Bytes, const OwnPairSums& sums, const PairBlock& block, void* to)
{
    for (ptrdiff_t i = 0; i < Bytes::blockValues; ++i)
        ownStore(to, i, ResultOf<T>::from(int32_t(block.v[i] >> sums.shift) - sums.under));
}

#endif

template <class Pairs, class T, int rows>
void sumPairs(const OwnPairSums& sums)
{
    using Result = typename ResultOf<T>::type;
    constexpr ptrdiff_t n = Pairs::blockValues, together = n * (3 - rows);
    PairBlock blocks[2];
    auto placeOf = [&](int row, ptrdiff_t at) {
        return static_cast<char*>(sums.results[row]) + at * ptrdiff_t(sizeof(Result));
    };
    ptrdiff_t at = 0;
    for (; at + together <= sums.n; at += together) {
        addPairs<Pairs, rows>(sums, at, blocks[0], blocks[1]);
        storeBlock<T>(Pairs{}, sums, blocks[0], placeOf(0, at));
        storeBlock<T>(Pairs{}, sums, blocks[1], placeOf(rows - 1, at + together - n));
    }
    if (at == sums.n)
        return;
    Result rest[2 * n];
    addPairs<Pairs, rows>(sums, at, blocks[0], blocks[1]);
    storeBlock<T>(Pairs{}, sums, blocks[0], rest);
    storeBlock<T>(Pairs{}, sums, blocks[1], rest + n);
    const size_t bytes = size_t(sums.n - at) * sizeof(Result);
    __builtin_memcpy(placeOf(0, at), rest, bytes);
    if constexpr (rows == 2)
        __builtin_memcpy(placeOf(1, at), rest + n, bytes);
}

// ---- Sums of words ------------------------------------------------------------------------------------------------

constexpr ptrdiff_t blockValues = 32;

// A block of sums.
inline void addWords(const OwnWordSums& sums, ptrdiff_t at, int32_t* to)
{
#if defined(__AVX2__)
    __m256i sum[4] = {};
    for (const OwnWordTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
        const __m256i weight = _mm256_set1_epi32(tap->weight);
#pragma GCC unroll 4
        for (int i = 0; i < 4; ++i) {
            auto* samples = reinterpret_cast<const __m256i*>(tap->samples + at) + i;
            sum[i] = _mm256_add_epi32(sum[i], _mm256_mullo_epi32(_mm256_loadu_si256(samples), weight));
        }
    }
    for (int i = 0; i < 4; ++i)
        storeVector(to, i, sum[i]);
#else
    uint32_t block[blockValues] = {};
    for (const OwnWordTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap)
        for (ptrdiff_t i = 0; i < blockValues; ++i)
            block[i] += uint32_t(tap->samples[at + i]) * uint32_t(tap->weight);
    __builtin_memcpy(to, block, sizeof block);
#endif
}

void sumWords(const OwnWordSums& sums)
{
    ptrdiff_t at = 0;
    for (; at + blockValues <= sums.n; at += blockValues)
        addWords(sums, at, sums.results + at);
    int32_t rest[blockValues];
    if (at < sums.n)
        addWords(sums, at, rest);
    for (ptrdiff_t i = 0; at + i < sums.n; ++i)
        sums.results[at + i] = rest[i];
}

// ---- Sums in double precision -------------------------------------------------------------------------------------

#if defined(__AVX2__)

template <bool exact>
inline void addReals(const OwnRealSums& sums, ptrdiff_t at, void* to)
{
    __m256d sum[8] = {};
    const OwnRealTap* end = sums.taps + sums.count;
    for (const OwnRealTap* tap = sums.taps; tap < end; ++tap) {
        const double* row = tap->samples + at;
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
        _mm_storeu_ps(static_cast<float*>(to) + 4 * i, _mm256_cvtpd_ps(sum[i]));
}

#else

template <bool>
inline void addReals(const OwnRealSums& sums, ptrdiff_t at, void* to)
{
    double sum[blockValues] = {};
    for (const OwnRealTap* tap = sums.taps; tap < sums.taps + sums.count; ++tap) {
        const double* row = tap->samples + at;
        for (ptrdiff_t i = 0; i < blockValues; ++i)
            sum[i] += row[i] * tap->weight;
        if (tap->rounds)
            for (double& one : sum)
                one = double(float(one));
    }
    for (ptrdiff_t i = 0; i < blockValues; ++i)
        ownStore(to, i, float(sum[i]));
}

#endif

template <bool exact>
void sumReals(const OwnRealSums& sums)
{
    ptrdiff_t at = 0;
    for (; at + blockValues <= sums.n; at += blockValues)
        addReals<exact>(sums, at, static_cast<char*>(sums.results) + at * 4);
    float rest[blockValues];
    if (at < sums.n)
        addReals<exact>(sums, at, rest);
    for (ptrdiff_t i = 0; at + i < sums.n; ++i)
        ownStore(sums.results, at + i, rest[i]);
}

// ---- Totals -------------------------------------------------------------------------------------------------------

void addHigh(const int32_t* high, int32_t* sums, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        sums[i] = int32_t(uint32_t(sums[i]) + (uint32_t(high[i]) << 16));
}

// A float that is an integer has no more than 24 digits and keeps no more of them when it is shifted, however large it
// is.
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
    bytePairRow,
    {wordRow<uint8_t>, wordRow<uint8_t>, wordRow<int8_t>, wordRow<uint16_t>, wordRow<int16_t>, wordRow<int32_t>},
    {realRow<uint8_t>, realRow<uint8_t>, realRow<int8_t>, realRow<uint16_t>, realRow<int16_t>, realRow<int32_t>,
     realRow<float>},
    sumPairs<Halves, int32_t, 2>,
    {sumPairs<Halves, Bits, 2>, sumPairs<Halves, uint8_t, 2>, sumPairs<Halves, int8_t, 2>,
     sumPairs<Halves, uint16_t, 2>, sumPairs<Halves, int16_t, 2>},
    {sumPairs<Halves, Bits, 1>, sumPairs<Halves, uint8_t, 1>, sumPairs<Halves, int8_t, 1>,
     sumPairs<Halves, uint16_t, 1>, sumPairs<Halves, int16_t, 1>},
    {sumPairs<Bytes, Bits, 2>, sumPairs<Bytes, uint8_t, 2>},
    sumWords,
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
     storeRow<int32_t, int16_t>, storeRow<int32_t, int32_t>},
    {storeRow<float, Bits>, storeRow<float, uint8_t>, storeRow<float, int8_t>, storeRow<float, uint16_t>,
     storeRow<float, int16_t>, storeRow<float, int32_t>, storeRow<float, float>},
};

}  // namespace OWN_ISA
