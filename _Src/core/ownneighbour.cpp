#include "ownneighbour.h"

#include "ownwalk.h"

namespace {

using Result = OwnNeighbourResult;

// A part of the region, from its start.
struct Part {
    int32_t x, y;
    int32_t width, height;
};

class Division {
public:
    Division(const OwnNeighbours& call, OwnSize size) : call(call), size(size), start(ownRoiRect(*call.src)) {}

    Result run() const
    {
        const Part whole = {0, 0, size.width, size.height};
        bool inPlace = call.src == call.dst;
        if (call.dst->tileInfo)
            return inPlace ? runTilesInPlace() : runTiles(whole, nullptr);
        if (call.src->tileInfo && call.bySourceTiles)
            return runSourceTiles(whole, *call.dst);
        if (inPlace || call.src->tileInfo)
            return runBordered(whole);
        return runDirect(whole);
    }

private:
    const OwnNeighbours& call;
    OwnSize size;
    OwnRect start;  // the source's region

    OwnRect sourceRect(const Part& part) const
    {
        int32_t x = start.x + part.x;
        int32_t y = start.y + part.y;
        return {x, x + part.width, y, y + part.height, part.width, part.height};
    }

    static void show(OwnWork& work, const OrvImage& image, const Part& part)
    {
        OwnRect rect = ownRoiRect(image);
        work.take(image);
        work.setRegion(rect.x + part.x, rect.y + part.y, part.width, part.height);
    }

    // What is read around a part.
    OwnReach reachOf(const Part& part) const
    {
        auto within = [&](int32_t reach, int64_t toEdge) {
            toEdge += call.frame;
            return int32_t(reach < toEdge ? reach : toEdge);
        };
        return {within(call.reach.left, part.x), within(call.reach.top, part.y),
                within(call.reach.right, size.width - part.x - part.width),
                within(call.reach.bottom, size.height - part.y - part.height)};
    }

    Result fetch(OwnBorderedImage& copy, const Part& part) const
    {
        if (copy.fetch(call.src, sourceRect(part), reachOf(part)))
            return Result::done;
        return copy.tileRefused ? Result::noSourceTile : Result::noMemory;
    }

    Result runPiece(const OrvImage& src, const OrvImage& dst, const Part& part) const
    {
        OwnWork mask;
        if (call.place)
            *call.place = {part.x, part.x + part.width, part.y, part.y + part.height, part.width, part.height};
        if (call.mask)
            show(mask, *call.mask, part);
        return call.piece(call.task, src, dst, call.mask ? &mask.image : nullptr) ? Result::done : Result::noMemory;
    }

    // Filters a part of the destination that lies in plain memory, from the image itself or from a copy.
    Result runDirect(const Part& part, const OrvImage& dst) const
    {
        OwnWork src;
        show(src, *call.src, part);
        return runPiece(src.image, dst, part);
    }
    Result runDirect(const Part& part) const
    {
        OwnWork dst;
        show(dst, *call.dst, part);
        return runDirect(part, dst.image);
    }
    Result runCopied(const Part& part, const OrvImage& dst) const
    {
        OwnBorderedImage copy;
        Result fetched = fetch(copy, part);
        return fetched == Result::done ? runPiece(copy.work.image, dst, part) : fetched;
    }
    // The same for each of the parts into which the source's tiles divide one.
    Result runSourceTiles(const Part& whole, const OrvImage& dst) const
    {
        Result result = Result::done;
        OwnWork leading;
        show(leading, *call.src, whole);
        ownGridWalk(leading.image, {whole.width, whole.height}, [&](const OwnCell& cell) {
            OwnWork target(dst);
            target.narrow(cell.x, cell.y, cell.width, cell.height);
            result = runCopied({whole.x + cell.x, whole.y + cell.y, cell.width, cell.height}, target.image);
            return result == Result::done;
        });
        return result;
    }
    Result runBordered(const Part& part) const
    {
        OwnWork dst;
        show(dst, *call.dst, part);
        return runCopied(part, dst.image);
    }

    // Writes a part of the region tile by tile: from `copy`, which holds that part, or from the source.
    Result runTiles(const Part& whole, const OwnBorderedImage* copy) const
    {
        OwnWork leading;
        show(leading, *call.dst, whole);
        Result result = Result::done;
        ownGridWalk(leading.image, {whole.width, whole.height}, [&](const OwnCell& cell) {
            uint8_t* tile = ownOpenTile(call.dst, cell.column, cell.row, ORV_TILE_WRITE);
            if (!tile) {
                result = Result::noTile;
                return false;
            }
            OwnWork dst(*call.dst);
            dst.showTile(*call.dst, tile);
            dst.setRegion(cell.xInTile, cell.yInTile, cell.width, cell.height);
            Part part = {whole.x + cell.x, whole.y + cell.y, cell.width, cell.height};
            if (copy) {
                OwnWork src(copy->work.image);
                src.setRegion(copy->work.roi.xOffset + cell.x, copy->work.roi.yOffset + cell.y, cell.width,
                              cell.height);
                result = runPiece(src.image, dst.image, part);
            } else if (!call.src->tileInfo) {
                result = runDirect(part, dst.image);
            } else if (call.bySourceTiles) {
                result = runSourceTiles(part, dst.image);
            } else {
                result = runCopied(part, dst.image);
            }
            if (result != Result::done)
                return false;
            ownReleaseTile(call.dst, cell.column, cell.row);
            return true;
        });
        return result;
    }

    // True if the copy of the last band, whose predecessor begins at row `previous` of the image, would read rows of
    // bands before that, which have been written by then: the border mode may lead anywhere.
    bool readsWhatIsWritten(int32_t previous) const
    {
        const OrvImage& image = *call.src;
        int64_t past = int64_t{start.y} + size.height + ownMin(call.reach.bottom, call.frame) - image.height;
        if (past <= 0 || previous <= start.y)
            return false;
        switch (image.borderMode[1] & 3) {
        case ORV_BORDER_REFLECT: return image.height - past < previous;
        case ORV_BORDER_WRAP: return past > start.y;
        default: return false;
        }
    }

    Result runTilesInPlace() const
    {
        // A band is as high as the reach upwards, so that this ends in the band before.
        int32_t tileHeight = call.src->tileInfo->height;
        int64_t tileRows = call.reach.top > tileHeight ? (call.reach.top + int64_t{tileHeight} - 1) / tileHeight : 1;
        int32_t bandHeight = int32_t(tileRows * tileHeight < size.height ? tileRows * tileHeight : size.height);
        int32_t firstHeight = ownMin(size.height, tileHeight - start.y % tileHeight);
        int32_t others = int32_t((int64_t{size.height} - firstHeight + bandHeight - 1) / bandHeight);
        int32_t previous = others < 2 ? 0 : firstHeight + (others - 2) * bandHeight;
        if (readsWhatIsWritten(start.y + previous))
            firstHeight = size.height;
        OwnBorderedImage copies[2];
        Part band = {0, 0, size.width, firstHeight};
        int current = 0;
        Result result = fetch(copies[current], band);
        while (result == Result::done && band.height > 0) {
            int32_t done = band.y + band.height;
            Part next = {0, done, size.width, ownMin(bandHeight, size.height - done)};
            if (next.height > 0)
                result = fetch(copies[1 - current], next);
            if (result == Result::done)
                result = runTiles(band, &copies[current]);
            band = next;
            current = 1 - current;
        }
        return result;
    }
};

}  // namespace

OwnNeighbourResult ownRunNeighbours(const OwnNeighbours& call)
{
    OwnSize size;
    if (!ownCommonSize(*call.src, *call.dst, call.mask, false, size))
        return Result::done;
    return Division(call, size).run();
}
