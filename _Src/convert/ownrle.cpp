// The run-length code of bitmaps.
//
// A code is pairs of bytes: (n, v) is a run of n pixels; (0, 0) ends a row, (0, 1) the bitmap; (0, 2, dx, dy) moves on;
// (0, n) with n from 3 on is followed by n pixels, filled up to an even number of bytes. With four bits a pixel a run
// takes the two nibbles of v in turn, and pixels are packed two in a byte.
#include <cstring>

#include "../core/ownlayout.h"
#include "../core/ownregion.h"
#include "../core/ownscratch.h"
#include "owndib.h"

namespace {

// ---- Texts --------------------------------------------------------------------------------------------------------

struct Texts {
    const char *badPlace, *badWidth, *badHeight, *badMove, *noMemory, *noMemoryToCode;
};

constexpr Texts texts8 = {"Incorrect format of BI_RLE8 DIB (mismatch biHeight or biWidth)",
                          "Incorrect format of BI_RLE8 DIB (mismatch biWidth)",
                          "Incorrect format of BI_RLE8 DIB (mismatch biHeight)",
                          "Incorrect format of BI_RLE8 DIB (bad Delta command)",
                          "Not enough memory to decompress BI_RLE8 DIB at DIB",
                          "Not enough memory to compress DIB at BI_RLE8 DIB"};
constexpr Texts texts4 = {"Incorrect format of BI_RLE4 DIB (mismatch biHeight or biWidth)",
                          "Incorrect format of BI_RLE4 DIB (mismatch biWidth)",
                          "Incorrect format of BI_RLE4 DIB (mismatch biHeight)",
                          "Incorrect format of BI_RLE4 DIB (bad Delta command)",
                          "Not enough memory to decompress BI_RLE4 DIB at DIB",
                          "Not enough memory to compress DIB at BI_RLE4 DIB"};

const Texts& textsOf(const OwnBitmapHeader& header)
{
    return header.biBitCount == 4 ? texts4 : texts8;
}

// The bytes of all rows; what cannot be is more than any memory.
int64_t bytesOfRows(const OwnBitmapHeader& header)
{
    int64_t rowBytes = ownBitmapRowBytes(header);
    return header.biHeight <= INT32_MAX / rowBytes ? rowBytes * header.biHeight : INT64_MAX;
}

// ---- Rows that are decoded ----------------------------------------------------------------------------------------

// What is stored may reach so many bytes too far, where later pixels come; behind the last pixel it is cleared again.
constexpr ptrdiff_t slack = 32;

// Pixels of a byte each.
struct ByteRows {
    static constexpr int perByte = 1;

    static void run(uint8_t* row, int32_t x, uint8_t value, int32_t n)
    {
        uint8_t* to = row + x;
        memset(to, value, slack);
        if (n > slack)
            memset(to + slack, value, size_t(n - slack));
    }
    static void copy(uint8_t* row, int32_t x, const uint8_t* from, int32_t n) { memcpy(row + x, from, size_t(n)); }
    static void clearBehind(uint8_t* row, int32_t x) { memset(row + x, 0, slack); }
};

// Pixels of half a byte each, the first one above.
struct NibbleRows {
    static constexpr int perByte = 2;

    static uint8_t turned(uint8_t value) { return uint8_t(value >> 4 | value << 4); }
    static void setLow(uint8_t& byte, uint8_t value) { byte = uint8_t((byte & 0xF0) | (value & 0x0F)); }

    static void run(uint8_t* row, int32_t x, uint8_t value, int32_t n)
    {
        if (x & 1) {
            value = turned(value);
            setLow(row[x >> 1], value);
            ++x;
            --n;
        }
        ByteRows::run(row, x >> 1, value, (n + 1) >> 1);
    }
    static void copy(uint8_t* row, int32_t x, const uint8_t* from, int32_t n)
    {
        uint8_t* to = row + (x >> 1);
        int32_t bytes = (n + 1) >> 1;
        if (!(x & 1)) {
            memcpy(to, from, size_t(bytes));
            return;
        }
        for (int32_t i = 0; i < bytes; ++i) {
            setLow(to[i], from[i] >> 4);
            to[i + 1] = uint8_t(from[i] << 4);
        }
    }
    static void clearBehind(uint8_t* row, int32_t x)
    {
        if (x & 1)
            row[x++ >> 1] &= 0xF0;
        memset(row + (x >> 1), 0, slack);
    }
};

// The coded bytes, as far as they go.
struct Code {
    const uint8_t* next;
    uint64_t left;

    bool has(uint64_t bytes) const { return bytes <= left; }
    const uint8_t* take(uint64_t bytes)
    {
        const uint8_t* taken = next;
        next += bytes;
        left -= bytes;
        return taken;
    }
};

// NULL for a code that is well formed, otherwise what is wrong. The rows must be clear.
template <class Rows>
const char* decode(const OwnBitmapHeader& header, Code code, uint8_t* row, const Texts& texts)
{
    const int32_t width = header.biWidth, height = header.biHeight;
    const auto rowBytes = ptrdiff_t(ownBitmapRowBytes(header));
    int32_t x = 0, y = 0;
    for (;;) {
        if (!code.has(2))
            return texts.badHeight;
        const uint8_t* token = code.take(2);
        const int32_t count = token[0], value = token[1];
        if (count == 0 && value == 1) {
            if (y < height - 1)
                return texts.badHeight;
            if (y < height)
                Rows::clearBehind(row, x);
            return nullptr;
        }
        if (y == height)
            return texts.badHeight;
        if (count > 0) {
            if (count > width - x)
                return texts.badPlace;
            Rows::run(row, x, uint8_t(value), count);
            x += count;
        } else if (value == 0) {
            if (x != width)
                return texts.badWidth;
            Rows::clearBehind(row, x);
            row += rowBytes;
            x = 0;
            ++y;
        } else if (value == 2) {
            if (!code.has(2))
                return texts.badHeight;
            const uint8_t* move = code.take(2);
            if (move[0] > width - x || move[1] > height - y)
                return texts.badMove;
            Rows::clearBehind(row, x);
            x += move[0];
            y += move[1];
            row += move[1] * rowBytes;
        } else {
            const int32_t bytes = (value + Rows::perByte - 1) / Rows::perByte;
            if (value > width - x)
                return texts.badPlace;
            if (!code.has(uint64_t(bytes)))
                return texts.badHeight;
            Rows::copy(row, x, code.take(uint64_t(bytes)), value);
            if (bytes & 1 && code.left)
                code.take(1);
            x += value;
        }
    }
}

// ---- Rows that are coded ------------------------------------------------------------------------------------------

// Takes coded bytes while there is room; afterwards it is full for good.
struct Coded {
    uint8_t* next;
    uint8_t* end;
    bool full = false;

    uint8_t* room(ptrdiff_t bytes)
    {
        full = full || end - next < bytes;
        if (full)
            return nullptr;
        next += bytes;
        return next - bytes;
    }
    void put(int32_t first, int32_t second)
    {
        if (uint8_t* to = room(2)) {
            to[0] = uint8_t(first);
            to[1] = uint8_t(second);
        }
    }
};

constexpr int32_t longest = 255;  // run, or row of pixels that are no run

// How far p[i] is the same as p[i + period], at most n pixels.
int32_t samePixels(const uint8_t* p, int period, int32_t n)
{
    int32_t i = 0;
    for (; i + 8 <= n; i += 8) {
        uint64_t difference = ownFirstBelow(ownLoad<uint64_t>(p + i) ^ ownLoad<uint64_t>(p + i + period));
        if (difference)
            return i + (__builtin_ctzll(difference) >> 3);
    }
    while (i < n && p[i] == p[i + period])
        ++i;
    return i;
}

// Pixels of eight bits. Runs are of one value.
struct ByteCode {
    static constexpr int period = 1;

    static void putPixels(Coded& coded, const uint8_t* p, int32_t n)
    {
        if (uint8_t* to = coded.room(2 + n + (n & 1))) {
            to[0] = 0;
            to[1] = uint8_t(n);
            memcpy(to + 2, p, size_t(n));
            if (n & 1)
                to[2 + n] = 0;
        }
    }
    static int32_t pattern(const uint8_t* p, int32_t) { return p[0]; }
    static bool runBegins(const uint8_t* p) { return p[0] == p[1]; }
    // Where pixels that are no run are to end.
    static bool longRunBegins(const uint8_t* p, int32_t left) { return left > 2 && p[0] == p[1] && p[0] == p[2]; }
};

// Pixels of four bits, one in each byte. Runs are of two values in turn.
struct NibbleCode {
    static constexpr int period = 2;

    static void putPixels(Coded& coded, const uint8_t* p, int32_t n)
    {
        int32_t bytes = (n + 1) / 2;
        if (uint8_t* to = coded.room(2 + bytes + (bytes & 1))) {
            *to++ = 0;
            *to++ = uint8_t(n);
            for (int32_t i = 0; i < n; i += 2)
                *to++ = uint8_t(pattern(p + i, n - i));
            if (bytes & 1)
                *to = 0;
        }
    }
    static int32_t pattern(const uint8_t* p, int32_t left) { return p[0] << 4 | (left > 1 ? p[1] : 0); }
    static bool runBegins(const uint8_t* p) { return p[0] == p[2] && p[1] == p[3]; }
    static bool longRunBegins(const uint8_t* p, int32_t left) { return left > 3 && runBegins(p); }
};

template <class Form>
void encodeRow(const uint8_t* p, int32_t width, Coded& coded)
{
    constexpr int32_t lookAhead = 3;
    int32_t x = 0;
    while (x < width - lookAhead && !coded.full) {
        const uint8_t* at = p + x;
        int32_t left = width - x, n;
        if (Form::runBegins(at)) {
            n = Form::period + samePixels(at, Form::period, ownMin(left, longest) - Form::period);
            coded.put(n, Form::pattern(at, left));
        } else if (left > 2 * Form::period && Form::runBegins(at + 1)) {
            n = 1;
            coded.put(1, Form::pattern(at, 1));
        } else if (left > 2 * Form::period + 1 && Form::runBegins(at + 2)) {
            n = 2;
            for (int32_t i = 0; i < 2; i += Form::period)
                coded.put(Form::period, Form::pattern(at + i, Form::period));
        } else {
            for (n = 3; n < left && n < longest && !Form::longRunBegins(at + n, left - n);)
                ++n;
            Form::putPixels(coded, at, n);
        }
        x += n;
    }
    for (; x < width; ++x)
        coded.put(1, Form::pattern(p + x, 1));
    coded.put(0, 0);
}

// There must be room for an even number of pixels.
void unpackNibbles(const uint8_t* row, uint8_t* pixels, int32_t width)
{
    for (int32_t x = 0; x < width; x += 2) {
        uint8_t byte = *row++;
        pixels[x] = byte >> 4;
        pixels[x + 1] = byte & 15;
    }
}

}  // namespace

uint8_t* ownRLEDecompress(const OwnReport& report, const OwnBitmapHeader& header, const uint8_t* data)
{
    const Texts& texts = textsOf(header);
    int64_t bytes = bytesOfRows(header);
    OwnScratch<uint8_t> rows(bytes <= INT32_MAX - slack ? bytes + slack : 0);
    if (report.when(!rows, ORV_STATUS_NO_MEMORY, texts.noMemory))
        return nullptr;
    memset(rows.data, 0, size_t(bytes + slack));
    const Code code = {data, header.biSizeImage ? uint64_t(header.biSizeImage) : UINT64_MAX};
    const char* fault = header.biBitCount == 4 ? decode<NibbleRows>(header, code, rows.data, texts)
                                               : decode<ByteRows>(header, code, rows.data, texts);
    if (report.when(fault, ORV_STATUS_BAD_ARG, fault))
        return nullptr;
    uint8_t* result = rows.data;
    rows.data = nullptr;
    return result;
}

int32_t ownRLECompress(const OwnReport& report, OwnBitmapHeader& header, uint8_t* data)
{
    bool nibbles = header.biBitCount == 4;
    int64_t bytes = bytesOfRows(header);
    // Code as long as the rows is of no use.
    OwnScratch<uint8_t> block(bytes <= INT32_MAX ? bytes : 0), pixels(nibbles ? int64_t{header.biWidth} + 1 : 1);
    if (report.when(!block || !pixels, ORV_STATUS_NO_MEMORY, textsOf(header).noMemoryToCode))
        return 0;
    Coded coded = {block.data, block.data + (bytes - 1)};
    const auto rowBytes = ptrdiff_t(ownBitmapRowBytes(header));
    const uint8_t* row = data;
    for (int32_t y = 0; y < header.biHeight && !coded.full; ++y, row += rowBytes) {
        if (nibbles)
            unpackNibbles(row, pixels.data, header.biWidth);
        if (nibbles)
            encodeRow<NibbleCode>(pixels.data, header.biWidth, coded);
        else
            encodeRow<ByteCode>(row, header.biWidth, coded);
    }
    coded.put(0, 1);
    if (coded.full) {
        header.biCompression = BI_RGB;
        header.biSizeImage = uint32_t(bytes);
    } else {
        header.biSizeImage = uint32_t(coded.next - block.data);
        memcpy(data, block.data, size_t(header.biSizeImage));
    }
    return 1;
}
