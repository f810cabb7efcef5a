// Fourier transforms of complex lines of any length, for the families that need them: the tables of a length. The
// transforms themselves are kernels (kernels/ownfourier.h).
//
//   ownRoot             a root of unity
//   ownFourierTable     the table of a length
#pragma once

#include "kernels/ownfourier.h"

// The cosine and the sine of j / n turns. What is a whole number or a half is exactly that.
struct OwnRoot {
    double cos, sin;
};
OwnRoot ownRoot(int64_t j, int64_t n);

// The table of a length of 1 or more, in one block, which orvFree releases. NULL if there is no memory.
template <class T>
OwnFourierTable<T>* ownFourierTable(int32_t length);
