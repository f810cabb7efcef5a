#include "pngio.h"

#include <png.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

OrvImage* pngLoad(const char* path)
{
    static const char* const models[] = {"GRAY", "GRAY", "RGB", "RGBA"};
    static const char* const sequences[] = {"G", "GA", "RGB", "RGBA"};
    png_image png = {.version = PNG_IMAGE_VERSION};
    OrvImage* image;
    int channels;

    if (!png_image_begin_read_from_file(&png, path)) {
        fprintf(stderr, "%s: %s\n", path, png.message);
        return NULL;
    }
    png.format &= PNG_FORMAT_FLAG_COLOR | PNG_FORMAT_FLAG_ALPHA; /* 8 bits, no palette */
    channels = (int)PNG_IMAGE_SAMPLE_CHANNELS(png.format);
    image = orvCreateImageHeader(channels, channels % 2 == 0 ? channels : 0, ORV_DEPTH_8U, models[channels - 1],
                                 sequences[channels - 1], ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 32, (int32_t)png.width,
                                 (int32_t)png.height, NULL, NULL, NULL, NULL);
    orvAllocateImage(image, 0, 0);
    if (!image || !image->imageData || !png_image_finish_read(&png, NULL, image->imageData, image->widthStep, NULL)) {
        fprintf(stderr, "%s: %s\n", path, png.message[0] ? png.message : "no memory for the picture");
        png_image_free(&png);
        orvDeallocate(image, ORV_IMAGE_ALL);
        return NULL;
    }
    return image;
}

/* The pixels as PNG wants them: the top row first, channels side by side. */
static uint8_t* packPixels(OrvImage* image)
{
    size_t channels = (size_t)image->nChannels;
    uint8_t* pixels = malloc((size_t)image->width * (size_t)image->height * channels);
    uint8_t* to = pixels;
    int32_t x, y;

    for (y = 0; pixels && y < image->height; ++y)
        for (x = 0; x < image->width; ++x) {
            orvGetPixel(image, x, y, to);
            if (image->depth == ORV_DEPTH_1U)
                *to = *to ? 255 : 0;
            to += channels;
        }
    return pixels;
}

int pngSave(const char* path, OrvImage* image)
{
    static const png_uint_32 formats[] = {PNG_FORMAT_GRAY, PNG_FORMAT_GA, PNG_FORMAT_RGB, PNG_FORMAT_RGBA};
    png_image png = {.version = PNG_IMAGE_VERSION};
    int isPlain = orvCheckImageHeader(image) == ORV_STATUS_OK && !image->tileInfo && image->depth == ORV_DEPTH_8U &&
                  image->dataOrder == ORV_DATA_ORDER_PIXEL && image->origin == ORV_ORIGIN_TL;
    uint8_t* packed = NULL;
    int saved;

    if (orvCheckImageHeader(image) != ORV_STATUS_OK || image->nChannels > 4 ||
        (image->depth != ORV_DEPTH_8U && image->depth != ORV_DEPTH_1U)) {
        fprintf(stderr, "%s: not an image that a PNG file can hold here\n", path);
        return 0;
    }
    if (!isPlain && !(packed = packPixels(image))) {
        fprintf(stderr, "%s: no memory for the picture\n", path);
        return 0;
    }
    png.width = (png_uint_32)image->width;
    png.height = (png_uint_32)image->height;
    png.format = formats[image->nChannels - 1];
    if (image->nChannels >= 3 && memcmp(image->channelSeq, "BGR", 3) == 0)
        png.format |= PNG_FORMAT_FLAG_BGR;
    saved =
        png_image_write_to_file(&png, path, 0, packed ? packed : image->imageData, packed ? 0 : image->widthStep, NULL);
    if (!saved)
        fprintf(stderr, "%s: %s\n", path, png.message);
    free(packed);
    return saved;
}
