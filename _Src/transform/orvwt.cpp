// Wavelet transforms.
//
//   orvWtDecompose     splits an image into four subbands
//   orvWtReconstruct   merges four subbands
//
// Both work on lines that are split into even and odd samples and pair the outputs of two filters (see ownwt.h). Lines
// carry their periodic continuation on both sides, as far as the filters reach. Of the rows between the two directions
// only as many are kept as the filters span, in a ring; an image that is lower than that is kept as a whole.
#include <cstring>

#include "../core/ownregion.h"
#include "../core/ownscratch.h"
#include "kernels/ownwt.h"
#include "ownwtfilters.h"

namespace {

constexpr const char* source = "orvwt";

// ---- Checks ---------------------------------------------------------------------------------------------------------

struct WholeTexts {
    const char *incorrect, *tiled, *depth, *channels, *xOffset, *yOffset;
};

struct SubbandTexts {
    const char *incorrect, *tiled, *roi, *depth, *channels, *evenWidth, *oddWidth, *evenHeight, *oddHeight;
};

#define OWN_WT_WHOLE_TEXTS(image)                                                          \
    {                                                                                      \
        "Incorrect image: " image ".", "Tiled image not supported: " image ".",            \
            "Error " image "->depth != ORV_DEPTH_8U.", "Error " image "->nChannels != 1.", \
            "Error " image "->roi->xOffset >= " image "->width.",                          \
            "Error " image "->roi->yOffset >= " image "->height."                          \
    }

#define OWN_WT_SUBBAND_TEXTS(image, whole)                                                                       \
    {                                                                                                            \
        "Incorrect image: " image ".", "Tiled image not supported: " image ".", "Error " image "->roi != NULL.", \
            "Error " image "->depth != ORV_DEPTH_32F.", "Error " image "->nChannels != 1.",                      \
            "Error actualWidth(" image ") != actualWidth(" whole ") / 2.",                                       \
            "Error actualWidth(" image ") != (actualWidth(" whole ") + 1) / 2.",                                 \
            "Error actualHeight(" image ") != actualHeight(" whole ") / 2.",                                     \
            "Error actualHeight(" image ") != (actualHeight(" whole ") + 1) / 2."                                \
    }

struct Texts {
    OwnWtFilterTexts low, high;
    WholeTexts whole;
    SubbandTexts subbands[4];
};

constexpr Texts decomposeTexts = {
    OWN_WT_FILTER_TEXTS("wtKernel->filtDecLow"),
    OWN_WT_FILTER_TEXTS("wtKernel->filtDecHigh"),
    OWN_WT_WHOLE_TEXTS("src"),
    {OWN_WT_SUBBAND_TEXTS("approxDst", "src"), OWN_WT_SUBBAND_TEXTS("xDetailDst", "src"),
     OWN_WT_SUBBAND_TEXTS("yDetailDst", "src"), OWN_WT_SUBBAND_TEXTS("dDetailDst", "src")},
};

constexpr Texts reconstructTexts = {
    OWN_WT_FILTER_TEXTS("wtKernel->filtRecLow"),
    OWN_WT_FILTER_TEXTS("wtKernel->filtRecHigh"),
    OWN_WT_WHOLE_TEXTS("dst"),
    {OWN_WT_SUBBAND_TEXTS("approxSrc", "dst"), OWN_WT_SUBBAND_TEXTS("xDetailSrc", "dst"),
     OWN_WT_SUBBAND_TEXTS("yDetailSrc", "dst"), OWN_WT_SUBBAND_TEXTS("dDetailSrc", "dst")},
};

// The images of a call: the picture and its subbands in the order low, xDetail, yDetail, dDetail.
struct Images {
    OrvImage* whole;
    OrvImage* subbands[4];
};

int32_t checkHeader(const OwnReport& report, OrvImage* image, const char* incorrect, const char* tiled)
{
    const int32_t fault = orvCheckImageHeader(image);
    if (report.when(fault != ORV_STATUS_OK, fault, incorrect))
        return fault;
    if (report.when(image->tileInfo != nullptr, ORV_STATUS_BAD_ARG, tiled))
        return ORV_STATUS_BAD_ARG;
    return ORV_STATUS_OK;
}

int32_t checkHeaders(const OwnReport& report, const Images& images, const Texts& texts)
{
    const OrvImage* whole = images.whole;
    if (int32_t status = checkHeader(report, images.whole, texts.whole.incorrect, texts.whole.tiled))
        return status;
    for (int i = 0; i < 4; ++i)
        if (int32_t status =
                checkHeader(report, images.subbands[i], texts.subbands[i].incorrect, texts.subbands[i].tiled))
            return status;
    for (int i = 0; i < 4; ++i)
        if (report.when(images.subbands[i]->roi != nullptr, ORV_STATUS_BAD_ROI_SIZE, texts.subbands[i].roi))
            return ORV_STATUS_BAD_ROI_SIZE;
    if (report.when(whole->depth != ORV_DEPTH_8U, ORV_STATUS_BAD_DEPTH, texts.whole.depth))
        return ORV_STATUS_BAD_DEPTH;
    for (int i = 0; i < 4; ++i)
        if (report.when(images.subbands[i]->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_DEPTH, texts.subbands[i].depth))
            return ORV_STATUS_BAD_DEPTH;
    if (report.when(whole->nChannels != 1, ORV_STATUS_BAD_CHANNELS, texts.whole.channels))
        return ORV_STATUS_BAD_CHANNELS;
    for (int i = 0; i < 4; ++i)
        if (report.when(images.subbands[i]->nChannels != 1, ORV_STATUS_BAD_CHANNELS, texts.subbands[i].channels))
            return ORV_STATUS_BAD_CHANNELS;
    const OrvROI* roi = whole->roi;
    if (report.when(roi && roi->xOffset >= whole->width, ORV_STATUS_BAD_ROI_SIZE, texts.whole.xOffset))
        return ORV_STATUS_BAD_ROI_SIZE;
    if (report.when(roi && roi->yOffset >= whole->height, ORV_STATUS_BAD_ROI_SIZE, texts.whole.yOffset))
        return ORV_STATUS_BAD_ROI_SIZE;
    return ORV_STATUS_OK;
}

int32_t checkSizes(const OwnReport& report, const Images& images, const Texts& texts, const OwnGeometry& region)
{
    for (int i = 0; i < 4; ++i) {
        const SubbandTexts& names = texts.subbands[i];
        if (report.when(images.subbands[i]->width != (int64_t{region.width} + 1) / 2, ORV_STATUS_BAD_IMAGE_SIZE,
                        region.width % 2 ? names.oddWidth : names.evenWidth))
            return ORV_STATUS_BAD_IMAGE_SIZE;
        if (report.when(images.subbands[i]->height != (int64_t{region.height} + 1) / 2, ORV_STATUS_BAD_IMAGE_SIZE,
                        region.height % 2 ? names.oddHeight : names.evenHeight))
            return ORV_STATUS_BAD_IMAGE_SIZE;
    }
    for (int i = 1; i < 4; ++i)
        if (report.when(images.subbands[i]->widthStep != images.subbands[0]->widthStep, ORV_STATUS_BAD_WIDTH_STEP,
                        "Not equal decomposed images widthStep values."))
            return ORV_STATUS_BAD_WIDTH_STEP;
    return ORV_STATUS_OK;
}

// All checks of a call but that of the kernel's pointer, and the picture's region. The status of the first failure,
// which has been reported.
int32_t check(const OwnReport& report, const OrvWtFilter& low, const OrvWtFilter& high, const Images& images,
              const Texts& texts, OwnGeometry& region)
{
    if (int32_t status = ownWtCheckFilter(report, low, texts.low))
        return status;
    if (int32_t status = ownWtCheckFilter(report, high, texts.high))
        return status;
    if (int32_t status = checkHeaders(report, images, texts))
        return status;
    ownPlaneGeometry(*images.whole, region);
    return checkSizes(report, images, texts, region);
}

// ---- Lines and rows -------------------------------------------------------------------------------------------------

int64_t floorDiv2(int64_t value)
{
    return value >> 1;
}

int64_t modulo(int64_t value, int64_t period)
{
    int64_t rest = value % period;
    return rest < 0 ? rest + period : rest;
}

int64_t smaller(int64_t a, int64_t b)
{
    return a < b ? a : b;
}

int64_t larger(int64_t a, int64_t b)
{
    return a > b ? a : b;
}

// The tap of a filter, 0 beside it.
double tapAt(const OrvWtFilter& filter, int64_t k)
{
    return k >= 0 && k < filter.length ? filter.taps[k] : 0.0;
}

// Where column x of a row of a subband lies, which may be any address.
uint8_t* floatsAt(const OrvImage& subband, int64_t y, int64_t x)
{
    return subband.imageData + y * subband.widthStep + x * int64_t{sizeof(float)};
}

// Lines of `n` samples with room for their continuation from index `start` to before index `end`.
template <class T>
struct Lines {
    int64_t n, start, end;
    int64_t step;  // from line to line
    OwnScratch<T> block;

    Lines(int count, int64_t length, int64_t from, int64_t to)
        : n(length), start(smaller(from, 0)), end(larger(to, length)), step(end - start), block(count * step)
    {
    }

    // Index 0 of a line.
    T* operator[](int i) { return block.data + i * step - start; }

    void extend(int i)
    {
        T* line = (*this)[i];
        for (int64_t x = -1; x >= start; --x)
            line[x] = line[x + n];
        for (int64_t x = n; x < end; ++x)
            line[x] = line[x - n];
    }
};

// ---- Analysis -------------------------------------------------------------------------------------------------------

// Both filters of the analysis side by side. Step i of a line takes the samples from 2 i + last down to 2 i + first,
// and yields output i of the low-pass filter and output i - shift of the high-pass filter, which is the one that takes
// about the same samples.
struct Analysis {
    int64_t shift;
    int64_t first, last;
    int64_t count;
    OwnScratch<double> taps;  // pairs, low and high

    Analysis(const OrvWtFilter& low, const OrvWtFilter& high)
        : shift(floorDiv2(floorDiv2(2 * int64_t{high.offset} - high.length - 2 * int64_t{low.offset} + low.length))),
          first(smaller(int64_t{low.offset} - low.length, high.offset - 2 * shift - high.length) + 1),
          last(larger(low.offset, high.offset - 2 * shift)),
          count(last - first + 1),
          taps(2 * count)
    {
        if (!taps)
            return;
        for (int64_t k = 0; k < count; ++k) {
            taps[2 * k] = tapAt(low, low.offset - (last - k));
            taps[2 * k + 1] = tapAt(high, high.offset - 2 * shift - (last - k));
        }
    }
};

// Splits a picture. The rows that went through the filters along x wait in a ring for those along y, which take two
// steps at a time where they can: most of their rows are the same.
struct Decomposition {
    const OwnWtKernels& kernels = ownWtKernels();
    const OwnGeometry& src;
    const Analysis& analysis;

    int64_t columns = (int64_t{src.width} + 1) / 2;
    int64_t rows = (int64_t{src.height} + 1) / 2;

    // A row goes through the filters in chunks, whose samples stay in the nearest cache. A chunk of n steps takes n +
    // reach pairs of samples.
    int64_t reach = floorDiv2(analysis.last) - floorDiv2(analysis.first);
    int64_t chunk = larger(256, 4 * reach);
    OwnScratch<uint8_t> edge{2 * (chunk + reach)};    // the pixels of a chunk that goes beyond an end of the row
    OwnScratch<double> samples{2 * (chunk + reach)};  // even, then odd
    OwnScratch<const void*> shifted{analysis.count};  // the samples for each tap

    bool whole = analysis.count + 2 >= 2 * rows;
    int64_t depth = whole ? 2 * rows : analysis.count + 2;  // rows of the ring
    int64_t half = ((columns + 15) & -16) + 16;             // floats of a filtered row and its way to the next
    OwnScratch<float> ring{2 * half * depth};               // low-pass, then high-pass half
    // The halves from the last slot of the ring down, repeated so that a step finds its rows side by side wherever it
    // begins.
    OwnScratch<const void*> lowRows{depth + analysis.count + 2};
    OwnScratch<const void*> highRows{depth + analysis.count + 2};

    bool ready() const { return edge && samples && shifted && ring && lowRows && highRows; }

    void prepare()
    {
        for (int64_t k = 0; k < analysis.count; ++k) {
            int64_t t = analysis.last - k;
            shifted[k] = samples.data + (t & 1) * (chunk + reach) + floorDiv2(t) - floorDiv2(analysis.first);
        }
        for (int64_t k = 0; k < depth + analysis.count + 2; ++k) {
            const float* row = ring.data + 2 * half * (depth - 1 - k % depth);
            lowRows[k] = row;
            highRows[k] = row + half;
        }
    }

    // The slot of a row of the continued picture.
    int64_t slotOf(int64_t y) const { return modulo(whole ? y : y - analysis.first, depth); }

    // Pixels of a row for `pairs` pairs of samples from pair `first` on, wherever they lie. The row goes on
    // periodically, its last pixel doubled where the width is odd.
    const uint8_t* pixelsOf(const uint8_t* row, int64_t first, int64_t pairs)
    {
        if (first >= 0 && 2 * (first + pairs) <= src.width)
            return row + 2 * first;
        int64_t from = modulo(2 * first, 2 * columns);
        for (int64_t done = 0; done < 2 * pairs;) {
            int64_t run = smaller(larger(src.width - from, 1), 2 * pairs - done);
            memcpy(edge.data + done, row + smaller(from, src.width - 1), size_t(run));
            done += run;
            from += run;
            from = from == 2 * columns ? 0 : from;
        }
        return edge.data;
    }

    // Filters row y of the continued picture into its slot. The last row is doubled where the height is odd.
    void filterRow(int64_t y)
    {
        const uint8_t* row = src.start + smaller(modulo(y, 2 * rows), src.height - 1) * src.rowStep;
        float* low = ring.data + 2 * half * slotOf(y);
        for (int64_t x = 0; x < columns; x += chunk) {
            int64_t n = smaller(chunk, columns - x);
            const uint8_t* pixels = pixelsOf(row, x + floorDiv2(analysis.first), n + reach);
            kernels.split(pixels, n + reach, samples.data, samples.data + chunk + reach);
            kernels.filterSamples(shifted.data, analysis.taps.data, analysis.count, low + x, low + half + x, n);
        }
    }

    // Takes `steps` steps, one or two, along columns from..to of one half of the ring, into two subbands from column
    // `out` on.
    void filterColumns(const void* const* window, int64_t i, int steps, int64_t from, int64_t to, const OrvImage& low,
                       const OrvImage& high, int64_t out)
    {
        void* outputs[4];
        for (ptrdiff_t step = 0; step < steps; ++step) {
            outputs[2 * step] = floatsAt(low, i + step, out);
            outputs[2 * step + 1] = floatsAt(high, modulo(i + step - analysis.shift, rows), out);
        }
        (steps == 2 ? kernels.filterRowsTwice : kernels.filterRows)(window, analysis.taps.data, analysis.count, from,
                                                                    outputs, to - from);
    }

    void takeSteps(int64_t i, int steps, OrvImage* const (&subbands)[4])
    {
        int64_t window = depth - 1 - slotOf(2 * (i + steps - 1) + analysis.last);
        filterColumns(lowRows.data + window, i, steps, 0, columns, *subbands[0], *subbands[1], 0);
        // Outputs of the high-pass filter along rows lie `shift` columns before the step.
        int64_t wrap = modulo(analysis.shift, columns);
        filterColumns(highRows.data + window, i, steps, wrap, columns, *subbands[2], *subbands[3], 0);
        filterColumns(highRows.data + window, i, steps, 0, wrap, *subbands[2], *subbands[3], columns - wrap);
    }

    void run(OrvImage* const (&subbands)[4])
    {
        prepare();
        int64_t next = whole ? 0 : analysis.first;  // the next row to filter
        int steps;
        for (int64_t i = 0; i < rows; i += steps) {
            steps = i + 2 <= rows ? 2 : 1;
            int64_t end = whole ? 2 * rows : 2 * (i + steps - 1) + analysis.last + 1;
            for (; next < end; ++next)
                filterRow(next);
            takeSteps(i, steps, subbands);
        }
    }
};

// ---- Synthesis ------------------------------------------------------------------------------------------------------

// Both filters of the synthesis, without the products with the zeros between samples. Step m of a line yields the
// outputs 2 m + phase and the next one; it takes the low-pass samples from m + lowLast down, then the high-pass ones
// from m + highLast down. With the phase that suits the offsets both outputs take the same samples.
struct Synthesis {
    int64_t phase;
    int64_t lowFirst, lowLast;
    int64_t highFirst, highLast;
    int64_t lowCount, count;
    OwnScratch<double> taps;  // pairs, first and second output

    Synthesis(const OrvWtFilter& low, const OrvWtFilter& high)
        : phase(-(low.offset & 1)),
          lowFirst(floorDiv2(phase + low.offset - low.length + 2)),
          lowLast(floorDiv2(phase + 1 + low.offset)),
          highFirst(floorDiv2(phase + high.offset - high.length + 2)),
          highLast(floorDiv2(phase + 1 + high.offset)),
          lowCount(lowLast - lowFirst + 1),
          count(lowCount + highLast - highFirst + 1),
          taps(2 * count)
    {
        if (!taps)
            return;
        for (int64_t k = 0; k < count; ++k) {
            bool isLow = k < lowCount;
            const OrvWtFilter& filter = isLow ? low : high;
            int64_t sample = isLow ? lowLast - k : highLast - (k - lowCount);
            taps[2 * k] = tapAt(filter, phase + filter.offset - 2 * sample);
            taps[2 * k + 1] = tapAt(filter, phase + 1 + filter.offset - 2 * sample);
        }
    }
};

struct Reconstruction {
    const OwnWtKernels& kernels = ownWtKernels();
    const OwnGeometry& dst;
    const Synthesis& synthesis;

    int64_t columns = (int64_t{dst.width} + 1) / 2;
    int64_t rows = (int64_t{dst.height} + 1) / 2;
    int64_t steps = columns - synthesis.phase;  // along a row
    // Two rows of the low-pass half and two of the high-pass half, as the steps along the columns yield them.
    Lines<float> halves{4, columns, smaller(synthesis.lowFirst, synthesis.highFirst),
                        steps + larger(synthesis.lowLast, synthesis.highLast)};
    OwnScratch<float> joined{2 * steps};
    OwnScratch<const void*> window{synthesis.count};

    bool ready() const { return halves.block && joined && window; }

    // Sums rows m + last, ... of `low`, then of `high`, into two lines.
    void mergeRows(const OrvImage& low, const OrvImage& high, int64_t m, float* first, float* second)
    {
        for (int64_t k = 0; k < synthesis.count; ++k) {
            bool isLow = k < synthesis.lowCount;
            int64_t y = m + (isLow ? synthesis.lowLast - k : synthesis.highLast - (k - synthesis.lowCount));
            window[k] = floatsAt(isLow ? low : high, modulo(y, rows), 0);
        }
        void* outputs[2] = {first, second};
        kernels.filterRows(window.data, synthesis.taps.data, synthesis.count, 0, outputs, columns);
    }

    // Merges a low-pass and a high-pass line into row y of the picture.
    void mergeLines(int lowLine, int highLine, int64_t y)
    {
        halves.extend(lowLine);
        halves.extend(highLine);
        for (int64_t k = 0; k < synthesis.count; ++k)
            window[k] = k < synthesis.lowCount ? halves[lowLine] + synthesis.lowLast - k
                                               : halves[highLine] + synthesis.highLast - (k - synthesis.lowCount);
        float* even = joined.data;
        float* odd = joined.data + steps;
        void* outputs[2] = {even, odd};
        kernels.filterRows(window.data, synthesis.taps.data, synthesis.count, 0, outputs, steps);
        uint8_t* pixels = dst.start + y * dst.rowStep;
        if (synthesis.phase == 0)
            kernels.join(even, odd, pixels, dst.width);
        else
            kernels.join(odd, even + 1, pixels, dst.width);
    }

    void run(OrvImage* const (&subbands)[4])
    {
        for (int64_t m = 0; m < rows; ++m) {
            mergeRows(*subbands[0], *subbands[1], m, halves[0], halves[1]);
            mergeRows(*subbands[2], *subbands[3], m, halves[2], halves[3]);
            for (int output = 0; output < 2; ++output) {
                int64_t y = modulo(2 * m + synthesis.phase + output, 2 * rows);
                if (y < dst.height)
                    mergeLines(output, 2 + output, y);
            }
        }
    }
};

}  // namespace

int32_t ORV_CALL orvWtDecompose(const OrvWtKernel* wtKernel, OrvImage* src, OrvImage* approxDst, OrvImage* xDetailDst,
                                OrvImage* yDetailDst, OrvImage* dDetailDst)
{
    constexpr OwnReport report{"orvWtDecompose", source};
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    Images images = {src, {approxDst, xDetailDst, yDetailDst, dDetailDst}};
    OwnGeometry region;
    if (int32_t status = check(report, wtKernel->filtDecLow, wtKernel->filtDecHigh, images, decomposeTexts, region))
        return status;

    Analysis analysis(wtKernel->filtDecLow, wtKernel->filtDecHigh);
    Decomposition decomposition{.src = region, .analysis = analysis};
    if (report.when(!analysis.taps || !decomposition.ready(), ORV_STATUS_NO_MEMORY, "No working memory."))
        return ORV_STATUS_NO_MEMORY;
    decomposition.run(images.subbands);
    return ORV_STATUS_OK;
}

int32_t ORV_CALL orvWtReconstruct(const OrvWtKernel* wtKernel, OrvImage* approxSrc, OrvImage* xDetailSrc,
                                  OrvImage* yDetailSrc, OrvImage* dDetailSrc, OrvImage* dst)
{
    constexpr OwnReport report{"orvWtReconstruct", source};
    orvSetErrStatus(ORV_STATUS_OK);
    if (report.when(!wtKernel, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed."))
        return ORV_STATUS_NULL_POINTER;
    Images images = {dst, {approxSrc, xDetailSrc, yDetailSrc, dDetailSrc}};
    OwnGeometry region;
    if (int32_t status = check(report, wtKernel->filtRecLow, wtKernel->filtRecHigh, images, reconstructTexts, region))
        return status;

    Synthesis synthesis(wtKernel->filtRecLow, wtKernel->filtRecHigh);
    Reconstruction reconstruction{.dst = region, .synthesis = synthesis};
    if (report.when(!synthesis.taps || !reconstruction.ready(), ORV_STATUS_NO_MEMORY, "No working memory."))
        return ORV_STATUS_NO_MEMORY;
    reconstruction.run(images.subbands);
    return ORV_STATUS_OK;
}
