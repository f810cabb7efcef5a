// Scaling, along one axis: for each pixel of the destination, the pixels of the source that it is made of. Positions
// run by addition of a step, so that they carry its rounding along; pixels count from the start of the regions.
#pragma once

#include "../core/ownregion.h"
#include "../core/ownscratch.h"

// What is scaled along an axis: the region, cut at the image's edges, and the image that it lies in.
struct OwnScaleLine {
    int32_t length;  // of the region, at least 1
    int32_t offset;  // of the region in the image
    int32_t imageLength;
};

// The destination's size by the source's along an axis, in numbers from 1 on.
struct OwnScaleRatio {
    int32_t dst, src;

    double factor() const { return double(src) / dst; }
    bool exact() const { return ownMax(dst, src) % ownMin(dst, src) == 0; }
};

// How many of `most` pixels of the destination a source of that length fills, at least 1.
int32_t ownFilledPixels(const OwnScaleRatio& ratio, int32_t length, int32_t most);

// The step at which the centres of the last pixels meet when those of the first do; 0 where the destination has but
// one.
double ownZoomStep(const OwnScaleRatio& ratio, int32_t length);

// Pixels side by side, counted from the start of a region.
struct OwnSpan {
    int32_t first, count;
};

enum class OwnScaleMethod { nearest, linear, cubic };

struct OwnScaleAxis {
    int32_t count = 0;          // of the destination's pixels
    int32_t samples = 1;        // source pixels side by side for each of them: 1, 2 or 4
    bool firstIsWhole = false;  // the destination's first pixel is the region's first, whatever its neighbours are
    OwnScratch<int32_t> index{static_cast<int32_t*>(nullptr)};   // of the first of the samples
    OwnScratch<double> fraction{static_cast<double*>(nullptr)};  // the position between them; none for one sample

    // What a run of the destination's pixels needs.
    OwnSpan need(const OwnSpan& run) const
    {
        int32_t last = index.data[run.first + run.count - 1];
        return {index.data[run.first], last - index.data[run.first] + samples};
    }
};

// Positions of orvZoom, orvResize and orvDecimateBlur. The index is that of the pixel at or before a position or, by a
// hair, after it. A position that rounding has carried over the region's end is moved to it. Lines and cubics through
// four pixels end with the last pixel of the region or of the image. The image has at least 4 pixels for a cubic, 2 for
// a line. False if there is no memory.
bool ownZoomAxis(OwnScaleAxis& axis, OwnScaleMethod method, const OwnScaleLine& line, double start, double step,
                 int32_t count);

// Positions of orvDecimate, as many as lie in the region with all that they need, but not more than `most`. An axis
// whose positions are pixels is not interpolated.
bool ownDecimateAxis(OwnScaleAxis& axis, OwnScaleMethod method, const OwnScaleLine& line, bool exact, double step,
                     int32_t most);

// For the mean of areas: the pixels that each cell of the destination covers. All but the first and the last weigh 1.
struct OwnAreaAxis {
    int32_t count = 0;
    int32_t most = 0;    // pixels of a cell
    bool whole = false;  // no cell cuts a pixel: all have `most` pixels, that weigh 1
    OwnScratch<int32_t> index{static_cast<int32_t*>(nullptr)};  // of the first pixel
    OwnScratch<int32_t> pixels{static_cast<int32_t*>(nullptr)};
    OwnScratch<float> firstWeight{static_cast<float*>(nullptr)};
    OwnScratch<float> lastWeight{static_cast<float*>(nullptr)};  // of the last pixel, if it is not the first

    OwnSpan need(const OwnSpan& run) const
    {
        int32_t last = run.first + run.count - 1;
        return {index.data[run.first], index.data[last] - index.data[run.first] + pixels.data[last]};
    }
};

// Cells `step` long, the first of `count`. False if there is no memory.
bool ownAreaAxis(OwnAreaAxis& axis, const OwnScaleLine& line, bool exact, double step, int32_t count);
