// Samples between the pixels of a picture, and what a pixel made of one may hold.
#pragma once

#include "model.h"

// The value of channel c at a position on the picture's pixels, by a method (ORV_INTER_...) that is lowered to what the
// picture bears; at 16U before it is rounded.
long double naiveSample(const Picture& src, long double x, long double y, int c, int method);

// A position, and how far rounding may have moved it.
struct Place {
    long double x, y;
    long double hair = 1e-9L;
};

// True if `value` is a sample at the place.
bool isSample(double value, const Picture& src, const Place& place, int c, int method);

// What a call makes of the pixels of a destination's region: for each pixel, counted from the region's start, the place
// that it is sampled at, if it is.
enum class Written { no, maybe, yes };
struct Expected {
    Written written;
    Place place;
};

// Runs the call on a scene of a source and a destination, of which other images stand between the two, and compares
// every value of the destination with what is expected; `width` and `height` are how much of its region is processed.
void expectSampled(const Scene& scene, int method, int width, int height,
                   const std::function<void(OrvImage* const* images)>& call,
                   const std::function<Expected(int x, int y)>& expected);
