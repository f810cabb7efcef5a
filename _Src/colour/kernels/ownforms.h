// For kernel sources: conversions in fixed point. A conversion is a record of linear forms that is written once for
// any kind of number: whole numbers of 32 bits, which wrap, and for 8U also vectors of words, which give the same results.
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
    static Triple<L> of(const Triple<L>& v)
    {
        return {form<first>(v.x, v.y, v.z), form<second>(v.x, v.y, v.z), form<third>(v.x, v.y, v.z)};
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
// Sixteen numbers. Values of 8U and what forms make of them fit.
struct Words {
    __m256i lanes;
};

// Splits a factor of which words have no room: what is a whole multiple of 1 << shift passes by the shift.
constexpr int32_t wholePart(int64_t factor, int shift)
{
    return factor >= -32768 && factor <= 32767 ? 0 : int32_t((factor + (int64_t{1} << (shift - 1))) >> shift);
}
constexpr int32_t restPart(int64_t factor, int shift)
{
    return int32_t(factor - (int64_t{wholePart(factor, shift)} << shift));
}

OWN_INLINE __m256i factors(int32_t even, int32_t odd)
{
    return _mm256_set1_epi32(int32_t(uint32_t(even & 0xFFFF) | uint32_t(odd) << 16));
}

template <int32_t factor>
OWN_INLINE void addTimes(__m256i& sum, const Words& value)
{
    if constexpr (factor == 1)
        sum = _mm256_add_epi16(sum, value.lanes);
    else if constexpr (factor != 0)
        sum = _mm256_add_epi16(sum, _mm256_mullo_epi16(value.lanes, _mm256_set1_epi16(factor)));
}

template <Form f>
OWN_INLINE Words form(const Words& x, const Words& y, const Words& z)
{
    constexpr int s = f.shift;
    constexpr int32_t a = restPart(f.a, s), b = restPart(f.b, s), c = restPart(f.c, s), k = restPart(f.k, s);
    static_assert(a >= -32768 && a <= 32767 && b >= -32768 && b <= 32767 && c >= -32768 && c <= 32767 && k >= -32768 &&
                  k <= 32767);
    const __m256i one = _mm256_set1_epi16(1);
    // Products of neighbouring words are added to one of 32 bits: x with y, z with 1.
    auto half = [&](auto unpack) {
        __m256i sum = _mm256_madd_epi16(unpack(z.lanes, one), factors(c, k));
        if constexpr (a != 0 || b != 0)
            sum = _mm256_add_epi32(sum, _mm256_madd_epi16(unpack(x.lanes, y.lanes), factors(a, b)));
        return _mm256_srai_epi32(sum, s);
    };
    __m256i low = half([](__m256i even, __m256i odd) { return _mm256_unpacklo_epi16(even, odd); });
    __m256i high = half([](__m256i even, __m256i odd) { return _mm256_unpackhi_epi16(even, odd); });
    __m256i sum = _mm256_packs_epi32(low, high);
    addTimes<wholePart(f.a, s) + f.whole>(sum, x);
    addTimes<wholePart(f.b, s)>(sum, y);
    addTimes<wholePart(f.c, s)>(sum, z);
    constexpr int32_t add = wholePart(f.k, s) + f.add;
    if constexpr (add != 0)
        sum = _mm256_add_epi16(sum, _mm256_set1_epi16(add));
    return {sum};
}

OWN_INLINE __m256i bytesAt(const void* row, ptrdiff_t i)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const uint8_t*>(row) + i));
}

template <bool wraps>
OWN_INLINE void storeWords(void* row, ptrdiff_t i, __m256i low, __m256i high)
{
    if constexpr (wraps) {
        low = _mm256_and_si256(low, _mm256_set1_epi16(0xFF));
        high = _mm256_and_si256(high, _mm256_set1_epi16(0xFF));
    }
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(row) + i), _mm256_packus_epi16(low, high));
}

// Conversion C at 8U.
template <class C>
void stepBytes(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const __m256i zero = _mm256_setzero_si256();
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i x = bytesAt(from[0], i), y = bytesAt(from[1], i), z = bytesAt(from[2], i);
        auto half = [&](auto unpack) {
            return C::of(Triple<Words>{{unpack(x, zero)}, {unpack(y, zero)}, {unpack(z, zero)}});
        };
        const Triple<Words> low = half([](__m256i a, __m256i b) { return _mm256_unpacklo_epi8(a, b); });
        const Triple<Words> high = half([](__m256i a, __m256i b) { return _mm256_unpackhi_epi8(a, b); });
        storeWords<C::wraps>(to[0], i, low.x.lanes, high.x.lanes);
        storeWords<C::wraps>(to[1], i, low.y.lanes, high.y.lanes);
        storeWords<C::wraps>(to[2], i, low.z.lanes, high.z.lanes);
    }
}
#else
template <class C>
constexpr OwnTripleStep stepBytes = stepThree<Whole<C, uint8_t>>;
#endif

}  // namespace OWN_ISA
