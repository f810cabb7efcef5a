// What the Fourier drivers and their kernels share.
//
// Lines are transformed several at a time, side by side in the lanes of a block, so that one vector operation does the
// same step of every line: value e of real line l stands at block[e * lanes + l], and of complex line l at
// block[2 * e * lanes + l] and block[(2 * e + 1) * lanes + l]. Values are floats, or 32-bit integers in the fixed-point
// core.
//
// The floating core takes complex lines of any length, and two real lines as one complex line: a block of real lines
// has twice as many lanes and is a block of complex lines at once. Values are laid in the order that the transform asks
// for.
//
// The fixed-point core makes of a real line of length N pairs: value 0 is X(0), value 1 is X(N/2) for even N and of no
// meaning otherwise, values 2k and 2k + 1 are the parts of X(k), k = 1 to (N - 1) / 2.
#pragma once

#include "../../core/kernels/ownfourier.h"
#include "../../core/owngeometry.h"

// The tables of the fixed-point core for one length 2^log2, log2 1 or more.
struct OwnFftCore {
    int32_t log2;
    const int16_t* twiddle;
    int32_t twiddleLog2;         // the table's length, at least log2
    const int32_t* bitReversal;  // above length 8
};

// What lines of one length need in fixed point. Tables of a way that lines of this length do not take are empty.
struct OwnFftFixedLength {
    int32_t length;
    const int32_t* direct;  // table of the direct transform: cos, -sin
    void* directScratch;    // its work space
    OwnFftCore whole;       // for complex lines
    OwnFftCore half;        // for real lines, as complex lines of half their length, and
    const int16_t* split;   // the table that splits and joins these
};

// The fixed-point transforms of the lines of a block. A direction of -1 is the inverse, which does not divide.
struct OwnFftFixedTransforms {
    using Transform = void (*)(int32_t* block, const OwnFftFixedLength& length, int32_t direction);

    Transform realToPairs;
    Transform pairsToReal;
    Transform complex;
};

// Bytes that the direct transform needs as work space: sums and differences of complex lines, and the two values that
// have no partner.
constexpr int64_t ownFftDirectScratch(int64_t length, int64_t lanes)
{
    return ((length - 1) / 2 * 4 + 4) * lanes * int64_t{sizeof(int32_t)};
}

// Rows of an image to values of T and back: `count` pixels of a row, `step` values apart. The floating core multiplies
// by `scale` first; so does the fixed-point core, unless it is 0.
template <class T>
struct OwnFftRow {
    void (*load)(const uint8_t* pixels, ptrdiff_t step, T* line, ptrdiff_t count);
    void (*store)(const T* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale);
    ptrdiff_t bytes;  // of a pixel's value
};

// The spectra of `rows` rows: the real columns 0 and, for even widths, width / 2, and between them complex columns.
// These lie in groups as wide as the blocks that take them: of each row the real parts of a group's columns, then the
// imaginary ones.
template <class T>
struct OwnFftSpectra {
    T* first;
    T* middle;
    T* columns;
    ptrdiff_t rows;
    ptrdiff_t lanes;  // columns of a group

    // The real part of column k, from 1, in a row; the imaginary part lies `lanes` values further on.
    [[gnu::always_inline]] T* at(ptrdiff_t k, ptrdiff_t row) const
    {
        ptrdiff_t group = (k - 1) / lanes;
        return columns + (group * rows + row) * 2 * lanes + (k - 1 - group * lanes);
    }
};

// How lines come into a block and leave it. Parts of images are given as geometries of one channel; without a
// conversion they hold values of T side by side. `order` is the place of each value in the block, NULL for the natural
// order.
template <class T>
struct OwnFftBlocks {
    int32_t realLanes;
    int32_t complexLanes;

    // Up to realLanes real lines, which are rows of an image. Lanes without a row get values like the others', since
    // lines that share a complex one share its rounding.
    void (*imageRowsIn)(const OwnGeometry& rows, const OwnFftRow<T>* convert, const int32_t* order, T* block);
    void (*imageRowsOut)(const T* block, const int32_t* order, const OwnGeometry& rows, const OwnFftRow<T>* convert,
                         float scale);

    // Up to realLanes real lines, which are columns of an image; coming in, of values of T side by side.
    void (*imageColumnsIn)(const OwnGeometry& columns, const int32_t* order, T* block);
    void (*imageColumnsOut)(const T* block, const int32_t* order, const OwnGeometry& columns,
                            const OwnFftRow<T>* convert);

    // The spectra of up to realLanes real lines of `length`, as those of the rows from `row` on.
    void (*spectraOut)(const T* block, const OwnFftSpectra<T>& to, int32_t row, int32_t rows, int32_t length);
    void (*spectraIn)(const OwnFftSpectra<T>& from, int32_t row, int32_t rows, int32_t length, const int32_t* order,
                      T* block);

    // A group of complex columns of spectra, as many as the block has lanes. Going back, the floating core multiplies
    // by `scale`.
    void (*columnsIn)(const T* columns, ptrdiff_t length, const int32_t* order, T* block);
    void (*columnsOut)(const T* block, T* columns, ptrdiff_t length, float scale);

    // `count` complex columns of a packed spectrum, which the image begins with. Going out, the image begins a column
    // before them: the column that `carry` holds, one value a row, goes with the others except for the last one, which
    // takes its place in `carry`. So rows are written in pieces that start at even columns.
    void (*packedIn)(const OwnGeometry& image, const OwnFftRow<T>* convert, int32_t count, const int32_t* order,
                     T* block);
    void (*packedOut)(const T* block, T* carry, const OwnGeometry& image, const OwnFftRow<T>* convert, int32_t count,
                      float scale);
};

// The kernels of one core. Of each two the first serves single lines, the second as many as a vector has lanes.
template <class T>
struct OwnFftCoreKernels {
    const OwnFftBlocks<T>* blocks;
    const OwnFftRow<T>* rows;  // by OwnDepthIndex; NULLs where a core does not take the depth
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

struct OwnFftKernels {
    OwnFftCoreKernels<float> floating;
    OwnFftCoreKernels<int32_t> fixed;
    const OwnFftFixedTransforms* core;    // lines of power-of-two length, real ones from 4, complex ones from 2
    const OwnFftFixedTransforms* direct;  // lines of any length
    const OwnFftProducts* products;       // by OwnDepthIndex; NULL where there are none
};

OWN_KERNEL_TABLE(OwnFftKernels, ownFftKernels)
