/* orv/geometry.h - operations that move pixels to other places: warps, maps, scaling, mirrors, and their coefficients. */
#ifndef ORV_GEOMETRY_H
#define ORV_GEOMETRY_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How a value between pixels is made of those around it, as the argument `interpolate`. */
enum {
    ORV_INTER_NN = 0,     /* nearest neighbour */
    ORV_INTER_LINEAR = 1, /* bilinear, of two by two pixels */
    ORV_INTER_CUBIC = 2,  /* bicubic: Lagrange polynomials through four by four pixels */
    ORV_INTER_SUPER = 3,  /* the mean of an area, where an image is made smaller; not for warps and maps */
    ORV_BLEND_EDGE = 16   /* added to one of the above: blends the edge of a quadrangle into what was there before */
};

/* ---- Maps of the plane -------------------------------------------------------------------------------------------- */

/* Pixel centres stand at integer coordinates, x along a row and y from row to stored row. A region of `width` by `height` pixels
 * at (xOffset, yOffset) is the rectangle
 *
 *     left = xOffset, top = yOffset, right = xOffset + width - 1, bottom = yOffset + height - 1
 *
 * cut at the image's edges. A bare region, whose image is not known, is cut at 0 only. Three kinds of maps carry it elsewhere;
 * their coefficients are rows of doubles:
 *
 *     affine        x' = c00 x + c01 y + c02                  y' = c10 x + c11 y + c12                  2 rows of 3
 *     bilinear      x' = c00 x y + c01 x + c02 y + c03        y' = c10 x y + c11 x + c12 y + c13        2 rows of 4
 *     perspective   x' = (c00 x + c01 y + c02) / w            y' = (c10 x + c11 y + c12) / w            3 rows of 3
 *                   w = c20 x + c21 y + c22
 *
 * Perspective coefficients are homogeneous: c22 need not be 1. A quadrangle is four points x, y: the images of (left, top),
 * (right, top), (right, bottom) and (left, bottom), in this order. It is usable if it is convex, whichever way its corners
 * go around it; three corners in a line make it degenerate, without any tolerance.
 *
 * Each function has a form for an image, which uses its region, and a form with the suffix ROI for a bare region. Nothing is
 * written after a report. Arrays that a function only reads stay as they are.
 *
 * The maps and their inversion: G. Wolberg, "Digital Image Warping", IEEE Computer Society Press (1990), chapter 3;
 * P. S. Heckbert, "Fundamentals of Texture Mapping and Image Warping", University of California, Berkeley (1989). */

/* Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs` NULL;
 * `quad` NULL). */
ORV_API(void) orvGetAffineQuad(OrvImage* image, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetAffineQuadROI(OrvROI* roi, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetBilinearQuad(OrvImage* image, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetBilinearQuadROI(OrvROI* roi, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetPerspectiveQuad(OrvImage* image, double coeffs[3][3], double quad[4][2]);
ORV_API(void) orvGetPerspectiveQuadROI(OrvROI* roi, double coeffs[3][3], double quad[4][2]);

/* The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.
 *
 * Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status is
 * negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL). */
ORV_API(void) orvGetAffineBound(OrvImage* image, double coeffs[2][3], double bound[2][2]);
ORV_API(void) orvGetAffineBoundROI(OrvROI* roi, double coeffs[2][3], double bound[2][2]);
ORV_API(void) orvGetBilinearBound(OrvImage* image, double coeffs[2][4], double bound[2][2]);
ORV_API(void) orvGetBilinearBoundROI(OrvROI* roi, double coeffs[2][4], double bound[2][2]);
ORV_API(void) orvGetPerspectiveBound(OrvImage* image, double coeffs[3][3], double bound[2][2]);
ORV_API(void) orvGetPerspectiveBoundROI(OrvROI* roi, double coeffs[3][3], double bound[2][2]);

/* Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An affine map
 * leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle degenerate;
 * concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel wide or
 * high). */
ORV_API(void) orvGetAffineTransform(OrvImage* image, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetAffineTransformROI(OrvROI* roi, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetBilinearTransform(OrvImage* image, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetBilinearTransformROI(OrvROI* roi, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetPerspectiveTransform(OrvImage* image, double coeffs[3][3], double quad[4][2]);
ORV_API(void) orvGetPerspectiveTransformROI(OrvROI* roi, double coeffs[3][3], double quad[4][2]);

/* Adds to `*xShift` and `*yShift` what makes orvRotate turn about the point (xCenter, yCenter). They come in as the shift that
 * is wanted besides, 0 for none. `angle` is in degrees; whole turns do not count, and for 90, 180 and 270 the sums are exact.
 *
 * Reports ORV_STATUS_BAD_ARG (`xShift` or `yShift` NULL). */
ORV_API(void) orvGetRotateShift(double xCenter, double yCenter, double angle, double* xShift, double* yShift);

#ifdef __cplusplus
}
#endif

#endif
