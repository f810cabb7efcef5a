/* orv/colour.h - conversions between colour models, colour matrices, fewer levels by dithering. */
#ifndef ORV_COLOUR_H
#define ORV_COLOUR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Fewer levels ------------------------------------------------------------------------------------------------- */

/* Ways to choose a level. */
enum {
    ORV_DITHER_NONE = 1,    /* none: depth conversion alone */
    ORV_DITHER_FS = 2,      /* error diffusion by Floyd and Steinberg */
    ORV_DITHER_JJH = 4,     /* error diffusion by Jarvis, Judice and Ninke */
    ORV_DITHER_STUCKEY = 8, /* error diffusion by Stucki */
    ORV_DITHER_BAYER = 16   /* ordered dither */
};

ORV_API(void)
orvReduceBits(OrvImage* srcImage, OrvImage* dstImage, int32_t noise, int32_t ditherType, int32_t levels);

#ifdef __cplusplus
}
#endif

#endif
