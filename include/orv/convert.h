/* orv/convert.h - conversion between depths, and exchange with device-independent bitmaps. */
#ifndef ORV_CONVERT_H
#define ORV_CONVERT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Depths ------------------------------------------------------------------------------------------------------- */

/* Converts integer values to another integer depth: a value stays and is cut to the range of the depth. To 1U a bit is set
 * where the value is above 0; 1U itself goes to 1U only. Data orders may differ. Where origins differ the image is turned
 * upside down, so that it shows the same.
 *
 * Whole images with all channels, alpha too: regions and masks have no effect, but that a source of several channels goes to
 * 1U by its channel of interest. Bits beyond the width stay, except that rows of 1U to 1U are copied as whole bytes. The
 * images may be tiled. With one image in both places nothing happens.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 32F (source, destination); heights, then widths, that
 * differ; to 1U, several source channels without a region, or without a channel of interest in it; otherwise numbers of
 * channels that differ, and 1U to another depth; a tile that does not come. Tiles done before stay done. */
ORV_API(void) orvConvert(OrvImage* srcImage, OrvImage* dstImage);

/* Converts a 1U image to integers of 8 bits or more: a set bit gives `OneScale`, a clear one `ZeroScale`, in all channels of the
 * destination. Whole images, as in orvConvert, also turned where origins differ.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for heights, then widths, that differ; a source of more
 * than one channel; one that is not 1U; a destination of 32F; one of 1U; `ZeroScale`, then `OneScale`, above, then below, the
 * range of the destination's depth; a tile that does not come. */
ORV_API(void) orvBitonalToGray(OrvImage* srcImage, OrvImage* dstImage, int32_t ZeroScale, int32_t OneScale);

/* Maps the whole range of an integer depth onto that of another, so that both ends meet. With v the value, counted from the
 * lowest of its range where the depth grows, and from 0 or the middle of an unsigned range where it shrinks, >> rounding down:
 *
 *     8 to 16 bits     257 v, counted from the lowest value of the result
 *     8 to 32 bits     16843009 v
 *     16 to 32 bits    65537 v
 *     equal bits       v, counted anew
 *     16 to 8 bits     (v - (v >> 8)) >> 8, counted from 0 or the middle of the result
 *     32 to 16 bits    (v - (v >> 16)) >> 16
 *     32 to 8 bits     (v - (v >> 8)) >> 24
 *
 * Regions, channels of interest and tiles as in every operation, alpha left out; masks have no effect. Data orders may differ
 * where one of the images has one channel.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for depths that are equal; 1U or 32F (source,
 * destination); data orders, then origins, that differ; numbers of processed channels that differ; a tile that does not
 * come. */
ORV_API(void) orvScale(OrvImage* srcImage, OrvImage* dstImage);

/* Maps the range of an integer depth onto the floats from `minVal` to `maxVal`, or these onto that range. With low the lowest
 * value of the integer depth, F its highest less its lowest, and r = maxVal - minVal, in double precision:
 *
 *     to 32F      (r / F) v + b with b = minVal - (r / F) low, rounded once
 *     from 32F    (F / r) x + b with b = low - minVal (F / r), rounded to nearest, ties to even; below `minVal` the lowest value,
 *                 above `maxVal` the highest, 0 for what is no number
 *
 * Otherwise as orvScale. Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 1U; a `maxVal` that is not
 * above `minVal`; no image, then both images, of 32F; data orders, then origins, that differ; numbers of processed channels
 * that differ; a tile that does not come. */
ORV_API(void) orvScaleFP(OrvImage* srcImage, OrvImage* dstImage, float minVal, float maxVal);

#ifdef __cplusplus
}
#endif

#endif
