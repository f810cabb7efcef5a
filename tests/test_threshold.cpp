// Threshold.
#include <gtest/gtest.h>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

const uint32_t sourceDepths[] = {ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S};
const uint32_t resultDepths[] = {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_8S, ORV_DEPTH_16U, ORV_DEPTH_16S, ORV_DEPTH_32S};

Rule thresholdRule(uint32_t from, uint32_t to, int32_t threshold)
{
    return onNumbers(from, to, [=](double s, double) { return s >= threshold ? 1e12 : -1e12; });
}

bool isInRange(uint32_t depth, int32_t threshold)
{
    return numberOf(depth, bitsOf(depth, threshold)) == threshold;
}

// Data orders may differ where one image has one channel.
bool layoutFits(const Layout& layout)
{
    bool oneChannel = layout.images[0].spec.channels == 1 || layout.images[1].spec.channels == 1;
    return (oneChannel || ordersAgree(layout)) && originsAgree(layout);
}

Walk thresholdWalk(const Scene& scene)
{
    Walk walk = bandWalk(scene, "orvThreshold", {"srcImage", "dstImage"});
    for (WalkStep& step : walk)
        if (size_t end = step.refusal.find("== 0)"); end != std::string::npos)
            step.refusal.replace(end, 5, "== NULL)");
    return walk;
}

}  // namespace

TEST(Threshold, IsAsTheModelInEveryLayout)
{
    for (uint32_t from : sourceDepths)
        for (uint32_t to : resultDepths) {
            Operation operation = {.name = "orvThreshold", .sourceDepth = from, .resultDepth = to};
            operation.rule = thresholdRule(from, to, 40);
            operation.call = [](OrvImage* const* images) { orvThreshold(images[0], images[1], 40); };
            operation.fits = layoutFits;
            operation.padding = false;
            operation.walk = thresholdWalk;
            operation.cases = to == ORV_DEPTH_1U || to == from ? 48 : 24;
            operation.seed = from * 7 + to;
            runMatrix(operation);
            if (HasFailure())
                return;
        }
}

TEST(Threshold, CutsExactly)
{
    std::vector<uint32_t> thresholds = telling(ORV_DEPTH_32S);
    for (uint32_t from : sourceDepths)
        for (uint32_t to : resultDepths) {
            std::vector<uint32_t> values = telling(from);
            Picture src({.depth = from, .width = 256}), dst({.depth = to, .width = 256});
            src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
            for (int32_t threshold : std::vector<int32_t>(thresholds.begin(), thresholds.end())) {
                if (!isInRange(from, threshold))
                    continue;
                orvThreshold(src, dst, threshold);
                Rule rule = thresholdRule(from, to, threshold);
                for (int x = 0; x < 256; ++x)
                    ASSERT_EQ(dst.raw(x, 0), rule(values[size_t(x)], 0))
                        << depthName(from) << ' ' << depthName(to) << ' ' << src.get(x, 0) << " at " << threshold;
            }
        }
}

TEST(Threshold, ChecksInOrder)
{
    auto bad = [](const std::string& context) { return "-5 orvThreshold " + context + '\n'; };
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(bits), turned(bits), empty(bits);
    turned->origin = 1;
    empty.roi = {0, 9, 0, 4, 4};
    empty->roi = &empty.roi;
    int32_t threshold = 0;
    auto call = [&](OrvImage* const* images) {
        orvThreshold(images[0], images[1], threshold);
        threshold = 0;
    };
    auto maskBoth = [&](OrvImage* const* images, OrvImage* second) {
        images[0]->maskROI = mask;
        images[1]->maskROI = second;
    };
    const std::vector<Fault> layoutFaults = {
        {"-10 orvThreshold Incorrect Image\n", [](OrvImage* const* images) { images[0]->width = 0; }},
        {"-13 orvThreshold Incorrect Image\n", [](OrvImage* const* images) { images[1]->widthStep = 0; }},
        {bad("(srcImage->depth == 32)"), [](OrvImage* const* images) { images[0]->depth = ORV_DEPTH_32F; }},
        {bad("(dstImage->depth == 32)"), [](OrvImage* const* images) { images[1]->depth = ORV_DEPTH_32F; }},
        {bad("((srcImage->dataOrder != dstImage->dataOrder)&& "
             "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))"),
         [](OrvImage* const* images) { images[1]->dataOrder = 1; }},
        {bad("(srcImage->origin != dstImage->origin)"), [](OrvImage* const* images) { images[1]->origin = 1; }},
        {bad("(srcImage->origin != srcImage->maskROI->origin)"),
         [&](OrvImage* const* images) { images[0]->maskROI = turned; }},
        {bad("(dstImage->origin != dstImage->maskROI->origin)"),
         [&](OrvImage* const* images) { maskBoth(images, turned); }},
        {bad("((srcImage->depth == 8) && (Threshold > 255))"), [&](OrvImage* const*) { threshold = 256; }},
        {bad("(srcChannels != dstChannels)"),
         [&](OrvImage* const* images) {
             maskBoth(images, empty);
             images[1]->alphaChannel = 3;
         }},
    };
    expectFaultsInOrder(std::vector<PictureSpec>(2, {.channels = 3, .width = 8, .height = 8}), call, layoutFaults);

    auto refuse = [&](OrvImage* const* images, int n, OrvImage* second) {
        maskBoth(images, second);
        testheap::refuse(n);
    };
    const std::vector<Fault> memoryFaults = {
        {bad("(srcImage->depth == 1)"), [](OrvImage* const* images) { images[0]->depth = ORV_DEPTH_1U; }},
        {"", [](OrvImage* const* images) { images[0]->alphaChannel = 1; }},
        {"", [](OrvImage* const* images) { images[1]->alphaChannel = 1; }},
        {bad("(msk == NULL)"), [&](OrvImage* const* images) { refuse(images, 1, empty); }},
        {"", [&](OrvImage* const* images) { refuse(images, 2, empty); }},
        {"-4 orvAllocateImage for allocate image data\n" + bad("(msk->imageData == NULL)"),
         [&](OrvImage* const* images) { refuse(images, 2, mask); }},
        {"-5 orvAnd (nChSrcA != nChDst)\n-1 orvThreshold error_orvAnd\n",
         [&](OrvImage* const* images) {
             mask->alphaChannel = 1;
             maskBoth(images, mask);
         }},
    };
    expectFaultsInOrder(std::vector<PictureSpec>(2, {.width = 8, .height = 8}), call, memoryFaults);
    Picture src({});
    EXPECT_EQ(reportsOf([&] { orvThreshold(src, nullptr, 1); }), "-9 orvThreshold Incorrect Image\n");
}

TEST(Threshold, RefusesThresholdsOutsideTheRange)
{
    struct Case {
        uint32_t depth;
        int32_t threshold;
        const char* context;
    };
    const Case cases[] = {
        {ORV_DEPTH_8S, 128, "((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))"},
        {ORV_DEPTH_8S, -129, "((srcImage->depth == (0x80000000| 8)) && (Threshold < -128))"},
        {ORV_DEPTH_8U, 256, "((srcImage->depth == 8) && (Threshold > 255))"},
        {ORV_DEPTH_8U, -1, "((srcImage->depth == 8) && (Threshold < 0))"},
        {ORV_DEPTH_16S, 32768, "((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))"},
        {ORV_DEPTH_16S, -32769, "((srcImage->depth == (0x80000000|16)) && (Threshold < -32768))"},
        {ORV_DEPTH_16U, 65536, "((srcImage->depth == 16) && (Threshold > 65535))"},
        {ORV_DEPTH_16U, -1, "((srcImage->depth == 16) && (Threshold < 0))"},
    };
    for (const Case& one : cases) {
        Picture src({.depth = one.depth}), dst({});
        EXPECT_EQ(reportsOf([&] { orvThreshold(src, dst, one.threshold); }),
                  std::string("-5 orvThreshold ") + one.context + '\n');
    }
}

// An old failure is reported where two masks are combined, and nowhere else.
TEST(Threshold, KeepsOldFailuresApart)
{
    Picture mask({.depth = ORV_DEPTH_1U, .width = 20}), other({.depth = ORV_DEPTH_1U, .width = 20, .seed = 2});
    Picture src({.width = 20, .mask = mask}), dst({.width = 20}), expected({.width = 20});
    Reports reports;
    orvThreshold(src, expected, 128);
    orvSetErrStatus(ORV_STATUS_INTERNAL);
    orvThreshold(src, dst, 128);
    EXPECT_TRUE(dst.bytes() == expected.bytes());
    EXPECT_EQ(reports.take(), "");
    // Two masks are combined, and the old failure is told afterwards.
    dst->maskROI = expected->maskROI = other;
    orvThreshold(src, dst, 0);
    EXPECT_EQ(reports.take(), "-1 orvThreshold error_orvAnd\n");
    orvSetErrStatus(ORV_STATUS_OK);
    orvThreshold(src, expected, 0);
    EXPECT_TRUE(dst.bytes() == expected.bytes());
}
