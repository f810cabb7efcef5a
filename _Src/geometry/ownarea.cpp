#include "ownarea.h"

#include "../core/ownlines.h"
#include "kernels/ownarea.h"

namespace {

// Blocks of the destination where it is not tiled but the source is.
constexpr OwnSize cutSize = {64, 64};

// True if all sums are integers that floats hold.
bool sumsAreExact(const OwnArea& area, uint32_t depth)
{
    constexpr int64_t most = 1 << 24;
    const int64_t largest = depth == ORV_DEPTH_1U ? 1 : depth == ORV_DEPTH_8U ? UINT8_MAX : UINT16_MAX;
    return depth != ORV_DEPTH_32F && area.x->whole && area.y->whole &&
           int64_t{area.x->most} * area.y->most <= most / largest;
}

// One block.
class Piece {
public:
    Piece(const OwnArea& area, const OwnBlock& part, const OrvImage& src, const OrvImage& dst)
        : call(area),
          block(part),
          across(call.x->need({block.x, block.width})),
          down(call.y->need({block.y, block.height})),
          lines(src, dst, nullptr, {0, 0, 0, 0}, ownAreaRows, ownLinesBand),
          depth(ownDepthIndex(dst.depth)),
          isExact(sumsAreExact(call, dst.depth))
    {
    }

    bool make() { return lines && (isExact ? makeWhole() : makeCut()); }

private:
    const OwnArea& call;
    const OwnBlock& block;
    OwnSpan across, down;  // what the block needs
    OwnLines lines;
    OwnDepthIndex depth;
    bool isExact;

    OwnAreaColumns columns() const
    {
        OwnAreaColumns columns = {block.width,
                                  across.count,
                                  lines.step(),
                                  call.x->index.data + block.x,
                                  across.first,
                                  call.x->pixels.data + block.x,
                                  0,
                                  call.x->firstWeight.data + block.x,
                                  call.x->lastWeight.data + block.x,
                                  nullptr};
        for (ptrdiff_t i = 0; i < columns.count; ++i)
            columns.most = ownMax(columns.most, columns.pixels[i]);
        return columns;
    }

    // Means of whole pixels: the sums of rows come first.
    bool makeWhole()
    {
        if (const OwnHalve halve = halfKernel()) {
            makeHalf(halve);
            return true;
        }
        const int32_t rows = call.y->most;
        const OwnAreaKernels& kernels = ownAreaKernels();
        const bool narrow = depth != OWN_16U && rows <= UINT16_MAX / UINT8_MAX;
        const OwnWholeKernel& kernel = narrow ? kernels.whole16[depth] : kernels.whole32[depth];
        OwnAreaColumns cells = columns();
        const ptrdiff_t values = ptrdiff_t(across.count) * lines.step();
        OwnScratch<uint8_t> sums(int64_t{values} * kernel.sumBytes), table(kernel.tableBytes(cells));
        if (!sums || !table)
            return false;
        cells.table = table.data;
        kernel.prepare(cells);
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            ownMakeLines(lines, [&](int32_t y, void* to) {
                for (int32_t done = 0; done < rows; done += ownAreaRows) {
                    const void* some[ownAreaRows];
                    const int count = ownMin(ownAreaRows, rows - done);
                    for (int i = 0; i < count; ++i)
                        some[i] = lines.source(y * rows + done + i, i);
                    kernel.sum(some, count, done == 0, sums.data, values);
                }
                kernel.store(cells, sums.data, call.scale, to);
            });
        }
        return true;
    }

    OwnHalve halfKernel() const
    {
        if (call.x->most != 2 || call.y->most != 2 || lines.step() > 4)
            return nullptr;
        const OwnAreaKernels& kernels = ownAreaKernels();
        return depth == OWN_8U    ? kernels.halve8[lines.step()]
               : depth == OWN_16U ? kernels.halve16[lines.step()]
                                  : nullptr;
    }

    void makeHalf(OwnHalve halve)
    {
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            ownMakeLines(lines, [&](int32_t y, void* to) {
                const void* rows[2];
                lines.sources(int64_t{y} * 2, 2, 0, rows);
                halve(rows[0], rows[1], to, block.width);
            });
        }
    }

    float rowWeight(int32_t cell, int32_t row) const
    {
        const OwnAreaAxis& y = *call.y;
        return row == 0 ? y.firstWeight.data[cell] : row == y.pixels.data[cell] - 1 ? y.lastWeight.data[cell] : 1.0f;
    }

    // The sums of neighbouring cells share rows, which stay in a ring of lines. Cells of many rows are summed in a line
    // of their own.
    bool makeCut()
    {
        constexpr int slots = ownAreaRows - 1 + ownAreaLines;
        const OwnAreaKernel& kernel = ownAreaKernels().cut[depth];
        OwnAreaColumns cells = columns();
        const ptrdiff_t n = cells.values();
        OwnScratch<uint8_t> table(kernel.tableBytes(cells));
        OwnScratch<float> ring(int64_t{n} * slots), sums(n);
        if (!table || !ring || !sums)
            return false;
        cells.table = table.data;
        kernel.prepare(cells);
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            int32_t ringEnd = 0;  // the row after those in the ring
            auto line = [&](int32_t row) {
                auto sumsOf = [&](int32_t place) { return ring.data + place % slots * n; };
                const int32_t place = row - down.first;
                if (place >= ringEnd) {
                    const int count = place + ownAreaLines <= down.count ? ownAreaLines : 1;
                    const void* from[ownAreaLines];
                    float* to[ownAreaLines];
                    lines.sources(place, count, 0, from);
                    for (int i = 0; i < count; ++i)
                        to[i] = sumsOf(place + i);
                    kernel.across(cells, from, count, to);
                    ringEnd = place + count;
                }
                return static_cast<const float*>(sumsOf(place));
            };
            ownMakeLines(lines, [&](int32_t y, void* to) {
                const int32_t cell = block.y + y, first = call.y->index.data[cell], rows = call.y->pixels.data[cell];
                const float* some[ownAreaRows] = {sums.data};
                float weights[ownAreaRows] = {1};
                const bool few = rows <= ownAreaRows;
                for (int32_t row = 0; row < rows; ++row)
                    if (few) {
                        some[row] = line(first + row);
                        weights[row] = rowWeight(cell, row);
                    } else {
                        ownAreaKernels().add(line(first + row), rowWeight(cell, row), row == 0, sums.data, n);
                    }
                kernel.store(some, weights, few ? rows : 1, call.scale, to, n);
            });
        }
        return true;
    }
};

OwnBlock needOf(const void* task, const OwnBlock& block)
{
    const OwnArea& call = *static_cast<const OwnArea*>(task);
    OwnSpan x = call.x->need({block.x, block.width}), y = call.y->need({block.y, block.height});
    return {x.first, y.first, x.count, y.count};
}

bool makeArea(const void* task, const OwnBlock& block, const OrvImage& src, const OrvImage& dst, const OrvImage*)
{
    return Piece(*static_cast<const OwnArea*>(task), block, src, dst).make();
}

}  // namespace

OwnBlockResult ownRunArea(const OwnArea& call)
{
    const OwnBlock all = {0, 0, call.x->count, call.y->count};
    if (all.width < 1 || all.height < 1)
        return OwnBlockResult::done;
    return ownRunBlocks({call.src, call.dst, nullptr, all, cutSize, needOf, makeArea, &call});
}
