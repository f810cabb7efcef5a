// Kernels that fold windows to their least or their greatest value.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"

// A few rows of results, each the fold of nRows rows by nCols pixels.
struct OwnFoldBand {
    const void* const* rows;  // count + nRows - 1, of which values + (nCols - 1) * step values each are read
    ptrdiff_t first;          // where in the rows these begin, in bytes
    void* const* results;     // count
    ptrdiff_t count;
    ptrdiff_t nRows, nCols;
    ptrdiff_t step;    // values from pixel to pixel
    ptrdiff_t values;  // in a row of the result
    int bit;           // at 1U: of the first value, in that byte
    void* scratch;     // of scratchBytes of a band with as many results
};

enum { OWN_FOLD_SLACK = 64 };

struct OwnFoldKernel {
    void (*band)(const OwnFoldBand& band);
    int64_t (*scratchBytes)(const OwnFoldBand& band);
};

// The pixels beyond one end of rows of bits, from the end outwards: each has a place in the row, and those after the
// last place repeat it; without places they are a constant.
struct OwnBitEnd {
    int64_t pixels;
    int64_t places;
    const int32_t* place;
    bool constant;
};

// Copies rows of bits with what lies beyond their ends. The bytes from `first` to `last` keep their phase; the first
// `skip` bits of the one and those after `keep` bits of the other lie beyond the ends.
struct OwnBitCopies {
    const uint8_t* row;
    ptrdiff_t rowStep;
    uint8_t* copy;  // of byte `first`
    ptrdiff_t copyStep;
    ptrdiff_t count;
    ptrdiff_t first, last;
    int skip, keep;  // 0 to 7, and 1 to 8
    OwnBitEnd left, right;
};

// Up to so many bytes are written on either side of a copy.
constexpr int64_t ownBitEndBytes(int64_t pixels)
{
    return pixels < 56 ? 8 : (pixels + 55) / 56 * 7 + 1;
}

// By depth; none for 32F. At 1U the values are packed bits, those of a result from bit 0 of its first byte on, and
// behind the rows OWN_FOLD_SLACK bytes may be read.
struct OwnFoldKernels {
    OwnFoldKernel least[OWN_DEPTHS];
    OwnFoldKernel greatest[OWN_DEPTHS];
    void (*copyBits)(const OwnBitCopies& rows);
};

OWN_KERNEL_TABLE(OwnFoldKernels, ownFoldKernels)
