// Kernels are compiled once for each instruction-set level of the target, each time into a namespace of its own, which
// the build names OWN_ISA. This header ties the levels together: it declares a family's table once for every level and
// picks the level of this process.
//
// Sources that are compiled for several levels must not share inline functions with external linkage: the linker
// keeps one copy of them, perhaps that of a level which the processor does not have. Helpers of kernels therefore live
// in OWN_ISA, in an unnamed namespace or are static.
#pragma once

#if defined(__x86_64__) || defined(__i386__)
#define OWN_HAS_V3 1
#else
#define OWN_HAS_V3 0
#endif
#if defined(__x86_64__)
#define OWN_HAS_V4 1
#else
#define OWN_HAS_V4 0
#endif

enum class OwnLevel {
    base,  // what every processor of the target has
    v3,    // x86-64-v3: AVX2 and what comes with it
    v4     // x86-64-v4: AVX-512, for the tables that gain by it
};

// The level in use: the best that the processor has.
OwnLevel ownLevel();

// For tests and benchmarks: uses a level from now on, told also by its name. False if the processor does not have it.
bool ownForceLevel(OwnLevel level);
bool ownForceLevel(const char* name);

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
        return ownLevel() >= OwnLevel::v3 ? ownV3::name : ownBase::name; \
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

// The same for a table that has the level v4 too, since it gains by it: its sources are named in cmake/library.cmake.
#if OWN_HAS_V4
#define OWN_WIDE_KERNEL_TABLE(Table, name)                                          \
    namespace ownBase {                                                             \
    extern const Table name;                                                        \
    }                                                                               \
    namespace ownV3 {                                                               \
    extern const Table name;                                                        \
    }                                                                               \
    namespace ownV4 {                                                               \
    extern const Table name;                                                        \
    }                                                                               \
    [[maybe_unused]] static const Table& name()                                     \
    {                                                                               \
        const Table* const tables[] = {&ownBase::name, &ownV3::name, &ownV4::name}; \
        return *tables[int(ownLevel())];                                            \
    }
#else
#define OWN_WIDE_KERNEL_TABLE(Table, name) OWN_KERNEL_TABLE(Table, name)
#endif
