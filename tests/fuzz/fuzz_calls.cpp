// Calls of all functions with arguments that are mostly right, often at the edge and sometimes hostile. As libFuzzer's
// target with clang; otherwise a program of its own:
//
//   fuzz_calls [options] [seconds [seed]]  random calls, from any of the functions; one that fails is printed
//                                          as a C program
//   fuzz_calls --refusals [times]          every function through every refused request for memory and tiles
//   fuzz_calls --threads [seconds]         eight threads call everything, and read one image together
//   fuzz_calls --digest [times [file]]     digests of each family's results and of its reports, compared with
//                                          those in a file
//   fuzz_calls --reports [times]           all reports that calls with bad arguments make, and good ones that
//                                          are refused
//   fuzz_calls --each [times]              a digest of each function, and the share of its calls that went well
//   fuzz_calls --call seed                 one call
//   fuzz_calls --print seed | --input file  the C program of one call
//   fuzz_calls --list                      the functions of the table
//
// Options: --level=base|v3|v4 (otherwise all, whose results are compared), --only=function, --loud (prints reports),
// --bare (new memory stays as it comes, for valgrind).
#include <algorithm>
#include <atomic>
#include <chrono>
#include <map>
#include <memory>
#include <set>
#include <thread>

#include "core/ownisa.h"
#include "draw.h"
#include "testheap.h"

#if !defined(_WIN32)
#include <sys/mman.h>
#include <sys/time.h>
#include <sys/wait.h>
#include <unistd.h>
#endif

namespace {

using Clock = std::chrono::steady_clock;

std::vector<const Entry*> entries;

const Entry& entryOf(Source& source)
{
    return *entries[source.bits() % entries.size()];
}

// A call by its seed or its bytes: the same again for the same.
Plan planOf(Source& source)
{
    Plan plan;
    plan.valid = source.oneIn(3);
    if (source.oneIn(10))
        plan.refuseMemory = 1 + source.below(6);
    return plan;
}

bool isLoud = false, everyLevel = true;

struct Outcome {
    uint64_t digest;
    bool worked;
};

Outcome makeCall(Source source, FILE* program = nullptr)
{
    const Entry& entry = entryOf(source);
    Plan plan = planOf(source);
    plan.program = program;
    plan.loud = isLoud;
    int before = testheap::blocks();
    Outcome outcome;
    {
        Drawing drawing(source, plan, entry);
        entry.call(drawing);
        outcome = {drawing.digest, drawing.worked};
    }
    if (!program && testheap::blocks() != before)
        replayFail("memory was not released");
    return outcome;
}

// A call at every level, which are to have the same results.
bool testCall(Source source)
{
    Outcome outcome = makeCall(source);
    const OwnLevel best = ownLevel();
    for (OwnLevel level : {OwnLevel::base, OwnLevel::v3}) {
        if (!everyLevel || level >= best)
            break;
        ownForceLevel(level);
        if (makeCall(source).digest != outcome.digest)
            replayFail("the levels have different results");
    }
    ownForceLevel(best);
    return outcome.worked;
}

}  // namespace

#if defined(ORVZ3_LIBFUZZER)

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    if (entries.empty())
        for (const Entry& entry : everyCall())
            entries.push_back(&entry);
    testCall({0, data, size});
    return 0;
}

#else

namespace {

struct Shared {
    std::atomic<uint64_t> seed;
    std::atomic<long> calls[256], worked[256];
};

#if defined(_WIN32)
// Without a child, which this system does not make so: a call that fails ends the program.
long loop(Clock::time_point end, uint64_t seed)
{
    for (; Clock::now() < end; ++seed)
        testCall({seed});
    return 0;
}
#else
// The functions that were called or went well least.
void summarise(const Shared& shared)
{
    std::vector<std::pair<long, std::string>> calls, worked;
    for (const Entry* entry : entries) {
        auto i = entry - &everyCall()[0];
        calls.emplace_back(shared.calls[i], entry->name);
        worked.emplace_back(100 * shared.worked[i] / std::max(1L, shared.calls[i].load()), entry->name);
    }
    std::sort(calls.begin(), calls.end());
    std::sort(worked.begin(), worked.end());
    size_t half = calls.size() / 2;
    printf("calls of a function: %ld to %ld, half of them at least %ld\n", calls.front().first, calls.back().first,
           calls[half].first);
    printf("of them went well: %ld%% (%s) to %ld%%, of half of them at least %ld%%\n", worked.front().first,
           worked.front().second.c_str(), worked.back().first, worked[half].first);
}

// The calls are made in a child; the parent prints the one that the child did not survive, and goes on behind it.
long loop(Clock::time_point end, uint64_t seed)
{
    auto* shared =
        static_cast<Shared*>(mmap(nullptr, sizeof(Shared), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));
    long faults = 0;
    shared->seed = seed;
    std::map<std::string, int> known;
    while (Clock::now() < end) {
        fflush(nullptr);
        pid_t child = fork();
        if (child == 0) {
            const itimerval mostTime = {{0, 0}, {100, 0}};
            for (; Clock::now() < end; ++shared->seed) {
                setitimer(ITIMER_VIRTUAL, &mostTime, nullptr);  // a call that hangs ends here
                Source source = {shared->seed};
                auto entry = &entryOf(source) - &everyCall()[0];
                ++shared->calls[entry];
                shared->worked[entry] += testCall({shared->seed});
            }
            fflush(nullptr);
            _exit(0);
        }
        int status = 0;
        waitpid(child, &status, 0);
        if (status == 0)
            break;
        ++faults;
        Source source = {shared->seed};
        const Entry& entry = entryOf(source);
        printf("/* fault %ld, seed %llu, %s %d: %s */\n", faults, static_cast<unsigned long long>(shared->seed.load()),
               WIFSIGNALED(status) ? "signal" : "exit", WIFSIGNALED(status) ? WTERMSIG(status) : WEXITSTATUS(status),
               entry.name);
        fflush(nullptr);
        if (++known[entry.name] <= 3 && fork() == 0) {
            makeCall({shared->seed}, stdout);
            fflush(nullptr);
            _exit(0);
        }
        wait(&status);
        ++shared->seed;
    }
    summarise(*shared);
    printf("%llu calls, %ld faults\n", static_cast<unsigned long long>(shared->seed - seed), faults);
    return faults;
}
#endif

// Without memory these end without a report, answer NULL, or try once more with what they have released.
bool endsSilently(const char* name)
{
    for (const char* part : {"MaxFilter", "MinFilter", "MedianFilter", "ColorMedianFilter", "FixedFilter", "DCT2D",
                             "Fft2D", "Malloc", "CreateROI", "CreateTileInfo", "CreateImageHeader"})
        if (strstr(name, part))
            return true;
    return false;
}

enum class Refusal { memory, allMemory, tile };

long lost = 0;  // what refusals have shown

// A call where the n-th request is refused, or all for memory from there on. False if there was no such request.
bool refuse(const Entry& entry, uint64_t seed, int n, Refusal what)
{
    bool tile = what == Refusal::tile;
    Plan plan = {.valid = true,
                 .refuseMemory = tile ? 0 : n,
                 .refuseAll = what == Refusal::allMemory,
                 .refuseTile = tile ? n : 0,
                 .loud = isLoud};
    int before = testheap::blocks();
    bool refused, silent;
    {
        Drawing drawing({seed}, plan, entry);
        entry.call(drawing);
        refused = tile ? drawing.tileRefused : drawing.memoryRefused;
        silent = drawing.worked;
    }
    const char* fault = testheap::blocks() != before                               ? "memory is lost"
                        : refused && silent && (tile || !endsSilently(entry.name)) ? "nothing is reported"
                                                                                   : nullptr;
    if (fault) {
        printf("/* %s, seed %d: %s when request %d for %s fails */\n", entry.name, int(seed), fault, n,
               tile ? "a tile" : "memory");
        plan.program = stdout;
        if (++lost < 20)
            entry.call(*std::make_unique<Drawing>(Source{seed}, plan, entry));
    }
    return refused;
}

// A function through every refused request of calls that go well; how many those were.
long refusalsOf(const Entry& entry, int times)
{
    long refused = 0;
    int good = 0;
    for (uint64_t seed = 0; good < times && seed < uint64_t(20 * times); ++seed) {
        {
            Drawing drawing({seed}, {.valid = true}, entry);
            entry.call(drawing);
            if (!drawing.worked)
                continue;
        }
        ++good;
        for (Refusal what : {Refusal::memory, Refusal::allMemory, Refusal::tile})
            for (int n = 1; refuse(entry, seed, n, what); ++n)
                ++refused;
    }
    return refused;
}

int refusals(int times)
{
    long refused = 0, none = 0;
    for (const Entry* entry : entries) {
        long ofEntry = refusalsOf(*entry, times);
        refused += ofEntry;
        none += ofEntry == 0;
    }
    printf("%ld refusals, none in %ld functions\n", refused, none);
    return lost != 0;
}

uint64_t mixed(uint64_t digest, uint64_t value)
{
    return (digest ^ value) * 0x100000001B3u;
}

// What calls with bad arguments and good ones that are refused report and answer, not how often, since the levels do
// not ask for memory equally often; and a digest of what the former leave.
struct Ends {
    std::set<std::string> reports;
    uint64_t left = 0;
};

Ends endsOf(const Entry& entry, int times)
{
    static Ends ends;
    ends = {};
    replayArena.heard = [](int32_t status, const char* func, const char* context) {
        ends.reports.insert(std::to_string(status) + " " + func + ": " + context);
    };
    for (int seed = 0; seed < times; ++seed) {
        Drawing drawing({uint64_t(seed)}, {.loud = isLoud}, entry);
        entry.call(drawing);
        if (drawing.isPortable)
            ends.left = mixed(ends.left, drawing.digest);
    }
    refusalsOf(entry, times / 10);
    replayArena.heard = nullptr;
    return ends;
}

int reports(int times)
{
    for (const Entry* entry : entries) {
        printf("%s\n", entry->name);
        for (const std::string& report : endsOf(*entry, times).reports)
            printf("    %s\n", report.c_str());
    }
    return 0;
}

// Digests of each family, or of each function with the share of calls that went well.
int digests(int times, bool each, const char* expected)
{
    std::map<std::string, uint64_t> sums, stored;
    char family[64];
    unsigned long long digest;
    if (FILE* file = expected ? fopen(expected, "r") : nullptr) {
        while (fscanf(file, "%63s %llx", family, &digest) == 2)
            stored[family] = digest;
        fclose(file);
    }
    for (const Entry* entry : entries) {
        std::string name = each ? entry->name : entry->family;
        uint64_t &sum = sums[name], &ofReports = sums[name + ".reports"];
        const Ends ends = endsOf(*entry, times);
        ofReports = mixed(ofReports, ends.left);
        for (const std::string& report : ends.reports)
            for (char letter : report)
                ofReports = mixed(ofReports, uint8_t(letter));
        int worked = 0;
        for (int seed = 0; seed < times; ++seed) {
            Drawing drawing({uint64_t(seed)}, {.valid = true, .loud = isLoud}, *entry);
            entry->call(drawing);
            worked += drawing.worked;
            sum = mixed(sum, drawing.digest);
        }
        if (each)
            printf("%3d%% %s %016llx, reports %016llx\n", 100 * worked / times, entry->name,
                   static_cast<unsigned long long>(sum), static_cast<unsigned long long>(ofReports));
    }
    for (const auto& [family, sum] : sums)
        if (!each)
            printf("%s %016llx\n", family.c_str(), static_cast<unsigned long long>(sum));
    return expected && stored != sums;
}

// Whether a function only reads its first image.
bool readsFirst(const Entry& entry)
{
    auto is = [&](const char* part) { return strstr(entry.name, part) != nullptr; };
    if (!strchr(entry.images, ','))
        return is("orvGet") || is("Moment") || is("MinMax") || is("ComputeHisto") || is("ToDIB") || is("Clone");
    return !is("Exchange") && !is("FromDIB") && !is("PreMultiply");
}

int threads(int seconds)
{
    auto end = Clock::now() + std::chrono::seconds(seconds);
    replayReset();
    std::vector<uint8_t> pixels(64 * 64 * 4, 77);
    OrvImage together = {int(sizeof together),
                         0,
                         3,
                         0,
                         ORV_DEPTH_8U,
                         {'R', 'G', 'B'},
                         {'R', 'G', 'B'},
                         0,
                         0,
                         4,
                         64,
                         64,
                         nullptr,
                         nullptr,
                         nullptr,
                         nullptr,
                         64 * 192,
                         pixels.data(),
                         192,
                         {},
                         {},
                         nullptr};
    std::atomic<long> calls{0};
    std::vector<std::thread> all;
    for (uint64_t thread = 0; thread < 8; ++thread)
        all.emplace_back([&, thread] {
            for (uint64_t seed = thread << 40; Clock::now() < end; ++seed, ++calls) {
                Source source = {seed};
                const Entry& entry = entryOf(source);
                Plan plan = {.valid = true};
                if (readsFirst(entry) && source.oneIn(2))
                    plan.shared = &together;
                Drawing drawing(source, plan, entry);
                entry.call(drawing);
            }
        });
    for (std::thread& thread : all)
        thread.join();
    if (std::any_of(pixels.begin(), pixels.end(), [](uint8_t value) { return value != 77; }))
        replayFail("the image that all read was changed");
    printf("%ld calls\n", calls.load());
    return 0;
}

}  // namespace

int main(int argc, char** argv)
{
    std::vector<const char*> words;
    const char *mode = "", *only = "";
    for (int i = 1; i < argc; ++i) {
        if (strncmp(argv[i], "--level=", 8) == 0) {
            everyLevel = false;
            if (!ownForceLevel(argv[i] + 8))
                return 77;
        } else if (strncmp(argv[i], "--only=", 7) == 0) {
            only = argv[i] + 7;
        } else if (strcmp(argv[i], "--bare") == 0) {
            testheap::fill(false);
        } else if (strcmp(argv[i], "--loud") == 0) {
            isLoud = true;
        } else if (strncmp(argv[i], "--", 2) == 0) {
            mode = argv[i] + 2;
        } else {
            words.push_back(argv[i]);
        }
    }
    for (const Entry& entry : everyCall())
        if (!*only || strcmp(only, entry.name) == 0)
            entries.push_back(&entry);
    auto number = [&](size_t i, long long otherwise) { return words.size() > i ? atoll(words[i]) : otherwise; };
    if (strcmp(mode, "list") == 0) {
        for (const Entry* entry : entries)
            puts(entry->name);
        return 0;
    }
    if (strcmp(mode, "print") == 0)
        return void(makeCall({uint64_t(number(0, 0))}, stdout)), 0;
    if (strcmp(mode, "call") == 0)
        return testCall({uint64_t(number(0, 0))}), 0;
    if (strcmp(mode, "input") == 0 && words.size() == 1) {
        std::vector<uint8_t> bytes(1 << 20);
        FILE* file = fopen(words[0], "rb");
        size_t size = file ? fread(bytes.data(), 1, bytes.size(), file) : 0;
        return void(makeCall({0, bytes.data(), size}, stdout)), 0;
    }
    if (strcmp(mode, "refusals") == 0)
        return refusals(int(number(0, 20)));
    if (strcmp(mode, "reports") == 0)
        return reports(int(number(0, 200)));
    if (strcmp(mode, "threads") == 0)
        return threads(int(number(0, 10)));
    if (strcmp(mode, "digest") == 0 || strcmp(mode, "each") == 0)
        return digests(int(number(0, 200)), mode[0] == 'e', words.size() > 1 ? words[1] : nullptr);
    auto seed = uint64_t(number(1, Clock::now().time_since_epoch().count()));
    printf("seed %llu\n", static_cast<unsigned long long>(seed));
    return loop(Clock::now() + std::chrono::seconds(number(0, 30)), seed) != 0;
}

#endif
