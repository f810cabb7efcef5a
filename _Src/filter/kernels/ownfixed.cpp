// Kernels of the filters with built-in coefficients.
//
// Every filter is a sum over the rows of its window of what each row gives by itself. So a kernel goes down a block of
// columns and adds what a row gives to all results that the row takes part in: sums that are not yet complete move on
// by one place with every row. Floats are added in the order of the rows that way, too.
#include "ownfixed.h"

#include <type_traits>

#include "../../core/kernels/ownrow.h"
#include "../../core/ownvalue.h"

namespace OWN_ISA {
namespace {

// ---- Numbers and vectors of them ----------------------------------------------------------------------------------

template <class V>
struct ElementOf {
    using type = V;
};
template <class V>
requires requires(V v)
{
    v[0];
}
struct ElementOf<V> {
    using type = __typeof__(V{}[0] + V{}[0] - V{}[0]);
};

// The upper halves of products of 16 bits.
inline Vector<uint16_t> highProduct(Vector<uint16_t> a, uint16_t b)
{
#if defined(__AVX2__)
    return (Vector<uint16_t>)_mm256_mulhi_epu16((__m256i)a, _mm256_set1_epi16(int16_t(b)));
#elif defined(__SSE2__)
    return (Vector<uint16_t>)_mm_mulhi_epu16((__m128i)a, _mm_set1_epi16(int16_t(b)));
#else
    for (int i = 0; i < vectorBytes / 2; ++i)
        a[i] = uint16_t(uint32_t{a[i]} * b >> 16);
    return a;
#endif
}
inline uint32_t highProduct(uint32_t a, uint16_t b)
{
    return a * b >> 16;
}

inline Vector<uint16_t> oneIfAbove(Vector<uint16_t> a, uint16_t limit)
{
    return (Vector<uint16_t>)(a > limit) & 1;
}
inline uint32_t oneIfAbove(uint32_t a, uint16_t limit)
{
    return a > limit;
}

// Floats to nearest, ties to even; those beyond the range become the lowest value.
inline Vector<int32_t> nearest(Vector<float> v)
{
#if defined(__AVX2__)
    return (Vector<int32_t>)_mm256_cvtps_epi32((__m256)v);
#elif defined(__SSE2__)
    return (Vector<int32_t>)_mm_cvtps_epi32((__m128)v);
#else
    Vector<int32_t> result;
    for (int i = 0; i < vectorBytes / 4; ++i)
        result[i] = v[i] >= -2147483648.0f && v[i] < 2147483648.0f ? ownNearest(v[i]) : INT32_MIN;
    return result;
#endif
}

// ---- Filters ------------------------------------------------------------------------------------------------------

// at(k) answers sample k of the window's row. next takes a row and answers the result of the window that ends with it.
// V is a number or a vector of numbers; integers do not overflow.

template <class V>
struct PrewittX {
    static constexpr int size = 3;
    V one{}, two{};

    template <class At>
    V next(At at)
    {
        const V row = at(0) - at(2), sum = two + row;
        two = one + row;
        one = row;
        return sum;
    }
};

template <class V>
struct SobelX {
    static constexpr int size = 3;
    V one{}, two{};

    template <class At>
    V next(At at)
    {
        const V row = at(0) - at(2), sum = two + row;
        two = one + (row + row);
        one = row;
        return sum;
    }
};

template <class V>
struct PrewittY {
    static constexpr int size = 3;
    V last{}, lastButOne{};

    template <class At>
    V next(At at)
    {
        const V row = at(0) + at(1) + at(2), difference = row - lastButOne;
        lastButOne = last;
        last = row;
        return difference;
    }
};

template <class V>
struct SobelY {
    static constexpr int size = 3;
    V last{}, lastButOne{};

    template <class At>
    V next(At at)
    {
        const V middle = at(1), row = at(0) + (middle + middle) + at(2), difference = row - lastButOne;
        lastButOne = last;
        last = row;
        return difference;
    }
};

// A multiple of the middle, less the sum of the window.
template <class V, int multiple>
struct Peak3 {
    static constexpr int size = 3;
    V one{}, two{}, middle{};

    template <class At>
    V next(At at)
    {
        const V centre = at(1), row = at(0) + centre + at(2), result = middle * multiple - (two + row);
        two = one + row;
        one = row;
        middle = centre;
        return result;
    }
};

template <class V>
struct Peak5 {
    static constexpr int size = 5;
    V sums[4]{}, middle{}, lastMiddle{};

    template <class At>
    V next(At at)
    {
        const V centre = at(2), row = at(0) + at(1) + centre + at(3) + at(4),
                result = lastMiddle * 25 - (sums[3] + row);
        for (int i = 3; i > 0; --i)
            sums[i] = sums[i - 1] + row;
        sums[0] = row;
        lastMiddle = middle;
        middle = centre;
        return result;
    }
};

// Sixteen times the result.
template <class V>
struct Gauss3 {
    static constexpr int size = 3;
    V one{}, two{};

    template <class At>
    V next(At at)
    {
        const V middle = at(1), row = at(0) + (middle + middle) + at(2), sum = two + row;
        two = one + (row + row);
        one = row;
        return sum;
    }
};

// Five rows, of which the first and the last give `outer`, those beside the middle `inner`.
template <class V>
struct FiveRows {
    V sums[4]{};

    V next(V outer, V inner, V middle)
    {
        const V sum = sums[3] + outer;
        sums[3] = sums[2] + inner;
        sums[2] = sums[1] + middle;
        sums[1] = sums[0] + inner;
        sums[0] = outer;
        return sum;
    }
};

template <class V>
struct Laplace5 {
    static constexpr int size = 5;
    FiveRows<V> rows;

    template <class At>
    V next(At at)
    {
        const V a = at(0), b = at(1), c = at(2), d = at(3), e = at(4);
        return rows.next(-(a + b * 3 + c * 4 + d * 3 + e), c * 6 - a * 3 - e * 3,
                         a * -4 + b * 6 + c * 20 + d * 6 - e * 4);
    }
};

// 571 times the result, for sums that fit.
template <class V>
struct Gauss5Sum {
    static constexpr int size = 5;
    FiveRows<V> rows;

    template <class At>
    V next(At at)
    {
        const V a = at(0) + at(4), b = at(1) + at(3), c = at(2);
        return rows.next(a * 2 + b * 7 + c * 12, a * 7 + b * 31 + c * 52, a * 12 + b * 52 + c * 127);
    }
};

template <class V>
struct Gauss5 {
    static constexpr int size = 5;
    FiveRows<V> rows;

    template <class At>
    V next(At at)
    {
        constexpr float w2 = 0.0035026269f, w7 = 0.012259195f, w12 = 0.021015761f;
        constexpr float w31 = 0.054290719f, w52 = 0.091068298f, w127 = 0.22241682f;
        const V a = at(0) + at(4), b = at(1) + at(3), c = at(2);
        return rows.next(a * w2 + b * w7 + c * w12, a * w7 + b * w31 + c * w52, a * w12 + b * w52 + c * w127);
    }
};

// The same for bytes. A sum of up to 145605 is kept modulo 2^16 and, cut row by row, in eighths; these are up to 5 too
// small. From them comes a quotient that is right or 1 too small, and which one the remainder tells.
template <class V>
struct Gauss5Bytes {
    static constexpr int size = 5;
    FiveRows<V> sums, eighths;

    template <class At>
    V next(At at)
    {
        const V a = at(0) + at(4), b = at(1) + at(3), c = at(2);
        const V outer = a * 2 + b * 7 + c * 12, inner = a * 7 + b * 31 + c * 52, middle = a * 12 + b * 52 + c * 127;
        const V sum = sums.next(outer, inner, middle), eighth = eighths.next(outer >> 3, inner >> 3, middle >> 3);
        constexpr uint16_t eighthsOf = 918;  // 2^19 / 571, cut
        const V quotient = highProduct(eighth + 35, eighthsOf);
        return quotient + oneIfAbove(V(sum + 285 - quotient * 571), 570);
    }
};

// ---- What becomes of a sum ----------------------------------------------------------------------------------------

struct Whole {
    template <class V>
    static V of(V v)
    {
        return v;
    }
};

// Divided by a power of two: integers to nearest, ties to even.
template <int bits>
struct Part {
    template <class V>
    static V of(V v)
    {
        if constexpr (__is_same(typename ElementOf<V>::type, float))
            return v * (1.0f / (1 << bits));
        else
            return (v + (v >> bits & 1) + ((1 << (bits - 1)) - 1)) >> bits;
    }
};

// A bit as a byte of 0 or 255.
template <int limit>
struct Above {
    static int32_t of(int32_t v) { return v > limit ? 255 : 0; }
    static Vector<int16_t> of(Vector<int16_t> v) { return (v > int16_t(limit)) & 255; }
};

// ---- Samples and results of the depths ----------------------------------------------------------------------------

// Sample is what memory holds, Number what is computed with; Single is one such number. A block of two vectors of
// numbers has two halves, which load<half> takes from value i of a row on. store stores both, or a single result, cut
// to the range of the depth.

// The halves of samples of half the size are those at even places and those at odd ones: to take them apart and
// together is quicker than to widen and to narrow.
template <class T>
struct Integers {
    using Sample = T;
    using Number = std::conditional_t<sizeof(T) == 1, int16_t, int32_t>;
    using Single = int32_t;
    static constexpr int bits = sizeof(T) * 8;

    template <int half>
    static Vector<Number> load(const void* row, ptrdiff_t i)
    {
        using Unsigned = std::make_unsigned_t<Number>;
        const auto both = vectorAt<Number>(static_cast<const char*>(row) + i * ptrdiff_t(sizeof(T)));
        if constexpr (OwnRange<T>::isSigned)
            return (half ? both : both << bits) >> bits;
        else
            return half ? (Vector<Number>)((Vector<Unsigned>)both >> bits) : both & ((1 << bits) - 1);
    }
    static Single single(const void* row, ptrdiff_t i) { return ownLoad<T>(row, i); }

    static Vector<Number> cut(Vector<Number> v)
    {
        constexpr Number lowest = Number(OwnRange<T>::lowest), highest = Number(OwnRange<T>::highest);
        v = v < lowest ? lowest - Vector<Number>{} : v;
        return v > highest ? highest - Vector<Number>{} : v;
    }
    static void store(void* row, ptrdiff_t i, Vector<Number> even, Vector<Number> odd)
    {
#if defined(__AVX2__)
        const __m256i a = (__m256i)even, b = (__m256i)odd;
        __m256i both, turn;
        if constexpr (sizeof(T) == 1) {
            both = OwnRange<T>::isSigned ? _mm256_packs_epi16(a, b) : _mm256_packus_epi16(a, b);
            turn = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 8, 1, 9, 2, 10, 3, 11, 4, 12, 5, 13, 6, 14, 7, 15));
        } else {
            both = OwnRange<T>::isSigned ? _mm256_packs_epi32(a, b) : _mm256_packus_epi32(a, b);
            turn = _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 8, 9, 2, 3, 10, 11, 4, 5, 12, 13, 6, 7, 14, 15));
        }
        both = _mm256_shuffle_epi8(both, turn);
#else
        const Vector<Number> both = (cut(even) & ((1 << bits) - 1)) | cut(odd) << bits;
#endif
        __builtin_memcpy(static_cast<char*>(row) + i * ptrdiff_t(sizeof(T)), &both, sizeof both);
    }
    static void store(void* row, ptrdiff_t i, Single v)
    {
        ownStore(row, i, ownSaturated<T>(v));
    }
};

// Bytes as numbers from 0 to 255 in 16 bits without a sign.
template <class T>
struct Bytes {
    using Sample = T;
    using Number = uint16_t;
    using Single = uint32_t;
    static constexpr uint16_t bias = OwnRange<T>::isSigned ? 128 : 0;

    template <int half>
    static Vector<uint16_t> load(const void* row, ptrdiff_t i)
    {
        return (Vector<uint16_t>)Integers<T>::template load<half>(row, i) + bias;
    }
    static Single single(const void* row, ptrdiff_t i) { return uint32_t(ownLoad<T>(row, i) + bias); }
    static void store(void* row, ptrdiff_t i, Vector<uint16_t> even, Vector<uint16_t> odd)
    {
        Integers<T>::store(row, i, (Vector<int16_t>)(even - bias), (Vector<int16_t>)(odd - bias));
    }
    static void store(void* row, ptrdiff_t i, Single v) { ownStore(row, i, T(v - bias)); }
};

// 16 bits as floats.
template <class T>
struct Floats16 {
    using Sample = T;
    using Number = float;
    using Single = float;

    template <int half>
    static Vector<float> load(const void* row, ptrdiff_t i)
    {
        return __builtin_convertvector(Integers<T>::template load<half>(row, i), Vector<float>);
    }
    static Single single(const void* row, ptrdiff_t i) { return ownLoad<T>(row, i); }
    static void store(void* row, ptrdiff_t i, Vector<float> even, Vector<float> odd)
    {
        Integers<T>::store(row, i, nearest(even), nearest(odd));
    }
    static void store(void* row, ptrdiff_t i, Single v) { ownStore(row, i, ownRounded<T>(v)); }
};

// 32 bits, of which the halves are one behind the other.
template <class T>
struct Floats32 {
    using Sample = T;
    using Number = float;
    using Single = float;
    static constexpr ptrdiff_t lanes = vectorBytes / 4;

    template <int half>
    static Vector<float> load(const void* row, ptrdiff_t i)
    {
        return __builtin_convertvector(vectorAt<T>(row, i + half * lanes), Vector<float>);
    }
    static Single single(const void* row, ptrdiff_t i) { return float(ownLoad<T>(row, i)); }
    static void store(void* row, ptrdiff_t i, Vector<float> low, Vector<float> high)
    {
        storeHalf(row, i, low);
        storeHalf(row, i + lanes, high);
    }
    static void storeHalf(void* row, ptrdiff_t i, Vector<float> v)
    {
        auto* to = static_cast<char*>(row) + i * 4;
        if constexpr (__is_same(T, float)) {
            __builtin_memcpy(to, &v, sizeof v);
        } else {
            // What is too large has become the lowest value, whose complement is the highest.
            const Vector<int32_t> result = nearest(v) ^ (v >= 2147483648.0f);
            __builtin_memcpy(to, &result, sizeof result);
        }
    }
    static void store(void* row, ptrdiff_t i, Single v)
    {
        if constexpr (__is_same(T, float))
            ownStore(row, i, v);
        else
            ownStore(row, i, ownRounded<T>(v));
    }
};

// ---- Bands --------------------------------------------------------------------------------------------------------

// Goes down a block of columns, from value i of the rows on: take(row) takes a row, and give(y) stores a result.
template <int size, class Take, class Give>
inline __attribute__((always_inline)) void goDown(ptrdiff_t count, Take take, Give give)
{
    for (ptrdiff_t row = 0; row < size - 1; ++row)
        take(row);
    for (ptrdiff_t y = 0; y < count; ++y) {
        take(y + size - 1);
        give(y);
    }
}

template <template <class> class Filter, class Finish, class Depth>
inline __attribute__((always_inline)) void runBlock(const OwnFixedBand& band, ptrdiff_t i, ptrdiff_t step)
{
    using V = Vector<typename Depth::Number>;
    const void* const* const rows = band.rows;
    void* const* const results = band.results;
    Filter<V> first, second;
    V low{}, high{};
    goDown<Filter<V>::size>(
        band.count,
        [&](ptrdiff_t row) __attribute__((always_inline)) {
            const void* const from = rows[row];
            low = first.next([=](int column) { return Depth::template load<0>(from, i + column * step); });
            high = second.next([=](int column) { return Depth::template load<1>(from, i + column * step); });
        },
        [&](ptrdiff_t y)
            __attribute__((always_inline)) { Depth::store(results[y], i, Finish::of(low), Finish::of(high)); });
}

template <template <class> class Filter, class Finish, class Depth>
void runSingle(const OwnFixedBand& band, ptrdiff_t i)
{
    using Single = typename Depth::Single;
    Filter<Single> filter;
    Single sum{};
    goDown<Filter<Single>::size>(
        band.count,
        [&](ptrdiff_t row) {
            sum = filter.next([=, &band](int column) { return Depth::single(band.rows[row], i + column * band.step); });
        },
        [&](ptrdiff_t y) { Depth::store(band.results[y], i, Finish::of(sum)); });
}

template <template <class> class Filter, class Finish, class Depth>
void runBand(const OwnFixedBand& band)
{
    constexpr ptrdiff_t block = 2 * vectorBytes / ptrdiff_t(sizeof(typename Depth::Number));
    const ptrdiff_t values = band.values, step = band.step;
    ptrdiff_t i = 0;
    for (; i + block <= values; i += block)
        runBlock<Filter, Finish, Depth>(band, i, step);
    if (i < values && values >= block)
        return runBlock<Filter, Finish, Depth>(band, values - block, step);
    for (; i < values; ++i)
        runSingle<Filter, Finish, Depth>(band, i);
}

#if defined(__AVX2__)
// a + 2 b + c of neighbours is a + b and b + c; so it is along the rows and down the columns.
struct PairSums {
    __m256i row = {}, pair = {};

    __m256i next(__m256i newRow)
    {
        const __m256i newPair = _mm256_add_epi16(row, newRow), sum = _mm256_add_epi16(pair, newPair);
        row = newRow;
        pair = newPair;
        return sum;
    }
};

// Of 128 times a number the number, to nearest and ties to even. What is rounded has at most four bits: where the
// number below is even, 1 less keeps a tie from being rounded up, and where it is odd, 1 more does no harm.
inline __m256i rounded128th(__m256i v)
{
    const __m256i less = _mm256_sign_epi8(_mm256_set1_epi16(255), v);
    return _mm256_mulhrs_epi16(_mm256_add_epi8(v, less), _mm256_set1_epi16(1 << 8));
}

inline void smoothBlock(const OwnFixedBand& band, ptrdiff_t i)
{
    const void* const* const rows = band.rows;
    void* const* const results = band.results;
    const ptrdiff_t count = band.count;
    PairSums even, odd;
    __m256i evens = {}, odds = {};
    auto take = [&](ptrdiff_t row) __attribute__((always_inline))
    {
        // Eight times the sums of two bytes each: from the window's first column on, from its second, and from its
        // third.
        auto pairs = [=](ptrdiff_t at) {
            return _mm256_maddubs_epi16((__m256i)vectorAt<uint8_t>(rows[row], at), _mm256_set1_epi8(8));
        };
        const __m256i first = pairs(i), second = pairs(i + 1), third = pairs(i + 2);
        evens = even.next(_mm256_add_epi16(first, second));
        odds = odd.next(_mm256_add_epi16(second, third));
    };
    take(0);
    take(1);
#pragma GCC unroll 2
    for (ptrdiff_t y = 0; y < count; ++y) {
        take(y + 2);
        const __m256i both = _mm256_or_si256(rounded128th(evens), _mm256_slli_epi16(rounded128th(odds), 8));
        __builtin_memcpy(static_cast<char*>(results[y]) + i, &both, sizeof both);
    }
}
#endif

// The smoothing of bytes side by side has a way of its own where there are sums of pairs of bytes.
void smoothBytes(const OwnFixedBand& band)
{
#if defined(__AVX2__)
    if (band.step == 1 && band.values >= vectorBytes) {
        ptrdiff_t i = 0;
        for (; i + vectorBytes <= band.values; i += vectorBytes)
            smoothBlock(band, i);
        return i < band.values ? smoothBlock(band, band.values - vectorBytes) : void();
    }
#endif
    runBand<Gauss3, Part<4>, Integers<uint8_t>>(band);
}

template <class V>
using Laplace3 = Peak3<V, 9>;
template <class V>
using Sharpen3 = Peak3<V, 17>;

#define KERNELS(Filter, Finish, limit)                                                                \
    {                                                                                                 \
        runBand<Filter, Above<limit>, Integers<uint8_t>>, runBand<Filter, Finish, Integers<uint8_t>>, \
            runBand<Filter, Finish, Integers<int8_t>>, runBand<Filter, Finish, Integers<uint16_t>>,   \
            runBand<Filter, Finish, Integers<int16_t>>, runBand<Filter, Finish, Floats32<int32_t>>,   \
            runBand<Filter, Finish, Floats32<float>>                                                  \
    }

}  // namespace

extern const OwnFixedKernels ownFixedKernels;
const OwnFixedKernels ownFixedKernels = {{
    KERNELS(PrewittX, Whole, 0),
    KERNELS(PrewittY, Whole, 0),
    KERNELS(SobelX, Whole, 0),
    KERNELS(SobelY, Whole, 0),
    KERNELS(Laplace3, Whole, 0),
    KERNELS(Laplace5, Whole, 0),
    {runBand<Gauss3, Above<7>, Integers<uint8_t>>, smoothBytes, runBand<Gauss3, Part<4>, Integers<int8_t>>,
     runBand<Gauss3, Part<4>, Integers<uint16_t>>, runBand<Gauss3, Part<4>, Integers<int16_t>>,
     runBand<Gauss3, Part<4>, Floats32<int32_t>>, runBand<Gauss3, Part<4>, Floats32<float>>},
    {runBand<Gauss5Sum, Above<285>, Integers<uint8_t>>, runBand<Gauss5Bytes, Whole, Bytes<uint8_t>>,
     runBand<Gauss5Bytes, Whole, Bytes<int8_t>>, runBand<Gauss5, Whole, Floats16<uint16_t>>,
     runBand<Gauss5, Whole, Floats16<int16_t>>, runBand<Gauss5, Whole, Floats32<int32_t>>,
     runBand<Gauss5, Whole, Floats32<float>>},
    KERNELS(Peak5, Whole, 0),
    KERNELS(Sharpen3, Part<3>, 0),
}};

}  // namespace OWN_ISA
