// Kernels of the mirror.
#include "ownmirror.h"

#include <string.h>

namespace OWN_ISA {
namespace {

template <int bytes>
struct Pixel {
    uint8_t value[bytes];
};

// Pixels first to n - 1 of the result.
template <int bytes>
void reversePixels(const uint8_t* src, uint8_t* dst, ptrdiff_t first, ptrdiff_t n)
{
    const OwnValues<Pixel<bytes>> from = {src};
    for (ptrdiff_t i = first; i < n; ++i)
        ownStore(dst, i, from[n - 1 - i]);
}

void reverseAny(const uint8_t* src, uint8_t* dst, ptrdiff_t first, ptrdiff_t n, ptrdiff_t bytes)
{
    switch (bytes) {
    case 1: return reversePixels<1>(src, dst, first, n);
    case 2: return reversePixels<2>(src, dst, first, n);
    case 3: return reversePixels<3>(src, dst, first, n);
    case 4: return reversePixels<4>(src, dst, first, n);
    case 6: return reversePixels<6>(src, dst, first, n);
    case 8: return reversePixels<8>(src, dst, first, n);
    case 12: return reversePixels<12>(src, dst, first, n);
    case 16: return reversePixels<16>(src, dst, first, n);
    default:
        for (ptrdiff_t i = first; i < n; ++i)
            memcpy(dst + i * bytes, src + (n - 1 - i) * bytes, size_t(bytes));
    }
}

#if defined(__AVX2__)

// Pixels of which a vector of 16 bytes holds some and a rest, which the next store covers. Answers how many are done.
template <int bytes>
ptrdiff_t reverseParts(const uint8_t* src, uint8_t* dst, ptrdiff_t n)
{
    constexpr ptrdiff_t pixels = 16 / bytes, step = pixels * bytes;
    alignas(16) int8_t from[16];
    for (ptrdiff_t i = 0; i < 16; ++i)
        from[i] = int8_t(i < step ? (pixels - 1 - i / bytes) * bytes + i % bytes : -1);
    const __m128i order = _mm_load_si128(reinterpret_cast<const __m128i*>(from));
    auto move = [=](const uint8_t* a, uint8_t* d) {
        const __m128i vector = _mm_loadu_si128(reinterpret_cast<const __m128i*>(a));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(d), _mm_shuffle_epi8(vector, order));
    };
    // The first load ends with the last pixel, and the last store ends with the row.
    constexpr ptrdiff_t most = 4, rest = (16 - step + bytes - 1) / bytes;
    if (n < rest + most * pixels)
        return 0;
    reversePixels<bytes>(src + (n - rest) * bytes, dst, 0, rest);
    const uint8_t* a = src + (n - rest) * bytes - step;
    uint8_t *d = dst + rest * bytes, *last = dst + n * bytes - 16;
    for (; d + (most - 1) * step <= last; d += most * step, a -= most * step)
        for (ptrdiff_t i = 0; i < most; ++i)
            move(a - i * step, d + i * step);
    for (; d <= last; d += step, a -= step)
        move(a, d);
    return (d - dst) / bytes;
}

// Pixels of which vectors of 32 bytes hold a whole number.
template <int bytes>
ptrdiff_t reverseWhole(const uint8_t* src, uint8_t* dst, ptrdiff_t n)
{
    constexpr ptrdiff_t pixels = 32 / bytes;
    alignas(32) int8_t from[32];
    for (ptrdiff_t i = 0; i < 32; ++i)
        from[i] = int8_t((16 / bytes - 1 - i % 16 / bytes) * bytes + i % bytes);
    const __m256i order = _mm256_load_si256(reinterpret_cast<const __m256i*>(from));
    if (n < pixels)
        return 0;
    for (ptrdiff_t i = 0; i < n; i += pixels) {
        ptrdiff_t at = i < n - pixels ? i : n - pixels;  // the last one overlaps
        auto* a = reinterpret_cast<const __m256i*>(src + (n - at - pixels) * bytes);
        __m256i vector = _mm256_shuffle_epi8(_mm256_loadu_si256(a), order);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(dst + at * bytes), _mm256_permute4x64_epi64(vector, 0x4E));
    }
    return n;
}

// The first pixels of the result, as many as vectors do.
ptrdiff_t reverseMost(const uint8_t* src, uint8_t* dst, ptrdiff_t n, ptrdiff_t bytes)
{
    switch (bytes) {
    case 1: return reverseWhole<1>(src, dst, n);
    case 2: return reverseWhole<2>(src, dst, n);
    case 4: return reverseWhole<4>(src, dst, n);
    case 8: return reverseWhole<8>(src, dst, n);
    case 16: return reverseWhole<16>(src, dst, n);
    case 3: return reverseParts<3>(src, dst, n);
    case 6: return reverseParts<6>(src, dst, n);
    case 12: return reverseParts<12>(src, dst, n);
    default: return 0;
    }
}

#endif

void reverse(const uint8_t* src, uint8_t* dst, ptrdiff_t n, ptrdiff_t bytes)
{
    ptrdiff_t done = 0;
#if defined(__AVX2__)
    done = reverseMost(src, dst, n, bytes);
#endif
    reverseAny(src, dst, done, n, bytes);
}

void reverseLanes(const uint8_t* src, uint8_t* dst, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        dst[i] = uint8_t(-src[n - 1 - i]);
}

// The bits of a byte in the other direction: halves, quarters and single bits change places.
void reverseBits(const uint8_t* src, uint8_t* dst, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i) {
        unsigned byte = src[n - 1 - i];
        byte = byte >> 4 | (byte & 0x0F) << 4;
        byte = (byte & 0xCC) >> 2 | (byte & 0x33) << 2;
        dst[i] = uint8_t((byte & 0xAA) >> 1 | (byte & 0x55) << 1);
    }
}

}  // namespace

extern const OwnMirrorKernels ownMirrorKernels;
const OwnMirrorKernels ownMirrorKernels = {reverse, reverseLanes, reverseBits};

}  // namespace OWN_ISA
