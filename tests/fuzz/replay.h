/* What the fuzz tests and the C programs that repeat one of their calls share: pixels that lie at the edge of a page
 * next to one that nobody may touch, and tile providers that fail, or call the library, when they are asked. */
#ifndef ORV_FUZZ_REPLAY_H
#define ORV_FUZZ_REPLAY_H

#include <math.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#include <windows.h>
#else
#include <sys/mman.h>
#endif

#include "orv.h"

/* It is C. NOLINTBEGIN(modernize-*) */

enum {
    replayPage = 4096,
    replaySmallBytes = 3 * replayPage,
    replayMostBytes = 1 << 19,
    replaySmalls = 900,
    replayLarges = 48,
    replayMostTiles = 128,
    replayMostBlocks = replaySmalls + replayLarges,
    replayCanaries = 64
};

/* How an image's pixels are made. */
typedef struct ReplayHow {
    uint32_t seed;
    int32_t fill; /* 0: noise, 1: the ends of the range, 2: one value, 3: small values, 4: also floats that are none */
    int32_t atStart; /* the pixels begin at a page's start, or else end at its end */
    int32_t shift;   /* bytes between the page's start and the pixels */
    int32_t refuse;  /* the request for a tile that brings nothing, from 1; 0 for none */
    int32_t again;   /* the provider calls the library, and answers what nobody expects */
} ReplayHow;

typedef struct ReplayBlock {
    uint8_t* data;
    size_t bytes;
    int32_t atStart;
} ReplayBlock;

typedef struct ReplayTiles {
    ReplayHow how;
    int32_t columns, rows, requests, open;
    uint8_t* data[replayMostTiles];
} ReplayTiles;

/* The memory of a thread: places of two sizes between pages that cannot be touched, used from the first on by each
 * call. */
typedef struct ReplayArena {
    uint8_t *small, *large;
    int32_t smallUsed, largeUsed, blocks, reports, isLoud;
    void (*heard)(int32_t status, const char* func, const char* context);
    ReplayBlock block[replayMostBlocks];
} ReplayArena;

#ifdef __cplusplus
inline thread_local ReplayArena replayArena;
#else
static ReplayArena replayArena;
#endif

static void replayFail(const char* what)
{
    fprintf(stderr, "fault: %s\n", what);
    abort();
}

static uint8_t* replayMap(size_t place, int32_t places)
{
    size_t stride = place + replayPage, bytes = stride * (size_t)places + replayPage;
#if defined(_WIN32)
    uint8_t* memory = (uint8_t*)VirtualAlloc(NULL, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    if (!memory)
        replayFail("no memory for the test");
    DWORD before;
    for (int32_t i = 0; i <= places; ++i)
        VirtualProtect(memory + stride * (size_t)i, replayPage, PAGE_NOACCESS, &before);
#else
    uint8_t* memory =
        (uint8_t*)mmap(NULL, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (memory == MAP_FAILED)
        replayFail("no memory for the test");
    for (int32_t i = 0; i <= places; ++i)
        mprotect(memory + stride * (size_t)i, replayPage, PROT_NONE);
#endif
    return memory;
}

static void replayReset(void)
{
    ReplayArena* arena = &replayArena;
    if (!arena->small) {
        arena->small = replayMap(replaySmallBytes, replaySmalls);
        arena->large = replayMap(replayMostBytes, replayLarges);
    }
    arena->smallUsed = arena->largeUsed = arena->blocks = arena->reports = 0;
}

/* NULL where there is no more. */
static uint8_t* replayBlock(size_t bytes, int32_t atStart, int32_t shift)
{
    ReplayArena* arena = &replayArena;
    int isSmall = bytes + 2 * replayCanaries < replaySmallBytes && arena->smallUsed < replaySmalls;
    if (!isSmall && (bytes + 2 * replayCanaries > replayMostBytes || arena->largeUsed == replayLarges))
        return NULL;
    if (arena->blocks == replayMostBlocks)
        return NULL;
    size_t place = isSmall ? replaySmallBytes : replayMostBytes;
    int32_t* used = isSmall ? &arena->smallUsed : &arena->largeUsed;
    uint8_t* start = (isSmall ? arena->small : arena->large) + (place + replayPage) * (size_t)(*used)++ + replayPage;
    uint8_t* data = atStart ? start + shift : start + place - bytes;
    memset(atStart ? data + bytes : data - replayCanaries, 0xA5, replayCanaries);
    ReplayBlock block = {data, bytes, atStart};
    arena->block[arena->blocks++] = block;
    return data;
}

/* Ends the process if a byte was written that lies before or behind a block, where no page ends. */
static void replayCheck(void)
{
    for (int32_t i = 0; i < replayArena.blocks; ++i) {
        const ReplayBlock* block = &replayArena.block[i];
        const uint8_t* canary = block->atStart ? block->data + block->bytes : block->data - replayCanaries;
        for (int32_t j = 0; j < replayCanaries; ++j)
            if (canary[j] != 0xA5)
                replayFail("a byte outside of the pixels was written");
    }
}

static uint32_t replayNoise(uint32_t* state)
{
    *state += 0x9E3779B9u;
    uint32_t bits = *state;
    bits = (bits ^ bits >> 16) * 0x21F0AAADu;
    bits = (bits ^ bits >> 15) * 0x735A2D97u;
    return bits ^ bits >> 15;
}

static int64_t replayRowBytes(const OrvImage* image, int64_t width)
{
    int64_t channels = image->dataOrder == ORV_DATA_ORDER_PLANE ? 1 : image->nChannels;
    int64_t bits = image->depth & ORV_DEPTH_MASK;
    return channels < 1 || bits > 32 || width < 1 ? 1
           : channels > replayMostBytes           ? 1 << 30
                                                  : (width * channels * bits + 7) / 8;
}

static int64_t replayRows(const OrvImage* image, int64_t height)
{
    int64_t planes = image->dataOrder == ORV_DATA_ORDER_PLANE ? image->nChannels : 1;
    return planes < 1 || height < 1 ? 1 : planes > replayMostBytes ? 1 << 30 : planes * height;
}

/* The bytes that the header describes, from the first row's start to the last row's end. */
static int64_t replayBytes(const OrvImage* image)
{
    int64_t step = image->widthStep < 1 ? 0 : image->widthStep;
    return (replayRows(image, image->height) - 1) * step + replayRowBytes(image, image->width);
}

static float replayFloat(uint32_t bits, int32_t fill)
{
    static const float odd[] = {0.0f, -0.0f, INFINITY, -INFINITY, NAN, 1e-40f, 3.4e38f, -3.4e38f, 2147483648.0f, 1e10f};
    if (fill == 4 && bits % 4 == 0)
        return odd[bits / 4 % 10];
    return fill == 1 ? (float)(bits & 1) : (float)(bits % 65536) / 256.0f - (fill == 3 ? 0.0f : 100.0f);
}

static void replayRow(const OrvImage* image, uint8_t* row, int64_t width, const ReplayHow* how, uint32_t* state)
{
    int64_t size = (image->depth & ORV_DEPTH_MASK) / 8, bytes = replayRowBytes(image, width);
    for (int64_t at = 0; at + (size > 0 ? size : 1) <= bytes; at += size > 0 ? size : 1) {
        uint32_t bits = how->fill == 2 ? how->seed : replayNoise(state);
        float real = replayFloat(bits, how->fill);
        bits = how->fill == 1 ? 0 - (bits & 1) : how->fill == 3 && size ? bits % 8 : bits;
        uint16_t half = (uint16_t)bits;
        if (image->depth == ORV_DEPTH_32F)
            memcpy(row + at, &real, 4);
        else if (size == 4)
            memcpy(row + at, &bits, 4);
        else if (size == 2)
            memcpy(row + at, &half, 2);
        else
            row[at] = (uint8_t)bits;
    }
}

static int32_t ORV_CALL replayProvide(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    ReplayTiles* tiles = (ReplayTiles*)image->tileInfo->tileTag;
    if (x < 0 || y < 0 || (int64_t)x * image->tileInfo->width >= image->width ||
        (int64_t)y * image->tileInfo->height >= image->height)
        replayFail("a tile outside of the image");
    if (mode == ORV_TILE_RELEASE) {
        if (--tiles->open < 0)
            replayFail("a tile was released that was not open");
        if (tiles->how.again)
            image->tileInfo->tileData = (uint8_t*)1; /* nobody may look at it now */
        return -tiles->how.again;
    }
    if (image->tileInfo->tileData)
        replayFail("tileData is set at a request");
    if (tiles->how.again) {
        uint8_t pixels[64] = {0};
        OrvImage* other = orvCreateImageHeader(1, 0, ORV_DEPTH_8U, "GRAY", "G", 0, 0, 4, 8, 8, NULL, NULL, NULL, NULL);
        if (other) {
            other->imageData = pixels;
            orvSet(other, 7);
            orvBlur(other, other, 3, 3, 1, 1);
            orvDeallocate(other, ORV_IMAGE_HEADER);
        }
    }
    if (++tiles->requests == tiles->how.refuse)
        return 0;
    ++tiles->open;
    image->tileInfo->tileData = tiles->data[y % tiles->rows * tiles->columns + x % tiles->columns];
    return 0;
}

/* Leaves some memory for the arguments that follow the images. */
static int replayHasRoom(void)
{
    return replayArena.largeUsed < replayLarges - 8 && replayArena.blocks < replayMostBlocks - 60;
}

/* Gives an image its pixels, or its tiles, which repeat where there would be too many. False if there is no room. */
static int replayPixels(OrvImage* image, ReplayHow how)
{
    uint32_t state = how.seed;
    if (!image->tileInfo) {
        int64_t bytes = replayBytes(image), rows = replayRows(image, image->height);
        bytes = bytes < image->imageSize ? image->imageSize : bytes;
        image->imageData =
            bytes > replayMostBytes || !replayHasRoom() ? NULL : replayBlock((size_t)bytes, how.atStart, how.shift);
        if (!image->imageData)
            return 0;
        memset(image->imageData, 0x3C, (size_t)bytes);
        for (int64_t i = 0; i < rows && image->widthStep > 0; ++i)
            replayRow(image, image->imageData + i * image->widthStep, image->width, &how, &state);
        return 1;
    }
    OrvTileInfo* info = image->tileInfo;
    if (info->width > 4096 || info->height > 4096)
        return 0;
    if (info->width < 8 || info->height < 8)
        return 1;
    ReplayTiles* tiles = (ReplayTiles*)info->tileTag;
    int64_t across = ((int64_t)image->width + info->width - 1) / info->width;
    int64_t down = ((int64_t)image->height + info->height - 1) / info->height;
    memset(tiles, 0, sizeof *tiles);
    tiles->how = how;
    tiles->columns = across < 1 ? 1 : across > 16 ? 16 : (int32_t)across;
    tiles->rows = down < 1 ? 1 : down > 8 ? 8 : (int32_t)down;
    int64_t align = image->align > 0 && image->align <= 32 ? image->align : 4;
    int64_t step = (replayRowBytes(image, info->width) + align - 1) / align * align;
    int64_t rows = replayRows(image, info->height);
    if (step * rows > replayMostBytes)
        return 0;
    for (int32_t i = 0; i < tiles->columns * tiles->rows; ++i) {
        uint8_t* data = tiles->data[i] =
            replayHasRoom() ? replayBlock((size_t)(step * rows), how.atStart, how.shift) : NULL;
        if (!data)
            return 0;
        memset(data, 0x3C, (size_t)(step * rows));
        for (int64_t j = 0; j < rows; ++j)
            replayRow(image, data + j * step, info->width, &how, &state);
    }
    return 1;
}

/* The pixels of a bitmap, from a noise, and a whole one, with as much palette as its format has. */
static uint8_t* replayBits(int32_t width, int32_t height, int32_t bits, uint32_t seed)
{
    size_t bytes = (size_t)((width * bits + 31) / 32 * 4) * (size_t)height;
    uint8_t* pixels = replayBlock(bytes, 0, 0);
    if (!pixels)
        replayFail("no room for a bitmap");
    for (size_t i = 0; i < bytes; ++i)
        pixels[i] = (uint8_t)replayNoise(&seed);
    return pixels;
}

static BITMAPINFOHEADER* replayBitmap(int32_t width, int32_t height, int32_t bits, int32_t compression, uint32_t seed,
                                      int32_t separate)
{
    size_t table = bits <= 8 ? (size_t)4 << bits : compression == 3 ? 12 : 0;
    size_t bytes = separate ? 0 : (size_t)((width * bits + 31) / 32 * 4) * (size_t)height;
    uint8_t* block = replayBlock(40 + table + bytes, 0, 0);
    if (!block)
        replayFail("no room for a bitmap");
    BITMAPINFOHEADER header;
    memset(&header, 0, sizeof header);
    header.biSize = 40;
    header.biWidth = width;
    header.biHeight = height;
    header.biPlanes = 1;
    header.biBitCount = (uint16_t)bits;
    header.biCompression = (uint32_t)compression;
    memcpy(block, &header, 40);
    for (size_t i = 40; i < 40 + table + bytes; ++i)
        block[i] = (uint8_t)replayNoise(&seed);
    const uint8_t masks[12] = {0, 0xF8, 0, 0, 0xE0, 0x07, 0, 0, 0x1F, 0, 0, 0};
    if (compression == 3)
        memcpy(block + 40, masks, 12);
    return (BITMAPINFOHEADER*)(void*)block;
}

/* Handlers and callbacks that applications would have. */
static const int32_t replayTwist[16] = {9, 1};

static int32_t ORV_CALL replayReport(int32_t status, const char* func, const char* context, const char* file,
                                     int32_t line)
{
    (void)file, (void)line;
    ++replayArena.reports;
    if (replayArena.isLoud)
        printf("%d %s: %s\n", status, func, context);
    if (replayArena.heard)
        replayArena.heard(status, func, context);
    return status;
}
static int32_t ORV_CALL replayInteger(int32_t value)
{
    return value ^ 0x55;
}
static float ORV_CALL replayReal(float value)
{
    return value * 0.5f + 1.0f;
}
static void ORV_CALL replayPixel(OrvImage* src, void* from, OrvImage* dst, void* to)
{
    if (src->depth == dst->depth && src->nChannels == dst->nChannels)
        memmove(to, from,
                (size_t)(src->depth == ORV_DEPTH_1U ? 1 : (src->depth & ORV_DEPTH_MASK) / 8) * (size_t)dst->nChannels);
}

static void replayBegin(void)
{
    orvRedirectError(replayReport);
    orvSetErrMode(ORV_ErrModeSilent);
    orvSetErrStatus(ORV_STATUS_OK);
}

/* NOLINTEND(modernize-*) */

#endif
