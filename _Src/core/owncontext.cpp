// The life of the per-thread record.
#include "owncontext.h"

#include "platform.h"

bool ownThreadStart()
{
    auto* context = static_cast<OrvContext*>(platformNewRecord(sizeof(OrvContext)));
    if (!context)
        return false;
    context->report = orvGuiBoxReport;
    if (platformSetRecord(context))
        return true;
    platformFreeRecord(context);
    return false;
}

void ownThreadEnd(void* record)
{
    if (!record)
        return;
    auto* context = static_cast<OrvContext*>(record);
    for (OwnCache& cache : context->caches)
        ownReleaseCache(cache);
    platformFreeRecord(context);
}

void ownReleaseCache(OwnCache& cache)
{
    if (cache.record)
        cache.release(cache.record);
    cache = {};
}

OrvContext& ownContext()
{
    void* record = platformGetRecord();
    if (!record) [[unlikely]] {
        // This thread ran before the library was loaded, so that nobody told of its start.
        if (!ownThreadStart())
            platformFatal("ORVlib. Problem to allocate memory for TLS ORV context.");
        record = platformGetRecord();
    }
    return *static_cast<OrvContext*>(record);
}
