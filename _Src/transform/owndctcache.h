// The cosine transform's tables, which the calling thread keeps.
#pragma once

#include "../core/ownfourier.h"
#include "kernels/owndct.h"
#include "owncaches.h"

struct OwnDctCaches {
    OwnLengthTables<OwnFourierTable<float>> fourier;
    OwnLengthTables<OwnDctLength> cosine;

    static void release(void* record);
};

// The table of lines of a length. NULL if there is no memory, or no place for one more.
const OwnDctLength* ownDctTable(OwnDctCaches& caches, int32_t length);
