// Tiles are opened and released here alone.
#pragma once

#include "orv/core.h"

// Opens a tile of an image for ORV_TILE_READ or ORV_TILE_WRITE and answers its pixels, NULL if it does not come. A
// provider that fails need not say so: what it left in tileData for an earlier tile is not taken for this one.
inline uint8_t* ownOpenTile(OrvImage* image, int32_t column, int32_t row, int32_t mode)
{
    image->tileInfo->tileData = nullptr;
    image->tileInfo->callBack(image, column, row, mode);
    return image->tileInfo->tileData;
}

inline void ownReleaseTile(OrvImage* image, int32_t column, int32_t row)
{
    image->tileInfo->callBack(image, column, row, ORV_TILE_RELEASE);
}
