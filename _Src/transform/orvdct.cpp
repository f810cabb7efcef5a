// Cosine transform.
//
//   orvDCT2D   the orthonormal two-dimensional transform of type II, or its inverse
#include <cmath>

#include "../core/owncontext.h"
#include "../core/ownlayout.h"
#include "../core/ownreport.h"
#include "../core/ownscratch.h"
#include "kernels/owndct.h"
#include "orv/transform.h"
#include "owncaches.h"

namespace {

constexpr const char* source = "orvdct";
constexpr double pi = 3.14159265358979323846;

// ---- Tables ---------------------------------------------------------------------------------------------------------

void releaseLevels(OrvContext& context)
{
    for (int32_t i = 0; i < context.dctLevelCount; ++i)
        orvFree(context.dctLevelTable[i]);
    orvFree(context.dctLevelTable);
    context.dctLevelTable = nullptr;
    context.dctLevelCount = 0;
}

void releaseCosines(OrvContext& context)
{
    orvFree(context.dctCosineTable);
    context.dctCosineTable = nullptr;
    context.dctCosineLength = 0;
}

int32_t log2Of(int32_t powerOfTwo)
{
    return 31 - __builtin_clz(uint32_t(powerOfTwo));
}

// Makes the secants of all levels between 8 and `length`, a power of two. False if there is no memory for them.
bool prepareLevels(OrvContext& context, int32_t length)
{
    if (length < 8)
        return true;
    int32_t count = log2Of(length / 8);
    if (count == context.dctLevelCount)
        return true;
    releaseLevels(context);
    if (count == 0)
        return true;
    context.dctLevelTable = static_cast<double**>(orvMalloc(int32_t(count * sizeof(double*))));
    if (!context.dctLevelTable)
        return false;
    for (int32_t level = 0; level < count; ++level) {
        int32_t n = 8 << level;
        double* table = orvdMalloc(n);
        if (!table) {
            releaseLevels(context);
            return false;
        }
        for (int32_t j = 0; j < n; ++j)
            table[j] = 0.5 / cos((2.0 * j + 1) * pi / (4.0 * n));
        context.dctLevelTable[level] = table;
        context.dctLevelCount = level + 1;
    }
    return true;
}

// Makes the cosines of the direct transform of `length`. False if there is no memory for them.
bool prepareCosines(OrvContext& context, int32_t length)
{
    if (length > INT32_MAX / 4)
        return false;
    int32_t count = 4 * length;
    if (count == context.dctCosineLength)
        return true;
    releaseCosines(context);
    context.dctCosineTable = orvsMalloc(count);
    if (!context.dctCosineTable)
        return false;
    for (int32_t k = 0; k < count; ++k)
        context.dctCosineTable[k] = float(cos(k * pi / (2.0 * length)));
    context.dctCosineLength = count;
    return true;
}

// Chooses the means for lines of `length` and makes its table. False if there is no memory for it.
bool prepareLine(int32_t length, bool inverse, OwnDctLine& line)
{
    OrvContext& context = ownContext();
    line = {length, inverse, nullptr, 0, nullptr};
    if (length % 2 == 0 && (length & (length - 1)) == 0) {
        if (!prepareLevels(context, length))
            return false;
        line.secants = context.dctLevelTable;
        line.levels = context.dctLevelCount;
        return true;
    }
    if (!prepareCosines(context, length))
        return false;
    line.cosines = context.dctCosineTable;
    return true;
}

// ---- Images ---------------------------------------------------------------------------------------------------------

bool depthIndex(uint32_t depth, OwnDctDepth& index)
{
    switch (depth) {
    case ORV_DEPTH_8U: index = ownDct8U; return true;
    case ORV_DEPTH_8S: index = ownDct8S; return true;
    case ORV_DEPTH_16U: index = ownDct16U; return true;
    case ORV_DEPTH_16S: index = ownDct16S; return true;
    case ORV_DEPTH_32S: index = ownDct32S; return true;
    case ORV_DEPTH_32F: index = ownDct32F; return true;
    default: return false;
    }
}

// What is processed of an image.
struct Region {
    OwnDctDepth depth;
    int32_t x, y;           // where the region begins
    int32_t width, height;  // its size
    int32_t firstChannel;
    int32_t channels;
};

// Finds out what is processed of `image`; false if that is not memory of the image.
bool findRegion(const OrvImage& image, Region& region)
{
    if (!image.imageData || image.tileInfo || image.width < 1 || image.height < 1 || image.widthStep < 1)
        return false;
    if (image.nChannels < 1 || !depthIndex(image.depth, region.depth))
        return false;
    region.x = region.y = region.firstChannel = 0;
    region.width = image.width;
    region.height = image.height;
    region.channels = image.nChannels - (image.alphaChannel != 0);
    const OrvROI* roi = image.roi;
    if (!roi)
        return true;
    if (roi->xOffset < 0 || roi->yOffset < 0 || roi->width < 1 || roi->height < 1)
        return false;
    if (roi->width > image.width - roi->xOffset || roi->height > image.height - roi->yOffset)
        return false;
    if (roi->coi < 0 || roi->coi > image.nChannels)
        return false;
    region.x = roi->xOffset;
    region.y = roi->yOffset;
    region.width = roi->width;
    region.height = roi->height;
    if (roi->coi) {
        region.firstChannel = roi->coi - 1;
        region.channels = 1;
    }
    return true;
}

// True if the region of `src` can be transformed into `dst`, from its region's start on.
bool compatible(const OrvImage& src, const OrvImage& dst, Region& from, Region& to)
{
    if (src.nChannels != dst.nChannels || !src.roi != !dst.roi || src.width != dst.width || src.height != dst.height)
        return false;
    if (!findRegion(src, from) || !findRegion(dst, to))
        return false;
    if (src.dataOrder != dst.dataOrder)
        return false;
    if (src.dataOrder != ORV_DATA_ORDER_PIXEL && src.dataOrder != ORV_DATA_ORDER_PLANE)
        return false;
    return from.width <= dst.width - to.x && from.height <= dst.height - to.y && from.channels == to.channels;
}

OwnDctPlane planeOf(const OrvImage& image, const Region& region, int32_t channel)
{
    bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    ptrdiff_t step = planes ? 1 : image.nChannels;
    ptrdiff_t row = region.y + (planes ? ptrdiff_t(channel) * image.height : 0);
    ptrdiff_t value = region.x * step + (planes ? 0 : channel);
    return {image.imageData + row * image.widthStep + value * ownValueBytes(image.depth), step, image.widthStep};
}

// ---- The transform --------------------------------------------------------------------------------------------------

// The floats that a region is worked on in, and scratch for a group of lines behind them.
struct Work {
    int32_t width, height;
    ptrdiff_t stride;  // from row to row
    OwnScratch<float> block;

    Work(int32_t w, int32_t h) : width(w), height(h), stride(strideOf(w)), block(allocate(w, h)) {}

    // Columns of rows that lie a large power of two apart would share a few places of the cache.
    static ptrdiff_t strideOf(int32_t width) { return ptrdiff_t{width} + (width % 256 == 0 ? 16 : 0); }

    static int64_t regionFloats(int32_t width, int32_t height) { return (strideOf(width) * int64_t{height} + 7) & -8; }

    static float* allocate(int32_t width, int32_t height)
    {
        int64_t longest = width > height ? width : height;
        int64_t count = regionFloats(width, height);
        bool needsLines = longest > 1 && !(width == 8 && height == 8);
        if (needsLines)
            count += int64_t{2} * ownDctGroup * (2 * longest + 1);
        return count > INT32_MAX ? nullptr : orvsMalloc(int32_t(count));
    }

    double* lineScratch() { return reinterpret_cast<double*>(block.data + regionFloats(width, height)); }
};

// Transforms all rows, then all columns. False if there is no memory for a table.
bool transformLines(Work& work, bool inverse)
{
    const OwnDctKernels& kernels = ownDctKernels();
    float* block = work.block.data;
    OwnDctLine line;
    if (!prepareLine(work.width, inverse, line))
        return false;
    kernels.lines(block, work.stride, 1, work.height, line, work.lineScratch());
    if (!prepareLine(work.height, inverse, line))
        return false;
    kernels.lines(block, 1, work.stride, work.width, line, work.lineScratch());
    return true;
}

bool transform(Work& work, bool inverse)
{
    const OwnDctKernels& kernels = ownDctKernels();
    float* block = work.block.data;
    if (work.width == 1 && work.height == 1)
        return true;
    if (work.width == 8 && work.height == 8) {
        inverse ? kernels.inverse8x8(block) : kernels.forward8x8(block);
        return true;
    }
    if (inverse)
        kernels.normalise(block, work.stride, work.width, work.height);
    if (!transformLines(work, inverse))
        return false;
    if (!inverse)
        kernels.normalise(block, work.stride, work.width, work.height);
    return true;
}

}  // namespace

void ownReleaseDctCaches(OrvContext& context)
{
    releaseLevels(context);
    releaseCosines(context);
}

void ORV_CALL orvDCT2D(OrvImage* src, OrvImage* dst, int32_t flags)
{
    constexpr OwnReport report{"orvDCT2D", source};
    if (flags & ORV_DCT_RELEASE) {
        ownReleaseDctCaches(ownContext());
        return;
    }
    bool inverse = (flags & ORV_DCT_INVERSE) != 0;
    if (report.when(inverse == ((flags & ORV_DCT_FORWARD) != 0), ORV_STATUS_BAD_ARG,
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
    Region from;
    Region to;
    if (report.when(!compatible(*src, *dst, from, to), ORV_STATUS_BAD_ARG, "Images are not compatible"))
        return;

    Work work(from.width, from.height);
    if (!work.block)
        return;
    const OwnDctKernels& kernels = ownDctKernels();
    for (int32_t i = 0; i < from.channels; ++i) {
        OwnDctPlane input = planeOf(*src, from, from.firstChannel + i);
        OwnDctPlane output = planeOf(*dst, to, to.firstChannel + i);
        kernels.read[from.depth](input, work.block.data, work.stride, work.width, work.height);
        if (!transform(work, inverse))
            return;
        kernels.write[to.depth](output, work.block.data, work.stride, work.width, work.height);
    }
}
