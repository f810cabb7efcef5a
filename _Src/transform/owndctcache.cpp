// The cosine transform's tables.
#include "owndctcache.h"

#include <cmath>

namespace {

// The table of the Fourier transform's length, in one block.
OwnDctLength* newTable(const OwnFourierTable<float>& fourier)
{
    ptrdiff_t length = fourier.length;
    constexpr int64_t recordWords = (sizeof(OwnDctLength) + sizeof(float) - 1) / sizeof(float);
    int64_t words = recordWords + 2 * int64_t{length} + 2 * (int64_t{length} / 2 + 1);
    void* block = words > INT32_MAX ? nullptr : orvsMalloc(int32_t(words));
    if (!block)
        return nullptr;
    auto* table = static_cast<OwnDctLength*>(block);
    auto* samples = static_cast<int32_t*>(block) + recordWords;
    int32_t* order = samples + length;
    auto* turns = static_cast<float*>(block) + recordWords + 2 * length;
    *table = {&fourier, samples, order, turns, float(1 / sqrt(double(length)))};
    for (ptrdiff_t e = 0; e < length; ++e) {
        samples[e] = int32_t(e % 2 == 0 ? e / 2 : length - 1 - e / 2);
        order[e] = fourier.order[samples[e]];
    }
    double factor = 1 / sqrt(2 * double(length));
    for (ptrdiff_t k = 0; k <= length / 2; ++k) {
        OwnRoot root = ownRoot(k, 4 * int64_t{length});
        turns[2 * k] = float(root.cos * factor);
        turns[2 * k + 1] = float(root.sin * factor);
    }
    return table;
}

}  // namespace

void OwnDctCaches::release(void* record)
{
    auto* caches = static_cast<OwnDctCaches*>(record);
    caches->fourier.release();
    caches->cosine.release();
    orvFree(caches);
}

const OwnDctLength* ownDctTable(OwnDctCaches& caches, int32_t length)
{
    const OwnFourierTable<float>* fourier = caches.fourier.find(length, ownFourierTable<float>);
    if (!fourier)
        return nullptr;
    return caches.cosine.find(length, [=](int32_t) { return newTable(*fourier); });
}
