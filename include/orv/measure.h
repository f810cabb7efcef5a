/* orv/measure.h - numbers of images: histograms, norms, extremes, moments; contrast by histograms. */
#ifndef ORV_MEASURE_H
#define ORV_MEASURE_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

#ifdef __cplusplus
}
#endif

#endif
