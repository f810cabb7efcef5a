/* bmpio.h - BMP files in and out of OrvImage records, for the examples.
 *
 * A BMP file is a file header of 14 bytes and a device-independent bitmap. Both functions print what went wrong to the
 * error stream.
 */
#ifndef BMPIO_H
#define BMPIO_H

#include <orv.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Loads a BMP file into a new image with pixels of its own, of the kind that orvTranslateDIB makes. Returns NULL if
 * that fails. The image goes back through orvDeallocate(image, ORV_IMAGE_ALL). */
OrvImage* bmpLoad(const char* path);

/* Saves an image as a BMP file with 1, 4, 8, 16, 24 or 32 bits a pixel, run-length coded if `coded` is not 0 and the
 * code is shorter; with 1, 4 and 8 bits with a palette by `palette` (ORV_PALETTE_FIXED or ORV_PALETTE_MEDCUT), and
 * dithered by `dither` (ORV_DITHER_...). Returns 1, or 0 if that fails. */
int bmpSave(const char* path, OrvImage* image, int bits, int coded, int dither, int palette);

#ifdef __cplusplus
}
#endif

#endif
