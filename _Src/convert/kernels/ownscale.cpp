// Conversions between depths that map a whole range onto another.
#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

#include "ownconvert.h"

namespace OWN_ISA {
namespace {

template <class T>
constexpr int bitsOf = int(sizeof(T)) * 8;

// ---- Integers -----------------------------------------------------------------------------------------------------

// The ends of the ranges meet: wider values repeat the bits of narrower ones, narrower ones lose a part of themselves
// before their low bits go.
template <class S, class D>
struct Scale {
    using Source = S;
    using Result = D;
    explicit Scale(const void*) {}
    D operator()(S value) const
    {
        constexpr auto low = uint32_t(OwnRange<S>::lowest), lowResult = uint32_t(OwnRange<D>::lowest);
        if constexpr (sizeof(D) < sizeof(S)) {
            constexpr int32_t middle = OwnRange<S>::isSigned ? 0 : 1 << (bitsOf<S> - 1);
            const int32_t x = int32_t{value} - middle;
            const int32_t high = (x - (x >> bitsOf<D>)) >> (bitsOf<S> - bitsOf<D>);
            return D(high + (OwnRange<D>::isSigned ? 0 : 1 << (bitsOf<D> - 1)));
        } else {
            constexpr auto times = uint32_t((uint64_t{1} << bitsOf<D>)-1) / uint32_t((uint64_t{1} << bitsOf<S>)-1);
            return D((uint32_t(value) - low) * times + lowResult);
        }
    }
};

template <class S, class D>
struct ScaleRows : OneSourceRows<Scale<S, D>> {
};

#if defined(__AVX2__)
// Products whose bytes all are that of the source, for which the compiler multiplies.
template <class S>
struct BytesRepeated {
    OwnValues<S> x;

    int32_t operator()(ptrdiff_t i) const { return Scale<S, int32_t>(nullptr)(x[i]); }
    Vector<int32_t> vector(ptrdiff_t i) const
    {
        constexpr int32_t flip = OwnRange<S>::isSigned ? 0x00808080 : INT32_MIN;
        const __m128i eight = _mm_loadl_epi64(reinterpret_cast<const __m128i*>(static_cast<const char*>(x.first) + i));
        const __m256i often = _mm256_setr_epi8(0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 2, 2, 3, 3, 3, 3,  //
                                               4, 4, 4, 4, 5, 5, 5, 5, 6, 6, 6, 6, 7, 7, 7, 7);
        const __m256i repeated = _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(eight), often);
        return (Vector<int32_t>)_mm256_xor_si256(repeated, _mm256_set1_epi32(flip));
    }
};

// Results that vectors pack as they are, for which the compiler cuts them first.
template <class D>
struct HighBytes {
    OwnValues<int32_t> x;

    D operator()(ptrdiff_t i) const { return Scale<int32_t, D>(nullptr)(x[i]); }
    Vector<D> vector(ptrdiff_t i) const
    {
        __m256i high[4];
        for (int k = 0; k < 4; ++k) {
            const auto value = (__m256i)vectorAt<int32_t>(x.first, i + 8 * k);
            high[k] = _mm256_srai_epi32(_mm256_sub_epi32(value, _mm256_srai_epi32(value, 8)), 24);
        }
        const __m256i bytes =
            _mm256_packs_epi16(_mm256_packs_epi32(high[0], high[1]), _mm256_packs_epi32(high[2], high[3]));
        const __m256i inOrder = _mm256_permutevar8x32_epi32(bytes, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
        return (Vector<D>)_mm256_xor_si256(inOrder, _mm256_set1_epi8(OwnRange<D>::isSigned ? 0 : -128));
    }
};

// Rows of values that know their vectors.
template <class S, class D, class Value>
struct VectorRows : OneSourceRows<Scale<S, D>> {
    static __attribute__((flatten)) void run(const OwnRows& rows)
    {
        const ptrdiff_t n = rows.n;
        forRows<sizeof(S) * 8, sizeof(D) * 8, 1>(
            rows, [n](const uint8_t* a, const uint8_t*, uint8_t* d) { storeRow<D>(d, n, a == d, Value{{a}}); });
    }
    static constexpr OwnRowKernel kernel = {run, OneSourceRows<Scale<S, D>>::select,
                                            OneSourceRows<Scale<S, D>>::masked};
};

template <class S>
requires(sizeof(S) == 1) struct ScaleRows<S, int32_t> : VectorRows<S, int32_t, BytesRepeated<S>> {
};
template <class D>
requires(sizeof(D) == 1) struct ScaleRows<int32_t, D> : VectorRows<int32_t, D, HighBytes<D>> {
};
#endif

template <class S>
constexpr OwnRowKernel scaleFrom[OWN_DEPTHS] = {
    {},
    ScaleRows<S, uint8_t>::kernel,
    ScaleRows<S, int8_t>::kernel,
    ScaleRows<S, uint16_t>::kernel,
    ScaleRows<S, int16_t>::kernel,
    ScaleRows<S, int32_t>::kernel,
};

// ---- Floats -------------------------------------------------------------------------------------------------------

template <class T>
constexpr double full = double(OwnRange<T>::highest - OwnRange<T>::lowest);

template <class S>
struct ToFloat {
    using Source = S;
    using Result = float;
    double factor, base;
    explicit ToFloat(const void* scalar)
    {
        const auto& range = *static_cast<const OwnFloatRange*>(scalar);
        factor = (double(range.most) - double(range.least)) * (1 / full<S>);
        base = double(range.least);
        if constexpr (OwnRange<S>::isSigned)
            base += factor * double(-OwnRange<S>::lowest);
    }
    float operator()(S value) const { return float(value * factor + base); }
};

template <class D>
struct OfFloat {
    using Source = float;
    using Result = D;
    float least, most;
    double factor, base;
    explicit OfFloat(const void* scalar)
    {
        const auto& range = *static_cast<const OwnFloatRange*>(scalar);
        least = range.least;
        most = range.most;
        factor = full<D> / (double(most) - double(least));
        base = -double(least) * factor + double(OwnRange<D>::lowest);
    }
    D operator()(float value) const
    {
        const D result = ownRounded<D>(double(value) * factor + base);
        return value < least ? D(OwnRange<D>::lowest) : value > most ? D(OwnRange<D>::highest) : result;
    }
};

#if defined(__AVX2__)
// ---- Bytes in vectors ---------------------------------------------------------------------------------------------

// There are 256 results. Where a short way in single precision gives all of them it is taken, otherwise they are looked
// up.
//
// Factor and base are split: in what floats of the greatest result's size can hold, so that the first sum is exact, and
// what is left of them.
struct BytesToFloat {
    float table[256];
    float factor, factorRest, base, baseRest;
    bool isShort = true;

    explicit BytesToFloat(const void* scalar)
    {
        const ToFloat<uint8_t> exact(scalar);
        const double most = __builtin_fabs(exact.factor) * 255 + __builtin_fabs(exact.base);
        const double large = __builtin_isfinite(most) ? __builtin_ldexp(1.5, __builtin_ilogb(most) + 30) : 0;
        const double mainFactor = exact.factor + large - large, mainBase = exact.base + large - large;
        factor = float(mainFactor);
        factorRest = float(exact.factor - mainFactor);
        base = float(mainBase);
        baseRest = float(exact.base - mainBase);
        for (int i = 0; i < 256; ++i)
            table[i] = exact(uint8_t(i));
        alignas(32) uint8_t bytes[256];
        alignas(32) float results[256];
        for (int i = 0; i < 256; ++i)
            bytes[i] = uint8_t(i);
        for (int i = 0; i < 256; i += 8)
            _mm256_store_ps(results + i, scaled(bytes + i));
        isShort = __builtin_memcmp(results, table, sizeof table) == 0;
    }
    __m256 scaled(const uint8_t* from) const
    {
        const __m256 x =
            _mm256_cvtepi32_ps(_mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from))));
        const __m256 sum = _mm256_fmadd_ps(x, _mm256_set1_ps(factor), _mm256_set1_ps(base));
        return _mm256_add_ps(sum, _mm256_fmadd_ps(x, _mm256_set1_ps(factorRest), _mm256_set1_ps(baseRest)));
    }
    __m256 lookedUp(const uint8_t* from) const
    {
        const __m256 all = _mm256_castsi256_ps(_mm256_set1_epi8(-1));
        const __m256i places = _mm256_cvtepu8_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(from)));
        return _mm256_mask_i32gather_ps(_mm256_setzero_ps(), table, places, all, 4);
    }
    template <class Eight>
    void row(const uint8_t* from, uint8_t* to, ptrdiff_t n, Eight eight) const
    {
        ptrdiff_t i = 0;
        for (; i + 8 <= n; i += 8)
            _mm256_storeu_ps(reinterpret_cast<float*>(to + i * 4), eight(from + i));
        for (; i < n; ++i)
            ownStore<float>(to, i, table[from[i]]);
    }
    static void run(const OwnRows& rows)
    {
        const BytesToFloat scale(rows.b);
        forRows<8, 32, 1>(rows, [&](const uint8_t* a, const uint8_t*, uint8_t* d) {
            if (scale.isShort)
                scale.row(a, d, rows.n, [&](const uint8_t* from) { return scale.scaled(from); });
            else
                scale.row(a, d, rows.n, [&](const uint8_t* from) { return scale.lookedUp(from); });
        });
    }
    static constexpr OwnRowKernel kernel = {run, OneSourceRows<ToFloat<uint8_t>>::select,
                                            OneSourceRows<ToFloat<uint8_t>>::masked};
};

// Single precision tells the byte if results that are a little higher and a little lower are rounded alike; otherwise
// 32 values are computed in double precision.
struct FloatToBytes {
    OfFloat<uint8_t> exact;
    float factor, low, high;
    float most;  // what lies above it becomes 255, as it does itself
    bool tells;

    explicit FloatToBytes(const void* scalar) : exact(scalar), factor(float(exact.factor))
    {
        // Twice what factor, base, product and sum may lose for results up to 256.
        const double slack = (512 + 2 * __builtin_fabs(exact.base)) * 0x1p-23;
        low = float(exact.base - slack);
        high = float(exact.base + slack);
        most = float((1000 - exact.base) / exact.factor);
        tells =
            slack < 0.25 && exact.factor > 0 && factor > 0 && __builtin_isfinite(factor) && __builtin_isfinite(most);
    }
    // Bytes of 32 whole numbers, in an order of the vectors' own.
    static __m256i packed(const __m256i (&whole)[4])
    {
        return _mm256_packus_epi16(_mm256_packs_epi32(whole[0], whole[1]), _mm256_packs_epi32(whole[2], whole[3]));
    }
    void block(const uint8_t* from, uint8_t* to) const
    {
        __m256i least[4], greatest[4];
        for (int k = 0; k < 4; ++k) {
            const __m256 given = _mm256_loadu_ps(reinterpret_cast<const float*>(from + 32 * k));
            // What is no number stays so, and becomes the least integer as what lies far below does.
            const __m256 x = _mm256_min_ps(_mm256_set1_ps(most), given), f = _mm256_set1_ps(factor);
            least[k] = _mm256_cvtps_epi32(_mm256_fmadd_ps(x, f, _mm256_set1_ps(low)));
            greatest[k] = _mm256_cvtps_epi32(_mm256_fmadd_ps(x, f, _mm256_set1_ps(high)));
        }
        const __m256i bytes = packed(least), differ = _mm256_xor_si256(bytes, packed(greatest));
        if (!_mm256_testz_si256(differ, differ)) {
            for (int i = 0; i < 32; ++i)
                to[i] = exact(ownLoad<float>(from, i));
            return;
        }
        const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), _mm256_permutevar8x32_epi32(bytes, order));
    }
    static void run(const OwnRows& rows)
    {
        const FloatToBytes scale(rows.b);
        forRows<32, 8, 1>(rows, [&](const uint8_t* a, const uint8_t*, uint8_t* d) {
            ptrdiff_t i = 0;
            for (; scale.tells && i + 32 <= rows.n; i += 32)
                scale.block(a + i * 4, d + i);
            for (; i < rows.n; ++i)
                d[i] = scale.exact(ownLoad<float>(a, i));
        });
    }
    static constexpr OwnRowKernel kernel = {run, OneSourceRows<OfFloat<uint8_t>>::select,
                                            OneSourceRows<OfFloat<uint8_t>>::masked};
};
#else
using BytesToFloat = OneSourceRows<ToFloat<uint8_t>>;
using FloatToBytes = OneSourceRows<OfFloat<uint8_t>>;
#endif

}  // namespace

extern const OwnRangeKernels ownRangeKernels;
const OwnRangeKernels ownRangeKernels = {
    {nullptr, scaleFrom<uint8_t>, scaleFrom<int8_t>, scaleFrom<uint16_t>, scaleFrom<int16_t>, scaleFrom<int32_t>},
    {{},
     BytesToFloat::kernel,
     OneSourceRows<ToFloat<int8_t>>::kernel,
     OneSourceRows<ToFloat<uint16_t>>::kernel,
     OneSourceRows<ToFloat<int16_t>>::kernel,
     OneSourceRows<ToFloat<int32_t>>::kernel},
    {{},
     FloatToBytes::kernel,
     OneSourceRows<OfFloat<int8_t>>::kernel,
     OneSourceRows<OfFloat<uint16_t>>::kernel,
     OneSourceRows<OfFloat<int16_t>>::kernel,
     OneSourceRows<OfFloat<int32_t>>::kernel},
};

}  // namespace OWN_ISA
