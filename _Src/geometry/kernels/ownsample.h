// Samplers: what a source holds at positions between its pixels.
//
// A sampler works on a list of positions in two steps: where the samples stand and what they weigh, once for all
// channels; then the values, for channels that stand side by side, or plane by plane. Positions lie on the pixels of an
// image of width by height, of which the memory may hold a part only; whoever asks sees to it that the part has all
// that is needed: 3 pixels on every side of a position, as far as the image goes.
#pragma once

#include "../../core/owngeometry.h"
#include "../../core/ownisa.h"
#include "ownposition.h"

// The memory of a source.
struct OwnSampleSource {
    int32_t width, height;  // of the image
    int32_t pixelBytes;     // from pixel to pixel; of 1U none
    int64_t rowBytes;
    int64_t origin;  // where the first byte of the memory stands in the image, in bytes; of 1U the first bit
    bool compact;    // the memory has less than 2 GiB and the image at most 32768 pixels a side
};

// Where the samples of a list stand, and their weights.
struct OwnSamplePlaces {
    alignas(64) int64_t offset[ownPositions];  // from the start of the memory; of 1U in bits
    union {
        struct {
            alignas(64) double x[ownPositions], y[ownPositions];
        } real;
        struct {
            alignas(64) int32_t x[ownPositions], y[ownPositions];
        } whole;
        // For vectors of words, which have signs: what stands in for a weight of more than they hold is told where the
        // weights are made.
        struct {
            alignas(64) uint16_t x[ownPositions], xSides[ownPositions], y[ownPositions], yCarry[ownPositions];
        } words;
        bool lastRow;  // nearest: the list may have pixels of the image's last row, behind which the memory may end
    };
};

// Rows of floats, ownPositionRows of them.
struct OwnFloatRows {
    const uint8_t *x, *y;  // the first ones
    ptrdiff_t xStep, yStep;
    int columns;
};

constexpr int ownSampleChannels = 4;                   // side by side at most
constexpr int ownSampleBytes = 4 * ownSampleChannels;  // of a pixel at most

// Bytes from pixel to pixel in a list of pixels. Those of three bytes are moved as numbers of 32 bits.
constexpr int ownListedBytes(int pixelBytes)
{
    return pixelBytes == 3 ? 4 : pixelBytes;
}

// Where the pixels of a list go. Every row has a place for its first pixel, of 1U also that pixel's bit, and a number
// of pixels to store, which may be negative.
struct OwnDelivery {
    const uint8_t* pixels;
    ptrdiff_t columnStep, rowStep;  // numbers in the list from column to column and from row to row
    uint8_t* to[ownPositionRows];
    int32_t bit[ownPositionRows];
    const int32_t* count;
    ptrdiff_t step;        // bytes from pixel to pixel
    const uint8_t* marks;  // NULL, or by number whether the pixel is stored
};

// What prepares places without a list of positions, where there is such a way. False, and nothing done, unless it is
// certain that all positions lie in the range, which lies in the image, and if the source is too large.
struct OwnInside {
    // For the next `columns` pixels, a multiple of 4, of rows in the making, by the kind of their map.
    bool (*prepareRows[OWN_MAPS])(const OwnSampleSource& source, OwnPositionState& state, int columns,
                                  const OwnPositionRange& range, OwnSamplePlaces& places);
    bool (*prepareFloats)(const OwnSampleSource& source, const OwnFloatRows& rows, const OwnPositionRange& range,
                          OwnSamplePlaces& places);
};

struct OwnSampler {
    // Lists are as long as ownPositionGroup tells.
    void (*prepare)(const OwnSampleSource& source, const double* x, const double* y, ptrdiff_t n,
                    OwnSamplePlaces& places);
    OwnInside inside = {};
    // By the number of channels, from 1 on. `data` is where the first of them begins, `out` gets pixel after
    // pixel, as far apart as ownListedBytes tells; bits become bytes, 0 or 1.
    void (*sample[ownSampleChannels])(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places,
                                      ptrdiff_t n, uint8_t* out) = {};
    // Instead of these: brings the channels to their rows at once.
    void (*copy[ownSampleChannels])(const uint8_t* data, const OwnSamplePlaces& places,
                                    const OwnDelivery& delivery) = {};
};

enum OwnSampleMethod { OWN_NEAREST, OWN_LINEAR, OWN_CUBIC, OWN_METHODS };
enum OwnSampleDepth { OWN_SAMPLE_1U, OWN_SAMPLE_8U, OWN_SAMPLE_16U, OWN_SAMPLE_32F, OWN_SAMPLE_DEPTHS };

struct OwnSampleKernels {
    OwnSampler samplers[OWN_SAMPLE_DEPTHS][OWN_METHODS];  // 1U is nearest always
    // Brings the pixels of a list into the cache; samples reach `below` bytes further down.
    void (*fetch)(const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t columnStep, ptrdiff_t rowStep,
                  ptrdiff_t n, ptrdiff_t below);
    void (*deliver[ownSampleBytes + 1])(const OwnDelivery& delivery);  // by the bytes of a pixel; 0 for bits
};

OWN_KERNEL_TABLE(OwnSampleKernels, ownSampleKernels)
