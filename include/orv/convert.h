/* orv/convert.h - conversion between depths, and exchange with device-independent bitmaps. */
#ifndef ORV_CONVERT_H
#define ORV_CONVERT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Depths ----------------------------------------------------------------------------------------------------- */

/* Converts integer values to another integer depth: a value stays and is cut to the range of the depth. To 1U a bit is
 * set where the value is above 0; 1U itself goes to 1U only. Data orders may differ. Where origins differ the image is
 * turned upside down, so that it shows the same.
 *
 * Whole images with all channels, alpha too: regions and masks have no effect, but that a source of several channels
 * goes to 1U by its channel of interest. Bits beyond the width stay, except that rows of 1U to 1U are copied as whole
 * bytes. The images may be tiled. With one image in both places nothing happens.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 32F (source, destination); heights, then
 * widths, that differ; to 1U, several source channels without a region, or without a channel of interest in it;
 * otherwise numbers of channels that differ, and 1U to another depth; a tile that does not come. Tiles done before stay
 * done. */
ORV_API(void) orvConvert(OrvImage* srcImage, OrvImage* dstImage);

/* Converts a 1U image to integers of 8 bits or more: a set bit gives `OneScale`, a clear one `ZeroScale`, in all
 * channels of the destination. Whole images, as in orvConvert, also turned where origins differ.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for heights, then widths, that differ; a source
 * of more than one channel; one that is not 1U; a destination of 32F; one of 1U; `ZeroScale`, then `OneScale`, above,
 * then below, the range of the destination's depth; a tile that does not come. */
ORV_API(void) orvBitonalToGray(OrvImage* srcImage, OrvImage* dstImage, int32_t ZeroScale, int32_t OneScale);

/* Maps the whole range of an integer depth onto that of another, so that both ends meet. With v the value, counted from
 * the lowest of its range where the depth grows, and from 0 or the middle of an unsigned range where it shrinks, >>
 * rounding down:
 *
 *     8 to 16 bits     257 v, counted from the lowest value of the result
 *     8 to 32 bits     16843009 v
 *     16 to 32 bits    65537 v
 *     equal bits       v, counted anew
 *     16 to 8 bits     (v - (v >> 8)) >> 8, counted from 0 or the middle of the result
 *     32 to 16 bits    (v - (v >> 16)) >> 16
 *     32 to 8 bits     (v - (v >> 8)) >> 24
 *
 * Regions, channels of interest and tiles as in every operation, alpha left out; masks have no effect. Data orders may
 * differ where one of the images has one channel.
 *
 * Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for depths that are equal; 1U or 32F (source,
 * destination); data orders, then origins, that differ; numbers of processed channels that differ; a tile that does not
 * come. */
ORV_API(void) orvScale(OrvImage* srcImage, OrvImage* dstImage);

/* Maps the range of an integer depth onto the floats from `minVal` to `maxVal`, or these onto that range. With low the
 * lowest value of the integer depth, F its highest less its lowest, and r = maxVal - minVal, in double precision:
 *
 *     to 32F      f v + b with f = r (1 / F), b = minVal - f low, rounded once
 *     from 32F    f x + b with f = F / r, b = low - minVal f, rounded to nearest, ties to even;
 *                 below `minVal` the lowest value, above `maxVal` the highest,
 *                 0 for what is no number
 *
 * Otherwise as orvScale. Reports an image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for 1U; a `maxVal` that is
 * not above `minVal`; no image, then both images, of 32F; data orders, then origins, that differ; numbers of processed
 * channels that differ; a tile that does not come. */
ORV_API(void) orvScaleFP(OrvImage* srcImage, OrvImage* dstImage, float minVal, float maxVal);

/* ---- Device-independent bitmaps --------------------------------------------------------------------------------- */

/* The header of a bitmap. On Windows it is the one of <windows.h>, which may be included before or after this header;
 * elsewhere it is declared here. Palette entries (bytes B, G, R, 0) or three 32-bit masks follow it, then the pixels,
 * unless these are in a buffer of their own: rows from the bottom up (from the top down where biHeight is negative),
 * each rounded up to 4 bytes. */
#if defined(_WIN32) || defined(_WINGDI_)
typedef struct tagBITMAPINFOHEADER BITMAPINFOHEADER;
#else
typedef struct tagBITMAPINFOHEADER {
    uint32_t biSize; /* of this record: 40 */
    int32_t biWidth;
    int32_t biHeight;
    uint16_t biPlanes;      /* 1 */
    uint16_t biBitCount;    /* 1, 4, 8, 16, 24 or 32 */
    uint32_t biCompression; /* BI_... */
    uint32_t biSizeImage;   /* bytes of the pixels; may be 0 where they are not compressed */
    int32_t biXPelsPerMeter;
    int32_t biYPelsPerMeter;
    uint32_t biClrUsed; /* entries of the palette; 0 for as many as 1, 4 or 8 bits can tell apart */
    uint32_t biClrImportant;
} BITMAPINFOHEADER;

#define BI_RGB 0       /* 16 bits: 5 each of R, G and B; 32 bits: a byte each of B, G, R and alpha */
#define BI_RLE8 1      /* 8 bits, run-length coded */
#define BI_RLE4 2      /* 4 bits, run-length coded */
#define BI_BITFIELDS 3 /* 16 or 32 bits by the masks of R, G and B */
#endif

/* What orvConvertToDIB does about the palette of a bitmap with 1, 4 or 8 bits. */
enum {
    ORV_PALETTE_KEEP = 0,  /* uses the one that is there */
    ORV_PALETTE_FIXED = 1, /* writes a fixed one: black and white; 16 greys or the 16 colours of old; 256 greys or
                              8 x 8 x 4 levels of R, G and B. One of another size than 2, 16 or 256 stays. */
    ORV_PALETTE_MEDCUT = 2 /* makes one from the image by median cut, and sets biClrUsed */
};

/* These functions read bitmaps that may come from anywhere. A bitmap may lie at any address. Nothing is read of it but
 * its header, the palette or the masks, and the pixels that they promise: with BI_RLE8 and BI_RLE4 as many bytes as
 * biSizeImage says or, if that is 0, up to the code's own end. The palette has biClrUsed entries, or 1 << biBitCount if
 * that is 0, with 1, 4 and 8 bits; with 16 and 32 bits there are the three masks, if biCompression is BI_BITFIELDS, and
 * then biClrUsed entries. Indices beyond the palette are black.
 *
 * Masks are those of R, G and B, of which the lowest run of bits counts; with 32 bits alpha is all bits above the
 * highest of them. A component of w bits becomes one of 8 by a shift, so that 31 of 5 bits is 248; one without bits is
 * 0.
 *
 * The top of the picture stays the top, whatever an image's origin and the sign of biHeight. Region, channel of
 * interest and mask of an image have no effect. Its channels are taken by channelSeq as it begins: "BGR"; "RGB"; or
 * "G", with the grey 0.072169 B + 0.71516 G + 0.212671 R, its fraction dropped.
 *
 * All check the header, and report ORV_STATUS_BAD_ARG for biSize other than 40; biPlanes other than 1; biCompression
 * above 3; BI_RLE8 without 8 bits; BI_RLE4 without 4 bits; either with a negative height; biClrUsed above 32768, or
 * above what 8 or 4 bits can tell apart. */

/* Makes an image of a bitmap. Where an image can use the bitmap's own pixels they are shared: `*cloneData` is then 0,
 * the bitmap must outlive the image, and of the image only the header is to be freed (orvDeallocateHeader). Otherwise
 * they are copied, `*cloneData` is 1, and the image owns them (orvDeallocate with ORV_IMAGE_ALL).
 *
 *   bits   palette     image                          pixels
 *   1      grey ramp   1U, "GRAY", "G"                shared
 *   4      grey ramp   8U, "GRAY", "G"                copied
 *   8      grey ramp   8U, "GRAY", "G"                shared, with BI_RLE8 copied
 *   1-8    other       8U, "RGB", "BGR"               copied
 *   16                 8U, "RGB", "BGR"               copied
 *   24                 8U, "RGB", "BGR"               shared
 *   32                 8U, "RGBA", "BGRA" with alpha  shared, with BI_BITFIELDS copied
 *
 * In a grey ramp of n entries, at least 2, entry i is the grey 255 i / (n - 1). A shared image has channels side by
 * side and rows aligned to 4 bytes, a copied one has planes and rows aligned to 32. The origin is ORV_ORIGIN_BL, or
 * ORV_ORIGIN_TL for a negative biHeight.
 *
 * Returns NULL after a report: ORV_STATUS_BAD_ARG for `dib` or `cloneData` NULL, a fault of the header, an unknown
 * biBitCount; ORV_STATUS_NO_MEMORY for an image that cannot be, after its own report, or without memory; after the
 * reports of orvConvertFromDIB if that fails. */
ORV_API(OrvImage*) orvTranslateDIB(BITMAPINFOHEADER* dib, int* cloneData);

/* Copies a bitmap's pixels, which follow its palette, into the upper left corner of an image of 1U, or of 8U or 16U
 * with 1, 3 or 4 channels. The image is at least as large as the bitmap; if it has no data, orvAllocateImage gives it
 * some. A component c of 8 bits becomes 256 c at 16U, and at 1U a bit that is set from 128 on; one channel takes what
 * is in the place of R in B, G, R. The fourth channel is 255 where the bitmap has no alpha.
 *
 * Reports ORV_STATUS_BAD_ARG for `dib`, then `image` NULL, and ends if the thread's stored status is negative then;
 * ORV_STATUS_BAD_ARG for alphaChannel, dataOrder, origin, align, height, width, imageSize or widthStep of the image, or
 * a fault of the header; ORV_STATUS_BAD_IMAGE_SIZE for an image that is smaller than the bitmap;
 * ORV_STATUS_BAD_COLOR_MODEL for its channelSeq; ORV_STATUS_BAD_ARG for an unknown biBitCount; ORV_STATUS_NO_MEMORY;
 * ORV_STATUS_INTERNAL for other depths or channels. A width of 0 or less or a height of 0 ends the call without a word.
 * A code that is not well formed is ORV_STATUS_BAD_ARG and then ORV_STATUS_INTERNAL, and the image stays as it was:
 * rows must be coded to their ends, runs, pixels and moves must keep to their row and to the bitmap, and the code must
 * end with its last row. Pixels that moves pass over are those of value 0. */
ORV_API(void) orvConvertFromDIB(BITMAPINFOHEADER* dib, OrvImage* image);

/* The same for pixels in a buffer of their own. Reports ORV_STATUS_BAD_ARG for `dibHeader`, `dibData`, `image` NULL. */
ORV_API(void) orvConvertFromDIBSep(BITMAPINFOHEADER* dibHeader, const char* dibData, OrvImage* image);

/* Writes an image of 1U, 8U or 16U, with 1, 3 or 4 channels, the fourth being alpha, into the pixels of a bitmap of the
 * same size, which follow its palette. Of 16U the high bytes count; 1U is black and white; the alpha of images without
 * it is 255.
 *
 * With 1, 4 and 8 bits a pixel becomes the index of the nearest palette entry, by the sum of the squares of the
 * differences, of equally near ones the first; in a palette of 256 entries a grey is the entry of its own value if that
 * is the same grey. With one bit all indices but 0 become 1. `paletteConversion` (ORV_PALETTE_...) says where the
 * palette comes from; a palette by median cut (P. Heckbert, SIGGRAPH 1982) has at most as many entries as there were
 * before, biClrUsed becomes their number, and the pixels follow the new palette. With 16 and 32 bits components are
 * moved into the masks.
 *
 * With a `dither` (ORV_DITHER_...) other than ORV_DITHER_NONE the image first goes through orvReduceBits to 1U with 2
 * levels for 1 bit, otherwise to 8U with 16 levels for 4 bits, 32 for 16 bits and 256 for others.
 *
 * With BI_RLE8 or BI_RLE4 the pixels are coded at the end and biSizeImage becomes the code's length; if the code would
 * not be shorter than the rows, they stay as they are, biCompression becomes BI_RGB and biSizeImage the length of the
 * rows.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_ARG for a tiled image, its depth, its channels,
 * `dib` NULL, the header's faults up to the height, an image of another size, the header's faults in the number of
 * colours, `dither`, `paletteConversion`, an unknown biBitCount; ORV_STATUS_INTERNAL for a palette that cannot be made;
 * ORV_STATUS_NO_MEMORY, ORV_STATUS_INTERNAL where dithering fails, as it does for 1U; ORV_STATUS_BAD_COLOR_MODEL for
 * the image's channelSeq; ORV_STATUS_NO_MEMORY. If there is no memory for a code, the pixels stand there without one,
 * and the header says so. */
ORV_API(void) orvConvertToDIB(OrvImage* image, BITMAPINFOHEADER* dib, int dither, int paletteConversion);

/* The same for pixels in a buffer of their own. Reports ORV_STATUS_BAD_ARG for `dibHeader`, then `dibData` NULL. */
ORV_API(void)
orvConvertToDIBSep(OrvImage* image, BITMAPINFOHEADER* dibHeader, char* dibData, int dither, int paletteConversion);

#ifdef __cplusplus
}
#endif

#endif
