// Fourier transforms in double precision, and packed spectra as they are told, for tests.
#pragma once

#include <complex>
#include <cstdint>
#include <vector>

namespace fourier {

using Complex = std::complex<double>;
using Real = std::vector<double>;       // width * height values, row by row
using Spectrum = std::vector<Complex>;  // the same

// sum of x[n] exp(sign 2 pi i k n / N), in place, along rows and columns. Nothing is divided.
void transform(Spectrum& x, int width, int height, int sign);

// Where a value of a packed spectrum belongs: part `part` (0 real, 1 imaginary) of F(v, u).
struct Place {
    int v, u, part;
};
Place placeOf(int x, int y, int width, int height);

Real pack(const Spectrum& f, int width, int height);
Spectrum unpack(const Real& packed, int width, int height);

// The packed spectrum of a real image, and the real image of a packed spectrum.
Real realToPacked(const Real& image, int width, int height, int sign);
Real packedToReal(const Real& packed, int width, int height, int sign);

// The root of the mean square of the differences, relative to that of the expected values.
double relativeError(const Real& got, const Real& expected);

}  // namespace fourier
