// Rows of values as kernels that only read get them.
#pragma once

#include "../owngeometry.h"

// Some values of the images: `count` rows of n values, side by side. Of 1U, n bytes of eight pixels each whose bits
// beyond the row's end are 0, or bytes of 0 and 1.
struct OwnReadRows {
    const void* a;
    const void* b;  // NULL for one image
    ptrdiff_t n;
    ptrdiff_t count;
    ptrdiff_t aStep, bStep;  // bytes from row to row
    int32_t x, y;            // the first value's pixel, from the region's start
    int32_t channel;         // of the first value, counted from the first processed one
    int32_t channels;        // of a pixel, in turn
    bool endsRow;            // false for a part of a row, alone, that does not reach its end
    // For a reader that takes it the mask, if there is one: the first value's bit is bit 7 - bit of *bits.
    const uint8_t* bits = nullptr;
    int bit = 0;
    ptrdiff_t bitStep = 0;
};

// A part of a row that is not its last has a multiple of so many values.
constexpr int32_t ownReadLanes = 16;
