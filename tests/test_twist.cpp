// Colour twists.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

constexpr uint32_t u8 = ORV_DEPTH_8U, u16 = ORV_DEPTH_16U, f32 = ORV_DEPTH_32F;

using Matrix = std::vector<double>;  // 16 values

OrvColorTwist twistOf(const std::vector<int32_t>& data, int32_t scalingValue)
{
    OrvColorTwist twist = {};
    orvSetColorTwist(&twist, data.data(), scalingValue);
    return twist;
}

// One row of the matrix, in double precision.
uint32_t twisted(uint32_t depth, const Matrix& m, size_t row, const double (&c)[3], int32_t offset)
{
    const double* r = &m[4 * row];
    if (depth == f32)
        return bitsOf(f32, r[0] * c[0] + r[3] + r[1] * c[1] + r[2] * c[2]);
    double top = depth == u8 ? 255 : 65535, t = trunc(r[0] * c[0] + r[1] * c[1] + r[2] * c[2] + r[3]);
    return uint32_t(std::clamp(std::clamp(t, 0.0, top) + offset, 0.0, top));
}

// What the destination holds after a call.
std::vector<uint32_t> expectedValues(const Scene& scene, const Matrix& m, int32_t offset)
{
    const Picture &src = *scene.images[0], &dst = scene.destination();
    Area common = commonArea(scene), from = areaOf(src), to = areaOf(dst);
    std::vector<uint32_t> values = dst.values();
    for (int y = 0; y < common.height; ++y)
        for (int x = 0; x < common.width; ++x) {
            auto isSet = [=](const Picture* mask) {
                return !mask || mask->raw(areaOf(*mask).x + x, areaOf(*mask).y + y) != 0;
            };
            double c[3];
            for (int i = 0; i < 3; ++i)
                c[i] = src.get(from.x + x, from.y + y, i);
            size_t at = size_t(((to.y + y) * dst.layout().width + to.x + x) * dst.layout().channels);
            for (size_t row = 0; row < 3 && isSet(scene.masks[0]) && isSet(scene.masks[1]); ++row)
                values[at + row] = twisted(src.layout().depth, m, row, c, offset);
        }
    return values;
}

void expectTwisted(const Scene& scene, const Matrix& m, int32_t offset,
                   const std::function<void(OrvImage*, OrvImage*)>& call)
{
    Picture &src = *scene.images[0], &dst = scene.destination();
    std::vector<uint32_t> expected = expectedValues(scene, m, offset);
    std::vector<uint8_t> source = src.bytes();
    EXPECT_EQ(reportsOf([&] { call(src, dst); }), "");
    std::vector<uint32_t> got = dst.values();
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(sameValue(dst->depth, got[i], expected[i]))
            << "value " << i << ": " << got[i] << ' ' << expected[i];
    EXPECT_TRUE(&src == &dst || src.bytes() == source);
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(scene.openTiles(), 0);
}

// Images of any layout for one call, with masks or without, now and then in place.
Layout randomLayout(Random& random, uint32_t depth)
{
    int width = random.below(4) ? random.between(1, 60) : random.between(250, 600), height = random.between(1, 20);
    int order = random.below(2), origin = random.below(2);
    auto image = [&] {
        PictureSpec spec = randomPictureSpec(random, depth, 3, width, height);
        if (spec.alpha == 0 && random.below(3) == 0)
            spec.channels = 4;
        if (spec.roi)
            spec.roi->coi = random.below(spec.channels + 1);  // has no effect
        spec.order = order;
        spec.origin = origin;
        return spec;
    };
    auto mask = [&]() -> std::optional<PictureSpec> {
        if (random.below(3))
            return {};
        PictureSpec spec = randomMaskSpec(random, width, height);
        spec.origin = origin;
        return spec;
    };
    bool inPlace = random.below(4) == 0;
    Layout layout = {{{image(), 0, mask(), 0}, {image(), inPlace ? 0 : 1, mask(), 1}}};
    if (inPlace)
        layout.images[1].mask = layout.images[0].mask, layout.images[1].sameMask = 0;
    return layout;
}

std::vector<int32_t> randomData(Random& random)
{
    // Factors of 16 bits, sums of 32 bits, and any.
    const int bits = random.below(3) == 0 ? 32 : random.below(2) ? 22 : 14;
    std::vector<int32_t> data;
    for (int i = 0; i < 16; ++i)
        data.push_back(int32_t(random.bits()) >> (32 - bits));
    return data;
}

}  // namespace

TEST(Twist, IsItsFormulaInEveryLayout)
{
    Random random(1);
    for (int round = 0; round < 1500 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = std::array{u8, u16, f32}[size_t(round % 3)];
        const Layout layout = randomLayout(random, depth);
        SCOPED_TRACE(std::to_string(round) + layout.text());
        const Scene scene(layout);
        if (depth == f32) {
            std::vector<float> twist;
            for (int i = 0; i < 16; ++i)
                twist.push_back(float(random.below(2000) - 1000) / 300);
            expectTwisted(scene, Matrix(twist.begin(), twist.end()), 0,
                          [&](OrvImage* src, OrvImage* dst) { orvColorTwistFP(src, dst, twist.data()); });
            continue;
        }
        std::vector<int32_t> data = randomData(random);
        const int32_t scaling = random.below(32);
        const OrvColorTwist twist = twistOf(data, scaling);
        const int32_t offsets[] = {0, 10, -10, 255, -255, 70000, INT32_MIN, random.below(200000) - 100000};
        const int32_t offset = offsets[random.below(8)];
        Matrix m;
        for (int32_t value : data)
            m.push_back(ldexp(value, -scaling));
        int32_t cut = std::clamp(offset, -65535, 65535);
        expectTwisted(scene, m, cut,
                      [&](OrvImage* src, OrvImage* dst) { orvApplyColorTwist(src, dst, &twist, offset); });
    }
}

// Sums next to the limits of 16 and 32 bits, where another way of computing begins or saturates.
TEST(Twist, IsExactAtTheLimitsOfItsSums)
{
    for (uint32_t depth : {u8, u16}) {
        PictureSpec spec = {.depth = depth, .channels = 3, .width = 8};
        Picture src(spec), dst(spec);
        int32_t top = depth == u8 ? 255 : 65535;
        src.fill([=](int x, int, int c) { return x >> c & 1 ? top : 0; });
        for (int32_t factor :
             {32767, 32768, -32768, -32769, 2147483647 / top, 2147483647 / top + 1, INT32_MAX, INT32_MIN})
            for (int32_t constant : {0, 1, -1, INT32_MAX, INT32_MIN})
                for (int32_t scaling : {0, 7, 15, 31}) {
                    const OrvColorTwist twist = twistOf({factor, 0, 0, constant, 0, factor, -(factor / 2), constant, -1,
                                                         1, factor, constant, 0, 0, 0, 0},
                                                        scaling);
                    orvApplyColorTwist(&src.image, &dst.image, &twist, 3);
                    for (int x = 0; x < 8; ++x)
                        for (int row = 0; row < 3; ++row) {
                            const int32_t* m = twist.data + 4 * row;
                            long double sum = m[3];
                            for (int c = 0; c < 3; ++c)
                                sum += (long double)m[c] * src.get(x, 0, c);
                            double t = std::clamp(double(truncl(ldexpl(sum, -scaling))), 0.0, double(top));
                            ASSERT_EQ(dst.get(x, 0, row), std::min(t + 3, double(top)))
                                << depthName(depth) << ' ' << factor << ' ' << constant << ' ' << scaling;
                        }
                }
    }
}

TEST(Twist, LosesNothingWhereMemoryOrATileIsRefused)
{
    static const OrvColorTwist twist = twistOf({1, 1, 0, 7, 0, 1, 1, 0, 1, 0, 1, 0, 0, 0, 0, 0}, 1);
    expectNothingLost({.name = "orvApplyColorTwist",
                       .call = [](OrvImage* const* images) { orvApplyColorTwist(images[0], images[1], &twist, 9); }});
}

TEST(Twist, ChecksInOrder)
{
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 9, .height = 9};
    Picture mask(bits), turned(bits), empty(bits), alpha(bits);
    turned->origin = 1;
    empty.roi = {0, 9, 0, 4, 4};
    empty->roi = &empty.roi;
    alpha->alphaChannel = 1;
    const OrvColorTwist good = twistOf(std::vector<int32_t>(16), 0);
    const float goodFP[16] = {};
    bool isNull = false;
    auto call = [&](OrvImage* const* images) {
        orvApplyColorTwist(images[0], images[1], std::exchange(isNull, false) ? nullptr : &good, 0);
    };
    auto callFP = [&](OrvImage* const* images) {
        orvColorTwistFP(images[0], images[1], std::exchange(isNull, false) ? nullptr : goodFP);
    };
    auto setNull = [&](OrvImage* const*) { isNull = true; };
    const FaultOf fault{"orvApplyColorTwist"}, faultFP{"orvColorTwistFP"};
    auto channels = [](const FaultOf& of) {
        return std::vector<Fault>{
            of(-5, "(srcImage->nChannels < 3)", setChannels(0, 2, 0)),
            of(-5, "((srcImage->alphaChannel != 0) && (srcImage->nChannels < 4))", setChannels(0, 3, 3)),
            of(-5, "(dstImage->nChannels < 3)", setChannels(1, 2, 0)),
            of(-5, "((dstImage->alphaChannel != 0) && (dstImage->nChannels < 4))", setChannels(1, 3, 3)),
        };
    };
    auto layouts = [](const FaultOf& of) {
        return std::vector<Fault>{
            of(-5, "(srcImage->dataOrder != dstImage->dataOrder)", setField(0, &OrvImage::dataOrder, 1)),
            of(-5, "(srcImage->origin != dstImage->origin)", setField(1, &OrvImage::origin, 1)),
        };
    };
    auto images = [](const FaultOf& of) {
        return std::vector<Fault>{of(-10, "Incorrect Image", setField(0, &OrvImage::width, 0)),
                                  of(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0))};
    };
    auto joined = [](std::initializer_list<std::vector<Fault>> parts) {
        std::vector<Fault> all;
        for (const std::vector<Fault>& part : parts)
            all.insert(all.end(), part.begin(), part.end());
        return all;
    };
    PictureSpec spec = {.channels = 4, .width = 8, .height = 8}, real = spec;
    real.depth = f32;
    expectFaultsInOrder(
        {spec, spec}, call,
        joined({images(fault),
                {fault(-5, "cTwist==0", setNull)},
                channels(fault),
                {fault(-5, "(srcImage->depth != dstImage->depth)", setField(0, &OrvImage::depth, u16)),
                 fault(-5, "((srcImage->depth != 8) && (srcImage->depth != 16))",
                       [](OrvImage* const* all) { all[0]->depth = all[1]->depth = ORV_DEPTH_8S; })},
                layouts(fault),
                {fault(-5, "(srcImage->origin != srcImage->maskROI->origin)", setMasks(turned, turned)),
                 fault(-5, "(dstImage->origin != dstImage->maskROI->origin)", setMasks(mask, turned)),
                 fault(-5, "(msk == NULL)", setMasks(mask, empty, 1)),
                 {"", setMasks(mask, empty, 2)},
                 {"-4 orvAllocateImage for allocate image data\n-5 orvApplyColorTwist (msk->imageData == NULL)\n",
                  setMasks(mask, mask, 2)},
                 {"-5 orvAnd (nChSrcA != nChDst)\n-1 orvApplyColorTwist error_orvAnd\n", setMasks(alpha, alpha)}}}));
    expectFaultsInOrder(
        {real, real}, callFP,
        joined({images(faultFP),
                {faultFP(-5, "(TwistFP == 0)", setNull),
                 faultFP(-5, "((srcImage->depth != 32)|| (dstImage->depth != 32))", setField(1, &OrvImage::depth, u8))},
                layouts(faultFP),
                channels(faultFP)}));

    // An old failure stops nothing and is not told.
    Picture src(spec), dst(spec);
    src->maskROI = dst->maskROI = mask;
    Reports reports;
    orvSetErrStatus(ORV_STATUS_INTERNAL);
    orvApplyColorTwist(src, dst, &good, 0);
    EXPECT_EQ(reports.take(), "");
    EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_INTERNAL);
    EXPECT_NE(dst.values(), Picture(spec).values());
}

TEST(Twist, RecordsAreMadeSetAndDeleted)
{
    int32_t data[16];
    for (int i = 0; i < 16; ++i)
        data[i] = i - 8;
    OrvColorTwist* twist = orvCreateColorTwist(data, 31);
    ASSERT_NE(twist, nullptr);
    EXPECT_TRUE(memcmp(twist->data, data, sizeof data) == 0 && twist->scalingValue == 31);
    data[3] = 99;
    orvSetColorTwist(twist, data, 0);
    EXPECT_TRUE(memcmp(twist->data, data, sizeof data) == 0 && twist->scalingValue == 0);
    const OrvColorTwist before = *twist;
    auto set = [&](OrvColorTwist* record, const int32_t* values, int32_t scaling) {
        return reportsOf([=] { orvSetColorTwist(record, values, scaling); });
    };
    EXPECT_EQ(set(nullptr, nullptr, -1), "-5 orvSetColorTwist cTwist==0\n");
    EXPECT_EQ(set(twist, nullptr, -1), "-5 orvSetColorTwist (data == 0)\n");
    EXPECT_EQ(set(twist, data, -1), "-5 orvSetColorTwist (scalingValue < 0)\n");
    EXPECT_EQ(set(twist, data, 32), "-5 orvSetColorTwist (scalingValue > 31)\n");
    EXPECT_EQ(memcmp(&before, twist, sizeof before), 0);
    orvDeleteColorTwist(twist);
    orvDeleteColorTwist(nullptr);
    auto create = [&](const int32_t* values, int32_t scaling) {
        return reportsOf([=] { EXPECT_EQ(orvCreateColorTwist(values, scaling), nullptr); });
    };
    EXPECT_EQ(create(nullptr, 0), "-5 orvCreateColorTwist bad_argument\n");
    EXPECT_EQ(create(data, -1), "-5 orvCreateColorTwist bad_argument\n");
    EXPECT_EQ(create(data, 32), "-5 orvCreateColorTwist bad_argument\n");
    testheap::refuse(1);
    EXPECT_EQ(create(data, 0), "-4 orvCreateColorTwist matrix_is_not_allocated\n");
    testheap::refuse(0);
}
