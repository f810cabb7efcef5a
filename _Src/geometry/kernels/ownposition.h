// Producers of positions: where in the source the pixels of a destination come from.
//
// Positions are running sums along a row, so that each needs the one before. Rows do not need each other: eight of them
// advance side by side, one a lane, and their positions lie interleaved, column by column:
//
//   position of column i in row r of a block      x[i * ownPositionRows + r]
//
// so that a block is a list for whoever comes next, and rows are taken apart when their pixels are there.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

constexpr int ownPositionRows = 8;
constexpr int ownPositionColumns = 64;                              // of a block at most
constexpr int ownPositions = ownPositionRows * ownPositionColumns;  // in a list at most
constexpr int ownPositionGroup = 32;                                // lists are as many of these as it takes

// Closed.
struct OwnPositionRange {
    double left, top, right, bottom;
};

// The kinds of maps, by what makes a position of two or three linear functions f0, f1, f2 of the pixel.
enum OwnMapKind {
    OWN_MAP_LINEAR,           // f0, f1
    OWN_MAP_PERSPECTIVE,      // f0 / f2, f1 / f2
    OWN_MAP_INVERSE_GENERAL,  // u + f, u e + f2 with u = f0 - sqrt(f0 f0 - f1), or + with upperRoot
    OWN_MAP_INVERSE_ROWS,     // f1 / f0 + f, f2
    OWN_MAP_INVERSE_COLUMNS,  // f1, f2 / f0 + f
    OWN_MAP_INVERSE_AFFINE,   // f1, f2
    OWN_MAPS
};

// Rows in the making. Results of the inverse kinds pass through single precision.
struct OwnPositionState {
    alignas(64) double value[3][ownPositionRows];  // of the functions at the next pixel of each row
    alignas(64) double step[3][ownPositionRows];   // to the pixel after it
    alignas(64) double left[ownPositionRows];      // pixels from the next one to the row's end; may be negative
    double e, f;
    bool upperRoot;
};

// Makes the positions of the next `columns` pixels, a multiple of 4, of all rows. True if it is certain that all lie in
// the range, also those beyond a row's end; false says nothing.
using OwnProduce = bool (*)(OwnPositionState& state, int columns, const OwnPositionRange& range, double* x, double* y);

// How many of some positions lie where they should.
enum OwnConfined { OWN_CONFINED_NONE, OWN_CONFINED_SOME, OWN_CONFINED_ALL };

struct OwnPositionKernels {
    OwnProduce produce[OWN_MAPS];
    // Makes positions of rows of floats. True if it is certain that all lie in the range; false says nothing.
    bool (*fromFloats)(const void* xs, const void* ys, double* x, double* y, ptrdiff_t n,
                       const OwnPositionRange& range);
    // Marks those of n positions, a multiple of ownPositionGroup, that lie in `range`, and moves all of them into
    // `limits`, which lie in the range; those that are not numbers too. Nothing is marked or moved if all lie there.
    OwnConfined (*confine)(double* x, double* y, ptrdiff_t n, const OwnPositionRange& range,
                           const OwnPositionRange& limits, uint8_t* marks);
};

OWN_KERNEL_TABLE(OwnPositionKernels, ownPositionKernels)
