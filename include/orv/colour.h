/* orv/colour.h - conversions between colour models, colour matrices, fewer levels by dithering. */
#ifndef ORV_COLOUR_H
#define ORV_COLOUR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fewer levels ------------------------------------------------------------------------------------------------- */

/* Ways to choose a level. */
enum {
    ORV_DITHER_NONE = 1,    /* none: depth conversion alone */
    ORV_DITHER_FS = 2,      /* error diffusion by Floyd and Steinberg */
    ORV_DITHER_JJH = 4,     /* error diffusion by Jarvis, Judice and Ninke */
    ORV_DITHER_STUCKEY = 8, /* error diffusion by Stucki */
    ORV_DITHER_BAYER = 16   /* ordered dither */
};

/* Lowers the number of levels of an image to `levels`, and its depth where the destination's is lower: from 8U to 8U or
 * 1U, from 16U to 16U, 8U or 1U, from 32S to 32S, 16U, 8U or 1U. For other depths that pass the checks nothing happens.
 *
 * A value v, counted from 0 (at 32S v = pixel + 2147483648), on a scale up to D (255, 65535 or 4294967295) that L =
 * levels - 1 steps of D / L divide, lies between the levels q and q + 1 with q = rint(L v / D - 0.5), ties to even. It
 * becomes the higher one if it exceeds the lower one by more than a threshold; at D and above it becomes the brightest
 * value. With a = rint(65280 / L - 0.5), or 16776960 / L from 16U, level k is written as (k a) >> 8, from 16U to 8U as
 * (k a) >> 16. From 32S it is written as rint(level - 2147483648), rint(level / 65536 - 0.5) or rint(level / 16777216 -
 * 0.5). At 1U there are the levels 0 and D alone, whatever `levels` is.
 *
 * - ORV_DITHER_BAYER: the threshold at (x, y) is B(y & 3, x & 3) / 15 of a step (at 1U, of D), with B the matrix of
 *   Bayer, "An optimum method for two-level rendition of continuous-tone pictures", ICC 1973: 0 8 2 10 / 12 4 14 6 / 3
 *   11 1 9 / 15 7 13 5.
 * - Error diffusion: the threshold is half a step (at 1U, D / 2). What the chosen level lacks is kept as a float and
 *   handed on to pixels to the right and below, from left to right in every row: by 7, 3, 5 and 1 sixteenths (Floyd and
 *   Steinberg, "An adaptive algorithm for spatial greyscale", Proc. SID 17, 1976); by 48ths over two rows below
 *   (Jarvis, Judice and Ninke, "A survey of techniques for the display of continuous tone pictures on bilevel
 *   displays", CGIP 5, 1976); by 42nds (Stucki, "MECCA", IBM Research Report RZ1060, 1981). A value that comes to less
 *   than 1e-7, or to D or more, leaves no error. The errors of a channel's last rows enter the first ones of the next
 *   channel. Computed in double precision.
 * - ORV_DITHER_NONE: the high bits of each value, from 32S those of the value counted from 0; `levels` has no effect.
 *
 * `noise`, from 0 to 100 per cent of a step, moves each threshold at random by so much either way; the random numbers
 * are the same ones in every call. Region, channel of interest and mask have no effect: the whole image is processed,
 * as far as both images reach, and all channels that both have, except alpha. Rows are taken as they are stored,
 * whatever the origin. In rows of bits the last byte is written whole, with clear bits behind the row.
 *
 * Tiled images: conversion and ordered dither go tile by tile, and the matrix begins anew in each. Error diffusion goes
 * by strips as high as a tile, channel by channel; into tiles of another depth by way of the source's depth and its
 * high bits.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (a source of 1U; a destination of more bits; data
 * orders, then `noise` out of range, then alpha channels that differ; fewer channels in the source; an unknown
 * `ditherType`; a signed depth other than 32S; one same image; `levels` below 2 or above 2 to the power of the
 * destination's bits, plus 1; several channels into one); ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile that does
 * not come. While the thread's stored status is negative it does nothing from the test of `ditherType` on. */
ORV_API(void)
orvReduceBits(OrvImage* srcImage, OrvImage* dstImage, int32_t noise, int32_t ditherType, int32_t levels);

#ifdef __cplusplus
}
#endif

#endif
