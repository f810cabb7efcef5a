// The groups of the gallery, in the order in which they stand on the page.
#pragma once

#include "stage.h"

namespace gallery {

extern const Family coreMoves, corePixels;
extern const Family twoImages, scalars, unary, comparisons, thresholds;
extern const Family blurs, convolutions;
extern const Family fourier, cosines, wavelets;

inline std::vector<const Family*> families()
{
    return {&coreMoves,  &corePixels, &twoImages,    &scalars, &unary,   &comparisons,
            &thresholds, &blurs,      &convolutions, &fourier, &cosines, &wavelets};
}

}  // namespace gallery
