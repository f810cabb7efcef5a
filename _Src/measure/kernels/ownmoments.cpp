// Kernels of the moments.
//
// Four sums run along a row and are folded into the ten moments at its end. Each is a chain of additions in its order;
// several rows run side by side. Of bytes the sums are whole numbers that, but for very wide rows, double precision
// holds whatever the order, so that they may be formed in integers.
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

// ---- Bytes --------------------------------------------------------------------------------------------------------

#if defined(__AVX2__)
// Sums of a segment of bytes, by the place of a byte in a block of 32 and of the block in the segment. The block's
// place comes in by sums of sums: what enters first is counted most often.
//
// A block's sums of p, p i, p i^2 and p i^3, i from 0 to 31, stand in eight lanes of 32 bits, four bytes a lane. The
// totals of these lanes' sums of sums over n blocks are at most 8160 C(n + 3, 4), 252960 C(n + 2, 3), 7841760 C(n + 1,
// 2) and 243094560 n, which for 16 blocks is below 2^32.
constexpr ptrdiff_t blockBytes = 32;
constexpr ptrdiff_t mostBlocks = 16;

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

// The totals of the lanes of eight vectors.
inline void totalsOf(const __m256i (&lanes)[8], uint32_t (&totals)[8])
{
    __m256i twos[4], fours[2];
    for (int i = 0; i < 4; ++i)
        twos[i] = _mm256_hadd_epi32(lanes[2 * i], lanes[2 * i + 1]);
    for (int i = 0; i < 2; ++i)
        fours[i] = _mm256_hadd_epi32(twos[2 * i], twos[2 * i + 1]);
    // Halves of the first four, and of the last four.
    const __m256i low = _mm256_permute2x128_si256(fours[0], fours[1], 0x20);
    const __m256i high = _mm256_permute2x128_si256(fours[0], fours[1], 0x31);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(totals), _mm256_add_epi32(low, high));
}

// Sums of sums: of[d] holds lanes of which of[0] is the sum of a block's sums, of[1] that of all states of of[0], and
// so on.
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

// The sums of p r^k over the blocks b of a segment, with r = blocks - b, from sums of sums: block b stands C(r + k - 1,
// k) times in sum k.
inline void powerSums(uint64_t (&sums)[4])
{
    sums[2] = 2 * sums[2] - sums[1];
    sums[3] = 6 * sums[3] - 3 * sums[2] - 2 * sums[1];
}

// Adds the sums of `blocks` blocks with x from `first` on. With `end` where the segment ends, x = end - u and u = 32 r
// - i. What wraps on the way cancels out.
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
    uint32_t first8[8], rest[8];
    totalsOf({zeroth.of[0], zeroth.of[1], zeroth.of[2], zeroth.of[3], linear.of[0], linear.of[1], linear.of[2],
              square.of[0]},
             first8);
    totalsOf({square.of[1], cube.of[0], zero, zero, zero, zero, zero, zero}, rest);
    // Sums of p r^k, p r^k i, p r^k i^2 and p r^k i^3.
    uint64_t r[4] = {first8[0], first8[1], first8[2], first8[3]};
    uint64_t ri[4] = {first8[4], first8[5], first8[6]};
    const uint64_t rii[2] = {first8[7], rest[0]};
    const uint64_t riii = rest[1];
    powerSums(r);
    powerSums(ri);
    constexpr uint64_t b = blockBytes;
    const uint64_t end = first + uint64_t(blocks) * b;
    const uint64_t u0 = r[0];
    const uint64_t u1 = b * r[1] - ri[0];
    const uint64_t u2 = b * b * r[2] - 2 * b * ri[1] + rii[0];
    const uint64_t u3 = b * b * b * r[3] - 3 * b * b * ri[2] + 3 * b * rii[1] - riii;
    sums[0] += u0;
    sums[1] += end * u0 - u1;
    sums[2] += end * (end * u0 - 2 * u1) + u2;
    sums[3] += end * (end * (end * u0 - 3 * u1) + 3 * u2) - u3;
}

void byteSums(const uint8_t* row, ptrdiff_t n, uint64_t first, double (&sums)[4])
{
    uint64_t whole[4] = {};
    ptrdiff_t i = 0;
    while (i <= n - blockBytes) {
        ptrdiff_t blocks = (n - i) / blockBytes;
        blocks = blocks < mostBlocks ? blocks : mostBlocks;
        addSegment(row + i, blocks, first + uint64_t(i), whole);
        i += blocks * blockBytes;
    }
    for (; i < n; ++i) {
        uint64_t term = row[i];
        for (uint64_t& sum : whole) {
            sum += term;
            term *= first + uint64_t(i);
        }
    }
    for (int power = 0; power < 4; ++power)
        sums[power] += double(whole[power]);
}

void takeBytes(OwnMomentSums& sums, const OwnReadRows& rows)
{
    if (!sums.exact)
        return takeChains<uint8_t>(sums, rows);
    const uint64_t x = uint64_t(sums.x) + uint64_t(rows.x);
    const double y = double(sums.y) + rows.y;
    for (ptrdiff_t row = 0; row < rows.count; ++row) {
        byteSums(rowAt(rows, row), rows.n, x, sums.row);
        if (rows.endsRow)
            endRow(sums, y + double(row));
    }
}
#else
constexpr auto takeBytes = takeChains<uint8_t>;
#endif

}  // namespace

extern const OwnMomentKernels ownMomentKernels;
const OwnMomentKernels ownMomentKernels = {{
    takeBytes,
    takeBytes,
    takeChains<int8_t>,
    takeChains<uint16_t>,
    takeChains<int16_t>,
    takeChains<int32_t>,
    takeChains<float>,
}};

}  // namespace OWN_ISA
