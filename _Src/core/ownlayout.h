// Where pixels lie: row lengths, channels, addresses. Nothing here looks behind a header.
#pragma once

#include <cstddef>
#include <cstdint>

#include "orv/core.h"
#include "owngeometry.h"

inline int ownDepthBits(uint32_t depth)
{
    return int(depth & ORV_DEPTH_MASK);
}

// Bytes of a channel value; 0 for 1U, whose values share bytes.
inline int ownValueBytes(uint32_t depth)
{
    return ownDepthBits(depth) / 8;
}

inline bool ownIsSigned(uint32_t depth)
{
    return (depth & ORV_DEPTH_SIGN) != 0;
}

// The range of an integer depth.
inline int64_t ownHighest(uint32_t depth)
{
    return (int64_t{1} << (ownDepthBits(depth) - ownIsSigned(depth))) - 1;
}

inline int64_t ownLowest(uint32_t depth)
{
    return ownIsSigned(depth) ? -ownHighest(depth) - 1 : 0;
}

inline bool ownIsDepth(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U:
    case ORV_DEPTH_8U:
    case ORV_DEPTH_8S:
    case ORV_DEPTH_16U:
    case ORV_DEPTH_16S:
    case ORV_DEPTH_32S:
    case ORV_DEPTH_32F: return true;
    default: return false;
    }
}

inline OwnDepthIndex ownDepthIndex(uint32_t depth)
{
    switch (depth) {
    case ORV_DEPTH_1U: return OWN_1U;
    case ORV_DEPTH_8U: return OWN_8U;
    case ORV_DEPTH_8S: return OWN_8S;
    case ORV_DEPTH_16U: return OWN_16U;
    case ORV_DEPTH_16S: return OWN_16S;
    case ORV_DEPTH_32S: return OWN_32S;
    default: return OWN_32F;
    }
}

// Cuts a value to the range of an integer depth; 32F keeps it, as does a depth that is none.
inline int32_t ownClampToDepth(uint32_t depth, int32_t value)
{
    if (depth == ORV_DEPTH_32F || !ownIsDepth(depth))
        return value;
    return int32_t(value < ownLowest(depth) ? ownLowest(depth) : value > ownHighest(depth) ? ownHighest(depth) : value);
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
