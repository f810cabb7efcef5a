#include "ownwarp.h"

#include <cmath>

#include "../core/ownborder.h"
#include "../core/ownwalk.h"
#include "ownblend.h"
#include "owncheck.h"
#include "ownmap.h"
#include "ownresample.h"
#include "ownspans.h"

namespace {

using Range = OwnPositionRange;

Range closedRange(const OwnRect& rect)
{
    return {double(rect.x), double(rect.y), double(rect.xEnd - 1), double(rect.yEnd - 1)};
}

Range common(const Range& a, const Range& b)
{
    return {fmax(a.left, b.left), fmax(a.top, b.top), fmin(a.right, b.right), fmin(a.bottom, b.bottom)};
}

bool isEmpty(const Range& range)
{
    return !(range.left <= range.right && range.top <= range.bottom);
}

// What rounding may carry over the edge of a region that holds all positions of a quadrangle. Beyond 22 bits single
// precision has no fractions to speak of.
Range promised(const Range& region, OwnMapKind kind)
{
    const bool single = kind != OWN_MAP_LINEAR && kind != OWN_MAP_PERSPECTIVE;
    const double hair = 0x1p-10 + (single ? 0x1p-22 * fmax(region.right, region.bottom) : 0);
    return {region.left - hair, region.top - hair, region.right + hair, region.bottom + hair};
}

// ---- Rows ---------------------------------------------------------------------------------------------------------

// The columns of a part of a quadrangle, and of a part of a rectangle.
struct QuadRows {
    OwnSpans& spans;
    OwnRect part;

    int32_t first() const { return ownMax(part.y, spans.firstRow()); }
    int32_t end() const { return ownMin(part.yEnd, spans.lastRow() + 1); }
    OwnSpans::Span row(int32_t y) const
    {
        const OwnSpans::Span span = spans.row(y);
        return {ownMax(span.left, part.x), ownMin(span.right, part.xEnd - 1)};
    }
};

struct RectRows {
    OwnRect part;

    int32_t first() const { return part.y; }
    int32_t end() const { return part.yEnd; }
    OwnSpans::Span row(int32_t) const { return {part.x, part.xEnd - 1}; }
};

// What is asked of positions: those in `range` count, and all of them are moved into `limits`.
struct Bounds {
    Range range, limits;
};

// Eight rows in the making.
class RowBlock {
public:
    // Takes `count` rows from y on; `rows` stands at the first of them and is moved on.
    template <class Lines>
    void take(const OwnMap& map, const Lines& lines, OwnMapRows& rows, int32_t y, int32_t count)
    {
        state.e = map.e;
        state.f = map.f;
        state.upperRoot = map.upperRoot;
        longest = 0;
        int filled = -1;
        for (int r = 0; r < ownPositionRows; ++r) {
            length[r] = 0;
            row[r] = y - lines.part.y + ownMin(r, count - 1);
            if (r >= count)
                continue;
            const OwnSpans::Span span = lines.row(y + r);
            if (span.left <= span.right) {
                start(r, rows, span, lines.part.x);
                filled = r;
            }
            rows.next();
        }
        // Lanes without pixels follow a row that has some, so that they do not stray.
        for (int r = 0; r < ownPositionRows && filled >= 0; ++r)
            if (length[r] == 0)
                follow(r, filled);
    }

    int32_t columns() const { return longest; }

    // Hands the positions of the next columns to `use`, `done` being those that are handed out.
    template <class Use>
    void run(const OwnMap& map, int32_t done, const Bounds& bounds, OwnPositionList& list, Use& use)
    {
        const int32_t columns = ownMin(ownPositionColumns, longest - done), whole = (columns + 3) & ~3;
        list.n = whole * ownPositionRows;
        list.columnStep = ownPositionRows;
        list.rowStep = 1;
        for (int r = 0; r < ownPositionRows; ++r) {
            list.count[r] = ownMin(columns, length[r] - done);
            list.x[r] = list.count[r] > 0 ? left[r] + done : left[r];
            list.y[r] = row[r];
        }
        if (use.storeInside(list, map.kind, state, bounds.limits))
            return;
        const OwnProduce produce = ownPositionKernels().produce[map.kind];
        const bool certain = produce(state, whole, bounds.limits, list.atX, list.atY);
        if (list.confine(bounds.range, bounds.limits, certain))
            use.store(list);
    }

private:
    OwnPositionState state;
    int32_t row[ownPositionRows], left[ownPositionRows], length[ownPositionRows], longest;

    void start(int r, const OwnMapRows& rows, OwnSpans::Span span, int32_t x)
    {
        left[r] = span.left - x;
        length[r] = span.right - span.left + 1;
        longest = ownMax(longest, length[r]);
        state.left[r] = length[r];
        for (int k = 0; k < 3; ++k) {
            state.value[k][r] = rows.start(k, span.left);
            state.step[k][r] = rows.step(k);
        }
    }
    void follow(int r, int other)
    {
        left[r] = left[other];
        state.left[r] = state.left[other];
        for (int k = 0; k < 3; ++k) {
            state.value[k][r] = state.value[k][other];
            state.step[k][r] = state.step[k][other];
        }
    }
};

// Hands the positions of all pixels of some rows to `use`: by bands of rows and in them by runs, so that what is read
// of the source lies near together whichever way the rows run there.
template <class Lines, class Use>
void forPositions(const OwnMap& map, const Lines& lines, const Bounds& bounds, Use& use)
{
    constexpr int blocks = 8;
    RowBlock band[blocks];
    OwnPositionList list;
    OwnMapRows rows(map, lines.first());
    const int32_t end = lines.end();
    for (int32_t y = lines.first(); y < end;) {
        int count = 0;
        int32_t longest = 0;
        for (; count < blocks && y < end; ++count) {
            const int32_t taken = ownMin(ownPositionRows, end - y);
            band[count].take(map, lines, rows, y, taken);
            longest = ownMax(longest, band[count].columns());
            y += taken;
        }
        for (int32_t first = 0; first < longest; first += ownRunColumns)
            for (int i = 0; i < count; ++i) {
                const int32_t end = ownMin(band[i].columns() - first, ownRunColumns);
                for (int32_t done = 0; done < end; done += ownPositionColumns)
                    band[i].run(map, first + done, bounds, list, use);
            }
    }
}

// What forPositions() fills with positions instead of sampling them.
struct BoxOfPositions {
    Range box = {INFINITY, INFINITY, -INFINITY, -INFINITY};

    static bool storeInside(const OwnListedRows&, OwnMapKind, OwnPositionState&, const Range&) { return false; }
    void store(const OwnPositionList& list)
    {
        for (int r = 0; r < ownPositionRows; ++r)
            for (int i = r, column = 0; column < list.count[r]; i += list.columnStep, ++column)
                if (!list.marked || list.marks[i])
                    box = {fmin(box.left, floor(list.atX[i])), fmin(box.top, floor(list.atY[i])),
                           fmax(box.right, ceil(list.atX[i])), fmax(box.bottom, ceil(list.atY[i]))};
    }
};

// ---- Pieces -------------------------------------------------------------------------------------------------------

// One warp: `rowsOf` gives the rows of a part of the destination.
template <class RowsOf>
class Run {
public:
    Run(const OwnWarp& warp, const OwnMap& map, const OwnRect& srcRect, const OwnRect& dstRect, const Range& range,
        RowsOf rowsOf)
        : warp(warp), map(map), dstRect(dstRect), rowsOf(rowsOf), bounds{range, closedRange(srcRect)}
    {
    }

    // False after a report.
    bool operator()() const
    {
        if (warp.src->tileInfo || warp.dst->tileInfo)
            return runTiles();
        resample(*warp.src, 0, 0, *warp.dst, dstRect, bounds.limits);
        return true;
    }

private:
    const OwnWarp& warp;
    const OwnMap& map;
    OwnRect dstRect;
    RowsOf rowsOf;
    Bounds bounds;

    // The memory of `src` begins at (x, y) of the source, the region of `dst` is the part; positions stay in `limits`.
    void resample(const OrvImage& src, int32_t x, int32_t y, const OrvImage& dst, const OwnRect& part,
                  const Range& limits) const
    {
        OwnResampler resampler(src, {warp.src->width, warp.src->height}, x, y, dst, warp.method);
        forPositions(map, rowsOf(part), {bounds.range, limits}, resampler);
        resampler.finish();
    }

    // Where the pixels of a part come from; false if they come from nowhere.
    bool boxOf(const OwnRect& part, Range& box) const
    {
        if (!map.boxOf(part, box)) {
            BoxOfPositions found;
            forPositions(map, rowsOf(part), bounds, found);
            box = found.box;
        }
        return !isEmpty(common(box, bounds.limits));
    }

    // Pixels between two limits along one axis, in whole tiles, as far as they lie in the region.
    struct Along {
        int32_t first, end;

        Along(double low, double high, int32_t tile, int32_t regionFirst, int32_t regionEnd)
        {
            const auto from = int32_t(fmin(fmax(low, regionFirst), regionEnd)) / tile * tile;
            const int64_t to = int64_t{int32_t(fmin(fmax(high, regionFirst), regionEnd)) / tile + 1} * tile;
            first = ownMax(from, regionFirst);
            end = to < regionEnd ? int32_t(to) : regionEnd;
        }
    };

    // The part of the destination that may have pixels to make. Images may have far more tiles than that.
    OwnRect tiledRect() const
    {
        const OrvTileInfo* const tiles = warp.dst->tileInfo;
        Range reached;
        if (!tiles || !map.pixelsNear(bounds.limits, {tiles->width, tiles->height}, reached))
            return dstRect;
        const Along x(reached.left, reached.right, tiles->width, dstRect.x, dstRect.xEnd);
        const Along y(reached.top, reached.bottom, tiles->height, dstRect.y, dstRect.yEnd);
        return {x.first, x.end, y.first, y.end, x.end - x.first, y.end - y.first};
    }

    bool runTiles() const
    {
        const OwnRect rect = tiledRect();
        if (rect.width < 1 || rect.height < 1)
            return true;
        OwnWork dst(*warp.dst);
        dst.setRegion(rect.x, rect.y, rect.width, rect.height);
        return ownGridWalk(dst.image, {rect.width, rect.height},
                           [&](const OwnCell& cell) { return runCell(cell, rect.x + cell.x, rect.y + cell.y); });
    }

    bool runCell(const OwnCell& cell, int32_t x, int32_t y) const
    {
        const OwnRect part = {x, x + cell.width, y, y + cell.height, cell.width, cell.height};
        Range box;
        if (!boxOf(part, box))
            return true;
        OwnBorderedImage copy;
        OwnRect held = {0, 0, 0, 0, 0, 0};
        if (warp.src->tileInfo) {
            held = withSurroundings(box);
            if (warp.report.when(!copy.fetch(warp.src, held, {0, 0, 0, 0}), ORV_STATUS_BACKTRACE, ""))
                return false;
        }
        const OrvImage& src = warp.src->tileInfo ? copy.work.image : *warp.src;
        const Range limits = warp.src->tileInfo ? common(box, bounds.limits) : bounds.limits;
        OwnWork dst(*warp.dst);
        dst.setRegion(x, y, cell.width, cell.height);
        if (warp.dst->tileInfo) {
            uint8_t* const tile = ownOpenTile(warp.dst, cell.column, cell.row, ORV_TILE_WRITE);
            if (warp.report.when(!tile, ORV_STATUS_ERROR, "Error get tile to write"))
                return false;
            ownShowLeadingCell(dst, *warp.dst, cell, tile);
        }
        resample(src, held.x, held.y, dst.image, part, limits);
        if (warp.dst->tileInfo)
            ownReleaseTile(warp.dst, cell.column, cell.row);
        return orvGetErrStatus() >= 0;
    }

    // A sampler reads up to 3 pixels beyond a position, where the image has them.
    OwnRect withSurroundings(const Range& box) const
    {
        constexpr double reach = 3;
        const double right = warp.src->width - 1.0, bottom = warp.src->height - 1.0;
        const auto x = int32_t(fmax(box.left - reach, 0)), y = int32_t(fmax(box.top - reach, 0));
        const auto xEnd = int32_t(fmin(box.right + reach, right)) + 1,
                   yEnd = int32_t(fmin(box.bottom + reach, bottom)) + 1;
        return {x, xEnd, y, yEnd, xEnd - x, yEnd - y};
    }
};

// ---- Regions -------------------------------------------------------------------------------------------------------

// The rectangle of a region that is not empty.
OwnPlaneRect planeRect(const OwnRect& rect)
{
    return {rect.x, rect.y, int64_t{rect.xEnd} - 1, int64_t{rect.yEnd} - 1};
}

bool isEmpty(const OwnRect& rect)
{
    return rect.width < 1 || rect.height < 1;
}

bool isInside(const double* quad, const Range& range)
{
    for (int i = 0; i < 8; i += 2)
        if (!(quad[i] >= range.left && quad[i] <= range.right && quad[i + 1] >= range.top &&
              quad[i + 1] <= range.bottom))
            return false;
    return true;
}

}  // namespace

void ownWarpOntoQuad(const OwnWarp& warp)
{
    const OwnRect srcRect = ownRoiRect(*warp.src), dstRect = ownRoiRect(*warp.dst);
    if (isEmpty(srcRect))
        return;
    if (warp.report.when(srcRect.width < 2 || srcRect.height < 2, ORV_STATUS_BAD_ARG,
                         "srcImage Rectangle ROI is degenerate to length or point"))
        return;
    if (isEmpty(dstRect) || !ownChannelsAgree(warp.report, *warp.src, *warp.dst) || ownChannels(*warp.dst).count == 0)
        return;
    OwnMap map;
    const auto makeMap = warp.kind == OwnWarpKind::affine     ? ownMapAffine
                         : warp.kind == OwnWarpKind::bilinear ? ownMapBilinear
                                                              : ownMapPerspective;
    const bool clockwise = makeMap(planeRect(srcRect), warp.quad, map);
    const OwnPolygon polygon(warp.quad, dstRect);
    OwnSpans spans(polygon, clockwise, dstRect);
    if (spans.isEmpty())
        return;
    const auto rowsOf = [&](const OwnRect& part) { return QuadRows{spans, part}; };
    const Run run(warp, map, srcRect, dstRect, promised(closedRange(srcRect), map.kind), rowsOf);
    if (run() && warp.blendEdge && orvGetErrStatus() >= 0)
        ownBlendEdges(warp.report, warp.dst, polygon, clockwise);
}

void ownWarpFromQuad(const OwnWarp& warp)
{
    const OwnRect srcRect = ownRoiRect(*warp.src), dstRect = ownRoiRect(*warp.dst);
    if (isEmpty(dstRect))
        return;
    if (warp.report.when(dstRect.width < 2 || dstRect.height < 2, ORV_STATUS_BAD_ARG,
                         "dstImage Rectangle ROI is degenerate to length or point"))
        return;
    if (isEmpty(srcRect) || !ownChannelsAgree(warp.report, *warp.src, *warp.dst) || ownChannels(*warp.dst).count == 0)
        return;
    OwnMap map;
    const auto makeMap = warp.kind == OwnWarpKind::bilinear ? ownMapOntoBilinear : ownMapOntoPerspective;
    makeMap(planeRect(dstRect), warp.quad, map);
    const Range region = closedRange(srcRect);
    const Range range = isInside(warp.quad, region) ? promised(region, map.kind) : region;
    const auto rowsOf = [&](const OwnRect& part) { return RectRows{part}; };
    Run(warp, map, srcRect, dstRect, range, rowsOf)();
}
