#include "naivesample.h"

#include <gtest/gtest.h>

#include <cmath>

#include "checks.h"

namespace {

int bearable(const Picture& src, int method)
{
    const OrvImage& image = src.image;
    if (image.depth == ORV_DEPTH_1U || image.width == 1 || image.height == 1)
        return ORV_INTER_NN;
    return method == ORV_INTER_CUBIC && (image.width < 4 || image.height < 4) ? ORV_INTER_LINEAR : method;
}

constexpr long double justBelowHalf = 0x1.ffffff94a0359p-2L;

// ---- Linear -------------------------------------------------------------------------------------------------------

struct Fixed {
    int pixel, weight;
};

Fixed fixedAt(long double position, int size)
{
    const auto fixed = int64_t(nearbyintl(65536 * position));
    return fixed < (size - 1) * int64_t{65536} ? Fixed{int(fixed >> 16), int(fixed & 0xFFFF)}
                                               : Fixed{size - 2, 0x10000};
}

double linearFixed(const Picture& src, long double x, long double y, int c)
{
    const Fixed column = fixedAt(x, src.image.width), row = fixedAt(y, src.image.height);
    auto at = [&](int i, int j) { return int(src.getInt(column.pixel + i, row.pixel + j, c)) * 64; };
    auto mix = [](int a, int b, int weight) { return a + int((int64_t{b} - a) * weight >> 16); };
    const int top = mix(at(0, 0), at(1, 0), column.weight), bottom = mix(at(0, 1), at(1, 1), column.weight);
    return (mix(top, bottom, row.weight) + 32) >> 6;
}

struct Part {
    int pixel;
    long double weight;
};

Part partAt(long double position, int size)
{
    const int pixel = int(nearbyintl(position - justBelowHalf));
    return pixel >= size - 1 ? Part{size - 2, 1} : Part{pixel, position - pixel};
}

long double linear(const Picture& src, long double x, long double y, int c)
{
    const Part column = partAt(x, src.image.width), row = partAt(y, src.image.height);
    auto at = [&](int i, int j) { return (long double)src.get(column.pixel + i, row.pixel + j, c); };
    auto mix = [](long double a, long double b, long double weight) { return a + (b - a) * weight; };
    return mix(mix(at(0, 0), at(1, 0), column.weight), mix(at(0, 1), at(1, 1), column.weight), row.weight);
}

// ---- Cubic --------------------------------------------------------------------------------------------------------

int blockStart(long double position, int size)
{
    const int pixel = int(nearbyintl(position - justBelowHalf));
    return pixel >= size - 2 ? size - 4 : pixel < 1 ? 0 : pixel - 1;
}

// Lagrange's polynomial number k on the nodes 0, 1, 2, 3.
long double lagrange(int k, long double t)
{
    long double product = 1;
    for (int node = 0; node < 4; ++node)
        if (node != k)
            product *= (t - node) / (k - node);
    return product;
}

int cubicWeight(int k, long double t)
{
    return int(nearbyintl(16384 * lagrange(k, nearbyintl(512 * t) / 512)));
}

double cubicFixed(const Picture& src, long double x, long double y, int c)
{
    const int left = blockStart(x, src.image.width), top = blockStart(y, src.image.height);
    int64_t sum = 0x80000;
    for (int j = 0; j < 4; ++j) {
        int64_t row = 0;
        for (int i = 0; i < 4; ++i)
            row += src.getInt(left + i, top + j, c) * cubicWeight(i, x - left);
        sum += (row >> 8) * cubicWeight(j, y - top);
    }
    return double(std::clamp<int64_t>(sum >> 20, 0, 255));
}

long double cubic(const Picture& src, long double x, long double y, int c)
{
    const int left = blockStart(x, src.image.width), top = blockStart(y, src.image.height);
    const auto u = float(x - left - 1), v = float(y - top - 1);
    long double sum = 0;
    for (int j = 0; j < 4; ++j)
        for (int i = 0; i < 4; ++i)
            sum += src.get(left + i, top + j, c) * lagrange(i, 1.0L + u) * lagrange(j, 1.0L + v);
    return sum;
}

}  // namespace

long double naiveSample(const Picture& src, long double x, long double y, int c, int method)
{
    method = bearable(src, method);
    if (method == ORV_INTER_NN)
        return src.get(int(nearbyintl(x)), int(nearbyintl(y)), c);
    if (src.image.depth == ORV_DEPTH_8U)
        return method == ORV_INTER_LINEAR ? linearFixed(src, x, y, c) : cubicFixed(src, x, y, c);
    const long double value = method == ORV_INTER_LINEAR ? linear(src, x, y, c) : cubic(src, x, y, c);
    return src.image.depth == ORV_DEPTH_16U ? std::clamp(value, 0.0L, 65535.0L) : value;
}

bool isSample(double value, const Picture& src, const Place& place, int c, int method)
{
    const bool isNearest = bearable(src, method) == ORV_INTER_NN;
    auto sampleAt = [&](long double x, long double y) {
        x = std::clamp(x, 0.0L, src.image.width - 1.0L);
        y = std::clamp(y, 0.0L, src.image.height - 1.0L);
        return naiveSample(src, x, y, c, method);
    };
    // What storing a sample may change.
    auto slackOf = [&](long double sample) {
        return isNearest                          ? 0
               : src.image.depth == ORV_DEPTH_16U ? 0.5L + 1e-6L
               : src.image.depth == ORV_DEPTH_32F ? 1e-6L * fabsl(sample) + 1e-5L
                                                  : 0;
    };
    long double low = sampleAt(place.x, place.y), high = low;
    for (int i = -1; i <= 1; ++i)
        for (int j = -1; j <= 1; ++j) {
            if (value >= low - slackOf(low) && value <= high + slackOf(high))
                return true;
            const long double sample = sampleAt(place.x + i * place.hair, place.y + j * place.hair);
            low = isNearest ? sample : std::min(low, sample);
            high = isNearest ? sample : std::max(high, sample);
        }
    return value >= low - slackOf(low) && value <= high + slackOf(high);
}

void expectSampled(const Scene& scene, int method, int width, int height,
                   const std::function<void(OrvImage* const* images)>& call,
                   const std::function<Expected(int x, int y)>& expected)
{
    Picture &src = *scene.images.front(), &dst = scene.destination();
    std::vector<std::vector<uint32_t>> before;
    for (const auto& picture : scene.all())
        before.push_back(picture->values());
    const std::vector<uint8_t> headers = scene.headers();
    EXPECT_EQ(reportsOf([&] { call(scene.pointers().data()); }), "");
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(scene.openTiles(), 0);
    EXPECT_TRUE(scene.headers() == headers) << "a header was changed";
    for (size_t i = 0; i + 1 < before.size(); ++i)
        EXPECT_TRUE(scene.all()[i]->values() == before[i]) << "picture " << i << " was changed";

    const Area area = areaOf(dst);
    const std::vector<int> from = channelsOf(src.layout()), to = channelsOf(dst.layout());
    std::vector<bool> processed(size_t(dst->nChannels));
    for (int c : to)
        processed[size_t(c)] = true;
    for (int y = 0; y < dst->height; ++y)
        for (int x = 0; x < dst->width; ++x) {
            const int i = x - area.x, j = y - area.y;
            const bool inside = i >= 0 && j >= 0 && i < width && j < height;
            const Expected pixel = inside ? expected(i, j) : Expected{Written::no, {0, 0}};
            for (int c = 0, k = 0; c < dst->nChannels; ++c) {
                const bool isProcessed = processed[size_t(c)];
                const uint32_t old = before.back()[size_t((y * dst->width + x) * dst->nChannels + c)];
                const bool untouched = dst.raw(x, y, c) == old;
                const bool sampled = isProcessed && pixel.written != Written::no &&
                                     isSample(dst.get(x, y, c), src, pixel.place, from[size_t(k)], method);
                ASSERT_TRUE(sampled || (untouched && (!isProcessed || pixel.written != Written::yes)))
                    << "pixel " << i << ' ' << j << " channel " << c << " is " << dst.get(x, y, c) << ", written "
                    << int(pixel.written) << " from " << double(pixel.place.x) << ' ' << double(pixel.place.y);
                k += isProcessed;
            }
        }
}
