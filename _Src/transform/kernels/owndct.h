// Kernels of the cosine transform: blocks of 8 x 8, and what lies between lines of other lengths and their spectra.
#pragma once

#include "../../core/kernels/ownfourier.h"
#include "../../core/owngeometry.h"

// An 8 x 8 channel of one depth, to 64 floats and back.
struct OwnDctPixels {
    void (*read)(const OwnGeometry& pixels, float* block);
    void (*write)(const float* block, const OwnGeometry& pixels);
};

struct OwnDctBlock {
    OwnDctPixels pixels[OWN_DEPTHS];

    // The whole transform, in place.
    void (*forward)(float* block);
    void (*inverse)(float* block);
};

OWN_KERNEL_TABLE(OwnDctBlock, ownDctBlock)

// What lines of one length need, beside the Fourier transform of that length: even samples in their order and odd ones
// in the opposite order make the line whose spectrum has the coefficients.
struct OwnDctLength {
    const OwnFourierTable<float>* fourier;
    const int32_t* samples;  // the place of each sample in that line
    const int32_t* order;    // the place of that place in a block of the Fourier transform
    const float* turns;      // cos and sin of pi k / (2 length), divided by sqrt(2 length), for k up to half the length
    float first;             // 1 / sqrt(length)
};

// Lines are side by side as the real lines of the Fourier transform are: two of them are one complex line.
struct OwnDctLines {
    // Makes the coefficients, in place, of spectra.
    void (*toCoefficients)(float* block, const OwnDctLength& length);
    // Makes spectra, laid as the Fourier transform wants them, of coefficients.
    void (*toSpectra)(const float* block, const OwnDctLength& length, float* spectra);
};

// The first is for single lines, the second for as many as a vector has lanes.
struct OwnDctKernels {
    OwnDctLines lines[2];
};

OWN_KERNEL_TABLE(OwnDctKernels, ownDctKernels)
