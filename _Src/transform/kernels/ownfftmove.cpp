// The way of values between memory and the lanes of a block.
#include "../../core/ownvalue.h"
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// Lane groups that a block of real lines has for each value: in the floating core two, since two real lines make a
// complex one.
template <class V>
constexpr int realGroups = isFloat<V> ? 2 : 1;

template <class V>
constexpr int realLanesOf = realGroups<V>* lanesOf<V>;

// Values of a row that are converted at a time, on their way between an image and a block.
constexpr ptrdiff_t stageLength = 128;

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

inline ptrdiff_t placeOf(const int32_t* order, ptrdiff_t e)
{
    return order ? order[e] : e;
}

// The lane group of value e of real lines: of one of the groups that a value has.
template <class V>
struct RealSlot {
    const int32_t* order;
    int group;

    ptrdiff_t operator()(ptrdiff_t e) const { return placeOf(order, e) * realGroups<V> + group; }
};

// The lane group of part e % 2 of value e / 2 of complex lines.
struct ComplexSlot {
    const int32_t* order;

    ptrdiff_t operator()(ptrdiff_t e) const { return 2 * placeOf(order, e >> 1) + (e & 1); }
};

// Values from..to of each line, a lane each, to their slots; the lines begin with value `from`. All lanes have a line.
template <class V, class Slot>
inline void transposeIn(uint8_t* const (&lines)[lanesOf<V>], ptrdiff_t from, ptrdiff_t to, V* block, Slot slot)
{
    constexpr int lanes = lanesOf<V>;
    ptrdiff_t e = from;
    for (; e + lanes <= to; e += lanes) {
        V square[lanes];
        for (int l = 0; l < lanes; ++l)
            square[l] = take<V>(lines[l] + (e - from) * ptrdiff_t(sizeof(Value<V>)));
        transposeSquare(square);
        for (int i = 0; i < lanes; ++i)
            block[slot(e + i)] = square[i];
    }
    for (; e < to; ++e) {
        auto* values = reinterpret_cast<Value<V>*>(block + slot(e));
        for (int l = 0; l < lanes; ++l)
            values[l] = ownLoad<Value<V>>(lines[l], e - from);
    }
}

// The way back, for the first `count` lanes.
template <class V, class Slot>
inline void transposeOut(const V* block, Slot slot, uint8_t* const (&lines)[lanesOf<V>], int32_t count, ptrdiff_t from,
                         ptrdiff_t to, float scale)
{
    constexpr int lanes = lanesOf<V>;
    ptrdiff_t e = from;
    for (; e + lanes <= to; e += lanes) {
        V square[lanes];
        for (int i = 0; i < lanes; ++i)
            square[i] = scaled(block[slot(e + i)], scale);
        transposeSquare(square);
        for (int l = 0; l < lanes; ++l)
            if (l < count)
                put(lines[l] + (e - from) * ptrdiff_t(sizeof(Value<V>)), square[l]);
    }
    for (; e < to; ++e) {
        V v = scaled(block[slot(e)], scale);
        const auto* values = reinterpret_cast<const Value<V>*>(&v);
        for (int l = 0; l < lanes; ++l)
            if (l < count)
                ownStore(lines[l], e - from, values[l]);
    }
}

// The lines of a group of lanes among those at `first`; lanes without a line get the group's first one.
template <class V>
struct GroupLines {
    int32_t count;  // that are there
    uint8_t* lines[lanesOf<V>];

    GroupLines(uint8_t* first, ptrdiff_t lineStep, int32_t all, int group)
    {
        int32_t before = group * lanesOf<V>;
        count = all - before < lanesOf<V> ? all - before : lanesOf<V>;
        for (int l = 0; l < lanesOf<V>; ++l)
            lines[l] = first + (l < count ? before + l : 0) * lineStep;
    }
};

template <class V>
constexpr ptrdiff_t bytesOf(ptrdiff_t values)
{
    return values * ptrdiff_t(sizeof(Value<V>));
}

// ---- Real lines: rows or columns of an image ----

// Rows on their way between an image and a block, where they are converted.
template <class V>
struct Stage {
    alignas(64) Value<V> values[realLanesOf<V>][stageLength];

    uint8_t* first() { return reinterpret_cast<uint8_t*>(values); }
    static constexpr ptrdiff_t step = bytesOf<V>(stageLength);
};

template <class V>
inline void groupsIn(const uint8_t* first, ptrdiff_t rowStep, int32_t rows, ptrdiff_t from, ptrdiff_t to,
                     const int32_t* order, V* block)
{
    for (int group = 0; group < realGroups<V>; ++group) {
        GroupLines<V> lines(const_cast<uint8_t*>(first), rowStep, rows, group);
        transposeIn<V>(lines.lines, from, to, block, RealSlot<V>{order, group});
    }
}

template <class V>
inline void groupsOut(const V* block, const int32_t* order, uint8_t* first, ptrdiff_t rowStep, int32_t rows,
                      ptrdiff_t from, ptrdiff_t to, float scale)
{
    for (int group = 0; group < realGroups<V>; ++group) {
        GroupLines<V> lines(first, rowStep, rows, group);
        transposeOut<V>(block, RealSlot<V>{order, group}, lines.lines, lines.count, from, to, scale);
    }
}

// Calls move(x, end, pixels) for each part of the rows that a stage has room for; pixels are those of the first row.
template <class T, class Move>
inline void eachPart(const OwnGeometry& rows, const OwnFftRow<T>& convert, Move move)
{
    for (ptrdiff_t x = 0; x < rows.width; x += stageLength) {
        ptrdiff_t end = rows.width - x < stageLength ? rows.width : x + stageLength;
        move(x, end, rows.start + x * rows.pixelStep * convert.bytes);
    }
}

template <class V>
void imageRowsIn(const OwnGeometry& rows, const OwnFftRow<Value<V>>* convert, const int32_t* order, Value<V>* block)
{
    V* x = groups<V>(block);
    if (!convert)
        return groupsIn(rows.start, rows.rowStep, rows.height, 0, rows.width, order, x);
    Stage<V> stage;
    eachPart(rows, *convert, [&](ptrdiff_t from, ptrdiff_t to, const uint8_t* pixels) {
        for (int32_t l = 0; l < rows.height; ++l)
            convert->load(pixels + l * rows.rowStep, rows.pixelStep, stage.values[l], to - from);
        groupsIn(stage.first(), stage.step, rows.height, from, to, order, x);
    });
}

template <class V>
void imageRowsOut(const Value<V>* block, const int32_t* order, const OwnGeometry& rows,
                  const OwnFftRow<Value<V>>* convert, float scale)
{
    const V* x = groups<V>(block);
    if (!convert)
        return groupsOut(x, order, rows.start, rows.rowStep, rows.height, 0, rows.width, scale);
    Stage<V> stage;
    eachPart(rows, *convert, [&](ptrdiff_t from, ptrdiff_t to, uint8_t* pixels) {
        groupsOut(x, order, stage.first(), stage.step, rows.height, from, to, 1);
        for (int32_t l = 0; l < rows.height; ++l)
            convert->store(stage.values[l], pixels + l * rows.rowStep, rows.pixelStep, to - from, scale);
    });
}

template <class V>
void imageColumnsIn(const OwnGeometry& columns, const int32_t* order, Value<V>* block)
{
    constexpr ptrdiff_t values = realLanesOf<V>;
    for (ptrdiff_t y = 0; y < columns.height; ++y) {
        Value<V>* to = block + placeOf(order, y) * values;
        const uint8_t* from = columns.start + y * columns.rowStep;
        if (columns.width == values)
            __builtin_memcpy(to, from, values * sizeof(*to));
        else
            __builtin_memcpy(to, from, size_t(columns.width) * sizeof(*to));
    }
}

template <class V>
void imageColumnsOut(const Value<V>* block, const int32_t* order, const OwnGeometry& columns,
                     const OwnFftRow<Value<V>>* convert)
{
    constexpr ptrdiff_t values = realLanesOf<V>;
    for (ptrdiff_t y = 0; y < columns.height; ++y) {
        const Value<V>* from = block + placeOf(order, y) * values;
        uint8_t* to = columns.start + y * columns.rowStep;
        if (convert)
            convert->store(from, to, columns.pixelStep, columns.width, 1);
        else if (columns.width == values)
            __builtin_memcpy(to, from, values * sizeof(*from));
        else
            __builtin_memcpy(to, from, size_t(columns.width) * sizeof(*from));
    }
}

// ---- Spectra of rows ----

// A lane group, or its first `count` lanes; none if that is negative.
template <class V>
inline void putFirst(Value<V>* to, V v, int32_t count)
{
    if (count >= lanesOf<V>) {
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
    if (count >= lanesOf<V>)
        return take<V>(from);
    V v{};
    auto* values = reinterpret_cast<Value<V>*>(&v);
    for (int l = 0; l < lanesOf<V>; ++l)
        if (l < count)
            values[l] = from[l];
    return v;
}

// A complex value of each of the first `count` lanes, parts by turns.
template <class V>
inline void putComplex(Value<V>* to, Complex<V> value, int32_t count)
{
    Pair<V> pair = interleave(value.re, value.im);
    putFirst(to, pair.first, 2 * count);
    putFirst(to + lanesOf<V>, pair.second, 2 * count - lanesOf<V>);
}

template <class V>
inline Complex<V> takeComplex(const Value<V>* from, int32_t count)
{
    V first = takeFirst<V>(from, 2 * count);
    Pair<V> pair = separate(first, takeFirst<V>(from + lanesOf<V>, 2 * count - lanesOf<V>));
    return {pair.first, pair.second};
}

// The spectra of the real and of the imaginary parts of complex lines are what their spectrum has of either symmetry.
template <class V>
void spectraOut(const float* block, const OwnFftSpectra<float>& to, int32_t row, int32_t rows, int32_t length)
{
    constexpr int lanes = lanesOf<V>;
    ComplexLine<V> x = lineAt(const_cast<V*>(groups<V>(block)), false);
    auto putReal = [&](float* column, Complex<V> value) {
        putFirst(column + row, value.re, rows);
        putFirst(column + row + lanes, value.im, rows - lanes);
    };
    putReal(to.first, x.get(0));
    if (length % 2 == 0)
        putReal(to.middle, x.get(length / 2));
    float* column = to.columns + 2 * ptrdiff_t{row};
    for (ptrdiff_t k = 1; k <= (length - 1) / 2; ++k, column += to.columnStep) {
        fetchAhead(column, to.columnStep * ptrdiff_t{sizeof(float)});
        Complex<V> a = x.get(k), b = x.get(length - k);
        putComplex<V>(column, {(a.re + b.re) * 0.5f, (a.im - b.im) * 0.5f}, rows);
        putComplex<V>(column + 2 * lanes, {(a.im + b.im) * 0.5f, (b.re - a.re) * 0.5f}, rows - lanes);
    }
}

template <class V>
void spectraIn(const OwnFftSpectra<float>& from, int32_t row, int32_t rows, int32_t length, const int32_t* order,
               float* block)
{
    constexpr int lanes = lanesOf<V>;
    ComplexLine<V> x = lineAt(groups<V>(block), false);
    auto takeReal = [&](const float* column) {
        return Complex<V>{takeFirst<V>(column + row, rows), takeFirst<V>(column + row + lanes, rows - lanes)};
    };
    x.set(order[0], takeReal(from.first));
    if (length % 2 == 0)
        x.set(order[length / 2], takeReal(from.middle));
    const float* column = from.columns + 2 * ptrdiff_t{row};
    for (ptrdiff_t k = 1; k <= (length - 1) / 2; ++k, column += from.columnStep) {
        Complex<V> a = takeComplex<V>(column, rows), b = takeComplex<V>(column + 2 * lanes, rows - lanes);
        x.set(order[k], {a.re - b.im, a.im + b.re});
        x.set(order[length - k], {a.re + b.im, b.re - a.im});
    }
}

// In fixed point they are there as pairs.
template <class V>
void pairsOut(const int32_t* block, const OwnFftSpectra<int32_t>& to, int32_t row, int32_t rows, int32_t length)
{
    const V* x = groups<V>(block);
    putFirst(to.first + row, x[0], rows);
    if (length % 2 == 0)
        putFirst(to.middle + row, x[1], rows);
    int32_t* column = to.columns + 2 * ptrdiff_t{row};
    for (ptrdiff_t k = 1; k <= (length - 1) / 2; ++k, column += to.columnStep) {
        fetchAhead(column, to.columnStep * ptrdiff_t{sizeof(int32_t)});
        putComplex<V>(column, {x[2 * k], x[2 * k + 1]}, rows);
    }
}

template <class V>
void pairsIn(const OwnFftSpectra<int32_t>& from, int32_t row, int32_t rows, int32_t length, const int32_t*,
             int32_t* block)
{
    V* x = groups<V>(block);
    x[0] = takeFirst<V>(from.first + row, rows);
    x[1] = length % 2 == 0 ? takeFirst<V>(from.middle + row, rows) : V{};
    const int32_t* column = from.columns + 2 * ptrdiff_t{row};
    for (ptrdiff_t k = 1; k <= (length - 1) / 2; ++k, column += from.columnStep) {
        Complex<V> value = takeComplex<V>(column, rows);
        x[2 * k] = value.re;
        x[2 * k + 1] = value.im;
    }
}

// ---- Complex columns of spectra ----

template <class V>
void columnsIn(const Value<V>* column, ptrdiff_t columnStep, int32_t count, ptrdiff_t length, const int32_t* order,
               Value<V>* block)
{
    GroupLines<V> lines(reinterpret_cast<uint8_t*>(const_cast<Value<V>*>(column)), bytesOf<V>(columnStep), count, 0);
    transposeIn<V>(lines.lines, 0, 2 * length, groups<V>(block), ComplexSlot{order});
}

template <class V>
void columnsOut(const Value<V>* block, Value<V>* column, ptrdiff_t columnStep, int32_t count, ptrdiff_t length,
                float scale)
{
    GroupLines<V> lines(reinterpret_cast<uint8_t*>(column), bytesOf<V>(columnStep), count, 0);
    transposeOut<V>(groups<V>(block), ComplexSlot{nullptr}, lines.lines, lines.count, 0, 2 * length, scale);
}

// ---- Packed spectra ----

template <class V>
void packedIn(const OwnGeometry& image, const OwnFftRow<Value<V>>* convert, int32_t count, const int32_t* order,
              Value<V>* block)
{
    constexpr int lanes = lanesOf<V>;
    V* x = groups<V>(block);
    bool direct = !convert && count == lanes;
    alignas(V) Value<V> stage[2 * lanes] = {};
    const uint8_t* row = image.start;
    for (ptrdiff_t r = 0; r < image.height; ++r, row += image.rowStep) {
        const void* from = direct ? static_cast<const void*>(row) : stage;
        if (convert)
            convert->load(row, image.pixelStep, stage, 2 * count);
        else if (!direct)
            __builtin_memcpy(stage, row, 2 * size_t(count) * sizeof(*stage));
        Pair<V> pair = separate(take<V>(from), take<V>(static_cast<const uint8_t*>(from) + sizeof(V)));
        V* to = x + 2 * placeOf(order, r);
        to[0] = pair.first;
        to[1] = pair.second;
    }
}

template <class V>
void packedOut(const Value<V>* block, Value<V>* carry, const OwnGeometry& image, const OwnFftRow<Value<V>>* convert,
               int32_t count, float scale)
{
    constexpr int lanes = lanesOf<V>;
    const V* x = groups<V>(block);
    alignas(V) Value<V> stage[2 * lanes + 1];
    uint8_t* row = image.start;
    for (ptrdiff_t r = 0; r < image.height; ++r, row += image.rowStep) {
        Pair<V> pair = interleave(x[2 * r], x[2 * r + 1]);
        if constexpr (lanes > 1) {
            if (!convert && count == lanes) {
                fetchAhead(row, image.rowStep);
                fetchAhead(row + sizeof(V), image.rowStep);
                pair = shiftIn(pair, carry[r]);
                put(row, scaled(pair.first, scale));
                put(row + sizeof(V), scaled(pair.second, scale));
                continue;
            }
        }
        stage[0] = carry[r];
        put(stage + 1, pair.first);
        put(stage + 1 + lanes, pair.second);
        carry[r] = stage[2 * count];
        if (convert)
            convert->store(stage, row, image.pixelStep, 2 * count, scale);
        else
            for (ptrdiff_t i = 0; i < 2 * count; ++i)
                ownStore(row, i, scaled(stage[i], scale));
    }
}

template <class V>
constexpr OwnFftBlocks<Value<V>> blocksWith(decltype(OwnFftBlocks<Value<V>>::spectraOut) out,
                                            decltype(OwnFftBlocks<Value<V>>::spectraIn) in)
{
    return {
        realLanesOf<V>, lanesOf<V>,    imageRowsIn<V>, imageRowsOut<V>, imageColumnsIn<V>, imageColumnsOut<V>, out, in,
        columnsIn<V>,   columnsOut<V>, packedIn<V>,    packedOut<V>};
}

template <class V>
constexpr OwnFftBlocks<float> floatBlock = blocksWith<V>(spectraOut<V>, spectraIn<V>);
template <class V>
constexpr OwnFftBlocks<int32_t> intBlock = blocksWith<V>(pairsOut<V>, pairsIn<V>);

}  // namespace

const OwnFftBlocks<float> floatBlocks[2] = {floatBlock<float>, floatBlock<FloatVector>};
const OwnFftBlocks<int32_t> intBlocks[2] = {intBlock<uint32_t>, intBlock<IntVector>};

}  // namespace OWN_ISA
