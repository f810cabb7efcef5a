// Rows of an image to the values of a core and back, by depth.
#include "../../core/ownvalue.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// Calls `loop` with a constant step where values lie side by side.
template <class Loop>
[[gnu::always_inline]] inline void withStep(ptrdiff_t step, Loop loop)
{
    if (step == 1)
        loop(ptrdiff_t{1});
    else
        loop(step);
}

// ---- Floating core ----

template <class Pixel>
void loadFloats(const uint8_t* pixels, ptrdiff_t step, float* __restrict line, ptrdiff_t count)
{
    withStep(
        step, [=](ptrdiff_t known) __attribute__((always_inline)) {
            for (ptrdiff_t i = 0; i < count; ++i)
                line[i] = float(ownLoad<Pixel>(pixels, i * known));
        });
}

template <class Pixel>
void storeFloats(const float* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale)
{
    withStep(
        step, [=](ptrdiff_t known) __attribute__((always_inline)) {
#pragma GCC ivdep
            for (ptrdiff_t i = 0; i < count; ++i)
                ownStore(pixels, i * known, ownAsValue<Pixel>(line[i] * scale));
        });
}

// ---- Fixed-point core ----

constexpr int fractionBits = 6;

template <class Pixel>
void loadInts(const uint8_t* pixels, ptrdiff_t step, int32_t* __restrict line, ptrdiff_t count)
{
    withStep(
        step, [=](ptrdiff_t known) __attribute__((always_inline)) {
            for (ptrdiff_t i = 0; i < count; ++i)
                line[i] = int32_t(uint32_t(ownLoad<Pixel>(pixels, i * known)) << fractionBits);
        });
}

// Down to the nearest whole number, except that nothing above -1 becomes -1.
inline int32_t dropFraction(int32_t value)
{
    int32_t whole = value >> fractionBits;
    return value < 0 && value > -(1 << fractionBits) ? 0 : whole;
}

template <class Pixel>
void storeInts(const int32_t* line, uint8_t* pixels, ptrdiff_t step, ptrdiff_t count, float scale)
{
    withStep(
        step, [=](ptrdiff_t known) __attribute__((always_inline)) {
            if (scale == 0) {
#pragma GCC ivdep
                for (ptrdiff_t i = 0; i < count; ++i)
                    ownStore(pixels, i * known, ownSaturated<Pixel>(dropFraction(line[i])));
            } else {
#pragma GCC ivdep
                for (ptrdiff_t i = 0; i < count; ++i)
                    ownStore(pixels, i * known, ownRounded<Pixel>(float(dropFraction(line[i])) * scale));
            }
        });
}

template <class Pixel>
constexpr OwnFftRow<float> floatRow = {loadFloats<Pixel>, storeFloats<Pixel>, sizeof(Pixel)};
template <class Pixel>
constexpr OwnFftRow<int32_t> intRow = {loadInts<Pixel>, storeInts<Pixel>, sizeof(Pixel)};

}  // namespace

const OwnFftRow<float> floatRows[OWN_DEPTHS] = {
    {}, floatRow<uint8_t>, floatRow<int8_t>, floatRow<uint16_t>, floatRow<int16_t>, floatRow<int32_t>, floatRow<float>};
const OwnFftRow<int32_t> intRows[OWN_DEPTHS] = {
    {}, intRow<uint8_t>, intRow<int8_t>, intRow<uint16_t>, intRow<int16_t>, intRow<int32_t>, {}};

}  // namespace OWN_ISA
