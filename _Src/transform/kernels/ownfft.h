// What the Fourier drivers and their kernels share.
//
// Lines are transformed several at a time, side by side in the lanes of a block: value e of line l stands at
// block[e * lanes + l], so that one vector operation does the same step of every line. A block of complex lines holds real
// and imaginary parts as alternate values.
//
// The spectrum of a real line of length N stands in a block as pairs: value 0 is X(0), value 1 is X(N/2) for even N and of
// no meaning otherwise, values 2k and 2k + 1 are the parts of X(k), k = 1 to (N - 1) / 2.
//
// The work image holds the rows' spectra of a width by height channel column by column: `height` values of X(0), then
// `height` pairs for each k, then for even widths `height` values of X(width / 2).
//
// Values are floats, or 32-bit integers in the fixed-point core.
#pragma once

#include "../../core/owncontext.h"
#include "../../core/ownisa.h"

// The memory of one channel's region.
struct OwnFftPixels {
    uint8_t* first;
    ptrdiff_t rowStep;
    ptrdiff_t pixelStep;
    bool direct;  // values of the floating core side by side, which need no conversion
};

// The lengths of the floating core's stages: runs of up to inCache, merged into runs of up to block, merged into the whole.
constexpr int32_t ownFftInCacheLog2 = 10;
constexpr int32_t ownFftBlockLog2 = 14;

// Complex values that the last merge does at a time, for locality.
constexpr ptrdiff_t ownFftLastMergeStep = 256;

// Floats of an entry of the twiddle tables: three pairs and room to align them.
constexpr int32_t ownFftTwiddleEntry = 8;

// The tables of the complex core for one length 2^log2, log2 1 or more.
template <class T>
struct OwnFftCore;

template <>
struct OwnFftCore<float> {
    int32_t log2;
    const float* twiddle;        // of the length, or of the in-cache length above that
    const float* upper;          // of the length, above the in-cache length
    const int32_t* bitReversal;  // above length 8
};

template <>
struct OwnFftCore<int32_t> {
    int32_t log2;
    const int16_t* twiddle;
    int32_t twiddleLog2;         // the table's length, at least log2
    const int32_t* bitReversal;  // above length 8
};

// True for the values of the fixed-point core.
template <class T>
constexpr bool ownFftIsFixed = T(0.5) == 0;

// What goes with the values of a core.
template <class T>
struct OwnFftTypes;

template <>
struct OwnFftTypes<float> {
    using Split = float;  // in the tables that split and join real lines
    using Wide = double;  // in the sums of the direct transform
};

template <>
struct OwnFftTypes<int32_t> {
    using Split = int16_t;
    using Wide = int32_t;
};

// The tables for lines of one length. Those of a way that lines of this length do not take are empty.
template <class T>
struct OwnFftLength {
    int32_t length;
    const T* direct;                              // table of the direct transform: cos, -sin
    void* directScratch;                          // its work space, of ownFftDirectScratch values
    OwnFftCore<T> whole;                          // for complex lines
    OwnFftCore<T> half;                           // for real lines, as complex lines of half their length, and
    const typename OwnFftTypes<T>::Split* split;  // the table that splits and joins these
};

// The transforms of the lines of a block. A direction of -1 is the inverse, which does not divide.
template <class T>
struct OwnFftTransforms {
    using Transform = void (*)(T* block, const OwnFftLength<T>& length, int32_t direction);

    Transform realToPairs;
    Transform pairsToReal;
    Transform complex;
};

// How lines come into a block of `lanes` lanes and leave it.
template <class T>
struct OwnFftBlocks {
    using Moves = OwnFftMoves<T>;

    int32_t lanes;

    // `count` lines of `length` values, lineStep values apart in memory. Lanes without a line get any value. Going back,
    // the floating core multiplies by `scale`.
    void (*linesIn)(const T* lines, ptrdiff_t lineStep, int32_t count, ptrdiff_t length, T* block);
    void (*linesOut)(const T* block, T* lines, ptrdiff_t lineStep, int32_t count, ptrdiff_t length, float scale);

    // Rows of an image.
    void (*rowsIn)(const OwnFftPixels& pixels, typename Moves::Load load, int32_t rows, int32_t width, T* block);
    void (*rowsOut)(const T* block, const OwnFftPixels& pixels, typename Moves::Store store, int32_t rows,
                    int32_t width, float scale);

    // The pairs of `rows` rows of the work image, the first of which is firstRow.
    void (*pairsOut)(const T* block, T* work, int32_t firstRow, int32_t rows, int32_t width, int32_t height);
    void (*pairsIn)(const T* work, int32_t firstRow, int32_t rows, int32_t width, int32_t height, T* block);

    // Complex columns of a packed spectrum in an image. Loading, firstColumn is the image column of the first real part.
    // Storing, it is one less: the column that `carry` holds, one value a row, goes with the others except for the
    // last one, which takes its place in `carry`. So rows are written in pieces that start at even columns.
    typename Moves::LoadSpectrum loadSpectrum;
    typename Moves::StoreSpectrum storeSpectrum;
};

// Lines of an image of one depth, of values side by side or at any step. All NULL where a core does not take the depth.
template <class T>
struct OwnFftLines {
    typename OwnFftMoves<T>::Load load, loadStrided;
    typename OwnFftMoves<T>::Store store, storeStrided;
};

// The kernels of one core. Of each two the first serves single lines, the second as many as a vector has lanes.
template <class T>
struct OwnFftCoreKernels {
    const OwnFftTransforms<T>* core;    // lines of power-of-two length, real ones from 4, complex ones from 2
    const OwnFftTransforms<T>* direct;  // lines of any length
    const OwnFftBlocks<T>* blocks;
    const OwnFftLines<T>* lines;  // by OwnDepthIndex
};

// A source or the destination of products.
struct OwnFftOperand {
    uint8_t* first;
    ptrdiff_t pairStep;  // from the real to the imaginary part
    ptrdiff_t step;      // from a pair, or a real value, to the next
};

// Products of `count` values of one depth: real ones or complex pairs.
struct OwnFftProducts {
    using Product = void (*)(const OwnFftOperand& a, const OwnFftOperand& b, const OwnFftOperand& dst, ptrdiff_t count);
    Product real;
    Product complex;
};

constexpr int32_t ownFftDepths = 7;  // as OwnDepthIndex counts them

struct OwnFftKernels {
    OwnFftCoreKernels<float> floating;
    OwnFftCoreKernels<int32_t> fixed;
    const OwnFftProducts* products;  // by OwnDepthIndex; NULL where there are none
};

OWN_KERNEL_TABLE(OwnFftKernels, ownFftKernels)
