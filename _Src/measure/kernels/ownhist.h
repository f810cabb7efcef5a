// Kernels of histograms and of the maps made of them.
#pragma once

#include "../../core/kernels/ownreadrows.h"
#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// Counters of the values of 8 or 16 bits of several channels. Bytes of one channel are counted in several tables by turns, since
// a counter that has just been stored is not at hand yet for the next pixel.
constexpr int ownHistTables = 8;

struct OwnHistogram {
    uint32_t* counts;  // of a channel `tables` tables of `bins`
    int32_t bins;
    int32_t tables;
    int32_t channels;
};

struct OwnHistKernels {
    void (*count8)(OwnHistogram& histogram, const OwnReadRows& rows);
    void (*count16)(OwnHistogram& histogram, const OwnReadRows& rows);

    // d[i] = table[a[i]] for values of 8 and 16 bits; the scalar is the table.
    OwnRowKernel map8, map16;
};

OWN_KERNEL_TABLE(OwnHistKernels, ownHistKernels)
