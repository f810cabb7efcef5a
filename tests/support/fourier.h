// Fourier transforms in double precision, and packed spectra by their definition, for tests.
#pragma once

#include <complex>

#include "model.h"

namespace fourier {

using Real = std::vector<double>;                    // width * height values, row by row
using Spectrum = std::vector<std::complex<double>>;  // the same

// Where a value of a packed spectrum belongs: part `part` (0 real, 1 imaginary) of F(v, u).
struct Place {
    int v, u, part;
};
Place placeOf(int x, int y, int width, int height);

Real pack(const Spectrum& f, int width, int height);
Spectrum unpack(const Real& packed, int width, int height);

// A transform of the library, and what it makes of the values of an image.
struct Function {
    const char* name;
    void(ORV_CALL* call)(OrvImage* srcImage, OrvImage* dstImage, int32_t flags);
    Real (*model)(const Real& values, int width, int height, int32_t flags);
};
extern const Function functions[2];

// The root of the mean square of the differences, relative to that of the expected values.
double relativeError(const Real& got, const Real& expected);

// The values of one channel, in an area or all.
Real valuesOf(const Picture& picture, const Area& area, int c);
Real valuesOf(const Picture& picture);

// Fails the test unless both functions make of the image's values, which has one channel, what they should, with a
// relative error below the bound.
void expectAccurate(Picture& src, uint32_t dstDepth, int32_t flags, double bound);

// Fails the test unless a picture holds in its region's first `width` by `height` pixels what is expected of its
// processed channels, as far as the depth goes, and everywhere else what it was made with.
void expectStored(const Picture& picture, int width, int height, const std::vector<Real>& expected, double tolerance);

}  // namespace fourier
