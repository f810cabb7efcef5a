#include "ownmask.h"

#include "kernels/ownrows.h"
#include "orv/pointwise.h"
#include "ownpixels.h"

OwnMaskResult ownCombineMasks(OrvImage* a, OrvImage* b, OrvImage* c, OwnMask& result)
{
    OrvImage* masks[3];
    int count = 0;
    OrvImage* const given[3] = {a, b, c};
    for (OrvImage* mask : given)
        if (mask)
            masks[count++] = mask;
    if (count < 2) {
        result.image = count ? masks[0] : nullptr;
        return OwnMaskResult::ready;
    }
    OwnGeometry geometry[3];
    OwnSize size = {INT32_MAX, INT32_MAX};
    for (int i = 0; i < count; ++i) {
        geometry[i] = ownMaskStart(*masks[i]);
        size = ownMin(size, {geometry[i].width, geometry[i].height});
    }
    if (size.width == 0 || size.height == 0)
        return OwnMaskResult::empty;
    OrvImage* made = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G\0\0", ORV_DATA_ORDER_PLANE, masks[0]->origin,
                                          8, size.width, size.height, nullptr, nullptr, nullptr, nullptr);
    result.temporary.image = made;
    if (!made)
        return OwnMaskResult::noMemory;
    orvAllocateImage(made, 1, 0);  // filled, since bits are put among what is there
    if (!made->imageData)
        return OwnMaskResult::noMemory;
    OwnGeometry to = ownMaskStart(*made);
    OwnPixelOp both = {ownRowKernels().bitAnd, 0, 0, nullptr};
    const OwnGeometry first[3] = {geometry[0], geometry[1], to};
    ownProcessPixels(both, first, 3, nullptr);
    if (count == 3) {
        const OwnGeometry third[3] = {to, geometry[2], to};
        ownProcessPixels(both, third, 3, nullptr);
    }
    result.image = made;
    return OwnMaskResult::combined;
}

bool ownMakeMask(const OrvImage& like, OwnSize size, OwnTempImage& made)
{
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G\0\0", ORV_DATA_ORDER_PLANE, like.origin, 8,
                                      size.width, size.height, nullptr, nullptr, nullptr, nullptr);
    orvAllocateImage(made.image, 1, 0);
    return made.image && made.image->imageData;
}

bool ownAndInto(OrvImage* a, OrvImage* b, OrvImage* made)
{
    const int32_t before = orvGetErrStatus();
    orvSetErrStatus(ORV_STATUS_OK);
    orvAnd(a, b, made);
    if (orvGetErrStatus() < 0)
        return false;
    orvSetErrStatus(before);
    return true;
}

bool ownAndMasks(const OwnReport& report, OrvImage* a, OrvImage* b, OwnTempImage& made)
{
    OwnSize size;
    const bool isEmpty = !ownCommonSize(*a, *b, nullptr, false, size);
    made.image = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G\0\0", ORV_DATA_ORDER_PLANE, a->origin, 8, 1, 1,
                                      nullptr, nullptr, nullptr, nullptr);
    if (report.when(!made.image, ORV_STATUS_BAD_ARG, "(msk == NULL)") || isEmpty)
        return false;
    made.image->width = size.width;
    made.image->height = size.height;
    orvAllocateImage(made.image, 1, 0);
    if (report.when(!made.image->imageData, ORV_STATUS_BAD_ARG, "(msk->imageData == NULL)"))
        return false;
    return !report.when(!ownAndInto(a, b, made.image), ORV_STATUS_BACKTRACE, "error_orvAnd");
}
