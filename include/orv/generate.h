/* orv/generate.h - noise, a test image, and pixel functions of the application. */
#ifndef ORV_GENERATE_H
#define ORV_GENERATE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
