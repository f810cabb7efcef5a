// Conversions between colour models, 16U.
#include "ownmodels.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#define OWN_FUSES
#include <immintrin.h>
#endif

#include "ownforms.h"
#include "ownhuewords.h"

namespace OWN_ISA {
namespace {

using Rgb2Xyz =
    Forms<Form{6758, 5859, 2956, 8192, 14}, Form{3484, 11717, 1182, 8192, 14}, Form{317, 1953, 15569, 8192, 14}>;

// From the high bytes alone.
struct Xyz2Rgb {
    using OfBytes =
        Forms<Form{53092, -25185, -8168, 8192, 6}, Form{-15880, 30736, 681, 8192, 6}, Form{912, -3343, 17323, 8192, 6}>;
    static constexpr bool wraps = false;
    template <class L>
    static auto of(const Triple<L>& v)
    {
        return OfBytes::of(Triple<L>{v.x >> 8, v.y >> 8, v.z >> 8});
    }
};

// The sum of Y leaves 32 bits at white, which becomes 0.
using Rgb2Yuv = Forms<Form{9798, 19235, 3736, 0, 15}, Form{-4784, -9437, 14221, 0, 15, 0, 32767},
                      Form{20218, -16941, -3277, 0, 15, 0, 32767}>;

constexpr int64_t middle = 32767;

using Yuv2Rgb =
    Forms<Form{0, -31, 37222, -middle*(37222 - 31), 15, 1}, Form{0, -12974, -18949, middle*(12974 + 18949), 15, 1},
          Form{0, 66883, -53, -middle*(66883 - 53), 15, 1}>;

using Rgb2YCrCb = Forms<Form{4899, 9617, 1868, 8192, 14}, Form{-2765, -5427, 8192, 536870912, 14},
                        Form{8192, -6860, -1332, 536870912, 14}>;

// Of G the floor is subtracted, which is to add the ceiling of the negated sum.
using YCrCb2Rgb = Forms<Form{0, 0, 22970, -752669475, 14, 1}, Form{0, -5638, -11700, 568122915 + 16383, 14, 1},
                        Form{0, 29032, 0, -951306060, 14, 1}>;

#if defined(__AVX2__)
constexpr OwnTripleStep rgb2hsv = rgbToHueWords<false>, hsv2rgb = hueWordsToRgb<HsvColours>;
constexpr OwnTripleStep rgb2hls = rgbToHueWords<true>, hls2rgb = hueWordsToRgb<HlsColours>;
#else
constexpr OwnTripleStep rgb2hsv = rgbToHue<uint16_t, false>, hsv2rgb = hueToRgb<uint16_t, false>;
constexpr OwnTripleStep rgb2hls = rgbToHue<uint16_t, true>, hls2rgb = hueToRgb<uint16_t, true>;
#endif

}  // namespace

extern const OwnModels ownModels16U;
const OwnModels ownModels16U = {
    .rgb2hsv = rgb2hsv,
    .hsv2rgb = hsv2rgb,
    .rgb2hls = rgb2hls,
    .hls2rgb = hls2rgb,
    .rgb2xyz = stepHalves<Rgb2Xyz>,
    .xyz2rgb = stepHalves<Xyz2Rgb>,
    .rgb2yuv = stepHalves<Rgb2Yuv>,
    .yuv2rgb = stepHalves<Yuv2Rgb>,
    .rgb2ycrcb = stepHalves<Rgb2YCrCb>,
    .ycrcb2rgb = stepHalves<YCrCb2Rgb>,
};

}  // namespace OWN_ISA
