// Kernels that fold windows to their least or their greatest value.
//
// A window is folded along the columns first and then along the rows. Along the columns neighbouring results share what
// they have in common: two results their inner rows, or, where windows are high, as many results as a window has rows,
// by van Herk and Gil-Werman: results are made of the fold from their first row to the end of a block and the fold from
// there to their last row, each of which grows by a row from result to result. Along a row windows grow fourfold, and
// at the end a few that overlap make the whole one.
#include "ownfold.h"

#include <string.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

struct Least {
    template <class V>
    static inline __attribute__((always_inline)) V of(V a, V b)
    {
        return a < b ? a : b;
    }
};

struct Greatest {
    template <class V>
    static inline __attribute__((always_inline)) V of(V a, V b)
    {
        return a > b ? a : b;
    }
};

// The same for bits.
struct All {
    template <class V>
    static inline __attribute__((always_inline)) V of(V a, V b)
    {
        return V(a & b);
    }
};

struct Any {
    template <class V>
    static inline __attribute__((always_inline)) V of(V a, V b)
    {
        return V(a | b);
    }
};

// V is a value or a vector of values.
template <class V>
inline __attribute__((always_inline)) V loadAt(const void* p, ptrdiff_t byte)
{
    V v;
    __builtin_memcpy(&v, static_cast<const char*>(p) + byte, sizeof v);
    return v;
}
template <class V>
inline __attribute__((always_inline)) void storeAt(void* p, ptrdiff_t byte, V v)
{
    __builtin_memcpy(static_cast<char*>(p) + byte, &v, sizeof v);
}

// ---- Along the columns --------------------------------------------------------------------------------------------

// Windows of up to so many rows are folded two by two.
constexpr ptrdiff_t lowWindow = 5;

// Rows of results that are folded together along the columns before any of them is along its length: what has just been
// stored is slow to load in other pieces.
inline ptrdiff_t groupRows(ptrdiff_t nRows, ptrdiff_t count)
{
    constexpr ptrdiff_t least = 8;
    ptrdiff_t most = nRows <= lowWindow ? least : nRows;
    return most < count ? most : count;
}

struct Columns {
    const void* const* rows;
    ptrdiff_t first;  // in the rows
    void* const* results;
    ptrdiff_t count, nRows;
    void* scratch;  // a block of values for each result
};

// The values of two results, or one, from a byte of the rows on: n of V.
template <class Op, class V, int n>
inline __attribute__((always_inline)) void foldPair(const Columns& columns, ptrdiff_t byte)
{
    V common[n];
    auto row = [&](ptrdiff_t i, int k) {
        return loadAt<V>(columns.rows[i], columns.first + byte + k * ptrdiff_t(sizeof(V)));
    };
    auto store = [&](ptrdiff_t i, int k, V v) { storeAt(columns.results[i], byte + k * ptrdiff_t(sizeof(V)), v); };
    const ptrdiff_t nRows = columns.nRows;
    for (int k = 0; k < n; ++k)
        common[k] = row(nRows - 1, k);
    for (ptrdiff_t i = nRows - 2; i > 0; --i)
        for (int k = 0; k < n; ++k)
            common[k] = Op::of(row(i, k), common[k]);
    for (int k = 0; k < n; ++k)
        store(0, k, nRows == 1 ? common[k] : Op::of(row(0, k), common[k]));
    if (columns.count > 1)
        for (int k = 0; k < n; ++k)
            store(1, k, nRows == 1 ? row(1, k) : Op::of(common[k], row(nRows, k)));
}

// The same for up to nRows results.
template <class Op, class V, int n>
inline __attribute__((always_inline)) void foldBlock(const Columns& columns, ptrdiff_t byte)
{
    V v[n];
    auto row = [&](ptrdiff_t i, int k) {
        return loadAt<V>(columns.rows[i], columns.first + byte + k * ptrdiff_t(sizeof(V)));
    };
    auto store = [&](ptrdiff_t i, int k, V value) {
        storeAt(columns.results[i], byte + k * ptrdiff_t(sizeof(V)), value);
    };
    const ptrdiff_t nRows = columns.nRows;
    auto* toEnd = static_cast<V*>(columns.scratch);  // the folds from a row to the block's last
    for (int k = 0; k < n; ++k)
        v[k] = row(nRows - 1, k);
    ptrdiff_t last = nRows - 1;
    for (; last > columns.count; --last)
        for (int k = 0; k < n; ++k)
            v[k] = Op::of(row(last - 1, k), v[k]);
    for (ptrdiff_t i = last; i > 0; --i)
        for (int k = 0; k < n; ++k) {
            if (i < columns.count)
                toEnd[i * n + k] = v[k];
            v[k] = Op::of(row(i - 1, k), v[k]);
        }
    for (int k = 0; k < n; ++k)
        store(0, k, v[k]);
    for (ptrdiff_t i = 1; i < columns.count; ++i)
        for (int k = 0; k < n; ++k) {
            V next = row(nRows + i - 1, k);
            v[k] = i == 1 ? next : Op::of(v[k], next);
            store(i, k, Op::of(toEnd[i * n + k], v[k]));
        }
}

// The first `bytes` of the results. Blocks overlap at the end, unless there is less than a vector.
template <class Op, class T>
void foldColumns(const Columns& columns, ptrdiff_t bytes)
{
    constexpr ptrdiff_t wide = 4 * vectorBytes;
    auto fold = [&]<class V, int n>(ptrdiff_t byte) {
        if (columns.nRows > lowWindow)
            return foldBlock<Op, V, n>(columns, byte);
        Columns pair = columns;
        for (ptrdiff_t i = 0; i < columns.count; i += 2, pair.rows += 2, pair.results += 2, pair.count -= 2)
            foldPair<Op, V, n>(pair, byte);
    };
    ptrdiff_t byte = 0;
    for (; byte + wide <= bytes; byte += wide)
        fold.template operator()<Vector<T>, 4>(byte);
    for (; byte + vectorBytes <= bytes; byte += vectorBytes)
        fold.template operator()<Vector<T>, 1>(byte);
    if (byte < bytes && bytes >= vectorBytes)
        return fold.template operator()<Vector<T>, 1>(bytes - vectorBytes);
    for (; byte < bytes; byte += ptrdiff_t(sizeof(T)))
        fold.template operator()<T, 1>(byte);
}

// ---- Along a row --------------------------------------------------------------------------------------------------

// At the end of a row that is folded in place, some more bytes are read and written.
constexpr ptrdiff_t slack = 2 * vectorBytes;

// row[i] = the fold of row[i], row[i + offset], and so on: `n` of them, for the first `bytes`.
template <class Op, class T, int n>
void grow(void* row, ptrdiff_t bytes, ptrdiff_t offset)
{
    using V = Vector<T>;
    for (ptrdiff_t byte = 0; byte < bytes; byte += vectorBytes) {
        V v = loadAt<V>(row, byte);
        for (int k = 1; k < n; ++k)
            v = Op::of(v, loadAt<V>(row, byte + k * offset));
        storeAt(row, byte, v);
    }
}

// result[i] = the fold of row[i + offset of k] for `n` offsets.
template <class Op, class T, int n>
void gather(const void* row, const ptrdiff_t* offsets, void* result, ptrdiff_t bytes)
{
    auto fold = [&]<class V>(ptrdiff_t byte) {
        V v = loadAt<V>(row, byte);
        for (int k = 1; k < n; ++k)
            v = Op::of(v, loadAt<V>(row, byte + offsets[k]));
        storeAt(result, byte, v);
    };
    ptrdiff_t byte = 0;
    for (; byte + vectorBytes <= bytes; byte += vectorBytes)
        fold.template operator()<Vector<T>>(byte);
    if (byte < bytes && bytes >= vectorBytes)
        return fold.template operator()<Vector<T>>(bytes - vectorBytes);
    for (; byte < bytes; byte += ptrdiff_t(sizeof(T)))
        fold.template operator()<T>(byte);
}

// Folds windows of nCols values that lie `step` bytes apart, from rows that this changes.
template <class Op, class T>
void foldRows(void* const* rows, ptrdiff_t count, ptrdiff_t nCols, ptrdiff_t step, void* const* results,
              ptrdiff_t bytes)
{
    constexpr ptrdiff_t most = 4;  // windows that are brought together at a time
    ptrdiff_t window = 1;
    for (; nCols > most * window; window *= most)
        for (ptrdiff_t i = 0; i < count; ++i)
            grow<Op, T, most>(rows[i], bytes + (nCols - most * window) * step, window * step);
    // Windows side by side, the last one where it ends with the whole.
    const ptrdiff_t last = (nCols - window) * step;
    const ptrdiff_t offsets[most] = {0, window * step < last ? window * step : last,
                                     2 * window * step < last ? 2 * window * step : last, last};
    for (ptrdiff_t i = 0; i < count; ++i)
        switch ((nCols + window - 1) / window) {
        case 1: memcpy(results[i], rows[i], size_t(bytes)); break;
        case 2: gather<Op, T, 2>(rows[i], offsets, results[i], bytes); break;
        case 3: gather<Op, T, 3>(rows[i], offsets, results[i], bytes); break;
        default: gather<Op, T, 4>(rows[i], offsets, results[i], bytes); break;
        }
}

// ---- Three by three -----------------------------------------------------------------------------------------------

// Along the row and down the columns in one go: row(i) answers the fold along row i at a place, store takes a result.
template <class Op, class Row, class Store>
inline __attribute__((always_inline)) void foldThree(ptrdiff_t count, Row row, Store store)
{
    auto a = row(0), b = row(1);
    ptrdiff_t i = 0;
    for (; i + 2 <= count; i += 2) {
        auto c = row(i + 2), d = row(i + 3);
        auto inner = Op::of(b, c);
        store(i, Op::of(a, inner));
        store(i + 1, Op::of(inner, d));
        a = c;
        b = d;
    }
    if (i < count)
        store(i, Op::of(Op::of(a, b), row(i + 2)));
}

// A pair of vectors, so that a row's address is taken once for both.
template <class V>
struct Two {
    V a, b;
};

template <class Op>
struct Both {
    template <class V>
    static inline __attribute__((always_inline)) Two<V> of(Two<V> a, Two<V> b)
    {
        return {Op::of(a.a, b.a), Op::of(a.b, b.b)};
    }
};

template <class Op, class T>
void foldThreeByThree(const OwnFoldBand& band)
{
    const ptrdiff_t step = band.step * ptrdiff_t(sizeof(T)), bytes = band.values * ptrdiff_t(sizeof(T));
    const void* const* const rows = band.rows;
    void* const* const results = band.results;
    const ptrdiff_t count = band.count, first = band.first;
    auto foldAt = [=]<class V>(V, ptrdiff_t i, ptrdiff_t byte) {
        const char* row = static_cast<const char*>(rows[i]) + first + byte;
        return Op::of(Op::of(loadAt<V>(row, 0), loadAt<V>(row, step)), loadAt<V>(row, 2 * step));
    };
    auto fold = [=]<class V>(V v, ptrdiff_t byte) {
        foldThree<Op>(
            count, [=](ptrdiff_t i) { return foldAt(v, i, byte); },
            [=](ptrdiff_t i, V value) { storeAt(results[i], byte, value); });
    };
    using V = Vector<T>;
    ptrdiff_t byte = 0;
    for (; byte + 2 * vectorBytes <= bytes; byte += 2 * vectorBytes)
        foldThree<Both<Op>>(
            count,
            [=](ptrdiff_t i) {
                return Two<V>{foldAt(V{}, i, byte), foldAt(V{}, i, byte + vectorBytes)};
            },
            [=](ptrdiff_t i, Two<V> two) {
                storeAt(results[i], byte, two.a);
                storeAt(results[i], byte + vectorBytes, two.b);
            });
    for (; byte + vectorBytes <= bytes; byte += vectorBytes)
        fold(V{}, byte);
    if (byte < bytes && bytes >= vectorBytes)
        return fold(V{}, bytes - vectorBytes);
    for (; byte < bytes; byte += ptrdiff_t(sizeof(T)))
        fold(T{}, byte);
}

// ---- Along a row of bits ------------------------------------------------------------------------------------------

using Pairs = Vector<uint16_t>;  // of bytes

// A vector of the bytes that begin so many bits, up to 16, after those at a byte of a row.
inline __attribute__((always_inline)) Pairs shiftedBytes(const void* row, ptrdiff_t byte, int bits)
{
    const int left = bits & 7;
    const Pairs v = loadAt<Pairs>(row, byte + (bits >> 3));
    if (!left)
        return v;
    const auto kept = uint16_t((0xFF << left & 0xFF) * 0x0101);  // what a shift leaves of each byte
    const Pairs high = kept - Pairs{};
    return (v << left & high) | (loadAt<Pairs>(row, byte + (bits >> 3) + 1) >> (8 - left) & ~high);
}

// row[i] = the fold of row[i] and row[i + bits], for the first `bytes`.
template <class Op, int bits>
void growBits(void* row, ptrdiff_t bytes)
{
    for (ptrdiff_t byte = 0; byte < bytes; byte += vectorBytes)
        storeAt(row, byte, Op::of(loadAt<Pairs>(row, byte), shiftedBytes(row, byte, bits)));
}

// Stores a vector of bits at a byte of a row of `count` bits; what comes after them stays.
inline __attribute__((always_inline)) void storeBits(void* to, ptrdiff_t count, ptrdiff_t byte, Pairs v)
{
    auto* d = static_cast<uint8_t*>(to) + byte;
    const ptrdiff_t bits = count - byte * 8;
    if (bits >= vectorBytes * 8)
        return storeAt(d, 0, v);
    uint8_t last[vectorBytes];
    storeAt(last, 0, v);
    const ptrdiff_t whole = bits >> 3;
    memcpy(d, last, size_t(whole));
    if (const auto rest = uint8_t(0xFF >> (bits & 7)); rest != 0xFF)
        d[whole] = uint8_t((d[whole] & rest) | (last[whole] & ~rest));
}

// result[i] = the fold of row[i + a] and row[i + b].
template <class Op>
void gatherBits(const void* row, ptrdiff_t a, ptrdiff_t b, void* result, ptrdiff_t count)
{
    const char *one = static_cast<const char*>(row) + (a >> 3), *other = static_cast<const char*>(row) + (b >> 3);
    const int left = int(a & 7), otherLeft = int(b & 7);
    for (ptrdiff_t byte = 0; byte * 8 < count; byte += vectorBytes)
        storeBits(result, count, byte, Op::of(shiftedBytes(one, byte, left), shiftedBytes(other, byte, otherLeft)));
}

// Folds windows of nCols bits, the first of which begins at bit `bit`, from rows that this changes.
template <class Op>
void foldBitRows(void* const* rows, ptrdiff_t rowCount, ptrdiff_t nCols, ptrdiff_t bit, void* const* results,
                 ptrdiff_t count)
{
    ptrdiff_t window = 1;
    for (; nCols > 2 * window; window *= 2) {
        const ptrdiff_t bytes = (bit + count + nCols - window + 7) >> 3;
        for (ptrdiff_t i = 0; i < rowCount; ++i)
            switch (window) {
            case 1: growBits<Op, 1>(rows[i], bytes); break;
            case 2: growBits<Op, 2>(rows[i], bytes); break;
            case 4: growBits<Op, 4>(rows[i], bytes); break;
            default: grow<Op, uint8_t, 2>(rows[i], bytes, window >> 3); break;
            }
    }
    for (ptrdiff_t i = 0; i < rowCount; ++i)
        gatherBits<Op>(rows[i], bit, bit + nCols - window, results[i], count);
}

template <class Op, int bit>
void foldBitsThreeByThree(const OwnFoldBand& band)
{
    const void* const* const rows = band.rows;
    void* const* const results = band.results;
    const ptrdiff_t count = band.count, first = band.first, values = band.values;
    for (ptrdiff_t byte = 0; byte * 8 < values; byte += vectorBytes)
        foldThree<Op>(
            count,
            [=](ptrdiff_t i) {
                const char* row = static_cast<const char*>(rows[i]) + first;
                return Op::of(Op::of(shiftedBytes(row, byte, bit), shiftedBytes(row, byte, bit + 1)),
                              shiftedBytes(row, byte, bit + 2));
            },
            [=](ptrdiff_t i, Pairs v) { storeBits(results[i], values, byte, v); });
}

// The first bit decides how far everything is shifted.
template <class Op>
constexpr void (*bitsThreeByThree[8])(const OwnFoldBand&) = {
    foldBitsThreeByThree<Op, 0>, foldBitsThreeByThree<Op, 1>, foldBitsThreeByThree<Op, 2>, foldBitsThreeByThree<Op, 3>,
    foldBitsThreeByThree<Op, 4>, foldBitsThreeByThree<Op, 5>, foldBitsThreeByThree<Op, 6>, foldBitsThreeByThree<Op, 7>};

// ---- Rows of bits with their ends ---------------------------------------------------------------------------------

inline uint64_t bitOf(const uint8_t* row, ptrdiff_t place)
{
    return row[place >> 3] >> (~place & 7) & 1;
}

// 64 pixels of an end that are all the same.
inline uint64_t repeatedBit(const uint8_t* row, const OwnBitEnd& end)
{
    return -(end.places ? bitOf(row, end.place[end.places - 1]) : uint64_t{end.constant});
}

// 64 pixels of an end from one of them on, the first on top.
inline uint64_t bitsOfEnd(const uint8_t* row, const OwnBitEnd& end, int64_t from)
{
    uint64_t bits = 0;
    int64_t i = from;
    for (; i < end.places && i < from + 64; ++i)
        bits |= bitOf(row, end.place[i]) << (63 - (i - from));
    return i < from + 64 ? bits | repeatedBit(row, end) >> (i - from) : bits;
}

inline uint64_t reversed(uint64_t bits)
{
    bits = (bits >> 1 & 0x5555555555555555u) | (bits & 0x5555555555555555u) << 1;
    bits = (bits >> 2 & 0x3333333333333333u) | (bits & 0x3333333333333333u) << 2;
    bits = (bits >> 4 & 0x0F0F0F0F0F0F0F0Fu) | (bits & 0x0F0F0F0F0F0F0F0Fu) << 4;
    return __builtin_bswap64(bits);
}

inline void storeWord(uint8_t* to, uint64_t bits)
{
    bits = ownFirstOnTop(bits);
    __builtin_memcpy(to, &bits, sizeof bits);
}

// Copies at least one byte.
inline __attribute__((always_inline)) void copyBytes(const uint8_t* from, uint8_t* to, ptrdiff_t n)
{
    using V = Vector<uint8_t>;
    ptrdiff_t i = 0;
    if (n < vectorBytes) {
        for (; i < n; ++i)
            to[i] = from[i];
        return;
    }
    for (; i + vectorBytes <= n; i += vectorBytes)
        storeAt(to, i, loadAt<V>(from, i));
    if (i < n)
        storeAt(to, n - vectorBytes, loadAt<V>(from, n - vectorBytes));
}

// The word whose first `keep` bits are those of a byte, and the one whose last 8 - skip bits are; the others are an
// end's.
inline uint64_t rightWord(uint64_t byte, int keep, uint64_t bits)
{
    return (byte & 0xFF << (8 - keep)) << 56 | bits >> keep;
}
inline uint64_t leftWord(uint64_t byte, int skip, uint64_t bits)
{
    return (byte & 0xFF >> skip) | bits << (8 - skip);
}

// Any ends, 56 pixels at a time.
__attribute__((noinline)) void storeEnds(const OwnBitCopies& r, const uint8_t* row, uint8_t* copy)
{
    uint8_t* to = copy + (r.last - r.first);
    const uint64_t first = *copy;
    uint64_t word = uint64_t{*to} << 56;
    for (int64_t i = 0; i < r.right.pixels; i += 56, to += 7, word <<= 56)
        storeWord(to, word = rightWord(word >> 56, r.keep, bitsOfEnd(row, r.right, i)));
    word = r.first == r.last ? *copy : first;
    to = copy - 7;
    for (int64_t i = 0; i < r.left.pixels; i += 56, to -= 7, word >>= 56)
        storeWord(to, word = leftWord(word & 0xFF, r.skip, reversed(bitsOfEnd(row, r.left, i))));
}

// Rows whose ends are of one kind of pixel each and fit a word.
void copyPlainBits(const OwnBitCopies& rows)
{
    const OwnBitCopies r = rows;
    const ptrdiff_t bytes = r.last - r.first + 1;
    for (ptrdiff_t i = 0; i < r.count; ++i) {
        const uint8_t* row = r.row + i * r.rowStep;
        uint8_t* copy = r.copy + i * r.copyStep;
        const uint64_t right = rightWord(row[r.last], r.keep, repeatedBit(row, r.right));
        const uint64_t left = leftWord(bytes > 1 ? row[r.first] : right >> 56, r.skip, repeatedBit(row, r.left));
        copyBytes(row + r.first, copy, bytes);
        storeWord(copy + bytes - 1, right);
        storeWord(copy - 7, left);
    }
}

void copyBits(const OwnBitCopies& r)
{
    constexpr int64_t most = 56;
    if (r.left.places < 2 && r.right.places < 2 && r.left.pixels <= most && r.right.pixels <= most)
        return copyPlainBits(r);
    for (ptrdiff_t i = 0; i < r.count; ++i) {
        const uint8_t* row = r.row + i * r.rowStep;
        uint8_t* copy = r.copy + i * r.copyStep;
        copyBytes(row + r.first, copy, r.last - r.first + 1);
        storeEnds(r, row, copy);
    }
}

// ---- Both ---------------------------------------------------------------------------------------------------------

// What the scratch holds one after the other, in bytes: a block of values for each result of a group, where the rows
// lie that are folded along the columns, and these.
struct Scratch {
    int64_t block, pointers, slot;
    int64_t all;

    Scratch(int64_t group, int64_t rowBytes)
        : block(group * 4 * vectorBytes),
          pointers(roundUp(group * int64_t{sizeof(void*)})),
          slot(roundUp(rowBytes + slack)),
          all(slot > INT32_MAX / group ? INT64_MAX : block + pointers + group * slot)
    {
    }
    static int64_t roundUp(int64_t bytes) { return (bytes + vectorBytes - 1) & -int64_t{vectorBytes}; }
};

template <class Op, class T>
struct ValueRows {
    using Column = Op;
    using Value = T;
    static constexpr ptrdiff_t size = sizeof(T);

    static ptrdiff_t bytes(const OwnFoldBand& band) { return (band.values + (band.nCols - 1) * band.step) * size; }
    static bool needsNoMore(const OwnFoldBand& band) { return band.nCols == 1; }
    static void fold(const OwnFoldBand& band, void* const* rows, ptrdiff_t count, void* const* results)
    {
        foldRows<Op, T>(rows, count, band.nCols, band.step * size, results, band.values * size);
    }
    static void threeByThree(const OwnFoldBand& band) { foldThreeByThree<Op, T>(band); }
};

template <class Op>
struct BitRows {
    using Column = Op;
    using Value = uint8_t;

    static ptrdiff_t bytes(const OwnFoldBand& band) { return (band.bit + band.values + band.nCols - 1 + 7) >> 3; }
    static bool needsNoMore(const OwnFoldBand&) { return false; }
    static void fold(const OwnFoldBand& band, void* const* rows, ptrdiff_t count, void* const* results)
    {
        foldBitRows<Op>(rows, count, band.nCols, band.bit, results, band.values);
    }
    static void threeByThree(const OwnFoldBand& band) { bitsThreeByThree<Op>[band.bit](band); }
};

template <class Rows>
Scratch scratchOf(const OwnFoldBand& band)
{
    return Scratch(groupRows(band.nRows, band.count), Rows::bytes(band));
}

template <class Rows>
int64_t scratchBytes(const OwnFoldBand& band)
{
    return scratchOf<Rows>(band).all;
}

template <class Rows>
void foldBand(const OwnFoldBand& band)
{
    if (band.nCols == 3 && band.nRows == 3)
        return Rows::threeByThree(band);
    const ptrdiff_t group = groupRows(band.nRows, band.count);
    const Scratch scratch = scratchOf<Rows>(band);
    const bool direct = Rows::needsNoMore(band);
    auto* block = static_cast<char*>(band.scratch);
    auto** slots = reinterpret_cast<void**>(block + scratch.block);
    for (ptrdiff_t i = 0; i < group; ++i)
        slots[i] = block + scratch.block + scratch.pointers + i * scratch.slot;
    for (ptrdiff_t i = 0; i < band.count; i += group) {
        const ptrdiff_t count = band.count - i < group ? band.count - i : group;
        void* const* results = band.results + i;
        foldColumns<typename Rows::Column, typename Rows::Value>(
            {band.rows + i, band.first, direct ? results : slots, count, band.nRows, block}, Rows::bytes(band));
        if (!direct)
            Rows::fold(band, slots, count, results);
    }
}

template <class Rows>
constexpr OwnFoldKernel kernelOf = {foldBand<Rows>, scratchBytes<Rows>};
template <class Op, class T>
constexpr OwnFoldKernel of = kernelOf<ValueRows<Op, T>>;
constexpr OwnFoldKernel none = {nullptr, nullptr};

}  // namespace

extern const OwnFoldKernels ownFoldKernels;
const OwnFoldKernels ownFoldKernels = {
    {kernelOf<BitRows<All>>, of<Least, uint8_t>, of<Least, int8_t>, of<Least, uint16_t>, of<Least, int16_t>,
     of<Least, int32_t>, none},
    {kernelOf<BitRows<Any>>, of<Greatest, uint8_t>, of<Greatest, int8_t>, of<Greatest, uint16_t>, of<Greatest, int16_t>,
     of<Greatest, int32_t>, none},
    copyBits,
};

}  // namespace OWN_ISA
