// Kernels that lower the number of levels of images.
#pragma once

#include "../../core/kernels/ownbits.h"
#include "../../core/ownisa.h"

// What the levels are written as.
enum class OwnLevelForm {
    bits,   // two levels, a bit each
    codes,  // multiples of a code
    scaled  // the level itself, scaled
};

// How a value, in the source's units from 0 on, becomes one of a few levels, and how that is written.
struct OwnQuantiser {
    OwnLevelForm form;
    double full;         // from here on a value is the brightest level
    double least;        // below it is the darkest
    double steps;        // between the darkest level and the brightest
    double perUnit;      // 1 / full
    double step;         // full / steps
    double top, bottom;  // the codes of the brightest value and of the darkest
    double code;         // codes: of level 1; that of level k is k of it, its fraction dropped
    double scale, less;  // scaled: a level becomes level * scale - less, rounded
};

enum { OWN_NOISE_COUNT = 1024 };

// Noise for the thresholds; values is NULL for none.
struct OwnNoise {
    const float* values;
    const int32_t* places;
};

// What the kernels must know beside the pixels.
struct OwnDither {
    OwnDepthIndex from, to;
    OwnQuantiser quantiser;
    double threshold;     // of a diffusion without noise
    double matrix[4][4];  // of an ordered dither, to which noise is added before it is multiplied by the span
    double span;
    OwnNoise noise;
};

// Errors of rows, of the row before in rows[0] and of the one before that in rows[1]; rows[2] is free. Around a row's
// errors there is room for those of OWN_ERROR_MARGIN pixels; all that is not a pixel's is 0.
enum { OWN_ERROR_MARGIN = 96 };
struct OwnErrorRows {
    float* rows[3];
};

enum OwnErrorFilter { OWN_FLOYD_STEINBERG, OWN_JARVIS, OWN_STUCKI, OWN_ERROR_FILTERS };

struct OwnDitherKernels {
    // Depth conversion alone: the high bits.
    OwnRowKernel from16Uto8U, from32Sto8U, from32Sto16U;
    OwnTestKernel bits[OWN_DEPTHS];

    // Ordered dither of all channels of a rectangle; (x, y) is its upper left pixel's place in the noise. To bits
    // without noise, bits behind a row keep their values.
    void (*order)(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst, uint32_t x, uint32_t y);
};

OWN_KERNEL_TABLE(OwnDitherKernels, ownDitherKernels)

struct OwnDiffuseKernels {
    // Error diffusion of one channel, from the top down; y is the first row's place in the noise.
    void (*run[OWN_ERROR_FILTERS])(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst,
                                   uint32_t channel, uint32_t y, OwnErrorRows& errors);
};

OWN_KERNEL_TABLE(OwnDiffuseKernels, ownDiffuseKernels)
