// Kernels of the exchange with bitmaps.
#include "owndib.h"

namespace OWN_ISA {
namespace {

constexpr uint32_t opaque = 0xFF000000;

// ---- From bitmaps -------------------------------------------------------------------------------------------------

template <int bits>
void readIndices(const uint8_t* row, const OwnDibFormat& format, uint32_t* words, ptrdiff_t n)
{
    constexpr int perByte = 8 / bits;
    const uint32_t* table = format.table;
    ptrdiff_t i = 0;
    for (; i + perByte <= n; i += perByte) {
        uint32_t byte = *row++;
        for (int k = 0; k < perByte; ++k)
            words[i + k] = table[byte >> (8 - bits - k * bits) & ((1 << bits) - 1)];
    }
    for (int k = 0; i < n; ++i, ++k)
        words[i] = table[*row >> (8 - bits - k * bits) & ((1 << bits) - 1)];
}

template <class Pixel>
void readMasked(const uint8_t* row, const OwnDibFormat& format, uint32_t* __restrict words, ptrdiff_t n)
{
    const OwnDibMasks m = format.masks;
    for (ptrdiff_t i = 0; i < n; ++i) {
        const uint32_t pixel = ownFirstBelow(ownLoad<Pixel>(row, i));
        uint32_t word = m.always;
        for (int k = 0; k < 4; ++k)
            word |= (pixel >> m.down[k] & m.mask[k]) << m.up[k] << 8 * k;
        words[i] = word;
    }
}

void read24(const uint8_t* row, const OwnDibFormat&, uint32_t* words, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    // Eight pixels of 24 bytes: of the second vector the first four bytes are not wanted.
    const __m256i spread = _mm256_setr_epi8(0, 1, 2, -1, 3, 4, 5, -1, 6, 7, 8, -1, 9, 10, 11, -1, 4, 5, 6, -1, 7, 8, 9,
                                            -1, 10, 11, 12, -1, 13, 14, 15, -1);
    for (; i + 8 <= n; i += 8) {
        const uint8_t* from = row + 3 * i;
        __m128i low = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
        __m128i high = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from + 8));
        __m256i colours = _mm256_shuffle_epi8(_mm256_set_m128i(high, low), spread);
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(words + i),
                            _mm256_or_si256(colours, _mm256_set1_epi32(int32_t(opaque))));
    }
#endif
    for (; i < n; ++i)
        words[i] = row[3 * i] | uint32_t(row[3 * i + 1]) << 8 | uint32_t(row[3 * i + 2]) << 16 | opaque;
}

// ---- To bitmaps ---------------------------------------------------------------------------------------------------

template <class Pixel>
void writeMasked(const uint32_t* __restrict words, const OwnDibFormat& format, uint8_t* row, ptrdiff_t n)
{
    const OwnDibMasks m = format.masks;
    for (ptrdiff_t i = 0; i < n; ++i) {
        uint32_t pixel = 0;
        for (int k = 0; k < 4; ++k)
            pixel |= (words[i] >> 8 * k >> m.up[k] & m.mask[k]) << m.down[k];
        ownStore(row, i, ownFirstBelow(Pixel(pixel)));
    }
}

// The low three bytes of each word.
void write24(const uint32_t* words, const OwnDibFormat&, uint8_t* row, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    // Stores reach four bytes too far, where the next ones stand.
    const __m128i pack = _mm_setr_epi8(0, 1, 2, 4, 5, 6, 8, 9, 10, 12, 13, 14, -1, -1, -1, -1);
    for (; i + 6 <= n; i += 4) {
        __m128i four = _mm_loadu_si128(reinterpret_cast<const __m128i*>(words + i));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(row + 3 * i), _mm_shuffle_epi8(four, pack));
    }
#endif
    for (; i < n; ++i)
        for (int k = 0; k < 3; ++k)
            row[3 * i + k] = uint8_t(words[i] >> 8 * k);
}

// ---- The nearest entries of a palette -----------------------------------------------------------------------------

// The code of the nearest of n entries, a multiple of eight.
uint8_t nearest(const uint32_t* entries, ptrdiff_t n, uint32_t colour)
{
#if defined(__AVX2__)
    const __m256i every = _mm256_set1_epi32(0x00FF00FF), low = _mm256_set1_epi32(0xFF);
    const __m256i blueRed = _mm256_set1_epi32(int32_t(colour & 0xFF00FF));
    const __m256i green = _mm256_set1_epi32(int32_t(colour >> 8 & 0xFF));
    __m256i nearest = _mm256_set1_epi32(INT32_MAX);
    for (ptrdiff_t i = 0; i < n; i += 8) {
        const __m256i entry = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(entries + i));
        const __m256i br = _mm256_sub_epi16(_mm256_and_si256(entry, every), blueRed);
        const __m256i g = _mm256_sub_epi16(_mm256_and_si256(_mm256_srli_epi32(entry, 8), low), green);
        const __m256i distance = _mm256_add_epi32(_mm256_madd_epi16(br, br), _mm256_madd_epi16(g, g));
        nearest =
            _mm256_min_epu32(nearest, _mm256_or_si256(_mm256_slli_epi32(distance, 8), _mm256_srli_epi32(entry, 24)));
    }
    __m128i four = _mm_min_epu32(_mm256_castsi256_si128(nearest), _mm256_extracti128_si256(nearest, 1));
    four = _mm_min_epu32(four, _mm_shuffle_epi32(four, 0x4E));
    four = _mm_min_epu32(four, _mm_shuffle_epi32(four, 0xB1));
    return uint8_t(_mm_cvtsi128_si32(four));
#else
    uint32_t nearest = UINT32_MAX;
    for (ptrdiff_t i = 0; i < n; ++i) {
        uint32_t distance = 0;
        for (int k = 0; k < 24; k += 8) {
            const auto difference = int32_t(entries[i] >> k & 0xFF) - int32_t(colour >> k & 0xFF);
            distance += uint32_t(difference * difference);
        }
        const uint32_t found = distance << 8 | entries[i] >> 24;
        nearest = found < nearest ? found : nearest;
    }
    return uint8_t(nearest);
#endif
}

constexpr int cellBits = 3;  // of a component in a cell

uint32_t cellOf(uint32_t colour)
{
    return (colour & 0xFF) >> cellBits | (colour >> 8 & 0xFF) >> cellBits << 5 | (colour >> 16) >> cellBits << 10;
}

// The squares of the distances from an entry to the nearest and to the farthest colour of a cell, whose first colour is
// given.
struct Distances {
    int32_t least, most;

    Distances(uint32_t entry, uint32_t first) : least(0), most(0)
    {
        for (int k = 0; k < 24; k += 8) {
            const int32_t below = int32_t(first >> k & 0xFF) - int32_t(entry >> k & 0xFF);
            const int32_t above = -below - ((1 << cellBits) - 1);
            const int32_t outside = below > above ? below : above, inside = outside > 0 ? outside : 0;
            const int32_t lowEnd = below < 0 ? -below : below, highEnd = above < 0 ? -above : above;
            const int32_t farther = lowEnd > highEnd ? lowEnd : highEnd;
            least += inside * inside;
            most += farther * farther;
        }
    }
};

// Lists the entries that are as near to some colour of the cell as the nearest one may be far. The list is empty if
// there is no room for it.
uint32_t listCell(OwnDibPalette& palette, uint32_t colour)
{
    const uint32_t first = colour & (0xFFu >> cellBits << cellBits) * 0x010101;
    const uint32_t* words = palette.words;
    int32_t bound = INT32_MAX;
    for (int32_t i = 0; i < palette.padded; ++i) {
        const int32_t most = Distances(words[i], first).most;
        bound = most < bound ? most : bound;
    }
    uint32_t* list = palette.eights + 8 * ptrdiff_t(palette.used);
    const ptrdiff_t room = 8 * ptrdiff_t(OWN_DIB_EIGHTS - palette.used);
    ptrdiff_t n = 0;
    for (int32_t i = 0; i < palette.padded; i += 8) {
        int32_t least[8];
        for (int32_t k = 0; k < 8; ++k)
            least[k] = Distances(words[i + k], first).least;
        for (int32_t k = 0; k < 8; ++k)
            if (least[k] <= bound) {
                if (n == room)
                    return 0;
                list[n++] = words[i + k];
            }
    }
    for (; n & 7; ++n)
        list[n] = list[0];
    const auto begin = uint32_t(palette.used), count = uint32_t(n / 8);
    palette.used += int32_t(count);
    return count << 16 | begin;
}

uint8_t codeOf(OwnDibPalette& palette, uint32_t colour)
{
    const uint32_t grey = colour & 0xFF;
    if (palette.greys && colour == grey * 0x010101 && (palette.words[grey] & 0xFFFFFF) == colour)
        return uint8_t(palette.words[grey] >> 24);
    uint32_t& cell = palette.cells[cellOf(colour)];
    if (!cell)
        cell = listCell(palette, colour);
    if (!cell)
        return nearest(palette.words, palette.padded, colour);
    return nearest(palette.eights + 8 * ptrdiff_t(cell & 0xFFFF), ptrdiff_t(cell >> 16) * 8, colour);
}

template <int bits>
void writeIndices(const uint32_t* words, const OwnDibFormat& format, uint8_t* row, ptrdiff_t n)
{
    constexpr int perByte = 8 / bits;
    uint8_t codes[OWN_DIB_PIECE + perByte];
    for (ptrdiff_t i = 0; i < n; ++i)
        codes[i] = codeOf(*format.palette, words[i] & 0xFFFFFF);
    for (int k = 0; k < perByte; ++k)
        codes[n + k] = 0;
    for (ptrdiff_t i = 0; i < n; i += perByte) {
        uint32_t byte = 0;
        for (int k = 0; k < perByte; ++k)
            byte = byte << bits | codes[i + k];
        *row++ = uint8_t(byte);
    }
}

// ---- Images -------------------------------------------------------------------------------------------------------

void loadBits(const OwnDibRow& row, uint32_t* words, ptrdiff_t n)
{
    constexpr uint32_t blackAndWhite[] = {opaque, 0xFFFFFFFF};
    OwnDibFormat format = {};
    format.table = blackAndWhite;
    readIndices<1>(row.channel[0], format, words, n);
}

void storeHighBits(const uint32_t* words, const OwnDibRow& row, ptrdiff_t n)
{
    auto isSet = [=](ptrdiff_t i) { return (words[i] & 0x800000) != 0; };
    auto few = [=](ptrdiff_t count) {
        uint64_t bits = 0;
        for (ptrdiff_t i = 0; i < count; ++i)
            bits |= uint64_t{isSet(i)} << (63 - i);
        return bits;
    };
    storeBits(
        {row.channel[0], 0}, n, [=](ptrdiff_t start) { return bitsOfBlock<uint32_t>(start, isSet); }, few);
}

// The components of an image's values are their high bytes.
template <class T, int channels, int step>
void loadChannels(const OwnDibRow& row, uint32_t* __restrict words, ptrdiff_t n)
{
    constexpr int shift = 8 * (sizeof(T) - 1);
    const void* channel[4] = {row.channel[0], row.channel[1], row.channel[2], row.channel[3]};
    for (ptrdiff_t i = 0; i < n; ++i) {
        uint32_t word = channels < 4 ? opaque : 0;
        for (int c = 0; c < channels; ++c)
            word |= uint32_t(ownLoad<T>(channel[c], i * step) >> shift) << 8 * c;
        words[i] = channels == 1 ? word * 0x010101 | opaque : word;
    }
}

#if defined(__AVX2__)
// The components of 32 words, a vector of bytes each.
struct Components {
    __m256i b, g, r, a;

    explicit Components(const uint32_t* words)
    {
        const __m256i first = eightOf(words), second = eightOf(words + 8);
        const __m256i third = eightOf(words + 16), fourth = eightOf(words + 24);
        const __m256i br = _mm256_unpacklo_epi64(first, second), ga = _mm256_unpackhi_epi64(first, second);
        const __m256i br2 = _mm256_unpacklo_epi64(third, fourth), ga2 = _mm256_unpackhi_epi64(third, fourth);
        b = _mm256_permute2x128_si256(br, br2, 0x20);
        g = _mm256_permute2x128_si256(ga, ga2, 0x20);
        r = _mm256_permute2x128_si256(br, br2, 0x31);
        a = _mm256_permute2x128_si256(ga, ga2, 0x31);
    }

private:
    // B and G of eight words in the lower half, R and A in the upper one.
    static __m256i eightOf(const uint32_t* words)
    {
        const __m256i byComponent =
            _mm256_broadcastsi128_si256(_mm_setr_epi8(0, 4, 8, 12, 1, 5, 9, 13, 2, 6, 10, 14, 3, 7, 11, 15));
        const __m256i eight = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(words));
        return _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(eight, byComponent),
                                           _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    }
};

// Planes of bytes, as far as vectors go.
template <int channels>
ptrdiff_t storePlanes(const uint32_t* words, uint8_t* const* channel, ptrdiff_t n)
{
    ptrdiff_t i = 0;
    for (; i + 32 <= n; i += 32) {
        const Components components(words + i);
        const __m256i bytes[4] = {components.b, components.g, components.r, components.a};
        for (int c = 0; c < channels; ++c)
            _mm256_storeu_si256(reinterpret_cast<__m256i*>(channel[c] + i), bytes[c]);
    }
    return i;
}
#endif

template <class T, int channels, int step>
void storeChannels(const uint32_t* __restrict words, const OwnDibRow& row, ptrdiff_t n)
{
    constexpr int shift = 8 * (sizeof(T) - 1);
    constexpr int first = channels == 1 ? 2 : 0;  // one channel takes what is in the place of R
    void* channel[4] = {row.channel[0], row.channel[1], row.channel[2], row.channel[3]};
    ptrdiff_t done = 0;
#if defined(__AVX2__)
    if (sizeof(T) == 1 && step == 1 && channels > 1)
        done = storePlanes<channels>(words, row.channel, n);
#endif
    for (int c = 0; c < channels && step == 1; ++c)
        for (ptrdiff_t i = done; i < n; ++i)
            ownStore<T>(channel[c], i, T((words[i] >> 8 * (first + c) & 0xFF) << shift));
    for (ptrdiff_t i = 0; i < n && step > 1; ++i)
        for (int c = 0; c < channels; ++c)
            ownStore<T>(channel[c], i * step, T((words[i] >> 8 * (first + c) & 0xFF) << shift));
}

template <class T, int channels>
void load(const OwnDibRow& row, uint32_t* words, ptrdiff_t n)
{
    if (row.step == 1)
        return loadChannels<T, channels, 1>(row, words, n);
    if (sizeof(T) == 1 && channels == 3)
        return read24(row.channel[0], {}, words, n);
    loadChannels<T, channels, channels>(row, words, n);
}

template <class T, int channels>
void store(const uint32_t* words, const OwnDibRow& row, ptrdiff_t n)
{
    if (row.step == 1)
        return storeChannels<T, channels, 1>(words, row, n);
    if (sizeof(T) == 1 && channels == 3)
        return write24(words, {}, row.channel[0], n);
    storeChannels<T, channels, channels>(words, row, n);
}

// ---- Tables -------------------------------------------------------------------------------------------------------

#if defined(__AVX2__)
// A table of 256 bytes as sixteen parts, of which a shuffle finds one of sixteen values and answers 0 for a negative
// index. An index less the number of values before a part, in signed saturated arithmetic, is negative for later parts;
// the second half's indices have their sign turned. Each part but a half's first holds what changes from the part
// before, so that those up to the index's own part add up to its value.
struct ByteTable {
    __m256i part[16];

    explicit ByteTable(const uint8_t* table)
    {
        __m128i before = _mm_setzero_si128();
        for (int i = 0; i < 16; ++i) {
            if (i == 8)
                before = _mm_setzero_si128();
            __m128i values = _mm_loadu_si128(reinterpret_cast<const __m128i*>(table) + i);
            part[i] = _mm256_broadcastsi128_si256(_mm_xor_si128(values, before));
            before = values;
        }
    }
};

void lookUpVectors(const uint8_t* row, const uint8_t* table, uint8_t* bytes, ptrdiff_t n)
{
    const ByteTable parts(table);
    for (ptrdiff_t i = 0; i + 32 <= n; i += 32) {
        const __m256i low = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(row + i));
        const __m256i high = _mm256_xor_si256(low, _mm256_set1_epi8(-128));
        __m256i values = _mm256_setzero_si256();
#pragma GCC unroll 8
        for (int k = 0; k < 8; ++k) {
            const __m256i before = _mm256_set1_epi8(int8_t(16 * k));
            values = _mm256_xor_si256(values, _mm256_shuffle_epi8(parts.part[k], _mm256_subs_epi8(low, before)));
            values = _mm256_xor_si256(values, _mm256_shuffle_epi8(parts.part[8 + k], _mm256_subs_epi8(high, before)));
        }
        _mm256_storeu_si256(reinterpret_cast<__m256i*>(bytes + i), values);
    }
}
#endif

void lookUp(const uint8_t* row, const uint8_t* table, uint8_t* bytes, ptrdiff_t n)
{
    ptrdiff_t i = 0;
#if defined(__AVX2__)
    lookUpVectors(row, table, bytes, n);
    i = n & ~31;
#endif
    for (; i < n; ++i)
        bytes[i] = table[row[i]];
}

void to24(const uint8_t* row, const uint32_t* table, uint8_t* bytes, ptrdiff_t n)
{
    for (; n > 1; --n, bytes += 3)
        ownStore(bytes, 0, ownFirstBelow(table[*row++]));  // the fourth byte is the next pixel's
    for (int k = 0; k < 3 && n; ++k)
        bytes[k] = uint8_t(table[*row] >> 8 * k);
}

// ---- Colours ------------------------------------------------------------------------------------------------------

void swap(uint32_t* words, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        words[i] = (words[i] & 0xFF00FF00) | (words[i] >> 16 & 0xFF) | (words[i] & 0xFF) << 16;
}

void toGrey(uint32_t* words, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i) {
        const auto b = double(int32_t(words[i] & 0xFF)), g = double(int32_t(words[i] >> 8 & 0xFF)),
                   r = double(int32_t(words[i] >> 16 & 0xFF));
        const auto grey = int32_t(0.072169 * b + 0.71516 * g + 0.212671 * r);
        words[i] = (words[i] & 0xFF00FFFF) | uint32_t(grey) << 16;
    }
}

void spread(uint32_t* words, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        words[i] = (words[i] & 0xFF000000) | (words[i] >> 16 & 0xFF) * 0x010101;
}

}  // namespace

extern const OwnDibKernels ownDibKernels;
const OwnDibKernels ownDibKernels = {
    {readIndices<1>, readIndices<4>, readIndices<8>, readMasked<uint16_t>, read24, readMasked<uint32_t>},
    {writeIndices<1>, writeIndices<4>, writeIndices<8>, writeMasked<uint16_t>, write24, writeMasked<uint32_t>},
    {loadBits, load<uint8_t, 1>, load<uint8_t, 3>, load<uint8_t, 4>, load<uint16_t, 1>, load<uint16_t, 3>,
     load<uint16_t, 4>},
    {storeHighBits, store<uint8_t, 1>, store<uint8_t, 3>, store<uint8_t, 4>, store<uint16_t, 1>, store<uint16_t, 3>,
     store<uint16_t, 4>},
    lookUp,
    to24,
    swap,
    toGrey,
    spread,
};

}  // namespace OWN_ISA
