#include "ownthree.h"

#include <cstring>

#include "../core/kernels/ownrows.h"

namespace {

// Pixels that pass through scratch at a time: all of it stays in the first-level cache.
constexpr ptrdiff_t scratchPixels = 256;
static_assert(scratchPixels % OWN_TRIPLE_BLOCK == 0);

struct alignas(64) Scratch {
    uint8_t rows[3][scratchPixels * 4];
};

ptrdiff_t wholeBlocks(ptrdiff_t n)
{
    return (n + OWN_TRIPLE_BLOCK - 1) & -ptrdiff_t{OWN_TRIPLE_BLOCK};
}

// One image of the operation. A part of a row is n pixels from column x on; steps see it as whole blocks.
class Side {
public:
    Side(const OwnTripleSide& side, const OwnGeometry& image, const OwnGeometry* mask = nullptr)
        : side(side), image(image), mask(mask)
    {
        for (int i = 0; i < side.values; ++i)
            starts[i] = ownChannelStart(image, side.order[i], side.bytes);
    }

    // Values of a row lie side by side, so that a step may work on whole blocks of them where they are.
    bool isPlain() const { return side.bytes && image.pixelStep == 1 && !mask; }

    // The rows follow one another without a gap.
    bool joins() const
    {
        return side.bytes && !mask && image.rowStep == ptrdiff_t{image.width} * image.pixelStep * side.bytes;
    }

    // Lets `rows` point to the values, in their place or in scratch.
    void bring(int32_t y, ptrdiff_t x, ptrdiff_t n, Scratch& scratch, void** rows) const
    {
        place(y, x, n, scratch, rows);
        if (isInPlace(n))
            return;
        if (!side.bytes)
            ownRowKernels().unpackBits(bitsAt(y, x), image.bit, scratch.rows[0], n);
        else if (isPlain())
            for (int i = 0; i < side.values; ++i)
                memcpy(rows[i], at(i, y, x), size_t(n * side.bytes));
        else
            moves().split[size()](pixelsAt(y, x), image.pixelStep, sideBySide(rows).rows, n);
        // What fills the last block is computed and not used.
        for (int i = 0; i < side.values; ++i)
            memset(static_cast<uint8_t*>(rows[i]) + n * bytes(), 0, size_t((wholeBlocks(n) - n) * bytes()));
    }

    // Lets `rows` point to where the results go, the place itself or scratch.
    void place(int32_t y, ptrdiff_t x, ptrdiff_t n, Scratch& scratch, void** rows) const
    {
        for (int i = 0; i < side.values; ++i)
            rows[i] = isInPlace(n) ? at(i, y, x) : scratch.rows[i];
    }

    // Takes results from scratch.
    void store(int32_t y, ptrdiff_t x, ptrdiff_t n, Scratch& scratch) const
    {
        void* rows[3] = {scratch.rows[0], scratch.rows[1], scratch.rows[2]};
        if (isInPlace(n))
            return;
        if (mask)
            for (int i = 0; i < side.values; ++i)
                storeMasked(y, x, n, rows[i], at(i, y, x));
        else if (!side.bytes)
            ownRowKernels().allBits(scratch.rows[0], 1, 1, {bitsAt(y, x), image.bit}, n);
        else if (isPlain())
            for (int i = 0; i < side.values; ++i)
                memcpy(at(i, y, x), rows[i], size_t(n * side.bytes));
        else
            moves().join[size()](sideBySide(rows).rows, pixelsAt(y, x), image.pixelStep, n);
    }

private:
    const OwnTripleSide& side;
    const OwnGeometry& image;
    const OwnGeometry* mask;
    uint8_t* starts[3] = {};

    struct Rows {
        void* rows[3];
    };

    static const OwnTripleMoves& moves() { return ownTripleMoves(); }
    int bytes() const { return ownMax(side.bytes, 1); }
    int size() const { return ownSizeIndex(side.bytes); }
    bool isInPlace(ptrdiff_t n) const { return isPlain() && n == wholeBlocks(n); }
    uint8_t* at(int i, int32_t y, ptrdiff_t x) const
    {
        return starts[i] + y * image.rowStep + x * image.pixelStep * side.bytes;
    }
    uint8_t* pixelsAt(int32_t y, ptrdiff_t x) const
    {
        return image.start + y * image.rowStep + x * image.pixelStep * side.bytes;
    }
    uint8_t* bitsAt(int32_t y, ptrdiff_t x) const { return image.start + y * image.rowStep + (x >> 3); }

    void storeMasked(int32_t y, ptrdiff_t x, ptrdiff_t n, void* results, uint8_t* values) const
    {
        const uint32_t depth = side.bytes == 1 ? ORV_DEPTH_8U : side.bytes == 2 ? ORV_DEPTH_16U : ORV_DEPTH_32F;
        const auto width = int32_t(n);
        const OwnGeometry images[2] = {{static_cast<uint8_t*>(results), 0, 0, 1, 1, 0, width, 1},
                                       {values, 0, 0, image.pixelStep, 1, 0, width, 1}};
        OwnGeometry under = *mask;
        under.start += y * mask->rowStep + (x >> 3);
        ownProcessPixels(ownPixelOp(ownRowKernels().copy[ownDepthIndex(depth)], depth, nullptr), images, 2, &under);
    }

    // The rows in the order in which their values stand in a pixel.
    Rows sideBySide(void* const* rows) const
    {
        Rows ordered = {};
        for (int i = 0; i < side.values; ++i)
            ordered.rows[side.order[i]] = rows[i];
        return ordered;
    }
};

}  // namespace

void ownRunTriples(const OwnTripleOp& op, const OwnGeometry& src, const OwnGeometry& dst, const OwnGeometry* mask)
{
    const Side from(op.from, src), to(op.to, dst, mask);
    Scratch sources, results;
    ptrdiff_t width = src.width;
    int32_t height = src.height;
    if (from.joins() && to.joins()) {
        width *= height;
        height = 1;
    }
    for (int32_t y = 0; y < height; ++y)
        for (ptrdiff_t x = 0, n; x < width; x += n) {
            n = width - x;
            if (from.isPlain() && to.isPlain() && n > OWN_TRIPLE_BLOCK)
                n &= -ptrdiff_t{OWN_TRIPLE_BLOCK};
            else if (n > scratchPixels)
                n = scratchPixels;
            void *values[3], *made[3];
            from.bring(y, x, n, sources, values);
            to.place(y, x, n, results, made);
            op.step(values, made, wholeBlocks(n), op.scalar);
            to.store(y, x, n, results);
        }
}
