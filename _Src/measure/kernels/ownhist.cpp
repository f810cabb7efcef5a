// Kernels of histograms and of the maps made of them.
#include "ownhist.h"

namespace OWN_ISA {
namespace {

// One channel after the other, each in its first table.
template <class T>
void countChannels(const OwnHistogram& histogram, const uint8_t* row, const OwnReadRows& rows)
{
    uint32_t* counts = histogram.tableOf(rows.channel);
    const ptrdiff_t channelStep = histogram.tableOf(1) - histogram.counts;
    const OwnValues<T> values = {row};
    for (ptrdiff_t i = 0; i < rows.n; i += rows.channels)
        for (int32_t c = 0; c < rows.channels; ++c)
            ++counts[c * channelStep + values[i + c]];
}

void countBytes(const OwnHistogram& histogram, const uint8_t* row, const OwnReadRows& rows)
{
    uint32_t* counts = histogram.tableOf(rows.channel);
    ptrdiff_t i = 0;
    for (; i <= rows.n - ownHistTables; i += ownHistTables) {
        uint64_t eight = ownLoad<uint64_t>(row + i);
#pragma GCC unroll 8
        for (int k = 0; k < ownHistTables; ++k, eight >>= 8)
            ++counts[k * ownHistTableStep(256) + int(eight & 255)];
    }
    for (; i < rows.n; ++i)
        ++counts[row[i]];
}

template <class T>
void count(OwnHistogram& histogram, const OwnReadRows& rows)
{
    auto* row = static_cast<const uint8_t*>(rows.a);
    for (ptrdiff_t y = 0; y < rows.count; ++y, row += rows.aStep) {
        if (sizeof(T) == 1 && rows.channels == 1)
            countBytes(histogram, row, rows);
        else
            countChannels<T>(histogram, row, rows);
    }
}

template <class T>
struct Map {
    using Source = T;
    using Result = T;
    const T* table;

    explicit Map(const void* scalar) : table(static_cast<const T*>(scalar)) {}
    T operator()(T a) const { return table[a]; }
#if defined(__AVX2__)
    // The table is looked up in parts of 16 entries. A byte that belongs to another part passes 127 and so reads
    // nothing.
    Vector<T> operator()(Vector<T> a) const requires(sizeof(T) == 1)
    {
        const __m256i outside = _mm256_set1_epi8(0x70);
        __m256i found = _mm256_setzero_si256();
#pragma GCC unroll 16
        for (int part = 0; part < 16; ++part) {
            const __m256i entries =
                _mm256_broadcastsi128_si256(_mm_loadu_si128(reinterpret_cast<const __m128i*>(table) + part));
            const __m256i index = _mm256_xor_si256((__m256i)a, _mm256_set1_epi8(char(part << 4)));
            found = _mm256_or_si256(found, _mm256_shuffle_epi8(entries, _mm256_adds_epu8(index, outside)));
        }
        return (Vector<T>)found;
    }
#endif
};

template <class T, int knownChannels>
void mapPixelsOf(const OwnRows& rows, ptrdiff_t step, ptrdiff_t channels)
{
    constexpr ptrdiff_t size = ptrdiff_t{1} << (8 * sizeof(T));
    auto* tables = static_cast<const T*>(rows.b);
    channels = knownChannels ? knownChannels : channels;
    for (ptrdiff_t y = 0; y < rows.count; ++y) {
        const uint8_t* a = static_cast<const uint8_t*>(rows.a) + y * rows.aStep;
        uint8_t* d = static_cast<uint8_t*>(rows.d) + y * rows.dStep;
        for (ptrdiff_t i = 0; i < rows.n; ++i)
            for (ptrdiff_t c = 0; c < channels; ++c)
                ownStore<T>(d, i * step + c, tables[c * size + ownLoad<T>(a, i * step + c)]);
    }
}

template <class T>
void mapPixels(const OwnRows& rows, ptrdiff_t step, ptrdiff_t channels)
{
    if (channels == 3)
        mapPixelsOf<T, 3>(rows, step, channels);
    else
        mapPixelsOf<T, 0>(rows, step, channels);
}

}  // namespace

extern const OwnHistKernels ownHistKernels;
const OwnHistKernels ownHistKernels = {
    count<uint8_t>,     count<uint16_t>,    OneSourceRows<Map<uint8_t>>::kernel, OneSourceRows<Map<uint16_t>>::kernel,
    mapPixels<uint8_t>, mapPixels<uint16_t>};

}  // namespace OWN_ISA
