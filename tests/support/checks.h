// The checks of a function, held against a table of faults in the order in which they have to be found.
//
//   expectFaultsInOrder({{.depth = ORV_DEPTH_8U, .width = 8, .height = 8}, ...}, call, {
//       {"-10 orvNot Incorrect Image\n", [](OrvImage* const* images) { images[0]->width = 0; }},
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

// For each fault calls the function with that fault and all that come after it: the first one alone must be reported, and
// no image may change. Where two faults touch one field, the earlier has its way. A fault may also refuse allocations,
// which is called off afterwards.
void expectFaultsInOrder(const std::vector<PictureSpec>& specs,
                         const std::function<void(OrvImage* const* images)>& call, const std::vector<Fault>& faults);

// What one call on good images reports.
std::string reportsOf(const std::function<void()>& call);
