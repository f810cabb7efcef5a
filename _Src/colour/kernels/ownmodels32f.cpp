// Conversions between colour models, 32F: constants of single precision, sums in double precision, rounded once.
#include "ownmodels.h"

// Products of two values of single precision are exact in double precision, so that a fused step gives the same bits as
// two.
#if defined(__AVX2__)
#pragma GCC target("fma")
#define OWN_FUSES
#endif

#include "ownsteps.h"

namespace OWN_ISA {
namespace {

using Numbers = Triple<double>;

template <class C>
struct Real {
    using Source = float;
    using Result = float;
    explicit Real(const void*) {}
    Triple<float> operator()(const Triple<float>& v) const
    {
        const Numbers result = C::of(Numbers{v.x, v.y, v.z});
        return {float(result.x), float(result.y), float(result.z)};
    }
};

// A factor times a value, and that added to a sum.
OWN_INLINE double times(float factor, double value)
{
    return double(factor) * value;
}
OWN_INLINE double plus(double sum, float factor, double value)
{
#if defined(OWN_FUSES)
    return __builtin_fma(double(factor), value, sum);
#else
    return sum + double(factor) * value;
#endif
}
// Factors times all three values, added from left to right.
OWN_INLINE double sumOf(float a, float b, float c, const Numbers& v)
{
    return plus(plus(times(a, v.x), b, v.y), c, v.z);
}

struct Rgb2Xyz {
    static Numbers of(const Numbers& v)
    {
        return {sumOf(0.412453f, 0.35758f, 0.180423f, v), sumOf(0.212671f, 0.71516f, 0.072169f, v),
                sumOf(0.019334f, 0.119193f, 0.950227f, v)};
    }
};

struct Xyz2Rgb {
    static Numbers of(const Numbers& v)
    {
        return {sumOf(3.240479f, -1.53715f, -0.498535f, v), sumOf(-0.969256f, 1.875992f, 0.041556f, v),
                sumOf(0.055648f, -0.204043f, 1.057311f, v)};
    }
};

struct Rgb2Yuv {
    static Numbers of(const Numbers& v)
    {
        return {sumOf(0.299f, 0.587f, 0.114f, v), sumOf(-0.146f, -0.288f, 0.434f, v), sumOf(0.617f, -0.517f, -0.1f, v)};
    }
};

struct Yuv2Rgb {
    static Numbers of(const Numbers& v)
    {
        return {plus(v.x, 1.135920183f, v.z), plus(plus(v.x, -0.3959190767f, v.y), -0.5782887929f, v.z),
                plus(v.x, 2.041101518f, v.y)};
    }
};

struct Rgb2YCrCb {
    static Numbers of(const Numbers& v)
    {
        return {sumOf(0.299f, 0.587f, 0.114f, v), plus(plus(times(-0.1687359f, v.x) + 0.5, -0.331264f, v.y), 0.5f, v.z),
                plus(plus(times(0.5f, v.x) + 0.5, -0.41868759f, v.y), -0.08131241f, v.z)};
    }
};

struct YCrCb2Rgb {
    // What is not a number is 0 too.
    static double above0(double x) { return x > 0 ? x : 0; }
    static Numbers of(const Numbers& v)
    {
        return {above0(plus(v.x - 0.7009999752044678f, 1.4019999504089355f, v.z)),
                above0(plus(plus(v.x + 0.5291363000869751f, -0.3441362977027893f, v.y), -0.7141363024711609f, v.z)),
                above0(plus(v.x - 0.8859999775886536f, 1.7719999551773071f, v.y))};
    }
};

// y to the power of 0.3333333432674408, the float that is nearest to a third, for y above 0.01. Nothing but the four
// operations is in it, so that its bits are the same everywhere, which those of a C library's pow are not.
double cubeRoot(double y)
{
    if (!(y < __builtin_inf()))
        return y;
    int64_t bits;
    __builtin_memcpy(&bits, &y, sizeof bits);
    // A third of the exponent gives a few bits, and each of Halley's steps three times as many.
    int64_t rough = bits / 3 + 0x2A9F789300000000;
    double root;
    __builtin_memcpy(&root, &rough, sizeof root);
    for (int step = 0; step < 3; ++step) {
        const double cube = root * root * root;
        root -= root * ((cube - y) / (2 * cube + y));
    }
    // What the exponent is above a third: y to that power is 1 and a little, for which a rough logarithm will do.
    constexpr double excess = double(0.3333333432674408f) - 1.0 / 3 - 0x1p-54 / 3;  // 1.0 / 3 is below a third
    constexpr int64_t mantissa = (int64_t{1} << 52) - 1;
    const int64_t one = 0x3FF0000000000000, exponent = (bits >> 52) - 1023;
    const int64_t fractionBits = (bits & mantissa) | one;
    double fraction;
    __builtin_memcpy(&fraction, &fractionBits, sizeof fraction);
    const double t = (fraction - 1.5) / (fraction + 1.5), t2 = t * t;
    const double logarithm = 0.6931471805599453 * double(exponent) + 0.4054651081081644 +
                             2 * t * (1 + t2 * (1.0 / 3 + t2 * (1.0 / 5 + t2 * (1.0 / 7 + t2 * (1.0 / 9)))));
    const double little = excess * logarithm;
    return root + root * (little + little * little / 2);
}

// The white point of the way back differs from this one in v.
struct Rgb2Luv {
    static Numbers of(const Numbers& v)
    {
        const Numbers xyz = Rgb2Xyz::of(v);
        if (xyz.y <= 0.01f)
            return {0, 0, 0};
        const double lightness = 116 * cubeRoot(xyz.y) - 16;
        const double r = 1 / (15 * xyz.y + xyz.x + 3 * xyz.z);
        return {lightness, 13 * lightness * (4 * xyz.x * r - 0.1978394091129303f),
                13 * lightness * (9 * xyz.y * r - 0.47076964378356934f)};
    }
};

struct Luv2Rgb {
    static Numbers of(const Numbers& luv)
    {
        if (!(luv.x > 8.7f))
            return {0, 0, 0};
        const double r = 1 / (13 * luv.x);
        const double u = luv.y * r + 0.19783940212891f, v = luv.z * r + 0.46834220078579f;
        const double root = (luv.x + 16) * 0.008620689655172414f, y = root * root * root;
        const double a = y / v, x = 2.25f * a * u, z = 3 * a - 5 * y - x / 3;
        const auto sum = [=](float p, float q, float s) { return p * x + q * y + s * z; };
        return {sum(3.240479f, -1.53715f, -0.498535f), sum(-0.969256f, 1.875992f, 0.041556f),
                sum(0.055648f, -0.204043f, 1.057311f)};
    }
};

}  // namespace

extern const OwnModels ownModels32F;
const OwnModels ownModels32F = {
    .rgb2xyz = stepThree<Real<Rgb2Xyz>>,
    .xyz2rgb = stepThree<Real<Xyz2Rgb>>,
    .rgb2luv = stepThree<Real<Rgb2Luv>>,
    .luv2rgb = stepThree<Real<Luv2Rgb>>,
    .rgb2yuv = stepThree<Real<Rgb2Yuv>>,
    .yuv2rgb = stepThree<Real<Yuv2Rgb>>,
    .rgb2ycrcb = stepThree<Real<Rgb2YCrCb>>,
    .ycrcb2rgb = stepThree<Real<YCrCb2Rgb>>,
};

}  // namespace OWN_ISA
