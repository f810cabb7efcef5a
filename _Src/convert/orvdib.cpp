// Exchange with device-independent bitmaps.
//
//   orvTranslateDIB                            a new image of a bitmap, in its own memory or the bitmap's
//   orvConvertFromDIB, orvConvertFromDIBSep    a bitmap's pixels into an image
//   orvConvertToDIB, orvConvertToDIBSep        an image's pixels into a bitmap
#include <cstring>

#include "../core/ownregion.h"
#include "../core/ownscratch.h"
#include "orv/colour.h"
#include "owndib.h"

namespace {

constexpr const char* source = "orvdib";

constexpr const char* noHeader = "Not enough memory to allocate header for destination image";
constexpr const char* noData = "Not enough memory to allocate data for destination image";
constexpr const char* badBitCount = "Parameter biBitCount of DIB-image have illegal value";

// The status of a failure, whoever has reported it.
bool failed()
{
    return orvGetErrStatus() < 0;
}

// ---- Checks -------------------------------------------------------------------------------------------------------

// What the functions that write a bitmap call its faults, or those that read one.
struct HeaderTexts {
    const char *size, *planes, *compression, *rle8, *rle4, *height;
    const char *colours, *colours8, *colours4;
};

constexpr HeaderTexts translateTexts = {
    "( dib->biSize != sizeof(BITMAPINFOHEADER) )",
    "(dib->biPlanes != 1)",
    "(dib->biCompression != 0) && (dib->biCompression != 1) && (dib->biCompression != 2) && (dib->biCompression != 3)",
    "(dib->biBitCount != 8) && (dib->biCompression == 1)",
    "(dib->biBitCount != 4) && (dib->biCompression == 2)",
    "(dib->biHeight < 0) && ( (dib->biCompression == 1) || (dib->biCompression == 2) )",
    "(dib->biClrUsed > 0x8000)",
    "( dib->biBitCount==8 && dib->biClrUsed>256 )",
    "( dib->biBitCount==4 && dib->biClrUsed>16 )"};

constexpr HeaderTexts blockTexts = [] {
    HeaderTexts texts = translateTexts;
    texts.size = "(dib->biSize != sizeof(BITMAPINFOHEADER))";
    return texts;
}();

constexpr HeaderTexts fromSepTexts = {
    "(dibHeader->biSize != sizeof(BITMAPINFOHEADER))",
    "(dibHeader->biPlanes != 1)",
    "(dibHeader->biCompression != 0) && (dibHeader->biCompression != 1) && (dibHeader->biCompression != 2) && "
    "(dibHeader->biCompression != 3)",
    "(dibHeader->biBitCount != 8) && (dibHeader->biCompression == 1)",
    "(dibHeader->biBitCount != 4) && (dibHeader->biCompression == 2)",
    "(dibHeader->biHeight < 0) && ( (dibHeader->biCompression == 1) || (dibHeader->biCompression == 2) )",
    "(dibHeader->biClrUsed > 0x8000)",
    "(dibHeader->biBitCount==8 && dibHeader->biClrUsed>256)",
    "(dibHeader->biBitCount==4 && dibHeader->biClrUsed>16 )"};

constexpr HeaderTexts toSepTexts = [] {
    HeaderTexts texts = fromSepTexts;
    texts.rle8 = "( (dibHeader->biBitCount != 8) && (dibHeader->biCompression == 1) )";
    texts.rle4 = "( (dibHeader->biBitCount != 4) && (dibHeader->biCompression == 2) )";
    texts.height =
        "( (dibHeader->biHeight < 0) && ((dibHeader->biCompression == 1) || (dibHeader->biCompression == 2)) )";
    return texts;
}();

bool isCoded(const OwnBitmapHeader& header)
{
    return header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4;
}

bool goodForm(const OwnReport& report, const OwnBitmapHeader& header, const HeaderTexts& texts)
{
    if (report.when(header.biSize != sizeof(BITMAPINFOHEADER), ORV_STATUS_BAD_ARG, texts.size))
        return false;
    if (report.when(header.biPlanes != 1, ORV_STATUS_BAD_ARG, texts.planes))
        return false;
    if (report.when(header.biCompression > BI_BITFIELDS, ORV_STATUS_BAD_ARG, texts.compression))
        return false;
    if (report.when(header.biBitCount != 8 && header.biCompression == BI_RLE8, ORV_STATUS_BAD_ARG, texts.rle8))
        return false;
    if (report.when(header.biBitCount != 4 && header.biCompression == BI_RLE4, ORV_STATUS_BAD_ARG, texts.rle4))
        return false;
    if (report.when(header.biHeight < 0 && isCoded(header), ORV_STATUS_BAD_ARG, texts.height))
        return false;
    return true;
}

bool goodPaletteSize(const OwnReport& report, const OwnBitmapHeader& header, const HeaderTexts& texts)
{
    if (report.when(header.biClrUsed > 0x8000, ORV_STATUS_BAD_ARG, texts.colours))
        return false;
    if (report.when(header.biBitCount == 8 && header.biClrUsed > 256, ORV_STATUS_BAD_ARG, texts.colours8))
        return false;
    if (report.when(header.biBitCount == 4 && header.biClrUsed > 16, ORV_STATUS_BAD_ARG, texts.colours4))
        return false;
    return true;
}

bool goodHeader(const OwnReport& report, const OwnBitmapHeader& header, const HeaderTexts& texts)
{
    return goodForm(report, header, texts) && goodPaletteSize(report, header, texts);
}

// The image that takes a bitmap's pixels; it may still lack data.
bool goodTarget(const OwnReport& report, const OrvImage& image)
{
    if (report.when(image.alphaChannel < 0, ORV_STATUS_BAD_ARG, "( image->alphaChannel < 0 )"))
        return false;
    if (report.when(image.nChannels < image.alphaChannel, ORV_STATUS_BAD_ARG,
                    "( image->nChannels < image->alphaChannel )"))
        return false;
    if (report.when(image.dataOrder != 0 && image.dataOrder != 1, ORV_STATUS_BAD_ARG,
                    "( (image->dataOrder != 0) && (image->dataOrder != 1) )"))
        return false;
    if (report.when(image.origin != 0 && image.origin != 1, ORV_STATUS_BAD_ARG,
                    "( (image->origin != 0) && (image->origin != 1) )"))
        return false;
    if (report.when(image.align != 4 && image.align != 8 && image.align != 16 && image.align != 32, ORV_STATUS_BAD_ARG,
                    "( (image->align != 4) && (image->align != 8) && (image->align != 16) && (image->align != 32) )"))
        return false;
    if (report.when(image.height <= 0, ORV_STATUS_BAD_ARG, "(image->height <= 0)"))
        return false;
    if (report.when(image.width <= 0, ORV_STATUS_BAD_ARG, "(image->width <= 0)"))
        return false;
    if (report.when(image.imageSize <= 0, ORV_STATUS_BAD_ARG, "(image->imageSize <= 0)"))
        return false;
    if (report.when(image.widthStep <= 0, ORV_STATUS_BAD_ARG, "(image->widthStep <= 0)"))
        return false;
    return true;
}

// The image whose pixels a bitmap takes.
bool goodSource(const OwnReport& report, OrvImage* image)
{
    if (!report.goodImage(image))
        return false;
    if (report.when(image->tileInfo, ORV_STATUS_BAD_ARG, "(image->tileInfo != 0)"))
        return false;
    if (report.when(image->depth != 1 && image->depth != 8 && image->depth != 16, ORV_STATUS_BAD_ARG,
                    "( (image->depth != 1) && (image->depth != 8) && (image->depth != 16) )"))
        return false;
    if (report.when(image->nChannels <= 0 || image->nChannels > 4, ORV_STATUS_BAD_ARG,
                    "(image->nChannels <= 0 || image->nChannels > 4)"))
        return false;
    if (report.when(image->alphaChannel != 0 && image->alphaChannel != 4, ORV_STATUS_BAD_ARG,
                    "(image->alphaChannel != 0 && image->alphaChannel != 4)"))
        return false;
    if (report.when(image->alphaChannel == 0 && image->nChannels != 3 && image->nChannels != 1, ORV_STATUS_BAD_ARG,
                    "(image->nChannels != 3 && image->nChannels != 1)"))
        return false;
    return true;
}

// ---- From bitmaps -------------------------------------------------------------------------------------------------

// Gives an image that has data the pixels of a bitmap; false after a report.
bool fillData(const OwnReport& report, const OwnBitmap& bitmap, const OrvImage& image)
{
    const OwnBitmapHeader& header = bitmap.header;
    if (report.when(ownDibImage(image) == OWN_DIB_IMAGES, ORV_STATUS_INTERNAL,
                    "image->nChannels and image->depth unsupport"))
        return false;
    if (report.when(!ownBitmapBytesFit(header), ORV_STATUS_NO_MEMORY, noData))
        return false;
    OwnScratch<uint8_t> rows(isCoded(header) ? ownRLEDecompress(report, header, ownBitmapPixels(bitmap)) : nullptr);
    if (report.when(isCoded(header) && !rows, ORV_STATUS_INTERNAL, "Impossible to decompress RLE DIB"))
        return false;
    ownReadBitmap(bitmap, rows ? rows.data : ownBitmapPixels(bitmap), image);
    return true;
}

// Gives an image the pixels of a bitmap with a good header, and data if it has none; false after a report.
bool fill(const OwnReport& report, const OwnBitmap& bitmap, OrvImage* image, const char* badBits)
{
    const OwnBitmapHeader& header = bitmap.header;
    bool large = image->width >= header.biWidth && image->height >= ownMagnitude(header.biHeight);
    if (report.when(!large, ORV_STATUS_BAD_IMAGE_SIZE, "Image size is too small"))
        return false;
    if (report.when(ownColours(*image) == OwnColours::unknown, ORV_STATUS_BAD_COLOR_MODEL,
                    "image->channelSeq unsupport"))
        return false;
    if (report.when(ownDibBits(header) == OWN_DIB_BITS, ORV_STATUS_BAD_ARG, badBits))
        return false;
    if (header.biWidth <= 0 || header.biHeight == 0)
        return true;
    bool hadData = image->imageData;
    if (!hadData)
        orvAllocateImage(image, 0, 0);
    if (report.when(!image->imageData, ORV_STATUS_NO_MEMORY, noData))
        return false;
    bool filled = fillData(report, bitmap, *image);
    // A caller's image comes back as it was.
    if (!filled && !hadData)
        orvDeallocateImage(image);
    return filled;
}

// What a new image of a bitmap is like.
struct Likeness {
    const char *colorModel, *channelSeq;
    int32_t nChannels, alphaChannel;
    uint32_t depth;
    bool copied;
};

Likeness likenessOf(const OwnBitmap& bitmap)
{
    constexpr Likeness colours = {"RGB", "BGR", 3, 0, ORV_DEPTH_8U, true};
    Likeness likeness = colours;
    switch (bitmap.header.biBitCount) {
    case 1:
    case 4:
    case 8:
        if (ownPaletteIsRamp(bitmap))
            likeness = {"GRAY",
                        "G",
                        1,
                        0,
                        bitmap.header.biBitCount == 1 ? ORV_DEPTH_1U : ORV_DEPTH_8U,
                        bitmap.header.biBitCount == 4 || isCoded(bitmap.header)};
        break;
    case 24: likeness.copied = false; break;
    case 32: likeness = {"RGBA", "BGRA", 4, 4, ORV_DEPTH_8U, bitmap.header.biCompression == BI_BITFIELDS}; break;
    default: break;
    }
    return likeness;
}

constexpr OwnReport fromReport{"orvConvertFromDIB", source};

// ---- To bitmaps ---------------------------------------------------------------------------------------------------

// The levels of each component that a bitmap's pixels can hold.
int32_t levelsOf(const OwnBitmapHeader& header)
{
    switch (header.biBitCount) {
    case 1: return 2;
    case 4: return 16;
    case 16: return 32;
    default: return 256;
    }
}

// The same image with fewer levels, in `made`; false after a report.
bool reduceLevels(const OwnReport& report, OrvImage& image, const OwnBitmapHeader& header, int dither,
                  OwnTempImage& made)
{
    uint32_t depth = header.biBitCount == 1 ? ORV_DEPTH_1U : ORV_DEPTH_8U;
    made.image = orvCreateImageHeader(image.nChannels, image.alphaChannel, depth, image.colorModel, image.channelSeq,
                                      image.dataOrder, image.origin, image.align, image.width, image.height, nullptr,
                                      nullptr, nullptr, nullptr);
    if (report.when(!made.image, ORV_STATUS_NO_MEMORY, "Not enough memory to allocate header for temporal image"))
        return false;
    orvAllocateImage(made.image, 1, 0);
    if (report.when(!made.image->imageData, ORV_STATUS_NO_MEMORY,
                    "Not enough memory to allocate data for temporal image"))
        return false;
    if (image.alphaChannel) {
        // Dithering leaves alpha alone: it is copied with all the others first.
        OrvImage from = image;
        from.alphaChannel = made.image->alphaChannel = 0;
        orvReduceBits(&from, made.image, 0, ORV_DITHER_NONE, 0);
        made.image->alphaChannel = image.alphaChannel;
    }
    orvReduceBits(&image, made.image, 0, dither, levelsOf(header));
    return !report.when(failed(), ORV_STATUS_INTERNAL, "Dithering can't be produced");
}

// Prepares the palette of a bitmap that has one; false after a report.
bool preparePalette(const OwnReport& report, OwnBitmap& bitmap, const OrvImage& image, int paletteConversion)
{
    if (bitmap.header.biBitCount >= 16)
        return true;
    if (paletteConversion == ORV_PALETTE_FIXED)
        ownSetFixedPalette(bitmap, image.nChannels == 1);
    if (paletteConversion != ORV_PALETTE_MEDCUT)
        return true;
    if (report.when(!ownMedCutPalette(bitmap, image), ORV_STATUS_INTERNAL, "Error of creating medcut palette"))
        return false;
    ownStoreHeader(bitmap);
    return true;
}

// Gives a bitmap with a good header the pixels of an image.
void write(const OwnReport& report, OwnBitmap& bitmap, OrvImage& image, int dither, int paletteConversion)
{
    if (report.when(dither != ORV_DITHER_NONE && dither != ORV_DITHER_FS && dither != ORV_DITHER_JJH &&
                        dither != ORV_DITHER_STUCKEY && dither != ORV_DITHER_BAYER,
                    ORV_STATUS_BAD_ARG, "(dither != 1 && dither != 2 && dither != 4 && dither != 8 && dither != 16)"))
        return;
    if (report.when(paletteConversion < ORV_PALETTE_KEEP || paletteConversion > ORV_PALETTE_MEDCUT, ORV_STATUS_BAD_ARG,
                    "(paletteConversion != 0 && paletteConversion != 1 && paletteConversion != 2)"))
        return;
    OwnBitmapHeader& header = bitmap.header;
    if (report.when(ownDibBits(header) == OWN_DIB_BITS, ORV_STATUS_BAD_ARG, badBitCount))
        return;
    if (report.when(!ownBitmapBytesFit(header), ORV_STATUS_NO_MEMORY, "Out of memory"))
        return;
    if (!preparePalette(report, bitmap, image, paletteConversion))
        return;
    OwnTempImage reduced;
    if (dither != ORV_DITHER_NONE && !reduceLevels(report, image, header, dither, reduced))
        return;
    if (report.when(ownColours(image) == OwnColours::unknown, ORV_STATUS_BAD_COLOR_MODEL,
                    "image->channelSeq unsupport"))
        return;
    uint8_t* pixels = ownBitmapPixels(bitmap);
    if (report.when(!ownWriteBitmap(bitmap, pixels, reduced.image ? *reduced.image : image), ORV_STATUS_NO_MEMORY,
                    "Out of memory"))
        return;
    if (!isCoded(header))
        return;
    if (!ownRLECompress(report, header, pixels)) {
        // The pixels stand there as they are, and so the header says.
        header.biCompression = BI_RGB;
        header.biSizeImage = 0;
    }
    ownStoreHeader(bitmap);
}

}  // namespace

OrvImage* ORV_CALL orvTranslateDIB(BITMAPINFOHEADER* dib, int* cloneData)
{
    constexpr OwnReport report{"orvTranslateDIB", source};
    if (report.when(!dib, ORV_STATUS_BAD_ARG, "( dib == 0 )"))
        return nullptr;
    if (report.when(!cloneData, ORV_STATUS_BAD_ARG, "( cloneData == 0 )"))
        return nullptr;
    const OwnBitmap bitmap = ownBitmapAt(dib, nullptr);
    const OwnBitmapHeader& header = bitmap.header;
    if (!goodHeader(report, header, translateTexts))
        return nullptr;
    if (report.when(ownDibBits(header) == OWN_DIB_BITS, ORV_STATUS_BAD_ARG, "dib->biBitCount is bad"))
        return nullptr;
    const Likeness likeness = likenessOf(bitmap);
    *cloneData = likeness.copied;
    // What has no magnitude is no height, and is refused.
    auto height = int32_t(header.biHeight == INT32_MIN ? 0 : ownMagnitude(header.biHeight));
    OwnTempImage made(
        orvCreateImageHeader(likeness.nChannels, likeness.alphaChannel, likeness.depth, likeness.colorModel,
                             likeness.channelSeq, likeness.copied ? ORV_DATA_ORDER_PLANE : ORV_DATA_ORDER_PIXEL,
                             header.biHeight < 0 ? ORV_ORIGIN_TL : ORV_ORIGIN_BL, likeness.copied ? 32 : 4,
                             header.biWidth, height, nullptr, nullptr, nullptr, nullptr));
    if (report.when(!made.image, ORV_STATUS_NO_MEMORY, noHeader))
        return nullptr;
    if (!likeness.copied) {
        made.image->imageData = ownBitmapPixels(bitmap);
        return made.release();
    }
    orvAllocateImage(made.image, 0, 0);
    if (report.when(!made.image->imageData, ORV_STATUS_NO_MEMORY, noData))
        return nullptr;
    return fill(fromReport, bitmap, made.image, "dib->biBitCount is bad") ? made.release() : nullptr;
}

void ORV_CALL orvConvertFromDIB(BITMAPINFOHEADER* dib, OrvImage* image)
{
    fromReport.when(!dib, ORV_STATUS_BAD_ARG, "dib==0");
    fromReport.when(!image, ORV_STATUS_BAD_ARG, "image==0");
    if (failed() || !dib || !image)
        return;
    if (!goodTarget(fromReport, *image))
        return;
    const OwnBitmap bitmap = ownBitmapAt(dib, nullptr);
    if (goodHeader(fromReport, bitmap.header, blockTexts))
        fill(fromReport, bitmap, image, "dib->biBitCount is bad");
}

void ORV_CALL orvConvertFromDIBSep(BITMAPINFOHEADER* dibHeader, const char* dibData, OrvImage* image)
{
    constexpr OwnReport report{"orvConvertFromDIBSep", source};
    report.when(!dibHeader, ORV_STATUS_BAD_ARG, "( 0 == dibHeader )");
    report.when(!dibData, ORV_STATUS_BAD_ARG, "( 0 == dibData )");
    report.when(!image, ORV_STATUS_BAD_ARG, "( 0 == image )");
    if (failed() || !dibHeader || !dibData || !image)
        return;
    if (!goodTarget(report, *image))
        return;
    const OwnBitmap bitmap = ownBitmapAt(dibHeader, dibData);
    if (goodHeader(report, bitmap.header, fromSepTexts))
        fill(report, bitmap, image, "dibHeader->biBitCount is bad");
}

void ORV_CALL orvConvertToDIB(OrvImage* image, BITMAPINFOHEADER* dib, int dither, int paletteConversion)
{
    constexpr OwnReport report{"orvConvertToDIB", source};
    if (!goodSource(report, image))
        return;
    if (report.when(!dib, ORV_STATUS_BAD_ARG, "dib==0"))
        return;
    OwnBitmap bitmap = ownBitmapAt(dib, nullptr);
    const OwnBitmapHeader& header = bitmap.header;
    if (!goodForm(report, header, blockTexts))
        return;
    if (report.when(image->width != header.biWidth || image->height != ownMagnitude(header.biHeight),
                    ORV_STATUS_BAD_ARG, "(image->width != dib->biWidth || image->height != abs_biHeight)"))
        return;
    if (goodPaletteSize(report, header, blockTexts))
        write(report, bitmap, *image, dither, paletteConversion);
}

void ORV_CALL orvConvertToDIBSep(OrvImage* image, BITMAPINFOHEADER* dibHeader, char* dibData, int dither,
                                 int paletteConversion)
{
    constexpr OwnReport report{"orvConvertToDIBSep", source};
    if (!goodSource(report, image))
        return;
    if (report.when(!dibHeader, ORV_STATUS_BAD_ARG, "( 0 == dibHeader )"))
        return;
    if (report.when(!dibData, ORV_STATUS_BAD_ARG, "( 0 == dibData )"))
        return;
    OwnBitmap bitmap = ownBitmapAt(dibHeader, dibData);
    const OwnBitmapHeader& header = bitmap.header;
    if (!goodForm(report, header, toSepTexts))
        return;
    if (report.when(image->width != header.biWidth || image->height != ownMagnitude(header.biHeight),
                    ORV_STATUS_BAD_ARG, "(image->width != dibHeader->biWidth || image->height != abs_biHeight)"))
        return;
    if (goodPaletteSize(report, header, toSepTexts))
        write(report, bitmap, *image, dither, paletteConversion);
}
