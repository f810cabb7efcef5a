/* bmp.c - bitmaps: read and write BMP files, with palettes, dithering and run-length code.
 *
 *     bmp from.bmp|from.png to.bmp|to.png [option...]
 *
 * Options for BMP files: the bits of a pixel, 1, 4, 8, 16, 24 (as it is without one) or 32; `median` for a palette that
 * is made from the picture instead of a fixed one; `fs`, `jarvis`, `stucki` or `ordered` for dithering; `rle` for
 * run-length code.
 */
#include <orv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "support/bmpio.h"
#include "support/pngio.h"

struct Options {
    int bits, coded, dither, palette;
};

static int isBmp(const char* path)
{
    size_t length = strlen(path);
    return length > 4 && strcmp(path + length - 4, ".bmp") == 0;
}

/* 1 if the word is an option. */
static int takeOption(const char* word, struct Options* options)
{
    static const struct {
        const char* word;
        int bits, coded, dither, palette;
    } known[] = {{"1", 1, 0, 0, 0},
                 {"4", 4, 0, 0, 0},
                 {"8", 8, 0, 0, 0},
                 {"16", 16, 0, 0, 0},
                 {"24", 24, 0, 0, 0},
                 {"32", 32, 0, 0, 0},
                 {"rle", 0, 1, 0, 0},
                 {"fs", 0, 0, ORV_DITHER_FS, 0},
                 {"jarvis", 0, 0, ORV_DITHER_JJH, 0},
                 {"stucki", 0, 0, ORV_DITHER_STUCKEY, 0},
                 {"ordered", 0, 0, ORV_DITHER_BAYER, 0},
                 {"median", 0, 0, 0, ORV_PALETTE_MEDCUT}};
    size_t i;
    for (i = 0; i < sizeof known / sizeof *known; ++i)
        if (strcmp(word, known[i].word) == 0) {
            if (known[i].bits)
                options->bits = known[i].bits;
            if (known[i].coded)
                options->coded = 1;
            if (known[i].dither)
                options->dither = known[i].dither;
            if (known[i].palette)
                options->palette = known[i].palette;
            return 1;
        }
    return 0;
}

int main(int argc, char** argv)
{
    struct Options options = {24, 0, ORV_DITHER_NONE, ORV_PALETTE_FIXED};
    int good = argc >= 3, saved, i;
    OrvImage* image;

    for (i = 3; i < argc && good; ++i)
        good = takeOption(argv[i], &options);
    if (!good) {
        fprintf(
            stderr,
            "usage: bmp from.bmp|from.png to.bmp|to.png [1|4|8|16|24|32] [median] [fs|jarvis|stucki|ordered] [rle]\n");
        return 2;
    }
    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(orvStdErrReport);
    image = isBmp(argv[1]) ? bmpLoad(argv[1]) : pngLoad(argv[1]);
    if (!image)
        return EXIT_FAILURE;
    saved = isBmp(argv[2]) ? bmpSave(argv[2], image, options.bits, options.coded, options.dither, options.palette)
                           : pngSave(argv[2], image);
    orvDeallocate(image, ORV_IMAGE_ALL);
    return saved ? EXIT_SUCCESS : EXIT_FAILURE;
}
