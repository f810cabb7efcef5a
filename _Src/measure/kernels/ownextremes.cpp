// Kernel of the extremes.
#include "ownextremes.h"

#include "../../core/ownvalue.h"

namespace OWN_ISA {
namespace {

// Lanes that do not wait for each other.
constexpr ptrdiff_t lanes = 32;

void take(OwnExtremes& extremes, const OwnReadRows& rows)
{
    float least[lanes], greatest[lanes];
    for (ptrdiff_t k = 0; k < lanes; ++k) {
        least[k] = extremes.least;
        greatest[k] = extremes.greatest;
    }
    // What does not compare, a NaN on either side, changes nothing.
    auto compare = [&](float value, ptrdiff_t k) {
        least[k] = value < least[k] ? value : least[k];
        greatest[k] = value > greatest[k] ? value : greatest[k];
    };
    for (ptrdiff_t y = 0; y < rows.count; ++y) {
        const OwnValues<float> row = {static_cast<const uint8_t*>(rows.a) + y * rows.aStep};
        ptrdiff_t i = 0;
        for (; i <= rows.n - lanes; i += lanes)
            for (ptrdiff_t k = 0; k < lanes; ++k)
                compare(row[i + k], k);
        for (ptrdiff_t k = 0; i + k < rows.n; ++k)
            compare(row[i + k], k);
    }
    for (ptrdiff_t k = 0; k < lanes; ++k) {
        extremes.least = least[k] < extremes.least ? least[k] : extremes.least;
        extremes.greatest = greatest[k] > extremes.greatest ? greatest[k] : extremes.greatest;
    }
}

}  // namespace

extern const OwnExtremesKernels ownExtremesKernels;
const OwnExtremesKernels ownExtremesKernels = {take};

}  // namespace OWN_ISA
