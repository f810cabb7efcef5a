// The scaling functions, called alike.
#pragma once

#include "orv.h"

struct Ratio {
    int dst, src;
    double factor() const { return double(src) / dst; }
};

struct Scaling {
    Ratio x, y;
    int method;
    int maskX = 0, maskY = 0;  // of orvDecimateBlur
};

struct ScaleFunction {
    const char* name;
    void (*call)(OrvImage* const* images, const Scaling& scaling);
};

// orvZoom, orvResize, orvDecimate and orvDecimateBlur.
inline constexpr ScaleFunction scaleFunctions[] = {
    {"orvZoom",
     [](OrvImage* const* i, const Scaling& s) { orvZoom(i[0], i[1], s.x.dst, s.x.src, s.y.dst, s.y.src, s.method); }},
    {"orvResize",
     [](OrvImage* const* i, const Scaling& s) { orvResize(i[0], i[1], s.x.dst, s.x.src, s.y.dst, s.y.src, s.method); }},
    {"orvDecimate", [](OrvImage* const* i,
                       const Scaling& s) { orvDecimate(i[0], i[1], s.x.dst, s.x.src, s.y.dst, s.y.src, s.method); }},
    {"orvDecimateBlur",
     [](OrvImage* const* i, const Scaling& s) {
         orvDecimateBlur(i[0], i[1], s.x.dst, s.x.src, s.y.dst, s.y.src, s.method, s.maskX, s.maskY);
     }},
};
