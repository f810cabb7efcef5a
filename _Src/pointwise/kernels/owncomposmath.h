// The constants of compositing, and its types in floating point. For kernel sources only.
#pragma once

#include "../../core/kernels/ownrow.h"

namespace OWN_ISA {
namespace {

template <class T>
struct Scale;
template <>
struct Scale<uint8_t> {
    using Wide = uint16_t;
    static constexpr uint8_t one = 255;
    static constexpr float unit = 0.003921568859368563f;
    static constexpr double leastAlpha = 7.689351150474977e-06;
    // The quotient by 255, rounded down, as the upper half of a product.
    static Wide divided(uint16_t t) { return Wide(uint16_t(uint32_t{t} * 0x8081 >> 16) >> 7); }
};
template <>
struct Scale<uint16_t> {
    using Wide = uint32_t;
    static constexpr uint16_t one = 65535;
    static constexpr float unit = 1.5259021896696422e-05f;
    static constexpr double leastAlpha = 1.1641887462193043e-10;
    static Wide divided(uint32_t t) { return (t + (t >> 16) + 1) >> 16; }
};

// T may be a vector of doubles.
template <int type, class T>
inline T realColour(T A, T B, T a, T b)
{
    switch (type) {
    case 0: return A + (1 - a) * B;
    case 1: return A * b;
    case 2: return A * (1 - b);
    case 3: return A * b + (1 - a) * B;
    case 4: return A * (1 - b) + (1 - a) * B;
    default: return A + B;
    }
}

template <int type, class T>
inline T realAlpha(T a, T b)
{
    switch (type) {
    case 0: return a + (1 - a) * b;
    case 1: return a * b;
    case 2: return a * (1 - b);
    case 3: return b;
    case 4: return a * (1 - b) + (1 - a) * b;
    default: return a + b;
    }
}

}  // namespace
}  // namespace OWN_ISA
