// What is left when memory or a tile is refused, or a failure came before: every pointwise operation.
#include <gtest/gtest.h>

#include "refusals.h"
#include "reports.h"

namespace {

// What an operation does when the thread's status is negative before.
enum Stale { works, stops };

struct Case {
    Operation operation;
    Stale stale = works;
    const char* staleReport = "";  // where a negative status afterwards is reported, whoever stored it
};

constexpr uint32_t bits = ORV_DEPTH_1U, bytes = ORV_DEPTH_8U, chars = ORV_DEPTH_8S, ints = ORV_DEPTH_32S,
                   floats = ORV_DEPTH_32F;

Operation named(const char* name, int sources, uint32_t from, uint32_t to)
{
    Operation operation = {.name = name, .sources = sources, .sourceDepth = from, .resultDepth = to};
    operation.test = from != bits && to == bits;
    operation.inPlace = from == to;
    return operation;
}

template <class Function>
Operation twoSources(const char* name, uint32_t from, uint32_t to, Function function)
{
    Operation operation = named(name, 2, from, to);
    operation.call = [=](OrvImage* const* images) { function(images[0], images[1], images[2]); };
    return operation;
}

template <class Function, class... Scalars>
Operation oneSource(const char* name, uint32_t from, uint32_t to, Function function, Scalars... scalars)
{
    Operation operation = named(name, 1, from, to);
    operation.call = [=](OrvImage* const* images) { function(images[0], images[1], scalars...); };
    return operation;
}

template <class Function, class Value>
Operation noSource(const char* name, uint32_t depth, Function function, Value value)
{
    Operation operation = named(name, 0, depth, depth);
    operation.call = [=](OrvImage* const* images) { function(images[0], value); };
    return operation;
}

Operation notInPlace(Operation operation)
{
    operation.inPlace = false;
    return operation;
}

std::vector<Case> everyOperation()
{
    auto equalEps = [](OrvImage* a, OrvImage* b, OrvImage* d) { orvEqualFPEps(a, b, d, 0.5f); };
    auto greater = [](OrvImage* a, OrvImage* d) { orvGreaterS(a, 9, d); };
    auto less = [](OrvImage* a, OrvImage* d) { orvLessSFP(a, 9.0f, d); };
    return {
        {twoSources("orvAdd", bytes, bytes, orvAdd)},
        {twoSources("orvAdd bits", bits, bits, orvAdd)},
        {twoSources("orvSubtract", ints, ints, orvSubtract)},
        {twoSources("orvSubtract bits", bits, bits, orvSubtract)},
        {twoSources("orvMultiply", floats, floats, orvMultiply)},
        {twoSources("orvAnd", bytes, bytes, orvAnd)},
        {twoSources("orvOr bits", bits, bits, orvOr)},
        {twoSources("orvXor", ints, ints, orvXor)},
        {oneSource("orvAddS", bytes, bytes, orvAddS, 9)},
        {oneSource("orvSubtractS", chars, chars, orvSubtractS, 9, 1)},
        {oneSource("orvMultiplyS", ints, ints, orvMultiplyS, 9)},
        {oneSource("orvAndS", bytes, bytes, orvAndS, 0x5A)},
        {oneSource("orvOrS bits", bits, bits, orvOrS, 1)},
        {oneSource("orvXorS", bytes, bytes, orvXorS, 0x5A)},
        {oneSource("orvLShiftS", bytes, bytes, orvLShiftS, 3u)},
        {oneSource("orvRShiftS", chars, chars, orvRShiftS, 3u)},
        {oneSource("orvAddSFP", floats, floats, orvAddSFP, 9.0f)},
        {oneSource("orvSubtractSFP", floats, floats, orvSubtractSFP, 9.0f, 1)},
        {oneSource("orvMultiplySFP", floats, floats, orvMultiplySFP, 9.0f)},
        {oneSource("orvNot bits", bits, bits, orvNot)},
        {oneSource("orvSquare", bytes, bytes, orvSquare)},
        {oneSource("orvAbs", chars, chars, orvAbs), stops},
        {notInPlace(oneSource("orvAbs unsigned", bytes, bytes, orvAbs)), stops},
        {notInPlace(oneSource("orvCopy", bytes, bytes, orvCopy)), stops},
        {notInPlace(oneSource("orvCopy bits", bits, bits, orvCopy)), stops},
        {notInPlace(oneSource("orvExchange", ints, ints, orvExchange)), stops},
        {notInPlace(oneSource("orvExchange bits", bits, bits, orvExchange)), stops},
        {noSource("orvSet", bytes, orvSet, 7)},
        {noSource("orvSet bits", bits, orvSet, 0), works, "-1 orvSet \n"},
        {noSource("orvSetFP", floats, orvSetFP, 7.0f), works, "-1 orvSetFP \n"},
        {twoSources("orvLess", bytes, bits, orvLess)},
        {notInPlace(twoSources("orvEqual bits", bits, bits, orvEqual))},
        {twoSources("orvEqualFPEps", floats, bits, equalEps)},
        {oneSource("orvGreaterS", ints, bits, greater)},
        {oneSource("orvLessSFP", floats, bits, less)},
        {oneSource("orvThreshold", bytes, ints, orvThreshold, 99)},
    };
}

}  // namespace

TEST(Faults, LoseNothingWhereMemoryOrATileIsRefused)
{
    for (const Case& one : everyOperation())
        forRefusalLayouts(one.operation, [&](const Layout& layout) {
            // Bits under a mask are copied in steps, and where a tile does not come between them something else is
            // left.
            bool bySteps = one.operation.name == std::string("orvCopy bits") && layout.images[0].mask;
            expectNothingLost(one.operation, layout, {.bySteps = bySteps});
        });
}

// A thread that has failed and not said so to the library: some operations stand still, and none of the others.
TEST(Faults, AnOldStatusStopsFewOperations)
{
    for (const Case& one : everyOperation())
        forRefusalLayouts(one.operation, [&](const Layout& layout) {
            bool masked = layout.images[0].mask.has_value();
            bool isBits = one.operation.resultDepth == bits;
            if (masked && one.operation.name == std::string("orvThreshold"))
                return;  // its test tells what it makes of it
            Scene scene(layout), expected(layout);
            Reports reports;
            if (one.stale == works)
                one.operation.call(expected.pointers().data());
            orvSetErrStatus(-7);
            one.operation.call(scene.pointers().data());
            // Bits without a mask are filled without the logic operations.
            EXPECT_EQ(reports.take(), isBits && !masked ? "" : one.staleReport);
            EXPECT_EQ(orvGetErrStatus(), -7);
            EXPECT_EQ(scene.log.calls.empty(), one.stale == stops || !layout.images[0].spec.tileWidth);
            for (size_t i = 0; i < scene.all().size(); ++i)
                EXPECT_TRUE(scene.all()[i]->values() == expected.all()[i]->values()) << "picture " << i;
        });
}
