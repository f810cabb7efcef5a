// The pixels of a convex quadrangle, row by row.
#pragma once

#include "../core/ownregion.h"

struct OwnPoint {
    double x, y;
};

// A convex polygon: what a rectangle leaves of a quadrangle. Each edge of the rectangle adds one corner at most.
struct OwnPolygon {
    static constexpr int most = 8;

    OwnPoint points[most];
    int count = 0;

    // Clips a quadrangle to a rectangle of pixels, whose centres are its edges (I. E. Sutherland, G. W. Hodgman,
    // "Reentrant polygon clipping", Communications of the ACM 17, 1974). Nothing is left of one with a coordinate that
    // is not finite.
    OwnPolygon(const double* quad, const OwnRect& rect);
};

// The columns that a polygon covers in each row, edges included.
class OwnSpans {
public:
    // `clockwise` is the sense in which the corners of the quadrangle follow one another.
    OwnSpans(const OwnPolygon& polygon, bool clockwise, const OwnRect& rect);

    bool isEmpty() const { return last < first; }
    int32_t firstRow() const { return first; }
    int32_t lastRow() const { return last; }

    struct Span {
        int32_t left, right;  // inclusive; left is above right where there are none
    };
    // Of a row between the first and the last. Rows are cheap from the top down.
    Span row(int32_t y);

private:
    // A walk down one side of the polygon, edge by edge.
    struct Chain {
        int vertex;     // where the edge begins
        int direction;  // 1 or -1: to the next vertex, or the one before
        double x, y, slope, end;

        void begin(const OwnPolygon& polygon, int top, int step);
        bool advance(const OwnPolygon& polygon, double row);
        double at(double row) const { return (row - y) * slope + x; }

    private:
        bool takeEdge(const OwnPolygon& polygon);
    };

    void restart();

    const OwnPolygon& polygon;
    OwnRect rect;
    int32_t first = 0, last = -1;
    int32_t current = 0;       // the chains stand at this row or above it
    double low = 0, high = 0;  // columns
    bool clockwise;
    bool isFlat = false;  // no edge leads down
    int top = 0;
    Chain left = {}, right = {};
};
