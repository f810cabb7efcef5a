// Two-dimensional convolution of a rectangle of plain memory: rows of samples, sums, totals, results.
#include "../core/ownlines.h"
#include "owncnv2d.h"

namespace {

// Rows of results that are made together, since sums of pairs are.
constexpr int rowsTogether = 2;
// Values of a row that pass through all stages before the next.
constexpr ptrdiff_t blockValues = 1024;
class Pass {
public:
    Pass(const OwnConvPlan& convPlan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
        : plan(convPlan),
          depth(ownDepthIndex(convPlan.depth)),
          lines(src, dst, mask, plan.reach, 2, rowsTogether),
          values(lines.values(lines.width())),
          sourceValues(lines.values(int64_t{lines.width()} + plan.reach.left + plan.reach.right)),
          windowRows(int64_t{plan.reach.top} + plan.reach.bottom + 1),
          pairBytes(plan.stages[0].sums == OwnConvSums::bytes ? 2 : 4),
          pairs(plan.usesPairs ? ownPairRows(windowRows) : 0, (sourceValues + ownReadAhead) * pairBytes),
          reals(plan.usesReals ? windowRows + 1 : 0, sourceValues + ownReadAhead),
          pairTaps(plan.mostPairs),
          realTaps(plan.mostReals),
          blocks(int64_t{purposes} * rowsTogether)
    {
    }

    bool run()
    {
        if (!lines || !pairs || !reals || !pairTaps || !realTaps || !blocks)
            return false;
        for (int32_t pass = 0; pass < lines.passes(); ++pass) {
            lines.begin(pass);
            pairsDone = realsDone = 0;
            for (int32_t y = 0; y < lines.height(); y += rows) {
                rows = ownMin(rowsTogether, lines.height() - y);
                convolveRows(y);
                lines.store(y, rows);
            }
        }
        return true;
    }

private:
    const OwnConvKernels& kernels = ownConvKernels();
    const OwnConvPlan& plan;
    OwnDepthIndex depth;
    OwnLines lines;
    ptrdiff_t values, sourceValues;
    int64_t windowRows;
    int pairBytes;
    OwnRing<uint8_t> pairs;
    OwnRing<double> reals;
    OwnScratch<OwnPairTap> pairTaps;
    OwnScratch<OwnRealTap> realTaps;
    int64_t pairsDone = 0, realsDone = 0;  // rows of the rings, from the first of the rectangle's first window on
    int32_t rows = 0;                      // now
    uint8_t* targets[rowsTogether] = {};

    // Blocks of integers or floats.
    struct Block {
        int32_t values[blockValues];
    };
    enum Purpose { sums, highSums, totals, unused, purposes };
    OwnScratch<Block> blocks;
    int32_t* block(Purpose purpose, int row) { return blocks[purpose * rowsTogether + row].values; }
    float* reals32(Purpose purpose, int row) { return reinterpret_cast<float*>(block(purpose, row)); }

    // A row of samples, counted as the rings' rows. Behind the last, which is asked for only to fill a pair, it is the
    // last.
    const void* sampleRow(int64_t index, int slot)
    {
        int64_t last = windowRows + lines.height() - 2;
        return lines.source((index < last ? index : last) - plan.reach.top, slot);
    }

    // Brings the rows into the rings that the windows of row y and the next meet.
    void fillRings(int32_t y)
    {
        for (; plan.usesPairs && pairsDone < y / 2 + pairs.rows; ++pairsDone) {
            const void* upper = sampleRow(2 * pairsDone, 0);
            auto* pair = pairBytes == 2 ? kernels.bytePairs : kernels.pairs[depth];
            pair(upper, sampleRow(2 * pairsDone + 1, 1), pairs.row(pairsDone), sourceValues);
        }
        for (; plan.usesReals && realsDone < y + reals.rows; ++realsDone)
            kernels.reals[depth](sampleRow(realsDone, 0), reals.row(realsDone), sourceValues);
    }

    void convolveRows(int32_t y)
    {
        fillRings(y);
        for (int row = 0; row < rows; ++row)
            targets[row] = static_cast<uint8_t*>(lines.target(y + row, row));
        for (ptrdiff_t at = 0; at < values; at += blockValues)
            convolveBlock(y, at, values - at < blockValues ? values - at : blockValues);
    }

    void convolveBlock(int32_t y, ptrdiff_t at, ptrdiff_t n)
    {
        const OwnConvStage& only = plan.stages[0];
        bool isCopy = plan.count == 1 && only.fold == OWN_FOLD_COPY;
        if (isCopy && (only.sums == OwnConvSums::bytes || only.sums == OwnConvSums::integer)) {
            auto* sum = only.sums == OwnConvSums::bytes ? kernels.byteResults[depth] : kernels.pairResults[depth];
            void* second = rows == 2 ? target(1, at) : block(unused, 0);
            return sumPairs(sum, only, only.pairs, only.pairCount, y, at, n, target(0, at), second);
        }
        if (isCopy && depth == OWN_32F) {
            for (int row = 0; row < rows; ++row)
                sumReals(only, y + row, at, n, target(row, at));
            return;
        }
        for (int32_t i = 0; i < plan.count; ++i) {
            sumBlock(plan.stages[i], y, at, n);
            for (int row = 0; row < rows; ++row)
                foldOf(plan.stages[i])(block(sums, row), plan.stages[i].shift, block(totals, row), n);
        }
        for (int row = 0; row < rows; ++row)
            storeTotals(block(totals, row), target(row, at), n);
    }

    void* target(int row, ptrdiff_t at) { return targets[row] + at * ownMax(ownValueBytes(plan.depth), 1); }

    OwnFoldRow foldOf(const OwnConvStage& stage) const
    {
        const OwnFoldRows& folds = !plan.realTotals                     ? kernels.foldIntegers
                                   : stage.sums == OwnConvSums::integer ? kernels.foldIntegersToReals
                                                                        : kernels.foldReals;
        return folds.by[stage.fold];
    }

    void sumPairs(void (*kernel)(const OwnPairSums&), const OwnConvStage& stage, const OwnPairPlace* places,
                  ptrdiff_t count, int32_t y, ptrdiff_t at, ptrdiff_t n, void* first, void* second)
    {
        const auto window = pairs.window(y / 2);
        for (ptrdiff_t i = 0; i < count; ++i) {
            const OwnPairPlace& place = places[i];
            pairTaps[i] = {
                window.row(place.row) + (ptrdiff_t{place.column} * lines.step() + at) * pairBytes,
                {ownPackedWeights(place.weights[0], pairBytes), ownPackedWeights(place.weights[1], pairBytes)}};
        }
        int32_t start = places == stage.pairs ? stage.start : 0;
        kernel({pairTaps.data, count, start, stage.shift, stage.under, n, {first, second}});
    }

    void sumReals(const OwnConvStage& stage, int32_t y, ptrdiff_t at, ptrdiff_t n, void* result)
    {
        const auto window = reals.window(y);
        for (ptrdiff_t i = 0; i < stage.realCount; ++i) {
            const OwnRealPlace& place = stage.reals[i];
            const double* samples = window.row(place.row) + (ptrdiff_t{place.column} * lines.step() + at);
            realTaps[i] = {samples, place.weight, place.rounds};
        }
        auto* kernel = stage.sums == OwnConvSums::exact ? kernels.exactSums : kernels.realSums;
        kernel({realTaps.data, stage.realCount, n, result});
    }

    void sumBlock(const OwnConvStage& stage, int32_t y, ptrdiff_t at, ptrdiff_t n)
    {
        if (stage.sums == OwnConvSums::integer || stage.sums == OwnConvSums::wrapped)
            sumPairs(kernels.pairSums, stage, stage.pairs, stage.pairCount, y, at, n, block(sums, 0), block(sums, 1));
        if (stage.sums == OwnConvSums::wrapped)
            sumPairs(kernels.pairSums, stage, stage.highPairs, stage.highCount, y, at, n, block(highSums, 0),
                     block(highSums, 1));
        if (stage.sums == OwnConvSums::integer)
            return;
        for (int row = 0; row < rows; ++row) {
            if (stage.sums == OwnConvSums::wrapped)
                kernels.addHigh(block(highSums, row), block(sums, row), n);
            else
                sumReals(stage, y + row, at, n, block(sums, row));
            if (stage.shifts)
                kernels.shiftReals(reals32(sums, row), stage.shift, n);
        }
    }

    void storeTotals(int32_t* total, void* result, ptrdiff_t n)
    {
        if (plan.roots && plan.realTotals)
            kernels.rootReals(reinterpret_cast<float*>(total), n);
        else if (plan.roots)
            kernels.rootIntegers(total, n);
        (plan.realTotals ? kernels.storeReals : kernels.storeIntegers)[depth](total, result, n);
    }
};

}  // namespace

bool ownConvolvePiece(void* plan, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    return Pass(*static_cast<const OwnConvPlan*>(plan), src, dst, mask).run();
}
