#include "ownmanywalk.h"

namespace {

class ManyWalk {
public:
    ManyWalk(const OwnManyImages& ofAll, OwnManyPiece doPiece, void* withTask)
        : all(ofAll), piece(doPiece), task(withTask)
    {
        for (int i = 0; i < all.count; ++i)
            first[i] = firstOf(i);
    }

    // Walks a part of the region below the tiles of the images before `image`.
    bool walk(int image, const OwnCell& part)
    {
        if (image == all.count) {
            finish(part);
            return true;
        }
        OrvImage* tiled = all.images[image];
        if (!tiled || !tiled->tileInfo || first[image] != image)
            return walk(image + 1, part);
        OwnWork region;
        ownShowCell(region, *tiled, part);
        return ownGridWalk(region.image, {part.width, part.height}, [&](const OwnCell& cell) {
            uint8_t* tile =
                ownOpenTile(tiled, cell.column, cell.row, isWritten(image) ? ORV_TILE_WRITE : ORV_TILE_READ);
            if (!tile)
                return false;
            works[image].take(*tiled);
            works[image].showTile(*tiled, tile);
            OwnCell below = cell;
            below.x += part.x;
            below.y += part.y;
            tileX[image] = below.x - cell.xInTile;
            tileY[image] = below.y - cell.yInTile;
            if (!walk(image + 1, below))
                return false;
            ownReleaseTile(tiled, cell.column, cell.row);
            return true;
        });
    }

private:
    int firstOf(int image) const
    {
        int i = 0;
        while (all.images[i] != all.images[image])
            ++i;
        return i;
    }
    bool isWritten(int image) const
    {
        bool written = false;
        for (int i = image; i < all.count; ++i)
            written = written || (first[i] == image && all.written[i]);
        return written;
    }

    void finish(const OwnCell& part)
    {
        const OrvImage* shown[ownManyMost] = {};
        for (int i = 0; i < all.count; ++i) {
            if (!all.images[i])
                continue;
            shown[i] = &works[first[i]].image;
            if (first[i] != i)
                continue;
            if (all.images[i]->tileInfo)
                works[i].setRegion(part.x - tileX[i], part.y - tileY[i], part.width, part.height);
            else
                ownShowCell(works[i], *all.images[i], part);
        }
        piece(task, shown, part);
    }

    const OwnManyImages& all;
    OwnManyPiece piece;
    void* task;
    int first[ownManyMost];  // where an image stands for the first time
    OwnWork works[ownManyMost];
    int32_t tileX[ownManyMost], tileY[ownManyMost];  // where the open tile begins, in the region
};

}  // namespace

bool ownManyWalk(const OwnManyImages& all, OwnSize size, OwnManyPiece piece, void* task)
{
    OwnCell whole = {};
    whole.width = size.width;
    whole.height = size.height;
    return ManyWalk(all, piece, task).walk(0, whole);
}
