/* orv/convert.h - conversion between depths, and exchange with device-independent bitmaps. */
#ifndef ORV_CONVERT_H
#define ORV_CONVERT_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
