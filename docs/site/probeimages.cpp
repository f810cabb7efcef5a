#include "probeimages.h"

#include <algorithm>
#include <cstring>
#include <random>

namespace probe {

namespace {

// Random values, floats from 0 to 256, others over the whole range; a seed gives the same ones each time.
void fill(const OrvImage& image, size_t seed)
{
    constexpr size_t size = size_t{1} << 22;
    static std::vector<uint8_t> bytes;
    static std::vector<float> floats;
    if (bytes.empty()) {
        std::minstd_rand random(5);
        for (size_t i = 0; i < size; ++i) {
            bytes.push_back(uint8_t(random() >> 8));
            floats.push_back(bytes.back() % 2 ? float(random()) / 8388608.0f
                                              : float(std::max<uint8_t>(bytes.back(), 1)));
        }
    }
    const uint8_t* values =
        image.depth == ORV_DEPTH_32F ? reinterpret_cast<const uint8_t*>(floats.data()) : bytes.data();
    for (size_t done = 0, start = 4096 * seed; done < size_t(image.imageSize); start = 0) {
        size_t part = std::min(size_t(image.imageSize) - done, size - start);
        memcpy(image.imageData + done, values + start, part);
        done += part;
    }
}

// A tiled image that keeps its tiles in memory.
struct Tiles {
    static constexpr int size = 64;
    OrvTileInfo info;
    std::vector<std::vector<uint8_t>> memory;
    int columns;
};

int32_t ORV_CALL provide(OrvImage* image, int32_t x, int32_t y, int32_t mode)
{
    Tiles& tiles = *static_cast<Tiles*>(image->tileInfo->tileTag);
    if (mode != ORV_TILE_RELEASE)
        image->tileInfo->tileData = tiles.memory[size_t(y * tiles.columns + x)].data();
    return 0;
}

// Hands every row of the image's planes to visit(data, bits), in a tiled image as far as it lies in one tile.
template <class Visit>
void forRows(const OrvImage& image, Visit visit)
{
    const bool isPlanar = image.dataOrder == ORV_DATA_ORDER_PLANE;
    const int planes = isPlanar ? image.nChannels : 1;
    const int pixelBits = int(image.depth & ORV_DEPTH_MASK) * (isPlanar ? 1 : image.nChannels);
    auto* tiles = image.tileInfo ? static_cast<Tiles*>(image.tileInfo->tileTag) : nullptr;
    const int tileStep = (Tiles::size * pixelBits / 8 + image.align - 1) / image.align * image.align;
    for (int plane = 0; plane < planes; ++plane)
        for (int y = 0; y < image.height; ++y)
            if (!tiles)
                visit(image.imageData + ptrdiff_t(plane * image.height + y) * image.widthStep, image.width * pixelBits);
            else
                for (int x = 0; x < image.width; x += Tiles::size) {
                    auto& tile = tiles->memory[size_t(y / Tiles::size * tiles->columns + x / Tiles::size)];
                    visit(tile.data() + ptrdiff_t(plane * Tiles::size + y % Tiles::size) * tileStep,
                          std::min(Tiles::size, image.width - x) * pixelBits);
                }
}

}  // namespace

OrvImage* makeLike(const OrvImage& given, const Kind& kind, size_t seed)
{
    int channels = kind.depth == ORV_DEPTH_1U ? 1 : kind.channels;
    const char* model = channels < 3 ? "GRAY" : "RGB";
    OrvImage* image =
        orvCreateImageHeader(channels, channels == 4 ? 4 : 0, kind.depth, model, channels < 3 ? "G" : "RGB", kind.order,
                             given.origin, 32, given.width, given.height, nullptr, nullptr, nullptr, nullptr);
    if (channels >= 3 && given.nChannels >= 3) {
        memcpy(image->colorModel, given.colorModel, 4);
        memcpy(image->channelSeq, given.channelSeq, 4);
    }
    if (kind.depth == ORV_DEPTH_32F)
        orvAllocateImageFP(image, 1, 0);
    else
        orvAllocateImage(image, 1, 0);
    fill(*image, seed);
    std::copy_n(given.borderMode, 4, image->borderMode);
    if (given.roi)
        image->roi = orvCreateROI(0, given.roi->xOffset, given.roi->yOffset, given.roi->width, given.roi->height);
    if (kind.coi && channels > 1) {
        if (!image->roi)
            image->roi = orvCreateROI(0, 0, 0, given.width, given.height);
        image->roi->coi = kind.coi;
    }
    if (kind.masked) {
        image->maskROI = orvCreateImageHeader(1, 0, ORV_DEPTH_1U, "GRAY", "G", 0, given.origin, 4, given.width,
                                              given.height, nullptr, nullptr, nullptr, nullptr);
        orvAllocateImage(image->maskROI, 1, 0);
        // So few pixels that what is done to them alone is seen in every result.
        for (int row = 3; row < std::min(7, given.height); ++row)
            memset(image->maskROI->imageData + row * image->maskROI->widthStep + 1, 0x3C, 2);
    }
    return image;
}

std::vector<uint8_t> pixelsOf(const OrvImage* image)
{
    std::vector<uint8_t> pixels;
    forRows(*image, [&](const uint8_t* data, int n) {
        pixels.insert(pixels.end(), data, data + (n + 7) / 8);
        if (n % 8)
            pixels.back() &= uint8_t(0xFF << (8 - n % 8));
    });
    return pixels;
}

OrvImage* tiledCopy(OrvImage* plain)
{
    auto* tiles = new Tiles;
    orvSetTileInfo(&tiles->info, provide, tiles, Tiles::size, Tiles::size);
    tiles->columns = (plain->width + Tiles::size - 1) / Tiles::size;
    size_t count = size_t(tiles->columns) * size_t((plain->height + Tiles::size - 1) / Tiles::size);
    tiles->memory.assign(count, std::vector<uint8_t>(Tiles::size * Tiles::size * 4 * size_t(plain->nChannels) + 64));
    auto* image = new OrvImage(*plain);
    image->imageData = image->imageDataBlock = nullptr;
    image->tileInfo = &tiles->info;
    std::vector<uint8_t> pixels = pixelsOf(plain);
    const uint8_t* from = pixels.data();
    forRows(*image, [&](uint8_t* data, int n) {
        memcpy(data, from, size_t(n + 7) / 8);
        from += (n + 7) / 8;
    });
    return image;
}

}  // namespace probe
