// Kernels of error diffusion.
//
// Along a row every pixel waits for the error of the one before it. Rows do not wait for each other's ends: a row may follow
// the one above it a few pixels behind. So the fast form takes eight rows at once, one a lane of its vectors, each a block of
// eight pixels behind the row above, and what is left of the rows goes one by one. Errors are kept as floats and all else is
// computed in double precision, where the product of an error and a weight is exact: a fused multiplication has the bits of
// two steps.
#include "ownquantise.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#include <immintrin.h>
#endif

#include <string.h>

namespace OWN_ISA {
namespace {

// ---- Filters ------------------------------------------------------------------------------------------------------

// sum + error * weight
inline double withError(double sum, double error, double weight)
{
    return sum + error * weight;
}

// A value with what it takes over from its neighbours. e0(k) is the error k pixels beside it in its row, e1(k) in the row above
// and e2(k) in the one above that. The order of the additions is part of the result.
struct FloydSteinberg {
    static constexpr int rowsAbove = 1;

    template <class Real, class E2, class E1, class E0>
    static Real withErrors(Real value, E2, E1 e1, E0 e0)
    {
        Real sum = withError(withError(e1(1) * 3.0, e1(0), 5.0) + e1(-1), e0(-1), 7.0);
        return withError(value, sum, 0.0625);  // a power of two is exact, too
    }
};

template <int outer, int middle, int inner, int all>
struct TwoRowsAbove {
    static constexpr int rowsAbove = 2;

    template <class Real, class E2, class E1, class E0>
    static Real withErrors(Real value, E2 e2, E1 e1, E0 e0)
    {
        constexpr double a = outer, b = middle, c = inner;
        Real sum = withError(withError(withError(e2(-2), e2(-1), a), e2(0), b), e2(1), a) + e2(2);
        sum = withError(withError(withError(sum, e1(-2), a), e1(-1), b), e1(0), c);
        sum = withError(withError(sum, e1(1), b), e1(2), a);
        return value + withError(withError(sum, e0(-2), b), e0(-1), c) * double(1.0f / all);
    }
};
using Jarvis = TwoRowsAbove<3, 5, 7, 48>;
using Stucki = TwoRowsAbove<2, 4, 8, 42>;

// ---- The call -----------------------------------------------------------------------------------------------------

struct Task {
    const OwnDither& dither;
    const OwnGeometry& src;
    const OwnGeometry& dst;
    uint32_t channel, y;  // the first row's place in the noise

    const uint8_t* source(ptrdiff_t x, ptrdiff_t row) const { return valueAt(src, dither.from, 0, x, row); }
    uint8_t* target(ptrdiff_t x, ptrdiff_t row) const { return valueAt(dst, dither.to, 0, x, row); }
    double threshold(ptrdiff_t x, ptrdiff_t row) const
    {
        if (!dither.noise.values)
            return dither.threshold;
        return noiseAt(dither.noise, channel + uint32_t(x), 2 * (y + uint32_t(row)) + uint32_t(x));
    }
};

// The free row becomes that of the row before.
void turn(OwnErrorRows& errors)
{
    float* made = errors.rows[2];
    errors.rows[2] = errors.rows[1];
    errors.rows[1] = errors.rows[0];
    errors.rows[0] = made;
}

// ---- Row by row ---------------------------------------------------------------------------------------------------

template <class Filter, OwnLevelForm form>
void diffuseRow(const Task& task, ptrdiff_t row, OwnErrorRows& errors)
{
    const OwnQuantiser q = task.dither.quantiser;
    const LoadPixels load = loaderOf(task.dither.from);
    const StoreCodes store = storerOf(task.dither.to);
    const float *above = errors.rows[0], *above2 = errors.rows[1];
    float* made = errors.rows[2];
    double values[pieceLength], last = 0, last2 = 0;
    int32_t codes[pieceLength];
    for (ptrdiff_t start = 0; start < task.dst.width; start += pieceLength) {
        ptrdiff_t n = task.dst.width - start < pieceLength ? task.dst.width - start : pieceLength;
        load(task.source(start, row), task.src.pixelStep, values, n);
        for (ptrdiff_t i = 0; i < n; ++i) {
            ptrdiff_t x = start + i;
            double value = Filter::withErrors(
                values[i], [=](int k) { return double(above2[x + k]); }, [=](int k) { return double(above[x + k]); },
                [=](int k) { return k == -1 ? last : last2; });
            auto result = quantised<form>(q, value, task.threshold(x, row));
            codes[i] = int32_t(result.code);
            made[x] = float(result.error);
            last2 = last;
            last = double(made[x]);
        }
        store(codes, task.target(start, row), task.dst.pixelStep, n);
    }
    turn(errors);
}

// ---- Eight rows at once -------------------------------------------------------------------------------------------

#if defined(__AVX2__)

constexpr int lanes = 8;
constexpr int block = 8;  // pixels by which a row is behind the one above it

// One pixel of each row.
typedef double Half __attribute__((vector_size(32)));
struct Lanes {
    Half low, high;

    static Lanes of(const double* values) { return {_mm256_load_pd(values), _mm256_load_pd(values + 4)}; }
    static Lanes of(__m256 floats)
    {
        return {_mm256_cvtps_pd(_mm256_castps256_ps128(floats)), _mm256_cvtps_pd(_mm256_extractf128_ps(floats, 1))};
    }
    void store(double* values) const
    {
        _mm256_store_pd(values, low);
        _mm256_store_pd(values + 4, high);
    }
    __m256i integers() const { return _mm256_set_m128i(_mm256_cvttpd_epi32(high), _mm256_cvttpd_epi32(low)); }
};
inline Lanes operator+(Lanes a, Lanes b)
{
    return {a.low + b.low, a.high + b.high};
}
inline Lanes operator*(Lanes a, double b)
{
    return {a.low * b, a.high * b};
}
inline Lanes withError(Lanes sum, Lanes error, double weight)
{
    const __m256d w = _mm256_set1_pd(weight);
    return {_mm256_fmadd_pd(error.low, w, sum.low), _mm256_fmadd_pd(error.high, w, sum.high)};
}

// What the rows above left behind, by the step at which it was made, for a while. At a step a lane needs the errors of the
// row above from a block ago, and those of the row above that from two blocks ago.
struct Past {
    static constexpr int kept = 3 * block;
    static constexpr int room = kept + 8 * block;

    alignas(64) double above[room][lanes];   // each lane's errors are those of the row above it
    alignas(64) double above2[room][lanes];  // and two rows above it

    void forget(int from)
    {
        memmove(above, above[from - kept], sizeof above[0] * kept);
        memmove(above2, above2[from - kept], sizeof above2[0] * kept);
    }
};

// Each lane takes what the lane before it had, the first one a new value.
inline __m256 moved(__m256 values, const float* first)
{
    const __m256i before = _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6);
    return _mm256_blend_ps(_mm256_permutevar8x32_ps(values, before), _mm256_broadcast_ss(first), 1);
}

// Beyond every image's brightest value, whatever error comes to it: such a pixel leaves no error.
constexpr double noPixel = 1e300;

// The values of eight rows at eight steps: a block of each row, in each lane another one.
template <class S>
void stagePixels(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*values)[lanes])
{
    const ptrdiff_t width = task.dst.width, pixelStep = task.src.pixelStep;
    for (int lane = 0; lane < lanes; ++lane) {
        ptrdiff_t x = step - lane * block;
        if (x >= 0 && x + block <= width) {
            const uint8_t* from = task.source(x, row + lane);
            for (int i = 0; i < block; ++i)
                values[i][lane] = brightnessOf(ownLoad<S>(from, i * pixelStep));
        } else {
            for (ptrdiff_t i = 0; i < block; ++i)
                values[i][lane] =
                    x + i >= 0 && x + i < width ? brightnessOf(ownLoad<S>(task.source(x + i, row + lane))) : noPixel;
        }
    }
}

void stageThresholds(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*thresholds)[lanes])
{
    for (int lane = 0; lane < lanes; ++lane)
        for (int i = 0; i < block; ++i)
            thresholds[i][lane] = task.threshold(step + i - lane * block, row + lane);
}

template <class D>
void storeBlocks(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes])
{
    const ptrdiff_t width = task.dst.width, pixelStep = task.dst.pixelStep;
    for (int lane = 0; lane < lanes; ++lane) {
        ptrdiff_t x = step - lane * block;
        if (x < 0 || x >= width)
            continue;
        uint8_t* to = task.target(x, row + lane);
        for (int i = 0; i < block && i < width - x; ++i)
            ownStore<D>(to, i * pixelStep, D(codes[i][lane]));
    }
}

void storeBitBlocks(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes])
{
    const ptrdiff_t width = task.dst.width;
    for (int lane = 0; lane < lanes; ++lane) {
        ptrdiff_t x = step - lane * block;
        if (x < 0 || x >= width)
            continue;
        uint32_t byte = 0;
        for (int i = 0; i < block; ++i)
            byte = byte << 1 | uint32_t(codes[i][lane]);
        if (width - x < block)
            byte &= 0xFF00u >> (width - x);
        *task.target(x, row + lane) = uint8_t(byte);
    }
}

using StageBlocks = void (*)(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*values)[lanes]);
using StoreBlocks = void (*)(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes]);

StageBlocks stagerOf(OwnDepthIndex depth)
{
    return depth == OWN_8U ? stagePixels<uint8_t> : depth == OWN_16U ? stagePixels<uint16_t> : stagePixels<int32_t>;
}

StoreBlocks blockStorerOf(OwnDepthIndex depth)
{
    switch (depth) {
    case OWN_1U: return storeBitBlocks;
    case OWN_8U: return storeBlocks<uint8_t>;
    case OWN_16U: return storeBlocks<uint16_t>;
    default: return storeBlocks<int32_t>;
    }
}

// Rows row to row + 7. The errors of the last two take the place of those of the rows before them.
template <class Filter, OwnLevelForm form>
void diffuseEight(const Task& task, ptrdiff_t row, OwnErrorRows& errors)
{
    const OwnQuantiser q = task.dither.quantiser;
    const StageBlocks stage = stagerOf(task.dither.from);
    const StoreBlocks store = blockStorerOf(task.dither.to);
    const ptrdiff_t steps = (task.dst.width + block - 1) / block * block + (lanes - 1) * block;
    float *const above = errors.rows[0], *const above2 = errors.rows[1];
    alignas(64) double values[block][lanes], thresholds[block][lanes];
    alignas(64) float made[block][lanes];
    alignas(64) int32_t codes[block][lanes];
    Past past;
    memset(past.above, 0, sizeof past.above[0] * Past::kept);
    memset(past.above2, 0, sizeof past.above2[0] * Past::kept);
    for (int i = 0; i < Past::kept; ++i) {
        past.above[i][0] = double(above[i - Past::kept + block]);
        past.above2[i][0] = double(above2[i - Past::kept + 2 * block]);
        past.above2[i][1] = past.above[i][0];
    }
    int now = Past::kept;
    stageThresholds(task, row, 0, thresholds);
    Lanes last = {}, last2 = {};
    for (ptrdiff_t step = 0; step < steps; step += block) {
        stage(task, row, step, values);
        if (task.dither.noise.values)
            stageThresholds(task, row, step, thresholds);
        for (int i = 0; i < block; ++i, ++now) {
            Lanes value = Filter::withErrors(
                Lanes::of(values[i]), [&](int k) { return Lanes::of(past.above2[now - 2 * block + k]); },
                [&](int k) { return Lanes::of(past.above[now - block + k]); },
                [&](int k) { return k == -1 ? last : last2; });
            Lanes limit = Lanes::of(thresholds[i]);
            auto low = quantised<form>(q, value.low, limit.low);
            auto high = quantised<form>(q, value.high, limit.high);
            _mm256_store_si256(reinterpret_cast<__m256i*>(codes[i]), Lanes{low.code, high.code}.integers());
            // From half to half: the next pixel waits for nothing else.
            __m128 lowError = _mm256_cvtpd_ps(low.error), highError = _mm256_cvtpd_ps(high.error);
            last2 = last;
            last = {_mm256_cvtps_pd(lowError), _mm256_cvtps_pd(highError)};
            __m256 error = _mm256_set_m128(highError, lowError);
            _mm256_store_ps(made[i], error);
            error = moved(error, above + step + i + block);
            Lanes::of(error).store(past.above[now]);
            if (Filter::rowsAbove > 1)
                Lanes::of(moved(error, above2 + step + i + 2 * block)).store(past.above2[now]);
        }
        store(task, row, step, codes);
        // Before a lane has come to its row, and behind the row, it leaves zeros.
        for (ptrdiff_t i = 0; i < block; ++i) {
            above[step - (lanes - 1) * block + i] = made[i][lanes - 1];
            above2[step - (lanes - 2) * block + i] = made[i][lanes - 2];
        }
        if (now + block > Past::room) {
            past.forget(now);
            now = Past::kept;
        }
    }
}

#endif

template <class Filter, OwnLevelForm form>
void diffuseRows(const Task& task, OwnErrorRows& errors)
{
    ptrdiff_t row = 0;
#if defined(__AVX2__)
    if (task.dst.width >= block)
        for (; row + lanes <= task.dst.height; row += lanes)
            diffuseEight<Filter, form>(task, row, errors);
#endif
    for (; row < task.dst.height; ++row)
        diffuseRow<Filter, form>(task, row, errors);
}

template <class Filter>
void diffuse(const OwnDither& dither, const OwnGeometry& src, const OwnGeometry& dst, uint32_t channel, uint32_t y,
             OwnErrorRows& errors)
{
    const Task task = {dither, src, dst, channel, y};
    switch (dither.quantiser.form) {
    case OwnLevelForm::bits: return diffuseRows<Filter, OwnLevelForm::bits>(task, errors);
    case OwnLevelForm::codes: return diffuseRows<Filter, OwnLevelForm::codes>(task, errors);
    default: return diffuseRows<Filter, OwnLevelForm::scaled>(task, errors);
    }
}

}  // namespace

extern const OwnDiffuseKernels ownDiffuseKernels;
const OwnDiffuseKernels ownDiffuseKernels = {{diffuse<FloydSteinberg>, diffuse<Jarvis>, diffuse<Stucki>}};

}  // namespace OWN_ISA
