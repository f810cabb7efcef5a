/* orv/geometry.h - operations that move pixels to other places: warps, maps, scaling, mirrors, and their coefficients. */
#ifndef ORV_GEOMETRY_H
#define ORV_GEOMETRY_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
