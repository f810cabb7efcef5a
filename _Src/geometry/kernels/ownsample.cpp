// Kernels of the samplers, and of what follows them.
#include "owncubic.h"
#include "owndeliver.h"
#include "owninside.h"
#include "ownlinear.h"

namespace OWN_ISA {
namespace {

// ---- Nearest ------------------------------------------------------------------------------------------------------

// Brings pixels of a row that lie side by side there. With `wide` those of three bytes come along with the byte behind
// them, which the next one overwrites.
template <int bytes, ptrdiff_t columnStep, bool wide = false>
void copyRow(const uint8_t* data, const int64_t* offsets, ptrdiff_t count, uint8_t* to)
{
    constexpr ptrdiff_t few = 8, moved = wide ? ownListedBytes(bytes) : bytes;
    auto copy = [&](ptrdiff_t i)
                    OWN_ALWAYS { __builtin_memcpy(to + i * bytes, data + offsets[i * columnStep], moved); };
    ptrdiff_t i = 0;
    for (; i + few < count; i += few)
#pragma GCC unroll 8
        for (ptrdiff_t k = 0; k < few; ++k)
            copy(i + k);
    for (; i < count; ++i)
        __builtin_memcpy(to + i * bytes, data + offsets[i * columnStep], bytes);
}

template <int bytes, ptrdiff_t columnStep>
void copyNearestBy(const uint8_t* data, const OwnSamplePlaces& places, const OwnDelivery& delivery)
{
    auto pixelAt = [=, &places](ptrdiff_t number) { return data + places.offset[number]; };
    for (int row = 0; row < ownPositionRows; ++row) {
        const int64_t* const offsets = places.offset + row * delivery.rowStep;
        if (delivery.step != bytes || delivery.marks)
            deliverRow<bytes>(delivery, row, 0, columnStep, pixelAt);
        else if (bytes != 3 || places.lastRow)
            copyRow<bytes, columnStep>(data, offsets, delivery.count[row], delivery.to[row]);
        else
            copyRow<bytes, columnStep, true>(data, offsets, delivery.count[row], delivery.to[row]);
    }
}

template <int bytes>
void copyNearest(const uint8_t* data, const OwnSamplePlaces& places, const OwnDelivery& delivery)
{
    if (delivery.columnStep == 1)
        copyNearestBy<bytes, 1>(data, places, delivery);
    else
        copyNearestBy<bytes, ownPositionRows>(data, places, delivery);
}

void sampleBits(const OwnSampleSource&, const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t n, uint8_t* out)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        out[i] = data[places.offset[i] >> 3] >> (~places.offset[i] & 7) & 1;
}

// ---- Fetching -----------------------------------------------------------------------------------------------------

// All columns of the first row, and all rows of each fourth column: whichever way they run through the source, few
// lines of the cache are missed.
void fetch(const uint8_t* data, const OwnSamplePlaces& places, ptrdiff_t columnStep, ptrdiff_t rowStep, ptrdiff_t n,
           ptrdiff_t below)
{
    const ptrdiff_t columns = n / ownPositionRows;
    for (ptrdiff_t i = 0; i < columns; ++i)
        __builtin_prefetch(data + places.offset[i * columnStep]);
    for (ptrdiff_t i = 0; i < columns; i += 4)
        for (ptrdiff_t row = 1; row < ownPositionRows; ++row)
            __builtin_prefetch(data + places.offset[i * columnStep + row * rowStep]);
    // Of other rows the rows next to them bring what lies below.
    for (ptrdiff_t i = 0; i < columns && below; i += 4) {
        __builtin_prefetch(data + places.offset[i * columnStep] + below);
        __builtin_prefetch(data + places.offset[i * columnStep + (ownPositionRows - 1) * rowStep] + below);
    }
}

// ---- Samplers -----------------------------------------------------------------------------------------------------

// The roads of a method for positions that lie inside, by what the method makes of them; level base has none.
template <class Places>
constexpr OwnInside inside = {
#if defined(__AVX2__)
    {prepareRows<LinearRows, Places>, nullptr, prepareRows<RootRows, Places>},
    prepareFloatRows<Places>,
#endif
};

constexpr OwnSampler bits = {.prepare = prepareBits, .sample = {sampleBits}};
template <int bytes>
constexpr OwnSampler nearest = {
    .prepare = prepareNearest,
    .inside = inside<NearestPlaces>,
    .copy = {copyNearest<bytes>, copyNearest<2 * bytes>, copyNearest<3 * bytes>, copyNearest<4 * bytes>}};
constexpr OwnSampler linear8 = {.prepare = prepareFixed,
                                .inside = inside<FixedPlaces>,
                                .sample = {sampleFixedOne, sampleFixed<2>, sampleFixed<3>, sampleFixed<4>}};
template <class T>
constexpr OwnSampler linear = {
    .prepare = prepareLinear,
    .sample = {sampleLinear<T, 1>, sampleLinear<T, 2>, sampleLinear<T, 3>, sampleLinear<T, 4>}};
constexpr OwnSampler cubic8 = {
    .prepare = prepareCubic<true>,
    .sample = {sampleCubicFixedOne, sampleCubicFixed<2>, sampleCubicFixed<3>, sampleCubicFixed<4>}};
template <class T>
constexpr OwnSampler cubic = {.prepare = prepareCubic<false>,
                              .sample = {sampleCubic<T, 1>, sampleCubic<T, 2>, sampleCubic<T, 3>, sampleCubic<T, 4>}};

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
