// Remapping against samples at the positions that the maps tell.
#include <gtest/gtest.h>

#include <cmath>

#include "checks.h"
#include "model.h"
#include "naivesample.h"
#include "refusals.h"

namespace {

// Positions about an area: smooth, at random, or of the kinds that need care.
double randomPosition(Random& random, int start, int size)
{
    const double ends[] = {double(start), double(start + size - 1)};
    switch (random.below(12)) {
    case 0: return ends[random.below(2)];
    case 1: return double(std::nextafterf(float(ends[0]), -1e9f));
    case 2: return double(std::nextafterf(float(ends[1]), 1e9f));
    case 3: return -0.0;
    case 4: return NAN;
    case 5: return random.below(2) ? INFINITY : -1e30;
    case 6: return start + random.below(size) + 0.5;
    case 7: return start + random.below(size) - 1e-7;
    default: return start + (random.below(1 << 16) / 65536.0 * 1.2 - 0.1) * size;
    }
}

bool isTold(double position, int start, int size)
{
    return position >= start && position <= start + size - 1;
}

constexpr int methods[] = {ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC};

}  // namespace

TEST(Remap, SamplesWhereTheMapsTellInEveryLayout)
{
    Random random(21);
    const uint32_t depths[] = {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32F};
    for (int round = 0; round < 800 && !testing::Test::HasFailure(); ++round) {
        const uint32_t depth = depths[random.below(4)];
        const int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 6);
        const int width = random.below(8) ? random.between(1, 40) : random.between(60, 150);
        const int height = random.between(1, 40);
        Layout layout = {
            {{randomPictureSpec(random, depth, count, random.between(1, 30), random.between(1, 30)), 0, {}, 0}}};
        for (int i = 1; i <= 2; ++i) {
            PictureSpec map = randomPictureSpec(random, ORV_DEPTH_32F, 1, width, height);
            map.channels = 1;
            map.alpha = 0;
            if (map.roi)
                map.roi->coi = random.below(2);
            layout.images.push_back({map, i, {}, i});
        }
        layout.images.push_back({randomPictureSpec(random, depth, count, width, height), 3, {}, 3});
        layout.images[3].spec.order = layout.images[0].spec.order;
        layout.images[3].spec.origin = layout.images[0].spec.origin;
        Scene scene(layout);
        const Area from = areaOf(*scene.images[0]);
        if (from.width < 1 || from.height < 1)
            continue;
        if (depth == ORV_DEPTH_32F)
            scene.images[0]->fill([](int x, int y, int c) { return (x * 37 + y * 101 + c * 13) % 257 / 8.0 - 9; });
        scene.images[1]->fill([&](int, int, int) { return randomPosition(random, from.x, from.width); });
        scene.images[2]->fill([&](int, int, int) { return randomPosition(random, from.y, from.height); });
        const int method = methods[random.below(3)];
        SCOPED_TRACE(testing::Message() << round << ": method " << method << layout.text());
        const Area xs = areaOf(*scene.images[1]), ys = areaOf(*scene.images[2]), to = areaOf(scene.destination());
        const int smallestWidth = std::min({xs.width, ys.width, to.width});
        const int smallestHeight = std::min({xs.height, ys.height, to.height});
        expectSampled(
            scene, method, smallestWidth, smallestHeight,
            [&](OrvImage* const* images) {
                orvRemap(images[0], images[1], images[2], images[3], method | (round % 2 ? ORV_BLEND_EDGE : 0));
            },
            [&](int i, int j) {
                const double x = scene.images[1]->get(xs.x + i, xs.y + j), y = scene.images[2]->get(ys.x + i, ys.y + j);
                if (!isTold(x, from.x, from.width) || !isTold(y, from.y, from.height))
                    return Expected{Written::no, {0, 0}};
                return Expected{Written::yes, {x, y, 0}};
            });
    }
}

TEST(Remap, OfTheIdentityIsTheSource)
{
    PictureSpec spec = {.channels = 3, .width = 70, .height = 9},
                map = {.depth = ORV_DEPTH_32F, .width = 70, .height = 9};
    Picture src(spec), xMap(map), yMap(map);
    xMap.fill([](int x, int, int) { return x; });
    yMap.fill([](int, int y, int) { return y; });
    spec.seed = 2;
    for (int method : methods) {
        Picture dst(spec);
        orvRemap(src, xMap, yMap, dst, method);
        EXPECT_EQ(dst.values(), src.values()) << method;
    }
}

TEST(Remap, ChecksInTheirOrder)
{
    const std::string method =
        "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC";
    int interpolate = ORV_INTER_NN;
    auto call = [&](OrvImage* const* images) {
        orvRemap(images[0], images[1], images[2], images[3], std::exchange(interpolate, ORV_INTER_NN));
    };
    auto setMethod = [&](int bad) { return [&interpolate, bad](auto) { interpolate = bad; }; };
    const PictureSpec spec = {.channels = 3, .width = 9, .height = 9},
                      map = {.depth = ORV_DEPTH_32F, .width = 9, .height = 9};
    const FaultOf fault{"orvRemap"};
    OrvROI away = {0, 9, 0, 5, 5};
    expectFaultsInOrder({spec, map, map, spec}, call,
                        {
                            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
                            fault(-10, "Incorrect Image", setField(3, &OrvImage::width, 0)),
                            fault(-10, "Incorrect Image", setField(1, &OrvImage::height, 0)),
                            fault(-10, "Incorrect Image", setField(2, &OrvImage::height, 0)),
                        });
    // Faults that fit together are reported one after the other.
    const std::string xMap = "xMap->depth != ORV_DEPTH_32F || xMap->nChannels != 1 || xMap->alphaChannel != 0";
    const std::string yMap = "yMap->depth != ORV_DEPTH_32F || yMap->nChannels != 1 || yMap->alphaChannel != 0";
    expectFaultsInOrder(
        {spec, map, map, spec}, call,
        {{"-5 orvRemap srcImage->depth != dstImage->depth\n-5 orvRemap srcImage->origin != dstImage->origin\n"
          "-5 orvRemap srcImage->dataOrder != dstImage->dataOrder\n-5 orvRemap (srcImage->depth & ORV_DEPTH_SIGN)\n"
          "-5 orvRemap " +
              xMap + "\n-5 orvRemap " + yMap + "\n",
          [](OrvImage* const* images) {
              images[0]->depth = ORV_DEPTH_8S;
              images[0]->origin = ORV_ORIGIN_BL;
              images[0]->dataOrder = ORV_DATA_ORDER_PLANE;
              images[1]->depth = ORV_DEPTH_32S;
              images[2]->alphaChannel = 1;
          }}});
    expectFaultsInOrder(
        {spec, map, map, spec}, call,
        {
            fault(-5, method, setMethod(ORV_INTER_SUPER)),
            fault(-5, method, setMethod(-1)),
            {"", setField(0, &OrvImage::roi, &away)},
            {"", setField(2, &OrvImage::roi, &away)},
            fault(-5, "Number of processed channels of srcImage != Number of processed channels of dstImage",
                  setChannels(0, 2, 0)),
        });
    Picture picture(spec), xs(map), ys(map);
    EXPECT_EQ(reportsOf([&] { orvRemap(picture, xs, ys, picture, 0); }),
              "-5 orvRemap This function is not in-place function\n");
    Picture target(spec);
    const std::vector<uint8_t> before = target.bytes();
    EXPECT_EQ(reportsOf([&] {
                  orvSetErrStatus(-7);
                  orvRemap(picture, xs, ys, target, 0);
              }),
              "");
    EXPECT_EQ(target.bytes(), before);
    EXPECT_EQ(reportsOf([&] { orvRemap(picture, xs, nullptr, picture, 0); }), "-9 orvRemap Incorrect Image\n");
}

TEST(Remap, OpensTiles)
{
    TileLog log;
    auto tiled = [&](const char* name, uint32_t depth) {
        return PictureSpec{
            .depth = depth, .width = 12, .height = 8, .tileWidth = 8, .tileHeight = 8, .name = name, .log = &log};
    };
    Picture src(tiled("S", ORV_DEPTH_8U)), dst(tiled("D", ORV_DEPTH_8U));
    Picture xMap(tiled("X", ORV_DEPTH_32F)), yMap(tiled("Y", ORV_DEPTH_32F));
    auto calls = [&](int refuse) {
        log.calls.clear();
        log.refuse = refuse;
        std::string told = reportsOf([&] { orvRemap(src, xMap, yMap, dst, ORV_INTER_NN); });
        return log.text() + told;
    };
    const std::string source = "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\n";
    const std::string first = "D write 0 0\nX read 0 0\nX release 0 0\nY read 0 0\nY release 0 0\nD release 0 0\n";
    const std::string second = "D write 1 0\nX read 1 0\nX release 1 0\nY read 1 0\nY release 1 0\nD release 1 0\n";
    EXPECT_EQ(calls(0), source + first + second);
    EXPECT_EQ(calls(2), "S read 0 0\nS read 1 0\n-1 orvRemap \n");
    EXPECT_EQ(calls(3), source + "D write 0 0\n-2 orvRemap Error get tile to write\n");
    EXPECT_EQ(calls(5), source + "D write 0 0\nX read 0 0\nX release 0 0\nY read 0 0\nD release 0 0\n-1 orvRemap \n");
}

TEST(Remap, LosesNothingWhereMemoryOrATileIsRefused)
{
    const PictureSpec spec = {.channels = 3, .width = 30, .height = 20, .tileWidth = 8, .tileHeight = 8},
                      map = {.depth = ORV_DEPTH_32F, .width = 30, .height = 20, .tileWidth = 16, .tileHeight = 8};
    const Operation operation = {.name = "orvRemap", .sources = 3, .call = [](OrvImage* const* images) {
                                     orvRemap(images[0], images[1], images[2], images[3], ORV_INTER_CUBIC);
                                 }};
    PictureSpec dst = spec;
    dst.seed = 2;
    EXPECT_TRUE(expectNothingLost(operation, {{{spec, 0, {}, 0}, {map, 1, {}, 1}, {map, 2, {}, 2}, {dst, 3, {}, 3}}}));
}
