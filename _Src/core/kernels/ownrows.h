// The frame's own row kernels: moving values between layouts, masks and packed bits.
#pragma once

#include "../ownisa.h"
#include "ownbits.h"

// Rows to be copied with what lies beyond their ends.
struct OwnEndedRows {
    const uint8_t* row;  // value 0 of the first row
    ptrdiff_t rowStep;
    uint8_t* copy;
    ptrdiff_t copyStep;
    ptrdiff_t count;
    ptrdiff_t first, values;  // those of a row that are copied side by side
    // Before and behind them: where each value lies in its row, or -1 for a constant.
    ptrdiff_t before, after;
    const int32_t *placesBefore, *placesAfter;
    int32_t constantBefore, constantAfter;  // as they are stored
};

struct OwnRowKernels {
    // By a value's bytes, 1, 2 or 4, as index 0, 1, 2.

    // Brings n pixels of `values` values each, `step` values apart, together; and back.
    void (*gather[3])(const void* src, ptrdiff_t step, ptrdiff_t values, void* dst, ptrdiff_t n);
    void (*scatter[3])(const void* src, void* dst, ptrdiff_t step, ptrdiff_t values, ptrdiff_t n);
    void (*copyEnded[3])(const OwnEndedRows& rows);
    // Makes lanes of n mask bits, the first being bit 7 - bit of *bits: for each pixel `step` lanes, of which the first
    // `values` have all bits set where the mask bit is set.
    void (*lanes[3])(const uint8_t* bits, int bit, ptrdiff_t step, ptrdiff_t values, void* lanes, ptrdiff_t n);

    // d[i] = a[i] under set mask bits, elsewhere the value at *b, for all rows. The mask's rows lie bitStep bytes
    // apart.
    void (*keep[3])(const OwnRows& rows, const uint8_t* bits, int bit, ptrdiff_t bitStep);

    // By depth.
    OwnRowKernel copy[OWN_DEPTHS];
    OwnRowKernel fill[OWN_DEPTHS];  // the scalar is a value of the depth, for 1U eight pixels

    OwnRowKernel bitAnd;  // of two sources of bits

    // Makes n bytes of 0 or 1 of bits, the first being bit 7 - bit of *bits.
    void (*unpackBits)(const uint8_t* bits, int bit, uint8_t* out, ptrdiff_t n);
    // Stores a bit for each of n pixels of `step` byte lanes, set where the first `values` of them are; the other lanes
    // are read too, and there must be room for those of the last pixel. From bit 0 on and without a mask the bits may
    // take the place of the lanes.
    void (*allBits)(const uint8_t* lanes, ptrdiff_t step, ptrdiff_t values, const OwnBitPlace& to, ptrdiff_t n);
};

OWN_KERNEL_TABLE(OwnRowKernels, ownRowKernels)
