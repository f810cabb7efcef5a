// The floating-point core: complex lines of power-of-two length by decimation in time, and real lines through them.
//
// All lines of a block go through together, one a lane: a butterfly works on lane groups and takes its twiddles from
// the table as single values.
#include "ownfftcomplex.h"
#include "ownfftparts.h"

namespace OWN_ISA {
namespace {

template <class V>
inline Complex<V> conjugate(Complex<V> a)
{
    return {a.re, -a.im};
}

// Forward -i times the value, inverse i times.
template <bool inverse, class V>
inline Complex<V> quarterTurn(Complex<V> a)
{
    if constexpr (inverse)
        return {-a.im, a.re};
    else
        return {a.im, -a.re};
}

// Times a table entry cos t, -sin t; inverse times its conjugate.
template <bool inverse, class V>
inline Complex<V> turn(Complex<V> a, const float* w)
{
    if constexpr (inverse)
        return {a.re * w[0] + a.im * w[1], a.im * w[0] - a.re * w[1]};
    else
        return {a.re * w[0] - a.im * w[1], a.im * w[0] + a.re * w[1]};
}

// ---- Butterflies ----

template <class V>
inline void butterfly2(V* x)
{
    Complex<V> a = get(x), b = get(x + 2);
    set(x, a + b);
    set(x + 2, a - b);
}

// Merges four transforms of a quarter of the length, b being the one of the values that are two apart from a's.
template <bool inverse, class V>
inline void merge4(Complex<V> a, Complex<V> b, Complex<V> c, Complex<V> d, V* x, ptrdiff_t distance)
{
    Complex<V> sumEven = a + b, differenceEven = a - b;
    Complex<V> sumOdd = c + d, differenceOdd = quarterTurn<inverse>(c - d);
    set(x, sumEven + sumOdd);
    set(x + distance, differenceEven + differenceOdd);
    set(x + 2 * distance, sumEven - sumOdd);
    set(x + 3 * distance, differenceEven - differenceOdd);
}

// The whole transform of 4 values in bit-reversed order.
template <bool inverse, class V>
inline void butterfly4(V* x)
{
    merge4<inverse>(get(x), get(x + 2), get(x + 4), get(x + 6), x, 2);
}

constexpr float halfRoot = 0.70710678f;

// An eighth of a turn, forward exp(-i pi / 4).
template <bool inverse, class V>
inline Complex<V> eighthTurn(Complex<V> a)
{
    if constexpr (inverse)
        return {(a.re - a.im) * halfRoot, (a.im + a.re) * halfRoot};
    else
        return {(a.re + a.im) * halfRoot, (a.im - a.re) * halfRoot};
}

// The whole transform of 8 values in bit-reversed order.
template <bool inverse, class V>
inline void butterfly8(V* x)
{
    butterfly4<inverse>(x);
    Complex<V> a = get(x + 8), b = get(x + 10), c = get(x + 12), d = get(x + 14);
    Complex<V> sumEven = a + b, differenceEven = a - b;
    Complex<V> sumOdd = c + d, differenceOdd = quarterTurn<inverse>(c - d);
    Complex<V> odd[4] = {sumEven + sumOdd, eighthTurn<inverse>(differenceEven + differenceOdd),
                         quarterTurn<inverse>(sumEven - sumOdd),
                         quarterTurn<inverse>(eighthTurn<inverse>(differenceEven - differenceOdd))};
    for (int j = 0; j < 4; ++j) {
        Complex<V> even = get(x + 2 * j);
        set(x + 2 * j, even + odd[j]);
        set(x + 2 * j + 8, even - odd[j]);
    }
}

// ---- In-cache passes ----

// Merges the quarters of each run of `size` values among the first `count`. The table is that of tableLog2.
template <bool inverse, class V>
void radix4Pass(V* x, ptrdiff_t count, ptrdiff_t size, const float* table, int tableLog2)
{
    ptrdiff_t quarter = size / 4;
    ptrdiff_t distance = 2 * quarter;
    ptrdiff_t entryStep = ((ptrdiff_t{1} << tableLog2) / size) * ownFftTwiddleEntry;
    for (V* run = x; run != x + 2 * count; run += 2 * size) {
        merge4<inverse>(get(run), get(run + distance), get(run + 2 * distance), get(run + 3 * distance), run, distance);
        const float* w = table;
        V* end = run + distance;
        for (V* at = run + 2; at != end; at += 2) {
            w += entryStep;
            Complex<V> a = get(at);
            Complex<V> b = turn<inverse>(get(at + distance), w + 2);
            Complex<V> c = turn<inverse>(get(at + 2 * distance), w);
            Complex<V> d = turn<inverse>(get(at + 3 * distance), w + 4);
            merge4<inverse>(a, b, c, d, at, distance);
        }
    }
}

// The largest run whose passes all come before the next run is touched: 16 KB of floats in vectors of 8.
constexpr int shortRunLog2 = 8;

// The passes of 2^log2 values in bit-reversed order, log2 from 4 to ownFftInCacheLog2, with the table of that length.
template <bool inverse, class V>
void inCachePasses(V* x, int log2, const float* table)
{
    ptrdiff_t count = ptrdiff_t{1} << log2;
    int runLog2 = log2 > shortRunLog2 ? log2 - 2 : log2;
    ptrdiff_t runLength = ptrdiff_t{1} << runLog2;
    for (V* run = x; run != x + 2 * count; run += 2 * runLength) {
        // Radix 4 throughout: an odd logarithm begins with runs of 8, an even one with runs of 4.
        ptrdiff_t size;
        if (log2 % 2 != 0) {
            for (V* at = run; at != run + 2 * runLength; at += 16)
                butterfly8<inverse>(at);
            size = 32;
        } else {
            for (V* at = run; at != run + 2 * runLength; at += 8)
                butterfly4<inverse>(at);
            size = 16;
        }
        for (; size <= runLength; size *= 4)
            radix4Pass<inverse>(run, runLength, size, table, log2);
    }
    if (runLog2 != log2)
        radix4Pass<inverse>(x, count, count, table, log2);
}

// ---- Upper passes ----

// Where two neighbouring runs of `length` values merge into one: value j of the first, and the table's step a value.
struct Merge {
    ptrdiff_t length;
    ptrdiff_t tableStep;
};

template <bool inverse, class V>
inline void merge2(V* x, ptrdiff_t j, const Merge& merge, const float* table)
{
    V* y = x + 2 * merge.length;
    Complex<V> a = get(x), b = turn<inverse>(get(y), table + j * merge.tableStep);
    set(x, a + b);
    set(y, a - b);
}

// Two merges at once, which spares the way through memory between them.
template <bool inverse, class V>
inline void merge2Twice(V* x, ptrdiff_t j, const Merge& merge, const float* table)
{
    ptrdiff_t distance = 2 * merge.length;
    const float* w = table + j * merge.tableStep;
    const float* w2 = table + j * (merge.tableStep / 2);
    Complex<V> a = get(x), b = turn<inverse>(get(x + distance), w);
    Complex<V> c = get(x + 2 * distance), d = turn<inverse>(get(x + 3 * distance), w);
    Complex<V> sum = turn<inverse>(c + d, w2);
    Complex<V> difference = quarterTurn<inverse>(turn<inverse>(c - d, w2));
    set(x, a + b + sum);
    set(x + distance, (a - b) + difference);
    set(x + 2 * distance, a + b - sum);
    set(x + 3 * distance, (a - b) - difference);
}

// Merges runs of 2^fromLog2 values into runs of 2^toLog2, which `count` values have in them. The values at the same place,
// give or take `step`, in all runs of 2^fromLog2 go through all merges before the next ones. The table is that of tableLog2.
template <bool inverse, class V>
void upperPasses(V* x, ptrdiff_t count, int fromLog2, int toLog2, ptrdiff_t step, const float* table, int tableLog2)
{
    ptrdiff_t run = ptrdiff_t{1} << fromLog2;
    for (ptrdiff_t first = 0; first < run; first += step)
        for (int log2 = fromLog2; log2 < toLog2;) {
            int levels = toLog2 - log2 >= 2 ? 2 : 1;
            // A merge of two runs of this length takes every tableStep-th entry of the table, whose entries are pairs.
            Merge merge{ptrdiff_t{1} << log2, ptrdiff_t{2} << (tableLog2 - log2 - 1)};
            for (ptrdiff_t group = 0; group < count; group += merge.length << levels)
                for (ptrdiff_t part = 0; part < merge.length; part += run)
                    for (ptrdiff_t j = part + first; j < part + first + step; ++j)
                        if (levels == 2)
                            merge2Twice<inverse>(x + 2 * (group + j), j, merge, table);
                        else
                            merge2<inverse>(x + 2 * (group + j), j, merge, table);
            log2 += levels;
        }
}

// ---- The complex core ----

template <bool inverse, class V>
void longCore(V* x, const OwnFftCore<float>& core)
{
    ptrdiff_t count = ptrdiff_t{1} << core.log2;
    ptrdiff_t inCache = ptrdiff_t{1} << ownFftInCacheLog2;
    int blockLog2 = core.log2 < ownFftBlockLog2 ? core.log2 : ownFftBlockLog2;
    ptrdiff_t block = ptrdiff_t{1} << blockLog2;
    for (V* at = x; at != x + 2 * count; at += 2 * block) {
        for (V* run = at; run != at + 2 * block; run += 2 * inCache)
            inCachePasses<inverse>(run, ownFftInCacheLog2, core.twiddle);
        upperPasses<inverse>(at, block, ownFftInCacheLog2, blockLog2, inCache, core.upper, core.log2);
    }
    upperPasses<inverse>(x, count, blockLog2, core.log2, ownFftLastMergeStep, core.upper, core.log2);
}

template <bool inverse, class V>
void complexCore(V* x, const OwnFftCore<float>& core)
{
    reverseBits(x, core.log2, core.bitReversal);
    switch (core.log2) {
    case 1: butterfly2(x); break;
    case 2: butterfly4<inverse>(x); break;
    case 3: butterfly8<inverse>(x); break;
    default:
        if (core.log2 <= ownFftInCacheLog2)
            inCachePasses<inverse>(x, core.log2, core.twiddle);
        else
            longCore<inverse>(x, core);
    }
}

// ---- Real lines ----

// The common step of splitting the transform of half the length M and of joining it, for its values k and M - k. The table
// has 0.5 cos t and 0.5 - 0.5 sin t. With D the difference of near and far's conjugate, and Q = D (0.5 - 0.5 sin t +-
// i 0.5 cos t), the new values are far* + Q and (near - Q)*, or near - Q and (far* + Q)* for the other sense of turning.
template <bool turned, bool plus, class V>
inline Pair<Complex<V>> splitStep(Complex<V> near, Complex<V> far, const float* entry)
{
    Complex<V> mirrored = conjugate(far);
    Complex<V> d = near - mirrored;
    V a = d.re * entry[0], b = d.im * entry[0];
    V c = d.re * entry[1], e = d.im * entry[1];
    Complex<V> q = plus ? Complex<V>{c - b, e + a} : Complex<V>{c + b, e - a};
    if constexpr (turned)
        return {near - q, conjugate(mirrored + q)};
    else
        return {mirrored + q, conjugate(near - q)};
}

template <bool inverse, class V>
void coreRealToPairs(V* x, const OwnFftLength<float>& length)
{
    complexCore<inverse>(x, length.half);
    V re = x[0], im = x[1];
    x[0] = re + im;
    x[1] = re - im;
    ptrdiff_t half = length.length / 2;
    const float* entry = length.split;
    for (ptrdiff_t k = 1; k <= half / 2; ++k, entry += 2) {
        V* near = x + 2 * k;
        V* far = x + 2 * (half - k);
        auto split = splitStep<inverse, inverse>(get(near), get(far), entry);
        set(near, split.first);
        set(far, split.second);
    }
}

template <bool inverse, class V>
void corePairsToReal(V* x, const OwnFftLength<float>& length)
{
    V first = x[0], middle = x[1];
    x[0] = first + middle;
    x[1] = first - middle;
    ptrdiff_t half = length.length / 2;
    const float* entry = length.split;
    for (ptrdiff_t k = 1; k <= half / 2; ++k, entry += 2) {
        V* near = x + 2 * k;
        V* far = x + 2 * (half - k);
        auto joined = splitStep<!inverse, inverse>(get(near), get(far), entry);
        set(near, joined.first + joined.first);
        set(far, joined.second + joined.second);
    }
    complexCore<inverse>(x, length.half);
}

template <class V>
void realToPairs(float* block, const OwnFftLength<float>& length, int32_t direction)
{
    if (direction < 0)
        coreRealToPairs<true>(groups<V>(block), length);
    else
        coreRealToPairs<false>(groups<V>(block), length);
}

template <class V>
void pairsToReal(float* block, const OwnFftLength<float>& length, int32_t direction)
{
    if (direction < 0)
        corePairsToReal<true>(groups<V>(block), length);
    else
        corePairsToReal<false>(groups<V>(block), length);
}

template <class V>
void complexLines(float* block, const OwnFftLength<float>& length, int32_t direction)
{
    if (direction < 0)
        complexCore<true>(groups<V>(block), length.whole);
    else
        complexCore<false>(groups<V>(block), length.whole);
}

}  // namespace

const OwnFftTransforms<float> floatCore[2] = {
    {realToPairs<float>, pairsToReal<float>, complexLines<float>},
    {realToPairs<FloatVector>, pairsToReal<FloatVector>, complexLines<FloatVector>}};

const OwnFftKernels ownFftKernels = {
    {floatCore, floatDirect, floatBlocks, floatLines}, {intCore, intDirect, intBlocks, intLines}, packedProducts};

}  // namespace OWN_ISA
