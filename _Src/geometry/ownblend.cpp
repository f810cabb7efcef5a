#include "ownblend.h"

#include <cmath>

#include "../core/owntile.h"
#include "../core/ownvalue.h"

namespace {

constexpr int mostChannels = 64;  // of a pixel that are handled together

// Reads and writes pixels of an image wherever they are.
class Pixels {
public:
    Pixels(const OwnReport& report, OrvImage* image) : report(report), image(image), tiles(image->tileInfo)
    {
        const bool planes = image->dataOrder == ORV_DATA_ORDER_PLANE;
        bytes = ownValueBytes(image->depth);
        pixelBytes = ptrdiff_t{bytes} * (planes ? 1 : image->nChannels);
        rowBytes =
            tiles
                ? ptrdiff_t(ownLineBytes(image->dataOrder, image->depth, image->align, image->nChannels, tiles->width))
                : image->widthStep;
        channelBytes = planes ? rowBytes * (tiles ? tiles->height : image->height) : bytes;
    }

    // `count` channels from `channel` on; false after a report.
    bool read(int32_t x, int32_t y, int32_t channel, int32_t count, double* values) const
    {
        return visit(x, y, ORV_TILE_READ, "Error get tile to read", [&](const uint8_t* pixel) {
            for (int32_t i = 0; i < count; ++i)
                values[i] = load(pixel + (channel + i) * channelBytes);
        });
    }
    bool write(int32_t x, int32_t y, int32_t channel, int32_t count, const double* values) const
    {
        return visit(x, y, ORV_TILE_WRITE, "Error get tile to write", [&](uint8_t* pixel) {
            for (int32_t i = 0; i < count; ++i)
                store(pixel + (channel + i) * channelBytes, values[i]);
        });
    }

private:
    const OwnReport& report;
    OrvImage* image;
    const OrvTileInfo* tiles;
    int bytes;
    ptrdiff_t pixelBytes, rowBytes, channelBytes;

    template <class Use>
    bool visit(int32_t x, int32_t y, int32_t mode, const char* noTile, Use use) const
    {
        if (!tiles) {
            use(image->imageData + y * rowBytes + x * pixelBytes);
            return true;
        }
        const int32_t column = x / tiles->width, row = y / tiles->height;
        uint8_t* const tile = ownOpenTile(image, column, row, mode);
        if (report.when(!tile, ORV_STATUS_ERROR, noTile))
            return false;
        use(tile + y % tiles->height * rowBytes + x % tiles->width * pixelBytes);
        ownReleaseTile(image, column, row);
        return true;
    }

    double load(const uint8_t* at) const
    {
        return bytes == 1 ? *at : bytes == 2 ? ownLoad<uint16_t>(at) : double(ownLoad<float>(at));
    }
    void store(uint8_t* at, double value) const
    {
        if (bytes == 1)
            *at = ownRounded<uint8_t>(value);
        else if (bytes == 2)
            ownStore(at, 0, ownRounded<uint16_t>(value));
        else
            ownStore(at, 0, float(value));
    }
};

struct Pixel {
    int32_t x, y;
};

class EdgeBlender {
public:
    EdgeBlender(const OwnReport& report, OrvImage* dst)
        : pixels(report, dst), rect(ownRoiRect(*dst)), channels(ownChannels(*dst))
    {
    }

    // An edge between two corners, with `inward` 1 where the polygon lies on its right, looking from a to b, and -1
    // where it lies on its left. False after a report.
    bool blend(OwnPoint a, OwnPoint b, int inward) const
    {
        const double dx = b.x - a.x, dy = b.y - a.y;
        if (dx == 0 || dy == 0)
            return true;
        if (fabs(dx) >= fabs(dy))
            return alongColumns(a, dy / dx, fmin(a.x, b.x), fmax(a.x, b.x), dx > 0 ? inward : -inward);
        return alongRows(a, dx / dy, fmin(a.y, b.y), fmax(a.y, b.y), dy > 0 ? -inward : inward);
    }

private:
    Pixels pixels;
    OwnRect rect;
    OwnChannels channels;

    // True for a point between two pixels of the region, on none of them. On an edge that ends where the region does,
    // rounding may find points beyond it.
    static bool isBetween(double at, int32_t start, int32_t end)
    {
        const double low = floor(at);
        return low != at && low >= start && low + 1 < end;
    }

    // The polygon lies where the other coordinate grows in the sense of `inward`.
    bool alongColumns(OwnPoint a, double slope, double from, double to, int inward) const
    {
        for (double x = ceil(from); x <= floor(to); ++x) {  // NOLINT(clang-analyzer-security.FloatLoopCounter)
            const double y = (x - a.x) * slope + a.y, low = floor(y);
            const auto column = int32_t(x), row = int32_t(low);
            if (isBetween(y, rect.y, rect.yEnd) && !mix({column, row}, {column, row + 1}, y - low, low + 1 - y, inward))
                return false;
        }
        return true;
    }
    bool alongRows(OwnPoint a, double slope, double from, double to, int inward) const
    {
        for (double y = ceil(from); y <= floor(to); ++y) {  // NOLINT(clang-analyzer-security.FloatLoopCounter)
            const double x = (y - a.y) * slope + a.x, low = floor(x);
            const auto column = int32_t(low), row = int32_t(y);
            if (isBetween(x, rect.x, rect.xEnd) && !mix({column, row}, {column + 1, row}, x - low, low + 1 - x, inward))
                return false;
        }
        return true;
    }

    // Of the two pixels around a point of the edge, at these distances from it, the outer one keeps a share equal to
    // its distance.
    bool mix(Pixel before, Pixel after, double toBefore, double toAfter, int inward) const
    {
        const Pixel outer = inward > 0 ? before : after, inner = inward > 0 ? after : before;
        const double outerShare = inward > 0 ? toBefore : toAfter, innerShare = inward > 0 ? toAfter : toBefore;
        for (int32_t done = 0; done < channels.count; done += mostChannels) {
            const int32_t first = channels.first + done, count = ownMin(channels.count - done, mostChannels);
            double outside[mostChannels], inside[mostChannels];
            if (!pixels.read(outer.x, outer.y, first, count, outside) ||
                !pixels.read(inner.x, inner.y, first, count, inside))
                return false;
            for (int32_t i = 0; i < count; ++i)
                outside[i] = outside[i] * outerShare + inside[i] * innerShare;
            if (!pixels.write(outer.x, outer.y, first, count, outside))
                return false;
        }
        return true;
    }
};

}  // namespace

void ownBlendEdges(const OwnReport& report, OrvImage* dst, const OwnPolygon& polygon, bool clockwise)
{
    if (dst->depth == ORV_DEPTH_1U || polygon.count < 3)
        return;
    const EdgeBlender blender(report, dst);
    for (int i = 0; i < polygon.count; ++i)
        if (!blender.blend(polygon.points[i], polygon.points[(i + 1) % polygon.count], clockwise ? 1 : -1))
            return;
}
