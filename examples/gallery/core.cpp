// The gallery's entries for the core: moving pixels, tiles, single pixels.
#include <algorithm>
#include <cstring>

#include "families.h"

namespace gallery {

namespace {

void copyRegion(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& dstImage = stage.inPlace("dstImage", photo("coffee"));
    CODE(srcImage->roi = orvCreateROI(0, 80, 20, 290, 270));
    CODE(dstImage->roi = orvCreateROI(0, 310, 130, 400, 400));
    CALL(orvCopy(srcImage, dstImage));
}

void copyMask(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("chelsea"));
    Image& mask = stage.source("mask", ellipse(300, 300, 150, 150, 140, 150));
    Image& dstImage = stage.inPlace("dstImage", photo("astronaut"));
    CODE(srcImage->roi = orvCreateROI(0, 55, 0, 300, 300));
    CODE(dstImage->roi = orvCreateROI(0, 80, 0, 300, 300));
    CODE(dstImage->maskROI = mask);
    CALL(orvCopy(srcImage, dstImage));
}

void copyChannel(Stage& stage)
{
    Image& srcImage = stage.source("srcImage", photo("astronaut"));
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 512, 512));
    CODE(srcImage->roi = orvCreateROI(1, 0, 0, 512, 512));
    CALL(orvCopy(srcImage, dstImage));
}

// A tiled image over a plain one. The tiles that operations ask for are noted in their order.
struct TiledPicture {
    enum { tileWidth = 96, tileHeight = 64 };

    explicit TiledPicture(Image image) : pixels(std::move(image)), tile(tileWidth * tileHeight)
    {
        header = Image(orvCreateImageHeader(1, 0, ORV_DEPTH_8U, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 32,
                                            pixels->width, pixels->height, nullptr, nullptr, this,
                                            orvCreateTileInfo(provide, nullptr, tileWidth, tileHeight)));
    }

    static int32_t ORV_CALL provide(OrvImage* image, int32_t xIndex, int32_t yIndex, int32_t mode)
    {
        TiledPicture& picture = *static_cast<TiledPicture*>(image->imageTag);
        if (mode == ORV_TILE_RELEASE)
            return 0;
        int x = xIndex * tileWidth, y = yIndex * tileHeight;
        int width = std::min<int>(tileWidth, picture.pixels->width - x);
        for (int j = 0; j < tileHeight && y + j < picture.pixels->height; ++j)
            memcpy(&picture.tile[size_t(j * tileWidth)], picture.pixels.row<uint8_t>(y + j) + x, size_t(width));
        image->tileInfo->tileData = picture.tile.data();
        picture.opened.push_back({x, y, tileWidth, tileHeight, ""});
        return 0;
    }

    Image pixels, header;
    std::vector<uint8_t> tile;
    std::vector<Box> opened;
};

void copyTiled(Stage& stage)
{
    TiledPicture picture(photo("camera"));
    stage.given("OrvImage* srcImage = nullptr;  // with a tileInfo: see orvCreateTileInfo and examples/tiles.c");
    Image& srcImage = picture.header;
    Image& dstImage = stage.target("dstImage", Image(1, ORV_DEPTH_8U, 260, 200));
    CODE(srcImage->roi = orvCreateROI(0, 130, 30, 260, 200));
    CALL(orvCopy(srcImage, dstImage));
    picture.opened.push_back({130, 30, 260, 200, "region"});
    stage.showBefore("srcImage", picture.pixels, {}, picture.opened);
    stage.note("The source has tiles of 96 × 64 pixels and no pixel data; its provider was asked for the " +
               std::to_string(picture.opened.size() - 1) + " tiles drawn here.");
}

void setRegion(Stage& stage)
{
    Image& dstImage = stage.inPlace("dstImage", photo("coffee"));
    CODE(dstImage->roi = orvCreateROI(0, 60, 40, 200, 120));
    CALL(orvSet(dstImage, 300));
    stage.note("300 is cut to 255, the highest value of the depth.");
}

void setChannel(Stage& stage)
{
    Image& mask = stage.source("mask", stripes(512, 512, 32));
    Image& dstImage = stage.inPlace("dstImage", photo("astronaut"));
    CODE(dstImage->roi = orvCreateROI(3, 0, 0, 512, 512));
    CODE(dstImage->maskROI = mask);
    CALL(orvSet(dstImage, 255));
}

void setFP(Stage& stage)
{
    Image& mask = stage.source("mask", ellipse(512, 512, 225, 115, 80, 95));
    Image& dstImage = stage.inPlace("dstImage", converted(photo("astronaut"), ORV_DEPTH_32F));
    CODE(dstImage->maskROI = mask);
    CALL(orvSetFP(dstImage, 127.5f));
}

void exchange(Stage& stage)
{
    Image& srcImage = stage.inPlace("srcImage", photo("chelsea"));
    Image& dstImage = stage.inPlace("dstImage", photo("astronaut"));
    CODE(srcImage->roi = orvCreateROI(0, 120, 70, 180, 200));
    CODE(dstImage->roi = orvCreateROI(0, 140, 10, 180, 200));
    CALL(orvExchange(srcImage, dstImage));
}

void pixels(Stage& stage)
{
    Image& image = stage.inPlace("image", photo("chelsea"));
    const uint8_t red[] = {255, 60, 60}, green[] = {60, 255, 60}, blue[] = {90, 120, 255}, white[] = {255, 255, 255};
    uint8_t pixel[3];
    CODE(image->roi = orvCreateROI(0, 0, 210, 451, 90));
    CODE(orvRShiftS(image, image, 2));
    CODE(orvDeallocate(image, ORV_IMAGE_ROI));
    CALL(for (int32_t x = 0; x < 451; ++x) {
        orvGetPixel(image, x, 120, pixel);
        orvPutPixel(image, x, 120, white);
        orvPutPixel(image, x, 298 - pixel[0] / 3, red);
        orvPutPixel(image, x, 298 - pixel[1] / 3, green);
        orvPutPixel(image, x, 298 - pixel[2] / 3, blue);
    });
    stage.note("The three channels along the white row, as curves at the bottom.");
}

}  // namespace

const Family coreMoves = {
    "Core",
    "Moving pixels",
    "Copies, fills and exchanges, by region, by channel and under masks.",
    {
        {"orvCopy",
         "A region of one picture into another. Regions are aligned at their upper left corners and cut at the "
         "pictures' edges; the smallest size counts.",
         copyRegion},
        {"orvCopy, a mask", "Only where the mask is set. The mask is aligned with the region.", copyMask},
        {"orvCopy, a channel of interest", "One channel of a colour picture into a grey one.", copyChannel},
        {"orvCopy, tiles", "From a picture that its application provides tile by tile.", copyTiled},
        {"orvSet", "A region filled with one value.", setRegion},
        {"orvSet, a channel under a mask", "Blue to the full, in stripes.", setChannel},
        {"orvSetFP", "The same for floating-point pictures.", setFP},
        {"orvExchange", "Two regions change places.", exchange},
    }};

const Family corePixels = {
    "Core",
    "Single pixels",
    "Values read and written one at a time, with coordinates from the top of the picture.",
    {{"orvGetPixel and orvPutPixel", "Reads a row of pixels, marks it, and draws what it has read.", pixels}}};

}  // namespace gallery
