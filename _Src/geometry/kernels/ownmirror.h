// Kernels of the mirror.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

struct OwnMirrorKernels {
    // Copies n pixels of `bytes` bytes each, the last one first. The rows do not overlap.
    void (*reverse)(const uint8_t* src, uint8_t* dst, ptrdiff_t n, ptrdiff_t bytes);
    // The same for pixels that are bytes of 0 or 1 in the source, 0 or 255 in the destination.
    void (*reverseLanes)(const uint8_t* src, uint8_t* dst, ptrdiff_t n);
    // Copies the bits of n bytes, the last one first.
    void (*reverseBits)(const uint8_t* src, uint8_t* dst, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnMirrorKernels, ownMirrorKernels)
