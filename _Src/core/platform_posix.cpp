// The seam on POSIX systems: a thread-specific key, questions on the controlling terminal.
#include "platform.h"

#include <fcntl.h>
#include <pthread.h>
#include <strings.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>

#include "owncontext.h"
#include "ownheap.h"

namespace {

// 0 stands for "no key": POSIX keys may be 0, so the key is kept plus one.
std::atomic<uintptr_t> keyPlusOne{0};

void openSlot()
{
    pthread_key_t key;
    if (pthread_key_create(&key, ownThreadEnd) != 0)
        return;
    uintptr_t none = 0;
    if (!keyPlusOne.compare_exchange_strong(none, uintptr_t{key} + 1))
        pthread_key_delete(key);
}

__attribute__((constructor)) void processAttach()
{
    openSlot();
    ownThreadStart();
}

__attribute__((destructor)) void processDetach()
{
    uintptr_t slot = keyPlusOne.load();
    if (slot == 0)
        return;
    ownThreadEnd(platformGetRecord());
    keyPlusOne.store(0);
    pthread_key_delete(pthread_key_t(slot - 1));
}

void writeAll(int file, const char* text)
{
    size_t left = strlen(text);
    while (left > 0) {
        ssize_t done = write(file, text, left);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return;
        text += done;
        left -= size_t(done);
    }
}

// Reads a line, without its newline, of which the first size - 1 characters are kept. False at the end of the input.
bool readLine(int file, char* line, size_t size)
{
    size_t length = 0;
    for (;;) {
        char character;
        ssize_t done = read(file, &character, 1);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return false;
        if (character == '\n' || character == '\r')
            break;
        if (length + 1 < size)
            line[length++] = character;
    }
    line[length] = 0;
    return true;
}

// A button is named by its whole name or by its first letter, in either case.
bool names(const char* line, const char* button)
{
    while (*line == ' ')
        ++line;
    return strcasecmp(line, button) == 0 || (*line && !line[1] && strncasecmp(line, button, 1) == 0);
}

// The controlling terminal, if there is one and this process is in its foreground: one in the background would be
// stopped for asking.
struct Terminal {
    int file = open("/dev/tty", O_RDWR | O_NOCTTY | O_CLOEXEC);
    ~Terminal()
    {
        if (file >= 0)
            close(file);
    }
    bool answers() const { return file >= 0 && tcgetpgrp(file) == getpgrp(); }
};

// Puts a box on the terminal, or on the error stream if the terminal does not answer.
void showBox(const Terminal& terminal, const char* title, const char* text)
{
    if (!terminal.answers()) {
        fprintf(stderr, "%s\n%s\n", title, text);
        fflush(stderr);
        return;
    }
    const char* const box[] = {"\n", title, "\n\n", text, "\n"};
    for (const char* part : box)
        writeAll(terminal.file, part);
}

// Asks until one of two buttons is named: 0 or 1, or -1 where nobody answers.
int askTerminal(const Terminal& terminal, const char* first, const char* second)
{
    while (terminal.answers()) {
        const char* const buttons[] = {"[", first, "] [", second, "] "};
        for (const char* part : buttons)
            writeAll(terminal.file, part);
        char line[16];
        if (!readLine(terminal.file, line, sizeof line))
            break;
        if (names(line, first))
            return 0;
        if (names(line, second))
            return 1;
    }
    return -1;
}

}  // namespace

void* platformGetRecord()
{
    uintptr_t slot = keyPlusOne.load(std::memory_order_acquire);
    return slot ? pthread_getspecific(pthread_key_t(slot - 1)) : nullptr;
}

bool platformSetRecord(void* record)
{
    // A call from another library's constructor, or from an exit handler, may come outside this library's own life.
    if (keyPlusOne.load() == 0)
        openSlot();
    uintptr_t slot = keyPlusOne.load();
    return slot && pthread_setspecific(pthread_key_t(slot - 1), record) == 0;
}

void* platformNewRecord(size_t size)
{
    void* record = ownHeapAlloc(size);
    if (record)
        memset(record, 0, size);
    return record;
}

void platformFreeRecord(void* record)
{
    ownHeapFree(record);
}

void platformFormat(char* text, size_t size, const char* format, ...)
{
    va_list arguments;
    va_start(arguments, format);
    vsnprintf(text, size, format, arguments);
    va_end(arguments);
}

PlatformAnswer platformAsk(const char* title, const char* text, PlatformQuestion question)
{
    bool yesNo = question == PlatformQuestion::yesNo;
    Terminal terminal;
    showBox(terminal, title, text);
    switch (askTerminal(terminal, yesNo ? "Yes" : "OK", yesNo ? "No" : "Cancel")) {
    case 0: return yesNo ? PlatformAnswer::yes : PlatformAnswer::ok;
    case 1: return yesNo ? PlatformAnswer::no : PlatformAnswer::cancel;
    default: return PlatformAnswer::notShown;
    }
}

void platformTell(const char* title, const char* text)
{
    showBox({}, title, text);  // its one button leaves nothing to ask
}

void platformFatal(const char* text)
{
    writeAll(STDERR_FILENO, text);
    writeAll(STDERR_FILENO, "\n");
    abort();
}

uint64_t platformCycles()
{
#if defined(__x86_64__) || defined(__i386__)
    return __builtin_ia32_rdtsc();
#elif defined(__aarch64__)
    uint64_t count;
    __asm__ volatile("mrs %0, cntvct_el0" : "=r"(count));
    return count;
#else
    timespec now;
    clock_gettime(CLOCK_MONOTONIC, &now);
    return uint64_t(now.tv_sec) * 1000000000u + uint64_t(now.tv_nsec);
#endif
}
