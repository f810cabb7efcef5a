#include "ownxcorr.h"

#include <cmath>

#include "kernels/ownconv.h"

// ---- The template -------------------------------------------------------------------------------------------------

OwnCorrelation::OwnCorrelation(OrvImage& tpl)
    : depth(tpl.depth),
      size{ownRoiRect(tpl).width, ownRoiRect(tpl).height},
      channels(ownChannels(tpl).count),
      reach{size.width >> 1, size.height >> 1, size.width - 1 - (size.width >> 1),
            size.height - 1 - (size.height >> 1)},
      rowBytes(
          int32_t(int64_t{size.width} * ownValueBytes(depth) <= INT32_MAX ? size.width * ownValueBytes(depth) : 0)),
      values(pixels() <= INT32_MAX ? pixels() * ownValueBytes(depth) * channels : 0),
      energies(channels)
{
    if (*this && !fill(tpl))
        orvFree(values.release());
}

// Copies the template and squares it, in the order in which windows are squared.
bool OwnCorrelation::fill(OrvImage& tpl)
{
    const OwnCorrelationKernels& kernels = ownCorrelationKernels();
    const OwnDepthIndex index = ownDepthIndex(depth);
    const OwnRect rect = ownRoiRect(tpl);
    OwnScratch<int64_t> columns(isReal() ? 1 : size.width);
    OwnScratch<double> reals(size.width), realColumns(size.width);
    if (!columns || !reals || !realColumns)
        return false;
    for (int32_t channel = 0; channel < channels; ++channel) {
        if (!isReal())
            memset(columns.data, 0, size_t(size.width) * sizeof(int64_t));
        memset(realColumns.data, 0, size_t(size.width) * sizeof(double));
        for (int32_t y = 0; y < size.height; ++y) {
            auto* to = const_cast<uint8_t*>(row(channel, y));
            ownBorderedRow(&tpl, ownChannels(tpl).first + channel, rect.x, rect.y + y, size.width, to);
            if (!isReal()) {
                kernels.addSquares[index](to, 1, columns.data, size.width);
                continue;
            }
            ownConvKernels().reals[index](to, reals.data, size.width);
            kernels.addRealSquares(reals.data, realColumns.data, size.width);
        }
        if (isReal())
            kernels.realWindows(realColumns.data, size.width, energies.data + channel, 1);
        else
            kernels.windows(columns.data, size.width, energies.data + channel, 1);
    }
    return true;
}

// ---- Rows ---------------------------------------------------------------------------------------------------------

OwnCorrelationRows::Shown::Shown(const OrvImage& image, const OwnPart& part, int32_t channel) : work(image)
{
    work.narrow(part.x, part.y, part.width, part.height);
    work.roi.coi = ownChannels(image).first + channel + 1;
}

OwnCorrelationRows::OwnCorrelationRows(const OwnCorrelation& call, int32_t channel, const OwnCorrelated& images,
                                       const OwnPart& part)
    : correlation(call),
      src(images.src, part, channel),
      dst(images.dst, part, channel),
      mask(images.mask ? *images.mask : images.dst, part, 0),
      energy(call.energies.data[channel]),
      lines(src.work.image, dst.work.image, images.mask ? &mask.work.image : nullptr, call.reach, 1, 1),
      samples(lines.values(int64_t{lines.width()} + call.size.width - 1)),
      columns(call.isReal() ? 1 : samples),
      realColumns(call.isReal() ? samples : 1),
      squares(lines.width())
{
    lines.begin(0);
}

void OwnCorrelationRows::finish(int32_t y, const double* products)
{
    auto* addSquares = kernels.addSquares[ownDepthIndex(correlation.depth)];
    const int64_t top = int64_t{y} - correlation.reach.top, last = int64_t{y} + correlation.reach.bottom;
    if (y == 0) {
        memset(columns.data, 0, size_t(samples) * sizeof(int64_t));
        for (int64_t row = top; row < last; ++row)
            addSquares(source(row), 1, columns.data, samples);
    } else {
        addSquares(source(top - 1), -1, columns.data, samples);
    }
    addSquares(source(last), 1, columns.data, samples);
    kernels.windows(columns.data, correlation.size.width, squares.data, width());
    store(y, products);
}

void OwnCorrelationRows::store(int32_t y, const double* products)
{
    kernels.quotients[ownDepthIndex(dst.work.image.depth)](products, squares.data, energy, lines.target(y, 0), width());
    lines.store(y, 1);
}

// ---- The way ------------------------------------------------------------------------------------------------------

namespace {

// Nanoseconds, about: of a product, and of a value of a plane for each halving of its size.
constexpr double productCost = 0.05, wideProductCost = 0.15, transformCost = 1.0;

int32_t ceilingOf(int32_t a, int32_t b)
{
    return int32_t((int64_t{a} + b - 1) / b);
}

// True if the results of planes of 2^log2 values are exact. Samples come as bytes, in both parts of a plane.
bool isExact(const OwnCorrelation& correlation, int32_t log2)
{
    double energy = 0;
    for (int32_t i = 0; i < correlation.channels; ++i)
        energy = fmax(energy, correlation.energies.data[i]);
    const double norm = 255 * sqrt(ldexp(2, log2));
    return ownCorrelationError(norm, sqrt(energy), log2) < 0.5;
}

double costOfPlanes(const OwnCorrelation& correlation, OwnSize most, int32_t log2Width, int32_t log2Height)
{
    int32_t across = ceilingOf(most.width, (1 << log2Width) - correlation.size.width + 1);
    int32_t down = ceilingOf(most.height, (1 << log2Height) - correlation.size.height + 1);
    double blocks = double(across) * down;
    double planes = correlation.isBytes() ? ceil(blocks / 2) : blocks;
    int32_t log2 = log2Width + log2Height;
    return (2 * planes + 1) * ldexp(log2, log2) * transformCost;
}

}  // namespace

OwnSize ownCorrelationPlane(const OwnCorrelation& correlation, OwnSize most)
{
    constexpr int32_t leastLog2 = 2, mostLog2 = 15, mostOfBoth = 25;  // of a plane of 256 MiB
    OwnSize best = {0, 0};
    if (correlation.isReal())
        return best;
    double product = correlation.isBytes() ? productCost : wideProductCost;
    double least = product * double(correlation.pixels()) * most.width * most.height;
    for (int32_t x = leastLog2; x <= mostLog2; ++x)
        for (int32_t y = leastLog2; y <= mostLog2 && x + y <= mostOfBoth; ++y) {
            if (1 << x < correlation.size.width || 1 << y < correlation.size.height || !isExact(correlation, x + y))
                continue;
            double cost = costOfPlanes(correlation, most, x, y);
            if (cost < least) {
                least = cost;
                best = {1 << x, 1 << y};
            }
        }
    return best;
}
