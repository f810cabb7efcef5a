// Kernels of the norms.
#include "ownnorm.h"

#include "../../core/kernels/ownmaskwords.h"

namespace OWN_ISA {
namespace {

// ---- What is summed -----------------------------------------------------------------------------------------------

// The type in which differences of a depth's values, and totals of a row, are exact. The totals of 8 and 16 bits, and
// of squares of 8, have 32 bits: what lies above is lost.
template <class T>
struct Depth;
template <>
struct Depth<uint8_t> {
    using Difference = int32_t;
    using Total = uint32_t;
    using SquareTotal = uint32_t;
};
template <>
struct Depth<int8_t> : Depth<uint8_t> {
};
template <>
struct Depth<uint16_t> {
    using Difference = int32_t;
    using Total = uint32_t;
    using SquareTotal = uint64_t;
};
template <>
struct Depth<int16_t> : Depth<uint16_t> {
};
template <>
struct Depth<int32_t> {
    using Difference = int64_t;
    using Total = uint64_t;
    using SquareTotal = double;
};
template <>
struct Depth<float> {
    using Difference = double;
    using Total = double;
    using SquareTotal = double;
};

template <class T, bool two>
struct Values {
    using Difference = typename Depth<T>::Difference;
    OwnValues<T> a, b;

    __attribute__((always_inline)) Difference operator()(ptrdiff_t i) const
    {
        // Signed bytes are raised by 128 where they are compared: gcc 12 for AArch64 takes them for unsigned ones where
        // it makes vectors of sums of differences.
        if constexpr (two && __is_same(T, int8_t))
            return Difference(uint8_t(a[i] + 128)) - Difference(uint8_t(b[i] + 128));
        else if constexpr (two)
            return Difference(a[i]) - Difference(b[i]);
        else
            return Difference(a[i]);
    }
    __attribute__((always_inline)) Difference magnitude(ptrdiff_t i) const
    {
        const Difference value = (*this)(i);
        return value < 0 ? -value : value;
    }
};

template <class T, bool two>
struct Magnitude {
    using Total = typename Depth<T>::Total;
    Values<T, two> values;
    __attribute__((always_inline)) Total operator()(ptrdiff_t i) const { return Total(values.magnitude(i)); }
};

template <class T, bool two>
struct Square {
    using Total = typename Depth<T>::SquareTotal;
    Values<T, two> values;
    __attribute__((always_inline)) Total operator()(ptrdiff_t i) const
    {
        if constexpr (sizeof(T) == 4) {
            const double value = double(values(i));
            return value * value;
        } else {
            const uint32_t value = uint32_t(values.magnitude(i));
            return Total(value * value);
        }
    }
};

// ---- Sums ---------------------------------------------------------------------------------------------------------

template <class Total, class Term>
inline __attribute__((always_inline)) Total wholeTotal(Term term, ptrdiff_t n)
{
    Total total = 0;
    for (ptrdiff_t i = 0; i < n; ++i)
        total += term(i);
    return total;
}

#if defined(__AVX2__)
// A square of a float is exact in double precision, so that one instruction may round the sum alone.
__attribute__((target("fma"))) ptrdiff_t addSquares(double (&lanes)[ownReadLanes], OwnValues<float> values, ptrdiff_t n)
{
    __m256d sums[4];
    for (int k = 0; k < 4; ++k)
        sums[k] = _mm256_loadu_pd(lanes + 4 * k);
    ptrdiff_t i = 0;
    for (; i <= n - ownReadLanes; i += ownReadLanes)
        for (int k = 0; k < 4; ++k) {
            auto* four = static_cast<const float*>(values.first) + i + 4 * k;
            const __m256d value = _mm256_cvtps_pd(_mm_loadu_ps(four));
            sums[k] = _mm256_fmadd_pd(value, value, sums[k]);
        }
    for (int k = 0; k < 4; ++k)
        _mm256_storeu_pd(lanes + 4 * k, sums[k]);
    return i;
}
#endif

template <class Term>
inline __attribute__((always_inline)) void addToLanes(double (&lanes)[ownReadLanes], Term term, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (__is_same(Term, Square<float, false>))
        i = addSquares(lanes, term.values.a, n);
#endif
    double sums[ownReadLanes];
    __builtin_memcpy(sums, lanes, sizeof sums);
    for (; i <= n - ownReadLanes; i += ownReadLanes)
        for (ptrdiff_t k = 0; k < ownReadLanes; ++k)
            sums[k] += term(i + k);
    for (ptrdiff_t k = 0; i + k < n; ++k)
        sums[k] += term(i + k);
    __builtin_memcpy(lanes, sums, sizeof sums);
}

inline double foldLanes(double (&lanes)[ownReadLanes])
{
    for (int half = ownReadLanes / 2; half > 0; half /= 2)
        for (int k = 0; k < half; ++k)
            lanes[k] += lanes[k + half];
    const double total = lanes[0];
    for (double& lane : lanes)
        lane = 0;
    return total;
}

// Calls row(a, b) for every row.
template <class Row>
inline __attribute__((always_inline)) void forRows(const OwnReadRows& rows, Row row)
{
    auto* a = static_cast<const uint8_t*>(rows.a);
    auto* b = static_cast<const uint8_t*>(rows.b);
    for (ptrdiff_t y = 0; y < rows.count; ++y, a += rows.aStep, b += rows.b ? rows.bStep : 0)
        row(a, b);
}

// Term is Magnitude or Square.
template <template <class, bool> class Term, class T, bool two>
void sumRows(OwnNormSum& sum, const OwnReadRows& rows)
{
    using Total = typename Term<T, two>::Total;
    forRows(rows, [&](const uint8_t* a, const uint8_t* b) {
        const Term<T, two> term = {{{a}, {b}}};
        if constexpr (sizeof(Total) == 8 && Total(0.5) != 0) {
            addToLanes(sum.lanes, term, rows.n);
            if (rows.endsRow)
                sum.sum += foldLanes(sum.lanes);
        } else {
            sum.row += wholeTotal<Total>(term, rows.n);
            if (rows.endsRow) {
                sum.sum += double(Total(sum.row));
                sum.row = 0;
            }
        }
    });
}

template <class T, bool two>
void largest(OwnNormSum& sum, const OwnReadRows& rows)
{
    using Difference = typename Depth<T>::Difference;
    forRows(rows, [&](const uint8_t* a, const uint8_t* b) {
        const Values<T, two> values = {{a}, {b}};
        Difference most[ownReadLanes] = {};
        auto take = [&](ptrdiff_t i, ptrdiff_t k) {
            const Difference value = values.magnitude(i);
            most[k] = value > most[k] ? value : most[k];
        };
        ptrdiff_t i = 0;
        for (; i <= rows.n - ownReadLanes; i += ownReadLanes)
            for (ptrdiff_t k = 0; k < ownReadLanes; ++k)
                take(i + k, k);
        for (; i < rows.n; ++i)
            take(i, 0);
        for (Difference value : most)
            sum.sum = double(value) > sum.sum ? double(value) : sum.sum;
    });
}

// ---- Bytes --------------------------------------------------------------------------------------------------------

#if defined(__AVX2__)
inline __m256i bytesAt(const uint8_t* p, ptrdiff_t i)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + i));
}

// Byte lanes of 32 mask bits from a position on.
inline __m256i lanesAt(const uint8_t* bits, ptrdiff_t position)
{
    const __m256i spread = _mm256_setr_epi8(3, 3, 3, 3, 3, 3, 3, 3, 2, 2, 2, 2, 2, 2, 2, 2, 1, 1, 1, 1, 1, 1, 1, 1, 0,
                                            0, 0, 0, 0, 0, 0, 0);
    const __m256i wanted = _mm256_set1_epi64x(0x0102040810204080);
    const __m256i word = _mm256_set1_epi32(int32_t(maskWord<uint32_t>(bits, position)));
    return _mm256_cmpeq_epi8(_mm256_and_si256(_mm256_shuffle_epi8(word, spread), wanted), wanted);
}

// A row's values, or their differences, in blocks of 32; `lanes` tells which of them a mask leaves.
template <bool two, bool masked>
struct ByteRow {
    const uint8_t *a, *b, *bits;
    ptrdiff_t bit;

    __m256i magnitudes(ptrdiff_t i, __m256i lanes) const
    {
        __m256i value = bytesAt(a, i);
        if constexpr (two) {
            __m256i other = bytesAt(b, i);
            asm("" : "+x"(value), "+x"(other));  // which the compiler would load twice
            value = _mm256_or_si256(_mm256_subs_epu8(value, other), _mm256_subs_epu8(other, value));
        }
        return masked ? _mm256_and_si256(value, lanes) : value;
    }
    // Sums of eight of them each.
    __m256i sums(ptrdiff_t i, __m256i lanes) const
    {
        __m256i value = bytesAt(a, i), other = two ? bytesAt(b, i) : _mm256_setzero_si256();
        if constexpr (masked) {
            value = _mm256_and_si256(value, lanes);
            other = _mm256_and_si256(other, lanes);
        }
        return _mm256_sad_epu8(value, other);
    }
    // Calls take(i, lanes) for the blocks from `start` on, and answers where the rest of n values begins.
    template <class Take>
    __attribute__((always_inline)) ptrdiff_t forBlocks(ptrdiff_t start, ptrdiff_t n, Take take) const
    {
        ptrdiff_t i = start;
        if constexpr (masked) {
            const MaskLanes mask(bits, bit);
            alignas(32) int8_t lanes[64];
            for (; i <= n - 64; i += 64) {
                mask.get(i, lanes);
                take(i, _mm256_load_si256(reinterpret_cast<const __m256i*>(lanes)));
                take(i + 32, _mm256_load_si256(reinterpret_cast<const __m256i*>(lanes + 32)));
            }
        }
        for (; i <= n - 32; i += 32)
            take(i, masked ? lanesAt(bits, bit + i) : _mm256_setzero_si256());
        return i;
    }
    uint32_t one(ptrdiff_t i) const
    {
        const ptrdiff_t place = bit + i;
        if (masked && !(bits[place >> 3] & 128 >> (place & 7)))
            return 0;
        return uint32_t(Values<uint8_t, two>{{a}, {b}}.magnitude(i));
    }
};

// Calls row(values) for every row.
template <bool two, class Row>
inline __attribute__((always_inline)) void forByteRows(const OwnReadRows& rows, Row row)
{
    const uint8_t* bits = rows.bits;
    forRows(rows, [&](const uint8_t* a, const uint8_t* b) {
        if (!bits)
            return row(ByteRow<two, false>{a, b, nullptr, 0});
        row(ByteRow<two, true>{a, b, bits, rows.bit});
        bits += rows.bitStep;
    });
}

inline uint64_t totalOf(__m256i words)
{
    uint64_t parts[4];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(parts), words);
    return parts[0] + parts[1] + parts[2] + parts[3];
}

inline __m256i widened(__m256i doubleWords)
{
    const __m256i zero = _mm256_setzero_si256();
    return _mm256_add_epi64(_mm256_unpacklo_epi32(doubleWords, zero), _mm256_unpackhi_epi32(doubleWords, zero));
}

struct ByteMagnitudes {
    template <class Values>
    static uint64_t of(const Values& values, ptrdiff_t n)
    {
        __m256i total = _mm256_setzero_si256();
        ptrdiff_t i = values.forBlocks(
            0, n, [&](ptrdiff_t block, __m256i lanes) __attribute__((always_inline)) {
                total = _mm256_add_epi64(total, values.sums(block, lanes));
            });
        uint64_t rest = 0;
        for (; i < n; ++i)
            rest += values.one(i);
        return totalOf(total) + rest;
    }
};

struct ByteSquares {
    template <class Values>
    static uint64_t of(const Values& values, ptrdiff_t n)
    {
        // A lane gets four squares from 32 values, so that it holds those of many blocks.
        constexpr ptrdiff_t most = 32 * (UINT32_MAX / (4 * 255 * 255) / 2);
        const __m256i zero = _mm256_setzero_si256();
        __m256i total = zero;
        ptrdiff_t i = 0;
        while (i <= n - 32) {
            const ptrdiff_t end = n - i < most ? n : i + most;
            __m256i part = zero;
            i = values.forBlocks(
                i, end, [&](ptrdiff_t block, __m256i lanes) __attribute__((always_inline)) {
                    const __m256i value = values.magnitudes(block, lanes);
                    const __m256i low = _mm256_unpacklo_epi8(value, zero), high = _mm256_unpackhi_epi8(value, zero);
                    part = _mm256_add_epi32(
                        part, _mm256_add_epi32(_mm256_madd_epi16(low, low), _mm256_madd_epi16(high, high)));
                });
            total = _mm256_add_epi64(total, widened(part));
        }
        uint64_t rest = 0;
        for (; i < n; ++i)
            rest += values.one(i) * values.one(i);
        return totalOf(total) + rest;
    }
};

// Sum is ByteMagnitudes or ByteSquares.
template <class Sum, bool two>
void sumBytes(OwnNormSum& sum, const OwnReadRows& rows)
{
    forByteRows<two>(rows, [&](const auto& values) {
        sum.row += Sum::of(values, rows.n);
        if (rows.endsRow) {
            sum.sum += double(uint32_t(sum.row));
            sum.row = 0;
        }
    });
}

template <bool two>
void largestByte(OwnNormSum& sum, const OwnReadRows& rows)
{
    __m256i most = _mm256_setzero_si256();
    uint32_t mostOfRest = 0;
    forByteRows<two>(rows, [&](const auto& values) {
        __m256i mostOfRow = most;  // which stays in a register
        ptrdiff_t i = values.forBlocks(
            0, rows.n, [&](ptrdiff_t block, __m256i lanes) __attribute__((always_inline)) {
                mostOfRow = _mm256_max_epu8(mostOfRow, values.magnitudes(block, lanes));
            });
        most = mostOfRow;
        for (; i < rows.n; ++i)
            mostOfRest = values.one(i) > mostOfRest ? values.one(i) : mostOfRest;
    });
    uint8_t lanes[32];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(lanes), most);
    for (uint8_t lane : lanes)
        mostOfRest = lane > mostOfRest ? lane : mostOfRest;
    sum.sum = mostOfRest > sum.sum ? mostOfRest : sum.sum;
}

constexpr bool bytesTakeMask = true;
template <bool two>
constexpr OwnNormKernels::Kernel bytesC = largestByte<two>;
template <bool two>
constexpr OwnNormKernels::Kernel bytesL1 = sumBytes<ByteMagnitudes, two>;
template <bool two>
constexpr OwnNormKernels::Kernel bytesL2 = sumBytes<ByteSquares, two>;
#else
constexpr bool bytesTakeMask = false;
template <bool two>
constexpr OwnNormKernels::Kernel bytesC = largest<uint8_t, two>;
template <bool two>
constexpr OwnNormKernels::Kernel bytesL1 = sumRows<Magnitude, uint8_t, two>;
template <bool two>
constexpr OwnNormKernels::Kernel bytesL2 = sumRows<Square, uint8_t, two>;
#endif

// ---- Bits ---------------------------------------------------------------------------------------------------------

// Of bits every norm counts the same ones.
template <bool two>
uint64_t setBits(const OwnReadRows& rows)
{
    uint64_t count = 0;
    auto wordOf = [&](ptrdiff_t i, size_t bytes) {
        uint64_t word = 0, other = 0;
        __builtin_memcpy(&word, static_cast<const uint8_t*>(rows.a) + i, bytes);
        if constexpr (two)
            __builtin_memcpy(&other, static_cast<const uint8_t*>(rows.b) + i, bytes);
        return word ^ other;
    };
    ptrdiff_t i = 0;
    for (; i <= rows.n - 8; i += 8)
        count += uint64_t(__builtin_popcountll(wordOf(i, 8)));
    return count + uint64_t(__builtin_popcountll(wordOf(i, size_t(rows.n - i))));
}

template <bool two>
void countBits(OwnNormSum& sum, const OwnReadRows& rows)
{
    sum.sum += double(setBits<two>(rows));
}

template <bool two>
void anyBit(OwnNormSum& sum, const OwnReadRows& rows)
{
    if (sum.sum == 0 && setBits<two>(rows))
        sum.sum = 1;
}

}  // namespace

#define OWN_NORMS_OF(two)                                                                            \
    {                                                                                                \
        {anyBit<two>,           bytesC<two>,           largest<int8_t, two>, largest<uint16_t, two>, \
         largest<int16_t, two>, largest<int32_t, two>, largest<float, two>},                         \
            {countBits<two>,                                                                         \
             bytesL1<two>,                                                                           \
             sumRows<Magnitude, int8_t, two>,                                                        \
             sumRows<Magnitude, uint16_t, two>,                                                      \
             sumRows<Magnitude, int16_t, two>,                                                       \
             sumRows<Magnitude, int32_t, two>,                                                       \
             sumRows<Magnitude, float, two>},                                                        \
            {countBits<two>,                                                                         \
             bytesL2<two>,                                                                           \
             sumRows<Square, int8_t, two>,                                                           \
             sumRows<Square, uint16_t, two>,                                                         \
             sumRows<Square, int16_t, two>,                                                          \
             sumRows<Square, int32_t, two>,                                                          \
             sumRows<Square, float, two>},                                                           \
    }

extern const OwnNormKernels ownNormKernels;
const OwnNormKernels ownNormKernels = {OWN_NORMS_OF(false), OWN_NORMS_OF(true), bytesTakeMask};

}  // namespace OWN_ISA
