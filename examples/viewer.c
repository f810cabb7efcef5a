/* viewer.c - a Windows program: shows a bitmap in a window and works on it.
 *
 *     viewer picture.bmp [keys]
 *
 * The keys are those that its menu names; `keys` are pressed at the start. A picture larger than the window is shrunk
 * to it.
 *
 * Every picture is a device-independent bitmap of 24 bits, and orvTranslateDIB makes an image that shares its pixels:
 * what the library writes into the image, SetDIBitsToDevice shows.
 */
#include <windows.h>

#include <orv.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "support/bmpio.h"

/* ---- Pictures --------------------------------------------------------------------------------------------------- */

struct Picture {
    BITMAPINFOHEADER* bitmap; /* header and pixels in one block */
    OrvImage* image;          /* on the same pixels */
};

static void freePicture(struct Picture* picture)
{
    orvDeallocateHeader(picture->image);
    free(picture->bitmap);
    picture->bitmap = NULL;
    picture->image = NULL;
}

/* Makes a black picture. Returns 0 if there is no memory. */
static int makePicture(struct Picture* picture, int32_t width, int32_t height)
{
    uint64_t bytes = ((uint64_t)width * 3 + 3) / 4 * 4 * (uint64_t)height;
    int copied = 0; /* 24 bits are shared */

    picture->image = NULL;
    picture->bitmap = bytes < 0x7FFFFFFF ? calloc(1, sizeof *picture->bitmap + (size_t)bytes) : NULL;
    if (!picture->bitmap)
        return 0;
    picture->bitmap->biSize = sizeof *picture->bitmap;
    picture->bitmap->biWidth = width;
    picture->bitmap->biHeight = height;
    picture->bitmap->biPlanes = 1;
    picture->bitmap->biBitCount = 24;
    picture->image = orvTranslateDIB(picture->bitmap, &copied);
    if (!picture->image)
        freePicture(picture);
    return picture->image != NULL;
}

/* Makes a picture of a BMP file of any kind. */
static int loadPicture(struct Picture* picture, const char* path)
{
    OrvImage* image = bmpLoad(path);
    int made = image && makePicture(picture, image->width, image->height);

    if (made)
        orvConvertToDIB(image, picture->bitmap, ORV_DITHER_NONE, ORV_PALETTE_KEEP);
    if (image)
        orvDeallocate(image, ORV_IMAGE_ALL);
    return made && orvGetErrStatus() >= 0;
}

/* Makes the picture as large as there is room for it. Each of its pixels is the mean of those that it stands for. */
static int shrinkPicture(struct Picture* picture, OrvImage* image, int32_t roomWidth, int32_t roomHeight)
{
    int isWide = (int64_t)image->width * roomHeight > (int64_t)image->height * roomWidth;
    int32_t to = isWide ? roomWidth : roomHeight, from = isWide ? image->width : image->height;
    int32_t width = (int32_t)((int64_t)image->width * to / from),
            height = (int32_t)((int64_t)image->height * to / from);

    if (!makePicture(picture, width > 0 ? width : 1, height > 0 ? height : 1))
        return 0;
    orvResize(image, picture->image, to, from, to, from, ORV_INTER_SUPER);
    return 1;
}

/* ---- Operations ------------------------------------------------------------------------------------------------- */

static void blur(struct Picture* from, struct Picture* to)
{
    orvSetBorderMode(from->image, ORV_BORDER_REPLICATE, ORV_SIDE_TOP | ORV_SIDE_BOTTOM | ORV_SIDE_LEFT | ORV_SIDE_RIGHT,
                     0);
    orvBlur(from->image, to->image, 9, 9, 4, 4);
}

/* The rows of a bitmap stand from the bottom up, so that a turn by 90 degrees goes clockwise. */
static void turn(struct Picture* from, struct Picture* to)
{
    orvRotate(from->image, to->image, 90, 0, from->image->width - 1, ORV_INTER_NN);
}

/* Black and white, by the grey that a bitmap gives to an image of one channel. */
static void threshold(struct Picture* from, struct Picture* to)
{
    OrvImage* grey = orvCreateImageHeader(1, 0, ORV_DEPTH_8U, "GRAY", "G", ORV_DATA_ORDER_PIXEL, ORV_ORIGIN_BL, 4,
                                          from->image->width, from->image->height, NULL, NULL, NULL, NULL);
    if (!grey)
        return;
    orvConvertFromDIB(from->bitmap, grey); /* gives it its pixels, too */
    orvThreshold(grey, grey, 128);
    orvConvertToDIB(grey, to->bitmap, ORV_DITHER_NONE, ORV_PALETTE_KEEP);
    orvDeallocate(grey, ORV_IMAGE_ALL);
}

/* Two levels of each component, which makes eight colours. */
static void dither(struct Picture* from, struct Picture* to)
{
    orvReduceBits(from->image, to->image, 0, ORV_DITHER_FS, 2);
}

static const struct Operation {
    char key;
    const char* item;
    void (*run)(struct Picture* from, struct Picture* to);
    int turns; /* width and height change places */
} operations[] = {{'b', "Blur\tB", blur, 0},
                  {'r', "Rotate\tR", turn, 1},
                  {'t', "Threshold\tT", threshold, 0},
                  {'d', "Dither\tD", dither, 0}};
enum { operationCount = sizeof operations / sizeof *operations };

/* ---- The pictures from the file to what is shown ---------------------------------------------------------------- */

enum { mostPictures = 32 };
static struct Picture pictures[mostPictures];
static int pictureCount;

static struct Picture* shown(void)
{
    return &pictures[pictureCount - 1];
}

/* Of too many pictures the oldest is forgotten. */
static void keep(const struct Picture* picture)
{
    if (pictureCount == mostPictures) {
        freePicture(&pictures[0]);
        memmove(&pictures[0], &pictures[1], (mostPictures - 1) * sizeof *pictures);
        --pictureCount;
    }
    pictures[pictureCount++] = *picture;
}

static void operate(const struct Operation* operation)
{
    OrvImage* image = shown()->image;
    struct Picture made;

    if (!makePicture(&made, operation->turns ? image->height : image->width,
                     operation->turns ? image->width : image->height))
        return;
    operation->run(shown(), &made);
    if (orvGetErrStatus() < 0)
        freePicture(&made);
    else
        keep(&made);
}

static void undo(void)
{
    if (pictureCount > 1)
        freePicture(&pictures[--pictureCount]);
}

/* ---- The window ------------------------------------------------------------------------------------------------- */

static int32_t ORV_CALL tell(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    char text[300];
    (void)file, (void)line;
    snprintf(text, sizeof text, "%s: %s, %s", func, orvErrorStr(status), context);
    MessageBoxA(NULL, text, "viewer", MB_OK | MB_ICONERROR);
    return status;
}

static void press(HWND window, int key)
{
    int i;
    for (i = 0; i < operationCount; ++i)
        if (operations[i].key == key)
            operate(&operations[i]);
    if (key == 'u')
        undo();
    if (key == 'q')
        DestroyWindow(window);
    orvSetErrStatus(ORV_STATUS_OK); /* what failed has been told */
    InvalidateRect(window, NULL, FALSE);
}

static void paint(HWND window)
{
    PAINTSTRUCT start;
    HDC device = BeginPaint(window, &start);
    struct Picture *picture = shown(), smaller = {NULL, NULL};
    RECT room;
    int32_t x, y, width, height;

    GetClientRect(window, &room);
    if ((picture->image->width > room.right || picture->image->height > room.bottom) && room.right && room.bottom &&
        shrinkPicture(&smaller, picture->image, room.right, room.bottom))
        picture = &smaller;
    width = picture->image->width;
    height = picture->image->height;
    x = (room.right - width) / 2;
    y = (room.bottom - height) / 2;
    SetDIBitsToDevice(device, x, y, (DWORD)width, (DWORD)height, 0, 0, 0, (UINT)height, picture->image->imageData,
                      (BITMAPINFO*)picture->bitmap, DIB_RGB_COLORS);
    ExcludeClipRect(device, x, y, x + width, y + height);
    FillRect(device, &room, GetStockObject(DKGRAY_BRUSH));
    freePicture(&smaller);
    EndPaint(window, &start);
}

static LRESULT CALLBACK handle(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_PAINT: paint(window); return 0;
    case WM_ERASEBKGND: return 1;
    case WM_CHAR: press(window, (int)wParam); return 0;
    case WM_COMMAND: press(window, LOWORD(wParam)); return 0;
    case WM_DESTROY: PostQuitMessage(0); return 0;
    default: return DefWindowProcA(window, message, wParam, lParam);
    }
}

static HMENU makeMenu(void)
{
    HMENU bar = CreateMenu(), items = CreatePopupMenu();
    int i;
    for (i = 0; i < operationCount; ++i)
        AppendMenuA(items, MF_STRING, (UINT_PTR)operations[i].key, operations[i].item);
    AppendMenuA(items, MF_SEPARATOR, 0, NULL);
    AppendMenuA(items, MF_STRING, 'u', "Undo\tU");
    AppendMenuA(items, MF_STRING, 'q', "Quit\tQ");
    AppendMenuA(bar, MF_POPUP, (UINT_PTR)items, "&Picture");
    return bar;
}

/* A window in which the picture has room, but no larger than three quarters of the screen. */
static HWND openWindow(const char* path)
{
    const char* name = strrchr(path, '\\');
    WNDCLASSA class;
    RECT frame = {0, 0, shown()->image->width, shown()->image->height};
    int mostWidth = GetSystemMetrics(SM_CXSCREEN) * 3 / 4, mostHeight = GetSystemMetrics(SM_CYSCREEN) * 3 / 4;
    int width, height;

    memset(&class, 0, sizeof class);
    class.style = CS_HREDRAW | CS_VREDRAW;
    class.lpfnWndProc = handle;
    class.hInstance = GetModuleHandleA(NULL);
    class.hCursor = LoadCursorA(NULL, (const char*)IDC_ARROW);
    class.lpszClassName = "viewer";
    RegisterClassA(&class);
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, TRUE);
    width = frame.right - frame.left;
    height = frame.bottom - frame.top;
    return CreateWindowA("viewer", name ? name + 1 : path, WS_OVERLAPPEDWINDOW | WS_VISIBLE, CW_USEDEFAULT,
                         CW_USEDEFAULT, width < mostWidth ? width : mostWidth,
                         height < mostHeight ? height : mostHeight, NULL, makeMenu(), class.hInstance, NULL);
}

int main(int argc, char** argv)
{
    struct Picture picture;
    HWND window;
    MSG message;
    const char* keys = argc > 2 ? argv[2] : "";

    orvSetErrMode(ORV_ErrorModeParent);
    orvRedirectError(tell);
    if (argc < 2 || !loadPicture(&picture, argv[1])) {
        MessageBoxA(NULL, argc < 2 ? "usage: viewer picture.bmp [keys]" : "There is no picture in this file.", "viewer",
                    MB_OK);
        return EXIT_FAILURE;
    }
    keep(&picture);
    window = openWindow(argv[1]);
    if (!window)
        return EXIT_FAILURE;
    for (; *keys; ++keys)
        PostMessageA(window, WM_CHAR, (WPARAM)*keys, 0);
    while (GetMessageA(&message, NULL, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageA(&message);
    }
    while (pictureCount > 0)
        freePicture(&pictures[--pictureCount]);
    return EXIT_SUCCESS;
}
