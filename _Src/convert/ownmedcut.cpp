// Palettes by median cut.
//
// P. Heckbert, "Color image quantization for frame buffer display", SIGGRAPH 1982: the colours of an image, on a grid
// of 6 bits for each component, lie in a box; boxes are split in two at the median of their longest side until there
// are enough; each gives its mean colour. An image of one channel is the same with one axis and all of its 8 bits.
#include <cstring>

#include "../core/ownregion.h"
#include "../core/ownscratch.h"
#include "../core/ownvalue.h"
#include "owndib.h"

namespace {

// ---- Histograms ---------------------------------------------------------------------------------------------------

constexpr int gridBits = 6;
constexpr int32_t gridCells = 1 << 3 * gridBits;

// The cells of the pixels' values: of one axis, or of three with R in the low bits.
struct Histogram {
    int axes;
    int32_t side;  // cells along an axis
    uint32_t* counts;

    int32_t cells() const { return axes == 1 ? side : gridCells; }
    static constexpr int shift(int axis) { return axis * gridBits; }
};

// Calls visit(first, step) with the row of each channel that is named, from its most significant bytes on: of the
// pixels `step` bytes apart.
template <class Visit>
void forRows(const OrvImage& image, Visit visit)
{
    ptrdiff_t bytes = ownValueBytes(image.depth);
    bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
    ptrdiff_t step = bytes * (planes ? 1 : image.nChannels);
    ptrdiff_t channelStep = planes ? ptrdiff_t(image.height) * image.widthStep : bytes;
    for (int32_t y = 0; y < image.height; ++y)
        visit(image.imageData + ptrdiff_t(y) * image.widthStep + (ownIsBigEndian ? 0 : bytes - 1), channelStep, step);
}

void countGreys(const OrvImage& image, uint32_t* counts)
{
    forRows(image, [&](const uint8_t* row, ptrdiff_t, ptrdiff_t step) {
        for (int32_t x = 0; x < image.width; ++x)
            ++counts[row[x * step]];
    });
}

void countColours(const OrvImage& image, int redChannel, int blueChannel, uint32_t* counts)
{
    forRows(image, [&](const uint8_t* row, ptrdiff_t channelStep, ptrdiff_t step) {
        const uint8_t *red = row + redChannel * channelStep, *green = row + channelStep,
                      *blue = row + blueChannel * channelStep;
        for (int32_t x = 0; x < image.width; ++x)
            ++counts[red[x * step] >> 2 | green[x * step] >> 2 << 6 | blue[x * step] >> 2 << 12];
    });
}

int32_t occupiedCells(const Histogram& histogram)
{
    int32_t occupied = 0;
    for (int32_t i = 0; i < histogram.cells(); ++i)
        occupied += histogram.counts[i] != 0;
    return occupied;
}

// ---- Boxes --------------------------------------------------------------------------------------------------------

struct Box {
    int32_t low[3], high[3];  // cells along each axis
    int64_t pixels;
    bool single;  // cannot be split

    int32_t side(int axis) const { return high[axis] - low[axis]; }
};

// Calls visit(count, cell) for every cell of a box, the cells of another axis than R being rows of cells of R.
template <class Visit>
void forCells(const Histogram& histogram, const Box& box, Visit visit)
{
    for (int32_t b = box.low[2]; b <= box.high[2]; ++b)
        for (int32_t g = box.low[1]; g <= box.high[1]; ++g) {
            const uint32_t* row = histogram.counts + (b << Histogram::shift(2) | g << Histogram::shift(1));
            for (int32_t r = box.low[0]; r <= box.high[0]; ++r)
                visit(row[r], r, g, b);
        }
}

// The pixels of a box's slice at a place of an axis.
int64_t pixelsAt(const Histogram& histogram, Box box, int axis, int32_t place)
{
    int64_t pixels = 0;
    box.low[axis] = box.high[axis] = place;
    forCells(histogram, box, [&](uint32_t count, int32_t, int32_t, int32_t) { pixels += count; });
    return pixels;
}

// Moves the faces of a box in until there is a pixel at each.
void shrink(const Histogram& histogram, Box& box)
{
    for (int axis = 0; axis < histogram.axes; ++axis) {
        while (box.low[axis] < box.high[axis] && !pixelsAt(histogram, box, axis, box.low[axis]))
            ++box.low[axis];
        while (box.low[axis] < box.high[axis] && !pixelsAt(histogram, box, axis, box.high[axis]))
            --box.high[axis];
    }
    box.single = box.side(0) == 0 && box.side(1) == 0 && box.side(2) == 0;
}

int longestAxis(const Box& box)
{
    int32_t red = box.side(0), green = box.side(1), blue = box.side(2);
    if (red >= green && red >= blue)
        return 0;
    return green < blue ? 2 : 1;
}

// Splits a box at its median: it keeps the low part, and the rest becomes the second one.
void split(const Histogram& histogram, Box& box, Box& second)
{
    const int axis = longestAxis(box);
    const int64_t half = box.pixels >> 1;
    int32_t last = box.low[axis];
    int64_t before = 0, upTo = pixelsAt(histogram, box, axis, last);
    while (upTo <= half && last < box.high[axis]) {
        before = upTo;
        upTo += pixelsAt(histogram, box, axis, ++last);
    }
    if (half - before < upTo - half) {
        upTo = before;
        --last;
    }
    second = box;
    box.high[axis] = last;
    second.low[axis] = last + 1;
    second.pixels = box.pixels - upTo;
    box.pixels = upTo;
    shrink(histogram, box);
    shrink(histogram, second);
}

// Splits the boxes, in passes over those that there are when a pass begins, until there are `most`.
int32_t splitAll(const Histogram& histogram, Box* boxes, int32_t most)
{
    int32_t count = 1;
    for (int32_t before = 0; before < count && count < most;) {
        before = count;
        for (int32_t i = 0; i < before && count < most; ++i)
            if (!boxes[i].single)
                split(histogram, boxes[i], boxes[count++]);
    }
    return count;
}

uint32_t meanColour(const Histogram& histogram, const Box& box)
{
    int64_t red = 0, green = 0, blue = 0;
    forCells(histogram, box, [&](uint32_t count, int32_t r, int32_t g, int32_t b) {
        red += int64_t{count} * r;
        green += int64_t{count} * g;
        blue += int64_t{count} * b;
    });
    if (histogram.axes == 1)
        return uint32_t(red / box.pixels) * 0x010101;
    return uint32_t(red * 4 / box.pixels << 16 | green * 4 / box.pixels << 8 | blue * 4 / box.pixels);
}

uint32_t cellColour(const Histogram& histogram, int32_t cell)
{
    if (histogram.axes == 1)
        return uint32_t(cell) * 0x010101;
    auto component = [=](int axis) { return uint32_t(cell >> Histogram::shift(axis) & 63) * 4; };
    return component(0) << 16 | component(1) << 8 | component(2);
}

// Makes at most `most` colours; answers how many.
int32_t makePalette(const Histogram& histogram, int32_t most, uint32_t* colours)
{
    int32_t count = 0;
    if (occupiedCells(histogram) <= most) {
        for (int32_t i = 0; i < histogram.cells(); ++i)
            if (histogram.counts[i])
                colours[count++] = cellColour(histogram, i);
        return count;
    }
    Box boxes[256];
    boxes[0] = {};
    for (int axis = 0; axis < histogram.axes; ++axis)
        boxes[0].high[axis] = histogram.side - 1;
    for (int32_t i = 0; i < histogram.cells(); ++i)
        boxes[0].pixels += histogram.counts[i];
    shrink(histogram, boxes[0]);
    count = splitAll(histogram, boxes, most);
    for (int32_t i = 0; i < count; ++i)
        colours[i] = meanColour(histogram, boxes[i]);
    return count;
}

}  // namespace

int32_t ownMedCutPalette(OwnBitmap& bitmap, const OrvImage& image)
{
    if (bitmap.header.biBitCount > 8)
        return 0;
    uint32_t room = ownPaletteSize(bitmap.header), values = 1u << bitmap.header.biBitCount;
    auto most = int32_t(room < values ? room : values);
    uint32_t colours[256] = {0x000000, 0xFFFFFF};
    int32_t count = ownMin(most, 2);
    if (image.depth != ORV_DEPTH_1U) {
        bool grey = image.nChannels == 1, rgb = ownColours(image) == OwnColours::rgb;
        if (!grey && !rgb && ownColours(image) != OwnColours::bgr)
            return 0;
        OwnScratch<uint32_t> counts(grey ? 256 : gridCells);
        if (!counts)
            return 0;
        const Histogram histogram = {grey ? 1 : 3, grey ? 256 : 1 << gridBits, counts.data};
        memset(counts.data, 0, size_t(histogram.cells()) * sizeof counts[0]);
        if (grey)
            countGreys(image, counts.data);
        else
            countColours(image, rgb ? 0 : 2, rgb ? 2 : 0, counts.data);
        count = makePalette(histogram, most, colours);
    }
    for (int32_t i = 0; i < count; ++i)
        ownSetPaletteEntry(bitmap, uint32_t(i), colours[i]);
    bitmap.header.biClrUsed = uint32_t(count);
    return 1;
}
