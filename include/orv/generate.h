/* orv/generate.h - noise, a test image, and pixel functions of the application. */
#ifndef ORV_GENERATE_H
#define ORV_GENERATE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Noise ------------------------------------------------------------------------------------------------------ */

enum { ORV_NOISE_UNIFORM = 0, ORV_NOISE_GAUSSIAN = 1 };

/* What orvNoiseImage adds. Of the pairs of bounds the first is for integer depths, the second for 32F. */
typedef struct OrvNoiseParam {
    int32_t noise;   /* ORV_NOISE_... */
    uint32_t seed;   /* the same seed makes the same noise */
    int32_t lowInt;  /* the low bound, or the mean */
    int32_t highInt; /* the high bound, or the standard deviation */
    float lowFlt;
    float highFlt;
} OrvNoiseParam;

/* Fill the fields of one kind of noise, and leave the others as they are: uniform noise from `low` to `high`, which may
 * be the wrong way round, or Gaussian noise of a mean and a standard deviation, for integer depths or (FP) for 32F.
 * Nothing is checked; nothing happens for NULL. */
ORV_API(void) orvNoiseUniformInit(OrvNoiseParam* noiseParam, uint32_t seed, int32_t low, int32_t high);
ORV_API(void) orvNoiseUniformInitFP(OrvNoiseParam* noiseParam, uint32_t seed, float low, float high);
ORV_API(void) orvNoiseGaussianInit(OrvNoiseParam* noiseParam, uint32_t seed, int32_t mean, int32_t stDev);
ORV_API(void) orvNoiseGaussianInitFP(OrvNoiseParam* noiseParam, uint32_t seed, float mean, float stDev);

/* Adds noise to the processed channels of the region: to each value its own draw, cut toward zero at integer depths,
 * where the sum is cut to the depth's range. Draws go row by row, pixel by pixel, channel by channel, plane by plane; a
 * pixel that the mask leaves out takes none, so that noise under a mask is not the unmasked noise. With a tiled image
 * of planes each plane is a pass over all tiles. All depths but 1U.
 *
 * - Uniform: u * (high - low) * 2^-32 + low, u a number of 32 bits. Below 32 bits the bounds are cut to -M and M, M the
 *   greatest unsigned number of as many bits as the depth; a low bound of M or more first sets the region to the
 *   greatest value, a high bound of -M or less to the least one.
 * - Gaussian: pairs of normal values by the polar method from pairs of numbers, the mean added after the cut.
 *
 * The numbers are the sum of a linear congruential generator and one that subtracts with borrow: G. Marsaglia and A.
 * Zaman, "A new class of random number generators", Annals of Applied Probability 1 (1991). The polar method: G.
 * Marsaglia and T. A. Bray, "A convenient method for generating normal variables", SIAM Review 6 (1964). Noise is the
 * same on every system.
 *
 * Returns 0, or what it reports: the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`noiseParam` NULL; depth
 * 1U; an unknown kind). For a tile that does not come it reports ORV_STATUS_BAD_ARG and returns ORV_STATUS_INTERNAL;
 * tiles before it keep their noise. */
ORV_API(int32_t) orvNoiseImage(OrvImage* image, OrvNoiseParam* noiseParam);

/* ---- Test image ------------------------------------------------------------------------------------------------- */

/* Makes an image of one channel ("GRAY", rows aligned to 4 bytes) with a chirp: rings whose frequency grows with the
 * distance from the centre, up to half a cycle a pixel at the middle of the upper and lower edge. The phase at (x, y)
 * is 2 pi ((x - (width - 1) / 2)^2 + (y - (height - 1) / 2)^2) / (4 height), and of its sine s the value is (s + 1) *
 * 0.49999 at 32F and, cut toward zero, (s + 1) * 0.99999 at 1U, (s + 1) * 127.99999 at 8U, s * 127.99999 at 8S, (s + 1)
 * * 32767.99999 at 16U, s * 32767.99999 at 16S, s * 2147483647.99999 at 32S. The image is the caller's.
 *
 * B. Jaehne, "Digital Image Processing" (Springer, 1991), on test images.
 *
 * Returns NULL after a report: ORV_STATUS_BAD_IMAGE_SIZE (below 1), ORV_STATUS_BAD_DEPTH, ORV_STATUS_NO_MEMORY for the
 * header, also after the report of a size that no image has, or for the pixels. */
ORV_API(OrvImage*) orvCreateImageJaehne(int32_t depth, int32_t width, int32_t height);

/* ---- Pixel functions of the application ------------------------------------------------------------------------- */

typedef int32_t(ORV_CALL* OrvUserFunc)(int32_t src);
typedef float(ORV_CALL* OrvUserFuncFP)(float src);
typedef void(ORV_CALL* OrvUserFuncPixel)(OrvImage* srcImage, void* srcPixel, OrvImage* dstImage, void* dstPixel);

/* Stores cbFunc of every processed value of the source, cut to the range of the depth, in the destination: row by row,
 * pixel by pixel, channel by channel, plane by plane. No call is made for a pixel that a mask leaves out. Integer
 * depths but 1U; in place is allowed. The function may call the library for other images. Where the destination is
 * tiled its tiles lead, and a source's tiles are taken one by one below each; where both are one image its tiles are
 * opened once, for writing.
 *
 * Reports an image's fault with "Incorrect Image" and ends; each by itself ORV_STATUS_BAD_ORIGIN,
 * ORV_STATUS_BAD_DATA_ORDER (they differ), ORV_STATUS_BAD_ARG (`cbFunc` NULL), and ends if the thread's stored status
 * is negative, also by an earlier call; likewise ORV_STATUS_BAD_DEPTH (depths differ), ORV_STATUS_BAD_COI (a channel of
 * interest in one image, and several channels in the other), ORV_STATUS_BAD_CHANNELS (numbers of processed channels
 * that differ, or are 0); ORV_STATUS_BAD_DEPTH (1U, 32F); ORV_STATUS_BAD_ROI_SIZE (nothing to process);
 * ORV_STATUS_BACKTRACE (no memory for the mask). A tile: ORV_STATUS_BACKTRACE where the stored status is negative after
 * it was opened or released, ORV_STATUS_INTERNAL where it does not come. The name in all reports is that of the
 * function of this family that was called last, in whichever thread. */
ORV_API(void) orvUserProcess(OrvImage* srcImage, OrvImage* dstImage, OrvUserFunc cbFunc);

/* The same with floats, at all depths but 1U. Results are cut to the range of an integer depth and then toward zero; at
 * 32S a result of 2147483648 or more becomes -2147483648. A result that is no number counts as too large. 32F stores
 * what it gets. */
ORV_API(void) orvUserProcessFP(OrvImage* srcImage, OrvImage* dstImage, OrvUserFuncFP cbFunc);

/* Calls cbFunc for every pixel of the region with the addresses of all its channels, alpha included, in both images,
 * whatever the channel of interest; the function writes what it wants to dstPixel. Depths and numbers of channels may
 * differ. Of images of planes the channels are brought together by rows, and written back after the row. The walk ends
 * after a call that leaves a stored status other than 0: a function stops it by orvSetErrStatus.
 *
 * Reports as orvUserProcess up to `cbFunc`; ORV_STATUS_BAD_DEPTH (1U); ORV_STATUS_BAD_ROI_SIZE; ORV_STATUS_BACKTRACE
 * (no memory for the mask; the function has set a status); ORV_STATUS_NO_MEMORY (rows of planes); tiles as
 * orvUserProcess. */
ORV_API(void) orvUserProcessPixel(OrvImage* srcImage, OrvImage* dstImage, OrvUserFuncPixel cbFunc);

#ifdef __cplusplus
}
#endif

#endif
