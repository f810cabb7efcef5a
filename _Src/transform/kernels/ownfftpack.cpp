// Products of packed spectra.
#include "../../core/ownvalue.h"
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

// How values of a type are multiplied: in what, and how the result comes back.
template <class T>
struct Product {
    using Wide = double;
    static T narrow(double value) { return ownRounded<T>(value); }
};

template <>
struct Product<float> {
    using Wide = double;
    static float narrow(double value) { return float(value); }
};

template <>
struct Product<int8_t> {
    using Wide = int32_t;
    static int8_t narrow(int32_t value) { return ownSaturated<int8_t>(value); }
};

template <>
struct Product<int16_t> {
    // The sum of two products may have 33 bits.
    using Wide = int64_t;
    static int16_t narrow(int64_t value) { return ownSaturated<int16_t>(value); }
};

template <class T>
inline typename Product<T>::Wide read(const uint8_t* from)
{
    return ownLoad<T>(from);
}

template <class T>
inline void write(uint8_t* to, typename Product<T>::Wide value)
{
    ownStore(to, 0, Product<T>::narrow(value));
}

template <class T>
void multiplyReal(const OwnFftOperand& a, const OwnFftOperand& b, const OwnFftOperand& dst, ptrdiff_t count)
{
    for (ptrdiff_t i = 0; i < count; ++i)
        write<T>(dst.first + i * dst.step, read<T>(a.first + i * a.step) * read<T>(b.first + i * b.step));
}

template <class T>
inline void multiplyPair(const uint8_t* a, ptrdiff_t aPair, const uint8_t* b, ptrdiff_t bPair, uint8_t* dst,
                         ptrdiff_t dstPair)
{
    auto aRe = read<T>(a), aIm = read<T>(a + aPair);
    auto bRe = read<T>(b), bIm = read<T>(b + bPair);
    write<T>(dst, aRe * bRe - aIm * bIm);
    write<T>(dst + dstPair, aRe * bIm + aIm * bRe);
}

template <class T>
void multiplyPairs(const OwnFftOperand& a, const OwnFftOperand& b, const OwnFftOperand& dst, ptrdiff_t count)
{
    constexpr ptrdiff_t size = sizeof(T);
    bool sideBySide = a.pairStep == size && b.pairStep == size && dst.pairStep == size && a.step == 2 * size &&
                      b.step == 2 * size && dst.step == 2 * size;
    if (sideBySide) {
        const uint8_t* aPixels = a.first;
        const uint8_t* bPixels = b.first;
        uint8_t* dstPixels = dst.first;
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < count; ++i)
            multiplyPair<T>(aPixels + 2 * size * i, size, bPixels + 2 * size * i, size, dstPixels + 2 * size * i, size);
    } else {
        for (ptrdiff_t i = 0; i < count; ++i)
            multiplyPair<T>(a.first + i * a.step, a.pairStep, b.first + i * b.step, b.pairStep,
                            dst.first + i * dst.step, dst.pairStep);
    }
}

template <class T>
constexpr OwnFftProducts products = {multiplyReal<T>, multiplyPairs<T>};

}  // namespace

const OwnFftProducts packedProducts[OWN_DEPTHS] = {
    {}, {}, products<int8_t>, {}, products<int16_t>, products<int32_t>, products<float>};

}  // namespace OWN_ISA
