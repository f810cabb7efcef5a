// Threshold.
#include <gtest/gtest.h>

#include <utility>

#include "checks.h"
#include "model.h"
#include "reports.h"

namespace {

// Calls test(from, to) with the depths that it takes and makes.
template <class Test>
void forEveryDepth(Test test)
{
    for (uint32_t from : allDepths)
        for (uint32_t to : allDepths)
            if (from != ORV_DEPTH_1U && from != ORV_DEPTH_32F && to != ORV_DEPTH_32F && !testing::Test::HasFailure())
                test(from, to);
}

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
    forEveryDepth([](uint32_t from, uint32_t to) {
        Operation operation = {.name = "orvThreshold", .sourceDepth = from, .resultDepth = to};
        operation.rule = thresholdRule(from, to, 40);
        operation.call = [](OrvImage* const* images) { orvThreshold(images[0], images[1], 40); };
        operation.fits = layoutFits;
        operation.padding = false;
        operation.walk = thresholdWalk;
        operation.cases = to == ORV_DEPTH_1U || to == from ? 48 : 24;
        operation.seed = from * 7 + to;
        runMatrix(operation);
    });
}

TEST(Threshold, CutsExactly)
{
    forEveryDepth([](uint32_t from, uint32_t to) {
        std::vector<uint32_t> values = telling(from);
        Picture src({.depth = from, .width = 256}), dst({.depth = to, .width = 256});
        src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
        for (uint32_t bits : telling(ORV_DEPTH_32S)) {
            auto threshold = int32_t(bits);
            if (!isInRange(from, threshold))
                continue;
            orvThreshold(src, dst, threshold);
            Rule rule = thresholdRule(from, to, threshold);
            for (int x = 0; x < 256; ++x)
                ASSERT_EQ(dst.raw(x, 0), rule(values[size_t(x)], 0))
                    << depthName(from) << ' ' << depthName(to) << ' ' << src.get(x, 0) << " at " << threshold;
        }
    });
}

TEST(Threshold, ChecksInOrder)
{
    const FaultOf fault{"orvThreshold"};
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(bits), turned(bits), empty(bits), alpha(bits);
    turned->origin = 1;
    empty.roi = {0, 9, 0, 4, 4};
    empty->roi = &empty.roi;
    alpha->alphaChannel = 1;
    int32_t threshold = 0;
    auto call = [&](OrvImage* const* images) { orvThreshold(images[0], images[1], std::exchange(threshold, 0)); };
    PictureSpec spec = {.channels = 3, .width = 8, .height = 8};
    const std::vector<Fault> layoutFaults = {
        fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
        fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)),
        fault(-5, "(srcImage->depth == 32)", setField(0, &OrvImage::depth, ORV_DEPTH_32F)),
        fault(-5, "(dstImage->depth == 32)", setField(1, &OrvImage::depth, ORV_DEPTH_32F)),
        fault(-5,
              "((srcImage->dataOrder != dstImage->dataOrder)&& "
              "((srcImage->nChannels != 1)&&(dstImage->nChannels != 1)))",
              setField(1, &OrvImage::dataOrder, 1)),
        fault(-5, "(srcImage->origin != dstImage->origin)", setField(1, &OrvImage::origin, 1)),
        fault(-5, "(srcImage->origin != srcImage->maskROI->origin)", setMasks(turned, turned)),
        fault(-5, "(dstImage->origin != dstImage->maskROI->origin)", setMasks(mask, turned)),
        fault(-5, "((srcImage->depth == 8) && (Threshold > 255))", [&](OrvImage* const*) { threshold = 256; }),
        fault(-5, "(srcChannels != dstChannels)", setField(1, &OrvImage::alphaChannel, 3)),
        {"", setMasks(mask, empty)},
    };
    expectFaultsInOrder({spec, spec}, call, layoutFaults);
    spec.channels = 1;
    const std::vector<Fault> memoryFaults = {
        fault(-5, "(srcImage->depth == 1)", setField(0, &OrvImage::depth, ORV_DEPTH_1U)),
        {"", setField(0, &OrvImage::alphaChannel, 1)},
        {"", setField(1, &OrvImage::alphaChannel, 1)},
        fault(-5, "(msk == NULL)", setMasks(mask, empty, 1)),
        {"", setMasks(mask, empty, 2)},
        {"-4 orvAllocateImage for allocate image data\n-5 orvThreshold (msk->imageData == NULL)\n",
         setMasks(mask, mask, 2)},
        {"-5 orvAnd (nChSrcA != nChDst)\n-1 orvThreshold error_orvAnd\n", setMasks(alpha, alpha)},
    };
    expectFaultsInOrder({spec, spec}, call, memoryFaults);
    Picture src({});
    EXPECT_EQ(reportsOf([&] { orvThreshold(src, nullptr, 1); }), "-9 orvThreshold Incorrect Image\n");
}

TEST(Threshold, RefusesThresholdsOutsideTheRange)
{
    struct Case {
        uint32_t depth;
        int32_t threshold;
        const char* report;
    };
    const Case cases[] = {
        {ORV_DEPTH_8S, 128, "-5 orvThreshold ((srcImage->depth == (0x80000000| 8)) && (Threshold > 127))\n"},
        {ORV_DEPTH_8S, -129, "-5 orvThreshold ((srcImage->depth == (0x80000000| 8)) && (Threshold < -128))\n"},
        {ORV_DEPTH_8U, 256, "-5 orvThreshold ((srcImage->depth == 8) && (Threshold > 255))\n"},
        {ORV_DEPTH_8U, -1, "-5 orvThreshold ((srcImage->depth == 8) && (Threshold < 0))\n"},
        {ORV_DEPTH_16S, 32768, "-5 orvThreshold ((srcImage->depth == (0x80000000|16)) && (Threshold > 32767))\n"},
        {ORV_DEPTH_16S, -32769, "-5 orvThreshold ((srcImage->depth == (0x80000000|16)) && (Threshold < -32768))\n"},
        {ORV_DEPTH_16U, 65536, "-5 orvThreshold ((srcImage->depth == 16) && (Threshold > 65535))\n"},
        {ORV_DEPTH_16U, -1, "-5 orvThreshold ((srcImage->depth == 16) && (Threshold < 0))\n"},
    };
    for (const auto& one : cases) {
        Picture src({.depth = one.depth}), dst({});
        EXPECT_EQ(reportsOf([&] { orvThreshold(src, dst, one.threshold); }), one.report);
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
