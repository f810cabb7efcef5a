// Cosine transform.
#include "../core/owncontext.h"
#include "owncaches.h"

void ownReleaseDctCaches(OrvContext& context)
{
    for (int32_t i = 0; i < context.dctLevelCount; ++i)
        orvFree(context.dctLevelTable[i]);
    orvFree(context.dctLevelTable);
    context.dctLevelTable = nullptr;
    context.dctLevelCount = 0;
    orvFree(context.dctCosineTable);
    context.dctCosineTable = nullptr;
    context.dctCosineLength = 0;
}
