// Scaling against scalers that make every pixel by itself.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <utility>

#include "checks.h"
#include "model.h"
#include "naiveborder.h"
#include "reports.h"
#include "scaling.h"

namespace {

constexpr double bias = -0.49999;

// The source along an axis: the region before and after it is cut, and the image.
struct Line {
    int wanted, length, offset, imageLength;
};

// The samples of a pixel of the destination along an axis, from the region's start, and what lies between them.
struct Samples {
    int first = 0, count = 1;
    double fraction = 0;
};
using Axis = std::vector<Samples>;

// Value c of the source at (x, y), from the region's start.
using Source = std::function<double(int x, int y, int c)>;

double cubicOf(const double (&p)[4], float w)
{
    const double k = 1.0f / 3.0f;
    double d1 = p[1] - p[0], d2 = p[2] - p[1] - d1, d3 = p[1] - 2 * p[2] + p[3] - d2;
    double m = double(w) * (double(w) + 1) * 0.5, n = (double(w) - 1) * m * k;
    return p[0] + d1 * (double(w) + 1) + d2 * m + d3 * n;
}

double decimatedCubicOf(const double (&p)[4], double t)
{
    const double k = 1.0f / 6.0f, a = p[0], b = p[1], c = p[2], d = p[3];
    return (6 * b + t * (6 * c - 2 * a - 3 * b - d) + t * t * (3 * a - 6 * b + 3 * c) +
            t * t * t * (3 * b - a - 3 * c + d)) *
           k;
}

// ---- orvZoom, orvResize and orvDecimateBlur ------------------------------------------------------------------------

int filled(int length, const Ratio& ratio, int most)
{
    return int(std::clamp(std::rint(length / ratio.factor() + bias), 1.0, double(most)));
}

Axis zoomAxis(const Line& line, int method, double start, double step, int count)
{
    Axis axis;
    double position = start;
    for (int i = 0; i < count; ++i, position += step) {
        int index = std::min(int(std::rint(position + bias)), line.length - 1);
        Samples samples = {index, 1, 0};
        if (method == ORV_INTER_LINEAR && line.length > 1) {
            bool last = index == line.length - 1;
            samples = {last ? index - 1 : index, 2, last ? 1.0 : position - index};
        } else if (method == ORV_INTER_CUBIC) {
            int place = index + line.offset, end = line.imageLength - 1;
            int moved = place == end ? -2 : place == 0 ? 1 : place == end - 1 ? -1 : 0;
            samples = {index + moved - 1, 4, moved == -2 ? 2.0 : position - (index + moved)};
        }
        axis.push_back(samples);
    }
    return axis;
}

Axis zoomAxis(const Line& line, int method, const Ratio& ratio, int count)
{
    double ideal = double(ratio.dst) * line.wanted / ratio.src;
    if (method == ORV_INTER_NN && std::max(ratio.dst, ratio.src) % std::min(ratio.dst, ratio.src) == 0)
        return zoomAxis(line, method, 0, line.wanted / ideal, count);
    double step = ideal > 1 ? (line.wanted - 1) / (ideal - 1) : 0;
    return zoomAxis(line, method, method == ORV_INTER_NN ? 0.5 : 0, step, count);
}

// In fixed point, with the widths that the values have between the steps.
double zoomedFixed(uint32_t depth, const Source& source, const Samples& x, const Samples& y, int c)
{
    const int across = depth == ORV_DEPTH_8U ? 8 : 14, down = depth == ORV_DEPTH_8U ? 20 : 14;
    auto weight = [](const Samples& s) { return s.count == 1 ? 0 : int(std::rint(s.fraction * 16384 + bias)); };
    auto row = [&](int at) {
        int p0 = int(source(x.first, at, c)), p1 = int(source(x.first + x.count - 1, at, c));
        return int(uint16_t((p0 * (16384 - weight(x)) + p1 * weight(x)) >> across));
    };
    int result = (row(y.first + y.count - 1) * weight(y) + row(y.first) * (16384 - weight(y))) >> down;
    return depth == ORV_DEPTH_8U ? uint8_t(result) : uint16_t(result);
}

double zoomed(uint32_t depth, int method, const Source& source, const Samples& x, const Samples& y, int c)
{
    if (method == ORV_INTER_NN)
        return source(x.first, y.first, c);
    if (method == ORV_INTER_LINEAR && depth != ORV_DEPTH_32F)
        return zoomedFixed(depth, source, x, y, c);
    if (method == ORV_INTER_LINEAR) {
        auto between = [](float a, float b, const Samples& s) {
            return s.count == 1 ? a : float(a + (double(b) - double(a)) * float(s.fraction));
        };
        auto row = [&](int at) {
            return between(float(source(x.first, at, c)), float(source(x.first + x.count - 1, at, c)), x);
        };
        return between(row(y.first), row(y.first + y.count - 1), y);
    }
    double rows[4];
    for (int i = 0; i < 4; ++i) {
        double p[4];
        for (int k = 0; k < 4; ++k)
            p[k] = source(x.first + k, y.first + i, c);
        rows[i] = float(cubicOf(p, float(x.fraction)));
    }
    double value = cubicOf(rows, float(y.fraction));
    return depth == ORV_DEPTH_32F ? value : std::nearbyint(value + bias);
}

// ---- orvDecimate ---------------------------------------------------------------------------------------------------

Axis decimateAxis(const Line& line, int method, const Ratio& ratio, int most)
{
    const bool exact = ratio.src % ratio.dst == 0, nearest = method == ORV_INTER_NN;
    const double step = float(double(ratio.src) / ratio.dst);
    double position = nearest && !exact ? 0.5 : 0;
    Axis axis;
    for (; int(axis.size()) < most; position += step) {
        int index = int(position), needed = nearest || exact ? 0 : 1;
        if (index + needed >= line.length)
            break;
        Samples samples = {index, 1, position - index};
        if (needed && !axis.empty()) {
            samples.count = method == ORV_INTER_LINEAR ? 2 : 4;
            if (samples.count == 4) {
                int place = index + line.offset;
                int moved = place == 0 ? 1 : place + 2 >= line.imageLength ? -1 : 0;
                samples.first += moved - 1;
                samples.fraction -= moved;
            }
        }
        axis.push_back(samples);
    }
    return axis;
}

double decimated(uint32_t depth, const Source& source, const Samples& x, const Samples& y, int c)
{
    auto between = [](const double(&p)[4], const Samples& s) {
        return s.count == 1   ? p[0]
               : s.count == 2 ? (1 - s.fraction) * p[0] + s.fraction * p[1]
                              : decimatedCubicOf(p, s.fraction);
    };
    double rows[4];
    for (int i = 0; i < y.count; ++i) {
        double p[4];
        for (int k = 0; k < x.count; ++k)
            p[k] = source(x.first + k, y.first + i, c);
        rows[i] = between(p, x);
    }
    double value = between(rows, y);
    return depth == ORV_DEPTH_32F ? value : std::trunc(value);
}

// Hands a pixel's parts to add(cell, weight): where a cell's end falls into it, there are two.
template <class Add>
void splitPixel(int pixel, int& cell, double& end, double step, Add add)
{
    if (end + 0.0001f > pixel + 1) {
        add(cell, 1.0f);
        return;
    }
    double part = end - pixel;
    if (part != 0)
        add(cell, float(part));
    ++cell;
    end += step;
    add(cell, float(1 - part));
}

// The sums of all cells, row by row, in the order in which the pixels are met.
std::vector<float> areaSums(const Source& source, const Scaling& scaling, const Line& lineX, const Line& lineY, int c,
                            int width, int height)
{
    const double stepX = float(scaling.x.factor()), stepY = float(scaling.y.factor());
    std::vector<float> sums(size_t(width) * size_t(height));
    double endY = stepY;
    int cellY = 0;
    for (int y = 0; y < lineY.length && cellY < height; ++y) {
        std::vector<float> line(static_cast<size_t>(width));
        double endX = stepX;
        int cellX = 0;
        for (int x = 0; x < lineX.length && cellX < width; ++x)
            splitPixel(x, cellX, endX, stepX, [&](int cell, float weight) {
                if (cell < width)
                    line[size_t(cell)] += float(source(x, y, c)) * weight;
            });
        splitPixel(y, cellY, endY, stepY, [&](int cell, float weight) {
            for (int i = 0; cell < height && i < width; ++i)
                sums[size_t(cell * width + i)] += line[size_t(i)] * weight;
        });
    }
    return sums;
}

// ---- The whole image -----------------------------------------------------------------------------------------------

Line lineOf(const PictureSpec& spec, int length, bool vertical)
{
    OrvROI roi = spec.roi.value_or(OrvROI{0, 0, 0, spec.width, spec.height});
    return vertical ? Line{roi.height, length, roi.yOffset, spec.height}
                    : Line{roi.width, length, roi.xOffset, spec.width};
}

struct Model {
    const Scene& scene;
    const Scaling& scaling;
    Picture& src = *scene.images[0];
    Picture& dst = scene.destination();
    Area from = areaOf(src), to = areaOf(dst);
    uint32_t depth = src->depth;
    std::vector<int> read = channelsOf(src.layout()), write = channelsOf(dst.layout());
    std::vector<uint32_t> values = dst.values();

    double at(int x, int y, int c) const { return numberOf(depth, src.raw(from.x + x, from.y + y, read[size_t(c)])); }
    Source source() const
    {
        return [this](int x, int y, int c) { return at(x, y, c); };
    }
    Line lineX(int length) const { return lineOf(src.layout(), length, false); }
    Line lineY(int length) const { return lineOf(src.layout(), length, true); }

    void store(int x, int y, int c, double value)
    {
        int i = ((to.y + y) * dst->width + to.x + x) * dst->nChannels + write[size_t(c)];
        values[size_t(i)] = bitsOf(depth, value);
    }

    // Makes all pixels of the axes for which the mask is set.
    template <class Make, class IsSet>
    void fill(const Axis& x, const Axis& y, Make make, IsSet isSet)
    {
        for (size_t row = 0; row < y.size(); ++row)
            for (size_t column = 0; column < x.size(); ++column)
                for (size_t c = 0; c < read.size() && isSet(int(column), int(row)); ++c)
                    store(int(column), int(row), int(c), make(x[column], y[row], int(c)));
    }

    int methodFor(int method) const
    {
        if (depth == ORV_DEPTH_1U || src->width < 2 || src->height < 2)
            return ORV_INTER_NN;
        return method == ORV_INTER_CUBIC && (src->width < 4 || src->height < 4) ? int(ORV_INTER_LINEAR) : method;
    }

    void zoom()
    {
        auto limit = [](Area& area, const Picture* mask) {
            if (mask) {
                area.width = std::min(area.width, mask->image.width);
                area.height = std::min(area.height, mask->image.height);
            }
        };
        limit(from, scene.masks[0]);
        limit(to, scene.masks[1]);
        if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1)
            return;
        // Alpha alone is nothing, also as the channel of interest.
        if ((src->nChannels == 1 && src->alphaChannel) || (dst->nChannels == 1 && dst->alphaChannel))
            return;
        int width = filled(from.width, scaling.x, to.width), height = filled(from.height, scaling.y, to.height);
        // The source's mask, scaled by whole numbers of pixels.
        Axis maskX, maskY;
        if (const Picture* mask = scene.masks[0]) {
            auto whole = [](const Ratio& ratio, int length) {
                double source = std::rint(ratio.factor() * length + bias);
                return Ratio{length, int(source < 1 ? std::rint(length / ratio.factor() + bias) : source)};
            };
            Area area = areaOf(*mask);
            Ratio x = whole(scaling.x, width), y = whole(scaling.y, height);
            if (area.width > 0 && area.height > 0) {
                maskX = zoomAxis(lineOf(mask->layout(), area.width, false), 0, x, filled(area.width, x, width));
                maskY = zoomAxis(lineOf(mask->layout(), area.height, true), 0, y, filled(area.height, y, height));
            }
        }
        auto isSet = [&](int x, int y) {
            if (const Picture* mask = scene.masks[0]) {
                if (size_t(x) >= maskX.size() || size_t(y) >= maskY.size())
                    return false;
                Area area = areaOf(*mask);
                if (!mask->raw(area.x + maskX[size_t(x)].first, area.y + maskY[size_t(y)].first))
                    return false;
            }
            const Picture* mask = scene.masks[1];
            if (!mask)
                return true;
            int column = areaOf(*mask).x + x, row = areaOf(*mask).y + y;
            return column < mask->image.width && row < mask->image.height && mask->raw(column, row) != 0;
        };
        int method = methodFor(scaling.method);
        Axis x = zoomAxis(lineX(from.width), method, scaling.x, width);
        Axis y = zoomAxis(lineY(from.height), method, scaling.y, height);
        auto make = [&](const Samples& a, const Samples& b, int c) { return zoomed(depth, method, source(), a, b, c); };
        fill(x, y, make, isSet);
    }

    void decimate()
    {
        if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1)
            return;
        auto whole = [](const Ratio& ratio, int length) { return length * ratio.dst / ratio.src; };
        auto exact = [](const Ratio& ratio) { return ratio.src % ratio.dst == 0; };
        int method = scaling.method;
        bool area = method == ORV_INTER_SUPER;
        if (src->width < 4 || src->height < 4 || (!area && exact(scaling.x) && exact(scaling.y)) ||
            whole(scaling.x, from.width) < 1 || whole(scaling.y, from.height) < 1 || (!area && depth == ORV_DEPTH_1U))
            method = ORV_INTER_NN;
        if (method == ORV_INTER_SUPER)
            return decimateAreas(std::min(to.width, whole(scaling.x, from.width)),
                                 std::min(to.height, whole(scaling.y, from.height)));
        Axis x = decimateAxis(lineX(from.width), method, scaling.x, to.width);
        Axis y = decimateAxis(lineY(from.height), method, scaling.y, to.height);
        auto make = [&](const Samples& a, const Samples& b, int c) { return decimated(depth, source(), a, b, c); };
        fill(x, y, make, [](int, int) { return true; });
    }

    void decimateAreas(int width, int height)
    {
        double scale = 1 / (double(float(scaling.x.factor())) * float(scaling.y.factor()));
        for (size_t c = 0; c < read.size(); ++c) {
            std::vector<float> sums =
                areaSums(source(), scaling, lineX(from.width), lineY(from.height), int(c), width, height);
            for (int i = 0; i < width * height; ++i) {
                double mean = sums[size_t(i)] * scale;
                store(i % width, i / width, int(c), depth == ORV_DEPTH_32F ? mean : std::floor(mean + 0.5));
            }
        }
    }

    // The mean of the box around a pixel.
    double boxMean(int x, int y, int c, int width, int height) const
    {
        double sum = 0;
        for (int row = y - height / 2; row < y - height / 2 + height; ++row)
            for (int column = x - width / 2; column < x - width / 2 + width; ++column)
                sum += at(std::clamp(column, -from.x, src->width - 1 - from.x),
                          std::clamp(row, -from.y, src->height - 1 - from.y), c);
        double area = double(width) * height, scale = 1 / area;
        if (depth == ORV_DEPTH_1U)
            return sum * 2 >= area;
        if (depth == ORV_DEPTH_32F)
            return float(sum * scale);
        if (area == 1)
            return sum;
        auto factor = uint64_t(std::rint(scale * 4294967296.0 + bias));
        int shift = 8;
        for (; factor < 0x80000000u; factor <<= 1)
            ++shift;
        uint64_t mean = uint64_t(sum) * ((factor + 0x800000) >> 24) >> shift;
        return double(std::min<uint64_t>(mean, depth == ORV_DEPTH_8U ? 255 : 65535));
    }

    void decimateBlur()
    {
        if (from.width < 1 || from.height < 1 || to.width < 1 || to.height < 1)
            return;
        auto step = [](const Ratio& ratio, int length) {
            double ideal = double(ratio.dst) * length / ratio.src;
            return ratio.dst == ratio.src ? 1 : ideal > 1 ? (length - 1) / (ideal - 1) : 0;
        };
        double stepX = step(scaling.x, from.width), stepY = step(scaling.y, from.height);
        if (stepX == 0 || stepY == 0)
            return;
        bool unscaled = scaling.x.dst == scaling.x.src && scaling.y.dst == scaling.y.src;
        int method = unscaled ? int(ORV_INTER_NN) : methodFor(scaling.method);
        auto size = [](const Ratio& ratio, int mask) { return mask ? mask : int(std::rint(ratio.factor() + 0.00001)); };
        int width = size(scaling.x, scaling.maskX), height = size(scaling.y, scaling.maskY);
        Axis x = zoomAxis(lineX(from.width), method, 0, stepX, filled(from.width, scaling.x, to.width));
        Axis y = zoomAxis(lineY(from.height), method, 0, stepY, filled(from.height, scaling.y, to.height));
        Source means = [&](int column, int row, int c) { return boxMean(column, row, c, width, height); };
        auto make = [&](const Samples& a, const Samples& b, int c) { return zoomed(depth, method, means, a, b, c); };
        fill(x, y, make, [](int, int) { return true; });
    }
};

struct Function {
    const ScaleFunction& scale;
    void (Model::*model)();
};

constexpr Function zoomFunction = {scaleFunctions[0], &Model::zoom}, resizeFunction = {scaleFunctions[1], &Model::zoom},
                   decimateFunction = {scaleFunctions[2], &Model::decimate},
                   blurFunction = {scaleFunctions[3], &Model::decimateBlur};

void expectScaled(const Function& function, const Scene& scene, const Scaling& scaling)
{
    Picture &src = *scene.images[0], &dst = scene.destination();
    const std::vector<uint32_t> before = src.values();
    Model model{scene, scaling};
    (model.*function.model)();
    EXPECT_EQ(reportsOf([&] { function.scale.call(scene.pointers().data(), scaling); }), "");
    const std::vector<uint32_t> got = dst.values();
    for (size_t i = 0; i < got.size(); ++i)
        ASSERT_TRUE(sameValue(model.depth, got[i], model.values[i]))
            << "value " << i << " is " << numberOf(model.depth, got[i]) << ", not "
            << numberOf(model.depth, model.values[i]);
    EXPECT_TRUE(src.values() == before);
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(scene.openTiles(), 0);
}

constexpr uint32_t depths[] = {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32F};

Ratio randomRatio(Random& random, bool down)
{
    Ratio ratio = {random.between(1, 9), random.between(1, 9)};
    if (random.below(4) == 0)
        ratio = {random.between(1, 300), random.between(1, 300)};
    if (random.below(6) == 0)
        ratio.dst = ratio.src;
    return (ratio.dst > ratio.src) == down ? Ratio{ratio.src, ratio.dst} : ratio;
}

// Scales random pictures of all layouts with what `choose` gives.
void runRandom(const Function& function, int rounds, const std::function<Scaling(Random& random)>& choose)
{
    Random random(11);
    for (int round = 0; round < rounds && !testing::Test::HasFailure(); ++round) {
        const uint32_t depth = depths[round % 4];
        const int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        const Scaling scaling = choose(random);
        const int most = random.below(4) ? 50 : 150;
        const int width = random.between(1, most), height = random.between(1, random.below(3) ? 20 : 50);
        auto scaled = [&](int length, const Ratio& ratio) {
            return std::clamp(int(length / ratio.factor()) + random.between(-4, 4), 1, 160);
        };
        const int toWidth = scaled(width, scaling.x), toHeight = scaled(height, scaling.y);
        const bool masked = random.below(2);
        auto mask = [&](int w, int h) {
            return masked && random.below(3) ? std::optional(randomMaskSpec(random, w, h)) : std::nullopt;
        };
        Layout layout = {{{randomPictureSpec(random, depth, count, width, height), 0, mask(width, height), 0},
                          {randomPictureSpec(random, depth, count, toWidth, toHeight), 1, mask(toWidth, toHeight), 1}}};
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        dst.order = src.order;
        if (depth == ORV_DEPTH_1U)
            src.alpha = dst.alpha = 0;
        if (function.model != &Model::zoom) {
            // A channel of interest on both sides or on none, and as many channels.
            dst.origin = src.origin;
            dst.channels = src.channels;
            dst.alpha = src.alpha;
            if (dst.roi || src.roi) {
                dst.roi = dst.roi.value_or(OrvROI{0, 0, 0, dst.width, dst.height});
                dst.roi->coi = src.roi ? src.roi->coi : 0;
            }
        }
        for (PictureSpec* spec : {&src, &dst})
            if (spec->roi && function.model == &Model::decimateBlur) {
                spec->roi->xOffset = std::min(spec->roi->xOffset, spec->width - 1);
                spec->roi->yOffset = std::min(spec->roi->yOffset, spec->height - 1);
            }
        SCOPED_TRACE(testing::Message() << round << ": " << scaling.x.dst << '/' << scaling.x.src << " by "
                                        << scaling.y.dst << '/' << scaling.y.src << ", method " << scaling.method
                                        << ", mask " << scaling.maskX << ' ' << scaling.maskY << layout.text());
        Scene scene(layout);
        if (depth == ORV_DEPTH_32F)
            scene.images[0]->fill([&](int, int, int) { return random.between(-500, 500) / 4.0; });
        expectScaled(function, scene, scaling);
    }
}

}  // namespace

TEST(Scale, ZoomsEveryPixelInEveryLayout)
{
    runRandom(zoomFunction, 1500, [](Random& random) {
        return Scaling{randomRatio(random, false), randomRatio(random, false), random.below(3)};
    });
}

TEST(Scale, ResizesEveryPixelInEveryLayout)
{
    runRandom(resizeFunction, 3000, [](Random& random) {
        return Scaling{randomRatio(random, random.below(2)), randomRatio(random, random.below(2)), random.below(3)};
    });
}

TEST(Scale, DecimatesEveryPixelInEveryLayout)
{
    runRandom(decimateFunction, 3000, [](Random& random) {
        return Scaling{randomRatio(random, true), randomRatio(random, true), random.below(4)};
    });
}

// Ratios for which there are ways of their own, in all layouts.
TEST(Scale, DecimatesByWholeRatios)
{
    runRandom(decimateFunction, 600, [](Random& random) {
        Ratio x = {1, random.between(1, 5)}, y = {1, random.below(3) ? x.src : random.between(1, 9)};
        return Scaling{x, y, ORV_INTER_SUPER};
    });
}

TEST(Scale, DecimatesTheMeansOfBoxesInEveryLayout)
{
    runRandom(blurFunction, 800, [](Random& random) {
        int most = random.below(12) ? 8 : 70;
        return Scaling{randomRatio(random, true), randomRatio(random, true), random.below(3), random.below(most),
                       random.below(most)};
    });
}

// What is taken from columns of 0, 10, 20 and so on, of as many rows as columns.
TEST(Scale, TakesWhatIsNearAndMeansOfAreas)
{
    struct Case {
        const Function& function;
        int width;
        Scaling scaling;
        std::vector<int> expected;
    };
    const Ratio same = {1, 1};
    const Function &zoom = zoomFunction, &resize = resizeFunction, &decimate = decimateFunction, &blur = blurFunction;
    for (const Case& one : {
             Case{resize, 6, {same, same, ORV_INTER_NN}, {0, 10, 20, 30, 40, 50}},
             {resize, 6, {{1, 2}, same, ORV_INTER_NN}, {0, 20, 40}},
             {resize, 6, {{2, 3}, same, ORV_INTER_NN}, {0, 20, 30, 50}},
             {zoom, 3, {{2, 1}, same, ORV_INTER_NN}, {0, 0, 10, 10, 20, 20}},
             {zoom, 3, {{5, 3}, same, ORV_INTER_LINEAR}, {0, 5, 10, 15, 20}},
             {zoom, 3, {{7, 3}, same, ORV_INTER_CUBIC}, {0, 3, 6, 10, 13, 16, 20}},  // lines, being 3 wide
             {zoom, 4, {{7, 4}, same, ORV_INTER_CUBIC}, {0, 5, 10, 15, 20, 25, 30}},
             {zoom, 1, {{3, 1}, same, ORV_INTER_CUBIC}, {0, 0, 0}},
             {resize, 4, {{1, 4}, same, ORV_INTER_LINEAR}, {0}},  // a step of 0
             {decimate, 7, {same, same, ORV_INTER_CUBIC}, {0, 10, 20, 30, 40, 50, 60}},
             {decimate, 6, {{1, 2}, same, ORV_INTER_LINEAR}, {0, 20, 40}},
             {decimate, 6, {{2, 3}, same, ORV_INTER_NN}, {0, 20, 30, 50}},
             {decimate, 6, {{2, 3}, same, ORV_INTER_LINEAR}, {0, 15, 30, 45}},
             {decimate, 6, {{2, 3}, same, ORV_INTER_SUPER}, {3, 17, 33, 47}},  // 5 / 1.5 and so on
             {decimate, 7, {{2, 3}, same, ORV_INTER_SUPER}, {3, 17, 33, 47}},
             {decimate, 8, {{1, 4}, same, ORV_INTER_SUPER}, {15, 55}},
             {decimate, 3, {{1, 3}, same, ORV_INTER_SUPER}, {0}},         // too small: the nearest
             {blur, 8, {{1, 2}, {1, 2}, ORV_INTER_NN}, {0, 15, 35, 65}},  // boxes -1 to 0, 1 to 2, ...
             {blur, 8, {same, same, ORV_INTER_CUBIC, 3, 3}, {3, 10, 20, 30, 40, 50, 60, 66}},
         }) {
        PictureSpec spec = {.width = one.width, .height = std::max(one.width, 4)};
        Picture src(spec);
        src.fill([](int x, int, int) { return x * 10; });
        spec.width = 12;
        Picture dst(spec);
        dst.fill([](int, int, int) { return 255; });
        SCOPED_TRACE(testing::Message() << one.function.scale.name << ' ' << one.width << " by " << one.scaling.x.dst
                                        << '/' << one.scaling.x.src << ", method " << one.scaling.method);
        OrvImage* images[] = {src, dst};
        EXPECT_EQ(reportsOf([&] { one.function.scale.call(images, one.scaling); }), "");
        for (int x = 0; x < 12; ++x)
            EXPECT_EQ(dst.get(x, 0), size_t(x) < one.expected.size() ? one.expected[size_t(x)] : 255) << x;
    }
}

// Positions a hair before a pixel make weights below 0, whose products pass the range of what is kept between the
// steps.
TEST(Scale, CutsTheBitsOfWeightsBelowNothing)
{
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U})
        for (int channels : {1, 3}) {
            for (const auto& [width, ratio] : {std::pair{108, Ratio{7222, 4799}}, {167, Ratio{22427, 34909}}}) {
                PictureSpec src = {.depth = depth, .channels = channels, .width = width, .height = width};
                PictureSpec dst = src;
                dst.width = dst.height = 170;
                Scene scene({{{src, 0, {}, 0}, {dst, 1, {}, 1}}});
                const double most = depth == ORV_DEPTH_8U ? 255 : 65535;
                scene.images[0]->fill([&](int x, int y, int) { return x % 2 == y % 2 ? most : 0; });
                expectScaled(resizeFunction, scene, {ratio, ratio, ORV_INTER_LINEAR});
            }
        }
}

// Neighbours that a pixel is not made of do not reach it: infinity times nothing is no number.
TEST(Scale, KeepsInfinityWhereItIs)
{
    auto scale = [](const Function& function, OrvROI roi, const Scaling& scaling) {
        PictureSpec spec = {.depth = ORV_DEPTH_32F, .width = 6, .height = 6, .roi = roi};
        Picture src(spec), dst({.depth = ORV_DEPTH_32F, .width = 9, .height = 9});
        src.fill([](int, int, int) { return HUGE_VAL; });
        dst.fill([](int, int, int) { return 0; });
        OrvImage* images[] = {src, dst};
        function.scale.call(images, scaling);
        return std::pair(dst.get(0, 0), dst.get(1, 1));
    };
    const Ratio three = {3, 1}, part = {2, 3};
    const OrvROI all = {0, 0, 0, 6, 6}, pixel = {0, 3, 2, 1, 1};
    EXPECT_EQ(scale(zoomFunction, pixel, {three, three, ORV_INTER_LINEAR}).second, HUGE_VAL);
    EXPECT_EQ(scale(decimateFunction, all, {part, part, ORV_INTER_LINEAR}).first, HUGE_VAL);
    EXPECT_EQ(scale(decimateFunction, all, {part, part, ORV_INTER_CUBIC}).first, HUGE_VAL);
    EXPECT_EQ(scale(decimateFunction, all, {part, part, ORV_INTER_SUPER}), std::pair(HUGE_VAL, HUGE_VAL));
}
