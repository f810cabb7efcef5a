// Where pixels lie: row lengths, channels, addresses. Nothing here looks behind a header.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/core.h"

inline int ownDepthBits(uint32_t depth)
{
    return int(depth & ORV_DEPTH_MASK);
}

// Bytes of a channel value; 0 for 1U, whose values share bytes.
inline int ownValueBytes(uint32_t depth)
{
    return ownDepthBits(depth) / 8;
}

// The length in bytes of a row of `width` pixels, padding included, without the limits of a header's fields.
inline int64_t ownLineBytes(int32_t dataOrder, uint32_t depth, int32_t align, int32_t nChannels, int32_t width)
{
    // No product of the fields can pass 64 bits as long as the largest is cut to what cannot be stored anyway.
    int64_t values = int64_t{width} * (dataOrder == ORV_DATA_ORDER_PLANE ? 1 : nChannels);
    if (values > INT64_MAX / 64)
        values = INT64_MAX / 64;
    int64_t alignBits = int64_t{align} * 8;
    return ((ownDepthBits(depth) * values + alignBits - 1) & -alignBits) / 8;
}

// The same as it stands in a header; what does not fit is cut, and nothing can be stored there.
inline int32_t ownLineWidth(int32_t dataOrder, uint32_t depth, int32_t align, int32_t nChannels, int32_t width)
{
    int64_t bytes = ownLineBytes(dataOrder, depth, align, nChannels, width);
    return bytes > INT32_MAX ? INT32_MAX : int32_t(bytes);
}
