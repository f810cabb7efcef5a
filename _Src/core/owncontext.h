// The record that the library keeps for each thread.
#pragma once

#include <cstddef>

#include "orv/core.h"

struct OrvContext;

// How the values of one Fourier core, floats or 32-bit integers, come from an image's memory and go back to it. Lines are
// rows, or columns, of one channel; spectra are told in transform/ownfft.h.
struct OwnFftPixels;
template <class T>
struct OwnFftMoves {
    using Load = void (*)(const uint8_t* pixels, ptrdiff_t step, T* line, ptrdiff_t count);
    using Store = void (*)(const T* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale);
    using LoadSpectrum = void (*)(const OwnFftPixels& pixels, Load load, int32_t firstColumn, int32_t columns,
                                  int32_t height, T* block);
    using StoreSpectrum = void (*)(const T* block, T* carry, const OwnFftPixels& pixels, Store store,
                                   int32_t firstColumn, int32_t columns, int32_t height, float scale);

    Load loadRow;
    Load loadColumn;
    Store storeRow;
    Store storeColumn;
    LoadSpectrum loadSpectrum;
    StoreSpectrum storeSpectrum;
};

// How the pixels of an image follow one another, by its depth and data order.
struct OwnFftLayout {
    ptrdiff_t pixelStep;  // in bytes, as all steps
    ptrdiff_t channelStep;
    bool sideBySide;  // no gap between the pixels of a channel
    bool isFloat;
};

// What a Fourier transform is about to do. Filled at each call and of no meaning between calls.
struct OwnFftPlan {
    using Driver = bool (*)(OrvContext& context);  // false if there is no memory

    int32_t srcWidth, srcHeight;  // of the images
    int32_t srcStep, srcChannels;
    int32_t dstWidth, dstHeight;
    int32_t dstStep, dstChannels;
    uint8_t* srcData;
    uint8_t* dstData;
    int32_t srcX, srcY;  // where their regions begin
    int32_t dstX, dstY;
    int32_t srcFirstChannel, dstFirstChannel;  // from 0
    int32_t channelCount;                      // channels to transform
    int32_t channel;                           // the running one, from 0
    int32_t width;                             // of the transform
    int32_t widthEven;
    int32_t widthLog2;  // 0 unless a power of two above 1
    int32_t height;
    int32_t heightEven;
    int32_t heightLog2;
    int32_t direction;  // +1 forward, -1 inverse
    int32_t scale;      // 1 when the result is to be divided
    int32_t intSlot;    // next free work-buffer slots
    int32_t floatSlot;
    Driver realDriver;
    Driver ccsDriver;
    OwnFftMoves<float> floatMoves;
    OwnFftMoves<int32_t> intMoves;
    OwnFftLayout srcLayout;
    OwnFftLayout dstLayout;
};

// The caches of the Fourier transforms: work buffers that only grow, and tables by length. All zero means empty.
struct OwnFftCaches {
    static constexpr int count = 32;

    int32_t intWorkSize[count];  // by slot, in elements
    int32_t* intWork[count];
    int32_t floatWorkSize[count];  // by slot, in elements
    float* floatWork[count];
    int32_t floatDirectLength[count];  // first free or matching entry
    float* floatDirect[count];
    int32_t intDirectLength[count];
    int32_t* intDirect[count];
    float* twiddle[count];        // by log2 of the length, up to 10
    float* upperTwiddle[count];   // by log2 of the length, above 10
    float* realSplit[count];      // by log2 of the half length
    int16_t* intTwiddle[count];   // by log2 of the length
    int32_t* bitReversal[count];  // by log2 of the length
};

struct OrvContext {
    int32_t status;
    int32_t mode;
    OrvErrorCallBack report;
    int32_t dctCosineLength;  // entries of dctCosineTable: -1 before the first one, 0 after a release
    float* dctCosineTable;
    int32_t dctLevelCount;  // entries of dctLevelTable
    double** dctLevelTable;
    OwnFftCaches fft;
    OwnFftPlan fftPlan;
};

// The calling thread's record, made at first use. Ends the application if it cannot be made.
OrvContext& ownContext();

// A thread enters the library's life: makes its record. False if there is no memory for it.
bool ownThreadStart();

// A thread leaves: releases its record, which may be NULL, and the caches that hang on it.
void ownThreadEnd(void* record);
