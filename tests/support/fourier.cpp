#include "fourier.h"

#include <cmath>
#include <numbers>

namespace fourier {

namespace {

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

}  // namespace

void transform(Spectrum& x, int width, int height, int sign)
{
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
            x[y * w + u] = sums[y];
    }
}

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

Real realToPacked(const Real& image, int width, int height, int sign)
{
    Spectrum f(image.begin(), image.end());
    transform(f, width, height, sign);
    return pack(f, width, height);
}

Real packedToReal(const Real& packed, int width, int height, int sign)
{
    Spectrum f = unpack(packed, width, height);
    transform(f, width, height, sign);
    Real image(f.size());
    for (size_t i = 0; i < f.size(); ++i)
        image[i] = f[i].real();
    return image;
}

double relativeError(const Real& got, const Real& expected)
{
    double difference = 0, size = 0;
    for (size_t i = 0; i < expected.size(); ++i) {
        difference += (got[i] - expected[i]) * (got[i] - expected[i]);
        size += expected[i] * expected[i];
    }
    return size > 0 ? std::sqrt(difference / size) : std::sqrt(difference);
}

}  // namespace fourier
