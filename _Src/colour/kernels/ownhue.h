// For kernel sources: hue, saturation and value or lightness, in double precision at every depth.
//
// The method is that of A. R. Smith, "Color gamut transform pairs", Computer Graphics 12 (1978), in the form of J. D.
// Foley et al., "Computer Graphics: Principles and Practice" (1990), chapter 13.
#pragma once

#include "ownsteps.h"

namespace OWN_ISA {

// Numbers side by side. What follows is written for these and, where a table is made at compile time, for one number.
using Doubles = Vector<double>;
constexpr ptrdiff_t doubleLanes = vectorBytes / ptrdiff_t(sizeof(double));

OWN_INLINE Doubles larger(Doubles a, Doubles b)
{
#if defined(__AVX2__)
    return _mm256_max_pd(a, b);
#else
    return a > b ? a : b;
#endif
}
OWN_INLINE constexpr double lesser(double a, double b)
{
    return a < b ? a : b;
}
OWN_INLINE Doubles lesser(Doubles a, Doubles b)
{
#if defined(__AVX2__)
    return _mm256_min_pd(a, b);
#else
    return a < b ? a : b;
#endif
}

OWN_INLINE constexpr double toward0(double x)
{
    return double(int32_t(x));
}
OWN_INLINE Doubles toward0(Doubles x)
{
    typedef int32_t Whole __attribute__((vector_size(doubleLanes * 4)));
    return __builtin_convertvector(__builtin_convertvector(x, Whole), Doubles);
}

// x / divisor. With fused steps it needs no division: the quotient is the product with the inverse, and what this lacks
// for being rounded is known to far more digits than the quotient by so small a number can need.
template <int64_t divisor>
struct Inverse {
    static constexpr double b = double(divisor), inverse = 1 / b;
    static constexpr double high = double(float(inverse)), low = inverse - high;  // b times either is exact
    static constexpr double rest = ((1 - high * b) - low * b) / b;
    static_assert(divisor < 1 << 24);
};

template <int64_t divisor>
OWN_INLINE constexpr double dividedBy(double x)
{
#if defined(OWN_FUSES)
    if (!__builtin_is_constant_evaluated())
        return __builtin_fma(x, Inverse<divisor>::inverse, x * Inverse<divisor>::rest);
#endif
    return x / double(divisor);
}

template <int64_t divisor>
OWN_INLINE Doubles dividedBy(Doubles x)
{
#if defined(OWN_FUSES)
    return _mm256_fmadd_pd(x, _mm256_set1_pd(Inverse<divisor>::inverse), x * Inverse<divisor>::rest);
#else
    return x / double(divisor);
#endif
}

// The values of a depth: 0 to full, less an offset at 32S.
template <class T>
struct HueRange {
    static constexpr int64_t full = OwnRange<T>::highest - OwnRange<T>::lowest;
    static constexpr double offset = double(-OwnRange<T>::lowest);
    static constexpr bool isSigned = OwnRange<T>::isSigned;

    // What results are before all but their low bits are dropped.
    using Whole = std::conditional_t<isSigned, int64_t, int32_t>;
};

constexpr ptrdiff_t hueBlock = OWN_TRIPLE_BLOCK;

// A row of a block of pixels as numbers, from which and to which the values of a depth are converted.
struct NumberRow {
    alignas(32) double numbers[hueBlock];

    template <class T>
    void load(const void* row, ptrdiff_t start)
    {
        for (ptrdiff_t i = 0; i < hueBlock; ++i) {
            numbers[i] = double(ownLoad<T>(row, start + i));
            if constexpr (HueRange<T>::isSigned)
                numbers[i] += HueRange<T>::offset;
        }
    }
    // Toward zero; the low bits are kept.
    template <class T>
    void store(void* row, ptrdiff_t start) const
    {
        typename HueRange<T>::Whole whole[hueBlock];
        for (ptrdiff_t i = 0; i < hueBlock; ++i)
            whole[i] = typename HueRange<T>::Whole(numbers[i]);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < hueBlock; ++i)
            ownStore<T>(row, start + i, T(whole[i]));
    }
    Doubles at(ptrdiff_t i) const
    {
        return vectorAt<double>(numbers, i);
    }
    void set(ptrdiff_t i, Doubles values)
    {
        __builtin_memcpy(numbers + i, &values, sizeof values);
    }
};

// ---- There --------------------------------------------------------------------------------------------------------

// `isHls`: HLS, otherwise HSV.
template <class T, bool isHls>
void rgbToHue(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    using Range = HueRange<T>;
    constexpr double full = double(Range::full);
    // At 32S the results of HSV end half a step lower.
    constexpr double offset = Range::isSigned && !isHls ? Range::offset + 0.5 : Range::offset;
    const Doubles zero = {}, one = zero + 1;
    const auto stored = [](Doubles x) { return Range::isSigned ? x - offset : x; };
    NumberRow red, green, blue;
    for (ptrdiff_t start = 0; start < n; start += hueBlock) {
        red.load<T>(from[0], start);
        green.load<T>(from[1], start);
        blue.load<T>(from[2], start);
        for (ptrdiff_t i = 0; i < hueBlock; i += doubleLanes) {
            const Doubles r = red.at(i), g = green.at(i), b = blue.at(i);
            const Doubles most = larger(larger(r, g), b), least = lesser(lesser(r, g), b), chroma = most - least;
            const auto isRed = r == most, isGreen = g == most;
            const Doubles difference = isRed ? g - b : isGreen ? b - r : r - g;
            const Doubles base = isRed ? zero : isGreen ? zero + 120 : zero + 240;
            // Grey has hue 0.
            const Doubles turn = 60 * difference / larger(chroma, one) + base;
            const Doubles degrees = turn < zero ? turn + 360 : turn;
            const Doubles sum = most + least;
            const Doubles divisor = isHls ? lesser(sum, 2 * full - sum) : most;
            red.set(i, stored(dividedBy<360>(degrees * full)));
            green.set(i, stored(chroma / larger(divisor, one) * full));
            blue.set(i, stored(isHls ? 0.5 * sum : most));
        }
        red.store<T>(to[0], start);
        green.store<T>(to[isHls ? 2 : 1], start);
        blue.store<T>(to[isHls ? 1 : 2], start);
    }
}

// ---- Back ---------------------------------------------------------------------------------------------------------

// Where a hue stands in HSV. Sectors begin half a sector late: before that the value between leaves the range of the
// depth, and its low bits remain.
template <class N>
struct HsvSector {
    N sector, weight;  // the weight of the saturation in the value between

    constexpr HsvSector(N degrees) : sector(), weight()
    {
        const N position = dividedBy<60>(degrees >= N{} + 360 ? N{} : degrees);
        sector = toward0(position - 0.5);
        const N fraction = position - sector;
        const auto isOdd = (sector == N{} + 1) | (sector == N{} + 3) | (sector == N{} + 5);
        weight = isOdd ? fraction : 1 - fraction;
    }
};

// Where a hue stands in HLS.
template <class N>
struct HlsSector {
    N sector, weight;  // the weight of the largest value in the value between, times 60

    constexpr HlsSector(N degrees) : sector(), weight()
    {
        const N five = N{} + 5;
        sector = lesser(toward0(dividedBy<60>(degrees)), five);
        // The angles of red, green and blue, each of which rises or falls in two of the sectors.
        const N red = degrees + 120, blue = degrees - 120;
        const auto isBlue = (sector == N{} + 2) | (sector == five);
        const N angle = sector == N{} + 1 ? red : sector == N{} + 4 ? red - 360 : isBlue ? blue : degrees;
        const auto isOdd = (sector == N{} + 1) | (sector == N{} + 3) | (sector == five);
        weight = isOdd ? 240 - angle : angle;
    }
};

// What a hue, a saturation and V or L make: one channel of a colour has the most, one the least and one what is
// between.
template <class N>
struct HueValues {
    N sector, most, between, least;
};

template <class T, class N>
OWN_INLINE HueValues<N> hsvValues(N hue, N saturation, N value)
{
    const HsvSector<N> place(dividedBy<HueRange<T>::full>(hue * 360));
    saturation = dividedBy<HueRange<T>::full>(saturation);
    const auto stored = [](N x) { return HueRange<T>::isSigned ? x - HueRange<T>::offset - 0.5 : x; };
    return {place.sector, value, stored(value * (1 - saturation * place.weight)), stored(value * (1 - saturation))};
}

template <class T, class N>
OWN_INLINE HueValues<N> hlsValues(N hue, N lightness, N saturation)
{
    constexpr double full = double(HueRange<T>::full);
    const HlsSector<N> place(dividedBy<HueRange<T>::full>(hue * 360));
    lightness = dividedBy<HueRange<T>::full>(lightness);
    saturation = dividedBy<HueRange<T>::full>(saturation);
    const N dark = (1 + saturation) * lightness, light = lightness + saturation - lightness * saturation;
    N most = lesser(dark, light);
    if constexpr (HueRange<T>::isSigned)  // at other depths the right one is the lesser by far
        most = lightness <= N{} + 0.5 ? dark : light;
    const N least = 2 * lightness - most;
    const N between = least + dividedBy<60>((most - least) * place.weight);
    const auto stored = [](N x) { return HueRange<T>::isSigned ? full * x - HueRange<T>::offset : full * x; };
    return {place.sector, stored(most), stored(between), stored(least)};
}

// The channels of a colour. Bits are selected, which compilers make vectors of.
template <class T>
OWN_INLINE Triple<T> inSector(T sector, T most, T between, T least)
{
    const auto among = [=](int a, int b) { return T(-T(sector == a) | -T(sector == b)); };
    const auto chosen = [=](T isMost, T isBetween) {
        return T((most & isMost) | (between & isBetween) | (least & ~(isMost | isBetween)));
    };
    return {chosen(among(0, 5), among(1, 4)), chosen(among(1, 2), among(0, 3)), chosen(among(3, 4), among(2, 5))};
}

template <class T, bool isHls>
void hueToRgb(const void* const* from, void* const* to, ptrdiff_t n, const void*)
{
    const void *bases = from[isHls ? 1 : 2], *saturations = from[isHls ? 2 : 1];
    void *reds = to[0], *greens = to[1], *blues = to[2];
    NumberRow hue, saturation, base, sector;
    T mosts[hueBlock], betweens[hueBlock], leasts[hueBlock], sectors[hueBlock];
    for (ptrdiff_t start = 0; start < n; start += hueBlock) {
        hue.load<T>(from[0], start);
        saturation.load<T>(saturations, start);
        base.load<T>(bases, start);
        for (ptrdiff_t i = 0; i < hueBlock; i += doubleLanes) {
            const HueValues<Doubles> values = isHls ? hlsValues<T>(hue.at(i), base.at(i), saturation.at(i))
                                                    : hsvValues<T>(hue.at(i), saturation.at(i), base.at(i));
            sector.set(i, values.sector);
            hue.set(i, values.between);
            saturation.set(i, values.least);
            base.set(i, values.most);
        }
        sector.store<T>(sectors, 0);
        hue.store<T>(betweens, 0);
        saturation.store<T>(leasts, 0);
        base.store<T>(mosts, 0);
        for (ptrdiff_t i = 0; i < hueBlock; ++i) {
            const T raw = ownLoad<T>(bases, start + i);
            // Grey is the value itself, which at other depths comes of it.
            if constexpr (HueRange<T>::isSigned) {
                const bool isGrey = ownLoad<T>(saturations, start + i) == OwnRange<T>::lowest;
                mosts[i] = isGrey ? raw : mosts[i];
                betweens[i] = isGrey ? raw : betweens[i];
                leasts[i] = isGrey ? raw : leasts[i];
            }
            if constexpr (!isHls)  // V is not computed on
                mosts[i] = raw;
        }
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < hueBlock; ++i) {
            const Triple<T> colour = inSector(sectors[i], mosts[i], betweens[i], leasts[i]);
            ownStore<T>(reds, start + i, colour.x);
            ownStore<T>(greens, start + i, colour.y);
            ownStore<T>(blues, start + i, colour.z);
        }
    }
}

}  // namespace OWN_ISA
