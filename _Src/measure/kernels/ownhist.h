// Kernels of histograms and of the maps made of them.
#pragma once

#include "../../core/kernels/ownreadrows.h"
#include "../../core/kernels/ownrow.h"
#include "../../core/ownisa.h"

// Counters of the values of 8 or 16 bits of several channels. Bytes of one channel are counted in several tables by
// turns, since a counter that has just been stored is not at hand yet for the next pixel.
constexpr int ownHistTables = 8;

// Tables do not lie a power of two apart: the processor takes addresses whose low bits agree for one.
constexpr int32_t ownHistTableStep(int32_t bins)
{
    return bins + 16;
}

struct OwnHistogram {
    uint32_t* counts;  // of a channel `tables` tables of `bins`
    int32_t bins;
    int32_t tables;
    int32_t channels;

    uint32_t* tableOf(int32_t channel, int32_t table = 0) const
    {
        return counts + (ptrdiff_t(channel) * tables + table) * ownHistTableStep(bins);
    }
};

struct OwnHistKernels {
    void (*count8)(OwnHistogram& histogram, const OwnReadRows& rows);
    void (*count16)(OwnHistogram& histogram, const OwnReadRows& rows);

    // d[i] = table[a[i]] for values of 8 and 16 bits; the scalar is the table.
    OwnRowKernel map8, map16;

    // The same for pixels of `channels` values, side by side or more apart, each through the table of its channel.
    void (*mapPixels8)(const OwnRows& rows, ptrdiff_t step, ptrdiff_t channels);
    void (*mapPixels16)(const OwnRows& rows, ptrdiff_t step, ptrdiff_t channels);
};

OWN_KERNEL_TABLE(OwnHistKernels, ownHistKernels)
