#include "ownpixels.h"

#include <cstring>

#include "kernels/ownrows.h"

namespace {

constexpr int mostImages = 3;

// Scratch for a part of a row: small enough that all of it stays in the first-level cache.
constexpr int scratchBytes = 4096;

struct alignas(64) Scratch {
    uint8_t bytes[scratchBytes];
};

// One row of one image, or of a mask.
struct Row {
    uint8_t* data;
    int32_t step;     // values from pixel to pixel
    int32_t bit = 0;  // of the first pixel, for a mask
};

OwnSize smallestSize(const OwnGeometry* images, int count, const OwnGeometry* mask)
{
    OwnSize size = {images[0].width, images[0].height};
    for (int i = 1; i < count; ++i)
        size = ownMin(size, {images[i].width, images[i].height});
    return mask ? ownMin(size, {mask->width, mask->height}) : size;
}

// ---- Rows of values -----------------------------------------------------------------------------------------------

// How rows reach the kernel.
enum class Shape {
    compact,  // the processed values of every image lie side by side
    blended,  // every image has the same step: unprocessed values between are computed and not stored
    gathered  // some image's values must be brought together first
};

// A blend computes the step's values for each processed one; beyond this a gather is cheaper.
constexpr int32_t widestBlend = 8;

struct ValuePass {
    const OwnPixelOp& op;
    int count;
    int32_t values;  // processed values of a pixel
    Shape shape;
    int32_t step;            // lanes of a pixel
    int32_t chunk;           // pixels that fit scratch, a multiple of 8
    const uint8_t* pattern;  // lanes of a chunk of unmasked, blended pixels
};

Shape shapeOf(const Row* rows, int count, int32_t values)
{
    bool compact = true;
    bool equal = true;
    for (int i = 0; i < count; ++i) {
        compact = compact && rows[i].step == values;
        equal = equal && rows[i].step == rows[0].step;
    }
    if (compact)
        return Shape::compact;
    return equal && rows[0].step <= widestBlend ? Shape::blended : Shape::gathered;
}

// The lanes of blended pixels without a mask.
void makePattern(uint8_t* lanes, int32_t pixels, int32_t step, int32_t values, int bytes)
{
    memset(lanes, 0, size_t(step) * size_t(bytes));
    memset(lanes, 0xFF, size_t(values) * size_t(bytes));
    ownRepeat(lanes, ptrdiff_t{step} * bytes, pixels);
}

struct RowPointers {
    const void* a;
    const void* b;
    void* d;
};

// The kernel's arguments at a pixel: one source's b is the scalar, no source's a is not read.
RowPointers pointersAt(const ValuePass& pass, const Row* rows, ptrdiff_t pixel)
{
    auto at = [&](int i, int bytes) { return rows[i].data + pixel * rows[i].step * bytes; };
    int sources = pass.count - 1;
    return {sources > 0 ? at(0, pass.op.sourceBytes) : nullptr,
            sources > 1 ? static_cast<const void*>(at(1, pass.op.sourceBytes)) : pass.op.scalar,
            at(sources, pass.op.resultBytes)};
}

void blendedRow(const ValuePass& pass, const Row* rows, const Row* mask, int32_t width)
{
    Scratch lanes;
    auto expand = ownRowKernels().lanes[ownSizeIndex(pass.op.resultBytes)];
    OwnSelect select = pass.op.kernel.select;
    for (int32_t x = 0, pixels; x < width; x += pixels) {
        pixels = ownMin(pass.chunk, width - x);
        if (mask)
            expand(mask->data + (x >> 3), mask->bit, pass.step, pass.values, lanes.bytes, pixels);
        RowPointers at = pointersAt(pass, rows, x);
        select(at.a, at.b, at.d, mask ? lanes.bytes : pass.pattern, ptrdiff_t(pixels - 1) * pass.step + pass.values);
    }
}

void gatheredRow(const ValuePass& pass, const Row* rows, const Row* mask, int32_t width)
{
    Scratch lanes, gathered[mostImages];
    const OwnRowKernels& move = ownRowKernels();
    int last = pass.count - 1;
    int result = ownSizeIndex(pass.op.resultBytes);
    for (int32_t x = 0, pixels; x < width; x += pixels) {
        pixels = ownMin(pass.chunk, width - x);
        RowPointers at = pointersAt(pass, rows, x);
        const void* from[2] = {at.a, at.b};
        auto bring = [&](int i, const void* src, int bytes) {
            if (rows[i].step == pass.values)
                return src;
            move.gather[ownSizeIndex(bytes)](src, rows[i].step, pass.values, gathered[i].bytes, pixels);
            return static_cast<const void*>(gathered[i].bytes);
        };
        if (last > 0)
            from[0] = bring(0, at.a, pass.op.sourceBytes);
        if (last > 1)
            from[1] = bring(1, at.b, pass.op.sourceBytes);
        bool direct = rows[last].step == pass.values;
        void* d = direct ? at.d : gathered[last].bytes;
        ptrdiff_t n = ptrdiff_t(pixels) * pass.values;
        if (mask) {
            if (!direct)
                bring(last, at.d, pass.op.resultBytes);
            move.lanes[result](mask->data + (x >> 3), mask->bit, pass.values, pass.values, lanes.bytes, pixels);
            pass.op.kernel.select(from[0], from[1], d, lanes.bytes, n);
        } else {
            pass.op.kernel.run({from[0], from[1], d, n});
        }
        if (!direct)
            move.scatter[result](d, at.d, rows[last].step, pass.values, pixels);
    }
}

void valueRow(const ValuePass& pass, const Row* rows, const Row* mask, int32_t width)
{
    if (pass.shape == Shape::gathered) {
        gatheredRow(pass, rows, mask, width);
    } else if (pass.step == 1 && pass.op.kernel.masked && width >= OWN_MASKED_LEAST) {
        RowPointers at = pointersAt(pass, rows, 0);
        pass.op.kernel.masked(at.a, at.b, at.d, mask->data, mask->bit, width);
    } else {
        blendedRow(pass, rows, mask, width);
    }
}

// The plain case, without a thought for a row.
void compactRows(const ValuePass& pass, const OwnGeometry* images, const Row* rows, OwnSize size)
{
    int sources = pass.count - 1;
    OwnRows all = {.a = sources > 0 ? rows[0].data : nullptr,
                   .b = sources > 1 ? rows[1].data : pass.op.scalar,
                   .d = rows[sources].data,
                   .n = ptrdiff_t(size.width) * pass.values,
                   .count = size.height,
                   .aStep = sources > 0 ? images[0].rowStep : 0,
                   .bStep = sources > 1 ? images[1].rowStep : 0,
                   .dStep = images[sources].rowStep};
    pass.op.kernel.run(all);
}

// Rows that follow one another without a gap, also those of the mask, are one row.
void joinRows(const OwnPixelOp& op, const OwnGeometry* images, const Row* rows, int count, const OwnGeometry* mask,
              OwnSize& size)
{
    for (int i = 0; i < count; ++i) {
        int bytes = i == count - 1 ? op.resultBytes : op.sourceBytes;
        if (images[i].rowStep != ptrdiff_t(size.width) * rows[i].step * bytes)
            return;
    }
    if (mask && mask->rowStep * 8 != size.width)
        return;
    if (int64_t{size.width} * size.height > INT32_MAX)
        return;
    size = {size.width * size.height, 1};
}

// One pass over the region: all processed channels of pixels side by side, or one channel.
void valuePass(const OwnPixelOp& op, const OwnGeometry* images, Row* rows, int count, int32_t values, OwnSize size,
               const OwnGeometry* mask)
{
    ValuePass pass = {op, count, values, shapeOf(rows, count, values), rows[0].step, 0, nullptr};
    if (pass.shape != Shape::blended)
        pass.step = values;
    int pixelBytes = pass.step * ownMax(op.sourceBytes, op.resultBytes);
    pass.chunk = scratchBytes / pixelBytes & ~7;
    joinRows(op, images, rows, count, mask, size);
    if (pass.shape == Shape::compact && !mask)
        return compactRows(pass, images, rows, size);
    Scratch pattern;
    if (pass.shape == Shape::blended && !mask) {
        makePattern(pattern.bytes, ownMin(pass.chunk, size.width), pass.step, values, op.resultBytes);
        pass.pattern = pattern.bytes;
    }
    Row maskRow = mask ? Row{mask->start, 1, mask->bit} : Row{};
    for (int32_t y = 0; y < size.height; ++y) {
        valueRow(pass, rows, mask ? &maskRow : nullptr, size.width);
        for (int i = 0; i < count; ++i)
            rows[i].data += images[i].rowStep;
        if (mask)
            maskRow.data += mask->rowStep;
    }
}

void processValues(const OwnPixelOp& op, const OwnGeometry* images, int count, OwnSize size, const OwnGeometry* mask)
{
    int32_t channels = images[count - 1].channels;
    bool together = int64_t{channels} * ownMax(op.sourceBytes, op.resultBytes) * 8 <= scratchBytes;
    for (int i = 0; i < count; ++i)
        together = together && !images[i].planeStep;
    Row rows[mostImages];
    int32_t passes = together ? 1 : channels;
    for (int32_t channel = 0; channel < passes; ++channel) {
        for (int i = 0; i < count; ++i) {
            int bytes = i == count - 1 ? op.resultBytes : op.sourceBytes;
            rows[i] = {ownChannelStart(images[i], channel, bytes), images[i].pixelStep};
        }
        valuePass(op, images, rows, count, together ? channels : 1, size, mask);
    }
}

// ---- Rows of bits -------------------------------------------------------------------------------------------------

// True if the rows of a 1U image follow one another without a gap.
bool joinsBits(const OwnGeometry& image, OwnSize size)
{
    return image.bit == 0 && image.rowStep * 8 == size.width;
}

void processBits(const OwnPixelOp& op, const OwnGeometry* images, int count, OwnSize size, const OwnGeometry* mask)
{
    const int sources = count - 1;
    const OwnGeometry none = {};
    const OwnGeometry &a = sources > 0 ? images[0] : none, &b = sources > 1 ? images[1] : none, &d = images[sources],
                      &m = mask ? *mask : none;
    OwnBitRows rows = {.a = a.start,
                       .aBit = a.bit,
                       .b = b.start,
                       .bBit = b.bit,
                       .scalar = op.scalar,
                       .to = {d.start, d.bit, m.start, m.bit},
                       .n = 0,
                       .count = size.height,
                       .aStep = a.rowStep,
                       .bStep = b.rowStep,
                       .bitStep = d.rowStep,
                       .maskStep = m.rowStep};
    bool joined = !mask || joinsBits(*mask, size);
    for (int i = 0; i < count; ++i)
        joined = joined && joinsBits(images[i], size);
    if (joined)
        rows.count = 1;
    ownRunBits(op.kernel, rows, joined ? int64_t{size.width} * size.height : size.width);
}

// ---- Values to bits -----------------------------------------------------------------------------------------------

struct TestPass {
    const OwnTestOp& op;
    int sources;
    int32_t passes;  // over a row: for all processed channels together, or channel by channel
    int32_t values;  // of a pixel in a pass
    bool asTheyLie;  // the sources have one step, so that rows can be tested with what lies between
    bool plain;      // one value a pixel, side by side
    int32_t step;    // lanes of a pixel
    int32_t chunk;   // pixels that fit scratch, a multiple of 8
};

TestPass testPass(const OwnTestOp& op, const OwnGeometry* images, int sources)
{
    int32_t channels = images[0].channels;
    bool together = int64_t{channels} * op.sourceBytes * 8 <= scratchBytes;
    bool equal = images[0].pixelStep <= widestBlend;
    for (int i = 0; i < sources; ++i) {
        together = together && !images[i].planeStep;
        equal = equal && images[i].pixelStep == images[0].pixelStep;
    }
    together = together || channels == 1;
    int32_t values = together ? channels : 1;
    int32_t step = equal ? images[0].pixelStep : values;
    int32_t chunk = (scratchBytes / (step * op.sourceBytes)) & ~7;
    return {op, sources, together ? 1 : channels, values, equal, together && equal && step == 1, step, chunk};
}

// Tests a channel, or all, of the pixels from x on and stores their bits.
void testPixels(const TestPass& pass, const OwnGeometry* images, int32_t channel, int32_t y, int32_t x, int32_t pixels,
                const OwnBitPlace& to)
{
    int bytes = pass.op.sourceBytes;
    const void* from[2] = {nullptr, nullptr};
    for (int i = 0; i < pass.sources; ++i)
        from[i] = ownChannelStart(images[i], channel, bytes) + y * images[i].rowStep +
                  ptrdiff_t(x) * images[i].pixelStep * bytes;
    const OwnRowKernels& move = ownRowKernels();
    Scratch lanes, gathered[2];
    for (int i = 0; i < pass.sources; ++i)
        if (!pass.asTheyLie && images[i].pixelStep != pass.values) {
            move.gather[ownSizeIndex(bytes)](from[i], images[i].pixelStep, pass.values, gathered[i].bytes, pixels);
            from[i] = gathered[i].bytes;
        }
    if (pass.step == 1)
        return pass.op.kernel.bits({from[0], from[1], pass.op.scalar, to, pixels});
    pass.op.kernel.lanes(from[0], from[1], pass.op.scalar, lanes.bytes,
                         ptrdiff_t(pixels - 1) * pass.step + pass.values);
    move.allBits(lanes.bytes, pass.step, pass.values, to, pixels);
}

// The plain case, whole rows.
void testRows(const TestPass& pass, const OwnGeometry* images, const OwnGeometry* mask, OwnSize size)
{
    const OwnGeometry& a = images[0];
    const OwnGeometry& b = images[pass.sources - 1];
    const OwnGeometry& d = images[pass.sources];
    OwnTestRows rows = {.a = a.start,
                        .b = b.start,
                        .scalar = pass.op.scalar,
                        .to = {d.start, d.bit},
                        .n = size.width,
                        .count = size.height,
                        .aStep = a.rowStep,
                        .bStep = b.rowStep,
                        .bitStep = d.rowStep};
    if (mask) {
        rows.to.mask = mask->start;
        rows.to.maskBit = mask->bit;
        rows.maskStep = mask->rowStep;
    }
    pass.op.kernel.bits(rows);
}

// The same for bits that come of several passes.
void testChannels(const TestPass& pass, const OwnGeometry* images, int32_t y, int32_t x, int32_t pixels,
                  const OwnBitPlace& to)
{
    const OwnRowKernels& move = ownRowKernels();
    Scratch bits, more;
    // Kernels read the bytes that they store bits in.
    const auto used = size_t((to.bit + pixels + 7) >> 3);
    memset(bits.bytes, 0, used);
    memset(more.bytes, 0, used);
    testPixels(pass, images, 0, y, x, pixels, {bits.bytes, to.bit});
    for (int32_t channel = 1; channel < pass.passes; ++channel) {
        testPixels(pass, images, channel, y, x, pixels, {more.bytes, to.bit});
        move.bitAnd.bits({bits.bytes, to.bit, more.bytes, to.bit, nullptr, {bits.bytes, to.bit}, pixels});
    }
    move.copy[OWN_1U].bits({bits.bytes, to.bit, nullptr, 0, nullptr, to, pixels});
}

// Rows that follow one another without a gap are one row.
void joinTestedRows(const TestPass& pass, const OwnGeometry* images, const OwnGeometry* mask, OwnSize& size)
{
    for (int i = 0; i < pass.sources; ++i)
        if (images[i].rowStep != ptrdiff_t(size.width) * images[i].pixelStep * pass.op.sourceBytes)
            return;
    if (joinsBits(images[pass.sources], size) && (!mask || joinsBits(*mask, size)) && pass.passes == 1 &&
        int64_t{size.width} * size.height <= INT32_MAX)
        size = {size.width * size.height, 1};
}

}  // namespace

void ownRunBits(const OwnRowKernel& kernel, OwnBitRows rows, int64_t n)
{
    // As many bits as can be counted on every machine.
    constexpr int64_t most = int64_t{1} << 30;
    auto advance = [](const uint8_t* bits, int64_t by) { return bits ? bits + (by >> 3) : bits; };
    for (; n > 0; n -= rows.n) {
        rows.n = ptrdiff_t(n < most ? n : most);
        kernel.bits(rows);
        rows.a = advance(rows.a, rows.n);
        rows.b = advance(rows.b, rows.n);
        rows.to.data += rows.n >> 3;
        rows.to.mask = advance(rows.to.mask, rows.n);
    }
}

void ownCopyBits(const uint8_t* src, int64_t from, uint8_t* dst, int64_t to, int64_t n)
{
    OwnBitRows rows = {.a = src + (from >> 3),
                       .aBit = int(from & 7),
                       .b = nullptr,
                       .bBit = 0,
                       .scalar = nullptr,
                       .to = {dst + (to >> 3), int(to & 7)},
                       .n = 0};
    ownRunBits(ownRowKernels().copy[OWN_1U], rows, n);
}

OwnDepthValue ownDepthValue(uint32_t depth, int32_t value)
{
    OwnDepthValue scalar;
    switch (depth & ORV_DEPTH_MASK) {
    case 1: scalar.bits8 = value & 1 ? 0xFF : 0; break;
    case 8: scalar.bits8 = uint8_t(value); break;
    case 16: scalar.bits16 = uint16_t(value); break;
    default: scalar.bits32 = uint32_t(value); break;
    }
    return scalar;
}

void ownRepeat(uint8_t* data, ptrdiff_t bytes, ptrdiff_t n)
{
    ptrdiff_t total = bytes * n;
    for (ptrdiff_t done = bytes; done < total; done *= 2)
        memcpy(data + done, data, size_t(done < total - done ? done : total - done));
}

OwnPixelOp ownPixelOp(const OwnRowKernel& kernel, uint32_t depth, const void* scalar)
{
    int bytes = ownValueBytes(depth);
    return {kernel, bytes, bytes, scalar};
}

void ownProcessPixels(const OwnPixelOp& op, const OwnGeometry* images, int count, const OwnGeometry* mask)
{
    OwnSize size = smallestSize(images, count, mask);
    if (size.width <= 0 || size.height <= 0 || images[count - 1].channels <= 0)
        return;
    if (op.resultBytes == 0)
        processBits(op, images, count, size, mask);
    else
        processValues(op, images, count, size, mask);
}

void ownProcessToBits(const OwnTestOp& op, const OwnGeometry* images, int count, const OwnGeometry* mask)
{
    OwnSize size = smallestSize(images, count, mask);
    if (size.width <= 0 || size.height <= 0 || images[0].channels <= 0)
        return;
    TestPass pass = testPass(op, images, count - 1);
    const OwnGeometry& result = images[count - 1];
    joinTestedRows(pass, images, mask, size);
    if (pass.plain)
        return testRows(pass, images, mask, size);
    for (int32_t y = 0; y < size.height; ++y)
        for (int32_t x = 0, pixels; x < size.width; x += pixels) {
            pixels = ownMin(pass.chunk, size.width - x);
            OwnBitPlace to = {result.start + y * result.rowStep + (x >> 3), result.bit};
            if (mask) {
                to.mask = mask->start + y * mask->rowStep + (x >> 3);
                to.maskBit = mask->bit;
            }
            if (pass.passes == 1)
                testPixels(pass, images, 0, y, x, pixels, to);
            else
                testChannels(pass, images, y, x, pixels, to);
        }
}

void ownStoreBits(const OwnGeometry& rows, const OwnGeometry& image, const OwnGeometry& mask, int32_t y)
{
    OwnGeometry to = image, under = mask;
    to.start += y * image.rowStep;
    to.height -= y;
    under.start += y * mask.rowStep;
    under.height -= y;
    const OwnGeometry images[2] = {rows, to};
    ownProcessPixels(ownPixelOp(ownRowKernels().copy[OWN_1U], ORV_DEPTH_1U, nullptr), images, 2,
                     mask.start ? &under : nullptr);
}

void ownSwapPixels(uint32_t depth, const OwnGeometry& a, const OwnGeometry& b, const OwnGeometry* mask)
{
    // The mask may be one of the images. That one must be written last, as `a` is.
    if (mask && mask->start == b.start && mask->start != a.start)
        return ownSwapPixels(depth, b, a, mask);
    const OwnGeometry images[2] = {a, b};
    OwnSize size = smallestSize(images, 2, mask);
    if (size.width <= 0 || size.height <= 0 || a.channels <= 0)
        return;
    OwnPixelOp copy = ownPixelOp(ownRowKernels().copy[ownDepthIndex(depth)], depth, nullptr);
    int bytes = ownValueBytes(depth);
    // Part of a row at a time, one channel where pixels are wide, through a row of its own.
    Scratch kept;
    int32_t channels =
        int64_t{a.channels} * ownMax(bytes, 1) * 8 <= scratchBytes && !a.planeStep && !b.planeStep ? a.channels : 1;
    int32_t chunk = bytes ? (scratchBytes / (channels * bytes)) & ~7 : scratchBytes * 8;
    if (!bytes)
        memset(kept.bytes, 0, size_t((ownMin(chunk, size.width) + 7) / 8));  // bits are put among what is there
    for (int32_t channel = 0; channel < a.channels; channel += channels)
        for (int32_t y = 0; y < size.height; ++y)
            for (int32_t x = 0, pixels; x < size.width; x += pixels) {
                pixels = ownMin(chunk, size.width - x);
                auto part = [&](const OwnGeometry& image) {
                    OwnGeometry piece = image;
                    piece.start = ownChannelStart(image, channel, bytes) + y * image.rowStep +
                                  (bytes ? ptrdiff_t(x) * image.pixelStep * bytes : x >> 3);
                    piece.width = pixels;
                    piece.height = 1;
                    piece.channels = channels;
                    return piece;
                };
                OwnGeometry keep = {kept.bytes, 0, 0, channels, channels, 0, chunk, 1};
                OwnGeometry maskPart;
                if (mask) {
                    maskPart = *mask;
                    maskPart.start += y * mask->rowStep + (x >> 3);
                    maskPart.height = 1;
                }
                const OwnGeometry* under = mask ? &maskPart : nullptr;
                OwnGeometry pieceA = part(a), pieceB = part(b);
                const OwnGeometry aside[2] = {pieceB, keep}, across[2] = {pieceA, pieceB}, back[2] = {keep, pieceA};
                ownProcessPixels(copy, aside, 2, nullptr);
                ownProcessPixels(copy, across, 2, under);
                ownProcessPixels(copy, back, 2, under);
            }
}
