#include "fourier.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <numbers>

#include "checks.h"

namespace fourier {

namespace {

using Complex = std::complex<double>;

// The transform of every step-th value from `first` on. The roots are those of count * step.
void lineInto(const Complex* first, size_t step, size_t count, const std::vector<Complex>& roots, Complex* sums)
{
    if (count % 2 != 0) {
        // By the definition.
        for (size_t k = 0; k < count; ++k) {
            sums[k] = 0;
            for (size_t j = 0; j < count; ++j)
                sums[k] += first[j * step] * roots[j * k % count * step];
        }
        return;
    }
    size_t half = count / 2;
    lineInto(first, 2 * step, half, roots, sums);
    lineInto(first + step, 2 * step, half, roots, sums + half);
    for (size_t k = 0; k < half; ++k) {
        Complex even = sums[k], odd = sums[half + k] * roots[k * step];
        sums[k] = even + odd;
        sums[half + k] = even - odd;
    }
}

std::vector<Complex> rootsOf(int n, int sign)
{
    std::vector<Complex> roots;
    for (int j = 0; j < n; ++j)
        roots.push_back(std::polar(1.0, sign * 2 * std::numbers::pi * j / n));
    return roots;
}

// Element i of a packed line of n: part of X(k).
void packedElement(int i, int n, int& k, int& part)
{
    k = (i + 1) / 2;
    part = i == 0 || (n % 2 == 0 && i == n - 1) ? 0 : (i - 1) % 2;
}

// sum of x[n] exp(sign 2 pi i k n / N), in place, along rows and columns; the inverse divides unless it is told not to.
void transform(Spectrum& x, int width, int height, int32_t flags)
{
    if (x.empty())
        return;
    int sign = flags & ORV_FFT_FORWARD ? -1 : 1;
    bool divides = !(flags & (ORV_FFT_FORWARD | ORV_FFT_NO_SCALE));
    double divisor = divides ? double(width) * height : 1;
    auto w = size_t(width), h = size_t(height);
    std::vector<Complex> rowRoots = rootsOf(width, sign), columnRoots = rootsOf(height, sign);
    Spectrum rows(x.size()), column(h), sums(h);
    for (size_t y = 0; y < h; ++y)
        lineInto(&x[y * w], 1, w, rowRoots, &rows[y * w]);
    for (size_t u = 0; u < w; ++u) {
        for (size_t y = 0; y < h; ++y)
            column[y] = rows[y * w + u];
        lineInto(column.data(), 1, h, columnRoots, sums.data());
        for (size_t y = 0; y < h; ++y)
            x[y * w + u] = sums[y] / divisor;
    }
}

Real realToPacked(const Real& image, int width, int height, int32_t flags)
{
    Spectrum f(image.begin(), image.end());
    transform(f, width, height, flags);
    return pack(f, width, height);
}

Real packedToReal(const Real& packed, int width, int height, int32_t flags)
{
    Spectrum f = unpack(packed, width, height);
    transform(f, width, height, flags);
    Real image;
    for (Complex value : f)
        image.push_back(value.real());
    return image;
}

}  // namespace

double relativeError(const Real& got, const Real& expected)
{
    double difference = 0, size = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        difference += (got[i] - expected[i]) * (got[i] - expected[i]);
        size += expected[i] * expected[i];
    }
    return size > 0 ? std::sqrt(difference / size) : std::sqrt(difference);
}

const Function functions[2] = {{"orvRealFft2D", orvRealFft2D, realToPacked},
                               {"orvCcsFft2D", orvCcsFft2D, packedToReal}};

Place placeOf(int x, int y, int width, int height)
{
    Place place{y, 0, 0};
    bool isLast = width % 2 == 0 && x == width - 1;
    if (x == 0 || isLast) {
        place.u = isLast ? width / 2 : 0;
        packedElement(y, height, place.v, place.part);
    } else {
        place.u = (x + 1) / 2;
        place.part = (x - 1) % 2;
    }
    return place;
}

Real pack(const Spectrum& f, int width, int height)
{
    Real packed(f.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Place place = placeOf(x, y, width, height);
            Complex value = f[size_t(place.v) * size_t(width) + size_t(place.u)];
            packed[size_t(y) * size_t(width) + size_t(x)] = place.part ? value.imag() : value.real();
        }
    return packed;
}

Spectrum unpack(const Real& packed, int width, int height)
{
    Spectrum f(packed.size());
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            Place place = placeOf(x, y, width, height);
            double value = packed[size_t(y) * size_t(width) + size_t(x)];
            int otherV = (height - place.v) % height, otherU = (width - place.u) % width;
            Complex& here = f[size_t(place.v) * size_t(width) + size_t(place.u)];
            Complex& there = f[size_t(otherV) * size_t(width) + size_t(otherU)];
            if (place.part)
                here.imag(value), there.imag(-value);
            else
                here.real(value), there.real(value);
        }
    return f;
}

Real valuesOf(const Picture& picture, const Area& area, int c)
{
    Real values;
    for (int y = 0; y < area.height; ++y)
        for (int x = 0; x < area.width; ++x)
            values.push_back(picture.get(area.x + x, area.y + y, c));
    return values;
}

Real valuesOf(const Picture& picture)
{
    return valuesOf(picture, {0, 0, picture.layout().width, picture.layout().height}, 0);
}

void expectAccurate(Picture& src, uint32_t dstDepth, int32_t flags, double bound)
{
    PictureSpec spec = src.layout();
    spec.depth = dstDepth;
    for (const Function& function : functions) {
        Picture dst(spec);
        EXPECT_EQ(reportsOf([&] { function.call(src, dst, flags); }), "");
        Real expected = function.model(valuesOf(src), spec.width, spec.height, flags);
        EXPECT_LT(relativeError(valuesOf(dst), expected), bound)
            << function.name << ' ' << spec.width << " x " << spec.height << ' ' << flags;
        EXPECT_EQ(dst.faults(), "");
    }
}

void expectStored(const Picture& picture, int width, int height, const std::vector<Real>& expected, double tolerance)
{
    const PictureSpec& spec = picture.layout();
    double lowest = numberOf(spec.depth, bitsOf(spec.depth, -1e30));
    double highest = numberOf(spec.depth, bitsOf(spec.depth, 1e30));
    Area area = areaOf(picture);
    std::vector<int> channels = channelsOf(spec);
    Picture before(spec);
    for (int c = 0; c < spec.channels; ++c) {
        auto index = size_t(std::ranges::find(channels, c) - channels.begin());
        for (int y = 0; y < spec.height; ++y)
            for (int x = 0; x < spec.width; ++x) {
                int column = x - area.x, row = y - area.y;
                bool inside = column >= 0 && row >= 0 && column < width && row < height;
                if (index == channels.size() || !inside) {
                    ASSERT_EQ(picture.raw(x, y, c), before.raw(x, y, c)) << x << ' ' << y << ' ' << c;
                    continue;
                }
                double value = std::clamp(expected[index][size_t(row * width + column)], lowest, highest);
                ASSERT_NEAR(picture.get(x, y, c), value, tolerance) << x << ' ' << y << ' ' << c;
            }
    }
}

}  // namespace fourier
