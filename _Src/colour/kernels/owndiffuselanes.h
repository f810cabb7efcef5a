// For the kernel sources of error diffusion: many rows at once, one a lane of vectors, each a few pixels behind the row
// above.
#pragma once

#include <immintrin.h>
#include <string.h>

#include "owndiffusefilters.h"

namespace OWN_ISA {
namespace {

// The pixels that a row is behind the one above it, whose errors it needs up to two pixels on. Rows go by blocks of as
// many.
constexpr int block = 4;

// ---- Lanes --------------------------------------------------------------------------------------------------------

// One number for each of 4 n rows.
template <int n>
struct Lanes {
    Four part[n];

    template <class Part>
    static __attribute__((always_inline)) Lanes each(Part partOf)
    {
        Lanes lanes;
#pragma GCC unroll 4
        for (int i = 0; i < n; ++i)
            lanes.part[i] = partOf(i);
        return lanes;
    }
    static Lanes of(const double* values)
    {
        return each([=](int i) { return Four(_mm256_load_pd(values + 4 * i)); });
    }
};
template <int n>
inline Lanes<n> operator+(const Lanes<n>& a, const Lanes<n>& b)
{
    return Lanes<n>::each([&](int i) { return a.part[i] + b.part[i]; });
}
template <int n>
inline Lanes<n> operator*(const Lanes<n>& a, double b)
{
    return Lanes<n>::each([&](int i) { return a.part[i] * b; });
}
template <int n>
inline Lanes<n> withError(const Lanes<n>& sum, const Lanes<n>& error, double weight)
{
    const __m256d w = _mm256_set1_pd(weight);
    return Lanes<n>::each([&](int i) { return Four(_mm256_fmadd_pd(error.part[i], w, sum.part[i])); });
}

// Each lane takes what the lane before it had, the first one a new value.
template <int n>
inline __attribute__((always_inline)) void moveLanes(__m256 (&lanes)[n], const float* first)
{
    const __m256i before = _mm256_setr_epi32(7, 0, 1, 2, 3, 4, 5, 6);
    __m256 entering = _mm256_broadcast_ss(first);
#pragma GCC unroll 2
    for (__m256& eight : lanes) {
        __m256 turned = _mm256_permutevar8x32_ps(eight, before);
        eight = _mm256_blend_ps(turned, entering, 1);
        entering = turned;
    }
}

template <int n>
inline __attribute__((always_inline)) void storeWide(const __m256 (&lanes)[n], double* values)
{
#pragma GCC unroll 2
    for (int i = 0; i < n; ++i) {
        _mm256_store_pd(values + 8 * i, _mm256_cvtps_pd(_mm256_castps256_ps128(lanes[i])));
        _mm256_store_pd(values + 8 * i + 4, _mm256_cvtps_pd(_mm256_extractf128_ps(lanes[i], 1)));
    }
}

// What the rows above left behind, by the step at which it was made, for a while. At a step a lane needs the errors of
// the row above from a block ago, and those of the row above that from two blocks ago.
template <int lanes>
struct Past {
    static constexpr int kept = 3 * block;
    static constexpr int room = kept + 16 * block;

    alignas(64) double above[room][lanes];   // each lane's errors are those of the row above it
    alignas(64) double above2[room][lanes];  // and two rows above it

    // Before the first step only the first lanes have something above them.
    Past(const float* errors, const float* errors2)
    {
        memset(above, 0, sizeof above[0] * kept);
        memset(above2, 0, sizeof above2[0] * kept);
        for (int i = 0; i < kept; ++i) {
            above[i][0] = above2[i][1] = double(errors[i - kept + block]);
            above2[i][0] = double(errors2[i - kept + 2 * block]);
        }
    }
    void forget(int from)
    {
        memcpy(above, above[from - kept], sizeof above[0] * kept);
        memcpy(above2, above2[from - kept], sizeof above2[0] * kept);
    }
};

// ---- Pixels -------------------------------------------------------------------------------------------------------

// True if every lane has a whole block of pixels that lie side by side.
template <int lanes>
inline bool isInside(const Task& task, ptrdiff_t step, ptrdiff_t pixelStep)
{
    return pixelStep == 1 && step >= (lanes - 1) * block && step + block <= task.dst.width;
}

inline __m256d fourAt(const uint8_t* p)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu8_epi32(_mm_cvtsi32_si128(ownLoad<int32_t>(p))));
}
inline __m256d fourAt(const uint16_t* p)
{
    return _mm256_cvtepi32_pd(_mm_cvtepu16_epi32(_mm_loadl_epi64(reinterpret_cast<const __m128i*>(p))));
}
inline __m256d fourAt(const int32_t* p)
{
    return _mm256_cvtepi32_pd(_mm_loadu_si128(reinterpret_cast<const __m128i*>(p))) + 2147483648.0;
}

// A block of a row. What is not a pixel lies beyond every image's brightest value, whatever error comes to it, and so
// leaves no error.
template <class S>
inline __m256d blockAt(const Task& task, ptrdiff_t x, ptrdiff_t row)
{
    constexpr double noPixel = 1e300;
    alignas(32) double pixels[block] = {noPixel, noPixel, noPixel, noPixel};
    if (x >= 0)
        for (ptrdiff_t i = 0; i < block && i < task.dst.width - x; ++i)
            pixels[i] = brightnessOf(ownLoad<S>(task.source(x + i, row)));
    return _mm256_load_pd(pixels);
}

template <int lanes, class Block>
inline __attribute__((always_inline)) void transposeBlocks(double (*values)[lanes], Block blockOf)
{
    for (int lane = 0; lane < lanes; lane += 4) {
        const __m256d a = blockOf(lane), b = blockOf(lane + 1), c = blockOf(lane + 2), d = blockOf(lane + 3);
        const __m256d evenAB = _mm256_unpacklo_pd(a, b), oddAB = _mm256_unpackhi_pd(a, b);
        const __m256d evenCD = _mm256_unpacklo_pd(c, d), oddCD = _mm256_unpackhi_pd(c, d);
        _mm256_store_pd(values[0] + lane, _mm256_permute2f128_pd(evenAB, evenCD, 0x20));
        _mm256_store_pd(values[1] + lane, _mm256_permute2f128_pd(oddAB, oddCD, 0x20));
        _mm256_store_pd(values[2] + lane, _mm256_permute2f128_pd(evenAB, evenCD, 0x31));
        _mm256_store_pd(values[3] + lane, _mm256_permute2f128_pd(oddAB, oddCD, 0x31));
    }
}

// The values of the rows at the steps of a block: in each lane another block.
template <class S, int lanes>
void stagePixels(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*values)[lanes])
{
    if (isInside<lanes>(task, step, task.src.pixelStep)) {
        const uint8_t* first = task.source(step, row);
        const ptrdiff_t next = task.src.rowStep - block * ptrdiff_t(sizeof(S));
        transposeBlocks<lanes>(values,
                               [=](int lane) { return fourAt(reinterpret_cast<const S*>(first + lane * next)); });
    } else {
        transposeBlocks<lanes>(values, [&](int lane) { return blockAt<S>(task, step - lane * block, row + lane); });
    }
}

template <int lanes>
void stageThresholds(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*thresholds)[lanes])
{
    for (int lane = 0; lane < lanes; ++lane)
        for (int i = 0; i < block; ++i)
            thresholds[i][lane] = task.threshold(step + i - lane * block, row + lane);
}

// ---- Codes --------------------------------------------------------------------------------------------------------

inline void storeFour(uint8_t* p, __m128i codes)
{
    ownStore<int32_t>(p, 0, _mm_cvtsi128_si32(_mm_shuffle_epi8(codes, _mm_set1_epi32(0x0C080400))));
}
inline void storeFour(uint16_t* p, __m128i codes)
{
    _mm_storel_epi64(reinterpret_cast<__m128i*>(p), _mm_packus_epi32(codes, codes));
}
inline void storeFour(int32_t* p, __m128i codes)
{
    _mm_storeu_si128(reinterpret_cast<__m128i*>(p), codes);
}

inline __m128 codesAt(const int32_t* codes)
{
    return _mm_castsi128_ps(_mm_load_si128(reinterpret_cast<const __m128i*>(codes)));
}

template <class D, int lanes>
void storeBlocks(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes], uint32_t*)
{
    if (isInside<lanes>(task, step, task.dst.pixelStep)) {
        uint8_t* to = task.target(step, row);
        const ptrdiff_t next = task.dst.rowStep - block * ptrdiff_t(sizeof(D));
        for (int lane = 0; lane < lanes; lane += 4) {
            __m128 a = codesAt(codes[0] + lane), b = codesAt(codes[1] + lane);
            __m128 c = codesAt(codes[2] + lane), d = codesAt(codes[3] + lane);
            _MM_TRANSPOSE4_PS(a, b, c, d);
            const __m128 fours[4] = {a, b, c, d};
            for (__m128 four : fours) {
                storeFour(reinterpret_cast<D*>(to), _mm_castps_si128(four));
                to += next;
            }
        }
        return;
    }
    for (int lane = 0; lane < lanes; ++lane)
        if (ptrdiff_t x = step - lane * block; x >= 0)
            for (ptrdiff_t i = 0; i < block && i < task.dst.width - x; ++i)
                ownStore<D>(task.target(x + i, row + lane), 0, D(codes[i][lane]));
}

// Two blocks are a byte; `pending` keeps the bits of the lanes.
template <int lanes>
void storeBitBlocks(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes], uint32_t* pending)
{
    for (int lane = 0; lane < lanes; ++lane) {
        int32_t four = codes[0][lane] << 3 | codes[1][lane] << 2 | codes[2][lane] << 1 | codes[3][lane];
        pending[lane] = pending[lane] << block | uint32_t(four);
    }
    const ptrdiff_t width = task.dst.width;
    const int firstWhole = step & block ? 0 : 1;                   // the lanes that have whole bytes now
    if (isInside<lanes>(task, step, 1) && step + block < width) {  // no row ends with half a byte
        uint8_t* to = task.target(step - firstWhole * block, row + firstWhole);
        for (int lane = firstWhole; lane < lanes; lane += 2) {
            *to = uint8_t(pending[lane]);
            to += 2 * task.dst.rowStep - 1;
        }
        return;
    }
    for (int lane = 0; lane < lanes; ++lane) {
        ptrdiff_t x = step - lane * block, left = width - x;
        bool whole = (lane & 1) == firstWhole;
        if (x < 0 || left <= 0 || (!whole && left > block))
            continue;
        uint32_t bits = whole ? pending[lane] : pending[lane] << block;
        int missing = left < block ? int(block - left) : 0;
        *task.target(x, row + lane) = uint8_t(bits & 0xFFu << (missing + (whole ? 0 : block)));
    }
}

template <int lanes>
using StageBlocks = void (*)(const Task& task, ptrdiff_t row, ptrdiff_t step, double (*values)[lanes]);
template <int lanes>
using StoreBlocks = void (*)(const Task& task, ptrdiff_t row, ptrdiff_t step, const int32_t (*codes)[lanes],
                             uint32_t* pending);

template <int lanes>
StageBlocks<lanes> stagerOf(OwnDepthIndex depth)
{
    return depth == OWN_8U    ? stagePixels<uint8_t, lanes>
           : depth == OWN_16U ? stagePixels<uint16_t, lanes>
                              : stagePixels<int32_t, lanes>;
}

template <int lanes>
StoreBlocks<lanes> blockStorerOf(OwnDepthIndex depth)
{
    switch (depth) {
    case OWN_1U: return storeBitBlocks<lanes>;
    case OWN_8U: return storeBlocks<uint8_t, lanes>;
    case OWN_16U: return storeBlocks<uint16_t, lanes>;
    default: return storeBlocks<int32_t, lanes>;
    }
}

// ---- The rows -----------------------------------------------------------------------------------------------------

// As many rows as there are lanes, from `row` on. The errors of the last two take the place of those of the rows before
// them.
template <class Filter, OwnLevelForm form, int lanes>
void diffuseTogether(const Task& task, ptrdiff_t row, OwnErrorRows& errors)
{
    constexpr int parts = lanes / 4;
    using Pixels = Lanes<parts>;
    const OwnQuantiser q = task.dither.quantiser;
    const auto stage = stagerOf<lanes>(task.dither.from);
    const auto store = blockStorerOf<lanes>(task.dither.to);
    const ptrdiff_t steps = (task.dst.width + block - 1) / block * block + (lanes - 1) * block;
    float *const above = errors.rows[0], *const above2 = errors.rows[1];
    alignas(64) double values[block][lanes], thresholds[block][lanes];
    alignas(64) int32_t codes[block][lanes];
    uint32_t pending[lanes] = {};
    Past<lanes> past(above, above2);
    int now = past.kept;
    Pixels last = {}, last2 = {};
    stageThresholds<lanes>(task, row, 0, thresholds);
    for (ptrdiff_t step = 0; step < steps; step += block) {
        stage(task, row, step, values);
        if (task.dither.noise.values)
            stageThresholds<lanes>(task, row, step, thresholds);
        for (int i = 0; i < block; ++i, ++now) {
            Pixels value = Filter::withErrors(
                Pixels::of(values[i]), [&](int k) { return Pixels::of(past.above2[now - 2 * block + k]); },
                [&](int k) { return Pixels::of(past.above[now - block + k]); },
                [&](int k) { return k == -1 ? last : last2; });
            last2 = last;
            __m128 error[parts];
#pragma GCC unroll 4
            for (int k = 0; k < parts; ++k) {
                auto level = quantised<form>(q, value.part[k], Four(_mm256_load_pd(thresholds[i] + 4 * k)));
                error[k] = _mm256_cvtpd_ps(level.error);
                last.part[k] = _mm256_cvtps_pd(error[k]);
                _mm_store_si128(reinterpret_cast<__m128i*>(codes[i] + 4 * k), _mm256_cvttpd_epi32(level.code));
            }
            // Before the last lanes have come to their rows, and behind the rows, they leave zeros.
            ptrdiff_t x = step + i;
            alignas(16) float end[4];
            _mm_store_ps(end, error[parts - 1]);
            __m256 moved[parts / 2];
#pragma GCC unroll 2
            for (int k = 0; k < parts / 2; ++k)
                moved[k] = _mm256_set_m128(error[2 * k + 1], error[2 * k]);
            moveLanes(moved, above + x + block);
            storeWide(moved, past.above[now]);
            if (Filter::rowsAbove > 1) {
                moveLanes(moved, above2 + x + 2 * block);
                storeWide(moved, past.above2[now]);
                above2[x - (lanes - 2) * block] = end[2];
            }
            above[x - (lanes - 1) * block] = end[3];
        }
        store(task, row, step, codes, pending);
        if (now + block > past.room) {
            past.forget(now);
            now = past.kept;
        }
    }
}

}  // namespace
}  // namespace OWN_ISA
