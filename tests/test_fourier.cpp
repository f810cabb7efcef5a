// Fourier transforms of lines: the kernels that the transforms, and others, stand on.
#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <memory>
#include <numbers>
#include <vector>

#include "core/ownfourier.h"
#include "core/ownscratch.h"
#include "picture.h"

namespace {

// A block of lines, laid out by hand.
template <class T>
struct Block {
    size_t lanes;
    OwnScratch<OwnFourierTable<T>> table;
    OwnScratch<T> values, scratch;

    Block(int32_t length, const OwnFourierLines<T>& lines)
        : lanes(size_t(lines.lanes)),
          table(ownFourierTable<T>(length)),
          values(2 * lines.lanes * int64_t{table.data->room}),
          scratch(2 * lines.lanes * int64_t{table.data->scratch} + 1)
    {
        std::fill_n(values.data, 2 * lines.lanes * table.data->room, T(0));
    }
    T& part(int32_t place, size_t line, int part)
    {
        return values.data[(2 * size_t(place) + size_t(part)) * lanes + line];
    }
    T& in(int32_t e, size_t line, int which) { return part(table.data->order[e], line, which); }
};

// Values of a line; the same whatever the lanes.
std::complex<double> valueOf(int32_t e, size_t line)
{
    Random random(size_t(e) * 100 + line);
    return {random.between(-1000, 1000) / 1024.0, random.between(-1000, 1000) / 1024.0};
}

// The relative error of a line's transform by one kernel; the line is then held against the same one in the first lane
// of another, bit by bit.
template <class T>
double errorOf(const OwnFourierLines<T>& kernel, const OwnFourierLines<T>& other, int32_t length, int32_t direction)
{
    Block<T> many(length, kernel), one(length, other);
    size_t line = size_t(length) % many.lanes;
    for (int32_t e = 0; e < length; ++e)
        for (size_t l = 0; l < many.lanes; ++l) {
            many.in(e, l, 0) = T(valueOf(e, l).real());
            many.in(e, l, 1) = T(valueOf(e, l).imag());
        }
    for (int32_t e = 0; e < length; ++e)
        for (int which : {0, 1})
            one.in(e, 0, which) = many.in(e, line, which);
    kernel.transform(many.values.data, many.scratch.data, *many.table.data, direction);
    other.transform(one.values.data, one.scratch.data, *one.table.data, direction);
    double difference = 0, size = 0;
    for (int32_t k = 0; k < length; ++k) {
        std::complex<long double> sum = 0;
        for (int32_t e = 0; e < length; ++e) {
            long double turns = static_cast<long double>(int64_t{k} * e % length) / length;
            sum += std::complex<long double>(valueOf(e, line)) *
                   std::polar(1.0L, -direction * 2 * std::numbers::pi_v<long double> * turns);
        }
        std::complex<double> got = {many.part(k, line, 0), many.part(k, line, 1)};
        EXPECT_EQ(got, std::complex<double>(one.part(k, 0, 0), one.part(k, 0, 1))) << length << ' ' << k;
        difference += std::norm(got - std::complex<double>(sum));
        size += double(std::norm(sum));
    }
    return std::sqrt(difference / size);
}

}  // namespace

TEST(Fourier, LinesOfEveryKindOfLength)
{
    // Every butterfly alone and after another one, primes above them, and primes that go through a convolution.
    std::vector<int32_t> lengths = {61, 17 * 31, 2 * 59, 67, 251, 2 * 101, 720, 1024};
    for (int32_t length = 1; length <= 48; ++length)
        lengths.push_back(length);
    for (int32_t radix : {2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 15, 16})
        lengths.push_back(16 * radix);
    for (int32_t length : lengths)
        for (int32_t direction : {1, -1}) {
            double steps = std::log2(length + 1);
            const OwnFourierKernels& kernels = ownFourierKernels();
            EXPECT_LT(errorOf(kernels.floats[1], kernels.floats[0], length, direction), 0.6e-7 * steps) << length;
            EXPECT_LT(errorOf(kernels.doubles, kernels.doubles, length, direction), 1.1e-16 * steps) << length;
        }
}

TEST(Fourier, RootsAreExactWhereTheyCanBe)
{
    for (int64_t n : {1, 2, 3, 4, 6, 12, 24, 600, 1 << 20})
        for (int64_t j = 0; j < std::min(n, int64_t{600}); ++j) {
            OwnRoot root = ownRoot(j, n), far = ownRoot(n - j, n);
            double t = 2 * std::numbers::pi * double(j) / double(n);
            EXPECT_NEAR(root.cos, std::cos(t), 1e-15);
            EXPECT_NEAR(root.sin, std::sin(t), 1e-15);
            EXPECT_EQ(root.cos, far.cos);
            EXPECT_EQ(root.sin, -far.sin);
            if (12 * j % n == 0) {
                constexpr double halves[] = {1, 2, 0.5, 0, -0.5, 2, -1, 2, -0.5, 0, 0.5, 2};  // 2 for irrational ones
                double exact = halves[12 * j / n];
                EXPECT_TRUE(exact == 2 || root.cos == exact) << j << ' ' << n;
            }
        }
}

// Correlations of whole numbers are exact as far as the bound promises, at every level.
TEST(Fourier, PlanesCorrelateWholeNumbers)
{
    constexpr int width = 32, height = 8, count = width * height;
    Random random(3);
    std::vector<double> re(count), im(count), templateRe(count), templateIm(count);
    double norm = 0, templateNorm = 0;
    for (size_t i = 0; i < count; ++i) {
        re[i] = random.between(-30000, 30000);
        im[i] = random.between(-30000, 30000);
        templateRe[i] = i < 60 ? random.between(-30000, 30000) : 0;
        norm += re[i] * re[i] + im[i] * im[i];
        templateNorm += templateRe[i] * templateRe[i];
    }
    ASSERT_LT(ownCorrelationError(std::sqrt(norm), std::sqrt(templateNorm), 8), 0.01);
    std::vector<double> expected(2 * count);
    for (int shift = 0; shift < count; ++shift)
        for (int i = 0; i < 60; ++i) {
            int x = (i + shift) % width, y = (i / width + shift / width) % height;
            size_t at = size_t(y * width + x);
            expected[size_t(shift)] += re[at] * templateRe[size_t(i)];
            expected[size_t(count + shift)] += im[at] * templateRe[size_t(i)];
        }
    OwnFourierPlane plane(width, height);
    ASSERT_TRUE(plane.ready());
    plane.transform(re.data(), im.data(), 1);
    plane.transform(templateRe.data(), templateIm.data(), 1);
    for (size_t i = 0; i < count; ++i) {
        auto product = std::complex(re[i], im[i]) * std::conj(std::complex(templateRe[i], templateIm[i]));
        re[i] = product.real() / count;
        im[i] = product.imag() / count;
    }
    plane.transform(re.data(), im.data(), -1);
    for (size_t i = 0; i < count; ++i) {
        EXPECT_EQ(std::rint(re[i]), expected[i]) << i;
        EXPECT_EQ(std::rint(im[i]), expected[count + i]) << i;
    }
}
