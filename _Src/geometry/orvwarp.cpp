// Warps: an image through a map of the plane, onto a quadrangle or from one.
//
//   orvWarpAffine                                affine map
//   orvWarpBilinear, orvWarpBilinearQ            bilinear map, by coefficients or by the quadrangle
//   orvWarpPerspective, orvWarpPerspectiveQ      perspective map, likewise
//   orvShear, orvRotate                          particular affine maps
#include <cmath>

#include "owncheck.h"
#include "ownplane.h"
#include "ownresample.h"
#include "ownturn.h"
#include "ownwarp.h"

namespace {

constexpr const char* source = "orvwarp";

// ---- Checks -------------------------------------------------------------------------------------------------------

bool failedBefore()
{
    return orvGetErrStatus() < 0;
}

// True for two images that may be warped. `warpFlag` is 0 where there is none.
bool imagesFit(const OwnReport& report, OrvImage* src, OrvImage* dst, int32_t warpFlag = 0)
{
    if (!report.goodImage(src) || !report.goodImage(dst))
        return false;
    OwnFaults faults(report);
    faults.test(src->depth != dst->depth, "srcImage->depth != dstImage->depth");
    faults.test(src->origin != dst->origin, "srcImage->origin != dstImage->origin");
    faults.test(ownOrdersDiffer(*src, *dst), "srcImage->dataOrder != dstImage->dataOrder");
    faults.test(src->depth & ORV_DEPTH_SIGN, "srcImage->depth & ORV_DEPTH_SIGN");
    faults.test(warpFlag != 0 && warpFlag != 1, "warpFlag != 0 && warpFlag != 1");
    faults.test(src == dst, "This function is not in-place function");
    return faults.none();
}

OwnWarp makeWarp(const OwnReport& report, OrvImage* src, OrvImage* dst, const double* quad, OwnWarpKind kind,
                 int32_t interpolate)
{
    const int32_t method = ownBearableMethod(*src, interpolate & ~ORV_BLEND_EDGE);
    return {report, src, dst, quad, kind, method, (interpolate & ORV_BLEND_EDGE) != 0};
}

void warpQuad(const OwnReport& report, OrvImage* src, OrvImage* dst, const double* quad, OwnWarpKind kind,
              int32_t warpFlag, int32_t interpolate)
{
    if (!imagesFit(report, src, dst, warpFlag))
        return;
    if (report.when(!quad, ORV_STATUS_BAD_ARG, "quad==0"))
        return;
    const OwnQuadShape shape = ownTestQuad(quad);
    if (report.when(shape == OwnQuadShape::degenerate, ORV_STATUS_BAD_ARG,
                    "Quadrangle is degenerate to triangle or length or point"))
        return;
    if (report.when(shape == OwnQuadShape::concave, ORV_STATUS_BAD_ARG, "Quadrangle is concave"))
        return;
    if (!ownMethodIsGood(report, interpolate))
        return;
    const OwnWarp warp = makeWarp(report, src, dst, quad, kind, interpolate);
    if (warpFlag == 1)
        ownWarpFromQuad(warp);
    else
        ownWarpOntoQuad(warp);
}

// No quadrangle: what stays where the function that makes one fails.
struct Quad {
    double points[4][2] = {{NAN, NAN}, {NAN, NAN}, {NAN, NAN}, {NAN, NAN}};
};

}  // namespace

void ORV_CALL orvWarpAffine(OrvImage* srcImage, OrvImage* dstImage, double coeffs[2][3], int32_t interpolate)
{
    constexpr OwnReport report{"orvWarpAffine", source};
    if (!imagesFit(report, srcImage, dstImage))
        return;
    if (report.when(!coeffs, ORV_STATUS_BAD_ARG, "coeffs==0"))
        return;
    if (report.when(fabs(coeffs[0][0] * coeffs[1][1] - coeffs[0][1] * coeffs[1][0]) <= 1e-7, ORV_STATUS_BAD_ARG,
                    "Determinant of transform matrix == 0.0"))
        return;
    Quad quad;
    orvGetAffineQuad(srcImage, coeffs, quad.points);
    if (report.when(failedBefore(), ORV_STATUS_BACKTRACE, ""))
        return;
    if (ownMethodIsGood(report, interpolate))
        ownWarpOntoQuad(makeWarp(report, srcImage, dstImage, quad.points[0], OwnWarpKind::affine, interpolate));
}

void ORV_CALL orvWarpBilinear(OrvImage* srcImage, OrvImage* dstImage, double coeffs[2][4], int32_t warpFlag,
                              int32_t interpolate)
{
    constexpr OwnReport report{"orvWarpBilinear", source};
    Quad quad;
    orvGetBilinearQuad(warpFlag ? dstImage : srcImage, coeffs, quad.points);
    if (report.when(failedBefore(), ORV_STATUS_BACKTRACE, ""))
        return;
    orvWarpBilinearQ(srcImage, dstImage, quad.points, warpFlag, interpolate);
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

void ORV_CALL orvWarpBilinearQ(OrvImage* srcImage, OrvImage* dstImage, double quad[4][2], int32_t warpFlag,
                               int32_t interpolate)
{
    constexpr OwnReport report{"orvWarpBilinearQ", source};
    warpQuad(report, srcImage, dstImage, reinterpret_cast<double*>(quad), OwnWarpKind::bilinear, warpFlag, interpolate);
}

void ORV_CALL orvWarpPerspective(OrvImage* srcImage, OrvImage* dstImage, double coeffs[3][3], int32_t warpFlag,
                                 int32_t interpolate)
{
    constexpr OwnReport report{"orvWarpPerspective", source};
    Quad quad;
    orvGetPerspectiveQuad(warpFlag ? dstImage : srcImage, coeffs, quad.points);
    if (report.when(failedBefore(), ORV_STATUS_BACKTRACE, ""))
        return;
    orvWarpPerspectiveQ(srcImage, dstImage, quad.points, warpFlag, interpolate);
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

void ORV_CALL orvWarpPerspectiveQ(OrvImage* srcImage, OrvImage* dstImage, double quad[4][2], int32_t warpFlag,
                                  int32_t interpolate)
{
    constexpr OwnReport report{"orvWarpPerspectiveQ", source};
    warpQuad(report, srcImage, dstImage, reinterpret_cast<double*>(quad), OwnWarpKind::perspective, warpFlag,
             interpolate);
}

void ORV_CALL orvShear(OrvImage* srcImage, OrvImage* dstImage, double xShear, double yShear, double xShift,
                       double yShift, int32_t interpolate)
{
    constexpr OwnReport report{"orvShear", source};
    double coeffs[2][3] = {{1, xShear, xShift}, {yShear, 1, yShift}};
    orvWarpAffine(srcImage, dstImage, coeffs, interpolate);
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}

namespace {

// A turn by 90, 180 or 270 degrees and a whole number of pixels: every pixel is copied.
void turnExactly(const OwnReport& report, OrvImage* src, OrvImage* dst, int quarters, double xShift, double yShift)
{
    if (!imagesFit(report, src, dst))
        return;
    const OwnRect srcRect = ownRoiRect(*src), dstRect = ownRoiRect(*dst);
    if (srcRect.width < 1 || srcRect.height < 1 || dstRect.width < 1 || dstRect.height < 1)
        return;
    if (ownChannelsAgree(report, *src, *dst))
        ownTurnPixels(*src, *dst, quarters, xShift, yShift);
}

bool isTiled(const OrvImage* image)
{
    return image && image->tileInfo;
}

bool isWhole(double value)
{
    return std::isfinite(value) && floor(value) == value;
}

}  // namespace

void ORV_CALL orvRotate(OrvImage* srcImage, OrvImage* dstImage, double angle, double xShift, double yShift,
                        int32_t interpolate)
{
    constexpr OwnReport report{"orvRotate", source};
    const double turn = ownWholeTurns(angle);
    OwnSineCosine exact;
    if (turn == 90)
        exact = {1, 0};
    else if (turn == 180)
        exact = {0, -1};
    else if (turn == 270)
        exact = {-1, 0};
    else
        exact = ownTurn(turn);
    const bool isQuarter = turn == 90 || turn == 180 || turn == 270;
    if (isQuarter && !isTiled(srcImage) && !isTiled(dstImage) && isWhole(xShift) && isWhole(yShift)) {
        turnExactly(report, srcImage, dstImage, int(turn) / 90, xShift, yShift);
        return;
    }
    double coeffs[2][3] = {{exact.cos, exact.sin, xShift}, {-exact.sin, exact.cos, yShift}};
    orvWarpAffine(srcImage, dstImage, coeffs, interpolate);
    report.when(failedBefore(), ORV_STATUS_BACKTRACE, "");
}
