#include "ownread.h"

#include <cstring>

#include "kernels/ownrows.h"
#include "ownpixels.h"

namespace {

constexpr int mostImages = 2;

// Scratch for a part of a row: small enough that all of it stays in the first-level cache.
constexpr int32_t scratchBytes = 8192;

struct alignas(64) Scratch {
    uint8_t bytes[scratchBytes];
};

// What is read in one go over the region: all processed channels of pixels side by side, or one channel.
struct Pass {
    const OwnReading& reading;
    OwnSize size;
    int count;
    int bytes;  // of a value
    int32_t channel, channels;
    const uint8_t* start[mostImages];
    ptrdiff_t rowStep[mostImages];
    int32_t pixelStep[mostImages];
    const OwnGeometry* mask;
    uint32_t depth;

    bool isCompact() const { return pixelStep[0] == channels && pixelStep[count - 1] == channels; }
};

OwnReadRows rowsAt(const Pass& pass, int32_t x, int32_t y)
{
    return {nullptr, nullptr, 0, 1, 0, 0, x, y, pass.channel, pass.channels, true};
}

void readWhole(const Pass& pass)
{
    OwnReadRows rows = rowsAt(pass, 0, 0);
    rows.a = pass.start[0];
    rows.b = pass.count > 1 ? pass.start[1] : nullptr;
    rows.n = ptrdiff_t(pass.size.width) * pass.channels;
    rows.count = pass.size.height;
    rows.aStep = pass.rowStep[0];
    rows.bStep = pass.count > 1 ? pass.rowStep[1] : 0;
    if (pass.mask) {
        rows.bits = pass.mask->start;
        rows.bit = pass.mask->bit;
        rows.bitStep = pass.mask->rowStep;
    }
    pass.reading.read(pass.reading.state, rows);
}

void fillUnselected(const Pass& pass, uint8_t* to, ptrdiff_t n)
{
    if (!pass.reading.unselected)
        memset(to, 0, size_t(n) * size_t(pass.bytes));
    else
        ownRowKernels().fill[ownDepthIndex(pass.depth)].run({nullptr, pass.reading.unselected, to, n});
}

// Brings `pixels` pixels of an image from x on in row y together; where the mask leaves a pixel out, something else.
const uint8_t* bring(const Pass& pass, int image, int32_t x, int32_t y, int32_t pixels, uint8_t* gathered,
                     uint8_t* selected)
{
    const OwnRowKernels& move = ownRowKernels();
    const uint8_t* from =
        pass.start[image] + y * pass.rowStep[image] + ptrdiff_t(x) * pass.pixelStep[image] * pass.bytes;
    if (pass.pixelStep[image] != pass.channels) {
        move.gather[ownSizeIndex(pass.bytes)](from, pass.pixelStep[image], pass.channels, gathered, pixels);
        from = gathered;
    }
    if (!pass.mask)
        return from;
    Scratch lanes;
    ptrdiff_t n = ptrdiff_t(pixels) * pass.channels;
    fillUnselected(pass, selected, n);
    move.lanes[ownSizeIndex(pass.bytes)](pass.mask->start + y * pass.mask->rowStep + (x >> 3), pass.mask->bit,
                                         pass.channels, pass.channels, lanes.bytes, pixels);
    move.copy[ownDepthIndex(pass.depth)].select(from, nullptr, selected, lanes.bytes, n);
    return selected;
}

void readInParts(const Pass& pass)
{
    Scratch gathered[mostImages], selected[mostImages];
    int32_t chunk = scratchBytes / (pass.channels * pass.bytes) & -ownReadLanes;
    for (int32_t y = 0; y < pass.size.height; ++y) {
        for (int32_t x = 0, pixels; x < pass.size.width; x += pixels) {
            pixels = ownMin(chunk, pass.size.width - x);
            OwnReadRows rows = rowsAt(pass, x, y);
            rows.a = bring(pass, 0, x, y, pixels, gathered[0].bytes, selected[0].bytes);
            if (pass.count > 1)
                rows.b = bring(pass, 1, x, y, pixels, gathered[1].bytes, selected[1].bytes);
            rows.n = ptrdiff_t(pixels) * pass.channels;
            rows.endsRow = pixels == pass.size.width - x;
            pass.reading.read(pass.reading.state, rows);
        }
    }
}

// Rows of one value a pixel under a mask: as many as fit, or parts of one.
void readKept(const Pass& pass)
{
    Scratch kept[mostImages];
    const uint32_t zero = 0;
    const void* other = pass.reading.unselected ? pass.reading.unselected : &zero;
    auto keep = ownRowKernels().keep[ownSizeIndex(pass.bytes)];
    int32_t chunk = ownMin(pass.size.width, scratchBytes / pass.bytes);
    int32_t together = scratchBytes / (chunk * pass.bytes);
    for (int32_t y = 0, rows; y < pass.size.height; y += rows) {
        rows = ownMin(together, pass.size.height - y);
        for (int32_t x = 0, pixels; x < pass.size.width; x += pixels) {
            pixels = ownMin(chunk, pass.size.width - x);
            ptrdiff_t step = ptrdiff_t(pixels) * pass.bytes;
            const uint8_t* bits = pass.mask->start + y * pass.mask->rowStep + (x >> 3);
            for (int i = 0; i < pass.count; ++i) {
                const uint8_t* from = pass.start[i] + y * pass.rowStep[i] + ptrdiff_t(x) * pass.bytes;
                keep({from, other, kept[i].bytes, pixels, rows, pass.rowStep[i], 0, step}, bits, pass.mask->bit,
                     pass.mask->rowStep);
            }
            OwnReadRows all = rowsAt(pass, x, y);
            all.a = kept[0].bytes;
            all.b = pass.count > 1 ? kept[1].bytes : nullptr;
            all.n = pixels;
            all.count = rows;
            all.aStep = all.bStep = step;
            all.endsRow = pixels == pass.size.width - x;
            pass.reading.read(pass.reading.state, all);
        }
    }
}

void readValues(const OwnReading& reading, uint32_t depth, const OwnGeometry* images, int count, OwnSize size,
                const OwnGeometry* mask)
{
    int bytes = ownValueBytes(depth);
    int32_t channels = images[0].channels;
    bool together = int64_t{channels} * bytes * ownReadLanes <= scratchBytes;
    for (int i = 0; i < count; ++i)
        together = together && !images[i].planeStep;
    int32_t passes = together ? 1 : channels;
    for (int32_t channel = 0; channel < passes; ++channel) {
        Pass pass = {reading, size, count, bytes, channel, together ? channels : 1, {}, {}, {}, mask, depth};
        for (int i = 0; i < count; ++i) {
            pass.start[i] = ownChannelStart(images[i], channel, bytes);
            pass.rowStep[i] = images[i].rowStep;
            pass.pixelStep[i] = images[i].pixelStep;
        }
        if (!pass.isCompact() || (mask && pass.channels > 1))
            readInParts(pass);
        else if (mask && !reading.takesMask)
            readKept(pass);
        else
            readWhole(pass);
    }
}

// ---- Bits ---------------------------------------------------------------------------------------------------------

// Bits of a row that come together; a pixel that the mask leaves out is 0, as are the bits behind the last one.
const void* bringBits(const OwnReading& reading, const OwnGeometry& image, const OwnGeometry* mask, int32_t x,
                      int32_t y, int32_t pixels, Scratch& bits, Scratch& unpacked)
{
    const OwnRowKernels& move = ownRowKernels();
    const OwnGeometry& under = mask ? *mask : image;
    const int64_t first = x + int64_t{image.bit}, firstUnder = x + int64_t{under.bit};
    const uint8_t* from = image.start + y * image.rowStep + (first >> 3);
    const uint8_t* selected = under.start + y * under.rowStep + (firstUnder >> 3);
    bits.bytes[(pixels - 1) >> 3] = 0;
    const OwnRowKernel& kernel = mask ? move.bitAnd : move.copy[OWN_1U];
    kernel.bits({from, int(first & 7), selected, int(firstUnder & 7), nullptr, {bits.bytes, 0}, pixels});
    if (reading.packsBits)
        return bits.bytes;
    move.unpackBits(bits.bytes, 0, unpacked.bytes, pixels);
    return unpacked.bytes;
}

void readBits(const OwnReading& reading, const OwnGeometry* images, int count, OwnSize size, const OwnGeometry* mask)
{
    Scratch bits[mostImages], unpacked[mostImages];
    const int32_t chunk = ownMin(reading.packsBits ? scratchBytes * 8 : scratchBytes, size.width);
    for (int i = 0; i < count; ++i)
        memset(bits[i].bytes, 0, size_t((chunk + 7) / 8));  // what comes is put among what is there
    for (int32_t y = 0; y < size.height; ++y) {
        for (int32_t x = 0, pixels; x < size.width; x += pixels) {
            pixels = ownMin(chunk, size.width - x);
            OwnReadRows rows = {nullptr, nullptr, 0, 1, 0, 0, x, y, 0, 1, pixels == size.width - x};
            rows.a = bringBits(reading, images[0], mask, x, y, pixels, bits[0], unpacked[0]);
            if (count > 1)
                rows.b = bringBits(reading, images[1], mask, x, y, pixels, bits[1], unpacked[1]);
            rows.n = reading.packsBits ? (pixels + 7) >> 3 : pixels;
            reading.read(reading.state, rows);
        }
    }
}

}  // namespace

void ownReadPixels(const OwnReading& reading, uint32_t depth, const OwnGeometry* images, int count,
                   const OwnGeometry* mask)
{
    OwnSize size = {images[0].width, images[0].height};
    if (count > 1)
        size = {ownMin(size.width, images[1].width), ownMin(size.height, images[1].height)};
    if (mask)
        size = {ownMin(size.width, mask->width), ownMin(size.height, mask->height)};
    if (size.width <= 0 || size.height <= 0 || images[0].channels <= 0)
        return;
    if (depth == ORV_DEPTH_1U)
        readBits(reading, images, count, size, mask);
    else
        readValues(reading, depth, images, count, size, mask);
}
