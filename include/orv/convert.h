/* orv/convert.h - conversion between depths, and exchange with device-independent bitmaps. */
#ifndef ORV_CONVERT_H
#define ORV_CONVERT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Depths ------------------------------------------------------------------------------------------------------- */

ORV_API(void) orvConvert(OrvImage* srcImage, OrvImage* dstImage);
ORV_API(void) orvBitonalToGray(OrvImage* srcImage, OrvImage* dstImage, int32_t ZeroScale, int32_t OneScale);
ORV_API(void) orvScale(OrvImage* srcImage, OrvImage* dstImage);
ORV_API(void) orvScaleFP(OrvImage* srcImage, OrvImage* dstImage, float minVal, float maxVal);

#ifdef __cplusplus
}
#endif

#endif
