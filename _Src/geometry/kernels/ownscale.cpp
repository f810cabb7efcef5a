// Kernels of scaling.
//
// A method is a record: the type of its values and of the values between its two steps, its weights, and what it makes of two
// or four samples. The loops over samples that have been picked beside each other are vectorised by the compiler.
#include "ownscale.h"

#include "ownpick.h"

namespace OWN_ISA {
namespace {

// ---- Methods of orvZoom and orvResize -----------------------------------------------------------------------------

constexpr double indexBias = -0.49999;
constexpr int32_t one = 16384;  // of weights in 14 bits after the point

inline int16_t fixedWeight(double fraction)
{
    return int16_t(__builtin_rint(fraction * one + indexBias));
}

// Results are stored as they come, cut to the type's bits: a weight may lie a hair below 0.
template <class T, int acrossShift, int downShift>
struct FixedLinear {
    using Value = T;
    using Ring = uint16_t;
    using Weight = int16_t;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = fixedWeight(fraction); }
    static Ring whole(T a) { return Ring(a * one >> acrossShift); }
    static Ring across(T a, T b, Weight w) { return Ring((a * (one - w) + b * w) >> acrossShift); }
    static T wholeDown(Ring a) { return T(a * one >> downShift); }
    static T down(Ring a, Ring b, Weight w) { return T((b * w + a * (one - w)) >> downShift); }
};
using ZoomLinear8 = FixedLinear<uint8_t, 8, 20>;
using ZoomLinear16 = FixedLinear<uint16_t, 14, 14>;

struct ZoomLinearReal {
    using Value = float;
    using Ring = float;
    using Weight = float;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = float(fraction); }
    static float whole(float a) { return a; }
    static float across(float a, float b, float w) { return float(a + (double(b) - a) * w); }
    static float wholeDown(float a) { return a; }
    static float down(float a, float b, float w) { return across(a, b, w); }
};

// A result in double precision as a value: of integers nearly what is left without the fraction.
template <class T>
inline T zoomed(double value)
{
    if constexpr (sizeof(T) < 4)
        return ownRounded<T>(value + indexBias);
    else
        return T(value);
}

// The cubic through four samples, by Newton's differences: those of integers are exact.
template <class Sample>
inline double newton(Sample a, Sample b, Sample c, Sample d, double w1, double m, double n)
{
    Sample d1 = b - a, d2 = c - b - d1, d3 = b - 2 * c + d - d2;
    return a + d1 * w1 + d2 * m + d3 * n;
}

template <class T>
struct ZoomCubic {
    using Value = T;
    using Ring = float;
    using Weight = double;
    using Sample = std::conditional_t<sizeof(T) < 4, int32_t, double>;
    static constexpr int samples = 4, weights = 3;

    static void weigh(double fraction, Weight* w)
    {
        constexpr double third = 1.0f / 3.0f;
        double position = float(fraction);
        w[0] = position + 1;
        w[1] = position * (position + 1) * 0.5;
        w[2] = (position - 1) * w[1] * third;
    }
    static float whole(T a) { return float(a); }
    static float across(T a, T b, T c, T d, double w1, double m, double n)
    {
        return float(newton<Sample>(a, b, c, d, w1, m, n));
    }
    static T wholeDown(float a) { return zoomed<T>(a); }
    static T down(float a, float b, float c, float d, double w1, double m, double n)
    {
        return zoomed<T>(newton<double>(a, b, c, d, w1, m, n));
    }
};

// ---- Methods of orvDecimate ---------------------------------------------------------------------------------------

template <class T>
inline T decimated(double value)
{
    if constexpr (sizeof(T) < 4)
        return ownTruncated<T>(value);
    else
        return T(value);
}

template <class T>
struct DecimateLinear {
    using Value = T;
    using Ring = double;
    using Weight = double;
    static constexpr int samples = 2, weights = 2;

    static void weigh(double fraction, Weight* w)
    {
        w[0] = 1 - fraction;
        w[1] = fraction;
    }
    static double whole(T a) { return double(a); }
    static double across(T a, T b, double w0, double w1) { return w0 * a + w1 * b; }
    static T wholeDown(double a) { return decimated<T>(a); }
    static T down(double a, double b, double w0, double w1) { return decimated<T>(w0 * a + w1 * b); }
};

// The cubic through four samples, by its coefficients: those of integers are exact. The sixth being a float, flat areas come
// out a little higher than they are, which keeps whole numbers from falling below themselves.
template <class Sample>
inline double polynomial(Sample a, Sample b, Sample c, Sample d, double t, double t2, double t3)
{
    constexpr double sixth = 1.0f / 6.0f;
    Sample c1 = 6 * c - 2 * a - 3 * b - d, c2 = 3 * a - 6 * b + 3 * c, c3 = 3 * b - a - 3 * c + d;
    return (6 * b + t * c1 + t2 * c2 + t3 * c3) * sixth;
}

template <class T>
struct DecimateCubic {
    using Value = T;
    using Ring = double;
    using Weight = double;
    using Sample = std::conditional_t<sizeof(T) < 4, int32_t, double>;
    static constexpr int samples = 4, weights = 3;

    static void weigh(double t, Weight* w)
    {
        w[0] = t;
        w[1] = t * t;
        w[2] = t * t * t;
    }
    static double whole(T a) { return double(a); }
    static double across(T a, T b, T c, T d, double t, double t2, double t3)
    {
        return polynomial<Sample>(a, b, c, d, t, t2, t3);
    }
    static T wholeDown(double a) { return decimated<T>(a); }
    static T down(double a, double b, double c, double d, double t, double t2, double t3)
    {
        return decimated<T>(polynomial<double>(a, b, c, d, t, t2, t3));
    }
};

// ---- The step along rows ------------------------------------------------------------------------------------------

template <class M>
struct Table {
    Pick pick;
    typename M::Weight* weights[M::weights];
    typename M::Value* samples[M::samples];
    // For weights in fixed point:
    Shuffle pairs;      // brings the two samples of a value side by side
    bool below;         // one of the weights is below 0
    int16_t* quarters;  // four times the weight, or so much less than that of the second sample
    int16_t* nearest;   // multiplies both samples by 64 or 0
};

template <class M>
constexpr bool isFixed = sizeof(typename M::Weight) == 2;

template <class M>
const Table<M>& tableOf(const OwnScaleColumns& columns)
{
    return *static_cast<const Table<M>*>(columns.table);
}

template <class M>
int64_t tableBytes(const OwnScaleColumns& columns)
{
    constexpr int bytes = sizeof(typename M::Value);
    const int64_t n = columns.values();
    int64_t pairs = isFixed<M> ? Shuffle::bytes(n * 2 * bytes) + 2 * roomFor(n, sizeof(int32_t)) : 0;
    return roomFor(1, sizeof(Table<M>)) + pickBytes(columns, bytes) + pairs +
           M::weights * roomFor(n, sizeof(typename M::Weight)) + M::samples * roomFor(n, bytes);
}

#if defined(__AVX2__)

// Where the bytes of both samples of each value stand.
const int32_t* bytesOfPairs(const OwnScaleColumns& columns, int valueBytes, Memory& memory)
{
    const ptrdiff_t lanes = columns.lanes;
    auto* from = memory.take<int32_t>(columns.values() * 2 * valueBytes);
    int32_t* next = from;
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        for (ptrdiff_t k = 0; k < lanes; ++k)
            for (ptrdiff_t sample = 0; sample < 2; ++sample)
                for (ptrdiff_t byte = 0; byte < valueBytes; ++byte)
                    *next++ = int32_t(((columns.index[i] - columns.base + sample) * lanes + k) * valueBytes + byte);
    return from;
}

// What both samples of each value are multiplied by.
void makePairs(Table<ZoomLinear8>& table, Memory& memory, ptrdiff_t n)
{
    table.quarters = memory.take<int16_t>(n);
    table.nearest = memory.take<int16_t>(n);
    for (ptrdiff_t i = 0; i < n; ++i) {
        int32_t w = table.weights[0][i];
        table.quarters[i] = int16_t(w * 4);
        table.nearest[i] = w < one / 2 ? 64 : 64 << 8;
    }
}

void makePairs(Table<ZoomLinear16>& table, Memory& memory, ptrdiff_t n)
{
    table.quarters = memory.take<int16_t>(n * 2);
    for (ptrdiff_t i = 0; i < n; ++i) {
        table.quarters[i * 2] = int16_t(one - table.weights[0][i]);
        table.quarters[i * 2 + 1] = table.weights[0][i];
    }
}

inline __m256i wordsAt(const int16_t* words, ptrdiff_t i)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + i));
}

// Sixteen values at a time. With a and b the samples, 64 a + (64 (b - a) 4 w >> 16) is what the weights make of them; a weight
// whose quadruple would not fit begins at b.
void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear8>& table, const uint8_t* src, uint16_t* ring)
{
    withLoads(table.pairs, [&]<int loads>() {
        const Shuffle pairs = table.pairs;
        const __m256i slope = _mm256_set1_epi16(int16_t(0x40C0));
        for (ptrdiff_t i = 0; i < pairs.vectors; ++i) {
            const ptrdiff_t at = vectorStart(i, columns.values() * 2) / 2;
            __m256i samples = shuffled<loads>(pairs, i, src);
            __m256i part = _mm256_mulhi_epi16(_mm256_maddubs_epi16(samples, slope), wordsAt(table.quarters, at));
            __m256i from = _mm256_maddubs_epi16(samples, wordsAt(table.nearest, at));
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(ring + at), _mm256_add_epi16(from, part));
        }
    });
}

// Eight values at a time, as signed words, which makes the sum less by 32768 times the weights.
void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear16>& table, const uint8_t* src, uint16_t* ring)
{
    withLoads(table.pairs, [&]<int loads>() {
        const Shuffle pairs = table.pairs;
        const __m256i sign = _mm256_set1_epi16(INT16_MIN), back = _mm256_set1_epi32(32768 * one);
        const __m256i low = _mm256_set1_epi32(0xFFFF);
        for (ptrdiff_t i = 0; i < pairs.vectors; ++i) {
            const ptrdiff_t at = vectorStart(i, columns.values() * 4) / 4;
            __m256i samples = _mm256_xor_si256(shuffled<loads>(pairs, i, src), sign);
            __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(samples, wordsAt(table.quarters, at * 2)), back);
            sum = _mm256_and_si256(_mm256_srai_epi32(sum, 14), low);
            __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(ring + at), _mm256_castsi256_si128(words));
        }
    });
}

#endif

template <class M>
void prepare(const OwnScaleColumns& columns)
{
    using Weight = typename M::Weight;
    constexpr int bytes = sizeof(typename M::Value);
    const ptrdiff_t n = columns.values(), lanes = columns.lanes;
    Memory memory = {static_cast<uint8_t*>(columns.table)};
    auto& table = *memory.take<Table<M>>(1);
    table = {};
    for (auto& samples : table.samples)
        samples = memory.take<typename M::Value>(n);
    for (auto& weights : table.weights)
        weights = memory.take<Weight>(n);
    makePick(table.pick, memory, columns, bytes);
    if (columns.samples == 1)
        return;
    for (ptrdiff_t i = 0; i < columns.count; ++i) {
        Weight w[M::weights];
        M::weigh(columns.fraction[i], w);
        table.below = table.below || w[0] < 0;
        for (int k = 0; k < M::weights; ++k)
            for (ptrdiff_t lane = 0; lane < lanes; ++lane)
                table.weights[k][i * lanes + lane] = w[k];
    }
#if defined(__AVX2__)
    if constexpr (isFixed<M>) {
        makePairs(table, memory, n);
        makeShuffle(table.pairs, memory, bytesOfPairs(columns, bytes, memory), n * 2 * bytes,
                    columns.sourceCount * lanes * bytes);
    }
#endif
}

template <class M>
void acrossSamples(const OwnScaleColumns& columns, const Table<M>& table, const void* src,
                   typename M::Ring* __restrict ring)
{
    const ptrdiff_t n = columns.values();
    for (int k = 0; k < columns.samples; ++k)
        pickSample(table.pick, columns, sizeof(typename M::Value), src, k, table.samples[k]);
    const auto *a = table.samples[0], *b = table.samples[1];
    const auto* w0 = table.weights[0];
    if constexpr (M::samples == 2 && M::weights == 1) {
        for (ptrdiff_t i = 0; i < n; ++i)
            ring[i] = M::across(a[i], b[i], w0[i]);
    } else if constexpr (M::samples == 2) {
        const auto* w1 = table.weights[1];
        for (ptrdiff_t i = 0; i < n; ++i)
            ring[i] = M::across(a[i], b[i], w0[i], w1[i]);
    } else {
        const auto *c = table.samples[2], *d = table.samples[3];
        const auto *w1 = table.weights[1], *w2 = table.weights[2];
        for (ptrdiff_t i = 0; i < n; ++i)
            ring[i] = M::across(a[i], b[i], c[i], d[i], w0[i], w1[i], w2[i]);
    }
}

template <class M>
void across(const OwnScaleColumns& columns, const void* src, void* to)
{
    using Value = typename M::Value;
    const Table<M>& table = tableOf<M>(columns);
    auto* ring = static_cast<typename M::Ring*>(to);
    if (columns.samples == 1) {
        const Value* samples = table.samples[0];
        pickSample(table.pick, columns, sizeof(Value), src, 0, table.samples[0]);
        for (ptrdiff_t i = 0; i < columns.values(); ++i)
            ring[i] = M::whole(samples[i]);
        return;
    }
#if defined(__AVX2__)
    if constexpr (isFixed<M>) {
        if (table.pairs.loads) {
            acrossPairs(columns, table, static_cast<const uint8_t*>(src), ring);
            return;
        }
    }
#endif
    acrossSamples<M>(columns, table, src, ring);
    if (columns.whole >= 0)
        for (ptrdiff_t lane = 0; lane < columns.lanes; ++lane)
            ring[lane] = M::whole(ownLoad<Value>(src, columns.whole * columns.lanes + lane));
}

// ---- The step across rows -----------------------------------------------------------------------------------------

// Without weights below 0 the rows are at most 64 times the largest value, and the product with their difference fits: what
// is cut off of the one sum is what is cut off of both parts.
void downFixed(const uint16_t* __restrict a, const uint16_t* __restrict b, int32_t w, void* dst, ptrdiff_t n)
{
    if (w == one) {
        a = b;
        w = 0;
    }
    const auto twice = int16_t(w * 2);
    for (ptrdiff_t i = 0; i < n; ++i) {
        auto difference = int16_t((b[i] - a[i]) * 2);
        auto part = int16_t((difference * twice) >> 16);
        ownStore(dst, i, uint8_t(uint16_t(a[i] + part) >> 6));
    }
}

template <class M>
void down(const OwnScaleColumns& columns, const void* const* rows, int samples, double fraction, void* dst)
{
    using Ring = typename M::Ring;
    const ptrdiff_t n = columns.values();
    const auto* a = static_cast<const Ring*>(rows[0]);
    if (samples == 1) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(dst, i, M::wholeDown(a[i]));
        return;
    }
    typename M::Weight w[M::weights];
    M::weigh(fraction, w);
    const auto* b = static_cast<const Ring*>(rows[1]);
    if constexpr (std::is_same_v<M, ZoomLinear8>)
        if (!tableOf<M>(columns).below && w[0] >= 0)
            return downFixed(a, b, w[0], dst, n);
    if constexpr (M::samples == 2) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            if constexpr (M::weights == 1)
                ownStore(dst, i, M::down(a[i], b[i], w[0]));
            else
                ownStore(dst, i, M::down(a[i], b[i], w[0], w[1]));
    } else {
        const auto* c = static_cast<const Ring*>(rows[2]);
        const auto* d = static_cast<const Ring*>(rows[3]);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(dst, i, M::down(a[i], b[i], c[i], d[i], w[0], w[1], w[2]));
    }
}

template <class M>
constexpr OwnScaleKernel kernelOf = {sizeof(typename M::Ring), tableBytes<M>, prepare<M>, across<M>, down<M>};
constexpr OwnScaleKernel none = {};

// ---- Picks --------------------------------------------------------------------------------------------------------

template <int valueBytes>
struct PickOnly {
    static int64_t tableBytes(const OwnScaleColumns& columns)
    {
        return roomFor(1, sizeof(Pick)) + pickBytes(columns, valueBytes);
    }
    static void prepare(const OwnScaleColumns& columns)
    {
        Memory memory = {static_cast<uint8_t*>(columns.table)};
        auto& pick = *memory.take<Pick>(1);
        makePick(pick, memory, columns, valueBytes);
    }
    static void run(const OwnScaleColumns& columns, const void* src, void* dst)
    {
        pickSample(*static_cast<const Pick*>(columns.table), columns, valueBytes, src, 0, dst);
    }
    static constexpr OwnPickKernel kernel = {tableBytes, prepare, run};
};

void spreadBits(uint8_t* lanes, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        lanes[i] = uint8_t(-lanes[i]);
}

}  // namespace

extern const OwnScaleKernels ownScaleKernels;
const OwnScaleKernels ownScaleKernels = {
    {PickOnly<1>::kernel, PickOnly<2>::kernel, PickOnly<4>::kernel},
    spreadBits,
    {none, kernelOf<ZoomLinear8>, none, kernelOf<ZoomLinear16>, none, none, kernelOf<ZoomLinearReal>},
    {none, kernelOf<ZoomCubic<uint8_t>>, none, kernelOf<ZoomCubic<uint16_t>>, none, none, kernelOf<ZoomCubic<float>>},
    {none, kernelOf<DecimateLinear<uint8_t>>, none, kernelOf<DecimateLinear<uint16_t>>, none, none,
     kernelOf<DecimateLinear<float>>},
    {none, kernelOf<DecimateCubic<uint8_t>>, none, kernelOf<DecimateCubic<uint16_t>>, none, none,
     kernelOf<DecimateCubic<float>>},
};

}  // namespace OWN_ISA
