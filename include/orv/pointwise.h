/* orv/pointwise.h */
#ifndef ORV_POINTWISE_H
#define ORV_POINTWISE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
