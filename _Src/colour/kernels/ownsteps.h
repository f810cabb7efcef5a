// For kernel sources: loops over the three values of many pixels.
#pragma once

#include "../../core/kernels/ownrow.h"
#include "owntriple.h"

namespace OWN_ISA {

template <class L>
struct Triple {
    L x, y, z;
};
template <class L>
Triple(L, L, L) -> Triple<L>;  // which clang 14 does not find by itself

// Stores op of the values of all places; Op has the types Source and Result, made of three values of a source three
// results.
template <class Op>
void stepThree(const void* const* from, void* const* to, ptrdiff_t n, const void* scalar)
{
    using S = typename Op::Source;
    using D = typename Op::Result;
    const Op op(scalar);
    const OwnValues<S> x = {from[0]}, y = {from[1]}, z = {from[2]};
    void *a = to[0], *b = to[1], *c = to[2];
#pragma GCC ivdep
    for (ptrdiff_t i = 0; i < n; ++i) {
        const Triple<D> result = op(Triple<S>{x[i], y[i], z[i]});
        ownStore<D>(a, i, result.x);
        ownStore<D>(b, i, result.y);
        ownStore<D>(c, i, result.z);
    }
}

}  // namespace OWN_ISA
