#include "testheap.h"

#include <atomic>
#include <cstdlib>
#include <cstring>

#include "core/ownheap.h"

namespace {

std::atomic<int> live{0};
std::atomic<size_t> bytes{0};
int countdown = 0;
bool refuseAll = false;
bool wasRefused = false;
bool fills = true;

}  // namespace

void* ownHeapAlloc(size_t size)
{
    bytes += size;
    if (countdown > 0 && --countdown == 0) {
        if (refuseAll)
            countdown = 1;
        wasRefused = true;
        return nullptr;
    }
    void* block = malloc(size);
    if (block) {
        ++live;
        if (fills)
            memset(block, testheap::pattern, size);
    }
    return block;
}

void ownHeapFree(void* block)
{
    if (block)
        --live;
    free(block);
}

namespace testheap {

void refuse(int n, bool all)
{
    countdown = n;
    refuseAll = all;
    wasRefused = false;
    bytes = 0;
}

bool refused()
{
    return wasRefused;
}

int blocks()
{
    return live;
}

void fill(bool on)
{
    fills = on;
}

size_t asked()
{
    return bytes;
}

}  // namespace testheap
