#include "ownopening.h"

#include <cstring>

#include "../core/kernels/ownrows.h"
#include "../core/ownpixels.h"
#include "ownbitlines.h"
#include "ownfold.h"

namespace {

// ---- Where pixels lie in rows of values and of bits ----------------------------------------------------------------

struct Spot {
    ptrdiff_t byte;
    int bit;
};

struct ValueRows {
    static constexpr bool areBits = false;

    const OwnLines& lines;
    ptrdiff_t valueBytes;

    Spot sourceAt(int64_t pixel) const { return at(pixel, 0); }
    Spot at(int64_t pixel, int) const { return {ptrdiff_t(pixel) * lines.step() * valueBytes, 0}; }
    int64_t bytes(int64_t pixels, int) const { return pixels * lines.step() * valueBytes; }
    ptrdiff_t step() const { return lines.step(); }
    ptrdiff_t values(int64_t pixels) const { return lines.values(pixels); }
    // Rows of an image whose step is shorter than they are overlap.
    void copy(const uint8_t* from, int, uint8_t* to, int, int64_t pixels) const
    {
        memmove(to, from, size_t(values(pixels) * valueBytes));
    }
};

struct BitRows {
    static constexpr bool areBits = true;

    const OwnBitLines& lines;

    Spot sourceAt(int64_t pixel) const { return at(pixel, lines.bit()); }
    Spot at(int64_t pixel, int bit) const { return {ptrdiff_t((bit + pixel) >> 3), int((bit + pixel) & 7)}; }
    int64_t bytes(int64_t pixels, int bit) const { return (bit + pixels + 7) / 8; }
    ptrdiff_t step() const { return 1; }
    ptrdiff_t values(int64_t pixels) const { return ptrdiff_t(pixels); }
    void copy(const uint8_t* from, int fromBit, uint8_t* to, int toBit, int64_t pixels) const
    {
        ownCopyBits(from, fromBit, to, toBit, pixels);
    }
};

// ---- The call in figures ------------------------------------------------------------------------------------------

// Rows and columns count from the part's first.
struct Plan {
    int32_t columns, rows;            // of a window on either side of its middle
    int32_t width, height;            // of the part
    int32_t top, end;                 // rows between which the first stage is computed
    int32_t lead;                     // pixels of its rows before those that are computed,
    int32_t computed;                 // and how many these are
    int32_t firstMiddle, lastMiddle;  // of the windows that differ from row to row
    OwnReach reach, frame;

    Plan(const OwnOpening& opening, const OwnRect& place)
        : columns(opening.columns), rows(opening.rows), width(place.width), height(place.height)
    {
        const OwnSize& region = opening.region;
        const int32_t last = ownMax(region.height - rows, 0);  // the middle of the window that stands for those below
        const int64_t right = int64_t{place.x} + width + columns;
        top = -place.y;
        end = ownMax(region.height, rows) - place.y;
        lead = ownMax(columns - place.x, 0);
        computed = int32_t(right < region.width ? right : region.width) - ownMax(place.x - columns, 0);
        firstMiddle = ownMin(0, last - place.y);
        lastMiddle = ownMin(height - 1, last - place.y);
        reach = {2 * columns, 2 * rows - firstMiddle, 2 * columns, ownMax(2 * rows - (height - 1 - lastMiddle), 0)};
        frame = {place.x + 1, place.y + 1, region.width - place.xEnd + 1, region.height - place.yEnd + 1};
    }
    int32_t windowRows() const { return 2 * rows + 1; }
    int32_t windowColumns() const { return 2 * columns + 1; }
    int64_t stageWidth() const { return int64_t{width} + 2 * columns; }
    int32_t different() const { return lastMiddle - firstMiddle + 1; }
    // Cut where the sum would pass 32 bits: only a few are made at a time anyway.
    int32_t stageRows() const { return ownMin(different(), INT32_MAX - 2 * rows) + 2 * rows; }
};

// ---- The first stage ----------------------------------------------------------------------------------------------

OwnFoldBand bandOf(const Plan& plan, const Spot& first, ptrdiff_t step, ptrdiff_t values)
{
    OwnFoldBand band = {};
    band.nRows = plan.windowRows();
    band.nCols = plan.windowColumns();
    band.first = first.byte;
    band.bit = first.bit;
    band.step = step;
    band.values = values;
    return band;
}

// Rows of the first stage, computed a few at a time as they are asked for, from the top down. Around what is computed
// they are the source's.
template <class Lines, class Rows>
class FirstStage {
public:
    // The last `kept` rows that were asked for stay as they are.
    FirstStage(const OwnOpening& opening, uint32_t depth, const Plan& plan, const Rows& rows, int64_t kept)
        : plan(plan),
          rows(rows),
          most(ownFoldRows(plan.windowRows(), plan.stageRows())),
          firstBit(rows.areBits ? -plan.lead & 7 : 0),
          start(rows.at(plan.lead, firstBit)),
          slotBytes((rows.bytes(plan.stageWidth(), firstBit) + 31) & ~int64_t{31}),
          slots(kept + most),
          window(plan.windowRows(), plan.rows, most),
          folds(opening.closing, depth, bandOf(plan, rows.sourceAt(plan.lead), rows.step(), rows.values(plan.computed)),
                most),
          memory(ownSlotBytes(slotBytes, slots) + OWN_FOLD_SLACK)
    {
    }

    // False if there is no memory.
    explicit operator bool() const { return window && folds && memory; }

    // Rows of the source that are in use at a time; one more is.
    static int64_t sourceSlots(const Plan& plan)
    {
        return int64_t{plan.windowRows()} - 1 + ownFoldRows(plan.windowRows(), plan.stageRows());
    }

    // The bit in the first byte of the rows where they begin.
    int bit() const { return firstBit; }

    // What lies beside a row's bits in its bytes is kept as rows come and go, and is set so that it can be read.
    void begin(Lines& from)
    {
        if (Rows::areBits)
            memset(memory.data, 0, size_t(slotBytes * slots));
        lines = &from;
        next = plan.firstMiddle - plan.rows;
        window.begin();
    }

    const void* source(int64_t y, int64_t)
    {
        while (y >= next)
            makeRows();
        return row(y);
    }

private:
    Plan plan;
    Rows rows;
    int32_t most;
    int firstBit;
    Spot start;  // of what is computed in a row
    int64_t slotBytes, slots;
    OwnRowWindow window;
    OwnFoldRows folds;
    OwnScratch<uint8_t> memory;
    Lines* lines = nullptr;
    int64_t next = 0;

    uint8_t* row(int64_t y) { return memory.data + (y - (plan.firstMiddle - plan.rows)) % slots * slotBytes; }

    void copySource(const void* from, int64_t y)
    {
        const Spot spot = rows.sourceAt(plan.columns);
        rows.copy(static_cast<const uint8_t*>(from) + spot.byte, spot.bit, row(y), firstBit, plan.stageWidth());
    }

    // Makes the next rows that are of one kind.
    void makeRows()
    {
        if (next < plan.top || next >= plan.end) {
            copySource(lines->source(next, sourceSlots(plan)), next);
            ++next;
            return;
        }
        const int32_t first = int32_t(next);
        const int32_t count = ownMin(most, ownMin(plan.end - 1, plan.lastMiddle + plan.rows) - first + 1);
        const void* const* from = window.rows(*lines, first, count);
        for (int32_t i = 0; i < count; ++i)
            copySource(from[i + plan.rows], next + i);
        folds.run(from, count, [&](int32_t i) { return row(next + i) + start.byte; });
        next += count;
    }
};

// ---- Both stages --------------------------------------------------------------------------------------------------

template <class Lines, class Rows>
void openPass(const Plan& plan, Lines& lines, const Rows& rows, FirstStage<Lines, Rows>& first, OwnRowWindow& window,
              OwnFoldRows& folds, int32_t most)
{
    first.begin(lines);
    window.begin();
    auto* result = static_cast<uint8_t*>(lines.target(0, 0));
    int32_t count;
    for (int32_t y = 0; y < plan.different(); y += count) {
        count = ownMin(most, plan.different() - y);
        folds.run(window.rows(first, plan.firstMiddle + y, count), count, [&](int32_t i) {
            result = static_cast<uint8_t*>(lines.target(y + i, i));
            return result;
        });
        lines.store(y, count);
    }
    for (int32_t y = plan.different(); y < plan.height; ++y) {
        auto* again = static_cast<uint8_t*>(lines.target(y, 0));
        if (again != result)
            rows.copy(result, 0, again, 0, plan.width);
        result = again;
        lines.store(y, 1);
    }
}

template <class Rows, class Lines, class Passes>
bool openLines(const OwnOpening& opening, uint32_t depth, const Plan& plan, Lines& lines, const Rows& rows,
               int32_t most, Passes passes)
{
    OwnRowWindow window(plan.windowRows(), plan.rows, most);
    FirstStage<Lines, Rows> first(opening, depth, plan, rows, window.slots());
    OwnFoldRows folds(!opening.closing, depth, bandOf(plan, {0, first.bit()}, rows.step(), rows.values(plan.width)),
                      most);
    if (!lines || !window || !first || !folds)
        return false;
    passes([&] { openPass(plan, lines, rows, first, window, folds, most); });
    return true;
}

}  // namespace

bool ownOpenWindows(const OwnOpening& opening, const OwnRect& place, const OrvImage& src, const OrvImage& dst,
                    const OrvImage* mask)
{
    const Plan plan(opening, place);
    const int32_t most = ownFoldRows(plan.windowRows(), plan.different());
    if (src.depth == ORV_DEPTH_1U) {
        using Stage = FirstStage<OwnBitLines, BitRows>;
        OwnBitLines lines(src, dst, mask, plan.reach, Stage::sourceSlots(plan) + 1, most, plan.frame);
        return openLines(opening, src.depth, plan, lines, BitRows{lines}, most, [](auto pass) { pass(); });
    }
    using Stage = FirstStage<OwnLines, ValueRows>;
    OwnLines lines(src, dst, mask, plan.reach, Stage::sourceSlots(plan) + 1, most, plan.frame);
    return openLines(opening, src.depth, plan, lines, ValueRows{lines, ownDepthBits(src.depth) / 8}, most,
                     [&](auto pass) {
                         for (int32_t i = 0; i < lines.passes(); ++i) {
                             lines.begin(i);
                             pass();
                         }
                     });
}
