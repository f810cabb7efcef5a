// Kernels of scaling.
//
// A method is a record: the type of its values and of the values between its two steps, its weights, and what it makes
// of two or four samples. The loops over samples that have been picked beside each other are vectorised by the
// compiler.
#include "ownscale.h"

#include "ownfloats.h"
#include "ownpack.h"
#include "ownpairs.h"
#include "ownpick.h"
#include "ownpickbits.h"

namespace OWN_ISA {
namespace {

// ---- Methods of orvZoom and orvResize -----------------------------------------------------------------------------

struct ZoomLinearReal {
    using Value = float;
    using Ring = float;
    using Wide = double;
    using Weight = float;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = float(fraction); }
    template <class Real, class W>
    static Real between(Real a, Real b, const W* w)
    {
        return a + (b - a) * w[0];
    }
    static double whole(double a) { return a; }
    static float kept(double value) { return float(value); }
    static float result(double value) { return float(value); }
};

// The cubic through four samples, by Newton's differences.
template <class T>
struct ZoomCubic {
    using Value = T;
    using Ring = float;
    using Wide = double;
    using Weight = double;
    static constexpr int samples = 4, weights = 3;

    static void weigh(double fraction, Weight* w)
    {
        constexpr double third = 1.0f / 3.0f;
        double position = float(fraction);
        w[0] = position + 1;
        w[1] = position * (position + 1) * 0.5;
        w[2] = (position - 1) * w[1] * third;
    }
    template <class Real, class W>
    static Real between(Real a, Real b, Real c, Real d, const W* w)
    {
        const Real d1 = b - a, d2 = c - b - d1, d3 = b - (c + c) + d - d2;
        return a + d1 * w[0] + d2 * w[1] + d3 * w[2];
    }
    static double whole(double a) { return a; }
    static float kept(double value) { return float(value); }
    // Of integers nearly what is left without the fraction.
    static T result(double value)
    {
        if constexpr (sizeof(T) < 4)
            return ownRounded<T>(value + ownIndexBias);
        else
            return T(value);
    }
#if defined(__AVX2__)
    static __m128i results(__m256d values)
    {
        return _mm256_cvtpd_epi32(values + ownIndexBias);
    }
#endif
};

// ---- Methods of orvDecimate ---------------------------------------------------------------------------------------

template <class T>
struct Decimated {
    using Value = T;
    using Ring = double;
    using Wide = double;
    using Weight = double;

    static double whole(double a) { return a; }
    static double kept(double value) { return value; }
    static T result(double value)
    {
        if constexpr (sizeof(T) < 4)
            return ownTruncated<T>(value);
        else
            return T(value);
    }
#if defined(__AVX2__)
    static __m128i results(__m256d values)
    {
        return _mm256_cvttpd_epi32(values);
    }
#endif
};

template <class T>
struct DecimateLinear : Decimated<T> {
    static constexpr int samples = 2, weights = 2;

    static void weigh(double fraction, double* w)
    {
        w[0] = 1 - fraction;
        w[1] = fraction;
    }
    template <class Real, class W>
    static Real between(Real a, Real b, const W* w)
    {
        return w[0] * a + w[1] * b;
    }
};

// The cubic through four samples, by its coefficients. The sixth being a float, flat areas come out a little higher
// than they are, which keeps whole numbers from falling below themselves.
template <class T>
struct DecimateCubic : Decimated<T> {
    static constexpr int samples = 4, weights = 3;

    static void weigh(double t, double* w)
    {
        w[0] = t;
        w[1] = t * t;
        w[2] = t * t * t;
    }
    template <class Real, class W>
    static Real between(Real a, Real b, Real c, Real d, const W* w)
    {
        constexpr double sixth = 1.0f / 6.0f;
        const Real c1 = c * 6 - a * 2 - b * 3 - d, c2 = a * 3 - b * 6 + c * 3, c3 = b * 3 - a - c * 3 + d;
        return (b * 6 + w[0] * c1 + w[1] * c2 + w[2] * c3) * sixth;
    }
};

// ---- The step along rows ------------------------------------------------------------------------------------------

template <class M>
struct Table {
    Pick pick;
    typename M::Weight* weights[M::weights];
    typename M::Value* samples[M::samples];
    // For weights in fixed point:
    bool below;  // one of them is below 0
    Pairs pairs;
    // For lines between floats:
    FloatWindows windows;
};

template <class M>
constexpr bool isFixed = sizeof(typename M::Weight) == 2;
template <class M>
constexpr bool isFloatLine = sizeof(typename M::Value) == 4 && M::samples == 2;

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
    const int64_t pairs = isFixed<M> ? pairsBytes<M>(columns) : 0;
    const int64_t windows = isFloatLine<M> ? FloatWindows::bytes(n) : 0;
    return roomFor(1, sizeof(Table<M>)) + pickBytes(columns, bytes) + pairs + windows +
           M::weights * roomFor(n, sizeof(typename M::Weight)) + M::samples * roomFor(n, bytes);
}

template <class M>
inline __attribute__((always_inline)) void weighPixels(const OwnScaleColumns& columns, ptrdiff_t lanes,
                                                       typename M::Weight* const (&weights)[M::weights])
{
    for (ptrdiff_t i = 0; i < columns.count; ++i) {
        typename M::Weight w[M::weights];
        M::weigh(columns.fraction[i], w);
        for (int k = 0; k < M::weights; ++k)
            for (ptrdiff_t lane = 0; lane < lanes; ++lane)
                weights[k][i * lanes + lane] = w[k];
    }
}

template <class M>
void prepare(const OwnScaleColumns& columns)
{
    constexpr int bytes = sizeof(typename M::Value);
    const ptrdiff_t n = columns.values();
    Memory memory = {static_cast<uint8_t*>(columns.table)};
    auto& table = *memory.take<Table<M>>(1);
    table = {};
    for (auto& samples : table.samples)
        samples = memory.take<typename M::Value>(n);
    for (auto& weights : table.weights)
        weights = memory.take<typename M::Weight>(n);
    if (columns.samples > 1)
        columns.lanes == 1 ? weighPixels<M>(columns, 1, table.weights)
                           : weighPixels<M>(columns, columns.lanes, table.weights);
    if constexpr (isFixed<M>)
        if (columns.samples > 1) {
            table.below = anyBelow(table.weights[0], n);
#if defined(__AVX2__)
            makePairs<typename M::Value>(table.pairs, memory, columns, table.weights[0]);
            if (table.pairs.shuffle.loads)
                return;
#endif
        }
#if defined(__AVX2__)
    if constexpr (isFloatLine<M>)
        if (columns.samples > 1) {
            makeFloatWindows(table.windows, memory, columns);
            if (table.windows.count)
                return;
        }
#endif
    makePick(table.pick, memory, columns, bytes);
}

// The rows of two or four samples.
template <class M, class T>
struct Rows {
    const T *a, *b, *c, *d;

    explicit Rows(const T* const* rows) : a(rows[0]), b(rows[1]), c(rows[M::samples - 2]), d(rows[M::samples - 1]) {}

    // What the samples at a place make; load(row, i) brings one of them, the weights are those of the place or of the
    // row.
    template <class Load, class W>
    __attribute__((always_inline)) auto between(Load load, ptrdiff_t i, const W* w) const
    {
        if constexpr (M::samples == 2)
            return M::between(load(a, i), load(b, i), w);
        else
            return M::between(load(a, i), load(b, i), load(c, i), load(d, i), w);
    }
    auto at(ptrdiff_t i, const typename M::Weight* w) const
    {
        return between([](const T* row, ptrdiff_t k) { return typename M::Wide(row[k]); }, i, w);
    }
#if defined(__AVX2__)
    template <class W>
    auto fourAt(ptrdiff_t i, const W* w) const
    {
        return between([](const T* row, ptrdiff_t k) { return realsAt(row, k); }, i, w);
    }
#endif
};

template <class M>
void acrossSamples(const OwnScaleColumns& columns, const Table<M>& given, const void* src,
                   typename M::Ring* __restrict ring)
{
    using Value = typename M::Value;
    const Table<M> table = given;
    const ptrdiff_t n = columns.values();
    for (int k = 0; k < columns.samples; ++k)
        pickSample(table.pick, columns, sizeof(Value), src, k, table.samples[k]);
    const Rows<M, Value> rows(table.samples);
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    if constexpr (!isFixed<M>)
        for (; i + 4 <= n; i += 4) {
            __m256d w[M::weights];
            for (int k = 0; k < M::weights; ++k)
                w[k] = realsAt(table.weights[k], i);
            storeReals(ring, i, rows.fourAt(i, w));
        }
#endif
    for (; i < n; ++i) {
        typename M::Weight w[M::weights];
        for (int k = 0; k < M::weights; ++k)
            w[k] = table.weights[k][i];
        ring[i] = M::kept(rows.at(i, w));
    }
}

template <class M>
void acrossRow(const OwnScaleColumns& columns, const void* src, typename M::Ring* ring)
{
    using Value = typename M::Value;
    const Table<M>& table = tableOf<M>(columns);
    if (columns.samples == 1) {
        const Value* samples = table.samples[0];
        pickSample(table.pick, columns, sizeof(Value), src, 0, table.samples[0]);
        for (ptrdiff_t i = 0; i < columns.values(); ++i)
            ring[i] = M::kept(M::whole(samples[i]));
        return;
    }
    acrossSamples<M>(columns, table, src, ring);
}

#if defined(__AVX2__)
template <class M>
void acrossFloats(const OwnScaleColumns& columns, const Table<M>& table, const void* const* src, int rows,
                  void* const* to)
{
    const ptrdiff_t n = columns.values();
    switch (rows) {
    case 1: return acrossWindows<M, 1>(table.windows, table.weights, src, to, n);
    case 2: return acrossWindows<M, 2>(table.windows, table.weights, src, to, n);
    case 3: return acrossWindows<M, 3>(table.windows, table.weights, src, to, n);
    default: return acrossWindows<M, ownScaleRows>(table.windows, table.weights, src, to, n);
    }
}
#endif

// The first destination pixel where it is a pixel of the source.
template <class M>
void keepWhole(const OwnScaleColumns& columns, const void* src, typename M::Ring* ring)
{
    for (ptrdiff_t lane = 0; lane < columns.lanes; ++lane)
        ring[lane] = M::kept(M::whole(ownLoad<typename M::Value>(src, columns.whole * columns.lanes + lane)));
}

template <class M>
void across(const OwnScaleColumns& columns, const void* const* src, int rows, void* const* to)
{
    using Ring = typename M::Ring;
    [[maybe_unused]] const Table<M>& table = tableOf<M>(columns);
    bool done = false;
#if defined(__AVX2__)
    if constexpr (isFixed<M>)
        if (done = table.pairs.shuffle.loads; done)
            acrossPairs<typename M::Value>(columns, table.pairs, src, rows, to);
    if constexpr (isFloatLine<M>)
        if (done = table.windows.count; done)
            acrossFloats<M>(columns, table, src, rows, to);
#endif
    for (int i = 0; i < rows && !done; ++i)
        acrossRow<M>(columns, src[i], static_cast<Ring*>(to[i]));
    for (int i = 0; i < rows && columns.whole >= 0 && columns.samples > 1; ++i)
        keepWhole<M>(columns, src[i], static_cast<Ring*>(to[i]));
}

// ---- The step across rows -----------------------------------------------------------------------------------------

template <class M>
void downRow(const OwnScaleRow& made, ptrdiff_t n)
{
    using Value = typename M::Value;
    using Ring = typename M::Ring;
    void* dst = made.dst;
    const Ring* ring[M::samples];
    for (int i = 0; i < M::samples; ++i)
        ring[i] = static_cast<const Ring*>(made.rows[made.samples == 1 ? 0 : i]);
    const Rows<M, Ring> rows(ring);
    if (made.samples == 1) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore<Value>(dst, i, M::result(M::whole(rows.a[i])));
        return;
    }
    typename M::Weight w[M::weights];
    M::weigh(made.fraction, w);
#if defined(__AVX2__)
    if constexpr (!isFixed<M> && sizeof(Value) < 4)
        if (storeFours<Value>(dst, n, [=](ptrdiff_t i) { return M::results(rows.fourAt(i, w)); }))
            return;
#endif
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        ownStore<Value>(dst, i, M::result(rows.at(i, w)));
}

template <class M>
void down(const OwnScaleColumns& columns, const OwnScaleRow* rows, int count)
{
    const ptrdiff_t n = columns.values();
    if constexpr (std::is_same_v<M, ZoomLinear8>)
        if (!tableOf<M>(columns).below && downBytes(rows, count, n))
            return;
    for (int i = 0; i < count; ++i)
        downRow<M>(rows[i], n);
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
    {bitsLieNear, bitTableBytes, prepareBits, pickBits},
    spreadBits,
    {none, kernelOf<ZoomLinear8>, none, kernelOf<ZoomLinear16>, none, none, kernelOf<ZoomLinearReal>},
    {none, kernelOf<ZoomCubic<uint8_t>>, none, kernelOf<ZoomCubic<uint16_t>>, none, none, kernelOf<ZoomCubic<float>>},
    {none, kernelOf<DecimateLinear<uint8_t>>, none, kernelOf<DecimateLinear<uint16_t>>, none, none,
     kernelOf<DecimateLinear<float>>},
    {none, kernelOf<DecimateCubic<uint8_t>>, none, kernelOf<DecimateCubic<uint16_t>>, none, none,
     kernelOf<DecimateCubic<float>>},
};

}  // namespace OWN_ISA
