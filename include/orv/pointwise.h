/* orv/pointwise.h - operations whose every output pixel comes from the pixels at the same place.
 *
 * Unless a function says otherwise: images have one depth and one data order and process the same number of channels;
 * the destination may be a source; masks of all images hold together; images may be tiled. The common reports, in
 * order: an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a depth, a data order or a number of processed
 * channels that differs; ORV_STATUS_NO_MEMORY where several masks cannot be combined; ORV_STATUS_BAD_ARG for a tile
 * that does not come. Pieces done before a missing tile stay done.
 */
#ifndef ORV_POINTWISE_H
#define ORV_POINTWISE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Two images: arithmetic and logic --------------------------------------------------------------------------- */

/* Adds: dst = a + b, integer results cut to the range of the depth, 32F rounded once. At 1U it is orvOr, under whose
 * name failures are then reported. Reports ORV_STATUS_BAD_ARG for a NULL srcImageA, then the common reports. */
ORV_API(void) orvAdd(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* Subtracts: dst = a - b, integer results cut to the range of the depth; at 1U a AND NOT b. The common reports; the
 * data order of 1U images is not compared. */
ORV_API(void) orvSubtract(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* Multiplies: dst = a * b without scaling, integer results cut to the range of the depth. At 1U it is orvAnd. Reports
 * as orvAdd. */
ORV_API(void) orvMultiply(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* ANDs the bits of the values: dst = a & b, any depth but 32F, which is refused with ORV_STATUS_BAD_ARG after the
 * common reports. The data order of 1U images is not compared. */
ORV_API(void) orvAnd(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* ORs the bits of the values: dst = a | b; as orvAnd. */
ORV_API(void) orvOr(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* XORs the bits of the values: dst = a ^ b; as orvAnd. */
ORV_API(void) orvXor(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* ---- An image and a scalar -------------------------------------------------------------------------------------- */

/* The common reports hold for source and destination. A NULL source is ORV_STATUS_BAD_ARG, "srcImage==0", before
 * anything else, except for the three logic functions. Calls whose result is a plain fill or a copy are handed to
 * orvAndS, orvOrS or orvXorS before the images are checked, and these then report under their own names. A depth that
 * belongs to the other form (integer or FP) is refused with ORV_STATUS_BAD_ARG, before the images are checked. */

/* Adds `value` to every integer value, cut to the range of the depth; at 1U ORs its lowest bit. Below 32 bits this is
 * orvSubtractS with the negated value, which reports. */
ORV_API(void) orvAddS(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* Subtracts: source - value, or value - source if `flip` is not 0; the exact difference of integer values, cut to the
 * range of the depth. At 1U the lowest bit of `value` counts. */
ORV_API(void) orvSubtractS(OrvImage* srcImage, OrvImage* dstImage, int32_t value, int32_t flip);

/* Multiplies every integer value by `value`, cut to the range of the depth, without scaling; at 1U ANDs its lowest bit.
 * */
ORV_API(void) orvMultiplyS(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* ANDs the low bits of `value`, as many as the depth has, to every value. 32F is refused with ORV_STATUS_BAD_ARG after
 * the common reports. The data order of 1U images is not compared. */
ORV_API(void) orvAndS(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* ORs the low bits of `value`; as orvAndS. */
ORV_API(void) orvOrS(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* XORs the low bits of `value`; as orvAndS. */
ORV_API(void) orvXorS(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* Shifts the bits of every value left by `nShift`; bits shifted out are lost, also the sign. A shift of the depth's
 * number of bits or more gives 0. 32F is refused with ORV_STATUS_BAD_ARG after the common reports. */
ORV_API(void) orvLShiftS(OrvImage* srcImage, OrvImage* dstImage, uint32_t nShift);

/* Shifts every value right by `nShift`, which rounds toward minus infinity: zeros come in at unsigned depths, the sign
 * at signed ones. 32F as in orvLShiftS. */
ORV_API(void) orvRShiftS(OrvImage* srcImage, OrvImage* dstImage, uint32_t nShift);

/* Adds `value` to every 32F value. */
ORV_API(void) orvAddSFP(OrvImage* srcImage, OrvImage* dstImage, float value);

/* source - value at 32F, or value - source if `flip` is not 0. */
ORV_API(void) orvSubtractSFP(OrvImage* srcImage, OrvImage* dstImage, float value, int32_t flip);

/* Multiplies every 32F value by `value`. */
ORV_API(void) orvMultiplySFP(OrvImage* srcImage, OrvImage* dstImage, float value);

/* ---- One image -------------------------------------------------------------------------------------------------- */

/* Inverts every bit of every value: orvXorS with -1, under whose name failures are reported. 32F is refused. */
ORV_API(void) orvNot(OrvImage* srcImage, OrvImage* dstImage);

/* Absolute values at the signed depths, the lowest value giving the highest; -0.0 and NaN stay. Where the destination
 * is unsigned this is orvCopy, whose failure is followed by ORV_STATUS_BACKTRACE, "orvCopy is failed".
 *
 * Reports ORV_STATUS_BAD_ARG for NULL images (both are reported); does nothing at all while the thread's stored status
 * is negative; then the common reports, where a channel of interest on one multi-channel image alone is refused too. */
ORV_API(void) orvAbs(OrvImage* srcImage, OrvImage* dstImage);

/* Squares every value, cut to the range of the depth; a bit stays as it is. The common reports; the data order of 1U
 * images is not compared. */
ORV_API(void) orvSquare(OrvImage* srcImage, OrvImage* dstImage);

/* ---- Comparisons ------------------------------------------------------------------------------------------------ */

/* A comparison writes one bit a pixel into `res`, an image of depth 1U that is none of the sources: 1 where the test
 * holds in every processed channel. Bits outside the region and under clear mask bits stay. The masks of all images
 * hold together, a mask's own mask included, and that one's; any of them may be `res`. If images are tiled, the tiles
 * of `res` are walked, or else those of the first tiled source, and the parts of other tiled sources are read for each;
 * tiles done before a failure stay done.
 *
 * All return 0 or a negative status, which for a failed check is told with it: [reported / returned]. Reports, in
 * order: an image's fault with " Incorrect Image", which is also returned; `res` not 1U [-5 / -17]; depths that differ
 * [-5 / -17], or, with a scalar, a depth of the other form [-5 / -17]; `res` is a source [-5 / -5]; data orders [-5 /
 * -19] and origins [-5 / -20] of two sources that differ; not 32F, for orvEqualFPEps [-5 / -17]; eps not above 0 [-5 /
 * -5]; a source that has nothing but alpha [-18 / -18]; numbers of processed channels that differ [-15 / -15]; a result
 * [-18 / -5] or a mask [-18 / -18] that has nothing but alpha; no memory, or a tile that does not come [-4 / -4]. */

/* a < b, all depths. At 32F a NaN on either side fails. */
ORV_API(int32_t) orvLess(OrvImage* img1, OrvImage* img2, OrvImage* res);

/* a > b, all depths. At 32F a NaN on either side fails. */
ORV_API(int32_t) orvGreater(OrvImage* img1, OrvImage* img2, OrvImage* res);

/* a == b, all depths. At 32F a NaN on either side fails. */
ORV_API(int32_t) orvEqual(OrvImage* img1, OrvImage* img2, OrvImage* res);

/* |a - b| < eps, 32F, the difference in double precision. A NaN on either side passes, and so do equal infinities. */
ORV_API(int32_t) orvEqualFPEps(OrvImage* img1, OrvImage* img2, OrvImage* res, float eps);

/* a < value, integer depths; any `value` is compared exactly, also one outside the range of the depth. */
ORV_API(int32_t) orvLessS(OrvImage* img, int32_t value, OrvImage* res);

/* a > value; as orvLessS. */
ORV_API(int32_t) orvGreaterS(OrvImage* img, int32_t value, OrvImage* res);

/* a == value; as orvLessS. */
ORV_API(int32_t) orvEqualS(OrvImage* img, int32_t value, OrvImage* res);

/* a < value, 32F. A NaN on either side passes. */
ORV_API(int32_t) orvLessSFP(OrvImage* img, float value, OrvImage* res);

/* a > value, 32F. A NaN on either side passes. */
ORV_API(int32_t) orvGreaterSFP(OrvImage* img, float value, OrvImage* res);

/* a == value, 32F. A NaN on either side passes. */
ORV_API(int32_t) orvEqualSFP(OrvImage* img, float value, OrvImage* res);

/* |a - value| < eps, 32F; as orvEqualFPEps. */
ORV_API(int32_t) orvEqualSFPEps(OrvImage* img, float value, OrvImage* res, float eps);

/* ---- Threshold -------------------------------------------------------------------------------------------------- */

/* Gives every processed value at or above `Threshold` the highest value of the destination's depth and every other its
 * lowest. Source depths 8U, 8S, 16U, 16S, 32S; destination depths also 1U. In place is allowed. Data orders may differ
 * if either image has one channel. An image whose only channel is alpha, without a channel of interest, ends it
 * silently, and so do two masks without a common region.
 *
 * Reports ORV_STATUS_BAD_ARG after the images' faults: a 32F image or a 1U source, data orders, origins (also of
 * masks), a `Threshold` outside the source's range, numbers of processed channels, two masks that cannot be combined
 * for lack of memory, a tile that does not come. Two masks are combined by orvAnd; a failure of it is followed by
 * ORV_STATUS_BACKTRACE, "error_orvAnd", and ends the call. A negative status stored before is reported there in the
 * same words, and stops nothing. */
ORV_API(void) orvThreshold(OrvImage* srcImage, OrvImage* dstImage, int32_t Threshold);

/* ---- Products of normalised values, and compositing ------------------------------------------------------------- */

/* At 8U and 16U, where the greatest value M, 255 or 65535, stands for 1. mul(x, y) is x * y / M, rounded down; sums are
 * cut to M.
 *
 * Conventions of the five functions: regions are aligned at their starts and the smallest size counts, that of alpha
 * images too; the masks of the destination and the sources hold together, those of alpha images do not count. Data
 * orders and origins may differ; in place is allowed. All report ORV_STATUS_BAD_ARG where nothing else is said, and end
 * at the first fault.
 *
 * At the end all report ORV_STATUS_NO_MEMORY, "No working memory", or ORV_STATUS_BACKTRACE, "Bad masks for images",
 * where masks cannot be combined, and ORV_STATUS_ERROR, "ERROR in Tiling callBack", for a tile that does not come. */

/* Stores mul(src, value), `value` cut to 0 to M.
 *
 * Reports, for the destination and then the source: NULL; the image's fault with "Incorrect Image"; then an only
 * channel that is alpha and no channel of interest; another depth, or one that differs; numbers of channels that
 * differ, a channel of interest counting as one. */
ORV_API(void) orvMultiplySScale(OrvImage* srcImage, OrvImage* dstImage, int32_t value);

/* Stores mul(a, b). Reports as orvMultiplySScale, for both sources. */
ORV_API(void) orvMultiplyScale(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage);

/* Multiplies the processed colour channels by alpha, in place: by the image's alpha channel if `alpha` is negative or
 * above M; otherwise by `alpha`, to which the alpha channel, if there is one, is then set, also under a channel of
 * interest.
 *
 * Reports NULL; the image's fault with "Incorrect Image"; another depth; a channel of interest that is the alpha
 * channel; no alpha channel where it is asked for. */
ORV_API(void) orvPreMultiplyAlpha(OrvImage* image, int32_t alpha);

/* Composites two images. `compositeType` is one of, with A and B the colours multiplied by their alphas a and b, which
 * here stand for 0 to 1:
 *
 *   type       colour                       alpha
 *   0 over     A + (1 - a) B                a + (1 - a) b
 *   1 in       A b                          a b
 *   2 out      A (1 - b)                    a (1 - b)
 *   3 atop     A b + (1 - a) B              b
 *   4 xor      A (1 - b) + (1 - a) B        a (1 - b) + (1 - a) b
 *   5 plus     A + B                        a + b
 *
 * `premulAlpha` 1 says that the colours are multiplied already; with 0 they are multiplied first. With `divideMode` 0
 * all products are mul and all sums cut. With 1 the colour is divided by the alpha of the result where that is not 0,
 * in double precision with alphas of a * (float)(1 / M), cut to M and rounded to nearest, ties to even.
 *
 * `aA` and `aB` are the alphas of whole images, or, if negative or above M, stand for the alpha channels of these. The
 * destination's alpha channel stays.
 *
 * T. Porter and T. Duff, "Compositing digital images", SIGGRAPH 1984.
 *
 * Reports, for the destination and then the sources: NULL; the image's fault with "Incorrect Image"; then a channel of
 * interest that is the alpha channel; another depth, or one that differs; a channel of interest in one image and not in
 * the other; numbers of colour channels that differ; no alpha channel where it is asked for; a type; a mode. */
ORV_API(void)
orvAlphaCompositeC(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage, int32_t compositeType, int32_t aA,
                   int32_t aB, int32_t premulAlpha, int32_t divideMode);

/* The same with an alpha for each pixel, and with the alpha of the result stored. Alphas are read in the alpha channel
 * of an alpha image, or in its only colours' first channel, or, where the image is NULL, in the alpha channel of the
 * source. Without `alphaImageB` the second alpha is that of `srcImageB` only if `alphaImageA` is NULL too and the
 * source has one; otherwise it is 1 - a, and the alpha of the result then comes from products of a and 1 - a alone (at
 * divideMode 0, type 2 stores a a and type 5 stores M). The alpha of the result goes to the alpha channel of
 * `alphaImageDst`, or of the destination if that is NULL and there is one, also under a channel of interest.
 *
 * Reports as orvAlphaCompositeC; at the alphas, for each alpha image its fault with "Incorrect Image" and a depth that
 * differs, and no alpha channel in `srcImageA`, where it is asked for, or in `alphaImageDst`. */
ORV_API(void)
orvAlphaComposite(OrvImage* srcImageA, OrvImage* srcImageB, OrvImage* dstImage, int32_t compositeType,
                  OrvImage* alphaImageA, OrvImage* alphaImageB, OrvImage* alphaImageDst, int32_t premulAlpha,
                  int32_t divideMode);

#ifdef __cplusplus
}
#endif

#endif
