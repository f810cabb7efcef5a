// Device-independent bitmaps for tests, at odd addresses, in exactly as much memory as they need.
#pragma once

#if defined(_WIN32)
#if !defined(NOMINMAX)
#define NOMINMAX
#endif
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#endif

#include <cstring>
#include <vector>

#include "picture.h"

struct BitmapSpec {
    int width = 1, height = 1;  // negative for rows from the top down
    int bits = 8;
    uint32_t compression = BI_RGB;
    uint32_t used = 0;  // biClrUsed
    bool separate = false;
    uint64_t seed = 1;  // of the palette, the masks and the pixels
};

class Bitmap {
public:
    explicit Bitmap(const BitmapSpec& given) : spec(given)
    {
        Random random(spec.seed);
        size_t entries = spec.used + (spec.compression == BI_BITFIELDS && spec.bits != 24 ? 3 : 0);
        if (spec.bits <= 8 && !spec.used)
            entries = size_t(1) << spec.bits;
        step = size_t((int64_t{spec.width} * spec.bits + 31) / 32 * 4);
        size_t pixelBytes = step * size_t(std::abs(spec.height));
        tableEnd = 1 + sizeof(BITMAPINFOHEADER) + 4 * entries;
        block.resize(tableEnd + (spec.separate ? 0 : pixelBytes));
        buffer.resize(spec.separate ? 1 + pixelBytes : 0);
        for (std::vector<uint8_t>* bytes : {&block, &buffer})
            for (uint8_t& byte : *bytes)
                byte = uint8_t(random.bits());
        BITMAPINFOHEADER header = {};
        header.biSize = sizeof header;
        header.biWidth = spec.width;
        header.biHeight = spec.height;
        header.biPlanes = 1;
        header.biBitCount = uint16_t(spec.bits);
        header.biCompression = spec.compression;
        header.biClrUsed = spec.used;
        setHeader(header);
    }

    const BitmapSpec spec;
    std::vector<uint8_t> block, buffer;  // each begins with a byte that is none of the bitmap's

    BITMAPINFOHEADER header() const
    {
        BITMAPINFOHEADER header;
        memcpy(&header, &block[1], sizeof header);
        return header;
    }
    void setHeader(const BITMAPINFOHEADER& header) { memcpy(&block[1], &header, sizeof header); }
    BITMAPINFOHEADER* place() { return reinterpret_cast<BITMAPINFOHEADER*>(&block[1]); }
    char* data() { return reinterpret_cast<char*>(spec.separate ? &buffer[1] : block.data() + tableEnd); }
    const uint8_t* rows() const { return spec.separate ? &buffer[1] : block.data() + tableEnd; }
    size_t rowBytes() const { return step; }

    uint32_t entry(size_t i) const
    {
        uint32_t word;
        memcpy(&word, &block[41 + 4 * i], sizeof word);
        return word;
    }
    void setEntry(size_t i, uint32_t word) { memcpy(&block[41 + 4 * i], &word, sizeof word); }
    size_t entries() const { return (tableEnd - 41) / 4; }

    // The bits of a pixel, whose row is counted from the top of the picture.
    uint32_t raw(int x, int y) const
    {
        size_t row = size_t(spec.height < 0 ? y : spec.height - 1 - y);
        uint32_t value = 0;
        const uint8_t* bytes = rows() + row * step;
        size_t first = size_t(x) * size_t(spec.bits);
        if (spec.bits < 8)
            return bytes[first / 8] >> (8 - spec.bits - int(first % 8)) & ((1u << spec.bits) - 1);
        memcpy(&value, bytes + first / 8, size_t(spec.bits) / 8);
        return value;
    }

private:
    size_t step, tableEnd;
};
