// Comparisons.
#include <gtest/gtest.h>

#include <cmath>
#include <utility>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

enum Relation { less, greater, equal, near };
enum Depths { all, integers, floats };

using Images = OrvImage* const*;

// One comparison. `value` and `eps` go to the forms that take them.
struct Member {
    const char* name;
    int sources;
    Relation relation;
    Depths depths;  // a NaN passes in forms for floats alone
    int32_t (*call)(Images images, double value, float eps);
};

const Member members[] = {
    {"orvLess", 2, less, all, [](Images i, double, float) { return orvLess(i[0], i[1], i[2]); }},
    {"orvGreater", 2, greater, all, [](Images i, double, float) { return orvGreater(i[0], i[1], i[2]); }},
    {"orvEqual", 2, equal, all, [](Images i, double, float) { return orvEqual(i[0], i[1], i[2]); }},
    {"orvEqualFPEps", 2, near, floats,
     [](Images i, double, float eps) { return orvEqualFPEps(i[0], i[1], i[2], eps); }},
    {"orvLessS", 1, less, integers, [](Images i, double v, float) { return orvLessS(i[0], int32_t(v), i[1]); }},
    {"orvGreaterS", 1, greater, integers,
     [](Images i, double v, float) { return orvGreaterS(i[0], int32_t(v), i[1]); }},
    {"orvEqualS", 1, equal, integers, [](Images i, double v, float) { return orvEqualS(i[0], int32_t(v), i[1]); }},
    {"orvLessSFP", 1, less, floats, [](Images i, double v, float) { return orvLessSFP(i[0], float(v), i[1]); }},
    {"orvGreaterSFP", 1, greater, floats,
     [](Images i, double v, float) { return orvGreaterSFP(i[0], float(v), i[1]); }},
    {"orvEqualSFP", 1, equal, floats, [](Images i, double v, float) { return orvEqualSFP(i[0], float(v), i[1]); }},
    {"orvEqualSFPEps", 1, near, floats,
     [](Images i, double v, float eps) { return orvEqualSFPEps(i[0], float(v), i[1], eps); }},
};

void forEveryDepth(const std::function<void(const Member& member, uint32_t depth)>& body)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths)
            if (member.depths == all || (member.depths == floats) == (depth == ORV_DEPTH_32F)) {
                body(member, depth);
                if (testing::Test::HasFailure())
                    return;
            }
}

bool holds(const Member& member, double a, double b, float eps)
{
    if (std::isnan(a) || std::isnan(b) || (member.relation == near && std::isnan(a - b)))
        return member.depths == floats;
    switch (member.relation) {
    case less: return a < b;
    case greater: return a > b;
    case equal: return a == b;
    default: return std::abs(a - b) < eps;
    }
}

Operation operationOf(const Member& member, uint32_t depth, double value)
{
    constexpr float eps = 50;
    Operation operation = {.name = member.name, .sources = member.sources, .sourceDepth = depth};
    operation.resultDepth = ORV_DEPTH_1U;
    operation.rule = [&member, depth, value](uint32_t a, uint32_t b) {
        return uint32_t(holds(member, numberOf(depth, a), member.sources == 2 ? numberOf(depth, b) : value, eps));
    };
    operation.call = [&member, value](Images images) {
        int32_t returned = member.call(images, value, eps);
        EXPECT_EQ(returned, orvGetErrStatus());
    };
    operation.test = true;
    operation.fits = [&member](const Layout& layout) {
        const PictureSpec& first = layout.images[0].spec;
        const PictureSpec& second = layout.images[size_t(member.sources) - 1].spec;
        return first.order == second.order && first.origin == second.origin;
    };
    operation.inPlace = false;
    operation.padding = false;
    operation.walk = [&member](const Scene& scene) {
        return leadingWalk(scene, std::string("-4 ") + member.name + " Allocation failure\n");
    };
    bool isConstant = std::abs(value) == 1e9;
    operation.cases = member.relation == less && !isConstant ? 48 : 16;
    operation.seed = depth * 37 + uint64_t(&member - members);
    return operation;
}

// Tiles that do not meet, under three masks.
Layout busyLayout()
{
    Layout layout;
    for (int i = 0; i < 3; ++i) {
        PictureSpec spec = {.width = 50, .height = 40, .tileWidth = 16 + 8 * (i % 2), .tileHeight = 8 << i};
        spec.depth = i == 2 ? ORV_DEPTH_1U : ORV_DEPTH_8U;
        spec.roi = OrvROI{0, 3 * i, 2 * i, 44, 36};
        spec.seed = uint64_t(i + 1);
        PictureSpec mask = {.depth = ORV_DEPTH_1U, .width = 40 + i, .height = 30, .seed = uint64_t(i + 10)};
        layout.images.push_back({spec, i, mask, i});
    }
    layout.images[2].mask->roi = OrvROI{0, 3, 1, 36, 29};
    return layout;
}

}  // namespace

TEST(Compare, IsAsTheModelInEveryLayout)
{
    forEveryDepth([](const Member& member, uint32_t depth) {
        // Scalars about which values of the depth lie on both sides, and such as lie outside its range.
        std::vector<double> scalars = {30, -1e9, 1e9};
        if (depth == ORV_DEPTH_1U)
            scalars = {0, 1, 2, -1};
        if (member.sources == 2)
            scalars = {0};
        for (double value : scalars) {
            SCOPED_TRACE("value " + std::to_string(value));
            runMatrix(operationOf(member, depth, value));
        }
    });
}

// Pairs around the ends of all ranges, NaN and infinities among them.
TEST(Compare, TellsExactly)
{
    forEveryDepth([](const Member& member, uint32_t depth) {
        bool pair = member.sources == 2;
        // Scalars are telling values of the widest type, most of which lie outside the range of a narrow depth.
        uint32_t otherDepth = pair || depth == ORV_DEPTH_32F ? depth : ORV_DEPTH_32S;
        std::vector<uint32_t> values = telling(depth), others = telling(otherDepth);
        for (uint32_t top : {0x7Fu, 0xFFu, 0x7FFFu, 0xFFFFu})
            for (uint32_t around : {0u, 1u, ~0u, ~top * 2, ~top * 2 + 1, ~top * 2 + 2})
                if (otherDepth == ORV_DEPTH_32S)
                    others.push_back(top + around);
        Picture a({.depth = depth, .width = 256}), b({.depth = depth, .width = 256}),
            d({.depth = ORV_DEPTH_1U, .width = 256});
        OrvImage* const images[] = {a, pair ? b : d, d};
        a.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
        for (float eps : member.relation == near ? std::vector{1e-45f, 1.0f / 16, 1e38f, INFINITY} : std::vector{1.0f})
            for (uint32_t other : others) {
                double value = numberOf(otherDepth, other);
                b.fillRaw([&](int, int, int) { return other; });
                ASSERT_EQ(member.call(images, value, eps), 0);
                for (int x = 0; x < 256; ++x)
                    ASSERT_EQ(d.raw(x, 0), uint32_t(holds(member, a.get(x, 0), value, eps)))
                        << member.name << ' ' << depthName(depth) << ' ' << a.get(x, 0) << ' ' << value << ' ' << eps;
            }
    });
}

// What is returned is not always what is reported.
TEST(Compare, ChecksInOrder)
{
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(bits), flat(bits), alone(bits);
    flat->height = 0;
    alone->alphaChannel = 1;
    const char* const badAlpha = "bad alpha channel's number";
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        int last = member.sources;
        bool one = last == 1, two = last == 2, isNear = member.relation == near, isInteger = member.depths == integers;
        uint32_t depth = isInteger ? ORV_DEPTH_8U : ORV_DEPTH_32F,
                 otherDepth = isInteger ? ORV_DEPTH_32F : ORV_DEPTH_8U;
        float eps = 0.5f;
        const FaultOf fault{member.name};
        std::vector<Fault> faults;
        auto add = [&](bool applies, int32_t status, const char* context, int32_t returned, const FaultMaker& make) {
            if (applies)
                faults.push_back(fault(status, context, make, returned));
        };
        add(true, -10, " Incorrect Image", -10, setField(0, &OrvImage::width, 0));
        add(true, -110, " Incorrect Image", -110, setField(last, &OrvImage::maskROI, &flat.image));
        add(true, -5, "(res->depth!=ORV_DEPTH_1U)", -17, setField(last, &OrvImage::depth, ORV_DEPTH_8U));
        add(two, -5, "(img1->depth!=img2->depth)", -17, setField(1, &OrvImage::depth, ORV_DEPTH_8S));
        add(one, -5, isInteger ? "(img->depth==ORV_DEPTH_32F)" : "(img->depth!=ORV_DEPTH_32F)", -17,
            setField(0, &OrvImage::depth, otherDepth));
        add(two, -5, "(img1->dataOrder!=img2->dataOrder)", -19, setField(0, &OrvImage::dataOrder, 1));
        add(two, -5, "(img1->origin!=img2->origin)", -20, setField(1, &OrvImage::origin, 1));
        add(two && isNear, -5, "((img1->depth!= ORV_DEPTH_32F)|| (img2->depth!= ORV_DEPTH_32F))", -17,
            [](Images images) { images[0]->depth = images[1]->depth = ORV_DEPTH_32S; });
        add(isNear, -5, "(eps<=0.)", -5, [&](Images) { eps = -0.0f; });
        add(true, -18, badAlpha, -18, setChannels(0, 1, 1));
        add(two, -18, badAlpha, -18, setChannels(1, 1, 1));
        add(two, -15, "bad channel's number", -15, setChannels(1, 2, 0));
        add(true, -18, badAlpha, -5, setChannels(last, 1, 1));
        for (int i = 0; i <= last; ++i)
            add(true, -18, badAlpha, -18, setField(i, &OrvImage::maskROI, &alone.image));
        add(true, -4, "Allocation failure", -4, setMasks(mask, nullptr, 1));
        std::vector<PictureSpec> specs(size_t(last), {.depth = depth, .width = 8, .height = 8});
        specs.push_back({.depth = ORV_DEPTH_1U, .width = 8, .height = 8});
        expectFaultsInOrder(
            specs, [&](Images images) { return member.call(images, 3, std::exchange(eps, 0.5f)); }, faults);
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

// Masks with masks of their own, which may have one too, are combined, whatever failed before, and whichever allocation
// is refused.
TEST(Compare, CombinesMasksAndTheirMasks)
{
    Layout layout = busyLayout();
    auto maskOf = [](OrvImage* mask, uint64_t seed, std::optional<OrvROI> roi) {
        return PictureSpec{.depth = ORV_DEPTH_1U, .width = 41, .height = 30, .roi = roi, .mask = mask, .seed = seed};
    };
    Picture deepest(maskOf(nullptr, 13, {})),
        outer[] = {Picture(maskOf(nullptr, 14, {})), Picture(maskOf(deepest, 15, {})),
                   Picture(maskOf(nullptr, 16, OrvROI{0, 5, 2, 30, 26}))};
    Scene before(layout), expected(layout);
    // The bits of a mask under another, both counted from their regions' starts; behind the other's end they are clear.
    auto cut = [](Picture& mask, const Picture& own) {
        Area a = areaOf(mask), b = areaOf(own);
        for (int y = 0; y < a.height; ++y)
            for (int x = 0; x < a.width; ++x)
                if (x >= b.width || y >= b.height || !own.raw(b.x + x, b.y + y))
                    mask.setRaw(a.x + x, a.y + y, 0, 0);
    };
    for (size_t i : {0, 1, 2})
        cut(*expected.masks[i], outer[i]);
    cut(*expected.masks[1], deepest);
    applyModel(operationOf(members[0], ORV_DEPTH_8U, 0), expected, commonArea(expected));
    bool refused = true;
    for (int n = 1; refused; ++n) {
        SCOPED_TRACE("allocation " + std::to_string(n));
        Scene scene(layout);
        for (size_t i : {0, 1, 2})
            scene.masks[i]->image.maskROI = outer[i];
        Reports reports;
        orvSetErrStatus(ORV_STATUS_ERROR);
        int blocks = testheap::blocks();
        testheap::refuse(n);
        int32_t returned = orvLess(*scene.images[0], *scene.images[1], *scene.images[2]);
        refused = testheap::refused();
        testheap::refuse(0);
        EXPECT_EQ(testheap::blocks(), blocks);
        EXPECT_EQ(scene.faults(), "");
        EXPECT_EQ(scene.openTiles(), 0);
        ASSERT_EQ(returned, refused ? ORV_STATUS_NO_MEMORY : ORV_STATUS_OK);
        std::vector<uint8_t> result = scene.destination().bytes();
        if (!refused) {
            EXPECT_GT(n, 6);
            EXPECT_EQ(reports.take(), "");
            EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);
            EXPECT_TRUE(result == expected.destination().bytes());
        } else {
            EXPECT_TRUE(reports.take().ends_with("-4 orvLess Allocation failure\n"));
            bool masksCome = n <= 2;  // before all else
            EXPECT_TRUE(!masksCome || (scene.log.calls.empty() && result == before.destination().bytes()));
        }
    }
}

// Nor does an old failure stop the copy of one mask, which may be the result.
TEST(Compare, TakesTheResultForAMask)
{
    Reports reports;
    orvSetErrStatus(ORV_STATUS_ERROR);
    Picture a({.width = 50}), d({.depth = ORV_DEPTH_1U, .width = 50}), old({.depth = ORV_DEPTH_1U, .width = 50});
    a->maskROI = d;
    EXPECT_EQ(orvGreaterS(a, 99, d), 0);
    for (int x = 0; x < 50; ++x)
        EXPECT_EQ(d.raw(x, 0), old.raw(x, 0) && a.get(x, 0) > 99);
    EXPECT_EQ(reports.take(), "");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_ERROR);
}
