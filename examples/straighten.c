/* straighten.c - a flat thing that was photographed from the side, as if seen from the front.
 *
 *     straighten photo.png result.png x0 y0 x1 y1 x2 y2 x3 y3 [width height]
 *
 * The four points are the thing's corners in the photograph, counted in pixels from its upper left one: left top, right
 * top, right bottom, left bottom. The result shows what lies between them. It is as large as the thing appears in the
 * photograph, or as told: a photograph does not tell how long the thing really is.
 */
#include <math.h>
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

enum { farthest = 32000 };

static double distance(const double* a, const double* b)
{
    return hypot(b[0] - a[0], b[1] - a[1]);
}

/* The mean length of two opposite edges in pixels, both ends included. */
static int32_t meanLength(double quad[4][2], int a, int b, int c, int d)
{
    return (int32_t)lround((distance(quad[a], quad[b]) + distance(quad[c], quad[d])) / 2) + 1;
}

/* Returns 1 if the text is a number in the range. */
static int readNumber(const char* text, double least, double* number)
{
    char* end;
    *number = strtod(text, &end);
    return end != text && *end == 0 && *number >= least && *number <= farthest;
}

int main(int argc, char** argv)
{
    double quad[4][2], size[2];
    int good = argc == 11 || argc == 13;
    for (int i = 0; good && i < 8; ++i)
        good = readNumber(argv[3 + i], -farthest, &quad[i / 2][i % 2]);
    for (int i = 0; good && i < argc - 11; ++i)
        good = readNumber(argv[11 + i], 2, &size[i]);
    if (!good) {
        fprintf(stderr, "usage: straighten photo.png result.png x0 y0 x1 y1 x2 y2 x3 y3 [width height]\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    OrvImage* photo = pngLoad(argv[1]);
    if (!photo)
        return EXIT_FAILURE;

    int32_t width = argc == 13 ? (int32_t)size[0] : meanLength(quad, 0, 1, 3, 2);
    int32_t height = argc == 13 ? (int32_t)size[1] : meanLength(quad, 0, 3, 1, 2);
    photo->alphaChannel = 0; /* what it holds is to be moved like the colours */
    OrvImage* result =
        orvCreateImageHeader(photo->nChannels, 0, ORV_DEPTH_8U, photo->colorModel, photo->channelSeq,
                             ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4, width, height, NULL, NULL, NULL, NULL);
    orvAllocateImage(result, 1, 255);

    /* From the quadrangle in the source to the whole destination. Corners may lie outside the photograph: pixels that
     * would come from there stay white. */
    orvWarpPerspectiveQ(photo, result, quad, 1, ORV_INTER_CUBIC);

    good = orvGetErrStatus() >= 0 && pngSave(argv[2], result);
    orvDeallocate(result, ORV_IMAGE_ALL);
    orvDeallocate(photo, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
