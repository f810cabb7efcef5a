// Fourier transforms in double or single precision, for the families that need them. The transforms themselves are
// kernels (kernels/ownfourier.h).
//
//   ownRoot                a root of unity
//   ownFourierTable        the table of lines of a length
//   OwnFourierPlane        the transform of a plane of complex values, of sizes that are powers of two
//   ownCorrelationError    how far a correlation by such transforms can be off
#pragma once

#include "kernels/ownfourier.h"
#include "ownscratch.h"

// The cosine and the sine of j / n turns. What is a whole number or a half is exactly that.
struct OwnRoot {
    double cos, sin;
};
OwnRoot ownRoot(int64_t j, int64_t n);

// The table of a length of 1 or more, in one block, which orvFree releases. NULL if there is no memory.
template <class T>
OwnFourierTable<T>* ownFourierTable(int32_t length);

// Transforms planes of complex values in place, all of one size: powers of two from OwnFourierPlane::least on. The
// parts lie in two arrays, row after row without gaps. Two real images, say two parts of one or two channels, go
// through as the parts of one plane; a correlation of both with a template is then
//
//   OwnFourierPlane plane(width, height);           // good if plane.ready()
//   plane.transform(re, im, 1);                     // of the images, which are 0 outside
//   plane.transform(templateRe, templateIm, 1);     // once a template: its values in templateRe, 0 in templateIm
//   ...                                             // each value times the conjugate of the template's
//   plane.transform(re, im, -1);                    // and divided by width * height: both correlations,
//                                                   // around the edges
//
// Integers come back by rounding, where ownCorrelationError is below a half.
struct OwnFourierPlane {
    static constexpr int32_t least = 4;

    int32_t width, height;
    OwnScratch<OwnFourierTable<double>> rows, columns;
    OwnScratch<double> block;

    OwnFourierPlane(int32_t width, int32_t height);

    bool ready() const { return rows && columns && block; }

    // With exp(-2 pi i ...), or exp(2 pi i ...) for a negative direction. Neither divides.
    void transform(double* re, double* im, int32_t direction);
};

// The bound of the error of each value of a correlation by transforms of width * height = 2^log2 values: the roots of
// the sums of squares of what is transformed, real and imaginary parts together, are the norms. C. Percival, "Rapid
// multiplication modulo the sum and difference of highly composite numbers", Math. Comp. 72, 2003: 3 log2 additions and
// multiplications by roots, and one product, each with its rounding; a root may be off by the last bit of each part.
constexpr double ownCorrelationError(double norm, double templateNorm, int32_t log2)
{
    constexpr double rounding = 0x1p-53;
    return norm * templateNorm * (14 * log2 + 3) * rounding * 1.01;
}
