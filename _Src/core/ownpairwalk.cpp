#include "ownpairwalk.h"

#include "ownwalk.h"

namespace {

OwnRect regionOf(const OrvImage& image, bool whole)
{
    return whole ? OwnRect{0, image.width, 0, image.height, image.width, image.height} : ownRoiRect(image);
}

class PairWalk {
public:
    PairWalk(const OwnReport& report, const OwnPair& pair, const OwnPairFaults& faults, OwnPairPiece piece, void* task)
        : report(report),
          pair(pair),
          faults(faults),
          piece(piece),
          task(task),
          src(regionOf(*pair.src, pair.whole)),
          dst(regionOf(*pair.dst, pair.whole)),
          size(ownMin({src.width, src.height}, {dst.width, dst.height}))
    {
        if (pair.mask)
            size = ownMin(size, {ownRoiRect(*pair.mask).width, ownRoiRect(*pair.mask).height});
    }

    bool run() const
    {
        if (size.width <= 0 || size.height <= 0)
            return true;
        if (pair.dst->tileInfo || pair.src->tileInfo)
            return runTiles();
        OwnWork from, to;
        const OwnCell all = {0, 0, 0, 0, 0, 0, size.width, size.height};
        show(from, *pair.src, src, all);
        show(to, *pair.dst, dst, all);
        runPiece(from.image, to.image, all);
        return true;
    }

private:
    const OwnReport& report;
    const OwnPair& pair;
    const OwnPairFaults& faults;
    OwnPairPiece piece;
    void* task;
    OwnRect src, dst;  // the regions
    OwnSize size;      // what they have in common

    static void show(OwnWork& work, const OrvImage& image, const OwnRect& region, const OwnCell& cell)
    {
        work.take(image);
        work.roi = {0, region.x + cell.x, region.y + cell.y, cell.width, cell.height};
    }

    void runPiece(const OrvImage& from, const OrvImage& to, const OwnCell& cell) const
    {
        OwnWork mask;
        if (pair.mask)
            ownShowCell(mask, *pair.mask, cell);
        piece(task, from, to, pair.mask ? &mask.image : nullptr);
    }

    bool runTiles() const
    {
        bool toTiles = pair.dst->tileInfo;
        OwnWork leading;
        show(leading, toTiles ? *pair.dst : *pair.src, toTiles ? dst : src,
             {0, 0, 0, 0, 0, 0, size.width, size.height});
        return ownGridWalk(leading.image, size, [&](const OwnCell& cell) { return toTiles ? fill(cell) : read(cell); });
    }

    // The part of the other image that meets a cell of the leading one.
    OwnCell partner(const OwnCell& cell) const
    {
        OwnCell other = cell;
        if (pair.flips)
            other.y = size.height - cell.y - cell.height;
        return other;
    }

    // A cell of the source's tiles, for a destination without tiles.
    bool read(const OwnCell& cell) const
    {
        uint8_t* tile = ownOpenTile(pair.src, cell.column, cell.row, ORV_TILE_READ);
        if (report.when(!tile, faults.status, faults.noSource))
            return false;
        OwnWork from, to;
        ownShowLeadingCell(from, *pair.src, cell, tile);
        from.roi.coi = 0;
        const OwnCell other = partner(cell);
        show(to, *pair.dst, dst, other);
        runPiece(from.image, to.image, cell);
        ownReleaseTile(pair.src, cell.column, cell.row);
        return true;
    }

    // A cell of the destination's tiles.
    bool fill(const OwnCell& cell) const
    {
        uint8_t* tile = ownOpenTile(pair.dst, cell.column, cell.row, ORV_TILE_WRITE);
        if (report.when(!tile, faults.status, faults.noDestination))
            return false;
        OwnWork to;
        ownShowLeadingCell(to, *pair.dst, cell, tile);
        to.roi.coi = 0;
        if (pair.src == pair.dst)
            runPiece(to.image, to.image, cell);
        else if (!runFrom(cell, to.image))
            return false;
        ownReleaseTile(pair.dst, cell.column, cell.row);
        return true;
    }

    bool runFrom(const OwnCell& cell, const OrvImage& to) const
    {
        OwnCell other = partner(cell);
        if (!pair.src->tileInfo) {
            OwnWork from;
            show(from, *pair.src, src, other);
            runPiece(from.image, to, cell);
            return true;
        }
        // What is fetched is counted from the start of the image's own region, whatever is processed.
        const OwnRect own = ownRoiRect(*pair.src);
        other.x += src.x - own.x;
        other.y += src.y - own.y;
        OwnFetchedCell from;
        if (report.when(!from.fetch(pair.src, other), faults.status, faults.noSource))
            return false;
        from.work.roi.coi = 0;
        runPiece(from.work.image, to, cell);
        from.release();
        return true;
    }
};

}  // namespace

bool ownPairWalk(const OwnReport& report, const OwnPair& pair, const OwnPairFaults& faults, OwnPairPiece piece,
                 void* task)
{
    return PairWalk(report, pair, faults, piece, task).run();
}
