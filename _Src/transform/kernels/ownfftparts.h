// The parts of the table of the Fourier kernels, each exported by a source of its own.
#pragma once

#include "ownfft.h"

namespace OWN_ISA {

extern const OwnFftTransforms<float> floatCore[2];    // ownfft.cpp
extern const OwnFftTransforms<int32_t> intCore[2];    // ownfftint.cpp
extern const OwnFftTransforms<float> floatDirect[2];  // ownfftdirect.cpp
extern const OwnFftTransforms<int32_t> intDirect[2];
extern const OwnFftBlocks<float> floatBlocks[2];  // ownfftmove.cpp
extern const OwnFftBlocks<int32_t> intBlocks[2];
extern const OwnFftLines<float> floatLines[ownFftDepths];  // ownfftline.cpp
extern const OwnFftLines<int32_t> intLines[ownFftDepths];
extern const OwnFftProducts packedProducts[ownFftDepths];  // ownfftpack.cpp

}  // namespace OWN_ISA
