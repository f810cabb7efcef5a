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

    int loads = 0;  // 0 where there is none
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

// Finds out which loads hold 16 bytes of a source; their lowest and how many loads there have to be.
inline int32_t lowestOf(const int32_t* from, int& loads)
{
    int32_t low = from[0], high = from[0];
    for (int i = 1; i < 16; ++i) {
        low = from[i] < low ? from[i] : low;
        high = from[i] > high ? from[i] : high;
    }
    int needed = (high - low) / 16 + 1;
    loads = needed > loads ? needed : loads;
    return low;
}

// The order of those of 16 bytes that a load at `start` brings and the loads before it, up to `before`, have not
// brought.
inline void makeOrder(const int32_t* from, int32_t start, int32_t before, uint8_t* order)
{
    for (int i = 0; i < 16; ++i) {
        bool here = from[i] >= before && from[i] >= start && from[i] < start + 16;
        order[i] = uint8_t(here ? from[i] - start : 128);
    }
}

// from[i], of `bytes`, is where byte i of the result stands in the source, of which `sourceBytes` may be read.
inline void makeShuffle(Shuffle& shuffle, Memory& memory, const int32_t* from, ptrdiff_t bytes, ptrdiff_t sourceBytes)
{
    if (bytes < 32 || sourceBytes < 16)
        return;
    const ptrdiff_t vectors = (bytes + 31) / 32;
    shuffle.starts = memory.take<int32_t>(vectors * Shuffle::mostLoads * 2);
    shuffle.order = memory.take<uint8_t>(vectors * Shuffle::mostLoads * 32);
    int loads = 1;
    for (ptrdiff_t half = 0; half < vectors * 2; ++half) {
        const int32_t* first = from + vectorStart(half / 2, bytes) + (half & 1) * 16;
        shuffle.starts[half] = lowestOf(first, loads);
        if (loads > Shuffle::mostLoads)
            return;
    }
    // Backwards, since the lowest bytes wait in the place of the starts.
    const auto last = int32_t(sourceBytes - 16);
    for (ptrdiff_t half = vectors * 2; half-- > 0;) {
        const int32_t* first = from + vectorStart(half / 2, bytes) + (half & 1) * 16;
        const int32_t low = shuffle.starts[half];
        for (int load = 0; load < loads; ++load) {
            const ptrdiff_t place = half / 2 * loads + load;
            const int32_t before = low + load * 16, start = before < last ? before : last;
            makeOrder(first, start, before, shuffle.order + place * 32 + (half & 1) * 16);
            shuffle.starts[place * 2 + (half & 1)] = start;
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
template <int loads, int sources>
inline __attribute__((always_inline)) void shuffled(const Shuffle& shuffle, ptrdiff_t vector,
                                                    const ByteRows<sources>& src, __m256i (&result)[sources])
{
    for (int load = 0; load < loads; ++load) {
        const ptrdiff_t place = vector * loads + load, low = shuffle.starts[place * 2],
                        high = shuffle.starts[place * 2 + 1];
        const __m256i order = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(shuffle.order + place * 32));
        for (int i = 0; i < sources; ++i) {
            __m256i part = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(src.row[i] + high),
                                               reinterpret_cast<const __m128i*>(src.row[i] + low));
            part = _mm256_shuffle_epi8(part, order);
            result[i] = load ? _mm256_or_si256(result[i], part) : part;
        }
    }
}

// Hands each vector of the results, of so many elements of type T, and the element that it begins with, to run.
template <class T, int loads, int sources, class Run>
inline __attribute__((always_inline)) void forVectors(const Shuffle& given, const ByteRows<sources>& rows, ptrdiff_t n,
                                                      Run run)
{
    constexpr ptrdiff_t inVector = 32 / sizeof(T);
    const Shuffle shuffle = given;
    const ByteRows<sources> src = rows;
    const ptrdiff_t last = shuffle.vectors - 1;
    __m256i vectors[sources];
    for (ptrdiff_t i = 0; i < last; ++i) {
        shuffled<loads>(shuffle, i, src, vectors);
        run(vectors, i * inVector);
    }
    shuffled<loads>(shuffle, last, src, vectors);
    run(vectors, n - inVector);
}

template <class T, int sources, class Run>
inline __attribute__((always_inline)) void runShuffle(const Shuffle& shuffle, const ByteRows<sources>& src, ptrdiff_t n,
                                                      Run run)
{
    switch (shuffle.loads) {
    case 1: return forVectors<T, 1>(shuffle, src, n, run);
    case 2: return forVectors<T, 2>(shuffle, src, n, run);
    case 3: return forVectors<T, 3>(shuffle, src, n, run);
    default: return forVectors<T, 4>(shuffle, src, n, run);
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
