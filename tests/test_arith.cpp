// Two-image arithmetic and logic.
#include <gtest/gtest.h>

#include "model.h"
#include "reports.h"
#include "testheap.h"

namespace {

using TwoImages = void(ORV_CALL*)(OrvImage* a, OrvImage* b, OrvImage* d);

struct Member {
    const char* name;
    TwoImages call;
    const char* nameAtBits;  // who reports at 1U
    const char* nullReport;  // of a NULL first image
    bool floats;
    Rule (*rule)(uint32_t depth);
};

Rule addRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a + b; });
}
Rule subtractRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a - b; });
}
Rule multiplyRule(uint32_t depth)
{
    return onNumbers(depth, [](double a, double b) { return a * b; });
}
Rule andRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a & b; };
}
Rule orRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a | b; };
}
Rule xorRule(uint32_t)
{
    return [](uint32_t a, uint32_t b) { return a ^ b; };
}

const Member members[] = {
    {"orvAdd", orvAdd, "orvOr", "-5 orvAdd srcImageA==0\n", true, addRule},
    {"orvSubtract", orvSubtract, "orvSubtract", "-9 orvSubtract Incorrect Image\n", true, subtractRule},
    {"orvMultiply", orvMultiply, "orvAnd", "-5 orvMultiply srcImageA==0\n", true, multiplyRule},
    {"orvAnd", orvAnd, "orvAnd", "-9 orvAnd Incorrect Image\n", false, andRule},
    {"orvOr", orvOr, "orvOr", "-9 orvOr Incorrect Image\n", false, orRule},
    {"orvXor", orvXor, "orvXor", "-9 orvXor Incorrect Image\n", false, xorRule},
};

std::string reporter(const Member& member, uint32_t depth)
{
    return depth == ORV_DEPTH_1U ? member.nameAtBits : member.name;
}

}  // namespace

TEST(Arith, IsAsTheModelInEveryLayout)
{
    for (const Member& member : members)
        for (uint32_t depth : allDepths) {
            if (depth == ORV_DEPTH_32F && !member.floats)
                continue;
            Operation operation = {.name = member.name, .sources = 2, .sourceDepth = depth, .resultDepth = depth};
            operation.rule = member.rule(depth);
            operation.call = [&](OrvImage* const* images) { member.call(images[0], images[1], images[2]); };
            operation.walk = [&](const Scene& scene) {
                return bandWalk(scene, reporter(member, depth), {"srcImageA", "srcImageB", "dstImage"});
            };
            operation.seed = depth * 31 + uint64_t(&member - members);
            runMatrix(operation);
            if (HasFailure())
                return;
        }
}
