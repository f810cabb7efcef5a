// The driver of the Fourier transforms.
//
// All memory is taken before anything is stored; then channel after channel goes through two passes. Rows and columns
// pass in groups of as many as a block has lanes. Real to packed, a group of columns is stored as soon as it is
// transformed; by then all rows have been read, so that the images may be the same. Packed to real likewise.
#include "ownfftdrive.h"

#include "../core/ownregion.h"
#include "ownfftcache.h"
#include "ownlinegroups.h"

namespace {

template <class T>
constexpr bool isFixed = T(0.5) == 0;

template <class T>
const OwnFftCoreKernels<T>& kernelsOf()
{
    if constexpr (isFixed<T>)
        return ownFftKernels().fixed;
    else
        return ownFftKernels().floating;
}

// ---- Lines of one length --------------------------------------------------------------------------------------------

// How a core transforms lines of one length.
template <class T>
struct LineKit;

template <>
struct LineKit<float> {
    const OwnFftBlocks<float>* blocks;
    const OwnFourierLines<float>* lines;
    const OwnFourierTable<float>* table;
    float* scratch;

    bool prepare(OwnFftCaches& caches, int32_t length, OwnLanes lanes)
    {
        blocks = &kernelsOf<float>().blocks[lanes];
        lines = &ownFourierKernels().floats[lanes];
        table = ownFftTable(caches, length);
        return table != nullptr;
    }
    int64_t blockSize() const { return int64_t{2} * table->room * blocks->complexLanes; }
    int64_t scratchSize() const { return int64_t{2} * table->scratch * blocks->complexLanes; }
    const int32_t* order() const { return table->order; }
    void complex(float* block, int32_t direction) const { lines->transform(block, scratch, *table, direction); }
    void realToSpectra(float* block, int32_t direction) const { complex(block, direction); }
    void spectraToReal(float* block, int32_t direction) const { complex(block, direction); }
};

template <>
struct LineKit<int32_t> {
    const OwnFftBlocks<int32_t>* blocks;
    const OwnFftFixedTransforms* realLines;
    const OwnFftFixedTransforms* complexLines;
    OwnFftFixedLength length;
    int32_t* scratch;

    bool prepare(OwnFftCaches& caches, int32_t n, OwnLanes lanes)
    {
        const OwnFftKernels& kernels = ownFftKernels();
        int32_t log2 = ownFftLog2(n);
        blocks = &kernels.fixed.blocks[lanes];
        realLines = log2 < ownFftRealCoreLog2 ? &kernels.direct[lanes] : &kernels.core[lanes];
        complexLines = log2 == 0 ? &kernels.direct[lanes] : &kernels.core[lanes];
        length = {};
        return ownFftRealTables(caches, n, length) && ownFftComplexTables(caches, n, length);
    }
    int64_t blockSize() const { return (2 * int64_t{length.length} + 2) * blocks->complexLanes; }
    int64_t scratchSize() const
    {
        return length.direct ? ownFftDirectScratch(length.length, blocks->complexLanes) / int64_t{sizeof(int32_t)} : 0;
    }
    const int32_t* order() const { return nullptr; }
    void complex(int32_t* block, int32_t direction) const { run(complexLines->complex, block, direction); }
    void realToSpectra(int32_t* block, int32_t direction) const { run(realLines->realToPairs, block, direction); }
    void spectraToReal(int32_t* block, int32_t direction) const { run(realLines->pairsToReal, block, direction); }

private:
    void run(OwnFftFixedTransforms::Transform transform, int32_t* block, int32_t direction) const
    {
        OwnFftFixedLength with = length;
        with.directScratch = scratch;
        transform(block, with, direction);
    }
};

// ---- One call -------------------------------------------------------------------------------------------------------

// The real columns of the spectra, of which even widths have two, others one.
constexpr int32_t mostEdges = 2;

template <class T>
class Driver {
public:
    Driver(const OwnFftPlan& plan_, OwnFftCaches& caches_)
        : plan(plan_),
          caches(caches_),
          columnCount((plan.width - 1) / 2),
          edgeCount(plan.width % 2 == 0 ? 2 : 1),
          scale(plan.divides ? float(1.0 / (double(plan.width) * plan.height))
                : isFixed<T> ? 0.0f
                             : 1.0f)
    {
    }

    bool run()
    {
        if (!prepare())
            return false;
        for (int32_t channel = 0; channel < plan.src.channels; ++channel) {
            Side src = sideOf(plan.src, plan.srcDepth, channel), dst = sideOf(plan.dst, plan.dstDepth, channel);
            if (plan.toPacked)
                realToPacked(src, dst);
            else
                packedToReal(src, dst);
        }
        return true;
    }

private:
    // One channel of an image.
    struct Side {
        OwnGeometry image;
        const OwnFftRow<T>* row;      // converts single values
        const OwnFftRow<T>* convert;  // the same, or NULL where rows are values of T side by side

        OwnGeometry part(int32_t x, int32_t y, int32_t width, int32_t height) const
        {
            return ownPart(image, row->bytes, x, y, width, height);
        }
    };

    Side sideOf(const OwnGeometry& image, OwnDepthIndex depth, int32_t channel) const
    {
        const OwnFftRow<T>* row = &kernelsOf<T>().rows[depth];
        Side side = {image, row, depth == OWN_32F && image.pixelStep == 1 ? nullptr : row};
        side.image.start = ownChannelStart(image, channel, int(row->bytes));
        side.image.width = plan.width;
        side.image.height = plan.height;
        return side;
    }

    // Values of the complex columns, of whole groups.
    int64_t columnsSize(int64_t count, int64_t rowCount) const
    {
        int64_t lanes = columns.blocks->complexLanes;
        return (count + lanes - 1) / lanes * lanes * 2 * rowCount;
    }

    bool prepare()
    {
        const OwnFftBlocks<T>& widest = kernelsOf<T>().blocks[OWN_VECTOR_LANES];
        int64_t height = plan.height;
        if (!rows.prepare(caches, plan.width, ownLanesFor(plan.height, widest.realLanes, plan.width)) ||
            !columns.prepare(caches, plan.height, ownLanesFor(columnCount, widest.complexLanes, plan.height)))
            return false;
        int64_t blockSize = ownLarger(rows.blockSize(), columns.blockSize());
        int64_t scratchSize = ownLarger(rows.scratchSize(), columns.scratchSize());
        T* complexColumns = ownFftWork<T>(caches, OWN_FFT_SPECTRA, columnsSize(columnCount, height));
        edges =
            ownFftWork<T>(caches, OWN_FFT_LINES, mostEdges * (height + 2) + columnsSize((height - 1) / 2, mostEdges));
        block = ownFftWork<T>(caches, OWN_FFT_BLOCK, blockSize);
        T* scratch = ownFftWork<T>(caches, OWN_FFT_SCRATCH, scratchSize);
        if (!complexColumns || !edges || !block || !scratch)
            return false;
        rows.scratch = columns.scratch = scratch;
        packedEdges = edges + mostEdges * height;
        spectra = {edges, edges + height, complexColumns, ptrdiff_t(height), columns.blocks->complexLanes};
        return true;
    }

    // The real columns as rows of an image.
    OwnGeometry edgeRows(int32_t first, int32_t count) const
    {
        ptrdiff_t step = ptrdiff_t{plan.height} * ptrdiff_t{sizeof(T)};
        return {reinterpret_cast<uint8_t*>(edges) + first * step, step, 0, 1, 1, 0, plan.height, count};
    }

    // The spectra of `count` of them.
    OwnFftSpectra<T> edgeSpectra(int32_t count) const
    {
        T* middle = packedEdges + mostEdges;
        return {packedEdges, middle, middle + mostEdges, count, columns.blocks->complexLanes};
    }

    // Calls move(place in a packed line, value of its spectrum) for all values of real column first + l of `count`.
    template <class Move>
    void eachPacked(int32_t first, int32_t l, int32_t count, Move move) const
    {
        OwnFftSpectra<T> from = edgeSpectra(count);
        T* line = edges + ptrdiff_t{first + l} * plan.height;
        move(line[0], from.first[l]);
        if (plan.height % 2 == 0)
            move(line[plan.height - 1], from.middle[l]);
        const ptrdiff_t pairs = (plan.height - 1) / 2;
        for (ptrdiff_t k = 1; k <= pairs; ++k) {
            T* value = from.at(k, l);
            move(line[2 * k - 1], value[0]);
            move(line[2 * k], value[from.lanes]);
        }
    }

    // The real columns become packed lines, and back.
    void packEdges()
    {
        const OwnFftBlocks<T>& blocks = *columns.blocks;
        ownEachGroup(edgeCount, blocks.realLanes, [&](int32_t first, int32_t count) {
            blocks.imageRowsIn(edgeRows(first, count), nullptr, columns.order(), block);
            columns.realToSpectra(block, plan.direction);
            blocks.spectraOut(block, edgeSpectra(count), 0, count, plan.height);
            for (int32_t l = 0; l < count; ++l)
                eachPacked(first, l, count, [](T& packed, T value) { packed = value; });
        });
    }

    void unpackEdges(float factor)
    {
        const OwnFftBlocks<T>& blocks = *columns.blocks;
        ownEachGroup(edgeCount, blocks.realLanes, [&](int32_t first, int32_t count) {
            for (int32_t l = 0; l < count; ++l)
                eachPacked(first, l, count, [](T packed, T& value) { value = packed; });
            blocks.spectraIn(edgeSpectra(count), 0, count, plan.height, columns.order(), block);
            columns.spectraToReal(block, plan.direction);
            blocks.imageRowsOut(block, nullptr, edgeRows(first, count), nullptr, factor);
        });
    }

    // A column of a packed spectrum, between the image and a line.
    void loadColumn(const Side& side, int32_t x, T* line) const
    {
        for (int32_t y = 0; y < plan.height; ++y)
            side.row->load(side.part(x, y, 1, 1).start, 1, line + y, 1);
    }

    void storeColumn(const T* line, const Side& side, int32_t x) const
    {
        for (int32_t y = 0; y < plan.height; ++y)
            side.row->store(line + y, side.part(x, y, 1, 1).start, 1, 1, scale);
    }

    void realToPacked(const Side& src, const Side& dst)
    {
        ownEachGroup(plan.height, rows.blocks->realLanes, [&](int32_t first, int32_t count) {
            rows.blocks->imageRowsIn(src.part(0, first, plan.width, count), src.convert, rows.order(), block);
            rows.realToSpectra(block, plan.direction);
            rows.blocks->spectraOut(block, spectra, first, count, plan.width);
        });
        packEdges();
        T* carry = edges;
        ownEachGroup(columnCount, columns.blocks->complexLanes, [&](int32_t first, int32_t count) {
            columns.blocks->columnsIn(spectra.at(first + 1, 0), plan.height, columns.order(), block);
            columns.complex(block, plan.direction);
            columns.blocks->packedOut(block, carry, dst.part(2 * first, 0, 2 * count, plan.height), dst.convert, count,
                                      scale);
        });
        storeColumn(carry, dst, 2 * columnCount);
        if (edgeCount == 2)
            storeColumn(edges + plan.height, dst, plan.width - 1);
    }

    void packedToReal(const Side& src, const Side& dst)
    {
        loadColumn(src, 0, edges);
        if (edgeCount == 2)
            loadColumn(src, plan.width - 1, edges + plan.height);
        unpackEdges(scale);
        ownEachGroup(columnCount, columns.blocks->complexLanes, [&](int32_t first, int32_t count) {
            columns.blocks->packedIn(src.part(2 * first + 1, 0, 2 * count, plan.height), src.convert, count,
                                     columns.order(), block);
            columns.complex(block, plan.direction);
            columns.blocks->columnsOut(block, spectra.at(first + 1, 0), plan.height, scale);
        });
        ownEachGroup(plan.height, rows.blocks->realLanes, [&](int32_t first, int32_t count) {
            rows.blocks->spectraIn(spectra, first, count, plan.width, rows.order(), block);
            rows.spectraToReal(block, plan.direction);
            rows.blocks->imageRowsOut(block, nullptr, dst.part(0, first, plan.width, count), dst.convert,
                                      isFixed<T> ? scale : 1.0f);
        });
    }

    const OwnFftPlan& plan;
    OwnFftCaches& caches;
    int32_t columnCount;  // complex columns of the spectra
    int32_t edgeCount;    // real ones
    float scale;          // the fixed-point core divides where it stores, or not at all for 0
    LineKit<T> rows = {};
    LineKit<T> columns = {};
    OwnFftSpectra<T> spectra = {};  // of all rows
    T* edges = nullptr;             // the real columns, or packed lines of them
    T* packedEdges = nullptr;       // their spectra
    T* block = nullptr;             // of rows, or of columns
};

}  // namespace

bool ownFftRun(const OwnFftPlan& plan, OwnFftCaches& caches)
{
    return plan.fixedPoint ? Driver<int32_t>(plan, caches).run() : Driver<float>(plan, caches).run();
}
