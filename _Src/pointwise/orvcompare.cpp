// Comparisons.
//
//   orvLess, orvGreater, orvEqual            two images
//   orvEqualFPEps                            two images of floats, within a tolerance
//   orvLessS, orvGreaterS, orvEqualS         an image of integers and a scalar
//   orvLessSFP, orvGreaterSFP, orvEqualSFP   an image of floats and a scalar
//   orvEqualSFPEps                           the same within a tolerance
#include "../core/kernels/ownrows.h"
#include "../core/ownpixels.h"
#include "../core/ownreport.h"
#include "../core/ownscratch.h"
#include "../core/ownwalk.h"
#include "kernels/owncompare.h"
#include "orv/pointwise.h"

namespace {

constexpr const char* source = "orvcompare";

// ---- Checks -------------------------------------------------------------------------------------------------------

// What is returned for a fault is often not the status that is reported.

int32_t checkHeaders(const OwnReport& report, OrvImage* const* images, int count)
{
    for (int i = 0; i < count; ++i) {
        int32_t status = orvCheckImageHeader(images[i]);
        if (report.when(status, status, " Incorrect Image"))
            return status;
    }
    return ORV_STATUS_OK;
}

constexpr const char* badAlpha = "bad alpha channel's number";

int32_t checkMasks(const OwnReport& report, OrvImage* const* images, int count)
{
    for (int i = 0; i < count; ++i)
        if (report.when(images[i]->maskROI && !ownHasChannels(*images[i]->maskROI), ORV_STATUS_BAD_ALPHA_CHANNEL,
                        badAlpha))
            return ORV_STATUS_BAD_ALPHA_CHANNEL;
    return ORV_STATUS_OK;
}

// `near` is given by the forms with a tolerance.
int32_t checkPair(const OwnReport& report, OrvImage* img1, OrvImage* img2, OrvImage* res, const OwnNearness* near)
{
    OrvImage* const images[] = {img1, img2, res};
    if (int32_t status = checkHeaders(report, images, 3))
        return status;
    if (report.when(res->depth != ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(res->depth!=ORV_DEPTH_1U)"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(img1->depth != img2->depth, ORV_STATUS_BAD_ARG, "(img1->depth!=img2->depth)"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(img1 == res || img2 == res, ORV_STATUS_BAD_ARG, "(img1==res || img2==res)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(img1->dataOrder != img2->dataOrder, ORV_STATUS_BAD_ARG, "(img1->dataOrder!=img2->dataOrder)"))
        return ORV_STATUS_BAD_DATA_ORDER;
    if (report.when(img1->origin != img2->origin, ORV_STATUS_BAD_ARG, "(img1->origin!=img2->origin)"))
        return ORV_STATUS_BAD_ORIGIN;
    if (report.when(near && img1->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG,
                    "((img1->depth!= ORV_DEPTH_32F)|| (img2->depth!= ORV_DEPTH_32F))"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(near && near->eps <= 0, ORV_STATUS_BAD_ARG, "(eps<=0.)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(!ownHasChannels(*img1) || !ownHasChannels(*img2), ORV_STATUS_BAD_ALPHA_CHANNEL, badAlpha))
        return ORV_STATUS_BAD_ALPHA_CHANNEL;
    if (report.when(ownChannels(*img1).count != ownChannels(*img2).count, ORV_STATUS_BAD_CHANNELS,
                    "bad channel's number"))
        return ORV_STATUS_BAD_CHANNELS;
    if (report.when(!ownHasChannels(*res), ORV_STATUS_BAD_ALPHA_CHANNEL, badAlpha))
        return ORV_STATUS_BAD_ARG;
    return checkMasks(report, images, 3);
}

int32_t checkOne(const OwnReport& report, OrvImage* img, OrvImage* res, bool real, const OwnNearness* near)
{
    OrvImage* const images[] = {img, res};
    if (int32_t status = checkHeaders(report, images, 2))
        return status;
    if (report.when(res->depth != ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(res->depth!=ORV_DEPTH_1U)"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(!real && img->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(img->depth==ORV_DEPTH_32F)"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(real && img->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(img->depth!=ORV_DEPTH_32F)"))
        return ORV_STATUS_BAD_DEPTH;
    if (report.when(img == res, ORV_STATUS_BAD_ARG, "(img==res)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(near && near->eps <= 0, ORV_STATUS_BAD_ARG, "(eps<=0.)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(!ownHasChannels(*img), ORV_STATUS_BAD_ALPHA_CHANNEL, badAlpha))
        return ORV_STATUS_BAD_ALPHA_CHANNEL;
    if (report.when(!ownHasChannels(*res), ORV_STATUS_BAD_ALPHA_CHANNEL, badAlpha))
        return ORV_STATUS_BAD_ARG;
    return checkMasks(report, images, 2);
}

// ---- The run ------------------------------------------------------------------------------------------------------

// One call, after its checks.
struct Comparison {
    OrvImage* images[3];  // one or two sources, then the result
    int count;
    OwnTestOp test;           // on values
    OwnPixelOp bits;          // on sources of 1U
    const uint8_t* constant;  // what the result is filled with, eight bits at a time, if the scalar alone decides
};

Comparison comparison(OrvImage* a, OrvImage* b, OrvImage* res, const OwnComparison& kernels, const void* scalar)
{
    OwnTestOp test = {kernels.values[ownDepthIndex(a->depth)], ownValueBytes(a->depth), scalar};
    OwnPixelOp bits = {kernels.bits, 0, 0, scalar};
    if (b)
        return {{a, b, res}, 3, test, bits, nullptr};
    return {{a, res, nullptr}, 2, test, bits, nullptr};
}

// The smallest size of all regions, those of the masks included.
OwnSize commonSize(const Comparison& call)
{
    OwnSize size = {INT32_MAX, INT32_MAX};
    auto cut = [&](const OrvImage& image) {
        OwnRect rect = ownRoiRect(image);
        size = ownMin(size, {rect.width, rect.height});
    };
    for (int i = 0; i < call.count; ++i) {
        cut(*call.images[i]);
        if (call.images[i]->maskROI)
            cut(*call.images[i]->maskROI);
    }
    return size;
}

// Makes `made` the common part of the images' masks and of the masks that these have, if there are any; false if there
// is no memory. It is made even of one, since a mask may be the result itself.
bool makeMask(const Comparison& call, OwnSize size, OwnTempImage& made)
{
    const OrvImage* first = nullptr;
    OwnSize common = size;
    auto forMasks = [&](auto visit) {
        for (int i = 0; i < call.count; ++i)
            for (const OrvImage* mask = call.images[i]->maskROI; mask; mask = mask->maskROI)
                visit(*mask);
    };
    forMasks([&](const OrvImage& mask) {
        first = first ? first : &mask;
        OwnRect rect = ownRoiRect(mask);
        common = ownMin(common, {rect.width, rect.height});
    });
    if (!first)
        return true;
    made.flags = ORV_IMAGE_ALL;
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "GRAY", first->dataOrder, first->origin, first->align,
                                      size.width, size.height, nullptr, nullptr, nullptr, nullptr);
    if (!made.image)
        return false;
    // Behind the end of a mask's own mask no bit is set.
    orvAllocateImage(made.image, 1, 0);
    if (!made.image->imageData)
        return false;
    const OwnRowKernels& move = ownRowKernels();
    OwnGeometry to = ownMaskStart(*made.image);
    to.width = common.width;
    to.height = common.height;
    bool isFirst = true;
    forMasks([&](const OrvImage& mask) {
        const OwnGeometry images[3] = {ownMaskStart(mask), to, to};
        const OwnRowKernel& kernel = isFirst ? move.copy[OWN_1U] : move.bitAnd;
        ownProcessPixels(ownPixelOp(kernel, ORV_DEPTH_1U, nullptr), images, isFirst ? 2 : 3, nullptr);
        isFirst = false;
    });
    return true;
}

// The kernel's work on `size` pixels of plain memory.
void compare(const Comparison& call, const OrvImage* const* images, const OrvImage* mask, OwnSize size)
{
    OwnGeometry geometry[3], maskGeometry;
    for (int i = 0; i < call.count; ++i)
        ownPlaneGeometry(*images[i], geometry[i]);
    if (mask)
        maskGeometry = ownMaskStart(*mask);
    const OwnGeometry* under = mask ? &maskGeometry : nullptr;
    OwnGeometry& result = geometry[call.count - 1];
    result.width = size.width;
    result.height = size.height;
    if (call.constant)
        ownProcessPixels(ownPixelOp(ownRowKernels().fill[OWN_1U], ORV_DEPTH_1U, call.constant), &result, 1, under);
    else if (call.test.sourceBytes == 0)
        ownProcessPixels(call.bits, geometry, call.count, under);
    else
        ownProcessToBits(call.test, geometry, call.count, under);
}

// Compares one cell, which lies in `tile` of the leading image. False if another image's part cannot be fetched.
bool compareCell(const Comparison& call, int leading, uint8_t* tile, const OrvImage* mask, const OwnCell& cell)
{
    OwnWork works[3], maskWork;
    OwnFetchedCell fetched[2];
    const OrvImage* images[3] = {};
    int lastFetched = -1;
    for (int i = 0; i < call.count; ++i)
        if (i != leading && call.images[i]->tileInfo)
            lastFetched = i;
    for (int i = 0; i < call.count; ++i) {
        OrvImage* image = call.images[i];
        images[i] = &works[i].image;
        if (i == leading) {
            ownShowLeadingCell(works[i], *image, cell, tile);
        } else if (!image->tileInfo) {
            ownShowCell(works[i], *image, cell);
        } else {
            if (!fetched[i].fetch(image, cell, i == lastFetched))
                return false;
            images[i] = &fetched[i].work.image;
        }
    }
    if (mask)
        ownShowCell(maskWork, *mask, cell);
    compare(call, images, mask ? &maskWork.image : nullptr, {cell.width, cell.height});
    if (lastFetched >= 0)
        fetched[lastFetched].release();
    return true;
}

// The image whose tiles are walked: the result, or else the first tiled source; -1 for none.
int leadingImage(const Comparison& call)
{
    int last = call.count - 1;
    if (call.images[last]->tileInfo)
        return last;
    for (int i = 0; i < last; ++i)
        if (call.images[i]->tileInfo)
            return i;
    return -1;
}

// Walks the tiles of the leading image. False if one does not come or another image's part cannot be fetched.
bool walkTiles(const Comparison& call, int leading, const OrvImage* mask, OwnSize size)
{
    OrvImage* image = call.images[leading];
    int32_t mode = leading == call.count - 1 ? ORV_TILE_WRITE : ORV_TILE_READ;
    return ownGridWalk(*image, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, mode);
        if (!tile)
            return false;
        bool compared = compareCell(call, leading, tile, mask, cell);
        ownReleaseTile(image, cell.column, cell.row);
        return compared;
    });
}

int32_t run(const OwnReport& report, const Comparison& call)
{
    OwnSize size = commonSize(call);
    if (size.width <= 0 || size.height <= 0)
        return ORV_STATUS_OK;
    OwnTempImage mask;
    int leading = leadingImage(call);
    bool done = makeMask(call, size, mask);
    if (done && leading >= 0)
        done = walkTiles(call, leading, mask.image, size);
    else if (done)
        compare(call, call.images, mask.image, size);
    if (report.when(!done, ORV_STATUS_NO_MEMORY, "Allocation failure"))
        return ORV_STATUS_NO_MEMORY;
    return ORV_STATUS_OK;
}

// ---- The forms ----------------------------------------------------------------------------------------------------

int32_t compareImages(const OwnReport& report, OrvImage* img1, OrvImage* img2, OrvImage* res,
                      const OwnComparison& kernels, const OwnNearness* near = nullptr)
{
    if (int32_t status = checkPair(report, img1, img2, res, near))
        return status;
    return run(report, comparison(img1, img2, res, kernels, near));
}

// Where a scalar outside the depth's range makes every test true.
enum class TrueOutside { never, below, above };

int32_t compareInteger(const OwnReport& report, OrvImage* img, int32_t value, OrvImage* res,
                       const OwnComparison& kernels, TrueOutside side)
{
    if (int32_t status = checkOne(report, img, res, false, nullptr))
        return status;
    int64_t lowest = ownLowest(img->depth), highest = ownHighest(img->depth);
    Comparison call = comparison(img, nullptr, res, kernels, &value);
    bool allTrue = side == (value < lowest ? TrueOutside::below : TrueOutside::above);
    uint8_t constant = allTrue ? 0xFF : 0;
    if (value < lowest || value > highest)
        call.constant = &constant;
    return run(report, call);
}

int32_t compareFloat(const OwnReport& report, OrvImage* img, float value, OrvImage* res, const OwnComparison& kernels)
{
    if (int32_t status = checkOne(report, img, res, true, nullptr))
        return status;
    return run(report, comparison(img, nullptr, res, kernels, &value));
}

}  // namespace

int32_t ORV_CALL orvLess(OrvImage* img1, OrvImage* img2, OrvImage* res)
{
    constexpr OwnReport report{"orvLess", source};
    return compareImages(report, img1, img2, res, ownCompareKernels().less);
}

int32_t ORV_CALL orvGreater(OrvImage* img1, OrvImage* img2, OrvImage* res)
{
    constexpr OwnReport report{"orvGreater", source};
    return compareImages(report, img1, img2, res, ownCompareKernels().greater);
}

int32_t ORV_CALL orvEqual(OrvImage* img1, OrvImage* img2, OrvImage* res)
{
    constexpr OwnReport report{"orvEqual", source};
    return compareImages(report, img1, img2, res, ownCompareKernels().equal);
}

int32_t ORV_CALL orvEqualFPEps(OrvImage* img1, OrvImage* img2, OrvImage* res, float eps)
{
    constexpr OwnReport report{"orvEqualFPEps", source};
    OwnNearness near = {0, eps};
    return compareImages(report, img1, img2, res, ownCompareKernels().near, &near);
}

int32_t ORV_CALL orvLessS(OrvImage* img, int32_t value, OrvImage* res)
{
    constexpr OwnReport report{"orvLessS", source};
    return compareInteger(report, img, value, res, ownCompareKernels().lessScalar, TrueOutside::above);
}

int32_t ORV_CALL orvGreaterS(OrvImage* img, int32_t value, OrvImage* res)
{
    constexpr OwnReport report{"orvGreaterS", source};
    return compareInteger(report, img, value, res, ownCompareKernels().greaterScalar, TrueOutside::below);
}

int32_t ORV_CALL orvEqualS(OrvImage* img, int32_t value, OrvImage* res)
{
    constexpr OwnReport report{"orvEqualS", source};
    return compareInteger(report, img, value, res, ownCompareKernels().equalScalar, TrueOutside::never);
}

int32_t ORV_CALL orvLessSFP(OrvImage* img, float value, OrvImage* res)
{
    constexpr OwnReport report{"orvLessSFP", source};
    return compareFloat(report, img, value, res, ownCompareKernels().lessScalar);
}

int32_t ORV_CALL orvGreaterSFP(OrvImage* img, float value, OrvImage* res)
{
    constexpr OwnReport report{"orvGreaterSFP", source};
    return compareFloat(report, img, value, res, ownCompareKernels().greaterScalar);
}

int32_t ORV_CALL orvEqualSFP(OrvImage* img, float value, OrvImage* res)
{
    constexpr OwnReport report{"orvEqualSFP", source};
    return compareFloat(report, img, value, res, ownCompareKernels().equalScalar);
}

int32_t ORV_CALL orvEqualSFPEps(OrvImage* img, float value, OrvImage* res, float eps)
{
    constexpr OwnReport report{"orvEqualSFPEps", source};
    OwnNearness near = {value, eps};
    if (int32_t status = checkOne(report, img, res, true, &near))
        return status;
    return run(report, comparison(img, nullptr, res, ownCompareKernels().nearScalar, &near));
}
