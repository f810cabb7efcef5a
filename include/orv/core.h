/* orv/core.h - images, errors, memory, and the operations that only move pixels.
 *
 * Conventions that hold for every function of the library:
 *
 * - A failure is reported through orvError: the status is stored for the calling thread, and the thread's report
 *   handler is called with the name of the function and the failed condition. Most operations return nothing; the
 *   caller reads orvGetErrStatus. Success does not clear the stored status, and while a negative one is stored,
 *   orvCopy, orvExchange, orvAbs, orvReduceBits, orvContrastStretch, orvHistoEqualize, the orvUserProcess family and
 *   what leans on them do nothing at all, without a word. So a program that goes on after a failure says so:
 *   orvSetErrStatus(0).
 * - A new thread has the handler orvGuiBoxReport and the mode ORV_ErrModeLeaf, which ask the user whether to end the
 *   program: by a message box on Windows; elsewhere on the controlling terminal if the process is in its foreground.
 *   Where there is none to ask, the report goes to the standard error stream and the call returns. Most programs call
 *   orvSetErrMode(ORV_ErrorModeParent) and orvRedirectError(handler) at the start of each thread.
 * - "Reports" below lists statuses in the order in which the conditions are tested.
 * - A region is an image's `roi`, cut at the image's edges, or the whole image. Regions of several images are aligned
 *   at their starts and the smallest size counts. A `coi` selects one channel; without one all channels but the alpha
 *   channel are processed. A mask leaves alone the pixels whose mask bit is clear; it is aligned with the start of the
 *   region.
 * - Pixels that the application has already: make the header with orvCreateImageHeader, which computes `widthStep` from
 *   `align`, and set `imageData`. Where the rows are further apart, set `widthStep` and `imageSize` too. The library
 *   frees only pixels that it has allocated itself.
 * - Any function may be called at the same time from several threads on different images; a tiled image, whose
 *   descriptor carries the address of its tile, serves one call at a time.
 */
#ifndef ORV_CORE_H
#define ORV_CORE_H

#include <stdint.h>

#if defined(_WIN32)
#if defined(__i386__) || defined(_M_IX86)
#define ORV_CALL __stdcall
#else
#define ORV_CALL
#endif
#if defined(ORV_BUILD)
#define ORV_EXPORT __declspec(dllexport)
#elif defined(ORV_STATIC)
#define ORV_EXPORT
#else
#define ORV_EXPORT __declspec(dllimport)
#endif
#else
#define ORV_CALL
#define ORV_EXPORT __attribute__((visibility("default")))
#endif

/* Every exported function is declared as ORV_API(result) orvName(arguments). */
#define ORV_API(result) ORV_EXPORT result ORV_CALL

#ifdef __cplusplus
extern "C" {
#endif

/* ---- Statuses --------------------------------------------------------------------------------------------------- */

/* A status is 0 or a small negative number. A fault in an image's mask has the status of the same fault in an image
 * header, minus 100: see ORV_STATUS_OF_MASK. */
enum {
    ORV_STATUS_OK = 0,
    ORV_STATUS_BACKTRACE = -1, /* a nested call failed and has reported; never stored */
    ORV_STATUS_ERROR = -2,
    ORV_STATUS_INTERNAL = -3,
    ORV_STATUS_NO_MEMORY = -4,
    ORV_STATUS_BAD_ARG = -5,
    ORV_STATUS_UNSUPPORTED = -6,
    ORV_STATUS_NO_CONVERGENCE = -7,
    ORV_STATUS_AUTOTRACE = -8, /* for the application's own trace calls; never stored, never raised by the library */
    ORV_STATUS_NULL_IMAGE = -9,
    ORV_STATUS_BAD_IMAGE_SIZE = -10,
    ORV_STATUS_BAD_ROI_OFFSET = -11,
    ORV_STATUS_NO_IMAGE_DATA = -12,
    ORV_STATUS_BAD_WIDTH_STEP = -13,
    ORV_STATUS_BAD_COLOR_MODEL = -14,
    ORV_STATUS_BAD_CHANNELS = -15,
    ORV_STATUS_BAD_1U_CHANNELS = -16,
    ORV_STATUS_BAD_DEPTH = -17,
    ORV_STATUS_BAD_ALPHA_CHANNEL = -18,
    ORV_STATUS_BAD_DATA_ORDER = -19,
    ORV_STATUS_BAD_ORIGIN = -20,
    ORV_STATUS_BAD_ALIGN = -21,
    ORV_STATUS_NULL_CALLBACK = -22,
    ORV_STATUS_BAD_TILE_SIZE = -23,
    ORV_STATUS_BAD_COI = -24,
    ORV_STATUS_BAD_ROI_SIZE = -25,
    ORV_STATUS_TILED_MASK = -26,
    ORV_STATUS_NULL_POINTER = -27,
    ORV_STATUS_BAD_VECTOR_LENGTH = -28,
    ORV_STATUS_BAD_FILTER = -29,
    ORV_STATUS_BAD_TRANSFORM_KERNEL = -30,
    ORV_STATUS_BAD_FILTER_OFFSET = -31
};

/* The status of a fault in an image's mask. */
#define ORV_STATUS_OF_MASK(status) ((status)-100)

/* Error modes, read by the stock report handlers. */
enum {
    ORV_ErrModeLeaf = 0,     /* an error is final: the handler offers or forces the end of the application */
    ORV_ErrorModeParent = 1, /* the caller handles errors: report and go on */
    ORV_ErrModeSilent = 2    /* no report at all */
};

/* A report handler. `func` is the exported function that reports, `context` the failed condition or a short phrase,
 * `file` and `line` the source position. Its result is the result of orvError. */
typedef int32_t(ORV_CALL* OrvErrorCallBack)(int32_t status, const char* func, const char* context, const char* file,
                                            int32_t line);

/* ---- Images ----------------------------------------------------------------------------------------------------- */

/* Depths: the low bits are the number of bits of a channel value; the top bit says that the value is signed. */
#define ORV_DEPTH_SIGN 0x80000000u
#define ORV_DEPTH_MASK 0x7FFFFFFFu
#define ORV_DEPTH_1U 1u /* one bit, eight pixels a byte, most significant bit first; one channel only */
#define ORV_DEPTH_8U 8u
#define ORV_DEPTH_8S 0x80000008u
#define ORV_DEPTH_16U 16u
#define ORV_DEPTH_16S 0x80000010u
#define ORV_DEPTH_32S 0x80000020u
#define ORV_DEPTH_32F 32u /* 32-bit floating point; there is no unsigned 32-bit depth */

enum {
    ORV_DATA_ORDER_PIXEL = 0, /* the channels of a pixel stand side by side */
    ORV_DATA_ORDER_PLANE = 1  /* each channel is a plane of its own */
};
enum {
    ORV_ORIGIN_TL = 0, /* the first stored row is the top of the picture */
    ORV_ORIGIN_BL = 1  /* the first stored row is the bottom of the picture */
};

/* Border modes: what a neighbourhood operation reads beyond an edge of length n. */
enum {
    ORV_BORDER_CONSTANT = 0,  /* the side's border constant */
    ORV_BORDER_REPLICATE = 1, /* the nearest edge pixel */
    ORV_BORDER_REFLECT = 2,   /* the mirrored image, edge pixel doubled: -1 reads 0, -2 reads 1, n reads n - 1 */
    ORV_BORDER_WRAP = 3       /* the image repeated */
};

/* Region of interest, in pixels from the first stored row and column. */
typedef struct OrvROI {
    int32_t coi;     /* channel of interest: 0 for all channels, otherwise the channel's number, from 1 */
    int32_t xOffset; /* left column */
    int32_t yOffset; /* top row */
    int32_t width;
    int32_t height;
} OrvROI;

struct OrvImage;

/* Modes of a tile provider. */
enum {
    ORV_TILE_READ = 1,   /* make the tile's pixels readable and set tileInfo->tileData to them; NULL means failure */
    ORV_TILE_WRITE = 2,  /* the same for writing; the library may read and write the pixels */
    ORV_TILE_RELEASE = 4 /* the library has finished with this tile */
};

/* The application's tile provider. Tile (xIndex, yIndex) holds the pixels from column xIndex * tileInfo->width and row
 * yIndex * tileInfo->height on. A tile is laid out like a small image of the tile's size with the image's depth,
 * channels, data order and align; tiles at the right and bottom edge have the full size too. The pixels may lie at any
 * address and must stay valid until the matching release. tileInfo->tileData is NULL at every request to open: a
 * provider that brings nothing leaves it so. The provider runs on the calling thread and may call the library; its
 * result is not looked at. */
typedef int32_t(ORV_CALL* OrvTileCallBack)(struct OrvImage* image, int32_t xIndex, int32_t yIndex, int32_t mode);

/* Tiling descriptor: one tile size an image. A tiled image serves one operation at a time. */
typedef struct OrvTileInfo {
    OrvTileCallBack callBack; /* must not be NULL */
    void* tileTag;            /* the application's own word; never read by the library */
    uint8_t* tileData;        /* NULL at a request, then set by the provider: the pixels of the tile asked for */
    int32_t width;            /* in pixels, a multiple of 8, at least 8 */
    int32_t height;           /* in pixels, a multiple of 8, at least 8 */
} OrvTileInfo;

/* An image. Row r of plane p begins at imageData + (p * height + r) * widthStep with planes, row r at imageData +
 * r * widthStep with channels side by side; there channel c of pixel x stands at (x * nChannels + c) values from the
 * row start. Pixel x of a 1U row is the bit of value 128 >> (x & 7) in byte x >> 3. */
typedef struct OrvImage {
    int32_t headerSize;       /* size of this record in bytes; set by orvCreateImageHeader */
    int32_t headerId;         /* version word, 0 */
    int32_t nChannels;        /* 1 or more, alpha included */
    int32_t alphaChannel;     /* 0 for none, otherwise nChannels: an alpha channel is always the last one */
    uint32_t depth;           /* ORV_DEPTH_... */
    char colorModel[4];       /* such as "GRAY" or "RGB", not necessarily terminated */
    char channelSeq[4];       /* order of the channels, such as "BGR" or "G" */
    int32_t dataOrder;        /* ORV_DATA_ORDER_... */
    int32_t origin;           /* ORV_ORIGIN_... */
    int32_t align;            /* alignment of every row in bytes: 4, 8, 16 or 32 */
    int32_t width;            /* in pixels */
    int32_t height;           /* in pixels */
    OrvROI* roi;              /* NULL for the whole image with all channels */
    struct OrvImage* maskROI; /* NULL, or an untiled image of depth 1U; a set bit means "process" */
    void* imageTag;           /* the application's own word; never read by the library */
    OrvTileInfo* tileInfo;    /* NULL for an image with a data buffer */
    int32_t imageSize;        /* size of the pixel data in bytes, row padding included */
    uint8_t* imageData;       /* first byte of the pixel data, at any address; NULL for a tiled image */
    int32_t widthStep;        /* distance between row starts in bytes */
    int32_t borderMode[4];    /* ORV_BORDER_... for the top, bottom, left and right side */
    int32_t borderConst[4];   /* border constant for the same sides */
    uint8_t* imageDataBlock;  /* block from which imageData was carved; NULL if the library did not allocate the data */
} OrvImage;

/* Flags of orvDeallocate. */
enum {
    ORV_IMAGE_HEADER = 1, /* the header itself */
    ORV_IMAGE_DATA = 2,   /* the pixel data */
    ORV_IMAGE_ROI = 4,    /* the roi record */
    ORV_IMAGE_TILE = 8,   /* the tileInfo record */
    ORV_IMAGE_MASK = 16,  /* the mask image and what it owns */
    ORV_IMAGE_ALL = 15    /* header, data, ROI and tile record, not the mask: the ROI and tile records must be the
                             library's own (orvCreateROI, orvCreateTileInfo) or NULL */
};

/* ---- Status and reports ----------------------------------------------------------------------------------------- */

/* Returns the calling thread's stored status. A new thread starts with 0. */
ORV_API(int32_t) orvGetErrStatus(void);

/* Stores `status` for the calling thread and reports nothing. 0 clears an earlier failure. */
ORV_API(void) orvSetErrStatus(int32_t status);

/* Returns the calling thread's error mode. A new thread starts with ORV_ErrModeLeaf. */
ORV_API(int32_t) orvGetErrMode(void);

/* Sets the calling thread's error mode; the value is not checked. */
ORV_API(void) orvSetErrMode(int32_t mode);

/* Installs the calling thread's report handler and returns the previous one. NULL installs orvGuiBoxReport, which is
 * also the handler of a new thread. */
ORV_API(OrvErrorCallBack) orvRedirectError(OrvErrorCallBack handler);

/* Stores `status` and calls the thread's report handler with the same arguments; returns the handler's result.
 * ORV_STATUS_BACKTRACE and ORV_STATUS_AUTOTRACE are handed on without being stored, so that a trace keeps the first
 * status. ORV_STATUS_OK is stored and calls no handler; the result is then 0. */
ORV_API(int32_t) orvError(int32_t status, const char* func, const char* context, const char* file, int32_t line);

/* Returns the text of `status`, a constant of the library; "Unknown error or status code" for values without one. */
ORV_API(const char*) orvErrorStr(int32_t status);

/* Stock handler that writes nothing: ends the process with exit code 1 in ORV_ErrModeLeaf, otherwise returns `status`.
 * */
ORV_API(int32_t) orvNulDevReport(int32_t status, const char* func, const char* context, const char* file, int32_t line);

/* Stock handler that writes to the standard error stream: an empty line, the status text and a line for the fault, or
 * one line for each backtrace. Nothing in ORV_ErrModeSilent. Ends the process with exit code 1 in ORV_ErrModeLeaf,
 * otherwise returns `status`. */
ORV_API(int32_t) orvStdErrReport(int32_t status, const char* func, const char* context, const char* file, int32_t line);

/* Stock handler and default: asks the user. In ORV_ErrModeLeaf the question is whether to terminate the application, in
 * ORV_ErrorModeParent whether to continue; the process ends with exit code 1 accordingly, otherwise the result is
 * `status`. No question in any other mode. The question is a message box on Windows and stands on the controlling
 * terminal elsewhere; where it cannot be asked, the status is returned. */
ORV_API(int32_t) orvGuiBoxReport(int32_t status, const char* func, const char* context, const char* file, int32_t line);

/* The version record. Programs that look whether the library is recent enough compare the three numbers. */
typedef struct OrvLibVersion {
    int32_t major;               /* 2 */
    int32_t minor;               /* 5 */
    int32_t build;               /* 9 */
    const char* name;            /* "orvz3.dll", on every system */
    const char* version;         /* "2.5 Release SP1" */
    const char* internalVersion; /* "[2.5.9.89, 03/05/2002]" */
    const char* buildDate;       /* "Mar  5 2002" */
    const char* linkage;         /* "DLL" */
} OrvLibVersion;

/* Returns the library's version record, a constant that the caller must neither change nor free. */
ORV_API(const OrvLibVersion*) orvGetLibVersion(void);

/* Returns the processor's time-stamp counter, for the application's timing. Its unit is the processor's. */
ORV_API(uint64_t) orvGetCadenceCounter(void);

/* ---- Memory ----------------------------------------------------------------------------------------------------- */

/* Returns a block of `length` bytes, aligned to 32 and not cleared; NULL if `length` is below 1 or there is no memory.
 * Nothing is reported. The block goes back through orvFree. */
ORV_API(void*) orvMalloc(int32_t length);

/* The same for `length` elements of 2 bytes. */
ORV_API(int16_t*) orvwMalloc(int32_t length);

/* The same for `length` elements of 4 bytes. */
ORV_API(int32_t*) orviMalloc(int32_t length);

/* The same for `length` elements of 4 bytes, as floats. */
ORV_API(float*) orvsMalloc(int32_t length);

/* The same for `length` elements of 8 bytes. */
ORV_API(double*) orvdMalloc(int32_t length);

/* Releases a block of orvMalloc or its typed forms; nothing for NULL. */
ORV_API(void) orvFree(void* pointer);

/* ---- Images: creation, validation, release ---------------------------------------------------------------------- */

/* Makes an image header without pixel data. `colorModel` and `channelSeq` are texts of which 4 characters are
 * taken, or fewer where they end before. `roi`, `maskROI` and `tileInfo` may be NULL and are only pointed at.
 * The borders are set to ORV_BORDER_CONSTANT with constants of 0. The header goes back through orvDeallocate.
 *
 * Returns NULL after a report with the context "Incorrect data-ins", the first fault deciding:
 * ORV_STATUS_BAD_IMAGE_SIZE (height or width below 1), ORV_STATUS_BAD_CHANNELS (nChannels below 1),
 * ORV_STATUS_BAD_1U_CHANNELS, ORV_STATUS_BAD_COLOR_MODEL (a NULL text), ORV_STATUS_BAD_DEPTH,
 * ORV_STATUS_BAD_ALPHA_CHANNEL, ORV_STATUS_BAD_DATA_ORDER, ORV_STATUS_BAD_ORIGIN, ORV_STATUS_BAD_ALIGN, -117 (mask not
 * 1U), ORV_STATUS_TILED_MASK, the mask's own fault minus 100, ORV_STATUS_BAD_IMAGE_SIZE (a plain image of 2 GiB or
 * more). NULL without a report: no memory. */
ORV_API(OrvImage*)
orvCreateImageHeader(int32_t nChannels, int32_t alphaChannel, uint32_t depth, const char* colorModel,
                     const char* channelSeq, int32_t dataOrder, int32_t origin, int32_t align, int32_t width,
                     int32_t height, OrvROI* roi, OrvImage* maskROI, void* imageTag, OrvTileInfo* tileInfo);

/* Allocates the pixel data of an image of any depth but 32F, which must have neither data nor tiles. With `doFill` not
 * 0 every value, padding included, is set to `fillValue`, of which the low bits of the depth count; otherwise the
 * pixels are undefined.
 *
 * Reports ORV_STATUS_BAD_ARG (NULL image, data set, tiles set, depth 32F), the header's fault with "Incorrect
 * data-ins", ORV_STATUS_BAD_IMAGE_SIZE with the same context (2 GiB or more), ORV_STATUS_NO_MEMORY. */
ORV_API(void) orvAllocateImage(OrvImage* image, int32_t doFill, int32_t fillValue);

/* orvAllocateImage for depth 32F, which reports ORV_STATUS_BAD_ARG for every other depth. */
ORV_API(void) orvAllocateImageFP(OrvImage* image, int32_t doFill, float fillValue);

/* Frees the pixel data that the library allocated and sets imageData to NULL in any case. Nothing for NULL. */
ORV_API(void) orvDeallocateImage(OrvImage* image);

/* Frees the header and nothing else. */
ORV_API(void) orvDeallocateHeader(OrvImage* image);

/* Frees what `flags` (ORV_IMAGE_...) names, and sets the fields that pointed at it to NULL. Pixel data without an
 * imageDataBlock is the application's and stays. Nothing for NULL. */
ORV_API(void) orvDeallocate(OrvImage* image, int32_t flags);

/* Validates an image. Returns 0, or the first fault found, which is also stored; nothing is reported. In order:
 * ORV_STATUS_NULL_IMAGE, ORV_STATUS_NO_IMAGE_DATA (not exactly one of data and tiles), ORV_STATUS_BAD_IMAGE_SIZE and
 * ORV_STATUS_BAD_WIDTH_STEP (below 1, plain images only), the faults of orvCreateImageHeader, ORV_STATUS_NULL_CALLBACK,
 * ORV_STATUS_BAD_TILE_SIZE (also where a tile's row takes more than 2147483647 bytes), ORV_STATUS_BAD_COI,
 * ORV_STATUS_BAD_ROI_SIZE, ORV_STATUS_BAD_ROI_OFFSET. A region that lies outside the image passes: operations cut it.
 * */
ORV_API(int32_t) orvCheckImageHeader(OrvImage* image);

/* Returns a copy of an image with a data buffer and a region record of its own, without mask, tag and tiles. The pixels
 * of a tiled image are not copied: those of the clone are then undefined.
 *
 * Returns NULL after a report: the header's fault with "Incorrect Image", ORV_STATUS_NO_MEMORY. */
ORV_API(OrvImage*) orvCloneImage(OrvImage* image);

/* Makes a region record; nothing is checked. NULL if there is no memory, without a report. */
ORV_API(OrvROI*) orvCreateROI(int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height);

/* Fills a region record; nothing for NULL. */
ORV_API(void) orvSetROI(OrvROI* roi, int32_t coi, int32_t xOffset, int32_t yOffset, int32_t width, int32_t height);

/* Releases a record of orvCreateROI; nothing for NULL. */
ORV_API(void) orvDeleteROI(OrvROI* roi);

/* Makes a tiling descriptor with tileData NULL; nothing is checked. `width` and `height` are a tile's size in pixels.
 * NULL if there is no memory, without a report. */
ORV_API(OrvTileInfo*) orvCreateTileInfo(OrvTileCallBack callBack, void* tileTag, int32_t width, int32_t height);

/* Fills a tiling descriptor and sets its tileData to NULL; nothing for a NULL record. */
ORV_API(void)
orvSetTileInfo(OrvTileInfo* tileInfo, OrvTileCallBack callBack, void* tileTag, int32_t width, int32_t height);

/* Releases a record of orvCreateTileInfo; nothing for NULL. */
ORV_API(void) orvDeleteTileInfo(OrvTileInfo* tileInfo);

/* ---- Single pixels ---------------------------------------------------------------------------------------------- */

/* Reads the pixel at column `x` and row `y`, measured from the top of the picture whatever the image's origin, into
 * `pixel`, which holds nChannels values of the image's type, alpha included; for 1U one byte, 0 or 1. Region, channel
 * of interest and mask have no effect.
 *
 * Reports the header's fault with "Incorrect Image", ORV_STATUS_BAD_ARG (x, then y, outside the image; `pixel` NULL),
 * ORV_STATUS_ERROR (a tile does not come). */
ORV_API(void) orvGetPixel(OrvImage* image, int32_t x, int32_t y, void* pixel);

/* Writes the pixel at column `x` and row `y` from `pixel`; as orvGetPixel. For 1U the lowest bit of the byte counts. */
ORV_API(void) orvPutPixel(OrvImage* image, int32_t x, int32_t y, const void* pixel);

/* ---- Moving pixels ---------------------------------------------------------------------------------------------- */

/* Copies the processed channels of the source's region to the destination's. Both images have one depth and one origin,
 * and one data order unless they are 1U or have one channel; they may be tiled. Masks of both hold together.
 *
 * Does nothing at all while the thread's stored status is negative, and for an image copied to itself. Reports an
 * image's fault with "Incorrect Image"; then ORV_STATUS_BAD_ARG for each of depth, origin and data order that differs,
 * going on to the next, and ends with a negative status or where the depths differ: a report handler that clears the
 * status lets the copy go on between two origins or data orders. Then ORV_STATUS_BAD_ARG for numbers of processed
 * channels that differ; ORV_STATUS_BACKTRACE for a failed step on masks or tiles; ORV_STATUS_ERROR for a tile that does
 * not come. */
ORV_API(void) orvCopy(OrvImage* srcImage, OrvImage* dstImage);

/* Fills the processed channels of the region with `fillValue`, cut to the range of the depth; any depth but 32F. While
 * it runs it may change the image's maskROI field and, with a mask on a 1U image, the mask's bits; both are as before
 * afterwards.
 *
 * Reports the image's fault with "Incorrect Image"; ORV_STATUS_BAD_DEPTH for 32F; ORV_STATUS_ERROR for a tile that does
 * not come; ORV_STATUS_BACKTRACE. */
ORV_API(void) orvSet(OrvImage* dstImage, int32_t fillValue);

/* orvSet for depth 32F. While it runs the image's depth field holds ORV_DEPTH_32S, which a tile provider sees.
 *
 * Reports ORV_STATUS_BAD_ARG for NULL, ORV_STATUS_BAD_DEPTH for another depth, ORV_STATUS_BACKTRACE. */
ORV_API(void) orvSetFP(OrvImage* dstImage, float fillValue);

/* Swaps the processed channels of the two regions, under both masks. Checks and reports are those of orvCopy. */
ORV_API(void) orvExchange(OrvImage* srcImage, OrvImage* dstImage);

#ifdef __cplusplus
}
#endif

#endif
