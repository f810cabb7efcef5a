// For the kernel sources of error diffusion: the filters, and what a call is about.
#pragma once

#include "ownquantise.h"

namespace OWN_ISA {
namespace {

// ---- Filters ------------------------------------------------------------------------------------------------------

// sum + error * weight
inline double withError(double sum, double error, double weight)
{
    return sum + error * weight;
}

// A value with what it takes over from its neighbours. e0(k) is the error k pixels beside it in its row, e1(k) in the
// row above and e2(k) in the one above that. The order of the additions is part of the result.
struct FloydSteinberg {
    static constexpr int rowsAbove = 1;

    template <class Real, class E2, class E1, class E0>
    static Real withErrors(Real value, E2, E1 e1, E0 e0)
    {
        Real sum = withError(withError(e1(1) * 3.0, e1(0), 5.0) + e1(-1), e0(-1), 7.0);
        return withError(value, sum, 0.0625);  // a power of two is exact, too
    }
};

template <int outer, int middle, int inner, int all>
struct TwoRowsAbove {
    static constexpr int rowsAbove = 2;

    template <class Real, class E2, class E1, class E0>
    static Real withErrors(Real value, E2 e2, E1 e1, E0 e0)
    {
        constexpr double a = outer, b = middle, c = inner;
        Real sum = withError(withError(withError(e2(-2), e2(-1), a), e2(0), b), e2(1), a) + e2(2);
        sum = withError(withError(withError(sum, e1(-2), a), e1(-1), b), e1(0), c);
        sum = withError(withError(sum, e1(1), b), e1(2), a);
        return value + withError(withError(sum, e0(-2), b), e0(-1), c) * double(1.0f / all);
    }
};
using Jarvis = TwoRowsAbove<3, 5, 7, 48>;
using Stucki = TwoRowsAbove<2, 4, 8, 42>;

// ---- The call -----------------------------------------------------------------------------------------------------

struct Task {
    const OwnDither& dither;
    const OwnGeometry& src;
    const OwnGeometry& dst;
    uint32_t channel, y;  // the first row's place in the noise

    const uint8_t* source(ptrdiff_t x, ptrdiff_t row) const { return valueAt(src, dither.from, 0, x, row); }
    uint8_t* target(ptrdiff_t x, ptrdiff_t row) const { return valueAt(dst, dither.to, 0, x, row); }
    double threshold(ptrdiff_t x, ptrdiff_t row) const
    {
        if (!dither.noise.values)
            return dither.threshold;
        return noiseAt(dither.noise, channel + uint32_t(x), 2 * (y + uint32_t(row)) + uint32_t(x));
    }
};

// The free row becomes that of the row before.
void turn(OwnErrorRows& errors)
{
    float* made = errors.rows[2];
    errors.rows[2] = errors.rows[1];
    errors.rows[1] = errors.rows[0];
    errors.rows[0] = made;
}

}  // namespace
}  // namespace OWN_ISA
