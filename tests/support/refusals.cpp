#include "refusals.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "reports.h"
#include "testheap.h"

namespace {

struct Outcome {
    std::vector<std::vector<uint32_t>> values;  // of all pictures
    std::string reports;
    std::vector<std::string> calls;  // of the tile provider
};

// Runs the call, which may be none, while `refuse` is in force, and expects what holds whatever is refused.
Outcome run(const Operation* operation, const Layout& layout, const std::function<void(Scene&)>& refuse)
{
    Scene scene(layout);
    std::vector<uint8_t> headers = scene.headers();
    std::vector<OrvImage*> images = scene.pointers();
    Reports reports;
    int blocks = testheap::blocks();
    refuse(scene);
    if (operation)
        operation->call(images.data());
    bool refused = testheap::refused() || scene.log.refused;
    testheap::refuse(0);
    Outcome outcome = {{}, reports.take(), {}};
    EXPECT_EQ(testheap::blocks(), blocks);
    EXPECT_TRUE(scene.headers() == headers) << "a header was changed";
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(!outcome.reports.empty(), refused) << outcome.reports;
    int open = scene.log.refused ? -1 : 0;
    for (const TileLog::Call& call : scene.log.calls) {
        open += call.mode == ORV_TILE_RELEASE ? -1 : 1;
        outcome.calls.push_back(TileLog{{call}}.text());
    }
    EXPECT_EQ(scene.openTiles(), open);
    for (const auto& picture : scene.all())
        outcome.values.push_back(picture->values());
    return outcome;
}

// Every value is the one before or the one after the call.
void expectBetween(const Outcome& got, const Outcome& before, const Outcome& after)
{
    for (size_t i = 0; i < got.values.size(); ++i)
        for (size_t j = 0; j < got.values[i].size(); ++j)
            ASSERT_TRUE(got.values[i][j] == before.values[i][j] || got.values[i][j] == after.values[i][j])
                << "picture " << i << " value " << j;
}

// The calls of a provider until the n-th tile is opened.
std::vector<std::string> callsUntil(const std::vector<std::string>& calls, int n)
{
    auto end = std::ranges::find_if(
        calls, [&](const std::string& call) { return call.find("release") == std::string::npos && --n == 0; });
    return {calls.begin(), end == calls.end() ? end : end + 1};
}

}  // namespace

bool expectNothingLost(const Operation& operation, const Layout& layout, const RefusalOptions& options)
{
    const auto nothing = [](Scene&) {};
    Outcome before = run(nullptr, layout, nothing), after = run(&operation, layout, nothing);
    bool any = false;
    // True if something was refused, so that there may be more.
    auto refuse = [&](const std::string& what, const std::function<void(Scene&)>& how, int tile) {
        SCOPED_TRACE(what);
        Outcome outcome = run(&operation, layout, how);
        if (!options.bySteps)
            expectBetween(outcome, before, after);
        if (outcome.reports.empty()) {
            EXPECT_TRUE(outcome.values == after.values && outcome.calls == after.calls);
            return false;
        }
        EXPECT_TRUE(outcome.reports.ends_with(options.report)) << outcome.reports;
        EXPECT_TRUE(tile || !options.toldApart || outcome.reports.find("tile") == std::string::npos) << outcome.reports;
        EXPECT_TRUE(!tile || callsUntil(outcome.calls, tile) == callsUntil(after.calls, tile));
        any = true;
        return !testing::Test::HasFailure();
    };
    constexpr int most = 1000;
    for (bool all : {false, true})
        for (int n = 1; n < most; ++n)
            if (!refuse(
                    "allocation " + std::to_string(n) + (all ? " and those after it" : ""),
                    [&](Scene&) { testheap::refuse(n, all); }, 0))
                break;
    for (int n = 1; n < most; ++n)
        if (!refuse(
                "tile " + std::to_string(n), [&](Scene& scene) { scene.log.refuse = n; }, n))
            break;
    return any;
}

void forRefusalLayouts(const Operation& operation, const std::function<void(const Layout& layout)>& visit)
{
    int last = operation.sources;
    bool mayBeInPlace = operation.inPlace && last > 0 && operation.sourceDepth == operation.resultDepth;
    bool single = operation.sourceDepth == ORV_DEPTH_1U || (operation.resultDepth == ORV_DEPTH_1U && !operation.test);
    for (int kind = 0; kind < 8; ++kind) {
        bool tiled = kind & 1, masked = kind & 2, inPlace = kind & 4;
        if (inPlace && !mayBeInPlace)
            continue;
        Layout layout;
        for (int i = 0; i <= last; ++i) {
            uint32_t depth = i == last ? operation.resultDepth : operation.sourceDepth;
            bool one = single || depth == ORV_DEPTH_1U;
            PictureSpec spec = {.depth = depth,
                                .channels = one ? 1 : 3 + i % 2,
                                .alpha = one ? 0 : 4 * (i % 2),
                                .width = 30,
                                .height = 20,
                                .roi = OrvROI{0, 3 + 4 * i, 1 + 2 * i, 17, 13},
                                .tileWidth = tiled ? 8 + 8 * (i % 2) : 0,
                                .tileHeight = tiled ? 8 : 0,
                                .extraStep = 1 + 2 * i,
                                .offset = 1 + 2 * i,
                                .seed = uint64_t(i + 1)};
            PictureSpec mask = {.depth = ORV_DEPTH_1U,
                                .width = 24,
                                .height = 16,
                                .roi = OrvROI{0, 2 * i + 1, i, 17, 13},
                                .seed = uint64_t(i + 7)};
            layout.images.push_back(
                {spec, inPlace && i == last ? 0 : i, masked ? std::optional(mask) : std::nullopt, i});
        }
        SCOPED_TRACE(std::string(operation.name) + (tiled ? " tiled" : "") + (masked ? " masked" : "") +
                     (inPlace ? " in place" : ""));
        visit(layout);
        if (testing::Test::HasFailure())
            return;
    }
}

void expectNothingLost(const Operation& operation, const RefusalOptions& options)
{
    bool any = false;
    forRefusalLayouts(operation, [&](const Layout& layout) { any |= expectNothingLost(operation, layout, options); });
    EXPECT_TRUE(any) << operation.name << ": nothing was refused";
}
