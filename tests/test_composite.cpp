// Products of normalised values, and compositing.
#include <gtest/gtest.h>

#include <cmath>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"

namespace {

int64_t fullScale(uint32_t depth)
{
    return depth == ORV_DEPTH_8U ? 255 : 65535;
}

// Compositing of one value by its definition: wholes at `divide` 0, doubles otherwise.
struct Value {
    int64_t M;
    int type;
    bool premultiplied, divide;

    int64_t mul(int64_t x, int64_t y) const { return x * y / M; }
    int64_t sat(int64_t x) const { return std::min(x, M); }

    int64_t colour(int64_t A, int64_t B, int64_t a, int64_t b) const
    {
        if (divide)
            return divided(double(A), double(B), unit(a), unit(b));
        if (!premultiplied) {
            A = mul(A, a);
            B = mul(B, b);
        }
        const int64_t parts[] = {A + mul(M - a, B),
                                 mul(A, b),
                                 mul(A, M - b),
                                 mul(B, M - a) + mul(A, b),
                                 mul(B, M - a) + mul(A, M - b),
                                 A + B};
        return sat(parts[type]);
    }
    int64_t alpha(int64_t a, int64_t b, bool second) const
    {
        if (divide)
            return rounded(part(unit(a), unit(b)) * double(M));
        const int64_t two[] = {a + mul(M - a, b), mul(a, b), mul(a, M - b), b, mul(M - b, a) + mul(M - a, b), a + b};
        const int64_t one[] = {
            a + mul(M - a, M - a), mul(a, M - a), mul(a, a), M - a, mul(M - a, M - a) + mul(a, a), M};
        return sat(second ? two[type] : one[type]);
    }

private:
    double unit(int64_t x) const
    {
        return double(x) * double(M == 255 ? 0.003921568859368563f : 1.5259021896696422e-05f);
    }
    double part(double a, double b) const
    {
        const double parts[] = {a + (1 - a) * b, a * b, a * (1 - b), b, a * (1 - b) + (1 - a) * b, a + b};
        return parts[type];
    }
    int64_t divided(double A, double B, double a, double b) const
    {
        if (!premultiplied) {
            A *= a;
            B *= b;
        }
        const double sums[] = {A + (1 - a) * B,           A * b, A * (1 - b), A * b + (1 - a) * B,
                               A * (1 - b) + (1 - a) * B, A + B};
        double r = part(a, b), c = sums[type];
        if (r > (M == 255 ? 7.689351150474977e-06 : 1.1641887462193043e-10))
            c = std::min(c / r, double(M));
        return rounded(c);
    }
    int64_t rounded(double x) const { return std::clamp(int64_t(std::nearbyint(x)), int64_t(0), M); }
};

// Where an alpha is read or written: a picture and its channel, -1 for none.
struct AlphaPlace {
    int image = -1;
    int channel = 0;
};

// Does to `scene` what compositing should. Images are the sources, then alpha images, last the destination.
void composite(const Scene& scene, const Value& value, AlphaPlace a, AlphaPlace b, AlphaPlace to, int constantA = -1,
               int constantB = -1)
{
    size_t last = scene.images.size() - 1;
    std::vector<Area> areas;
    for (Picture* picture : scene.images)
        areas.push_back(areaOf(*picture));
    auto at = [&](size_t image, int x, int y, int c) -> int64_t {
        return scene.images[image]->raw(areas[image].x + x, areas[image].y + y, c);
    };
    std::vector<int> channels[3] = {channelsOf(scene.images[0]->layout()), channelsOf(scene.images[1]->layout()),
                                    channelsOf(scene.images[last]->layout())};
    forSelectedPixels(scene, [&](int x, int y, const auto&) {
        bool second = b.image >= 0 || constantB >= 0;
        int64_t alphaA = a.image >= 0 ? at(size_t(a.image), x, y, a.channel) : constantA;
        int64_t alphaB = b.image >= 0     ? at(size_t(b.image), x, y, b.channel)
                         : constantB >= 0 ? constantB
                                          : value.M - alphaA;
        std::vector<int64_t> results;
        for (size_t c = 0; c < channels[2].size(); ++c)
            results.push_back(value.colour(at(0, x, y, channels[0][c]), at(1, x, y, channels[1][c]), alphaA, alphaB));
        for (size_t c = 0; c < results.size(); ++c)
            scene.images[last]->setRaw(areas[last].x + x, areas[last].y + y, channels[2][c], uint32_t(results[c]));
        if (to.image >= 0)
            scene.images[size_t(to.image)]->setRaw(areas[size_t(to.image)].x + x, areas[size_t(to.image)].y + y,
                                                   to.channel, uint32_t(value.alpha(alphaA, alphaB, second)));
    });
}

PictureSpec randomImage(Random& random, uint32_t depth, int channels, int width, int height, bool coi, bool alpha)
{
    PictureSpec spec = randomPictureSpec(random, depth, channels, width, height);
    OrvROI roi = spec.roi.value_or(OrvROI{0, 0, 0, spec.width, spec.height});
    spec.alpha = alpha ? channels + 1 : 0;
    spec.channels = channels + (alpha ? 1 : 0);
    roi.coi = coi ? random.between(1, channels) : 0;
    if (coi || spec.roi)
        spec.roi = roi;
    return spec;
}

void compareScenes(const Scene& got, const Scene& expected)
{
    for (size_t i = 0; i < got.all().size(); ++i)
        EXPECT_TRUE(got.all()[i]->bytes() == expected.all()[i]->bytes()) << "picture " << i;
    EXPECT_EQ(got.faults(), "");
    EXPECT_EQ(got.openTiles(), 0);
}

}  // namespace

TEST(Composite, IsAsDefinedInEveryLayout)
{
    Random random(12);
    for (int i = 0; i < 900 && !testing::Test::HasFailure(); ++i) {
        uint32_t depth = random.below(2) ? ORV_DEPTH_8U : ORV_DEPTH_16U;
        Value value = {fullScale(depth), random.below(6), random.below(2) != 0, random.below(3) == 0};
        bool images = random.below(2), coi = random.below(5) == 0;
        int channels = random.between(1, 4),
            width = random.below(9) ? random.between(1, 60) : random.between(500, 3000);
        int height = random.between(1, 12);
        Layout layout;
        int alphas = images ? random.below(4) : 0;  // bit 0: an alpha image for A, bit 1: for B
        bool alphaTo = images && random.below(3) == 0;
        bool alphaOfA = !(alphas & 1) || random.below(2), alphaOfB = !images || random.below(2);
        auto add = [&](PictureSpec spec, bool masked) {
            std::optional<PictureSpec> mask;
            if (masked && random.below(3) == 0)
                mask = randomMaskSpec(random, width, height);
            int index = int(layout.images.size());
            layout.images.push_back({spec, index, mask, index});
            return index;
        };
        add(randomImage(random, depth, channels, width, height, coi, alphaOfA), true);
        add(randomImage(random, depth, channels, width, height, coi, alphaOfB), true);
        int indexA =
            alphas & 1
                ? add(randomImage(random, depth, random.between(1, 2), width, height, false, random.below(2)), false)
                : -1;
        int indexB =
            alphas & 2
                ? add(randomImage(random, depth, random.between(1, 2), width, height, false, random.below(2)), false)
                : -1;
        int indexTo = alphaTo ? add(randomImage(random, depth, 1, width, height, false, true), false) : -1;
        int last = add(randomImage(random, depth, channels, width, height, coi, random.below(2)), true);
        if (int same = random.below(8); same < 2)
            layout.images[size_t(last)] = layout.images[size_t(same)];
        SCOPED_TRACE(std::to_string(i) + " type " + std::to_string(value.type) + layout.text());
        Scene scene(layout), expected(layout);
        auto channelOf = [&](int image) {
            int alpha = layout.images[size_t(image)].spec.alpha;
            return AlphaPlace{image, alpha ? alpha - 1 : 0};
        };
        AlphaPlace a = alphas & 1 ? channelOf(indexA) : channelOf(0), b, to;
        int constants[2] = {-1, -1};
        if (!images) {
            for (int k = 0; k < 2; ++k)
                if (random.below(2))
                    constants[k] = random.between(0, int(value.M));
            a = constants[0] >= 0 ? AlphaPlace{} : channelOf(0);
            b = constants[1] >= 0 ? AlphaPlace{} : channelOf(1);
        } else if (alphas & 2) {
            b = channelOf(indexB);
        } else if (!(alphas & 1) && layout.images[1].spec.alpha) {
            b = channelOf(1);
        }
        if (images && alphaTo)
            to = channelOf(indexTo);
        else if (images && layout.images[size_t(last)].spec.alpha)
            to = channelOf(last);
        composite(expected, value, a, b, to, constants[0], constants[1]);
        std::vector<OrvImage*> p = scene.pointers();
        auto pointer = [&](int index) { return index < 0 ? nullptr : p[size_t(index)]; };
        std::string report = reportsOf([&] {
            if (images)
                orvAlphaComposite(p[0], p[1], p.back(), value.type, pointer(indexA), pointer(indexB), pointer(indexTo),
                                  value.premultiplied, value.divide);
            else
                orvAlphaCompositeC(p[0], p[1], p.back(), value.type, constants[0], constants[1], value.premultiplied,
                                   value.divide);
        });
        ASSERT_EQ(report, "");
        compareScenes(scene, expected);
    }
}

TEST(Composite, MultipliesInEveryLayout)
{
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U}) {
        auto M = uint64_t(fullScale(depth));
        Operation product = {.name = "orvMultiplyScale", .sources = 2, .sourceDepth = depth, .resultDepth = depth};
        product.rule = [=](uint32_t a, uint32_t b) { return uint32_t(uint64_t{a} * b / M); };
        product.call = [](OrvImage* const* images) { orvMultiplyScale(images[0], images[1], images[2]); };
        product.padding = false;
        runMatrix(product);
        Operation scaled = product;
        scaled.name = "orvMultiplySScale";
        scaled.sources = 1;
        for (int32_t value : {-5, 1, 100, 254, 255, 300, 65534, 70000}) {
            scaled.rule = [=](uint32_t a, uint32_t) {
                return uint32_t(a * uint64_t(std::clamp(int64_t{value}, int64_t{0}, int64_t(M))) / M);
            };
            scaled.call = [=](OrvImage* const* images) { orvMultiplySScale(images[0], images[1], value); };
            scaled.cases = 12;
            runMatrix(scaled);
        }
    }
}

TEST(Composite, PremultipliesInPlace)
{
    Random random(13);
    for (int i = 0; i < 200 && !testing::Test::HasFailure(); ++i) {
        uint32_t depth = random.below(2) ? ORV_DEPTH_8U : ORV_DEPTH_16U;
        auto M = int(fullScale(depth));
        int width = random.below(9) ? random.between(1, 60) : random.between(500, 3000), height = random.between(1, 12);
        bool alpha = random.below(3) != 0;
        int constant = alpha && random.below(2) ? random.below(2) ? -1 : M + 1 : random.between(0, M);
        Layout layout;
        layout.images.push_back(
            {randomImage(random, depth, random.between(1, 4), width, height, random.below(5) == 0, alpha), 0, {}, 0});
        if (random.below(2))
            layout.images[0].mask = randomMaskSpec(random, width, height);
        SCOPED_TRACE(std::to_string(i) + ' ' + std::to_string(constant) + layout.text());
        Scene scene(layout), expected(layout);
        Picture& picture = expected.destination();
        Area area = areaOf(picture);
        int alphaChannel = layout.images[0].spec.alpha - 1;
        forSelectedPixels(expected, [&](int x, int y, const auto&) {
            bool byChannel = constant < 0 || constant > M;
            uint64_t a = byChannel ? picture.raw(area.x + x, area.y + y, alphaChannel) : uint64_t(constant);
            for (int c : channelsOf(layout.images[0].spec))
                picture.setRaw(area.x + x, area.y + y, c,
                               uint32_t(picture.raw(area.x + x, area.y + y, c) * a / uint64_t(M)));
            if (!byChannel && alphaChannel >= 0)
                picture.setRaw(area.x + x, area.y + y, alphaChannel, uint32_t(constant));
        });
        ASSERT_EQ(reportsOf([&] { orvPreMultiplyAlpha(scene.pointers()[0], constant); }), "");
        compareScenes(scene, expected);
    }
}

TEST(Composite, LosesNothingWhereMemoryOrATileIsRefused)
{
    expectNothingLost({.name = "orvMultiplyScale", .sources = 2, .call = [](OrvImage* const* images) {
                           orvMultiplyScale(images[0], images[1], images[2]);
                       }});
    expectNothingLost({.name = "orvAlphaCompositeC", .sources = 2, .call = [](OrvImage* const* images) {
                           orvAlphaCompositeC(images[0], images[1], images[2], 3, 100, 50, 0, 0);
                       }});
}

TEST(Composite, ChecksInOrder)
{
    PictureSpec spec = {.channels = 3, .width = 8, .height = 8},
                bits = {.depth = ORV_DEPTH_1U, .width = 8, .height = 8};
    OrvROI second = {2, 0, 0, 8, 8}, whole = {0, 0, 0, 8, 8}, fourth = {4, 0, 0, 8, 8};
    Picture mask(bits), other(bits);
    const std::string counts[2] = {"(srcImageA->nChannels - (srcImageA->alphaChannel != 0))",
                                   "(dstImage->nChannels - (dstImage->alphaChannel != 0))"};
    // Images of the calls stand as destination, A, B.
    {
        const FaultOf fault{"orvMultiplyScale"};
        auto call = [](OrvImage* const* images) { orvMultiplyScale(images[1], images[2], images[0]); };
        expectFaultsInOrder(
            {spec, spec, spec}, call,
            {fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
             fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
             fault(-18, "Incorrect Image", setField(2, &OrvImage::alphaChannel, 9)),
             fault(-5, "dstImage->depth != 8 && dstImage->depth != 16", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
             fault(-5, "srcImageA->depth != dstImage->depth", setField(1, &OrvImage::depth, ORV_DEPTH_16S)),
             fault(-5, "srcImageB->depth != dstImage->depth", setField(2, &OrvImage::depth, ORV_DEPTH_16U)),
             fault(-5, counts[0] + " != " + counts[1], setField(1, &OrvImage::alphaChannel, 3)),
             fault(-5, "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != " + counts[1],
                   setField(2, &OrvImage::alphaChannel, 3)),
             {"-4 orvAllocateImage for allocate image data\n-4 orvMultiplyScale No working memory\n",
              setMasks(mask, other, 2)}});
        expectFaultsInOrder(
            {spec, spec, spec}, call,
            {fault(-5, counts[1] + " != (srcImageA->roi->coi > 0)", setField(1, &OrvImage::roi, &second))});
        expectFaultsInOrder(
            {spec, spec, spec}, call,
            {fault(-5, counts[0] + " != (dstImage->roi->coi > 0)", setField(0, &OrvImage::roi, &second))});
        PictureSpec alone = {.alpha = 1, .width = 8, .height = 8};
        expectFaultsInOrder(
            {alone, alone, alone}, call,
            {fault(-5, "dstImage->alphaChannel == 1 && dstImage->roi == 0", setField(0, &OrvImage::roi, nullptr)),
             fault(-5, "dstImage->alphaChannel == 1 && dstImage->roi->coi != 1", setField(0, &OrvImage::roi, &whole))});
        Picture a(spec);
        EXPECT_EQ(reportsOf([&] { orvMultiplyScale(nullptr, nullptr, nullptr); }), "-5 orvMultiplyScale dstImage==0\n");
        EXPECT_EQ(reportsOf([&] { orvMultiplyScale(a, nullptr, a); }), "-5 orvMultiplyScale srcImageB==0\n");
        EXPECT_EQ(reportsOf([&] { orvMultiplySScale(nullptr, a, 5); }), "-5 orvMultiplySScale srcImage==0\n");
    }
    {
        const FaultOf fault{"orvPreMultiplyAlpha"};
        PictureSpec four = {.channels = 4, .alpha = 4, .width = 8, .height = 8};
        expectFaultsInOrder(
            {four}, [](OrvImage* const* images) { orvPreMultiplyAlpha(images[0], 256); },
            {fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
             fault(-5, "image->depth != 8 && image->depth != 16", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
             fault(-5, "image->alphaChannel > 0 && image->roi->coi == image->alphaChannel",
                   setField(0, &OrvImage::roi, &fourth))});
        expectFaultsInOrder({four}, [](OrvImage* const* images) { orvPreMultiplyAlpha(images[0], 256); },
                            {fault(-5, "image->alphaChannel < 1", setField(0, &OrvImage::alphaChannel, 0))});
        EXPECT_EQ(reportsOf([&] { orvPreMultiplyAlpha(nullptr, 5); }), "-5 orvPreMultiplyAlpha image==0\n");
    }
    for (bool images : {false, true}) {
        const FaultOf fault{images ? "orvAlphaComposite" : "orvAlphaCompositeC"};
        PictureSpec four = {.channels = 4, .alpha = 4, .width = 8, .height = 8};
        int type = 0, premultiplied = 0, divide = 0;
        auto call = [&](OrvImage* const* p) {
            if (images)
                orvAlphaComposite(p[1], p[2], p[0], type, nullptr, nullptr, p[3], premultiplied, divide);
            else
                orvAlphaCompositeC(p[1], p[2], p[0], type, -1, 256, premultiplied, divide);
            type = premultiplied = divide = 0;
        };
        const std::string alphaOfB = images ? "alphaImageDst->alphaChannel < 1" : "srcImageB->alphaChannel < 1";
        expectFaultsInOrder(
            {four, four, four, four}, call,
            {fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
             fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
             fault(-18, "Incorrect Image", setField(2, &OrvImage::alphaChannel, 9)),
             fault(-5, "dstImage->alphaChannel > 0 && dstImage->roi->coi == dstImage->alphaChannel",
                   setField(0, &OrvImage::roi, &fourth)),
             fault(-5, "srcImageB->alphaChannel > 0 && srcImageB->roi->coi == srcImageB->alphaChannel",
                   setField(2, &OrvImage::roi, &fourth)),
             fault(-5, "dstImage->depth != 8 && dstImage->depth != 16", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
             fault(-5, "srcImageA->depth != dstImage->depth", setField(1, &OrvImage::depth, ORV_DEPTH_16S)),
             fault(-5, "srcImageB->depth != dstImage->depth", setField(2, &OrvImage::depth, ORV_DEPTH_16U)),
             fault(-5, "srcImageA->roi->coi > 0 && dstImage->roi == 0", setField(1, &OrvImage::roi, &second)),
             fault(-5,
                   "compositeType != 0 && compositeType != 1 && compositeType != 2 && compositeType != 3 && "
                   "compositeType != 4 && compositeType != 5",
                   [&](auto) { type = 6; }),
             fault(-5, "premulAlpha != 0 && premulAlpha != 1", [&](auto) { premultiplied = 2; }),
             fault(-5, "divideMode != 0 && divideMode != 1", [&](auto) { divide = -1; })});
        expectFaultsInOrder(
            {four, four, four, four}, call,
            {fault(-5, "dstImage->roi->coi > 0 && srcImageA->roi == 0", setField(0, &OrvImage::roi, &second))});
        auto noRegions = [&](OrvImage* const* p) {
            p[1]->roi = &whole;
            p[0]->roi = &second;
        };
        expectFaultsInOrder({four, four, four, four}, call,
                            {fault(-5, "dstImage->roi->coi > 0 && srcImageA->roi->coi == 0", noRegions)});
        expectFaultsInOrder({four, four, four, four}, call,
                            {fault(-5, counts[0] + " != " + counts[1], setChannels(1, 3, 3)),
                             fault(-5, "(srcImageB->nChannels - (srcImageB->alphaChannel != 0)) != " + counts[1],
                                   setChannels(2, 3, 3))});
        PictureSpec three = {.channels = 3, .width = 8, .height = 8};
        expectFaultsInOrder({four, three, four, four}, call, {fault(-5, "srcImageA->alphaChannel < 1", [](auto) {})});
        expectFaultsInOrder({four, four, three, three}, call, {fault(-5, alphaOfB, [](auto) {})});
        EXPECT_EQ(reportsOf([&] {
                      OrvImage* none[4] = {};
                      call(none);
                  }),
                  "-5 " + fault.function + " dstImage==0\n");
    }
}
