// What is left when memory or a tile is refused, whatever the operation.
//
//   TEST(Blur, LosesNothingWhereMemoryOrATileIsRefused)
//   {
//       expectNothingLost({.name = "orvBlur",
//                          .call = [](OrvImage* const* images) { orvBlur(images[0], images[1], 5, 5, 2, 2); }});
//   }
#pragma once

#include "model.h"

// Calls visit with layouts of an operation's images: plain and tiled, with masks and without, and in place where it may
// work so. Three channels are processed where there can be; tiles cut each other; masks have regions of their own;
// pixels and rows lie at odd addresses.
void forRefusalLayouts(const Operation& operation, const std::function<void(const Layout& layout)>& visit);

struct RefusalOptions {
    bool bySteps = false;     // values may be left that are neither those before the call nor those after it
    std::string report = "";  // how the reports of every refusal end
    bool toldApart = false;   // what is reported of memory does not speak of tiles
};

// Calls the operation on a layout with every allocation refused in turn, alone and with all after it, and then every
// tile. Each refusal must be reported, and without one nothing; no block may leak, no header, guard byte or closed tile
// change; tiles must come as ever until the refused one, which counts as never opened; every value must be the one
// before the call or the one after it. False if nothing was refused at all.
bool expectNothingLost(const Operation& operation, const Layout& layout, const RefusalOptions& options = {});

// The same for all layouts.
void expectNothingLost(const Operation& operation, const RefusalOptions& options = {});
