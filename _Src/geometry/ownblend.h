// Smooth edges of a quadrangle that has been drawn.
#pragma once

#include "../core/ownreport.h"
#include "ownspans.h"

// Blends the pixels just outside the polygon's slanting edges with their neighbours inside, which have been drawn: what
// lies between the two counts by its distance from the edge. Pixels of tiles are fetched one by one.
void ownBlendEdges(const OwnReport& report, OrvImage* dst, const OwnPolygon& polygon, bool clockwise);
