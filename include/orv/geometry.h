/* orv/geometry.h - operations that move pixels to other places: warps, maps, scaling, mirrors, and their coefficients. */
#ifndef ORV_GEOMETRY_H
#define ORV_GEOMETRY_H

#include "core.h"

#ifdef __cplusplus
extern "C" {
#endif

/* How a value between pixels is made of those around it, as the argument `interpolate`. */
enum {
    ORV_INTER_NN = 0,     /* nearest neighbour */
    ORV_INTER_LINEAR = 1, /* bilinear, of two by two pixels */
    ORV_INTER_CUBIC = 2,  /* bicubic: Lagrange polynomials through four by four pixels */
    ORV_INTER_SUPER = 3,  /* the mean of an area, where an image is made smaller; not for warps and maps */
    ORV_BLEND_EDGE = 16   /* added to one of the above: blends the edge of a quadrangle into what was there before */
};

#ifdef __cplusplus
}
#endif

#endif
