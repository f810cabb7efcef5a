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

/* ---- Convolution kernels ------------------------------------------------------------------------------------------ */

/* A kernel of `nCols` by `nRows` values, row by row, with an integer shift for the sums that it makes, or of floats. Kernels are
 * made by the create functions, never change, and may be shared by calls and threads until they are deleted. */
typedef struct OrvConvKernel OrvConvKernel;
typedef struct OrvConvKernelFP OrvConvKernelFP;

/* Creates a kernel from nCols * nRows `values`, of which it keeps a copy. The value in column `anchorX` and row `anchorY` is
 * the one that meets the pixel itself. `nShiftR` shifts every sum to the right, toward minus infinity; it is kept as it is,
 * and its lowest five bits count. The form with characters takes bytes with a sign.
 *
 * Reports, and returns NULL: ORV_STATUS_BAD_ARG (no values; `nRows` or `nCols` below 1; an anchor outside the kernel);
 * ORV_STATUS_NO_MEMORY. */
ORV_API(OrvConvKernel*)
orvCreateConvKernel(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY, const int32_t* values,
                    int32_t nShiftR);
ORV_API(OrvConvKernel*)
orvCreateConvKernelChar(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY, const char* values,
                        int32_t nShiftR);
ORV_API(OrvConvKernelFP*)
orvCreateConvKernelFP(int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY, const float* values);

/* Tells what a kernel was created from. `*values` points at the caller's memory for nCols * nRows values; the form with
 * characters cuts each to its low byte.
 *
 * Reports ORV_STATUS_BAD_ARG (no kernel; a kernel with impossible sizes; no `nRows` and no `nCols`; no `anchorX` and no
 * `anchorY`; no `values`; no `nShiftR`). The two of a pair are both reported; after each pair the function ends if the
 * thread's status is negative, also from an earlier call. */
ORV_API(void)
orvGetConvKernel(OrvConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX, int32_t* anchorY,
                 int32_t** values, int32_t* nShiftR);
ORV_API(void)
orvGetConvKernelChar(OrvConvKernel* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX, int32_t* anchorY,
                     int8_t** values, int32_t* nShiftR);
ORV_API(void)
orvGetConvKernelFP(OrvConvKernelFP* kernel, int32_t* nCols, int32_t* nRows, int32_t* anchorX, int32_t* anchorY,
                   float** values);

/* Releases a kernel. Reports ORV_STATUS_BAD_ARG (no kernel; a kernel without values). */
ORV_API(void) orvDeleteConvKernel(OrvConvKernel* kernel);
ORV_API(void) orvDeleteConvKernelFP(OrvConvKernelFP* kernel);

/* ---- Convolution -------------------------------------------------------------------------------------------------- */

/* How the results of several kernels become one. */
enum {
    ORV_COMBINE_SUM = 0,       /* their sum */
    ORV_COMBINE_SUMSQ = 1,     /* the sum of their squares */
    ORV_COMBINE_SUMSQROOT = 2, /* the square root of that */
    ORV_COMBINE_MAX = 3,       /* the largest */
    ORV_COMBINE_MIN = 4        /* the smallest */
};

/* Convolves an image with 1 to 10 kernels and combines the results. For a kernel K
 *
 *     sum(x, y) = sum over i, j of K[j][i] * src(x + anchorX - i, y + anchorY - j)
 *
 * so that the first value meets the sample furthest right and lowest: see any textbook on convolution, such as R. N. Bracewell,
 * "Two-Dimensional Imaging" (1995). In place is allowed. The data orders are the same; a channel of interest is set in both
 * images or in none.
 *
 * orvConvolve2D takes every depth but 32F. Each sum is exact where no sum of the kernel can pass 32 bits, and is then shifted
 * by the kernel's nShiftR. With one kernel and no shift ORV_COMBINE_SUMSQ gives the square of the sum, ORV_COMBINE_SUMSQROOT
 * its absolute value, and every other method, known or not, the sum. Totals of several kernels are integers as long as the sums
 * of every kernel lie between -32768 and 32767, and otherwise floats; integer squares and totals wrap at 32 bits. Results
 * are rounded to nearest, ties to even, and cut to the depth's range; at 1U what is above 0, or above 0.5 for floats, is 1.
 *
 * Where sums of a kernel can pass 32 bits, or a value does not fit 16, and always at 32S, they are formed in floats: every
 * product in double precision, the running sum rounded to a float after each, the kernel's values from the last to the first.
 * A shift first rounds to an integer. Dense windows of 3 x 3 (at most two values 0) and 5 x 5 (at most four) in rows of 1 or 3
 * channels are an exception: at 32S their sums are formed in double precision and rounded once; at other depths, where such
 * kernels are of no use, the sums wrap at 32 bits and their bits are taken for floats.
 *
 * orvConvolve2DFP takes 32F. Windows of 3 x 3 and 5 x 5 in rows of 1 or 3 channels are summed in double precision and rounded
 * once; others take two rows of the window at a time, column by column, and round to a float after each two products.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ROI_OFFSET (a region that begins outside its image);
 * ORV_STATUS_BAD_ARG (no `kernel`; `nKernels` below 1 or above 10; an unknown method for several kernels; a kernel that is
 * NULL; a bad one; depths or data orders that differ; 32F, or for orvConvolve2DFP any other depth; a channel of interest in one
 * image only; no channel but alpha; numbers of processed channels that differ); ORV_STATUS_NO_MEMORY (no memory, or a tile
 * that does not come). Nothing happens where regions and masks have no pixel in common. */
ORV_API(void)
orvConvolve2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel** kernel, int32_t nKernels, int32_t combineMethod);
ORV_API(void)
orvConvolve2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP** kernel, int32_t nKernels,
                int32_t combineMethod);

/* Filters an image with a row kernel `xKernel`, of one row, and a column kernel `yKernel`, of one column, of which one may be
 * NULL. The kernel's values run as they were given, and that at the anchor meets the pixel itself:
 *
 *     sum(x, y) = sum over i, j of X[i] * Y[j] * src(x + i - anchorX, y + j - anchorY)
 *
 * orvConvolveSep2D takes every depth but 32F. The sum is formed modulo 2^32, shifted to the right once by the sum of both
 * kernels' shifts, toward minus infinity, and cut to the depth's range, which at 32S is the sum itself. orvConvolveSep2DFP takes
 * 32F: the columns first, then the rows, each sum formed in double precision and rounded to a float once. That a window
 * which is a product costs the sum of its sides only: see any textbook, such as W. K. Pratt, "Digital Image Processing"
 * (1978). In place is refused.
 *
 * Returns 0, or a negative status. Clears the thread's status first. Reports an image's fault with "Incorrect Image", then
 * ORV_STATUS_BAD_ARG, which is also what is returned (one image for both; no kernel; depths, data orders or origins that differ;
 * more than 32 channels in pixel order; numbers of channels, alpha channels or numbers of processed channels that differ; of
 * the row kernel, then of the column kernel: no values, fewer than 2 values or values in both directions, an anchor outside;
 * 32F, or for orvConvolveSep2DFP any other depth). ORV_STATUS_NO_MEMORY is stored and returned, and reported as
 * ORV_STATUS_BACKTRACE, where there is no memory or a tile does not come. */
ORV_API(int32_t)
orvConvolveSep2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel* xKernel, OrvConvKernel* yKernel);
ORV_API(int32_t)
orvConvolveSep2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP* xKernel, OrvConvKernelFP* yKernel);

/* ---- Correlation -------------------------------------------------------------------------------------------------- */

/* Tells how like the template the surroundings of every pixel are: the cosine of the angle between both as vectors,
 *
 *     r(x, y) = sum of s * t / sqrt(sum of s * s * sum of t * t)
 *
 * over the region of `tplImage`, of tw by th pixels, whose top left value t meets the sample s at (x - tw / 2, y - th / 2),
 * halves rounded down; with 1 for a root that is not above 1.1754943508222875e-38. The template's mask does not count. Sums
 * of integers are exact, those of samples of 32 bits are formed in double precision. All depths but 1U; the images have
 * one depth, or the source and the template 8U and the destination 32F. The result is r at 32F, and at other depths r * 255
 * (8U), r * 127 (8S), r * 65535 (16U), r * 32767 (16S) or r * 2147483520 (32S), rounded to nearest, ties to even, and cut.
 *
 * The images agree in their numbers of processed channels; in data order, origin, alpha channel and number of channels
 * the source agrees with one of the others at least. In place is refused; the template may be any image, but is not tiled.
 *
 * See J. P. Lewis, "Fast normalized cross-correlation", Vision Interface (1995).
 *
 * Returns 0, or a negative status. Reports an image's fault with "Incorrect Image" (the source's, the template's, the
 * destination's); then ORV_STATUS_BAD_ARG, which is also what is returned (source and destination are one image; the
 * template's depth differs; a destination of another depth, or 1U; data orders, origins, alpha channels, numbers of channels
 * that differ from both of the source's; numbers of processed channels that differ; a tiled template); ORV_STATUS_NO_MEMORY (no
 * memory, or a tile that does not come). While it computes, the thread's error mode is ORV_ErrModeSilent: tile providers see
 * that. */
ORV_API(int32_t) orvNormCrossCorr(OrvImage* tplImage, OrvImage* srcImage, OrvImage* dstImage);

#ifdef __cplusplus
}
#endif

#endif
