// Pixel functions of the application.
//
//   orvUserProcess, orvUserProcessFP   a function of each value, as an integer or a float
//   orvUserProcessPixel                a function of each pixel
#include <atomic>
#include <cstring>

#include "../core/ownmask.h"
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "../core/ownvalue.h"
#include "../core/ownwalk.h"
#include "orv/generate.h"

namespace {

// The function of this family that was called last, in whichever thread: every report bears its name.
std::atomic<const char*> lastCalled{""};

OwnReport report()
{
    return {lastCalled.load(std::memory_order_relaxed), "orvuser"};
}

bool failed()
{
    return orvGetErrStatus() < 0;
}

// ---- The walk -----------------------------------------------------------------------------------------------------

// One call, after its checks.
struct Call {
    // Works on a piece of plain memory, the regions of the headers; false where the walk ends, after a report.
    using Piece = bool (*)(const Call& call, const OrvImage& src, const OrvImage& dst, const OrvImage* mask);

    OrvImage* src;
    OrvImage* dst;
    const OrvImage* mask;  // NULL for none
    Piece piece;
    union {
        OrvUserFunc integer;
        OrvUserFuncFP real;
        OrvUserFuncPixel pixel;
    } function;
};

// The texts for the tiles of an image.
struct TileTexts {
    int32_t mode;
    const char* notOpened;
    const char* noData;
    const char* notReleased;
};

constexpr TileTexts sourceTexts = {ORV_TILE_READ, "srcImage->tileInfo->callBack: can't open tile to read",
                                   "srcImage->tileInfo->tileData == NULL: can't open tile to read",
                                   "srcImage->tileInfo->callBack: can't release tile"};
constexpr TileTexts destinationTexts = {ORV_TILE_WRITE, "dstImage->tileInfo->callBack: can't open tile to write",
                                        "dstImage->tileInfo->tileData == NULL: can't open tile to write",
                                        "dstImage->tileInfo->callBack: can't release tile"};

// Does use(tile) with an image's tile between its opening and its release; false where the walk ends. A tile is
// released also where the application's function has ended the walk, so that nothing is lost of what was done.
template <class Use>
bool withTile(OrvImage* image, const OwnCell& cell, const TileTexts& texts, Use use)
{
    uint8_t* tile = ownOpenTile(image, cell.column, cell.row, texts.mode);
    if (report().when(failed(), ORV_STATUS_BACKTRACE, texts.notOpened))
        return false;
    if (report().when(!tile, ORV_STATUS_INTERNAL, texts.noData))
        return false;
    bool goesOn = use(tile);
    ownReleaseTile(image, cell.column, cell.row);
    return goesOn && !report().when(failed(), ORV_STATUS_BACKTRACE, texts.notReleased);
}

// The pieces below one of the destination: `cell` of the common region.
bool processBelow(const Call& call, const OwnCell& cell, const OwnWork& dst)
{
    OwnWork mask;
    if (call.mask)
        ownShowCell(mask, *call.mask, cell);
    const OrvImage* under = call.mask ? &mask.image : nullptr;
    if (call.src == call.dst)
        return call.piece(call, dst.image, dst.image, under);
    OwnWork src;
    ownShowCell(src, *call.src, cell);
    if (!call.src->tileInfo)
        return call.piece(call, src.image, dst.image, under);
    return ownGridWalk(src.image, {cell.width, cell.height}, [&](const OwnCell& part) {
        return withTile(call.src, part, sourceTexts, [&](uint8_t* tile) {
            OwnWork from, to(dst.image), partOfMask;
            ownShowLeadingCell(from, *call.src, part, tile);
            to.narrow(part.x, part.y, part.width, part.height);
            if (under)
                ownShowCell(partOfMask, *under, part);
            return call.piece(call, from.image, to.image, under ? &partOfMask.image : nullptr);
        });
    });
}

void process(const Call& call, OwnSize size)
{
    OwnWork dst;
    if (call.dst->tileInfo) {
        ownGridWalk(*call.dst, size, [&](const OwnCell& cell) {
            return withTile(call.dst, cell, destinationTexts, [&](uint8_t* tile) {
                ownShowLeadingCell(dst, *call.dst, cell, tile);
                return processBelow(call, cell, dst);
            });
        });
        return;
    }
    OwnCell whole = {};
    whole.width = size.width;
    whole.height = size.height;
    ownShowCell(dst, *call.dst, whole);
    processBelow(call, whole, dst);
}

// ---- Functions of values ------------------------------------------------------------------------------------------

template <class T>
T integerResult(OrvUserFunc function, T value)
{
    return ownSaturated<T>(int64_t{function(value)});
}

// The upper limit is asked for first, so that it also stands for what does not compare; that of 32 bits is one too
// large, and becomes the lowest value.
template <class T>
T realResult(OrvUserFuncFP function, T value)
{
    const double result = function(float(value));
    if constexpr (T(0.5) != 0) {
        return T(result);
    } else {
        constexpr double lowest = double(OwnRange<T>::lowest);
        constexpr double highest = double(OwnRange<T>::highest) + (sizeof(T) == 4 ? 1.0 : 0.0);
        const double cut = highest >= result ? result : highest;
        if (sizeof(T) == 4 && cut == highest)
            return T(OwnRange<T>::lowest);
        return T(int32_t(cut < lowest ? lowest : cut));
    }
}

template <class T, bool real>
bool processValues(const Call& call, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    OwnGeometry from, to, under;
    ownPlaneGeometry(src, from);
    ownPlaneGeometry(dst, to);
    if (mask)
        under = ownMaskStart(*mask);
    const auto function = call.function;
    bool planes = to.planeStep || from.planeStep;
    int32_t passes = planes ? to.channels : 1, channels = planes ? 1 : to.channels;
    for (int32_t pass = 0; pass < passes; ++pass)
        for (int32_t y = 0; y < to.height; ++y) {
            const uint8_t* a = ownChannelStart(from, pass, sizeof(T)) + y * from.rowStep;
            uint8_t* d = ownChannelStart(to, pass, sizeof(T)) + y * to.rowStep;
            auto one = [&](ptrdiff_t i) {
                const T value = ownLoad<T>(a, i);
                ownStore<T>(d, i, real ? realResult(function.real, value) : integerResult(function.integer, value));
            };
            if (!mask && from.pixelStep == channels && to.pixelStep == channels) {
                for (ptrdiff_t i = 0; i < ptrdiff_t(to.width) * channels; ++i)
                    one(i);
                continue;
            }
            for (int32_t x = 0; x < to.width; ++x) {
                if (!mask || ownMaskSelects(under, x, y))
                    for (int32_t c = 0; c < channels; ++c)
                        one(c);
                a += from.pixelStep * ptrdiff_t(sizeof(T));
                d += to.pixelStep * ptrdiff_t(sizeof(T));
            }
        }
    return true;
}

Call::Piece integerPiece(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return processValues<uint8_t, false>;
    case ORV_DEPTH_8S: return processValues<int8_t, false>;
    case ORV_DEPTH_16U: return processValues<uint16_t, false>;
    case ORV_DEPTH_16S: return processValues<int16_t, false>;
    default: return processValues<int32_t, false>;
    }
}

Call::Piece realPiece(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_8U: return processValues<uint8_t, true>;
    case ORV_DEPTH_8S: return processValues<int8_t, true>;
    case ORV_DEPTH_16U: return processValues<uint16_t, true>;
    case ORV_DEPTH_16S: return processValues<int16_t, true>;
    case ORV_DEPTH_32S: return processValues<int32_t, true>;
    default: return processValues<float, true>;
    }
}

// ---- Functions of pixels ------------------------------------------------------------------------------------------

// The pixels of an image's region, all channels of each side by side: where they are, or, of planes, in a row of their
// own.
class PixelRows {
public:
    explicit PixelRows(const OrvImage& of)
        : image(of),
          bytes(ownValueBytes(of.depth)),
          start(ownRoiStart(of, 0)),
          planes(of.dataOrder == ORV_DATA_ORDER_PLANE),
          row(planes ? int64_t{start.width} * of.nChannels * bytes : 0)
    {
    }

    explicit operator bool() const { return !planes || row; }
    ptrdiff_t pixelBytes() const { return ptrdiff_t(image.nChannels) * bytes; }

    uint8_t* open(int32_t y)
    {
        if (!planes)
            return start.data + y * ptrdiff_t(image.widthStep);
        move(y, [this](uint8_t* value, uint8_t* gathered) { memcpy(gathered, value, size_t(bytes)); });
        return row.data;
    }
    void close(int32_t y)
    {
        if (planes)
            move(y, [this](uint8_t* value, uint8_t* gathered) { memcpy(value, gathered, size_t(bytes)); });
    }

private:
    template <class Move>
    void move(int32_t y, Move one)
    {
        for (int32_t c = 0; c < image.nChannels; ++c) {
            uint8_t* value = start.data + (int64_t{c} * image.height + y) * image.widthStep;
            for (int32_t x = 0; x < start.width; ++x, value += bytes)
                one(value, row.data + x * pixelBytes() + ptrdiff_t(c) * bytes);
        }
    }

    const OrvImage& image;
    int bytes;
    OwnRoiStart start;
    bool planes;
    OwnScratch<uint8_t> row;
};

// False where a call has left a status.
bool processPixelRow(const Call& call, uint8_t* src, ptrdiff_t srcStep, uint8_t* dst, ptrdiff_t dstStep, int32_t y,
                     int32_t width, const OwnGeometry* mask)
{
    for (int32_t x = 0; x < width; ++x, src += srcStep, dst += dstStep) {
        if (mask && !ownMaskSelects(*mask, x, y))
            continue;
        call.function.pixel(call.src, src, call.dst, dst);
        if (report().when(orvGetErrStatus() != 0, ORV_STATUS_BACKTRACE, "in cbFunc call"))
            return false;
    }
    return true;
}

bool processPixels(const Call& call, const OrvImage& src, const OrvImage& dst, const OrvImage* mask)
{
    PixelRows from(src), to(dst);
    if (report().when(!from || !to, ORV_STATUS_NO_MEMORY, "No memory for temporal array"))
        return false;
    OwnGeometry under;
    if (mask)
        under = ownMaskStart(*mask);
    OwnRect rect = ownRoiRect(dst);
    bool goesOn = true;
    for (int32_t y = 0; goesOn && y < rect.height; ++y) {
        uint8_t* a = from.open(y);
        uint8_t* d = to.open(y);
        goesOn =
            processPixelRow(call, a, from.pixelBytes(), d, to.pixelBytes(), y, rect.width, mask ? &under : nullptr);
        to.close(y);
    }
    return goesOn;
}

// ---- Checks -------------------------------------------------------------------------------------------------------

// Those of all three. Faults are told one by one, and the stored status ends the call; without a function it ends in
// any case.
bool checkImages(OrvImage* src, OrvImage* dst, bool hasFunction)
{
    if (!report().goodImage(src) || !report().goodImage(dst))
        return false;
    report().when(src->origin != dst->origin, ORV_STATUS_BAD_ORIGIN, "srcImage->origin != dstImage->origin");
    report().when(src->dataOrder != dst->dataOrder, ORV_STATUS_BAD_DATA_ORDER,
                  "srcImage->dataOrder != dstImage->dataOrder");
    report().when(!hasFunction, ORV_STATUS_BAD_ARG, "cbFunc == NULL");
    return !failed() && hasFunction;
}

// Those of the functions of values. Where memory depends on it a fault ends the call whatever the report handler does.
bool checkChannels(const OrvImage& src, const OrvImage& dst)
{
    bool differ = report().when(src.depth != dst.depth, ORV_STATUS_BAD_DEPTH, "srcImage->depth != dstImage->depth");
    const bool srcCoi = ownChannels(src).coi, dstCoi = ownChannels(dst).coi;
    const int32_t srcCount = src.nChannels - (src.alphaChannel != 0),
                  dstCount = dst.nChannels - (dst.alphaChannel != 0);
    differ |= report().when(srcCoi && !dstCoi && dstCount != 1, ORV_STATUS_BAD_COI,
                            "srcImage->roi->coi > 0 && dstImage->roi->coi == 0");
    differ |= report().when(dstCoi && !srcCoi && srcCount != 1, ORV_STATUS_BAD_COI,
                            "dstImage->roi->coi > 0 && srcImage->roi->coi == 0");
    const bool all = !srcCoi && !dstCoi;
    differ |= report().when(all && srcCount != dstCount, ORV_STATUS_BAD_CHANNELS,
                            "srcImage->nChannels != dstImage->nChannels");
    differ |= report().when(all && (srcCount == 0 || dstCount == 0), ORV_STATUS_BAD_CHANNELS, "nChannels == 0");
    return !failed() && !differ;
}

// The smallest size of both images and their masks.
bool commonSize(const OrvImage& src, const OrvImage& dst, OwnSize& size)
{
    size = {INT32_MAX, INT32_MAX};
    for (const OrvImage* image :
         {static_cast<const OrvImage*>(src.maskROI), &src, static_cast<const OrvImage*>(dst.maskROI), &dst})
        if (image) {
            OwnRect rect = ownRoiRect(*image);
            size = {ownMin(size.width, rect.width), ownMin(size.height, rect.height)};
        }
    if (report().when(size.width < 1, ORV_STATUS_BAD_ROI_SIZE, "width <= 0"))
        return false;
    return !report().when(size.height < 1, ORV_STATUS_BAD_ROI_SIZE, "height <= 0");
}

// The mask of both images, NULL for none; false after a report.
bool findMask(const OrvImage& src, const OrvImage& dst, OwnSize size, OwnTempImage& made, const OrvImage*& mask)
{
    OrvImage* first = src.maskROI ? src.maskROI : dst.maskROI;
    OrvImage* second = dst.maskROI ? dst.maskROI : first;
    mask = first;
    if (first == second)
        return true;
    const bool isMade = ownMakeMask(*first, size, made) && ownAndInto(first, second, made.image);
    mask = made.image;
    return !report().when(!isMade, ORV_STATUS_BACKTRACE, "while mask creating");
}

void run(Call call)
{
    OwnSize size;
    OwnTempImage made;
    if (commonSize(*call.src, *call.dst, size) && findMask(*call.src, *call.dst, size, made, call.mask))
        process(call, size);
}

}  // namespace

void ORV_CALL orvUserProcess(OrvImage* srcImage, OrvImage* dstImage, OrvUserFunc cbFunc)
{
    lastCalled.store("orvUserProcess", std::memory_order_relaxed);
    if (!checkImages(srcImage, dstImage, cbFunc) || !checkChannels(*srcImage, *dstImage))
        return;
    if (report().when(dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_DEPTH, "depth == ORV_DEPTH_1U"))
        return;
    if (report().when(dstImage->depth == ORV_DEPTH_32F, ORV_STATUS_BAD_DEPTH, "depth == ORV_DEPTH_32F"))
        return;
    run({srcImage, dstImage, nullptr, integerPiece(dstImage->depth), {.integer = cbFunc}});
}

void ORV_CALL orvUserProcessFP(OrvImage* srcImage, OrvImage* dstImage, OrvUserFuncFP cbFunc)
{
    lastCalled.store("orvUserProcessFP", std::memory_order_relaxed);
    if (!checkImages(srcImage, dstImage, cbFunc) || !checkChannels(*srcImage, *dstImage))
        return;
    if (report().when(dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_DEPTH, "depth == ORV_DEPTH_1U"))
        return;
    run({srcImage, dstImage, nullptr, realPiece(dstImage->depth), {.real = cbFunc}});
}

void ORV_CALL orvUserProcessPixel(OrvImage* srcImage, OrvImage* dstImage, OrvUserFuncPixel cbFunc)
{
    lastCalled.store("orvUserProcessPixel", std::memory_order_relaxed);
    if (!checkImages(srcImage, dstImage, cbFunc))
        return;
    if (report().when(srcImage->depth == ORV_DEPTH_1U || dstImage->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_DEPTH,
                      "depth == ORV_DEPTH_1U"))
        return;
    run({srcImage, dstImage, nullptr, processPixels, {.pixel = cbFunc}});
}
