// Medians of small windows.
#include "ownmedian.h"

#include <string.h>

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

template <class V>
inline __attribute__((always_inline)) V lesserOf(V a, V b)
{
    return a < b ? a : b;
}
template <class V>
inline __attribute__((always_inline)) V greaterOf(V a, V b)
{
    return a > b ? a : b;
}

template <class V>
inline __attribute__((always_inline)) V loadAt(const char* p)
{
    V v;
    __builtin_memcpy(&v, p, sizeof v);
    return v;
}
template <class V>
inline __attribute__((always_inline)) void storeAt(char* p, V v)
{
    __builtin_memcpy(p, &v, sizeof v);
}

// ---- Networks -----------------------------------------------------------------------------------------------------

// Every step is the same piece of code for as many vectors: a row of different steps so long could not be foreseen.
// What a step need not make goes to a slot that nobody reads, and all steps go as far as the first ones have to.
constexpr ptrdiff_t mostSlotBytes = 512, cacheBytes = 32768;

// Of a slot as many bytes are no results as its extent has.
inline ptrdiff_t slotBytes(const OwnNetwork& network, ptrdiff_t extentBytes)
{
    const ptrdiff_t share = cacheBytes / (network.slots + 1);
    const ptrdiff_t wanted = share < mostSlotBytes ? share : mostSlotBytes, least = extentBytes + 4 * vectorBytes;
    return ((wanted < least ? least : wanted) + 2 * vectorBytes - 1) & -(2 * vectorBytes);
}

// Behind the last slot as much is read as others are shifted by.
int64_t networkBytes(const OwnNetwork& network, ptrdiff_t pixelBytes)
{
    const int64_t slots = network.slots + 1, extent = network.extent * pixelBytes;
    return (network.inputs + slots) * int64_t{sizeof(void*)} + slots * slotBytes(network, ptrdiff_t(extent)) + extent +
           2 * vectorBytes;
}

template <class V>
void runSteps(const OwnNetwork& network, char* const* places, ptrdiff_t pixelBytes, ptrdiff_t bytes)
{
    for (const OwnNetworkStep* step = network.steps; step < network.steps + network.count; ++step) {
        const char* a = places[step->a] + step->aShift * pixelBytes;
        const char* b = places[step->b] + step->bShift * pixelBytes;
        char *lesser = places[step->lesser], *greater = places[step->greater];
        // Stores to one line of the cache follow one another.
        for (ptrdiff_t i = 0; i < bytes; i += 2 * vectorBytes) {
            const V x = loadAt<V>(a + i), y = loadAt<V>(b + i);
            const V nextX = loadAt<V>(a + i + vectorBytes), nextY = loadAt<V>(b + i + vectorBytes);
            storeAt(lesser + i, lesserOf(x, y));
            storeAt(lesser + i + vectorBytes, lesserOf(nextX, nextY));
            storeAt(greater + i, greaterOf(x, y));
            storeAt(greater + i + vectorBytes, greaterOf(nextX, nextY));
        }
    }
}

template <class T>
void runNetwork(const OwnMedianBand& band, const OwnNetwork& network)
{
    const ptrdiff_t rowBytes = band.values * ptrdiff_t(sizeof(T)), pixelBytes = band.step * ptrdiff_t(sizeof(T));
    const ptrdiff_t extent = network.extent * pixelBytes, slot = slotBytes(network, extent);
    // Pieces of a row of about one length.
    const ptrdiff_t pieces = (rowBytes + slot - extent - 1) / (slot - extent);
    const ptrdiff_t piece = ((rowBytes + pieces - 1) / pieces + vectorBytes - 1) & -vectorBytes;
    const ptrdiff_t most = piece < slot - extent ? piece : slot - extent;
    auto** places = static_cast<char**>(band.scratch);
    auto* slots = reinterpret_cast<char*>(places + network.inputs + network.slots + 1);
    slots += -reinterpret_cast<uintptr_t>(slots) & (2 * vectorBytes - 1);
    for (int32_t i = 0; i <= network.slots; ++i)
        places[network.inputs + i] = slots + i * slot;
    for (ptrdiff_t y = 0; y < band.count; y += network.rows) {
        // Below the last row of all, there is none for the second result of two.
        const bool whole = y + network.rows <= band.count;
        for (ptrdiff_t byte = 0; byte < rowBytes; byte += most) {
            for (int32_t i = 0; i < network.inputs; ++i) {
                const void* row = band.rows[y + i - (!whole && i == network.inputs - 1)];
                places[i] = const_cast<char*>(static_cast<const char*>(row)) + byte;
            }
            runSteps<Vector<T>>(network, places, pixelBytes, most + extent);
            for (int32_t i = 0; i < network.rows && y + i < band.count; ++i)
                memcpy(static_cast<char*>(band.results[y + i]) + byte, places[network.results[i]],
                       size_t(rowBytes - byte < most ? rowBytes - byte : most));
        }
    }
}

// ---- Three by three -----------------------------------------------------------------------------------------------

// Columns are sorted first. The median is then the median of the greatest of the least, the median of the middle and
// the least of the greatest ones (J. L. Smith, "Implementing median filters in XC4000E FPGAs", Xcell 23, 1996).

constexpr ptrdiff_t threeBlock = 512;  // bytes at a time
constexpr int threeRows = 4;           // rows at a time: what has just been stored is slow to load in other pieces

struct SortedColumns {
    alignas(64) char least[threeBlock + 128], middle[threeBlock + 128], greatest[threeBlock + 128];
};

template <class V>
inline __attribute__((always_inline)) V middleOf(V a, V b, V c)
{
    return greaterOf(lesserOf(a, b), lesserOf(greaterOf(a, b), c));
}

template <class V>
inline __attribute__((always_inline)) void storeSorted(SortedColumns& columns, ptrdiff_t byte, V low, V high, V other)
{
    const V rest = greaterOf(low, other);
    storeAt(columns.least + byte, lesserOf(low, other));
    storeAt(columns.middle + byte, lesserOf(rest, high));
    storeAt(columns.greatest + byte, greaterOf(rest, high));
}

// Stores as much of a vector as there is room for.
template <class V>
inline __attribute__((always_inline)) void storeSome(char* p, V v, ptrdiff_t bytes)
{
    if (bytes >= vectorBytes)
        storeAt(p, v);
    else
        memcpy(p, &v, size_t(bytes));
}

template <class V>
void medianBlock(const OwnMedianBand& band, ptrdiff_t y, ptrdiff_t byte, ptrdiff_t pixelBytes, ptrdiff_t bytes)
{
    SortedColumns columns[threeRows];
    const ptrdiff_t count = band.count - y < threeRows ? band.count - y : threeRows;
    for (ptrdiff_t i = 0; i < count; i += 2) {
        auto row = [&](ptrdiff_t k) { return static_cast<const char*>(band.rows[y + i + k]) + byte; };
        const char *first = row(0), *second = row(1), *third = row(2), *fourth = i + 1 < count ? row(3) : third;
        SortedColumns &upper = columns[i], &lower = columns[i + 1];
        for (ptrdiff_t at = 0; at < bytes + 2 * pixelBytes; at += vectorBytes) {
            const V a = loadAt<V>(second + at), b = loadAt<V>(third + at);
            const V low = lesserOf(a, b), high = greaterOf(a, b);
            storeSorted(upper, at, low, high, loadAt<V>(first + at));
            storeSorted(lower, at, low, high, loadAt<V>(fourth + at));
        }
    }
    for (ptrdiff_t i = 0; i < count; ++i) {
        const SortedColumns& from = columns[i];
        char* const to = static_cast<char*>(band.results[y + i]) + byte;
        for (ptrdiff_t at = 0; at < bytes; at += vectorBytes) {
            auto of = [&](const char* which, int k) { return loadAt<V>(which + at + k * pixelBytes); };
            const V least = greaterOf(greaterOf(of(from.least, 0), of(from.least, 1)), of(from.least, 2));
            const V middle = middleOf(of(from.middle, 0), of(from.middle, 1), of(from.middle, 2));
            const V greatest = lesserOf(lesserOf(of(from.greatest, 0), of(from.greatest, 1)), of(from.greatest, 2));
            storeSome(to + at, middleOf(least, middle, greatest), bytes - at);
        }
    }
}

template <class T>
void medianThreeByThree(const OwnMedianBand& band)
{
    const ptrdiff_t rowBytes = band.values * ptrdiff_t(sizeof(T)), pixelBytes = band.step * ptrdiff_t(sizeof(T));
    for (ptrdiff_t y = 0; y < band.count; y += threeRows)
        for (ptrdiff_t byte = 0; byte < rowBytes; byte += threeBlock)
            medianBlock<Vector<T>>(band, y, byte, pixelBytes,
                                   rowBytes - byte < threeBlock ? rowBytes - byte : threeBlock);
}

}  // namespace

extern const OwnMedianKernels ownMedianKernels;
const OwnMedianKernels ownMedianKernels = {
    {nullptr, runNetwork<uint8_t>, runNetwork<int8_t>, runNetwork<uint16_t>, runNetwork<int16_t>, runNetwork<int32_t>,
     nullptr},
    {nullptr, medianThreeByThree<uint8_t>, medianThreeByThree<int8_t>, medianThreeByThree<uint16_t>,
     medianThreeByThree<int16_t>, medianThreeByThree<int32_t>, nullptr},
    networkBytes,
};

}  // namespace OWN_ISA
