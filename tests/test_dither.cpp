// Dithering against a serial one that does a pixel at a time.
#include <gtest/gtest.h>

#include <cmath>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

// The arguments of a call.
struct Call {
    int noise, kind, levels;
};

double fullOf(uint32_t depth)
{
    return depth == ORV_DEPTH_8U ? 255 : depth == ORV_DEPTH_16U ? 65535 : 4294967295.0;
}

// Brightnesses count from 0, whatever the depth.
double brightness(uint32_t depth, uint32_t raw)
{
    return depth == ORV_DEPTH_32S ? double(raw ^ 0x80000000u) : double(raw);
}

// The high bits of a brightness.
uint32_t narrowed(uint32_t from, uint32_t to, uint32_t raw)
{
    auto bright = uint32_t(brightness(from, raw));
    uint32_t high = bright >> ((from & ORV_DEPTH_MASK) - (to & ORV_DEPTH_MASK));
    return to == ORV_DEPTH_32S ? high ^ 0x80000000u : high;
}

struct Noise {
    float values[1024] = {};
    int places[1024] = {};

    Noise(double n, bool ordered, double step)
    {
        uint32_t state = 1999;
        auto next = [&] { return int((state = state * 214013 + 2531011) >> 16 & 1023); };
        for (float& value : values)
            value = float(ordered ? next() / 1024.0 * 2 * n : (0.5 - n + next() / 1024.0 * 2 * n) * step);
        for (int& place : places)
            place = next() / 2 * 2;
    }
    double at(int along, int down) const { return double(values[(down + places[along & 1023]) & 1023]); }
};

// The code of level k, which is the k-th step or very nearly so.
uint32_t levelCode(uint32_t from, uint32_t to, int steps, int64_t k, double level)
{
    if (to == ORV_DEPTH_1U)
        return k > 0;
    if (to == ORV_DEPTH_32S)
        return uint32_t(int32_t(std::nearbyint(std::min(level - 2147483648.0, 2147483647.0))));
    if (from == ORV_DEPTH_32S)
        return uint32_t(std::nearbyint(level * (to == ORV_DEPTH_16U ? 1 / 65536.0 : 1 / 16777216.0) - 0.5));
    double whole = from == ORV_DEPTH_8U ? 65280 : 16776960;
    auto a = int64_t(std::nearbyint(whole / steps - 0.5));
    auto code = k * a >> (from == ORV_DEPTH_16U && to == ORV_DEPTH_8U ? 16 : 8);
    return uint32_t(std::min(code, int64_t(fullOf(to))));
}

struct Chosen {
    uint32_t code;
    double error;
};

Chosen choose(uint32_t from, uint32_t to, int steps, double v, double threshold, double least)
{
    double full = fullOf(from), step = full / steps;
    uint32_t darkest = to == ORV_DEPTH_32S ? 0x80000000u : 0;
    if (v >= full)
        return {to == ORV_DEPTH_1U ? 1u : to == ORV_DEPTH_32S ? 0x7FFFFFFFu : uint32_t(fullOf(to)), 0};
    if (v < least)
        return {darkest, 0};
    if (to == ORV_DEPTH_1U)
        return v > threshold ? Chosen{1, v - full} : Chosen{0, v};
    double q = std::nearbyint(steps * v * (1 / full) - 0.5), low = q * step;
    bool higher = v - low > threshold;
    double level = higher ? low + step : low;
    return {levelCode(from, to, steps, int64_t(q) + higher, level), v - level};
}

// The result of a call, value by value, in `values` of the destination.
class Naive {
public:
    Naive(Picture& src, Picture& dst, const Call& call)
        : src(src),
          dst(dst),
          call(call),
          from(src->depth),
          to(dst->depth),
          width(std::min(src->width, dst->width)),
          height(std::min(src->height, dst->height)),
          channels(std::min(src->nChannels, dst->nChannels) - (src->alphaChannel != 0)),
          steps(call.levels - 1),
          values(dst.values())
    {
        for (int c = 0; c < channels; ++c)
            call.kind == ORV_DITHER_NONE ? narrowAll(c) : call.kind == ORV_DITHER_BAYER ? order(c) : diffuse(c);
        if (to == ORV_DEPTH_1U && channels)  // whole bytes are written
            for (int y = 0; y < height; ++y)
                for (int x = width; x % 8 && x < dst->width; ++x)
                    put(x, y, 0, 0);
    }

private:
    Picture &src, &dst;
    const Call call;
    const uint32_t from, to;
    const int width, height, channels, steps;
    std::vector<std::vector<float>> errors;  // of all rows, one channel after the other

public:
    std::vector<uint32_t> values;

private:
    void put(int x, int y, int c, uint32_t raw) { values[size_t((y * dst->width + x) * dst->nChannels + c)] = raw; }

    void narrowAll(int c)
    {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                put(x, y, c, narrowed(from, to, src.raw(x, y, c)));
    }

    void order(int c)
    {
        static const int matrix[] = {0, 8, 2, 10, 12, 4, 14, 6, 3, 11, 1, 9, 15, 7, 13, 5};
        const OrvTileInfo* tiles = dst->tileInfo ? dst->tileInfo : src->tileInfo;
        double n = call.noise * 0.01, span = to == ORV_DEPTH_1U ? fullOf(from) : fullOf(from) / steps;
        Noise noise(n, true, 0);
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x) {
                int column = tiles ? x % tiles->width : x, row = tiles ? y % tiles->height : y;
                double threshold = matrix[(row & 3) * 4 + (column & 3)] / 15.0;
                if (call.noise)
                    threshold = threshold - n + noise.at(c + x, c + 2 * y + x);
                double v = brightness(from, src.raw(x, y, c));
                put(x, y, c, choose(from, to, steps, v, threshold * span, 0).code);
            }
    }

    double carried(size_t row, int x) const
    {
        auto e = [&](size_t up, int at) {
            bool exists = up <= row && at >= 0 && at < width;
            return exists ? double(errors[row - up][size_t(at)]) : 0;
        };
        if (call.kind == ORV_DITHER_FS)
            return (e(1, x + 1) * 3 + e(1, x) * 5 + e(1, x - 1) + e(0, x - 1) * 7) * 0.0625;
        bool stucki = call.kind == ORV_DITHER_STUCKEY;
        double a = stucki ? 2 : 3, b = stucki ? 4 : 5, c = stucki ? 8 : 7;
        return (e(2, x - 2) + a * e(2, x - 1) + b * e(2, x) + a * e(2, x + 1) + e(2, x + 2) + a * e(1, x - 2) +
                b * e(1, x - 1) + c * e(1, x) + b * e(1, x + 1) + a * e(1, x + 2) + b * e(0, x - 2) + c * e(0, x - 1)) *
               (stucki ? 0.02380952425301075 : 0.02083333395421505);
    }

    void diffuse(int c)
    {
        bool tiled = dst->tileInfo || src->tileInfo;
        uint32_t made = dst->tileInfo ? from : to;
        double step = fullOf(from) / steps;
        Noise noise(call.noise * 0.01, false, step);
        for (int y = 0; y < height; ++y) {
            errors.emplace_back(size_t(width));
            for (int x = 0; x < width; ++x) {
                double threshold = (made == ORV_DEPTH_1U ? fullOf(from) : step) / 2;
                if (call.noise)
                    threshold = noise.at((tiled ? 0 : c) + x, 2 * y + x);
                double v = brightness(from, src.raw(x, y, c)) + carried(errors.size() - 1, x);
                Chosen chosen = choose(from, made, steps, v, threshold, 1e-07);
                errors.back()[size_t(x)] = float(chosen.error);
                put(x, y, c, made == to ? chosen.code : narrowed(from, to, chosen.code));
            }
        }
    }
};

void expectReduced(Picture& src, Picture& dst, const Call& call)
{
    std::vector<uint32_t> before = src.values(), expected = Naive(src, dst, call).values;
    EXPECT_EQ(reportsOf([&] { orvReduceBits(src, dst, call.noise, call.kind, call.levels); }), "");
    std::vector<uint32_t> got = dst.values();
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_EQ(got[i], expected[i]) << "value " << i;
    EXPECT_TRUE(src.values() == before);
    EXPECT_EQ(src.faults() + dst.faults(), "");
    EXPECT_EQ(src.openTiles() + dst.openTiles(), 0);
}

const std::pair<uint32_t, uint32_t> pairs[] = {
    {ORV_DEPTH_8U, ORV_DEPTH_8U},   {ORV_DEPTH_8U, ORV_DEPTH_1U},  {ORV_DEPTH_16U, ORV_DEPTH_16U},
    {ORV_DEPTH_16U, ORV_DEPTH_8U},  {ORV_DEPTH_16U, ORV_DEPTH_1U}, {ORV_DEPTH_32S, ORV_DEPTH_32S},
    {ORV_DEPTH_32S, ORV_DEPTH_16U}, {ORV_DEPTH_32S, ORV_DEPTH_8U}, {ORV_DEPTH_32S, ORV_DEPTH_1U},
};
const int kinds[] = {ORV_DITHER_NONE, ORV_DITHER_FS, ORV_DITHER_JJH, ORV_DITHER_STUCKEY, ORV_DITHER_BAYER};

int randomLevels(Random& random, uint32_t depth)
{
    int64_t most = depth == ORV_DEPTH_32S ? INT32_MAX : (int64_t{1} << (depth & ORV_DEPTH_MASK)) + 1;
    int64_t few = random.below(2) ? random.between(2, 17) : 2 + int64_t(random.bits() % uint64_t(most - 1));
    return int(random.below(12) ? std::min(few, most) : most);
}

// Shades, in which errors gather as they do in photographs, or noise with the brightest and darkest values.
void fillShades(Picture& picture, Random& random)
{
    double full = fullOf(picture->depth), low = picture->depth == ORV_DEPTH_32S ? -2147483648.0 : 0;
    int length = random.between(20, 300), tilt = random.below(9);
    if (random.below(3))
        picture.fill([&](int x, int y, int c) {
            return low + std::floor(full * ((x + y * tilt + c * 40) % length) / (length - 1));
        });
    for (int i = random.below(200); i > 0; --i)
        picture.set(random.below(picture->width), random.below(picture->height), random.below(picture->nChannels),
                    random.below(2) ? low : low + full);
}

}  // namespace

TEST(Dither, IsAsTheSerialOneInEveryLayout)
{
    Random random(5);
    Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9});
    for (int round = 0; round < 2700 && !testing::Test::HasFailure(); ++round) {
        auto [from, to] = pairs[round % std::size(pairs)];
        Call call = {random.below(2) ? random.between(1, 100) : 0, kinds[random.below(5)], 0};
        call.levels = call.kind == ORV_DITHER_NONE ? random.between(-3, 3) : randomLevels(random, to);
        PictureSpec src = {.depth = from, .width = random.between(1, 70), .height = random.between(1, 40)};
        if (random.below(8) == 0)
            src.width += random.between(200, 700);
        src.channels = to == ORV_DEPTH_1U ? 1 : random.between(1, 4);
        src.alpha = random.below(4) == 0 ? src.channels : 0;
        src.order = random.below(2);
        PictureSpec dst = src;
        dst.depth = to;
        if (!src.alpha && random.below(5) == 0)
            dst.channels = random.between(std::min(2, src.channels), src.channels);
        for (PictureSpec* spec : {&src, &dst}) {
            spec->origin = random.below(2);
            spec->align = 4 << random.below(4);
            spec->extraStep = random.below(3);
            spec->offset = random.below(4);
            spec->wholeBytes = true;
            if (random.below(3) == 0)
                spec->width += random.below(10), spec->height += random.below(10);
            if (random.below(3) == 0) {
                spec->tileWidth = 8 * random.between(1, 4);
                spec->tileHeight = 8 * random.between(1, 2);
            }
            if (random.below(5) == 0)  // has no effect
                spec->roi = OrvROI{random.between(0, spec->channels), 1, 2, 3, 4}, spec->mask = mask;
            spec->seed = random.bits();
        }
        Picture a(src), b(dst);
        fillShades(a, random);
        SCOPED_TRACE(testing::Message() << round << ": " << depthName(from) << " to " << depthName(to) << ", kind "
                                        << call.kind << ", levels " << call.levels << ", noise " << call.noise << ", "
                                        << src.width << " x " << src.height << " x " << src.channels << ", tiles "
                                        << src.tileWidth << ' ' << dst.tileWidth);
        expectReduced(a, b, call);
    }
}

// Constants, on which a fault in the order of the sums would show as another pattern.
TEST(Dither, OfConstantsInEveryPairAndKind)
{
    for (auto [from, to] : pairs)
        for (int kind : kinds)
            for (double share : {0.0, 0.001, 0.2, 0.5, 2 / 3.0, 0.999, 1.0})
                for (int levels : {2, 3, 8}) {
                    if (to == ORV_DEPTH_1U && levels > 3)
                        continue;
                    SCOPED_TRACE(testing::Message() << depthName(from) << " to " << depthName(to) << ", kind " << kind
                                                    << ", " << share << " in " << levels);
                    Picture src({.depth = from, .width = 75, .height = 33}),
                        dst({.depth = to, .width = 75, .height = 33});
                    double low = from == ORV_DEPTH_32S ? -2147483648.0 : 0;
                    src.fill([&, from = from](int, int, int) { return low + std::floor(share * fullOf(from)); });
                    expectReduced(src, dst, {0, kind, levels});
                }
}

TEST(Dither, ChecksInItsOrder)
{
    const Call good = {0, ORV_DITHER_FS, 2};
    Call call = good;
    auto set = [&](int Call::*field, int value) { return [&call, field, value](auto) { call.*field = value; }; };
    auto reduce = [&](OrvImage* const* images) {
        Call now = std::exchange(call, good);
        orvReduceBits(images[0], images[1], now.noise, now.kind, now.levels);
    };
    const FaultOf fault{"orvReduceBits"};
    const Fault levels = fault(-5, "You incorrectly have set an amount of levels", set(&Call::levels, 258));
    PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    expectFaultsInOrder(
        {spec, spec}, reduce,
        {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            fault(-5, "((srcImage->depth& ORV_DEPTH_MASK) < (dstImage->depth& ORV_DEPTH_MASK))",
                  setField(1, &OrvImage::depth, ORV_DEPTH_16S)),
            fault(-5, "(srcImage->dataOrder!=dstImage->dataOrder)", setField(1, &OrvImage::dataOrder, 1)),
            fault(-5, "(( noise < 0 ) || ( noise > 100 ))", set(&Call::noise, -1)),
            fault(-5, "(( noise < 0 ) || ( noise > 100 ))", set(&Call::noise, 101)),
            fault(-5, "(srcImage->alphaChannel!=dstImage->alphaChannel)", setChannels(1, 2, 2)),
            fault(-5, "(srcImage->nChannels < dstImage->nChannels)",
                  [](auto images) { images[0]->nChannels = 2, images[1]->nChannels = 3; }),
            fault(-5,
                  "ditherType != ORV_DITHER_NONE && ditherType != ORV_DITHER_FS && ditherType != ORV_DITHER_JJH && "
                  "ditherType != ORV_DITHER_STUCKEY && ditherType != ORV_DITHER_BAYER",
                  set(&Call::kind, 3)),
            fault(-5, "!( ( srcImage->depth == ORV_DEPTH_32S ) || ((srcImage->depth & ORV_DEPTH_SIGN)==0))",
                  setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
            fault(-5, "!( ( dstImage->depth == ORV_DEPTH_32S ) || ((dstImage->depth & ORV_DEPTH_SIGN)==0))",
                  setField(1, &OrvImage::depth, ORV_DEPTH_8S)),
            levels,
            fault(-5, " Depth 1u is for Gray, only", setField(1, &OrvImage::nChannels, 1)),
            fault(-4, "Out of memory", refuseMemory()),
        });
    for (int few : {1, 0, INT32_MIN})
        expectFaultsInOrder({spec, spec}, reduce, {{levels.report, set(&Call::levels, few)}});
    spec.channels = 1;
    expectFaultsInOrder(
        {spec, spec}, reduce,
        {fault(-5, "( (srcImage->depth == ORV_DEPTH_1U ))", setField(0, &OrvImage::depth, ORV_DEPTH_1U)),
         fault(-5, "(( noise < 0 ) || ( noise > 100 ))", set(&Call::noise, -1))});
    expectFaultsInOrder({spec, {.depth = ORV_DEPTH_1U, .width = 9, .height = 9}}, reduce,
                        {{levels.report, set(&Call::levels, 4)}});
    Picture picture(spec);
    EXPECT_EQ(reportsOf([&] { orvReduceBits(picture, picture, 0, ORV_DITHER_FS, 0); }),
              "-5 orvReduceBits This function isn`t in-plase function\n");
    EXPECT_EQ(reportsOf([&] { orvReduceBits(picture, nullptr, 0, ORV_DITHER_FS, 2); }),
              "-9 orvReduceBits Incorrect Image\n");
}

// An old failure stops the call from the test of the kind on; depths without kernels end it without a word.
TEST(Dither, DoesNothingAfterAFailureOrWithoutKernels)
{
    PictureSpec spec = {.width = 9, .height = 9};
    Picture src(spec), dst({.width = 9, .height = 9, .seed = 2});
    std::vector<uint8_t> before = dst.bytes();
    Reports reports;
    orvSetErrStatus(ORV_STATUS_ERROR);
    orvReduceBits(src, dst, 0, ORV_DITHER_NONE, 2);
    orvReduceBits(src, dst, 101, ORV_DITHER_NONE, 2);
    orvReduceBits(src, dst, 0, ORV_DITHER_FS, 1);
    orvReduceBits(src, dst, 0, 0, 1);
    EXPECT_EQ(reports.entries.size(), 2u);
    EXPECT_TRUE(dst.bytes() == before);
    orvSetErrStatus(0);
    reports.take();
    Picture floats({.depth = ORV_DEPTH_32F, .width = 9, .height = 9}), alpha({.alpha = 1, .width = 9, .height = 9});
    orvReduceBits(floats, dst, 0, ORV_DITHER_FS, 2);
    dst->alphaChannel = 1;
    orvReduceBits(alpha, dst, 0, ORV_DITHER_FS, 2);
    EXPECT_TRUE(dst.bytes() == before);
    EXPECT_EQ(reports.take(), "");
}

TEST(Dither, OpensTiles)
{
    auto callsOf = [](int kind, bool srcTiled, bool dstTiled) {
        TileLog log;
        PictureSpec spec = {.channels = 2, .width = 16, .height = 12, .tileHeight = 8, .name = "S", .log = &log};
        spec.tileWidth = srcTiled ? 8 : 0;
        Picture src(spec);
        spec.name = "D";
        spec.tileWidth = dstTiled ? 16 : 0;
        Picture dst(spec);
        EXPECT_EQ(reportsOf([&] { orvReduceBits(src, dst, 0, kind, 2); }), "");
        return log.text();
    };
    const std::string top = "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n",
                      bottom = "S read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\n",
                      intoTop = "D write 0 0\nD release 0 0\n", intoBottom = "D write 0 1\nD release 0 1\n";
    EXPECT_EQ(callsOf(ORV_DITHER_BAYER, true, true),
              "D write 0 0\n" + top + "D release 0 0\nD write 0 1\n" + bottom + "D release 0 1\n");
    EXPECT_EQ(callsOf(ORV_DITHER_NONE, true, false),
              "S read 0 0\nS release 0 0\nS read 1 0\nS release 1 0\n"
              "S read 0 1\nS release 0 1\nS read 1 1\nS release 1 1\n");
    std::string strips = top + intoTop + bottom + intoBottom;
    EXPECT_EQ(callsOf(ORV_DITHER_FS, true, true), strips + strips);
    EXPECT_EQ(callsOf(ORV_DITHER_FS, true, false), top + bottom + top + bottom);
    EXPECT_EQ(callsOf(ORV_DITHER_FS, false, true), intoTop + intoBottom + intoTop + intoBottom);
}

TEST(Dither, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (int kind : {ORV_DITHER_NONE, ORV_DITHER_STUCKEY, ORV_DITHER_BAYER})
        for (int tiled = 0; tiled < 4; ++tiled) {
            PictureSpec src = {.depth = ORV_DEPTH_16U, .channels = 3, .width = 20, .height = 20, .tileHeight = 8};
            src.tileWidth = tiled & 1 ? 8 : 0;
            PictureSpec dst = src;
            dst.depth = ORV_DEPTH_8U;
            dst.tileWidth = tiled & 2 ? 16 : 0;
            const Operation operation = {.name = "orvReduceBits", .call = [kind](OrvImage* const* images) {
                                             orvReduceBits(images[0], images[1], 30, kind, 4);
                                         }};
            SCOPED_TRACE(testing::Message() << kind << ' ' << tiled);
            bool refused = expectNothingLost(operation, {{{src, 0, {}, 0}, {dst, 1, {}, 1}}});
            EXPECT_TRUE(refused || (!tiled && kind != ORV_DITHER_STUCKEY));
        }
}
