// Norms of an image, or of the difference of two.
//
//   orvNorm   the greatest magnitude, the sum of magnitudes, or the root of the sum of squares
#include <cmath>

#include "../core/ownmask.h"
#include "../core/ownread.h"
#include "../core/ownreport.h"
#include "../core/ownwalk.h"
#include "kernels/ownnorm.h"
#include "orv/measure.h"
#include "orv/pointwise.h"

namespace {

constexpr const char* source = "orvNorm";

constexpr int32_t relativeFlag = 8;

// Results of failures after the checks.
constexpr double zeroDivided = -1.0, noIntermediate = -3.0;

bool isNormType(int32_t type)
{
    switch (type) {
    case ORV_NORM_C:
    case ORV_NORM_L1:
    case ORV_NORM_L2:
    case ORV_NORM_RELATIVE_C:
    case ORV_NORM_RELATIVE_L1:
    case ORV_NORM_RELATIVE_L2: return true;
    default: return false;
    }
}

OwnNormKind kindOf(int32_t type)
{
    switch (type & ~relativeFlag) {
    case ORV_NORM_C: return OWN_NORM_C;
    case ORV_NORM_L1: return OWN_NORM_L1;
    default: return OWN_NORM_L2;
    }
}

// The smallest size of the images and their masks; false if nothing is left.
bool commonSize(const OrvImage& a, const OrvImage* b, OwnSize& size)
{
    const OrvImage* const all[] = {&a, a.maskROI, b, b ? b->maskROI : nullptr};
    size = {INT32_MAX, INT32_MAX};
    for (const OrvImage* image : all) {
        OwnSize own;
        if (image && !ownRoiSize(*image, false, own))
            return false;
        if (image)
            size = {ownMin(size.width, own.width), ownMin(size.height, own.height)};
    }
    return true;
}

// The masks of both images as one, NULL if there is none; false if there is no memory.
bool findMask(const OrvImage& a, const OrvImage* b, OwnSize size, OwnTempImage& made, const OrvImage*& mask)
{
    OrvImage* other = b ? b->maskROI : nullptr;
    OrvImage* first = a.maskROI ? a.maskROI : other;
    OrvImage* second = other ? other : first;
    mask = first;
    if (!first || (first == second && !first->maskROI))
        return true;
    if (!ownMakeMask(*first, size, made))
        return false;
    orvAnd(first, second, made.image);
    mask = made.image;
    return true;
}

// One call: the norm of `a`, or of its difference from `b`; of a relative one also the norm of `b`.
struct Norm {
    OwnNormKind kind;
    bool relative;
    uint32_t depth;
    double value = 0, ofB = 0;

    void take(double& total, const OwnNormSum& piece) const
    {
        total = kind != OWN_NORM_C ? total + piece.sum : piece.sum > total ? piece.sum : total;
    }
};

// What one piece of plain memory adds. Rows are read once more for the norm of `b` while they are in the cache.
struct PieceSums {
    OwnNormKernels::Kernel difference, ofB;
    OwnNormSum sum, sumOfB;
};

void readRows(void* state, const OwnReadRows& rows)
{
    auto& sums = *static_cast<PieceSums*>(state);
    if (!sums.ofB)
        return sums.difference(sums.sum, rows);
    constexpr ptrdiff_t most = 8;
    OwnReadRows part = rows;
    for (ptrdiff_t y = 0; y < rows.count; y += part.count) {
        part.a = static_cast<const uint8_t*>(rows.a) + y * rows.aStep;
        part.b = static_cast<const uint8_t*>(rows.b) + y * rows.bStep;
        part.count = rows.count - y < most ? rows.count - y : most;
        sums.difference(sums.sum, part);
        OwnReadRows onlyB = part;
        onlyB.a = part.b;
        onlyB.aStep = part.bStep;
        sums.ofB(sums.sumOfB, onlyB);
    }
}

void addPiece(Norm& norm, const OrvImage& a, const OrvImage* b, const OrvImage* mask)
{
    const OwnNormKernels& kernels = ownNormKernels();
    OwnDepthIndex depth = ownDepthIndex(norm.depth);
    PieceSums sums = {(b ? kernels.two : kernels.one)[norm.kind][depth],
                      norm.relative ? kernels.one[norm.kind][depth] : nullptr,
                      {},
                      {}};
    OwnGeometry images[2], under;
    ownPlaneGeometry(a, images[0]);
    if (b)
        ownPlaneGeometry(*b, images[1]);
    if (mask)
        under = ownMaskStart(*mask);
    const bool takesMask = norm.depth == ORV_DEPTH_8U && kernels.bytesTakeMask && !norm.relative;
    ownReadPixels({.read = readRows, .state = &sums, .takesMask = takesMask}, norm.depth, images, b ? 2 : 1,
                  mask ? &under : nullptr);
    norm.take(norm.value, sums.sum);
    norm.take(norm.ofB, sums.sumOfB);
}

// Cell by cell of A's tiles, or of B's; false if there is no memory or a tile does not come.
bool addTiles(Norm& norm, OrvImage* a, OrvImage* b, const OrvImage* mask, OwnSize size)
{
    return ownGridWalk(a->tileInfo ? *a : *b, size, [&](const OwnCell& cell) {
        OwnFetchedCell cells[2];
        OwnWork works[2], maskWork;
        OrvImage* const images[2] = {a, b};
        const OrvImage* shown[2] = {};
        for (int i = 0; i < 2 && images[i]; ++i) {
            // The first one's tiles are closed before those of the second are opened.
            if (images[i]->tileInfo && !cells[i].fetch(images[i], cell, i == 1 || !b || !b->tileInfo))
                return false;
            ownShowCell(works[i], *images[i], cell);
            shown[i] = images[i]->tileInfo ? &cells[i].work.image : &works[i].image;
        }
        if (mask)
            ownShowCell(maskWork, *mask, cell);
        addPiece(norm, *shown[0], shown[1], mask ? &maskWork.image : nullptr);
        cells[0].release();
        cells[1].release();
        return true;
    });
}

double resultOf(const Norm& norm)
{
    constexpr double leastDivisor = 2.2250738585072014e-308;
    bool squares = norm.kind == OWN_NORM_L2;
    double value = squares ? sqrt(norm.value) : norm.value;
    if (!norm.relative)
        return value;
    double divisor = squares ? sqrt(norm.ofB) : norm.ofB;
    return divisor > leastDivisor ? value / divisor : zeroDivided;
}

bool hasCoi(const OrvImage* image)
{
    return ownChannels(*image).coi;
}

// Reports a fault that memory does not depend on; true if the stored status, which the report handler may have cleared,
// ends the call.
bool ends(const OwnReport& report, bool fault, int32_t status, const char* context, int32_t line = __builtin_LINE())
{
    return report.when(fault, status, context, line) && orvGetErrStatus() < 0;
}

bool lacksSecond(const OrvImage* b, int32_t type)
{
    return !b && isNormType(type) && (type & relativeFlag);
}

// The checks before the mask is made. What else could be wrong with channels the test of the header has found.
bool checkImages(const OwnReport& report, OrvImage* a, OrvImage* b, int32_t type)
{
    if (!report.goodImage(a))
        return false;
    if (ends(report, b && a->dataOrder != b->dataOrder, ORV_STATUS_BAD_DATA_ORDER, "DataOrder_A!=DataOrder_B"))
        return false;
    if (b && a->depth != b->depth && !report.goodImage(b))
        return false;
    if (report.when(b && a->depth != b->depth, ORV_STATUS_BAD_ARG, "(srcImageA->depth!=srcImageB->depth)"))
        return false;
    if (ends(report, !isNormType(type), ORV_STATUS_BAD_ARG, "Unknown normType"))
        return false;
    if (ends(report, lacksSecond(b, type), ORV_STATUS_BAD_ARG, "normType is impossible, no second image"))
        return false;
    if (!b)
        return true;
    if (!report.goodImage(b))
        return false;
    if (ends(report, a->nChannels != b->nChannels, ORV_STATUS_BAD_CHANNELS, ""))
        return false;
    return !ends(report, hasCoi(a) != hasCoi(b), ORV_STATUS_BAD_COI,
                 "COI should be defined for second image if COI is defined for the first one");
}

}  // namespace

double ORV_CALL orvNorm(OrvImage* srcImageA, OrvImage* srcImageB, int32_t normType)
{
    constexpr OwnReport report{"orvNorm", source};
    if (!checkImages(report, srcImageA, srcImageB, normType))
        return 0;
    OwnSize size;
    OwnTempImage made;
    const OrvImage* mask = nullptr;
    bool isEmpty = !commonSize(*srcImageA, srcImageB, size);
    bool hasMask = isEmpty || findMask(*srcImageA, srcImageB, size, made, mask);
    if (report.when(!hasMask, ORV_STATUS_NULL_IMAGE, "Null pointer for mask"))
        return 0;
    if (report.when(srcImageB && ownChannels(*srcImageA).count != ownChannels(*srcImageB).count, ORV_STATUS_BAD_COI,
                    "nChannelsA != nChannelsB"))
        return 0;
    if (report.when(!isNormType(normType) || lacksSecond(srcImageB, normType), ORV_STATUS_ERROR, " "))
        return 0;
    Norm norm = {kindOf(normType), (normType & relativeFlag) != 0, srcImageA->depth};
    bool isTiled = srcImageA->tileInfo || (srcImageB && srcImageB->tileInfo);
    bool done = true;
    if (!isEmpty && isTiled)
        done = addTiles(norm, srcImageA, srcImageB, mask, size);
    else if (!isEmpty)
        addPiece(norm, *srcImageA, srcImageB, mask);
    if (report.when(!done, ORV_STATUS_NO_MEMORY, "No memory for create intermediate image"))
        return noIntermediate;
    double result = resultOf(norm);
    report.when(result == zeroDivided, ORV_STATUS_BAD_ARG, "Zero divided");
    return result;
}
