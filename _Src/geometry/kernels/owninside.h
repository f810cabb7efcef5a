// For kernel sources only: places straight from what makes positions, where all of them lie inside of the image for
// certain. The positions are not stored, and no more precise than the places need them.
#pragma once

#include "ownplaces.h"

#if defined(OWN_ISA) && defined(__AVX2__)
namespace OWN_ISA {
namespace {

// ---- Single precision ----------------------------------------------------------------------------------------------

// Products with a power of two are exact.
template <int parts>
inline __m256i fixedPositions(__m256 values)
{
    return _mm256_cvtps_epi32(_mm256_mul_ps(values, _mm256_set1_ps(parts)));
}

// A range whose limits single precision has, and whether all positions so far lie in it.
class FloatRange {
public:
    explicit FloatRange(const OwnPositionRange& range)
        : left(_mm256_set1_ps(float(range.left))),
          top(_mm256_set1_ps(float(range.top))),
          right(_mm256_set1_ps(float(range.right))),
          bottom(_mm256_set1_ps(float(range.bottom)))
    {
    }
    OWN_ALWAYS void test(__m256 x, __m256 y)
    {
        const __m256 xIn = _mm256_and_ps(_mm256_cmp_ps(x, left, _CMP_GE_OQ), _mm256_cmp_ps(x, right, _CMP_LE_OQ)),
                     yIn = _mm256_and_ps(_mm256_cmp_ps(y, top, _CMP_GE_OQ), _mm256_cmp_ps(y, bottom, _CMP_LE_OQ));
        inside = _mm256_and_ps(inside, _mm256_and_ps(xIn, yIn));
    }
    bool hasAll() const { return _mm256_movemask_ps(inside) == 255; }

private:
    __m256 left, top, right, bottom, inside = _mm256_castsi256_ps(_mm256_set1_epi32(-1));
};

// ---- What makes positions -----------------------------------------------------------------------------------------

// The running sums of a linear map, of eight rows. They never turn round: what is between the first and the last lies
// between them.
class LinearRows {
public:
    LinearRows(const OwnPositionState& state, const OwnPositionRange& range) : range(range)
    {
        for (int half = 0; half < 2; ++half) {
            x[half] = _mm256_loadu_pd(state.value[0] + 4 * half);
            y[half] = _mm256_loadu_pd(state.value[1] + 4 * half);
            xStep[half] = _mm256_loadu_pd(state.step[0] + 4 * half);
            yStep[half] = _mm256_loadu_pd(state.step[1] + 4 * half);
        }
    }
    // Asked before the first position and after the last one: false if some may lie elsewhere.
    OWN_ALWAYS bool lieInside() const
    {
        const __m256d in = _mm256_and_pd(
            _mm256_and_pd(halfLiesIn(x[0], range.left, range.right), halfLiesIn(x[1], range.left, range.right)),
            _mm256_and_pd(halfLiesIn(y[0], range.top, range.bottom), halfLiesIn(y[1], range.top, range.bottom)));
        return _mm256_movemask_pd(in) == 15;
    }
    template <int parts>
    __attribute__((target("fma"))) OWN_ALWAYS FixedEight next()
    {
        const FixedEight fixed = {fixedPositions<parts>(x[0], x[1]), fixedPositions<parts>(y[0], y[1])};
        for (int half = 0; half < 2; ++half) {
            x[half] = _mm256_add_pd(x[half], xStep[half]);
            y[half] = _mm256_add_pd(y[half], yStep[half]);
        }
        return fixed;
    }
    void save(OwnPositionState& state) const
    {
        for (int half = 0; half < 2; ++half) {
            _mm256_storeu_pd(state.value[0] + 4 * half, x[half]);
            _mm256_storeu_pd(state.value[1] + 4 * half, y[half]);
        }
    }

private:
    const OwnPositionRange& range;
    __m256d x[2], y[2], xStep[2], yStep[2];

    static OWN_ALWAYS __m256d halfLiesIn(__m256d values, double low, double high)
    {
        return _mm256_and_pd(_mm256_cmp_pd(values, _mm256_set1_pd(low), _CMP_GE_OQ),
                             _mm256_cmp_pd(values, _mm256_set1_pd(high), _CMP_LE_OQ));
    }
};

// The way back through a bilinear map, of eight rows in the order of wholeNumbers().
class RootRows {
public:
    RootRows(const OwnPositionState& state, const OwnPositionRange& range)
        : range(range),
          root(_mm256_set1_pd(state.upperRoot ? 1 : -1)),
          e(_mm256_set1_pd(state.e)),
          f(_mm256_set1_pd(state.f))
    {
        for (int half = 0; half < 2; ++half)
            for (int k = 0; k < 3; ++k) {
                value[half][k] = lanesOf(state.value[k] + 2 * half);
                step[half][k] = lanesOf(state.step[k] + 2 * half);
            }
    }
    bool lieInside() const { return range.hasAll(); }
    template <int parts>
    __attribute__((target("fma"))) OWN_ALWAYS FixedEight next()
    {
        const Four first = nextFour(0), second = nextFour(1);
        const __m256 x = _mm256_set_m128(second.x, first.x), y = _mm256_set_m128(second.y, first.y);
        range.test(x, y);
        return {fixedPositions<parts>(x), fixedPositions<parts>(y)};
    }
    void save(OwnPositionState& state) const
    {
        for (int half = 0; half < 2; ++half)
            for (int k = 0; k < 3; ++k) {
                _mm_storeu_pd(state.value[k] + 2 * half, _mm256_castpd256_pd128(value[half][k]));
                _mm_storeu_pd(state.value[k] + 2 * half + 4, _mm256_extractf128_pd(value[half][k], 1));
            }
    }

private:
    struct Four {
        __m128 x, y;
    };

    FloatRange range;
    __m256d root, e, f, value[2][3], step[2][3];

    static __m256d lanesOf(const double* rows) { return _mm256_set_m128d(_mm_loadu_pd(rows + 4), _mm_loadu_pd(rows)); }
    OWN_ALWAYS Four nextFour(int half)
    {
        const __m256d b = value[half][0], c = value[half][1], d = value[half][2];
        const __m256d u = _mm256_add_pd(b, _mm256_mul_pd(root, _mm256_sqrt_pd(_mm256_sub_pd(_mm256_mul_pd(b, b), c))));
        const __m256d x = _mm256_add_pd(u, f), y = _mm256_add_pd(_mm256_mul_pd(u, e), d);
        for (int k = 0; k < 3; ++k)
            value[half][k] = _mm256_add_pd(value[half][k], step[half][k]);
        return {_mm256_cvtpd_ps(x), _mm256_cvtpd_ps(y)};
    }
};

// ---- Lists --------------------------------------------------------------------------------------------------------

// Sampler::prepareRows; Places is what the method makes of positions.
template <class Rows, class Places>
__attribute__((target("fma"))) bool prepareRows(const OwnSampleSource& source, OwnPositionState& state, int columns,
                                                const OwnPositionRange& range, OwnSamplePlaces& places)
{
    Rows rows(state, range);
    if (!Places::suits(source) || !rows.lieInside())
        return false;
    Places made(source, places);
    for (int i = 0; i < columns; i += 2) {
        const FixedEight first = rows.template next<Places::parts>();
        made.take(i * ownPositionRows, first, rows.template next<Places::parts>());
    }
    if (!rows.lieInside() || !made.areRight())
        return false;
    rows.save(state);
    return true;
}

// Eight numbers of a row of floats, in the order of wholeNumbers().
inline __m256 eightFloats(const uint8_t* row, ptrdiff_t i)
{
    const __m256i floats = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + i * 4));
    return _mm256_castsi256_ps(_mm256_permute4x64_epi64(floats, 0xD8));
}

template <class Places>
bool prepareFloatRows(const OwnSampleSource& source, const OwnFloatRows& rows, const OwnPositionRange& range,
                      OwnSamplePlaces& places)
{
    if (!Places::suits(source) || rows.columns % 16)
        return false;
    Places made(source, places);
    FloatRange inside(range);
    auto eightAt = [&](const uint8_t* xs, const uint8_t* ys, ptrdiff_t i) OWN_ALWAYS {
        const __m256 x = eightFloats(xs, i), y = eightFloats(ys, i);
        inside.test(x, y);
        return FixedEight{fixedPositions<Places::parts>(x), fixedPositions<Places::parts>(y)};
    };
    for (ptrdiff_t row = 0; row < ownPositionRows; ++row) {
        const uint8_t *const xs = rows.x + row * rows.xStep, *const ys = rows.y + row * rows.yStep;
        for (ptrdiff_t i = 0; i < rows.columns; i += 16) {
            const FixedEight first = eightAt(xs, ys, i);
            made.take(row * rows.columns + i, first, eightAt(xs, ys, i + 8));
        }
    }
    return inside.hasAll() && made.areRight();
}

}  // namespace
}  // namespace OWN_ISA
#endif
