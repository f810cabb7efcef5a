#include "ownscale.h"

#include <cstring>

#include "../core/ownlines.h"
#include "../core/ownpixels.h"

namespace {

// Blocks of the destination where it is not tiled but the source is.
constexpr OwnSize cutSize = {64, 64};

constexpr int mostSamples = 4;

// Rows of the ring, a power of two: those of a pixel's samples, of which the last may have been made with the next
// ones.
constexpr int slots = 8;
static_assert(slots >= mostSamples - 1 + ownScaleRows && OwnBoxRows::slots >= ownScaleRows);

// A table for the columns of a block that needs so many pixels of a row.
OwnScaleColumns columnsOf(const OwnScaleAxis& x, const OwnBlock& block, const OwnSpan& across, int lanes)
{
    const bool whole = x.firstIsWhole && block.x == 0;
    return {block.width,
            across.count,
            lanes,
            x.samples,
            x.index.data + block.x,
            across.first,
            x.fraction ? x.fraction.data + block.x : nullptr,
            whole ? -across.first : -1,
            nullptr};
}

// One block.
class Piece {
public:
    Piece(const OwnScale& scale, const OwnBlock& part, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
        : call(scale),
          block(part),
          across(call.x->need({block.x, block.width})),
          down(call.y->need({block.y, block.height})),
          lines(src, dst, mask, {0, 0, 0, 0}, OwnBoxRows::slots, ownMax(ownLinesBand, ownScaleBand)),
          valueBytes(ownValueBytes(dst.depth)),
          columns(columnsOf()),
          ringStep((int64_t{columns.values()} * (call.kernel ? call.kernel->ringBytes : 0) + 31) & ~int64_t{31}),
          table(call.kernel ? call.kernel->tableBytes(columns) : picker().tableBytes(columns)),
          ring(call.kernel ? ringStep * slots : 0),
          rowsAtATime(!call.box && down.count <= 2 * int64_t{block.height} ? ownScaleRows : 1),
          boxes(call.box, lines, src.depth, across, down)
    {
    }

    bool make()
    {
        if (!lines || !table || (call.kernel && !ring) || !boxes)
            return false;
        columns.table = table.data;
        call.kernel ? call.kernel->prepare(columns) : picker().prepare(columns);
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            boxes.begin();
            call.kernel ? interpolate() : copy();
        }
        return true;
    }

private:
    const OwnScale& call;
    const OwnBlock& block;
    OwnSpan across, down;  // what the block needs
    OwnLines lines;
    int valueBytes;
    OwnScaleColumns columns;
    int64_t ringStep;  // bytes from row to row of the ring
    OwnScratch<uint8_t> table, ring;
    int32_t rowsAtATime;  // more than one where all rows of the source are needed as they are
    int32_t ringEnd = 0;  // the row after those in the ring, from the first that is needed on
    OwnBoxRows boxes;

    OwnScaleColumns columnsOf() const { return ::columnsOf(*call.x, block, across, lines.step()); }

    const OwnPickKernel& picker() const { return ownScaleKernels().pick[ownSizeIndex(ownMax(valueBytes, 1))]; }

    // A row of the source's region, from the first pixel that is needed on.
    const void* source(int32_t row) { return call.box ? boxes.row(row) : lines.source(row - down.first, 0); }

    void copy()
    {
        const size_t bytes = size_t(columns.values()) * size_t(ownMax(valueBytes, 1));
        int32_t made = -1;
        const void* previous = nullptr;
        ownMakeLines(lines, [&](int32_t y, void* to) {
            const int32_t row = call.y->index.data[block.y + y];
            if (previous && row == made) {
                memmove(to, previous, bytes);  // rows overlap where a header has them closer than they are long
            } else {
                picker().pick(columns, source(row), to);
                if (!valueBytes)
                    ownScaleKernels().spreadBits(static_cast<uint8_t*>(to), columns.values());
            }
            made = row;
            previous = to;
        });
    }

    // Makes row `row` of the ring, counted from the first that is needed, and perhaps the next ones too.
    void makeRing(int32_t row)
    {
        const int count = ownMin(rowsAtATime, down.count - row);
        const void* from[ownScaleRows] = {};
        void* to[ownScaleRows] = {};
        if (call.box)
            from[0] = boxes.row(down.first + row);
        else
            lines.sources(row, count, 0, from);
        for (int i = 0; i < count; ++i)
            to[i] = slot(row + i);
        call.kernel->across(columns, from, count, to);
        ringEnd = row + count;
    }

    uint8_t* slot(int32_t row) const { return ring.data + (row & (slots - 1)) * ringStep; }

    // Rows of the destination wait as long as the ring holds what they are made of.
    void interpolate()
    {
        const OwnScaleAxis& axis = *call.y;
        OwnScaleRow waiting[ownScaleBand];
        int count = 0;
        auto makeWaiting = [&](int32_t end) {
            call.kernel->down(columns, waiting, count);
            lines.store(end - count, count);
            count = 0;
        };
        ringEnd = 0;
        for (int32_t y = 0; y < lines.height(); ++y) {
            const int32_t place = block.y + y;
            const int32_t first = axis.index.data[place] - down.first, end = first + axis.samples;
            if (end > ringEnd || count == ownScaleBand)
                makeWaiting(y);
            while (end > ringEnd)
                makeRing(ownMax(first, ringEnd));
            // That pixel is one of the samples.
            const bool whole = axis.firstIsWhole && place == 0;
            const int samples = whole ? 1 : axis.samples;
            OwnScaleRow& made = waiting[count];
            for (int sample = 0; sample < samples; ++sample)
                made.rows[sample] = slot(whole ? -down.first : first + sample);
            made.samples = samples;
            made.fraction = axis.fraction ? axis.fraction.data[place] : 0;
            made.dst = lines.target(y, count);
            ++count;
        }
        makeWaiting(lines.height());
    }
};

// One block of bits, of which each is a copy of one.
class BitPiece {
public:
    BitPiece(const OwnScale& scale, const OwnBlock& part, const OrvImage& src, const OrvImage& dst,
             const OrvImage* under)
        : call(scale),
          block(part),
          across(call.x->need({block.x, block.width})),
          mask(under ? ownMaskStart(*under) : OwnGeometry{}),
          columns(columnsOf(*call.x, block, across, 1)),
          rows(call.y->index.data + block.y),
          isBits(dst.depth == ORV_DEPTH_1U && !call.kernel && !call.box && ownPlaneGeometry(src, from) &&
                 ownPlaneGeometry(dst, to)),
          sourceBytes(ptrdiff_t((int64_t{from.bit} + across.count + 7) >> 3)),
          rowBytes(ptrdiff_t((int64_t{block.width} + 7) / 8 + ownPickBitsSlack))
    {
    }

    bool fits() const { return isBits && kernel.fits(columns, from.bit); }

    bool make()
    {
        const OwnScratch<uint8_t> table(kernel.tableBytes(columns)), source(sourceBytes + ownPickBitsSlack),
            made(rowBytes * ownLinesBand);
        if (!table || !source || !made)
            return false;
        columns.table = table.data;
        kernel.prepare(columns, from.bit);
        memset(source.data + sourceBytes, 0, ownPickBitsSlack);
        const uint8_t* previous = nullptr;
        for (int32_t y = 0, count; y < block.height; y += count) {
            count = ownMin(ownLinesBand, block.height - y);
            for (int32_t i = 0; i < count; ++i) {
                uint8_t* const row = made.data + i * rowBytes;
                if (previous && rows[y + i] == rows[y + i - 1])
                    memcpy(row, previous, size_t(rowBytes));
                else
                    pick(y + i, source.data, row);
                previous = row;
            }
            ownStoreBits({made.data, rowBytes, 0, 1, 1, 0, block.width, count}, to, mask, y);
        }
        return true;
    }

private:
    const OwnScale& call;
    const OwnBlock& block;
    OwnSpan across;
    OwnGeometry from = {}, to = {}, mask;
    OwnScaleColumns columns;
    const int32_t* rows;  // of the source's region for those of the block
    bool isBits;
    ptrdiff_t sourceBytes, rowBytes;
    const OwnPickBitsKernel& kernel = ownScaleKernels().pickBits;

    // The row is copied first, since whole vectors are read.
    void pick(int32_t y, uint8_t* copy, uint8_t* made) const
    {
        memcpy(copy, from.start + (rows[y] - rows[0]) * from.rowStep, size_t(sourceBytes));
        kernel.pick(columns, copy, made);
    }
};

OwnBlock needOf(const void* task, const OwnBlock& block)
{
    const OwnScale& call = *static_cast<const OwnScale*>(task);
    OwnSpan x = call.x->need({block.x, block.width}), y = call.y->need({block.y, block.height});
    if (call.box) {
        x = ownBoxSpan(call.box->x, x);
        y = ownBoxSpan(call.box->y, y);
    }
    return {x.first, y.first, x.count, y.count};
}

bool makeScaled(const void* task, const OwnBlock& block, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnScale& call = *static_cast<const OwnScale*>(task);
    if (BitPiece bits(call, block, src, dst, mask); bits.fits())
        return bits.make();
    return Piece(call, block, src, dst, mask).make();
}

}  // namespace

OwnBlockResult ownRunScale(const OwnScale& call)
{
    const OwnBlock all = {0, 0, call.x->count, call.y->count};
    if (all.width < 1 || all.height < 1)
        return OwnBlockResult::done;
    return ownRunBlocks({call.src, call.dst, call.mask, all, cutSize, needOf, makeScaled, &call});
}
