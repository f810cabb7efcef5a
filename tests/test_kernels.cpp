// The row kernels of every level that the machine has: against naive loops, and against themselves one value at a time.
#include <gtest/gtest.h>

#include <cstring>

#include "core/ownrows.h"
#include "picture.h"
#include "pointwise/ownarith.h"
#include "pointwise/owncompare.h"
#include "pointwise/ownscalar.h"
#include "pointwise/ownthreshold.h"

namespace {

struct Tables {
    const char* level;
    const OwnRowKernels& rows;
    const OwnArithKernels& arith;
    const OwnScalarKernels& scalar;
    const OwnCompareKernels& compare;
    const OwnThresholdKernels& threshold;
};

const Tables base = {"base",
                     ownBase::ownRowKernels,
                     ownBase::ownArithKernels,
                     ownBase::ownScalarKernels,
                     ownBase::ownCompareKernels,
                     ownBase::ownThresholdKernels};

std::vector<Tables> levels()
{
    std::vector<Tables> all = {base};
#if OWN_HAS_V3
    OwnLevel used = ownLevel();
    if (ownForceLevel(OwnLevel::v3))
        all.push_back({"v3", ownV3::ownRowKernels, ownV3::ownArithKernels, ownV3::ownScalarKernels,
                       ownV3::ownCompareKernels, ownV3::ownThresholdKernels});
    ownForceLevel(used);
#endif
    return all;
}

const int valueBytes[OWN_DEPTHS] = {1, 1, 1, 2, 2, 4, 4};

// Bytes that end where their block of memory ends, so that the sanitizer sees every step beyond, at any alignment.
class Bytes {
public:
    Bytes(size_t size, size_t offset, Random& random) : block(offset + size), first(offset)
    {
        for (size_t i = 0; i < block.size(); ++i)
            block[i] = uint8_t(random.bits() >> 11);
    }
    uint8_t* data() { return block.data() + first; }
    const uint8_t* data() const { return block.data() + first; }
    size_t size() const { return block.size() - first; }
    bool operator==(const Bytes&) const = default;
    // Keeps 32-bit floats finite.
    void tame()
    {
        for (size_t i = 3; i < size(); i += 4)
            data()[i] &= 0xBF;
    }

private:
    std::vector<uint8_t> block;
    size_t first;
};

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
    bool floats;
};

// One row in all the ways that the kernel has.
void checkRow(const RowCase& one, ptrdiff_t n, Random& random)
{
    auto size = [&](int bytes) { return size_t(n) * size_t(bytes); };
    auto offset = [&](int bytes) { return size_t(random.below(17) * bytes); };
    Bytes a(size(one.sourceBytes), offset(one.sourceBytes), random);
    Bytes b(size(one.sourceBytes), offset(one.sourceBytes), random);
    Bytes before(size(one.resultBytes), offset(one.resultBytes), random);
    if (one.floats)
        a.tame(), b.tame();
    const void* second = one.sources > 1 ? b.data() : one.scalar;
    Bytes whole = before;
    for (ptrdiff_t i = 0; i < n; ++i)
        one.reference.run({a.data() + i * one.sourceBytes,
                           one.sources > 1 ? b.data() + i * one.sourceBytes : one.scalar,
                           whole.data() + i * one.resultBytes, 1});

    Bytes got = before;
    one.kernel.run({a.data(), second, got.data(), n});
    EXPECT_TRUE(got == whole) << one.name << " run " << n;
    if (one.sourceBytes == one.resultBytes && one.sources > 0) {
        Bytes inPlace = whole;
        memcpy(inPlace.data(), a.data(), a.size());
        one.kernel.run({inPlace.data(), second, inPlace.data(), n});
        EXPECT_TRUE(inPlace == whole) << one.name << " run in place " << n;
    }

    int bit = random.below(8);
    Bytes bits(size_t(bit + n + 7) / 8, 0, random), lanes(size(one.resultBytes), offset(one.resultBytes), random);
    Bytes blended = before;
    for (ptrdiff_t i = 0; i < n; ++i) {
        bool set = bitAt(bits.data(), bit + i);
        memset(lanes.data() + i * one.resultBytes, set ? 0xFF : 0, size_t(one.resultBytes));
        if (set)
            memcpy(blended.data() + i * one.resultBytes, whole.data() + i * one.resultBytes, size_t(one.resultBytes));
    }
    got = before;
    one.kernel.select(a.data(), second, got.data(), lanes.data(), n);
    EXPECT_TRUE(got == blended) << one.name << " select " << n;
    if (one.kernel.masked && n >= OWN_MASKED_LEAST) {
        got = before;
        one.kernel.masked(a.data(), second, got.data(), bits.data(), bit, n);
        EXPECT_TRUE(got == blended) << one.name << " masked " << n << " from bit " << bit;
    }
}

void checkRows(const RowCase& one)
{
    ASSERT_EQ(one.kernel.run == nullptr, one.reference.run == nullptr) << one.name;
    if (!one.kernel.run)
        return;
    Random random(uint64_t(one.resultBytes * 100 + one.sourceBytes));
    for (ptrdiff_t n : lengths())
        checkRow(one, n, random);
}

}  // namespace

TEST(Kernels, RowsAreAsTheirValues)
{
    for (const Tables& level : levels()) {
        auto check = [&](const char* name, const OwnRowKernel* kernels, const OwnRowKernel* references, int sources) {
            for (int depth = 0; depth < OWN_DEPTHS; ++depth) {
                int32_t integer = 3;
                float real = 1.5f;
                const void* scalar = depth == OWN_32F ? static_cast<const void*>(&real) : &integer;
                checkRows({std::string(level.level) + ' ' + name + ' ' + std::to_string(depth), kernels[depth],
                           references[depth], valueBytes[depth], valueBytes[depth], sources, scalar, depth == OWN_32F});
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
            checkRows({name, level.scalar.slideUp[i], base.scalar.slideUp[i], i + 1, i + 1, 1, &slide, false});
            checkRows({name, level.scalar.slideDown[i], base.scalar.slideDown[i], i + 1, i + 1, 1, &slide, false});
        }
        OwnCut cut = {99, 0x80};
        for (int from = OWN_8U; from <= OWN_32S; ++from)
            for (int size = 0; size < 3; ++size)
                checkRows({std::string(level.level) + " threshold " + std::to_string(from) + std::to_string(size),
                           level.threshold.values[from][size], base.threshold.values[from][size], valueBytes[from],
                           1 << size, 1, &cut, false});
    }
}

TEST(Kernels, TestsAreAsTheirValues)
{
    auto check = [](const std::string& name, const OwnTestKernel& kernel, const OwnTestKernel& reference, int depth,
                    int sources) {
        ASSERT_EQ(kernel.bits == nullptr, reference.bits == nullptr) << name;
        if (!kernel.bits)
            return;
        auto bytes = size_t(valueBytes[depth]);
        OwnCut integer = {3, 0};  // begins with the integer that other tests take
        OwnNearness real = {1.5f, 0.5f};
        const void* scalar = depth == OWN_32F ? static_cast<const void*>(&real) : &integer;
        Random random(uint64_t(depth + 1));
        for (ptrdiff_t n : lengths()) {
            Bytes a(size_t(n) * bytes, bytes * size_t(random.below(9)), random);
            Bytes b(size_t(n) * bytes, bytes * size_t(random.below(9)), random);
            // Equal values are rare among random ones.
            for (size_t i = 0; i < a.size(); ++i)
                if (i / bytes % 3 == 0)
                    b.data()[i] = a.data()[i];
            const void* second = sources > 1 ? b.data() : nullptr;
            int bit = random.below(8), maskBit = random.below(8);
            Bytes expected(size_t(n), 0, random), got = expected;
            Bytes bits(size_t(bit + n + 7) / 8, 0, random), expectedBits = bits, masked = bits, expectedMasked = bits;
            Bytes mask(size_t(maskBit + n + 7) / 8, 0, random);
            for (ptrdiff_t i = 0; i < n; ++i) {
                const uint8_t* y = second ? b.data() + size_t(i) * bytes : nullptr;
                reference.lanes(a.data() + size_t(i) * bytes, y, scalar, expected.data() + i, 1);
                setBitAt(expectedBits.data(), bit + i, expected.data()[i] != 0);
                if (bitAt(mask.data(), maskBit + i))
                    setBitAt(expectedMasked.data(), bit + i, expected.data()[i] != 0);
            }
            kernel.lanes(a.data(), second, scalar, got.data(), n);
            EXPECT_TRUE(got == expected) << name << " lanes " << n;
            kernel.bits({a.data(), second, scalar, {bits.data(), bit}, n});
            EXPECT_TRUE(bits == expectedBits) << name << " bits " << n << " from bit " << bit;
            kernel.bits({a.data(), second, scalar, {masked.data(), bit, mask.data(), maskBit}, n});
            EXPECT_TRUE(masked == expectedMasked) << name << " masked bits " << n << " from bit " << bit;
        }
    };
    const struct {
        const char* name;
        OwnComparison OwnCompareKernels::*member;
        int sources;
    } comparisons[] = {{"less", &OwnCompareKernels::less, 2},
                       {"greater", &OwnCompareKernels::greater, 2},
                       {"equal", &OwnCompareKernels::equal, 2},
                       {"near", &OwnCompareKernels::near, 2},
                       {"less than value", &OwnCompareKernels::lessScalar, 1},
                       {"greater than value", &OwnCompareKernels::greaterScalar, 1},
                       {"equal to value", &OwnCompareKernels::equalScalar, 1},
                       {"near value", &OwnCompareKernels::nearScalar, 1}};
    for (const Tables& level : levels())
        for (int depth = OWN_8U; depth < OWN_DEPTHS; ++depth) {
            std::string place = std::string(level.level) + ' ' + std::to_string(depth) + ' ';
            for (const auto& one : comparisons)
                check(place + one.name, (level.compare.*one.member).values[depth],
                      (base.compare.*one.member).values[depth], depth, one.sources);
            check(place + "threshold", level.threshold.bits[depth], base.threshold.bits[depth], depth, 1);
        }
}

// ---- The frame's kernels ------------------------------------------------------------------------------------------

TEST(Kernels, BringBitsIntoPhase)
{
    Random random(3);
    for (const Tables& level : levels())
        for (int from = 0; from < 8; ++from)
            for (int to = 0; to < 8; ++to)
                for (ptrdiff_t n = 0; n < 340; n += n < 150 ? 1 : 7) {
                    Bytes src(size_t(from + n + 7) / 8, size_t(random.below(9)), random);
                    Bytes dst(size_t(to + n + 7) / 8, size_t(random.below(9)), random), expected = dst;
                    level.rows.alignBits(src.data(), from, dst.data(), to, n);
                    // The first and the last byte are cleared around the bits.
                    for (ptrdiff_t i = 0; n > 0 && i < ptrdiff_t(expected.size()) * 8; ++i)
                        setBitAt(expected.data(), i, i >= to && i < to + n && bitAt(src.data(), from + i - to));
                    ASSERT_TRUE(dst == expected) << level.level << ' ' << from << ' ' << to << ' ' << n;
                }
}

TEST(Kernels, MakeLanesOfMaskBits)
{
    Random random(4);
    for (const Tables& level : levels())
        for (int index = 0; index < 3; ++index)
            for (int bit = 0; bit < 8; ++bit)
                for (ptrdiff_t n : lengths())
                    for (auto [step, values] :
                         {std::pair(1, 1), {2, 1}, {3, 1}, {3, 3}, {4, 1}, {4, 3}, {4, 4}, {7, 5}}) {
                        auto bytes = size_t(1) << index;
                        Bytes bits(size_t(bit + n + 7) / 8, 0, random);
                        Bytes lanes(size_t(n * step) * bytes, bytes * size_t(random.below(5)), random);
                        level.rows.lanes[index](bits.data(), bit, step, values, lanes.data(), n);
                        for (ptrdiff_t i = 0; i < n * step; ++i) {
                            bool set = i % step < values && bitAt(bits.data(), bit + i / step);
                            for (size_t k = 0; k < bytes; ++k)
                                ASSERT_EQ(lanes.data()[size_t(i) * bytes + k], set ? 0xFF : 0)
                                    << level.level << ' ' << bytes << " from bit " << bit << ' ' << step << ' '
                                    << values << " lane " << i << " of " << n;
                        }
                    }
}

TEST(Kernels, GatherAndScatter)
{
    Random random(5);
    for (const Tables& level : levels())
        for (int index = 0; index < 3; ++index)
            for (ptrdiff_t n : lengths())
                for (ptrdiff_t step = 1; step <= 6; ++step)
                    for (ptrdiff_t values = 1; values <= step; ++values) {
                        if (n == 0)
                            continue;
                        auto bytes = size_t(1) << index;
                        // The last pixel ends with its last processed value.
                        auto span = size_t((n - 1) * step + values) * bytes;
                        Bytes apart(span, bytes * size_t(random.below(5)), random);
                        Bytes together(size_t(n * values) * bytes, bytes * size_t(random.below(5)), random);
                        Bytes expected = together;
                        for (ptrdiff_t i = 0; i < n; ++i)
                            memcpy(expected.data() + size_t(i * values) * bytes,
                                   apart.data() + size_t(i * step) * bytes, size_t(values) * bytes);
                        Bytes got = together;
                        level.rows.gather[index](apart.data(), step, values, got.data(), n);
                        ASSERT_TRUE(got == expected)
                            << level.level << " gather " << bytes << ' ' << step << values << n;
                        for (ptrdiff_t i = 0; i < n; ++i)
                            memcpy(apart.data() + size_t(i * step) * bytes,
                                   together.data() + size_t(i * values) * bytes, size_t(values) * bytes);
                        Bytes spread = apart;
                        for (size_t i = 0; i < spread.size(); ++i)
                            if (ptrdiff_t(i / bytes) % step < values)
                                spread.data()[i] = uint8_t(~spread.data()[i]);
                        level.rows.scatter[index](together.data(), spread.data(), step, values, n);
                        ASSERT_TRUE(spread == apart)
                            << level.level << " scatter " << bytes << ' ' << step << values << n;
                    }
}

TEST(Kernels, MergeAndReduceBits)
{
    Random random(6);
    for (const Tables& level : levels())
        for (ptrdiff_t n : lengths()) {
            Bytes from(size_t(n), 0, random), mask(size_t(n), 1, random), merged(size_t(n), 3, random),
                expected = merged;
            for (size_t i = 0; i < size_t(n); ++i)
                expected.data()[i] = uint8_t((from.data()[i] & mask.data()[i]) | (merged.data()[i] & ~mask.data()[i]));
            level.rows.mergeBits(from.data(), mask.data(), merged.data(), n);
            EXPECT_TRUE(merged == expected) << level.level << ' ' << n;
            if (n == 0)
                continue;
            for (auto [step, values] : {std::pair(1, 1), {2, 1}, {3, 1}, {3, 2}, {3, 3}, {4, 3}, {4, 4}, {6, 5}}) {
                Bytes lanes(size_t(n * step), 0, random);
                for (size_t i = 0; i < lanes.size(); ++i)
                    lanes.data()[i] = random.below(4) ? 0xFF : 0;
                int bit = random.below(8);
                Bytes bits(size_t(bit + n + 7) / 8, 0, random), expectedBits = bits;
                for (ptrdiff_t i = 0; i < n; ++i) {
                    bool all = true;
                    for (ptrdiff_t k = 0; k < values; ++k)
                        all = all && lanes.data()[i * step + k];
                    setBitAt(expectedBits.data(), bit + i, all);
                }
                level.rows.allBits(lanes.data(), step, values, {bits.data(), bit}, n);
                EXPECT_TRUE(bits == expectedBits) << level.level << ' ' << step << ' ' << values << ' ' << n;
                if (step > 1)
                    continue;
                Bytes inPlace = lanes;
                for (ptrdiff_t i = 0; i < n; ++i)
                    setBitAt(inPlace.data(), i, lanes.data()[i]);
                level.rows.allBits(lanes.data(), step, values, {lanes.data(), 0}, n);
                EXPECT_TRUE(lanes == inPlace) << level.level << " in place " << n;
            }
        }
}
