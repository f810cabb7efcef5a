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

template <class T>
struct Integers {
    using Value = T;
    // Means of integers lie within 32 bits.
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

void add(const float* __restrict row, float weight, float* __restrict sums, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        sums[i] += row[i] * weight;
}

// Cells of up to so many pixels are summed pixel by pixel for all cells, larger ones cell by cell.
constexpr int mostPicked = 4;

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

    static bool picks(const OwnAreaColumns& columns) { return columns.most <= mostPicked; }

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

    // A pixel without weight adds nothing, whatever it is.
    static float weighed(T value, float weight)
    {
        if constexpr (sizeof(T) == 4)
            return weight != 0 ? value * weight : 0;
        return float(value) * weight;
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

    static void acrossFew(const OwnAreaColumns& cells, const void* src, float* sums)
    {
        const Table& table = *static_cast<const Table*>(cells.table);
        for (int k = 0; k < cells.most; ++k)
            pickSample(table.pick, table.columns, sizeof(T), src, k, table.samples[k]);
        switch (cells.most) {
        case 1: return sumFew<1>(table, sums, cells.values());
        case 2: return sumFew<2>(table, sums, cells.values());
        case 3: return sumFew<3>(table, sums, cells.values());
        default: return sumFew<4>(table, sums, cells.values());
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

    static void across(const OwnAreaColumns& columns, const void* src, float* sums)
    {
        picks(columns) ? acrossFew(columns, src, sums) : acrossMany(columns, src, sums);
    }

    static void store(const float* sums, double scale, void* dst, ptrdiff_t n)
    {
#if defined(__AVX2__)
        if constexpr (requires { Depth::results(realsAt(sums, 0)); }) {
            auto four = [=](ptrdiff_t i) { return Depth::results(realsAt(sums, i) * scale); };
            if (storeFours<T>(dst, n, four))
                return;
        }
#endif
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            ownStore(dst, i, Depth::result(double(sums[i]) * scale));
    }

    template <class Sum>
    static void storeWhole(const Sum* sums, ptrdiff_t pixels, ptrdiff_t lanes, double scale, void* dst, ptrdiff_t count)
    {
        for (ptrdiff_t i = 0; i < count; ++i)
            for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
                uint32_t sum = 0;
                for (ptrdiff_t k = 0; k < pixels; ++k)
                    sum += sums[(i * pixels + k) * lanes + lane];
                ownStore(dst, i * lanes + lane, Depth::result(double(int32_t(sum)) * scale));
            }
    }

    static constexpr OwnAreaKernel kernel = {tableBytes,          prepare, across, store, storeWhole<uint16_t>,
                                             storeWhole<uint32_t>};
};

constexpr OwnAreaKernel none = {};

}  // namespace

extern const OwnAreaKernels ownAreaKernels;
const OwnAreaKernels ownAreaKernels = {
    add,
    {Kernel<Bits>::kernel, Kernel<Integers<uint8_t>>::kernel, none, Kernel<Integers<uint16_t>>::kernel, none, none,
     Kernel<Reals>::kernel},
};

}  // namespace OWN_ISA
