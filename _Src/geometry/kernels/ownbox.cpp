// Kernels of the means of boxes.
//
// Sums over the rows of a box move down with it. Along a row they are added up from its start, so that the sum of a box
// is the difference of two of these, whatever its size. Integer sums are modular: what does not fit on the way cancels
// out.
#include "ownbox.h"

namespace OWN_ISA {
namespace {

// What becomes of a sum, by depth.
struct Bits {
    using Value = uint8_t;
    template <class Sum>
    struct Mean {
        uint64_t area;
        explicit Mean(const OwnBoxMeans& task) : area(task.area) {}
        uint8_t operator()(Sum sum) const { return uint64_t{sum} * 2 >= area; }
    };
};

template <class T>
struct Integers {
    using Value = T;
    static constexpr T most = T(-1);

    template <class Sum>
    struct Mean {
        uint64_t factor;
        int shift;
        explicit Mean(const OwnBoxMeans& task) : factor(task.factor), shift(task.shift) {}
        T operator()(Sum sum) const
        {
            const uint64_t mean = sum * factor >> shift;
            return T(mean < most ? mean : most);
        }
    };
};

template <>
template <>
struct Integers<uint8_t>::Mean<uint16_t> {
    uint16_t factor;
    explicit Mean(const OwnBoxMeans& task) : factor(task.upperFactor) {}
    uint8_t operator()(uint16_t sum) const
    {
        const auto mean = uint16_t(sum * unsigned{factor} >> 16);
        return uint8_t(mean < most ? mean : most);
    }
#if defined(__AVX2__)
    // Not yet cut to the range of a byte.
    __m256i words(__m256i sums) const
    {
        return _mm256_mulhi_epu16(sums, _mm256_set1_epi16(int16_t(factor)));
    }
#endif
};

struct Reals {
    using Value = float;
    template <class Sum>
    struct Mean {
        double scale;
        explicit Mean(const OwnBoxMeans& task) : scale(1.0 / double(task.area)) {}
        float operator()(Sum sum) const { return float(sum * scale); }
    };
};

// ---- Adding up ----------------------------------------------------------------------------------------------------

// running[i] = the sum of what stands before sums[i] in its lane.
template <class Sum>
void addUpLanes(const Sum* sums, Sum* running, ptrdiff_t n, ptrdiff_t lanes)
{
    for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
        Sum sum = 0;
        running[lane] = sum;
        for (ptrdiff_t i = lane; i < n; i += lanes) {
            sum = Sum(sum + sums[i]);
            running[i + lanes] = sum;
        }
    }
}

#if defined(__AVX2__)

constexpr __m128i zeros = {};

// Sums of 16 or 32 bits side by side.
template <class Sum>
inline __m256i plus(__m256i a, __m256i b)
{
    return sizeof(Sum) == 2 ? _mm256_add_epi16(a, b) : _mm256_add_epi32(a, b);
}

// Adds up within vectors by sums of 2, 4 and 8 elements of a lane, first in their halves, and carries the last elements
// of a lane on to what follows. Vectors may hold any number of lanes that is not more than a half holds.
template <class Sum>
struct Adder {
    static constexpr int inHalf = 16 / int(sizeof(Sum));
    static constexpr int steps = inHalf == 8 ? 3 : 2;
    __m256i shift[steps];  // brings each element so much further in its half, behind zeros
    __m256i last;          // brings the last elements of the lanes to all elements of their lane in the next vector
    __m256i turn;          // does the same with what all elements of a lane have

    struct Orders {
        alignas(32) int8_t order[inHalf][steps + 2][32];
    };
    static constexpr Orders makeOrders()
    {
        Orders orders = {};
        for (int lanes = 1; lanes <= inHalf; ++lanes)
            for (int i = 0; i < 32; ++i) {
                const int element = i / int(sizeof(Sum)), byte = i % int(sizeof(Sum));
                auto& order = orders.order[lanes - 1];
                for (int step = 0; step < steps; ++step) {
                    int from = element % inHalf - (lanes << step);
                    order[step][i] = int8_t(from < 0 ? -1 : from * int(sizeof(Sum)) + byte);
                }
                order[steps][i] = int8_t((inHalf - lanes + element % lanes) * int(sizeof(Sum)) + byte);
                // The element of the same half that is of the lane.
                const int lane = (2 * inHalf - lanes + element % lanes) % lanes, half = element / inHalf * inHalf;
                order[steps + 1][i] = int8_t((lanes + lane - half % lanes) % lanes * int(sizeof(Sum)) + byte);
            }
        return orders;
    }
    static constexpr Orders orders = makeOrders();

    explicit Adder(int lanes)
    {
        auto* order = reinterpret_cast<const __m256i*>(orders.order[lanes - 1]);
        for (int step = 0; step < steps; ++step)
            shift[step] = _mm256_load_si256(order + step);
        last = _mm256_load_si256(order + steps);
        turn = _mm256_load_si256(order + steps + 1);
    }

    // Those of the low half are due in the high one from its first element on.
    __m256i carryHalf(__m256i sums) const
    {
        __m256i low = _mm256_permute2x128_si256(sums, sums, 0x08);
        return _mm256_shuffle_epi8(low, _mm256_permute2x128_si256(last, last, 0x00));
    }

    // Adds up a vector; `carry` is what stands before it.
    __m256i operator()(__m256i sums, __m256i& carry) const
    {
        for (int step = 0; step < steps; ++step)
            sums = plus<Sum>(sums, _mm256_shuffle_epi8(sums, shift[step]));
        sums = plus<Sum>(sums, carryHalf(sums));
        const __m256i all = plus<Sum>(sums, carry);
        // The vector's own sums do not wait for the carry, so that the chain has short links.
        carry = plus<Sum>(_mm256_shuffle_epi8(carry, turn),
                          _mm256_shuffle_epi8(_mm256_permute2x128_si256(sums, sums, 0x11), last));
        return all;
    }
};

// The two halves of a row side by side in the halves of vectors, which then need nothing of each other: the second
// begins with the sum of the first. For lanes that a half of a vector holds some whole times.
template <class Sum>
void addUpHalves(const Sum* sums, Sum* running, ptrdiff_t n, int lanes)
{
    constexpr ptrdiff_t inHalf = Adder<Sum>::inHalf;
    const Adder<Sum> adder(lanes);
    auto addedUp = [&](__m256i values) {
        for (const __m256i& shift : adder.shift)
            values = plus<Sum>(values, _mm256_shuffle_epi8(values, shift));
        return values;
    };
    const ptrdiff_t second = ((n + 1) / 2 + inHalf - 1) / inHalf * inHalf;
    __m256i total = _mm256_setzero_si256();
    for (ptrdiff_t i = 0; i < second; i += inHalf)
        total = plus<Sum>(total, _mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(sums + i), &zeros));
    __m256i carry = _mm256_shuffle_epi8(addedUp(total), adder.last);
    for (ptrdiff_t i = 0; i < lanes; ++i)
        running[i] = 0;
    running += lanes;
    // The last vector may pass the end: there is room for it.
    for (ptrdiff_t i = 0; i < second; i += inHalf) {
        const __m256i values = addedUp(_mm256_loadu2_m128i(reinterpret_cast<const __m128i*>(sums + second + i),
                                                           reinterpret_cast<const __m128i*>(sums + i)));
        _mm256_storeu2_m128i(reinterpret_cast<__m128i*>(running + second + i), reinterpret_cast<__m128i*>(running + i),
                             plus<Sum>(values, carry));
        carry = plus<Sum>(carry, _mm256_shuffle_epi8(values, adder.last));
    }
}

template <class Sum>
void addUpVectors(const Sum* sums, Sum* running, ptrdiff_t n, int lanes)
{
    constexpr ptrdiff_t inVector = 32 / ptrdiff_t(sizeof(Sum));
    const Adder<Sum> adder(lanes);
    __m256i carry = _mm256_setzero_si256();
    for (ptrdiff_t i = 0; i < lanes; ++i)
        running[i] = 0;
    // The last vector may pass the end: there is room for it.
    for (ptrdiff_t i = 0; i < n; i += inVector) {
        __m256i all = adder(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(sums + i)), carry);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(running + lanes + i), all);
    }
}

#endif

template <class Sum>
void addUp(const Sum* sums, Sum* running, ptrdiff_t n, int lanes)
{
#if defined(__AVX2__)
    if constexpr (sizeof(Sum) <= 4) {
        if (Adder<Sum>::inHalf % lanes == 0)
            return addUpHalves(sums, running, n, lanes);
        if (lanes <= Adder<Sum>::inHalf)
            return addUpVectors(sums, running, n, lanes);
    }
#endif
    addUpLanes(sums, running, n, lanes);
}

// ---- Kernels ------------------------------------------------------------------------------------------------------

template <class Depth, class Sum>
struct Kernel {
    using Value = typename Depth::Value;
    using Mean = typename Depth::template Mean<Sum>;

    static void add(const void* row, void* to, ptrdiff_t n, int64_t times)
    {
        const OwnValues<Value> values = {row};
        auto* sums = static_cast<Sum*>(to);
        const auto factor = Sum(times);
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            sums[i] = Sum(sums[i] + Sum(values[i]) * factor);
    }

    static constexpr bool isByteSum = sizeof(Value) == 1 && sizeof(Sum) == 2;

#if defined(__AVX2__)
    // Whole vectors of bytes, whose differences come from products with 1 and -1. Answers how many values are done.
    template <int count>
    static ptrdiff_t moveBytes(const void* const* enter, const void* const* leave, Sum* sums, ptrdiff_t n)
    {
        const uint8_t *in[count], *out[count];
        for (int k = 0; k < count; ++k) {
            in[k] = static_cast<const uint8_t*>(enter[k]);
            out[k] = static_cast<const uint8_t*>(leave[k]);
        }
        // Unpacking halves of vectors brings such bytes to their order.
        auto bytesAt = [](const uint8_t* row, ptrdiff_t i) {
            return _mm256_permute4x64_epi64(_mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + i)), 0xD8);
        };
        const __m256i signs = _mm256_set1_epi16(int16_t(0xFF01));
        ptrdiff_t i = 0;
        for (; i + 32 <= n; i += 32) {
            auto* const place = reinterpret_cast<__m256i*>(sums + i);
            __m256i low = _mm256_loadu_si256(place), high = _mm256_loadu_si256(place + 1);
            for (int k = 0; k < count; ++k) {
                const __m256i added = bytesAt(in[k], i), taken = bytesAt(out[k], i);
                low = _mm256_add_epi16(low, _mm256_maddubs_epi16(_mm256_unpacklo_epi8(added, taken), signs));
                high = _mm256_add_epi16(high, _mm256_maddubs_epi16(_mm256_unpackhi_epi8(added, taken), signs));
            }
            _mm256_storeu_si256(place, low);
            _mm256_storeu_si256(place + 1, high);
        }
        return i;
    }
#endif

    template <int count>
    static void moveRows(const void* const* enter, const void* const* leave, void* to, ptrdiff_t n)
    {
        OwnValues<Value> in[count], out[count];
        for (int k = 0; k < count; ++k) {
            in[k] = {enter[k]};
            out[k] = {leave[k]};
        }
        auto* sums = static_cast<Sum*>(to);
        ptrdiff_t i = 0;
#if defined(__AVX2__)
        if constexpr (isByteSum)
            i = moveBytes<count>(enter, leave, sums, n);
#endif
#pragma GCC ivdep
        for (; i < n; ++i) {
            Sum sum = sums[i];
            for (int k = 0; k < count; ++k)
                sum = Sum(sum + Sum(in[k][i]) - Sum(out[k][i]));
            sums[i] = sum;
        }
    }

    static void move(const void* const* enter, const void* const* leave, int count, void* sums, ptrdiff_t n)
    {
        switch (count) {
        case 1: return moveRows<1>(enter, leave, sums, n);
        case 2: return moveRows<2>(enter, leave, sums, n);
        default: return moveRows<3>(enter, leave, sums, n);
        }
    }

    // The same at any pixel: beyond the columns their first or last sum comes again and again.
    static Sum runningAt(const OwnBoxMeans& task, const Sum* sums, int64_t pixel, ptrdiff_t lane)
    {
        const auto* running = static_cast<const Sum*>(task.running) + ownBoxEdge * task.lanes + lane;
        const Sum* last = sums + (task.columns - 1) * task.lanes + lane;
        if (pixel < 0)
            return Sum(1u * Sum(pixel) * sums[lane]);
        if (pixel > task.columns)
            return Sum(running[task.columns * task.lanes] + 1u * Sum(pixel - task.columns) * *last);
        return running[pixel * task.lanes];
    }

#if defined(__AVX2__)
    // Means of sixteen sums at a time, which sumsAt(i) answers. False where there are too few of them.
    template <class SumsAt>
    static bool storeMeans(SumsAt sumsAt, [[maybe_unused]] const Mean& mean, Value* means, ptrdiff_t n)
    {
        if constexpr (isByteSum && requires { mean.words(__m256i{}); }) {
            const Mean own = mean;
            auto store = [=](ptrdiff_t i) {
                const __m256i bytes = _mm256_packus_epi16(own.words(sumsAt(i)), own.words(sumsAt(i + 16)));
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(means + i), _mm256_permute4x64_epi64(bytes, 0xD8));
            };
            if (n < 32)
                return false;
            for (ptrdiff_t i = 0; i < n - 32; i += 32)
                store(i);
            store(n - 32);
            return true;
        }
        return false;
    }
    static __m256i vectorOf(const Sum* sums)
    {
        return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(sums));
    }
#endif

    static void insideMeans(const Sum* first, const Sum* last, const Mean& mean, Value* means, ptrdiff_t n)
    {
#if defined(__AVX2__)
        auto sumsAt = [=](ptrdiff_t i) { return _mm256_sub_epi16(vectorOf(last + i), vectorOf(first + i)); };
        if (storeMeans(sumsAt, mean, means, n))
            return;
#endif
#pragma GCC ivdep
        for (ptrdiff_t i = 0; i < n; ++i)
            means[i] = mean(Sum(last[i] - first[i]));
    }

#if defined(__AVX2__)
    // Repeats the sums of the first and of the last pixel as far as boxes pass the columns.
    static void fillMargins(const OwnBoxMeans& task, Sum* sums)
    {
        const ptrdiff_t lanes = task.lanes, pixels = task.first + task.count + ptrdiff_t(task.size) - 1;
        for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
            const Sum first = sums[lane], last = sums[(task.columns - 1) * lanes + lane];
            for (ptrdiff_t i = task.first; i < 0; ++i)
                sums[i * lanes + lane] = first;
            for (ptrdiff_t i = task.columns; i < pixels; ++i)
                sums[i * lanes + lane] = last;
        }
    }

    // Boxes of not too many pixels: the sums of three neighbours, of which a box has several, and those of what
    // remains. False for others, and where means do not fill a vector.
    static bool smallMeans(const OwnBoxMeans& task, Sum* sums, Value* means)
    {
        constexpr int leastPixels = 5, mostPixels = 24;
        const ptrdiff_t lanes = task.lanes, n = task.count * lanes;
        if (task.size < leastPixels || task.size > mostPixels || n < 32)
            return false;
        fillMargins(task, sums);
        const Sum* from = sums + task.first * lanes;
        auto* triples = static_cast<Sum*>(task.running);
        const int size = int(task.size), triplesOfBox = size / 3;
        // The last vector may pass the end: there is room for it.
        for (ptrdiff_t i = 0; i < n + 3 * (triplesOfBox - 1) * lanes; i += 16)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(triples + i),
                                _mm256_add_epi16(_mm256_add_epi16(vectorOf(from + i), vectorOf(from + i + lanes)),
                                                 vectorOf(from + i + 2 * lanes)));
        const Mean mean(task);
        auto store = [=]<int vectors>(std::integral_constant<int, vectors>, ptrdiff_t i) {
            __m256i sum[vectors] = {};
            auto add = [&](const Sum* row) {
                for (int k = 0; k < vectors; ++k)
                    sum[k] = _mm256_add_epi16(sum[k], vectorOf(row + i + 16 * k));
            };
            for (int k = 0; k < triplesOfBox; ++k)
                add(triples + 3 * k * lanes);
            for (int k = 3 * triplesOfBox; k < size; ++k)
                add(from + k * lanes);
            for (int k = 0; k < vectors; k += 2) {
                const __m256i bytes = _mm256_packus_epi16(mean.words(sum[k]), mean.words(sum[k + 1]));
                _mm256_storeu_si256(reinterpret_cast<__m256i*>(means + i + 16 * k),
                                    _mm256_permute4x64_epi64(bytes, 0xD8));
            }
        };
        ptrdiff_t i = 0;
        for (; i + 64 <= n; i += 64)
            store(std::integral_constant<int, 4>{}, i);
        for (; i < n; i += 32)
            store(std::integral_constant<int, 2>{}, i < n - 32 ? i : n - 32);
        return true;
    }
#endif

    // Boxes of so few pixels that their sums cost less one by one.
    template <int size>
    static void fewMeans(const OwnBoxMeans& task, const Sum* sums, Value* means)
    {
        const ptrdiff_t lanes = task.lanes;
        const Mean mean(task);
        auto clamp = [](int64_t i, int64_t most) { return ptrdiff_t(i < 0 ? 0 : i < most ? i : most); };
        // The boxes that lie in the columns.
        const ptrdiff_t left = clamp(-task.first, task.count);
        const ptrdiff_t end = clamp(task.columns - size - task.first + 1, task.count), right = end > left ? end : left;
        auto isInside = [&](ptrdiff_t i) { return i >= left && i < right; };
        for (ptrdiff_t i = 0; i < task.count; i = isInside(i + 1) ? right : i + 1)
            for (ptrdiff_t lane = 0; lane < lanes && !isInside(i); ++lane) {
                Sum sum = 0;
                for (int k = 0; k < size; ++k)
                    sum = Sum(sum + sums[clamp(task.first + i + k, task.columns - 1) * lanes + lane]);
                means[i * lanes + lane] = mean(sum);
            }
        const Sum* first = sums + (task.first + left) * lanes;
        const ptrdiff_t n = (right - left) * lanes;
        means += left * lanes;
#if defined(__AVX2__)
        auto sumsAt = [=](ptrdiff_t i) {
            __m256i sum = vectorOf(first + i);
            for (int k = 1; k < size; ++k)
                sum = _mm256_add_epi16(sum, vectorOf(first + i + k * lanes));
            return sum;
        };
        if (storeMeans(sumsAt, mean, means, n))
            return;
#endif
        for (ptrdiff_t i = 0; i < n; ++i) {
            Sum sum = 0;
            for (int k = 0; k < size; ++k)
                sum = Sum(sum + first[i + k * lanes]);
            means[i] = mean(sum);
        }
    }

    static void means(const OwnBoxMeans& given, void* from, void* to)
    {
        const OwnBoxMeans task = given;
        auto* sums = static_cast<Sum*>(from);
        auto* means = static_cast<Value*>(to);
#if defined(__AVX2__)
        if constexpr (isByteSum && requires(Mean mean) { mean.words(__m256i{}); })
            if (smallMeans(task, sums, means))
                return;
#endif
        if constexpr (isByteSum)
            switch (task.size) {
            case 2: return fewMeans<2>(task, sums, means);
            case 3: return fewMeans<3>(task, sums, means);
            case 4: return fewMeans<4>(task, sums, means);
            default: break;
            }
        const ptrdiff_t lanes = task.lanes;
        Sum* running = static_cast<Sum*>(task.running) + ownBoxEdge * lanes;
        const Mean mean(task);
        addUp(sums, running, task.columns * lanes, task.lanes);
        // Few boxes pass the columns by more than an edge that is filled in: those before `left` and from `right` on.
        auto clamp = [&](int64_t i) { return ptrdiff_t(i < 0 ? 0 : i < task.count ? i : task.count); };
        const ptrdiff_t left = clamp(-task.first - ownBoxEdge);
        const ptrdiff_t right = clamp(task.columns + ownBoxEdge - task.size - task.first + 1);
        const int64_t low = task.first + left, end = task.first + (right > left ? right : left) - 1 + task.size;
        for (ptrdiff_t lane = 0; lane < lanes; ++lane) {
            for (int64_t i = low < -ownBoxEdge ? -ownBoxEdge : low; i < 0; ++i)
                running[i * lanes + lane] = runningAt(task, sums, i, lane);
            for (int64_t i = task.columns + 1; i <= end && i <= task.columns + ownBoxEdge; ++i)
                running[i * lanes + lane] = runningAt(task, sums, i, lane);
        }
        auto isInside = [&](ptrdiff_t i) { return i >= left && i < right; };
        for (ptrdiff_t i = 0; i < task.count; i = isInside(i + 1) ? right : i + 1)
            for (ptrdiff_t lane = 0; lane < lanes && !isInside(i); ++lane) {
                const int64_t first = task.first + i;
                const Sum sum =
                    Sum(runningAt(task, sums, first + task.size, lane) - runningAt(task, sums, first, lane));
                means[i * lanes + lane] = mean(sum);
            }
        const Sum* first = running + low * lanes;
        insideMeans(first, first + task.size * lanes, mean, means + left * lanes, (right - left) * lanes);
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
