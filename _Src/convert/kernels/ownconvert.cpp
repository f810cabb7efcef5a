// Conversions between integer depths that keep the value.
#include "ownconvert.h"

namespace OWN_ISA {
namespace {

template <class S, class D>
struct Saturate {
    using Source = S;
    using Result = D;
    explicit Saturate(const void*) {}
    D operator()(S value) const
    {
        constexpr bool fitsBelow = OwnRange<D>::lowest <= OwnRange<S>::lowest;
        constexpr bool fitsAbove = OwnRange<D>::highest >= OwnRange<S>::highest;
        if constexpr (!fitsBelow)
            value = value < S(OwnRange<D>::lowest) ? S(OwnRange<D>::lowest) : value;
        if constexpr (!fitsAbove)
            value = value > S(OwnRange<D>::highest) ? S(OwnRange<D>::highest) : value;
        return D(value);
    }
};

template <class S>
struct IsAbove0 {
    using Source = S;
    explicit IsAbove0(const void*) {}
    bool operator()(S value) const { return value > 0; }
};

template <class D>
void values(const uint8_t* bits, int bit, const void* zeroValue, const void* oneValue, void* d, ptrdiff_t n)
{
    constexpr ptrdiff_t block = 64;
    const D zero = ownLoad<D>(zeroValue), one = ownLoad<D>(oneValue);
    alignas(32) int8_t lanes[block];
    auto valueAt = [&](ptrdiff_t i) { return select<D>(Lane<D>(lanes[i]), one, zero); };
    const MaskLanes all(bits, bit);
    ptrdiff_t i = 0;
    for (; i + block <= n; i += block) {
        all.get(i, lanes);
        computeBlock<D, block>(static_cast<char*>(d) + i * ptrdiff_t(sizeof(D)), 0, valueAt);
    }
    for (; i < n; ++i) {
        const ptrdiff_t place = bit + i;
        ownStore<D>(d, i, bits[place >> 3] & (128 >> (place & 7)) ? one : zero);
    }
}

template <class S>
constexpr OwnRowKernel saturateFrom[OWN_DEPTHS] = {
    {},
    OneSourceRows<Saturate<S, uint8_t>>::kernel,
    OneSourceRows<Saturate<S, int8_t>>::kernel,
    OneSourceRows<Saturate<S, uint16_t>>::kernel,
    OneSourceRows<Saturate<S, int16_t>>::kernel,
    OneSourceRows<Saturate<S, int32_t>>::kernel,
};

}  // namespace

extern const OwnConvertKernels ownConvertKernels;
const OwnConvertKernels ownConvertKernels = {
    {nullptr, saturateFrom<uint8_t>, saturateFrom<int8_t>, saturateFrom<uint16_t>, saturateFrom<int16_t>,
     saturateFrom<int32_t>},
    {{},
     TestRows<IsAbove0<uint8_t>>::kernel,
     TestRows<IsAbove0<int8_t>>::kernel,
     TestRows<IsAbove0<uint16_t>>::kernel,
     TestRows<IsAbove0<int16_t>>::kernel,
     TestRows<IsAbove0<int32_t>>::kernel},
    {values<uint8_t>, values<uint16_t>, values<uint32_t>},
};

}  // namespace OWN_ISA
