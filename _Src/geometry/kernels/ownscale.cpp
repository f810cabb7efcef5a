// Kernels of scaling.
//
// A method is a record: the type of its values and of the values between its two steps, its weights, and what it makes of two
// or four samples. The loops over samples that have been picked beside each other are vectorised by the compiler.
#include "ownscale.h"

#include "ownpack.h"
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
    using Wide = int32_t;
    using Weight = int16_t;
    static constexpr int samples = 2, weights = 1;

    static void weigh(double fraction, Weight* w) { w[0] = fixedWeight(fraction); }
    static Ring whole(T a) { return Ring(a * one >> acrossShift); }
    static Ring across(T a, T b, Weight w) { return Ring((a * (one - w) + b * w) >> acrossShift); }
    static int32_t between(int32_t a, int32_t b, const Weight* w) { return b * w[0] + a * (one - w[0]); }
    static T result(int32_t sum) { return T(sum >> downShift); }
    static T wholeDown(Ring a) { return result(a * one); }
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
    static float whole(float a) { return a; }
    static float across(float a, float b, float w) { return float(a + (double(b) - a) * w); }
    static double between(double a, double b, const Weight* w) { return a + (b - a) * w[0]; }
    static float result(double value) { return float(value); }
    static float wholeDown(float a) { return a; }
};

// The cubic through four samples, by Newton's differences: those of integers are exact.
template <class Sample>
inline auto newton(Sample a, Sample b, Sample c, Sample d, double w1, double m, double n)
{
    const Sample d1 = b - a, d2 = c - b - d1, d3 = b - (c + c) + d - d2;
    return a + d1 * w1 + d2 * m + d3 * n;
}

template <class T>
struct ZoomCubic {
    using Value = T;
    using Ring = float;
    using Wide = double;
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
    template <class Real>
    static Real between(Real a, Real b, Real c, Real d, const Weight* w)
    {
        return newton(a, b, c, d, w[0], w[1], w[2]);
    }
    static T wholeDown(float a) { return result(a); }
    // Of integers nearly what is left without the fraction. What becomes of them lies far within 32 bits.
    static T result(double value)
    {
        if constexpr (sizeof(T) < 4)
            return ownSaturated<T>(int32_t(__builtin_irint(value + indexBias)));
        else
            return T(value);
    }
#if defined(__AVX2__)
    static __m128i results(__m256d values)
    {
        return _mm256_cvtpd_epi32(values + indexBias);
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

    static double whole(T a) { return double(a); }
    static T wholeDown(double a) { return result(a); }
    static T result(double value)
    {
        if constexpr (sizeof(T) < 4)
            return ownSaturated<T>(int32_t(value));
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
    static double across(T a, T b, double w0, double w1) { return w0 * a + w1 * b; }
    template <class Real>
    static Real between(Real a, Real b, const double* w)
    {
        return w[0] * a + w[1] * b;
    }
};

// The cubic through four samples, by its coefficients: those of integers are exact. The sixth being a float, flat areas come
// out a little higher than they are, which keeps whole numbers from falling below themselves.
template <class Sample>
inline auto polynomial(Sample a, Sample b, Sample c, Sample d, double t, double t2, double t3)
{
    constexpr double sixth = 1.0f / 6.0f;
    const Sample c1 = 6 * c - 2 * a - 3 * b - d, c2 = 3 * a - 6 * b + 3 * c, c3 = 3 * b - a - 3 * c + d;
    return (6 * b + t * c1 + t2 * c2 + t3 * c3) * sixth;
}

template <class T>
struct DecimateCubic : Decimated<T> {
    using Sample = std::conditional_t<sizeof(T) < 4, int32_t, double>;
    static constexpr int samples = 4, weights = 3;

    static void weigh(double t, double* w)
    {
        w[0] = t;
        w[1] = t * t;
        w[2] = t * t * t;
    }
    static double across(T a, T b, T c, T d, double t, double t2, double t3)
    {
        return polynomial<Sample>(a, b, c, d, t, t2, t3);
    }
    template <class Real>
    static Real between(Real a, Real b, Real c, Real d, const double* w)
    {
        return polynomial(a, b, c, d, w[0], w[1], w[2]);
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

// Sixteen values at a time. With a the nearer sample and b the other, 64 a + (64 (a - b) f >> 16) is what the weights make of
// them; f is four times the weight of b, negative, which fits 16 bits.
void makeFactors(Table<ZoomLinear8>& table, Memory& memory, ptrdiff_t n)
{
    table.factors = memory.take<int16_t>(n);
    for (ptrdiff_t i = 0; i < n; ++i) {
        const int32_t w = table.weights[0][i];
        table.factors[i] = int16_t(w > one / 2 ? 4 * (w - one) : -4 * w);
    }
}

void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear8>& table, const uint8_t* src, uint16_t* ring)
{
    const __m256i slope = _mm256_set1_epi16(int16_t(0xC040)), nearer = _mm256_set1_epi16(0x0040);
    const int16_t* factors = table.factors;
    runShuffle<uint16_t>(table.pairs, src, columns.values(), [=](__m256i pairs, ptrdiff_t i) {
        __m256i part = _mm256_mulhi_epi16(_mm256_maddubs_epi16(pairs, slope), wordsAt(factors, i));
        __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(pairs, nearer), part);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(ring + i), sum);
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

void acrossPairs(const OwnScaleColumns& columns, const Table<ZoomLinear16>& table, const uint8_t* src, uint16_t* ring)
{
    const __m256i sign = _mm256_set1_epi16(INT16_MIN), back = _mm256_set1_epi32(32768 * one);
    const __m256i low = _mm256_set1_epi32(0xFFFF);
    const int16_t* factors = table.factors;
    runShuffle<uint32_t>(table.pairs, src, columns.values(), [=](__m256i pairs, ptrdiff_t i) {
        __m256i samples = _mm256_xor_si256(pairs, sign);
        __m256i sum = _mm256_add_epi32(_mm256_madd_epi16(samples, wordsAt(factors, i * 2)), back);
        sum = _mm256_and_si256(_mm256_srai_epi32(sum, 14), low);
        __m256i words = _mm256_permute4x64_epi64(_mm256_packus_epi32(sum, sum), 0x08);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(ring + i), _mm256_castsi256_si128(words));
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

// Without weights below 0 the rows are at most 64 times the largest value. The weights make of them the nearer row and a part
// of its difference from the other, which the upper half of a product gives: four times the lesser weight, negative, fits
// 16 bits.
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
void down(const OwnScaleColumns& columns, const void* const* rows, int samples, double fraction, void* dst)
{
    using Value = typename M::Value;
    using Wide = typename M::Wide;
    const ptrdiff_t n = columns.values();
    const typename M::Ring* row[M::samples] = {};
    for (int i = 0; i < samples; ++i)
        row[i] = static_cast<const typename M::Ring*>(rows[i]);
    const auto* a = row[0];
    if (samples == 1) {
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(dst, i, M::wholeDown(a[i]));
        return;
    }
    const auto *b = row[1], *c = row[M::samples - 2], *d = row[M::samples - 1];
    typename M::Weight w[M::weights];
    M::weigh(fraction, w);
    if constexpr (std::is_same_v<M, ZoomLinear8>)
        if (!tableOf<M>(columns).below && w[0] >= 0)
            return downFixed(a, b, w[0], static_cast<uint8_t*>(dst), n);
#if defined(__AVX2__)
    if constexpr (!isFixed<M> && sizeof(Value) < 4) {
        auto four = [=](ptrdiff_t i) {
            if constexpr (M::samples == 2)
                return M::results(M::between(realsAt(a, i), realsAt(b, i), w));
            else
                return M::results(M::between(realsAt(a, i), realsAt(b, i), realsAt(c, i), realsAt(d, i), w));
        };
        if (storeFours<Value>(dst, n, four))
            return;
    }
#endif
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        if constexpr (M::samples == 2)
            ownStore<Value>(dst, i, M::result(M::between(Wide(a[i]), Wide(b[i]), w)));
        else
            ownStore<Value>(dst, i, M::result(M::between(Wide(a[i]), Wide(b[i]), Wide(c[i]), Wide(d[i]), w)));
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
