// Kernels of the means of areas.
//
// Sums are floats and are added up in the order of the pixels. Where all pixels are whole and the sums are integers
// that a float holds, the order does not matter, and rows come first.
#include "ownarea.h"

#include "ownpack.h"
#include "ownpick.h"

namespace OWN_ISA {
namespace {

constexpr double half = 0.5;

// What becomes of a mean, by depth.
struct Bits {
    using Value = uint8_t;
    static uint8_t result(double mean) { return mean + half >= 1 ? 255 : 0; }
};

template <class T>
struct Integers {
    using Value = T;
    static T result(double mean) { return ownTruncated<T>(mean + half); }
#if defined(__AVX2__)
    static __m128i results(__m256d means)
    {
        return _mm256_cvttpd_epi32(means + half);
    }
#endif
};

struct Reals {
    using Value = float;
    static float result(double mean) { return float(mean); }
};

// Cells of up to so many pixels are summed pixel by pixel for all cells, larger ones cell by cell.
constexpr int mostPicked = 4;

bool picks(const OwnAreaColumns& columns)
{
    return columns.most <= mostPicked;
}

// Calls run.template operator()<count>() for a count from 1 to 4.
template <class Run>
inline void withCount(int count, Run run)
{
    switch (count) {
    case 1: return run.template operator()<1>();
    case 2: return run.template operator()<2>();
    case 3: return run.template operator()<3>();
    default: return run.template operator()<4>();
    }
}

// ---- Cells that may cut pixels ------------------------------------------------------------------------------------

void add(const float* __restrict row, float weight, bool first, float* __restrict sums, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        sums[i] = (first ? 0.0f : sums[i]) + row[i] * weight;
}

// Where eight values of a row of sums at a time find their samples: those of four lie within 16 bytes.
struct Windows {
    ptrdiff_t count = 0;  // of vectors; 0 where samples lie farther apart
    int32_t* starts;      // [vector][half]: where 16 bytes begin in the row
    uint32_t* order;      // [vector][sample][value]: the bytes of a sample among them

    static int64_t bytes([[maybe_unused]] int64_t values)
    {
#if defined(__AVX2__)
        const int64_t vectors = (values + 7) / 8;
        return roomFor(values, sizeof(int32_t)) + roomFor(vectors * 2, sizeof(int32_t)) +
               roomFor(vectors * mostPicked * 8, sizeof(uint32_t));
#else
        return 0;
#endif
    }
};

#if defined(__AVX2__)

// The first of the values that a vector makes; the last vector may overlap the one before it.
inline ptrdiff_t firstValue(ptrdiff_t vector, ptrdiff_t values)
{
    return vector * 8 < values - 8 ? vector * 8 : values - 8;
}

// Where four values have their first samples, from the start of 16 bytes on that hold `reach` bytes from each of them
// on. False if that is too much.
inline bool placeWindow(const int32_t* from, int32_t reach, int32_t lastStart, int32_t& start)
{
    int32_t low = from[0], high = from[0];
    for (int i = 1; i < 4; ++i) {
        low = from[i] < low ? from[i] : low;
        high = from[i] > high ? from[i] : high;
    }
    start = low < lastStart ? low : lastStart;
    return high - start + reach <= 16;
}

template <int valueBytes>
void makeWindows(Windows& windows, Memory& memory, const OwnScaleColumns& columns)
{
    const ptrdiff_t n = columns.values(), lanes = columns.lanes, vectors = (n + 7) / 8;
    const auto pixelBytes = int32_t(lanes * valueBytes), reach = (columns.samples - 1) * pixelBytes + valueBytes;
    const int64_t lastStart = int64_t{columns.sourceCount} * pixelBytes - 16;
    if (n < 8 || lastStart < 0 || lastStart > INT32_MAX)
        return;
    auto* from = memory.take<int32_t>(n);
    for (ptrdiff_t i = 0; i < columns.count; ++i)
        for (ptrdiff_t lane = 0; lane < lanes; ++lane)
            from[i * lanes + lane] = int32_t((columns.index[i] - columns.base) * pixelBytes + lane * valueBytes);
    windows.starts = memory.take<int32_t>(vectors * 2);
    windows.order = memory.take<uint32_t>(vectors * columns.samples * 8);
    // The bytes of a sample come first in its 32 bits, zeros after them.
    constexpr uint32_t each = valueBytes == 1 ? 1 : 0x0101, pattern = valueBytes == 1 ? 0x80808000 : 0x80800100;
    for (ptrdiff_t half = 0; half < vectors * 2; ++half) {
        const int32_t* first = from + firstValue(half / 2, n) + (half & 1) * 4;
        int32_t& start = windows.starts[half];
        if (!placeWindow(first, reach, int32_t(lastStart), start))
            return;
        uint32_t* order = windows.order + half / 2 * columns.samples * 8 + (half & 1) * 4;
        for (int sample = 0; sample < columns.samples; ++sample, order += 8)
            for (int i = 0; i < 4; ++i)
                order[i] = pattern + each * uint32_t(first[i] - start + sample * pixelBytes);
    }
    windows.count = vectors;
}

// Rows of sums, which share the places of samples and their weights.
template <int most, int rows>
void sumWindows(const Windows& given, const void* const* givenSrc, const float* const* givenWeights,
                float* const* givenSums, ptrdiff_t n)
{
    const Windows windows = given;
    const ByteRows<rows> src(givenSrc);
    const float* weights[most];
    for (int k = 0; k < most; ++k)
        weights[k] = givenWeights[k];
    float* sums[rows];
    for (int row = 0; row < rows; ++row)
        sums[row] = givenSums[row];
    auto sumEight = [=](ptrdiff_t vector, ptrdiff_t i) {
        const ptrdiff_t low = windows.starts[vector * 2], high = windows.starts[vector * 2 + 1];
        const auto* order = reinterpret_cast<const __m256i*>(windows.order + vector * most * 8);
        __m256 sum[rows];
        __m256i bytes[rows];
        for (int row = 0; row < rows; ++row)
            bytes[row] = _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(src.row[row] + high),
                                             reinterpret_cast<const __m128i*>(src.row[row] + low));
        for (int k = 0; k < most; ++k) {
            const __m256i places = _mm256_loadu_si256(order + k);
            const __m256 weight = _mm256_loadu_ps(weights[k] + i);
            for (int row = 0; row < rows; ++row) {
                const __m256 part = _mm256_cvtepi32_ps(_mm256_shuffle_epi8(bytes[row], places)) * weight;
                sum[row] = k ? sum[row] + part : part;
            }
        }
        for (int row = 0; row < rows; ++row)
            _mm256_storeu_ps(sums[row] + i, sum[row]);
    };
    for (ptrdiff_t vector = 0; vector < windows.count - 1; ++vector)
        sumEight(vector, vector * 8);
    sumEight(windows.count - 1, n - 8);
}

#endif

// A pixel without weight adds nothing, whatever it is.
template <class T>
inline float weighed(T value, float weight)
{
    if constexpr (sizeof(T) == 4)
        return weight != 0 ? value * weight : 0;
    else
        return float(value) * weight;
}

template <class Depth>
struct Kernel {
    using T = typename Depth::Value;

    // For cells of few pixels. All take as many, those that they do not have with a weight of 0.
    struct Table {
        OwnScaleColumns columns;
        Windows windows;
        Pick pick;  // where they have none
        T* samples[mostPicked];
        float* weights[mostPicked];
    };

    static int64_t tableBytes(const OwnAreaColumns& columns)
    {
        const int64_t n = columns.values();
        if (!picks(columns))
            return 1;
        return roomFor(1, sizeof(Table)) + roomFor(columns.count, sizeof(int32_t)) +
               mostPicked * (roomFor(n, sizeof(T)) + roomFor(n, sizeof(float))) + Windows::bytes(n) +
               Shuffle::bytes(n * int64_t{sizeof(T)});
    }

    // The last cells begin early enough for their pixels to lie in the row.
    static inline __attribute__((always_inline)) void weighPixels(const OwnAreaColumns& cells, ptrdiff_t lanes,
                                                                  int32_t* __restrict index,
                                                                  float* const (&weights)[mostPicked])
    {
        const auto lastIndex = int32_t(cells.sourceCount - cells.most);
        for (ptrdiff_t i = 0; i < cells.count; ++i)
            index[i] = cells.index[i] - cells.base < lastIndex ? cells.index[i] - cells.base : lastIndex;
        for (int k = 0; k < cells.most; ++k) {
            float* __restrict to = weights[k];
            for (ptrdiff_t i = 0; i < cells.count; ++i) {
                const int32_t first = cells.index[i] - cells.base, end = first + cells.pixels[i] - 1;
                const int32_t pixel = index[i] + k;
                const float last = cells.lastWeight[i], inside = pixel == end ? last : 1.0f;
                const float begin = cells.firstWeight[i], weight = pixel == first ? begin : inside;
                for (ptrdiff_t lane = 0; lane < lanes; ++lane)
                    to[i * lanes + lane] = pixel < first || pixel > end ? 0 : weight;
            }
        }
    }

    static void prepare(const OwnAreaColumns& cells)
    {
        if (!picks(cells))
            return;
        Memory memory = {static_cast<uint8_t*>(cells.table)};
        auto& table = *memory.take<Table>(1);
        auto* index = memory.take<int32_t>(cells.count);
        for (T*& samples : table.samples)
            samples = memory.take<T>(cells.values());
        for (float*& weights : table.weights)
            weights = memory.take<float>(cells.values());
        cells.lanes == 1 ? weighPixels(cells, 1, index, table.weights)
                         : weighPixels(cells, cells.lanes, index, table.weights);
        table.columns = {cells.count, cells.sourceCount, cells.lanes, cells.most, index, 0, nullptr, -1, nullptr};
        table.windows = {};
#if defined(__AVX2__)
        if constexpr (sizeof(T) < 4)
            makeWindows<sizeof(T)>(table.windows, memory, table.columns);
        if (table.windows.count)
            return;
#endif
        makePick(table.pick, memory, table.columns, sizeof(T));
    }

    template <int most>
    static void sumFew(const Table& table, float* __restrict sums, ptrdiff_t n)
    {
        const T* samples[most];
        const float* weights[most];
        for (int k = 0; k < most; ++k) {
            samples[k] = table.samples[k];
            weights[k] = table.weights[k];
        }
        for (ptrdiff_t i = 0; i < n; ++i) {
            float sum = 0;
            for (int k = 0; k < most; ++k)
                sum += weighed(samples[k][i], weights[k][i]);
            sums[i] = sum;
        }
    }

    static void acrossMany(const OwnAreaColumns& cells, const void* src, float* sums)
    {
        const OwnValues<T> values = {src};
        const ptrdiff_t lanes = cells.lanes;
        for (ptrdiff_t i = 0; i < cells.count; ++i) {
            const ptrdiff_t first = (cells.index[i] - cells.base) * lanes, last = first + (cells.pixels[i] - 1) * lanes;
            for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
                float sum = 0.0f + float(values[first + lane]) * cells.firstWeight[i];
                for (ptrdiff_t k = first + lanes; k < last; k += lanes)
                    sum += float(values[k + lane]);
                if (last > first)
                    sum += float(values[last + lane]) * cells.lastWeight[i];
                sums[i * lanes + lane] = sum;
            }
        }
    }

    static void acrossRow(const OwnAreaColumns& cells, const void* src, float* sums)
    {
        if (!picks(cells))
            return acrossMany(cells, src, sums);
        const Table& table = *static_cast<const Table*>(cells.table);
        for (int k = 0; k < cells.most; ++k)
            pickSample(table.pick, table.columns, sizeof(T), src, k, table.samples[k]);
        withCount(cells.most, [&]<int most>() { sumFew<most>(table, sums, cells.values()); });
    }

    static void across(const OwnAreaColumns& cells, const void* const* src, int rows, float* const* sums)
    {
#if defined(__AVX2__)
        const Table& table = *static_cast<const Table*>(cells.table);
        if (picks(cells) && table.windows.count) {
            withCount(cells.most, [&]<int most>() {
                auto* sum = rows == 1 ? sumWindows<most, 1> : sumWindows<most, ownAreaLines>;
                sum(table.windows, src, table.weights, sums, cells.values());
            });
            return;
        }
#endif
        for (int row = 0; row < rows; ++row)
            acrossRow(cells, src[row], sums[row]);
    }

    template <int count>
    static void storeRows(const float* const* given, const float* givenWeights, double scale, void* dst, ptrdiff_t n)
    {
        const float* rows[count];
        float weights[count];
        for (int k = 0; k < count; ++k) {
            rows[k] = given[k];
            weights[k] = givenWeights[k];
        }
#if defined(__AVX2__)
        if constexpr (requires { Depth::results(__m256d{}); }) {
            auto words = [=](ptrdiff_t i) {
                __m256 sum = _mm256_loadu_ps(rows[0] + i) * weights[0];
                for (int k = 1; k < count; ++k)
                    sum += _mm256_loadu_ps(rows[k] + i) * weights[k];
                const __m256d low = _mm256_cvtps_pd(_mm256_castps256_ps128(sum)),
                              high = _mm256_cvtps_pd(_mm256_extractf128_ps(sum, 1));
                return _mm_packus_epi32(Depth::results(low * scale), Depth::results(high * scale));
            };
            if (storeEights<T>(dst, n, words))
                return;
        }
#endif
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i) {
            float sum = 0;
            for (int k = 0; k < count; ++k)
                sum += rows[k][i] * weights[k];
            ownStore(dst, i, Depth::result(double(sum) * scale));
        }
    }

    static void store(const float* const* rows, const float* weights, int count, double scale, void* dst, ptrdiff_t n)
    {
        withCount(count, [=]<int most>() { storeRows<most>(rows, weights, scale, dst, n); });
    }

    static constexpr OwnAreaKernel kernel = {tableBytes, prepare, across, store};
};

// ---- Cells of whole pixels ----------------------------------------------------------------------------------------

template <class Depth, class Sum>
struct WholeKernel {
    using T = typename Depth::Value;

    // For cells of few pixels.
    struct Table {
        OwnScaleColumns columns;
        Pick pick;
        Sum* samples[mostPicked];
    };

    static int64_t tableBytes(const OwnAreaColumns& columns)
    {
        const int64_t n = columns.values();
        return roomFor(1, sizeof(Table)) + mostPicked * roomFor(n, sizeof(Sum)) +
               Shuffle::bytes(n * int64_t{sizeof(Sum)});
    }

    static void prepare(const OwnAreaColumns& cells)
    {
        if (!picks(cells))
            return;
        Memory memory = {static_cast<uint8_t*>(cells.table)};
        auto& table = *memory.take<Table>(1);
        for (Sum*& samples : table.samples)
            samples = memory.take<Sum>(cells.values());
        table.columns = {cells.count, cells.sourceCount, cells.lanes, cells.most, cells.index,
                         cells.base,  nullptr,           -1,          nullptr};
        makePick(table.pick, memory, table.columns, sizeof(Sum));
    }

    static void sum(const void* const* rows, int count, bool first, void* to, ptrdiff_t n)
    {
        withCount(count, [=]<int most>() {
            OwnValues<T> values[most];
            for (int k = 0; k < most; ++k)
                values[k] = {rows[k]};
            auto* sums = static_cast<Sum*>(to);
#pragma GCC ivdep
            for (ptrdiff_t i = 0; i < n; ++i) {
                Sum sum = first ? Sum(0) : sums[i];
                for (int k = 0; k < most; ++k)
                    sum = Sum(sum + values[k][i]);
                sums[i] = sum;
            }
        });
    }

    static T mean(uint32_t sum, double scale)
    {
        return Depth::result(double(int32_t(sum)) * scale);
    }

    static void storeMany(const OwnAreaColumns& cells, const Sum* sums, double scale, void* dst)
    {
        const ptrdiff_t lanes = cells.lanes;
        for (ptrdiff_t i = 0; i < cells.count; ++i)
            for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
                uint32_t sum = 0;
                for (ptrdiff_t k = 0; k < cells.most; ++k)
                    sum += sums[(i * cells.most + k) * lanes + lane];
                ownStore(dst, i * lanes + lane, mean(sum, scale));
            }
    }

    template <int most>
    static void storeFew(const Table& table, double scale, void* dst, ptrdiff_t n)
    {
        const Sum* samples[most];
        for (int k = 0; k < most; ++k)
            samples[k] = table.samples[k];
        auto sumOf = [=](ptrdiff_t i) {
            uint32_t sum = 0;
            for (int k = 0; k < most; ++k)
                sum += samples[k][i];
            return sum;
        };
        // Of a power of two of integers the mean is a shift.
        const int shift = -__builtin_ilogb(scale);
        if (sizeof(T) < 4 && scale == __builtin_ldexp(1, -shift) && !std::is_same_v<Depth, Bits>) {
            const uint32_t rounding = (1u << shift) >> 1;
#pragma GCC ivdep
            for (ptrdiff_t i = 0; i < n; ++i)
                ownStore(dst, i, T((sumOf(i) + rounding) >> shift));
            return;
        }
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(dst, i, mean(sumOf(i), scale));
    }

    static void store(const OwnAreaColumns& cells, const void* sums, double scale, void* dst)
    {
        if (!picks(cells))
            return storeMany(cells, static_cast<const Sum*>(sums), scale, dst);
        const Table& table = *static_cast<const Table*>(cells.table);
        for (int k = 0; k < cells.most; ++k)
            pickSample(table.pick, table.columns, sizeof(Sum), sums, k, table.samples[k]);
        withCount(cells.most, [&]<int most>() { storeFew<most>(table, scale, dst, cells.values()); });
    }

    static constexpr OwnWholeKernel kernel = {sizeof(Sum), tableBytes, prepare, sum, store};
};

// ---- Halves -------------------------------------------------------------------------------------------------------

// Pixels from `first` on.
template <class T, int lanes>
void halvePixels(const void* upper, const void* lower, void* dst, ptrdiff_t first, ptrdiff_t n)
{
    const OwnValues<T> a = {upper}, b = {lower};
    for (ptrdiff_t i = first; i < n; ++i)
        for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
            const ptrdiff_t left = i * 2 * lanes + lane, right = left + lanes;
            ownStore(dst, i * lanes + lane, T((a[left] + a[right] + b[left] + b[right] + 2) >> 2));
        }
}

#if defined(__AVX2__)

inline __m256i vectorOf(const uint8_t* bytes)
{
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(bytes));
}

inline __m256i vectorOf(const uint8_t* low, const uint8_t* high)
{
    return _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(high), reinterpret_cast<const __m128i*>(low));
}

// Means, as words, of bytes of two rows, of which those of two neighbouring pixels stand side by side.
inline __m256i halved(__m256i a, __m256i b)
{
    const __m256i ones = _mm256_set1_epi8(1), quarter = _mm256_set1_epi16(1 << 13);
    // The product, of 15 bits after the point, is rounded as the mean is.
    return _mm256_mulhrs_epi16(_mm256_add_epi16(_mm256_maddubs_epi16(a, ones), _mm256_maddubs_epi16(b, ones)), quarter);
}

// Of one value, or of four, which fill vectors. Answers how many pixels are done.
template <int lanes>
ptrdiff_t halveWhole(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t n)
{
    auto pairs = [](const uint8_t* row) {
        const __m256i order =
            _mm256_set_epi64x(0x0F0B0E0A0D090C08, 0x0703060205010400, 0x0F0B0E0A0D090C08, 0x0703060205010400);
        return lanes == 1 ? vectorOf(row) : _mm256_shuffle_epi8(vectorOf(row), order);
    };
    ptrdiff_t i = 0;
    for (; (i + 32 / lanes) <= n; i += 32 / lanes, a += 64, b += 64, d += 32) {
        const __m256i low = halved(pairs(a), pairs(b)), high = halved(pairs(a + 32), pairs(b + 32));
        __m256i bytes = _mm256_permute4x64_epi64(_mm256_packus_epi16(low, high), 0xD8);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(d), bytes);
    }
    return i;
}

// Of three values: four pixels in each half of a vector, and a rest that the next store covers.
ptrdiff_t halveThirds(const uint8_t* a, const uint8_t* b, uint8_t* d, ptrdiff_t n)
{
    const __m256i order =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 3, 1, 4, 2, 5, 6, 9, 7, 10, 8, 11, -1, -1, -1, -1));
    const __m256i close =
        _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 1, 2, 3, 4, 5, 8, 9, 10, 11, 12, 13, -1, -1, -1, -1));
    auto pairs = [=](const uint8_t* row) { return _mm256_shuffle_epi8(vectorOf(row, row + 24), order); };
    ptrdiff_t i = 0;
    for (; i + 10 <= n; i += 8, a += 48, b += 48, d += 24) {
        const __m256i even = halved(pairs(a), pairs(b)), odd = halved(pairs(a + 12), pairs(b + 12));
        __m256i bytes = _mm256_shuffle_epi8(_mm256_packus_epi16(even, odd), close);
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm256_castsi256_si128(bytes));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d + 12), _mm256_extracti128_si256(bytes, 1));
    }
    return i;
}

#endif

template <int lanes>
void halve8(const void* upper, const void* lower, void* dst, ptrdiff_t n)
{
    ptrdiff_t done = 0;
#if defined(__AVX2__)
    const auto *a = static_cast<const uint8_t*>(upper), *b = static_cast<const uint8_t*>(lower);
    if constexpr (lanes == 3)
        done = halveThirds(a, b, static_cast<uint8_t*>(dst), n);
    else
        done = halveWhole<lanes>(a, b, static_cast<uint8_t*>(dst), n);
#endif
    halvePixels<uint8_t, lanes>(upper, lower, dst, done, n);
}

void halve16(const void* upper, const void* lower, void* dst, ptrdiff_t n)
{
    halvePixels<uint16_t, 1>(upper, lower, dst, 0, n);
}

constexpr OwnAreaKernel none = {};
constexpr OwnWholeKernel noWhole = {};

}  // namespace

extern const OwnAreaKernels ownAreaKernels;
const OwnAreaKernels ownAreaKernels = {
    add,
    {Kernel<Bits>::kernel, Kernel<Integers<uint8_t>>::kernel, none, Kernel<Integers<uint16_t>>::kernel, none, none,
     Kernel<Reals>::kernel},
    {WholeKernel<Bits, uint16_t>::kernel, WholeKernel<Integers<uint8_t>, uint16_t>::kernel},
    {WholeKernel<Bits, uint32_t>::kernel, WholeKernel<Integers<uint8_t>, uint32_t>::kernel, noWhole,
     WholeKernel<Integers<uint16_t>, uint32_t>::kernel},
    {nullptr, halve8<1>, nullptr, halve8<3>, halve8<4>},
    {nullptr, halve16},
};

}  // namespace OWN_ISA
