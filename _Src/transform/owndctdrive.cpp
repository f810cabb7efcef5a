// The cosine transform of one channel after another: rows go from the source into a work image, columns from there to
// the destination, in groups of as many lines as a block of the Fourier transform has lanes.
#include "owndctdrive.h"

#include "../core/ownregion.h"
#include "kernels/ownfft.h"
#include "ownlinegroups.h"

namespace {

const OwnFftRow<float>& rowsOf(OwnDepthIndex depth)
{
    return ownFftKernels().floating.rows[depth];
}

// One channel of an image.
OwnGeometry channelOf(const OwnGeometry& image, OwnDepthIndex depth, int32_t channel)
{
    OwnGeometry one = image;
    one.start = ownChannelStart(image, channel, int(rowsOf(depth).bytes));
    return one;
}

// The conversion of its rows; NULL where they hold floats side by side.
const OwnFftRow<float>* conversionOf(const OwnGeometry& image, OwnDepthIndex depth)
{
    return depth == OWN_32F && image.pixelStep == 1 ? nullptr : &rowsOf(depth);
}

// How lines of one length are transformed.
struct LineKit {
    const OwnFftBlocks<float>* blocks;
    const OwnFourierLines<float>* fourier;
    const OwnDctLines* cosine;
    const OwnDctLength* table;
    bool inverse;

    LineKit(const OwnDctLength& length, int32_t count, bool isInverse) : table(&length), inverse(isInverse)
    {
        const OwnFftBlocks<float>* all = ownFftKernels().floating.blocks;
        OwnLanes lanes = ownLanesFor(count, all[OWN_VECTOR_LANES].realLanes, length.fourier->length);
        blocks = all + lanes;
        fourier = ownFourierKernels().floats + lanes;
        cosine = ownDctKernels().lines + lanes;
    }

    int64_t blockSize() const { return int64_t{table->fourier->room} * blocks->realLanes; }
    int64_t scratchSize() const { return int64_t{table->fourier->scratch} * blocks->realLanes; }

    // Where samples, or coefficients, go in a block, and how they come out of the other one.
    const int32_t* orderIn() const { return inverse ? nullptr : table->order; }
    const int32_t* orderOut() const { return inverse ? table->samples : nullptr; }

    // Transforms a block, perhaps with the help of another one; the one that has the result.
    const float* transform(float* block, float* other, float* scratch) const
    {
        if (inverse) {
            cosine->toSpectra(block, *table, other);
            fourier->transform(other, scratch, *table->fourier, -1);
            return other;
        }
        fourier->transform(block, scratch, *table->fourier, 1);
        cosine->toCoefficients(block, *table);
        return block;
    }
};

// Parts of one block of memory, each at the start of a cache line.
struct Memory {
    OwnScratch<float> block;
    float* next;

    static int64_t rounded(int64_t floats)
    {
        constexpr int64_t line = ownCacheLine / int64_t{sizeof(float)};
        return (floats + line - 1) & -line;
    }
    explicit Memory(int64_t floats)
        : block(floats > INT32_MAX - ownCacheLine ? nullptr : orvsMalloc(int32_t(floats + ownCacheLine))),
          next(ownLineStart(block.data))
    {
    }
    float* take(int64_t floats)
    {
        float* part = next;
        next += rounded(floats);
        return part;
    }
};

// Floats from row to row of the work image. Columns of rows that lie a large power of two apart would share a few
// places of the cache.
int64_t rowStepOf(int32_t width)
{
    return int64_t{width} + (width % 256 == 0 ? 16 : 0);
}

}  // namespace

void ownDctBlocks(const OwnDctPlan& plan)
{
    const OwnDctBlock& kernels = ownDctBlock();
    for (int32_t channel = 0; channel < plan.src.channels; ++channel) {
        alignas(32) float block[64];
        kernels.pixels[plan.srcDepth].read(channelOf(plan.src, plan.srcDepth, channel), block);
        (plan.inverse ? kernels.inverse : kernels.forward)(block);
        kernels.pixels[plan.dstDepth].write(block, channelOf(plan.dst, plan.dstDepth, channel));
    }
}

bool ownDctLines(const OwnDctPlan& plan, const OwnDctLength& rowTable, const OwnDctLength& columnTable)
{
    const int32_t width = plan.src.width, height = plan.src.height;
    const LineKit rows(rowTable, height, plan.inverse), columns(columnTable, width, plan.inverse);
    const int64_t imageSize = rowStepOf(width) * height;
    const int64_t blockSize = ownLarger(rows.blockSize(), columns.blockSize());
    const int64_t otherSize = plan.inverse ? blockSize : 0;
    const int64_t scratchSize = ownLarger(rows.scratchSize(), columns.scratchSize());
    Memory memory(Memory::rounded(imageSize) + Memory::rounded(blockSize) + Memory::rounded(otherSize) +
                  Memory::rounded(scratchSize));
    if (!memory.block)
        return false;
    float* image = memory.take(imageSize);
    float* block = memory.take(blockSize);
    float* other = memory.take(otherSize);
    float* scratch = memory.take(scratchSize);
    const OwnGeometry work = {reinterpret_cast<uint8_t*>(image),
                              ptrdiff_t(rowStepOf(width)) * ptrdiff_t{sizeof(float)},
                              0,
                              1,
                              1,
                              0,
                              width,
                              height};
    const ptrdiff_t srcBytes = rowsOf(plan.srcDepth).bytes, dstBytes = rowsOf(plan.dstDepth).bytes;
    for (int32_t channel = 0; channel < plan.src.channels; ++channel) {
        const OwnGeometry src = channelOf(plan.src, plan.srcDepth, channel);
        const OwnGeometry dst = channelOf(plan.dst, plan.dstDepth, channel);
        ownEachGroup(height, rows.blocks->realLanes, [&](int32_t first, int32_t count) {
            rows.blocks->imageRowsIn(ownPart(src, srcBytes, 0, first, width, count), conversionOf(src, plan.srcDepth),
                                     rows.orderIn(), block);
            const float* done = rows.transform(block, other, scratch);
            rows.blocks->imageRowsOut(done, rows.orderOut(), ownPart(work, sizeof(float), 0, first, width, count),
                                      nullptr, 1);
        });
        ownEachGroup(width, columns.blocks->realLanes, [&](int32_t first, int32_t count) {
            columns.blocks->imageColumnsIn(ownPart(work, sizeof(float), first, 0, count, height), columns.orderIn(),
                                           block);
            const float* done = columns.transform(block, other, scratch);
            columns.blocks->imageColumnsOut(done, columns.orderOut(), ownPart(dst, dstBytes, first, 0, count, height),
                                            conversionOf(dst, plan.dstDepth));
        });
    }
    return true;
}
