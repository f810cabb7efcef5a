// Lines of an image to the values of a core and back, by depth.
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// Pixels may lie at any address.
template <class Pixel>
inline Pixel readPixel(const uint8_t* from)
{
    Pixel value;
    __builtin_memcpy(&value, from, sizeof(Pixel));
    return value;
}

template <class Pixel>
inline void writePixel(uint8_t* to, Pixel value)
{
    __builtin_memcpy(to, &value, sizeof(Pixel));
}

// Of the loops below each has a form with a known step, for values side by side, and one with 0 for any step.

// ---- Floating core ----

template <class Pixel, int knownStep>
void loadFloats(const uint8_t* pixels, ptrdiff_t step, float* line, ptrdiff_t count)
{
    if constexpr (knownStep != 0)
        step = knownStep;
    for (ptrdiff_t i = 0; i < count; ++i)
        line[i] = float(readPixel<Pixel>(pixels + i * step));
}

// Rounds to nearest, ties to even, within the limits of the pixel's type. What is not a number becomes the lower limit.
template <class Pixel>
inline Pixel saturate(float value)
{
    constexpr bool isSigned = Pixel(-1) < Pixel(0);
    constexpr float high = float((1u << (8 * sizeof(Pixel) - isSigned)) - 1);
    constexpr float low = isSigned ? -high - 1 : 0;
    float limited = value > low ? value : low;
    limited = limited < high ? limited : high;
    // The sum's last bit is worth 1, so that the addition rounds.
    constexpr float magic = 12582912.0f;
    return Pixel(__builtin_bit_cast(int32_t, limited + magic) - __builtin_bit_cast(int32_t, magic));
}

template <>
inline int32_t saturate<int32_t>(float value)
{
    // Floats from 2^23 on are whole numbers.
    constexpr float limit = 2147483648.0f;
    float inside = value > -limit ? value : -limit;
    inside = inside < limit ? inside : 0;
    constexpr float magic = 8388608.0f;
    float sign = __builtin_copysignf(magic, inside);
    float rounded = __builtin_fabsf(inside) < magic ? (inside + sign) - sign : inside;
    return value >= limit ? INT32_MAX : int32_t(rounded);
}

template <>
inline float saturate<float>(float value)
{
    return value;
}

template <class Pixel, int knownStep>
void storeFloats(const float* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale)
{
    if constexpr (knownStep != 0)
        step = knownStep;
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < count; ++i)
        writePixel(pixels + i * step, saturate<Pixel>(line[i] * scale));
}

// ---- Fixed-point core ----

constexpr int fractionBits = 6;

template <class Pixel, int knownStep>
void loadInts(const uint8_t* pixels, ptrdiff_t step, int32_t* line, ptrdiff_t count)
{
    if constexpr (knownStep != 0)
        step = knownStep;
    for (ptrdiff_t i = 0; i < count; ++i)
        line[i] = int32_t(uint32_t(readPixel<Pixel>(pixels + i * step)) << fractionBits);
}

template <class Pixel>
inline Pixel limit(int32_t value)
{
    if constexpr (sizeof(Pixel) == 4) {
        return value;
    } else {
        constexpr bool isSigned = Pixel(-1) < Pixel(0);
        constexpr int32_t high = (1 << (8 * sizeof(Pixel) - isSigned)) - 1;
        constexpr int32_t low = isSigned ? -high - 1 : 0;
        value = value > low ? value : low;
        return Pixel(value < high ? value : high);
    }
}

// Down to the nearest whole number, except that nothing above -1 becomes -1.
inline int32_t dropFraction(int32_t value)
{
    int32_t whole = value >> fractionBits;
    return value < 0 && value > -(1 << fractionBits) ? 0 : whole;
}

template <class Pixel, int knownStep>
void storeInts(const int32_t* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale)
{
    if constexpr (knownStep != 0)
        step = knownStep;
    if (scale == 0) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < count; ++i)
            writePixel(pixels + i * step, limit<Pixel>(dropFraction(line[i])));
    } else {
        // Without its fraction a value is below 2^25, so that it rounds within the 32 bits.
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < count; ++i)
            writePixel(pixels + i * step, limit<Pixel>(saturate<int32_t>(float(dropFraction(line[i])) * scale)));
    }
}

template <class Pixel>
constexpr OwnFftLines<float> floatLine = {loadFloats<Pixel, sizeof(Pixel)>, loadFloats<Pixel, 0>,
                                          storeFloats<Pixel, sizeof(Pixel)>, storeFloats<Pixel, 0>};
template <class Pixel>
constexpr OwnFftLines<int32_t> intLine = {loadInts<Pixel, sizeof(Pixel)>, loadInts<Pixel, 0>,
                                          storeInts<Pixel, sizeof(Pixel)>, storeInts<Pixel, 0>};

}  // namespace

const OwnFftLines<float> floatLines[ownFftDepths] = {{},
                                                     floatLine<uint8_t>,
                                                     floatLine<int8_t>,
                                                     floatLine<uint16_t>,
                                                     floatLine<int16_t>,
                                                     floatLine<int32_t>,
                                                     floatLine<float>};
const OwnFftLines<int32_t> intLines[ownFftDepths] = {
    {}, intLine<uint8_t>, intLine<int8_t>, intLine<uint16_t>, intLine<int16_t>, intLine<int32_t>, {}};

}  // namespace OWN_ISA
