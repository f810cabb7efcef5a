#include "testheap.h"

#include <atomic>
#include <cstdlib>

#include "core/ownheap.h"

namespace {

std::atomic<int> live{0};
int countdown = 0;
bool refuseAll = false;
bool wasRefused = false;
std::atomic<size_t> most{0};

}  // namespace

void* ownHeapAlloc(size_t size)
{
    if (size > most)
        most = size;
    if (countdown > 0 && --countdown == 0) {
        if (refuseAll)
            countdown = 1;
        wasRefused = true;
        return nullptr;
    }
    void* block = malloc(size);
    if (block)
        ++live;
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
    most = 0;
}

bool refused()
{
    return wasRefused;
}

size_t largest()
{
    return most;
}

int blocks()
{
    return live;
}

}  // namespace testheap
