// Warps against a driver that computes the place of every pixel by itself.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <numbers>
#include <utility>

#include "checks.h"
#include "model.h"
#include "naivesample.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

using Real = long double;

struct Point {
    Real x, y;
};

// From a to b and from a to c; positive if they turn the way x turns to y.
Real cross(Point a, Point b, Point c)
{
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

Point between(Point a, Point b, Real t)
{
    return {a.x + (b.x - a.x) * t, a.y + (b.y - a.y) * t};
}

// ---- The naive maps -----------------------------------------------------------------------------------------------

struct Quad {
    Point corners[4];

    // How far a point lies inside, negative outside.
    Real depthOf(Point p) const
    {
        Real least = INFINITY;
        const Real sense = cross(corners[0], corners[1], corners[2]) > 0 ? 1 : -1;
        for (int i = 0; i < 4; ++i) {
            const Point a = corners[i], b = corners[(i + 1) % 4];
            least = std::min(least, sense * cross(a, b, p) / hypotl(b.x - a.x, b.y - a.y));
        }
        return least;
    }
    // Whether all corners are that blunt, or blunter.
    bool isConvex(Real least) const
    {
        const Real sense = cross(corners[0], corners[1], corners[2]) > 0 ? 1 : -1;
        for (int i = 0; i < 4; ++i)
            if (sense * cross(corners[i], corners[(i + 1) % 4], corners[(i + 2) % 4]) < least)
                return false;
        return true;
    }
    std::array<std::array<double, 2>, 4> array() const
    {
        std::array<std::array<double, 2>, 4> values;
        for (size_t i = 0; i < 4; ++i)
            values[i] = {double(corners[i].x), double(corners[i].y)};
        return values;
    }
};

enum class Kind { affine, bilinear, perspective };

// A perspective map in homogeneous form sends (u, v) of the unit square to (1 - u - v) w0 p0 + u w1 p1 + v w3 p3; an
// affine one does with weights of 1.
struct Corners {
    Point p0, p1, p3;
    Real w0 = 1, w1 = 1, w3 = 1;

    Corners(Kind kind, const Quad& quad) : p0(quad.corners[0]), p1(quad.corners[1]), p3(quad.corners[3])
    {
        const Point p2 = quad.corners[2];
        if (kind == Kind::affine) {
            p3 = {p0.x + p2.x - p1.x, p0.y + p2.y - p1.y};
            return;
        }
        w0 = cross(p1, p2, p3);
        w1 = cross(p0, p2, p3);
        w3 = cross(p0, p1, p2);
    }
    Point forward(Real u, Real v) const
    {
        const Real a = (1 - u - v) * w0, b = u * w1, d = v * w3, sum = a + b + d;
        return {(a * p0.x + b * p1.x + d * p3.x) / sum, (a * p0.y + b * p1.y + d * p3.y) / sum};
    }
    Point inverse(Point p) const
    {
        const Real a = cross(p1, p3, p) / w0, b = cross(p0, p, p3) / w1, d = cross(p0, p1, p) / w3, sum = a + b + d;
        return {b / sum, d / sum};
    }
};

// The point of a quadrangle that belongs to (u, v) of the unit square.
Point forward(Kind kind, const Quad& quad, Real u, Real v)
{
    const Point* const q = quad.corners;
    if (kind == Kind::bilinear)
        return between(between(q[0], q[1], u), between(q[3], q[2], u), v);
    return Corners(kind, quad).forward(u, v);
}

// The way back. In a bilinear map the lines of equal u sweep a convex quadrangle from one side to the other.
Point inverse(Kind kind, const Quad& quad, Point p)
{
    if (kind != Kind::bilinear)
        return Corners(kind, quad).inverse(p);
    const Point* const q = quad.corners;
    auto side = [&](Real u) { return cross(between(q[0], q[1], u), between(q[3], q[2], u), p); };
    Real low = 0, high = 1;
    const bool rising = side(1) > side(0);
    for (int i = 0; i < 80; ++i) {
        const Real middle = (low + high) / 2;
        ((side(middle) < 0) == rising ? low : high) = middle;
    }
    const Point a = between(q[0], q[1], low), b = between(q[3], q[2], low), d = {b.x - a.x, b.y - a.y};
    return {low, ((p.x - a.x) * d.x + (p.y - a.y) * d.y) / (d.x * d.x + d.y * d.y)};
}

// ---- The naive driver ---------------------------------------------------------------------------------------------

// The span of an area, from pixel centre to pixel centre.
Point atFraction(const Area& area, Point uv)
{
    return {area.x + uv.x * (area.width - 1), area.y + uv.y * (area.height - 1)};
}
Point fractionOf(const Area& area, Point p)
{
    return {(p.x - area.x) / (area.width - 1), (p.y - area.y) / (area.height - 1)};
}

constexpr Real margin = 1e-7L;  // nearer to an edge than this, a pixel may be written or not

// A region of the source on a quadrangle of the destination.
Expected expectOntoQuad(Kind kind, const Quad& quad, const Area& from, Point pixel)
{
    const Real depth = quad.depthOf(pixel);
    if (depth < -margin)
        return {Written::no, {0, 0}};
    const Point place = atFraction(from, inverse(kind, quad, pixel));
    const Real hair = kind == Kind::bilinear ? 1e-9L + 1.2e-7L * std::max(fabsl(place.x), fabsl(place.y)) : 1e-9L;
    return {depth < margin ? Written::maybe : Written::yes, {place.x, place.y, hair}};
}

// A region of the destination from a quadrangle of the source.
Expected expectFromQuad(Kind kind, const Quad& quad, const Area& from, const Area& to, Point pixel)
{
    const Point uv = fractionOf(to, pixel), place = forward(kind, quad, uv.x, uv.y);
    const Real depth = std::min(
        {place.x - from.x, from.x + from.width - 1 - place.x, place.y - from.y, from.y + from.height - 1 - place.y});
    if (depth < -margin)
        return {Written::no, {0, 0}};
    return {depth < margin ? Written::maybe : Written::yes, {place.x, place.y}};
}

// ---- Random calls -------------------------------------------------------------------------------------------------

Real uniform(Random& random, Real low, Real high)
{
    return low + (high - low) * Real(random.below(1 << 20)) / (1 << 20);
}

// A convex quadrangle somewhere about an area, of either sense, turned anyhow. One in a few has edges that are
// parallel.
Quad randomQuad(Random& random, const Area& area, bool parallelogram)
{
    for (;;) {
        const Point centre = {area.x + uniform(random, -0.2L, 1.2L) * area.width,
                              area.y + uniform(random, -0.2L, 1.2L) * area.height};
        const Real size = uniform(random, 0.2L, 1.5L), angle = uniform(random, 0, 6.3L);
        const Real bend = parallelogram || random.below(8) == 0 ? 0 : uniform(random, 0, 0.45L);
        const int shape = random.below(3), sense = random.below(2) ? 1 : -1;
        Quad quad;
        for (int i = 0; i < 4; ++i) {
            const Real slant = shape == 1 && i >= 2 ? 0.3L : 0, taper = parallelogram || shape != 2 || i < 2 ? 1 : 0.5L;
            const Real x =
                ((i == 1 || i == 2 ? 1 : -1) * taper + slant + uniform(random, -bend, bend)) * area.width / 2;
            const Real y = ((i >= 2 ? 1 : -1) * sense + uniform(random, -bend, bend)) * area.height / 2;
            quad.corners[i] = {centre.x + size * (x * cosl(angle) - y * sinl(angle)),
                               centre.y + size * (x * sinl(angle) + y * cosl(angle))};
            // As the function gets it.
            quad.corners[i] = {Real(double(quad.corners[i].x)), Real(double(quad.corners[i].y))};
        }
        if (quad.isConvex(0.5L))
            return quad;
    }
}

const uint32_t warpDepths[] = {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32F};

// A source and a destination of one depth and order.
Layout randomPair(Random& random)
{
    const uint32_t depth = warpDepths[random.below(4)];
    const int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 6);
    auto side = [&] { return random.below(8) ? random.between(2, 30) : random.between(60, 140); };
    Layout layout = {{{randomPictureSpec(random, depth, count, side(), side()), 0, {}, 0},
                      {randomPictureSpec(random, depth, count, side(), side()), 1, {}, 1}}};
    PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
    src.order = dst.order;
    src.origin = dst.origin;
    return layout;
}

void fillModerate(Picture& picture)
{
    if (picture->depth == ORV_DEPTH_32F)
        picture.fill([](int x, int y, int c) { return (x * 37 + y * 101 + c * 13) % 257 / 8.0 - 9; });
}

constexpr int methods[] = {ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC};

}  // namespace

TEST(Warp, OntoQuadranglesInEveryLayout)
{
    Random random(11);
    for (int round = 0; round < 1200 && !testing::Test::HasFailure(); ++round) {
        const Layout layout = randomPair(random);
        Scene scene(layout);
        Picture &src = *scene.images[0], &dst = scene.destination();
        fillModerate(src);
        const Area from = areaOf(src), to = areaOf(dst);
        if (from.width < 2 || from.height < 2 || to.width < 1 || to.height < 1)
            continue;
        const auto kind = Kind(random.below(3));
        const int method = methods[random.below(3)];
        const Quad quad = randomQuad(random, to, kind == Kind::affine);
        auto points = quad.array();
        // An affine map is told by its coefficients.
        const Point origin = forward(kind, quad, Real(-from.x) / (from.width - 1), Real(-from.y) / (from.height - 1));
        const Point* const q = quad.corners;
        const Real w = from.width - 1, h = from.height - 1;
        double coeffs[2][3] = {{double((q[1].x - q[0].x) / w), double((q[2].x - q[1].x) / h), double(origin.x)},
                               {double((q[1].y - q[0].y) / w), double((q[2].y - q[1].y) / h), double(origin.y)}};
        SCOPED_TRACE(testing::Message() << round << ": kind " << int(kind) << ", method " << method << layout.text());
        expectSampled(
            scene, method, to.width, to.height,
            [&](OrvImage* const* images) {
                auto* corners = reinterpret_cast<double(*)[2]>(points.data());
                if (kind == Kind::affine)
                    orvWarpAffine(images[0], images[1], coeffs, method);
                else if (kind == Kind::bilinear)
                    orvWarpBilinearQ(images[0], images[1], corners, 0, method);
                else
                    orvWarpPerspectiveQ(images[0], images[1], corners, 0, method);
            },
            [&](int x, int y) {
                return expectOntoQuad(kind, quad, from, {Real(to.x + x), Real(to.y + y)});
            });
    }
}

TEST(Warp, FromQuadranglesInEveryLayout)
{
    Random random(12);
    for (int round = 0; round < 1200 && !testing::Test::HasFailure(); ++round) {
        const Layout layout = randomPair(random);
        Scene scene(layout);
        Picture &src = *scene.images[0], &dst = scene.destination();
        fillModerate(src);
        const Area from = areaOf(src), to = areaOf(dst);
        if (from.width < 1 || from.height < 1 || to.width < 2 || to.height < 2)
            continue;
        const Kind kind = random.below(2) ? Kind::bilinear : Kind::perspective;
        const int method = methods[random.below(3)];
        const Quad quad = randomQuad(random, from, false);
        auto points = quad.array();
        SCOPED_TRACE(testing::Message() << round << ": kind " << int(kind) << ", method " << method << layout.text());
        expectSampled(
            scene, method, to.width, to.height,
            [&](OrvImage* const* images) {
                auto* corners = reinterpret_cast<double(*)[2]>(points.data());
                (kind == Kind::bilinear ? orvWarpBilinearQ : orvWarpPerspectiveQ)(images[0], images[1], corners, 1,
                                                                                  method);
            },
            [&](int x, int y) {
                return expectFromQuad(kind, quad, from, to, {Real(to.x + x), Real(to.y + y)});
            });
    }
}

// Edges belong to a quadrangle, where they lie on pixels.
TEST(Warp, OfWholePixelsIsExact)
{
    for (int method : methods) {
        PictureSpec spec = {.channels = 3, .width = 67, .height = 9, .roi = OrvROI{0, 2, 1, 65, 7}};
        Picture src(spec);
        spec.seed = 2;
        Picture dst(spec), flipped(spec), before(spec);
        double coeffs[2][3] = {{1, 0, 0}, {0, 1, 0}};
        double corners[4][2] = {{66, 7}, {2, 7}, {2, 1}, {66, 1}};  // turned by half
        orvWarpAffine(src, dst, coeffs, method);
        orvWarpPerspectiveQ(src, flipped, corners, 0, method);
        for (int y = 0; y < 9; ++y)
            for (int x = 0; x < 67; ++x) {
                const bool inside = x >= 2 && y >= 1 && y < 8;
                ASSERT_EQ(dst.raw(x, y, 1), inside ? src.raw(x, y, 1) : before.raw(x, y, 1)) << x << ' ' << y;
                ASSERT_TRUE(!inside || flipped.raw(68 - x, 8 - y, 1) == src.raw(x, y, 1)) << x << ' ' << y;
            }
    }
}

// A quadrangle may meet the destination in a row, a column or a corner.
TEST(Warp, WritesWhatAQuadrangleTouches)
{
    auto written = [](double left, double top, double right, double bottom) {
        Picture src({.width = 5, .height = 5}), dst({.width = 8, .height = 8});
        src.fill([](int, int, int) { return 200; });
        dst.fill([](int, int, int) { return 0; });
        double corners[4][2] = {{left, top}, {right, top}, {right, bottom}, {left, bottom}};
        orvWarpBilinearQ(src, dst, corners, 0, ORV_INTER_LINEAR);
        std::string text;
        for (int y = 0; y < 8; ++y)
            for (int x = 0; x < 8; ++x)
                if (dst.raw(x, y))
                    text += std::to_string(x) + ',' + std::to_string(y) + ' ';
        return text;
    };
    EXPECT_EQ(written(2, -9, 4, 0), "2,0 3,0 4,0 ");
    EXPECT_EQ(written(2, 7, 4, 20), "2,7 3,7 4,7 ");
    EXPECT_EQ(written(7, 2, 20, 3), "7,2 7,3 ");
    EXPECT_EQ(written(7, 7, 20, 20), "7,7 ");
    EXPECT_EQ(written(7.25, 2, 20, 3), "");
    EXPECT_EQ(written(1.25, 1.5, 1.75, 6), "");
    EXPECT_EQ(written(8, 8, 20, 20), "");
}

// Turns by quarters, and shifts by whole pixels, in every layout; tiles go the long way to the same pixels.
TEST(Warp, ExactTurnsCopyPixels)
{
    Random random(13);
    for (int round = 0; round < 400 && !testing::Test::HasFailure(); ++round) {
        const Layout layout = randomPair(random);
        Scene scene(layout);
        Picture &src = *scene.images[0], &dst = scene.destination();
        fillModerate(src);
        const Area from = areaOf(src), to = areaOf(dst);
        const bool tiled = src->tileInfo || dst->tileInfo;
        const int least = tiled ? 2 : 1;
        if (from.width < least || from.height < least || to.width < 1 || to.height < 1)
            continue;
        const int turn = random.between(1, 3), c = turn == 2 ? -1 : 0, s = turn == 1 ? 1 : turn == 3 ? -1 : 0;
        // The image of the region's middle comes to lie about that of the destination's.
        const int x = from.x + from.width / 2, y = from.y + from.height / 2;
        const int xShift = to.x + to.width / 2 - (c * x + s * y) + random.between(-5, 5);
        const int yShift = to.y + to.height / 2 - (-s * x + c * y) + random.between(-5, 5);
        SCOPED_TRACE(testing::Message() << round << ": turn " << turn << ' ' << xShift << ' ' << yShift
                                        << layout.text());
        expectSampled(
            scene, ORV_INTER_NN, to.width, to.height,
            [&](OrvImage* const* images) {
                orvRotate(images[0], images[1], 90.0 * turn - 360, xShift, yShift, tiled ? ORV_INTER_NN : 77);
            },
            [&](int i, int j) {
                const int u = to.x + i - xShift, v = to.y + j - yShift, column = c * u - s * v, row = s * u + c * v;
                const bool inside =
                    column >= from.x && row >= from.y && column < from.x + from.width && row < from.y + from.height;
                return Expected{inside ? Written::yes : Written::no, {Real(column), Real(row)}};
            });
    }
}

// Images beyond a megabyte are turned by blocks.
TEST(Warp, ExactTurnsCopyPixelsOfLargeImages)
{
    for (const PictureSpec& spec : {PictureSpec{.width = 1203, .height = 997},
                                    {.depth = ORV_DEPTH_16U, .width = 805, .height = 703},
                                    {.channels = 3, .width = 587, .height = 650},
                                    {.depth = ORV_DEPTH_32F, .width = 518, .height = 531}})
        for (int turn : {1, 3}) {
            SCOPED_TRACE(testing::Message() << depthName(spec.depth) << " x " << spec.channels << ", turn " << turn);
            PictureSpec turned = spec;
            turned.width = spec.height;
            turned.height = spec.width;
            Picture src(spec), dst(turned);
            const int xShift = turn == 1 ? 0 : spec.height - 1, yShift = turn == 1 ? spec.width - 1 : 0;
            orvRotate(src, dst, 90 * turn, xShift, yShift, ORV_INTER_NN);
            int wrong = 0;
            for (int y = 0; y < turned.height; ++y)
                for (int x = 0; x < turned.width; ++x)
                    for (int c = 0; c < spec.channels; ++c)
                        wrong += dst.raw(x, y, c) != src.raw(abs(yShift - y), abs(x - xShift), c);
            EXPECT_EQ(wrong, 0);
        }
}

// Every form is the one it stands for.
TEST(Warp, FormsAgree)
{
    PictureSpec spec = {.channels = 3, .width = 33, .height = 27};
    PictureSpec target = {.channels = 3, .width = 40, .height = 31, .seed = 2};
    Picture src(spec), other(target);
    auto resultOf = [&](const std::function<void(OrvImage * dst)>& call) {
        Picture dst(target);
        EXPECT_EQ(reportsOf([&] { call(dst); }), "");
        EXPECT_NE(dst.values(), other.values());
        return dst.values();
    };
    auto affine = [&](double a, double b, double c, double d, double e, double f, int method) {
        double coeffs[2][3] = {{a, b, c}, {d, e, f}};
        return resultOf([&](OrvImage* dst) { orvWarpAffine(src, dst, coeffs, method); });
    };
    EXPECT_EQ(resultOf([&](OrvImage* dst) { orvRotate(src, dst, 30, 3.5, 14, ORV_INTER_NN); }),
              affine(cos(std::numbers::pi / 6), sin(std::numbers::pi / 6), 3.5, -sin(std::numbers::pi / 6),
                     cos(std::numbers::pi / 6), 14, ORV_INTER_NN));
    EXPECT_EQ(resultOf([&](OrvImage* dst) { orvRotate(src, dst, 450, 2.5, 30, ORV_INTER_CUBIC); }),
              affine(0, 1, 2.5, -1, 0, 30, ORV_INTER_CUBIC));
    EXPECT_EQ(resultOf([&](OrvImage* dst) { orvRotate(src, dst, 360, 2, 3, ORV_INTER_LINEAR); }),
              affine(1, 0, 2, 0, 1, 3, ORV_INTER_LINEAR));
    EXPECT_EQ(resultOf([&](OrvImage* dst) { orvShear(src, dst, 0.25, 0.125, -2, 1.5, ORV_INTER_LINEAR); }),
              affine(1, 0.25, -2, 0.125, 1, 1.5, ORV_INTER_LINEAR));
    double first[2][4] = {{0.005, 0.9, 0.1, 1}, {0.002, -0.1, 0.8, 5}};
    double second[3][3] = {{0.9, 0.1, 1}, {-0.1, 0.8, 5}, {0.002, 0.004, 1}};
    for (int flag : {0, 1}) {
        double quad[4][2];
        orvGetBilinearQuad(flag ? other : src, first, quad);
        EXPECT_EQ(resultOf([&](OrvImage* dst) { orvWarpBilinear(src, dst, first, flag, ORV_INTER_NN); }),
                  resultOf([&](OrvImage* dst) { orvWarpBilinearQ(src, dst, quad, flag, ORV_INTER_NN); }));
        orvGetPerspectiveQuad(flag ? other : src, second, quad);
        EXPECT_EQ(resultOf([&](OrvImage* dst) { orvWarpPerspective(src, dst, second, flag, ORV_INTER_LINEAR); }),
                  resultOf([&](OrvImage* dst) { orvWarpPerspectiveQ(src, dst, quad, flag, ORV_INTER_LINEAR); }));
    }
}

// The pixels next to slanting edges, just outside, keep the share of their distance; nothing else changes.
TEST(Warp, BlendsEdges)
{
    const Quad quads[] = {{{{4, 3}, {16, 6}, {13, 18}, {1, 15}}},
                          {{{4, 3}, {1, 15}, {13, 18}, {16, 6}}},
                          {{{-3, 2}, {9, 5}, {25, 20}, {4, 13}}}};
    for (const Quad& quad : quads)
        for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32F})
            for (int tile : {0, 8}) {
                PictureSpec spec = {
                    .depth = depth, .channels = 4, .alpha = 4, .order = tile ? 1 : 0, .width = 20, .height = 20};
                Picture src(spec);
                spec.tileWidth = spec.tileHeight = tile;
                Picture expected(spec), got(spec);
                src.fill([](int x, int, int) { return 10 * x; });
                auto points = quad.array();
                auto* corners = reinterpret_cast<double(*)[2]>(points.data());
                orvWarpPerspectiveQ(src, expected, corners, 0, ORV_INTER_LINEAR);
                orvWarpPerspectiveQ(src, got, corners, 0, ORV_INTER_LINEAR | ORV_BLEND_EDGE);
                for (int i = 0; i < 4; ++i) {
                    const Point a = quad.corners[i], b = quad.corners[(i + 1) % 4];
                    const bool flat = fabsl(b.x - a.x) >= fabsl(b.y - a.y);
                    for (int step = 0; step < 20; ++step) {
                        const Real t = flat ? (step - a.x) / (b.x - a.x) : (step - a.y) / (b.y - a.y);
                        const double at = double(flat ? a.y + t * (b.y - a.y) : a.x + t * (b.x - a.x));
                        const int low = int(floor(at));
                        if (t < 0 || t > 1 || low == at || low < 0 || low > 18)
                            continue;
                        auto pixel = [&](int place) {
                            return flat ? Point{Real(step), Real(place)} : Point{Real(place), Real(step)};
                        };
                        const int outer = quad.depthOf(pixel(low)) < 0 ? low : low + 1, inner = 2 * low + 1 - outer;
                        const Point to = pixel(outer), from = pixel(inner);
                        for (int c = 0; c < 3; ++c) {
                            const double mixed = expected.get(int(to.x), int(to.y), c) * fabs(at - outer) +
                                                 expected.get(int(from.x), int(from.y), c) * fabs(at - inner);
                            expected.set(int(to.x), int(to.y), c,
                                         depth == ORV_DEPTH_32F ? float(mixed) : nearbyint(mixed));
                        }
                    }
                }
                EXPECT_EQ(got.faults(), "");
                EXPECT_EQ(got.openTiles(), 0);
                for (int y = 0; y < 20; ++y)
                    for (int x = 0; x < 20; ++x)
                        for (int c = 0; c < 4; ++c)
                            ASSERT_NEAR(got.get(x, y, c), expected.get(x, y, c), depth == ORV_DEPTH_32F ? 1e-3 : 0)
                                << x << ' ' << y << " tile " << tile;
            }
}

// Numbers of any kind end in a report or in nothing done, never outside the memory that headers describe.
TEST(Warp, OfAnyNumbersStaysInsideTheImages)
{
    Random random(14);
    const double numbers[] = {0,   -0.0, 1,     -1,    0.5,   1e-3,     1e-200,    1e3,
                              1e9, 4e9,  -1e18, 1e155, 1e308, INFINITY, -INFINITY, NAN};
    auto number = [&](double plain) {
        return random.below(3) ? plain + random.between(-9, 9) / 4.0 : numbers[random.below(16)];
    };
    for (int round = 0; round < 4000; ++round) {
        const Layout layout = randomPair(random);
        Scene scene(layout);
        OrvImage* const src = *scene.images[0];
        OrvImage* const dst = scene.destination();
        const std::vector<uint32_t> before = scene.images[0]->values();
        double affine[2][3] = {{number(1), number(0), number(5)}, {number(0), number(1), number(5)}};
        double bilinear[2][4] = {{number(0), number(1), number(0), number(3)},
                                 {number(0), number(0), number(1), number(3)}};
        double perspective[3][3] = {
            {number(1), number(0), number(3)}, {number(0), number(1), number(3)}, {number(0), number(0), number(1)}};
        double quad[4][2] = {
            {number(2), number(2)}, {number(20), number(2)}, {number(20), number(20)}, {number(2), number(20)}};
        const int method = methods[random.below(3)] | (random.below(3) ? 0 : ORV_BLEND_EDGE), flag = random.below(2);
        Reports reports;
        switch (round % 7) {
        case 0: orvWarpAffine(src, dst, affine, method); break;
        case 1: orvWarpBilinear(src, dst, bilinear, flag, method); break;
        case 2: orvWarpBilinearQ(src, dst, quad, flag, method); break;
        case 3: orvWarpPerspective(src, dst, perspective, flag, method); break;
        case 4: orvWarpPerspectiveQ(src, dst, quad, flag, method); break;
        case 5: orvShear(src, dst, number(0), number(0), number(0), number(0), method); break;
        default:
            orvRotate(src, dst, random.below(2) ? number(30) : 90.0 * random.below(5), number(0), number(0), method);
        }
        EXPECT_EQ(scene.faults(), "");
        EXPECT_EQ(scene.openTiles(), 0);
        ASSERT_EQ(scene.images[0]->values(), before) << round;
    }
}

// Images beyond 16 bits a side, where fixed point passes 32 bits.
TEST(Warp, OfLongRows)
{
    for (uint32_t depth : warpDepths)
        for (int method : methods) {
            PictureSpec spec = {.depth = depth, .width = 70001, .height = 5};
            Picture src(spec);
            spec.width = 40;
            spec.seed = 2;
            Picture dst(spec);
            double coeffs[2][3] = {{1, 0, -69970.25}, {0, 1, 0}};
            orvWarpAffine(src, dst, coeffs, method);
            for (int x = 0; x < 30; ++x)
                ASSERT_TRUE(isSample(dst.get(x, 2), src, {x + 69970.25L, 2}, 0, method)) << depth << ' ' << x;
        }
}

namespace {

uint8_t onlyTile[8][32];

int32_t ORV_CALL provideOnlyTile(OrvImage* image, int32_t, int32_t, int32_t)
{
    image->tileInfo->tileData = onlyTile[0];
    return 0;
}

}  // namespace

// The last rows of the highest image there is.
TEST(Warp, EndsWithTheLastRow)
{
    constexpr int32_t rows = 3, first = INT32_MAX - rows;
    Picture src({.width = 8, .height = 8});
    OrvTileInfo tiles = {provideOnlyTile, nullptr, nullptr, 8, 8};
    OrvROI roi = {0, 0, first, 8, rows};
    OrvImage dst = *src.operator->();
    dst.imageData = nullptr;
    dst.tileInfo = &tiles;
    dst.roi = &roi;
    dst.align = 32;
    dst.height = INT32_MAX;
    double coeffs[2][3] = {{1, 0, 0}, {0, 1, first}};
    orvWarpAffine(src, &dst, coeffs, ORV_INTER_LINEAR);
    for (int y = 0; y < rows; ++y)
        for (int x = 0; x < 8; ++x)
            EXPECT_EQ(onlyTile[first % 8 + y][x], src.get(x, y)) << x << ' ' << y;
}

TEST(Warp, ChecksInTheirOrder)
{
    const PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    const double nothing[2][3] = {{1, 0, 0}, {0, 1, 0}};
    double coeffs[2][3], quad[4][2];
    int flag = 0, method = 0;
    auto reset = [&] {
        memcpy(coeffs, nothing, sizeof coeffs);
        const double square[4][2] = {{0, 0}, {8, 0}, {8, 8}, {0, 8}};
        memcpy(quad, square, sizeof quad);
        flag = method = 0;
    };
    reset();
    OrvROI away = {0, 9, 0, 5, 5}, thin = {0, 0, 0, 1, 5};
    const std::string methodText =
        "interpolate != ORV_INTER_NN && interpolate != ORV_INTER_LINEAR && interpolate != ORV_INTER_CUBIC";
    const std::string channels = "Number of processed channels of srcImage != Number of processed channels of dstImage";
    // The last faults share a field of the images, so that they stand in tables of their own.
    auto check = [&](const std::string& name, auto call, std::vector<Fault> own, std::vector<Fault> last) {
        SCOPED_TRACE(name);
        auto run = [&](OrvImage* const* images) {
            call(images[0], images[1]);
            reset();
        };
        const FaultOf fault{name};
        std::string all;
        for (const char* text : {"srcImage->depth != dstImage->depth", "srcImage->origin != dstImage->origin",
                                 "srcImage->dataOrder != dstImage->dataOrder", "srcImage->depth & ORV_DEPTH_SIGN"})
            all += "-5 " + name + ' ' + text + '\n';
        const bool flagged = name.ends_with("Q");
        std::vector<Fault> faults = {
            fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
            {all + (flagged ? "-5 " + name + " warpFlag != 0 && warpFlag != 1\n" : ""), [&](OrvImage* const* images) {
                 images[0]->depth = ORV_DEPTH_8S;
                 images[0]->origin = ORV_ORIGIN_BL;
                 images[0]->dataOrder = ORV_DATA_ORDER_PLANE;
                 flag = 2;
             }}};
        expectFaultsInOrder({spec, spec}, run, faults);
        if (name != "orvRotate")
            own.push_back(fault(-5, methodText, [&](auto) { method = ORV_INTER_SUPER; }));
        own.insert(own.end(), last.begin(), last.end());
        own.push_back(fault(-5, channels, setChannels(0, 2, 0)));
        expectFaultsInOrder({spec, spec}, run, own);
        Picture picture(spec), other(spec);
        EXPECT_EQ(reportsOf([&] { call(picture, picture); }),
                  "-5 " + name + " This function is not in-place function\n");
        EXPECT_EQ(reportsOf([&] { call(nullptr, other); }), "-9 " + name + " Incorrect Image\n");
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-7);
                      call(picture, other);
                  }),
                  "");
    };
    const std::string srcThin = "srcImage Rectangle ROI is degenerate to length or point";
    const FaultOf affine{"orvWarpAffine"};
    check("orvWarpAffine", [&](OrvImage* src, OrvImage* dst) { orvWarpAffine(src, dst, coeffs, method); },
          {affine(-5, "Determinant of transform matrix == 0.0", [&](auto) { coeffs[0][0] = 1e-7; }),
           {"-5 orvGetAffineQuad Bad rect ROI\n-1 orvWarpAffine \n", setField(0, &OrvImage::roi, &away)}},
          {affine(-5, srcThin, setField(0, &OrvImage::roi, &thin)), {"", setField(1, &OrvImage::roi, &away)}});
    for (bool bilinear : {false, true}) {
        const FaultOf fault{bilinear ? "orvWarpBilinearQ" : "orvWarpPerspectiveQ"};
        auto call = [&](OrvImage* src, OrvImage* dst) {
            (bilinear ? orvWarpBilinearQ : orvWarpPerspectiveQ)(src, dst, quad, flag, method);
        };
        const std::vector<Fault> own = {fault(-5, "Quadrangle is degenerate to triangle or length or point",
                                              [&](auto) { memcpy(quad[1], quad[0], sizeof quad[1]); }),
                                        fault(-5, "Quadrangle is concave", [&](auto) { quad[0][0] = quad[0][1] = 7; })};
        check(fault.function, call, own,
              {{"", setField(0, &OrvImage::roi, &away)},
               fault(-5, srcThin, setField(0, &OrvImage::roi, &thin)),
               {"", setField(1, &OrvImage::roi, &away)}});
        const std::string dstThin = "dstImage Rectangle ROI is degenerate to length or point";
        auto from = [&](FaultMaker make) { return [&flag, make](OrvImage* const* images) { flag = 1, make(images); }; };
        expectFaultsInOrder({spec, spec}, [&](OrvImage* const* images) { call(images[0], images[1]), reset(); },
                            {{"", from(setField(1, &OrvImage::roi, &away))},
                             fault(-5, dstThin, from(setField(1, &OrvImage::roi, &thin))),
                             {"", from(setField(0, &OrvImage::roi, &away))},
                             fault(-5, channels, from(setChannels(0, 2, 0)))});
    }
    // The exact turn does not look at the method.
    check("orvRotate", [](OrvImage* src, OrvImage* dst) { orvRotate(src, dst, 90, 0, 8, 77); },
          {{"", setField(0, &OrvImage::roi, &away)}, {"", setField(1, &OrvImage::roi, &away)}}, {});
}

// What a nested call has reported is handed on, as is an old status.
TEST(Warp, HandsFailuresOn)
{
    Picture src({.width = 9, .height = 9}), dst({.width = 9, .height = 9, .seed = 2});
    Picture thin({.width = 9, .height = 9, .roi = OrvROI{0, 0, 0, 1, 9}});
    double bilinear[2][4] = {{0, 1, 0, 0}, {0, 0, 1, 0}}, perspective[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
    const struct {
        std::string name, inner, quad;
        std::function<void(OrvImage* src, OrvImage* dst, int method)> call;
    } cases[] = {
        {"orvShear", "orvWarpAffine", "", [](OrvImage* a, OrvImage* b, int m) { orvShear(a, b, 0, 0, 0, 0, m); }},
        {"orvRotate", "orvWarpAffine", "", [](OrvImage* a, OrvImage* b, int m) { orvRotate(a, b, 3, 0, 0, m); }},
        {"orvWarpBilinear", "orvWarpBilinearQ", "orvGetBilinearQuad",
         [&](OrvImage* a, OrvImage* b, int m) { orvWarpBilinear(a, b, bilinear, 0, m); }},
        {"orvWarpPerspective", "orvWarpPerspectiveQ", "orvGetPerspectiveQuad",
         [&](OrvImage* a, OrvImage* b, int m) { orvWarpPerspective(a, b, perspective, 0, m); }},
    };
    for (const auto& one : cases) {
        const std::string traced = "-1 " + one.name + " \n";
        EXPECT_EQ(reportsOf([&] { one.call(nullptr, dst, 0); }),
                  "-9 " + (one.quad.empty() ? one.inner : one.quad) + " Incorrect Image\n" + traced);
        EXPECT_TRUE(reportsOf([&] { one.call(src, dst, 3); }).ends_with("ORV_INTER_CUBIC\n" + traced));
        EXPECT_EQ(reportsOf([&] { one.call(thin, dst, 0); }),
                  "-5 " + one.inner +
                      (one.quad.empty() ? " srcImage Rectangle ROI is degenerate to length or point\n"
                                        : " Quadrangle is degenerate to triangle or length or point\n") +
                      traced);
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-7);
                      one.call(src, dst, 0);
                  }),
                  traced);
    }
}

TEST(Warp, OpensTiles)
{
    TileLog log;
    PictureSpec spec = {.width = 16, .height = 16, .tileWidth = 8, .tileHeight = 8, .name = "S", .log = &log};
    Picture src(spec);
    spec.name = "D";
    spec.roi = OrvROI{0, 0, 4, 16, 8};
    Picture dst(spec);
    double quad[4][2] = {{0, 0}, {4, 0}, {4, 11}, {0, 11}}, part[4][2] = {{0, 0}, {3, 0}, {3, 11}, {0, 11}};
    auto calls = [&](int refuse, int flag, double(*corners)[2]) {
        log.calls.clear();
        log.refuse = refuse;
        std::string told = reportsOf([&] { orvWarpPerspectiveQ(src, dst, corners, flag, ORV_INTER_LINEAR); });
        return log.text() + told;
    };
    const std::string all =
        "S read 0 0\nS read 1 0\nS release 1 0\nS release 0 0\nS read 0 1\nS read 1 1\nS release 1 1\nS release 0 1\n";
    // The quadrangle meets the two left tiles.
    EXPECT_EQ(calls(0, 0, quad), all + "D write 0 0\nD release 0 0\n" + all + "D write 0 1\nD release 0 1\n");
    EXPECT_EQ(calls(5, 0, quad), all + "D write 0 0\n-2 orvWarpPerspectiveQ Error get tile to write\n");
    EXPECT_EQ(calls(2, 0, quad), "S read 0 0\nS read 1 0\n-1 orvWarpPerspectiveQ \n");
    // From a quadrangle each tile needs its own part of the source, and 3 pixels more.
    EXPECT_EQ(calls(0, 1, part),
              "S read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD write 0 0\nD release 0 0\n"
              "S read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD write 1 0\nD release 1 0\n"
              "S read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD write 0 1\nD release 0 1\n"
              "S read 0 0\nS release 0 0\nS read 0 1\nS release 0 1\nD write 1 1\nD release 1 1\n");
    // However large the destination is, only the tiles near a parallelogram are looked at.
    OrvROI region = {0, 0, 4, 16, 12};
    OrvROI* const roi = std::exchange(dst->roi, &region);
    auto shear = [&] {
        log.calls.clear();
        const std::string told = reportsOf([&] { orvShear(src, dst, 0.2, -0.5, -6, -5, ORV_INTER_LINEAR); });
        return log.text() + told;
    };
    const std::string small = shear();
    EXPECT_TRUE(small.ends_with("D write 0 1\nD release 0 1\n")) << small;
    dst->width = dst->height = INT32_MAX;
    region = {0, 0, 4, INT32_MAX, INT32_MAX - 4};
    EXPECT_EQ(shear(), small);
    dst->width = dst->height = 16;
    dst->roi = roi;
}

TEST(Warp, LosesNothingWhereMemoryOrATileIsRefused)
{
    double turned[2][3] = {{0.9, 0.3, 2}, {-0.3, 0.9, 9}}, quad[4][2] = {{4, 5}, {22, 3}, {20, 18}, {7, 15}};
    auto expectNoLoss = [](const std::function<void(OrvImage * src, OrvImage * dst)>& call, bool blends) {
        Operation operation = {.name = "warp", .call = [&](OrvImage* const* images) { call(images[0], images[1]); }};
        operation.inPlace = false;
        expectNothingLost(operation, {.bySteps = blends});
    };
    expectNoLoss([&](auto* src, auto* dst) { orvWarpAffine(src, dst, turned, ORV_INTER_CUBIC); }, false);
    expectNoLoss([&](auto* src, auto* dst) { orvWarpBilinearQ(src, dst, quad, 0, ORV_INTER_LINEAR); }, false);
    expectNoLoss([&](auto* src, auto* dst) { orvWarpPerspectiveQ(src, dst, quad, 1, ORV_INTER_NN); }, false);
    expectNoLoss([&](auto* src, auto* dst) { orvWarpAffine(src, dst, turned, ORV_BLEND_EDGE); }, true);
}
