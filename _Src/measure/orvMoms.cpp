// Moments of an image up to order 3.
//
//   orvMoments                      all ten spatial moments, in a record
//   orvGetSpatialMoment             one of the record's,
//   orvGetNormalizedSpatialMoment   divided by a power of M(0, 0),
//   orvGetCentralMoment             about the centre of gravity,
//   orvGetNormalizedCentralMoment   and both
//   orvSpatialMoment, orvNormalizedSpatialMoment, orvCentralMoment, orvNormalizedCentralMoment   the same of an image
#include <cmath>

#include "../core/ownread.h"
#include "../core/ownreport.h"
#include "../core/ownwalk.h"
#include "kernels/ownmoments.h"
#include "orv/measure.h"

namespace {

constexpr const char* source = "orvMoms";

// The orders in x and y of the moments as they are summed.
constexpr struct {
    int32_t m, n;
} orders[ownMomentCount] = {{0, 0}, {1, 0}, {0, 1}, {2, 0}, {1, 1}, {0, 2}, {3, 0}, {2, 1}, {1, 2}, {0, 3}};

// ---- Sums over an image -------------------------------------------------------------------------------------------

// True if the sums of a row's values times up to the third power of their columns are whole numbers below 2^53.
bool rowsAreExact(uint32_t depth, const OwnRect& rect)
{
    double most;
    switch (depth) {
    case ORV_DEPTH_1U: most = 1; break;
    case ORV_DEPTH_8U:
    case ORV_DEPTH_8S: most = 255; break;
    case ORV_DEPTH_16U:
    case ORV_DEPTH_16S: most = 65535; break;
    default: return false;
    }
    double first = rect.x, end = double(rect.x) + rect.width;
    double cubes = (end * end * end * end - first * first * first * first) / 4 + end * end * end;
    return most * cubes < 9007199254740992.0;
}

void readRows(void* state, const OwnReadRows& rows)
{
    auto& all = *static_cast<OwnMomentSums*>(state);
    all.take(all, rows);
}

void addPiece(OwnMomentSums& sums, const OrvImage& image, const OrvImage* mask)
{
    OwnGeometry geometry, under;
    ownPlaneGeometry(image, geometry);
    if (mask)
        under = ownMaskStart(*mask);
    ownReadPixels({readRows, &sums, false}, image.depth, &geometry, 1, mask ? &under : nullptr);
}

// The working rectangle. Its channel is named, since a single channel is read even where it is alpha, which is
// otherwise skipped.
OrvROI regionOf(const OrvImage& image, const OwnRect& rect)
{
    return {ownChannels(image).first + 1, rect.x, rect.y, rect.width, rect.height};
}

void addPlain(OwnMomentSums& sums, const OrvImage& image, const OrvImage* mask, const OwnRect& rect)
{
    OwnWork work(image);
    work.roi = regionOf(image, rect);
    addPiece(sums, work.image, mask);
}

// Tile by tile, with the working rectangle as the image's region meanwhile: what the tile provider sees is what is
// read.
bool addTiles(OwnMomentSums& sums, OrvImage* image, const OrvImage* mask, const OwnRect& rect)
{
    OrvROI region = regionOf(*image, rect);
    OrvROI* kept = image->roi;
    image->roi = &region;
    bool done = ownGridWalk(*image, {rect.width, rect.height}, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, ORV_TILE_READ);
        if (!tile)
            return false;
        OwnWork work, maskWork;
        ownShowLeadingCell(work, *image, cell, tile);
        if (mask)
            ownShowCell(maskWork, *mask, cell);
        sums.x = rect.x + cell.x;
        sums.y = rect.y + cell.y;
        addPiece(sums, work.image, mask ? &maskWork.image : nullptr);
        ownReleaseTile(image, cell.column, cell.row);
        return true;
    });
    image->roi = kept;
    return done;
}

// The region, as far as the mask reaches; false if nothing is left of it.
bool workingRectangle(const OrvImage& image, OwnRect& rect)
{
    OwnSize size;
    if (!ownCommonSize(image, image.maskROI ? *image.maskROI : image, nullptr, false, size))
        return false;
    rect = ownRoiRect(image);
    rect.width = size.width;
    rect.height = size.height;
    return true;
}

// Fills the record; false if it stays as it was: nothing is left of the region, or, after a report, a tile does not
// come.
bool fillState(const OwnReport& report, OrvImage* image, OrvMomentState* state)
{
    OwnRect rect;
    if (!workingRectangle(*image, rect))
        return false;
    OwnMomentSums sums = {};
    sums.x = rect.x;
    sums.y = rect.y;
    sums.exact = rowsAreExact(image->depth, rect);
    sums.take = ownMomentKernels().take[ownDepthIndex(image->depth)];
    const OrvImage* mask = image->maskROI;
    if (!image->tileInfo)
        addPlain(sums, *image, mask, rect);
    else if (report.when(!addTiles(sums, image, mask, rect), ORV_STATUS_ERROR, "Error get tile to read"))
        return false;
    for (int i = 0; i < ownMomentCount; ++i)
        (*state)[orders[i].m][orders[i].n].value = sums.moments[i];
    (*state)[1][0].scale = 1.0 / rect.width;
    (*state)[0][1].scale = 1.0 / rect.height;
    return true;
}

// ---- Values of a record -------------------------------------------------------------------------------------------

double spatial(const OrvMomentState& s, int32_t m, int32_t n)
{
    return s[m][n].value;
}

// A power of so many halves: by products and a root, which are the same on every system.
double halfPower(double x, int32_t halves)
{
    double power = halves % 2 ? sqrt(x) : 1.0;
    for (int32_t i = 0; i < halves / 2; ++i)
        power *= x;
    return power;
}

double normalized(const OrvMomentState& s, double moment, int32_t m, int32_t n)
{
    return moment / halfPower(spatial(s, 0, 0), m + n + 2);
}

double normalizedSpatial(const OrvMomentState& s, int32_t m, int32_t n)
{
    return normalized(s, spatial(s, m, n), m, n);
}

double central(const OrvMomentState& s, int32_t m, int32_t n)
{
    constexpr double least = 2.2250738585072014e-308;
    const double m00 = s[0][0].value, m10 = s[1][0].value, m01 = s[0][1].value, m11 = s[1][1].value;
    const double m20 = s[2][0].value, m02 = s[0][2].value;
    const bool empty = fabs(m00) <= least;
    const double xc = empty ? 0.5 / s[1][0].scale : m10 * (1.0 / m00);
    const double yc = empty ? 0.5 / s[0][1].scale : m01 * (1.0 / m00);
    switch (m * 4 | n) {
    case 0 * 4 | 0: return m00;
    case 0 * 4 | 2: return m02 - m01 * yc;
    case 0 * 4 | 3: return s[0][3].value - 3 * m02 * yc + 2 * yc * yc * m01;
    case 1 * 4 | 1: return m11 - m01 * xc;
    case 1 * 4 | 2: return s[1][2].value - m02 * xc - 2 * m11 * yc + 2 * yc * yc * m10;
    case 2 * 4 | 0: return m20 - m10 * xc;
    case 2 * 4 | 1: return s[2][1].value - m20 * yc + 2 * xc * xc * m01 - 2 * m11 * xc;
    case 3 * 4 | 0: return s[3][0].value - 3 * m20 * xc + 2 * xc * xc * m10;
    default: return 0;
    }
}

double normalizedCentral(const OrvMomentState& s, int32_t m, int32_t n)
{
    return normalized(s, central(s, m, n), m, n);
}

using Moment = double (*)(const OrvMomentState& state, int32_t m, int32_t n);

// ---- Checks -------------------------------------------------------------------------------------------------------

bool checkImage(const OwnReport& report, OrvImage* image)
{
    if (!report.goodImage(image))
        return false;
    return !report.when(image->nChannels != 1 && !ownChannels(*image).coi, ORV_STATUS_BAD_ARG,
                        "Only one channel can be proceed");
}

bool checkOrder(const OwnReport& report, int32_t m, int32_t n)
{
    bool isGood = m >= 0 && n >= 0 && m <= 3 && n <= 3 && m + n <= 3;
    return !report.when(!isGood, ORV_STATUS_BAD_ARG, "Illegal order of moment");
}

double momentOfRecord(const OwnReport& report, const OrvMomentState* state, int32_t m, int32_t n, Moment moment)
{
    if (!checkOrder(report, m, n) || report.when(!state, ORV_STATUS_NULL_POINTER, "state==0"))
        return 0;
    return moment(*state, m, n);
}

double momentOfImage(const OwnReport& report, OrvImage* image, int32_t m, int32_t n, Moment moment)
{
    OrvMomentState state = {};
    if (!checkImage(report, image) || !checkOrder(report, m, n) || !fillState(report, image, &state))
        return 0;
    return moment(state, m, n);
}

}  // namespace

void ORV_CALL orvMoments(OrvImage* image, OrvMomentState* state)
{
    constexpr OwnReport report{"orvMoments", source};
    if (checkImage(report, image) && !report.when(!state, ORV_STATUS_NULL_POINTER, "state==0"))
        fillState(report, image, state);
}

double ORV_CALL orvGetSpatialMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvGetSpatialMoment", source};
    return momentOfRecord(report, state, mOrd, nOrd, spatial);
}

double ORV_CALL orvGetNormalizedSpatialMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvGetSpatialMoment", source};
    return momentOfRecord(report, state, mOrd, nOrd, normalizedSpatial);
}

double ORV_CALL orvGetCentralMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvGetCentralMoment", source};
    return momentOfRecord(report, state, mOrd, nOrd, central);
}

double ORV_CALL orvGetNormalizedCentralMoment(OrvMomentState* state, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvGetNormalizedCentralMoment", source};
    return momentOfRecord(report, state, mOrd, nOrd, normalizedCentral);
}

double ORV_CALL orvSpatialMoment(OrvImage* image, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvSpatialMoment", source};
    return momentOfImage(report, image, mOrd, nOrd, spatial);
}

double ORV_CALL orvNormalizedSpatialMoment(OrvImage* image, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvNormalizedSpatialMoment", source};
    return momentOfImage(report, image, mOrd, nOrd, normalizedSpatial);
}

double ORV_CALL orvCentralMoment(OrvImage* image, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvCentralMoment", source};
    return momentOfImage(report, image, mOrd, nOrd, central);
}

double ORV_CALL orvNormalizedCentralMoment(OrvImage* image, int32_t mOrd, int32_t nOrd)
{
    constexpr OwnReport report{"orvNormalizedCentralMoment", source};
    return momentOfImage(report, image, mOrd, nOrd, normalizedCentral);
}
