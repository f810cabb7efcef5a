/* orv/filter.h */
#ifndef ORV_FILTER_H
#define ORV_FILTER_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
