/* channels.c - channels of interest: work on one channel of a colour picture.
 *
 *     channels photo.png result.png
 *
 * Four copies of the photograph on one sheet: as it is, with red and blue swapped, warmer, and its three channels side
 * by side in grey. A channel of interest belongs to a region. Headers are plain records: a copy of one is a second view
 * of the same pixels, with a region and a channel of its own.
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

enum { all, red, green, blue };

/* A view of one channel of a part of the image. The region record is the caller's. */
static OrvImage view(const OrvImage* image, OrvROI* roi, int32_t channel, int32_t x, int32_t y, int32_t width,
                     int32_t height)
{
    OrvImage result = *image;
    orvSetROI(roi, channel, x, y, width, height);
    result.roi = roi;
    return result;
}

/* Exchanges two channels of the part: source and destination are views of one picture. */
static void swapRedAndBlue(const OrvImage* sheet, int32_t x, int32_t y, int32_t width, int32_t height)
{
    OrvROI roi[2];
    OrvImage reds = view(sheet, &roi[0], red, x, y, width, height);
    OrvImage blues = view(sheet, &roi[1], blue, x, y, width, height);
    orvExchange(&reds, &blues);
}

/* More red, less blue; sums above 255 stay at 255 and differences below 0 at 0. */
static void makeWarmer(const OrvImage* sheet, int32_t x, int32_t y, int32_t width, int32_t height)
{
    OrvROI roi;
    OrvImage reds = view(sheet, &roi, red, x, y, width, height);
    orvAddS(&reds, &reds, 35);
    OrvImage blues = view(sheet, &roi, blue, x, y, width, height);
    orvSubtractS(&blues, &blues, 35, 0);
}

/* A third of the photograph in each channel: one channel of the source meets one channel of the destination. */
static void showChannels(const OrvImage* photo, const OrvImage* sheet, int32_t x, int32_t y)
{
    for (int32_t shown = red; shown <= blue; ++shown) {
        int32_t left = (shown - red) * photo->width / 3, width = (shown - red + 1) * photo->width / 3 - left;
        OrvROI from, to;
        OrvImage source = view(photo, &from, shown, left, 0, width, photo->height);
        for (int32_t channel = red; channel <= blue; ++channel) {
            OrvImage target = view(sheet, &to, channel, x + left, y, width, photo->height);
            orvCopy(&source, &target);
        }
    }
}

int main(int argc, char** argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: channels photo.png result.png\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    OrvImage* photo = pngLoad(argv[1]);
    if (!photo || photo->nChannels != 3)
        return EXIT_FAILURE;
    int32_t w = photo->width, h = photo->height;
    OrvImage* sheet = orvCreateImageHeader(3, 0, ORV_DEPTH_8U, "RGB", "RGB", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4,
                                           2 * w, 2 * h, NULL, NULL, NULL, NULL);
    orvAllocateImage(sheet, 1, 255);

    for (int32_t i = 0; i < 3; ++i) {
        OrvROI roi;
        OrvImage part = view(sheet, &roi, all, i % 2 * w, i / 2 * h, w, h);
        orvCopy(photo, &part);
    }
    swapRedAndBlue(sheet, w, 0, w, h);
    makeWarmer(sheet, 0, h, w, h);
    showChannels(photo, sheet, w, h);

    int good = orvGetErrStatus() >= 0 && pngSave(argv[2], sheet);
    orvDeallocate(sheet, ORV_IMAGE_ALL);
    orvDeallocate(photo, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
