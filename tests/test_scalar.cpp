// Operations of an image and a scalar.
#include <gtest/gtest.h>

#include <bit>
#include <cmath>

#include "checks.h"
#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

enum Kind { add, subtract, reverse, multiply, bitAnd, bitOr, bitXor, left, right };

const char* const kindNames[] = {"orvAddS", "orvSubtractS", "orvSubtractS flipped", "orvMultiplyS", "orvAndS",
                                 "orvOrS",  "orvXorS",      "orvLShiftS",           "orvRShiftS"};

void callKind(Kind kind, OrvImage* src, OrvImage* dst, int32_t value)
{
    switch (kind) {
    case add: return orvAddS(src, dst, value);
    case subtract: return orvSubtractS(src, dst, value, 0);
    case reverse: return orvSubtractS(src, dst, value, 256);
    case multiply: return orvMultiplyS(src, dst, value);
    case bitAnd: return orvAndS(src, dst, value);
    case bitOr: return orvOrS(src, dst, value);
    case bitXor: return orvXorS(src, dst, value);
    case left: return orvLShiftS(src, dst, uint32_t(value));
    case right: return orvRShiftS(src, dst, uint32_t(value));
    }
}

// What the operations come to, without the roads that they take. At 1U only the lowest bit of a value counts.
Rule kindRule(Kind kind, uint32_t depth, int32_t value)
{
    bool bits = depth == ORV_DEPTH_1U;
    double v = bits ? value & 1 : value;
    uint32_t all = bits ? 1 : UINT32_MAX >> (32 - (depth & ORV_DEPTH_MASK));
    uint32_t shift = uint32_t(value);
    switch (kind) {
    case add: return onNumbers(depth, [=](double s, double) { return s + v; });
    case subtract: return onNumbers(depth, [=](double s, double) { return s - v; });
    case reverse: return onNumbers(depth, [=](double s, double) { return v - s; });
    case multiply: return onNumbers(depth, [=](double s, double) { return s * v; });
    case bitAnd: return [=](uint32_t s, uint32_t) { return s & uint32_t(value); };
    case bitOr: return [=](uint32_t s, uint32_t) { return (s | uint32_t(value)) & all; };
    case bitXor: return [=](uint32_t s, uint32_t) { return (s ^ uint32_t(value)) & all; };
    case left: return [=](uint32_t s, uint32_t) { return shift < 32 ? (s << shift) & all : 0; };
    case right:
        return onNumbers(depth,
                         [=](double s, double) { return std::floor(std::ldexp(s, -int(std::min(shift, 64u)))); });
    }
    return {};
}

struct Row {
    Kind kind;
    uint32_t depth;
    int32_t value;
    const char* reporter;  // the function that does the work in the end
};

const Row rows[] = {
    {add, ORV_DEPTH_1U, 1, "orvOrS"},
    {add, ORV_DEPTH_1U, 6, "orvOrS"},
    {add, ORV_DEPTH_8U, 100, "orvSubtractS"},
    {add, ORV_DEPTH_8U, -7, "orvSubtractS"},
    {add, ORV_DEPTH_8U, 300, "orvOrS"},
    {add, ORV_DEPTH_8U, -300, "orvAndS"},
    {add, ORV_DEPTH_8U, INT32_MIN, "orvAndS"},
    {add, ORV_DEPTH_8S, 50, "orvSubtractS"},
    {add, ORV_DEPTH_8S, INT32_MIN, "orvSubtractS"},
    {add, ORV_DEPTH_16U, 60000, "orvSubtractS"},
    {add, ORV_DEPTH_16U, 65535, "orvOrS"},
    {add, ORV_DEPTH_16U, -65535, "orvAndS"},
    {add, ORV_DEPTH_16S, -30000, "orvSubtractS"},
    {add, ORV_DEPTH_16S, INT32_MAX, "orvSubtractS"},
    {add, ORV_DEPTH_32S, 2000000000, "orvAddS"},
    {add, ORV_DEPTH_32S, INT32_MIN, "orvAddS"},
    {subtract, ORV_DEPTH_1U, 3, "orvAndS"},
    {subtract, ORV_DEPTH_1U, 2, "orvXorS"},
    {reverse, ORV_DEPTH_1U, 3, "orvXorS"},
    {reverse, ORV_DEPTH_1U, 2, "orvAndS"},
    {subtract, ORV_DEPTH_8U, 254, "orvSubtractS"},
    {subtract, ORV_DEPTH_8U, 255, "orvAndS"},
    {subtract, ORV_DEPTH_8U, -254, "orvSubtractS"},
    {subtract, ORV_DEPTH_8U, -255, "orvOrS"},
    {reverse, ORV_DEPTH_8U, 0, "orvAndS"},
    {reverse, ORV_DEPTH_8U, 1, "orvSubtractS"},
    {reverse, ORV_DEPTH_8U, 300, "orvSubtractS"},
    {reverse, ORV_DEPTH_8U, 509, "orvSubtractS"},
    {reverse, ORV_DEPTH_8U, 510, "orvOrS"},
    {subtract, ORV_DEPTH_8S, 1000, "orvSubtractS"},
    {subtract, ORV_DEPTH_8S, -20, "orvSubtractS"},
    {reverse, ORV_DEPTH_8S, -20, "orvSubtractS"},
    {reverse, ORV_DEPTH_8S, INT32_MIN, "orvSubtractS"},
    {subtract, ORV_DEPTH_16U, 65534, "orvSubtractS"},
    {subtract, ORV_DEPTH_16U, -65535, "orvOrS"},
    {reverse, ORV_DEPTH_16U, 131069, "orvSubtractS"},
    {reverse, ORV_DEPTH_16U, 131070, "orvOrS"},
    {subtract, ORV_DEPTH_16S, 12345, "orvSubtractS"},
    {reverse, ORV_DEPTH_16S, 70000, "orvSubtractS"},
    {reverse, ORV_DEPTH_16S, -12345, "orvSubtractS"},
    {subtract, ORV_DEPTH_32S, INT32_MIN, "orvSubtractS"},
    {subtract, ORV_DEPTH_32S, 1500000000, "orvSubtractS"},
    {reverse, ORV_DEPTH_32S, INT32_MIN, "orvSubtractS"},
    {reverse, ORV_DEPTH_32S, INT32_MAX, "orvSubtractS"},
    {multiply, ORV_DEPTH_1U, 5, "orvAndS"},
    {multiply, ORV_DEPTH_1U, 4, "orvAndS"},
    {multiply, ORV_DEPTH_8U, -1, "orvAndS"},
    {multiply, ORV_DEPTH_8U, 3, "orvMultiplyS"},
    {multiply, ORV_DEPTH_8U, 1000000, "orvMultiplyS"},
    {multiply, ORV_DEPTH_8S, -1, "orvMultiplyS"},
    {multiply, ORV_DEPTH_8S, 1000, "orvMultiplyS"},
    {multiply, ORV_DEPTH_8S, -1000, "orvMultiplyS"},
    {multiply, ORV_DEPTH_16U, 7, "orvMultiplyS"},
    {multiply, ORV_DEPTH_16S, -3, "orvMultiplyS"},
    {multiply, ORV_DEPTH_16S, 100000, "orvMultiplyS"},
    {multiply, ORV_DEPTH_32S, -70000, "orvMultiplyS"},
    {multiply, ORV_DEPTH_32S, INT32_MIN, "orvMultiplyS"},
    {bitAnd, ORV_DEPTH_1U, 2, "orvAndS"},
    {bitAnd, ORV_DEPTH_8S, 0x35A, "orvAndS"},
    {bitAnd, ORV_DEPTH_16U, 0x12345, "orvAndS"},
    {bitAnd, ORV_DEPTH_32S, 0x12345678, "orvAndS"},
    {bitOr, ORV_DEPTH_1U, 1, "orvOrS"},
    {bitOr, ORV_DEPTH_8U, 0x1A, "orvOrS"},
    {bitOr, ORV_DEPTH_16S, -32768, "orvOrS"},
    {bitOr, ORV_DEPTH_32S, 0x0F00FF00, "orvOrS"},
    {bitXor, ORV_DEPTH_1U, -1, "orvXorS"},
    {bitXor, ORV_DEPTH_8U, 0xFF, "orvXorS"},
    {bitXor, ORV_DEPTH_8S, 0, "orvXorS"},
    {bitXor, ORV_DEPTH_16U, 0x1357, "orvXorS"},
    {bitXor, ORV_DEPTH_32S, 0x7FFFFFFF, "orvXorS"},
    {left, ORV_DEPTH_1U, 0, "orvXorS"},
    {left, ORV_DEPTH_1U, 1, "orvAndS"},
    {left, ORV_DEPTH_8U, 1, "orvLShiftS"},
    {left, ORV_DEPTH_8S, 7, "orvLShiftS"},
    {left, ORV_DEPTH_16U, 16, "orvAndS"},
    {left, ORV_DEPTH_16S, 5, "orvLShiftS"},
    {left, ORV_DEPTH_16S, -1, "orvAndS"},
    {left, ORV_DEPTH_32S, 31, "orvLShiftS"},
    {left, ORV_DEPTH_32S, 0, "orvXorS"},
    {right, ORV_DEPTH_1U, 1, "orvAndS"},
    {right, ORV_DEPTH_8U, 3, "orvRShiftS"},
    {right, ORV_DEPTH_8U, 100, "orvAndS"},
    {right, ORV_DEPTH_8S, 1, "orvRShiftS"},
    {right, ORV_DEPTH_8S, 100, "orvRShiftS"},
    {right, ORV_DEPTH_16U, 15, "orvRShiftS"},
    {right, ORV_DEPTH_16U, 0, "orvXorS"},
    {right, ORV_DEPTH_16S, 16, "orvRShiftS"},
    {right, ORV_DEPTH_32S, 9, "orvRShiftS"},
    {right, ORV_DEPTH_32S, -1, "orvRShiftS"},
};

enum FloatKind { addFloat, subtractFloat, reverseFloat, multiplyFloat };

const char* const floatNames[] = {"orvAddSFP", "orvSubtractSFP", "orvSubtractSFP", "orvMultiplySFP"};

void callFloat(int kind, OrvImage* src, OrvImage* dst, float value)
{
    switch (kind) {
    case addFloat: return orvAddSFP(src, dst, value);
    case subtractFloat: return orvSubtractSFP(src, dst, value, 0);
    case reverseFloat: return orvSubtractSFP(src, dst, value, -1);
    default: return orvMultiplySFP(src, dst, value);
    }
}

// In double the result is exact enough to be rounded once.
Rule floatRule(int kind, float value)
{
    double v = value;
    return onNumbers(ORV_DEPTH_32F, [=](double s, double) {
        return kind == addFloat ? s + v : kind == subtractFloat ? s - v : kind == reverseFloat ? v - s : s * v;
    });
}

// Holds one call with all telling values against its rule.
void expectExact(const std::string& name, uint32_t depth, const std::function<void(OrvImage*, OrvImage*)>& call,
                 const Rule& rule)
{
    std::vector<uint32_t> values = telling(depth);
    Picture src({.depth = depth, .width = 256}), dst({.depth = depth, .width = 256});
    src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
    call(src, dst);
    for (int x = 0; x < 256; ++x)
        ASSERT_TRUE(sameValue(depth, dst.raw(x, 0), rule(values[size_t(x)], 0)))
            << name << ' ' << depthName(depth) << ' ' << src.get(x, 0) << " gives " << dst.get(x, 0);
}

Walk scalarWalk(const Scene& scene, const std::string& reporter)
{
    return bandWalk(scene, reporter, {"srcImage", "dstImage"});
}

// The checks of the function `name`, in their order.
void expectScalarChecks(const std::string& name, uint32_t depth,
                        const std::function<void(OrvImage* src, OrvImage* dst)>& call)
{
    auto bad = [&](const char* context) { return "-5 " + name + ' ' + context + '\n'; };
    PictureSpec maskSpec = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(maskSpec), flat(maskSpec), empty(maskSpec);
    flat->height = 0;
    empty.roi = {0, 0, 9, 4, 4};
    empty->roi = &empty.roi;
    std::vector<Fault> faults = {
        {"-15 " + name + " Incorrect Image\n", [](OrvImage* const* images) { images[0]->nChannels = 0; }},
        {"-110 " + name + " Incorrect Image\n", [&](OrvImage* const* images) { images[1]->maskROI = flat; }},
        {bad("(srcImage->depth != dstImage->depth)"),
         [&](OrvImage* const* images) { images[1]->depth = depth == ORV_DEPTH_8U ? ORV_DEPTH_8S : ORV_DEPTH_8U; }},
    };
    if (depth != ORV_DEPTH_1U) {
        faults.push_back({bad("(srcImage->dataOrder != dstImage->dataOrder)"),
                          [](OrvImage* const* images) { images[0]->dataOrder = 1; }});
        faults.push_back({bad("(nChSrc != nChDst)"), [](OrvImage* const* images) { images[1]->nChannels = 2; }});
    }
    auto maskBoth = [&](OrvImage* const* images, OrvImage* second) {
        images[0]->maskROI = mask;
        images[1]->maskROI = second;
    };
    faults.push_back({"", [&](OrvImage* const* images) { maskBoth(images, empty); }});
    faults.push_back({"-4 " + name + " Out of memory\n", [&](OrvImage* const* images) {
                          maskBoth(images, mask);
                          testheap::refuse(1);
                      }});
    PictureSpec spec = {.depth = depth, .width = 8, .height = 8};
    expectFaultsInOrder(
        {spec, spec}, [&](OrvImage* const* images) { call(images[0], images[1]); }, faults);
    Picture src(spec);
    EXPECT_EQ(reportsOf([&] { call(src, nullptr); }), "-9 " + name + " Incorrect Image\n");
}

}  // namespace

TEST(Scalar, IsAsTheModelInEveryLayout)
{
    for (const Row& row : rows) {
        SCOPED_TRACE("value " + std::to_string(row.value));
        Operation operation = {.name = kindNames[row.kind], .sourceDepth = row.depth, .resultDepth = row.depth};
        operation.rule = kindRule(row.kind, row.depth, row.value);
        operation.call = [&](OrvImage* const* images) { callKind(row.kind, images[0], images[1], row.value); };
        operation.walk = [&](const Scene& scene) { return scalarWalk(scene, row.reporter); };
        operation.cases = 16;
        operation.seed = uint64_t(&row - rows);
        runMatrix(operation);
        if (HasFailure())
            return;
    }
    for (int kind = addFloat; kind <= multiplyFloat; ++kind) {
        Operation operation = {.name = floatNames[kind], .sourceDepth = ORV_DEPTH_32F, .resultDepth = ORV_DEPTH_32F};
        operation.rule = floatRule(kind, 0.1f);
        operation.call = [&](OrvImage* const* images) { callFloat(kind, images[0], images[1], 0.1f); };
        operation.walk = [&](const Scene& scene) { return scalarWalk(scene, floatNames[kind]); };
        operation.seed = uint64_t(kind);
        runMatrix(operation);
        if (HasFailure())
            return;
    }
}

// The redirections and the clamps of the scalar come to exact arithmetic, whatever the scalar.
TEST(Scalar, ComputesExactly)
{
    for (int kind = add; kind <= right; ++kind)
        for (uint32_t depth : allDepths) {
            if (depth == ORV_DEPTH_32F)
                continue;
            std::vector<int32_t> scalars;
            for (uint32_t bits : telling(ORV_DEPTH_32S))
                scalars.push_back(int32_t(bits));
            int32_t top = int32_t(bitsOf(depth & ORV_DEPTH_MASK, 1e9));
            for (int32_t multiple : {1, 2})
                for (int32_t around = -2; depth != ORV_DEPTH_32S && around <= 2; ++around)
                    for (int32_t sign : {-1, 1})
                        scalars.push_back(sign * multiple * top + around);
            for (int32_t scalar : scalars) {
                auto call = [&](OrvImage* src, OrvImage* dst) { callKind(Kind(kind), src, dst, scalar); };
                expectExact(kindNames[kind] + (' ' + std::to_string(scalar)), depth, call,
                            kindRule(Kind(kind), depth, scalar));
                if (HasFailure())
                    return;
            }
        }
    for (int kind = addFloat; kind <= multiplyFloat; ++kind)
        for (uint32_t bits : telling(ORV_DEPTH_32F)) {
            float scalar = std::bit_cast<float>(bits);
            auto call = [&](OrvImage* src, OrvImage* dst) { callFloat(kind, src, dst, scalar); };
            expectExact(floatNames[kind] + (' ' + std::to_string(scalar)), ORV_DEPTH_32F, call,
                        floatRule(kind, scalar));
            if (HasFailure())
                return;
        }
}

// The padding of whole buffers is processed too.
TEST(Scalar, RunsOverWholeBuffers)
{
    for (Kind kind : {subtract, bitXor}) {
        PictureSpec spec = {.align = 8, .width = 5, .height = 6, .extraStep = 8};
        Picture src(spec), dst(spec);
        std::vector<uint8_t> expected = src.bytes();
        for (uint8_t& byte : expected)
            byte = uint8_t(kindRule(kind, ORV_DEPTH_8U, 99)(byte, 0));
        callKind(kind, src, dst, 99);
        EXPECT_TRUE(dst.bytes() == expected) << kindNames[kind];
        EXPECT_EQ(src.faults() + dst.faults(), "");
    }
}

// Who does the work reports, and under its own name.
TEST(Scalar, ChecksInOrder)
{
    for (const Row& row : rows) {
        SCOPED_TRACE(kindNames[row.kind] + (' ' + depthName(row.depth)) + ' ' + std::to_string(row.value));
        expectScalarChecks(row.reporter, row.depth,
                           [&](OrvImage* src, OrvImage* dst) { callKind(row.kind, src, dst, row.value); });
        // The logic leaves a NULL source to the check of headers.
        bool logic = row.kind == bitAnd || row.kind == bitOr || row.kind == bitXor;
        std::string entry = row.kind == reverse ? "orvSubtractS" : kindNames[row.kind];
        EXPECT_EQ(reportsOf([&] { callKind(row.kind, nullptr, nullptr, row.value); }),
                  logic ? "-9 " + entry + " Incorrect Image\n" : "-5 " + entry + " srcImage==0\n");
    }
    for (int kind = addFloat; kind <= multiplyFloat; ++kind)
        expectScalarChecks(floatNames[kind], ORV_DEPTH_32F,
                           [&](OrvImage* src, OrvImage* dst) { callFloat(kind, src, dst, 1); });
}

// At 1U there is one channel and no data order.
TEST(Scalar, TakesBitsInAnyDataOrder)
{
    PictureSpec spec = {.depth = ORV_DEPTH_1U, .width = 13, .height = 3};
    Picture src(spec);
    spec.order = ORV_DATA_ORDER_PLANE;
    Picture dst(spec);
    EXPECT_EQ(reportsOf([&] { orvXorS(src, dst, 1); }), "");
    EXPECT_NE(src.raw(5, 1), dst.raw(5, 1));
}

// The depth of a header that nobody has checked yet decides which function is asked for.
TEST(Scalar, SteersToTheFunctionOfTheDepth)
{
    Picture floats({.depth = ORV_DEPTH_32F, .width = 4}), words({.depth = ORV_DEPTH_16U, .width = 4});
    floats->width = words->width = 0;
    struct Case {
        const char* report;
        std::function<void()> call;
    };
    const Case cases[] = {
        {"-5 orvAddS For processing depth 32F use function orvAddSFP\n", [&] { orvAddS(floats, floats, 1); }},
        {"-5 orvSubtractS For processing depth 32F use function orvSubtractSFP\n",
         [&] { orvSubtractS(floats, floats, 1, 0); }},
        {"-5 orvMultiplyS For processing depth 32F use function orvMultiplySFP\n",
         [&] { orvMultiplyS(floats, floats, 1); }},
        {"-5 orvAddSFP For processing this depth use function orvAddS\n", [&] { orvAddSFP(words, words, 1); }},
        {"-5 orvSubtractSFP For processing this depth use function orvSubtractS\n",
         [&] { orvSubtractSFP(words, words, 1, 1); }},
        {"-5 orvMultiplySFP For processing this depth use function orvMultiplyS\n",
         [&] { orvMultiplySFP(words, words, 1); }},
        {"-10 orvAddSFP Incorrect Image\n", [&] { orvAddSFP(floats, floats, 1); }},
        {"-5 orvAddSFP srcImage==0\n", [&] { orvAddSFP(nullptr, floats, 1); }},
        {"-5 orvSubtractSFP srcImage==0\n", [&] { orvSubtractSFP(nullptr, floats, 1, 0); }},
        {"-5 orvMultiplySFP srcImage==0\n", [&] { orvMultiplySFP(nullptr, floats, 1); }},
        // A shift by 0 is a copy under the rules of orvXorS, one beyond the depth a fill under those of orvAndS.
        {"-10 orvXorS Incorrect Image\n", [&] { orvLShiftS(floats, floats, 0); }},
        {"-10 orvAndS Incorrect Image\n", [&] { orvRShiftS(floats, floats, 32); }},
    };
    for (const Case& one : cases)
        EXPECT_EQ(reportsOf(one.call), one.report);
    floats->width = 4;
    const std::pair<const char*, std::function<void()>> refusals[] = {
        {"orvAndS", [&] { orvAndS(floats, floats, 1); }},       {"orvOrS", [&] { orvOrS(floats, floats, 1); }},
        {"orvXorS", [&] { orvXorS(floats, floats, 1); }},       {"orvLShiftS", [&] { orvLShiftS(floats, floats, 1); }},
        {"orvRShiftS", [&] { orvRShiftS(floats, floats, 1); }}, {"orvXorS", [&] { orvLShiftS(floats, floats, 0); }},
        {"orvAndS", [&] { orvRShiftS(floats, floats, 40); }},   {"orvXorS", [&] { orvNot(floats, floats); }},
    };
    for (const auto& [name, call] : refusals)
        EXPECT_EQ(reportsOf(call), std::string("-5 ") + name + " This function does not support depth 32F\n");
}
