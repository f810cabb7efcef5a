// Kernels of the cosine transform.
#pragma once

#include <cstddef>
#include <cstdint>

#include "../../core/ownisa.h"

// Depths as the kernels number them.
enum OwnDctDepth { ownDct8U, ownDct8S, ownDct16U, ownDct16S, ownDct32S, ownDct32F, ownDctDepths };

// One channel of a region: where it begins, and how far it is to the next value and the next row.
struct OwnDctPlane {
    uint8_t* data;
    ptrdiff_t step;     // in values
    ptrdiff_t rowStep;  // in bytes
};

// How lines of one length are transformed.
struct OwnDctLine {
    ptrdiff_t length;
    bool inverse;
    const double* const* secants;  // the fast transform's tables, the longest last; not used below a length of 16
    int32_t levels;                // how many of them
    const float* cosines;          // the direct transform's table of 4 * length entries; NULL for the fast transform
};

// Lines are worked on in groups of this many, which lie side by side, so that every vector register holds the same
// sample of several lines.
constexpr ptrdiff_t ownDctGroup = 8;

struct OwnDctKernels {
    // Between a channel, width x height values, and rows of floats that are `stride` apart.
    void (*read[ownDctDepths])(const OwnDctPlane& plane, float* block, ptrdiff_t stride, ptrdiff_t width,
                               ptrdiff_t height);
    void (*write[ownDctDepths])(const OwnDctPlane& plane, const float* block, ptrdiff_t stride, ptrdiff_t width,
                                ptrdiff_t height);

    // The whole transform of an 8 x 8 block, in place.
    void (*forward8x8)(float* block);
    void (*inverse8x8)(float* block);

    // Transforms `count` lines in place. Lines are `lineStep` apart, their samples `step`; one of the two is 1. The scratch
    // is ownDctGroup * (2 * length + 1) values, aligned to 32 bytes.
    void (*lines)(float* block, ptrdiff_t lineStep, ptrdiff_t step, ptrdiff_t count, const OwnDctLine& line,
                  double* scratch);

    // Multiplies by the factor of the orthonormal transform.
    void (*normalise)(float* block, ptrdiff_t stride, ptrdiff_t width, ptrdiff_t height);
};

OWN_KERNEL_TABLE(OwnDctKernels, ownDctKernels)
