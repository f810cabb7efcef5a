#include "ownturn.h"

#include "ownfour.h"

namespace OWN_ISA {
namespace {

// Squares of pixels, so that what is read across rows is used while it is in the cache.
constexpr int32_t side = 64;

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

#if defined(__SSE2__)
// The columns of sixteen rows of sixteen bytes as rows, by four rounds that bring together what is eight, then four,
// two and one rows apart.
inline void turnSquare(const uint8_t* from, ptrdiff_t along, uint8_t* to, ptrdiff_t rowStep)
{
    __m128i rows[16], next[16];
    for (ptrdiff_t i = 0; i < 16; ++i)
        rows[i] = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + i * along));
    for (int round = 0; round < 4; ++round) {
        for (int i = 0; i < 8; ++i) {
            next[2 * i] = _mm_unpacklo_epi8(rows[i], rows[i + 8]);
            next[2 * i + 1] = _mm_unpackhi_epi8(rows[i], rows[i + 8]);
        }
        for (int i = 0; i < 16; ++i)
            rows[i] = next[i];
    }
    for (ptrdiff_t i = 0; i < 16; ++i)
        _mm_storeu_si128(reinterpret_cast<__m128i*>(to + i * rowStep), rows[i]);
}

// A square of bytes whose rows are columns of the source, as far as whole squares of sixteen go.
inline void turnSquares(const OwnTurnPiece& piece, const uint8_t* from, uint8_t* to, int32_t width, int32_t height)
{
    const ptrdiff_t back = piece.down < 0 ? 15 : 0;  // the first column in memory belongs to the last row of a square
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down);
    for (ptrdiff_t y = 0; y + 16 <= height; y += 16)
        for (ptrdiff_t x = 0; x + 16 <= width; x += 16)
            turnSquare(from + x * along + y * down - back, along, to + (y + back) * piece.rowStep + x,
                       back ? -piece.rowStep : piece.rowStep);
}
#endif

#if defined(__AVX2__)
// The same for pixels of three or four bytes, by squares of four.
template <int bytes>
inline void turnFours(const OwnTurnPiece& piece, const uint8_t* from, uint8_t* to, int32_t width, int32_t height)
{
    const ptrdiff_t back = piece.down < 0 ? 3 : 0;
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down),
               step = back ? -piece.rowStep : piece.rowStep;
    for (ptrdiff_t y = 0; y + 4 <= height; y += 4)
        for (ptrdiff_t x = 0; x + 4 <= width; x += 4) {
            const uint8_t* const p = from + x * along + (y + back) * down;
            uint8_t* const q = to + (y + back) * piece.rowStep + x * bytes;
            FourPixels<bytes>::turn({p, p + along, p + 2 * along, p + 3 * along},
                                    {q, q + step, q + 2 * step, q + 3 * step});
        }
}
#endif

// How many columns and rows are done.
struct Done {
    int32_t columns, rows;
};

// Turns what whole squares hold of a part.
template <int bytes>
inline Done turnWhole([[maybe_unused]] const OwnTurnPiece& piece, [[maybe_unused]] const uint8_t* from,
                      [[maybe_unused]] uint8_t* to, [[maybe_unused]] int32_t width, [[maybe_unused]] int32_t height)
{
    if (piece.step != bytes || (piece.down != bytes && piece.down != -bytes))
        return {0, 0};
#if defined(__SSE2__)
    if constexpr (bytes == 1) {
        turnSquares(piece, from, to, width, height);
        return {width & ~15, height & ~15};
    }
#endif
#if defined(__AVX2__)
    if constexpr (bytes == 3 || bytes == 4) {
        turnFours<bytes>(piece, from, to, width, height);
        return {width & ~3, height & ~3};
    }
#endif
    return {0, 0};
}

template <int bytes>
void turn(const OwnTurnPiece& piece)
{
    const auto along = ptrdiff_t(piece.along), down = ptrdiff_t(piece.down);
    const bool isHalf = along == -bytes;
    const int32_t width = isHalf ? piece.width : side;
    for (int32_t top = 0; top < piece.height;) {
        const int32_t rows = least(side, piece.height - top);
        for (int32_t left = 0; left < piece.width;) {
            const int32_t columns = least(width, piece.width - left);
            const uint8_t* const from = piece.from + left * along + top * down;
            uint8_t* const to = piece.to + left * piece.step + top * piece.rowStep;
            const Done done = turnWhole<bytes>(piece, from, to, columns, rows);
            for (ptrdiff_t y = 0; y < rows; ++y) {
                const ptrdiff_t x = y < done.rows ? done.columns : 0;
                const uint8_t* const row = from + y * down + x * along;
                uint8_t* const target = to + y * piece.rowStep + x * piece.step;
                turnRow<bytes>(row, along, target, piece.step, columns - int32_t(x));
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
