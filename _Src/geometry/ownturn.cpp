#include "ownturn.h"

#include <cmath>

#include "../core/ownregion.h"
#include "kernels/ownmirror.h"
#include "kernels/ownturn.h"

namespace {

// Closed, in 64 bits.
struct Ends {
    int64_t first, last;
};

Ends common(Ends a, Ends b)
{
    return {a.first > b.first ? a.first : b.first, a.last < b.last ? a.last : b.last};
}

// A coordinate of the destination as one of the source: sign times it, plus a constant.
struct Axis {
    int sign;
    int64_t constant;

    int64_t at(int64_t place) const { return sign * place + constant; }
    // Where in the destination a range of the source comes to lie.
    Ends back(Ends range) const
    {
        const Ends ends = {sign * (range.first - constant), sign * (range.last - constant)};
        return sign > 0 ? ends : Ends{ends.last, ends.first};
    }
};

// Half a turn of whole pixels: rows that run backwards in the source.
void mirrorRows(const OwnTurnPiece& piece, int bytes)
{
    const uint8_t* row = piece.from + (piece.width - 1) * piece.along;
    uint8_t* to = piece.to;
    for (int32_t y = 0; y < piece.height; ++y, row += piece.down, to += piece.rowStep)
        ownMirrorKernels().reverse(row, to, piece.width, bytes);
}

}  // namespace

void ownTurnPixels(const OrvImage& src, const OrvImage& dst, int quarters, double xShift, double yShift)
{
    constexpr double farthest = 0x1p40;  // nothing that is moved further meets any image
    OwnGeometry from, to;
    if (!ownPlaneGeometry(src, from) || !ownPlaneGeometry(dst, to) || fabs(xShift) > farthest ||
        fabs(yShift) > farthest)
        return;
    const auto xMove = int64_t(xShift), yMove = int64_t(yShift);
    const bool swaps = quarters != 2;
    // Along a row of the destination, and down its columns.
    const Axis along = quarters == 1 ? Axis{1, -xMove} : Axis{-1, xMove};
    const Axis down = quarters == 3 ? Axis{1, -yMove} : Axis{-1, yMove};
    const OwnRect srcRect = ownRoiRect(src), dstRect = ownRoiRect(dst);
    const Ends srcColumns = {srcRect.x, int64_t{srcRect.xEnd} - 1}, srcRows = {srcRect.y, int64_t{srcRect.yEnd} - 1};
    const Ends columns = common(along.back(swaps ? srcRows : srcColumns), {dstRect.x, int64_t{dstRect.xEnd} - 1});
    const Ends rows = common(down.back(swaps ? srcColumns : srcRows), {dstRect.y, int64_t{dstRect.yEnd} - 1});
    if (columns.first > columns.last || rows.first > rows.last)
        return;

    const int bytes = ownValueBytes(src.depth);
    const ptrdiff_t pixel = bytes ? ptrdiff_t{bytes} * from.pixelStep : 1,
                    row = bytes ? from.rowStep : from.rowStep * 8;
    const int64_t srcAlong = along.at(columns.first), srcDown = down.at(rows.first);
    const int64_t column = (swaps ? srcDown : srcAlong) - srcRect.x, line = (swaps ? srcAlong : srcDown) - srcRect.y;
    const auto x = ptrdiff_t(columns.first - dstRect.x), y = ptrdiff_t(rows.first - dstRect.y);
    const ptrdiff_t step = ptrdiff_t{bytes} * to.pixelStep;
    const bool apart = from.planeStep || to.planeStep;
    const int32_t group = apart ? 1 : ownMin(to.channels, ownTurnBytes / 4);
    for (int32_t channel = 0; channel < to.channels; channel += group) {
        OwnTurnPiece piece = {};
        piece.from = ownChannelStart(from, channel, bytes);
        piece.to = ownChannelStart(to, channel, bytes) + y * to.rowStep + x * step;
        if (bytes)
            piece.from += ptrdiff_t(line * row + column * pixel);
        piece.fromBit = from.bit + line * row + column;
        piece.toBit = to.bit + int64_t{x};
        piece.along = along.sign * (swaps ? row : pixel);
        piece.down = down.sign * (swaps ? pixel : row);
        piece.step = step;
        piece.rowStep = to.rowStep;
        piece.width = int32_t(columns.last - columns.first + 1);
        piece.height = int32_t(rows.last - rows.first + 1);
        const int32_t channels = ownMin(group, to.channels - channel);
        if (quarters == 2 && bytes && channels == from.pixelStep && channels == to.pixelStep)
            mirrorRows(piece, channels * bytes);
        else
            ownTurnKernels().turn[channels * bytes](piece);
    }
}
