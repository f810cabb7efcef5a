// Noise, the test image, and pixel functions of the application.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <numbers>
#include <set>

#include "checks.h"
#include "core/ownmath.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

const std::vector<uint32_t> noiseDepths = {ORV_DEPTH_8U,  ORV_DEPTH_8S,  ORV_DEPTH_16U,
                                           ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F};

// The generator, word by word.
struct Words {
    uint32_t lcg = 0x436CBAE9, s[3];
    int borrow = 1;

    explicit Words(uint32_t seed)
    {
        s[0] = seed;
        s[1] = s[0] * 69069 + 1013904243;
        s[2] = s[1] * 69069 + 1013904243;
    }
    uint32_t step()
    {
        lcg = lcg * 69069 + 1013904243;
        int32_t t = int32_t(s[1] - s[2] - uint32_t(borrow));
        borrow = t < 0;
        s[2] = s[1];
        s[1] = s[0];
        s[0] = uint32_t(t) - (t < 0 ? 18u : 0u);
        return s[0] + lcg;
    }
};

// What the next value gets.
struct Draws {
    Words words;
    OrvNoiseParam parameters;
    bool floats;
    int64_t limit;
    std::vector<double> waiting = {};

    double next()
    {
        double low = floats ? parameters.lowFlt : parameters.lowInt,
               high = floats ? parameters.highFlt : parameters.highInt;
        if (parameters.noise == ORV_NOISE_UNIFORM) {
            if (low > high)
                std::swap(low, high);
            if (limit)
                high = std::min(high, double(limit)), low = std::max(low, double(-limit));
            double range = (high - low) * 0x1p-32;
            double draw = words.step() * (floats ? double(float(range)) : range);
            return (floats ? draw : std::trunc(draw)) + low;
        }
        if (waiting.empty()) {
            double x, y, r;
            do {
                x = int32_t(words.step()) * 4.656612873077e-10;
                y = int32_t(words.step()) * 4.656612873077e-10;
                r = x * x + y * y;
            } while (r >= 1 || r == 0);
            double f = std::sqrt(std::log(r) * -2.0 / r);
            waiting = {f * high * x, f * high * y};
        }
        double draw = waiting.back();
        waiting.pop_back();
        return (floats ? draw : std::trunc(draw)) + low;
    }
};

// The tiles of a picture in their order, as one cell for a plain one.
std::vector<Area> cellsOf(const Picture& picture, const Area& common)
{
    const PictureSpec& spec = picture.layout();
    if (!spec.tileWidth)
        return {common};
    std::vector<Area> cells;
    Area region = areaOf(picture);
    for (int top = region.y / spec.tileHeight * spec.tileHeight; top < region.y + common.height; top += spec.tileHeight)
        for (int left = region.x / spec.tileWidth * spec.tileWidth; left < region.x + common.width;
             left += spec.tileWidth) {
            int x = std::max(left, region.x) - region.x, y = std::max(top, region.y) - region.y;
            int xEnd = std::min(left + spec.tileWidth - region.x, common.width);
            int yEnd = std::min(top + spec.tileHeight - region.y, common.height);
            cells.push_back({x, y, xEnd - x, yEnd - y});
        }
    return cells;
}

void addNoise(const Scene& scene, Draws draws)
{
    Picture& picture = scene.destination();
    uint32_t depth = picture.layout().depth;
    Area common = commonArea(scene), region = areaOf(picture);
    std::vector<int> channels = channelsOf(picture.layout());
    std::vector<std::vector<int>> passes = {channels};
    if (picture.layout().order == ORV_DATA_ORDER_PLANE) {
        passes.clear();
        for (int c : channels)
            passes.push_back({c});
    }
    const Picture* mask = scene.masks[0];
    for (const std::vector<int>& pass : passes)
        for (const Area& cell : cellsOf(picture, common))
            for (int y = cell.y; y < cell.y + cell.height; ++y)
                for (int x = cell.x; x < cell.x + cell.width; ++x) {
                    if (mask && !mask->raw(areaOf(*mask).x + x, areaOf(*mask).y + y))
                        continue;
                    for (int c : pass) {
                        int px = region.x + x, py = region.y + y;
                        picture.setRaw(px, py, c,
                                       bitsOf(depth, draws.next() + numberOf(depth, picture.raw(px, py, c))));
                    }
                }
}

}  // namespace

TEST(Noise, FollowsItsSequenceInEveryLayout)
{
    Random random(2);
    for (uint32_t depth : noiseDepths)
        for (int i = 0; i < 60; ++i) {
            Layout layout;
            int width = random.between(1, 40), height = random.between(1, 20);
            layout.images.push_back({randomPictureSpec(random, depth, random.between(1, 4), width, height), 0, {}, 0});
            if (random.below(2))
                layout.images[0].mask = randomMaskSpec(random, width, height);
            SCOPED_TRACE(depthName(depth) + ' ' + std::to_string(i) + layout.text());
            Scene scene(layout), expected(layout);
            for (const Scene* one : {&scene, &expected})
                if (depth == ORV_DEPTH_32F)
                    one->destination().fill([](int x, int y, int c) { return float(x * 7 - y * 3 + c) / 8; });
            bool floats = depth == ORV_DEPTH_32F;
            int bits = int(depth & ORV_DEPTH_MASK);
            OrvNoiseParam parameters = {};
            auto seed = uint32_t(random.bits());
            int low = random.between(-300, 300), high = random.between(-250, 250);
            if (i % 2) {
                floats ? orvNoiseUniformInitFP(&parameters, seed, float(low) / 4, float(high) / 4)
                       : orvNoiseUniformInit(&parameters, seed, low, high);
            } else {
                floats ? orvNoiseGaussianInitFP(&parameters, seed, float(low) / 4, float(high) / 4)
                       : orvNoiseGaussianInit(&parameters, seed, low, high);
            }
            addNoise(expected, {Words(seed), parameters, floats, bits < 32 ? (int64_t{1} << bits) - 1 : 0});
            Reports reports;
            orvSetErrStatus(-3);  // an earlier failure does not stop it
            ASSERT_EQ(orvNoiseImage(scene.pointers()[0], &parameters), 0);
            ASSERT_EQ(reports.take(), "");
            ASSERT_TRUE(scene.destination().bytes() == expected.destination().bytes());
            ASSERT_EQ(scene.faults(), "");
            ASSERT_EQ(scene.openTiles(), 0);
        }
}

// Bounds beyond the range first set the pixels to its end.
TEST(Noise, CutsBounds)
{
    auto noised = [](uint32_t depth, int32_t low, int32_t high) {
        Picture picture({.depth = depth, .width = 300});
        OrvNoiseParam parameters;
        orvNoiseUniformInit(&parameters, 5, low, high);
        orvNoiseImage(picture, &parameters);
        std::set<double> values;
        for (int x = 0; x < 300; ++x)
            values.insert(picture.get(x, 0));
        return std::pair(*values.begin(), *values.rbegin());
    };
    EXPECT_EQ(noised(ORV_DEPTH_8U, 300, 400), std::pair(255.0, 255.0));
    EXPECT_EQ(noised(ORV_DEPTH_8U, -255, -400), std::pair(0.0, 0.0));
    EXPECT_EQ(noised(ORV_DEPTH_8S, 255, 255), std::pair(127.0, 127.0));
    EXPECT_EQ(noised(ORV_DEPTH_16S, -70000, -65535), std::pair(-32768.0, -32768.0));
    EXPECT_EQ(noised(ORV_DEPTH_32S, INT32_MAX, INT32_MAX).second, INT32_MAX);
    auto [low, high] = noised(ORV_DEPTH_32S, INT32_MIN, INT32_MAX);
    EXPECT_LT(low, -2e9);
    EXPECT_GT(high, 2e9);
}

TEST(Noise, HasItsDistribution)
{
    OrvNoiseParam parameters;
    auto momentsOf = [&] {
        Picture picture({.depth = ORV_DEPTH_32F, .width = 500, .height = 400});
        picture.fill([](int, int, int) { return 0; });
        orvNoiseImage(picture, &parameters);
        double sums[5] = {};
        for (int y = 0; y < 400; ++y)
            for (int x = 0; x < 500; ++x)
                for (int k = 1; k < 5; ++k)
                    sums[k] += std::pow((picture.get(x, y) - 3) / 2, k) / 200000;
        return std::vector<double>(sums + 1, sums + 5);
    };
    orvNoiseGaussianInitFP(&parameters, 11, 3, 2);
    std::vector<double> normal = momentsOf(), wanted = {0, 1, 0, 3};
    orvNoiseUniformInitFP(&parameters, 11, 1, 5);
    std::vector<double> uniform = momentsOf(), flat = {0, 1 / 3.0, 0, 0.2};
    for (size_t k = 0; k < 4; ++k) {
        EXPECT_NEAR(normal[k], wanted[k], 0.05) << k;
        EXPECT_NEAR(uniform[k], flat[k], 0.01) << k;
    }
}

TEST(Noise, ChecksInOrder)
{
    const FaultOf fault{"orvNoiseImage"};
    OrvNoiseParam parameters = {}, *given = &parameters;
    expectFaultsInOrder(
        {{.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8}},
        [&](OrvImage* const* images) {
            int32_t result = orvNoiseImage(images[0], given);
            given = &parameters;
            parameters.noise = 0;
            return result;
        },
        {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0), -10),
            fault(
                -5, "(noiseParam == 0)", [&](auto) { given = nullptr; }, -5),
            fault(-5, "(image->depth == 1)", setField(0, &OrvImage::depth, ORV_DEPTH_1U), -5),
            fault(
                -5, "((noiseParam->noise != ORV_NOISE_UNIFORM) && (noiseParam->noise != ORV_NOISE_GAUSSIAN))",
                [&](auto) { parameters.noise = 2; }, -5),
            fault(
                -5, "(image->tileInfo->tileData == 0)",
                [](auto images) {
                    images[0]->tileInfo->callBack = [](OrvImage*, int32_t, int32_t, int32_t) { return 0; };
                },
                -3),
        });
}

TEST(Mathematics, ErrsByLessThanAUnitInTheLastPlace)
{
    Random random(3);
    for (int i = 0; i < 200000; ++i) {
        double fraction = double(random.bits() >> 11) * 0x1p-53;
        double x = std::ldexp(0.5 + fraction / 2, -random.below(60));
        double log = ownLog(x), unit = std::nextafter(std::abs(log), HUGE_VAL) - std::abs(log);
        ASSERT_LE(std::abs(double(log - logl(x))), unit) << x;
        ASSERT_NEAR(ownSinOfTurns(fraction, 0), double(sinl(6.283185307179586476925286766559L * fraction)), 0x1p-52);
        double angle = fraction * 6.3;
        ASSERT_NEAR(ownSineCosine(angle).sin, double(sinl(angle)), 0x1p-53) << angle;
        ASSERT_NEAR(ownSineCosine(angle).cos, double(cosl(angle)), 0x1p-53) << angle;
    }
    EXPECT_EQ(ownLog(1.0), 0);
    EXPECT_EQ(ownSinOfTurns(0.25, 0), 1);
    EXPECT_EQ(ownSinOfTurns(0.75, 0), -1);
    // Where one of both is as small as the angle's own rounding, at which the functions of some systems fail.
    for (int quarters = 1; quarters <= 4; ++quarters) {
        const OwnSineCosine value = ownSineCosine(quarters * (std::numbers::pi / 2));
        EXPECT_DOUBLE_EQ(std::abs(quarters % 2 ? value.cos : value.sin), quarters * 6.123233995736766e-17);
        EXPECT_EQ(std::abs(quarters % 2 ? value.sin : value.cos), 1);
    }
}

TEST(Jaehne, IsTheChirpAtEveryDepth)
{
    struct Kind {
        uint32_t depth;
        long double offset, factor;
    };
    const Kind kinds[] = {{ORV_DEPTH_1U, 1, 0.99999L},      {ORV_DEPTH_8U, 1, 127.99999L},
                          {ORV_DEPTH_8S, 0, 127.99999L},    {ORV_DEPTH_16U, 1, 32767.99999L},
                          {ORV_DEPTH_16S, 0, 32767.99999L}, {ORV_DEPTH_32S, 0, 2147483647.99999L},
                          {ORV_DEPTH_32F, 1, 0.49999L}};
    const long double turn = 6.283185307179586;  // as a double
    for (const Kind& kind : kinds)
        for (auto [width, height] : {std::pair(1, 1), {97, 64}, {30, 131}, {1, 9}, {601, 2}}) {
            SCOPED_TRACE(depthName(kind.depth) + ' ' + std::to_string(width) + ' ' + std::to_string(height));
            OrvImage* image = orvCreateImageJaehne(int32_t(kind.depth), width, height);
            ASSERT_NE(image, nullptr);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) {
                    long double dx = x - (width - 1) * 0.5L, dy = y - (height - 1) * 0.5L;
                    long double value = (sinl((dx * dx + dy * dy) * turn / (4 * height)) + kind.offset) * kind.factor;
                    uint32_t bits;
                    orvGetPixel(image, x, y, &bits);
                    int bytes = std::max(int(kind.depth & ORV_DEPTH_MASK) / 8, 1);
                    bits &= bytes == 4 ? ~0u : (1u << 8 * bytes) - 1;
                    if (kind.depth == ORV_DEPTH_32F)
                        ASSERT_NEAR(std::bit_cast<float>(bits), value, 1e-7);
                    else
                        ASSERT_NEAR(numberOf(kind.depth, bits), std::trunc(value), kind.depth == ORV_DEPTH_32S ? 1 : 0)
                            << x << ' ' << y;
                }
            int rowBytes = (width * std::max(int(kind.depth & ORV_DEPTH_MASK), 1) + 7) / 8;
            for (int y = 0; y < height; ++y)
                for (int i = rowBytes; i < image->widthStep; ++i)
                    ASSERT_EQ(image->imageData[y * image->widthStep + i], 0);
            orvDeallocate(image, ORV_IMAGE_ALL);
        }
}

TEST(Jaehne, ChecksInOrder)
{
    auto made = [](int32_t depth, int32_t width, int32_t height, int refuse = 0) {
        return reportsOf([&] {
            int blocks = testheap::blocks();
            testheap::refuse(refuse);
            EXPECT_EQ(orvCreateImageJaehne(depth, width, height), nullptr);
            testheap::refuse(0);
            EXPECT_EQ(testheap::blocks(), blocks);
        });
    };
    const std::string name = " orvCreateImageJaehne ";
    EXPECT_EQ(made(7, 0, 8), "-10" + name + "Incorrect image size\n");
    EXPECT_EQ(made(8, 8, 0), "-10" + name + "Incorrect image size\n");
    EXPECT_EQ(made(7, 8, 8), "-17" + name + "Incorrect depth value in the image header\n");
    EXPECT_EQ(made(8, 8, 8, 1), "-4" + name + "Not enough memory to allocate header for ImageJaehne\n");
    EXPECT_EQ(made(8, 8, 8, 2), "-4 orvAllocateImage for allocate image data\n-4" + name +
                                    "Not enough memory to allocate imageData for ImageJaehne\n");
}

namespace {

int calls = 0;

int32_t ORV_CALL tripled(int32_t value)
{
    ++calls;
    return int32_t(uint32_t(value) * 3 + 7);
}

float ORV_CALL halved(float value)
{
    ++calls;
    return value == 77 ? NAN : value * 2.5f - 3;
}

void ORV_CALL blended(OrvImage* src, void* srcPixel, OrvImage* dst, void* dstPixel)
{
    ++calls;
    auto* from = static_cast<uint8_t*>(srcPixel);
    auto* to = static_cast<uint8_t*>(dstPixel);
    size_t bytes = size_t(dst->nChannels) * (dst->depth & ORV_DEPTH_MASK) / 8;
    size_t sourceBytes = size_t(src->nChannels) * (src->depth & ORV_DEPTH_MASK) / 8;
    for (size_t i = 0; i < bytes; ++i)
        to[i] = uint8_t(to[i] * 3 + from[i % sourceBytes]);
}

bool pairs(const Layout& layout)
{
    return ordersAgree(layout) && originsAgree(layout);
}

}  // namespace

TEST(UserProcess, IsAFunctionOfValuesInEveryLayout)
{
    for (uint32_t depth : noiseDepths)
        for (bool real : {false, true}) {
            if (!real && depth == ORV_DEPTH_32F)
                continue;
            Operation operation = {
                .name = real ? "orvUserProcessFP" : "orvUserProcess", .sourceDepth = depth, .resultDepth = depth};
            operation.rule = [=](uint32_t a, uint32_t) {
                double value = numberOf(depth, a);
                if (!real)
                    return bitsOf(depth, tripled(int32_t(value)));
                float result = halved(float(value));
                if (depth == ORV_DEPTH_32F)
                    return std::bit_cast<uint32_t>(result);
                if (depth == ORV_DEPTH_32S && !(result < 2147483648.0))
                    return 0x80000000u;
                return bitsOf(depth, std::isnan(result) ? 1e12 : std::trunc(std::clamp(double(result), -4e9, 4e9)));
            };
            operation.call = [=](OrvImage* const* images) {
                if (real)
                    orvUserProcessFP(images[0], images[1], halved);
                else
                    orvUserProcess(images[0], images[1], tripled);
                orvSetErrStatus(0);
            };
            // Without a common area they report.
            operation.fits = [](const Layout& layout) {
                if (!pairs(layout))
                    return false;
                Area area = commonArea(Scene(layout));
                return area.width > 0 && area.height > 0;
            };
            operation.padding = false;
            runMatrix(operation);
            if (depth == ORV_DEPTH_16U)
                expectNothingLost(operation);
        }
}

TEST(UserProcess, HandsOutWholePixelsInEveryLayout)
{
    Random random(9);
    for (int i = 0; i < 200; ++i) {
        uint32_t depth = noiseDepths[size_t(random.below(6))], other = noiseDepths[size_t(random.below(6))];
        Layout layout;
        int width = random.between(1, 40), height = random.between(1, 20), order = random.below(2);
        for (int k = 0; k < 2; ++k) {
            PictureSpec spec = randomPictureSpec(random, k ? depth : other, random.between(1, 4), width, height);
            spec.order = order;
            spec.origin = 0;
            layout.images.push_back({spec, k, {}, k});
            if (random.below(3) == 0)
                layout.images.back().mask = randomMaskSpec(random, width, height);
        }
        Scene scene(layout), expected(layout);
        Area common = commonArea(scene);
        if (common.width <= 0)
            continue;
        SCOPED_TRACE(std::to_string(i) + layout.text());
        Area from = areaOf(*expected.images[0]), to = areaOf(*expected.images[1]);
        int wanted = 0;
        forSelectedPixels(expected, [&](int x, int y, const auto&) {
            uint8_t src[1024], dst[1024];
            OrvImage *a = *expected.images[0], *b = *expected.images[1];
            auto at = [](OrvImage* image, int row) { return image->origin ? image->height - 1 - row : row; };
            orvGetPixel(a, from.x + x, at(a, from.y + y), src);
            orvGetPixel(b, to.x + x, at(b, to.y + y), dst);
            blended(a, src, b, dst);
            orvPutPixel(b, to.x + x, at(b, to.y + y), dst);
            ++wanted;
        });
        calls = 0;
        ASSERT_EQ(reportsOf([&] { orvUserProcessPixel(scene.pointers()[0], scene.pointers()[1], blended); }), "");
        ASSERT_EQ(calls, wanted);
        ASSERT_TRUE(scene.destination().bytes() == expected.destination().bytes());
        ASSERT_EQ(scene.faults(), "");
        ASSERT_EQ(scene.openTiles(), 0);
    }
}

// A status ends the walk: what was done stays, and tiles are closed.
TEST(UserProcess, StopsWhereAFunctionSaysSo)
{
    for (int order : {0, 1})
        for (int tile : {0, 8}) {
            PictureSpec spec = {
                .channels = 3, .order = order, .width = 20, .height = 5, .tileWidth = tile, .tileHeight = 8};
            Picture src(spec), dst(spec);
            dst.fill([](int, int, int) { return 9; });
            calls = 0;
            auto stop = [](OrvImage*, void*, OrvImage*, void* pixel) {
                memset(pixel, 1, 3);
                if (++calls == 11)
                    orvSetErrStatus(4);
            };
            EXPECT_EQ(reportsOf([&] { orvUserProcessPixel(src, dst, stop); }),
                      "-1 orvUserProcessPixel in cbFunc call\n");
            int done = 0;
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 20; ++x)
                    done += dst.get(x, y, 2) == 1;
            EXPECT_EQ(done, 11);
            EXPECT_EQ(src.openTiles() + dst.openTiles(), 0);
        }
}

TEST(UserProcess, ChecksInOrder)
{
    PictureSpec spec = {.channels = 3, .width = 8, .height = 8},
                bits = {.depth = ORV_DEPTH_1U, .width = 8, .height = 8};
    Picture mask(bits), other(bits);
    OrvROI second = {2, 0, 0, 8, 8}, beside = {0, 9, 0, 4, 4}, below = {0, 0, 9, 4, 4};
    enum Form { integers, floats, pixels };
    for (Form form : {integers, floats, pixels}) {
        const char* names[] = {"orvUserProcess", "orvUserProcessFP", "orvUserProcessPixel"};
        const FaultOf fault{names[form]};
        bool missing = false;
        auto call = [&](OrvImage* const* images) {
            if (form == integers)
                orvUserProcess(images[0], images[1], missing ? nullptr : tripled);
            else if (form == floats)
                orvUserProcessFP(images[0], images[1], missing ? nullptr : halved);
            else
                orvUserProcessPixel(images[0], images[1], missing ? nullptr : blended);
            missing = false;
        };
        auto expect = [&](std::vector<Fault> faults, const PictureSpec& pictures) {
            SCOPED_TRACE(names[form]);
            expectFaultsInOrder({pictures, pictures}, call, faults);
        };
        std::vector<Fault> headers = {fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
                                      fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
                                      fault(-22 + 17, "cbFunc == NULL", [&](auto) { missing = true; }),
                                      fault(-25, "width <= 0", setField(0, &OrvImage::roi, &beside)),
                                      fault(-25, "height <= 0", setField(0, &OrvImage::roi, &below))};
        expect(headers, spec);
        expect(
            {{"-4 orvAllocateImage for allocate image data\n-1 " + std::string(names[form]) + " while mask creating\n",
              setMasks(mask, other, 2)}},
            spec);
        if (form != pixels) {
            expect({fault(-17, "srcImage->depth != dstImage->depth", setField(0, &OrvImage::depth, ORV_DEPTH_8S))},
                   spec);
            expect(
                {fault(-24, "srcImage->roi->coi > 0 && dstImage->roi->coi == 0", setField(0, &OrvImage::roi, &second))},
                spec);
            expect(
                {fault(-24, "dstImage->roi->coi > 0 && srcImage->roi->coi == 0", setField(1, &OrvImage::roi, &second))},
                spec);
            expect({fault(-15, "srcImage->nChannels != dstImage->nChannels", setField(1, &OrvImage::alphaChannel, 3))},
                   spec);
        }
        expect({fault(-17, "depth == ORV_DEPTH_1U", [](auto) {})}, bits);
        Picture a(spec), b(spec), alpha({.alpha = 1, .width = 8, .height = 8});
        b->origin = b->dataOrder = 1;
        OrvImage* turned[] = {a, b};
        EXPECT_EQ(reportsOf([&] { call(turned); }), std::string("-20 ") + names[form] +
                                                        " srcImage->origin != dstImage->origin\n-19 " + names[form] +
                                                        " srcImage->dataOrder != dstImage->dataOrder\n");
        b->origin = b->dataOrder = 0;
        calls = 0;
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-2);
                      call(turned);
                  }),
                  "");
        EXPECT_EQ(calls, 0);
        OrvImage* alone[] = {alpha, alpha};
        EXPECT_EQ(reportsOf([&] { call(alone); }),
                  form == pixels ? "" : "-15 " + std::string(names[form]) + " nChannels == 0\n");
    }
    Picture real({.depth = ORV_DEPTH_32F, .width = 8, .height = 8});
    EXPECT_EQ(reportsOf([&] { orvUserProcess(real, real, tripled); }), "-17 orvUserProcess depth == ORV_DEPTH_32F\n");
}

TEST(UserProcess, TellsOfTilesThatFail)
{
    auto fails = [](int mode, bool data, bool status) {
        static int failingMode;
        static bool failsWithStatus, bringsData;
        static uint8_t pixels[64];
        failingMode = mode, bringsData = data, failsWithStatus = status;
        return [](OrvImage* image, int32_t, int32_t, int32_t asked) -> int32_t {
            bool fails = asked == failingMode;
            if (asked != ORV_TILE_RELEASE && (!fails || bringsData))
                image->tileInfo->tileData = pixels;
            if (fails && failsWithStatus)
                orvSetErrStatus(-2);
            return 0;
        };
    };
    PictureSpec spec = {.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8}, plain = {.width = 8, .height = 8};
    Picture tiled(spec), image(plain);
    auto report = [&](bool source, int mode, bool data, bool status) {
        tiled->tileInfo->callBack = fails(mode, data, status);
        return reportsOf([&] { orvUserProcess(source ? tiled : image, source ? image : tiled, tripled); });
    };
    std::string name = " orvUserProcess ";
    EXPECT_EQ(report(false, ORV_TILE_WRITE, true, true),
              "-1" + name + "dstImage->tileInfo->callBack: can't open tile to write\n");
    EXPECT_EQ(report(false, ORV_TILE_WRITE, false, false),
              "-3" + name + "dstImage->tileInfo->tileData == NULL: can't open tile to write\n");
    EXPECT_EQ(report(false, ORV_TILE_RELEASE, true, true),
              "-1" + name + "dstImage->tileInfo->callBack: can't release tile\n");
    EXPECT_EQ(report(true, ORV_TILE_READ, true, true),
              "-1" + name + "srcImage->tileInfo->callBack: can't open tile to read\n");
    EXPECT_EQ(report(true, ORV_TILE_READ, false, false),
              "-3" + name + "srcImage->tileInfo->tileData == NULL: can't open tile to read\n");
    EXPECT_EQ(report(true, ORV_TILE_RELEASE, true, true),
              "-1" + name + "srcImage->tileInfo->callBack: can't release tile\n");
}
