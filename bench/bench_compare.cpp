// Comparisons and thresholds at all depths, whole buffers, against the loops that they should cost. Their other layouts
// stand with those of the pointwise operations.
#include <algorithm>
#include <functional>
#include <memory>
#include <random>

#include "orv.h"
#include "packed.h"
#include "table.h"

namespace {

// A plain image of one channel, square, with random pixels.
struct Plain {
    OrvImage* image;

    Plain(uint32_t depth, int size)
        : image(orvCreateImageHeader(1, 0, depth, "GRAY", "G\0\0", 0, 0, 32, size, size, nullptr, nullptr, nullptr,
                                     nullptr))
    {
        bool real = depth == ORV_DEPTH_32F;
        real ? orvAllocateImageFP(image, 1, 0) : orvAllocateImage(image, 1, 0);
        std::mt19937 random(depth + unsigned(size));
        for (int32_t i = 0; i + 4 <= image->imageSize; i += 4) {
            uint32_t bits = random();
            float value = float(bits >> 8) / 1000;
            memcpy(image->imageData + i, real ? static_cast<const void*>(&value) : &bits, 4);
        }
    }
    Plain(const Plain&) = delete;
    ~Plain() { orvDeallocate(image, ORV_IMAGE_ALL); }
    operator OrvImage*() const { return image; }
    uint8_t* data() const { return image->imageData; }
    size_t count() const { return size_t(image->width) * size_t(image->height); }
};

struct Images {
    Plain a, b, d;
    Images(uint32_t from, uint32_t to, int size) : a(from, size), b(from, size), d(to, size) {}
};

// A call with the loop of the same work.
struct Row {
    const char* name;
    uint32_t from, to;
    std::function<void(const Images&images)> call, bare;
};

template <class T, class Test>
std::function<void(const Images& images)> packing(Test test)
{
    return [=](const Images& images) {
        packed::loop<T>(images.a.data(), images.b.data(), images.d.data(), images.a.count(), test);
    };
}

template <class T>
Row lessRow(const char* name, uint32_t depth)
{
    return {name, depth, ORV_DEPTH_1U, [](const Images& i) { orvLess(i.a, i.b, i.d); },
            packing<T>([](T a, T b) { return a < b; })};
}

template <class S, class D>
Row thresholdRow(const char* name, uint32_t from, uint32_t to)
{
    constexpr D low = std::numeric_limits<D>::min(), high = std::numeric_limits<D>::max();
    auto bare = [](const Images& images) {
        auto* s = reinterpret_cast<const S*>(images.a.data());
        auto* __restrict d = reinterpret_cast<D*>(images.d.data());
        for (size_t i = 0, n = images.a.count(); i < n; ++i)
            d[i] = s[i] >= 100 ? high : low;
    };
    return {name, from, to, [](const Images& i) { orvThreshold(i.a, i.d, 100); }, bare};
}

template <class S>
Row bitThresholdRow(const char* name, uint32_t from)
{
    return {name, from, ORV_DEPTH_1U, [](const Images& i) { orvThreshold(i.a, i.d, 100); },
            packing<S>([](S a, S) { return a >= 100; })};
}

bool added = [] {
    const Row rows[] = {
        lessRow<uint8_t>("orvLess 8U", ORV_DEPTH_8U),
        lessRow<int8_t>("orvLess 8S", ORV_DEPTH_8S),
        lessRow<uint16_t>("orvLess 16U", ORV_DEPTH_16U),
        lessRow<int16_t>("orvLess 16S", ORV_DEPTH_16S),
        lessRow<int32_t>("orvLess 32S", ORV_DEPTH_32S),
        lessRow<float>("orvLess 32F", ORV_DEPTH_32F),
        {"orvEqual 8U", ORV_DEPTH_8U, ORV_DEPTH_1U, [](const Images& i) { orvEqual(i.a, i.b, i.d); },
         packing<uint8_t>([](uint8_t a, uint8_t b) { return a == b; })},
        {"orvLessS 8U", ORV_DEPTH_8U, ORV_DEPTH_1U, [](const Images& i) { orvLessS(i.a, 100, i.d); },
         packing<uint8_t>([](uint8_t a, uint8_t) { return a < 100; })},
        {"orvEqualFPEps", ORV_DEPTH_32F, ORV_DEPTH_1U, [](const Images& i) { orvEqualFPEps(i.a, i.b, i.d, 9); },
         packing<float>([](float a, float b) { return !(__builtin_fabs(double(a) - double(b)) >= 9); })},
        bitThresholdRow<uint8_t>("orvThreshold 8U to 1U", ORV_DEPTH_8U),
        bitThresholdRow<int16_t>("orvThreshold 16S to 1U", ORV_DEPTH_16S),
        bitThresholdRow<int32_t>("orvThreshold 32S to 1U", ORV_DEPTH_32S),
        thresholdRow<uint8_t, uint8_t>("orvThreshold 8U to 8U", ORV_DEPTH_8U, ORV_DEPTH_8U),
        thresholdRow<uint16_t, uint8_t>("orvThreshold 16U to 8U", ORV_DEPTH_16U, ORV_DEPTH_8U),
        thresholdRow<uint8_t, int16_t>("orvThreshold 8U to 16S", ORV_DEPTH_8U, ORV_DEPTH_16S),
        thresholdRow<int32_t, int32_t>("orvThreshold 32S to 32S", ORV_DEPTH_32S, ORV_DEPTH_32S),
    };
    for (int size : {256, 4096})
        for (const Row& row : rows) {
            // The images are made by the first of the two that runs.
            auto images = std::make_shared<std::unique_ptr<Images>>();
            auto with = [=](const std::function<void(const Images&)>& work) {
                return [=] {
                    if (!*images)
                        *images = std::make_unique<Images>(row.from, row.to, size);
                    work(**images);
                };
            };
            std::string name = std::string("depths ") + row.name + ' ' + std::to_string(size);
            table::add({name + " bare loop", with(row.bare)});
            table::add({name, with(row.call), name + " bare loop", 1, 0.95});
        }
    return true;
}();

}  // namespace
