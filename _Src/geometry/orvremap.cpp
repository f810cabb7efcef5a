// An image through a map that is given pixel by pixel.
//
//   orvRemap   samples a source at the positions that two images tell
#include "../core/ownborder.h"
#include "../core/ownwalk.h"
#include "owncheck.h"
#include "ownresample.h"

namespace {

constexpr const char* source = "orvremap";

bool isMap(const OrvImage& image)
{
    return image.depth == ORV_DEPTH_32F && image.nChannels == 1 && image.alphaChannel == 0;
}

bool imagesFit(const OwnReport& report, OrvImage* src, OrvImage* xMap, OrvImage* yMap, OrvImage* dst)
{
    if (!report.goodImage(src) || !report.goodImage(dst) || !report.goodImage(xMap) || !report.goodImage(yMap))
        return false;
    OwnFaults faults(report);
    faults.test(src->depth != dst->depth, "srcImage->depth != dstImage->depth");
    faults.test(src->origin != dst->origin, "srcImage->origin != dstImage->origin");
    faults.test(ownOrdersDiffer(*src, *dst), "srcImage->dataOrder != dstImage->dataOrder");
    faults.test(src->depth & ORV_DEPTH_SIGN, "(srcImage->depth & ORV_DEPTH_SIGN)");
    faults.test(!isMap(*xMap), "xMap->depth != ORV_DEPTH_32F || xMap->nChannels != 1 || xMap->alphaChannel != 0");
    faults.test(!isMap(*yMap), "yMap->depth != ORV_DEPTH_32F || yMap->nChannels != 1 || yMap->alphaChannel != 0");
    faults.test(src == dst, "This function is not in-place function");
    return faults.none();
}

// The two maps, side by side.
class Maps {
public:
    Maps(const OrvImage& xMap, const OrvImage& yMap)
        : xs(ownRoiStart(xMap, 0).data), ys(ownRoiStart(yMap, 0).data), xStep(xMap.widthStep), yStep(yMap.widthStep)
    {
    }

    // Samples `columns` by `rows` pixels from (x, y) on, as far as their positions lie in the range.
    void sample(int32_t x, int32_t y, int32_t columns, int32_t rows, const OwnPositionRange& range,
                OwnPositionList& list, OwnResampler& resampler) const
    {
        const OwnFloatRows floats = {at(xs, xStep, x, y), at(ys, yStep, x, y), xStep, yStep, columns};
        list.columnStep = 1;
        list.rowStep = (columns + 3) & ~3;
        list.n = ownPositionRows * list.rowStep;
        for (int row = 0; row < ownPositionRows; ++row) {
            list.x[row] = x;
            list.y[row] = y + row;
            list.count[row] = row < rows ? columns : 0;
            if (row < rows) {
                fetch(floats.x + row * xStep, xStep, columns);
                fetch(floats.y + row * yStep, yStep, columns);
            }
        }
        if (rows == ownPositionRows && resampler.storeInside(list, floats, range))
            return;
        const bool certain = read(floats, rows, range, list);
        if (list.confine(range, range, certain))
            resampler.store(list);
    }

private:
    const uint8_t *xs, *ys;
    ptrdiff_t xStep, yStep;

    static const uint8_t* at(const uint8_t* start, ptrdiff_t step, int32_t x, int32_t y)
    {
        return start + y * step + ptrdiff_t{x} * 4;
    }

    // True if it is certain that all positions of the list lie in the range.
    static bool read(const OwnFloatRows& floats, int32_t rows, const OwnPositionRange& range, OwnPositionList& list)
    {
        bool certain = rows == ownPositionRows && floats.columns == list.rowStep;
        for (int row = 0; row < rows; ++row) {
            const int start = row * list.rowStep;
            certain &= ownPositionKernels().fromFloats(floats.x + row * floats.xStep, floats.y + row * floats.yStep,
                                                       list.atX + start, list.atY + start, floats.columns, range);
        }
        return certain;
    }

    // Asks for what the next block below will read: rows lie too far apart for the processor to foresee it. The
    // addresses may lie behind the map, where nothing comes of it.
    static void fetch(const uint8_t* row, ptrdiff_t step, int32_t count)
    {
        constexpr uintptr_t cacheLine = 64;
        const auto next = reinterpret_cast<uintptr_t>(row) + uintptr_t(ownPositionRows * step);
        for (uintptr_t i = 0; i < uintptr_t(count) * 4; i += cacheLine)
            __builtin_prefetch(reinterpret_cast<const void*>(next + i));
    }
};

// Samples plain memory: the region of `dst` at the positions in the regions of the maps, as far as they lie in `range`.
// It goes by bands of rows and in them by runs, so that what is read of the source lies near together.
void remapPixels(const OrvImage& src, const OrvImage& xMap, const OrvImage& yMap, const OrvImage& dst, OwnSize size,
                 const OwnPositionRange& range, int32_t method)
{
    constexpr int32_t band = 64;
    OwnResampler resampler(src, {src.width, src.height}, 0, 0, dst, method);
    const Maps maps(xMap, yMap);
    OwnPositionList list;
    for (int32_t top = 0; top < size.height;) {
        const int32_t height = ownMin(band, size.height - top);
        for (int32_t first = 0; first < size.width;) {
            const int32_t width = ownMin(ownRunColumns, size.width - first);
            for (int32_t y = 0; y < height; y += ownPositionRows)
                for (int32_t x = 0; x < width; x += ownPositionColumns)
                    maps.sample(first + x, top + y, ownMin(ownPositionColumns, width - x),
                                ownMin(ownPositionRows, height - y), range, list, resampler);
            first += width;
        }
        top += height;
    }
    resampler.finish();
}

// A part of a map in plain memory: of the image itself, or of a copy of its tiles.
class MapCell {
public:
    // False if there is no memory or a tile does not come.
    bool take(OrvImage* map, const OwnCell& cell)
    {
        ownShowCell(work, *map, cell);
        return !map->tileInfo || copy.fetch(map, ownRoiRect(work.image), {0, 0, 0, 0});
    }
    const OrvImage& image() const { return work.image.tileInfo ? copy.work.image : work.image; }

private:
    OwnWork work;
    OwnBorderedImage copy;
};

void remapTiles(const OwnReport& report, const OrvImage& src, OrvImage* xMap, OrvImage* yMap, OrvImage* dst,
                OwnSize size, const OwnPositionRange& range, int32_t method)
{
    ownGridWalk(*dst, size, [&](const OwnCell& cell) {
        OwnWork target;
        ownShowCell(target, *dst, cell);
        if (dst->tileInfo) {
            uint8_t* const tile = ownOpenTile(dst, cell.column, cell.row, ORV_TILE_WRITE);
            if (report.when(!tile, ORV_STATUS_ERROR, "Error get tile to write"))
                return false;
            ownShowLeadingCell(target, *dst, cell, tile);
        }
        MapCell xs, ys;
        const bool came = xs.take(xMap, cell) && ys.take(yMap, cell);
        if (came)
            remapPixels(src, xs.image(), ys.image(), target.image, {cell.width, cell.height}, range, method);
        if (dst->tileInfo)
            ownReleaseTile(dst, cell.column, cell.row);
        return !report.when(!came, ORV_STATUS_BACKTRACE, "");
    });
}

}  // namespace

void ORV_CALL orvRemap(OrvImage* srcImage, OrvImage* xMap, OrvImage* yMap, OrvImage* dstImage, int32_t interpolate)
{
    constexpr OwnReport report{"orvRemap", source};
    if (!imagesFit(report, srcImage, xMap, yMap, dstImage) || !ownMethodIsGood(report, interpolate))
        return;
    const int32_t method = ownBearableMethod(*srcImage, interpolate & ~ORV_BLEND_EDGE);
    const OwnRect rect = ownRoiRect(*srcImage);
    OwnSize size;
    if (!ownCommonSize(*dstImage, *xMap, yMap, true, size) || rect.width < 1 || rect.height < 1)
        return;
    if (!ownChannelsAgree(report, *srcImage, *dstImage) || ownChannels(*dstImage).count == 0)
        return;
    const OwnPositionRange range = {double(rect.x), double(rect.y), double(rect.xEnd - 1), double(rect.yEnd - 1)};
    OwnBorderedImage copy;
    const OwnRect whole = {0, srcImage->width, 0, srcImage->height, srcImage->width, srcImage->height};
    if (report.when(srcImage->tileInfo && !copy.fetch(srcImage, whole, {0, 0, 0, 0}), ORV_STATUS_BACKTRACE, ""))
        return;
    const OrvImage& src = srcImage->tileInfo ? copy.work.image : *srcImage;
    if (srcImage->tileInfo || xMap->tileInfo || yMap->tileInfo || dstImage->tileInfo)
        remapTiles(report, src, xMap, yMap, dstImage, size, range, method);
    else
        remapPixels(src, *xMap, *yMap, *dstImage, size, range, method);
}
