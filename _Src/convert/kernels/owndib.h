// Kernels of the exchange with bitmaps. Between rows of bitmaps and rows of images pixels are words of four components:
// B in the low byte, then G, R and A.
#pragma once

#include "../../core/kernels/ownbits.h"
#include "../../core/ownisa.h"

// Rows go by pieces of at most so many pixels, which begin at multiples of it.
enum { OWN_DIB_PIECE = 512 };

// Where each component of a word stands in a pixel of 16 or 32 bits: from bit `down` on after it has been moved down by
// `up` bits, its low bits then being those of the mask.
struct OwnDibMasks {
    uint32_t mask[4];
    uint32_t down[4], up[4];
    uint32_t always;  // what components that are nowhere have in a word
};

// A search for the nearest colours of a palette. The cube of colours is divided into cells, and for each cell in which
// a colour is searched those entries are listed that can be the nearest ones of a colour in it, by eights, whose last
// is filled up.
enum { OWN_DIB_CELLS = 1 << 15, OWN_DIB_EIGHTS = 1 << 15 };
struct OwnDibPalette {
    // The entries, filled up to a multiple of eight with others of them: what each is written as above its colour. Of
    // equally near ones the first has the lowest code.
    const uint32_t* words;
    int32_t padded;
    bool greys;  // 256 entries: a grey that has the index of its own value is found there

    // Of each cell the number of its eights above the first one's place, 0 for none yet.
    uint32_t* cells;
    uint32_t* eights;  // room for OWN_DIB_EIGHTS
    int32_t used;
};

// What the pixels of a bitmap mean.
struct OwnDibFormat {
    OwnDibMasks masks;       // of 16 and 32 bits
    const uint32_t* table;   // of 1, 4 and 8 bits: the word of each value
    OwnDibPalette* palette;  // the same for writing
};

// A row of an image: where its channels begin, and how many values lie from pixel to pixel.
struct OwnDibRow {
    uint8_t* channel[4];
    ptrdiff_t step;
};

// The pixels of a bitmap, and those of an image.
enum OwnDibBits { OWN_DIB_1, OWN_DIB_4, OWN_DIB_8, OWN_DIB_16, OWN_DIB_24, OWN_DIB_32, OWN_DIB_BITS };
enum OwnDibImage {
    OWN_DIB_1U,
    OWN_DIB_8U_1,
    OWN_DIB_8U_3,
    OWN_DIB_8U_4,
    OWN_DIB_16U_1,
    OWN_DIB_16U_3,
    OWN_DIB_16U_4,
    OWN_DIB_IMAGES
};

struct OwnDibKernels {
    // Between the pixels of a bitmap's row and n words. Writing touches no byte but those of the pixels; of the last
    // one of bits or nibbles it clears what is left.
    void (*read[OWN_DIB_BITS])(const uint8_t* row, const OwnDibFormat& format, uint32_t* words, ptrdiff_t n);
    void (*write[OWN_DIB_BITS])(const uint32_t* words, const OwnDibFormat& format, uint8_t* row, ptrdiff_t n);

    // Between the pixels of an image's row and n words. Of bits those behind the last stay.
    void (*load[OWN_DIB_IMAGES])(const OwnDibRow& row, uint32_t* words, ptrdiff_t n);
    void (*store[OWN_DIB_IMAGES])(const uint32_t* words, const OwnDibRow& row, ptrdiff_t n);

    // From a row of bytes: by a table of bytes, and by a table of words to three bytes each.
    void (*lookUp)(const uint8_t* row, const uint8_t* table, uint8_t* bytes, ptrdiff_t n);
    void (*to24)(const uint8_t* row, const uint32_t* table, uint8_t* bytes, ptrdiff_t n);

    void (*swap)(uint32_t* words, ptrdiff_t n);    // B and R
    void (*toGrey)(uint32_t* words, ptrdiff_t n);  // the grey of the colour into the place of R
    void (*spread)(uint32_t* words, ptrdiff_t n);  // R into B and G
};

OWN_KERNEL_TABLE(OwnDibKernels, ownDibKernels)
