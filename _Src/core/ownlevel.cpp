// The choice of the instruction-set level.
#include <atomic>

#include "ownisa.h"

namespace {

bool processorHas(OwnLevel level)
{
#if OWN_HAS_V3
    if (level == OwnLevel::v3) {
        __builtin_cpu_init();
        return __builtin_cpu_supports("avx2") && __builtin_cpu_supports("bmi") && __builtin_cpu_supports("bmi2") &&
               __builtin_cpu_supports("fma") && __builtin_cpu_supports("lzcnt") && __builtin_cpu_supports("movbe") &&
               __builtin_cpu_supports("f16c");
    }
#endif
    return level == OwnLevel::base;
}

// -1 until the first use. Threads that come at once find the same answer.
std::atomic<int> chosen{-1};

}  // namespace

OwnLevel ownLevel()
{
    int level = chosen.load(std::memory_order_relaxed);
    if (level < 0) {
        level = int(processorHas(OwnLevel::v3) ? OwnLevel::v3 : OwnLevel::base);
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
