// The geometry of maps: quadrangles, bounds and transforms.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <numbers>

#include "checks.h"
#include "reports.h"

namespace {

using Quad = std::array<std::array<double, 2>, 4>;

double (*pointer(Quad& quad))[2]
{
    return reinterpret_cast<double(*)[2]>(quad.data());
}

void expectNear(const Quad& got, const Quad& expected, double tolerance = 1e-9)
{
    for (size_t i = 0; i < 4; ++i)
        for (size_t k = 0; k < 2; ++k)
            EXPECT_NEAR(got[i][k], expected[i][k], tolerance) << "point " << i << ' ' << k;
}

// One kind of map by its functions for images and for bare regions.
template <int rows, int columns>
struct Functions {
    using Coeffs = double[rows][columns];
    std::string name;
    void(ORV_CALL* quad)(OrvImage*, double (*)[columns], double (*)[2]);
    void(ORV_CALL* quadROI)(OrvROI*, double (*)[columns], double (*)[2]);
    void(ORV_CALL* bound)(OrvImage*, double (*)[columns], double (*)[2]);
    void(ORV_CALL* boundROI)(OrvROI*, double (*)[columns], double (*)[2]);
    void(ORV_CALL* transform)(OrvImage*, double (*)[columns], double (*)[2]);
    void(ORV_CALL* transformROI)(OrvROI*, double (*)[columns], double (*)[2]);
};
#define FUNCTIONS(Kind)                                                                                         \
    {                                                                                                           \
        "orvGet" #Kind, orvGet##Kind##Quad, orvGet##Kind##QuadROI, orvGet##Kind##Bound, orvGet##Kind##BoundROI, \
            orvGet##Kind##Transform, orvGet##Kind##TransformROI                                                 \
    }
const Functions<2, 3> affine = FUNCTIONS(Affine);
const Functions<2, 4> bilinear = FUNCTIONS(Bilinear);
const Functions<3, 3> perspective = FUNCTIONS(Perspective);

template <class Check>
void forAllKinds(Check check)
{
    check(affine);
    check(bilinear);
    check(perspective);
}

const Quad parallelogram = {{{3, 4}, {13, 9}, {8, 29}, {-2, 24}}};
const Quad mirrored = {{{3, 4}, {-2, 24}, {8, 29}, {13, 9}}};
const Quad trapezoid = {{{0, 0}, {20, 2}, {15, 12}, {4, 10}}};

}  // namespace

// What a transform is made of comes back, for images, bare regions, and quadrangles of either sense.
TEST(Geometry, TransformsLeadToTheirQuadrangles)
{
    forAllKinds([](const auto& of) {
        SCOPED_TRACE(of.name);
        OrvROI roi = {0, 7, 3, 11, 21};
        Picture picture({.width = 40, .height = 30, .roi = roi});
        for (const Quad& corners : {parallelogram, mirrored, trapezoid}) {
            Quad quad = corners, back = {}, bareBack = {};
            typename std::remove_cvref_t<decltype(of)>::Coeffs coeffs = {}, bare = {};
            const bool fits = of.name != "orvGetAffine" || corners != trapezoid;
            EXPECT_EQ(reportsOf([&] {
                          of.transform(picture, coeffs, pointer(quad));
                          of.transformROI(&roi, bare, pointer(quad));
                      }),
                      fits ? ""
                           : "-5 orvGetAffineTransform Quadrangle is not parallelogram\n"
                             "-5 orvGetAffineTransformROI Quadrangle is not parallelogram\n");
            if (!fits)
                continue;
            EXPECT_EQ(reportsOf([&] {
                          of.quad(picture, coeffs, pointer(back));
                          of.quadROI(&roi, bare, pointer(bareBack));
                      }),
                      "");
            expectNear(back, corners);
            expectNear(bareBack, corners);
            double bound[2][2] = {}, bareBound[2][2] = {};
            of.bound(picture, coeffs, bound);
            of.boundROI(&roi, bare, bareBound);
            for (size_t k = 0; k < 2; ++k) {
                const auto [low, high] = std::minmax({corners[0][k], corners[1][k], corners[2][k], corners[3][k]});
                EXPECT_NEAR(bound[0][k], low, 1e-9);
                EXPECT_NEAR(bound[1][k], high, 1e-9);
                EXPECT_NEAR(bareBound[0][k], low, 1e-9);
                EXPECT_NEAR(bareBound[1][k], high, 1e-9);
            }
        }
    });
}

// The values between the corners tell the kinds apart.
TEST(Geometry, MapsAreEvaluatedByTheirFormulas)
{
    OrvROI point = {0, 5, 7, 1, 1};
    double first[2][3] = {{2, 3, 1}, {-1, 4, 0.5}}, second[2][4] = {{1, 2, 3, 4}, {-1, 0, 2, 0.5}};
    double third[3][3] = {{2, 3, 1}, {-1, 4, 0.5}, {1, 1, 4}};
    Quad quad;
    orvGetAffineQuadROI(&point, first, pointer(quad));
    expectNear(quad, {{{32, 23.5}, {32, 23.5}, {32, 23.5}, {32, 23.5}}}, 0);
    orvGetBilinearQuadROI(&point, second, pointer(quad));
    expectNear(quad, {{{70, -20.5}, {70, -20.5}, {70, -20.5}, {70, -20.5}}}, 0);
    orvGetPerspectiveQuadROI(&point, third, pointer(quad));
    expectNear(quad, {{{2, 1.46875}, {2, 1.46875}, {2, 1.46875}, {2, 1.46875}}}, 0);
    // The middle of a square through the maps onto one quadrangle: where its diagonals meet, and the mean of its
    // corners.
    OrvROI square = {0, 0, 0, 3, 3};
    Quad corners = trapezoid;
    orvGetPerspectiveTransformROI(&square, third, pointer(corners));
    orvGetBilinearTransformROI(&square, second, pointer(corners));
    OrvROI middle = {0, 1, 1, 1, 1};
    orvGetBilinearQuadROI(&middle, second, pointer(quad));
    EXPECT_NEAR(quad[0][0], 39 / 4.0, 1e-12);
    EXPECT_NEAR(quad[0][1], 24 / 4.0, 1e-12);
    orvGetPerspectiveQuadROI(&middle, third, pointer(quad));
    EXPECT_NEAR(quad[0][1] * 15, quad[0][0] * 12, 1e-9);
    EXPECT_NEAR((quad[0][0] - 4) * (2 - 10), (quad[0][1] - 10) * (20 - 4), 1e-9);
}

TEST(Geometry, RegionsAreCut)
{
    double coeffs[2][3] = {{1, 0, 0}, {0, 1, 0}};
    auto quadOf = [&](OrvROI roi, bool bare) {
        Quad quad = {};
        Picture picture({.width = 20, .height = 10});
        picture->roi = &roi;
        std::string told = reportsOf([&] {
            if (bare)
                orvGetAffineQuadROI(&roi, coeffs, pointer(quad));
            else
                orvGetAffineQuad(picture, coeffs, pointer(quad));
        });
        return told.empty() ? std::array{quad[0][0], quad[0][1], quad[2][0], quad[2][1]} : std::array{-1.0, 0., 0., 0.};
    };
    using Ends = std::array<double, 4>;
    EXPECT_EQ(quadOf({0, 5, 4, 100, 100}, false), (Ends{5, 4, 19, 9}));
    EXPECT_EQ(quadOf({0, 20, 4, 5, 5}, false)[0], -1);
    EXPECT_EQ(quadOf({0, 5, 10, 5, 5}, false)[0], -1);
    EXPECT_EQ(quadOf({0, -5, -4, 100, 50}, true), (Ends{0, 0, 94, 45}));
    EXPECT_EQ(quadOf({0, -5, 4, 5, 5}, true)[0], -1);
    EXPECT_EQ(quadOf({0, 5, -5, 5, 5}, true)[0], -1);
    EXPECT_EQ(quadOf({0, 5, 5, 0, 5}, true)[0], -1);
    EXPECT_EQ(quadOf({0, INT32_MAX, INT32_MAX, INT32_MAX, INT32_MAX}, true),
              (Ends{2147483647, 2147483647, 4294967293, 4294967293}));
    // The product of such spans does not fit 32 bits.
    OrvROI huge = {0, 0, 0, 65537, 65537};
    double wrapped[2][4];
    Quad corners = trapezoid;
    EXPECT_EQ(reportsOf([&] { orvGetBilinearTransformROI(&huge, wrapped, pointer(corners)); }), "");
}

TEST(Geometry, ChecksInTheirOrder)
{
    forAllKinds([](const auto& of) {
        SCOPED_TRACE(of.name);
        typename std::remove_cvref_t<decltype(of)>::Coeffs coeffs = {{1, 2}, {3, 4}};
        auto* noCoeffs = static_cast<decltype(&coeffs[0])>(nullptr);
        const auto before = coeffs[0][1];
        Quad good = parallelogram;
        OrvROI roi = {0, 0, 0, 9, 9}, thin = {0, 0, 0, 1, 9}, flat = {0, 0, 0, 9, 1}, away = {0, -9, 0, 9, 9};
        Picture picture({.width = 20, .height = 10}),
            outside({.width = 20, .height = 10, .roi = OrvROI{0, 20, 0, 5, 5}});
        Picture line({.width = 20, .height = 10, .roi = OrvROI{0, 2, 0, 1, 5}});
        auto told = [&](Quad quad, OrvImage* image, OrvROI* bare) {
            std::string text = reportsOf([&] {
                if (bare)
                    of.transformROI(bare, coeffs, pointer(quad));
                else
                    of.transform(image, coeffs, pointer(quad));
            });
            EXPECT_EQ(coeffs[0][1], before);
            return text;
        };
        const std::string plain = "-5 " + of.name + "Transform ", bare = "-5 " + of.name + "TransformROI ";
        const std::string degenerate = "Quadrangle is degenerate to triangle or length or point\n";
        // A corner that is straight within a part of the numbers' precision passes.
        const Quad straight = {{{0, 0}, {10, 0}, {20, 0}, {0, 10}}}, twice = {{{0, 0}, {0, 0}, {9, 9}, {0, 9}}};
        const Quad concave = {{{0, 0}, {10, 0}, {2, 2}, {0, 10}}}, crossed = {{{0, 0}, {10, 10}, {10, 0}, {0, 10}}};
        const Quad notNumbers = {{{NAN, 0}, {10, 0}, {10, 10}, {0, 10}}};
        const Quad dented = {{{0, 0}, {10, 0}, {10, 0}, {2, 1}}};
        const std::string noArea = std::string(of.name == "orvGetAffine" ? "srcImage" : "image") +
                                   " Rectangle ROI is degenerate to length or point\n";
        EXPECT_EQ(told(straight, nullptr, nullptr), "-9 " + of.name + "Transform Incorrect Image\n");
        for (const Quad& quad : {straight, twice, dented}) {
            EXPECT_EQ(told(quad, outside, nullptr), plain + degenerate);
            EXPECT_EQ(told(quad, nullptr, &away), bare + degenerate);
        }
        for (const Quad& quad : {concave, crossed, notNumbers})
            EXPECT_EQ(told(quad, outside, nullptr), plain + "Quadrangle is concave\n");
        if (of.name == "orvGetAffine") {
            EXPECT_EQ(told(trapezoid, nullptr, &away), bare + "Quadrangle is not parallelogram\n");
        }
        EXPECT_EQ(told(good, outside, nullptr), plain + "Bad rect ROI\n");
        EXPECT_EQ(told(good, nullptr, &away), bare + "Bad rect ROI\n");
        EXPECT_EQ(told(good, line, nullptr), plain + noArea);
        EXPECT_EQ(told(good, nullptr, &thin), bare + noArea);
        EXPECT_EQ(told(good, nullptr, &flat), bare + noArea);
        EXPECT_EQ(reportsOf([&] { of.transformROI(&roi, noCoeffs, pointer(good)); }), bare + "coeffs==0\n");
        EXPECT_EQ(reportsOf([&] { of.transformROI(&roi, coeffs, nullptr); }), bare + "quad==0\n");

        double bound[2][2] = {{5, 6}, {7, 8}};
        const std::string quad = of.name + "Quad", boundName = of.name + "Bound";
        EXPECT_EQ(reportsOf([&] { of.bound(outside, coeffs, bound); }),
                  "-5 " + quad + " Bad rect ROI\n-1 " + boundName + " \n");
        EXPECT_EQ(reportsOf([&] { of.boundROI(&away, coeffs, bound); }),
                  "-5 " + quad + "ROI Bad rect ROI\n-1 " + boundName + "ROI \n");
        EXPECT_EQ(reportsOf([&] { of.boundROI(&roi, noCoeffs, bound); }),
                  "-5 " + quad + "ROI coeffs==0\n-1 " + boundName + "ROI \n");
        // An old status is enough for a bound, and nothing to the others.
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-7);
                      of.bound(picture, coeffs, bound);
                      of.transform(picture, coeffs, pointer(good));
                      Quad made = {};
                      of.quad(picture, coeffs, pointer(made));
                      EXPECT_NE(made[1], (std::array{0.0, 0.0}));
                  }),
                  "-1 " + boundName + " \n");
        EXPECT_EQ(bound[0][0], 5);
        EXPECT_NE(coeffs[0][1], before);
        EXPECT_EQ(reportsOf([&] { of.boundROI(&roi, coeffs, nullptr); }), "-5 " + boundName + "ROI bound==0\n");
    });
}

TEST(Geometry, RotateShiftKeepsACentre)
{
    auto shift = [](double angle, double x, double y) {
        orvGetRotateShift(30, 7, angle, &x, &y);
        return std::array{x, y};
    };
    using Shift = std::array<double, 2>;
    for (double angle : {0.0, 360.0, -360.0, 3600.0})
        EXPECT_EQ(shift(angle, 1, 2), (Shift{1, 2}));
    EXPECT_EQ(shift(90, 1, 2), (Shift{24, 39}));
    EXPECT_EQ(shift(-630, 1, 2), (Shift{24, 39}));
    EXPECT_EQ(shift(180, 1, 2), (Shift{61, 16}));
    EXPECT_EQ(shift(-90, 1, 2), (Shift{38, -21}));
    for (double angle : {33.0, -100.0, 200.5, 719.0}) {
        const double r = angle * std::numbers::pi / 180;
        const Shift got = shift(angle, 1, 2);
        EXPECT_NEAR(cos(r) * 30 + sin(r) * 7 + got[0], 31, 1e-12);
        EXPECT_NEAR(-sin(r) * 30 + cos(r) * 7 + got[1], 9, 1e-12);
    }
    double one = 0;
    EXPECT_EQ(reportsOf([&] { orvGetRotateShift(1, 1, 0, &one, nullptr); }),
              "-5 orvGetRotateShift xShift==0 || yShift==0\n");
}
