// Kernels of the threshold.
#include "ownthreshold.h"

namespace OWN_ISA {
namespace {

template <class S>
struct AtLeast {
    using Source = S;
    S threshold;
    explicit AtLeast(const void* scalar) : threshold(S(*static_cast<const int32_t*>(scalar))) {}
    bool operator()(S a) const { return a >= threshold; }
};

// The highest value of the destination's depth, or the lowest. For signed depths that is all ones or zeros as well, with
// the top bit turned over.
template <class S, class D>
struct Threshold : AtLeast<S> {
    using Result = D;
    using AtLeast<S>::AtLeast;
    D operator()(S a) const
    {
        constexpr Lane<D> lowest = D(-1) < D(0) ? Lane<D>(Lane<D>(1) << (8 * sizeof(D) - 1)) : Lane<D>(0);
        return D(Lane<D>(AtLeast<S>::operator()(a) ? Lane<D>(-1) : Lane<D>(0)) ^ lowest);
    }
};

constexpr OwnRowKernel none = {nullptr, nullptr};
constexpr OwnTestKernel noTest = {nullptr, nullptr};

}  // namespace

#define OWN_FROM(S)                                                                                      \
    {                                                                                                    \
        none, OneSourceRows<Threshold<S, uint8_t>>::kernel, OneSourceRows<Threshold<S, int8_t>>::kernel, \
            OneSourceRows<Threshold<S, uint16_t>>::kernel, OneSourceRows<Threshold<S, int16_t>>::kernel, \
            OneSourceRows<Threshold<S, int32_t>>::kernel, none                                           \
    }
#define OWN_NO_SOURCE                            \
    {                                            \
        none, none, none, none, none, none, none \
    }

extern const OwnThresholdKernels ownThresholdKernels;
const OwnThresholdKernels ownThresholdKernels = {
    {OWN_NO_SOURCE, OWN_FROM(uint8_t), OWN_FROM(int8_t), OWN_FROM(uint16_t), OWN_FROM(int16_t), OWN_FROM(int32_t),
     OWN_NO_SOURCE},
    {noTest, TestRows<AtLeast<uint8_t>>::kernel, TestRows<AtLeast<int8_t>>::kernel, TestRows<AtLeast<uint16_t>>::kernel,
     TestRows<AtLeast<int16_t>>::kernel, TestRows<AtLeast<int32_t>>::kernel, noTest},
};

}  // namespace OWN_ISA
