// Operations on many images at one place: piece by piece in plain memory, whatever tiles the images have.
//
// The tiles of the first tiled image are walked, below each of them those of the next one that it meets, and so on, so
// that of no image more than one tile is open at a time. An image that stands more than once has its tile opened once,
// for writing if it is written at all. A tile that does not come ends the walk at once: what was opened stays open.
#pragma once

#include "ownwalk.h"

constexpr int ownManyMost = 7;

struct OwnManyImages {
    OrvImage* images[ownManyMost];  // NULL for those that are missing
    bool written[ownManyMost];
    int count;
};

// One piece: working headers of plain memory, NULL for images that are missing, and where the piece lies in the region.
// Its column, row and place in a tile mean nothing.
using OwnManyPiece = void (*)(void* task, const OrvImage* const* works, const OwnCell& piece);

// Walks the images' regions of the given size. False if a tile does not come.
bool ownManyWalk(const OwnManyImages& all, OwnSize size, OwnManyPiece piece, void* task);
