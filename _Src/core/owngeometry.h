// How kernels are told where pixels lie. Nothing here but records: kernels of all levels may include it.
#pragma once

#include <stddef.h>
#include <stdint.h>

// The index of a depth in a table of kernels.
enum OwnDepthIndex { OWN_1U, OWN_8U, OWN_8S, OWN_16U, OWN_16S, OWN_32S, OWN_32F, OWN_DEPTHS };

// The processed channels of a region in plain memory. A mask and any other 1U image has `bit`.
struct OwnGeometry {
    uint8_t* start;       // the region's first value in the first processed channel
    ptrdiff_t rowStep;    // bytes
    ptrdiff_t planeStep;  // bytes from channel to channel; 0 where channels stand side by side
    int32_t pixelStep;    // values from pixel to pixel
    int32_t channels;     // to process
    int32_t bit;          // of the first pixel in *start, for 1U
    int32_t width, height;
};
