// Statuses and reports.
//
//   orvGetErrStatus, orvSetErrStatus   the thread's stored status
//   orvGetErrMode, orvSetErrMode       the thread's error mode
//   orvRedirectError                   the thread's report handler
//   orvError, orvErrorStr              report a failure; the text of a status
//   orvNulDevReport, orvStdErrReport, orvGuiBoxReport   the stock handlers
//   orvGetLibVersion, orvGetCadenceCounter
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "orv/core.h"
#include "owncontext.h"
#include "ownheap.h"
#include "platform.h"

namespace {

constexpr OrvLibVersion libVersion = {
    2, 5, 9, "orvz3.dll", "2.5 Release SP1", "[2.5.9.89, 03/05/2002]", "Mar  5 2002", "DLL",
};

constexpr int32_t maskOffset = -100;  // a mask's fault is the header's fault plus this
constexpr size_t maskPrefix = 6;      // the length of "Mask. "
constexpr const char* unknownStatus = "Unknown error or status code";

// Texts that exist for an image and for its mask stand once, in the mask's form; the image's text is its tail.
constexpr const char* maskTexts[] = {
    "Mask. Null pointer to an image header",
    "Mask. Incorrect image size",
    "Mask. Incorrect offset of ROI of the image",
    "Mask. Image must be tiled or must have nonzero data pointer",
    "Mask. Incorrect widthStep of the image",
    "Mask. Incorrect Color model or channel sequence of the image",
    "Mask. Incorrect number of channels in the image",
    "Mask. Number of channels for 1U depth image must be one",
    "Mask. Incorrect depth value in the image header",
    "Mask. Incorrect alpha channel number in the image header",
    "Mask. Incorrect data order value in the image header",
    "Mask. Incorrect data origin value in the image header",
    "Mask. Incorrect data alignment value in the image header",
    "Mask. Null pointer to callback function",
    "Mask. Incorrect size of the tile",
    "Mask. Incorrect COI of the image",
    "Mask. Incorrect size of ROI in the image header",
};

// The header statuses that a mask cannot have: no mask is NULL, has channels to count, or is tiled.
bool cannotBeOfMask(int32_t status)
{
    return status == ORV_STATUS_NULL_IMAGE || status == ORV_STATUS_BAD_1U_CHANNELS ||
           status == ORV_STATUS_NULL_CALLBACK || status == ORV_STATUS_BAD_TILE_SIZE;
}

bool isHeaderStatus(int32_t status)
{
    return status <= ORV_STATUS_NULL_IMAGE && status >= ORV_STATUS_BAD_ROI_SIZE;
}

bool isTrace(int32_t status)
{
    return status == ORV_STATUS_BACKTRACE || status == ORV_STATUS_AUTOTRACE;
}

[[noreturn]] void endProcess()
{
    exit(1);
}

// The text of a box, cut to its buffer.
void formatBox(char* text, size_t size, int32_t status, const char* func, const char* context, const char* file,
               int32_t line, int32_t mode)
{
    const char* tail = mode == ORV_ErrModeLeaf       ? "\n\nErrMode=ORV_ErrorModeLeaf\n\nTerminate the application?"
                       : mode == ORV_ErrorModeParent ? "\n\nErrMode=ORV_ErrorModeParent\n\nContinue?"
                                                     : "";
    platformFormat(text, size, "%s %s(): [file %s, line %d]\n%s\n\n%s\n(status: %d)%s",
                   isTrace(status) ? "Called from" : "In function", func ? func : "<unknown>", file ? file : "",
                   int(line < 0 ? 0 : line), context, orvErrorStr(status), int(status), tail);
}

// True if the user wants the application to end.
bool userEndsProcess(const char* text, int32_t mode)
{
    char title[64];
    platformFormat(title, sizeof title, "ORV %s", libVersion.version);
    if (mode == ORV_ErrorModeParent)
        return platformAsk(title, text, PlatformQuestion::okCancel) == PlatformAnswer::cancel;
    if (mode == ORV_ErrModeLeaf)
        return platformAsk(title, text, PlatformQuestion::yesNo) == PlatformAnswer::yes;
    return false;
}

}  // namespace

int32_t ORV_CALL orvGetErrStatus(void)
{
    return ownContext().status;
}

void ORV_CALL orvSetErrStatus(int32_t status)
{
    ownContext().status = status;
}

int32_t ORV_CALL orvGetErrMode(void)
{
    return ownContext().mode;
}

void ORV_CALL orvSetErrMode(int32_t mode)
{
    ownContext().mode = mode;
}

OrvErrorCallBack ORV_CALL orvRedirectError(OrvErrorCallBack handler)
{
    OrvContext& context = ownContext();
    OrvErrorCallBack previous = context.report;
    context.report = handler ? handler : orvGuiBoxReport;
    return previous;
}

int32_t ORV_CALL orvError(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    OrvContext& thread = ownContext();
    if (!isTrace(status)) {
        thread.status = status;
        if (status == ORV_STATUS_OK)
            return 0;
    }
    return thread.report(status, func, context, file, line);
}

const char* ORV_CALL orvErrorStr(int32_t status)
{
    if (isHeaderStatus(status))
        return maskTexts[ORV_STATUS_NULL_IMAGE - status] + maskPrefix;
    int32_t ofHeader = status < maskOffset ? status - maskOffset : 0;
    if (isHeaderStatus(ofHeader) && !cannotBeOfMask(ofHeader))
        return maskTexts[ORV_STATUS_NULL_IMAGE - ofHeader];
    switch (status) {
    case ORV_STATUS_OK: return "No Error";
    case ORV_STATUS_BACKTRACE: return "Backtrace";
    case ORV_STATUS_INTERNAL: return "Internal error (bad state)";
    case ORV_STATUS_NO_MEMORY: return "Insufficient memory";
    case ORV_STATUS_BAD_ARG: return "Bad argument";
    case ORV_STATUS_UNSUPPORTED: return "Unsupported function";
    case ORV_STATUS_NO_CONVERGENCE: return "Iteration convergence failed";
    case ORV_STATUS_AUTOTRACE: return "Autotrace call";
    case ORV_STATUS_TILED_MASK: return "Mask image is taled";
    case ORV_STATUS_NULL_POINTER: return "Null pointer";
    case ORV_STATUS_BAD_VECTOR_LENGTH: return "Incorrect vector length";
    case ORV_STATUS_BAD_FILTER: return "Incorrect filter structure content";
    case ORV_STATUS_BAD_TRANSFORM_KERNEL: return "Incorrect transform kernel content";
    case ORV_STATUS_BAD_FILTER_OFFSET: return "Incorrect filter ofset value";
    default: return unknownStatus;
    }
}

int32_t ORV_CALL orvNulDevReport(int32_t status, const char*, const char*, const char*, int32_t)
{
    if (orvGetErrMode() == ORV_ErrModeLeaf)
        endProcess();
    return status;
}

int32_t ORV_CALL orvStdErrReport(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    int32_t mode = orvGetErrMode();
    if (mode == ORV_ErrModeSilent)
        return status;
    if (isTrace(status))
        fputs("\tcalled from", stderr);
    else
        fprintf(stderr, "\nORV Library Error: %s \n\tin function", orvErrorStr(status));
    if (line >= 1 || file)
        fprintf(stderr, " [%s:%d]", file ? file : "(null)", int(line));
    fprintf(stderr, ":%s", func ? func : "<unknown>");
    if (context)
        fprintf(stderr, status == ORV_STATUS_AUTOTRACE ? "(%s)" : "(): %s", context);
    fputs("\n", stderr);
    fflush(stderr);
    if (mode == ORV_ErrModeLeaf) {
        fputs("ORV Library Error\nErrMode=ORV_ErrModeLeaf\nterminating the application", stderr);
        fflush(stderr);
        endProcess();
    }
    return status;
}

int32_t ORV_CALL orvGuiBoxReport(int32_t status, const char* func, const char* context, const char* file, int32_t line)
{
    int32_t mode = orvGetErrMode();
    if (mode == ORV_ErrModeSilent)
        return status;
    if (!context)
        context = "";
    size_t size = strlen(context) + strlen(orvErrorStr(status)) + 200;
    auto* text = static_cast<char*>(ownHeapAlloc(size));
    if (!text)
        return status;
    formatBox(text, size, status, func, context, file, line, mode);
    bool end = userEndsProcess(text, mode);
    if (end)
        platformTell("Win32: Application exit", "ORV Library: terminating the application");
    ownHeapFree(text);
    if (end)
        endProcess();
    return status;
}

const OrvLibVersion* ORV_CALL orvGetLibVersion(void)
{
    return &libVersion;
}

uint64_t ORV_CALL orvGetCadenceCounter(void)
{
    return platformCycles();
}
