/* orv/filter.h - operations whose result at a pixel depends on the pixels around it.
 *
 * Conventions that hold for every function here:
 *
 * - Around the region a filter reads the pixels of the image, also those outside the region. What lies outside the
 *   image comes from the source's border modes: see orvSetBorderMode.
 * - The sizes of regions and masks and the processed channels are those of every operation: see core.h. Alpha channels
 *   are neither computed nor written.
 */
#ifndef ORV_FILTER_H
#define ORV_FILTER_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Borders ---------------------------------------------------------------------------------------------------- */

/* Sides of an image, to be combined. The top side is what lies above the first stored row, whatever the origin. */
enum { ORV_SIDE_TOP = 1, ORV_SIDE_BOTTOM = 2, ORV_SIDE_LEFT = 4, ORV_SIDE_RIGHT = 8 };

/* Sets the border mode of the sides in `border` (ORV_SIDE_...) to `mode` (ORV_BORDER_...) and their border constant to
 * `constVal`, cut to the range of the image's depth; at 32F the constant stands for the same number as a float. Above
 * and below the image, the mode of that side also rules what lies to the left and to the right of it.
 *
 * Nothing is checked or reported; nothing happens for NULL. */
ORV_API(void) orvSetBorderMode(OrvImage* image, int32_t mode, int32_t border, int32_t constVal);

/* ---- Smoothing -------------------------------------------------------------------------------------------------- */

/* Gives every value the mean of a window of `nCols` by `nRows` pixels, of which the pixel itself is column `anchorX`
 * and row `anchorY`. All depths; the integer sum is converted to float, multiplied by the float 1 / (nCols * nRows),
 * and rounded to nearest, ties to even. At 1U a mean of 0.5 or more gives 1. At 32S and 32F the sums are floats: they
 * run along the columns and rows, so that their rounding depends a little on where the region lies; 32S results
 * saturate. The data orders may differ; in place is allowed. A window of 1 by 1 is orvCopy, with all its rules. The
 * time does not depend on the window's size.
 *
 * Running sums over windows: M. J. McDonnell, "Box-filtering techniques", Computer Graphics and Image Processing 17
 * (1981).
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (depths differ; `nRows` or `nCols` negative; an
 * anchor negative; an anchor outside the window); ORV_STATUS_BAD_ALPHA_CHANNEL (the destination, then the source, has
 * nothing but alpha); ORV_STATUS_BAD_CHANNELS (numbers of processed channels that differ); ORV_STATUS_BAD_ALPHA_CHANNEL
 * (a mask); ORV_STATUS_NO_MEMORY (no memory, or a tile that does not come). */
ORV_API(void)
orvBlur(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);

/* ---- Convolution kernels ---------------------------------------------------------------------------------------- */

/* A kernel of `nCols` by `nRows` values, row by row, with an integer shift for the sums that it makes, or of floats.
 * Kernels are made by the create functions, never change, and may be shared by calls and threads until they are
 * deleted. */
typedef struct OrvConvKernel OrvConvKernel;
typedef struct OrvConvKernelFP OrvConvKernelFP;

/* Creates a kernel from nCols * nRows `values`, of which it keeps a copy. The value in column `anchorX` and row
 * `anchorY` is the one that meets the pixel itself. `nShiftR` shifts every sum to the right, toward minus infinity; it
 * is kept as it is, and its lowest five bits count. The form with characters takes bytes with a sign.
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

/* ---- Convolution ------------------------------------------------------------------------------------------------ */

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
 * so that the first value meets the sample furthest right and lowest: see any textbook on convolution, such as R. N.
 * Bracewell, "Two-Dimensional Imaging" (1995). In place is allowed. The data orders are the same; a channel of interest
 * is set in both images or in none.
 *
 * orvConvolve2D takes every depth but 32F. Each sum is exact where no sum of the kernel can pass 32 bits, and is then
 * shifted by the kernel's nShiftR. With one kernel and no shift ORV_COMBINE_SUMSQ gives the square of the sum,
 * ORV_COMBINE_SUMSQROOT its absolute value, and every other method, known or not, the sum. Totals of several kernels
 * are integers as long as the sums of every kernel lie between -32768 and 32767, and otherwise floats; integer squares
 * and totals wrap at 32 bits. Results are rounded to nearest, ties to even, and cut to the depth's range; at 1U what is
 * above 0, or above 0.5 for floats, is 1.
 *
 * Where sums of a kernel can pass 32 bits, or a value does not fit 16, and always at 32S, they are formed in floats:
 * every product in double precision, the running sum rounded to a float after each, the kernel's values from the last
 * to the first. A shift first rounds to an integer. Dense windows of 3 x 3 (at most two values 0) and 5 x 5 (at most
 * four) in rows of 1 or 3 channels are an exception: at 32S their sums are formed in double precision and rounded once;
 * at other depths, where such kernels are of no use, the sums wrap at 32 bits and their bits are taken for floats.
 *
 * orvConvolve2DFP takes 32F. Windows of 3 x 3 and 5 x 5 in rows of 1 or 3 channels are summed in double precision and
 * rounded once; others take two rows of the window at a time, column by column, and round to a float after each two
 * products.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ROI_OFFSET (a region that begins outside its image);
 * ORV_STATUS_BAD_ARG (no `kernel`; `nKernels` below 1 or above 10; an unknown method for several kernels; a kernel that
 * is NULL; a bad one; depths or data orders that differ; 32F, or for orvConvolve2DFP any other depth; a channel of
 * interest in one image only; no channel but alpha; numbers of processed channels that differ); ORV_STATUS_NO_MEMORY
 * (no memory, or a tile that does not come). Nothing happens where regions and masks have no pixel in common. */
ORV_API(void)
orvConvolve2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel** kernel, int32_t nKernels, int32_t combineMethod);
ORV_API(void)
orvConvolve2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP** kernel, int32_t nKernels,
                int32_t combineMethod);

/* Filters an image with a row kernel `xKernel`, of one row, and a column kernel `yKernel`, of one column, of which one
 * may be NULL. The kernel's values run as they were given, and that at the anchor meets the pixel itself:
 *
 *     sum(x, y) = sum over i, j of X[i] * Y[j] * src(x + i - anchorX, y + j - anchorY)
 *
 * orvConvolveSep2D takes every depth but 32F. The sum is formed modulo 2^32, shifted to the right once by the sum of
 * both kernels' shifts, toward minus infinity, and cut to the depth's range, which at 32S is the sum itself.
 * orvConvolveSep2DFP takes 32F: the columns first, then the rows, each sum formed in double precision and rounded to a
 * float once. That a window which is a product costs the sum of its sides only: see any textbook, such as W. K. Pratt,
 * "Digital Image Processing" (1978). In place is refused.
 *
 * Returns 0, or a negative status. Clears the thread's status first. Reports an image's fault with "Incorrect Image",
 * then ORV_STATUS_BAD_ARG, which is also what is returned (one image for both; no kernel; depths, data orders or
 * origins that differ; more than 32 channels in pixel order; numbers of channels, alpha channels or numbers of
 * processed channels that differ; of the row kernel, then of the column kernel: no values, fewer than 2 values or
 * values in both directions, an anchor outside; 32F, or for orvConvolveSep2DFP any other depth). ORV_STATUS_NO_MEMORY
 * is stored and returned, and reported as ORV_STATUS_BACKTRACE, where there is no memory or a tile does not come. */
ORV_API(int32_t)
orvConvolveSep2D(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernel* xKernel, OrvConvKernel* yKernel);
ORV_API(int32_t)
orvConvolveSep2DFP(OrvImage* srcImage, OrvImage* dstImage, OrvConvKernelFP* xKernel, OrvConvKernelFP* yKernel);

/* ---- Correlation ------------------------------------------------------------------------------------------------ */

/* Tells how like the template the surroundings of every pixel are: the cosine of the angle between both as vectors,
 *
 *     r(x, y) = sum of s * t / sqrt(sum of s * s * sum of t * t)
 *
 * over the region of `tplImage`, of tw by th pixels, whose top left value t meets the sample s at (x - tw / 2, y - th /
 * 2), halves rounded down; with 1 for a root that is not above 1.1754943508222875e-38. The template's mask does not
 * count. Sums of integers are exact, those of samples of 32 bits are formed in double precision. All depths but 1U; the
 * images have one depth, or the source and the template 8U and the destination 32F. The result is r at 32F, and at
 * other depths r * 255 (8U), r * 127 (8S), r * 65535 (16U), r * 32767 (16S) or r * 2147483520 (32S), rounded to
 * nearest, ties to even, and cut.
 *
 * The images agree in their numbers of processed channels; in data order, origin, alpha channel and number of channels
 * the source agrees with one of the others at least. In place is refused; the template may be any image, but is not
 * tiled.
 *
 * See J. P. Lewis, "Fast normalized cross-correlation", Vision Interface (1995).
 *
 * Returns 0, or a negative status. Reports an image's fault with "Incorrect Image" (the source's, the template's, the
 * destination's); then ORV_STATUS_BAD_ARG, which is also what is returned (source and destination are one image; the
 * template's depth differs; a destination of another depth, or 1U; data orders, origins, alpha channels, numbers of
 * channels that differ from both of the source's; numbers of processed channels that differ; a tiled template);
 * ORV_STATUS_NO_MEMORY (no memory, or a tile that does not come). While it computes, the thread's error mode is
 * ORV_ErrModeSilent: tile providers see that. */
ORV_API(int32_t) orvNormCrossCorr(OrvImage* tplImage, OrvImage* srcImage, OrvImage* dstImage);

/* ---- Morphology ----------------------------------------------------------------------------------------------------
 *
 * The window is a square of 2 n + 1 by 2 n + 1 pixels, n being `iterations`, with the pixel in its middle: what n steps
 * with a window of 3 by 3 give. Of what lies around the region a frame of one pixel takes part, which is the image's
 * own or, outside the image, that of its border modes; farther out the frame is repeated. Depths 1U, 8U and 16U; each
 * channel by itself; in place is allowed and gives the same pixels. The destination's channel of interest is the
 * source's, or none where it has no region; its own one only counts in the checks. The time hardly depends on the
 * window's size:
 * it grows with its logarithm.
 *
 * All four clear the stored status first. They report, in this order, an image's fault with "Incorrect Image", the
 * source's before the destination's, and with ORV_STATUS_BAD_ARG: "Illegal number of iterations" (fewer than 1),
 * "Illegal image depth", "SRC and DST depth are different", "SRC and DST order are different" (data orders, also of one
 * channel), "SRC and DST orign are different", "SRC and DST number of channels are different" (processed ones, or the
 * destination lacks the source's channel of interest). Without memory, or where a tile does not come, the stored status
 * becomes ORV_STATUS_NO_MEMORY and nothing is reported.
 *
 * J. Serra, "Image Analysis and Mathematical Morphology", Academic Press (1982). Running extremes: M. van Herk, "A fast
 * algorithm for local minimum and maximum filters on rectangular and octagonal kernels", Pattern Recognition Letters 13
 * (1992); J. Gil and M. Werman, "Computing 2-D min, median, and max filters", IEEE Transactions on Pattern Analysis and
 * Machine Intelligence 15 (1993). */

/* The greatest value of the window; at 1U whether any bit is set. */
ORV_API(void) orvDilate(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);

/* The least value of the window; at 1U whether all bits are set. */
ORV_API(void) orvErode(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);

/* Erosion, then dilation: removes what is bright and smaller than the window. The first stage is made in the region
 * alone; around it the second stage sees the source. Both run from the top down, row by row, and the first does so no
 * further than the second needs rows: the last n rows of the result, all of which have the window of the first of them,
 * are equal. */
ORV_API(void) orvOpen(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);

/* Dilation, then erosion: removes what is dark and smaller than the window. Otherwise as orvOpen. */
ORV_API(void) orvClose(OrvImage* srcImage, OrvImage* dstImage, int32_t iterations);

/* ---- Ranks ---------------------------------------------------------------------------------------------------------
 *
 * The window is of `nCols` by `nRows` pixels, of which the pixel itself is column `anchorX` and row `anchorY`, counted
 * from 0. In place is refused. Where both images have masks, pixels are computed that are set in both.
 *
 * These three take all depths but 32F and compute each channel by itself. They report, in this order, an image's fault
 * with "Incorrect Image", the source's before the destination's, and with ORV_STATUS_BAD_ARG:
 * "(anchorX>=nCols)||(anchorX<0)", "(anchorY>=nRows)||(anchorY<0)", "(srcImage==dstImage)",
 * "srcImage->depth!=dstImage->depth", "srcImage->depth==32", "srcImage->nChannels!=dstImage->nChannels",
 * "srcImage->alphaChannel!=dstImage->alphaChannel",
 * "(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)" and, unless the depth is 1U,
 * "srcImage->dataOrder!=dstImage->dataOrder". Then "Interst Channel of input Image more number of channels.", the same
 * of the "output Image", and "Number of interset channel input and output Image is not equal." are all tested; if the
 * stored status is negative after that, whoever stored it, nothing is done.
 *
 * A tile that does not come is reported with ORV_STATUS_ERROR, "Error get tile to read" or "Error get tile to write".
 * Without memory the work ends without a report. */

/* The greatest value of the window; at 1U whether any bit is set. For the method see orvDilate. */
ORV_API(void)
orvMaxFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The least value of the window; at 1U whether all bits are set. */
ORV_API(void)
orvMinFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The median of the window: value nCols * nRows / 2 + 1 from below, rounded down, which is the upper of the two in the
 * middle if their number is even; at 1U whether at least half of the bits are set.
 *
 * Small windows: A. Adams, "Fast median filters using separable sorting networks", ACM Transactions on Graphics 40
 * (2021). Large ones at 8 bits: S. Perreault and P. Hebert, "Median filtering in constant time", IEEE Transactions on
 * Image Processing 16 (2007); otherwise: T. S. Huang, G. J. Yang and G. Y. Tang, "A fast two-dimensional median
 * filtering algorithm", IEEE Transactions on Acoustics, Speech and Signal Processing 27 (1979). */
ORV_API(void)
orvMedianFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX, int32_t anchorY);

/* The pixel of the window whose distances to all the others have the least sum, of several the first, row by row. A
 * distance is the sum of the absolute differences of three channels; at 32F distances are added as floats, pair by
 * pair. The images have three channels, or four of which the source's last one is alpha; the fourth is not written. All
 * depths but 1U and 32S; the data orders may differ. The time grows with the square of the window's number of pixels.
 *
 * J. Astola, P. Haavisto and Y. Neuvo, "Vector median filters", Proceedings of the IEEE 78 (1990).
 *
 * Reports, in this order, an image's fault with "Incorrect Image", the source's before the destination's, and with
 * ORV_STATUS_BAD_ARG: "(anchorX>=nCols)||(anchorX<0)", "(anchorY>=nRows)||(anchorY<0)", "(srcImage==dstImage)",
 * "srcImage->depth!=dstImage->depth", "srcImage->depth==1", "srcImage->depth==(0x80000000|32)",
 * "srcImage->nChannels!=dstImage->nChannels", "srcImage->nChannels<3", "srcImage->nChannels>4",
 * "(srcImage->nChannels==3)&&(srcImage->alphaChannel!=0)", "(srcImage->nChannels==4)&&(srcImage->alphaChannel==0)",
 * "srcImage->roi->coi!=0", "dstImage->roi->coi!=0". Tiles and memory: as above. */
ORV_API(void)
orvColorMedianFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t nCols, int32_t nRows, int32_t anchorX,
                     int32_t anchorY);

/* ---- Fixed filters ---------------------------------------------------------------------------------------------- */

/* The coefficients of a window, from left to right and top to bottom, and what the sum is divided by if anything. */
enum {
    ORV_FIXED_PREWITT_X = 0, /* 1 0 -1, three times */
    ORV_FIXED_PREWITT_Y = 1, /* -1 -1 -1, 0 0 0, 1 1 1 */
    ORV_FIXED_SOBEL_X = 2,   /* 1 0 -1, 2 0 -2, 1 0 -1 */
    ORV_FIXED_SOBEL_Y = 3,   /* -1 -2 -1, 0 0 0, 1 2 1 */
    ORV_FIXED_LAPLACE3 = 4,  /* all -1, in the middle 8 */
    ORV_FIXED_LAPLACE5 = 5,  /* -1 -3 -4 -3 -1, -3 0 6 0 -3, -4 6 20 6 -4, and back */
    ORV_FIXED_GAUSS3 = 6,    /* 1 2 1, 2 4 2, 1 2 1, by 16 */
    ORV_FIXED_GAUSS5 = 7,    /* 2 7 12 7 2, 7 31 52 31 7, 12 52 127 52 12, and back, by 571 */
    ORV_FIXED_HIGHPASS3 = 8, /* ORV_FIXED_LAPLACE3 by another name */
    ORV_FIXED_HIGHPASS5 = 9, /* 5 by 5, all -1, in the middle 24 */
    ORV_FIXED_SHARPEN3 = 10  /* all -1, in the middle 16, by 8 */
};

/* Gives every value the sum of the window around it times the coefficients of `filter` (ORV_FIXED_...). The
 * coefficients are not turned round: a ramp that rises to the right gives something negative with ORV_FIXED_SOBEL_X.
 * Quotients are rounded to nearest, ties to even, and results cut to the range of the depth. 32S and 32F are computed
 * in 32-bit float, row by row, and so is ORV_FIXED_GAUSS5 at all depths, whose coefficients are rounded to float. At 1U
 * a bit is set where the sum is above 0, with ORV_FIXED_GAUSS3 above 7, with ORV_FIXED_GAUSS5 above 285;
 * ORV_FIXED_SHARPEN3 is orvCopy then, with all its rules. Each channel by itself; in place is refused. No
 * floating-point exception is raised or left.
 *
 * J. M. S. Prewitt, "Object enhancement and extraction", in Picture Processing and Psychopictorics (1970); I. Sobel and
 * G. Feldman, "A 3x3 isotropic gradient operator for image processing" (1968).
 *
 * Reports and returns, in this order: an image's fault, with "Incorrect Image", the source's before the destination's;
 * then with ORV_STATUS_BAD_ARG "(srcImage==dstImage)", "srcImage->depth!=dstImage->depth" (returns
 * ORV_STATUS_BAD_DEPTH), "srcImage->nChannels!=dstImage->nChannels" (ORV_STATUS_BAD_CHANNELS),
 * "srcImage->alphaChannel!=dstImage->alphaChannel" (ORV_STATUS_BAD_ALPHA_CHANNEL),
 * "(srcImage->alphaChannel!=0)&&(srcImage->alphaChannel!=srcImage->nChannels)", and unless the depth is 1U
 * "srcImage->dataOrder!=dstImage->dataOrder" (-1); then the three tests of the channels of interest as orvMedianFilter
 * makes them, with ORV_STATUS_BAD_COI, after which a negative stored status is returned; last, with ORV_STATUS_BAD_ARG,
 * "Unknow filter.". Tiles and memory: as orvMedianFilter. Returns the stored status if it is negative, 0 otherwise. */
ORV_API(int32_t) orvFixedFilter(OrvImage* srcImage, OrvImage* dstImage, int32_t filter);

#ifdef __cplusplus
}
#endif

#endif
