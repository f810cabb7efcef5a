// Wavelet transforms.
//
//   orvWtDecompose     splits an image into four subbands
//   orvWtReconstruct   merges four subbands
//
// Both work on lines that are split into even and odd samples and pair the outputs of two filters (see ownwt.h). Lines
// carry their periodic continuation on both sides, as far as the filters reach. Of the rows between the two directions only
// as many are kept as the filters span, in a ring; an image that is lower than that is kept as a whole.
#include <cstring>

#include "../core/ownscratch.h"
#include "ownwt.h"
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

// The picture's region, cut at its edges.
struct Region {
    int64_t x, y, width, height;
};

int32_t checkHeader(const OwnReport& report, OrvImage* image, const char* incorrect, const char* tiled)
{
    if (orvCheckImageHeader(image) != ORV_STATUS_OK)
        return ownWtFail(report, orvGetErrStatus(), incorrect);
    if (image->tileInfo)
        return ownWtFail(report, ORV_STATUS_BAD_ARG, tiled);
    return ORV_STATUS_OK;
}

int32_t checkHeaders(const OwnReport& report, const Images& images, const Texts& texts)
{
    if (int32_t status = checkHeader(report, images.whole, texts.whole.incorrect, texts.whole.tiled))
        return status;
    for (int i = 0; i < 4; ++i)
        if (int32_t status =
                checkHeader(report, images.subbands[i], texts.subbands[i].incorrect, texts.subbands[i].tiled))
            return status;
    for (int i = 0; i < 4; ++i)
        if (images.subbands[i]->roi)
            return ownWtFail(report, ORV_STATUS_BAD_ROI_SIZE, texts.subbands[i].roi);
    if (images.whole->depth != ORV_DEPTH_8U)
        return ownWtFail(report, ORV_STATUS_BAD_DEPTH, texts.whole.depth);
    for (int i = 0; i < 4; ++i)
        if (images.subbands[i]->depth != ORV_DEPTH_32F)
            return ownWtFail(report, ORV_STATUS_BAD_DEPTH, texts.subbands[i].depth);
    if (images.whole->nChannels != 1)
        return ownWtFail(report, ORV_STATUS_BAD_CHANNELS, texts.whole.channels);
    for (int i = 0; i < 4; ++i)
        if (images.subbands[i]->nChannels != 1)
            return ownWtFail(report, ORV_STATUS_BAD_CHANNELS, texts.subbands[i].channels);
    return ORV_STATUS_OK;
}

int32_t findRegion(const OwnReport& report, const OrvImage& image, const WholeTexts& texts, Region& region)
{
    region = {0, 0, image.width, image.height};
    const OrvROI* roi = image.roi;
    if (!roi)
        return ORV_STATUS_OK;
    if (roi->xOffset >= image.width)
        return ownWtFail(report, ORV_STATUS_BAD_ROI_SIZE, texts.xOffset);
    if (roi->yOffset >= image.height)
        return ownWtFail(report, ORV_STATUS_BAD_ROI_SIZE, texts.yOffset);
    region.x = roi->xOffset;
    region.y = roi->yOffset;
    region.width = roi->width < image.width - roi->xOffset ? roi->width : image.width - roi->xOffset;
    region.height = roi->height < image.height - roi->yOffset ? roi->height : image.height - roi->yOffset;
    return ORV_STATUS_OK;
}

int32_t checkSizes(const OwnReport& report, const Images& images, const Texts& texts, const Region& region)
{
    bool oddWidth = region.width % 2 != 0;
    bool oddHeight = region.height % 2 != 0;
    for (int i = 0; i < 4; ++i) {
        const SubbandTexts& names = texts.subbands[i];
        if (images.subbands[i]->width != (region.width + 1) / 2)
            return ownWtFail(report, ORV_STATUS_BAD_IMAGE_SIZE, oddWidth ? names.oddWidth : names.evenWidth);
        if (images.subbands[i]->height != (region.height + 1) / 2)
            return ownWtFail(report, ORV_STATUS_BAD_IMAGE_SIZE, oddHeight ? names.oddHeight : names.evenHeight);
    }
    for (int i = 1; i < 4; ++i)
        if (images.subbands[i]->widthStep != images.subbands[0]->widthStep)
            return ownWtFail(report, ORV_STATUS_BAD_WIDTH_STEP, "Not equal decomposed images widthStep values.");
    return ORV_STATUS_OK;
}

// All checks of a call but that of the kernel's pointer. The status of the first failure, which has been reported.
int32_t check(const OwnReport& report, const OrvWtFilter& low, const OrvWtFilter& high, const Images& images,
              const Texts& texts, Region& region)
{
    if (int32_t status = ownWtCheckFilter(report, low, texts.low))
        return status;
    if (int32_t status = ownWtCheckFilter(report, high, texts.high))
        return status;
    if (int32_t status = checkHeaders(report, images, texts))
        return status;
    if (int32_t status = findRegion(report, *images.whole, texts.whole, region))
        return status;
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

template <class T>
T* rowOf(const OrvImage& image, int64_t y)
{
    return reinterpret_cast<T*>(image.imageData + y * image.widthStep);
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

// Both filters of the analysis side by side. Step i of a line takes the samples from 2 i + last down to 2 i + first, and
// yields output i of the low-pass filter and output i - shift of the high-pass filter, which is the one that takes about
// the same samples.
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

// The filtered rows of a picture while columns are filtered: a ring of rows, low-pass and high-pass.
struct Decomposition {
    const OwnWtKernels& kernels = ownWtKernels();
    const OrvImage& src;
    Region region;
    const Analysis& analysis;

    int64_t columns = (region.width + 1) / 2;
    int64_t rows = (region.height + 1) / 2;
    // Steps along a row for which one of the two filters has an output.
    int64_t firstStep = smaller(0, analysis.shift);
    int64_t steps = (columns + larger(0, analysis.shift) - firstStep + 23) / 24 * 24;
    // A row goes through the filters in chunks, whose samples stay in the nearest cache. A chunk of n steps takes
    // n + reach pairs of samples.
    int64_t reach = floorDiv2(analysis.last) - floorDiv2(analysis.first);
    int64_t chunk = larger(240, 4 * reach);
    int64_t firstPair = firstStep + floorDiv2(analysis.first);
    Lines<uint8_t> pixels{1, 2 * columns, 2 * firstPair, 2 * (firstPair + steps + reach)};
    OwnScratch<double> samples{2 * (chunk + reach)};    // even, then odd
    OwnScratch<const double*> shifted{analysis.count};  // the samples of a chunk for each tap

    bool whole = analysis.count >= 2 * rows;
    int64_t depth = whole ? 2 * rows : analysis.count;
    int64_t stride = ((steps + 7) & -8) + 8;  // floats of a filtered row
    OwnScratch<float> ring{2 * stride * depth};
    OwnScratch<const float*> window{2 * analysis.count};  // low-pass rows, then high-pass rows

    bool ready() const { return pixels.block && samples && shifted && ring && window; }

    void prepare()
    {
        for (int64_t k = 0; k < analysis.count; ++k) {
            int64_t t = analysis.last - k;
            shifted[k] = samples.data + (t & 1) * (chunk + reach) + floorDiv2(t) - floorDiv2(analysis.first);
        }
    }

    // Filters source row y, with the last row doubled where the height is odd, into a slot of the ring.
    void filterRow(int64_t y, int64_t slot)
    {
        uint8_t* line = pixels[0];
        memcpy(line, rowOf<uint8_t>(src, region.y + smaller(y, region.height - 1)) + region.x, size_t(region.width));
        if (region.width % 2)
            line[region.width] = line[region.width - 1];
        pixels.extend(0);
        line += 2 * firstPair;
        float* low = ring.data + 2 * stride * slot;
        for (int64_t x = 0; x < steps; x += chunk) {
            int64_t n = smaller(chunk, steps - x);
            kernels.split(line + 2 * x, n + reach, samples.data, samples.data + chunk + reach);
            kernels.sumDoubles(shifted.data, analysis.taps.data, analysis.count, low + x, low + stride + x, n);
        }
    }

    // The slot of a row of the continued picture.
    int64_t slotOf(int64_t y) const { return modulo(whole ? y : y - analysis.first, depth); }

    // Lists the rows that step i along the columns takes.
    void findWindow(int64_t i)
    {
        int64_t slot = slotOf(2 * i + analysis.last);
        for (int64_t k = 0; k < analysis.count; ++k) {
            const float* row = ring.data + 2 * stride * slot - firstStep;
            window[k] = row;
            window[analysis.count + k] = row + stride + analysis.shift;
            slot = slot == 0 ? depth - 1 : slot - 1;
        }
    }

    void run(OrvImage* const (&subbands)[4])
    {
        prepare();
        int64_t next = whole ? 0 : analysis.first;  // the next row to filter
        for (int64_t i = 0; i < rows; ++i) {
            int64_t end = whole ? 2 * rows : 2 * i + analysis.last + 1;
            for (; next < end; ++next)
                filterRow(modulo(next, 2 * rows), slotOf(next));
            findWindow(i);
            int64_t high = modulo(i - analysis.shift, rows);
            kernels.sumFloats(window.data, analysis.taps.data, analysis.count, rowOf<float>(*subbands[0], i),
                              rowOf<float>(*subbands[1], high), columns);
            kernels.sumFloats(window.data + analysis.count, analysis.taps.data, analysis.count,
                              rowOf<float>(*subbands[2], i), rowOf<float>(*subbands[3], high), columns);
        }
    }
};

// ---- Synthesis ------------------------------------------------------------------------------------------------------

// Both filters of the synthesis, without the products with the zeros between samples. Step m of a line yields the outputs
// 2 m + phase and the next one; it takes the low-pass samples from m + lowLast down, then the high-pass ones from
// m + highLast down. With the phase that suits the offsets both outputs take the same samples.
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
    const OrvImage& dst;
    Region region;
    const Synthesis& synthesis;

    int64_t columns = (region.width + 1) / 2;
    int64_t rows = (region.height + 1) / 2;
    int64_t steps = columns - synthesis.phase;  // along a row
    // Two rows of the low-pass half and two of the high-pass half, as the steps along the columns yield them.
    Lines<float> halves{4, columns, smaller(synthesis.lowFirst, synthesis.highFirst),
                        steps + larger(synthesis.lowLast, synthesis.highLast)};
    OwnScratch<float> joined{2 * steps};
    OwnScratch<const float*> window{synthesis.count};

    bool ready() const { return halves.block && joined && window; }

    // Sums rows m + last, ... of `low`, then of `high`, into two lines.
    void mergeRows(const OrvImage& low, const OrvImage& high, int64_t m, float* first, float* second)
    {
        for (int64_t k = 0; k < synthesis.count; ++k) {
            bool isLow = k < synthesis.lowCount;
            int64_t y = m + (isLow ? synthesis.lowLast - k : synthesis.highLast - (k - synthesis.lowCount));
            window[k] = rowOf<const float>(isLow ? low : high, modulo(y, rows));
        }
        kernels.sumFloats(window.data, synthesis.taps.data, synthesis.count, first, second, columns);
    }

    // Merges a low-pass and a high-pass line into row y of the picture.
    void mergeLines(int lowLine, int highLine, int64_t y)
    {
        halves.extend(lowLine);
        halves.extend(highLine);
        for (int64_t k = 0; k < synthesis.count; ++k)
            window[k] = k < synthesis.lowCount ? halves[lowLine] + synthesis.lowLast - k
                                               : halves[highLine] + synthesis.highLast - (k - synthesis.lowCount);
        float* first = joined.data;
        float* second = joined.data + steps;
        kernels.sumFloats(window.data, synthesis.taps.data, synthesis.count, first, second, steps);
        uint8_t* pixels = rowOf<uint8_t>(dst, region.y + y) + region.x;
        if (synthesis.phase == 0)
            kernels.join(first, second, pixels, region.width);
        else
            kernels.join(second, first + 1, pixels, region.width);
    }

    void run(OrvImage* const (&subbands)[4])
    {
        for (int64_t m = 0; m < rows; ++m) {
            mergeRows(*subbands[0], *subbands[1], m, halves[0], halves[1]);
            mergeRows(*subbands[2], *subbands[3], m, halves[2], halves[3]);
            for (int output = 0; output < 2; ++output) {
                int64_t y = modulo(2 * m + synthesis.phase + output, 2 * rows);
                if (y < region.height)
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
    if (!wtKernel)
        return ownWtFail(report, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed.");
    Images images = {src, {approxDst, xDetailDst, yDetailDst, dDetailDst}};
    Region region;
    if (int32_t status = check(report, wtKernel->filtDecLow, wtKernel->filtDecHigh, images, decomposeTexts, region))
        return status;

    Analysis analysis(wtKernel->filtDecLow, wtKernel->filtDecHigh);
    Decomposition decomposition{.src = *src, .region = region, .analysis = analysis};
    if (!analysis.taps || !decomposition.ready())
        return ownWtFail(report, ORV_STATUS_NO_MEMORY, "No working memory.");
    decomposition.run(images.subbands);
    return ORV_STATUS_OK;
}

int32_t ORV_CALL orvWtReconstruct(const OrvWtKernel* wtKernel, OrvImage* approxSrc, OrvImage* xDetailSrc,
                                  OrvImage* yDetailSrc, OrvImage* dDetailSrc, OrvImage* dst)
{
    constexpr OwnReport report{"orvWtReconstruct", source};
    orvSetErrStatus(ORV_STATUS_OK);
    if (!wtKernel)
        return ownWtFail(report, ORV_STATUS_NULL_POINTER, "Null pointer by wtKernel was passed.");
    Images images = {dst, {approxSrc, xDetailSrc, yDetailSrc, dDetailSrc}};
    Region region;
    if (int32_t status = check(report, wtKernel->filtRecLow, wtKernel->filtRecHigh, images, reconstructTexts, region))
        return status;

    Synthesis synthesis(wtKernel->filtRecLow, wtKernel->filtRecHigh);
    Reconstruction reconstruction{.dst = *dst, .region = region, .synthesis = synthesis};
    if (!synthesis.taps || !reconstruction.ready())
        return ownWtFail(report, ORV_STATUS_NO_MEMORY, "No working memory.");
    reconstruction.run(images.subbands);
    return ORV_STATUS_OK;
}
