// Kernels of the moments.
//
// Four sums run along a row and are folded into the ten moments at its end. Where the sums are whole numbers that double
// precision holds, any order of the additions gives the same ones, and they run in lanes; otherwise each is a chain along its
// row, and several rows run side by side.
#include "ownmoments.h"

#if defined(__AVX2__)
#include <immintrin.h>
#endif

#include "../../core/ownvalue.h"

namespace OWN_ISA {
namespace {

void foldRow(OwnMomentSums& sums, const double (&row)[4], double y)
{
    double* m = sums.moments;
    m[0] += row[0];
    m[1] += row[1];
    m[2] += row[0] * y;
    m[3] += row[2];
    m[4] += row[1] * y;
    m[5] += row[0] * y * y;
    m[6] += row[3];
    m[7] += row[2] * y;
    m[8] += row[1] * y * y;
    m[9] += row[0] * y * y * y;
}

void endRow(OwnMomentSums& sums, double y)
{
    foldRow(sums, sums.row, y);
    for (double& sum : sums.row)
        sum = 0;
}

const uint8_t* rowAt(const OwnReadRows& rows, ptrdiff_t y)
{
    return static_cast<const uint8_t*>(rows.a) + y * rows.aStep;
}

// ---- Chains -------------------------------------------------------------------------------------------------------

// Goes on with the sums of `count` rows, which lie side by side.
template <int count, class T>
inline __attribute__((always_inline)) void chainRows(double (&sums)[4][count], const OwnReadRows& rows, ptrdiff_t first,
                                                     double x)
{
    const uint8_t* start[count];
    for (int k = 0; k < count; ++k)
        start[k] = rowAt(rows, first + k);
    for (ptrdiff_t i = 0; i < rows.n; ++i, x += 1.0) {
        double term[count];
        for (int k = 0; k < count; ++k)
            term[k] = double(ownLoad<T>(start[k], i));
        for (int power = 0; power < 4; ++power)
            for (int k = 0; k < count; ++k) {
                sums[power][k] += term[k];
                term[k] *= x;
            }
    }
}

template <class T>
void takeChains(OwnMomentSums& sums, const OwnReadRows& rows)
{
    constexpr int together = 4;
    const double x = double(sums.x) + rows.x, y = double(sums.y) + rows.y;
    ptrdiff_t row = 0;
    for (; rows.endsRow && row <= rows.count - together && rows.x == 0; row += together) {
        double side[4][together] = {};
        chainRows<together, T>(side, rows, row, x);
        for (int k = 0; k < together; ++k)
            foldRow(sums, {side[0][k], side[1][k], side[2][k], side[3][k]}, y + double(row + k));
    }
    for (; row < rows.count; ++row) {
        double one[4][1] = {{sums.row[0]}, {sums.row[1]}, {sums.row[2]}, {sums.row[3]}};
        chainRows<1, T>(one, rows, row, x);
        for (int power = 0; power < 4; ++power)
            sums.row[power] = one[power][0];
        if (rows.endsRow)
            endRow(sums, y + double(row));
    }
}

// ---- Lanes --------------------------------------------------------------------------------------------------------

template <class T>
void laneSums(const uint8_t* row, ptrdiff_t n, double first, double (&sums)[4])
{
    constexpr int lanes = 8;
    double x[lanes], lane[4][lanes] = {};
    for (int k = 0; k < lanes; ++k)
        x[k] = first + k;
    auto take = [&](ptrdiff_t i, int k) {
        double term = double(ownLoad<T>(row, i));
        for (auto& sum : lane) {
            sum[k] += term;
            term *= x[k];
        }
        x[k] += lanes;
    };
    ptrdiff_t i = 0;
    for (; i <= n - lanes; i += lanes)
        for (int k = 0; k < lanes; ++k)
            take(i + k, k);
    for (int k = 0; i + k < n; ++k)
        take(i + k, k);
    for (int power = 0; power < 4; ++power)
        for (double sum : lane[power])
            sums[power] += sum;
}

#if defined(__AVX2__)
// Sums of a segment of bytes, by the place of a byte in a block of 32 and of the block in the segment. The block's place comes
// in by sums of sums: what enters first is counted most often.
//
// A block's sums of p, p i, p i^2 and p i^3, i from 0 to 31, stand in lanes of 32 bits, four bytes a lane. Their sums of
// sums over n blocks are at most 1020 C(n + 3, 4), 31620 C(n + 2, 3), 980220 C(n + 1, 2) and 30386820 n, which for 64 blocks is
// less than half of 2^32.
constexpr ptrdiff_t blockBytes = 32;
constexpr ptrdiff_t mostBlocks = 64;

struct Weights {
    alignas(32) int16_t of[4][blockBytes];
};

// In the order in which bytes are unpacked to words: 0 to 7 and 16 to 23, then 8 to 15 and 24 to 31.
constexpr Weights makeWeights()
{
    Weights weights = {};
    for (int k = 0; k < blockBytes; ++k) {
        const int i = (k & 7) + 16 * (k >> 3 & 1) + 8 * (k >> 4);
        weights.of[0][k] = 1;
        weights.of[1][k] = int16_t(i);
        weights.of[2][k] = int16_t(i * i);
        weights.of[3][k] = int16_t(i * i * i);
    }
    return weights;
}

constexpr Weights weights = makeWeights();

inline __m256i weighted(__m256i low, __m256i high, int power)
{
    auto* with = reinterpret_cast<const __m256i*>(weights.of[power]);
    return _mm256_add_epi32(_mm256_madd_epi16(low, _mm256_load_si256(with)),
                            _mm256_madd_epi16(high, _mm256_load_si256(with + 1)));
}

inline uint64_t totalOf(__m256i lanes)
{
    uint32_t words[8];
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(words), lanes);
    uint64_t total = 0;
    for (uint32_t word : words)
        total += word;
    return total;
}

// Sums of sums: of[d] holds lanes of which of[0] is the sum of a block's sums, of[1] that of all states of of[0], and so on.
template <int depth>
struct Cascade {
    __m256i of[depth];

    Cascade()
    {
        for (__m256i& sum : of)
            sum = _mm256_setzero_si256();
    }
    inline __attribute__((always_inline)) void take(__m256i block)
    {
        for (__m256i& sum : of)
            block = sum = _mm256_add_epi32(sum, block);
    }
};

// The sums of p r^k of a cascade over the blocks b of a segment, with r = blocks - b: block b stands C(r + k - 1, k) times in sum k.
template <int depth>
inline void powerSums(const Cascade<depth>& cascade, uint64_t (&powers)[4])
{
    uint64_t level[4] = {};
    for (int k = 0; k < depth; ++k)
        level[k] = totalOf(cascade.of[k]);
    powers[0] = level[0];
    powers[1] = level[1];
    powers[2] = 2 * level[2] - level[1];
    powers[3] = 6 * level[3] - 3 * powers[2] - 2 * powers[1];
}

// Adds the sums of `blocks` blocks with x from `first` on. With `end` where the segment ends, x = end - u and u = 32 r - i. What
// wraps on the way cancels out.
void addSegment(const uint8_t* bytes, ptrdiff_t blocks, uint64_t first, uint64_t (&sums)[4])
{
    Cascade<4> zeroth;
    Cascade<3> linear;
    Cascade<2> square;
    Cascade<1> cube;
    const __m256i zero = _mm256_setzero_si256();
    for (ptrdiff_t block = 0; block < blocks; ++block) {
        const __m256i p = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes + block * blockBytes));
        const __m256i low = _mm256_unpacklo_epi8(p, zero), high = _mm256_unpackhi_epi8(p, zero);
        zeroth.take(weighted(low, high, 0));
        linear.take(weighted(low, high, 1));
        square.take(weighted(low, high, 2));
        cube.take(weighted(low, high, 3));
    }
    uint64_t r[4], ri[4], rii[4], riii[4];  // sums of p r^k, p r^k i, and so on
    powerSums(zeroth, r);
    powerSums(linear, ri);
    powerSums(square, rii);
    powerSums(cube, riii);
    constexpr uint64_t b = blockBytes;
    const uint64_t end = first + uint64_t(blocks) * b;
    const uint64_t u0 = r[0];
    const uint64_t u1 = b * r[1] - ri[0];
    const uint64_t u2 = b * b * r[2] - 2 * b * ri[1] + rii[0];
    const uint64_t u3 = b * b * b * r[3] - 3 * b * b * ri[2] + 3 * b * rii[1] - riii[0];
    sums[0] += u0;
    sums[1] += end * u0 - u1;
    sums[2] += end * (end * u0 - 2 * u1) + u2;
    sums[3] += end * (end * (end * u0 - 3 * u1) + 3 * u2) - u3;
}

void byteSums(const uint8_t* row, ptrdiff_t n, double first, double (&sums)[4])
{
    uint64_t whole[4] = {};
    ptrdiff_t i = 0;
    while (i <= n - blockBytes) {
        ptrdiff_t blocks = (n - i) / blockBytes;
        blocks = blocks < mostBlocks ? blocks : mostBlocks;
        addSegment(row + i, blocks, uint64_t(first) + uint64_t(i), whole);
        i += blocks * blockBytes;
    }
    for (int power = 0; power < 4; ++power)
        sums[power] += double(whole[power]);
    laneSums<uint8_t>(row + i, n - i, first + double(i), sums);
}
#else
void byteSums(const uint8_t* row, ptrdiff_t n, double first, double (&sums)[4])
{
    laneSums<uint8_t>(row, n, first, sums);
}
#endif

template <class T, void (*rowSums)(const uint8_t* row, ptrdiff_t n, double first, double (&sums)[4])>
void takeExact(OwnMomentSums& sums, const OwnReadRows& rows)
{
    if (!sums.exact)
        return takeChains<T>(sums, rows);
    const double x = double(sums.x) + rows.x, y = double(sums.y) + rows.y;
    for (ptrdiff_t row = 0; row < rows.count; ++row) {
        rowSums(rowAt(rows, row), rows.n, x, sums.row);
        if (rows.endsRow)
            endRow(sums, y + double(row));
    }
}

}  // namespace

extern const OwnMomentKernels ownMomentKernels;
const OwnMomentKernels ownMomentKernels = {{
    takeExact<uint8_t, byteSums>,
    takeExact<uint8_t, byteSums>,
    takeExact<int8_t, laneSums<int8_t>>,
    takeExact<uint16_t, laneSums<uint16_t>>,
    takeExact<int16_t, laneSums<int16_t>>,
    takeChains<int32_t>,
    takeChains<float>,
}};

}  // namespace OWN_ISA
