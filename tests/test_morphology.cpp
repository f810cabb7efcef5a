// Morphology against one that folds every window by itself, step by step.
#include <gtest/gtest.h>

#include <algorithm>

#include "checks.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

using Morphology = void(ORV_CALL*)(OrvImage*, OrvImage*, int32_t);

// A row of values from n columns before the region to n columns behind it.
using Row = std::vector<uint32_t>;

// Folds the windows of a row's middle, whose rows are given.
Row fold(const std::vector<Row>& rows, bool greatest, int width)
{
    const size_t side = rows.size();
    Row result;
    for (size_t x = 0; x < size_t(width); ++x) {
        uint32_t found = rows[0][x];
        for (const Row& row : rows)
            for (size_t i = x; i < x + side; ++i)
                found = greatest ? std::max(found, row[i]) : std::min(found, row[i]);
        result.push_back(found);
    }
    return result;
}

struct MorphologyCase {
    const char* name;
    Morphology function;
    bool greatest;  // in the only or the first stage
    bool twoStages;
};

const MorphologyCase cases[] = {
    {"orvDilate", orvDilate, true, false},
    {"orvErode", orvErode, false, false},
    {"orvOpen", orvOpen, false, true},
    {"orvClose", orvClose, true, true},
};

// The results for one channel of a region, row by row. The rings of rows are followed as they turn.
Row naiveMorphology(Picture& src, const MorphologyCase& one, const Area& from, int c, int n)
{
    const int width = from.width, height = from.height;
    auto source = [&](int y) {
        Row row;
        for (int x = -n; x < width + n; ++x)
            row.push_back(naiveRaw(src, from.x + std::clamp(x, -1, width), from.y + std::clamp(y, -1, height), c));
        return row;
    };
    auto window = [&](int y) {
        std::vector<Row> rows;
        for (int i = y - n; i <= y + n; ++i)
            rows.push_back(source(i));
        return rows;
    };
    auto staged = [&](int y) {
        Row row = source(y);
        std::ranges::copy(fold(window(y), one.greatest, width), row.begin() + n);
        return row;
    };
    Row result;
    auto append = [&](const Row& row) { result.insert(result.end(), row.begin(), row.end()); };
    if (!one.twoStages) {
        for (int y = 0; y < height; ++y)
            append(fold(window(y), one.greatest, width));
        return result;
    }
    std::vector<Row> ring;  // the oldest row first
    for (int y = -n; y < n; ++y)
        ring.push_back(y < 0 ? source(y) : staged(y));
    for (int y = 0, middle = n; y < height; ++y) {
        const bool turns = y < height - n;
        ring.push_back(turns ? staged(middle) : source(middle));
        append(fold(ring, !one.greatest, width));
        ring.erase(turns ? ring.begin() : ring.end() - 1);
        middle += turns;
    }
    return result;
}

}  // namespace

TEST(Morphology, FoldsWindowsInEveryLayout)
{
    Random random(34);
    for (int round = 0; round < 1000 && !testing::Test::HasFailure(); ++round) {
        const MorphologyCase& one = cases[size_t(round) % std::size(cases)];
        const uint32_t depths[] = {ORV_DEPTH_1U, ORV_DEPTH_8U, ORV_DEPTH_16U};
        uint32_t depth = depths[random.below(3)];
        int channels = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 5);
        Layout layout = randomNeighbours(random, depth, channels);
        const bool inPlace = layout.images[1].same == 0;
        makeAlike(layout, random);
        PictureSpec &src = layout.images[0].spec, &dst = layout.images[1].spec;
        dst.origin = src.origin;
        src.height = std::min(src.height, 24);
        dst.height = std::min(dst.height, 24);
        if (inPlace)
            layout.images[1].same = 0;
        else if (dst.roi && src.roi)
            dst.roi->coi = src.roi->coi;
        else if (dst.roi && dst.roi->coi)
            dst.roi->coi = 0;
        if (src.roi && src.roi->coi && !dst.roi && dst.channels > 1)
            continue;
        int n = random.between(1, random.below(3) ? 4 : 30);
        Scene scene(layout);
        setRandomBorders(*scene.images[0], random);
        SCOPED_TRACE(testing::Message() << round << ": " << one.name << ' ' << n << layout.text());
        Area from = commonArea(scene);
        const Area region = areaOf(*scene.images[0]);
        from.x = region.x, from.y = region.y;
        std::vector<Row> planes(16);
        expectFiltered(
            scene,
            [&](Picture& picture, int x, int y, int c) {
                Row& plane = planes[size_t(c)];
                if (plane.empty())
                    plane = naiveMorphology(picture, one, from, c, n);
                return plane[size_t((y - from.y) * from.width + x - from.x)];
            },
            [&](OrvImage* const* images) { one.function(images[0], images[1], n); });
    }
}

TEST(Morphology, ChecksInTheirOrder)
{
    for (const MorphologyCase& one : cases) {
        int iterations = 2;
        auto setIterations = [&](int n) { return [&iterations, n](auto) { iterations = n; }; };
        auto call = [&](OrvImage* const* images) { one.function(images[0], images[1], std::exchange(iterations, 2)); };
        const PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
        const FaultOf fault{one.name};
        expectFaultsInOrder(
            {spec, spec}, call,
            {
                fault(-15, "Incorrect Image", setField(0, &OrvImage::nChannels, 0)),
                fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
                fault(-5, "Illegal number of iterations", setIterations(0)),
                fault(-5, "Illegal number of iterations", setIterations(-1)),
                fault(-5, "Illegal image depth", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
                fault(-5, "SRC and DST depth are different", setField(1, &OrvImage::depth, ORV_DEPTH_8S)),
                fault(-5, "SRC and DST order are different", setField(1, &OrvImage::dataOrder, ORV_DATA_ORDER_PLANE)),
                fault(-5, "SRC and DST orign are different", setField(1, &OrvImage::origin, ORV_ORIGIN_BL)),
                fault(-5, "SRC and DST number of channels are different", setChannels(1, 2, 0)),
            });
        // A channel that the destination does not have; a status of before is cleared; an element beyond all memory.
        Picture src(spec), dst({.channels = 1, .width = 9, .height = 9});
        OrvROI third = {3, 0, 0, 9, 9}, whole = {0, 0, 0, 9, 9};
        src->roi = &third;
        dst->roi = &whole;
        EXPECT_EQ(reportsOf([&] { one.function(src, dst, 1); }),
                  std::string("-5 ") + one.name + " SRC and DST number of channels are different\n");
        src->roi = dst->roi = nullptr;
        Picture other(spec);
        // Tiles of the largest image that do not come.
        Picture largest({.width = 8, .height = 8, .tileWidth = 8, .tileHeight = 8});
        largest->width = largest->height = INT32_MAX;
        largest.log().refuse = 1;
        EXPECT_EQ(reportsOf([&] {
                      one.function(largest, largest, 1);
                      EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_NO_MEMORY);
                      one.function(src, other, INT32_MAX);
                      EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_NO_MEMORY);
                      one.function(src, other, 1);
                      EXPECT_EQ(orvGetErrStatus(), ORV_STATUS_OK);
                  }),
                  "");
        // The largest elements for lines of 9 pixels.
        for (auto [depth, most] : {std::pair(ORV_DEPTH_1U, 65531), {ORV_DEPTH_8U, 23167}, {ORV_DEPTH_16U, 16381}}) {
            Picture from({.depth = depth, .width = 9, .height = 9}), to(from.layout());
            for (int n : {most, most + 1}) {
                one.function(from, to, n);
                EXPECT_EQ(orvGetErrStatus(), n == most ? ORV_STATUS_OK : ORV_STATUS_NO_MEMORY) << depth << ' ' << n;
                orvSetErrStatus(ORV_STATUS_OK);
            }
        }
    }
}

TEST(Morphology, LosesNothingWhereMemoryOrATileIsRefused)
{
    for (const MorphologyCase& one : cases)
        for (bool inPlace : {false, true})
            forAlikeLayouts([&](Layout layout) {
                layout.images[1].same = inPlace ? 0 : 1;
                const FilterCall call = [&](OrvImage* const* images) { one.function(images[0], images[1], 3); };
                expectNothingLost({.name = one.name, .call = tellingRefusals(call, ORV_STATUS_NO_MEMORY)}, layout);
            });
}
