// Comparisons.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

enum Relation { less, greater, equal, near };

// One comparison. `value` and `eps` go to the forms that take them.
struct Member {
    const char* name;
    int sources;
    Relation relation;
    bool integers, floats;
    bool nanPasses;
    int32_t (*call)(OrvImage* const* images, double value, float eps);
};

const Member members[] = {
    {"orvLess", 2, less, true, true, false,
     [](OrvImage* const* i, double, float) { return orvLess(i[0], i[1], i[2]); }},
    {"orvGreater", 2, greater, true, true, false,
     [](OrvImage* const* i, double, float) { return orvGreater(i[0], i[1], i[2]); }},
    {"orvEqual", 2, equal, true, true, false,
     [](OrvImage* const* i, double, float) { return orvEqual(i[0], i[1], i[2]); }},
    {"orvEqualFPEps", 2, near, false, true, true,
     [](OrvImage* const* i, double, float eps) { return orvEqualFPEps(i[0], i[1], i[2], eps); }},
    {"orvLessS", 1, less, true, false, false,
     [](OrvImage* const* i, double value, float) { return orvLessS(i[0], int32_t(value), i[1]); }},
    {"orvGreaterS", 1, greater, true, false, false,
     [](OrvImage* const* i, double value, float) { return orvGreaterS(i[0], int32_t(value), i[1]); }},
    {"orvEqualS", 1, equal, true, false, false,
     [](OrvImage* const* i, double value, float) { return orvEqualS(i[0], int32_t(value), i[1]); }},
    {"orvLessSFP", 1, less, false, true, true,
     [](OrvImage* const* i, double value, float) { return orvLessSFP(i[0], float(value), i[1]); }},
    {"orvGreaterSFP", 1, greater, false, true, true,
     [](OrvImage* const* i, double value, float) { return orvGreaterSFP(i[0], float(value), i[1]); }},
    {"orvEqualSFP", 1, equal, false, true, true,
     [](OrvImage* const* i, double value, float) { return orvEqualSFP(i[0], float(value), i[1]); }},
    {"orvEqualSFPEps", 1, near, false, true, true,
     [](OrvImage* const* i, double value, float eps) { return orvEqualSFPEps(i[0], float(value), i[1], eps); }},
};

bool takes(const Member& member, uint32_t depth)
{
    return depth == ORV_DEPTH_32F ? member.floats : member.integers;
}

bool holds(const Member& member, double a, double b, float eps)
{
    if (std::isnan(a) || std::isnan(b) || (member.relation == near && std::isnan(a - b)))
        return member.nanPasses;
    switch (member.relation) {
    case less: return a < b;
    case greater: return a > b;
    case equal: return a == b;
    default: return std::abs(a - b) < eps;
    }
}

Rule ruleOf(const Member& member, uint32_t depth, double value, float eps)
{
    return [&member, depth, value, eps](uint32_t a, uint32_t b) {
        return uint32_t(holds(member, numberOf(depth, a), member.sources == 2 ? numberOf(depth, b) : value, eps));
    };
}

std::string outOfMemory(const Member& member)
{
    return std::string("-4 ") + member.name + " Allocation failure\n";
}

// Scalars about which values of a depth lie on both sides, and such as lie outside its range.
std::vector<double> scalarsOf(const Member& member, uint32_t depth)
{
    if (member.sources == 2)
        return {0};
    if (depth == ORV_DEPTH_1U)
        return {0, 1, 2, -1};
    return {30, -1e9, 1e9};
}

// Everything at once: tiles that do not meet, three masks, and one of these with a mask of its own.
struct Busy {
    static constexpr int width = 36, height = 29;

    Busy() { maskB->maskROI = maskOfMask; }
    int32_t less() { return orvLess(a, b, d); }
    bool get(int x, int y) const { return d.raw(6 + x, 2 + y) != 0; }
    bool isMasked(int x, int y) const
    {
        return maskA.raw(3 + x, 1 + y) && maskB.raw(x, y) && maskOfMask.raw(x, y) && maskD.raw(x, y);
    }

    TileLog log;
    Picture maskOfMask{{.depth = ORV_DEPTH_1U, .width = 41, .height = 30, .seed = 13}};
    Picture maskA{{.depth = ORV_DEPTH_1U, .width = 40, .height = 30, .roi = OrvROI{0, 3, 1, width, 29}, .seed = 11}};
    Picture maskB{{.depth = ORV_DEPTH_1U, .width = 41, .height = 30, .seed = 12}};
    Picture maskD{{.depth = ORV_DEPTH_1U, .width = 48, .height = 30, .seed = 14}};
    Picture a{{.width = 48, .height = 40, .mask = maskA, .tileWidth = 16, .tileHeight = 8, .log = &log}};
    Picture b{{.width = 48,
               .height = 40,
               .roi = OrvROI{0, 5, 3, 40, 36},
               .mask = maskB,
               .tileWidth = 24,
               .tileHeight = 16,
               .seed = 2,
               .log = &log}};
    Picture d{{.depth = ORV_DEPTH_1U,
               .width = 50,
               .height = 40,
               .roi = OrvROI{0, 6, 2, 44, 36},
               .mask = maskD,
               .tileWidth = 16,
               .tileHeight = 16,
               .log = &log}};
};

// A fault and what is returned for it.
struct Refusal {
    const char* report;  // without the function's name
    int32_t returned;
    std::function<void(OrvImage* const* images)> make;
};

}  // namespace

TEST(Compare, IsAsTheModelInEveryLayout)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths) {
            if (!takes(member, depth))
                continue;
            for (double value : scalarsOf(member, depth)) {
                SCOPED_TRACE("value " + std::to_string(value));
                float eps = 50;
                Operation operation = {.name = member.name, .sources = member.sources, .sourceDepth = depth};
                operation.resultDepth = ORV_DEPTH_1U;
                operation.rule = ruleOf(member, depth, value, eps);
                operation.call = [&](OrvImage* const* images) {
                    int32_t returned = member.call(images, value, eps);
                    EXPECT_EQ(returned, orvGetErrStatus());
                };
                operation.test = true;
                operation.fits = [&](const Layout& layout) {
                    const PictureSpec& first = layout.images[0].spec;
                    const PictureSpec& second = layout.images[size_t(member.sources) - 1].spec;
                    return first.order == second.order && first.origin == second.origin;
                };
                operation.inPlace = false;
                operation.padding = false;
                operation.walk = [&](const Scene& scene) { return leadingWalk(scene, outOfMemory(member)); };
                operation.cases = member.relation == less ? 48 : 16;
                operation.seed = depth * 37 + uint64_t(&member - members);
                runMatrix(operation);
                if (HasFailure())
                    return;
            }
        }
}

// Pairs around the ends of all ranges, NaN and infinities among them.
TEST(Compare, TellsExactly)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths) {
            if (!takes(member, depth))
                continue;
            // Scalars are telling values of the widest type, most of which lie outside the range of a narrow depth.
            bool real = depth == ORV_DEPTH_32F;
            std::vector<uint32_t> values = telling(depth);
            std::vector<uint32_t> others = member.sources == 2 ? values : telling(real ? depth : ORV_DEPTH_32S);
            for (uint32_t top : {0x7Fu, 0xFFu, 0x7FFFu, 0xFFFFu})
                for (uint32_t around : {0u, 1u, ~0u, ~top * 2, ~top * 2 + 1, ~top * 2 + 2})
                    if (member.sources == 1 && !real)
                        others.push_back(top + around);
            PictureSpec spec = {.depth = depth, .width = 256, .height = 1};
            Picture a(spec), b(spec), d({.depth = ORV_DEPTH_1U, .width = 256, .height = 1});
            a.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
            OrvImage* const pair[] = {a, b, d};
            OrvImage* const one[] = {a, d};
            const float tolerances[] = {1e-45f, 1.0f / 16, 1e38f, INFINITY};
            for (float eps : tolerances) {
                if (member.relation != near && eps != tolerances[0])
                    continue;
                for (uint32_t other : others) {
                    double value = numberOf(real ? depth : member.sources == 2 ? depth : ORV_DEPTH_32S, other);
                    b.fillRaw([&](int, int, int) { return other; });
                    ASSERT_EQ(member.call(member.sources == 2 ? pair : one, value, eps), 0);
                    for (int x = 0; x < 256; ++x)
                        ASSERT_EQ(d.raw(x, 0), uint32_t(holds(member, a.get(x, 0), value, eps)))
                            << member.name << ' ' << depthName(depth) << ' ' << a.get(x, 0) << ' ' << value << ' '
                            << eps;
                }
            }
        }
}

// One pixel that is told apart by one channel, which a channel of interest or alpha may hide.
TEST(Compare, LooksAtProcessedChannels)
{
    Picture a({.channels = 4, .alpha = 4, .width = 1}), b({.channels = 4, .alpha = 4, .width = 1}),
        d({.depth = ORV_DEPTH_1U, .width = 6, .roi = OrvROI{0, 5, 0, 1, 1}});
    a.fill([](int, int, int c) { return c + 1; });
    b.fill([](int, int, int c) { return c + 1 + (c == 3); });
    d.fill([](int, int, int) { return 0; });
    EXPECT_EQ(orvEqual(a, b, d), 0);
    EXPECT_EQ(d.bytes()[0] & 0xFC, 4);
    b.set(0, 0, 2, 4);
    EXPECT_EQ(orvEqual(a, b, d), 0);
    EXPECT_EQ(d.bytes()[0] & 0xFC, 0);
    OrvROI second = {2, 0, 0, 1, 1};
    a->roi = b->roi = &second;
    EXPECT_EQ(orvEqual(a, b, d), 0);
    EXPECT_EQ(d.bytes()[0] & 0xFC, 4);
}

// What is returned is not always what is reported.
TEST(Compare, ChecksInOrder)
{
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(bits), flat(bits), alone(bits);
    flat->height = 0;
    alone->alphaChannel = 1;
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        uint32_t depth = member.floats ? ORV_DEPTH_32F : ORV_DEPTH_8U;
        float eps = 0.5f;
        int last = member.sources;
        std::vector<Refusal> refusals = {
            {"-10  Incorrect Image", -10, [](OrvImage* const* images) { images[0]->width = 0; }},
            {"-110  Incorrect Image", -110, [&](OrvImage* const* images) { images[last]->maskROI = flat; }},
            {"-5 (res->depth!=ORV_DEPTH_1U)", -17,
             [&](OrvImage* const* images) { images[last]->depth = ORV_DEPTH_8U; }},
        };
        auto add = [&](bool applies, const Refusal& refusal) {
            if (applies)
                refusals.push_back(refusal);
        };
        add(last == 2,
            {"-5 (img1->depth!=img2->depth)", -17, [](OrvImage* const* images) { images[1]->depth = ORV_DEPTH_8S; }});
        add(last == 1, {member.floats ? "-5 (img->depth!=ORV_DEPTH_32F)" : "-5 (img->depth==ORV_DEPTH_32F)", -17,
                        [&](OrvImage* const* images) { images[0]->depth = depth ^ ORV_DEPTH_8U ^ ORV_DEPTH_32F; }});
        add(last == 2,
            {"-5 (img1->dataOrder!=img2->dataOrder)", -19, [](OrvImage* const* images) { images[0]->dataOrder = 1; }});
        add(last == 2,
            {"-5 (img1->origin!=img2->origin)", -20, [](OrvImage* const* images) { images[1]->origin = 1; }});
        add(last == 2 && member.relation == near,
            {"-5 ((img1->depth!= ORV_DEPTH_32F)|| (img2->depth!= ORV_DEPTH_32F))", -17,
             [](OrvImage* const* images) { images[0]->depth = images[1]->depth = ORV_DEPTH_32S; }});
        add(member.relation == near, {"-5 (eps<=0.)", -5, [&](OrvImage* const*) { eps = -0.0f; }});
        for (int i = 0; i < last; ++i)
            add(true, {"-18 bad alpha channel's number", -18,
                       [i](OrvImage* const* images) { images[i]->nChannels = images[i]->alphaChannel = 1; }});
        add(last == 2, {"-15 bad channel's number", -15, [](OrvImage* const* images) {
                            images[1]->nChannels = 2;
                            images[1]->alphaChannel = 0;
                        }});
        add(true,
            {"-18 bad alpha channel's number", -5, [&](OrvImage* const* images) { images[last]->alphaChannel = 1; }});
        for (int i = 0; i <= last; ++i)
            add(true, {"-18 bad alpha channel's number", -18,
                       [&alone, i](OrvImage* const* images) { images[i]->maskROI = alone; }});
        add(true, {"-4 Allocation failure", -4, [&](OrvImage* const* images) {
                       images[0]->maskROI = mask;
                       testheap::refuse(1);
                   }});

        std::vector<Fault> faults;
        for (const Refusal& refusal : refusals) {
            std::string report = refusal.report;
            faults.push_back({report.insert(report.find(' '), std::string(" ") + member.name) + '\n', refusal.make});
        }
        std::vector<PictureSpec> specs(size_t(last), {.depth = depth, .width = 8, .height = 8});
        specs.push_back({.depth = ORV_DEPTH_1U, .width = 8, .height = 8});
        auto refusal = refusals.begin();
        auto call = [&](OrvImage* const* images) {
            EXPECT_EQ(member.call(images, 3, eps), refusal->returned) << refusal->report;
            eps = 0.5f;
            ++refusal;
        };
        expectFaultsInOrder(specs, call, faults);
        OrvImage* const none[] = {nullptr, nullptr, nullptr};
        EXPECT_EQ(reportsOf([&] { EXPECT_EQ(member.call(none, 0, 1), -9); }),
                  std::string("-9 ") + member.name + "  Incorrect Image\n");
    }
}

// A result that is a source is found after the depths and before what else is wrong with the sources.
TEST(Compare, RefusesToWorkInPlace)
{
    Picture a({.depth = ORV_DEPTH_1U}), b({.depth = ORV_DEPTH_1U, .alpha = 1, .order = 1, .origin = 1}), c({});
    auto expect = [](int32_t returned, const std::string& report, const std::function<int32_t()>& call) {
        EXPECT_EQ(reportsOf([&] { EXPECT_EQ(call(), returned) << report; }), report);
    };
    for (OrvImage* res : {&a.image, &b.image})
        expect(-5, "-5 orvEqual (img1==res || img2==res)\n", [&] { return orvEqual(a, b, res); });
    expect(-17, "-5 orvGreater (img1->depth!=img2->depth)\n", [&] { return orvGreater(a, c, a); });
    expect(-5, "-5 orvLessS (img==res)\n", [&] { return orvLessS(b, 1, b); });
    expect(-17, "-5 orvLessSFP (img->depth!=ORV_DEPTH_32F)\n", [&] { return orvLessSFP(b, 1, b); });
}

TEST(Compare, CombinesMasksAndTheirMasks)
{
    Reports reports;
    orvSetErrStatus(ORV_STATUS_ERROR);
    Busy before, busy;
    EXPECT_EQ(busy.less(), 0);
    for (int y = 0; y < Busy::height; ++y)
        for (int x = 0; x < Busy::width; ++x)
            ASSERT_EQ(busy.get(x, y),
                      busy.isMasked(x, y) ? busy.a.get(x, y) < busy.b.get(5 + x, 3 + y) : before.get(x, y))
                << x << ' ' << y;
    EXPECT_EQ(reports.take(), "");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);

    // An old failure does not stop the copy of one mask; nor does it matter that the mask is the result.
    Picture a({.width = 50}), d({.depth = ORV_DEPTH_1U, .width = 50}), old({.depth = ORV_DEPTH_1U, .width = 50});
    d->maskROI = nullptr;
    a->maskROI = d;
    EXPECT_EQ(orvGreaterS(a, 99, d), 0);
    for (int x = 0; x < 50; ++x)
        EXPECT_EQ(d.raw(x, 0), old.raw(x, 0) && a.get(x, 0) > 99);
    EXPECT_EQ(reports.take(), "");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);
}

TEST(Compare, OutlivesRefusedMemory)
{
    Busy before, expected;
    EXPECT_EQ(expected.less(), 0);
    for (int n = 1;; ++n) {
        SCOPED_TRACE(n);
        Busy busy;
        Reports reports;
        int blocks = testheap::blocks();
        testheap::refuse(n);
        int32_t returned = busy.less();
        bool refused = testheap::refused();
        testheap::refuse(0);
        EXPECT_EQ(testheap::blocks(), blocks);
        EXPECT_EQ(busy.a.faults() + busy.b.faults() + busy.d.faults(), "");
        if (!refused) {
            EXPECT_GT(n, 4);
            EXPECT_EQ(returned, 0);
            EXPECT_TRUE(busy.d.bytes() == expected.d.bytes());
            break;
        }
        ASSERT_EQ(returned, ORV_STATUS_NO_MEMORY);
        EXPECT_TRUE(reports.take().ends_with("-4 orvLess Allocation failure\n"));
        EXPECT_EQ(busy.d.openTiles(), 0);
        if (n <= 2) {
            EXPECT_TRUE(busy.d.bytes() == before.d.bytes()) << "the masks come first";
            EXPECT_TRUE(busy.log.calls.empty());
        }
    }
}
