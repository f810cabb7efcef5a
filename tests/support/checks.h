// The checks of a function, held against a table of faults in the order in which they have to be found.
//
//   expectFaultsInOrder({{.depth = ORV_DEPTH_8U, .width = 8, .height = 8}, ...}, call, {
//       {"-10 orvNot Incorrect Image\n", setField(0, &OrvImage::width, 0)},
//       ...
//   });
#pragma once

#include <functional>
#include <string>
#include <vector>

#include "picture.h"

struct Fault {
    std::string report;  // all lines, empty for a silent end
    std::function<void(OrvImage* const* images)> make;
};

// Makes a fault in one field of one image's header.
template <class Field, class Value>
auto setField(int image, Field OrvImage::*field, Value value)
{
    return [=](OrvImage* const* images) { images[image]->*field = value; };
}

// Masks the first two images, and refuses the n-th allocation unless n is 0.
std::function<void(OrvImage* const* images)> setMasks(OrvImage* first, OrvImage* second, int refuse = 0);

// For each fault calls the function with that fault and all that come after it: the first one alone must be reported, and
// no image may change. Where two faults touch one field, the earlier has its way. A fault may also refuse allocations,
// which is called off afterwards.
void expectFaultsInOrder(const std::vector<PictureSpec>& specs,
                         const std::function<void(OrvImage* const* images)>& call, const std::vector<Fault>& faults);

// What one call on good images reports.
std::string reportsOf(const std::function<void()>& call);
