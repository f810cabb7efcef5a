// Operations that make a rectangle of the destination of a rectangle that lies elsewhere in the source: the division of
// their work into blocks of plain memory.
//
//   images without tiles     one block
//   destination tiled        tile by tile
//   only the source tiled    in blocks of the operation's choice
//
// What a block needs is read where it lies, or, if the source is tiled, copied from its tiles: first the destination's
// tile is opened, then those of the source are, for reading, and closed.
#pragma once

#include "../core/ownborder.h"

// A part of a region, from its start. Of a source's region it may begin before the start.
struct OwnBlock {
    int32_t x, y;
    int32_t width, height;
};

enum class OwnBlockResult {
    done,
    noMemory,
    noSourceTile,  // a tile of the source does not come
    noTile         // a tile of the destination does not come
};

struct OwnBlocks {
    OrvImage* src;
    OrvImage* dst;
    const OrvImage* mask;  // may be NULL; aligned with the start of the destination's region
    OwnBlock part;         // what is processed of the destination's region
    OwnSize cut;           // of the blocks where only the source is tiled

    // What a block needs of the source: inside the image, and not empty.
    OwnBlock (*need)(const void* task, const OwnBlock& block);
    // Makes a block: the regions of working headers of plain memory, that of the source being what the block needs.
    // False if there is no memory.
    bool (*make)(const void* task, const OwnBlock& block, const OrvImage& src, const OrvImage& dst,
                 const OrvImage* mask);
    const void* task;
};

// Runs an operation over its blocks. When a tile does not come or memory is refused, what was opened stays open and
// what was done stays done.
OwnBlockResult ownRunBlocks(const OwnBlocks& call);

// The working header of a part of an image's region.
void ownShowBlock(OwnWork& work, const OrvImage& image, const OwnBlock& block);

// Copies a part of a tiled image.
OwnBlockResult ownFetchBlock(OwnBorderedImage& copy, OrvImage* image, const OwnBlock& block);
