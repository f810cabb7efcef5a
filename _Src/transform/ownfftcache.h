// The Fourier transforms' tables and work buffers, which the calling thread keeps.
#pragma once

#include "../core/ownfourier.h"
#include "kernels/ownfft.h"
#include "owncaches.h"

// The work buffers of a call.
enum OwnFftBuffer { OWN_FFT_SPECTRA, OWN_FFT_BLOCK, OWN_FFT_LINES, OWN_FFT_SCRATCH, OWN_FFT_BUFFERS };

// Buffers only grow. All zero means empty.
struct OwnFftCaches {
    static constexpr int count = 32;

    float* work[OWN_FFT_BUFFERS];
    int32_t workSize[OWN_FFT_BUFFERS];  // in values of 4 bytes
    OwnLengthTables<OwnFourierTable<float>> floating;
    OwnLengthTables<int32_t> direct;  // of the fixed-point core
    int16_t* twiddle[count];          // the same, by log2 of the length
    int32_t* bitReversal[count];      // the same

    static void release(void* record);
};

// A work buffer for at least `count` values of 4 bytes, at the start of a cache line. NULL if there is no memory.
template <class T>
T* ownFftWork(OwnFftCaches& caches, OwnFftBuffer buffer, int64_t count);

const OwnFourierTable<float>* ownFftTable(OwnFftCaches& caches, int32_t length);

// Fills in what transforms real lines of the length, or complex ones, in fixed point. Work space of the direct
// transform is left out. False if there is no memory, or no place for one more direct table.
bool ownFftRealTables(OwnFftCaches& caches, int32_t length, OwnFftFixedLength& tables);
bool ownFftComplexTables(OwnFftCaches& caches, int32_t length, OwnFftFixedLength& tables);

// The logarithm of a power of two above 1, otherwise 0.
inline int32_t ownFftLog2(int32_t length)
{
    return length > 1 && (length & (length - 1)) == 0 ? __builtin_ctz(uint32_t(length)) : 0;
}

// Fixed-point real lines of power-of-two length go through a complex core of half their length, from this logarithm on.
constexpr int32_t ownFftRealCoreLog2 = 2;
