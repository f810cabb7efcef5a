/* errors.c - errors: a handler of one's own, the parent mode, a trace, and recovery.
 *
 *     errors photo.png vignette.png result.png
 *
 * Darkens a colour photograph by a grey picture. That fails at first, as the numbers of channels differ; the program is
 * told so, adds its own functions to the report, and does it channel by channel instead.
 *
 * Handler, mode and status belong to a thread. A new thread starts with the mode in which an error may end the program:
 * a program that handles errors itself says so first, as main does here.
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>

#include "support/pngio.h"

/* The program's report handler: it writes a line to the program's log. The library hands it one report for each failed
 * check, and one for each function further out that says it failed because of that. */
static int32_t ORV_CALL logReport(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    (void)file;
    (void)line;
    if (status == ORV_STATUS_BACKTRACE)
        printf("    called from %s %s\n", func, context);
    else if (status == ORV_STATUS_AUTOTRACE)
        printf("trace: %s %s\n", func, context);
    else
        printf("%s: %s %s\n", func, orvErrorStr(status), context);
    return status;
}

/* A function of the program that passes a failure on. ORV_STATUS_BACKTRACE is reported like any other status but never
 * stored, so that the first status, the cause, stays. */
static int darken(OrvImage* picture, OrvImage* shade)
{
    orvSubtract(picture, shade, picture);
    if (orvGetErrStatus() >= 0)
        return 1;
    orvError(ORV_STATUS_BACKTRACE, "darken", "(the shade does not fit the picture)", __FILE__, __LINE__);
    return 0;
}

/* What the caller does about it. The status stays until it is cleared. Before that orvCopy, orvExchange and a few
 * others do nothing at all: a chain of operations stops at its first failure. */
static int darkenAnyway(OrvImage* picture, OrvImage* shade)
{
    if (darken(picture, shade))
        return 1;
    orvError(ORV_STATUS_BACKTRACE, "darkenAnyway", "", __FILE__, __LINE__);
    printf("status %d: %s\n", orvGetErrStatus(), orvErrorStr(orvGetErrStatus()));
    orvSetErrStatus(ORV_STATUS_OK);

    int good = 1;
    picture->roi = orvCreateROI(1, 0, 0, picture->width, picture->height);
    for (; good && picture->roi->coi <= picture->nChannels; ++picture->roi->coi) {
        orvError(ORV_STATUS_AUTOTRACE, "darkenAnyway", "(one channel)", __FILE__, __LINE__);
        good = darken(picture, shade);
    }
    orvDeallocate(picture, ORV_IMAGE_ROI);
    return good;
}

/* Asks whether an image is sound, without a report: orvCheckImageHeader reports nothing. */
static void checkBadImage(OrvImage* picture)
{
    OrvImage broken = *picture;
    broken.align = 5;
    printf("broken copy: %s\n", orvErrorStr(orvCheckImageHeader(&broken)));
    orvSetErrStatus(ORV_STATUS_OK); /* the check has stored what it found */
}

/* Tries something that may fail, without a word. */
static int fits(OrvImage* picture, OrvImage* shade)
{
    OrvErrorCallBack previous = orvRedirectError(orvNulDevReport);
    orvAdd(picture, shade, picture);
    orvRedirectError(previous);
    int32_t status = orvGetErrStatus();
    orvSetErrStatus(ORV_STATUS_OK);
    return status == ORV_STATUS_OK;
}

int main(int argc, char** argv)
{
    if (argc != 4) {
        fprintf(stderr, "usage: errors photo.png vignette.png result.png\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent); /* the stock handlers report and return; the stored status is for the caller */
    orvRedirectError(logReport);

    OrvImage* photo = pngLoad(argv[1]);
    OrvImage* shade = pngLoad(argv[2]);
    if (!photo || !shade)
        return EXIT_FAILURE;
    checkBadImage(photo);
    printf("fits as it is: %s\n", fits(photo, shade) ? "yes" : "no");
    int good = darkenAnyway(photo, shade) && pngSave(argv[3], photo);

    orvDeallocate(photo, ORV_IMAGE_ALL);
    orvDeallocate(shade, ORV_IMAGE_ALL);
    return good ? EXIT_SUCCESS : EXIT_FAILURE;
}
