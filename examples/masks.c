/* masks.c - masks: keep the colour of one thing in a photograph and make everything else grey.
 *
 *     masks photo.png result.png
 *
 * A mask is an image of depth 1U, one bit a pixel. Where its bit is clear, an operation leaves the pixel alone. Masks
 * are images like any others: a threshold makes them, fills draw into them, logic operations combine them.
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

static OrvImage* makeImage(uint32_t depth, int32_t width, int32_t height)
{
    OrvImage* image = orvCreateImageHeader(1, 0, depth, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4, width,
                                           height, NULL, NULL, NULL, NULL);
    orvAllocateImage(image, 1, 0);
    return image;
}

/* What is much redder than it is blue. */
static void findOrange(OrvImage* photo, OrvImage* mask)
{
    OrvImage* redness = makeImage(ORV_DEPTH_8U, photo->width, photo->height);
    OrvROI channel = {1, 0, 0, photo->width, photo->height};
    photo->roi = &channel;
    orvCopy(photo, redness);
    channel.coi = 3;
    orvSubtract(redness, photo, redness); /* red - blue, not below 0 */
    photo->roi = NULL;
    orvThreshold(redness, mask, 70); /* a 1U destination gets 1 at and above the threshold */
    orvDeallocate(redness, ORV_IMAGE_ALL);
}

/* Clears the bits outside a region. */
static void keepRegion(OrvImage* mask, int32_t x, int32_t y, int32_t width, int32_t height)
{
    OrvImage* frame = makeImage(ORV_DEPTH_1U, mask->width, mask->height);
    OrvROI region = {0, x, y, width, height};
    frame->roi = &region;
    orvSet(frame, 1);
    frame->roi = NULL;
    orvAnd(mask, frame, mask);
    orvDeallocate(frame, ORV_IMAGE_ALL);
}

/* Copies the green channel, the best grey of the three, into all channels, where the mask is set. */
static void makeGrey(OrvImage* photo, OrvImage* mask)
{
    OrvImage* grey = makeImage(ORV_DEPTH_8U, photo->width, photo->height);
    OrvROI channel = {2, 0, 0, photo->width, photo->height};
    photo->roi = &channel;
    orvCopy(photo, grey);
    photo->maskROI = mask;
    for (channel.coi = 1; channel.coi <= 3; ++channel.coi)
        orvCopy(grey, photo);
    photo->maskROI = NULL;
    photo->roi = NULL;
    orvDeallocate(grey, ORV_IMAGE_ALL);
}

int main(int argc, char** argv)
{
    if (argc != 3) {
        fprintf(stderr, "usage: masks photo.png result.png\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    OrvImage* photo = pngLoad(argv[1]);
    if (!photo || photo->nChannels != 3)
        return EXIT_FAILURE;

    OrvImage* mask = makeImage(ORV_DEPTH_1U, photo->width, photo->height);
    findOrange(photo, mask);
    keepRegion(mask, photo->width / 20, photo->height * 2 / 5, photo->width, photo->height);
    orvNot(mask, mask); /* now set where the colour goes */
    makeGrey(photo, mask);

    int good = orvGetErrStatus() >= 0 && pngSave(argv[2], photo);
    orvDeallocate(mask, ORV_IMAGE_ALL);
    orvDeallocate(photo, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
