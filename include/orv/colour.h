/* orv/colour.h - conversions between colour models, colour matrices, fewer levels by dithering. */
#ifndef ORV_COLOUR_H
#define ORV_COLOUR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Colour models ------------------------------------------------------------------------------------------------ */

ORV_API(void) orvColorToGray(OrvImage* src, OrvImage* dst);
ORV_API(void) orvGrayToColor(OrvImage* src, OrvImage* dst, float weightR, float weightG, float weightB);
ORV_API(void) orvRGB2HSV(OrvImage* src, OrvImage* dst);
ORV_API(void) orvHSV2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvRGB2HLS(OrvImage* src, OrvImage* dst);
ORV_API(void) orvHLS2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvRGB2XYZ(OrvImage* src, OrvImage* dst);
ORV_API(void) orvXYZ2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvRGB2LUV(OrvImage* src, OrvImage* dst);
ORV_API(void) orvLUV2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvRGB2YUV(OrvImage* src, OrvImage* dst);
ORV_API(void) orvYUV2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvRGB2YCrCb(OrvImage* src, OrvImage* dst);
ORV_API(void) orvYCrCb2RGB(OrvImage* src, OrvImage* dst);
ORV_API(void) orvYCC2RGB(OrvImage* src, OrvImage* dst);

/* ---- Colour twist ------------------------------------------------------------------------------------------------- */

typedef struct OrvColorTwist {
    int32_t data[16];
    int32_t scalingValue;
} OrvColorTwist;

ORV_API(OrvColorTwist*) orvCreateColorTwist(const int32_t* data, int32_t scalingValue);
ORV_API(void) orvSetColorTwist(OrvColorTwist* cTwist, const int32_t* data, int32_t scalingValue);
ORV_API(void) orvDeleteColorTwist(OrvColorTwist* cTwist);
ORV_API(void)
orvApplyColorTwist(OrvImage* srcImage, OrvImage* dstImage, const OrvColorTwist* cTwist, int32_t offset);
ORV_API(void) orvColorTwistFP(OrvImage* srcImage, OrvImage* dstImage, const float* TwistFP);

#ifdef __cplusplus
}
#endif

#endif
