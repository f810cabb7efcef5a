// Bitmaps: what their headers say, their palettes, and their pixels on the way from and to images.
#pragma once

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#endif

#include "../core/ownreport.h"
#include "kernels/owndib.h"
#include "orv/convert.h"

using OwnBitmapHeader = BITMAPINFOHEADER;

// A bitmap in the caller's memory, which may lie at any address and may hold anything.
struct OwnBitmap {
    OwnBitmapHeader header;  // a copy
    uint8_t* place;          // of the header
    uint8_t* table;          // of the palette or the masks
    uint8_t* pixels;         // NULL: they follow the table, as long as the header says
};

OwnBitmap ownBitmapAt(const BITMAPINFOHEADER* place, const char* pixels);

// The pixels, or what they are coded as.
uint8_t* ownBitmapPixels(const OwnBitmap& bitmap);

// Puts the copy of the header back.
void ownStoreHeader(const OwnBitmap& bitmap);

inline int64_t ownMagnitude(int32_t height)
{
    return height < 0 ? -int64_t{height} : height;
}

// The bytes of a row, and of all; false if those do not fit an address.
int64_t ownBitmapRowBytes(const OwnBitmapHeader& header);
bool ownBitmapBytesFit(const OwnBitmapHeader& header);

// Entries of the palette, or masks and unused entries.
uint32_t ownPaletteSize(const OwnBitmapHeader& header);

// An entry of the palette as 0xRRGGBB.
uint32_t ownPaletteEntry(const OwnBitmap& bitmap, uint32_t index);
void ownSetPaletteEntry(const OwnBitmap& bitmap, uint32_t index, uint32_t colour);

// True for a palette whose entries are greys in equal steps from black to white.
bool ownPaletteIsRamp(const OwnBitmap& bitmap);

// Writes the fixed palette of the bitmap's palette size, if there is one; `grey` for an image of one channel.
void ownSetFixedPalette(const OwnBitmap& bitmap, bool grey);

// Writes a palette for the image's pixels into the bitmap, and its size into the copy of the header: never more entries
// than there are now. Returns 1, or 0 if there is no memory, the image's colours have no known order, or pixels have
// more than 8 bits.
int32_t ownMedCutPalette(OwnBitmap& bitmap, const OrvImage& image);

// Expands the run-length coded pixels at `data` into rows, the first one as in the data; pixels that are left out are
// 0. NULL after a report if they are not well formed, or if there is no memory. The caller frees the block.
uint8_t* ownRLEDecompress(const OwnReport& report, const OwnBitmapHeader& header, const uint8_t* data);

// Codes the rows at `data` in place, and says so in the header; or leaves them and makes the header one of uncompressed
// pixels, if the code is no shorter. Returns 1, or 0 after a report if there is no memory; then nothing has changed.
int32_t ownRLECompress(const OwnReport& report, OwnBitmapHeader& header, uint8_t* data);

// The order of an image's colours.
enum class OwnColours { grey, bgr, rgb, unknown };
OwnColours ownColours(const OrvImage& image);

// The kind of an image's pixels; OWN_DIB_IMAGES if there are no kernels for it.
OwnDibImage ownDibImage(const OrvImage& image);

// The kind of a bitmap's pixels; OWN_DIB_BITS for none that is known.
OwnDibBits ownDibBits(const OwnBitmapHeader& header);

// Both copy the common part of the upper left corners of a bitmap and of a plain image, whose kinds are known. `pixels`
// are the bitmap's rows. Writing is false if there is no memory.
void ownReadBitmap(const OwnBitmap& bitmap, const uint8_t* pixels, const OrvImage& image);
bool ownWriteBitmap(const OwnBitmap& bitmap, uint8_t* pixels, const OrvImage& image);
