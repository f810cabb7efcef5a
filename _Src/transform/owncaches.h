// What the transforms keep for the calling thread.
#pragma once

#include "../core/owncontext.h"
#include "../core/ownscratch.h"

// The calling thread's record of a cache, made empty at first use. NULL if there is no memory. Record has a static
// function `release` that frees a record and all that hangs on it.
template <class Record>
Record* ownCacheRecord(OwnCacheSlot slot)
{
    OwnCache& cache = ownContext().caches[slot];
    if (!cache.record) {
        cache.record = orvMalloc(sizeof(Record));
        cache.release = Record::release;
        if (cache.record)
            *static_cast<Record*>(cache.record) = {};
    }
    return static_cast<Record*>(cache.record);
}

// Tables by length, each a block of orvMalloc.
template <class Table>
struct OwnLengthTables {
    static constexpr int count = 32;

    int32_t length[count];
    Table* table[count];

    // The table of a length, which `make` makes at first need. NULL if there is no memory, or no place for one more.
    template <class Make>
    Table* find(int32_t wanted, Make make)
    {
        int at = 0;
        while (at < count && length[at] != 0 && length[at] != wanted)
            ++at;
        if (at == count)
            return nullptr;
        if (length[at] == wanted)
            return table[at];
        table[at] = make(wanted);
        length[at] = table[at] ? wanted : 0;
        return table[at];
    }

    void release()
    {
        for (Table*& one : table)
            orvFree(one);
        *this = {};
    }
};

// Calls `work`, which is false where it has no memory or finds no place for its tables; then once more with an empty
// cache.
template <class Work>
bool ownTryTwice(OwnCacheSlot slot, Work work)
{
    if (work())
        return true;
    ownReleaseCache(ownContext().caches[slot]);
    return work();
}
