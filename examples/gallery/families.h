// The groups of the gallery, in the order in which they stand on the page.
#pragma once

#include "stage.h"

namespace gallery {

extern const Family coreMoves, corePixels;
extern const Family twoImages, scalars, unary;

inline std::vector<const Family*> families()
{
    return {&coreMoves, &corePixels, &twoImages, &scalars, &unary};
}

}  // namespace gallery
