#include "ownborder.h"

#include <cstring>

#include "kernels/ownrows.h"
#include "ownpixels.h"
#include "ownvalue.h"
#include "ownwalk.h"

namespace {

// Indices of the sides in a header's border fields.
enum Side { top, bottom, left, right };

int32_t borderMode(const OrvImage& image, int side)
{
    return image.borderMode[side] & 3;
}

// ---- Positions ----------------------------------------------------------------------------------------------------

// Neighbouring positions that read the image in one direction: from column `from` on, `count` times `direction`
// onwards.
struct Run {
    int32_t from;
    int32_t direction;  // 1, -1 or 0
    int32_t count;
};

int64_t modulo(int64_t a, int64_t n)
{
    int64_t rest = a % n;
    return rest < 0 ? rest + n : rest;
}

// The run that begins at a position outside 0 .. size - 1, with at most `most` positions. Not for constants.
Run runAt(int64_t position, int32_t size, int32_t mode, int32_t most)
{
    if (mode == ORV_BORDER_REPLICATE)
        return {position < 0 ? 0 : size - 1, 0, most};
    bool reflects = mode == ORV_BORDER_REFLECT;
    int64_t place = modulo(position, reflects ? int64_t{2} * size : size);
    if (place < size)
        return {int32_t(place), 1, ownMin(most, int32_t(size - place))};
    int64_t from = int64_t{2} * size - 1 - place;
    return {int32_t(from), -1, ownMin(most, int32_t(from) + 1)};
}

// ---- What is read -------------------------------------------------------------------------------------------------

// A row of the rectangle.
struct Line {
    int32_t row;              // of the image; none for constants
    int leftSide, rightSide;  // that rule the columns outside the image

    static constexpr int32_t none = -1;
    bool operator==(const Line&) const = default;
};

Line lineAt(const OrvImage& image, int64_t y)
{
    if (y >= 0 && y < image.height)
        return {int32_t(y), left, right};
    int side = y < 0 ? top : bottom;
    int32_t mode = borderMode(image, side);
    return {mode == ORV_BORDER_CONSTANT ? Line::none : runAt(y, image.height, mode, 1).from, side, side};
}

// The columns of the rectangle in three parts.
struct Columns {
    int64_t x;  // of the first
    int32_t left, inside, right;

    Columns(int64_t first, int32_t count, int32_t width) : x(first)
    {
        left = int32_t(x >= 0 ? 0 : -x < count ? -x : count);
        int64_t room = width - (x + left);
        inside = int32_t(room <= 0 ? 0 : room < count - left ? room : count - left);
        right = count - left - inside;
    }
    int32_t count() const { return left + inside + right; }
};

// Hands the columns of the image that a line needs to visit(from, to), as few ranges.
template <class Visit>
void forNeededColumns(const OrvImage& image, const Line& line, const Columns& columns, Visit visit)
{
    auto outside = [&](int side, int64_t position, int32_t count) {
        int32_t mode = borderMode(image, side);
        if (mode == ORV_BORDER_CONSTANT)
            return;
        for (int runs = 0; count > 0; ++runs) {
            if (runs == 2)  // there have been whole columns between two edges
                return visit(0, image.width - 1);
            Run run = runAt(position, image.width, mode, count);
            int32_t end = run.from + run.direction * (run.count - 1);
            visit(ownMin(run.from, end), ownMax(run.from, end));
            position += run.count;
            count -= run.count;
        }
    };
    if (line.row == Line::none)
        return;
    int64_t inside = columns.x + columns.left;
    outside(line.leftSide, columns.x, columns.left);
    if (columns.inside)
        visit(int32_t(inside), int32_t(inside) + columns.inside - 1);
    outside(line.rightSide, inside + columns.inside, columns.right);
}

// ---- Moving pixels ------------------------------------------------------------------------------------------------

// How the pixels that are read lie in the image's memory and in the result. Bits are moved by functions of their own.
struct Layout {
    OwnDepthIndex depth;
    int valueBytes;  // 0 for bits
    int32_t values;  // of a pixel that are read
    int32_t step;    // values from pixel to pixel in the image

    ptrdiff_t pixelBytes() const { return ptrdiff_t(values) * valueBytes; }
    ptrdiff_t stepBytes() const { return ptrdiff_t(step) * valueBytes; }
};

bool bitAt(const uint8_t* row, int64_t x)
{
    return row[x >> 3] & (128 >> (x & 7));
}

// Sets bits of a cleared row.
void setBits(uint8_t* row, int64_t from, int32_t n)
{
    for (int64_t x = from; x < from + n; ++x)
        row[x >> 3] = uint8_t(row[x >> 3] | 128 >> (x & 7));
}

// Copies a run of pixels of one cell to pixel `to` of the result's row.
void copyRun(const Layout& layout, const uint8_t* src, const Run& run, uint8_t* dst, int64_t to)
{
    if (!layout.valueBytes) {
        if (run.direction > 0)
            ownCopyBits(src, run.from, dst, to, run.count);
        else
            for (int32_t i = 0; i < run.count; ++i)
                if (bitAt(src, run.from + int64_t{run.direction} * i))
                    setBits(dst, to + i, 1);
        return;
    }
    ptrdiff_t bytes = layout.pixelBytes();
    ptrdiff_t step = layout.stepBytes();
    src += run.from * step;
    dst += to * bytes;
    if (run.direction > 0 && step == bytes) {
        memcpy(dst, src, size_t(bytes * run.count));
    } else if (run.direction > 0) {
        ownRowKernels().gather[ownSizeIndex(layout.valueBytes)](src, layout.step, layout.values, dst, run.count);
    } else if (run.direction < 0) {
        for (int32_t i = 0; i < run.count; ++i)
            memcpy(dst + i * bytes, src - i * step, size_t(bytes));
    } else {
        memcpy(dst, src, size_t(bytes));
        ownRepeat(dst, bytes, run.count);
    }
}

// Fills n pixels from pixel `to` on with a side's constant.
void fillConstant(const Layout& layout, const OrvImage& image, int side, uint8_t* dst, int64_t to, int32_t n)
{
    int32_t value = ownClampToDepth(image.depth, image.borderConst[side]);
    if (!layout.valueBytes) {
        if (value)
            setBits(dst, to, n);
        return;
    }
    OwnDepthValue scalar = ownDepthValue(image.depth, value);
    if (image.depth == ORV_DEPTH_32F)
        scalar.real = float(value);
    ownRowKernels().fill[layout.depth].run(
        {nullptr, &scalar, dst + to * layout.pixelBytes(), ptrdiff_t(n) * layout.values});
}

// ---- Reading ------------------------------------------------------------------------------------------------------

// Its address stands in the list of tiles for one that is needed and not yet open.
uint8_t stillToOpen;

// Reads lines of an image into rows of memory. A cell is a tile, or the one buffer of an image without tiles.
class Reader {
public:
    // All channels, or one channel if `channel` is not negative.
    Reader(OrvImage* from, int32_t channel, int64_t x, int32_t count)
        : image(*from), tiles(from->tileInfo), columns(x, count, from->width)
    {
        bool planes = image.dataOrder == ORV_DATA_ORDER_PLANE;
        int32_t pixelValues = planes ? 1 : image.nChannels;
        bool one = channel >= 0;
        layout = {ownDepthIndex(image.depth), ownValueBytes(image.depth), one ? 1 : pixelValues, pixelValues};
        cellWidth = tiles ? tiles->width : image.width;
        cellHeight = tiles ? tiles->height : image.height;
        rowStep = tiles ? ptrdiff_t(ownLineBytes(image.dataOrder, image.depth, image.align, image.nChannels, cellWidth))
                        : image.widthStep;
        planeStep = planes ? rowStep * cellHeight : 0;
        planeCount = planes && !one ? image.nChannels : 1;
        start = !one ? 0 : planes ? channel * planeStep : ptrdiff_t(channel) * layout.valueBytes;
    }

    // Reads `height` lines from y on; false if memory or a tile does not come.
    bool read(int64_t y, int32_t height, uint8_t* dst, ptrdiff_t dstStep)
    {
        ptrdiff_t dstPlaneStep = dstStep * height;
        for (int32_t done = 0; done < height;) {
            int32_t rows = linesOfOneCellRow(y + done, height - done);
            if (!readLines(y + done, rows, dst + done * dstStep, dstStep, dstPlaneStep))
                return false;
            done += rows;
        }
        return true;
    }

    bool tileRefused = false;

private:
    OrvImage& image;
    OrvTileInfo* tiles;
    Columns columns;
    Layout layout;
    int32_t cellWidth, cellHeight;
    ptrdiff_t rowStep, planeStep;
    int32_t planeCount;
    ptrdiff_t start;  // of the values that are read, from a cell's start
    int32_t firstCell = 0;
    uint8_t* const* cells = nullptr;  // from cell column firstCell on

    int32_t cellRowAt(int64_t y) const
    {
        Line line = lineAt(image, y);
        return line.row == Line::none ? Line::none : line.row / cellHeight;
    }

    int32_t linesOfOneCellRow(int64_t y, int32_t most) const
    {
        if (!tiles)
            return most;
        int32_t cellRow = cellRowAt(y);
        int32_t rows = 1;
        while (rows < most && cellRowAt(y + rows) == cellRow)
            ++rows;
        return rows;
    }

    bool readLines(int64_t y, int32_t rows, uint8_t* dst, ptrdiff_t dstStep, ptrdiff_t dstPlaneStep)
    {
        if (!tiles) {
            cells = &image.imageData;
            copyLines(y, rows, dst, dstStep, dstPlaneStep);
            return true;
        }
        int32_t low = INT32_MAX, high = -1;
        forCellRanges(y, rows, [&](int32_t from, int32_t to) {
            low = ownMin(low, from);
            high = ownMax(high, to);
        });
        if (high < 0) {
            copyLines(y, rows, dst, dstStep, dstPlaneStep);
            return true;
        }
        OwnScratch<uint8_t*> list(int64_t{high} - low + 1);
        if (!list)
            return false;
        for (int32_t i = low; i <= high; ++i)
            list[i - low] = nullptr;
        forCellRanges(y, rows, [&](int32_t from, int32_t to) {
            for (int32_t i = from; i <= to; ++i)
                list[i - low] = &stillToOpen;
        });
        int32_t row = cellRowAt(y);
        for (int32_t i = low; i <= high; ++i)
            if (list[i - low] && !(list[i - low] = ownOpenTile(&image, i, row, ORV_TILE_READ))) {
                tileRefused = true;
                return false;
            }
        firstCell = low;
        cells = list.data;
        copyLines(y, rows, dst, dstStep, dstPlaneStep);
        for (int32_t i = high; i >= low; --i)
            if (list[i - low]) {
                tiles->tileData = list[i - low];
                ownReleaseTile(&image, i, row);
            }
        return true;
    }

    template <class Visit>
    void forCellRanges(int64_t y, int32_t rows, Visit visit) const
    {
        Line line = {Line::none, 0, 0};
        for (int32_t i = 0; i < rows; ++i) {
            Line next = lineAt(image, y + i);
            // The columns depend on the sides alone.
            if (i == 0 || next.leftSide != line.leftSide)
                forNeededColumns(image, next, columns,
                                 [&](int32_t from, int32_t to) { visit(from / cellWidth, to / cellWidth); });
            line = next;
        }
    }

    void copyLines(int64_t y, int32_t rows, uint8_t* dst, ptrdiff_t dstStep, ptrdiff_t dstPlaneStep) const
    {
        Line previous = {Line::none, -1, -1};
        for (int32_t i = 0; i < rows; ++i) {
            Line line = lineAt(image, y + i);
            for (int32_t plane = 0; plane < planeCount; ++plane) {
                uint8_t* row = dst + i * dstStep + plane * dstPlaneStep;
                if (line == previous)
                    memcpy(row, row - dstStep, size_t(dstStep));
                else
                    copyLine(line, plane, row);
            }
            previous = line;
        }
    }

    void copyLine(const Line& line, int32_t plane, uint8_t* dst) const
    {
        if (line.row == Line::none) {
            fillConstant(layout, image, line.leftSide, dst, 0, columns.count());
            return;
        }
        ptrdiff_t offset = start + plane * planeStep + line.row % cellHeight * rowStep;
        int64_t inside = columns.x + columns.left;
        copyOutside(offset, line.leftSide, columns.x, columns.left, dst, 0);
        copyColumns(offset, {int32_t(inside), 1, columns.inside}, dst, columns.left);
        copyOutside(offset, line.rightSide, inside + columns.inside, columns.right, dst,
                    int64_t{columns.left} + columns.inside);
    }

    void copyOutside(ptrdiff_t offset, int side, int64_t position, int32_t count, uint8_t* dst, int64_t to) const
    {
        int32_t mode = borderMode(image, side);
        if (mode == ORV_BORDER_CONSTANT) {
            if (count)
                fillConstant(layout, image, side, dst, to, count);
            return;
        }
        while (count > 0) {
            Run run = runAt(position, image.width, mode, count);
            copyColumns(offset, run, dst, to);
            position += run.count;
            to += run.count;
            count -= run.count;
        }
    }

    // Copies a run that may pass from cell to cell.
    void copyColumns(ptrdiff_t offset, Run run, uint8_t* dst, int64_t to) const
    {
        while (run.count > 0) {
            int32_t cell = run.from / cellWidth;
            int32_t inCell = run.from % cellWidth;
            int32_t left = run.direction > 0 ? cellWidth - inCell : run.direction < 0 ? inCell + 1 : run.count;
            Run part = {inCell, run.direction, ownMin(run.count, left)};
            copyRun(layout, cells[cell - firstCell] + offset, part, dst, to);
            run.from += part.direction * part.count;
            run.count -= part.count;
            to += part.count;
        }
    }
};

bool knownLayout(const OrvImage& image)
{
    return ownIsDepth(image.depth) && (image.align == 4 || image.align == 8 || image.align == 16 || image.align == 32);
}

}  // namespace

uint8_t* ownBorderedRect(OrvImage* image, int32_t x, int32_t y, int32_t width, int32_t height, int32_t* step,
                         bool* tileRefused)
{
    if (width < 1 || height < 1 || !knownLayout(*image))
        return nullptr;
    int64_t rowBytes = ownLineBytes(image->dataOrder, image->depth, image->align, image->nChannels, width);
    int64_t rows = int64_t{height} * (image->dataOrder == ORV_DATA_ORDER_PLANE ? image->nChannels : 1);
    if (rows > INT32_MAX / rowBytes)
        return nullptr;
    OwnScratch<uint8_t> block(rowBytes * rows);
    if (!block)
        return nullptr;
    if (image->depth == ORV_DEPTH_1U)
        memset(block.data, 0, size_t(rowBytes * rows));
    Reader reader(image, -1, x, width);
    if (!reader.read(y, height, block.data, ptrdiff_t(rowBytes))) {
        if (tileRefused)
            *tileRefused = reader.tileRefused;
        return nullptr;
    }
    *step = int32_t(rowBytes);
    return block.release();
}

bool ownBorderedRow(OrvImage* image, int32_t channel, int64_t x, int64_t y, int32_t n, void* values)
{
    if (n < 1)
        return true;
    if (image->depth == ORV_DEPTH_1U)
        memset(values, 0, size_t((int64_t{n} + 7) / 8));
    return Reader(image, channel, x, n).read(y, 1, static_cast<uint8_t*>(values), 0);
}

namespace {

// Where n pixels from column x on, all beyond one end of a row, come from.
void findPlaces(const OrvImage& image, int side, int64_t x, int64_t n, int32_t values, int32_t* places)
{
    int32_t mode = borderMode(image, side);
    int32_t step = image.dataOrder == ORV_DATA_ORDER_PLANE ? 1 : image.nChannels;
    for (int64_t i = 0; i < n;) {
        bool constant = mode == ORV_BORDER_CONSTANT;
        Run run = constant ? Run{0, 0, int32_t(n)} : runAt(x + i, image.width, mode, int32_t(n - i));
        for (int32_t k = 0; k < run.count; ++k)
            for (int32_t c = 0; c < values; ++c)
                *places++ = constant ? -1 : (run.from + k * run.direction) * step + c;
        i += run.count;
    }
}

// A side's constant as a value of the image's depth is stored.
int32_t storedConstant(const OrvImage& image, int side)
{
    int32_t value = ownClampToDepth(image.depth, image.borderConst[side]);
    if (image.depth == ORV_DEPTH_32F)
        ownStore(&value, 0, float(value));
    return value;
}

template <class T, class Value>
void fillEnd(Value valueAt, int32_t constant, const int32_t* places, int64_t n, uint8_t* line)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        ownStore(line, i, places[i] < 0 ? T(constant) : T(valueAt(places[i])));
}

}  // namespace

OwnRowEnds::OwnRowEnds(const OrvImage& image, int64_t x, int64_t count, int32_t values)
    : before(x >= 0       ? 0
             : -x < count ? -x
                          : count),
      after(x + count <= image.width ? 0
            : x >= image.width       ? count
                                     : x + count - image.width),
      bytes(ownValueBytes(image.depth)),
      beforeValues(before * values),
      lineValues(count * values),
      afterValues(after * values),
      constants{storedConstant(image, left), storedConstant(image, right)},
      places(beforeValues + afterValues)
{
    if (!places)
        return;
    findPlaces(image, left, x, before, values, places.data);
    findPlaces(image, right, x + count - after, after, values, places.data + beforeValues);
}

void OwnRowEnds::fill(const uint8_t* row, uint8_t* line) const
{
    auto fillBoth = [&]<class T>(T, auto valueAt) {
        fillEnd<T>(valueAt, constants[0], places.data, beforeValues, line);
        fillEnd<T>(valueAt, constants[1], places.data + beforeValues, afterValues,
                   line + (lineValues - afterValues) * int64_t{sizeof(T)});
    };
    switch (bytes) {
    case 0: return fillBoth(uint8_t{}, [=](int32_t place) { return bitAt(row, place); });
    case 1: return fillBoth(uint8_t{}, [=](int32_t place) { return row[place]; });
    case 2: return fillBoth(uint16_t{}, [=](int32_t place) { return ownLoad<uint16_t>(row, place); });
    default: return fillBoth(int32_t{}, [=](int32_t place) { return ownLoad<int32_t>(row, place); });
    }
}

bool OwnBorderedImage::fetch(OrvImage* image, const OwnRect& rect, const OwnReach& reach)
{
    int64_t width = int64_t{rect.width} + reach.left + reach.right;
    int64_t height = int64_t{rect.height} + reach.top + reach.bottom;
    int64_t x = int64_t{rect.x} - reach.left;
    int64_t y = int64_t{rect.y} - reach.top;
    if (width > INT32_MAX || height > INT32_MAX)
        return false;
    int32_t step;
    orvFree(block.data);
    block.data = ownBorderedRect(image, int32_t(x), int32_t(y), int32_t(width), int32_t(height), &step, &tileRefused);
    if (!block)
        return false;
    work.take(*image);
    work.image.maskROI = nullptr;
    work.showBlock(block.data, step, int32_t(width), int32_t(height));
    work.setRegion(reach.left, reach.top, rect.width, rect.height);
    return true;
}
