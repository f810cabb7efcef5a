/* orv/filter.h - operations whose result at a pixel depends on the pixels around it.
 *
 * Conventions that hold for every function here:
 *
 * - Around the region a filter reads the pixels of the image, also those outside the region. What lies outside the image
 *   comes from the source's border modes: see orvSetBorderMode.
 * - The sizes of regions and masks and the processed channels are those of every operation: see core.h. Alpha channels are
 *   neither computed nor written.
 */
#ifndef ORV_FILTER_H
#define ORV_FILTER_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Borders ------------------------------------------------------------------------------------------------------ */

/* Sides of an image, to be combined. The top side is what lies above the first stored row, whatever the origin. */
enum { ORV_SIDE_TOP = 1, ORV_SIDE_BOTTOM = 2, ORV_SIDE_LEFT = 4, ORV_SIDE_RIGHT = 8 };

/* Sets the border mode of the sides in `border` (ORV_SIDE_...) to `mode` (ORV_BORDER_...) and their border constant to
 * `constVal`, cut to the range of the image's depth; at 32F the constant stands for the same number as a float. Above and
 * below the image, the mode of that side also rules what lies to the left and to the right of it.
 *
 * Nothing is checked or reported; nothing happens for NULL. */
ORV_API(void) orvSetBorderMode(OrvImage* image, int32_t mode, int32_t border, int32_t constVal);

/* ---- Smoothing ---------------------------------------------------------------------------------------------------- */

/* Gives every value the mean of a window of `nCols` by `nRows` pixels, of which the pixel itself is column `anchorX` and row
 * `anchorY`. All depths; the integer sum is converted to float, multiplied by the float 1 / (nCols * nRows), and rounded to
 * nearest, ties to even. At 1U a mean of 0.5 or more gives 1. At 32S and 32F the sums are floats: they run along the
 * columns and rows, so that their rounding depends a little on where the region lies; 32S results saturate. The data
 * orders may differ; in place is allowed. A window of 1 by 1 is orvCopy, with all its rules. The time does not depend on the
 * window's size.
 *
 * Running sums over windows: M. J. McDonnell, "Box-filtering techniques", Computer Graphics and Image Processing 17 (1981).
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; `nRows` or `nCols` negative; an
 * anchor negative; an anchor outside the window); ORV_STATUS_BAD_ALPHA_CHANNEL (the destination, then the source, has
 * nothing but alpha); ORV_STATUS_BAD_CHANNELS (numbers of processed channels that differ); ORV_STATUS_BAD_ALPHA_CHANNEL (a
 * mask); ORV_STATUS_NO_MEMORY (no memory, or a tile that does not come). */
ORV_API(void)
orvBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);

ORV_API(void) orvDilate(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);
ORV_API(void) orvErode(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);
ORV_API(void) orvOpen(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);
ORV_API(void) orvClose(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);
ORV_API(void)
orvMaxFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);
ORV_API(void)
orvMinFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);
ORV_API(void)
orvMedianFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);
enum {
    ORV_FIXED_PREWITT_X = 0,
    ORV_FIXED_PREWITT_Y = 1,
    ORV_FIXED_SOBEL_X = 2,
    ORV_FIXED_SOBEL_Y = 3,
    ORV_FIXED_LAPLACE3 = 4,
    ORV_FIXED_LAPLACE5 = 5,
    ORV_FIXED_GAUSS3 = 6,
    ORV_FIXED_GAUSS5 = 7,
    ORV_FIXED_HIGHPASS3 = 8,
    ORV_FIXED_HIGHPASS5 = 9,
    ORV_FIXED_SHARPEN3 = 10
};
ORV_API(int32_t) orvFixedFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t filter);

#ifdef __cplusplus
}
#endif

#endif
