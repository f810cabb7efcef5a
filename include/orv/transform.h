/* orv/transform.h */
#ifndef ORV_TRANSFORM_H
#define ORV_TRANSFORM_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Cosine transform --------------------------------------------------------------------------------------------- */

/* Flags of orvDCT2D. */
enum {
    ORV_DCT_FORWARD = 1,
    ORV_DCT_INVERSE = 2,
    ORV_DCT_RELEASE = 8 /* release the calling thread's tables and do nothing else */
};

/* Computes the orthonormal two-dimensional cosine transform of type II of a region, or its inverse. With W x H pixels and
 * f(y, x) the pixels of `src`, the forward transform stores in row u and column v of `dst`
 *
 *     F(u, v) = A(u, v) sum over y, x of f(y, x) cos((2 x + 1) v pi / (2 W)) cos((2 y + 1) u pi / (2 H))
 *
 * with A(0, 0) = 1 / sqrt(W H), sqrt(2) / sqrt(W H) in the rest of the first row and of the first column, and
 * 2 / sqrt(W H) elsewhere; the inverse gives f back from F. Any size is taken; lengths that are powers of two, and blocks of
 * 8 x 8 above all, are fast, other lengths take a time that grows with their square.
 *
 * src    pixels, or coefficients for the inverse, of any depth but 1U. Its region gives the size.
 * dst    another image of the same size, number of channels and data order, of any depth but 1U. The result begins at the
 *        start of its region, whose size does not count. Integer values are saturated and rounded to nearest, ties to even:
 *        a forward transform belongs in a 32F image.
 * flags  ORV_DCT_FORWARD or ORV_DCT_INVERSE.
 *
 * Each channel is transformed by itself, alpha excepted; with a `coi` in both images the selected ones only. Masks are not
 * looked at. Tables are kept for the thread's next call, until ORV_DCT_RELEASE or the thread's end.
 *
 * Reports ORV_STATUS_BAD_ARG: neither or both directions; a NULL image; `src` and `dst` the same image; depth 1U; a bad
 * alphaChannel of `src`; images that are not compatible: sizes, channels, processed channels or data orders differ, one
 * alone has a region, a region lies partly outside its image or the source's does not fit at the destination's start, a
 * tiled image. Without memory nothing is reported and `dst` stays as it is.
 *
 * Method: rows and columns by the recursion of B. G. Lee, "A new algorithm
 * to compute the discrete cosine transform", IEEE Trans. ASSP-32 (1984); blocks of 8 x 8 by Y. Arai, T. Agui and
 * M. Nakajima, "A fast DCT-SQ scheme for images", Trans. IEICE E-71 (1988). */
ORV_API(void) orvDCT2D(OrvImage* src, OrvImage* dst, int32_t flags);

#ifdef __cplusplus
}
#endif

#endif
