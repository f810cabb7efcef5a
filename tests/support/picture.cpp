#include "picture.h"

#include <algorithm>
#include <bit>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/asan_interface.h>
#define UNCHECKED __attribute__((no_sanitize_address))
#else
#define ASAN_POISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define ASAN_UNPOISON_MEMORY_REGION(start, size) ((void)(start), (void)(size))
#define UNCHECKED
#endif

namespace {

constexpr size_t guard = 96;  // bytes on either side of a store
constexpr size_t largestAlign = 32;

uint8_t guardByte(size_t position)
{
    return uint8_t(0xA5 ^ position * 37);
}

void copyText(char (&field)[4], const std::string& text)
{
    text.copy(field, sizeof field);
}

}  // namespace

uint64_t Random::bits()
{
    uint64_t z = state += 0x9E3779B97F4A7C15u;
    z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9u;
    z = (z ^ (z >> 27)) * 0x94D049BB133111EBu;
    return z ^ (z >> 31);
}

std::string TileLog::text() const
{
    std::string lines;
    for (const Call& call : calls) {
        const char* mode = call.mode == ORV_TILE_READ      ? "read"
                           : call.mode == ORV_TILE_WRITE   ? "write"
                           : call.mode == ORV_TILE_RELEASE ? "release"
                                                           : "?";
        lines +=
            std::string(call.name) + ' ' + mode + ' ' + std::to_string(call.x) + ' ' + std::to_string(call.y) + '\n';
    }
    return lines;
}

size_t rowBytes(const PictureSpec& spec, int width)
{
    size_t values = size_t(width) * size_t(spec.order == ORV_DATA_ORDER_PLANE ? 1 : spec.channels);
    size_t bytes = (values * (spec.depth & ORV_DEPTH_MASK) + 7) / 8;
    size_t align = size_t(spec.align);
    return (bytes + align - 1) / align * align;
}

// The memory of the whole image or of one tile, between guards.
struct Picture::Store {
    std::unique_ptr<uint8_t[]> block;
    uint8_t* data;
    size_t size;
    int column = 0;  // of the tile
    int row = 0;
    int opens = 0;
    bool written = false;           // opened for writing since it was last closed
    std::vector<uint8_t> openedAs;  // what it held when it was opened for reading

    // `align` and no more is what the address before the offset is a multiple of, so that a kernel that counts on more
    // is found out.
    Store(size_t bytes, size_t align, size_t offset)
        : block(new uint8_t[bytes + 2 * guard + 4 * largestAlign]), size(bytes)
    {
        uintptr_t address = (reinterpret_cast<uintptr_t>(block.get()) + guard + 2 * align - 1) & ~(2 * align - 1);
        data = reinterpret_cast<uint8_t*>(address + align + offset);
        for (size_t i = 0; i < size + 2 * guard; ++i)
            (data - guard)[i] = guardByte(i);
        ASAN_POISON_MEMORY_REGION(data - guard, guard);
        ASAN_POISON_MEMORY_REGION(data + size, guard);
    }
    ~Store() { ASAN_UNPOISON_MEMORY_REGION(data - guard, size + 2 * guard); }

    // The offset from the data of the first changed guard byte, or `size` - 1 where none is.
    UNCHECKED ptrdiff_t changedGuard() const
    {
        for (size_t i = 0; i < size + 2 * guard; ++i) {
            if (i == guard)
                i += size;
            if ((data - guard)[i] != guardByte(i))
                return ptrdiff_t(i) - ptrdiff_t(guard);
        }
        return ptrdiff_t(size) - 1;
    }
    UNCHECKED std::vector<uint8_t> copy() const
    {
        std::vector<uint8_t> bytes(size);
        uint8_t* to = bytes.data();
        for (size_t i = 0; i < size; ++i)
            to[i] = data[i];
        return bytes;
    }
    // True if the bits from `from` on in the row at `offset` of `length` bytes are as the guard laid them.
    UNCHECKED bool untouched(size_t offset, size_t from, size_t length) const
    {
        for (size_t i = from / 8; i < length; ++i) {
            int bits = i == from / 8 ? 0xFF >> from % 8 : 0xFF;
            if ((data[offset + i] ^ guardByte(guard + offset + i)) & bits)
                return false;
        }
        return true;
    }
};

Picture::Picture(const PictureSpec& given) : spec(given)
{
    bool tiled = spec.tileWidth > 0;
    bits = int(spec.depth & ORV_DEPTH_MASK);
    storeWidth = tiled ? spec.tileWidth : spec.width;
    storeHeight = tiled ? spec.tileHeight : spec.height;
    storeColumns = (spec.width + storeWidth - 1) / storeWidth;
    int storeRows = (spec.height + storeHeight - 1) / storeHeight;
    step = rowBytes(spec, storeWidth) + size_t(tiled ? 0 : spec.extraStep);
    size_t size = step * size_t(storeHeight) * size_t(spec.order == ORV_DATA_ORDER_PLANE ? spec.channels : 1);
    for (int row = 0; row < storeRows; ++row)
        for (int column = 0; column < storeColumns; ++column) {
            stores.push_back(std::make_unique<Store>(size, size_t(spec.align), size_t(spec.offset)));
            stores.back()->column = column;
            stores.back()->row = row;
        }

    image.headerSize = int32_t(sizeof image);
    image.nChannels = spec.channels;
    image.alphaChannel = spec.alpha;
    image.depth = spec.depth;
    const char* sequences[] = {"G", "GA", "RGB", "RGBA"};
    copyText(image.colorModel, spec.colorModel ? spec.colorModel : spec.channels < 3 ? "GRAY" : "RGB");
    copyText(image.channelSeq, spec.channelSeq ? spec.channelSeq : sequences[std::clamp(spec.channels, 1, 4) - 1]);
    image.dataOrder = spec.order;
    image.origin = spec.origin;
    image.align = spec.align;
    image.width = spec.width;
    image.height = spec.height;
    image.maskROI = spec.mask;
    if (spec.roi) {
        roi = *spec.roi;
        image.roi = &roi;
    }
    if (tiled) {
        orvSetTileInfo(&tiles, provideTile, this, spec.tileWidth, spec.tileHeight);
        image.tileInfo = &tiles;
    } else {
        image.imageData = stores[0]->data;
        image.widthStep = int32_t(step);
        image.imageSize = int32_t(size);
    }
    fillRandom(spec.seed);
    if (tiled)
        for (auto& store : stores)
            ASAN_POISON_MEMORY_REGION(store->data, store->size);
}

Picture::~Picture() = default;

Picture::Store* Picture::storeAt(int column, int row) const
{
    size_t index = size_t(row) * size_t(storeColumns) + size_t(column);
    bool inside = column >= 0 && column < storeColumns && row >= 0 && index < stores.size();
    return inside ? stores[index].get() : nullptr;
}

int32_t ORV_CALL Picture::provideTile(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    auto& picture = *static_cast<Picture*>(image->tileInfo->tileTag);
    picture.log().calls.push_back({image, x, y, mode, picture.spec.name});
    Store* store = picture.storeAt(x, y);
    if (!store)
        picture.found += "a tile outside the image was asked for\n";
    else if (mode == ORV_TILE_RELEASE)
        picture.closeTile(store);
    else
        picture.openTile(store, mode);
    return 0;
}

void Picture::openTile(Store* store, int mode)
{
    TileLog& calls = log();
    if (calls.refuse > 0 && --calls.refuse == 0) {
        calls.refused = true;
        return;
    }
    if (store->opens++ == 0)
        store->openedAs = store->copy();
    if (mode == ORV_TILE_WRITE)
        store->written = true;
    ASAN_UNPOISON_MEMORY_REGION(store->data, store->size);
    tiles.tileData = store->data;
}

void Picture::closeTile(Store* store)
{
    tiles.tileData = nullptr;  // as a provider may that takes its pixels back
    if (store->opens == 0) {
        found += "a tile was released that was not open\n";
        return;
    }
    if (--store->opens > 0)
        return;
    if (!store->written && store->openedAs != store->copy())
        found += "a tile was written that was opened for reading\n";
    store->written = false;
    ASAN_POISON_MEMORY_REGION(store->data, store->size);
}

uint8_t* Picture::locate(int x, int y, int c, int& bit) const
{
    const Store* store = stores[0].get();
    if (spec.tileWidth > 0) {
        store = storeAt(x / storeWidth, y / storeHeight);
        x %= storeWidth;
        y %= storeHeight;
    }
    bool planes = spec.order == ORV_DATA_ORDER_PLANE;
    size_t row = size_t(planes ? c * storeHeight + y : y);
    size_t position = size_t(planes ? x : x * spec.channels + c) * size_t(bits);
    bit = int(position % 8);
    return store->data + row * step + position / 8;
}

UNCHECKED uint32_t Picture::raw(int x, int y, int c) const
{
    int bit;
    const uint8_t* place = locate(x, y, c, bit);
    if (bits == 1)
        return place[0] >> (7 - bit) & 1;
    // Every host of the tests is little-endian; byte by byte, since a function of the C library would be checked.
    uint32_t value = 0;
    for (int i = 0; i < bits / 8; ++i)
        value |= uint32_t{place[i]} << (8 * i);
    return value;
}

UNCHECKED void Picture::setRaw(int x, int y, int c, uint32_t value)
{
    int bit;
    uint8_t* place = locate(x, y, c, bit);
    if (bits == 1) {
        int mask = 128 >> bit;
        *place = uint8_t(value & 1 ? *place | mask : *place & ~mask);
        return;
    }
    for (int i = 0; i < bits / 8; ++i)
        place[i] = uint8_t(value >> (8 * i));
}

double Picture::get(int x, int y, int c) const
{
    uint32_t value = raw(x, y, c);
    switch (spec.depth) {
    case ORV_DEPTH_8S: return int8_t(value);
    case ORV_DEPTH_16S: return int16_t(value);
    case ORV_DEPTH_32S: return int32_t(value);
    case ORV_DEPTH_32F: return std::bit_cast<float>(value);
    default: return value;
    }
}

void Picture::set(int x, int y, int c, double value)
{
    if (spec.depth == ORV_DEPTH_32F)
        setRaw(x, y, c, std::bit_cast<uint32_t>(float(value)));
    else
        setRaw(x, y, c, uint32_t(int64_t(value)));
}

// Every eighth value is one of the ends of the depth's range or 0, where arithmetic goes wrong first.
void Picture::fillRandom(uint64_t seed)
{
    Random random(seed);
    bool isSigned = spec.depth & ORV_DEPTH_SIGN;
    uint32_t all = bits == 32 ? UINT32_MAX : (1u << bits) - 1;
    uint32_t largest = isSigned ? all >> 1 : all;
    const uint32_t ends[] = {0, largest, all & ~(isSigned ? largest : all), 1 & all};
    for (int y = 0; y < spec.height; ++y)
        for (int x = 0; x < spec.width; ++x)
            for (int c = 0; c < spec.channels; ++c) {
                uint64_t number = random.bits();
                if (spec.depth == ORV_DEPTH_32F)
                    set(x, y, c, double(int64_t(number >> 20) - (int64_t{1} << 43)) / double(int64_t{1} << 34));
                else
                    setRaw(x, y, c, bits > 1 && number >> 61 == 0 ? ends[number & 3] : uint32_t(number >> 8) & all);
            }
}

std::vector<uint32_t> Picture::values() const
{
    std::vector<uint32_t> all;
    all.reserve(size_t(spec.width) * size_t(spec.height) * size_t(spec.channels));
    for (int y = 0; y < spec.height; ++y)
        for (int x = 0; x < spec.width; ++x)
            for (int c = 0; c < spec.channels; ++c)
                all.push_back(raw(x, y, c));
    return all;
}

std::vector<uint8_t> Picture::bytes() const
{
    std::vector<uint8_t> all;
    for (const auto& store : stores) {
        std::vector<uint8_t> part = store->copy();
        all.insert(all.end(), part.begin(), part.end());
    }
    return all;
}

std::string Picture::faults()
{
    for (const auto& store : stores) {
        std::string place =
            spec.tileWidth > 0 ? " of tile " + std::to_string(store->column) + ' ' + std::to_string(store->row) : "";
        if (ptrdiff_t at = store->changedGuard(); at != ptrdiff_t(store->size) - 1)
            found += "changed guard byte " + std::to_string(at) + place + '\n';
        if (spec.tileWidth == 0)
            continue;
        if (store->opens > 0 && !store->written && store->openedAs != store->copy())
            found += "a tile was written that was opened for reading\n";
        // The rows of a tile as far as they lie outside the image.
        bool planes = spec.order == ORV_DATA_ORDER_PLANE;
        int rows = std::min(storeHeight, spec.height - store->row * storeHeight);
        int columns = std::min(storeWidth, spec.width - store->column * storeWidth);
        size_t used = size_t(columns) * size_t(planes ? 1 : spec.channels) * size_t(bits);
        if (spec.wholeBytes)
            used = (used + 7) / 8 * 8;
        for (size_t row = 0; row < store->size / step; ++row) {
            bool inside = int(row % size_t(storeHeight)) < rows;
            if (!store->untouched(row * step, inside ? used : 0, step)) {
                found += "changed byte outside the image in row " + std::to_string(row) + place + '\n';
                break;
            }
        }
    }
    std::string result;
    result.swap(found);
    return result;
}

int Picture::openTiles() const
{
    int open = 0;
    for (const auto& store : stores)
        open += store->opens;
    return open;
}
