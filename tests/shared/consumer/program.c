/* The public face from C: every kind of name that the headers give. */
#include <orv.h>
#include <stdio.h>
#include <string.h>

static int reports = 0;

static int32_t ORV_CALL handler(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    ++reports;
    printf("%d %s %s %s %d\n", (int)status, func, context, file, line > 0);
    return status;
}

static uint8_t tile[8 * 8];

static int32_t ORV_CALL provider(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    image->tileInfo->tileData = mode == ORV_TILE_RELEASE || x || y ? NULL : tile;
    return 0;
}

int main(void)
{
    OrvImage* image;
    OrvImage* tiled;
    OrvTileInfo tiles;
    float wrote = 1.5f;
    float got = 0;
    uint8_t byte = 99;

    orvRedirectError(handler);
    orvSetErrMode(ORV_ErrorModeParent);
    image = orvCreateImageHeader(1, 0, ORV_DEPTH_32F, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4, 7, 5, NULL,
                                 NULL, NULL, NULL);
    orvAllocateImageFP(image, 1, 0.25f);
    orvPutPixel(image, 6, 4, &wrote);
    orvGetPixel(image, 6, 4, &got);
    if (got != wrote)
        return 1;
    orvGetPixel(image, 7, 4, &got);
    orvDeallocate(image, ORV_IMAGE_ALL);

    orvSetTileInfo(&tiles, provider, NULL, 8, 8);
    tiled = orvCreateImageHeader(1, 0, ORV_DEPTH_8U, "GRAY", "G", 0, 0, 4, 8, 16, NULL, NULL, NULL, &tiles);
    tile[3] = 42;
    orvGetPixel(tiled, 3, 0, &byte);
    if (byte != 42)
        return 2;
    orvGetPixel(tiled, 3, 8, &byte);
    orvDeallocateHeader(tiled);
    if (reports != 2 || orvGetErrStatus() != ORV_STATUS_ERROR || strcmp(orvGetLibVersion()->name, "orvz3.dll") != 0)
        return 3;
    return 0;
}
