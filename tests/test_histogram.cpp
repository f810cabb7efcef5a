// Histograms, and contrast by tables.
#include <gtest/gtest.h>

#include <algorithm>
#include <numeric>

#include "checks.h"
#include "model.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

// A table with memory of its own; several share one for all channels.
struct Table {
    std::vector<int32_t> keys, values, factors;
    OrvLUT lut;
    std::vector<OrvLUT*> all;

    explicit Table(std::vector<int32_t> bounds, std::vector<int32_t> counts = {}, std::vector<int32_t> slopes = {})
        : keys(std::move(bounds)), values(std::move(counts)), factors(std::move(slopes))
    {
        values.resize(keys.size(), -7);
        lut = {int32_t(keys.size()), keys.data(), values.data(), factors.empty() ? nullptr : factors.data(),
               !factors.empty()};
        all.assign(200, &lut);
    }
};

int sizeOf(uint32_t depth)
{
    return 1 << (depth & ORV_DEPTH_MASK);
}

// A stretch by intervals, each of which knows where it starts.
uint32_t stretched(uint32_t depth, const Table& table, uint32_t p)
{
    int32_t interval = -1, start = 0;
    for (int32_t i = table.keys[0]; i <= int32_t(p); ++i)
        if (interval < table.lut.num - 1 && i == table.keys[size_t(interval) + 1]) {
            ++interval;
            start = i;
        }
    if (interval < 0 || interval == table.lut.num - 1)
        return p;
    int64_t slope = table.factors.empty() ? 0 : table.factors[size_t(interval)];
    return uint32_t(table.values[size_t(interval)] + (int64_t{p} - start) * slope) &
           (depth == ORV_DEPTH_8U ? 0xFF : 0xFFFF);
}

std::vector<uint32_t> equalized(uint32_t depth, const Table& table)
{
    std::vector<uint32_t> sums(size_t(sizeOf(depth)), 0);
    for (size_t j = 0; j + 1 < table.keys.size(); ++j) {
        int width = table.keys[j + 1] - table.keys[j];
        for (int i = 0; i < width; ++i)
            sums[size_t(table.keys[j] + i)] =
                uint32_t(table.values[j] / width + (i == width - 1 ? table.values[j] % width : 0));
    }
    std::partial_sum(sums.begin(), sums.end(), sums.begin());
    std::vector<uint32_t> map;
    for (uint32_t sum : sums)
        map.push_back(depth == ORV_DEPTH_8U ? uint8_t(255 * sum / sums.back())
                                            : uint32_t(sum * (65535.0 / sums.back())));
    return map;
}

const Table bytes({20, 20, 60, 61, 200, 256}, {0, 30, 200, 90, 130, 5}, {0, 3, 0, -1, 2, 9});
const Table words({300, 400, 40000, 65536}, {70000, 12, 40000, 5}, {0, -3, 1, 2});

const Table& tableOf(uint32_t depth)
{
    return depth == ORV_DEPTH_8U ? bytes : words;
}

bool layoutFits(const Layout& layout)
{
    bool oneChannel = layout.images[0].spec.channels == 1 && layout.images[1].spec.channels == 1;
    return (oneChannel || ordersAgree(layout)) && originsAgree(layout);
}

}  // namespace

TEST(Histogram, CountsInEveryLayout)
{
    Random random(8);
    for (uint32_t depth : {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U})
        for (int i = 0; i < 80; ++i) {
            int width = random.below(12) ? random.between(1, 70) : random.between(1000, 5000);
            int height = random.between(1, 20), count = depth == ORV_DEPTH_1U ? 1 : random.between(1, 4);
            Layout layout;
            layout.images.push_back({randomPictureSpec(random, depth, count, width, height), 0, {}, 0});
            if (random.below(2))
                layout.images[0].mask = randomMaskSpec(random, width, height);
            SCOPED_TRACE(depthName(depth) + ' ' + std::to_string(i) + layout.text());
            Scene scene(layout);
            int size = sizeOf(depth);
            std::vector<int32_t> keys =
                depth == ORV_DEPTH_1U ? std::vector{0, 1, 2} : std::vector{3, 3, size / 3, size};
            std::vector<Table> tables;
            std::vector<OrvLUT*> luts;
            for (int c = 0; c < 16; ++c)
                tables.emplace_back(keys);
            for (Table& table : tables) {
                table.lut.interpolateType = 5;
                luts.push_back(&table.lut);
            }
            std::vector<std::vector<int32_t>> expected(16, std::vector<int32_t>(keys.size(), -7));
            std::vector<int> channels = channelsOf(scene.images[0]->layout());
            for (int c : channels)
                std::fill(expected[size_t(c)].begin(), expected[size_t(c)].end() - 1, 0);
            forSelectedPixels(scene, [&](int, int, const std::vector<PixelBits>& images) {
                for (size_t c = 0; c < channels.size(); ++c)
                    for (size_t j = 0; j + 1 < keys.size(); ++j)
                        if (images[0][c] >= uint32_t(keys[j]) && images[0][c] < uint32_t(keys[j + 1]))
                            ++expected[size_t(channels[c])][j];
            });
            int blocks = testheap::blocks();
            ASSERT_EQ(reportsOf([&] { orvComputeHisto(scene.pointers()[0], luts.data()); }), "");
            ASSERT_EQ(testheap::blocks(), blocks);
            for (size_t c = 0; c < 16; ++c) {
                ASSERT_EQ(tables[c].values, expected[c]) << c;
                ASSERT_EQ(tables[c].lut.interpolateType != 0, std::ranges::find(channels, int(c)) == channels.end());
            }
            ASSERT_EQ(scene.faults(), "");
            ASSERT_EQ(scene.openTiles(), 0);
        }
}

TEST(Contrast, StretchesAndEqualizesInEveryLayout)
{
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U}) {
        const Table& table = tableOf(depth);
        Operation stretch = {.name = "orvContrastStretch", .sourceDepth = depth, .resultDepth = depth};
        stretch.rule = [&](uint32_t p, uint32_t) { return stretched(depth, table, p); };
        stretch.call = [&](OrvImage* const* images) {
            orvContrastStretch(images[0], images[1], const_cast<OrvLUT**>(table.all.data()));
        };
        stretch.fits = layoutFits;
        stretch.padding = false;
        runMatrix(stretch);
        Operation equalize = stretch;
        equalize.name = "orvHistoEqualize";
        std::vector<uint32_t> map = equalized(depth, table);
        equalize.rule = [&](uint32_t p, uint32_t) { return map[p]; };
        equalize.call = [&](OrvImage* const* images) {
            orvHistoEqualize(images[0], images[1], const_cast<OrvLUT**>(table.all.data()));
        };
        runMatrix(equalize);
        if (depth == ORV_DEPTH_8U)
            for (const Operation& operation : {stretch, equalize})
                expectNothingLost(operation);
    }
}

// Each channel has its table, also under a channel of interest; values pass through the whole range.
TEST(Contrast, TakesTheTableOfTheChannel)
{
    Table low({0, 256}, {0}, {-1}), high({10, 200}, {7}, {2}), twisted({0, 7, 256}, {100, 50}, {3, 0});
    twisted.lut.factor = nullptr;
    OrvLUT* luts[] = {&low.lut, &high.lut, &twisted.lut};
    const Table* tables[] = {&low, &high, &twisted};
    Table flat({0, 7, 256}, {100, 50});
    tables[2] = &flat;
    for (int coi : {0, 1, 2, 3}) {
        PictureSpec spec = {.channels = 3, .width = 256, .height = 2, .roi = OrvROI{coi, 0, 0, 256, 2}};
        Picture src(spec), dst(spec);
        src.fill([](int x, int, int) { return x; });
        std::vector<uint32_t> before = dst.values();
        orvContrastStretch(src, dst, luts);
        for (int x = 0; x < 256; ++x)
            for (int c = 0; c < 3; ++c)
                ASSERT_EQ(dst.raw(x, 1, c), coi && c != coi - 1 ? before[size_t((256 + x) * 3 + c)]
                                                                : stretched(ORV_DEPTH_8U, *tables[c], uint32_t(x)))
                    << coi << ' ' << c << ' ' << x;
    }
}

// Where both images have a mask, the mask of one of these counts too.
TEST(Contrast, MasksOfTwoMasksHold)
{
    PictureSpec bits = {.depth = ORV_DEPTH_1U, .width = 8, .height = 2};
    Picture src({.width = 8, .height = 2}), dst({.width = 8, .height = 2}), first(bits), second(bits), inner(bits);
    for (Picture* all : {&first, &second})
        all->fill([](int, int, int) { return 1; });
    inner.fill([](int x, int, int) { return x % 2; });
    dst.fill([](int, int, int) { return 0; });
    src->maskROI = first;
    dst->maskROI = second;
    second->maskROI = inner;
    Table table({0, 256}, {7});
    orvContrastStretch(src, dst, table.all.data());
    for (int x = 0; x < 8; ++x)
        EXPECT_EQ(dst.get(x, 1), x % 2 * 7) << x;
}

TEST(Contrast, ChecksInOrder)
{
    using Call = void(ORV_CALL*)(OrvImage * src, OrvImage * dst, OrvLUT * *lut);
    struct Form {
        const char* name;
        Call call;
    };
    Table table({0, 100, 256}, {0, 0, 0});
    Form histo = {"orvComputeHisto", [](OrvImage* src, OrvImage*, OrvLUT** lut) { orvComputeHisto(src, lut); }};
    for (const Form& form :
         {histo, Form{"orvContrastStretch", orvContrastStretch}, {"orvHistoEqualize", orvHistoEqualize}}) {
        SCOPED_TRACE(form.name);
        const FaultOf fault{form.name};
        bool maps = form.call != histo.call;
        OrvLUT* luts[3] = {&table.lut, &table.lut, &table.lut};
        OrvLUT changed = table.lut;
        auto call = [&](OrvImage* const* images) {
            form.call(images[0], images[1], luts);
            changed = table.lut;
            luts[1] = &table.lut;
        };
        auto field = [&](auto member, auto value) {
            return [&changed, &luts, member, value](auto) {
                changed.*member = value;
                luts[1] = luts[1] ? &changed : nullptr;
            };
        };
        static int32_t below[] = {-1, 5, 6}, above[] = {0, 5, 257}, descending[] = {5, 4, 256};
        std::vector<Fault> faults = {fault(-10, "Incorrect Image", setField(0, &OrvImage::width, 0))};
        if (maps) {
            faults.push_back(fault(-13, "Incorrect Image", setField(1, &OrvImage::widthStep, 0)));
            faults.push_back(
                fault(-5, "Number of processed channels of srcImage != Number of processed channels of dstImage",
                      setField(1, &OrvImage::alphaChannel, 3)));
        }
        faults.insert(faults.end(), {
                                        fault(-5, "lut[k]==0", [&](auto) { luts[1] = nullptr; }),
                                        fault(-5, "lut[k]->key==0", field(&OrvLUT::key, nullptr)),
                                        fault(-5, "lut[k]->value==0", field(&OrvLUT::value, nullptr)),
                                        fault(-5, "lut[k]->num < 2", field(&OrvLUT::num, 1)),
                                        fault(-5, "lut[k]->key[0] < 0", field(&OrvLUT::key, below)),
                                        fault(-5, "lut[k]->key[lut[k]->num-1] > histSize", field(&OrvLUT::key, above)),
                                        fault(-5, "lut[k]->key[i] > lut[k]->key[i+1]", field(&OrvLUT::key, descending)),
                                        fault(-4, "Out of memory", refuseMemory(1, true)),
                                    });
        PictureSpec spec = {.channels = 3, .width = 8, .height = 8};
        expectFaultsInOrder({spec, spec}, call, faults);

        // An earlier failure stops them, and so do alpha channels alone.
        Picture a(spec), b(spec), alpha({.alpha = 1, .width = 8, .height = 8});
        EXPECT_EQ(reportsOf([&] {
                      orvSetErrStatus(-3);
                      form.call(a, b, luts);
                  }),
                  "");
        EXPECT_EQ(reportsOf([&] { form.call(alpha, alpha, luts); }), "");
        // Faults that do not depend on each other are all told.
        Picture words({.depth = ORV_DEPTH_16S, .channels = 3, .order = 1, .origin = 1, .width = 8, .height = 8});
        std::string lines = "-5 " + std::string(form.name) + ' ';
        std::string all = lines + "srcImage->depth != dstImage->depth\n" + lines +
                          "srcImage->origin != dstImage->origin\n" + lines +
                          "srcImage->dataOrder != dstImage->dataOrder\n" + lines +
                          "srcImage->depth != ORV_DEPTH_8U && srcImage->depth != ORV_DEPTH_16U\n" + lines + "lut==0\n";
        std::string two =
            lines + "lut==0\n" + lines + "(srcImage->depth & ORV_DEPTH_SIGN) || (srcImage->depth == ORV_DEPTH_32F)\n";
        EXPECT_EQ(reportsOf([&] { form.call(words, b, nullptr); }), maps ? all : two);
    }
    Picture picture({.width = 8, .height = 8});
    OrvLUT* lut = &table.lut;
    table.values.assign(3, 0);
    EXPECT_EQ(reportsOf([&] { orvHistoEqualize(picture, picture, &lut); }),
              "-3 orvHistoEqualize All values in histogram are zeroes\n");
}
