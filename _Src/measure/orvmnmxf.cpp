// Extremes.
//
//   orvMinMaxFP   the least and the greatest value of a floating-point image
#include "../core/ownread.h"
#include "../core/ownreport.h"
#include "../core/ownvalue.h"
#include "../core/ownwalk.h"
#include "kernels/ownextremes.h"
#include "orv/measure.h"

namespace {

constexpr const char* source = "orvmnmxf";

struct Search {
    OwnExtremes extremes;
    bool seeded = false;
};

// The first selected pixel, by rows; false if there is none.
bool findSelected(const OwnGeometry& mask, OwnSize size, int32_t& x, int32_t& y)
{
    for (y = 0; y < size.height; ++y)
        for (x = 0; x < size.width; ++x)
            if (ownMaskSelects(mask, x, y))
                return true;
    return false;
}

// What comes first seeds both extremes.
void seed(Search& search, const OwnGeometry& image, const OwnGeometry* mask)
{
    OwnSize size = {image.width, image.height};
    if (mask)
        size = {ownMin(size.width, mask->width), ownMin(size.height, mask->height)};
    int32_t x = 0, y = 0;
    if (size.width <= 0 || size.height <= 0 || (mask && !findSelected(*mask, size, x, y)))
        return;
    float value = ownLoad<float>(image.start + y * image.rowStep, ptrdiff_t(x) * image.pixelStep);
    search = {{value, value}, true};
}

void readRows(void* state, const OwnReadRows& rows)
{
    ownExtremesKernels().take(*static_cast<OwnExtremes*>(state), rows);
}

void searchPiece(Search& search, const OrvImage& image, const OrvImage* mask)
{
    OwnGeometry geometry, under;
    ownPlaneGeometry(image, geometry);
    if (mask)
        under = ownMaskStart(*mask);
    if (!search.seeded)
        seed(search, geometry, mask ? &under : nullptr);
    // An extreme in the place of what is left out changes nothing.
    const float unselected = search.extremes.least;
    if (search.seeded)
        ownReadPixels({.read = readRows, .state = &search.extremes, .unselected = &unselected, .takesMask = true},
                      ORV_DEPTH_32F, &geometry, 1, mask ? &under : nullptr);
}

bool searchTiles(Search& search, OrvImage* image, OwnSize size)
{
    return ownGridWalk(*image, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, ORV_TILE_READ);
        if (!tile)
            return false;
        OwnWork work, maskWork;
        ownShowLeadingCell(work, *image, cell, tile);
        if (image->maskROI)
            ownShowCell(maskWork, *image->maskROI, cell);
        searchPiece(search, work.image, image->maskROI ? &maskWork.image : nullptr);
        ownReleaseTile(image, cell.column, cell.row);
        return true;
    });
}

}  // namespace

int32_t ORV_CALL orvMinMaxFP(OrvImage* srcImage, float* min, float* max)
{
    constexpr OwnReport report{"orvMinMaxFP", source};
    if (!report.goodImage(srcImage))
        return ORV_STATUS_BAD_ARG;
    if (report.when(!min || !max, ORV_STATUS_BAD_ARG, "((min == 0)||(max == 0))"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(srcImage->depth != ORV_DEPTH_32F, ORV_STATUS_BAD_ARG, "(srcImage->depth != 32)"))
        return ORV_STATUS_BAD_ARG;
    OwnSize size;
    const OrvImage& other = srcImage->maskROI ? *srcImage->maskROI : *srcImage;
    if (ownChannels(*srcImage).count == 0 || !ownCommonSize(*srcImage, other, nullptr, false, size))
        return ORV_STATUS_OK;
    Search search = {};
    if (!srcImage->tileInfo)
        searchPiece(search, *srcImage, srcImage->maskROI);
    else if (report.when(!searchTiles(search, srcImage, size), ORV_STATUS_BAD_ARG,
                         "(srcImage->tileInfo->tileData == NULL)"))
        return ORV_STATUS_NO_MEMORY;
    if (search.seeded) {
        *min = search.extremes.least;
        *max = search.extremes.greatest;
    }
    return ORV_STATUS_OK;
}
