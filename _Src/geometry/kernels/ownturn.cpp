#include "ownturn.h"

#include "ownfour.h"

namespace OWN_ISA {
namespace {

// Blocks of so many pixels square, so that what is read across rows is used while it is in the cache.
template <int bytes>
constexpr int32_t side = bytes == 1 ? 128 : 64;

inline int32_t least(int32_t a, int32_t b)
{
    return a < b ? a : b;
}

template <int bytes>
void turnRow(const uint8_t* from, ptrdiff_t along, uint8_t* to, ptrdiff_t step, int32_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        __builtin_memcpy(to + i * step, from + i * along, bytes);
}

// How many pixels square are turned in registers, or 0.
template <int bytes>
constexpr int32_t square = 0;

#if defined(__SSE2__)
template <>
constexpr int32_t square<1> = 16;
template <>
constexpr int32_t square<2> = 8;
template <>
constexpr int32_t square<4> = 4;

template <int bytes>
inline __m128i firstHalves(__m128i a, __m128i b)
{
    if constexpr (bytes == 1)
        return _mm_unpacklo_epi8(a, b);
    else if constexpr (bytes == 2)
        return _mm_unpacklo_epi16(a, b);
    else
        return _mm_unpacklo_epi32(a, b);
}

template <int bytes>
inline __m128i lastHalves(__m128i a, __m128i b)
{
    if constexpr (bytes == 1)
        return _mm_unpackhi_epi8(a, b);
    else if constexpr (bytes == 2)
        return _mm_unpackhi_epi16(a, b);
    else
        return _mm_unpackhi_epi32(a, b);
}

// The columns of a square of sixteen bytes a row as rows: each round brings together what is half a square apart.
template <int bytes>
inline void turnSquare(const uint8_t* from, ptrdiff_t along, uint8_t* to, ptrdiff_t rowStep)
{
    constexpr int n = square<bytes>;
    __m128i rows[n], next[n];
    for (ptrdiff_t i = 0; i < n; ++i)
        rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i * along));
    for (int apart = n / 2; apart > 0; apart /= 2) {
        for (int i = 0; i < n / 2; ++i) {
            next[2 * i] = firstHalves<bytes>(rows[i], rows[i + n / 2]);
            next[2 * i + 1] = lastHalves<bytes>(rows[i], rows[i + n / 2]);
        }
        for (int i = 0; i < n; ++i)
            rows[i] = next[i];
    }
    for (ptrdiff_t i = 0; i < n; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * rowStep), rows[i]);
}
#endif

#if defined(__AVX2__)
template <>
constexpr int32_t square<3> = 4;

template <>
inline void turnSquare<3>(const uint8_t* from, ptrdiff_t along, uint8_t* to, ptrdiff_t rowStep)
{
    FourPixels<3>::turn({from, from + along, from + 2 * along, from + 3 * along},
                        {to, to + rowStep, to + 2 * rowStep, to + 3 * rowStep});
}
#endif

// A part of a piece, no larger than a block.
struct Part {
    const uint8_t* from;
    uint8_t* to;
    int32_t columns, rows;
};

// Turns a part whose rows and columns are whole squares.
template <int bytes>
inline void turnSquares(const OwnTurnPiece& piece, const Part& part, uint8_t* to, ptrdiff_t rowStep)
{
    constexpr ptrdiff_t n = square<bytes>;
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down);
    const ptrdiff_t back = down < 0 ? n - 1 : 0;  // the first column in memory belongs to the last row of a square
    for (ptrdiff_t y = 0; y < part.rows; y += n)
        for (ptrdiff_t x = 0; x < part.columns; x += n)
            turnSquare<bytes>(part.from + x * along + (y + back) * down, along, to + (y + back) * rowStep + x * bytes,
                              back ? -rowStep : rowStep);
}

// Asks for n rows before they are met: they lie too far apart for the machine to guess.
inline void prefetch(const uint8_t* p, ptrdiff_t rowStep, int32_t n, ptrdiff_t rowBytes)
{
    for (; n > 0; --n, p += rowStep)
        for (ptrdiff_t k = 0; k < rowBytes; k += 64)
            __builtin_prefetch(p + k, 0, 2);
}

// The same by way of a block of its own, so that each line of either image is fetched once: rows a power of two apart
// share few places of the cache, and drive each other out. So many columns follow to the right.
template <int bytes>
void turnByBlock(const OwnTurnPiece& piece, const Part& part, int32_t following)
{
    constexpr ptrdiff_t blockStep = side<bytes> * bytes;
    alignas(64) uint8_t block[side<bytes> * blockStep];
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down);
    const ptrdiff_t first = down < 0 ? (part.rows - 1) * down : 0;
    prefetch(part.from + part.columns * along + first, along, following, part.rows * ptrdiff_t{bytes});
    prefetch(part.to + part.columns * ptrdiff_t{bytes}, piece.rowStep, part.rows, following * ptrdiff_t{bytes});
    turnSquares<bytes>(piece, part, block, blockStep);
    for (ptrdiff_t y = 0; y < part.rows; ++y)
        __builtin_memcpy(part.to + y * piece.rowStep, block + y * blockStep, size_t(part.columns) * bytes);
}

// Turns a part as far as whole squares go, and tells how far.
template <int bytes>
Part turnWhole([[maybe_unused]] const OwnTurnPiece& piece, Part part, [[maybe_unused]] int32_t following)
{
    constexpr ptrdiff_t cached = ptrdiff_t{1} << 20;
    constexpr int32_t n = square<bytes>;
    if constexpr (n > 0)
        if (piece.step == bytes && (piece.down == bytes || piece.down == -bytes)) {
            part.columns &= -n;
            part.rows &= -n;
            if (piece.height > cached / piece.rowStep)
                turnByBlock<bytes>(piece, part, following);
            else
                turnSquares<bytes>(piece, part, part.to, piece.rowStep);
            return part;
        }
    return {part.from, part.to, 0, 0};
}

template <int bytes>
void turn(const OwnTurnPiece& piece)
{
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down);
    const bool isHalf = along == -bytes;
    const int32_t width = isHalf ? piece.width : side<bytes>;
    for (int32_t top = 0; top < piece.height;) {
        const int32_t rows = least(side<bytes>, piece.height - top);
        for (int32_t left = 0; left < piece.width;) {
            const int32_t columns = least(width, piece.width - left);
            const Part part = {piece.from + left * along + top * down,
                               piece.to + left * piece.step + top * piece.rowStep, columns, rows};
            const Part whole = turnWhole<bytes>(piece, part, least(width, piece.width - left - columns));
            for (ptrdiff_t y = 0; y < rows; ++y) {
                const ptrdiff_t x = y < whole.rows ? whole.columns : 0;
                turnRow<bytes>(part.from + y * down + x * along, along, part.to + y * piece.rowStep + x * piece.step,
                               piece.step, columns - int32_t(x));
            }
            left += columns;
        }
        top += rows;
    }
}

void turnBits(const OwnTurnPiece& piece)
{
    for (int32_t y = 0; y < piece.height; ++y) {
        uint8_t* const to = piece.to + y * piece.rowStep;
        int64_t from = piece.fromBit + y * piece.down;
        for (int64_t x = piece.toBit; x < piece.toBit + piece.width; ++x, from += piece.along) {
            const int bit = 128 >> (x & 7);
            const bool isSet = piece.from[from >> 3] & (128 >> (from & 7));
            to[x >> 3] = uint8_t(isSet ? to[x >> 3] | bit : to[x >> 3] & ~bit);
        }
    }
}

}  // namespace

extern const OwnTurnKernels ownTurnKernels = {{turnBits, turn<1>, turn<2>, turn<3>, turn<4>, nullptr, turn<6>, nullptr,
                                               turn<8>, nullptr, nullptr, nullptr, turn<12>, nullptr, nullptr, nullptr,
                                               turn<16>}};

}  // namespace OWN_ISA
