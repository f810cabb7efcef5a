#include "owncounting.h"

#include <cstring>

#include "../core/ownlines.h"
#include "kernels/owncounting.h"

namespace {

struct Task {
    OwnReach reach;
    int32_t nCols, nRows;
    int32_t pixels;  // of the window

    explicit Task(const OwnReach& reach)
        : reach(reach), nCols(reach.left + 1 + reach.right), nRows(reach.top + 1 + reach.bottom), pixels(nCols * nRows)
    {
    }

    int32_t rank() const { return pixels / 2 + 1; }  // of the median, counted from 1
    bool isNarrow() const { return pixels <= OWN_NARROW_COUNT; }
};

// What makes the values of a signed depth unsigned ones in the same order.
uint32_t flipOf(uint32_t depth)
{
    const bool isSigned = depth == ORV_DEPTH_8S || depth == ORV_DEPTH_16S || depth == ORV_DEPTH_32S;
    return isSigned ? 1u << (ownDepthBits(depth) - 1) : 0;
}

// Rows of counts, from the top down: replace(entering, leaving) brings the counts to the window of a row, with
// `leaving` NULL while nothing leaves, and make(row) fills a row of results.
template <class Replace, class Make>
void countRows(OwnLines& lines, const Task& task, Replace replace, Make make)
{
    for (int32_t row = 0; row < task.nRows - 1; ++row)
        replace(lines.source(int64_t{row} - task.reach.top, 0), nullptr);
    for (int32_t y = 0; y < lines.height();) {
        const int32_t rows = ownMin(ownLinesBand, lines.height() - y);
        for (int32_t i = 0; i < rows; ++i) {
            const int64_t first = int64_t{y} + i - task.reach.top;
            const void* entering = lines.source(first + task.nRows - 1, 0);
            replace(entering, y + i > 0 ? lines.source(first - 1, 1) : nullptr);
            make(lines.target(y + i, i));
        }
        lines.store(y, rows);
        y += rows;
    }
}

// ---- Bits and bytes -----------------------------------------------------------------------------------------------

bool medianOfBits(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnCountingKernels& kernels = ownCountingKernels();
    OwnLines lines(src, dst, mask, task.reach, 2, ownLinesBand);
    const int64_t columns = lines.values(int64_t{lines.width()} + task.nCols - 1);
    OwnScratch<int32_t> sums(columns);
    if (!lines || !sums)
        return false;
    const OwnBitCounts counts = {.columns = ptrdiff_t(columns),
                                 .values = lines.values(lines.width()),
                                 .nCols = task.nCols,
                                 .least = (task.pixels + 1) / 2,
                                 .sums = sums.data};
    memset(sums.data, 0, size_t(columns) * sizeof *sums.data);
    lines.begin(0);
    countRows(
        lines, task, [&](const void* entering, const void* leaving) { kernels.sumBits(counts, entering, leaving); },
        [&](void* row) { kernels.medianBits(counts, row); });
    return true;
}

bool medianOfBytes(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnCountingKernels& kernels = ownCountingKernels();
    const OwnColumnKernel& kernel = !task.isNarrow()                ? kernels.wideColumns
                                    : task.nRows <= OWN_SMALL_COUNT ? kernels.smallColumns
                                                                    : kernels.narrowColumns;
    OwnLines lines(src, dst, mask, task.reach, 2, ownLinesBand);
    OwnColumnCounts counts = {.columns = lines.values(int64_t{lines.width()} + task.nCols - 1),
                              .values = lines.values(lines.width()),
                              .step = lines.step(),
                              .nCols = task.nCols,
                              .rank = task.rank(),
                              .flip = uint8_t(flipOf(src.depth)),
                              .counts = nullptr};
    const int64_t bytes = kernel.bytes(counts.columns);
    OwnScratch<uint8_t> scratch(bytes);
    if (!lines || !scratch)
        return false;
    counts.counts = scratch.data;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        memset(scratch.data, 0, size_t(bytes));
        countRows(
            lines, task,
            [&](const void* entering, const void* leaving) {
                if (leaving)
                    kernel.replace(counts, leaving, entering);
                else
                    kernel.add(counts, entering);
            },
            [&](void* row) { kernel.medians(counts, row); });
    }
    return true;
}

// ---- Larger values ------------------------------------------------------------------------------------------------

OwnSlide slideOf(const Task& task, const OwnLines& lines)
{
    return {.rows = nullptr,
            .below = nullptr,
            .nRows = task.nRows,
            .nCols = task.nCols,
            .values = lines.values(lines.width()),
            .step = lines.step(),
            .rank = task.rank(),
            .bins = 0,
            .flip = 0,
            .counts = nullptr,
            .results = {}};
}

// Sets a slide to result i of `count`, of which the first is row y, and to the one below it. The last one, where there
// is none below it, is made twice.
void setRows(OwnSlide& slide, OwnLines& lines, const void* const* rows, int32_t y, int32_t i, int32_t count)
{
    const bool isLast = i + 1 == count;
    slide.rows = rows + i;
    slide.below = slide.rows[isLast ? 0 : slide.nRows];
    slide.results[0] = lines.target(y + i, i);
    slide.results[1] = isLast ? slide.results[0] : lines.target(y + i + 1, i + 1);
}

const OwnSlideKernel& slideKernel(const Task& task)
{
    const OwnCountingKernels& kernels = ownCountingKernels();
    return task.isNarrow() ? kernels.narrowSlide : kernels.wideSlide;
}

bool medianOfWords(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const OwnSlideKernel& kernel = slideKernel(task);
    constexpr int32_t most = 2;
    OwnRowWindow window(task.nRows, task.reach.top, most);
    OwnLines lines(src, dst, mask, task.reach, window.slots(), most);
    OwnSlide slide = slideOf(task, lines);
    slide.bins = 65536;
    slide.flip = flipOf(src.depth);
    OwnScratch<uint8_t> counts(kernel.bytes(slide.bins));
    if (!window || !lines || !counts)
        return false;
    slide.counts = counts.data;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        window.begin();
        for (int32_t y = 0, count; y < lines.height(); y += count) {
            count = ownMin(most, lines.height() - y);
            setRows(slide, lines, window.rows(lines, y, count), y, 0, count);
            kernel.words(slide);
            lines.store(y, count);
        }
    }
    return true;
}

// ---- Values of 32 bits --------------------------------------------------------------------------------------------

// There are too many of them to be counted each, so the values around some rows of results are sorted once, and their
// ranks take their place.
class Ranks {
public:
    Ranks(int64_t rows, int64_t columns)
        : columns(columns),
          keys(rows * columns),
          sorted(rows * columns),
          ranks(rows * columns),
          pointers(rows),
          digits(digitValues)
    {
    }

    // False if there is no memory.
    explicit operator bool() const { return keys && sorted && ranks && pointers && digits; }

    // The ranks of some rows, of which none is as great as their number.
    const void* const* of(const void* const* rows, int32_t count)
    {
        for (int32_t y = 0; y < count; ++y)
            for (int64_t x = 0; x < columns; ++x) {
                const int64_t i = y * columns + x;
                keys[i] = uint64_t{ownLoad<uint32_t>(rows[y], ptrdiff_t(x)) ^ signBit} << 32 | uint64_t(i);
            }
        const int64_t all = count * columns;
        for (int shift = 32; shift < 64; shift += digitBits) {
            sortByDigit(all, shift);
            uint64_t* last = keys.data;
            keys.data = sorted.data;
            sorted.data = last;
        }
        for (int64_t i = 0; i < all; ++i)
            ranks[uint32_t(keys[i])] = uint32_t(i);
        for (int32_t y = 0; y < count; ++y)
            pointers[y] = ranks.data + y * columns;
        return pointers.data;
    }

    // Replaces ranks by the values that have them, `channels` side by side of every `step`.
    void replaceByValues(void* row, int32_t pixels, int32_t step, int32_t channels) const
    {
        for (ptrdiff_t x = 0; x < ptrdiff_t{pixels} * step; x += step)
            for (ptrdiff_t i = x; i < x + channels; ++i)
                ownStore(row, i, uint32_t(keys.data[ownLoad<uint32_t>(row, i)] >> 32) ^ signBit);
    }

private:
    static constexpr int digitBits = 11;
    static constexpr int32_t digitValues = 1 << digitBits;
    static constexpr uint32_t signBit = 1u << 31;

    int64_t columns;
    OwnScratch<uint64_t> keys, sorted;  // values above, places below
    OwnScratch<uint32_t> ranks;
    OwnScratch<const void*> pointers;
    OwnScratch<int32_t> digits;

    // Keys of one digit stay in their order.
    void sortByDigit(int64_t count, int shift)
    {
        memset(digits.data, 0, digitValues * sizeof *digits.data);
        auto digitOf = [&](int64_t i) { return ptrdiff_t(keys[i] >> shift & (digitValues - 1)); };
        for (int64_t i = 0; i < count; ++i)
            ++digits[digitOf(i)];
        for (int32_t digit = 0, sum = 0; digit < digitValues; ++digit) {
            const int32_t here = digits[digit];
            digits[digit] = sum;
            sum += here;
        }
        for (int64_t i = 0; i < count; ++i)
            sorted[digits[digitOf(i)]++] = keys[i];
    }
};

bool medianOfNumbers(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    constexpr int32_t least = 16;
    const int32_t most = ownMin(ownMax(task.nRows, least), ownRoiRect(src).height);
    const OwnSlideKernel& kernel = slideKernel(task);
    OwnRowWindow window(task.nRows, task.reach.top, most);
    OwnLines lines(src, dst, mask, task.reach, window.slots(), most);
    const int64_t columns = lines.values(int64_t{lines.width()} + task.nCols - 1);
    if (!window || !lines || columns > INT32_MAX / window.slots())
        return false;
    Ranks ranks(window.slots(), columns);
    OwnSlide slide = slideOf(task, lines);
    slide.bins = int32_t(window.slots() * columns);
    OwnScratch<uint8_t> counts(kernel.bytes(slide.bins));
    if (!ranks || !counts)
        return false;
    slide.counts = counts.data;
    for (int32_t pass = 0; pass < lines.passes(); ++pass) {
        lines.begin(pass);
        window.begin();
        for (int32_t y = 0, count; y < lines.height(); y += count) {
            count = ownMin(most, lines.height() - y);
            const void* const* rows = ranks.of(window.rows(lines, y, count), task.nRows - 1 + count);
            for (int32_t i = 0; i < count; i += 2) {
                setRows(slide, lines, rows, y, i, count);
                kernel.numbers(slide);
            }
            for (int32_t i = 0; i < count; ++i)
                ranks.replaceByValues(lines.target(y + i, i), lines.width(), lines.step(), int32_t(lines.values(1)));
            lines.store(y, count);
        }
    }
    return true;
}

// ---- Stripes ------------------------------------------------------------------------------------------------------

using Filter = bool (*)(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

// Stripes of columns, whose counts stay in the cache; they overlap by less than they are wide.
bool inStripes(const Task& task, const OrvImage& src, const OrvImage& dst, const OrvImage* mask, int32_t most,
               Filter filter)
{
    const OwnRect region = ownRoiRect(src);
    most = ownMax(most / ownLineStep(src, dst), task.nCols);
    bool done = true;
    for (int32_t x = 0, width; done && x < region.width; x += width) {
        width = ownMin(most, region.width - x);
        auto narrowed = [&](OwnWork& work) { work.narrow(x, 0, width, region.height); };
        OwnWork from(src), to(dst), under;
        narrowed(from);
        narrowed(to);
        if (mask) {
            under.take(*mask);
            narrowed(under);
        }
        done = filter(task, from.image, to.image, mask ? &under.image : nullptr);
    }
    return done;
}

}  // namespace

bool ownMedianByCounting(const OwnReach& reach, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    const Task task(reach);
    switch (src.depth) {
    case ORV_DEPTH_1U: return medianOfBits(task, src, dst, mask);
    case ORV_DEPTH_8U:
    case ORV_DEPTH_8S: return inStripes(task, src, dst, mask, 512, medianOfBytes);
    case ORV_DEPTH_16U:
    case ORV_DEPTH_16S: return medianOfWords(task, src, dst, mask);
    default: return inStripes(task, src, dst, mask, 128, medianOfNumbers);
    }
}
