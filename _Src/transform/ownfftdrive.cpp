// The drivers of the Fourier transforms. No exported functions.
//
// A driver takes all the memory that it needs before it stores anything, and then goes through the channels. Rows and
// columns pass in groups of as many as a vector has lanes. Real to packed, a group of columns is stored as soon as it is
// transformed; by then all rows have been read, so that the images may be the same. Packed to real likewise.
#include "ownfftdrive.h"
#include "../core/ownpixels.h"
#include "ownfftcache.h"

namespace {

template <class T>
const OwnFftCoreKernels<T>& kernelsOf();

template <>
const OwnFftCoreKernels<float>& kernelsOf<float>()
{
    return ownFftKernels().floating;
}

template <>
const OwnFftCoreKernels<int32_t>& kernelsOf<int32_t>()
{
    return ownFftKernels().fixed;
}

enum Lanes { singleLines, vectorLanes };

// Blocks of vector lanes hold lines that are not there if there are too few; up to this many values nobody minds.
constexpr int64_t smallBlock = 1 << 19;

template <class T>
Lanes lanesFor(int32_t lines, int32_t length)
{
    int64_t lanes = kernelsOf<T>().blocks[vectorLanes].lanes;
    return lines >= lanes || length * lanes <= smallBlock ? vectorLanes : singleLines;
}

// How the lines of one direction of an image are transformed.
template <class T>
struct LineKit {
    const OwnFftBlocks<T>* blocks;
    const OwnFftTransforms<T>* real;
    const OwnFftTransforms<T>* complex;
    OwnFftLength<T> length;
};

template <class T>
bool prepareKit(OrvContext& context, int32_t length, int32_t log2, Lanes lanes, bool alsoComplex, LineKit<T>& kit)
{
    const OwnFftCoreKernels<T>& kernels = kernelsOf<T>();
    bool realDirect = log2 < ownFftRealCoreLog2, complexDirect = log2 == 0;
    kit.blocks = &kernels.blocks[lanes];
    kit.real = realDirect ? &kernels.direct[lanes] : &kernels.core[lanes];
    kit.complex = complexDirect ? &kernels.direct[lanes] : &kernels.core[lanes];
    kit.length = {};
    if (!ownFftRealTables(context, length, log2, kit.length))
        return false;
    if (alsoComplex && !ownFftComplexTables(context, length, log2, kit.length))
        return false;
    if (!realDirect && !(alsoComplex && complexDirect))
        return true;
    kit.length.directScratch = ownFftWork<T>(context, ownFftDirectScratch<T>(length, kit.blocks->lanes));
    return kit.length.directScratch != nullptr;
}

// The factor of a division by the number of elements. The fixed-point core divides where it stores, or not at all for 0.
template <class T>
float factor(const OwnFftPlan& plan)
{
    if (!plan.scale)
        return ownFftIsFixed<T> ? 0.0f : 1.0f;
    return float(1.0 / (double(plan.width) * plan.height));
}

template <class T>
const OwnFftMoves<T>& movesOf(const OwnFftPlan& plan)
{
    if constexpr (ownFftIsFixed<T>)
        return plan.intMoves;
    else
        return plan.floatMoves;
}

OwnFftPixels regionPixels(uint8_t* data, int32_t x, int32_t y, int64_t channel, int32_t step,
                          const OwnFftLayout& layout)
{
    uint8_t* first = data + ptrdiff_t{y} * step + x * layout.pixelStep + ptrdiff_t(channel) * layout.channelStep;
    bool aligned = (reinterpret_cast<uintptr_t>(first) | uintptr_t(step)) % alignof(float) == 0;
    return {first, step, layout.pixelStep, layout.sideBySide && layout.isFloat && aligned};
}

OwnFftPixels sourcePixels(const OwnFftPlan& plan)
{
    return regionPixels(plan.srcData, plan.srcX, plan.srcY, int64_t{plan.srcFirstChannel} + plan.channel, plan.srcStep,
                        plan.srcLayout);
}

OwnFftPixels destinationPixels(const OwnFftPlan& plan)
{
    return regionPixels(plan.dstData, plan.dstX, plan.dstY, int64_t{plan.dstFirstChannel} + plan.channel, plan.dstStep,
                        plan.dstLayout);
}

// A packed line of n values from a line of pairs, in which it begins at value 1; and back. The line has room for n + 2.
template <class T>
void packPairs(T* line, int32_t n)
{
    if (n % 2 == 0)
        line[n] = line[1];
    line[1] = line[0];
}

template <class T>
void unpackPairs(T* line, int32_t n)
{
    line[0] = line[1];
    line[1] = n % 2 == 0 ? line[n] : 0;
}

// ---- One line ----

template <class T, bool isColumn, bool toPacked>
bool transformLine(OrvContext& context)
{
    OwnFftPlan& plan = context.fftPlan;
    int32_t n = isColumn ? plan.height : plan.width;
    LineKit<T> kit;
    if (!prepareKit(context, n, isColumn ? plan.heightLog2 : plan.widthLog2, singleLines, false, kit))
        return false;
    T* line = ownFftWork<T>(context, int64_t{n} + 2);
    if (!line)
        return false;
    const OwnFftMoves<T>& moves = movesOf<T>(plan);
    auto load = isColumn ? moves.loadColumn : moves.loadRow;
    auto store = isColumn ? moves.storeColumn : moves.storeRow;
    for (plan.channel = 0; plan.channel < plan.channelCount; ++plan.channel) {
        OwnFftPixels src = sourcePixels(plan), dst = destinationPixels(plan);
        load(src.first, isColumn ? src.rowStep : src.pixelStep, toPacked ? line : line + 1, n);
        if (toPacked) {
            kit.real->realToPairs(line, kit.length, plan.direction);
            packPairs(line, n);
        } else {
            unpackPairs(line, n);
            kit.real->pairsToReal(line, kit.length, plan.direction);
        }
        store(toPacked ? line + 1 : line, dst.first, isColumn ? dst.rowStep : dst.pixelStep, n, factor<T>(plan));
    }
    return true;
}

// ---- Two dimensions ----

template <class T>
struct WorkSpace {
    LineKit<T> rows;
    LineKit<T> columns;
    T* image;  // the work image
    T* block;  // of rows, or of columns
    T* lines;  // the real columns, lineStep values apart
    ptrdiff_t lineStep;
};

// Full groups of rows reach the work image in whole cache lines.
constexpr int64_t cacheLine = 64;

template <class T>
bool prepareWork(OrvContext& context, WorkSpace<T>& work)
{
    const OwnFftPlan& plan = context.fftPlan;
    int64_t width = plan.width, height = plan.height;
    if (!prepareKit(context, plan.width, plan.widthLog2, lanesFor<T>(plan.height, plan.width), false, work.rows))
        return false;
    if (!prepareKit(context, plan.height, plan.heightLog2, lanesFor<T>((plan.width - 1) / 2, plan.height), true,
                    work.columns))
        return false;
    int64_t rowBlock = (width + 2) * work.rows.blocks->lanes;
    int64_t columnBlock = (2 * height + 2) * work.columns.blocks->lanes;
    work.lineStep = height + 2;
    work.image = ownFftWork<T>(context, width * height + cacheLine / int64_t{sizeof(T)});
    work.block = ownFftWork<T>(context, rowBlock > columnBlock ? rowBlock : columnBlock);
    work.lines = ownFftWork<T>(context, 2 * work.lineStep);
    if (!work.image || !work.block || !work.lines)
        return false;
    uintptr_t past = reinterpret_cast<uintptr_t>(work.image) % cacheLine;
    work.image += past ? (cacheLine - past) / sizeof(T) : 0;
    return true;
}

// Calls `pass(first, columns, address)` for each group of complex columns; first counts from 0, the address is in the work
// image.
template <class T, class Pass>
void eachColumnGroup(const OwnFftPlan& plan, const WorkSpace<T>& work, Pass pass)
{
    int32_t count = (plan.width - 1) / 2;
    int32_t lanes = work.columns.blocks->lanes;
    for (int32_t first = 0; first < count; first += lanes) {
        int32_t columns = count - first < lanes ? count - first : lanes;
        pass(first, columns, work.image + plan.height + 2 * ptrdiff_t{first} * plan.height);
    }
}

// Calls `pass(first, rows)` for each group of rows.
template <class T, class Pass>
void eachRowGroup(const OwnFftPlan& plan, const WorkSpace<T>& work, Pass pass)
{
    int32_t lanes = work.rows.blocks->lanes;
    for (int32_t first = 0; first < plan.height; first += lanes)
        pass(first, plan.height - first < lanes ? plan.height - first : lanes);
}

OwnFftPixels fromRow(OwnFftPixels pixels, int32_t row)
{
    pixels.first += row * pixels.rowStep;
    return pixels;
}

// Column 0 and column W / 2 of the work image become packed lines.
template <class T>
void realColumnsToLines(const OwnFftPlan& plan, const WorkSpace<T>& work)
{
    const OwnFftBlocks<T>& blocks = *work.columns.blocks;
    int32_t count = 1 + plan.widthEven;
    ptrdiff_t columnStep = (ptrdiff_t{plan.width} - 1) * plan.height;
    for (int32_t first = 0; first < count; first += blocks.lanes) {
        int32_t some = count - first < blocks.lanes ? count - first : blocks.lanes;
        T* lines = work.lines + first * work.lineStep;
        blocks.linesIn(work.image + first * columnStep, columnStep, some, plan.height, work.block);
        work.columns.real->realToPairs(work.block, work.columns.length, plan.direction);
        blocks.linesOut(work.block, lines, work.lineStep, some, ptrdiff_t{plan.height} + 1, 1);
    }
    for (int32_t l = 0; l < count; ++l)
        packPairs(work.lines + l * work.lineStep, plan.height);
}

// And back, times the scale.
template <class T>
void linesToRealColumns(const OwnFftPlan& plan, const WorkSpace<T>& work, float scale)
{
    const OwnFftBlocks<T>& blocks = *work.columns.blocks;
    int32_t count = 1 + plan.widthEven;
    ptrdiff_t columnStep = (ptrdiff_t{plan.width} - 1) * plan.height;
    for (int32_t l = 0; l < count; ++l)
        unpackPairs(work.lines + l * work.lineStep, plan.height);
    for (int32_t first = 0; first < count; first += blocks.lanes) {
        int32_t some = count - first < blocks.lanes ? count - first : blocks.lanes;
        const T* lines = work.lines + first * work.lineStep;
        blocks.linesIn(lines, work.lineStep, some, ptrdiff_t{plan.height} + 1, work.block);
        work.columns.real->pairsToReal(work.block, work.columns.length, plan.direction);
        blocks.linesOut(work.block, work.image + first * columnStep, columnStep, some, plan.height, scale);
    }
}

template <class T>
void realToPacked(OwnFftPlan& plan, const WorkSpace<T>& work, const OwnFftPixels& src, const OwnFftPixels& dst)
{
    const OwnFftMoves<T>& moves = movesOf<T>(plan);
    eachRowGroup(plan, work, [&](int32_t first, int32_t rows) {
        work.rows.blocks->rowsIn(fromRow(src, first), moves.loadRow, rows, plan.width, work.block);
        work.rows.real->realToPairs(work.block, work.rows.length, plan.direction);
        work.rows.blocks->pairsOut(work.block, work.image, first, rows, plan.width, plan.height);
    });
    realColumnsToLines(plan, work);
    float scale = factor<T>(plan);
    T* carry = work.lines + 1;
    eachColumnGroup(plan, work, [&](int32_t first, int32_t columns, const T* from) {
        work.columns.blocks->linesIn(from, 2 * ptrdiff_t{plan.height}, columns, 2 * ptrdiff_t{plan.height}, work.block);
        work.columns.complex->complex(work.block, work.columns.length, plan.direction);
        moves.storeSpectrum(work.block, carry, dst, moves.storeRow, 2 * first, columns, plan.height, scale);
    });
    int32_t carried = (plan.width - 1) / 2 * 2;
    moves.storeColumn(carry, dst.first + carried * dst.pixelStep, dst.rowStep, plan.height, scale);
    if (plan.widthEven)
        moves.storeColumn(carry + work.lineStep, dst.first + (plan.width - 1) * dst.pixelStep, dst.rowStep, plan.height,
                          scale);
}

template <class T>
void packedToReal(OwnFftPlan& plan, const WorkSpace<T>& work, const OwnFftPixels& src, const OwnFftPixels& dst)
{
    const OwnFftMoves<T>& moves = movesOf<T>(plan);
    float scale = factor<T>(plan);
    moves.loadColumn(src.first, src.rowStep, work.lines + 1, plan.height);
    if (plan.widthEven)
        moves.loadColumn(src.first + (plan.width - 1) * src.pixelStep, src.rowStep, work.lines + 1 + work.lineStep,
                         plan.height);
    linesToRealColumns(plan, work, scale);
    eachColumnGroup(plan, work, [&](int32_t first, int32_t columns, T* to) {
        moves.loadSpectrum(src, moves.loadRow, 2 * first + 1, columns, plan.height, work.block);
        work.columns.complex->complex(work.block, work.columns.length, plan.direction);
        work.columns.blocks->linesOut(work.block, to, 2 * ptrdiff_t{plan.height}, columns, 2 * ptrdiff_t{plan.height},
                                      scale);
    });
    eachRowGroup(plan, work, [&](int32_t first, int32_t rows) {
        work.rows.blocks->pairsIn(work.image, first, rows, plan.width, plan.height, work.block);
        work.rows.real->pairsToReal(work.block, work.rows.length, plan.direction);
        work.rows.blocks->rowsOut(work.block, fromRow(dst, first), moves.storeRow, rows, plan.width,
                                  ownFftIsFixed<T> ? scale : 1.0f);
    });
}

template <class T, bool toPacked>
bool transformImage(OrvContext& context)
{
    OwnFftPlan& plan = context.fftPlan;
    WorkSpace<T> work;
    if (!prepareWork(context, work))
        return false;
    for (plan.channel = 0; plan.channel < plan.channelCount; ++plan.channel) {
        OwnFftPixels src = sourcePixels(plan), dst = destinationPixels(plan);
        if (toPacked)
            realToPacked(plan, work, src, dst);
        else
            packedToReal(plan, work, src, dst);
    }
    return true;
}

template <class T>
void chooseDrivers(OwnFftPlan& plan)
{
    if (plan.height == 1) {
        plan.realDriver = transformLine<T, false, true>;
        plan.ccsDriver = transformLine<T, false, false>;
    } else if (plan.width == 1) {
        plan.realDriver = transformLine<T, true, true>;
        plan.ccsDriver = transformLine<T, true, false>;
    } else {
        plan.realDriver = transformImage<T, true>;
        plan.ccsDriver = transformImage<T, false>;
    }
}

}  // namespace

template <class T>
bool ownFftChoose(OwnFftPlan& plan, uint32_t srcDepth, uint32_t dstDepth)
{
    const OwnFftCoreKernels<T>& kernels = kernelsOf<T>();
    const OwnFftLines<T>& from = kernels.lines[ownDepthIndex(srcDepth)];
    const OwnFftLines<T>& to = kernels.lines[ownDepthIndex(dstDepth)];
    if (!from.load || !to.store)
        return false;
    const OwnFftBlocks<T>& columns = kernels.blocks[lanesFor<T>((plan.width - 1) / 2, plan.height)];
    OwnFftMoves<T> moves = {plan.srcLayout.sideBySide ? from.load : from.loadStrided,
                            from.loadStrided,
                            plan.dstLayout.sideBySide ? to.store : to.storeStrided,
                            to.storeStrided,
                            columns.loadSpectrum,
                            columns.storeSpectrum};
    if constexpr (ownFftIsFixed<T>)
        plan.intMoves = moves;
    else
        plan.floatMoves = moves;
    chooseDrivers<T>(plan);
    return true;
}

template bool ownFftChoose<float>(OwnFftPlan& plan, uint32_t srcDepth, uint32_t dstDepth);
template bool ownFftChoose<int32_t>(OwnFftPlan& plan, uint32_t srcDepth, uint32_t dstDepth);
