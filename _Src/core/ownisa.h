// Kernels are compiled once for each instruction-set level of the target, each time into a namespace of its own, which the
// build names OWN_ISA. This header ties the levels together: it declares a family's table once for every level and
// picks the level of this process.
//
// Sources that are compiled for several levels must not share inline functions with external linkage: the linker
// keeps one copy of them, perhaps that of a level which the processor does not have. Helpers of kernels therefore live in
// OWN_ISA, in an unnamed namespace or are static.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#define OWN_HAS_V3 1
#else
#define OWN_HAS_V3 0
#endif

enum class OwnLevel {
    base,  // what every processor of the target has
    v3     // x86-64-v3: AVX2 and what comes with it
};

// The level in use: the best that the processor has.
OwnLevel ownLevel();

// For tests and benchmarks: uses `level` from now on. False if the processor does not have it.
bool ownForceLevel(OwnLevel level);

// Declares the table `name` of a kernel family, one a level, and name(), which answers that of the level in use.
#if OWN_HAS_V3
#define OWN_KERNEL_TABLE(Table, name)                                    \
    namespace ownBase {                                                  \
    extern const Table name;                                             \
    }                                                                    \
    namespace ownV3 {                                                    \
    extern const Table name;                                             \
    }                                                                    \
    [[maybe_unused]] static const Table& name()                          \
    {                                                                    \
        return ownLevel() == OwnLevel::v3 ? ownV3::name : ownBase::name; \
    }
#else
#define OWN_KERNEL_TABLE(Table, name)           \
    namespace ownBase {                         \
    extern const Table name;                    \
    }                                           \
    [[maybe_unused]] static const Table& name() \
    {                                           \
        return ownBase::name;                   \
    }
#endif
