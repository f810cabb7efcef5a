// Fewer levels, with or without dithering.
//
//   orvReduceBits   lowers the number of levels of an image, and its depth
#include <cmath>
#include <cstring>

#include "../core/kernels/ownrows.h"
#include "../core/ownborder.h"
#include "../core/ownpixels.h"
#include "../core/ownreport.h"
#include "../core/owntile.h"
#include "kernels/owndither.h"
#include "orv/colour.h"

namespace {

constexpr const char* source = "orvdither";

// ---- Numbers of a call --------------------------------------------------------------------------------------------

double fullScale(uint32_t depth)
{
    return depth == ORV_DEPTH_8U ? 255.0 : depth == ORV_DEPTH_16U ? 65535.0 : 4294967295.0;
}

// Half a unit less than a quotient, rounded: what the highest level lacks is never more than the depth can take.
double lessHalf(double value)
{
    return std::nearbyint(value - 0.5);
}

// Into 2 to the power of `bits` codes, from a source that is no wider than 16 bits.
void setCodes(OwnQuantiser& q, uint32_t from, uint32_t to)
{
    q.form = OwnLevelForm::codes;
    q.top = fullScale(to);
    bool toBytes = to == ORV_DEPTH_8U;
    double whole = from == ORV_DEPTH_8U ? 65280.0 : 16776960.0;
    int shift = from == ORV_DEPTH_16U && toBytes ? 16 : 8;
    q.code = lessHalf(whole / q.steps) / (1 << shift);
}

void setScaled(OwnQuantiser& q, uint32_t to)
{
    q.form = OwnLevelForm::scaled;
    if (to == ORV_DEPTH_32S) {
        q.top = INT32_MAX;
        q.bottom = INT32_MIN;
        q.scale = 1;
        q.less = 2147483648.0;
    } else {
        q.top = fullScale(to);
        q.scale = to == ORV_DEPTH_16U ? 1.0 / 65536 : 1.0 / 16777216;
        q.less = 0.5;
    }
}

OwnQuantiser quantiserFor(uint32_t from, uint32_t to, int32_t levels)
{
    OwnQuantiser q = {};
    q.full = fullScale(from);
    q.steps = double(levels) - 1;
    q.perUnit = 1 / q.full;
    q.step = q.full / q.steps;
    if (to == ORV_DEPTH_1U)
        q.top = 1;
    else if (from == ORV_DEPTH_32S)
        setScaled(q, to);
    else
        setCodes(q, from, to);
    return q;
}

// Numbers from 0 to 32767, the same ones in every call and on every system.
struct Generator {
    uint32_t state = 1999;

    int32_t next()
    {
        state = state * 214013 + 2531011;
        return int32_t(state >> 16 & 0x7FFF);
    }
};

struct NoiseTables {
    float values[OWN_NOISE_COUNT];
    int32_t places[OWN_NOISE_COUNT];
};

// `amount` is the share of a step by which a threshold may move either way.
void makeNoise(NoiseTables& tables, double amount, bool ordered, double step)
{
    Generator generator;
    for (float& value : tables.values) {
        double span = (generator.next() & 1023) / 1024.0 * 2 * amount;
        value = float(ordered ? span : (0.5 - amount + span) * step);
    }
    for (int32_t& place : tables.places)
        place = int32_t(std::nearbyint((generator.next() & 1023) - 0.5));
}

void setMatrix(OwnDither& dither, double amount)
{
    static constexpr int matrix[4][4] = {{0, 8, 2, 10}, {12, 4, 14, 6}, {3, 11, 1, 9}, {15, 7, 13, 5}};
    for (int y = 0; y < 4; ++y)
        for (int x = 0; x < 4; ++x)
            dither.matrix[y][x] = matrix[y][x] / 15.0 - amount;
    dither.span = dither.to == OWN_1U ? dither.quantiser.full : dither.quantiser.step;
}

// ---- Rectangles ---------------------------------------------------------------------------------------------------

struct Reduction {
    const OwnReport& report;
    OrvImage* src;
    OrvImage* dst;
    int32_t kind;
    int32_t width, height, channels;
    OwnDither dither;

    // The tiles that the work goes by; NULL without any.
    const OrvTileInfo* tiles() const { return dst->tileInfo ? dst->tileInfo : src->tileInfo; }
};

// The geometry of a rectangle of an image in plain memory.
OwnGeometry geometryOf(const Reduction& work, OwnWork& image, const OwnRect& rect)
{
    image.setRegion(rect.x, rect.y, rect.width, rect.height);
    image.roi.coi = 0;
    OwnGeometry geometry;
    ownPlaneGeometry(image.image, geometry);
    geometry.channels = work.channels;
    return geometry;
}

OwnRect rectOf(int32_t x, int32_t y, int32_t width, int32_t height)
{
    return {x, x + width, y, y + height, width, height};
}

// One channel of a geometry.
OwnGeometry channelOf(OwnGeometry geometry, int32_t channel, uint32_t depth)
{
    geometry.start = ownChannelStart(geometry, channel, ownValueBytes(depth));
    geometry.channels = 1;
    return geometry;
}

// A rectangle of the source: in its own memory or, where it is tiled, in a copy.
struct SourceRect {
    OwnGeometry geometry;

    // False after a report.
    bool fetch(const Reduction& work, const OwnRect& rect)
    {
        if (!work.src->tileInfo) {
            OwnWork image(*work.src);
            geometry = geometryOf(work, image, rect);
            return true;
        }
        if (work.report.when(!copy.fetch(work.src, rect, {0, 0, 0, 0}), ORV_STATUS_ERROR, "Error get tile to read"))
            return false;
        geometry = geometryOf(work, copy.work, rectOf(0, 0, rect.width, rect.height));
        return true;
    }

private:
    OwnBorderedImage copy;
};

// Hands the geometry of a rectangle of the destination, which lies in one tile if there are any, to store(geometry).
// False after a report, or if store() is.
template <class Store>
bool storeRect(const Reduction& work, const OwnRect& rect, Store store)
{
    OwnWork image(*work.dst);
    if (!work.dst->tileInfo)
        return store(geometryOf(work, image, rect));
    const OrvTileInfo& tiles = *work.dst->tileInfo;
    int32_t column = rect.x / tiles.width, row = rect.y / tiles.height;
    uint8_t* tile = ownOpenTile(work.dst, column, row, ORV_TILE_WRITE);
    if (work.report.when(!tile, ORV_STATUS_ERROR, "Error get tile to write"))
        return false;
    image.showTile(*work.dst, tile);
    if (!store(geometryOf(work, image, rectOf(rect.x % tiles.width, rect.y % tiles.height, rect.width, rect.height))))
        return false;
    ownReleaseTile(work.dst, column, row);
    return true;
}

// ---- What is done with a rectangle --------------------------------------------------------------------------------

// Clears what is behind a row in its last byte.
void clearRowEnds(const OwnGeometry& bits)
{
    if (bits.width & 7)
        for (int32_t y = 0; y < bits.height; ++y)
            bits.start[y * bits.rowStep + (bits.width >> 3)] &= uint8_t(0xFF00 >> (bits.width & 7));
}

OwnRowKernel narrowing(uint32_t from, uint32_t to)
{
    const OwnDitherKernels& kernels = ownDitherKernels();
    if (from == to)
        return ownRowKernels().copy[ownDepthIndex(from)];
    if (from == ORV_DEPTH_16U)
        return kernels.from16Uto8U;
    return to == ORV_DEPTH_8U ? kernels.from32Sto8U : kernels.from32Sto16U;
}

// Keeps the high bits.
void narrow(uint32_t from, uint32_t to, const OwnGeometry& src, const OwnGeometry& dst)
{
    const OwnGeometry images[] = {src, dst};
    if (to == ORV_DEPTH_1U) {
        ownProcessToBits({ownDitherKernels().bits[ownDepthIndex(from)], ownValueBytes(from), nullptr}, images, 2,
                         nullptr);
        clearRowEnds(dst);
    } else {
        ownProcessPixels({narrowing(from, to), ownValueBytes(from), ownValueBytes(to), nullptr}, images, 2, nullptr);
    }
}

// Conversion and ordered dither, where pixels do not know of each other: tile by tile.
bool reduceByTiles(const Reduction& work)
{
    const OrvTileInfo* tiles = work.tiles();
    int32_t cellWidth = tiles ? tiles->width : work.width, cellHeight = tiles ? tiles->height : work.height;
    auto reduce = [&](const OwnRect& rect) {
        return storeRect(work, rect, [&](const OwnGeometry& dst) {
            SourceRect src;
            if (!src.fetch(work, rect))
                return false;
            if (work.kind == ORV_DITHER_NONE) {
                narrow(work.src->depth, work.dst->depth, src.geometry, dst);
                return true;
            }
            ownDitherKernels().order(work.dither, src.geometry, dst, uint32_t(rect.x), uint32_t(rect.y));
            if (work.dst->depth == ORV_DEPTH_1U)
                clearRowEnds(dst);
            return true;
        });
    };
    for (int32_t y = 0, height; y < work.height; y += height) {
        height = ownMin(cellHeight, work.height - y);
        for (int32_t x = 0, width; x < work.width; x += width) {
            width = ownMin(cellWidth, work.width - x);
            if (!reduce(rectOf(x, y, width, height)))
                return false;
        }
    }
    return true;
}

// ---- Error diffusion ----------------------------------------------------------------------------------------------

struct Diffusion {
    OwnErrorRows errors;
    OwnErrorFilter filter;

    void run(const Reduction& work, const OwnGeometry& src, const OwnGeometry& dst, int32_t channel, int32_t y)
    {
        ownDiffuseKernels().run[filter](work.dither, src, dst, uint32_t(channel), uint32_t(y), errors);
    }
};

// One channel of a strip, which lies in one row of the destination's tiles: into a row of pixels of the source's depth,
// from which each tile takes its part.
bool diffuseIntoTiles(const Reduction& work, Diffusion& diffusion, const OwnGeometry& src, const OwnRect& strip,
                      int32_t channel, OwnGeometry made)
{
    uint32_t depth = work.src->depth;
    made.height = strip.height;
    diffusion.run(work, src, made, 0, strip.y);
    int32_t tileWidth = work.dst->tileInfo->width;
    for (int32_t x = 0, width; x < strip.width; x += width) {
        width = ownMin(tileWidth, strip.width - x);
        bool stored = storeRect(work, rectOf(x, strip.y, width, strip.height), [&](const OwnGeometry& dst) {
            OwnGeometry part = made;
            part.start += ptrdiff_t(x) * ownValueBytes(depth);
            part.width = width;
            narrow(depth, work.dst->depth, part, channelOf(dst, channel, work.dst->depth));
            return true;
        });
        if (!stored)
            return false;
    }
    return true;
}

// Errors pass from row to row and from the last row of a channel to the first one of the next, so that whole rows are
// done channel by channel.
bool diffuse(const Reduction& work, Diffusion& diffusion)
{
    const OrvTileInfo* tiles = work.tiles();
    int32_t stripHeight = ownMin(tiles ? tiles->height : work.height, work.height);
    int64_t rowBytes = int64_t{work.width} * ownValueBytes(work.src->depth);
    OwnScratch<uint8_t> made(work.dst->tileInfo ? rowBytes * stripHeight : 1);
    if (work.report.when(!made, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return false;
    const OwnGeometry madeStrip = {made.data, ptrdiff_t(rowBytes), 0, 1, 1, 0, work.width, stripHeight};
    for (int32_t channel = 0; channel < work.channels; ++channel)
        for (int32_t y = 0, height; y < work.height; y += height) {
            height = ownMin(stripHeight, work.height - y);
            OwnRect strip = rectOf(0, y, work.width, height);
            SourceRect src;
            if (!src.fetch(work, strip))
                return false;
            OwnGeometry values = channelOf(src.geometry, channel, work.src->depth);
            if (work.dst->tileInfo) {
                if (!diffuseIntoTiles(work, diffusion, values, strip, channel, madeStrip))
                    return false;
                continue;
            }
            storeRect(work, strip, [&](const OwnGeometry& dst) {
                // By strips, each call of the kernel knows of one channel only.
                diffusion.run(work, values, channelOf(dst, channel, work.dst->depth), tiles ? 0 : channel, y);
                return true;
            });
        }
    return true;
}

void diffuse(const Reduction& work)
{
    int64_t rowLength = int64_t{work.width} + 2 * OWN_ERROR_MARGIN;
    OwnScratch<float> errors(3 * rowLength);
    if (work.report.when(!errors, ORV_STATUS_NO_MEMORY, "Out of memory"))
        return;
    memset(errors.data, 0, size_t(3 * rowLength) * sizeof(float));
    Diffusion diffusion;
    for (int i = 0; i < 3; ++i)
        diffusion.errors.rows[i] = errors.data + i * rowLength + OWN_ERROR_MARGIN;
    diffusion.filter = work.kind == ORV_DITHER_FS    ? OWN_FLOYD_STEINBERG
                       : work.kind == ORV_DITHER_JJH ? OWN_JARVIS
                                                     : OWN_STUCKI;
    diffuse(work, diffusion);
}

// ---- The call -----------------------------------------------------------------------------------------------------

// The pairs of depths that there are kernels for.
bool isPair(uint32_t from, uint32_t to)
{
    bool fromGood = from == ORV_DEPTH_8U || from == ORV_DEPTH_16U || from == ORV_DEPTH_32S;
    bool toGood = to == ORV_DEPTH_1U || to == ORV_DEPTH_8U || to == ORV_DEPTH_16U || to == ORV_DEPTH_32S;
    return fromGood && toGood && ownDepthBits(from) >= ownDepthBits(to);
}

bool isKind(int32_t ditherType)
{
    return ditherType == ORV_DITHER_NONE || ditherType == ORV_DITHER_FS || ditherType == ORV_DITHER_JJH ||
           ditherType == ORV_DITHER_STUCKEY || ditherType == ORV_DITHER_BAYER;
}

bool isUnsignedOr32S(uint32_t depth)
{
    return depth == ORV_DEPTH_32S || (depth & ORV_DEPTH_SIGN) == 0;
}

bool levelsFit(uint32_t depth, int32_t levels)
{
    int64_t steps = int64_t{levels} - 1;
    return steps > 0 && steps <= (depth == ORV_DEPTH_32S ? int64_t{2147483648} : int64_t{1} << ownDepthBits(depth));
}

void reduce(Reduction work, int32_t noise, int32_t levels)
{
    bool ordered = work.kind == ORV_DITHER_BAYER;
    // Diffusion into tiles goes by way of the source's depth.
    uint32_t from = work.src->depth, to = work.dst->tileInfo && !ordered ? from : work.dst->depth;
    double amount = noise * 0.01;
    NoiseTables tables;
    OwnDither& dither = work.dither;
    dither.from = ownDepthIndex(from);
    dither.to = ownDepthIndex(to);
    dither.quantiser = quantiserFor(from, to, levels);
    if (ordered) {
        setMatrix(dither, amount);
    } else {
        dither.quantiser.least = 1e-07;
        dither.threshold = (to == ORV_DEPTH_1U ? dither.quantiser.full : dither.quantiser.step) / 2;
    }
    if (noise > 0) {
        makeNoise(tables, amount, ordered, dither.quantiser.step);
        dither.noise = {tables.values, tables.places};
    }
    if (ordered)
        reduceByTiles(work);
    else
        diffuse(work);
}

}  // namespace

void ORV_CALL orvReduceBits(OrvImage* srcImage, OrvImage* dstImage, int32_t noise, int32_t ditherType, int32_t levels)
{
    constexpr OwnReport report{"orvReduceBits", source};
    auto failed = [] { return orvGetErrStatus() < 0; };
    if (!report.goodImage(srcImage) || !report.goodImage(dstImage))
        return;
    if (report.when(srcImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "( (srcImage->depth == ORV_DEPTH_1U ))"))
        return;
    if (report.when(ownDepthBits(srcImage->depth) < ownDepthBits(dstImage->depth), ORV_STATUS_BAD_ARG,
                    "((srcImage->depth& ORV_DEPTH_MASK) < (dstImage->depth& ORV_DEPTH_MASK))"))
        return;
    if (report.when(srcImage->dataOrder != dstImage->dataOrder, ORV_STATUS_BAD_ARG,
                    "(srcImage->dataOrder!=dstImage->dataOrder)"))
        return;
    if (report.when(noise < 0 || noise > 100, ORV_STATUS_BAD_ARG, "(( noise < 0 ) || ( noise > 100 ))"))
        return;
    if (report.when(srcImage->alphaChannel != dstImage->alphaChannel, ORV_STATUS_BAD_ARG,
                    "(srcImage->alphaChannel!=dstImage->alphaChannel)"))
        return;
    if (report.when(srcImage->nChannels < dstImage->nChannels, ORV_STATUS_BAD_ARG,
                    "(srcImage->nChannels < dstImage->nChannels)"))
        return;
    // From here on a failure of the past ends the call as one of these checks does, as long as the status tells of it.
    report.when(!isKind(ditherType), ORV_STATUS_BAD_ARG,
                "ditherType != ORV_DITHER_NONE && ditherType != ORV_DITHER_FS && ditherType != ORV_DITHER_JJH && "
                "ditherType != ORV_DITHER_STUCKEY && ditherType != ORV_DITHER_BAYER");
    if (failed())
        return;
    report.when(!isUnsignedOr32S(srcImage->depth), ORV_STATUS_BAD_ARG,
                "!( ( srcImage->depth == ORV_DEPTH_32S ) || ((srcImage->depth & ORV_DEPTH_SIGN)==0))");
    if (failed())
        return;
    report.when(!isUnsignedOr32S(dstImage->depth), ORV_STATUS_BAD_ARG,
                "!( ( dstImage->depth == ORV_DEPTH_32S ) || ((dstImage->depth & ORV_DEPTH_SIGN)==0))");
    if (failed())
        return;
    if (report.when(srcImage == dstImage, ORV_STATUS_BAD_ARG, "This function isn`t in-plase function"))
        return;
    if (report.when(ditherType != ORV_DITHER_NONE && !levelsFit(dstImage->depth, levels), ORV_STATUS_BAD_ARG,
                    "You incorrectly have set an amount of levels"))
        return;
    if (report.when(srcImage->nChannels > 1 && dstImage->nChannels == 1, ORV_STATUS_BAD_ARG,
                    " Depth 1u is for Gray, only"))
        return;
    if (!isKind(ditherType) || !isPair(srcImage->depth, dstImage->depth))
        return;
    Reduction work = {report,
                      srcImage,
                      dstImage,
                      ditherType,
                      ownMin(srcImage->width, dstImage->width),
                      ownMin(srcImage->height, dstImage->height),
                      ownMin(srcImage->nChannels, dstImage->nChannels) - (srcImage->alphaChannel != 0),
                      {}};
    if (work.channels < 1)
        return;
    if (ditherType == ORV_DITHER_NONE)
        reduceByTiles(work);
    else
        reduce(work, noise, levels);
}
