// Fourier transforms.
#include "../core/owncontext.h"
#include "owncaches.h"

namespace {

template <class T>
void freeAll(T* (&blocks)[OwnFftCaches::count])
{
    for (T*& block : blocks) {
        orvFree(block);
        block = nullptr;
    }
}

}  // namespace

void ownReleaseFftCaches(OrvContext& context)
{
    OwnFftCaches& caches = context.fft;
    freeAll(caches.intWork);
    freeAll(caches.floatWork);
    freeAll(caches.floatDirect);
    freeAll(caches.intDirect);
    freeAll(caches.twiddle);
    freeAll(caches.upperTwiddle);
    freeAll(caches.realSplit);
    freeAll(caches.intTwiddle);
    freeAll(caches.bitReversal);
    caches = {};
}
