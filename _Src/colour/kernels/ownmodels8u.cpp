// Conversions between colour models, 8U.
#include "ownmodels.h"

#if defined(__AVX2__)
#pragma GCC target("fma")
#define OWN_FUSES
#include <immintrin.h>
#endif

#include "ownforms.h"
#include "ownhuebytes.h"

namespace OWN_ISA {
namespace {

// ---- X, Y, Z ------------------------------------------------------------------------------------------------------

using Rgb2Xyz =
    Forms<Form{6758, 5859, 2956, 8192, 14}, Form{3484, 11717, 1182, 8192, 14}, Form{317, 1953, 15569, 8192, 14}>;

using Xyz2Rgb =
    Forms<Form{53092, -25185, -8168, 8192, 14}, Form{-15880, 30736, 681, 8192, 14}, Form{912, -3343, 17323, 8192, 14}>;

// ---- Y, U, V ------------------------------------------------------------------------------------------------------

using Rgb2Yuv = Forms<Form{9798, 19235, 3736, 0, 15}, Form{-4784, -9437, 14221, 0, 15, 0, 127},
                      Form{20218, -16941, -3277, 0, 15, 0, 127}>;

constexpr int64_t middle = 127;

using Yuv2Rgb =
    Forms<Form{0, -31, 37222, -middle*(37222 - 31), 15, 1}, Form{0, -12974, -18949, middle*(12974 + 18949), 15, 1},
          Form{0, 66883, -53, -middle*(66883 - 53), 15, 1}>;

// The differences are rounded before they are scaled.
struct Rgb2YuvPlanes {
    static constexpr bool wraps = false;
    template <class L>
    static Triple<L> of(const Triple<L>& v)
    {
        constexpr int32_t r = 19595, g = 38470, b = 7471, one = 1 << 16;
        const L blue = form<Form{-r, -g, one - b, 32767, 16}>(v.x, v.y, v.z);
        const L red = form<Form{one - r, -g, -b, 32767, 16}>(v.x, v.y, v.z);
        return {form<Form{r, g, b, 0, 16}>(v.x, v.y, v.z), form<Form{32244, 0, 0, 0, 16, 0, 128}>(blue, blue, blue),
                form<Form{57475, 0, 0, 0, 16, 0, 128}>(red, red, red)};
    }
};

using YuvPlanes2Rgb =
    Forms<Form{0, 0, 74710, -128 * 74710, 16, 1}, Form{0, -25820, -38075, 128 * (25820 + 38075), 16, 1},
          Form{0, 133168, 0, -128 * 133168, 16, 1}>;

// ---- Y, Cb, Cr ----------------------------------------------------------------------------------------------------

// Differences from the rounded Y; the largest ones leave the range.
struct Rgb2YCrCb {
    static constexpr bool wraps = true;
    template <class L>
    static Triple<L> of(const Triple<L>& v)
    {
        const L y = form<Form{4898, 9617, 1867, 8192, 14}>(v.x, v.y, v.z);
        return {y, form<Form{9246, -9246, 0, 2097152, 14}>(v.z, y, y),
                form<Form{11686, -11686, 0, 2097152, 14}>(v.x, y, y)};
    }
};

// Of G the floor is subtracted, which is to add the ceiling of the negated sum.
using YCrCb2Rgb = Forms<Form{0, 0, 22970, -2928675, 14, 1}, Form{0, -5638, -11700, 2210595 + 16383, 14, 1},
                        Form{0, 29032, 0, -3701580, 14, 1}>;

// ---- Y, C1, C2 ----------------------------------------------------------------------------------------------------

// The display's response: 353.2 is white. What lies above the table is white too, but its last entry is black.
constexpr int32_t yccLast = 361;

struct YccTable {
    uint8_t entries[yccLast + 1];
    constexpr YccTable() : entries()
    {
        for (int32_t i = 0; i < yccLast; ++i) {
            const int32_t value = (2550 * i + 1766) / 3532;  // 255 i / 353.2, rounded
            entries[i] = uint8_t(value < 255 ? value : 255);
        }
    }
};

constexpr YccTable yccTable;

OWN_INLINE int32_t yccValue(int32_t i)
{
    i = i < 0 ? 0 : i;
    return yccTable.entries[i > yccLast ? yccLast - 1 : i];
}

#if defined(__AVX2__)
// The table in a product that has half of its entries' unit: the test of all indices is that of the table.
OWN_INLINE Words yccValue(const Words& i)
{
    const __m256i index = _mm256_max_epi16(i.lanes, _mm256_setzero_si256());
    const __m256i half = _mm256_mulhi_epu16(_mm256_add_epi16(index, index), _mm256_set1_epi16(int16_t(47315)));
    const __m256i isLast = _mm256_cmpeq_epi16(index, _mm256_set1_epi16(yccLast));
    return {_mm256_andnot_si256(isLast, _mm256_avg_epu16(half, _mm256_setzero_si256()))};
}
#endif

struct Ycc2Rgb {
    static constexpr bool wraps = false;
    template <class L>
    static Triple<L> of(const Triple<L>& v)
    {
        return {yccValue(form<Form{22256, 0, 29844, -4088627, 14}>(v.x, v.y, v.z)),
                yccValue(form<Form{22256, -7050, -15190, 3180809, 14}>(v.x, v.y, v.z)),
                yccValue(form<Form{22256, 36338, 0, -5668739, 14}>(v.x, v.y, v.z))};
    }
};

// ---- Hues ---------------------------------------------------------------------------------------------------------

#if defined(__AVX2__)
constexpr OwnTripleStep rgb2hsv = rgbToHueBytes<false>, hsv2rgb = hueBytesToRgb<HsvColours>;
constexpr OwnTripleStep rgb2hls = rgbToHueBytes<true>, hls2rgb = hueBytesToRgb<HlsColours>;
#else
constexpr OwnTripleStep rgb2hsv = rgbToHue<uint8_t, false>, hsv2rgb = hueToRgb<uint8_t, false>;
constexpr OwnTripleStep rgb2hls = rgbToHue<uint8_t, true>, hls2rgb = hueToRgb<uint8_t, true>;
#endif

}  // namespace

extern const OwnModels ownModels8U;
const OwnModels ownModels8U = {
    .rgb2hsv = rgb2hsv,
    .hsv2rgb = hsv2rgb,
    .rgb2hls = rgb2hls,
    .hls2rgb = hls2rgb,
    .rgb2xyz = stepBytes<Rgb2Xyz>,
    .xyz2rgb = stepBytes<Xyz2Rgb>,
    .rgb2yuv = stepBytes<Rgb2Yuv>,
    .yuv2rgb = stepBytes<Yuv2Rgb>,
    .rgb2ycrcb = stepBytes<Rgb2YCrCb>,
    .ycrcb2rgb = stepBytes<YCrCb2Rgb>,
    .ycc2rgb = stepBytes<Ycc2Rgb>,
    .rgb2yuvPlanes = stepBytes<Rgb2YuvPlanes>,
    .yuvPlanes2rgb = stepBytes<YuvPlanes2Rgb>,
};

}  // namespace OWN_ISA
