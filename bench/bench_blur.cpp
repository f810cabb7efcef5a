// The box filter: the size of the window should not matter, and a sample of any depth should cost about the same.
#include <algorithm>
#include <cstring>
#include <memory>
#include <random>
#include <string>

#include "orv.h"
#include "table.h"

namespace {

struct Image {
    OrvImage* image;

    Image(uint32_t depth, int channels, int size)
        : image(orvCreateImageHeader(channels, 0, depth, "RGB", "RGB", ORV_DATA_ORDER_PIXEL, 0, 32, size, size, nullptr,
                                     nullptr, nullptr, nullptr))
    {
        if (depth == ORV_DEPTH_32F)
            orvAllocateImageFP(image, 0, 0);
        else
            orvAllocateImage(image, 0, 0);
        std::mt19937 random(3);
        for (int32_t i = 0; i + 4 <= image->imageSize; i += 4) {
            uint32_t bits = random();
            float real = float(bits >> 8);
            memcpy(image->imageData + i, depth == ORV_DEPTH_32F ? static_cast<void*>(&real) : &bits, 4);
        }
    }
    Image(const Image&) = delete;
    ~Image() { orvDeallocate(image, ORV_IMAGE_ALL); }
};

struct Case {
    const char* name;
    uint32_t depth;
    int channels;
};

constexpr Case cases[] = {
    {"8U", ORV_DEPTH_8U, 1},   {"8S", ORV_DEPTH_8S, 1},   {"16U", ORV_DEPTH_16U, 1},          {"16S", ORV_DEPTH_16S, 1},
    {"32S", ORV_DEPTH_32S, 1}, {"32F", ORV_DEPTH_32F, 1}, {"8U 3 channels", ORV_DEPTH_8U, 3}, {"1U", ORV_DEPTH_1U, 1},
};

// Images are made when the first row is timed, so that filtered runs stay small.
struct Pair {
    Case kind;
    int size;
    std::unique_ptr<Image> src, dst;

    void make()
    {
        if (src)
            return;
        src = std::make_unique<Image>(kind.depth, kind.channels, size);
        dst = std::make_unique<Image>(kind.depth, kind.channels, size);
    }
};

std::string rowName(const Case& one, int size, const char* what)
{
    return "orvBlur " + std::string(one.name) + " " + std::to_string(size) + " " + what;
}

void addCase(const Case& one, int size)
{
    auto pair = std::make_shared<Pair>(Pair{one, size, {}, {}});
    auto blur = [pair](int window) {
        pair->make();
        orvBlur(pair->src->image, pair->dst->image, window, window, window / 2, window / 2);
    };
    // In the cache a sample of any depth may cost one and a half of one of 8U. Large images of wide samples are a matter
    // of memory; there their copy is what to hold them against.
    bool inCache = size < 1024;
    const Case& bytes = cases[0];
    bool isBytes = &one == &bytes;
    std::string against = inCache && !isBytes ? rowName(bytes, size, "5 x 5") : rowName(one, size, "copy");
    double share = inCache && !isBytes ? one.channels : 1;
    table::add({rowName(one, size, "copy"), [pair] {
                    pair->make();
                    memcpy(pair->dst->image->imageData, pair->src->image->imageData,
                           size_t(pair->src->image->imageSize));
                }});
    table::add({rowName(one, size, "5 x 5"), [blur] { blur(5); }, against, share,
                inCache && !isBytes && one.depth != ORV_DEPTH_1U ? 1 / 1.5 : 0});
    table::add({rowName(one, size, "31 x 31"), [blur] { blur(31); }, rowName(one, size, "5 x 5"), 1,
                isBytes && !inCache ? 1 / 1.1 : 0});
}

const bool added = [] {
    for (int size : {512, 4096})
        for (const Case& one : cases)
            addCase(one, size);
    return true;
}();

}  // namespace
