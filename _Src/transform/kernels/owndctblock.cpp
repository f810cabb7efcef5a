// Blocks of 8 x 8 by the cosine transform, in one go.
#include <string.h>

#include "../../core/ownvalue.h"
#include "owndct.h"
#if defined(__AVX2__)
#include <immintrin.h>
#endif

namespace OWN_ISA {
namespace {

// ---- Conversions ----------------------------------------------------------------------------------------------------

template <class T>
void read8x8(const OwnGeometry& pixels, float* block)
{
    for (ptrdiff_t y = 0; y < 8; ++y) {
        const uint8_t* row = pixels.start + y * pixels.rowStep;
        if (pixels.pixelStep == 1)
            for (ptrdiff_t x = 0; x < 8; ++x)
                block[8 * y + x] = float(ownLoad<T>(row, x));
        else
            for (ptrdiff_t x = 0; x < 8; ++x)
                block[8 * y + x] = float(ownLoad<T>(row, x * pixels.pixelStep));
    }
}

template <class T>
void write8x8(const float* block, const OwnGeometry& pixels)
{
    for (ptrdiff_t y = 0; y < 8; ++y) {
        uint8_t* row = pixels.start + y * pixels.rowStep;
        if (pixels.pixelStep == 1)
            for (ptrdiff_t x = 0; x < 8; ++x)
                ownStore(row, x, ownAsValue<T>(block[8 * y + x]));
        else
            for (ptrdiff_t x = 0; x < 8; ++x)
                ownStore(row, x * pixels.pixelStep, ownAsValue<T>(block[8 * y + x]));
    }
}

// ---- The transform --------------------------------------------------------------------------------------------------

typedef float Row __attribute__((vector_size(32)));

// The rows of a block in memory. Copied by memcpy they would go by halves, and be read as a whole too early.
typedef float BlockRow __attribute__((vector_size(32), aligned(4), may_alias));

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
    auto* rows = reinterpret_cast<BlockRow*>(block);
    auto* factors = reinterpret_cast<const BlockRow*>(scale8x8.factor);
    Row v[8];
    for (int i = 0; i < 8; ++i)
        v[i] = rows[i];
    forwardColumns(v);
    transpose(v);
    forwardColumns(v);
    transpose(v);
    for (int i = 0; i < 8; ++i)
        rows[i] = v[i] * factors[i];
}

void inverse8x8(float* block)
{
    auto* rows = reinterpret_cast<BlockRow*>(block);
    auto* factors = reinterpret_cast<const BlockRow*>(scale8x8.factor);
    Row v[8];
    for (int i = 0; i < 8; ++i)
        v[i] = rows[i] * factors[i];
    inverseColumns(v);
    transpose(v);
    inverseColumns(v);
    transpose(v);
    for (int i = 0; i < 8; ++i)
        rows[i] = v[i];
}

template <class T>
constexpr OwnDctPixels pixels = {read8x8<T>, write8x8<T>};

}  // namespace

extern const OwnDctBlock ownDctBlock = {
    {{}, pixels<uint8_t>, pixels<int8_t>, pixels<uint16_t>, pixels<int16_t>, pixels<int32_t>, pixels<float>},
    forward8x8,
    inverse8x8};

}  // namespace OWN_ISA
