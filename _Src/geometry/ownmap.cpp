#include "ownmap.h"

#include <cmath>

namespace {

// Function k as it stands in rows of coefficients: factors of x and y, and a constant.
void setFunction(OwnMap& map, int k, const double* coeffs)
{
    map.slope[k] = coeffs[0];
    map.fall[k] = coeffs[1];
    map.constant[k] = coeffs[2];
}

void setFunctions(OwnMap& map, const double* coeffs, int count)
{
    for (int k = 0; k < count; ++k)
        setFunction(map, k, coeffs + 3 * k);
}

OwnMapKind inverseKind(OwnBilinearInverse::Kind kind)
{
    switch (kind) {
    case OwnBilinearInverse::general: return OWN_MAP_INVERSE_GENERAL;
    case OwnBilinearInverse::parallelRows: return OWN_MAP_INVERSE_ROWS;
    case OwnBilinearInverse::parallelColumns: return OWN_MAP_INVERSE_COLUMNS;
    default: return OWN_MAP_INVERSE_AFFINE;
    }
}

// A power of two that brings the denominators of a perspective map near 1, so that the products of four of them stay in
// range. It divides numerators and denominators alike, without any rounding.
void normalise(double* coeffs, double denominator)
{
    if (denominator == 0 || !std::isfinite(denominator))
        return;
    const int exponent = -ilogb(denominator);
    for (int i = 0; i < 9; ++i)
        coeffs[i] = scalbn(coeffs[i], exponent);
}

}  // namespace

bool ownMapAffine(const OwnPlaneRect& rect, const double* quad, OwnMap& map)
{
    double coeffs[6];
    const bool clockwise = ownInvertAffine(rect, quad, coeffs);
    map = {};
    map.kind = OWN_MAP_LINEAR;
    setFunctions(map, coeffs, 2);
    return clockwise;
}

bool ownMapBilinear(const OwnPlaneRect& rect, const double* quad, OwnMap& map)
{
    OwnBilinearInverse inverse;
    const bool clockwise = ownInvertBilinear(rect, quad, inverse);
    map = {};
    map.kind = inverseKind(inverse.kind);
    setFunction(map, 0, inverse.b);
    setFunction(map, 1, inverse.c);
    setFunction(map, 2, inverse.d);
    map.e = inverse.e;
    map.f = inverse.f;
    map.upperRoot = inverse.upperRoot;
    return clockwise;
}

bool ownMapPerspective(const OwnPlaneRect& rect, const double* quad, OwnMap& map)
{
    double coeffs[9];
    const bool clockwise = ownInvertPerspective(rect, quad, coeffs);
    const double denominator = coeffs[6] * quad[0] + coeffs[7] * quad[1] + coeffs[8];
    normalise(coeffs, denominator);
    map = {};
    map.kind = OWN_MAP_PERSPECTIVE;
    setFunctions(map, coeffs, 3);
    map.side = denominator;
    return clockwise;
}

void ownMapOntoBilinear(const OwnPlaneRect& rect, const double* quad, OwnMap& map)
{
    double coeffs[8];
    ownSolveBilinear(rect, quad, coeffs);
    map = {};
    map.kind = OWN_MAP_LINEAR;
    map.origin = double(rect.left);
    for (int k = 0; k < 2; ++k) {
        const double* const c = coeffs + 4 * k;
        map.twist[k] = c[0];
        map.slope[k] = c[1];
        map.fall[k] = c[0] * map.origin + c[2];
        map.constant[k] = c[1] * map.origin + c[3];
    }
}

void ownMapOntoPerspective(const OwnPlaneRect& rect, const double* quad, OwnMap& map)
{
    double coeffs[9];
    ownSolvePerspective(rect, quad, coeffs);
    map = {};
    map.kind = OWN_MAP_PERSPECTIVE;
    setFunctions(map, coeffs, 3);
    map.side = map.at(2, double(rect.left), double(rect.top));
}

bool OwnMap::boxOf(const OwnRect& pixels, OwnPositionRange& box) const
{
    const bool isInverse = kind != OWN_MAP_LINEAR && kind != OWN_MAP_PERSPECTIVE;
    if (isInverse && kind != OWN_MAP_INVERSE_AFFINE)
        return false;
    const int first = isInverse ? 1 : 0;  // the function that is x
    box = {INFINITY, INFINITY, -INFINITY, -INFINITY};
    for (int corner = 0; corner < 4; ++corner) {
        const double column = corner & 1 ? pixels.xEnd - 1 : pixels.x, row = corner & 2 ? pixels.yEnd - 1 : pixels.y;
        const double w = kind == OWN_MAP_PERSPECTIVE ? at(2, column, row) : 1;
        if (kind == OWN_MAP_PERSPECTIVE && !(w * side > 0))
            return false;
        const double x = at(first, column, row) / w, y = at(first + 1, column, row) / w;
        if (!std::isfinite(x) || !std::isfinite(y))
            return false;
        box = {fmin(box.left, floor(x)), fmin(box.top, floor(y)), fmax(box.right, ceil(x)), fmax(box.bottom, ceil(y))};
    }
    return true;
}

bool OwnMap::pixelsNear(const OwnPositionRange& box, OwnSize size, OwnPositionRange& pixels) const
{
    if (kind != OWN_MAP_LINEAR || twist[0] != 0 || twist[1] != 0)
        return false;
    const double product = slope[0] * fall[1], other = slope[1] * fall[0], determinant = product - other;
    if (!(fabs(determinant) > 1e-6 * (fabs(product) + fabs(other))))
        return false;
    // Boxes are widened to whole numbers.
    auto reach = [&](int k) { return fabs(slope[k]) * size.width + fabs(fall[k]) * size.height + 2; };
    pixels = {INFINITY, INFINITY, -INFINITY, -INFINITY};
    for (int corner = 0; corner < 4; ++corner) {
        const double x = (corner & 1 ? box.right + reach(0) : box.left - reach(0)) - constant[0];
        const double y = (corner & 2 ? box.bottom + reach(1) : box.top - reach(1)) - constant[1];
        const double column = (fall[1] * x - fall[0] * y) / determinant + origin,
                     row = (slope[0] * y - slope[1] * x) / determinant;
        // What rounding may take away.
        auto slack = [&](const double* factors) {
            return 1 + 1e-9 * (fabs(factors[1] * x) + fabs(factors[0] * y)) / fabs(determinant);
        };
        const double columnSlack = slack(fall), rowSlack = slack(slope);
        if (!std::isfinite(column) || !std::isfinite(row) || !std::isfinite(columnSlack + rowSlack))
            return false;
        pixels = {fmin(pixels.left, column - columnSlack), fmin(pixels.top, row - rowSlack),
                  fmax(pixels.right, column + columnSlack), fmax(pixels.bottom, row + rowSlack)};
    }
    return true;
}

OwnMapRows::OwnMapRows(const OwnMap& map, int32_t firstRow) : map(map)
{
    for (int k = 0; k < 3; ++k) {
        slope[k] = map.slope[k] + map.twist[k] * firstRow;
        term[k] = map.fall[k] * firstRow + map.constant[k];
    }
}

void OwnMapRows::next()
{
    for (int k = 0; k < 3; ++k) {
        slope[k] += map.twist[k];
        term[k] += map.fall[k];
    }
}
