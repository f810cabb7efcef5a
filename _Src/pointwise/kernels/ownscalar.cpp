// Kernels of the image-and-scalar and unary operations.
#include "ownscalar.h"

#include "../../core/kernels/ownbitrows.h"
#include "ownvalues.h"

namespace OWN_ISA {
namespace {

template <class T>
struct SlideUp {
    using Source = T;
    using Result = T;
    T amount, before, after;
    explicit SlideUp(const void* scalar)
    {
        auto& slide = *static_cast<const OwnSlide*>(scalar);
        amount = T(slide.amount);
        before = T(slide.before);
        after = T(slide.after);
    }
    T operator()(T a) const { return T(addSat(T(a ^ before), amount) ^ after); }
    template <class V>
    auto operator()(V a) const -> decltype(addSat(a, a))
    {
        return addSat(a ^ before, V{} + amount) ^ after;
    }
};

template <class T>
struct SlideDown : SlideUp<T> {
    using SlideUp<T>::SlideUp;
    T operator()(T a) const { return T(subtractSat(T(a ^ this->before), this->amount) ^ this->after); }
    template <class V>
    auto operator()(V a) const -> decltype(subtractSat(a, a))
    {
        return subtractSat(a ^ this->before, V{} + this->amount) ^ this->after;
    }
};

// Operations whose scalar is a value of the depth.
template <class T>
struct WithValue {
    using Source = T;
    using Result = T;
    T value;
    explicit WithValue(const void* scalar) : value(*static_cast<const T*>(scalar)) {}
};

template <class T>
struct Add : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return addSat(a, this->value); }
};

template <class T>
struct Subtract : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return subtractSat(a, this->value); }
};

template <class T>
struct Reverse : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return subtractSat(this->value, a); }
};

template <class T>
struct Multiply : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return multiplySat(a, this->value); }
};

template <class T>
struct And : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return a & this->value; }
};

template <class T>
struct Or : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return a | this->value; }
};

template <class T>
struct Xor : WithValue<T> {
    using WithValue<T>::WithValue;
    T operator()(T a) const { return a ^ this->value; }
};

// Vectors have no shifts of bytes: words are shifted, and what came over from the neighbour byte is masked out.
template <class T>
struct ShiftLeft {
    using Source = T;
    using Result = T;
    uint8_t count;
    explicit ShiftLeft(const void* scalar) : count(uint8_t(*static_cast<const int*>(scalar))) {}
    T operator()(T a) const { return T(a << count); }
    Vector<T> operator()(Vector<T> a) const
    {
        if constexpr (sizeof(T) > 1)
            return a << everyLane(T(count));
        else
            return Vector<T>(Vector<uint16_t>(a) << everyLane(uint16_t(count))) & everyLane(T(0xFF << count));
    }
};

template <class T>
struct ShiftRight : ShiftLeft<T> {
    using ShiftLeft<T>::ShiftLeft;
    T operator()(T a) const { return T(a >> this->count); }
    Vector<T> operator()(Vector<T> a) const
    {
        if constexpr (sizeof(T) > 1)
            return a >> everyLane(T(this->count));
        // The sign, which has come in as one bit, goes on to the bits above it.
        const Vector<T> sign = everyLane(T(T(-1) < 0 ? 0x80 >> this->count : 0));
        auto words = Vector<uint16_t>(a) >> everyLane(uint16_t(this->count));
        return ((Vector<T>(words) & everyLane(T(0xFF >> this->count))) ^ sign) - sign;
    }
};

template <class T>
struct Unary {
    using Source = T;
    using Result = T;
    explicit Unary(const void*) {}
};

template <class T>
struct Square : Unary<T> {
    using Unary<T>::Unary;
    T operator()(T a) const { return multiplySat(a, a); }
};

template <class T, T lowest, T highest>
struct SignLimit : Unary<T> {
    using Unary<T>::Unary;
    T operator()(T a) const { return a > 0 ? highest : a < 0 ? lowest : T(0); }
};

// The lowest value has no opposite, the one above it has.
template <class T, T lowest>
struct Absolute : Unary<T> {
    using Unary<T>::Unary;
    T operator()(T a) const
    {
        T value = most(a, T(lowest + 1));
        return value < 0 ? T(-value) : value;
    }
};

// -0.0 and NaN do not compare below 0 and stay as they are.
struct AbsoluteFloat : Unary<float> {
    using Unary<float>::Unary;
    float operator()(float a) const { return a < 0.0f ? -a : a; }
};

constexpr OwnRowKernel none = {nullptr, nullptr};

template <class Op>
constexpr OwnRowKernel rows = OneSourceRows<Op>::kernel;

}  // namespace

#define OWN_BITWISE(Bits, Op)                                                                                       \
    {                                                                                                               \
        bitRows<Bits, 1, byteScalar>, rows<Op<uint8_t>>, rows<Op<uint8_t>>, rows<Op<uint16_t>>, rows<Op<uint16_t>>, \
            rows<Op<uint32_t>>, none                                                                                \
    }

extern const OwnScalarKernels ownScalarKernels;
const OwnScalarKernels ownScalarKernels = {
    {rows<SlideUp<uint8_t>>, rows<SlideUp<uint16_t>>},
    {rows<SlideDown<uint8_t>>, rows<SlideDown<uint16_t>>},
    {none, none, none, none, none, rows<Add<int32_t>>, rows<Add<float>>},
    {none, none, none, none, none, rows<Subtract<int32_t>>, rows<Subtract<float>>},
    {none, none, none, none, none, rows<Reverse<int32_t>>, rows<Reverse<float>>},
    {none, rows<Multiply<uint8_t>>, rows<Multiply<int8_t>>, rows<Multiply<uint16_t>>, rows<Multiply<int16_t>>,
     rows<Multiply<int32_t>>, rows<Multiply<float>>},
    OWN_BITWISE(BitAnd, And),
    OWN_BITWISE(BitOr, Or),
    OWN_BITWISE(BitXor, Xor),
    {none, none, rows<SignLimit<int8_t, -128, 127>>, none, rows<SignLimit<int16_t, -32768, 32767>>, none, none},
    {none, rows<ShiftLeft<uint8_t>>, rows<ShiftLeft<uint8_t>>, rows<ShiftLeft<uint16_t>>, rows<ShiftLeft<uint16_t>>,
     rows<ShiftLeft<uint32_t>>, none},
    {none, rows<ShiftRight<uint8_t>>, rows<ShiftRight<int8_t>>, rows<ShiftRight<uint16_t>>, rows<ShiftRight<int16_t>>,
     rows<ShiftRight<int32_t>>, none},
    {bitRows<BitFirst, 1>, rows<Square<uint8_t>>, rows<Square<int8_t>>, rows<Square<uint16_t>>, rows<Square<int16_t>>,
     rows<Square<int32_t>>, rows<Square<float>>},
    {none, none, rows<Absolute<int8_t, INT8_MIN>>, none, rows<Absolute<int16_t, INT16_MIN>>,
     rows<Absolute<int32_t, INT32_MIN>>, rows<AbsoluteFloat>},
};

}  // namespace OWN_ISA
