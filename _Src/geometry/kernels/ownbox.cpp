// Kernels of the means of boxes.
//
// Sums over the rows of a box move down with it. Along a row they are added up from its start, so that the sum of a box is
// the difference of two of these, whatever its size. Integer sums are modular: what does not fit on the way cancels out.
#include "ownbox.h"

namespace OWN_ISA {
namespace {

// What becomes of a sum, by depth.
struct Bits {
    using Value = uint8_t;
    template <class Sum>
    static Value mean(Sum sum, const OwnBoxMeans& task)
    {
        return uint64_t{sum} * 2 >= task.area;
    }
};

template <class T>
struct Integers {
    using Value = T;
    template <class Sum>
    static Value mean(Sum sum, const OwnBoxMeans& task)
    {
        uint64_t mean = sum * uint64_t{task.factor} >> task.shift;
        return T(mean < T(-1) ? mean : T(-1));
    }
    // Of sums of 16 bits the factor leaves the upper half of a product; the area is less than 258 then, and not 1.
    static Value mean(uint16_t sum, const OwnBoxMeans& task)
    {
        auto factor = uint16_t(task.factor << (16 - task.shift));
        auto mean = uint16_t(uint32_t{sum} * factor >> 16);
        return T(mean < T(-1) ? mean : T(-1));
    }
};

struct Reals {
    using Value = float;
    static Value mean(double sum, const OwnBoxMeans& task) { return float(sum * (1.0 / double(task.area))); }
};

template <class Depth, class Sum>
struct Kernel {
    using Value = typename Depth::Value;

    static void add(const void* row, void* to, ptrdiff_t n, int64_t times)
    {
        const OwnValues<Value> values = {row};
        auto* sums = static_cast<Sum*>(to);
        const auto factor = Sum(times);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            sums[i] = Sum(sums[i] + Sum(values[i]) * factor);
    }

    static void move(const void* enter, const void* leave, void* to, ptrdiff_t n)
    {
        const OwnValues<Value> plus = {enter}, minus = {leave};
        auto* sums = static_cast<Sum*>(to);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            sums[i] = Sum(sums[i] + Sum(plus[i]) - Sum(minus[i]));
    }

    // running[i] = the sum of what stands before sums[i] in its lane.
    static void addUp(const Sum* sums, Sum* running, ptrdiff_t n, ptrdiff_t lanes)
    {
        for (ptrdiff_t i = 0; i < lanes; ++i)
            running[i] = 0;
        for (ptrdiff_t i = 0; i < n; ++i)
            running[i + lanes] = Sum(running[i] + sums[i]);
    }

    // A box of which a part lies beyond the columns.
    static Sum edgeSum(const OwnBoxMeans& task, const Sum* sums, int64_t first, ptrdiff_t lane)
    {
        const auto* running = static_cast<const Sum*>(task.running);
        const int64_t end = first + task.size, last = task.columns - 1;
        const int64_t before = first < 0 ? -first : 0, after = end > task.columns ? end - task.columns : 0;
        const Sum inside =
            Sum(running[(end - after) * task.lanes + lane] - running[(first + before) * task.lanes + lane]);
        return Sum(inside + 1u * Sum(before) * sums[lane] + 1u * Sum(after) * sums[last * task.lanes + lane]);
    }

    static void means(const OwnBoxMeans& given, const void* from, void* to)
    {
        const OwnBoxMeans task = given;
        const auto* sums = static_cast<const Sum*>(from);
        auto* running = static_cast<Sum*>(task.running);
        auto* means = static_cast<Value*>(to);
        const ptrdiff_t lanes = task.lanes;
        addUp(sums, running, task.columns * lanes, lanes);
        // Boxes inside the columns begin with those of the means from `left` to `right`.
        auto clamp = [&](int64_t i) { return ptrdiff_t(i < 0 ? 0 : i < task.count ? i : task.count); };
        const ptrdiff_t left = clamp(-task.first), right = clamp(task.columns - task.size - task.first + 1);
        for (ptrdiff_t i = 0; i < task.count; ++i) {
            if (i == left && right > left)
                i = right;
            for (ptrdiff_t lane = 0; i < task.count && lane < lanes; ++lane)
                means[i * lanes + lane] = Depth::mean(edgeSum(task, sums, task.first + i, lane), task);
        }
        if (right <= left)
            return;
        const Sum* low = running + (task.first + left) * lanes;
        const Sum* high = low + task.size * lanes;
        Value* inside = means + left * lanes;
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < (right - left) * lanes; ++i)
            inside[i] = Depth::mean(Sum(high[i] - low[i]), task);
    }

    static constexpr OwnBoxKernel kernel = {sizeof(Sum), add, move, means};
};

constexpr OwnBoxKernel none = {};
constexpr OwnBoxKernel reals = Kernel<Reals, double>::kernel;

}  // namespace

extern const OwnBoxKernels ownBoxKernels;
const OwnBoxKernels ownBoxKernels = {
    {Kernel<Bits, uint16_t>::kernel, Kernel<Integers<uint8_t>, uint16_t>::kernel, none, none, none, none, reals},
    {Kernel<Bits, uint32_t>::kernel, Kernel<Integers<uint8_t>, uint32_t>::kernel, none,
     Kernel<Integers<uint16_t>, uint32_t>::kernel, none, none, reals},
    {Kernel<Bits, uint64_t>::kernel, Kernel<Integers<uint8_t>, uint64_t>::kernel, none,
     Kernel<Integers<uint16_t>, uint64_t>::kernel, none, none, reals},
};

}  // namespace OWN_ISA
