/* orv.h - the public face of orvz3, a library of image operations.
 *
 * Valid C11 and C++. An application includes this header, describes its images with OrvImage records and links the
 * shared library. Every subsystem has a header of its own below orv/.
 */
#ifndef ORV_H
#define ORV_H

#include "orv/colour.h"
#include "orv/convert.h"
#include "orv/core.h"
#include "orv/filter.h"
#include "orv/generate.h"
#include "orv/geometry.h"
#include "orv/measure.h"
#include "orv/pointwise.h"
#include "orv/transform.h"

#endif
