// Conversions between colour models, 32S: in double precision and toward zero.
#include "ownhue.h"
#include "ownmodels.h"

namespace OWN_ISA {
namespace {

using Numbers = Triple<double>;

// A number whose low bits are kept where it leaves the range.
OWN_INLINE int32_t low(double x)
{
    return int32_t(int64_t(x));
}

// A number that is cut to the range.
OWN_INLINE int32_t cut(double x)
{
    return ownTruncated<int32_t>(x);
}

template <class C>
struct Truncated {
    using Source = int32_t;
    using Result = int32_t;
    explicit Truncated(const void*) {}
    Triple<int32_t> operator()(const Triple<int32_t>& v) const
    {
        return C::of(Numbers{double(v.x), double(v.y), double(v.z)});
    }
};

struct Rgb2Xyz {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {low(0.412453 * v.x + 0.35758 * v.y + 0.180423 * v.z - 106394929.85651207),
                low(0.212671 * v.x + 0.71516 * v.y + 0.072169 * v.z - 1028644.6673920155),
                cut(0.019334 * v.x + 0.119193 * v.y + 0.950227 * v.z + 190597763.694592)};
    }
};

struct Xyz2Rgb {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {cut(3.2404813432005 * v.x + 439790694.0994415 - 1.5371515162713 * v.y - 0.49853632616889 * v.z),
                cut(-0.96925494999657 * v.x - 111044279.08821273 + 1.8759900014899 * v.y + 0.041555926558293 * v.z),
                cut(0.055646639135177 * v.x - 195600605.13649487 - 0.20404133836651 * v.y + 1.0573110696453 * v.z)};
    }
};

struct Rgb2Yuv {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {cut(0.299 * v.x + 0.587 * v.y + 0.114 * v.z), cut(-0.146 * v.x - 0.288 * v.y + 0.434 * v.z),
                cut(0.617 * v.x - 0.517 * v.y - 0.1 * v.z)};
    }
};

struct Yuv2Rgb {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {cut(v.x + 1.135920183 * v.z), cut(v.x - 0.3959190767 * v.y - 0.5782887929 * v.z),
                cut(v.x + 2.041101518 * v.y)};
    }
};

struct Rgb2YCrCb {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {low(0.299 * v.x + 0.587 * v.y + 0.114 * v.z), low(-0.1687359 * v.x - 0.331264 * v.y + 0.5 * v.z),
                low(0.5 * v.x - 0.41868759 * v.y - 0.08131241 * v.z)};
    }
};

struct YCrCb2Rgb {
    static Triple<int32_t> of(const Numbers& v)
    {
        return {cut(v.x + 1.4019999991573 * v.z), cut(v.x - 0.34413629776123 * v.y - 0.71413631643017 * v.z),
                cut(v.x + 1.7720000660742 * v.y)};
    }
};

}  // namespace

extern const OwnModels ownModels32S;
const OwnModels ownModels32S = {
    .rgb2hsv = rgbToHue<int32_t, false>,
    .hsv2rgb = hueToRgb<int32_t, false>,
    .rgb2hls = rgbToHue<int32_t, true>,
    .hls2rgb = hueToRgb<int32_t, true>,
    .rgb2xyz = stepThree<Truncated<Rgb2Xyz>>,
    .xyz2rgb = stepThree<Truncated<Xyz2Rgb>>,
    .rgb2yuv = stepThree<Truncated<Rgb2Yuv>>,
    .yuv2rgb = stepThree<Truncated<Yuv2Rgb>>,
    .rgb2ycrcb = stepThree<Truncated<Rgb2YCrCb>>,
    .ycrcb2rgb = stepThree<Truncated<YCrCb2Rgb>>,
};

}  // namespace OWN_ISA
