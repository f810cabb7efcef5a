/* orv/colour.h - conversions between colour models, colour matrices, fewer levels by dithering. */
#ifndef ORV_COLOUR_H
#define ORV_COLOUR_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
