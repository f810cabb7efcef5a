// Kernels of the comparisons.
#include "owncompare.h"

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

struct BitBytes {
    using Source = uint8_t;
    using Result = uint8_t;
};

struct LessBits : BitBytes {
    static uint8_t of(uint8_t a, uint8_t b) { return uint8_t(~a & b); }
};

struct GreaterBits : BitBytes {
    static uint8_t of(uint8_t a, uint8_t b) { return uint8_t(a & ~b); }
};

struct EqualBits : BitBytes {
    static uint8_t of(uint8_t a, uint8_t b) { return uint8_t(~(a ^ b)); }
};

// The scalar, 0 or 1, as eight pixels; then the same with one source.
template <class Bits>
struct ScalarBits : BitBytes {
    uint8_t value;
    explicit ScalarBits(const void* scalar) : value(uint8_t(-*static_cast<const int32_t*>(scalar))) {}
    uint8_t operator()(uint8_t a) const { return Bits::of(a, value); }
};

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
    {OWN_ALL_DEPTHS(Less), TwoSourceRows<LessBits>::kernel},
    {OWN_ALL_DEPTHS(Greater), TwoSourceRows<GreaterBits>::kernel},
    {OWN_ALL_SIZES(Equal), TwoSourceRows<EqualBits>::kernel},
    {OWN_ALL_DEPTHS(LessScalar), OneSourceRows<ScalarBits<LessBits>>::kernel},
    {OWN_ALL_DEPTHS(GreaterScalar), OneSourceRows<ScalarBits<GreaterBits>>::kernel},
    {OWN_ALL_SIZES(EqualScalar), OneSourceRows<ScalarBits<EqualBits>>::kernel},
    {OWN_FLOATS(Near), noBits},
    {OWN_FLOATS(NearScalar), noBits},
};

}  // namespace OWN_ISA
