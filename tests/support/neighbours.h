// Neighbourhood filters over random layouts, held against a naive one.
//
//   Layout layout = randomNeighbours(random, ORV_DEPTH_8U, 3);
//   Scene scene(layout);
//   expectFiltered(scene, naive, [](OrvImage* const* images) { orvBlur(images[0], images[1], 3, 3, 1, 1); });
#pragma once

#include "model.h"
#include "naiveborder.h"

// The bits of the result for channel c at (x, y) of the source.
using NaiveFilter = std::function<uint32_t(Picture& src, int x, int y, int c)>;
using FilterCall = std::function<void(OrvImage* const* images)>;

// A source and a destination that process `count` channels: sometimes one image, sometimes with masks.
Layout randomNeighbours(Random& random, uint32_t depth, int count);

// Sets the border modes of all sides, with constants that pass the range of bytes.
void setRandomBorders(OrvImage* image, Random& random);

// Calls a filter of one source and expects the naive filter's results where it should write, and no change elsewhere.
void expectFiltered(const Scene& scene, const NaiveFilter& naive, const FilterCall& call);

// Gives the destination the channels and the data order of the source, and a channel of interest where that has one; it
// is another image than the source.
void makeAlike(Layout& layout, Random& random);

// Calls visit with layouts of two images of like channels: plain and tiled, with masks and without.
void forAlikeLayouts(const std::function<void(const Layout& layout)>& visit);

// A call after which a refusal of which the filter only leaves `status`, or says nothing if that is 0, is reported too.
FilterCall tellingRefusals(const FilterCall& call, int32_t status);
