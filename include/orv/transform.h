/* orv/transform.h - Fourier, cosine and wavelet transforms. */
#ifndef ORV_TRANSFORM_H
#define ORV_TRANSFORM_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fourier transforms --------------------------------------------------------------------------------------------- */

/* Flags of the Fourier transforms, which may be combined: one of FORWARD and INVERSE is needed. */
enum {
    ORV_FFT_FORWARD = 1,    /* exponent sign minus: exp(-2 pi i k n / N) */
    ORV_FFT_INVERSE = 2,    /* exponent sign plus, and division by the number of elements */
    ORV_FFT_NO_SCALE = 4,   /* no division; FORWARD never divides */
    ORV_FFT_USE_INT = 16,   /* 32-bit fixed-point arithmetic with 6 bits of fraction, where neither image is 32F */
    ORV_FFT_USE_FLOAT = 32, /* floating-point arithmetic, which is also what there is without either flag */
    ORV_FFT_RELEASE = 128   /* only release what the transforms keep for the calling thread */
};

/* The packed spectrum of a real image of W by H pixels has the same size. With F(v, u) the value at vertical frequency v and
 * horizontal frequency u, of which those not stored are conjugates of F(-v, -u):
 *
 * - Column 0 holds F(v, 0) as a packed line: F(0, 0), then real and imaginary part of F(1, 0), F(2, 0) and so on downwards,
 *   and for even H at last F(H / 2, 0); the first and, for even H, the last value are real.
 * - For even W, column W - 1 holds F(v, W / 2) in the same way.
 * - Columns 2k - 1 and 2k of row v hold real and imaginary part of F(v, k), k = 1 to (W - 1) / 2.
 *
 * The transforms work on the images' regions, whose smaller width and height count, channel by channel; masks are not looked
 * at. Depths may be any but 1U and need not be the same: values are rounded to nearest, ties to even, and saturated
 * where they are stored. Source and destination may be the same image. Any size will do. Lengths that are powers of two
 * take about N log N steps (radix-4 decimation in time; in fixed point radix-4 decimation in frequency; real lines as
 * complex ones of half the length: J. W. Cooley, P. A. W. Lewis and P. D. Welch, "The fast Fourier transform algorithm:
 * programming considerations in the calculation of sine, cosine and Laplace transforms", J. Sound Vib. 12, 1970), all other
 * lengths N squared.
 *
 * The fixed-point arithmetic wraps around where a spectrum's values, of the whole image, do not fit 26 bits.
 *
 * Tables and work buffers are kept for the calling thread, so that repeated transforms of a size allocate nothing. A call with
 * ORV_FFT_RELEASE releases them and does nothing else; the images may then be NULL. They end with the thread. */

/* Transforms a real image into its packed spectrum, or with ORV_FFT_INVERSE into that of the inverse transform.
 *
 * Reports ORV_STATUS_BAD_ARG (neither direction, both, both kinds of arithmetic); for the source, then for the destination:
 * ORV_STATUS_BAD_ARG (NULL), the header's fault with "Incorrect Image", ORV_STATUS_BAD_ARG (the only channel is an alpha
 * channel and not selected by a COI, depth 1U, tiled); ORV_STATUS_BAD_ARG (the images' numbers of channels differ, where a COI
 * selects one and the alpha channel is left out); ORV_STATUS_NO_MEMORY, after one more try with all that is kept
 * released. */
ORV_API(void) orvRealFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags);

/* Transforms a packed spectrum into the real image, usually with ORV_FFT_INVERSE; as orvRealFft2D, which it undoes. */
ORV_API(void) orvCcsFft2D(OrvImage* srcImage, OrvImage* dstImage, int32_t flags);

/* Multiplies two packed spectra element by element, as complex numbers, which convolves the images that they belong to.
 * The three images have regions of one size, one of the depths 8S, 16S, 32S and 32F and as many channels each, a COI selecting
 * one and the alpha channel left out; `dst` may be one of the sources. Results are rounded to nearest and saturated.
 *
 * Reports for srcA, srcB, dst the header's fault with "Incorrect Image"; for each ORV_STATUS_BAD_ARG (tiled);
 * ORV_STATUS_BAD_DEPTH; ORV_STATUS_BAD_ARG (depths differ, then widths and heights); ORV_STATUS_BAD_CHANNELS (numbers of
 * channels differ). */
ORV_API(void) orvMpyRCPack2D(OrvImage* srcA, OrvImage* srcB, OrvImage* dst);

#ifdef __cplusplus
}
#endif

#endif
