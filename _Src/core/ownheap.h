// The run-time heap behind every allocation of the library. The tests put a heap of their own in its place, which can
// refuse the n-th allocation.
#pragma once

#include <cstddef>

void* ownHeapAlloc(size_t size);
void ownHeapFree(void* block);
