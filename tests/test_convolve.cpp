// Convolution against sums that are formed value by value, and the records of its kernels.
#include <gtest/gtest.h>

#include <algorithm>
#include <bit>
#include <cmath>
#include <cstring>

#include "checks.h"
#include "filter/ownconvkernel.h"
#include "neighbours.h"
#include "refusals.h"
#include "reports.h"
#include "testheap.h"

namespace {

struct Kernel {
    int nCols, nRows, anchorX, anchorY;
    std::vector<double> values;
    int shift;

    int64_t at(int stored) const { return int64_t(values[values.size() - 1 - size_t(stored)]); }
    double real(int stored) const { return float(values[values.size() - 1 - size_t(stored)]); }
};

// ---- The naive convolution ----------------------------------------------------------------------------------------

// A sum or a total: an integer that wraps, or a float.
struct Number {
    bool isReal;
    int32_t integer;
    float real;

    static Number of(int64_t value) { return {false, int32_t(uint32_t(uint64_t(value))), 0}; }
    static Number of(double value) { return {true, 0, float(value)}; }
    double value() const { return isReal ? double(real) : integer; }
};

struct Case {
    uint32_t depth;
    int rowChannels;
    int method;
    std::vector<Kernel> kernels;
};

int classOf(const Kernel& kernel, uint32_t depth)
{
    if (depth == ORV_DEPTH_32S || depth == ORV_DEPTH_32F)
        return 2;
    double lowest = depth & ORV_DEPTH_SIGN ? -std::ldexp(1, int(depth & ORV_DEPTH_MASK) - 1) : 0;
    double highest = bitsOf(depth, 1e9), low = 0, high = 0;
    for (double weight : kernel.values) {
        low += std::min(weight * lowest, weight * highest);
        high += std::max(weight * lowest, weight * highest);
        if (weight < -32768 || weight > 32767)
            return 2;
    }
    bool wide = depth == ORV_DEPTH_16U || depth == ORV_DEPTH_16S;
    if (low > -32768 && high < 32767)
        return wide ? 1 : 0;
    return low > -2147483648.0 && high < 2147483647.0 ? 1 : 2;
}

bool isUnrolled(const Kernel& kernel, const Case& test)
{
    int size = kernel.nCols * kernel.nRows;
    if (kernel.nCols != kernel.nRows || (size != 9 && size != 25) || (test.rowChannels != 1 && test.rowChannels != 3))
        return false;
    double zeros = double(std::ranges::count(kernel.values, 0.0)) / size;
    return test.depth == ORV_DEPTH_32F || zeros < (size == 9 ? 0.33 : 0.19);
}

double realSum(const Kernel& kernel, const Case& test, const std::function<double(int, int)>& sample)
{
    int cols = kernel.nCols, rows = kernel.nRows;
    if (isUnrolled(kernel, test)) {
        double sum = 0;
        for (int i = 0; i < cols * rows; ++i)
            sum += sample(i % cols, i / cols) * kernel.real(i);
        return sum;
    }
    float sum = 0;
    int together = test.depth == ORV_DEPTH_32F ? 2 : 1;
    for (int row = 0; row < rows; row += together)
        for (int column = 0; column < cols; ++column) {
            double next = sample(column, row) * kernel.real(row * cols + column) + double(sum);
            if (together == 2 && row + 1 < rows)
                next += sample(column, row + 1) * kernel.real((row + 1) * cols + column);
            sum = float(next);
        }
    return sum;
}

Number sumOf(const Kernel& kernel, const Case& test, Picture& src, int x, int y, int c)
{
    auto sample = [&](int column, int row) {
        int left = x - (kernel.nCols - 1 - kernel.anchorX), top = y - (kernel.nRows - 1 - kernel.anchorY);
        return numberOf(test.depth, naiveRaw(src, left + column, top + row, c));
    };
    bool wide = classOf(kernel, test.depth) == 2;
    if (wide && (test.depth == ORV_DEPTH_32S || test.depth == ORV_DEPTH_32F || !isUnrolled(kernel, test)))
        return Number::of(realSum(kernel, test, sample));
    uint64_t sum = 0;
    for (int i = 0; i < kernel.nCols * kernel.nRows; ++i)
        sum += uint64_t(kernel.at(i) * int64_t(sample(i % kernel.nCols, i / kernel.nCols)));
    if (wide)
        return {true, 0, std::bit_cast<float>(uint32_t(sum))};
    return Number::of(int64_t(sum));
}

Number shifted(const Number& sum, int shift)
{
    if (!sum.isReal)
        return Number::of(int64_t{sum.integer >> (shift & 31)});
    double rounded = std::isnan(sum.real) ? 0 : std::nearbyint(double(sum.real));
    return Number::of(std::floor(std::ldexp(rounded, -(shift & 31))));
}

Number squared(const Number& sum)
{
    return sum.isReal ? Number::of(double(sum.real) * double(sum.real))
                      : Number::of(int64_t{sum.integer} * sum.integer);
}

Number naiveTotal(const Case& test, Picture& src, int x, int y, int c)
{
    int widest = 0;
    for (const Kernel& kernel : test.kernels)
        widest = std::max(widest, classOf(kernel, test.depth));
    Number total = {};
    for (size_t k = 0; k < test.kernels.size(); ++k) {
        Number sum = sumOf(test.kernels[k], test, src, x, y, c);
        if (test.kernels[k].shift)
            sum = shifted(sum, test.kernels[k].shift);
        if (test.kernels.size() == 1) {
            if (test.kernels[k].shift || (test.method != 1 && test.method != 2))
                return sum;
            return test.method == 1 ? squared(sum)
                   : sum.isReal     ? Number::of(std::fabs(double(sum.real)))
                                    : Number::of(std::abs(int64_t{sum.integer}));
        }
        bool squares = test.method == ORV_COMBINE_SUMSQ || test.method == ORV_COMBINE_SUMSQROOT;
        double value = squares ? sum.value() * sum.value() : sum.value();
        if (widest == 0)
            sum = squares ? squared(sum) : sum;
        if (k == 0)
            total = widest ? Number::of(value) : sum;
        else if (test.method == ORV_COMBINE_MAX || test.method == ORV_COMBINE_MIN) {
            Number other = widest ? Number::of(value) : sum;
            bool greater = other.value() > total.value(), less = other.value() < total.value();
            total = (test.method == ORV_COMBINE_MAX ? greater : less) ? other : total;
        } else
            total = widest ? Number::of(double(total.real) + value) : Number::of(int64_t{total.integer} + sum.integer);
    }
    if (test.method == ORV_COMBINE_SUMSQROOT) {
        double root = std::sqrt(total.value());
        return total.isReal ? Number::of(root) : Number::of(int64_t(std::isnan(root) ? 0 : std::llrint(root)));
    }
    return total;
}

uint32_t naiveResult(const Case& test, Picture& src, int x, int y, int c)
{
    Number total = naiveTotal(test, src, x, y, c);
    if (test.depth == ORV_DEPTH_32F)
        return std::bit_cast<uint32_t>(total.real);
    double value = total.value();
    return bitsOf(test.depth, std::isnan(value) ? 0 : std::nearbyint(value));
}

// ---- Calls --------------------------------------------------------------------------------------------------------

// The library's records of kernels.
struct Records {
    std::vector<OrvConvKernel*> integers;
    std::vector<OrvConvKernelFP*> reals;

    explicit Records(const std::vector<Kernel>& kernels, bool areReal = false)
    {
        for (const Kernel& kernel : kernels) {
            std::vector<int32_t> whole(kernel.values.begin(), kernel.values.end());
            std::vector<float> floats(kernel.values.begin(), kernel.values.end());
            if (areReal)
                reals.push_back(
                    orvCreateConvKernelFP(kernel.nCols, kernel.nRows, kernel.anchorX, kernel.anchorY, floats.data()));
            else
                integers.push_back(orvCreateConvKernel(kernel.nCols, kernel.nRows, kernel.anchorX, kernel.anchorY,
                                                       whole.data(), kernel.shift));
        }
    }
    ~Records()
    {
        for (OrvConvKernel* kernel : integers)
            orvDeleteConvKernel(kernel);
        for (OrvConvKernelFP* kernel : reals)
            orvDeleteConvKernelFP(kernel);
    }
    Records(const Records&) = delete;

    void convolve(OrvImage* const* images, int method)
    {
        if (reals.empty())
            orvConvolve2D(images[0], images[1], integers.data(), int(integers.size()), method);
        else
            orvConvolve2DFP(images[0], images[1], reals.data(), int(reals.size()), method);
    }
};

void expectConvolved(const Scene& scene, Case test)
{
    const OrvImage& src = scene.images[0]->image;
    bool alone = src.dataOrder == ORV_DATA_ORDER_PLANE || (src.roi && src.roi->coi > 0);
    test.rowChannels = alone ? 1 : src.nChannels;
    Records records(test.kernels, test.depth == ORV_DEPTH_32F);
    expectFiltered(
        scene, [&](Picture& from, int x, int y, int c) { return naiveResult(test, from, x, y, c); },
        [&](OrvImage* const* images) { records.convolve(images, test.method); });
}

// `reach` is how large the values are: sums of small ones stay below 16 bits, of large ones pass 32.
Kernel randomKernel(Random& random, uint32_t depth, int reach)
{
    Kernel kernel = {random.between(1, 7), random.between(1, 7), 0, 0, {}, 0};
    if (random.below(3) == 0)
        kernel.nCols = kernel.nRows = random.below(2) ? 3 : 5;
    kernel.anchorX = random.below(kernel.nCols);
    kernel.anchorY = random.below(kernel.nRows);
    int zeros = random.below(3) ? 8 : 3;
    for (int i = 0; i < kernel.nCols * kernel.nRows; ++i)
        kernel.values.push_back(random.below(zeros) ? random.between(-reach, reach) : 0);
    const int shifts[] = {0, 0, 0, 1, 5, 32, 31, -1, -30};
    kernel.shift = depth == ORV_DEPTH_32F ? 0 : shifts[random.below(9)];
    return kernel;
}

Case randomCase(Random& random, uint32_t depth)
{
    const int reaches[] = {3, 20, 900, 32767, 70000, INT32_MAX / 2};
    Case test = {depth, 1, random.below(5), {}};
    int count = random.below(2) ? 1 : random.between(2, random.below(4) ? 3 : 10);
    int common = random.below(3) ? reaches[random.below(6)] : 0;
    for (int i = 0; i < count; ++i)
        test.kernels.push_back(randomKernel(random, depth, common ? common : reaches[random.below(6)]));
    if (count == 1 && random.below(3) == 0)
        test.method = 9;
    return test;
}

std::string textOf(const Case& test)
{
    std::string text = "method " + std::to_string(test.method);
    for (const Kernel& kernel : test.kernels) {
        text += "\n" + std::to_string(kernel.nCols) + " x " + std::to_string(kernel.nRows) + " >> " +
                std::to_string(kernel.shift) + ":";
        for (size_t i = 0; i < kernel.values.size() && i < 49; ++i)
            text += " " + std::to_string(int64_t(kernel.values[i]));
    }
    return text;
}

const Kernel box = {3, 3, 1, 1, {1, 2, 3, 4, 5, 6, 7, 8, 9}, 3};

}  // namespace

TEST(Convolve, IsTheCombinedSumsOfEveryLayout)
{
    Random random(11);
    for (int round = 0; round < 2000 && !testing::Test::HasFailure(); ++round) {
        uint32_t depth = allDepths[size_t(round) % allDepths.size()];
        int count = depth == ORV_DEPTH_1U || random.below(2) ? 1 : random.between(2, 9);
        Layout layout = randomNeighbours(random, depth, count);
        layout.images[1].spec.order = layout.images[0].spec.order;
        for (Layout::Image& image : layout.images)
            if (OrvROI* roi = image.spec.roi ? &*image.spec.roi : nullptr) {
                roi->xOffset %= image.spec.width;
                roi->yOffset %= image.spec.height;
            }
        bool coi = layout.images[0].spec.roi && layout.images[0].spec.roi->coi > 0;
        if (coi != (layout.images[1].spec.roi && layout.images[1].spec.roi->coi > 0))
            layout.images[1].same = 0;
        Scene scene(layout);
        Picture& src = *scene.images[0];
        setRandomBorders(src, random);
        if (depth == ORV_DEPTH_32F)
            src.fill([&](int, int, int) { return std::ldexp(random.between(-5000, 5000), random.between(-9, 9)); });
        else if (depth == ORV_DEPTH_8U && random.below(2))
            src.fill([&](int, int, int) { return 255 * random.below(2); });
        Case test = randomCase(random, depth);
        SCOPED_TRACE(testing::Message() << round << ": " << textOf(test) << layout.text());
        expectConvolved(scene, test);
    }
}

// Rows that are longer than a block and not a whole number of vectors, and windows that are larger than the image.
TEST(Convolve, OfLongRowsAndLargeWindows)
{
    Random random(12);
    for (uint32_t depth : {ORV_DEPTH_8U, ORV_DEPTH_16U, ORV_DEPTH_32S, ORV_DEPTH_32F})
        for (int channels : {1, 3})
            for (int kernels : {1, 2}) {
                PictureSpec spec = {.depth = depth, .channels = channels, .width = 1100, .height = 7};
                Scene scene({{{spec, 0, {}, 0}, {spec, 1, {}, 1}}});
                setRandomBorders(scene.pointers()[0], random);
                Case test = {depth, 1, ORV_COMBINE_SUM, {}};
                for (int i = 0; i < kernels; ++i)
                    test.kernels.push_back(randomKernel(random, depth, 900));
                if (channels == 1)
                    test.kernels[0] = {
                        21, 24, 3, 20, std::vector<double>(21 * 24, 7.0), depth == ORV_DEPTH_32F ? 0 : 2};
                SCOPED_TRACE(testing::Message() << depthName(depth) << ' ' << channels << ' ' << textOf(test));
                expectConvolved(scene, test);
            }
}

// Totals at the ends of their ranges: where they wrap, where they clamp, and where a square root has no value.
TEST(Convolve, AtTheEndsOfItsNumbers)
{
    struct Extreme {
        uint32_t depth;
        int method;
        std::vector<double> weights;  // of kernels of one value
        double sample, expected;
    };
    const Extreme cases[] = {
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQ, {300}, 255, 255},                 // 76500 squared wraps to above 0
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQ, {182}, 255, 0},                   // 46410 squared wraps to below 0
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQ, {128, 128, 128}, 255, 0},         // the sum of squares wraps
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQROOT, {128, 128, 128}, 255, 0},     // its root is none
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQROOT, {128, 128, 129}, 255, 255},   // floats do not wrap
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQROOT, {1, 1}, 100, 141},            // 141.42
        {ORV_DEPTH_8U, ORV_COMBINE_SUMSQROOT, {-200}, 1, 200},              // an absolute value
        {ORV_DEPTH_16S, ORV_COMBINE_SUM, {2, 2}, 30000, 32767},             //
        {ORV_DEPTH_16S, ORV_COMBINE_SUM, {-2, -2}, 30000, -32768},          //
        {ORV_DEPTH_16S, ORV_COMBINE_SUM, {-32768, 2}, -32768, 32767},       // the largest product of halves
        {ORV_DEPTH_16U, ORV_COMBINE_SUM, {32767}, 65535, 65535},            // 2147385345
        {ORV_DEPTH_16U, ORV_COMBINE_SUM, {32767, -32766}, 65535, 65534},    // a float total loses the last digit
        {ORV_DEPTH_32S, ORV_COMBINE_SUM, {3}, 2147483647, 2147483647},      //
        {ORV_DEPTH_32S, ORV_COMBINE_SUM, {-3}, 2147483647, -2147483648.0},  //
        {ORV_DEPTH_32S, ORV_COMBINE_SUM, {1}, 16777217, 16777216},          // a float's digits
        {ORV_DEPTH_32S, ORV_COMBINE_SUM, {0}, 5, 0},
        {ORV_DEPTH_1U, ORV_COMBINE_MIN, {5, -7}, 1, 0},             //
        {ORV_DEPTH_32F, ORV_COMBINE_SUMSQROOT, {-3, 4}, 1.5, 7.5},  //
    };
    for (const Extreme& test : cases) {
        Picture src({.depth = test.depth}), dst({.depth = test.depth});
        src.set(0, 0, 0, test.sample);
        std::vector<Kernel> kernels;
        for (double weight : test.weights)
            kernels.push_back({1, 1, 0, 0, {weight}, 0});
        Records records(kernels, test.depth == ORV_DEPTH_32F);
        OrvImage* images[] = {src, dst};
        EXPECT_EQ(reportsOf([&] { records.convolve(images, test.method); }), "");
        EXPECT_EQ(dst.get(0, 0), test.expected) << depthName(test.depth) << ' ' << test.weights[0];
    }
    // Sums of 32 bits are shifted without loss, whatever they pass.
    Picture src({.depth = ORV_DEPTH_32S}), dst({.depth = ORV_DEPTH_32S});
    src.set(0, 0, 0, 2147483520);
    Records records({{3, 1, 1, 0, {1, 16, 1}, 4}});
    OrvImage* images[] = {src, dst};
    records.convolve(images, 0);
    EXPECT_EQ(dst.get(0, 0), 2147483520);
}

TEST(Convolve, KeepsKernelsAsTheyWereGiven)
{
    Reports reports;
    const int32_t values[] = {1, -2, 300, 4, 5, 70000};
    OrvConvKernel* kernel = orvCreateConvKernel(3, 2, 2, 0, values, -7);
    int32_t nCols = 0, nRows = 0, anchorX = 0, anchorY = 0, shift = 0, read[6] = {}, *to = read;
    auto shape = [&] { return std::vector<int32_t>{nCols, nRows, anchorX, anchorY, shift}; };
    orvGetConvKernel(kernel, &nCols, &nRows, &anchorX, &anchorY, &to, &shift);
    EXPECT_EQ(shape(), (std::vector<int32_t>{3, 2, 2, 0, -7}));
    EXPECT_TRUE(std::ranges::equal(read, values));
    int8_t bytes[6] = {}, *toBytes = bytes;
    orvGetConvKernelChar(kernel, &nCols, &nRows, &anchorX, &anchorY, &toBytes, &shift);
    EXPECT_TRUE(std::ranges::equal(bytes, std::vector<int8_t>{1, -2, 44, 4, 5, 112}));
    orvDeleteConvKernel(kernel);

    const int8_t small[] = {-128, 127};
    kernel = orvCreateConvKernelChar(1, 2, 0, 1, reinterpret_cast<const char*>(small), 0);
    orvGetConvKernel(kernel, &nCols, &nRows, &anchorX, &anchorY, &to, &shift);
    EXPECT_EQ(shape(), (std::vector<int32_t>{1, 2, 0, 1, 0}));
    EXPECT_TRUE(std::ranges::equal(std::vector<int32_t>(read, read + 2), small));
    orvDeleteConvKernel(kernel);

    const float reals[] = {0.5f, -1e30f};
    OrvConvKernelFP* real = orvCreateConvKernelFP(2, 1, 0, 0, reals);
    float readReals[2] = {}, *toReals = readReals;
    orvGetConvKernelFP(real, &nCols, &nRows, &anchorX, &anchorY, &toReals);
    EXPECT_EQ(shape(), (std::vector<int32_t>{2, 1, 0, 0, 0}));
    EXPECT_TRUE(std::ranges::equal(readReals, reals));
    orvDeleteConvKernelFP(real);
    EXPECT_EQ(reports.take(), "");
}

TEST(Convolve, ReportsFaultsOfKernels)
{
    Reports reports;
    const int32_t values[4] = {};
    const float reals[4] = {};
    const std::string anchors = " (anchorX<0 ||anchorY<0 ||nRows<=anchorY || nCols<=anchorX)\n";
    auto expectNone = [&](const void* kernel, const std::string& report) {
        EXPECT_EQ(kernel, nullptr);
        EXPECT_EQ(reports.take(), report);
    };
    expectNone(orvCreateConvKernel(0, 0, 0, 0, nullptr, 0), "-5 orvCreateConvKernel (values == 0)\n");
    expectNone(orvCreateConvKernelChar(2, 0, 9, 0, "ab", 0), "-5 orvCreateConvKernelChar (nRows<=0 || nCols<=0)\n");
    expectNone(orvCreateConvKernelFP(-2, 2, 9, 0, reals), "-5 orvCreateConvKernelFP (nRows<=0 || nCols<=0)\n");
    for (auto [x, y] : {std::pair(-1, 0), {0, -1}, {2, 0}, {0, 2}})
        expectNone(orvCreateConvKernel(2, 2, x, y, values, 0), "-5 orvCreateConvKernel" + anchors);
    int blocks = testheap::blocks();
    for (int n : {1, 2}) {
        testheap::refuse(n);
        expectNone(orvCreateConvKernel(2, 2, 0, 0, values, 0), "-4 orvCreateConvKernel Allocation failure\n");
        testheap::refuse(0);
    }
    expectNone(orvCreateConvKernel(INT32_MAX, INT32_MAX, 0, 0, values, 0),
               "-4 orvCreateConvKernel Allocation failure\n");
    EXPECT_EQ(testheap::blocks(), blocks);

    OrvConvKernel* kernel = orvCreateConvKernel(2, 2, 0, 0, values, 0);
    int32_t number = 0, read[4], *to = read, *none = nullptr;
    auto told = [&](OrvConvKernel* from, int32_t* cols, int32_t* rows, int32_t* x, int32_t* y, int32_t** out,
                    int32_t* shift) {
        orvSetErrStatus(0);
        orvGetConvKernel(from, cols, rows, x, y, out, shift);
        return reports.take();
    };
    const std::string get = "-5 orvGetConvKernel ";
    EXPECT_EQ(told(nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr), get + "kernel==0\n");
    EXPECT_EQ(told(kernel, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              get + "nRows==0\n" + get + "nCols==0\n");
    EXPECT_EQ(told(kernel, nullptr, &number, nullptr, nullptr, nullptr, nullptr), get + "nCols==0\n");
    EXPECT_EQ(told(kernel, &number, &number, nullptr, nullptr, nullptr, nullptr),
              get + "anchorX==0\n" + get + "anchorY==0\n");
    EXPECT_EQ(told(kernel, &number, &number, &number, &number, nullptr, nullptr), get + "values==0\n");
    EXPECT_EQ(told(kernel, &number, &number, &number, &number, &none, nullptr), get + "values==0\n");
    EXPECT_EQ(told(kernel, &number, &number, &number, &number, &to, nullptr), get + "nShiftR==0\n");
    OrvConvKernel bad = *kernel;
    bad.anchorY = bad.nRows;
    EXPECT_EQ(told(&bad, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
              get + "ownBadKernel((OwnConvKernel*)kernel)\n");
    bad.values = nullptr;
    orvDeleteConvKernel(&bad);
    EXPECT_EQ(reports.take(), "-5 orvDeleteConvKernel kernel->values==0\n");
    orvSetErrStatus(-7);
    orvGetConvKernel(kernel, &number, &number, &number, &number, nullptr, nullptr);
    EXPECT_EQ(reports.take(), "");
    orvDeleteConvKernel(kernel);
    orvDeleteConvKernel(nullptr);
    orvDeleteConvKernelFP(nullptr);
    EXPECT_EQ(reports.take(), "-5 orvDeleteConvKernel kernel==0\n-5 orvDeleteConvKernelFP kernel==0\n");
}

TEST(Convolve, ChecksInTheirOrder)
{
    Records records({box, box});
    OrvConvKernel* missing[] = {records.integers[0], nullptr};
    OrvConvKernel outside = *missing[0], empty = *missing[0];
    outside.anchorX = outside.nCols;
    empty.values = nullptr;
    OrvConvKernel *second[] = {missing[0], &outside}, *first[] = {&empty};
    struct Arguments {
        OrvConvKernel** kernels;
        int count, method;
    };
    const Arguments good = {records.integers.data(), 2, 0};
    Arguments now = good;
    auto with = [&](Arguments bad) { return [&now, bad](auto) { now = bad; }; };
    auto call = [&](OrvImage* const* images) {
        orvConvolve2D(images[0], images[1], now.kernels, now.count, now.method);
        now = good;
    };
    auto setRegion = [](int image, OrvROI roi) {
        return [=](OrvImage* const* images) {
            static OrvROI regions[2];
            regions[image] = roi;
            images[image]->roi = &regions[image];
        };
    };
    PictureSpec spec = {.channels = 3, .width = 9, .height = 9};
    const FaultOf fault{"orvConvolve2D"};
    expectFaultsInOrder({spec, spec}, call,
                        {
                            fault(-10, "Incorrect Image", setField(0, &OrvImage::height, 0)),
                            fault(-10, "Incorrect Image", setField(1, &OrvImage::width, 0)),
                            fault(-11, "Bad ROI offsets", setRegion(0, {0, 9, 0, 3, 3})),
                            fault(-11, "Bad ROI offsets", setRegion(1, {0, 0, 9, 3, 3})),
                            fault(-5, "kernel==0", with({nullptr, 0, 5})),
                            fault(-5, "(nKernels<=0 || nKernels>10)", with({missing, 0, 5})),
                            fault(-5, "(nKernels<=0 || nKernels>10)", with({missing, 11, 5})),
                            fault(-5, "Inadmissible method", with({missing, 2, 5})),
                            fault(-5, "Inadmissible method", with({missing, 2, -1})),
                            fault(-5, "kernel[i]==0", with({missing, 2, 4})),
                            fault(-5, "Bad kernel structure", with({second, 2, 4})),
                            fault(-5, "Bad kernel structure", with({first, 1, 4})),
                            fault(-5, "Uncompatible images", setField(0, &OrvImage::depth, ORV_DEPTH_8S)),
                            fault(-5, "Uncompatible images", setField(1, &OrvImage::dataOrder, 1)),
                            fault(-5, "32F images can be processed only with FP kernel",
                                  [](auto images) { images[0]->depth = images[1]->depth = ORV_DEPTH_32F; }),
                            fault(-5, "One of the COI is not defined", setRegion(0, {1, 0, 0, 3, 3})),
                            fault(-5, "No channel to operate", setChannels(1, 1, 1)),
                            fault(-5, "Uncompatible images", setChannels(0, 2, 0)),
                            fault(-4, "Allocation failure", refuseMemory(1, true)),
                        });
    // Regions and masks without a common pixel end the call before the channels are looked at.
    Picture src({.channels = 3, .width = 9, .height = 9, .roi = OrvROI{1, 8, 8, 1, 1}}), dst(spec);
    Picture mask({.depth = ORV_DEPTH_1U, .width = 2, .height = 2, .roi = OrvROI{0, 5, 5, 1, 1}});
    dst->maskROI = mask;
    EXPECT_EQ(reportsOf([&] { orvConvolve2D(src, dst, good.kernels, 2, 0); }), "");
    EXPECT_EQ(reportsOf([&] { orvConvolve2DFP(dst, dst, nullptr, 1, 0); }), "-5 orvConvolve2DFP kernel==0\n");
    Records reals({box}, true);
    EXPECT_EQ(reportsOf([&] { orvConvolve2DFP(dst, dst, reals.reals.data(), 1, 0); }),
              "-5 orvConvolve2DFP FP kernel can be used only for 32F images\n");
}

TEST(Convolve, LosesNothingWhereMemoryOrATileIsRefused)
{
    Records records({box, {2, 5, 0, 1, std::vector<double>(10, 70000), 1}});
    const Operation operation = {.name = "orvConvolve2D",
                                 .call = [&](OrvImage* const* images) { records.convolve(images, ORV_COMBINE_MAX); },
                                 .fits = ordersAgree};
    expectNothingLost(operation, {.report = "-4 orvConvolve2D Allocation failure\n"});
}
