// Medians of windows of five by five and of seven by seven: the network of ownnetwork.h, whose steps the compiler
// knows.
//
// Rows of results are made two by two. What their windows have in common is sorted first: columns without the first and
// the last row, and half of a window's columns together. All that is kept in memory for some places of a row; a window
// then takes both halves, one after the other, its last column, and the row that only one of the two results has.
#include "ownmedian.h"

#include <string.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

#define INLINE inline __attribute__((always_inline))

template <class V>
INLINE V loadAt(const char* p)
{
    V v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
template <class V>
INLINE void storeAt(char* p, V v)
{
    __builtin_memcpy(p, &v, sizeof v);
}

// ---- Sorted lists -------------------------------------------------------------------------------------------------

template <class V, int n>
struct List {
    V v[n];
};

template <class V>
INLINE void order(V& a, V& b)
{
    const V lesser = a < b ? a : b;
    b = a > b ? a : b;
    a = lesser;
}

// `n` values from the `first` on.
template <int first, int n, class V, int all>
INLINE List<V, n> part(const List<V, all>& list)
{
    List<V, n> result;
#pragma GCC unroll 64
    for (int i = 0; i < n; ++i)
        result.v[i] = list.v[first + i];
    return result;
}

// Every second value, from the `first` on.
template <int first, class V, int n>
INLINE auto everySecond(const List<V, n>& list)
{
    List<V, (n - first + 1) / 2> result;
#pragma GCC unroll 64
    for (int i = 0; i < (n - first + 1) / 2; ++i)
        result.v[i] = list.v[2 * i + first];
    return result;
}

template <class V, int evens, int odds>
INLINE List<V, evens + odds> weave(const List<V, evens>& even, const List<V, odds>& odd)
{
    List<V, evens + odds> result;
    result.v[0] = even.v[0];
#pragma GCC unroll 64
    for (int i = 0; i < odds; ++i) {
        result.v[2 * i + 1] = odd.v[i];
        if (i + 1 < evens) {
            result.v[2 * i + 2] = even.v[i + 1];
            order(result.v[2 * i + 1], result.v[2 * i + 2]);
        }
    }
    if constexpr (evens > odds + 1)
        result.v[evens + odds - 1] = even.v[evens - 1];
    return result;
}

// Odd-even merging. What nobody takes of the result is not computed.
template <class V, int m, int n>
INLINE List<V, m + n> merge(const List<V, m>& a, const List<V, n>& b)
{
    if constexpr (m == 1 && n == 1) {
        List<V, 2> pair = {{a.v[0], b.v[0]}};
        order(pair.v[0], pair.v[1]);
        return pair;
    } else if constexpr (m == 1) {
        return weave(merge(a, everySecond<0>(b)), everySecond<1>(b));
    } else if constexpr (n == 1) {
        return merge(b, a);
    } else {
        return weave(merge(everySecond<0>(a), everySecond<0>(b)), merge(everySecond<1>(a), everySecond<1>(b)));
    }
}

// ---- Lists in memory and in rows ----------------------------------------------------------------------------------

constexpr ptrdiff_t pieceBytes = 512;  // of a row at a time
constexpr ptrdiff_t slotBytes =
    832;  // with what windows at the end of a piece need, of up to 8 values of 4 bytes a pixel

struct Slot {
    alignas(64) char bytes[slotBytes];
};

template <class V, int n>
INLINE List<V, n> listAt(const Slot* slots, ptrdiff_t byte)
{
    List<V, n> list;
#pragma GCC unroll 64
    for (int i = 0; i < n; ++i)
        list.v[i] = loadAt<V>(slots[i].bytes + byte);
    return list;
}

template <class V, int n>
INLINE void storeList(const List<V, n>& list, Slot* slots, ptrdiff_t byte)
{
#pragma GCC unroll 64
    for (int i = 0; i < n; ++i)
        storeAt(slots[i].bytes + byte, list.v[i]);
}

// The column of `n` rows from `first` on.
template <class V, int first, int n>
INLINE List<V, n> sortedColumn(const char* const* rows, ptrdiff_t byte)
{
    if constexpr (n == 1)
        return {{loadAt<V>(rows[first] + byte)}};
    else
        return merge(sortedColumn<V, first, n / 2>(rows, byte), sortedColumn<V, first + n / 2, n - n / 2>(rows, byte));
}

// Lists side by side; at(k) answers that of column k.
template <int n, class At>
INLINE auto sideBySide(At at)
{
    if constexpr (n == 1)
        return at(0);
    else
        return merge(sideBySide<n - 1>(at), at(n - 1));
}

// ---- The median ---------------------------------------------------------------------------------------------------

// Of some values of a window, sorted, those that can be the median: neither too many others are below nor above them.
// `below` values have been left out before.
template <int window, int total, int below, int count>
struct Candidates {
    static constexpr int rank = window / 2 + 1;
    static constexpr int tooLow = total - (window - rank) - 1 - below;
    static constexpr int first = tooLow > 0 ? tooLow : 0;
    static constexpr int end = count < rank - below ? count : rank - below;
};

// Value `rank` of two lists, counted from 1: the least of the greater ones of all pairs that leave as many below.
template <int rank, class V, int m, int n>
INLINE V selected(const List<V, m>& a, const List<V, n>& b)
{
    // NOLINTNEXTLINE(bugprone-branch-clone): which may be equal
    constexpr int most = rank < m ? rank : m, least = rank > n ? rank - n : 0;
    V result{};
#pragma GCC unroll 64
    for (int i = most; i >= least; --i) {
        V greater = i > 0 ? a.v[i > 0 ? i - 1 : 0] : b.v[rank <= n ? rank - 1 : 0];
        if (i > 0 && i < rank) {
            const V other = b.v[rank - i - 1];
            greater = greater > other ? greater : other;
        }
        result = i == most ? greater : greater < result ? greater : result;
    }
    return result;
}

// A row by itself, sorted in windows half as wide, and the whole ones made of these.
template <class V, int side>
struct SingleRow {
    static constexpr int half = side / 2;
    Slot slots[half];
    const char* row;

    INLINE void sortHalf(ptrdiff_t byte, ptrdiff_t pixelBytes)
    {
        storeList(sideBySide<half>([=, this](int k) { return List<V, 1>{{loadAt<V>(row + byte + k * pixelBytes)}}; }),
                  slots, byte);
    }
    INLINE List<V, side> sorted(ptrdiff_t byte, ptrdiff_t pixelBytes) const
    {
        return merge(merge(listAt<V, half>(slots, byte), listAt<V, half>(slots, byte + half * pixelBytes)),
                     List<V, 1>{{loadAt<V>(row + byte + (side - 1) * pixelBytes)}});
    }
};

template <class V, int side>
void medianPiece(const char* const* rows, char* const* results, int count, ptrdiff_t pixelBytes, ptrdiff_t bytes)
{
    constexpr int inner = side - 1, half = side / 2, window = side * side;
    Slot columns[inner], halves[half * inner];
    SingleRow<V, side> single[2];
    single[0].row = rows[0];
    single[1].row = rows[count > 1 ? side : 0];
    for (ptrdiff_t i = 0; i < bytes + (side - 1) * pixelBytes; i += vectorBytes)
        storeList(sortedColumn<V, 1, inner>(rows, i), columns, i);
    for (ptrdiff_t i = 0; i < bytes + half * pixelBytes; i += vectorBytes) {
        storeList(sideBySide<half>([&](int k) { return listAt<V, inner>(columns, i + k * pixelBytes); }), halves, i);
        single[0].sortHalf(i, pixelBytes);
        single[1].sortHalf(i, pixelBytes);
    }
    for (ptrdiff_t i = 0; i < bytes; i += vectorBytes) {
        constexpr int both = 2 * half * inner;
        using OfBoth = Candidates<window, both, 0, both>;
        const auto halvesOf =
            merge(listAt<V, half * inner>(halves, i), listAt<V, half * inner>(halves, i + half * pixelBytes));
        const auto first = part<OfBoth::first, OfBoth::end - OfBoth::first>(halvesOf);
        constexpr int some = OfBoth::end - OfBoth::first + inner;
        using OfAll = Candidates<window, side * inner, OfBoth::first, some>;
        const auto core = part<OfAll::first, OfAll::end - OfAll::first>(
            merge(first, listAt<V, inner>(columns, i + (side - 1) * pixelBytes)));
        constexpr int rank = window / 2 + 1 - OfBoth::first - OfAll::first;
        for (int k = 0; k < count; ++k) {
            const V median = selected<rank>(core, single[k].sorted(i, pixelBytes));
            if (bytes - i >= vectorBytes)
                storeAt(results[k] + i, median);
            else
                memcpy(results[k] + i, &median, size_t(bytes - i));
        }
    }
}

template <class T, int side>
void medianSquare(const OwnMedianBand& band)
{
    const ptrdiff_t rowBytes = band.values * ptrdiff_t(sizeof(T)), pixelBytes = band.step * ptrdiff_t(sizeof(T));
    for (ptrdiff_t y = 0; y < band.count; y += 2)
        for (ptrdiff_t byte = 0; byte < rowBytes; byte += pieceBytes) {
            const int count = band.count - y < 2 ? 1 : 2;
            const char* rows[side + 1];
            char* results[2];
            for (int i = 0; i < side - 1 + count; ++i)
                rows[i] = static_cast<const char*>(band.rows[y + i]) + byte;
            for (int i = 0; i < count; ++i)
                results[i] = static_cast<char*>(band.results[y + i]) + byte;
            medianPiece<Vector<T>, side>(rows, results, count, pixelBytes,
                                         rowBytes - byte < pieceBytes ? rowBytes - byte : pieceBytes);
        }
}

}  // namespace

extern const OwnSquareKernels ownSquareKernels;
const OwnSquareKernels ownSquareKernels = {
    {nullptr, medianSquare<uint8_t, 5>, medianSquare<int8_t, 5>, medianSquare<uint16_t, 5>, medianSquare<int16_t, 5>,
     medianSquare<int32_t, 5>, nullptr},
    {nullptr, medianSquare<uint8_t, 7>, medianSquare<int8_t, 7>, medianSquare<uint16_t, 7>, medianSquare<int16_t, 7>,
     medianSquare<int32_t, 7>, nullptr},
};

}  // namespace OWN_ISA
