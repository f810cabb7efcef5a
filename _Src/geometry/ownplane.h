// Maps of the plane: rectangles, quadrangles, and the coefficients that carry one to the other.
//
//   ownImageRect, ownBareRect                    the region as a rectangle of pixel centres
//   ownAffineQuad, ...                           the corners of a rectangle through a map
//   ownTestQuad, ownIsParallelogram              what a quadrangle is good for
//   ownSolveAffine, ...                          the coefficients that send a rectangle to a quadrangle
//   ownInvertAffine, ...                         those that send the quadrangle back
//   ownWholeTurns, ownTurn                       angles in degrees
//
// Everything is in double precision. A quadrangle is eight numbers x, y of four points, which are the images of the
// left top, right top, right bottom and left bottom corner.
#pragma once

#include "../core/ownmath.h"
#include "orv/core.h"

// Inclusive ends. In 64 bits, since a bare region may end beyond the range of its fields.
struct OwnPlaneRect {
    int64_t left, top, right, bottom;

    // The spans, one less than the numbers of pixels.
    int32_t w() const { return int32_t(right - left); }
    int32_t h() const { return int32_t(bottom - top); }
    bool hasArea() const { return right > left && bottom > top; }
};

// False if nothing of the region lies in the image; of a bare region, whose image is not known, above and to the left
// of which nothing is either. `roi` may be NULL, which is no region.
bool ownImageRect(const OrvImage& image, OwnPlaneRect& rect);
bool ownBareRect(const OrvROI* roi, OwnPlaneRect& rect);

void ownAffineQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad);
void ownBilinearQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad);
void ownPerspectiveQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad);

enum class OwnQuadShape { degenerate, concave, convex };
OwnQuadShape ownTestQuad(const double* quad);
bool ownIsParallelogram(const double* quad);

// The rectangle must have an area. The affine maps take the first three points only.
void ownSolveAffine(const OwnPlaneRect& rect, const double* quad, double* coeffs);
void ownSolveBilinear(const OwnPlaneRect& rect, const double* quad, double* coeffs);
void ownSolvePerspective(const OwnPlaneRect& rect, const double* quad, double* coeffs);

// These answer true if the corners of the quadrangle go around it in the sense of a rectangle's.
bool ownInvertAffine(const OwnPlaneRect& rect, const double* quad, double* coeffs);
// The coefficients are homogeneous: no determinant divides them.
bool ownInvertPerspective(const OwnPlaneRect& rect, const double* quad, double* coeffs);

// The way back through a bilinear map, which is none itself. With B, C, D the linear functions b, c, d of a point, each
// the factors of x and y and a constant, the position in the rectangle is
//
//   general          u = B - sqrt(B B - C), or + with `upperRoot`; x = u + f, y = u e + D
//   parallelRows     x = C / B + f, y = D            opposite edges are parallel: those that come from rows
//   parallelColumns  x = C, y = D / B + f            those that come from columns
//   affine           x = C, y = D                    all
struct OwnBilinearInverse {
    enum Kind { general, parallelRows, parallelColumns, affine } kind;
    double b[3], c[3], d[3];
    double e, f;
    bool upperRoot;
};
bool ownInvertBilinear(const OwnPlaneRect& rect, const double* quad, OwnBilinearInverse& inverse);

// An angle in degrees without whole turns, from 0 up to 360.
double ownWholeTurns(double angle);

// Of an angle in degrees without whole turns.
OwnSineCosine ownTurn(double angle);
