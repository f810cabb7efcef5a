// Networks that find the median of a small window, made for its size.
//
// A network compares values pair by pair, whatever they are, so that vectors of them go through it together. Nothing is
// sorted that two neighbouring windows share and that has been sorted for one of them: columns without their first and
// last sample serve two rows of results, and sorted columns serve all the windows that they are in (A. Adams, "Fast
// median filters using separable sorting networks", ACM Transactions on Graphics 40, 2021). What can no longer be the
// median is left out on the way.
#pragma once

#include "../core/ownscratch.h"
#include "kernels/ownmedian.h"

// The largest window that a network is made for, in pixels.
constexpr int32_t ownNetworkMost = 144;

class OwnMedianNetwork {
public:
    // For a window of nCols by nRows, 2 to ownNetworkMost pixels.
    OwnMedianNetwork(int32_t nCols, int32_t nRows);

    // False if there is no memory.
    explicit operator bool() const { return steps && network.count >= 0; }

    OwnNetwork network;

private:
    OwnScratch<OwnNetworkStep> steps;
};
