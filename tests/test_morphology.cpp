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

// A plane of values with what is seen around it.
using Plane = std::function<uint32_t(int x, int y)>;

uint32_t fold(const Plane& plane, bool greatest, int x, int y, int n)
{
    uint32_t found = plane(x, y);
    for (int row = y - n; row <= y + n; ++row)
        for (int column = x - n; column <= x + n; ++column)
            found = greatest ? std::max(found, plane(column, row)) : std::min(found, plane(column, row));
    return found;
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
std::vector<uint32_t> naiveMorphology(Picture& src, const MorphologyCase& one, const Area& from, int c, int n)
{
    const int width = from.width, height = from.height;
    auto frame = [&](int x, int y) {
        return naiveRaw(src, from.x + std::clamp(x, -1, width), from.y + std::clamp(y, -1, height), c);
    };
    std::vector<uint32_t> result;
    if (!one.twoStages) {
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                result.push_back(fold(frame, one.greatest, x, y, n));
        return result;
    }
    // Rows of the source and of the first stage by the row of the source that they hold, oldest first.
    struct Row {
        int y;
        bool folded;
    };
    std::vector<Row> second;
    for (int y = -n; y < n; ++y)
        second.push_back({y, y >= 0});
    int middle = n;
    for (int y = 0; y < height; ++y) {
        const bool goesOn = y < height - n;
        second.push_back({middle, goesOn});
        auto stage = [&](int x, int row) {
            const Row& at = second[size_t(row)];
            return at.folded && x >= 0 && x < width ? fold(frame, one.greatest, x, at.y, n) : frame(x, at.y);
        };
        for (int x = 0; x < width; ++x)
            result.push_back(fold(stage, !one.greatest, x, n, n));
        if (goesOn) {
            second.erase(second.begin());
            ++middle;
        } else {
            second.pop_back();
        }
    }
    return result;
}

}  // namespace

TEST(Morphology, FoldsWindowsInEveryLayout)
{
    Random random(34);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
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
        std::vector<std::vector<uint32_t>> planes(16);
        expectFiltered(
            scene,
            [&](Picture& picture, int x, int y, int c) {
                std::vector<uint32_t>& plane = planes[size_t(c)];
                if (plane.empty())
                    plane = naiveMorphology(picture, one, from, c, n);
                return plane[size_t((y - from.y) * from.width + x - from.x)];
            },
            [&](OrvImage* const* images) { one.function(images[0], images[1], n); });
    }
}
