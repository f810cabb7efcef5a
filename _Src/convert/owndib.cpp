#include "owndib.h"

#include <cstring>

#include "../core/ownregion.h"
#include "../core/ownscratch.h"

// ---- Headers ------------------------------------------------------------------------------------------------------

OwnBitmap ownBitmapAt(const BITMAPINFOHEADER* place, const char* pixels)
{
    OwnBitmap bitmap;
    auto* bytes = reinterpret_cast<uint8_t*>(const_cast<BITMAPINFOHEADER*>(place));
    memcpy(&bitmap.header, bytes, sizeof bitmap.header);
    bitmap.place = bytes;
    bitmap.table = bytes + sizeof bitmap.header;
    bitmap.pixels = reinterpret_cast<uint8_t*>(const_cast<char*>(pixels));
    return bitmap;
}

uint8_t* ownBitmapPixels(const OwnBitmap& bitmap)
{
    return bitmap.pixels ? bitmap.pixels : bitmap.table + 4 * size_t(ownPaletteSize(bitmap.header));
}

void ownStoreHeader(const OwnBitmap& bitmap)
{
    memcpy(bitmap.place, &bitmap.header, sizeof bitmap.header);
}

int64_t ownBitmapRowBytes(const OwnBitmapHeader& header)
{
    return ownLineBytes(ORV_DATA_ORDER_PIXEL, header.biBitCount, 4, 1, header.biWidth);
}

bool ownBitmapBytesFit(const OwnBitmapHeader& header)
{
    return ownMagnitude(header.biHeight) <= PTRDIFF_MAX / ownBitmapRowBytes(header);
}

// ---- Palettes -----------------------------------------------------------------------------------------------------

namespace {

// What stands behind a header has the order of bytes that files have, on every machine.
uint32_t tableWord(const OwnBitmap& bitmap, uint32_t index)
{
    return ownFirstBelow(ownLoad<uint32_t>(bitmap.table, ptrdiff_t(index)));
}

}  // namespace

uint32_t ownPaletteSize(const OwnBitmapHeader& header)
{
    switch (header.biBitCount) {
    case 1:
    case 4:
    case 8: return header.biClrUsed ? uint32_t(header.biClrUsed) : 1u << header.biBitCount;
    case 16:
    case 32: return uint32_t(header.biClrUsed) + (header.biCompression == BI_BITFIELDS ? 3 : 0);
    default: return uint32_t(header.biClrUsed);
    }
}

uint32_t ownPaletteEntry(const OwnBitmap& bitmap, uint32_t index)
{
    return tableWord(bitmap, index) & 0xFFFFFF;
}

void ownSetPaletteEntry(const OwnBitmap& bitmap, uint32_t index, uint32_t colour)
{
    ownStore(bitmap.table, ptrdiff_t(index), ownFirstBelow(colour));
}

bool ownPaletteIsRamp(const OwnBitmap& bitmap)
{
    uint32_t size = ownPaletteSize(bitmap.header);
    if (size < 2)
        return false;
    for (uint32_t i = 0; i < size; ++i)
        if (ownPaletteEntry(bitmap, i) != 255 * i / (size - 1) * 0x010101)
            return false;
    return true;
}

void ownSetFixedPalette(const OwnBitmap& bitmap, bool grey)
{
    static constexpr uint32_t sixteen[] = {0x000000, 0x800000, 0x008000, 0x808000, 0x000080, 0x800080,
                                           0x008080, 0x808080, 0xC0C0C0, 0xFF0000, 0x00FF00, 0xFFFF00,
                                           0x0000FF, 0xFF00FF, 0x00FFFF, 0xFFFFFF};
    static constexpr uint32_t eightLevels[] = {0, 32, 64, 96, 128, 160, 192, 255}, fourLevels[] = {0, 64, 128, 255};
    uint32_t size = ownPaletteSize(bitmap.header);
    if (size != 2 && size != 16 && size != 256)
        return;
    for (uint32_t i = 0; i < size; ++i) {
        uint32_t colour = 255 / (size - 1) * i * 0x010101;
        if (size == 16 && !grey)
            colour = sixteen[i];
        if (size == 256 && !grey)
            colour = eightLevels[i >> 5] << 16 | eightLevels[i >> 2 & 7] << 8 | fourLevels[i & 3];
        ownSetPaletteEntry(bitmap, i, colour);
    }
}

// ---- What pixels mean ---------------------------------------------------------------------------------------------

OwnColours ownColours(const OrvImage& image)
{
    if (image.channelSeq[0] == 'G')
        return OwnColours::grey;
    if (memcmp(image.channelSeq, "BGR", 3) == 0)
        return OwnColours::bgr;
    return memcmp(image.channelSeq, "RGB", 3) == 0 ? OwnColours::rgb : OwnColours::unknown;
}

OwnDibImage ownDibImage(const OrvImage& image)
{
    if (image.depth == ORV_DEPTH_1U && image.nChannels == 1)
        return OWN_DIB_1U;
    if (image.depth != ORV_DEPTH_8U && image.depth != ORV_DEPTH_16U)
        return OWN_DIB_IMAGES;
    bool bytes = image.depth == ORV_DEPTH_8U;
    switch (image.nChannels) {
    case 1: return bytes ? OWN_DIB_8U_1 : OWN_DIB_16U_1;
    case 3: return bytes ? OWN_DIB_8U_3 : OWN_DIB_16U_3;
    case 4: return bytes ? OWN_DIB_8U_4 : OWN_DIB_16U_4;
    default: return OWN_DIB_IMAGES;
    }
}

OwnDibBits ownDibBits(const OwnBitmapHeader& header)
{
    switch (header.biBitCount) {
    case 1: return OWN_DIB_1;
    case 4: return OWN_DIB_4;
    case 8: return OWN_DIB_8;
    case 16: return OWN_DIB_16;
    case 24: return OWN_DIB_24;
    case 32: return OWN_DIB_32;
    default: return OWN_DIB_BITS;
    }
}

namespace {

// Where component k of a word stands under a mask, of which the lowest run of bits counts.
void setMask(OwnDibMasks& masks, int k, uint32_t mask)
{
    if (!mask)
        return;
    uint32_t shift = uint32_t(__builtin_ctz(mask));
    uint32_t run = mask >> shift;
    uint32_t width = ~run ? uint32_t(__builtin_ctz(~run)) : 32;
    uint32_t excess = width > 8 ? width - 8 : 0;
    masks.mask[k] = (1u << (width - excess)) - 1;
    masks.down[k] = shift + excess;
    masks.up[k] = 8 - (width - excess);
}

OwnDibMasks masksOf(const OwnBitmap& bitmap)
{
    bool wide = bitmap.header.biBitCount == 32;
    uint32_t red = wide ? 0xFF0000 : 0x7C00, green = wide ? 0x00FF00 : 0x03E0, blue = wide ? 0x0000FF : 0x001F;
    if (bitmap.header.biCompression == BI_BITFIELDS) {
        red = tableWord(bitmap, 0);
        green = tableWord(bitmap, 1);
        blue = tableWord(bitmap, 2);
    }
    OwnDibMasks masks = {};
    setMask(masks, 0, blue);
    setMask(masks, 1, green);
    setMask(masks, 2, red);
    uint32_t all = red | green | blue;
    if (!wide)
        masks.always = 0xFF000000;
    else
        setMask(masks, 3, all ? uint32_t(uint64_t{0xFFFFFFFF} << (32 - __builtin_clz(all))) : 0xFFFFFFFF);
    return masks;
}

using ChangeWords = void (*)(uint32_t* words, ptrdiff_t n);

// What makes components B, G, R of a bitmap's pixels those of the image's channels.
ChangeWords readingChange(const OrvImage& image)
{
    switch (ownColours(image)) {
    case OwnColours::grey: return ownDibKernels().toGrey;
    case OwnColours::rgb: return ownDibKernels().swap;
    default: return nullptr;
    }
}

ChangeWords writingChange(const OrvImage& image)
{
    switch (ownColours(image)) {
    case OwnColours::grey: return ownDibKernels().spread;
    case OwnColours::rgb: return ownDibKernels().swap;
    default: return nullptr;
    }
}

// ---- Rows ---------------------------------------------------------------------------------------------------------

// The common part of a bitmap and an image, whose rows are counted from the top of the picture.
struct Exchange {
    const OrvImage& image;
    uint8_t* pixels;
    int64_t rowBytes;
    int64_t bitmapHeight;
    bool topDown;
    int32_t width, height;

    Exchange(const OwnBitmap& bitmap, const uint8_t* bitmapPixels, const OrvImage& exchanged)
        : image(exchanged),
          pixels(const_cast<uint8_t*>(bitmapPixels)),
          rowBytes(ownBitmapRowBytes(bitmap.header)),
          bitmapHeight(ownMagnitude(bitmap.header.biHeight)),
          topDown(bitmap.header.biHeight < 0),
          width(ownMin(bitmap.header.biWidth, image.width)),
          height(int32_t(bitmapHeight < image.height ? bitmapHeight : image.height))
    {
    }
    uint8_t* bitmapRow(int32_t y) const { return pixels + ptrdiff_t(rowBytes * (topDown ? y : bitmapHeight - 1 - y)); }
    uint8_t* imageRow(int32_t y) const
    {
        return image.imageData +
               ptrdiff_t(image.widthStep) * (image.origin == ORV_ORIGIN_BL ? image.height - 1 - y : y);
    }
    // An image's row from a pixel on, which for bits is a multiple of eight.
    OwnDibRow imageRow(int32_t y, int32_t x) const
    {
        bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
        ptrdiff_t bytes = ownValueBytes(image.depth), step = planes ? 1 : image.nChannels;
        uint8_t* first = imageRow(y) + (bytes ? x * step * bytes : x >> 3);
        OwnDibRow row = {{first, first, first, first}, step};
        for (int32_t c = 1; c < image.nChannels; ++c)
            row.channel[c] = first + c * (planes ? ptrdiff_t(image.height) * image.widthStep : bytes);
        return row;
    }
};

// True if the bitmap's pixels are the same bytes as those of the image, with which it may share them.
bool areSame(const OwnBitmap& bitmap, const OrvImage& image)
{
    bool bytes = image.depth == ORV_DEPTH_8U && image.dataOrder == ORV_DATA_ORDER_PIXEL;
    if (!bytes || ownColours(image) != OwnColours::bgr)
        return false;
    int32_t bits = bitmap.header.biBitCount;
    bool masked = bits == 32 && bitmap.header.biCompression == BI_BITFIELDS;
    return bits == 8 * image.nChannels && bits >= 24 && !masked;
}

// Hands every row's pieces to move(y, x, n).
template <class Move>
void forPieces(const Exchange& exchange, Move move)
{
    for (int32_t y = 0; y < exchange.height; ++y)
        for (int32_t x = 0, n; x < exchange.width; x += n) {
            n = ownMin(OWN_DIB_PIECE, exchange.width - x);
            move(y, x, n);
        }
}

ptrdiff_t bytesOfPixels(const OwnBitmap& bitmap, int32_t x)
{
    return ptrdiff_t(int64_t{x} * bitmap.header.biBitCount / 8);
}

// The words of a palette's entries, as the image's channels want them.
void makeTable(const OwnBitmap& bitmap, ChangeWords change, uint32_t (&table)[256])
{
    uint32_t size = ownPaletteSize(bitmap.header), values = 1u << bitmap.header.biBitCount;
    for (uint32_t i = 0; i < values; ++i)
        table[i] = 0xFF000000 | (i < size ? ownPaletteEntry(bitmap, i) : 0);
    if (change)
        change(table, ptrdiff_t(values));
}

// The short ways from pixels of eight bits to bytes of one channel, or of three side by side; false for other images.
bool readBytesByTable(const OwnBitmap& bitmap, const Exchange& exchange, const uint32_t* table)
{
    const OrvImage& image = exchange.image;
    bool single = image.nChannels == 1, triples = image.nChannels == 3 && image.dataOrder == ORV_DATA_ORDER_PIXEL;
    if (bitmap.header.biBitCount != 8 || image.depth != ORV_DEPTH_8U || !(single || triples))
        return false;
    uint8_t bytes[256];
    for (int i = 0; i < 256; ++i)
        bytes[i] = uint8_t(table[i] >> 16);
    for (int32_t y = 0; y < exchange.height; ++y)
        if (single)
            ownDibKernels().lookUp(exchange.bitmapRow(y), bytes, exchange.imageRow(y), exchange.width);
        else
            ownDibKernels().to24(exchange.bitmapRow(y), table, exchange.imageRow(y), exchange.width);
    return true;
}

}  // namespace

void ownReadBitmap(const OwnBitmap& bitmap, const uint8_t* pixels, const OrvImage& image)
{
    const Exchange exchange(bitmap, pixels, image);
    if (areSame(bitmap, image)) {
        for (int32_t y = 0; y < exchange.height; ++y)
            memmove(exchange.imageRow(y), exchange.bitmapRow(y), size_t(bytesOfPixels(bitmap, exchange.width)));
        return;
    }
    ChangeWords change = readingChange(image);
    uint32_t words[OWN_DIB_PIECE], table[256];
    OwnDibFormat format = {};
    if (bitmap.header.biBitCount <= 8) {
        makeTable(bitmap, change, table);
        if (readBytesByTable(bitmap, exchange, table))
            return;
        format.table = table;
        change = nullptr;
    } else if (bitmap.header.biBitCount != 24) {
        format.masks = masksOf(bitmap);
    }
    auto read = ownDibKernels().read[ownDibBits(bitmap.header)];
    auto store = ownDibKernels().store[ownDibImage(image)];
    forPieces(exchange, [&](int32_t y, int32_t x, int32_t n) {
        read(exchange.bitmapRow(y) + bytesOfPixels(bitmap, x), format, words, n);
        if (change)
            change(words, n);
        store(words, exchange.imageRow(y, x), n);
    });
}

namespace {

// The palette of a bitmap, as it is searched.
struct PaletteSearch {
    const int64_t size, padded;
    OwnScratch<uint32_t> block;

    // A size of 0 is for bitmaps without a palette.
    explicit PaletteSearch(uint32_t entries)
        : size(entries), padded((size + 7) / 8 * 8), block(size ? padded + OWN_DIB_CELLS + 8 * OWN_DIB_EIGHTS : 1)
    {
    }

    OwnDibPalette make(const OwnBitmap& bitmap)
    {
        const int64_t lastCode = (int64_t{1} << bitmap.header.biBitCount) - 1;
        uint32_t *words = block.data, *cells = words + padded;
        for (int64_t i = 0; i < padded; ++i) {
            int64_t entry = i < size ? i : 0, code = entry < lastCode ? entry : lastCode;
            words[i] = uint32_t(code << 24) | ownPaletteEntry(bitmap, uint32_t(entry));
        }
        memset(cells, 0, OWN_DIB_CELLS * sizeof *cells);
        return {words, int32_t(padded), size == 256, cells, cells + OWN_DIB_CELLS, 0};
    }
};

}  // namespace

bool ownWriteBitmap(const OwnBitmap& bitmap, uint8_t* pixels, const OrvImage& image)
{
    const Exchange exchange(bitmap, pixels, image);
    if (areSame(bitmap, image)) {
        for (int32_t y = 0; y < exchange.height; ++y)
            memmove(exchange.bitmapRow(y), exchange.imageRow(y), size_t(bytesOfPixels(bitmap, exchange.width)));
        return true;
    }
    bool indices = bitmap.header.biBitCount <= 8;
    PaletteSearch search(indices ? ownPaletteSize(bitmap.header) : 0);
    if (!search.block)
        return false;
    uint32_t words[OWN_DIB_PIECE];
    OwnDibFormat format = {};
    OwnDibPalette palette;
    if (indices) {
        palette = search.make(bitmap);
        format.palette = &palette;
    } else if (bitmap.header.biBitCount != 24) {
        format.masks = masksOf(bitmap);
    }
    ChangeWords change = writingChange(image);
    auto load = ownDibKernels().load[ownDibImage(image)];
    auto write = ownDibKernels().write[ownDibBits(bitmap.header)];
    forPieces(exchange, [&](int32_t y, int32_t x, int32_t n) {
        load(exchange.imageRow(y, x), words, n);
        if (change)
            change(words, n);
        write(words, format, exchange.bitmapRow(y) + bytesOfPixels(bitmap, x), n);
    });
    return true;
}
