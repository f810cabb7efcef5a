// The fixed-point core: complex lines of power-of-two length by decimation in frequency, and real lines through them.
//
// Values are 32-bit integers that wrap around, twiddles are in Q14.
#include "ownfftlanes.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

template <class V>
inline Complex<V> get(const V* x)
{
    return {x[0], x[1]};
}

template <class V>
inline void set(V* x, Complex<V> value)
{
    x[0] = value.re;
    x[1] = value.im;
}

template <class V>
inline void exchange(V* a, V* b)
{
    Complex<V> kept = get(a);
    set(a, get(b));
    set(b, kept);
}

// Brings values into bit-reversed order, or back. The table, which serves lengths above 8, holds byte offsets in a
// single line: of values whose indices' middle bits trade places, with the first and the last bit clear. The four
// settings of these two bits make four exchanges of each pair, and one of each offset that stays, which are read from
// the table's end.
template <class V>
void reverseBits(V* x, int log2, const int32_t* table)
{
    if (log2 == 2) {
        exchange(x + 2, x + 4);
    } else if (log2 == 3) {
        exchange(x + 2, x + 8);
        exchange(x + 6, x + 12);
    }
    if (log2 <= 3)
        return;
    constexpr int bytesToGroups = 2;  // a value of 8 bytes is two lane groups of 4 a lane
    ptrdiff_t quarter = ptrdiff_t{1} << (log2 - 2);
    ptrdiff_t half = 4 * quarter;
    const int32_t* pair = table;
    for (; pair[0] != 0; pair += 2) {
        V* a = x + (pair[0] >> bytesToGroups);
        V* b = x + (pair[1] >> bytesToGroups);
        exchange(a, b);
        exchange(a + 2, b + half);
        exchange(a + half, b + 2);
        exchange(a + half + 2, b + half + 2);
    }
    const int32_t* own = table + quarter;
    do {
        V* a = x + (*own >> bytesToGroups);
        exchange(a + 2, a + half);
    } while (*own-- != 0);
}

constexpr int32_t halfRoot = 11585;  // of one half, in Q14

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
void forwardCore(V* x, const OwnFftCore& core)
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
void complexCore(V* x, const OwnFftCore& core, int32_t direction)
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

// Values k and M - k of a line of M are parted into what is even under their exchange with conjugation, and what is
// odd, which comes turned: by cos t, sin t times the signs below.
template <class V>
inline void recombine(V* near, V* far, Complex<V> even, Complex<V> turned)
{
    set(near, even + turned);
    set(far, Complex<V>{even.re - turned.re, turned.im - even.im});
}

template <class V>
void realToPairs(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
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
void pairsToReal(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
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
void complexLines(int32_t* block, const OwnFftFixedLength& length, int32_t direction)
{
    complexCore(groups<V>(block), length.whole, direction);
}

}  // namespace

const OwnFftFixedTransforms intCore[2] = {{realToPairs<uint32_t>, pairsToReal<uint32_t>, complexLines<uint32_t>},
                                          {realToPairs<IntVector>, pairsToReal<IntVector>, complexLines<IntVector>}};

const OwnFftKernels ownFftKernels = {
    {floatBlocks, floatRows}, {intBlocks, intRows}, intCore, intDirect, packedProducts};

}  // namespace OWN_ISA
