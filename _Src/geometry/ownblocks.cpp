#include "ownblocks.h"

#include "../core/ownwalk.h"

namespace {

using Result = OwnBlockResult;

// A cell of the part of the region that is processed.
OwnBlock blockOf(const OwnBlocks& call, const OwnCell& cell)
{
    return {call.part.x + cell.x, call.part.y + cell.y, cell.width, cell.height};
}

// Makes a block of a destination in plain memory.
Result makeBlock(const OwnBlocks& call, const OwnBlock& block, const OrvImage& dst)
{
    const OwnBlock need = call.need(call.task, block);
    OwnWork src, mask;
    OwnBorderedImage copy;
    if (call.src->tileInfo) {
        Result result = ownFetchBlock(copy, call.src, need);
        if (result != Result::done)
            return result;
    } else {
        ownShowBlock(src, *call.src, need);
    }
    if (call.mask)
        ownShowBlock(mask, *call.mask, block);
    const OrvImage& from = call.src->tileInfo ? copy.work.image : src.image;
    return call.make(call.task, block, from, dst, call.mask ? &mask.image : nullptr) ? Result::done : Result::noMemory;
}

Result runTiles(const OwnBlocks& call)
{
    OwnWork leading;
    ownShowBlock(leading, *call.dst, call.part);
    Result result = Result::done;
    ownGridWalk(leading.image, {call.part.width, call.part.height}, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(call.dst, cell.column, cell.row, ORV_TILE_WRITE);
        if (!tile) {
            result = Result::noTile;
            return false;
        }
        OwnWork dst;
        ownShowLeadingCell(dst, *call.dst, cell, tile);
        result = makeBlock(call, blockOf(call, cell), dst.image);
        if (result != Result::done)
            return false;
        ownReleaseTile(call.dst, cell.column, cell.row);
        return true;
    });
    return result;
}

Result runCut(const OwnBlocks& call)
{
    OrvTileInfo cut = {nullptr, nullptr, nullptr, call.cut.width, call.cut.height};
    OwnWork leading;
    ownShowBlock(leading, *call.dst, call.part);
    leading.image.tileInfo = &cut;
    Result result = Result::done;
    ownGridWalk(leading.image, {call.part.width, call.part.height}, [&](const OwnCell& cell) {
        OwnWork dst;
        ownShowBlock(dst, *call.dst, blockOf(call, cell));
        result = makeBlock(call, blockOf(call, cell), dst.image);
        return result == Result::done;
    });
    return result;
}

}  // namespace

void ownShowBlock(OwnWork& work, const OrvImage& image, const OwnBlock& block)
{
    OwnRect rect = ownRoiRect(image);
    work.take(image);
    work.setRegion(rect.x + block.x, rect.y + block.y, block.width, block.height);
}

OwnBlockResult ownFetchBlock(OwnBorderedImage& copy, OrvImage* image, const OwnBlock& block)
{
    OwnRect rect = ownRoiRect(*image);
    int32_t x = rect.x + block.x, y = rect.y + block.y;
    if (copy.fetch(image, {x, x + block.width, y, y + block.height, block.width, block.height}, {0, 0, 0, 0}))
        return Result::done;
    return copy.tileRefused ? Result::noSourceTile : Result::noMemory;
}

OwnBlockResult ownRunBlocks(const OwnBlocks& call)
{
    if (call.dst->tileInfo)
        return runTiles(call);
    if (call.src->tileInfo)
        return runCut(call);
    OwnWork dst;
    ownShowBlock(dst, *call.dst, call.part);
    return makeBlock(call, call.part, dst.image);
}
