// A call of two-dimensional convolution: how the sums of its kernels are formed and combined.
//
// The sums of a kernel of integers are formed in integers where none can pass 32 bits, and otherwise in floats that are
// rounded after every product. Windows of 3 x 3 and 5 x 5 that are dense have sums of their own: in double precision,
// rounded once; of integers that pass 32 bits they are the bits of the integer sum.
#pragma once

#include "../core/ownneighbour.h"
#include "ownconvrows.h"

constexpr int32_t ownMostKernels = 10;

// A place where a sample is multiplied, counted in rows.
struct OwnRealPlace {
    int32_t row, column;
    bool rounds;
    double weight;
};

enum class OwnConvSums {
    bytes,  // that are results at once
    integer,
    wrapped,  // modulo 2^32, and taken for the bits of floats
    exact,    // in double precision, where every product is exact
    real
};

struct OwnConvStage {
    OwnConvSums sums;
    OwnFold fold;
    int shift;
    bool shifts;           // also by 0
    int32_t start, under;  // of integer sums
    // Of wrapped sums these have the low halves of the weights, and others the high halves.
    const OwnPairPlace *pairs, *highPairs;
    const OwnRealPlace* reals;
    ptrdiff_t pairCount, highCount, realCount;
};

// The plan of a call; it is not changed while pieces of the image are convolved.
struct OwnConvPlan {
    OwnConvPlan(const OwnConvWindow* windows, int32_t count, int32_t method, const OrvImage& src);

    // False if there is no memory.
    explicit operator bool() const { return pairs && reals; }

    int32_t count;
    uint32_t depth;
    OwnReach reach = {0, 0, 0, 0};
    bool realTotals = false;  // floats; otherwise integers
    bool roots;               // of the totals
    bool usesPairs = false, usesReals = false;
    ptrdiff_t mostPairs = 1, mostReals = 1;  // places of a stage
    OwnConvStage stages[ownMostKernels];
    OwnScratch<OwnPairPlace> pairs;
    OwnScratch<OwnRealPlace> reals;
};

// Convolves a rectangle of plain memory by an OwnConvPlan; a task of ownRunNeighbours, which reads through OwnLines.
bool ownConvolvePiece(void* plan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
