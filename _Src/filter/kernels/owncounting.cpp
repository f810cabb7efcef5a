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

// S. Perreault and P. Hebert, "Median filtering in constant time", IEEE Transactions on Image Processing 16 (2007). A column
// has a histogram of the upper halves of its values, and one of the lower halves for each upper half; so has the window,
// whose lower halves are only brought to its place where the median lies among them. Here all of them tell how many values
// are as great or less: then nothing is left to be added up where the median is looked for.
constexpr ptrdiff_t bins = 16;

struct Steps {
    int32_t wide[bins][bins];
    int16_t narrow[bins][bins];

    template <class Count>
    const Count* of(int bin) const
    {
        if constexpr (sizeof(Count) == 2)
            return narrow[bin];
        else
            return wide[bin];
    }
};

constexpr Steps makeSteps()
{
    Steps steps = {};
    for (int bin = 0; bin < bins; ++bin)
        for (int i = bin; i < bins; ++i)
            steps.narrow[bin][i] = steps.wide[bin][i] = 1;
    return steps;
}

alignas(64) constexpr Steps steps = makeSteps();

// Vectors by name: the compiler does not see that the counts do not overlap.
template <class Count, class Sum>
inline __attribute__((always_inline)) void forVectors(Count* sums, Sum sum)
{
    constexpr ptrdiff_t lanes = vectorBytes / ptrdiff_t(sizeof(Count));
    for (ptrdiff_t i = 0; i < bins; i += lanes) {
        const Vector<Count> next = sum(vectorAt<Count>(sums, i), i);
        memcpy(sums + i, &next, sizeof next);
    }
}

template <class Count>
inline __attribute__((always_inline)) void add(Count* sums, const Count* others)
{
    forVectors(sums, [=](auto sum, ptrdiff_t i) { return sum + vectorAt<Count>(others, i); });
}

template <class Count>
inline __attribute__((always_inline)) void subtract(Count* sums, const Count* others)
{
    forVectors(sums, [=](auto sum, ptrdiff_t i) { return sum - vectorAt<Count>(others, i); });
}

template <class Count>
inline __attribute__((always_inline)) void replace(Count* sums, const Count* leaving, const Count* entering)
{
    forVectors(sums,
               [=](auto sum, ptrdiff_t i) { return sum + vectorAt<Count>(entering, i) - vectorAt<Count>(leaving, i); });
}

// How many of the counts, of which none is less than the one before, are less than `rank`.
template <class Count>
inline __attribute__((always_inline)) int countBelow(const Count* counts, int32_t rank)
{
#if defined(__SSE2__)
    if constexpr (sizeof(Count) == 2) {
        const __m128i limit = _mm_set1_epi16(int16_t(rank));
        auto below = [&](const Count* some) {
            return _mm_cmplt_epi16(_mm_loadu_si128(reinterpret_cast<const __m128i*>(some)), limit);
        };
        const int lanes = _mm_movemask_epi8(_mm_packs_epi16(below(counts), below(counts + bins / 2)));
        return __builtin_ctz(unsigned(~lanes));
    }
#endif
    int below = 0;
    for (ptrdiff_t i = 0; i < bins; ++i)
        below += counts[i] < rank;
    return below;
}

template <class Count>
struct Columns {
    Count* upper;  // of each column
    Count* lower;  // of each upper half, of each column
    ptrdiff_t columns;

    explicit Columns(const OwnColumnCounts& counts)
        : upper(static_cast<Count*>(counts.counts)), lower(upper + counts.columns * bins), columns(counts.columns)
    {
    }
    Count* lowerOf(int half, ptrdiff_t column) const { return lower + (half * columns + column) * bins; }
};

template <class Count>
int64_t columnBytes(int64_t columns)
{
    return columns * (bins + 1) * bins * int64_t{sizeof(Count)};
}

template <class Count>
void addRow(const OwnColumnCounts& counts, const void* row)
{
    const Columns<Count> to(counts);
    for (ptrdiff_t i = 0; i < counts.columns; ++i) {
        const int value = ownLoad<uint8_t>(row, i) ^ counts.flip;
        add(to.upper + i * bins, steps.of<Count>(value >> 4));
        add(to.lowerOf(value >> 4, i), steps.of<Count>(value & 15));
    }
}

template <class Count>
void replaceRow(const OwnColumnCounts& counts, const void* leaving, const void* entering)
{
    const Columns<Count> to(counts);
    for (ptrdiff_t i = 0; i < counts.columns; ++i) {
        const int old = ownLoad<uint8_t>(leaving, i) ^ counts.flip, next = ownLoad<uint8_t>(entering, i) ^ counts.flip;
        replace(to.upper + i * bins, steps.of<Count>(old >> 4), steps.of<Count>(next >> 4));
        subtract(to.lowerOf(old >> 4, i), steps.of<Count>(old & 15));
        add(to.lowerOf(next >> 4, i), steps.of<Count>(next & 15));
    }
}

// The sums of lower halves over a window, for one upper half.
template <class Count>
struct LowerSums {
    alignas(64) Count sums[bins];
    ptrdiff_t place;  // the first column of the window, in pixels

    void moveTo(ptrdiff_t x, ptrdiff_t nCols, const Count* first, ptrdiff_t pixelCounts)
    {
        if (2 * (x - place) > nCols) {
            memset(sums, 0, sizeof sums);
            for (ptrdiff_t i = x; i < x + nCols; ++i)
                add(sums, first + i * pixelCounts);
        } else {
            for (ptrdiff_t i = place; i < x; ++i)
                replace(sums, first + i * pixelCounts, first + (i + nCols) * pixelCounts);
        }
        place = x;
    }
};

template <class Count>
void columnMedians(const OwnColumnCounts& counts, void* result)
{
    const Columns<Count> from(counts);
    const Channels channels(counts.values, counts.step);
    const ptrdiff_t nCols = counts.nCols, pixelCounts = counts.step * bins;
    for (ptrdiff_t c = 0; c < channels.count; ++c) {
        alignas(64) Count upper[bins] = {};
        LowerSums<Count> lower[bins];
        for (LowerSums<Count>& one : lower)
            one.place = -nCols;
        const Count* const columns = from.upper + c * bins;
        for (ptrdiff_t i = 0; i < nCols; ++i)
            add(upper, columns + i * pixelCounts);
        for (ptrdiff_t x = 0; x < channels.width; ++x) {
            const int half = countBelow(upper, counts.rank);
            lower[half].moveTo(x, nCols, from.lowerOf(half, c), pixelCounts);
            const int32_t rest = counts.rank - (half ? upper[half - 1] : 0);
            const int value = half * int(bins) + countBelow(lower[half].sums, rest);
            ownStore<uint8_t>(result, x * counts.step + c, uint8_t(value ^ counts.flip));
            if (x + 1 < channels.width)
                replace(upper, columns + x * pixelCounts, columns + (x + nCols) * pixelCounts);
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

// T. S. Huang, G. J. Yang and G. Y. Tang, "A fast two-dimensional median filtering algorithm", IEEE Transactions on Acoustics,
// Speech and Signal Processing 27 (1979), with counts of groups of bins too, over which the search goes first.
constexpr int groupBits = 6;

template <class Count>
int64_t slideBytes(int64_t bins)
{
    return (bins + (bins >> groupBits) + 1) * int64_t{sizeof(Count)};
}

template <class Count>
class Histogram {
public:
    explicit Histogram(const OwnSlide& slide)
        : single(static_cast<Count*>(slide.counts)), groups(single + slide.bins), rank(slide.rank)
    {
        memset(slide.counts, 0, size_t(slideBytes<Count>(slide.bins)));
    }

    __attribute__((always_inline)) void add(uint32_t value)
    {
        ++single[value];
        ++groups[value >> groupBits];
        below += value < limit;
    }
    __attribute__((always_inline)) void remove(uint32_t value)
    {
        --single[value];
        --groups[value >> groupBits];
        below -= value < limit;
    }

    // From the group on where the last one was found.
    __attribute__((always_inline)) uint32_t median()
    {
        uint32_t group = limit >> groupBits;
        while (below >= rank)
            below -= groups[--group];
        while (below + int32_t{groups[group]} < rank)
            below += groups[group++];
        limit = group << groupBits;
        uint32_t value = limit;
        for (int32_t sum = below; (sum += single[value]) < rank;)
            ++value;
        return value;
    }

private:
    Count *single, *groups;
    int32_t rank, below = 0;  // `below` values are less than `limit`, where a group begins
    uint32_t limit = 0;
};

template <class T, class Count>
void slideRow(const OwnSlide& slide)
{
    const Channels channels(slide.values, slide.step);
    for (ptrdiff_t c = 0; c < channels.count; ++c) {
        Histogram<Count> histogram(slide);
        auto valueAt = [&](const void* row, ptrdiff_t x) {
            return uint32_t(ownLoad<T>(row, x * slide.step + c)) ^ slide.flip;
        };
        for (ptrdiff_t i = 0; i < slide.nRows; ++i)
            for (ptrdiff_t x = 0; x < slide.nCols; ++x)
                histogram.add(valueAt(slide.rows[i], x));
        for (ptrdiff_t x = 0;; ++x) {
            ownStore<T>(slide.result, x * slide.step + c, T(histogram.median() ^ slide.flip));
            if (x + 1 == channels.width)
                break;
            for (ptrdiff_t i = 0; i < slide.nRows; ++i) {
                histogram.remove(valueAt(slide.rows[i], x));
                histogram.add(valueAt(slide.rows[i], x + slide.nCols));
            }
        }
    }
}

template <class Count>
constexpr OwnColumnKernel columnKernel = {columnBytes<Count>, addRow<Count>, replaceRow<Count>, columnMedians<Count>};

template <class Count>
constexpr OwnSlideKernel slideKernel = {slideBytes<Count>, slideRow<uint16_t, Count>, slideRow<uint32_t, Count>};

}  // namespace

extern const OwnCountingKernels ownCountingKernels;
const OwnCountingKernels ownCountingKernels = {
    columnKernel<int16_t>, columnKernel<int32_t>, slideKernel<int16_t>, slideKernel<int32_t>, sumBits, medianBits,
};

}  // namespace OWN_ISA
