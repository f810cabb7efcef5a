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

// A thread that does its piece of work whenever it is told to, and ends with the scope.
class Waiter {
public:
    template <class Work>
    explicit Waiter(Work work)
        : thread([this, work] {
              while (waitForOrder()) {
                  work();
                  ++done;
              }
          })
    {
    }
    ~Waiter()
    {
        ending = true;
        thread.join();
    }
    void work()
    {
        int wanted = ++orders;
        while (done < wanted)
            std::this_thread::yield();
    }

private:
    bool waitForOrder()
    {
        while (done == orders && !ending)
            std::this_thread::yield();
        return !ending;
    }
    std::atomic<int> orders{0};
    std::atomic<int> done{0};
    std::atomic<bool> ending{false};
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

// A thread outlives the library: it finds nothing of its record when the library is loaded again, and ends after it.
bool late()
{
    bool good = true;
    Library* library = nullptr;
    Waiter waiter([&] { good = good && library->isNewHere(); });
    for (int times = 0; times < 3; ++times) {
        library = new Library;
        waiter.work();
        good = good && library->isNewHere();
        delete library;
    }
    return good;
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
    for (int i = 0; i < 1200; ++i) {
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
