// A call of separable convolution: a row kernel, a column kernel, or both.
//
// Integer sums are those modulo 2^32, shifted and cut once at the end, so that the order of the kernels does not
// matter. Where the weights fit 16 bits, and the sums of the row kernel lie in a range of 65536 values, both steps are
// sums of pairs: of neighbouring pixels, and then of neighbouring rows. A row kernel with larger sums goes in two
// parts, the upper and the lower bits of its weights, if the sums of each lie in such a range; the column kernel adds
// the rows of both. Floats are summed in double precision and rounded once a step, columns first.
#pragma once

#include "../core/ownneighbour.h"
#include "ownconvrows.h"

// A part of the row kernel's weights, and what the column kernel makes of its sums.
struct OwnSepPart {
    OwnConvWindow x, y;
    ptrdiff_t xPairs, yPairs;  // of the places
    OwnPairPlace *xPlaces, *yPlaces;
    int32_t xStart;  // of the sums of pairs
};

struct OwnSepPlan {
    // Either window may be NULL.
    OwnSepPlan(const OwnConvWindow* xWindow, const OwnConvWindow* yWindow, uint32_t imageDepth);

    // False if there is no memory.
    explicit operator bool() const { return values && places; }

    // The values in the order in which they meet samples; without columns or rows there is no such kernel.
    OwnConvWindow x = {}, y = {};
    uint32_t depth;
    OwnReach reach = {0, 0, 0, 0};
    int shift = 0;
    bool usesPairs, usesBytes = false;  // the latter for neighbouring pixels
    int32_t partCount = 1;
    OwnSepPart parts[2] = {};    // for sums of pairs
    int32_t yStart = 0;          // of the sums of pairs of rows
    OwnScratch<int32_t> values;  // or floats
    OwnScratch<OwnPairPlace> places;

    ptrdiff_t xPairs() const { return parts[0].xPairs + parts[1].xPairs; }
    ptrdiff_t yPairs() const { return parts[0].yPairs + parts[1].yPairs; }

private:
    void planPairs();
    bool planParts();
};

// Convolves a rectangle of plain memory by an OwnSepPlan; a task of ownRunNeighbours, which reads through OwnLines.
bool ownConvolveSeparably(void* plan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);
