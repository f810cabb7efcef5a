// The row kernels of every level that the machine has: against naive loops, and against themselves one value at a time.
#include <gtest/gtest.h>

#include <cstring>

#include "core/kernels/ownrows.h"
#include "picture.h"
#include "pointwise/kernels/ownarith.h"
#include "pointwise/kernels/owncompare.h"
#include "pointwise/kernels/ownscalar.h"
#include "pointwise/kernels/ownthreshold.h"

namespace {

struct Tables {
    const char* level;
    const OwnRowKernels& rows;
    const OwnArithKernels& arith;
    const OwnScalarKernels& scalar;
    const OwnCompareKernels& compare;
    const OwnThresholdKernels& threshold;
};

#define TABLES(level)                                                                                \
    level::ownRowKernels, level::ownArithKernels, level::ownScalarKernels, level::ownCompareKernels, \
        level::ownThresholdKernels

const Tables base = {"base", TABLES(ownBase)};

std::vector<Tables> levels()
{
    std::vector<Tables> all = {base};
#if OWN_HAS_V3
    OwnLevel used = ownLevel();
    if (ownForceLevel(OwnLevel::v3))
        all.push_back({"v3", TABLES(ownV3)});
    ownForceLevel(used);
#endif
    return all;
}

const int valueBytes[OWN_DEPTHS] = {1, 1, 1, 2, 2, 4, 4};

// Values at any alignment, which end where their block of memory ends, so that the sanitizer sees every step beyond.
// No block is empty, so that no address is NULL.
class Values {
public:
    Values(ptrdiff_t n, int valueSize, Random& random)
        : size(valueSize), first(random.between(1, 17) * size), block(size_t(first + n * size))
    {
        for (uint8_t& byte : block)
            byte = uint8_t(random.bits() >> 11);
    }
    uint8_t* at(ptrdiff_t i) { return block.data() + first + i * size; }
    operator uint8_t*() { return at(0); }
    bool operator==(const Values&) const = default;
    // Keeps 32-bit floats finite.
    void tame()
    {
        for (size_t i = 3; i < block.size(); i += 4)
            block[i] &= 0xBF;
    }

private:
    int size;
    ptrdiff_t first;
    std::vector<uint8_t> block;
};

// Room for n bits from bit `bit` on.
Values bitRow(int bit, ptrdiff_t n, Random& random)
{
    return Values((bit + n + 7) / 8, 1, random);
}

bool bitAt(const uint8_t* bits, ptrdiff_t i)
{
    return bits[i >> 3] & (128 >> (i & 7));
}

void setBitAt(uint8_t* bits, ptrdiff_t i, bool set)
{
    uint8_t mask = uint8_t(128 >> (i & 7));
    bits[i >> 3] = uint8_t(set ? bits[i >> 3] | mask : bits[i >> 3] & ~mask);
}

// Lengths around those where kernels change their ways, which are powers of two.
std::vector<ptrdiff_t> lengths()
{
    std::vector<ptrdiff_t> all;
    for (ptrdiff_t n = 0; n < 20; ++n)
        all.push_back(n);
    for (ptrdiff_t power : {32, 64, 128, 256, 1024})
        for (ptrdiff_t around : {-1, 0, 1, 7})
            all.push_back(power + around);
    all.push_back(2100);
    return all;
}

// ---- Kernels on values --------------------------------------------------------------------------------------------

struct RowCase {
    std::string name;
    const OwnRowKernel& kernel;
    const OwnRowKernel& reference;
    int sourceBytes, resultBytes;
    int sources;
    const void* scalar;
    bool floats = false;
};

// One row in all the ways that the kernel has.
void checkRow(const RowCase& one, ptrdiff_t n, Random& random)
{
    Values a(n, one.sourceBytes, random), b(n, one.sourceBytes, random), before(n, one.resultBytes, random);
    if (one.floats)
        a.tame(), b.tame();
    auto second = [&](ptrdiff_t i) { return one.sources > 1 ? b.at(i) : one.scalar; };
    auto size = size_t(one.resultBytes);
    int bit = random.below(8);
    Values bits = bitRow(bit, n, random), lanes(n, one.resultBytes, random), whole = before, blended = before;
    for (ptrdiff_t i = 0; i < n; ++i) {
        one.reference.run({a.at(i), second(i), whole.at(i), 1});
        bool set = bitAt(bits, bit + i);
        memset(lanes.at(i), set ? 0xFF : 0, size);
        if (set)
            memcpy(blended.at(i), whole.at(i), size);
    }
    auto expect = [&](const Values& expected, const char* way, auto call) {
        Values got = before;
        call(got.at(0));
        EXPECT_TRUE(got == expected) << one.name << ' ' << way << ' ' << n << " from bit " << bit;
    };
    expect(whole, "run", [&](uint8_t* d) { one.kernel.run({a, second(0), d, n}); });
    if (one.sourceBytes == one.resultBytes && one.sources > 0)
        expect(whole, "run in place", [&](uint8_t* d) {
            memcpy(d, a, size_t(n) * size);
            one.kernel.run({d, second(0), d, n});
        });
    expect(blended, "select", [&](uint8_t* d) { one.kernel.select(a, second(0), d, lanes, n); });
    if (one.kernel.masked && n >= OWN_MASKED_LEAST)
        expect(blended, "masked", [&](uint8_t* d) { one.kernel.masked(a, second(0), d, bits, bit, n); });
}

void checkRows(const RowCase& one, Random& random)
{
    ASSERT_EQ(one.kernel.run == nullptr, one.reference.run == nullptr) << one.name;
    if (!one.kernel.run)
        return;
    for (ptrdiff_t n : lengths())
        for (int other = 0; other < 2; ++other)  // values and alignments
            checkRow(one, n, random);
}

}  // namespace

TEST(Kernels, RowsAreAsTheirValues)
{
    Random random(1);
    for (const Tables& level : levels()) {
        auto check = [&](const char* name, const OwnRowKernel* kernels, const OwnRowKernel* references, int sources) {
            for (int depth = 0; depth < OWN_DEPTHS; ++depth) {
                int32_t integer = 3;
                float real = 1.5f;
                const void* scalar = depth == OWN_32F ? static_cast<const void*>(&real) : &integer;
                checkRows({std::string(level.level) + ' ' + name + ' ' + std::to_string(depth), kernels[depth],
                           references[depth], valueBytes[depth], valueBytes[depth], sources, scalar, depth == OWN_32F},
                          random);
            }
        };
        check("add", level.arith.add, base.arith.add, 2);
        check("subtract", level.arith.subtract, base.arith.subtract, 2);
        check("multiply", level.arith.multiply, base.arith.multiply, 2);
        check("and", level.arith.bitAnd, base.arith.bitAnd, 2);
        check("or", level.arith.bitOr, base.arith.bitOr, 2);
        check("xor", level.arith.bitXor, base.arith.bitXor, 2);
        check("add value", level.scalar.add, base.scalar.add, 1);
        check("subtract value", level.scalar.subtract, base.scalar.subtract, 1);
        check("subtract from value", level.scalar.reverse, base.scalar.reverse, 1);
        check("multiply by value", level.scalar.multiply, base.scalar.multiply, 1);
        check("and value", level.scalar.bitAnd, base.scalar.bitAnd, 1);
        check("or value", level.scalar.bitOr, base.scalar.bitOr, 1);
        check("xor value", level.scalar.bitXor, base.scalar.bitXor, 1);
        check("sign", level.scalar.signLimit, base.scalar.signLimit, 1);
        check("shift left", level.scalar.shiftLeft, base.scalar.shiftLeft, 1);
        check("shift right", level.scalar.shiftRight, base.scalar.shiftRight, 1);
        check("square", level.scalar.square, base.scalar.square, 1);
        check("absolute", level.scalar.absolute, base.scalar.absolute, 1);
        check("copy", level.rows.copy, base.rows.copy, 1);
        check("fill", level.rows.fill, base.rows.fill, 0);
        OwnSlide slide = {77, 0x80, 0x7F};
        for (int i : {0, 1}) {
            std::string name = std::string(level.level) + " slide " + std::to_string(i);
            checkRows({name, level.scalar.slideUp[i], base.scalar.slideUp[i], i + 1, i + 1, 1, &slide}, random);
            checkRows({name, level.scalar.slideDown[i], base.scalar.slideDown[i], i + 1, i + 1, 1, &slide}, random);
        }
        OwnCut cut = {99, 0x80};
        for (int from = OWN_8U; from <= OWN_32S; ++from)
            for (int size = 0; size < 3; ++size)
                checkRows({std::string(level.level) + " threshold " + std::to_string(from) + std::to_string(size),
                           level.threshold.values[from][size], base.threshold.values[from][size], valueBytes[from],
                           1 << size, 1, &cut},
                          random);
    }
}

TEST(Kernels, TestsAreAsTheirValues)
{
    Random random(2);
    auto check = [&](const std::string& name, const OwnTestKernel& kernel, const OwnTestKernel& reference, int depth,
                     int sources) {
        ASSERT_EQ(kernel.bits == nullptr, reference.bits == nullptr) << name;
        if (!kernel.bits)
            return;
        int bytes = valueBytes[depth];
        OwnCut integer = {3, 0};  // begins with the integer that other tests take
        OwnNearness real = {1.5f, 0.5f};
        const void* scalar = depth == OWN_32F ? static_cast<const void*>(&real) : &integer;
        for (ptrdiff_t n : lengths()) {
            Values a(n, bytes, random), b(n, bytes, random);
            // Equal values are rare among random ones.
            for (ptrdiff_t i = 0; i < n; i += 3)
                memcpy(b.at(i), a.at(i), size_t(bytes));
            auto second = [&](ptrdiff_t i) { return sources > 1 ? b.at(i) : nullptr; };
            int bit = random.below(8), maskBit = random.below(8);
            Values expected(n, 1, random), got = expected, mask = bitRow(maskBit, n, random);
            Values bits = bitRow(bit, n, random), expectedBits = bits, masked = bits, expectedMasked = bits;
            for (ptrdiff_t i = 0; i < n; ++i) {
                reference.lanes(a.at(i), second(i), scalar, expected.at(i), 1);
                setBitAt(expectedBits, bit + i, *expected.at(i));
                if (bitAt(mask, maskBit + i))
                    setBitAt(expectedMasked, bit + i, *expected.at(i));
            }
            kernel.lanes(a, second(0), scalar, got, n);
            EXPECT_TRUE(got == expected) << name << " lanes " << n;
            kernel.bits({a, second(0), scalar, {bits, bit}, n});
            EXPECT_TRUE(bits == expectedBits) << name << " bits " << n << " from bit " << bit;
            kernel.bits({a, second(0), scalar, {masked, bit, mask, maskBit}, n});
            EXPECT_TRUE(masked == expectedMasked) << name << " masked bits " << n << " from bit " << bit;
        }
    };
    using Compare = OwnCompareKernels;
    for (const Tables& level : levels())
        for (int depth = OWN_8U; depth < OWN_DEPTHS; ++depth) {
            std::string place = std::string(level.level) + " depth " + std::to_string(depth);
            auto compare = [&](OwnComparison Compare::*member, const char* name, int sources) {
                check(place + name, (level.compare.*member).values[depth], (base.compare.*member).values[depth], depth,
                      sources);
            };
            compare(&Compare::less, " less", 2);
            compare(&Compare::greater, " greater", 2);
            compare(&Compare::equal, " equal", 2);
            compare(&Compare::near, " near", 2);
            compare(&Compare::lessScalar, " less than value", 1);
            compare(&Compare::greaterScalar, " greater than value", 1);
            compare(&Compare::equalScalar, " equal to value", 1);
            compare(&Compare::nearScalar, " near value", 1);
            check(place + " threshold", level.threshold.bits[depth], base.threshold.bits[depth], depth, 1);
        }
}

namespace {

struct BitCase {
    const char* name;
    const OwnRowKernel& kernel;
    int sources;
    const void* scalar;
    bool (*rule)(bool a, bool b);  // without a second source of a and the scalar's bits, which are set
};

// Rows of bits in all phases, with a mask and without, and in place.
void checkBits(const BitCase& one, ptrdiff_t n, Random& random)
{
    int aBit = random.below(8), bBit = random.below(8), dBit = random.below(8), maskBit = random.below(8);
    constexpr int count = 3;
    ptrdiff_t aStep = (aBit + n + 7) / 8 + random.below(3), bStep = (bBit + n + 7) / 8 + random.below(3),
              dStep = (dBit + n + 7) / 8 + random.below(3), maskStep = (maskBit + n + 7) / 8 + random.below(3);
    // Room for rows that end with the last one's bits.
    auto room = [&](int bit, ptrdiff_t step) { return Values((count - 1) * step + (bit + n + 7) / 8, 1, random); };
    Values a = room(aBit, aStep), b = room(bBit, bStep), before = room(dBit, dStep), mask = room(maskBit, maskStep);
    for (bool masked : {false, true})
        for (bool inPlace : {false, true}) {
            if (inPlace && one.sources == 0)
                continue;
            uint8_t* x = inPlace ? before.at(0) : a.at(0);
            int xBit = inPlace ? dBit : aBit;
            ptrdiff_t xStep = inPlace ? dStep : aStep;
            Values expected = before, got = before;
            for (ptrdiff_t y = 0; y < count; ++y)
                for (ptrdiff_t i = 0; i < n; ++i)
                    if (!masked || bitAt(mask.at(y * maskStep), maskBit + i))
                        setBitAt(expected.at(y * dStep), dBit + i,
                                 one.rule(bitAt(x + y * xStep, xBit + i),
                                          one.sources < 2 || bitAt(b.at(y * bStep), bBit + i)));
            one.kernel.bits({.a = inPlace ? got.at(0) : a.at(0),
                             .aBit = xBit,
                             .b = b,
                             .bBit = bBit,
                             .scalar = one.scalar,
                             .to = {got, dBit, masked ? mask.at(0) : nullptr, maskBit},
                             .n = n,
                             .count = count,
                             .aStep = xStep,
                             .bStep = bStep,
                             .bitStep = dStep,
                             .maskStep = maskStep});
            ASSERT_TRUE(got == expected) << one.name << ' ' << n << " from bits " << xBit << ' ' << bBit << " to "
                                         << dBit << (masked ? " masked" : "") << (inPlace ? " in place" : "");
        }
}

}  // namespace

TEST(Kernels, BitsAreAsEachOfThem)
{
    Random random(3);
    const uint8_t ones = 0xFF;
    const int32_t one = 1;
    for (const Tables& level : levels()) {
        auto land = [](bool a, bool b) { return a && b; };
        auto lor = [](bool a, bool b) { return a || b; };
        auto lxor = [](bool a, bool b) { return a != b; };
        auto equal = [](bool a, bool b) { return a == b; };
        auto less = [](bool a, bool b) { return !a && b; };
        auto greater = [](bool a, bool b) { return a && !b; };
        auto first = [](bool a, bool) { return a; };
        auto second = [](bool, bool b) { return b; };
        const BitCase cases[] = {
            {"and", level.arith.bitAnd[0], 2, nullptr, land},
            {"or", level.arith.bitOr[0], 2, nullptr, lor},
            {"xor", level.arith.bitXor[0], 2, nullptr, lxor},
            {"subtract", level.arith.subtract[0], 2, nullptr, greater},
            {"and of masks", level.rows.bitAnd, 2, nullptr, land},
            {"less", level.compare.less.bits, 2, nullptr, less},
            {"greater", level.compare.greater.bits, 2, nullptr, greater},
            {"equal", level.compare.equal.bits, 2, nullptr, equal},
            {"and value", level.scalar.bitAnd[0], 1, &ones, land},
            {"or value", level.scalar.bitOr[0], 1, &ones, lor},
            {"xor value", level.scalar.bitXor[0], 1, &ones, lxor},
            {"less than value", level.compare.lessScalar.bits, 1, &one, less},
            {"greater than value", level.compare.greaterScalar.bits, 1, &one, greater},
            {"equal to value", level.compare.equalScalar.bits, 1, &one, equal},
            {"square", level.scalar.square[0], 1, nullptr, first},
            {"copy", level.rows.copy[0], 1, nullptr, first},
            {"fill", level.rows.fill[0], 0, &ones, second},
        };
        for (const BitCase& one : cases)
            for (ptrdiff_t n : lengths())
                for (int phases = 0; phases < 8; ++phases)
                    checkBits(one, n, random);
    }
}

// Calls check(level, n, step, values) for rows of n pixels, `step` values apart, of which the first `values` are
// processed.
template <class Check>
void forPixels(Check check)
{
    for (const Tables& level : levels())
        for (ptrdiff_t n : lengths())
            for (ptrdiff_t step = 1; step <= 6; ++step)
                for (ptrdiff_t values = 1; values <= step; ++values) {
                    SCOPED_TRACE(testing::Message() << level.level << ' ' << n << ' ' << step << ' ' << values);
                    check(level, n, step, values);
                }
}

TEST(Kernels, MakeLanesOfMaskBits)
{
    Random random(4);
    forPixels([&](const Tables& level, ptrdiff_t n, ptrdiff_t step, ptrdiff_t values) {
        for (int index = 0; index < 3; ++index) {
            int bytes = 1 << index, bit = random.below(8);
            Values bits = bitRow(bit, n, random), lanes(n * step, bytes, random), expected = lanes;
            for (ptrdiff_t i = 0; i < n * step; ++i) {
                bool set = i % step < values && bitAt(bits, bit + i / step);
                memset(expected.at(i), set ? 0xFF : 0, size_t(bytes));
            }
            level.rows.lanes[index](bits, bit, step, values, lanes, n);
            EXPECT_TRUE(lanes == expected) << bytes << " from bit " << bit;
        }
    });
}

TEST(Kernels, GatherAndScatter)
{
    Random random(5);
    forPixels([&](const Tables& level, ptrdiff_t n, ptrdiff_t step, ptrdiff_t values) {
        for (int index = 0; index < 3; ++index) {
            int bytes = 1 << index;
            // The last pixel ends with its last processed value.
            ptrdiff_t span = n > 0 ? (n - 1) * step + values : 0;
            Values apart(span, bytes, random), scattered = apart, expectedApart = apart;
            Values together(n * values, bytes, random), gathered = together, expectedTogether = together;
            for (ptrdiff_t i = 0; i < n; ++i) {
                memcpy(expectedTogether.at(i * values), apart.at(i * step), size_t(values * bytes));
                memcpy(expectedApart.at(i * step), together.at(i * values), size_t(values * bytes));
            }
            level.rows.gather[index](apart, step, values, gathered, n);
            EXPECT_TRUE(gathered == expectedTogether) << bytes;
            level.rows.scatter[index](together, scattered, step, values, n);
            EXPECT_TRUE(scattered == expectedApart) << bytes;
        }
    });
}

TEST(Kernels, ReduceLanesToBits)
{
    Random random(6);
    forPixels([&](const Tables& level, ptrdiff_t n, ptrdiff_t step, ptrdiff_t values) {
        int bit = random.below(8);
        Values lanes(n * step, 1, random), bits = bitRow(bit, n, random), expected = bits;
        for (ptrdiff_t i = 0; i < n * step; ++i)
            lanes[i] = random.below(4) ? 0xFF : 0;
        Values inPlace = lanes;
        for (ptrdiff_t i = 0; i < n; ++i) {
            bool all = true;
            for (ptrdiff_t k = 0; k < values; ++k)
                all = all && lanes[i * step + k];
            setBitAt(expected, bit + i, all);
            if (step == 1)
                setBitAt(inPlace, i, all);
        }
        level.rows.allBits(lanes, step, values, {bits, bit}, n);
        EXPECT_TRUE(bits == expected) << "from bit " << bit;
        if (step == 1)
            level.rows.allBits(lanes, step, values, {lanes, 0}, n);
        EXPECT_TRUE(lanes == inPlace) << "in place";
    });
}
