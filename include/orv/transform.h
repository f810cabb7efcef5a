/* orv/transform.h - Fourier, cosine and wavelet transforms. */
#ifndef ORV_TRANSFORM_H
#define ORV_TRANSFORM_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fourier transforms ----------------------------------------------------------------------------------------- */

/* Flags of the Fourier transforms, which may be combined: one of FORWARD and INVERSE is needed. */
enum {
    ORV_FFT_FORWARD = 1,    /* exponent sign minus: exp(-2 pi i k n / N) */
    ORV_FFT_INVERSE = 2,    /* exponent sign plus, and division by the number of elements */
    ORV_FFT_NO_SCALE = 4,   /* no division; FORWARD never divides */
    ORV_FFT_USE_INT = 16,   /* 32-bit fixed-point arithmetic with 6 bits of fraction, where neither image is 32F */
    ORV_FFT_USE_FLOAT = 32, /* floating-point arithmetic, which is also what there is without either flag */
    ORV_FFT_RELEASE = 128   /* only release what the transforms keep for the calling thread */
};

/* The packed spectrum of a real image of W by H pixels has the same size. With F(v, u) the value at vertical frequency
 * v and horizontal frequency u, of which those not stored are conjugates of F(-v, -u):
 *
 * - Column 0 holds F(v, 0) as a packed line: F(0, 0), then real and imaginary part of F(1, 0), F(2, 0) and so on
 *   downwards, and for even H at last F(H / 2, 0); the first and, for even H, the last value are real.
 * - For even W, column W - 1 holds F(v, W / 2) in the same way.
 * - Columns 2k - 1 and 2k of row v hold real and imaginary part of F(v, k), k = 1 to (W - 1) / 2.
 *
 * The transforms work on the images' regions, whose smaller width and height count, channel by channel; masks are not
 * looked at. Depths may be any but 1U and need not be the same: values are rounded to nearest, ties to even, and
 * saturated where they are stored, and what is no number becomes 0. Source and destination may be the same image.
 *
 * Any size will do. In floating-point arithmetic, which is single precision, all lengths N take about N log N steps:
 * products of 2, 3, 5, 7, 11 and 13 by mixed radix (J. W. Cooley and J. W. Tukey, "An algorithm for the machine
 * calculation of complex Fourier series", Math. Comp. 19, 1965), with prime factors up to 61 at some more cost, with
 * larger ones as a convolution at about four times the cost (L. I. Bluestein, "A linear filtering approach to the
 * computation of discrete Fourier transform", IEEE Trans. AU-18, 1970). The root of the mean square error, relative
 * to that of the result, stays below 3e-7 times the logarithm to base 2 of the number of pixels, and is usually a
 * tenth of it. In fixed point lengths that are powers of two take N log N steps (radix 4; real lines as complex ones
 * of half the length: J. W. Cooley, P. A. W. Lewis and P. D. Welch, "The fast Fourier transform algorithm:
 * programming considerations in the calculation of sine, cosine and Laplace transforms", J. Sound Vib. 12, 1970), all
 * other lengths N squared.
 *
 * The fixed-point arithmetic wraps around where a spectrum's values, of the whole image, do not fit 26 bits.
 *
 * Tables and work buffers are kept for the calling thread, so that repeated transforms of a size
 * allocate nothing: about 4 bytes for each pixel of the largest transform so far, which is 64 MB
 * after one of 4096 x 4096 pixels, and for up to 32 lengths tables of 12 bytes for each pixel of a
 * line, or about 100 where the length has a prime factor above 61. A call with ORV_FFT_RELEASE
 * releases all that and does nothing else; the images may then be NULL. The thread's end releases it
 * too. */

/* Transforms a real image into its packed spectrum, or with ORV_FFT_INVERSE into that of the inverse transform.
 *
 * Reports ORV_STATUS_BAD_ARG (neither direction, both, both kinds of arithmetic); for the source, then for the
 * destination:
 * ORV_STATUS_BAD_ARG (NULL), the header's fault with "Incorrect Image", ORV_STATUS_BAD_ARG (the only channel is an
 * alpha channel and not selected by a COI, depth 1U, tiled); ORV_STATUS_BAD_ARG (the images' numbers of channels
 * differ, where a COI selects one and the alpha channel is left out); ORV_STATUS_NO_MEMORY, after one more try with all
 * that is kept released. */
ORV_API(void) orvRealFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags);

/* Transforms a packed spectrum into the real image, usually with ORV_FFT_INVERSE; as orvRealFft2D, which it undoes. */
ORV_API(void) orvCcsFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags);

/* Multiplies two packed spectra element by element, as complex numbers, which convolves the images that they belong to.
 * The three images have regions of one size, one of the depths 8S, 16S, 32S and 32F and as many channels each, a COI
 * selecting one and the alpha channel left out; `dst` may be one of the sources. Results are rounded to nearest and
 * saturated.
 *
 * Reports for srcA, srcB, dst the header's fault with "Incorrect Image"; for each ORV_STATUS_BAD_ARG (tiled);
 * ORV_STATUS_BAD_DEPTH; ORV_STATUS_BAD_ARG (depths differ, then widths and heights); ORV_STATUS_BAD_CHANNELS (numbers
 * of channels differ). */
ORV_API(void) orvMpyRCPack2D(OrvImage* srcA, OrvImage* srcB, OrvImage* dst);

/* ---- Cosine transform ------------------------------------------------------------------------------------------- */

/* Flags of orvDCT2D. */
enum {
    ORV_DCT_FORWARD = 1,
    ORV_DCT_INVERSE = 2,
    ORV_DCT_RELEASE = 8 /* release the calling thread's tables and do nothing else */
};

/* Computes the orthonormal two-dimensional cosine transform of type II of a region, or its inverse. With W x H pixels
 * and f(y, x) the pixels of `src`, the forward transform stores in row u and column v of `dst`
 *
 *     F(u, v) = A(u, v) sum over y, x of f(y, x) cos((2 x + 1) v pi / (2 W)) cos((2 y + 1) u pi / (2 H))
 *
 * with A(0, 0) = 1 / sqrt(W H), sqrt(2) / sqrt(W H) in the rest of the first row and of the first column, and
 * 2 / sqrt(W H) elsewhere; the inverse gives f back from F. Any size is taken, at the cost and with the accuracy of a
 * Fourier transform in single precision; blocks of 8 x 8 have a way of their own.
 *
 * src    pixels, or coefficients for the inverse, of any depth but 1U. Its region gives the size.
 * dst    another image of the same size, number of channels and data order, of any depth but 1U. The result begins at
 * the
 *        start of its region, whose size does not count. Integer values are saturated and rounded to nearest, ties to
 *        even, and what is no number becomes 0; a forward transform belongs in a 32F image.
 * flags  ORV_DCT_FORWARD or ORV_DCT_INVERSE.
 *
 * Each channel is transformed by itself, alpha excepted; with a `coi` in both images the selected ones only. Masks
 * are not looked at. Tables like those of the Fourier transforms, and 12 bytes more for each pixel of a line, are kept
 * for the thread's next calls, until ORV_DCT_RELEASE or the thread's end. While it works a call takes about 4 bytes for
 * each pixel of the region.
 *
 * Reports ORV_STATUS_BAD_ARG: neither or both directions; a NULL image; `src` and `dst` the same image; depth 1U; a bad
 * alphaChannel of `src`; images that are not compatible: sizes, channels, processed channels or data orders differ, one
 * alone has a region, a region lies partly outside its image or the source's does not fit at the destination's start, a
 * tiled image; ORV_STATUS_NO_MEMORY (the tables). Without memory for the work nothing is reported. Without either
 * `dst` stays as it is.
 *
 * Method: rows and columns as in J. Makhoul, "A fast cosine transform in one and two dimensions", IEEE Trans. ASSP-28
 * (1980), from a Fourier transform of their length; blocks of 8 x 8 by Y. Arai, T. Agui and M. Nakajima, "A fast
 * DCT-SQ scheme for images", Trans. IEICE E-71 (1988). */
ORV_API(void) orvDCT2D(OrvImage* src, OrvImage* dst, int32_t flags);

/* ---- Wavelet transforms ----------------------------------------------------------------------------------------- */

/* Types of a kernel: the families of the catalogue, and the application's own filters. */
enum {
    ORV_WT_HAAR = 0,
    ORV_WT_DAUBECHIES = 1,       /* par1: order, 1 to 10; 2 * par1 taps */
    ORV_WT_SYMLET = 2,           /* par1: order - 3, 1 to 7; 2 * par1 + 6 taps */
    ORV_WT_COIFLET = 3,          /* par1: order, 1 to 5; 6 * par1 taps */
    ORV_WT_VAIDYANATHAN = 4,     /* 24 taps */
    ORV_WT_BSPLINE = 5,          /* par1, par2: 1 with 1, 3, 5; 2 with 2, 4, 6, 8; 3 with 1, 3, 5, 7, 9 */
    ORV_WT_BSPLINE_DUAL = 6,     /* the same pairs with decomposition and reconstruction exchanged */
    ORV_WT_LINEAR_SPLINE = 7,    /* the taps of ORV_WT_BSPLINE with 2, 2 */
    ORV_WT_QUADRATIC_SPLINE = 8, /* the taps of ORV_WT_BSPLINE with 3, 3 */
    ORV_WT_USER = 9
};

/* Symmetry of a filter. */
enum { ORV_WT_SYMMETRIC = 0, ORV_WT_ANTISYMMETRIC = 1, ORV_WT_ASYMMETRIC = 2 };

/* Orthogonality of a kernel. */
enum { ORV_WT_ORTHONORMAL = 0, ORV_WT_BIORTHOGONAL = 1 };

/* Symmetry and orthogonality of the application's filters: not known. */
enum { ORV_WT_UNKNOWN = 3 };

/* A filter. */
typedef struct OrvWtFilter {
    float* taps;      /* `length` coefficients */
    int32_t length;   /* at least 2 */
    int32_t offset;   /* the tap that meets the sample at twice the output's index: 0 to length - 1 */
    int32_t symmetry; /* ORV_WT_...; for the application's use, never read by the library */
} OrvWtFilter;

/* A filter bank. The record is the application's; the taps of a catalogue kernel are constants of the library, those of
 * a user kernel are released by orvWtFree. */
typedef struct OrvWtKernel {
    int32_t wtType; /* ORV_WT_... */
    int32_t par1;   /* parameters of the type; 0 where it has none */
    int32_t par2;
    int32_t orthogonality;  /* ORV_WT_...; for the application's use, never read by the library */
    OrvWtFilter filtDecLow; /* decomposition; its taps add up to 1 in the catalogue */
    OrvWtFilter filtDecHigh;
    OrvWtFilter filtRecLow; /* reconstruction; its taps add up to 2 in the catalogue */
    OrvWtFilter filtRecHigh;
} OrvWtKernel;

/* Fills `wtKernel` with a filter bank of the catalogue: the taps published for the family, with the low-pass filters
 * scaled as the record says and the high-pass ones made of them by alternating signs.
 *
 * wtType       ORV_WT_HAAR to ORV_WT_QUADRATIC_SPLINE.
 * par1, par2   the type's parameters; ignored where it has none.
 *
 * Clears the stored status first. Returns 0 or the reported status: ORV_STATUS_NULL_POINTER (wtKernel),
 * ORV_STATUS_BAD_ARG (wtType, then par1, then par2).
 *
 * Sources: I. Daubechies, "Ten Lectures on Wavelets" (1992), but for the Coiflet of order 1, which is that of G.
 * Beylkin, R. Coifman and V. Rokhlin, Comm. Pure Appl. Math. 44 (1991); P. P. Vaidyanathan and P.-Q. Hoang, IEEE Trans.
 * ASSP-36 (1988); A. Cohen, I. Daubechies and J.-C. Feauveau, Comm. Pure Appl. Math. 45 (1992). */
ORV_API(int32_t) orvWtInit(int32_t wtType, int32_t par1, int32_t par2, OrvWtKernel* wtKernel);

/* Fills `wtKernel` with copies of four filters, in the order of the kernel's fields. That they give the image back is
 * not tested. The kernel is released by orvWtFree; after a failure it is as before.
 *
 * Clears the stored status first. Returns 0 or the reported status: ORV_STATUS_NULL_POINTER (wtKernel, filt);
 * ORV_STATUS_BAD_FILTER for the first filter whose taps are NULL, length is below 2, offset is not below the length or
 * is negative; ORV_STATUS_NO_MEMORY. */
ORV_API(int32_t) orvWtInitUserFilter4(const OrvWtFilter* filt, OrvWtKernel* wtKernel);

/* orvWtInitUserFilter4 with a pointer for each filter. A NULL one is ORV_STATUS_NULL_POINTER. */
ORV_API(int32_t)
orvWtInitUserFilter(const OrvWtFilter* decLow, const OrvWtFilter* decHigh, const OrvWtFilter* recLow,
                    const OrvWtFilter* recHigh, OrvWtKernel* wtKernel);

/* orvWtInitUserFilter4 with arrays of four: pointers to the taps, lengths and offsets. A NULL array or tap pointer is
 * ORV_STATUS_NULL_POINTER. */
ORV_API(int32_t)
orvWtInitUserTaps(float* const* tap_filt, const int32_t* len_filt, const int32_t* ofs_filt, OrvWtKernel* wtKernel);

/* Releases the taps of a user kernel and clears the record of any kernel. A cleared kernel may be passed again. Returns
 * 0, or ORV_STATUS_NULL_POINTER after a report. */
ORV_API(int32_t) orvWtFree(OrvWtKernel* wtKernel);

/* Splits an image into four subbands by one level of the separable wavelet transform. Along each axis output i of a
 * filter is the sum over k of taps[k] * x(2 i + offset - k), where x goes on periodically; an odd number of samples is
 * made even by doubling the last one first.
 *
 * wtKernel    of which filtDecLow and filtDecHigh are used.
 * src         8U, one channel; its region, cut at its edges, is what is transformed.
 * approxDst   low-pass along x and along y, xDetailDst low-pass along x and high-pass along y, yDetailDst high-pass
 * along x
 *             and low-pass along y, dDetailDst high-pass along both: 32F, one channel, without region, half as wide and
 *             as high as the source's region, rounded up, all with the same widthStep.
 *
 * Memory for the work grows with the width and the filters' lengths, not with the height. Masks are not looked at.
 *
 * Clears the stored status first. Returns 0, or the reported status with the outputs untouched: ORV_STATUS_NULL_POINTER
 * (wtKernel); ORV_STATUS_BAD_FILTER; an image header's fault, ORV_STATUS_BAD_ARG (tiled), image by
 * image; ORV_STATUS_BAD_ROI_SIZE (an output with a region); ORV_STATUS_BAD_DEPTH; ORV_STATUS_BAD_CHANNELS;
 * ORV_STATUS_BAD_ROI_SIZE (the source's region begins outside); ORV_STATUS_BAD_IMAGE_SIZE; ORV_STATUS_BAD_WIDTH_STEP;
 * ORV_STATUS_NO_MEMORY.
 *
 * Method: S. Mallat, "A theory for multiresolution signal decomposition: the wavelet representation", IEEE Trans.
 * PAMI-11 (1989). */
ORV_API(int32_t)
orvWtDecompose(const OrvWtKernel* wtKernel, OrvImage* src, OrvImage* approxDst, OrvImage* xDetailDst,
               OrvImage* yDetailDst, OrvImage* dDetailDst);

/* Merges four subbands into an image, the inverse of orvWtDecompose with the same kernel. Along each axis output n is
 * the sum over k of low.taps[k] * u(n + low.offset - k) and high.taps[k] * w(n + high.offset - k), u and w being the
 * two subbands with zeros between their samples, continued periodically. Pixels are clamped to 0 and 255 and rounded to
 * nearest, ties to even; what is no number becomes 0.
 *
 * wtKernel    of which filtRecLow and filtRecHigh are used.
 * approxSrc, xDetailSrc, yDetailSrc, dDetailSrc   as orvWtDecompose writes them, for the size of dst's region.
 * dst         8U, one channel; only its region is written.
 *
 * Clears the stored status first. Returns and reports as orvWtDecompose, with `dst` in the place of its `src` and the
 * sources in the place of its outputs. */
ORV_API(int32_t)
orvWtReconstruct(const OrvWtKernel* wtKernel, OrvImage* approxSrc, OrvImage* xDetailSrc, OrvImage* yDetailSrc,
                 OrvImage* dDetailSrc, OrvImage* dst);

#ifdef __cplusplus
}
#endif

#endif
