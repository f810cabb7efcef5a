// The way of values between memory and the lanes of a block.
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// Values of a row that are converted at a time, on their way between an image and a block.
constexpr ptrdiff_t stageLength = 256;

// Asks for what will be written some steps further on. Writes that go in large steps otherwise wait for each line of memory.
inline void fetchAhead(const void* at, ptrdiff_t step)
{
    constexpr uintptr_t steps = 12;
    __builtin_prefetch(reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(at) + steps * uintptr_t(step)), 1);
}

// Of the fixed-point core nothing is scaled before the store.
template <class V>
inline V scaled(V v, float scale)
{
    if constexpr (isFloat<V>)
        return v * scale;
    else
        return v;
}

// `length` values from the start of each line, a lane each; all lanes have a line.
template <class V>
void transposeIn(const Value<V>* const (&lines)[lanesOf<V>], ptrdiff_t length, V* block)
{
    constexpr int lanes = lanesOf<V>;
    ptrdiff_t e = 0;
    for (; e + lanes <= length; e += lanes) {
        V square[lanes];
        for (int l = 0; l < lanes; ++l)
            square[l] = take<V>(lines[l] + e);
        transposeSquare(square);
        for (int i = 0; i < lanes; ++i)
            block[e + i] = square[i];
    }
    auto* values = reinterpret_cast<Value<V>*>(block);
    for (; e < length; ++e)
        for (int l = 0; l < lanes; ++l)
            values[e * lanes + l] = lines[l][e];
}

// The first `count` lanes to their lines.
template <class V>
void transposeOut(const V* block, Value<V>* const (&lines)[lanesOf<V>], int32_t count, ptrdiff_t length, float scale)
{
    constexpr int lanes = lanesOf<V>;
    ptrdiff_t e = 0;
    for (; e + lanes <= length; e += lanes) {
        V square[lanes];
        for (int i = 0; i < lanes; ++i)
            square[i] = scaled(block[e + i], scale);
        transposeSquare(square);
        for (int l = 0; l < lanes; ++l)
            if (l < count)
                put(lines[l] + e, square[l]);
    }
    for (; e < length; ++e) {
        V v = scaled(block[e], scale);
        const auto* values = reinterpret_cast<const Value<V>*>(&v);
        for (int l = 0; l < lanes; ++l)
            if (l < count)
                lines[l][e] = values[l];
    }
}

template <class V>
void linesIn(const Value<V>* lines, ptrdiff_t lineStep, int32_t count, ptrdiff_t length, Value<V>* block)
{
    const Value<V>* starts[lanesOf<V>];
    for (int l = 0; l < lanesOf<V>; ++l)
        starts[l] = lines + (l < count ? l : 0) * lineStep;
    transposeIn(starts, length, groups<V>(block));
}

template <class V>
void linesOut(const Value<V>* block, Value<V>* lines, ptrdiff_t lineStep, int32_t count, ptrdiff_t length, float scale)
{
    Value<V>* starts[lanesOf<V>];
    for (int l = 0; l < lanesOf<V>; ++l)
        starts[l] = lines + (l < count ? l : 0) * lineStep;
    transposeOut(groups<V>(block), starts, count, length, scale);
}

// ---- Rows of an image ----

template <class V>
void rowsIn(const OwnFftPixels& pixels, typename OwnFftMoves<Value<V>>::Load load, int32_t rows, int32_t width,
            Value<V>* block)
{
    constexpr int lanes = lanesOf<V>;
    const Value<V>* starts[lanes];
    if (pixels.direct) {
        for (int l = 0; l < lanes; ++l)
            starts[l] = reinterpret_cast<const Value<V>*>(pixels.first + (l < rows ? l : 0) * pixels.rowStep);
        transposeIn(starts, width, groups<V>(block));
        return;
    }
    Value<V> stage[lanes][stageLength];
    for (int l = 0; l < lanes; ++l)
        starts[l] = stage[l < rows ? l : 0];
    for (ptrdiff_t x = 0; x < width; x += stageLength) {
        ptrdiff_t count = width - x < stageLength ? width - x : stageLength;
        for (int l = 0; l < rows; ++l)
            load(pixels.first + l * pixels.rowStep + x * pixels.pixelStep, pixels.pixelStep, stage[l], count);
        transposeIn(starts, count, groups<V>(block) + x);
    }
}

template <class V>
void rowsOut(const Value<V>* block, const OwnFftPixels& pixels, typename OwnFftMoves<Value<V>>::Store store,
             int32_t rows, int32_t width, float scale)
{
    constexpr int lanes = lanesOf<V>;
    Value<V>* starts[lanes];
    if (pixels.direct) {
        for (int l = 0; l < lanes; ++l)
            starts[l] = reinterpret_cast<Value<V>*>(pixels.first + (l < rows ? l : 0) * pixels.rowStep);
        transposeOut(groups<V>(block), starts, rows, width, scale);
        return;
    }
    Value<V> stage[lanes][stageLength];
    for (int l = 0; l < lanes; ++l)
        starts[l] = stage[l];
    for (ptrdiff_t x = 0; x < width; x += stageLength) {
        ptrdiff_t count = width - x < stageLength ? width - x : stageLength;
        transposeOut(groups<V>(block) + x, starts, rows, count, 1);
        for (int l = 0; l < rows; ++l)
            store(stage[l], pixels.first + l * pixels.rowStep + x * pixels.pixelStep, pixels.pixelStep, count, scale);
    }
}

// ---- The work image ----

// A lane group, or its first `count` lanes.
template <class V>
inline void putFirst(Value<V>* to, V v, int32_t count)
{
    if (count == lanesOf<V>) {
        put(to, v);
        return;
    }
    const auto* values = reinterpret_cast<const Value<V>*>(&v);
    for (int l = 0; l < lanesOf<V>; ++l)
        if (l < count)
            to[l] = values[l];
}

template <class V>
inline V takeFirst(const Value<V>* from, int32_t count)
{
    if (count == lanesOf<V>)
        return take<V>(from);
    V v{};
    auto* values = reinterpret_cast<Value<V>*>(&v);
    for (int l = 0; l < lanesOf<V>; ++l)
        if (l < count)
            values[l] = from[l];
    return v;
}

template <class V>
void pairsOut(const Value<V>* block, Value<V>* work, int32_t firstRow, int32_t rows, int32_t width, int32_t height)
{
    const V* x = groups<V>(block);
    putFirst(work + firstRow, x[0], rows);
    Value<V>* column = work + height + 2 * ptrdiff_t{firstRow};
    ptrdiff_t columnStep = 2 * ptrdiff_t{height};
    ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t k = 1; k <= last; ++k, column += columnStep) {
        fetchAhead(column, columnStep * ptrdiff_t{sizeof(*column)});
        Pair<V> pair = interleave(x[2 * k], x[2 * k + 1]);
        int32_t values = 2 * rows;
        putFirst(column, pair.first, values < lanesOf<V> ? values : lanesOf<V>);
        if (values > lanesOf<V>)
            putFirst(column + lanesOf<V>, pair.second, values - lanesOf<V>);
    }
    if (width % 2 == 0)
        putFirst(column - firstRow, x[1], rows);
}

template <class V>
void pairsIn(const Value<V>* work, int32_t firstRow, int32_t rows, int32_t width, int32_t height, Value<V>* block)
{
    V* x = groups<V>(block);
    x[0] = takeFirst<V>(work + firstRow, rows);
    const Value<V>* column = work + height + 2 * ptrdiff_t{firstRow};
    ptrdiff_t columnStep = 2 * ptrdiff_t{height};
    ptrdiff_t last = (width - 1) / 2;
    for (ptrdiff_t k = 1; k <= last; ++k, column += columnStep) {
        int32_t values = 2 * rows;
        V first = takeFirst<V>(column, values < lanesOf<V> ? values : lanesOf<V>);
        V second = values > lanesOf<V> ? takeFirst<V>(column + lanesOf<V>, values - lanesOf<V>) : V{};
        Pair<V> pair = separate(first, second);
        x[2 * k] = pair.first;
        x[2 * k + 1] = pair.second;
    }
    x[1] = width % 2 == 0 ? takeFirst<V>(column - firstRow, rows) : V{};
}

// ---- Packed spectra ----

template <class V>
void loadSpectrum(const OwnFftPixels& pixels, typename OwnFftMoves<Value<V>>::Load load, int32_t firstColumn,
                  int32_t columns, int32_t height, Value<V>* block)
{
    constexpr int lanes = lanesOf<V>;
    V* x = groups<V>(block);
    const uint8_t* row = pixels.first + firstColumn * pixels.pixelStep;
    bool direct = pixels.direct && columns == lanes;
    alignas(V) Value<V> stage[2 * lanes] = {};
    for (ptrdiff_t r = 0; r < height; ++r, row += pixels.rowStep) {
        const void* from = row;
        if (!direct) {
            load(row, pixels.pixelStep, stage, 2 * columns);
            from = stage;
        }
        Pair<V> pair = separate(take<V>(from), take<V>(static_cast<const uint8_t*>(from) + sizeof(V)));
        x[2 * r] = pair.first;
        x[2 * r + 1] = pair.second;
    }
}

template <class V>
void storeSpectrum(const Value<V>* block, Value<V>* carry, const OwnFftPixels& pixels,
                   typename OwnFftMoves<Value<V>>::Store store, int32_t firstColumn, int32_t columns, int32_t height,
                   float scale)
{
    constexpr int lanes = lanesOf<V>;
    const V* x = groups<V>(block);
    uint8_t* row = pixels.first + firstColumn * pixels.pixelStep;
    bool direct = pixels.direct && columns == lanes;
    alignas(V) Value<V> stage[2 * lanes + 1];
    for (ptrdiff_t r = 0; r < height; ++r, row += pixels.rowStep) {
        Pair<V> pair = interleave(x[2 * r], x[2 * r + 1]);
        if constexpr (lanes > 1) {
            if (direct) {
                fetchAhead(row, pixels.rowStep);
                fetchAhead(row + sizeof(V), pixels.rowStep);
                pair = shiftIn(pair, carry[r]);
                put(row, scaled(pair.first, scale));
                put(row + sizeof(V), scaled(pair.second, scale));
                continue;
            }
        }
        stage[0] = carry[r];
        put(stage + 1, pair.first);
        put(stage + 1 + lanes, pair.second);
        carry[r] = stage[2 * columns];
        store(stage, row, pixels.pixelStep, 2 * columns, scale);
    }
}

template <class V>
constexpr OwnFftBlocks<Value<V>> blocks = {lanesOf<V>,  linesIn<V>, linesOut<V>,     rowsIn<V>,       rowsOut<V>,
                                           pairsOut<V>, pairsIn<V>, loadSpectrum<V>, storeSpectrum<V>};

}  // namespace

const OwnFftBlocks<float> floatBlocks[2] = {blocks<float>, blocks<FloatVector>};
const OwnFftBlocks<int32_t> intBlocks[2] = {blocks<uint32_t>, blocks<IntVector>};

}  // namespace OWN_ISA
