/* orv/convert.h - conversion between depths, and exchange with device-independent bitmaps. */
#ifndef ORV_CONVERT_H
#define ORV_CONVERT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Device-independent bitmaps ----------------------------------------------------------------------------------- */

/* The header of a bitmap. On Windows it is the one of <windows.h>, which may be included before or after this header; elsewhere
 * it is declared here. Palette entries (bytes B, G, R, 0) or three 32-bit masks follow it, then the pixels, unless these are
 * in a buffer of their own: rows from the bottom up (from the top down where biHeight is negative), each rounded up to
 * 4 bytes. */
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
    ORV_PALETTE_FIXED = 1, /* writes a fixed one: black and white; 16 greys or the 16 colours of old; 256 greys or 8 x 8 x 4
                              levels of R, G and B. A palette of another size than 2, 16 or 256 stays as it is. */
    ORV_PALETTE_MEDCUT = 2 /* makes one from the image by median cut, and sets biClrUsed */
};

ORV_API(OrvImage*) orvTranslateDIB(BITMAPINFOHEADER* dib, int* cloneData);

ORV_API(void) orvConvertFromDIB(BITMAPINFOHEADER* dib, OrvImage* image);

ORV_API(void) orvConvertFromDIBSep(BITMAPINFOHEADER* dibHeader, const char* dibData, OrvImage* image);

ORV_API(void) orvConvertToDIB(OrvImage* image, BITMAPINFOHEADER* dib, int dither, int paletteConversion);

ORV_API(void)
orvConvertToDIBSep(OrvImage* image, BITMAPINFOHEADER* dibHeader, char* dibData, int dither, int paletteConversion);

#ifdef __cplusplus
}
#endif

#endif
