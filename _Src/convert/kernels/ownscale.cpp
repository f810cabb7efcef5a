// Conversions between depths that map a whole range onto another.
#include "ownconvert.h"

namespace OWN_ISA {
namespace {

template <class T>
constexpr int bitsOf = int(sizeof(T)) * 8;

// ---- Integers -----------------------------------------------------------------------------------------------------

// The ends of the ranges meet: wider values repeat the bits of narrower ones, narrower ones lose a part of themselves before
// their low bits go.
template <class S, class D>
struct Scale {
    using Source = S;
    using Result = D;
    explicit Scale(const void*) {}
    D operator()(S value) const
    {
        constexpr auto low = uint32_t(OwnRange<S>::lowest), lowResult = uint32_t(OwnRange<D>::lowest);
        if constexpr (sizeof(D) < sizeof(S)) {
            constexpr int32_t middle = OwnRange<S>::isSigned ? 0 : 1 << (bitsOf<S> - 1);
            const int32_t x = int32_t{value} - middle;
            const int32_t high = (x - (x >> bitsOf<D>)) >> (bitsOf<S> - bitsOf<D>);
            return D(high + (OwnRange<D>::isSigned ? 0 : 1 << (bitsOf<D> - 1)));
        } else {
            constexpr auto times = uint32_t((uint64_t{1} << bitsOf<D>)-1) / uint32_t((uint64_t{1} << bitsOf<S>)-1);
            return D((uint32_t(value) - low) * times + lowResult);
        }
    }
};

template <class S>
constexpr OwnRowKernel scaleFrom[OWN_DEPTHS] = {
    {},
    OneSourceRows<Scale<S, uint8_t>>::kernel,
    OneSourceRows<Scale<S, int8_t>>::kernel,
    OneSourceRows<Scale<S, uint16_t>>::kernel,
    OneSourceRows<Scale<S, int16_t>>::kernel,
    OneSourceRows<Scale<S, int32_t>>::kernel,
};

// ---- Floats -------------------------------------------------------------------------------------------------------

template <class T>
constexpr double full = double(OwnRange<T>::highest - OwnRange<T>::lowest);

template <class S>
struct ToFloat {
    using Source = S;
    using Result = float;
    double factor, base;
    explicit ToFloat(const void* scalar)
    {
        const auto& range = *static_cast<const OwnFloatRange*>(scalar);
        factor = (double(range.most) - double(range.least)) * (1 / full<S>);
        base = double(range.least);
        if constexpr (OwnRange<S>::isSigned)
            base += factor * double(-OwnRange<S>::lowest);
    }
    float operator()(S value) const { return float(value * factor + base); }
};

template <class D>
struct OfFloat {
    using Source = float;
    using Result = D;
    float least, most;
    double factor, base;
    explicit OfFloat(const void* scalar)
    {
        const auto& range = *static_cast<const OwnFloatRange*>(scalar);
        least = range.least;
        most = range.most;
        factor = full<D> / (double(most) - double(least));
        base = -double(least) * factor + double(OwnRange<D>::lowest);
    }
    D operator()(float value) const
    {
        const D result = ownRounded<D>(double(value) * factor + base);
        return value < least ? D(OwnRange<D>::lowest) : value > most ? D(OwnRange<D>::highest) : result;
    }
};

}  // namespace

extern const OwnScaleKernels ownScaleKernels;
const OwnScaleKernels ownScaleKernels = {
    {nullptr, scaleFrom<uint8_t>, scaleFrom<int8_t>, scaleFrom<uint16_t>, scaleFrom<int16_t>, scaleFrom<int32_t>},
    {{},
     OneSourceRows<ToFloat<uint8_t>>::kernel,
     OneSourceRows<ToFloat<int8_t>>::kernel,
     OneSourceRows<ToFloat<uint16_t>>::kernel,
     OneSourceRows<ToFloat<int16_t>>::kernel,
     OneSourceRows<ToFloat<int32_t>>::kernel},
    {{},
     OneSourceRows<OfFloat<uint8_t>>::kernel,
     OneSourceRows<OfFloat<int8_t>>::kernel,
     OneSourceRows<OfFloat<uint16_t>>::kernel,
     OneSourceRows<OfFloat<int16_t>>::kernel,
     OneSourceRows<OfFloat<int32_t>>::kernel},
};

}  // namespace OWN_ISA
