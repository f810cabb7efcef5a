// The seam on Windows: DllMain, a TLS slot, message boxes.
#include "platform.h"

#define WIN32_LEAN_AND_MEAN
#include <windows.h>

#include <cstdarg>
#include <cstring>

#include "owncontext.h"

namespace {

DWORD slot = TLS_OUT_OF_INDEXES;

}  // namespace

extern "C" BOOL WINAPI DllMain(HINSTANCE, DWORD reason, LPVOID)
{
    switch (reason) {
    case DLL_PROCESS_ATTACH: slot = TlsAlloc(); return slot != TLS_OUT_OF_INDEXES && ownThreadStart();
    case DLL_THREAD_ATTACH: return ownThreadStart();
    case DLL_THREAD_DETACH:
        if (slot != TLS_OUT_OF_INDEXES) {
            ownThreadEnd(TlsGetValue(slot));
            // What else runs at the thread's end may call once more, and then gets a new record, not a freed one.
            TlsSetValue(slot, nullptr);
        }
        return TRUE;
    case DLL_PROCESS_DETACH:
        if (slot != TLS_OUT_OF_INDEXES) {
            ownThreadEnd(TlsGetValue(slot));
            TlsFree(slot);
            slot = TLS_OUT_OF_INDEXES;
        }
        return TRUE;
    default: return TRUE;
    }
}

void* platformGetRecord()
{
    if (slot == TLS_OUT_OF_INDEXES)
        return nullptr;
    // TlsGetValue clears the thread's last error, which belongs to the application.
    DWORD lastError = GetLastError();
    void* record = TlsGetValue(slot);
    SetLastError(lastError);
    return record;
}

bool platformSetRecord(void* record)
{
    if (slot == TLS_OUT_OF_INDEXES)
        slot = TlsAlloc();
    return slot != TLS_OUT_OF_INDEXES && TlsSetValue(slot, record);
}

void* platformNewRecord(size_t size)
{
    return LocalAlloc(LPTR, size);
}

void platformFreeRecord(void* record)
{
    LocalFree(record);
}

void platformFormat(char* text, size_t size, const char* format, ...)
{
    // wsprintfA and its forms write 1024 bytes at most, terminator included, and know nothing of the buffer's size.
    char whole[1025];
    va_list arguments;
    va_start(arguments, format);
    wvsprintfA(whole, format, arguments);
    va_end(arguments);
    whole[1024] = 0;
    size_t length = strlen(whole);
    if (length >= size)
        length = size - 1;
    memcpy(text, whole, length);
    text[length] = 0;
}

PlatformAnswer platformAsk(const char* title, const char* text, PlatformQuestion question)
{
    UINT buttons = question == PlatformQuestion::yesNo ? MB_YESNO : MB_OKCANCEL;
    switch (MessageBoxA(nullptr, text, title, MB_TASKMODAL | MB_ICONSTOP | buttons)) {
    case IDOK: return PlatformAnswer::ok;
    case IDCANCEL: return PlatformAnswer::cancel;
    case IDYES: return PlatformAnswer::yes;
    case IDNO: return PlatformAnswer::no;
    default: return PlatformAnswer::notShown;
    }
}

void platformTell(const char* title, const char* text)
{
    MessageBoxA(nullptr, text, title, MB_TASKMODAL | MB_ICONINFORMATION | MB_OK);
}

void platformFatal(const char* text)
{
    FatalAppExitA(0, text);
    ExitProcess(1);
}

uint64_t platformCycles()
{
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#else
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return uint64_t(count.QuadPart);
#endif
}
