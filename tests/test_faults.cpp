// What is left when memory or a tile is refused, or a failure came before: every operation, at every allocation and tile.
#include <gtest/gtest.h>

#include <algorithm>

#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

using Call = std::function<void(OrvImage* a, OrvImage* b, OrvImage* d)>;

// What an operation does when the thread's status is negative before.
enum Stale { works, stops };

struct Case {
    const char* name;
    int sources;
    uint32_t sourceDepth;
    uint32_t resultDepth;
    Call call;
    Stale stale = works;
    const char* staleReport = "";  // where a negative status afterwards is reported, whoever stored it
};

template <class Function>
Call twoSources(Function function)
{
    return [=](OrvImage* a, OrvImage* b, OrvImage* d) { function(a, b, d); };
}

template <class Function, class... Scalars>
Call oneSource(Function function, Scalars... scalars)
{
    return [=](OrvImage* a, OrvImage*, OrvImage* d) { function(a, d, scalars...); };
}

std::vector<Case> everyOperation()
{
    constexpr uint32_t bits = ORV_DEPTH_1U, bytes = ORV_DEPTH_8U, chars = ORV_DEPTH_8S, ints = ORV_DEPTH_32S,
                       floats = ORV_DEPTH_32F;
    auto set = [](int32_t value) { return [=](OrvImage*, OrvImage*, OrvImage* d) { orvSet(d, value); }; };
    return {
        {"orvAdd", 2, bytes, bytes, twoSources(orvAdd)},
        {"orvAdd bits", 2, bits, bits, twoSources(orvAdd)},
        {"orvSubtract", 2, ints, ints, twoSources(orvSubtract)},
        {"orvSubtract bits", 2, bits, bits, twoSources(orvSubtract)},
        {"orvMultiply", 2, floats, floats, twoSources(orvMultiply)},
        {"orvAnd", 2, bytes, bytes, twoSources(orvAnd)},
        {"orvOr bits", 2, bits, bits, twoSources(orvOr)},
        {"orvXor", 2, ints, ints, twoSources(orvXor)},
        {"orvAddS", 1, bytes, bytes, oneSource(orvAddS, 9)},
        {"orvSubtractS", 1, chars, chars, oneSource(orvSubtractS, 9, 1)},
        {"orvMultiplyS", 1, ints, ints, oneSource(orvMultiplyS, 9)},
        {"orvAndS", 1, bytes, bytes, oneSource(orvAndS, 0x5A)},
        {"orvOrS bits", 1, bits, bits, oneSource(orvOrS, 1)},
        {"orvXorS", 1, bytes, bytes, oneSource(orvXorS, 0x5A)},
        {"orvLShiftS", 1, bytes, bytes, oneSource(orvLShiftS, 3u)},
        {"orvRShiftS", 1, chars, chars, oneSource(orvRShiftS, 3u)},
        {"orvAddSFP", 1, floats, floats, oneSource(orvAddSFP, 9.0f)},
        {"orvSubtractSFP", 1, floats, floats, oneSource(orvSubtractSFP, 9.0f, 1)},
        {"orvMultiplySFP", 1, floats, floats, oneSource(orvMultiplySFP, 9.0f)},
        {"orvNot bits", 1, bits, bits, oneSource(orvNot)},
        {"orvSquare", 1, bytes, bytes, oneSource(orvSquare)},
        {"orvAbs", 1, chars, chars, oneSource(orvAbs), stops},
        {"orvAbs unsigned", 1, bytes, bytes, oneSource(orvAbs), stops},
        {"orvCopy", 1, bytes, bytes, oneSource(orvCopy), stops},
        {"orvCopy bits", 1, bits, bits, oneSource(orvCopy), stops},
        {"orvExchange", 1, ints, ints, oneSource(orvExchange), stops},
        {"orvExchange bits", 1, bits, bits, oneSource(orvExchange), stops},
        {"orvSet", 0, bytes, bytes, set(7)},
        {"orvSet bits", 0, bits, bits, set(0), works, "-1 orvSet \n"},
        {"orvSetFP", 0, floats, floats, [](OrvImage*, OrvImage*, OrvImage* d) { orvSetFP(d, 7.0f); }, works,
         "-1 orvSetFP \n"},
        {"orvLess", 2, bytes, bits, twoSources(orvLess)},
        {"orvEqual bits", 2, bits, bits, twoSources(orvEqual)},
        {"orvEqualFPEps", 2, floats, bits, [](OrvImage* a, OrvImage* b, OrvImage* d) { orvEqualFPEps(a, b, d, 0.5f); }},
        {"orvGreaterS", 1, ints, bits, [](OrvImage* a, OrvImage*, OrvImage* d) { orvGreaterS(a, 9, d); }},
        {"orvLessSFP", 1, floats, bits, [](OrvImage* a, OrvImage*, OrvImage* d) { orvLessSFP(a, 9.0f, d); }},
        {"orvThreshold", 1, bytes, ints, oneSource(orvThreshold, 99)},
    };
}

// Tiled images that cut each other's tiles, each under a mask with a region of its own.
Layout layoutOf(const Case& one, bool tiled, bool masked)
{
    Layout layout;
    for (int i = 0; i <= one.sources; ++i) {
        bool last = i == one.sources;
        uint32_t depth = last ? one.resultDepth : one.sourceDepth;
        bool single = depth == ORV_DEPTH_1U;
        PictureSpec spec = {.depth = depth,
                            .channels = single ? 1 : 3 + i % 2,
                            .alpha = single ? 0 : 4 * (i % 2),
                            .width = 30,
                            .height = 20,
                            .roi = OrvROI{0, 3 + 4 * i, 1 + 2 * i, 17, 13},
                            .tileWidth = tiled ? 8 + 8 * (i % 2) : 0,
                            .tileHeight = tiled ? 8 : 0,
                            .seed = uint64_t(i + 1)};
        PictureSpec mask = {.depth = ORV_DEPTH_1U,
                            .width = 24,
                            .height = 16,
                            .roi = OrvROI{0, 2 * i + 1, i, 17, 13},
                            .seed = uint64_t(i + 7)};
        layout.images.push_back({spec, i, masked ? std::optional(mask) : std::nullopt, i});
    }
    return layout;
}

struct Outcome {
    std::vector<std::vector<uint32_t>> values;  // of all pictures
    std::string reports;
    std::vector<std::string> calls;  // of the tile provider
};

// Runs the case while `refuse` is in force, and expects what holds whatever is refused: no leak, no change of a header or
// of what a provider must not see changed, and as many open tiles as the log tells.
Outcome run(const Case& one, const Layout& layout, const std::function<void(Scene&)>& refuse)
{
    Scene scene(layout);
    std::vector<uint8_t> headers = scene.headers();
    std::vector<OrvImage*> images = scene.pointers();
    Reports reports;
    int blocks = testheap::blocks();
    refuse(scene);
    one.call(images[0], images[images.size() > 2 ? 1 : 0], images.back());
    Outcome outcome = {{}, reports.take(), {}};
    bool refused = testheap::refused();
    testheap::refuse(0);
    EXPECT_EQ(testheap::blocks(), blocks);
    EXPECT_TRUE(scene.headers() == headers);
    EXPECT_EQ(scene.faults(), "");
    EXPECT_EQ(outcome.reports.empty(), !refused && !scene.log.refused);
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

// Bits under a mask are copied in steps, and where a tile does not come between them something else is left.
bool hasSteps(const Case& one, const Layout& layout)
{
    return one.name == std::string("orvCopy bits") && layout.images[0].mask;
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

const Call nothing = [](OrvImage*, OrvImage*, OrvImage*) {};

void forEveryLayout(const std::function<void(const Case& one, const Layout& layout)>& body)
{
    for (const Case& one : everyOperation())
        for (bool tiled : {false, true})
            for (bool masked : {false, true}) {
                SCOPED_TRACE(std::string(one.name) + (tiled ? " tiled" : "") + (masked ? " masked" : ""));
                body(one, layoutOf(one, tiled, masked));
                if (testing::Test::HasFailure())
                    return;
            }
}

}  // namespace

TEST(Faults, EveryAllocationMayFail)
{
    forEveryLayout([](const Case& one, const Layout& layout) {
        Outcome before = run({"", 0, 0, 0, nothing}, layout, [](Scene&) {});
        Outcome after = run(one, layout, [](Scene&) {});
        for (bool all : {false, true})
            for (int n = 1;; ++n) {
                SCOPED_TRACE("allocation " + std::to_string(n) + (all ? " and those after it" : ""));
                Outcome outcome = run(one, layout, [&](Scene&) { testheap::refuse(n, all); });
                expectBetween(outcome, before, after);
                if (outcome.reports.empty()) {
                    EXPECT_TRUE(outcome.values == after.values);
                    break;
                }
                ASSERT_LT(n, 100);
            }
    });
}

TEST(Faults, EveryTileMayBeRefused)
{
    forEveryLayout([](const Case& one, const Layout& layout) {
        Outcome before = run({"", 0, 0, 0, nothing}, layout, [](Scene&) {});
        Outcome after = run(one, layout, [](Scene&) {});
        for (int n = 1;; ++n) {
            SCOPED_TRACE("tile " + std::to_string(n));
            Outcome outcome = run(one, layout, [&](Scene& scene) { scene.log.refuse = n; });
            if (!hasSteps(one, layout))
                expectBetween(outcome, before, after);
            if (outcome.reports.empty()) {
                EXPECT_TRUE(outcome.values == after.values);
                EXPECT_EQ(outcome.calls, after.calls);
                break;
            }
            EXPECT_EQ(callsUntil(outcome.calls, n), callsUntil(after.calls, n));
            ASSERT_LT(n, 200);
        }
    });
}

// A thread that has failed and not said so to the library: some operations stand still, and none of the others.
TEST(Faults, AnOldStatusStopsFewOperations)
{
    forEveryLayout([](const Case& one, const Layout& layout) {
        Outcome before = run({"", 0, 0, 0, nothing}, layout, [](Scene&) {});
        Outcome after = run(one, layout, [](Scene&) {});
        bool masked = layout.images[0].mask.has_value();
        bool bits = one.resultDepth == ORV_DEPTH_1U;
        if (masked && one.name == std::string("orvThreshold"))
            return;  // its test tells what it makes of it
        Scene scene(layout);
        std::vector<OrvImage*> images = scene.pointers();
        Reports reports;
        orvSetErrStatus(-7);
        one.call(images[0], images[images.size() > 2 ? 1 : 0], images.back());
        // Bits without a mask are filled without the logic operations.
        EXPECT_EQ(reports.take(), bits && !masked ? "" : one.staleReport);
        EXPECT_EQ(orvGetErrStatus(), -7);
        EXPECT_EQ(scene.log.calls.empty(), one.stale == stops || !layout.images[0].spec.tileWidth);
        std::vector<std::vector<uint32_t>> values;
        for (const auto& picture : scene.all())
            values.push_back(picture->values());
        EXPECT_TRUE(values == (one.stale == stops ? before : after).values);
    });
}
