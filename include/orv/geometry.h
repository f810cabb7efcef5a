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

/* ---- Scaling and mirrors ------------------------------------------------------------------------------------------ */

ORV_API(void)
orvZoom(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
        int32_t interpolate);
ORV_API(void)
orvResize(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
          int32_t interpolate);
ORV_API(void)
orvDecimate(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
            int32_t interpolate);
ORV_API(void)
orvDecimateBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t xDst, int32_t xSrc, int32_t yDst, int32_t ySrc,
                int32_t interpolate, int32_t xMaskSize, int32_t yMaskSize);

/* Copies the region of the source turned around: with `flipAxis` 0 the first row becomes the last, with 1 the first column of
 * each row becomes the last, with -1 both. All depths; in place is allowed without a mask. The two regions have the smaller
 * size of both and of the regions of both masks, and the centre about which pixels turn is that of this size. A mask of the
 * source turns with the pixels, one of the destination lies as the destination does; both hold together. Alpha channels are
 * left out. The data orders may differ if one of the images has one channel.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; data orders differ; a mask in place;
 * `flipAxis`; a 1U image with an alpha channel; numbers of processed channels that differ); ORV_STATUS_NO_MEMORY;
 * ORV_STATUS_ERROR for a tile of the destination that does not come, ORV_STATUS_BACKTRACE for one of the source. */
ORV_API(void) orvMirror(OrvImage* srcImage, OrvImage* dstImage, int32_t flipAxis);

#ifdef __cplusplus
}
#endif

#endif
