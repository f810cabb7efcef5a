// Maps from pixels of a destination to positions in a source, as the drivers of warps run them.
#pragma once

#include "../core/ownregion.h"
#include "kernels/ownposition.h"
#include "ownplane.h"

struct OwnMap {
    OwnMapKind kind;
    // Function k at column X and row Y: (slope + twist Y) (X - origin) + fall Y + constant.
    double slope[3], twist[3], fall[3], constant[3];
    double origin;
    double e, f;  // of the ways back through a bilinear map
    bool upperRoot;
    double side;  // the sign that the denominator of a perspective map has in the quadrangle

    double at(int k, double x, double y) const
    {
        return (slope[k] + twist[k] * y) * (x - origin) + fall[k] * y + constant[k];
    }

    // Where the pixels of a rectangle come from: a box around its corners' positions, whole numbers. False where that
    // says nothing: where a corner lies beyond the horizon, or the way back is a curved one.
    bool boxOf(const OwnRect& pixels, OwnPositionRange& box) const;

    // A box that holds all rectangles of pixels, up to that size, whose own box meets the one given. False where there
    // is no telling: for maps that are not linear, and those that are hardly one to one.
    bool pixelsNear(const OwnPositionRange& box, OwnSize size, OwnPositionRange& pixels) const;
};

// From the pixels of a quadrangle, and back to the rectangle whose image it is; answers the sense of its corners.
bool ownMapAffine(const OwnPlaneRect& rect, const double* quad, OwnMap& map);
bool ownMapBilinear(const OwnPlaneRect& rect, const double* quad, OwnMap& map);
bool ownMapPerspective(const OwnPlaneRect& rect, const double* quad, OwnMap& map);

// From the pixels of a rectangle to a quadrangle.
void ownMapOntoBilinear(const OwnPlaneRect& rect, const double* quad, OwnMap& map);
void ownMapOntoPerspective(const OwnPlaneRect& rect, const double* quad, OwnMap& map);

// The functions at the starts of rows, which are running sums too.
class OwnMapRows {
public:
    OwnMapRows(const OwnMap& map, int32_t firstRow);
    void next();

    double start(int k, int32_t column) const { return slope[k] * (column - map.origin) + term[k]; }
    double step(int k) const { return slope[k]; }

private:
    const OwnMap& map;
    double slope[3], term[3];
};
