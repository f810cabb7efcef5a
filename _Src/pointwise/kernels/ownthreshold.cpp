// Kernels of the threshold.
#include "ownthreshold.h"

namespace OWN_ISA {
namespace {

template <class S>
struct AtLeast {
    using Source = S;
    S threshold;
    explicit AtLeast(const void* scalar) : threshold(S(static_cast<const OwnCut*>(scalar)->threshold)) {}
    bool operator()(S a) const { return a >= threshold; }
};

// Both results are chosen from, since a compiler makes more of all ones and zeros than they are worth.
template <class S, class D>
struct Threshold : AtLeast<S> {
    using Result = D;
    D lowest, highest;
    explicit Threshold(const void* scalar)
        : AtLeast<S>(scalar),
          lowest(D(static_cast<const OwnCut*>(scalar)->lowest)),
          highest(D(~static_cast<const OwnCut*>(scalar)->lowest))
    {
    }
    D operator()(S a) const { return AtLeast<S>::operator()(a) ? highest : lowest; }
    Vector<D> operator()(Vector<S> a) const requires(sizeof(S) == sizeof(D))
    {
        return Vector<D>(a >= Vector<S>{} + this->threshold) ^ lowest;
    }
};

constexpr OwnRowKernel none = {nullptr, nullptr};
constexpr OwnTestKernel noTest = {nullptr, nullptr};

}  // namespace

#define OWN_FROM(S)                                                                                  \
    {                                                                                                \
        OneSourceRows<Threshold<S, uint8_t>>::kernel, OneSourceRows<Threshold<S, uint16_t>>::kernel, \
            OneSourceRows<Threshold<S, uint32_t>>::kernel                                            \
    }
#define OWN_NO_SOURCE    \
    {                    \
        none, none, none \
    }

extern const OwnThresholdKernels ownThresholdKernels;
const OwnThresholdKernels ownThresholdKernels = {
    {OWN_NO_SOURCE, OWN_FROM(uint8_t), OWN_FROM(int8_t), OWN_FROM(uint16_t), OWN_FROM(int16_t), OWN_FROM(int32_t),
     OWN_NO_SOURCE},
    {noTest, TestRows<AtLeast<uint8_t>>::kernel, TestRows<AtLeast<int8_t>>::kernel, TestRows<AtLeast<uint16_t>>::kernel,
     TestRows<AtLeast<int16_t>>::kernel, TestRows<AtLeast<int32_t>>::kernel, noTest},
};

}  // namespace OWN_ISA
