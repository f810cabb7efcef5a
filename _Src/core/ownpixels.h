// The traversal: brings the rows of images in plain memory, whatever their layouts, into the form of row kernels.
#pragma once

#include "kernels/ownbits.h"
#include "ownregion.h"

// What to do with the pixels: a row kernel with its scalar, and the sizes of the values it reads and writes.
struct OwnPixelOp {
    OwnRowKernel kernel;
    int sourceBytes;  // 0 for 1U
    int resultBytes;
    const void* scalar;  // for kernels of one source or none
};

// The index of the kernels that move values of 1, 2 or 4 bytes.
inline int ownSizeIndex(int bytes)
{
    return bytes == 4 ? 2 : bytes - 1;
}

// A scalar where a kernel of its depth reads it.
union OwnDepthValue {
    uint8_t bits8;  // for 1U eight pixels
    uint16_t bits16;
    uint32_t bits32;
    float real;
};

// The low bits of a value; 32F takes them as its bit pattern.
OwnDepthValue ownDepthValue(uint32_t depth, int32_t value);

// Repeats the first `bytes` bytes until they stand n times.
void ownRepeat(uint8_t* data, ptrdiff_t bytes, ptrdiff_t n);

// The op of one depth on both sides.
OwnPixelOp ownPixelOp(const OwnRowKernel& kernel, uint32_t depth, const void* scalar);

// Runs a kernel of bits over rows of n bits, however many.
void ownRunBits(const OwnRowKernel& kernel, OwnBitRows rows, int64_t n);

// Copies n bits from bit `from` of src on to bit `to` of dst, counted from the top of the first byte. Bits around them
// stay.
void ownCopyBits(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to, int64_t n);

// Runs `op` over the smallest size of all images: none, one or two sources, then the destination. Images process the
// same number of channels and may have different layouts. `mask` may be NULL.
void ownProcessPixels(const OwnPixelOp& op, const OwnGeometry* images, int count, const OwnGeometry* mask);

// A test of values, with the size of the values it reads.
struct OwnTestOp {
    OwnTestKernel kernel;
    int sourceBytes;
    const void* scalar;
};

// Runs a test in the same way. The destination is a 1U image, whose bit is set where the test holds in all processed
// channels of the sources.
void ownProcessToBits(const OwnTestOp& op, const OwnGeometry* images, int count, const OwnGeometry* mask);

// Copies rows of bits into an image from row y on, under a mask, which may be none.
void ownStoreBits(const OwnGeometry& rows, const OwnGeometry& image, const OwnGeometry& mask, int32_t y);

// Swaps the pixels of two images of one depth under a mask, which may be NULL or one of them.
void ownSwapPixels(uint32_t depth, const OwnGeometry& a, const OwnGeometry& b, const OwnGeometry* mask);
