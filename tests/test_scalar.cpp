// Operations of an image and a scalar.
#include <gtest/gtest.h>

#include <cmath>

#include "checks.h"
#include "model.h"

namespace {

constexpr uint32_t u1 = ORV_DEPTH_1U, u8 = ORV_DEPTH_8U, s8 = ORV_DEPTH_8S, u16 = ORV_DEPTH_16U, s16 = ORV_DEPTH_16S,
                   s32 = ORV_DEPTH_32S, f32 = ORV_DEPTH_32F;

enum Form { add, subtract, flip, multiply, bitAnd, bitOr, bitXor, left, right, addF, subtractF, flipF, multiplyF };

const struct {
    const char* name;
    void (*call)(OrvImage* src, OrvImage* dst, double value);
} forms[] = {
    {"orvAddS", [](OrvImage* src, OrvImage* dst, double value) { orvAddS(src, dst, int32_t(value)); }},
    {"orvSubtractS", [](OrvImage* src, OrvImage* dst, double value) { orvSubtractS(src, dst, int32_t(value), 0); }},
    {"orvSubtractS", [](OrvImage* src, OrvImage* dst, double value) { orvSubtractS(src, dst, int32_t(value), 256); }},
    {"orvMultiplyS", [](OrvImage* src, OrvImage* dst, double value) { orvMultiplyS(src, dst, int32_t(value)); }},
    {"orvAndS", [](OrvImage* src, OrvImage* dst, double value) { orvAndS(src, dst, int32_t(value)); }},
    {"orvOrS", [](OrvImage* src, OrvImage* dst, double value) { orvOrS(src, dst, int32_t(value)); }},
    {"orvXorS", [](OrvImage* src, OrvImage* dst, double value) { orvXorS(src, dst, int32_t(value)); }},
    {"orvLShiftS", [](OrvImage* src, OrvImage* dst, double value) { orvLShiftS(src, dst, uint32_t(int32_t(value))); }},
    {"orvRShiftS", [](OrvImage* src, OrvImage* dst, double value) { orvRShiftS(src, dst, uint32_t(int32_t(value))); }},
    {"orvAddSFP", [](OrvImage* src, OrvImage* dst, double value) { orvAddSFP(src, dst, float(value)); }},
    {"orvSubtractSFP", [](OrvImage* src, OrvImage* dst, double value) { orvSubtractSFP(src, dst, float(value), 0); }},
    {"orvSubtractSFP", [](OrvImage* src, OrvImage* dst, double value) { orvSubtractSFP(src, dst, float(value), -1); }},
    {"orvMultiplySFP", [](OrvImage* src, OrvImage* dst, double value) { orvMultiplySFP(src, dst, float(value)); }},
};

bool takes(Form form, uint32_t depth)
{
    return (form >= addF) == (depth == f32);
}

// What the forms come to, without the roads that they take. At 1U only the lowest bit of a value counts. Floats are
// exact enough in double to be rounded once.
Rule ruleOf(Form form, uint32_t depth, double value)
{
    uint32_t all = UINT32_MAX >> (32 - (depth & ORV_DEPTH_MASK));
    uint32_t bits = depth == f32 ? 0 : uint32_t(int32_t(value));
    double v = depth == u1 ? bits & 1 : value;
    switch (form) {
    case add:
    case addF: return onNumbers(depth, [=](double s, double) { return s + v; });
    case subtract:
    case subtractF: return onNumbers(depth, [=](double s, double) { return s - v; });
    case flip:
    case flipF: return onNumbers(depth, [=](double s, double) { return v - s; });
    case multiply:
    case multiplyF: return onNumbers(depth, [=](double s, double) { return s * v; });
    case bitAnd: return [=](uint32_t s, uint32_t) { return s & bits; };
    case bitOr: return [=](uint32_t s, uint32_t) { return (s | bits) & all; };
    case bitXor: return [=](uint32_t s, uint32_t) { return (s ^ bits) & all; };
    case left: return [=](uint32_t s, uint32_t) { return bits < 32 ? (s << bits) & all : 0; };
    case right:
        return onNumbers(depth, [=](double s, double) { return std::floor(std::ldexp(s, -int(std::min(bits, 64u)))); });
    }
    return {};
}

// Which function does the work in the end, at which depths and scalars.
const struct {
    Form form;
    const char* reporter;
    std::vector<std::pair<uint32_t, double>> scalars;
} roads[] = {
    {add, "orvOrS", {{u1, 1}, {u1, 6}, {u8, 300}, {u16, 65535}}},
    {add, "orvAndS", {{u8, -300}, {u8, INT32_MIN}, {u16, -65535}}},
    {add, "orvSubtractS", {{u8, 100}, {u8, -7}, {s8, 50}, {s8, INT32_MIN}, {u16, 60000}}},
    {add, "orvSubtractS", {{s16, -30000}, {s16, INT32_MAX}}},
    {add, "orvAddS", {{s32, 2000000000}, {s32, INT32_MIN}}},
    {subtract, "orvXorS", {{u1, 2}}},
    {subtract, "orvAndS", {{u1, 3}, {u8, 255}}},
    {subtract, "orvOrS", {{u8, -255}, {u16, -65535}}},
    {subtract, "orvSubtractS", {{u8, 254}, {u8, -254}, {s8, 1000}, {s8, -20}, {u16, 65534}}},
    {subtract, "orvSubtractS", {{s16, 12345}, {s32, INT32_MIN}, {s32, 1500000000}}},
    {flip, "orvXorS", {{u1, 3}}},
    {flip, "orvAndS", {{u1, 2}, {u8, 0}}},
    {flip, "orvOrS", {{u8, 510}, {u16, 131070}}},
    {flip, "orvSubtractS", {{u8, 1}, {u8, 300}, {u8, 509}, {s8, -20}, {s8, INT32_MIN}, {u16, 131069}}},
    {flip, "orvSubtractS", {{s16, 70000}, {s16, -12345}, {s32, INT32_MIN}, {s32, INT32_MAX}}},
    {multiply, "orvAndS", {{u1, 5}, {u1, 4}, {u8, -1}}},
    {multiply, "orvMultiplyS", {{u8, 3}, {u8, 1000000}, {s8, -1}, {s8, 128}, {s8, 1000}, {s8, -1000}}},
    {multiply, "orvMultiplyS", {{u16, 7}, {u16, 70000}, {s16, -3}, {s16, 32768}, {s32, -70000}, {s32, INT32_MIN}}},
    {bitAnd, "orvAndS", {{u1, 2}, {s8, 0x35A}, {u16, 0x12345}, {s32, 0x12345678}}},
    {bitOr, "orvOrS", {{u1, 1}, {u8, 0x1A}, {s16, -32768}, {s32, 0x0F00FF00}}},
    {bitXor, "orvXorS", {{u1, -1}, {u8, 0xFF}, {s8, 0}, {u16, 0x1357}, {s32, 0x7FFFFFFF}}},
    {left, "orvXorS", {{u1, 0}, {s32, 0}}},
    {left, "orvAndS", {{u1, 1}, {u16, 16}, {s16, -1}}},
    {left, "orvLShiftS", {{u8, 1}, {s8, 7}, {s16, 5}, {s32, 31}}},
    {right, "orvXorS", {{u16, 0}}},
    {right, "orvAndS", {{u1, 1}, {u8, 100}}},
    {right, "orvRShiftS", {{u8, 3}, {s8, 1}, {s8, 100}, {u16, 15}, {s16, 16}, {s32, 9}, {s32, -1}}},
    {addF, "orvAddSFP", {{f32, 0.1f}}},
    {subtractF, "orvSubtractSFP", {{f32, 0.1f}}},
    {flipF, "orvSubtractSFP", {{f32, 0.1f}}},
    {multiplyF, "orvMultiplySFP", {{f32, 0.1f}}},
};

void forEveryRoad(const std::function<void(Form form, const char* reporter, uint32_t depth, double value)>& body)
{
    for (const auto& road : roads)
        for (auto [depth, value] : road.scalars) {
            SCOPED_TRACE(forms[road.form].name + (' ' + depthName(depth)) + ' ' + std::to_string(value));
            body(road.form, road.reporter, depth, value);
            if (testing::Test::HasFailure())
                return;
        }
}

// Scalars around the ends of all ranges, and for 8 and 16 bits around once and twice the depth's own.
std::vector<double> tellingScalars(uint32_t depth)
{
    uint32_t scalarDepth = depth == f32 ? f32 : s32;
    std::vector<double> scalars;
    for (uint32_t bits : telling(scalarDepth))
        scalars.push_back(numberOf(scalarDepth, bits));
    double top = bitsOf(depth & ORV_DEPTH_MASK, 1e9);
    for (double multiple : {-2, -1, 1, 2})
        for (int around = -2; scalarDepth == s32 && depth != s32 && around <= 2; ++around)
            scalars.push_back(multiple * top + around);
    return scalars;
}

}  // namespace

TEST(Scalar, IsAsTheModelInEveryLayout)
{
    uint64_t seed = 3;
    forEveryRoad([&](Form form, const char* reporter, uint32_t depth, double value) {
        Operation operation = {.name = forms[form].name, .sourceDepth = depth, .resultDepth = depth};
        operation.rule = ruleOf(form, depth, value);
        operation.call = [&](OrvImage* const* images) { forms[form].call(images[0], images[1], value); };
        operation.walk = [&](const Scene& scene) { return bandWalk(scene, reporter, {"srcImage", "dstImage"}); };
        operation.cases = depth == f32 ? 48 : 16;
        operation.seed = ++seed;
        runMatrix(operation);
    });
}

// The redirections and the clamps of the scalar come to exact arithmetic, whatever the scalar.
TEST(Scalar, ComputesExactly)
{
    for (int form = add; form <= multiplyF; ++form)
        for (uint32_t depth : allDepths) {
            if (!takes(Form(form), depth))
                continue;
            std::vector<uint32_t> values = telling(depth);
            Picture src({.depth = depth, .width = 256}), dst({.depth = depth, .width = 256});
            src.fillRaw([&](int x, int, int) { return values[size_t(x)]; });
            for (double scalar : tellingScalars(depth)) {
                forms[form].call(src, dst, scalar);
                Rule rule = ruleOf(Form(form), depth, scalar);
                for (int x = 0; x < 256; ++x)
                    ASSERT_TRUE(sameValue(depth, dst.raw(x, 0), rule(values[size_t(x)], 0)))
                        << forms[form].name << ' ' << scalar << ' ' << depthName(depth) << ' ' << src.get(x, 0)
                        << " gives " << dst.get(x, 0);
            }
        }
}

// The padding of whole buffers is processed too.
TEST(Scalar, RunsOverWholeBuffers)
{
    for (Form form : {subtract, bitXor}) {
        PictureSpec spec = {.align = 8, .width = 5, .height = 6, .extraStep = 8};
        Picture src(spec), dst(spec);
        std::vector<uint8_t> expected = src.bytes();
        for (uint8_t& byte : expected)
            byte = uint8_t(ruleOf(form, u8, 99)(byte, 0));
        forms[form].call(src, dst, 99);
        EXPECT_TRUE(dst.bytes() == expected) << forms[form].name;
        EXPECT_EQ(src.faults() + dst.faults(), "");
    }
}

// Who does the work reports, and under its own name.
TEST(Scalar, ChecksInOrder)
{
    Picture mask({.depth = u1, .width = 9, .height = 9}), flat({.depth = u1}),
        empty({.depth = u1, .width = 9, .height = 9, .roi = OrvROI{0, 0, 9, 4, 4}});
    flat->height = 0;
    forEveryRoad([&](Form form, const std::string& name, uint32_t depth, double value) {
        auto call = [&](OrvImage* const* images) { forms[form].call(images[0], images[1], value); };
        const FaultOf fault{name};
        std::vector<Fault> faults = {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            fault(-110, "Incorrect Image", setField(1, &OrvImage::maskROI, &flat.image)),
            fault(-5, "(srcImage->depth != dstImage->depth)", setField(1, &OrvImage::depth, depth == u8 ? s8 : u8)),
            fault(-5, "(srcImage->dataOrder != dstImage->dataOrder)", setField(0, &OrvImage::dataOrder, 1)),
            fault(-5, "(nChSrc != nChDst)", setField(1, &OrvImage::nChannels, 2)),
            {"", setMasks(mask, empty)},
            fault(-4, "Out of memory", setMasks(mask, mask, 1)),
        };
        if (depth == u1)  // has one channel and no data order
            faults.erase(faults.begin() + 3, faults.begin() + 5);
        PictureSpec spec = {.depth = depth, .width = 8, .height = 8};
        expectFaultsInOrder({spec, spec}, call, faults);
        Picture src(spec);
        EXPECT_EQ(reportsOf([&] { forms[form].call(src, nullptr, value); }), "-9 " + name + " Incorrect Image\n");
        // The logic leaves a NULL source to the check of headers.
        bool logic = form == bitAnd || form == bitOr || form == bitXor;
        std::string entry = forms[form].name;
        EXPECT_EQ(reportsOf([&] { forms[form].call(nullptr, src, value); }),
                  logic ? "-9 " + entry + " Incorrect Image\n" : "-5 " + entry + " srcImage==0\n");
    });
}

// The depth of a header that nobody has checked yet decides which function is asked for. A shift by 0 is a copy under
// the rules of orvXorS, one beyond the depth a fill under those of orvAndS.
TEST(Scalar, SteersToTheFunctionOfTheDepth)
{
    Picture floats({.depth = f32, .width = 4}), words({.depth = u16, .width = 4});
    auto expect = [&](Form form, double value, const std::string& report) {
        OrvImage* image = form >= addF ? words : floats;
        EXPECT_EQ(reportsOf([&] { forms[form].call(image, image, value); }), report);
    };
    const std::string noFloats = " This function does not support depth 32F\n";
    expect(bitAnd, 1, "-5 orvAndS" + noFloats);
    expect(bitOr, 1, "-5 orvOrS" + noFloats);
    expect(bitXor, 1, "-5 orvXorS" + noFloats);
    expect(left, 1, "-5 orvLShiftS" + noFloats);
    expect(right, 1, "-5 orvRShiftS" + noFloats);
    expect(left, 0, "-5 orvXorS" + noFloats);
    expect(right, 40, "-5 orvAndS" + noFloats);
    EXPECT_EQ(reportsOf([&] { orvNot(floats, floats); }), "-5 orvXorS" + noFloats);

    floats->width = words->width = 0;
    expect(add, 1, "-5 orvAddS For processing depth 32F use function orvAddSFP\n");
    expect(subtract, 1, "-5 orvSubtractS For processing depth 32F use function orvSubtractSFP\n");
    expect(multiply, 1, "-5 orvMultiplyS For processing depth 32F use function orvMultiplySFP\n");
    expect(addF, 1, "-5 orvAddSFP For processing this depth use function orvAddS\n");
    expect(subtractF, 1, "-5 orvSubtractSFP For processing this depth use function orvSubtractS\n");
    expect(multiplyF, 1, "-5 orvMultiplySFP For processing this depth use function orvMultiplyS\n");
    expect(left, 0, "-10 orvXorS Incorrect Image\n");
    expect(right, 32, "-10 orvAndS Incorrect Image\n");
}
