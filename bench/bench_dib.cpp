// Bitmaps: pixels in and out, palettes, the run-length code. Rows without a copy to be held against tell in their names
// what they may take.
#include <cmath>
#include <cstring>
#include <vector>

#include "convert/owndib.h"
#include "image.h"
#include "table.h"

namespace {

using namespace table;

constexpr int size = 2048;
constexpr size_t pixels = size_t(size) * size;

// A bitmap with a palette of greys and colours mixed.
BITMAPINFOHEADER* bitmapOf(int bits, uint32_t compression = BI_RGB)
{
    static std::vector<uint8_t> block(40 + 4 * 256 + pixels * 4);
    BITMAPINFOHEADER header = {};
    header.biSize = sizeof header;
    header.biWidth = header.biHeight = size;
    header.biPlanes = 1;
    header.biBitCount = uint16_t(bits);
    header.biCompression = compression;
    memcpy(block.data(), &header, sizeof header);
    for (uint32_t i = 0; bits == 8 && i < 256; ++i) {
        uint32_t entry = i * 0x9E3779B1u >> 8;
        memcpy(&block[40 + 4 * i], &entry, 4);
    }
    return reinterpret_cast<BITMAPINFOHEADER*>(block.data());
}

uint8_t wave(int x, int y, double pitch, uint32_t& noise)
{
    noise = noise * 1664525 + 1013904223;
    double value = 128 + 70 * std::sin(x / pitch) + 50 * std::cos((x + 2 * y) / (3 * pitch));
    return uint8_t(value + double(noise >> 29));
}

// As a photograph has them: slow changes and a little noise.
void fillLikeAPhotograph(OrvImage* image)
{
    static std::vector<uint8_t> kept(pixels * 3);
    static bool made = false;
    uint32_t noise = 1;
    for (size_t i = 0; !made && i < kept.size(); ++i) {
        int x = int(i / 3 % size), y = int(i / 3 / size), c = int(i % 3);
        kept[i] = wave(x, y, 50 + 30 * c, noise);
    }
    made = true;
    memcpy(image->imageData, kept.data(), kept.size());
}

// Filled shapes with outlines.
void fillLikeADrawing(uint8_t* rows, int bits)
{
    for (size_t i = 0; i < pixels * size_t(bits) / 8; ++i) {
        int x = int(i % (size_t(size) * size_t(bits) / 8)), y = int(i / (size_t(size) * size_t(bits) / 8));
        int ring = int(std::hypot(x % 300 - 150, y % 300 - 150));
        rows[i] = uint8_t(ring % 50 < 2 ? 0 : (ring / 50 + y / 300 + 1) * 0x11);
    }
}

void addRead(const char* name, int bits, int channels, double mostCopies, int order = ORV_DATA_ORDER_PIXEL)
{
    Layout layout = {.channels = channels, .alpha = channels == 4 ? 4 : 0, .order = order, .width = size};
    add({std::string("orvConvertFromDIB ") + name,
         [=] {
             Image image(layout, slotD);
             memcpy(image->channelSeq, channels == 1 ? "G" : "BGRA", channels == 1 ? 2 : 4);
             orvConvertFromDIB(bitmapOf(bits), image);
         },
         copyRow(size, ORV_DEPTH_8U, channels), 1, mostCopies != 0 ? copies(mostCopies) : 0});
}

void addWrite(const char* name, int bits, int channels, double mostCopies, int order = ORV_DATA_ORDER_PIXEL)
{
    Layout layout = {.channels = channels, .alpha = channels == 4 ? 4 : 0, .order = order, .width = size};
    add({std::string("orvConvertToDIB ") + name,
         [=] {
             Image image(layout, slotA);
             memcpy(image->channelSeq, "BGRA", 4);
             orvConvertToDIB(image, bitmapOf(bits), ORV_DITHER_NONE, ORV_PALETTE_KEEP);
         },
         copyRow(size, ORV_DEPTH_8U, channels), 1, mostCopies != 0 ? copies(mostCopies) : 0});
}

OrvImage* photograph()
{
    static Image image({.channels = 3, .width = size}, slotB);
    static bool filled = false;
    if (!filled)
        fillLikeAPhotograph(image);
    filled = true;
    memcpy(image->channelSeq, "BGR", 4);
    return image;
}

void addPalettes()
{
    add({"orvConvertToDIB 8 bits, nearest of 256, below 70 ms",
         [] { orvConvertToDIB(photograph(), bitmapOf(8), ORV_DITHER_NONE, ORV_PALETTE_KEEP); }});
    add({"median cut to 256, below 28 ms", [] {
             OwnBitmap bitmap = ownBitmapAt(bitmapOf(8), nullptr);
             ownMedCutPalette(bitmap, *photograph());
         }});
}

// The rows of a drawing, and their code.
template <int bits>
struct Coded {
    BITMAPINFOHEADER header = *bitmapOf(bits, bits == 4 ? BI_RLE4 : BI_RLE8);
    std::vector<uint8_t> rows = std::vector<uint8_t>(pixels * bits / 8), code;

    static constexpr OwnReport report{"bench", "bench"};

    Coded()
    {
        fillLikeADrawing(rows.data(), bits);
        code = rows;
        ownRLECompress(report, header, code.data());
    }
    static Coded& get()
    {
        static Coded coded;
        return coded;
    }
};

template <int bits>
void addCode(const char* encoding, const char* decoding)
{
    add({encoding, [] {
             static std::vector<uint8_t> work;
             work = Coded<bits>::get().rows;
             BITMAPINFOHEADER header = *bitmapOf(bits, bits == 4 ? BI_RLE4 : BI_RLE8);
             ownRLECompress(Coded<bits>::report, header, work.data());
         }});
    add({decoding, [] {
             Coded<bits>& coded = Coded<bits>::get();
             orvFree(ownRLEDecompress(coded.report, coded.header, coded.code.data()));
         }});
}

const bool added = [] {
    addRead("24 bits", 24, 3, 2.5);
    addRead("24 bits to planes", 24, 3, 0, ORV_DATA_ORDER_PLANE);
    addRead("24 bits to grey", 24, 1, 0);
    addRead("32 bits", 32, 4, 2.5);
    addRead("32 bits to 3 channels", 32, 3, 0);
    addRead("8 bits", 8, 3, 3);
    addRead("8 bits to planes", 8, 3, 3, ORV_DATA_ORDER_PLANE);
    addRead("8 bits to grey", 8, 1, 3);
    addRead("1 bit", 1, 3, 3);
    addRead("15 bits", 16, 3, 4);
    addRead("15 bits to planes", 16, 3, 4, ORV_DATA_ORDER_PLANE);
    addWrite("24 bits", 24, 3, 2.5);
    addWrite("24 bits from planes", 24, 3, 0, ORV_DATA_ORDER_PLANE);
    addWrite("32 bits", 32, 4, 2.5);
    addWrite("32 bits from 3 channels", 32, 3, 0);
    addWrite("15 bits", 16, 3, 0);
    addPalettes();
    addCode<8>("encoding a drawing as BI_RLE8, below 8.4 ms", "decoding it, below 4.2 ms");
    addCode<4>("encoding a drawing as BI_RLE4, below 4.2 ms", "decoding it, below 2.1 ms");
    return true;
}();

}  // namespace
