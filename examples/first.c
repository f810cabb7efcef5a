/* first.c - a first program: load two pictures, add one onto a region of the other, save.
 *
 *     first picture.png other.png result.png
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

int main(int argc, char** argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: first picture.png other.png result.png\n");
        return 2;
    }
    /* Errors are this program's business, and are told on the error stream. */
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    OrvImage* picture = pngLoad(argv[1]);
    OrvImage* other = pngLoad(argv[2]);
    if (!picture || !other)
        return EXIT_FAILURE;

    /* An operation works in the region of an image, or in the whole image if it has none. Regions of several images are
     * aligned at their upper left corners, and the smallest size counts: here, up to 200 x 150 pixels. */
    picture->roi = orvCreateROI(0, 380, 20, 200, 150);
    other->roi = orvCreateROI(0, 130, 20, 200, 150);
    orvAdd(picture, other, picture);

    /* Operations return nothing: whether one has failed is told by the thread's status. */
    int32_t status = orvGetErrStatus();
    if (status < 0)
        fprintf(stderr, "not added, status %d: %s\n", (int)status, orvErrorStr(status));
    int good = status >= 0 && pngSave(argv[3], picture);

    orvDeallocate(picture, ORV_IMAGE_ALL);
    orvDeallocate(other, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
