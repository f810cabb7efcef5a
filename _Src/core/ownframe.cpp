#include "ownframe.h"

#include "ownmask.h"

namespace {

// One run over images alike in plain memory, padding included; false if they are not alike.
bool processWholeBuffer(const OwnPointwise& call, OrvImage* const* images)
{
    bool alpha = false;
    for (int i = 0; i < call.count; ++i)
        alpha = alpha || images[i]->alphaChannel != 0;
    if (call.count < 2 || !ownIsWholeBuffer(images, call.count, alpha))
        return false;
    const OwnPixelOp& op = call.op;
    int last = call.count - 1;
    const uint8_t* a = images[0]->imageData;
    const uint8_t* b = last > 1 ? images[1]->imageData : nullptr;
    uint8_t* d = images[last]->imageData;
    int32_t size = images[last]->imageSize;
    if (op.resultBytes == 0)
        ownRunBits(op.kernel, {a, 0, b, 0, op.scalar, {d, 0}, 0}, int64_t{size} * 8);
    else
        op.kernel.run({a, b ? b : op.scalar, d, size / op.resultBytes});
    return true;
}

void processRegions(void* task, OrvImage* const* images, const OrvImage* mask)
{
    const auto& call = *static_cast<const OwnPointwise*>(task);
    OwnGeometry geometry[3];
    for (int i = 0; i < call.count; ++i)
        ownPlaneGeometry(*images[i], geometry[i]);
    OwnGeometry maskGeometry;
    if (mask)
        maskGeometry = ownMaskStart(*mask);
    if (call.test)
        ownProcessToBits(*call.test, geometry, call.count, mask ? &maskGeometry : nullptr);
    else
        ownProcessPixels(call.op, geometry, call.count, mask ? &maskGeometry : nullptr);
}

}  // namespace

void ownRunPointwise(const OwnPointwise& call, OrvImage* mask)
{
    bool tiled = false;
    OrvImage* images[3];
    for (int i = 0; i < call.count; ++i) {
        images[i] = call.images[i].image;
        tiled = tiled || images[i]->tileInfo;
    }
    void* task = const_cast<OwnPointwise*>(&call);
    if (tiled)
        ownBandWalk(call.report, call.images, call.count, mask, processRegions, task);
    else if (mask || call.padding == OwnPadding::stays || !processWholeBuffer(call, images))
        processRegions(task, images, mask);
}

void ownRunMasked(const OwnReport& report, const OwnWalkImage* images, int count, const OwnDepthKernels& kernels,
                  const void* scalar, const char* refusal, OwnPadding padding)
{
    OwnMask mask;
    OrvImage* third = count > 2 ? images[1].image->maskROI : nullptr;
    OwnMaskResult combined = ownCombineMasks(images[0].image->maskROI, third, images[count - 1].image->maskROI, mask);
    if (report.when(combined == OwnMaskResult::noMemory, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return;
    if (combined == OwnMaskResult::empty)
        return;
    uint32_t depth = images[count - 1].image->depth;
    const OwnRowKernel& kernel = kernels[ownDepthIndex(depth)];
    if (report.when(!kernel.run && !kernel.bits, ORV_STATUS_BAD_ARG, refusal))
        return;
    OwnPointwise call = {report, {}, count, ownPixelOp(kernel, depth, scalar), padding};
    for (int i = 0; i < count; ++i)
        call.images[i] = images[i];
    ownRunPointwise(call, mask.image);
}
