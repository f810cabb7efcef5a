// Kernels of scaling.
//
// A method is a record: the type of its values and of the values between its two steps, its weights, and what it makes
// of two or four samples. The loops over samples that have been picked beside each other are vectorised by the
// compiler.
#include "ownscale.h"

#include "ownpack.h"
#include "ownpick.h"

namespace OWN_ISA {
namespace {

// ---- Methods of orvZoom and orvResize -----------------------------------------------------------------------------

constexpr int32_t one = 16384;  // of weights in 14 bits after the point

inline int16_t fixedWeight(double fraction)
{
    return int16_t(__builtin_rint(fraction * one + ownIndexBias));
}

// Results are stored as they come, cut to the type's bits: a weight may lie a hair below 0.
template <class T, int acrossShift, int downShift>
struct FixedLinear {
    using Value = T;
    using Ring = uint16_t;
    using Wide = int32_t;
    using Weight = int16_t;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = fixedWeight(fraction); }
    static int32_t between(int32_t a, int32_t b, const Weight* w) { return a * (one - w[0]) + b * w[0]; }
    static int32_t whole(int32_t a) { return a * one; }
    static Ring kept(int32_t sum) { return Ring(sum >> acrossShift); }
    static T result(int32_t sum) { return T(sum >> downShift); }
};
using ZoomLinear8 = FixedLinear<uint8_t, 8, 20>;
using ZoomLinear16 = FixedLinear<uint16_t, 14, 14>;

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
    bool below;        // one of the weights is below 0
    Shuffle pairs;     // brings the two samples of a value side by side
    int16_t* factors;  // of the pairs
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

// Where the bytes of both samples of each value stand; the nearer of two bytes comes first.
template <class M>
const int32_t* bytesOfPairs(const OwnScaleColumns& columns, const Table<M>& table, Memory& memory)
{
    using Weight = typename M::Weight;
    constexpr int bytes = sizeof(typename M::Value);
    const ptrdiff_t lanes = columns.lanes;
    auto* from = memory.take<int32_t>(columns.values() * 2 * bytes);
    int32_t* next = from;
    const Weight* weights = table.weights[0];
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
            const bool swapped = bytes == 1 && weights[i * lanes + lane] > one / 2;
            const auto value = int32_t((columns.index[i] - columns.base + swapped) * lanes + lane);
            const auto other = int32_t(value + (swapped ? -lanes : lanes));
            for (int byte = 0; byte < bytes; ++byte) {
                next[byte] = value * bytes + byte;
                next[bytes + byte] = other * bytes + byte;
            }
            next += 2 * bytes;
        }
    return from;
}

inline __m256i wordsAt(const int16_t* words, ptrdiff_t i)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words + i));
}

template <int rows>
struct RingRows {
    uint16_t* row[rows];
    explicit RingRows(void* const* given)
    {
        for (int k = 0; k < rows; ++k)
            row[k] = static_cast<uint16_t*>(given[k]);
    }
};

// Sixteen values at a time. With a the nearer sample and b the other, 64 a + (64 (a - b) f >> 16) is what the weights
// make of them; f is four times the weight of b, negative, which fits 16 bits.
void makeFactors(Table<ZoomLinear8>& table, Memory& memory, ptrdiff_t n)
{
    table.factors = memory.take<int16_t>(n);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const int32_t w = table.weights[0][i];
        table.factors[i] = int16_t(w > one / 2 ? 4 * (w - one) : -4 * w);
    }
}

template <int rows>
void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear8>& table, const void* const* src,
                 void* const* to)
{
    const __m256i slope = _mm256_set1_epi16(int16_t(0xC040)), nearer = _mm256_set1_epi16(0x0040);
    const int16_t* factors = table.factors;
    const ByteRows<rows> from(src);
    const RingRows<rows> ring(to);
    runShuffle<uint16_t>(table.pairs, from, columns.values(), [=](const __m256i(&pairs)[rows], ptrdiff_t i) {
        const __m256i factor = wordsAt(factors, i);
        for (int k = 0; k < rows; ++k) {
            __m256i part = _mm256_mulhi_epi16(_mm256_maddubs_epi16(pairs[k], slope), factor);
            __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(pairs[k], nearer), part);
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(ring.row[k] + i), sum);
        }
    });
}

// Eight values at a time, as signed words, which makes the sum less by 32768 times the weights.
void makeFactors(Table<ZoomLinear16>& table, Memory& memory, ptrdiff_t n)
{
    table.factors = memory.take<int16_t>(n * 2);
    for (ptrdiff_t i = 0; i < n; ++i) {
        table.factors[i * 2] = int16_t(one - table.weights[0][i]);
        table.factors[i * 2 + 1] = table.weights[0][i];
    }
}

template <int rows>
void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear16>& table, const void* const* src,
                 void* const* to)
{
    const __m256i sign = _mm256_set1_epi16(INT16_MIN), back = _mm256_set1_epi32(32768 * one);
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    const int16_t* factors = table.factors;
    const ByteRows<rows> from(src);
    const RingRows<rows> ring(to);
    runShuffle<uint32_t>(table.pairs, from, columns.values(), [=](const __m256i(&pairs)[rows], ptrdiff_t i) {
        const __m256i factor = wordsAt(factors, i * 2);
        for (int k = 0; k < rows; ++k) {
            __m256i sum = _mm256_madd_epi16(_mm256_xor_si256(pairs[k], sign), factor);
            sum = _mm256_and_si256(_mm256_srai_epi32(_mm256_add_epi32(sum, back), 14), low);
            __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
            _mm_storeu_si128(reinterpret_cast<__m128i*>(ring.row[k] + i), _mm256_castsi256_si128(words));
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
    bool below = false;
    for (ptrdiff_t i = 0; i < columns.count && columns.samples > 1; ++i) {
        Weight w[M::weights];
        M::weigh(columns.fraction[i], w);
        below |= w[0] < 0;
        for (int k = 0; k < M::weights; ++k)
            for (ptrdiff_t lane = 0; lane < lanes; ++lane)
                table.weights[k][i * lanes + lane] = w[k];
    }
    table.below = below;
#if defined(__AVX2__)
    if constexpr (isFixed<M>) {
        if (columns.samples > 1) {
            makeFactors(table, memory, n);
            makeShuffle(table.pairs, memory, bytesOfPairs(columns, table, memory), n * 2 * bytes,
                        columns.sourceCount * lanes * bytes);
        }
        if (table.pairs.loads)
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
    if (columns.whole >= 0)
        for (ptrdiff_t lane = 0; lane < columns.lanes; ++lane)
            ring[lane] = M::kept(M::whole(ownLoad<Value>(src, columns.whole * columns.lanes + lane)));
}

template <class M>
void across(const OwnScaleColumns& columns, const void* const* src, int rows, void* const* to)
{
    using Ring = typename M::Ring;
#if defined(__AVX2__)
    if constexpr (isFixed<M>)
        if (const Table<M>& table = tableOf<M>(columns); table.pairs.loads) {
            switch (rows) {
            case 1: return acrossPairs<1>(columns, table, src, to);
            case 2: return acrossPairs<2>(columns, table, src, to);
            case 3: return acrossPairs<3>(columns, table, src, to);
            default: return acrossPairs<ownScaleRows>(columns, table, src, to);
            }
        }
#endif
    for (int i = 0; i < rows; ++i)
        acrossRow<M>(columns, src[i], static_cast<Ring*>(to[i]));
}

// ---- The step across rows -----------------------------------------------------------------------------------------

// Without weights below 0 the rows are at most 64 times the largest value. The weights make of them the nearer row and
// a part of its difference from the other, which the upper half of a product gives: four times the lesser weight,
// negative, fits 16 bits.
void downFixed(const uint16_t* a, const uint16_t* b, int32_t w, uint8_t* dst, ptrdiff_t n)
{
    const bool swapped = w > one / 2;
    const uint16_t* __restrict nearer = swapped ? b : a, * __restrict other = swapped ? a : b;
    const auto factor = int16_t(swapped ? 4 * (w - one) : -4 * w);
    auto plain = [=](ptrdiff_t i) {
        auto part = int16_t((int16_t(nearer[i] - other[i]) * factor) >> 16);
        return uint8_t(uint16_t(nearer[i] + part) >> 6);
    };
#if defined(__AVX2__)
    const __m256i factors = _mm256_set1_epi16(factor);
    auto sixteen = [=](ptrdiff_t i) {
        const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(nearer + i));
        const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(other + i));
        __m256i part = _mm256_mulhi_epi16(_mm256_sub_epi16(first, second), factors);
        return _mm256_srli_epi16(_mm256_add_epi16(first, part), 6);
    };
    auto store = [=](ptrdiff_t i) {
        __m256i bytes = _mm256_packus_epi16(sixteen(i), sixteen(i + 16));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), _mm256_permute4x64_epi64(bytes, 0xD8));
    };
    if (n >= 32) {
        for (ptrdiff_t i = 0; i < n - 32; i += 32)
            store(i);
        return store(n - 32);
    }
#endif
    for (ptrdiff_t i = 0; i < n; ++i)
        dst[i] = plain(i);
}

template <class M>
void down(const OwnScaleColumns& columns, const void* const* given, int samples, double fraction, void* dst)
{
    using Value = typename M::Value;
    using Ring = typename M::Ring;
    const ptrdiff_t n = columns.values();
    const Ring* ring[M::samples] = {};
    for (int i = 0; i < samples; ++i)
        ring[i] = static_cast<const Ring*>(given[i]);
    const Rows<M, Ring> rows(ring);
    if (samples == 1) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore<Value>(dst, i, M::result(M::whole(rows.a[i])));
        return;
    }
    typename M::Weight w[M::weights];
    M::weigh(fraction, w);
    if constexpr (std::is_same_v<M, ZoomLinear8>)
        if (!tableOf<M>(columns).below && w[0] >= 0)
            return downFixed(rows.a, rows.b, w[0], static_cast<uint8_t*>(dst), n);
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
