// Functions whose results are stored: the C library's differ between systems in the last bit, these do not. They use
// nothing but additions, multiplications and divisions in double precision, in a fixed order, and err by less than one
// unit in the last place (a test holds them against long double).
//
//   ownLog          the natural logarithm
//   ownSinOfTurns   the sine of a fraction of a turn
//   ownSineCosine   the sine and the cosine of an angle in radians
//
// Series by the methods of W. J. Cody and W. Waite, "Software Manual for the Elementary Functions" (Prentice-Hall,
// 1980): reduce the argument exactly, then sum few terms.
#pragma once

#include "ownvalue.h"

// z (c[0] + z (c[1] + z (c[2] + ...))), the even and the odd terms by themselves: neither waits for the other.
template <int count>
OWN_INLINE double ownSeries(double z, const double (&c)[count])
{
    const double square = z * z;
    double sums[2] = {0.0, 0.0};
#pragma GCC unroll 16
    for (int i = count - 1; i >= 0; --i)
        sums[i & 1] = c[i] + square * sums[i & 1];
    return z * (sums[0] + z * sums[1]);
}

// Of a positive normal number: with x = 2^k (1 + f), 1 + f between the roots of 1/2 and 2, and s = f / (2 + f),
// log(1 + f) = f - f^2 / 2 + s (f^2 / 2 + 2 s^2 / 3 + 2 s^4 / 5 + ...).
OWN_INLINE double ownLog(double x)
{
    constexpr double log2High = 0x1.62e42fee00000p-1,
                     log2Low = 0x1.a39ef35793c76p-33;  // of 2; times k the first is exact
    constexpr uint64_t rootOfHalf = 0x3FE6A09E667F3BCD;
    constexpr double terms[] = {2.0 / 3,  2.0 / 5,  2.0 / 7,  2.0 / 9,  2.0 / 11, 2.0 / 13,
                                2.0 / 15, 2.0 / 17, 2.0 / 19, 2.0 / 21, 2.0 / 23};
    uint64_t bits;
    __builtin_memcpy(&bits, &x, sizeof bits);
    const int64_t k = (int64_t(bits) - int64_t(rootOfHalf)) >> 52;
    bits -= uint64_t(k) << 52;
    double m;
    __builtin_memcpy(&m, &bits, sizeof m);
    const double f = m - 1.0, s = f / (2.0 + f), half = 0.5 * f * f, e = double(k);
    return e * log2High - ((half - (s * (half + ownSeries(s * s, terms)) + e * log2Low)) - f);
}

struct OwnSineCosine {
    double sin, cos;
};

// Of an angle of at most pi / 4 to either side: both series, so that no branch depends on the angle.
OWN_INLINE OwnSineCosine ownSineCosineNearZero(double x)
{
    constexpr double sineTerms[] = {-1.0 / 6,        1.0 / 120,        -1.0 / 5040,          1.0 / 362880,
                                    -1.0 / 39916800, 1.0 / 6227020800, -1.0 / 1307674368000, 1.0 / 355687428096000};
    constexpr double cosineTerms[] = {1.0 / 24,        -1.0 / 720,         1.0 / 40320,         -1.0 / 3628800,
                                      1.0 / 479001600, -1.0 / 87178291200, 1.0 / 20922789888000};
    const double z = x * x;
    return {x + x * ownSeries(z, sineTerms), 1.0 - (0.5 * z - z * ownSeries(z, cosineTerms))};
}

// sin(2 pi turns + little) for 0 <= turns < 1 and a correction below 1e-9.
OWN_INLINE double ownSinOfTurns(double turns, double little)
{
    constexpr double quarter = 1.5707963267948966, rest = 6.123233995736766e-17;  // of a turn
    const double quarters = turns * 4.0;
    const int nearest = int(quarters + 0.5);  // NOLINT(bugprone-incorrect-roundings)
    const double f = quarters - nearest;      // exact, at most a half
    const OwnSineCosine value = ownSineCosineNearZero(f * quarter + (f * rest + little));
    const double part = nearest & 1 ? value.cos : value.sin;
    return nearest & 2 ? -part : part;
}

// Of an angle from 0 to a few turns.
OWN_INLINE OwnSineCosine ownSineCosine(double radians)
{
    // Of a quarter turn; times a few thousand, the first two are exact.
    constexpr double high = 0x1.921fb54400000p+0, middle = 0x1.0b4611a600000p-34, low = 0x1.3198a2e037073p-69;
    const int nearest = int(radians * 0.6366197723675814 + 0.5);  // NOLINT(bugprone-incorrect-roundings)
    const double part = radians - nearest * high;
    const double x = part - nearest * middle;
    const double rest = ((part - x) - nearest * middle) - nearest * low;
    const OwnSineCosine near = ownSineCosineNearZero(x);
    const double s = near.sin + rest * near.cos, c = near.cos - rest * near.sin;
    switch (nearest & 3) {
    case 0: return {s, c};
    case 1: return {c, -s};
    case 2: return {-s, -c};
    default: return {-c, s};
    }
}
