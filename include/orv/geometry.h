/* orv/geometry.h - operations that move pixels to other places: warps, maps, scaling, mirrors, and their coefficients.
 * */
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

/* ---- Scaling ------------------------------------------------------------------------------------------------------ */

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

/* ---- Mirrors ------------------------------------------------------------------------------------------------------ */

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
