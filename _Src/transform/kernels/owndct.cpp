// Kernels of the cosine transform: conversions, the 8 x 8 block, fast and direct lines.
//
// The fast transform splits a line into an even and an odd half; dividing the odd half by twice a cosine makes it a
// transform of the same kind (B. G. Lee, "A new algorithm to compute the discrete cosine transform", IEEE Trans. ASSP-32,
// 1984). The secants grow with the length and would carry rounding errors with them, so lines are worked on in double
// precision.
#include "owndct.h"

#include <cmath>
#include <cstring>
#include <type_traits>
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {

namespace {

constexpr ptrdiff_t group = ownDctGroup;

// ---- Conversions ----------------------------------------------------------------------------------------------------

template <class T>
inline void readRow(const T* from, ptrdiff_t step, float* to, ptrdiff_t count)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < count; ++i)
        to[i] = float(from[i * step]);
}

template <class T>
void readPlane(const OwnDctPlane& plane, float* block, ptrdiff_t stride, ptrdiff_t width, ptrdiff_t height)
{
    for (ptrdiff_t y = 0; y < height; ++y) {
        auto* from = reinterpret_cast<const T*>(plane.data + y * plane.rowStep);
        if (plane.step != 1)
            readRow(from, plane.step, block + y * stride, width);
        else if (width == 8)
            readRow(from, 1, block + y * stride, 8);
        else
            readRow(from, 1, block + y * stride, width);
    }
}

// Rounds to nearest, ties to even, what lies within the limits of T: the sum with the large constant has no room for a
// fraction. A loop of this becomes vector code at every level, which a loop of library calls would not.
template <class T>
inline T saturate(float value)
{
    if constexpr (std::is_same_v<T, float>) {
        return value;
    } else {
        constexpr bool isSigned = std::is_signed_v<T>;
        constexpr double low = isSigned ? -double(1ull << (8 * sizeof(T) - 1)) : 0.0;
        constexpr double high = double((1ull << (8 * sizeof(T) - isSigned)) - 1);
        using Real = std::conditional_t<sizeof(T) == 4, double, float>;
        constexpr Real round = sizeof(T) == 4 ? Real(0x1.8p52) : Real(0x1.8p23);
        Real real = value;
        real = real < Real(high) ? real : Real(high);
        real = real > Real(low) ? real : Real(low);
        return T(int32_t(real + round - round));
    }
}

template <class T>
inline void writeRow(const float* from, T* to, ptrdiff_t step, ptrdiff_t count)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < count; ++i)
        to[i * step] = saturate<T>(from[i]);
}

template <class T>
void writePlane(const OwnDctPlane& plane, const float* block, ptrdiff_t stride, ptrdiff_t width, ptrdiff_t height)
{
    for (ptrdiff_t y = 0; y < height; ++y) {
        auto* to = reinterpret_cast<T*>(plane.data + y * plane.rowStep);
        if (plane.step != 1)
            writeRow(block + y * stride, to, plane.step, width);
        else if (width == 8)
            writeRow(block + y * stride, to, 1, 8);
        else
            writeRow(block + y * stride, to, 1, width);
    }
}

// ---- Blocks of 8 x 8 ------------------------------------------------------------------------------------------------

typedef float Row __attribute__((vector_size(32)));

inline void loadRow(Row& row, const float* from)
{
    memcpy(&row, from, sizeof row);
}

inline void storeRow(const Row& row, float* to)
{
    memcpy(to, &row, sizeof row);
}

inline void transpose(Row (&v)[8])
{
#if defined(__AVX2__)
    __m256 pairs[8];
    for (int i = 0; i < 4; ++i) {
        pairs[i] = _mm256_unpacklo_ps(v[2 * i], v[2 * i + 1]);
        pairs[i + 4] = _mm256_unpackhi_ps(v[2 * i], v[2 * i + 1]);
    }
    __m256 quads[8];
    for (int i = 0; i < 4; ++i) {
        quads[2 * i] = _mm256_shuffle_ps(pairs[2 * i], pairs[2 * i + 1], 0x44);
        quads[2 * i + 1] = _mm256_shuffle_ps(pairs[2 * i], pairs[2 * i + 1], 0xEE);
    }
    for (int half = 0; half < 2; ++half)
        for (int i = 0; i < 2; ++i) {
            v[2 * half + i] = _mm256_permute2f128_ps(quads[4 * half + i], quads[4 * half + 2 + i], 0x20);
            v[4 + 2 * half + i] = _mm256_permute2f128_ps(quads[4 * half + i], quads[4 * half + 2 + i], 0x31);
        }
#else
    Row from[8];
    memcpy(from, v, sizeof from);
    for (int i = 0; i < 8; ++i)
        for (int j = 0; j < 8; ++j)
            v[i][j] = from[j][i];
#endif
}

constexpr float c4 = 0.7071067811865476f;     // cos(pi / 4)
constexpr float twoC6 = 0.7653668647301796f;  // 2 cos(3 pi / 8)
constexpr float invC2 = 1.0823922002923940f;  // 1 / cos(pi / 8)
constexpr float tan8 = 0.4142135623730950f;   // tan(pi / 8)

// Eight-point transforms of the columns, up to a factor for each frequency: those of Y. Arai, T. Agui and M. Nakajima,
// "A fast DCT-SQ scheme for images", Trans. IEICE E-71, 1988, with the odd half divided by cos(pi / 8), which leaves no
// two multiplications in a row.
inline void forwardColumns(Row (&v)[8])
{
    Row s0 = v[0] + v[7], d0 = v[0] - v[7];
    Row s1 = v[1] + v[6], d1 = v[1] - v[6];
    Row s2 = v[2] + v[5], d2 = v[2] - v[5];
    Row s3 = v[3] + v[4], d3 = v[3] - v[4];

    Row outer = s0 + s3, inner = s1 + s2;
    Row p = s0 - s3;
    Row turn = c4 * (s1 - s2 + p);
    v[0] = outer + inner;
    v[4] = outer - inner;
    v[2] = p + turn;
    v[6] = p - turn;

    Row a = d3 + d2, b = d2 + d1, c = d1 + d0;
    Row e = invC2 * d0, f = twoC6 * b;
    Row sum = e + f, difference = e - f;
    Row left = a - tan8 * c, right = c + tan8 * a;
    v[1] = sum + right;
    v[7] = sum - right;
    v[5] = difference + left;
    v[3] = difference - left;
}

// The transpose of forwardColumns: its steps in reverse.
inline void inverseColumns(Row (&v)[8])
{
    Row sum = v[1] + v[7], right = v[1] - v[7];
    Row difference = v[5] + v[3], left = v[5] - v[3];
    Row e = invC2 * (sum + difference), f = twoC6 * (sum - difference);
    Row a = left + tan8 * right, c = right - tan8 * left;
    Row d3 = a, d2 = a + f, d1 = f + c, d0 = c + e;

    Row outer = v[0] + v[4], inner = v[0] - v[4];
    Row turn = c4 * (v[2] - v[6]);
    Row p = v[2] + v[6] + turn;
    Row s0 = outer + p, s3 = outer - p;
    Row s1 = inner + turn, s2 = inner - turn;

    v[0] = s0 + d0, v[7] = s0 - d0;
    v[1] = s1 + d1, v[6] = s1 - d1;
    v[2] = s2 + d2, v[5] = s2 - d2;
    v[3] = s3 + d3, v[4] = s3 - d3;
}

// What is missing to the orthonormal transform: 0.125 s(u) s(v), where s(k) is 1 / (sqrt(2) cos(k pi / 16)) for even k,
// that times cos(pi / 8) for odd k, and 1 for k = 0.
struct Scale {
    alignas(32) float factor[8][8];
};

constexpr Scale makeScale()
{
    constexpr double s[8] = {1.0, 0.6660800233151995, 0.7653668647301795, 0.7856949583871022,
                             1.0, 1.1758756024193587, 1.8477590650225736, 3.3486104061286084};
    Scale scale = {};
    for (int u = 0; u < 8; ++u)
        for (int v = 0; v < 8; ++v)
            scale.factor[u][v] = float(0.125 * s[u] * s[v]);
    return scale;
}

constexpr Scale scale8x8 = makeScale();

void forward8x8(float* block)
{
    Row v[8];
    for (int i = 0; i < 8; ++i)
        loadRow(v[i], block + 8 * i);
    forwardColumns(v);
    transpose(v);
    forwardColumns(v);
    transpose(v);
    for (int i = 0; i < 8; ++i) {
        Row factor;
        loadRow(factor, scale8x8.factor[i]);
        storeRow(v[i] * factor, block + 8 * i);
    }
}

void inverse8x8(float* block)
{
    Row v[8];
    for (int i = 0; i < 8; ++i) {
        Row factor;
        loadRow(factor, scale8x8.factor[i]);
        loadRow(v[i], block + 8 * i);
        v[i] *= factor;
    }
    inverseColumns(v);
    transpose(v);
    inverseColumns(v);
    transpose(v);
    for (int i = 0; i < 8; ++i)
        storeRow(v[i], block + 8 * i);
}

// ---- Fast lines -----------------------------------------------------------------------------------------------------

// One sample of every line of a group.
struct alignas(32) Samples {
    double line[group];
};

constexpr double cosEighth = 0.92387953251128676;   // cos(pi / 8)
constexpr double sinEighth = 0.38268343236508977;   // sin(pi / 8)
constexpr double cosQuarter = 0.70710678118654752;  // cos(pi / 4)

// 0.5 / cos((2 j + 1) pi / 16)
constexpr double secants8[4] = {0.50979557910415917, 0.60134488693504528, 0.89997622313641570, 2.5629154477415062};

// The straight-line transforms of one line whose samples are a group apart. All read everything before they write.
struct Four {
    double y0, y1, y2, y3;
};

inline Four forwardFour(double x0, double x1, double x2, double x3)
{
    double a = x0 + x3, b = x1 + x2, c = x0 - x3, d = x1 - x2;
    return {a + b, c * cosEighth + d * sinEighth, (a - b) * cosQuarter, c * sinEighth - d * cosEighth};
}

inline Four inverseFour(double y0, double y1, double y2, double y3)
{
    double mean = y0 + y2 * cosQuarter, swing = y0 - y2 * cosQuarter;
    double outer = y1 * cosEighth + y3 * sinEighth, inner = y1 * sinEighth - y3 * cosEighth;
    return {mean + outer, swing + inner, swing - inner, mean - outer};
}

// The odd half of eight points: the transform of type IV, which is its own transpose.
inline Four oddFour(double x0, double x1, double x2, double x3)
{
    Four h = forwardFour(x0 * secants8[0], x1 * secants8[1], x2 * secants8[2], x3 * secants8[3]);
    return {h.y0 + h.y1, h.y1 + h.y2, h.y2 + h.y3, h.y3};
}

void forward2(Samples* x)
{
    for (ptrdiff_t l = 0; l < group; ++l) {
        double x0 = x[0].line[l], x1 = x[1].line[l];
        x[0].line[l] = x0 + x1;
        x[1].line[l] = (x0 - x1) * cosQuarter;
    }
}

void inverse2(Samples* x)
{
    for (ptrdiff_t l = 0; l < group; ++l) {
        double y0 = x[0].line[l], y1 = x[1].line[l] * cosQuarter;
        x[0].line[l] = y0 + y1;
        x[1].line[l] = y0 - y1;
    }
}

template <Four (*transform)(double, double, double, double)>
void all4(Samples* x)
{
#pragma GCC ivdep
    for (ptrdiff_t l = 0; l < group; ++l) {
        Four y = transform(x[0].line[l], x[1].line[l], x[2].line[l], x[3].line[l]);
        x[0].line[l] = y.y0;
        x[1].line[l] = y.y1;
        x[2].line[l] = y.y2;
        x[3].line[l] = y.y3;
    }
}

void forward8(Samples* x)
{
#pragma GCC ivdep
    for (ptrdiff_t l = 0; l < group; ++l) {
        double x0 = x[0].line[l], x1 = x[1].line[l], x2 = x[2].line[l], x3 = x[3].line[l];
        double x4 = x[4].line[l], x5 = x[5].line[l], x6 = x[6].line[l], x7 = x[7].line[l];
        Four even = forwardFour(x0 + x7, x1 + x6, x2 + x5, x3 + x4);
        Four odd = oddFour(x0 - x7, x1 - x6, x2 - x5, x3 - x4);
        x[0].line[l] = even.y0;
        x[1].line[l] = odd.y0;
        x[2].line[l] = even.y1;
        x[3].line[l] = odd.y1;
        x[4].line[l] = even.y2;
        x[5].line[l] = odd.y2;
        x[6].line[l] = even.y3;
        x[7].line[l] = odd.y3;
    }
}

void inverse8(Samples* x)
{
#pragma GCC ivdep
    for (ptrdiff_t l = 0; l < group; ++l) {
        Four even = inverseFour(x[0].line[l], x[2].line[l], x[4].line[l], x[6].line[l]);
        Four odd = oddFour(x[1].line[l], x[3].line[l], x[5].line[l], x[7].line[l]);
        x[0].line[l] = even.y0 + odd.y0;
        x[7].line[l] = even.y0 - odd.y0;
        x[1].line[l] = even.y1 + odd.y1;
        x[6].line[l] = even.y1 - odd.y1;
        x[2].line[l] = even.y2 + odd.y2;
        x[5].line[l] = even.y2 - odd.y2;
        x[3].line[l] = even.y3 + odd.y3;
        x[4].line[l] = even.y3 - odd.y3;
    }
}

// sums[i] = x[i] + x[n - 1 - i], differences[i] = (x[i] - x[n - 1 - i]) * factor(i), for i below n / 2.
template <class Factor>
inline void fold(const Samples* __restrict x, ptrdiff_t n, Samples* __restrict sums, Samples* __restrict differences,
                 Factor factor)
{
    for (ptrdiff_t i = 0; i < n / 2; ++i) {
        double f = factor(i);
        for (ptrdiff_t l = 0; l < group; ++l) {
            double near = x[i].line[l], far = x[n - 1 - i].line[l];
            sums[i].line[l] = near + far;
            differences[i].line[l] = (near - far) * f;
        }
    }
}

// The opposite: x[i] = even[i] + odd[i], x[n - 1 - i] = even[i] - odd[i], for i below n / 2.
inline void unfold(const Samples* __restrict even, const Samples* __restrict odd, ptrdiff_t n, Samples* __restrict x)
{
    for (ptrdiff_t i = 0; i < n / 2; ++i)
        for (ptrdiff_t l = 0; l < group; ++l) {
            x[i].line[l] = even[i].line[l] + odd[i].line[l];
            x[n - 1 - i].line[l] = even[i].line[l] - odd[i].line[l];
        }
}

// Transforms x in place, n being 8 times a power of two. `secants` points behind the table for a length of n; `work` has
// room for n samples. The halves change places with the scratch at every level.
void forwardFast(Samples* __restrict x, Samples* __restrict work, ptrdiff_t n, const double* const* secants)
{
    if (n == 8) {
        forward8(x);
        return;
    }
    ptrdiff_t half = n / 2;
    const double* secant = secants[-1];
    fold(x, n, work, work + half, [secant](ptrdiff_t i) { return secant[i]; });
    forwardFast(work, x, half, secants - 1);
    forwardFast(work + half, x + half, half, secants - 1);
    const Samples* even = work;
    const Samples* odd = work + half;
    for (ptrdiff_t k = 0; k < half - 1; ++k)
        for (ptrdiff_t l = 0; l < group; ++l) {
            x[2 * k].line[l] = even[k].line[l];
            x[2 * k + 1].line[l] = odd[k].line[l] + odd[k + 1].line[l];
        }
    x[n - 2] = even[half - 1];
    x[n - 1] = odd[half - 1];
}

void inverseFast(Samples* __restrict x, Samples* __restrict work, ptrdiff_t n, const double* const* secants)
{
    if (n == 8) {
        inverse8(x);
        return;
    }
    ptrdiff_t half = n / 2;
    const double* secant = secants[-1];
    Samples* even = work;
    Samples* odd = work + half;
    for (ptrdiff_t k = 0; k < half; ++k) {
        double factor = secant[k];
        for (ptrdiff_t l = 0; l < group; ++l) {
            even[k].line[l] = x[2 * k].line[l];
            odd[k].line[l] = x[2 * k + 1].line[l] * factor;
        }
    }
    inverseFast(even, x, half, secants - 1);
    forwardFast(odd, x + half, half, secants - 1);
    for (ptrdiff_t k = 0; k < half - 1; ++k)
        for (ptrdiff_t l = 0; l < group; ++l)
            odd[k].line[l] += odd[k + 1].line[l];
    unfold(even, odd, n, x);
}

void transformFast(Samples* x, Samples* work, const OwnDctLine& line)
{
    const double* const* secants = line.secants + line.levels;
    switch (line.length) {
    case 2: return line.inverse ? inverse2(x) : forward2(x);
    case 4: return line.inverse ? all4<inverseFour>(x) : all4<forwardFour>(x);
    default:
        return line.inverse ? inverseFast(x, work, line.length, secants) : forwardFast(x, work, line.length, secants);
    }
}

// ---- Direct lines ---------------------------------------------------------------------------------------------------

// Adds up outputs[j] = sum over i of terms[i * termStep] * cosines[at[j] + i * step[j]], indices of the table modulo its
// size, for four outputs at a time: their chains of additions run side by side.
constexpr int outputsAtOnce = 4;

void sumCosines(const Samples* terms, ptrdiff_t termStep, ptrdiff_t count, const float* cosines, ptrdiff_t size,
                ptrdiff_t (&at)[outputsAtOnce], const ptrdiff_t (&step)[outputsAtOnce],
                Samples (&outputs)[outputsAtOnce])
{
    Samples sums[outputsAtOnce] = {};
    for (ptrdiff_t i = 0; i < count; ++i)
        for (int j = 0; j < outputsAtOnce; ++j) {
            double cosine = cosines[at[j]];
            at[j] += step[j];
            at[j] -= at[j] >= size ? size : 0;
            for (ptrdiff_t l = 0; l < group; ++l)
                sums[j].line[l] += terms[i * termStep].line[l] * cosine;
        }
    for (int j = 0; j < outputsAtOnce; ++j)
        outputs[j] = sums[j];
}

// y(k) is a sum over the folded halves, whose terms have one cosine each; the middle sample of an odd length has the cosine
// of k pi / 2.
void forwardDirect(Samples* x, Samples* work, ptrdiff_t n, const float* cosines)
{
    ptrdiff_t half = n / 2;
    ptrdiff_t size = 4 * n;
    Samples* folded[2] = {work, work + half};
    fold(x, n, folded[0], folded[1], [](ptrdiff_t) { return 1.0; });
    Samples middle = x[half];
    for (ptrdiff_t parity = 0; parity < 2; ++parity)
        for (ptrdiff_t first = parity; first < n; first += 2 * outputsAtOnce) {
            ptrdiff_t at[outputsAtOnce];
            ptrdiff_t step[outputsAtOnce];
            for (ptrdiff_t j = 0; j < outputsAtOnce; ++j) {
                at[j] = (first + 2 * j) % size;
                step[j] = 2 * at[j] % size;
            }
            Samples y[outputsAtOnce];
            sumCosines(folded[parity], 1, half, cosines, size, at, step, y);
            for (ptrdiff_t j = 0; j < outputsAtOnce && first + 2 * j < n; ++j) {
                ptrdiff_t k = first + 2 * j;
                double sign = n % 2 == 0 || parity == 1 ? 0.0 : k % 4 == 0 ? 1.0 : -1.0;
                for (ptrdiff_t l = 0; l < group; ++l)
                    x[k].line[l] = y[j].line[l] + sign * middle.line[l];
            }
        }
}

// The transpose: for each i the even and the odd coefficients add up on their own, the odd ones with the opposite sign at
// the other end of the line.
void inverseDirect(Samples* x, Samples* work, ptrdiff_t n, const float* cosines)
{
    ptrdiff_t half = n - n / 2;
    ptrdiff_t size = 4 * n;
    Samples* sums[2] = {work, work + half};
    for (ptrdiff_t parity = 0; parity < 2; ++parity)
        for (ptrdiff_t first = 0; first < half; first += outputsAtOnce) {
            ptrdiff_t at[outputsAtOnce];
            ptrdiff_t step[outputsAtOnce];
            for (ptrdiff_t j = 0; j < outputsAtOnce; ++j) {
                ptrdiff_t odd = 2 * (first + j) + 1;
                at[j] = parity * odd % size;
                step[j] = 2 * odd % size;
            }
            Samples y[outputsAtOnce];
            sumCosines(x + parity, 2, (n + 1 - parity) / 2, cosines, size, at, step, y);
            for (ptrdiff_t j = 0; j < outputsAtOnce && first + j < half; ++j)
                sums[parity][first + j] = y[j];
        }
    // The middle of an odd length, where the odd coefficients add up to nothing, lies on both ends.
    for (ptrdiff_t i = 0; i < half; ++i)
        for (ptrdiff_t l = 0; l < group; ++l) {
            x[n - 1 - i].line[l] = sums[0][i].line[l] - sums[1][i].line[l];
            x[i].line[l] = sums[0][i].line[l] + sums[1][i].line[l];
        }
}

// ---- All lines of a block -------------------------------------------------------------------------------------------

// A sample of up to a group of lines; lines that are not there repeat the first.
inline void gatherSample(const float* from, ptrdiff_t lineStep, ptrdiff_t lines, Samples& to)
{
    for (ptrdiff_t l = 0; l < group; ++l)
        to.line[l] = from[l < lines ? l * lineStep : 0];
}

inline void scatterSample(const Samples& from, float* to, ptrdiff_t lineStep, ptrdiff_t lines)
{
    for (ptrdiff_t l = 0; l < lines; ++l)
        to[l * lineStep] = float(from.line[l]);
}

void gather(const float* from, ptrdiff_t lineStep, ptrdiff_t step, ptrdiff_t lines, ptrdiff_t n, Samples* __restrict to)
{
    ptrdiff_t i = 0;
    if (lines == group && lineStep == 1) {
        for (; i < n; ++i)
            for (ptrdiff_t l = 0; l < group; ++l)
                to[i].line[l] = from[i * step + l];
    } else if (lines == group && step == 1) {
        for (; i + 8 <= n; i += 8) {
            Row v[8];
            for (ptrdiff_t l = 0; l < 8; ++l)
                loadRow(v[l], from + l * lineStep + i);
            transpose(v);
            for (ptrdiff_t k = 0; k < 8; ++k)
                for (ptrdiff_t l = 0; l < group; ++l)
                    to[i + k].line[l] = v[k][l];
        }
    }
    for (; i < n; ++i)
        gatherSample(from + i * step, lineStep, lines, to[i]);
}

void scatter(const Samples* __restrict from, ptrdiff_t n, float* to, ptrdiff_t lineStep, ptrdiff_t step,
             ptrdiff_t lines)
{
    ptrdiff_t i = 0;
    if (lines == group && lineStep == 1) {
        for (; i < n; ++i)
            for (ptrdiff_t l = 0; l < group; ++l)
                to[i * step + l] = float(from[i].line[l]);
    } else if (lines == group && step == 1) {
        for (; i + 8 <= n; i += 8) {
            Row v[8];
            for (ptrdiff_t k = 0; k < 8; ++k) {
                float row[group];
                for (ptrdiff_t l = 0; l < group; ++l)
                    row[l] = float(from[i + k].line[l]);
                loadRow(v[k], row);
            }
            transpose(v);
            for (ptrdiff_t l = 0; l < 8; ++l)
                storeRow(v[l], to + l * lineStep + i);
        }
    }
    for (; i < n; ++i)
        scatterSample(from[i], to + i * step, lineStep, lines);
}

void lines(float* block, ptrdiff_t lineStep, ptrdiff_t step, ptrdiff_t count, const OwnDctLine& line, double* scratch)
{
    auto* x = reinterpret_cast<Samples*>(scratch);
    // Both ends of the middle sample of an odd length need a place in the work half.
    Samples* work = x + line.length;
    for (ptrdiff_t first = 0; first < count; first += group) {
        float* start = block + first * lineStep;
        ptrdiff_t present = count - first < group ? count - first : group;
        gather(start, lineStep, step, present, line.length, x);
        if (!line.cosines)
            transformFast(x, work, line);
        else if (line.inverse)
            inverseDirect(x, work, line.length, line.cosines);
        else
            forwardDirect(x, work, line.length, line.cosines);
        scatter(x, line.length, start, lineStep, step, present);
    }
}

void normalise(float* block, ptrdiff_t stride, ptrdiff_t width, ptrdiff_t height)
{
    double base = 1.0 / sqrt(double(width) * double(height));
    for (ptrdiff_t y = 0; y < height; ++y) {
        float* row = block + y * stride;
        double first = y == 0 ? base : base * 1.4142135623730951;
        double rest = y == 0 ? base * 1.4142135623730951 : base * 2.0;
        row[0] = float(row[0] * first);
        for (ptrdiff_t x = 1; x < width; ++x)
            row[x] = float(row[x] * rest);
    }
}

}  // namespace

extern const OwnDctKernels ownDctKernels = {
    {readPlane<uint8_t>, readPlane<int8_t>, readPlane<uint16_t>, readPlane<int16_t>, readPlane<int32_t>,
     readPlane<float>},
    {writePlane<uint8_t>, writePlane<int8_t>, writePlane<uint16_t>, writePlane<int16_t>, writePlane<int32_t>,
     writePlane<float>},
    forward8x8,
    inverse8x8,
    lines,
    normalise,
};

}  // namespace OWN_ISA
