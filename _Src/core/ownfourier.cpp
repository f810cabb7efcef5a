// The tables of Fourier transforms.
#include "ownfourier.h"

#include <cstring>

#include "ownmath.h"

namespace {

constexpr double pi = 3.14159265358979323846;

// ---- Stages ---------------------------------------------------------------------------------------------------------

// Lengths that have a butterfly, and what a value costs in it, turns included: counts of multiplications and additions.
struct Butterfly {
    int32_t radix;
    int32_t cost;
};

constexpr Butterfly butterflies[] = {{16, 30}, {15, 40}, {13, 60}, {12, 30}, {11, 52}, {10, 32}, {9, 34},
                                     {8, 24},  {7, 38},  {6, 25},  {5, 28},  {4, 18},  {3, 19},  {2, 14}};

// The stages of a length.
struct Factors {
    int32_t count = 0;
    int32_t radix[ownFourierStages] = {};
    int32_t cost = 0;
};

// The cheapest way to part `length` by butterflies from the given one on; `length` has no other factors.
void findStages(int32_t length, int32_t from, Factors& sofar, Factors& best)
{
    if (length == 1) {
        if (best.count == 0 || sofar.cost < best.cost)
            best = sofar;
        return;
    }
    for (int32_t i = from; i < int32_t(sizeof butterflies / sizeof *butterflies); ++i) {
        auto [radix, cost] = butterflies[i];
        if (length % radix != 0)
            continue;
        Factors longer = sofar;
        longer.radix[longer.count++] = radix;
        longer.cost += cost;
        findStages(length / radix, i, longer, best);
    }
}

// Parts a length into stages; false if it has a prime factor that no stage is made for.
bool factorise(int32_t length, Factors& factors)
{
    Factors primes;
    int32_t rest = length;
    constexpr int32_t small[] = {2, 3, 5, 7, 11, 13};
    for (int32_t prime : small)
        while (rest % prime == 0)
            rest /= prime;
    int32_t smooth = length / rest;
    for (int32_t prime = 17; rest > 1 && prime <= ownFourierLargestPrime; prime += 2)
        for (; rest % prime == 0; rest /= prime)
            primes.radix[primes.count++] = prime;
    if (rest > 1)
        return false;
    Factors none;
    findStages(smooth, 0, none, factors);
    for (int32_t i = 0; i < primes.count; ++i)
        factors.radix[factors.count++] = primes.radix[i];
    return true;
}

// ---- Tables ---------------------------------------------------------------------------------------------------------

// Where the parts of a table lie in its block, counted out before the block is taken and handed out after it.
struct Parts {
    char* block;
    int64_t bytes = 0;

    template <class Part>
    Part* take(int64_t count)
    {
        constexpr int64_t alignment = 64;
        auto* part = block ? reinterpret_cast<Part*>(block + bytes) : nullptr;
        bytes += (count * int64_t{sizeof(Part)} + alignment - 1) & -alignment;
        return part;
    }
};

template <class T>
void putRoot(T* to, int64_t j, int64_t n)
{
    OwnRoot root = ownRoot(j, n);
    to[0] = T(root.cos);
    to[1] = T(-root.sin);
}

void fillOrder(int32_t* order, int32_t length, const Factors& factors)
{
    for (int32_t e = 0; e < length; ++e) {
        int32_t rest = e, size = length, place = 0;
        for (int32_t stage = factors.count - 1; stage >= 0; --stage) {
            size /= factors.radix[stage];
            place += rest % factors.radix[stage] * size;
            rest /= factors.radix[stage];
        }
        order[e] = place;
    }
}

template <class T>
void fillTwiddles(T* twiddles, const Factors& factors)
{
    int64_t shorter = factors.count ? factors.radix[0] : 1;
    for (int32_t stage = 1; stage < factors.count; ++stage) {
        int64_t radix = factors.radix[stage];
        for (int64_t j = 0; j < shorter; ++j)
            for (int64_t k = 1; k < radix; ++k, twiddles += 2)
                putRoot(twiddles, j * k, shorter * radix);
        shorter *= radix;
    }
}

// Lays out, and with a block fills, the table of a length that stages make.
template <class T>
OwnFourierTable<T>* stagesTable(Parts& parts, int32_t length, const Factors& factors)
{
    auto* table = parts.take<OwnFourierTable<T>>(1);
    auto* order = parts.take<int32_t>(length);
    auto* twiddles = parts.take<T>(2 * int64_t{length});
    T* roots[ownFourierStages] = {};
    for (int32_t stage = 0; stage < factors.count; ++stage)
        if (factors.radix[stage] > 16)
            roots[stage] = parts.take<T>(2 * int64_t{factors.radix[stage]});
    if (!table)
        return nullptr;
    *table = {.length = length,
              .room = length,
              .scratch = 0,
              .stages = factors.count,
              .order = order,
              .radix = {},
              .twiddles = twiddles,
              .roots = {},
              .inner = nullptr,
              .chirp = nullptr,
              .response = nullptr};
    fillOrder(order, length, factors);
    fillTwiddles(twiddles, factors);
    for (int32_t stage = 0; stage < factors.count; ++stage) {
        table->radix[stage] = factors.radix[stage];
        table->roots[stage] = roots[stage];
        for (int32_t j = 0; roots[stage] && j < factors.radix[stage]; ++j)
            putRoot(roots[stage] + ptrdiff_t{2} * j, j, factors.radix[stage]);
    }
    return table;
}

// The shortest length at or above `least` whose stages are short ones, or 0.
int32_t convolutionLength(int64_t least)
{
    int64_t best = INT64_MAX;
    constexpr int64_t odds[] = {1, 3, 5, 9, 15};
    for (int64_t odd : odds) {
        int64_t length = odd;
        while (length < least)
            length *= 2;
        best = length < best ? length : best;
    }
    return best > INT32_MAX ? 0 : int32_t(best);
}

OwnRoot chirpAt(int64_t n, int64_t length)
{
    return ownRoot(n * n % (2 * length), 2 * length);
}

// The spectrum of the conjugate chirp, which is the same from both ends, in the first lane of a block.
template <class T>
bool fillResponse(T* response, int32_t length, int32_t innerLength)
{
    const OwnFourierLines<double>& lines = ownFourierKernels().doubles;
    OwnScratch<OwnFourierTable<double>> table(ownFourierTable<double>(innerLength));
    OwnScratch<double> block(int64_t{2} * innerLength * lines.lanes);
    if (!table || !block)
        return false;
    auto part = [&](ptrdiff_t place, int i) -> double& { return block[(2 * place + i) * lines.lanes]; };
    memset(block.data, 0, size_t(innerLength) * 2 * size_t(lines.lanes) * sizeof(double));
    for (int64_t n = 0; n < innerLength; ++n) {
        int64_t distance = n < length ? n : innerLength - n;
        if (distance >= length)
            continue;
        OwnRoot value = chirpAt(distance, length);
        part(table.data->order[n], 0) = value.cos / innerLength;
        part(table.data->order[n], 1) = value.sin / innerLength;
    }
    lines.transform(block.data, nullptr, *table.data, 1);
    for (ptrdiff_t k = 0; k < innerLength; ++k)
        for (int i = 0; i < 2; ++i)
            response[2 * k + i] = T(part(k, i));
    return true;
}

template <class T>
OwnFourierTable<T>* chirpTable(Parts& parts, int32_t length, int32_t innerLength, const Factors& factors)
{
    auto* table = parts.take<OwnFourierTable<T>>(1);
    auto* order = parts.take<int32_t>(length);
    auto* chirp = parts.take<T>(2 * int64_t{length});
    auto* response = parts.take<T>(2 * int64_t{innerLength});
    auto* inner = stagesTable<T>(parts, innerLength, factors);
    if (!table)
        return nullptr;
    *table = {.length = length,
              .room = innerLength,
              .scratch = innerLength,
              .stages = 0,
              .order = order,
              .radix = {},
              .twiddles = nullptr,
              .roots = {},
              .inner = inner,
              .chirp = chirp,
              .response = response};
    for (int32_t n = 0; n < length; ++n) {
        OwnRoot value = chirpAt(n, length);
        order[n] = n;
        chirp[2 * ptrdiff_t{n}] = T(value.cos);
        chirp[2 * ptrdiff_t{n} + 1] = T(-value.sin);
    }
    return fillResponse(response, length, innerLength) ? table : nullptr;
}

}  // namespace

OwnRoot ownRoot(int64_t j, int64_t n)
{
    // In eighths of a turn by n, brought down to the first one. The angle in turns is eighths / (8 n).
    int64_t eighths = 8 * (j % n);
    bool below = eighths > 4 * n;
    eighths = below ? 8 * n - eighths : eighths;
    bool left = eighths > 2 * n;
    eighths = left ? 4 * n - eighths : eighths;
    bool steep = eighths > n;
    eighths = steep ? 2 * n - eighths : eighths;
    double angle = double(eighths) * (pi / 4) / double(n);
    OwnSineCosine value = ownSineCosineNearZero(angle);
    double c = value.cos, s = 3 * eighths == 2 * n ? 0.5 : eighths == n ? c : value.sin;
    double x = steep ? s : c, y = steep ? c : s;
    return {left ? -x : x, below ? -y : y};
}

template <class T>
OwnFourierTable<T>* ownFourierTable(int32_t length)
{
    Factors factors;
    bool hasStages = factorise(length, factors);
    int32_t innerLength = hasStages ? 0 : convolutionLength(2 * int64_t{length} - 1);
    if (!hasStages && (innerLength == 0 || !factorise(innerLength, factors)))
        return nullptr;
    auto make = [&](Parts& parts) {
        return hasStages ? stagesTable<T>(parts, length, factors) : chirpTable<T>(parts, length, innerLength, factors);
    };
    Parts counted{nullptr};
    make(counted);
    int64_t words = counted.bytes / int64_t{sizeof(float)};
    OwnScratch<float> block(words > INT32_MAX ? nullptr : orvsMalloc(int32_t(words)));
    if (!block)
        return nullptr;
    Parts parts{reinterpret_cast<char*>(block.data)};
    OwnFourierTable<T>* table = make(parts);
    if (table)
        block.data = nullptr;
    return table;
}

template OwnFourierTable<float>* ownFourierTable<float>(int32_t length);
template OwnFourierTable<double>* ownFourierTable<double>(int32_t length);

OwnFourierPlane::OwnFourierPlane(int32_t planeWidth, int32_t planeHeight)
    : width(planeWidth),
      height(planeHeight),
      rows(ownFourierTable<double>(width)),
      columns(ownFourierTable<double>(height)),
      block(int64_t{2} * (width > height ? width : height) * ownFourierPlaneKernels().lanes)
{
}

void OwnFourierPlane::transform(double* re, double* im, int32_t direction)
{
    const OwnFourierPlaneKernels& move = ownFourierPlaneKernels();
    const OwnFourierLines<double>& lines = ownFourierKernels().doubles;
    for (int32_t y = 0; y < height; y += move.lanes) {
        ptrdiff_t at = ptrdiff_t{y} * width;
        move.rowsIn(re + at, im + at, width, *rows.data, block.data);
        lines.transform(block.data, nullptr, *rows.data, direction);
        move.rowsOut(block.data, *rows.data, re + at, im + at, width);
    }
    for (int32_t x = 0; x < width; x += move.lanes) {
        move.columnsIn(re + x, im + x, width, *columns.data, block.data);
        lines.transform(block.data, nullptr, *columns.data, direction);
        move.columnsOut(block.data, *columns.data, re + x, im + x, width);
    }
}
