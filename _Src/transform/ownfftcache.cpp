// The Fourier transforms' tables and work buffers. No exported functions.
#include "ownfftcache.h"

#include <cmath>

#include "owncaches.h"

namespace {

constexpr double turn = 6.283185307179586;

template <class T>
void freeAll(T* (&blocks)[OwnFftCaches::count])
{
    for (T*& block : blocks) {
        orvFree(block);
        block = nullptr;
    }
}

template <class T>
T* newTable(int64_t count)
{
    if (count > INT32_MAX)
        return nullptr;
    if constexpr (sizeof(T) == 2)
        return reinterpret_cast<T*>(orvwMalloc(int32_t(count)));
    else
        return reinterpret_cast<T*>(orvsMalloc(int32_t(count)));
}

// ---- Work buffers ----

template <class T>
T* nextWork(int32_t& slot, int32_t (&sizes)[OwnFftCaches::count], T* (&buffers)[OwnFftCaches::count], int64_t count)
{
    if (slot == OwnFftCaches::count)
        return nullptr;
    int32_t at = slot++;
    if (buffers[at] && sizes[at] >= count)
        return buffers[at];
    orvFree(buffers[at]);
    buffers[at] = newTable<T>(count);
    sizes[at] = buffers[at] ? int32_t(count) : 0;
    return buffers[at];
}

// ---- Tables of both cores ----

int32_t reverse(int32_t index, int32_t bits)
{
    int32_t reversed = 0;
    for (int32_t bit = 0; bit < bits; ++bit)
        reversed |= (index >> bit & 1) << (bits - 1 - bit);
    return reversed;
}

// The middle bits of the indices to exchange, as byte offsets of complex values: pairs, then 0; and from the end, which is
// entry `quarter`, those that stay, down to 0.
const int32_t* bitReversal(OwnFftCaches& caches, int32_t log2)
{
    int32_t*& table = caches.bitReversal[log2];
    if (table)
        return table;
    int32_t quarter = 1 << (log2 - 2);
    table = newTable<int32_t>(int64_t{quarter} + 1);
    if (!table)
        return nullptr;
    constexpr int32_t bytes = 2 * sizeof(float) * 2;  // of a complex value, and the last bit's place
    int32_t* pair = table;
    int32_t* own = table + quarter;
    for (int32_t middle = quarter - 1; middle >= 0; --middle) {
        int32_t partner = reverse(middle, log2 - 2);
        if (middle == partner) {
            *own-- = middle * bytes;
        } else if (middle < partner) {
            *pair++ = middle * bytes;
            *pair++ = partner * bytes;
        }
    }
    *pair = 0;
    return table;
}

template <class T>
T directValue(double value)
{
    return T(ownFftIsFixed<T> ? value * 16384 : value);
}

template <class T>
const T* directTable(int32_t (&lengths)[OwnFftCaches::count], T* (&tables)[OwnFftCaches::count], int32_t length)
{
    int32_t at = 0;
    while (at < OwnFftCaches::count && lengths[at] != 0 && lengths[at] != length)
        ++at;
    if (at == OwnFftCaches::count)
        return nullptr;
    if (lengths[at] == length)
        return tables[at];
    T* table = newTable<T>(2 * int64_t{length});
    if (!table)
        return nullptr;
    for (int32_t j = 0; j < length; ++j) {
        double t = j * turn / length;
        table[2 * ptrdiff_t{j}] = directValue<T>(cos(t));
        table[2 * ptrdiff_t{j} + 1] = directValue<T>(-sin(t));
    }
    lengths[at] = length;
    tables[at] = table;
    return table;
}

// ---- Tables of the floating core ----

const float* twiddle(OwnFftCaches& caches, int32_t log2)
{
    float*& table = caches.twiddle[log2];
    if (table)
        return table;
    int32_t length = 1 << log2;
    table = newTable<float>(2 * int64_t{length});
    if (!table)
        return nullptr;
    for (int32_t j = 0; j < length / 4; ++j) {
        float* entry = table + ptrdiff_t{j} * ownFftTwiddleEntry;
        for (int32_t times = 1; times <= 3; ++times) {
            double t = times * (j * turn / length);
            *entry++ = float(cos(t));
            *entry++ = float(-sin(t));
        }
    }
    return table;
}

const float* upperTwiddle(OwnFftCaches& caches, int32_t log2)
{
    float*& table = caches.upperTwiddle[log2];
    if (table)
        return table;
    int32_t length = 1 << log2;
    table = newTable<float>(length);
    if (!table)
        return nullptr;
    for (ptrdiff_t j = 0; j < length / 2; ++j) {
        double t = double(j) * turn / length;
        table[2 * j] = float(cos(t));
        table[2 * j + 1] = float(-sin(t));
    }
    return table;
}

const float* realSplit(OwnFftCaches& caches, int32_t halfLog2)
{
    float*& table = caches.realSplit[halfLog2];
    if (table)
        return table;
    int32_t half = 1 << halfLog2;
    table = newTable<float>(half);
    if (!table)
        return nullptr;
    for (ptrdiff_t j = 0; j < half / 2; ++j) {
        double t = double(j + 1) * (turn / 2) / half;
        table[2 * j] = float(0.5 * cos(t));
        table[2 * j + 1] = float(0.5 - 0.5 * sin(t));
    }
    return table;
}

// The shortest lengths have all they need in their butterflies.
constexpr int32_t shortestTableLog2 = 4;

bool fillCore(OwnFftCaches& caches, int32_t log2, OwnFftCore<float>& core)
{
    core.log2 = log2;
    if (log2 < shortestTableLog2)
        return true;
    bool isLong = log2 > ownFftInCacheLog2;
    core.twiddle = twiddle(caches, isLong ? ownFftInCacheLog2 : log2);
    core.upper = isLong ? upperTwiddle(caches, log2) : nullptr;
    core.bitReversal = bitReversal(caches, log2);
    return core.twiddle && (core.upper || !isLong) && core.bitReversal;
}

// ---- Tables of the fixed-point core ----

const int16_t* intTwiddle(OwnFftCaches& caches, int32_t log2)
{
    int16_t*& table = caches.intTwiddle[log2];
    if (table)
        return table;
    int32_t length = 1 << log2;
    table = newTable<int16_t>(2 * int64_t{length});
    if (!table)
        return nullptr;
    for (int32_t j = 0; j < length; ++j) {
        double t = j * turn / length;
        table[2 * ptrdiff_t{j}] = int16_t(16384 * cos(t));
        table[2 * ptrdiff_t{j} + 1] = int16_t(16384 * sin(t));
    }
    return table;
}

// The core of 2^log2 values with the table of 2^tableLog2.
bool fillCore(OwnFftCaches& caches, int32_t log2, int32_t tableLog2, OwnFftCore<int32_t>& core)
{
    core.log2 = log2;
    core.twiddle = intTwiddle(caches, tableLog2);
    core.twiddleLog2 = tableLog2;
    core.bitReversal = log2 < shortestTableLog2 ? nullptr : bitReversal(caches, log2);
    return core.twiddle && (core.bitReversal || log2 < shortestTableLog2);
}

}  // namespace

template <>
float* ownFftWork<float>(OrvContext& context, int64_t count)
{
    return nextWork(context.fftPlan.floatSlot, context.fft.floatWorkSize, context.fft.floatWork, count);
}

template <>
int32_t* ownFftWork<int32_t>(OrvContext& context, int64_t count)
{
    return nextWork(context.fftPlan.intSlot, context.fft.intWorkSize, context.fft.intWork, count);
}

bool ownFftRealTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<float>& tables)
{
    OwnFftCaches& caches = context.fft;
    tables.length = length;
    if (log2 < ownFftRealCoreLog2) {
        tables.direct = directTable(caches.floatDirectLength, caches.floatDirect, length);
        return tables.direct != nullptr;
    }
    tables.split = realSplit(caches, log2 - 1);
    return tables.split && fillCore(caches, log2 - 1, tables.half);
}

bool ownFftComplexTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<float>& tables)
{
    OwnFftCaches& caches = context.fft;
    tables.length = length;
    if (log2 != 0)
        return fillCore(caches, log2, tables.whole);
    tables.direct = directTable(caches.floatDirectLength, caches.floatDirect, length);
    return tables.direct != nullptr;
}

bool ownFftRealTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<int32_t>& tables)
{
    OwnFftCaches& caches = context.fft;
    tables.length = length;
    if (log2 < ownFftRealCoreLog2) {
        tables.direct = directTable(caches.intDirectLength, caches.intDirect, length);
        return tables.direct != nullptr;
    }
    tables.split = intTwiddle(caches, log2);
    return tables.split && fillCore(caches, log2 - 1, log2, tables.half);
}

bool ownFftComplexTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<int32_t>& tables)
{
    OwnFftCaches& caches = context.fft;
    tables.length = length;
    if (log2 != 0)
        return fillCore(caches, log2, log2, tables.whole);
    tables.direct = directTable(caches.intDirectLength, caches.intDirect, length);
    return tables.direct != nullptr;
}

void ownReleaseFftCaches(OrvContext& context)
{
    OwnFftCaches& caches = context.fft;
    freeAll(caches.intWork);
    freeAll(caches.floatWork);
    freeAll(caches.floatDirect);
    freeAll(caches.intDirect);
    freeAll(caches.twiddle);
    freeAll(caches.upperTwiddle);
    freeAll(caches.realSplit);
    freeAll(caches.intTwiddle);
    freeAll(caches.bitReversal);
    caches = {};
}
