// Operations whose result at a pixel depends on the pixels around it: the division of their work into rectangles of
// plain memory.
//
// A filter says how far it reads around a pixel and what to do with a rectangle of plain memory around which it may
// read that far. Pixels outside the region are the image's; pixels outside the image come from its border modes, which
// OwnLines know for images of plain memory and copies have around them. As little as possible is copied:
//
//   images without tiles          from the image itself
//   in place, or source tiled     from one copy of the whole rectangle
//   destination tiled             tile by tile; from the source itself where it is not tiled
//   in place and tiled            in bands of whole rows of tiles, the copy of the next band being taken before a
//                                 band is written, since its surroundings lie there
#pragma once

#include "ownborder.h"
#include "ownregion.h"

enum class OwnNeighbourResult {
    done,
    noMemory,
    noSourceTile,  // a tile of the source does not come
    noTile         // a tile of the destination does not come
};

// Filters one rectangle: the regions of working headers of plain memory, all of one size. It reads the source by
// OwnLines alone, which know the borders. The mask may be NULL. False if there is no memory.
using OwnNeighbourPiece = bool (*)(void* task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

struct OwnNeighbours {
    OrvImage* src;
    OrvImage* dst;   // may be the source
    OrvImage* mask;  // may be NULL; aligned with the start of the regions
    OwnReach reach;
    OwnNeighbourPiece piece;
    void* task;
    // Tiles of the source divide the work too, so that the copy of a piece is no larger than a tile of each image.
    bool bySourceTiles = false;
    // How far around the region pixels are read. A piece is called with what of its reach that leaves on each side.
    int32_t frame = INT32_MAX;
    // If not NULL, receives before each piece where it lies, counted from the region's start.
    OwnRect* place = nullptr;
};

// Runs a filter over the smallest common region of the images and the mask. When a tile does not come or memory is
// refused, what was opened stays open and what was done stays done.
OwnNeighbourResult ownRunNeighbours(const OwnNeighbours& call);
