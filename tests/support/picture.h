// Images for tests: any layout, plain or tiled, random pixels between guard bytes, and a tile provider that logs. A
// provider that brings no tile leaves the last one's address where it is.
//
//   Picture photo({.depth = ORV_DEPTH_8U, .channels = 3, .width = 40, .height = 30, .tileWidth = 16, .tileHeight = 8});
//   orvNot(photo, photo);
//   EXPECT_EQ(photo.faults(), "");
//
// Columns, rows and channels count from 0 and rows as they are stored, whatever the origin. Under the address sanitizer
// the guard bytes, and every tile that is not open, cannot even be read.
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orv.h"

// A generator of random numbers, the same ones on every platform.
class Random {
public:
    explicit Random(uint64_t seed) : state(seed) {}
    uint64_t bits();
    int below(int limit) { return int(bits() % uint64_t(limit)); }
    int between(int low, int high) { return low + below(high - low + 1); }

private:
    uint64_t state;
};

// The calls that tile providers got, of all the pictures that share it, in their order.
struct TileLog {
    struct Call {
        OrvImage* image;
        int x;
        int y;
        int mode;
        const char* name;  // the picture's
        bool operator==(const Call&) const = default;
    };
    std::vector<Call> calls;
    int refuse = 0;        // brings no tile at the n-th open from now on, counting from 1; 0 refuses none
    bool refused = false;  // whether one was

    // One line a call, such as "A read 0 1", "B write 2 0" or "A release 0 1".
    std::string text() const;
};

struct PictureSpec {
    uint32_t depth = ORV_DEPTH_8U;
    int channels = 1;
    int alpha = 0;
    int order = ORV_DATA_ORDER_PIXEL;
    int origin = ORV_ORIGIN_TL;
    int align = 4;
    int width = 1;
    int height = 1;
    std::optional<OrvROI> roi = {};
    OrvImage* mask = nullptr;
    int tileWidth = 0;  // 0 for a plain image
    int tileHeight = 0;
    int extraStep = 0;                 // bytes between the rows of a plain image, above what they need; odd ones too
    int offset = 0;                    // bytes, below 32, from an aligned address to the pixels
    bool wholeBytes = false;           // rows of bits in tiles may be written to the end of their last byte
    uint64_t seed = 1;                 // of the pixels
    const char* name = "A";            // in the tile log
    TileLog* log = nullptr;            // NULL for a log of the picture's own
    const char* colorModel = nullptr;  // NULL for what goes with the channels
    const char* channelSeq = nullptr;
};

class Picture {
public:
    explicit Picture(const PictureSpec& spec);
    Picture(const Picture&) = delete;
    Picture& operator=(const Picture&) = delete;
    ~Picture();

    OrvImage image = {};
    OrvROI roi = {};  // the image points at it if the layout has one

    operator OrvImage*() { return &image; }
    OrvImage* operator->() { return &image; }
    const PictureSpec& layout() const { return spec; }
    TileLog& log() { return spec.log ? *spec.log : ownLog; }

    // A channel value. Integer depths and floats pass through a double unharmed; set takes values of the depth's range.
    double get(int x, int y, int c = 0) const;
    int64_t getInt(int x, int y, int c = 0) const { return int64_t(get(x, y, c)); }
    void set(int x, int y, int c, double value);

    // The same as bit patterns, in the low bits.
    uint32_t raw(int x, int y, int c = 0) const;
    void setRaw(int x, int y, int c, uint32_t bits);

    // Sets every channel value to rule(x, y, c).
    template <class Rule>
    void fill(Rule rule)
    {
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x)
                for (int c = 0; c < spec.channels; ++c)
                    set(x, y, c, double(rule(x, y, c)));
    }
    template <class Rule>
    void fillRaw(Rule rule)
    {
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x)
                for (int c = 0; c < spec.channels; ++c)
                    setRaw(x, y, c, uint32_t(rule(x, y, c)));
    }
    void fillRandom(uint64_t seed);

    // All channel values as bit patterns, row by row, pixel by pixel, channel by channel: the same for all layouts.
    std::vector<uint32_t> values() const;

    // All stored bytes, padding included, tile by tile.
    std::vector<uint8_t> bytes() const;

    // What went wrong since the picture was made, empty for nothing: changed guard bytes, changed tiles that were
    // opened for reading only, tiles released that were not open.
    std::string faults();

    // The tiles that are open.
    int openTiles() const;

private:
    struct Store;

    static int32_t ORV_CALL provideTile(OrvImage* image, int32_t x, int32_t y, int32_t mode);
    void openTile(Store* store, int mode);
    void closeTile(Store* store);
    Store* storeAt(int column, int row) const;
    // The first of the value's bits.
    uint8_t* locate(int x, int y, int c, int& bit) const;

    PictureSpec spec;
    TileLog ownLog;
    OrvTileInfo tiles = {};
    int bits;        // of a value
    int storeWidth;  // in pixels: of a tile, or of the image
    int storeHeight;
    int storeColumns;
    size_t step;  // of the stores' rows, in bytes
    std::vector<std::unique_ptr<Store>> stores;
    std::string found;
};

// The length in bytes of a row of `width` pixels, padding included.
size_t rowBytes(const PictureSpec& spec, int width);
