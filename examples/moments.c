/* moments.c - moments: find out how an object lies in a picture, and turn it upright.
 *
 *     moments picture.png result.png [upright.png]
 *
 * The object is what is dark, and opaque if the picture has an alpha channel. Its moments of the second order tell the
 * direction of its longest extent. The picture is turned until that runs as it does in a picture of the object upright,
 * or, without one, along rows or columns; and as moments do not tell one end of the object from the other, the shorter
 * way.
 */
#include <math.h>
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

static const double pi = 3.14159265358979323846;

/* An image of 8U with some channels of a picture: one, or all of them. */
static OrvImage* makeImage(const OrvImage* picture, int32_t channels, int32_t width, int32_t height, int value)
{
    const int isAll = channels == picture->nChannels;
    OrvImage* image = orvCreateImageHeader(channels, 0, ORV_DEPTH_8U, isAll ? picture->colorModel : "GRAY",
                                           isAll ? picture->channelSeq : "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_TL, 4,
                                           width, height, NULL, NULL, NULL, NULL);
    orvAllocateImage(image, 1, value);
    return image;
}

/* The object in white on black. */
static OrvImage* objectOf(OrvImage* picture)
{
    OrvImage* object = makeImage(picture, 1, picture->width, picture->height, 0);
    OrvImage channel = *picture;
    OrvROI roi;
    orvSetROI(&roi, 1, 0, 0, picture->width, picture->height);
    channel.roi = &roi;
    orvNot(&channel, object);
    if (picture->alphaChannel) {
        OrvImage* alpha = makeImage(picture, 1, picture->width, picture->height, 0);
        roi.coi = (uint32_t)picture->alphaChannel;
        orvCopy(&channel, alpha);
        orvMultiplyScale(object, alpha, object);
        orvDeallocate(alpha, ORV_IMAGE_ALL);
    }
    return object;
}

/* The angle of the object's longest extent in degrees, from -90 to 90. */
static double directionOf(OrvImage* picture)
{
    OrvMomentState moments;
    OrvImage* object = objectOf(picture);
    orvMoments(object, &moments);
    orvDeallocate(object, ORV_IMAGE_ALL);
    double weight = orvGetSpatialMoment(&moments, 0, 0);
    if (weight == 0) {
        printf("no object\n");
        return 0;
    }
    printf("%.0f pixels about (%.1f, %.1f), ", weight / 255, orvGetSpatialMoment(&moments, 1, 0) / weight,
           orvGetSpatialMoment(&moments, 0, 1) / weight);
    double angle = 90 / pi *
                   atan2(2 * orvGetCentralMoment(&moments, 1, 1),
                         orvGetCentralMoment(&moments, 2, 0) - orvGetCentralMoment(&moments, 0, 2));
    printf("at %.1f degrees\n", angle);
    return angle;
}

/* The picture turned by an angle, as large as it takes to lose nothing of it, on white. */
static OrvImage* turned(OrvImage* picture, double angle)
{
    /* Turn about the first pixel, see where the corners come to lie, and move them into the new picture. */
    const double radians = angle / 180 * pi;
    double coeffs[2][3] = {{cos(radians), sin(radians), 0}, {-sin(radians), cos(radians), 0}}, bound[2][2];
    orvGetAffineBound(picture, coeffs, bound);
    if (orvGetErrStatus() < 0)
        return NULL;
    int32_t width = (int32_t)ceil(bound[1][0] - bound[0][0]) + 1, height = (int32_t)ceil(bound[1][1] - bound[0][1]) + 1;
    OrvImage* result = makeImage(picture, picture->nChannels, width, height, 255);
    picture->alphaChannel = 0; /* what it holds is to be moved like the colours */
    orvRotate(picture, result, angle, -bound[0][0], -bound[0][1], ORV_INTER_LINEAR);
    return result;
}

int main(int argc, char** argv)
{
    if (argc != 3 && argc != 4) {
        fprintf(stderr, "usage: moments picture.png result.png [upright.png]\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    OrvImage* picture = pngLoad(argv[1]);
    OrvImage* upright = argc == 4 ? pngLoad(argv[3]) : NULL;
    if (!picture || (argc == 4 && !upright))
        return EXIT_FAILURE;

    double angle = directionOf(picture);
    angle -= upright ? directionOf(upright) : 90 * round(angle / 90);
    angle -= 180 * round(angle / 180);
    printf("turned by %.1f degrees\n", angle);
    OrvImage* result = turned(picture, angle);

    int good = orvGetErrStatus() >= 0 && pngSave(argv[2], result);
    orvDeallocate(result, ORV_IMAGE_ALL);
    orvDeallocate(upright, ORV_IMAGE_ALL);
    orvDeallocate(picture, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
