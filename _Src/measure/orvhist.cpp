// Histograms, and contrast by tables made of them.
//
//   orvComputeHisto      counts the pixels of each of a table's intervals
//   orvContrastStretch   maps pixels by a table's intervals
//   orvHistoEqualize     maps pixels so that a table's counts spread evenly
#include <cstring>

#include "../core/ownread.h"
#include "../core/ownreport.h"
#include "../core/ownscratch.h"
#include "../core/ownwalk.h"
#include "kernels/ownhist.h"
#include "kernels/ownnorm.h"
#include "orv/measure.h"
#include "ownmap.h"

namespace {

constexpr const char* source = "orvhist";

bool failedBefore()
{
    return orvGetErrStatus() < 0;
}

bool isAlphaAlone(const OrvImage& image)
{
    return !image.roi && image.alphaChannel && image.nChannels == 1;
}

// True if the tables of all processed channels can be read.
bool checkTables(const OwnReport& report, const OwnChannels& channels, OrvLUT* const* lut, int32_t histSize)
{
    for (int32_t k = channels.first; k < channels.first + channels.count; ++k) {
        if (report.when(!lut[k], ORV_STATUS_BAD_ARG, "lut[k]==0"))
            return false;
        const OrvLUT& table = *lut[k];
        if (report.when(!table.key, ORV_STATUS_BAD_ARG, "lut[k]->key==0"))
            return false;
        if (report.when(!table.value, ORV_STATUS_BAD_ARG, "lut[k]->value==0"))
            return false;
        if (report.when(table.num < 2, ORV_STATUS_BAD_ARG, "lut[k]->num < 2"))
            return false;
        if (report.when(table.key[0] < 0, ORV_STATUS_BAD_ARG, "lut[k]->key[0] < 0"))
            return false;
        if (report.when(table.key[table.num - 1] > histSize, ORV_STATUS_BAD_ARG,
                        "lut[k]->key[lut[k]->num-1] > histSize"))
            return false;
        bool ascends = true;
        for (int32_t i = 0; ascends && i < table.num - 1; ++i)
            ascends = table.key[i] <= table.key[i + 1];
        if (report.when(!ascends, ORV_STATUS_BAD_ARG, "lut[k]->key[i] > lut[k]->key[i+1]"))
            return false;
    }
    return true;
}

// ---- orvComputeHisto ----------------------------------------------------------------------------------------------

void countBits(void* state, const OwnReadRows& rows)
{
    ownNormKernels().one[OWN_NORM_L1][OWN_1U](*static_cast<OwnNormSum*>(state), rows);
}

int64_t setBits(const OwnGeometry& image, const OwnGeometry* mask)
{
    OwnNormSum sum;
    ownReadPixels({countBits, &sum}, ORV_DEPTH_1U, &image, 1, mask);
    return int64_t(sum.sum);
}

void countRows(void* state, const OwnReadRows& rows)
{
    auto& histogram = *static_cast<OwnHistogram*>(state);
    const OwnHistKernels& kernels = ownHistKernels();
    (histogram.bins == 256 ? kernels.count8 : kernels.count16)(histogram, rows);
}

void countPlain(OwnHistogram& histogram, const OrvImage& image, const OrvImage* mask)
{
    OwnGeometry geometry, under;
    ownPlaneGeometry(image, geometry);
    if (mask) {
        under = ownMaskStart(*mask);
        geometry.width = ownMin(geometry.width, under.width);
        geometry.height = ownMin(geometry.height, under.height);
        under.width = geometry.width;
        under.height = geometry.height;
    }
    int64_t area = int64_t{geometry.width} * geometry.height;
    int64_t unselected = mask ? area - setBits(under, nullptr) : 0;
    if (image.depth == ORV_DEPTH_1U) {
        int64_t set = setBits(geometry, mask ? &under : nullptr);
        histogram.counts[0] += uint32_t(area - set);
        histogram.counts[1] += uint32_t(set);
    } else {
        ownReadPixels({countRows, &histogram}, image.depth, &geometry, 1, mask ? &under : nullptr);
    }
    // What the mask leaves out has come as 0.
    for (int32_t channel = 0; channel < histogram.channels; ++channel)
        *histogram.tableOf(channel) -= uint32_t(unselected);
}

// False after a report.
bool countTiles(const OwnReport& report, OwnHistogram& histogram, OrvImage* image, OwnSize size)
{
    return ownGridWalk(*image, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, ORV_TILE_READ);
        if (report.when(!tile, ORV_STATUS_ERROR, "Error get tile to read"))
            return false;
        OwnWork work, maskWork;
        ownShowLeadingCell(work, *image, cell, tile);
        if (image->maskROI)
            ownShowCell(maskWork, *image->maskROI, cell);
        countPlain(histogram, work.image, image->maskROI ? &maskWork.image : nullptr);
        ownReleaseTile(image, cell.column, cell.row);
        return true;
    });
}

// Brings a channel's tables together in the first.
const uint32_t* channelCounts(const OwnHistogram& histogram, int32_t channel)
{
    uint32_t* counts = histogram.tableOf(channel);
    for (int32_t table = 1; table < histogram.tables; ++table)
        for (int32_t i = 0; i < histogram.bins; ++i)
            counts[i] += histogram.tableOf(channel, table)[i];
    return counts;
}

void sumIntervals(OrvLUT& table, const uint32_t* counts)
{
    for (int32_t j = 0; j < table.num - 1; ++j) {
        uint32_t sum = 0;
        for (int32_t i = table.key[j]; i < table.key[j + 1]; ++i)
            sum += counts[i];
        table.value[j] = int32_t(sum);
    }
    table.interpolateType = 0;
}

// ---- Maps ---------------------------------------------------------------------------------------------------------

// The slope of an interval; a table without slopes is flat.
uint32_t slopeOf(const OrvLUT& table, int32_t interval)
{
    return table.interpolateType && table.factor ? uint32_t(table.factor[interval]) : 0;
}

// Values outside the keys stay. The first of several equal keys counts, and none after them is met any more.
template <class T>
void stretchMap(const OrvLUT& table, T* map, int32_t size)
{
    for (int32_t i = 0; i < size; ++i)
        map[i] = T(i);
    int32_t interval = -1;
    uint32_t start = 0;
    for (int32_t i = table.key[0]; i < size; ++i) {
        if (i == table.key[interval + 1]) {
            if (++interval == table.num - 1)
                return;
            start = uint32_t(i);
        }
        map[i] = T(uint32_t(table.value[interval]) + (uint32_t(i) - start) * slopeOf(table, interval));
    }
}

// Spreads the intervals' counts over their bins and sums them up.
void cumulate(const OrvLUT& table, uint32_t* counts, int32_t size)
{
    memset(counts, 0, size_t(size) * sizeof *counts);
    for (int32_t j = 1; j < table.num; ++j) {
        const int32_t begin = table.key[j - 1], end = table.key[j], count = table.value[j - 1];
        if (begin == end)
            continue;
        for (int32_t i = begin; i < end; ++i)
            counts[i] = uint32_t(count / (end - begin));
        counts[end - 1] += uint32_t(count % (end - begin));
    }
    for (int32_t i = 1; i < size; ++i)
        counts[i] += counts[i - 1];
}

void equalMap(const uint32_t* cumulated, uint8_t* map, int32_t size)
{
    for (int32_t i = 0; i < size; ++i)
        map[i] = uint8_t(255 * cumulated[i] / cumulated[size - 1]);
}

void equalMap(const uint32_t* cumulated, uint16_t* map, int32_t size)
{
    const double scale = 65535.0 / cumulated[size - 1];
    for (int32_t i = 0; i < size; ++i)
        map[i] = uint16_t(int32_t(cumulated[i] * scale));
}

// The checks that both maps have before their tables. Several faults of a call are all reported, and the stored status
// ends it; what memory depends on ends it whatever the report handler does.
bool checkImages(const OwnReport& report, OrvImage* src, OrvImage* dst, OrvLUT** lut)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    bool differ = report.when(src->depth != dst->depth, ORV_STATUS_BAD_ARG, "srcImage->depth != dstImage->depth");
    report.when(src->origin != dst->origin, ORV_STATUS_BAD_ARG, "srcImage->origin != dstImage->origin");
    bool ordered = src->depth != ORV_DEPTH_1U && (src->nChannels != 1 || dst->nChannels != 1);
    report.when(ordered && src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_ARG,
                "srcImage->dataOrder != dstImage->dataOrder");
    bool refused = report.when(src->depth != ORV_DEPTH_8U && src->depth != ORV_DEPTH_16U, ORV_STATUS_BAD_ARG,
                               "srcImage->depth != ORV_DEPTH_8U && srcImage->depth != ORV_DEPTH_16U");
    bool missing = report.when(!lut, ORV_STATUS_BAD_ARG, "lut==0");
    return !failedBefore() && !differ && !refused && !missing;
}

// What both maps have in common: make(table, map, size) fills one channel's map and answers false after a report.
template <class Make>
void runMaps(const OwnReport& report, OrvImage* src, OrvImage* dst, OrvLUT** lut, Make make)
{
    if (!checkImages(report, src, dst, lut) || isAlphaAlone(*src) || isAlphaAlone(*dst))
        return;
    OwnChannels channels = ownChannels(*src);
    if (report.when(channels.count != ownChannels(*dst).count, ORV_STATUS_BAD_ARG,
                    "Number of processed channels of srcImage != Number of processed channels of dstImage"))
        return;
    int32_t size = 1 << src->depth;
    if (!checkTables(report, channels, lut, size))
        return;
    int64_t bytes = ownValueBytes(src->depth);
    OwnScratch<uint8_t> maps(ownMax(channels.count, 1) * bytes * size);
    if (report.when(!maps, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return;
    for (int32_t k = 0; k < channels.count; ++k)
        if (!make(*lut[channels.first + k], maps.data + k * bytes * size, size))
            return;
    ownMap(src, dst, maps.data);
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

}  // namespace

void ORV_CALL orvComputeHisto(OrvImage* srcImage, OrvLUT** lut)
{
    constexpr OwnReport report{"orvComputeHisto", source};
    if (!report.goodImage(srcImage))
        return;
    bool missing = report.when(!lut, ORV_STATUS_BAD_ARG, "lut==0");
    bool refused =
        report.when((srcImage->depth & ORV_DEPTH_SIGN) || srcImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "(srcImage->depth & ORV_DEPTH_SIGN) || (srcImage->depth == ORV_DEPTH_32F)");
    if (failedBefore() || missing || refused || isAlphaAlone(*srcImage))
        return;
    OwnChannels channels = ownChannels(*srcImage);
    bool isByte = srcImage->depth == ORV_DEPTH_8U, isBit = srcImage->depth == ORV_DEPTH_1U;
    OwnHistogram histogram = {nullptr, isBit ? 2 : isByte ? 256 : 65536, isByte ? ownHistTables : 1, channels.count};
    if (!checkTables(report, channels, lut, histogram.bins))
        return;
    int64_t counters = int64_t{ownHistTableStep(histogram.bins)} * histogram.tables * ownMax(channels.count, 1);
    OwnScratch<uint32_t> counts(counters);
    if (report.when(!counts, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return;
    memset(counts.data, 0, size_t(counters) * sizeof(uint32_t));
    histogram.counts = counts.data;

    OwnSize size;
    const OrvImage* mask = srcImage->maskROI;
    if (ownCommonSize(*srcImage, mask ? *mask : *srcImage, nullptr, true, size)) {
        if (srcImage->tileInfo)
            countTiles(report, histogram, srcImage, size);
        else
            countPlain(histogram, *srcImage, mask);
    }
    if (report.when(failedBefore(), ORV_STATUS_BACKTRACE, ""))
        return;
    for (int32_t k = 0; k < channels.count; ++k)
        sumIntervals(*lut[channels.first + k], channelCounts(histogram, k));
}

void ORV_CALL orvContrastStretch(OrvImage* srcImage, OrvImage* dstImage, OrvLUT** lut)
{
    constexpr OwnReport report{"orvContrastStretch", source};
    runMaps(report, srcImage, dstImage, lut, [](const OrvLUT& table, uint8_t* map, int32_t size) {
        if (size == 256)
            stretchMap(table, map, size);
        else
            stretchMap(table, reinterpret_cast<uint16_t*>(map), size);
        return true;
    });
}

void ORV_CALL orvHistoEqualize(OrvImage* srcImage, OrvImage* dstImage, OrvLUT** lut)
{
    constexpr OwnReport report{"orvHistoEqualize", source};
    OwnScratch<uint32_t> cumulated(65536);
    runMaps(report, srcImage, dstImage, lut, [&](const OrvLUT& table, uint8_t* map, int32_t size) {
        if (report.when(!cumulated, ORV_STATUS_NO_MEMORY, "Out of memory"))
            return false;
        cumulate(table, cumulated.data, size);
        if (report.when(cumulated[size - 1] == 0, ORV_STATUS_INTERNAL, "All values in histogram are zeroes"))
            return false;
        if (size == 256)
            equalMap(cumulated.data, map, size);
        else
            equalMap(cumulated.data, reinterpret_cast<uint16_t*>(map), size);
        return true;
    });
}
