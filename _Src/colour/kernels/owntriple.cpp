// Three values of pixels side by side, apart and together again.
#include "owntriple.h"

#include "ownsteps.h"

namespace OWN_ISA {
namespace {

// A step that the compiler knows, or any other where it is 0.
template <class T, int known>
void splitLoop(const void* pixels, ptrdiff_t step, void* const* rows, ptrdiff_t n)
{
    const OwnValues<T> from = {pixels};
    void *a = rows[0], *b = rows[1], *c = rows[2];
    step = known ? known : step;
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        ownStore<T>(a, i, from[i * step]);
        ownStore<T>(b, i, from[i * step + 1]);
        ownStore<T>(c, i, from[i * step + 2]);
    }
}

template <class T, int known>
void joinLoop(const void* const* rows, void* pixels, ptrdiff_t step, ptrdiff_t n)
{
    const OwnValues<T> a = {rows[0]}, b = {rows[1]}, c = {rows[2]};
    step = known ? known : step;
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        ownStore<T>(pixels, i * step, a[i]);
        ownStore<T>(pixels, i * step + 1, b[i]);
        ownStore<T>(pixels, i * step + 2, c[i]);
    }
}

#if defined(__AVX2__)
// Sixteen pixels of three bytes are three vectors, and so are their rows; pixels of wider values are likewise three
// vectors of as many values as there is room for. For each vector that is made and each that it is made of, the bytes
// to take, -1 for none.
struct Shuffles {
    alignas(16) int8_t split[3][3][16];  // [row][vector of pixels]
    alignas(16) int8_t join[3][3][16];   // [vector of pixels][row]
};

constexpr Shuffles makeShuffles(int bytes)
{
    Shuffles shuffles = {};
    for (int a = 0; a < 3; ++a)
        for (int b = 0; b < 3; ++b)
            for (int i = 0; i < 16; ++i)
                shuffles.split[a][b][i] = shuffles.join[a][b][i] = -1;
    for (int place = 0; place < 48; ++place) {  // of a byte among those of the pixels
        int value = place / bytes;
        int row = value % 3, placeInRow = value / 3 * bytes + place % bytes;
        shuffles.split[row][place / 16][placeInRow] = int8_t(place % 16);
        shuffles.join[place / 16][row][place % 16] = int8_t(placeInRow);
    }
    return shuffles;
}

template <int bytes>
constexpr Shuffles shuffles = makeShuffles(bytes);

inline __m256i shuffled(const __m256i (&from)[3], const int8_t (&take)[3][16])
{
    __m256i all = _mm256_setzero_si256();
    for (int i = 0; i < 3; ++i) {
        __m256i bytes = _mm256_broadcastsi128_si256(_mm_load_si128(reinterpret_cast<const __m128i*>(take[i])));
        all = _mm256_or_si256(all, _mm256_shuffle_epi8(from[i], bytes));
    }
    return all;
}

// Pixels of two groups of three vectors, one in each half.
constexpr ptrdiff_t groupPixels(int bytes)
{
    return 32 / bytes;
}

template <int bytes>
inline void splitGroups(const uint8_t* pixels, void* const* rows, ptrdiff_t i)
{
    auto* from = reinterpret_cast<const __m128i*>(pixels + i * 3 * bytes);
    const __m256i mixed[3] = {_mm256_loadu2_m128i(from + 3, from), _mm256_loadu2_m128i(from + 4, from + 1),
                              _mm256_loadu2_m128i(from + 5, from + 2)};
    for (int row = 0; row < 3; ++row)
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(static_cast<uint8_t*>(rows[row]) + i * bytes),
                            shuffled(mixed, shuffles<bytes>.split[row]));
}

template <int bytes>
inline void joinGroups(const void* const* rows, uint8_t* pixels, ptrdiff_t i)
{
    __m256i apart[3];
    for (int row = 0; row < 3; ++row)
        apart[row] =
            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(static_cast<const uint8_t*>(rows[row]) + i * bytes));
    auto* to = reinterpret_cast<__m128i*>(pixels + i * 3 * bytes);
    for (int vector = 0; vector < 3; ++vector)
        _mm256_storeu2_m128i(to + vector + 3, to + vector, shuffled(apart, shuffles<bytes>.join[vector]));
}

// Whole groups; the last one overlaps the one before.
template <int bytes, class Group>
inline void forGroups(ptrdiff_t n, Group group)
{
    for (ptrdiff_t i = 0; i < n - groupPixels(bytes); i += groupPixels(bytes))
        group(i);
    group(n - groupPixels(bytes));
}
#endif

template <class T>
void split(const void* pixels, ptrdiff_t step, void* const* rows, ptrdiff_t n)
{
#if defined(__AVX2__)
    if (step == 3 && n >= groupPixels(sizeof(T)))
        return forGroups<sizeof(T)>(
            n, [=](ptrdiff_t i) { splitGroups<sizeof(T)>(static_cast<const uint8_t*>(pixels), rows, i); });
#endif
    if (step == 3)
        splitLoop<T, 3>(pixels, step, rows, n);
    else if (step == 4)
        splitLoop<T, 4>(pixels, step, rows, n);
    else
        splitLoop<T, 0>(pixels, step, rows, n);
}

template <class T>
void join(const void* const* rows, void* pixels, ptrdiff_t step, ptrdiff_t n)
{
#if defined(__AVX2__)
    if (step == 3 && n >= groupPixels(sizeof(T)))
        return forGroups<sizeof(T)>(
            n, [=](ptrdiff_t i) { joinGroups<sizeof(T)>(rows, static_cast<uint8_t*>(pixels), i); });
#endif
    if (step == 3)
        joinLoop<T, 3>(rows, pixels, step, n);
    else if (step == 4)
        joinLoop<T, 4>(rows, pixels, step, n);
    else
        joinLoop<T, 0>(rows, pixels, step, n);
}

}  // namespace

extern const OwnTripleMoves ownTripleMoves;
const OwnTripleMoves ownTripleMoves = {
    {split<uint8_t>, split<uint16_t>, split<uint32_t>},
    {join<uint8_t>, join<uint16_t>, join<uint32_t>},
};

}  // namespace OWN_ISA
