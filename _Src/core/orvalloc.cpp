// Memory, image headers and pixel data.
//
//   orvMalloc, orvwMalloc, orviMalloc, orvsMalloc, orvdMalloc, orvFree   the aligned allocator
//   orvCreateImageHeader, orvCheckImageHeader                            headers and their validation
//   orvAllocateImage, orvAllocateImageFP, orvCloneImage                  pixel data
//   orvDeallocate, orvDeallocateHeader, orvDeallocateImage               release
//   orvCreateROI, orvSetROI, orvDeleteROI                                regions
//   orvCreateTileInfo, orvSetTileInfo, orvDeleteTileInfo                 tiling descriptors
#include <bit>
#include <cstring>

#include "orv/core.h"
#include "owncontext.h"
#include "ownheap.h"
#include "ownlayout.h"
#include "ownreport.h"
#include "ownscratch.h"

namespace {

constexpr const char* source = "orvalloc";

constexpr uintptr_t blockAlign = 32;

// A block begins with room to round its address up to the alignment and to keep the way back below that.
constexpr size_t blockOverhead = blockAlign + sizeof(void*);

void* allocateBlock(int32_t count, size_t elementSize)
{
    if (count < 1 || size_t(count) > (SIZE_MAX - blockOverhead) / elementSize)
        return nullptr;
    void* block = ownHeapAlloc(size_t(count) * elementSize + blockOverhead);
    if (!block)
        return nullptr;
    uintptr_t address = (reinterpret_cast<uintptr_t>(block) + blockOverhead - 1) & ~(blockAlign - 1);
    auto* aligned = reinterpret_cast<void**>(address);
    aligned[-1] = block;
    return aligned;
}

int32_t checkHeader(OrvImage* image, int maskLevel);

int32_t maskFault(OrvImage* mask, int maskLevel)
{
    if (mask->depth != ORV_DEPTH_1U)
        return ORV_STATUS_OF_MASK(ORV_STATUS_BAD_DEPTH);
    if (mask->tileInfo)
        return ORV_STATUS_TILED_MASK;
    if (int32_t fault = checkHeader(mask, maskLevel + 1))
        return ORV_STATUS_OF_MASK(fault);
    return ORV_STATUS_OK;
}

// The first fault of the values that an image is made of.
int32_t valueFault(const OrvImage& image, bool hasModelTexts, int maskLevel)
{
    if (image.height < 1 || image.width < 1)
        return ORV_STATUS_BAD_IMAGE_SIZE;
    if (image.nChannels < 1)
        return ORV_STATUS_BAD_CHANNELS;
    if (image.depth == ORV_DEPTH_1U && image.nChannels != 1)
        return ORV_STATUS_BAD_1U_CHANNELS;
    if (!hasModelTexts)
        return ORV_STATUS_BAD_COLOR_MODEL;
    if (!ownIsDepth(image.depth))
        return ORV_STATUS_BAD_DEPTH;
    if (image.alphaChannel != 0 && image.alphaChannel != image.nChannels)
        return ORV_STATUS_BAD_ALPHA_CHANNEL;
    if (image.dataOrder != ORV_DATA_ORDER_PIXEL && image.dataOrder != ORV_DATA_ORDER_PLANE)
        return ORV_STATUS_BAD_DATA_ORDER;
    if (image.origin != ORV_ORIGIN_TL && image.origin != ORV_ORIGIN_BL)
        return ORV_STATUS_BAD_ORIGIN;
    if (image.align != 4 && image.align != 8 && image.align != 16 && image.align != 32)
        return ORV_STATUS_BAD_ALIGN;
    return image.maskROI ? maskFault(image.maskROI, maskLevel) : ORV_STATUS_OK;
}

int32_t tileFault(const OrvImage& image)
{
    const OrvTileInfo& tiles = *image.tileInfo;
    if (!tiles.callBack)
        return ORV_STATUS_NULL_CALLBACK;
    if (tiles.width < 1 || tiles.height < 1 || tiles.width % 8 != 0 || tiles.height % 8 != 0)
        return ORV_STATUS_BAD_TILE_SIZE;
    // The working header of a tile keeps the step of its rows in 32 bits.
    if (ownLineBytes(image.dataOrder, image.depth, image.align, image.nChannels, tiles.width) > INT32_MAX)
        return ORV_STATUS_BAD_TILE_SIZE;
    return ORV_STATUS_OK;
}

int32_t regionFault(const OrvROI& roi, int32_t nChannels)
{
    if (roi.coi < 0 || roi.coi > nChannels)
        return ORV_STATUS_BAD_COI;
    if (roi.height < 1 || roi.width < 1)
        return ORV_STATUS_BAD_ROI_SIZE;
    if (roi.xOffset < 0 || roi.yOffset < 0)
        return ORV_STATUS_BAD_ROI_OFFSET;
    return ORV_STATUS_OK;
}

int32_t headerFault(const OrvImage* image, int maskLevel)
{
    // A chain of masks that never ends would run the stack out; nobody nests masks in earnest.
    constexpr int deepestMask = 64;
    if (!image)
        return ORV_STATUS_NULL_IMAGE;
    if (maskLevel > deepestMask)
        return ORV_STATUS_INTERNAL;
    if ((image->imageData != nullptr) == (image->tileInfo != nullptr))
        return ORV_STATUS_NO_IMAGE_DATA;
    if (image->imageSize < 1 && !image->tileInfo)
        return ORV_STATUS_BAD_IMAGE_SIZE;
    if (image->widthStep < 1 && !image->tileInfo)
        return ORV_STATUS_BAD_WIDTH_STEP;
    if (int32_t fault = valueFault(*image, true, maskLevel))
        return fault;
    if (image->tileInfo)
        if (int32_t fault = tileFault(*image))
            return fault;
    if (image->roi)
        if (int32_t fault = regionFault(*image->roi, image->nChannels))
            return fault;
    return ORV_STATUS_OK;
}

int32_t checkHeader(OrvImage* image, int maskLevel)
{
    int32_t fault = headerFault(image, maskLevel);
    if (fault)
        orvSetErrStatus(fault);
    return fault;
}

struct Sizes {
    int32_t widthStep;
    int32_t imageSize;
    bool fit;  // false if one of them does not fit its field, which then holds the largest value
};

Sizes sizesOf(const OrvImage& image)
{
    int64_t step = ownLineBytes(image.dataOrder, image.depth, image.align, image.nChannels, image.width);
    int64_t rows = int64_t{image.height} * (image.dataOrder == ORV_DATA_ORDER_PLANE ? image.nChannels : 1);
    if (step > INT32_MAX)
        return {INT32_MAX, INT32_MAX, false};
    if (rows > INT32_MAX / step)
        return {int32_t(step), INT32_MAX, false};
    return {int32_t(step), int32_t(step * rows), true};
}

// Takes 4 bytes from a text, or what it has before its terminator, so that short literals serve too.
void copyFourBytes(char (&field)[4], const char* text)
{
    for (int i = 0; i < 4 && text[i]; ++i)
        field[i] = text[i];
}

// The 32-bit word that repeats `value` at the depth's width.
uint32_t fillPattern(uint32_t depth, uint32_t value)
{
    switch (depth & ORV_DEPTH_MASK) {
    case 1: return value & 1 ? UINT32_MAX : 0;
    case 8: return (value & 0xFF) * 0x01010101u;
    case 16: return (value & 0xFFFF) * 0x00010001u;
    default: return value;
    }
}

// False after a report of what keeps an image of any depth from getting pixel data.
bool takesData(const OwnReport& report, const OrvImage* image)
{
    if (report.when(!image, ORV_STATUS_BAD_ARG, "( image == ((void *)0) )"))
        return false;
    if (report.when(image->imageData, ORV_STATUS_BAD_ARG, "( image->imageData != ((void *)0) )"))
        return false;
    if (report.when(image->tileInfo, ORV_STATUS_BAD_ARG, "( image->tileInfo != ((void *)0) )"))
        return false;
    return true;
}

void allocateData(const OwnReport& report, OrvImage* image, bool doFill, uint32_t fillValue)
{
    int32_t fault = valueFault(*image, true, 0);
    if (report.when(fault, fault, "Incorrect data-ins"))
        return;
    Sizes sizes = sizesOf(*image);
    if (report.when(!sizes.fit, ORV_STATUS_BAD_IMAGE_SIZE, "Incorrect data-ins"))
        return;
    image->imageDataBlock = static_cast<uint8_t*>(ownHeapAlloc(size_t(sizes.imageSize) + size_t(image->align) - 1));
    if (report.when(!image->imageDataBlock, ORV_STATUS_NO_MEMORY, "for allocate image data"))
        return;
    uintptr_t mask = uintptr_t(image->align) - 1;
    image->imageData = reinterpret_cast<uint8_t*>((reinterpret_cast<uintptr_t>(image->imageDataBlock) + mask) & ~mask);
    image->widthStep = sizes.widthStep;
    image->imageSize = sizes.imageSize;
    if (doFill) {
        uint32_t pattern = fillPattern(image->depth, fillValue);
        for (int32_t i = 0; i < sizes.imageSize; i += 4)
            memcpy(image->imageData + i, &pattern, 4);
    }
}

}  // namespace

void* ORV_CALL orvMalloc(int32_t length)
{
    return allocateBlock(length, 1);
}

int16_t* ORV_CALL orvwMalloc(int32_t length)
{
    return static_cast<int16_t*>(allocateBlock(length, 2));
}

int32_t* ORV_CALL orviMalloc(int32_t length)
{
    return static_cast<int32_t*>(allocateBlock(length, 4));
}

float* ORV_CALL orvsMalloc(int32_t length)
{
    return static_cast<float*>(allocateBlock(length, 4));
}

double* ORV_CALL orvdMalloc(int32_t length)
{
    return static_cast<double*>(allocateBlock(length, 8));
}

void ORV_CALL orvFree(void* pointer)
{
    if (pointer)
        ownHeapFree(static_cast<void**>(pointer)[-1]);
}

OrvImage* ORV_CALL orvCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                                        const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align,
                                        int32_t width, int32_t height, OrvROI* roi, OrvImage* maskROI, void* imageTag,
                                        OrvTileInfo* tileInfo)
{
    constexpr OwnReport report{"orvCreateImageHeader", source};
    OrvImage header = {};
    header.headerSize = int32_t(sizeof(OrvImage));
    header.nChannels = nChannels;
    header.alphaChannel = alphaChannel;
    header.depth = depth;
    header.dataOrder = dataOrder;
    header.origin = origin;
    header.align = align;
    header.width = width;
    header.height = height;
    header.roi = roi;
    header.maskROI = maskROI;
    header.imageTag = imageTag;
    header.tileInfo = tileInfo;
    int32_t fault = valueFault(header, colorModel && channelSeq, 0);
    if (!fault) {
        Sizes sizes = sizesOf(header);
        header.widthStep = sizes.widthStep;
        header.imageSize = sizes.imageSize;
        // Tiles have no buffer that must fit.
        if (!sizes.fit && !tileInfo)
            fault = ORV_STATUS_BAD_IMAGE_SIZE;
    }
    if (report.when(fault, fault, "Incorrect data-ins"))
        return nullptr;
    copyFourBytes(header.colorModel, colorModel);
    copyFourBytes(header.channelSeq, channelSeq);
    for (int side = 0; side < 4; ++side)
        header.borderMode[side] = ORV_BORDER_CONSTANT;
    auto* image = static_cast<OrvImage*>(orvMalloc(sizeof(OrvImage)));
    if (image)
        *image = header;
    return image;
}

void ORV_CALL orvAllocateImage(OrvImage* image, int32_t doFill, int32_t fillValue)
{
    constexpr OwnReport report{"orvAllocateImage", source};
    if (!takesData(report, image))
        return;
    if (report.when(image->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "( image->depth == 32 )"))
        return;
    allocateData(report, image, doFill != 0, uint32_t(fillValue));
}

void ORV_CALL orvAllocateImageFP(OrvImage* image, int32_t doFill, float fillValue)
{
    constexpr OwnReport report{"orvAllocateImageFP", source};
    if (!takesData(report, image))
        return;
    if (report.when(image->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "( image->depth != 32 )"))
        return;
    allocateData(report, image, doFill != 0, std::bit_cast<uint32_t>(fillValue));
}

void ORV_CALL orvDeallocateImage(OrvImage* image)
{
    if (!image)
        return;
    ownHeapFree(image->imageDataBlock);
    image->imageDataBlock = nullptr;
    image->imageData = nullptr;
}

void ORV_CALL orvDeallocateHeader(OrvImage* image)
{
    orvDeallocate(image, ORV_IMAGE_HEADER);
}

void ORV_CALL orvDeallocate(OrvImage* image, int32_t flags)
{
    if (!image)
        return;
    if (flags & ORV_IMAGE_ROI) {
        orvFree(image->roi);
        image->roi = nullptr;
    }
    if (flags & ORV_IMAGE_MASK) {
        orvDeallocate(image->maskROI, ORV_IMAGE_ALL);
        image->maskROI = nullptr;
    }
    if (flags & ORV_IMAGE_TILE) {
        orvFree(image->tileInfo);
        image->tileInfo = nullptr;
    }
    if ((flags & ORV_IMAGE_DATA) && image->imageDataBlock)
        orvDeallocateImage(image);
    if (flags & ORV_IMAGE_HEADER)
        orvFree(image);
}

int32_t ORV_CALL orvCheckImageHeader(OrvImage* image)
{
    return checkHeader(image, 0);
}

OrvImage* ORV_CALL orvCloneImage(OrvImage* image)
{
    constexpr OwnReport report{"orvCloneImage", source};
    if (!report.goodImage(image))
        return nullptr;
    OwnTempImage owner(orvCreateImageHeader(image->nChannels, image->alphaChannel, image->depth, image->colorModel,
                                            image->channelSeq, image->dataOrder, image->origin, image->align,
                                            image->width, image->height, nullptr, nullptr, nullptr, nullptr));
    owner.flags |= ORV_IMAGE_ROI;
    OrvImage* clone = owner.image;
    if (report.when(!clone, ORV_STATUS_NO_MEMORY, "Not enough memory to allocate header for clone image"))
        return nullptr;
    *clone = *image;
    clone->headerId = 0;
    clone->imageTag = nullptr;
    clone->imageData = nullptr;
    clone->imageDataBlock = nullptr;
    clone->maskROI = nullptr;
    clone->tileInfo = nullptr;
    clone->roi = nullptr;
    if (const OrvROI* roi = image->roi) {
        clone->roi = orvCreateROI(roi->coi, roi->xOffset, roi->yOffset, roi->width, roi->height);
        if (report.when(!clone->roi, ORV_STATUS_NO_MEMORY, "Not enough memory to allocate roi for clone image"))
            return nullptr;
    }
    if (clone->depth == ORV_DEPTH_32F)
        orvAllocateImageFP(clone, 0, 0);
    else
        orvAllocateImage(clone, 0, 0);
    if (report.when(!clone->imageData, ORV_STATUS_NO_MEMORY, "Not enough memory to allocate imageData for clone image"))
        return nullptr;
    if (image->imageData) {
        int32_t size = image->imageSize < clone->imageSize ? image->imageSize : clone->imageSize;
        memcpy(clone->imageData, image->imageData, size_t(size));
    }
    return owner.release();
}

OrvROI* ORV_CALL orvCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height)
{
    auto* roi = static_cast<OrvROI*>(orvMalloc(sizeof(OrvROI)));
    orvSetROI(roi, coi, xOffset, yOffset, width, height);
    return roi;
}

void ORV_CALL orvSetROI(OrvROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height)
{
    if (roi)
        *roi = {coi, xOffset, yOffset, width, height};
}

void ORV_CALL orvDeleteROI(OrvROI* roi)
{
    orvFree(roi);
}

OrvTileInfo* ORV_CALL orvCreateTileInfo(OrvTileCallBack callBack, void* tileTag, int32_t width, int32_t height)
{
    auto* tileInfo = static_cast<OrvTileInfo*>(orvMalloc(sizeof(OrvTileInfo)));
    orvSetTileInfo(tileInfo, callBack, tileTag, width, height);
    return tileInfo;
}

void ORV_CALL orvSetTileInfo(OrvTileInfo* tileInfo, OrvTileCallBack callBack, void* tileTag, int32_t width,
                             int32_t height)
{
    if (tileInfo)
        *tileInfo = {callBack, tileTag, nullptr, width, height};
}

void ORV_CALL orvDeleteTileInfo(OrvTileInfo* tileInfo)
{
    orvFree(tileInfo);
}
