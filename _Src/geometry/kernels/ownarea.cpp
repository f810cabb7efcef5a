// Kernels of the means of areas.
//
// Sums are floats and are added up in the order of the pixels. Where all pixels are whole and the sums are integers that a float
// holds, the order does not matter, and rows come first.
#include "ownarea.h"

#include "ownpack.h"
#include "ownpick.h"

namespace OWN_ISA {
namespace {

// What becomes of a mean, by depth.
struct Bits {
    using Value = uint8_t;
    static uint8_t result(double mean) { return mean + 0.5 >= 1 ? 255 : 0; }
};

// Means of integers lie within 32 bits.
template <class T>
struct Integers {
    using Value = T;
    static T result(double mean) { return ownSaturated<T>(int32_t(mean + 0.5)); }
#if defined(__AVX2__)
    static __m128i results(__m256d means)
    {
        return _mm256_cvttpd_epi32(means + 0.5);
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
        Pick pick;
        T* samples[mostPicked];
        float* weights[mostPicked];
    };

    static int64_t tableBytes(const OwnAreaColumns& columns)
    {
        const int64_t n = columns.values();
        if (!picks(columns))
            return 1;
        return roomFor(1, sizeof(Table)) + roomFor(columns.count, sizeof(int32_t)) +
               mostPicked * (roomFor(n, sizeof(T)) + roomFor(n, sizeof(float))) +
               Shuffle::bytes(n * int64_t{sizeof(T)});
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
        const ptrdiff_t lastIndex = cells.sourceCount - cells.most;
        for (ptrdiff_t i = 0; i < cells.count; ++i) {
            // The last cells begin early enough for their pixels to lie in the row.
            const ptrdiff_t first = cells.index[i] - cells.base, end = first + cells.pixels[i] - 1;
            const ptrdiff_t from = first < lastIndex ? first : lastIndex;
            index[i] = int32_t(from);
            for (ptrdiff_t k = 0; k < cells.most; ++k) {
                const ptrdiff_t pixel = from + k;
                float weight = pixel == first ? cells.firstWeight[i] : pixel == end ? cells.lastWeight[i] : 1.0f;
                if (pixel < first || pixel > end)
                    weight = 0;
                for (ptrdiff_t lane = 0; lane < cells.lanes; ++lane)
                    table.weights[k][i * cells.lanes + lane] = weight;
            }
        }
        table.columns = {cells.count, cells.sourceCount, cells.lanes, cells.most, index, 0, nullptr, -1, nullptr};
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
        ptrdiff_t i = 0;
#if defined(__AVX2__)
        if constexpr (sizeof(T) < 4)
            for (; i + 8 <= n; i += 8) {
                __m256 sum = _mm256_setzero_ps();
                for (int k = 0; k < most; ++k)
                    sum += eightAt(samples[k] + i) * _mm256_loadu_ps(weights[k] + i);
                _mm256_storeu_ps(sums + i, sum);
            }
#endif
        for (; i < n; ++i) {
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

    static void across(const OwnAreaColumns& cells, const void* src, float* sums)
    {
        if (!picks(cells))
            return acrossMany(cells, src, sums);
        const Table& table = *static_cast<const Table*>(cells.table);
        for (int k = 0; k < cells.most; ++k)
            pickSample(table.pick, table.columns, sizeof(T), src, k, table.samples[k]);
        withCount(cells.most, [&]<int most>() { sumFew<most>(table, sums, cells.values()); });
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
            auto four = [=](ptrdiff_t i) {
                __m128 sum = _mm_setzero_ps();
                for (int k = 0; k < count; ++k)
                    sum += _mm_loadu_ps(rows[k] + i) * weights[k];
                return Depth::results(_mm256_cvtps_pd(sum) * scale);
            };
            if (storeFours<T>(dst, n, four))
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
            const uint32_t half = (1u << shift) >> 1;
#pragma GCC ivdep
            for (ptrdiff_t i = 0; i < n; ++i)
                ownStore(dst, i, T((sumOf(i) + half) >> shift));
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

void halve(const uint8_t* upper, const uint8_t* lower, uint8_t* dst, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    const __m256i ones = _mm256_set1_epi8(1), two = _mm256_set1_epi16(2);
    auto sixteen = [=](ptrdiff_t at) {
        const __m256i a = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(upper + at));
        const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(lower + at));
        __m256i sum = _mm256_add_epi16(_mm256_maddubs_epi16(a, ones), _mm256_maddubs_epi16(b, ones));
        return _mm256_srli_epi16(_mm256_add_epi16(sum, two), 2);
    };
    for (; i + 32 <= n; i += 32) {
        __m256i bytes = _mm256_packus_epi16(sixteen(i * 2), sixteen(i * 2 + 32));
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + i), _mm256_permute4x64_epi64(bytes, 0xD8));
    }
#endif
    for (; i < n; ++i)
        dst[i] = uint8_t((upper[i * 2] + upper[i * 2 + 1] + lower[i * 2] + lower[i * 2 + 1] + 2) >> 2);
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
    halve,
};

}  // namespace OWN_ISA
