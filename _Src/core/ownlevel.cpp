// The choice of the instruction-set level.
#include <atomic>
#include <cstring>

#include "ownisa.h"
#if OWN_HAS_V3
#include <cpuid.h>
#endif

namespace {

#if OWN_HAS_V3
// The compiler's own question knows whether the system keeps the wide registers, but not under every compiler all
// names.
bool hasV3()
{
    __builtin_cpu_init();
    unsigned eax, ebx, ecx, edx;
    if (!__builtin_cpu_supports("avx2") || !__builtin_cpu_supports("bmi") || !__builtin_cpu_supports("bmi2") ||
        !__builtin_cpu_supports("fma"))
        return false;
    const unsigned both = bit_F16C | bit_MOVBE;
    if (!__get_cpuid(1, &eax, &ebx, &ecx, &edx) || (ecx & both) != both)
        return false;
    constexpr unsigned lzcnt = 1 << 5;
    return __get_cpuid(0x80000001, &eax, &ebx, &ecx, &edx) && (ecx & lzcnt);
}
#endif

#if OWN_HAS_V4
bool hasV4()
{
    return hasV3() && __builtin_cpu_supports("avx512f") && __builtin_cpu_supports("avx512bw") &&
           __builtin_cpu_supports("avx512cd") && __builtin_cpu_supports("avx512dq") &&
           __builtin_cpu_supports("avx512vl");
}
#endif

bool processorHas(OwnLevel level)
{
#if OWN_HAS_V4
    if (level == OwnLevel::v4)
        return hasV4();
#endif
#if OWN_HAS_V3
    if (level == OwnLevel::v3)
        return hasV3();
#endif
    return level == OwnLevel::base;
}

OwnLevel best()
{
    OwnLevel level = OwnLevel::v4;
    while (!processorHas(level))
        level = OwnLevel(int(level) - 1);
    return level;
}

// -1 until the first use. Threads that come at once find the same answer.
std::atomic<int> chosen{-1};

}  // namespace

OwnLevel ownLevel()
{
    int level = chosen.load(std::memory_order_relaxed);
    if (level < 0) {
        level = int(best());
        chosen.store(level, std::memory_order_relaxed);
    }
    return OwnLevel(level);
}

bool ownForceLevel(OwnLevel level)
{
    if (!processorHas(level))
        return false;
    chosen.store(int(level), std::memory_order_relaxed);
    return true;
}

bool ownForceLevel(const char* name)
{
    for (OwnLevel level : {OwnLevel::base, OwnLevel::v3, OwnLevel::v4}) {
        const char* const names[] = {"base", "v3", "v4"};
        if (strcmp(name, names[int(level)]) == 0)
            return ownForceLevel(level);
    }
    return false;
}
