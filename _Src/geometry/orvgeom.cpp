// The geometry of maps: what they make of a rectangle, and the coefficients that make a quadrangle of it.
//
//   orvGetAffineQuad, orvGetBilinearQuad, orvGetPerspectiveQuad                   the corners of a region through a map
//   orvGetAffineBound, orvGetBilinearBound, orvGetPerspectiveBound                the box around them
//   orvGetAffineTransform, orvGetBilinearTransform, orvGetPerspectiveTransform    the map that leads to given corners
//   ...ROI                                                                        the same for a bare region
//   orvGetRotateShift                                                             shifts for a centre of rotation
#include <cstddef>

#include "../core/ownreport.h"
#include "orv/geometry.h"
#include "ownplane.h"

namespace {

constexpr const char* source = "orvgeom";

// ---- Regions: of an image, or bare --------------------------------------------------------------------------------

bool goodRegion(const OwnReport& report, OrvImage* image)
{
    return report.goodImage(image);
}

bool goodRegion(const OwnReport&, const OrvROI*)
{
    return true;
}

bool findRect(const OrvImage* image, OwnPlaneRect& rect)
{
    return ownImageRect(*image, rect);
}

bool findRect(const OrvROI* roi, OwnPlaneRect& rect)
{
    return ownBareRect(roi, rect);
}

// ---- Quadrangles --------------------------------------------------------------------------------------------------

// What makes a quadrangle. Bounds make theirs in its name.
struct QuadMaker {
    OwnReport report;
    void (*make)(const OwnPlaneRect& rect, const double* coeffs, double* quad);
};
constexpr QuadMaker affineQuad = {{"orvGetAffineQuad", source}, ownAffineQuad};
constexpr QuadMaker affineQuadROI = {{"orvGetAffineQuadROI", source}, ownAffineQuad};
constexpr QuadMaker bilinearQuad = {{"orvGetBilinearQuad", source}, ownBilinearQuad};
constexpr QuadMaker bilinearQuadROI = {{"orvGetBilinearQuadROI", source}, ownBilinearQuad};
constexpr QuadMaker perspectiveQuad = {{"orvGetPerspectiveQuad", source}, ownPerspectiveQuad};
constexpr QuadMaker perspectiveQuadROI = {{"orvGetPerspectiveQuadROI", source}, ownPerspectiveQuad};

// True if there is a quadrangle.
template <class Region>
bool quadOf(const QuadMaker& maker, Region* region, const double* coeffs, double* quad)
{
    OwnPlaneRect rect = {};
    if (!goodRegion(maker.report, region))
        return false;
    if (maker.report.when(!findRect(region, rect), ORV_STATUS_BAD_ARG, "Bad rect ROI"))
        return false;
    if (maker.report.when(!coeffs, ORV_STATUS_BAD_ARG, "coeffs==0"))
        return false;
    if (maker.report.when(!quad, ORV_STATUS_BAD_ARG, "quad==0"))
        return false;
    maker.make(rect, coeffs, quad);
    return true;
}

template <class Region>
void boundOf(const OwnReport& report, const QuadMaker& maker, Region* region, const double* coeffs, double* bound)
{
    double quad[8];
    const bool made = quadOf(maker, region, coeffs, quad);
    if (report.when(orvGetErrStatus() < 0, ORV_STATUS_BACKTRACE, "") || !made)
        return;
    if (report.when(!bound, ORV_STATUS_BAD_ARG, "bound==0"))
        return;
    for (int axis = 0; axis < 2; ++axis) {
        double low = quad[axis], high = quad[axis];
        for (int i = 2 + axis; i < 8; i += 2) {
            low = quad[i] < low ? quad[i] : low;
            high = quad[i] > high ? quad[i] : high;
        }
        bound[axis] = low;
        bound[2 + axis] = high;
    }
}

// ---- Transforms ---------------------------------------------------------------------------------------------------

enum class Shape { parallelogram, convex };

bool goodQuad(const OwnReport& report, const double* quad, const double* coeffs, Shape shape)
{
    if (report.when(!quad, ORV_STATUS_BAD_ARG, "quad==0"))
        return false;
    if (report.when(!coeffs, ORV_STATUS_BAD_ARG, "coeffs==0"))
        return false;
    if (report.when(ownTestQuad(quad) == OwnQuadShape::degenerate, ORV_STATUS_BAD_ARG,
                    "Quadrangle is degenerate to triangle or length or point"))
        return false;
    if (report.when(ownTestQuad(quad) == OwnQuadShape::concave, ORV_STATUS_BAD_ARG, "Quadrangle is concave"))
        return false;
    if (report.when(shape == Shape::parallelogram && !ownIsParallelogram(quad), ORV_STATUS_BAD_ARG,
                    "Quadrangle is not parallelogram"))
        return false;
    return true;
}

// What is particular to a kind of map.
struct Solver {
    Shape shape;
    const char* noArea;
    void (*solve)(const OwnPlaneRect& rect, const double* quad, double* coeffs);
};
constexpr Solver affine = {Shape::parallelogram, "srcImage Rectangle ROI is degenerate to length or point",
                           ownSolveAffine};
constexpr Solver bilinear = {Shape::convex, "image Rectangle ROI is degenerate to length or point", ownSolveBilinear};
constexpr Solver perspective = {Shape::convex, "image Rectangle ROI is degenerate to length or point",
                                ownSolvePerspective};

template <class Region>
void transformOf(const OwnReport& report, Region* region, const Solver& solver, double* coeffs, const double* quad)
{
    OwnPlaneRect rect = {};
    if (!goodRegion(report, region) || !goodQuad(report, quad, coeffs, solver.shape))
        return;
    if (report.when(!findRect(region, rect), ORV_STATUS_BAD_ARG, "Bad rect ROI"))
        return;
    if (report.when(!rect.hasArea(), ORV_STATUS_BAD_ARG, solver.noArea))
        return;
    solver.solve(rect, quad, coeffs);
}

// The numbers of an array that may be NULL.
template <size_t n>
double* flat(double (*rows)[n])
{
    return reinterpret_cast<double*>(rows);
}

}  // namespace

void ORV_CALL orvGetAffineQuad(OrvImage* image, double coeffs[2][3], double quad[4][2])
{
    quadOf(affineQuad, image, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetAffineQuadROI(OrvROI* roi, double coeffs[2][3], double quad[4][2])
{
    quadOf(affineQuadROI, roi, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetBilinearQuad(OrvImage* image, double coeffs[2][4], double quad[4][2])
{
    quadOf(bilinearQuad, image, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetBilinearQuadROI(OrvROI* roi, double coeffs[2][4], double quad[4][2])
{
    quadOf(bilinearQuadROI, roi, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetPerspectiveQuad(OrvImage* image, double coeffs[3][3], double quad[4][2])
{
    quadOf(perspectiveQuad, image, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetPerspectiveQuadROI(OrvROI* roi, double coeffs[3][3], double quad[4][2])
{
    quadOf(perspectiveQuadROI, roi, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetAffineBound(OrvImage* image, double coeffs[2][3], double bound[2][2])
{
    boundOf({"orvGetAffineBound", source}, affineQuad, image, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetAffineBoundROI(OrvROI* roi, double coeffs[2][3], double bound[2][2])
{
    boundOf({"orvGetAffineBoundROI", source}, affineQuadROI, roi, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetBilinearBound(OrvImage* image, double coeffs[2][4], double bound[2][2])
{
    boundOf({"orvGetBilinearBound", source}, bilinearQuad, image, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetBilinearBoundROI(OrvROI* roi, double coeffs[2][4], double bound[2][2])
{
    boundOf({"orvGetBilinearBoundROI", source}, bilinearQuadROI, roi, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetPerspectiveBound(OrvImage* image, double coeffs[3][3], double bound[2][2])
{
    boundOf({"orvGetPerspectiveBound", source}, perspectiveQuad, image, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetPerspectiveBoundROI(OrvROI* roi, double coeffs[3][3], double bound[2][2])
{
    boundOf({"orvGetPerspectiveBoundROI", source}, perspectiveQuadROI, roi, flat(coeffs), flat(bound));
}

void ORV_CALL orvGetAffineTransform(OrvImage* image, double coeffs[2][3], double quad[4][2])
{
    transformOf({"orvGetAffineTransform", source}, image, affine, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetAffineTransformROI(OrvROI* roi, double coeffs[2][3], double quad[4][2])
{
    transformOf({"orvGetAffineTransformROI", source}, roi, affine, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetBilinearTransform(OrvImage* image, double coeffs[2][4], double quad[4][2])
{
    transformOf({"orvGetBilinearTransform", source}, image, bilinear, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetBilinearTransformROI(OrvROI* roi, double coeffs[2][4], double quad[4][2])
{
    transformOf({"orvGetBilinearTransformROI", source}, roi, bilinear, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetPerspectiveTransform(OrvImage* image, double coeffs[3][3], double quad[4][2])
{
    transformOf({"orvGetPerspectiveTransform", source}, image, perspective, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetPerspectiveTransformROI(OrvROI* roi, double coeffs[3][3], double quad[4][2])
{
    transformOf({"orvGetPerspectiveTransformROI", source}, roi, perspective, flat(coeffs), flat(quad));
}

void ORV_CALL orvGetRotateShift(double xCenter, double yCenter, double angle, double* xShift, double* yShift)
{
    constexpr OwnReport report{"orvGetRotateShift", source};
    if (report.when(!xShift || !yShift, ORV_STATUS_BAD_ARG, "xShift==0 || yShift==0"))
        return;
    const double turn = ownWholeTurns(angle);
    if (turn == 0)
        return;
    if (turn == 90) {
        *xShift += xCenter - yCenter;
        *yShift += xCenter + yCenter;
    } else if (turn == 180) {
        *xShift += 2 * xCenter;
        *yShift += 2 * yCenter;
    } else if (turn == 270) {
        *xShift += xCenter + yCenter;
        *yShift += yCenter - xCenter;
    } else {
        const auto [s, co] = ownTurn(turn);
        *xShift += xCenter - xCenter * co - yCenter * s;
        *yShift += yCenter - yCenter * co + xCenter * s;
    }
}
