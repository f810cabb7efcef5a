#include "ownarea.h"

#include <cstring>

#include "../core/ownlines.h"
#include "kernels/ownarea.h"
#include "kernels/ownbox.h"

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
          lines(src, dst, nullptr, {0, 0, 0, 0}, 1, 1),
          depth(ownDepthIndex(dst.depth)),
          kernel(ownAreaKernels().depths[depth]),
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
    const OwnAreaKernel& kernel;
    bool isExact;

    // Means of whole pixels: the sums of rows come first.
    bool makeWhole()
    {
        const int32_t pixels = call.x->most, rows = call.y->most;
        const bool narrow = depth != OWN_16U && rows <= UINT16_MAX / UINT8_MAX;
        const OwnBoxKernel& add = narrow ? ownBoxKernels().bits16[depth] : ownBoxKernels().bits32[depth];
        const ptrdiff_t values = ptrdiff_t(across.count) * lines.step();
        OwnScratch<uint8_t> sums(int64_t{values} * add.sumBytes);
        if (!sums)
            return false;
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            for (int32_t y = 0; y < block.height; ++y) {
                memset(sums.data, 0, size_t(values) * size_t(add.sumBytes));
                for (int32_t row = 0; row < rows; ++row)
                    add.add(lines.source(y * rows + row, 0), sums.data, values, 1);
                const void* all = sums.data;
                void* to = lines.target(y, 0);
                if (narrow)
                    kernel.store16(static_cast<const uint16_t*>(all), pixels, lines.step(), call.scale, to,
                                   block.width);
                else
                    kernel.store32(static_cast<const uint32_t*>(all), pixels, lines.step(), call.scale, to,
                                   block.width);
                lines.store(y, 1);
            }
        }
        return true;
    }

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

    bool makeCut()
    {
        OwnAreaColumns cells = columns();
        OwnScratch<uint8_t> table(kernel.tableBytes(cells));
        OwnScratch<float> line(cells.values()), sums(cells.values());
        if (!table || !line || !sums)
            return false;
        cells.table = table.data;
        kernel.prepare(cells);
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            int32_t held = INT32_MIN;  // the row whose sums `line` has: neighbouring cells share one
            for (int32_t y = 0; y < block.height; ++y) {
                const int32_t cell = block.y + y, first = call.y->index.data[cell], rows = call.y->pixels.data[cell];
                memset(sums.data, 0, size_t(cells.values()) * sizeof(float));
                for (int32_t row = 0; row < rows; ++row) {
                    if (held != first + row)
                        kernel.across(cells, lines.source(first + row - down.first, 0), line.data);
                    held = first + row;
                    const float weight = row == 0          ? call.y->firstWeight.data[cell]
                                         : row == rows - 1 ? call.y->lastWeight.data[cell]
                                                           : 1.0f;
                    ownAreaKernels().add(line.data, weight, sums.data, cells.values());
                }
                kernel.store(sums.data, call.scale, lines.target(y, 0), cells.values());
                lines.store(y, 1);
            }
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
