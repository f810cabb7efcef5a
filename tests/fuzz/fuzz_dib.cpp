// Hostile bitmaps: a header and bytes behind it that may hold anything, read and written in every way.
//
// The input is a few bytes that choose what is done, then a header, then its palette, masks and pixels. The bitmap
// stands in a block of exactly the bytes that its header promises, so that the address sanitizer sees every byte too
// far; a header that promises more than there could be is only used where it has to be refused.
#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>

#include "orv.h"

namespace {

constexpr int64_t mostBytes = 1 << 18;

struct Input {
    const uint8_t* data;
    size_t left;

    uint32_t bits(size_t bytes = 1)
    {
        uint32_t value = 0;
        for (; bytes && left; --bytes, --left)
            value = value << 8 | *data++;
        return value;
    }
    int below(int limit) { return int(bits()) % limit; }
};

struct FreeImage {
    void operator()(OrvImage* image) const { orvDeallocate(image, ORV_IMAGE_HEADER | ORV_IMAGE_DATA); }
};
using Image = std::unique_ptr<OrvImage, FreeImage>;

[[noreturn]] void fail(const char* what)
{
    fprintf(stderr, "fuzz_dib: %s, status %d\n", what, int(orvGetErrStatus()));
    abort();
}

// Plausible more often than not.
BITMAPINFOHEADER headerOf(Input& input)
{
    static const uint16_t bits[] = {1, 4, 8, 16, 24, 32, 8, 4};
    BITMAPINFOHEADER header = {};
    int wild = input.below(256);
    header.biSize = wild == 1 ? input.bits(4) : 40;
    header.biWidth = wild & 2 && wild & 4 ? int32_t(input.bits(4)) : input.below(100);
    header.biHeight = wild & 8 && wild & 16 ? int32_t(input.bits(4)) : input.below(60) - (wild & 32 ? 30 : 0);
    header.biPlanes = wild == 3 ? uint16_t(input.bits(2)) : 1;
    header.biBitCount = wild == 5 ? uint16_t(input.bits(2)) : bits[input.below(8)];
    header.biCompression = wild == 7 ? input.bits(4) : uint32_t(input.below(4));
    if (header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4)
        header.biBitCount = wild & 64 ? header.biBitCount : header.biCompression == BI_RLE8 ? 8 : 4;
    header.biClrUsed = wild & 128 ? input.bits(1 + (wild & 1)) : 0;
    return header;
}

int64_t rowBytesOf(const BITMAPINFOHEADER& header)
{
    return (int64_t{header.biWidth} * header.biBitCount + 31) / 32 * 4;
}

int64_t tableBytesOf(const BITMAPINFOHEADER& header)
{
    int64_t entries = header.biClrUsed;
    if (header.biBitCount == 1 || header.biBitCount == 4 || header.biBitCount == 8)
        entries = entries ? entries : 1 << header.biBitCount;
    else if (header.biBitCount != 24 && header.biCompression == BI_BITFIELDS)
        entries += 3;
    return 4 * entries;
}

// A header with its table, and its pixels behind it or in a block of their own.
struct Bitmap {
    BITMAPINFOHEADER header;
    int64_t tableBytes, pixelBytes;
    bool coded, separate, whole;
    std::unique_ptr<uint8_t[]> block, buffer;

    Bitmap(Input& input, const BITMAPINFOHEADER& given, bool isSeparate, bool forWriting)
        : header(given), tableBytes(tableBytesOf(given)), separate(isSeparate)
    {
        coded = header.biCompression == BI_RLE8 || header.biCompression == BI_RLE4;
        int64_t rows = std::abs(int64_t{header.biHeight}), rowBytes = std::max<int64_t>(rowBytesOf(header), 0);
        pixelBytes = rowBytes > 0 && rows > mostBytes / rowBytes ? mostBytes + 1 : rows * rowBytes;
        if (coded && !forWriting) {
            pixelBytes = std::max<int64_t>(int64_t(input.left) - tableBytes, 1);
            header.biSizeImage = uint32_t(pixelBytes);
        }
        whole = header.biWidth > 0 && tableBytes <= mostBytes && pixelBytes <= mostBytes;
        int64_t used = whole ? tableBytes : std::min(tableBytes, mostBytes);
        block = std::make_unique<uint8_t[]>(size_t(41 + used + (whole && !separate ? pixelBytes : 0)));
        buffer = std::make_unique<uint8_t[]>(size_t(1 + (whole ? pixelBytes : 0)));
        memcpy(&block[1], &header, 40);
        fill(input, &block[41], used);
        if (whole)
            fill(input, pixels(), pixelBytes);
    }
    uint8_t* pixels() { return separate ? &buffer[1] : &block[size_t(41 + tableBytes)]; }
    BITMAPINFOHEADER* place() { return reinterpret_cast<BITMAPINFOHEADER*>(&block[1]); }
    BITMAPINFOHEADER now()
    {
        BITMAPINFOHEADER read;
        memcpy(&read, &block[1], 40);
        return read;
    }

    static void fill(Input& input, uint8_t* to, int64_t bytes)
    {
        size_t given = std::min(size_t(bytes), input.left);
        memcpy(to, input.data, given);
        input.data += given;
        input.left -= given;
        uint32_t noise = 1;
        for (size_t i = given; i < size_t(bytes); ++i)
            to[i] = uint8_t((noise = noise * 1664525 + 1013904223) >> 24);
    }
};

Image imageFor(Input& input, int32_t width, int32_t height)
{
    static const char* const sequences[] = {"G", "GRAY", "BGR", "BGRA", "RGB", "RGBA", "YUV"};
    static const uint32_t depths[] = {ORV_DEPTH_8U, ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_1U, ORV_DEPTH_32S};
    uint32_t depth = depths[input.below(5)];
    int channels = depth == ORV_DEPTH_1U ? 1 : 1 + input.below(5);
    int shape = input.below(256);
    Image image(orvCreateImageHeader(channels, channels == 4 || shape & 128 ? channels : 0, depth, "RGB",
                                     sequences[input.below(7)], shape & 1, shape >> 1 & 1, 4 << (shape >> 2 & 3), width,
                                     height, nullptr, nullptr, nullptr, nullptr));
    orvAllocateImage(image.get(), 1, int32_t(input.bits(4)));
    if (image && image->imageData)
        Bitmap::fill(input, image->imageData, std::min<int64_t>(image->imageSize, int64_t(input.left)));
    return image;
}

void read(Bitmap& bitmap, OrvImage* image)
{
    if (bitmap.separate)
        orvConvertFromDIBSep(bitmap.place(), reinterpret_cast<const char*>(bitmap.pixels()), image);
    else
        orvConvertFromDIB(bitmap.place(), image);
}

void readBitmap(Input& input, bool separate)
{
    int moreWide = input.below(3) * 7, moreHigh = input.below(3) * 3;
    BITMAPINFOHEADER header = headerOf(input);
    int64_t width = int64_t{header.biWidth} + moreWide, height = std::abs(int64_t{header.biHeight}) + moreHigh;
    bool fits = width > 0 && height > 0 && width < 1000 && height < 1000;
    Image image = imageFor(input, fits ? int32_t(width) : 50, fits ? int32_t(height) : 40);
    Bitmap bitmap(input, header, separate, false);
    // A bitmap that is not there to its end must be refused, for its size.
    bool large = header.biWidth > 50 || std::abs(int64_t{header.biHeight}) > 40;
    if (image && image->imageData && (bitmap.whole || (!fits && large)))
        read(bitmap, image.get());
}

void translate(Input& input)
{
    Bitmap bitmap(input, headerOf(input), false, false);
    // Without a width there are no pixels to be read.
    if (!bitmap.whole && (bitmap.header.biWidth > 0 || bitmap.tableBytes > mostBytes))
        return;
    int copied = 7;
    OrvImage* image = orvTranslateDIB(bitmap.place(), &copied);
    if (!image)
        return;
    if (!bitmap.whole)
        fail("an image without a width");
    if (orvCheckImageHeader(image) != ORV_STATUS_OK || copied != (image->imageData != bitmap.pixels()))
        fail("not an image");
    // Every pixel of it is there.
    OrvImage* clone = orvCloneImage(image);
    if (clone)
        orvCopy(image, clone);
    orvDeallocate(clone, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
    orvDeallocate(image, ORV_IMAGE_HEADER | ORV_IMAGE_DATA);
}

void writeBitmap(Input& input, bool separate)
{
    static const int dithers[] = {1, 2, 4, 8, 16, 1, 1, 3};
    int dither = dithers[input.below(8)], palette = input.below(4);
    BITMAPINFOHEADER header = headerOf(input);
    bool fits = header.biWidth > 0 && header.biWidth < 500 && header.biHeight != 0 && header.biHeight < 500 &&
                header.biHeight > -500;
    Image image = imageFor(input, fits ? header.biWidth : 50, fits ? std::abs(header.biHeight) : 40);
    Bitmap bitmap(input, header, separate, true);
    if (!image || !image->imageData || (fits && !bitmap.whole))
        return;
    if (!bitmap.whole && bitmap.tableBytes > mostBytes)
        return;
    if (separate)
        orvConvertToDIBSep(image.get(), bitmap.place(), reinterpret_cast<char*>(bitmap.pixels()), dither, palette);
    else
        orvConvertToDIB(image.get(), bitmap.place(), dither, palette);
    if (orvGetErrStatus() < 0)
        return;
    if (!fits)
        fail("a bitmap of another size was written");
    // What has been written can be read.
    read(bitmap, image.get());
    if (orvGetErrStatus() < 0)
        fail("a bitmap was written that cannot be read");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    Input input = {data, size};
    orvRedirectError(orvNulDevReport);
    orvSetErrMode(ORV_ErrModeSilent);
    orvSetErrStatus(ORV_STATUS_OK);
    switch (input.below(5)) {
    case 0: readBitmap(input, false); break;
    case 1: readBitmap(input, true); break;
    case 2: translate(input); break;
    case 3: writeBitmap(input, false); break;
    default: writeBitmap(input, true); break;
    }
    return 0;
}
