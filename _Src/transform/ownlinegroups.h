// How the drivers of transforms divide images into groups of lines.
#pragma once

#include "../core/owngeometry.h"

// Calls pass(first, count) for each group of up to `lanes` of `all` lines.
template <class Pass>
void ownEachGroup(int32_t all, int32_t lanes, Pass pass)
{
    for (int64_t first = 0; first < all; first += lanes)
        pass(int32_t(first), all - first < lanes ? int32_t(all - first) : lanes);
}

enum OwnLanes { OWN_SINGLE_LINES, OWN_VECTOR_LANES };

// Whether `count` lines of a length go side by side. Blocks of vector lanes hold lines that are not there if there are
// too few; up to some size nobody minds.
inline OwnLanes ownLanesFor(int32_t count, int32_t lanes, int64_t length)
{
    constexpr int64_t smallBlock = 1 << 19;
    return count >= lanes || length * lanes <= smallBlock ? OWN_VECTOR_LANES : OWN_SINGLE_LINES;
}

// A part of an image of one channel, whose values have `bytes` bytes.
inline OwnGeometry ownPart(OwnGeometry image, ptrdiff_t bytes, int32_t x, int32_t y, int32_t width, int32_t height)
{
    image.start += y * image.rowStep + ptrdiff_t{x} * image.pixelStep * bytes;
    image.width = width;
    image.height = height;
    return image;
}

inline int64_t ownLarger(int64_t a, int64_t b)
{
    return a > b ? a : b;
}

// Moves an address up to the start of a cache line; what it points at has that much room to spare.
constexpr int64_t ownCacheLine = 64;

template <class T>
T* ownLineStart(T* address)
{
    uintptr_t past = reinterpret_cast<uintptr_t>(address) % ownCacheLine;
    return past ? address + (ownCacheLine - past) / sizeof(T) : address;
}
