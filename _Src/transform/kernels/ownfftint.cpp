// The fixed-point core: complex lines of power-of-two length by decimation in frequency, and real lines through them.
//
// Values are 32-bit integers that wrap around, twiddles are in Q14.
#include "ownfftcomplex.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

constexpr int32_t halfRoot = 11585;  // of one half, in Q14

// Times -i.
template <class V>
inline Complex<V> quarterTurn(Complex<V> a)
{
    return {a.im, -a.re};
}

// Times a table entry cos t, sin t, as cos t - i sin t.
template <class V>
inline Complex<V> turn(Complex<V> a, const int16_t* w)
{
    return {fixedProduct(a.re, w[0]) + fixedProduct(a.im, w[1]), fixedProduct(a.im, w[0]) - fixedProduct(a.re, w[1])};
}

// Times exp(-i pi / 4).
template <class V>
inline Complex<V> eighthTurn(Complex<V> a)
{
    return {fixedProduct(a.re + a.im, halfRoot), fixedProduct(a.im - a.re, halfRoot)};
}

// The outputs of a radix-4 butterfly before their turns by 0, 2, 1 and 3 times the angle: in bit-reversed order.
template <class V>
inline void part4(const V* x, ptrdiff_t distance, Complex<V> (&q)[4])
{
    Complex<V> a = get(x), b = get(x + distance), c = get(x + 2 * distance), d = get(x + 3 * distance);
    Complex<V> sumEven = a + c, differenceEven = a - c;
    Complex<V> sumOdd = b + d, differenceOdd = quarterTurn(b - d);
    q[0] = sumEven + sumOdd;
    q[1] = sumEven - sumOdd;
    q[2] = differenceEven + differenceOdd;
    q[3] = differenceEven - differenceOdd;
}

// Parts each run of `size` values into transforms of a quarter of it.
template <class V>
void radix4Pass(V* x, ptrdiff_t count, ptrdiff_t size, const int16_t* table, int tableLog2)
{
    ptrdiff_t quarter = size / 4;
    ptrdiff_t distance = 2 * quarter;
    ptrdiff_t entryStep = 2 * ((ptrdiff_t{1} << tableLog2) / size);
    for (V* run = x; run != x + 2 * count; run += 2 * size)
        for (ptrdiff_t j = 0; j < quarter; ++j) {
            V* at = run + 2 * j;
            Complex<V> q[4];
            part4(at, distance, q);
            if (2 * j == quarter) {
                // The angle is an eighth of a turn, twice it a quarter.
                q[1] = quarterTurn(q[1]);
                q[2] = eighthTurn(q[2]);
                q[3] = quarterTurn(eighthTurn(q[3]));
            } else if (j != 0) {
                const int16_t* w = table + j * entryStep;
                q[1] = turn(q[1], table + 2 * j * entryStep);
                q[2] = turn(q[2], w);
                q[3] = turn(q[3], table + 3 * j * entryStep);
            }
            for (int i = 0; i < 4; ++i)
                set(at + i * distance, q[i]);
        }
}

template <class V>
void radix2Pass(V* x, ptrdiff_t count)
{
    for (V* at = x; at != x + 2 * count; at += 4) {
        Complex<V> a = get(at), b = get(at + 2);
        set(at, a + b);
        set(at + 2, a - b);
    }
}

template <class V>
void negateImaginary(V* x, ptrdiff_t count)
{
    for (ptrdiff_t i = 0; i < count; ++i)
        x[2 * i + 1] = -x[2 * i + 1];
}

template <class V>
void forwardCore(V* x, const OwnFftCore<int32_t>& core)
{
    ptrdiff_t count = ptrdiff_t{1} << core.log2;
    ptrdiff_t size = count;
    for (; size >= 4; size /= 4)
        radix4Pass(x, count, size, core.twiddle, core.twiddleLog2);
    if (size == 2)
        radix2Pass(x, count);
    reverseBits(x, core.log2, core.bitReversal);
}

// The inverse is the conjugate of the conjugate's forward transform.
template <class V>
void complexCore(V* x, const OwnFftCore<int32_t>& core, int32_t direction)
{
    ptrdiff_t count = ptrdiff_t{1} << core.log2;
    if (direction < 0)
        negateImaginary(x, count);
    forwardCore(x, core);
    if (direction < 0)
        negateImaginary(x, count);
}

// Half the sum and half the difference, rounded down, of values whose sum may not fit.
template <class V>
inline V halfSum(V a, V b)
{
    return shiftRight(a, 1) + shiftRight(b, 1) + (a & b & 1u);
}

template <class V>
inline V halfDifference(V a, V b)
{
    return shiftRight(a, 1) - shiftRight(b, 1) - (~a & b & 1u);
}

// Values k and M - k of a line of M are parted into what is even under their exchange with conjugation, and what is odd,
// which comes turned: by cos t, sin t times the signs below.
template <class V>
inline void recombine(V* near, V* far, Complex<V> even, Complex<V> turned)
{
    set(near, even + turned);
    set(far, Complex<V>{even.re - turned.re, turned.im - even.im});
}

template <class V>
void realToPairs(int32_t* block, const OwnFftLength<int32_t>& length, int32_t direction)
{
    V* x = groups<V>(block);
    complexCore(x, length.half, direction);
    V re = x[0], im = x[1];
    x[0] = re + im;
    x[1] = re - im;
    ptrdiff_t half = length.length / 2;
    for (ptrdiff_t k = 1; k <= half / 2; ++k) {
        V* near = x + 2 * k;
        V* far = x + 2 * (half - k);
        Complex<V> a = get(near), b = get(far);
        Complex<V> even = {halfSum(a.re, b.re), halfDifference(a.im, b.im)};
        Complex<V> odd = {halfDifference(a.re, b.re), halfSum(a.im, b.im)};
        int32_t c = length.split[2 * k], s = direction < 0 ? -length.split[2 * k + 1] : length.split[2 * k + 1];
        recombine(near, far, even,
                  Complex<V>{fixedProduct(odd.im, c) - fixedProduct(odd.re, s),
                             -fixedProduct(odd.re, c) - fixedProduct(odd.im, s)});
    }
}

template <class V>
void pairsToReal(int32_t* block, const OwnFftLength<int32_t>& length, int32_t direction)
{
    V* x = groups<V>(block);
    V first = x[0], middle = x[1];
    x[0] = first + middle;
    x[1] = first - middle;
    ptrdiff_t half = length.length / 2;
    for (ptrdiff_t k = 1; k <= half / 2; ++k) {
        V* near = x + 2 * k;
        V* far = x + 2 * (half - k);
        Complex<V> a = get(near), b = get(far);
        Complex<V> even = {a.re + b.re, a.im - b.im};
        Complex<V> odd = {a.re - b.re, a.im + b.im};
        int32_t c = length.split[2 * k], s = direction < 0 ? length.split[2 * k + 1] : -length.split[2 * k + 1];
        recombine(near, far, even,
                  Complex<V>{-fixedProduct(odd.im, c) - fixedProduct(odd.re, s),
                             fixedProduct(odd.re, c) - fixedProduct(odd.im, s)});
    }
    complexCore(x, length.half, direction);
}

template <class V>
void complexLines(int32_t* block, const OwnFftLength<int32_t>& length, int32_t direction)
{
    complexCore(groups<V>(block), length.whole, direction);
}

}  // namespace

const OwnFftTransforms<int32_t> intCore[2] = {
    {realToPairs<uint32_t>, pairsToReal<uint32_t>, complexLines<uint32_t>},
    {realToPairs<IntVector>, pairsToReal<IntVector>, complexLines<IntVector>}};

}  // namespace OWN_ISA
