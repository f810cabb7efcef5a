// The record that the library keeps for each thread. When the library is unloaded it can release that of the calling
// thread alone: other threads must have ended before, or their records stay behind.
#pragma once

#include "orv/core.h"

// What a family keeps for a thread between its calls: a record that only the family knows, and the function that
// releases it with all that hangs on it. Nothing where the record is NULL.
struct OwnCache {
    void* record;
    void (*release)(void* record);
};

enum OwnCacheSlot { OWN_FOURIER_CACHE, OWN_COSINE_CACHE, OWN_CACHES };

struct OrvContext {
    int32_t status;
    int32_t mode;
    OrvErrorCallBack report;
    OwnCache caches[OWN_CACHES];
};

// The calling thread's record, made at first use. Ends the application if it cannot be made.
OrvContext& ownContext();

// Releases a cache and leaves it empty.
void ownReleaseCache(OwnCache& cache);

// A thread enters the library's life: makes its record. False if there is no memory for it.
bool ownThreadStart();

// A thread leaves: releases its record, which may be NULL, and the caches that hang on it.
void ownThreadEnd(void* record);
