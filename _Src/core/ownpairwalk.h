// Operations on a source and a destination that take all their channels: piece by piece in plain memory.
//
// Images without tiles are one piece. Otherwise the tiles of the destination are walked, or those of the source where
// only it has some, and of the other image what meets the tile is fetched. A tile that does not come ends the walk at
// once: what was opened stays open, what was done stays done.
#pragma once

#include "ownregion.h"
#include "ownreport.h"

struct OwnPair {
    OrvImage* src;
    OrvImage* dst;             // may be the source, whose tiles are then opened once, for writing
    OrvImage* mask = nullptr;  // may be NULL; aligned with the start of the regions
    bool whole = false;        // regions are not looked at
    bool flips = false;        // of whole images of one height: the source's last row meets the destination's first
};

// How a tile that does not come is reported.
struct OwnPairFaults {
    int32_t status;
    const char* noSource;  // also where there is no memory to fetch its part
    const char* noDestination;
};

// One piece: the regions of working headers of plain memory, all of one size and without a channel of interest. The
// mask may be NULL.
using OwnPairPiece = void (*)(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

// Walks the smallest common region of the images and the mask. False after a report.
bool ownPairWalk(const OwnReport& report, const OwnPair& pair, const OwnPairFaults& faults, OwnPairPiece piece,
                 void* task);
