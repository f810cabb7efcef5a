#include "ownposition.h"

namespace OWN_ISA {
namespace {

using Lanes = Vector<double>;
using Marks = decltype(Lanes() < Lanes());
constexpr int lanes = int(vectorBytes / 8);
constexpr int parts = ownPositionRows / lanes;

inline Lanes lanesAt(const double* values, ptrdiff_t i = 0)
{
    return vectorAt<double>(values, i);
}

inline void store(double* to, Lanes values)
{
    __builtin_memcpy(to, &values, sizeof values);
}

inline bool allSet(Marks marks)
{
    auto all = marks[0];
    for (int i = 1; i < lanes; ++i)
        all &= marks[i];
    return all != 0;
}

inline Lanes lesser(Lanes a, Lanes b)
{
    return a < b ? a : b;
}

inline Lanes greater(Lanes a, Lanes b)
{
    return a > b ? a : b;
}

// ---- Linear functions ---------------------------------------------------------------------------------------------

// A running sum of equal steps never turns round: what is between the first and the last lies between them.
bool produceLinear(OwnPositionState& state, int columns, const OwnPositionRange& range, double* x, double* y)
{
    Lanes px[parts], py[parts], xStep[parts], yStep[parts];
    Marks certain[2] = {};
    for (int p = 0; p < parts; ++p) {
        px[p] = lanesAt(state.value[0], p * lanes);
        py[p] = lanesAt(state.value[1], p * lanes);
        xStep[p] = lanesAt(state.step[0], p * lanes);
        yStep[p] = lanesAt(state.step[1], p * lanes);
    }
    auto test = [&](Marks& marks) {
        marks = px[0] >= range.left;
        for (int p = 0; p < parts; ++p)
            marks &= (px[p] >= range.left) & (px[p] <= range.right) & (py[p] >= range.top) & (py[p] <= range.bottom);
    };
    test(certain[0]);
    for (int i = 0; i < columns; ++i)
        for (int p = 0; p < parts; ++p) {
            store(x + i * ownPositionRows + p * lanes, px[p]);
            store(y + i * ownPositionRows + p * lanes, py[p]);
            px[p] += xStep[p];
            py[p] += yStep[p];
        }
    test(certain[1]);
    for (int p = 0; p < parts; ++p) {
        store(state.value[0] + p * lanes, px[p]);
        store(state.value[1] + p * lanes, py[p]);
    }
    return allSet(certain[0] & certain[1]);
}

// ---- Perspective --------------------------------------------------------------------------------------------------

// Between the first and the last pixel numerator and denominator lie between their values there. If both denominators
// have one sign, so do the quotients lie between those of the four pairs, but for a few bits; and the products of four
// denominators neither overflow nor vanish.
inline Marks isCertain(Lanes first, Lanes last, Lanes w0, Lanes w1, double low, double high)
{
    constexpr double slack = 1e-12;
    const Lanes inverse0 = 1 / w0, inverse1 = 1 / w1;
    const Lanes a = first * inverse0, b = first * inverse1, c = last * inverse0, d = last * inverse1;
    const Lanes least = lesser(lesser(a, b), lesser(c, d)), most = greater(greater(a, b), greater(c, d));
    return (least * (1 - slack) >= low) & (most * (1 + slack) <= high);
}

inline Marks isSafeDenominator(Lanes w0, Lanes w1)
{
    constexpr double least = 1e-60, most = 1e60;
    const Marks positive = (w0 > least) & (w1 > least) & (w0 < most) & (w1 < most);
    const Marks negative = (w0 < -least) & (w1 < -least) & (w0 > -most) & (w1 > -most);
    return positive | negative;
}

// One division serves four pixels: with r the inverse of the product of their denominators, each one's inverse is r
// times the product of the other three. What lies beyond the end of a row has no part in it.
bool producePerspective(OwnPositionState& state, int columns, const OwnPositionRange& range, double* x, double* y)
{
    Marks certain = {};
    certain = ~certain;
    for (int p = 0; p < parts; ++p) {
        const int lane = p * lanes;
        Lanes nx = lanesAt(state.value[0], lane), ny = lanesAt(state.value[1], lane), w = lanesAt(state.value[2], lane);
        const Lanes xStep = lanesAt(state.step[0], lane), yStep = lanesAt(state.step[1], lane),
                    wStep = lanesAt(state.step[2], lane), wGroup = wStep * 4;
        const Lanes left = lanesAt(state.left, lane), firstX = nx, firstY = ny, firstW = w;
        double shortest = left[0];
        for (int i = 1; i < lanes; ++i)
            shortest = left[i] < shortest ? left[i] : shortest;
        for (int i = 0; i < columns; i += 4) {
            Lanes w0 = w, w1 = w0 + wStep, w2 = w1 + wStep, w3 = w2 + wStep;
            w += wGroup;
            if (i + 4 > shortest) {
                const Lanes one = Lanes{} + 1, rest = left - i;
                w1 = rest > 1 ? w1 : one;
                w2 = rest > 2 ? w2 : one;
                w3 = rest > 3 ? w3 : one;
            }
            const Lanes former = w0 * w1, latter = w2 * w3, r = 1 / (former * latter);
            const Lanes formerR = latter * r, latterR = former * r;
            const Lanes inverse[4] = {w1 * formerR, w0 * formerR, w3 * latterR, w2 * latterR};
            for (int k = 0; k < 4; ++k) {
                store(x + (i + k) * ownPositionRows + lane, nx * inverse[k]);
                store(y + (i + k) * ownPositionRows + lane, ny * inverse[k]);
                nx += xStep;
                ny += yStep;
            }
        }
        certain &= isSafeDenominator(firstW, w) & isCertain(firstX, nx, firstW, w, range.left, range.right) &
                   isCertain(firstY, ny, firstW, w, range.top, range.bottom);
        store(state.value[0] + lane, nx);
        store(state.value[1] + lane, ny);
        store(state.value[2] + lane, w);
        store(state.left + lane, left - columns);
        // The last group of a row counts denominators of 1.
        certain &= left >= columns;
    }
    return allSet(certain);
}

// ---- The ways back through a bilinear map -------------------------------------------------------------------------

inline Lanes squareRoot(Lanes values)
{
#if defined(__AVX2__)
    return _mm256_sqrt_pd(values);
#elif defined(__SSE2__)
    return _mm_sqrt_pd(values);
#else
    for (int i = 0; i < lanes; ++i)
        values[i] = __builtin_sqrt(values[i]);
    return values;
#endif
}

inline Lanes throughFloat(Lanes values)
{
    typedef float Floats __attribute__((vector_size(lanes * 4)));
    return __builtin_convertvector(__builtin_convertvector(values, Floats), Lanes);
}

template <OwnMapKind kind>
bool produceInverse(OwnPositionState& state, int columns, const OwnPositionRange&, double* x, double* y)
{
    const double root = state.upperRoot ? 1 : -1;
    for (int p = 0; p < parts; ++p) {
        const int lane = p * lanes;
        Lanes b = lanesAt(state.value[0], lane), c = lanesAt(state.value[1], lane), d = lanesAt(state.value[2], lane);
        const Lanes bStep = lanesAt(state.step[0], lane), cStep = lanesAt(state.step[1], lane),
                    dStep = lanesAt(state.step[2], lane);
        for (int i = 0; i < columns; ++i) {
            Lanes px, py;
            if constexpr (kind == OWN_MAP_INVERSE_GENERAL) {
                const Lanes u = b + root * squareRoot(b * b - c);
                px = u + state.f;
                py = u * state.e + d;
            } else if constexpr (kind == OWN_MAP_INVERSE_ROWS) {
                px = c / b + state.f;
                py = d;
            } else if constexpr (kind == OWN_MAP_INVERSE_COLUMNS) {
                px = c;
                py = d / b + state.f;
            } else {
                px = c;
                py = d;
            }
            store(x + i * ownPositionRows + lane, throughFloat(px));
            store(y + i * ownPositionRows + lane, throughFloat(py));
            b += bStep;
            c += cStep;
            d += dStep;
        }
        store(state.value[0] + lane, b);
        store(state.value[1] + lane, c);
        store(state.value[2] + lane, d);
    }
    return false;
}

// ---- Lists --------------------------------------------------------------------------------------------------------

// Numbers i of a row of floats, as many as a vector of doubles has.
inline Lanes floatsAt(const void* values, ptrdiff_t i)
{
    typedef float Floats __attribute__((vector_size(lanes * 4)));
    Floats floats;
    __builtin_memcpy(&floats, static_cast<const char*>(values) + i * 4, sizeof floats);
    return __builtin_convertvector(floats, Lanes);
}

inline Marks lieIn(Lanes x, Lanes y, const OwnPositionRange& range)
{
    return (x >= range.left) & (x <= range.right) & (y >= range.top) & (y <= range.bottom);
}

bool fromFloats(const void* xs, const void* ys, double* x, double* y, ptrdiff_t n, const OwnPositionRange& range)
{
    Marks all = {};
    all = ~all;
    ptrdiff_t i = 0;
    for (; i + lanes <= n; i += lanes) {
        const Lanes px = floatsAt(xs, i), py = floatsAt(ys, i);
        store(x + i, px);
        store(y + i, py);
        all &= lieIn(px, py, range);
    }
    bool certain = allSet(all);
    for (; i < n; ++i) {
        x[i] = double(ownLoad<float>(xs, i));
        y[i] = double(ownLoad<float>(ys, i));
        certain = false;
    }
    return certain;
}

bool inside(const double* x, const double* y, ptrdiff_t n, const OwnPositionRange& range)
{
    Marks all = {};
    all = ~all;
    for (ptrdiff_t i = 0; i < n; i += lanes) {
        const Lanes px = lanesAt(x, i), py = lanesAt(y, i);
        all &= lieIn(px, py, range);
    }
    return allSet(all);
}

// A byte for each lane, 1 where it is set.
inline void storeMarks(uint8_t* to, Marks marks)
{
#if defined(__AVX2__)
    const uint32_t bytes = _pdep_u32(uint32_t(_mm256_movemask_pd((__m256d)marks)), 0x01010101);
    __builtin_memcpy(to, &bytes, sizeof bytes);
#else
    for (int i = 0; i < lanes; ++i)
        to[i] = uint8_t(marks[i] & 1);
#endif
}

// What is not a number is not above the lower limit.
inline Lanes moved(Lanes values, double low, double high)
{
    const Lanes lowest = Lanes{} + low, highest = Lanes{} + high;
#if defined(__AVX2__)
    return _mm256_min_pd(_mm256_max_pd(values, lowest), highest);
#else
    values = values > lowest ? values : lowest;
    return values < highest ? values : highest;
#endif
}

OwnConfined confine(double* x, double* y, ptrdiff_t n, const OwnPositionRange& range, const OwnPositionRange& limits,
                    uint8_t* marks)
{
    ptrdiff_t i = 0;
    while (i < n && inside(x + i, y + i, ownPositionGroup, limits))
        i += ownPositionGroup;
    if (i == n)
        return OWN_CONFINED_ALL;
    __builtin_memset(marks, 1, size_t(i));
    Marks none = {};
    none = ~none;
    const bool some = i > 0;
    for (; i < n; i += lanes) {
        const Lanes px = lanesAt(x, i), py = lanesAt(y, i);
        const Marks kept = lieIn(px, py, range);
        storeMarks(marks + i, kept);
        none &= ~kept;
        store(x + i, moved(px, limits.left, limits.right));
        store(y + i, moved(py, limits.top, limits.bottom));
    }
    return some || !allSet(none) ? OWN_CONFINED_SOME : OWN_CONFINED_NONE;
}

}  // namespace

extern const OwnPositionKernels ownPositionKernels = {
    {produceLinear, producePerspective, produceInverse<OWN_MAP_INVERSE_GENERAL>, produceInverse<OWN_MAP_INVERSE_ROWS>,
     produceInverse<OWN_MAP_INVERSE_COLUMNS>, produceInverse<OWN_MAP_INVERSE_AFFINE>},
    fromFloats,
    confine,
};

}  // namespace OWN_ISA
