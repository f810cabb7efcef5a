// Warps against a driver that computes the place of every pixel by itself.
#include <gtest/gtest.h>

#include <array>
#include <cmath>

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

// A perspective map in homogeneous form sends (u, v) of the unit square to (1 - u - v) w0 p0 + u w1 p1 + v w3 p3; an affine one
// does with weights of 1.
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

// A convex quadrangle somewhere about an area, of either sense, turned anyhow. One in a few has edges that are parallel.
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

constexpr int flags[] = {ORV_INTER_NN, ORV_INTER_LINEAR, ORV_INTER_CUBIC};

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
        const int method = flags[random.below(3)];
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
        const int method = flags[random.below(3)];
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
