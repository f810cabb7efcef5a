// Two-image arithmetic and logic.
#include <gtest/gtest.h>

#include "checks.h"
#include "model.h"

namespace {

using TwoImages = void(ORV_CALL*)(OrvImage* a, OrvImage* b, OrvImage* d);

struct Member {
    const char* name;
    TwoImages call;
    const char* nameAtBits;  // who reports at 1U
    const char* nullReport;  // of a NULL first image
    bool floats;
    std::function<Rule(uint32_t depth)> rule;
};

template <class Function>
auto numbers(Function function)
{
    return [=](uint32_t depth) { return onNumbers(depth, function); };
}
template <class Function>
auto bits(Function function)
{
    return [=](uint32_t) { return Rule(function); };
}

const Member members[] = {
    {"orvAdd", orvAdd, "orvOr", "-5 orvAdd srcImageA==0\n", true, numbers(std::plus())},
    {"orvSubtract", orvSubtract, "orvSubtract", "-9 orvSubtract Incorrect Image\n", true, numbers(std::minus())},
    {"orvMultiply", orvMultiply, "orvAnd", "-5 orvMultiply srcImageA==0\n", true, numbers(std::multiplies())},
    {"orvAnd", orvAnd, "orvAnd", "-9 orvAnd Incorrect Image\n", false, bits(std::bit_and())},
    {"orvOr", orvOr, "orvOr", "-9 orvOr Incorrect Image\n", false, bits(std::bit_or())},
    {"orvXor", orvXor, "orvXor", "-9 orvXor Incorrect Image\n", false, bits(std::bit_xor())},
};

std::string reporter(const Member& member, uint32_t depth)
{
    return depth == ORV_DEPTH_1U ? member.nameAtBits : member.name;
}

// Calls test(member, depth) with all depths that the members take.
template <class Test>
void forEveryMember(Test test)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths)
            if ((member.floats || depth != ORV_DEPTH_32F) && !testing::Test::HasFailure())
                test(member, depth);
}

}  // namespace

TEST(Arith, IsAsTheModelInEveryLayout)
{
    forEveryMember([](const Member& member, uint32_t depth) {
        Operation operation = {.name = member.name, .sources = 2, .sourceDepth = depth, .resultDepth = depth};
        operation.rule = member.rule(depth);
        operation.call = [&](OrvImage* const* images) { member.call(images[0], images[1], images[2]); };
        operation.walk = [&](const Scene& scene) {
            return bandWalk(scene, reporter(member, depth), {"srcImageA", "srcImageB", "dstImage"});
        };
        operation.seed = depth * 31 + uint64_t(&member - members);
        runMatrix(operation);
    });
}

// Every pair of 8-bit values, and pairs around the ends of the wider ranges.
TEST(Arith, ComputesExactly)
{
    forEveryMember([](const Member& member, uint32_t depth) {
        PictureSpec spec = {.depth = depth, .width = 256, .height = 256};
        Picture a(spec), b(spec), d(spec);
        std::vector<uint32_t> values = telling(depth);
        a.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
        b.fillRaw([&](int, int y, int) { return values[size_t(y)]; });
        member.call(a, b, d);
        Rule rule = member.rule(depth);
        for (int y = 0; y < 256; ++y)
            for (int x = 0; x < 256; ++x)
                ASSERT_TRUE(sameValue(depth, d.raw(x, y), rule(a.raw(x, y), b.raw(x, y))))
                    << member.name << ' ' << depthName(depth) << ' ' << a.get(x, y) << ' ' << b.get(x, y) << ": "
                    << d.get(x, y);
    });
}

// One run over whole buffers takes the padding along; which images are alike is found by sums, not by comparisons.
TEST(Arith, RunsOverWholeBuffers)
{
    auto plain = [](int width, int height, int extraStep, std::optional<OrvROI> roi = {}) {
        return PictureSpec{.width = width, .height = height, .roi = roi, .extraStep = extraStep};
    };
    struct Case {
        PictureSpec a, b, d;
        bool whole;
        int imageSize = 0;  // that all headers claim, 0 for the true one
    };
    std::vector<Case> cases = {
        {plain(5, 6, 8), plain(5, 6, 8), plain(5, 6, 8), true},
        // A region with a channel of interest that is the image does not stand in the way.
        {plain(5, 6, 8, OrvROI{1, 0, 0, 9, 6}), plain(5, 6, 8), plain(5, 6, 8), true},
        // 60 * 4 = 48 * 5 = 80 * 3 bytes, and 2 * 4 - 5 - 3 = 0 rows.
        {plain(12, 4, 48), plain(12, 5, 36), plain(12, 3, 68), true},
        // The heights agree likewise, or the sizes, but a run over the first image's bytes would pass the last's end.
        {plain(10, 4, 0), plain(10, 5, 0), plain(10, 3, 0), false},
        {plain(10, 4, 0), plain(10, 4, 0), plain(10, 4, 0), false, 4000},
    };
    // Regions that are not the whole image, or do not say which channel, go by rows, which end at the region.
    for (OrvROI roi : {OrvROI{0, 0, 0, 5, 6}, {1, 0, 0, 4, 6}, {1, 0, 0, 5, 5}, {1, 1, 0, 5, 6}, {1, 0, 1, 5, 6}})
        cases.push_back({plain(5, 6, 0, roi), plain(5, 6, 0, roi), plain(5, 6, 0, roi), false});

    auto check = [](const Member& member, Case one) {
        Rule rule = member.rule(ORV_DEPTH_8U);
        one.b.seed = 2;
        one.d.seed = 3;
        Picture a(one.a), b(one.b), d(one.d);
        std::vector<uint8_t> expected = d.bytes(), left = a.bytes(), right = b.bytes();
        OrvROI part = one.d.roi.value_or(OrvROI{0, 0, 0, d->width, d->height});
        size_t step = size_t(d->widthStep);
        for (size_t i = 0; i < expected.size(); ++i) {
            int x = int(i % step), y = int(i / step);
            bool inside = x >= part.xOffset && x < std::min(part.xOffset + part.width, d->width) && y >= part.yOffset &&
                          y < part.yOffset + part.height;
            if (one.whole || inside)
                expected[i] = uint8_t(rule(left[i], right[i]));
        }
        if (one.imageSize)
            a->imageSize = b->imageSize = d->imageSize = one.imageSize;
        EXPECT_EQ(reportsOf([&] { member.call(a, b, d); }), "");
        EXPECT_TRUE(d.bytes() == expected);
        EXPECT_EQ(a.faults() + b.faults() + d.faults(), "");
    };
    for (const Member& member : members)
        for (const Case& one : cases) {
            SCOPED_TRACE(member.name + (" case " + std::to_string(&one - cases.data())));
            check(member, one);
        }
}

// Rows whose step is no multiple of the value's size are no one run of values.
TEST(Arith, GoesByRowsWhereAValueWouldCrossThem)
{
    for (uint32_t depth : {ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S, ORV_DEPTH_32F}) {
        PictureSpec spec = {.depth = depth, .width = 2, .height = 7, .extraStep = 1};
        Picture a(spec), b(spec), d(spec);
        b.fillRandom(2);
        Picture before(spec);
        orvAdd(a, b, d);
        before.fillRaw([&](int x, int y, int) { return members[0].rule(depth)(a.raw(x, y), b.raw(x, y)); });
        EXPECT_TRUE(d.bytes() == before.bytes()) << depthName(depth);
    }
}

TEST(Arith, ChecksInOrder)
{
    PictureSpec maskSpec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(maskSpec);
    maskSpec.roi = OrvROI{0, 9, 0, 4, 4};
    Picture empty(maskSpec);
    auto check = [&](const Member& member, uint32_t depth) {
        SCOPED_TRACE(member.name + (' ' + depthName(depth)));
        const FaultOf fault{reporter(member, depth)};
        bool atBits = depth == ORV_DEPTH_1U;
        std::vector<Fault> faults = {
            fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
            fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
            fault(-18, "Incorrect Image", setField(2, &OrvImage::alphaChannel, 9)),
            // At 1U the first image's depth has chosen the function.
            fault(-5, "(srcImageA->depth != dstImage->depth)",
                  setField(atBits ? 2 : 0, &OrvImage::depth, ORV_DEPTH_16S)),
            fault(-5, "(srcImageB->depth != dstImage->depth)", setField(1, &OrvImage::depth, ORV_DEPTH_32S)),
            fault(-5, "(srcImageA->dataOrder != dstImage->dataOrder)", setField(0, &OrvImage::dataOrder, 1)),
            fault(-5, "(srcImageB->dataOrder != dstImage->dataOrder)", setField(1, &OrvImage::dataOrder, 1)),
            fault(-5, "(nChSrcA != nChDst)", setField(0, &OrvImage::nChannels, 2)),
            fault(-5, "(nChSrcB != nChDst)", setField(1, &OrvImage::nChannels, 2)),
            {"", setMasks(empty, mask)},
            fault(-4, "Out of memory", setMasks(mask, mask, 1)),
        };
        if (atBits)  // there is one channel and no data order
            faults.erase(faults.begin() + 5, faults.begin() + 9);
        if (depth == ORV_DEPTH_32F && !member.floats)
            faults.push_back(fault(-5, "This function does not support depth 32F", setMasks(mask, mask)));
        expectFaultsInOrder(
            std::vector<PictureSpec>(3, {.depth = depth, .width = 8, .height = 8}),
            [&](OrvImage* const* images) { member.call(images[0], images[1], images[2]); }, faults);
    };
    for (const Member& member : members) {
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_32F, ORV_DEPTH_1U})
            check(member, depth);
        EXPECT_EQ(reportsOf([&] { member.call(nullptr, nullptr, nullptr); }), member.nullReport);
    }
}
