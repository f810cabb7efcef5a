/* pngio.h - PNG files in and out of OrvImage records, for the examples.
 *
 * Both functions print what went wrong to the error stream.
 */
#ifndef PNGIO_H
#define PNGIO_H

#include <orv.h>

#ifdef __cplusplus
extern "C" {
#endif

/* Loads a PNG file into a new image of depth 8U with 1 to 4 channels side by side: grey, grey and alpha, RGB, or RGB
 * and alpha. Returns NULL if that fails. The image goes back through orvDeallocate(image, ORV_IMAGE_ALL). */
OrvImage* pngLoad(const char* path);

/* Saves an image as a PNG file: any layout, origin, tiles included, of depth 8U with 1 to 4 channels or of depth 1U,
 * which becomes black and white. The channels' order is taken from channelSeq where it begins with BGR. Returns 1, or 0
 * if that fails. */
int pngSave(const char* path, OrvImage* image);

#ifdef __cplusplus
}
#endif

#endif
