// For kernel sources only: bringing samples from where they lie in a row to where they are needed.
//
// With byte shuffles, a vector of the result comes from a few vectors of the source, as long as its bytes lie near each
// other; what goes where is worked out once for all rows. Otherwise pixels are copied one by one.
#pragma once

#include <string.h>

#include "ownscale.h"

#if defined(OWN_ISA)
namespace OWN_ISA {

// Hands out parts of a block of memory.
struct Memory {
    uint8_t* next;

    template <class T>
    T* take(ptrdiff_t count)
    {
        auto* block = reinterpret_cast<T*>(next);
        next += (count * ptrdiff_t(sizeof(T)) + 31) & ~ptrdiff_t{31};
        return block;
    }
};

inline int64_t roomFor(int64_t count, int64_t bytes)
{
    return (count * bytes + 31) & ~int64_t{31};
}

// ---- Shuffles -----------------------------------------------------------------------------------------------------

// Vectors of 32 bytes of a result, each half of which is put together of some loads of 16 bytes. The last vector may
// overlap the one before it.
struct Shuffle {
    static constexpr int mostLoads = 4;

    int loads = 0;        // 0 where there is none
    bool shared = false;  // one load brings both halves
    ptrdiff_t vectors = 0;
    int32_t* starts;  // [vector][load][half]: where a load begins in the source
    uint8_t* order;   // [vector][load][32]

    static int64_t bytes([[maybe_unused]] int64_t resultBytes)
    {
#if defined(__AVX2__)
        int64_t most = (resultBytes + 31) / 32 * mostLoads;
        return roomFor(most, 2 * sizeof(int32_t)) + roomFor(most, 32) + roomFor(resultBytes, sizeof(int32_t));
#else
        return 0;
#endif
    }
};

#if defined(__AVX2__)

// Where a vector begins in a result of so many bytes, at least 32.
inline ptrdiff_t vectorStart(ptrdiff_t vector, ptrdiff_t resultBytes)
{
    ptrdiff_t last = resultBytes - 32;
    return vector * 32 < last ? vector * 32 : last;
}

struct Range {
    int32_t low, high;
};

// The least and the greatest of 16 numbers, of which none is below 0.
inline Range rangeOf(const int32_t* numbers)
{
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(numbers));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(numbers + 8));
    // The least of their complements is that of the greatest.
    const __m256i least = _mm256_min_epi32(a, b),
                  most = _mm256_xor_si256(_mm256_max_epi32(a, b), _mm256_set1_epi32(-1));
    __m128i low = _mm_min_epi32(_mm256_castsi256_si128(least), _mm256_extracti128_si256(least, 1));
    __m128i high = _mm_min_epi32(_mm256_castsi256_si128(most), _mm256_extracti128_si256(most, 1));
    __m128i both = _mm_min_epi32(_mm_unpacklo_epi32(low, high), _mm_unpackhi_epi32(low, high));
    both = _mm_min_epi32(both, _mm_unpackhi_epi64(both, both));
    return {_mm_cvtsi128_si32(both), ~_mm_extract_epi32(both, 1)};
}

// The order of those of 16 bytes that a load at `start` brings and the loads before it, up to `before`, have not
// brought.
inline __m128i orderOf(const int32_t* from, int32_t start, int32_t before)
{
    const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
    const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from + 8));
    const __m256i origin = _mm256_set1_epi32(start);
    const __m256i words =
        _mm256_permute4x64_epi64(_mm256_packs_epi32(_mm256_sub_epi32(a, origin), _mm256_sub_epi32(b, origin)), 0xD8);
    const __m128i places = _mm_packs_epi16(_mm256_castsi256_si128(words), _mm256_extracti128_si256(words, 1));
    const __m128i brought = _mm_cmplt_epi8(places, _mm_set1_epi8(int8_t(before - start)));
    // Shuffles look at the lowest four bits, and at the highest, which says that there is nothing to bring: places from
    // 16 on get that too.
    return _mm_or_si128(_mm_adds_epu8(places, _mm_set1_epi8(0x70)), brought);
}

// from[i], of `bytes`, is where byte i of the result stands in the source, of which `sourceBytes` may be read.
inline void makeShuffle(Shuffle& shuffle, Memory& memory, const int32_t* from, ptrdiff_t bytes, ptrdiff_t sourceBytes)
{
    if (bytes < 32 || sourceBytes < 16)
        return;
    const ptrdiff_t vectors = (bytes + 31) / 32;
    shuffle.starts = memory.take<int32_t>(vectors * Shuffle::mostLoads * 2);
    shuffle.order = memory.take<uint8_t>(vectors * Shuffle::mostLoads * 32);
    int32_t widest = 0, widestPair = 0;
    for (ptrdiff_t vector = 0; vector < vectors; ++vector) {
        const int32_t* first = from + vectorStart(vector, bytes);
        const Range a = rangeOf(first), b = rangeOf(first + 16);
        auto widen = [](int32_t& most, int32_t width) { most = width > most ? width : most; };
        widen(widest, a.high - a.low);
        widen(widest, b.high - b.low);
        widen(widestPair, (a.high > b.high ? a.high : b.high) - (a.low < b.low ? a.low : b.low));
        shuffle.starts[vector * 2] = a.low;
        shuffle.starts[vector * 2 + 1] = b.low;
    }
    const int loads = widest / 16 + 1;
    if (loads > Shuffle::mostLoads)
        return;
    shuffle.shared = widestPair < 16;
    // Backwards, since the lowest bytes wait in the place of the starts.
    const auto last = int32_t(sourceBytes - 16);
    for (ptrdiff_t vector = vectors; vector-- > 0;) {
        const int32_t* first = from + vectorStart(vector, bytes);
        int32_t low[2] = {shuffle.starts[vector * 2], shuffle.starts[vector * 2 + 1]};
        if (shuffle.shared)
            low[0] = low[1] = low[0] < low[1] ? low[0] : low[1];
        for (int load = 0; load < loads; ++load)
            for (int half = 0; half < 2; ++half) {
                const ptrdiff_t place = (vector * loads + load) * 2 + half;
                const int32_t before = low[half] + load * 16, start = before < last ? before : last;
                _mm_storeu_si128(reinterpret_cast<__m128i*>(shuffle.order + place * 16),
                                 orderOf(first + half * 16, start, before));
                shuffle.starts[place] = start;
            }
    }
    shuffle.loads = loads;
    shuffle.vectors = vectors;
}

// Sources that are alike; kept by value, so that their places need not be looked up for every vector.
template <int count>
struct ByteRows {
    const uint8_t* row[count];
    explicit ByteRows(const void* const* given)
    {
        for (int k = 0; k < count; ++k)
            row[k] = static_cast<const uint8_t*>(given[k]);
    }
};

// Vector `vector` of the results of the sources.
template <int loads, bool shared, int sources>
inline __attribute__((always_inline)) void shuffled(const Shuffle& shuffle, ptrdiff_t vector,
                                                    const ByteRows<sources>& src, __m256i (&result)[sources])
{
    for (int load = 0; load < loads; ++load) {
        const ptrdiff_t place = vector * loads + load, low = shuffle.starts[place * 2],
                        high = shuffle.starts[place * 2 + 1];
        const __m256i order = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(shuffle.order + place * 32));
        for (int i = 0; i < sources; ++i) {
            const auto* lower = reinterpret_cast<const __m128i*>(src.row[i] + low);
            const auto* upper = reinterpret_cast<const __m128i*>(src.row[i] + high);
            __m256i part =
                shared ? _mm256_broadcastsi128_si256(_mm_loadu_si128(lower)) : _mm256_loadu2_m128i(upper, lower);
            part = _mm256_shuffle_epi8(part, order);
            result[i] = load ? _mm256_or_si256(result[i], part) : part;
        }
    }
}

// Hands each vector of the results, of so many elements of type T, and the element that it begins with, to run.
template <class T, int loads, bool shared, int sources, class Run>
inline __attribute__((always_inline)) void forVectors(const Shuffle& given, const ByteRows<sources>& rows, ptrdiff_t n,
                                                      Run run)
{
    constexpr ptrdiff_t inVector = 32 / sizeof(T);
    const Shuffle shuffle = given;
    const ByteRows<sources> src = rows;
    const ptrdiff_t last = shuffle.vectors - 1;
    __m256i vectors[sources];
    for (ptrdiff_t i = 0; i < last; ++i) {
        shuffled<loads, shared>(shuffle, i, src, vectors);
        run(vectors, i * inVector);
    }
    shuffled<loads, shared>(shuffle, last, src, vectors);
    run(vectors, n - inVector);
}

template <class T, int sources, class Run>
inline __attribute__((always_inline)) void runShuffle(const Shuffle& shuffle, const ByteRows<sources>& src, ptrdiff_t n,
                                                      Run run)
{
    if (shuffle.shared)
        return forVectors<T, 1, true>(shuffle, src, n, run);
    switch (shuffle.loads) {
    case 1: return forVectors<T, 1, false>(shuffle, src, n, run);
    case 2: return forVectors<T, 2, false>(shuffle, src, n, run);
    case 3: return forVectors<T, 3, false>(shuffle, src, n, run);
    default: return forVectors<T, 4, false>(shuffle, src, n, run);
    }
}

#endif

// ---- Picks --------------------------------------------------------------------------------------------------------

// How the samples of a row's pixels are picked.
struct Pick {
    Shuffle shuffle;
    bool isCopy;  // the pixels lie side by side as they are needed
};

#if defined(__AVX2__)
// Where the bytes of the pixels' first samples stand.
inline const int32_t* bytesOf(const OwnScaleColumns& columns, ptrdiff_t pixelBytes, Memory& memory)
{
    auto* from = memory.take<int32_t>(columns.count * pixelBytes);
    for (ptrdiff_t i = 0; i < columns.count; ++i) {
        auto first = int32_t((columns.index[i] - columns.base) * pixelBytes);
        for (ptrdiff_t k = 0; k < pixelBytes; ++k)
            from[i * pixelBytes + k] = int32_t(first + k);
    }
    return from;
}
#endif

inline int64_t pickBytes(const OwnScaleColumns& columns, int valueBytes)
{
    return Shuffle::bytes(int64_t{columns.values()} * valueBytes);
}

inline void makePick(Pick& pick, [[maybe_unused]] Memory& memory, const OwnScaleColumns& columns,
                     [[maybe_unused]] int valueBytes)
{
    pick = {};
    pick.isCopy = true;
    for (ptrdiff_t i = 0; i < columns.count && pick.isCopy; ++i)
        pick.isCopy = columns.index[i] - columns.index[0] == i;
#if defined(__AVX2__)
    if (pick.isCopy)
        return;
    const ptrdiff_t pixel = ptrdiff_t(columns.lanes) * valueBytes;
    // Samples after the first are picked by the same shuffle, further on.
    ptrdiff_t sourceBytes = (columns.sourceCount - (columns.samples - 1)) * pixel;
    makeShuffle(pick.shuffle, memory, bytesOf(columns, pixel, memory), columns.count * pixel, sourceBytes);
#endif
}

template <int bytes>
void pickPixels(const OwnScaleColumns& columns, const uint8_t* src, void* dst)
{
    struct Pixel {
        uint8_t value[bytes];
    };
    src -= ptrdiff_t(columns.base) * bytes;
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        ownStore(dst, i, ownLoad<Pixel>(src, columns.index[i]));
}

inline void pickAny(const OwnScaleColumns& columns, int pixelBytes, const uint8_t* src, uint8_t* dst)
{
    switch (pixelBytes) {
    case 1: return pickPixels<1>(columns, src, dst);
    case 2: return pickPixels<2>(columns, src, dst);
    case 3: return pickPixels<3>(columns, src, dst);
    case 4: return pickPixels<4>(columns, src, dst);
    case 6: return pickPixels<6>(columns, src, dst);
    case 8: return pickPixels<8>(columns, src, dst);
    case 12: return pickPixels<12>(columns, src, dst);
    case 16: return pickPixels<16>(columns, src, dst);
    default:
        for (ptrdiff_t i = 0; i < columns.count; ++i)
            memcpy(dst + i * pixelBytes, src + ptrdiff_t(columns.index[i] - columns.base) * pixelBytes,
                   size_t(pixelBytes));
    }
}

// Copies sample `sample` of every pixel.
inline void pickSample(const Pick& pick, const OwnScaleColumns& columns, int valueBytes, const void* row, int sample,
                       void* result)
{
    const ptrdiff_t pixel = ptrdiff_t(columns.lanes) * valueBytes;
    const auto* src = static_cast<const uint8_t*>(row) + sample * pixel;
    auto* dst = static_cast<uint8_t*>(result);
    if (pick.isCopy) {
        memcpy(dst, src + (columns.index[0] - columns.base) * pixel, size_t(columns.count * pixel));
        return;
    }
#if defined(__AVX2__)
    if (pick.shuffle.loads) {
        const void* const sources[1] = {src};
        runShuffle<uint8_t>(pick.shuffle, ByteRows<1>(sources), columns.count * pixel,
                            [dst](const __m256i(&vectors)[1], ptrdiff_t at) {
                                _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + at), vectors[0]);
                            });
        return;
    }
#endif
    pickAny(columns, int(pixel), src, dst);
}

}  // namespace OWN_ISA
#endif
