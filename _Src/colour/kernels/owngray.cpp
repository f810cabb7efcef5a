// Colour to grey and back.
#include "owngray.h"

#include "ownforms.h"

namespace OWN_ISA {
namespace {

// ---- To grey ------------------------------------------------------------------------------------------------------

// The weighted sum of a colour of 8U or 16U. The weights' sum is 255.
template <class Sum, class T>
OWN_INLINE Sum sumOf(T r, T g, T b)
{
    return Sum(Sum(54 * r) + Sum(183 * g) + Sum(18 * b));
}

// The same at 32S, of the values without their low bits. The weights' sum is 512.
template <int lost>
OWN_INLINE int32_t sumOf32(int32_t r, int32_t g, int32_t b)
{
    return (r >> lost) * 109 + (g >> lost) * 366 + (b >> lost) * 37;
}

template <class S, class D>
struct Gray;

template <>
struct Gray<uint8_t, uint8_t> {
    static uint8_t of(uint8_t r, uint8_t g, uint8_t b) { return uint8_t(sumOf<uint16_t>(r, g, b) >> 8); }
};
template <>
struct Gray<uint8_t, uint16_t> {
    static uint16_t of(uint8_t r, uint8_t g, uint8_t b) { return sumOf<uint16_t>(r, g, b); }
};
template <>
struct Gray<uint8_t, bool> {
    static bool of(uint8_t r, uint8_t g, uint8_t b) { return sumOf<uint16_t>(r, g, b) >> 15; }
};
template <>
struct Gray<uint16_t, uint16_t> {
    static uint16_t of(uint16_t r, uint16_t g, uint16_t b) { return uint16_t(sumOf<uint32_t>(r, g, b) >> 8); }
};
template <>
struct Gray<uint16_t, uint8_t> {
    static uint8_t of(uint16_t r, uint16_t g, uint16_t b) { return uint8_t(sumOf<uint32_t>(r, g, b) >> 16); }
};
template <>
struct Gray<uint16_t, bool> {
    static bool of(uint16_t r, uint16_t g, uint16_t b) { return sumOf<uint32_t>(r, g, b) >> 23; }
};
template <>
struct Gray<int32_t, uint16_t> {
    static uint16_t of(int32_t r, int32_t g, int32_t b) { return uint16_t(sumOf32<11>(r, g, b) >> 13); }
};
template <>
struct Gray<int32_t, uint8_t> {
    static uint8_t of(int32_t r, int32_t g, int32_t b) { return uint8_t(sumOf32<11>(r, g, b) >> 21); }
};
template <>
struct Gray<int32_t, bool> {
    static bool of(int32_t r, int32_t g, int32_t b) { return sumOf32<10>(r, g, b) >= 1 << 29; }
};

// D is bool for 1U, whose results are bytes of 0 or 255.
template <class S, class D>
void toGray(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const OwnValues<S> r = {from[0]}, g = {from[1]}, b = {from[2]};
    void* gray = to[0];
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const D value = Gray<S, D>::of(r[i], g[i], b[i]);
        if constexpr (std::is_same_v<D, bool>)
            ownStore<uint8_t>(gray, i, value ? 0xFF : 0);
        else
            ownStore<D>(gray, i, value);
    }
}

#if defined(__AVX2__)
// Sums of half of the bytes, as words.
template <class Unpack>
OWN_INLINE __m256i sumOf(__m256i r, __m256i g, __m256i b, Unpack unpack)
{
    const __m256i zero = _mm256_setzero_si256();
    auto times = [=](__m256i bytes, int16_t weight) {
        return _mm256_mullo_epi16(unpack(bytes, zero), _mm256_set1_epi16(weight));
    };
    return _mm256_add_epi16(_mm256_add_epi16(times(r, 54), times(g, 183)), times(b, 18));
}

void bytesToGray(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    for (ptrdiff_t i = 0; i < n; i += 32) {
        const __m256i r = vectorOf(from[0], i), g = vectorOf(from[1], i), b = vectorOf(from[2], i);
        const __m256i low = sumOf(r, g, b, [](__m256i v, __m256i w) { return _mm256_unpacklo_epi8(v, w); });
        const __m256i high = sumOf(r, g, b, [](__m256i v, __m256i w) { return _mm256_unpackhi_epi8(v, w); });
        storeVector(to[0], i, _mm256_packus_epi16(_mm256_srli_epi16(low, 8), _mm256_srli_epi16(high, 8)));
    }
}

// The bytes of eight pixels as the first, the second twice, and the third: half of them lie from the first byte on,
// half end with the last.
template <int step>
OWN_INLINE __m256i eightPixels(const uint8_t* pixels)
{
    constexpr int late = step == 3 ? 4 : 0;  // where the second half begins in its sixteen bytes
    auto* first = reinterpret_cast<const __m128i*>(pixels);
    auto* second = reinterpret_cast<const __m128i*>(pixels + 8 * step - 16);
    constexpr auto take = [](int i, int from) { return char(i / 4 * step + (i % 4 + 1) / 2 + from); };
    const __m256i places =
        _mm256_setr_epi8(take(0, 0), take(1, 0), take(2, 0), take(3, 0), take(4, 0), take(5, 0), take(6, 0), take(7, 0),
                         take(8, 0), take(9, 0), take(10, 0), take(11, 0), take(12, 0), take(13, 0), take(14, 0),
                         take(15, 0), take(0, late), take(1, late), take(2, late), take(3, late), take(4, late),
                         take(5, late), take(6, late), take(7, late), take(8, late), take(9, late), take(10, late),
                         take(11, late), take(12, late), take(13, late), take(14, late), take(15, late));
    return _mm256_shuffle_epi8(_mm256_loadu2_m128i(second, first), places);
}

// Grey of 32 pixels. The weight of green is divided, so that all are signed bytes and no sum of two products leaves a
// word.
template <int step>
OWN_INLINE void grayOf32(const uint8_t* pixels, __m256i weights, uint8_t* gray)
{
    __m256i sums[4];
    for (int k = 0; k < 4; ++k)
        sums[k] = _mm256_madd_epi16(_mm256_maddubs_epi16(eightPixels<step>(pixels + k * 8 * step), weights),
                                    _mm256_set1_epi16(1));
    const __m256i low = _mm256_srli_epi16(_mm256_packus_epi32(sums[0], sums[1]), 8);
    const __m256i high = _mm256_srli_epi16(_mm256_packus_epi32(sums[2], sums[3]), 8);
    const __m256i order = _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(gray),
                        _mm256_permutevar8x32_epi32(_mm256_packus_epi16(low, high), order));
}

template <int step>
void pixelsToGray(const uint8_t* pixels, bool isBgr, uint8_t* gray, ptrdiff_t n)
{
    const int32_t word = isBgr ? 18 | 110 << 8 | 73 << 16 | 54 << 24 : 54 | 73 << 8 | 110 << 16 | 18 << 24;
    const __m256i weights = _mm256_set1_epi32(word);
    if (n < 32) {
        for (ptrdiff_t i = 0; i < n; ++i, pixels += step)
            gray[i] = Gray<uint8_t, uint8_t>::of(pixels[isBgr ? 2 : 0], pixels[1], pixels[isBgr ? 0 : 2]);
        return;
    }
    for (ptrdiff_t i = 0; i < n - 32; i += 32)
        grayOf32<step>(pixels + i * step, weights, gray + i);
    grayOf32<step>(pixels + (n - 32) * step, weights, gray + n - 32);
}

void bytePixelsToGray(const void* pixels, ptrdiff_t step, bool isBgr, void* gray, ptrdiff_t n)
{
    auto* from = static_cast<const uint8_t*>(pixels);
    auto* to = static_cast<uint8_t*>(gray);
    step == 3 ? pixelsToGray<3>(from, isBgr, to, n) : pixelsToGray<4>(from, isBgr, to, n);
}
#else
constexpr OwnTripleStep bytesToGray = toGray<uint8_t, uint8_t>;
constexpr OwnGrayPixels bytePixelsToGray = nullptr;
#endif

// ---- To colour ----------------------------------------------------------------------------------------------------

template <class T>
struct Colour {
    uint32_t weight;
    int shift;
    Colour(const OwnGrayWeights& weights, int i) : weight(weights.weights[i]), shift(weights.shift) {}
    T operator()(T gray) const { return T(gray * weight >> shift); }
};

// The shift is the number of a value's bits, so that words are wide enough.
template <>
struct Colour<uint8_t> {
    uint16_t weight;
    Colour(const OwnGrayWeights& weights, int i) : weight(uint16_t(weights.weights[i])) {}
    uint8_t operator()(uint8_t gray) const { return uint8_t(uint16_t(gray * weight) >> 8); }
};

template <>
struct Colour<int32_t> {
    uint32_t weight;
    Colour(const OwnGrayWeights& weights, int i) : weight(weights.weights[i]) {}
    int32_t operator()(int32_t gray) const
    {
        const auto low = int32_t(weight * (uint32_t(gray) & 0xFFFF));
        return int32_t(uint32_t(low >> 15) + 2 * weight * uint32_t(gray >> 16));
    }
};

// A bit, which comes as 0 or 1.
template <>
struct Colour<bool> {
    uint8_t value;
    Colour(const OwnGrayWeights& weights, int i) : value(Colour<uint8_t>(weights, i)(255)) {}
    uint8_t operator()(uint8_t bit) const { return bit ? value : 0; }
};

template <class T>
void toColour(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    using Value = std::conditional_t<std::is_same_v<T, bool>, uint8_t, T>;
    const OwnValues<Value> gray = {from[0]};
    for (int i = 0; i < 3; ++i) {
        const Colour<T> colour(*static_cast<const OwnGrayWeights*>(scalar), i);
        void* row = to[i];
#pragma GCC ivdep
        for (ptrdiff_t k = 0; k < n; ++k)
            ownStore<Value>(row, k, colour(gray[k]));
    }
}

}  // namespace

extern const OwnGraySteps ownGraySteps;
const OwnGraySteps ownGraySteps = {
    .toGray =
        {
            {},
            {toGray<uint8_t, bool>, bytesToGray, nullptr, toGray<uint8_t, uint16_t>},
            {},
            {toGray<uint16_t, bool>, toGray<uint16_t, uint8_t>, nullptr, toGray<uint16_t, uint16_t>},
            {},
            {toGray<int32_t, bool>, toGray<int32_t, uint8_t>, nullptr, toGray<int32_t, uint16_t>},
        },
    .toColour = {toColour<bool>, toColour<uint8_t>, nullptr, toColour<uint16_t>, nullptr, toColour<int32_t>},
    .pixelsToGray = bytePixelsToGray,
};

}  // namespace OWN_ISA
