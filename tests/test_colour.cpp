// Conversions between colour models, against a second writing of their formulas that is plain and slow.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

constexpr uint32_t u8 = ORV_DEPTH_8U, u16 = ORV_DEPTH_16U, s32 = ORV_DEPTH_32S, f32 = ORV_DEPTH_32F;
constexpr int pixels = ORV_DATA_ORDER_PIXEL, planes = ORV_DATA_ORDER_PLANE;
constexpr double half = 2147483648.0;

// ---- The formulas -------------------------------------------------------------------------------------------------

// Three values, exact at integer depths; of a result the depth's low bits count.
using Pixel = std::array<double, 3>;

double top(uint32_t depth)
{
    return depth == u8 ? 255 : depth == u16 ? 65535 : 4294967295.0;
}

double clamp(uint32_t depth, double x)
{
    return depth == s32 ? std::clamp(x, -half, half - 1) : std::clamp(x, 0.0, top(depth));
}

// (a x + b y + c z + k) >> n in 32 bits.
double shifted(const Pixel& v, std::array<int64_t, 3> factors, int64_t k, int n)
{
    int64_t sum = k;
    for (size_t i = 0; i < 3; ++i)
        sum += factors[i] * int64_t(v[i]);
    return int32_t(uint64_t(sum)) >> n;
}

double sum(const Pixel& v, double a, double b, double c)
{
    return a * v[0] + b * v[1] + c * v[2];
}

// The same with constants of single precision.
double sumF(const Pixel& v, float a, float b, float c)
{
    return a * v[0] + b * v[1] + c * v[2];
}

double hueOf(double r, double g, double b, double mx, double d)
{
    if (d == 0)
        return 0;
    double h = 0;
    if (r != mx && g != mx)
        h = 60 * (r - g) / d + 240;
    else if (r != mx)
        h = 60 * (b - r) / d + 120;
    else
        h = 60 * (g - b) / d;
    return h < 0 ? h + 360 : h;
}

double offsetOf(uint32_t depth)
{
    return depth == s32 ? half : 0;
}

Pixel rgb2hsv(uint32_t depth, const Pixel& v)
{
    double z = offsetOf(depth), full = top(depth), r = v[0] + z, g = v[1] + z, b = v[2] + z;
    double mx = std::max({r, g, b}), d = mx - std::min({r, g, b});
    double s = mx == 0 ? 0 : d / mx, low = depth == s32 ? half + 0.5 : 0;
    return {trunc(hueOf(r, g, b, mx, d) * full / 360 - low), trunc(s * full - low), trunc(mx - low)};
}

Pixel hsv2rgb(uint32_t depth, const Pixel& hsv)
{
    double z = offsetOf(depth), full = top(depth), raw = hsv[2];
    double h = (hsv[0] + z) * 360 / full, s = (hsv[1] + z) / full, v = raw + z;
    if (s == 0)
        return {raw, raw, raw};
    if (h >= 360)
        h = 0;
    h = h / 60;
    int sector = int(h - 0.5);
    double f = h - sector;
    auto stored = [&](double x) { return trunc(depth == s32 ? x - half - 0.5 : x); };
    double p = stored(v * (1 - s)), q = stored(v * (1 - s * f)), t = stored(v * (1 - s * (1 - f)));
    switch (sector) {
    case 0: return {raw, t, p};
    case 1: return {q, raw, p};
    case 2: return {p, raw, t};
    case 3: return {p, q, raw};
    case 4: return {t, p, raw};
    default: return {raw, p, q};
    }
}

Pixel rgb2hls(uint32_t depth, const Pixel& v)
{
    double z = offsetOf(depth), full = top(depth), r = v[0] + z, g = v[1] + z, b = v[2] + z;
    double mx = std::max({r, g, b}), mn = std::min({r, g, b}), d = mx - mn, both = mx + mn, l = 0.5 * both;
    double s = d == 0 ? 0 : l <= full / 2 ? d / both : d / (2 * full - both);
    return {trunc(hueOf(r, g, b, mx, d) * full / 360 - z), trunc(l - z), trunc(s * full - z)};
}

Pixel hls2rgb(uint32_t depth, const Pixel& hls)
{
    double z = offsetOf(depth), full = top(depth);
    double h = (hls[0] + z) * 360 / full, l = (hls[1] + z) / full, s = (hls[2] + z) / full;
    if (s == 0)
        return {hls[1], hls[1], hls[1]};
    double m2 = l <= 0.5 ? (1 + s) * l : l + s - l * s, m1 = 2 * l - m2;
    auto channel = [&](double a) {
        double x = a < 60 ? m1 + (m2 - m1) * a / 60 : a < 180 ? m2 : a < 240 ? m1 + (m2 - m1) * (240 - a) / 60 : m1;
        return trunc(full * x - z);
    };
    return {channel(h + 120 > 360 ? h + 120 - 360 : h + 120), channel(h),
            channel(h - 120 < 0 ? h - 120 + 360 : h - 120)};
}

Pixel rgb2xyz(uint32_t depth, const Pixel& v)
{
    if (depth == f32)
        return {sumF(v, 0.412453f, 0.35758f, 0.180423f), sumF(v, 0.212671f, 0.71516f, 0.072169f),
                sumF(v, 0.019334f, 0.119193f, 0.950227f)};
    if (depth == s32)
        return {trunc(sum(v, 0.412453, 0.35758, 0.180423) - 106394929.85651207),
                trunc(sum(v, 0.212671, 0.71516, 0.072169) - 1028644.6673920155),
                trunc(clamp(s32, sum(v, 0.019334, 0.119193, 0.950227) + 190597763.694592))};
    return {shifted(v, {6758, 5859, 2956}, 8192, 14), shifted(v, {3484, 11717, 1182}, 8192, 14),
            std::min(top(depth), shifted(v, {317, 1953, 15569}, 8192, 14))};
}

Pixel xyz2rgb(uint32_t depth, Pixel v)
{
    if (depth == f32)
        return {sumF(v, 3.240479f, -1.53715f, -0.498535f), sumF(v, -0.969256f, 1.875992f, 0.041556f),
                sumF(v, 0.055648f, -0.204043f, 1.057311f)};
    auto [x, y, z] = v;
    if (depth == s32)
        return {
            trunc(clamp(s32, 3.2404813432005 * x + 439790694.0994415 - 1.5371515162713 * y - 0.49853632616889 * z)),
            trunc(clamp(s32, -0.96925494999657 * x - 111044279.08821273 + 1.8759900014899 * y + 0.041555926558293 * z)),
            trunc(clamp(s32, 0.055646639135177 * x - 195600605.13649487 - 0.20404133836651 * y + 1.0573110696453 * z))};
    int n = depth == u8 ? 14 : 6;
    for (double& value : v)
        value = depth == u8 ? value : floor(value / 256);
    return {clamp(depth, shifted(v, {53092, -25185, -8168}, 8192, n)),
            clamp(depth, shifted(v, {-15880, 30736, 681}, 8192, n)),
            clamp(depth, shifted(v, {912, -3343, 17323}, 8192, n))};
}

Pixel rgb2luv(uint32_t, const Pixel& v)
{
    auto [x, y, z] = rgb2xyz(f32, v);
    if (y <= 0.01f)
        return {0, 0, 0};
    double l = 116 * pow(y, 0.3333333432674408) - 16, r = 1 / (15 * y + x + 3 * z);
    return {l, 13 * l * (4 * x * r - 0.1978394091129303), 13 * l * (9 * y * r - 0.47076964378356934)};
}

Pixel luv2rgb(uint32_t, const Pixel& luv)
{
    double l = luv[0];
    if (!(l > 8.7f))
        return {0, 0, 0};
    double r = 1 / (13 * l), u = luv[1] * r + 0.19783940212891f, v = luv[2] * r + 0.46834220078579f;
    double y = pow((l + 16) * 0.008620689655172414f, 3), a = y / v, x = 2.25 * a * u;
    return xyz2rgb(f32, {x, y, 3 * a - 5 * y - x / 3});
}

Pixel rgb2yuv(uint32_t depth, const Pixel& v)
{
    if (depth == f32)
        return {sumF(v, 0.299f, 0.587f, 0.114f), sumF(v, -0.146f, -0.288f, 0.434f), sumF(v, 0.617f, -0.517f, -0.1f)};
    if (depth == s32)
        return {trunc(clamp(s32, sum(v, 0.299, 0.587, 0.114))), trunc(clamp(s32, sum(v, -0.146, -0.288, 0.434))),
                trunc(clamp(s32, sum(v, 0.617, -0.517, -0.1)))};
    double middle = depth == u8 ? 127 : 32767;
    return {shifted(v, {9798, 19235, 3736}, 0, 15), shifted(v, {-4784, -9437, 14221}, 0, 15) + middle,
            clamp(depth, shifted(v, {20218, -16941, -3277}, 0, 15) + middle)};
}

Pixel yuv2rgb(uint32_t depth, Pixel p)
{
    auto [y, u, v] = p;
    if (depth == f32)
        return {y + 1.135920183f * v, y - 0.3959190767f * u - 0.5782887929f * v, y + 2.041101518f * u};
    if (depth == s32)
        return {trunc(clamp(s32, y + 1.135920183 * v)), trunc(clamp(s32, y - 0.3959190767 * u - 0.5782887929 * v)),
                trunc(clamp(s32, y + 2.041101518 * u))};
    double middle = depth == u8 ? 127 : 32767;
    p = {0, u - middle, v - middle};
    return {clamp(depth, y + shifted(p, {0, -31, 37222}, 0, 15)),
            clamp(depth, y + shifted(p, {0, -12974, -18949}, 0, 15)),
            clamp(depth, y + shifted(p, {0, 66883, -53}, 0, 15))};
}

Pixel rgb2yuvPlanes(uint32_t, const Pixel& v)
{
    auto [r, g, b] = v;
    double t = 19595 * r + 38470 * g + 7471 * b;
    auto difference = [&](double c, double factor) {
        return floor(floor((65536 * c - t + 32767) / 65536) * factor / 65536) + 128;
    };
    return {floor(t / 65536), difference(b, 32244), clamp(u8, difference(r, 57475))};
}

Pixel yuvPlanes2rgb(uint32_t, const Pixel& p)
{
    double y = p[0] * 65536, u = p[1] - 128, v = p[2] - 128;
    auto stored = [](double x) { return clamp(u8, floor(x / 65536)); };
    return {stored(y + 74710 * v), stored(y - 25820 * u - 38075 * v), stored(y + 133168 * u)};
}

Pixel rgb2ycrcb(uint32_t depth, const Pixel& v)
{
    if (depth == f32)
        return {sumF(v, 0.299f, 0.587f, 0.114f), -0.1687359f * v[0] + 0.5 - 0.331264f * v[1] + 0.5 * v[2],
                0.5 * v[0] + 0.5 - 0.41868759f * v[1] - 0.08131241f * v[2]};
    if (depth == s32)
        return {trunc(sum(v, 0.299, 0.587, 0.114)), trunc(sum(v, -0.1687359, -0.331264, 0.5)),
                trunc(sum(v, 0.5, -0.41868759, -0.08131241))};
    if (depth == u16)
        return {shifted(v, {4899, 9617, 1868}, 8192, 14), shifted(v, {-2765, -5427, 8192}, 536870912, 14),
                shifted(v, {8192, -6860, -1332}, 536870912, 14)};
    double y = shifted(v, {4898, 9617, 1867}, 8192, 14);
    return {y, shifted({v[2] - y}, {9246}, 2097152, 14), shifted({v[0] - y}, {11686}, 2097152, 14)};
}

Pixel ycrcb2rgb(uint32_t depth, const Pixel& p)
{
    auto [y, cb, cr] = p;
    if (depth == f32)
        return {std::max(0.0, y - 0.7009999752044678 + 1.4019999504089355 * cr),
                std::max(0.0, y + 0.5291363000869751 - 0.3441362977027893 * cb - 0.7141363024711609 * cr),
                std::max(0.0, y - 0.8859999775886536 + 1.7719999551773071 * cb)};
    if (depth == s32)
        return {trunc(clamp(s32, y + 1.4019999991573 * cr)),
                trunc(clamp(s32, y - 0.34413629776123 * cb - 0.71413631643017 * cr)),
                trunc(clamp(s32, y + 1.7720000660742 * cb))};
    bool is8 = depth == u8;
    return {clamp(depth, y + shifted(p, {0, 0, 22970}, is8 ? -2928675 : -752669475, 14)),
            clamp(depth, y - shifted(p, {0, 5638, 11700}, is8 ? -2210595 : -568122915, 14)),
            clamp(depth, y + shifted(p, {0, 29032, 0}, is8 ? -3701580 : -951306060, 14))};
}

Pixel ycc2rgb(uint32_t, const Pixel& v)
{
    auto value = [](double index) {
        int i = index < 0 ? 0 : index > 361 ? 360 : int(index);
        return i == 361 ? 0 : std::min(255.0, floor(255 * i / 353.2 + 0.5));
    };
    return {value(shifted(v, {22256, 0, 29844}, -4088627, 14)), value(shifted(v, {22256, -7050, -15190}, 3180809, 14)),
            value(shifted(v, {22256, 36338, 0}, -5668739, 14))};
}

// ---- The conversions ----------------------------------------------------------------------------------------------

struct Conversion {
    const char* name;
    void(ORV_CALL* call)(OrvImage* src, OrvImage* dst);
    const char *from, *to;  // the models
    std::vector<uint32_t> depths;
    Pixel (*formula)(uint32_t depth, const Pixel& v);
    const char* refusal;
    int fromOrder = -1, toOrder = -1;  // -1 for any that both have

    bool fromRgb() const { return strcmp(from, "RGB") == 0; }
};

// By value, for formulas that change what they get.
template <Pixel (*formula)(uint32_t, Pixel)>
Pixel copied(uint32_t depth, const Pixel& v)
{
    return formula(depth, v);
}

const char* const anyDepth = "Error input depth. 32F, 32S ,16U,8U are valid now";
const char* const integers = "Error input depth. 32S,16U,8U are valid now";
const char* const floats = "Error input depth. 32F is valid now";

const Conversion conversions[] = {
    {"RGB2HSV", orvRGB2HSV, "RGB", "HSV", {u8, u16, s32}, rgb2hsv, integers},
    {"HSV2RGB", orvHSV2RGB, "HSV", "RGB", {u8, u16, s32}, hsv2rgb, integers},
    {"RGB2HLS", orvRGB2HLS, "RGB", "HLS", {u8, u16, s32}, rgb2hls, integers},
    {"HLS2RGB", orvHLS2RGB, "HLS", "RGB", {u8, u16, s32}, hls2rgb, integers},
    {"RGB2XYZ", orvRGB2XYZ, "RGB", "XYZ", {u8, u16, s32, f32}, rgb2xyz, anyDepth},
    {"XYZ2RGB", orvXYZ2RGB, "XYZ", "RGB", {u8, u16, s32, f32}, copied<xyz2rgb>, anyDepth},
    {"RGB2LUV", orvRGB2LUV, "RGB", "LUV", {f32}, rgb2luv, floats},
    {"LUV2RGB", orvLUV2RGB, "LUV", "RGB", {f32}, luv2rgb, floats},
    {"RGB2YUV", orvRGB2YUV, "RGB", "YUV", {u8, u16, s32, f32}, rgb2yuv, anyDepth},
    {"YUV2RGB", orvYUV2RGB, "YUV", "RGB", {u8, u16, s32, f32}, copied<yuv2rgb>, anyDepth},
    {"RGB2YCrCb", orvRGB2YCrCb, "RGB", "YCr", {u8, u16, s32, f32}, rgb2ycrcb, anyDepth},
    {"YCrCb2RGB", orvYCrCb2RGB, "YCr", "RGB", {u8, u16, s32, f32}, ycrcb2rgb, anyDepth},
    {"YCC2RGB", orvYCC2RGB, "YCC", "RGB", {u8}, ycc2rgb, "Error input depth. 8U is valid now"},
    {"RGB2YUV", orvRGB2YUV, "RGB", "YUV", {u8}, rgb2yuvPlanes, anyDepth, pixels, planes},
    {"YUV2RGB", orvYUV2RGB, "YUV", "RGB", {u8}, yuvPlanes2rgb, anyDepth, planes, pixels},
};

uint32_t resultBits(uint32_t depth, double x)
{
    return depth == f32 ? bitsOf(f32, x) : uint32_t(int64_t(x));
}

// Where a pixel's value stands among the channels of a picture that has this sequence.
int channelOf(const char* sequence, bool isRgb, int value)
{
    return isRgb && sequence[0] == 'B' ? 2 - value : value;
}

// Holds all pixels of a result against the formula; what the source does not reach stays as it was.
void expectConverted(const Picture& src, const Picture& before, const Picture& dst, const Conversion& conversion)
{
    uint32_t depth = src.layout().depth;
    const char *from = src.layout().channelSeq, *to = dst.layout().channelSeq;
    std::vector<uint32_t> expected = before.values(), got = dst.values();
    int width = std::min(src.layout().width, dst.layout().width),
        height = std::min(src.layout().height, dst.layout().height);
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Pixel v;
            for (int c = 0; c < 3; ++c)
                v[size_t(c)] = src.get(x, y, channelOf(from, conversion.fromRgb(), c));
            Pixel result = conversion.formula(depth, v);
            for (int c = 0; c < 3; ++c) {
                int channel = channelOf(to, !conversion.fromRgb(), c);
                uint32_t bits = resultBits(depth, result[size_t(c)]) & (depth == u8    ? 0xFF
                                                                        : depth == u16 ? 0xFFFF
                                                                                       : ~0u);
                expected[size_t((y * dst.layout().width + x) * dst.layout().channels + channel)] = bits;
            }
        }
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(sameValue(depth, got[i], expected[i]))
            << "value " << i << " is " << numberOf(depth, got[i]) << ", not " << numberOf(depth, expected[i]);
}

// Ranges in which floats mean something, now and then with what is none.
void fillReals(Picture& picture, Random& random, const char* model)
{
    double scale = strcmp(model, "LUV") == 0 ? 100 : 2;
    picture.fill([&](int, int, int c) {
        if (random.below(60) == 0)
            return random.below(2) ? INFINITY : NAN;
        double x = double(random.below(1 << 24)) / (1 << 24) * scale;
        return float(scale > 2 && c > 0 ? 2 * x - scale : x - scale / 16);
    });
}

}  // namespace

TEST(Colour, IsItsFormulaInEveryLayout)
{
    Random random(5);
    for (const Conversion& conversion : conversions)
        for (uint32_t depth : conversion.depths)
            for (int round = 0; round < 40 && !testing::Test::HasFailure(); ++round) {
                TileLog log;
                auto image = [&](const char* model, int order, int channels, const char* name) {
                    PictureSpec spec = {
                        .depth = depth, .channels = channels, .order = order, .align = 4 << random.below(4)};
                    spec.width = random.below(4) ? random.between(1, 90) : random.between(250, 600);
                    spec.height = random.between(1, 20);
                    if (random.below(3) == 0) {
                        spec.tileWidth = 8 * random.between(1, 5);
                        spec.tileHeight = 8 * random.between(1, 2);
                    }
                    spec.extraStep = random.below(2) ? random.below(9) : 0;
                    spec.offset = random.below(2) ? random.below(9) : 0;
                    spec.seed = random.bits();
                    spec.name = name;
                    spec.log = &log;
                    spec.colorModel = model;
                    spec.channelSeq = strcmp(model, "RGB") == 0 && random.below(2) ? "BGR" : model;
                    return spec;
                };
                int order = random.below(2);
                bool exact = conversion.fromOrder == pixels, more = conversion.toOrder == planes;
                PictureSpec from = image(conversion.from, conversion.fromOrder < 0 ? order : conversion.fromOrder,
                                         exact ? 3 : random.between(3, 5), "S");
                PictureSpec to = image(conversion.to, conversion.toOrder < 0 ? order : conversion.toOrder,
                                       more ? random.between(3, 4) : 3, "D");
                to.origin = from.origin = random.below(2);
                Picture src(from), dst(to), before(to);
                if (depth == f32)
                    fillReals(src, random, conversion.from);
                const Layout layout = {{{from, 0, {}, 0}, {to, 1, {}, 1}}};
                SCOPED_TRACE(conversion.name + (' ' + depthName(depth)) + ' ' + std::to_string(round) + layout.text());
                std::vector<uint8_t> source = src.bytes();
                EXPECT_EQ(reportsOf([&] { conversion.call(src, dst); }), "");
                expectConverted(src, before, dst, conversion);
                EXPECT_TRUE(src.bytes() == source);
                EXPECT_EQ(src.faults() + dst.faults(), "");
                EXPECT_EQ(src.openTiles() + dst.openTiles(), 0);
            }
}

// The planes of the result may be those of the source, also where some colours are computed once more.
TEST(Colour, OfPlanesInPlaceIsThatOfTwoImages)
{
    for (const Conversion& conversion : conversions)
        for (uint32_t depth : conversion.depths) {
            if (conversion.fromOrder == pixels || conversion.toOrder == pixels)
                continue;
            auto image = [=](const char* model) {
                return PictureSpec{.depth = depth,
                                   .channels = 3,
                                   .order = planes,
                                   .width = 1024,
                                   .height = 32,
                                   .colorModel = model,
                                   .channelSeq = model};
            };
            Picture src(image(conversion.from)), dst(image(conversion.to));
            conversion.call(src, dst);
            OrvImage result = *static_cast<OrvImage*>(dst);
            result.imageData = src->imageData;
            conversion.call(src, &result);
            EXPECT_EQ(memcmp(src->imageData, dst->imageData, size_t(dst->imageSize)), 0)
                << conversion.name << ' ' << depthName(depth);
        }
}

// Hues and the table of YCC at all colours, the others at a part of them.
TEST(Colour, IsItsFormulaAtEveryColour)
{
    for (const Conversion& conversion : conversions) {
        if (conversion.depths[0] != u8)
            continue;
        bool all = conversion.depths.size() == 3 || strcmp(conversion.from, "YCC") == 0;
#if defined(__SANITIZE_ADDRESS__)
        all = false;
#endif
        auto image = [](const char* model, int order) {
            return PictureSpec{.channels = 3,
                               .order = order < 0 ? pixels : order,
                               .width = 256,
                               .height = 256,
                               .colorModel = model,
                               .channelSeq = model};
        };
        Picture src(image(conversion.from, conversion.fromOrder)), dst(image(conversion.to, conversion.toOrder));
        auto valueAt = [](Picture& picture, int at, int c) -> uint8_t& {
            return picture->imageData[picture->dataOrder == planes ? c * 65536 + at : 3 * at + c];
        };
        for (int first = 0; first < 256; first += all ? 1 : 15) {
            for (int at = 0; at < 65536; ++at)
                for (int c = 0; c < 3; ++c)
                    valueAt(src, at, c) = uint8_t(c == 0 ? first : c == 1 ? at >> 8 : at);
            conversion.call(src, dst);
            for (int at = 0; at < 65536; ++at) {
                Pixel result = conversion.formula(u8, {double(first), double(at >> 8), double(at & 255)});
                for (int c = 0; c < 3; ++c)
                    if (valueAt(dst, at, c) != uint8_t(int(result[size_t(c)])))
                        FAIL() << conversion.name << ' ' << first << ' ' << (at >> 8) << ' ' << (at & 255) << ", value "
                               << c;
            }
        }
    }
}

// ---- Grey ---------------------------------------------------------------------------------------------------------

namespace {

double grayOf(uint32_t from, uint32_t to, const Pixel& v)
{
    auto high = [&](int lost) {
        return Pixel{floor(ldexp(v[0], -lost)), floor(ldexp(v[1], -lost)), floor(ldexp(v[2], -lost))};
    };
    if (from == s32)
        return to == ORV_DEPTH_1U ? sum(high(10), 109, 366, 37) >= 536870912
                                  : floor(ldexp(sum(high(11), 109, 366, 37), to == u16 ? -13 : -21));
    double w = sum(v, 54, 183, 18);
    if (to == ORV_DEPTH_1U)
        return floor(w / 256) > (from == u8 ? 127 : 32767);
    return from == to ? floor(w / 256) : to == u16 ? w : floor(w / 65536);
}

// The weighted value; bits are 0 or 1.
double weighted(uint32_t from, uint32_t to, double g, std::array<float, 3> weights, int colour)
{
    std::array<int64_t, 3> w;
    auto scaled = [&](double one) {
        for (size_t i = 0; i < 3; ++i)
            w[i] = int64_t(one * weights[i]);
        return ((w[0] | w[1] | w[2]) & 0xFFFF) != 0;
    };
    auto c = size_t(colour);
    if (to == s32) {
        if (!scaled(32768))
            w = {6968, 23434, 2364};
        int64_t h = int64_t(floor(g / 65536)), l = int64_t(g) & 0xFFFF;
        return double((int32_t(w[c] * l) >> 15) + 2 * w[c] * h);
    }
    if (to == u16)
        return scaled(32768) ? double(int64_t(g) * (w[c] & 0xFFFF) >> 15)
                             : double(int64_t(g) * std::array{109, 366, 37}[c] >> 9);
    if (!scaled(256))
        w = {54, 183, 18};
    return double((from == ORV_DEPTH_1U ? 255 * int64_t(g) : int64_t(g)) * (w[c] & 0xFFFF) >> 8);
}

// A gray image and a colour one of random layouts that go together. `toColour`: the gray one is the source.
struct GrayPair {
    PictureSpec gray, colour;

    GrayPair(Random& random, uint32_t grayDepth, uint32_t colourDepth, bool toColour)
    {
        int width = random.below(4) ? random.between(1, 90) : random.between(250, 600), height = random.between(1, 20);
        int origin = random.below(2);
        auto image = [&](uint32_t depth, int channels, const char* model, const char* sequence) {
            PictureSpec spec = {.depth = depth, .channels = channels, .order = random.below(2), .origin = origin};
            spec.width = width + random.below(9);
            spec.height = height + random.below(3);
            spec.roi = random.below(2) ? std::optional(OrvROI{channels, 3, 2, 5, 6}) : std::nullopt;
            spec.tileWidth = random.below(3) ? 0 : 8 * random.between(1, 5);
            spec.tileHeight = 8;
            spec.extraStep = random.below(9);
            spec.offset = random.below(9);
            spec.seed = random.bits();
            spec.colorModel = model;
            spec.channelSeq = sequence;
            return spec;
        };
        colour = image(colourDepth, random.between(3, 5), "RGB", random.below(2) ? "BGRA" : "RGBA");
        gray = image(grayDepth, 1, random.below(2) ? "Gray" : "GRAY",
                     "G\0\0");  // NOLINT(bugprone-string-literal-with-embedded-nul): four bytes
        if (toColour && colour.order == planes)
            gray.order = planes;
        if (gray.order == planes && grayDepth != ORV_DEPTH_1U)
            gray.channels = random.between(1, 3);
    }
};

}  // namespace

TEST(Colour, BecomesGrayInEveryLayout)
{
    Random random(6);
    for (uint32_t from : {u8, u16, s32})
        for (uint32_t to : {ORV_DEPTH_1U, u8, u16})
            for (int round = 0; round < 40 && !testing::Test::HasFailure(); ++round) {
                const GrayPair pair(random, to, from, false);
                Picture src(pair.colour), dst(pair.gray), before(pair.gray);
                if (round == 1)
                    src.fill([=](int, int, int) { return from == s32 ? half - 1 : top(from); });
                EXPECT_EQ(reportsOf([&] { orvColorToGray(src, dst); }), "");
                int width = std::min(src->width, dst->width), height = std::min(src->height, dst->height);
                for (int y = 0; y < height; ++y)
                    for (int x = 0; x < width; ++x) {
                        Pixel v;
                        for (int c = 0; c < 3; ++c)
                            v[size_t(c)] = src.get(x, y, channelOf(pair.colour.channelSeq, true, c));
                        before.setRaw(x, y, 0, uint32_t(int64_t(grayOf(from, to, v))));
                    }
                EXPECT_EQ(dst.values(), before.values());
                EXPECT_EQ(src.faults() + dst.faults(), "");
            }
}

TEST(Colour, ComesOfGrayInEveryLayout)
{
    Random random(7);
    const std::array<float, 3> weights[] = {{0, 0, 0}, {0.2f, 0.5f, 1},    {1, 1, 1},           {-0.5f, 1.75f, 3},
                                            {2, 4, 0}, {1e-6f, -1e-6f, 0}, {256, 65536, 1e20f}, {NAN, 0, INFINITY}};
    for (auto [from, to] : {std::pair(ORV_DEPTH_1U, u8), {u8, u8}, {u16, u16}, {s32, s32}})
        for (int round = 0; round < 80 && !testing::Test::HasFailure(); ++round) {
            std::array<float, 3> w = weights[round % 8];
            const GrayPair pair(random, from, to, true);
            Picture src(pair.gray), dst(pair.colour), before(pair.colour);
            EXPECT_EQ(reportsOf([&] { orvGrayToColor(src, dst, w[0], w[1], w[2]); }), "");
            for (float& weight : w)
                weight = fabsf(weight) < 1e18f ? weight : 0;  // has no low bits
            int width = std::min(src->width, dst->width), height = std::min(src->height, dst->height);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x)
                    for (int c = 0; c < 3; ++c)
                        before.setRaw(x, y, channelOf(pair.colour.channelSeq, true, c),
                                      uint32_t(int64_t(weighted(from, to, src.get(x, y), w, c))));
            EXPECT_EQ(dst.values(), before.values()) << depthName(from) << ' ' << round;
            EXPECT_EQ(src.faults() + dst.faults(), "");
        }
}

// ---- The frame ----------------------------------------------------------------------------------------------------

namespace {

const char* const pairMessage =
    "(src->nChannels < 3 ) || (dst->nChannels != 3 ) || (src->depth != dst->depth) || "
    "(src->dataOrder != dst->dataOrder) || (src->origin != dst->origin)";
const char* const noRegions = "src & dst roi must be NULL";

FaultMaker setText(int image, char (OrvImage::*field)[4], const char* text)
{
    return [=](OrvImage* const* images) { strncpy(images[image]->*field, text, 4); };
}

// A plane or pixel image of a model.
PictureSpec modelSpec(const char* model, uint32_t depth = u8, int channels = 3)
{
    return {.depth = depth, .channels = channels, .width = 8, .height = 8, .colorModel = model, .channelSeq = model};
}

}  // namespace

TEST(Colour, ChecksInOrder)
{
    OrvROI roi = {0, 0, 0, 8, 8};
    for (const Conversion& conversion : conversions) {
        if (conversion.fromOrder >= 0)
            continue;
        SCOPED_TRACE(conversion.name);
        const FaultOf fault{std::string("orv") + conversion.name};
        const std::string model = conversion.from;
        bool isYuv = strstr(conversion.name, "YUV") != nullptr;
        std::vector<Fault> faults = {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
            fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
        };
        int rgb = conversion.fromRgb() ? 0 : 1;
        if (rgb == 0 || !isYuv) {
            faults.push_back(
                fault(-5, "colorModel must be RGB instead of rgb ", setText(rgb, &OrvImage::colorModel, "rgb")));
            faults.push_back(fault(-5, "channelSeq must be RGB or BGR instead of GRBA ",
                                   setText(rgb, &OrvImage::channelSeq, "GRBA")));
        }
        if (rgb == 1) {
            faults.push_back(fault(-5, "src-> colorModel must be " + model + " instead of XYYZ",
                                   setText(0, &OrvImage::colorModel, "XYYZ")));
            faults.push_back(
                fault(-5, "src-> channelSeq must be " + model + " instead of ", setText(0, &OrvImage::channelSeq, "")));
        }
        faults.push_back(fault(-5, noRegions, setField(0, &OrvImage::roi, &roi)));
        faults.push_back(fault(-5, noRegions, setField(1, &OrvImage::roi, &roi)));
        faults.push_back(
            fault(-5, isYuv ? "src1->depth != src2->depth" : pairMessage, setField(1, &OrvImage::depth, ORV_DEPTH_8S)));
        faults.push_back(fault(-5, pairMessage, setField(0, &OrvImage::nChannels, 2)));
        faults.push_back(fault(-5, pairMessage, setField(1, &OrvImage::nChannels, 4)));
        faults.push_back(fault(-5, pairMessage, setField(1, &OrvImage::origin, 1)));
        faults.push_back(fault(-5, pairMessage, setField(rgb, &OrvImage::dataOrder, 1)));
        uint32_t depth = conversion.depths[0];
        expectFaultsInOrder(
            {modelSpec(conversion.from, depth), modelSpec(conversion.to, depth)},
            [&](OrvImage* const* images) { conversion.call(images[0], images[1]); }, faults);
        if (isYuv) {  // planes that pixels go to, or come of, are three too
            PictureSpec pixelSpec = modelSpec("RGB"), planeSpec = modelSpec("YUV", u8, 2);
            planeSpec.order = planes;
            Picture inPixels(pixelSpec), inPlanes(planeSpec);
            Picture &src = rgb == 0 ? inPixels : inPlanes, &dst = rgb == 0 ? inPlanes : inPixels;
            EXPECT_EQ(reportsOf([&] { conversion.call(src, dst); }), fault(-5, pairMessage, {}).report);
        }
        // A depth that there is nothing for is told when the model has been written, once and before any tile.
        PictureSpec wrong = modelSpec(conversion.from, ORV_DEPTH_16S), result = modelSpec(conversion.to, ORV_DEPTH_16S);
        result.colorModel = conversion.fromRgb() ? "XXX" : "RGB";
        result.tileWidth = result.tileHeight = 8;
        Picture src(wrong), dst(result);
        EXPECT_EQ(reportsOf([&] { conversion.call(src, dst); }),
                  "-5 own" + std::string(conversion.name) + ' ' + conversion.refusal + '\n');
        EXPECT_EQ(std::string(dst->colorModel, 4), conversion.to + std::string(1, '\0'));
        EXPECT_EQ(std::string(dst->channelSeq, 4), conversion.to + std::string(1, '\0'));
        EXPECT_EQ(dst.log().text(), "");
        EXPECT_EQ(dst.values(), Picture(result).values());
    }
}

TEST(Colour, ChecksGrayInOrder)
{
    const FaultOf toGray{"orvColorToGray"}, toColour{"orvGrayToColor"}, ownToGray{"ownColorToGray"},
        ownToColour{"ownGrayToColor"};
    const PictureSpec colour = {.channels = 3, .width = 8, .height = 8}, gray = {.width = 8, .height = 8};
    expectFaultsInOrder(
        {colour, gray}, [](OrvImage* const* images) { orvColorToGray(images[0], images[1]); },
        {
            toGray(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
            toGray(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
            toGray(-5, "colorModel must be RGB instead of GRAY ", setText(0, &OrvImage::colorModel, "GRAY")),
            toGray(-5, "channelSeq must be RGB or BGR instead of RGC ", setText(0, &OrvImage::channelSeq, "RGC")),
            toGray(-5, "colorModel must be GRAY instead of gray ", setText(1, &OrvImage::colorModel, "gray")),
            toGray(-5, "channelSeq must be G instead of gG ", setText(1, &OrvImage::channelSeq, "gG")),
            toGray(-5, "(dst-> dataOrder == ORV_DATA_ORDER_PIXEL) && (dst-> nChannels != 1)",
                   setField(1, &OrvImage::nChannels, 2)),
            toGray(-5, "src->origin != dst->origin", setField(0, &OrvImage::origin, 1)),
            ownToGray(-5, "Error in-out depth. 32S,16U,8U=> 16U,8U,1U are valid now",
                      setField(1, &OrvImage::depth, s32)),
            toGray(-5, pairMessage, setField(0, &OrvImage::nChannels, 2)),
        });
    auto call = [](OrvImage* const* images) { orvGrayToColor(images[0], images[1], 1, 1, 1); };
    const Fault faults[] = {
        toColour(-5,
                 "(src->dataOrder==ORV_DATA_ORDER_PIXEL) && (dst->dataOrder == ORV_DATA_ORDER_PLANE) is not supported",
                 setField(1, &OrvImage::dataOrder, 1)),
        toColour(-5, "(src-> dataOrder == ORV_DATA_ORDER_PIXEL) && (src-> nChannels != 1)",
                 setField(0, &OrvImage::nChannels, 2)),
        toColour(-5, "(src->origin != dst->origin)", setField(0, &OrvImage::origin, 1)),
        toColour(-5, pairMessage, setField(1, &OrvImage::nChannels, 2)),
    };
    expectFaultsInOrder(
        {gray, colour}, call,
        {
            toColour(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
            toColour(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
            toColour(-5, "colorModel must be RGB instead of GRAY ", setText(1, &OrvImage::colorModel, "GRAY")),
            toColour(-5, "colorModel must be GRAY instead of gray ", setText(0, &OrvImage::colorModel, "gray")),
            toColour(-5, "src-> depth != dst-> depth && src-> depth != 1U", setField(0, &OrvImage::depth, u16)),
            faults[0],
            faults[1],
            faults[2],
            faults[3],
        });
    PictureSpec bits = gray, words = colour;
    bits.depth = ORV_DEPTH_1U;
    words.depth = u16;
    expectFaultsInOrder({bits, words}, call,
                        {toColour(-5, "src-> depth == dst-> depth && dst-> depth != 8U", [](OrvImage* const*) {})});
    PictureSpec bitColour = bits;
    bitColour.colorModel = bitColour.channelSeq = "RGB";
    expectFaultsInOrder({bits, bitColour}, call, {ownToColour(-5, integers, [](OrvImage* const*) {})});
}

TEST(Colour, LosesNothingWhereMemoryOrATileIsRefused)
{
    PictureSpec src = modelSpec("RGB"), dst = modelSpec("HSV");
    src.width = dst.width = 30;
    src.height = 20;
    src.tileWidth = src.tileHeight = 8;
    const Operation operation = {.name = "orvRGB2HSV",
                                 .call = [](OrvImage* const* images) { orvRGB2HSV(images[0], images[1]); }};
    for (int tileWidth : {0, 16}) {
        dst.tileWidth = tileWidth;
        dst.tileHeight = 8;
        const Layout layout = {{{src, 0, {}, 0}, {dst, 1, {}, 1}}};
        EXPECT_TRUE(expectNothingLost(operation, layout));
    }
    TileLog log;
    src.log = dst.log = &log;
    src.name = "S";
    dst.name = "D";
    dst.height = 3;
    Picture from(src), to(dst);
    auto call = [&] { orvRGB2HSV(from, to); };
    EXPECT_EQ(reportsOf(call), "");
    EXPECT_EQ(log.text(),
              "D write 0 0\nS read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\nD release 0 0\n"
              "D write 1 0\nS read 2 0\nS read 3 0\nS release 3 0\nS release 2 0\nD release 1 0\n");
    log.refuse = 1;
    EXPECT_EQ(reportsOf(call), "-2 orvRGB2HSV Error get tile to write\n");
    log.refuse = 2;
    EXPECT_EQ(reportsOf(call), "-2 orvRGB2HSV Error get tile to read\n");
}
