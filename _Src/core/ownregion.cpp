#include "ownregion.h"

OwnRect ownRoiRect(const OrvImage& image)
{
    OwnRect rect = {0, image.width, 0, image.height, image.width, image.height};
    if (const OrvROI* roi = image.roi) {
        // Cut at the far edges in 64 bits: offset plus size may pass the field's range.
        int64_t xEnd = int64_t{roi->xOffset} + roi->width;
        int64_t yEnd = int64_t{roi->yOffset} + roi->height;
        rect.x = roi->xOffset;
        rect.y = roi->yOffset;
        rect.xEnd = xEnd < image.width ? int32_t(xEnd) : image.width;
        rect.yEnd = yEnd < image.height ? int32_t(yEnd) : image.height;
        rect.width = rect.xEnd - rect.x;
        rect.height = rect.yEnd - rect.y;
    }
    return rect;
}

OwnRoiStart ownRoiStart(const OrvImage& image, int32_t channel)
{
    OwnRect rect = ownRoiRect(image);
    int64_t bits = ownDepthBits(image.depth);
    int64_t step = image.widthStep;
    int64_t offset = rect.y * step;
    if (image.dataOrder == ORV_DATA_ORDER_PLANE)
        offset += int64_t{channel} * image.height * step + rect.x * bits / 8;
    else
        offset += (channel + int64_t{rect.x} * image.nChannels) * bits / 8;
    return {image.imageData + offset, ownMax(rect.width, 0), ownMax(rect.height, 0), rect.x & 7};
}

bool ownRoiSize(const OrvImage& image, bool clip, OwnSize& size)
{
    OwnRect rect = ownRoiRect(image);
    size = {rect.width, rect.height};
    if (clip) {
        size.width += ownMin(rect.x, 0);
        size.height += ownMin(rect.y, 0);
    }
    return size.width > 0 && size.height > 0;
}

bool ownCommonSize(const OrvImage& a, const OrvImage& b, const OrvImage* c, bool clip, OwnSize& size)
{
    OwnSize other;
    if (!ownRoiSize(a, clip, size) || !ownRoiSize(b, clip, other))
        return false;
    size = ownMin(size, other);
    if (!c)
        return true;
    if (!ownRoiSize(*c, clip, other))
        return false;
    size = ownMin(size, other);
    return true;
}

bool ownPlaneGeometry(const OrvImage& image, OwnGeometry& geometry)
{
    OwnChannels channels = ownChannels(image);
    bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    OwnRoiStart start = ownRoiStart(image, channels.first);
    geometry = {start.data,
                image.widthStep,
                planes ? ptrdiff_t(image.height) * image.widthStep : 0,
                planes ? 1 : image.nChannels,
                channels.count,
                start.bit,
                start.width,
                start.height};
    return image.roi || channels.count > 0;
}

OwnGeometry ownMaskStart(const OrvImage& mask)
{
    OwnRoiStart start = ownRoiStart(mask, 0);
    return {start.data, mask.widthStep, 0, 1, 1, start.bit, start.width, start.height};
}

namespace {

// What is left of the region test of the whole-buffer path: a region that is no region.
bool regionIsImage(const OrvImage& image)
{
    const OrvROI* roi = image.roi;
    if (!roi)
        return true;
    return roi->xOffset == 0 && roi->yOffset == 0 && roi->width >= image.width && roi->height >= image.height &&
           image.nChannels == 1 && roi->coi > 0;
}

int64_t bufferBytes(const OrvImage& image)
{
    int64_t rows = int64_t{image.height} * (image.dataOrder == ORV_DATA_ORDER_PLANE ? image.nChannels : 1);
    return image.widthStep * rows;
}

}  // namespace

bool ownIsWholeBuffer(const OrvImage* const* images, int count, bool alpha)
{
    if (alpha)
        return false;
    const OrvImage& a = *images[0];
    const OrvImage& b = *images[1];
    const OrvImage& c = *images[count - 1];
    // Sums, not comparisons: three images pass whose values differ by opposite amounts.
    auto unequal = [&](int32_t OrvImage::*field) {
        return count == 3 ? int64_t{2} * (a.*field) - b.*field - c.*field : int64_t{a.*field} - b.*field;
    };
    if (unequal(&OrvImage::height) != 0 || unequal(&OrvImage::width) != 0 || unequal(&OrvImage::imageSize) != 0 ||
        unequal(&OrvImage::align) != 0)
        return false;
    // The run must end where every buffer ends, whatever the sums and the headers' own words say, and no value may
    // begin in one row and end in the next.
    for (int i = 0; i < count; ++i) {
        const OrvImage& image = *images[i];
        if (!regionIsImage(image) || image.imageSize != a.imageSize || bufferBytes(image) != a.imageSize ||
            (image.widthStep & (ownMax(ownValueBytes(image.depth), 1) - 1)) != 0)
            return false;
    }
    return true;
}

int32_t ownTileWidthStep(OrvImage* image)
{
    if (orvCheckImageHeader(image) != ORV_STATUS_OK || !image->tileInfo)
        return 0;
    return ownLineWidth(image->dataOrder, image->depth, image->align, image->nChannels, image->tileInfo->width);
}

OwnTileGrid ownTileGrid(const OrvImage& image, OwnSize region)
{
    constexpr int32_t untiledCell = 128;
    OwnRect rect = ownRoiRect(image);
    int32_t x = ownMax(rect.x, 0);
    int32_t y = ownMax(rect.y, 0);
    int32_t width = image.tileInfo ? image.tileInfo->width : untiledCell;
    int32_t height = image.tileInfo ? image.tileInfo->height : untiledCell;
    int32_t column = x / width;
    int32_t row = y / height;
    return {column,
            row,
            (x + region.width - 1) / width - column + 1,
            (y + region.height - 1) / height - row + 1,
            x - column * width,
            y - row * height,
            width,
            height};
}

void OwnWork::take(const OrvImage& original)
{
    image = original;
    roi = original.roi ? *original.roi : OrvROI{0, 0, 0, original.width, original.height};
    image.roi = &roi;
}

void OwnWork::showTile(const OrvImage& original, uint8_t* tileData)
{
    const OrvTileInfo& tiles = *original.tileInfo;
    int32_t step = ownLineWidth(original.dataOrder, original.depth, original.align, original.nChannels, tiles.width);
    OrvROI kept = roi;
    showBlock(tileData, step, tiles.width, tiles.height);
    roi = kept;
}

void OwnWork::showBlock(uint8_t* data, int32_t step, int32_t width, int32_t height)
{
    image.tileInfo = nullptr;
    image.imageData = data;
    image.width = width;
    image.height = height;
    image.widthStep = step;
    int64_t size = int64_t{step} * height;
    if (image.dataOrder == ORV_DATA_ORDER_PLANE)
        size = size < INT32_MAX ? size * image.nChannels : size;
    image.imageSize = size < INT32_MAX ? int32_t(size) : INT32_MAX;
    setRegion(0, 0, width, height);
}

void OwnWork::setRegion(int32_t x, int32_t y, int32_t width, int32_t height)
{
    roi.xOffset = x;
    roi.yOffset = y;
    roi.width = width;
    roi.height = height;
}

void OwnWork::narrow(int32_t x, int32_t y, int32_t width, int32_t height)
{
    setRegion(roi.xOffset + x, roi.yOffset + y, width, height);
}
