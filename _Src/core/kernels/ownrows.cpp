// The frame's own row kernels.
#include "ownrows.h"

#include <string.h>

#include "ownbitrows.h"
#include "ownmaskwords.h"

namespace OWN_ISA {
namespace {

// ---- Between layouts ----------------------------------------------------------------------------------------------

// A layout known at compile time is vectorised; `step` and `values` of 0 stand for those of the call.
template <class T, int step, int values>
void gatherAs(OwnValues<T> src, void* dst, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        for (int k = 0; k < values; ++k)
            ownStore(dst, i * values + k, src[i * step + k]);
}

template <class T, int step, int values>
void scatterAs(OwnValues<T> src, void* dst, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        for (int k = 0; k < values; ++k)
            ownStore(dst, i * step + k, src[i * values + k]);
}

template <class T>
void gather(const void* from, ptrdiff_t step, ptrdiff_t values, void* dst, ptrdiff_t n)
{
    const OwnValues<T> src = {from};
    if (values == step)
        memcpy(dst, from, size_t(n * step) * sizeof(T));
    else if (values == 1 && step == 2)
        gatherAs<T, 2, 1>(src, dst, n);
    else if (values == 1 && step == 3)
        gatherAs<T, 3, 1>(src, dst, n);
    else if (values == 1 && step == 4)
        gatherAs<T, 4, 1>(src, dst, n);
    else if (values == 3 && step == 4)
        gatherAs<T, 4, 3>(src, dst, n);
    else
        for (ptrdiff_t i = 0; i < n; ++i)
            for (ptrdiff_t k = 0; k < values; ++k)
                ownStore(dst, i * values + k, src[i * step + k]);
}

template <class T>
void scatter(const void* from, void* dst, ptrdiff_t step, ptrdiff_t values, ptrdiff_t n)
{
    const OwnValues<T> src = {from};
    if (values == step)
        memcpy(dst, from, size_t(n * step) * sizeof(T));
    else if (values == 1 && step == 3)
        scatterAs<T, 3, 1>(src, dst, n);
    else if (values == 1 && step == 4)
        scatterAs<T, 4, 1>(src, dst, n);
    else if (values == 3 && step == 4)
        scatterAs<T, 4, 3>(src, dst, n);
    else
        for (ptrdiff_t i = 0; i < n; ++i)
            for (ptrdiff_t k = 0; k < values; ++k)
                ownStore(dst, i * step + k, src[i * values + k]);
}

// ---- Ends of rows -------------------------------------------------------------------------------------------------

// Copies at least a vector, and brings what lies `ahead` into the cache; short rows are copied quicker in place than by
// a call.
inline __attribute__((always_inline)) void copyVectors(const uint8_t* from, uint8_t* to, ptrdiff_t n, ptrdiff_t ahead)
{
    using V = Vector<uint8_t>;
    auto copy = [=](ptrdiff_t i) {
        const V v = vectorAt<uint8_t>(from, i);
        __builtin_memcpy(to + i, &v, sizeof v);
    };
    // The address may lie behind the image, where nothing comes of it.
    const auto next = reinterpret_cast<uintptr_t>(from) + uintptr_t(ahead);
    ptrdiff_t i = 0;
    for (; i + 2 * vectorBytes <= n; i += 2 * vectorBytes) {
        __builtin_prefetch(reinterpret_cast<const void*>(next + uintptr_t(i)));
        copy(i);
        copy(i + vectorBytes);
    }
    if (i + vectorBytes < n)
        copy(i);
    copy(n - vectorBytes);
}

// An end is constant as a whole or not at all: all of its places are then that of the constant.
template <class T>
inline void copyEnd(const uint8_t* row, const int32_t* places, ptrdiff_t n, int32_t constant, uint8_t* to)
{
    const T value = T(constant);
    const bool isConstant = n > 0 && places[0] < 0;
    const void* const from = isConstant ? static_cast<const void*>(&value) : row;
    const int32_t mask = isConstant ? 0 : -1;
    for (ptrdiff_t i = 0; i < n; ++i)
        ownStore(to, i, ownLoad<T>(from, places[i] & mask));
}

template <class T>
void copyEnded(const OwnEndedRows& rows)
{
    const OwnEndedRows r = rows;
    constexpr ptrdiff_t size = sizeof(T);
    for (ptrdiff_t i = 0; i < r.count; ++i) {
        const uint8_t* row = r.row + i * r.rowStep;
        uint8_t* copy = r.copy + i * r.copyStep;
        copyEnd<T>(row, r.placesBefore, r.before, r.constantBefore, copy);
        const uint8_t* from = row + r.first * size;
        uint8_t* to = copy + r.before * size;
        if (r.values * size < vectorBytes)
            memcpy(to, from, size_t(r.values * size));
        else
            copyVectors(from, to, r.values * size, 2 * r.rowStep);
        copyEnd<T>(row, r.placesAfter, r.after, r.constantAfter, copy + (r.before + r.values) * size);
    }
}

// ---- Bits ---------------------------------------------------------------------------------------------------------

// Byte lanes of n bits, the first being bit 7 - bit of *bits.
void byteLanesOf(const uint8_t* bits, int bit, uint8_t* lanes, ptrdiff_t n)
{
    constexpr ptrdiff_t block = 64;
    auto* out = reinterpret_cast<int8_t*>(lanes);
    const MaskLanes all(bits, bit);
    ptrdiff_t i = 0;
    for (; i + block <= n; i += block)
        all.get(i, out + i);
    if (i == n)
        return;
    uint8_t rest[block / 8 + 1] = {};
    int8_t last[block];
    memcpy(rest, bits + ((bit + i) >> 3), size_t((bit + n + 7) >> 3) - size_t((bit + i) >> 3));
    MaskLanes(rest, bit).get(0, last);
    memcpy(out + i, last, size_t(n - i));
}

template <class T, int step, int values>
void widenLanesAs(const uint8_t* pixels, void* lanes, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        T lane = T(int8_t(pixels[i]));  // its sign becomes all bits
        for (int k = 0; k < step; ++k)
            ownStore(lanes, i * step + k, k < values ? lane : T(0));
    }
}

// Four byte lanes a pixel are one word.
template <int values>
void widenToWords(const uint8_t* pixels, void* lanes, ptrdiff_t n)
{
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        uint32_t word = uint32_t(int8_t(pixels[i])) & ownFirstBelow(0xFFFFFFFFu >> (8 * (4 - values)));
        ownStore(lanes, i, word);
    }
}

template <class T>
void widenLanes(const uint8_t* pixels, ptrdiff_t step, ptrdiff_t values, void* lanes, ptrdiff_t n)
{
    if (step == 1)
        widenLanesAs<T, 1, 1>(pixels, lanes, n);
    else if (step == 3 && values == 3)
        widenLanesAs<T, 3, 3>(pixels, lanes, n);
    else if (step == 3 && values == 1)
        widenLanesAs<T, 3, 1>(pixels, lanes, n);
    else if (step == 4 && sizeof(T) == 1 && values == 4)
        widenToWords<4>(pixels, lanes, n);
    else if (step == 4 && sizeof(T) == 1 && values == 3)
        widenToWords<3>(pixels, lanes, n);
    else if (step == 4 && values == 4)
        widenLanesAs<T, 4, 4>(pixels, lanes, n);
    else if (step == 4 && values == 3)
        widenLanesAs<T, 4, 3>(pixels, lanes, n);
    else
        for (ptrdiff_t i = 0; i < n; ++i)
            for (ptrdiff_t k = 0; k < step; ++k)
                ownStore(lanes, i * step + k, k < values ? T(int8_t(pixels[i])) : T(0));
}

template <class T>
void expandLanes(const uint8_t* bits, int bit, ptrdiff_t step, ptrdiff_t values, void* out, ptrdiff_t n)
{
    if (sizeof(T) == 1 && step == 1)
        return byteLanesOf(bits, bit, static_cast<uint8_t*>(out), n);
    constexpr ptrdiff_t most = 1024;  // pixels at a time
    uint8_t pixels[most];
    auto* lanes = static_cast<uint8_t*>(out);
    for (ptrdiff_t done = 0; done < n; done += most) {
        ptrdiff_t now = n - done < most ? n - done : most;
        byteLanesOf(bits + (done >> 3), bit, pixels, now);
        widenLanes<T>(pixels, step, values, lanes + done * step * ptrdiff_t(sizeof(T)), now);
    }
}

// Stores the bits of n pixels. block(start) answers those of 64, as eight bytes in the order of memory; test(i) tells
// of one.
template <class Block, class Test>
inline __attribute__((always_inline)) void storePixelBits(const OwnBitPlace& to, ptrdiff_t n, Block block, Test test)
{
    storeBits(to, n, block, [=](ptrdiff_t count) {
        uint64_t bits = 0;
        for (ptrdiff_t i = 0; i < count; ++i)
            bits |= uint64_t{test(i)} << (bitBlock - 1 - i);
        return bits;
    });
}

// Pixels of as many lanes as T has bytes. Lanes that do not count are taken as set.
template <class T>
void allBitsAs(const uint8_t* lanes, ptrdiff_t values, const OwnBitPlace& to, ptrdiff_t n)
{
    const T all = T(-1);
    const T others = values == ptrdiff_t(sizeof(T)) ? T(0) : ownFirstBelow(T(all << (8 * values)));
    auto test = [=](ptrdiff_t i) { return T(ownLoad<T>(lanes, i) | others) == all; };
    storePixelBits(
        to, n, [=](ptrdiff_t start) { return bitsOfBlock<T>(start, test); }, test);
}

#if defined(__AVX2__)
// Of 16 pixels of three lanes the bits in the order of a byte: each is lane from[block][i] of one block of 16 lanes,
// that begins with the pixel's first lane or, in the last block, ends with the last one that counts.
struct ThirdSource {
    alignas(16) int8_t from[3][16];
};

constexpr ThirdSource makeThirdSource(int values)
{
    ThirdSource source = {};
    for (int i = 0; i < 16; ++i) {
        int first = ((i & 8) | (7 - (i & 7))) * 3;
        int last = first + values - 1;
        for (int block = 0; block < 3; ++block) {
            int lane = last < 32 ? first - block * 16 : block == 2 ? last - 32 : -1;
            source.from[block][i] = lane >= 0 && lane < 16 ? int8_t(lane) : int8_t(-1);
        }
    }
    return source;
}

template <int values>
constexpr ThirdSource thirdSource = makeThirdSource(values);

// The bits of 64 pixels of three lanes, of which the first `values` count.
template <int values>
inline uint64_t thirdBits(const uint8_t* lanes)
{
    uint64_t bits = 0;
    for (ptrdiff_t half = 0; half < 2; ++half) {
        __m256i pixels = _mm256_setzero_si256();
        for (ptrdiff_t block = 0; block < 3; ++block) {
            __m256i all = _mm256_set1_epi8(-1);
            for (ptrdiff_t lane = 0; lane < values; ++lane) {
                ptrdiff_t shift = block < 2 ? lane : -lane;
                auto* from = reinterpret_cast<const __m128i*>(lanes + half * 96 + block * 16 + shift);
                all = _mm256_and_si256(all, _mm256_loadu2_m128i(from + 3, from));
            }
            auto* take = reinterpret_cast<const __m128i*>(thirdSource<values>.from[block]);
            __m256i taken = _mm256_shuffle_epi8(all, _mm256_broadcastsi128_si256(_mm_load_si128(take)));
            pixels = _mm256_or_si256(pixels, taken);
        }
        bits |= uint64_t(uint32_t(_mm256_movemask_epi8(pixels))) << (32 * half);
    }
    return bits;
}
#endif

// Pixels of three lanes, of which the first `values` count.
template <int values>
void allBitsOfThree(const uint8_t* lanes, const OwnBitPlace& to, ptrdiff_t n)
{
    auto test = [=](ptrdiff_t i) {
        uint8_t all = lanes[i * 3];
        for (int k = 1; k < values; ++k)
            all &= lanes[i * 3 + k];
        return all != 0;
    };
#if defined(__AVX2__)
    storePixelBits(
        to, n, [=](ptrdiff_t start) { return thirdBits<values>(lanes + start * 3); }, test);
#else
    storePixelBits(
        to, n, [=](ptrdiff_t start) { return bitsOfBlock<uint8_t>(start, test); }, test);
#endif
}

void allBitsOfMany(const uint8_t* lanes, ptrdiff_t step, ptrdiff_t values, const OwnBitPlace& to, ptrdiff_t n)
{
    auto test = [=](ptrdiff_t i) {
        uint8_t all = 0xFF;
        for (ptrdiff_t k = 0; k < values; ++k)
            all &= lanes[i * step + k];
        return all != 0;
    };
    storePixelBits(
        to, n, [=](ptrdiff_t start) { return bitsOfBlock<uint8_t>(start, test); }, test);
}

void unpackBits(const uint8_t* bits, int bit, uint8_t* out, ptrdiff_t n)
{
    expandLanes<uint8_t>(bits, bit, 1, 1, out, n);
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i)
        out[i] &= 1;
}

void allBits(const uint8_t* lanes, ptrdiff_t step, ptrdiff_t values, const OwnBitPlace& to, ptrdiff_t n)
{
    if (step == 1)
        allBitsAs<uint8_t>(lanes, values, to, n);
    else if (step == 2)
        allBitsAs<uint16_t>(lanes, values, to, n);
    else if (step == 4)
        allBitsAs<uint32_t>(lanes, values, to, n);
    else if (step == 3 && values == 1)
        allBitsOfThree<1>(lanes, to, n);
    else if (step == 3 && values == 2)
        allBitsOfThree<2>(lanes, to, n);
    else if (step == 3)
        allBitsOfThree<3>(lanes, to, n);
    else
        allBitsOfMany(lanes, step, values, to, n);
}

// ---- Values -------------------------------------------------------------------------------------------------------

template <class T>
struct Copy {
    using Source = T;
    using Result = T;
    explicit Copy(const void*) {}
    T operator()(T a) const { return a; }
};

// Rows of one image may lie in the same buffer as the other's, shifted.
template <class T>
__attribute__((flatten)) void copyRun(const OwnRows& rows)
{
    const size_t bytes = size_t(rows.n) * sizeof(T);
    forRows<sizeof(T) * 8, sizeof(T) * 8, 1>(
        rows, [bytes](const uint8_t* a, const uint8_t*, uint8_t* d) { memmove(d, a, bytes); });
}

template <class T>
__attribute__((flatten)) void fillRun(const OwnRows& rows)
{
    const T value = ownLoad<T>(rows.b);
    const ptrdiff_t n = rows.n;
    forRows<sizeof(T) * 8, sizeof(T) * 8, 0>(rows, [=](const uint8_t*, const uint8_t*, uint8_t* d) {
        storeRow<T>(d, n, false, [value](ptrdiff_t) { return value; });
    });
}

template <class T>
void fillSelect(const void*, const void* scalar, void* d, const void* lanes, ptrdiff_t n)
{
    const T value = ownLoad<T>(scalar);
    const OwnValues<Lane<T>> lane = {lanes};
    const OwnValues<T> stored = {d};
    storeRow<T>(d, n, false, [=](ptrdiff_t i) { return OWN_ISA::select<T>(lane[i], value, stored[i]); });
}

template <class T>
void fillMasked(const void*, const void* scalar, void* d, const uint8_t* bits, int bit, ptrdiff_t n)
{
    const T value = ownLoad<T>(scalar);
    maskRow<T>(d, n, bits, bit, [=](ptrdiff_t) { return value; });
}

template <class T>
void keepRows(const OwnRows& rows, const uint8_t* bits, int bit, ptrdiff_t bitStep)
{
    const T other = ownLoad<T>(rows.b);
    const ptrdiff_t n = rows.n;
    auto* d = static_cast<uint8_t*>(rows.d);
    auto* a = static_cast<const uint8_t*>(rows.a);
    for (ptrdiff_t y = 0; y < rows.count; ++y, a += rows.aStep, d += rows.dStep, bits += bitStep) {
        const OwnValues<T> source = {a};
        const MaskLanes mask(bits, bit);
        alignas(32) int8_t lanes[bitBlock];
        ptrdiff_t i = 0;
        // A lane's sign becomes all bits, whatever the size of the value.
        auto kept = [=, &lanes](ptrdiff_t start) {
            return [=, &lanes](ptrdiff_t k) { return T(other ^ ((source[k] ^ other) & T(lanes[k - start]))); };
        };
        for (; i <= n - bitBlock; i += bitBlock) {
            if constexpr (sizeof(T) == 4) {
                for (ptrdiff_t k = i; k < i + bitBlock; k += 32)
                    keepWords<32>(a + k * 4, other, d + k * 4, maskWord<uint32_t>(bits, bit + k));
            } else {
                mask.get(i, lanes);
                computeBlock<T, bitBlock>(d + i * ptrdiff_t(sizeof(T)), i, kept(i));
            }
        }
        if (i == n)
            continue;
        byteLanesOf(bits + (i >> 3), bit, reinterpret_cast<uint8_t*>(lanes), n - i);
        for (ptrdiff_t k = i; k < n; ++k)
            ownStore<T>(d, k, kept(i)(k));
    }
}

template <class T>
constexpr OwnRowKernel copyOf = {copyRun<T>, OneSourceRows<Copy<T>>::select, OneSourceRows<Copy<T>>::masked};
template <class T>
constexpr OwnRowKernel fillOf = {fillRun<T>, fillSelect<T>, fillMasked<T>};

}  // namespace

extern const OwnRowKernels ownRowKernels;
const OwnRowKernels ownRowKernels = {
    {gather<uint8_t>, gather<uint16_t>, gather<uint32_t>},
    {scatter<uint8_t>, scatter<uint16_t>, scatter<uint32_t>},
    {copyEnded<uint8_t>, copyEnded<uint16_t>, copyEnded<uint32_t>},
    {expandLanes<uint8_t>, expandLanes<uint16_t>, expandLanes<uint32_t>},
    {keepRows<uint8_t>, keepRows<uint16_t>, keepRows<uint32_t>},
    {bitRows<BitFirst, 1>, copyOf<uint8_t>, copyOf<uint8_t>, copyOf<uint16_t>, copyOf<uint16_t>, copyOf<uint32_t>,
     copyOf<uint32_t>},
    {bitRows<BitSecond, 0, byteScalar>, fillOf<uint8_t>, fillOf<uint8_t>, fillOf<uint16_t>, fillOf<uint16_t>,
     fillOf<uint32_t>, fillOf<uint32_t>},
    bitRows<BitAnd, 2>,
    unpackBits,
    allBits,
};

}  // namespace OWN_ISA
