// Two-image arithmetic and logic.
#include <gtest/gtest.h>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

using TwoImages = void(ORV_CALL*)(OrvImage* a, OrvImage* b, OrvImage* d);

struct Member {
    const char* name;
    TwoImages call;
    const char* nameAtBits;  // who reports at 1U
    const char* nullReport;  // of a NULL first image
    bool floats;
    Rule (*rule)(uint32_t depth);
};

Rule addRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a + b; });
}
Rule subtractRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a - b; });
}
Rule multiplyRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a * b; });
}
Rule andRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a & b; };
}
Rule orRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a | b; };
}
Rule xorRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a ^ b; };
}

const Member members[] = {
    {"orvAdd", orvAdd, "orvOr", "-5 orvAdd srcImageA==0\n", true, addRule},
    {"orvSubtract", orvSubtract, "orvSubtract", "-9 orvSubtract Incorrect Image\n", true, subtractRule},
    {"orvMultiply", orvMultiply, "orvAnd", "-5 orvMultiply srcImageA==0\n", true, multiplyRule},
    {"orvAnd", orvAnd, "orvAnd", "-9 orvAnd Incorrect Image\n", false, andRule},
    {"orvOr", orvOr, "orvOr", "-9 orvOr Incorrect Image\n", false, orRule},
    {"orvXor", orvXor, "orvXor", "-9 orvXor Incorrect Image\n", false, xorRule},
};

std::string reporter(const Member& member, uint32_t depth)
{
    return depth == ORV_DEPTH_1U ? member.nameAtBits : member.name;
}

}  // namespace

TEST(Arith, IsAsTheModelInEveryLayout)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths) {
            if (depth == ORV_DEPTH_32F && !member.floats)
                continue;
            Operation operation = {.name = member.name, .sources = 2, .sourceDepth = depth, .resultDepth = depth};
            operation.rule = member.rule(depth);
            operation.call = [&](OrvImage* const* images) { member.call(images[0], images[1], images[2]); };
            operation.walk = [&](const Scene& scene) {
                return bandWalk(scene, reporter(member, depth), {"srcImageA", "srcImageB", "dstImage"});
            };
            operation.seed = depth * 31 + uint64_t(&member - members);
            runMatrix(operation);
            if (HasFailure())
                return;
        }
}

// Every pair of 8-bit values, and pairs around the ends of the wider ranges.
TEST(Arith, ComputesExactly)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths) {
            if (depth == ORV_DEPTH_32F && !member.floats)
                continue;
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
        }
}

// One run over whole buffers takes the padding along; which images are alike is found by sums, not by comparisons.
TEST(Arith, RunsOverWholeBuffers)
{
    Reports reports;
    auto sumOfBytes = [](Picture& a, Picture& b, Picture& d) {
        std::vector<uint8_t> expected = a.bytes(), other = b.bytes();
        for (size_t i = 0; i < expected.size(); ++i)
            expected[i] = uint8_t(std::min(expected[i] + other[i], 255));
        orvAdd(a, b, d);
        EXPECT_TRUE(d.bytes() == expected);
        EXPECT_EQ(a.faults() + b.faults() + d.faults(), "");
    };
    PictureSpec spec = {.align = 8, .width = 5, .height = 6, .extraStep = 8};
    Picture a(spec), b(spec), d(spec);
    sumOfBytes(a, b, d);
    // A region with a channel of interest that is the image does not stand in the way.
    spec.roi = OrvROI{1, 0, 0, 9, 6};
    Picture whole(spec);
    sumOfBytes(whole, b, d);
    // 60 * 4 = 48 * 5 = 80 * 3 bytes, and 2 * 4 - 5 - 3 = 0 rows.
    Picture four({.width = 12, .height = 4, .extraStep = 48}), five({.width = 12, .height = 5, .extraStep = 36}),
        three({.width = 12, .height = 3, .extraStep = 68});
    sumOfBytes(four, five, three);
    EXPECT_EQ(reports.take(), "");
}

// Regions that are not the whole image, or do not say which channel, go by rows, which end at the region.
TEST(Arith, KeepsPaddingOutsideRegions)
{
    for (OrvROI roi : {OrvROI{0, 0, 0, 5, 6}, {1, 0, 0, 4, 6}, {1, 0, 0, 5, 5}, {1, 1, 0, 5, 6}, {1, 0, 1, 5, 6}}) {
        PictureSpec spec = {.align = 8, .width = 5, .height = 6, .roi = roi};
        Picture a(spec), d(spec);
        std::vector<uint8_t> expected = d.bytes();
        for (int y = roi.yOffset; y < std::min(roi.yOffset + roi.height, 6); ++y)
            for (int x = roi.xOffset; x < std::min(roi.xOffset + roi.width, 5); ++x)
                expected[size_t(y * 8 + x)] = 0;
        orvXor(a, a, d);
        EXPECT_TRUE(d.bytes() == expected) << roi.coi << ' ' << roi.xOffset << ' ' << roi.yOffset << ' ' << roi.width;
    }
}

// The sums of the heights and sizes agree, but a run over the first image's bytes would pass the end of the last.
TEST(Arith, RunsOverNoMoreThanAllBuffersHave)
{
    Reports reports;
    for (bool lie : {false, true}) {
        Picture a({.width = 10, .height = 4}), b({.width = 10, .height = lie ? 4 : 5, .seed = 2}),
            d({.width = 10, .height = lie ? 4 : 3, .seed = 3});
        if (lie)
            a->imageSize = b->imageSize = d->imageSize = 4000;
        orvAdd(a, b, d);
        for (int y = 0; y < d->height; ++y)
            for (int x = 0; x < 10; ++x)
                ASSERT_EQ(d.get(x, y), std::min(a.get(x, y) + b.get(x, y), 255.0));
        EXPECT_EQ(a.faults() + b.faults() + d.faults(), "");
    }
    EXPECT_EQ(reports.take(), "");
}

TEST(Arith, ChecksInOrder)
{
    for (const Member& member : members)
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_32F, ORV_DEPTH_1U}) {
            SCOPED_TRACE(member.name + (' ' + depthName(depth)));
            std::string name = reporter(member, depth);
            auto bad = [&](const char* context) { return "-5 " + name + ' ' + context + '\n'; };
            auto header = [&](const char* status) { return status + (' ' + name) + " Incorrect Image\n"; };
            Picture mask({.depth = ORV_DEPTH_1U, .width = 9, .height = 9}),
                empty({.depth = ORV_DEPTH_1U, .width = 9, .height = 9, .roi = OrvROI{0, 9, 0, 4, 4}});
            auto maskBoth = [&](OrvImage* const* images, OrvImage* first) {
                images[0]->maskROI = first;
                images[1]->maskROI = mask;
            };
            std::vector<Fault> faults = {
                {header("-10"), [](OrvImage* const* images) { images[0]->width = 0; }},
                {header("-13"), [](OrvImage* const* images) { images[1]->widthStep = 0; }},
                {header("-18"), [](OrvImage* const* images) { images[2]->alphaChannel = 9; }},
                {bad("(srcImageA->depth != dstImage->depth)"),
                 [&](OrvImage* const* images) {
                     // At 1U the first image's depth has chosen the function.
                     (depth == ORV_DEPTH_1U ? images[2] : images[0])->depth = ORV_DEPTH_16S;
                 }},
                {bad("(srcImageB->depth != dstImage->depth)"),
                 [](OrvImage* const* images) { images[1]->depth = ORV_DEPTH_32S; }},
            };
            if (depth != ORV_DEPTH_1U) {
                faults.push_back({bad("(srcImageA->dataOrder != dstImage->dataOrder)"),
                                  [](OrvImage* const* images) { images[0]->dataOrder = 1; }});
                faults.push_back({bad("(srcImageB->dataOrder != dstImage->dataOrder)"),
                                  [](OrvImage* const* images) { images[1]->dataOrder = 1; }});
                faults.push_back(
                    {bad("(nChSrcA != nChDst)"), [](OrvImage* const* images) { images[0]->nChannels = 2; }});
                faults.push_back(
                    {bad("(nChSrcB != nChDst)"), [](OrvImage* const* images) { images[1]->nChannels = 2; }});
            }
            faults.push_back({"", [&](OrvImage* const* images) { maskBoth(images, empty); }});
            faults.push_back({"-4 " + name + " Out of memory\n", [&](OrvImage* const* images) {
                                  maskBoth(images, mask);
                                  testheap::refuse(1);
                              }});
            if (depth == ORV_DEPTH_32F && !member.floats)
                faults.push_back({bad("This function does not support depth 32F"),
                                  [&](OrvImage* const* images) { maskBoth(images, mask); }});
            expectFaultsInOrder(
                std::vector<PictureSpec>(3, {.depth = depth, .width = 8, .height = 8}),
                [&](OrvImage* const* images) { member.call(images[0], images[1], images[2]); }, faults);
            EXPECT_EQ(reportsOf([&] { member.call(nullptr, nullptr, nullptr); }), member.nullReport);
        }
}
