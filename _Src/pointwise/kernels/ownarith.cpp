// Kernels of the two-image arithmetic and logic.
#include "ownarith.h"

#include "../../core/kernels/ownbitrows.h"
#include "ownvalues.h"

namespace OWN_ISA {
namespace {

template <class T>
struct Add {
    using Source = T;
    using Result = T;
    template <class V>
    static auto of(V a, V b) -> decltype(addSat(a, b))
    {
        return addSat(a, b);
    }
};

template <class T>
struct Subtract {
    using Source = T;
    using Result = T;
    template <class V>
    static auto of(V a, V b) -> decltype(subtractSat(a, b))
    {
        return subtractSat(a, b);
    }
};

template <class T>
struct Multiply {
    using Source = T;
    using Result = T;
    static T of(T a, T b) { return multiplySat(a, b); }
};

template <class T>
struct And {
    using Source = T;
    using Result = T;
    static T of(T a, T b) { return a & b; }
};

template <class T>
struct Or {
    using Source = T;
    using Result = T;
    static T of(T a, T b) { return a | b; }
};

template <class T>
struct Xor {
    using Source = T;
    using Result = T;
    static T of(T a, T b) { return a ^ b; }
};

constexpr OwnRowKernel none = {nullptr, nullptr};

}  // namespace

// Bits do not care about sign, so the logic has one kernel for each size.
#define OWN_LOGIC(Bits, Op)                                                                       \
    {                                                                                             \
        bitRows<Bits, 2>, TwoSourceRows<Op<uint8_t>>::kernel, TwoSourceRows<Op<uint8_t>>::kernel, \
            TwoSourceRows<Op<uint16_t>>::kernel, TwoSourceRows<Op<uint16_t>>::kernel,             \
            TwoSourceRows<Op<uint32_t>>::kernel, none                                             \
    }
#define OWN_ARITHMETIC(Op, bits)                                                     \
    {                                                                                \
        bits, TwoSourceRows<Op<uint8_t>>::kernel, TwoSourceRows<Op<int8_t>>::kernel, \
            TwoSourceRows<Op<uint16_t>>::kernel, TwoSourceRows<Op<int16_t>>::kernel, \
            TwoSourceRows<Op<int32_t>>::kernel, TwoSourceRows<Op<float>>::kernel     \
    }

extern const OwnArithKernels ownArithKernels;
const OwnArithKernels ownArithKernels = {
    OWN_ARITHMETIC(Add, none),      OWN_ARITHMETIC(Subtract, (bitRows<BitAndNot, 2>)),  // saturating, on one bit
    OWN_ARITHMETIC(Multiply, none), OWN_LOGIC(BitAnd, And),
    OWN_LOGIC(BitOr, Or),           OWN_LOGIC(BitXor, Xor),
};

}  // namespace OWN_ISA
