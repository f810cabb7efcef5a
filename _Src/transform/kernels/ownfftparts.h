// The parts of the table of the Fourier kernels, each exported by a source of its own.
#pragma once

#include "ownfft.h"

namespace OWN_ISA {

extern const OwnFftBlocks<float> floatBlocks[2];  // ownfftmove.cpp
extern const OwnFftBlocks<int32_t> intBlocks[2];
extern const OwnFftRow<float> floatRows[OWN_DEPTHS];  // ownfftrow.cpp
extern const OwnFftRow<int32_t> intRows[OWN_DEPTHS];
extern const OwnFftFixedTransforms intCore[2];           // ownfftint.cpp
extern const OwnFftFixedTransforms intDirect[2];         // ownfftdirect.cpp
extern const OwnFftProducts packedProducts[OWN_DEPTHS];  // ownfftpack.cpp

}  // namespace OWN_ISA
