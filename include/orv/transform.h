/* orv/transform.h */
#ifndef ORV_TRANSFORM_H
#define ORV_TRANSFORM_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
