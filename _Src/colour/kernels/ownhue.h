// For kernel sources: hue, saturation and value or lightness, in double precision at every depth.
//
// The method is that of A. R. Smith, "Color gamut transform pairs", Computer Graphics 12 (1978), in the form of J. D. Foley
// et al., "Computer Graphics: Principles and Practice" (1990), chapter 13.
#pragma once

#include "ownsteps.h"

namespace OWN_ISA {

// x / divisor. With fused steps it needs no division: the quotient is the product with the inverse, and what this lacks for
// being rounded is known to far more digits than the quotient by so small a number can need.
template <int64_t divisor>
OWN_INLINE constexpr double dividedBy(double x)
{
#if defined(__FMA__)
    if (!__builtin_is_constant_evaluated()) {
        static_assert(divisor < 1 << 24);
        constexpr double b = double(divisor), inverse = 1 / b;
        constexpr double high = double(float(inverse)), low = inverse - high;  // b times either is exact
        constexpr double rest = ((1 - high * b) - low * b) / b;
        return __builtin_fma(x, inverse, x * rest);
    }
#endif
    return x / double(divisor);
}

// The values of a depth: 0 to full, less an offset at 32S.
template <class T>
struct HueRange {
    static constexpr int64_t full = OwnRange<T>::highest - OwnRange<T>::lowest;
    static constexpr double offset = double(-OwnRange<T>::lowest);

    static double number(T value) { return double(value) + offset; }
    // A number toward zero, of which the low bits are kept.
    static T low(double x)
    {
        if constexpr (sizeof(T) == 4)
            return T(int64_t(x));
        else
            return T(int32_t(x));
    }
};

// Largest and smallest value of a colour, and its hue in degrees.
struct Hue {
    double most, least, degrees;

    Hue(double r, double g, double b)
    {
        most = r > g ? r : g;
        most = b > most ? b : most;
        least = r < g ? r : g;
        least = b < least ? b : least;
        const bool isRed = r == most, isGreen = g == most;
        const double difference = isRed ? g - b : isGreen ? b - r : r - g;
        const double base = isRed ? 0 : isGreen ? 120 : 240;
        // Grey has hue 0.
        degrees = 60 * difference / (most == least ? 1 : most - least) + base;
        degrees = degrees < 0 ? degrees + 360 : degrees;
    }
};

template <class T>
struct Rgb2Hsv {
    using Source = T;
    using Result = T;
    using Range = HueRange<T>;
    explicit Rgb2Hsv(const void*) {}
    Triple<T> operator()(const Triple<T>& v) const
    {
        // At 32S the results end half a step lower.
        constexpr double full = double(Range::full), offset = Range::offset > 0 ? Range::offset + 0.5 : 0;
        const Hue hue(Range::number(v.x), Range::number(v.y), Range::number(v.z));
        const double saturation = (hue.most - hue.least) / (hue.most == 0 ? 1 : hue.most);
        return {Range::low(dividedBy<360>(hue.degrees * full) - offset), Range::low(saturation * full - offset),
                Range::low(hue.most - offset)};
    }
};

template <class T>
struct Rgb2Hls {
    using Source = T;
    using Result = T;
    using Range = HueRange<T>;
    explicit Rgb2Hls(const void*) {}
    Triple<T> operator()(const Triple<T>& v) const
    {
        constexpr double full = double(Range::full), offset = Range::offset;
        const Hue hue(Range::number(v.x), Range::number(v.y), Range::number(v.z));
        const double sum = hue.most + hue.least, lightness = 0.5 * sum;
        double divisor = lightness <= full / 2 ? sum : 2 * full - sum;
        divisor = hue.most == hue.least ? 1 : divisor;
        const double saturation = (hue.most - hue.least) / divisor;
        return {Range::low(dividedBy<360>(hue.degrees * full) - offset), Range::low(lightness - offset),
                Range::low(saturation * full - offset)};
    }
};

// In each sector of the hues one channel has the largest value of the colour, one the smallest and one a value between.
template <class L>
OWN_INLINE Triple<L> inSector(int32_t sector, L most, L between, L least)
{
    return {
        sector == 0 || sector >= 5   ? most
        : sector == 1 || sector == 4 ? between
                                     : least,
        sector == 1 || sector == 2   ? most
        : sector == 0 || sector == 3 ? between
                                     : least,
        sector == 3 || sector == 4   ? most
        : sector == 2 || sector >= 5 ? between
                                     : least,
    };
}

// Where a hue stands in HSV. Sectors begin half a sector late: before that the value between leaves the range of the depth, and
// its low bits remain.
struct HsvSector {
    int32_t sector;
    double weight;  // of the saturation in the value between

    constexpr HsvSector(double degrees) : sector(0), weight(0)
    {
        degrees = degrees >= 360 ? 0 : degrees;
        const double position = dividedBy<60>(degrees);
        sector = int32_t(position - 0.5);
        const double fraction = position - sector;
        weight = sector & 1 ? fraction : 1 - fraction;
    }
};

template <class T>
struct Hsv2Rgb {
    using Source = T;
    using Result = T;
    using Range = HueRange<T>;
    explicit Hsv2Rgb(const void*) {}
    static T stored(double x)
    {
        if constexpr (Range::offset > 0)
            x = x - Range::offset - 0.5;
        return Range::low(x);
    }
    Triple<T> operator()(const Triple<T>& v) const
    {
        const HsvSector hue(dividedBy<Range::full>(Range::number(v.x) * 360));
        const double saturation = dividedBy<Range::full>(Range::number(v.y)), value = Range::number(v.z);
        const T between = stored(value * (1 - saturation * hue.weight)), least = stored(value * (1 - saturation));
        const bool isGrey = v.y == OwnRange<T>::lowest;
        return inSector(hue.sector, v.z, isGrey ? v.z : between, isGrey ? v.z : least);
    }
};

// Where a hue stands in HLS.
struct HlsSector {
    int32_t sector;
    double weight;  // of the largest value in the value between, times 60

    constexpr HlsSector(double degrees) : sector(0), weight(0)
    {
        sector = int32_t(dividedBy<60>(degrees));
        // The angles of red, green and blue, each of which rises or falls in two of the sectors.
        const double red = degrees + 120, blue = degrees - 120;
        const double angle = sector == 1 ? red : sector == 4 ? red - 360 : sector == 2 || sector >= 5 ? blue : degrees;
        weight = sector & 1 || sector >= 5 ? 240 - angle : angle;
    }
};

template <class T>
struct Hls2Rgb {
    using Source = T;
    using Result = T;
    using Range = HueRange<T>;
    explicit Hls2Rgb(const void*) {}
    Triple<T> operator()(const Triple<T>& v) const
    {
        constexpr double full = double(Range::full);
        const HlsSector hue(dividedBy<Range::full>(Range::number(v.x) * 360));
        const double lightness = dividedBy<Range::full>(Range::number(v.y));
        const double saturation = dividedBy<Range::full>(Range::number(v.z));
        const double most =
            lightness <= 0.5 ? (1 + saturation) * lightness : lightness + saturation - lightness * saturation;
        const double least = 2 * lightness - most;
        const double between = least + dividedBy<60>((most - least) * hue.weight);
        const auto stored = [=](double x) { return saturation == 0 ? v.y : Range::low(full * x - Range::offset); };
        return inSector(hue.sector, stored(most), stored(between), stored(least));
    }
};

}  // namespace OWN_ISA
