// Kernel of the extremes.
#include "ownextremes.h"

#include "../../core/kernels/ownmaskwords.h"
#include "../../core/ownvalue.h"

namespace OWN_ISA {
namespace {

// Lanes that do not wait for each other.
constexpr ptrdiff_t lanes = 32;

struct Lanes {
    float least[lanes], greatest[lanes];

    explicit Lanes(const OwnExtremes& extremes)
    {
        for (ptrdiff_t k = 0; k < lanes; ++k) {
            least[k] = extremes.least;
            greatest[k] = extremes.greatest;
        }
    }
    // What does not compare, a NaN on either side, changes nothing.
    OWN_ALWAYS void take(float value, ptrdiff_t k)
    {
        least[k] = value < least[k] ? value : least[k];
        greatest[k] = value > greatest[k] ? value : greatest[k];
    }
    OwnExtremes fold()
    {
        for (ptrdiff_t half = lanes / 2; half > 0; half /= 2)
            for (ptrdiff_t k = 0; k < half; ++k) {
                least[k] = least[k + half] < least[k] ? least[k + half] : least[k];
                greatest[k] = greatest[k + half] > greatest[k] ? greatest[k + half] : greatest[k];
            }
        return {least[0], greatest[0]};
    }
};

// An extreme stands in the place of what the mask leaves out.
void takeMasked(OwnExtremes& extremes, const OwnReadRows& rows)
{
    Lanes all(extremes);
    const uint32_t other = ownLoad<uint32_t>(&extremes.least);
    for (ptrdiff_t y = 0; y < rows.count; ++y) {
        const uint8_t *row = static_cast<const uint8_t*>(rows.a) + y * rows.aStep, *bits = rows.bits + y * rows.bitStep;
        ptrdiff_t i = 0;
        for (; i <= rows.n - lanes; i += lanes) {
            float block[lanes];
            keepWords<lanes>(row + i * 4, other, block, maskWord<uint32_t>(bits, rows.bit + i));
            for (ptrdiff_t k = 0; k < lanes; ++k)
                all.take(block[k], k);
        }
        for (ptrdiff_t k = 0; i + k < rows.n; ++k)
            if (const ptrdiff_t place = rows.bit + i + k; bits[place >> 3] & 128 >> (place & 7))
                all.take(ownLoad<float>(row, i + k), k);
    }
    extremes = all.fold();
}

void take(OwnExtremes& extremes, const OwnReadRows& rows)
{
    if (rows.bits)
        return takeMasked(extremes, rows);
    Lanes all(extremes);
    for (ptrdiff_t y = 0; y < rows.count; ++y) {
        const OwnValues<float> row = {static_cast<const uint8_t*>(rows.a) + y * rows.aStep};
        ptrdiff_t i = 0;
        for (; i <= rows.n - lanes; i += lanes)
            for (ptrdiff_t k = 0; k < lanes; ++k)
                all.take(row[i + k], k);
        for (ptrdiff_t k = 0; i + k < rows.n; ++k)
            all.take(row[i + k], k);
    }
    extremes = all.fold();
}

}  // namespace

extern const OwnExtremesKernels ownExtremesKernels;
const OwnExtremesKernels ownExtremesKernels = {take};

}  // namespace OWN_ISA
