#include "ownspans.h"

#include <cmath>

// ---- Clipping -----------------------------------------------------------------------------------------------------

namespace {

// What lies on one side of a line: coordinate `axis` (0 for x, 1 for y) times `sign` at most `limit` times `sign`.
struct HalfPlane {
    int axis;
    double sign, limit;

    static double& coordinate(OwnPoint& point, int axis) { return axis ? point.y : point.x; }

    bool holds(OwnPoint point) const { return sign * coordinate(point, axis) <= sign * limit; }
    OwnPoint meet(OwnPoint a, OwnPoint b) const
    {
        double& across = coordinate(a, 1 - axis);
        const double slope = (coordinate(b, 1 - axis) - across) / (coordinate(b, axis) - coordinate(a, axis));
        across += (limit - coordinate(a, axis)) * slope;
        coordinate(a, axis) = limit;
        return a;
    }
};

int cutPolygon(const OwnPoint* from, int count, const HalfPlane& plane, OwnPoint* to)
{
    int kept = 0;
    for (int i = 0; i < count; ++i) {
        const OwnPoint a = from[i], b = from[i + 1 < count ? i + 1 : 0];
        if (plane.holds(a))
            to[kept++] = a;
        if (plane.holds(a) != plane.holds(b))
            to[kept++] = plane.meet(a, b);
    }
    return kept;
}

struct Box {
    double left, top, right, bottom;
};

Box boxAround(const OwnPoint* points, int count)
{
    Box box = {points[0].x, points[0].y, points[0].x, points[0].y};
    for (int i = 1; i < count; ++i) {
        box.left = fmin(box.left, points[i].x);
        box.top = fmin(box.top, points[i].y);
        box.right = fmax(box.right, points[i].x);
        box.bottom = fmax(box.bottom, points[i].y);
    }
    return box;
}

bool allFinite(const OwnPoint* points, int count)
{
    for (int i = 0; i < count; ++i)
        if (!std::isfinite(points[i].x) || !std::isfinite(points[i].y))
            return false;
    return true;
}

}  // namespace

OwnPolygon::OwnPolygon(const double* quad, const OwnRect& rect)
{
    // A convex polygon gains a corner at most by each cut; one that rounding has bent may gain more.
    constexpr int room = 64;
    OwnPoint buffers[2][room];
    int found = 4;
    for (int i = 0; i < 4; ++i)
        buffers[0][i] = {quad[2 * i], quad[2 * i + 1]};
    if (!allFinite(buffers[0], 4))
        return;
    const Box limits = {double(rect.x), double(rect.y), double(rect.xEnd - 1), double(rect.yEnd - 1)};
    const Box box = boxAround(buffers[0], 4);
    if (box.left > limits.right || box.top > limits.bottom || box.right < limits.left || box.bottom < limits.top)
        return;
    const HalfPlane planes[4] = {
        {1, -1, limits.top}, {1, 1, limits.bottom}, {0, -1, limits.left}, {0, 1, limits.right}};
    int current = 0;
    for (const HalfPlane& plane : planes) {
        found = cutPolygon(buffers[current], found, plane, buffers[1 - current]);
        current = 1 - current;
    }
    OwnPoint* const clipped = buffers[current];
    if (!allFinite(clipped, found))
        return;
    // Rounding may have left them a hair outside, or far outside where coordinates are huge.
    for (int i = 0; i < found; ++i)
        clipped[i] = {fmin(fmax(clipped[i].x, limits.left), limits.right),
                      fmin(fmax(clipped[i].y, limits.top), limits.bottom)};
    auto equal = [](OwnPoint a, OwnPoint b) { return a.x == b.x && a.y == b.y; };
    for (int i = 0; i < found && count < most; ++i)
        if (count == 0 || !equal(clipped[i], points[count - 1]))
            points[count++] = clipped[i];
    while (count > 1 && equal(points[0], points[count - 1]))
        --count;
}

// ---- Spans --------------------------------------------------------------------------------------------------------

OwnSpans::OwnSpans(const OwnPolygon& polygon, bool clockwise, const OwnRect& rect)
    : polygon(polygon), rect(rect), clockwise(clockwise)
{
    if (polygon.count == 0)
        return;
    const Box box = boxAround(polygon.points, polygon.count);
    low = box.left;
    high = box.right;
    if (ceil(low) > floor(high))
        return;
    for (int i = 1; i < polygon.count; ++i)
        top = polygon.points[i].y < polygon.points[top].y ? i : top;
    isFlat = box.top == box.bottom;
    first = int32_t(ceil(box.top));
    last = int32_t(floor(box.bottom));
    restart();
}

void OwnSpans::restart()
{
    // Of two chains away from the topmost corner the one of falling index is to the left, if the corners go clockwise.
    left.begin(polygon, top, clockwise ? -1 : 1);
    right.begin(polygon, top, clockwise ? 1 : -1);
    current = first;
}

void OwnSpans::Chain::begin(const OwnPolygon& polygon, int top, int step)
{
    vertex = top;
    direction = step;
    takeEdge(polygon);
}

// Takes the edge that begins at the vertex; false for one that does not lead down.
bool OwnSpans::Chain::takeEdge(const OwnPolygon& polygon)
{
    const OwnPoint from = polygon.points[vertex];
    const OwnPoint to = polygon.points[(vertex + direction + polygon.count) % polygon.count];
    x = from.x;
    y = from.y;
    slope = (to.x - from.x) / (to.y - from.y);
    end = to.y;
    return end > y;
}

// Goes on to the edge that meets a row; false if there is none.
bool OwnSpans::Chain::advance(const OwnPolygon& polygon, double row)
{
    bool leadsDown = end > y;
    for (int edges = 0; !leadsDown || end < row; ++edges) {
        if (edges == polygon.count)
            return false;
        vertex = (vertex + direction + polygon.count) % polygon.count;
        leadsDown = takeEdge(polygon);
    }
    return true;
}

OwnSpans::Span OwnSpans::row(int32_t y)
{
    constexpr double tolerance = 1e-14;  // a hair past an integer by rounding counts as on it
    constexpr Span none = {0, -1};
    if (polygon.count == 1) {
        const auto column = int32_t(floor(low));
        return {column, column};
    }
    double from = low, to = high;
    if (!isFlat) {
        if (y < current)
            restart();
        current = y;
        if (!left.advance(polygon, y) || !right.advance(polygon, y))
            return none;
        from = left.at(y);
        to = right.at(y);
    }
    double low = ceil(from), high = floor(to);
    if (1 - (low - from) < tolerance)
        --low;
    if (1 - (to - high) < tolerance)
        ++high;
    low = low > rect.x ? low : rect.x;
    high = high < rect.xEnd - 1 ? high : rect.xEnd - 1;
    if (!(low <= high))
        return none;
    return {int32_t(low), int32_t(high)};
}
