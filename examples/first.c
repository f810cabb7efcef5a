/* first.c - a first program: loads a photograph, draws a frame around it pixel by pixel, keeps the original as a clone,
 * sees what an error is, and saves the picture.
 *
 * usage: first photograph.png result.png
 */
#include <orv.h>
#include <stdio.h>

#include "support/pngio.h"

enum { frameWidth = 12 };

/* Reports come here instead of to a box that asks whether to end the program. */
static int32_t ORV_CALL printReport(int32_t status, const char* func, const char* context, const char* file,
                                    int32_t line)
{
    (void)file;
    (void)line;
    printf("  %s says: %s, because of %s\n", func, orvErrorStr(status), context);
    return status;
}

/* Mixes a pixel with a colour, half and half, or a grey one with its green. An alpha channel stays. */
static void tint(OrvImage* image, int32_t x, int32_t y, const uint8_t colour[3])
{
    uint8_t pixel[4];
    int32_t c;

    orvGetPixel(image, x, y, pixel);
    if (image->nChannels < 3)
        pixel[0] = (uint8_t)((pixel[0] + colour[1]) / 2);
    else
        for (c = 0; c < 3; ++c)
            pixel[c] = (uint8_t)((pixel[c] + colour[c]) / 2);
    orvPutPixel(image, x, y, pixel);
}

static void drawFrame(OrvImage* image, const uint8_t colour[3])
{
    int32_t x, y;

    for (y = 0; y < image->height; ++y)
        for (x = 0; x < image->width; ++x)
            if (x < frameWidth || y < frameWidth || x >= image->width - frameWidth || y >= image->height - frameWidth)
                tint(image, x, y, colour);
}

/* The pixels in which two images of one size differ. */
static long countDifferences(OrvImage* one, OrvImage* other)
{
    long count = 0;
    int32_t x, y, c;

    for (y = 0; y < one->height; ++y)
        for (x = 0; x < one->width; ++x) {
            uint8_t a[4], b[4];
            orvGetPixel(one, x, y, a);
            orvGetPixel(other, x, y, b);
            for (c = 0; c < one->nChannels && a[c] == b[c]; ++c)
                ;
            count += c < one->nChannels;
        }
    return count;
}

int main(int argc, char** argv)
{
    static const uint8_t amber[3] = {255, 176, 0};
    uint8_t pixel[4];
    OrvImage* image;
    OrvImage* original;
    int saved;

    if (argc != 3) {
        fprintf(stderr, "usage: %s photograph.png result.png\n", argv[0]);
        return 2;
    }
    orvRedirectError(printReport);

    image = pngLoad(argv[1]);
    if (!image)
        return 1;
    printf("%s is %d x %d with %d channels\n", argv[1], (int)image->width, (int)image->height, (int)image->nChannels);

    original = orvCloneImage(image);
    if (!original) {
        orvDeallocate(image, ORV_IMAGE_ALL);
        return 1;
    }
    drawFrame(image, amber);
    printf("the frame changed %ld pixels\n", countDifferences(image, original));

    /* No operation returns an error code: it reports and stores a status, which stays until it is cleared. */
    printf("reading a pixel beside the picture:\n");
    orvGetPixel(image, image->width, 0, pixel);
    if (orvGetErrStatus() != ORV_STATUS_OK) {
        printf("  the stored status is %d\n", (int)orvGetErrStatus());
        orvSetErrStatus(ORV_STATUS_OK);
    }

    saved = pngSave(argv[2], image);
    if (saved)
        printf("saved %s\n", argv[2]);
    orvDeallocate(original, ORV_IMAGE_ALL);
    orvDeallocate(image, ORV_IMAGE_ALL);
    return saved ? 0 : 1;
}
