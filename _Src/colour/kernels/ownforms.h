// For kernel sources: conversions in fixed point. A conversion is a record of linear forms that is written once for
// any kind of number: whole numbers of 32 bits, which wrap, and vectors of them, which give the same results.
#pragma once

#include "ownsteps.h"

namespace OWN_ISA {

// ((a x + b y + c z + k) >> shift) + whole x + add
struct Form {
    int32_t a, b, c;
    int64_t k;
    int shift;
    int32_t whole = 0;
    int32_t add = 0;
};

template <Form f>
OWN_INLINE int32_t form(int32_t x, int32_t y, int32_t z)
{
    auto times = [](int32_t factor, int32_t value) { return uint32_t(factor) * uint32_t(value); };
    const auto sum = int32_t(times(f.a, x) + times(f.b, y) + times(f.c, z) + uint32_t(f.k));
    return int32_t(uint32_t(sum >> f.shift) + times(f.whole, x) + uint32_t(f.add));
}

// A conversion of which each result is one form. Results are cut to the range of the depth.
template <Form first, Form second, Form third>
struct Forms {
    static constexpr bool wraps = false;
    template <class L>
    static auto of(const Triple<L>& v)
    {
        return Triple{form<first>(v.x, v.y, v.z), form<second>(v.x, v.y, v.z), form<third>(v.x, v.y, v.z)};
    }
};

// Conversion C at one depth, value by value. Where it wraps, results keep their low bits.
template <class C, class T>
struct Whole {
    using Source = T;
    using Result = T;
    explicit Whole(const void*) {}
    static T cut(int32_t value)
    {
        if constexpr (C::wraps)
            return T(value);
        else
            return ownSaturated<T>(value);
    }
    Triple<T> operator()(const Triple<T>& v) const
    {
        const Triple<int32_t> result = C::of(Triple<int32_t>{v.x, v.y, v.z});
        return {cut(result.x), cut(result.y), cut(result.z)};
    }
};

#if defined(__AVX2__)
OWN_INLINE __m256i vectorOf(const void* row, ptrdiff_t bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const uint8_t*>(row) + bytes));
}

OWN_INLINE void storeVector(void* row, ptrdiff_t bytes, __m256i vector)
{
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(row) + bytes), vector);
}

// Pairs of words, of which a sum of two products takes one pair and a pair of factors.
struct LowHalf {
    static __m256i pairs(__m256i even, __m256i odd) { return _mm256_unpacklo_epi16(even, odd); }
};
struct HighHalf {
    static __m256i pairs(__m256i even, __m256i odd) { return _mm256_unpackhi_epi16(even, odd); }
};

constexpr bool isWord(int64_t factor)
{
    return factor >= -32768 && factor <= 32767;
}

OWN_INLINE __m256i factors(int32_t even, int32_t odd)
{
    return _mm256_set1_epi32(int32_t(uint32_t(even & 0xFFFF) | uint32_t(odd) << 16));
}

// ---- 8U -----------------------------------------------------------------------------------------------------------

// Sixteen numbers. Values of 8U and what forms make of them fit words.
struct Words {
    __m256i lanes;
};

// Splits a factor of which words have no room: what is a whole multiple of 1 << shift passes by the shift.
constexpr int32_t wholePart(int64_t factor, int shift)
{
    return isWord(factor) ? 0 : int32_t((factor + (int64_t{1} << (shift - 1))) >> shift);
}
constexpr int32_t restPart(int64_t factor, int shift)
{
    return int32_t(factor - (int64_t{wholePart(factor, shift)} << shift));
}

template <int32_t factor>
OWN_INLINE void addTimes(__m256i& sum, const Words& value)
{
    if constexpr (factor == 1)
        sum = _mm256_add_epi16(sum, value.lanes);
    else if constexpr (factor != 0)
        sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(value.lanes, _mm256_set1_epi16(factor)));
}

// The shifted sums of one half.
template <Form f, class Half>
OWN_INLINE __m256i shiftedSums(const Words& x, const Words& y, const Words& z)
{
    constexpr int32_t a = restPart(f.a, f.shift), b = restPart(f.b, f.shift), c = restPart(f.c, f.shift),
                      k = restPart(f.k, f.shift);
    static_assert(isWord(a) && isWord(b) && isWord(c) && isWord(k));
    // Without the first value a pair is that of the other two.
    if constexpr (a == 0 && b != 0) {
        const __m256i sum = _mm256_madd_epi16(Half::pairs(y.lanes, z.lanes), factors(b, c));
        return _mm256_srai_epi32(_mm256_add_epi32(sum, _mm256_set1_epi32(k)), f.shift);
    }
    __m256i sum = _mm256_madd_epi16(Half::pairs(z.lanes, _mm256_set1_epi16(1)), factors(c, k));
    if constexpr (a != 0 || b != 0)
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(Half::pairs(x.lanes, y.lanes), factors(a, b)));
    return _mm256_srai_epi32(sum, f.shift);
}

template <Form f>
OWN_INLINE Words form(const Words& x, const Words& y, const Words& z)
{
    __m256i sum = _mm256_packs_epi32(shiftedSums<f, LowHalf>(x, y, z), shiftedSums<f, HighHalf>(x, y, z));
    addTimes<wholePart(f.a, f.shift) + f.whole>(sum, x);
    addTimes<wholePart(f.b, f.shift)>(sum, y);
    addTimes<wholePart(f.c, f.shift)>(sum, z);
    constexpr int32_t add = wholePart(f.k, f.shift) + f.add;
    if constexpr (add != 0)
        sum = _mm256_add_epi16(sum, _mm256_set1_epi16(add));
    return {sum};
}

template <bool wraps>
OWN_INLINE __m256i bytesOf(const Words& low, const Words& high)
{
    const __m256i byte = _mm256_set1_epi16(0xFF);
    if constexpr (wraps)
        return _mm256_packus_epi16(_mm256_and_si256(low.lanes, byte), _mm256_and_si256(high.lanes, byte));
    else
        return _mm256_packus_epi16(low.lanes, high.lanes);
}

// Conversion C at 8U.
template <class C>
void stepBytes(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const __m256i zero = _mm256_setzero_si256();
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i x = vectorOf(from[0], i), y = vectorOf(from[1], i), z = vectorOf(from[2], i);
        const auto low = C::of(Triple<Words>{
            {_mm256_unpacklo_epi8(x, zero)}, {_mm256_unpacklo_epi8(y, zero)}, {_mm256_unpacklo_epi8(z, zero)}});
        const auto high = C::of(Triple<Words>{
            {_mm256_unpackhi_epi8(x, zero)}, {_mm256_unpackhi_epi8(y, zero)}, {_mm256_unpackhi_epi8(z, zero)}});
        storeVector(to[0], i, bytesOf<C::wraps>(low.x, high.x));
        storeVector(to[1], i, bytesOf<C::wraps>(low.y, high.y));
        storeVector(to[2], i, bytesOf<C::wraps>(low.z, high.z));
    }
}

// ---- 16U ----------------------------------------------------------------------------------------------------------

// Sixteen values of 16U, and sixteen sums of 32 bits.
struct Halves {
    __m256i lanes;

    Halves operator>>(int shift) const { return {_mm256_srli_epi16(lanes, shift)}; }
};
struct Sums {
    __m256i low, high;
};

// Products take signed words: values less 32768, what is then missing being the same for all. A factor of which words
// have no room is split in one of them, times four, and a rest.
template <Form f, class Half>
OWN_INLINE __m256i shiftedSums(const Halves& x, const Halves& y, const Halves& z)
{
    constexpr auto most = [](int32_t factor) { return isWord(factor) ? 0 : factor >> 2; };
    constexpr auto rest = [](int32_t factor) { return isWord(factor) ? factor : factor & 3; };
    const __m256i middle = _mm256_set1_epi16(-32768);
    const __m256i xy = Half::pairs(_mm256_xor_si256(x.lanes, middle), _mm256_xor_si256(y.lanes, middle));
    const __m256i z0 = Half::pairs(_mm256_xor_si256(z.lanes, middle), _mm256_setzero_si256());
    constexpr auto constant = uint32_t(f.k) + 32768u * (uint32_t(f.a) + uint32_t(f.b) + uint32_t(f.c));
    __m256i sum = _mm256_set1_epi32(int32_t(constant));
    if constexpr (f.a != 0 || f.b != 0)
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(xy, factors(rest(f.a), rest(f.b))));
    if constexpr (f.c != 0)
        sum = _mm256_add_epi32(sum, _mm256_madd_epi16(z0, factors(rest(f.c), 0)));
    if constexpr (!isWord(f.a) || !isWord(f.b) || !isWord(f.c)) {
        const __m256i fourths = _mm256_add_epi32(_mm256_madd_epi16(xy, factors(most(f.a), most(f.b))),
                                                 _mm256_madd_epi16(z0, factors(most(f.c), 0)));
        sum = _mm256_add_epi32(sum, _mm256_slli_epi32(fourths, 2));
    }
    sum = _mm256_srai_epi32(sum, f.shift);
    static_assert(f.whole == 0 || f.whole == 1);
    if constexpr (f.whole == 1)
        sum = _mm256_add_epi32(sum, Half::pairs(x.lanes, _mm256_setzero_si256()));
    if constexpr (f.add != 0)
        sum = _mm256_add_epi32(sum, _mm256_set1_epi32(f.add));
    return sum;
}

template <Form f>
OWN_INLINE Sums form(const Halves& x, const Halves& y, const Halves& z)
{
    return {shiftedSums<f, LowHalf>(x, y, z), shiftedSums<f, HighHalf>(x, y, z)};
}

// Conversion C at 16U.
template <class C>
void stepHalves(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    static_assert(!C::wraps);
    for (ptrdiff_t i = 0; i < 2 * n; i += 32) {
        const auto sums = C::of(Triple<Halves>{{vectorOf(from[0], i)}, {vectorOf(from[1], i)}, {vectorOf(from[2], i)}});
        storeVector(to[0], i, _mm256_packus_epi32(sums.x.low, sums.x.high));
        storeVector(to[1], i, _mm256_packus_epi32(sums.y.low, sums.y.high));
        storeVector(to[2], i, _mm256_packus_epi32(sums.z.low, sums.z.high));
    }
}
#else
template <class C>
constexpr OwnTripleStep stepBytes = stepThree<Whole<C, uint8_t>>;
template <class C>
constexpr OwnTripleStep stepHalves = stepThree<Whole<C, uint16_t>>;
#endif

}  // namespace OWN_ISA
