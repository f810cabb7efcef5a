// The life of the per-thread record.
#include "owncontext.h"

#include "../transform/owncaches.h"
#include "platform.h"

bool ownThreadStart()
{
    auto* context = static_cast<OrvContext*>(platformNewRecord(sizeof(OrvContext)));
    if (!context)
        return false;
    context->report = orvGuiBoxReport;
    context->dctCosineLength = -1;
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
    ownReleaseFftCaches(*context);
    ownReleaseDctCaches(*context);
    platformFreeRecord(context);
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
