// Row kernels of bits: what a logic makes of the bits of two sources, of one and a scalar, or of a scalar alone,
// wherever in their bytes they begin.
#pragma once

#include "ownbits.h"

// For kernel sources only: the templates.
#ifdef OWN_ISA
namespace OWN_ISA {

// Logics: a function of(a, b) on bytes, on words of eight and on vectors of these.
struct BitAnd {
    template <class V>
    static V of(V a, V b)
    {
        return V(a & b);
    }
};

struct BitOr {
    template <class V>
    static V of(V a, V b)
    {
        return V(a | b);
    }
};

struct BitXor {
    template <class V>
    static V of(V a, V b)
    {
        return V(a ^ b);
    }
};

struct BitAndNot {
    template <class V>
    static V of(V a, V b)
    {
        return V(a & ~b);
    }
};

// The first source alone, or the scalar alone.
struct BitFirst {
    template <class V>
    static V of(V a, V)
    {
        return a;
    }
};

struct BitSecond {
    template <class V>
    static V of(V, V b)
    {
        return b;
    }
};

// The scalar as eight pixels.
inline uint8_t byteScalar(const void* scalar)
{
    return ownLoad<uint8_t>(scalar);
}

inline uint8_t noScalar(const void*)
{
    return 0;
}

constexpr uint64_t everyByte = 0x0101010101010101u;

// How a source's bits come into the bytes of the destination's: byte k of these is made of two bytes of the source, k
// and k + 1 counted from `base`, which may be the byte before the first; where both begin with the same bit, it is byte
// k. Of a source no byte is read that holds none of its bits.
template <bool shifted>
struct BitPhase {
    ptrdiff_t base;
    int shift;       // the bits of byte k that belong to the destination's byte before it
    ptrdiff_t more;  // 1 unless there are none
    bool ninth;      // the last eight bytes need a ninth

    BitPhase(int from, int to, ptrdiff_t n) : base(from < to ? -1 : 0), shift((from - to) & 7), more(shift != 0)
    {
        ninth = ((from + n - 1) >> 3) - base == (to + n + 7) >> 3;
    }

    static uint64_t eight(const uint8_t* p) { return ownFirstOnTop(ownLoad<uint64_t>(p)); }

    // The eight bytes from k on, the first on top.
    uint64_t word(const uint8_t* p, ptrdiff_t k) const
    {
        uint64_t bits = eight(p + k);
        return shifted ? bits << shift | uint64_t(p[k + 7 + more]) >> (8 - shift) : bits;
    }
    // The same for the first and for the last ones of more than eight.
    uint64_t head(const uint8_t* p) const { return shifted && base ? eight(p + 1) >> (8 - shift) : word(p, 0); }
    uint64_t tail(const uint8_t* p, ptrdiff_t k) const
    {
        return shifted && !ninth ? eight(p + k) << shift : word(p, k);
    }

    // A vector of bytes, in the order of memory: what a shift of words carries over from a neighbour byte is masked
    // out.
    Vector<uint64_t> vector(const uint8_t* p, ptrdiff_t k) const
    {
        Vector<uint64_t> these = vectorAt<uint64_t>(p + k);
        if constexpr (!shifted)
            return these;
        Vector<uint64_t> next = vectorAt<uint64_t>(p + k + more);
        return ((these << shift) & everyByte * uint8_t(0xFF << shift)) |
               ((next >> (8 - shift)) & everyByte * uint8_t(0xFF >> (8 - shift)));
    }
    // Byte k of `bytes`.
    uint64_t byte(const uint8_t* p, ptrdiff_t k, ptrdiff_t bytes) const
    {
        uint64_t these = k + base >= 0 ? uint64_t{p[k]} << shift : 0;
        return these | (more && (k + 1 < bytes || ninth) ? uint64_t(p[k + 1]) >> (8 - shift) : 0);
    }
};

template <class Logic, int sources, uint8_t (*scalarOf)(const void*) = noScalar>
struct BitRows {
    static void run(const OwnBitRows& rows)
    {
        const bool shifted = (sources > 0 && rows.aBit != rows.to.bit) || (sources > 1 && rows.bBit != rows.to.bit) ||
                             (rows.to.mask && rows.to.maskBit != rows.to.bit);
        const bool masked = rows.to.mask != nullptr;
        if (shifted)
            masked ? runAs<true, true>(rows) : runAs<false, true>(rows);
        else
            masked ? runAs<true, false>(rows) : runAs<false, false>(rows);
    }

private:
    // Rows of more than eight bytes end with eight that may overlap those before. They are computed first: a load of
    // bytes that were stored in parts has to wait for them, and the destination may be a source.
    template <bool masked, bool shifted>
    static __attribute__((flatten)) void runAs(const OwnBitRows& rows)
    {
        const ptrdiff_t n = rows.n, bytes = (rows.to.bit + n + 7) >> 3, maskStep = rows.maskStep;
        using Phase = BitPhase<shifted>;
        const Phase x(rows.aBit, rows.to.bit, n), y(rows.bBit, rows.to.bit, n), z(rows.to.maskBit, rows.to.bit, n);
        const uint64_t headMask = ~uint64_t{0} >> rows.to.bit, tailMask = ~uint64_t{0} << (bytes * 8 - rows.to.bit - n);
        const uint64_t scalar = everyByte * scalarOf(rows.scalar);
        const uint8_t* mask = masked ? rows.to.mask + z.base : nullptr;
        const OwnRows all = {sources > 0 ? rows.a + x.base : nullptr,
                             sources > 1 ? rows.b + y.base : nullptr,
                             rows.to.data,
                             n,
                             rows.count,
                             rows.aStep,
                             rows.bStep,
                             rows.bitStep};
        forRows<1, 1, sources>(all, [=, &mask](const uint8_t* a, const uint8_t* b, uint8_t* d) {
            // `of` brings eight bytes of a source.
            auto logic = [=](auto of) {
                return Logic::of(sources > 0 ? of(x, a) : scalar, sources > 1 ? of(y, b) : scalar);
            };
            auto under = [=](uint64_t edge, auto of) { return masked ? edge & of(z, mask) : edge; };
            if (bytes > 8) {
                auto head = [](const Phase& phase, const uint8_t* p) { return phase.head(p); };
                auto tail = [=](const Phase& phase, const uint8_t* p) { return phase.tail(p, bytes - 8); };
                uint64_t last = mergedWord(d + bytes - 8, logic(tail), under(tailMask, tail));
                storeWord(d, mergedWord(d, logic(head), under(headMask, head)));
                ptrdiff_t k = 8;
                for (; k + vectorBytes < bytes; k += vectorBytes) {
                    const Vector<uint64_t> value = Vector<uint64_t>{} + scalar;
                    Vector<uint64_t> bits =
                        Logic::of(sources > 0 ? x.vector(a, k) : value, sources > 1 ? y.vector(b, k) : value);
                    if constexpr (masked) {
                        Vector<uint64_t> stored = vectorAt<uint64_t>(d + k);
                        bits = stored ^ ((stored ^ bits) & z.vector(mask, k));
                    }
                    __builtin_memcpy(d + k, &bits, sizeof bits);
                }
                for (; k + 8 < bytes; k += 8) {
                    auto word = [=](const Phase& phase, const uint8_t* p) { return phase.word(p, k); };
                    storeWord(d + k, masked ? mergedWord(d + k, logic(word), z.word(mask, k)) : logic(word));
                }
                storeWord(d + bytes - 8, last);
            } else {
                for (ptrdiff_t k = 0; k < bytes; ++k) {
                    auto byte = [=](const Phase& phase, const uint8_t* p) { return phase.byte(p, k, bytes); };
                    uint64_t edge = (k == 0 ? headMask >> 56 : 0xFF) & (k == bytes - 1 ? tailMask : 0xFF);
                    d[k] = uint8_t(d[k] ^ ((d[k] ^ logic(byte)) & under(edge, byte)));
                }
            }
            if (masked)
                mask += maskStep;
        });
    }
};

template <class Logic, int sources, uint8_t (*scalarOf)(const void*) = noScalar>
constexpr OwnRowKernel bitRows = {nullptr, nullptr, nullptr, BitRows<Logic, sources, scalarOf>::run};

}  // namespace OWN_ISA
#endif
