/* orv/colour.h - conversions between colour models, colour matrices, fewer levels by dithering. */
#ifndef ORV_COLOUR_H
#define ORV_COLOUR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Colour models ------------------------------------------------------------------------------------------------
 *
 * A header names its model in `colorModel` and the order of its channels in `channelSeq`; three characters of each are
 * compared, of a grey channelSeq one, and case counts:
 *
 *     RGB    "RGB"             "RGB" or "BGR"   red, green, blue, or blue, green, red
 *     grey   "Gray" or "GRAY"  "G"              one channel
 *     HSV    "HSV"             "HSV"            hue, saturation, value
 *     HLS    "HLS"             "HLS"            hue, lightness, saturation
 *     XYZ    "XYZ"             "XYZ"            the CIE's X, Y, Z
 *     LUV    "LUV"             "LUV"            the CIE's lightness and two colour coordinates
 *     YUV    "YUV"             "YUV"            luminance, blue difference, red difference
 *     YCrCb  "YCr"             "YCr"            luminance, blue difference Cb, red difference Cr, in this order
 *     YCC    "YCC"             "YCC"            luminance, blue difference C1, red difference C2, of photographs
 *                                               on disc
 *
 * Where pixels lie side by side, colours are R, G, B if `channelSeq` begins with R, and B, G, R otherwise. Planes of R,
 * G and B are found by their letters. Other models always have their values in channels 1, 2 and 3. More source
 * channels, alpha too, are not looked at.
 *
 * Whole images are converted, as far as both reach: masks and channels of interest have no effect, and regions are
 * refused unless a function says otherwise. The images may be tiled: the destination's tiles are walked, or else the
 * source's. They must be two images. orvRGB2... functions write the destination's colorModel and channelSeq.
 *
 * In the formulas x >> n rounds down, [x] rounds toward zero, and sums of 8U and 16U are of 32 bits, beyond which they
 * wrap. "cut" is the limit to the depth's range. What is stored without one keeps its low bits. Full scale, F, is 255
 * at 8U, 65535 at 16U, and 4294967295 at 32S, where values are counted from -2147483648 in the models with a hue, and
 * taken as they are in all others. Models with a hue, 32S and 32F are computed in double precision, from left to right;
 * constants of 32F are rounded to single precision before, and its results once at the end. What is no number at 32F
 * stays none unless a limit is told.
 *
 * All report an image's fault with "Incorrect Image"; then ORV_STATUS_BAD_ARG for what the function names; then, under
 * the function's inner name (ownRGB2HSV for orvRGB2HSV) and when the destination's model has been written,
 * ORV_STATUS_BAD_ARG for a depth that it does not have; then ORV_STATUS_ERROR for a tile that does not come. Tiles done
 * before stay done.
 *
 * "RGB reports" stands for ORV_STATUS_BAD_ARG if, in this order: the RGB image's colorModel, then its channelSeq, is
 * another; the other image's, where it is the source, is; one has a region; the source has fewer than 3 channels, the
 * destination has not exactly 3, or depths, data orders or origins differ. */

/* Makes grey of colours, from the weighted sums w = 54 R + 183 G + 18 B, whose weights have the sum 255, so that white
 * of 8U becomes 254, and, at 32S, v(n) = 109 (R >> n) + 366 (G >> n) + 37 (B >> n), which takes values to be positive:
 *
 *             to 8U          to 16U         to 1U, a bit is set if
 *     8U      w >> 8         w              w >> 8 > 127
 *     16U     w >> 16        w >> 8         w >> 8 > 32767
 *     32S     v(11) >> 21    v(11) >> 13    v(10) >= 536870912
 *
 * Other pairs are refused. Regions have no effect. Of a destination in planes the first one is written.
 *
 * Reports ORV_STATUS_BAD_ARG for a source that is not RGB; a destination that is not grey; one in pixels with more than
 * one channel; origins that differ; a pair of depths; a source with fewer than 3 channels. */
ORV_API(void) orvColorToGray(OrvImage* src, OrvImage* dst);

/* Makes colours of grey: each of R, G and B is the grey value g times its own weight, which is at 8U W = [256 weight]
 * and at 16U and 32S W = [32768 weight], of which the low 16 bits count (at 32S all 32). Where the low 16 bits of all
 * three are 0 they are 54, 183, 18 at 8U, 109, 366, 37 with a shift of 9 at 16U, and 6968, 23434, 2364 at 32S.
 *
 *     8U      g W >> 8
 *     16U     g W >> 15
 *     32S     (W (g & 65535) >> 15) + 2 W (g >> 16), which wraps
 *     1U      to 8U: 255 W >> 8 where the bit is set, 0 elsewhere
 *
 * Regions have no effect. A destination in pixels keeps its further channels.
 *
 * Reports ORV_STATUS_BAD_ARG for a destination that is not RGB; a source that is not grey; depths that differ and are
 * not 1U and 8U; a source in pixels with a destination in planes; a source in pixels with more than one channel;
 * origins that differ; a depth; a destination with fewer than 3 channels. */
ORV_API(void) orvGrayToColor(OrvImage* src, OrvImage* dst, float weightR, float weightG, float weightB);

/* RGB to hue, saturation and value; 8U, 16U, 32S. With mx the largest and mn the smallest of R, G, B, and d = mx - mn:
 *
 *     degrees      60 (G - B) / d if R = mx, else 60 (B - R) / d + 120 if G = mx, else 60 (R - G) / d + 240; plus 360
 *     below 0 hue          [degrees F / 360], 0 for grey
 *     saturation   [(d / mx) F], 0 for black
 *     value        mx
 *
 * At 32S all three are [x - 2147483648.5], x being what stands here before it is rounded. RGB reports.
 *
 * A. R. Smith, "Color gamut transform pairs", Computer Graphics 12 (1978). */
ORV_API(void) orvRGB2HSV(OrvImage* src, OrvImage* dst);

/* HSV to RGB; 8U, 16U, 32S. A saturation of 0 gives three times V. Otherwise, with h = (360 H / F) / 60, where 6 counts
 * as 0, the sector k = [h - 0.5], f = h - k and s = S / F:
 *
 *     p = [V (1 - s)]    q = [V (1 - s f)]    t = [V (1 - s (1 - f))]
 *
 *     k        0        1        2        3        4        5
 *     R, G, B  V, t, p  q, V, p  p, V, t  p, q, V  t, p, V  V, p, q
 *
 * Sectors begin half a sector late, before which f is up to 1.5, and q or t leave the range and keep their low bits. At
 * 32S p, q and t are [x - 2147483648.5]. RGB reports. */
ORV_API(void) orvHSV2RGB(OrvImage* src, OrvImage* dst);

/* RGB to hue, lightness and saturation; 8U, 16U, 32S. With the terms of orvRGB2HSV:
 *
 *     hue          as there
 *     lightness    [(mx + mn) / 2]
 *     saturation   [(d / s) F] with s = mx + mn if that is at most F, s = 2 F - (mx + mn) otherwise, 0 for grey
 *
 * At 32S all three are [x - 2147483648]. RGB reports.
 *
 * J. D. Foley, A. van Dam, S. K. Feiner, J. F. Hughes, "Computer Graphics: Principles and Practice" (1990), chapter 13.
 * */
ORV_API(void) orvRGB2HLS(OrvImage* src, OrvImage* dst);

/* HLS to RGB; 8U, 16U, 32S. A saturation of 0 gives three times L. Otherwise, with l = L / F, s = S / F, m2 = (1 + s) l
 * if l <= 0.5, else l + s - l s, m1 = 2 l - m2, and c(a) for an angle a of a full circle of 360:
 *
 *     c(a)     m1 + (m2 - m1) a / 60 below 60, m2 below 180, m1 + (m2 - m1) (240 - a) / 60 below 240, m1 otherwise
 *     R, G, B  [F c(a + 120)], [F c(a)], [F c(a - 120)] with a = 360 H / F
 *
 * At 32S they are [x - 2147483648]. RGB reports. */
ORV_API(void) orvHLS2RGB(OrvImage* src, OrvImage* dst);

/* RGB to XYZ, with the primaries of HDTV; 8U, 16U, 32S, 32F.
 *
 *     8U, 16U  X =     (6758 R +  5859 G +  2956 B + 8192) >> 14
 *              Y =     (3484 R + 11717 G +  1182 B + 8192) >> 14
 *              Z = cut((317 R  +  1953 G + 15569 B + 8192) >> 14)
 *     32S      X =    [0.412453 R + 0.35758 G  + 0.180423 B - 106394929.85651207]
 *              Y =    [0.212671 R + 0.71516 G  + 0.072169 B - 1028644.6673920155]
 *              Z = cut[0.019334 R + 0.119193 G + 0.950227 B + 190597763.694592]
 *     32F      the same without the constants
 *
 * RGB reports. Recommendation ITU-R BT.709; CIE 15, "Colorimetry". */
ORV_API(void) orvRGB2XYZ(OrvImage* src, OrvImage* dst);

/* XYZ to RGB; 8U, 16U, 32S, 32F.
 *
 *     8U       R = cut((53092 X  - 25185 Y -  8168 Z + 8192) >> 14)
 *              G = cut((-15880 X + 30736 Y +   681 Z + 8192) >> 14)
 *              B = cut((912 X    -  3343 Y + 17323 Z + 8192) >> 14)
 *     16U      the same of X >> 8, Y >> 8 and Z >> 8, shifted by 6
 *     32S      R = cut[3.2404813432005 X    + 439790694.0994415  - 1.5371515162713 Y  - 0.49853632616889 Z]
 *              G = cut[-0.96925494999657 X  - 111044279.08821273 + 1.8759900014899 Y  + 0.041555926558293 Z]
 *              B = cut[0.055646639135177 X  - 195600605.13649487 - 0.20404133836651 Y + 1.0573110696453 Z]
 *     32F      R = 3.240479 X - 1.53715 Y - 0.498535 Z, G = -0.969256 X + 1.875992 Y + 0.041556 Z,
 *              B = 0.055648 X - 0.204043 Y + 1.057311 Z, without a limit
 *
 * RGB reports. */
ORV_API(void) orvXYZ2RGB(OrvImage* src, OrvImage* dst);

/* RGB to LUV; 32F, of full scale 1. X, Y and Z are those of orvRGB2XYZ at 32F. Where Y is at most 0.01 all three are 0,
 * otherwise
 *
 *     r = 1 / (X + 15 Y + 3 Z)
 *     L = 116 Y^0.3333333432674408 - 16
 *     U = 13 L (4 X r - 0.1978394091129303)
 *     V = 13 L (9 Y r - 0.47076964378356934)
 *
 * The white point differs a little from that of orvLUV2RGB. RGB reports. CIE 15, "Colorimetry". */
ORV_API(void) orvRGB2LUV(OrvImage* src, OrvImage* dst);

/* LUV to RGB; 32F. Where L is not above 8.7 all three are 0, otherwise
 *
 *     u = U / (13 L) + 0.19783940212891    v = V / (13 L) + 0.46834220078579
 *     Y = ((L + 16) 0.008620689655172414)^3    a = Y / v    X = 2.25 u a    Z = 3 a - 5 Y - X / 3
 *
 * and R, G and B are those of orvXYZ2RGB at 32F. RGB reports. */
ORV_API(void) orvLUV2RGB(OrvImage* src, OrvImage* dst);

/* RGB to YUV; 8U, 16U, 32S, 32F. The middle m is 127 at 8U and 32767 at 16U.
 *
 *     8U, 16U  Y =      (9798 R  + 19235 G +  3736 B) >> 15, where white of 16U wraps to 0
 *              U =     ((-4784 R -  9437 G + 14221 B) >> 15) + m
 *              V = cut(((20218 R - 16941 G -  3277 B) >> 15) + m)
 *     32S      Y = cut[0.299 R + 0.587 G + 0.114 B], U = cut[-0.146 R - 0.288 G + 0.434 B],
 *              V = cut[0.617 R - 0.517 G - 0.1 B]
 *     32F      the same sums, not cut
 *
 * Of 8U, an image of three channels in pixels may also go into planes, by sums of its own, in which t = 19595 R + 38470
 * G + 7471 B:
 *
 *     Y = t >> 16
 *     U =     (((65536 B - t + 32767) >> 16) 32244 >> 16) + 128
 *     V = cut((((65536 R - t + 32767) >> 16) 57475 >> 16) + 128)
 *
 * Reports ORV_STATUS_BAD_ARG for a source that is not RGB; a region; depths that differ; fewer than 3 source channels,
 * other than 3 destination channels, data orders or origins that differ, unless it is that case, which compares no
 * origins and wants 3 planes at least. */
ORV_API(void) orvRGB2YUV(OrvImage* src, OrvImage* dst);

/* YUV to RGB; 8U, 16U, 32S, 32F. At 8U u = U - 127, v = V - 127, at 16U u = U - 32767, v = V - 32767.
 *
 *     8U, 16U  R = cut(Y + ((37222 v - 31 u) >> 15)), G = cut(Y + ((-12974 u - 18949 v) >> 15)),
 *              B = cut(Y + ((66883 u - 53 v) >> 15))
 *     32S      R = cut[Y + 1.135920183 V], G = cut[Y - 0.3959190767 U - 0.5782887929 V], B = cut[Y + 2.041101518 U]
 *     32F      the same sums, not cut
 *
 * Of 8U, planes may also go into an image of three channels in pixels, with u = U - 128 and v = V - 128:
 *
 *     R = cut((65536 Y + 74710 v) >> 16)
 *     G = cut((65536 Y - 25820 u - 38075 v) >> 16)
 *     B = cut((65536 Y + 133168 u) >> 16)
 *
 * Reports ORV_STATUS_BAD_ARG as orvRGB2YUV, but for a source that is not YUV; the destination's model is not looked at.
 * */
ORV_API(void) orvYUV2RGB(OrvImage* src, OrvImage* dst);

/* RGB to YCrCb; 8U, 16U, 32S, 32F. 8U takes differences from Y, the largest of which leave the range.
 *
 *     8U       Y  = (4898 R + 9617 G + 1867 B + 8192) >> 14
 *              Cb = ((B - Y) 9246 + 2097152) >> 14
 *              Cr = ((R - Y) 11686 + 2097152) >> 14
 *     16U      Y  = (4899 R  + 9617 G + 1868 B + 8192) >> 14
 *              Cb = (-2765 R - 5427 G + 8192 B + 536870912) >> 14
 *              Cr = (8192 R  - 6860 G - 1332 B + 536870912) >> 14
 *     32S      Y  = [0.299 R + 0.587 G + 0.114 B]
 *              Cb = [-0.1687359 R - 0.331264 G + 0.5 B], Cr = [0.5 R - 0.41868759 G - 0.08131241 B]
 *     32F      the same sums, 0.5 being added to the first term of Cb and of Cr
 *
 * RGB reports. Recommendation ITU-R BT.601. */
ORV_API(void) orvRGB2YCrCb(OrvImage* src, OrvImage* dst);

/* YCrCb to RGB; 8U, 16U, 32S, 32F.
 *
 *     8U       R = cut(Y + ((22970 Cr - 2928675) >> 14))
 *              G = cut(Y - ((11700 Cr + 5638 Cb - 2210595) >> 14))
 *              B = cut(Y + ((29032 Cb - 3701580) >> 14))
 *     16U      the same with 752669475, 568122915 and 951306060
 *     32S      R = cut[Y + 1.4019999991573 Cr]
 *              G = cut[Y - 0.34413629776123 Cb - 0.71413631643017 Cr]
 *              B = cut[Y + 1.7720000660742 Cb]
 *     32F      R = Y - 0.7009999752044678 + 1.4019999504089355 Cr
 *              G = Y + 0.5291363000869751 - 0.3441362977027893 Cb - 0.7141363024711609 Cr
 *              B = Y - 0.8859999775886536 + 1.7719999551773071 Cb, where what is below 0, or no number, is 0
 *
 * RGB reports. */
ORV_API(void) orvYCrCb2RGB(OrvImage* src, OrvImage* dst);

/* YCC to RGB; 8U.
 *
 *     R = T((22256 Y + 29844 C2 - 4088627) >> 14)
 *     G = T((22256 Y - 7050 C1 - 15190 C2 + 3180809) >> 14)
 *     B = T((22256 Y + 36338 C1 - 5668739) >> 14)
 *
 * T(i) is 255 i / 353.2, rounded to nearest and at most 255, with i of 0 at least. T(361) alone is 0.
 *
 * RGB reports. */
ORV_API(void) orvYCC2RGB(OrvImage* src, OrvImage* dst);

/* ---- Colour twist -------------------------------------------------------------------------------------------------
 *
 * The twist multiplies the first three channels c0, c1, c2 of a pixel, as they lie and whatever their names, by a
 * matrix M of 4 rows of 4, of which the fourth row is not used and the fourth column is added:
 *
 *     t(r) = M[r][0] c0 + M[r][1] c1 + M[r][2] c2 + M[r][3]    for the results r = 0, 1, 2
 *
 * Further channels are neither read nor written. Images process the smallest size of their regions and masks, which are
 * aligned at their starts; a channel of interest has no effect. The masks of both images hold together. The images may
 * be tiled and may be one. */

/* M[r][c] = data[4 r + c] / 2^scalingValue, with scalingValue from 0 to 31. To be changed by orvSetColorTwist only. */
typedef struct OrvColorTwist {
    int32_t data[16];
    int32_t scalingValue;
} OrvColorTwist;

/* Makes a twist from 16 numbers, which are copied. It is released by orvDeleteColorTwist.
 *
 * Reports, and returns NULL: ORV_STATUS_BAD_ARG for NULL or a scalingValue outside 0 to 31; ORV_STATUS_NO_MEMORY. */
ORV_API(OrvColorTwist*) orvCreateColorTwist(const int32_t* data, int32_t scalingValue);

/* Changes both fields of a twist. Reports ORV_STATUS_BAD_ARG for a NULL `cTwist`; NULL `data`; a scalingValue below 0;
 * one above 31; the twist then stays as it was. */
ORV_API(void) orvSetColorTwist(OrvColorTwist* cTwist, const int32_t* data, int32_t scalingValue);

/* Releases a twist; NULL is allowed. */
ORV_API(void) orvDeleteColorTwist(OrvColorTwist* cTwist);

/* Twists an image of 8U or 16U: result r is cut(cut(t(r)) + offset), where t(r) is rounded toward zero and cut is the
 * limit to the depth's range. Constants and `offset` are thus in units of the depth.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a NULL twist; fewer than 3 channels besides
 * alpha (source, destination); depths that differ; another depth; data orders, then origins, that differ; a mask whose
 * origin is not that of its image (source, destination); with two masks, no memory for a third, then, as
 * ORV_STATUS_BACKTRACE, a failure of orvAnd; ORV_STATUS_BAD_ARG for a tile that does not come. Tiles done before stay
 * done. */
ORV_API(void)
orvApplyColorTwist(OrvImage* srcImage, OrvImage* dstImage, const OrvColorTwist* cTwist, int32_t offset);

/* Twists an image of 32F by a matrix of 16 floats, row by row. Result r is ((M[r][0] c0 + M[r][3]) + M[r][1] c1) +
 * M[r][2] c2 in double precision, rounded once, without a limit.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a NULL matrix; a depth that is not 32F; data
 * orders, then origins, that differ; fewer than 3 channels besides alpha; then as orvApplyColorTwist from two masks on.
 * The origins of masks are not looked at. */
ORV_API(void) orvColorTwistFP(OrvImage* srcImage, OrvImage* dstImage, const float* TwistFP);

/* ---- Fewer levels ----------------------------------------------------------------------------------------------- */

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
 * levels - 1 steps of D / L divide, lies between the levels q and q + 1 with q = rint((L v) (1 / D) - 0.5), ties to
 * even. It becomes the higher one if it exceeds the lower one by more than a threshold; at D and above it becomes the
 * brightest value. With a = rint(65280 / L - 0.5), or 16776960 / L from 16U, level k is written as (k a) >> 8, from 16U
 * to 8U as (k a) >> 16. From 32S it is written as rint(level - 2147483648), rint(level / 65536 - 0.5) or rint(level /
 * 16777216 - 0.5). At 1U there are the levels 0 and D alone, whatever `levels` is.
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
 *   channel. Computed in double precision, with 1 / 48 and 1 / 42 as floats.
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
