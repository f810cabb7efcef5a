// Operations of one image.
#include <gtest/gtest.h>

#include "checks.h"
#include "model.h"

namespace {

Rule notRule(uint32_t depth)
{
    return [=](uint32_t s, uint32_t) { return ~s & (UINT32_MAX >> (32 - (depth & ORV_DEPTH_MASK))); };
}

Rule squareRule(uint32_t depth)
{
    return onNumbers(depth, [](double s, double) { return s * s; });
}

// Negative zero and NaN keep all their bits.
Rule absRule(uint32_t depth)
{
    return [=](uint32_t s, uint32_t) {
        double number = numberOf(depth, s);
        return number < 0 ? bitsOf(depth, -number) : s;
    };
}

struct Member {
    const char* name;
    void(ORV_CALL* call)(OrvImage* src, OrvImage* dst);
    Rule (*rule)(uint32_t depth);
    const char* reporter;
    const char* nullReport;  // of NULL sources
};

const Member members[] = {{"orvNot", orvNot, notRule, "orvXorS", "-9 orvXorS Incorrect Image\n"},
                          {"orvSquare", orvSquare, squareRule, "orvSquare", "-9 orvSquare Incorrect Image\n"},
                          {"orvAbs", orvAbs, absRule, "orvAbs", "-5 orvAbs srcImage==0\n"}};

// Calls test(member, depth) with all depths that the members take.
template <class Test>
void forEveryMember(Test test)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths)
            if ((depth != ORV_DEPTH_32F || member.call != orvNot) && !testing::Test::HasFailure())
                test(member, depth);
}

// True if orvAbs is a copy.
bool isCopy(const Member& member, uint32_t depth)
{
    return member.call == orvAbs && !(depth & ORV_DEPTH_SIGN) && depth != ORV_DEPTH_32F;
}

// orvAbs counts no channel of interest in an image of one channel.
bool absFits(const Layout& layout)
{
    auto chosen = [](const PictureSpec& spec) { return spec.roi && spec.roi->coi > 0 && spec.channels > 1; };
    auto colours = [](const PictureSpec& spec) { return spec.channels - (spec.alpha ? 1 : 0); };
    const PictureSpec& src = layout.images[0].spec;
    const PictureSpec& dst = layout.images[1].spec;
    return ordersAgree(layout) && chosen(src) == chosen(dst) && (chosen(src) || colours(src) == colours(dst));
}

bool copyFits(const Layout& layout)
{
    bool masked = layout.images[0].mask || layout.images[1].mask;
    return ordersAgree(layout) && originsAgree(layout) && !(layout.images[0].spec.depth == ORV_DEPTH_1U && masked);
}

// orvCopy is stopped at an image copied to itself before it asks for tiles. A cell that cannot be fetched is reported
// as a trace, which stores no status, so that orvAbs does not know of it.
Walk copyWalk(const Scene& scene)
{
    if (scene.images[0] == scene.images[1])
        return {};
    Walk walk = gridWalk(scene, "orvCopy");
    for (WalkStep& step : walk)
        if (step.refusal.starts_with("-2"))
            step.refusal += "-1 orvAbs orvCopy is failed\n";
    return walk;
}

}  // namespace

TEST(Unary, IsAsTheModelInEveryLayout)
{
    forEveryMember([](const Member& member, uint32_t depth) {
        bool copy = isCopy(member, depth);
        Operation operation = {.name = member.name, .sourceDepth = depth, .resultDepth = depth};
        operation.rule = member.rule(depth);
        operation.call = [&](OrvImage* const* images) { member.call(images[0], images[1]); };
        operation.padding = member.call != orvAbs;
        if (member.call == orvAbs)
            operation.fits = copy ? copyFits : absFits;
        operation.walk = [&](const Scene& scene) {
            return copy ? copyWalk(scene) : bandWalk(scene, member.reporter, {"srcImage", "dstImage"});
        };
        operation.seed = depth;
        runMatrix(operation);
    });
}

TEST(Unary, ComputesExactly)
{
    forEveryMember([](const Member& member, uint32_t depth) {
        std::vector<uint32_t> values = telling(depth);
        if (depth == ORV_DEPTH_32S)
            values.insert(values.begin(), {46341, 46340, uint32_t(-46341)});
        if (depth == ORV_DEPTH_32F)
            values.insert(values.begin(), {0x80000000, 0x7FC12345, 0xFFC12345, 0x80000001, 0xFF800000});
        PictureSpec spec = {.depth = depth, .width = int(values.size())};
        Picture src(spec), dst(spec);
        src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
        member.call(src, dst);
        for (int x = 0; x < spec.width; ++x) {
            uint32_t result = dst.raw(x, 0), expected = member.rule(depth)(src.raw(x, 0), 0);
            EXPECT_TRUE(member.call == orvSquare ? sameValue(depth, result, expected) : result == expected)
                << member.name << ' ' << depthName(depth) << ' ' << src.get(x, 0) << ": " << dst.get(x, 0);
        }
    });
}

TEST(Unary, ChecksInOrder)
{
    OrvROI choice = {2, 0, 0, 8, 8};
    PictureSpec maskSpec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(maskSpec);
    maskSpec.roi = OrvROI{0, 9, 9, 4, 4};
    Picture empty(maskSpec), one({.width = 4});
    for (const Member& member : members) {
        SCOPED_TRACE(member.name);
        bool abs = member.call == orvAbs;
        const FaultOf fault{member.reporter};
        PictureSpec spec = {.depth = ORV_DEPTH_8S, .channels = 3, .width = 8, .height = 8};
        const std::vector<Fault> faults = {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0)),
            fault(-12, "Incorrect Image", setField(1, &OrvImage::imageData, nullptr)),
            fault(-5, "(srcImage->depth != dstImage->depth)", setField(0, &OrvImage::depth, ORV_DEPTH_16S)),
            fault(-5, "(srcImage->dataOrder != dstImage->dataOrder)", setField(0, &OrvImage::dataOrder, 1)),
            fault(-5, abs ? "(nChSrcCoi != nChDstCoi)" : "(nChSrc != nChDst)", setField(0, &OrvImage::roi, &choice)),
            fault(-5, abs ? "(srcImage->nChannels != dstImage->nChannels)" : "(nChSrc != nChDst)",
                  setField(1, &OrvImage::alphaChannel, 3)),
            {"", setMasks(empty, mask)},
            fault(-4, "Out of memory", setMasks(mask, mask, 1)),
        };
        expectFaultsInOrder(
            {spec, spec}, [&](OrvImage* const* images) { member.call(images[0], images[1]); }, faults);
        EXPECT_EQ(reportsOf([&] { member.call(nullptr, one); }), member.nullReport);
    }
    EXPECT_EQ(reportsOf([&] { orvAbs(nullptr, nullptr); }), "-5 orvAbs srcImage==0\n-5 orvAbs dstImage==0\n");
}

// Where the destination is unsigned, all that can go wrong is orvCopy's, and orvAbs adds a line.
TEST(Unary, AbsoluteValuesOfUnsignedImagesAreCopies)
{
    const std::string trace = "-1 orvAbs orvCopy is failed\n";
    Picture bytes({.width = 8, .height = 2}), chars({.depth = ORV_DEPTH_8S, .width = 8, .height = 2}),
        bottom({.origin = ORV_ORIGIN_BL, .width = 8, .height = 2});
    EXPECT_EQ(reportsOf([&] { orvAbs(chars, bytes); }), "-5 orvCopy srcImage->depth != dstImage->depth\n" + trace);
    EXPECT_EQ(reportsOf([&] { orvAbs(bytes, bottom); }), "-5 orvCopy srcImage->origin != dstImage->origin\n" + trace);
    // The destination's depth decides.
    EXPECT_EQ(reportsOf([&] { orvAbs(bytes, chars); }), "-5 orvAbs (srcImage->depth != dstImage->depth)\n");
    bytes->width = 0;
    EXPECT_EQ(reportsOf([&] { orvAbs(chars, bytes); }), "-10 orvCopy Incorrect Image\n" + trace);
}
