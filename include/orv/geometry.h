/* orv/geometry.h - operations that move pixels to other places: warps, maps, scaling, mirrors, and their
 * coefficients. */
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

/* ---- Maps of the plane ------------------------------------------------------------------------------------------- */

/* Pixel centres stand at integer coordinates, x along a row and y from row to stored row. A region of `width` by
 * `height` pixels at (xOffset, yOffset) is the rectangle
 *
 *     left = xOffset, top = yOffset, right = xOffset + width - 1, bottom = yOffset + height - 1
 *
 * cut at the image's edges. A bare region, whose image is not known, is cut at 0 only. Three kinds of maps carry it
 * elsewhere; their coefficients are rows of doubles:
 *
 *     affine        x' = c00 x + c01 y + c02                  y' = c10 x + c11 y + c12                  2 rows of 3
 *     bilinear      x' = c00 x y + c01 x + c02 y + c03        y' = c10 x y + c11 x + c12 y + c13        2 rows of 4
 *     perspective   x' = (c00 x + c01 y + c02) / w            y' = (c10 x + c11 y + c12) / w            3 rows of 3
 *                   w = c20 x + c21 y + c22
 *
 * Perspective coefficients are homogeneous: c22 need not be 1. A quadrangle is four points x, y: the images of (left,
 * top), (right, top), (right, bottom) and (left, bottom), in this order. It is usable if it is convex, whichever way
 * its corners go around it; three corners in a line make it degenerate, without any tolerance.
 *
 * Each function has a form for an image, which uses its region, and a form with the suffix ROI for a bare region.
 * Nothing is written after a report. Arrays that a function only reads stay as they are.
 *
 * The maps and their inversion: G. Wolberg, "Digital Image Warping", IEEE Computer Society Press (1990), chapter 3;
 * P. S. Heckbert, "Fundamentals of Texture Mapping and Image Warping", University of California, Berkeley (1989). */

/* Puts the corners of the region through a map. A perspective map is not tested for a denominator w of 0.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (no region, or one that lies outside; `coeffs`
 * NULL; `quad` NULL). */
ORV_API(void) orvGetAffineQuad(OrvImage* image, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetAffineQuadROI(OrvROI* roi, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetBilinearQuad(OrvImage* image, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetBilinearQuadROI(OrvROI* roi, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetPerspectiveQuad(OrvImage* image, double coeffs[3][3], double quad[4][2]);
ORV_API(void) orvGetPerspectiveQuadROI(OrvROI* roi, double coeffs[3][3], double quad[4][2]);

/* The same, and then the box around the four corners: the point of the smallest x and y, and that of the largest.
 *
 * Reports what the matching function above reports, in its name; ORV_STATUS_BACKTRACE while the thread's stored status
 * is negative, be it from an earlier call; ORV_STATUS_BAD_ARG (`bound` NULL). */
ORV_API(void) orvGetAffineBound(OrvImage* image, double coeffs[2][3], double bound[2][2]);
ORV_API(void) orvGetAffineBoundROI(OrvROI* roi, double coeffs[2][3], double bound[2][2]);
ORV_API(void) orvGetBilinearBound(OrvImage* image, double coeffs[2][4], double bound[2][2]);
ORV_API(void) orvGetBilinearBoundROI(OrvROI* roi, double coeffs[2][4], double bound[2][2]);
ORV_API(void) orvGetPerspectiveBound(OrvImage* image, double coeffs[3][3], double bound[2][2]);
ORV_API(void) orvGetPerspectiveBoundROI(OrvROI* roi, double coeffs[3][3], double bound[2][2]);

/* Makes the coefficients of the map that carries the corners of the region to the four points of a quadrangle. An
 * affine map leads to parallelograms only: the cross products of opposite edges may be 1e-7 at most.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`quad` NULL; `coeffs` NULL; the quadrangle
 * degenerate; concave; for the affine map, not a parallelogram; no region, or one that lies outside; a region one pixel
 * wide or high). */
ORV_API(void) orvGetAffineTransform(OrvImage* image, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetAffineTransformROI(OrvROI* roi, double coeffs[2][3], double quad[4][2]);
ORV_API(void) orvGetBilinearTransform(OrvImage* image, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetBilinearTransformROI(OrvROI* roi, double coeffs[2][4], double quad[4][2]);
ORV_API(void) orvGetPerspectiveTransform(OrvImage* image, double coeffs[3][3], double quad[4][2]);
ORV_API(void) orvGetPerspectiveTransformROI(OrvROI* roi, double coeffs[3][3], double quad[4][2]);

/* Adds to `*xShift` and `*yShift` what makes orvRotate turn about the point (xCenter, yCenter). They come in as the
 * shift that is wanted besides, 0 for none. `angle` is in degrees; whole turns do not count, and for 90, 180 and 270
 * the sums are exact.
 *
 * Reports ORV_STATUS_BAD_ARG (`xShift` or `yShift` NULL). */
ORV_API(void) orvGetRotateShift(double xCenter, double yCenter, double angle, double* xShift, double* yShift);

/* ---- Warps ------------------------------------------------------------------------------------------------------- */

/* A warp makes every pixel of the destination that its map reaches of the source's values around the place where that
 * pixel comes from. There are two directions, told by `warpFlag`:
 *
 *     0    the source's region is carried onto a quadrangle of the destination; pixels whose centres lie in the
 *          quadrangle, edges included, and in the destination's region are written
 *     1    the destination's region is carried onto a quadrangle of the source; pixels that come from inside the
 *          source's region, edges included, are written
 *
 * All other pixels stay as they are, those that a map leads nowhere too. Positions count in rows as they are stored,
 * whatever the origin. They are running sums in double precision along a row; those of a bilinear map with `warpFlag` 0
 * are rounded to single precision. Values may come from pixels outside the source's region, but inside the image.
 *
 * Depths 1U, 8U, 16U and 32F. Both images have one depth, one origin, and one data order unless they are 1U or have one
 * channel each; they must not be one image. They may be tiled: then the work goes tile by tile of the destination, or
 * by blocks of 128 x 128 pixels where it has none, and each takes the tiles of the source that it needs. Masks have no
 * effect.
 *
 * `interpolate` is ORV_INTER_NN, ORV_INTER_LINEAR or ORV_INTER_CUBIC. Images of depth 1U and those with one row or one
 * column are always sampled by the nearest pixel, and a cubic needs four rows and columns, or it is linear:
 *
 *     nearest    the pixel at the rounded position, ties to even
 *     linear     between two by two pixels; at 8U in fixed point, weights with 16 bits after the point, values with 6
 *     cubic      through four by four pixels, moved inwards at the image's edges; at 8U with weights of 14 bits for 512
 *                steps from pixel to pixel. Results are clamped, but for 32F
 *
 * Linear weights at 16U and 32F are counted from the last pixel that lies before the position or less than 1e-7 behind
 * it.
 *
 * ORV_BLEND_EDGE with `warpFlag` 0 blends the pixels next to the slanting edges of the quadrangle, just outside:
 * each keeps a share equal to its distance from the edge and takes the rest from its neighbour inside. Not for 1U.
 *
 * Samplers: R. G. Keys, "Cubic convolution interpolation for digital image processing", IEEE Trans. ASSP-29 (1981), for
 * the scheme; the polynomials here are those of Lagrange. */

/* Carries the source's region onto the parallelogram that an affine map makes of it.
 *
 * Reports the fault of an image with "Incorrect Image". Then ORV_STATUS_BAD_ARG for each that holds of: depths,
 * origins, data orders that differ, a signed depth, one image for both; and ends, as it does if the thread's stored
 * status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`coeffs` NULL; a determinant of 1e-7 or less); what
 * orvGetAffineQuad reports, and ORV_STATUS_BACKTRACE; ORV_STATUS_BAD_ARG (`interpolate`; a source region one pixel wide
 * or high; numbers of processed channels that differ). A region that lies outside the destination ends it silently. Of
 * tiles, ORV_STATUS_BACKTRACE if those of the source do not come or there is no memory for their pixels,
 * ORV_STATUS_ERROR for one of the destination, or of the smooth edge. */
ORV_API(void) orvWarpAffine(OrvImage* srcImage, OrvImage* dstImage, double coeffs[2][3], int32_t interpolate);

/* Carries a region onto a quadrangle, or a quadrangle onto a region, by the bilinear map that leads to its corners.
 *
 * Reports the fault of an image with "Incorrect Image". Then ORV_STATUS_BAD_ARG for each that holds of: depths,
 * origins, data orders that differ, a signed depth, a bad `warpFlag`, one image for both; and ends, as it does if the
 * thread's stored status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`quad` NULL; degenerate; concave;
 * `interpolate`; the region that is carried one pixel wide or high; numbers of processed channels that differ). Regions
 * that lie outside their images end it silently. Tiles as in orvWarpAffine. */
ORV_API(void)
orvWarpBilinearQ(OrvImage* srcImage, OrvImage* dstImage, double quad[4][2], int32_t warpFlag, int32_t interpolate);

/* The same with the quadrangle that orvGetBilinearQuad makes: of the destination's region if `warpFlag` is not 0,
 * otherwise of the source's.
 *
 * Reports what that function reports, and ORV_STATUS_BACKTRACE; what orvWarpBilinearQ reports, and
 * ORV_STATUS_BACKTRACE. The latter too while the thread's stored status is negative from an earlier call. */
ORV_API(void)
orvWarpBilinear(OrvImage* srcImage, OrvImage* dstImage, double coeffs[2][4], int32_t warpFlag, int32_t interpolate);

/* orvWarpBilinearQ by the perspective map that leads to the corners. */
ORV_API(void)
orvWarpPerspectiveQ(OrvImage* srcImage, OrvImage* dstImage, double quad[4][2], int32_t warpFlag, int32_t interpolate);

/* orvWarpBilinear with orvGetPerspectiveQuad and orvWarpPerspectiveQ. */
ORV_API(void)
orvWarpPerspective(OrvImage* srcImage, OrvImage* dstImage, double coeffs[3][3], int32_t warpFlag, int32_t interpolate);

/* orvWarpAffine with x' = x + xShear y + xShift, y' = yShear x + y + yShift.
 *
 * Reports what orvWarpAffine reports, and ORV_STATUS_BACKTRACE if the thread's stored status is then negative. */
ORV_API(void)
orvShear(OrvImage* srcImage, OrvImage* dstImage, double xShear, double yShear, double xShift, double yShift,
         int32_t interpolate);

/* Turns an image around pixel (0, 0) by `angle` degrees and shifts it: orvWarpAffine with
 *
 *     x' = cos(angle) x + sin(angle) y + xShift        y' = -sin(angle) x + cos(angle) y + yShift
 *
 * which is counter-clockwise where rows are stored from the top down. orvGetRotateShift makes shifts for other centres.
 * A turn by 90, 180 or 270 degrees, whole turns not counted, with whole shifts and without tiles copies pixels exactly,
 * regions one pixel wide too, and does not look at `interpolate`.
 *
 * Reports what orvWarpAffine reports, and ORV_STATUS_BACKTRACE if the thread's stored status is then negative. The
 * exact turn reports in its own name the fault of an image, ORV_STATUS_BAD_ARG for each of the first tests of
 * orvWarpAffine, and for numbers of processed channels that differ. */
ORV_API(void)
orvRotate(OrvImage* srcImage, OrvImage* dstImage, double angle, double xShift, double yShift, int32_t interpolate);

/* Makes every pixel of the destination's region of the source's values at a position that two images tell: x and y of
 * one channel of depth 32F, counted in rows as they are stored. Positions outside the source's region, edges included
 * in it, and those that are not numbers leave their pixels as they are. The smallest of the regions of `dstImage`,
 * `xMap` and `yMap` counts. Depths, methods and layouts are those of a warp; ORV_BLEND_EDGE has no effect.
 *
 * A tiled source is read as a whole. The work goes by tiles of the destination, or blocks of 128 x 128 pixels; a tiled
 * map is read block by block.
 *
 * Reports the fault of an image with "Incorrect Image": source, destination, x and y map. Then ORV_STATUS_BAD_ARG for
 * each that holds of: depths, origins, data orders of source and destination that differ, a signed depth, an x map that
 * is not 32F with one channel which is not alpha, a y map likewise, one image for source and destination; and ends, as
 * it does if the thread's stored status is negative from an earlier call. Then ORV_STATUS_BAD_ARG (`interpolate`). An
 * empty region ends it silently. Then ORV_STATUS_BAD_ARG (numbers of processed channels that differ);
 * ORV_STATUS_BACKTRACE if tiles of the source or of a map do not come or there is no memory for their pixels,
 * ORV_STATUS_ERROR for one of the destination. */
ORV_API(void)
orvRemap(OrvImage* srcImage, OrvImage* xMap, OrvImage* yMap, OrvImage* dstImage, int32_t interpolate);

/* ---- Scaling ---------------------------------------------------------------------------------------------------- */

/* Scaling takes the region of the source to the region of the destination, from their first pixels on, by the ratios
 * `xDst` to `xSrc` along rows and `yDst` to `ySrc` down columns: destination to source, whole numbers from 1 on. What
 * the source does not fill keeps its values, what does not fit the destination is left out. Depths 1U, 8U, 16U and 32F;
 * both images of one depth and data order, and not the same image. Alpha channels are left out. Tiled images get the
 * pixels that plain ones would. Rows are those of memory, whatever the origin.
 *
 * Interpolation is separable: along rows first, then across them. Cubics are those through four pixels (Lagrange's: M.
 * Abramowitz, I. A. Stegun, "Handbook of Mathematical Functions", 1964, 25.2). */

/* Makes an image larger, or leaves it as large: xDst >= xSrc and yDst >= ySrc. With W the width of the source's region,
 * before it is cut at the image's edge, and D = W * xDst / xSrc, pixel i of the destination is at i * (W - 1) / (D - 1)
 * in the source, so that the first centres meet and the last ones do. Between pixels, `interpolate` says what is taken:
 *
 *   ORV_INTER_NN       the nearest pixel. With a whole ratio pixels are repeated instead: i is at i * xSrc / xDst.
 *   ORV_INTER_LINEAR   the line between two: 8U and 16U with weights of 14 bits and results without their fraction, 32F
 *                      in double precision. Images 1 pixel wide or high get the nearest pixel.
 *   ORV_INTER_CUBIC    the cubic through four, which may lie outside the region, in double precision; at the image's
 *                      edges through the last four. 8U and 16U results lose their fraction, and are cut to the range.
 *                      Images less than 4 pixels wide or high get lines.
 *
 * Rows likewise, by height. 1U always gets the nearest pixel. Floor(W * xDst / xSrc) pixels are made, at least 1.
 *
 * A mask of the source is scaled with it, by the nearest pixel; one of the destination lies as that does. Both hold
 * together. The regions are also cut to the width and height of their masks.
 *
 * Reports ORV_STATUS_BAD_ARG (a ratio below 1); an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG
 * (`interpolate`); ORV_STATUS_BAD_ARG for each of depths that differ, a depth that is not one of the four, data orders
 * that differ, and ratios with a number below 1, going on to the next. Then, if the thread's stored status is negative,
 * even from before, it ends. ORV_STATUS_BAD_ARG (one image twice); ORV_STATUS_BACKTRACE for a mask that could not be
 * scaled; ORV_STATUS_ERROR for numbers of processed channels that differ; ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a
 * tile of the destination that does not come, ORV_STATUS_BACKTRACE for one of the source. An image with nothing but an
 * alpha channel ends it silently. */
ORV_API(void)
orvZoom(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
        int32_t interpolate);

/* orvZoom for any ratios, larger or smaller; and orvDecimate for ORV_INTER_SUPER. Where an image becomes smaller,
 * pixels between the samples are left out: orvDecimate with ORV_INTER_SUPER and orvDecimateBlur take all of them.
 *
 * Reports, for ORV_INTER_SUPER, ORV_STATUS_BAD_ARG (a ratio above 1) and then as orvDecimate; otherwise as orvZoom,
 * under its name. At the end ORV_STATUS_BACKTRACE if the thread's stored status is negative. */
ORV_API(void)
orvResize(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
          int32_t interpolate);

/* Makes an image smaller, or leaves it as large: xDst <= xSrc and yDst <= ySrc. Pixel i of the destination is at i * s
 * in the source, with the step s = xSrc / xDst as a float; rows likewise. Pixels for which the source's region does not
 * hold what they need, the pixel at the position and, between pixels, the one after it, are not made.
 *
 *   ORV_INTER_NN       the pixel at the position without its fraction; where s is not whole, that of a half more
 *   ORV_INTER_LINEAR   the line between two pixels
 *   ORV_INTER_CUBIC    the cubic through four, which may lie outside the region; at the image's edges through the last
 *                      four
 *   ORV_INTER_SUPER    the mean of what the pixel covers: from i * s to (i + 1) * s, where a source pixel c covers c to
 *                      c + 1. Parts of pixels count by their share. Pixels that the region covers in part are not made.
 *                      Integers are rounded to nearest, halves upward; sums are floats. (K. M. Fant, "A nonaliasing,
 *                      real-time spatial transform technique", IEEE Computer Graphics and Applications 6, 1986.)
 *
 * Lines and cubics are computed in double precision; 8U and 16U lose their fraction, and are cut to the range. Along an
 * axis with a whole step nothing is interpolated, and the first row and column are the region's. The nearest pixel is
 * taken where the image is less than 4 pixels wide or high, where both steps are whole (but for ORV_INTER_SUPER), where
 * the region is smaller than a step, and at 1U (but for ORV_INTER_SUPER). Masks have no effect.
 *
 * Reports an image's fault with "Incorrect Image". Then each of these, going on to the next: ORV_STATUS_BAD_ARG (one
 * image twice); ORV_STATUS_BAD_DEPTH (depths differ; not one of the four); ORV_STATUS_BAD_ORIGIN and
 * ORV_STATUS_BAD_DATA_ORDER (differ); ORV_STATUS_BAD_COI (a channel of interest of the source alone; of the destination
 * alone); ORV_STATUS_BAD_CHANNELS (numbers of channels, or of processed ones, that differ); ORV_STATUS_BAD_ARG
 * (`interpolate`; xDst, xSrc, yDst, ySrc below 1; a ratio above 1 along rows; down columns). Then, if the thread's
 * stored status is negative, even from before, it ends. ORV_STATUS_NO_MEMORY; ORV_STATUS_INTERNAL for a tile that does
 * not come. */
ORV_API(void)
orvDecimate(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
            int32_t interpolate);

/* Makes an image smaller, or leaves it as large, from means: the destination's pixels are at the positions of orvZoom,
 * and what is interpolated there, as orvZoom does, are the means of boxes of `xMaskSize` by `yMaskSize` pixels. The box
 * of pixel p begins at p - xMaskSize / 2 (rounded downward); rows likewise. A size of 0 stands for the ratio, rounded.
 * Boxes take pixels outside the region; beyond the image they meet the edge's pixel again and again. Means of 8U and
 * 16U are computed with a reciprocal of 8 bits, without their fraction; at 1U the nearest box is taken, and gives 1
 * where at least half of it is set. Where a region is no more than a pixel after scaling, nothing is made. Masks have
 * no effect. The time does not depend on the box.
 *
 * ORV_INTER_NN takes the box of the pixel at or before the position; so do images that keep their size.
 *
 * Running sums: M. J. McDonnell, "Box-filtering techniques", Computer Graphics and Image Processing 17 (1981).
 *
 * Reports ORV_STATUS_BAD_ARG (`interpolate`), which ends the call only after the other checks; an image's fault with
 * "Incorrect Image"; ORV_STATUS_BAD_ARG (depths, data orders, alpha channels that differ; a signed depth; a ratio above
 * 1; xDst or yDst below 1; xSrc or ySrc below 1; a size below 0; one image twice; a channel of interest on one side
 * only; a region of the source, of the destination that lies outside its image); ORV_STATUS_BAD_CHANNELS (numbers of
 * processed channels that differ); ORV_STATUS_NO_MEMORY; ORV_STATUS_INTERNAL for a tile that does not come. */
ORV_API(void)
orvDecimateBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                int32_t interpolate, int32_t xMaskSize, int32_t yMaskSize);

/* ---- Mirrors ---------------------------------------------------------------------------------------------------- */

/* Copies the region of the source turned around: with `flipAxis` 0 the first row becomes the last, with 1 the first
 * column of each row becomes the last, with -1 both. All depths; in place is allowed without a mask. The two regions
 * have the smaller size of both and of the regions of both masks, and the centre about which pixels turn is that of
 * this size. A mask of the source turns with the pixels, one of the destination lies as the destination does; both hold
 * together. Alpha channels are left out. The data orders may differ if one of the images has one channel.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; data orders differ; a mask in
 * place; `flipAxis`; a 1U image with an alpha channel; numbers of processed channels that differ);
 * ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile of the destination that does not come, ORV_STATUS_BACKTRACE for one
 * of the source. */
ORV_API(void) orvMirror(OrvImage* srcImage, OrvImage* dstImage, int32_t flipAxis);

#ifdef __cplusplus
}
#endif

#endif
