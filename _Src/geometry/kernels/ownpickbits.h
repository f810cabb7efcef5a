// For kernel sources only: bits of a row brought to where they are needed.
//
// A vector of 32 bytes stands for as many bits of the result: each takes the byte of the source that holds its bit, and
// tests it. Those bytes must lie within the sixteen of one load; what goes where is worked out once for all rows.
#pragma once

#include "ownpick.h"

#if defined(OWN_ISA)
namespace OWN_ISA {

constexpr ptrdiff_t bitsTogether = 32;

// For each vector: where its load begins in the source, which of its bytes each lane takes, and the bit it tests.
struct BitPicks {
    ptrdiff_t vectors;
    int32_t* starts;
    uint8_t* order;
    uint8_t* bits;
};

inline ptrdiff_t bitVectors(const OwnScaleColumns& columns)
{
    return (columns.count + bitsTogether - 1) / bitsTogether;
}

// The place of a sample in a row that begins at bit `first` of a byte; those behind the last one are as it is.
inline int32_t bitPlace(const OwnScaleColumns& columns, int first, ptrdiff_t i)
{
    const ptrdiff_t last = columns.count - 1;
    return columns.index[i < last ? i : last] - columns.base + first;
}

inline bool bitsLieNear(const OwnScaleColumns& columns, int first)
{
    for (ptrdiff_t i = 0; i < columns.count; i += bitsTogether)
        if ((bitPlace(columns, first, i + bitsTogether - 1) >> 3) - (bitPlace(columns, first, i) >> 3) >= 16)
            return false;
    return true;
}

inline int64_t bitTableBytes(const OwnScaleColumns& columns)
{
    const ptrdiff_t vectors = bitVectors(columns);
    return roomFor(1, sizeof(BitPicks)) + roomFor(vectors, sizeof(int32_t)) + 2 * roomFor(vectors, bitsTogether);
}

inline void prepareBits(const OwnScaleColumns& columns, int first)
{
    Memory memory = {static_cast<uint8_t*>(columns.table)};
    auto& picks = *memory.take<BitPicks>(1);
    const ptrdiff_t vectors = bitVectors(columns);
    picks = {vectors, memory.take<int32_t>(vectors), memory.take<uint8_t>(vectors * bitsTogether),
             memory.take<uint8_t>(vectors * bitsTogether)};
    for (ptrdiff_t vector = 0; vector < vectors; ++vector) {
        const ptrdiff_t start = vector * bitsTogether;
        picks.starts[vector] = bitPlace(columns, first, start) >> 3;
        for (ptrdiff_t i = 0; i < bitsTogether; ++i) {
            const int32_t place = bitPlace(columns, first, start + i);
            const ptrdiff_t lane = start + (i ^ 7);  // the first of eight bits is the highest of its byte
            picks.order[lane] = uint8_t((place >> 3) - picks.starts[vector]);
            picks.bits[lane] = uint8_t(128 >> (place & 7));
        }
    }
}

// A bit for each of 32 lanes: whether the byte it takes has the bit it tests.
inline uint32_t testedBits(const uint8_t* near, const uint8_t* order, const uint8_t* bits)
{
#if defined(__AVX2__)
    const __m256i tested = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bits));
    const __m256i bytes =
        _mm256_shuffle_epi8(_mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(near))),
                            _mm256_loadu_si256(reinterpret_cast<const __m256i*>(order)));
    return uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(_mm256_and_si256(bytes, tested), tested)));
#else
    alignas(16) uint8_t taken[bitsTogether];
    for (int lane = 0; lane < bitsTogether; ++lane)
        taken[lane] = near[order[lane]] & bits[lane];
#if defined(__SSE2__)
    auto unset = [&](int half) {
        const __m128i bytes = _mm_load_si128(reinterpret_cast<const __m128i*>(taken) + half);
        return uint32_t(_mm_movemask_epi8(_mm_cmpeq_epi8(bytes, _mm_setzero_si128())));
    };
    return ~(unset(0) | unset(1) << 16);
#else
    uint32_t result = 0;
    for (int lane = 0; lane < bitsTogether; ++lane)
        result |= uint32_t(taken[lane] != 0) << lane;
    return result;
#endif
#endif
}

// Behind both rows there is room for a load or a store.
inline void pickBits(const OwnScaleColumns& columns, const uint8_t* src, uint8_t* dst)
{
    const BitPicks picks = *static_cast<const BitPicks*>(columns.table);
    for (ptrdiff_t vector = 0; vector < picks.vectors; ++vector) {
        const uint32_t bits = testedBits(src + picks.starts[vector], picks.order + vector * bitsTogether,
                                         picks.bits + vector * bitsTogether);
        for (int k = 0; k < 4; ++k)
            dst[vector * 4 + k] = uint8_t(bits >> 8 * k);
    }
}

}  // namespace OWN_ISA
#endif
