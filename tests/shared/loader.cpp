// Loads the shared library at run time, to see its threads' records through loading and unloading.
// usage: loader library scene
#include <atomic>
#include <cstdio>
#include <cstring>
#include <thread>

#include "orv.h"

#if defined(_WIN32)
#include <windows.h>

#include <psapi.h>
#else
#include <dlfcn.h>
#endif

namespace {

const char* path;

// The functions of the library as long as it is loaded.
struct Library {
#if defined(_WIN32)
    HMODULE handle = LoadLibraryA(path);
    ~Library()
    {
        FreeLibrary(handle);
    }
    void* find(const char* name)
    {
        return reinterpret_cast<void*>(GetProcAddress(handle, name));
    }
#else
    void* handle = dlopen(path, RTLD_NOW | RTLD_LOCAL);
    ~Library()
    {
        dlclose(handle);
    }
    void* find(const char* name)
    {
        return dlsym(handle, name);
    }
#endif
    decltype(&orvGetErrStatus) getStatus = function<decltype(&orvGetErrStatus)>("orvGetErrStatus");
    decltype(&orvSetErrStatus) setStatus = function<decltype(&orvSetErrStatus)>("orvSetErrStatus");
    decltype(&orvGetErrMode) getMode = function<decltype(&orvGetErrMode)>("orvGetErrMode");
    decltype(&orvRedirectError) redirect = function<decltype(&orvRedirectError)>("orvRedirectError");
    decltype(&orvGuiBoxReport) box = function<decltype(&orvGuiBoxReport)>("orvGuiBoxReport");

    template <class Function>
    Function function(const char* name)
    {
        return handle ? reinterpret_cast<Function>(find(name)) : nullptr;
    }

    // True if the calling thread has the record of a new thread; leaves a mark in it.
    bool isNewHere()
    {
        bool isNew = getStatus() == 0 && getMode() == ORV_ErrModeLeaf && redirect(nullptr) == box;
        setStatus(-5);
        return isNew && getStatus() == -5;
    }
};

// A thread that does one piece of work when told to, then waits to be told to end.
class Waiter {
public:
    template <class Work>
    explicit Waiter(Work work)
        : thread([this, work] {
              wait(1);
              work();
              stage = 2;
              wait(3);
          })
    {
    }
    ~Waiter()
    {
        stage = 3;
        thread.join();
    }
    void work()
    {
        stage = 1;
        wait(2);
    }

private:
    void wait(int wanted)
    {
        while (stage < wanted)
            std::this_thread::yield();
    }
    std::atomic<int> stage{0};
    std::thread thread;
};

// A thread that ran before the library was loaded has a record from its first call on, and ends before the library.
bool early()
{
    bool isNew = false;
    Library* library = nullptr;
    {
        Waiter waiter([&] { isNew = library->isNewHere(); });
        library = new Library;
        library->setStatus(-9);
        waiter.work();
        isNew = isNew && library->getStatus() == -9;
    }
    delete library;
    return isNew;
}

// Threads of both kinds outlive the library.
bool late()
{
    bool isNew = false;
    bool alsoNew = false;
    auto* library = new Library;
    Waiter known([&] { isNew = library->isNewHere(); });
    delete library;
    library = nullptr;
    Waiter unknown([&] { alsoNew = library->isNewHere(); });
    library = new Library;
    known.work();
    unknown.work();
    delete library;
    return isNew && alsoNew;
}

long long memoryInUse()
{
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS counters = {};
    GetProcessMemoryInfo(GetCurrentProcess(), &counters, sizeof counters);
    return (long long)counters.PagefileUsage;
#else
    return 0;  // the address sanitizer sees more
#endif
}

// The records of threads that end are released.
bool ends()
{
    Library library;
    long long before = 0;
    for (int i = 0; i < 3000; ++i) {
        if (i == 1000)
            before = memoryInUse();
        bool isNew = false;
        std::thread([&] { isNew = library.isNewHere(); }).join();
        if (!isNew)
            return false;
    }
    // 2000 records are 7 MB.
    return memoryInUse() - before < 2000000;
}

// The slot is given back: no system has this many.
bool reloads()
{
    for (int i = 0; i < 3000; ++i) {
        Library library;
        if (!library.handle || !library.isNewHere())
            return false;
    }
    return true;
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 3)
        return 2;
    path = argv[1];
    const struct {
        const char* name;
        bool (*play)();
    } scenes[] = {{"early", early}, {"late", late}, {"ends", ends}, {"reloads", reloads}};
    for (const auto& scene : scenes)
        if (strcmp(scene.name, argv[2]) == 0) {
            bool good = scene.play();
            puts(good ? "good" : "bad");
            return good ? 0 : 1;
        }
    return 2;
}
