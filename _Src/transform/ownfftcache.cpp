// The Fourier transforms' tables and work buffers.
#include "ownfftcache.h"

#include "ownlinegroups.h"

namespace {

template <class T, int n>
void freeAll(T* (&blocks)[n])
{
    for (T* block : blocks)
        orvFree(block);
}

// ---- Tables of the fixed-point core ----

int32_t reverse(int32_t index, int32_t bits)
{
    int32_t reversed = 0;
    for (int32_t bit = 0; bit < bits; ++bit)
        reversed |= (index >> bit & 1) << (bits - 1 - bit);
    return reversed;
}

// The middle bits of the indices to exchange, as byte offsets of complex values: pairs, then 0; and from the end, which
// is entry `quarter`, those that stay, down to 0.
const int32_t* bitReversal(OwnFftCaches& caches, int32_t log2)
{
    int32_t*& table = caches.bitReversal[log2];
    if (table)
        return table;
    int32_t quarter = 1 << (log2 - 2);
    table = static_cast<int32_t*>(static_cast<void*>(orvsMalloc(quarter + 1)));
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

// Values in Q14, cut toward zero.
int32_t fixedValue(double value)
{
    return int32_t(value * 16384);
}

int32_t* newDirectTable(int32_t length)
{
    if (length > INT32_MAX / 2)
        return nullptr;
    auto* table = static_cast<int32_t*>(static_cast<void*>(orvsMalloc(2 * length)));
    for (ptrdiff_t j = 0; table && j < length; ++j) {
        OwnRoot root = ownRoot(j, length);
        table[2 * j] = fixedValue(root.cos);
        table[2 * j + 1] = fixedValue(-root.sin);
    }
    return table;
}

const int32_t* directTable(OwnFftCaches& caches, int32_t length)
{
    return caches.direct.find(length, newDirectTable);
}

const int16_t* twiddle(OwnFftCaches& caches, int32_t log2)
{
    int16_t*& table = caches.twiddle[log2];
    if (table)
        return table;
    int32_t length = 1 << log2;
    table = length > INT32_MAX / 2 ? nullptr : static_cast<int16_t*>(static_cast<void*>(orvwMalloc(2 * length)));
    for (ptrdiff_t j = 0; table && j < length; ++j) {
        OwnRoot root = ownRoot(j, length);
        table[2 * j] = int16_t(fixedValue(root.cos));
        table[2 * j + 1] = int16_t(fixedValue(root.sin));
    }
    return table;
}

// The shortest lengths are put into order without a table.
constexpr int32_t shortestOrderLog2 = 4;

// The core of 2^log2 values with the table of 2^tableLog2.
bool fillCore(OwnFftCaches& caches, int32_t log2, int32_t tableLog2, OwnFftCore& core)
{
    core.log2 = log2;
    core.twiddle = twiddle(caches, tableLog2);
    core.twiddleLog2 = tableLog2;
    core.bitReversal = log2 < shortestOrderLog2 ? nullptr : bitReversal(caches, log2);
    return core.twiddle && (core.bitReversal || log2 < shortestOrderLog2);
}

}  // namespace

void OwnFftCaches::release(void* record)
{
    auto* caches = static_cast<OwnFftCaches*>(record);
    freeAll(caches->work);
    freeAll(caches->twiddle);
    freeAll(caches->bitReversal);
    caches->floating.release();
    caches->direct.release();
    orvFree(caches);
}

template <class T>
T* ownFftWork(OwnFftCaches& caches, OwnFftBuffer buffer, int64_t count)
{
    static_assert(sizeof(T) == sizeof(float));
    float*& work = caches.work[buffer];
    int64_t size = count + ownCacheLine / int64_t{sizeof(T)};
    if (!work || caches.workSize[buffer] < size) {
        orvFree(work);
        work = size > INT32_MAX ? nullptr : orvsMalloc(int32_t(size));
        caches.workSize[buffer] = work ? int32_t(size) : 0;
    }
    return work ? static_cast<T*>(static_cast<void*>(ownLineStart(work))) : nullptr;
}

template float* ownFftWork<float>(OwnFftCaches& caches, OwnFftBuffer buffer, int64_t count);
template int32_t* ownFftWork<int32_t>(OwnFftCaches& caches, OwnFftBuffer buffer, int64_t count);

const OwnFourierTable<float>* ownFftTable(OwnFftCaches& caches, int32_t length)
{
    return caches.floating.find(length, ownFourierTable<float>);
}

bool ownFftRealTables(OwnFftCaches& caches, int32_t length, OwnFftFixedLength& tables)
{
    tables.length = length;
    int32_t log2 = ownFftLog2(length);
    if (log2 < ownFftRealCoreLog2) {
        tables.direct = directTable(caches, length);
        return tables.direct != nullptr;
    }
    tables.split = twiddle(caches, log2);
    return tables.split && fillCore(caches, log2 - 1, log2, tables.half);
}

bool ownFftComplexTables(OwnFftCaches& caches, int32_t length, OwnFftFixedLength& tables)
{
    tables.length = length;
    if (int32_t log2 = ownFftLog2(length))
        return fillCore(caches, log2, log2, tables.whole);
    tables.direct = directTable(caches, length);
    return tables.direct != nullptr;
}
