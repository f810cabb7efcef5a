// The gallery's entries for device-independent bitmaps.
#include <cstring>
#include <deque>
#include <utility>
#include <vector>

#include "families.h"

namespace gallery {

namespace {

// A bitmap as large as an image, with its palette and its pixels in one block. Bitmaps last as long as the program, so
// that entries can show images that share their pixels.
BITMAPINFOHEADER* bitmapFor(Stage& stage, const char* name, const OrvImage* image, int bits,
                            uint32_t compression = BI_RGB)
{
    static std::deque<std::vector<uint8_t>> blocks;
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = image->width;
    header.biHeight = image->height;
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bits);
    header.biCompression = compression;
    size_t rowBytes = (size_t(image->width) * size_t(bits) + 31) / 32 * 4;
    size_t size = sizeof header + 4 * 256 + rowBytes * size_t(image->height);
    blocks.emplace_back(size);
    // What a program without the gallery writes.
    stage.given("static uint32_t " + std::string(name) + "Block[" + std::to_string(size / 4) +
                "];\n    BITMAPINFOHEADER* " + name + " = reinterpret_cast<BITMAPINFOHEADER*>(" + name +
                "Block);\n    *" + name + " = {sizeof *" + name + ", " + std::to_string(image->width) + ", " +
                std::to_string(image->height) + ", 1, " + std::to_string(bits) + ", " +
                (compression == BI_RGB ? "BI_RGB" : "BI_RLE4") + "};");
    memcpy(blocks.back().data(), &header, sizeof header);
    return reinterpret_cast<BITMAPINFOHEADER*>(blocks.back().data());
}

// The pixels of a bitmap without a palette.
char* pixelsOf(BITMAPINFOHEADER* dib)
{
    return reinterpret_cast<char*>(dib + 1);
}

// What a bitmap has become, as an image.
Image& readBack(Stage& stage, const char* name, const Image& like)
{
    return stage.target(name, Image(3, ORV_DEPTH_8U, like->width, like->height));
}

void palettes(Stage& stage)
{
    Image& image = stage.source("image", photo("coffee"));
    Image &fixed = readBack(stage, "fixed", image), &median = readBack(stage, "median", image);
    BITMAPINFOHEADER* dib = bitmapFor(stage, "dib", image, 8);
    CALL(orvConvertToDIB(image, dib, ORV_DITHER_NONE, ORV_PALETTE_FIXED));
    CALL(orvConvertFromDIB(dib, fixed));
    CALL(orvConvertToDIB(image, dib, ORV_DITHER_NONE, ORV_PALETTE_MEDCUT));
    CALL(orvConvertFromDIB(dib, median));
}

// Bitmaps of one bit, for which there is dithering of greys alone, or of four, with every kind of dithering.
template <int bits, int paletteConversion>
void everyDither(Stage& stage)
{
    static const std::pair<const char*, int> kinds[] = {{"NONE", ORV_DITHER_NONE},
                                                        {"FS", ORV_DITHER_FS},
                                                        {"JJH", ORV_DITHER_JJH},
                                                        {"STUCKEY", ORV_DITHER_STUCKEY},
                                                        {"BAYER", ORV_DITHER_BAYER}};
    Image& image = stage.source("image", photo(bits == 1 ? "camera" : "coffee"));
    BITMAPINFOHEADER* dib = bitmapFor(stage, "dib", image, bits);
    for (const auto& kind : kinds) {
        const int dither = kind.second;
        Image& shown = readBack(stage, kind.first, image);
        CALL(orvConvertToDIB(image, dib, dither, paletteConversion));
        CALL(orvConvertFromDIB(dib, shown));
    }
}

void dithered(Stage& stage)
{
    Image& image = stage.source("image", photo("coffee"));
    Image &none = readBack(stage, "none", image), &diffused = readBack(stage, "diffused", image),
          &ordered = readBack(stage, "ordered", image);
    BITMAPINFOHEADER* dib = bitmapFor(stage, "dib", image, 16);
    char* pixels = pixelsOf(dib);
    stage.given("char* pixels = reinterpret_cast<char*>(dib + 1);");
    CALL(orvConvertToDIBSep(image, dib, pixels, ORV_DITHER_NONE, ORV_PALETTE_KEEP));
    CALL(orvConvertFromDIBSep(dib, pixels, none));
    CALL(orvConvertToDIBSep(image, dib, pixels, ORV_DITHER_FS, ORV_PALETTE_KEEP));
    CALL(orvConvertFromDIBSep(dib, pixels, diffused));
    CALL(orvConvertToDIBSep(image, dib, pixels, ORV_DITHER_BAYER, ORV_PALETTE_KEEP));
    CALL(orvConvertFromDIBSep(dib, pixels, ordered));
}

void coded(Stage& stage)
{
    Image& image = stage.source("image", photo("camera"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    BITMAPINFOHEADER* dib = bitmapFor(stage, "dib", image, 4, BI_RLE4);
    CALL(orvConvertToDIB(image, dib, ORV_DITHER_NONE, ORV_PALETTE_FIXED));
    stage.note("The code has " + std::to_string(dib->biSizeImage) + " bytes, the rows had " +
               std::to_string(512 * 512 / 2) + ".");
    CALL(orvConvertFromDIB(dib, dstImage));
}

void translated(Stage& stage)
{
    Image& source = stage.hidden(photo("astronaut"));
    BITMAPINFOHEADER* dib = bitmapFor(stage, "dib", source, 24);
    orvConvertToDIB(source, dib, ORV_DITHER_NONE, ORV_PALETTE_KEEP);
    int cloneData = 1;
    OrvImage* made = nullptr;
    CALL(made = orvTranslateDIB(dib, &cloneData));
    Image image(made);
    stage.showBefore("image", image);
    CALL(orvNot(image, image));
    stage.showAfter("image", image);
    stage.note(cloneData ? "The image has pixels of its own." : "What changes the image changes the bitmap.");
    if (!made || cloneData)
        stage.fail("the pixels are not shared");
}

// The program examples/viewer.c.
void window(Stage& stage)
{
    Image& image = stage.source("image", photo("chelsea"));
    Image& dithered = stage.watched("dithered", Image(3, ORV_DEPTH_8U, image->width, image->height));
    CALL(orvReduceBits(image, dithered, 0, ORV_DITHER_FS, 2));
    stage.showAfter("screenshot", photo("viewer"));
    stage.note("The image shares its pixels with a bitmap, which SetDIBitsToDevice shows.");
}

}  // namespace

const Family bitmaps = {
    "Format conversion",
    "Bitmaps",
    "Device-independent bitmaps, as Windows and BMP files have them: written, and read back for the picture.",
    {
        {"orvConvertToDIB, 8 bits", "256 colours: fixed ones, and those that median cut finds in the picture itself.",
         palettes},
        {"orvConvertToDIB, 4 bits", "The 16 colours of old, with every kind of dithering to 16 levels.",
         everyDither<4, ORV_PALETTE_FIXED>},
        {"orvConvertToDIB, 4 bits by median cut", "16 colours of the picture's own.",
         everyDither<4, ORV_PALETTE_MEDCUT>},
        {"orvConvertToDIB, 1 bit", "Black and white, with every kind of dithering to two levels.",
         everyDither<1, ORV_PALETTE_FIXED>},
        {"orvConvertToDIB, 1 bit by median cut", "Two greys of the picture's own.", everyDither<1, ORV_PALETTE_MEDCUT>},
        {"orvConvertToDIBSep, 15 bits", "Five bits for each component: bands, unless they are dithered away.",
         dithered},
        {"orvConvertToDIB, run-length code", "Sixteen greys, coded as they are written and decoded as they are read.",
         coded},
        {"orvTranslateDIB", "An image that shares its pixels with a bitmap, and inverts them there.", translated},
        {"orvReduceBits, in a window", "The Windows program examples/viewer.c under Wine, after its key for dithering.",
         window},
    }};

}  // namespace gallery
