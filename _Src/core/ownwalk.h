// The walks over tiles: how an operation reaches the pixels of tiled images piece by piece.
//
//   ownBandWalk   every image keeps its own tiles and all advance together in bands
//   ownGridWalk   the tile grid of one leading image
//
// A tile that does not come ends a walk at once: what was opened stays open, what was done stays done. The application
// has to expect that, since nothing can be taken back from its provider.
#pragma once

#include "ownregion.h"
#include "ownreport.h"
#include "ownscratch.h"
#include "owntile.h"

struct OwnWalkImage {
    OrvImage* image;
    const char* noTile;  // reported as ORV_STATUS_BAD_ARG when a tile does not come
};

// One piece of plain memory: the working headers of all images and of the mask, which may be NULL.
using OwnPiece = void (*)(void* task, OrvImage* const* images, const OrvImage* mask);

// Walks the smallest common region of up to three images, the last being the destination, and a mask. A source that is
// the destination is opened once, for writing. False after a report.
bool ownBandWalk(const OwnReport& report, const OwnWalkImage* images, int count, OrvImage* mask, OwnPiece piece,
                 void* task);

// One cell of a grid walk.
struct OwnCell {
    int32_t column, row;       // the leading image's tile
    int32_t xInTile, yInTile;  // the cell in the tile
    int32_t x, y;              // the cell in the region, from the region's start
    int32_t width, height;
};

// Hands the cells of `region` in the leading image to `visit`, by rows from left to right, until it answers false.
template <class Visit>
bool ownGridWalk(const OrvImage& leading, OwnSize region, Visit visit)
{
    OwnTileGrid grid = ownTileGrid(leading, region);
    OwnCell cell;
    cell.y = 0;
    for (int32_t row = 0; row < grid.rows; ++row) {
        cell.row = grid.row + row;
        cell.yInTile = row == 0 ? grid.yOffset : 0;
        cell.height = ownMin(grid.tileHeight - cell.yInTile, region.height - cell.y);
        cell.x = 0;
        for (int32_t column = 0; column < grid.columns; ++column) {
            cell.column = grid.column + column;
            cell.xInTile = column == 0 ? grid.xOffset : 0;
            cell.width = ownMin(grid.tileWidth - cell.xInTile, region.width - cell.x);
            if (!visit(static_cast<const OwnCell&>(cell)))
                return false;
            cell.x += cell.width;
        }
        cell.y += cell.height;
    }
    return true;
}

// Working headers of a cell: in the leading image's tile, and in another image of plain memory.
void ownShowLeadingCell(OwnWork& work, const OrvImage& image, const OwnCell& cell, uint8_t* tile);
void ownShowCell(OwnWork& work, const OrvImage& image, const OwnCell& cell);

// A cell of another image that is tiled: in a block that is filled from its tiles, or, where one tile holds all of it,
// that tile itself, which is then open for reading until release().
struct OwnFetchedCell {
    OwnWork work;  // plain memory, its region the cell

    // False if there is no memory or a tile does not come, without a report. `mayStayOpen` is false where more is
    // fetched before release(), because every other tile has to be closed by then.
    bool fetch(OrvImage* image, const OwnCell& cell, bool mayStayOpen = true);

    // The pixels are not needed any more; nothing without a fetch.
    void release();

private:
    bool open(OrvImage* image);
    bool copyFromTile(OrvImage* image);

    OwnScratch<uint8_t> block{static_cast<uint8_t*>(nullptr)};
    OrvImage* tiled = nullptr;  // the image whose tile is open
    uint8_t* tile = nullptr;
    int32_t column = 0, row = 0;
};
