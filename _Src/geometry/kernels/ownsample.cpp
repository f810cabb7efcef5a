// Kernels of the samplers, and of what follows them.
#include "owncubic.h"
#include "owndeliver.h"
#include "ownlinear.h"

namespace OWN_ISA {
namespace {

// ---- Nearest ------------------------------------------------------------------------------------------------------

// Whether a list has the image's last pixel, behind which the memory may end.
bool hasLastPixel(const OwnSampleSource& source, const OwnSamplePlaces& places, ptrdiff_t n)
{
    using Offsets = Vector<int64_t>;
    const Offsets last = everyLane((source.height - 1) * source.rowBytes +
                                   int64_t{source.width - 1} * source.pixelBytes - source.origin);
    decltype(Offsets() == Offsets()) found = {};
    for (ptrdiff_t i = 0; i < n; i += lanes)
        found |= vectorAt<int64_t>(places.offset, i) == last;
    bool any = false;
    for (int i = 0; i < lanes; ++i)
        any |= found[i] != 0;
    return any;
}

template <int bytes>
void sampleNearest(const OwnSampleSource& source, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n,
                   uint8_t* out)
{
    constexpr int listed = ownListedBytes(bytes);
    // Pixels of three bytes come along with the byte behind them.
    if (listed == bytes || !hasLastPixel(source, places, n))
        forEach(places.offset, n, out, listed,
                [data](uint8_t* to, ptrdiff_t offset) { __builtin_memcpy(to, data + offset, listed); });
    else
        forEach(places.offset, n, out, listed,
                [data](uint8_t* to, ptrdiff_t offset) { __builtin_memcpy(to, data + offset, bytes); });
}

void sampleBits(const OwnSampleSource&, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n, uint8_t* out)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        out[i] = data[places.offset[i] >> 3] >> (~places.offset[i] & 7) & 1;
}

// ---- Fetching -----------------------------------------------------------------------------------------------------

// All columns of the first row, and all rows of each fourth column: whichever way they run through the source, few
// lines of the cache are missed.
void fetch(const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t columnStep, ptrdiff_t rowStep, ptrdiff_t n)
{
    const ptrdiff_t columns = n / ownPositionRows;
    for (ptrdiff_t i = 0; i < columns; ++i)
        __builtin_prefetch(data + places.offset[i * columnStep]);
    for (ptrdiff_t i = 0; i < columns; i += 4)
        for (ptrdiff_t row = 1; row < ownPositionRows; ++row)
            __builtin_prefetch(data + places.offset[i * columnStep + row * rowStep]);
}

constexpr OwnSampler bits = {prepareBits, {sampleBits, nullptr, nullptr, nullptr}};

template <int bytes>
constexpr OwnSampler nearest = {
    prepareNearest,
    {sampleNearest<bytes>, sampleNearest<2 * bytes>, sampleNearest<3 * bytes>, sampleNearest<4 * bytes>}};
constexpr OwnSampler linear8 = {prepareFixed, {sampleFixedOne, sampleFixed<2>, sampleFixed<3>, sampleFixed<4>}};
template <class T>
constexpr OwnSampler linear = {prepareLinear,
                               {sampleLinear<T, 1>, sampleLinear<T, 2>, sampleLinear<T, 3>, sampleLinear<T, 4>}};
constexpr OwnSampler cubic8 = {prepareCubic<true>,
                               {sampleCubicFixedOne, sampleCubicFixed<2>, sampleCubicFixed<3>, sampleCubicFixed<4>}};
template <class T>
constexpr OwnSampler cubic = {prepareCubic<false>,
                              {sampleCubic<T, 1>, sampleCubic<T, 2>, sampleCubic<T, 3>, sampleCubic<T, 4>}};

}  // namespace

extern const OwnSampleKernels ownSampleKernels = {
    {{bits, bits, bits},
     {nearest<1>, linear8, cubic8},
     {nearest<2>, linear<uint16_t>, cubic<uint16_t>},
     {nearest<4>, linear<float>, cubic<float>}},
    fetch,
    {deliverBits, deliver<1>, deliver<2>, deliver<3>, deliver<4>, nullptr, deliver<6>, nullptr, deliver<8>, nullptr,
     nullptr, nullptr, deliver<12>, nullptr, nullptr, nullptr, deliver<16>},
};

}  // namespace OWN_ISA
