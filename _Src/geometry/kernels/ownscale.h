// Kernels of scaling: samples that lie beside each other become a pixel, first along the rows of the source, then
// across rows that have been made so.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// What is added before rounding to nearest, where the fraction is to be cut off: a number that rounding has left a hair
// below an integer counts as that integer.
constexpr double ownIndexBias = -0.49999;

// What the rows of a destination are made of, along a row.
struct OwnScaleColumns {
    ptrdiff_t count;        // pixels of a destination row, at least 1
    ptrdiff_t sourceCount;  // pixels of a source row; no more are read
    int lanes;              // values of a pixel, at most 8
    int samples;            // pixels of the source for each: 1, 2 or 4
    const int32_t* index;   // of the first of them, plus `base`
    int32_t base;
    const double* fraction;  // the position between them; none for one sample
    ptrdiff_t whole;         // the source pixel that the first destination pixel takes as it is; negative for none
    void* table;             // of tableBytes, filled by prepare

    __attribute__((always_inline)) ptrdiff_t values() const { return count * lanes; }
};

// Copies samples.
struct OwnPickKernel {
    int64_t (*tableBytes)(const OwnScaleColumns& columns);
    void (*prepare)(const OwnScaleColumns& columns);
    void (*pick)(const OwnScaleColumns& columns, const void* src, void* dst);
};

// Copies bits of a row that begins at bit `first` of its first byte into one that begins with a byte. Behind both rows
// ownPickBitsSlack bytes may be read and written.
struct OwnPickBitsKernel {
    bool (*fits)(const OwnScaleColumns& columns, int first);
    int64_t (*tableBytes)(const OwnScaleColumns& columns);
    void (*prepare)(const OwnScaleColumns& columns, int first);
    void (*pick)(const OwnScaleColumns& columns, const uint8_t* src, uint8_t* dst);
};
constexpr int ownPickBitsSlack = 16;

// The most rows that a kernel takes at a time.
constexpr int ownScaleRows = 4;

// A row of the destination.
struct OwnScaleRow {
    const void* rows[4];
    int samples;      // how many rows it is made of: 1, 2 or 4
    double fraction;  // the position between them
    void* dst;
};

// The most of them that a kernel takes at a time.
constexpr int ownScaleBand = 8;

// Computes between samples.
struct OwnScaleKernel {
    int ringBytes;  // of a value between the two steps
    int64_t (*tableBytes)(const OwnScaleColumns& columns);
    void (*prepare)(const OwnScaleColumns& columns);
    // Up to ownScaleRows rows.
    void (*across)(const OwnScaleColumns& columns, const void* const* src, int rows, void* const* ring);
    // Up to ownScaleBand rows.
    void (*down)(const OwnScaleColumns& columns, const OwnScaleRow* rows, int count);
};

struct OwnScaleKernels {
    OwnPickKernel pick[3];                            // by a value's bytes, 1, 2 or 4
    OwnPickBitsKernel pickBits;                       // for what fits; otherwise bits are picked as bytes
    void (*spreadBits)(uint8_t* lanes, ptrdiff_t n);  // lanes of 0 and 1 become 0 and 255
    // Of 8U, 16U and 32F, others have none. Those of orvZoom and orvResize:
    OwnScaleKernel zoomLinear[OWN_DEPTHS], zoomCubic[OWN_DEPTHS];
    // Those of orvDecimate:
    OwnScaleKernel decimateLinear[OWN_DEPTHS], decimateCubic[OWN_DEPTHS];
};

OWN_KERNEL_TABLE(OwnScaleKernels, ownScaleKernels)
