// Kernels of the comparisons.
#include "owncompare.h"

#include "../../core/kernels/ownbitrows.h"

namespace OWN_ISA {
namespace {

// ---- Two sources --------------------------------------------------------------------------------------------------

template <class T>
struct TwoSources {
    using Source = T;
    explicit TwoSources(const void*) {}
};

template <class T>
struct Less : TwoSources<T> {
    using TwoSources<T>::TwoSources;
    bool operator()(T a, T b) const { return a < b; }
};

template <class T>
struct Greater : TwoSources<T> {
    using TwoSources<T>::TwoSources;
    bool operator()(T a, T b) const { return a > b; }
};

template <class T>
struct Equal : TwoSources<T> {
    using TwoSources<T>::TwoSources;
    bool operator()(T a, T b) const { return a == b; }
};

// ---- One source ---------------------------------------------------------------------------------------------------

// The float forms say what fails, so that a NaN passes.
template <class T>
struct WithScalar {
    using Source = T;
    T value;
    explicit WithScalar(const void* scalar) : value(T(*static_cast<const int32_t*>(scalar))) {}
};

template <>
struct WithScalar<float> {
    using Source = float;
    float value;
    explicit WithScalar(const void* scalar) : value(*static_cast<const float*>(scalar)) {}
};

template <class T>
struct LessScalar : WithScalar<T> {
    using WithScalar<T>::WithScalar;
    bool operator()(T a) const { return !(a >= this->value); }
};

template <class T>
struct GreaterScalar : WithScalar<T> {
    using WithScalar<T>::WithScalar;
    bool operator()(T a) const { return !(a <= this->value); }
};

template <class T>
struct EqualScalar : WithScalar<T> {
    using WithScalar<T>::WithScalar;
    bool operator()(T a) const { return a == this->value; }
};

template <>
struct EqualScalar<float> : WithScalar<float> {
    using WithScalar<float>::WithScalar;
    bool operator()(float a) const { return !(a < value) & !(a > value); }
};

// ---- Nearness -----------------------------------------------------------------------------------------------------

struct Near {
    using Source = float;
    double eps;
    explicit Near(const void* scalar) : eps(static_cast<const OwnNearness*>(scalar)->eps) {}
    bool operator()(float a, float b) const { return !(__builtin_fabs(double(a) - double(b)) >= eps); }
};

struct NearScalar {
    using Source = float;
    double value, eps;
    explicit NearScalar(const void* scalar)
        : value(static_cast<const OwnNearness*>(scalar)->value), eps(static_cast<const OwnNearness*>(scalar)->eps)
    {
    }
    bool operator()(float a) const { return !(__builtin_fabs(double(a) - value) >= eps); }
};

// ---- Bits ---------------------------------------------------------------------------------------------------------

struct LessBits {
    template <class V>
    static V of(V a, V b)
    {
        return V(~a & b);
    }
};

struct EqualBits {
    template <class V>
    static V of(V a, V b)
    {
        return V(~(a ^ b));
    }
};

// The scalar, 0 or 1, as eight pixels.
uint8_t bitScalar(const void* scalar)
{
    return uint8_t(-ownLoad<int32_t>(scalar));
}

constexpr OwnTestKernel noTest = {nullptr, nullptr};
constexpr OwnRowKernel noBits = {nullptr, nullptr};

}  // namespace

#define OWN_ALL_DEPTHS(Test)                                                                                       \
    {                                                                                                              \
        noTest, TestRows<Test<uint8_t>>::kernel, TestRows<Test<int8_t>>::kernel, TestRows<Test<uint16_t>>::kernel, \
            TestRows<Test<int16_t>>::kernel, TestRows<Test<int32_t>>::kernel, TestRows<Test<float>>::kernel        \
    }
// Equality does not care about sign.
#define OWN_ALL_SIZES(Test)                                                                                         \
    {                                                                                                               \
        noTest, TestRows<Test<uint8_t>>::kernel, TestRows<Test<uint8_t>>::kernel, TestRows<Test<uint16_t>>::kernel, \
            TestRows<Test<uint16_t>>::kernel, TestRows<Test<int32_t>>::kernel, TestRows<Test<float>>::kernel        \
    }
#define OWN_FLOATS(Test)                                                       \
    {                                                                          \
        noTest, noTest, noTest, noTest, noTest, noTest, TestRows<Test>::kernel \
    }

extern const OwnCompareKernels ownCompareKernels;
const OwnCompareKernels ownCompareKernels = {
    {OWN_ALL_DEPTHS(Less), bitRows<LessBits, 2>},
    {OWN_ALL_DEPTHS(Greater), bitRows<BitAndNot, 2>},
    {OWN_ALL_SIZES(Equal), bitRows<EqualBits, 2>},
    {OWN_ALL_DEPTHS(LessScalar), bitRows<LessBits, 1, bitScalar>},
    {OWN_ALL_DEPTHS(GreaterScalar), bitRows<BitAndNot, 1, bitScalar>},
    {OWN_ALL_SIZES(EqualScalar), bitRows<EqualBits, 1, bitScalar>},
    {OWN_FLOATS(Near), noBits},
    {OWN_FLOATS(NearScalar), noBits},
};

}  // namespace OWN_ISA
