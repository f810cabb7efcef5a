// Medians that are found by counting.
#include "owncounting.h"

#include <string.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

// Columns of a row that belong to pixels.
struct Channels {
    ptrdiff_t width, count;

    Channels(ptrdiff_t values, ptrdiff_t step) : width((values + step - 1) / step), count(values - (width - 1) * step)
    {
    }
};

// ---- Bytes --------------------------------------------------------------------------------------------------------

// S. Perreault and P. Hebert, "Median filtering in constant time", IEEE Transactions on Image Processing 16 (2007). A
// column has a histogram of the upper halves of its values, and one of the lower halves for each upper half; so has the
// window, whose lower halves are only brought to its place where the median lies among them. Here all of them tell how
// many values are as great or less: then nothing is left to be added up where the median is looked for.
constexpr ptrdiff_t bins = 16;

// Counts of columns are of type Cell, those of windows of type Count.

template <class Cell>
struct Steps {
    Cell of[bins][bins];
};

template <class Cell>
constexpr Steps<Cell> makeSteps()
{
    Steps<Cell> steps = {};
    for (int bin = 0; bin < bins; ++bin)
        for (int i = bin; i < bins; ++i)
            steps.of[bin][i] = 1;
    return steps;
}

template <class Cell>
alignas(64) constexpr Steps<Cell> steps = makeSteps<Cell>();

// All counts of a column or a window, or as many as fit a vector.
template <class T>
struct SomeOf {
    static constexpr ptrdiff_t all = bins * ptrdiff_t(sizeof(T)), bytes = all < vectorBytes ? all : vectorBytes;
    static constexpr ptrdiff_t lanes = bytes / ptrdiff_t(sizeof(T));
    typedef T type __attribute__((vector_size(bytes)));
};

template <class T>
inline __attribute__((always_inline)) auto someAt(const T* p)
{
    typename SomeOf<T>::type some;
    memcpy(&some, p, sizeof some);
    return some;
}

// As many counts of a column as those of a window are at a time, of their type.
template <class Count, class Cell>
inline __attribute__((always_inline)) auto widenedAt(const Cell* p)
{
    if constexpr (sizeof(Cell) == sizeof(Count)) {
        return someAt<Count>(p);
    } else {
        typedef Cell Few __attribute__((vector_size(SomeOf<Count>::lanes * sizeof(Cell))));
        Few few;
        memcpy(&few, p, sizeof few);
#if defined(__AVX2__)
        return (typename SomeOf<Count>::type)_mm256_cvtepu8_epi16((__m128i)few);
#else
        return __builtin_convertvector(few, typename SomeOf<Count>::type);
#endif
    }
}

// Vectors by name: the compiler does not see that the counts do not overlap.
template <class Cell, class Sum>
inline __attribute__((always_inline)) void forVectors(Cell* sums, Sum sum)
{
    for (ptrdiff_t i = 0; i < bins; i += SomeOf<Cell>::lanes) {
        const auto next = sum(someAt(sums + i), i);
        memcpy(sums + i, &next, sizeof next);
    }
}

template <class Cell>
inline __attribute__((always_inline)) void add(Cell* sums, const Cell* others)
{
    forVectors(sums, [=](auto sum, ptrdiff_t i) OWN_ALWAYS { return sum + someAt(others + i); });
}

template <class Cell>
inline __attribute__((always_inline)) void subtract(Cell* sums, const Cell* others)
{
    forVectors(sums, [=](auto sum, ptrdiff_t i) OWN_ALWAYS { return sum - someAt(others + i); });
}

template <class Cell>
inline __attribute__((always_inline)) void replace(Cell* sums, const Cell* leaving, const Cell* entering)
{
    forVectors(sums,
               [=](auto sum, ptrdiff_t i) OWN_ALWAYS { return sum + someAt(entering + i) - someAt(leaving + i); });
}

// The sums of columns over a window.
template <class Count>
struct WindowSums {
    using Some = typename SomeOf<Count>::type;
    static constexpr ptrdiff_t lanes = SomeOf<Count>::lanes, vectors = bins / lanes;
    Some sums[vectors] = {};

    template <class Cell>
    OWN_ALWAYS void add(const Cell* column)
    {
        for (ptrdiff_t i = 0; i < vectors; ++i)
            sums[i] += widenedAt<Count>(column + i * lanes);
    }
    template <class Cell>
    OWN_ALWAYS void replace(const Cell* leaving, const Cell* entering)
    {
        for (ptrdiff_t i = 0; i < vectors; ++i)
            sums[i] += widenedAt<Count>(entering + i * lanes) - widenedAt<Count>(leaving + i * lanes);
    }
    OWN_ALWAYS void store(Count* to) const
    {
        for (ptrdiff_t i = 0; i < vectors; ++i) {
            const Some some = sums[i];
            memcpy(to + i * lanes, &some, sizeof some);
        }
    }

    // How many of the counts, of which none is less than the one before, are less than `rank`; not all are.
    OWN_ALWAYS int countBelow(int32_t rank) const
    {
#if defined(__SSE2__)
        if constexpr (sizeof(Count) == 2) {
            const Some limit = Count(rank) + Some{};
#if defined(__AVX2__)
            const int below = _mm256_movemask_epi8((__m256i)(sums[0] < limit));
            return __builtin_ctz(~unsigned(below)) / 2;
#else
            const __m128i both = _mm_packs_epi16((__m128i)(sums[0] < limit), (__m128i)(sums[1] < limit));
            return __builtin_ctz(~unsigned(_mm_movemask_epi8(both)));
#endif
        }
#endif
        int below = 0;
        for (int i = 0; i < bins; ++i)
            below += sums[i / lanes][i % lanes] < rank;
        return below;
    }
};

template <class Cell>
struct Columns {
    Cell* upper;  // of each column
    Cell* lower;  // of each upper half, of each column
    ptrdiff_t columns;

    explicit Columns(const OwnColumnCounts& counts)
        : upper(static_cast<Cell*>(counts.counts)), lower(upper + counts.columns * bins), columns(counts.columns)
    {
    }
    // Of sixteen times an upper half.
    OWN_ALWAYS Cell* lowerOf(ptrdiff_t halfBins, ptrdiff_t column) const
    {
        return lower + halfBins * columns + column * bins;
    }
};

template <class Cell>
int64_t columnBytes(int64_t columns)
{
    return columns * (bins + 1) * bins * int64_t{sizeof(Cell)};
}

// A value's halves, sixteen times each, which is where what they add to the counts lies.
struct ByteValue {
    ptrdiff_t upper, lower;

    OWN_ALWAYS ByteValue(const void* row, ptrdiff_t i, unsigned flip)
    {
        const unsigned value = ownLoad<uint8_t>(row, i) ^ flip;
        upper = value & 0xF0;
        lower = value << 4 & 0xF0;
    }
    template <class Cell>
    OWN_ALWAYS const Cell* upperSteps() const
    {
        return steps<Cell>.of[0] + upper;
    }
    template <class Cell>
    OWN_ALWAYS const Cell* lowerSteps() const
    {
        return steps<Cell>.of[0] + lower;
    }
};

template <class Cell>
void addRow(const OwnColumnCounts& counts, const void* row)
{
    const Columns<Cell> to(counts);
    for (ptrdiff_t i = 0; i < counts.columns; ++i) {
        const ByteValue value(row, i, counts.flip);
        add(to.upper + i * bins, value.upperSteps<Cell>());
        add(to.lowerOf(value.upper, i), value.lowerSteps<Cell>());
    }
}

template <class Cell>
void replaceRow(const OwnColumnCounts& counts, const void* leaving, const void* entering)
{
    const Columns<Cell> to(counts);
    const ptrdiff_t columns = counts.columns;
    const uint8_t flip = counts.flip;
    for (ptrdiff_t i = 0; i < columns; ++i) {
        const ByteValue old(leaving, i, flip), next(entering, i, flip);
        replace(to.upper + i * bins, old.upperSteps<Cell>(), next.upperSteps<Cell>());
        subtract(to.lowerOf(old.upper, i), old.lowerSteps<Cell>());
        add(to.lowerOf(next.upper, i), next.lowerSteps<Cell>());
    }
}

// The sums of lower halves over a window, for one upper half.
template <class Count>
struct LowerSums {
    WindowSums<Count> window;
    ptrdiff_t place;  // the first column of the window, in pixels

    template <class Cell>
    OWN_ALWAYS void moveTo(ptrdiff_t x, ptrdiff_t nCols, const Cell* first, ptrdiff_t pixelCounts)
    {
        WindowSums<Count> sums;
        if (2 * (x - place) > nCols) {
            for (ptrdiff_t i = x; i < x + nCols; ++i)
                sums.add(first + i * pixelCounts);
        } else {
            sums = window;
            for (ptrdiff_t i = place; i < x; ++i)
                sums.replace(first + i * pixelCounts, first + (i + nCols) * pixelCounts);
        }
        window = sums;
        place = x;
    }
};

// The sums of lower halves over a window that goes along a row, for the upper halves where medians lie. Those of an odd
// and of an even one move along with every pixel: where medians lie around the border of two upper halves, neither the
// processor nor the sums have to go back.
template <class Cell, class Count>
class LowerWindows {
public:
    LowerWindows(const Columns<Cell>& from, ptrdiff_t channel, ptrdiff_t nCols, ptrdiff_t pixelCounts)
        : from(from), channel(channel), nCols(nCols), pixelCounts(pixelCounts)
    {
        for (LowerSums<Count>& one : kept)
            one.place = -nCols;
        for (int half = 0; half < 2; ++half)
            bring(half, 0);
    }

    OWN_ALWAYS const WindowSums<Count>& of(int half, ptrdiff_t x)
    {
        if (__builtin_expect(halves[half & 1] != half, 0)) {
            kept[halves[half & 1]] = {moving[half & 1], x};
            bring(half, x);
        }
        return moving[half & 1];
    }
    // From a pixel to the next.
    OWN_ALWAYS void move(ptrdiff_t x)
    {
        for (int i = 0; i < 2; ++i)
            moving[i].replace(columns[i] + x * pixelCounts, columns[i] + (x + nCols) * pixelCounts);
    }

private:
    const Columns<Cell>& from;
    const ptrdiff_t channel, nCols, pixelCounts;
    WindowSums<Count> moving[2];
    int halves[2];
    const Cell* columns[2];
    LowerSums<Count> kept[bins];

    __attribute__((noinline)) void bring(int half, ptrdiff_t x)
    {
        const int i = half & 1;
        halves[i] = half;
        columns[i] = from.lowerOf(half * bins, channel);
        kept[half].moveTo(x, nCols, columns[i], pixelCounts);
        moving[i] = kept[half].window;
    }
};

template <class Cell, class Count>
void columnMedians(const OwnColumnCounts& counts, void* result)
{
    const Columns<Cell> from(counts);
    const Channels channels(counts.values, counts.step);
    const ptrdiff_t nCols = counts.nCols, step = counts.step, pixelCounts = step * bins;
    const int32_t rank = counts.rank;
    const uint8_t flip = counts.flip;
    for (ptrdiff_t c = 0; c < channels.count; ++c) {
        const Cell* const columns = from.upper + c * bins;
        WindowSums<Count> upper;
        LowerWindows<Cell, Count> lower(from, c, nCols, pixelCounts);
        for (ptrdiff_t i = 0; i < nCols; ++i)
            upper.add(columns + i * pixelCounts);
        for (ptrdiff_t x = 0;; ++x) {
            alignas(64) Count before[bins + 1];  // each upper half
            before[0] = 0;
            upper.store(before + 1);
            const int half = upper.countBelow(rank);
            const int value = half * int(bins) + lower.of(half, x).countBelow(rank - before[half]);
            ownStore<uint8_t>(result, x * step + c, uint8_t(value ^ flip));
            if (x + 1 == channels.width)
                break;
            upper.replace(columns + x * pixelCounts, columns + (x + nCols) * pixelCounts);
            lower.move(x);
        }
    }
}

// ---- Bits ---------------------------------------------------------------------------------------------------------

void sumBits(const OwnBitCounts& counts, const void* entering, const void* leaving)
{
    int32_t* const sums = counts.sums;
    for (ptrdiff_t i = 0; i < counts.columns; ++i)
        sums[i] += ownLoad<uint8_t>(entering, i);
    if (leaving)
        for (ptrdiff_t i = 0; i < counts.columns; ++i)
            sums[i] -= ownLoad<uint8_t>(leaving, i);
}

void medianBits(const OwnBitCounts& counts, void* result)
{
    int32_t sum = 0;
    for (ptrdiff_t i = 0; i < counts.nCols - 1; ++i)
        sum += counts.sums[i];
    for (ptrdiff_t x = 0; x < counts.values; ++x) {
        sum += counts.sums[x + counts.nCols - 1];
        ownStore(result, x, uint8_t(sum >= counts.least ? 255 : 0));
        sum -= counts.sums[x];
    }
}

// ---- Larger values ------------------------------------------------------------------------------------------------

// T. S. Huang, G. J. Yang and G. Y. Tang, "A fast two-dimensional median filtering algorithm", IEEE Transactions on
// Acoustics, Speech and Signal Processing 27 (1979), with counts of groups of bins too, over which the search goes
// first. Two windows, one a row below the other, share what they count: the lower one adds by how much its counts
// differ, which only the rows change that the windows do not share.
constexpr int groupBits = 6;

template <class Count>
class Histogram {
public:
    Histogram(void* memory, int64_t bins) : single(static_cast<Count*>(memory)), groups(single + bins) {}

    static int64_t bytes(int64_t bins) { return (bins + (bins >> groupBits) + 1) * int64_t{sizeof(Count)}; }

    OWN_ALWAYS void add(uint32_t value) const
    {
        ++single[value];
        ++groups[value >> groupBits];
    }
    OWN_ALWAYS void remove(uint32_t value) const
    {
        --single[value];
        --groups[value >> groupBits];
    }

    Count *single, *groups;
};

// Where the median of a window lies.
struct MedianPlace {
    int32_t below = 0;  // so many values are less than `limit`, where a group begins
    uint32_t limit = 0;

    OWN_ALWAYS void replace(uint32_t leaving, uint32_t entering)
    {
        below -= leaving < limit;
        below += entering < limit;
    }

    // From the group on where the last one was found. The counts are sums of those of all histograms.
    template <class... Histograms>
    OWN_ALWAYS uint32_t find(int32_t rank, const Histograms&... histograms)
    {
        uint32_t group = limit >> groupBits;
        auto inGroup = [&](uint32_t at) OWN_ALWAYS { return (int32_t{histograms.groups[at]} + ...); };
        while (below >= rank)
            below -= inGroup(--group);
        for (int32_t next; (next = below + inGroup(group)) < rank; ++group)
            below = next;
        limit = group << groupBits;
        uint32_t value = limit;
        for (int32_t sum = below; (sum += (int32_t{histograms.single[value]} + ...)) < rank;)
            ++value;
        return value;
    }
};

template <class Count>
int64_t slideBytes(int64_t bins)
{
    return 2 * Histogram<Count>::bytes(bins);
}

template <class T, class Count>
void slideRows(const OwnSlide& slide)
{
    const Channels channels(slide.values, slide.step);
    const ptrdiff_t nRows = slide.nRows, nCols = slide.nCols, step = slide.step;
    const uint32_t flip = slide.flip;
    const Histogram<Count> upper(slide.counts, slide.bins),
        difference(upper.groups + (slide.bins >> groupBits) + 1, slide.bins);
    for (ptrdiff_t c = 0; c < channels.count; ++c) {
        memset(slide.counts, 0, size_t(slideBytes<Count>(slide.bins)));
        MedianPlace first, second;
        auto valueAt = [=](const void* row, ptrdiff_t x) { return uint32_t(ownLoad<T>(row, x * step + c)) ^ flip; };
        auto store = [=](void* row, ptrdiff_t x, uint32_t value) { ownStore<T>(row, x * step + c, T(value ^ flip)); };
        for (ptrdiff_t x = 0; x < nCols; ++x) {
            for (ptrdiff_t i = 0; i < nRows; ++i)
                upper.add(valueAt(slide.rows[i], x));
            difference.remove(valueAt(slide.rows[0], x));
            difference.add(valueAt(slide.below, x));
        }
        for (ptrdiff_t x = 0;; ++x) {
            store(slide.results[0], x, first.find(slide.rank, upper));
            store(slide.results[1], x, second.find(slide.rank, upper, difference));
            if (x + 1 == channels.width)
                break;
            for (ptrdiff_t i = 0; i < nRows; ++i) {
                const uint32_t leaving = valueAt(slide.rows[i], x), entering = valueAt(slide.rows[i], x + nCols);
                upper.remove(leaving);
                upper.add(entering);
                first.replace(leaving, entering);
                second.replace(leaving, entering);
            }
            auto differ = [&](uint32_t leaving, uint32_t entering) {
                difference.remove(leaving);
                difference.add(entering);
                second.replace(leaving, entering);
            };
            differ(valueAt(slide.rows[0], x + nCols), valueAt(slide.rows[0], x));
            differ(valueAt(slide.below, x), valueAt(slide.below, x + nCols));
        }
    }
}

template <class Cell, class Count>
constexpr OwnColumnKernel columnKernel = {columnBytes<Cell>, addRow<Cell>, replaceRow<Cell>,
                                          columnMedians<Cell, Count>};

template <class Count>
constexpr OwnSlideKernel slideKernel = {slideBytes<Count>, slideRows<uint16_t, Count>, slideRows<uint32_t, Count>};

}  // namespace

extern const OwnCountingKernels ownCountingKernels;
const OwnCountingKernels ownCountingKernels = {
    columnKernel<uint8_t, int16_t>,
    columnKernel<int16_t, int16_t>,
    columnKernel<int32_t, int32_t>,
    slideKernel<int16_t>,
    slideKernel<int32_t>,
    sumBits,
    medianBits,
};

}  // namespace OWN_ISA
