#include "fourier.h"

#include <bit>
#include <cmath>
#include <numbers>

namespace fourier {

namespace {

// By the definition.
std::vector<Complex> slowLine(const std::vector<Complex>& x, int sign)
{
    size_t n = x.size();
    std::vector<Complex> turns(n), sums(n);
    for (size_t j = 0; j < n; ++j)
        turns[j] = std::polar(1.0, sign * 2 * std::numbers::pi * double(j) / double(n));
    for (size_t k = 0; k < n; ++k)
        for (size_t j = 0; j < n; ++j)
            sums[k] += x[j] * turns[j * k % n];
    return sums;
}

// Even lengths by halves.
std::vector<Complex> line(const std::vector<Complex>& x, int sign)
{
    size_t n = x.size();
    if (n % 2 != 0 || n < 8)
        return slowLine(x, sign);
    std::vector<Complex> even(n / 2), odd(n / 2);
    for (size_t j = 0; j < n / 2; ++j) {
        even[j] = x[2 * j];
        odd[j] = x[2 * j + 1];
    }
    even = line(even, sign);
    odd = line(odd, sign);
    std::vector<Complex> sums(n);
    for (size_t k = 0; k < n / 2; ++k) {
        Complex turned = odd[k] * std::polar(1.0, sign * 2 * std::numbers::pi * double(k) / double(n));
        sums[k] = even[k] + turned;
        sums[k + n / 2] = even[k] - turned;
    }
    return sums;
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
    for (int y = 0; y < height; ++y) {
        auto first = x.begin() + ptrdiff_t(y) * width;
        std::vector<Complex> row = line({first, first + width}, sign);
        std::copy(row.begin(), row.end(), first);
    }
    std::vector<Complex> column(static_cast<size_t>(height));
    for (int u = 0; u < width; ++u) {
        for (int y = 0; y < height; ++y)
            column[size_t(y)] = x[size_t(y) * size_t(width) + size_t(u)];
        std::vector<Complex> sums = line(column, sign);
        for (int y = 0; y < height; ++y)
            x[size_t(y) * size_t(width) + size_t(u)] = sums[size_t(y)];
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
