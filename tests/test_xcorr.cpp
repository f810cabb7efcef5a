// Normalised cross-correlation against sums over every window.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>
#include <limits>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

// Products are added row by row, squares by columns: integers have exact sums, those of 32 bits round in this order.
template <class Sum>
double naiveQuotient(Picture& tpl, Picture& src, int x, int y, int c, int tplChannel)
{
    Area area = areaOf(tpl);
    auto t = [&](int i, int j) { return Sum(numberOf(tpl->depth, tpl.raw(area.x + i, area.y + j, tplChannel))); };
    auto s = [&](int i, int j) {
        int left = x - (area.width >> 1), top = y - (area.height >> 1);
        return Sum(numberOf(tpl->depth, naiveRaw(src, left + i, top + j, c)));
    };
    Sum products = 0, squares = 0, energy = 0;
    for (int j = 0; j < area.height; ++j)
        for (int i = 0; i < area.width; ++i)
            products += s(i, j) * t(i, j);
    for (int i = 0; i < area.width; ++i) {
        Sum ofWindow = 0, ofTemplate = 0;
        for (int j = 0; j < area.height; ++j) {
            ofWindow += s(i, j) * s(i, j);
            ofTemplate += t(i, j) * t(i, j);
        }
        squares += ofWindow;
        energy += ofTemplate;
    }
    double root = std::sqrt(double(squares) * double(energy));
    return double(products) / (root > 1.1754943508222875e-38 ? root : 1.0);
}

double scaleOf(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return 255;
    case ORV_DEPTH_8S: return 127;
    case ORV_DEPTH_16U: return 65535;
    case ORV_DEPTH_16S: return 32767;
    case ORV_DEPTH_32S: return 2147483520;
    default: return 1;
    }
}

uint32_t naiveResult(Picture& tpl, Picture& src, uint32_t depth, int x, int y, int c)
{
    int channel = c - channelsOf(src.layout())[0];
    int tplChannel = channelsOf(tpl.layout())[size_t(channel)];
    bool exact = src->depth != ORV_DEPTH_32F && src->depth != ORV_DEPTH_32S;
    double quotient = exact ? naiveQuotient<int64_t>(tpl, src, x, y, c, tplChannel)
                            : naiveQuotient<double>(tpl, src, x, y, c, tplChannel);
    double scaled = quotient * scaleOf(depth);
    return bitsOf(depth, depth == ORV_DEPTH_32F ? scaled : std::nearbyint(scaled));
}

}  // namespace

TEST(Correlate, IsTheCosineOfEveryWindowInEveryLayout)
{
    Random random(21);
    for (int round = 0; round < 500 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = allDepths[1 + size_t(round) % (allDepths.size() - 1)];
        int count = random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, count);
        layout.images[1].same = 1;
        PictureSpec spec = randomPictureSpec(random, depth, count, random.between(1, 9), random.between(1, 9));
        spec.tileWidth = spec.tileHeight = 0;
        // The source agrees with either of the others.
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        auto other = [&]() -> PictureSpec& { return random.below(2) ? spec : dst; };
        other().order = src.order;
        other().origin = src.origin;
        PictureSpec& alike = other();
        alike.channels = src.channels;
        alike.alpha = src.alpha;
        for (PictureSpec* one : {&spec, &src, &dst}) {
            bool all = one->channels - (one->alpha != 0) == count;
            one->roi = one->roi.value_or(OrvROI{0, 0, 0, one->width, one->height});
            one->roi->coi = all ? 0 : random.between(1, one->channels);
        }
        if (depth == ORV_DEPTH_8U && random.below(2))
            dst.depth = ORV_DEPTH_32F;
        SCOPED_TRACE(testing::Message() << round << ": " << spec.width << " x " << spec.height << layout.text());
        Scene scene(layout);
        Picture tpl(spec);
        if (areaOf(tpl).width < 1 || areaOf(tpl).height < 1)
            continue;
        setRandomBorders(scene.pointers()[0], random);
        for (Picture* picture : {scene.images[0], &tpl})
            if (depth == ORV_DEPTH_32F)
                picture->fill([&](int, int, int) { return std::ldexp(random.between(-5000, 5000), -random.below(9)); });
        uint32_t result = scene.destination()->depth;
        expectFiltered(
            scene, [&](Picture& from, int x, int y, int c) { return naiveResult(tpl, from, result, x, y, c); },
            [&](OrvImage* const* images) { EXPECT_EQ(orvNormCrossCorr(tpl, images[0], images[1]), 0); });
    }
}

// Templates that are large enough for Fourier transforms, in several blocks, at the ends of the ranges and in between.
TEST(Correlate, OfLargeTemplatesIsExact)
{
    Random random(22);
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S})
        for (int kind = 0; kind < 4; ++kind) {
            int side = kind == 3 ? 170 : random.between(58, 75);
            PictureSpec spec = {.depth = depth, .channels = 3, .alpha = 3, .width = 230, .height = 131};
            PictureSpec tplSpec = {.depth = depth, .channels = 2, .width = side, .height = side + 1};
            Picture src(spec), dst(spec), tpl(tplSpec);
            setRandomBorders(src, random);
            for (Picture* picture : {&src, &tpl})
                if (kind == 1)
                    picture->fillRaw([&](int, int, int) { return bitsOf(depth, -1e9); });
                else if (kind == 2)
                    picture->fillRaw([&](int, int, int) { return bitsOf(depth, random.below(2) ? 1e9 : -1e9); });
            SCOPED_TRACE(testing::Message() << depthName(depth) << ' ' << kind << ' ' << side);
            EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNormCrossCorr(tpl, src, dst), 0); }), "");
            for (int i = 0; i < 60; ++i) {
                int x = random.below(230), y = random.below(131), c = random.below(2);
                ASSERT_EQ(dst.raw(x, y, c), naiveResult(tpl, src, depth, x, y, c)) << x << ' ' << y << ' ' << c;
            }
            EXPECT_EQ(dst.faults(), "");
        }
}

TEST(Correlate, AtTheEndsOfItsNumbers)
{
    // A window that is the template, whose middle lies to the right and below that of an even size.
    Picture src({.width = 20, .height = 20}), tpl({.width = 20, .height = 20, .roi = OrvROI{0, 5, 7, 6, 4}});
    Picture bytes({.width = 20, .height = 20}), reals({.depth = ORV_DEPTH_32F, .width = 20, .height = 20});
    tpl->imageData = src->imageData;
    for (OrvImage* dst : {&bytes.image, &reals.image})
        EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNormCrossCorr(tpl, src, dst), 0); }), "");
    EXPECT_EQ(bytes.get(5 + 3, 7 + 2), 255);
    EXPECT_EQ(reals.get(5 + 3, 7 + 2), 1);
    // The destination may be the template.
    Picture alone({.width = 20, .height = 20, .roi = OrvROI{0, 5, 7, 6, 4}});
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNormCrossCorr(alone, src, alone), 0); }), "");
    EXPECT_EQ(alone.get(5, 7), bytes.get(0, 0));
    EXPECT_EQ(alone.get(5 + 5, 7 + 3), bytes.get(5, 3));
    // One float, its template and what becomes of them.
    const float inf = std::numeric_limits<float>::infinity();
    const float cases[][3] = {
        {3, -2, -1},         {0, 5, 0},       {0, 0, 0},         {1e-19f, 1e-19f, 1e-38f}, {1.1e-19f, 1.1e-19f, 1},
        {1e30f, -1e38f, -1}, {inf, 0, -7.0f}, {2e-45f, 1e38f, 1}};
    for (auto [sample, factor, expected] : cases) {
        PictureSpec one = {.depth = ORV_DEPTH_32F};
        Picture a(one), b(one), c(one);
        a.set(0, 0, 0, sample);
        b.set(0, 0, 0, factor);
        EXPECT_EQ(orvNormCrossCorr(b, a, c), 0);
        if (expected == -7.0f)
            EXPECT_TRUE(std::isnan(c.get(0, 0)));
        else
            EXPECT_EQ(float(c.get(0, 0)), expected) << sample;
    }
}

namespace {

int modeOfProvider = -1;
bool providerFails = false;

int32_t ORV_CALL provide(OrvImage* image, int32_t, int32_t, int32_t mode)
{
    static uint8_t tile[64 * 64];
    modeOfProvider = orvGetErrMode();
    image->tileInfo->tileData = providerFails && mode != ORV_TILE_RELEASE ? nullptr : tile;
    return 0;
}

}  // namespace

TEST(Correlate, ChecksInTheirOrder)
{
    static OrvROI coi;
    coi = {2, 0, 0, 9, 9};
    static OrvTileInfo tiles;
    orvSetTileInfo(&tiles, provide, nullptr, 64, 64);
    auto tile = [](OrvImage* image) {
        image->imageData = nullptr;
        image->tileInfo = &tiles;
    };
    PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    auto call = [](OrvImage* const* images) { return orvNormCrossCorr(images[1], images[0], images[2]); };
    auto fault = [](int32_t status, const std::string& context, FaultMaker make) {
        int32_t returned = status == ORV_STATUS_NO_MEMORY ? status : ORV_STATUS_BAD_ARG;
        return FaultOf{"orvNormCrossCorr"}(status, context, std::move(make), returned);
    };
    expectFaultsInOrder(
        {spec, spec, spec}, call,
        {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::height, 0)),
            fault(-10, "Incorrect Image", setField(2, &OrvImage::width, 0)),
            fault(-5, "SRC and TPL depth are different", setField(1, &OrvImage::depth, ORV_DEPTH_8S)),
            fault(-5, "SRC and DST depth are incompatible", setField(2, &OrvImage::depth, ORV_DEPTH_8S)),
            fault(-5, "SRC, TPL or DST order are different", setField(0, &OrvImage::dataOrder, 1)),
            fault(-5, "SRC, TPL or DST orign are different", setField(0, &OrvImage::origin, 1)),
            fault(-5, "SRC, TPL or DST Alpha channels are different", setChannels(0, 3, 3)),
            fault(-5, "SRC, TPL or DST number of channels are different", setChannels(0, 4, 0)),
            fault(-5, "SRC, TPL or DST number of processing channels are different",
                  [](OrvImage* const* images) { images[0]->roi = &coi; }),
            fault(-5, "TPL tiling is not supported", [=](auto images) { tile(images[1]); }),
            fault(-4, "Not enough memory", refuseMemory(1, true)),
        });
    Picture src(spec), tpl(spec), dst(spec);
    EXPECT_EQ(reportsOf([&] { EXPECT_EQ(orvNormCrossCorr(tpl, src, src), ORV_STATUS_BAD_ARG); }),
              "-5 orvNormCrossCorr Unsupported in-place mode\n");
    auto incompatible = "-5 orvNormCrossCorr SRC and DST depth are incompatible\n";
    for (auto [from, to] : {std::pair{ORV_DEPTH_1U, ORV_DEPTH_1U}, {ORV_DEPTH_16U, ORV_DEPTH_32F}}) {
        Picture a({.depth = from}), b({.depth = from}), c({.depth = to});
        EXPECT_EQ(reportsOf([&, d = &b] { orvNormCrossCorr(*d, a, c); }), incompatible);
    }
    // Where there is nothing to do, nothing is done, and the stored status stays.
    OrvROI outside = {0, 9, 9, 1, 1};
    for (Picture* picture : {&src, &tpl, &dst}) {
        picture->image.roi = &outside;
        std::vector<uint8_t> before = dst.bytes();
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-7);
                      EXPECT_EQ(orvNormCrossCorr(tpl, src, dst), 0);
                      EXPECT_EQ(orvGetErrStatus(), -7);
                  }),
                  "");
        EXPECT_EQ(dst.bytes(), before);
        picture->image.roi = nullptr;
    }
    // Providers find the error mode silent, and it is restored whatever they do.
    Picture plain({.width = 20, .height = 20}), small({.width = 3, .height = 3}), result({.width = 20, .height = 20});
    tile(plain);
    int32_t mode = orvGetErrMode();
    for (bool fails : {false, true}) {
        providerFails = fails;
        EXPECT_EQ(reportsOf([&] { orvNormCrossCorr(small, plain, result); }),
                  fails ? "-4 orvNormCrossCorr Not enough memory\n" : "");
        EXPECT_EQ(modeOfProvider, ORV_ErrModeSilent);
        EXPECT_EQ(orvGetErrMode(), mode);
    }
}

TEST(Correlate, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16S, ORV_DEPTH_32F})
        for (int side : {3, 64}) {
            Picture tpl({.depth = depth, .channels = side == 3 ? 3 : 1, .width = side, .height = side});
            const Operation operation = {
                .name = "orvNormCrossCorr",
                .sourceDepth = depth,
                .resultDepth = depth,
                .call = [&](OrvImage* const* images) { orvNormCrossCorr(tpl, images[0], images[1]); },
                .inPlace = false};
            const RefusalOptions options = {.report = "-4 orvNormCrossCorr Not enough memory\n"};
            PictureSpec spec = {.depth = depth, .width = 90, .height = 80};
            if (side == 3)
                expectNothingLost(operation, options);
            else if (depth != ORV_DEPTH_32F) {
                EXPECT_TRUE(expectNothingLost(operation, {{{spec, 0, {}, 0}, {spec, 1, {}, 1}}}, options));
            }
        }
}
