// The run-time heap.
#include "ownheap.h"

#include <cstdlib>

void* ownHeapAlloc(size_t size)
{
    return malloc(size);
}

void ownHeapFree(void* block)
{
    free(block);
}
