#include "ownplane.h"

#include <cmath>
#include <cstring>

// ---- Rectangles ---------------------------------------------------------------------------------------------------

bool ownImageRect(const OrvImage& image, OwnPlaneRect& rect)
{
    rect = {0, 0, int64_t{image.width} - 1, int64_t{image.height} - 1};
    if (!image.roi)
        return true;
    OwnPlaneRect region;
    if (!ownBareRect(image.roi, region) || region.left > rect.right || region.top > rect.bottom)
        return false;
    rect = {region.left, region.top, region.right < rect.right ? region.right : rect.right,
            region.bottom < rect.bottom ? region.bottom : rect.bottom};
    return true;
}

bool ownBareRect(const OrvROI* roi, OwnPlaneRect& rect)
{
    if (!roi || roi->width < 1 || roi->height < 1)
        return false;
    rect = {roi->xOffset, roi->yOffset, int64_t{roi->xOffset} + roi->width - 1,
            int64_t{roi->yOffset} + roi->height - 1};
    if (rect.right < 0 || rect.bottom < 0)
        return false;
    rect.left = rect.left < 0 ? 0 : rect.left;
    rect.top = rect.top < 0 ? 0 : rect.top;
    return true;
}

namespace {

// Hands the four corners to map(x, y, point).
template <class Map>
void mapCorners(const OwnPlaneRect& rect, double* quad, Map map)
{
    const auto left = double(rect.left), top = double(rect.top), right = double(rect.right),
               bottom = double(rect.bottom);
    double mapped[8];
    map(left, top, mapped);
    map(right, top, mapped + 2);
    map(right, bottom, mapped + 4);
    map(left, bottom, mapped + 6);
    memcpy(quad, mapped, sizeof mapped);
}

}  // namespace

void ownAffineQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad)
{
    mapCorners(rect, quad, [c = coeffs](double x, double y, double* point) {
        point[0] = c[0] * x + c[1] * y + c[2];
        point[1] = c[3] * x + c[4] * y + c[5];
    });
}

void ownBilinearQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad)
{
    mapCorners(rect, quad, [c = coeffs](double x, double y, double* point) {
        point[0] = c[0] * x * y + c[1] * x + c[2] * y + c[3];
        point[1] = c[4] * x * y + c[5] * x + c[6] * y + c[7];
    });
}

void ownPerspectiveQuad(const OwnPlaneRect& rect, const double* coeffs, double* quad)
{
    mapCorners(rect, quad, [c = coeffs](double x, double y, double* point) {
        double w = c[6] * x + c[7] * y + c[8];
        point[0] = (c[0] * x + c[1] * y + c[2]) / w;
        point[1] = (c[3] * x + c[4] * y + c[5]) / w;
    });
}

// ---- Quadrangles --------------------------------------------------------------------------------------------------

namespace {

// The edges of a quadrangle, from corner to corner.
struct Edges {
    double x0, y0, x1, y1, x3, y3;              // corners
    double dx1, dy1, ex, ey, dx3, dy3, fx, fy;  // top, right, bottom and left edge
    double sx, sy;                              // how far it is from a parallelogram

    explicit Edges(const double* quad)
        : x0(quad[0]),
          y0(quad[1]),
          x1(quad[2]),
          y1(quad[3]),
          x3(quad[6]),
          y3(quad[7]),
          dx1(x1 - x0),
          dy1(y1 - y0),
          ex(quad[4] - x1),
          ey(quad[5] - y1),
          dx3(x3 - quad[4]),
          dy3(y3 - quad[5]),
          fx(x0 - x3),
          fy(y0 - y3),
          sx(dx1 + dx3),
          sy(dy1 + dy3)
    {
    }

    // Twice the area of the triangle at the left bottom corner, with its sign.
    double turnAtLast() const { return fy * dx3 - dy3 * fx; }
};

}  // namespace

OwnQuadShape ownTestQuad(const double* quad)
{
    const Edges q(quad);
    const double turns[4] = {q.turnAtLast(), q.fx * q.dy1 - q.fy * q.dx1, q.dx1 * q.ey - q.dy1 * q.ex,
                             q.ex * q.dy3 - q.ey * q.dx3};
    int positive = 0, negative = 0;
    for (double turn : turns) {
        if (turn == 0)
            return OwnQuadShape::degenerate;
        positive += turn > 0;
        negative += turn < 0;
    }
    return positive == 4 || negative == 4 ? OwnQuadShape::convex : OwnQuadShape::concave;
}

bool ownIsParallelogram(const double* quad)
{
    constexpr double tolerance = 1e-7;
    const Edges q(quad);
    return !(fabs(q.dy1 * q.dx3 - q.dy3 * q.dx1) > tolerance) && !(fabs(q.ex * q.fy - q.ey * q.fx) > tolerance);
}

// ---- Solvers ------------------------------------------------------------------------------------------------------

void ownSolveAffine(const OwnPlaneRect& rect, const double* quad, double* coeffs)
{
    const Edges q(quad);
    const double w = rect.w(), h = rect.h();
    const auto left = double(rect.left), top = double(rect.top);
    const double a = q.dx1 / w, b = q.ex / h, d = q.dy1 / w, e = q.ey / h;
    const double solved[6] = {a, b, q.x0 - a * left - b * top, d, e, q.y0 - d * left - e * top};
    memcpy(coeffs, solved, sizeof solved);
}

bool ownInvertAffine(const OwnPlaneRect& rect, const double* quad, double* coeffs)
{
    const Edges q(quad);
    const double w = rect.w(), h = rect.h();
    const double k = 1 / (q.ey * q.dx1 - q.dy1 * q.ex);
    const double a = q.ey * w * k, b = -q.ex * w * k, d = -q.dy1 * h * k, e = q.dx1 * h * k;
    const double solved[6] = {a, b, double(rect.left) - a * q.x0 - b * q.y0,
                              d, e, double(rect.top) - d * q.x0 - e * q.y0};
    memcpy(coeffs, solved, sizeof solved);
    return k > 0;
}

void ownSolveBilinear(const OwnPlaneRect& rect, const double* quad, double* coeffs)
{
    const Edges q(quad);
    const auto left = double(rect.left), top = double(rect.top), right = double(rect.right),
               bottom = double(rect.bottom);
    // The product is one of 32 bits, which wraps around.
    const double n = 1 / double(int32_t(uint32_t(rect.h()) * uint32_t(rect.w())));
    const double a = -q.sx * n, b = (q.dx3 * top + q.dx1 * bottom) * n, c = (-q.fx * right - q.ex * left) * n;
    const double e = -q.sy * n, f = (q.dy3 * top + q.dy1 * bottom) * n, g = (-q.fy * right - q.ey * left) * n;
    const double solved[8] = {a, b, c, q.x0 - b * left - c * top - a * left * top,
                              e, f, g, q.y0 - f * left - g * top - e * left * top};
    memcpy(coeffs, solved, sizeof solved);
}

bool ownInvertBilinear(const OwnPlaneRect& rect, const double* quad, OwnBilinearInverse& inverse)
{
    constexpr double eps = 1e-10;
    const Edges q(quad);
    const double w = rect.w(), h = rect.h();
    const auto left = double(rect.left), top = double(rect.top);
    const double alpha = q.dy1 * q.dx3 - q.dx1 * q.dy3, beta = q.ex * q.fy - q.ey * q.fx;
    const double cross = q.dy1 * q.fx - q.fy * q.dx1;
    const bool rows = !(fabs(alpha) > eps), columns = !(fabs(beta) > eps);
    using Inverse = OwnBilinearInverse;

    inverse = {};
    double* const b = inverse.b;
    double* const c = inverse.c;
    double* const d = inverse.d;
    double cStart = 0, dStart = top;
    if (!rows && !columns) {
        const double k = w / (2 * alpha), m = w / alpha, p = h / beta;
        inverse.kind = Inverse::general;
        b[0] = -k * q.sy;
        b[1] = k * q.sx;
        b[2] = -k * cross - b[1] * q.y0 - b[0] * q.x0;
        c[0] = q.fy * w * m;
        c[1] = -q.fx * w * m;
        d[0] = -q.sy * p;
        d[1] = q.sx * p;
        inverse.e = -(alpha / w) * p;
        inverse.f = left;
    } else if (!columns) {
        const double p = h / beta;
        inverse.kind = Inverse::parallelRows;
        b[0] = q.sy;
        b[1] = -q.sx;
        b[2] = cross - (b[1] * q.y0 + b[0] * q.x0);
        c[0] = -q.fy * w;
        c[1] = q.fx * w;
        d[0] = -q.sy * p;
        d[1] = q.sx * p;
        inverse.f = left;
    } else if (!rows) {
        const double m = w / alpha;
        inverse.kind = Inverse::parallelColumns;
        b[0] = q.sy;
        b[1] = -q.sx;
        b[2] = -(cross + b[1] * q.y0 + b[0] * q.x0);
        c[0] = -q.sy * m;
        c[1] = q.sx * m;
        d[0] = q.dy1 * h;
        d[1] = -q.dx1 * h;
        inverse.f = top;
        cStart = left;
        dStart = 0;
    } else {
        const double k = 1 / cross;
        inverse.kind = Inverse::affine;
        c[0] = -q.fy * w * k;
        c[1] = q.fx * w * k;
        d[0] = -q.dy1 * h * k;
        d[1] = q.dx1 * h * k;
        cStart = left;
    }
    c[2] = cStart - (q.x0 * c[0] + q.y0 * c[1]);
    d[2] = dStart - (q.x0 * d[0] + q.y0 * d[1]);
    const bool clockwise = q.turnAtLast() > 0;
    inverse.upperRoot = clockwise ? alpha > 0 : alpha < 0;
    return clockwise;
}

void ownSolvePerspective(const OwnPlaneRect& rect, const double* quad, double* coeffs)
{
    const Edges q(quad);
    const double w = rect.w(), h = rect.h();
    const auto left = double(rect.left), top = double(rect.top);
    const double v = 1 / (q.dx3 * q.ey - q.ex * q.dy3);
    const double along = (q.dy3 * (q.ex + q.fx) - q.dx3 * (q.fy + q.ey)) * v;
    const double down = (q.ey * (q.ex + q.fx) - q.ex * (q.fy + q.ey)) * v;
    const double a = (q.x1 * along + q.dx1) / w, d = (q.y1 * along + q.dy1) / w, g = along / w;
    const double b = (q.x3 * down - q.fx) / h, e = (q.y3 * down - q.fy) / h, i = down / h;
    const double solved[9] = {a, b, q.x0 - a * left - b * top,  //
                              d, e, q.y0 - d * left - e * top,  //
                              g, i, 1 - g * left - i * top};
    memcpy(coeffs, solved, sizeof solved);
}

bool ownInvertPerspective(const OwnPlaneRect& rect, const double* quad, double* coeffs)
{
    double forward[9];
    ownSolvePerspective(rect, quad, forward);
    const auto [a, b, c, d, e, f, g, h, i] = forward;
    const double adjugate[9] = {i * e - f * h, c * h - i * b, f * b - c * e,  //
                                f * g - i * d, i * a - c * g, c * d - f * a,  //
                                h * d - e * g, g * b - h * a, a * e - b * d};
    memcpy(coeffs, adjugate, sizeof adjugate);
    return Edges(quad).turnAtLast() > 0;
}

// ---- Angles -------------------------------------------------------------------------------------------------------

double ownWholeTurns(double angle)
{
    const double turns = nearbyint(angle * (1.0 / 360));
    const double rest = angle - 360 * turns;
    return rest < 0 ? rest + 360 : rest;
}

OwnSineCosine ownTurn(double angle)
{
    constexpr double pi = 3.14159265358979323846;
    const double radians = angle * (1.0 / 180) * pi;
    return ownSineCosine(radians);
}
