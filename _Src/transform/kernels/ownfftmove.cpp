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

// Asks for what will be written some steps further on. Writes that go in large steps otherwise wait for each line of
// memory.
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

// The lines of a lane group of a block of real lines, which are dealt to the groups by turns: so the same two make a
// complex line whatever the lanes are. Lanes without a line get the last one.
template <class V>
struct GroupLines {
    int32_t count = 0;  // that are there
    uint8_t* lines[lanesOf<V>];

    GroupLines(uint8_t* first, ptrdiff_t lineStep, int32_t all, int group)
    {
        for (int l = 0; l < lanesOf<V>; ++l) {
            int32_t line = l * realGroups<V> + group;
            count += line < all;
            lines[l] = first + (line < all ? line : all - 1) * lineStep;
        }
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

// The groups of a value of neighbouring real lines, whose values `from` has room for; and back.
template <class V>
inline void dealLines(const void* from, V* to)
{
    if constexpr (realGroups<V> == 2) {
        Pair<V> pair = separate(take<V>(from), take<V>(static_cast<const V*>(from) + 1));
        to[0] = pair.first;
        to[1] = pair.second;
    } else {
        *to = take<V>(from);
    }
}

template <class V>
inline void gatherLines(const V* from, void* to)
{
    if constexpr (realGroups<V> == 2) {
        Pair<V> pair = interleave(from[0], from[1]);
        put(to, pair.first);
        put(static_cast<V*>(to) + 1, pair.second);
    } else {
        put(to, *from);
    }
}

template <class V>
void imageColumnsIn(const OwnGeometry& columns, const int32_t* order, Value<V>* block)
{
    V* x = groups<V>(block);
    bool isFull = columns.width == realLanesOf<V>;
    Value<V> some[realLanesOf<V>] = {};
    const uint8_t* row = columns.start;
    for (ptrdiff_t y = 0; y < columns.height; ++y, row += columns.rowStep) {
        for (ptrdiff_t l = 0; !isFull && l < columns.width; ++l)
            some[l] = ownLoad<Value<V>>(row, l);
        dealLines(isFull ? static_cast<const void*>(row) : some, x + placeOf(order, y) * realGroups<V>);
    }
}

template <class V>
void imageColumnsOut(const Value<V>* block, const int32_t* order, const OwnGeometry& columns,
                     const OwnFftRow<Value<V>>* convert)
{
    const V* x = groups<V>(block);
    bool isFull = columns.width == realLanesOf<V>;
    alignas(64) Value<V> some[realLanesOf<V>];
    uint8_t* row = columns.start;
    for (ptrdiff_t y = 0; y < columns.height; ++y, row += columns.rowStep) {
        const V* from = x + placeOf(order, y) * realGroups<V>;
        if (!convert && isFull) {
            gatherLines(from, static_cast<void*>(row));
            continue;
        }
        gatherLines(from, static_cast<void*>(some));
        if (convert)
            convert->store(some, row, columns.pixelStep, columns.width, 1);
        else
            __builtin_memcpy(row, some, size_t(columns.width) * sizeof(*some));
    }
}

// ---- Spectra of rows ----

template <class V>
inline Value<V>& laneOf(V& v, int lane)
{
    return reinterpret_cast<Value<V>*>(&v)[lane];
}

template <class V>
inline Value<V> laneOf(const V& v, int lane)
{
    return reinterpret_cast<const Value<V>*>(&v)[lane];
}

// Values k of the spectra of the lines of a block. The spectra of the real and of the imaginary parts of complex lines
// are what their spectrum has of either symmetry; in fixed point they are there as pairs.
template <class V>
struct Spectrum {
    Complex<V> values[realGroups<V>];

    static Spectrum get(const V* block, ptrdiff_t k, [[maybe_unused]] ptrdiff_t length)
    {
        Complex<V> a = {block[2 * k], block[2 * k + 1]};
        if constexpr (isFloat<V>) {
            Complex<V> b = {block[2 * (length - k)], block[2 * (length - k) + 1]};
            return {{{(a.re + b.re) * 0.5f, (a.im - b.im) * 0.5f}, {(a.im + b.im) * 0.5f, (b.re - a.re) * 0.5f}}};
        } else {
            return {{a}};
        }
    }
    void set(V* block, ptrdiff_t k, [[maybe_unused]] ptrdiff_t length, [[maybe_unused]] const int32_t* order) const
    {
        if constexpr (isFloat<V>) {
            const Complex<V>&a = values[0], &b = values[1];
            lineAt(block, false).set(order[k], {a.re - b.im, a.im + b.re});
            lineAt(block, false).set(order[length - k], {a.re + b.im, b.re - a.im});
        } else {
            lineAt(block, false).set(k, values[0]);
        }
    }
};

// The real values 0 or length / 2 of the spectra of a block, of `rows` rows.
template <class V>
inline V* realValue(V* block, bool isMiddle, [[maybe_unused]] ptrdiff_t length, [[maybe_unused]] const int32_t* order)
{
    if constexpr (isFloat<V>)
        return block + 2 * placeOf(order, isMiddle ? length / 2 : 0);
    else
        return block + isMiddle;
}

template <class V>
inline void realOut(const V* from, Value<V>* to, int32_t rows)
{
    alignas(64) Value<V> values[realLanesOf<V>];
    gatherLines(from, values);
    __builtin_memcpy(to, values, size_t(rows) * sizeof(*to));
}

template <class V>
inline void realIn(const Value<V>* from, V* to, int32_t rows)
{
    alignas(64) Value<V> values[realLanesOf<V>] = {};
    __builtin_memcpy(values, from, size_t(rows) * sizeof(*from));
    dealLines(values, to);
}

template <class V>
void spectraOut(const Value<V>* block, const OwnFftSpectra<Value<V>>& to, int32_t row, int32_t rows, int32_t length)
{
    constexpr int lanes = lanesOf<V>;
    V* x = groups<V>(const_cast<Value<V>*>(block));
    realOut(realValue(x, false, length, nullptr), to.first + row, rows);
    if (length % 2 == 0)
        realOut(realValue(x, true, length, nullptr), to.middle + row, rows);
    const ptrdiff_t last = (length - 1) / 2;
    ptrdiff_t k = 1;
    if (lanes > 1 && to.lanes == lanes)
        for (; k + lanes - 1 <= last; k += lanes) {
            V re[realGroups<V>][lanes], im[realGroups<V>][lanes];
            for (int i = 0; i < lanes; ++i) {
                Spectrum<V> spectrum = Spectrum<V>::get(x, k + i, length);
                for (int group = 0; group < realGroups<V>; ++group) {
                    re[group][i] = spectrum.values[group].re;
                    im[group][i] = spectrum.values[group].im;
                }
            }
            Value<V>* first = to.at(k, row);
            for (int group = 0; group < realGroups<V>; ++group) {
                transposeSquare(re[group]);
                transposeSquare(im[group]);
                for (int l = 0, line = group; l < lanes && line < rows; ++l, line += realGroups<V>) {
                    put(first + 2 * lanes * line, re[group][l]);
                    put(first + 2 * lanes * line + lanes, im[group][l]);
                }
            }
        }
    for (; k <= last; ++k) {
        Spectrum<V> spectrum = Spectrum<V>::get(x, k, length);
        for (int l = 0; l < rows; ++l) {
            const Complex<V>& value = spectrum.values[l % realGroups<V>];
            Value<V>* at = to.at(k, row + l);
            at[0] = laneOf(value.re, l / realGroups<V>);
            at[to.lanes] = laneOf(value.im, l / realGroups<V>);
        }
    }
}

template <class V>
void spectraIn(const OwnFftSpectra<Value<V>>& from, int32_t row, int32_t rows, int32_t length, const int32_t* order,
               Value<V>* block)
{
    constexpr int lanes = lanesOf<V>;
    V* x = groups<V>(block);
    realIn(from.first + row, realValue(x, false, length, order), rows);
    if (length % 2 == 0)
        realIn(from.middle + row, realValue(x, true, length, order), rows);
    const ptrdiff_t last = (length - 1) / 2;
    ptrdiff_t k = 1;
    if (lanes > 1 && from.lanes == lanes)
        for (; k + lanes - 1 <= last; k += lanes) {
            V re[realGroups<V>][lanes], im[realGroups<V>][lanes];
            const Value<V>* first = from.at(k, row);
            for (int group = 0; group < realGroups<V>; ++group) {
                for (int l = 0, line = group; l < lanes; ++l, line += realGroups<V>) {
                    const Value<V>* at = first + 2 * lanes * line;
                    re[group][l] = line < rows ? take<V>(at) : V{};
                    im[group][l] = line < rows ? take<V>(at + lanes) : V{};
                }
                transposeSquare(re[group]);
                transposeSquare(im[group]);
            }
            for (int i = 0; i < lanes; ++i) {
                Spectrum<V> spectrum;
                for (int group = 0; group < realGroups<V>; ++group)
                    spectrum.values[group] = {re[group][i], im[group][i]};
                spectrum.set(x, k + i, length, order);
            }
        }
    for (; k <= last; ++k) {
        Spectrum<V> spectrum = {};
        for (int l = 0; l < rows; ++l) {
            Complex<V>& value = spectrum.values[l % realGroups<V>];
            const Value<V>* at = from.at(k, row + l);
            laneOf(value.re, l / realGroups<V>) = at[0];
            laneOf(value.im, l / realGroups<V>) = at[from.lanes];
        }
        spectrum.set(x, k, length, order);
    }
}

// ---- Complex columns of spectra ----

template <class V>
void columnsIn(const Value<V>* columns, ptrdiff_t length, const int32_t* order, Value<V>* block)
{
    V* x = groups<V>(block);
    for (ptrdiff_t e = 0; e < length; ++e, columns += 2 * lanesOf<V>) {
        V* to = x + 2 * placeOf(order, e);
        to[0] = take<V>(columns);
        to[1] = take<V>(columns + lanesOf<V>);
    }
}

template <class V>
void columnsOut(const Value<V>* block, Value<V>* columns, ptrdiff_t length, float scale)
{
    const V* x = groups<V>(block);
    for (ptrdiff_t e = 0; e < 2 * length; ++e)
        put(columns + e * lanesOf<V>, scaled(x[e], scale));
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
constexpr OwnFftBlocks<Value<V>> blocks = {realLanesOf<V>,    lanesOf<V>,         imageRowsIn<V>, imageRowsOut<V>,
                                           imageColumnsIn<V>, imageColumnsOut<V>, spectraOut<V>,  spectraIn<V>,
                                           columnsIn<V>,      columnsOut<V>,      packedIn<V>,    packedOut<V>};

}  // namespace

const OwnFftBlocks<float> floatBlocks[2] = {blocks<float>, blocks<FloatVector>};
const OwnFftBlocks<int32_t> intBlocks[2] = {blocks<uint32_t>, blocks<IntVector>};

}  // namespace OWN_ISA
