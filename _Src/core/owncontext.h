// The record that the library keeps for each thread.
#pragma once

#include "orv/core.h"

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
    int32_t intSlot;              // next free work-buffer slots of the running call
    int32_t floatSlot;
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
};

// The calling thread's record, made at first use. Ends the application if it cannot be made.
OrvContext& ownContext();

// A thread enters the library's life: makes its record. False if there is no memory for it.
bool ownThreadStart();

// A thread leaves: releases its record, which may be NULL, and the caches that hang on it.
void ownThreadEnd(void* record);
