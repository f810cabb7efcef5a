// Noise.
//
//   orvNoiseUniformInit, orvNoiseUniformInitFP     parameters of uniform noise
//   orvNoiseGaussianInit, orvNoiseGaussianInitFP   parameters of Gaussian noise
//   orvNoiseImage                                  adds noise to an image
#include <cmath>

#include "../core/ownmath.h"
#include "../core/ownregion.h"
#include "../core/ownreport.h"
#include "../core/ownvalue.h"
#include "../core/ownwalk.h"
#include "orv/generate.h"

namespace {

constexpr const char* source = "orvnoise";

// ---- Numbers ------------------------------------------------------------------------------------------------------

// A linear congruential generator and one that subtracts with borrow.
class Generator {
public:
    explicit Generator(uint32_t seed) : s1(seed), s2(congruent(s1)), s3(congruent(s2)) {}

    uint32_t next()
    {
        lcg = congruent(lcg);
        const uint32_t difference = s2 - s3 - borrow;
        borrow = difference >> 31;
        s3 = s2;
        s2 = s1;
        s1 = difference - (borrow ? 18 : 0);
        return s1 + lcg;
    }

private:
    static uint32_t congruent(uint32_t x) { return x * 69069 + 1013904243; }

    uint32_t lcg = 0x436CBAE9;
    uint32_t s1, s2, s3;
    uint32_t borrow = 1;
};

// Uniform numbers of a range that begins at 0.
struct Uniform {
    Generator generator;
    double range;

    double next() { return generator.next() * range; }
};

// Normal numbers of mean 0. The second of a pair waits for the next call.
struct Gaussian {
    Generator generator;
    double deviation;
    bool waits = false;
    double factor = 0, spare = 0;

    double next()
    {
        constexpr double unit = 4.656612873077e-10;
        if (waits) {
            waits = false;
            return factor * deviation * spare;
        }
        double x, y, r;
        do {
            x = int32_t(generator.next()) * unit;
            y = int32_t(generator.next()) * unit;
            r = x * x + y * y;
        } while (r >= 1.0 || r == 0.0);
        factor = sqrt(ownLog(r) * -2.0 / r);
        spare = x;
        waits = true;
        return factor * deviation * y;
    }
};

// ---- Values -------------------------------------------------------------------------------------------------------

template <class T>
struct Sum {
    int64_t offset;
    T operator()(T value, double noise) const
    {
        // No draw reaches the range of 64 bits, as large as bounds and deviations may be. Whether a sum is cut cannot
        // be foreseen, so nothing branches on it.
        constexpr int64_t lowest = OwnRange<T>::lowest, highest = OwnRange<T>::highest;
        const int64_t sum = int64_t(noise) + offset + value;
        const int64_t below = (sum - lowest) >> 63, above = (highest - sum) >> 63;
        return T((sum & ~below & ~above) | (lowest & below) | (highest & above));
    }
};

template <>
struct Sum<float> {
    double offset;
    float operator()(float value, double noise) const { return float(value + (noise + offset)); }
};

// Draws for n values side by side. What is drawn from is a copy that no store of pixels changes, in a function of its
// own, so that it stays in registers.
template <class T, class Noise>
__attribute__((noinline)) Noise addToValues(Noise noise, const Sum<T> sum, uint8_t* values, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; ++i)
        ownStore<T>(values, i, sum(ownLoad<T>(values, i), noise.next()));
    return noise;
}

// One plane, or all channels side by side, of a region in plain memory.
template <class T, class Noise>
void addToPlane(Noise& noise, const Sum<T>& sum, const OwnGeometry& image, int32_t plane, const OwnGeometry* mask)
{
    int32_t channels = image.planeStep ? 1 : image.channels;
    for (int32_t y = 0; y < image.height; ++y) {
        uint8_t* row = image.start + plane * image.planeStep + y * image.rowStep;
        if (!mask && image.pixelStep == channels) {
            noise = addToValues<T>(noise, sum, row, ptrdiff_t(image.width) * channels);
            continue;
        }
        for (int32_t x = 0; x < image.width; ++x, row += image.pixelStep * ptrdiff_t(sizeof(T)))
            if (!mask || ownMaskSelects(*mask, x, y))
                noise = addToValues<T>(noise, sum, row, channels);
    }
}

// ---- Images -------------------------------------------------------------------------------------------------------

// The region as far as the mask reaches; false if nothing is left.
bool regionSize(const OrvImage& image, OwnSize& size)
{
    return ownCommonSize(image, image.maskROI ? *image.maskROI : image, nullptr, false, size);
}

// Calls visit(geometry, mask) with the pieces of plain memory, the mask NULL for none; false if a tile does not come.
template <class Visit>
bool forPieces(OrvImage* image, OwnSize size, Visit visit)
{
    auto show = [&](OwnWork& work, const OwnCell& cell) {
        OwnGeometry geometry, under;
        ownPlaneGeometry(work.image, geometry);
        OwnWork maskWork;
        if (image->maskROI) {
            ownShowCell(maskWork, *image->maskROI, cell);
            under = ownMaskStart(maskWork.image);
        }
        visit(geometry, image->maskROI ? &under : nullptr);
    };
    OwnWork work;
    if (!image->tileInfo) {
        OwnCell whole = {};
        whole.width = size.width;
        whole.height = size.height;
        ownShowCell(work, *image, whole);
        show(work, whole);
        return true;
    }
    return ownGridWalk(*image, size, [&](const OwnCell& cell) {
        uint8_t* tile = ownOpenTile(image, cell.column, cell.row, ORV_TILE_WRITE);
        if (!tile)
            return false;
        ownShowLeadingCell(work, *image, cell, tile);
        show(work, cell);
        ownReleaseTile(image, cell.column, cell.row);
        return true;
    });
}

// Each plane is a pass of its own over all pieces, since draws follow one another in that order.
template <class T, class Noise>
bool addNoise(OrvImage* image, Noise noise, Sum<T> sum)
{
    OwnSize size;
    if (!regionSize(*image, size))
        return true;
    int32_t planes = image->dataOrder == ORV_DATA_ORDER_PLANE ? ownChannels(*image).count : 1;
    for (int32_t plane = 0; plane < planes; ++plane)
        if (!forPieces(image, size, [&](const OwnGeometry& geometry, const OwnGeometry* mask) {
                addToPlane<T>(noise, sum, geometry, plane, mask);
            }))
            return false;
    return true;
}

// Bounds of noise that passes the range of the depth: the region is at its end before the draws.
template <class T>
void cutBounds(OrvImage* image, int64_t& low, int64_t& high)
{
    constexpr int64_t most = (int64_t{1} << (8 * sizeof(T))) - 1;
    if (low >= most)
        orvSet(image, int32_t(OwnRange<T>::highest));
    if (high <= -most)
        orvSet(image, int32_t(OwnRange<T>::lowest));
    high = high < most ? high : most;
    low = low > -most ? low : -most;
}

template <class T>
bool addUniform(OrvImage* image, const OrvNoiseParam& parameters)
{
    constexpr double unit = 2.3283064365386963e-10;  // 2^-32
    const Generator generator(parameters.seed);
    if constexpr (sizeof(T) == 4 && T(0.5) != 0) {
        const double a = parameters.lowFlt, b = parameters.highFlt;
        const double low = b < a ? b : a, high = b < a ? a : b;
        return addNoise<T>(image, Uniform{generator, double(float((high - low) * unit))}, {low});
    } else {
        const int64_t a = parameters.lowInt, b = parameters.highInt;
        int64_t low = b < a ? b : a, high = b < a ? a : b;
        if constexpr (sizeof(T) < 4)
            cutBounds<T>(image, low, high);
        return addNoise<T>(image, Uniform{generator, double(high - low) * unit}, {low});
    }
}

template <class T>
bool addGaussian(OrvImage* image, const OrvNoiseParam& parameters)
{
    const Generator generator(parameters.seed);
    if constexpr (sizeof(T) == 4 && T(0.5) != 0)
        return addNoise<T>(image, Gaussian{generator, parameters.highFlt}, {parameters.lowFlt});
    else
        return addNoise<T>(image, Gaussian{generator, double(parameters.highInt)}, {parameters.lowInt});
}

template <class T>
bool addTo(OrvImage* image, const OrvNoiseParam& parameters)
{
    return parameters.noise == ORV_NOISE_UNIFORM ? addUniform<T>(image, parameters) : addGaussian<T>(image, parameters);
}

bool addByDepth(OrvImage* image, const OrvNoiseParam& parameters)
{
    switch (image->depth) {
    case ORV_DEPTH_8U: return addTo<uint8_t>(image, parameters);
    case ORV_DEPTH_8S: return addTo<int8_t>(image, parameters);
    case ORV_DEPTH_16U: return addTo<uint16_t>(image, parameters);
    case ORV_DEPTH_16S: return addTo<int16_t>(image, parameters);
    case ORV_DEPTH_32S: return addTo<int32_t>(image, parameters);
    default: return addTo<float>(image, parameters);
    }
}

void setIntegers(OrvNoiseParam* p, int32_t noise, uint32_t seed, int32_t low, int32_t high)
{
    if (p)
        *p = {noise, seed, low, high, p->lowFlt, p->highFlt};
}

void setFloats(OrvNoiseParam* p, int32_t noise, uint32_t seed, float low, float high)
{
    if (p)
        *p = {noise, seed, p->lowInt, p->highInt, low, high};
}

}  // namespace

void ORV_CALL orvNoiseUniformInit(OrvNoiseParam* noiseParam, uint32_t seed, int32_t low, int32_t high)
{
    setIntegers(noiseParam, ORV_NOISE_UNIFORM, seed, low, high);
}

void ORV_CALL orvNoiseUniformInitFP(OrvNoiseParam* noiseParam, uint32_t seed, float low, float high)
{
    setFloats(noiseParam, ORV_NOISE_UNIFORM, seed, low, high);
}

void ORV_CALL orvNoiseGaussianInit(OrvNoiseParam* noiseParam, uint32_t seed, int32_t mean, int32_t stDev)
{
    setIntegers(noiseParam, ORV_NOISE_GAUSSIAN, seed, mean, stDev);
}

void ORV_CALL orvNoiseGaussianInitFP(OrvNoiseParam* noiseParam, uint32_t seed, float mean, float stDev)
{
    setFloats(noiseParam, ORV_NOISE_GAUSSIAN, seed, mean, stDev);
}

int32_t ORV_CALL orvNoiseImage(OrvImage* image, OrvNoiseParam* noiseParam)
{
    constexpr OwnReport report{"orvNoiseImage", source};
    const int32_t fault = orvCheckImageHeader(image);
    if (report.when(fault, fault, "Incorrect Image"))
        return fault;
    if (report.when(!noiseParam, ORV_STATUS_BAD_ARG, "(noiseParam == 0)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(image->depth == ORV_DEPTH_1U, ORV_STATUS_BAD_ARG, "(image->depth == 1)"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(noiseParam->noise != ORV_NOISE_UNIFORM && noiseParam->noise != ORV_NOISE_GAUSSIAN,
                    ORV_STATUS_BAD_ARG,
                    "((noiseParam->noise != ORV_NOISE_UNIFORM) && (noiseParam->noise != ORV_NOISE_GAUSSIAN))"))
        return ORV_STATUS_BAD_ARG;
    if (report.when(!addByDepth(image, *noiseParam), ORV_STATUS_BAD_ARG, "(image->tileInfo->tileData == 0)"))
        return ORV_STATUS_INTERNAL;
    return ORV_STATUS_OK;
}
