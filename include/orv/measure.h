/* orv/measure.h - numbers of images: histograms, norms, extremes, moments; contrast by histograms.
 *
 * Conventions that hold for every function here:
 *
 * - The region, the processed channels and the mask are those of every operation: see core.h. Alpha channels are
 *   neither read nor written.
 * - Tiled images are gone through tile by tile, and the parts of the result put together. Where two images are tiled, a
 *   tile of the one whose tiles do not lead may be opened more than once.
 */
#ifndef ORV_MEASURE_H
#define ORV_MEASURE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Histogram and contrast ------------------------------------------------------------------------------------- */

/* A table over the values of one channel: `num` - 1 intervals between `num` keys. A value p is in interval j where
 * key[j] <= p < key[j + 1]; of an interval, `value` is the number of its pixels, or where its mapping starts. The table
 * is the application's. An array `lut` of pointers to tables has one for each channel: that of channel c, counted from
 * 0, is lut[c]; under a channel of interest the others are not read. */
typedef struct OrvLUT {
    int32_t num;             /* of keys, at least 2 */
    int32_t* key;            /* num keys, ascending; equal ones are allowed. The last may be one above the greatest
                                value */
    int32_t* value;          /* of each interval; entry num - 1 is not touched */
    int32_t* factor;         /* slope of each interval; NULL counts as zeros */
    int32_t interpolateType; /* 0: all of an interval maps to value[j]; otherwise p to
                                value[j] + (p - key[j]) * factor[j] */
} OrvLUT;

/* Counts the pixels of each interval: value[j] becomes the number of the region's selected values p with
 * key[j] <= p < key[j + 1], modulo 2^32; interpolateType becomes 0. Depths 1U, 8U and 16U. An image without a region
 * whose only channel is alpha is left alone.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`lut` NULL; a signed or floating-point depth);
 * ends here, without a word, if the thread's stored status is negative; ORV_STATUS_BAD_ARG for a table (NULL; its key
 * or value NULL; fewer than 2 keys; a first key below 0; a last key above the number of values: 2, 256 or 65536; keys
 * that descend); ORV_STATUS_NO_MEMORY; ORV_STATUS_ERROR for a tile that does not come, and ORV_STATUS_BACKTRACE. */
ORV_API(void) orvComputeHisto(OrvImage* srcImage, OrvLUT** lut);

/* Maps every value p by the table of its channel: in interval j to value[j], or, where interpolateType is not 0, to
 * value[j] + (p - key[j]) * factor[j], of which the low bits of the depth count. Values below the first and from the
 * last key on stay. Of several equal keys the first ends the table: all above it belongs to the interval that begins
 * there. Depths 8U and 16U. The data orders may differ if both images have one channel; in place is allowed. Both masks
 * hold.
 *
 * Reports an image's fault with "Incorrect Image"; then, each by itself, ORV_STATUS_BAD_ARG where depths, origins or
 * data orders differ, for another depth, and for `lut` NULL, and ends if the thread's stored status is negative, also
 * by an earlier call; ORV_STATUS_BAD_ARG (numbers of processed channels that differ; a table, as orvComputeHisto);
 * ORV_STATUS_NO_MEMORY; as "orvMap" ORV_STATUS_ERROR (a tile does not come) or ORV_STATUS_BACKTRACE (no memory for the
 * mask), and ORV_STATUS_BACKTRACE. */
ORV_API(void) orvContrastStretch(OrvImage* srcImage, OrvImage* dstImage, OrvLUT** lut);

/* Maps every value so that the counts of its channel's table spread evenly over the range: of the histogram H in which
 * each bin of an interval of width w has value[j] / w pixels, and the last bin the rest, cumulated up to p, p becomes
 * 255 * H(p) / H(255) in integers of 32 bits at 8U, and trunc(H(p) * (65535.0 / H(65535))) at 16U. The tables are only
 * read.
 *
 * Histogram equalisation: R. C. Gonzalez and P. Wintz, "Digital Image Processing" (Addison-Wesley, 1977), section 4.2.
 *
 * Checks and reports are those of orvContrastStretch; then ORV_STATUS_INTERNAL for a table without a count, in which
 * case nothing is written. */
ORV_API(void) orvHistoEqualize(OrvImage* srcImage, OrvImage* dstImage, OrvLUT** lut);

/* ---- Norms and extremes ----------------------------------------------------------------------------------------- */

/* Norms of an image A, or of its difference from an image B; relative ones are divided by the norm of B. */
enum {
    ORV_NORM_C = 1,            /* the greatest |a|, or |a - b| */
    ORV_NORM_L1 = 2,           /* the sum of |a|, or |a - b| */
    ORV_NORM_L2 = 4,           /* the square root of the sum of a * a, or (a - b) * (a - b) */
    ORV_NORM_RELATIVE_C = 9,   /* two images only */
    ORV_NORM_RELATIVE_L1 = 10, /* two images only */
    ORV_NORM_RELATIVE_L2 = 12  /* two images only */
};

/* Returns a norm of `srcImageA`, or of its difference from `srcImageB`, which may be NULL. All depths; a value of 1U is
 * 0 or 1. All processed channels go into one maximum or sum; pixels that a mask leaves out add nothing. The sums of a
 * row of 8 and 16 bits, and of squares of 8 bits, are kept in 32 bits, which hold at least 65537 greatest differences,
 * 66051 of squares; all else in double precision. An empty region gives 0.
 *
 * Returns 0 after a report: A's fault with "Incorrect Image"; ORV_STATUS_BAD_DATA_ORDER (data orders differ); B's fault
 * with "Incorrect Image" and ORV_STATUS_BAD_ARG (depths differ); ORV_STATUS_BAD_ARG (an unknown norm; a relative norm
 * without B); B's fault with "Incorrect Image"; ORV_STATUS_BAD_CHANNELS (numbers of channels differ);
 * ORV_STATUS_BAD_COI (a channel of interest in one image only); ORV_STATUS_NULL_IMAGE (no memory for the mask);
 * ORV_STATUS_BAD_COI (numbers of processed channels differ). Returns -1 after ORV_STATUS_BAD_ARG for a relative norm
 * whose divisor is 0, also of an empty region; -3 after ORV_STATUS_NO_MEMORY where a tile does not come or cannot be
 * copied.
 *
 * A report handler that clears the stored status lets the call go on past data orders, norms, numbers of channels and
 * channels of interest; a norm that is unknown or lacks its B then ends it with ORV_STATUS_ERROR and 0. */
ORV_API(double) orvNorm(OrvImage* srcImageA, OrvImage* srcImageB, int32_t normType);

/* Stores the least and the greatest value of the processed channels of a 32F image; both stay as they are if nothing is
 * processed. NaN is passed over, unless it is the first value, which then is both extremes. Returns 0.
 *
 * Returns ORV_STATUS_BAD_ARG after a report: the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (`min` or
 * `max` NULL; another depth). Returns ORV_STATUS_NO_MEMORY after ORV_STATUS_BAD_ARG for a tile that does not come. */
ORV_API(int32_t) orvMinMaxFP(OrvImage* srcImage, float* min, float* max);

/* ---- Moments ---------------------------------------------------------------------------------------------------- */

/* The moments of an image. M(m, n), the sum of x^m * y^n * p over the region's pixels, is [m][n].value for m + n <= 3;
 * x and y are the pixel's column and stored row in the image. */
typedef struct OrvMoment {
    double scale; /* of [1][0] one by the width, of [0][1] one by the height of the region; of others not used */
    double value;
} OrvMoment;
typedef OrvMoment OrvMomentState[4][4];

/* Fills a record with the ten moments up to order 3 of one channel: a single-channel image, or the channel of interest.
 * All depths; a value of 1U is 0 or 1. Pixels that the mask leaves out count as 0. The record stays as it was if the
 * region is empty. The sums are those of double precision along each row and then over the rows. While it runs on a
 * tiled image the image's roi field points at the working region, which a tile provider sees.
 *
 * M.-K. Hu, "Visual pattern recognition by moment invariants", IRE Trans. Information Theory 8 (1962), for this and all
 * that follow.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG (several channels and no channel of interest);
 * ORV_STATUS_NULL_POINTER (`state` NULL); ORV_STATUS_ERROR (a tile does not come), in which case the record stays as it
 * was. */
ORV_API(void) orvMoments(OrvImage* image, OrvMomentState* state);

/* Returns M(mOrd, nOrd) of a record. Orders are 0 to 3 with a sum of at most 3.
 *
 * Returns 0 after a report: ORV_STATUS_BAD_ARG (an order), ORV_STATUS_NULL_POINTER. */
ORV_API(double) orvGetSpatialMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd);

/* Returns M(m, n) / M(0, 0)^((m + n + 2) / 2). Reports as orvGetSpatialMoment, under its name. */
ORV_API(double) orvGetNormalizedSpatialMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd);

/* Returns the moment about the centre of gravity (M(1, 0) / M(0, 0), M(0, 1) / M(0, 0)), or, where M(0, 0) is 0, about
 * half the region's size. Reports as orvGetSpatialMoment. */
ORV_API(double) orvGetCentralMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd);

/* Returns the central moment divided by M(0, 0)^((m + n + 2) / 2). Reports as orvGetSpatialMoment. */
ORV_API(double) orvGetNormalizedCentralMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd);

/* The same values of an image, as orvMoments would find them; 0 for an empty region.
 *
 * Return 0 after a report: those of orvMoments on the image, ORV_STATUS_BAD_ARG (an order), ORV_STATUS_ERROR (a tile).
 * */
ORV_API(double) orvSpatialMoment(OrvImage* image, int32_t mOrd, int32_t nOrd);
ORV_API(double) orvNormalizedSpatialMoment(OrvImage* image, int32_t mOrd, int32_t nOrd);
ORV_API(double) orvCentralMoment(OrvImage* image, int32_t mOrd, int32_t nOrd);
ORV_API(double) orvNormalizedCentralMoment(OrvImage* image, int32_t mOrd, int32_t nOrd);

#ifdef __cplusplus
}
#endif

#endif
