// The groups of the gallery, in the order in which they stand on the page.
#pragma once

#include "stage.h"

namespace gallery {

extern const Family coreMoves, corePixels;
extern const Family twoImages, scalars, unary, comparisons, thresholds, compositing;
extern const Family blurs, convolutions;
extern const Family morphology, ranks, fixedFilters;
extern const Family planeMaps, warps, remaps;
extern const Family scaling, mirrors;
extern const Family colourModels, colourTwists, dithers;
extern const Family depths, bitmaps;
extern const Family fourier, cosines, wavelets;
extern const Family contrast, measures;
extern const Family generators, userFunctions;

// clang-format off
inline std::vector<const Family*> families()
{
    return {
        &coreMoves, &corePixels,
        &twoImages, &scalars, &unary, &comparisons, &thresholds, &compositing,
        &blurs, &convolutions,
        &morphology, &ranks, &fixedFilters,
        &planeMaps, &warps, &remaps,
        &scaling, &mirrors,
        &colourModels, &colourTwists, &dithers,
        &depths, &bitmaps,
        &fourier, &cosines, &wavelets,
        &contrast, &measures,
        &generators, &userFunctions,
    };
}
// clang-format on

}  // namespace gallery
