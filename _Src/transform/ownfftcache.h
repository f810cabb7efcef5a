// The Fourier transforms' tables and work buffers, which the calling thread keeps.
#pragma once

#include "kernels/ownfft.h"

// The values of T that the direct transform of `length` in blocks of `lanes` needs as work space: sums and differences of
// complex lines, the two values that have no partner, and the table.
template <class T>
constexpr int64_t ownFftDirectScratch(int64_t length, int64_t lanes)
{
    int64_t wide = (length - 1) / 2 * 4 * lanes + 4 * lanes + 2 * length;
    constexpr int64_t wideBytes = sizeof(typename OwnFftTypes<T>::Wide);
    return wide * wideBytes / int64_t(sizeof(T));
}

// The next work buffer of the running call, for at least `count` values. NULL if there is no memory or no slot left.
template <class T>
T* ownFftWork(OrvContext& context, int64_t count);
template <>
float* ownFftWork<float>(OrvContext& context, int64_t count);
template <>
int32_t* ownFftWork<int32_t>(OrvContext& context, int64_t count);

// Fills in what transforms real lines of the length, or complex ones; log2 is 0 unless it is a power of two above 1. Work
// space of the direct transform is left out. False if there is no memory, or no place for one more direct table.
bool ownFftRealTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<float>& tables);
bool ownFftRealTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<int32_t>& tables);
bool ownFftComplexTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<float>& tables);
bool ownFftComplexTables(OrvContext& context, int32_t length, int32_t log2, OwnFftLength<int32_t>& tables);

// Real lines of power-of-two length go through a complex core of half their length, from this logarithm on.
constexpr int32_t ownFftRealCoreLog2 = 2;
