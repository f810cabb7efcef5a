#include "ownbox.h"

#include <cmath>
#include <cstring>

#include "../core/ownregion.h"
#include "kernels/ownscale.h"

namespace {

uint64_t areaOf(const OwnBox& box)
{
    return uint64_t(box.x.size) * uint64_t(box.y.size);
}

const OwnBoxKernel& kernelFor(uint32_t depth, const OwnBox* box)
{
    const OwnBoxKernels& kernels = ownBoxKernels();
    const OwnDepthIndex index = ownDepthIndex(depth);
    const uint64_t largest = depth == ORV_DEPTH_1U ? 1 : depth == ORV_DEPTH_8U ? UINT8_MAX : UINT16_MAX;
    const uint64_t area = box ? areaOf(*box) : 1;
    if (kernels.bits16[index].add && area <= UINT16_MAX / largest)
        return kernels.bits16[index];
    return area <= UINT32_MAX / largest ? kernels.bits32[index] : kernels.bits64[index];
}

// The eight leading bits of 1 / area, rounded, and by how much they are to be shifted. Nothing is left of the largest
// areas.
void setFactor(OwnBoxMeans& task)
{
    auto scale = uint64_t(std::rint(1.0 / double(task.area) * 4294967296.0 + ownIndexBias));
    task.factor = 0;
    task.shift = 8;
    if (scale == 0)
        return;
    for (; scale < 0x80000000u; scale <<= 1)
        ++task.shift;
    task.factor = uint32_t((scale + 0x800000) >> 24);
    // Boxes whose sums have 16 bits have from 2 to 257 pixels of 8U, for which the shift is from 8 to 16.
    task.upperFactor = task.shift <= 16 ? uint16_t(task.factor << (16 - task.shift)) : uint16_t(0);
}

}  // namespace

OwnSpan ownBoxSpan(const OwnBoxAxis& axis, const OwnSpan& span)
{
    int64_t first = int64_t{span.first} - axis.before;
    int64_t last = first + span.count - 1 + axis.size - 1;
    first = first < axis.low ? axis.low : first;
    last = last > axis.high ? axis.high : last;
    return {int32_t(first), int32_t(last - first + 1)};
}

OwnBoxRows::OwnBoxRows(const OwnBox* boxes, OwnLines& from, uint32_t depth, const OwnSpan& across, const OwnSpan& down)
    : box(boxes),
      lines(from),
      columns(box ? ownBoxSpan(box->x, across) : across),
      rows(box ? ownBoxSpan(box->y, down) : down),
      kernel(kernelFor(depth, box)),
      values(ptrdiff_t(columns.count) * from.step()),
      edgeBytes(int64_t{ownBoxEdge} * from.step() * kernel.sumBytes),
      sums(box ? int64_t{values} * kernel.sumBytes + 2 * edgeBytes : 0),
      running(box ? (int64_t{values} + from.step() * (1 + 2 * ownBoxEdge)) * kernel.sumBytes : 0),
      means(box ? int64_t{across.count} * from.step() * ownMax(ownValueBytes(depth), 1) : 0),
      task()
{
    if (!box)
        return;
    task.columns = columns.count;
    task.lanes = from.step();
    task.first = ptrdiff_t(across.first) - box->x.before - columns.first;
    task.size = box->x.size;
    task.count = across.count;
    task.area = areaOf(*box);
    task.running = running.data;
    setFactor(task);
}

// A row of the image, or the edge's beyond it.
const void* OwnBoxRows::source(int64_t y, int slot)
{
    int64_t place = y < box->y.low ? box->y.low : y > box->y.high ? box->y.high : y;
    return lines.source(int32_t(place - rows.first), slot);
}

// Adds up the rows of boxes that begin with row `first`, the edges' rows as often as they are met.
void OwnBoxRows::restart(int64_t first)
{
    const OwnBoxAxis& axis = box->y;
    const int64_t last = first + axis.size - 1;
    memset(sumsOfRow(), 0, size_t(values) * size_t(kernel.sumBytes));
    const int64_t from = first < axis.low ? axis.low : first, to = last > axis.high ? axis.high : last;
    for (int64_t y = from; y <= to; ++y) {
        int64_t times = 1 + (y == axis.low ? from - first : 0) + (y == axis.high ? last - to : 0);
        kernel.add(source(y, 0), sumsOfRow(), values, times);
    }
}

// Moves the boxes down to row `first`.
void OwnBoxRows::move(int64_t first)
{
    while (top < first) {
        const void *enter[ownBoxRows], *leave[ownBoxRows];
        const int count = int(first - top < ownBoxRows ? first - top : ownBoxRows);
        for (int i = 0; i < count; ++i) {
            enter[i] = source(top + i + box->y.size, 2 * i);
            leave[i] = source(top + i, 2 * i + 1);
        }
        kernel.move(enter, leave, count, sumsOfRow(), values);
        top += count;
    }
}

const void* OwnBoxRows::row(int32_t y)
{
    const int64_t first = int64_t{y} - box->y.before;
    if (top == noTop || first - top >= box->y.size)
        restart(first);
    else
        move(first);
    top = first;
    kernel.means(task, sumsOfRow(), means.data);
    return means.data;
}
