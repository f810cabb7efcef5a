// Cosine transform.
//
//   orvDCT2D   the orthonormal two-dimensional transform of type II, or its inverse
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "orv/transform.h"
#include "owndctdrive.h"

namespace {

constexpr const char* source = "orvdct";

// True if the region of `image` lies within the memory of the image. No other function looks at this one's headers.
bool hasMemory(const OrvImage& image)
{
    if (!image.imageData || image.tileInfo || image.width < 1 || image.height < 1 || image.widthStep < 1)
        return false;
    if (image.nChannels < 1 || !ownIsDepth(image.depth))
        return false;
    if (image.dataOrder != ORV_DATA_ORDER_PIXEL && image.dataOrder != ORV_DATA_ORDER_PLANE)
        return false;
    const OrvROI* roi = image.roi;
    if (!roi)
        return true;
    if (roi->xOffset < 0 || roi->yOffset < 0 || roi->xOffset >= image.width || roi->yOffset >= image.height)
        return false;
    if (roi->width > image.width - roi->xOffset || roi->height > image.height - roi->yOffset)
        return false;
    return roi->coi >= 0 && roi->coi <= image.nChannels;
}

// Fills in the plan; false if the region of `src` cannot be transformed into `dst`, from its region's start on.
bool fillPlan(const OrvImage& src, const OrvImage& dst, OwnDctPlan& plan)
{
    if (src.nChannels != dst.nChannels || !src.roi != !dst.roi || src.width != dst.width || src.height != dst.height)
        return false;
    if (!hasMemory(src) || !hasMemory(dst) || src.dataOrder != dst.dataOrder)
        return false;
    ownPlaneGeometry(src, plan.src);
    ownPlaneGeometry(dst, plan.dst);
    plan.srcDepth = ownDepthIndex(src.depth);
    plan.dstDepth = ownDepthIndex(dst.depth);
    // The size of the destination's region does not count, whatever it is.
    OwnRect to = ownRoiRect(dst);
    return plan.src.width > 0 && plan.src.height > 0 && plan.src.width <= dst.width - to.x &&
           plan.src.height <= dst.height - to.y && plan.src.channels == plan.dst.channels;
}

}  // namespace

void ORV_CALL orvDCT2D(OrvImage* src, OrvImage* dst, int32_t flags)
{
    constexpr OwnReport report{"orvDCT2D", source};
    if (flags & ORV_DCT_RELEASE) {
        ownReleaseCache(ownContext().caches[OWN_COSINE_CACHE]);
        return;
    }
    OwnDctPlan plan;
    plan.inverse = (flags & ORV_DCT_INVERSE) != 0;
    if (report.when(plan.inverse == ((flags & ORV_DCT_FORWARD) != 0), ORV_STATUS_BAD_ARG,
                    "\n Bad value of the transform flag"))
        return;
    if (!src)
        report(ORV_STATUS_BAD_ARG, "src==0");
    if (!dst)
        report(ORV_STATUS_BAD_ARG, "dst==0");
    if (!src || !dst)
        return;
    if (report.when(src == dst, ORV_STATUS_BAD_ARG, "\nFunction does not support inplace operation"))
        return;
    if (report.when(src->depth == ORV_DEPTH_1U || dst->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG,
                    "\nImages with 1u depth are not processed"))
        return;
    if (report.when(src->alphaChannel != 0 && src->alphaChannel != src->nChannels, ORV_STATUS_BAD_ARG,
                    "\nAlpha channel may be 0 or number of channels"))
        return;
    if (report.when(!fillPlan(*src, *dst, plan), ORV_STATUS_BAD_ARG, "Images are not compatible"))
        return;

    if (plan.src.width == 8 && plan.src.height == 8) {
        ownDctBlocks(plan);
        return;
    }
    const OwnDctLength* rows = nullptr;
    const OwnDctLength* columns = nullptr;
    bool hasTables = ownTryTwice(OWN_COSINE_CACHE, [&] {
        auto* caches = ownCacheRecord<OwnDctCaches>(OWN_COSINE_CACHE);
        rows = caches ? ownDctTable(*caches, plan.src.width) : nullptr;
        columns = rows ? ownDctTable(*caches, plan.src.height) : nullptr;
        return columns != nullptr;
    });
    if (report.when(!hasTables, ORV_STATUS_NO_MEMORY, "No working memory"))
        return;
    // Without memory to work in nothing is reported, and nothing stored.
    (void)ownDctLines(plan, *rows, *columns);
}
