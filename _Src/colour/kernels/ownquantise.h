// For the kernel sources of dithering: values in, one of a few levels out.
#pragma once

#include "owndither.h"

namespace OWN_ISA {
namespace {

// ---- Pixels as numbers --------------------------------------------------------------------------------------------

// A row is worked on in pieces of so many pixels, a multiple of 8 and of 4.
constexpr int pieceLength = 256;

// The place of a value of a source on the scale that begins at 0.
template <class S>
inline double brightnessOf(S value)
{
    return double(value) + (S(-1) < S(0) ? 2147483648.0 : 0.0);
}

// values[i] = pixel i of a row, `step` values apart.
template <class S>
void loadPixels(const void* row, ptrdiff_t step, double* __restrict values, ptrdiff_t n)
{
    if (step == 1) {
        for (ptrdiff_t i = 0; i < n; ++i)
            values[i] = brightnessOf(ownLoad<S>(row, i));
    } else {
        for (ptrdiff_t i = 0; i < n; ++i)
            values[i] = brightnessOf(ownLoad<S>(row, i * step));
    }
}

template <class D>
void storeCodes(const int32_t* __restrict codes, void* row, ptrdiff_t step, ptrdiff_t n)
{
    if (step == 1) {
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore<D>(row, i, D(codes[i]));
    } else {
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore<D>(row, i * step, D(codes[i]));
    }
}

// Whole bytes, the last one filled with clear bits.
inline void storeBitCodes(const int32_t* codes, void* row, ptrdiff_t, ptrdiff_t n)
{
    auto* bytes = static_cast<uint8_t*>(row);
    for (ptrdiff_t i = 0; i < n; i += 8) {
        uint32_t byte = 0;
        for (ptrdiff_t k = 0; k < 8; ++k)
            byte = byte << 1 | uint32_t(i + k < n ? codes[i + k] : 0);
        *bytes++ = uint8_t(byte);
    }
}

using LoadPixels = void (*)(const void* row, ptrdiff_t step, double* values, ptrdiff_t n);
using StoreCodes = void (*)(const int32_t* codes, void* row, ptrdiff_t step, ptrdiff_t n);

inline LoadPixels loaderOf(OwnDepthIndex depth)
{
    return depth == OWN_8U ? loadPixels<uint8_t> : depth == OWN_16U ? loadPixels<uint16_t> : loadPixels<int32_t>;
}

inline StoreCodes storerOf(OwnDepthIndex depth)
{
    switch (depth) {
    case OWN_1U: return storeBitCodes;
    case OWN_8U: return storeCodes<uint8_t>;
    case OWN_16U: return storeCodes<uint16_t>;
    default: return storeCodes<int32_t>;
    }
}

inline int valueBytes(OwnDepthIndex depth)
{
    return depth == OWN_8U ? 1 : depth == OWN_16U ? 2 : 4;
}

// The address of a value; of bits at a multiple of 8.
inline uint8_t* valueAt(const OwnGeometry& image, OwnDepthIndex depth, ptrdiff_t channel, ptrdiff_t x, ptrdiff_t y)
{
    uint8_t* row = image.start + y * image.rowStep;
    if (depth == OWN_1U)
        return row + x / 8;
    ptrdiff_t bytes = valueBytes(depth);
    return row + x * image.pixelStep * bytes + channel * (image.planeStep ? image.planeStep : bytes);
}

// ---- Levels -------------------------------------------------------------------------------------------------------

// To the nearest whole number, ties to even, of numbers up to 2^51.
template <class Real>
inline Real nearest(Real value)
{
    constexpr double ulpIsOne = 6755399441055744.0;
    return (value + ulpIsOne) - ulpIsOne;
}

// Four numbers side by side.
typedef double Four __attribute__((vector_size(32)));
typedef int32_t FourCodes __attribute__((vector_size(16)));

template <class Real>
struct Quantised {
    Real code;   // a whole number
    Real error;  // what the level lacks
};

// The level of a value. Real is double, or a vector of them, of which a comparison is a mask.
template <OwnLevelForm form, class Real>
inline __attribute__((always_inline)) Quantised<Real> quantised(const OwnQuantiser& q, Real value, Real threshold)
{
    const Real zero = {};
    Quantised<Real> result;
    if constexpr (form == OwnLevelForm::bits) {
        auto set = value > threshold;
        result = {set ? zero + 1.0 : zero, set ? value - q.full : value};
    } else {
        const Real below = nearest(q.steps * value * q.perUnit - 0.5);
        const Real low = below * q.step;
        auto higher = value - low > threshold;
        const Real level = higher ? low + q.step : low;
        Real code =
            form == OwnLevelForm::codes ? (higher ? below + 1.0 : below) * q.code : nearest(level * q.scale - q.less);
        code = code < q.bottom ? zero + q.bottom : code;
        result = {code > q.top ? zero + q.top : code, value - level};
    }
    auto over = value >= q.full;
    auto under = value < q.least;
    result.code = over ? zero + q.top : under ? zero + q.bottom : result.code;
    result.error = (over | under) ? zero : result.error;
    return result;
}

// The noise at a place. `along` moves the place in the list of values and that in the list of places, `down` the former
// alone.
inline double noiseAt(const OwnNoise& noise, uint32_t along, uint32_t down)
{
    constexpr uint32_t last = OWN_NOISE_COUNT - 1;
    return double(noise.values[(down + uint32_t(noise.places[along & last])) & last]);
}

}  // namespace
}  // namespace OWN_ISA
