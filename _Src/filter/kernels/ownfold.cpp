// Kernels that fold windows to their least or their greatest value.
//
// A window is folded along the columns first and then along the rows. Along the columns neighbouring results share what they
// have in common: two results their inner rows, or, where windows are high, as many results as a window has rows, by van Herk
// and Gil-Werman: results are made of the fold from their first row to the end of a block and the fold from there to their
// last row, each of which grows by a row from result to result. Along a row windows grow fourfold, and at the end a few that
// overlap make the whole one.
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

// Rows of results that are folded together.
inline ptrdiff_t groupRows(ptrdiff_t nRows, ptrdiff_t count)
{
    ptrdiff_t most = nRows <= lowWindow ? 2 : nRows;
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
    auto row = [&](ptrdiff_t i, int k) { return loadAt<V>(columns.rows[i], columns.first + byte + k * ptrdiff_t(sizeof(V))); };
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
    auto row = [&](ptrdiff_t i, int k) { return loadAt<V>(columns.rows[i], columns.first + byte + k * ptrdiff_t(sizeof(V))); };
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
        if (columns.nRows <= lowWindow)
            foldPair<Op, V, n>(columns, byte);
        else
            foldBlock<Op, V, n>(columns, byte);
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

// Folds windows of nCols values that lie `step` bytes apart, from a row that this changes.
template <class Op, class T>
void foldRow(void* row, ptrdiff_t nCols, ptrdiff_t step, void* result, ptrdiff_t bytes)
{
    constexpr ptrdiff_t most = 4;  // windows that are brought together at a time
    ptrdiff_t window = 1;
    for (; nCols > most * window; window *= most)
        grow<Op, T, most>(row, bytes + (nCols - most * window) * step, window * step);
    // Windows side by side, the last one where it ends with the whole.
    const ptrdiff_t last = (nCols - window) * step;
    const ptrdiff_t offsets[most] = {0, window * step < last ? window * step : last,
                                     2 * window * step < last ? 2 * window * step : last, last};
    switch ((nCols + window - 1) / window) {
    case 1: memcpy(result, row, size_t(bytes)); break;
    case 2: gather<Op, T, 2>(row, offsets, result, bytes); break;
    case 3: gather<Op, T, 3>(row, offsets, result, bytes); break;
    default: gather<Op, T, 4>(row, offsets, result, bytes); break;
    }
}

// ---- Along a row of bits ------------------------------------------------------------------------------------------

// The bytes from bit `bit` of those at p on.
struct ShiftedBytes {
    using Pairs = Vector<uint16_t>;

    const char* first;
    int left;
    Pairs high, low;  // what a shift leaves of the bytes

    ShiftedBytes(const void* p, ptrdiff_t bit)
        : first(static_cast<const char*>(p) + (bit >> 3)),
          left(int(bit & 7)),
          high(uint16_t((0xFF << left & 0xFF) * 0x0101) - Pairs{}),
          low(~high)
    {
    }
    // A vector of them, of which the bytes before and behind are read too.
    Pairs at(ptrdiff_t byte) const
    {
        Pairs v = loadAt<Pairs>(first, byte);
        return left ? (v << left & high) | (loadAt<Pairs>(first, byte + 1) >> (8 - left) & low) : v;
    }
};

// row[i] = the fold of row[i] and row[i + bits], for the first `bytes`.
template <class Op>
void growBits(void* row, ptrdiff_t bytes, ptrdiff_t bits)
{
    const ShiftedBytes other(row, bits);
    for (ptrdiff_t byte = 0; byte < bytes; byte += vectorBytes)
        storeAt(row, byte, Op::of(loadAt<Vector<uint16_t>>(row, byte), other.at(byte)));
}

// result[i] = the fold of row[i + bit] for two or three bits.
template <class Op, int n>
void gatherBits(const void* row, const ptrdiff_t* bits, void* result, ptrdiff_t count)
{
    const ShiftedBytes a(row, bits[0]), b(row, bits[1]), c(row, bits[n - 1]);
    auto fold = [&](ptrdiff_t byte) {
        auto v = Op::of(a.at(byte), b.at(byte));
        return n == 2 ? v : Op::of(v, c.at(byte));
    };
    const ptrdiff_t whole = count >> 3;
    ptrdiff_t byte = 0;
    for (; byte + vectorBytes <= whole; byte += vectorBytes)
        storeAt(result, byte, fold(byte));
    if (byte * 8 == count)
        return;
    uint8_t last[vectorBytes];
    storeAt(last, 0, fold(byte));
    auto* to = static_cast<uint8_t*>(result) + byte;
    memcpy(to, last, size_t(whole - byte));
    const auto rest = uint8_t(0xFF >> (count & 7));  // that stay of the last byte
    if (rest != 0xFF)
        to[whole - byte] = uint8_t((to[whole - byte] & rest) | (last[whole - byte] & ~rest));
}

// Folds windows of nCols bits, the first of which begins at bit `bit`, from a row that this changes.
template <class Op>
void foldBitRow(void* row, ptrdiff_t nCols, ptrdiff_t bit, void* result, ptrdiff_t count)
{
    if (nCols == 3) {
        const ptrdiff_t bits[3] = {bit, bit + 1, bit + 2};
        return gatherBits<Op, 3>(row, bits, result, count);
    }
    ptrdiff_t window = 1;
    for (; nCols > 2 * window; window *= 2)
        growBits<Op>(row, (bit + count + nCols - window + 7) >> 3, window);
    const ptrdiff_t bits[2] = {bit, bit + nCols - window};
    gatherBits<Op, 2>(row, bits, result, count);
}

// ---- Both ---------------------------------------------------------------------------------------------------------

// What the scratch holds one after the other, in bytes: a block of values for each result of a group, where the rows lie that
// are folded along the columns, and these.
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
    static void fold(const OwnFoldBand& band, void* row, void* result)
    {
        foldRow<Op, T>(row, band.nCols, band.step * size, result, band.values * size);
    }
};

template <class Op>
struct BitRows {
    using Column = Op;
    using Value = uint8_t;

    static ptrdiff_t bytes(const OwnFoldBand& band) { return (band.bit + band.values + band.nCols - 1 + 7) >> 3; }
    static bool needsNoMore(const OwnFoldBand&) { return false; }
    static void fold(const OwnFoldBand& band, void* row, void* result)
    {
        foldBitRow<Op>(row, band.nCols, band.bit, result, band.values);
    }
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
        for (ptrdiff_t k = 0; k < count && !direct; ++k)
            Rows::fold(band, slots[k], results[k]);
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
};

}  // namespace OWN_ISA
