// Masks as words of bits, for kernel sources only.
#pragma once

#include "ownrow.h"

namespace OWN_ISA {

struct WordBits {
    uint32_t bit[32];
};

constexpr WordBits makeWordBits()
{
    WordBits bits = {};
    for (int i = 0; i < 32; ++i)
        bits.bit[i] = 0x80000000u >> i;
    return bits;
}

alignas(64) constexpr WordBits wordBits = makeWordBits();

// n values of 32 bits where a word's bits are set, counted from its top, and another one elsewhere. Their lanes come
// quicker from it than from those of bytes.
template <int n>
inline __attribute__((always_inline)) void keepWords(const void* a, uint32_t other, void* d, uint32_t word)
{
    const Vector<uint32_t> no = other + Vector<uint32_t>{}, bits = word + Vector<uint32_t>{};
    for (ptrdiff_t i = 0; i < n; i += vectorBytes / 4) {
        const Vector<uint32_t> wanted = vectorAt<uint32_t>(wordBits.bit, i);
        const Vector<uint32_t> kept = no ^ ((vectorAt<uint32_t>(a, i) ^ no) & ((bits & wanted) == wanted));
        __builtin_memcpy(static_cast<char*>(d) + i * 4, &kept, sizeof kept);
    }
}

}  // namespace OWN_ISA
